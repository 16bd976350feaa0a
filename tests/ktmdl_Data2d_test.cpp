#include "ktmdl/ktmdl_Data2d.h"

#include "ktmdl/ktmdl_Pnt2d.h"
#include "ktmdl/ktmdl_Trsf2d.h"
#include "ktmdl/ktmdl_Vec2d.h"
#include "support/Bits.h"
#include "support/Failures.h"
#include "support/Planar.h"
#include "support/RecordContract.h"
#include "support/Slots.h"

#include <gtest/gtest.h>

#include <type_traits>

using kt_test::expectPair;

static_assert(std::is_abstract_v<ktmdl_Data2d>);
static_assert(std::has_virtual_destructor_v<ktmdl_Data2d>);
static_assert(std::is_base_of_v<ktmdl_Data2d, ktmdl_Pnt2d>);
static_assert(std::is_base_of_v<ktmdl_Data2d, ktmdl_Vec2d>);
static_assert(std::is_same_v<decltype(ktmdl_Data2d::mX), double>);
static_assert(std::is_same_v<decltype(ktmdl_Data2d::mY), double>);

namespace {

//! The pair alone, with the operations that it leaves open doing nothing, and one more.
class Pair : public ktmdl_Data2d
{
public:
    using ktmdl_Data2d::ktmdl_Data2d;
    using ktmdl_Data2d::operator=;

    void Rotate(const ktmdl_Pnt2d&, double) override {}
    void Transform(const ktmdl_Trsf2d&) override {}
    void Translate(const ktmdl_Vec2d&) override {}
    virtual void Behind() {}
};

} // namespace

TEST(ktmdl_Data2d, DefaultIsZero)
{
    expectPair(Pair(), 0, 0);
}

TEST(ktmdl_Data2d, IsMadeFromTwoNumbers)
{
    expectPair(Pair(1, 2), 1, 2);
}

TEST(ktmdl_Data2d, IsMadeFromTwoNumbersInARow)
{
    double numbers[3] = {-77, 1, 2};
    expectPair(Pair(numbers + 1), 1, 2);
}

TEST(ktmdl_Data2d, CopyIsIndependent)
{
    Pair first(1, 2);
    const Pair second(first);
    first.mX = 9;
    first.mY = 8;
    expectPair(second, 1, 2);
}

TEST(ktmdl_Data2d, SetOverwritesBoth)
{
    Pair pair(7, 8);
    pair.Set(1, 2);
    expectPair(pair, 1, 2);
    pair.Set(ktmdl_Pnt2d(4, 5));
    expectPair(pair, 4, 5);
    pair.Set(ktmdl_Vec2d(6, 7));
    expectPair(pair, 6, 7);
}

TEST(ktmdl_Data2d, CopyTakesTheCoordinatesOfAnyKind)
{
    Pair pair(7, 8);
    ktmdl_Data2d& data = pair;
    data.Copy(ktmdl_Vec2d(1, 2));
    expectPair(pair, 1, 2);
    data.Copy(ktmdl_Pnt2d(3, 4));
    expectPair(pair, 3, 4);
}

TEST(ktmdl_Data2d, AssignmentIsTheSameAsCopy)
{
    Pair pair(7, 8);
    ktmdl_Data2d& data = pair;
    const ktmdl_Vec2d vector(1, 2);
    data = vector;
    expectPair(pair, 1, 2);
}

TEST(ktmdl_Data2d, CopyOfItselfChangesNothing)
{
    Pair pair(7, 8);
    pair.Copy(pair);
    expectPair(pair, 7, 8);
    pair.Set(pair);
    expectPair(pair, 7, 8);
}

TEST(ktmdl_Data2d, CopyKeepsEveryBit)
{
    const double nan = kt_test::payloadNan();
    Pair pair(7, 8);
    pair.Copy(ktmdl_Pnt2d(-0.0, nan));
    EXPECT_EQ(kt_test::bitsOf(pair.mX), kt_test::bitsOf(-0.0));
    EXPECT_EQ(kt_test::bitsOf(pair.mY), kt_test::bitsOf(nan));
}

TEST(ktmdl_Data2d, TrsfIsTheTranslationByTheCoordinates)
{
    const Pair pair(2, 3);
    const ktmdl_Data2d& data = pair;
    const ktmdl_Trsf2d trsf = data.Trsf();
    const double wanted[2][3] = {{1, 0, 2}, {0, 1, 3}};
    for (long row = 1; row <= 2; ++row) {
        for (long column = 1; column <= 3; ++column) {
            EXPECT_EQ(trsf.Value(row, column), wanted[row - 1][column - 1])
                << row << ", " << column;
        }
    }
}

