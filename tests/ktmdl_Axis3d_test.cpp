#include "ktmdl/ktmdl_Axis3d.h"

#include "support/Bits.h"
#include "support/Failures.h"
#include "support/FloatFlags.h"
#include "support/RecordContract.h"
#include "support/Slots.h"
#include "support/Spatial.h"

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

using kt_test::above;
using kt_test::below;
using kt_test::expectTriple;
using kt_test::expectTripleNear;
using kt_test::kPi;
using kt_test::kTol;
using kt_test::raises;

static_assert(std::is_base_of_v<ktmdl_Pnt3d, ktmdl_Axis3d>);
static_assert(std::is_same_v<decltype(ktmdl_Axis3d::mDir), ktmdl_Vec3d>);
static_assert(std::is_same_v<decltype(ktmdl_Axis3d::AX()), const ktmdl_Axis3d&>);

namespace {

constexpr char kDivision[] = "Division by zero in ktmdl_Vec3d";

template <class Type, class = void>
struct HasIsOpposite : std::false_type
{
};
template <class Type>
struct HasIsOpposite<Type, std::void_t<decltype(&Type::IsOpposite)>> : std::true_type
{
};
static_assert(HasIsOpposite<ktmdl_Vec3d>::value);
static_assert(!HasIsOpposite<ktmdl_Axis3d>::value);

class Probe : public ktmdl_Axis3d
{
public:
    using ktmdl_Axis3d::operator=;

    virtual void Behind() {}
};

void expectAxis(const ktmdl_Axis3d& aAxis, const ktmdl_Pnt3d& aLocation, const ktmdl_Vec3d& aDir)
{
    expectTriple(aAxis, aLocation.mX, aLocation.mY, aLocation.mZ);
    expectTriple(aAxis.mDir, aDir.mX, aDir.mY, aDir.mZ);
}

void expectEqual(const ktmdl_Axis3d& aFirst, const ktmdl_Axis3d& aSecond, double aTolerance,
                 int aWanted)
{
    EXPECT_EQ(aFirst.IsEqual(aSecond, aTolerance), aWanted);
    EXPECT_EQ(aSecond.IsEqual(aFirst, aTolerance), aWanted);
}

//! An axis with the direction exactly as given, whatever its length.
ktmdl_Axis3d rawAxis(const ktmdl_Pnt3d& aLocation, const ktmdl_Vec3d& aDir)
{
    ktmdl_Axis3d axis(aLocation, ktmdl_Vec3d(0, 0, 1));
    axis.mDir = aDir;
    return axis;
}

} // namespace

TEST(ktmdl_Axis3d, DefaultIsZAtTheOrigin)
{
    expectAxis(ktmdl_Axis3d(), {0, 0, 0}, {0, 0, 1});
}

TEST(ktmdl_Axis3d, ConstantsAreTheMainAxes)
{
    expectAxis(ktmdl_Axis3d::AX(), {0, 0, 0}, {1, 0, 0});
    expectAxis(ktmdl_Axis3d::AY(), {0, 0, 0}, {0, 1, 0});
    expectAxis(ktmdl_Axis3d::AZ(), {0, 0, 0}, {0, 0, 1});
    EXPECT_EQ(&ktmdl_Axis3d::AX(), &ktmdl_Axis3d::AX());
    EXPECT_EQ(&ktmdl_Axis3d::AY(), &ktmdl_Axis3d::AY());
    EXPECT_EQ(&ktmdl_Axis3d::AZ(), &ktmdl_Axis3d::AZ());
}

TEST(ktmdl_Axis3d, DirectionIsNormalised)
{
    expectAxis(ktmdl_Axis3d({1, 2, 3}, {0, 0, 5}), {1, 2, 3}, {0, 0, 1});
    expectAxis(ktmdl_Axis3d({1, 2, 3}, {-3, 4, 12}), {1, 2, 3}, {-3.0 / 13, 4.0 / 13, 12.0 / 13});
}

