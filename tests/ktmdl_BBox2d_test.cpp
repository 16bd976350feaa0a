#include "ktmdl/ktmdl_BBox2d.h"

#include "support/Bits.h"
#include "support/Failures.h"
#include "support/FloatFlags.h"
#include "support/Planar.h"
#include "support/RecordContract.h"
#include "support/Slots.h"

#include <gtest/gtest.h>

#include <array>
#include <type_traits>

using kt_test::above;
using kt_test::below;
using kt_test::kTol;

static_assert(std::has_virtual_destructor_v<ktmdl_BBox2d>);
static_assert(std::is_same_v<decltype(std::declval<const ktmdl_BBox2d&>().IsInside(
                                 std::declval<const ktmdl_Pnt2d&>())),
                             unsigned char>);

namespace {

using Numbers = std::array<double, 4>;

Numbers numbersOf(const ktmdl_BBox2d& aBox)
{
    Numbers numbers{};
    aBox.Get(numbers[0], numbers[1], numbers[2], numbers[3]);
    return numbers;
}

Numbers centerSizeOf(const ktmdl_BBox2d& aBox)
{
    Numbers numbers{};
    aBox.GetCenterSize(numbers[0], numbers[1], numbers[2], numbers[3]);
    return numbers;
}

const ktmdl_BBox2d kUnit(0, 0, 1, 1);

//! A box with given ends on one axis, far off and different on the other.
ktmdl_BBox2d boxWith(int aAxis, double aMin, double aMax)
{
    return aAxis == 0 ? ktmdl_BBox2d(aMin, -20, aMax, 22) : ktmdl_BBox2d(-10, aMin, 11, aMax);
}

//! A point with a given coordinate on one axis, inside such a box on the other.
ktmdl_Pnt2d pointWith(int aAxis, double aValue)
{
    return aAxis == 0 ? ktmdl_Pnt2d(aValue, 7) : ktmdl_Pnt2d(-3, aValue);
}

class Probe : public ktmdl_BBox2d
{
public:
    virtual void Behind() {}
};

} // namespace

TEST(ktmdl_BBox2d, DefaultIsTheSinglePointAtTheOrigin)
{
    EXPECT_EQ(numbersOf(ktmdl_BBox2d()), (Numbers{0, 0, 0, 0}));
}

TEST(ktmdl_BBox2d, CornersAreKeptAsGiven)
{
    EXPECT_EQ(numbersOf(ktmdl_BBox2d(ktmdl_Pnt2d(1, 2), ktmdl_Pnt2d(3, 4))), (Numbers{1, 2, 3, 4}));
    EXPECT_EQ(numbersOf(ktmdl_BBox2d(ktmdl_Pnt2d(3, 4), ktmdl_Pnt2d(1, 2))), (Numbers{3, 4, 1, 2}));
    EXPECT_EQ(numbersOf(ktmdl_BBox2d(1, 2, 3, 4)), (Numbers{1, 2, 3, 4}));
    EXPECT_EQ(numbersOf(ktmdl_BBox2d(3, 4, 1, 2)), (Numbers{3, 4, 1, 2}));
}

TEST(ktmdl_BBox2d, CopiesBothCorners)
{
    const ktmdl_BBox2d source(1, 2, 3, 4);
    EXPECT_EQ(numbersOf(ktmdl_BBox2d(source)), (Numbers{1, 2, 3, 4}));
    ktmdl_BBox2d assigned;
    assigned = source;
    EXPECT_EQ(numbersOf(assigned), (Numbers{1, 2, 3, 4}));
}

TEST(ktmdl_BBox2d, CenterSizeIsHalfTheSumAndTheDifference)
{
    EXPECT_EQ(centerSizeOf(ktmdl_BBox2d(1, 2, 4, 8)), (Numbers{2.5, 5, 3, 6}));
    EXPECT_EQ(centerSizeOf(ktmdl_BBox2d(4, 8, 1, 2)), (Numbers{2.5, 5, -3, -6}));
}

