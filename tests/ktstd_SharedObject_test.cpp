// Memory and deletion of shared objects.

#include "ktstd/ktstd_Pool_detail.h"
#include "ktstd/ktstd_TShared.h"
#include "support/Links.h"
#include "support/SmallStack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

using ktstd_detail::AllocatePooled;
using ktstd_detail::FreePooled;
using ktstd_detail::PooledObjects;

namespace {

//! Counts its Delete and the destructors that it runs inside one another.
class Chained : public ktstd_TShared
{
public:
    explicit Chained(const Hnd_ktstd_TShared& aNext) : mNext(aNext) { ++sAlive; }
    Chained(const Chained&) = delete;
    Chained& operator=(const Chained&) = delete;
    ~Chained() override
    {
        --sAlive;
        ++sNesting;
        sDeepest = std::max(sDeepest, sNesting);
        mNext.Nullify();
        --sNesting;
    }
    void Delete() const override
    {
        ++sDeleted;
        ktstd_TShared::Delete();
    }

    static long sAlive;
    static long sDeleted;
    static int sNesting;
    static int sDeepest;

private:
    Hnd_ktstd_TShared mNext;
};
long Chained::sAlive = 0;
long Chained::sDeleted = 0;
int Chained::sNesting = 0;
int Chained::sDeepest = 0;

} // namespace

TEST(ktstd_SharedObject, CountLiesDirectlyBehindTheTable)
{
    const Hnd_Link first(new Link());
    const Hnd_Link second(first);
    std::int32_t count = 0;
    std::memcpy(&count, reinterpret_cast<const char*>(&*first) + sizeof(void*), sizeof count);
    EXPECT_EQ(count, 2);
}

TEST(ktstd_SharedObject, NullHandleHoldsTheSentinel)
{
    const Hnd_Link handle;
    std::uint64_t bits = 0;
    std::memcpy(&bits, &handle, sizeof bits);
    EXPECT_EQ(bits, 0xFFFFFFFFFEFD0000U);
}

TEST(ktstd_SharedObject, LongChainIsDeletedPieceByPieceEachOnce)
{
    constexpr long kObjects = 300000;
    Chained::sDeleted = 0;
    Chained::sDeepest = 0;
    kt_test::onSmallStack([&] {
        Hnd_ktstd_TShared chain;
        for (long i = 0; i < kObjects; ++i) {
            chain = new Chained(chain);
        }
        EXPECT_EQ(Chained::sAlive, kObjects);
    });
    EXPECT_EQ(Chained::sAlive, 0);
    EXPECT_EQ(Chained::sDeleted, kObjects);
    EXPECT_LE(Chained::sDeepest, 100);
}

TEST(ktstd_SharedObject, ShortChainIsDeletedAtOnce)
{
    Chained::sDeepest = 0;
    Hnd_ktstd_TShared chain;
    for (int i = 0; i < 10; ++i) {
        chain = new Chained(chain);
    }
    chain.Nullify();
    EXPECT_EQ(Chained::sAlive, 0);
    EXPECT_EQ(Chained::sDeepest, 10);
}

// The pool's own source is part of this program, built with pooling in every configuration.

TEST(ktstd_Pool, BlocksAreAlignedApartAndWritable)
{
    const std::size_t before = PooledObjects();
    std::vector<std::pair<unsigned char*, std::size_t>> blocks;
    for (std::size_t size = 1; size <= 300; ++size) {
        for (int i = 0; i < 20; ++i) {
            auto* const block = static_cast<unsigned char*>(AllocatePooled(size));
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0U);
            std::memset(block, static_cast<int>(blocks.size() % 251), size);
            blocks.emplace_back(block, size);
        }
    }
    EXPECT_EQ(PooledObjects(), before + 256U * 20U); // larger ones come from the general heap
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const auto [block, size] = blocks[i];
        const auto kept = std::count(block, block + size, static_cast<unsigned char>(i % 251));
        EXPECT_EQ(static_cast<std::size_t>(kept), size) << "block " << i << " was overwritten";
    }
    for (const auto& [block, size] : blocks) {
        FreePooled(block, size);
    }
    EXPECT_EQ(PooledObjects(), before);
}

TEST(ktstd_Pool, FreedBlockIsUsedAgain)
{
    void* const first = AllocatePooled(40);
    FreePooled(first, 40);
    void* const second = AllocatePooled(48); // of the same class: 33 to 48 bytes
    EXPECT_EQ(second, first);
    FreePooled(second, 48);
}

TEST(ktstd_Pool, NothingIsNotPooled)
{
    const std::size_t before = PooledObjects();
    void* const nothing = AllocatePooled(0);
    ASSERT_NE(nothing, nullptr);
    EXPECT_EQ(PooledObjects(), before);
    FreePooled(nothing, 0);
    EXPECT_EQ(PooledObjects(), before);
}

TEST(ktstd_Pool, SmallBlocksDoNotCrossLines)
{
    constexpr std::size_t kLine = 64;
    for (const std::size_t size : {std::size_t{16}, std::size_t{32}, std::size_t{64}}) {
        std::vector<void*> blocks(1000);
        for (void*& block : blocks) {
            block = AllocatePooled(size);
            const auto address = reinterpret_cast<std::uintptr_t>(block);
            EXPECT_EQ(address / kLine, (address + size - 1) / kLine) << size;
        }
        for (void* const block : blocks) {
            FreePooled(block, size);
        }
    }
}

TEST(ktstd_Pool, BlocksLieInOrderAgainWhenAllWereFreed)
{
    constexpr std::size_t kSize = 240; // of a class that nothing else in this program has
    const auto take = [] {
        std::vector<void*> blocks(500); // several chunks
        for (void*& block : blocks) {
            block = AllocatePooled(kSize);
        }
        return blocks;
    };
    const std::vector<void*> blocks = take();
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        FreePooled(blocks[i * 7 % blocks.size()], kSize);
    }
    const std::vector<void*> again = take();
    EXPECT_EQ(again, blocks);
    for (void* const block : again) {
        FreePooled(block, kSize);
    }
}

TEST(ktstd_Pool, NullIsFreedWithoutEffect)
{
    const std::size_t before = PooledObjects();
    FreePooled(nullptr, 16);
    EXPECT_EQ(PooledObjects(), before);
}
