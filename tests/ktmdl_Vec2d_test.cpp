#include "ktmdl/ktmdl_Vec2d.h"

#include "ktmdl/ktmdl.h"
#include "ktmdl/ktmdl_Pnt2d.h"
#include "support/Bits.h"
#include "support/Failures.h"
#include "support/FloatFlags.h"
#include "support/Planar.h"
#include "support/Records.h"
#include "support/Slots.h"

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

using kt_test::above;
using kt_test::below;
using kt_test::expectPair;
using kt_test::kTol;
using kt_test::raises;

static_assert(std::is_same_v<decltype(ktmdl_Vec2d::VX()), const ktmdl_Vec2d&>);
static_assert(std::is_same_v<decltype(ktmdl_Vec2d::VY()), const ktmdl_Vec2d&>);
// Dot and Cross are no operations of a constant vector.
static_assert(
    std::is_invocable_r_v<double, decltype(&ktmdl_Vec2d::Dot), ktmdl_Vec2d&, const ktmdl_Vec2d&>);
static_assert(
    !std::is_invocable_v<decltype(&ktmdl_Vec2d::Dot), const ktmdl_Vec2d&, const ktmdl_Vec2d&>);
static_assert(
    std::is_invocable_r_v<double, decltype(&ktmdl_Vec2d::Cross), ktmdl_Vec2d&, const ktmdl_Vec2d&>);
static_assert(
    !std::is_invocable_v<decltype(&ktmdl_Vec2d::Cross), const ktmdl_Vec2d&, const ktmdl_Vec2d&>);

namespace {

const double kPi = std::acos(-1.0);
constexpr char kDivide[] = "ERROR in ktmdl_Vec2d::Divide: divisor is 0";
// It names the vector in space.
constexpr char kNormalize[] = "ERROR in ktmdl_Vec3d::Normalize(): vector length is 0";
constexpr char kZeroLength[] = " in ktmdl::Angle2D: one of the input vectors has ZERO length";

class Probe : public ktmdl_Vec2d
{
public:
    using ktmdl_Vec2d::operator=;

    virtual void Behind() {}
};

void expectEqual(const ktmdl_Vec2d& aFirst, const ktmdl_Vec2d& aSecond, double aTolerance,
                 int aWanted)
{
    EXPECT_EQ(aFirst.IsEqual(aSecond, aTolerance), aWanted);
    EXPECT_EQ(aSecond.IsEqual(aFirst, aTolerance), aWanted);
}

//! Checks the three angle tests of two vectors, both ways round.
void expectRelations(const ktmdl_Vec2d& aFirst, const ktmdl_Vec2d& aSecond, double aTolerance,
                     int aParallel, int aNormal, int aOpposite)
{
    EXPECT_EQ(aFirst.IsParallel(aSecond, aTolerance), aParallel);
    EXPECT_EQ(aSecond.IsParallel(aFirst, aTolerance), aParallel);
    EXPECT_EQ(aFirst.IsNormal(aSecond, aTolerance), aNormal);
    EXPECT_EQ(aSecond.IsNormal(aFirst, aTolerance), aNormal);
    EXPECT_EQ(aFirst.IsOpposite(aSecond, aTolerance), aOpposite);
    EXPECT_EQ(aSecond.IsOpposite(aFirst, aTolerance), aOpposite);
}

ktmdl_Vec2d normalised(ktmdl_Vec2d aVector)
{
    aVector.Normalize();
    return aVector;
}

} // namespace

TEST(ktmdl_Vec2d, DefaultIsTheZeroVector)
{
    expectPair(ktmdl_Vec2d(), 0, 0);
}

TEST(ktmdl_Vec2d, IsMadeFromTwoNumbers)
{
    expectPair(ktmdl_Vec2d(1, 2), 1, 2);
    double numbers[] = {1, 2, 3};
    expectPair(ktmdl_Vec2d(numbers + 1), 2, 3);
}

TEST(ktmdl_Vec2d, FromOnePointIsItsCoordinates)
{
    expectPair(ktmdl_Vec2d(ktmdl_Pnt2d(1, 2)), 1, 2);
}

TEST(ktmdl_Vec2d, FromTwoPointsLeadsFromTheFirstToTheSecond)
{
    expectPair(ktmdl_Vec2d(ktmdl_Pnt2d(1, 20), ktmdl_Pnt2d(11, 2)), 10, -18);
}

