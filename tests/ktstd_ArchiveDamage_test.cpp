// Archives that are cut off, changed, foreign or made to deceive, and failures half-way.

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_Dim.h"
#include "ktstd/ktstd_Schema.h"
#include "ktstd/ktstd_TransientHSeq.h"
#include "support/Failures.h"
#include "support/Links.h"
#include "support/SmallStack.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace {

using kt_test::archiveOf;
using kt_test::Bytes;
using kt_test::put32;
using kt_test::putName;
using kt_test::raisesCode;
using kt_test::raisesFileIO;
using kt_test::sealed;

constexpr std::size_t kDataStart = 16; //!< of archiveOf

Bytes sample()
{
    return kt_test::dataFile("archive-links.bin");
}

//! Unties the links that follow one another when it goes, whether they form a cycle or not.
struct Untied
{
    Untied() = default;
    Untied(const Untied&) = delete;
    Untied& operator=(const Untied&) = delete;
    ~Untied()
    {
        while (link.IsNull() == 0) {
            const Hnd_Link next = link->next;
            link->next.Nullify();
            link = next;
        }
    }

    Hnd_Link link;
};

//! Loads what the sample holds.
void loadSample(const Bytes& aBytes)
{
    ktstd_Archive archive{Bytes(aBytes)};
    unsigned short marker = 0;
    Untied first;
    Untied second;
    archive >> marker >> first.link >> second.link;
}

//! Appends the first reference to a link; its own reference to the next one must follow.
void putLink(Bytes& aData, std::uint32_t aNumber)
{
    put32(aData, aNumber);
    putName(aData, "Link");
    put32(aData, 0);
}

//! Gives the data of links stored one inside the other.
Bytes nestedLinks(std::uint32_t aDepth)
{
    Bytes data;
    for (std::uint32_t number = 1; number <= aDepth; ++number) {
        putLink(data, number);
    }
    put32(data, 0);
    return data;
}

std::string message(const std::string& aWhat, std::size_t aByte)
{
    return "load archive in memory: " + aWhat + ", at byte " + std::to_string(aByte);
}

//! A link whose record is whatever a test does with the archive.
class Meddler : public Link
{
public:
    void Serialize(ktstd_Archive& aArchive) override { sAction(aArchive); }

    static std::function<void(ktstd_Archive&)> sAction;
};
std::function<void(ktstd_Archive&)> Meddler::sAction;

} // namespace

TEST(ktstd_ArchiveDamage, CutAtEveryLengthIsRefused)
{
    const Bytes whole = sample();
    ASSERT_GT(whole.size(), 100U);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kTruncated, [&] { ktstd_Archive archive(cut); }));
    }
}

TEST(ktstd_ArchiveDamage, ByteChangedAnywhereIsRefused)
{
    const Bytes whole = sample();
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const unsigned change : {0x01U, 0x80U, 0xFFU}) {
            SCOPED_TRACE(testing::Message() << "byte " << at << ", change " << change);
            Bytes changed = whole;
            changed[at] = static_cast<unsigned char>(changed[at] ^ change);
            EXPECT_TRUE(kt_test::raisesClass<Hnd_ktstd_fail_FileIO>(
                [&] { ktstd_Archive archive(changed); }));
        }
    }
}

TEST(ktstd_ArchiveDamage, ByteChangedUnderARightChecksumLoadsOrIsRefused)
{
    const Bytes whole = sample();
    const long before = Link::alive;
    int loaded = 0;
    int refused = 0;
    for (std::size_t at = 0; at < whole.size() - 12; ++at) {
        for (const unsigned value : {0x00U, 0x01U, 0x02U, 0x03U, 0x7FU, 0x80U, 0xFFU}) {
            Bytes changed = whole;
            changed[at] = static_cast<unsigned char>(value);
            try {
                loadSample(sealed(changed));
                ++loaded;
            } catch (const Hnd_ktstd_fail_FileIO&) {
                ++refused;
            }
            ASSERT_EQ(Link::alive, before) << "byte " << at << ", value " << value;
        }
    }
    EXPECT_GT(loaded, 0);
    EXPECT_GT(refused, loaded);
}

