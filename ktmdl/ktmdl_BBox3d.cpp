#include "ktmdl/ktmdl_BBox3d.h"

#include "ktmdl/ktmdl_Numbers_detail.h"
#include "ktmdl/ktmdl_Range_detail.h"
#include "ktmdl/ktmdl_Record_detail.h"
#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Schema.h"

#include <utility>

using ktmdl_detail::kTolerance;

namespace {

constexpr char kClassName[] = "ktmdl_BBox3d";
const ktstd_SchemaEntry schemaEntry(kClassName);
ktmdl_detail::RecordClass recordClass{kClassName};

//! Puts two coordinates in order.
void order(double& aLower, double& aUpper)
{
    if (aLower > aUpper) {
        std::swap(aLower, aUpper);
    }
}

//! Grows one direction to a coordinate.
void growToPoint(double& aLower, double& aUpper, double aCoordinate)
{
    if (aLower > aCoordinate + kTolerance) {
        aLower = aCoordinate;
    }
    if (aCoordinate - kTolerance > aUpper) {
        aUpper = aCoordinate;
    }
}

bool overlaps(double aLower, double aUpper, double aOtherLower, double aOtherUpper)
{
    return aOtherUpper - kTolerance >= aLower && aUpper >= aOtherLower + kTolerance;
}

bool isWithin(double aLower, double aUpper, double aCoordinate)
{
    return aCoordinate + kTolerance >= aLower && aUpper >= aCoordinate - kTolerance;
}

bool isWellWithin(double aLower, double aUpper, double aCoordinate)
{
    return aCoordinate - kTolerance >= aLower && aUpper >= aCoordinate + kTolerance;
}

} // namespace

ktmdl_BBox3d::ktmdl_BBox3d(const ktmdl_Pnt3d& aMin, const ktmdl_Pnt3d& aMax) noexcept
    : mMin(aMin),
      mMax(aMax)
{}

ktmdl_BBox3d::ktmdl_BBox3d(double aXMin, double aYMin, double aZMin, double aXMax, double aYMax,
                           double aZMax) noexcept
    : mMin(aXMin, aYMin, aZMin),
      mMax(aXMax, aYMax, aZMax)
{}

ktmdl_BBox3d::~ktmdl_BBox3d() = default;

void ktmdl_BBox3d::Serialize(ktstd_Archive& aArchive)
{
    ktmdl_detail::BeginRecord(aArchive, recordClass);
    mMin.Serialize(aArchive);
    mMax.Serialize(aArchive);
    ktmdl_detail::EndRecord(aArchive, recordClass);
}

void ktmdl_BBox3d::Get(double& aXMin, double& aYMin, double& aZMin, double& aXMax, double& aYMax,
                       double& aZMax) const noexcept
{
    aXMin = mMin.mX;
    aYMin = mMin.mY;
    aZMin = mMin.mZ;
    aXMax = mMax.mX;
    aYMax = mMax.mY;
    aZMax = mMax.mZ;
}

void ktmdl_BBox3d::GetCenterSize(double& aXCenter, double& aYCenter, double& aZCenter,
                                 double& aXSize, double& aYSize, double& aZSize) const noexcept
{
    aXCenter = (mMin.mX + mMax.mX) / 2.0;
    aYCenter = (mMin.mY + mMax.mY) / 2.0;
    aZCenter = (mMin.mZ + mMax.mZ) / 2.0;
    aXSize = mMax.mX - mMin.mX;
    aYSize = mMax.mY - mMin.mY;
    aZSize = mMax.mZ - mMin.mZ;
}

unsigned char ktmdl_BBox3d::IsEqual(const ktmdl_BBox3d& aOther) const noexcept
{
    return mMin.IsEqual(aOther.mMin, kTolerance) != 0 && mMax.IsEqual(aOther.mMax, kTolerance) != 0
               ? 1
               : 0;
}

unsigned char ktmdl_BBox3d::HasOverlap(const ktmdl_BBox3d& aOther) const noexcept
{
    return overlaps(mMin.mX, mMax.mX, aOther.mMin.mX, aOther.mMax.mX) &&
                   overlaps(mMin.mY, mMax.mY, aOther.mMin.mY, aOther.mMax.mY) &&
                   overlaps(mMin.mZ, mMax.mZ, aOther.mMin.mZ, aOther.mMax.mZ)
               ? 1
               : 0;
}

