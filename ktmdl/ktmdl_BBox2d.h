//! @file
//! Axis-aligned box in a plane.
#pragma once

#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_Pnt2d.h"

class ktstd_Archive;

//! A box from a lower corner to an upper one.
//!
//! A plain value. There is no empty box: the default box is the point (0, 0), and whatever is added
//! to it keeps the origin inside. Corners are kept as given, so a box may be inverted. Tests have a
//! tolerance of 1e-6: a point on the edge, or within the tolerance of it, is neither inside nor
//! outside.
class KTMDL_EXPORT ktmdl_BBox2d
{
public:
    //! Makes the box of the single point (0, 0).
    ktmdl_BBox2d() noexcept = default;
    //! @param aMin  lower corner; not checked against the upper one
    //! @param aMax  upper corner
    ktmdl_BBox2d(const ktmdl_Pnt2d& aMin, const ktmdl_Pnt2d& aMax) noexcept;
    //! Makes the box from the corner of the first two numbers to that of the last two; not checked.
    ktmdl_BBox2d(double aXMin, double aYMin, double aXMax, double aYMax) noexcept;
    ktmdl_BBox2d(const ktmdl_BBox2d&) noexcept = default;
    ktmdl_BBox2d& operator=(const ktmdl_BBox2d&) noexcept = default;

    virtual ~ktmdl_BBox2d();
    //! Stores or loads both corners.
    //! @throws ktstd_fail_FileIO  as ktmdl_Data2d::Serialize; what was read before stays
    virtual void Serialize(ktstd_Archive& aArchive);

    //! Gives the corners.
    void Get(double& aXMin, double& aYMin, double& aXMax, double& aYMax) const noexcept;
    //! Gives the centre and the size in each direction, which is negative for an inverted box.
    void GetCenterSize(double& aXCenter, double& aYCenter, double& aWidth,
                       double& aHeight) const noexcept;

    //! Tells whether two boxes overlap by more than 1e-6 in both directions: 1 or 0.
    [[nodiscard]] unsigned char HasOverlap(const ktmdl_BBox2d& aOther) const noexcept;
    //! Tells whether a point is inside by more than 1e-6 in both directions: 1 or 0.
    [[nodiscard]] unsigned char IsInside(const ktmdl_Pnt2d& aPoint) const noexcept;
    //! Tells whether a point is outside by more than 1e-6 in some direction: 1 or 0.
    [[nodiscard]] unsigned char IsOutside(const ktmdl_Pnt2d& aPoint) const noexcept;

    //! Sets the corners from centre and size.
    //! @param aCenter  centre
    //! @param aWidth   a negative size gives an inverted box
    //! @param aHeight  likewise
    void SetCenterSize(const ktmdl_Pnt2d& aCenter, double aWidth, double aHeight) noexcept;
    //! As above, with the centre in two numbers.
    void SetCenterSize(double aXCenter, double aYCenter, double aWidth, double aHeight) noexcept;
    //! Grows to enclose another box, exactly.
    void Add(const ktmdl_BBox2d& aOther) noexcept;

    ktmdl_Pnt2d mMin;
    ktmdl_Pnt2d mMax;
};

static_assert(sizeof(ktmdl_BBox2d) == sizeof(void*) + 2 * sizeof(ktmdl_Pnt2d),
              "the table pointer and the corners");
