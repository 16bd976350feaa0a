#include "ktmdl/ktmdl.h"

#include "support/Bits.h"
#include "support/Failures.h"
#include "support/FloatFlags.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

using kt_test::raises;

namespace {

const double kPi = std::acos(-1.0);
constexpr char kZeroLength[] = " in ktmdl::Angle2D: one of the input vectors has ZERO length";

//! The cosine between (1, 0) and (1, e) is 1 / sqrt(1 + e^2), that is 1 - e^2 / 2 but for terms
//! below e^4; this gives the e for which the cosine lacks the given amount to 1.
double tangentForMissingCosine(double aMissing)
{
    return std::sqrt(2.0 * aMissing);
}

double sinDeg(double aDegrees)
{
    return std::sin(aDegrees * kPi / 180.0);
}

double cosDeg(double aDegrees)
{
    return std::cos(aDegrees * kPi / 180.0);
}

std::string cannotFind(const std::string& aSin, const std::string& aCos)
{
    return "ChooseAngle: cannot find angle (aSinA=" + aSin + ",aCosA=" + aCos + ")";
}

} // namespace

TEST(ktmdl, Angle2DCountsCounterClockwiseAsPositive)
{
    EXPECT_EQ(ktmdl::Angle2D(1, 0, 0, 1), std::acos(0.0));
    EXPECT_EQ(ktmdl::Angle2D(0, 1, 1, 0), -std::acos(0.0));
    EXPECT_EQ(ktmdl::Angle2D(1, 0, 0, -1), -std::acos(0.0));
    EXPECT_EQ(ktmdl::Angle2D(0, -1, 1, 0), std::acos(0.0));
}

TEST(ktmdl, Angle2DIsTheSignedAngleInEveryQuadrant)
{
    for (int degrees = -170; degrees < 180; degrees += 20) {
        for (const double start : {0.0, 50.0, 140.0, 200.0, 310.0}) {
            const double end = start + degrees;
            // Two roundings of numbers below 2 pi in the arguments, the acos's own error is
            // divided by a sine of at least sin(10 degrees): 1e-14 is ample.
            EXPECT_NEAR(ktmdl::Angle2D(3 * cosDeg(start), 3 * sinDeg(start), 0.5 * cosDeg(end),
                                       0.5 * sinDeg(end)),
                        degrees * kPi / 180.0, 1e-14)
                << "from " << start << " by " << degrees;
        }
    }
}

TEST(ktmdl, Angle2DOfOppositeVectorsIsPlusPi)
{
    EXPECT_EQ(ktmdl::Angle2D(1, 0, -1, 0), kPi);
    EXPECT_EQ(ktmdl::Angle2D(-1, 0, 1, 0), kPi);
    EXPECT_EQ(ktmdl::Angle2D(0, 2, 0, -3), kPi);
    EXPECT_EQ(ktmdl::Angle2D(0, -2, 0, 3), kPi);
}

TEST(ktmdl, Angle2DOfOneDirectionIsZero)
{
    EXPECT_EQ(ktmdl::Angle2D(3, 4, 6, 8), 0.0);
    EXPECT_EQ(ktmdl::Angle2D(-7, 0, -0.5, 0), 0.0);
}

TEST(ktmdl, Angle2DTakesACosineWithinAMillionthOf1For1)
{
    const double snapped = tangentForMissingCosine(kt_test::kTol * (1 - 1e-4));
    const double kept = tangentForMissingCosine(kt_test::kTol * (1 + 1e-4));
    EXPECT_EQ(ktmdl::Angle2D(1, 0, 1, snapped), 0.0);
    EXPECT_EQ(ktmdl::Angle2D(1, 0, 1, -snapped), 0.0);
    EXPECT_NEAR(ktmdl::Angle2D(1, 0, 1, kept), std::atan(kept), 1e-12);
    EXPECT_NEAR(ktmdl::Angle2D(1, 0, 1, -kept), -std::atan(kept), 1e-12);
}

