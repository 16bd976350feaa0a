#include "ktstd/ktstd_BasicMap.h"

#include "ktstd/ktstd_BasicMapIterator.h"
#include "ktstd/ktstd_MapIntegerHasher.h"
#include "ktstd/ktstd_MapNode.h"
#include "support/SharedClass.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

static_assert(kt_test::keepsInheritedOperations<ktstd_MapNode>);
static_assert(kt_test::keepsInheritedRecord<ktstd_MapNode>);
static_assert(kt_test::hasOwnType<ktstd_MapNode>);
static_assert(!std::is_constructible_v<ktstd_BasicMap, long, unsigned char>);
static_assert(std::is_same_v<
              decltype(ktstd_MapIntegerHasher::HashCode(std::declval<const long&>(), 0L)), long>);

namespace {

//! A map straight on the kernel's operations; it owns its nodes.
class Probe : public ktstd_BasicMap
{
public:
    Probe(long aSize, unsigned char aOneArray) : ktstd_BasicMap(aSize, aOneArray) {}
    ~Probe() { destroy(); }

    unsigned char begin(long aSize, long& aNbBuckets, ktstd_MapNode*& aFirst,
                        ktstd_MapNode*& aSecond) const
    {
        return BeginResize(aSize, aNbBuckets, aFirst, aSecond);
    }
    //! Resizes a map that has no nodes; gives what the kernel answered.
    unsigned char resize(long aSize)
    {
        long buckets = 0;
        ktstd_MapNode* first = nullptr;
        ktstd_MapNode* second = nullptr;
        if (BeginResize(aSize, buckets, first, second) == 0) {
            return 0;
        }
        for (long i = 0; i <= buckets; ++i) {
            EXPECT_EQ(Slots(first)[i], nullptr) << "slot " << i;
        }
        EndResize(aSize, buckets, first, second);
        EXPECT_EQ(NbBuckets(), buckets);
        return 1;
    }
    ktstd_MapNode* put(long aBucket)
    {
        auto* const node = new ktstd_MapNode(Buckets()[aBucket]);
        Buckets()[aBucket] = node;
        ++mExtent;
        return node;
    }
    void destroy()
    {
        if (Buckets() != nullptr) {
            for (long i = 0; i <= NbBuckets(); ++i) {
                while (Buckets()[i] != nullptr) {
                    ktstd_MapNode* const node = Buckets()[i];
                    Buckets()[i] = node->Next();
                    delete node;
                }
            }
        }
        Destroy();
    }
};

class Walk : public ktstd_BasicMapIterator
{
public:
    using ktstd_BasicMapIterator::ktstd_BasicMapIterator;
    using ktstd_BasicMapIterator::Node;
};

} // namespace

TEST(ktstd_BasicMap, NewMapHasTheSizeAndNoKeys)
{
    const Probe map(7, 1);
    EXPECT_EQ(map.NbBuckets(), 7);
    EXPECT_EQ(map.Extent(), 0);
    EXPECT_EQ(map.IsEmpty(), 1);
}

TEST(ktstd_BasicMap, ResizeMakesEmptySlotsFromZeroToTheNewCount)
{
    Probe map(1, 1);
    EXPECT_EQ(map.resize(20), 1);
    EXPECT_GE(map.NbBuckets(), 20);
    // Both ends are slots of the array.
    map.put(0);
    map.put(map.NbBuckets());
    EXPECT_EQ(map.Extent(), 2);
    EXPECT_EQ(map.IsEmpty(), 0);
}

TEST(ktstd_BasicMap, ResizeThatIsNotNeededIsAnsweredWithZero)
{
    Probe map(1, 1);
    map.resize(20);
    const long before = map.NbBuckets();
    long buckets = -7;
    ktstd_MapNode* first = nullptr;
    ktstd_MapNode* second = nullptr;
    EXPECT_EQ(map.begin(1, buckets, first, second), 0);
    EXPECT_EQ(buckets, -7);
    EXPECT_EQ(first, nullptr);
    EXPECT_EQ(map.NbBuckets(), before);
}

TEST(ktstd_BasicMap, DestroyLeavesNoKeys)
{
    Probe map(1, 1);
    map.resize(5);
    map.put(1);
    map.destroy();
    EXPECT_EQ(map.Extent(), 0);
    EXPECT_EQ(map.IsEmpty(), 1);
    EXPECT_EQ(map.resize(5), 1) << "the map can be used again";
}

TEST(ktstd_BasicMapIterator, WalksAscendingBucketsEachFromItsHead)
{
    Probe map(1, 1);
    map.resize(5);
    const long last = map.NbBuckets();
    const ktstd_MapNode* const tail = map.put(last);
    const ktstd_MapNode* const head = map.put(last);
    const ktstd_MapNode* const middle = map.put(2);
    const ktstd_MapNode* const first = map.put(0);
    Walk walk(map);
    for (const ktstd_MapNode* wanted : {first, middle, head, tail}) {
        ASSERT_EQ(walk.More(), 1);
        EXPECT_EQ(walk.Node(), wanted);
        walk.Next();
    }
    EXPECT_EQ(walk.More(), 0);
    walk.Initialize(map);
    EXPECT_EQ(walk.Node(), first);
}

