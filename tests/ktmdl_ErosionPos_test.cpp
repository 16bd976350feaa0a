#include "ktmdl/ktmdl_ErosionPos.h"

#include "support/Bits.h"
#include "support/Failures.h"
#include "support/FloatFlags.h"
#include "support/RecordContract.h"
#include "support/Slots.h"
#include "support/Spatial.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

static_assert(std::has_virtual_destructor_v<ktmdl_ErosionPos>);
static_assert(std::is_void_v<decltype(std::declval<ktmdl_ErosionPos&>() =
                                          std::declval<const ktmdl_ErosionPos&>())>);

namespace {

const ktstd_Dim kQuarter(90, ktstd_Dim::kAngle);
const ktstd_Dim kLength(5, ktstd_Dim::kLength);

void expectPosition(const ktmdl_ErosionPos& aPos, double aX, double aY, double aZ,
                    const ktstd_Dim& aAngle)
{
    kt_test::expectTriple(aPos.Position(), aX, aY, aZ);
    EXPECT_EQ(aPos.RotationAngle().Value(), aAngle.Value());
    EXPECT_EQ(aPos.RotationAngle().Measures(), aAngle.Measures());
}

class Probe : public ktmdl_ErosionPos
{
public:
    using ktmdl_ErosionPos::operator=;

    virtual void Behind() {}
};

} // namespace

TEST(ktmdl_ErosionPos, DefaultIsTheOriginWithTheDefaultAngle)
{
    expectPosition(ktmdl_ErosionPos(), 0, 0, 0, ktstd_Dim());
}

TEST(ktmdl_ErosionPos, IsMadeFromAPointAndAnAngle)
{
    ktmdl_Pnt3d point(1, 2, 3);
    ktstd_Dim angle(kQuarter);
    const ktmdl_ErosionPos pos(point, angle);
    expectPosition(pos, 1, 2, 3, kQuarter);
    point.Set(7, 8, 9);
    angle.SetValue(1);
    expectPosition(pos, 1, 2, 3, kQuarter);
}

TEST(ktmdl_ErosionPos, IsMadeFromThreeNumbersAndAnAngle)
{
    ktstd_Dim angle(kQuarter);
    expectPosition(ktmdl_ErosionPos(1, 2, 3, angle), 1, 2, 3, kQuarter);
}

TEST(ktmdl_ErosionPos, TakesOnlyTheCoordinatesOfAnAxis)
{
    ktmdl_Axis3d axis({1, 2, 3}, {1, 0, 0});
    ktstd_Dim angle(kQuarter);
    ktmdl_ErosionPos pos(axis, angle);
    expectPosition(pos, 1, 2, 3, kQuarter);
    axis.Set(4, 5, 6);
    pos.SetPos(axis);
    expectPosition(pos, 4, 5, 6, kQuarter);
}

TEST(ktmdl_ErosionPos, EveryWayOfCopyingTakesPointAndAngle)
{
    const ktmdl_ErosionPos source(1, 2, 3, kQuarter);
    expectPosition(ktmdl_ErosionPos(source), 1, 2, 3, kQuarter);
    ktmdl_ErosionPos copied(7, 8, 9, kLength);
    copied.Copy(source);
    expectPosition(copied, 1, 2, 3, kQuarter);
    ktmdl_ErosionPos assigned(7, 8, 9, kLength);
    assigned = source;
    expectPosition(assigned, 1, 2, 3, kQuarter);
    ktmdl_ErosionPos set(7, 8, 9, kLength);
    set.Set(source);
    expectPosition(set, 1, 2, 3, kQuarter);
    set.Set(set);
    expectPosition(set, 1, 2, 3, kQuarter);
}

TEST(ktmdl_ErosionPos, CopiesAreIndependent)
{
    ktmdl_ErosionPos source(1, 2, 3, kQuarter);
    ktmdl_ErosionPos copied;
    copied.Copy(source);
    source.SetPos(7, 8, 9);
    expectPosition(copied, 1, 2, 3, kQuarter);
    copied.SetPos(4, 5, 6);
    expectPosition(source, 7, 8, 9, kQuarter);
    source.Set(ktmdl_ErosionPos(0, 0, 0, kLength));
    expectPosition(copied, 4, 5, 6, kQuarter);
}

TEST(ktmdl_ErosionPos, NoWayOfCopyingSharesAnything)
{
    ktmdl_ErosionPos source(1, 2, 3, kQuarter);
    const ktmdl_ErosionPos made(source);
    ktmdl_ErosionPos assigned;
    assigned = source;
    ktmdl_ErosionPos set;
    set.Set(source);
    source.Set(ktmdl_ErosionPos(7, 8, 9, kLength));
    expectPosition(made, 1, 2, 3, kQuarter);
    expectPosition(assigned, 1, 2, 3, kQuarter);
    expectPosition(set, 1, 2, 3, kQuarter);
    assigned.SetPos(4, 5, 6);
    set.SetPos(4, 5, 6);
    expectPosition(source, 7, 8, 9, kLength);
}

TEST(ktmdl_ErosionPos, CopiesThroughABaseReferenceToo)
{
    Probe probe;
    ktmdl_ErosionPos& pos = probe;
    pos.Copy(ktmdl_ErosionPos(1, 2, 3, kQuarter));
    expectPosition(probe, 1, 2, 3, kQuarter);
    pos = ktmdl_ErosionPos(4, 5, 6, kLength);
    expectPosition(probe, 4, 5, 6, kLength);
}

