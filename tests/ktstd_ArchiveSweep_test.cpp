// The kernel's golden archive, cut, flipped and overwritten at every place, and objects nested to
// any depth. What ktstd_ArchiveDamage tries byte by byte is not repeated.

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_TransientHSeq.h"
#include "support/ArchiveSweep.h"
#include "support/KeptObjects.h"
#include "support/Links.h"
#include "support/SmallStack.h"

#include <gtest/gtest.h>

namespace {

using kt_test::ArchiveSweep;
using kt_test::Bytes;
using kt_test::KeptObjects;
using kt_test::PeakMemory;
using kt_test::put32;
using kt_test::putName;

constexpr std::uint32_t kDeep = 100000;

Bytes sample()
{
    return kt_test::dataFile("archive-links.bin");
}

//! Loads what the sample holds and lets go of it.
void loadLinks(const Bytes& aBytes)
{
    KeptObjects<Link> links("Link");
    KeptObjects<ktstd_TransientHSeq> sequences("ktstd_TransientHSeq");
    try {
        ktstd_Archive archive{Bytes(aBytes)};
        unsigned short marker = 0;
        Hnd_Link first;
        Hnd_Link second;
        archive >> marker >> first >> second;
    } catch (const Hnd_ktstd_fail_Failure&) {
        links.Release([](Link& aLink) { aLink.next.Nullify(); });
        throw;
    }
    links.Release([](Link& aLink) { aLink.next.Nullify(); });
}

//! Gives sequences stored one inside the other.
Bytes nestedSequences(std::uint32_t aDepth)
{
    Bytes data;
    for (std::uint32_t number = 1; number <= aDepth; ++number) {
        put32(data, number);
        putName(data, "ktstd_TransientHSeq");
        put32(data, 1);
    }
    put32(data, 0);
    return kt_test::archiveOf(data);
}

//! Gives sequences each of which holds the one before, none nested.
Bytes chainedSequences(std::uint32_t aCount)
{
    Bytes data;
    for (std::uint32_t number = 1; number <= aCount; ++number) {
        put32(data, number);
        putName(data, "ktstd_TransientHSeq");
        put32(data, 1);
        put32(data, number - 1);
    }
    return kt_test::archiveOf(data);
}

} // namespace

TEST(ktstd_ArchiveSweep, SampleCutUnderARightTrailerIsRefused)
{
    const PeakMemory memory;
    const long before = Link::alive;
    const Bytes whole = sample();
    ArchiveSweep sweep(loadLinks);
    sweep.CutUnderRightTrailer(whole);
    EXPECT_EQ(Link::alive, before);
    EXPECT_GT(sweep.Loaded(), 0) << "without a directory";
    EXPECT_GT(sweep.Refused(), 20);
    memory.ExpectBelowLimit(whole.size());
}

TEST(ktstd_ArchiveSweep, EachBitFlippedIsFound)
{
    const Bytes whole = sample();
    ArchiveSweep sweep(loadLinks);
    sweep.FlipEachBit(whole, false);
    EXPECT_EQ(sweep.Loaded(), 0);
    EXPECT_EQ(sweep.Refused(), static_cast<long>(8 * whole.size()));
}

TEST(ktstd_ArchiveSweep, EachBitFlippedUnderARightChecksumLoadsOrIsRefused)
{
    const PeakMemory memory;
    const long before = Link::alive;
    const Bytes whole = sample();
    ArchiveSweep sweep(loadLinks);
    sweep.FlipEachBit(whole, true);
    EXPECT_EQ(Link::alive, before);
    EXPECT_GT(sweep.Loaded(), 0);
    EXPECT_GT(sweep.Refused(), 0);
    memory.ExpectBelowLimit(whole.size());
}

TEST(ktstd_ArchiveSweep, NumbersReplacedByExtremesLoadOrAreRefused)
{
    const PeakMemory memory;
    const long before = Link::alive;
    const Bytes whole = sample();
    ArchiveSweep sweep(loadLinks);
    sweep.OverwriteNumbers(whole);
    EXPECT_EQ(Link::alive, before);
    EXPECT_GT(sweep.Loaded(), 0);
    EXPECT_GT(sweep.Refused(), 0);
    memory.ExpectBelowLimit(whole.size());
}

TEST(ktstd_ArchiveSweep, SequencesNestedToAnyDepthAreRefused)
{
    const Bytes bytes = nestedSequences(kDeep);
    const PeakMemory memory;
    kt_test::onSmallStack([&] {
        ktstd_Archive archive{Bytes(bytes)};
        Hnd_ktstd_Transient root;
        EXPECT_TRUE(kt_test::raisesCode(ktstd_fail_FileIO::kTooDeep, [&] { archive >> root; }));
        EXPECT_EQ(root.IsNull(), 1);
    });
    memory.ExpectBelowLimit(bytes.size());
}

TEST(ktstd_ArchiveSweep, SequencesChainedByReferencesGoOnASmallStack)
{
    const Bytes bytes = chainedSequences(kDeep);
    const PeakMemory memory;
    kt_test::onSmallStack([&] {
        Hnd_ktstd_Transient last;
        {
            ktstd_Archive archive{Bytes(bytes)};
            while (archive.Remaining() != 0) {
                archive >> last;
            }
            EXPECT_EQ(last->RefCount(), 2) << "the archive and this handle";
        }
        EXPECT_EQ(last->RefCount(), 1);
        // All of them hang on this handle; as the last goes, so do they.
        ktstd_Archive stored;
        EXPECT_TRUE(kt_test::raisesCode(ktstd_fail_FileIO::kTooDeep, [&] { stored << last; }));
    });
    memory.ExpectBelowLimit(bytes.size());
}
