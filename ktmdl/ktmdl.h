//! @file
//! Static functions of the model library: angles, small matrices, queries on host documents.
#pragma once

#include "com/Com.h"
#include "ktmdl/ktmdl_Export.h"

class ktstd_AsciiString;

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

    // The four queries below ask a live host document. None lets an automation error out: each is
    // written to the diagnostic log and turned into the result.

    //! Finds a driving dimension of a part document by its name.
    //! @param aDocument  part document; null gives null
    //! @param aName      UTF-8; the host matches it, wildcards included; empty gives null
    //! @return           the dimension; null when no variable or more than one has the name, when
    //!                   it is not a dimension, or after an error
    [[nodiscard]] static IDispatchPtr GetDimVarFromName(const IDispatchPtr& aDocument,
                                                        const ktstd_AsciiString& aName);
    //! Finds a driving dimension of a part document by its system name.
    //! @param aDocument    part document; null gives null
    //! @param aSystemName  UTF-8, compared byte by byte; empty gives null
    //! @return             the first dimension of that name in the host's order; null when none has
    //!                     it or after an error
    [[nodiscard]] static IDispatchPtr GetDimVarFromSystemName(const IDispatchPtr& aDocument,
                                                              const ktstd_AsciiString& aSystemName);
    //! Measures a face in the middle of its parameter range.
    //! @param aFace    face
    //! @param aNormal  receives three numbers: the outward unit normal; null: not wanted
    //! @param aPoint   receives three numbers: the point, in metres; null: not wanted
    //! @return         0, or the code of the error (E_POINTER when it is not a face); what was
    //!                 written before an error stays written
    static long GetFaceInfo(const IDispatchPtr& aFace, double* aNormal, double* aPoint);
    //! Measures a reference plane.
    //! @param aPlane      reference plane, or an assembly's reference to one
    //! @param aNormal     receives three numbers: the unit normal; null: not wanted
    //! @param aRootPoint  receives three numbers: a point of the plane, in metres; null: not wanted
    //! @return            0, or the code of the error; what was written before an error stays
    //!                    written. An object that has no member of the name asked for leaves that
    //!                    output untouched and gives 0.
    static long GetPlaneInfo(const IDispatchPtr& aPlane, double* aNormal, double* aRootPoint);
};
