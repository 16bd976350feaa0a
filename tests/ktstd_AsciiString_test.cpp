#include "ktstd/ktstd_AsciiString.h"

#include "com/Com.h"
#include "ktstd/ktstd_Archive.h"
#include "support/Records.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>
#include <type_traits>

static_assert(std::is_same_v<decltype(std::declval<const ktstd_AsciiString&>().IsEqual(
                                 std::declval<const ktstd_AsciiString&>())),
                             unsigned char>);

namespace {

void expectText(const ktstd_AsciiString& aString, const std::string& aWanted)
{
    EXPECT_EQ(std::string(aString.ToCString()), aWanted);
    EXPECT_EQ(aString.Length(), static_cast<long>(aWanted.size()));
    EXPECT_EQ(aString.IsEmpty(), aWanted.empty() ? 1 : 0);
}

void expectSame(const ktstd_AsciiString& aFirst, const ktstd_AsciiString& aSecond, bool aIsSame)
{
    EXPECT_EQ(aFirst.IsEqual(aSecond), aIsSame ? 1 : 0);
    EXPECT_EQ(aSecond.IsEqual(aFirst), aIsSame ? 1 : 0);
    EXPECT_EQ(aFirst.IsDifferent(aSecond), aIsSame ? 0 : 1);
    EXPECT_EQ(aSecond.IsDifferent(aFirst), aIsSame ? 0 : 1);
}

} // namespace

TEST(ktstd_AsciiString, DefaultIsEmpty)
{
    expectText(ktstd_AsciiString(), "");
}

TEST(ktstd_AsciiString, IsMadeFromText)
{
    char text[] = "Part 1.par";
    const ktstd_AsciiString string(text);
    text[0] = 'X';
    expectText(string, "Part 1.par");
    expectText(ktstd_AsciiString(""), "");
}

TEST(ktstd_AsciiString, IsMadeFromANumber)
{
    expectText(ktstd_AsciiString(0L), "0");
    expectText(ktstd_AsciiString(42L), "42");
    expectText(ktstd_AsciiString(-7L), "-7");
    expectText(ktstd_AsciiString(2147483647L), "2147483647");
    expectText(ktstd_AsciiString(-2147483647L - 1L), "-2147483648");
}

TEST(ktstd_AsciiString, IsMadeFromAutomationText)
{
    expectText(ktstd_AsciiString(_bstr_t(L"Part 1.par")), "Part 1.par");
    expectText(ktstd_AsciiString(_bstr_t(L"")), "");
    expectText(ktstd_AsciiString(_bstr_t()), "");
}

TEST(ktstd_AsciiString, CopyIsIndependent)
{
    ktstd_AsciiString source("first");
    ktstd_AsciiString copy("before");
    copy.Copy(source);
    expectText(copy, "first");
    source.AssignCat("more");
    expectText(copy, "first");
    copy.Copy(copy);
    expectText(copy, "first");
}

TEST(ktstd_AsciiString, DestroyEmpties)
{
    ktstd_AsciiString string("text");
    string.Destroy();
    expectText(string, "");
    string.Destroy();
    string.AssignCat("again");
    expectText(string, "again");
}

TEST(ktstd_AsciiString, AssignCatAppends)
{
    ktstd_AsciiString string("ab");
    string.AssignCat("cd");
    string.AssignCat(ktstd_AsciiString("ef"));
    string.AssignCat("");
    string.AssignCat(ktstd_AsciiString());
    expectText(string, "abcdef");
    ktstd_AsciiString empty;
    empty.AssignCat(string);
    expectText(empty, "abcdef");
}

TEST(ktstd_AsciiString, EqualityIsByContent)
{
    expectSame("abc", "abc", true);
    expectSame("", ktstd_AsciiString(), true);
    expectSame("abc", "abd", false);
    expectSame("abc", "ab", false);
    expectSame("abc", "ABC", false);
    expectSame("abc", "", false);
    expectSame(ktstd_AsciiString(12L), "12", true);
}

TEST(ktstd_AsciiString, IsPrintedAsItIs)
{
    std::ostringstream stream;
    stream << ktstd_AsciiString("a b") << ktstd_AsciiString();
    EXPECT_EQ(stream.str(), "a b");
}

TEST(ktstd_AsciiString, IsStoredAndLoaded)
{
    for (const char* text : {"", "Part 1.par", "M\xC3\xBCller", "\x01\xFF"}) {
        const ktstd_AsciiString stored(text);
        const std::string content(text);
        kt_test::RecordBytes wanted;
        wanted.u32(static_cast<std::uint32_t>(content.size())).text(content);
        EXPECT_EQ(kt_test::dataOf([&](ktstd_Archive& aArchive) {
                      EXPECT_EQ(&(aArchive << stored), &aArchive);
                  }),
                  wanted.bytes());
        ktstd_Archive archive(kt_test::archiveHolding(wanted.bytes()));
        ktstd_AsciiString loaded("before");
        EXPECT_EQ(&(archive >> loaded), &archive);
        expectSame(loaded, stored, true);
    }
}
