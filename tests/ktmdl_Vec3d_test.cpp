#include "ktmdl/ktmdl_Vec3d.h"

#include "support/Bits.h"
#include "support/Failures.h"
#include "support/FloatFlags.h"
#include "support/Records.h"
#include "support/Slots.h"
#include "support/Spatial.h"

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

using kt_test::above;
using kt_test::below;
using kt_test::expectTriple;
using kt_test::kPi;
using kt_test::kTol;
using kt_test::raises;

static_assert(std::is_void_v<
              decltype(std::declval<ktmdl_Vec3d&>().Cross(std::declval<const ktmdl_Vec3d&>()))>);
static_assert(std::is_same_v<decltype(ktmdl_Vec3d::VX()), const ktmdl_Vec3d&>);

namespace {

constexpr char kDivision[] = "Division by zero in ktmdl_Vec3d";

class Probe : public ktmdl_Vec3d
{
public:
    using ktmdl_Vec3d::operator=;

    virtual void Behind() {}
};

void expectEqual(const ktmdl_Vec3d& aFirst, const ktmdl_Vec3d& aSecond, double aTolerance,
                 int aWanted)
{
    EXPECT_EQ(aFirst.IsEqual(aSecond, aTolerance), aWanted);
    EXPECT_EQ(aSecond.IsEqual(aFirst, aTolerance), aWanted);
}

void expectAngle(const ktmdl_Vec3d& aFirst, const ktmdl_Vec3d& aSecond, double aWanted)
{
    EXPECT_EQ(aFirst.Angle(aSecond), aWanted);
    EXPECT_EQ(aSecond.Angle(aFirst), aWanted);
}

//! Checks the three angle tests of two vectors, both ways round.
void expectRelations(const ktmdl_Vec3d& aFirst, const ktmdl_Vec3d& aSecond, double aTolerance,
                     int aParallel, int aNormal, int aOpposite)
{
    EXPECT_EQ(aFirst.IsParallel(aSecond, aTolerance), aParallel);
    EXPECT_EQ(aSecond.IsParallel(aFirst, aTolerance), aParallel);
    EXPECT_EQ(aFirst.IsNormal(aSecond, aTolerance), aNormal);
    EXPECT_EQ(aSecond.IsNormal(aFirst, aTolerance), aNormal);
    EXPECT_EQ(aFirst.IsOpposite(aSecond, aTolerance), aOpposite);
    EXPECT_EQ(aSecond.IsOpposite(aFirst, aTolerance), aOpposite);
}

ktmdl_Vec3d normalised(ktmdl_Vec3d aVector)
{
    aVector.Normalize();
    return aVector;
}

} // namespace

TEST(ktmdl_Vec3d, DefaultIsTheZeroVector)
{
    expectTriple(ktmdl_Vec3d(), 0, 0, 0);
}

TEST(ktmdl_Vec3d, IsMadeFromThreeNumbers)
{
    expectTriple(ktmdl_Vec3d(1, 2, 3), 1, 2, 3);
    double numbers[] = {1, 2, 3, 4};
    expectTriple(ktmdl_Vec3d(numbers + 1), 2, 3, 4);
}

TEST(ktmdl_Vec3d, FromOnePointIsItsCoordinates)
{
    expectTriple(ktmdl_Vec3d(ktmdl_Pnt3d(1, 2, 3)), 1, 2, 3);
}

TEST(ktmdl_Vec3d, FromTwoPointsLeadsFromTheFirstToTheSecond)
{
    expectTriple(ktmdl_Vec3d(ktmdl_Pnt3d(1, 20, 3), ktmdl_Pnt3d(11, 2, 103)), 10, -18, 100);
}

TEST(ktmdl_Vec3d, UnitVectorsAreConstants)
{
    expectTriple(ktmdl_Vec3d::VX(), 1, 0, 0);
    expectTriple(ktmdl_Vec3d::VY(), 0, 1, 0);
    expectTriple(ktmdl_Vec3d::VZ(), 0, 0, 1);
    EXPECT_EQ(&ktmdl_Vec3d::VX(), &ktmdl_Vec3d::VX());
    EXPECT_EQ(&ktmdl_Vec3d::VY(), &ktmdl_Vec3d::VY());
    EXPECT_EQ(&ktmdl_Vec3d::VZ(), &ktmdl_Vec3d::VZ());
}

