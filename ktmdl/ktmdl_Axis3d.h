//! @file
//! Axis: a located direction. With an X direction it is a ktmdl_CrdSys3d.
#pragma once

#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_Pnt3d.h"
#include "ktmdl/ktmdl_Vec3d.h"

//! A location, which is the inherited point, and a direction.
//!
//! A plain value. The direction has length 1 after construction and after every Transform; a
//! direction within 1e-6 of length 1 counts as such and is kept as it is. What takes the axis for a
//! ktmdl_Data3d (Copy, assignment, Translate) moves the location only.
class KTMDL_EXPORT ktmdl_Axis3d : public ktmdl_Pnt3d
{
public:
    //! Makes the axis through the origin along z.
    ktmdl_Axis3d() noexcept;
    //! @param aLocation   a point of the axis
    //! @param aDirection  of any length; normalised
    //! @throws ktstd_fail_DivideByZero  the direction is shorter than 1e-6
    ktmdl_Axis3d(const ktmdl_Pnt3d& aLocation, const ktmdl_Vec3d& aDirection);

    using ktmdl_Pnt3d::operator=;

    //! Gives the axis through the origin along x.
    [[nodiscard]] static const ktmdl_Axis3d& AX() noexcept;
    //! Gives the axis through the origin along y.
    [[nodiscard]] static const ktmdl_Axis3d& AY() noexcept;
    //! Gives the axis through the origin along z.
    [[nodiscard]] static const ktmdl_Axis3d& AZ() noexcept;

    //! Measures the angle between the direction and a vector, without sign.
    //! Unlike ktmdl_Vec3d::Angle it does not round right angles to exactly pi/2.
    //! @param aVector  of any length
    //! @return         radians, 0 to pi; exactly 0 when the cosine is within 1e-6 of 1;
    //!                 not-a-number when rounding puts the cosine below -1
    //! @throws ktstd_fail_DivideByZero  a vector is shorter than 1e-6
    [[nodiscard]] double Angle(const ktmdl_Vec3d& aVector) const;
    //! Tells whether no component of location and direction differs by more than the tolerance.
    //! @param aOther      the axis to compare with
    //! @param aTolerance  a difference of exactly that much counts as equal
    //! @return            1 or 0
    [[nodiscard]] unsigned char IsEqual(const ktmdl_Axis3d& aOther,
                                        double aTolerance) const noexcept;
    //! Tells whether a vector has the axis's direction or the opposite one; see
    //! ktmdl_Vec3d::IsParallel.
    //! @param aVector     of any length
    //! @param aTolerance  radians
    //! @throws ktstd_fail_DivideByZero  a vector is shorter than 1e-6
    [[nodiscard]] unsigned char IsParallel(const ktmdl_Vec3d& aVector, double aTolerance) const;
    //! Tells whether a vector is perpendicular to the axis; see ktmdl_Vec3d::IsNormal.
    //! @param aVector     of any length
    //! @param aTolerance  radians
    //! @throws ktstd_fail_DivideByZero  a vector is shorter than 1e-6
    [[nodiscard]] unsigned char IsNormal(const ktmdl_Vec3d& aVector, double aTolerance) const;

    using ktmdl_Pnt3d::Copy;
    //! Takes over location and direction of another axis.
    void Copy(const ktmdl_Axis3d& aOther) noexcept;

    //! Turns location and direction, both as points: about an axis off the origin the direction
    //! changes its length, and is not normalised. Never fails.
    //! @param aAxis   may be this axis
    //! @param aAngle  radians
    void Rotate(const ktmdl_Axis3d& aAxis, double aAngle) override;
    //! Applies a transformation to the location, its linear part to the direction, and normalises
    //! that.
    //! @throws ktstd_fail_DivideByZero  the direction becomes shorter than 1e-6; the transformed
    //!                                  location and direction stay
    void Transform(const ktmdl_Trsf3d& aTrsf) override;
    //! Gives the translation by the location.
    [[nodiscard]] ktmdl_Trsf3d Trsf() const override;
    //! Stores or loads location and direction.
    //! @throws ktstd_fail_FileIO  as ktmdl_Data3d::Serialize; what was read before stays
    void Serialize(ktstd_Archive& aArchive) override;

    ktmdl_Vec3d mDir; //!< direction; length 1 but for Rotate and who writes to it
};

static_assert(sizeof(ktmdl_Axis3d) == sizeof(ktmdl_Pnt3d) + sizeof(ktmdl_Vec3d),
              "location, direction");
