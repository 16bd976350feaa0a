#include "ktmdl/ktmdl_TopoSeq.h"

#include "ktmdl/ktmdl_Topo.h"
#include "support/SequenceContract.h"
#include "support/SequenceRecordContract.h"
#include "support/TestTopo.h"

#include <gtest/gtest.h>

#include <memory>

using kt_test::makeTopo;
using kt_test::TopoGuard;

namespace {

struct TopoKit
{
    using Sequence = ktmdl_TopoSeq;
    using Element = Hnd_ktmdl_Topo;
    using Node = ktmdl_SequenceNodeOfTopoSeq;
    using NodeHandle = Hnd_ktmdl_SequenceNodeOfTopoSeq;
    using Guard = TopoGuard;

    static Element element(int aId) { return makeTopo({static_cast<unsigned char>(aId)}); }
    static int idOf(const Element& aTopo) { return kt_test::keyOf(aTopo); }
    static const char* nodeName() { return "ktmdl_SequenceNodeOfTopoSeq"; }
    static Hnd_ktstd_Type& nodeType() { return ktmdl_SequenceNodeOfTopoSeq_Type_(); }
    static kt_test::RecordBytes& record(kt_test::RecordBytes& aBytes, int aId)
    {
        return kt_test::newTopo(aBytes, {static_cast<unsigned char>(aId)});
    }
};

} // namespace

KT_SEQUENCE_TESTS(ktmdl_TopoSeq, TopoKit);
KT_SEQUENCE_RECORD_TESTS(ktmdl_TopoSeq, TopoKit);

TEST(ktmdl_TopoSeq, EveryElementHoldsOneCount)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    {
        ktmdl_TopoSeq sequence;
        sequence.Append(topo);
        EXPECT_EQ(topo->RefCount(), 2);
        sequence.Prepend(topo);
        EXPECT_EQ(topo->RefCount(), 3);
        sequence.InsertAfter(1, topo);
        EXPECT_EQ(topo->RefCount(), 4);
        sequence.Remove(2);
        EXPECT_EQ(topo->RefCount(), 3);
        sequence.Remove(1, 2);
        EXPECT_EQ(topo->RefCount(), 1);
        sequence.Append(topo);
        sequence.Append(topo);
        sequence.Clear();
        EXPECT_EQ(topo->RefCount(), 1);
        sequence.Append(topo);
        EXPECT_EQ(topo->RefCount(), 2);
    }
    EXPECT_EQ(topo->RefCount(), 1);
}

TEST(ktmdl_TopoSeq, LastElementDeletesItsReference)
{
    const TopoGuard guard;
    ktmdl_TopoSeq sequence;
    sequence.Append(makeTopo({1}));
    sequence.Append(makeTopo({2}));
    EXPECT_EQ(kt_test::TestTopo::alive(), 2);
    sequence.Remove(1);
    EXPECT_EQ(kt_test::TestTopo::alive(), 1);
    sequence.Clear();
    EXPECT_EQ(kt_test::TestTopo::alive(), 0);
}

TEST(ktmdl_TopoSeq, SetValueReleasesTheOldReferenceAndRetainsTheNew)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo before = makeTopo({1});
    const Hnd_ktmdl_Topo after = makeTopo({2});
    ktmdl_TopoSeq sequence;
    sequence.Append(before);
    sequence.SetValue(1, after);
    EXPECT_EQ(before->RefCount(), 1);
    EXPECT_EQ(after->RefCount(), 2);
    sequence.SetValue(1, after);
    EXPECT_EQ(after->RefCount(), 2);
    sequence.ChangeValue(1).Nullify();
    EXPECT_EQ(after->RefCount(), 1);
    EXPECT_EQ(sequence.Value(1).IsNull(), 1);
}

