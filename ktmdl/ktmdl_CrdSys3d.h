//! @file
//! Coordinate system: an axis, whose direction is Z, and an X direction.
#pragma once

#include "ktmdl/ktmdl_Axis3d.h"
#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_Vec3d.h"

//! An origin, which is the inherited location, a Z direction, which is the axis's, and an X
//! direction. Y is Z times X and not stored.
//!
//! A plain value. X has length 1 after construction; it need not be perpendicular to Z. What takes
//! the system for a ktmdl_Data3d (Copy, assignment, Translate) moves the origin only.
class KTMDL_EXPORT ktmdl_CrdSys3d : public ktmdl_Axis3d
{
public:
    //! Makes the system with the global origin and directions.
    ktmdl_CrdSys3d() noexcept;
    //! @param aAxis        origin and Z direction, taken as they are
    //! @param aDirectionX  of any length; normalised, not made perpendicular to Z
    //! @throws ktstd_fail_DivideByZero  the X direction is shorter than 1e-6
    ktmdl_CrdSys3d(const ktmdl_Axis3d& aAxis, const ktmdl_Vec3d& aDirectionX);

    using ktmdl_Axis3d::operator=;

    //! Gives the system at the origin with Z (0, 0, 1) and X (1, 0, 0).
    [[nodiscard]] static const ktmdl_CrdSys3d& XOY() noexcept;
    //! Gives the system at the origin with Z (1, 0, 0) and X (0, 1, 0).
    [[nodiscard]] static const ktmdl_CrdSys3d& YOZ() noexcept;
    //! Gives the system at the origin with Z (0, 1, 0) and X (0, 0, 1).
    [[nodiscard]] static const ktmdl_CrdSys3d& ZOX() noexcept;

    //! Tells whether no component of origin, Z and X differs by more than the tolerance.
    //! @param aOther      the system to compare with
    //! @param aTolerance  a difference of exactly that much counts as equal
    //! @return            1 or 0
    [[nodiscard]] unsigned char IsEqual(const ktmdl_CrdSys3d& aOther,
                                        double aTolerance) const noexcept;

    using ktmdl_Axis3d::Copy;
    //! Takes over origin, Z and X of another system.
    void Copy(const ktmdl_CrdSys3d& aOther) noexcept;

    //! Turns origin, Z and X, all as points; see ktmdl_Axis3d::Rotate. Never fails.
    //! @param aAxis   may be this system
    //! @param aAngle  radians
    void Rotate(const ktmdl_Axis3d& aAxis, double aAngle) override;
    //! Applies a transformation to the origin and its linear part to Z and X. Z is normalised, X is
    //! not.
    //! @throws ktstd_fail_DivideByZero  Z becomes shorter than 1e-6; the transformed origin and Z
    //!                                  stay, X is as it was
    void Transform(const ktmdl_Trsf3d& aTrsf) override;
    //! Gives the transformation from local to global coordinates; see
    //! ktmdl_Trsf3d(const ktmdl_CrdSys3d&).
    //! @throws ktstd_fail_ProgramError  unless X is nearly parallel to Z
    [[nodiscard]] ktmdl_Trsf3d Trsf() const override;
    //! Stores or loads origin, Z and X.
    //! @throws ktstd_fail_FileIO  as ktmdl_Data3d::Serialize; what was read before stays
    void Serialize(ktstd_Archive& aArchive) override;

    ktmdl_Vec3d mDirX; //!< X direction
};

static_assert(sizeof(ktmdl_CrdSys3d) == sizeof(ktmdl_Axis3d) + sizeof(ktmdl_Vec3d), "axis, X");
