//! @file
//! Point in a plane. For a direction or a displacement use ktmdl_Vec2d.
#pragma once

#include "ktmdl/ktmdl_Data2d.h"
#include "ktmdl/ktmdl_Export.h"

//! A point (x, y) in model units. Default is the origin.
//!
//! A plain value. Infinite and not-a-number coordinates are kept as given; nothing here fails on
//! them. Stored as a ktmdl_Data2d.
class KTMDL_EXPORT ktmdl_Pnt2d : public ktmdl_Data2d
{
public:
    //! Makes the origin.
    ktmdl_Pnt2d() noexcept = default;
    ktmdl_Pnt2d(double aX, double aY) noexcept : ktmdl_Data2d(aX, aY) {}
    //! @param aXY  two numbers: x, y; borrowed, not null
    explicit ktmdl_Pnt2d(const double* aXY) noexcept : ktmdl_Data2d(aXY) {}

    using ktmdl_Data2d::operator=;

    //! Gives (0, 0).
    [[nodiscard]] static const ktmdl_Pnt2d& Origin() noexcept;

    //! Measures the straight distance between two points.
    //! @return  model units, at least 0; infinite or not-a-number only if a coordinate is, or if a
    //!          difference of coordinates exceeds about 1e154 (its square overflows)
    [[nodiscard]] double Distance(const ktmdl_Pnt2d& aOther) const noexcept;
    //! Tells whether no coordinate differs by more than the tolerance. That is a square around the
    //! point, not a disc.
    //! @param aOther      the point to compare with
    //! @param aTolerance  model units; a difference of exactly that much counts as equal
    //! @return            1 or 0; 0 when a difference is not-a-number
    [[nodiscard]] unsigned char IsEqual(const ktmdl_Pnt2d& aOther, double aTolerance) const noexcept
    {
        return IsSamePair(aOther, aTolerance);
    }

    //! Does nothing: the point stays where it is.
    void Rotate(const ktmdl_Pnt2d& aCenter, double aAngle) override;
    //! Applies the matrix, the translation included; never fails.
    void Transform(const ktmdl_Trsf2d& aTrsf) override;
    void Translate(const ktmdl_Vec2d& aVector) override;
};

static_assert(sizeof(ktmdl_Pnt2d) == sizeof(ktmdl_Data2d), "no fields of its own");
