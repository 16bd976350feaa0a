// What the collection bases decide for themselves: the cursor, and the growth of maps.

#include "ktstd/ktstd_BaseSequence.h"
#include "ktstd/ktstd_BasicMap.h"
#include "ktstd/ktstd_BasicMapIterator.h"
#include "ktstd/ktstd_MapIntegerHasher.h"
#include "support/Failures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace {

class NumberNode : public ktstd_SeqNode
{
public:
    explicit NumberNode(int aNumber) : ktstd_SeqNode(nullptr, nullptr), number(aNumber) {}
    int number;
};

class Numbers : public ktstd_BaseSequence
{
public:
    Numbers() = default;
    explicit Numbers(int aCount)
    {
        for (int i = 1; i <= aCount; ++i) {
            Append(i);
        }
    }
    Numbers(const Numbers&) = delete;
    Numbers& operator=(const Numbers&) = delete;
    ~Numbers() { Empty(); }

    void Append(int aNumber) { PAppend(new NumberNode(aNumber)); }
    void Prepend(int aNumber) { PPrepend(new NumberNode(aNumber)); }
    void InsertAfter(long aIdx, int aNumber)
    {
        auto* const node = new NumberNode(aNumber);
        try {
            PInsertAfter(aIdx, node);
        } catch (...) {
            delete node;
            throw;
        }
    }
    [[nodiscard]] int At(long aIdx) const
    {
        return numberOf(static_cast<ktstd_SeqNode*>(Find(aIdx)));
    }
    void Cut(long aFrom, long aTo) { Remove(aFrom, aTo, Deleter(deleteNode)); }
    void Split(long aIdx, Numbers& aOther) { PSplit(aIdx, aOther); }
    void Empty() { Clear(Deleter(deleteNode)); }

    //! Gives the numbers by walking the links forwards; both directions must agree.
    [[nodiscard]] std::vector<int> All() const
    {
        std::vector<int> forwards;
        for (const ktstd_SeqNode* node = mFirstItem; node != nullptr; node = node->Next()) {
            forwards.push_back(numberOf(node));
        }
        std::vector<int> backwards;
        for (const ktstd_SeqNode* node = mLastItem; node != nullptr; node = node->Previous()) {
            backwards.push_back(numberOf(node));
        }
        std::reverse(backwards.begin(), backwards.end());
        EXPECT_EQ(forwards, backwards);
        EXPECT_EQ(static_cast<long>(forwards.size()), Length());
        if (mCurrentItem != nullptr) {
            EXPECT_GE(mCurrentIndex, 1);
            EXPECT_LE(mCurrentIndex, Length());
            const auto cursor = static_cast<std::size_t>(mCurrentIndex) - 1;
            EXPECT_EQ(numberOf(mCurrentItem), forwards.at(cursor));
        }
        return forwards;
    }

private:
    static int numberOf(const ktstd_SeqNode* aNode)
    {
        return static_cast<const NumberNode*>(aNode)->number;
    }
    static void deleteNode(ktstd_SeqNode* aNode) { delete aNode; }
};

class Keys : public ktstd_BasicMap
{
public:
    explicit Keys(long aSize, unsigned char aOneArray = 1) : ktstd_BasicMap(aSize, aOneArray) {}
    Keys(const Keys&) = delete;
    Keys& operator=(const Keys&) = delete;
    ~Keys() { Empty(); }

