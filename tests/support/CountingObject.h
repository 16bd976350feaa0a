//! @file
//! A COM object for tests of the COM layer: it counts what is done to it and can be told what to
//! answer. It lives on the test's stack; a test that holds it to the end checks liveReferences().
#pragma once

#include "com/Com.h"

//! An interface that only CountingObject knows.
struct IProbe : public IUnknown
{
    virtual LONG STDMETHODCALLTYPE Probe() = 0;

protected:
    ~IProbe() = default;
};

inline constexpr IID IID_IProbe = {
    0x5F6A1C20, 0x8E0B, 0x4D39, {0x9A, 0x11, 0x70, 0x2C, 0x55, 0xD4, 0x0E, 0x61}};
typedef _com_ptr_t<_com_IIID<IProbe, &IID_IProbe>> IProbePtr;

//! Answers IUnknown, IDispatch and IProbe. Its identity is the IDispatch part, so that an IProbe
//! pointer never equals the identity by accident.
class CountingObject final : public IDispatch, public IProbe
{
public:
    CountingObject() = default;
    CountingObject(const CountingObject&) = delete;
    CountingObject& operator=(const CountingObject&) = delete;
    virtual ~CountingObject() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override
    {
        ++queries;
        *object = nullptr;
        if (IsEqualIID(riid, refusedIid)) {
            return refusal;
        }
        if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IDispatch)) {
            *object = static_cast<IDispatch*>(this);
        } else if (IsEqualIID(riid, IID_IProbe)) {
            *object = static_cast<IProbe*>(this);
        } else {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++addRefs - releases); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(addRefs - ++releases); }

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override
    {
        *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override
    {
        return DISP_E_UNKNOWNNAME;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params,
                                     VARIANT* result, EXCEPINFO*, UINT*) override
    {
        if (id != DISPID_VALUE || (flags & DISPATCH_PROPERTYGET) == 0 || params->cArgs != 0) {
            return DISP_E_MEMBERNOTFOUND;
        }
        return V_VT(&defaultValue) == VT_EMPTY ? DISP_E_MEMBERNOTFOUND
                                               : VariantCopy(result, &defaultValue);
    }
    LONG STDMETHODCALLTYPE Probe() override { return 17; }

    //! Gives the references that somebody still holds; 0 when all were given back.
    [[nodiscard]] int liveReferences() const { return addRefs - releases; }
    void resetCounts()
    {
        addRefs = 0;
        releases = 0;
        queries = 0;
    }

    IID refusedIid = IID_NULL;
    HRESULT refusal = E_NOINTERFACE;
    _variant_t defaultValue;
    int addRefs = 0;
    int releases = 0;
    int queries = 0;
};

//! Runs a piece of code that must raise a `_com_error`.
//! @return the error's code, or S_FALSE when nothing was raised
template <typename Operation>
HRESULT raisedCode(Operation operation)
{
    try {
        operation();
    } catch (const _com_error& error) {
        return error.Error();
    }
    return S_FALSE;
}
