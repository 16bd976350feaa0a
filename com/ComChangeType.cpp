#include "com/ComCodes.h"
#include "com/ComInterfaces.h"
#include "com/ComString.h"
#include "com/ComVariant.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>

namespace {

constexpr double kCurrencyScale = 10000.0;

// A number on its way from one type to another: an integer where the source is one.
struct Number
{
    enum Kind
    {
        Signed,
        Unsigned,
        Real,
        Currency
    };
    Kind kind = Signed;
    LONGLONG integer = 0; // ten-thousandths for Currency
    ULONGLONG natural = 0;
    double real = 0.0;
};

Number fromSigned(LONGLONG value)
{
    Number number;
    number.integer = value;
    return number;
}

Number fromUnsigned(ULONGLONG value)
{
    Number number;
    number.kind = Number::Unsigned;
    number.natural = value;
    return number;
}

Number fromReal(double value)
{
    Number number;
    number.kind = Number::Real;
    number.real = value;
    return number;
}

Number fromCurrency(LONGLONG value)
{
    Number number;
    number.kind = Number::Currency;
    number.integer = value;
    return number;
}

double asReal(const Number& number)
{
    switch (number.kind) {
    case Number::Signed:
        return static_cast<double>(number.integer);
    case Number::Unsigned:
        return static_cast<double>(number.natural);
    case Number::Currency:
        return static_cast<double>(number.integer) / kCurrencyScale;
    default:
        return number.real;
    }
}

// To the nearest integer, a half to the even one, whatever the rounding mode is.
double roundEven(double value)
{
    const double below = std::floor(value);
    const double rest = value - below;
    if (rest == 0.5) {
        return std::fmod(below, 2.0) == 0.0 ? below : below + 1.0;
    }
    return rest < 0.5 ? below : below + 1.0;
}

LONGLONG currencyToInteger(LONGLONG value)
{
    const LONGLONG scale = 10000;
    LONGLONG whole = value / scale;
    const LONGLONG rest = value % scale;
    const LONGLONG size = rest < 0 ? -rest : rest;
    if (size > scale / 2 || (size == scale / 2 && whole % 2 != 0)) {
        whole += value < 0 ? -1 : 1;
    }
    return whole;
}

template <typename Integer>
HRESULT realToInteger(double value, Integer& result)
{
    const double rounded = roundEven(value);
    const double low = static_cast<double>(std::numeric_limits<Integer>::min());
    // One more than the largest value: a power of two, so exact for every type.
    const double high = std::ldexp(1.0, std::numeric_limits<Integer>::digits);
    if (!(rounded >= low && rounded < high)) {
        return DISP_E_OVERFLOW;
    }
    result = static_cast<Integer>(rounded);
    return S_OK;
}

template <typename Integer>
HRESULT signedToInteger(LONGLONG value, Integer& result)
{
    const bool fits =
        std::numeric_limits<Integer>::is_signed
            ? value >= static_cast<LONGLONG>(std::numeric_limits<Integer>::min()) &&
                  value <= static_cast<LONGLONG>(std::numeric_limits<Integer>::max())
            : value >= 0 && static_cast<ULONGLONG>(value) <=
                                static_cast<ULONGLONG>(std::numeric_limits<Integer>::max());
    result = static_cast<Integer>(value);
    return fits ? S_OK : DISP_E_OVERFLOW;
}

template <typename Integer>
HRESULT toInteger(const Number& number, Integer& result)
{
    switch (number.kind) {
    case Number::Signed:
        return signedToInteger(number.integer, result);
    case Number::Currency:
        return signedToInteger(currencyToInteger(number.integer), result);
    case Number::Unsigned:
        result = static_cast<Integer>(number.natural);
        return number.natural <= static_cast<ULONGLONG>(std::numeric_limits<Integer>::max())
                   ? S_OK
                   : DISP_E_OVERFLOW;
    default:
        return realToInteger(number.real, result);
    }
}

HRESULT toCurrency(const Number& number, CY& result)
{
    if (number.kind == Number::Currency) {
        result.int64 = number.integer;
        return S_OK;
    }
    return realToInteger(asReal(number) * kCurrencyScale, result.int64);
}

HRESULT toFloat(const Number& number, FLOAT& result)
{
    const double value = asReal(number);
    if (std::fabs(value) > static_cast<double>(std::numeric_limits<float>::max()) &&
        std::isfinite(value)) {
        return DISP_E_OVERFLOW;
    }
    result = static_cast<FLOAT>(value);
    return S_OK;
}

bool isZero(const Number& number)
{
    return number.integer == 0 && number.natural == 0 && number.real == 0.0;
}

// Gives the text as ASCII without blanks around it; any other character becomes '?'.
std::string plainText(BSTR text)
{
    std::string plain;
    for (UINT i = 0; i < SysStringLen(text); ++i) {
        const OLECHAR c = text[i];
        plain.push_back(c > 0 && c < 0x80 ? static_cast<char>(c) : '?');
    }
    const std::size_t first = plain.find_first_not_of(' ');
    const std::size_t last = plain.find_last_not_of(' ');
    return first == std::string::npos ? std::string() : plain.substr(first, last - first + 1);
}

template <typename Type>
std::errc readAll(std::string_view text, Type& value)
{
    const char* const end = text.data() + text.size();
    const std::from_chars_result read = std::from_chars(text.data(), end, value);
    return read.ec == std::errc() && read.ptr != end ? std::errc::invalid_argument : read.ec;
}

HRESULT parseNumber(std::string_view text, Number& number)
{
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text.front() == '-') {
            return DISP_E_TYPEMISMATCH;
        }
    }
    // Words such as "inf" and "nan" are no numbers here.
    if (text.find_first_not_of("0123456789.eE+-") != std::string_view::npos) {
        return DISP_E_TYPEMISMATCH;
    }
    LONGLONG integer = 0;
    if (readAll(text, integer) == std::errc()) {
        number = fromSigned(integer);
        return S_OK;
    }
    ULONGLONG natural = 0;
    if (readAll(text, natural) == std::errc()) {
        number = fromUnsigned(natural);
        return S_OK;
    }
    double real = 0.0;
    const std::errc failure = readAll(text, real);
    if (failure == std::errc::result_out_of_range) {
        return DISP_E_OVERFLOW;
    }
    number = fromReal(real);
    return failure == std::errc() ? S_OK : DISP_E_TYPEMISMATCH;
}

