#include "com/ComVariantT.h"

#include "com/ComCodes.h"
#include "com/ComError.h"
#include "com/ComInterfaces.h"

#include <cstring>
#include <limits>

namespace {

VARIANT_BOOL variantBool(bool value)
{
    return value ? VARIANT_TRUE : VARIANT_FALSE;
}

void requireType(VARTYPE vt, VARTYPE usual, VARTYPE other, VARTYPE another)
{
    if (vt != usual && vt != other && vt != another) {
        _com_issue_error(E_INVALIDARG);
    }
}

template <typename Narrow, typename Wide>
Narrow checked32(Wide value)
{
    if (value < std::numeric_limits<Narrow>::min() || value > std::numeric_limits<Narrow>::max()) {
        _com_issue_error(DISP_E_OVERFLOW);
    }
    return static_cast<Narrow>(value);
}

BSTR newString(const wchar_t* text)
{
    const BSTR string = SysAllocString(text);
    if (string == nullptr && text != nullptr) {
        _com_issue_error(E_OUTOFMEMORY);
    }
    return string;
}

// Gives the value as the type wanted: a copy that converts, or the value itself.
template <typename Type>
Type valueAs(const _variant_t& value, VARTYPE vt, Type VARIANT::*field)
{
    if (V_VT(&value) == vt) {
        return value.*field;
    }
    _variant_t converted;
    converted.ChangeType(vt, &value);
    return converted.*field;
}

template <typename Object>
Object* objectAs(const _variant_t& value, VARTYPE vt, Object* VARIANT::*field)
{
    if (V_VT(&value) == vt) {
        if (value.*field != nullptr) {
            (value.*field)->AddRef();
        }
        return value.*field;
    }
    _variant_t converted;
    converted.ChangeType(vt, &value);
    Object* const object = converted.*field;
    V_VT(&converted) = VT_EMPTY;
    return object;
}

bool equalStrings(BSTR a, BSTR b)
{
    const UINT bytes = SysStringByteLen(a);
    return bytes == SysStringByteLen(b) && (bytes == 0 || std::memcmp(a, b, bytes) == 0);
}

} // namespace

// NOLINTBEGIN(clang-analyzer-optin.cplusplus.UninitializedObject): VARIANT{} makes all fields zero,
// which the analyzer does not see through the union.
_variant_t::_variant_t() noexcept : VARIANT{} {}

_variant_t::_variant_t(const VARIANT& source) : VARIANT{}
{
    _com_util::CheckError(VariantCopy(this, &source));
}

_variant_t::_variant_t(const VARIANT* source) : VARIANT{}
{
    *this = source;
}

_variant_t::_variant_t(const _variant_t& source) : _variant_t(static_cast<const VARIANT&>(source))
{}

_variant_t::_variant_t(VARIANT& source, bool copy) : VARIANT{}
{
    if (copy) {
        _com_util::CheckError(VariantCopy(this, &source));
    } else {
        Attach(source);
    }
}

_variant_t::_variant_t(short value, VARTYPE type) : VARIANT{}
{
    requireType(type, VT_I2, VT_BOOL, VT_BOOL);
    V_VT(this) = type;
    V_I2(this) = type == VT_BOOL ? variantBool(value != 0) : value;
}

_variant_t::_variant_t(LONG value, VARTYPE type) : VARIANT{}
{
    requireType(type, VT_I4, VT_ERROR, VT_BOOL);
    V_VT(this) = type;
    if (type == VT_BOOL) {
        V_BOOL(this) = variantBool(value != 0);
    } else {
        V_I4(this) = value;
    }
}

_variant_t::_variant_t(long value, VARTYPE type) : _variant_t(checked32<LONG>(value), type) {}

_variant_t::_variant_t(double value, VARTYPE type) : VARIANT{}
{
    requireType(type, VT_R8, VT_DATE, VT_DATE);
    V_VT(this) = type;
    V_R8(this) = value;
}

_variant_t::_variant_t(const _bstr_t& text) : VARIANT{}
{
    V_BSTR(this) = text.copy();
    V_VT(this) = VT_BSTR;
}

_variant_t::_variant_t(const wchar_t* text) : VARIANT{}
{
    V_BSTR(this) = newString(text);
    V_VT(this) = VT_BSTR;
}

_variant_t::_variant_t(const char* text) : VARIANT{}
{
    V_BSTR(this) = _com_util::ConvertStringToBSTR(text);
    V_VT(this) = VT_BSTR;
}

_variant_t::_variant_t(IDispatch* object, bool addRef) noexcept : VARIANT{}
{
    V_VT(this) = VT_DISPATCH;
    V_DISPATCH(this) = object;
    if (addRef && object != nullptr) {
        object->AddRef();
    }
}

_variant_t::_variant_t(IUnknown* object, bool addRef) noexcept : VARIANT{}
{
    V_VT(this) = VT_UNKNOWN;
    V_UNKNOWN(this) = object;
    if (addRef && object != nullptr) {
        object->AddRef();
    }
}

