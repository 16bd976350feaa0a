#include "com/Com.h"
#include "support/CountingObject.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

std::wstring textOf(const _bstr_t& string)
{
    return std::wstring(static_cast<const wchar_t*>(string), string.length());
}

} // namespace

TEST(ComBstr, DefaultHoldsNothing)
{
    const _bstr_t string;
    EXPECT_TRUE(!string);
    EXPECT_EQ(string.length(), 0u);
    EXPECT_EQ(static_cast<const wchar_t*>(string), nullptr);
    EXPECT_EQ(static_cast<const char*>(string), nullptr);
    EXPECT_EQ(string.copy(), nullptr);
}

TEST(ComBstr, TakesWideText)
{
    const _bstr_t string(L"Edge");
    EXPECT_FALSE(!string);
    EXPECT_EQ(textOf(string), L"Edge");
}

TEST(ComBstr, TakesNarrowTextAsUtf8)
{
    const _bstr_t string("H\xC3\xA4lfte");
    EXPECT_EQ(textOf(string), std::wstring(L"H") + static_cast<wchar_t>(0xE4) + L"lfte");
}

TEST(ComBstr, GivesNarrowTextAsUtf8)
{
    const wchar_t text[] = {L'a', static_cast<wchar_t>(0xE4), L'b', 0};
    const _bstr_t string(text);
    EXPECT_STREQ(static_cast<const char*>(string), "a\xC3\xA4"
                                                   "b");
}

TEST(ComBstr, KeepsTheNarrowText)
{
    const _bstr_t string(L"once");
    const char* const first = string;
    EXPECT_EQ(static_cast<const char*>(string), first);
}

TEST(ComBstr, NullTextHoldsNoString)
{
    const _bstr_t wide(static_cast<const wchar_t*>(nullptr));
    const _bstr_t narrow(static_cast<const char*>(nullptr));
    EXPECT_TRUE(!wide);
    EXPECT_TRUE(!narrow);
    EXPECT_EQ(wide.length(), 0u);
    EXPECT_EQ(static_cast<const char*>(wide), nullptr);
}

TEST(ComBstr, CopyOfABstrKeepsZeros)
{
    const BSTR raw = SysAllocStringLen(L"a\0b", 3);
    const _bstr_t string(raw, true);
    EXPECT_NE(static_cast<const wchar_t*>(string), raw);
    EXPECT_EQ(textOf(string), std::wstring(L"a\0b", 3));
    SysFreeString(raw);
}

TEST(ComBstr, TakesABstrOver)
{
    const BSTR raw = SysAllocString(L"mine");
    const _bstr_t string(raw, false);
    EXPECT_EQ(static_cast<const wchar_t*>(string), raw);
}

TEST(ComBstr, CopiesShareTheString)
{
    const _bstr_t first(L"shared");
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copy is what is tested
    const _bstr_t second(first);
    _bstr_t third;
    third = first;
    EXPECT_EQ(static_cast<const wchar_t*>(second), static_cast<const wchar_t*>(first));
    EXPECT_EQ(static_cast<const wchar_t*>(third), static_cast<const wchar_t*>(first));
}

TEST(ComBstr, AssigningLeavesTheCopyAlone)
{
    _bstr_t first(L"old");
    const _bstr_t second(first);
    first = L"new";
    EXPECT_EQ(textOf(first), L"new");
    EXPECT_EQ(textOf(second), L"old");
    first = "narrow";
    EXPECT_EQ(textOf(first), L"narrow");
}

TEST(ComBstr, SelfAssignmentKeepsTheString)
{
    _bstr_t string(L"same");
    const _bstr_t& alias = string;
    string = alias;
    EXPECT_EQ(textOf(string), L"same");
}

TEST(ComBstr, Concatenates)
{
    const _bstr_t left(L"left");
    const _bstr_t right(L"right");
    EXPECT_EQ(textOf(left + right), L"leftright");
    EXPECT_EQ(textOf("n-" + right), L"n-right");
    EXPECT_EQ(textOf(L"w-" + right), L"w-right");
    _bstr_t both(left);
    both += right;
    EXPECT_EQ(textOf(both), L"leftright");
    EXPECT_EQ(textOf(left), L"left");
    both += both;
    EXPECT_EQ(textOf(both), L"leftrightleftright");
    EXPECT_EQ(textOf(left + _bstr_t()), L"left");
    EXPECT_EQ(textOf(_bstr_t() + right), L"right");
}

