//! @file
//! Planar coordinate pair: what points and vectors have in common. Use ktmdl_Pnt2d or ktmdl_Vec2d.
#pragma once

#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_Trsf2d.h"

class ktmdl_Pnt2d;
class ktmdl_Vec2d;
class ktstd_Archive;

//! Two coordinates in model units; root of the planar values that can be moved.
//!
//! A plain value: copies share nothing, a moved-from pair is unchanged. Infinite and not-a-number
//! coordinates are kept as given. The order of the virtual operations is part of the binary
//! interface.
class KTMDL_EXPORT ktmdl_Data2d
{
public:
    //! Makes (0, 0).
    ktmdl_Data2d() noexcept = default;
    ktmdl_Data2d(double aX, double aY) noexcept : mX(aX), mY(aY) {}
    //! @param aXY  two numbers: x, y; borrowed, not null
    explicit ktmdl_Data2d(const double* aXY) noexcept : mX(aXY[0]), mY(aXY[1]) {}
    ktmdl_Data2d(const ktmdl_Data2d&) noexcept = default;

    virtual ~ktmdl_Data2d();
    //! Takes over the two coordinates of another pair.
    virtual void Copy(const ktmdl_Data2d& aOther) noexcept;
    //! The same as Copy.
    // NOLINTNEXTLINE(misc-unconventional-assign-operator): assigned through the pair as well
    virtual ktmdl_Data2d& operator=(const ktmdl_Data2d& aOther) noexcept;
    //! Does nothing in points and vectors.
    //! @param aCenter  the point to turn about
    //! @param aAngle   radians
    virtual void Rotate(const ktmdl_Pnt2d& aCenter, double aAngle) = 0;
    //! Applies a transformation.
    virtual void Transform(const ktmdl_Trsf2d& aTrsf) = 0;
    //! Adds a vector to the coordinates.
    virtual void Translate(const ktmdl_Vec2d& aVector) = 0;
    //! Gives the translation by the coordinates.
    [[nodiscard]] virtual ktmdl_Trsf2d Trsf() const;
    //! Stores the coordinates, bit for bit, or loads them.
    //! @throws ktstd_fail_FileIO  code 16 for a class version that is not known, 17 when the end
    //!                            marker is missing; or the archive can't store or load
    virtual void Serialize(ktstd_Archive& aArchive);

    //! Takes over the two coordinates of another pair.
    void Set(const ktmdl_Data2d& aOther) noexcept;
    void Set(double aX, double aY) noexcept;

    double mX{0.0};
    double mY{0.0};

protected:
    //! Tells whether no coordinate differs from another pair's by more than a tolerance: 1 or 0.
    [[nodiscard]] unsigned char IsSamePair(const ktmdl_Data2d& aOther,
                                           double aTolerance) const noexcept;
};

static_assert(sizeof(ktmdl_Data2d) == sizeof(void*) + 2 * sizeof(double),
              "the coordinates follow one another directly after the table pointer");
