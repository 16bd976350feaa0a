//! @file
//! What every framed record must do, for any class: KT_RECORD_TESTS(Class, Sample) makes the tests
//! of one class from a sample with
//!   using Class;                               the class under test
//!   static Class sample();                     a value
//!   static Class other();                      a value that differs in every field
//!   static RecordBytes& fill(RecordBytes&);    the record of sample(), from the written format
#pragma once

#include "ktstd/ktstd_Schema.h"
#include "support/Failures.h"
#include "support/Records.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace kt_test {

template <class Sample>
class RecordContract
{
public:
    using Class = typename Sample::Class;

    static RecordBytes wanted(bool aHasMarkers = true)
    {
        RecordBytes bytes(aHasMarkers);
        Sample::fill(bytes);
        return bytes;
    }

    static void storesFieldsAndMarkers()
    {
        Class value = Sample::sample();
        EXPECT_EQ(recordOf(value), wanted().bytes());
    }

    static void roundTripKeepsEveryBit()
    {
        Class loaded = Sample::other();
        ASSERT_NE(recordOf(loaded), wanted().bytes()) << "the other value must differ";
        ktstd_Archive archive(archiveHolding(wanted().bytes()));
        loaded.Serialize(archive);
        EXPECT_EQ(archive.Remaining(), 0U);
        EXPECT_EQ(recordOf(loaded), wanted().bytes());
    }

    static void recordEndsWhereTheNextBegins()
    {
        const Bytes one = wanted().bytes();
        Bytes two(one);
        two.insert(two.end(), one.begin(), one.end());
        ktstd_Archive archive(archiveHolding(two));
        Class first = Sample::other();
        Class second = Sample::other();
        first.Serialize(archive);
        second.Serialize(archive);
        EXPECT_EQ(archive.Remaining(), 0U);
        EXPECT_EQ(recordOf(second), wanted().bytes());
    }

    static void format15IsReadWithoutMarkers()
    {
        const Bytes bare = wanted(false).bytes();
        ASSERT_LT(bare.size(), wanted().bytes().size());
        ktstd_Archive archive(archiveHolding(bare, 15));
        Class loaded = Sample::other();
        loaded.Serialize(archive);
        EXPECT_EQ(archive.Remaining(), 0U);
        EXPECT_EQ(recordOf(loaded), wanted().bytes());
    }

    static void storingWritesMarkersWhateverTheFormat()
    {
        Class value = Sample::sample();
        EXPECT_EQ(recordOf(value, 15), wanted().bytes());
    }

    static void everyWrongMarkerIsFound()
    {
        const RecordBytes record = wanted();
        ASSERT_FALSE(record.markers().empty());
        for (const RecordPlace& marker : record.markers()) {
            for (const std::size_t half : {0U, 1U}) {
                SCOPED_TRACE(testing::Message() << "marker at " << marker.offset + half);
                Bytes damaged = record.bytes();
                damaged[marker.offset + half] ^= 0x01U;
                ktstd_Archive archive(archiveHolding(damaged));
                Class loaded = Sample::other();
                EXPECT_TRUE(raisesFileIO(17, marker.className + ": expected end of class",
                                         [&] { loaded.Serialize(archive); }));
                EXPECT_EQ(archive.Remaining(), damaged.size() - marker.offset - 2)
                    << "nothing behind the marker may be read";
            }
        }
    }

    static void badVersionsAreRefusedBeforeTheFields()
    {
        const RecordBytes record = wanted();
        ASSERT_FALSE(record.versions().empty());
        for (const auto& [name, offset] : record.versions()) {
            const long last = ktstd_Schema::LastClassVersion(ktstd_AsciiString(name.c_str()));
            ASSERT_GE(last, 0) << name;
            for (const long bad : {-1L, last + 1, long{std::numeric_limits<std::int32_t>::min()},
                                   long{std::numeric_limits<std::int32_t>::max()}}) {
                SCOPED_TRACE(testing::Message() << name << " version " << bad);
                ktstd_Archive archive(archiveHolding(record.bytes(), 16, {{name, bad}}));
                Class loaded = Sample::other();
                EXPECT_TRUE(raisesFileIO(16,
                                         name + ": bad class version [" + std::to_string(bad) + "]",
                                         [&] { loaded.Serialize(archive); }));
                EXPECT_EQ(archive.Remaining(), record.bytes().size() - offset)
                    << "no field of the class may be read";
            }
        }
    }

