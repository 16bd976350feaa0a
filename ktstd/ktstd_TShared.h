//! @file
//! Base of the classes whose objects are shared through handles.
#pragma once

#include "ktstd/ktstd_Export.h"
#include "ktstd/ktstd_Handle.h"
#include "ktstd/ktstd_Transient.h"
#include "ktstd/ktstd_Type.h"

class ktstd_TShared;
KTSTD_HANDLE(ktstd_TShared, Hnd_ktstd_Transient)

//! Gives the descriptor of ktstd_TShared.
KTSTD_EXPORT Hnd_ktstd_Type& ktstd_TShared_Type_();

//! A shared object. Adds nothing to the layout of ktstd_Transient.
//!
//! Small objects may come from a pool that belongs to one thread at a time, as handles do.
//! Chains of objects that hold one another are deleted one after the other when they are long, not
//! one inside the other, so that no chain is too long for the stack.
class KTSTD_EXPORT ktstd_TShared : public ktstd_Transient
{
public:
    ktstd_TShared() noexcept = default;
    ktstd_TShared(const ktstd_TShared&) noexcept = default;
    ktstd_TShared& operator=(const ktstd_TShared&) noexcept = default;

    void Delete() const override;
    ~ktstd_TShared() override = default;
    //! Writes and reads nothing: a shared object has no persistent state of its own here.
    void Serialize(ktstd_Archive& aArchive) override;
    KTSTD_DECLARE_TYPE(ktstd_TShared)

    static void* operator new(std::size_t aSize);
    static void operator delete(void* aMemory, std::size_t aSize) noexcept;
    static void* operator new(std::size_t, void* aPlace) noexcept { return aPlace; }
    static void operator delete(void*, void*) noexcept {}
};

static_assert(sizeof(ktstd_TShared) == sizeof(ktstd_Transient), "no fields of its own");
