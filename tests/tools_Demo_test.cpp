//! The demo as its user sees it: arguments in, text, JSON and exit code out.

#include "demo/CommandLine.h"
#include "standin/Census.h"
#include "support/StepFiles.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace {

namespace fs = std::filesystem;

struct Outcome
{
    int code{};
    std::string out;
    std::string error;
};

Outcome runDemo(const std::vector<std::string>& arguments)
{
    std::ostringstream out;
    std::ostringstream error;
    Outcome outcome;
    outcome.code = demo::run(arguments, out, error);
    outcome.out = out.str();
    outcome.error = error.str();
    EXPECT_EQ(standin::processCensus().live(), 0) << standin::processCensus().text();
    return outcome;
}

nlohmann::json runJson(std::vector<std::string> arguments)
{
    arguments.emplace_back("--json");
    const Outcome outcome = runDemo(arguments);
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    return nlohmann::json::parse(outcome.out);
}

long lines(const std::string& text)
{
    return static_cast<long>(std::count(text.begin(), text.end(), '\n'));
}

//! A folder of its own, removed with its content.
class Demo : public testing::Test
{
protected:
    void SetUp() override
    {
        folder = fs::temp_directory_path() /
                 (std::string("ktmdl-test-") +
                  testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(folder);
        fs::create_directories(folder);
    }
    void TearDown() override { fs::remove_all(folder); }

    std::string write(const std::string& name, const std::string& content)
    {
        const fs::path path = folder / fs::u8path(name);
        std::ofstream(path, std::ios::binary) << content;
        return path.u8string();
    }

    //! The demo refuses a file in one line that names it, and exits with 1.
    void expectRefused(const std::string& path)
    {
        const Outcome outcome = runDemo({path});
        EXPECT_EQ(outcome.code, 1);
        EXPECT_EQ(lines(outcome.error), 1) << outcome.error;
        EXPECT_NE(outcome.error.find(fs::u8path(path).filename().u8string()), std::string::npos)
            << outcome.error;
        EXPECT_EQ(outcome.out, "");
    }

    fs::path folder;
};

const std::string kSample = std::string(KT_SOURCE_DIR) + "/samples/holder.step";
const std::string kChanged = std::string(KT_SOURCE_DIR) + "/samples/holder-changed.step";

TEST_F(Demo, MissingFileIsRefused)
{
    expectRefused((folder / "missing.step").u8string());
}

TEST_F(Demo, FolderIsRefused)
{
    expectRefused(folder.u8string());
}

TEST_F(Demo, EmptyFileIsRefused)
{
    expectRefused(write("empty.step", ""));
}

TEST_F(Demo, PictureIsRefused)
{
    // The first bytes of every JPEG file in the JFIF format.
    const std::string jpeg("\xFF\xD8\xFF\xE0\x00\x10JFIF\x00\x01\x01\x00\x00\x01\x00\x01\x00\x00",
                           20);
    expectRefused(write("picture.jpg", jpeg + std::string(4096, '\x5A')));
}

TEST_F(Demo, HugeFileOfZerosIsRefused)
{
    const std::string path = write("zeros.step", "");
    fs::resize_file(fs::u8path(path), 2147483648U);
    expectRefused(path);
}

TEST_F(Demo, CutFileIsRefusedWithItsLine)
{
    std::ifstream file(kSample, std::ios::binary);
    const std::string whole((std::istreambuf_iterator<char>(file)),
                            std::istreambuf_iterator<char>());
    const std::string path = write("cut.step", whole.substr(0, whole.size() / 2));
    expectRefused(path);
    EXPECT_NE(runDemo({path}).error.find("line"), std::string::npos);
}

TEST_F(Demo, WrongArgumentsExitWithTwo)
{
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--no-such-option"}, {"a", "b", "c"}, {"--out"}}) {
        const Outcome outcome = runDemo(arguments);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(lines(outcome.error), 1) << outcome.error;
    }
}