    void Add()
    {
        if (IsEmpty() != 0 || (IsGrowthSuppressed() == 0 && Extent() > NbBuckets())) {
            Resize(Extent());
        }
        const long bucket = ktstd_MapIntegerHasher::HashCode(mExtent, NbBuckets());
        Buckets()[bucket] = new ktstd_MapNode(Buckets()[bucket]);
        ++mExtent;
    }
    unsigned char Resize(long aSize)
    {
        long count = -5;
        ktstd_MapNode* first = nullptr;
        ktstd_MapNode* second = nullptr;
        if (BeginResize(aSize, count, first, second) == 0) {
            EXPECT_EQ(count, -5) << "outputs must be left";
            EXPECT_EQ(first, nullptr);
            return 0;
        }
        EXPECT_EQ(second == nullptr, mIsOneArray != 0);
        for (long i = 0; i <= count; ++i) {
            EXPECT_EQ(Slots(first)[i], nullptr);
        }
        long at = 0;
        for (long i = 0; Buckets() != nullptr && i <= NbBuckets(); ++i) {
            for (ktstd_MapNode* node = Buckets()[i]; node != nullptr;) {
                ktstd_MapNode* const next = node->Next();
                const long bucket = at++ % (count + 1);
                node->SetNext(Slots(first)[bucket]);
                Slots(first)[bucket] = node;
                node = next;
            }
        }
        EndResize(aSize, count, first, second);
        return 1;
    }
    void Empty()
    {
        for (long i = 0; Buckets() != nullptr && i <= NbBuckets(); ++i) {
            for (ktstd_MapNode* node = Buckets()[i]; node != nullptr;) {
                ktstd_MapNode* const next = node->Next();
                delete node;
                node = next;
            }
        }
        Destroy();
    }
    [[nodiscard]] bool HasArray() const { return Buckets() != nullptr; }
    void PutIn(long aBucket)
    {
        Buckets()[aBucket] = new ktstd_MapNode(Buckets()[aBucket]);
        ++mExtent;
    }
    [[nodiscard]] const ktstd_MapNode* Head(long aBucket) const { return Buckets()[aBucket]; }
    using ktstd_BasicMap::SuppressGrowth;
};

class KeyIterator : public ktstd_BasicMapIterator
{
public:
    using ktstd_BasicMapIterator::ktstd_BasicMapIterator;
    using ktstd_BasicMapIterator::Node;
};

} // namespace

TEST(ktstd_SequenceCursor, CursorStaysRightThroughRandomChanges)
{
    constexpr unsigned kSeed = 20250611;
    SCOPED_TRACE(testing::Message() << "seed " << kSeed);
    std::mt19937 random(kSeed);
    Numbers sequence;
    std::vector<int> model;
    const auto below = [&random](std::size_t aBound) { return random() % aBound; };
    for (int step = 0; step < 5000; ++step) {
        const auto size = model.size();
        const auto at = below(size + 1);
        const auto place = model.begin() + static_cast<std::ptrdiff_t>(at);
        switch (below(8)) {
        case 0:
            sequence.Prepend(step);
            model.insert(model.begin(), step);
            break;
        case 1:
        case 2:
            sequence.InsertAfter(static_cast<long>(at), step);
            model.insert(place, step);
            break;
        case 3:
            sequence.Append(step);
            model.push_back(step);
            break;
        case 4:
            sequence.Reverse();
            std::reverse(model.begin(), model.end());
            break;
        default:
            if (at < size) {
                const auto other = at + below(size - at);
                const auto end = model.begin() + static_cast<std::ptrdiff_t>(other) + 1;
                if (below(2) == 0) {
                    sequence.Exchange(static_cast<long>(other) + 1, static_cast<long>(at) + 1);
                    std::swap(model[at], model[other]);
                } else if (other - at < 4) {
                    sequence.Cut(static_cast<long>(at) + 1, static_cast<long>(other) + 1);
                    model.erase(place, end);
                } else {
                    EXPECT_EQ(sequence.At(static_cast<long>(other) + 1), model[other]);
                }
            }
        }
        ASSERT_EQ(sequence.All(), model) << "step " << step;
    }
    EXPECT_GT(model.size(), 10U);
}

