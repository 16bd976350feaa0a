//! The verb "box" of the demo.

#include "demo/Box.h"
#include "support/CensusGuard.h"
#include "support/DemoRun.h"
#include "support/LogCapture.h"
#include "support/StepFiles.h"

#include <cmath>

namespace {

namespace fs = std::filesystem;

using namespace support;
using nlohmann::json;

constexpr double kTolerance = 1e-9; // metres

const std::string kHolder = samplePath("holder.step");
const std::string kClamps = samplePath("clamp-assembly.step");

//! @param low  millimetres, as high
void expectBox(const json& box, const std::vector<double>& low, const std::vector<double>& high)
{
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(box.at("min").at(i).get<double>(), low[i] / 1000.0, kTolerance) << i;
        EXPECT_NEAR(box.at("max").at(i).get<double>(), high[i] / 1000.0, kTolerance) << i;
    }
}

class DemoBox : public DemoTest
{
};

TEST_F(DemoBox, HolderIsMeasured)
{
    const json report = runJson({"box", kHolder});
    EXPECT_EQ(report["file"], kHolder);
    EXPECT_EQ(report["kind"], "part");
    ASSERT_EQ(report["documents"].size(), 1U);
    EXPECT_EQ(report["documents"][0]["name"], "holder");
    EXPECT_EQ(report["documents"][0]["kind"], "part");
    EXPECT_EQ(report["documents"][0]["occurrences"], 0);
    expectBox(report["box"], {0.0, 0.0, 0.0}, {60.0, 40.0, 25.0});
    EXPECT_EQ(report["documents"][0]["box"], report["box"]);
    EXPECT_GT(report["host_calls"].get<long>(), 0);
    EXPECT_GT(report["host_calls_per_step"]["measure"].get<long>(), 0);
    EXPECT_GE(report["seconds"]["measure"].get<double>(), 0.0);
    EXPECT_EQ(report["warnings"].size(), 0U);
}

TEST_F(DemoBox, AssemblyUnitesItsDocumentsWhereverTheyArePlaced)
{
    // The plate reaches from the origin to (80, 50, 8), the jaw from (-15, -6, 0) to (15, 6, 10),
    // the bolt from (-4.5, -4.5, -14) to (4.5, 4.5, 4), each where it was drawn.
    const json report = runJson({"box", kClamps});
    EXPECT_EQ(report["kind"], "assembly");
    EXPECT_EQ(report["documents"][0]["name"], "clamp assembly");
    EXPECT_EQ(report["documents"][0]["occurrences"], 3);
    EXPECT_EQ(report["documents"][0]["occurrences_on_all_levels"], 3 + 2 * 3);
    expectBox(report["box"], {-15.0, -6.0, -14.0}, {80.0, 50.0, 10.0});
}

TEST_F(DemoBox, TextTellsWhatWasMeasuredInMillimetres)
{
    const DemoOutcome part = runDemo({"box", kHolder});
    ASSERT_EQ(part.code, 0) << part.error;
    EXPECT_NE(part.out.find("holder.step: part "), std::string::npos) << part.out;
    EXPECT_NE(part.out.find("box 60.00 x 40.00 x 25.00 mm"), std::string::npos) << part.out;
    EXPECT_NE(part.out.find("from (0.00, 0.00, 0.00) to (60.00, 40.00, 25.00) mm"),
              std::string::npos)
        << part.out;
    EXPECT_EQ(part.out.find("placements"), std::string::npos) << part.out;
    EXPECT_NE(part.out.find(" host calls\n"), std::string::npos) << part.out;

    const DemoOutcome assembly = runDemo({"box", kClamps});
    ASSERT_EQ(assembly.code, 0) << assembly.error;
    EXPECT_NE(assembly.out.find("assembly, 3 occurrences, 9 in all"), std::string::npos)
        << assembly.out;
    EXPECT_NE(assembly.out.find("box 95.00 x 56.00 x 24.00 mm"), std::string::npos);
    EXPECT_NE(assembly.out.find(
                  "boxes are united in each document's own coordinates; placements don't count\n"),
              std::string::npos)
        << assembly.out;
}

TEST_F(DemoBox, ConstructionsAreAskedForOnRequestAlone)
{
    const json without = runJson({"box", kHolder});
    const json with = runJson({"box", kHolder, "--constructions"});
    EXPECT_EQ(without["constructions"], false);
    EXPECT_EQ(with["constructions"], true);
    EXPECT_EQ(with["box"], without["box"]) << "a STEP file brings no construction";
    EXPECT_GT(with["host_calls"].get<long>(), without["host_calls"].get<long>());
}

