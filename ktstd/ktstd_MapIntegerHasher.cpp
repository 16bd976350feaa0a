#include "ktstd/ktstd_MapIntegerHasher.h"

#include <cstdint>

namespace {

//! Spreads every bit of a number over all bits of the result: the finishing step of MurmurHash3.
std::uint32_t spread(std::uint32_t aValue) noexcept
{
    aValue ^= aValue >> 16;
    aValue *= 0x85EBCA6BU;
    aValue ^= aValue >> 13;
    aValue *= 0xC2B2AE35U;
    aValue ^= aValue >> 16;
    return aValue;
}

} // namespace

long ktstd_MapIntegerHasher::HashCode(const long& aKey, long aUpper) noexcept
{
    if (aUpper < 0) {
        return -1;
    }
    const std::uint64_t count = static_cast<std::uint64_t>(aUpper) + 1;
    return static_cast<long>(spread(static_cast<std::uint32_t>(aKey)) % count);
}

unsigned char ktstd_MapIntegerHasher::IsEqual(const long& aFirst, const long& aSecond) noexcept
{
    return static_cast<std::uint32_t>(aFirst) == static_cast<std::uint32_t>(aSecond) ? 1 : 0;
}
