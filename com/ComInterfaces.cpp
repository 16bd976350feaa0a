#include "com/ComInterfaces.h"

#include "com/ComCodes.h"

#include <atomic>
#include <new>

const IID IID_IUnknown = {0x00000000, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
const IID IID_IDispatch = {0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
const IID IID_ITypeInfo = {0x00020401, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
const IID IID_IEnumVARIANT = {0x00020404, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
const IID IID_IErrorInfo = {
    0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
const IID IID_ICreateErrorInfo = {
    0x22F03340, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
const IID IID_ISupportErrorInfo = {
    0xDF0B3D60, 0x548F, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};

namespace {

HRESULT replaceText(BSTR& held, LPOLESTR text)
{
    return SysReAllocString(&held, text) != FALSE ? S_OK : E_OUTOFMEMORY;
}

HRESULT copyText(BSTR held, BSTR* copy)
{
    if (copy == nullptr) {
        return E_INVALIDARG;
    }
    *copy = SysAllocStringLen(held, SysStringLen(held));
    if (held == nullptr) {
        SysFreeString(*copy);
        *copy = nullptr;
        return S_OK;
    }
    return *copy == nullptr ? E_OUTOFMEMORY : S_OK;
}

// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): ends in Release only
class ErrorInformation final : public ICreateErrorInfo, public IErrorInfo
{
public:
    ErrorInformation() = default;
    ErrorInformation(const ErrorInformation&) = delete;
    ErrorInformation& operator=(const ErrorInformation&) = delete;

    HRESULT QueryInterface(REFIID riid, void** object) override
    {
        if (object == nullptr) {
            return E_INVALIDARG;
        }
        if (riid == IID_IUnknown || riid == IID_ICreateErrorInfo) {
            *object = static_cast<ICreateErrorInfo*>(this);
        } else if (riid == IID_IErrorInfo) {
            *object = static_cast<IErrorInfo*>(this);
        } else {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG AddRef() override { return ++mCount; }
    ULONG Release() override
    {
        const ULONG left = --mCount;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    HRESULT SetGUID(REFGUID guid) override
    {
        mGuid = guid;
        return S_OK;
    }
    HRESULT SetSource(LPOLESTR source) override { return replaceText(mSource, source); }
    HRESULT SetDescription(LPOLESTR description) override
    {
        return replaceText(mDescription, description);
    }
    HRESULT SetHelpFile(LPOLESTR helpFile) override { return replaceText(mHelpFile, helpFile); }
    HRESULT SetHelpContext(DWORD helpContext) override
    {
        mHelpContext = helpContext;
        return S_OK;
    }

    HRESULT GetGUID(GUID* guid) override
    {
        if (guid == nullptr) {
            return E_INVALIDARG;
        }
        *guid = mGuid;
        return S_OK;
    }
    HRESULT GetSource(BSTR* source) override { return copyText(mSource, source); }
    HRESULT GetDescription(BSTR* description) override
    {
        return copyText(mDescription, description);
    }
    HRESULT GetHelpFile(BSTR* helpFile) override { return copyText(mHelpFile, helpFile); }
    HRESULT GetHelpContext(DWORD* helpContext) override
    {
        if (helpContext == nullptr) {
            return E_INVALIDARG;
        }
        *helpContext = mHelpContext;
        return S_OK;
    }

private:
    ~ErrorInformation()
    {
        SysFreeString(mSource);
        SysFreeString(mDescription);
        SysFreeString(mHelpFile);
    }

    std::atomic<ULONG> mCount{1};
    GUID mGuid = GUID_NULL;
    BSTR mSource = nullptr;
    BSTR mDescription = nullptr;
    BSTR mHelpFile = nullptr;
    DWORD mHelpContext = 0;
};

// What a thread leaves behind is given back when the thread ends.
struct ThreadError
{
    ThreadError() = default;
    ThreadError(const ThreadError&) = delete;
    ThreadError& operator=(const ThreadError&) = delete;
    ~ThreadError()
    {
        if (info != nullptr) {
            info->Release();
        }
    }

    IErrorInfo* info = nullptr;
};

thread_local ThreadError threadError;

} // namespace

HRESULT CreateErrorInfo(ICreateErrorInfo** info) noexcept
{
    if (info == nullptr) {
        return E_INVALIDARG;
    }
    *info = new (std::nothrow) ErrorInformation;
    return *info == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info) noexcept
{
    if (reserved != 0) {
        return E_INVALIDARG;
    }
    if (info != nullptr) {
        info->AddRef();
    }
    IErrorInfo* const old = threadError.info;
    threadError.info = info;
    if (old != nullptr) {
        old->Release();
    }
    return S_OK;
}

HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info) noexcept
{
    if (reserved != 0 || info == nullptr) {
        return E_INVALIDARG;
    }
    *info = threadError.info;
    threadError.info = nullptr;
    return *info == nullptr ? S_FALSE : S_OK;
}