TEST(ktmdl, Angle2DTakesACosineWithinAMillionthOfMinus1ForMinus1)
{
    const double snapped = tangentForMissingCosine(kt_test::kTol * (1 - 1e-4));
    const double kept = tangentForMissingCosine(kt_test::kTol * (1 + 1e-4));
    EXPECT_EQ(ktmdl::Angle2D(1, 0, -1, snapped), kPi);
    EXPECT_EQ(ktmdl::Angle2D(1, 0, -1, -snapped), -kPi);
    EXPECT_NEAR(ktmdl::Angle2D(1, 0, -1, kept), kPi - std::atan(kept), 1e-12);
    EXPECT_NEAR(ktmdl::Angle2D(1, 0, -1, -kept), std::atan(kept) - kPi, 1e-12);
}

TEST(ktmdl, Angle2DOfAVectorShorterThanAMillionthRaises)
{
    const double shorter = kt_test::below(kt_test::kTol);
    const auto fails = [](double aX1, double aY1, double aX2, double aY2) {
        return raises<Hnd_ktstd_fail_ProgramError>(
            kZeroLength, [&] { static_cast<void>(ktmdl::Angle2D(aX1, aY1, aX2, aY2)); });
    };
    EXPECT_TRUE(fails(0, 0, 1, 0));
    EXPECT_TRUE(fails(1, 0, 0, 0));
    EXPECT_TRUE(fails(shorter, 0, 1, 0));
    EXPECT_TRUE(fails(0, -shorter, 1, 0));
    EXPECT_TRUE(fails(1, 0, shorter, 0));
    EXPECT_TRUE(fails(1, 0, 0, -shorter));
}

TEST(ktmdl, Angle2DOfAVectorOfAMillionthIsFound)
{
    // The square root of the rounded square of 1e-6 is 1e-6 again.
    EXPECT_EQ(ktmdl::Angle2D(kt_test::kTol, 0, 0, 1), std::acos(0.0));
    EXPECT_EQ(ktmdl::Angle2D(0, 1, kt_test::kTol, 0), -std::acos(0.0));
}

TEST(ktmdl, ChooseAngleOfTheAxesIsExact)
{
    EXPECT_EQ(ktmdl::ChooseAngle(0, 1), 0.0);
    EXPECT_EQ(ktmdl::ChooseAngle(1, 0), 90.0);
    EXPECT_EQ(ktmdl::ChooseAngle(0, -1), 180.0);
    EXPECT_EQ(ktmdl::ChooseAngle(-1, 0), -90.0);
}

TEST(ktmdl, ChooseAngleFindsEveryAngleInDegrees)
{
    for (int degrees = -175; degrees <= 180; degrees += 5) {
        // The arc sine near 90 degrees is off by at most 2^-53 / cos(85 degrees), in degrees 1e-13.
        EXPECT_NEAR(ktmdl::ChooseAngle(sinDeg(degrees), cosDeg(degrees)), degrees, 1e-11);
    }
    // A rounded cosine: the sine decides.
    EXPECT_NEAR(ktmdl::ChooseAngle(-0.5, -0.8660254), -150.0, 1e-12);
}

TEST(ktmdl, ChooseAngleClampsItsArguments)
{
    EXPECT_EQ(ktmdl::ChooseAngle(1.2, 0), 90.0);
    EXPECT_EQ(ktmdl::ChooseAngle(-1.2, 0), -90.0);
    EXPECT_EQ(ktmdl::ChooseAngle(0, 7), 0.0);
    EXPECT_EQ(ktmdl::ChooseAngle(0, -7), 180.0);
}

