#include "ktmdl/ktmdl_Trsf3d.h"

#include "ktmdl/ktmdl_CrdSys3d.h"
#include "support/Bits.h"
#include "support/Failures.h"
#include "support/FloatFlags.h"
#include "support/RecordContract.h"
#include "support/Slots.h"
#include "support/Spatial.h"

#include <gtest/gtest.h>

#include <array>
#include <type_traits>

using kt_test::above;
using kt_test::below;
using kt_test::kPi;
using kt_test::kTol;
using kt_test::raises;

static_assert(!std::is_base_of_v<ktmdl_Data3d, ktmdl_Trsf3d>);
static_assert(std::has_virtual_destructor_v<ktmdl_Trsf3d>);

namespace {

constexpr char kNotRegular[] = "ktmdl_Trsf3d::Reverse MATRIX NOT REGULAR";
constexpr char kDeterminant[] = "ktmdl_Trsf3d(CrdSys) : Determinant = 0";

using Matrix = std::array<std::array<double, 4>, 4>;

const Matrix kIdentity = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};

Matrix numbersOf(const ktmdl_Trsf3d& aTrsf)
{
    double numbers[4][4];
    aTrsf.GetMatrix(numbers);
    Matrix matrix;
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            matrix[row][column] = numbers[row][column];
        }
    }
    return matrix;
}

ktmdl_Trsf3d trsfOf(const Matrix& aMatrix)
{
    double numbers[4][4];
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            numbers[row][column] = aMatrix[row][column];
        }
    }
    ktmdl_Trsf3d trsf;
    trsf.SetMatrix(numbers);
    return trsf;
}

//! The product of two matrices; exact for small whole numbers.
Matrix product(const Matrix& aLeft, const Matrix& aRight)
{
    Matrix result{};
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            for (std::size_t i = 0; i < 4; ++i) {
                result[row][column] += aLeft[row][i] * aRight[i][column];
            }
        }
    }
    return result;
}

//! The signed minor of an entry: the determinant without its row and column, by Sarrus.
double cofactor(const Matrix& aMatrix, std::size_t aRow, std::size_t aColumn)
{
    double m[3][3];
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            m[row][column] =
                aMatrix[row < aRow ? row : row + 1][column < aColumn ? column : column + 1];
        }
    }
    const double minor = m[0][0] * m[1][1] * m[2][2] + m[0][1] * m[1][2] * m[2][0] +
                         m[0][2] * m[1][0] * m[2][1] - m[0][2] * m[1][1] * m[2][0] -
                         m[0][0] * m[1][2] * m[2][1] - m[0][1] * m[1][0] * m[2][2];
    return (aRow + aColumn) % 2 == 0 ? minor : -minor;
}

Matrix adjugate(const Matrix& aMatrix)
{
    Matrix result{};
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            result[column][row] = cofactor(aMatrix, row, column);
        }
    }
    return result;
}

Matrix translation(double aX, double aY, double aZ)
{
    Matrix matrix = kIdentity;
    matrix[0][3] = aX;
    matrix[1][3] = aY;
    matrix[2][3] = aZ;
    return matrix;
}

Matrix diagonal(double aX, double aY, double aZ, double aW = 1)
{
    Matrix matrix{};
    matrix[0][0] = aX;
    matrix[1][1] = aY;
    matrix[2][2] = aZ;
    matrix[3][3] = aW;
    return matrix;
}

const Matrix kFirst = {{{2, 3, 5, 7}, {11, 13, 17, 19}, {23, 29, 31, 37}, {41, 43, 47, 53}}};
const Matrix kSecond = {{{1, -2, 4, 3}, {0, 5, -1, 2}, {7, 1, 6, -3}, {2, 8, -4, 9}}};

class Probe : public ktmdl_Trsf3d
{
public:
    virtual void Behind() {}
};