TEST(ktstd_ArchiveDamage, TwoBytesChangedUnderARightChecksumLoadOrAreRefused)
{
    const Bytes whole = sample();
    int refused = 0;
    for (std::size_t first = 0x08; first < 0x87; ++first) {
        for (std::size_t second = first + 1; second < 0x87; ++second) {
            Bytes changed = whole;
            changed[first] = 0xFF;
            changed[second] = 0x02;
            try {
                loadSample(sealed(changed));
            } catch (const Hnd_ktstd_fail_FileIO&) {
                ++refused;
            }
        }
    }
    EXPECT_GT(refused, 0);
}

TEST(ktstd_ArchiveDamage, OtherBytesBehindAreRefused)
{
    Bytes longer = sample();
    longer.push_back(0);
    EXPECT_TRUE(raisesFileIO(
        ktstd_fail_FileIO::kTruncated,
        message("no end mark: it is cut off, or other bytes follow it", longer.size() - 8),
        [&] { ktstd_Archive archive(longer); }));
    Bytes twice = sample();
    const Bytes whole = sample();
    twice.insert(twice.end(), whole.begin(), whole.end());
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kTruncated, [&] { ktstd_Archive archive(twice); }));
}

TEST(ktstd_ArchiveDamage, ForeignBytesAreRefused)
{
    Bytes picture = {0xFF, 0xD8, 0xFF, 0xE0};
    picture.resize(1000, 0x55);
    EXPECT_TRUE(raisesFileIO(ktstd_fail_FileIO::kForeign, message("it is no archive", 0),
                             [&] { ktstd_Archive archive(picture); }));
    EXPECT_TRUE(raisesFileIO(ktstd_fail_FileIO::kTruncated, message("it is empty", 0),
                             [] { ktstd_Archive archive(Bytes{}); }));
}

TEST(ktstd_ArchiveDamage, ChecksumNamesItsPlace)
{
    Bytes changed = sample();
    changed[0x31] = 9;
    EXPECT_TRUE(raisesFileIO(ktstd_fail_FileIO::kAltered,
                             message("the checksum differs: bytes were changed", 0x83),
                             [&] { ktstd_Archive archive(changed); }));
}

TEST(ktstd_ArchiveDamage, UnknownFormatVersionsAreRefused)
{
    for (const int version : {14, 17}) {
        Bytes changed = sample();
        changed[8] = static_cast<unsigned char>(version);
        EXPECT_TRUE(raisesFileIO(
            ktstd_fail_FileIO::kBadFormat,
            message("wanted format version 15 or 16, found " + std::to_string(version), 8),
            [&] { ktstd_Archive archive(sealed(changed)); }));
    }
}

TEST(ktstd_ArchiveDamage, DirectoryMustLieInsideTheData)
{
    const auto damaged = [](const std::string& aWhat, std::size_t aByte, std::size_t aPlace,
                            unsigned char aValue) {
        Bytes changed = sample();
        changed[aPlace] = aValue;
        return raisesFileIO(ktstd_fail_FileIO::kDamaged, message("directory: " + aWhat, aByte),
                            [&] { ktstd_Archive archive(sealed(changed)); });
    };
    // The entries begin at 0x3D and 0x56, the trailer at 0x6F; an entry is judged behind its end.
    EXPECT_TRUE(damaged("object 2 is not inside the data", 0x6F, 0x67, 0x0D)) << "a byte too long";
    EXPECT_TRUE(damaged("object 1 is not inside the data", 0x56, 0x46, 0x10)) << "in the header";
    EXPECT_TRUE(damaged("wanted object 2, found 1", 0x6F, 0x56, 1));
    EXPECT_TRUE(damaged("other bytes follow it", 0x56, 0x77, 1)) << "one entry less";
    EXPECT_TRUE(damaged("wanted 4 bytes, found 0", 0x6F, 0x77, 3)) << "one entry more";
    EXPECT_TRUE(damaged("a class name is empty", 0x42, 0x41, 0));
}

TEST(ktstd_ArchiveDamage, ReadingBeyondTheDataIsRefused)
{
    ktstd_Archive archive(archiveOf({1, 2, 3}));
    long number = 9;
    EXPECT_TRUE(raisesFileIO(ktstd_fail_FileIO::kTruncated,
                             message("wanted 4 bytes, found 3", kDataStart),
                             [&] { archive >> number; }));
    EXPECT_EQ(number, 9);
    unsigned char block[4] = {};
    EXPECT_EQ(archive.Read(block, 3), 3);
    EXPECT_EQ(block[2], 3);
    EXPECT_TRUE(raisesFileIO(ktstd_fail_FileIO::kTruncated,
                             message("wanted 1 bytes, found 0", kDataStart + 3),
                             [&] { static_cast<void>(archive.Read(block, 1)); }));
    EXPECT_EQ(archive.Read(nullptr, 0), 0);
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kDamaged,
                           [&] { static_cast<void>(archive.Read(block, -1)); }));
}

