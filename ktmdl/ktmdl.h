//! @file
//! Static functions of the model library: angles and small matrices.
#pragma once

#include "ktmdl/ktmdl_Export.h"

//! A holder of static functions; there are no objects of it.
class KTMDL_EXPORT ktmdl
{
public:
    ktmdl() = delete;

    //! Measures the angle from one planar vector to another.
    //! @param aX1  first vector
    //! @param aY1  first vector
    //! @param aX2  second vector
    //! @param aY2  second vector
    //! @return     radians, -pi to pi, positive counter-clockwise; pi for opposite vectors
    //! @throws ktstd_fail_ProgramError  a vector is shorter than 1e-6, or the cosine is not one
    [[nodiscard]] static double Angle2D(double aX1, double aY1, double aX2, double aY2);
    //! Finds the angle that has a given sine and cosine. Values outside -1 to 1 are taken as those
    //! bounds.
    //! @param aSinA  sine
    //! @param aCosA  cosine
    //! @return       degrees, above -180, up to 180; what is within 1e-5 of a multiple of 90 may be
    //!               exactly that
    //! @throws ktstd_fail_ProgramError  the two belong to angles more than 0.0031623 degrees apart,
    //!                                  unless they are near those of 0 or 180
    [[nodiscard]] static double ChooseAngle(double aSinA, double aCosA);
    //! Gives the determinant of a 3 by 3 matrix.
    //! @param aMatrix  nine numbers, row by row; borrowed, not null
    [[nodiscard]] static double Determinant33Matrix(const double* aMatrix) noexcept;
    //! Gives the matrix of the rotation about a direction through the origin. A quarter turn about
    //! z, (0, 0, 1), is
    //!
    //!     0 -1 0 0
    //!     1  0 0 0
    //!     0  0 1 0
    //!     0  0 0 1
    //!
    //! @param aX       direction, used as given; expected to have length 1
    //! @param aY       direction
    //! @param aZ       direction
    //! @param aAngle   radians, right-handed about the direction
    //! @param aMatrix  replaced; row, column
    static void RotAxis2Matrix(double aX, double aY, double aZ, double aAngle,
                               double aMatrix[4][4]) noexcept;
};
