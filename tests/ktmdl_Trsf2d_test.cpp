#include "ktmdl/ktmdl_Trsf2d.h"

#include "ktmdl/ktmdl_Pnt2d.h"
#include "ktmdl/ktmdl_Vec2d.h"
#include "support/Bits.h"
#include "support/Planar.h"
#include "support/Slots.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <type_traits>

using kt_test::above;
using kt_test::kTol;

static_assert(!std::is_base_of_v<ktmdl_Data2d, ktmdl_Trsf2d>);
static_assert(std::has_virtual_destructor_v<ktmdl_Trsf2d>);
static_assert(std::is_same_v<decltype(ktmdl_Trsf2d::Identity()), const ktmdl_Trsf2d&>);
static_assert(
    std::is_same_v<decltype(std::declval<const ktmdl_Trsf2d&>().IsIdentity()), unsigned char>);

namespace {

//! Row by row.
using Matrix = std::array<double, 6>;

const Matrix kIdentity = {1, 0, 0, 0, 1, 0};
const Matrix kGeneral = {2, 5, 11, 3, 7, 13};

Matrix numbersOf(const ktmdl_Trsf2d& aTrsf)
{
    return {aTrsf.Value(1, 1), aTrsf.Value(1, 2), aTrsf.Value(1, 3),
            aTrsf.Value(2, 1), aTrsf.Value(2, 2), aTrsf.Value(2, 3)};
}

ktmdl_Trsf2d trsfOf(const Matrix& aMatrix)
{
    return {aMatrix[0], aMatrix[3], aMatrix[1], aMatrix[4], aMatrix[2], aMatrix[5]};
}

class Probe : public ktmdl_Trsf2d
{
public:
    virtual void Behind() {}
};

template <class T, class = void>
struct IsPersistent : std::false_type
{
};
template <class T>
struct IsPersistent<T, std::void_t<decltype(&T::Serialize)>> : std::true_type
{
};
static_assert(!IsPersistent<ktmdl_Trsf2d>::value);
static_assert(IsPersistent<ktmdl_Data2d>::value);

} // namespace

TEST(ktmdl_Trsf2d, DefaultIsTheIdentity)
{
    EXPECT_EQ(numbersOf(ktmdl_Trsf2d()), kIdentity);
}

TEST(ktmdl_Trsf2d, IdentityIsOneConstant)
{
    EXPECT_EQ(numbersOf(ktmdl_Trsf2d::Identity()), kIdentity);
    EXPECT_EQ(&ktmdl_Trsf2d::Identity(), &ktmdl_Trsf2d::Identity());
}

TEST(ktmdl_Trsf2d, SixNumbersAreGivenColumnByColumn)
{
    EXPECT_EQ(numbersOf(ktmdl_Trsf2d(2, 3, 5, 7, 11, 13)), kGeneral);
}

TEST(ktmdl_Trsf2d, FromAPairIsTheTranslation)
{
    EXPECT_EQ(numbersOf(ktmdl_Trsf2d(ktmdl_Pnt2d(5, 7))), (Matrix{1, 0, 5, 0, 1, 7}));
    EXPECT_EQ(numbersOf(ktmdl_Trsf2d(ktmdl_Vec2d(-5, 8))), (Matrix{1, 0, -5, 0, 1, 8}));
}

TEST(ktmdl_Trsf2d, EveryWayOfCopyingTakesAllSixNumbers)
{
    ktmdl_Trsf2d source = trsfOf(kGeneral);
    const ktmdl_Trsf2d made(source);
    ktmdl_Trsf2d assigned(ktmdl_Pnt2d(8, 9));
    assigned = source;
    ktmdl_Trsf2d copied(ktmdl_Pnt2d(8, 9));
    copied.Copy(source);
    source = ktmdl_Trsf2d::Identity();
    EXPECT_EQ(numbersOf(made), kGeneral);
    EXPECT_EQ(numbersOf(assigned), kGeneral);
    EXPECT_EQ(numbersOf(copied), kGeneral);
    copied.Copy(copied);
    EXPECT_EQ(numbersOf(copied), kGeneral);
}