TEST(ktmdl_Vec3d, AddIsPerComponent)
{
    ktmdl_Vec3d vector(1, 2, 3);
    vector.Add(ktmdl_Vec3d(10, -20, 30));
    expectTriple(vector, 11, -18, 33);
    vector.Add(vector);
    expectTriple(vector, 22, -36, 66);
}

TEST(ktmdl_Vec3d, SubtractIsPerComponent)
{
    ktmdl_Vec3d vector(1, 2, 3);
    vector.Subtract(ktmdl_Vec3d(10, -20, 30));
    expectTriple(vector, -9, 22, -27);
    vector.Subtract(vector);
    expectTriple(vector, 0, 0, 0);
}

TEST(ktmdl_Vec3d, MultiplyScalesAllComponents)
{
    ktmdl_Vec3d vector(1, 2, -3);
    vector.Multiply(-4);
    expectTriple(vector, -4, -8, 12);
}

TEST(ktmdl_Vec3d, DivideScalesAllComponents)
{
    ktmdl_Vec3d vector(2, 4, -8);
    vector.Divide(-4);
    expectTriple(vector, -0.5, -1, 2);
}

TEST(ktmdl_Vec3d, DivisorOfAMillionthIsAllowed)
{
    ktmdl_Vec3d vector(kTol, 2 * kTol, -4 * kTol);
    vector.Divide(kTol);
    expectTriple(vector, 1, 2, -4);
    vector.Divide(-kTol);
    expectTriple(vector, -1 / kTol, -2 / kTol, 4 / kTol);
}

TEST(ktmdl_Vec3d, DivisorBelowAMillionthRaisesAndChangesNothing)
{
    for (const double divisor : {0.0, -0.0, below(kTol), -below(kTol)}) {
        ktmdl_Vec3d vector(1, 2, 3);
        EXPECT_TRUE(
            raises<Hnd_ktstd_fail_DivideByZero>(kDivision, [&] { vector.Divide(divisor); }));
        expectTriple(vector, 1, 2, 3);
    }
}

TEST(ktmdl_Vec3d, DotMultipliesEqualComponents)
{
    const ktmdl_Vec3d first(2, 3, 5);
    const ktmdl_Vec3d second(7, -11, 13);
    EXPECT_EQ(first.Dot(second), 14.0 - 33.0 + 65.0);
    EXPECT_EQ(second.Dot(first), 14.0 - 33.0 + 65.0);
}

TEST(ktmdl_Vec3d, CrossReplacesTheVector)
{
    ktmdl_Vec3d vector(2, 3, 5);
    vector.Cross(ktmdl_Vec3d(7, 11, 13));
    expectTriple(vector, 3 * 13 - 5 * 11, 5 * 7 - 2 * 13, 2 * 11 - 3 * 7);
    ktmdl_Vec3d z(ktmdl_Vec3d::VX());
    z.Cross(ktmdl_Vec3d::VY());
    expectTriple(z, 0, 0, 1);
    expectTriple(ktmdl_Vec3d::VX(), 1, 0, 0);
}

TEST(ktmdl_Vec3d, CrossWithItselfIsZero)
{
    ktmdl_Vec3d vector(2, 3, 5);
    vector.Cross(vector);
    expectTriple(vector, 0, 0, 0);
}

TEST(ktmdl_Vec3d, MagnitudeIsTheLength)
{
    EXPECT_EQ(ktmdl_Vec3d().Magnitude(), 0);
    EXPECT_EQ(ktmdl_Vec3d(-3, 4, -12).Magnitude(), 13);
    EXPECT_EQ(ktmdl_Vec3d(0, -2, 0).Magnitude(), 2);
}

