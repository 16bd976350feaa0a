#include "ktmdl/ktmdl_CrdSys3d.h"

#include "support/Bits.h"
#include "support/Failures.h"
#include "support/FloatFlags.h"
#include "support/RecordContract.h"
#include "support/Slots.h"
#include "support/Spatial.h"

#include <gtest/gtest.h>

#include <type_traits>

using kt_test::above;
using kt_test::below;
using kt_test::expectTriple;
using kt_test::expectTripleNear;
using kt_test::kPi;
using kt_test::kTol;
using kt_test::raises;

static_assert(std::is_base_of_v<ktmdl_Axis3d, ktmdl_CrdSys3d>);
static_assert(std::is_same_v<decltype(ktmdl_CrdSys3d::mDirX), ktmdl_Vec3d>);
static_assert(std::is_same_v<decltype(ktmdl_CrdSys3d::XOY()), const ktmdl_CrdSys3d&>);

namespace {

constexpr char kDivision[] = "Division by zero in ktmdl_Vec3d";
constexpr char kDeterminant[] = "ktmdl_Trsf3d(CrdSys) : Determinant = 0";

class Probe : public ktmdl_CrdSys3d
{
public:
    using ktmdl_CrdSys3d::operator=;

    virtual void Behind() {}
};

void expectSystem(const ktmdl_CrdSys3d& aSystem, const ktmdl_Pnt3d& aOrigin, const ktmdl_Vec3d& aZ,
                  const ktmdl_Vec3d& aX)
{
    expectTriple(aSystem, aOrigin.mX, aOrigin.mY, aOrigin.mZ);
    expectTriple(aSystem.mDir, aZ.mX, aZ.mY, aZ.mZ);
    expectTriple(aSystem.mDirX, aX.mX, aX.mY, aX.mZ);
}

void expectEqual(const ktmdl_CrdSys3d& aFirst, const ktmdl_CrdSys3d& aSecond, double aTolerance,
                 int aWanted)
{
    EXPECT_EQ(aFirst.IsEqual(aSecond, aTolerance), aWanted);
    EXPECT_EQ(aSecond.IsEqual(aFirst, aTolerance), aWanted);
}

//! A system with the directions exactly as given, whatever their lengths.
ktmdl_CrdSys3d rawSystem(const ktmdl_Pnt3d& aOrigin, const ktmdl_Vec3d& aZ, const ktmdl_Vec3d& aX)
{
    ktmdl_CrdSys3d system;
    system.Set(aOrigin);
    system.mDir = aZ;
    system.mDirX = aX;
    return system;
}

} // namespace

TEST(ktmdl_CrdSys3d, DefaultIsTheGlobalSystem)
{
    expectSystem(ktmdl_CrdSys3d(), {0, 0, 0}, {0, 0, 1}, {1, 0, 0});
}

