//! @file
//! Hash of integers for the maps.
#pragma once

#include "ktstd/ktstd_Export.h"

#include <cstdint>

//! Hash and equality of integer keys.
class KTSTD_EXPORT ktstd_MapIntegerHasher
{
public:
    //! Reduces a number to a bucket. Numbers that differ in few bits land far apart. Only the low
    //! 32 bits count, so that the result is the same whatever the width of long.
    //! @param aKey    any number
    //! @param aUpper  upper bound of the result
    //! @return       0 to aUpper; -1 when aUpper is negative
    [[nodiscard]] static long HashCode(const long& aKey, long aUpper) noexcept
    {
        if (aUpper < 0) {
            return -1;
        }
        const std::uint32_t hash = Spread(static_cast<std::uint32_t>(aKey));
        const auto upper = static_cast<std::uint64_t>(aUpper);
        const std::uint64_t count = upper + 1;
        // A power of two, as all tables have, needs no division.
        return static_cast<long>((count & upper) == 0 ? hash & upper : hash % count);
    }
    //! Gives 1 when the low 32 bits of both numbers are the same, else 0.
    [[nodiscard]] static unsigned char IsEqual(const long& aFirst, const long& aSecond) noexcept
    {
        return static_cast<std::uint32_t>(aFirst) == static_cast<std::uint32_t>(aSecond) ? 1 : 0;
    }

private:
    //! Spreads every bit of a number over all bits of the result: the finishing step of
    //! MurmurHash3.
    [[nodiscard]] static std::uint32_t Spread(std::uint32_t aValue) noexcept
    {
        aValue ^= aValue >> 16;
        aValue *= 0x85EBCA6BU;
        aValue ^= aValue >> 13;
        aValue *= 0xC2B2AE35U;
        aValue ^= aValue >> 16;
        return aValue;
    }
};