void expectEqual(const ktmdl_Trsf3d& aFirst, const ktmdl_Trsf3d& aSecond, int aWanted)
{
    EXPECT_EQ(aFirst.IsEqual(aSecond), aWanted);
    EXPECT_EQ(aSecond.IsEqual(aFirst), aWanted);
}

} // namespace

TEST(ktmdl_Trsf3d, DefaultIsTheIdentity)
{
    const ktmdl_Trsf3d trsf;
    EXPECT_EQ(numbersOf(trsf), kIdentity);
    EXPECT_EQ(trsf.IsIdentity(), 1);
    EXPECT_EQ(trsf.HasRotation(), 0);
    EXPECT_EQ(trsf.HasTranslation(), 0);
}

TEST(ktmdl_Trsf3d, FromThreeNumbersIsTheTranslation)
{
    EXPECT_EQ(numbersOf(ktmdl_Trsf3d(2, 3, 5)), translation(2, 3, 5));
}

TEST(ktmdl_Trsf3d, FromATripleIsTheTranslation)
{
    EXPECT_EQ(numbersOf(ktmdl_Trsf3d(ktmdl_Pnt3d(2, 3, 5))), translation(2, 3, 5));
    EXPECT_EQ(numbersOf(ktmdl_Trsf3d(ktmdl_Vec3d(2, 3, 5))), translation(2, 3, 5));
    const ktmdl_Axis3d axis({2, 3, 5}, {1, 0, 0});
    EXPECT_EQ(numbersOf(ktmdl_Trsf3d(static_cast<const ktmdl_Data3d&>(axis))),
              translation(2, 3, 5));
}

TEST(ktmdl_Trsf3d, CopiesAllSixteenNumbers)
{
    const ktmdl_Trsf3d source = trsfOf(kFirst);
    EXPECT_EQ(numbersOf(ktmdl_Trsf3d(source)), kFirst);
    ktmdl_Trsf3d assigned;
    assigned = source;
    EXPECT_EQ(numbersOf(assigned), kFirst);
    ktmdl_Trsf3d copied;
    copied.Copy(source);
    EXPECT_EQ(numbersOf(copied), kFirst);
    copied.Copy(copied);
    EXPECT_EQ(numbersOf(copied), kFirst);
}

TEST(ktmdl_Trsf3d, MatrixIsRowByRow)
{
    const double numbers[4][4] = {
        {2, 3, 5, 7}, {11, 13, 17, 19}, {23, 29, 31, 37}, {41, 43, 47, 53}};
    ktmdl_Trsf3d trsf;
    trsf.SetMatrix(numbers);
    double got[4][4] = {};
    trsf.GetMatrix(got);
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            EXPECT_EQ(got[row][column], numbers[row][column]);
            EXPECT_EQ(kt_test::valueAt<double>(trsf, 8 + 8 * (4 * row + column)),
                      numbers[row][column]);
        }
    }
}

TEST(ktmdl_Trsf3d, SetMatrixChecksNothing)
{
    Matrix strange{};
    strange[1][2] = kt_test::payloadNan();
    strange[3][0] = -kt_test::kInfinity;
    const Matrix got = numbersOf(trsfOf(strange));
    EXPECT_EQ(kt_test::bitsOf(got[1][2]), kt_test::bitsOf(kt_test::payloadNan()));
    EXPECT_EQ(got[3][0], -kt_test::kInfinity);
    EXPECT_EQ(got[3][3], 0.0);
}

TEST(ktmdl_Trsf3d, FromAProperSystemRaises)
{
    EXPECT_TRUE(raises<Hnd_ktstd_fail_ProgramError>(
        kDeterminant, [] { ktmdl_Trsf3d trsf(ktmdl_CrdSys3d::XOY()); }));
    const ktmdl_CrdSys3d slanted(ktmdl_Axis3d({1, 2, 3}, {2, 3, 6}), {3, -6, 2});
    EXPECT_TRUE(
        raises<Hnd_ktstd_fail_ProgramError>(kDeterminant, [&] { ktmdl_Trsf3d trsf(slanted); }));
}

