// The bytes of an archive, as docs/archive-format.md gives them.

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_Dim.h"
#include "ktstd/ktstd_Schema.h"
#include "support/Failures.h"
#include "support/Links.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <string>

namespace {

using kt_test::Bytes;
using kt_test::put32;
using kt_test::put64;
using kt_test::putName;
using kt_test::raisesCode;

//! Stores what the sample holds.
void storeSample(ktstd_Archive& aArchive)
{
    Hnd_Link first(new Link(-2));
    first->next = new Link(7, first);
    aArchive << static_cast<unsigned short>(EOC) << first << Hnd_Link();
    first->next.Nullify();
}

//! Gives the data that an archive holds so far, without header, directory and trailer.
Bytes dataOf(ktstd_Archive& aArchive)
{
    const auto size = static_cast<std::ptrdiff_t>(aArchive.Position());
    const Bytes& bytes = aArchive.Finish();
    std::size_t header = 16;
    for (const auto& entry : aArchive.ClassVersions()) {
        header += 1 + entry.first.size() + 4;
    }
    const auto start = bytes.begin() + static_cast<std::ptrdiff_t>(header);
    return Bytes(start, start + size);
}

} // namespace

TEST(ktstd_ArchiveFormat, ChecksumOfTheTestsIsTheStandardOne)
{
    const std::string digits = "123456789";
    EXPECT_EQ(kt_test::crc32(Bytes(digits.begin(), digits.end()), digits.size()), 0xCBF43926U);
}

TEST(ktstd_ArchiveFormat, SampleIsRead)
{
    ktstd_Archive archive(kt_test::dataFile("archive-links.bin"));
    EXPECT_EQ(archive.IsStoring(), 0);
    EXPECT_EQ(archive.FormatVersion(), 16);
    EXPECT_EQ(archive.ClassVersion("Link"), 2);
    EXPECT_EQ(archive.ClassVersion("Missing"), -1);

    unsigned short marker = 0;
    Hnd_Link first;
    Hnd_ktstd_Transient none(new Link());
    archive >> marker >> first >> none;
    EXPECT_EQ(marker, static_cast<unsigned short>(EOC));
    ASSERT_EQ(first.IsNull(), 0);
    ASSERT_EQ(first->next.IsNull(), 0);
    EXPECT_EQ(first->number, -2);
    EXPECT_EQ(first->next->number, 7);
    EXPECT_EQ(first->next->next, first);
    EXPECT_EQ(none.IsNull(), 1);
    EXPECT_EQ(archive.Remaining(), 0U);
    first->next.Nullify();
}

TEST(ktstd_ArchiveFormat, DirectoryOfTheSampleIsListed)
{
    const ktstd_Archive archive(kt_test::dataFile("archive-links.bin"));
    const std::vector<ktstd_ArchiveObject> objects = archive.Objects();
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0].number, 1U);
    EXPECT_EQ(objects[0].className, "Link");
    EXPECT_EQ(objects[0].offset, 0x24U);
    EXPECT_EQ(objects[0].length, 21U);
    EXPECT_EQ(objects[1].number, 2U);
    EXPECT_EQ(objects[1].className, "Link");
    EXPECT_EQ(objects[1].offset, 0x31U);
    EXPECT_EQ(objects[1].length, 8U);
}

