#include "ktstd/ktstd_Transient.h"

#include "ktstd/ktstd_Handle.h"
#include "ktstd/ktstd_MapIntegerHasher.h"
#include "ktstd/ktstd_Type.h"
#include "ktstd/ktstd_fail.h"

#include <cstdint>
#include <new>
#include <ostream>

void Hnd_ktstd_Transient::RaiseNull()
{
    ktstd_fail_NullObject::Raise("use of a null handle");
}

Hnd_ktstd_Type& ktstd_Transient_Type_()
{
    static Hnd_ktstd_Type sType(
        new ktstd_Type("ktstd_Transient", static_cast<long>(sizeof(ktstd_Transient)), 0, nullptr));
    return sType;
}

Hnd_ktstd_Type& ktstd_Transient::TypeOfClass()
{
    return ktstd_Transient_Type_();
}

Hnd_ktstd_Transient ktstd_Transient::This() const
{
    return Hnd_ktstd_Transient(this);
}

void ktstd_Transient::Delete() const
{
    delete this;
}

void ktstd_Transient::Serialize(ktstd_Archive&) {}

short ktstd_Transient::PersistentIdx() const
{
    return 0;
}

const Hnd_ktstd_Type& ktstd_Transient::DynamicType() const
{
    return ktstd_Transient_Type_();
}

unsigned char ktstd_Transient::IsKind(const Hnd_ktstd_Type& aType) const
{
    return aType == ktstd_Transient_Type_() ? 1 : 0;
}

long ktstd_Transient::HashCode(long aUpper) const
{
    const auto address = reinterpret_cast<std::uintptr_t>(this);
    // Objects are 16 bytes apart at least.
    const auto folded = static_cast<std::uint32_t>((address >> 4) ^ (address >> 36));
    return ktstd_MapIntegerHasher::HashCode(static_cast<long>(folded), aUpper);
}

void ktstd_Transient::ShallowDump(std::ostream& aStream) const
{
    aStream << DynamicType()->Name();
}

ktstd_Transient* ktstd_Transient::Entity()
{
    return this;
}

void ktstd_Transient::Initialize() {}

// NOLINTNEXTLINE(misc-new-delete-overloads): its sized counterpart stands below
void* ktstd_Transient::operator new(std::size_t aSize)
{
    return ::operator new(aSize);
}

void ktstd_Transient::operator delete(void* aMemory, std::size_t) noexcept
{
    ::operator delete(aMemory);
}
