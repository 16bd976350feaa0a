#include "ktmdl/ktmdl_Pnt2d.h"

#include "ktmdl/ktmdl_Vec2d.h"
#include "support/Bits.h"
#include "support/FloatFlags.h"
#include "support/Planar.h"
#include "support/Records.h"
#include "support/Slots.h"

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

using kt_test::above;
using kt_test::expectPair;

static_assert(std::is_same_v<decltype(std::declval<const ktmdl_Pnt2d&>().IsEqual(
                                 std::declval<const ktmdl_Pnt2d&>(), 0.0)),
                             unsigned char>);
static_assert(std::is_same_v<decltype(ktmdl_Pnt2d::Origin()), const ktmdl_Pnt2d&>);

namespace {

const double kPi = std::acos(-1.0);

void expectDistance(const ktmdl_Pnt2d& aFirst, const ktmdl_Pnt2d& aSecond, double aWanted)
{
    EXPECT_EQ(aFirst.Distance(aSecond), aWanted);
    EXPECT_EQ(aSecond.Distance(aFirst), aWanted);
}

void expectEqual(const ktmdl_Pnt2d& aFirst, const ktmdl_Pnt2d& aSecond, double aTolerance,
                 int aWanted)
{
    EXPECT_EQ(aFirst.IsEqual(aSecond, aTolerance), aWanted);
    EXPECT_EQ(aSecond.IsEqual(aFirst, aTolerance), aWanted);
}

class Probe : public ktmdl_Pnt2d
{
public:
    using ktmdl_Pnt2d::operator=;

    virtual void Behind() {}
};

} // namespace

TEST(ktmdl_Pnt2d, DefaultIsTheOrigin)
{
    expectPair(ktmdl_Pnt2d(), 0, 0);
}

TEST(ktmdl_Pnt2d, IsMadeFromTwoNumbers)
{
    expectPair(ktmdl_Pnt2d(1, 2), 1, 2);
}

TEST(ktmdl_Pnt2d, IsMadeFromTwoNumbersInARow)
{
    double numbers[] = {1, 2, 3};
    expectPair(ktmdl_Pnt2d(numbers), 1, 2);
    expectPair(ktmdl_Pnt2d(numbers + 1), 2, 3);
}

TEST(ktmdl_Pnt2d, OriginIsOneConstant)
{
    expectPair(ktmdl_Pnt2d::Origin(), 0, 0);
    EXPECT_EQ(&ktmdl_Pnt2d::Origin(), &ktmdl_Pnt2d::Origin());
}

TEST(ktmdl_Pnt2d, CopyIsIndependent)
{
    ktmdl_Pnt2d first(1, 2);
    ktmdl_Pnt2d second(first);
    first.mX = 9;
    expectPair(second, 1, 2);
    second = first;
    first.mY = 8;
    expectPair(second, 9, 2);
}

TEST(ktmdl_Pnt2d, DistanceIsStraight)
{
    expectDistance({1, 2}, {1, 2}, 0);
    // 5^2 + 12^2 = 13^2
    expectDistance({1, 2}, {6, 14}, 13);
    expectDistance({1, 2}, {-4, -10}, 13);
    expectDistance({0, 0}, {0, -7}, 7);
    expectDistance({0, 0}, {-7, 0}, 7);
}

TEST(ktmdl_Pnt2d, DistanceToInfinityIsInfinite)
{
    expectDistance({0, 0}, {kt_test::kInfinity, 0}, kt_test::kInfinity);
    expectDistance({0, 0}, {0, -kt_test::kInfinity}, kt_test::kInfinity);
}

TEST(ktmdl_Pnt2d, DifferenceOfTheToleranceStillCountsAsEqual)
{
    const ktmdl_Pnt2d origin;
    for (const double tolerance : {kt_test::kTol, 0.5}) {
        for (const double sign : {1.0, -1.0}) {
            const double at = sign * tolerance;
            const double beyond = sign * above(tolerance);
            expectEqual(origin, {at, 0}, tolerance, 1);
            expectEqual(origin, {0, at}, tolerance, 1);
            expectEqual(origin, {beyond, 0}, tolerance, 0);
            expectEqual(origin, {0, beyond}, tolerance, 0);
        }
    }
}

