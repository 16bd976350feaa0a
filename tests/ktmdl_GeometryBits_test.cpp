// Transformations bit by bit: each is held against its steps, written down one after the other, on
// numbers of every kind.

#include "ktmdl/ktmdl.h"
#include "ktmdl/ktmdl_BBox3d.h"
#include "support/Bits.h"
#include "support/Failures.h"
#include "support/Spatial.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <utility>

using kt_test::bitsOf;
using kt_test::kTol;

namespace {

using Matrix = double[4][4];
using Triple = std::array<double, 3>;
using Box = std::array<Triple, 2>;

//! Gives numbers of one kind.
class Numbers
{
public:
    enum Kind
    {
        ordinary, //!< of the size of coordinates
        whole,    //!< few whole numbers and both zeros, so that sums meet and vanish
        close,    //!< about a millionth from one another
        distant,  //!< the same beside numbers next to which a millionth is rounded away
        wide,     //!< of any size, with what is no ordinary number among them
        last = wide
    };

    explicit Numbers(Kind aKind) : mKind(aKind), mRandom(static_cast<unsigned>(aKind) + 1) {}

    double operator()() { return ofKind(mKind == wide && oneIn(4) ? Kind(pick(wide)) : mKind); }
    bool oneIn(int aMany) { return pick(aMany) == 0; }

private:
    int pick(int aMany) { return std::uniform_int_distribution<int>(0, aMany - 1)(mRandom); }
    double ofKind(Kind aKind)
    {
        constexpr double kZeros[] = {0.0, -0.0};
        constexpr double kStrange[] = {kt_test::kInfinity,
                                       -kt_test::kInfinity,
                                       std::numeric_limits<double>::quiet_NaN(),
                                       std::numeric_limits<double>::denorm_min(),
                                       -std::numeric_limits<double>::denorm_min(),
                                       std::numeric_limits<double>::min(),
                                       std::numeric_limits<double>::max(),
                                       -std::numeric_limits<double>::max()};
        switch (aKind) {
        case ordinary:
            return std::uniform_real_distribution<double>(-100.0, 100.0)(mRandom);
        case whole:
            return oneIn(2) ? kZeros[pick(2)] : pick(5) - 2.0;
        case close:
            return oneIn(4) ? kZeros[pick(2)] : (pick(9) - 4) * (kTol / 2) + pick(2);
        case distant:
            return oneIn(4) ? std::ldexp(pick(2) + 1.0, 26 + pick(10)) : ofKind(close);
        case wide:
            break;
        }
        return oneIn(8) ? kStrange[pick(8)] : std::ldexp(ofKind(ordinary), 40 * pick(51) - 1000);
    }

    Kind mKind;
    std::mt19937 mRandom;
};

//! What a not-a-number carries is not fixed: it depends on which factor the machine takes first.
testing::AssertionResult isSame(double aGot, double aWanted)
{
    if (bitsOf(aGot) == bitsOf(aWanted) || (std::isnan(aGot) && std::isnan(aWanted))) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << aGot << " is not " << aWanted << std::hexfloat << ", "
                                       << aGot << " is not " << aWanted;
}

testing::AssertionResult isSame(const ktmdl_Data3d& aGot, const Triple& aWanted)
{
    const Triple got = {aGot.mX, aGot.mY, aGot.mZ};
    for (std::size_t i = 0; i < 3; ++i) {
        if (auto same = isSame(got[i], aWanted[i]); !same) {
            return same << ", coordinate " << i;
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult isSame(const ktmdl_Trsf3d& aGot, const Matrix& aWanted)
{
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            if (auto same = isSame(aGot.mMatrix[r][c], aWanted[r][c]); !same) {
                return same << ", row " << r << ", column " << c;
            }
        }
    }
    return testing::AssertionSuccess();
}

ktmdl_Trsf3d anyTrsf(Numbers& aNumbers)
{
    ktmdl_Trsf3d trsf;
    for (auto& row : trsf.mMatrix) {
        for (double& entry : row) {
            // Some entries stay the identity's.
            entry = aNumbers.oneIn(4) ? entry : aNumbers();
        }
    }
    return trsf;
}

Triple anyTriple(Numbers& aNumbers)
{
    const double x = aNumbers();
    const double y = aNumbers();
    return {x, y, aNumbers()};
}

void multiply(const Matrix& aLeft, const Matrix& aRight, Matrix& aProduct)
{
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            double sum = aLeft[r][0] * aRight[0][c];
            sum = sum + aLeft[r][1] * aRight[1][c];
            sum = sum + aLeft[r][2] * aRight[2][c];
            aProduct[r][c] = sum + aLeft[r][3] * aRight[3][c];
        }
    }
}