TEST(ktmdl_Vec3d, ReverseNegatesAllComponents)
{
    ktmdl_Vec3d vector(1, -2, 3);
    vector.Reverse();
    expectTriple(vector, -1, 2, -3);
}

TEST(ktmdl_Vec3d, NormalizeDividesByTheLength)
{
    expectTriple(normalised({2, 0, 0}), 1, 0, 0);
    expectTriple(normalised({0, -5, 0}), 0, -1, 0);
    expectTriple(normalised({3, -4, 12}), 3.0 / 13, -4.0 / 13, 12.0 / 13);
    expectTriple(normalised({0, 0, 0.25}), 0, 0, 1);
}

TEST(ktmdl_Vec3d, NormalizeTakesALengthWithinAMillionthOf1For1)
{
    for (const double length : {1 + 5e-7, 1 - 5e-7, 1 + 0.999999e-6, 1 - 0.999999e-6}) {
        expectTriple(normalised({length, 0, 0}), length, 0, 0);
        expectTriple(normalised({0, 0, -length}), 0, 0, -length);
    }
    for (const double length : {1 + 1.000001e-6, 1 - 1.000001e-6}) {
        expectTriple(normalised({length, 0, 0}), 1, 0, 0);
        expectTriple(normalised({0, 0, -length}), 0, 0, -1);
    }
}

TEST(ktmdl_Vec3d, NormalizeOfAMillionthIsAllowed)
{
    // The square root of the rounded square of 1e-6 is 1e-6 again.
    expectTriple(normalised({kTol, 0, 0}), 1, 0, 0);
    expectTriple(normalised({0, -kTol, 0}), 0, -1, 0);
}

TEST(ktmdl_Vec3d, NormalizeBelowAMillionthRaisesAndChangesNothing)
{
    for (const double length : {0.0, 1e-7, below(kTol), -below(kTol)}) {
        ktmdl_Vec3d vector(0, length, 0);
        EXPECT_TRUE(raises<Hnd_ktstd_fail_DivideByZero>(kDivision, [&] { vector.Normalize(); }));
        expectTriple(vector, 0, length, 0);
    }
}

TEST(ktmdl_Vec3d, AngleOfOneDirectionIsExactly0)
{
    expectAngle({1, 2, 3}, {1, 2, 3}, 0);
    expectAngle({1, 2, 3}, {10, 20, 30}, 0);
    expectAngle({0, -4, 0}, {0, -0.5, 0}, 0);
}

TEST(ktmdl_Vec3d, AngleOfNormalVectorsIsExactlyHalfPi)
{
    expectAngle({1, 0, 0}, {0, 1, 0}, 1.5707963267948966);
    expectAngle({0, 0, 7}, {3, 4, 0}, 1.5707963267948966);
}

TEST(ktmdl_Vec3d, AngleOfOppositeVectorsIsPi)
{
    expectAngle({1, 0, 0}, {-1, 0, 0}, kPi);
    expectAngle({0, 5, 0}, {0, -0.5, 0}, kPi);
}

TEST(ktmdl_Vec3d, AngleHasNoSign)
{
    // An angle whose cosine is exactly 3/5, on either side.
    const double wanted = std::acos(0.6);
    EXPECT_NEAR(ktmdl_Vec3d(1, 0, 0).Angle({3, 4, 0}), wanted, 1e-15);
    EXPECT_NEAR(ktmdl_Vec3d(1, 0, 0).Angle({3, -4, 0}), wanted, 1e-15);
    EXPECT_NEAR(ktmdl_Vec3d(3, -4, 0).Angle({2, 0, 0}), wanted, 1e-15);
    EXPECT_NEAR(ktmdl_Vec3d(-1, 0, 0).Angle({3, 0, 4}), kPi - wanted, 1e-15);
}