TEST(ktstd_BasicMapIterator, DefaultAndEmptyMapAreAtTheEnd)
{
    EXPECT_EQ(Walk().More(), 0);
    Probe map(3, 1);
    EXPECT_EQ(Walk(map).More(), 0);
    map.resize(5);
    EXPECT_EQ(Walk(map).More(), 0);
}

TEST(ktstd_MapNode, HoldsItsNext)
{
    ktstd_MapNode* const none = nullptr;
    const Hnd_ktstd_MapNode first(new ktstd_MapNode(none));
    ktstd_MapNode* const next = &*first;
    const Hnd_ktstd_MapNode second(new ktstd_MapNode(next));
    EXPECT_EQ(first->Next(), nullptr);
    EXPECT_EQ(second->Next(), next);
    EXPECT_EQ(first->RefCount(), 1) << "the link is a plain pointer";
}

TEST(ktstd_MapNode, HasItsType)
{
    ktstd_MapNode* const none = nullptr;
    const Hnd_ktstd_Transient node(new ktstd_MapNode(none));
    EXPECT_EQ(&node->DynamicType(), &ktstd_MapNode_Type_());
    EXPECT_EQ(node->IsKind(ktstd_MapNode_Type_()), 1);
    EXPECT_EQ(node->IsKind(ktstd_TShared_Type_()), 1);
    EXPECT_EQ(node->IsKind(ktstd_Transient_Type_()), 1);
    EXPECT_EQ(Hnd_ktstd_MapNode::DownCast(node), node);
}

TEST(ktstd_MapIntegerHasher, HashLiesBetweenZeroAndTheBoundIncluded)
{
    for (const long bound : {0L, 1L, 3L, 100L}) {
        std::vector<bool> hit(static_cast<std::size_t>(bound) + 1, false);
        for (long key = -2000; key <= 2000; ++key) {
            const long hash = ktstd_MapIntegerHasher::HashCode(key, bound);
            ASSERT_GE(hash, 0);
            ASSERT_LE(hash, bound);
            EXPECT_EQ(ktstd_MapIntegerHasher::HashCode(key, bound), hash);
            hit[static_cast<std::size_t>(hash)] = true;
        }
        for (const bool isHit : hit) {
            EXPECT_TRUE(isHit) << "a bucket of " << bound << " is never used";
        }
    }
}

TEST(ktstd_MapIntegerHasher, HashIsTheFinishingStepOfMurmurHash3)
{
    // Published values of the 32-bit function for empty input, where the seed alone is finished:
    // 1 gives 514E28B7, FFFFFFFF gives 81F16F39. The bound leaves the low 31 bits.
    constexpr long kBound = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(ktstd_MapIntegerHasher::HashCode(0, kBound), 0);
    EXPECT_EQ(ktstd_MapIntegerHasher::HashCode(1, kBound), 0x514E28B7);
    EXPECT_EQ(ktstd_MapIntegerHasher::HashCode(-1, kBound), 0x01F16F39);
}

TEST(ktstd_MapIntegerHasher, HashIsTheRemainderWhateverTheBound)
{
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        const auto key = static_cast<std::uint32_t>(random());
        std::uint32_t spread = key;
        spread = (spread ^ (spread >> 16)) * 0x85EBCA6BU;
        spread = (spread ^ (spread >> 13)) * 0xC2B2AE35U;
        spread ^= spread >> 16;
        const long bound =
            i % 2 == 0 ? (1L << (random() % 30)) - 1 : static_cast<long>(random() % 1000000);
        EXPECT_EQ(ktstd_MapIntegerHasher::HashCode(
                      static_cast<long>(static_cast<std::int32_t>(key)), bound),
                  static_cast<long>(spread % (static_cast<std::uint32_t>(bound) + 1)))
            << key << ", " << bound;
    }
}

TEST(ktstd_MapIntegerHasher, ExtremeKeysHashLikeAllOthers)
{
    for (const long key : {0L, -1L, 2147483647L, -2147483647L - 1L}) {
        const long hash = ktstd_MapIntegerHasher::HashCode(key, 10);
        EXPECT_GE(hash, 0);
        EXPECT_LE(hash, 10);
    }
}

TEST(ktstd_MapIntegerHasher, KeysAreEqualWhenTheirNumbersAre)
{
    EXPECT_EQ(ktstd_MapIntegerHasher::IsEqual(7, 7), 1);
    EXPECT_EQ(ktstd_MapIntegerHasher::IsEqual(7, 8), 0);
    EXPECT_EQ(ktstd_MapIntegerHasher::IsEqual(7, -7), 0);
}
