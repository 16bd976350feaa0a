#include "ktmdl/ktmdl_Pnt3d.h"

#include "support/Bits.h"
#include "support/FloatFlags.h"
#include "support/Records.h"
#include "support/Slots.h"
#include "support/Spatial.h"

#include <gtest/gtest.h>

#include <type_traits>

using kt_test::above;
using kt_test::below;
using kt_test::expectTriple;

static_assert(std::is_same_v<decltype(std::declval<const ktmdl_Pnt3d&>().IsEqual(
                                 std::declval<const ktmdl_Pnt3d&>(), 0.0)),
                             unsigned char>);
static_assert(std::is_same_v<decltype(ktmdl_Pnt3d::Origin()), const ktmdl_Pnt3d&>);

namespace {

void expectDistance(const ktmdl_Pnt3d& aFirst, const ktmdl_Pnt3d& aSecond, double aWanted)
{
    EXPECT_EQ(aFirst.Distance(aSecond), aWanted);
    EXPECT_EQ(aSecond.Distance(aFirst), aWanted);
}

void expectEqual(const ktmdl_Pnt3d& aFirst, const ktmdl_Pnt3d& aSecond, double aTolerance,
                 int aWanted)
{
    EXPECT_EQ(aFirst.IsEqual(aSecond, aTolerance), aWanted);
    EXPECT_EQ(aSecond.IsEqual(aFirst, aTolerance), aWanted);
}

class Probe : public ktmdl_Pnt3d
{
public:
    using ktmdl_Pnt3d::operator=;

    virtual void Behind() {}
};

} // namespace

TEST(ktmdl_Pnt3d, DefaultIsTheOrigin)
{
    expectTriple(ktmdl_Pnt3d(), 0, 0, 0);
}

TEST(ktmdl_Pnt3d, IsMadeFromThreeNumbers)
{
    expectTriple(ktmdl_Pnt3d(1, 2, 3), 1, 2, 3);
}

TEST(ktmdl_Pnt3d, IsMadeFromThreeNumbersInARow)
{
    double numbers[] = {1, 2, 3, 4};
    expectTriple(ktmdl_Pnt3d(numbers), 1, 2, 3);
    expectTriple(ktmdl_Pnt3d(numbers + 1), 2, 3, 4);
}

TEST(ktmdl_Pnt3d, OriginIsOneConstant)
{
    expectTriple(ktmdl_Pnt3d::Origin(), 0, 0, 0);
    EXPECT_EQ(&ktmdl_Pnt3d::Origin(), &ktmdl_Pnt3d::Origin());
}

TEST(ktmdl_Pnt3d, CopyIsIndependent)
{
    ktmdl_Pnt3d first(1, 2, 3);
    ktmdl_Pnt3d second(first);
    first.mX = 9;
    expectTriple(second, 1, 2, 3);
    second = first;
    first.mY = 8;
    expectTriple(second, 9, 2, 3);
}

TEST(ktmdl_Pnt3d, DistanceIsStraight)
{
    expectDistance({1, 2, 3}, {1, 2, 3}, 0);
    // 3^2 + 4^2 + 12^2 = 13^2
    expectDistance({1, 2, 3}, {4, 6, 15}, 13);
    expectDistance({1, 2, 3}, {-2, -2, -9}, 13);
    expectDistance({0, 0, 0}, {0, -7, 0}, 7);
}

TEST(ktmdl_Pnt3d, DistanceToInfinityIsInfinite)
{
    expectDistance({0, 0, 0}, {kt_test::kInfinity, 0, 0}, kt_test::kInfinity);
    expectDistance({0, 0, 0}, {0, 1, -kt_test::kInfinity}, kt_test::kInfinity);
}

