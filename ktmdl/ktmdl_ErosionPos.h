//! @file
//! Erosion position: where an electrode stands and how far it is turned there.
#pragma once

#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_Pnt3d.h"
#include "ktstd/ktstd_Dim.h"

class ktstd_Archive;

//! A point in model space and the electrode's rotation about its own axis there.
//!
//! A plain value: copies share nothing. Default is the origin with the default quantity as angle.
//! The angle is kept in whatever unit the given quantity carries.
class KTMDL_EXPORT ktmdl_ErosionPos
{
public:
    ktmdl_ErosionPos() = default;
    ktmdl_ErosionPos(const ktmdl_Pnt3d& aPosition, const ktstd_Dim& aAngle);
    //! Makes the position at (aX, aY, aZ).
    ktmdl_ErosionPos(double aX, double aY, double aZ, const ktstd_Dim& aAngle);
    ktmdl_ErosionPos(const ktmdl_ErosionPos&) = default;

    virtual ~ktmdl_ErosionPos();
    //! Takes over point and angle of another position.
    virtual void Copy(const ktmdl_ErosionPos& aOther);
    //! The same as Copy.
    // On purpose: gives no reference, so assignments can't be chained. Pinned by a static_assert in
    // ktmdl_ErosionPos_test.cpp.
    // NOLINTNEXTLINE(misc-unconventional-assign-operator): see above
    virtual void operator=(const ktmdl_ErosionPos& aOther);
    //! Stores or loads point and angle.
    //! @throws ktstd_fail_FileIO  as ktmdl_Data3d::Serialize; what was read before stays
    virtual void Serialize(ktstd_Archive& aArchive);

    //! Gives the point, in model units.
    [[nodiscard]] const ktmdl_Pnt3d& Position() const noexcept { return mPosition; }
    //! Gives the rotation.
    [[nodiscard]] const ktstd_Dim& RotationAngle() const noexcept { return mAngle; }

    //! The same as Copy.
    void Set(const ktmdl_ErosionPos& aOther);
    //! Moves the position; the angle stays.
    void SetPos(const ktmdl_Pnt3d& aPosition) noexcept;
    //! Moves the position to (aX, aY, aZ); the angle stays.
    void SetPos(double aX, double aY, double aZ) noexcept;

private:
    ktmdl_Pnt3d mPosition;
    ktstd_Dim mAngle;
};
