//! @file
//! Root of all reference-counted objects. Objects are held through handles (ktstd_Handle.h);
//! classes that are shared derive from ktstd_TShared.
#pragma once

#include "ktstd/ktstd_Export.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>

class Hnd_ktstd_Transient;
class Hnd_ktstd_Type;
class ktstd_Archive;

//! A reference-counted object with run-time type and persistent state.
//!
//! The object lies in memory as the table of virtual operations followed by a 32-bit count; the
//! order of the virtual operations is part of the binary interface. The count is the number of
//! handles that hold the object; it starts at 0, whichever way the object was made, and assignment
//! leaves it alone. When the last handle goes, the object is deleted. Counting is not atomic:
//! handles and what they share belong to one thread at a time. An object on the stack must not be
//! put into a handle.
class KTSTD_EXPORT ktstd_Transient
{
public:
    ktstd_Transient() noexcept : mRefCount(0) {}
    //! Makes an object that no handle holds yet.
    ktstd_Transient(const ktstd_Transient&) noexcept : mRefCount(0) {}
    //! Leaves the count alone: it belongs to the object's place, not to its value.
    // NOLINTNEXTLINE(cert-oop54-cpp,bugprone-unhandled-self-assignment): there is nothing to copy
    ktstd_Transient& operator=(const ktstd_Transient&) noexcept { return *this; }

    //! Gives a handle to this object, which must have been made with new.
    [[nodiscard]] virtual Hnd_ktstd_Transient This() const;
    //! Destroys the object. Called by the handle that takes the count to 0; nobody else calls it.
    virtual void Delete() const;
    virtual ~ktstd_Transient() = default;
    //! Writes the persistent state to a storing archive, reads it from a loading one.
    //! The root has none.
    virtual void Serialize(ktstd_Archive& aArchive);
    //! Gives the object's number in a persistent store; 0, as the kernel keeps none.
    [[nodiscard]] virtual short PersistentIdx() const;
    //! Gives the descriptor of the object's class.
    [[nodiscard]] virtual const Hnd_ktstd_Type& DynamicType() const;
    //! Tells whether the object's class is the given one or derives from it.
    //! @param aType  a class's descriptor; null is no class
    //! @return      1 or 0
    [[nodiscard]] virtual unsigned char IsKind(const Hnd_ktstd_Type& aType) const;
    //! Gives a hash of the object's identity.
    //! @param aUpper  upper bound of the result
    //! @return       0 to aUpper; -1 when aUpper is negative
    [[nodiscard]] virtual long HashCode(long aUpper) const;
    //! Writes the class name, without end of line.
    virtual void ShallowDump(std::ostream& aStream) const;

protected:
    //! Gives the object that carries the state: this one.
    [[nodiscard]] virtual ktstd_Transient* Entity();

private:
    //! Reserved place in the table of operations; does nothing.
    virtual void Initialize();

public:
    //! Gives the descriptor of this class.
    [[nodiscard]] static Hnd_ktstd_Type& TypeOfClass();
    //! Gives the number of handles that hold the object.
    [[nodiscard]] long RefCount() const noexcept { return mRefCount; }

    // NOLINTNEXTLINE(misc-new-delete-overloads): its sized counterpart stands below
    static void* operator new(std::size_t aSize);
    static void operator delete(void* aMemory, std::size_t aSize) noexcept;
    static void* operator new(std::size_t, void* aPlace) noexcept { return aPlace; }
    static void operator delete(void*, void*) noexcept {}

private:
    friend class Hnd_ktstd_Transient;

    mutable std::int32_t mRefCount; //!< handles that hold the object
};

static_assert(sizeof(ktstd_Transient) == 2 * sizeof(void*),
              "an object is the table pointer and a 32-bit count directly after it");

//! Gives the descriptor of ktstd_Transient.
KTSTD_EXPORT Hnd_ktstd_Type& ktstd_Transient_Type_();
