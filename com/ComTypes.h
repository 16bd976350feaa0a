//! @file
//! Basic COM types off Windows: numbers of fixed width, GUIDs, result codes' anatomy, task memory.
//! Include "com/Com.h" instead.
#pragma once

#include "com/ComExport.h"

#include <cstddef>
#include <cstdint>

// NOLINTBEGIN(readability-identifier-naming): the platform's names
#define STDMETHODCALLTYPE
#define STDAPICALLTYPE
#define WINAPI
#define APIENTRY
#define CALLBACK
#define STDMETHODIMP HRESULT STDMETHODCALLTYPE
#define STDMETHODIMP_(type) type STDMETHODCALLTYPE
#define STDMETHOD(method) virtual HRESULT STDMETHODCALLTYPE method
#define STDMETHOD_(type, method) virtual type STDMETHODCALLTYPE method
#define PURE = 0
#define THIS_
#define THIS void
#define OLESTR(text) L##text
// NOLINTEND(readability-identifier-naming)

typedef std::int32_t HRESULT;
typedef std::int32_t SCODE;
typedef std::int32_t LONG;
typedef std::uint32_t ULONG;
typedef std::uint32_t DWORD;
typedef std::uint32_t LCID;
typedef std::int32_t DISPID;
typedef std::int32_t BOOL;
typedef std::int32_t INT;
typedef std::uint32_t UINT;
typedef std::int16_t SHORT;
typedef std::uint16_t USHORT;
typedef std::uint16_t WORD;
typedef std::uint8_t BYTE;
typedef char CHAR;
typedef long long LONGLONG;
typedef unsigned long long ULONGLONG;
typedef float FLOAT;
typedef double DOUBLE;
typedef double DATE;
typedef void* PVOID;
typedef void* LPVOID;
typedef std::int16_t VARIANT_BOOL;
typedef std::uint16_t VARTYPE;
typedef DISPID MEMBERID;
typedef wchar_t WCHAR;
typedef wchar_t OLECHAR;
typedef OLECHAR* LPOLESTR;
typedef const OLECHAR* LPCOLESTR;
typedef OLECHAR* BSTR;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;
typedef char* LPSTR;
typedef const char* LPCSTR;

//! A currency amount: ten-thousandths in 64 bits.
struct CY
{
    LONGLONG int64;
};

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;
inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

inline constexpr LCID LOCALE_NEUTRAL = 0x0000;
inline constexpr LCID LOCALE_USER_DEFAULT = 0x0400;
inline constexpr LCID LOCALE_SYSTEM_DEFAULT = 0x0800;
inline constexpr LCID LOCALE_INVARIANT = 0x007F;

constexpr bool SUCCEEDED(HRESULT hr) noexcept
{
    return hr >= 0;
}
constexpr bool FAILED(HRESULT hr) noexcept
{
    return hr < 0;
}
constexpr bool IS_ERROR(HRESULT hr) noexcept
{
    return hr < 0;
}
//! Gives the low 16 bits of a result code.
constexpr LONG HRESULT_CODE(HRESULT hr) noexcept
{
    return static_cast<LONG>(static_cast<ULONG>(hr) & 0xFFFFu);
}
//! Gives the family of a result code, 0 to 0x1FFF.
constexpr LONG HRESULT_FACILITY(HRESULT hr) noexcept
{
    return static_cast<LONG>((static_cast<ULONG>(hr) >> 16) & 0x1FFFu);
}
//! Gives 1 for a failing code, else 0.
constexpr LONG HRESULT_SEVERITY(HRESULT hr) noexcept
{
    return static_cast<LONG>(static_cast<ULONG>(hr) >> 31);
}

inline constexpr ULONG SEVERITY_SUCCESS = 0;
inline constexpr ULONG SEVERITY_ERROR = 1;
inline constexpr ULONG FACILITY_NULL = 0;
inline constexpr ULONG FACILITY_RPC = 1;
inline constexpr ULONG FACILITY_DISPATCH = 2;
inline constexpr ULONG FACILITY_STORAGE = 3;
inline constexpr ULONG FACILITY_ITF = 4;
inline constexpr ULONG FACILITY_WIN32 = 7;

//! Puts a result code together from its severity (0 or 1), family and 16-bit code.
constexpr HRESULT MAKE_HRESULT(ULONG severity, ULONG facility, ULONG code) noexcept
{
    return static_cast<HRESULT>((severity << 31) | (facility << 16) | code);
}
//! Wraps a Win32 error in a result code. Zero and values that already fail are kept as they are.
constexpr HRESULT HRESULT_FROM_WIN32(ULONG error) noexcept
{
    return static_cast<HRESULT>(error) <= 0
               ? static_cast<HRESULT>(error)
               : MAKE_HRESULT(SEVERITY_ERROR, FACILITY_WIN32, error & 0xFFFFu);
}

constexpr HRESULT HRESULT_FROM_WIN32(LONG error) noexcept
{
    return HRESULT_FROM_WIN32(static_cast<ULONG>(error));
}

//! A globally unique identifier. The text form of {00020400-0000-0000-C000-000000000046} is
//! Data1 0x00020400, Data2 0, Data3 0, Data4 C0 00 00 00 00 00 00 46.
struct GUID
{
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};
typedef GUID IID;
typedef GUID CLSID;
typedef const GUID& REFGUID;
typedef const IID& REFIID;
typedef const CLSID& REFCLSID;

inline bool IsEqualGUID(REFGUID a, REFGUID b) noexcept
{
    bool equal = a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3;
    for (std::size_t i = 0; i < sizeof a.Data4; ++i) {
        equal = equal && a.Data4[i] == b.Data4[i];
    }
    return equal;
}
inline bool IsEqualIID(REFIID a, REFIID b) noexcept
{
    return IsEqualGUID(a, b);
}
inline bool IsEqualCLSID(REFCLSID a, REFCLSID b) noexcept
{
    return IsEqualGUID(a, b);
}
inline bool operator==(REFGUID a, REFGUID b) noexcept
{
    return IsEqualGUID(a, b);
}
inline bool operator!=(REFGUID a, REFGUID b) noexcept
{
    return !IsEqualGUID(a, b);
}

inline constexpr GUID GUID_NULL = {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
inline constexpr IID IID_NULL = GUID_NULL;

//! Reads an identifier from its text.
//! @param text  38 characters with braces, letters of either case; null stands for all zeros
//! @param iid   the identifier; all zeros when the call fails
//! @return     S_OK; CO_E_IIDSTRING for any other text; E_INVALIDARG when @p iid is null
KTCOM_EXPORT HRESULT IIDFromString(LPCOLESTR text, IID* iid) noexcept;

//! Writes an identifier as text: 38 characters with braces and capital letters, and a final zero.
//! @param guid  the identifier
//! @param text  room for @p size characters
//! @param size  at least 39
//! @return     39, or 0 (and nothing written) when the text does not fit
KTCOM_EXPORT int StringFromGUID2(REFGUID guid, LPOLESTR text, int size) noexcept;

//! Takes memory that another component may give back. The caller frees it with CoTaskMemFree.
//! @return null when there is not enough
KTCOM_EXPORT LPVOID CoTaskMemAlloc(std::size_t size) noexcept;

//! Gives back memory of CoTaskMemAlloc; null is allowed.
KTCOM_EXPORT void CoTaskMemFree(LPVOID memory) noexcept;
