//! @file
//! Late-bound calls for tests: arguments of every shape, and all that a call answers.

#pragma once

#include "com/Com.h"
#include "com/ComText.h"

#include <cstring>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace support {

//! An array by reference, as a caller has it: null, or of some type and size.
class Array
{
public:
    Array() = default;
    //! Makes an array of zeros.
    Array(VARTYPE type, ULONG count, LONG lowerBound = 0)
        : array(SafeArrayCreateVector(type, lowerBound, count))
    {}
    //! Makes an array of doubles.
    Array(std::initializer_list<double> values) : Array(VT_R8, static_cast<ULONG>(values.size()))
    {
        fill(values.begin(), values.size() * sizeof(double));
    }
    //! Makes an array of bytes.
    explicit Array(const std::vector<unsigned char>& values)
        : Array(VT_UI1, static_cast<ULONG>(values.size()))
    {
        fill(values.data(), values.size());
    }
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;
    Array(Array&& other) noexcept : array(std::exchange(other.array, nullptr)) {}
    Array& operator=(Array&&) = delete;
    ~Array() { SafeArrayDestroy(array); }

    [[nodiscard]] SAFEARRAY* get() const { return array; }
    [[nodiscard]] SAFEARRAY** place() { return &array; }
    [[nodiscard]] VARTYPE type() const
    {
        VARTYPE held = VT_EMPTY;
        return array != nullptr && SUCCEEDED(SafeArrayGetVartype(array, &held)) ? held
                                                                                : VARTYPE(VT_EMPTY);
    }
    [[nodiscard]] LONG lowerBound() const
    {
        LONG bound = 0;
        SafeArrayGetLBound(array, 1, &bound);
        return bound;
    }
    [[nodiscard]] std::size_t size() const
    {
        LONG bound = -1;
        if (array == nullptr || FAILED(SafeArrayGetUBound(array, 1, &bound))) {
            return 0;
        }
        return static_cast<std::size_t>(bound - lowerBound() + 1);
    }
    //! Copies the elements out; the caller knows their type.
    template <typename Element>
    [[nodiscard]] std::vector<Element> elements() const
    {
        std::vector<Element> values(size());
        void* data = nullptr;
        if (!values.empty() && SUCCEEDED(SafeArrayAccessData(array, &data))) {
            std::memcpy(values.data(), data, values.size() * sizeof(Element));
            SafeArrayUnaccessData(array);
        }
        return values;
    }
    [[nodiscard]] std::vector<double> doubles() const { return elements<double>(); }
    [[nodiscard]] std::vector<unsigned char> bytes() const { return elements<unsigned char>(); }

private:
    void fill(const void* values, std::size_t bytesToCopy)
    {
        void* data = nullptr;
        if (bytesToCopy > 0 && SUCCEEDED(SafeArrayAccessData(array, &data))) {
            std::memcpy(data, values, bytesToCopy);
            SafeArrayUnaccessData(array);
        }
    }

    SAFEARRAY* array = nullptr;
};

//! Arguments. None of them owns anything.
inline VARIANT value(LONG number)
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = VT_I4;
    V_I4(&v) = number;
    return v;
}
inline VARIANT value(double number)
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = VT_R8;
    V_R8(&v) = number;
    return v;
}
inline VARIANT value(bool flag)
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = VT_BOOL;
    V_BOOL(&v) = flag ? VARIANT_TRUE : VARIANT_FALSE;
    return v;
}
inline VARIANT objectValue(IDispatch* object)
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = VT_DISPATCH;
    V_DISPATCH(&v) = object;
    return v;
}
inline VARIANT missing()
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = VT_ERROR;
    V_ERROR(&v) = DISP_E_PARAMNOTFOUND;
    return v;
}
inline VARIANT reference(LONG& number)
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = VT_BYREF | VT_I4;
    V_I4REF(&v) = &number;
    return v;
}
inline VARIANT reference(double& number)
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = VT_BYREF | VT_R8;
    V_R8REF(&v) = &number;
    return v;
}
//! A text by reference; what a call leaves there is the caller's to free.
inline VARIANT reference(BSTR& text)
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = VT_BYREF | VT_BSTR;
    V_BSTRREF(&v) = &text;
    return v;
}
inline VARIANT reference(IDispatch*& object)
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = VT_BYREF | VT_DISPATCH;
    V_DISPATCHREF(&v) = &object;
    return v;
}
inline VARIANT reference(_variant_t& variant)
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = VT_BYREF | VT_VARIANT;
    V_VARIANTREF(&v) = &variant.GetVARIANT();
    return v;
}
inline VARIANT reference(Array& array, VARTYPE type = VT_R8)
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = static_cast<VARTYPE>(VT_BYREF | VT_ARRAY | type);
    V_ARRAYREF(&v) = array.place();
    return v;
}

