//! @file
//! Automation interfaces off Windows, slots in the platform's order, and per-thread error
//! information. Include "com/Com.h" instead.
//!
//! Interfaces can't be deleted through their pointers: objects end in Release. Everybody keeps the
//! platform's laws: QueryInterface adds a reference on success and clears its result on failure;
//! an object answers IID_IUnknown with one and the same pointer all its life.
#pragma once

#include "com/ComString.h"
#include "com/ComTypes.h"
#include "com/ComVariant.h"

extern KTCOM_EXPORT const IID IID_IUnknown;
extern KTCOM_EXPORT const IID IID_IDispatch;
extern KTCOM_EXPORT const IID IID_IErrorInfo;
extern KTCOM_EXPORT const IID IID_ICreateErrorInfo;
extern KTCOM_EXPORT const IID IID_ISupportErrorInfo;
extern KTCOM_EXPORT const IID IID_IEnumVARIANT;
extern KTCOM_EXPORT const IID IID_ITypeInfo;

struct KTCOM_EXPORT IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;

protected:
    ~IUnknown() = default;
};
typedef IUnknown* LPUNKNOWN;

//! Type information is never handed out off Windows, so nothing but its lifetime can be used.
struct KTCOM_EXPORT ITypeInfo : public IUnknown
{
protected:
    ~ITypeInfo() = default;
};

//! Arguments of a late-bound call, the last one first; named ones at the front, their identifiers
//! in rgdispidNamedArgs.
struct KTCOM_EXPORT DISPPARAMS
{
    VARIANTARG* rgvarg;
    DISPID* rgdispidNamedArgs;
    UINT cArgs;
    UINT cNamedArgs;
};

//! What a failing call that returns DISP_E_EXCEPTION tells. The caller frees the three strings.
struct KTCOM_EXPORT EXCEPINFO
{
    WORD wCode;
    WORD wReserved;
    BSTR bstrSource;
    BSTR bstrDescription;
    BSTR bstrHelpFile;
    DWORD dwHelpContext;
    PVOID pvReserved;
    HRESULT(STDMETHODCALLTYPE* pfnDeferredFillIn)(EXCEPINFO* info);
    SCODE scode;
};

inline constexpr WORD DISPATCH_METHOD = 0x1;
inline constexpr WORD DISPATCH_PROPERTYGET = 0x2;
inline constexpr WORD DISPATCH_PROPERTYPUT = 0x4;
inline constexpr WORD DISPATCH_PROPERTYPUTREF = 0x8;

inline constexpr DISPID DISPID_VALUE = 0;
inline constexpr DISPID DISPID_UNKNOWN = -1;
inline constexpr DISPID DISPID_PROPERTYPUT = -3;
inline constexpr DISPID DISPID_NEWENUM = -4;
inline constexpr DISPID DISPID_EVALUATE = -5;

struct KTCOM_EXPORT IDispatch : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count,
                                                    LCID lcid, DISPID* ids) = 0;
    virtual HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID riid, LCID lcid, WORD flags,
                                             DISPPARAMS* params, VARIANT* result,
                                             EXCEPINFO* exception, UINT* argumentError) = 0;

protected:
    ~IDispatch() = default;
};
typedef IDispatch* LPDISPATCH;

struct KTCOM_EXPORT IEnumVARIANT : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* elements, ULONG* fetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE Skip(ULONG count) = 0;
    virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** copy) = 0;

protected:
    ~IEnumVARIANT() = default;
};

//! What an object tells about its last failure. The texts are copies that the caller frees.
struct KTCOM_EXPORT IErrorInfo : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetGUID(GUID* guid) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSource(BSTR* source) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDescription(BSTR* description) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* helpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* helpContext) = 0;

protected:
    ~IErrorInfo() = default;
};

struct KTCOM_EXPORT ICreateErrorInfo : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE SetGUID(REFGUID guid) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR source) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR description) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR helpFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD helpContext) = 0;

protected:
    ~ICreateErrorInfo() = default;
};

struct KTCOM_EXPORT ISupportErrorInfo : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID riid) = 0;

protected:
    ~ISupportErrorInfo() = default;
};

//! Makes an empty error-information object, which also answers IErrorInfo.
//! @param info  a new object, whose reference the caller owns; null when the call fails
//! @return     S_OK, E_INVALIDARG or E_OUTOFMEMORY
KTCOM_EXPORT HRESULT CreateErrorInfo(ICreateErrorInfo** info) noexcept;

//! Leaves error information with the calling thread, in place of what was there.
//! @param reserved  0
//! @param info      shared; null leaves none
//! @return         S_OK; E_INVALIDARG when @p reserved is not 0
KTCOM_EXPORT HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info) noexcept;

//! Takes the calling thread's error information away from it.
//! @param reserved  0
//! @param info      the information, whose reference the caller owns; null when there is none
//! @return         S_OK; S_FALSE when there is none; E_INVALIDARG
KTCOM_EXPORT HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info) noexcept;