TEST(ktstd_ArchiveDamage, CountAboveTheBytesLeftIsRefused)
{
    Bytes data;
    put32(data, 3);
    data.resize(6);
    ktstd_Archive archive(archiveOf(data));
    EXPECT_TRUE(raisesFileIO(ktstd_fail_FileIO::kDamaged,
                             message("count of 3 elements, but 2 bytes are left", kDataStart),
                             [&] { static_cast<void>(archive.ReadCount()); }));

    data.resize(7);
    ktstd_Archive enough(archiveOf(data));
    EXPECT_EQ(enough.ReadCount(), 3U);
}

TEST(ktstd_ArchiveDamage, HugeStringTakesNoMemory)
{
    Bytes data;
    put32(data, 0xFFFFFFFFU);
    ktstd_Archive archive(archiveOf(data));
    ktstd_AsciiString text("kept");
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kDamaged, [&] { archive >> text; }));
    EXPECT_STREQ(text.ToCString(), "kept");
}

TEST(ktstd_ArchiveDamage, DimensionOfAnUnknownKindIsRefused)
{
    Bytes data(9, 0);
    data[0] = 3;
    ktstd_Archive archive(archiveOf(data));
    ktstd_Dim dimension(1.5, ktstd_Dim::kLength);
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kDamaged, [&] { archive >> dimension; }));
    EXPECT_EQ(dimension, ktstd_Dim(1.5, ktstd_Dim::kLength));
}

TEST(ktstd_ArchiveDamage, UnknownClassIsRefused)
{
    Bytes data;
    put32(data, 1);
    putName(data, "Stranger");
    ktstd_Archive archive(archiveOf(data));
    Hnd_ktstd_Transient object;
    EXPECT_TRUE(raisesFileIO(ktstd_fail_FileIO::kUnknownClass,
                             message("object of the unknown class \"Stranger\"", kDataStart),
                             [&] { archive >> object; }));
}

TEST(ktstd_ArchiveDamage, UnknownClassWithControlBytesIsNamedWhole)
{
    Bytes data;
    put32(data, 1);
    putName(data, std::string("A\0\n\x7F\xC3Z", 6));
    ktstd_Archive archive(archiveOf(data));
    Hnd_ktstd_Transient object;
    EXPECT_TRUE(
        raisesFileIO(ktstd_fail_FileIO::kUnknownClass,
                     message("object of the unknown class \"A\\x00\\x0A\\x7F\\xC3Z\"", kDataStart),
                     [&] { archive >> object; }));
}

TEST(ktstd_ArchiveDamage, ObjectOfAnotherClassIsRefused)
{
    Bytes data;
    put32(data, 1);
    putName(data, "ktstd_TransientHSeq");
    put32(data, 0);
    ktstd_Archive archive(archiveOf(data));
    const Hnd_Link held(new Link(4));
    Hnd_Link link = held;
    EXPECT_TRUE(raisesFileIO(
        ktstd_fail_FileIO::kWrongClass,
        message("wanted an object of class Link, found ktstd_TransientHSeq", kDataStart),
        [&] { archive >> link; }));
    EXPECT_EQ(link, held);
}

TEST(ktstd_ArchiveDamage, KnownObjectOfAnotherClassIsRefused)
{
    Bytes data;
    put32(data, 1);
    putName(data, "ktstd_TransientHSeq");
    put32(data, 0);
    put32(data, 1);
    ktstd_Archive archive(archiveOf(data));
    Hnd_ktstd_Transient object;
    archive >> object;
    Hnd_Link link;
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kWrongClass, [&] { archive >> link; }));
    EXPECT_EQ(link.IsNull(), 1);
}

TEST(ktstd_ArchiveDamage, ReferenceToAnObjectNotReadBeforeIsRefused)
{
    Bytes data;
    put32(data, 2);
    ktstd_Archive archive(archiveOf(data));
    Hnd_Link link;
    EXPECT_TRUE(
        raisesFileIO(ktstd_fail_FileIO::kBadReference,
                     message("reference to object 2, which was not read before", kDataStart),
                     [&] { archive >> link; }));
}

