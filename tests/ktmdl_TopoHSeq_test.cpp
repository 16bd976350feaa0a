#include "ktmdl/ktmdl_TopoHSeq.h"

#include "ktmdl/ktmdl_Topo.h"
#include "support/Failures.h"
#include "support/Records.h"
#include "support/SequenceContract.h"
#include "support/SharedClass.h"
#include "support/Slots.h"
#include "support/TestTopo.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

using kt_test::makeTopo;
using kt_test::raises;
using kt_test::raisesClass;
using kt_test::TopoGuard;

static_assert(kt_test::keepsInheritedOperations<ktmdl_TopoHSeq>);
static_assert(kt_test::hasOwnType<ktmdl_TopoHSeq>);
static_assert(!kt_test::keepsInheritedRecord<ktmdl_TopoHSeq>);

namespace {

using Keys = std::vector<int>;
using OutOfRange = Hnd_ktstd_fail_OutOfRange;

Hnd_ktmdl_TopoHSeq makeSeq(const Keys& aKeys)
{
    Hnd_ktmdl_TopoHSeq sequence(new ktmdl_TopoHSeq());
    for (const int key : aKeys) {
        sequence->Append(makeTopo({static_cast<unsigned char>(key)}));
    }
    return sequence;
}

Keys keysOf(const Hnd_ktmdl_TopoHSeq& aSequence)
{
    Keys keys;
    for (long i = 1; i <= aSequence->Length(); ++i) {
        keys.push_back(kt_test::keyOf(aSequence->Value(i)));
    }
    return keys;
}

std::string text(const char* aOperation, long aIdx, long aSize)
{
    return std::string("ktstd_Sequence::") + aOperation + " (aIdx=" + std::to_string(aIdx) +
           ", mSize=" + std::to_string(aSize) + ")";
}

Keys joined(const Keys& aFirst, const Keys& aSecond)
{
    Keys keys(aFirst);
    keys.insert(keys.end(), aSecond.begin(), aSecond.end());
    return keys;
}

class Probe : public ktmdl_TopoHSeq
{
public:
    virtual void Behind() {}
};

} // namespace

TEST(ktmdl_TopoHSeq, NewSequenceIsEmptyAndHeldByNobody)
{
    const TopoGuard guard;
    auto* const object = new ktmdl_TopoHSeq();
    EXPECT_EQ(object->RefCount(), 0);
    const Hnd_ktmdl_TopoHSeq sequence(object);
    EXPECT_EQ(sequence->RefCount(), 1);
    EXPECT_EQ(sequence->Length(), 0);
    EXPECT_EQ(sequence->IsEmpty(), 1);
}

TEST(ktmdl_TopoHSeq, HasItsType)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({});
    const Hnd_ktstd_Type& type = ktmdl_TopoHSeq_Type_();
    EXPECT_EQ(&type, &ktmdl_TopoHSeq_Type_());
    EXPECT_EQ(&sequence->DynamicType(), &type);
    EXPECT_STREQ(type->Name(), "ktmdl_TopoHSeq");
    EXPECT_EQ(type->Size(), static_cast<long>(sizeof(ktmdl_TopoHSeq)));
    EXPECT_EQ(type->NbParents(), 1);
    EXPECT_EQ(type->Ancestors()[0], ktstd_TShared_Type_());
    EXPECT_EQ(type->Ancestors()[1], ktstd_Transient_Type_());
    EXPECT_EQ(type->Ancestors()[2].IsNull(), 1);
    EXPECT_EQ(sequence->IsKind(type), 1);
    EXPECT_EQ(sequence->IsKind(ktstd_TShared_Type_()), 1);
    EXPECT_EQ(sequence->IsKind(ktstd_Transient_Type_()), 1);
    EXPECT_EQ(sequence->IsKind(ktmdl_Topo_Type_()), 0);
    EXPECT_EQ(sequence->IsKind(ktstd_SeqNode_Type_()), 0);
}

