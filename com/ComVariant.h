//! @file
//! Variants off Windows: the type, its codes, accessors, copying and conversion.
//! Include "com/Com.h" instead.
#pragma once

#include "com/ComTypes.h"

struct IDispatch;
struct IUnknown;
struct SAFEARRAY;

enum VARENUM : VARTYPE
{
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_CY = 6,
    VT_DATE = 7,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_DECIMAL = 14,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_VOID = 24,
    VT_HRESULT = 25,
    VT_PTR = 26,
    VT_SAFEARRAY = 27,
    VT_CARRAY = 28,
    VT_USERDEFINED = 29,
    VT_LPSTR = 30,
    VT_LPWSTR = 31,
    VT_RECORD = 36,
    VT_VECTOR = 0x1000,
    VT_ARRAY = 0x2000,
    VT_BYREF = 0x4000,
    VT_RESERVED = 0x8000,
    VT_ILLEGAL = 0xFFFF,
    VT_TYPEMASK = 0x0FFF
};

//! One value of any automation type. `vt` says which field holds it: VT_I4 means lVal, VT_I4 with
//! VT_BYREF means plVal, any type with VT_ARRAY means parray, and so on.
struct KTCOM_EXPORT VARIANT
{
    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union {
        LONGLONG llVal;
        LONG lVal;
        BYTE bVal;
        SHORT iVal;
        FLOAT fltVal;
        DOUBLE dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        CY cyVal;
        DATE date;
        BSTR bstrVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        SAFEARRAY* parray;
        BYTE* pbVal;
        SHORT* piVal;
        LONG* plVal;
        LONGLONG* pllVal;
        FLOAT* pfltVal;
        DOUBLE* pdblVal;
        VARIANT_BOOL* pboolVal;
        SCODE* pscode;
        CY* pcyVal;
        DATE* pdate;
        BSTR* pbstrVal;
        IUnknown** ppunkVal;
        IDispatch** ppdispVal;
        SAFEARRAY** pparray;
        VARIANT* pvarVal;
        PVOID byref;
        CHAR cVal;
        USHORT uiVal;
        ULONG ulVal;
        ULONGLONG ullVal;
        INT intVal;
        UINT uintVal;
        CHAR* pcVal;
        USHORT* puiVal;
        ULONG* pulVal;
        ULONGLONG* pullVal;
        INT* pintVal;
        UINT* puintVal;
    };
};
typedef VARIANT VARIANTARG;
typedef VARIANT* LPVARIANT;
typedef struct VARIANT tagVARIANT;

#define V_UNION(variant, field) ((variant)->field)
#define V_VT(variant) ((variant)->vt)
#define V_ISBYREF(variant) ((V_VT(variant) & VT_BYREF) != 0)
#define V_ISARRAY(variant) ((V_VT(variant) & VT_ARRAY) != 0)
#define V_UI1(variant) V_UNION(variant, bVal)
#define V_UI1REF(variant) V_UNION(variant, pbVal)
#define V_I1(variant) V_UNION(variant, cVal)
#define V_I1REF(variant) V_UNION(variant, pcVal)
#define V_UI2(variant) V_UNION(variant, uiVal)
#define V_UI2REF(variant) V_UNION(variant, puiVal)
#define V_I2(variant) V_UNION(variant, iVal)
#define V_I2REF(variant) V_UNION(variant, piVal)
#define V_UI4(variant) V_UNION(variant, ulVal)
#define V_UI4REF(variant) V_UNION(variant, pulVal)
#define V_I4(variant) V_UNION(variant, lVal)
#define V_I4REF(variant) V_UNION(variant, plVal)
#define V_UI8(variant) V_UNION(variant, ullVal)
#define V_UI8REF(variant) V_UNION(variant, pullVal)
#define V_I8(variant) V_UNION(variant, llVal)
#define V_I8REF(variant) V_UNION(variant, pllVal)
#define V_INT(variant) V_UNION(variant, intVal)
#define V_INTREF(variant) V_UNION(variant, pintVal)
#define V_UINT(variant) V_UNION(variant, uintVal)
#define V_UINTREF(variant) V_UNION(variant, puintVal)
#define V_R4(variant) V_UNION(variant, fltVal)
#define V_R4REF(variant) V_UNION(variant, pfltVal)
#define V_R8(variant) V_UNION(variant, dblVal)
#define V_R8REF(variant) V_UNION(variant, pdblVal)
#define V_CY(variant) V_UNION(variant, cyVal)
#define V_CYREF(variant) V_UNION(variant, pcyVal)
#define V_DATE(variant) V_UNION(variant, date)
#define V_DATEREF(variant) V_UNION(variant, pdate)
#define V_BSTR(variant) V_UNION(variant, bstrVal)
#define V_BSTRREF(variant) V_UNION(variant, pbstrVal)
#define V_DISPATCH(variant) V_UNION(variant, pdispVal)
#define V_DISPATCHREF(variant) V_UNION(variant, ppdispVal)
#define V_UNKNOWN(variant) V_UNION(variant, punkVal)
#define V_UNKNOWNREF(variant) V_UNION(variant, ppunkVal)
#define V_ERROR(variant) V_UNION(variant, scode)
#define V_ERRORREF(variant) V_UNION(variant, pscode)
#define V_BOOL(variant) V_UNION(variant, boolVal)
#define V_BOOLREF(variant) V_UNION(variant, pboolVal)
#define V_ARRAY(variant) V_UNION(variant, parray)
#define V_ARRAYREF(variant) V_UNION(variant, pparray)
#define V_VARIANTREF(variant) V_UNION(variant, pvarVal)
#define V_BYREF(variant) V_UNION(variant, byref)

