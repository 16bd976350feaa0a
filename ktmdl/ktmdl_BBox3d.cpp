#include "ktmdl/ktmdl_BBox3d.h"

#include "ktmdl/ktmdl_Numbers_detail.h"
#include "ktmdl/ktmdl_Range_detail.h"
#include "ktmdl/ktmdl_Record_detail.h"
#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Schema.h"

#include <cmath>
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

//! Sums of a few numbers that are less than this together are rounded by far less than the
//! tolerance.
constexpr double kModest = 1e8;

//! Both ends of one side of a box times a factor.
struct Ends
{
    Ends(double aFactor, double aMin, double aMax) : Ends(aFactor * aMin, aFactor * aMax) {}
    Ends(double aFirst, double aSecond)
        : lower(aFirst < aSecond ? aFirst : aSecond),
          upper(aFirst < aSecond ? aSecond : aFirst)
    {}
    //! Tells whether they are the same number or too far apart for the tolerance.
    [[nodiscard]] bool AreClear() const
    {
        const double length = upper - lower;
        return length > 2.0 * kTolerance || length == 0.0;
    }

    double lower;
    double upper;
};

//! Gives the range on one axis from the outermost corners alone. For numbers that are less than
//! kModest together it is that of all corners if no other corner is both farther in and so near
//! that the tolerance would keep it.
//! @return  false when another corner may count
bool rangeOfOutermost(const double (&aRow)[4], const double (&aMin)[3], const double (&aMax)[3],
                      double& aLower, double& aUpper)
{
    const Ends x(aRow[0], aMin[0], aMax[0]);
    const Ends y(aRow[1], aMin[1], aMax[1]);
    const Ends z(aRow[2], aMin[2], aMax[2]);
    const double move = aRow[3];
    aLower = x.lower + y.lower + z.lower + move;
    aUpper = x.upper + y.upper + z.upper + move;
    // Only with this translation can corners be zeros of different sign.
    const bool mayBeMinusZero = move == 0.0 && std::signbit(move);
    return x.AreClear() && y.AreClear() && z.AreClear() && !mayBeMinusZero;
}

//! Gives the range on one axis, with the corners added in their order.
void rangeOfAll(const double (&aRow)[4], const double (&aMin)[3], const double (&aMax)[3],
                double& aLower, double& aUpper)
{
    const double x[2] = {aRow[0] * aMin[0], aRow[0] * aMax[0]};
    const double y[2] = {aRow[1] * aMin[1], aRow[1] * aMax[1]};
    const double z[2] = {aRow[2] * aMin[2], aRow[2] * aMax[2]};
    // A walk around the bottom, then around the top.
    const double around[4] = {x[0] + y[0], x[1] + y[0], x[1] + y[1], x[0] + y[1]};
    double lower = around[0] + z[0] + aRow[3];
    double upper = lower;
    for (int i = 1; i < 8; ++i) {
        growToPoint(lower, upper, around[i % 4] + z[i / 4] + aRow[3]);
    }
    aLower = lower;
    aUpper = upper;
}

//! Bounds the sum of the sizes of all products and translations in a transformation of a box.
double sizeOfTerms(const double (&aMatrix)[4][4], const double (&aMin)[3], const double (&aMax)[3])
{
    double columns[4];
    for (int c = 0; c < 4; ++c) {
        columns[c] = std::fabs(aMatrix[0][c]) + std::fabs(aMatrix[1][c]) + std::fabs(aMatrix[2][c]);
    }
    double sides[3];
    for (int i = 0; i < 3; ++i) {
        sides[i] = std::fabs(aMin[i]) + std::fabs(aMax[i]);
    }
    return (columns[0] + columns[1] + columns[2] + columns[3]) *
           (sides[0] + sides[1] + sides[2] + 1.0);
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
    const auto& m = aTrsf.mMatrix;
    const double low[3] = {mMin.mX, mMin.mY, mMin.mZ};
    const double high[3] = {mMax.mX, mMax.mY, mMax.mZ};
    double lower[3];
    double upper[3];
    const bool isDone = sizeOfTerms(m, low, high) < kModest &&
                        rangeOfOutermost(m[0], low, high, lower[0], upper[0]) &&
                        rangeOfOutermost(m[1], low, high, lower[1], upper[1]) &&
                        rangeOfOutermost(m[2], low, high, lower[2], upper[2]);
    for (int i = 0; i < 3 && !isDone; ++i) {
        rangeOfAll(m[i], low, high, lower[i], upper[i]);
    }
    mMin.Set(lower[0], lower[1], lower[2]);
    mMax.Set(upper[0], upper[1], upper[2]);
}
