#include "ktstd/ktstd_BaseSequence.h"

#include "ktstd/ktstd_SeqNode.h"
#include "support/Failures.h"
#include "support/SharedClass.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using kt_test::raises;
using kt_test::raisesClass;

static_assert(!std::is_default_constructible_v<ktstd_BaseSequence>);
static_assert(kt_test::keepsInheritedOperations<ktstd_SeqNode>);
static_assert(kt_test::keepsInheritedRecord<ktstd_SeqNode>);
static_assert(kt_test::hasOwnType<ktstd_SeqNode>);

namespace {

using Ids = std::vector<int>;
using OutOfRange = Hnd_ktstd_fail_OutOfRange;

//! What a sequence of three says of an index that it doesn't have.
std::string outOfThree(const std::string& aOperation, long aIdx)
{
    return "ktstd_BaseSequence::" + aOperation + " (aIdx=" + std::to_string(aIdx) + ", mSize=3)";
}

class NumberNode : public ktstd_SeqNode
{
public:
    explicit NumberNode(int aId) : ktstd_SeqNode(sNone, sNone), id(aId) {}

    int id;

private:
    static ktstd_SeqNode* const sNone;
};
ktstd_SeqNode* const NumberNode::sNone = nullptr;

//! Numbers of the nodes that were deleted, in order.
Ids gDeleted;

void deleteNode(ktstd_SeqNode* aNode)
{
    gDeleted.push_back(static_cast<NumberNode*>(aNode)->id);
    delete aNode;
}

//! A sequence of numbers straight on the kernel's operations.
class Numbers : public ktstd_BaseSequence
{
public:
    Numbers() = default;
    explicit Numbers(const Ids& aIds)
    {
        for (const int id : aIds) {
            append(id);
        }
        gDeleted.clear();
    }
    ~Numbers() { ktstd_BaseSequence::Clear(Deleter(&deleteNode)); }

    void append(int aId) { PAppend(untyped(new NumberNode(aId))); }
    void prepend(int aId) { PPrepend(untyped(new NumberNode(aId))); }
    void insertAfter(long aIdx, int aId)
    {
        auto* const node = new NumberNode(aId);
        try {
            PInsertAfter(aIdx, untyped(node));
        } catch (...) {
            delete node; // it still belongs to the caller
            throw;
        }
    }
    void split(long aIdx, Numbers& aOther) { PSplit(aIdx, aOther); }
    [[nodiscard]] int at(long aIdx) const
    {
        return static_cast<NumberNode*>(static_cast<ktstd_SeqNode*>(Find(aIdx)))->id;
    }
    void remove(long aIdx) { ktstd_BaseSequence::Remove(aIdx, Deleter(&deleteNode)); }
    void remove(long aFrom, long aTo)
    {
        ktstd_BaseSequence::Remove(aFrom, aTo, Deleter(&deleteNode));
    }
    void clear() { ktstd_BaseSequence::Clear(Deleter(&deleteNode)); }
    void appendNothing() { PAppend(nullptr); }
    void prependNothing() { PPrepend(nullptr); }
    void removeWithoutDeleter(long aIdx) { ktstd_BaseSequence::Remove(aIdx, nullptr); }
    void removeWithoutDeleter(long aFrom, long aTo)
    {
        ktstd_BaseSequence::Remove(aFrom, aTo, nullptr);
    }
    void clearWithoutDeleter() { ktstd_BaseSequence::Clear(nullptr); }
    //! Has the sequence believe that it holds so many elements; gives how many it did.
    long pretendLength(long aLength) { return std::exchange(mSize, aLength); }

    void expectIs(const Ids& aIds) const
    {
        ASSERT_EQ(Length(), static_cast<long>(aIds.size()));
        EXPECT_EQ(IsEmpty(), aIds.empty() ? 1 : 0);
        Ids forward;
        for (const ktstd_SeqNode* node = mFirstItem; node != nullptr; node = node->Next()) {
            forward.push_back(static_cast<const NumberNode*>(node)->id);
        }
        Ids backward;
        for (const ktstd_SeqNode* node = mLastItem; node != nullptr; node = node->Previous()) {
            backward.insert(backward.begin(), static_cast<const NumberNode*>(node)->id);
        }
        EXPECT_EQ(forward, aIds);
        EXPECT_EQ(backward, aIds);
        Ids found;
        for (long i = Length(); i >= 1; --i) {
            found.insert(found.begin(), at(i));
        }
        EXPECT_EQ(found, aIds);
    }

private:
    static void* untyped(ktstd_SeqNode* aNode) { return aNode; }
};

} // namespace

