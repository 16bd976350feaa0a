#include "com/ComVariant.h"

#include "com/ComCodes.h"
#include "com/ComInterfaces.h"
#include "com/ComSafeArray.h"
#include "com/ComString.h"

namespace {

bool isKnownType(VARTYPE vt)
{
    const VARTYPE base = vt & VT_TYPEMASK;
    const VARTYPE form = vt & static_cast<VARTYPE>(~VT_TYPEMASK);
    if ((form & (VT_VECTOR | VT_RESERVED)) != 0) {
        return false;
    }
    if (base > VT_UINT || base == 15 || base == VT_DECIMAL) {
        return false;
    }
    if (base == VT_EMPTY || base == VT_NULL) {
        return form == 0;
    }
    return base != VT_VARIANT || form != 0;
}

// Doubles what a plainly copied variant owns; makes it empty when that fails.
HRESULT ownContent(VARIANT& variant)
{
    HRESULT hr = S_OK;
    if (V_ISBYREF(&variant)) {
        return S_OK;
    }
    if (V_ISARRAY(&variant)) {
        hr = SafeArrayCopy(V_ARRAY(&variant), &V_ARRAY(&variant));
    } else if (V_VT(&variant) == VT_BSTR && V_BSTR(&variant) != nullptr) {
        // Through a pointer to bytes: a string's length need not be whole characters.
        const void* const bytes = V_BSTR(&variant);
        V_BSTR(&variant) = SysAllocStringByteLen(static_cast<const char*>(bytes),
                                                 SysStringByteLen(V_BSTR(&variant)));
        hr = V_BSTR(&variant) == nullptr ? E_OUTOFMEMORY : S_OK;
    } else if (V_VT(&variant) == VT_DISPATCH && V_DISPATCH(&variant) != nullptr) {
        V_DISPATCH(&variant)->AddRef();
    } else if (V_VT(&variant) == VT_UNKNOWN && V_UNKNOWN(&variant) != nullptr) {
        V_UNKNOWN(&variant)->AddRef();
    }
    if (FAILED(hr)) {
        VariantInit(&variant);
    }
    return hr;
}

// Makes the plain, unowned value that a reference to a type of fixed size points to.
VARIANT dereference(const VARIANT& source)
{
    VARIANT value = {};
    V_VT(&value) = V_VT(&source) & static_cast<VARTYPE>(~VT_BYREF);
    if (V_ISARRAY(&source)) {
        V_ARRAY(&value) = *V_ARRAYREF(&source);
        return value;
    }
    switch (V_VT(&value)) {
    case VT_I1:
    case VT_UI1:
        V_UI1(&value) = *V_UI1REF(&source);
        break;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
        V_I2(&value) = *V_I2REF(&source);
        break;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_ERROR:
        V_I4(&value) = *V_I4REF(&source);
        break;
    case VT_R4:
        V_R4(&value) = *V_R4REF(&source);
        break;
    case VT_R8:
    case VT_DATE:
        V_R8(&value) = *V_R8REF(&source);
        break;
    case VT_I8:
    case VT_UI8:
        V_I8(&value) = *V_I8REF(&source);
        break;
    case VT_CY:
        V_CY(&value) = *V_CYREF(&source);
        break;
    case VT_BSTR:
        V_BSTR(&value) = *V_BSTRREF(&source);
        break;
    case VT_DISPATCH:
        V_DISPATCH(&value) = *V_DISPATCHREF(&source);
        break;
    case VT_UNKNOWN:
        V_UNKNOWN(&value) = *V_UNKNOWNREF(&source);
        break;
    default:
        break;
    }
    return value;
}

HRESULT replace(VARIANT* target, VARIANT value)
{
    HRESULT hr = ownContent(value);
    if (FAILED(hr)) {
        return hr;
    }
    hr = VariantClear(target);
    if (FAILED(hr)) {
        VariantClear(&value);
        return hr;
    }
    *target = value;
    return S_OK;
}

} // namespace

void VariantInit(VARIANT* variant) noexcept
{
    *variant = VARIANT{};
}

HRESULT VariantClear(VARIANT* variant) noexcept
{
    if (variant == nullptr) {
        return E_INVALIDARG;
    }
    if (!isKnownType(V_VT(variant))) {
        return DISP_E_BADVARTYPE;
    }
    if (!V_ISBYREF(variant)) {
        if (V_ISARRAY(variant)) {
            const HRESULT hr = SafeArrayDestroy(V_ARRAY(variant));
            if (FAILED(hr)) {
                return hr;
            }
        } else if (V_VT(variant) == VT_BSTR) {
            SysFreeString(V_BSTR(variant));
        } else if (V_VT(variant) == VT_DISPATCH && V_DISPATCH(variant) != nullptr) {
            V_DISPATCH(variant)->Release();
        } else if (V_VT(variant) == VT_UNKNOWN && V_UNKNOWN(variant) != nullptr) {
            V_UNKNOWN(variant)->Release();
        }
    }
    V_VT(variant) = VT_EMPTY;
    return S_OK;
}

HRESULT VariantCopy(VARIANT* target, const VARIANT* source) noexcept
{
    if (target == nullptr || source == nullptr) {
        return E_INVALIDARG;
    }
    if (!isKnownType(V_VT(source))) {
        return DISP_E_BADVARTYPE;
    }
    return target == source ? S_OK : replace(target, *source);
}

HRESULT VariantCopyInd(VARIANT* target, const VARIANT* source) noexcept
{
    if (target == nullptr || source == nullptr) {
        return E_INVALIDARG;
    }
    if (!V_ISBYREF(source)) {
        return VariantCopy(target, source);
    }
    if (!isKnownType(V_VT(source))) {
        return DISP_E_BADVARTYPE;
    }
    if (V_BYREF(source) == nullptr) {
        return E_INVALIDARG;
    }
    if (V_VT(source) != (VT_BYREF | VT_VARIANT)) {
        return replace(target, dereference(*source));
    }
    const VARIANT* const inner = V_VARIANTREF(source);
    if (V_VT(inner) == (VT_BYREF | VT_VARIANT)) {
        return E_INVALIDARG;
    }
    return VariantCopyInd(target, inner);
}