TEST_F(DemoBox, UnconnectedDocumentsAreMeasuredOneByOneAndUnited)
{
    // Without the assembly at the top, plate and clamp are left.
    const std::string two = write("two.step", clampAssemblyUpTo("#450=PRODUCT("));
    json report = runJson({"box", two});
    EXPECT_EQ(report["kind"], "several");
    ASSERT_EQ(report["documents"].size(), 2U);
    EXPECT_EQ(report["documents"][0]["name"], "base plate");
    EXPECT_EQ(report["documents"][0]["kind"], "part");
    expectBox(report["documents"][0]["box"], {0.0, 0.0, 0.0}, {80.0, 50.0, 8.0});
    EXPECT_EQ(report["documents"][1]["name"], "clamp");
    EXPECT_EQ(report["documents"][1]["kind"], "assembly");
    EXPECT_EQ(report["documents"][1]["occurrences"], 3);
    expectBox(report["documents"][1]["box"], {-15.0, -6.0, -14.0}, {15.0, 6.0, 10.0});
    expectBox(report["box"], {-15.0, -6.0, -14.0}, {80.0, 50.0, 10.0});

    // Without the clamp, too, there are three parts.
    const std::string three = write("three.step", clampAssemblyUpTo("#424=PRODUCT("));
    report = runJson({"box", three});
    ASSERT_EQ(report["documents"].size(), 3U);
    expectBox(report["documents"][2]["box"], {-4.5, -4.5, -14.0}, {4.5, 4.5, 4.0});
    expectBox(report["box"], {-15.0, -6.0, -14.0}, {80.0, 50.0, 10.0});
    const std::string text = runDemo({"box", three}).out;
    EXPECT_NE(text.find("three.step: 3 documents that nothing connects"), std::string::npos);
    EXPECT_NE(text.find("\n  bolt: part, box 9.00 x 9.00 x 18.00 mm\n"), std::string::npos) << text;
}

TEST_F(DemoBox, PartWithSeveralBodiesWarns)
{
    // The bolt's body stands in the jaw's shape as well.
    std::string text = contentOf(kClamps);
    const std::string jaw = "=ADVANCED_BREP_SHAPE_REPRESENTATION('jaw',(#27,";
    const std::size_t at = text.find(jaw);
    ASSERT_NE(at, std::string::npos);
    text.insert(at + jaw.size(), "#421,");
    const json report = runJson({"box", write("bodies.step", text)});
    ASSERT_EQ(report["warnings"].size(), 1U) << report["warnings"];
    EXPECT_EQ(report["warnings"][0], "part \"jaw\" has 2 bodies, its box is that of the first one");
}

//! The corners of the file's vertices, all parts in their own coordinates, from the ground truth.
TEST_F(DemoBox, RealFilesHoldTheirVertices)
{
    const std::string data = stepDataFolder();
    if (data.empty()) {
        GTEST_SKIP() << "KTMDL_STEP_DATA is not set";
    }
    const json truth = json::parse(contentOf(data + "/ground-truth.json"));
    long assemblies = 0;
    for (const std::string& file : stepFilesIn(data)) {
        SCOPED_TRACE(file);
        const json& known = truth.at(fs::u8path(file).filename().u8string());
        const json report = runJson({"box", file});
        ASSERT_EQ(report["documents"].size(), 1U);
        const json& corners = known.at("vertex_point_box_in_millimetres");
        double diagonal = 0.0;
        for (std::size_t i = 0; i < 3; ++i) {
            const double size = corners["max"][i].get<double>() - corners["min"][i].get<double>();
            diagonal = std::hypot(diagonal, size);
        }
        // Round faces bulge beyond the vertices, but not far.
        const double slack = diagonal * 1e-6;
        const double bulge = diagonal * 0.2;
        for (std::size_t i = 0; i < 3; ++i) {
            const double low = corners["min"][i].get<double>();
            const double high = corners["max"][i].get<double>();
            const double min = report["box"]["min"][i].get<double>() * 1000.0;
            const double max = report["box"]["max"][i].get<double>() * 1000.0;
            EXPECT_LE(min, low + slack) << i;
            EXPECT_GE(max, high - slack) << i;
            EXPECT_GE(min, low - bulge) << i;
            EXPECT_LE(max, high + bulge) << i;
        }
        const bool assembly =
            known.at("assembly").at("next_assembly_usage_occurrences").get<long>() > 0;
        EXPECT_EQ(report["kind"], assembly ? "assembly" : "part");
        if (assembly) {
            ++assemblies;
            const json& tree = known["assembly"];
            EXPECT_EQ(report["documents"][0]["occurrences_on_all_levels"].get<long>(),
                      tree["occurrences_in_expanded_tree"].get<long>() -
                          tree["root_product_definitions"].get<long>());
        }
    }
    EXPECT_EQ(assemblies, 2);
}

//! Measuring in a host that fails.
class DemoBoxFaults : public HostTest
{
protected:
    DemoBoxFaults()
    {
        standin::Fault fault;
        fault.member = "GetExactRange";
        fault.code = E_ACCESSDENIED;
        host.faults().add(fault);
    }

    LogCapture log;
    standin::Session host;
};

TEST_F(DemoBoxFaults, BuildersFailureIsToldWithTheLogsLastLine)
{
    try {
        static_cast<void>(demo::measureBox(host, {kHolder, false}));
        ADD_FAILURE() << "measured";
    } catch (const demo::DemoError& error) {
        ASSERT_FALSE(log.Lines().empty());
        EXPECT_EQ(error.what(),
                  "the box of " + kHolder + " was not built, status 1: " + log.Lines().back());
        EXPECT_NE(log.Lines().back().find("hr=80070005"), std::string::npos);
    }
}

TEST_F(DemoBoxFaults, OccurrenceThatIsLeftOutWarns)
{
    // The plate, which comes first, can't be measured: the box starts from the origin.
    const demo::BoxReport report = demo::measureBox(host, {kClamps, false});
    ASSERT_EQ(log.Lines().size(), 1U);
    ASSERT_EQ(report.warnings.size(), 1U);
    EXPECT_EQ(report.warnings[0], "left out: " + log.Lines()[0]);
    EXPECT_NEAR(report.box.max[0], 0.015, kTolerance) << "the jaw";
    EXPECT_NE(demo::boxText(report).find("\nwarning: left out: COM ERROR caught in "),
              std::string::npos);
}

} // namespace
