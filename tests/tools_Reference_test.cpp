//! The verb "reference" of the demo.

#include "demo/Reference.h"
#include "standin/step/StepFile.h"
#include "support/CensusGuard.h"
#include "support/DemoRun.h"
#include "support/LogCapture.h"
#include "support/StepFiles.h"

#include <map>
#include <utility>

namespace {

using namespace support;
using nlohmann::json;
using standin::geom::Model;

const std::string kClamps = samplePath("clamp-assembly.step");

//! A way down: the numbers of the occurrences, from 1.
using Way = std::vector<long>;

std::string textOf(const Way& way)
{
    std::string text;
    for (const long number : way) {
        text += (text.empty() ? "" : "/") + std::to_string(number);
    }
    return text;
}

Way numbersIn(const json& chain)
{
    Way way;
    for (const json& link : chain) {
        EXPECT_EQ(link["level"].get<std::size_t>(), way.size() + 1);
        way.push_back(link["number"].get<long>());
    }
    return way;
}

class DemoReference : public DemoTest
{
};

TEST_F(DemoReference, DirectChildIsTheOccurrenceItself)
{
    for (const char* path : {"base", "1"}) {
        const json report = runJson({"reference", kClamps, path});
        EXPECT_EQ(report["assembly"], kClamps);
        EXPECT_EQ(report["path"], path);
        EXPECT_EQ(report["level"], 1);
        EXPECT_EQ(report["walks"], 1);
        EXPECT_EQ(report["result"], "occurrence");
        EXPECT_EQ(report["refers_to"], "base");
        ASSERT_EQ(report["chain"].size(), 1U);
        EXPECT_EQ(report["chain"][0]["occurrence"], "base");
        EXPECT_EQ(report["chain"][0]["number"], 1);
        EXPECT_EQ(report["chain"][0]["type"], "part");
        EXPECT_EQ(report["chain"][0]["document"], kClamps + "!base plate");
        EXPECT_EQ(report["as_asked"], true);
        EXPECT_EQ(report["warnings"].size(), 0U);
    }
}

TEST_F(DemoReference, NestedOccurrenceIsReferredToThroughItsAssembly)
{
    // The clamp is used twice, and the walk meets its bolt in the front clamp first: that counts
    // level 2 down, and the second place, in the side clamp, is taken.
    const json report = runJson({"reference", kClamps, "side clamp/left bolt"});
    EXPECT_EQ(report["level"], 2);
    EXPECT_EQ(report["walks"], 1);
    EXPECT_EQ(report["result"], "reference");
    EXPECT_EQ(report["refers_to"], "left bolt");
    ASSERT_EQ(report["chain"].size(), 2U);
    EXPECT_EQ(report["chain"][0]["occurrence"], "side clamp");
    EXPECT_EQ(report["chain"][0]["number"], 3);
    EXPECT_EQ(report["chain"][0]["type"], "sub-assembly");
    EXPECT_EQ(report["chain"][0]["document"], kClamps + "!clamp");
    EXPECT_EQ(report["chain"][1]["occurrence"], "left bolt");
    EXPECT_EQ(report["chain"][1]["number"], 2);
    EXPECT_EQ(report["chain"][1]["type"], "part");
    EXPECT_EQ(report["chain"][1]["document"], kClamps + "!bolt");
    EXPECT_EQ(report["asked"], report["chain"]);
    EXPECT_EQ(report["as_asked"], true);
    EXPECT_GT(report["host_calls_per_step"]["refer"].get<long>(), 0);
}

TEST_F(DemoReference, AnotherWayThanAskedIsTold)
{
    const json report = runJson({"reference", kClamps, "front clamp/left bolt"});
    EXPECT_EQ(report["as_asked"], false);
    EXPECT_EQ(numbersIn(report["asked"]), (Way{2, 2}));
    EXPECT_EQ(numbersIn(report["chain"]), (Way{3, 2}));

    const std::string text = runDemo({"reference", kClamps, "front clamp/left bolt"}).out;
    EXPECT_NE(text.find("this is not the way asked for"), std::string::npos) << text;
    EXPECT_NE(text.find("level 1  3 \"side clamp\", sub-assembly"), std::string::npos) << text;
    EXPECT_EQ(text.find("this is the way asked for"), std::string::npos) << text;
}

TEST_F(DemoReference, OccurrenceAtOnePlaceIsFoundByTheNextWalk)
{
    // Without the side clamp the bolt stands at one place only.
    const std::string single = write("single.step", clampAssemblyUpTo("#467=NEXT_ASSEMBLY"));
    const json report = runJson({"reference", single, "front clamp/left bolt"});
    EXPECT_EQ(report["walks"], 2) << "the first walk only counts the level down";
    EXPECT_EQ(report["as_asked"], true);
    EXPECT_EQ(numbersIn(report["chain"]), (Way{2, 2}));
}

TEST_F(DemoReference, TextShowsTheChainLevelByLevel)
{
    const DemoOutcome outcome = runDemo({"reference", kClamps, "3/1"});
    ASSERT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_NE(outcome.out.find("\n  level 1  3 \"side clamp\", sub-assembly, shows "
                               "clamp-assembly.step!clamp\n"
                               "  level 2  1 \"jaw\", part, shows clamp-assembly.step!jaw\n"
                               "  this is the way asked for\n"),
              std::string::npos)
        << outcome.out;
}

TEST_F(DemoReference, UnknownComponentListsWhatIsThere)
{
    for (const char* path : {"lever", "0", "4", "18446744073709551617", "-1", "1.0", " base"}) {
        const std::string line = expectRefused({"reference", kClamps, path}, 1);
        EXPECT_NE(line.find(std::string("no occurrence \"") + path + "\" in clamp-assembly.step"),
                  std::string::npos)
            << line;
        EXPECT_NE(line.find("1 \"base\", 2 \"front clamp\", 3 \"side clamp\""), std::string::npos)
            << line;
    }
    const std::string below = expectRefused({"reference", kClamps, "3/screw"}, 1);
    EXPECT_NE(below.find("in \"side clamp\"; there is 1 \"jaw\", 2 \"left bolt\""),
              std::string::npos)
        << below;
}

TEST_F(DemoReference, PartHasNothingBelowIt)
{
    const std::string line = expectRefused({"reference", kClamps, "base/1"}, 1);
    EXPECT_NE(line.find("\"base\" is a part"), std::string::npos) << line;
}

TEST_F(DemoReference, PartFileIsRefused)
{
    const std::string line = expectRefused({"reference", samplePath("holder.step"), "1"}, 1);
    EXPECT_NE(line.find("there is no assembly in it"), std::string::npos) << line;
}

TEST_F(DemoReference, NameGoesBeforeNumberAndMustBeTheOnlyOne)
{
    std::string text = contentOf(kClamps);
    const auto rename = [&text](const std::string& from, const std::string& to) {
        const std::string instance = "NEXT_ASSEMBLY_USAGE_OCCURRENCE('";
        const std::string old = instance + from + "','" + from + "'";
        const std::size_t at = text.find(old);
        ASSERT_NE(at, std::string::npos) << from;
        text.replace(at, old.size(), instance + to + "','" + to + "'");
    };
    rename("side clamp", "1");
    rename("right bolt", "left bolt");
    const std::string path = write("names.step", text);
    EXPECT_EQ(numbersIn(runJson({"reference", path, "1"})["chain"]), (Way{3}));
    const std::string line = expectRefused({"reference", path, "front clamp/left bolt"}, 1);
    EXPECT_NE(line.find("give its number: 1 \"jaw\", 2 \"left bolt\", 3 \"left bolt\""),
              std::string::npos)
        << line;
    EXPECT_EQ(numbersIn(runJson({"reference", path, "front clamp/3"})["asked"]), (Way{2, 3}));
}

TEST_F(DemoReference, FirstOfSeveralAssembliesIsTakenWithAWarning)
{
    // Without its two clamps, the assembly at the top and the clamp stand for themselves.
    const std::string text = clampAssemblyUpTo("#462=NEXT_ASSEMBLY");
    const json report = runJson({"reference", write("two.step", text), "jaw"});
    ASSERT_EQ(report["warnings"].size(), 1U) << report["warnings"];
    EXPECT_EQ(report["warnings"][0],
              "there are 2 assemblies that nothing connects in the file, this is about the first "
              "one, \"clamp\"");
    EXPECT_EQ(report["chain"][0]["document"], (folder / "two.step").u8string() + "!jaw");
}

//! Collects the ways down to every occurrence, in the order in which a walk meets them: by the
//! product that the occurrence stands in and its number there.
void collect(const Model& model, std::size_t product, const Way& above,
             std::map<std::pair<std::size_t, long>, std::vector<Way>>& places)
{
    long number = 0;
    for (const auto& occurrence : model.products[product].occurrences) {
        Way way = above;
        way.push_back(++number);
        places[{product, number}].push_back(way);
        collect(model, occurrence.product, way, places);
    }
}

//! In every file the way that comes out is the one that the counting tells: of n places, at level
//! k, the k-th one that is met, over and over.
TEST_F(DemoReference, EveryOccurrenceOfEveryFileIsReferredTo)
{
    long assemblies = 0;
    long deepest = 0;
    long otherWays = 0;
    for (const std::string& file : allStepFiles()) {
        const Model model = standin::step::readFile(file);
        std::map<std::pair<std::size_t, long>, std::vector<Way>> places;
        for (const std::size_t root : model.roots) {
            collect(model, root, {}, places);
        }
        assemblies += places.empty() ? 0 : 1;
        for (const auto& entry : places) {
            const std::vector<Way>& ways = entry.second;
            for (const Way& way : ways) {
                SCOPED_TRACE(file + " " + textOf(way));
                const json report = runJson({"reference", file, textOf(way)});
                const Way& expected = ways[(way.size() - 1) % ways.size()];
                EXPECT_EQ(numbersIn(report["asked"]), way);
                EXPECT_EQ(numbersIn(report["chain"]), expected);
                EXPECT_EQ(report["as_asked"], expected == way);
                EXPECT_EQ(report["walks"].get<std::size_t>(), (way.size() - 1) / ways.size() + 1);
                deepest = std::max(deepest, static_cast<long>(way.size()));
                otherWays += expected == way ? 0 : 1;
            }
        }
    }
    EXPECT_EQ(assemblies, stepDataFolder().empty() ? 1 : 3);
    EXPECT_EQ(deepest, stepDataFolder().empty() ? 2 : 3);
    EXPECT_GT(otherWays, 0);
}

class DemoReferenceFaults : public HostTest
{
};

TEST_F(DemoReferenceFaults, BuildersFailureIsToldWithTheLogsLastLine)
{
    const LogCapture log;
    standin::Session host;
    standin::Fault fault;
    fault.member = "CreateReference";
    fault.code = E_ACCESSDENIED;
    host.faults().add(fault);
    try {
        static_cast<void>(demo::makeReference(host, {kClamps, "3/2"}));
        ADD_FAILURE() << "made";
    } catch (const demo::DemoError& error) {
        ASSERT_FALSE(log.Lines().empty());
        EXPECT_EQ(error.what(),
                  "the reference to 3/2 was not made, status 1: " + log.Lines().back());
    }
}

TEST_F(DemoReferenceFaults, OddAnswersOfTheHostAreRefused)
{
    using standin::FaultKind;
    const std::vector<FaultKind> ofObjects = {FaultKind::fail, FaultKind::nullObject,
                                              FaultKind::noResult, FaultKind::wrongType};
    const std::map<std::string, std::vector<FaultKind>> cases = {
        {"Occurrences", ofObjects},
        {"OccurrenceDocument", ofObjects},
        {"Name", {FaultKind::fail}},
        {"GetOccurrencesInPath",
         {FaultKind::fail, FaultKind::nullObject, FaultKind::nullArray, FaultKind::emptyArray,
          FaultKind::shortArray, FaultKind::otherElementType}}};
    for (const auto& [member, kinds] : cases) {
        for (const FaultKind kind : kinds) {
            SCOPED_TRACE(testing::Message() << member << " " << static_cast<int>(kind));
            standin::Session host;
            standin::Fault fault;
            fault.member = member;
            fault.kind = kind;
            fault.lasting = true;
            host.faults().add(fault);
            bool refused = false;
            try {
                static_cast<void>(demo::makeReference(host, {kClamps, "3/2"}));
            } catch (const demo::DemoError&) {
                refused = true;
            } catch (const _com_error&) {
                refused = true;
            }
            EXPECT_TRUE(refused);
            EXPECT_TRUE(host.faults().fired());
        }
    }
}

} // namespace
