#include "ktstd/ktstd_ComTools.h"

#include "com/ComExceptionInfo.h"
#include "ktstd/ktstd_AsciiString.h"

#include <cstring>
#include <limits>
#include <new>

namespace {

constexpr VARTYPE kArrayOf = VT_ARRAY;

//! Owns a variant.
struct Variant
{
    Variant() noexcept { VariantInit(&value); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
    ~Variant() { VariantClear(&value); }

    VARIANT value{};
};

HRESULT findMember(IDispatch* aObject, const wchar_t* aName, DISPID& aId) noexcept
{
    if (aObject == nullptr || aName == nullptr) {
        return E_POINTER;
    }
    auto* name = const_cast<LPOLESTR>(aName); // the interface takes it so, but only reads it
    DISPID id = DISPID_UNKNOWN;
    const HRESULT hr = aObject->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
    if (SUCCEEDED(hr)) {
        aId = id;
    }
    return hr;
}

HRESULT readProperty(IDispatch* aObject, const wchar_t* aName, VARIANT& aValue) noexcept
{
    DISPID id = DISPID_UNKNOWN;
    HRESULT hr = findMember(aObject, aName, id);
    if (FAILED(hr)) {
        return hr;
    }
    DISPPARAMS none{};
    com::ExceptionInfo exception;
    UINT badArgument = 0;
    hr = aObject->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, &aValue,
                         &exception, &badArgument);
    if (hr != DISP_E_EXCEPTION) {
        return hr;
    }
    exception.complete();
    return exception.code();
}

//! Gives the bytes of a plain value; 0 for a type that can't be read as one.
std::size_t sizeOfPlain(VARTYPE aType) noexcept
{
    switch (aType) {
    case VT_I1:
    case VT_UI1:
        return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
        return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR:
        return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_DATE:
    case VT_CY:
        return 8;
    case VT_BSTR:
    case VT_DISPATCH:
    case VT_UNKNOWN:
        return sizeof(void*);
    default:
        return 0;
    }
}

//! Hands the value of a variant over, which then owns nothing any more.
void moveOut(VARIANT& aFrom, void* aTo, std::size_t aSize) noexcept
{
    std::memcpy(aTo, &aFrom.llVal, aSize);
    VariantInit(&aFrom);
}

HRESULT takeVariant(VARIANT& aFrom, void* aTo) noexcept
{
    Variant copy;
    const HRESULT hr = VariantCopyInd(&copy.value, &aFrom);
    if (SUCCEEDED(hr)) {
        std::memcpy(aTo, &copy.value, sizeof copy.value);
        VariantInit(&copy.value);
    }
    return hr;
}

HRESULT takeArray(VARIANT& aFrom, VARTYPE aType, void* aTo) noexcept
{
    Variant copy;
    const HRESULT hr = VariantCopyInd(&copy.value, &aFrom);
    if (FAILED(hr)) {
        return hr;
    }
    if (copy.value.vt != aType) {
        return DISP_E_TYPEMISMATCH;
    }
    moveOut(copy.value, aTo, sizeof(void*));
    return S_OK;
}

HRESULT takePlain(VARIANT& aFrom, VARTYPE aType, void* aTo) noexcept
{
    Variant converted;
    const HRESULT hr = VariantChangeType(&converted.value, &aFrom, 0, aType);
    if (SUCCEEDED(hr)) {
        moveOut(converted.value, aTo, sizeOfPlain(aType));
    }
    return hr;
}

bool isArrayType(VARTYPE aType) noexcept
{
    const auto element = static_cast<VARTYPE>(aType & ~kArrayOf);
    return (aType & kArrayOf) != 0 && (element == VT_VARIANT || sizeOfPlain(element) != 0);
}

template <class Value>
long putValues(long aCount, const Value* aValues, VARTYPE aType, SAFEARRAY** aArray) noexcept
{
    if (aArray == nullptr || (aValues == nullptr && aCount > 0)) {
        return E_POINTER;
    }
    if (aCount < 0 || aCount > std::numeric_limits<LONG>::max()) {
        return E_INVALIDARG;
    }
    SAFEARRAY* const array = SafeArrayCreateVector(aType, 0, static_cast<ULONG>(aCount));
    if (array == nullptr) {
        return E_OUTOFMEMORY;
    }
    if (aCount > 0) { // a new array needs no lock
        std::memcpy(array->pvData, aValues, static_cast<std::size_t>(aCount) * sizeof(Value));
    }
    *aArray = array;
    return S_OK;
}

//! Tells whether an array has one dimension and elements of a type.
bool isVectorOf(SAFEARRAY* aArray, VARTYPE aType) noexcept
{
    VARTYPE type = VT_EMPTY; // stays so for an array that tells none
    SafeArrayGetVartype(aArray, &type);
    return SafeArrayGetDim(aArray) == 1 && type == aType;
}

template <class Value>
long getValues(SAFEARRAY* aArray, long aCount, VARTYPE aType, Value* aValues) noexcept
{
    if (aArray == nullptr || (aValues == nullptr && aCount > 0)) {
        return E_POINTER;
    }
    if (aCount < 0) {
        return E_INVALIDARG;
    }
    if (!isVectorOf(aArray, aType)) {
        return DISP_E_TYPEMISMATCH;
    }
    if (aCount > static_cast<long long>(aArray->rgsabound[0].cElements)) {
        return DISP_E_BADINDEX;
    }
    if (aCount == 0) {
        return S_OK;
    }
    void* data = nullptr;
    const HRESULT hr = SafeArrayAccessData(aArray, &data);
    if (FAILED(hr)) {
        return hr;
    }
    std::memcpy(aValues, data, static_cast<std::size_t>(aCount) * sizeof(Value));
    SafeArrayUnaccessData(aArray);
    return S_OK;
}

} // namespace