TEST(ktstd_ArchiveDamage, ObjectsAsDeepAsAllowedFitASmallStack)
{
    const auto depth = static_cast<std::uint32_t>(ktstd_Archive::kMaxDepth);
    long loaded = 0;
    kt_test::onSmallStack([&] {
        ktstd_Archive archive(archiveOf(nestedLinks(depth)));
        Hnd_Link link;
        archive >> link;
        ktstd_Archive stored;
        stored << link;
        for (; link.IsNull() == 0; link = Hnd_Link(link->next)) {
            ++loaded;
        }
    });
    EXPECT_EQ(loaded, 200) << "what the format allows";
}

TEST(ktstd_ArchiveDamage, ObjectsDeeperThanAllowedAreRefused)
{
    const long before = Link::alive;
    ktstd_Archive archive(
        archiveOf(nestedLinks(static_cast<std::uint32_t>(ktstd_Archive::kMaxDepth) + 1)));
    Hnd_Link link;
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kTooDeep, [&] { archive >> link; }));
    EXPECT_EQ(Link::alive, before) << "objects half read must not stay";
    EXPECT_NO_THROW(archive.Close()) << "no object is being loaded any more";
}

TEST(ktstd_ArchiveDamage, ObjectsDeeperThanAllowedAreNotStored)
{
    Hnd_Link chain;
    for (long i = 0; i <= ktstd_Archive::kMaxDepth; ++i) {
        chain = new Link(i, chain);
    }
    ktstd_Archive archive;
    archive << 1L;
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kTooDeep, [&] { archive << chain; }));
    EXPECT_EQ(archive.Position(), 4U);
    archive << chain->next;
    EXPECT_EQ(archive.Objects().size(), static_cast<std::size_t>(ktstd_Archive::kMaxDepth));
}

TEST(ktstd_ArchiveDamage, LongChainOfReferencesGoesOnASmallStack)
{
    // Each link refers to the one read before, so that none is nested but the last holds all.
    constexpr std::uint32_t kLinks = 200000;
    const long before = Link::alive;
    Bytes data;
    for (std::uint32_t number = 1; number <= kLinks; ++number) {
        putLink(data, number);
        put32(data, number - 1);
    }
    kt_test::onSmallStack([&] {
        Hnd_Link last;
        {
            ktstd_Archive archive(archiveOf(data));
            while (archive.Remaining() != 0) {
                archive >> last;
            }
        }
        EXPECT_EQ(Link::alive, before + static_cast<long>(kLinks));
    });
    EXPECT_EQ(Link::alive, before);
}

TEST(ktstd_ArchiveDamage, FailureWhileStoringLeavesTheArchiveAsItWas)
{
    const Hnd_Link inner(new Link(2));
    const Hnd_Link outer(new Link(1, inner));
    ktstd_Archive archive;
    archive << 5L;
    Link::raiseWhileStoring = 2;
    EXPECT_TRUE(kt_test::raisesClass<Hnd_ktstd_fail_DomainError>([&] { archive << outer; }));
    Link::raiseWhileStoring = -1;
    EXPECT_EQ(archive.Position(), 4U);
    EXPECT_TRUE(archive.Objects().empty());
    EXPECT_EQ(outer->RefCount(), 1);

    archive << inner;
    ktstd_Archive loaded{Bytes(archive.Finish())};
    long number = 0;
    Hnd_Link link;
    loaded >> number >> link;
    EXPECT_EQ(number, 5);
    EXPECT_EQ(link->number, 2);
}

TEST(ktstd_ArchiveDamage, FailureWhileLoadingReleasesWhatWasHalfRead)
{
    const long before = Link::alive;
    Bytes data;
    putLink(data, 1);
    putLink(data, 2);
    putLink(data, 3); // and no reference to a next one
    ktstd_Archive archive(archiveOf(data));
    Hnd_Link link;
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kTruncated, [&] { archive >> link; }));
    EXPECT_EQ(link.IsNull(), 1);
    EXPECT_EQ(Link::alive, before);
}

TEST(ktstd_ArchiveDamage, ClassOutsideTheSchemaIsNotStored)
{
    ktstd_Archive archive;
    const Hnd_ktstd_TShared stranger(new ktstd_TShared());
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kUnknownClass, [&] { archive << stranger; }));
    EXPECT_EQ(archive.Position(), 0U);
}

