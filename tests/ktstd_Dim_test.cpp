#include "ktstd/ktstd_Dim.h"

#include "ktstd/ktstd_Archive.h"
#include "support/Bits.h"
#include "support/Records.h"

#include <gtest/gtest.h>

#include <sstream>

TEST(ktstd_Dim, DefaultIsTheNumberZero)
{
    const ktstd_Dim dim;
    EXPECT_EQ(dim.Value(), 0.0);
    EXPECT_EQ(dim.Measures(), ktstd_Dim::kNumber);
}

TEST(ktstd_Dim, CopyTakesValueAndKindAndIsIndependent)
{
    ktstd_Dim source(0.5, ktstd_Dim::kAngle);
    ktstd_Dim copy(3, ktstd_Dim::kLength);
    copy.Copy(source);
    source.SetValue(9);
    EXPECT_EQ(copy.Value(), 0.5);
    EXPECT_EQ(copy.Measures(), ktstd_Dim::kAngle);
    copy.Copy(copy);
    EXPECT_EQ(copy.Value(), 0.5);
}

TEST(ktstd_Dim, IsStoredAndLoaded)
{
    for (const double value : {0.0, -0.0, 0.1, -kt_test::kInfinity, kt_test::payloadNan()}) {
        for (const auto kind : {ktstd_Dim::kNumber, ktstd_Dim::kLength, ktstd_Dim::kAngle}) {
            const kt_test::Bytes wanted = kt_test::RecordBytes().u8(kind).f64(value).bytes();
            EXPECT_EQ(kt_test::dataOf([&](ktstd_Archive& aArchive) {
                          EXPECT_EQ(&(aArchive << ktstd_Dim(value, kind)), &aArchive);
                      }),
                      wanted);
            ktstd_Archive archive(kt_test::archiveHolding(wanted));
            ktstd_Dim loaded(7);
            EXPECT_EQ(&(archive >> loaded), &archive);
            EXPECT_EQ(kt_test::bitsOf(loaded.Value()), kt_test::bitsOf(value));
            EXPECT_EQ(loaded.Measures(), kind);
        }
    }
}

TEST(ktstd_Dim, IsPrintedAndTheStreamReturned)
{
    std::ostringstream stream;
    EXPECT_EQ(&(stream << ktstd_Dim(0.5)), &stream);
    EXPECT_EQ(stream.str(), "0.5");
}
