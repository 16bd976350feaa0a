#include "com/Com.h"
#include "com/ComText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr GUID kSample = {
    0x01234567, 0x89AB, 0xCDEF, {0x0F, 0x1E, 0x2D, 0x3C, 0x4B, 0x5A, 0x69, 0x78}};
const wchar_t* const kSampleText = L"{01234567-89AB-CDEF-0F1E-2D3C4B5A6978}";

HRESULT parse(const wchar_t* text, IID& iid)
{
    return IIDFromString(text, &iid);
}

} // namespace

TEST(ComGuid, PrintsWithCapitalsAndBraces)
{
    OLECHAR text[64] = {};
    EXPECT_EQ(StringFromGUID2(kSample, text, 64), 39);
    EXPECT_EQ(std::wstring(text), kSampleText);
}

TEST(ComGuid, PrintsIntoRoomThatJustFits)
{
    OLECHAR text[39] = {};
    EXPECT_EQ(StringFromGUID2(kSample, text, 39), 39);
    EXPECT_EQ(std::wstring(text), kSampleText);
}

TEST(ComGuid, PrintsNothingIntoTooLittleRoom)
{
    OLECHAR text[39] = {L'x'};
    EXPECT_EQ(StringFromGUID2(kSample, text, 38), 0);
}

TEST(ComGuid, ReadsWhatItPrints)
{
    IID iid = {};
    EXPECT_EQ(parse(kSampleText, iid), S_OK);
    EXPECT_TRUE(IsEqualIID(iid, kSample));
}

TEST(ComGuid, ReadsSmallLetters)
{
    IID iid = {};
    EXPECT_EQ(parse(L"{01234567-89ab-cdef-0f1e-2d3c4b5a6978}", iid), S_OK);
    EXPECT_TRUE(IsEqualIID(iid, kSample));
}

TEST(ComGuid, ReadsNullAsZeros)
{
    IID iid = kSample;
    EXPECT_EQ(parse(nullptr, iid), S_OK);
    EXPECT_TRUE(IsEqualIID(iid, IID_NULL));
}

TEST(ComGuid, RefusesTextOfAnotherLength)
{
    IID iid = {};
    EXPECT_EQ(parse(L"", iid), E_INVALIDARG);
    EXPECT_EQ(parse(L"{01234567-89AB-CDEF-0F1E-2D3C4B5A697}", iid), E_INVALIDARG);
    EXPECT_EQ(parse(L"{01234567-89AB-CDEF-0F1E-2D3C4B5A69789}", iid), E_INVALIDARG);
}

TEST(ComGuid, RefusesWrongCharacters)
{
    IID iid = {};
    EXPECT_EQ(parse(L"{G1234567-89AB-CDEF-0F1E-2D3C4B5A6978}", iid), CO_E_IIDSTRING);
    EXPECT_EQ(parse(L"{01234567-89AB-CDEF-0F1E-2D3C4B5A697:}", iid), CO_E_IIDSTRING);
    EXPECT_EQ(parse(L"[01234567-89AB-CDEF-0F1E-2D3C4B5A6978}", iid), CO_E_IIDSTRING);
    EXPECT_EQ(parse(L"{01234567-89AB-CDEF-0F1E-2D3C4B5A6978]", iid), CO_E_IIDSTRING);
    EXPECT_EQ(parse(L"{01234567+89AB-CDEF-0F1E-2D3C4B5A6978}", iid), CO_E_IIDSTRING);
}

TEST(ComGuid, DifferenceInAnyByteIsSeen)
{
    for (int i = 0; i < 16; ++i) {
        GUID other = kSample;
        reinterpret_cast<unsigned char*>(&other)[i] ^= 1;
        EXPECT_FALSE(IsEqualGUID(other, kSample)) << "byte " << i;
        EXPECT_TRUE(other != kSample) << "byte " << i;
        EXPECT_FALSE(other == kSample) << "byte " << i;
    }
}

TEST(ComGuid, StandardIdentifiersHaveTheirPublishedValues)
{
    const struct
    {
        const IID* iid;
        const wchar_t* text;
    } cases[] = {
        {&IID_IUnknown, L"{00000000-0000-0000-C000-000000000046}"},
        {&IID_IDispatch, L"{00020400-0000-0000-C000-000000000046}"},
        {&IID_ITypeInfo, L"{00020401-0000-0000-C000-000000000046}"},
        {&IID_IEnumVARIANT, L"{00020404-0000-0000-C000-000000000046}"},
        {&IID_IErrorInfo, L"{1CF2B120-547D-101B-8E65-08002B2BD119}"},
        {&IID_ICreateErrorInfo, L"{22F03340-547D-101B-8E65-08002B2BD119}"},
        {&IID_ISupportErrorInfo, L"{DF0B3D60-548F-101B-8E65-08002B2BD119}"},
    };
    for (const auto& one : cases) {
        IID iid = {};
        ASSERT_EQ(parse(one.text, iid), S_OK);
        EXPECT_TRUE(IsEqualIID(iid, *one.iid)) << com::toUtf8(one.text);
    }
}
