#include "ktstd/ktstd_Archive.h"

#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_Dim.h"
#include "support/Bits.h"
#include "support/Failures.h"
#include "support/Records.h"
#include "support/TestShared.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

using kt_test::archiveHolding;
using kt_test::Bytes;
using kt_test::dataOf;
using kt_test::raisesClass;
using kt_test::RecordBytes;
using kt_test::SharedGuard;

static_assert(std::is_same_v<std::remove_const_t<decltype(EOC)>, short>);
static_assert(std::is_same_v<decltype(std::declval<ktstd_Archive&>().Read(nullptr, 0L)), long>);
static_assert(std::is_same_v<decltype(std::declval<ktstd_Archive&>().ReadCount()), unsigned long>);
static_assert(std::is_same_v<decltype(std::declval<const ktstd_Archive&>().FormatVersion()), long>);
static_assert(!std::is_copy_constructible_v<ktstd_Archive>);

namespace {

using FileIO = Hnd_ktstd_fail_FileIO;

RecordBytes& objectHead(RecordBytes& aBytes, std::uint32_t aNumber, const std::string& aClass)
{
    return aBytes.u32(aNumber).u8(static_cast<unsigned>(aClass.size())).text(aClass);
}

} // namespace

TEST(ktstd_Archive, IsStoringOrLoading)
{
    const ktstd_Archive storing;
    EXPECT_EQ(storing.IsStoring(), 1);
    EXPECT_EQ(storing.FormatVersion(), 16);
    const ktstd_Archive loading(archiveHolding({1}));
    EXPECT_EQ(loading.IsStoring(), 0);
    EXPECT_EQ(loading.FormatVersion(), 16);
}

TEST(ktstd_Archive, FormatVersionIsThatOfTheArchiveRead)
{
    const ktstd_Archive older(archiveHolding({1}, 15));
    EXPECT_EQ(older.FormatVersion(), 15);
    const ktstd_Archive storing(15);
    EXPECT_EQ(storing.FormatVersion(), 15);
}

TEST(ktstd_Archive, BlockIsStoredAndLoadedByteForByte)
{
    Bytes block;
    for (unsigned i = 0; i < 256; ++i) {
        block.push_back(static_cast<unsigned char>(i));
    }
    const Bytes stored =
        dataOf([&](ktstd_Archive& aArchive) { aArchive.Write(block.data(), 256); });
    EXPECT_EQ(stored, block);
    ktstd_Archive archive(archiveHolding(stored));
    Bytes loaded(256);
    EXPECT_EQ(archive.Read(loaded.data(), 200), 200);
    EXPECT_EQ(archive.Remaining(), 56U);
    EXPECT_EQ(archive.Read(loaded.data() + 200, 56), 56);
    EXPECT_EQ(loaded, block);
    EXPECT_EQ(archive.Remaining(), 0U);
}

TEST(ktstd_Archive, BlockOfNothingIsAllowed)
{
    EXPECT_TRUE(dataOf([](ktstd_Archive& aArchive) { aArchive.Write(nullptr, 0); }).empty());
    ktstd_Archive archive(archiveHolding({}));
    EXPECT_EQ(archive.Read(nullptr, 0), 0);
}

TEST(ktstd_Archive, StoringArchiveHasNothingLeftToRead)
{
    ktstd_Archive archive;
    archive << 7L;
    EXPECT_EQ(archive.Position(), 4U);
    EXPECT_EQ(archive.Remaining(), 0U);
}

TEST(ktstd_Archive, NegativeBlockLengthIsRefused)
{
    unsigned char target = 7;
    ktstd_Archive storing;
    EXPECT_TRUE(raisesClass<FileIO>([&] { storing.Write(&target, -1); }));
    EXPECT_EQ(storing.Position(), 0U);
    ktstd_Archive loading(archiveHolding({1, 2}));
    EXPECT_TRUE(raisesClass<FileIO>([&] { loading.Read(&target, -1); }));
    EXPECT_EQ(target, 7);
    EXPECT_EQ(loading.Remaining(), 2U);
}

TEST(ktstd_Archive, ReadingMoreThanIsLeftIsRefused)
{
    ktstd_Archive archive(archiveHolding({1, 2, 3}));
    Bytes target(4, 9);
    EXPECT_TRUE(raisesClass<FileIO>([&] { archive.Read(target.data(), 4); }));
    EXPECT_EQ(target, Bytes(4, 9));
    EXPECT_EQ(archive.Read(target.data(), 3), 3);
}

