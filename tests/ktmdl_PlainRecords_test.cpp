// Records of values between bytes of any length, beside the same bytes put together plainly.

#include "ktmdl/ktmdl_BBox3d.h"
#include "ktmdl/ktmdl_Pnt2d.h"
#include "ktmdl/ktmdl_Pnt3d.h"
#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktstd/ktstd_Archive.h"
#include "support/Failures.h"
#include "support/Records.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using kt_test::Bytes;
using kt_test::RecordBytes;

//! Any 64 bits, and now and then a number of a special kind.
double anyNumber(std::mt19937_64& aRandom)
{
    constexpr double kSpecial[] = {-0.0, 0.0, std::numeric_limits<double>::infinity(),
                                   -std::numeric_limits<double>::infinity(),
                                   std::numeric_limits<double>::denorm_min()};
    if (aRandom() % 10 == 0) {
        return kSpecial[aRandom() % 5];
    }
    const std::uint64_t bits = aRandom();
    double number = 0.0;
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

//! A value of one of four classes, or a block.
struct Value
{
    explicit Value(std::mt19937_64& aRandom) : kind(aRandom() % 5)
    {
        for (double& number : numbers) {
            number = anyNumber(aRandom);
        }
        block = std::string(aRandom() % (aRandom() % 50 == 0 ? 10000 : 60), 'b');
    }

    //! Stores or loads the value with the library.
    void Serialize(ktstd_Archive& aArchive)
    {
        if (kind == 0) {
            ktmdl_Pnt2d value(numbers[0], numbers[1]);
            value.Serialize(aArchive);
            std::memcpy(numbers, &value.mX, sizeof(double));
            std::memcpy(numbers + 1, &value.mY, sizeof(double));
        } else if (kind == 1) {
            ktmdl_Pnt3d value(numbers[0], numbers[1], numbers[2]);
            value.Serialize(aArchive);
            Take(value, 0);
        } else if (kind == 2) {
            ktmdl_Trsf3d value;
            std::memcpy(value.mMatrix, numbers, sizeof(numbers));
            value.Serialize(aArchive);
            std::memcpy(numbers, value.mMatrix, sizeof(numbers));
        } else if (kind == 3) {
            ktmdl_BBox3d value;
            value.mMin.Set(numbers[0], numbers[1], numbers[2]);
            value.mMax.Set(numbers[3], numbers[4], numbers[5]);
            value.Serialize(aArchive);
            Take(value.mMin, 0);
            Take(value.mMax, 3);
        } else if (aArchive.IsStoring() != 0) {
            aArchive.Write(block.data(), static_cast<long>(block.size()));
        } else {
            aArchive.Read(block.data(), static_cast<long>(block.size()));
        }
    }
    void Take(const ktmdl_Pnt3d& aPoint, std::size_t aFirst)
    {
        std::memcpy(numbers + aFirst, &aPoint.mX, sizeof(double));
        std::memcpy(numbers + aFirst + 1, &aPoint.mY, sizeof(double));
        std::memcpy(numbers + aFirst + 2, &aPoint.mZ, sizeof(double));
    }
    void Forget()
    {
        std::memset(numbers, 0x55, sizeof(numbers));
        block.assign(block.size(), '?');
    }

    //! Stores the value plainly.
    void Put(RecordBytes& aBytes) const
    {
        if (kind == 0) {
            aBytes.data2d(numbers[0], numbers[1]);
        } else if (kind == 1) {
            aBytes.data3d(numbers[0], numbers[1], numbers[2]);
        } else if (kind == 2) {
            for (const double number : numbers) {
                aBytes.f64(number);
            }
            aBytes.end("ktmdl_Trsf3d");
        } else if (kind == 3) {
            aBytes.data3d(numbers[0], numbers[1], numbers[2]);
            aBytes.data3d(numbers[3], numbers[4], numbers[5]).end("ktmdl_BBox3d");
        } else {
            aBytes.text(block);
        }
    }

    std::size_t kind;
    double numbers[16];
    std::string block;
};

std::vector<Value> anyValues(std::uint64_t aSeed)
{
    std::mt19937_64 random(aSeed);
    std::vector<Value> values;
    for (int i = 0; i < 3000; ++i) {
        values.emplace_back(random);
    }
    return values;
}

Bytes plainBytes(const std::vector<Value>& aValues, bool aHasMarkers)
{
    RecordBytes bytes(aHasMarkers);
    for (const Value& value : aValues) {
        value.Put(bytes);
    }
    return bytes.bytes();
}

void loadAndCompare(std::vector<Value>& aValues, ktstd_Archive& aArchive)
{
    const std::vector<Value> before = aValues;
    for (Value& value : aValues) {
        value.Forget();
        value.Serialize(aArchive);
    }
    EXPECT_EQ(aArchive.Remaining(), 0U);
    for (std::size_t i = 0; i < aValues.size(); ++i) {
        constexpr std::size_t kNumbers[] = {2, 3, 16, 6, 0};
        ASSERT_EQ(std::memcmp(aValues[i].numbers, before[i].numbers,
                              sizeof(double) * kNumbers[before[i].kind]),
                  0)
            << "value " << i << " of kind " << before[i].kind;
        ASSERT_TRUE(before[i].kind != 4 || aValues[i].block == before[i].block) << "value " << i;
    }
}

} // namespace

TEST(ktmdl_PlainRecords, ValuesBetweenBlocksAreStoredAsThePlainBytes)
{
    for (std::uint64_t seed = 1; seed <= 10; ++seed) {
        std::vector<Value> values = anyValues(seed);
        const auto store = [&](ktstd_Archive& aArchive) {
            for (Value& value : values) {
                value.Serialize(aArchive);
            }
        };
        ASSERT_TRUE(kt_test::dataOf(store) == plainBytes(values, true)) << seed;
    }
}

