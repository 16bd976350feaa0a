#include "ktmdl/ktmdl_CrdSys3d.h"

#include "ktmdl/ktmdl_Record_detail.h"
#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Schema.h"

namespace {

constexpr char kClassName[] = "ktmdl_CrdSys3d";
const ktstd_SchemaEntry schemaEntry(kClassName);
ktmdl_detail::RecordClass recordClass{kClassName};

// Makes the constants when the library is loaded.
[[maybe_unused]] const ktmdl_CrdSys3d& xoyAtLoad = ktmdl_CrdSys3d::XOY();
[[maybe_unused]] const ktmdl_CrdSys3d& yozAtLoad = ktmdl_CrdSys3d::YOZ();
[[maybe_unused]] const ktmdl_CrdSys3d& zoxAtLoad = ktmdl_CrdSys3d::ZOX();

} // namespace

ktmdl_CrdSys3d::ktmdl_CrdSys3d() noexcept : mDirX(1.0, 0.0, 0.0) {}

ktmdl_CrdSys3d::ktmdl_CrdSys3d(const ktmdl_Axis3d& aAxis, const ktmdl_Vec3d& aDirectionX)
    : ktmdl_Axis3d(aAxis),
      mDirX(aDirectionX)
{
    mDirX.Normalize();
}

const ktmdl_CrdSys3d& ktmdl_CrdSys3d::XOY() noexcept
{
    static const ktmdl_CrdSys3d sXOY(ktmdl_Axis3d::AZ(), ktmdl_Vec3d::VX());
    return sXOY;
}

const ktmdl_CrdSys3d& ktmdl_CrdSys3d::YOZ() noexcept
{
    static const ktmdl_CrdSys3d sYOZ(ktmdl_Axis3d::AX(), ktmdl_Vec3d::VY());
    return sYOZ;
}

const ktmdl_CrdSys3d& ktmdl_CrdSys3d::ZOX() noexcept
{
    static const ktmdl_CrdSys3d sZOX(ktmdl_Axis3d::AY(), ktmdl_Vec3d::VZ());
    return sZOX;
}

unsigned char ktmdl_CrdSys3d::IsEqual(const ktmdl_CrdSys3d& aOther,
                                      double aTolerance) const noexcept
{
    return ktmdl_Axis3d::IsEqual(aOther, aTolerance) != 0 &&
                   mDirX.IsEqual(aOther.mDirX, aTolerance) != 0
               ? 1
               : 0;
}

void ktmdl_CrdSys3d::Copy(const ktmdl_CrdSys3d& aOther) noexcept
{
    *this = aOther;
}

void ktmdl_CrdSys3d::Rotate(const ktmdl_Axis3d& aAxis, double aAngle)
{
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be this axis that changes
    const ktmdl_Axis3d axis(aAxis);
    ktmdl_Axis3d::Rotate(axis, aAngle);
    mDirX.Rotate(axis, aAngle);
}

void ktmdl_CrdSys3d::Transform(const ktmdl_Trsf3d& aTrsf)
{
    ktmdl_Axis3d::Transform(aTrsf);
    // On purpose: X is not normalised, only Z is. Pinned by TransformNormalisesZButNotX.
    mDirX.Transform(aTrsf);
}

ktmdl_Trsf3d ktmdl_CrdSys3d::Trsf() const
{
    return ktmdl_Trsf3d(*this);
}

void ktmdl_CrdSys3d::Serialize(ktstd_Archive& aArchive)
{
    ktmdl_Axis3d::Serialize(aArchive);
    ktmdl_detail::BeginRecord(aArchive, recordClass);
    mDirX.Serialize(aArchive);
    ktmdl_detail::EndRecord(aArchive, recordClass);
}