//! The linear part of the sums, without the translation.
Triple turned(const Triple& aTriple, const Matrix& m)
{
    Triple result{};
    for (std::size_t r = 0; r < 3; ++r) {
        double sum = m[r][0] * aTriple[0];
        sum = sum + m[r][1] * aTriple[1];
        result[r] = sum + m[r][2] * aTriple[2];
    }
    return result;
}

Triple moved(const Triple& aTriple, const Matrix& m)
{
    Triple result = turned(aTriple, m);
    for (std::size_t r = 0; r < 3; ++r) {
        result[r] = result[r] + m[r][3];
    }
    return result;
}

bool hasRotation(const Matrix& m)
{
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            if (std::fabs(m[r][c] - (r == c ? 1.0 : 0.0)) >= kTol) {
                return true;
            }
        }
    }
    return false;
}

//! What happened in a transformation of a box, so that the tests can tell what they have seen.
struct Seen
{
    int moves = 0;
    int turns = 0;
    int withinTolerance = 0; //!< corners that reach out of the box but too little to count
};

Box moved(const Box& aBox, const Matrix& m, Seen& aSeen)
{
    Box result = {moved(aBox[0], m), moved(aBox[1], m)};
    if (!hasRotation(m)) {
        ++aSeen.moves;
        for (std::size_t i = 0; i < 3; ++i) {
            if (result[0][i] > result[1][i]) {
                std::swap(result[0][i], result[1][i]);
            }
        }
        return result;
    }
    ++aSeen.turns;
    constexpr std::size_t kCorners[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                                            {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
    result[1] = result[0];
    for (int corner = 1; corner < 8; ++corner) {
        const auto& end = kCorners[corner];
        const Triple at = moved(Triple{aBox[end[0]][0], aBox[end[1]][1], aBox[end[2]][2]}, m);
        for (std::size_t i = 0; i < 3; ++i) {
            if (result[0][i] > at[i] + kTol) {
                result[0][i] = at[i];
            } else if (result[0][i] > at[i]) {
                ++aSeen.withinTolerance;
            }
            if (at[i] - kTol > result[1][i]) {
                result[1][i] = at[i];
            } else if (at[i] > result[1][i]) {
                ++aSeen.withinTolerance;
            }
        }
    }
    return result;
}

//! Fills in the inverse.
//! @return  false when there is none; the adjugate is filled in then
bool invert(const Matrix& m, Matrix& aInverse)
{
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            // The signed determinant of what is left without row c and column r.
            double minor[9];
            int n = 0;
            for (int mr = 0; mr < 4; ++mr) {
                for (int mc = 0; mc < 4; ++mc) {
                    if (mr != c && mc != r) {
                        minor[n++] = m[mr][mc];
                    }
                }
            }
            const double first = minor[0] * (minor[4] * minor[8] - minor[5] * minor[7]);
            const double second = minor[1] * (minor[3] * minor[8] - minor[5] * minor[6]);
            const double third = minor[2] * (minor[3] * minor[7] - minor[4] * minor[6]);
            const double determinant = (first - second) + third;
            aInverse[r][c] = (r + c) % 2 == 0 ? determinant : -determinant;
        }
    }
    double determinant = m[0][0] * aInverse[0][0];
    determinant = determinant + m[1][0] * aInverse[0][1];
    determinant = determinant + m[2][0] * aInverse[0][2];
    determinant = determinant + m[3][0] * aInverse[0][3];
    if (std::fabs(determinant) < 1e-10) {
        return false;
    }
    for (auto& row : aInverse) {
        for (double& entry : row) {
            entry = entry / determinant;
        }
    }
    return true;
}

class ktmdl_GeometryBits : public testing::TestWithParam<Numbers::Kind>
{
protected:
    static constexpr int kTimes = 20000;

