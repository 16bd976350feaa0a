#include "standin/step/StepFile.h"
#include "standin/step/Units.h"
#include "support/StepText.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using standin::step::Exchange;
using standin::step::readUnits;
using standin::step::StepError;
using standin::step::Units;
using test::stepFile;

// Reads the context #1 whose units are #2 and #3.
Units unitsOf(const std::string& units)
{
    const std::string text =
        stepFile("#1=(GEOMETRIC_REPRESENTATION_CONTEXT(3)GLOBAL_UNIT_ASSIGNED_CONTEXT((#2,#3))"
                 "REPRESENTATION_CONTEXT('',''));\n" +
                 units);
    const Exchange exchange(text);
    return readUnits(exchange, 1);
}

std::string radianText()
{
    return "#3=(NAMED_UNIT(*)PLANE_ANGLE_UNIT()SI_UNIT($,.RADIAN.));\n";
}

std::string siLength(const std::string& prefix)
{
    return "#2=(LENGTH_UNIT()NAMED_UNIT(*)SI_UNIT(" + prefix + ",.METRE.));\n";
}

TEST(StepUnits, SiPrefixes)
{
    const std::vector<std::pair<std::string, double>> prefixes{
        {"$", 1.0},        {".EXA.", 1e18},  {".PETA.", 1e15},  {".TERA.", 1e12},
        {".GIGA.", 1e9},   {".MEGA.", 1e6},  {".KILO.", 1e3},   {".HECTO.", 1e2},
        {".DECA.", 1e1},   {".DECI.", 1e-1}, {".CENTI.", 1e-2}, {".MILLI.", 1e-3},
        {".MICRO.", 1e-6}, {".NANO.", 1e-9}, {".PICO.", 1e-12}, {".FEMTO.", 1e-15},
        {".ATTO.", 1e-18}};
    for (const auto& prefix : prefixes) {
        const Units units = unitsOf(siLength(prefix.first) + radianText());
        EXPECT_EQ(units.length, prefix.second) << prefix.first;
        EXPECT_EQ(units.angle, 1.0);
    }
    EXPECT_THROW((void)unitsOf(siLength(".DOZEN.") + radianText()), StepError);
}

TEST(StepUnits, InchesFollowFromTheFile)
{
    // 1 inch = 2.54 cm, and the same written in millimetres.
    for (const char* measure :
         {"2.54),#5);\n#5=(LENGTH_UNIT()NAMED_UNIT(*)SI_UNIT(.CENTI.,.METRE.));\n",
          "25.4),#5);\n#5=(LENGTH_UNIT()NAMED_UNIT(*)SI_UNIT(.MILLI.,.METRE.));\n"}) {
        const Units units =
            unitsOf("#2=(CONVERSION_BASED_UNIT('INCH',#4)LENGTH_UNIT()NAMED_UNIT(#6));\n"
                    "#4=LENGTH_MEASURE_WITH_UNIT(LENGTH_MEASURE(" +
                    std::string(measure) + radianText());
        EXPECT_DOUBLE_EQ(units.length, 0.0254);
    }
}

TEST(StepUnits, DegreesFollowFromTheFile)
{
    const Units units = unitsOf(
        siLength("$") + "#3=(CONVERSION_BASED_UNIT('DEGREE',#4)NAMED_UNIT(#6)PLANE_ANGLE_UNIT());\n"
                        "#4=PLANE_ANGLE_MEASURE_WITH_UNIT(PLANE_ANGLE_MEASURE(0.0174532925),#5);\n"
                        "#5=(NAMED_UNIT(*)PLANE_ANGLE_UNIT()SI_UNIT($,.RADIAN.));\n");
    EXPECT_EQ(units.angle, 0.0174532925);
}