TEST(ktmdl_Vec3d, AngleTakesACosineBelowAMillionthForHalfPi)
{
    // (c, 1, 0) counts as unit, so its cosine with x is c itself.
    for (const double sign : {1.0, -1.0}) {
        expectAngle({1, 0, 0}, {sign * below(kTol), 1, 0}, 1.5707963267948966);
        expectAngle({1, 0, 0}, {sign * kTol, 1, 0}, std::acos(sign * kTol));
        EXPECT_NE(std::acos(sign * kTol), 1.5707963267948966);
    }
}

TEST(ktmdl_Vec3d, AngleTakesACosineWithinAMillionthOf1For0)
{
    // Lengths that count as unit, so that the cosine is their product.
    expectAngle({1, 0, 0}, {1 - 0.999999e-6, 0, 0}, 0);
    expectAngle({1, 0, 0}, {1 + 0.999999e-6, 0, 0}, 0);
    const double less = 1 - 0.500001e-6; // squared, 1 - 1.000002e-6
    expectAngle({less, 0, 0}, {less, 0, 0}, std::acos(less * less));
}

TEST(ktmdl_Vec3d, AngleIsNotANumberWhenTheCosineLeavesItsRange)
{
    const double more = 1 + 0.6e-6;
    EXPECT_TRUE(std::isnan(ktmdl_Vec3d(more, 0, 0).Angle({-1, 0, 0})));
    EXPECT_TRUE(std::isnan(ktmdl_Vec3d(-1, 0, 0).Angle({more, 0, 0})));
    EXPECT_TRUE(std::isnan(ktmdl_Vec3d(more, 0, 0).Angle({more, 0, 0})));
}

TEST(ktmdl_Vec3d, AngleChangesNeitherVector)
{
    const ktmdl_Vec3d first(2, 0, 0);
    const ktmdl_Vec3d second(0, 3, 0);
    static_cast<void>(first.Angle(second));
    expectTriple(first, 2, 0, 0);
    expectTriple(second, 0, 3, 0);
}

TEST(ktmdl_Vec3d, AngleTestsWithTheZeroVectorRaise)
{
    const ktmdl_Vec3d shorter(0, 0, below(kTol));
    const ktmdl_Vec3d x(1, 0, 0);
    using Failure = Hnd_ktstd_fail_DivideByZero;
    EXPECT_TRUE(raises<Failure>(kDivision, [&] { static_cast<void>(x.Angle(shorter)); }));
    EXPECT_TRUE(raises<Failure>(kDivision, [&] { static_cast<void>(shorter.Angle(x)); }));
    EXPECT_TRUE(raises<Failure>(kDivision, [&] { static_cast<void>(x.IsParallel(shorter, 1)); }));
    EXPECT_TRUE(raises<Failure>(kDivision, [&] { static_cast<void>(shorter.IsParallel(x, 1)); }));
    EXPECT_TRUE(raises<Failure>(kDivision, [&] { static_cast<void>(x.IsNormal(shorter, 1)); }));
    EXPECT_TRUE(raises<Failure>(kDivision, [&] { static_cast<void>(shorter.IsNormal(x, 1)); }));
    EXPECT_TRUE(raises<Failure>(kDivision, [&] { static_cast<void>(x.IsOpposite(shorter, 1)); }));
    EXPECT_TRUE(raises<Failure>(kDivision, [&] { static_cast<void>(shorter.IsOpposite(x, 1)); }));
}

TEST(ktmdl_Vec3d, EqualDirectionsAreParallelOnly)
{
    expectRelations({1, 2, 3}, {2, 4, 6}, kTol, 1, 0, 0);
}

TEST(ktmdl_Vec3d, OppositeDirectionsAreParallelAndOpposite)
{
    expectRelations({1, 0, 0}, {-1, 0, 0}, kTol, 1, 0, 1);
    expectRelations({0, 3, 0}, {0, -0.25, 0}, kTol, 1, 0, 1);
}

TEST(ktmdl_Vec3d, NormalDirectionsAreNormalOnly)
{
    expectRelations({1, 0, 0}, {0, 1, 0}, kTol, 0, 1, 0);
    expectRelations({1, 0, 0}, {0, 0, -2}, kTol, 0, 1, 0);
}

