// What the kernel decides for itself about strings, dimensions, failures and the schema.

#include "com/Com.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_ComTools.h"
#include "ktstd/ktstd_Dim.h"
#include "ktstd/ktstd_Schema.h"
#include "support/Failures.h"
#include "support/Links.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <sstream>

namespace {

using kt_test::Bytes;

constexpr double kInfinite = std::numeric_limits<double>::infinity();
constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

std::string textOf(const ktstd_Dim& aDim)
{
    std::ostringstream text;
    text << aDim;
    return text.str();
}

//! An array of doubles from a lower bound on.
class Doubles
{
public:
    Doubles(LONG aLower, ULONG aCount) : array(SafeArrayCreateVector(VT_R8, aLower, aCount))
    {
        for (ULONG i = 0; i < aCount; ++i) {
            LONG index = aLower + static_cast<LONG>(i);
            double value = 10.0 + i;
            EXPECT_EQ(SafeArrayPutElement(array, &index, &value), S_OK);
        }
    }
    Doubles(const Doubles&) = delete;
    Doubles& operator=(const Doubles&) = delete;
    ~Doubles() { EXPECT_EQ(SafeArrayDestroy(array), S_OK) << "left locked"; }

    SAFEARRAY* array;
};

long code(HRESULT aCode)
{
    return aCode;
}

} // namespace

TEST(ktstd_StringText, WideTextBecomesUtf8)
{
    const ktstd_AsciiString text(_bstr_t(L"a\u00E4\u6F22"));
    EXPECT_STREQ(text.ToCString(), "a\xC3\xA4\xE6\xBC\xA2");
    EXPECT_EQ(ktstd_AsciiString(_bstr_t()).IsEmpty(), 1);
}

TEST(ktstd_StringText, MayBeAppendedToItself)
{
    ktstd_AsciiString text("abc");
    text.AssignCat(text);
    text.AssignCat(text.ToCString() + 4);
    text.AssignCat(nullptr);
    EXPECT_STREQ(text.ToCString(), "abcabcbc");
}

TEST(ktstd_StringText, LengthCountsBytes)
{
    EXPECT_EQ(ktstd_AsciiString("\xC3\xA4").Length(), 2);
    EXPECT_EQ(ktstd_AsciiString(-120L), ktstd_AsciiString("-120"));
}

TEST(ktstd_DimValue, PrintsValueAndUnit)
{
    EXPECT_EQ(textOf(ktstd_Dim()), "0");
    EXPECT_EQ(textOf(ktstd_Dim(0.1)), "0.1");
    EXPECT_EQ(textOf(ktstd_Dim(0.025, ktstd_Dim::kLength)), "0.025 m");
    EXPECT_EQ(textOf(ktstd_Dim(-1.5, ktstd_Dim::kAngle)), "-1.5 rad");
    EXPECT_EQ(textOf(ktstd_Dim(kInfinite, ktstd_Dim::kLength)), "infinity m");
    EXPECT_EQ(textOf(ktstd_Dim(-kInfinite)), "-infinity");
    EXPECT_EQ(textOf(ktstd_Dim(-kNoNumber)), "not a number");
}

TEST(ktstd_DimValue, KindCountsInComparison)
{
    EXPECT_NE(ktstd_Dim(1.0, ktstd_Dim::kLength), ktstd_Dim(1.0, ktstd_Dim::kAngle));
    EXPECT_NE(ktstd_Dim(1.0), ktstd_Dim(2.0));
    ktstd_Dim copy;
    copy.Copy(ktstd_Dim(1.0, ktstd_Dim::kAngle));
    EXPECT_EQ(copy, ktstd_Dim(1.0, ktstd_Dim::kAngle));
}

TEST(ktstd_DimValue, ArchiveKeepsEveryBit)
{
    const double values[] = {-0.0, 1.0 / 3.0, std::numeric_limits<double>::denorm_min(), kInfinite};
    ktstd_Archive stored;
    for (const double value : values) {
        stored << ktstd_Dim(value, ktstd_Dim::kLength);
    }
    ktstd_Archive loaded{Bytes(stored.Finish())};
    for (const double value : values) {
        ktstd_Dim dimension;
        loaded >> dimension;
        EXPECT_EQ(dimension.Value(), value);
        EXPECT_EQ(std::signbit(dimension.Value()), std::signbit(value));
        EXPECT_EQ(dimension.Measures(), ktstd_Dim::kLength);
    }
}