TEST(ktmdl_CrdSys3d, ConstantsAreNamedAfterTheirPlanes)
{
    expectSystem(ktmdl_CrdSys3d::XOY(), {0, 0, 0}, {0, 0, 1}, {1, 0, 0});
    expectSystem(ktmdl_CrdSys3d::YOZ(), {0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    expectSystem(ktmdl_CrdSys3d::ZOX(), {0, 0, 0}, {0, 1, 0}, {0, 0, 1});
    EXPECT_EQ(&ktmdl_CrdSys3d::XOY(), &ktmdl_CrdSys3d::XOY());
    EXPECT_EQ(&ktmdl_CrdSys3d::YOZ(), &ktmdl_CrdSys3d::YOZ());
    EXPECT_EQ(&ktmdl_CrdSys3d::ZOX(), &ktmdl_CrdSys3d::ZOX());
}

TEST(ktmdl_CrdSys3d, XDirectionIsNormalised)
{
    const ktmdl_Axis3d axis({1, 2, 3}, {0, 0, 1});
    expectSystem(ktmdl_CrdSys3d(axis, {0, -5, 0}), {1, 2, 3}, {0, 0, 1}, {0, -1, 0});
    expectSystem(ktmdl_CrdSys3d(axis, {1.0000005, 0, 0}), {1, 2, 3}, {0, 0, 1}, {1.0000005, 0, 0});
}

TEST(ktmdl_CrdSys3d, XDirectionNeedNotBeNormalToZ)
{
    const ktmdl_Axis3d axis({1, 2, 3}, {0, 0, 1});
    expectSystem(ktmdl_CrdSys3d(axis, {3, 4, 12}), {1, 2, 3}, {0, 0, 1},
                 {3.0 / 13, 4.0 / 13, 12.0 / 13});
}

TEST(ktmdl_CrdSys3d, AxisIsTakenAsItIs)
{
    ktmdl_Axis3d axis({1, 2, 3}, {0, 0, 1});
    axis.mDir.Set(0, 0, 7);
    expectSystem(ktmdl_CrdSys3d(axis, {1, 0, 0}), {1, 2, 3}, {0, 0, 7}, {1, 0, 0});
}

TEST(ktmdl_CrdSys3d, XDirectionShorterThanAMillionthRaises)
{
    for (const double length : {0.0, below(kTol)}) {
        EXPECT_TRUE(raises<Hnd_ktstd_fail_DivideByZero>(kDivision, [&] {
            ktmdl_CrdSys3d(ktmdl_Axis3d(), {0, length, 0});
        }));
    }
    expectSystem(ktmdl_CrdSys3d(ktmdl_Axis3d(), {kTol, 0, 0}), {0, 0, 0}, {0, 0, 1}, {1, 0, 0});
}

TEST(ktmdl_CrdSys3d, OwnCopyTakesEverything)
{
    const ktmdl_CrdSys3d source = rawSystem({1, 2, 3}, {4, 5, 6}, {7, 8, 9});
    ktmdl_CrdSys3d copied;
    copied.Copy(source);
    expectSystem(copied, {1, 2, 3}, {4, 5, 6}, {7, 8, 9});
    ktmdl_CrdSys3d assigned;
    assigned = source;
    expectSystem(assigned, {1, 2, 3}, {4, 5, 6}, {7, 8, 9});
    expectSystem(ktmdl_CrdSys3d(source), {1, 2, 3}, {4, 5, 6}, {7, 8, 9});
}

TEST(ktmdl_CrdSys3d, CopyThroughTheTripleTakesTheOriginOnly)
{
    const ktmdl_CrdSys3d source = rawSystem({1, 2, 3}, {4, 5, 6}, {7, 8, 9});
    ktmdl_CrdSys3d copied;
    static_cast<ktmdl_Data3d&>(copied).Copy(source);
    expectSystem(copied, {1, 2, 3}, {0, 0, 1}, {1, 0, 0});
    ktmdl_CrdSys3d assigned;
    static_cast<ktmdl_Data3d&>(assigned) = static_cast<const ktmdl_Data3d&>(source);
    expectSystem(assigned, {1, 2, 3}, {0, 0, 1}, {1, 0, 0});
}

TEST(ktmdl_CrdSys3d, CopyThroughTheAxisTakesOriginAndZ)
{
    const ktmdl_CrdSys3d source = rawSystem({1, 2, 3}, {4, 5, 6}, {7, 8, 9});
    ktmdl_CrdSys3d copied;
    static_cast<ktmdl_Axis3d&>(copied).Copy(static_cast<const ktmdl_Axis3d&>(source));
    expectSystem(copied, {1, 2, 3}, {4, 5, 6}, {1, 0, 0});
}

TEST(ktmdl_CrdSys3d, EqualityComparesAxisAndX)
{
    const ktmdl_CrdSys3d zero = rawSystem({0, 0, 0}, {0, 0, 0}, {0, 0, 0});
    for (int place = 0; place < 9; ++place) {
        for (const double sign : {1.0, -1.0}) {
            double numbers[9] = {};
            numbers[place] = sign * kTol;
            const auto system = [&] {
                return rawSystem(ktmdl_Pnt3d(numbers), ktmdl_Vec3d(numbers + 3),
                                 ktmdl_Vec3d(numbers + 6));
            };
            expectEqual(zero, system(), kTol, 1);
            numbers[place] = sign * above(kTol);
            expectEqual(zero, system(), kTol, 0);
        }
    }
    const ktmdl_CrdSys3d some = rawSystem({1, 2, 3}, {4, 5, 6}, {7, 8, 9});
    expectEqual(some, some, 0, 1);
    expectEqual(some, rawSystem({1, 2, 3}, {7, 8, 9}, {4, 5, 6}), 1, 0);
}

TEST(ktmdl_CrdSys3d, RotateTurnsAllThreeAsPoints)
{
    const ktmdl_Axis3d about({1, -2, 3}, {2, 3, 6});
    ktmdl_CrdSys3d system(ktmdl_Axis3d({4, 5, -6}, {1, 2, -2}), {2, -1, 2});
    const ktmdl_Pnt3d origin = kt_test::turned(system, about, 0.7);
    const ktmdl_Pnt3d z = kt_test::turned(system.mDir, about, 0.7);
    const ktmdl_Pnt3d x = kt_test::turned(system.mDirX, about, 0.7);
    static_cast<ktmdl_Data3d&>(system).Rotate(about, 0.7);
    expectTriple(system, origin.mX, origin.mY, origin.mZ);
    expectTriple(system.mDir, z.mX, z.mY, z.mZ);
    expectTriple(system.mDirX, x.mX, x.mY, x.mZ);
}

TEST(ktmdl_CrdSys3d, RotateByAQuarterTurn)
{
    // About y through (1, 0, 0), as points: origin to (1, 0, 1), Z (0, 0, 1) to (2, 0, 1), X
    // (1, 0, 0) lies on the axis.
    ktmdl_CrdSys3d system;
    system.Rotate(ktmdl_Axis3d({1, 0, 0}, {0, 1, 0}), kPi / 2);
    expectTripleNear(system, 1, 0, 1, 1e-15);
    expectTripleNear(system.mDir, 2, 0, 1, 1e-15);
    expectTripleNear(system.mDirX, 1, 0, 0, 1e-15);
}

TEST(ktmdl_CrdSys3d, TranslateMovesTheOriginOnly)
{
    ktmdl_CrdSys3d system;
    static_cast<ktmdl_Data3d&>(system).Translate({10, 20, 30});
    expectSystem(system, {10, 20, 30}, {0, 0, 1}, {1, 0, 0});
}

TEST(ktmdl_CrdSys3d, TransformNormalisesZButNotX)
{
    ktmdl_CrdSys3d system(ktmdl_CrdSys3d::XOY());
    static_cast<ktmdl_Data3d&>(system).Transform(kt_test::scaling(2, 2, 2));
    expectSystem(system, {0, 0, 0}, {0, 0, 1}, {2, 0, 0});
}

TEST(ktmdl_CrdSys3d, TransformUsesTheLinearPartForTheDirections)
{
    ktmdl_CrdSys3d system(ktmdl_Axis3d({1, 2, 3}, {0, 0, 1}), {1, 0, 0});
    system.Transform(kt_test::matrix({{5, 0, 3, 7}, {6, 1, 4, 8}, {-7, 0, 12, 9}, {0, 0, 0, 1}}));
    expectSystem(system, {5 + 9 + 7, 6 + 2 + 12 + 8, -7 + 36 + 9}, {3.0 / 13, 4.0 / 13, 12.0 / 13},
                 {5, 6, -7});
}

TEST(ktmdl_CrdSys3d, TransformToAVanishingZRaisesBeforeXIsMapped)
{
    ktmdl_CrdSys3d system(ktmdl_Axis3d({1, 2, 3}, {0, 0, 1}), {1, 0, 0});
    EXPECT_TRUE(raises<Hnd_ktstd_fail_DivideByZero>(
        kDivision, [&] { system.Transform(kt_test::scaling(2, 2, 0)); }));
    expectSystem(system, {2, 4, 0}, {0, 0, 0}, {1, 0, 0});
}

TEST(ktmdl_CrdSys3d, TransformToAVanishingXIsAllowed)
{
    ktmdl_CrdSys3d system;
    EXPECT_NO_THROW(system.Transform(kt_test::scaling(0, 1, 1)));
    expectSystem(system, {0, 0, 0}, {0, 0, 1}, {0, 0, 0});
}

TEST(ktmdl_CrdSys3d, TrsfOfAProperSystemRaises)
{
    for (const ktmdl_CrdSys3d* system :
         {&ktmdl_CrdSys3d::XOY(), &ktmdl_CrdSys3d::YOZ(), &ktmdl_CrdSys3d::ZOX()}) {
        EXPECT_TRUE(raises<Hnd_ktstd_fail_ProgramError>(
            kDeterminant, [&] { static_cast<void>(system->Trsf()); }));
        EXPECT_TRUE(raises<Hnd_ktstd_fail_ProgramError>(kDeterminant, [&] {
            static_cast<void>(static_cast<const ktmdl_Data3d*>(system)->Trsf());
        }));
    }
}

TEST(ktmdl_CrdSys3d, TrsfOfAFlatSystemHasItsDirectionsAsColumns)
{
    const ktmdl_CrdSys3d system(ktmdl_Axis3d({4, 5, 6}, {0, 0, 1}), {0, 0, 1});
    double matrix[4][4];
    static_cast<const ktmdl_Data3d&>(system).Trsf().GetMatrix(matrix);
    const double wanted[4][4] = {{0, 0, 0, 4}, {0, 0, 0, 5}, {1, 0, 1, 6}, {0, 0, 0, 1}};
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            EXPECT_EQ(matrix[row][column], wanted[row][column]) << row << ", " << column;
        }
    }
}

