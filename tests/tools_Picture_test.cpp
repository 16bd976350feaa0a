//! The picture of a profile, read back as XML and measured.

#include "demo/ProfilePicture.h"
#include "demo/Rectangle.h"
#include "demo/Svg.h"
#include "standin/Build.h"
#include "support/CensusGuard.h"
#include "support/Xml.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace {

using namespace support;
using Elements = std::vector<XmlElement>;

//! Counts the characters of a text.
std::size_t letters(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char each) {
        return (static_cast<unsigned char>(each) & 0xC0U) != 0x80U;
    }));
}

//! A place in the picture that something covers.
struct Area
{
    double left{};
    double top{};
    double right{};
    double bottom{};

    [[nodiscard]] bool meets(const Area& other) const
    {
        return left < other.right && other.left < right && top < other.bottom && other.top < bottom;
    }
    [[nodiscard]] bool isIn(const Area& other) const
    {
        return left >= other.left && right <= other.right && top >= other.top &&
               bottom <= other.bottom;
    }
};

//! Gives the place of a text: letters of 0.62 sizes, up to 0.75 above the line and 0.25 below it.
//! A text may be turned upwards.
Area areaOf(const XmlElement& text)
{
    const double size = text.number("font-size");
    const double length = static_cast<double>(letters(text.text)) * size * 0.62;
    const std::string anchor = text.attributes.at("text-anchor");
    const double before = anchor == "start" ? 0.0 : anchor == "middle" ? length / 2.0 : length;
    const double x = text.number("x");
    const double y = text.number("y");
    if (text.attributes.count("transform") == 0) {
        return {x - before, y - size * 0.75, x - before + length, y + size * 0.25};
    }
    EXPECT_EQ(text.attributes.at("transform").rfind("rotate(-90.00 ", 0), 0U);
    return {x - size * 0.75, y + before - length, x + size * 0.25, y + before};
}

class DemoPicture : public HostTest
{
protected:
    DemoPicture()
    {
        document =
            host.openPart(standin::makeModel({standin::makeBox({}, {0.1, 0.2, 0.3})}), "box.par");
    }

    //! Draws a rectangle. @param width  millimetres, as height
    standin::ProfileView drawn(double width, double height, bool constrain)
    {
        demo::RectangleOptions options;
        options.width = width / 1000.0;
        options.height = height / 1000.0;
        options.plane = 1;
        options.constrain = constrain;
        options.validate = constrain;
        return demo::drawRectangle(host, document, options);
    }

    Elements picture(double width, double height, bool constrain)
    {
        return XmlReader(demo::profilePicture(drawn(width, height, constrain), "box.par")).read();
    }

    standin::Session host;
    IDispatchPtr document;
};

Elements of(const Elements& all, const std::string& group, const std::string& name)
{
    Elements found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found),
                 [&](const XmlElement& each) { return each.group == group && each.name == name; });
    return found;
}

std::set<std::string> texts(const Elements& all, const std::string& group)
{
    std::set<std::string> found;
    for (const XmlElement& each : of(all, group, "text")) {
        found.insert(each.text);
    }
    return found;
}

TEST_F(DemoPicture, HasATitleAndADescriptionForThoseWhoCannotSeeIt)
{
    const Elements all = picture(60.0, 40.0, true);
    ASSERT_GE(all.size(), 3U);
    EXPECT_EQ(all[0].name, "svg");
    EXPECT_EQ(all[0].attributes.at("role"), "img");
    EXPECT_EQ(all[0].attributes.at("aria-labelledby"), "title desc");
    EXPECT_EQ(all[1].name, "title");
    EXPECT_EQ(all[1].attributes.at("id"), "title");
    EXPECT_EQ(all[1].text, "Profile on plane 1, Top (xy)");
    EXPECT_EQ(all[2].name, "desc");
    EXPECT_EQ(all[2].attributes.at("id"), "desc");
    EXPECT_NE(all[2].text.find("line 1 from (-30, -20) to (30, -20)."), std::string::npos)
        << all[2].text;
    EXPECT_NE(all[2].text.find("line 2 is dimensioned 40."), std::string::npos) << all[2].text;
}

TEST_F(DemoPicture, SidesAreDrawnToScaleAndClosed)
{
    const Elements sides = of(picture(60.0, 40.0, false), "sides", "line");
    ASSERT_EQ(sides.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(sides[i].number("x2"), sides[(i + 1) % 4].number("x1"));
        EXPECT_EQ(sides[i].number("y2"), sides[(i + 1) % 4].number("y1"));
    }
    const double width = sides[0].number("x2") - sides[0].number("x1");
    const double height = sides[1].number("y1") - sides[1].number("y2");
    EXPECT_GT(width, 300.0) << "large enough to read";
    EXPECT_NEAR(width / height, 60.0 / 40.0, 1e-3) << "upwards is up";
    EXPECT_EQ(sides[0].number("y1"), sides[0].number("y2"));
}