TEST(ktmdl_TopoSeq, AssignSharesTheReferences)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo first = makeTopo({1});
    const Hnd_ktmdl_Topo second = makeTopo({2});
    ktmdl_TopoSeq source;
    source.Append(first);
    source.Append(second);
    ktmdl_TopoSeq copy;
    copy.Append(first);
    copy.Assign(source);
    EXPECT_EQ(first->RefCount(), 3);
    EXPECT_EQ(second->RefCount(), 3);
    EXPECT_EQ(copy.Value(1), first);
    EXPECT_EQ(copy.Value(2), second);
    copy.Assign(copy);
    EXPECT_EQ(first->RefCount(), 3);
}

TEST(ktmdl_TopoSeq, OrderChangesLeaveTheCounts)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo first = makeTopo({1});
    const Hnd_ktmdl_Topo second = makeTopo({2});
    ktmdl_TopoSeq sequence;
    sequence.Append(first);
    sequence.Append(second);
    sequence.Exchange(1, 2);
    sequence.Reverse();
    sequence.Exchange(2, 2);
    EXPECT_EQ(first->RefCount(), 2);
    EXPECT_EQ(second->RefCount(), 2);
}

TEST(ktmdl_TopoSeq, RefusedElementIsNotHeld)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    ktmdl_TopoSeq sequence;
    EXPECT_TRUE(
        kt_test::raisesClass<Hnd_ktstd_fail_OutOfRange>([&] { sequence.InsertAfter(1, topo); }));
    EXPECT_TRUE(
        kt_test::raisesClass<Hnd_ktstd_fail_OutOfRange>([&] { sequence.SetValue(1, topo); }));
    EXPECT_EQ(topo->RefCount(), 1);
}

TEST(ktmdl_TopoSeq, HoldsNullHandles)
{
    const TopoGuard guard;
    ktmdl_TopoSeq sequence;
    sequence.Append(Hnd_ktmdl_Topo());
    sequence.Append(makeTopo({1}));
    sequence.Prepend(Hnd_ktmdl_Topo());
    EXPECT_EQ(sequence.Length(), 3);
    EXPECT_EQ(sequence.Value(1).IsNull(), 1);
    EXPECT_EQ(sequence.Value(2).IsNull(), 1);
    EXPECT_EQ(sequence.Value(3).IsNull(), 0);
}

TEST(ktmdl_TopoSeq, RecordNamesAnObjectOnceAndThenByNumber)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo first = makeTopo({7});
    const Hnd_ktmdl_Topo second = makeTopo({8, 9});
    ktmdl_TopoSeq sequence;
    sequence.Append(first);
    sequence.Append(second);
    sequence.Append(Hnd_ktmdl_Topo());
    sequence.Append(first);
    kt_test::RecordBytes wanted;
    wanted.u32(4);
    kt_test::newTopo(wanted, {7});
    kt_test::newTopo(wanted, {8, 9});
    wanted.u32(0).u32(1);
    EXPECT_EQ(kt_test::recordOf(sequence), wanted.bytes());
}

TEST(ktmdl_TopoSeq, SharedReferencesAreRestoredShared)
{
    const TopoGuard guard;
    kt_test::RecordBytes record;
    record.u32(4);
    kt_test::newTopo(record, {7});
    kt_test::newTopo(record, {7});
    record.u32(0).u32(1);
    ktmdl_TopoSeq sequence;
    ktstd_Archive archive(kt_test::archiveHolding(record.bytes()));
    archive >> sequence;
    ASSERT_EQ(sequence.Length(), 4);
    EXPECT_EQ(sequence.Value(4), sequence.Value(1));
    EXPECT_NE(sequence.Value(2), sequence.Value(1)) << "equal keys are not one object";
    EXPECT_EQ(sequence.Value(3).IsNull(), 1);
}

TEST(ktmdl_TopoSeq, ObjectOfAnotherClassIsRefused)
{
    const TopoGuard guard;
    kt_test::RecordBytes record;
    record.u32(1).beginObject("ktmdl_TopoHSeq");
    record.u32(0);
    ktmdl_TopoSeq sequence;
    ktstd_Archive archive(kt_test::archiveHolding(record.bytes()));
    EXPECT_TRUE(kt_test::raisesClass<Hnd_ktstd_fail_FileIO>([&] { archive >> sequence; }));
}
