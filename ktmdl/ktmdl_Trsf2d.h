//! @file
//! Planar transformation: a general 2 by 3 matrix.
#pragma once

#include "ktmdl/ktmdl_Export.h"

class ktmdl_Data2d;

//! A transformation of planar points. Default is the identity.
//!
//! A plain value of six numbers, row by row; points are columns and the third column is the
//! translation. The translation by (1, 2) is
//!
//!     1 0 1
//!     0 1 2
//!
//! It can't be composed, inverted or stored. What it does to a vector is told at
//! ktmdl_Vec2d::Transform.
class KTMDL_EXPORT ktmdl_Trsf2d
{
public:
    //! Makes the identity.
    ktmdl_Trsf2d() noexcept = default;
    //! Makes the translation by a pair's coordinates.
    explicit ktmdl_Trsf2d(const ktmdl_Data2d& aPair) noexcept;
    //! Makes a transformation from its six numbers, column by column: it takes (x, y) to
    //! (aM00 x + aM01 y + aM02, aM10 x + aM11 y + aM12).
    ktmdl_Trsf2d(double aM00, double aM10, double aM01, double aM11, double aM02,
                 double aM12) noexcept;
    ktmdl_Trsf2d(const ktmdl_Trsf2d&) noexcept = default;
    ktmdl_Trsf2d& operator=(const ktmdl_Trsf2d&) noexcept = default;

    virtual ~ktmdl_Trsf2d();

    //! Gives the identity.
    [[nodiscard]] static const ktmdl_Trsf2d& Identity() noexcept;

    //! Takes over the six numbers of another transformation.
    void Copy(const ktmdl_Trsf2d& aOther) noexcept { *this = aOther; }
    //! Tells whether no entry is more than 1e-6 away from the identity's: 1 or 0.
    [[nodiscard]] unsigned char IsIdentity() const noexcept;
    //! Gives an entry of the matrix.
    //! @param aRow     1 or 2
    //! @param aColumn  1 to 3
    //! @return         the entry; 0 for any other row or column
    [[nodiscard]] double Value(long aRow, long aColumn) const noexcept;

    double mMatrix[2][3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}}; //!< row, column
};

static_assert(sizeof(ktmdl_Trsf2d) == sizeof(void*) + 6 * sizeof(double),
              "the table pointer and the matrix");