TEST(ktmdl_TopoHSeq, IsCastDown)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({});
    const Hnd_ktstd_Transient plain(sequence);
    const Hnd_ktmdl_TopoHSeq cast = Hnd_ktmdl_TopoHSeq::DownCast(plain);
    EXPECT_EQ(cast, sequence);
    EXPECT_EQ(sequence->RefCount(), 3);
    EXPECT_EQ(Hnd_ktmdl_TopoHSeq::DownCast(Hnd_ktstd_Transient()).IsNull(), 1);
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    EXPECT_EQ(Hnd_ktmdl_TopoHSeq::DownCast(topo).IsNull(), 1);
    EXPECT_EQ(Hnd_ktmdl_Topo::DownCast(sequence).IsNull(), 1);
    EXPECT_EQ(sequence->RefCount(), 3);
}

TEST(ktmdl_TopoHSeq, LastHandleReleasesTheElements)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    Hnd_ktmdl_TopoHSeq sequence = makeSeq({2});
    sequence->Append(topo);
    Hnd_ktmdl_TopoHSeq second(sequence);
    sequence.Nullify();
    EXPECT_EQ(topo->RefCount(), 2);
    EXPECT_EQ(kt_test::TestTopo::alive(), 2);
    second.Nullify();
    EXPECT_EQ(topo->RefCount(), 1);
    EXPECT_EQ(kt_test::TestTopo::alive(), 1);
}

TEST(ktmdl_TopoHSeq, AppendAndPrependPutAtTheEnds)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({});
    sequence->Append(makeTopo({1}));
    sequence->Append(makeTopo({2}));
    sequence->Prepend(makeTopo({3}));
    EXPECT_EQ(keysOf(sequence), (Keys{3, 1, 2}));
    EXPECT_EQ(sequence->IsEmpty(), 0);
}

TEST(ktmdl_TopoHSeq, ElementsShareTheReference)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({});
    sequence->Append(topo);
    EXPECT_EQ(topo->RefCount(), 2);
    sequence->Prepend(topo);
    sequence->InsertAfter(1, topo);
    sequence->InsertBefore(1, topo);
    EXPECT_EQ(topo->RefCount(), 5);
    EXPECT_EQ(sequence->Value(3), topo);
    sequence->Remove(1);
    EXPECT_EQ(topo->RefCount(), 4);
    sequence->Remove(1, 2);
    EXPECT_EQ(topo->RefCount(), 2);
    sequence->Clear();
    EXPECT_EQ(topo->RefCount(), 1);
    EXPECT_EQ(sequence->Length(), 0);
}

TEST(ktmdl_TopoHSeq, InsertAfterAndBeforePutAtEveryPlace)
{
    const TopoGuard guard;
    for (long index = 0; index <= 3; ++index) {
        Keys wanted = {1, 2, 3};
        wanted.insert(wanted.begin() + index, 9);
        const Hnd_ktmdl_TopoHSeq after = makeSeq({1, 2, 3});
        after->InsertAfter(index, makeTopo({9}));
        EXPECT_EQ(keysOf(after), wanted);
        const Hnd_ktmdl_TopoHSeq before = makeSeq({1, 2, 3});
        before->InsertBefore(index + 1, makeTopo({9}));
        EXPECT_EQ(keysOf(before), wanted);
    }
}

TEST(ktmdl_TopoHSeq, IndexFailuresAreThoseOfTheSequence)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo topo = makeTopo({9});
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2, 3});
    const auto use = [](const Hnd_ktmdl_Topo&) {};
    for (const long index : {0L, 4L}) {
        EXPECT_TRUE(
            raises<OutOfRange>(text("Value", index, 3), [&] { use(sequence->Value(index)); }));
        EXPECT_TRUE(raises<OutOfRange>(text("ChangeValue", index, 3),
                                       [&] { use(sequence->ChangeValue(index)); }));
        EXPECT_TRUE(raises<OutOfRange>(text("ChangeValue", index, 3),
                                       [&] { sequence->SetValue(index, topo); }));
        EXPECT_TRUE(raisesClass<OutOfRange>([&] { sequence->Remove(index); }));
        EXPECT_TRUE(raisesClass<OutOfRange>([&] { sequence->Exchange(1, index); }));
        EXPECT_TRUE(raisesClass<OutOfRange>([&] { sequence->Exchange(index, 1); }));
    }
    for (const long index : {-1L, 4L}) {
        EXPECT_TRUE(raises<OutOfRange>(text("InsertAfter", index, 3),
                                       [&] { sequence->InsertAfter(index, topo); }));
    }
    EXPECT_TRUE(raisesClass<OutOfRange>([&] { sequence->Remove(2, 1); }));
    EXPECT_TRUE(raisesClass<OutOfRange>([&] { sequence->Remove(0, 1); }));
    EXPECT_TRUE(raisesClass<OutOfRange>([&] { sequence->Remove(3, 4); }));
    EXPECT_EQ(keysOf(sequence), (Keys{1, 2, 3}));
    EXPECT_EQ(topo->RefCount(), 1);
}

