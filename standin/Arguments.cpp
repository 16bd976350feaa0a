#include "standin/Arguments.h"

#include "com/ComText.h"
#include "standin/Text.h"

#include <cstddef>

namespace standin {
namespace {

[[noreturn]] void reject(HRESULT code, int parameter = -1)
{
    throw CallFailure{code, std::string(), parameter};
}

//! Stands for a named argument that belongs to no parameter.
int unknownName(UINT argument)
{
    return -2 - static_cast<int>(argument);
}
UINT argumentOf(int unknown)
{
    return static_cast<UINT>(-2 - unknown);
}

bool isMissing(const VARIANT& value)
{
    return V_VT(&value) == VT_ERROR && V_ERROR(&value) == DISP_E_PARAMNOTFOUND;
}

//! Follows a by-reference VARIANT, as automation does for arguments by value.
const VARIANT* behind(const VARIANT* value)
{
    const bool reference = V_VT(value) == (VT_BYREF | VT_VARIANT);
    return reference && V_VARIANTREF(value) != nullptr ? V_VARIANTREF(value) : value;
}

void requireReference(const VARIANT& value, bool typeFits, int parameter)
{
    if (!typeFits) {
        reject(DISP_E_TYPEMISMATCH, parameter);
    }
    if (V_BYREF(&value) == nullptr) {
        reject(E_POINTER, parameter);
    }
}

void requireArray(const VARIANT& value, VARTYPE elementType, int parameter)
{
    requireReference(value, V_VT(&value) == (VT_BYREF | VT_ARRAY | elementType), parameter);
    SAFEARRAY* const array = *V_ARRAYREF(&value);
    if (array == nullptr) {
        return;
    }
    VARTYPE held = VT_EMPTY;
    if (SafeArrayGetDim(array) != 1 || FAILED(SafeArrayGetVartype(array, &held)) ||
        held != elementType) {
        reject(DISP_E_TYPEMISMATCH, parameter);
    }
}

//! Conversions of objects would call them; numbers are not looked for there.
bool mayBeNumber(const VARIANT& value)
{
    const unsigned type = V_VT(&value) & ~static_cast<unsigned>(VT_BYREF);
    return type != VT_DISPATCH && type != VT_UNKNOWN && type != VT_NULL && type != VT_ERROR &&
           (type & VT_ARRAY) == 0;
}

template <typename Read>
HRESULT convert(const VARIANT& value, VARTYPE type, Read read) noexcept
{
    if (!mayBeNumber(value)) {
        return DISP_E_TYPEMISMATCH;
    }
    VARIANT number{};
    VariantInit(&number);
    const HRESULT result = VariantChangeType(&number, const_cast<VARIANT*>(&value), 0, type);
    if (SUCCEEDED(result)) {
        read(number);
    }
    return result == DISP_E_BADVARTYPE ? DISP_E_TYPEMISMATCH : result;
}

//! Texts are not made from numbers.
HRESULT toText(const VARIANT& value, BSTR& text) noexcept
{
    const VARTYPE type = V_VT(&value);
    if (type != VT_BSTR && (type != (VT_BYREF | VT_BSTR) || V_BSTRREF(&value) == nullptr)) {
        return DISP_E_TYPEMISMATCH;
    }
    text = type == VT_BSTR ? V_BSTR(&value) : *V_BSTRREF(&value);
    return S_OK;
}

const char* elementName(VARTYPE type)
{
    switch (type) {
    case VT_I2:
        return "short";
    case VT_I4:
        return "long";
    case VT_R4:
        return "float";
    case VT_R8:
        return "double";
    case VT_UI1:
        return "byte";
    case VT_BOOL:
        return "bool";
    case VT_BSTR:
        return "text";
    case VT_DISPATCH:
        return "object";
    case VT_UNKNOWN:
        return "unknown";
    case VT_VARIANT:
        return "variant";
    case VT_EMPTY:
        return "empty";
    case VT_NULL:
        return "null";
    case VT_ERROR:
        return "error";
    default:
        return "other";
    }
}

std::string describeArray(const VARIANT& value)
{
    const bool reference = V_ISBYREF(&value);
    SAFEARRAY* array = nullptr;
    if (!reference) {
        array = V_ARRAY(&value);
    } else if (V_ARRAYREF(&value) != nullptr) {
        array = *V_ARRAYREF(&value);
    }
    std::string text = elementName(static_cast<VARTYPE>(V_VT(&value) & VT_TYPEMASK));
    LONG from = 0;
    LONG to = -1;
    if (array == nullptr) {
        text += "[null]";
    } else if (SafeArrayGetDim(array) != 1 || FAILED(SafeArrayGetLBound(array, 1, &from)) ||
               FAILED(SafeArrayGetUBound(array, 1, &to))) {
        text += "[?]";
    } else {
        text += "[" + std::to_string(static_cast<long long>(to) - from + 1) + "]";
    }
    return reference ? text + "&" : text;
}

} // namespace

HRESULT toLong(const VARIANT& value, LONG& number) noexcept
{
    return convert(value, VT_I4, [&number](const VARIANT& v) { number = V_I4(&v); });
}

HRESULT toDouble(const VARIANT& value, double& number) noexcept
{
    return convert(value, VT_R8, [&number](const VARIANT& v) { number = V_R8(&v); });
}

HRESULT toObject(const VARIANT& value, IDispatch*& object) noexcept
{
    const VARTYPE type = V_VT(&value);
    if (type != VT_DISPATCH &&
        (type != (VT_BYREF | VT_DISPATCH) || V_DISPATCHREF(&value) == nullptr)) {
        return DISP_E_TYPEMISMATCH;
    }
    object = type == VT_DISPATCH ? V_DISPATCH(&value) : *V_DISPATCHREF(&value);
    return S_OK;
}

std::string describe(const VARIANT& value)
{
    if (V_ISARRAY(&value)) {
        return describeArray(value);
    }
    if (V_ISBYREF(&value)) {
        return elementName(static_cast<VARTYPE>(V_VT(&value) & VT_TYPEMASK)) + std::string("&");
    }
    LONG integer = 0;
    double real = 0.0;
    switch (V_VT(&value)) {
    case VT_ERROR:
        return isMissing(value) ? "missing" : "error " + codeText(V_ERROR(&value));
    case VT_BSTR: {
        const BSTR text = V_BSTR(&value);
        return "\"" + (text == nullptr ? "" : com::toUtf8(text, SysStringLen(text))) + "\"";
    }
    case VT_BOOL:
        return V_BOOL(&value) == VARIANT_FALSE ? "false" : "true";
    case VT_R4:
    case VT_R8:
        return FAILED(toDouble(value, real)) ? "?" : numberText(real);
    case VT_DISPATCH:
        return V_DISPATCH(&value) == nullptr ? "null object" : "object";
    case VT_EMPTY:
    case VT_NULL:
    case VT_UNKNOWN:
        return elementName(V_VT(&value));
    default:
        return FAILED(toLong(value, integer)) ? "other" : std::to_string(integer);
    }
}

Arguments::Arguments(const Member& member, const DISPPARAMS* params)
    : slots(member.parameters.size())
{
    if (params != nullptr) {
        assign(member, params);
    }
    for (std::size_t i = 0; i < slots.size(); ++i) {
        const Parameter& parameter = member.parameters[i];
        Slot& slot = slots[i];
        slot.given = slot.raw != nullptr && !isMissing(*slot.raw);
        if (slot.given) {
            check(parameter, slot, static_cast<int>(i));
        } else if (!parameter.optional) {
            const bool named = params != nullptr && params->cNamedArgs > 0;
            if (slot.raw != nullptr || named) {
                reject(DISP_E_PARAMNOTOPTIONAL, static_cast<int>(i));
            }
            reject(DISP_E_BADPARAMCOUNT);
        }
    }
}

std::size_t Arguments::parameterNamed(const Member& member, DISPID name) const noexcept
{
    const bool put = (member.kinds & kPut) != 0;
    if (name == DISPID_PROPERTYPUT) {
        return put ? slots.size() - 1 : slots.size();
    }
    const std::size_t nameable = put ? slots.size() - 1 : slots.size();
    return name >= 0 && static_cast<std::size_t>(name) < nameable ? static_cast<std::size_t>(name)
                                                                  : slots.size();
}

void Arguments::assign(const Member& member, const DISPPARAMS* params)
{
    if (params->cArgs > slots.size()) {
        reject(DISP_E_BADPARAMCOUNT);
    }
    if (params->cNamedArgs > params->cArgs) {
        reject(E_INVALIDARG);
    }
    if (params->cArgs > 0 && params->rgvarg == nullptr) {
        reject(E_INVALIDARG);
    }
    if (params->cNamedArgs > 0 && params->rgdispidNamedArgs == nullptr) {
        reject(E_INVALIDARG);
    }
    for (UINT i = params->cNamedArgs; i < params->cArgs; ++i) {
        slots[params->cArgs - 1 - i].raw = &params->rgvarg[i];
    }
    bool newValueIsNamed = false;
    for (UINT i = 0; i < params->cNamedArgs; ++i) {
        const std::size_t place = parameterNamed(member, params->rgdispidNamedArgs[i]);
        if (place == slots.size() || slots[place].raw != nullptr) {
            reject(DISP_E_PARAMNOTFOUND, unknownName(i));
        }
        slots[place].raw = &params->rgvarg[i];
        newValueIsNamed = newValueIsNamed || params->rgdispidNamedArgs[i] == DISPID_PROPERTYPUT;
    }
    if ((member.kinds & kPut) != 0 && !newValueIsNamed && slots.back().raw != nullptr) {
        reject(DISP_E_PARAMNOTFOUND, static_cast<int>(slots.size()) - 1);
    }
}

void Arguments::check(const Parameter& parameter, Slot& slot, int index) const
{
    const VARIANT& value = *slot.raw;
    const VARTYPE type = V_VT(&value);
    slot.value = behind(slot.raw);
    HRESULT result = S_OK;
    switch (parameter.shape) {
    case Shape::longIn:
        result = toLong(*slot.value, slot.integer);
        break;
    case Shape::doubleIn:
        result = toDouble(*slot.value, slot.real);
        break;
    case Shape::boolIn:
        result = toDouble(*slot.value, slot.real);
        slot.integer = slot.real != 0.0 ? 1 : 0;
        break;
    case Shape::variantIn:
        break;
    case Shape::textIn:
        result = toText(*slot.value, slot.text);
        break;
    case Shape::objectIn:
        result = toObject(*slot.value, slot.object);
        result = SUCCEEDED(result) && slot.object == nullptr ? E_POINTER : result;
        break;
    case Shape::longOut:
        requireReference(value, type == (VT_BYREF | VT_I4), index);
        break;
    case Shape::doubleOut:
        requireReference(value, type == (VT_BYREF | VT_R8), index);
        break;
    case Shape::textOut:
        requireReference(value, type == (VT_BYREF | VT_BSTR), index);
        break;
    case Shape::objectOut:
        requireReference(value, type == (VT_BYREF | VT_DISPATCH), index);
        break;
    case Shape::variantOut:
        requireReference(value, type == (VT_BYREF | VT_VARIANT) || type == (VT_BYREF | VT_I4),
                         index);
        break;
    case Shape::bytes:
        requireArray(value, VT_UI1, index);
        break;
    case Shape::doubles:
        requireArray(value, VT_R8, index);
        break;
    case Shape::longs:
        requireArray(value, VT_I4, index);
        break;
    case Shape::objects:
        requireArray(value, VT_DISPATCH, index);
        break;
    }
    if (FAILED(result)) {
        reject(result, index);
    }
}

std::string Arguments::textOf(std::size_t parameter) const
{
    const BSTR text = slots[parameter].text;
    return text == nullptr ? std::string() : com::toUtf8(text, SysStringLen(text));
}

UINT Arguments::position(const DISPPARAMS* params, int parameter) noexcept
{
    if (params == nullptr || parameter == -1) {
        return 0;
    }
    if (parameter < -1) {
        return argumentOf(parameter);
    }
    for (UINT i = 0; i < params->cNamedArgs; ++i) {
        if (params->rgdispidNamedArgs[i] == parameter) {
            return i;
        }
    }
    const UINT place = static_cast<UINT>(parameter);
    return place < params->cArgs ? params->cArgs - 1 - place : 0;
}

std::string Arguments::text(const DISPPARAMS* params)
{
    std::string text;
    if (params != nullptr && params->rgvarg != nullptr) {
        for (UINT i = params->cArgs; i-- > 0;) {
            text += (text.empty() ? "" : ", ") + describe(params->rgvarg[i]);
        }
    }
    return text;
}

} // namespace standin
