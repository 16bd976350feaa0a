#include "ktmdl/ktmdl_Pnt3dSeq.h"

#include "support/FloatFlags.h"
#include "support/SequenceContract.h"
#include "support/SequenceRecordContract.h"

#include <gtest/gtest.h>

namespace {

struct PointKit
{
    using Sequence = ktmdl_Pnt3dSeq;
    using Element = ktmdl_Pnt3d;
    using Node = ktmdl_SequenceNodeOfdtm3CrdSeq;
    using NodeHandle = Hnd_ktmdl_SequenceNodeOfdtm3CrdSeq;
    struct Guard
    {
    };

    static Element element(int aId) { return {1.0 * aId, 2.0 * aId, -3.0 * aId}; }
    static int idOf(const Element& aPoint)
    {
        EXPECT_EQ(aPoint.mY, 2 * aPoint.mX);
        EXPECT_EQ(aPoint.mZ, -3 * aPoint.mX);
        return static_cast<int>(aPoint.mX);
    }
    // The name does not follow the sequence's.
    static const char* nodeName() { return "ktmdl_SequenceNodeOfdtm3CrdSeq"; }
    static Hnd_ktstd_Type& nodeType() { return ktmdl_SequenceNodeOfdtm3CrdSeq_Type_(); }
    static kt_test::RecordBytes& record(kt_test::RecordBytes& aBytes, int aId)
    {
        return aBytes.data3d(1.0 * aId, 2.0 * aId, -3.0 * aId);
    }
};

} // namespace

KT_SEQUENCE_TESTS(ktmdl_Pnt3dSeq, PointKit);
KT_SEQUENCE_RECORD_TESTS(ktmdl_Pnt3dSeq, PointKit);

TEST(ktmdl_Pnt3dSeq, OrdinaryUseRaisesNoFloatingPointFlag)
{
    const double one = kt_test::opaque(1.0);
    const kt_test::FloatFlags flags;
    ktmdl_Pnt3dSeq sequence;
    sequence.Append({one, one, one});
    sequence.Prepend({one, 0, 0});
    ktmdl_Pnt3dSeq copy;
    copy.Assign(sequence);
    EXPECT_EQ(copy.Last().mZ, 1);
    EXPECT_EQ(flags.raised(), 0);
}
