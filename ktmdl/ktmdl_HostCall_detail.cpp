#include "ktmdl/ktmdl_HostCall_detail.h"

#include "com/ComExceptionInfo.h"
#include "ktstd/ktstd_ComTools.h"

#include <algorithm>
#include <array>
#include <limits>

namespace ktmdl_detail {
namespace {

//! No host member takes more arguments than this.
constexpr std::size_t kMaxArgs = 8;

//! Turns what the host said about its exception into an error object; null when that fails.
IErrorInfo* makeErrorInfo(const com::ExceptionInfo& aException) noexcept
{
    ICreateErrorInfo* pCreate = nullptr;
    if (FAILED(CreateErrorInfo(&pCreate))) {
        return nullptr;
    }
    pCreate->SetGUID(IID_IDispatch);
    pCreate->SetSource(aException.bstrSource);
    pCreate->SetDescription(aException.bstrDescription);
    pCreate->SetHelpFile(aException.bstrHelpFile);
    pCreate->SetHelpContext(aException.dwHelpContext);
    void* pInfo = nullptr;
    pCreate->QueryInterface(IID_IErrorInfo, &pInfo);
    pCreate->Release();
    return static_cast<IErrorInfo*>(pInfo);
}

//! Calls a member and raises what goes wrong.
void invoke(IDispatch* aObject, DISPID aMember, WORD aKind, std::initializer_list<VARIANT> aArgs,
            VARIANT* aResult)
{
    IErrorInfo* pInfo = nullptr;
    const HRESULT hr = TryInvoke(aObject, aMember, aKind, aArgs, aResult, &pInfo);
    if (FAILED(hr)) {
        throw _com_error(hr, pInfo); // takes over the error object
    }
}

void raiseIfFailed(HRESULT aCode)
{
    if (FAILED(aCode)) {
        _com_issue_error(aCode);
    }
}

//! Calls a member and gives its result as a value of a type.
_variant_t fetch(IDispatch* aObject, DISPID aMember, WORD aKind,
                 std::initializer_list<VARIANT> aArgs, VARTYPE aType)
{
    _variant_t result;
    invoke(aObject, aMember, aKind, aArgs, &result);
    if (result.vt != aType) {
        raiseIfFailed(VariantChangeType(&result, &result, 0, aType));
    }
    return result;
}

} // namespace

void HostArray::Destroy() noexcept
{
    if (mArray != nullptr) {
        SafeArrayDestroy(mArray);
        mArray = nullptr;
    }
}

VARIANT HostArray::ByRef() noexcept
{
    VARIANT value{};
    value.vt = static_cast<VARTYPE>(VT_BYREF | VT_ARRAY | mType);
    value.pparray = &mArray;
    return value;
}

HRESULT HostArray::GetTriple(long long aSkip, double (&aOut)[3]) const noexcept
{
    if (mArray == nullptr) {
        return E_POINTER;
    }
    VARTYPE type = VT_EMPTY; // stays so for an array that tells none
    SafeArrayGetVartype(mArray, &type);
    if (type != VT_R8) {
        return DISP_E_TYPEMISMATCH;
    }
    if (aSkip < 0 || ArrayLength(mArray) - 3 < aSkip) {
        return DISP_E_BADINDEX;
    }
    void* pData = nullptr;
    const HRESULT hr = SafeArrayAccessData(mArray, &pData);
    if (SUCCEEDED(hr)) {
        std::copy_n(static_cast<const double*>(pData) + aSkip, 3, aOut);
        SafeArrayUnaccessData(mArray);
    }
    return hr;
}

long ArrayLength(SAFEARRAY* aArray) noexcept
{
    constexpr ULONG kMost = std::numeric_limits<LONG>::max();
    return SafeArrayGetDim(aArray) == 1
               ? static_cast<long>(std::min(aArray->rgsabound[0].cElements, kMost))
               : 0;
}

VARIANT In(LONG aValue) noexcept
{
    VARIANT value{};
    value.vt = VT_I4;
    value.lVal = aValue;
    return value;
}

VARIANT In(SHORT aValue) noexcept
{
    VARIANT value{};
    value.vt = VT_I2;
    value.iVal = aValue;
    return value;
}

VARIANT In(double aValue) noexcept
{
    VARIANT value{};
    value.vt = VT_R8;
    value.dblVal = aValue;
    return value;
}

VARIANT In(const _bstr_t& aValue) noexcept
{
    VARIANT value{};
    value.vt = VT_BSTR;
    // A callee does not write to an argument passed by value.
    value.bstrVal = const_cast<BSTR>(static_cast<const wchar_t*>(aValue));
    return value;
}

VARIANT InObject(IDispatch* aValue) noexcept
{
    VARIANT value{};
    value.vt = VT_DISPATCH;
    value.pdispVal = aValue;
    return value;
}

VARIANT True() noexcept
{
    VARIANT value{};
    value.vt = VT_BOOL;
    value.boolVal = VARIANT_TRUE;
    return value;
}

VARIANT ByRef(LONG& aValue) noexcept
{
    VARIANT value{};
    value.vt = VT_BYREF | VT_I4;
    value.plVal = &aValue;
    return value;
}

VARIANT ByRef(double& aValue) noexcept
{
    VARIANT value{};
    value.vt = VT_BYREF | VT_R8;
    value.pdblVal = &aValue;
    return value;
}

VARIANT ByRef(VARIANT& aValue) noexcept
{
    VARIANT value{};
    value.vt = VT_BYREF | VT_VARIANT;
    value.pvarVal = &aValue;
    return value;
}

VARIANT ByRef(IDispatch*& aValue) noexcept
{
    VARIANT value{};
    value.vt = VT_BYREF | VT_DISPATCH;
    value.ppdispVal = &aValue;
    return value;
}

VARIANT Missing() noexcept
{
    VARIANT value{};
    value.vt = VT_ERROR;
    value.scode = DISP_E_PARAMNOTFOUND;
    return value;
}

HRESULT TryInvoke(IDispatch* aObject, DISPID aMember, WORD aKind,
                  std::initializer_list<VARIANT> aArgs, VARIANT* aResult, IErrorInfo** aInfo)
{
    if (aObject == nullptr) {
        return E_POINTER;
    }
    if (aArgs.size() > kMaxArgs) {
        return DISP_E_BADPARAMCOUNT;
    }
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): set as far as the host is told of it
    std::array<VARIANT, kMaxArgs> reversed;
    std::reverse_copy(aArgs.begin(), aArgs.end(), reversed.begin());
    DISPPARAMS params{};
    params.rgvarg = aArgs.size() != 0 ? reversed.data() : nullptr;
    params.cArgs = static_cast<UINT>(aArgs.size());
    DISPID newValue = DISPID_PROPERTYPUT;
    if (aKind == DISPATCH_PROPERTYPUT) {
        params.rgdispidNamedArgs = &newValue;
        params.cNamedArgs = 1;
    }

