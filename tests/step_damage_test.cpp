// Damaged and hostile files: an error or a model, never anything else.

#include "standin/step/StepFile.h"
#include "support/StepText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using standin::geom::Model;
using standin::step::readText;
using standin::step::StepError;

// Two products, a solid of loops of points, a surface model of curves.
std::string small()
{
    return test::stepFile(test::metres() + test::product("#100,#200") + test::tetrahedron() +
                          test::disc());
}

std::string sample(const std::string& name)
{
    std::ifstream stream(std::string(KT_SOURCE_DIR) + "/samples/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// Tells whether a text opens; whatever but a StepError it raises fails the test.
bool opens(const std::string& text)
{
    try {
        const Model model = readText(text, "damaged");
        EXPECT_FALSE(model.products.empty());
        return true;
    } catch (const StepError& error) {
        EXPECT_NE(std::string(error.what()), "");
        return false;
    }
}

TEST(StepDamage, AFileCutAnywhereIsRefused)
{
    const std::string text = small();
    ASSERT_TRUE(opens(text));
    const std::size_t whole = text.size() - 1; // the last line end is not needed
    ASSERT_TRUE(opens(text.substr(0, whole)));
    for (std::size_t length = 0; length < whole; ++length) {
        ASSERT_FALSE(opens(text.substr(0, length))) << "cut at " << length;
    }
}

TEST(StepDamage, ASampleCutAnywhereIsRefused)
{
    const std::string text = sample("holder.step");
    ASSERT_TRUE(opens(text));
    int cuts = 0;
    for (std::size_t length = 0; length < text.size() - 1; length += 53) {
        ASSERT_FALSE(opens(text.substr(0, length))) << "cut at " << length;
        ++cuts;
    }
    EXPECT_GT(cuts, 300);
}

TEST(StepDamage, AChangedByteNeverDoesMoreThanRaiseAnError)
{
    const std::string text = small();
    int opened = 0;
    int refused = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        for (const char byte : {'\0', '\xFF', '#', '(', ')', '9', '\'', '*', ';'}) {
            std::string changed = text;
            changed[at] = byte;
            ++(opens(changed) ? opened : refused);
        }
        std::string flipped = text;
        flipped[at] = static_cast<char>(flipped[at] ^ 1);
        ++(opens(flipped) ? opened : refused);
    }
    EXPECT_GT(opened, 0);
    EXPECT_GT(refused, 0);
}

TEST(StepDamage, AChangedByteInASampleNeverDoesMoreThanRaiseAnError)
{
    const std::string text = sample("holder.step");
    ASSERT_FALSE(text.empty());
    int opened = 0;
    for (std::size_t at = 0; at < text.size(); at += 41) {
        std::string changed = text;
        changed[at] = static_cast<char>(changed[at] ^ 3);
        opened += opens(changed) ? 1 : 0;
    }
    EXPECT_GT(opened, 0);
}

TEST(StepDamage, AMissingLineNeverDoesMoreThanRaiseAnError)
{
    const std::string text = small();
    std::size_t lines = 0;
    for (std::size_t begin = 0; begin < text.size(); ++lines) {
        const std::size_t end = text.find('\n', begin) + 1;
        std::string changed = text;
        changed.erase(begin, end - begin);
        (void)opens(changed);
        begin = end;
    }
    EXPECT_EQ(lines, static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')));
    EXPECT_GT(lines, 0U);
}

// Small files that would become large ones

TEST(StepDamage, KnotMultiplicitiesDoNotMultiplyMemory)
{
    const std::string knots = "B_SPLINE_CURVE_WITH_KNOTS('',1,(#231,#241),.U.,.F.,.F.,(2000000000,"
                              "2000000000),(0.,1.),.U.)";
    EXPECT_FALSE(opens(test::stepFile(test::metres() + test::product("#200") +
                                      test::replaced(test::disc(), "CIRCLE('',#240,2.)", knots))));
}

TEST(StepDamage, AShellSharedByManyBodiesIsRefused)
{
    // Two thousand bodies of one shell of two thousand faces: four million faces from 200 kB.
    std::string data = test::metres();
    std::string faces;
    std::string bodies;
    for (int i = 0; i < 2000; ++i) {
        const std::string number = std::to_string(10000 + i);
        data += "#" + number + "=ADVANCED_FACE('',(#211),#214,.T.);\n";
        faces += (faces.empty() ? "#" : ",#") + number;
        const std::string body = std::to_string(20000 + i);
        data += "#" + body + "=SHELL_BASED_SURFACE_MODEL('',(#201));\n";
        bodies += (bodies.empty() ? "#" : ",#") + body;
    }
    data += test::product(bodies) + test::replaced(test::disc(), "(#210)", "(" + faces + ")");
    try {
        (void)readText(test::stepFile(data), "shared");
        FAIL() << "nothing was raised";
    } catch (const StepError& error) {
        EXPECT_NE(std::string(error.what()).find("so often"), std::string::npos) << error.what();
    }
}

TEST(StepDamage, EndlessReferencesEnd)
{
    for (const char* change : {"#221=SURFACE_CURVE('',#221,(),.CURVE_3D.)",
                               "#221=TRIMMED_CURVE('',#221,(),(),.T.,.PARAMETER.)"}) {
        EXPECT_FALSE(
            opens(test::stepFile(test::metres() + test::product("#200") +
                                 test::replaced(test::disc(), "#221=CIRCLE('',#240,2.)", change))));
    }
    EXPECT_FALSE(opens(test::stepFile(
        test::metres() + test::product("#200") +
        test::replaced(test::disc(), "PLANE('',#240)", "OFFSET_SURFACE('',#214,1.,.F.)"))));
}

TEST(StepDamage, NumbersBeyondReckoningAreRefusedOrRead)
{
    for (const char* radius : {"1.E308", "1.E-308", "1.E150", "1.E-11", "0.", "-0."}) {
        (void)opens(
            test::stepFile(test::metres() + test::product("#200") +
                           test::replaced(test::disc(), "#240,2.", std::string("#240,") + radius)));
    }
    EXPECT_FALSE(opens(test::stepFile(test::metres() + test::product("#200") +
                                      test::replaced(test::disc(), "#240,2.", "#240,1.E308"))));
}

} // namespace
