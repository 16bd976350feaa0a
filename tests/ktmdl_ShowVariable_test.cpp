#include "ktmdl/ktmdl_ShowVariable.h"

#include "ktmdl/ktmdl_BBox2d.h"
#include "ktmdl/ktmdl_BBox3d.h"
#include "ktmdl/ktmdl_CrdSys3d.h"
#include "ktmdl/ktmdl_ErosionPos.h"
#include "ktmdl/ktmdl_Trsf2d.h"
#include "ktmdl/ktmdl_Vec2d.h"
#include "ktstd/ktstd_Debug.h"
#include "support/Bits.h"
#include "support/LogCapture.h"
#include "support/Planar.h"
#include "support/Spatial.h"

#include <gtest/gtest.h>

#include <functional>
#include <iomanip>
#include <ios>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

using kt_test::above;
using kt_test::below;

namespace {

template <class Value, class = void>
struct IsShown : std::false_type
{
};
template <class Value>
struct IsShown<
    Value, std::void_t<decltype(ShowVariable(std::declval<char*>(), std::declval<const Value&>()))>>
    : std::true_type
{
};
static_assert(IsShown<ktmdl_Pnt2d>::value && IsShown<ktmdl_Pnt3d>::value);
static_assert(!IsShown<ktmdl_Data2d>::value, "only points and vectors are shown");
static_assert(!IsShown<ktmdl_Data3d>::value, "only points and vectors are shown");

//! Shows a value under a name that the callee could write to.
template <class Value>
void show(std::string aName, const Value& aValue)
{
    const std::string before = aName;
    char* const name = aName.data();
    ShowVariable(name, aValue);
    EXPECT_EQ(aName, before);
}

//! A dump of one line: what stands before and behind the name.
struct Dump
{
    std::string head;
    std::function<void(const std::string&)> show;
    std::string tail;
};

template <class Value>
Dump dumpOf(const char* aHead, const Value& aValue, const char* aTail)
{
    return {aHead, [aValue](const std::string& aName) { ::show(aName, aValue); }, aTail};
}

//! Every class with a dump of one line.
std::vector<Dump> oneLineDumps()
{
    const ktmdl_Axis3d axis({1, -2, 0.5}, {0, 0, -1});
    const ktmdl_CrdSys3d system(ktmdl_Axis3d({4, 5, 6}, {0, 0, 1}), {0, 1, 0});
    return {
        dumpOf("[Pnt2d]: ", ktmdl_Pnt2d(1, -2.5), " = (1,-2.5)"),
        dumpOf("[Vec2d]: ", ktmdl_Vec2d(-3, 0.25), " = (-3,0.25)"),
        dumpOf("[Pnt3d]: ", ktmdl_Pnt3d(1, 2, 3), " = (1,2,3)"),
        dumpOf("[Vec3d]: ", ktmdl_Vec3d(-4, 5.5, 0), " = (-4,5.5,0)"),
        dumpOf("[Axis3d]: ", axis, " = (pos: 1,-2,0.5) (dir: 0,0,-1)"),
        dumpOf("[CrdSys3d]: ", system, " = [Pos=(4,5,6), DirZ=(0,0,1), DirX=(0,1,0)]"),
        dumpOf("[BBox2d]: ", ktmdl_BBox2d(1, 2, 3, 4), " = [min=(1,2), max=(3,4)]"),
        dumpOf("[BBox3d]: ", ktmdl_BBox3d(1, 2, 3, 4, 5, 6), " = [min=(1,2,3), max=(4,5,6)]"),
        dumpOf("[ErosionPos]: ", ktmdl_ErosionPos(1, 2, 3, ktstd_Dim(0.75, ktstd_Dim::kAngle)),
               " = (1,2,3) - Rotation Angle:0.75 rad"),
    };
}

//! The formatting of the log stream.
struct Format
{
    std::ios::fmtflags flags;
    std::streamsize precision;
    char fill;
    std::streamsize width;
};

Format formatOfLog()
{
    const std::ostream& log = ktstd_Debug::LogPrint();
    return {log.flags(), log.precision(), log.fill(), log.width()};
}

void expectFormat(const Format& aFormat)
{
    const Format found = formatOfLog();
    EXPECT_EQ(found.flags, aFormat.flags);
    EXPECT_EQ(found.precision, aFormat.precision);
    EXPECT_EQ(found.fill, aFormat.fill);
    EXPECT_EQ(found.width, aFormat.width);
}

//! Sets every formatting state that leaves decimal numbers readable.
void disturb()
{
    std::ostream& log = ktstd_Debug::LogPrint();
    log << std::hex << std::showbase << std::uppercase << std::boolalpha;
    log.fill('*');
    log.precision(9);
}

//! What the dump of a transformation with a single number in its first place and the identity's
//! elsewhere shows for it.
template <class Trsf>
std::string shownEntry(const Trsf& aTrsf, std::size_t aIndent, std::size_t aWidth)
{
    const LogCapture log;
    show("T", aTrsf);
    const std::vector<std::string> lines = log.Lines();
    if (lines.size() < 2 || lines[1].size() < aIndent + aWidth) {
        return "no line";
    }
    const std::size_t start = lines[1].find_first_not_of(' ', aIndent);
    const std::size_t end = lines[1].find(' ', start);
    return lines[1].substr(start, end - start);
}

//! The entry of a matrix in space, at row 1 and column 1.
std::string shownInSpace(double aValue)
{
    return shownEntry(
        kt_test::matrix({{aValue, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}), 0, 9);
}

//! The entry of a planar matrix, at row 1 and column 1.
std::string shownInPlane(double aValue)
{
    return shownEntry(ktmdl_Trsf2d(aValue, 0, 0, 1, 0, 0), 13, 8);
}

//! A number as a stream writes it with three decimals.
std::string threeDecimals(double aValue)
{
    std::ostringstream stream;
    stream << std::fixed << std::setprecision(3) << aValue;
    return stream.str();
}

const std::string kIndent = "             ";

} // namespace

// One line

TEST(ktmdl_ShowVariable, EveryValueIsOneFlushedLine)
{
    for (const Dump& dump : oneLineDumps()) {
        const LogCapture log;
        dump.show("value");
        EXPECT_EQ(log.Text(), dump.head + "value" + dump.tail + "\n");
    }
}

TEST(ktmdl_ShowVariable, LinesFollowOneAnother)
{
    const LogCapture log;
    show("P", ktmdl_Pnt3d(1, 2, 3));
    show("V", ktmdl_Vec2d(4, 5));
    EXPECT_EQ(log.Text(), "[Pnt3d]: P = (1,2,3)\n[Vec2d]: V = (4,5)\n");
}

TEST(ktmdl_ShowVariable, NameIsWrittenUnchanged)
{
    for (const Dump& dump : oneLineDumps()) {
        for (const char* const name : {"", "a point [0]", " = (1,2) ", "[Pnt2d]: x",
                                       "  \"quoted\" \t<&>", "%s %d", "\xC3\xB6"}) {
            const LogCapture log;
            dump.show(name);
            EXPECT_EQ(log.Text(), dump.head + name + dump.tail + "\n");
        }
    }
}

TEST(ktmdl_ShowVariable, NullNameIsEmpty)
{
    const LogCapture log;
    ShowVariable(nullptr, ktmdl_Pnt3d(1, 2, 3));
    ShowVariable(nullptr, ktmdl_Trsf2d());
    ASSERT_EQ(log.Lines().size(), 1U + 4U);
    EXPECT_EQ(log.Lines()[0], "[Pnt3d]:  = (1,2,3)");
    EXPECT_EQ(log.Lines()[1], "[Trsf2d]:  = ");
}

TEST(ktmdl_ShowVariable, NumbersHaveSixSignificantDigitsOnAFreshStream)
{
    const LogCapture log;
    show("P", ktmdl_Pnt2d(123456.7, -0.1234567));
    EXPECT_EQ(log.Text(), "[Pnt2d]: P = (123457,-0.123457)\n");
}

TEST(ktmdl_ShowVariable, NumbersFollowTheFormatOfTheLog)
{
    const LogCapture log;
    std::ostream& stream = ktstd_Debug::LogPrint();
    stream << std::fixed << std::showpos;
    stream.precision(2);
    show("P", ktmdl_Pnt2d(1, -0.75));
    show("V", ktmdl_Vec2d(0.5, 2));
    show("P", ktmdl_Pnt3d(1, 2, -3));
    show("V", ktmdl_Vec3d(0, 0, 1));
    show("A", ktmdl_Axis3d({1, 2, 3}, {1, 0, 0}));
    show("C", ktmdl_CrdSys3d(ktmdl_Axis3d({1, 2, 3}, {0, 0, 1}), {1, 0, 0}));
    show("B", ktmdl_BBox2d(1, 2, 3, 4));
    show("B", ktmdl_BBox3d(1, 2, 3, 4, 5, 6));
    show("E", ktmdl_ErosionPos(1, 2, 3, ktstd_Dim()));
    const std::vector<std::string> lines = log.Lines();
    ASSERT_EQ(lines.size(), 9U);
    EXPECT_EQ(lines[0], "[Pnt2d]: P = (+1.00,-0.75)");
    EXPECT_EQ(lines[1], "[Vec2d]: V = (+0.50,+2.00)");
    EXPECT_EQ(lines[2], "[Pnt3d]: P = (+1.00,+2.00,-3.00)");
    EXPECT_EQ(lines[3], "[Vec3d]: V = (+0.00,+0.00,+1.00)");
    EXPECT_EQ(lines[4], "[Axis3d]: A = (pos: +1.00,+2.00,+3.00) (dir: +1.00,+0.00,+0.00)");
    EXPECT_EQ(lines[5], "[CrdSys3d]: C = [Pos=(+1.00,+2.00,+3.00), DirZ=(+0.00,+0.00,+1.00), "
                        "DirX=(+1.00,+0.00,+0.00)]");
    EXPECT_EQ(lines[6], "[BBox2d]: B = [min=(+1.00,+2.00), max=(+3.00,+4.00)]");
    EXPECT_EQ(lines[7], "[BBox3d]: B = [min=(+1.00,+2.00,+3.00), max=(+4.00,+5.00,+6.00)]");
    EXPECT_EQ(lines[8].rfind("[ErosionPos]: E = (+1.00,+2.00,+3.00) - Rotation Angle:", 0), 0U)
        << lines[8];
}

TEST(ktmdl_ShowVariable, OneLineDumpsLeaveTheFormat)
{
    for (const Dump& dump : oneLineDumps()) {
        const LogCapture log;
        disturb();
        const Format before = formatOfLog();
        dump.show("value");
        expectFormat(before);
        EXPECT_EQ(log.Text(), dump.head + "value" + dump.tail + "\n");
    }
}

TEST(ktmdl_ShowVariable, AngleIsWrittenAsADimensionRightBehindTheColon)
{
    for (const ktstd_Dim& angle :
         {ktstd_Dim(), ktstd_Dim(-0.5), ktstd_Dim(1.0 / 3.0, ktstd_Dim::kAngle),
          ktstd_Dim(0.002, ktstd_Dim::kLength)}) {
        const LogCapture log;
        show("E", ktmdl_ErosionPos(1, 2, 3, angle));
        std::ostringstream text;
        text << angle;
        ASSERT_NE(text.str(), "");
        EXPECT_EQ(log.Text(), "[ErosionPos]: E = (1,2,3) - Rotation Angle:" + text.str() + "\n");
    }
}

TEST(ktmdl_ShowVariable, DerivedValuesAreShownAsWhatTheyAre)
{
    // An axis is a point, and a system an axis; each has its own dump.
    const LogCapture log;
    const ktmdl_CrdSys3d system(ktmdl_Axis3d({4, 5, 6}, {0, 0, 1}), {0, 1, 0});
    const ktmdl_Axis3d& axis = system;
    const ktmdl_Pnt3d& point = system;
    show("S", axis);
    show("S", point);
    EXPECT_EQ(log.Text(), "[Axis3d]: S = (pos: 4,5,6) (dir: 0,0,1)\n[Pnt3d]: S = (4,5,6)\n");
}

// Planar matrix

TEST(ktmdl_ShowVariable, PlanarMatrixIsShownColumnByColumn)
{
    const LogCapture log;
    show("T", kt_test::generalTrsf2d());
    EXPECT_EQ(log.Text(), "[Trsf2d]: T = \n" + kIndent + "   2.000   3.000\n" + kIndent +
                              "   5.000   7.000\n" + kIndent + "  11.000  13.000\n");
}

TEST(ktmdl_ShowVariable, PlanarIdentityShowsNoSign)
{
    const LogCapture log;
    show("the identity [2]", ktmdl_Trsf2d::Identity());
    EXPECT_EQ(log.Text(), "[Trsf2d]: the identity [2] = \n" + kIndent + "   1.000   0.000\n" +
                              kIndent + "   0.000   1.000\n" + kIndent + "   0.000   0.000\n");
}

TEST(ktmdl_ShowVariable, PlanarEntriesAreOnlyCutToThreeDecimals)
{
    // As numbers, 1.0005 lies below and 0.0005 above what they are written as.
    EXPECT_EQ(shownInPlane(1.0005), "1.000");
    EXPECT_EQ(shownInPlane(-1.0005), "-1.000");
    EXPECT_EQ(shownInPlane(0.0005), "0.001");
    EXPECT_EQ(shownInPlane(-0.0005), "-0.001");
    EXPECT_EQ(shownInPlane(0.0001), "0.000");
    EXPECT_EQ(shownInPlane(-0.0001), "-0.000");
    EXPECT_EQ(shownInPlane(-0.0), "-0.000");
    EXPECT_EQ(shownInPlane(0.0004999), "0.000");
}

TEST(ktmdl_ShowVariable, PlanarEntriesThatAreTooWideAreWrittenInFull)
{
    const LogCapture log;
    show("T", ktmdl_Trsf2d(1234567.5, -9999999.25, 1000.5, -1000.5, 1e15, 0.125));
    EXPECT_EQ(log.Text(), "[Trsf2d]: T = \n" + kIndent + "1234567.500-9999999.250\n" + kIndent +
                              "1000.500-1000.500\n" + kIndent + "1000000000000000.000   0.125\n");
}

TEST(ktmdl_ShowVariable, PlanarEntriesThatAreNoNumbersAreWrittenAsTheStreamDoes)
{
    for (const double value : {kt_test::kInfinity, -kt_test::kInfinity, kt_test::payloadNan()}) {
        EXPECT_EQ(shownInPlane(value), threeDecimals(value));
    }
}

TEST(ktmdl_ShowVariable, PlanarMatrixDumpLeavesASpaceAsFill)
{
    const LogCapture log;
    disturb();
    Format wanted = formatOfLog();
    wanted.fill = ' ';
    show("T", kt_test::generalTrsf2d());
    expectFormat(wanted);
    EXPECT_EQ(log.Text(), "[Trsf2d]: T = \n" + kIndent + "   2.000   3.000\n" + kIndent +
                              "   5.000   7.000\n" + kIndent + "  11.000  13.000\n");
}

TEST(ktmdl_ShowVariable, PlanarMatrixKeepsSignAndAlignment)
{
    const LogCapture log;
    ktstd_Debug::LogPrint() << std::showpos << std::left;
    const Format before = formatOfLog();
    show("T", kt_test::generalTrsf2d());
    expectFormat(before);
    EXPECT_EQ(log.Text(), "[Trsf2d]: T = \n" + kIndent + "+2.000  +3.000  \n" + kIndent +
                              "+5.000  +7.000  \n" + kIndent + "+11.000 +13.000 \n");
}

// Spatial matrix

TEST(ktmdl_ShowVariable, SpatialMatrixIsShownColumnByColumn)
{
    const LogCapture log;
    show("T", kt_test::generalTrsf());
    EXPECT_EQ(log.Text(), "[Trsf3d]: T = \n"
                          "    2.000   11.000   23.000   41.000\n"
                          "    3.000   13.000   29.000   43.000\n"
                          "    5.000   17.000   31.000   47.000\n"
                          "    7.000   19.000   37.000   53.000\n");
}

TEST(ktmdl_ShowVariable, SpatialTranslationIsTheLastLine)
{
    const LogCapture log;
    show("T", ktmdl_Trsf3d(10, -20, 0.5));
    EXPECT_EQ(log.Text(), "[Trsf3d]: T = \n"
                          "    1.000    0.000    0.000    0.000\n"
                          "    0.000    1.000    0.000    0.000\n"
                          "    0.000    0.000    1.000    0.000\n"
                          "   10.000  -20.000    0.500    1.000\n");
}

TEST(ktmdl_ShowVariable, SpatialIdentityShowsNoSign)
{
    const LogCapture log;
    show("the identity [3]", ktmdl_Trsf3d());
    EXPECT_EQ(log.Text(), "[Trsf3d]: the identity [3] = \n"
                          "    1.000    0.000    0.000    0.000\n"
                          "    0.000    1.000    0.000    0.000\n"
                          "    0.000    0.000    1.000    0.000\n"
                          "    0.000    0.000    0.000    1.000\n");
}

TEST(ktmdl_ShowVariable, SpatialEntriesAreRoundedHalfAwayFromZero)
{
    EXPECT_EQ(shownInSpace(0.0005), "0.001");
    EXPECT_EQ(shownInSpace(-0.0005), "-0.001");
    EXPECT_EQ(shownInSpace(below(0.0005)), "0.000");
    EXPECT_EQ(shownInSpace(0.0015), "0.002");
    EXPECT_EQ(shownInSpace(-0.0015), "-0.002");
    EXPECT_EQ(shownInSpace(0.0014999), "0.001");
    // Half-way, which a stream would round to the even digit or not at all.
    EXPECT_EQ(shownInSpace(0.0625), "0.063");
    EXPECT_EQ(shownInSpace(-0.0625), "-0.063");
    // As a number, 1.0005 lies below what it is written as; its thousandfold is 1000.5.
    EXPECT_EQ(shownInSpace(1.0005), "1.001");
    EXPECT_EQ(shownInSpace(-1.0005), "-1.001");
}

TEST(ktmdl_ShowVariable, ASmallNegativeEntryKeepsItsSign)
{
    EXPECT_EQ(shownInSpace(-0.0001), "-0.000");
    EXPECT_EQ(shownInSpace(-0.0004999), "-0.000");
    EXPECT_EQ(shownInSpace(-below(0.0005)), "-0.000");
    EXPECT_EQ(shownInSpace(-above(0.0)), "-0.000");
    EXPECT_EQ(shownInSpace(0.0001), "0.000");
    EXPECT_EQ(shownInSpace(above(0.0)), "0.000");
}

TEST(ktmdl_ShowVariable, SpatialEntriesThatAreExactlyZeroHaveNoSign)
{
    EXPECT_EQ(shownInSpace(0.0), "0.000");
    EXPECT_EQ(shownInSpace(-0.0), "0.000");
}

TEST(ktmdl_ShowVariable, SpatialEntriesThatAreTooWideAreWrittenInFull)
{
    EXPECT_EQ(shownInSpace(99999.9994), "99999.999");
    EXPECT_EQ(shownInSpace(1e12 + 0.5), "1000000000000.500");
    EXPECT_EQ(shownInSpace(999999.9995), "1000000.000");
    const LogCapture log;
    show("T", kt_test::matrix({{123456.7895, 0, 0, 0},
                               {-123456.7895, 1, 0, 0},
                               {12345678, 0, 1, 0},
                               {-0.5, 0, 0, 1}}));
    ASSERT_EQ(log.Lines().size(), 5U);
    EXPECT_EQ(log.Lines()[1], "123456.790-123456.79012345678.000   -0.500");
}

TEST(ktmdl_ShowVariable, SpatialEntriesWhoseThousandfoldOverflowsAreInfinite)
{
    EXPECT_EQ(shownInSpace(1e306), threeDecimals(kt_test::kInfinity));
    EXPECT_EQ(shownInSpace(-1e306), threeDecimals(-kt_test::kInfinity));
    EXPECT_EQ(shownInSpace(1e300), threeDecimals(1e300));
}

TEST(ktmdl_ShowVariable, SpatialEntriesThatAreNoNumbersAreWrittenAsTheStreamDoes)
{
    for (const double value : {kt_test::kInfinity, -kt_test::kInfinity, kt_test::payloadNan()}) {
        EXPECT_EQ(shownInSpace(value), threeDecimals(value));
    }
}

TEST(ktmdl_ShowVariable, SpatialMatrixLeavesTheFormat)
{
    const LogCapture log;
    disturb();
    const Format before = formatOfLog();
    show("T", ktmdl_Trsf3d());
    expectFormat(before);
    ASSERT_EQ(log.Lines().size(), 5U);
    EXPECT_EQ(log.Lines()[1], "    1.000    0.000    0.000    0.000");
}

TEST(ktmdl_ShowVariable, SpatialMatrixKeepsSignAndAlignment)
{
    const LogCapture log;
    ktstd_Debug::LogPrint() << std::showpos << std::left;
    const Format before = formatOfLog();
    show("T", ktmdl_Trsf3d(10, -20, 0.5));
    expectFormat(before);
    ASSERT_EQ(log.Lines().size(), 5U);
    EXPECT_EQ(log.Lines()[4], "+10.000  -20.000  +0.500   +1.000   ");
}

TEST(ktmdl_ShowVariable, MatrixDumpsKeepTheOtherFlags)
{
    // With scientific set before, the two together mean hexadecimal numbers.
    const LogCapture log;
    ktstd_Debug::LogPrint() << std::scientific;
    const Format before = formatOfLog();
    show("T", ktmdl_Trsf2d());
    show("T", ktmdl_Trsf3d());
    expectFormat(before);
    std::ostringstream one;
    one.setf(std::ios::scientific | std::ios::fixed | std::ios::showpoint);
    one << std::setprecision(3) << 1.0;
    ASSERT_NE(one.str().find("0x"), std::string::npos);
    const std::vector<std::string> lines = log.Lines();
    ASSERT_EQ(lines.size(), 4U + 5U);
    EXPECT_NE(lines[1].find(one.str() + " "), std::string::npos) << lines[1];
    EXPECT_NE(lines[5].find(one.str() + " "), std::string::npos) << lines[5];
}

TEST(ktmdl_ShowVariable, MatrixDumpsAreFlushedAndFollowOneAnother)
{
    const LogCapture log;
    show("first", ktmdl_Trsf3d());
    EXPECT_EQ(log.Lines().size(), 5U);
    show("second", ktmdl_Trsf2d());
    EXPECT_EQ(log.Lines().size(), 5U + 4U);
    show("third", ktmdl_Pnt2d(1, 2));
    ASSERT_EQ(log.Lines().size(), 5U + 4U + 1U);
    EXPECT_EQ(log.Lines()[5], "[Trsf2d]: second = ");
    EXPECT_EQ(log.Lines()[9], "[Pnt2d]: third = (1,2)");
}