TEST(ktmdl_TopoHSeq, InsertBeforeReportsTheLoweredIndexOfInsertAfter)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo topo = makeTopo({9});
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2, 3});
    EXPECT_TRUE(
        raises<OutOfRange>(text("InsertAfter", -1, 3), [&] { sequence->InsertBefore(0, topo); }));
    EXPECT_TRUE(
        raises<OutOfRange>(text("InsertAfter", 4, 3), [&] { sequence->InsertBefore(5, topo); }));
    EXPECT_EQ(keysOf(sequence), (Keys{1, 2, 3}));
}

TEST(ktmdl_TopoHSeq, LowestIndexBeforeWhichToInsertIsNotWrapped)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo topo = makeTopo({9});
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2, 3});
    EXPECT_TRUE(raisesClass<OutOfRange>(
        [&] { sequence->InsertBefore(std::numeric_limits<long>::min(), topo); }));
    EXPECT_TRUE(raisesClass<OutOfRange>(
        [&] { sequence->InsertBefore(std::numeric_limits<long>::min(), makeSeq({4})); }));
    EXPECT_TRUE(raisesClass<OutOfRange>(
        [&] { sequence->InsertAfter(std::numeric_limits<long>::max(), makeSeq({4})); }));
    EXPECT_EQ(keysOf(sequence), (Keys{1, 2, 3}));
}

TEST(ktmdl_TopoHSeq, IndexBeyond32BitsIsNotCut)
{
    const TopoGuard guard;
    const long big = kt_test::beyond32Bits();
    if (big == 0) {
        GTEST_SKIP() << "long has 32 bits here";
    }
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2, 3});
    EXPECT_TRUE(raises<OutOfRange>(text("InsertAfter", big, 3),
                                   [&] { sequence->InsertAfter(big, makeTopo({9})); }));
    EXPECT_TRUE(raises<OutOfRange>(text("InsertAfter", big, 3),
                                   [&] { sequence->InsertAfter(big, makeSeq({9})); }));
    EXPECT_TRUE(raises<OutOfRange>(text("InsertAfter", big, 3),
                                   [&] { sequence->InsertBefore(big + 1, makeTopo({9})); }));
    EXPECT_TRUE(raisesClass<OutOfRange>([&] { static_cast<void>(sequence->Split(big + 1)); }));
    EXPECT_EQ(keysOf(sequence), (Keys{1, 2, 3}));
}

TEST(ktmdl_TopoHSeq, RemoveExchangeReverseAndClearAct)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2, 3, 4, 5});
    sequence->Exchange(1, 4);
    EXPECT_EQ(keysOf(sequence), (Keys{4, 2, 3, 1, 5}));
    sequence->Reverse();
    EXPECT_EQ(keysOf(sequence), (Keys{5, 1, 3, 2, 4}));
    sequence->Remove(2);
    EXPECT_EQ(keysOf(sequence), (Keys{5, 3, 2, 4}));
    sequence->Remove(2, 3);
    EXPECT_EQ(keysOf(sequence), (Keys{5, 4}));
    sequence->Clear();
    EXPECT_EQ(keysOf(sequence), Keys{});
}