TEST(ktstd_ArchiveFormat, WrittenBytesAreThoseOfTheDescription)
{
    ktstd_Archive archive;
    storeSample(archive);

    Bytes data = {0xE1, 0x5A};
    put32(data, 1);
    putName(data, "Link");
    const std::uint64_t first = data.size();
    put32(data, 0xFFFFFFFEU);
    put32(data, 2);
    putName(data, "Link");
    const std::uint64_t second = data.size();
    put32(data, 7);
    put32(data, 1);
    const std::uint64_t end = data.size();
    put32(data, 0);

    Bytes wanted = {0x89, 'K', 'T', 'A', 0x0D, 0x0A, 0x1A, 0x0A};
    put32(wanted, 16);
    put32(wanted, static_cast<std::uint32_t>(ktstd_Schema::NewestVersions().size()));
    for (const auto& [name, version] : ktstd_Schema::NewestVersions()) {
        putName(wanted, name);
        put32(wanted, static_cast<std::uint32_t>(version));
    }
    const std::uint64_t start = wanted.size();
    wanted.insert(wanted.end(), data.begin(), data.end());
    const std::uint64_t directory = wanted.size();
    std::uint32_t number = 0;
    for (const std::uint64_t offset : {first, second}) {
        put32(wanted, ++number);
        putName(wanted, "Link");
        put64(wanted, start + offset);
        put64(wanted, end - offset);
    }
    put64(wanted, directory);
    put32(wanted, 2);
    put64(wanted, wanted.size() + 8 + 4 + 8);
    put32(wanted, kt_test::crc32(wanted, wanted.size()));
    for (const char letter : {'K', 'T', 'A', 'E', 'N', 'D', '\r', '\n'}) {
        wanted.push_back(static_cast<unsigned char>(letter));
    }
    EXPECT_EQ(archive.Finish(), wanted);
}

TEST(ktstd_ArchiveFormat, SampleFileHoldsTheSameDataAsAreWritten)
{
    ktstd_Archive archive;
    storeSample(archive);
    const Bytes sample = kt_test::dataFile("archive-links.bin");
    EXPECT_EQ(dataOf(archive), Bytes(sample.begin() + 0x19, sample.begin() + 0x3D));
}

TEST(ktstd_ArchiveFormat, ClassesStandInOrderOfTheirNames)
{
    ktstd_Archive archive;
    archive.SetClassVersion("Zebra", 3);
    archive.SetClassVersion("Aardvark", -1);
    const Bytes& bytes = archive.Finish();
    Bytes start;
    putName(start, "Aardvark");
    put32(start, 0xFFFFFFFFU);
    EXPECT_TRUE(std::equal(start.begin(), start.end(), bytes.begin() + 16));

    const ktstd_Archive loaded{Bytes(bytes)};
    EXPECT_EQ(loaded.ClassVersion("Aardvark"), -1);
    EXPECT_EQ(loaded.ClassVersion("Zebra"), 3);
    EXPECT_EQ(loaded.ClassVersions().count("Aardvark"), 1U);
}

TEST(ktstd_ArchiveFormat, ClassNamesHave1To255Bytes)
{
    ktstd_Archive archive;
    const auto refused = [&](const std::string& aName) {
        return raisesCode(ktstd_fail_FileIO::kValueOutOfRange,
                          [&] { archive.SetClassVersion(ktstd_AsciiString(aName.c_str()), 1); });
    };
    const std::map<std::string, long> before = archive.ClassVersions();
    EXPECT_TRUE(refused(""));
    EXPECT_TRUE(refused(std::string(256, 'n')));
    EXPECT_EQ(archive.ClassVersions(), before);
    const std::string longest(255, 'n');
    archive.SetClassVersion(ktstd_AsciiString(longest.c_str()), 7);
    const ktstd_Archive loaded{Bytes(archive.Finish())};
    EXPECT_EQ(loaded.ClassVersion(ktstd_AsciiString(longest.c_str())), 7);
}

TEST(ktstd_ArchiveFormat, ClassVersionThatDoesNotFit32BitsIsRefused)
{
    if constexpr (sizeof(long) == sizeof(std::int32_t)) {
        GTEST_SKIP() << "every long fits";
    } else {
        ktstd_Archive archive;
        // Wrap on platforms where this is not run.
        for (const long version :
             {static_cast<long>(0x80000000LL), static_cast<long>(-0x80000001LL)}) {
            EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kValueOutOfRange,
                                   [&] { archive.SetClassVersion("A", version); }));
        }
        EXPECT_EQ(archive.ClassVersion("A"), -1);
    }
}

