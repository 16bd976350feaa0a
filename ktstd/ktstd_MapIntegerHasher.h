//! @file
//! Hash of integers for the maps.
#pragma once

#include "ktstd/ktstd_Export.h"

//! Hash and equality of integer keys.
class KTSTD_EXPORT ktstd_MapIntegerHasher
{
public:
    //! Reduces a number to a bucket. Numbers that differ in few bits land far apart. Only the low
    //! 32 bits count, so that the result is the same whatever the width of long.
    //! @param aKey    any number
    //! @param aUpper  upper bound of the result
    //! @return       0 to aUpper; -1 when aUpper is negative
    [[nodiscard]] static long HashCode(const long& aKey, long aUpper) noexcept;
    //! Gives 1 when the low 32 bits of both numbers are the same, else 0.
    [[nodiscard]] static unsigned char IsEqual(const long& aFirst, const long& aSecond) noexcept;
};