TEST(ktstd_SequenceCursor, SplitMovesTheTailBehindWhatIsThere)
{
    for (long at = 1; at <= 4; ++at) {
        Numbers sequence(4);
        Numbers other(2);
        static_cast<void>(sequence.At(3));
        sequence.Split(at, other);
        std::vector<int> kept;
        std::vector<int> moved = {1, 2};
        for (int i = 1; i <= 4; ++i) {
            (i < at ? kept : moved).push_back(i);
        }
        EXPECT_EQ(sequence.All(), kept);
        EXPECT_EQ(other.All(), moved);
        sequence.Append(9);
        EXPECT_EQ(sequence.At(at), 9);
    }
}

TEST(ktstd_SequenceCursor, SplitIntoItselfIsRefused)
{
    Numbers sequence(3);
    EXPECT_TRUE(
        kt_test::raisesClass<Hnd_ktstd_fail_DomainError>([&] { sequence.Split(2, sequence); }));
    EXPECT_EQ(sequence.All(), (std::vector<int>{1, 2, 3}));
}

TEST(ktstd_SequenceCursor, WalkingALongSequenceTakesOneStepEach)
{
    // Quadratic walking would take some 10^10 steps.
    Numbers sequence(200000);
    long sum = 0;
    for (long i = 1; i <= sequence.Length(); ++i) {
        sum += sequence.At(i) == i ? 1 : 0;
    }
    for (long i = sequence.Length(); i >= 1; --i) {
        sum += sequence.At(i) == i ? 1 : 0;
    }
    EXPECT_EQ(sum, 400000);
}

TEST(ktstd_MapGrowth, BucketsAreAPowerOfTwoAndGrowWithTheKeys)
{
    Keys keys(0);
    EXPECT_FALSE(keys.HasArray());
    for (long i = 0; i < 5000; ++i) {
        keys.Add();
        EXPECT_EQ((keys.NbBuckets() + 1) & keys.NbBuckets(), 0);
        EXPECT_LE(keys.Extent(), keys.NbBuckets() + 1);
        EXPECT_LE(keys.NbBuckets(), std::max(7L, 2 * keys.Extent() + 1));
    }
    EXPECT_EQ(keys.NbBuckets(), 8191); // the smallest 2^k - 1 that 5000 keys don't exceed
}

TEST(ktstd_MapGrowth, SizeAskedForIsUsedWhenTheArrayIsMade)
{
    Keys keys(1000);
    EXPECT_EQ(keys.NbBuckets(), 1000);
    keys.Add();
    EXPECT_EQ(keys.NbBuckets(), 1023);
    EXPECT_EQ(keys.Resize(10), 0) << "a table that is large enough stays";
    EXPECT_EQ(keys.NbBuckets(), 1023);
    EXPECT_EQ(keys.Resize(1023), 1);
    EXPECT_EQ(keys.NbBuckets(), 2047);
}

TEST(ktstd_MapGrowth, NonsenseSizesLeaveTheChoiceToTheMap)
{
    for (const long size : {-1L, static_cast<long>(INT32_MIN)}) {
        Keys keys(size);
        EXPECT_EQ(keys.Resize(size), 1);
        EXPECT_EQ(keys.NbBuckets(), 7);
    }
}

TEST(ktstd_MapGrowth, TwoArrayFormHasBothArrays)
{
    Keys keys(20, 0);
    EXPECT_EQ(keys.Resize(20), 1);
    EXPECT_EQ(keys.NbBuckets(), 31);
}

TEST(ktstd_MapGrowth, DestroyedMapStartsAnew)
{
    Keys keys(500);
    keys.Add();
    keys.Empty();
    EXPECT_FALSE(keys.HasArray());
    EXPECT_EQ(keys.Extent(), 0);
    EXPECT_EQ(keys.NbBuckets(), 0);
    keys.Add();
    EXPECT_EQ(keys.NbBuckets(), 7);
}

TEST(ktstd_MapGrowth, SuppressedGrowthKeepsTheTable)
{
    Keys keys(0);
    keys.SuppressGrowth(1);
    for (int i = 0; i < 100; ++i) {
        keys.Add();
    }
    EXPECT_EQ(keys.NbBuckets(), 7);
}

