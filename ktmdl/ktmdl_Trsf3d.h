//! @file
//! Spatial transformation: a general 4 by 4 matrix.
#pragma once

#include "ktmdl/ktmdl_Export.h"

class ktmdl_Axis3d;
class ktmdl_CrdSys3d;
class ktmdl_Data3d;
class ktmdl_Vec3d;
class ktstd_Archive;

//! A transformation of points, vectors, axes, coordinate systems and boxes. Default is the
//! identity.
//!
//! A plain value of 16 numbers, row by row; points are columns. The translation by (1, 2, 3) is
//!
//!     1 0 0 1
//!     0 1 0 2
//!     0 0 1 3
//!     0 0 0 1
//!
//! A * B applies A first, then B: as matrices that is B times A. The bottom row takes part in
//! products and in Reverse, but nothing is ever divided by it. Queries have a tolerance of 1e-6.
class KTMDL_EXPORT ktmdl_Trsf3d
{
public:
    //! Makes the identity.
    ktmdl_Trsf3d() noexcept = default;
    //! Makes the translation by (aX, aY, aZ).
    ktmdl_Trsf3d(double aX, double aY, double aZ) noexcept;
    //! Makes the translation by a triple's coordinates.
    explicit ktmdl_Trsf3d(const ktmdl_Data3d& aTriple) noexcept;
    //! Makes the transformation from a system's local coordinates to global ones.
    //! @param aCrdSys  its X, Z times X, and Z become the columns, its origin the translation
    //! @throws ktstd_fail_ProgramError  the determinant of the directions is 1e-6 or more in size;
    //!                                  so every proper coordinate system raises
    explicit ktmdl_Trsf3d(const ktmdl_CrdSys3d& aCrdSys);
    ktmdl_Trsf3d(const ktmdl_Trsf3d&) noexcept = default;
    ktmdl_Trsf3d& operator=(const ktmdl_Trsf3d&) noexcept = default;

    virtual ~ktmdl_Trsf3d() = default;
    //! Stores the matrix, bit for bit, row by row, or loads it.
    //! @throws ktstd_fail_FileIO  code 16 for a class version that is not known, 17 when the end
    //!                            marker is missing; or the archive can't store or load
    virtual void Serialize(ktstd_Archive& aArchive);

    //! Gives the 16 numbers, row by row.
    void GetMatrix(double aMatrix[4][4]) const noexcept;
    //! Tells whether no entry is more than 1e-6 away from the identity's: 1 or 0.
    [[nodiscard]] unsigned char IsIdentity() const noexcept;
    //! Tells whether no entry is more than 1e-6 away from another matrix's: 1 or 0.
    [[nodiscard]] unsigned char IsEqual(const ktmdl_Trsf3d& aOther) const noexcept;
    //! Tells whether an entry of the linear part is 1e-6 or more away from the identity's: 1 or 0.
    //! So a scale or a mirror counts as a rotation.
    [[nodiscard]] unsigned char HasRotation() const noexcept;
    //! Tells whether an entry of the translation is 1e-6 or more in size: 1 or 0.
    [[nodiscard]] unsigned char HasTranslation() const noexcept;
    //! Gives the transformation that applies this one first, then the other.
    [[nodiscard]] ktmdl_Trsf3d operator*(const ktmdl_Trsf3d& aOther) const noexcept;

    void Copy(const ktmdl_Trsf3d& aOther) noexcept { *this = aOther; }
    //! Lets the other transformation follow this one.
    //! @param aOther  may be this object
    ktmdl_Trsf3d& operator*=(const ktmdl_Trsf3d& aOther) noexcept;
    //! Takes 16 numbers, row by row; nothing is checked.
    void SetMatrix(const double aMatrix[4][4]) noexcept;
    //! Sets the translation.
    //! @param aVector    the translation
    //! @param aKeepRest  0: the rest becomes the identity's; other: the rest stays
    void SetTranslation(const ktmdl_Vec3d& aVector, unsigned char aKeepRest) noexcept;
    //! Becomes the rotation about an axis.
    //! @param aAxis             direction used as stored, expected to have length 1
    //! @param aAngle            radians, right-handed about the direction
    //! @param aKeepTranslation  0: the translation is the rotation's own; other: it stays as it was
    void SetRotation(const ktmdl_Axis3d& aAxis, double aAngle,
                     unsigned char aKeepTranslation) noexcept;
    //! Becomes the scale by three factors; rotation and translation are lost.
    void SetScale(double aX, double aY, double aZ) noexcept;
    //! Becomes its own inverse.
    //! @throws ktstd_fail_ProgramError  the determinant is below 1e-10 in size; the matrix is its
    //!                                  adjugate then
    void Reverse();

    double mMatrix[4][4] = {{1.0, 0.0, 0.0, 0.0},
                            {0.0, 1.0, 0.0, 0.0},
                            {0.0, 0.0, 1.0, 0.0},
                            {0.0, 0.0, 0.0, 1.0}}; //!< row, column
};

static_assert(sizeof(ktmdl_Trsf3d) == sizeof(void*) + 16 * sizeof(double),
              "the table pointer and the matrix");