TEST(ComBstr, ComparesByContent)
{
    const _bstr_t a(L"abc");
    const _bstr_t same(L"abc");
    const _bstr_t longer(L"abcd");
    const _bstr_t b(L"abd");
    EXPECT_TRUE(a == same);
    EXPECT_FALSE(a != same);
    EXPECT_TRUE(a < longer);
    EXPECT_TRUE(longer > a);
    EXPECT_TRUE(longer < b);
    EXPECT_TRUE(a <= same && a >= same);
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(a != b);
}

TEST(ComBstr, ComparesBeyondZeros)
{
    const _bstr_t a(SysAllocStringLen(L"a\0b", 3), false);
    const _bstr_t c(SysAllocStringLen(L"a\0c", 3), false);
    EXPECT_TRUE(a < c);
    EXPECT_FALSE(a == c);
}

TEST(ComBstr, NothingComesBeforeSomething)
{
    const _bstr_t nothing;
    const _bstr_t empty(L"");
    EXPECT_TRUE(nothing < empty);
    EXPECT_TRUE(empty > nothing);
    EXPECT_TRUE(nothing == _bstr_t());
}

TEST(ComBstr, CopyGivesAnotherString)
{
    const _bstr_t string(L"text");
    const BSTR copy = string.copy();
    EXPECT_NE(copy, string.copy(false));
    EXPECT_EQ(std::wstring(copy), L"text");
    EXPECT_EQ(string.copy(false), static_cast<const wchar_t*>(string));
    SysFreeString(copy);
}

TEST(ComBstr, AssignCopiesAndAttachTakes)
{
    const BSTR raw = SysAllocString(L"raw");
    _bstr_t string;
    string.Assign(raw);
    EXPECT_NE(static_cast<const wchar_t*>(string), raw);
    EXPECT_EQ(textOf(string), L"raw");
    string.Attach(raw);
    EXPECT_EQ(static_cast<const wchar_t*>(string), raw);
}

TEST(ComBstr, DetachHandsTheStringOver)
{
    _bstr_t string(L"mine");
    const BSTR raw = string.Detach();
    EXPECT_EQ(std::wstring(raw), L"mine");
    EXPECT_TRUE(!string);
    SysFreeString(raw);
}

#if !defined(_WIN32)
// The mingw-w64 function that raises here is declared never to raise, so it would end the program.
TEST(ComBstr, DetachOfNothingOrOfSharedRaises)
{
    _bstr_t nothing;
    EXPECT_EQ(raisedCode([&] { nothing.Detach(); }), E_POINTER);
    _bstr_t first(L"shared");
    const _bstr_t second(first);
    EXPECT_EQ(raisedCode([&] { first.Detach(); }), E_POINTER);
    EXPECT_EQ(textOf(first), L"shared");
}
#endif

TEST(ComBstr, GetAddressLetsGoAndTakesAnother)
{
    _bstr_t string(L"old");
    const _bstr_t other(string);
    BSTR* const place = string.GetAddress();
    EXPECT_EQ(*place, nullptr);
    *place = SysAllocString(L"put");
    EXPECT_EQ(textOf(string), L"put");
    EXPECT_EQ(textOf(other), L"old");
}

TEST(ComBstr, GetBstrGivesTheStringItself)
{
    _bstr_t nothing;
    EXPECT_EQ(nothing.GetBSTR(), nullptr);
    nothing.GetBSTR() = SysAllocString(L"put");
    EXPECT_EQ(textOf(nothing), L"put");
}

TEST(ComBstr, TakesVariantsAsText)
{
    EXPECT_EQ(textOf(_bstr_t(_variant_t(L"text"))), L"text");
    EXPECT_EQ(textOf(_bstr_t(_variant_t(LONG{-12}))), L"-12");
    _bstr_t string;
    string = _variant_t(LONG{7});
    EXPECT_EQ(textOf(string), L"7");
}

TEST(ComBstr, VariantThatIsNoTextRaises)
{
    CountingObject object;
    const _variant_t value(static_cast<IUnknown*>(static_cast<IDispatch*>(&object)));
    EXPECT_EQ(raisedCode([&] { _bstr_t{value}; }), DISP_E_TYPEMISMATCH);
}

TEST(ComBstr, ConversionFunctionsTakeNull)
{
    EXPECT_EQ(_com_util::ConvertStringToBSTR(nullptr), nullptr);
    EXPECT_EQ(_com_util::ConvertBSTRToString(nullptr), nullptr);
}