TEST(ktstd_ArchiveDamage, ClosedArchiveHoldsNoObjects)
{
    ktstd_Archive archive(sample());
    unsigned short marker = 0;
    Hnd_Link link;
    archive >> marker >> link;
    EXPECT_EQ(link->RefCount(), 3); // the archive, object 2 and this handle
    archive.Close();
    EXPECT_EQ(link->RefCount(), 2);
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kWrongMode, [&] { archive >> link; }));
    link->next.Nullify();
}

TEST(ktstd_ArchiveDamage, RecordsReportDamageWithItsPlace)
{
    ktstd_Archive archive(archiveOf({1, 2, 3}));
    unsigned char byte = 0;
    archive >> byte;
    EXPECT_TRUE(raisesFileIO(ktstd_fail_FileIO::kDamaged,
                             message("Link: length is negative", kDataStart + 1),
                             [&] { archive.RaiseDamaged("Link: length is negative"); }));
    EXPECT_TRUE(raisesFileIO(ktstd_fail_FileIO::kDamaged, message("", kDataStart + 1),
                             [&] { archive.RaiseDamaged(nullptr); }));
}

TEST(ktstd_ArchiveDamage, ClassesOutOfOrderAreRefused)
{
    ktstd_Archive archive;
    archive.SetClassVersion("A1", 1);
    archive.SetClassVersion("A2", 1);
    const Bytes whole = archive.Finish();
    constexpr std::size_t kDigit = 18; // of the first class name, behind its length and 'A'
    ASSERT_EQ(whole[kDigit], '1');
    for (const char digit : {'2', '3'}) { // the name that follows, and one behind it
        Bytes changed = whole;
        changed[kDigit] = static_cast<unsigned char>(digit);
        EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kDamaged, [&] {
            ktstd_Archive refused(sealed(changed));
        })) << digit;
    }
}

TEST(ktstd_ArchiveDamage, ArchiveCantBeFinishedWhileAnObjectIsStored)
{
    ktstd_Archive archive;
    int refusals = 0;
    Meddler::sAction = [&](ktstd_Archive& aArchive) {
        const auto finish = [&] { aArchive.Finish(); };
        const auto close = [&] { aArchive.Close(); };
        refusals += raisesCode(ktstd_fail_FileIO::kWrongMode, finish) ? 1 : 0;
        refusals += raisesCode(ktstd_fail_FileIO::kWrongMode, close) ? 1 : 0;
        aArchive << 5L;
    };
    const Hnd_Link link(new Meddler());
    archive << link;
    Meddler::sAction = nullptr;
    EXPECT_EQ(refusals, 2);
    EXPECT_EQ(ktstd_Archive(Bytes(archive.Finish())).Objects().size(), 1U)
        << "the object was stored all the same";
}

TEST(ktstd_ArchiveDamage, ArchiveCantBeClosedWhileAnObjectIsLoaded)
{
    const ktstd_SchemaEntry entry("Meddler", 0, [] { return Hnd_ktstd_Transient(new Meddler()); });
    Bytes data;
    put32(data, 1);
    putName(data, "Meddler");
    put32(data, 7);
    ktstd_Archive archive(archiveOf(data));
    testing::AssertionResult refused = testing::AssertionFailure() << "nothing was loaded";
    long number = 0;
    Meddler::sAction = [&](ktstd_Archive& aArchive) {
        refused = raisesFileIO(ktstd_fail_FileIO::kWrongMode,
                               "load archive: closed while an object is being loaded",
                               [&] { aArchive.Close(); });
        aArchive >> number;
    };
    Hnd_ktstd_Transient object;
    archive >> object;
    Meddler::sAction = nullptr;
    EXPECT_TRUE(refused);
    EXPECT_EQ(number, 7) << "loading goes on";
    EXPECT_EQ(object->RefCount(), 2) << "held by the archive, too";
    archive.Close();
    EXPECT_EQ(object->RefCount(), 1);
}

TEST(ktstd_ArchiveDamage, ClosedStoringArchiveIsFinishedAndHoldsNoObjects)
{
    const Hnd_Link link(new Link(5));
    ktstd_Archive closed;
    ktstd_Archive finished;
    closed << link;
    finished << link;
    EXPECT_EQ(link->RefCount(), 3);
    closed.Close();
    EXPECT_EQ(link->RefCount(), 2);
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kWrongMode, [&] { closed << link; }));
    EXPECT_EQ(closed.Finish(), finished.Finish());
}
