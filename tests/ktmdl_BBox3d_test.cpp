#include "ktmdl/ktmdl_BBox3d.h"

#include "support/Bits.h"
#include "support/FloatFlags.h"
#include "support/RecordContract.h"
#include "support/Slots.h"
#include "support/Spatial.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <type_traits>

using kt_test::above;
using kt_test::below;
using kt_test::kPi;
using kt_test::kTol;

static_assert(std::has_virtual_destructor_v<ktmdl_BBox3d>);
static_assert(std::is_same_v<decltype(std::declval<const ktmdl_BBox3d&>().IsInside(
                                 std::declval<const ktmdl_Pnt3d&>())),
                             unsigned char>);

namespace {

using Numbers = std::array<double, 6>;

Numbers numbersOf(const ktmdl_BBox3d& aBox)
{
    Numbers numbers{};
    aBox.Get(numbers[0], numbers[1], numbers[2], numbers[3], numbers[4], numbers[5]);
    return numbers;
}

const ktmdl_BBox3d kUnit(0, 0, 0, 1, 1, 1);

//! A box with given ends on one axis, far off and different on the others.
ktmdl_BBox3d boxWith(int aAxis, double aMin, double aMax)
{
    double low[3] = {-10, -20, -30};
    double high[3] = {11, 22, 33};
    low[aAxis] = aMin;
    high[aAxis] = aMax;
    return {ktmdl_Pnt3d(low), ktmdl_Pnt3d(high)};
}

//! A point at the given coordinates but for one.
ktmdl_Pnt3d pointWith(const std::array<double, 3>& aRest, int aAxis, double aValue)
{
    double numbers[3] = {aRest[0], aRest[1], aRest[2]};
    numbers[aAxis] = aValue;
    return ktmdl_Pnt3d(numbers);
}

//! Coordinates with which each point test holds in such a box, the oddly tested z too.
constexpr std::array<double, 3> kInside = {-3, 7, 40};
constexpr std::array<double, 3> kReallyInside = {-3, 7, 40};
constexpr std::array<double, 3> kNotOutside = {-3, 7, 13};

class Probe : public ktmdl_BBox3d
{
public:
    virtual void Behind() {}
};

} // namespace

TEST(ktmdl_BBox3d, DefaultIsTheSinglePointAtTheOrigin)
{
    EXPECT_EQ(numbersOf(ktmdl_BBox3d()), (Numbers{0, 0, 0, 0, 0, 0}));
}

