//! @file
//! `_bstr_t` off Windows: a BSTR with copying, comparison and narrow text.
//! Include "com/Com.h" instead.
#pragma once

#include "com/ComString.h"

// NOLINTBEGIN(google-explicit-constructor,bugprone-reserved-identifier): names and conversions are
// the platform's.

class _variant_t;

//! A string that counts who shares it. Copies share one BSTR. An object made by default holds
//! none; its pointers are null and its length is 0. Narrow text is UTF-8, made on first request and
//! kept as long as the string. Running out of memory raises `_com_error(E_OUTOFMEMORY)`.
class KTCOM_EXPORT _bstr_t
{
public:
    _bstr_t() noexcept = default;
    _bstr_t(const _bstr_t& other) noexcept;
    _bstr_t(const char* text);
    _bstr_t(const wchar_t* text);
    //! Takes the value as text; what can't be text raises `_com_error` with the conversion's code.
    _bstr_t(const _variant_t& value);
    //! Holds a BSTR, zeros included.
    //! @param string  may be null
    //! @param copy    false takes the string over, which is then freed here
    _bstr_t(BSTR string, bool copy);
    _bstr_t& operator=(const _bstr_t& other) noexcept;
    _bstr_t& operator=(const char* text);
    _bstr_t& operator=(const wchar_t* text);
    _bstr_t& operator=(const _variant_t& value);
    ~_bstr_t();

    //! Gives the text, borrowed until this object changes or ends; null when there is none.
    operator const wchar_t*() const noexcept;
    operator wchar_t*() const noexcept;
    //! Gives the text as UTF-8, borrowed as above.
    operator const char*() const;
    operator char*() const;

    bool operator!() const noexcept;
    bool operator==(const _bstr_t& other) const noexcept;
    bool operator!=(const _bstr_t& other) const noexcept;
    bool operator<(const _bstr_t& other) const noexcept;
    bool operator>(const _bstr_t& other) const noexcept;
    bool operator<=(const _bstr_t& other) const noexcept;
    bool operator>=(const _bstr_t& other) const noexcept;

    //! Gives the number of characters.
    [[nodiscard]] unsigned int length() const noexcept;
    //! Gives a copy that the caller frees, or with false the string itself, which stays here.
    [[nodiscard]] BSTR copy(bool makeCopy = true) const;

    _bstr_t& operator+=(const _bstr_t& other);
    _bstr_t operator+(const _bstr_t& other) const;
    //! Holds a copy of @p string from now on.
    void Assign(BSTR string);
    //! Takes @p string over.
    void Attach(BSTR string);
    //! Hands the string to the caller, who frees it. Raises `_com_error(E_POINTER)` when there is
    //! none or when it is shared.
    BSTR Detach();
    //! Gives the string itself, to be changed by functions that replace a BSTR.
    BSTR& GetBSTR();
    //! Lets go of the string and gives a place for another one.
    BSTR* GetAddress();

private:
    struct Shared;
    [[nodiscard]] int compare(const _bstr_t& other) const noexcept;
    void release() noexcept;
    void reset(Shared* shared) noexcept;

    Shared* mShared = nullptr;
};

KTCOM_EXPORT _bstr_t operator+(const char* left, const _bstr_t& right);
KTCOM_EXPORT _bstr_t operator+(const wchar_t* left, const _bstr_t& right);

typedef _bstr_t bstr_t;

namespace _com_util {

//! Makes a BSTR of UTF-8 text; null gives null. Raises `_com_error(E_OUTOFMEMORY)`.
KTCOM_EXPORT BSTR ConvertStringToBSTR(const char* text);

//! Makes UTF-8 text of a BSTR; the caller frees it with delete[]. Null gives null.
KTCOM_EXPORT char* ConvertBSTRToString(BSTR string);

//! Raises `_com_error` for a failing code.
KTCOM_EXPORT void CheckError(HRESULT hr);

} // namespace _com_util

// NOLINTEND(google-explicit-constructor,bugprone-reserved-identifier)
