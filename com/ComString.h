//! @file
//! Counted strings off Windows. Include "com/Com.h" instead.
//!
//! A BSTR may hold zeros; its length is stored with it, and a zero character follows the last one.
//! Null stands for the empty string wherever a BSTR is read. Lengths in bytes count 4 bytes per
//! character here and 2 on Windows. When memory runs out the result is null.
#pragma once

#include "com/ComTypes.h"

//! Copies text up to its final zero. The caller frees the copy with SysFreeString.
//! @param text  null gives null
KTCOM_EXPORT BSTR SysAllocString(const OLECHAR* text) noexcept;

//! Makes a string of a given number of characters.
//! @param text    the characters, or null for a string of zeros
//! @param length  in characters
KTCOM_EXPORT BSTR SysAllocStringLen(const OLECHAR* text, UINT length) noexcept;

//! Makes a string of a given number of bytes, which need not be a whole number of characters.
//! @param bytes   the bytes, or null for zeros
//! @param length  in bytes
KTCOM_EXPORT BSTR SysAllocStringByteLen(const char* bytes, UINT length) noexcept;

//! Replaces a string by a copy of a text, which may lie inside the old string.
//! @param string  replaced; left as it was when the call fails
//! @param text    null makes the string null
//! @return       TRUE, or FALSE when memory runs out
KTCOM_EXPORT INT SysReAllocString(BSTR* string, const OLECHAR* text) noexcept;

//! As SysReAllocString, with the length given.
KTCOM_EXPORT INT SysReAllocStringLen(BSTR* string, const OLECHAR* text, UINT length) noexcept;

//! Frees a string; null is allowed.
KTCOM_EXPORT void SysFreeString(BSTR string) noexcept;

//! Gives the number of whole characters; 0 for null.
KTCOM_EXPORT UINT SysStringLen(BSTR string) noexcept;

//! Gives the number of bytes; 0 for null.
KTCOM_EXPORT UINT SysStringByteLen(BSTR string) noexcept;
