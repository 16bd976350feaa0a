#include "ktstd/ktstd_Schema.h"

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_AsciiString.h"
#include "support/Records.h"
#include "support/TestShared.h"

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

using kt_test::archiveHolding;

static_assert(std::is_same_v<decltype(ktstd_Schema::ClassVersion(ktstd_AsciiString())), long>);
static_assert(std::is_same_v<decltype(ktstd_Schema::LastClassVersion(ktstd_AsciiString())), long>);

namespace {

const ktstd_AsciiString kName("TestShared");

Hnd_ktstd_Transient makeNothing()
{
    return Hnd_ktstd_Transient();
}

} // namespace

TEST(ktstd_Schema, LastVersionIsTheOneRegistered)
{
    EXPECT_EQ(ktstd_Schema::LastClassVersion(kName), 3);
    EXPECT_EQ(ktstd_Schema::LastClassVersion("TestChild"), 0);
    EXPECT_LT(ktstd_Schema::LastClassVersion("Stranger"), 0);
}

TEST(ktstd_Schema, ClassVersionIsThatOfTheArchiveRead)
{
    for (const long version : {0L, 1L, 3L, 4L, -1L, -2147483647L - 1L, 2147483647L}) {
        ktstd_Archive archive(archiveHolding({1}, 16, {{"TestShared", version}}));
        EXPECT_EQ(archive.IsStoring(), 0);
        EXPECT_EQ(ktstd_Schema::ClassVersion(kName), version);
        EXPECT_EQ(ktstd_Schema::LastClassVersion(kName), 3) << "that of the program";
    }
}

TEST(ktstd_Schema, ArchiveHoldsTheNewestVersionsUnlessToldOtherwise)
{
    ktstd_Archive archive(archiveHolding({1}));
    EXPECT_EQ(archive.IsStoring(), 0);
    EXPECT_EQ(ktstd_Schema::ClassVersion(kName), 3);
    EXPECT_EQ(ktstd_Schema::ClassVersion("TestChild"), 0);
}

TEST(ktstd_Schema, ClassThatTheArchiveDoesNotListHasANegativeVersion)
{
    ktstd_Archive archive(archiveHolding({1}));
    EXPECT_EQ(archive.IsStoring(), 0);
    EXPECT_LT(ktstd_Schema::ClassVersion("Stranger"), 0);
}

TEST(ktstd_Schema, ClassWithAMakerIsMade)
{
    EXPECT_EQ(ktstd_Schema::CanMake("TestShared"), 1);
    EXPECT_STREQ(ktstd_Schema::Make("TestShared")->DynamicType()->Name(), "TestShared");
    EXPECT_EQ(ktstd_Schema::CanMake("Stranger"), 0);
    EXPECT_NE(ktstd_Schema::Make("Stranger").IsNull(), 0);
}

TEST(ktstd_Schema, ClassWithoutMakerHasAVersionButIsNotMade)
{
    EXPECT_EQ(ktstd_Schema::Register("Unmade", 2, nullptr), 1);
    EXPECT_EQ(ktstd_Schema::LastClassVersion("Unmade"), 2);
    EXPECT_EQ(ktstd_Schema::CanMake("Unmade"), 0);
    EXPECT_NE(ktstd_Schema::Make("Unmade").IsNull(), 0);
    EXPECT_EQ(ktstd_Schema::Unregister("Unmade"), 1);
}

TEST(ktstd_Schema, UnknownAndNullNamesAreNotUnregistered)
{
    EXPECT_EQ(ktstd_Schema::Unregister("Stranger"), 0);
    EXPECT_EQ(ktstd_Schema::Unregister(nullptr), 0);
}

TEST(ktstd_Schema, VersionThatFourBytesDontHoldIsNotRegistered)
{
    if constexpr (sizeof(long) > 4) {
        const long tooHigh = static_cast<long>(1LL << 31);
        EXPECT_EQ(ktstd_Schema::Register("TooHigh", tooHigh, makeNothing), 0);
        EXPECT_EQ(ktstd_Schema::Register("TooHigh", tooHigh - 1, makeNothing), 1);
        EXPECT_EQ(ktstd_Schema::Unregister("TooHigh"), 1);
    } else {
        GTEST_SKIP() << "a long holds no such version here";
    }
}