TEST(ktstd_Archive, LongTakesFourBytes)
{
    const std::vector<long> values = {0,
                                      1,
                                      -1,
                                      0x12345678,
                                      std::numeric_limits<std::int32_t>::max(),
                                      std::numeric_limits<std::int32_t>::min()};
    for (const long value : values) {
        RecordBytes wanted;
        wanted.u32(static_cast<std::uint32_t>(value));
        EXPECT_EQ(dataOf([&](ktstd_Archive& aArchive) { aArchive << value; }), wanted.bytes());
        ktstd_Archive archive(archiveHolding(wanted.bytes()));
        long loaded = 77;
        archive >> loaded;
        EXPECT_EQ(loaded, value);
    }
}

TEST(ktstd_Archive, LongBeyond32BitsIsRefusedAndNothingStored)
{
    if (sizeof(long) == 4) {
        GTEST_SKIP() << "long has 32 bits here";
    }
    const auto above = static_cast<long>(std::int64_t{0x80000000});
    const auto below = static_cast<long>(-std::int64_t{0x80000001});
    for (const long value : {above, below, std::numeric_limits<long>::max()}) {
        ktstd_Archive archive;
        EXPECT_TRUE(raisesClass<FileIO>([&] { archive << value; }));
        EXPECT_EQ(archive.Position(), 0U);
    }
}

TEST(ktstd_Archive, SmallNumbersKeepTheirWidth)
{
    for (const unsigned value : {0U, 1U, 0x1234U, 0xFFFFU}) {
        const auto number = static_cast<unsigned short>(value);
        const Bytes bytes = dataOf([&](ktstd_Archive& aArchive) { aArchive << number; });
        EXPECT_EQ(bytes, RecordBytes().u16(value).bytes());
        ktstd_Archive archive(archiveHolding(bytes));
        unsigned short loaded = 77;
        archive >> loaded;
        EXPECT_EQ(loaded, value);
    }
    for (const unsigned value : {0U, 1U, 0xFFU}) {
        const auto number = static_cast<unsigned char>(value);
        const Bytes bytes = dataOf([&](ktstd_Archive& aArchive) { aArchive << number; });
        EXPECT_EQ(bytes, RecordBytes().u8(value).bytes());
        ktstd_Archive archive(archiveHolding(bytes));
        unsigned char loaded = 77;
        archive >> loaded;
        EXPECT_EQ(loaded, value);
    }
}

TEST(ktstd_Archive, OperatorsMayBeChained)
{
    const Bytes bytes = dataOf([](ktstd_Archive& aArchive) {
        aArchive << 5L << static_cast<unsigned short>(6) << static_cast<unsigned char>(7)
                 << ktstd_AsciiString("ab") << ktstd_Dim(0.5, ktstd_Dim::kAngle) << 8L;
    });
    EXPECT_EQ(bytes, RecordBytes()
                         .u32(5)
                         .u16(6)
                         .u8(7)
                         .u32(2)
                         .text("ab")
                         .u8(ktstd_Dim::kAngle)
                         .f64(0.5)
                         .u32(8)
                         .bytes());
    ktstd_Archive archive(archiveHolding(bytes));
    long first = 0;
    unsigned short second = 0;
    unsigned char third = 0;
    ktstd_AsciiString fourth;
    ktstd_Dim fifth;
    long sixth = 0;
    archive >> first >> second >> third >> fourth >> fifth >> sixth;
    EXPECT_EQ(first, 5);
    EXPECT_EQ(second, 6);
    EXPECT_EQ(third, 7);
    EXPECT_STREQ(fourth.ToCString(), "ab");
    EXPECT_EQ(fifth, ktstd_Dim(0.5, ktstd_Dim::kAngle));
    EXPECT_EQ(sixth, 8);
}

TEST(ktstd_Archive, CountIsStoredAndLoaded)
{
    const Bytes bytes = dataOf([](ktstd_Archive& aArchive) {
        aArchive.WriteCount(3);
        aArchive.WriteCount(0);
        aArchive << static_cast<unsigned char>(1);
    });
    ktstd_Archive archive(archiveHolding(bytes));
    EXPECT_EQ(archive.ReadCount(), 3U);
    EXPECT_EQ(archive.ReadCount(), 0U);
    EXPECT_EQ(archive.Remaining(), 1U);
}

TEST(ktstd_Archive, CountBeyond32BitsIsRefusedAndNothingStored)
{
    if (sizeof(long) == 4) {
        GTEST_SKIP() << "long has 32 bits here";
    }
    const auto count = static_cast<unsigned long>(std::uint64_t{1} << 32U);
    ktstd_Archive archive;
    EXPECT_TRUE(raisesClass<FileIO>([&] { archive.WriteCount(count); }));
    EXPECT_EQ(archive.Position(), 0U);
}