TEST(ktmdl_Axis3d, DirectionWithinAMillionthOfUnitIsKept)
{
    expectAxis(ktmdl_Axis3d({0, 0, 0}, {0, 0, 1.0000005}), {0, 0, 0}, {0, 0, 1.0000005});
    expectAxis(ktmdl_Axis3d({0, 0, 0}, {0, 0.9999995, 0}), {0, 0, 0}, {0, 0.9999995, 0});
}

TEST(ktmdl_Axis3d, DirectionShorterThanAMillionthRaises)
{
    for (const double length : {0.0, below(kTol)}) {
        EXPECT_TRUE(raises<Hnd_ktstd_fail_DivideByZero>(kDivision, [&] {
            ktmdl_Axis3d({1, 2, 3}, {0, length, 0});
        }));
    }
    expectAxis(ktmdl_Axis3d({1, 2, 3}, {0, kTol, 0}), {1, 2, 3}, {0, 1, 0});
}

TEST(ktmdl_Axis3d, OwnCopyTakesLocationAndDirection)
{
    const ktmdl_Axis3d source = rawAxis({1, 2, 3}, {4, 5, 6});
    ktmdl_Axis3d copied;
    copied.Copy(source);
    expectAxis(copied, {1, 2, 3}, {4, 5, 6});
    ktmdl_Axis3d assigned;
    assigned = source;
    expectAxis(assigned, {1, 2, 3}, {4, 5, 6});
    expectAxis(ktmdl_Axis3d(source), {1, 2, 3}, {4, 5, 6});
}

TEST(ktmdl_Axis3d, CopyThroughTheTripleTakesTheLocationOnly)
{
    const ktmdl_Axis3d source({1, 2, 3}, {1, 0, 0});
    ktmdl_Axis3d copied;
    static_cast<ktmdl_Data3d&>(copied).Copy(source);
    expectAxis(copied, {1, 2, 3}, {0, 0, 1});
    ktmdl_Axis3d assigned;
    static_cast<ktmdl_Data3d&>(assigned) = static_cast<const ktmdl_Data3d&>(source);
    expectAxis(assigned, {1, 2, 3}, {0, 0, 1});
}

TEST(ktmdl_Axis3d, AngleIsThatOfTheDirection)
{
    EXPECT_EQ(ktmdl_Axis3d::AZ().Angle({0, 0, -1}), kPi);
    EXPECT_EQ(ktmdl_Axis3d::AZ().Angle({0, 0, 7}), 0.0);
    EXPECT_EQ(ktmdl_Axis3d::AZ().Angle({1, 0, 0}), std::acos(0.0));
    EXPECT_NEAR(ktmdl_Axis3d({5, 6, 7}, {1, 0, 0}).Angle({3, 4, 0}), std::acos(0.6), 1e-15);
}

TEST(ktmdl_Axis3d, AngleNearHalfPiIsNotSnapped)
{
    const ktmdl_Vec3d nearlyNormal(5e-7, 1, 0);
    EXPECT_EQ(ktmdl_Axis3d::AX().Angle(nearlyNormal), std::acos(5e-7));
    EXPECT_NE(std::acos(5e-7), 1.5707963267948966);
    EXPECT_EQ(ktmdl_Vec3d::VX().Angle(nearlyNormal), 1.5707963267948966);
}

TEST(ktmdl_Axis3d, AngleTakesACosineWithinAMillionthOf1For0)
{
    EXPECT_EQ(ktmdl_Axis3d::AX().Angle({1 - 0.999999e-6, 0, 0}), 0.0);
    EXPECT_EQ(ktmdl_Axis3d::AX().Angle({1 + 0.999999e-6, 0, 0}), 0.0);
    const double less = 1 - 0.500001e-6; // squared, 1 - 1.000002e-6
    EXPECT_EQ(ktmdl_Axis3d({0, 0, 0}, {less, 0, 0}).Angle({less, 0, 0}), std::acos(less * less));
}

TEST(ktmdl_Axis3d, AngleNormalisesBothDirections)
{
    EXPECT_EQ(rawAxis({0, 0, 0}, {8, 0, 0}).Angle({3, 0, 0}), 0.0);
    EXPECT_NEAR(rawAxis({0, 0, 0}, {8, 0, 0}).Angle({6, 8, 0}), std::acos(0.6), 1e-15);
}

