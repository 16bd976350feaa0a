//! @file
//! One direction of a box.
#pragma once

namespace ktmdl_detail {

//! Grows a range to enclose another one.
inline void GrowToRange(double& aLower, double& aUpper, double aOtherLower,
                        double aOtherUpper) noexcept
{
    if (aOtherLower < aLower) {
        aLower = aOtherLower;
    }
    if (aOtherUpper > aUpper) {
        aUpper = aOtherUpper;
    }
}

//! Tells whether a coordinate is out of a range by more than a tolerance.
inline bool IsBeyond(double aLower, double aUpper, double aCoordinate, double aTolerance) noexcept
{
    return aLower > aCoordinate + aTolerance || aCoordinate - aTolerance > aUpper;
}

} // namespace ktmdl_detail
