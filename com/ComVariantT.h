//! @file
//! `_variant_t` off Windows: a VARIANT that frees what it owns. Include "com/Com.h" instead.
#pragma once

#include "com/ComBstr.h"
#include "com/ComVariant.h"

// NOLINTBEGIN(google-explicit-constructor,bugprone-reserved-identifier): names and conversions are
// the platform's.

//! A variant that copies, converts and clears itself. Every failing copy or conversion raises
//! `_com_error` with its code.
//!
//! Unlike on Windows, `int` and LONG are one type here, so both make VT_I4; VT_INT is made with
//! ChangeType. A `long` that does not fit 32 bits raises `_com_error(DISP_E_OVERFLOW)`.
class KTCOM_EXPORT _variant_t : public VARIANT
{
public:
    _variant_t() noexcept;
    _variant_t(const VARIANT& source);
    //! Null raises `_com_error(E_POINTER)`.
    _variant_t(const VARIANT* source);
    _variant_t(const _variant_t& source);
    //! With false takes over what @p source owns and leaves it empty.
    _variant_t(VARIANT& source, bool copy);
    //! @param type  VT_I2 or VT_BOOL; others raise `_com_error(E_INVALIDARG)`
    _variant_t(short value, VARTYPE type = VT_I2);
    //! @param type  VT_I4, VT_ERROR or VT_BOOL; others raise `_com_error(E_INVALIDARG)`
    _variant_t(LONG value, VARTYPE type = VT_I4);
    _variant_t(long value, VARTYPE type = VT_I4);
    _variant_t(float value) noexcept;
    //! @param type  VT_R8 or VT_DATE; others raise `_com_error(E_INVALIDARG)`
    _variant_t(double value, VARTYPE type = VT_R8);
    _variant_t(const CY& value) noexcept;
    _variant_t(const _bstr_t& text);
    _variant_t(const wchar_t* text);
    _variant_t(const char* text);
    _variant_t(IDispatch* object, bool addRef = true) noexcept;
    _variant_t(IUnknown* object, bool addRef = true) noexcept;
    _variant_t(bool value) noexcept;
    _variant_t(BYTE value) noexcept;
    _variant_t(char value) noexcept;
    _variant_t(unsigned short value) noexcept;
    _variant_t(ULONG value) noexcept;
    _variant_t(unsigned long value);
    _variant_t(LONGLONG value) noexcept;
    _variant_t(ULONGLONG value) noexcept;
    _variant_t& operator=(const VARIANT& source);
    _variant_t& operator=(const VARIANT* source);
    _variant_t& operator=(const _variant_t& source);
    //! Assigning a number or a bool keeps VT_BOOL, VT_ERROR and VT_DATE where the platform does.
    _variant_t& operator=(short value);
    _variant_t& operator=(LONG value);
    _variant_t& operator=(long value);
    _variant_t& operator=(float value);
    _variant_t& operator=(double value);
    _variant_t& operator=(const CY& value);
    _variant_t& operator=(const _bstr_t& text);
    _variant_t& operator=(const wchar_t* text);
    _variant_t& operator=(const char* text);
    _variant_t& operator=(IDispatch* object);
    _variant_t& operator=(IUnknown* object);
    _variant_t& operator=(bool value);
    _variant_t& operator=(BYTE value);
    _variant_t& operator=(char value);
    _variant_t& operator=(unsigned short value);
    _variant_t& operator=(ULONG value);
    _variant_t& operator=(unsigned long value);
    _variant_t& operator=(LONGLONG value);
    _variant_t& operator=(ULONGLONG value);
    ~_variant_t();

    //! Each operator converts a copy when the type differs. Objects come with a reference that the
    //! caller releases.
    operator short() const;
    operator LONG() const;
    operator long() const;
    operator float() const;
    operator double() const;
    operator CY() const;
    operator _bstr_t() const;
    operator IDispatch*() const;
    operator IUnknown*() const;
    operator bool() const;
    operator BYTE() const;
    operator char() const;
    operator unsigned short() const;
    operator ULONG() const;
    operator unsigned long() const;
    operator LONGLONG() const;
    operator ULONGLONG() const;

    //! Compares type and value, without converting. Arrays and references raise
    //! `_com_error(E_INVALIDARG)`.
    bool operator==(const VARIANT& other) const;
    bool operator==(const VARIANT* other) const;
    bool operator!=(const VARIANT& other) const;
    bool operator!=(const VARIANT* other) const;

    void Clear();
    //! Clears this object and takes over what @p source owns, leaving it empty.
    void Attach(VARIANT& source);
    //! Hands the value to the caller, who clears it.
    VARIANT Detach();
    VARIANT& GetVARIANT() noexcept;
    //! Clears this object and gives its address.
    VARIANT* GetAddress();
    //! Converts @p source, or this object when there is none, into this object.
    void ChangeType(VARTYPE type, const _variant_t* source = nullptr);
    void SetString(const char* text);

private:
    void become(VARTYPE type);
};

typedef _variant_t variant_t;

//! What a caller passes for an optional argument left out: VT_ERROR, DISP_E_PARAMNOTFOUND.
extern KTCOM_EXPORT _variant_t vtMissing;

// NOLINTEND(google-explicit-constructor,bugprone-reserved-identifier)
