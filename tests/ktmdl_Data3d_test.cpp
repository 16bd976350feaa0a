#include "ktmdl/ktmdl_Data3d.h"

#include "ktmdl/ktmdl_Axis3d.h"
#include "ktmdl/ktmdl_Pnt3d.h"
#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktmdl/ktmdl_Vec3d.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_Schema.h"
#include "support/Bits.h"
#include "support/Failures.h"
#include "support/RecordContract.h"
#include "support/Slots.h"

#include <gtest/gtest.h>

#include <type_traits>

static_assert(std::is_abstract_v<ktmdl_Data3d>);
static_assert(std::has_virtual_destructor_v<ktmdl_Data3d>);
static_assert(std::is_base_of_v<ktmdl_Data3d, ktmdl_Pnt3d>);
static_assert(std::is_base_of_v<ktmdl_Data3d, ktmdl_Vec3d>);
static_assert(std::is_same_v<decltype(ktmdl_Data3d::mX), double>);
static_assert(std::is_same_v<decltype(ktmdl_Data3d::mY), double>);
static_assert(std::is_same_v<decltype(ktmdl_Data3d::mZ), double>);

namespace {

//! The triple alone, with the operations that it leaves open doing nothing, and one more.
class Triple : public ktmdl_Data3d
{
public:
    using ktmdl_Data3d::ktmdl_Data3d;
    using ktmdl_Data3d::operator=;

    void Rotate(const ktmdl_Axis3d&, double) override {}
    void Transform(const ktmdl_Trsf3d&) override {}
    void Translate(const ktmdl_Vec3d&) override {}
    virtual void Behind() {}
};

void expectTriple(const ktmdl_Data3d& aData, double aX, double aY, double aZ)
{
    EXPECT_EQ(aData.mX, aX);
    EXPECT_EQ(aData.mY, aY);
    EXPECT_EQ(aData.mZ, aZ);
}

} // namespace

TEST(ktmdl_Data3d, DefaultIsZero)
{
    expectTriple(Triple(), 0, 0, 0);
}

TEST(ktmdl_Data3d, IsMadeFromThreeNumbers)
{
    expectTriple(Triple(1, 2, 3), 1, 2, 3);
}

TEST(ktmdl_Data3d, IsMadeFromThreeNumbersInARow)
{
    double numbers[4] = {-77, 1, 2, 3};
    expectTriple(Triple(numbers + 1), 1, 2, 3);
}

TEST(ktmdl_Data3d, SetOverwritesAllThree)
{
    Triple triple(7, 8, 9);
    triple.Set(1, 2, 3);
    expectTriple(triple, 1, 2, 3);
    triple.Set(ktmdl_Pnt3d(4, 5, 6));
    expectTriple(triple, 4, 5, 6);
}

TEST(ktmdl_Data3d, CopyTakesTheCoordinatesOfAnyKind)
{
    Triple triple(7, 8, 9);
    ktmdl_Data3d& data = triple;
    data.Copy(ktmdl_Vec3d(1, 2, 3));
    expectTriple(triple, 1, 2, 3);
}

TEST(ktmdl_Data3d, AssignmentIsTheSameAsCopy)
{
    Triple triple(7, 8, 9);
    ktmdl_Data3d& data = triple;
    const ktmdl_Vec3d vector(1, 2, 3);
    data = vector;
    expectTriple(triple, 1, 2, 3);
}

TEST(ktmdl_Data3d, CopyOfItselfChangesNothing)
{
    Triple triple(7, 8, 9);
    triple.Copy(triple);
    expectTriple(triple, 7, 8, 9);
    triple.Set(triple);
    expectTriple(triple, 7, 8, 9);
}

TEST(ktmdl_Data3d, CopyKeepsEveryBit)
{
    const double nan = kt_test::payloadNan();
    Triple triple(7, 8, 9);
    triple.Copy(ktmdl_Pnt3d(-0.0, nan, -kt_test::kInfinity));
    EXPECT_EQ(kt_test::bitsOf(triple.mX), kt_test::bitsOf(-0.0));
    EXPECT_EQ(kt_test::bitsOf(triple.mY), kt_test::bitsOf(nan));
    EXPECT_EQ(kt_test::bitsOf(triple.mZ), kt_test::bitsOf(-kt_test::kInfinity));
}

TEST(ktmdl_Data3d, TrsfIsTheTranslationByTheCoordinates)
{
    const Triple triple(2, 3, 5);
    const ktmdl_Data3d& data = triple;
    double matrix[4][4];
    data.Trsf().GetMatrix(matrix);
    const double wanted[4][4] = {{1, 0, 0, 2}, {0, 1, 0, 3}, {0, 0, 1, 5}, {0, 0, 0, 1}};
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            EXPECT_EQ(matrix[row][column], wanted[row][column]);
        }
    }
}

namespace {

//! Coordinates that only a copy of the raw bytes keeps.
struct Data3dSample
{
    using Class = ktmdl_Pnt3d;

    static Class sample() { return {-0.0, kt_test::payloadNan(), -kt_test::kInfinity}; }
    static Class other() { return {1, 2, 3}; }
    static kt_test::RecordBytes& fill(kt_test::RecordBytes& aBytes)
    {
        return aBytes.data3d(-0.0, kt_test::payloadNan(), -kt_test::kInfinity);
    }
};

} // namespace

KT_RECORD_TESTS(ktmdl_Data3d, Data3dSample);

