#include "com/ComBstr.h"

#include "com/ComCodes.h"
#include "com/ComError.h"
#include "com/ComVariantT.h"

#include <atomic>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>

namespace {

BSTR duplicate(BSTR string)
{
    if (string == nullptr) {
        return nullptr;
    }
    const void* const bytes = string;
    const BSTR copy =
        SysAllocStringByteLen(static_cast<const char*>(bytes), SysStringByteLen(string));
    if (copy == nullptr) {
        _com_issue_error(E_OUTOFMEMORY);
    }
    return copy;
}

BSTR duplicateText(const wchar_t* text)
{
    const BSTR copy = SysAllocString(text);
    if (copy == nullptr && text != nullptr) {
        _com_issue_error(E_OUTOFMEMORY);
    }
    return copy;
}

BSTR concatenate(const _bstr_t& left, const _bstr_t& right)
{
    const UINT leftLength = left.length();
    const UINT rightLength = right.length();
    const BSTR both =
        rightLength > ~leftLength ? nullptr : SysAllocStringLen(nullptr, leftLength + rightLength);
    if (both == nullptr) {
        _com_issue_error(E_OUTOFMEMORY);
    }
    if (leftLength != 0) {
        std::memcpy(both, static_cast<const wchar_t*>(left), leftLength * sizeof(OLECHAR));
    }
    if (rightLength != 0) {
        std::memcpy(both + leftLength, static_cast<const wchar_t*>(right),
                    rightLength * sizeof(OLECHAR));
    }
    return both;
}

} // namespace

struct _bstr_t::Shared
{
    explicit Shared(BSTR taken) noexcept : string(taken) {}
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;
    ~Shared() { SysFreeString(string); }

    // Takes the string over, also when it fails.
    static Shared* make(BSTR string)
    {
        Shared* const shared = new (std::nothrow) Shared(string);
        if (shared == nullptr) {
            SysFreeString(string);
            _com_issue_error(E_OUTOFMEMORY);
        }
        return shared;
    }

    BSTR string;
    std::unique_ptr<char[]> narrow;
    std::atomic<ULONG> count{1};
};

_bstr_t::_bstr_t(const _bstr_t& other) noexcept : mShared(other.mShared)
{
    if (mShared != nullptr) {
        ++mShared->count;
    }
}

_bstr_t::_bstr_t(const char* text) : mShared(Shared::make(_com_util::ConvertStringToBSTR(text))) {}

_bstr_t::_bstr_t(const wchar_t* text) : mShared(Shared::make(duplicateText(text))) {}

_bstr_t::_bstr_t(const _variant_t& value)
{
    *this = value;
}

_bstr_t::_bstr_t(BSTR string, bool copy) : mShared(Shared::make(copy ? duplicate(string) : string))
{}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): it shares with itself, so nothing is done
_bstr_t& _bstr_t::operator=(const _bstr_t& other) noexcept
{
    if (mShared != other.mShared) {
        release();
        mShared = other.mShared;
        if (mShared != nullptr) {
            ++mShared->count;
        }
    }
    return *this;
}

_bstr_t& _bstr_t::operator=(const char* text)
{
    reset(Shared::make(_com_util::ConvertStringToBSTR(text)));
    return *this;
}

_bstr_t& _bstr_t::operator=(const wchar_t* text)
{
    reset(Shared::make(duplicateText(text)));
    return *this;
}

_bstr_t& _bstr_t::operator=(const _variant_t& value)
{
    if (V_VT(&value) == VT_BSTR) {
        return *this = static_cast<const wchar_t*>(V_BSTR(&value));
    }
    _variant_t text;
    text.ChangeType(VT_BSTR, &value);
    return *this = static_cast<const wchar_t*>(V_BSTR(&text));
}

_bstr_t::~_bstr_t()
{
    release();
}

_bstr_t::operator const wchar_t*() const noexcept
{
    return mShared == nullptr ? nullptr : mShared->string;
}

_bstr_t::operator wchar_t*() const noexcept
{
    return mShared == nullptr ? nullptr : mShared->string;
}

