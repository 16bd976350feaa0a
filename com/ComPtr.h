//! @file
//! `_com_ptr_t` off Windows: the smart pointer to an interface. Include "com/Com.h" instead.
#pragma once

#include "com/ComCodes.h"
#include "com/ComError.h"
#include "com/ComInterfaces.h"
#include "com/ComVariantT.h"

#include <cstddef>
#include <cstdint>

// NOLINTBEGIN(google-explicit-constructor,bugprone-reserved-identifier): names and conversions are
// the platform's.

//! An interface together with its identifier.
template <typename InterfaceType, const IID* Identifier>
class KTCOM_EXPORT _com_IIID
{
public:
    typedef InterfaceType Interface;
    static const IID& GetIID() noexcept { return *Identifier; }
};

//! A pointer to an interface that owns one reference.
//!
//! From a pointer of its own interface it takes a reference; from any other it asks the object for
//! its interface: E_NOINTERFACE (and a null source) leaves it null, any other failure leaves it
//! null and raises `_com_error` with the code. Using it while null (`->`, `*`, AddRef, Release)
//! raises `_com_error(E_POINTER)`. Comparison is by identity: two pointers are equal when they lead
//! to the same object, whatever their interfaces.
template <typename IIIDType>
class KTCOM_EXPORT _com_ptr_t
{
public:
    typedef IIIDType ThisIIID;
    typedef typename IIIDType::Interface Interface;

    static const IID& GetIID() noexcept { return IIIDType::GetIID(); }

    _com_ptr_t() noexcept = default;
    _com_ptr_t(std::nullptr_t) noexcept {}
    //! Only 0 is allowed; other numbers raise `_com_error(E_POINTER)`.
    _com_ptr_t(int null) { requireNull(null); }
    _com_ptr_t(long null) { requireNull(null); }
    _com_ptr_t(Interface* pointer) noexcept : _com_ptr_t(pointer, true) {}
    //! With false takes over the caller's reference.
    _com_ptr_t(Interface* pointer, bool addRef) noexcept : mPointer(pointer)
    {
        if (addRef) {
            addReference();
        }
    }
    _com_ptr_t(const _com_ptr_t& other) noexcept : _com_ptr_t(other.mPointer, true) {}
    template <typename OtherIIID>
    _com_ptr_t(const _com_ptr_t<OtherIIID>& other)
    {
        queryOrRaise(other.GetInterfacePtr());
    }
    template <typename OtherInterface>
    _com_ptr_t(OtherInterface* other)
    {
        queryOrRaise(other);
    }
    //! Takes the object that a value holds; a value that is no object raises its conversion's code.
    _com_ptr_t(const _variant_t& value) { queryVariant(value); }
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the same pointer is not assigned
    _com_ptr_t& operator=(const _com_ptr_t& other) noexcept
    {
        assign(other.mPointer);
        return *this;
    }
    _com_ptr_t& operator=(Interface* pointer) noexcept
    {
        assign(pointer);
        return *this;
    }
    template <typename OtherIIID>
    _com_ptr_t& operator=(const _com_ptr_t<OtherIIID>& other)
    {
        queryOrRaise(other.GetInterfacePtr());
        return *this;
    }
    template <typename OtherInterface>
    _com_ptr_t& operator=(OtherInterface* other)
    {
        queryOrRaise(other);
        return *this;
    }
    _com_ptr_t& operator=(const _variant_t& value)
    {
        queryVariant(value);
        return *this;
    }
    _com_ptr_t& operator=(std::nullptr_t) noexcept
    {
        assign(nullptr);
        return *this;
    }
    _com_ptr_t& operator=(int null)
    {
        requireNull(null);
        assign(nullptr);
        return *this;
    }
    _com_ptr_t& operator=(long null)
    {
        requireNull(null);
        assign(nullptr);
        return *this;
    }
    ~_com_ptr_t() { releaseIfAny(); }