TEST(ktmdl_Data3d, RecordTakes24BytesAndAMarker)
{
    ktmdl_Pnt3d point(1, 2, 3);
    EXPECT_EQ(kt_test::recordOf(point).size(), 24U + 2U);
}

TEST(ktmdl_Data3d, FailureAtTheEndMarkerLeavesTheCoordinatesRead)
{
    kt_test::Bytes bytes = kt_test::RecordBytes().data3d(4, 5, 6).bytes();
    bytes.back() ^= 0xFFU;
    ktstd_Archive archive(kt_test::archiveHolding(bytes));
    ktmdl_Pnt3d point(1, 2, 3);
    EXPECT_TRUE(kt_test::raisesCode(17, [&] { point.Serialize(archive); }));
    expectTriple(point, 4, 5, 6);
}

TEST(ktmdl_Data3d, FailureAtTheVersionLeavesTheCoordinates)
{
    const kt_test::Bytes bytes = kt_test::RecordBytes().data3d(4, 5, 6).bytes();
    ktstd_Archive archive(kt_test::archiveHolding(bytes, 16, {{"ktmdl_Data3d", -1}}));
    ktmdl_Pnt3d point(1, 2, 3);
    EXPECT_TRUE(kt_test::raisesCode(16, [&] { point.Serialize(archive); }));
    expectTriple(point, 1, 2, 3);
}

TEST(ktmdl_Data3d, VersionIsThatOfTheArchiveBeingRead)
{
    const kt_test::Bytes bytes = kt_test::RecordBytes().data3d(4, 5, 6).data3d(7, 8, 9).bytes();
    ktstd_Archive good(kt_test::archiveHolding(bytes));
    ktstd_Archive bad(kt_test::archiveHolding(bytes, 16, {{"ktmdl_Data3d", -1}}));
    ktmdl_Pnt3d point;
    EXPECT_NO_THROW(point.Serialize(good));
    EXPECT_TRUE(kt_test::raisesCode(16, [&] { point.Serialize(bad); }));
    EXPECT_NO_THROW(point.Serialize(good));
    expectTriple(point, 7, 8, 9);
}

TEST(ktmdl_Data3d, LayoutIsTheTableAndThreeNumbers)
{
    const Triple triple(1, 2, 3);
    EXPECT_EQ(sizeof(ktmdl_Data3d), sizeof(void*) + 3 * sizeof(double));
    EXPECT_EQ(kt_test::valueAt<double>(triple, 8), 1);
    EXPECT_EQ(kt_test::valueAt<double>(triple, 16), 2);
    EXPECT_EQ(kt_test::valueAt<double>(triple, 24), 3);
}

#if KT_TEST_HAS_SLOTS
TEST(ktmdl_Data3d, OperationsStandInTheirSlots)
{
    using kt_test::slotOf;
    EXPECT_EQ(slotOf(&ktmdl_Data3d::Copy), 2);
    using Assigned = decltype(std::declval<ktmdl_Data3d&>() = std::declval<const ktmdl_Data3d&>());
    using Assign = Assigned (ktmdl_Data3d::*)(const ktmdl_Data3d&);
    EXPECT_EQ(slotOf(static_cast<Assign>(&ktmdl_Data3d::operator=)), 3);
    EXPECT_EQ(slotOf(&ktmdl_Data3d::Rotate), 4);
    EXPECT_EQ(slotOf(&ktmdl_Data3d::Transform), 5);
    EXPECT_EQ(slotOf(&ktmdl_Data3d::Translate), 6);
    EXPECT_EQ(slotOf(&ktmdl_Data3d::Trsf), 7);
    EXPECT_EQ(slotOf(&ktmdl_Data3d::Serialize), 8);
    EXPECT_EQ(slotOf(&Triple::Behind), 9);
}
#endif

TEST(ktmdl_Data3d, VersionIsCheckedAnewWhenTheSchemaHasChanged)
{
    ktstd_Archive storing;
    ktmdl_Pnt3d point(1.0, 2.0, 3.0);
    point.Serialize(storing);
    point.Serialize(storing);
    point.Serialize(storing);
    ktstd_Archive loading(storing.Finish());
    ktmdl_Pnt3d loaded;
    loaded.Serialize(loading);

    ASSERT_EQ(ktstd_Schema::Unregister("ktmdl_Data3d"), 1);
    EXPECT_TRUE(kt_test::raisesFileIO(16, "ktmdl_Data3d: bad class version [0]",
                                      [&] { loaded.Serialize(loading); }));
    ASSERT_EQ(ktstd_Schema::Register("ktmdl_Data3d", 0, nullptr), 1);
    EXPECT_NO_THROW(loaded.Serialize(loading));
    EXPECT_NO_THROW(loaded.Serialize(loading));
}

TEST(ktmdl_Data3d, VersionIsThatOfTheArchiveThatIsRead)
{
    ktmdl_Pnt3d point(1.0, 2.0, 3.0);
    ktstd_Archive good;
    point.Serialize(good);
    point.Serialize(good);
    ktstd_Archive newer;
    newer.SetClassVersion("ktmdl_Data3d", 1);
    point.Serialize(newer);
    ktstd_Archive loadingGood(good.Finish());
    ktstd_Archive loadingNewer(newer.Finish());

    ktmdl_Pnt3d loaded;
    loaded.Serialize(loadingGood);
    EXPECT_TRUE(kt_test::raisesFileIO(16, "ktmdl_Data3d: bad class version [1]",
                                      [&] { loaded.Serialize(loadingNewer); }));
    EXPECT_NO_THROW(loaded.Serialize(loadingGood));
}