_bstr_t::operator const char*() const
{
    if (mShared == nullptr) {
        return nullptr;
    }
    if (mShared->narrow == nullptr) {
        mShared->narrow.reset(_com_util::ConvertBSTRToString(mShared->string));
    }
    return mShared->narrow.get();
}

_bstr_t::operator char*() const
{
    return const_cast<char*>(static_cast<const char*>(*this));
}

bool _bstr_t::operator!() const noexcept
{
    return mShared == nullptr || mShared->string == nullptr;
}

bool _bstr_t::operator==(const _bstr_t& other) const noexcept
{
    return compare(other) == 0;
}

bool _bstr_t::operator!=(const _bstr_t& other) const noexcept
{
    return compare(other) != 0;
}

bool _bstr_t::operator<(const _bstr_t& other) const noexcept
{
    return compare(other) < 0;
}

bool _bstr_t::operator>(const _bstr_t& other) const noexcept
{
    return compare(other) > 0;
}

bool _bstr_t::operator<=(const _bstr_t& other) const noexcept
{
    return compare(other) <= 0;
}

bool _bstr_t::operator>=(const _bstr_t& other) const noexcept
{
    return compare(other) >= 0;
}

unsigned int _bstr_t::length() const noexcept
{
    return mShared == nullptr ? 0 : SysStringLen(mShared->string);
}

BSTR _bstr_t::copy(bool makeCopy) const
{
    if (mShared == nullptr) {
        return nullptr;
    }
    return makeCopy ? duplicate(mShared->string) : mShared->string;
}

_bstr_t& _bstr_t::operator+=(const _bstr_t& other)
{
    reset(Shared::make(concatenate(*this, other)));
    return *this;
}

_bstr_t _bstr_t::operator+(const _bstr_t& other) const
{
    return _bstr_t(concatenate(*this, other), false);
}

void _bstr_t::Assign(BSTR string)
{
    reset(Shared::make(duplicate(string)));
}

void _bstr_t::Attach(BSTR string)
{
    reset(Shared::make(string));
}

BSTR _bstr_t::Detach()
{
    if (mShared == nullptr || mShared->count != 1) {
        _com_issue_error(E_POINTER);
    }
    const BSTR string = mShared->string;
    mShared->string = nullptr;
    release();
    return string;
}

BSTR& _bstr_t::GetBSTR()
{
    if (mShared == nullptr) {
        mShared = Shared::make(nullptr);
    }
    return mShared->string;
}

BSTR* _bstr_t::GetAddress()
{
    Attach(nullptr);
    return &mShared->string;
}

int _bstr_t::compare(const _bstr_t& other) const noexcept
{
    if (mShared == other.mShared) {
        return 0;
    }
    // An object without a string comes before one that holds a null string.
    if (mShared == nullptr || other.mShared == nullptr) {
        return mShared == nullptr ? -1 : 1;
    }
    const BSTR left = mShared->string;
    const BSTR right = other.mShared->string;
    if (left == nullptr || right == nullptr) {
        return left == right ? 0 : (left == nullptr ? -1 : 1);
    }
    const UINT leftLength = SysStringLen(left);
    const UINT rightLength = SysStringLen(right);
    const int order =
        std::wmemcmp(left, right, leftLength < rightLength ? leftLength : rightLength);
    if (order != 0) {
        return order;
    }
    return leftLength < rightLength ? -1 : (leftLength > rightLength ? 1 : 0);
}

void _bstr_t::release() noexcept
{
    if (mShared != nullptr && --mShared->count == 0) {
        delete mShared;
    }
    mShared = nullptr;
}

void _bstr_t::reset(Shared* shared) noexcept
{
    release();
    mShared = shared;
}

_bstr_t operator+(const char* left, const _bstr_t& right)
{
    return _bstr_t(left) + right;
}

_bstr_t operator+(const wchar_t* left, const _bstr_t& right)
{
    return _bstr_t(left) + right;
}

void _com_util::CheckError(HRESULT hr)
{
    if (FAILED(hr)) {
        _com_issue_error(hr);
    }
}
