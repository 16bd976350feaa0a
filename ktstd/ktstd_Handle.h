//! @file
//! Handles: counted pointers to kernel objects. KTSTD_HANDLE declares a typed handle in one line.
#pragma once

#include "ktstd/ktstd_Export.h"
#include "ktstd/ktstd_Transient.h"

#include <cstdint>
#include <type_traits>
#include <utility>

//! A counted pointer to any kernel object; base of all typed handles.
//!
//! - One pointer in size. The null handle holds the address 0xFFFFFFFFFEFD0000, never 0; a null
//!   pointer put into a handle becomes that.
//! - Every handle that is not null owns one count on its object; the last one deletes it.
//! - Assigning the object already held changes nothing. Assigning from a handle that dies with the
//!   old object is safe.
//! - Using a null handle (-> or *) raises ktstd_fail_NullObject.
//! - Equality is identity of the object. A moved-from handle is null.
class KTSTD_VISIBLE Hnd_ktstd_Transient
{
public:
    using ObjectType = ktstd_Transient;

    Hnd_ktstd_Transient() noexcept : mObject(NullAddress()) {}
    //! Holds an object, or nothing when the pointer is null.
    // NOLINTNEXTLINE(google-explicit-constructor): a handle stands wherever its object may
    Hnd_ktstd_Transient(const ktstd_Transient* aObject) noexcept : mObject(Normalised(aObject))
    {
        Retain();
    }
    Hnd_ktstd_Transient(const Hnd_ktstd_Transient& aOther) noexcept : mObject(aOther.mObject)
    {
        Retain();
    }
    Hnd_ktstd_Transient(Hnd_ktstd_Transient&& aOther) noexcept
        : mObject(std::exchange(aOther.mObject, NullAddress()))
    {}
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): Assign compares first
    Hnd_ktstd_Transient& operator=(const Hnd_ktstd_Transient& aOther) noexcept
    {
        Assign(aOther.mObject);
        return *this;
    }
    Hnd_ktstd_Transient& operator=(Hnd_ktstd_Transient&& aOther) noexcept
    {
        Hnd_ktstd_Transient old(std::move(aOther));
        std::swap(mObject, old.mObject);
        return *this;
    }
    Hnd_ktstd_Transient& operator=(const ktstd_Transient* aObject) noexcept
    {
        Assign(Normalised(aObject));
        return *this;
    }
    ~Hnd_ktstd_Transient() { Nullify(); }

    //! Lets go of the object.
    void Nullify() noexcept { Release(std::exchange(mObject, NullAddress())); }
    //! Gives 1 when the handle holds no object, else 0.
    [[nodiscard]] unsigned char IsNull() const noexcept { return mObject == NullAddress() ? 1 : 0; }

    //! @throws ktstd_fail_NullObject  the handle is null
    ktstd_Transient* operator->() const { return Access(); }
    //! @throws ktstd_fail_NullObject  the handle is null
    ktstd_Transient& operator*() const { return *Access(); }

    friend bool operator==(const Hnd_ktstd_Transient& aFirst,
                           const Hnd_ktstd_Transient& aSecond) noexcept
    {
        return aFirst.mObject == aSecond.mObject;
    }
    friend bool operator!=(const Hnd_ktstd_Transient& aFirst,
                           const Hnd_ktstd_Transient& aSecond) noexcept
    {
        return !(aFirst == aSecond);
    }
    //! A null handle equals a null pointer.
    friend bool operator==(const Hnd_ktstd_Transient& aFirst,
                           const ktstd_Transient* aSecond) noexcept
    {
        return aFirst.mObject == Normalised(aSecond);
    }
    friend bool operator!=(const Hnd_ktstd_Transient& aFirst,
                           const ktstd_Transient* aSecond) noexcept
    {
        return !(aFirst == aSecond);
    }
    friend bool operator==(const ktstd_Transient* aFirst,
                           const Hnd_ktstd_Transient& aSecond) noexcept
    {
        return aSecond == aFirst;
    }
    friend bool operator!=(const ktstd_Transient* aFirst,
                           const Hnd_ktstd_Transient& aSecond) noexcept
    {
        return !(aSecond == aFirst);
    }