TEST_F(Demo, HelpExitsWithZero)
{
    const Outcome outcome = runDemo({"--help"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_NE(outcome.out.find("PART"), std::string::npos);
}

TEST_F(Demo, EachStepIsOnALine)
{
    const Outcome outcome = runDemo({kSample});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    std::istringstream text(outcome.out);
    for (const char* step :
         {"open", "remember", "measure", "chain", "save", "drop", "read", "bind", "compare"}) {
        std::string line;
        ASSERT_TRUE(std::getline(text, line));
        EXPECT_EQ(line.rfind(step, 0), 0U) << line;
    }
}

TEST_F(Demo, JsonHasTheAgreedKeys)
{
    const nlohmann::json json = runJson({kSample});
    for (const char* key :
         {"part", "bodies", "faces", "edges", "references", "box", "loops", "saved_bytes",
          "read_back", "bound", "unbound", "changes", "host_calls", "seconds"}) {
        EXPECT_TRUE(json.contains(key)) << key;
    }
    EXPECT_EQ(json["part"], kSample);
    EXPECT_EQ(json["box"]["min"].size(), 3U);
    EXPECT_EQ(json["box"]["max"].size(), 3U);
    ASSERT_EQ(json["loops"].size(), json["faces"].get<std::size_t>());
    for (const char* key : {"face", "surface", "closed", "leftover"}) {
        EXPECT_TRUE(json["loops"][0].contains(key)) << key;
    }
    EXPECT_EQ(json["references"].get<long>(),
              json["bodies"].get<long>() + json["faces"].get<long>() + json["edges"].get<long>());
}

TEST_F(Demo, SamePartIsFoundAgainWithoutChanges)
{
    for (const std::string& file : support::allStepFiles()) {
        SCOPED_TRACE(file);
        const nlohmann::json json = runJson({file});
        EXPECT_EQ(json["read_back"], json["references"]);
        EXPECT_EQ(json["bound"], json["references"]);
        EXPECT_EQ(json["unbound"], 0);
        EXPECT_EQ(json["changes"].size(), 0U) << json["changes"].dump();
        EXPECT_GT(json["host_calls"].get<long>(), json["references"].get<long>());
    }
}

TEST_F(Demo, ChangedSampleLosesAHoleAndKeepsTheRest)
{
    const nlohmann::json json = runJson({kSample, kChanged});
    EXPECT_GT(json["bound"].get<long>(), json["references"].get<long>() / 2);
    EXPECT_GT(json["unbound"].get<long>(), 0) << "a hole is gone, so its references are";
    ASSERT_GE(json["changes"].size(), 2U);
    EXPECT_EQ(json["changes"][0]["object"], "body 1");
    EXPECT_GT(json["changes"][0]["gone"].get<long>(), 0);
}

TEST_F(Demo, EmbeddedSampleIsPlayedWithoutArguments)
{
    nlohmann::json embedded = runJson({});
    nlohmann::json files = runJson({kSample, kChanged});
    for (const char* key : {"part", "changed", "seconds", "saved_bytes"}) {
        embedded.erase(key); // the names differ, and the archive holds the document's name
        files.erase(key);
    }
    EXPECT_EQ(embedded, files);
}

TEST_F(Demo, OutKeepsTheArchive)
{
    const fs::path out = folder / fs::u8path("k\xC3\xBC"
                                             "che \xE5\xBA\x8A");
    const Outcome outcome = runDemo({kSample, "--out", out.u8string(), "--json"});
    ASSERT_EQ(outcome.code, 0) << outcome.error;
    const auto saved = nlohmann::json::parse(outcome.out)["saved_bytes"].get<std::uintmax_t>();
    EXPECT_EQ(fs::file_size(out / "references.ktm"), saved);
}

TEST_F(Demo, NothingIsKeptWithoutOut)
{
    const auto leftovers = [] {
        long number = 0;
        for (const auto& entry : fs::directory_iterator(fs::temp_directory_path())) {
            number += entry.path().filename().string().rfind("ktmdl-demo-", 0) == 0 ? 1 : 0;
        }
        return number;
    };
    const long before = leftovers();
    EXPECT_EQ(runDemo({kSample}).code, 0);
    EXPECT_EQ(leftovers(), before);
}

TEST_F(Demo, OutThatIsAFileIsRefused)
{
    const std::string file = write("file", "content");
    const Outcome outcome = runDemo({kSample, "--out", file});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(lines(outcome.error), 1) << outcome.error;
}

} // namespace