_variant_t::_variant_t(bool value) noexcept : VARIANT{}
{
    V_VT(this) = VT_BOOL;
    V_BOOL(this) = variantBool(value);
}

_variant_t::_variant_t(unsigned long value) : _variant_t(checked32<ULONG>(value)) {}

_variant_t::_variant_t(float value) noexcept : VARIANT{}
{
    V_VT(this) = VT_R4;
    V_R4(this) = value;
}

_variant_t::_variant_t(const CY& value) noexcept : VARIANT{}
{
    V_VT(this) = VT_CY;
    V_CY(this) = value;
}

_variant_t::_variant_t(BYTE value) noexcept : VARIANT{}
{
    V_VT(this) = VT_UI1;
    V_UI1(this) = value;
}

_variant_t::_variant_t(char value) noexcept : VARIANT{}
{
    V_VT(this) = VT_I1;
    V_I1(this) = value;
}

_variant_t::_variant_t(unsigned short value) noexcept : VARIANT{}
{
    V_VT(this) = VT_UI2;
    V_UI2(this) = value;
}

_variant_t::_variant_t(ULONG value) noexcept : VARIANT{}
{
    V_VT(this) = VT_UI4;
    V_UI4(this) = value;
}

_variant_t::_variant_t(LONGLONG value) noexcept : VARIANT{}
{
    V_VT(this) = VT_I8;
    V_I8(this) = value;
}

_variant_t::_variant_t(ULONGLONG value) noexcept : VARIANT{}
{
    V_VT(this) = VT_UI8;
    V_UI8(this) = value;
}

// NOLINTEND(clang-analyzer-optin.cplusplus.UninitializedObject)

_variant_t& _variant_t::operator=(const VARIANT& source)
{
    _com_util::CheckError(VariantCopy(this, &source));
    return *this;
}

_variant_t& _variant_t::operator=(const VARIANT* source)
{
    if (source == nullptr) {
        _com_issue_error(E_POINTER);
    }
    return *this = *source;
}

_variant_t& _variant_t::operator=(const _variant_t& source)
{
    return *this = static_cast<const VARIANT&>(source);
}

_variant_t& _variant_t::operator=(short value)
{
    if (V_VT(this) == VT_BOOL) {
        V_BOOL(this) = variantBool(value != 0);
    } else {
        become(VT_I2);
        V_I2(this) = value;
    }
    return *this;
}

_variant_t& _variant_t::operator=(LONG value)
{
    if (V_VT(this) == VT_BOOL) {
        V_BOOL(this) = variantBool(value != 0);
    } else if (V_VT(this) == VT_ERROR) {
        V_ERROR(this) = value;
    } else {
        become(VT_I4);
        V_I4(this) = value;
    }
    return *this;
}

_variant_t& _variant_t::operator=(long value)
{
    return *this = checked32<LONG>(value);
}

_variant_t& _variant_t::operator=(double value)
{
    if (V_VT(this) != VT_DATE) {
        become(VT_R8);
    }
    V_R8(this) = value;
    return *this;
}

_variant_t& _variant_t::operator=(const _bstr_t& text)
{
    _variant_t fresh(text);
    Attach(fresh);
    return *this;
}

_variant_t& _variant_t::operator=(const wchar_t* text)
{
    _variant_t fresh(text);
    Attach(fresh);
    return *this;
}

_variant_t& _variant_t::operator=(const char* text)
{
    _variant_t fresh(text);
    Attach(fresh);
    return *this;
}

_variant_t& _variant_t::operator=(IDispatch* object)
{
    _variant_t fresh(object);
    Attach(fresh);
    return *this;
}

_variant_t& _variant_t::operator=(IUnknown* object)
{
    _variant_t fresh(object);
    Attach(fresh);
    return *this;
}

_variant_t& _variant_t::operator=(bool value)
{
    become(VT_BOOL);
    V_BOOL(this) = variantBool(value);
    return *this;
}

_variant_t& _variant_t::operator=(unsigned long value)
{
    return *this = checked32<ULONG>(value);
}

_variant_t& _variant_t::operator=(float value)
{
    become(VT_R4);
    V_R4(this) = value;
    return *this;
}

_variant_t& _variant_t::operator=(const CY& value)
{
    become(VT_CY);
    V_CY(this) = value;
    return *this;
}

_variant_t& _variant_t::operator=(BYTE value)
{
    become(VT_UI1);
    V_UI1(this) = value;
    return *this;
}

_variant_t& _variant_t::operator=(char value)
{
    become(VT_I1);
    V_I1(this) = value;
    return *this;
}

_variant_t& _variant_t::operator=(unsigned short value)
{
    become(VT_UI2);
    V_UI2(this) = value;
    return *this;
}

_variant_t& _variant_t::operator=(ULONG value)
{
    become(VT_UI4);
    V_UI4(this) = value;
    return *this;
}