//! What a call answered.
struct Outcome
{
    HRESULT code = E_UNEXPECTED;
    _variant_t result;
    UINT argument = 99;      //!< index among the arguments as passed, the last one first
    HRESULT inner = S_OK;    //!< EXCEPINFO's code, when the call raised an exception
    std::string description; //!< EXCEPINFO's text

    [[nodiscard]] bool ok() const { return SUCCEEDED(code); }
    //! Gives the failing code, whether it came directly or inside EXCEPINFO.
    [[nodiscard]] HRESULT failure() const { return code == DISP_E_EXCEPTION ? inner : code; }
    [[nodiscard]] LONG number() const { return V_VT(&result) == VT_I4 ? V_I4(&result) : -999999; }
    [[nodiscard]] double real() const { return V_VT(&result) == VT_R8 ? V_R8(&result) : -999999.0; }
    [[nodiscard]] bool flag() const
    {
        return V_VT(&result) == VT_BOOL && V_BOOL(&result) == VARIANT_TRUE;
    }
    [[nodiscard]] std::string text() const
    {
        return V_VT(&result) == VT_BSTR
                   ? com::toUtf8(V_BSTR(&result), SysStringLen(V_BSTR(&result)))
                   : "(no text)";
    }
    [[nodiscard]] IDispatchPtr object() const
    {
        return V_VT(&result) == VT_DISPATCH ? IDispatchPtr(V_DISPATCH(&result)) : IDispatchPtr();
    }
};

//! Calls a member. When a property is set, the last argument is passed as the new value.
//! @param arguments  in declared order
inline Outcome call(IDispatch* object, DISPID id, WORD flags, std::vector<VARIANT> arguments = {})
{
    std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
    DISPPARAMS params{};
    params.rgvarg = reversed.data();
    params.cArgs = static_cast<UINT>(reversed.size());
    DISPID newValue = DISPID_PROPERTYPUT;
    if ((flags & DISPATCH_PROPERTYPUT) != 0 && !reversed.empty()) {
        params.rgdispidNamedArgs = &newValue;
        params.cNamedArgs = 1;
    }
    Outcome outcome;
    EXCEPINFO exception{};
    outcome.code = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params,
                                  &outcome.result, &exception, &outcome.argument);
    if (outcome.code == DISP_E_EXCEPTION) {
        outcome.inner = exception.scode;
        outcome.description =
            com::toUtf8(exception.bstrDescription, SysStringLen(exception.bstrDescription));
    }
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrDescription);
    SysFreeString(exception.bstrHelpFile);
    return outcome;
}
inline Outcome method(IDispatch* object, DISPID id, std::vector<VARIANT> arguments = {})
{
    return call(object, id, DISPATCH_METHOD, std::move(arguments));
}
inline Outcome get(IDispatch* object, DISPID id, std::vector<VARIANT> arguments = {})
{
    return call(object, id, DISPATCH_PROPERTYGET, std::move(arguments));
}

inline Outcome put(IDispatch* object, DISPID id, const VARIANT& newValue)
{
    return call(object, id, DISPATCH_PROPERTYPUT, {newValue});
}

//! Looks a name up.
inline HRESULT identify(IDispatch* object, std::wstring name, DISPID& id)
{
    LPOLESTR text = name.data();
    return object->GetIDsOfNames(IID_NULL, &text, 1, LOCALE_USER_DEFAULT, &id);
}

//! Reads a property by name, the way of callers that know no numbers.
inline Outcome named(IDispatch* object, const std::wstring& name, WORD flags,
                     std::vector<VARIANT> arguments = {})
{
    DISPID id = DISPID_UNKNOWN;
    Outcome outcome;
    outcome.code = identify(object, name, id);
    return FAILED(outcome.code) ? outcome : call(object, id, flags, std::move(arguments));
}

} // namespace support