TEST(ktmdl_Pnt2d, EqualityIsTestedPerCoordinateNotByDistance)
{
    expectEqual({0, 0}, {0.5, -0.5}, 0.5, 1);
}

TEST(ktmdl_Pnt2d, EqualityComparesTheSameCoordinates)
{
    expectEqual({1, 2}, {1, 2}, 0, 1);
    expectEqual({1, 2}, {2, 1}, 0.5, 0);
}

TEST(ktmdl_Pnt2d, NotANumberIsEqualToNothing)
{
    const double nan = kt_test::payloadNan();
    expectEqual({nan, 0}, {nan, 0}, 1, 0);
    expectEqual({0, nan}, {0, nan}, 1, 0);
}

TEST(ktmdl_Pnt2d, TranslateAddsTheVector)
{
    ktmdl_Pnt2d point(1, 2);
    point.Translate(ktmdl_Vec2d(10, -20));
    expectPair(point, 11, -18);
}

TEST(ktmdl_Pnt2d, TransformAppliesTheWholeMatrix)
{
    ktmdl_Pnt2d point(1, 10);
    point.Transform(kt_test::generalTrsf2d());
    expectPair(point, 2 + 50 + 11, 3 + 70 + 13);
    ktmdl_Pnt2d moved(1, 2);
    moved.Transform(ktmdl_Trsf2d(1, 0, 0, 1, 5, 7));
    expectPair(moved, 6, 9);
    ktmdl_Pnt2d kept(1, 2);
    kept.Transform(ktmdl_Trsf2d::Identity());
    expectPair(kept, 1, 2);
}

TEST(ktmdl_Pnt2d, RotateDoesNothing)
{
    for (const double angle : {kPi / 2, kPi, -0.3, 100.0}) {
        ktmdl_Pnt2d point(1, 0);
        point.Rotate(ktmdl_Pnt2d::Origin(), angle);
        expectPair(point, 1, 0);
        point.Rotate(ktmdl_Pnt2d(5, -7), angle);
        expectPair(point, 1, 0);
    }
}

TEST(ktmdl_Pnt2d, ActsThroughThePair)
{
    ktmdl_Pnt2d point(1, 2);
    ktmdl_Data2d& data = point;
    data.Translate(ktmdl_Vec2d(1, 1));
    expectPair(point, 2, 3);
    data.Transform(ktmdl_Trsf2d(1, 0, 0, 1, 5, 7));
    expectPair(point, 7, 10);
    data.Rotate(ktmdl_Pnt2d(1, 1), kPi / 2);
    expectPair(point, 7, 10);
}

TEST(ktmdl_Pnt2d, RecordIsThatOfThePair)
{
    ktmdl_Pnt2d point(1, 2);
    EXPECT_EQ(kt_test::recordOf(point), kt_test::RecordBytes().data2d(1, 2).bytes());
}

TEST(ktmdl_Pnt2d, OrdinaryUseRaisesNoFloatingPointFlag)
{
    const double one = kt_test::opaque(1.0);
    const ktmdl_Trsf2d trsf = kt_test::generalTrsf2d();
    const kt_test::FloatFlags flags;
    ktmdl_Pnt2d point(one, 2);
    point.Translate(ktmdl_Vec2d(one, one));
    point.Transform(trsf);
    point.Rotate(ktmdl_Pnt2d(one, one), one);
    static_cast<void>(point.Distance(ktmdl_Pnt2d(one, 3)));
    static_cast<void>(point.IsEqual(ktmdl_Pnt2d(one, 3), one));
    EXPECT_EQ(flags.raised(), 0);
}

TEST(ktmdl_Pnt2d, AddsNothingToThePair)
{
    EXPECT_EQ(sizeof(ktmdl_Pnt2d), sizeof(ktmdl_Data2d));
#if KT_TEST_HAS_SLOTS
    EXPECT_EQ(kt_test::slotOf(&Probe::Behind), 9);
#endif
}
