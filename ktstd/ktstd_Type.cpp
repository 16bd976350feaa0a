#include "ktstd/ktstd_Type.h"

namespace {

const Hnd_ktstd_Type* noAncestors() noexcept
{
    static const Hnd_ktstd_Type sEnd;
    return &sEnd;
}

} // namespace

ktstd_TypeAncestors::ktstd_TypeAncestors(const Hnd_ktstd_Type& aParent)
{
    mAncestors.push_back(aParent);
    for (const Hnd_ktstd_Type* next = aParent->Ancestors(); next->IsNull() == 0; ++next) {
        mAncestors.push_back(*next);
    }
    mAncestors.emplace_back();
}

Hnd_ktstd_Type& ktstd_Type_Type_()
{
    static ktstd_TypeAncestors sAncestors(ktstd_Transient_Type_());
    static Hnd_ktstd_Type sType(
        new ktstd_Type("ktstd_Type", static_cast<long>(sizeof(ktstd_Type)), 1, sAncestors.Array()));
    return sType;
}

ktstd_Type::ktstd_Type(const char* aName, long aSize, long aNbParents, void* aAncestors)
    : mName(aName != nullptr ? aName : ""),
      mSize(aSize),
      mNbParents(aNbParents),
      mAncestors(aAncestors != nullptr ? static_cast<const Hnd_ktstd_Type*>(aAncestors)
                                       : noAncestors())
{}

ktstd_Type::~ktstd_Type() = default;

const Hnd_ktstd_Type& ktstd_Type::DynamicType() const
{
    return ktstd_Type_Type_();
}

unsigned char ktstd_Type::IsKind(const Hnd_ktstd_Type& aType) const
{
    return aType == ktstd_Type_Type_() ? static_cast<unsigned char>(1)
                                       : ktstd_Transient::IsKind(aType);
}

Hnd_ktstd_Type& ktstd_Type::TypeOfClass()
{
    return ktstd_Type_Type_();
}

unsigned char ktstd_Type::IsSubType(const Hnd_ktstd_Type& aType) const noexcept
{
    if (aType == this) {
        return 1;
    }
    for (const Hnd_ktstd_Type* next = mAncestors; next->IsNull() == 0; ++next) {
        if (*next == aType) {
            return 1;
        }
    }
    return 0;
}