TEST(ktmdl_Trsf3d, FromAMirroredSystemRaises)
{
    // With X and Z as they are, Y = Z x X always makes the determinant positive or zero; the
    // length of Z decides alone.
    ktmdl_CrdSys3d system;
    system.mDir.Set(0, 0, -1);
    EXPECT_TRUE(
        raises<Hnd_ktstd_fail_ProgramError>(kDeterminant, [&] { ktmdl_Trsf3d trsf(system); }));
}

TEST(ktmdl_Trsf3d, FromAFlatSystemHasColumnsX0Z)
{
    const ktmdl_CrdSys3d system(ktmdl_Axis3d({4, 5, 6}, {2, 3, 6}), {2, 3, 6});
    const Matrix wanted = {{{system.mDirX.mX, 0, system.mDir.mX, 4},
                            {system.mDirX.mY, 0, system.mDir.mY, 5},
                            {system.mDirX.mZ, 0, system.mDir.mZ, 6},
                            {0, 0, 0, 1}}};
    EXPECT_EQ(numbersOf(ktmdl_Trsf3d(system)), wanted);
}

TEST(ktmdl_Trsf3d, FromANearlyFlatSystemHasColumnsXYZ)
{
    // Y = Z x X = (-Xy, Xx, 0) for Z = (0, 0, 1); the determinant is the square of its length.
    ktmdl_CrdSys3d system(ktmdl_Axis3d({4, 5, 6}, {0, 0, 1}), {1, 0, 0});
    system.mDirX.Set(0.0002, 0.0003, 0.0006);
    const Matrix wanted = {
        {{0.0002, -0.0003, 0, 4}, {0.0003, 0.0002, 0, 5}, {0.0006, 0, 1, 6}, {0, 0, 0, 1}}};
    EXPECT_EQ(numbersOf(ktmdl_Trsf3d(system)), wanted);
}

TEST(ktmdl_Trsf3d, FromASystemWhoseDeterminantIsAMillionthRaises)
{
    // X = (1, 0, 0), Z = (0, 0, z): Y = (0, z, 0) and the determinant is z * z.
    const double z = 1e-3;
    ASSERT_EQ(z * z, kTol);
    ktmdl_CrdSys3d system;
    system.mDir.Set(0, 0, z);
    EXPECT_TRUE(
        raises<Hnd_ktstd_fail_ProgramError>(kDeterminant, [&] { ktmdl_Trsf3d trsf(system); }));
    const double less = below(z);
    ASSERT_LT(less * less, kTol);
    system.mDir.Set(0, 0, less);
    const Matrix wanted = diagonal(1, less, less);
    EXPECT_EQ(numbersOf(ktmdl_Trsf3d(system)), wanted);
}

TEST(ktmdl_Trsf3d, ProductAppliesTheLeftOneFirst)
{
    EXPECT_EQ(numbersOf(trsfOf(kFirst) * trsfOf(kSecond)), product(kSecond, kFirst));
    EXPECT_EQ(numbersOf(trsfOf(kSecond) * trsfOf(kFirst)), product(kFirst, kSecond));
    ASSERT_NE(product(kSecond, kFirst), product(kFirst, kSecond));
}

TEST(ktmdl_Trsf3d, ProductInPlaceAppliesItselfFirst)
{
    ktmdl_Trsf3d trsf = trsfOf(kFirst);
    trsf *= trsfOf(kSecond);
    EXPECT_EQ(numbersOf(trsf), product(kSecond, kFirst));
}

TEST(ktmdl_Trsf3d, ProductLeavesItsFactors)
{
    const ktmdl_Trsf3d first = trsfOf(kFirst);
    const ktmdl_Trsf3d second = trsfOf(kSecond);
    static_cast<void>(first * second);
    EXPECT_EQ(numbersOf(first), kFirst);
    EXPECT_EQ(numbersOf(second), kSecond);
}