TEST(ktstd_Archive, TargetsOfAFailedReadAreLeft)
{
    ktstd_Archive archive(archiveHolding({}));
    long first = 5;
    unsigned short second = 6;
    unsigned char third = 7;
    ktstd_AsciiString fourth("before");
    ktstd_Dim fifth(2);
    EXPECT_TRUE(raisesClass<FileIO>([&] { archive >> first; }));
    EXPECT_TRUE(raisesClass<FileIO>([&] { archive >> second; }));
    EXPECT_TRUE(raisesClass<FileIO>([&] { archive >> third; }));
    EXPECT_TRUE(raisesClass<FileIO>([&] { archive >> fourth; }));
    EXPECT_TRUE(raisesClass<FileIO>([&] { archive >> fifth; }));
    EXPECT_TRUE(raisesClass<FileIO>([&] { static_cast<void>(archive.ReadCount()); }));
    EXPECT_EQ(first, 5);
    EXPECT_EQ(second, 6);
    EXPECT_EQ(third, 7);
    EXPECT_STREQ(fourth.ToCString(), "before");
    EXPECT_EQ(fifth, ktstd_Dim(2));
}

TEST(ktstd_Archive, WrongDirectionIsRefused)
{
    const SharedGuard guard;
    ktstd_Archive storing;
    long number = 5;
    Hnd_ktstd_Transient handle;
    EXPECT_TRUE(raisesClass<FileIO>([&] { storing >> number; }));
    EXPECT_TRUE(raisesClass<FileIO>([&] { storing.Read(&number, 4); }));
    EXPECT_TRUE(raisesClass<FileIO>([&] { static_cast<void>(storing.ReadCount()); }));
    EXPECT_TRUE(raisesClass<FileIO>([&] { storing >> handle; }));
    EXPECT_EQ(storing.Position(), 0U);
    ktstd_Archive loading(archiveHolding({1, 0, 0, 0}));
    EXPECT_TRUE(raisesClass<FileIO>([&] { loading << number; }));
    EXPECT_TRUE(raisesClass<FileIO>([&] { loading.Write(&number, 4); }));
    EXPECT_TRUE(raisesClass<FileIO>([&] { loading.WriteCount(1); }));
    EXPECT_TRUE(raisesClass<FileIO>([&] { loading << handle; }));
    EXPECT_EQ(loading.Remaining(), 4U);
    EXPECT_EQ(number, 5);
}

TEST(ktstd_Archive, NullHandleIsRestoredNull)
{
    const SharedGuard guard;
    const Bytes bytes = dataOf([](ktstd_Archive& aArchive) { aArchive << Hnd_ktstd_Transient(); });
    EXPECT_EQ(bytes, (Bytes{0, 0, 0, 0}));
    ktstd_Archive archive(archiveHolding(bytes));
    Hnd_ktstd_Transient loaded(new TestShared());
    archive >> loaded;
    EXPECT_EQ(loaded.IsNull(), 1);
}

TEST(ktstd_Archive, ObjectIsStoredWithItsClassAndItsOwnRecord)
{
    const SharedGuard guard;
    const Hnd_TestShared object(new TestShared(7));
    const Bytes bytes = dataOf([&](ktstd_Archive& aArchive) {
        EXPECT_EQ(&(aArchive << object), &aArchive);
        EXPECT_EQ(TestShared::serialized, 1);
    });
    RecordBytes wanted;
    objectHead(wanted, 1, "TestShared").u32(7).u32(0);
    EXPECT_EQ(bytes, wanted.bytes());
    ktstd_Archive archive(archiveHolding(bytes));
    Hnd_ktstd_Transient loaded;
    EXPECT_EQ(&(archive >> loaded), &archive);
    EXPECT_EQ(&loaded->DynamicType(), &TestShared_Type_());
    EXPECT_EQ(static_cast<TestShared&>(*loaded).number, 7);
    EXPECT_EQ(TestShared::serialized, 2);
    EXPECT_NE(loaded, object);
}

TEST(ktstd_Archive, SharedObjectsAreStoredOnceAndRestoredShared)
{
    const SharedGuard guard;
    const Hnd_TestShared shared(new TestShared(7));
    const Hnd_TestShared first(new TestShared(1, shared));
    const Hnd_TestShared second(new TestShared(2, shared));
    const Bytes bytes = dataOf([&](ktstd_Archive& aArchive) {
        aArchive << first << second << shared << first;
        EXPECT_EQ(TestShared::serialized, 3) << "each content once";
    });
    ktstd_Archive archive(archiveHolding(bytes));
    Hnd_TestShared loadedFirst;
    Hnd_TestShared loadedSecond;
    Hnd_TestShared loadedShared;
    Hnd_TestShared again;
    archive >> loadedFirst >> loadedSecond >> loadedShared >> again;
    EXPECT_EQ(loadedFirst->number, 1);
    EXPECT_EQ(loadedSecond->number, 2);
    EXPECT_EQ(loadedShared->number, 7);
    EXPECT_EQ(loadedFirst->next, loadedShared);
    EXPECT_EQ(loadedSecond->next, loadedShared);
    EXPECT_EQ(again, loadedFirst);
}

