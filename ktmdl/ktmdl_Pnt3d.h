//! @file
//! Point in space. For a direction or a displacement use ktmdl_Vec3d.
#pragma once

#include "ktmdl/ktmdl_Data3d.h"
#include "ktmdl/ktmdl_Export.h"

//! A point (x, y, z) in model units. Default is the origin.
//!
//! A plain value. Infinite and not-a-number coordinates are kept as given; nothing here fails on
//! them. Stored as a ktmdl_Data3d.
class KTMDL_EXPORT ktmdl_Pnt3d : public ktmdl_Data3d
{
public:
    //! Makes the origin.
    ktmdl_Pnt3d() noexcept = default;
    ktmdl_Pnt3d(double aX, double aY, double aZ) noexcept : ktmdl_Data3d(aX, aY, aZ) {}
    //! @param aXYZ  three numbers: x, y, z; borrowed, not null
    explicit ktmdl_Pnt3d(const double* aXYZ) noexcept : ktmdl_Data3d(aXYZ) {}

    using ktmdl_Data3d::operator=;

    //! Gives (0, 0, 0).
    [[nodiscard]] static const ktmdl_Pnt3d& Origin() noexcept;

    //! Measures the straight distance between two points.
    //! @param aOther  the far end of the segment
    //! @return        model units, at least 0; infinite or not-a-number only if a coordinate is, or
    //!                if a difference of coordinates exceeds about 1e154 (its square overflows)
    [[nodiscard]] double Distance(const ktmdl_Pnt3d& aOther) const noexcept;
    //! Tells whether no coordinate differs by more than the tolerance. That is a box around the
    //! point, not a ball.
    //! @param aOther      the point to compare with
    //! @param aTolerance  model units; a difference of exactly that much counts as equal
    //! @return            1 or 0; 0 when a difference is not-a-number
    [[nodiscard]] unsigned char IsEqual(const ktmdl_Pnt3d& aOther, double aTolerance) const noexcept
    {
        return IsSameTriple(aOther, aTolerance);
    }

    //! Turns the point about an axis; never fails.
    void Rotate(const ktmdl_Axis3d& aAxis, double aAngle) override;
    //! Applies rows 1 to 3 of a transformation, the translation included; never fails.
    //! The bottom row is not used.
    void Transform(const ktmdl_Trsf3d& aTrsf) override;
    void Translate(const ktmdl_Vec3d& aVector) override;
};

static_assert(sizeof(ktmdl_Pnt3d) == sizeof(ktmdl_Data3d), "no fields of its own");