namespace {

struct SystemSample
{
    using Class = ktmdl_CrdSys3d;

    static Class sample()
    {
        return rawSystem({-0.0, 2, kt_test::payloadNan()}, {4, -5, 6e300}, {0.1, -0.0, 3});
    }
    static Class other() { return rawSystem({7, 8, 9}, {1, 0, 0}, {0, 1, 0}); }
    static kt_test::RecordBytes& fill(kt_test::RecordBytes& aBytes)
    {
        return aBytes.data3d(-0.0, 2, kt_test::payloadNan())
            .version("ktmdl_Axis3d")
            .data3d(4, -5, 6e300)
            .end("ktmdl_Axis3d")
            .version("ktmdl_CrdSys3d")
            .data3d(0.1, -0.0, 3)
            .end("ktmdl_CrdSys3d");
    }
};

} // namespace

KT_RECORD_TESTS(ktmdl_CrdSys3d, SystemSample);

TEST(ktmdl_CrdSys3d, RecordIsThreeBlocksAndFiveMarkers)
{
    // Location, marker, Z, marker, marker of the axis, X, marker, marker of the system.
    ktmdl_CrdSys3d system(ktmdl_Axis3d({4, 5, 6}, {0, 0, 1}), {1, 0, 0});
    const kt_test::Bytes bytes = kt_test::recordOf(system);
    ASSERT_EQ(bytes.size(), 24U + 2U + 24U + 2U + 2U + 24U + 2U + 2U);
    const unsigned marker = static_cast<unsigned short>(EOC);
    for (const std::size_t at : {24U, 50U, 52U, 78U, 80U}) {
        EXPECT_EQ(bytes[at], marker & 0xFFU) << "at " << at;
        EXPECT_EQ(bytes[at + 1], marker >> 8U) << "at " << at;
    }
}