TEST(ktmdl_Trsf3d, ProductWithItselfIsSafe)
{
    ktmdl_Trsf3d trsf = trsfOf(kFirst);
    trsf *= trsf;
    EXPECT_EQ(numbersOf(trsf), product(kFirst, kFirst));
    trsf = trsfOf(kSecond);
    trsf = trsf * trsf;
    EXPECT_EQ(numbersOf(trsf), product(kSecond, kSecond));
}

TEST(ktmdl_Trsf3d, ProductOfTranslationAndRotationDependsOnTheOrder)
{
    const ktmdl_Trsf3d move(1, 0, 0);
    ktmdl_Trsf3d turn;
    turn.SetRotation(ktmdl_Axis3d::AZ(), kPi / 2, 0);
    ktmdl_Pnt3d first;
    first.Transform(move * turn);
    kt_test::expectTripleNear(first, 0, 1, 0, 1e-15);
    ktmdl_Pnt3d second;
    second.Transform(turn * move);
    kt_test::expectTripleNear(second, 1, 0, 0, 1e-15);
}

TEST(ktmdl_Trsf3d, SetTranslationWithFlag0DropsTheRest)
{
    ktmdl_Trsf3d trsf = trsfOf(kFirst);
    trsf.SetTranslation(ktmdl_Vec3d(1, 2, 3), 0);
    EXPECT_EQ(numbersOf(trsf), translation(1, 2, 3));
}

TEST(ktmdl_Trsf3d, SetTranslationWithAnyOtherFlagKeepsTheRest)
{
    for (const int flag : {1, 2, 128, 255}) {
        ktmdl_Trsf3d trsf = trsfOf(kFirst);
        trsf.SetTranslation(ktmdl_Vec3d(1, 2, 3), static_cast<unsigned char>(flag));
        Matrix wanted = kFirst;
        wanted[0][3] = 1;
        wanted[1][3] = 2;
        wanted[2][3] = 3;
        EXPECT_EQ(numbersOf(trsf), wanted);
    }
}

TEST(ktmdl_Trsf3d, SetRotationTurnsAboutTheAxisLine)
{
    ktmdl_Trsf3d trsf;
    const ktmdl_Axis3d axis({1, 0, 0}, {0, 0, 1});
    trsf.SetRotation(axis, kPi, 0);
    ktmdl_Pnt3d point;
    point.Transform(trsf);
    kt_test::expectTripleNear(point, 2, 0, 0, 1e-15);
}

TEST(ktmdl_Trsf3d, SetRotationIsThereTurnedAndBack)
{
    const ktmdl_Axis3d axis({1, -2, 3}, {2, 3, 6});
    ktmdl_Trsf3d trsf = trsfOf(kFirst);
    trsf.SetRotation(axis, 0.7, 0);
    EXPECT_EQ(numbersOf(trsf), numbersOf(kt_test::turning(axis, 0.7)));
}

TEST(ktmdl_Trsf3d, SetRotationTakesTheDirectionAsStored)
{
    ktmdl_Axis3d axis({1, -2, 3}, {2, 3, 6});
    axis.mDir.Set(2, 3, 6);
    ktmdl_Trsf3d trsf;
    trsf.SetRotation(axis, 0.7, 0);
    EXPECT_EQ(numbersOf(trsf), numbersOf(kt_test::turning(axis, 0.7)));
}

TEST(ktmdl_Trsf3d, SetRotationWithAFlagPutsTheTranslationBack)
{
    const ktmdl_Axis3d axis({1, 0, 0}, {0, 0, 1});
    for (const int flag : {1, 2, 128, 255}) {
        ktmdl_Trsf3d trsf = trsfOf(kFirst);
        trsf.SetRotation(axis, kPi, static_cast<unsigned char>(flag));
        Matrix wanted = numbersOf(kt_test::turning(axis, kPi));
        wanted[0][3] = kFirst[0][3];
        wanted[1][3] = kFirst[1][3];
        wanted[2][3] = kFirst[2][3];
        EXPECT_EQ(numbersOf(trsf), wanted);
    }
    ktmdl_Trsf3d moved(5, 5, 5);
    moved.SetRotation(axis, kPi, 1);
    ktmdl_Pnt3d point;
    point.Transform(moved);
    kt_test::expectTriple(point, 5, 5, 5);
}