TEST(ktmdl_TopoHSeq, SetValueReleasesTheOldReferenceAndRetainsTheNew)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo before = makeTopo({1});
    const Hnd_ktmdl_Topo after = makeTopo({2});
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({7});
    sequence->Append(before);
    sequence->SetValue(2, after);
    EXPECT_EQ(before->RefCount(), 1);
    EXPECT_EQ(after->RefCount(), 2);
    sequence->ChangeValue(2) = before;
    EXPECT_EQ(before->RefCount(), 2);
    EXPECT_EQ(after->RefCount(), 1);
    EXPECT_EQ(keysOf(sequence), (Keys{7, 1}));
}

TEST(ktmdl_TopoHSeq, AppendOfASequenceAddsItInOrder)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq other = makeSeq({4, 5, 6});
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2});
    sequence->Append(other);
    EXPECT_EQ(keysOf(sequence), (Keys{1, 2, 4, 5, 6}));
    EXPECT_EQ(keysOf(other), (Keys{4, 5, 6}));
    EXPECT_EQ(sequence->Value(3), other->Value(1));
    EXPECT_EQ(other->Value(1)->RefCount(), 2);
}

TEST(ktmdl_TopoHSeq, PrependOfASequencePutsItFirstInOrder)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq other = makeSeq({4, 5, 6});
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2});
    sequence->Prepend(other);
    EXPECT_EQ(keysOf(sequence), (Keys{4, 5, 6, 1, 2}));
    EXPECT_EQ(keysOf(other), (Keys{4, 5, 6}));
}

TEST(ktmdl_TopoHSeq, InsertOfASequencePutsItInOrderAtEveryPlace)
{
    const TopoGuard guard;
    for (long index = 0; index <= 3; ++index) {
        Keys wanted = {1, 2, 3};
        const Keys added = {4, 5, 6};
        wanted.insert(wanted.begin() + index, added.begin(), added.end());
        const Hnd_ktmdl_TopoHSeq after = makeSeq({1, 2, 3});
        after->InsertAfter(index, makeSeq(added));
        EXPECT_EQ(keysOf(after), wanted);
        const Hnd_ktmdl_TopoHSeq before = makeSeq({1, 2, 3});
        before->InsertBefore(index + 1, makeSeq(added));
        EXPECT_EQ(keysOf(before), wanted);
    }
}

TEST(ktmdl_TopoHSeq, InsertOfASequenceOutsideRaises)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq other = makeSeq({4, 5});
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2, 3});
    EXPECT_TRUE(
        raises<OutOfRange>(text("InsertAfter", -1, 3), [&] { sequence->InsertAfter(-1, other); }));
    EXPECT_TRUE(
        raises<OutOfRange>(text("InsertAfter", 4, 3), [&] { sequence->InsertAfter(4, other); }));
    EXPECT_TRUE(
        raises<OutOfRange>(text("InsertAfter", -1, 3), [&] { sequence->InsertBefore(0, other); }));
    EXPECT_TRUE(
        raises<OutOfRange>(text("InsertAfter", 4, 3), [&] { sequence->InsertBefore(5, other); }));
    EXPECT_EQ(keysOf(sequence), (Keys{1, 2, 3}));
}

TEST(ktmdl_TopoHSeq, EmptySequenceAddsNothingAndNoIndexIsLookedAt)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq empty = makeSeq({});
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2, 3});
    sequence->Append(empty);
    sequence->Prepend(empty);
    for (const long index : {-5L, 0L, 3L, 77L}) {
        EXPECT_NO_THROW(sequence->InsertAfter(index, empty));
        EXPECT_NO_THROW(sequence->InsertBefore(index, empty));
    }
    EXPECT_EQ(keysOf(sequence), (Keys{1, 2, 3}));
}

TEST(ktmdl_TopoHSeq, NullSequenceRaises)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq none;
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2, 3});
    using Null = Hnd_ktstd_fail_NullObject;
    EXPECT_TRUE(raisesClass<Null>([&] { sequence->Append(none); }));
    EXPECT_TRUE(raisesClass<Null>([&] { sequence->Prepend(none); }));
    EXPECT_TRUE(raisesClass<Null>([&] { sequence->InsertAfter(1, none); }));
    EXPECT_TRUE(raisesClass<Null>([&] { sequence->InsertBefore(1, none); }));
    EXPECT_EQ(keysOf(sequence), (Keys{1, 2, 3}));
}

