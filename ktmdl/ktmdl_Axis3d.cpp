#include "ktmdl/ktmdl_Axis3d.h"

#include "ktmdl/ktmdl_Record_detail.h"
#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Schema.h"

#include <cmath>

namespace {

constexpr char kClassName[] = "ktmdl_Axis3d";
const ktstd_SchemaEntry schemaEntry(kClassName);
ktmdl_detail::RecordClass recordClass{kClassName};

// Makes the constants when the library is loaded.
[[maybe_unused]] const ktmdl_Axis3d& xAtLoad = ktmdl_Axis3d::AX();
[[maybe_unused]] const ktmdl_Axis3d& yAtLoad = ktmdl_Axis3d::AY();
[[maybe_unused]] const ktmdl_Axis3d& zAtLoad = ktmdl_Axis3d::AZ();

} // namespace

ktmdl_Axis3d::ktmdl_Axis3d() noexcept : mDir(0.0, 0.0, 1.0) {}

ktmdl_Axis3d::ktmdl_Axis3d(const ktmdl_Pnt3d& aLocation, const ktmdl_Vec3d& aDirection)
    : ktmdl_Pnt3d(aLocation),
      mDir(aDirection)
{
    mDir.Normalize();
}

const ktmdl_Axis3d& ktmdl_Axis3d::AX() noexcept
{
    static const ktmdl_Axis3d sX(ktmdl_Pnt3d::Origin(), ktmdl_Vec3d::VX());
    return sX;
}

const ktmdl_Axis3d& ktmdl_Axis3d::AY() noexcept
{
    static const ktmdl_Axis3d sY(ktmdl_Pnt3d::Origin(), ktmdl_Vec3d::VY());
    return sY;
}

const ktmdl_Axis3d& ktmdl_Axis3d::AZ() noexcept
{
    static const ktmdl_Axis3d sZ(ktmdl_Pnt3d::Origin(), ktmdl_Vec3d::VZ());
    return sZ;
}

double ktmdl_Axis3d::Angle(const ktmdl_Vec3d& aVector) const
{
    ktmdl_Vec3d first(mDir);
    first.Normalize();
    ktmdl_Vec3d second(aVector);
    second.Normalize();
    const double cosine = first.Dot(second);
    // On purpose: no rounding to pi/2 here, and the cosine is not clamped.
    // Pinned by AngleNearHalfPiIsNotSnapped.
    return std::fabs(cosine - 1.0) < 1e-6 ? 0.0 : std::acos(cosine);
}

unsigned char ktmdl_Axis3d::IsEqual(const ktmdl_Axis3d& aOther, double aTolerance) const noexcept
{
    return ktmdl_Pnt3d::IsEqual(aOther, aTolerance) != 0 &&
                   mDir.IsEqual(aOther.mDir, aTolerance) != 0
               ? 1
               : 0;
}

unsigned char ktmdl_Axis3d::IsParallel(const ktmdl_Vec3d& aVector, double aTolerance) const
{
    return mDir.IsParallel(aVector, aTolerance);
}

unsigned char ktmdl_Axis3d::IsNormal(const ktmdl_Vec3d& aVector, double aTolerance) const
{
    return mDir.IsNormal(aVector, aTolerance);
}

void ktmdl_Axis3d::Copy(const ktmdl_Axis3d& aOther) noexcept
{
    *this = aOther;
}

void ktmdl_Axis3d::Rotate(const ktmdl_Axis3d& aAxis, double aAngle)
{
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be this axis that changes
    const ktmdl_Axis3d axis(aAxis);
    ktmdl_Pnt3d::Rotate(axis, aAngle);
    // On purpose: turned as a point and not normalised, so its length may change.
    // Pinned by RotateTurnsTheDirectionAsAPoint.
    mDir.Rotate(axis, aAngle);
}

void ktmdl_Axis3d::Transform(const ktmdl_Trsf3d& aTrsf)
{
    ktmdl_Pnt3d::Transform(aTrsf);
    mDir.Transform(aTrsf);
    mDir.Normalize();
}

ktmdl_Trsf3d ktmdl_Axis3d::Trsf() const
{
    return ktmdl_Trsf3d(mX, mY, mZ);
}

void ktmdl_Axis3d::Serialize(ktstd_Archive& aArchive)
{
    ktmdl_Data3d::Serialize(aArchive);
    ktmdl_detail::BeginRecord(aArchive, recordClass);
    mDir.Serialize(aArchive);
    ktmdl_detail::EndRecord(aArchive, recordClass);
}
