#include "com/ComError.h"

#include "com/ComCodes.h"
#include "com/ComSystemTexts.h"

#include <cstdio>

namespace {

constexpr std::uint32_t kFirst = 0x80040200u;
constexpr std::uint32_t kLast = 0x8004FFFFu;

} // namespace

_com_error::_com_error(HRESULT hr, IErrorInfo* info, bool addRef) noexcept : mCode(hr), mInfo(info)
{
    if (mInfo != nullptr && addRef) {
        mInfo->AddRef();
    }
}

_com_error::_com_error(const _com_error& other) noexcept
    : _com_error(other.mCode, other.mInfo, true)
{}

_com_error& _com_error::operator=(const _com_error& other) noexcept
{
    if (this != &other) {
        IErrorInfo* const old = mInfo;
        mCode = other.mCode;
        mInfo = other.ErrorInfo();
        mMessage = nullptr;
        if (old != nullptr) {
            old->Release();
        }
    }
    return *this;
}

_com_error::~_com_error()
{
    if (mInfo != nullptr) {
        mInfo->Release();
    }
}

HRESULT _com_error::Error() const noexcept
{
    return mCode;
}

WORD _com_error::WCode() const noexcept
{
    return HRESULTToWCode(mCode);
}

IErrorInfo* _com_error::ErrorInfo() const noexcept
{
    if (mInfo != nullptr) {
        mInfo->AddRef();
    }
    return mInfo;
}

_bstr_t _com_error::Description() const
{
    BSTR text = nullptr;
    if (mInfo != nullptr) {
        mInfo->GetDescription(&text);
    }
    return _bstr_t(text, false);
}

_bstr_t _com_error::Source() const
{
    BSTR text = nullptr;
    if (mInfo != nullptr) {
        mInfo->GetSource(&text);
    }
    return _bstr_t(text, false);
}

_bstr_t _com_error::HelpFile() const
{
    BSTR text = nullptr;
    if (mInfo != nullptr) {
        mInfo->GetHelpFile(&text);
    }
    return _bstr_t(text, false);
}

DWORD _com_error::HelpContext() const noexcept
{
    DWORD context = 0;
    if (mInfo != nullptr) {
        mInfo->GetHelpContext(&context);
    }
    return context;
}

GUID _com_error::GUID_() const noexcept
{
    GUID guid = GUID_NULL;
    if (mInfo != nullptr) {
        mInfo->GetGUID(&guid);
    }
    return guid;
}

const char* _com_error::ErrorMessage() const noexcept
{
    if (mMessage == nullptr) {
        mMessage = com_detail::systemText(mCode);
    }
    if (mMessage == nullptr) {
        if (WCode() != 0) {
            std::snprintf(mComposed, sizeof mComposed, "IDispatch error #%d", int{WCode()});
        } else {
            std::snprintf(mComposed, sizeof mComposed, "Unknown error 0x%0X",
                          static_cast<unsigned int>(mCode));
        }
        mMessage = mComposed;
    }
    return mMessage;
}

HRESULT _com_error::WCodeToHRESULT(WORD code) noexcept
{
    return com_detail::code(code >= kLast - kFirst ? kLast : kFirst + code);
}

WORD _com_error::HRESULTToWCode(HRESULT hr) noexcept
{
    const std::uint32_t bits = static_cast<std::uint32_t>(hr);
    return bits >= kFirst && bits <= kLast ? static_cast<WORD>(bits - kFirst) : WORD{0};
}

void _com_issue_error(HRESULT hr)
{
    throw _com_error(hr);
}

void _com_raise_error(HRESULT hr, IErrorInfo* info)
{
    throw _com_error(hr, info);
}