TEST(ktmdl_PlainRecords, ValuesBetweenBlocksAreLoadedBitForBit)
{
    for (std::uint64_t seed = 11; seed <= 20 && !HasFailure(); ++seed) {
        std::vector<Value> values = anyValues(seed);
        ktstd_Archive archive(kt_test::archiveHolding(plainBytes(values, true)));
        loadAndCompare(values, archive);
    }
}

TEST(ktmdl_PlainRecords, ValuesWithoutMarkersAreLoadedBitForBit)
{
    for (std::uint64_t seed = 21; seed <= 25 && !HasFailure(); ++seed) {
        std::vector<Value> values = anyValues(seed);
        ktstd_Archive archive(kt_test::archiveHolding(plainBytes(values, false), 15));
        loadAndCompare(values, archive);
    }
}

TEST(ktmdl_PlainRecords, VersionIsThatOfTheArchiveReadWhenTwoAreReadInTurn)
{
    RecordBytes points;
    points.data3d(1.0, 2.0, 3.0).data3d(4.0, 5.0, 6.0);
    ktstd_Archive good(kt_test::archiveHolding(points.bytes()));
    ktstd_Archive bad(kt_test::archiveHolding(points.bytes(), 16, {{"ktmdl_Data3d", 1}}));
    ktmdl_Pnt3d point;
    point.Serialize(good);
    EXPECT_TRUE(
        kt_test::raisesCode(ktstd_fail_FileIO::kBadClassVersion, [&] { point.Serialize(bad); }));
    point.Serialize(good);
    EXPECT_EQ(point.mZ, 6.0);
    EXPECT_EQ(good.Remaining(), 0U);
    EXPECT_EQ(bad.Remaining(), points.bytes().size());
}

TEST(ktmdl_PlainRecords, VersionIsCheckedAnewForAnArchiveInThePlaceOfAnother)
{
    RecordBytes points;
    points.data3d(1.0, 2.0, 3.0).data3d(4.0, 5.0, 6.0);
    std::optional<ktstd_Archive> archive(std::in_place, kt_test::archiveHolding(points.bytes()));
    ktmdl_Pnt3d point;
    point.Serialize(*archive);
    archive.emplace(kt_test::archiveHolding(points.bytes(), 16, {{"ktmdl_Data3d", 1}}));
    EXPECT_TRUE(kt_test::raisesCode(ktstd_fail_FileIO::kBadClassVersion,
                                    [&] { point.Serialize(*archive); }));
}

TEST(ktmdl_PlainRecords, FieldsAreTakenBeforeTheMarkerIsMissed)
{
    RecordBytes points;
    points.data3d(7.0, 8.0, 9.0).f64(1.0).f64(2.0).f64(3.0).u16(0xFFFF).data3d(4.0, 5.0, 6.0);
    ktstd_Archive archive(kt_test::archiveHolding(points.bytes()));
    ktmdl_Pnt3d loaded;
    loaded.Serialize(archive);
    const unsigned long long start = archive.Position();
    EXPECT_TRUE(kt_test::raisesCode(ktstd_fail_FileIO::kMissingEndOfClass,
                                    [&] { loaded.Serialize(archive); }));
    EXPECT_EQ(loaded.mX, 1.0);
    EXPECT_EQ(loaded.mZ, 3.0);
    EXPECT_EQ(archive.Position(), start + 26);
    loaded.Serialize(archive);
    EXPECT_EQ(loaded.mX, 4.0);
}

TEST(ktmdl_PlainRecords, MarkerIsNotTakenFromBehindTheData)
{
    const std::size_t header = [] {
        const ktstd_Archive empty(kt_test::archiveHolding({}));
        return static_cast<std::size_t>(empty.Position());
    }();
    RecordBytes points;
    points.data3d(7.0, 8.0, 9.0);
    // The trailer, which follows, starts with the place where the data end.
    constexpr std::size_t kEnd = 0x5AE1;
    points.text(std::string(kEnd - header - points.bytes().size() - 24, 'b'));
    points.f64(1.0).f64(2.0).f64(3.0);
    const Bytes bytes = kt_test::archiveHolding(points.bytes());
    unsigned short behind = 0;
    std::memcpy(&behind, bytes.data() + kEnd, sizeof behind);
    ASSERT_EQ(behind, static_cast<unsigned short>(EOC));

    ktstd_Archive archive{Bytes(bytes)};
    ktmdl_Pnt3d point;
    point.Serialize(archive);
    std::string block(points.bytes().size() - 26 - 24, ' ');
    archive.Read(block.data(), static_cast<long>(block.size()));
    EXPECT_TRUE(
        kt_test::raisesCode(ktstd_fail_FileIO::kTruncated, [&] { point.Serialize(archive); }));
    EXPECT_EQ(archive.Remaining(), 0U);
}

TEST(ktmdl_PlainRecords, BytesLikeAMarkerAreLeftWhereRecordsHaveNone)
{
    RecordBytes points(false);
    points.data3d(7.0, 8.0, 9.0).data3d(1.0, 2.0, 3.0).u16(static_cast<unsigned short>(EOC));
    ktstd_Archive archive(kt_test::archiveHolding(points.bytes(), 15));
    ktmdl_Pnt3d point;
    point.Serialize(archive);
    point.Serialize(archive);
    EXPECT_EQ(point.mZ, 3.0);
    EXPECT_EQ(archive.Remaining(), 2U);
}
