//! @file
//! Checks and builders for the planar values.
#pragma once

#include "ktmdl/ktmdl_Data2d.h"
#include "ktmdl/ktmdl_Trsf2d.h"

#include <gtest/gtest.h>

namespace kt_test {

inline void expectPair(const ktmdl_Data2d& aData, double aX, double aY)
{
    EXPECT_EQ(aData.mX, aX);
    EXPECT_EQ(aData.mY, aY);
}

//! A transformation whose six numbers are all different: the matrix [2 5 11; 3 7 13].
inline ktmdl_Trsf2d generalTrsf2d()
{
    return {2, 3, 5, 7, 11, 13};
}

} // namespace kt_test