TEST(ktmdl_CrdSys3d, FailureAtTheOwnVersionLeavesTheAxisReadAndX)
{
    const kt_test::Bytes bytes = kt_test::RecordBytes()
                                     .data3d(1, 2, 3)
                                     .data3d(4, 5, 6)
                                     .end("ktmdl_Axis3d")
                                     .data3d(7, 8, 9)
                                     .end("ktmdl_CrdSys3d")
                                     .bytes();
    ktstd_Archive archive(kt_test::archiveHolding(bytes, 16, {{"ktmdl_CrdSys3d", -1}}));
    ktmdl_CrdSys3d system;
    EXPECT_TRUE(kt_test::raisesCode(16, [&] { system.Serialize(archive); }));
    expectSystem(system, {1, 2, 3}, {4, 5, 6}, {1, 0, 0});
}

TEST(ktmdl_CrdSys3d, OrdinaryUseRaisesNoFloatingPointFlag)
{
    const double one = kt_test::opaque(1.0);
    const kt_test::FloatFlags flags;
    ktmdl_CrdSys3d system(ktmdl_Axis3d({one, 2, 3}, {one, one, 0}), {0, 0, one});
    system.Rotate(ktmdl_Axis3d({0, one, 0}, {0, 0, one}), 0.5 * one);
    system.Transform(kt_test::scaling(one, 2, 3));
    system.Translate({one, 0, 0});
    static_cast<void>(system.IsEqual(ktmdl_CrdSys3d(), one));
    static_cast<void>(ktmdl_CrdSys3d(ktmdl_Axis3d(), {0, 0, one}).Trsf());
    EXPECT_EQ(flags.raised(), 0);
}

TEST(ktmdl_CrdSys3d, LayoutIsOriginZX)
{
    const ktmdl_CrdSys3d system = rawSystem({1, 2, 3}, {4, 5, 6}, {7, 8, 9});
    EXPECT_EQ(sizeof(ktmdl_CrdSys3d), 3 * sizeof(ktmdl_Vec3d));
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(kt_test::valueAt<double>(system, 8 + 8 * i), 1.0 + static_cast<double>(i));
        EXPECT_EQ(kt_test::valueAt<double>(system, 40 + 8 * i), 4.0 + static_cast<double>(i));
        EXPECT_EQ(kt_test::valueAt<double>(system, 72 + 8 * i), 7.0 + static_cast<double>(i));
    }
#if KT_TEST_HAS_SLOTS
    EXPECT_EQ(kt_test::slotOf(&Probe::Behind), 9);
#endif
}