TEST(ktmdl_TopoHSeq, AppendedToItselfItDoubles)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2, 3});
    sequence->Append(sequence);
    EXPECT_EQ(keysOf(sequence), joined({1, 2, 3}, {1, 2, 3}));
    EXPECT_EQ(sequence->RefCount(), 1);
}

TEST(ktmdl_TopoHSeq, PrependedToItselfItDoubles)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2, 3});
    sequence->Prepend(sequence);
    EXPECT_EQ(keysOf(sequence), joined({1, 2, 3}, {1, 2, 3}));
}

TEST(ktmdl_TopoHSeq, InsertedIntoItselfItTakesWhatThenStandsAtEachPlace)
{
    const TopoGuard guard;
    const Keys start = {1, 2, 3, 4};
    for (long index = 0; index <= 4; ++index) {
        // Step k puts what stands at place k by then behind place index - 1 + k.
        Keys wanted(start);
        for (long k = 1; k <= 4; ++k) {
            const int key = wanted[static_cast<std::size_t>(k - 1)];
            wanted.insert(wanted.begin() + (index - 1 + k), key);
        }
        const Hnd_ktmdl_TopoHSeq after = makeSeq(start);
        after->InsertAfter(index, after);
        EXPECT_EQ(keysOf(after), wanted) << "after " << index;
        const Hnd_ktmdl_TopoHSeq before = makeSeq(start);
        before->InsertBefore(index + 1, before);
        EXPECT_EQ(keysOf(before), wanted) << "before " << index + 1;
    }
}

TEST(ktmdl_TopoHSeq, ShallowCopyIsANewSequenceOfTheSameReferences)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2, 3});
    const Hnd_ktmdl_TopoHSeq copy = sequence->ShallowCopy();
    EXPECT_NE(copy, sequence);
    EXPECT_EQ(copy->RefCount(), 1);
    EXPECT_EQ(sequence->RefCount(), 1);
    ASSERT_EQ(copy->Length(), 3);
    for (long i = 1; i <= 3; ++i) {
        EXPECT_EQ(copy->Value(i), sequence->Value(i));
        EXPECT_EQ(copy->Value(i)->RefCount(), 2);
    }
    copy->Append(makeTopo({4}));
    EXPECT_EQ(sequence->Length(), 3);
    sequence->Remove(1);
    EXPECT_EQ(keysOf(copy), (Keys{1, 2, 3, 4}));
}

TEST(ktmdl_TopoHSeq, ShallowCopyOfAnEmptySequenceIsEmptyAndDistinct)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({});
    const Hnd_ktmdl_TopoHSeq copy = sequence->ShallowCopy();
    ASSERT_EQ(copy.IsNull(), 0);
    EXPECT_NE(copy, sequence);
    EXPECT_EQ(copy->Length(), 0);
}

TEST(ktmdl_TopoHSeq, SplitMovesTheElementAndAllBehindIt)
{
    const TopoGuard guard;
    for (long index = 1; index <= 4; ++index) {
        for (const long cursor : {1L, 2L, 4L}) {
            const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2, 3, 4});
            const auto use = [](const Hnd_ktmdl_Topo&) {};
            use(sequence->Value(cursor));
            const Hnd_ktmdl_TopoHSeq tail = sequence->Split(index);
            ASSERT_EQ(tail.IsNull(), 0);
            EXPECT_EQ(tail->RefCount(), 1);
            Keys head;
            Keys rest;
            for (int key = 1; key <= 4; ++key) {
                (key < index ? head : rest).push_back(key);
            }
            EXPECT_EQ(keysOf(sequence), head);
            EXPECT_EQ(keysOf(tail), rest);
            for (long i = 1; i <= tail->Length(); ++i) {
                EXPECT_EQ(tail->Value(i)->RefCount(), 1);
            }
            // Both still work.
            sequence->Append(makeTopo({8}));
            tail->Prepend(makeTopo({9}));
            EXPECT_EQ(keysOf(sequence), joined(head, {8}));
            EXPECT_EQ(keysOf(tail), joined({9}, rest));
        }
    }
}

