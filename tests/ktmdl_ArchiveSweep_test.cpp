// The golden archives of the model, cut, flipped and overwritten at every place, loaded as what
// they hold and as what they don't; references nested to any depth.

#include "support/ArchiveRoots.h"
#include "support/ArchiveSweep.h"
#include "support/SmallStack.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

using kt_test::ArchiveRoot;
using kt_test::ArchiveRootKind;
using kt_test::ArchiveSweep;
using kt_test::Bytes;
using kt_test::KeptModelObjects;
using kt_test::onSmallStack;
using kt_test::PeakMemory;
using kt_test::RecordBytes;

constexpr std::uint32_t kDeep = 100000;

//! A golden archive and the kinds of what it holds, in order.
struct Golden
{
    const char* name;
    const char* roots;
};
constexpr Golden kGoldens[] = {{"points", "pACB"},
                               {"planar", "2vb"},
                               {"transforms", "m"},
                               {"positions", "e"},
                               {"references", "TTS"}};

Bytes readGolden(const Golden& aGolden, int aFormat)
{
    const std::string path = std::string(KT_SOURCE_DIR) + "/tests/data/golden-" + aGolden.name +
                             "-" + std::to_string(aFormat) + ".bin";
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.good()) << path;
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

//! Loads things one after the other, and lets go of them.
void loadAll(KeptModelObjects& aKept, const Bytes& aBytes, const std::string& aRoots)
{
    try {
        ktstd_Archive archive{Bytes(aBytes)};
        std::vector<std::unique_ptr<ArchiveRoot>> roots;
        for (const char letter : aRoots) {
            roots.push_back(kt_test::archiveRootKind(letter).make());
            roots.back()->Transfer(archive);
        }
    } catch (...) {
        aKept.Release();
        throw;
    }
    aKept.Release();
}

//! Calls a function with each golden archive of each format and a sweep that loads it.
//! @return  loaded and refused by all
template <class Call>
std::pair<long, long> forEachGolden(Call&& aCall)
{
    long loaded = 0;
    long refused = 0;
    const PeakMemory memory;
    std::size_t largest = 0;
    for (const Golden& golden : kGoldens) {
        for (const int format : {15, 16}) {
            SCOPED_TRACE(testing::Message() << golden.name << ", format " << format);
            KeptModelObjects kept;
            const Bytes whole = readGolden(golden, format);
            ArchiveSweep sweep([&](const Bytes& aBytes) { loadAll(kept, aBytes, golden.roots); });
            sweep.Try(whole, [] { return "as it is"; });
            EXPECT_EQ(sweep.Loaded(), 1);
            aCall(sweep, whole);
            loaded += sweep.Loaded() - 1;
            refused += sweep.Refused();
            largest = std::max(largest, whole.size());
        }
    }
    memory.ExpectBelowLimit(largest);
    return {loaded, refused};
}

//! The fields of a reference up to its children, with a key of its number.
void putHead(RecordBytes& aBytes, std::uint32_t aNumber)
{
    aBytes.u16(4).u32(aNumber).u8(5).data3d(0, 0, 0).data3d(1, 1, 1).end("ktmdl_BBox3d").u8(0);
}

//! References one inside the other: each in the list of edges of the one around it.
Bytes nestedReferences(std::uint32_t aDepth)
{
    RecordBytes bytes;
    for (std::uint32_t number = 1; number < 2 * aDepth; number += 2) {
        bytes.u32(number).u8(10).text("ktmdl_Topo");
        putHead(bytes, number);
        bytes.u32(number + 1).u8(14).text("ktmdl_TopoHSeq").u32(1);
    }
    return kt_test::putTogether(16, {{"ktmdl_BBox3d", 0}, {"ktmdl_Data3d", 0}, {"ktmdl_Topo", 0}},
                                bytes);
}

//! A sequence of references, each of which has the one before as its only edge; none is nested.
Bytes chainedReferences(std::uint32_t aCount)
{
    RecordBytes bytes;
    bytes.u32(aCount);
    for (std::uint32_t i = 0; i < aCount; ++i) {
        const std::uint32_t number = 2 * i + 1;
        bytes.u32(number).u8(10).text("ktmdl_Topo");
        putHead(bytes, number);
        bytes.u32(number + 1).u8(14).text("ktmdl_TopoHSeq").u32(1).u32(i == 0 ? 0 : number - 2);
        bytes.u32(0).u32(0).end("ktmdl_Topo");
    }
    return kt_test::putTogether(16, {{"ktmdl_BBox3d", 0}, {"ktmdl_Data3d", 0}, {"ktmdl_Topo", 0}},
                                bytes);
}

} // namespace

