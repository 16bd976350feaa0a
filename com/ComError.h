//! @file
//! `_com_error` off Windows, and the functions that raise it. Include "com/Com.h" instead.
#pragma once

#include "com/ComBstr.h"
#include "com/ComInterfaces.h"

// NOLINTBEGIN(google-explicit-constructor,bugprone-reserved-identifier): names and conversions are
// the platform's.

//! A failing result code, with what the failing object told about it if it did.
//! Copies share the error information. May be thrown across library boundaries.
class KTCOM_EXPORT _com_error
{
public:
    //! @param hr      the code
    //! @param info    may be null
    //! @param addRef  false takes over the caller's reference on @p info
    _com_error(HRESULT hr, IErrorInfo* info = nullptr, bool addRef = false) noexcept;
    _com_error(const _com_error& other) noexcept;
    _com_error& operator=(const _com_error& other) noexcept;
    virtual ~_com_error();

    HRESULT Error() const noexcept;
    //! Gives the code's distance from 0x80040200, 0 outside 0x80040200 to 0x8004FFFF.
    WORD WCode() const noexcept;
    //! Gives the error information with a reference that the caller releases; null when none.
    IErrorInfo* ErrorInfo() const noexcept;
    //! The next five give what the error information says, empty or 0 when there is none.
    _bstr_t Description() const;
    _bstr_t Source() const;
    _bstr_t HelpFile() const;
    DWORD HelpContext() const noexcept;
    GUID GUID_() const noexcept;

    //! Gives the system's text for the code, without the line end. When the system has none:
    //! "IDispatch error #" and WCode() in decimal when that is not 0, else "Unknown error 0x" and
    //! the code in capital hexadecimal digits. Borrowed until this object changes or ends.
    const char* ErrorMessage() const noexcept;

    static HRESULT WCodeToHRESULT(WORD code) noexcept;
    static WORD HRESULTToWCode(HRESULT hr) noexcept;

private:
    HRESULT mCode;
    IErrorInfo* mInfo;
    mutable const char* mMessage = nullptr; //!< made once, then kept
    mutable char mComposed[40] = {};        //!< holds the message when the system has none
};

//! Raises `_com_error` for a code.
[[noreturn]] KTCOM_EXPORT void _com_issue_error(HRESULT hr);

//! Raises `_com_error` for a code, with the thread's error information when the failing object
//! says that it leaves one for this interface.
//! @param hr      the code
//! @param object  may be null
//! @param riid    the interface whose call failed
[[noreturn]] KTCOM_EXPORT void _com_issue_errorex(HRESULT hr, IUnknown* object, REFIID riid);

//! Raises `_com_error` for a code, taking over the reference on @p info.
[[noreturn]] KTCOM_EXPORT void _com_raise_error(HRESULT hr, IErrorInfo* info = nullptr);

// NOLINTEND(google-explicit-constructor,bugprone-reserved-identifier)
