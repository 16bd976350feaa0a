#include "ktmdl/ktmdl_Vec3d.h"

#include "ktmdl/ktmdl_Numbers_detail.h"
#include "ktmdl/ktmdl_Pnt3d.h"
#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktstd/ktstd_fail.h"

#include <cmath>

using ktmdl_detail::kHalfPi;
using ktmdl_detail::kPi;
using ktmdl_detail::kTolerance;

namespace {

[[noreturn]] void raiseDivision()
{
    ktstd_fail_DivideByZero::Raise("Division by zero in ktmdl_Vec3d");
}

// Makes the constants when the library is loaded.
[[maybe_unused]] const ktmdl_Vec3d& xAtLoad = ktmdl_Vec3d::VX();
[[maybe_unused]] const ktmdl_Vec3d& yAtLoad = ktmdl_Vec3d::VY();
[[maybe_unused]] const ktmdl_Vec3d& zAtLoad = ktmdl_Vec3d::VZ();

} // namespace

ktmdl_Vec3d::ktmdl_Vec3d(const ktmdl_Pnt3d& aPoint) noexcept
    : ktmdl_Data3d(aPoint.mX, aPoint.mY, aPoint.mZ)
{}

ktmdl_Vec3d::ktmdl_Vec3d(const ktmdl_Pnt3d& aFrom, const ktmdl_Pnt3d& aTo) noexcept
    : ktmdl_Data3d(aTo.mX - aFrom.mX, aTo.mY - aFrom.mY, aTo.mZ - aFrom.mZ)
{}

const ktmdl_Vec3d& ktmdl_Vec3d::VX() noexcept
{
    static const ktmdl_Vec3d sX(1.0, 0.0, 0.0);
    return sX;
}

const ktmdl_Vec3d& ktmdl_Vec3d::VY() noexcept
{
    static const ktmdl_Vec3d sY(0.0, 1.0, 0.0);
    return sY;
}

const ktmdl_Vec3d& ktmdl_Vec3d::VZ() noexcept
{
    static const ktmdl_Vec3d sZ(0.0, 0.0, 1.0);
    return sZ;
}

double ktmdl_Vec3d::Dot(const ktmdl_Vec3d& aOther) const noexcept
{
    return mX * aOther.mX + mY * aOther.mY + mZ * aOther.mZ;
}

double ktmdl_Vec3d::Magnitude() const noexcept
{
    return std::sqrt(mX * mX + mY * mY + mZ * mZ);
}

double ktmdl_Vec3d::Angle(const ktmdl_Vec3d& aOther) const
{
    ktmdl_Vec3d first(*this);
    first.Normalize();
    ktmdl_Vec3d second(aOther);
    second.Normalize();
    const double cosine = first.Dot(second);
    if (std::fabs(cosine - 1.0) < kTolerance) {
        return 0.0;
    }
    if (std::fabs(cosine) < kTolerance) {
        return kHalfPi;
    }
    // On purpose: the cosine is not clamped, so rounding below -1 gives not-a-number.
    // Pinned by AngleIsNotANumberWhenTheCosineLeavesItsRange.
    return std::acos(cosine);
}

unsigned char ktmdl_Vec3d::IsParallel(const ktmdl_Vec3d& aOther, double aTolerance) const
{
    const double angle = std::fabs(Angle(aOther));
    // On purpose: the last test stands although no angle reaches 2 pi; no result shows it.
    return aTolerance > std::fabs(angle) || aTolerance > std::fabs(angle - kPi) ||
                   aTolerance > std::fabs(angle - 2.0 * kPi)
               ? 1
               : 0;
}

unsigned char ktmdl_Vec3d::IsNormal(const ktmdl_Vec3d& aOther, double aTolerance) const
{
    const double angle = std::fabs(Angle(aOther));
    return aTolerance > std::fabs(angle - kHalfPi) ? 1 : 0;
}

unsigned char ktmdl_Vec3d::IsOpposite(const ktmdl_Vec3d& aOther, double aTolerance) const
{
    const double angle = std::fabs(Angle(aOther));
    return aTolerance > std::fabs(angle - kPi) ? 1 : 0;
}

void ktmdl_Vec3d::Add(const ktmdl_Vec3d& aOther) noexcept
{
    Set(mX + aOther.mX, mY + aOther.mY, mZ + aOther.mZ);
}

void ktmdl_Vec3d::Subtract(const ktmdl_Vec3d& aOther) noexcept
{
    Set(mX - aOther.mX, mY - aOther.mY, mZ - aOther.mZ);
}

void ktmdl_Vec3d::Multiply(double aFactor) noexcept
{
    Set(mX * aFactor, mY * aFactor, mZ * aFactor);
}

void ktmdl_Vec3d::Divide(double aDivisor)
{
    if (std::fabs(aDivisor) < kTolerance) {
        raiseDivision();
    }
    Set(mX / aDivisor, mY / aDivisor, mZ / aDivisor);
}

void ktmdl_Vec3d::Cross(const ktmdl_Vec3d& aOther) noexcept
{
    Set(mY * aOther.mZ - mZ * aOther.mY, mZ * aOther.mX - mX * aOther.mZ,
        mX * aOther.mY - mY * aOther.mX);
}

void ktmdl_Vec3d::Normalize()
{
    const double magnitude = Magnitude();
    if (std::fabs(magnitude - 1.0) < kTolerance) {
        return;
    }
    // On purpose: the text of a division is also that of a vector too short to be normalised.
    // Pinned by NormalizeBelowAMillionthRaisesAndChangesNothing.
    Divide(magnitude);
}

void ktmdl_Vec3d::Reverse() noexcept
{
    Set(-mX, -mY, -mZ);
}

void ktmdl_Vec3d::Rotate(const ktmdl_Axis3d& aAxis, double aAngle)
{
    // On purpose: a vector is turned as a point, so an axis off the origin moves it.
    // Pinned by RotateTurnsTheVectorAsAPoint.
    RotateAsPoint(aAxis, aAngle);
}

void ktmdl_Vec3d::Transform(const ktmdl_Trsf3d& aTrsf)
{
    const auto& m = aTrsf.mMatrix;
    Set(m[0][0] * mX + m[0][1] * mY + m[0][2] * mZ, m[1][0] * mX + m[1][1] * mY + m[1][2] * mZ,
        m[2][0] * mX + m[2][1] * mY + m[2][2] * mZ);
}

void ktmdl_Vec3d::Translate(const ktmdl_Vec3d& aVector)
{
    // On purpose: a vector is moved as a point, unlike in Transform.
    // Pinned by TranslateAddsLikeToAPoint.
    Add(aVector);
}
