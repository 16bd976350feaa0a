#include "support/AllocationFaults.h"

#include "com/ComCensus.h"
#include "support/FakeDispatch.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

// Counted in all threads; faults are for the one that runs the tests.
std::atomic<long> sBlocks{0};
bool sIsOn = false;
long sOwnWork = 0;
long sAsked = 0;
std::atomic<std::size_t> sSize{0};
long sNth = 0;
kt_test::Shortage sShortage = kt_test::Shortage::Once;

//! Counts an allocation and tells whether it may be made.
bool mayAllocate() noexcept
{
    if (!sIsOn || sOwnWork != 0 || fake::isAnswering()) {
        return true;
    }
    ++sAsked;
    const bool isLater = sShortage == kt_test::Shortage::Lasting && sAsked > sNth;
    return sNth == 0 || (sAsked != sNth && !isLater);
}

void* take(std::size_t aSize) noexcept
{
    sSize = aSize;
    void* const block = mayAllocate() ? std::malloc(aSize == 0 ? 1 : aSize) : nullptr;
    sBlocks += block != nullptr ? 1 : 0;
    return block;
}

void* takeOrThrow(std::size_t aSize)
{
    void* const block = take(aSize);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void give(void* aBlock) noexcept
{
    sBlocks -= aBlock != nullptr ? 1 : 0;
    std::free(aBlock);
}

} // namespace

void* operator new(std::size_t aSize)
{
    return takeOrThrow(aSize);
}
void* operator new[](std::size_t aSize)
{
    return takeOrThrow(aSize);
}
void* operator new(std::size_t aSize, const std::nothrow_t& /*aTag*/) noexcept
{
    return take(aSize);
}
void* operator new[](std::size_t aSize, const std::nothrow_t& /*aTag*/) noexcept
{
    return take(aSize);
}
void operator delete(void* aBlock) noexcept
{
    give(aBlock);
}
void operator delete[](void* aBlock) noexcept
{
    give(aBlock);
}
void operator delete(void* aBlock, std::size_t /*aSize*/) noexcept
{
    give(aBlock);
}
void operator delete[](void* aBlock, std::size_t /*aSize*/) noexcept
{
    give(aBlock);
}
void operator delete(void* aBlock, const std::nothrow_t& /*aTag*/) noexcept
{
    give(aBlock);
}
void operator delete[](void* aBlock, const std::nothrow_t& /*aTag*/) noexcept
{
    give(aBlock);
}

namespace kt_test {

AllocationFault::AllocationFault(long aNth, Shortage aShortage) noexcept
{
    sAsked = 0;
    sNth = aNth;
    sShortage = aShortage;
    sIsOn = true;
}

AllocationFault::~AllocationFault()
{
    sIsOn = false;
}

long AllocationFault::Asked() noexcept
{
    return sAsked;
}

std::size_t AllocationFault::Size() noexcept
{
    return sSize;
}

OwnWork::OwnWork() noexcept
{
    ++sOwnWork;
}

OwnWork::~OwnWork()
{
    --sOwnWork;
}

Alive Alive::Now() noexcept
{
    return {sBlocks.load(), com::liveStrings(), com::liveArrays()};
}

bool operator==(const Alive& aFirst, const Alive& aSecond) noexcept
{
    return aFirst.blocks == aSecond.blocks && aFirst.strings == aSecond.strings &&
           aFirst.arrays == aSecond.arrays;
}

bool canFailStrings() noexcept
{
    static const bool sIsGateSet = com::setAllocationGate(&mayAllocate);
    return sIsGateSet;
}

} // namespace kt_test
