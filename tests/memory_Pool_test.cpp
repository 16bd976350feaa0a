// The pool of small objects when memory runs out while it is refilled. The pool is compiled into
// this program, with pooling on whatever the build has.

#include "ktstd/ktstd_Pool_detail.h"
#include "support/AllocationFaults.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <vector>

using ktstd_detail::AllocatePooled;
using ktstd_detail::FreePooled;
using ktstd_detail::PooledObjects;

namespace {

//! Takes objects until the pool would have to ask for memory, which fails.
std::vector<void*> takeAllFree(std::size_t aSize)
{
    std::vector<void*> taken;
    taken.reserve(100000);
    const kt_test::AllocationFault fault(1, kt_test::Shortage::Lasting);
    try {
        for (;;) {
            taken.push_back(AllocatePooled(aSize));
        }
    } catch (const std::bad_alloc&) {
    }
    return taken;
}

} // namespace

TEST(memory_Pool, RefillWithoutMemoryLeavesThePoolAsItWas)
{
    for (const std::size_t size : {std::size_t{1}, std::size_t{40}, std::size_t{256}}) {
        SCOPED_TRACE(size);
        FreePooled(AllocatePooled(size), size); // the pool has a chunk
        const std::size_t alive = PooledObjects();
        const kt_test::Alive before = kt_test::Alive::Now();

        const std::vector<void*> taken = takeAllFree(size);
        ASSERT_GT(taken.size(), 1U);
        EXPECT_EQ(PooledObjects(), alive + taken.size());
        for (std::size_t i = 0; i < taken.size(); ++i) {
            std::memset(taken[i], static_cast<int>(i), size);
        }

        void* const next = AllocatePooled(size); // memory is there again
        std::memset(next, 0xFF, size);
        for (std::size_t i = 0; i < taken.size(); ++i) {
            const std::vector<unsigned char> expected(size, static_cast<unsigned char>(i));
            EXPECT_EQ(std::memcmp(taken[i], expected.data(), size), 0) << i;
            FreePooled(taken[i], size);
        }
        FreePooled(next, size);
        EXPECT_EQ(PooledObjects(), alive);
        const long vectorOfTaken = 1;
        const long chunk = 1;
        EXPECT_EQ(kt_test::Alive::Now().blocks, before.blocks + vectorOfTaken + chunk);
    }
}

TEST(memory_Pool, LargeObjectsComeFromTheHeap)
{
    const std::size_t alive = PooledObjects();
    const kt_test::Alive before = kt_test::Alive::Now();
    {
        const kt_test::AllocationFault fault(1);
        EXPECT_THROW((void)AllocatePooled(257), std::bad_alloc);
    }
    void* const block = AllocatePooled(257);
    EXPECT_EQ(PooledObjects(), alive);
    EXPECT_EQ(kt_test::Alive::Now().blocks, before.blocks + 1);
    FreePooled(block, 257);
    EXPECT_EQ(kt_test::Alive::Now().blocks, before.blocks);
}