unsigned char ktmdl_BBox3d::IsInside(const ktmdl_Pnt3d& aPoint) const noexcept
{
    // On purpose: in z only what is at least the tolerance above the top counts.
    // Pinned by InsideOnZIsAMillionthAboveTheTop.
    return isWithin(mMin.mX, mMax.mX, aPoint.mX) && isWithin(mMin.mY, mMax.mY, aPoint.mY) &&
                   aPoint.mZ + kTolerance >= mMin.mZ && aPoint.mZ - kTolerance >= mMax.mZ
               ? 1
               : 0;
}

unsigned char ktmdl_BBox3d::IsReallyInside(const ktmdl_Pnt3d& aPoint) const noexcept
{
    // On purpose: in z what is from the tolerance below the top upwards counts.
    // Pinned by ReallyInsideOnZIsFromAMillionthBelowTheTopUpwards.
    return isWellWithin(mMin.mX, mMax.mX, aPoint.mX) && isWellWithin(mMin.mY, mMax.mY, aPoint.mY) &&
                   aPoint.mZ - kTolerance >= mMin.mZ && aPoint.mZ + kTolerance >= mMax.mZ
               ? 1
               : 0;
}

unsigned char ktmdl_BBox3d::IsOutside(const ktmdl_Pnt3d& aPoint) const noexcept
{
    return ktmdl_detail::IsBeyond(mMin.mX, mMax.mX, aPoint.mX, kTolerance) ||
                   ktmdl_detail::IsBeyond(mMin.mY, mMax.mY, aPoint.mY, kTolerance) ||
                   ktmdl_detail::IsBeyond(mMin.mZ, mMax.mZ, aPoint.mZ, kTolerance)
               ? 1
               : 0;
}

void ktmdl_BBox3d::SetCenterSize(const ktmdl_Pnt3d& aCenter, double aXSize, double aYSize,
                                 double aZSize) noexcept
{
    SetCenterSize(aCenter.mX, aCenter.mY, aCenter.mZ, aXSize, aYSize, aZSize);
}

void ktmdl_BBox3d::SetCenterSize(double aXCenter, double aYCenter, double aZCenter, double aXSize,
                                 double aYSize, double aZSize) noexcept
{
    mMin.Set(aXCenter - aXSize / 2.0, aYCenter - aYSize / 2.0, aZCenter - aZSize / 2.0);
    mMax.Set(aXCenter + aXSize / 2.0, aYCenter + aYSize / 2.0, aZCenter + aZSize / 2.0);
}

void ktmdl_BBox3d::Add(const ktmdl_BBox3d& aOther) noexcept
{
    ktmdl_detail::GrowToRange(mMin.mX, mMax.mX, aOther.mMin.mX, aOther.mMax.mX);
    ktmdl_detail::GrowToRange(mMin.mY, mMax.mY, aOther.mMin.mY, aOther.mMax.mY);
    ktmdl_detail::GrowToRange(mMin.mZ, mMax.mZ, aOther.mMin.mZ, aOther.mMax.mZ);
}

void ktmdl_BBox3d::Add(const ktmdl_Pnt3d& aPoint) noexcept
{
    growToPoint(mMin.mX, mMax.mX, aPoint.mX);
    growToPoint(mMin.mY, mMax.mY, aPoint.mY);
    growToPoint(mMin.mZ, mMax.mZ, aPoint.mZ);
}

void ktmdl_BBox3d::Transform(const ktmdl_Trsf3d& aTrsf)
{
    if (aTrsf.HasRotation() == 0) {
        mMin.Transform(aTrsf);
        mMax.Transform(aTrsf);
        order(mMin.mX, mMax.mX);
        order(mMin.mY, mMax.mY);
        order(mMin.mZ, mMax.mZ);
        return;
    }
    ktmdl_Pnt3d corners[8] = {
        ktmdl_Pnt3d(mMin.mX, mMin.mY, mMin.mZ), ktmdl_Pnt3d(mMax.mX, mMin.mY, mMin.mZ),
        ktmdl_Pnt3d(mMax.mX, mMax.mY, mMin.mZ), ktmdl_Pnt3d(mMin.mX, mMax.mY, mMin.mZ),
        ktmdl_Pnt3d(mMin.mX, mMin.mY, mMax.mZ), ktmdl_Pnt3d(mMax.mX, mMin.mY, mMax.mZ),
        ktmdl_Pnt3d(mMax.mX, mMax.mY, mMax.mZ), ktmdl_Pnt3d(mMin.mX, mMax.mY, mMax.mZ)};
    corners[0].Transform(aTrsf);
    ktmdl_BBox3d box(corners[0], corners[0]);
    for (int i = 1; i < 8; ++i) {
        corners[i].Transform(aTrsf);
        box.Add(corners[i]);
    }
    *this = box;
}