TEST(ktmdl_ErosionPos, SetPosLeavesTheAngle)
{
    ktmdl_ErosionPos pos(1, 2, 3, kQuarter);
    pos.SetPos(4, 5, 6);
    expectPosition(pos, 4, 5, 6, kQuarter);
    ktmdl_Pnt3d point(7, 8, 9);
    pos.SetPos(point);
    point.Set(-1, -1, -1);
    expectPosition(pos, 7, 8, 9, kQuarter);
}

namespace {

struct PosSample
{
    using Class = ktmdl_ErosionPos;

    static Class sample()
    {
        return {-0.0, 2, kt_test::payloadNan(), ktstd_Dim(0.75, ktstd_Dim::kAngle)};
    }
    static Class other() { return {7, 8, 9, kLength}; }
    static kt_test::RecordBytes& fill(kt_test::RecordBytes& aBytes)
    {
        // A quantity is its kind in one byte and its value.
        return aBytes.version("ktmdl_ErosionPos")
            .data3d(-0.0, 2, kt_test::payloadNan())
            .u8(ktstd_Dim::kAngle)
            .f64(0.75)
            .end("ktmdl_ErosionPos");
    }
};

} // namespace

KT_RECORD_TESTS(ktmdl_ErosionPos, PosSample);

TEST(ktmdl_ErosionPos, DefaultIsStoredAndLoaded)
{
    ktmdl_ErosionPos stored;
    ktstd_Archive archive(kt_test::archiveHolding(kt_test::recordOf(stored)));
    ktmdl_ErosionPos loaded(7, 8, 9, kLength);
    loaded.Serialize(archive);
    expectPosition(loaded, 0, 0, 0, ktstd_Dim());
}

TEST(ktmdl_ErosionPos, FailureInTheAngleLeavesThePointRead)
{
    ktstd_Archive archive(kt_test::archiveHolding(kt_test::RecordBytes().data3d(1, 2, 3).bytes()));
    ktmdl_ErosionPos pos(7, 8, 9, kLength);
    EXPECT_TRUE(kt_test::raisesClass<Hnd_ktstd_fail_FileIO>([&] { pos.Serialize(archive); }));
    expectPosition(pos, 1, 2, 3, kLength);
}

TEST(ktmdl_ErosionPos, FailureAtTheEndMarkerLeavesPointAndAngleRead)
{
    kt_test::RecordBytes record;
    kt_test::Bytes bytes = PosSample::fill(record).bytes();
    bytes.back() ^= 0xFFU;
    ktstd_Archive archive(kt_test::archiveHolding(bytes));
    ktmdl_ErosionPos pos(7, 8, 9, kLength);
    EXPECT_TRUE(kt_test::raisesFileIO(17, "ktmdl_ErosionPos: expected end of class",
                                      [&] { pos.Serialize(archive); }));
    EXPECT_EQ(kt_test::bitsOf(pos.Position().mX), kt_test::bitsOf(-0.0));
    EXPECT_EQ(pos.Position().mY, 2);
    EXPECT_EQ(kt_test::bitsOf(pos.Position().mZ), kt_test::bitsOf(kt_test::payloadNan()));
    EXPECT_EQ(pos.RotationAngle(), ktstd_Dim(0.75, ktstd_Dim::kAngle));
}

TEST(ktmdl_ErosionPos, FailureAtAVersionLeavesPointAndAngle)
{
    kt_test::RecordBytes record;
    const kt_test::Bytes bytes = PosSample::fill(record).bytes();
    for (const char* const name : {"ktmdl_ErosionPos", "ktmdl_Data3d"}) {
        ktstd_Archive archive(kt_test::archiveHolding(bytes, 16, {{name, -1}}));
        ktmdl_ErosionPos pos(7, 8, 9, kLength);
        EXPECT_TRUE(kt_test::raisesFileIO(16, std::string(name) + ": bad class version [-1]",
                                          [&] { pos.Serialize(archive); }));
        expectPosition(pos, 7, 8, 9, kLength);
    }
}

TEST(ktmdl_ErosionPos, OrdinaryUseRaisesNoFloatingPointFlag)
{
    const double one = kt_test::opaque(1.0);
    const kt_test::FloatFlags flags;
    ktmdl_ErosionPos pos(one, 2, 3, ktstd_Dim(one));
    pos.SetPos(one, one, one);
    ktmdl_ErosionPos copied;
    copied = pos;
    EXPECT_EQ(flags.raised(), 0);
}

TEST(ktmdl_ErosionPos, LayoutIsTheTableThePointAndTheAngle)
{
    const ktmdl_ErosionPos pos(1, 2, 3, kQuarter);
    EXPECT_EQ(sizeof(ktmdl_ErosionPos), sizeof(void*) + sizeof(ktmdl_Pnt3d) + sizeof(ktstd_Dim));
    EXPECT_EQ(kt_test::valueAt<double>(pos, 16), 1);
    EXPECT_EQ(kt_test::valueAt<double>(pos, 24), 2);
    EXPECT_EQ(kt_test::valueAt<double>(pos, 32), 3);
    EXPECT_EQ(kt_test::valueAt<ktstd_Dim>(pos, 40).Value(), 90);
#if KT_TEST_HAS_SLOTS
    using Assign = void (ktmdl_ErosionPos::*)(const ktmdl_ErosionPos&);
    EXPECT_EQ(kt_test::slotOf(&ktmdl_ErosionPos::Copy), 2);
    EXPECT_EQ(kt_test::slotOf(static_cast<Assign>(&ktmdl_ErosionPos::operator=)), 3);
    EXPECT_EQ(kt_test::slotOf(&ktmdl_ErosionPos::Serialize), 4);
    EXPECT_EQ(kt_test::slotOf(&Probe::Behind), 5);
#endif
}