    //! Lets go of the present object and takes over the caller's reference on another.
    void Attach(Interface* pointer) noexcept
    {
        releaseIfAny();
        mPointer = pointer;
    }
    //! As Attach, and with true adds a reference; null then raises `_com_error(E_POINTER)`.
    void Attach(Interface* pointer, bool addRef)
    {
        Attach(pointer);
        if (addRef) {
            AddRef();
        }
    }
    //! Hands the reference to the caller and becomes null.
    Interface* Detach() noexcept
    {
        Interface* const old = mPointer;
        mPointer = nullptr;
        return old;
    }

    operator Interface*() const noexcept { return mPointer; }
    operator Interface&() const { return *checked(); }
    operator bool() const noexcept { return mPointer != nullptr; }
    Interface& operator*() const { return *checked(); }
    Interface* operator->() const { return checked(); }
    //! Lets go of the present object and gives a place for another.
    Interface** operator&() noexcept
    {
        releaseIfAny();
        mPointer = nullptr;
        return &mPointer;
    }
    [[nodiscard]] Interface* GetInterfacePtr() const noexcept { return mPointer; }
    Interface*& GetInterfacePtr() noexcept { return mPointer; }

    template <typename OtherIIID>
    bool operator==(const _com_ptr_t<OtherIIID>& other) const
    {
        return compareIdentity(other.GetInterfacePtr()) == 0;
    }
    template <typename OtherInterface>
    bool operator==(OtherInterface* other) const
    {
        return compareIdentity(other) == 0;
    }
    bool operator==(const _com_ptr_t& other) const { return *this == other.mPointer; }
    bool operator==(Interface* other) const
    {
        return mPointer == other || compareIdentity(other) == 0;
    }
    bool operator==(std::nullptr_t) const noexcept { return mPointer == nullptr; }
    bool operator==(int null) const { return isNull(null); }
    bool operator==(long null) const { return isNull(null); }
    template <typename Other>
    bool operator!=(const Other& other) const
    {
        return !(*this == other);
    }
    bool operator!=(std::nullptr_t) const noexcept { return mPointer != nullptr; }
    bool operator!=(int null) const { return !isNull(null); }
    bool operator!=(long null) const { return !isNull(null); }

    //! The order of identities: the same for all interfaces of an object, null first.
    template <typename OtherIIID>
    bool operator<(const _com_ptr_t<OtherIIID>& other) const
    {
        return compareIdentity(other.GetInterfacePtr()) < 0;
    }
    template <typename OtherIIID>
    bool operator>(const _com_ptr_t<OtherIIID>& other) const
    {
        return compareIdentity(other.GetInterfacePtr()) > 0;
    }
    template <typename OtherIIID>
    bool operator<=(const _com_ptr_t<OtherIIID>& other) const
    {
        return compareIdentity(other.GetInterfacePtr()) <= 0;
    }
    template <typename OtherIIID>
    bool operator>=(const _com_ptr_t<OtherIIID>& other) const
    {
        return compareIdentity(other.GetInterfacePtr()) >= 0;
    }