TEST(ktmdl_Axis3d, RelationsWithTheZeroVectorRaise)
{
    const ktmdl_Axis3d axis;
    const ktmdl_Vec3d shorter(below(kTol), 0, 0);
    using Failure = Hnd_ktstd_fail_DivideByZero;
    EXPECT_TRUE(raises<Failure>(kDivision, [&] { static_cast<void>(axis.Angle(shorter)); }));
    EXPECT_TRUE(
        raises<Failure>(kDivision, [&] { static_cast<void>(axis.IsParallel(shorter, 1)); }));
    EXPECT_TRUE(raises<Failure>(kDivision, [&] { static_cast<void>(axis.IsNormal(shorter, 1)); }));
    const ktmdl_Axis3d flat = rawAxis({0, 0, 0}, {0, 0, 0});
    EXPECT_TRUE(raises<Failure>(kDivision, [&] { static_cast<void>(flat.Angle({1, 0, 0})); }));
}

TEST(ktmdl_Axis3d, ParallelAndNormalAreThoseOfTheDirection)
{
    const ktmdl_Axis3d axis({5, 6, 7}, {1, 0, 0});
    EXPECT_EQ(axis.IsParallel({3, 0, 0}, kTol), 1);
    EXPECT_EQ(axis.IsParallel({-3, 0, 0}, kTol), 1);
    EXPECT_EQ(axis.IsParallel({0, 1, 0}, kTol), 0);
    EXPECT_EQ(axis.IsNormal({0, 2, 0}, kTol), 1);
    EXPECT_EQ(axis.IsNormal({1, 0, 0}, kTol), 0);
    EXPECT_EQ(axis.IsNormal({-1, 0, 0}, kTol), 0);
    const double angle = std::acos(0.6);
    EXPECT_EQ(axis.IsParallel({3, 4, 0}, angle - 1e-9), 0);
    EXPECT_EQ(axis.IsParallel({3, 4, 0}, angle + 1e-9), 1);
    EXPECT_EQ(axis.IsNormal({3, 4, 0}, kPi / 2 - angle - 1e-9), 0);
    EXPECT_EQ(axis.IsNormal({3, 4, 0}, kPi / 2 - angle + 1e-9), 1);
}

TEST(ktmdl_Axis3d, EqualityComparesLocationAndDirection)
{
    const ktmdl_Axis3d axis = rawAxis({0, 0, 0}, {0, 0, 0});
    for (int place = 0; place < 3; ++place) {
        for (const double sign : {1.0, -1.0}) {
            double numbers[3] = {0, 0, 0};
            numbers[place] = sign * kTol;
            expectEqual(axis, rawAxis(ktmdl_Pnt3d(numbers), {0, 0, 0}), kTol, 1);
            expectEqual(axis, rawAxis({0, 0, 0}, ktmdl_Vec3d(numbers)), kTol, 1);
            numbers[place] = sign * above(kTol);
            expectEqual(axis, rawAxis(ktmdl_Pnt3d(numbers), {0, 0, 0}), kTol, 0);
            expectEqual(axis, rawAxis({0, 0, 0}, ktmdl_Vec3d(numbers)), kTol, 0);
        }
    }
}

TEST(ktmdl_Axis3d, EqualityWithTolerance0IsExact)
{
    const ktmdl_Axis3d axis({1, 2, 3}, {1, 2, 3});
    expectEqual(axis, axis, 0, 1);
    expectEqual(axis, ktmdl_Axis3d({1, 2, 3}, {-1, -2, -3}), 0.5, 0);
}

TEST(ktmdl_Axis3d, RotateTurnsTheDirectionAsAPoint)
{
    // About y through (1, 0, 0): the location (0, 0, 0) comes to (1, 0, 1); the direction, taken
    // as the point (0, 0, 1), to (2, 0, 1), which is not of length 1.
    ktmdl_Axis3d axis(ktmdl_Axis3d::AZ());
    axis.Rotate(ktmdl_Axis3d({1, 0, 0}, {0, 1, 0}), kPi / 2);
    expectTripleNear(axis, 1, 0, 1, 1e-15);
    expectTripleNear(axis.mDir, 2, 0, 1, 1e-15);
}

