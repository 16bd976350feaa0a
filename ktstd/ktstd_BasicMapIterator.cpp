#include "ktstd/ktstd_BasicMapIterator.h"

#include "ktstd/ktstd_BasicMap.h"

ktstd_BasicMapIterator::ktstd_BasicMapIterator(const ktstd_BasicMap& aMap) noexcept
{
    Initialize(aMap);
}

void ktstd_BasicMapIterator::Initialize(const ktstd_BasicMap& aMap) noexcept
{
    mBuckets = aMap.Buckets();
    mNbBuckets = aMap.NbBuckets();
    mBucket = 0;
    mNode = nullptr;
    if (mBuckets != nullptr) {
        mNode = mBuckets[0];
        SkipEmptyBuckets();
    }
}

void ktstd_BasicMapIterator::Next() noexcept
{
    if (mNode != nullptr) {
        mNode = mNode->Next();
        SkipEmptyBuckets();
    }
}

void ktstd_BasicMapIterator::SkipEmptyBuckets() noexcept
{
    while (mNode == nullptr && mBucket < mNbBuckets) {
        mNode = mBuckets[++mBucket];
    }
}
