#include "com/Com.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

namespace {

constexpr UINT kUnit = static_cast<UINT>(sizeof(OLECHAR));

std::wstring textOf(BSTR string)
{
    return std::wstring(string, SysStringLen(string));
}

} // namespace

TEST(ComString, AllocCopiesUpToTheZero)
{
    const BSTR string = SysAllocString(L"Face");
    ASSERT_NE(string, nullptr);
    EXPECT_EQ(textOf(string), L"Face");
    EXPECT_EQ(SysStringByteLen(string), 4 * kUnit);
    EXPECT_EQ(string[4], L'\0');
    SysFreeString(string);
}

TEST(ComString, AllocOfNullIsNull)
{
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
}

TEST(ComString, EmptyStringIsNotNull)
{
    const BSTR string = SysAllocString(L"");
    ASSERT_NE(string, nullptr);
    EXPECT_EQ(SysStringLen(string), 0u);
    EXPECT_EQ(string[0], L'\0');
    SysFreeString(string);
}

TEST(ComString, AllocLenKeepsZeros)
{
    const BSTR string = SysAllocStringLen(L"a\0b", 3);
    ASSERT_NE(string, nullptr);
    EXPECT_EQ(textOf(string), std::wstring(L"a\0b", 3));
    EXPECT_EQ(string[3], L'\0');
    SysFreeString(string);
}

TEST(ComString, AllocLenOfNullGivesRoomAndAZero)
{
    const BSTR string = SysAllocStringLen(nullptr, 5);
    ASSERT_NE(string, nullptr);
    EXPECT_EQ(SysStringLen(string), 5u);
    EXPECT_EQ(string[5], L'\0');
    SysFreeString(string);
}

TEST(ComString, ByteLengthNeedNotBeWholeCharacters)
{
    const BSTR string = SysAllocStringByteLen("abcdefghi", 9);
    ASSERT_NE(string, nullptr);
    EXPECT_EQ(SysStringByteLen(string), 9u);
    EXPECT_EQ(SysStringLen(string), 9u / kUnit);
    EXPECT_EQ(std::memcmp(string, "abcdefghi", 9), 0);
    SysFreeString(string);
}

TEST(ComString, LengthTooLongGivesNull)
{
    EXPECT_EQ(SysAllocStringLen(nullptr, std::numeric_limits<UINT>::max()), nullptr);
    EXPECT_EQ(SysAllocStringLen(nullptr, std::numeric_limits<UINT>::max() / kUnit), nullptr);
}

TEST(ComString, NullHasNoLength)
{
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysStringByteLen(nullptr), 0u);
}

TEST(ComString, FreeOfNullDoesNothing)
{
    SysFreeString(nullptr);
    SUCCEED() << "reaching this line is the claim";
}

TEST(ComString, ReAllocReplaces)
{
    BSTR string = SysAllocString(L"old");
    EXPECT_NE(SysReAllocString(&string, L"rather new"), 0);
    EXPECT_EQ(textOf(string), L"rather new");
    EXPECT_NE(SysReAllocString(&string, L""), 0);
    EXPECT_EQ(SysStringLen(string), 0u);
    SysFreeString(string);
}

TEST(ComString, ReAllocFillsANull)
{
    BSTR string = nullptr;
    EXPECT_NE(SysReAllocString(&string, L"new"), 0);
    EXPECT_EQ(textOf(string), L"new");
    SysFreeString(string);
}

TEST(ComString, ReAllocOfNullTextGivesNull)
{
    BSTR string = SysAllocString(L"old");
    EXPECT_NE(SysReAllocString(&string, nullptr), 0);
    EXPECT_EQ(string, nullptr);
}

TEST(ComString, ReAllocLenTakesTheLengthGiven)
{
    BSTR string = SysAllocString(L"old");
    EXPECT_NE(SysReAllocStringLen(&string, L"abcdef", 2), 0);
    EXPECT_EQ(textOf(string), L"ab");
    SysFreeString(string);
}