TEST(ktstd_MapWalk, WalksFromTheFirstBucketToTheLastEachFromItsHead)
{
    Keys keys(0);
    ASSERT_EQ(keys.Resize(0), 1);
    for (const long bucket : {7L, 0L, 3L, 3L, 7L}) {
        keys.PutIn(bucket);
    }
    std::vector<const ktstd_MapNode*> wanted;
    for (long bucket = 0; bucket <= keys.NbBuckets(); ++bucket) {
        for (const ktstd_MapNode* node = keys.Head(bucket); node != nullptr; node = node->Next()) {
            wanted.push_back(node);
        }
    }
    ASSERT_EQ(wanted.size(), 5U);
    std::vector<const ktstd_MapNode*> found;
    KeyIterator walk(keys);
    for (; walk.More() != 0; walk.Next()) {
        found.push_back(walk.Node());
    }
    EXPECT_EQ(found, wanted);
    walk.Next();
    EXPECT_EQ(walk.More(), 0);
    EXPECT_EQ(walk.Node(), nullptr);
}

TEST(ktstd_MapWalk, MapWithoutArrayIsAtItsEnd)
{
    const Keys keys(10);
    KeyIterator walk;
    EXPECT_EQ(walk.More(), 0);
    walk.Initialize(keys);
    EXPECT_EQ(walk.More(), 0);
}

TEST(ktstd_IntegerHash, ResultLiesBetweenZeroAndTheBound)
{
    for (const long bound : {0L, 1L, 7L, 1000L, static_cast<long>(INT32_MAX)}) {
        for (const long key :
             {0L, 1L, -1L, static_cast<long>(INT32_MAX), static_cast<long>(INT32_MIN)}) {
            EXPECT_GE(ktstd_MapIntegerHasher::HashCode(key, bound), 0);
            EXPECT_LE(ktstd_MapIntegerHasher::HashCode(key, bound), bound);
        }
    }
    EXPECT_EQ(ktstd_MapIntegerHasher::HashCode(5, -1), -1);
}

TEST(ktstd_IntegerHash, OnlyTheLow32BitsCount)
{
    if constexpr (sizeof(long) == sizeof(std::int32_t)) {
        GTEST_SKIP() << "a long has no more";
    } else {
        for (const long key : {1L, 77L, 0x7FFFFFFFL}) {
            const long above = key + static_cast<long>(0x1234LL << 32);
            EXPECT_EQ(ktstd_MapIntegerHasher::HashCode(key, 1023),
                      ktstd_MapIntegerHasher::HashCode(above, 1023));
            EXPECT_EQ(ktstd_MapIntegerHasher::IsEqual(key, above), 1);
        }
        const long signExtended = -5;
        const long zeroExtended = 0xFFFFFFFBL;
        EXPECT_EQ(ktstd_MapIntegerHasher::HashCode(signExtended, 1023),
                  ktstd_MapIntegerHasher::HashCode(zeroExtended, 1023));
    }
}

TEST(ktstd_IntegerHash, KeysThatDifferInFewBitsSpread)
{
    // 1024 keys over 1024 buckets: a random spread leaves about 1024/e = 377 empty, with a standard
    // deviation of about 10. Keys that step by a power of two are the ones that plain masks lose.
    for (int shift = 0; shift <= 20; ++shift) {
        std::vector<int> buckets(1024);
        for (long i = 0; i < 1024; ++i) {
            const auto bits = static_cast<std::uint32_t>(i) << shift;
            const long key = static_cast<long>(static_cast<std::int32_t>(bits));
            ++buckets[static_cast<std::size_t>(ktstd_MapIntegerHasher::HashCode(key, 1023))];
        }
        EXPECT_LT(std::count(buckets.begin(), buckets.end(), 0), 377 + 60) << "shift " << shift;
        EXPECT_LT(*std::max_element(buckets.begin(), buckets.end()), 12) << "shift " << shift;
    }
}
