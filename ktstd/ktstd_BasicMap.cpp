#include "ktstd/ktstd_BasicMap.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace {

constexpr long kFewest = 7;            //!< smallest bucket count; like all others 2^k - 1
constexpr long kMost = (1L << 30) - 1; //!< largest bucket count

void deleteArray(ktstd_MapNode* aArray) noexcept
{
    delete[] reinterpret_cast<ktstd_MapNode**>(aArray);
}

ktstd_MapNode* newArray(long aNbBuckets)
{
    auto** const slots = new ktstd_MapNode* [static_cast<std::size_t>(aNbBuckets) + 1] {};
    return reinterpret_cast<ktstd_MapNode*>(slots);
}

//! Gives the smallest bucket count above a number of keys.
long countAbove(long aSize) noexcept
{
    long count = kFewest;
    while (count <= aSize && count < kMost) {
        count = 2 * count + 1;
    }
    return count;
}

} // namespace

ktstd_BasicMap::ktstd_BasicMap(long aSize, unsigned char aOneArray) noexcept
    : mIsOneArray(aOneArray),
      mNbBuckets(aSize)
{}

ktstd_BasicMap::~ktstd_BasicMap()
{
    Destroy();
}

ktstd_MapNode** ktstd_BasicMap::Slots(ktstd_MapNode* aArray) noexcept
{
    return reinterpret_cast<ktstd_MapNode**>(aArray);
}

unsigned char ktstd_BasicMap::BeginResize(long aSize, long& aNbBuckets, ktstd_MapNode*& aFirst,
                                          ktstd_MapNode*& aSecond) const
{
    const bool isNew = mFirstArray == nullptr;
    // The size asked for at construction counts until there is an array.
    const long count = countAbove(isNew ? std::max(aSize, std::max(mNbBuckets, 1L) - 1) : aSize);
    if (!isNew && count <= mNbBuckets) {
        return 0;
    }
    ktstd_MapNode* const first = newArray(count);
    ktstd_MapNode* second = nullptr;
    if (mIsOneArray == 0) {
        try {
            second = newArray(count);
        } catch (...) {
            deleteArray(first);
            throw;
        }
    }
    aNbBuckets = count;
    aFirst = first;
    aSecond = second;
    return 1;
}

void ktstd_BasicMap::EndResize(long, long aNbBuckets, ktstd_MapNode* const& aFirst,
                               ktstd_MapNode* const& aSecond) noexcept
{
    deleteArray(std::exchange(mFirstArray, aFirst));
    deleteArray(std::exchange(mSecondArray, aSecond));
    mNbBuckets = aNbBuckets;
}

void ktstd_BasicMap::Destroy() noexcept
{
    deleteArray(std::exchange(mFirstArray, nullptr));
    deleteArray(std::exchange(mSecondArray, nullptr));
    mNbBuckets = 0;
    mExtent = 0;
}
