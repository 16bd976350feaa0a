#include "ktstd/ktstd_TransientHSeq.h"

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_TransientSeq.h"
#include "support/Failures.h"
#include "support/Records.h"
#include "support/SharedClass.h"
#include "support/TestShared.h"

#include <gtest/gtest.h>

#include <cstdint>

using kt_test::archiveHolding;
using kt_test::raisesClass;
using kt_test::RecordBytes;
using kt_test::SharedGuard;

static_assert(kt_test::keepsInheritedOperations<ktstd_TransientHSeq>);
static_assert(kt_test::hasOwnType<ktstd_TransientHSeq>);
static_assert(!kt_test::keepsInheritedRecord<ktstd_TransientHSeq>);

namespace {

RecordBytes& newShared(RecordBytes& aBytes, std::uint32_t aNumber)
{
    const std::uint32_t number = aBytes.beginObject("TestShared");
    return aBytes.u32(aNumber).u32(0).endObject(number);
}

long numberOf(const Hnd_ktstd_Transient& aObject)
{
    return Hnd_TestShared::DownCast(aObject)->number;
}

//! Stored: an object, another one, null, the first again.
RecordBytes sampleRecord()
{
    RecordBytes record;
    record.u32(4);
    newShared(record, 7);
    newShared(record, 8);
    record.u32(0).u32(1);
    return record;
}

template <class Sequence>
void fillSample(Sequence& aSequence)
{
    const Hnd_TestShared first(new TestShared(7));
    aSequence.Append(first);
    aSequence.Append(Hnd_TestShared(new TestShared(8)));
    aSequence.Append(Hnd_ktstd_Transient());
    aSequence.Append(first);
}

template <class Sequence>
void expectSample(const Sequence& aSequence)
{
    ASSERT_EQ(aSequence.Length(), 4);
    EXPECT_EQ(aSequence.IsEmpty(), 0);
    EXPECT_EQ(numberOf(aSequence.Value(1)), 7);
    EXPECT_EQ(numberOf(aSequence.Value(2)), 8);
    EXPECT_EQ(aSequence.Value(3).IsNull(), 1);
    EXPECT_EQ(aSequence.Value(4), aSequence.Value(1));
}

} // namespace

TEST(ktstd_TransientHSeq, HasItsType)
{
    const Hnd_ktstd_Transient sequence(new ktstd_TransientHSeq());
    EXPECT_EQ(&sequence->DynamicType(), &ktstd_TransientHSeq_Type_());
    EXPECT_EQ(sequence->IsKind(ktstd_TransientHSeq_Type_()), 1);
    EXPECT_EQ(sequence->IsKind(ktstd_TShared_Type_()), 1);
    EXPECT_EQ(sequence->IsKind(ktstd_Transient_Type_()), 1);
    EXPECT_EQ(sequence->IsKind(TestShared_Type_()), 0);
    EXPECT_EQ(Hnd_ktstd_TransientHSeq::DownCast(sequence), sequence);
}

TEST(ktstd_TransientHSeq, AppendsHandlesOfAnyClass)
{
    const SharedGuard guard;
    const Hnd_ktstd_TransientHSeq sequence(new ktstd_TransientHSeq());
    EXPECT_EQ(sequence->Length(), 0);
    EXPECT_EQ(sequence->IsEmpty(), 1);
    fillSample(*sequence);
    expectSample(*sequence);
    EXPECT_EQ(sequence->Value(1)->RefCount(), 2);
    sequence->Append(Hnd_ktstd_Transient(new TestOther()));
    EXPECT_EQ(sequence->Length(), 5);
}

TEST(ktstd_TransientHSeq, ValueOutsideRaises)
{
    const SharedGuard guard;
    const Hnd_ktstd_TransientHSeq sequence(new ktstd_TransientHSeq());
    fillSample(*sequence);
    for (const long index : {0L, -1L, 5L}) {
        EXPECT_TRUE(raisesClass<Hnd_ktstd_fail_OutOfRange>(
            [&] { static_cast<void>(sequence->Value(index)); }));
    }
}

TEST(ktstd_TransientHSeq, ReleasesItsElementsAtItsEnd)
{
    const SharedGuard guard;
    const Hnd_TestShared object(new TestShared());
    Hnd_ktstd_TransientHSeq sequence(new ktstd_TransientHSeq());
    sequence->Append(object);
    fillSample(*sequence);
    EXPECT_EQ(TestShared::alive, 3);
    sequence.Nullify();
    EXPECT_EQ(object->RefCount(), 1);
    EXPECT_EQ(TestShared::alive, 1);
}

TEST(ktstd_TransientHSeq, RecordIsCountAndReferences)
{
    const SharedGuard guard;
    const Hnd_ktstd_TransientHSeq sequence(new ktstd_TransientHSeq());
    fillSample(*sequence);
    EXPECT_EQ(kt_test::recordOf(*sequence), sampleRecord().bytes());
    const Hnd_ktstd_TransientHSeq loaded(new ktstd_TransientHSeq());
    loaded->Append(Hnd_TestShared(new TestShared(99)));
    ktstd_Archive archive(archiveHolding(sampleRecord().bytes()));
    loaded->Serialize(archive);
    expectSample(*loaded);
    EXPECT_EQ(archive.Remaining(), 0U);
}

TEST(ktstd_TransientSeq, ClearReleasesAll)
{
    const SharedGuard guard;
    ktstd_TransientSeq sequence;
    fillSample(sequence);
    expectSample(sequence);
    sequence.Clear();
    EXPECT_EQ(sequence.Length(), 0);
    EXPECT_EQ(TestShared::alive, 0);
    sequence.Clear();
    fillSample(sequence);
    expectSample(sequence);
}

TEST(ktstd_TransientSeq, RecordIsCountAndReferences)
{
    const SharedGuard guard;
    ktstd_TransientSeq sequence;
    fillSample(sequence);
    EXPECT_EQ(kt_test::recordOf(sequence), sampleRecord().bytes());
    ktstd_TransientSeq loaded;
    loaded.Append(Hnd_TestShared(new TestShared(99)));
    ktstd_Archive archive(archiveHolding(sampleRecord().bytes()));
    loaded.Serialize(archive);
    expectSample(loaded);
}

TEST(ktstd_TransientSeq, EmptyRecordEmpties)
{
    const SharedGuard guard;
    ktstd_TransientSeq sequence;
    EXPECT_EQ(kt_test::recordOf(sequence), (kt_test::Bytes{0, 0, 0, 0}));
    fillSample(sequence);
    ktstd_Archive archive(archiveHolding({0, 0, 0, 0}));
    sequence.Serialize(archive);
    EXPECT_EQ(sequence.Length(), 0);
}