TEST(ktstd_ArchiveFormat, LongTakesFourBytesLowestFirst)
{
    ktstd_Archive archive;
    archive << 0x01020304L << -1L << static_cast<long>(std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(dataOf(archive), (Bytes{4, 3, 2, 1, 255, 255, 255, 255, 0, 0, 0, 0x80}));
}

TEST(ktstd_ArchiveFormat, LongThatDoesNotFitIsRefusedBeforeAByteIsWritten)
{
    if constexpr (sizeof(long) == sizeof(std::int32_t)) {
        GTEST_SKIP() << "every long fits";
    } else {
        ktstd_Archive archive;
        // Wrap on platforms where this is not run.
        const long most = std::numeric_limits<std::int32_t>::max();
        const auto above = static_cast<long>(0x80000000LL);
        const auto below = static_cast<long>(-0x80000001LL);
        EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kValueOutOfRange, [&] { archive << above; }));
        EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kValueOutOfRange, [&] { archive << below; }));
        EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kValueOutOfRange, [&] {
            archive.WriteCount(static_cast<unsigned long>(0x100000000ULL));
        }));
        EXPECT_EQ(archive.Position(), 0U);
        archive << most;
        EXPECT_EQ(dataOf(archive), (Bytes{255, 255, 255, 0x7F}));
    }
}

TEST(ktstd_ArchiveFormat, SmallNumbersStringsAndCounts)
{
    ktstd_Archive archive;
    archive << static_cast<unsigned char>(0xAB) << static_cast<unsigned short>(0x1234);
    archive.WriteCount(3);
    archive << ktstd_AsciiString("ab") << ktstd_AsciiString();
    archive.Write("xyz", 3);
    EXPECT_EQ(dataOf(archive), (Bytes{0xAB, 0x34, 0x12, 3, 0, 0, 0, 2,   0,   0,
                                      0,    'a',  'b',  0, 0, 0, 0, 'x', 'y', 'z'}));
}

TEST(ktstd_ArchiveFormat, DimensionIsKindAndDouble)
{
    ktstd_Archive archive;
    archive << ktstd_Dim(0.5, ktstd_Dim::kAngle); // 0.5 is 3FE0000000000000
    EXPECT_EQ(dataOf(archive), (Bytes{2, 0, 0, 0, 0, 0, 0, 0xE0, 0x3F}));
}

TEST(ktstd_ArchiveFormat, LaterReferenceIsTheNumberAlone)
{
    const Hnd_Link link(new Link(5));
    ktstd_Archive archive;
    archive << link;
    const unsigned long long size = archive.Position();
    archive << link;
    EXPECT_EQ(archive.Position(), size + 4);
    EXPECT_EQ(archive.Objects().size(), 1U);
}

TEST(ktstd_ArchiveFormat, OlderFormatIsNotedInTheHeaderOnly)
{
    ktstd_Archive older(15);
    ktstd_Archive newer(16);
    older << 1L;
    newer << 1L;
    Bytes bytes = older.Finish();
    EXPECT_EQ(ktstd_Archive(Bytes(bytes)).FormatVersion(), 15);
    ASSERT_EQ(bytes[8], 15);
    bytes[8] = 16;
    EXPECT_EQ(kt_test::sealed(bytes), newer.Finish());
}

TEST(ktstd_ArchiveFormat, OtherFormatsCantBeWritten)
{
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kBadFormat, [] { ktstd_Archive archive(14); }));
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kBadFormat, [] { ktstd_Archive archive(17); }));
}

TEST(ktstd_ArchiveFormat, FinishedArchiveKeepsItsBytesAndTakesNoMore)
{
    ktstd_Archive archive;
    archive << 1L;
    const Bytes once = archive.Finish();
    EXPECT_EQ(archive.Finish(), once);
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kWrongMode, [&] { archive << 2L; }));
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kWrongMode, [&] { archive << Hnd_Link(); }));
    EXPECT_EQ(archive.Finish(), once);
}

TEST(ktstd_ArchiveFormat, WrongDirectionIsRefused)
{
    ktstd_Archive storing;
    long number = 3;
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kWrongMode, [&] { storing >> number; }));
    EXPECT_EQ(number, 3);
    ktstd_Archive loading{Bytes(storing.Finish())};
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kWrongMode, [&] { loading << number; }));
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kWrongMode, [&] { loading.Finish(); }));
    EXPECT_TRUE(
        raisesCode(ktstd_fail_FileIO::kWrongMode, [&] { loading.SetClassVersion("A", 1); }));
}