TEST(ktmdl_Pnt3d, DifferenceOfTheToleranceStillCountsAsEqual)
{
    const ktmdl_Pnt3d origin;
    for (const double tolerance : {kt_test::kTol, 0.5}) {
        for (const double sign : {1.0, -1.0}) {
            const double at = sign * tolerance;
            const double beyond = sign * above(tolerance);
            expectEqual(origin, {at, 0, 0}, tolerance, 1);
            expectEqual(origin, {0, at, 0}, tolerance, 1);
            expectEqual(origin, {0, 0, at}, tolerance, 1);
            expectEqual(origin, {beyond, 0, 0}, tolerance, 0);
            expectEqual(origin, {0, beyond, 0}, tolerance, 0);
            expectEqual(origin, {0, 0, beyond}, tolerance, 0);
        }
    }
}

TEST(ktmdl_Pnt3d, EqualityIsTestedPerCoordinateNotByDistance)
{
    expectEqual({0, 0, 0}, {0.5, -0.5, 0.5}, 0.5, 1);
}

TEST(ktmdl_Pnt3d, EqualityComparesTheSameCoordinates)
{
    expectEqual({1, 2, 3}, {1, 2, 3}, 0, 1);
    expectEqual({1, 2, 3}, {2, 1, 3}, 0.5, 0);
    expectEqual({1, 2, 3}, {1, 3, 2}, 0.5, 0);
    expectEqual({1, 2, 3}, {-1, -2, -3}, 0.5, 0);
}

TEST(ktmdl_Pnt3d, EqualityWithTolerance0IsExact)
{
    expectEqual({1, 2, 3}, {1, 2, 3}, 0, 1);
    expectEqual({0, 0, 0}, {-0.0, -0.0, -0.0}, 0, 1);
    expectEqual({1, 2, 3}, {above(1), 2, 3}, 0, 0);
    expectEqual({1, 2, 3}, {1, 2, below(3)}, 0, 0);
}

TEST(ktmdl_Pnt3d, NothingIsEqualWithANegativeTolerance)
{
    expectEqual({1, 2, 3}, {1, 2, 3}, -kt_test::kTol, 0);
}

TEST(ktmdl_Pnt3d, NotANumberEqualsNothing)
{
    const double nan = kt_test::payloadNan();
    expectEqual({nan, 0, 0}, {0, 0, 0}, 1, 0);
    expectEqual({0, nan, 0}, {0, nan, 0}, 1, 0);
    expectEqual({0, 0, 0}, {0, 0, nan}, 1, 0);
}

TEST(ktmdl_Pnt3d, TranslateAddsTheVector)
{
    ktmdl_Pnt3d point(1, 2, 3);
    point.Translate(ktmdl_Vec3d(10, -20, 30));
    expectTriple(point, 11, -18, 33);
}

TEST(ktmdl_Pnt3d, TransformUsesTheThreeUpperRows)
{
    // Rows (2 3 5 7), (11 13 17 19), (23 29 31 37) times (1, 10, 100, 1); the bottom row has no
    // part in it.
    ktmdl_Pnt3d point(1, 10, 100);
    point.Transform(kt_test::generalTrsf());
    expectTriple(point, 2 + 30 + 500 + 7, 11 + 130 + 1700 + 19, 23 + 290 + 3100 + 37);
}

TEST(ktmdl_Pnt3d, TransformNeverDividesByTheBottomRow)
{
    ktmdl_Pnt3d point(1, 2, 3);
    point.Transform(kt_test::matrix({{1, 0, 0, 4}, {0, 1, 0, 5}, {0, 0, 1, 6}, {0, 0, 0, 0}}));
    expectTriple(point, 5, 7, 9);
}

TEST(ktmdl_Pnt3d, RotateByAQuarterTurn)
{
    // About z through (1, 0, 0): (2, 0, 5) lies 1 in x from the axis, and then 1 in y. A sine and
    // a cosine are off by 1e-16 at most.
    ktmdl_Pnt3d point(2, 0, 5);
    point.Rotate(ktmdl_Axis3d(ktmdl_Pnt3d(1, 0, 0), ktmdl_Vec3d(0, 0, 1)), kt_test::kPi / 2);
    kt_test::expectTripleNear(point, 1, 1, 5, 1e-15);
}