TEST(ktmdl_ArchiveSweep, CutAtEachByteIsRefused)
{
    const auto [loaded, refused] = forEachGolden(
        [](ArchiveSweep& aSweep, const Bytes& aWhole) { aSweep.CutEverywhere(aWhole); });
    EXPECT_EQ(loaded, 0);
    EXPECT_GT(refused, 7000);
}

TEST(ktmdl_ArchiveSweep, CutUnderARightTrailerLoadsOrIsRefused)
{
    const auto [loaded, refused] = forEachGolden(
        [](ArchiveSweep& aSweep, const Bytes& aWhole) { aSweep.CutUnderRightTrailer(aWhole); });
    EXPECT_GT(loaded, 0) << "all of the data is there, and more";
    EXPECT_GT(refused, 3000);
}

TEST(ktmdl_ArchiveSweep, EachBitFlippedIsFound)
{
    const auto [loaded, refused] = forEachGolden(
        [](ArchiveSweep& aSweep, const Bytes& aWhole) { aSweep.FlipEachBit(aWhole, false); });
    EXPECT_EQ(loaded, 0);
    EXPECT_GT(refused, 8 * 7000);
}

TEST(ktmdl_ArchiveSweep, EachBitFlippedUnderARightChecksumLoadsOrIsRefused)
{
    const auto [loaded, refused] = forEachGolden(
        [](ArchiveSweep& aSweep, const Bytes& aWhole) { aSweep.FlipEachBit(aWhole, true); });
    EXPECT_GT(loaded, 1000);
    EXPECT_GT(refused, 1000);
}

TEST(ktmdl_ArchiveSweep, NumbersReplacedByExtremesLoadOrAreRefused)
{
    const auto [loaded, refused] = forEachGolden(
        [](ArchiveSweep& aSweep, const Bytes& aWhole) { aSweep.OverwriteNumbers(aWhole); });
    EXPECT_GT(loaded, 1000);
    EXPECT_GT(refused, 1000);
}

TEST(ktmdl_ArchiveSweep, EachArchiveLoadsAsAnyKindOrIsRefused)
{
    KeptModelObjects kept;
    long loaded = 0;
    long refused = 0;
    for (const Golden& golden : kGoldens) {
        for (const int format : {15, 16}) {
            for (const ArchiveRootKind& kind : kt_test::kArchiveRootKinds) {
                SCOPED_TRACE(testing::Message() << golden.name << format << " as " << kind.letter);
                ArchiveSweep sweep([&](const Bytes& aBytes) {
                    loadAll(kept, aBytes, std::string(1, kind.letter));
                });
                sweep.Try(readGolden(golden, format), [] { return "as it is"; });
                loaded += sweep.Loaded();
                refused += sweep.Refused();
            }
        }
    }
    EXPECT_GT(loaded, 10);
    EXPECT_GT(refused, 10);
}

TEST(ktmdl_ArchiveSweep, ReferencesNestedToAnyDepthAreRefused)
{
    const Bytes bytes = nestedReferences(kDeep);
    const PeakMemory memory;
    onSmallStack([&] {
        ktstd_Archive archive{Bytes(bytes)};
        Hnd_ktmdl_Topo root;
        EXPECT_TRUE(kt_test::raisesCode(ktstd_fail_FileIO::kTooDeep, [&] { archive >> root; }));
        EXPECT_EQ(root.IsNull(), 1);
        ktmdl_Topo::ClearAllTopos(); // the outer ones were registered as soon as their keys were
                                     // read
    });
    memory.ExpectBelowLimit(bytes.size());
}

TEST(ktmdl_ArchiveSweep, ReferencesChainedByTheirChildrenGoOnASmallStack)
{
    const Bytes bytes = chainedReferences(kDeep);
    const PeakMemory memory;
    onSmallStack([&] {
        Hnd_ktmdl_Topo last;
        {
            ktstd_Archive archive{Bytes(bytes)};
            ktmdl_TopoSeq all;
            archive >> all;
            ASSERT_EQ(all.Length(), static_cast<long>(kDeep));
            last = all.Value(all.Length());
            ktstd_Archive stored;
            stored << all;
            EXPECT_EQ(stored.Objects().size(), 2U * kDeep) << "none is nested when stored again";
        }
        ktmdl_Topo::ClearAllTopos();
        EXPECT_EQ(last->RefCount(), 1);
        // All of them hang on this handle; as it goes, so do they.
    });
    memory.ExpectBelowLimit(bytes.size());
}