TEST(ktmdl_Axis3d, RotateTakesTheStepsOfThePoint)
{
    const ktmdl_Axis3d about({1, -2, 3}, {2, 3, 6});
    ktmdl_Axis3d axis({4, 5, -6}, {1, 2, -2});
    const ktmdl_Pnt3d location = kt_test::turned(axis, about, 0.7);
    const ktmdl_Pnt3d direction = kt_test::turned(axis.mDir, about, 0.7);
    static_cast<ktmdl_Data3d&>(axis).Rotate(about, 0.7);
    expectTriple(axis, location.mX, location.mY, location.mZ);
    expectTriple(axis.mDir, direction.mX, direction.mY, direction.mZ);
}

TEST(ktmdl_Axis3d, TranslateMovesTheLocationOnly)
{
    ktmdl_Axis3d axis({1, 2, 3}, {1, 0, 0});
    static_cast<ktmdl_Data3d&>(axis).Translate({10, 20, 30});
    expectAxis(axis, {11, 22, 33}, {1, 0, 0});
}

TEST(ktmdl_Axis3d, TransformMovesTheLocationAsAPoint)
{
    ktmdl_Axis3d axis({1, 2, 3}, {1, 0, 0});
    static_cast<ktmdl_Data3d&>(axis).Transform(ktmdl_Trsf3d(10, 20, 30));
    expectAxis(axis, {11, 22, 33}, {1, 0, 0});
}

TEST(ktmdl_Axis3d, TransformNormalisesTheDirection)
{
    ktmdl_Axis3d axis({1, 2, 3}, {1, 0, 0});
    axis.Transform(kt_test::matrix({{3, 0, 0, 7}, {4, 1, 0, 8}, {12, 0, 1, 9}, {0, 0, 0, 1}}));
    expectAxis(axis, {10, 14, 24}, {3.0 / 13, 4.0 / 13, 12.0 / 13});
}

TEST(ktmdl_Axis3d, TransformKeepsADirectionWithinAMillionthOfUnit)
{
    ktmdl_Axis3d axis;
    axis.Transform(kt_test::scaling(1, 1, 1.0000005));
    expectAxis(axis, {0, 0, 0}, {0, 0, 1.0000005});
}

TEST(ktmdl_Axis3d, TransformToAVanishingDirectionRaises)
{
    ktmdl_Axis3d axis({1, 2, 3}, {1, 0, 0});
    EXPECT_TRUE(raises<Hnd_ktstd_fail_DivideByZero>(
        kDivision, [&] { axis.Transform(kt_test::scaling(below(kTol), 2, 2)); }));
    // The location is moved and the direction mapped before its length is looked at.
    expectAxis(axis, {below(kTol), 4, 6}, {below(kTol), 0, 0});
    ktmdl_Axis3d just({1, 2, 3}, {1, 0, 0});
    just.Transform(kt_test::scaling(kTol, 2, 2));
    expectAxis(just, {kTol, 4, 6}, {1, 0, 0});
}

TEST(ktmdl_Axis3d, TrsfIsTheTranslationByTheLocation)
{
    const ktmdl_Axis3d axis({2, 3, 5}, {1, 0, 0});
    double matrix[4][4];
    static_cast<const ktmdl_Data3d&>(axis).Trsf().GetMatrix(matrix);
    const double wanted[4][4] = {{1, 0, 0, 2}, {0, 1, 0, 3}, {0, 0, 1, 5}, {0, 0, 0, 1}};
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            EXPECT_EQ(matrix[row][column], wanted[row][column]);
        }
    }
}

namespace {

struct AxisSample
{
    using Class = ktmdl_Axis3d;

    static Class sample() { return rawAxis({-0.0, 2, kt_test::payloadNan()}, {4, -5, 6e300}); }
    static Class other() { return ktmdl_Axis3d({7, 8, 9}, {1, 0, 0}); }
    static kt_test::RecordBytes& fill(kt_test::RecordBytes& aBytes)
    {
        return aBytes.data3d(-0.0, 2, kt_test::payloadNan())
            .version("ktmdl_Axis3d")
            .data3d(4, -5, 6e300)
            .end("ktmdl_Axis3d");
    }
};

} // namespace