IDispatchPtr ComGetParent(IDispatch* aObject) noexcept
{
    IDispatch* parent = nullptr;
    if (FAILED(static_cast<HRESULT>(ComGetProperty(aObject, L"Parent", VT_DISPATCH, &parent)))) {
        return IDispatchPtr();
    }
    return IDispatchPtr(parent, false); // takes the reference over
}

long ComGetProperty(IDispatch* aObject, const wchar_t* aName, ktstd_AsciiString& aValue) noexcept
{
    Variant value;
    HRESULT hr = readProperty(aObject, aName, value.value);
    if (FAILED(hr)) {
        return hr;
    }
    Variant text;
    hr = VariantChangeType(&text.value, &value.value, 0, VT_BSTR);
    if (FAILED(hr)) {
        return hr;
    }
    try {
        aValue.Copy(ktstd_AsciiString(_bstr_t(text.value.bstrVal, true)));
    } catch (...) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

long ComGetProperty(IDispatch* aObject, const wchar_t* aName, unsigned short aType,
                    void* aValue) noexcept
{
    if (aValue == nullptr) {
        return E_POINTER;
    }
    if (aType != VT_VARIANT && sizeOfPlain(aType) == 0 && !isArrayType(aType)) {
        return DISP_E_BADVARTYPE;
    }
    Variant value;
    const HRESULT hr = readProperty(aObject, aName, value.value);
    if (FAILED(hr)) {
        return hr;
    }
    if (aType == VT_VARIANT) {
        return takeVariant(value.value, aValue);
    }
    return isArrayType(aType) ? takeArray(value.value, aType, aValue)
                              : takePlain(value.value, aType, aValue);
}

long ComGetIdFromName(IDispatch* aObject, const wchar_t* aName, long& aId) noexcept
{
    DISPID id = DISPID_UNKNOWN;
    const HRESULT hr = findMember(aObject, aName, id);
    if (SUCCEEDED(hr)) {
        aId = id;
    }
    return hr;
}

long PutValuesInSafeArray(long aCount, const unsigned char* aValues, SAFEARRAY** aArray) noexcept
{
    return putValues(aCount, aValues, VT_UI1, aArray);
}

long PutValuesInSafeArray(long aCount, const double* aValues, SAFEARRAY** aArray) noexcept
{
    return putValues(aCount, aValues, VT_R8, aArray);
}

long GetValuesFromSafeArray(SAFEARRAY* aArray, long aCount, unsigned char* aValues) noexcept
{
    return getValues(aArray, aCount, VT_UI1, aValues);
}

long GetValuesFromSafeArray(SAFEARRAY* aArray, long aCount, double* aValues) noexcept
{
    return getValues(aArray, aCount, VT_R8, aValues);
}