    com::ExceptionInfo exception;
    UINT badArgument = 0;
    const HRESULT hr = aObject->Invoke(aMember, IID_NULL, LOCALE_USER_DEFAULT, aKind, &params,
                                       aResult, &exception, &badArgument);
    if (hr != DISP_E_EXCEPTION) {
        return hr;
    }
    exception.complete();
    if (aInfo != nullptr) {
        *aInfo = makeErrorInfo(exception);
    }
    return exception.code();
}

void Call(IDispatch* aObject, DISPID aMember, std::initializer_list<VARIANT> aArgs)
{
    invoke(aObject, aMember, DISPATCH_METHOD, aArgs, nullptr);
}

void Put(IDispatch* aObject, DISPID aMember, VARIANT aValue)
{
    invoke(aObject, aMember, DISPATCH_PROPERTYPUT, {aValue}, nullptr);
}

IDispatchPtr FetchObject(IDispatch* aObject, DISPID aMember, WORD aKind,
                         std::initializer_list<VARIANT> aArgs)
{
    _variant_t result;
    invoke(aObject, aMember, aKind, aArgs, &result);
    switch (result.vt) {
    case VT_DISPATCH: {
        IDispatchPtr object(result.pdispVal, false); // takes the reference over
        result.vt = VT_EMPTY;
        return object;
    }
    case VT_UNKNOWN:
        return IDispatchPtr(result.punkVal);
    case VT_EMPTY:
    case VT_NULL:
        return IDispatchPtr();
    default:
        _com_issue_error(DISP_E_TYPEMISMATCH);
        return IDispatchPtr();
    }
}

IDispatchPtr PropertyObject(IDispatch* aObject, DISPID aMember)
{
    return FetchObject(aObject, aMember, DISPATCH_PROPERTYGET, {});
}

IDispatchPtr ItemOf(IDispatch* aCollection, LONG aIndex)
{
    return FetchObject(aCollection, 0, DISPATCH_METHOD, {In(aIndex)});
}

LONG CallLong(IDispatch* aObject, DISPID aMember, std::initializer_list<VARIANT> aArgs)
{
    return fetch(aObject, aMember, DISPATCH_METHOD, aArgs, VT_I4).lVal;
}

ktstd_AsciiString FetchText(IDispatch* aObject, DISPID aMember, WORD aKind,
                            std::initializer_list<VARIANT> aArgs)
{
    return ktstd_AsciiString(_bstr_t(fetch(aObject, aMember, aKind, aArgs, VT_BSTR).bstrVal, true));
}

double GetDouble(IDispatch* aObject, DISPID aMember)
{
    return fetch(aObject, aMember, DISPATCH_PROPERTYGET, {}, VT_R8).dblVal;
}

LONG GetLong(IDispatch* aObject, DISPID aMember)
{
    return fetch(aObject, aMember, DISPATCH_PROPERTYGET, {}, VT_I4).lVal;
}

VARIANT_BOOL GetBool(IDispatch* aObject, DISPID aMember)
{
    _variant_t result;
    invoke(aObject, aMember, DISPATCH_PROPERTYGET, {}, &result);
    switch (result.vt) {
    case VT_BOOL:
        return result.boolVal;
    case VT_I1:
    case VT_I2:
    case VT_I4:
    case VT_I8:
    case VT_INT:
    case VT_UI1:
    case VT_UI2:
    case VT_UI4:
    case VT_UI8:
    case VT_UINT: {
        // One that 16 bits don't hold is true, but not VARIANT_TRUE.
        const HRESULT hr = VariantChangeType(&result, &result, 0, VT_I2);
        return SUCCEEDED(hr) ? result.iVal : VARIANT_BOOL{1};
    }
    default:
        raiseIfFailed(VariantChangeType(&result, &result, 0, VT_BOOL));
        return result.boolVal;
    }
}

DISPID MemberId(IDispatch* aObject, const wchar_t* aName)
{
    long id = 0;
    raiseIfFailed(static_cast<HRESULT>(ComGetIdFromName(aObject, aName, id)));
    return static_cast<DISPID>(id);
}

bool IsSameComObject(const IDispatchPtr& aFirst, const IDispatchPtr& aSecond)
{
    const IUnknownPtr first(aFirst);
    const IUnknownPtr second(aSecond);
    if (IsNull(first)) {
        return IsNull(aFirst) && IsNull(aSecond);
    }
    return first.GetInterfacePtr() == second.GetInterfacePtr();
}

} // namespace ktmdl_detail