TEST(ktmdl_BBox2d, SetCenterSizeIsHalfTheSizeToEachSide)
{
    ktmdl_BBox2d box(7, 7, 9, 9);
    box.SetCenterSize(ktmdl_Pnt2d(10, 20), 2, 4);
    EXPECT_EQ(numbersOf(box), (Numbers{9, 18, 11, 22}));
    ktmdl_BBox2d other(7, 7, 9, 9);
    other.SetCenterSize(10, 20, 2, 4);
    EXPECT_EQ(numbersOf(other), (Numbers{9, 18, 11, 22}));
}

TEST(ktmdl_BBox2d, SetCenterSizeWithNegativeSizesInvertsTheBox)
{
    ktmdl_BBox2d box;
    box.SetCenterSize(10, 20, -2, -4);
    EXPECT_EQ(numbersOf(box), (Numbers{11, 22, 9, 18}));
    box.SetCenterSize(ktmdl_Pnt2d(0, 0), -2, -4);
    EXPECT_EQ(numbersOf(box), (Numbers{1, 2, -1, -2}));
}

TEST(ktmdl_BBox2d, AddingABoxTakesTheOuterCorners)
{
    ktmdl_BBox2d box(0, 1, 10, 11);
    box.Add(ktmdl_BBox2d(-1, 5, 9, 21));
    EXPECT_EQ(numbersOf(box), (Numbers{-1, 1, 10, 21}));
    box.Add(ktmdl_BBox2d(0, 0, 20, 0));
    EXPECT_EQ(numbersOf(box), (Numbers{-1, 0, 20, 21}));
    box.Add(box);
    EXPECT_EQ(numbersOf(box), (Numbers{-1, 0, 20, 21}));
}

TEST(ktmdl_BBox2d, AddingABoxHasNoTolerance)
{
    for (int axis = 0; axis < 2; ++axis) {
        ktmdl_BBox2d box = boxWith(axis, 0, 1);
        box.Add(boxWith(axis, -above(0.0), above(1)));
        EXPECT_EQ(numbersOf(box), numbersOf(boxWith(axis, -above(0.0), above(1))));
    }
}

TEST(ktmdl_BBox2d, AddingABoxComparesMinWithMinAndMaxWithMax)
{
    ktmdl_BBox2d box(kUnit);
    box.Add(ktmdl_BBox2d(5, 5, -5, -5));
    EXPECT_EQ(numbersOf(box), numbersOf(kUnit));
}

TEST(ktmdl_BBox2d, InsideKeepsMoreThanAMillionthInwards)
{
    // Corners at 0, so that a millionth is exact.
    for (int axis = 0; axis < 2; ++axis) {
        SCOPED_TRACE(axis);
        const ktmdl_BBox2d low = boxWith(axis, 0, 1);
        EXPECT_EQ(low.IsInside(pointWith(axis, 0.5)), 1);
        EXPECT_EQ(low.IsInside(pointWith(axis, above(kTol))), 1);
        EXPECT_EQ(low.IsInside(pointWith(axis, kTol)), 0);
        EXPECT_EQ(low.IsInside(pointWith(axis, -5)), 0);
        const ktmdl_BBox2d high = boxWith(axis, -1, 0);
        EXPECT_EQ(high.IsInside(pointWith(axis, -0.5)), 1);
        EXPECT_EQ(high.IsInside(pointWith(axis, below(-kTol))), 1);
        EXPECT_EQ(high.IsInside(pointWith(axis, -kTol)), 0);
        EXPECT_EQ(high.IsInside(pointWith(axis, 5)), 0);
    }
}

TEST(ktmdl_BBox2d, OutsideStartsMoreThanAMillionthOutwards)
{
    for (int axis = 0; axis < 2; ++axis) {
        SCOPED_TRACE(axis);
        const ktmdl_BBox2d low = boxWith(axis, 0, 1);
        EXPECT_EQ(low.IsOutside(pointWith(axis, 0.5)), 0);
        EXPECT_EQ(low.IsOutside(pointWith(axis, -kTol)), 0);
        EXPECT_EQ(low.IsOutside(pointWith(axis, below(-kTol))), 1);
        EXPECT_EQ(low.IsOutside(pointWith(axis, -5)), 1);
        const ktmdl_BBox2d high = boxWith(axis, -1, 0);
        EXPECT_EQ(high.IsOutside(pointWith(axis, kTol)), 0);
        EXPECT_EQ(high.IsOutside(pointWith(axis, above(kTol))), 1);
        EXPECT_EQ(high.IsOutside(pointWith(axis, 5)), 1);
    }
}

