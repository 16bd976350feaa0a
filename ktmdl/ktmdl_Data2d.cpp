#include "ktmdl/ktmdl_Data2d.h"

#include "ktmdl/ktmdl_Record_detail.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Schema.h"

#include <cmath>

namespace {

constexpr char kClassName[] = "ktmdl_Data2d";
const ktstd_SchemaEntry schemaEntry(kClassName);
ktmdl_detail::RecordClass recordClass{kClassName};

} // namespace

ktmdl_Data2d::~ktmdl_Data2d() = default;

void ktmdl_Data2d::Copy(const ktmdl_Data2d& aOther) noexcept
{
    Set(aOther);
}

// NOLINTNEXTLINE(misc-unconventional-assign-operator): as declared
ktmdl_Data2d& ktmdl_Data2d::operator=(const ktmdl_Data2d& aOther) noexcept
{
    Set(aOther);
    return *this;
}

ktmdl_Trsf2d ktmdl_Data2d::Trsf() const
{
    return ktmdl_Trsf2d(*this);
}

void ktmdl_Data2d::Serialize(ktstd_Archive& aArchive)
{
    ktmdl_detail::SerializeRecord(aArchive, recordClass, mX, mY);
}

void ktmdl_Data2d::Set(const ktmdl_Data2d& aOther) noexcept
{
    Set(aOther.mX, aOther.mY);
}

void ktmdl_Data2d::Set(double aX, double aY) noexcept
{
    mX = aX;
    mY = aY;
}

unsigned char ktmdl_Data2d::IsSamePair(const ktmdl_Data2d& aOther, double aTolerance) const noexcept
{
    return std::fabs(mX - aOther.mX) <= aTolerance && std::fabs(mY - aOther.mY) <= aTolerance ? 1
                                                                                              : 0;
}