TEST(ktmdl_Vec2d, UnitVectorsAreConstants)
{
    expectPair(ktmdl_Vec2d::VX(), 1, 0);
    expectPair(ktmdl_Vec2d::VY(), 0, 1);
    EXPECT_EQ(&ktmdl_Vec2d::VX(), &ktmdl_Vec2d::VX());
    EXPECT_EQ(&ktmdl_Vec2d::VY(), &ktmdl_Vec2d::VY());
}

TEST(ktmdl_Vec2d, CopyIsIndependent)
{
    ktmdl_Vec2d first(1, 2);
    ktmdl_Vec2d second(first);
    first.mX = 9;
    expectPair(second, 1, 2);
    second = first;
    first.mY = 8;
    expectPair(second, 9, 2);
}

TEST(ktmdl_Vec2d, AddIsPerComponent)
{
    ktmdl_Vec2d vector(1, 2);
    vector.Add(ktmdl_Vec2d(10, -20));
    expectPair(vector, 11, -18);
    vector.Add(vector);
    expectPair(vector, 22, -36);
}

TEST(ktmdl_Vec2d, SubtractIsPerComponent)
{
    ktmdl_Vec2d vector(1, 2);
    vector.Subtract(ktmdl_Vec2d(10, -20));
    expectPair(vector, -9, 22);
    vector.Subtract(vector);
    expectPair(vector, 0, 0);
}

TEST(ktmdl_Vec2d, MultiplyScalesBothComponents)
{
    ktmdl_Vec2d vector(1, -3);
    vector.Multiply(-4);
    expectPair(vector, -4, 12);
}

TEST(ktmdl_Vec2d, DivideScalesBothComponents)
{
    ktmdl_Vec2d vector(2, -8);
    vector.Divide(-4);
    expectPair(vector, -0.5, 2);
}

TEST(ktmdl_Vec2d, DivisorOfAMillionthIsAllowed)
{
    ktmdl_Vec2d vector(kTol, -4 * kTol);
    vector.Divide(kTol);
    expectPair(vector, 1, -4);
    vector.Divide(-kTol);
    expectPair(vector, -1 / kTol, 4 / kTol);
}

TEST(ktmdl_Vec2d, DivisorBelowAMillionthRaisesAndChangesNothing)
{
    for (const double divisor : {0.0, -0.0, below(kTol), -below(kTol)}) {
        ktmdl_Vec2d vector(1, 2);
        EXPECT_TRUE(raises<Hnd_ktstd_fail_DivideByZero>(kDivide, [&] { vector.Divide(divisor); }));
        expectPair(vector, 1, 2);
    }
}

TEST(ktmdl_Vec2d, DotMultipliesEqualComponentsAndChangesNothing)
{
    ktmdl_Vec2d first(2, 3);
    ktmdl_Vec2d second(7, -11);
    EXPECT_EQ(first.Dot(second), 14.0 - 33.0);
    EXPECT_EQ(second.Dot(first), 14.0 - 33.0);
    expectPair(first, 2, 3);
    expectPair(second, 7, -11);
}

TEST(ktmdl_Vec2d, CrossIsTheSignedAreaAndChangesNothing)
{
    ktmdl_Vec2d first(2, 3);
    ktmdl_Vec2d second(7, 11);
    EXPECT_EQ(first.Cross(second), 2.0 * 11.0 - 3.0 * 7.0);
    EXPECT_EQ(second.Cross(first), 3.0 * 7.0 - 2.0 * 11.0);
    EXPECT_EQ(first.Cross(first), 0.0);
    expectPair(first, 2, 3);
    expectPair(second, 7, 11);
}

TEST(ktmdl_Vec2d, MagnitudeIsTheLength)
{
    EXPECT_EQ(ktmdl_Vec2d().Magnitude(), 0);
    EXPECT_EQ(ktmdl_Vec2d(-5, 12).Magnitude(), 13);
    EXPECT_EQ(ktmdl_Vec2d(0, -2).Magnitude(), 2);
}

TEST(ktmdl_Vec2d, ReverseNegatesBothComponents)
{
    ktmdl_Vec2d vector(1, -2);
    vector.Reverse();
    expectPair(vector, -1, 2);
}