TEST(ktmdl_TopoHSeq, SplitOutsideRaisesAndMovesNothing)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2, 3});
    for (const long index : {0L, -1L, 4L}) {
        EXPECT_TRUE(raisesClass<OutOfRange>([&] { static_cast<void>(sequence->Split(index)); }));
        EXPECT_EQ(keysOf(sequence), (Keys{1, 2, 3}));
    }
    const Hnd_ktmdl_TopoHSeq empty = makeSeq({});
    EXPECT_TRUE(raisesClass<OutOfRange>([&] { static_cast<void>(empty->Split(1)); }));
}

TEST(ktmdl_TopoHSeq, OwnElementMayBeTheArgument)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2, 3});
    sequence->Append(sequence->Value(1));
    sequence->Prepend(sequence->Value(3));
    sequence->SetValue(2, sequence->Value(4));
    sequence->SetValue(3, sequence->Value(3));
    EXPECT_EQ(keysOf(sequence), (Keys{3, 3, 2, 3, 1}));
}

TEST(ktmdl_TopoHSeq, RecordIsThatOfTheSequenceAlone)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({7, 8});
    sequence->Append(sequence->Value(1));
    kt_test::RecordBytes wanted;
    wanted.u32(3);
    kt_test::newTopo(wanted, {7});
    kt_test::newTopo(wanted, {8});
    wanted.u32(1);
    EXPECT_EQ(kt_test::recordOf(*sequence), wanted.bytes());
}

TEST(ktmdl_TopoHSeq, LoadingReplacesTheContent)
{
    const TopoGuard guard;
    kt_test::RecordBytes record;
    record.u32(2);
    kt_test::newTopo(record, {7});
    record.u32(1);
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({1, 2, 3});
    ktstd_Archive archive(kt_test::archiveHolding(record.bytes()));
    sequence->Serialize(archive);
    EXPECT_EQ(keysOf(sequence), (Keys{7, 7}));
    EXPECT_EQ(sequence->Value(1), sequence->Value(2));
    EXPECT_EQ(kt_test::TestTopo::alive(), 0);
}

TEST(ktmdl_TopoHSeq, IsStoredByReferenceUnderItsName)
{
    const TopoGuard guard;
    const Hnd_ktmdl_TopoHSeq sequence = makeSeq({7});
    kt_test::RecordBytes wanted;
    const std::uint32_t number = wanted.beginObject("ktmdl_TopoHSeq");
    wanted.u32(1);
    kt_test::newTopo(wanted, {7}).endObject(number).u32(number);
    const kt_test::Bytes bytes = kt_test::dataOf([&](ktstd_Archive& aArchive) {
        aArchive << sequence;
        aArchive << sequence;
    });
    ASSERT_EQ(bytes, wanted.bytes());

    ktstd_Archive archive(kt_test::archiveHolding(bytes));
    Hnd_ktmdl_TopoHSeq first;
    Hnd_ktstd_Transient second;
    archive >> first;
    archive >> second;
    EXPECT_EQ(keysOf(first), (Keys{7}));
    EXPECT_EQ(first, second);
}

TEST(ktmdl_TopoHSeq, LayoutIsTheSharedObjectAndTheSequence)
{
    EXPECT_EQ(sizeof(ktmdl_TopoHSeq), sizeof(ktstd_TShared) + sizeof(ktmdl_TopoSeq));
    EXPECT_EQ(sizeof(Hnd_ktmdl_TopoHSeq), sizeof(void*));
#if KT_TEST_HAS_SLOTS
    EXPECT_EQ(kt_test::slotOf(&ktmdl_TopoHSeq::Serialize), 4);
    EXPECT_EQ(kt_test::slotOf(&ktmdl_TopoHSeq::DynamicType), 6);
    EXPECT_EQ(kt_test::slotOf(&ktmdl_TopoHSeq::IsKind), 7);
    EXPECT_EQ(kt_test::slotOf(&Probe::Behind), 12);
#endif
}