bool equalWords(std::string_view a, std::string_view lowerCase)
{
    if (a.size() != lowerCase.size()) {
        return false;
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        const char c = a[i] >= 'A' && a[i] <= 'Z' ? static_cast<char>(a[i] - 'A' + 'a') : a[i];
        if (c != lowerCase[i]) {
            return false;
        }
    }
    return true;
}

HRESULT parseBool(BSTR text, VARIANT_BOOL& result)
{
    const std::string plain = plainText(text);
    if (equalWords(plain, "true") || equalWords(plain, "#true#")) {
        result = VARIANT_TRUE;
        return S_OK;
    }
    if (equalWords(plain, "false") || equalWords(plain, "#false#")) {
        result = VARIANT_FALSE;
        return S_OK;
    }
    Number number;
    const HRESULT hr = parseNumber(plain, number);
    result = isZero(number) ? VARIANT_FALSE : VARIANT_TRUE;
    return hr;
}

HRESULT readNumber(const VARIANT& source, Number& number)
{
    switch (V_VT(&source)) {
    case VT_EMPTY:
        number = fromSigned(0);
        return S_OK;
    case VT_I1:
        number = fromSigned(static_cast<signed char>(V_I1(&source)));
        return S_OK;
    case VT_I2:
        number = fromSigned(V_I2(&source));
        return S_OK;
    case VT_BOOL:
        number = fromSigned(V_BOOL(&source));
        return S_OK;
    case VT_I4:
    case VT_INT:
        number = fromSigned(V_I4(&source));
        return S_OK;
    case VT_I8:
        number = fromSigned(V_I8(&source));
        return S_OK;
    case VT_UI1:
        number = fromUnsigned(V_UI1(&source));
        return S_OK;
    case VT_UI2:
        number = fromUnsigned(V_UI2(&source));
        return S_OK;
    case VT_UI4:
    case VT_UINT:
        number = fromUnsigned(V_UI4(&source));
        return S_OK;
    case VT_UI8:
        number = fromUnsigned(V_UI8(&source));
        return S_OK;
    case VT_R4:
        number = fromReal(static_cast<double>(V_R4(&source)));
        return S_OK;
    case VT_R8:
    case VT_DATE:
        number = fromReal(V_R8(&source));
        return S_OK;
    case VT_CY:
        number = fromCurrency(V_CY(&source).int64);
        return S_OK;
    case VT_BSTR:
        return parseNumber(plainText(V_BSTR(&source)), number);
    default:
        return DISP_E_TYPEMISMATCH;
    }
}