TEST(ktmdl_Vec2d, NormalizeDividesByTheLength)
{
    expectPair(normalised({2, 0}), 1, 0);
    expectPair(normalised({0, -5}), 0, -1);
    expectPair(normalised({5, -12}), 5.0 / 13, -12.0 / 13);
    expectPair(normalised({0, 0.25}), 0, 1);
}

TEST(ktmdl_Vec2d, NormalizeTakesALengthWithinAMillionthOf1For1)
{
    for (const double length : {1 + 5e-7, 1 - 5e-7, 1 + 0.999999e-6, 1 - 0.999999e-6}) {
        expectPair(normalised({length, 0}), length, 0);
        expectPair(normalised({0, -length}), 0, -length);
    }
    for (const double length : {1 + 1.000001e-6, 1 - 1.000001e-6}) {
        expectPair(normalised({length, 0}), 1, 0);
        expectPair(normalised({0, -length}), 0, -1);
    }
}

TEST(ktmdl_Vec2d, NormalizeOfAMillionthIsAllowed)
{
    // The square root of the rounded square of 1e-6 is 1e-6 again.
    expectPair(normalised({kTol, 0}), 1, 0);
    expectPair(normalised({0, -kTol}), 0, -1);
}

TEST(ktmdl_Vec2d, NormalizeOfAZeroVectorNamesTheSpatialVector)
{
    for (const double length : {0.0, 1e-7, below(kTol), -below(kTol)}) {
        ktmdl_Vec2d vector(0, length);
        EXPECT_TRUE(raises<Hnd_ktstd_fail_DivideByZero>(kNormalize, [&] { vector.Normalize(); }));
        expectPair(vector, 0, length);
    }
}

TEST(ktmdl_Vec2d, AngleIsSignedAndCounterClockwise)
{
    const ktmdl_Vec2d x(1, 0);
    const ktmdl_Vec2d y(0, 1);
    EXPECT_EQ(x.Angle(y), std::acos(0.0));
    EXPECT_EQ(y.Angle(x), -std::acos(0.0));
    EXPECT_EQ(x.Angle({-3, 0}), kPi);
    EXPECT_EQ(x.Angle({7, 0}), 0.0);
    // An angle whose cosine is exactly 3/5, on either side.
    EXPECT_NEAR(x.Angle({3, 4}), std::acos(0.6), 1e-15);
    EXPECT_NEAR(x.Angle({3, -4}), -std::acos(0.6), 1e-15);
    EXPECT_NEAR(ktmdl_Vec2d(3, 4).Angle(x), -std::acos(0.6), 1e-15);
}

TEST(ktmdl_Vec2d, AngleIsThatOfTheFourNumbers)
{
    for (int degrees = 0; degrees < 360; degrees += 15) {
        const double radians = degrees * kPi / 180.0;
        const ktmdl_Vec2d first(2, -3);
        const ktmdl_Vec2d second(std::cos(radians), std::sin(radians));
        EXPECT_EQ(first.Angle(second), ktmdl::Angle2D(2, -3, second.mX, second.mY)) << degrees;
    }
}

TEST(ktmdl_Vec2d, AngleTestsWithAVectorShorterThanAMillionthRaise)
{
    const ktmdl_Vec2d shorter(0, below(kTol));
    const ktmdl_Vec2d x(1, 0);
    using Failure = Hnd_ktstd_fail_ProgramError;
    EXPECT_TRUE(raises<Failure>(kZeroLength, [&] { static_cast<void>(x.Angle(shorter)); }));
    EXPECT_TRUE(raises<Failure>(kZeroLength, [&] { static_cast<void>(shorter.Angle(x)); }));
    EXPECT_TRUE(raises<Failure>(kZeroLength, [&] { static_cast<void>(x.IsParallel(shorter, 1)); }));
    EXPECT_TRUE(raises<Failure>(kZeroLength, [&] { static_cast<void>(shorter.IsParallel(x, 1)); }));
    EXPECT_TRUE(raises<Failure>(kZeroLength, [&] { static_cast<void>(x.IsNormal(shorter, 1)); }));
    EXPECT_TRUE(raises<Failure>(kZeroLength, [&] { static_cast<void>(shorter.IsNormal(x, 1)); }));
    EXPECT_TRUE(raises<Failure>(kZeroLength, [&] { static_cast<void>(x.IsOpposite(shorter, 1)); }));
    EXPECT_TRUE(raises<Failure>(kZeroLength, [&] { static_cast<void>(shorter.IsOpposite(x, 1)); }));
    EXPECT_EQ(ktmdl_Vec2d(0, kTol).Angle(x), -std::acos(0.0));
}