TEST(ktmdl_BBox2d, PointOnAnEdgeIsNeitherInsideNorOutside)
{
    for (const ktmdl_Pnt2d& point : {ktmdl_Pnt2d(1, 0.5), ktmdl_Pnt2d(0, 0.5), ktmdl_Pnt2d(0.5, 0),
                                     ktmdl_Pnt2d(0.5, 1), ktmdl_Pnt2d(0, 0), ktmdl_Pnt2d(1, 1)}) {
        EXPECT_EQ(kUnit.IsInside(point), 0) << point.mX << ", " << point.mY;
        EXPECT_EQ(kUnit.IsOutside(point), 0) << point.mX << ", " << point.mY;
    }
}

TEST(ktmdl_BBox2d, OverlapIsMoreThanAMillionthOnBothAxes)
{
    for (int axis = 0; axis < 2; ++axis) {
        SCOPED_TRACE(axis);
        const ktmdl_BBox2d upper = boxWith(axis, 0, 1);
        EXPECT_EQ(upper.HasOverlap(boxWith(axis, -1, above(kTol))), 1);
        EXPECT_EQ(upper.HasOverlap(boxWith(axis, -1, kTol)), 0);
        EXPECT_EQ(boxWith(axis, -1, above(kTol)).HasOverlap(upper), 1);
        EXPECT_EQ(boxWith(axis, -1, kTol).HasOverlap(upper), 0);
        EXPECT_EQ(upper.HasOverlap(boxWith(axis, 5, 6)), 0);
        EXPECT_EQ(upper.HasOverlap(boxWith(axis, -6, -5)), 0);
    }
    EXPECT_EQ(kUnit.HasOverlap(kUnit), 1);
    EXPECT_EQ(kUnit.HasOverlap(ktmdl_BBox2d(1, 0, 2, 1)), 0);
    EXPECT_EQ(kUnit.HasOverlap(ktmdl_BBox2d(0.25, 0.25, 0.5, 0.5)), 1);
    EXPECT_EQ(ktmdl_BBox2d(0.25, 0.25, 0.5, 0.5).HasOverlap(kUnit), 1);
}

TEST(ktmdl_BBox2d, NotANumberIsNeitherInsideNorOutsideAndOverlapsNothing)
{
    const double nan = kt_test::payloadNan();
    for (const ktmdl_Pnt2d& point : {ktmdl_Pnt2d(nan, 0.5), ktmdl_Pnt2d(0.5, nan)}) {
        EXPECT_EQ(kUnit.IsInside(point), 0);
        EXPECT_EQ(kUnit.IsOutside(point), 0);
    }
    EXPECT_EQ(kUnit.HasOverlap(ktmdl_BBox2d(nan, 0, 1, 1)), 0);
    EXPECT_EQ(kUnit.HasOverlap(ktmdl_BBox2d(0, nan, 1, 1)), 0);
    EXPECT_EQ(kUnit.HasOverlap(ktmdl_BBox2d(0, 0, nan, 1)), 0);
    EXPECT_EQ(kUnit.HasOverlap(ktmdl_BBox2d(0, 0, 1, nan)), 0);
}

namespace {

struct BoxSample
{
    using Class = ktmdl_BBox2d;

    static Class sample() { return {-0.0, kt_test::payloadNan(), -kt_test::kInfinity, 6e300}; }
    static Class other() { return {7, 8, 9, 10}; }
    static kt_test::RecordBytes& fill(kt_test::RecordBytes& aBytes)
    {
        return aBytes.version("ktmdl_BBox2d")
            .data2d(-0.0, kt_test::payloadNan())
            .data2d(-kt_test::kInfinity, 6e300)
            .end("ktmdl_BBox2d");
    }
};

} // namespace

