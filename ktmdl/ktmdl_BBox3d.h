//! @file
//! Axis-aligned box in space.
#pragma once

#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_Pnt3d.h"

class ktmdl_Trsf3d;
class ktstd_Archive;

//! A box from a lower corner to an upper one.
//!
//! A plain value. There is no empty box: the default box is the point (0, 0, 0), and whatever is
//! added to it keeps the origin inside; to grow a box from nothing, start with a box made from the
//! first point twice. Corners are kept as given, so a box may be inverted; Add and Transform keep
//! the order of what was in order. Tests have a tolerance of 1e-6; those of points treat z unlike x
//! and y.
class KTMDL_EXPORT ktmdl_BBox3d
{
public:
    //! Makes the box of the single point (0, 0, 0).
    ktmdl_BBox3d() noexcept = default;
    //! @param aMin  lower corner; not checked against the upper one
    //! @param aMax  upper corner
    ktmdl_BBox3d(const ktmdl_Pnt3d& aMin, const ktmdl_Pnt3d& aMax) noexcept;
    //! Makes the box from the corner of the first three numbers to that of the last three; not
    //! checked.
    ktmdl_BBox3d(double aXMin, double aYMin, double aZMin, double aXMax, double aYMax,
                 double aZMax) noexcept;
    ktmdl_BBox3d(const ktmdl_BBox3d&) noexcept = default;
    ktmdl_BBox3d& operator=(const ktmdl_BBox3d&) noexcept = default;

    virtual ~ktmdl_BBox3d();
    //! Stores or loads both corners.
    //! @throws ktstd_fail_FileIO  as ktmdl_Data3d::Serialize; what was read before stays
    virtual void Serialize(ktstd_Archive& aArchive);

    //! Gives the corners.
    void Get(double& aXMin, double& aYMin, double& aZMin, double& aXMax, double& aYMax,
             double& aZMax) const noexcept;
    //! Gives the centre and the size in each direction, which is negative for an inverted box.
    void GetCenterSize(double& aXCenter, double& aYCenter, double& aZCenter, double& aXSize,
                       double& aYSize, double& aZSize) const noexcept;

    //! Tells whether no coordinate of the corners differs by more than 1e-6: 1 or 0.
    [[nodiscard]] unsigned char IsEqual(const ktmdl_BBox3d& aOther) const noexcept;
    //! Tells whether in every direction the upper side of each box is at least 1e-6 above the lower
    //! side of the other: 1 or 0.
    [[nodiscard]] unsigned char HasOverlap(const ktmdl_BBox3d& aOther) const noexcept;
    //! Tells whether a point is inside in x and y, or within 1e-6 of it, and at least 1e-6 above
    //! the top: 1 or 0.
    [[nodiscard]] unsigned char IsInside(const ktmdl_Pnt3d& aPoint) const noexcept;
    //! Tells whether a point is inside by at least 1e-6 in x, y and from the bottom, and not more
    //! than 1e-6 below the top: 1 or 0.
    [[nodiscard]] unsigned char IsReallyInside(const ktmdl_Pnt3d& aPoint) const noexcept;
    //! Tells whether a point is outside by more than 1e-6 in some direction: 1 or 0.
    [[nodiscard]] unsigned char IsOutside(const ktmdl_Pnt3d& aPoint) const noexcept;

    //! Sets the corners from centre and size.
    //! @param aCenter  centre
    //! @param aXSize   a negative size gives an inverted box
    //! @param aYSize   likewise
    //! @param aZSize   likewise
    void SetCenterSize(const ktmdl_Pnt3d& aCenter, double aXSize, double aYSize,
                       double aZSize) noexcept;
    //! As above, with the centre in three numbers.
    void SetCenterSize(double aXCenter, double aYCenter, double aZCenter, double aXSize,
                       double aYSize, double aZSize) noexcept;
    //! Grows to enclose another box, exactly.
    void Add(const ktmdl_BBox3d& aOther) noexcept;
    //! Grows to enclose a point; in a direction in which the point is outside by 1e-6 or less,
    //! nothing changes.
    void Add(const ktmdl_Pnt3d& aPoint) noexcept;
    //! Becomes the box of the transformed corners: of the two for a translation, else of all eight,
    //! added as points.
    void Transform(const ktmdl_Trsf3d& aTrsf);

    ktmdl_Pnt3d mMin;
    ktmdl_Pnt3d mMax;
};

static_assert(sizeof(ktmdl_BBox3d) == sizeof(void*) + 2 * sizeof(ktmdl_Pnt3d),
              "the table pointer and the corners");