TEST(ktmdl_Vec2d, EqualDirectionsAreParallelOnly)
{
    expectRelations({1, 2}, {2, 4}, kTol, 1, 0, 0);
}

TEST(ktmdl_Vec2d, OppositeDirectionsAreParallelAndOpposite)
{
    expectRelations({1, 0}, {-1, 0}, kTol, 1, 0, 1);
    expectRelations({0, 3}, {0, -0.25}, kTol, 1, 0, 1);
}

TEST(ktmdl_Vec2d, DirectionsJustShortOfOppositeAreSoOnEitherSide)
{
    // An angle whose cosine is exactly -40/41 is acos(40/41), about 0.2213, short of pi.
    const double gap = std::acos(40.0 / 41.0);
    for (const double side : {9.0, -9.0}) {
        expectRelations({1, 0}, {-40, side}, gap + 1e-9, 1, 0, 1);
        expectRelations({1, 0}, {-40, side}, gap - 1e-9, 0, 0, 0);
    }
}

TEST(ktmdl_Vec2d, NormalDirectionsAreNormalOnlyOnEitherSide)
{
    expectRelations({1, 0}, {0, 1}, kTol, 0, 1, 0);
    expectRelations({1, 0}, {0, -2}, kTol, 0, 1, 0);
}

TEST(ktmdl_Vec2d, SlantedDirectionsAreNothing)
{
    expectRelations({1, 0}, {1, 1}, kTol, 0, 0, 0);
    expectRelations({1, 0}, {-1, 1}, kTol, 0, 0, 0);
    expectRelations({1, 0}, {-1, -1}, kTol, 0, 0, 0);
}

TEST(ktmdl_Vec2d, ToleranceOfTheAngleTestsIsStrict)
{
    const ktmdl_Vec2d x(1, 0);
    for (const double side : {4.0, -4.0}) {
        const ktmdl_Vec2d ahead(3, side);   // cosine 3/5
        const ktmdl_Vec2d behind(-3, side); // cosine -3/5
        const double toAhead = std::fabs(x.Angle(ahead));
        const double toBack = std::fabs(std::fabs(x.Angle(behind)) - kPi);
        const double toNormal = std::fabs(std::fabs(x.Angle(ahead)) - kPi / 2);
        EXPECT_EQ(x.IsParallel(ahead, toAhead), 0);
        EXPECT_EQ(x.IsParallel(ahead, above(toAhead)), 1);
        EXPECT_EQ(x.IsParallel(behind, toBack), 0);
        EXPECT_EQ(x.IsParallel(behind, above(toBack)), 1);
        EXPECT_EQ(x.IsOpposite(behind, toBack), 0);
        EXPECT_EQ(x.IsOpposite(behind, above(toBack)), 1);
        EXPECT_EQ(x.IsOpposite(ahead, above(toAhead)), 0);
        EXPECT_EQ(x.IsNormal(ahead, toNormal), 0);
        EXPECT_EQ(x.IsNormal(ahead, above(toNormal)), 1);
    }
}

TEST(ktmdl_Vec2d, ToleranceOf0AllowsNothing)
{
    expectRelations({1, 0}, {1, 0}, 0, 0, 0, 0);
    expectRelations({1, 0}, {-1, 0}, 0, 0, 0, 0);
    expectRelations({1, 0}, {0, 1}, 0, 0, 0, 0);
    const double least = above(0.0);
    expectRelations({1, 0}, {1, 0}, least, 1, 0, 0);
    expectRelations({1, 0}, {-1, 0}, least, 1, 0, 1);
    expectRelations({1, 0}, {0, 1}, least, 0, 1, 0);
}

TEST(ktmdl_Vec2d, DifferenceOfTheToleranceStillCountsAsEqual)
{
    const ktmdl_Vec2d zero;
    for (const double tolerance : {kTol, 0.5}) {
        for (const double sign : {1.0, -1.0}) {
            const double at = sign * tolerance;
            const double beyond = sign * above(tolerance);
            expectEqual(zero, {at, 0}, tolerance, 1);
            expectEqual(zero, {0, at}, tolerance, 1);
            expectEqual(zero, {beyond, 0}, tolerance, 0);
            expectEqual(zero, {0, beyond}, tolerance, 0);
        }
    }
}