TEST(ktmdl_Vec3d, SlantedDirectionsAreNothing)
{
    expectRelations({1, 0, 0}, {1, 1, 0}, kTol, 0, 0, 0);
    expectRelations({1, 0, 0}, {-1, 1, 0}, kTol, 0, 0, 0);
}

TEST(ktmdl_Vec3d, ToleranceOfTheAngleTestsIsStrict)
{
    const ktmdl_Vec3d x(1, 0, 0);
    const ktmdl_Vec3d ahead(3, 4, 0);   // cosine 3/5
    const ktmdl_Vec3d behind(-3, 4, 0); // cosine -3/5
    const double toAhead = x.Angle(ahead);
    const double toBack = std::fabs(x.Angle(behind) - kPi);
    const double toNormal = std::fabs(x.Angle(ahead) - kPi / 2);
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

TEST(ktmdl_Vec3d, ToleranceOf0AllowsNothing)
{
    expectRelations({1, 0, 0}, {1, 0, 0}, 0, 0, 0, 0);
    expectRelations({1, 0, 0}, {-1, 0, 0}, 0, 0, 0, 0);
    expectRelations({1, 0, 0}, {0, 1, 0}, 0, 0, 0, 0);
    const double least = above(0.0);
    expectRelations({1, 0, 0}, {1, 0, 0}, least, 1, 0, 0);
    expectRelations({1, 0, 0}, {-1, 0, 0}, least, 1, 0, 1);
    expectRelations({1, 0, 0}, {0, 1, 0}, least, 0, 1, 0);
}

TEST(ktmdl_Vec3d, AngleTestsOfAnImpossibleCosineFail)
{
    // The angle is not a number, which no tolerance holds.
    expectRelations({1 + 0.6e-6, 0, 0}, {-1, 0, 0}, 1, 0, 0, 0);
}

TEST(ktmdl_Vec3d, DifferenceOfTheToleranceStillCountsAsEqual)
{
    const ktmdl_Vec3d zero;
    for (const double tolerance : {kTol, 0.5}) {
        for (const double sign : {1.0, -1.0}) {
            const double at = sign * tolerance;
            const double beyond = sign * above(tolerance);
            expectEqual(zero, {at, 0, 0}, tolerance, 1);
            expectEqual(zero, {0, at, 0}, tolerance, 1);
            expectEqual(zero, {0, 0, at}, tolerance, 1);
            expectEqual(zero, {beyond, 0, 0}, tolerance, 0);
            expectEqual(zero, {0, beyond, 0}, tolerance, 0);
            expectEqual(zero, {0, 0, beyond}, tolerance, 0);
        }
    }
}

TEST(ktmdl_Vec3d, EqualityIsPerComponentWithoutScaling)
{
    expectEqual({0, 0, 0}, {0.5, -0.5, 0.5}, 0.5, 1);
    expectEqual({1, 2, 3}, {1, 2, 3}, 0, 1);
    expectEqual({1, 2, 3}, {2, 4, 6}, 0.5, 0);
    expectEqual({1, 2, 3}, {3, 2, 1}, 0.5, 0);
}

TEST(ktmdl_Vec3d, TranslateAddsLikeToAPoint)
{
    ktmdl_Vec3d vector(1, 2, 3);
    vector.Translate(ktmdl_Vec3d(10, -20, 30));
    expectTriple(vector, 11, -18, 33);
    vector.Translate(vector);
    expectTriple(vector, 22, -36, 66);
}

TEST(ktmdl_Vec3d, TransformUsesTheLinearPartOnly)
{
    ktmdl_Vec3d vector(1, 10, 100);
    vector.Transform(kt_test::generalTrsf());
    expectTriple(vector, 2 + 30 + 500, 11 + 130 + 1700, 23 + 290 + 3100);
    ktmdl_Vec3d kept(1, 2, 3);
    kept.Transform(ktmdl_Trsf3d(10, 20, 30));
    expectTriple(kept, 1, 2, 3);
}

TEST(ktmdl_Vec3d, TransformDoesNotNormalise)
{
    ktmdl_Vec3d vector(1, 0, 0);
    vector.Transform(kt_test::scaling(3, 3, 3));
    expectTriple(vector, 3, 0, 0);
}

TEST(ktmdl_Vec3d, RotateTurnsTheVectorAsAPoint)
{
    // (1, 0, 0) seen from (0, 1, 0) is (1, -1, 0), turned by a quarter (1, 1, 0), and back.
    ktmdl_Vec3d vector(1, 0, 0);
    vector.Rotate(ktmdl_Axis3d(ktmdl_Pnt3d(0, 1, 0), ktmdl_Vec3d(0, 0, 1)), kPi / 2);
    kt_test::expectTripleNear(vector, 1, 2, 0, 1e-15);
}

TEST(ktmdl_Vec3d, RotateTakesTheSameStepsAsForPoints)
{
    const ktmdl_Axis3d axis(ktmdl_Pnt3d(1, -2, 3), ktmdl_Vec3d(2, 3, 6));
    ktmdl_Vec3d vector(4, 5, -6);
    const ktmdl_Pnt3d wanted = kt_test::turned(vector, axis, 0.7);
    vector.Rotate(axis, 0.7);
    expectTriple(vector, wanted.mX, wanted.mY, wanted.mZ);
}

TEST(ktmdl_Vec3d, ActsThroughTheTriple)
{
    ktmdl_Vec3d vector(1, 0, 0);
    ktmdl_Data3d& data = vector;
    data.Transform(ktmdl_Trsf3d(10, 20, 30));
    expectTriple(vector, 1, 0, 0);
    data.Translate(ktmdl_Vec3d(1, 1, 1));
    expectTriple(vector, 2, 1, 1);
    data.Rotate(ktmdl_Axis3d(ktmdl_Pnt3d(0, 1, 0), ktmdl_Vec3d(0, 0, 1)), kPi);
    kt_test::expectTripleNear(vector, -2, 1, 1, 1e-15);
}

TEST(ktmdl_Vec3d, RecordIsThatOfTheTriple)
{
    ktmdl_Vec3d vector(1, 2, 3);
    EXPECT_EQ(kt_test::recordOf(vector), kt_test::RecordBytes().data3d(1, 2, 3).bytes());
}

TEST(ktmdl_Vec3d, OrdinaryUseRaisesNoFloatingPointFlag)
{
    const double one = kt_test::opaque(1.0);
    const ktmdl_Axis3d axis(ktmdl_Pnt3d(one, 0, 0), ktmdl_Vec3d(0, one, 1));
    const kt_test::FloatFlags flags;
    ktmdl_Vec3d vector(one, 2, 3);
    vector.Add(ktmdl_Vec3d(one, one, one));
    vector.Subtract(ktmdl_Vec3d(0, one, 0));
    vector.Multiply(2 * one);
    vector.Divide(4 * one);
    vector.Cross(ktmdl_Vec3d(0, one, 0));
    vector.Normalize();
    vector.Rotate(axis, 0.5 * one);
    vector.Transform(kt_test::scaling(one, 2, 3));
    static_cast<void>(vector.Angle(ktmdl_Vec3d(one, 0, 0)));
    static_cast<void>(vector.IsParallel(ktmdl_Vec3d(one, 0, 0), one));
    static_cast<void>(vector.IsNormal(ktmdl_Vec3d(one, 0, 0), one));
    static_cast<void>(vector.IsOpposite(ktmdl_Vec3d(one, 0, 0), one));
    static_cast<void>(vector.IsEqual(ktmdl_Vec3d(one, 0, 0), one));
    EXPECT_EQ(flags.raised(), 0);
}

TEST(ktmdl_Vec3d, AddsNothingToTheTriple)
{
    EXPECT_EQ(sizeof(ktmdl_Vec3d), sizeof(ktmdl_Data3d));
#if KT_TEST_HAS_SLOTS
    EXPECT_EQ(kt_test::slotOf(&Probe::Behind), 9);
#endif
}