TEST(ktmdl, ChooseAngleSnapsTheSineToTheAxes)
{
    EXPECT_EQ(ktmdl::ChooseAngle(sinDeg(0.99e-5), 1), 0.0);
    EXPECT_EQ(ktmdl::ChooseAngle(sinDeg(-0.99e-5), 1), 0.0);
    EXPECT_EQ(ktmdl::ChooseAngle(sinDeg(0.99e-5), -1), 180.0);
    EXPECT_EQ(ktmdl::ChooseAngle(sinDeg(-0.99e-5), -1), 180.0);
    EXPECT_NEAR(ktmdl::ChooseAngle(sinDeg(1.01e-5), 1), 1.01e-5, 1e-12);
    EXPECT_NEAR(ktmdl::ChooseAngle(sinDeg(-1.01e-5), 1), -1.01e-5, 1e-12);
    // Near 90 degrees a sine knows its angle to 2^-53 / (1e-5 degrees), that is 4e-8 degrees.
    EXPECT_EQ(ktmdl::ChooseAngle(sinDeg(90 - 0.9e-5), 0), 90.0);
    EXPECT_EQ(ktmdl::ChooseAngle(-sinDeg(90 - 0.9e-5), 0), -90.0);
    EXPECT_NEAR(ktmdl::ChooseAngle(sinDeg(90 - 1.1e-5), 0), 90 - 1.1e-5, 1e-7);
    EXPECT_NEAR(ktmdl::ChooseAngle(-sinDeg(90 - 1.1e-5), 0), -90 + 1.1e-5, 1e-7);
}

TEST(ktmdl, ChooseAngleSnapsACosineNear0)
{
    const double sine = sinDeg(90 - 1.2e-5);
    // A cosine that stands for less than 1e-5 degrees past 90 counts as 0: no change of quadrant.
    EXPECT_NEAR(ktmdl::ChooseAngle(sine, -sinDeg(0.9e-5)), 90 - 1.2e-5, 1e-7);
    EXPECT_NEAR(ktmdl::ChooseAngle(sine, -sinDeg(1.1e-5)), 90 + 1.2e-5, 1e-7);
    EXPECT_NEAR(ktmdl::ChooseAngle(-sine, -sinDeg(0.9e-5)), -90 + 1.2e-5, 1e-7);
    EXPECT_NEAR(ktmdl::ChooseAngle(-sine, -sinDeg(1.1e-5)), -90 - 1.2e-5, 1e-7);
}

TEST(ktmdl, ChooseAngleGivesTheSinesReadingWhileBothAgree)
{
    // The readings may differ by the square root of 1e-5, 0.00316228 degrees.
    EXPECT_NEAR(ktmdl::ChooseAngle(sinDeg(0.003162), 1), 0.003162, 1e-12);
    EXPECT_NEAR(ktmdl::ChooseAngle(sinDeg(-0.003162), 1), -0.003162, 1e-12);
    EXPECT_NEAR(ktmdl::ChooseAngle(sinDeg(0.003162), -1), 180 - 0.003162, 1e-12);
    EXPECT_EQ(ktmdl::ChooseAngle(sinDeg(0.003163), 1), 0.0);
    EXPECT_EQ(ktmdl::ChooseAngle(sinDeg(-0.003163), 1), 0.0);
    EXPECT_EQ(ktmdl::ChooseAngle(sinDeg(0.003163), -1), 180.0);
}

TEST(ktmdl, ChooseAngleIsBelow180BehindTheHalfTurn)
{
    EXPECT_NEAR(ktmdl::ChooseAngle(sinDeg(-0.001), -1), -179.999, 1e-11);
    EXPECT_NEAR(ktmdl::ChooseAngle(sinDeg(0.001), -1), 179.999, 1e-11);
}

TEST(ktmdl, ChooseAngleFallsBackOnTheCosineWhenTheSineIsNearly0)
{
    const double limit = std::sqrt(1e-5);
    EXPECT_EQ(ktmdl::ChooseAngle(0.001, 1), 0.0);
    EXPECT_EQ(ktmdl::ChooseAngle(-0.001, 1), 0.0);
    EXPECT_EQ(ktmdl::ChooseAngle(0.001, -1), 180.0);
    EXPECT_EQ(ktmdl::ChooseAngle(-0.001, -1), 180.0);
    EXPECT_EQ(ktmdl::ChooseAngle(limit * (1 - 1e-9), 1), 0.0);
    EXPECT_EQ(ktmdl::ChooseAngle(-limit * (1 - 1e-9), -1), 180.0);
    EXPECT_EQ(ktmdl::ChooseAngle(0, 1 - limit * (1 - 1e-9)), 0.0);
    EXPECT_EQ(ktmdl::ChooseAngle(0, -1 + limit * (1 - 1e-9)), 180.0);
}

