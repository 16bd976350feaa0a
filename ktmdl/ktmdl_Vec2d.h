//! @file
//! Vector in a plane: a direction or a displacement. For a place use ktmdl_Pnt2d.
#pragma once

#include "ktmdl/ktmdl_Data2d.h"
#include "ktmdl/ktmdl_Export.h"

class ktmdl_Pnt2d;

//! A vector (x, y) in model units; of any length, default is the zero vector.
//!
//! A plain value, changed in place. A length below 1e-6 counts as zero: Normalize and the angle
//! operations raise then and change nothing. Rotate and Transform do not do what their names say;
//! add-ins rely on what they do. Stored as a ktmdl_Data2d.
class KTMDL_EXPORT ktmdl_Vec2d : public ktmdl_Data2d
{
public:
    //! Makes the zero vector.
    ktmdl_Vec2d() noexcept = default;
    ktmdl_Vec2d(double aX, double aY) noexcept : ktmdl_Data2d(aX, aY) {}
    //! @param aXY  two numbers: x, y; borrowed, not null
    explicit ktmdl_Vec2d(const double* aXY) noexcept : ktmdl_Data2d(aXY) {}
    //! Makes the vector from the origin to a point.
    explicit ktmdl_Vec2d(const ktmdl_Pnt2d& aPoint) noexcept;
    //! Makes the vector from one point to another.
    ktmdl_Vec2d(const ktmdl_Pnt2d& aFrom, const ktmdl_Pnt2d& aTo) noexcept;

    using ktmdl_Data2d::operator=;

    //! Gives (1, 0).
    [[nodiscard]] static const ktmdl_Vec2d& VX() noexcept;
    //! Gives (0, 1).
    [[nodiscard]] static const ktmdl_Vec2d& VY() noexcept;

    void Add(const ktmdl_Vec2d& aOther) noexcept;
    void Subtract(const ktmdl_Vec2d& aOther) noexcept;
    void Multiply(double aFactor) noexcept;
    //! Divides both components.
    //! @throws ktstd_fail_DivideByZero  the divisor's absolute value is below 1e-6; nothing changes
    void Divide(double aDivisor);
    //! Gives the dot product; the vector is not changed.
    [[nodiscard]] double Dot(const ktmdl_Vec2d& aOther) noexcept;
    //! Gives the cross product, positive when the other vector lies counter-clockwise; the vector
    //! is not changed, unlike by ktmdl_Vec3d::Cross.
    [[nodiscard]] double Cross(const ktmdl_Vec2d& aOther) noexcept;
    //! Gives the length, at least 0.
    [[nodiscard]] double Magnitude() const noexcept;
    //! Makes the length 1. A length within 1e-6 of 1 is taken as 1 and nothing changes.
    //! @throws ktstd_fail_DivideByZero  the length is below 1e-6; nothing changes
    void Normalize();
    //! Negates both components.
    void Reverse() noexcept;
    //! Measures the angle from this vector to another.
    //! @return  radians, -pi to pi, positive counter-clockwise; pi for opposite vectors;
    //!          not-a-number or wrong when a component exceeds about 1e154 (its square overflows)
    //! @throws ktstd_fail_ProgramError  a vector is shorter than 1e-6
    [[nodiscard]] double Angle(const ktmdl_Vec2d& aOther) const;
    //! Tells whether no component differs by more than the tolerance: 1 or 0. A difference of
    //! exactly that much counts as equal.
    [[nodiscard]] unsigned char IsEqual(const ktmdl_Vec2d& aOther, double aTolerance) const noexcept
    {
        return IsSamePair(aOther, aTolerance);
    }
    //! Tells whether two vectors have the same or opposite directions: 1 or 0.
    //! @param aTolerance  radians; a deviation of exactly that much is too much
    //! @throws ktstd_fail_ProgramError  a vector is shorter than 1e-6
    [[nodiscard]] unsigned char IsParallel(const ktmdl_Vec2d& aOther, double aTolerance) const;
    //! Tells whether two vectors are perpendicular: 1 or 0. Parameters and failures as IsParallel.
    [[nodiscard]] unsigned char IsNormal(const ktmdl_Vec2d& aOther, double aTolerance) const;
    //! Tells whether two vectors have opposite directions: 1 or 0. Parameters and failures as
    //! IsParallel.
    [[nodiscard]] unsigned char IsOpposite(const ktmdl_Vec2d& aOther, double aTolerance) const;

    //! Does nothing: the vector keeps its direction.
    void Rotate(const ktmdl_Pnt2d& aCenter, double aAngle) override;
    //! Turns (x, y) into (m00 x + m02 y, m01 x + m10 y), where mij is the entry in row i and column
    //! j of the matrix, counted from 0. That is not its linear part: the identity takes (x, y) to
    //! (x, 0). Never fails.
    void Transform(const ktmdl_Trsf2d& aTrsf) override;
    //! Adds another vector, as to a point.
    void Translate(const ktmdl_Vec2d& aVector) override;
};

static_assert(sizeof(ktmdl_Vec2d) == sizeof(ktmdl_Data2d), "no fields of its own");