HRESULT writeNumber(const Number& number, VARTYPE vt, VARIANT& target)
{
    switch (vt) {
    case VT_I1: {
        signed char value = 0;
        const HRESULT hr = toInteger(number, value);
        V_I1(&target) = static_cast<CHAR>(value);
        return hr;
    }
    case VT_UI1:
        return toInteger(number, V_UI1(&target));
    case VT_I2:
        return toInteger(number, V_I2(&target));
    case VT_UI2:
        return toInteger(number, V_UI2(&target));
    case VT_I4:
    case VT_INT:
        return toInteger(number, V_I4(&target));
    case VT_UI4:
    case VT_UINT:
        return toInteger(number, V_UI4(&target));
    case VT_I8:
        return toInteger(number, V_I8(&target));
    case VT_UI8:
        return toInteger(number, V_UI8(&target));
    case VT_R4:
        return toFloat(number, V_R4(&target));
    case VT_R8:
    case VT_DATE:
        V_R8(&target) = asReal(number);
        return S_OK;
    case VT_CY:
        return toCurrency(number, V_CY(&target));
    case VT_BOOL:
        V_BOOL(&target) = isZero(number) ? VARIANT_FALSE : VARIANT_TRUE;
        return S_OK;
    default:
        return DISP_E_TYPEMISMATCH;
    }
}

std::string currencyText(LONGLONG value)
{
    // In unsigned numbers, because the smallest amount has no positive counterpart.
    const ULONGLONG size =
        value < 0 ? 0 - static_cast<ULONGLONG>(value) : static_cast<ULONGLONG>(value);
    std::string fraction = std::to_string(size % 10000 + 10000).substr(1);
    fraction.erase(fraction.find_last_not_of('0') + 1);
    return (value < 0 ? "-" : "") + std::to_string(size / 10000) +
           (fraction.empty() ? "" : "." + fraction);
}

std::string realText(double value, int digits)
{
    char text[40];
    const std::to_chars_result end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::general, digits);
    std::string result(text, end.ptr);
    for (char& c : result) {
        c = c == 'e' ? 'E' : c;
    }
    return result;
}

HRESULT writeText(const VARIANT& source, USHORT flags, BSTR& target)
{
    std::string text;
    Number number;
    const HRESULT hr = readNumber(source, number);
    if (FAILED(hr) || V_VT(&source) == VT_DATE) {
        return DISP_E_TYPEMISMATCH;
    }
    if (V_VT(&source) == VT_BOOL && (flags & VARIANT_ALPHABOOL) != 0) {
        text = V_BOOL(&source) == VARIANT_FALSE ? "False" : "True";
    } else if (V_VT(&source) == VT_R4) {
        text = realText(number.real, std::numeric_limits<float>::digits10 + 1);
    } else if (number.kind == Number::Real) {
        text = realText(number.real, std::numeric_limits<double>::digits10);
    } else if (number.kind == Number::Currency) {
        text = currencyText(number.integer);
    } else if (number.kind == Number::Unsigned) {
        text = std::to_string(number.natural);
    } else if (V_VT(&source) != VT_EMPTY) {
        text = std::to_string(number.integer);
    }
    target = SysAllocString(std::wstring(text.begin(), text.end()).c_str());
    return target == nullptr ? E_OUTOFMEMORY : S_OK;
}

bool isObject(VARTYPE vt)
{
    return vt == VT_DISPATCH || vt == VT_UNKNOWN;
}