    //! Lets go of the object and becomes null.
    void Release()
    {
        checked()->Release();
        mPointer = nullptr;
    }
    void AddRef() { checked()->AddRef(); }
    //! Asks the object for an interface; E_POINTER when this pointer is null.
    template <typename OtherInterface>
    HRESULT QueryInterface(const IID& iid, OtherInterface*& pointer) const
    {
        return mPointer == nullptr
                   ? E_POINTER
                   : mPointer->QueryInterface(iid, reinterpret_cast<void**>(&pointer));
    }
    template <typename OtherInterface>
    HRESULT QueryInterface(const IID& iid, OtherInterface** pointer) const
    {
        return QueryInterface(iid, *pointer);
    }

private:
    void assign(Interface* pointer) noexcept
    {
        if (mPointer != pointer) {
            Interface* const old = mPointer;
            mPointer = pointer;
            addReference();
            if (old != nullptr) {
                old->Release();
            }
        }
    }
    void addReference() noexcept
    {
        if (mPointer != nullptr) {
            mPointer->AddRef();
        }
    }
    void releaseIfAny() noexcept
    {
        if (mPointer != nullptr) {
            mPointer->Release();
        }
    }
    [[nodiscard]] Interface* checked() const
    {
        if (mPointer == nullptr) {
            _com_issue_error(E_POINTER);
        }
        return mPointer;
    }
    static void requireNull(long null)
    {
        if (null != 0) {
            _com_issue_error(E_POINTER);
        }
    }
    [[nodiscard]] bool isNull(long null) const
    {
        requireNull(null);
        return mPointer == nullptr;
    }
    template <typename OtherInterface>
    HRESULT query(OtherInterface* other)
    {
        if (other == nullptr) {
            assign(nullptr);
            return E_NOINTERFACE;
        }
        void* found = nullptr;
        const HRESULT hr = other->QueryInterface(GetIID(), &found);
        Attach(SUCCEEDED(hr) ? static_cast<Interface*>(found) : nullptr);
        return hr;
    }
    static void raiseUnlessNoInterface(HRESULT hr)
    {
        if (FAILED(hr) && hr != E_NOINTERFACE) {
            _com_issue_error(hr);
        }
    }
    template <typename OtherInterface>
    void queryOrRaise(OtherInterface* other)
    {
        raiseUnlessNoInterface(query(other));
    }
    void queryVariant(const _variant_t& value)
    {
        if (V_VT(&value) == VT_DISPATCH) {
            queryOrRaise(V_DISPATCH(&value));
            return;
        }
        if (V_VT(&value) == VT_UNKNOWN) {
            queryOrRaise(V_UNKNOWN(&value));
            return;
        }
        _variant_t object;
        const HRESULT hr = VariantChangeType(&object, &value, 0, VT_UNKNOWN);
        if (FAILED(hr)) {
            assign(nullptr);
            raiseUnlessNoInterface(hr);
            return;
        }
        queryOrRaise(V_UNKNOWN(&object));
    }
    template <typename OtherInterface>
    static std::uintptr_t identity(OtherInterface* pointer)
    {
        if (pointer == nullptr) {
            return 0;
        }
        void* found = nullptr;
        const HRESULT hr = pointer->QueryInterface(IID_IUnknown, &found);
        if (FAILED(hr)) {
            _com_issue_error(hr);
        }
        static_cast<IUnknown*>(found)->Release();
        return reinterpret_cast<std::uintptr_t>(found);
    }
    template <typename OtherInterface>
    int compareIdentity(OtherInterface* other) const
    {
        const std::uintptr_t mine = identity(mPointer);
        const std::uintptr_t theirs = identity(other);
        return mine < theirs ? -1 : (mine > theirs ? 1 : 0);
    }

    Interface* mPointer = nullptr;
};

template <typename IIIDType>
bool operator==(std::nullptr_t, const _com_ptr_t<IIIDType>& pointer) noexcept
{
    return pointer == nullptr;
}
template <typename IIIDType>
bool operator!=(std::nullptr_t, const _com_ptr_t<IIIDType>& pointer) noexcept
{
    return pointer != nullptr;
}
template <typename OtherInterface, typename IIIDType>
bool operator==(OtherInterface* other, const _com_ptr_t<IIIDType>& pointer)
{
    return pointer == other;
}
template <typename OtherInterface, typename IIIDType>
bool operator!=(OtherInterface* other, const _com_ptr_t<IIIDType>& pointer)
{
    return pointer != other;
}

//! Names the smart pointer of an interface: `_COM_SMARTPTR_TYPEDEF(IFace, IID_IFace)` makes
//! IFacePtr.
// NOLINTNEXTLINE(readability-identifier-naming): the platform's name
#define _COM_SMARTPTR_TYPEDEF(Interface, iid)                                                      \
    typedef _com_ptr_t<_com_IIID<Interface, &(iid)>> Interface##Ptr

_COM_SMARTPTR_TYPEDEF(IUnknown, IID_IUnknown);
_COM_SMARTPTR_TYPEDEF(IDispatch, IID_IDispatch);
_COM_SMARTPTR_TYPEDEF(IErrorInfo, IID_IErrorInfo);
_COM_SMARTPTR_TYPEDEF(ICreateErrorInfo, IID_ICreateErrorInfo);
_COM_SMARTPTR_TYPEDEF(ISupportErrorInfo, IID_ISupportErrorInfo);
_COM_SMARTPTR_TYPEDEF(IEnumVARIANT, IID_IEnumVARIANT);

// NOLINTEND(google-explicit-constructor,bugprone-reserved-identifier)