TEST(ktmdl_Pnt3d, RotateMovesToTheAxisTurnsAndMovesBack)
{
    const ktmdl_Axis3d axis(ktmdl_Pnt3d(1, -2, 3), ktmdl_Vec3d(2, 3, 6));
    const ktmdl_Pnt3d before(4, 5, -6);
    const ktmdl_Pnt3d wanted = kt_test::turned(before, axis, 0.7);
    ktmdl_Pnt3d point(before);
    point.Rotate(axis, 0.7);
    expectTriple(point, wanted.mX, wanted.mY, wanted.mZ);
    // It keeps its distance from every point of the axis; three roundings of numbers below 20.
    EXPECT_NEAR(point.Distance(axis), before.Distance(axis), 1e-14);
    EXPECT_NEAR(point.Distance({3, 1, 9}), before.Distance({3, 1, 9}), 1e-14);
}

TEST(ktmdl_Pnt3d, RotateThereAndBackIsAtTheStart)
{
    const ktmdl_Axis3d axis(ktmdl_Pnt3d(1, -2, 3), ktmdl_Vec3d(2, 3, 6));
    ktmdl_Pnt3d point(4, 5, -6);
    point.Rotate(axis, 0.7);
    EXPECT_GT(point.Distance({4, 5, -6}), 1.0);
    point.Rotate(axis, -0.7);
    kt_test::expectTripleNear(point, 4, 5, -6, 1e-14);
}

TEST(ktmdl_Pnt3d, RotateAboutAnUnnormalisedDirectionTakesItAsItIs)
{
    ktmdl_Axis3d axis(ktmdl_Pnt3d(1, 0, 0), ktmdl_Vec3d(0, 0, 1));
    axis.mDir.Set(0, 0, 2);
    // With u = (0, 0, 2): M00 = M11 = c, M10 = 2 s.
    ktmdl_Pnt3d point(2, 0, 0);
    point.Rotate(axis, kt_test::kPi / 2);
    kt_test::expectTripleNear(point, 1, 2, 0, 1e-15);
}

TEST(ktmdl_Pnt3d, RotateActsThroughTheTriple)
{
    ktmdl_Pnt3d point(2, 0, 5);
    ktmdl_Data3d& data = point;
    data.Rotate(ktmdl_Axis3d(ktmdl_Pnt3d(1, 0, 0), ktmdl_Vec3d(0, 0, 1)), kt_test::kPi);
    kt_test::expectTripleNear(point, 0, 0, 5, 1e-15);
    data.Translate(ktmdl_Vec3d(1, 1, 1));
    kt_test::expectTripleNear(point, 1, 1, 6, 1e-15);
    data.Transform(kt_test::scaling(2, 2, 2));
    kt_test::expectTripleNear(point, 2, 2, 12, 4e-15);
}

TEST(ktmdl_Pnt3d, RecordIsThatOfTheTriple)
{
    ktmdl_Pnt3d point(1, 2, 3);
    EXPECT_EQ(kt_test::recordOf(point), kt_test::RecordBytes().data3d(1, 2, 3).bytes());
}

TEST(ktmdl_Pnt3d, OrdinaryUseRaisesNoFloatingPointFlag)
{
    const double one = kt_test::opaque(1.0);
    const ktmdl_Axis3d axis(ktmdl_Pnt3d(one, 0, 0), ktmdl_Vec3d(0, one, 1));
    const kt_test::FloatFlags flags;
    ktmdl_Pnt3d point(one, 2, 3);
    point.Rotate(axis, 0.5 * one);
    point.Transform(kt_test::scaling(one, 2, 3));
    point.Translate(ktmdl_Vec3d(one, one, one));
    static_cast<void>(point.Distance(axis));
    static_cast<void>(point.IsEqual(axis, one));
    static_cast<void>(point.Trsf());
    EXPECT_EQ(flags.raised(), 0);
}

TEST(ktmdl_Pnt3d, AddsNothingToTheTriple)
{
    EXPECT_EQ(sizeof(ktmdl_Pnt3d), sizeof(ktmdl_Data3d));
#if KT_TEST_HAS_SLOTS
    EXPECT_EQ(kt_test::slotOf(&Probe::Behind), 9);
#endif
}