namespace {

//! Coordinates that only a copy of the raw bytes keeps.
struct Data2dSample
{
    using Class = ktmdl_Pnt2d;

    static Class sample() { return {-0.0, kt_test::payloadNan()}; }
    static Class other() { return {1, 2}; }
    static kt_test::RecordBytes& fill(kt_test::RecordBytes& aBytes)
    {
        return aBytes.data2d(-0.0, kt_test::payloadNan());
    }
};

} // namespace

KT_RECORD_TESTS(ktmdl_Data2d, Data2dSample);

TEST(ktmdl_Data2d, RecordTakes16BytesAndAMarker)
{
    ktmdl_Pnt2d point(1, 2);
    EXPECT_EQ(kt_test::recordOf(point).size(), 16U + 2U);
}

TEST(ktmdl_Data2d, RecordKeepsInfinitiesToo)
{
    ktmdl_Pnt2d stored(-kt_test::kInfinity, kt_test::kInfinity);
    ktstd_Archive archive(kt_test::archiveHolding(kt_test::recordOf(stored)));
    ktmdl_Pnt2d loaded(1, 2);
    loaded.Serialize(archive);
    expectPair(loaded, -kt_test::kInfinity, kt_test::kInfinity);
}

TEST(ktmdl_Data2d, FailureAtTheEndMarkerLeavesTheCoordinatesRead)
{
    kt_test::Bytes bytes = kt_test::RecordBytes().data2d(4, 5).bytes();
    bytes.back() ^= 0xFFU;
    ktstd_Archive archive(kt_test::archiveHolding(bytes));
    ktmdl_Pnt2d point(1, 2);
    EXPECT_TRUE(kt_test::raisesFileIO(17, "ktmdl_Data2d: expected end of class",
                                      [&] { point.Serialize(archive); }));
    expectPair(point, 4, 5);
}

TEST(ktmdl_Data2d, FailureAtTheVersionLeavesTheCoordinates)
{
    const kt_test::Bytes bytes = kt_test::RecordBytes().data2d(4, 5).bytes();
    ktstd_Archive archive(kt_test::archiveHolding(bytes, 16, {{"ktmdl_Data2d", -1}}));
    ktmdl_Pnt2d point(1, 2);
    EXPECT_TRUE(kt_test::raisesFileIO(16, "ktmdl_Data2d: bad class version [-1]",
                                      [&] { point.Serialize(archive); }));
    expectPair(point, 1, 2);
}

TEST(ktmdl_Data2d, VersionOfTheTripleDoesNotCount)
{
    const kt_test::Bytes bytes = kt_test::RecordBytes().data2d(4, 5).bytes();
    ktstd_Archive archive(kt_test::archiveHolding(bytes, 16, {{"ktmdl_Data3d", -1}}));
    ktmdl_Pnt2d point(1, 2);
    EXPECT_NO_THROW(point.Serialize(archive));
    expectPair(point, 4, 5);
}

TEST(ktmdl_Data2d, LayoutIsTheTableAndTwoNumbers)
{
    const Pair pair(1, 2);
    EXPECT_EQ(sizeof(ktmdl_Data2d), sizeof(void*) + 2 * sizeof(double));
    EXPECT_EQ(kt_test::valueAt<double>(pair, 8), 1);
    EXPECT_EQ(kt_test::valueAt<double>(pair, 16), 2);
}

#if KT_TEST_HAS_SLOTS
TEST(ktmdl_Data2d, OperationsStandInTheirSlots)
{
    using kt_test::slotOf;
    EXPECT_EQ(slotOf(&ktmdl_Data2d::Copy), 2);
    using Assigned = decltype(std::declval<ktmdl_Data2d&>() = std::declval<const ktmdl_Data2d&>());
    using Assign = Assigned (ktmdl_Data2d::*)(const ktmdl_Data2d&);
    EXPECT_EQ(slotOf(static_cast<Assign>(&ktmdl_Data2d::operator=)), 3);
    EXPECT_EQ(slotOf(&ktmdl_Data2d::Rotate), 4);
    EXPECT_EQ(slotOf(&ktmdl_Data2d::Transform), 5);
    EXPECT_EQ(slotOf(&ktmdl_Data2d::Translate), 6);
    EXPECT_EQ(slotOf(&ktmdl_Data2d::Trsf), 7);
    EXPECT_EQ(slotOf(&ktmdl_Data2d::Serialize), 8);
    EXPECT_EQ(slotOf(&Pair::Behind), 9);
}
#endif