TEST(ktmdl_Trsf2d, IdentityAllowsAMillionthInEveryNumber)
{
    EXPECT_EQ(ktmdl_Trsf2d().IsIdentity(), 1);
    EXPECT_EQ(ktmdl_Trsf2d::Identity().IsIdentity(), 1);
    for (std::size_t place = 0; place < 6; ++place) {
        for (const double sign : {1.0, -1.0}) {
            SCOPED_TRACE(testing::Message() << place << ", " << sign);
            Matrix matrix = kIdentity;
            // A difference from 0 can be exactly a millionth, one from 1 can't.
            const bool isOne = matrix[place] == 1;
            matrix[place] += sign * (isOne ? 0.999999e-6 : kTol);
            EXPECT_EQ(trsfOf(matrix).IsIdentity(), 1);
            matrix = kIdentity;
            matrix[place] += sign * (isOne ? 1.000001e-6 : above(kTol));
            EXPECT_EQ(trsfOf(matrix).IsIdentity(), 0);
        }
    }
}

TEST(ktmdl_Trsf2d, NotANumberIsNotTheIdentity)
{
    for (std::size_t place = 0; place < 6; ++place) {
        Matrix matrix = kIdentity;
        matrix[place] = kt_test::payloadNan();
        EXPECT_EQ(trsfOf(matrix).IsIdentity(), 0) << place;
    }
}

TEST(ktmdl_Trsf2d, OtherMatricesAreNotTheIdentity)
{
    EXPECT_EQ(trsfOf({0, 0, 0, 0, 0, 0}).IsIdentity(), 0);
    EXPECT_EQ(trsfOf({0, 1, 0, 1, 0, 0}).IsIdentity(), 0);
    EXPECT_EQ(trsfOf({1, 0, 5, 0, 1, 7}).IsIdentity(), 0);
    EXPECT_EQ(trsfOf({-1, 0, 0, 0, -1, 0}).IsIdentity(), 0);
}

TEST(ktmdl_Trsf2d, ValueCountsRowsAndColumnsFrom1)
{
    const ktmdl_Trsf2d trsf(1, 0, 0, 1, 5, 7);
    EXPECT_EQ(trsf.Value(1, 3), 5);
    EXPECT_EQ(trsf.Value(2, 3), 7);
}

TEST(ktmdl_Trsf2d, ValueOutsideTheMatrixIs0)
{
    const ktmdl_Trsf2d trsf = trsfOf({1, 2, 3, 4, 5, 6});
    const long least = std::numeric_limits<long>::min();
    const long most = std::numeric_limits<long>::max();
    for (const long row : {least, -1L, 0L, 3L, 4L, most}) {
        for (long column = 0; column <= 4; ++column) {
            EXPECT_EQ(trsf.Value(row, column), 0.0) << row << ", " << column;
        }
    }
    for (const long column : {least, -1L, 0L, 4L, 5L, most}) {
        for (long row = 0; row <= 3; ++row) {
            EXPECT_EQ(trsf.Value(row, column), 0.0) << row << ", " << column;
        }
    }
}

TEST(ktmdl_Trsf2d, LayoutIsTheTableAndTheMatrixRowByRow)
{
    const ktmdl_Trsf2d trsf = trsfOf(kGeneral);
    EXPECT_EQ(sizeof(ktmdl_Trsf2d), sizeof(void*) + 6 * sizeof(double));
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(kt_test::valueAt<double>(trsf, 8 + 8 * i), kGeneral[i]) << i;
    }
#if KT_TEST_HAS_SLOTS
    // The destructor is the only virtual operation.
    EXPECT_EQ(kt_test::slotOf(&Probe::Behind), 2);
    EXPECT_EQ(kt_test::slotOf(&ktmdl_Trsf2d::Copy), -1);
#endif
}
