//! @file
//! Vector in space: a direction or a displacement. For a place use ktmdl_Pnt3d.
#pragma once

#include "ktmdl/ktmdl_Data3d.h"
#include "ktmdl/ktmdl_Export.h"

class ktmdl_Pnt3d;

//! A vector (x, y, z) in model units; of any length, default is the zero vector.
//!
//! A plain value, changed in place. A length below 1e-6 counts as zero: what needs a direction
//! raises ktstd_fail_DivideByZero then and changes nothing. Transform applies the linear part only,
//! but Rotate and Translate move the vector as they move a point. Stored as a ktmdl_Data3d.
class KTMDL_EXPORT ktmdl_Vec3d : public ktmdl_Data3d
{
public:
    //! Makes the zero vector.
    ktmdl_Vec3d() noexcept = default;
    ktmdl_Vec3d(double aX, double aY, double aZ) noexcept : ktmdl_Data3d(aX, aY, aZ) {}
    //! @param aXYZ  three numbers: x, y, z; borrowed, not null
    explicit ktmdl_Vec3d(const double* aXYZ) noexcept : ktmdl_Data3d(aXYZ) {}
    //! Makes the vector from the origin to a point.
    explicit ktmdl_Vec3d(const ktmdl_Pnt3d& aPoint) noexcept;
    //! Makes the vector from one point to another.
    ktmdl_Vec3d(const ktmdl_Pnt3d& aFrom, const ktmdl_Pnt3d& aTo) noexcept;

    using ktmdl_Data3d::operator=;

    //! Gives (1, 0, 0).
    [[nodiscard]] static const ktmdl_Vec3d& VX() noexcept;
    //! Gives (0, 1, 0).
    [[nodiscard]] static const ktmdl_Vec3d& VY() noexcept;
    //! Gives (0, 0, 1).
    [[nodiscard]] static const ktmdl_Vec3d& VZ() noexcept;

    [[nodiscard]] double Dot(const ktmdl_Vec3d& aOther) const noexcept;
    //! Gives the length, at least 0.
    [[nodiscard]] double Magnitude() const noexcept;
    //! Measures the angle between two vectors, without sign.
    //! @param aOther  of any length
    //! @return        radians, 0 to pi; exactly 0 when the cosine is within 1e-6 of 1, exactly pi/2
    //!                when it is within 1e-6 of 0; not-a-number when rounding puts the cosine below
    //!                -1
    //! @throws ktstd_fail_DivideByZero  a vector is shorter than 1e-6
    [[nodiscard]] double Angle(const ktmdl_Vec3d& aOther) const;
    //! Tells whether no component differs by more than the tolerance: 1 or 0. A difference of
    //! exactly that much counts as equal.
    [[nodiscard]] unsigned char IsEqual(const ktmdl_Vec3d& aOther, double aTolerance) const noexcept
    {
        return IsSameTriple(aOther, aTolerance);
    }
    //! Tells whether two vectors have the same or opposite directions: 1 or 0.
    //! @param aOther      of any length
    //! @param aTolerance  radians; a deviation of exactly that much is too much
    //! @throws ktstd_fail_DivideByZero  a vector is shorter than 1e-6
    [[nodiscard]] unsigned char IsParallel(const ktmdl_Vec3d& aOther, double aTolerance) const;
    //! Tells whether two vectors are perpendicular: 1 or 0.
    //! @param aOther      of any length
    //! @param aTolerance  radians; a deviation of exactly that much is too much
    //! @throws ktstd_fail_DivideByZero  a vector is shorter than 1e-6
    [[nodiscard]] unsigned char IsNormal(const ktmdl_Vec3d& aOther, double aTolerance) const;
    //! Tells whether two vectors have opposite directions: 1 or 0.
    //! @param aOther      of any length
    //! @param aTolerance  radians; a deviation of exactly that much is too much
    //! @throws ktstd_fail_DivideByZero  a vector is shorter than 1e-6
    [[nodiscard]] unsigned char IsOpposite(const ktmdl_Vec3d& aOther, double aTolerance) const;

    void Add(const ktmdl_Vec3d& aOther) noexcept;
    void Subtract(const ktmdl_Vec3d& aOther) noexcept;
    void Multiply(double aFactor) noexcept;
    //! Divides each component.
    //! @throws ktstd_fail_DivideByZero  the divisor's absolute value is below 1e-6; nothing changes
    void Divide(double aDivisor);
    //! Replaces this vector by the cross product: this times the argument.
    void Cross(const ktmdl_Vec3d& aOther) noexcept;
    //! Makes the length 1. A length within 1e-6 of 1 is taken as 1 and nothing changes.
    //! @throws ktstd_fail_DivideByZero  the length is below 1e-6; nothing changes
    void Normalize();
    //! Negates the three components.
    void Reverse() noexcept;

    //! Turns the vector about an axis as a point is turned: the axis's location moves it, and
    //! with it the length changes. Never fails.
    void Rotate(const ktmdl_Axis3d& aAxis, double aAngle) override;
    //! Applies the linear part of a transformation; the length is not restored. Never fails.
    void Transform(const ktmdl_Trsf3d& aTrsf) override;
    //! Adds another vector, as to a point.
    void Translate(const ktmdl_Vec3d& aVector) override;
};

static_assert(sizeof(ktmdl_Vec3d) == sizeof(ktmdl_Data3d), "no fields of its own");
