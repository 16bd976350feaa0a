//! @file
//! Coordinate triple: what points and vectors have in common. Use ktmdl_Pnt3d or ktmdl_Vec3d.
#pragma once

#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_Trsf3d.h"

class ktmdl_Axis3d;
class ktmdl_Vec3d;
class ktstd_Archive;

//! Three coordinates in model units; root of the spatial values that can be moved.
//!
//! A plain value: copies share nothing, a moved-from triple is unchanged. Infinite and
//! not-a-number coordinates are kept as given. The order of the virtual operations is part of the
//! binary interface. Angles are radians, right-handed about an axis's direction.
class KTMDL_EXPORT ktmdl_Data3d
{
public:
    //! Makes (0, 0, 0).
    ktmdl_Data3d() noexcept = default;
    ktmdl_Data3d(double aX, double aY, double aZ) noexcept : mX(aX), mY(aY), mZ(aZ) {}
    //! @param aXYZ  three numbers: x, y, z; borrowed, not null
    explicit ktmdl_Data3d(const double* aXYZ) noexcept : mX(aXYZ[0]), mY(aXYZ[1]), mZ(aXYZ[2]) {}
    ktmdl_Data3d(const ktmdl_Data3d&) noexcept = default;

    virtual ~ktmdl_Data3d() = default;
    //! Takes over the three coordinates of another triple and nothing else of it: an axis copied
    //! through this operation keeps its directions.
    virtual void Copy(const ktmdl_Data3d& aOther) noexcept { Set(aOther); }
    //! The same as Copy.
    // NOLINTNEXTLINE(misc-unconventional-assign-operator): assigned through the triple as well
    virtual ktmdl_Data3d& operator=(const ktmdl_Data3d& aOther) noexcept
    {
        Set(aOther);
        return *this;
    }
    //! Turns about an axis.
    //! @param aAxis   its direction is used as stored; may be part of this object
    //! @param aAngle  radians
    virtual void Rotate(const ktmdl_Axis3d& aAxis, double aAngle) = 0;
    //! Applies a transformation.
    virtual void Transform(const ktmdl_Trsf3d& aTrsf) = 0;
    //! Adds a vector to the coordinates.
    virtual void Translate(const ktmdl_Vec3d& aVector) = 0;
    //! Gives the translation by the coordinates.
    [[nodiscard]] virtual ktmdl_Trsf3d Trsf() const;
    //! Stores the coordinates, bit for bit, or loads them.
    //! @throws ktstd_fail_FileIO  code 16 for a class version that is not known, 17 when the end
    //!                            marker is missing; or the archive can't store or load
    virtual void Serialize(ktstd_Archive& aArchive);

    //! Takes over the three coordinates of another triple.
    void Set(const ktmdl_Data3d& aOther) noexcept { Set(aOther.mX, aOther.mY, aOther.mZ); }
    void Set(double aX, double aY, double aZ) noexcept
    {
        mX = aX;
        mY = aY;
        mZ = aZ;
    }

    double mX{0.0};
    double mY{0.0};
    double mZ{0.0};

protected:
    //! Tells whether no coordinate differs from another triple's by more than a tolerance: 1 or 0.
    [[nodiscard]] unsigned char IsSameTriple(const ktmdl_Data3d& aOther,
                                             double aTolerance) const noexcept;
    //! Turns the coordinates about an axis as those of a point.
    void RotateAsPoint(const ktmdl_Axis3d& aAxis, double aAngle) noexcept;
};

static_assert(sizeof(ktmdl_Data3d) == sizeof(void*) + 3 * sizeof(double),
              "the coordinates follow one another directly after the table pointer");