TEST_F(DemoPicture, AxesGoThroughTheOriginWithNamesAndArrows)
{
    const Elements all = picture(60.0, 40.0, false);
    EXPECT_EQ(texts(all, "axes"), (std::set<std::string>{"x", "y"}));
    EXPECT_EQ(of(all, "axes", "polygon").size(), 2U);
    const Elements axes = of(all, "axes", "line");
    const Elements sides = of(all, "sides", "line");
    ASSERT_EQ(axes.size(), 2U);
    EXPECT_NEAR(axes[0].number("y1"), (sides[1].number("y1") + sides[1].number("y2")) / 2.0, 0.02);
    EXPECT_NEAR(axes[1].number("x1"), (sides[0].number("x1") + sides[0].number("x2")) / 2.0, 0.02);
    EXPECT_GT(axes[0].number("x2"), sides[0].number("x2"));
    EXPECT_LT(axes[1].number("y2"), sides[2].number("y1"));
}

TEST_F(DemoPicture, SizesStandOutsideWithTheirValues)
{
    for (const bool constrain : {false, true}) {
        const Elements all = picture(60.0, 40.5, constrain);
        EXPECT_EQ(texts(all, "sizes"), (std::set<std::string>{"60 mm", "40.5 mm"}));
        EXPECT_EQ(of(all, "sizes", "polygon").size(), 4U) << "an arrowhead at each end";
        const Elements lines = of(all, "sizes", "line");
        const Elements sides = of(all, "sides", "line");
        ASSERT_EQ(lines.size(), 6U) << "an arrow and two extension lines each";
        EXPECT_EQ(lines[2].number("x1"), sides[0].number("x1"));
        EXPECT_EQ(lines[2].number("x2"), sides[0].number("x2"));
        EXPECT_GT(lines[2].number("y1"), sides[0].number("y1")) << "below";
        EXPECT_EQ(lines[5].number("y1"), sides[1].number("y1"));
        EXPECT_EQ(lines[5].number("y2"), sides[1].number("y2"));
        EXPECT_GT(lines[5].number("x1"), sides[1].number("x1")) << "to the right";
        const std::set<std::string> legend = texts(all, "legend");
        EXPECT_EQ(legend.count("measured, no dimension"), constrain ? 0U : 1U);
        EXPECT_EQ(std::count_if(legend.begin(), legend.end(),
                                [](const std::string& row) {
                                    return row.find("mm, driving") != std::string::npos;
                                }),
                  constrain ? 2 : 0);
    }
}

TEST_F(DemoPicture, EveryRelationHasAMarkAndTheLegendExplainsIt)
{
    Elements all = picture(60.0, 40.0, false);
    EXPECT_EQ(of(all, "relations", "rect").size(), 4U);
    EXPECT_EQ(of(all, "legend", "rect").size(), 1U);
    EXPECT_EQ(texts(all, "legend").count("connected: 1-2, 2-3, 3-4, 4-1"), 1U);
    EXPECT_EQ(of(all, "planes", "line").size(), 0U);

    all = picture(60.0, 40.0, true);
    EXPECT_EQ(of(all, "relations", "rect").size(), 10U);
    EXPECT_EQ(of(all, "legend", "rect").size(), 5U);
    for (const char* row :
         {"horizontal: 1, 3", "vertical: 2, 4", "connected: 1-2, 2-3, 3-4, 4-1",
          "equal x: middle of 1, middle of plane 2", "equal y: middle of 2, middle of plane 2",
          "plane 2, seen from its edge", "closed and valid"}) {
        EXPECT_EQ(texts(all, "legend").count(row), 1U) << row;
    }
    EXPECT_EQ(texts(all, "planes"), (std::set<std::string>{"plane 2"}));
    EXPECT_EQ(of(all, "alignments", "line").size(), 2U);
}

TEST_F(DemoPicture, ProjectedPlaneIsDrawnThroughTheWholeProfile)
{
    // Wider than the host's line for the plane is long, and much smaller than it.
    for (const double height : {4000.0, 4.0}) {
        const Elements all = picture(height, height, true);
        const Elements planes = of(all, "planes", "line");
        const Elements sides = of(all, "sides", "line");
        ASSERT_EQ(planes.size(), 1U);
        EXPECT_NEAR(planes[0].number("x1"), planes[0].number("x2"), 0.02);
        EXPECT_GT(planes[0].number("y1"), sides[0].number("y1"));
        EXPECT_LT(planes[0].number("y2"), sides[2].number("y1"));
    }
}