TEST(ktmdl_Trsf3d, SetScaleDropsEverythingElse)
{
    ktmdl_Trsf3d trsf = trsfOf(kFirst);
    trsf.SetScale(2, -3, 5);
    EXPECT_EQ(numbersOf(trsf), diagonal(2, -3, 5));
    ktmdl_Trsf3d moved(1, 2, 3);
    moved.SetScale(2, 2, 2);
    EXPECT_EQ(numbersOf(moved), diagonal(2, 2, 2));
}

TEST(ktmdl_Trsf3d, IdentityAllowsAMillionthInEveryEntry)
{
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            for (const double sign : {1.0, -1.0}) {
                SCOPED_TRACE(testing::Message() << row << ", " << column << ", " << sign);
                Matrix matrix = kIdentity;
                // Next to 1 no number is exactly a millionth away.
                const bool isOne = row == column;
                matrix[row][column] += sign * (isOne ? 0.999999e-6 : kTol);
                EXPECT_EQ(trsfOf(matrix).IsIdentity(), 1);
                matrix[row][column] = kIdentity[row][column];
                matrix[row][column] += sign * (isOne ? 1.000001e-6 : above(kTol));
                EXPECT_EQ(trsfOf(matrix).IsIdentity(), 0);
            }
        }
    }
}

TEST(ktmdl_Trsf3d, EqualityAllowsAMillionthInEveryEntry)
{
    const Matrix zero{};
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            for (const double sign : {1.0, -1.0}) {
                SCOPED_TRACE(testing::Message() << row << ", " << column << ", " << sign);
                Matrix matrix{};
                matrix[row][column] = sign * kTol;
                expectEqual(trsfOf(zero), trsfOf(matrix), 1);
                matrix[row][column] = sign * above(kTol);
                expectEqual(trsfOf(zero), trsfOf(matrix), 0);
            }
        }
    }
    expectEqual(trsfOf(kFirst), trsfOf(kFirst), 1);
    expectEqual(trsfOf(kFirst), trsfOf(kSecond), 0);
}

TEST(ktmdl_Trsf3d, RotationStartsAtAMillionth)
{
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            for (const double sign : {1.0, -1.0}) {
                SCOPED_TRACE(testing::Message() << row << ", " << column << ", " << sign);
                Matrix matrix = kIdentity;
                const bool isOne = row == column;
                matrix[row][column] += sign * (isOne ? 0.999999e-6 : below(kTol));
                EXPECT_EQ(trsfOf(matrix).HasRotation(), 0);
                matrix[row][column] = kIdentity[row][column];
                matrix[row][column] += sign * (isOne ? 1.000001e-6 : kTol);
                EXPECT_EQ(trsfOf(matrix).HasRotation(), 1);
            }
        }
    }
}

TEST(ktmdl_Trsf3d, RotationLooksAtTheUpperLeftBlockOnly)
{
    Matrix matrix = kIdentity;
    matrix[0][3] = matrix[1][3] = matrix[2][3] = 7;
    matrix[3] = {7, 7, 7, 7};
    EXPECT_EQ(trsfOf(matrix).HasRotation(), 0);
}

TEST(ktmdl_Trsf3d, ScaleAndMirrorCountAsRotation)
{
    EXPECT_EQ(kt_test::scaling(2, 2, 2).HasRotation(), 1);
    EXPECT_EQ(kt_test::scaling(-1, 1, 1).HasRotation(), 1);
    EXPECT_EQ(ktmdl_Trsf3d(1, 2, 3).HasRotation(), 0);
}

