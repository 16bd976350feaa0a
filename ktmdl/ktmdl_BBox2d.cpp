#include "ktmdl/ktmdl_BBox2d.h"

#include "ktmdl/ktmdl_Numbers_detail.h"
#include "ktmdl/ktmdl_Range_detail.h"
#include "ktmdl/ktmdl_Record_detail.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Schema.h"

using ktmdl_detail::kTolerance;

namespace {

constexpr char kClassName[] = "ktmdl_BBox2d";
const ktstd_SchemaEntry schemaEntry(kClassName);
ktmdl_detail::RecordClass recordClass{kClassName};

bool overlaps(double aLower, double aUpper, double aOtherLower, double aOtherUpper)
{
    return aOtherUpper > aLower + kTolerance && aUpper - kTolerance > aOtherLower;
}

bool isWellWithin(double aLower, double aUpper, double aCoordinate)
{
    return aCoordinate - kTolerance > aLower && aUpper > aCoordinate + kTolerance;
}

} // namespace

ktmdl_BBox2d::ktmdl_BBox2d(const ktmdl_Pnt2d& aMin, const ktmdl_Pnt2d& aMax) noexcept
    : mMin(aMin),
      mMax(aMax)
{}

ktmdl_BBox2d::ktmdl_BBox2d(double aXMin, double aYMin, double aXMax, double aYMax) noexcept
    : mMin(aXMin, aYMin),
      mMax(aXMax, aYMax)
{}

ktmdl_BBox2d::~ktmdl_BBox2d() = default;

void ktmdl_BBox2d::Serialize(ktstd_Archive& aArchive)
{
    ktmdl_detail::BeginRecord(aArchive, recordClass);
    mMin.Serialize(aArchive);
    mMax.Serialize(aArchive);
    ktmdl_detail::EndRecord(aArchive, recordClass);
}

void ktmdl_BBox2d::Get(double& aXMin, double& aYMin, double& aXMax, double& aYMax) const noexcept
{
    aXMin = mMin.mX;
    aYMin = mMin.mY;
    aXMax = mMax.mX;
    aYMax = mMax.mY;
}

void ktmdl_BBox2d::GetCenterSize(double& aXCenter, double& aYCenter, double& aWidth,
                                 double& aHeight) const noexcept
{
    aXCenter = (mMin.mX + mMax.mX) / 2.0;
    aYCenter = (mMin.mY + mMax.mY) / 2.0;
    aWidth = mMax.mX - mMin.mX;
    aHeight = mMax.mY - mMin.mY;
}

unsigned char ktmdl_BBox2d::HasOverlap(const ktmdl_BBox2d& aOther) const noexcept
{
    return overlaps(mMin.mX, mMax.mX, aOther.mMin.mX, aOther.mMax.mX) &&
                   overlaps(mMin.mY, mMax.mY, aOther.mMin.mY, aOther.mMax.mY)
               ? 1
               : 0;
}

unsigned char ktmdl_BBox2d::IsInside(const ktmdl_Pnt2d& aPoint) const noexcept
{
    return isWellWithin(mMin.mX, mMax.mX, aPoint.mX) && isWellWithin(mMin.mY, mMax.mY, aPoint.mY)
               ? 1
               : 0;
}

unsigned char ktmdl_BBox2d::IsOutside(const ktmdl_Pnt2d& aPoint) const noexcept
{
    return ktmdl_detail::IsBeyond(mMin.mX, mMax.mX, aPoint.mX, kTolerance) ||
                   ktmdl_detail::IsBeyond(mMin.mY, mMax.mY, aPoint.mY, kTolerance)
               ? 1
               : 0;
}

void ktmdl_BBox2d::SetCenterSize(const ktmdl_Pnt2d& aCenter, double aWidth, double aHeight) noexcept
{
    SetCenterSize(aCenter.mX, aCenter.mY, aWidth, aHeight);
}

void ktmdl_BBox2d::SetCenterSize(double aXCenter, double aYCenter, double aWidth,
                                 double aHeight) noexcept
{
    mMin.Set(aXCenter - aWidth / 2.0, aYCenter - aHeight / 2.0);
    mMax.Set(aXCenter + aWidth / 2.0, aYCenter + aHeight / 2.0);
}

void ktmdl_BBox2d::Add(const ktmdl_BBox2d& aOther) noexcept
{
    ktmdl_detail::GrowToRange(mMin.mX, mMax.mX, aOther.mMin.mX, aOther.mMax.mX);
    ktmdl_detail::GrowToRange(mMin.mY, mMax.mY, aOther.mMin.mY, aOther.mMax.mY);
}
