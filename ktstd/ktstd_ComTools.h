//! @file
//! Helpers for late-bound calls: named properties, member numbers, arrays.
//!
//! They share these laws:
//! - The result is an automation status: a 32-bit value, negative for a failure, whatever the width
//!   of long. Nothing is thrown.
//! - A null object or a null place for the result gives E_POINTER.
//! - When a call fails, the places for its results are as they were.
//! - A member that fails with an exception record gives the code in that record.
#pragma once

#include "com/Com.h"
#include "ktstd/ktstd_Export.h"

class ktstd_AsciiString;

//! Gives the object that the property "Parent" holds; null when there is none or the call fails.
KTSTD_EXPORT IDispatchPtr ComGetParent(IDispatch* aObject) noexcept;

//! Reads a named property as text.
//! @param aObject  the object; borrowed
//! @param aName    the property
//! @param aValue   receives the text in UTF-8
//! @return         S_OK, or the code of the look-up, the call or the conversion
KTSTD_EXPORT long ComGetProperty(IDispatch* aObject, const wchar_t* aName,
                                 ktstd_AsciiString& aValue) noexcept;

//! Reads a named property as a value of a type.
//! @param aObject  the object; borrowed
//! @param aName    the property
//! @param aType    VT_I1, VT_I2, VT_I4, VT_I8, VT_INT, VT_UI1, VT_UI2, VT_UI4, VT_UI8, VT_UINT,
//!                 VT_R4, VT_R8, VT_BOOL, VT_DATE, VT_CY, VT_ERROR, VT_BSTR, VT_DISPATCH,
//!                 VT_UNKNOWN, VT_VARIANT, or VT_ARRAY with an element type
//! @param aValue   receives the plain value that a variant of this type holds (2 bytes for VT_I2
//!                 and VT_BOOL, and so on), converted when the property has another type. A text,
//!                 an object, an array or a variant is the caller's to free; what the place held
//!                 before is not freed.
//! @return         S_OK; DISP_E_BADVARTYPE for another type; or the code of the look-up, the call
//!                 or the conversion
KTSTD_EXPORT long ComGetProperty(IDispatch* aObject, const wchar_t* aName, unsigned short aType,
                                 void* aValue) noexcept;

//! Looks up the number of a named member.
//! @param aObject  the object; borrowed
//! @param aName    the member
//! @param aId      receives the number, a signed 32-bit value
//! @return         S_OK, or the look-up's code
KTSTD_EXPORT long ComGetIdFromName(IDispatch* aObject, const wchar_t* aName, long& aId) noexcept;

//! Copies values into a new one-dimensional array with lower bound 0.
//! @param aCount   number of values, at least 0
//! @param aValues  may be null when aCount is 0
//! @param aArray   receives the array of VT_UI1; the caller's to destroy. What the place held
//!                 before is not destroyed.
//! @return         S_OK; E_INVALIDARG when the count is negative or doesn't fit 32 bits;
//!                 E_OUTOFMEMORY
KTSTD_EXPORT long PutValuesInSafeArray(long aCount, const unsigned char* aValues,
                                       SAFEARRAY** aArray) noexcept;
//! As above, into an array of VT_R8.
KTSTD_EXPORT long PutValuesInSafeArray(long aCount, const double* aValues,
                                       SAFEARRAY** aArray) noexcept;

//! Copies the first values out of a one-dimensional array, whatever its lower bound.
//! @param aArray   array of VT_UI1; borrowed
//! @param aCount   number of values, at least 0
//! @param aValues  room for aCount values; may be null when aCount is 0
//! @return         S_OK; E_INVALIDARG when the count is negative; DISP_E_TYPEMISMATCH for another
//!                 element type or more than one dimension; DISP_E_BADINDEX when the array is
//!                 shorter
KTSTD_EXPORT long GetValuesFromSafeArray(SAFEARRAY* aArray, long aCount,
                                         unsigned char* aValues) noexcept;
//! As above, out of an array of VT_R8.
KTSTD_EXPORT long GetValuesFromSafeArray(SAFEARRAY* aArray, long aCount, double* aValues) noexcept;