TEST_F(DemoPicture, SlenderRectangleIsWidenedAndTheLegendSaysSo)
{
    const std::string widened = "not to scale: the short side is drawn longer";
    for (const auto& [width, height] : {std::pair(1000.0, 1.0), std::pair(0.5, 1000.0)}) {
        const Elements all = picture(width, height, true);
        const Elements sides = of(all, "sides", "line");
        EXPECT_GE(sides[0].number("x2") - sides[0].number("x1"), 60.0);
        EXPECT_GE(sides[1].number("y1") - sides[1].number("y2"), 60.0);
        EXPECT_EQ(texts(all, "legend").count(widened), 1U);
        EXPECT_EQ(texts(all, "legend").count("drawn to scale"), 0U);
    }
    EXPECT_EQ(texts(picture(60.0, 40.0, true), "legend").count(widened), 0U);
}

TEST_F(DemoPicture, NothingThatIsReadOverlapsOrLeavesThePicture)
{
    const double sizes[][2] = {{60.0, 40.0},   {40.0, 60.0},   {25.0, 25.0},   {0.5, 12.0},
                               {1000.0, 1.0},  {1.0, 1000.0},  {3.0, 20.0},    {1234.567, 987.6},
                               {0.001, 0.002}, {99999.9, 1.5}, {1.5, 99999.9}, {200.0, 30.0}};
    for (const auto& size : sizes) {
        for (const bool constrain : {false, true}) {
            SCOPED_TRACE(testing::Message() << size[0] << " x " << size[1] << " " << constrain);
            const Elements all = picture(size[0], size[1], constrain);
            const Area whole{0.0, 0.0, all[0].number("width"), all[0].number("height")};
            std::vector<std::pair<std::string, Area>> areas;
            for (const XmlElement& each : all) {
                const bool isNumber = each.group == "numbers" && each.name == "circle";
                if (each.name == "text" && each.group != "numbers") {
                    areas.emplace_back(each.text, areaOf(each));
                } else if (each.name == "rect" && each.group == "relations") {
                    const double x = each.number("x");
                    const double y = each.number("y");
                    areas.emplace_back(
                        "mark", Area{x, y, x + each.number("width"), y + each.number("height")});
                } else if (isNumber) {
                    const double x = each.number("cx");
                    const double y = each.number("cy");
                    const double r = each.number("r");
                    areas.emplace_back("number", Area{x - r, y - r, x + r, y + r});
                }
            }
            EXPECT_GT(areas.size(), 12U);
            std::vector<Area> strokes;
            for (const char* group : {"sides", "axes", "sizes"}) {
                for (const XmlElement& line : of(all, group, "line")) {
                    const auto [left, right] =
                        std::minmax<double>({line.number("x1"), line.number("x2")});
                    const auto [top, bottom] =
                        std::minmax<double>({line.number("y1"), line.number("y2")});
                    strokes.push_back({left - 0.5, top - 0.5, right + 0.5, bottom + 0.5});
                }
            }
            EXPECT_EQ(strokes.size(), 4U + 2U + 6U);
            for (std::size_t i = 0; i < areas.size(); ++i) {
                for (const Area& stroke : strokes) {
                    EXPECT_FALSE(areas[i].second.meets(stroke))
                        << "a line through " << areas[i].first;
                }
                EXPECT_TRUE(areas[i].second.isIn(whole)) << areas[i].first;
                for (std::size_t k = 0; k < i; ++k) {
                    EXPECT_FALSE(areas[i].second.meets(areas[k].second))
                        << areas[i].first << " over " << areas[k].first;
                }
            }
        }
    }
}

TEST_F(DemoPicture, TextsAreEscaped)
{
    EXPECT_EQ(demo::xmlText("a<b>&\"c\" \x01\t\xC3\xBC"),
              "a&lt;b&gt;&amp;&quot;c&quot;   \xC3\xBC");
    EXPECT_EQ(demo::xmlText("\xFFz"), "\xEF\xBF\xBDz") << "no UTF-8";
    EXPECT_EQ(demo::xmlText(std::string("a\0b", 3)), "a b");

    standin::ProfileView profile = drawn(60.0, 40.0, true);
    profile.plane.name = "</title><script>";
    profile.dimensions.front().name = "\"1\" & <2>";
    const Elements all = XmlReader(demo::profilePicture(profile, "<&\">\x02.step")).read();
    EXPECT_EQ(all[1].text, "Profile on plane 1, </title><script>");
    EXPECT_EQ(texts(all, "heading").count("sketch in <&\"> .step"), 1U);
    EXPECT_EQ(texts(all, "legend").count("\"1\" & <2>: line 1, 60 mm, driving"), 1U);
}

TEST_F(DemoPicture, LongNamesAreShortened)
{
    std::string name;
    for (int i = 0; i < 100; ++i) {
        name += "\xE5\xBA\x8A";
    }
    const Elements all = XmlReader(demo::profilePicture(drawn(60.0, 40.0, false), name)).read();
    for (const XmlElement& each : of(all, "heading", "text")) {
        EXPECT_LE(each.text.size(), 90U);
        EXPECT_EQ(each.text.find("\xEF\xBF\xBD"), std::string::npos) << "cut within a letter";
    }
    EXPECT_NE(all[2].text.find(name), std::string::npos) << "in full in the description";
}

} // namespace