TEST(ktstd_FailureText, StreamedMessageEndsAtItsNulAndLeavesTheStreamUsable)
{
    std::strstream text;
    text << "item " << 7 << std::ends << "rest";
    EXPECT_TRUE(kt_test::raises<Hnd_ktstd_fail_DomainError>(
        "item 7", [&] { ktstd_fail_DomainError::Raise(text); }));
    text << "more"; // a frozen buffer would refuse it, and leak
    EXPECT_TRUE(text.good());
    std::strstream open;
    open.write("no end", 6);
    EXPECT_TRUE(kt_test::raises<Hnd_ktstd_fail_DomainError>(
        "no end", [&] { ktstd_fail_DomainError::Raise(open); }));
    std::strstream empty;
    EXPECT_TRUE(kt_test::raises<Hnd_ktstd_fail_DomainError>(
        "", [&] { ktstd_fail_DomainError::Raise(empty); }));
}

TEST(ktstd_FailureText, PrintsClassAndMessage)
{
    try {
        ktstd_fail_FileIO::Raise("went wrong", 17);
    } catch (const Hnd_ktstd_fail_Failure& failure) {
        std::ostringstream text;
        text << failure;
        EXPECT_EQ(text.str(), "ktstd_fail_FileIO: went wrong");
        EXPECT_EQ(failure->IsCaught(), 0);
        failure->Caught();
        EXPECT_EQ(failure->IsCaught(), 1);
    }
    std::ostringstream text;
    text << Hnd_ktstd_fail_Failure();
    EXPECT_EQ(text.str(), "no failure");
}

TEST(ktstd_SchemaRegister, ClassIsRegisteredOnceForTheLifeOfItsEntry)
{
    {
        const ktstd_SchemaEntry first("Temporary", 4);
        const ktstd_SchemaEntry second("Temporary", 5);
        EXPECT_EQ(first.IsRegistered(), 1);
        EXPECT_EQ(second.IsRegistered(), 0);
        EXPECT_EQ(ktstd_Schema::LastClassVersion("Temporary"), 4);
        EXPECT_EQ(ktstd_Schema::CanMake("Temporary"), 0);
    }
    EXPECT_EQ(ktstd_Schema::LastClassVersion("Temporary"), -1);
}

TEST(ktstd_SchemaRegister, ArgumentsThatCantBeAreRefused)
{
    EXPECT_EQ(ktstd_Schema::Register(nullptr, 0, nullptr), 0);
    EXPECT_EQ(ktstd_Schema::Register("", 0, nullptr), 0);
    EXPECT_EQ(ktstd_Schema::Register(std::string(256, 'n').c_str(), 0, nullptr), 0);
    EXPECT_EQ(ktstd_Schema::Register("Negative", -1, nullptr), 0);
    EXPECT_EQ(ktstd_Schema::Unregister("Negative"), 0);
}

TEST(ktstd_SchemaRegister, VersionIsThatOfTheArchiveBeingRead)
{
    ktstd_Archive stored1;
    stored1.SetClassVersion("Link", 0);
    ktstd_Archive stored2;
    stored2.SetClassVersion("Link", 1);
    stored2 << 1L;

    EXPECT_EQ(ktstd_Schema::ClassVersion("Link"), 2) << "no archive is being read";
    {
        const ktstd_Archive first{Bytes(stored1.Finish())};
        EXPECT_EQ(ktstd_Schema::ClassVersion("Link"), 2) << "not asked for its mode yet";
        EXPECT_EQ(first.IsStoring(), 0);
        EXPECT_EQ(ktstd_Schema::ClassVersion("Link"), 0);
        EXPECT_EQ(ktstd_Schema::ClassVersion("Missing"), -1);
        {
            ktstd_Archive second{Bytes(stored2.Finish())};
            EXPECT_EQ(ktstd_Schema::ClassVersion("Link"), 0);
            long number = 0;
            second >> number;
            EXPECT_EQ(ktstd_Schema::ClassVersion("Link"), 1) << "read from";
            const ktstd_Archive storing;
            EXPECT_EQ(storing.IsStoring(), 1);
            EXPECT_EQ(ktstd_Schema::ClassVersion("Link"), 1) << "storing changes nothing";
            EXPECT_EQ(first.IsStoring(), 0);
            EXPECT_EQ(ktstd_Schema::ClassVersion("Link"), 0);
            EXPECT_EQ(second.IsStoring(), 0);
        }
        EXPECT_EQ(ktstd_Schema::ClassVersion("Link"), 2) << "the archive being read is gone";
    }
    EXPECT_EQ(ktstd_Schema::ClassVersion("Link"), 2);
}

TEST(ktstd_SchemaRegister, ClassRegisteredLaterIsNotInTheArchive)
{
    ktstd_Archive stored;
    ktstd_Archive loaded{Bytes(stored.Finish())};
    const ktstd_SchemaEntry entry("Newcomer", 0);
    EXPECT_EQ(loaded.IsStoring(), 0);
    EXPECT_EQ(ktstd_Schema::ClassVersion("Newcomer"), -1);
    EXPECT_EQ(ktstd_Schema::LastClassVersion("Newcomer"), 0);
}

