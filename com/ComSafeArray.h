//! @file
//! Automation arrays off Windows. Include "com/Com.h" instead.
//!
//! Laws of all functions: an array may have up to 65535 dimensions, dimension 1 is the leftmost,
//! its index varies fastest in memory. `rgsabound` holds the dimensions in reverse, the rightmost
//! first. Index lists hold one index per dimension, the leftmost first. Elements that own something
//! (strings, variants, objects) are copied in and out and freed with the array. A null array gives
//! E_INVALIDARG.
#pragma once

#include "com/ComTypes.h"

//! One dimension: how many elements, and the index of the first.
struct KTCOM_EXPORT SAFEARRAYBOUND
{
    ULONG cElements;
    LONG lLbound;
};
typedef SAFEARRAYBOUND* LPSAFEARRAYBOUND;

struct KTCOM_EXPORT SAFEARRAY
{
    USHORT cDims;
    USHORT fFeatures;
    ULONG cbElements;
    ULONG cLocks;
    PVOID pvData;
    SAFEARRAYBOUND rgsabound[1]; //!< as many as cDims
};
typedef SAFEARRAY* LPSAFEARRAY;

inline constexpr USHORT FADF_AUTO = 0x0001;
inline constexpr USHORT FADF_STATIC = 0x0002;
inline constexpr USHORT FADF_EMBEDDED = 0x0004;
inline constexpr USHORT FADF_FIXEDSIZE = 0x0010;
inline constexpr USHORT FADF_RECORD = 0x0020;
inline constexpr USHORT FADF_HAVEIID = 0x0040;
inline constexpr USHORT FADF_HAVEVARTYPE = 0x0080;
inline constexpr USHORT FADF_BSTR = 0x0100;
inline constexpr USHORT FADF_UNKNOWN = 0x0200;
inline constexpr USHORT FADF_DISPATCH = 0x0400;
inline constexpr USHORT FADF_VARIANT = 0x0800;
inline constexpr USHORT FADF_RESERVED = 0xF008;

//! Makes an array whose elements are all zero, empty or null.
//! @param vt      type of the elements
//! @param dims    number of dimensions, at least 1
//! @param bounds  one per dimension, the leftmost first
//! @return       owned by the caller; null when the type can't be an element's, when there is no
//!               dimension, or when memory runs out
KTCOM_EXPORT SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT dims, SAFEARRAYBOUND* bounds) noexcept;

//! As SafeArrayCreate, for one dimension.
KTCOM_EXPORT SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lowerBound, ULONG count) noexcept;

//! Frees the array and all that its elements own.
//! @return S_OK, also for null; DISP_E_ARRAYISLOCKED, with the array left as it was
KTCOM_EXPORT HRESULT SafeArrayDestroy(SAFEARRAY* array) noexcept;

//! Frees the elements and leaves the descriptor.
//! @return S_OK; DISP_E_ARRAYISLOCKED
KTCOM_EXPORT HRESULT SafeArrayDestroyData(SAFEARRAY* array) noexcept;

//! Locks the array and gives its elements until SafeArrayUnaccessData.
KTCOM_EXPORT HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data) noexcept;

//! Ends the access given by SafeArrayAccessData.
KTCOM_EXPORT HRESULT SafeArrayUnaccessData(SAFEARRAY* array) noexcept;

//! Adds a lock: while there is one, the array can't be freed or resized.
//! @return S_OK; E_UNEXPECTED at 65535 locks
KTCOM_EXPORT HRESULT SafeArrayLock(SAFEARRAY* array) noexcept;

//! Takes a lock away.
//! @return S_OK; E_UNEXPECTED when there is none
KTCOM_EXPORT HRESULT SafeArrayUnlock(SAFEARRAY* array) noexcept;

//! Gives the number of dimensions; 0 for null.
KTCOM_EXPORT UINT SafeArrayGetDim(SAFEARRAY* array) noexcept;

//! Gives the size of an element in bytes; 0 for null.
KTCOM_EXPORT UINT SafeArrayGetElemsize(SAFEARRAY* array) noexcept;

//! Gives the smallest index of a dimension.
//! @param dim  1 for the leftmost
//! @return    S_OK; DISP_E_BADINDEX when there is no such dimension; E_INVALIDARG
KTCOM_EXPORT HRESULT SafeArrayGetLBound(SAFEARRAY* array, UINT dim, LONG* bound) noexcept;

//! As SafeArrayGetLBound, for the largest index: the smallest less 1 in an empty dimension.
KTCOM_EXPORT HRESULT SafeArrayGetUBound(SAFEARRAY* array, UINT dim, LONG* bound) noexcept;

//! Copies an element out.
//! @param indices  one per dimension, the leftmost first
//! @param element  room for one element; what it held is overwritten, not freed
//! @return        S_OK; DISP_E_BADINDEX; E_INVALIDARG; E_OUTOFMEMORY
KTCOM_EXPORT HRESULT SafeArrayGetElement(SAFEARRAY* array, LONG* indices, void* element) noexcept;

//! Copies an element in and frees the one that was there.
//! @param indices  one per dimension, the leftmost first
//! @param element  where the element is; for strings and objects, the BSTR or pointer itself
//! @return        S_OK; DISP_E_BADINDEX; E_INVALIDARG; E_OUTOFMEMORY
KTCOM_EXPORT HRESULT SafeArrayPutElement(SAFEARRAY* array, LONG* indices, void* element) noexcept;

//! Gives the address of an element, without a lock.
KTCOM_EXPORT HRESULT SafeArrayPtrOfIndex(SAFEARRAY* array, LONG* indices, void** element) noexcept;

//! Makes a copy of the array and of all that its elements own.
//! @param copy  owned by the caller; null when the call fails or @p array is null
//! @return     S_OK, also for a null array; E_INVALIDARG; E_OUTOFMEMORY
KTCOM_EXPORT HRESULT SafeArrayCopy(SAFEARRAY* array, SAFEARRAY** copy) noexcept;

//! Changes the bounds of the rightmost dimension. Elements cut off are freed, new ones are zero.
//! @return S_OK; DISP_E_ARRAYISLOCKED; E_INVALIDARG for an array of fixed size; E_OUTOFMEMORY
KTCOM_EXPORT HRESULT SafeArrayRedim(SAFEARRAY* array, SAFEARRAYBOUND* bound) noexcept;

//! Gives the type of the elements.
KTCOM_EXPORT HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* vt) noexcept;