TEST(StepUnits, UnitsMayBeBasedOnBasedUnits)
{
    // 1 foot = 12 inches of 25.4 mm: 0.3048 m.
    const Units units =
        unitsOf("#2=(CONVERSION_BASED_UNIT('FOOT',#4)LENGTH_UNIT()NAMED_UNIT(#9));\n"
                "#4=LENGTH_MEASURE_WITH_UNIT(LENGTH_MEASURE(12.),#5);\n"
                "#5=(CONVERSION_BASED_UNIT('INCH',#6)LENGTH_UNIT()NAMED_UNIT(#9));\n"
                "#6=LENGTH_MEASURE_WITH_UNIT(LENGTH_MEASURE(25.4),#7);\n"
                "#7=(LENGTH_UNIT()NAMED_UNIT(*)SI_UNIT(.MILLI.,.METRE.));\n" +
                radianText());
    EXPECT_DOUBLE_EQ(units.length, 0.3048);
}

TEST(StepUnits, SimpleInstancesCarryTheDimensionsFirst)
{
    const Units units = unitsOf("#2=SI_UNIT(*,.MILLI.,.METRE.);\n#3=SI_UNIT(*,$,.RADIAN.);\n");
    EXPECT_EQ(units.length, 1e-3);
    EXPECT_EQ(units.angle, 1.0);
}

TEST(StepUnits, OtherUnitsAreSkipped)
{
    const Units units = unitsOf("#2=(NAMED_UNIT(*)SI_UNIT($,.STERADIAN.)SOLID_ANGLE_UNIT());\n"
                                "#3=(CONVERSION_BASED_UNIT('POUND',#4)MASS_UNIT()NAMED_UNIT(#6));\n"
                                "#4=MASS_MEASURE_WITH_UNIT(MASS_MEASURE(0.4536),#5);\n"
                                "#5=(MASS_UNIT()NAMED_UNIT(*)SI_UNIT(.KILO.,.GRAM.));\n");
    EXPECT_EQ(units.length, 0.0);
    EXPECT_EQ(units.angle, 0.0);
}

TEST(StepUnits, TheLargestUncertaintyComesInMetres)
{
    const std::string text =
        stepFile("#1=(GLOBAL_UNCERTAINTY_ASSIGNED_CONTEXT((#4,#5,#6))"
                 "GLOBAL_UNIT_ASSIGNED_CONTEXT((#2)));\n" +
                 siLength(".MILLI.") +
                 "#4=UNCERTAINTY_MEASURE_WITH_UNIT(LENGTH_MEASURE(0.01),#2,'','');\n"
                 "#5=UNCERTAINTY_MEASURE_WITH_UNIT(LENGTH_MEASURE(0.02),#2,'','');\n"
                 "#6=UNCERTAINTY_MEASURE_WITH_UNIT(LENGTH_MEASURE(0.015),#2,'','');\n");
    const Exchange exchange(text);
    EXPECT_DOUBLE_EQ(readUnits(exchange, 1).uncertainty, 2e-5);
}

TEST(StepUnits, RefusesUnusableFactorsAndCircles)
{
    const auto based = [](const std::string& value, const std::string& on) {
        return "#2=(CONVERSION_BASED_UNIT('X',#4)LENGTH_UNIT()NAMED_UNIT(#6));\n"
               "#4=LENGTH_MEASURE_WITH_UNIT(LENGTH_MEASURE(" +
               value + ")," + on + ");\n#5=(LENGTH_UNIT()NAMED_UNIT(*)SI_UNIT($,.METRE.));\n" +
               radianText();
    };
    EXPECT_EQ(unitsOf(based("2.", "#5")).length, 2.0);
    for (const char* value : {"0.", "-1.", "1.E300"}) {
        EXPECT_THROW((void)unitsOf(based(value, "#5")), StepError) << value;
    }
    EXPECT_THROW((void)unitsOf(based("2.", "#2")), StepError);
    EXPECT_THROW((void)unitsOf(based("2.", "#77")), StepError);
}

} // namespace