TEST(ktstd_BaseSequence, AppendPrependAndInsertPutInPlace)
{
    Numbers sequence;
    sequence.expectIs({});
    sequence.append(1);
    sequence.prepend(2);
    sequence.append(3);
    sequence.expectIs({2, 1, 3});
    for (long index = 0; index <= 3; ++index) {
        Numbers other({1, 2, 3});
        other.insertAfter(index, 9);
        Ids wanted = {1, 2, 3};
        wanted.insert(wanted.begin() + index, 9);
        other.expectIs(wanted);
    }
}

TEST(ktstd_BaseSequence, PositionsOutsideRaise)
{
    Numbers sequence({1, 2, 3});
    for (const long index : {0L, -1L, 4L}) {
        EXPECT_TRUE(raises<OutOfRange>(outOfThree("Find", index),
                                       [&] { static_cast<void>(sequence.at(index)); }));
        EXPECT_TRUE(
            raises<OutOfRange>(outOfThree("Remove", index), [&] { sequence.remove(index); }));
    }
    for (const long index : {-1L, 4L}) {
        EXPECT_TRUE(raises<OutOfRange>(outOfThree("PInsertAfter", index),
                                       [&] { sequence.insertAfter(index, 9); }));
    }
    EXPECT_TRUE(gDeleted.empty());
    sequence.expectIs({1, 2, 3});
}

TEST(ktstd_BaseSequence, RemoveDeletesEachNodeOnce)
{
    Numbers sequence({1, 2, 3, 4, 5});
    sequence.remove(2);
    EXPECT_EQ(gDeleted, Ids{2});
    sequence.remove(2, 3);
    std::sort(gDeleted.begin(), gDeleted.end());
    EXPECT_EQ(gDeleted, (Ids{2, 3, 4}));
    sequence.expectIs({1, 5});
    sequence.clear();
    std::sort(gDeleted.begin(), gDeleted.end());
    EXPECT_EQ(gDeleted, (Ids{1, 2, 3, 4, 5}));
    sequence.expectIs({});
    sequence.clear();
    EXPECT_EQ(gDeleted.size(), 5U);
}

TEST(ktstd_BaseSequence, RemoveOfABadRangeRaisesAndDeletesNothing)
{
    Numbers sequence({1, 2, 3});
    const std::vector<std::pair<long, long>> ranges = {{0, 2}, {1, 4}, {3, 2}, {2, 1}, {-1, -1}};
    for (const auto& range : ranges) {
        EXPECT_TRUE(raises<OutOfRange>("ktstd_BaseSequence::Remove (" +
                                           std::to_string(range.first) + ", " +
                                           std::to_string(range.second) + ", mSize=3)",
                                       [&] { sequence.remove(range.first, range.second); }));
    }
    EXPECT_TRUE(gDeleted.empty());
    sequence.expectIs({1, 2, 3});
}

TEST(ktstd_BaseSequence, ExchangeAndReverseDeleteNothing)
{
    Numbers sequence({1, 2, 3, 4});
    sequence.Exchange(1, 4);
    sequence.expectIs({4, 2, 3, 1});
    sequence.Exchange(2, 3);
    sequence.expectIs({4, 3, 2, 1});
    sequence.Exchange(3, 3);
    sequence.Reverse();
    sequence.expectIs({1, 2, 3, 4});
    EXPECT_TRUE(gDeleted.empty());
}

TEST(ktstd_BaseSequence, ExchangeOutsideRaises)
{
    Numbers sequence({1, 2, 3});
    const std::vector<std::pair<long, long>> pairs = {{0, 1}, {1, 0}, {4, 1}, {1, 4}};
    for (const auto& pair : pairs) {
        EXPECT_TRUE(raises<OutOfRange>("ktstd_BaseSequence::Exchange (" +
                                           std::to_string(pair.first) + ", " +
                                           std::to_string(pair.second) + ", mSize=3)",
                                       [&] { sequence.Exchange(pair.first, pair.second); }));
    }
    sequence.expectIs({1, 2, 3});
}

TEST(ktstd_BaseSequence, SplitMovesTheElementAndAllBehindIt)
{
    for (long index = 1; index <= 4; ++index) {
        for (const long cursor : {1L, 2L, 4L}) {
            Numbers sequence({1, 2, 3, 4});
            Numbers tail;
            static_cast<void>(sequence.at(cursor));
            sequence.split(index, tail);
            Ids head;
            Ids rest;
            for (int id = 1; id <= 4; ++id) {
                (id < index ? head : rest).push_back(id);
            }
            sequence.expectIs(head);
            tail.expectIs(rest);
            EXPECT_TRUE(gDeleted.empty());
            sequence.append(8);
            tail.append(9);
            head.push_back(8);
            rest.push_back(9);
            sequence.expectIs(head);
            tail.expectIs(rest);
        }
    }
}