protected:
    //! Gives the raw address, the null handle's too.
    [[nodiscard]] ktstd_Transient* ControlAccess() const noexcept { return mObject; }
    //! Gives the object.
    //! @throws ktstd_fail_NullObject  the handle is null
    [[nodiscard]] ktstd_Transient* Access() const
    {
        if (mObject == NullAddress()) {
            RaiseNull();
        }
        return mObject;
    }

private:
    static ktstd_Transient* NullAddress() noexcept
    {
        // The 32-bit value 0xFEFD0000 with its sign extended.
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the null handle's address is fixed
        return reinterpret_cast<ktstd_Transient*>(static_cast<std::intptr_t>(-0x01030000));
    }
    static ktstd_Transient* Normalised(const ktstd_Transient* aObject) noexcept
    {
        return aObject != nullptr ? const_cast<ktstd_Transient*>(aObject) : NullAddress();
    }
    void Retain() const noexcept
    {
        if (mObject != NullAddress()) {
            ++mObject->mRefCount;
        }
    }
    static void Release(const ktstd_Transient* aObject) noexcept
    {
        if (aObject != NullAddress() && --aObject->mRefCount == 0) {
            aObject->Delete();
        }
    }
    //! Takes the new object before the old one can go, and lets nobody see the old one die here.
    void Assign(ktstd_Transient* aObject) noexcept
    {
        if (aObject != mObject) {
            ktstd_Transient* const old = std::exchange(mObject, aObject);
            Retain();
            Release(old);
        }
    }
    [[noreturn]] KTSTD_EXPORT static void RaiseNull();

    ktstd_Transient* mObject; //!< counted, or the null handle's address
};

static_assert(sizeof(void*) == 8, "the null handle's address is a 64-bit value");
static_assert(sizeof(Hnd_ktstd_Transient) == sizeof(void*), "a handle is one pointer");

//! Typed part of a handle; use KTSTD_HANDLE. The object's class may be incomplete until a member is
//! used. Shares the laws of Hnd_ktstd_Transient.
template <class Handle, class Object, class ParentHandle>
class KTSTD_VISIBLE ktstd_HandleOf : public ParentHandle
{
public:
    using ObjectType = Object;

    ktstd_HandleOf() noexcept = default;
    //! Holds an object, or nothing when the pointer is null.
    // NOLINTNEXTLINE(google-explicit-constructor): a handle stands wherever its object may
    ktstd_HandleOf(const Object* aObject) noexcept : ParentHandle(aObject) {}
    // NOLINTNEXTLINE(misc-unconventional-assign-operator): gives the handle class itself
    Handle& operator=(const Object* aObject) noexcept
    {
        ParentHandle::operator=(aObject);
        return static_cast<Handle&>(*this);
    }

    //! @throws ktstd_fail_NullObject  the handle is null
    Object* operator->() const { return static_cast<Object*>(this->Access()); }
    //! @throws ktstd_fail_NullObject  the handle is null
    Object& operator*() const { return static_cast<Object&>(*this->Access()); }

    //! Gives a handle to the source's object when that is of this class or derives from it.
    //! @return  a null handle when the source is null or holds another class's object
    [[nodiscard]] static Handle DownCast(const Hnd_ktstd_Transient& aSource)
    {
        if (aSource.IsNull() != 0) {
            return Handle();
        }
        // Kept here, so that casting doesn't call into the library of the class for it.
        static const Hnd_ktstd_Type& sType = Object::TypeOfClass();
        const ktstd_Transient& object = *aSource;
        return object.IsKind(sType) != 0 ? Handle(static_cast<const Object*>(&object)) : Handle();
    }
};

//! Declares Hnd_CLASS, the handle to objects of CLASS, which needs no more than a declaration
//! before. PARENT_HANDLE is the handle class of the parent class:
//! KTSTD_HANDLE(ktmdl_Topo, Hnd_ktstd_TShared);
#define KTSTD_HANDLE(CLASS, PARENT_HANDLE)                                                         \
    class KTSTD_VISIBLE Hnd_##CLASS : public ktstd_HandleOf<Hnd_##CLASS, CLASS, PARENT_HANDLE>     \
    {                                                                                              \
    public:                                                                                        \
        using ktstd_HandleOf<Hnd_##CLASS, CLASS, PARENT_HANDLE>::ktstd_HandleOf;                   \
        using ktstd_HandleOf<Hnd_##CLASS, CLASS, PARENT_HANDLE>::operator=;                        \
    };