TEST(ktmdl, ChooseAngleOfContradictingArgumentsRaises)
{
    const double limit = std::sqrt(1e-5);
    const auto fails = [](const char* aSin, const char* aCos, double aSinA, double aCosA) {
        return raises<Hnd_ktstd_fail_ProgramError>(
            cannotFind(aSin, aCos), [&] { static_cast<void>(ktmdl::ChooseAngle(aSinA, aCosA)); });
    };
    EXPECT_TRUE(fails("0.5", "0.5", 0.5, 0.5));
    EXPECT_TRUE(fails("-0.5", "0.5", -0.5, 0.5));
    EXPECT_TRUE(fails("0.01", "1", 0.01, 1));
    EXPECT_TRUE(fails("0", "0.5", 0, 0.5));
    EXPECT_TRUE(fails("0", "0", 0, 0));
    EXPECT_TRUE(fails("0.00316228", "1", limit * (1 + 1e-9), 1));
    EXPECT_TRUE(fails("-0.00316228", "-1", -limit * (1 + 1e-9), -1));
    EXPECT_TRUE(fails("0", "0.996838", 0, 1 - limit * (1 + 1e-9)));
    EXPECT_TRUE(fails("0", "-0.996838", 0, -1 + limit * (1 + 1e-9)));
}

TEST(ktmdl, ChooseAngleNamesTheUnclampedArguments)
{
    EXPECT_TRUE(raises<Hnd_ktstd_fail_ProgramError>(
        cannotFind("1.5", "0.5"), [] { static_cast<void>(ktmdl::ChooseAngle(1.5, 0.5)); }));
    EXPECT_TRUE(raises<Hnd_ktstd_fail_ProgramError>(
        cannotFind("0.5", "-2.25"), [] { static_cast<void>(ktmdl::ChooseAngle(0.5, -2.25)); }));
}

TEST(ktmdl, ChooseAngleWritesNumbersInTheDefaultFormat)
{
    EXPECT_TRUE(raises<Hnd_ktstd_fail_ProgramError>(cannotFind("0.123457", "12.3457"), [] {
        static_cast<void>(ktmdl::ChooseAngle(0.123456789, 12.3456789));
    }));
}

TEST(ktmdl, DeterminantOfAPermutationIsItsSign)
{
    std::array<int, 3> columns{0, 1, 2};
    int seen = 0;
    do {
        std::array<double, 9> matrix{};
        int inversions = 0;
        for (std::size_t row = 0; row < 3; ++row) {
            matrix[3 * row + static_cast<std::size_t>(columns[row])] = 1;
            for (std::size_t later = row + 1; later < 3; ++later) {
                inversions += columns[row] > columns[later] ? 1 : 0;
            }
        }
        EXPECT_EQ(ktmdl::Determinant33Matrix(matrix.data()), inversions % 2 == 0 ? 1.0 : -1.0);
        ++seen;
    } while (std::next_permutation(columns.begin(), columns.end()));
    EXPECT_EQ(seen, 6);
}

TEST(ktmdl, DeterminantIsExactForWholeNumbers)
{
    // 2(11*23 - 13*19) - 3(7*23 - 13*17) + 5(7*19 - 11*17) = 2*6 - 3*(-60) + 5*(-54)
    const double matrix[9] = {2, 3, 5, 7, 11, 13, 17, 19, 23};
    EXPECT_EQ(ktmdl::Determinant33Matrix(matrix), 12.0 + 180.0 - 270.0);
}