TEST(ktstd_ArrayCopies, ArrayOfAnyLowerBoundIsCopiedFromItsStart)
{
    for (const LONG lower : {-3, 0, 1}) {
        const Doubles source(lower, 4);
        double values[3] = {};
        EXPECT_EQ(GetValuesFromSafeArray(source.array, 3, values), code(S_OK));
        EXPECT_EQ(values[0], 10.0);
        EXPECT_EQ(values[2], 12.0);
    }
}

TEST(ktstd_ArrayCopies, ArrayThatDoesNotFitLeavesTheOutputs)
{
    const Doubles source(0, 2);
    double values[3] = {1, 2, 3};
    unsigned char bytes[2] = {4, 5};
    EXPECT_EQ(GetValuesFromSafeArray(source.array, 3, values), code(DISP_E_BADINDEX));
    EXPECT_EQ(GetValuesFromSafeArray(source.array, -1, values), code(E_INVALIDARG));
    EXPECT_EQ(GetValuesFromSafeArray(nullptr, 1, values), code(E_POINTER));
    EXPECT_EQ(GetValuesFromSafeArray(source.array, 1, static_cast<double*>(nullptr)),
              code(E_POINTER));
    EXPECT_EQ(GetValuesFromSafeArray(source.array, 2, bytes), code(DISP_E_TYPEMISMATCH));
    EXPECT_EQ(values[0], 1.0);
    EXPECT_EQ(bytes[0], 4);
    EXPECT_EQ(GetValuesFromSafeArray(source.array, 0, static_cast<double*>(nullptr)), code(S_OK));
}

TEST(ktstd_ArrayCopies, ArrayOfTwoDimensionsIsRefused)
{
    SAFEARRAYBOUND bounds[2] = {};
    bounds[0].cElements = 2;
    bounds[1].cElements = 2;
    SAFEARRAY* const array = SafeArrayCreate(VT_R8, 2, bounds);
    ASSERT_NE(array, nullptr);
    double values[2] = {};
    EXPECT_EQ(GetValuesFromSafeArray(array, 2, values), code(DISP_E_TYPEMISMATCH));
    EXPECT_EQ(SafeArrayDestroy(array), S_OK);
}

TEST(ktstd_ArrayCopies, NewArrayHoldsTheValuesFromZeroOn)
{
    const unsigned char values[] = {9, 8, 7};
    for (const long count : {0L, 3L}) {
        SAFEARRAY* array = nullptr;
        ASSERT_EQ(PutValuesInSafeArray(count, values, &array), code(S_OK));
        LONG lower = -1;
        LONG upper = -1;
        VARTYPE type = VT_EMPTY;
        EXPECT_EQ(SafeArrayGetLBound(array, 1, &lower), S_OK);
        EXPECT_EQ(SafeArrayGetUBound(array, 1, &upper), S_OK);
        EXPECT_EQ(SafeArrayGetVartype(array, &type), S_OK);
        EXPECT_EQ(lower, 0);
        EXPECT_EQ(upper, count - 1);
        EXPECT_EQ(type, VT_UI1);
        unsigned char found[3] = {};
        EXPECT_EQ(GetValuesFromSafeArray(array, count, found), code(S_OK));
        EXPECT_EQ(found[2], count == 3 ? 7 : 0);
        EXPECT_EQ(SafeArrayDestroy(array), S_OK) << "left locked";
    }
}

TEST(ktstd_ArrayCopies, ArgumentsThatCantBeLeaveTheArrayPlace)
{
    const double values[] = {1.0};
    SAFEARRAY* array = nullptr;
    EXPECT_EQ(PutValuesInSafeArray(-1, values, &array), code(E_INVALIDARG));
    EXPECT_EQ(PutValuesInSafeArray(1, static_cast<const double*>(nullptr), &array),
              code(E_POINTER));
    EXPECT_EQ(PutValuesInSafeArray(1, values, nullptr), code(E_POINTER));
    EXPECT_EQ(array, nullptr);
}

TEST(ktstd_ArrayCopies, NullObjectLeavesTheOutputs)
{
    ktstd_AsciiString text("kept");
    long id = 5;
    LONG number = 6;
    EXPECT_EQ(ComGetProperty(nullptr, L"Name", text), code(E_POINTER));
    EXPECT_EQ(ComGetProperty(nullptr, L"Name", VT_I4, &number), code(E_POINTER));
    EXPECT_EQ(ComGetIdFromName(nullptr, L"Name", id), code(E_POINTER));
    EXPECT_TRUE(ComGetParent(nullptr) == nullptr);
    EXPECT_STREQ(text.ToCString(), "kept");
    EXPECT_EQ(id, 5);
    EXPECT_EQ(number, 6);
}