KT_RECORD_TESTS(ktmdl_Axis3d, AxisSample);

TEST(ktmdl_Axis3d, RecordHasThreeEndMarkers)
{
    ktmdl_Axis3d axis;
    EXPECT_EQ(kt_test::recordOf(axis).size(), 2U * 24U + 3U * 2U);
}

TEST(ktmdl_Axis3d, FailureAtTheOwnVersionLeavesTheLocationReadAndTheDirection)
{
    const kt_test::Bytes bytes = kt_test::RecordContract<AxisSample>::wanted().bytes();
    ktstd_Archive archive(kt_test::archiveHolding(bytes, 16, {{"ktmdl_Axis3d", -1}}));
    ktmdl_Axis3d axis({7, 8, 9}, {1, 0, 0});
    EXPECT_TRUE(kt_test::raisesCode(16, [&] { axis.Serialize(archive); }));
    EXPECT_EQ(kt_test::bitsOf(axis.mX), kt_test::bitsOf(-0.0));
    EXPECT_EQ(axis.mY, 2);
    EXPECT_EQ(kt_test::bitsOf(axis.mZ), kt_test::bitsOf(kt_test::payloadNan()));
    expectTriple(axis.mDir, 1, 0, 0);
}

TEST(ktmdl_Axis3d, FailureInTheDirectionLeavesTheLocationRead)
{
    kt_test::RecordBytes record;
    record.data3d(4, 5, 6).data3d(0, 1, 0).end("ktmdl_Axis3d");
    kt_test::Bytes bytes = record.bytes();
    bytes[record.markers()[1].offset] ^= 0xFFU;
    ktstd_Archive archive(kt_test::archiveHolding(bytes));
    ktmdl_Axis3d axis({7, 8, 9}, {1, 0, 0});
    EXPECT_TRUE(kt_test::raisesFileIO(17, "ktmdl_Data3d: expected end of class",
                                      [&] { axis.Serialize(archive); }));
    expectAxis(axis, {4, 5, 6}, {0, 1, 0});
}

TEST(ktmdl_Axis3d, DirectionIsLoadedAsStoredNotNormalised)
{
    ktstd_Archive archive(kt_test::archiveHolding(
        kt_test::RecordBytes().data3d(1, 2, 3).data3d(0, 0, 0).end("ktmdl_Axis3d").bytes()));
    ktmdl_Axis3d axis;
    EXPECT_NO_THROW(axis.Serialize(archive));
    expectAxis(axis, {1, 2, 3}, {0, 0, 0});
}

TEST(ktmdl_Axis3d, OrdinaryUseRaisesNoFloatingPointFlag)
{
    const double one = kt_test::opaque(1.0);
    const kt_test::FloatFlags flags;
    ktmdl_Axis3d axis({one, 2, 3}, {one, one, 0});
    axis.Rotate(ktmdl_Axis3d({0, one, 0}, {0, 0, one}), 0.5 * one);
    axis.Transform(kt_test::scaling(one, 2, 3));
    axis.Translate({one, 0, 0});
    static_cast<void>(axis.Angle({one, 0, 0}));
    static_cast<void>(axis.IsEqual(ktmdl_Axis3d(), one));
    static_cast<void>(axis.Trsf());
    EXPECT_EQ(flags.raised(), 0);
}

TEST(ktmdl_Axis3d, LayoutIsLocationThenDirection)
{
    const ktmdl_Axis3d axis = rawAxis({1, 2, 3}, {4, 5, 6});
    EXPECT_EQ(sizeof(ktmdl_Axis3d), 2 * sizeof(ktmdl_Vec3d));
    const double wanted[] = {1, 2, 3};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(kt_test::valueAt<double>(axis, 8 + 8 * i), wanted[i]);
        EXPECT_EQ(kt_test::valueAt<double>(axis, 40 + 8 * i), wanted[i] + 3);
    }
#if KT_TEST_HAS_SLOTS
    EXPECT_EQ(kt_test::slotOf(&Probe::Behind), 9);
#endif
}