_variant_t& _variant_t::operator=(LONGLONG value)
{
    become(VT_I8);
    V_I8(this) = value;
    return *this;
}

_variant_t& _variant_t::operator=(ULONGLONG value)
{
    become(VT_UI8);
    V_UI8(this) = value;
    return *this;
}

_variant_t::~_variant_t()
{
    VariantClear(this);
}

_variant_t::operator short() const
{
    return valueAs(*this, VT_I2, &VARIANT::iVal);
}

_variant_t::operator LONG() const
{
    return valueAs(*this, VT_I4, &VARIANT::lVal);
}

_variant_t::operator float() const
{
    return valueAs(*this, VT_R4, &VARIANT::fltVal);
}

_variant_t::operator double() const
{
    return valueAs(*this, VT_R8, &VARIANT::dblVal);
}

_variant_t::operator CY() const
{
    return valueAs(*this, VT_CY, &VARIANT::cyVal);
}

_variant_t::operator BYTE() const
{
    return valueAs(*this, VT_UI1, &VARIANT::bVal);
}

_variant_t::operator char() const
{
    return valueAs(*this, VT_I1, &VARIANT::cVal);
}

_variant_t::operator unsigned short() const
{
    return valueAs(*this, VT_UI2, &VARIANT::uiVal);
}

_variant_t::operator ULONG() const
{
    return valueAs(*this, VT_UI4, &VARIANT::ulVal);
}

_variant_t::operator LONGLONG() const
{
    return valueAs(*this, VT_I8, &VARIANT::llVal);
}

_variant_t::operator ULONGLONG() const
{
    return valueAs(*this, VT_UI8, &VARIANT::ullVal);
}

_variant_t::operator long() const
{
    return static_cast<LONG>(*this);
}

_variant_t::operator unsigned long() const
{
    return static_cast<ULONG>(*this);
}

_variant_t::operator bool() const
{
    return valueAs(*this, VT_BOOL, &VARIANT::boolVal) != VARIANT_FALSE;
}

_variant_t::operator _bstr_t() const
{
    return _bstr_t(*this);
}

_variant_t::operator IDispatch*() const
{
    return objectAs(*this, VT_DISPATCH, &VARIANT::pdispVal);
}

_variant_t::operator IUnknown*() const
{
    return objectAs(*this, VT_UNKNOWN, &VARIANT::punkVal);
}

bool _variant_t::operator==(const VARIANT& other) const
{
    if (static_cast<const VARIANT*>(this) == &other) {
        return true;
    }
    if (V_VT(this) != V_VT(&other)) {
        return false;
    }
    switch (V_VT(this)) {
    case VT_EMPTY:
    case VT_NULL:
        return true;
    case VT_I1:
    case VT_UI1:
        return V_UI1(this) == V_UI1(&other);
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
        return V_I2(this) == V_I2(&other);
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_ERROR:
        return V_I4(this) == V_I4(&other);
    case VT_I8:
    case VT_UI8:
    case VT_CY:
        return V_I8(this) == V_I8(&other);
    case VT_R4:
        return V_R4(this) == V_R4(&other);
    case VT_R8:
    case VT_DATE:
        return V_R8(this) == V_R8(&other);
    case VT_BSTR:
        return equalStrings(V_BSTR(this), V_BSTR(&other));
    case VT_DISPATCH:
        return V_DISPATCH(this) == V_DISPATCH(&other);
    case VT_UNKNOWN:
        return V_UNKNOWN(this) == V_UNKNOWN(&other);
    default:
        _com_issue_error(E_INVALIDARG);
    }
}

bool _variant_t::operator==(const VARIANT* other) const
{
    return other != nullptr && *this == *other;
}

bool _variant_t::operator!=(const VARIANT& other) const
{
    return !(*this == other);
}

bool _variant_t::operator!=(const VARIANT* other) const
{
    return !(*this == other);
}

void _variant_t::Clear()
{
    _com_util::CheckError(VariantClear(this));
}

void _variant_t::Attach(VARIANT& source)
{
    Clear();
    static_cast<VARIANT&>(*this) = source;
    V_VT(&source) = VT_EMPTY;
}

VARIANT _variant_t::Detach()
{
    const VARIANT value = *this;
    V_VT(this) = VT_EMPTY;
    return value;
}

VARIANT& _variant_t::GetVARIANT() noexcept
{
    return *this;
}

VARIANT* _variant_t::GetAddress()
{
    Clear();
    return this;
}

void _variant_t::ChangeType(VARTYPE type, const _variant_t* source)
{
    const _variant_t* const from = source == nullptr ? this : source;
    if (from != this || type != V_VT(this)) {
        _com_util::CheckError(VariantChangeType(this, from, 0, type));
    }
}

void _variant_t::SetString(const char* text)
{
    *this = text;
}

void _variant_t::become(VARTYPE type)
{
    if (V_VT(this) != type) {
        Clear();
        V_VT(this) = type;
    }
}