TEST(ktstd_BaseSequence, SplitOutsideRaisesAndMovesNothing)
{
    Numbers sequence({1, 2, 3});
    Numbers tail;
    for (const long index : {0L, -1L, 4L}) {
        EXPECT_TRUE(
            raises<OutOfRange>(outOfThree("PSplit", index), [&] { sequence.split(index, tail); }));
    }
    sequence.expectIs({1, 2, 3});
    tail.expectIs({});
    Numbers empty;
    EXPECT_TRUE(raisesClass<OutOfRange>([&] { empty.split(1, tail); }));
}

TEST(ktstd_BaseSequence, SplitIntoItselfRaisesAndMovesNothing)
{
    Numbers sequence({1, 2, 3});
    EXPECT_TRUE(raisesClass<Hnd_ktstd_fail_DomainError>([&] { sequence.split(2, sequence); }));
    sequence.expectIs({1, 2, 3});
}

TEST(ktstd_BaseSequence, NullNodeRaisesAndChangesNothing)
{
    using Null = Hnd_ktstd_fail_NullObject;
    Numbers sequence({1, 2});
    EXPECT_TRUE(raisesClass<Null>([&] { sequence.appendNothing(); }));
    EXPECT_TRUE(raisesClass<Null>([&] { sequence.prependNothing(); }));
    sequence.expectIs({1, 2});
}

TEST(ktstd_BaseSequence, NullDeleterRaisesAndRemovesNothing)
{
    using Null = Hnd_ktstd_fail_NullObject;
    Numbers sequence({1, 2, 3});
    EXPECT_TRUE(raisesClass<Null>([&] { sequence.removeWithoutDeleter(1); }));
    EXPECT_TRUE(raisesClass<Null>([&] { sequence.removeWithoutDeleter(1, 2); }));
    EXPECT_TRUE(raisesClass<Null>([&] { sequence.clearWithoutDeleter(); }));
    EXPECT_TRUE(gDeleted.empty());
    sequence.expectIs({1, 2, 3});
}

TEST(ktstd_BaseSequence, FullSequenceTakesNoMore)
{
    constexpr long kMost = 2147483647;
    Numbers sequence({1, 2});
    Numbers other({3, 4});
    const long length = sequence.pretendLength(kMost);
    EXPECT_TRUE(raisesClass<OutOfRange>([&] { sequence.insertAfter(0, 9); }));
    EXPECT_TRUE(raisesClass<OutOfRange>([&] { sequence.insertAfter(kMost, 9); }));
    EXPECT_TRUE(raisesClass<OutOfRange>([&] { other.split(2, sequence); }));
    sequence.pretendLength(kMost - 1);
    EXPECT_TRUE(raisesClass<OutOfRange>([&] { other.split(1, sequence); })) << "two for one place";
    sequence.pretendLength(length);
    sequence.expectIs({1, 2});
    other.expectIs({3, 4});
}

TEST(ktstd_SeqNode, HoldsItsNeighbours)
{
    ktstd_SeqNode* const none = nullptr;
    const Hnd_ktstd_SeqNode first(new ktstd_SeqNode(none, none));
    ktstd_SeqNode* const neighbour = &*first;
    const Hnd_ktstd_SeqNode second(new ktstd_SeqNode(neighbour, none));
    const Hnd_ktstd_SeqNode third(new ktstd_SeqNode(none, neighbour));
    EXPECT_EQ(second->Next(), neighbour);
    EXPECT_EQ(second->Previous(), nullptr);
    EXPECT_EQ(third->Next(), nullptr);
    EXPECT_EQ(third->Previous(), neighbour);
    EXPECT_EQ(first->RefCount(), 1) << "links are plain pointers";
}

TEST(ktstd_SeqNode, HasItsType)
{
    ktstd_SeqNode* const none = nullptr;
    const Hnd_ktstd_Transient node(new ktstd_SeqNode(none, none));
    EXPECT_EQ(&node->DynamicType(), &ktstd_SeqNode_Type_());
    EXPECT_EQ(node->IsKind(ktstd_SeqNode_Type_()), 1);
    EXPECT_EQ(node->IsKind(ktstd_TShared_Type_()), 1);
    EXPECT_EQ(node->IsKind(ktstd_Transient_Type_()), 1);
    EXPECT_EQ(node->IsKind(ktstd_Type_Type_()), 0);
    EXPECT_EQ(Hnd_ktstd_SeqNode::DownCast(node), node);
}