TEST(ktmdl_BBox3d, CornersAreKeptAsGiven)
{
    EXPECT_EQ(numbersOf(ktmdl_BBox3d({1, 2, 3}, {4, 5, 6})), (Numbers{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(numbersOf(ktmdl_BBox3d({4, 5, 6}, {1, 2, 3})), (Numbers{4, 5, 6, 1, 2, 3}));
    EXPECT_EQ(numbersOf(ktmdl_BBox3d(1, 2, 3, 4, 5, 6)), (Numbers{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(numbersOf(ktmdl_BBox3d(4, 5, 6, 1, 2, 3)), (Numbers{4, 5, 6, 1, 2, 3}));
}

TEST(ktmdl_BBox3d, CopiesBothCorners)
{
    const ktmdl_BBox3d source(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(numbersOf(ktmdl_BBox3d(source)), (Numbers{1, 2, 3, 4, 5, 6}));
    ktmdl_BBox3d assigned;
    assigned = source;
    EXPECT_EQ(numbersOf(assigned), (Numbers{1, 2, 3, 4, 5, 6}));
}

TEST(ktmdl_BBox3d, CenterSizeIsHalfTheSumAndTheDifference)
{
    Numbers got{};
    ktmdl_BBox3d(1, 2, 3, 4, 8, 33).GetCenterSize(got[0], got[1], got[2], got[3], got[4], got[5]);
    EXPECT_EQ(got, (Numbers{2.5, 5, 18, 3, 6, 30}));
    ktmdl_BBox3d(4, 8, 33, 1, 2, 3).GetCenterSize(got[0], got[1], got[2], got[3], got[4], got[5]);
    EXPECT_EQ(got, (Numbers{2.5, 5, 18, -3, -6, -30}));
}

TEST(ktmdl_BBox3d, SetCenterSizeIsHalfTheSizeToEachSide)
{
    ktmdl_BBox3d box(7, 7, 7, 9, 9, 9);
    box.SetCenterSize(ktmdl_Pnt3d(0, 0, 0), 2, 4, 6);
    EXPECT_EQ(numbersOf(box), (Numbers{-1, -2, -3, 1, 2, 3}));
    box.SetCenterSize(ktmdl_Pnt3d(10, 20, 30), 2, 4, 6);
    EXPECT_EQ(numbersOf(box), (Numbers{9, 18, 27, 11, 22, 33}));
    ktmdl_BBox3d other;
    other.SetCenterSize(10, 20, 30, 2, 4, 6);
    EXPECT_EQ(numbersOf(other), (Numbers{9, 18, 27, 11, 22, 33}));
}

TEST(ktmdl_BBox3d, SetCenterSizeWithNegativeSizesInvertsTheBox)
{
    ktmdl_BBox3d box;
    box.SetCenterSize(10, 20, 30, -2, -4, -6);
    EXPECT_EQ(numbersOf(box), (Numbers{11, 22, 33, 9, 18, 27}));
    box.SetCenterSize(ktmdl_Pnt3d(0, 0, 0), -2, -4, -6);
    EXPECT_EQ(numbersOf(box), (Numbers{1, 2, 3, -1, -2, -3}));
}

TEST(ktmdl_BBox3d, AddingABoxTakesTheOuterCorners)
{
    ktmdl_BBox3d box(0, 1, 2, 10, 11, 12);
    box.Add(ktmdl_BBox3d(-1, 5, 1, 9, 21, 12));
    EXPECT_EQ(numbersOf(box), (Numbers{-1, 1, 1, 10, 21, 12}));
    box.Add(ktmdl_BBox3d(0, 0, 5, 20, 0, 22));
    EXPECT_EQ(numbersOf(box), (Numbers{-1, 0, 1, 20, 21, 22}));
    box.Add(box);
    EXPECT_EQ(numbersOf(box), (Numbers{-1, 0, 1, 20, 21, 22}));
}

TEST(ktmdl_BBox3d, AddingABoxHasNoTolerance)
{
    for (int axis = 0; axis < 3; ++axis) {
        ktmdl_BBox3d box = boxWith(axis, 0, 1);
        box.Add(boxWith(axis, -above(0.0), above(1)));
        EXPECT_EQ(numbersOf(box), numbersOf(boxWith(axis, -above(0.0), above(1))));
    }
}

TEST(ktmdl_BBox3d, AddingABoxTakesStrictlyFartherCornersOnly)
{
    // A zero of the other sign is neither smaller nor larger; not-a-number neither.
    ktmdl_BBox3d box(0.0, 0.0, 0.0, -0.0, -0.0, -0.0);
    box.Add(ktmdl_BBox3d(-0.0, -0.0, -0.0, 0.0, 0.0, 0.0));
    for (const double low : {box.mMin.mX, box.mMin.mY, box.mMin.mZ}) {
        EXPECT_FALSE(std::signbit(low));
    }
    for (const double high : {box.mMax.mX, box.mMax.mY, box.mMax.mZ}) {
        EXPECT_TRUE(std::signbit(high));
    }
    const double nan = kt_test::payloadNan();
    ktmdl_BBox3d kept(kUnit);
    kept.Add(ktmdl_BBox3d(nan, nan, nan, nan, nan, nan));
    EXPECT_EQ(numbersOf(kept), numbersOf(kUnit));
}

TEST(ktmdl_BBox3d, AddingAnInvertedBoxComparesMinWithMinAndMaxWithMax)
{
    ktmdl_BBox3d box(kUnit);
    box.Add(ktmdl_BBox3d(5, 5, 5, -5, -5, -5));
    EXPECT_EQ(numbersOf(box), numbersOf(kUnit));
}

TEST(ktmdl_BBox3d, AddingAPointKeepsTheOriginOfADefaultBox)
{
    ktmdl_BBox3d box;
    box.Add(ktmdl_Pnt3d(1, 1, 1));
    EXPECT_EQ(numbersOf(box), (Numbers{0, 0, 0, 1, 1, 1}));
    box.Add(ktmdl_Pnt3d(-2, -3, 5));
    EXPECT_EQ(numbersOf(box), (Numbers{-2, -3, 0, 1, 1, 5}));
}

TEST(ktmdl_BBox3d, AddingAPointInsideChangesNothing)
{
    ktmdl_BBox3d box(kUnit);
    box.Add(ktmdl_Pnt3d(0.5, 0, 1));
    EXPECT_EQ(numbersOf(box), numbersOf(kUnit));
}

TEST(ktmdl_BBox3d, AddingAPointHasADeadBandOfAMillionth)
{
    for (int axis = 0; axis < 3; ++axis) {
        SCOPED_TRACE(axis);
        // Corners at 0, so that a millionth outside is exact.
        const ktmdl_BBox3d low = boxWith(axis, 0, 1);
        ktmdl_BBox3d box(low);
        box.Add(pointWith({0.5, 0.5, 0.5}, axis, -kTol));
        EXPECT_EQ(numbersOf(box), numbersOf(low));
        box.Add(pointWith({0.5, 0.5, 0.5}, axis, below(-kTol)));
        EXPECT_EQ(numbersOf(box), numbersOf(boxWith(axis, below(-kTol), 1)));

        const ktmdl_BBox3d high = boxWith(axis, -1, 0);
        box = high;
        box.Add(pointWith({0.5, 0.5, 0.5}, axis, kTol));
        EXPECT_EQ(numbersOf(box), numbersOf(high));
        box.Add(pointWith({0.5, 0.5, 0.5}, axis, above(kTol)));
        EXPECT_EQ(numbersOf(box), numbersOf(boxWith(axis, -1, above(kTol))));
    }
}

TEST(ktmdl_BBox3d, AddingAPointFarBeyondReachesIt)
{
    ktmdl_BBox3d box(kUnit);
    box.Add(ktmdl_Pnt3d(1 + 5e-7, 0, 0));
    EXPECT_EQ(numbersOf(box), numbersOf(kUnit));
    box.Add(ktmdl_Pnt3d(1.1, 0, 0));
    EXPECT_EQ(numbersOf(box), (Numbers{0, 0, 0, 1.1, 1, 1}));
}

TEST(ktmdl_BBox3d, AddingAPointToAnInvertedBoxMovesBothCorners)
{
    ktmdl_BBox3d box(1, 1, 1, -1, -1, -1);
    box.Add(ktmdl_Pnt3d(0, 0, 0));
    EXPECT_EQ(numbersOf(box), (Numbers{0, 0, 0, 0, 0, 0}));
}

TEST(ktmdl_BBox3d, EqualityAllowsAMillionthInEveryCornerCoordinate)
{
    const ktmdl_BBox3d zero;
    for (std::size_t place = 0; place < 6; ++place) {
        for (const double sign : {1.0, -1.0}) {
            SCOPED_TRACE(testing::Message() << place << ", " << sign);
            Numbers n{};
            const auto box = [&] { return ktmdl_BBox3d(n[0], n[1], n[2], n[3], n[4], n[5]); };
            n[place] = sign * kTol;
            EXPECT_EQ(zero.IsEqual(box()), 1);
            EXPECT_EQ(box().IsEqual(zero), 1);
            n[place] = sign * above(kTol);
            EXPECT_EQ(zero.IsEqual(box()), 0);
            EXPECT_EQ(box().IsEqual(zero), 0);
        }
    }
    EXPECT_EQ(kUnit.IsEqual(kUnit), 1);
    EXPECT_EQ(ktmdl_BBox3d(0, 0, 0, 1, 1, 1).IsEqual(ktmdl_BBox3d(1, 1, 1, 0, 0, 0)), 0);
}

TEST(ktmdl_BBox3d, TouchingBoxesDoNotOverlap)
{
    const ktmdl_BBox3d touching(1, 0, 0, 2, 1, 1);
    EXPECT_EQ(kUnit.HasOverlap(touching), 0);
    EXPECT_EQ(touching.HasOverlap(kUnit), 0);
    const ktmdl_BBox3d overlapping(0.5, 0.5, 0.5, 2, 2, 2);
    EXPECT_EQ(kUnit.HasOverlap(overlapping), 1);
    EXPECT_EQ(overlapping.HasOverlap(kUnit), 1);
    EXPECT_EQ(kUnit.HasOverlap(kUnit), 1);
}

TEST(ktmdl_BBox3d, OverlapStartsAtAMillionthOnEveryAxis)
{
    for (int axis = 0; axis < 3; ++axis) {
        SCOPED_TRACE(axis);
        const ktmdl_BBox3d upper = boxWith(axis, 0, 1);
        EXPECT_EQ(upper.HasOverlap(boxWith(axis, -1, kTol)), 1);
        EXPECT_EQ(upper.HasOverlap(boxWith(axis, -1, below(kTol))), 0);
        EXPECT_EQ(boxWith(axis, -1, kTol).HasOverlap(upper), 1);
        EXPECT_EQ(boxWith(axis, -1, below(kTol)).HasOverlap(upper), 0);
        EXPECT_EQ(upper.HasOverlap(boxWith(axis, 5, 6)), 0);
        EXPECT_EQ(upper.HasOverlap(boxWith(axis, -6, -5)), 0);
    }
}

TEST(ktmdl_BBox3d, InsideOnXAndYReachesAMillionthOutwards)
{
    for (const int axis : {0, 1}) {
        SCOPED_TRACE(axis);
        const ktmdl_BBox3d low = boxWith(axis, 0, 1);
        EXPECT_EQ(low.IsInside(pointWith(kInside, axis, 0.5)), 1);
        EXPECT_EQ(low.IsInside(pointWith(kInside, axis, -kTol)), 1);
        EXPECT_EQ(low.IsInside(pointWith(kInside, axis, below(-kTol))), 0);
        EXPECT_EQ(low.IsInside(pointWith(kInside, axis, -5)), 0);
        const ktmdl_BBox3d high = boxWith(axis, -1, 0);
        EXPECT_EQ(high.IsInside(pointWith(kInside, axis, -0.5)), 1);
        EXPECT_EQ(high.IsInside(pointWith(kInside, axis, kTol)), 1);
        EXPECT_EQ(high.IsInside(pointWith(kInside, axis, above(kTol))), 0);
        EXPECT_EQ(high.IsInside(pointWith(kInside, axis, 5)), 0);
    }
}

TEST(ktmdl_BBox3d, InsideOnZIsAMillionthAboveTheTop)
{
    const ktmdl_BBox3d box = boxWith(2, -1, 0);
    EXPECT_EQ(box.IsInside(pointWith(kInside, 2, -0.5)), 0);
    EXPECT_EQ(box.IsInside(pointWith(kInside, 2, 0)), 0);
    EXPECT_EQ(box.IsInside(pointWith(kInside, 2, below(kTol))), 0);
    EXPECT_EQ(box.IsInside(pointWith(kInside, 2, kTol)), 1);
    EXPECT_EQ(box.IsInside(pointWith(kInside, 2, 100)), 1);
    EXPECT_EQ(kUnit.IsInside({0.5, 0.5, 0.5}), 0);
    EXPECT_EQ(kUnit.IsInside({0.5, 0.5, 1}), 0);
    EXPECT_EQ(kUnit.IsInside({0.5, 0.5, 2}), 1);
}

TEST(ktmdl_BBox3d, InsideOnZReachesAMillionthBelowTheBottomOfAnInvertedBox)
{
    // Only where the bottom lies above the top can the bottom decide.
    const ktmdl_BBox3d box = boxWith(2, 0, -1);
    EXPECT_EQ(box.IsInside(pointWith(kInside, 2, -kTol)), 1);
    EXPECT_EQ(box.IsInside(pointWith(kInside, 2, below(-kTol))), 0);
}

TEST(ktmdl_BBox3d, ReallyInsideOnXAndYKeepsAMillionthInwards)
{
    for (const int axis : {0, 1}) {
        SCOPED_TRACE(axis);
        const ktmdl_BBox3d low = boxWith(axis, 0, 1);
        EXPECT_EQ(low.IsReallyInside(pointWith(kReallyInside, axis, 0.5)), 1);
        EXPECT_EQ(low.IsReallyInside(pointWith(kReallyInside, axis, kTol)), 1);
        EXPECT_EQ(low.IsReallyInside(pointWith(kReallyInside, axis, below(kTol))), 0);
        EXPECT_EQ(low.IsReallyInside(pointWith(kReallyInside, axis, -5)), 0);
        const ktmdl_BBox3d high = boxWith(axis, -1, 0);
        EXPECT_EQ(high.IsReallyInside(pointWith(kReallyInside, axis, -0.5)), 1);
        EXPECT_EQ(high.IsReallyInside(pointWith(kReallyInside, axis, -kTol)), 1);
        EXPECT_EQ(high.IsReallyInside(pointWith(kReallyInside, axis, above(-kTol))), 0);
        EXPECT_EQ(high.IsReallyInside(pointWith(kReallyInside, axis, 5)), 0);
    }
}

TEST(ktmdl_BBox3d, ReallyInsideOnZIsFromAMillionthBelowTheTopUpwards)
{
    const ktmdl_BBox3d box = boxWith(2, -1, 0);
    EXPECT_EQ(box.IsReallyInside(pointWith(kReallyInside, 2, -0.5)), 0);
    EXPECT_EQ(box.IsReallyInside(pointWith(kReallyInside, 2, below(-kTol))), 0);
    EXPECT_EQ(box.IsReallyInside(pointWith(kReallyInside, 2, -kTol)), 1);
    EXPECT_EQ(box.IsReallyInside(pointWith(kReallyInside, 2, 100)), 1);
    EXPECT_EQ(kUnit.IsReallyInside({0.5, 0.5, 0.5}), 0);
    EXPECT_EQ(kUnit.IsReallyInside({0.5, 0.5, 1}), 1);
}

TEST(ktmdl_BBox3d, ReallyInsideOnZIsAMillionthAboveTheBottom)
{
    // A flat box: the top allows points from a millionth below, the bottom from one above.
    const ktmdl_BBox3d flat = boxWith(2, 0, 0);
    EXPECT_EQ(flat.IsReallyInside(pointWith(kReallyInside, 2, below(kTol))), 0);
    EXPECT_EQ(flat.IsReallyInside(pointWith(kReallyInside, 2, kTol)), 1);
}

TEST(ktmdl_BBox3d, OutsideStartsBeyondAMillionthOnEveryAxis)
{
    for (int axis = 0; axis < 3; ++axis) {
        SCOPED_TRACE(axis);
        const ktmdl_BBox3d low = boxWith(axis, 0, 1);
        EXPECT_EQ(low.IsOutside(pointWith(kNotOutside, axis, -kTol)), 0);
        EXPECT_EQ(low.IsOutside(pointWith(kNotOutside, axis, below(-kTol))), 1);
        EXPECT_EQ(low.IsOutside(pointWith(kNotOutside, axis, -5)), 1);
        const ktmdl_BBox3d high = boxWith(axis, -1, 0);
        EXPECT_EQ(high.IsOutside(pointWith(kNotOutside, axis, kTol)), 0);
        EXPECT_EQ(high.IsOutside(pointWith(kNotOutside, axis, above(kTol))), 1);
        EXPECT_EQ(high.IsOutside(pointWith(kNotOutside, axis, 5)), 1);
    }
    EXPECT_EQ(kUnit.IsOutside({0.5, 0.5, 0.5}), 0);
    EXPECT_EQ(kUnit.IsOutside({2, 0.5, 0.5}), 1);
}

TEST(ktmdl_BBox3d, TransformByATranslationMovesTheCorners)
{
    ktmdl_BBox3d box(0, 1, 2, 10, 11, 12);
    box.Transform(ktmdl_Trsf3d(1, 20, -300));
    EXPECT_EQ(numbersOf(box), (Numbers{1, 21, -298, 11, 31, -288}));
}

TEST(ktmdl_BBox3d, TransformByATranslationSortsTheCornersPerCoordinate)
{
    ktmdl_BBox3d box(10, 1, 12, 0, 11, 2);
    box.Transform(ktmdl_Trsf3d(1, 20, 300));
    EXPECT_EQ(numbersOf(box), (Numbers{1, 21, 302, 11, 31, 312}));
    ktmdl_BBox3d other(0, 11, 2, 10, 1, 12);
    other.Transform(ktmdl_Trsf3d(1, 20, 300));
    EXPECT_EQ(numbersOf(other), (Numbers{1, 21, 302, 11, 31, 312}));
}

TEST(ktmdl_BBox3d, TransformByATranslationHasNoDeadBand)
{
    ktmdl_BBox3d box(0, 0, 0, 5e-7, 1, 1);
    box.Transform(ktmdl_Trsf3d(0, 0, 1));
    EXPECT_EQ(numbersOf(box), (Numbers{0, 0, 1, 5e-7, 1, 2}));
}

TEST(ktmdl_BBox3d, TransformBelowTheRotationToleranceMovesTheCornersAsPoints)
{
    // Not a rotation, but the whole matrix applies: x' = (1 + 5e-7) x + 5e-7 y.
    ktmdl_BBox3d box(0, 0, 0, 2, 2, 2);
    const double one = 1 + 5e-7;
    box.Transform(kt_test::matrix({{one, 5e-7, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}));
    EXPECT_EQ(numbersOf(box), (Numbers{0, 0, 0, one * 2 + 5e-7 * 2, 2, 2}));
}

TEST(ktmdl_BBox3d, TransformByARotationTakesAllEightCorners)
{
    ktmdl_BBox3d box(kUnit);
    ktmdl_Trsf3d turn;
    turn.SetRotation(ktmdl_Axis3d::AZ(), kPi / 4, 0);
    box.Transform(turn);
    const double half = std::sqrt(0.5);
    const Numbers wanted = {-half, 0, 0, half, 2 * half, 1};
    const Numbers got = numbersOf(box);
    for (std::size_t i = 0; i < 6; ++i) {
        // A sine and a cosine, each within 1e-16, and their sum.
        EXPECT_NEAR(got[i], wanted[i], 5e-16) << i;
    }
    EXPECT_EQ(got[2], 0.0);
    EXPECT_EQ(got[5], 1.0);
}

TEST(ktmdl_BBox3d, TransformByAMirrorTakesAllEightCorners)
{
    ktmdl_BBox3d box(kUnit);
    box.Transform(kt_test::scaling(-1, 1, 1));
    EXPECT_EQ(numbersOf(box), (Numbers{-1, 0, 0, 0, 1, 1}));
}

TEST(ktmdl_BBox3d, TransformWithRotationAppliesTheTranslationToo)
{
    ktmdl_BBox3d box(1, 2, 3, 4, 5, 6);
    box.Transform(kt_test::matrix({{0, -1, 0, 10}, {1, 0, 0, 20}, {0, 0, 2, 30}, {0, 0, 0, 1}}));
    EXPECT_EQ(numbersOf(box), (Numbers{5, 21, 36, 8, 24, 42}));
}

TEST(ktmdl_BBox3d, TransformWithRotationOfAnInvertedBoxSortsIt)
{
    ktmdl_BBox3d box(4, 5, 6, 1, 2, 3);
    box.Transform(kt_test::scaling(2, 2, 2));
    EXPECT_EQ(numbersOf(box), (Numbers{2, 4, 6, 8, 10, 12}));
}

TEST(ktmdl_BBox3d, TransformWithRotationHasTheDeadBandOfAddedPoints)
{
    // The first corner sets both; the others lie within the dead band around it.
    ktmdl_BBox3d box(0, 0, 0, 5e-7, 1, 1);
    box.Transform(kt_test::scaling(-1, 1, 1));
    EXPECT_EQ(numbersOf(box), (Numbers{0, 0, 0, 0, 1, 1}));
    ktmdl_BBox3d other(5e-7, 0, 0, 0, 1, 1);
    other.Transform(kt_test::scaling(-1, 1, 1));
    EXPECT_EQ(numbersOf(other), (Numbers{-5e-7, 0, 0, -5e-7, 1, 1}));
}

TEST(ktmdl_BBox3d, TransformReachesEveryCorner)
{
    // With every choice of signs another corner lies farthest out.
    const double low[3] = {1, 10, 100};
    const double high[3] = {4, 50, 600};
    for (int signs = 0; signs < 8; ++signs) {
        SCOPED_TRACE(signs);
        double row[3] = {2, 3, 5};
        double least = 7;
        double most = 7;
        for (int axis = 0; axis < 3; ++axis) {
            row[axis] *= (signs >> axis & 1) != 0 ? -1 : 1;
            least += row[axis] * (row[axis] > 0 ? low[axis] : high[axis]);
            most += row[axis] * (row[axis] > 0 ? high[axis] : low[axis]);
        }
        for (int place = 0; place < 3; ++place) {
            double numbers[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
            for (int axis = 0; axis < 3; ++axis) {
                numbers[place][axis] = row[axis];
            }
            numbers[place][3] = 7;
            ktmdl_BBox3d box(ktmdl_Pnt3d{low}, ktmdl_Pnt3d{high});
            box.Transform(kt_test::matrix(numbers));
            Numbers wanted = {low[0], low[1], low[2], high[0], high[1], high[2]};
            wanted[static_cast<std::size_t>(place)] = least;
            wanted[static_cast<std::size_t>(place) + 3] = most;
            EXPECT_EQ(numbersOf(box), wanted);
        }
    }
}

TEST(ktmdl_BBox3d, TransformAddsTheCornersInTheirOrder)
{
    // The matrix lays the eight corners on x at sums of a, b and c. Where the steps are near the
    // dead band, the result depends on the order in which they are added.
    const std::array<std::array<int, 3>, 8> order = {
        {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}};
    std::array<double, 3> steps = {0.7e-6, 1.3e-6, 1.9e-6};
    int tried = 0;
    do {
        for (int signs = 0; signs < 8; ++signs) {
            const double a = (signs & 1) != 0 ? -steps[0] : steps[0];
            const double b = (signs & 2) != 0 ? -steps[1] : steps[1];
            const double c = (signs & 4) != 0 ? -steps[2] : steps[2];
            ktmdl_BBox3d box(kUnit);
            box.Transform(
                kt_test::matrix({{a, b, c, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}));
            double low = 0;
            double high = 0;
            for (const auto& corner : order) {
                const double x = a * corner[0] + b * corner[1] + c * corner[2];
                low = low > x + kTol ? x : low;
                high = x - kTol > high ? x : high;
            }
            EXPECT_EQ(numbersOf(box)[0], low) << a << ", " << b << ", " << c;
            EXPECT_EQ(numbersOf(box)[3], high) << a << ", " << b << ", " << c;
            ++tried;
        }
    } while (std::next_permutation(steps.begin(), steps.end()));
    EXPECT_EQ(tried, 48);
}

namespace {

struct BoxSample
{
    using Class = ktmdl_BBox3d;

    static Class sample()
    {
        return {-0.0, 2, kt_test::payloadNan(), 4, -kt_test::kInfinity, 6e300};
    }
    static Class other() { return {7, 8, 9, 10, 11, 12}; }
    static kt_test::RecordBytes& fill(kt_test::RecordBytes& aBytes)
    {
        return aBytes.version("ktmdl_BBox3d")
            .data3d(-0.0, 2, kt_test::payloadNan())
            .data3d(4, -kt_test::kInfinity, 6e300)
            .end("ktmdl_BBox3d");
    }
};

} // namespace

KT_RECORD_TESTS(ktmdl_BBox3d, BoxSample);

TEST(ktmdl_BBox3d, RecordHasThreeEndMarkers)
{
    ktmdl_BBox3d box;
    EXPECT_EQ(kt_test::recordOf(box).size(), 2U * 24U + 3U * 2U);
}

TEST(ktmdl_BBox3d, FailureInTheSecondCornerLeavesTheFirstRead)
{
    kt_test::RecordBytes record;
    record.data3d(1, 2, 3).data3d(4, 5, 6).end("ktmdl_BBox3d");
    kt_test::Bytes bytes = record.bytes();
    bytes.resize(record.markers()[0].offset + 2 + 8);
    ktstd_Archive archive(kt_test::archiveHolding(bytes));
    ktmdl_BBox3d box(7, 8, 9, 10, 11, 12);
    EXPECT_TRUE(kt_test::raisesClass<Hnd_ktstd_fail_FileIO>([&] { box.Serialize(archive); }));
    EXPECT_EQ(numbersOf(box), (Numbers{1, 2, 3, 10, 11, 12}));
}

TEST(ktmdl_BBox3d, OrdinaryUseRaisesNoFloatingPointFlag)
{
    const double one = kt_test::opaque(1.0);
    ktmdl_Trsf3d turn;
    turn.SetRotation(ktmdl_Axis3d::AZ(), one, 0);
    Numbers n{};
    const kt_test::FloatFlags flags;
    ktmdl_BBox3d box(0, 0, 0, one, 2, 3);
    box.Add(ktmdl_Pnt3d(-one, one, 5));
    box.Add(ktmdl_BBox3d(one, one, one, 7, 8, 9));
    box.Transform(turn);
    box.GetCenterSize(n[0], n[1], n[2], n[3], n[4], n[5]);
    static_cast<void>(box.IsInside({one, one, one}));
    static_cast<void>(box.IsReallyInside({one, one, one}));
    static_cast<void>(box.IsOutside({one, one, one}));
    static_cast<void>(box.HasOverlap(kUnit));
    static_cast<void>(box.IsEqual(kUnit));
    EXPECT_EQ(flags.raised(), 0);
}

TEST(ktmdl_BBox3d, LayoutIsTheTableThenMinThenMax)
{
    const ktmdl_BBox3d box(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(sizeof(ktmdl_BBox3d), sizeof(void*) + 2 * sizeof(ktmdl_Pnt3d));
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(kt_test::valueAt<double>(box, 16 + 8 * i), 1.0 + static_cast<double>(i));
        EXPECT_EQ(kt_test::valueAt<double>(box, 48 + 8 * i), 4.0 + static_cast<double>(i));
    }
#if KT_TEST_HAS_SLOTS
    EXPECT_EQ(kt_test::slotOf(&ktmdl_BBox3d::Serialize), 2);
    EXPECT_EQ(kt_test::slotOf(&Probe::Behind), 3);
#endif
}