    //! Transforms triples of a kind beside their plain steps.
    template <class Value, class Steps>
    void CheckTransform(Steps aSteps)
    {
        for (int i = 0; i < kTimes; ++i) {
            const ktmdl_Trsf3d trsf = anyTrsf(mNumbers);
            const Triple from = anyTriple(mNumbers);
            Value value(from.data());
            value.Transform(trsf);
            ASSERT_TRUE(isSame(value, aSteps(from, trsf.mMatrix))) << i;
        }
    }

    Numbers mNumbers{GetParam()};
};

} // namespace

TEST_P(ktmdl_GeometryBits, TransformOfAPoint)
{
    CheckTransform<ktmdl_Pnt3d>([](const Triple& from, const Matrix& m) { return moved(from, m); });
}

TEST_P(ktmdl_GeometryBits, TransformOfAVector)
{
    CheckTransform<ktmdl_Vec3d>(turned);
}

TEST_P(ktmdl_GeometryBits, TransformOfABox)
{
    Seen seen;
    for (int i = 0; i < kTimes; ++i) {
        ktmdl_Trsf3d trsf = anyTrsf(mNumbers);
        if (mNumbers.oneIn(4)) {
            trsf = ktmdl_Trsf3d(trsf.mMatrix[0][3], trsf.mMatrix[1][3], trsf.mMatrix[2][3]);
        }
        const Triple low = anyTriple(mNumbers);
        const Triple high = anyTriple(mNumbers);
        ktmdl_BBox3d box(ktmdl_Pnt3d(low.data()), ktmdl_Pnt3d(high.data()));
        box.Transform(trsf);
        const Box wanted = moved(Box{low, high}, trsf.mMatrix, seen);
        ASSERT_TRUE(isSame(box.mMin, wanted[0])) << "lower corner of " << i;
        ASSERT_TRUE(isSame(box.mMax, wanted[1])) << "upper corner of " << i;
    }
    EXPECT_GT(seen.moves, kTimes / 8);
    EXPECT_GT(seen.turns, kTimes / 8);
    if (GetParam() == Numbers::close) {
        EXPECT_GT(seen.withinTolerance, kTimes / 8);
    }
}

TEST_P(ktmdl_GeometryBits, Product)
{
    for (int i = 0; i < kTimes; ++i) {
        const ktmdl_Trsf3d first = anyTrsf(mNumbers);
        const ktmdl_Trsf3d second = anyTrsf(mNumbers);
        Matrix wanted;
        multiply(second.mMatrix, first.mMatrix, wanted);
        ASSERT_TRUE(isSame(first * second, wanted)) << i;
        ktmdl_Trsf3d inPlace = first;
        inPlace *= second;
        ASSERT_TRUE(isSame(inPlace, wanted)) << "in place, " << i;
        multiply(first.mMatrix, first.mMatrix, wanted);
        inPlace = first;
        inPlace *= inPlace;
        ASSERT_TRUE(isSame(inPlace, wanted)) << "with itself, " << i;
    }
}

TEST_P(ktmdl_GeometryBits, Inverse)
{
    int regular = 0;
    int singular = 0;
    for (int i = 0; i < kTimes; ++i) {
        const ktmdl_Trsf3d from = anyTrsf(mNumbers);
        ktmdl_Trsf3d got = from;
        Matrix wanted;
        if (invert(from.mMatrix, wanted)) {
            ++regular;
            ASSERT_NO_THROW(got.Reverse()) << i;
        } else {
            ++singular;
            ASSERT_TRUE(kt_test::raises<Hnd_ktstd_fail_ProgramError>(
                "ktmdl_Trsf3d::Reverse MATRIX NOT REGULAR", [&] { got.Reverse(); }))
                << i;
        }
        ASSERT_TRUE(isSame(got, wanted)) << i;
    }
    EXPECT_GT(regular, kTimes / 100);
    if (GetParam() == Numbers::whole) {
        EXPECT_GT(singular, kTimes / 100);
    }
}

INSTANTIATE_TEST_SUITE_P(OfEveryKind, ktmdl_GeometryBits,
                         testing::Values(Numbers::ordinary, Numbers::whole, Numbers::close,
                                         Numbers::distant, Numbers::wide));