    static void versionsFrom0ToTheNewestAreRead()
    {
        const RecordBytes record = wanted();
        for (const auto& [name, offset] : record.versions()) {
            const long last = ktstd_Schema::LastClassVersion(ktstd_AsciiString(name.c_str()));
            for (long version = 0; version <= last; ++version) {
                SCOPED_TRACE(testing::Message() << name << " version " << version);
                ktstd_Archive archive(archiveHolding(record.bytes(), 16, {{name, version}}));
                Class loaded = Sample::other();
                EXPECT_NO_THROW(loaded.Serialize(archive));
                EXPECT_EQ(recordOf(loaded), record.bytes());
            }
        }
    }

    static void versionsAreCheckedInFormat15Too()
    {
        const RecordBytes record = wanted(false);
        for (const auto& [name, offset] : record.versions()) {
            SCOPED_TRACE(name);
            ktstd_Archive archive(archiveHolding(record.bytes(), 15, {{name, -1}}));
            Class loaded = Sample::other();
            EXPECT_TRUE(raisesFileIO(16, name + ": bad class version [-1]",
                                     [&] { loaded.Serialize(archive); }));
        }
    }

    static void storingAsksForNoVersion()
    {
        ktstd_Archive archive;
        for (const auto& [name, offset] : wanted().versions()) {
            archive.SetClassVersion(ktstd_AsciiString(name.c_str()), -1);
        }
        Class value = Sample::sample();
        EXPECT_NO_THROW(value.Serialize(archive));
        EXPECT_EQ(archive.Position(), wanted().bytes().size());
    }

    static void aCutRecordIsRefused()
    {
        const Bytes whole = wanted().bytes();
        for (std::size_t length = 0; length < whole.size(); ++length) {
            SCOPED_TRACE(testing::Message() << length << " bytes");
            ktstd_Archive archive(archiveHolding(
                Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length))));
            Class loaded = Sample::other();
            EXPECT_TRUE(raisesClass<Hnd_ktstd_fail_FileIO>([&] { loaded.Serialize(archive); }));
        }
    }
};

} // namespace kt_test

#define KT_RECORD_TESTS(SUITE, SAMPLE)                                                             \
    TEST(SUITE, RecordHoldsTheFieldsAndEndMarkers)                                                 \
    {                                                                                              \
        kt_test::RecordContract<SAMPLE>::storesFieldsAndMarkers();                                 \
    }                                                                                              \
    TEST(SUITE, RecordRoundTripKeepsEveryBit)                                                      \
    {                                                                                              \
        kt_test::RecordContract<SAMPLE>::roundTripKeepsEveryBit();                                 \
    }                                                                                              \
    TEST(SUITE, RecordEndsWhereTheNextOneBegins)                                                   \
    {                                                                                              \
        kt_test::RecordContract<SAMPLE>::recordEndsWhereTheNextBegins();                           \
    }                                                                                              \
    TEST(SUITE, RecordOfFormat15IsReadWithoutEndMarkers)                                           \
    {                                                                                              \
        kt_test::RecordContract<SAMPLE>::format15IsReadWithoutMarkers();                           \
    }                                                                                              \
    TEST(SUITE, RecordIsStoredWithEndMarkersWhateverTheFormat)                                     \
    {                                                                                              \
        kt_test::RecordContract<SAMPLE>::storingWritesMarkersWhateverTheFormat();                  \
    }                                                                                              \
    TEST(SUITE, RecordWithAnyWrongEndMarkerIsRefused)                                              \
    {                                                                                              \
        kt_test::RecordContract<SAMPLE>::everyWrongMarkerIsFound();                                \
    }                                                                                              \
    TEST(SUITE, RecordOfABadVersionIsRefusedBeforeItsFields)                                       \
    {                                                                                              \
        kt_test::RecordContract<SAMPLE>::badVersionsAreRefusedBeforeTheFields();                   \
    }                                                                                              \
    TEST(SUITE, RecordOfAnyKnownVersionIsRead)                                                     \
    {                                                                                              \
        kt_test::RecordContract<SAMPLE>::versionsFrom0ToTheNewestAreRead();                        \
    }                                                                                              \
    TEST(SUITE, RecordVersionIsCheckedInFormat15Too)                                               \
    {                                                                                              \
        kt_test::RecordContract<SAMPLE>::versionsAreCheckedInFormat15Too();                        \
    }                                                                                              \
    TEST(SUITE, StoringARecordAsksForNoVersion)                                                    \
    {                                                                                              \
        kt_test::RecordContract<SAMPLE>::storingAsksForNoVersion();                                \
    }                                                                                              \
    TEST(SUITE, CutRecordIsRefused)                                                                \
    {                                                                                              \
        kt_test::RecordContract<SAMPLE>::aCutRecordIsRefused();                                    \
    }                                                                                              \
    static_assert(true, "the macro ends with a semicolon")
