//! @file
//! What the record of every sequence of values must be: KT_SEQUENCE_RECORD_TESTS(Class, Kit), with
//! a kit as for the sequence's other tests and
//!   static RecordBytes& record(RecordBytes&, int);   the record of the element with a number
#pragma once

#include "support/RecordContract.h"
#include "support/Records.h"
#include "support/SequenceContract.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>

namespace kt_test {

template <class Kit>
class SequenceRecordContract
{
public:
    using Sequence = typename Kit::Sequence;
    using Plain = SequenceContract<Kit>;
    using Ids = typename Plain::Ids;

    static RecordBytes wanted(const Ids& aIds)
    {
        RecordBytes bytes;
        bytes.u32(static_cast<std::uint32_t>(aIds.size()));
        for (const int id : aIds) {
            Kit::record(bytes, id);
        }
        return bytes;
    }

    static void isCountAndElements()
    {
        Sequence sequence;
        Plain::fill(sequence, {3, 1, 2});
        EXPECT_EQ(recordOf(sequence), wanted({3, 1, 2}).bytes());
    }

    static void emptyIsTheCountAlone()
    {
        Sequence sequence;
        EXPECT_EQ(recordOf(sequence), (Bytes{0, 0, 0, 0}));
    }

    static void loadingReplacesTheContent()
    {
        typename Plain::Probe sequence;
        Plain::fill(sequence, {7, 8});
        ktstd_Archive archive(archiveHolding(wanted({3, 1, 2}).bytes()));
        sequence.Serialize(archive);
        EXPECT_EQ(archive.Remaining(), 0U);
        Plain::expectIs(sequence, {3, 1, 2});
    }

    static void loadingAnEmptyOneEmpties()
    {
        typename Plain::Probe sequence;
        Plain::fill(sequence, {7, 8});
        ktstd_Archive archive(archiveHolding(wanted({}).bytes()));
        sequence.Serialize(archive);
        Plain::expectIs(sequence, {});
    }

    static void operatorsStoreInAStoringArchive()
    {
        Sequence sequence;
        Plain::fill(sequence, {3, 1});
        const Sequence& constant = sequence;
        EXPECT_EQ(
            dataOf([&](ktstd_Archive& aArchive) { EXPECT_EQ(&(aArchive << constant), &aArchive); }),
            wanted({3, 1}).bytes());
        EXPECT_EQ(
            dataOf([&](ktstd_Archive& aArchive) { EXPECT_EQ(&(aArchive >> sequence), &aArchive); }),
            wanted({3, 1}).bytes());
        EXPECT_EQ(Plain::idsOf(sequence), (Ids{3, 1}));
    }

    static void operatorsLoadFromALoadingArchive()
    {
        for (const bool isInput : {true, false}) {
            ktstd_Archive archive(archiveHolding(wanted({3, 1}).bytes()));
            Sequence sequence;
            Plain::fill(sequence, {7, 8, 9});
            if (isInput) {
                EXPECT_EQ(&(archive >> sequence), &archive);
            } else {
                EXPECT_EQ(&(archive << std::as_const(sequence)), &archive);
            }
            EXPECT_EQ(Plain::idsOf(sequence), (Ids{3, 1}));
        }
    }

    static void serializeIsVirtual()
    {
        struct Silent : public Sequence
        {
            void Serialize(ktstd_Archive&) override { ++calls; }
            int calls = 0;
        };
        Silent sequence;
        ktstd_Archive archive;
        archive << static_cast<const Sequence&>(sequence);
        archive >> static_cast<Sequence&>(sequence);
        EXPECT_EQ(sequence.calls, 2);
        EXPECT_EQ(archive.Position(), 0U);
    }

    static void failureLeavesWhatWasRead()
    {
        RecordBytes record = wanted({3, 1, 2});
        Bytes bytes = record.bytes();
        bytes.pop_back();
        bytes.pop_back();
        typename Plain::Probe sequence;
        Plain::fill(sequence, {7, 8});
        ktstd_Archive archive(archiveHolding(bytes));
        EXPECT_TRUE(raisesClass<Hnd_ktstd_fail_FileIO>([&] { sequence.Serialize(archive); }));
        Plain::expectIs(sequence, {3, 1});
    }

    static void countAboveTheBytesLeftIsRefused()
    {
        for (const std::uint32_t count : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
            RecordBytes bytes;
            bytes.u32(count);
            Kit::record(bytes, 1);
            typename Plain::Probe sequence;
            Plain::fill(sequence, {7, 8});
            ktstd_Archive archive(archiveHolding(bytes.bytes()));
            EXPECT_TRUE(raisesClass<Hnd_ktstd_fail_FileIO>([&] { sequence.Serialize(archive); }));
            Plain::expectIs(sequence, {});
        }
    }
};

} // namespace kt_test

#define KT_SEQUENCE_RECORD_TEST(SUITE, KIT, NAME, CHECK)                                           \
    TEST(SUITE, NAME)                                                                              \
    {                                                                                              \
        [[maybe_unused]] const KIT::Guard guard{};                                                 \
        kt_test::SequenceRecordContract<KIT>::CHECK();                                             \
    }

#define KT_SEQUENCE_RECORD_TESTS(SUITE, KIT)                                                       \
    KT_SEQUENCE_RECORD_TEST(SUITE, KIT, RecordIsCountAndElements, isCountAndElements)              \
    KT_SEQUENCE_RECORD_TEST(SUITE, KIT, RecordOfAnEmptySequenceIsTheCount, emptyIsTheCountAlone)   \
    KT_SEQUENCE_RECORD_TEST(SUITE, KIT, LoadingReplacesTheContent, loadingReplacesTheContent)      \
    KT_SEQUENCE_RECORD_TEST(SUITE, KIT, LoadingAnEmptySequenceEmpties, loadingAnEmptyOneEmpties)   \
    KT_SEQUENCE_RECORD_TEST(SUITE, KIT, BothOperatorsStoreInAStoringArchive,                       \
                            operatorsStoreInAStoringArchive)                                       \
    KT_SEQUENCE_RECORD_TEST(SUITE, KIT, BothOperatorsLoadFromALoadingArchive,                      \
                            operatorsLoadFromALoadingArchive)                                      \
    KT_SEQUENCE_RECORD_TEST(SUITE, KIT, BothOperatorsCallTheVirtualSerialize, serializeIsVirtual)  \
    KT_SEQUENCE_RECORD_TEST(SUITE, KIT, FailureWhileLoadingLeavesWhatWasRead,                      \
                            failureLeavesWhatWasRead)                                              \
    KT_SEQUENCE_RECORD_TEST(SUITE, KIT, CountAboveTheBytesLeftIsRefused,                           \
                            countAboveTheBytesLeftIsRefused)                                       \
    static_assert(true, "the macro ends with a semicolon")