TEST(ktmdl, DeterminantOfDependentRowsIsZero)
{
    const double matrix[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(ktmdl::Determinant33Matrix(matrix), 0.0);
}

namespace {

void fillWithRubbish(double (&aMatrix)[4][4])
{
    for (auto& row : aMatrix) {
        std::fill(std::begin(row), std::end(row), -77.0);
    }
}

void expectRotationMatrix(const double (&aMatrix)[4][4], double aX, double aY, double aZ,
                          double aAngle)
{
    const double c = std::cos(aAngle);
    const double s = std::sin(aAngle);
    const double k = 1 - c;
    const double wanted[4][4] = {{aX * aX * k + c, aX * aY * k - s * aZ, aX * aZ * k + s * aY, 0},
                                 {aX * aY * k + s * aZ, aY * aY * k + c, aY * aZ * k - s * aX, 0},
                                 {aX * aZ * k - s * aY, aY * aZ * k + s * aX, aZ * aZ * k + c, 0},
                                 {0, 0, 0, 1}};
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            // Three roundings of numbers below 64, whatever the order of the factors.
            EXPECT_NEAR(aMatrix[row][column], wanted[row][column], 3e-14)
                << "row " << row << ", column " << column;
        }
    }
}

} // namespace

TEST(ktmdl, RotationMatrixFollowsTheFormula)
{
    double matrix[4][4];
    for (const double angle : {0.3, -1.1, 2.0, 3.1}) {
        fillWithRubbish(matrix);
        ktmdl::RotAxis2Matrix(2.0 / 7, 3.0 / 7, 6.0 / 7, angle, matrix);
        expectRotationMatrix(matrix, 2.0 / 7, 3.0 / 7, 6.0 / 7, angle);
    }
}

TEST(ktmdl, RotationMatrixTakesTheDirectionAsItIs)
{
    double matrix[4][4];
    fillWithRubbish(matrix);
    ktmdl::RotAxis2Matrix(2, -3, 5, 1.1, matrix);
    expectRotationMatrix(matrix, 2, -3, 5, 1.1);
}

TEST(ktmdl, RotationMatrixHasNoTranslationAndAPlainBottomRow)
{
    double matrix[4][4];
    fillWithRubbish(matrix);
    ktmdl::RotAxis2Matrix(2, -3, 5, 1.1, matrix);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(matrix[i][3], 0.0);
        EXPECT_EQ(matrix[3][i], 0.0);
    }
    EXPECT_EQ(matrix[3][3], 1.0);
}

TEST(ktmdl, RotationMatrixOfAngle0IsTheIdentity)
{
    double matrix[4][4];
    fillWithRubbish(matrix);
    ktmdl::RotAxis2Matrix(2.0 / 7, 3.0 / 7, 6.0 / 7, 0, matrix);
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            EXPECT_EQ(matrix[row][column], row == column ? 1.0 : 0.0);
        }
    }
}

TEST(ktmdl, RotationMatrixTurnsRightHanded)
{
    // Turned by a quarter about x, y becomes z, and so on around: column of the old axis.
    double matrix[4][4];
    for (int axis = 0; axis < 3; ++axis) {
        fillWithRubbish(matrix);
        ktmdl::RotAxis2Matrix(axis == 0 ? 1 : 0, axis == 1 ? 1 : 0, axis == 2 ? 1 : 0, kPi / 2,
                              matrix);
        const int from = (axis + 1) % 3;
        const int to = (axis + 2) % 3;
        EXPECT_EQ(matrix[to][from], 1.0) << "axis " << axis;
        EXPECT_EQ(matrix[from][to], -1.0) << "axis " << axis;
    }
}

TEST(ktmdl, OrdinaryUseRaisesNoFloatingPointFlag)
{
    const double one = kt_test::opaque(1.0);
    const double half = kt_test::opaque(0.5);
    const double row[9] = {one, half, 0, 0, one, half, half, 0, one};
    double matrix[4][4];
    const kt_test::FloatFlags flags;
    static_cast<void>(ktmdl::Angle2D(one, 0, half, one));
    static_cast<void>(ktmdl::Angle2D(one, 0, -one, 0));
    static_cast<void>(ktmdl::ChooseAngle(one, 0));
    static_cast<void>(ktmdl::ChooseAngle(half, std::sqrt(3.0) * half));
    static_cast<void>(ktmdl::ChooseAngle(one + half, 0));
    static_cast<void>(ktmdl::Determinant33Matrix(row));
    ktmdl::RotAxis2Matrix(0, 0, one, half, matrix);
    EXPECT_EQ(flags.raised(), 0);
}