KT_RECORD_TESTS(ktmdl_BBox2d, BoxSample);

TEST(ktmdl_BBox2d, RecordHasThreeEndMarkers)
{
    ktmdl_BBox2d box;
    EXPECT_EQ(kt_test::recordOf(box).size(), 2U * 16U + 3U * 2U);
}

TEST(ktmdl_BBox2d, FailureInTheSecondCornerLeavesTheFirstRead)
{
    kt_test::RecordBytes record;
    record.data2d(1, 2).data2d(3, 4).end("ktmdl_BBox2d");
    kt_test::Bytes bytes = record.bytes();
    bytes.resize(record.markers()[0].offset + 2 + 8);
    ktstd_Archive archive(kt_test::archiveHolding(bytes));
    ktmdl_BBox2d box(7, 8, 9, 10);
    EXPECT_TRUE(kt_test::raisesClass<Hnd_ktstd_fail_FileIO>([&] { box.Serialize(archive); }));
    EXPECT_EQ(numbersOf(box), (Numbers{1, 2, 9, 10}));
}

TEST(ktmdl_BBox2d, FailureAtItsOwnEndMarkerLeavesBothCornersRead)
{
    kt_test::Bytes bytes =
        kt_test::RecordBytes().data2d(1, 2).data2d(3, 4).end("ktmdl_BBox2d").bytes();
    bytes.back() ^= 0xFFU;
    ktstd_Archive archive(kt_test::archiveHolding(bytes));
    ktmdl_BBox2d box(7, 8, 9, 10);
    EXPECT_TRUE(kt_test::raisesFileIO(17, "ktmdl_BBox2d: expected end of class",
                                      [&] { box.Serialize(archive); }));
    EXPECT_EQ(numbersOf(box), (Numbers{1, 2, 3, 4}));
}

TEST(ktmdl_BBox2d, FailureAtTheVersionLeavesBothCorners)
{
    const kt_test::Bytes bytes =
        kt_test::RecordBytes().data2d(1, 2).data2d(3, 4).end("ktmdl_BBox2d").bytes();
    for (const char* const name : {"ktmdl_BBox2d", "ktmdl_Data2d"}) {
        ktstd_Archive archive(kt_test::archiveHolding(bytes, 16, {{name, -1}}));
        ktmdl_BBox2d box(7, 8, 9, 10);
        EXPECT_TRUE(kt_test::raisesFileIO(16, std::string(name) + ": bad class version [-1]",
                                          [&] { box.Serialize(archive); }));
        EXPECT_EQ(numbersOf(box), (Numbers{7, 8, 9, 10}));
    }
}

TEST(ktmdl_BBox2d, OrdinaryUseRaisesNoFloatingPointFlag)
{
    const double one = kt_test::opaque(1.0);
    const kt_test::FloatFlags flags;
    ktmdl_BBox2d box(0, 0, one, 2);
    box.Add(ktmdl_BBox2d(one, one, 7, 8));
    box.SetCenterSize(one, one, 2, 3);
    static_cast<void>(centerSizeOf(box));
    static_cast<void>(box.IsInside({one, one}));
    static_cast<void>(box.IsOutside({one, one}));
    static_cast<void>(box.HasOverlap(kUnit));
    EXPECT_EQ(flags.raised(), 0);
}

TEST(ktmdl_BBox2d, LayoutIsTheTableThenMinThenMax)
{
    const ktmdl_BBox2d box(1, 2, 3, 4);
    EXPECT_EQ(sizeof(ktmdl_BBox2d), sizeof(void*) + 2 * sizeof(ktmdl_Pnt2d));
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(kt_test::valueAt<double>(box, 16 + 8 * i), 1.0 + static_cast<double>(i));
        EXPECT_EQ(kt_test::valueAt<double>(box, 40 + 8 * i), 3.0 + static_cast<double>(i));
    }
#if KT_TEST_HAS_SLOTS
    EXPECT_EQ(kt_test::slotOf(&ktmdl_BBox2d::Serialize), 2);
    EXPECT_EQ(kt_test::slotOf(&Probe::Behind), 3);
#endif
}
