#include "standin/step/Strings.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using standin::step::decodeString;

TEST(StepString, PlainTextStays)
{
    EXPECT_EQ(decodeString("Plate 12"), "Plate 12");
}

TEST(StepString, EmptyStays)
{
    EXPECT_EQ(decodeString(""), "");
}

TEST(StepString, DoubledApostropheIsOne)
{
    EXPECT_EQ(decodeString("it''s"), "it's");
}

TEST(StepString, DoubledBackslashIsOne)
{
    EXPECT_EQ(decodeString("c:\\\\temp"), "c:\\temp");
}

TEST(StepString, LineEndsInsideVanish)
{
    EXPECT_EQ(decodeString("ab\r\ncd\ne"), "abcde");
}

TEST(StepString, ShortHexIsLatin1)
{
    EXPECT_EQ(decodeString("Gr\\X\\F6\\X\\DFe"), "Gr\xC3\xB6\xC3\x9F"
                                                 "e"); // U+00F6, U+00DF
}

TEST(StepString, X2IsUtf16)
{
    EXPECT_EQ(decodeString("\\X2\\00D800C4\\X0\\!"), "\xC3\x98\xC3\x84!"); // U+00D8 U+00C4
    EXPECT_EQ(decodeString("\\X2\\96FB\\X0\\"), "\xE9\x9B\xBB");           // U+96FB
}

TEST(StepString, X2JoinsSurrogates)
{
    EXPECT_EQ(decodeString("\\X2\\D83DDE00\\X0\\"), "\xF0\x9F\x98\x80"); // U+1F600
}

TEST(StepString, LoneSurrogatesBecomeTheReplacementCharacter)
{
    EXPECT_EQ(decodeString("\\X2\\D83D\\X0\\"), "\xEF\xBF\xBD");
    EXPECT_EQ(decodeString("\\X2\\DE00\\X0\\"), "\xEF\xBF\xBD");
    EXPECT_EQ(decodeString("\\X2\\D83D0041\\X0\\"), "\xEF\xBF\xBD"
                                                    "A");
}

TEST(StepString, X4IsUtf32)
{
    EXPECT_EQ(decodeString("\\X4\\0001F60000000041\\X0\\"), "\xF0\x9F\x98\x80"
                                                            "A");
    EXPECT_EQ(decodeString("\\X4\\00110000\\X0\\"), "\xEF\xBF\xBD");
}

TEST(StepString, SAddsToLatin1)
{
    EXPECT_EQ(decodeString("\\S\\D"), "\xC3\x84"); // 0x44 + 0x80 = U+00C4
}

TEST(StepString, PChoosesThePage)
{
    EXPECT_EQ(decodeString("\\PE\\\\S\\0"), "\xD0\x90"); // ISO 8859-5, 0xB0: U+0410
    EXPECT_EQ(decodeString("\\PB\\\\S\\!"), "\xC4\x84"); // ISO 8859-2, 0xA1: U+0104
    EXPECT_EQ(decodeString("\\PG\\\\S\\A\\PA\\\\S\\A"), "\xCE\x91\xC3\x81"); // U+0391, U+00C1
}

TEST(StepString, SOfAnApostropheIsWrittenDoubled)
{
    EXPECT_EQ(decodeString("\\S\\''x"), "\xC2\xA7x"); // 0x27 + 0x80 = U+00A7
}

TEST(StepString, BrokenDirectivesStayAsTheyStand)
{
    for (const char* text : {"\\X\\G1", "\\X\\1", "\\X2\\0041", "\\X2\\004\\X0\\", "\\X4\\00000041",
                             "\\PZ\\", "\\Q", "\\", "\\S", "\\S\\"}) {
        EXPECT_EQ(decodeString(text), text);
    }
}

TEST(StepString, Utf8BytesStay)
{
    EXPECT_EQ(decodeString("Tr\xC3\xA4ger"), "Tr\xC3\xA4ger");
}

TEST(StepString, OtherHighBytesAreLatin1)
{
    EXPECT_EQ(decodeString("Tr\xE4ger"), "Tr\xC3\xA4ger");
    EXPECT_EQ(decodeString("\xC0\xAF"), "\xC3\x80\xC2\xAF");             // overlong form of '/'
    EXPECT_EQ(decodeString("\xED\xA0\x80"), "\xC3\xAD\xC2\xA0\xC2\x80"); // an encoded surrogate
}

TEST(StepString, ANullCharacterDoesNotEndTheName)
{
    EXPECT_EQ(decodeString("a\\X\\00z"), "a\xEF\xBF\xBDz");
}

} // namespace
