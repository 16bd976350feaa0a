#include "ktmdl/ktmdl_ErosionPosSeq.h"

#include "support/FloatFlags.h"
#include "support/SequenceContract.h"
#include "support/SequenceRecordContract.h"

#include <gtest/gtest.h>

namespace {

struct PositionKit
{
    using Sequence = ktmdl_ErosionPosSeq;
    using Element = ktmdl_ErosionPos;
    using Node = ktmdl_SequenceNodeOfErosionPosSeq;
    using NodeHandle = Hnd_ktmdl_SequenceNodeOfErosionPosSeq;
    struct Guard
    {
    };

    static Element element(int aId)
    {
        return {1.0 * aId, 2.0 * aId, -3.0 * aId, ktstd_Dim(0.5 * aId, ktstd_Dim::kAngle)};
    }
    static int idOf(const Element& aPos)
    {
        EXPECT_EQ(aPos.Position().mY, 2 * aPos.Position().mX);
        EXPECT_EQ(aPos.Position().mZ, -3 * aPos.Position().mX);
        EXPECT_EQ(aPos.RotationAngle().Value(), 0.5 * aPos.Position().mX);
        EXPECT_EQ(aPos.RotationAngle().Measures(), ktstd_Dim::kAngle);
        return static_cast<int>(aPos.Position().mX);
    }
    static const char* nodeName() { return "ktmdl_SequenceNodeOfErosionPosSeq"; }
    static Hnd_ktstd_Type& nodeType() { return ktmdl_SequenceNodeOfErosionPosSeq_Type_(); }
    static kt_test::RecordBytes& record(kt_test::RecordBytes& aBytes, int aId)
    {
        return aBytes.version("ktmdl_ErosionPos")
            .data3d(1.0 * aId, 2.0 * aId, -3.0 * aId)
            .u8(ktstd_Dim::kAngle)
            .f64(0.5 * aId)
            .end("ktmdl_ErosionPos");
    }
};

} // namespace

KT_SEQUENCE_TESTS(ktmdl_ErosionPosSeq, PositionKit);
KT_SEQUENCE_RECORD_TESTS(ktmdl_ErosionPosSeq, PositionKit);

TEST(ktmdl_ErosionPosSeq, OrdinaryUseRaisesNoFloatingPointFlag)
{
    const double one = kt_test::opaque(1.0);
    const kt_test::FloatFlags flags;
    ktmdl_ErosionPosSeq sequence;
    sequence.Append({one, one, one, ktstd_Dim(one)});
    ktmdl_ErosionPosSeq copy;
    copy.Assign(sequence);
    EXPECT_EQ(copy.Last().RotationAngle().Value(), 1);
    EXPECT_EQ(flags.raised(), 0);
}
