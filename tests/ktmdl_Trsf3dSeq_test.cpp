#include "ktmdl/ktmdl_Trsf3dSeq.h"

#include "support/FloatFlags.h"
#include "support/SequenceContract.h"
#include "support/SequenceRecordContract.h"

#include <gtest/gtest.h>

namespace {

struct TrsfKit
{
    using Sequence = ktmdl_Trsf3dSeq;
    using Element = ktmdl_Trsf3d;
    using Node = ktmdl_SequenceNodeOfTrsf3dSeq;
    using NodeHandle = Hnd_ktmdl_SequenceNodeOfTrsf3dSeq;
    struct Guard
    {
    };

    static double number(int aId, int aRow, int aColumn) { return 100 * aId + 4 * aRow + aColumn; }
    static Element element(int aId)
    {
        double numbers[4][4];
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column) {
                numbers[row][column] = number(aId, row, column);
            }
        }
        ktmdl_Trsf3d trsf;
        trsf.SetMatrix(numbers);
        return trsf;
    }
    static int idOf(const Element& aTrsf)
    {
        double numbers[4][4];
        aTrsf.GetMatrix(numbers);
        const int id = static_cast<int>(numbers[0][0] / 100);
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column) {
                EXPECT_EQ(numbers[row][column], number(id, row, column));
            }
        }
        return id;
    }
    static const char* nodeName() { return "ktmdl_SequenceNodeOfTrsf3dSeq"; }
    static Hnd_ktstd_Type& nodeType() { return ktmdl_SequenceNodeOfTrsf3dSeq_Type_(); }
    static kt_test::RecordBytes& record(kt_test::RecordBytes& aBytes, int aId)
    {
        aBytes.version("ktmdl_Trsf3d");
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column) {
                aBytes.f64(number(aId, row, column));
            }
        }
        return aBytes.end("ktmdl_Trsf3d");
    }
};

} // namespace

KT_SEQUENCE_TESTS(ktmdl_Trsf3dSeq, TrsfKit);
KT_SEQUENCE_RECORD_TESTS(ktmdl_Trsf3dSeq, TrsfKit);

TEST(ktmdl_Trsf3dSeq, OrdinaryUseRaisesNoFloatingPointFlag)
{
    const double one = kt_test::opaque(1.0);
    const kt_test::FloatFlags flags;
    ktmdl_Trsf3dSeq sequence;
    sequence.Append(ktmdl_Trsf3d(one, one, one));
    ktmdl_Trsf3dSeq copy;
    copy.Assign(sequence);
    EXPECT_EQ(copy.Last().HasTranslation(), 1);
    EXPECT_EQ(flags.raised(), 0);
}
