//! @file
//! Checks and builders for the spatial values.
#pragma once

#include "ktmdl/ktmdl.h"
#include "ktmdl/ktmdl_Axis3d.h"
#include "ktmdl/ktmdl_Data3d.h"
#include "ktmdl/ktmdl_Pnt3d.h"
#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktmdl/ktmdl_Vec3d.h"

#include <gtest/gtest.h>

#include <cmath>

namespace kt_test {

inline const double kPi = std::acos(-1.0);

inline void expectTriple(const ktmdl_Data3d& aData, double aX, double aY, double aZ)
{
    EXPECT_EQ(aData.mX, aX);
    EXPECT_EQ(aData.mY, aY);
    EXPECT_EQ(aData.mZ, aZ);
}

inline void expectTripleNear(const ktmdl_Data3d& aData, double aX, double aY, double aZ,
                             double aTolerance)
{
    EXPECT_NEAR(aData.mX, aX, aTolerance);
    EXPECT_NEAR(aData.mY, aY, aTolerance);
    EXPECT_NEAR(aData.mZ, aZ, aTolerance);
}

//! A transformation with the given 16 numbers, row by row.
inline ktmdl_Trsf3d matrix(const double (&aMatrix)[4][4])
{
    ktmdl_Trsf3d trsf;
    trsf.SetMatrix(aMatrix);
    return trsf;
}

inline ktmdl_Trsf3d scaling(double aX, double aY, double aZ)
{
    ktmdl_Trsf3d trsf;
    trsf.SetScale(aX, aY, aZ);
    return trsf;
}

//! A transformation whose 16 numbers are all different, the bottom row's too.
inline ktmdl_Trsf3d generalTrsf()
{
    return matrix({{2, 3, 5, 7}, {11, 13, 17, 19}, {23, 29, 31, 37}, {41, 43, 47, 53}});
}

//! The transformation with which things are turned about an axis, put together from its parts:
//! to the origin, turned, back.
inline ktmdl_Trsf3d turning(const ktmdl_Axis3d& aAxis, double aAngle)
{
    double rotation[4][4];
    ktmdl::RotAxis2Matrix(aAxis.mDir.mX, aAxis.mDir.mY, aAxis.mDir.mZ, aAngle, rotation);
    const ktmdl_Trsf3d there(-aAxis.mX, -aAxis.mY, -aAxis.mZ);
    const ktmdl_Trsf3d back(aAxis.mX, aAxis.mY, aAxis.mZ);
    return (there * matrix(rotation)) * back;
}

//! Where a turned triple comes to lie: the translation column of itself times the turning.
inline ktmdl_Pnt3d turned(const ktmdl_Data3d& aData, const ktmdl_Axis3d& aAxis, double aAngle)
{
    ktmdl_Trsf3d moved(aData.mX, aData.mY, aData.mZ);
    moved *= turning(aAxis, aAngle);
    double numbers[4][4];
    moved.GetMatrix(numbers);
    return {numbers[0][3], numbers[1][3], numbers[2][3]};
}

} // namespace kt_test