TEST(ktstd_Archive, EqualObjectsAreNotShared)
{
    const SharedGuard guard;
    const Bytes bytes = dataOf([](ktstd_Archive& aArchive) {
        aArchive << Hnd_TestShared(new TestShared(7)) << Hnd_TestShared(new TestShared(7));
    });
    ktstd_Archive archive(archiveHolding(bytes));
    Hnd_TestShared first;
    Hnd_TestShared second;
    archive >> first >> second;
    EXPECT_NE(first, second);
    EXPECT_EQ(second->number, 7);
}

TEST(ktstd_Archive, ClassOfEachObjectIsRestored)
{
    const SharedGuard guard;
    const Bytes bytes = dataOf([](ktstd_Archive& aArchive) {
        aArchive << Hnd_TestShared(new TestChild(1)) << Hnd_TestShared(new TestShared(2));
    });
    ktstd_Archive archive(archiveHolding(bytes));
    Hnd_TestShared first;
    Hnd_ktstd_Transient second;
    archive >> first >> second;
    EXPECT_EQ(&first->DynamicType(), &TestChild_Type_());
    EXPECT_EQ(&second->DynamicType(), &TestShared_Type_());
}

TEST(ktstd_Archive, CycleIsRestored)
{
    const SharedGuard guard;
    const Hnd_TestShared first(new TestShared(1));
    const Hnd_TestShared second(new TestShared(2, first));
    first->next = second;
    const Bytes bytes = dataOf([&](ktstd_Archive& aArchive) { aArchive << first; });
    {
        ktstd_Archive archive(archiveHolding(bytes));
        Hnd_TestShared loaded;
        archive >> loaded;
        const Hnd_TestShared other = Hnd_TestShared::DownCast(loaded->next);
        EXPECT_EQ(loaded->number, 1);
        EXPECT_EQ(other->number, 2);
        EXPECT_EQ(other->next, loaded);
        loaded->next.Nullify();
    }
    first->next.Nullify();
}

TEST(ktstd_Archive, HandleOfAnotherClassIsRefusedAndLeft)
{
    const SharedGuard guard;
    const Bytes bytes =
        dataOf([](ktstd_Archive& aArchive) { aArchive << Hnd_TestShared(new TestShared(7)); });
    const Hnd_TestChild before(new TestChild(9));
    ktstd_Archive archive(archiveHolding(bytes));
    Hnd_TestChild child(before);
    EXPECT_TRUE(raisesClass<FileIO>([&] { archive >> child; }));
    EXPECT_EQ(child, before);
}

TEST(ktstd_Archive, ClassThatNobodyRegisteredIsNotStored)
{
    ktstd_Archive archive;
    EXPECT_TRUE(raisesClass<FileIO>([&] { archive << Hnd_ktstd_Transient(new TestOther()); }));
    EXPECT_EQ(archive.Position(), 0U);
}

TEST(ktstd_Archive, ClassThatNobodyKnowsIsNotLoaded)
{
    RecordBytes bytes;
    objectHead(bytes, 1, "Stranger");
    ktstd_Archive archive(archiveHolding(bytes.bytes()));
    Hnd_ktstd_Transient handle;
    EXPECT_TRUE(raisesClass<FileIO>([&] { archive >> handle; }));
    EXPECT_EQ(handle.IsNull(), 1);
}

TEST(ktstd_Archive, ObjectsThatWereCutAreGoneAfterTheFailure)
{
    const SharedGuard guard;
    RecordBytes bytes;
    objectHead(bytes, 1, "TestShared").u32(1);
    objectHead(bytes, 2, "TestShared").u8(2);
    ktstd_Archive archive(archiveHolding(bytes.bytes()));
    Hnd_ktstd_Transient handle;
    EXPECT_TRUE(raisesClass<FileIO>([&] { archive >> handle; }));
    EXPECT_EQ(handle.IsNull(), 1);
    EXPECT_EQ(TestShared::alive, 0);
}

TEST(ktstd_Archive, LetsGoOfItsObjectsAtItsEnd)
{
    const SharedGuard guard;
    Hnd_TestShared object(new TestShared(7));
    {
        ktstd_Archive archive;
        archive << object;
    }
    EXPECT_EQ(object->RefCount(), 1);
    const Bytes bytes = dataOf([&](ktstd_Archive& aArchive) { aArchive << object; });
    Hnd_TestShared loaded;
    {
        ktstd_Archive archive(archiveHolding(bytes));
        archive >> loaded;
    }
    EXPECT_EQ(loaded->RefCount(), 1);
}