HRESULT convertObject(const VARIANT& source, VARTYPE vt, VARIANT& target)
{
    // Both kinds stand in the same place and begin with the same interface.
    IUnknown* const object =
        V_VT(&source) == VT_DISPATCH ? V_DISPATCH(&source) : V_UNKNOWN(&source);
    void* found = nullptr;
    if (object != nullptr &&
        FAILED(object->QueryInterface(vt == VT_DISPATCH ? IID_IDispatch : IID_IUnknown, &found))) {
        return DISP_E_TYPEMISMATCH;
    }
    if (vt == VT_DISPATCH) {
        V_DISPATCH(&target) = static_cast<IDispatch*>(found);
    } else {
        V_UNKNOWN(&target) = static_cast<IUnknown*>(found);
    }
    return S_OK;
}

HRESULT readDefaultProperty(const VARIANT& source, LCID lcid, VARIANT& value)
{
    if (V_DISPATCH(&source) == nullptr) {
        return DISP_E_BADVARTYPE;
    }
    DISPPARAMS none = {};
    const HRESULT hr = V_DISPATCH(&source)->Invoke(
        DISPID_VALUE, IID_NULL, lcid, DISPATCH_PROPERTYGET, &none, &value, nullptr, nullptr);
    return FAILED(hr) ? DISP_E_TYPEMISMATCH : S_OK;
}

HRESULT convertScalar(const VARIANT& source, USHORT flags, VARTYPE vt, VARIANT& target)
{
    if (vt == VT_NULL || vt == VT_EMPTY || vt == VT_ERROR || isObject(vt)) {
        return DISP_E_TYPEMISMATCH;
    }
    if (vt == VT_BSTR) {
        return writeText(source, flags, V_BSTR(&target));
    }
    if (vt == VT_BOOL && V_VT(&source) == VT_BSTR) {
        return parseBool(V_BSTR(&source), V_BOOL(&target));
    }
    Number number;
    const HRESULT hr = readNumber(source, number);
    return FAILED(hr) ? hr : writeNumber(number, vt, target);
}

// Converts a value that is no reference; `target` is raw.
HRESULT convert(const VARIANT& source, LCID lcid, USHORT flags, VARTYPE vt, VARIANT& target)
{
    if (V_VT(&source) == vt) {
        return VariantCopy(&target, &source);
    }
    if (V_ISARRAY(&source) || (vt & (VT_ARRAY | VT_BYREF)) != 0) {
        return DISP_E_TYPEMISMATCH;
    }
    if (isObject(V_VT(&source)) && isObject(vt)) {
        return convertObject(source, vt, target);
    }
    if (V_VT(&source) != VT_DISPATCH || (flags & VARIANT_NOVALUEPROP) != 0) {
        return convertScalar(source, flags, vt, target);
    }
    VARIANT value = {};
    HRESULT hr = readDefaultProperty(source, lcid, value);
    if (SUCCEEDED(hr)) {
        hr = convertScalar(value, flags, vt, target);
        VariantClear(&value);
    }
    return hr;
}

} // namespace

HRESULT VariantChangeTypeEx(VARIANT* target, const VARIANT* source, LCID lcid, USHORT flags,
                            VARTYPE vt) noexcept
{
    if (target == nullptr || source == nullptr) {
        return E_INVALIDARG;
    }
    VARIANT value = {};
    HRESULT hr = VariantCopyInd(&value, source);
    if (FAILED(hr)) {
        return hr;
    }
    VARIANT converted = {};
    hr = convert(value, lcid, flags, vt, converted);
    VariantClear(&value);
    if (FAILED(hr)) {
        return hr;
    }
    V_VT(&converted) = vt;
    hr = VariantClear(target);
    if (FAILED(hr)) {
        VariantClear(&converted);
        return hr;
    }
    *target = converted;
    return S_OK;
}

HRESULT VariantChangeType(VARIANT* target, const VARIANT* source, USHORT flags, VARTYPE vt) noexcept
{
    return VariantChangeTypeEx(target, source, LOCALE_USER_DEFAULT, flags, vt);
}