TEST(ktmdl_Trsf3d, TranslationStartsAtAMillionth)
{
    for (std::size_t row = 0; row < 3; ++row) {
        for (const double sign : {1.0, -1.0}) {
            SCOPED_TRACE(testing::Message() << row << ", " << sign);
            Matrix matrix = kIdentity;
            matrix[row][3] = sign * below(kTol);
            EXPECT_EQ(trsfOf(matrix).HasTranslation(), 0);
            matrix[row][3] = sign * kTol;
            EXPECT_EQ(trsfOf(matrix).HasTranslation(), 1);
            EXPECT_EQ(trsfOf(matrix).IsIdentity(), 1);
        }
    }
}

TEST(ktmdl_Trsf3d, TranslationLooksAtTheLastColumnOnly)
{
    Matrix matrix = kFirst;
    matrix[0][3] = matrix[1][3] = matrix[2][3] = 0;
    EXPECT_EQ(trsfOf(matrix).HasTranslation(), 0);
}

TEST(ktmdl_Trsf3d, ReverseOfAScaleIsTheInverseScale)
{
    ktmdl_Trsf3d trsf = kt_test::scaling(2, 2, 2);
    trsf.Reverse();
    EXPECT_EQ(numbersOf(trsf), diagonal(0.5, 0.5, 0.5));
}

TEST(ktmdl_Trsf3d, ReverseOfATranslationIsTheOppositeOne)
{
    ktmdl_Trsf3d trsf(1, -2, 3);
    trsf.Reverse();
    EXPECT_EQ(numbersOf(trsf), translation(-1, 2, -3));
}

TEST(ktmdl_Trsf3d, ReverseUsesAllSixteenEntries)
{
    // A product of triangular matrices of whole numbers with the determinant 1 * 2 * 1 * 1 has an
    // inverse of halves, so that every step is exact.
    const Matrix lower = {{{1, 0, 0, 0}, {2, 2, 0, 0}, {-1, 3, 1, 0}, {4, -2, 5, 1}}};
    const Matrix upper = {{{1, 3, -2, 1}, {0, 1, 4, -3}, {0, 0, 1, 2}, {0, 0, 0, 1}}};
    const Matrix matrix = product(lower, upper);
    ktmdl_Trsf3d trsf = trsfOf(matrix);
    trsf.Reverse();
    const Matrix inverse = numbersOf(trsf);
    EXPECT_EQ(product(matrix, inverse), kIdentity);
    EXPECT_EQ(product(inverse, matrix), kIdentity);
    EXPECT_EQ(numbersOf(trsfOf(matrix) * trsf), kIdentity);
}

TEST(ktmdl_Trsf3d, ReverseOfAMirrorKeepsItsSign)
{
    ktmdl_Trsf3d trsf = trsfOf(diagonal(-2, 1, 4, 0.5));
    trsf.Reverse();
    EXPECT_EQ(numbersOf(trsf), diagonal(-0.5, 1, 0.25, 2));
}

TEST(ktmdl_Trsf3d, ReverseOfASingularMatrixRaisesAndLeavesTheAdjugate)
{
    // The last row is the sum of the others: rank 3, so the adjugate is not zero.
    Matrix matrix = {{{1, 2, -3, 4}, {5, -1, 2, 3}, {-2, 6, 1, 1}, {0, 0, 0, 0}}};
    for (std::size_t column = 0; column < 4; ++column) {
        matrix[3][column] = matrix[0][column] + matrix[1][column] + matrix[2][column];
    }
    ASSERT_NE(adjugate(matrix), Matrix{});
    ktmdl_Trsf3d trsf = trsfOf(matrix);
    EXPECT_TRUE(raises<Hnd_ktstd_fail_ProgramError>(kNotRegular, [&] { trsf.Reverse(); }));
    EXPECT_EQ(numbersOf(trsf), adjugate(matrix));
}