TEST(ktmdl_Vec2d, EqualityIsPerComponentWithoutScaling)
{
    expectEqual({0, 0}, {0.5, -0.5}, 0.5, 1);
    expectEqual({1, 2}, {1, 2}, 0, 1);
    expectEqual({1, 2}, {2, 4}, 0.5, 0);
    expectEqual({1, 2}, {2, 1}, 0.5, 0);
}

TEST(ktmdl_Vec2d, TranslateAddsLikeToAPoint)
{
    ktmdl_Vec2d vector(1, 2);
    vector.Translate(ktmdl_Vec2d(10, -20));
    expectPair(vector, 11, -18);
    vector.Translate(vector);
    expectPair(vector, 22, -36);
}

TEST(ktmdl_Vec2d, TransformTakesEntriesThatAreNotTheLinearPart)
{
    // x' = M00 x + M02 y, y' = M01 x + M10 y, both from the old x and y.
    ktmdl_Vec2d vector(1, 10);
    vector.Transform(kt_test::generalTrsf2d());
    expectPair(vector, 2 * 1 + 11 * 10, 5 * 1 + 3 * 10);
    ktmdl_Vec2d moved(1, 2);
    moved.Transform(ktmdl_Trsf2d(1, 0, 0, 1, 5, 7));
    expectPair(moved, 11, 0);
}

TEST(ktmdl_Vec2d, TransformByTheIdentityDropsY)
{
    ktmdl_Vec2d vector(1, 2);
    vector.Transform(ktmdl_Trsf2d::Identity());
    expectPair(vector, 1, 0);
}

TEST(ktmdl_Vec2d, RotateDoesNothing)
{
    for (const double angle : {kPi / 2, kPi, -0.3, 100.0}) {
        ktmdl_Vec2d vector(1, 0);
        vector.Rotate(ktmdl_Pnt2d::Origin(), angle);
        expectPair(vector, 1, 0);
        vector.Rotate(ktmdl_Pnt2d(5, -7), angle);
        expectPair(vector, 1, 0);
    }
}

TEST(ktmdl_Vec2d, ActsThroughThePair)
{
    ktmdl_Vec2d vector(1, 2);
    ktmdl_Data2d& data = vector;
    data.Translate(ktmdl_Vec2d(1, 1));
    expectPair(vector, 2, 3);
    data.Rotate(ktmdl_Pnt2d(5, -7), kPi);
    expectPair(vector, 2, 3);
    data.Transform(ktmdl_Trsf2d::Identity());
    expectPair(vector, 2, 0);
}

TEST(ktmdl_Vec2d, RecordIsThatOfThePair)
{
    ktmdl_Vec2d vector(1, 2);
    EXPECT_EQ(kt_test::recordOf(vector), kt_test::RecordBytes().data2d(1, 2).bytes());
}

TEST(ktmdl_Vec2d, OrdinaryUseRaisesNoFloatingPointFlag)
{
    const double one = kt_test::opaque(1.0);
    const kt_test::FloatFlags flags;
    ktmdl_Vec2d vector(one, 2);
    vector.Add(ktmdl_Vec2d(one, one));
    vector.Subtract(ktmdl_Vec2d(0, one));
    vector.Multiply(2 * one);
    vector.Divide(4 * one);
    vector.Normalize();
    static_cast<void>(vector.Dot(ktmdl_Vec2d(one, 0)));
    static_cast<void>(vector.Cross(ktmdl_Vec2d(one, 0)));
    static_cast<void>(vector.Angle(ktmdl_Vec2d(one, 0)));
    static_cast<void>(vector.IsParallel(ktmdl_Vec2d(one, 0), one));
    static_cast<void>(vector.IsNormal(ktmdl_Vec2d(one, 0), one));
    static_cast<void>(vector.IsOpposite(ktmdl_Vec2d(one, 0), one));
    static_cast<void>(vector.IsEqual(ktmdl_Vec2d(one, 0), one));
    vector.Transform(kt_test::generalTrsf2d());
    EXPECT_EQ(flags.raised(), 0);
}

TEST(ktmdl_Vec2d, AddsNothingToThePair)
{
    EXPECT_EQ(sizeof(ktmdl_Vec2d), sizeof(ktmdl_Data2d));
#if KT_TEST_HAS_SLOTS
    EXPECT_EQ(kt_test::slotOf(&Probe::Behind), 9);
#endif
}
