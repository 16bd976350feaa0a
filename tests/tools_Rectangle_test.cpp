//! The verb "rectangle" of the demo.

#include "demo/Rectangle.h"
#include "standin/Build.h"
#include "support/CensusGuard.h"
#include "support/DemoRun.h"
#include "support/LogCapture.h"
#include "support/StepFiles.h"

#include <set>

namespace {

using namespace support;
using nlohmann::json;

const std::string kHolder = samplePath("holder.step");
const std::string kClamps = samplePath("clamp-assembly.step");

Arguments rectangle(const std::string& file, const std::string& width, const std::string& height,
                    long plane, const Arguments& more = {})
{
    Arguments arguments = {"rectangle", file, width, height, "--plane", std::to_string(plane)};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

//! The rectangle of 60 x 40 mm: counter-clockwise from its lower left corner, in metres.
void expectSides(const json& lines)
{
    const double corners[5][2] = {
        {-0.03, -0.02}, {0.03, -0.02}, {0.03, 0.02}, {-0.03, 0.02}, {-0.03, -0.02}};
    ASSERT_GE(lines.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(lines[i]["line"], i + 1);
        EXPECT_FALSE(lines[i].contains("plane"));
        for (std::size_t k = 0; k < 2; ++k) {
            EXPECT_NEAR(lines[i]["start"][k].get<double>(), corners[i][k], 1e-12) << i;
            EXPECT_NEAR(lines[i]["end"][k].get<double>(), corners[i + 1][k], 1e-12) << i;
        }
    }
}

json single(const char* kind, long line)
{
    return {{"kind", kind}, {"line", line}};
}

json pair(const char* kind, long line, const char* keypoint, long other, const char* otherKeypoint)
{
    return {{"kind", kind},
            {"line", line},
            {"keypoint", keypoint},
            {"other_line", other},
            {"other_keypoint", otherKeypoint}};
}

//! What holds in every rectangle: each corner.
json corners()
{
    return json::array(
        {pair("keypoint", 1, "end", 2, "start"), pair("keypoint", 2, "end", 3, "start"),
         pair("keypoint", 3, "end", 4, "start"), pair("keypoint", 4, "end", 1, "start")});
}

class DemoRectangle : public DemoTest
{
};

TEST_F(DemoRectangle, PlainRectangleHasItsFourSidesJoined)
{
    const json report = runJson(rectangle(kHolder, "60", "40", 1));
    EXPECT_EQ(report["part"], kHolder);
    EXPECT_EQ(report["document"], "holder");
    EXPECT_EQ(report["kind"], "part");
    EXPECT_EQ(report["container"], "sketch");
    EXPECT_EQ(report["lines"].size(), 4U);
    expectSides(report["lines"]);
    EXPECT_EQ(report["relations"], corners());
    EXPECT_EQ(report["dimensions"].size(), 0U);
    EXPECT_EQ(report["valid"], false) << "nobody asked the host to check it";
    EXPECT_FALSE(report.contains("svg"));
    EXPECT_GT(report["host_calls_per_step"]["draw"].get<long>(), 0);
}

TEST_F(DemoRectangle, ConstrainedRectangleIsTiedToTheNextDefaultPlane)
{
    const double normals[3][3] = {{0.0, 0.0, 1.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}};
    json relations = corners();
    relations.push_back(single("horizontal", 1));
    relations.push_back(single("horizontal", 3));
    relations.push_back(single("vertical", 2));
    relations.push_back(single("vertical", 4));
    relations.push_back(pair("vertical_align", 1, "middle", 5, "middle"));
    relations.push_back(pair("horizontal_align", 2, "middle", 5, "middle"));
    for (const std::string& file : {kHolder, kClamps}) {
        for (long plane = 1; plane <= 3; ++plane) {
            SCOPED_TRACE(file + " on plane " + std::to_string(plane));
            const json report = runJson(rectangle(file, "60", "40", plane, {"--constrain"}));
            EXPECT_EQ(report["plane"]["number"], plane);
            for (std::size_t i = 0; i < 3; ++i) {
                EXPECT_EQ(report["plane"]["normal"][i], normals[plane - 1][i]);
            }
            expectSides(report["lines"]);
            ASSERT_EQ(report["lines"].size(), 5U);
            EXPECT_EQ(report["lines"][4]["plane"], plane % 3 + 1);
            EXPECT_EQ(report["relations"], relations);
            ASSERT_EQ(report["dimensions"].size(), 2U);
            for (std::size_t i = 0; i < 2; ++i) {
                EXPECT_EQ(report["dimensions"][i]["line"], i + 1);
                EXPECT_NEAR(report["dimensions"][i]["value"].get<double>(), i == 0 ? 0.06 : 0.04,
                            1e-12);
                EXPECT_EQ(report["dimensions"][i]["driving"], true);
            }
        }
    }
}

TEST_F(DemoRectangle, ContainerIsTheDocumentsOrTheOneAskedFor)
{
    EXPECT_EQ(runJson(rectangle(kHolder, "60", "40", 1, {"--profile-set"}))["container"],
              "profile set");
    const json layout = runJson(rectangle(kClamps, "60", "40", 1, {"--profile-set"}));
    EXPECT_EQ(layout["container"], "layout");
    EXPECT_EQ(layout["kind"], "assembly");
}

TEST_F(DemoRectangle, ValidatedRectangleIsValid)
{
    EXPECT_EQ(runJson(rectangle(kHolder, "60", "40", 2, {"--validate"}))["valid"], true);
    EXPECT_EQ(runJson(rectangle(kClamps, "60", "40", 2, {"--validate", "--constrain"}))["valid"],
              true);
}

TEST_F(DemoRectangle, SizesAreMillimetres)
{
    const json report = runJson(rectangle(kHolder, "0.25", "1e3", 1));
    EXPECT_NEAR(report["asked"]["width"].get<double>(), 0.00025, 1e-15);
    EXPECT_NEAR(report["asked"]["height"].get<double>(), 1.0, 1e-12);
    EXPECT_NEAR(report["lines"][0]["end"][0].get<double>(), 0.000125, 1e-15);
    EXPECT_NEAR(report["lines"][1]["end"][1].get<double>(), 0.5, 1e-12);
}

TEST_F(DemoRectangle, TextShowsTheProfile)
{
    const DemoOutcome outcome =
        runDemo(rectangle(kHolder, "60", "40", 1, {"--constrain", "--validate"}));
    ASSERT_EQ(outcome.code, 0) << outcome.error;
    for (const char* row :
         {"rectangle in a sketch on plane 1, Top (xy)",
          "\n  line 1      (-30, -20) to (30, -20) mm\n",
          "\n  line 4      (-30, 20) to (-30, -20) mm\n", "\n  plane 2 ",
          "\n  connected   end of line 1, start of line 2\n", "\n  horizontal  line 3\n",
          "\n  vertical    line 4\n", "\n  equal x     middle of line 1, middle of plane 2\n",
          "\n  equal y     middle of line 2, middle of plane 2\n", " line 1, 60 mm, driving\n",
          " line 2, 40 mm, driving\n", "\n  profile     closed and valid\n", " host calls\n"}) {
        EXPECT_NE(outcome.out.find(row), std::string::npos) << row << "\n" << outcome.out;
    }
}

TEST_F(DemoRectangle, MissingPlaneIsRefused)
{
    for (const std::string& file : {kHolder, kClamps}) {
        const std::string line = expectRefused(rectangle(file, "60", "40", 4), 1);
        EXPECT_NE(line.find("there is no plane 4, the document has 3 planes"), std::string::npos)
            << line;
    }
}

TEST_F(DemoRectangle, HostsRefusalIsToldWithTheLogsLastLine)
{
    // No host draws a line of a billionth of a millimetre.
    const std::string line = expectRefused(rectangle(kHolder, "1e-9", "40", 1), 1);
    EXPECT_NE(line.find("the rectangle was not drawn, status 1: COM ERROR caught in "),
              std::string::npos)
        << line;
    EXPECT_NE(line.find("ktmdl_BldRectangularProfile::Compute"), std::string::npos) << line;
}

TEST_F(DemoRectangle, PictureIsWrittenOnSuccessAlone)
{
    const std::string path = (folder / "out.svg").u8string();
    static_cast<void>(expectRefused(rectangle(kHolder, "1e-9", "40", 1, {"--svg", path}), 1));
    EXPECT_FALSE(std::filesystem::exists(folder / "out.svg"));
    const json report = runJson(rectangle(kHolder, "60", "40", 1, {"--svg", path}));
    EXPECT_EQ(report["svg"], path);
    EXPECT_EQ(contentOf(path).rfind("<svg ", 0), 0U);
}

TEST_F(DemoRectangle, PictureNeverOverwritesThePart)
{
    const std::string part = write("part.step", contentOf(kHolder));
    for (const std::string& path : {part, (folder / "." / "part.step").u8string()}) {
        const std::string line = expectRefused(rectangle(part, "60", "40", 1, {"--svg", path}), 1);
        EXPECT_NE(line.find("the picture would overwrite"), std::string::npos) << line;
    }
    EXPECT_EQ(contentOf(part), contentOf(kHolder));
}

TEST_F(DemoRectangle, PictureTakesThePlaceOfAnOlderOneAndLeavesNothingElse)
{
    const std::string path = write("out.svg", "older");
    static_cast<void>(runJson(rectangle(kHolder, "60", "40", 1, {"--svg", path})));
    EXPECT_EQ(contentOf(path).rfind("<svg ", 0), 0U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);
}

TEST_F(DemoRectangle, PictureThatCannotBeWrittenIsRefused)
{
    for (const std::string& path :
         {(folder / "missing" / "out.svg").u8string(), folder.u8string()}) {
        const std::string line =
            expectRefused(rectangle(kHolder, "60", "40", 1, {"--svg", path}), 1);
        EXPECT_NE(line.find("can't write the picture " + path), std::string::npos) << line;
    }
}

TEST_F(DemoRectangle, FirstOfSeveralDocumentsIsTakenWithAWarning)
{
    const std::string parts = write("parts.step", clampAssemblyUpTo("#424=PRODUCT("));
    const json report = runJson(rectangle(parts, "60", "40", 1));
    EXPECT_EQ(report["document"], "base plate");
    EXPECT_EQ(report["kind"], "part");
    ASSERT_EQ(report["warnings"].size(), 1U);
    EXPECT_EQ(report["warnings"][0],
              "there are 3 parts and assemblies that nothing connects in the file, the rectangle "
              "is in the first one, \"base plate\"");
}

TEST_F(DemoRectangle, EveryFileTakesARectangle)
{
    long files = 0;
    for (const std::string& file : allStepFiles()) {
        SCOPED_TRACE(file);
        const json report =
            runJson(rectangle(file, "60", "40", files % 3 + 1, {"--constrain", "--validate"}));
        expectSides(report["lines"]);
        EXPECT_EQ(report["valid"], true);
        EXPECT_EQ(report["dimensions"].size(), 2U);
        ++files;
    }
    EXPECT_GE(files, 3);
}

//! Drawing in a document that a test has prepared.
class DemoDrawing : public HostTest
{
protected:
    DemoDrawing()
    {
        document =
            host.openPart(standin::makeModel({standin::makeBox({}, {0.1, 0.2, 0.3})}), "box.par");
        options.width = 0.06;
        options.height = 0.04;
        options.plane = 1;
    }

    //! Gives the text of the error that drawing ends in.
    std::string refusal()
    {
        try {
            static_cast<void>(demo::drawRectangle(host, document, options));
        } catch (const demo::DemoError& error) {
            return error.what();
        }
        return "drawn";
    }

    LogCapture log;
    standin::Session host;
    IDispatchPtr document;
    demo::RectangleOptions options;
};

TEST_F(DemoDrawing, PlaneThatFacesTheOtherWayIsTold)
{
    standin::RefPlaneSpec reversed;
    reversed.normal = {0.0, 0.0, -1.0};
    ASSERT_EQ(host.addRefPlane(document, reversed), 4);
    options.plane = 4;
    EXPECT_EQ(refusal(), "drawn") << "unconstrained, any plane will do";
    options.constrain = true;
    EXPECT_EQ(refusal(), "the rectangle was not drawn, status -1: no default plane of the document "
                         "has the direction of plane 4");
}

TEST_F(DemoDrawing, InvalidProfileIsTold)
{
    standin::Fault fault;
    fault.kind = standin::FaultKind::differentAnswer;
    fault.className = "Profile";
    fault.member = "End";
    fault.lasting = true;
    host.faults().add(fault);
    options.validate = true;
    for (const bool constrain : {false, true}) {
        options.constrain = constrain;
        EXPECT_EQ(refusal(),
                  "the rectangle was not drawn, status -1: the host finds that the profile is not "
                  "valid");
    }
}

TEST_F(DemoDrawing, FailingCallIsToldWithTheLogsLastLine)
{
    standin::Fault fault;
    fault.member = "AddBy2Points";
    fault.code = E_ACCESSDENIED;
    host.faults().add(fault);
    const std::string text = refusal();
    EXPECT_EQ(text.rfind("the rectangle was not drawn, status 1: COM ERROR caught in ", 0), 0U)
        << text;
    EXPECT_NE(text.find("(hr=80070005)"), std::string::npos) << text;
    ASSERT_FALSE(log.Lines().empty());
    EXPECT_EQ(text, "the rectangle was not drawn, status 1: " + log.Lines().back());
}

} // namespace