TEST(ktmdl_Trsf3d, ReverseNeedsADeterminantOf1e10th)
{
    // The determinant of diag(d, 1, 1, 1) is d itself; its adjugate diag(1, d, d, d).
    for (const double sign : {1.0, -1.0}) {
        const double regular = sign * 1e-10;
        ktmdl_Trsf3d trsf = trsfOf(diagonal(regular, 1, 1));
        EXPECT_NO_THROW(trsf.Reverse());
        EXPECT_EQ(numbersOf(trsf), diagonal(1 / regular, 1, 1));
        const double singular = sign * below(1e-10);
        ktmdl_Trsf3d flat = trsfOf(diagonal(singular, 1, 1));
        EXPECT_TRUE(raises<Hnd_ktstd_fail_ProgramError>(kNotRegular, [&] { flat.Reverse(); }));
        EXPECT_EQ(numbersOf(flat), diagonal(1, singular, singular, singular));
    }
}

TEST(ktmdl_Trsf3d, ReverseOfASmallUniformScaleRaises)
{
    ktmdl_Trsf3d trsf = kt_test::scaling(1e-4, 1e-4, 1e-4);
    EXPECT_TRUE(raises<Hnd_ktstd_fail_ProgramError>(kNotRegular, [&] { trsf.Reverse(); }));
}

namespace {

struct TrsfSample
{
    using Class = ktmdl_Trsf3d;

    static double number(int aRow, int aColumn)
    {
        if (aRow == 1 && aColumn == 2) {
            return kt_test::payloadNan();
        }
        if (aRow == 3 && aColumn == 0) {
            return -0.0;
        }
        return 4 * aRow + aColumn + 0.1;
    }
    static Class sample()
    {
        double numbers[4][4];
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column) {
                numbers[row][column] = number(row, column);
            }
        }
        return kt_test::matrix(numbers);
    }
    static Class other() { return trsfOf(kSecond); }
    static kt_test::RecordBytes& fill(kt_test::RecordBytes& aBytes)
    {
        aBytes.version("ktmdl_Trsf3d");
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column) {
                aBytes.f64(number(row, column));
            }
        }
        return aBytes.end("ktmdl_Trsf3d");
    }
};

} // namespace

KT_RECORD_TESTS(ktmdl_Trsf3d, TrsfSample);

TEST(ktmdl_Trsf3d, RecordTakes128BytesAndAMarker)
{
    ktmdl_Trsf3d trsf;
    EXPECT_EQ(kt_test::recordOf(trsf).size(), 128U + 2U);
}

TEST(ktmdl_Trsf3d, OrdinaryUseRaisesNoFloatingPointFlag)
{
    const double one = kt_test::opaque(1.0);
    const kt_test::FloatFlags flags;
    ktmdl_Trsf3d trsf(one, 2, 3);
    ktmdl_Trsf3d turn;
    turn.SetRotation(ktmdl_Axis3d({one, 0, 0}, {0, one, one}), 0.5 * one, 1);
    trsf *= turn;
    trsf = trsf * kt_test::scaling(one, 2, 3);
    trsf.Reverse();
    static_cast<void>(trsf.IsIdentity());
    static_cast<void>(trsf.IsEqual(turn));
    static_cast<void>(trsf.HasRotation());
    static_cast<void>(trsf.HasTranslation());
    EXPECT_EQ(flags.raised(), 0);
}

TEST(ktmdl_Trsf3d, LayoutIsTheTableAndTheMatrix)
{
    EXPECT_EQ(sizeof(ktmdl_Trsf3d), sizeof(void*) + 16 * sizeof(double));
#if KT_TEST_HAS_SLOTS
    EXPECT_EQ(kt_test::slotOf(&ktmdl_Trsf3d::Serialize), 2);
    EXPECT_EQ(kt_test::slotOf(&Probe::Behind), 3);
#endif
}