inline constexpr USHORT VARIANT_NOVALUEPROP = 0x01;
inline constexpr USHORT VARIANT_ALPHABOOL = 0x02;

//! Makes raw memory an empty variant; frees nothing.
KTCOM_EXPORT void VariantInit(VARIANT* variant) noexcept;

//! Frees what a variant owns and makes it empty. What it only refers to (VT_BYREF) stays.
//! @return S_OK; E_INVALIDARG for null; DISP_E_BADVARTYPE for an unknown type and
//!         DISP_E_ARRAYISLOCKED for a locked array, both with the variant left as it was
KTCOM_EXPORT HRESULT VariantClear(VARIANT* variant) noexcept;

//! Makes a copy of its own of what another variant owns: strings and arrays are doubled, objects
//! get a reference more; what is referred to (VT_BYREF) stays shared.
//! @param target  cleared first; the source itself is allowed and changes nothing
//! @param source  not changed
//! @return       as VariantClear, and E_OUTOFMEMORY
KTCOM_EXPORT HRESULT VariantCopy(VARIANT* target, const VARIANT* source) noexcept;

//! As VariantCopy, but follows a reference (VT_BYREF) and copies the value that it points to.
KTCOM_EXPORT HRESULT VariantCopyInd(VARIANT* target, const VARIANT* source) noexcept;

//! Converts a value to another type: among all integer types, VT_R4, VT_R8, VT_CY, VT_DATE,
//! VT_BOOL and VT_BSTR; from VT_EMPTY to these; between VT_DISPATCH and VT_UNKNOWN; from an
//! object's default property to these. Reals are rounded to the nearest integer, halves to the
//! even one. Dates are converted as numbers only, never from or to text.
//! @param target  cleared first; may be the source itself; left as it was when the call fails
//! @param source  a reference (VT_BYREF) is followed
//! @param flags   VARIANT_NOVALUEPROP, VARIANT_ALPHABOOL
//! @param vt      the type wanted
//! @return       S_OK; DISP_E_TYPEMISMATCH; DISP_E_OVERFLOW; DISP_E_BADVARTYPE; E_INVALIDARG;
//!               E_OUTOFMEMORY
KTCOM_EXPORT HRESULT VariantChangeType(VARIANT* target, const VARIANT* source, USHORT flags,
                                       VARTYPE vt) noexcept;

//! As VariantChangeType. Numbers are read and written as in the invariant locale, whatever
//! @p lcid says.
KTCOM_EXPORT HRESULT VariantChangeTypeEx(VARIANT* target, const VARIANT* source, LCID lcid,
                                         USHORT flags, VARTYPE vt) noexcept;
