#include "com/ComText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The wide form of a character beyond 16 bits, whichever form wchar_t has.
std::wstring wide(char32_t c)
{
    if (sizeof(wchar_t) == 2 && c > 0xFFFF) {
        const char32_t rest = c - 0x10000;
        return {static_cast<wchar_t>(0xD800 + rest / 0x400),
                static_cast<wchar_t>(0xDC00 + rest % 0x400)};
    }
    return {static_cast<wchar_t>(c)};
}

void expectBoth(const std::wstring& wideText, const std::string& utf8)
{
    EXPECT_EQ(com::toUtf8(wideText), utf8);
    EXPECT_EQ(com::fromUtf8(utf8), wideText);
}

const std::wstring kMark(1, static_cast<wchar_t>(0xFFFD));
const std::string kMark8 = "\xEF\xBF\xBD";

} // namespace

TEST(ComText, EmptyTextStaysEmpty)
{
    expectBoth(std::wstring(), "");
    EXPECT_EQ(com::toUtf8(nullptr, 0), "");
}

TEST(ComText, AsciiIsCopied)
{
    expectBoth(L"C:\\Teile\\A 1.par", "C:\\Teile\\A 1.par");
}

TEST(ComText, ZerosAreKept)
{
    expectBoth(std::wstring(L"a\0b", 3), std::string("a\0b", 3));
}

TEST(ComText, LengthsOneToFourAtTheirLimits)
{
    // The first and last character of each length, as the definition of UTF-8 lists them.
    expectBoth(wide(0x7F), "\x7F");
    expectBoth(wide(0x80), "\xC2\x80");
    expectBoth(wide(0x7FF), "\xDF\xBF");
    expectBoth(wide(0x800), "\xE0\xA0\x80");
    expectBoth(wide(0xD7FF), "\xED\x9F\xBF");
    expectBoth(wide(0xE000), "\xEE\x80\x80");
    expectBoth(wide(0xFFFF), "\xEF\xBF\xBF");
    expectBoth(wide(0x10000), "\xF0\x90\x80\x80");
    expectBoth(wide(0x10FFFF), "\xF4\x8F\xBF\xBF");
}

TEST(ComText, EveryCharacterComesBack)
{
    for (char32_t c = 1; c <= 0x10FFFF; ++c) {
        if (c >= 0xD800 && c <= 0xDFFF) {
            continue;
        }
        const std::wstring text = wide(c);
        ASSERT_EQ(com::fromUtf8(com::toUtf8(text)), text) << static_cast<unsigned long>(c);
    }
}

TEST(ComText, LoneSurrogatesAreReplaced)
{
    const std::wstring high(1, static_cast<wchar_t>(0xD801));
    const std::wstring low(1, static_cast<wchar_t>(0xDC01));
    EXPECT_EQ(com::toUtf8(high), kMark8);
    EXPECT_EQ(com::toUtf8(low), kMark8);
    EXPECT_EQ(com::toUtf8(high + L"x"), kMark8 + "x");
    EXPECT_EQ(com::toUtf8(low + high), kMark8 + kMark8);
}

TEST(ComText, UnitsBeyondTheLastCharacterAreReplaced)
{
    if (sizeof(wchar_t) == 2) {
        GTEST_SKIP() << "16-bit units reach no further than U+FFFF";
    }
    EXPECT_EQ(com::toUtf8(std::wstring(1, static_cast<wchar_t>(0x110000))), kMark8);
    EXPECT_EQ(com::toUtf8(std::wstring(1, static_cast<wchar_t>(-1))), kMark8);
}

TEST(ComText, StrayBytesAreReplacedOneByOne)
{
    EXPECT_EQ(com::fromUtf8("\x80"), kMark);
    EXPECT_EQ(com::fromUtf8("\xBF\x80"), kMark + kMark);
    EXPECT_EQ(com::fromUtf8("\xFE\xFF"), kMark + kMark);
    EXPECT_EQ(com::fromUtf8("a\x80z"), L"a" + kMark + L"z");
}

TEST(ComText, OverlongFormsAreReplaced)
{
    // '/' in two, three and four bytes; no prefix of these starts a valid sequence.
    EXPECT_EQ(com::fromUtf8("\xC0\xAF"), kMark + kMark);
    EXPECT_EQ(com::fromUtf8("\xE0\x80\xAF"), kMark + kMark + kMark);
    EXPECT_EQ(com::fromUtf8("\xF0\x80\x80\xAF"), kMark + kMark + kMark + kMark);
}

TEST(ComText, SurrogatesInUtf8AreReplaced)
{
    EXPECT_EQ(com::fromUtf8("\xED\xA0\x80"), kMark + kMark + kMark);
}

TEST(ComText, CodesBeyondTheLastAreReplaced)
{
    EXPECT_EQ(com::fromUtf8("\xF4\x90\x80\x80"), kMark + kMark + kMark + kMark);
    EXPECT_EQ(com::fromUtf8("\xF5\x80\x80\x80"), kMark + kMark + kMark + kMark);
}

TEST(ComText, CutSequencesAreReplacedByOneMark)
{
    EXPECT_EQ(com::fromUtf8("\xC3"), kMark);
    EXPECT_EQ(com::fromUtf8("\xE2\x82"), kMark);
    EXPECT_EQ(com::fromUtf8("\xF0\x9F\x98"), kMark);
    EXPECT_EQ(com::fromUtf8("\xE2\x82z"), kMark + L"z");
    EXPECT_EQ(com::fromUtf8("\xE2\x82\xC3\xA4"), kMark + wide(0xE4));
}
