//! The demo as its user sees it: arguments in, text, JSON and exit code out.

#include "support/DemoRun.h"
#include "support/StepFiles.h"

#include <cstdint>
#include <locale>
#include <map>
#include <regex>

namespace {

namespace fs = std::filesystem;

using namespace support;

class Demo : public DemoTest
{
protected:
    //! Every verb refuses a file in one line that names it, and exits with 1.
    void expectUnusable(const std::string& path)
    {
        const std::string name = fs::u8path(path).filename().u8string();
        for (const Arguments& arguments : {Arguments{path},
                                           {"box", path},
                                           {"reference", path, "1"},
                                           {"rectangle", path, "60", "40", "--plane", "1"}}) {
            const std::string line = expectRefused(arguments, 1);
            EXPECT_NE(line.find(name), std::string::npos) << arguments.front() << ": " << line;
        }
    }
};

const std::string kSample = samplePath("holder.step");
const std::string kChanged = samplePath("holder-changed.step");

TEST_F(Demo, MissingFileIsRefused)
{
    expectUnusable((folder / "missing.step").u8string());
}

TEST_F(Demo, FolderIsRefused)
{
    expectUnusable(folder.u8string());
}

TEST_F(Demo, EmptyFileIsRefused)
{
    expectUnusable(write("empty.step", ""));
}

TEST_F(Demo, PictureIsRefused)
{
    // The first bytes of every JPEG file in the JFIF format.
    const std::string jpeg("\xFF\xD8\xFF\xE0\x00\x10JFIF\x00\x01\x01\x00\x00\x01\x00\x01\x00\x00",
                           20);
    expectUnusable(write("picture.jpg", jpeg + std::string(4096, '\x5A')));
}

TEST_F(Demo, HugeFileOfZerosIsRefused)
{
    const std::string path = write("zeros.step", "");
    fs::resize_file(fs::u8path(path), 2147483648U);
    expectUnusable(path);
}

TEST_F(Demo, CutFileIsRefusedWithItsLine)
{
    const std::string whole = contentOf(kSample);
    const std::string path = write("cut.step", whole.substr(0, whole.size() / 2));
    expectUnusable(path);
    EXPECT_NE(runDemo({path}).error.find("line"), std::string::npos);
    EXPECT_NE(runDemo({"box", path}).error.find("line"), std::string::npos);
}

TEST_F(Demo, WrongArgumentsExitWithTwo)
{
    for (const Arguments& arguments :
         {Arguments{"--no-such-option"},
          {"a", "b", "c"},
          {"--out"},
          {"box"},
          {"box", kSample, "another"},
          {"box", kSample, "--no-such-option"},
          {"box", kSample, "--svg", "out.svg"},
          {"rectangle", kSample, "60", "40"},
          {"rectangle", kSample, "60", "--plane", "1"},
          {"rectangle", kSample, "60", "40", "1", "--plane", "1"},
          {"rectangle", kSample, "60", "40", "--plane"},
          {"rectangle", kSample, "60", "40", "--plane", "0"},
          {"rectangle", kSample, "60", "40", "--plane", "-1"},
          {"rectangle", kSample, "60", "40", "--plane", "1.5"},
          {"rectangle", kSample, "60", "40", "--plane", "99999999999999999999"},
          {"rectangle", kSample, "60", "40", "--plane", "1", "--constructions"},
          {"rectangle", kSample, "60", "40", "--plane", "1", "--svg"},
          {"rectangle", kSample, "0", "40", "--plane", "1"},
          {"rectangle", kSample, "60", "0", "--plane", "1"},
          {"rectangle", kSample, "-60", "40", "--plane", "1"},
          {"rectangle", kSample, "60", "-40", "--plane", "1"},
          {"rectangle", kSample, "nan", "40", "--plane", "1"},
          {"rectangle", kSample, "60", "inf", "--plane", "1"},
          {"rectangle", kSample, "60", "1e999", "--plane", "1"},
          {"rectangle", kSample, "60mm", "40", "--plane", "1"},
          {"rectangle", kSample, "6,5", "40", "--plane", "1"},
          {"rectangle", kSample, "", "40", "--plane", "1"},
          {"reference", kSample},
          {"reference", kSample, "1", "2"},
          {"reference", kSample, ""},
          {"reference", kSample, "/1"},
          {"reference", kSample, "1/"},
          {"reference", kSample, "1//1"}}) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        static_cast<void>(expectRefused(arguments, 2));
    }
}

TEST_F(Demo, HelpNamesTheVerbs)
{
    const DemoOutcome outcome = runDemo({"--help"});
    EXPECT_EQ(outcome.code, 0);
    for (const char* word : {"PART", "box", "rectangle", "reference"}) {
        EXPECT_NE(outcome.out.find(word), std::string::npos) << word;
    }
}

TEST_F(Demo, EachVerbExplainsItself)
{
    const std::map<std::string, std::string> words = {
        {"box", "--constructions"}, {"rectangle", "in millimetres"}, {"reference", "PATH"}};
    for (const auto& [verb, word] : words) {
        const DemoOutcome outcome = runDemo({verb, "--help"});
        EXPECT_EQ(outcome.code, 0) << verb;
        EXPECT_NE(outcome.out.find("ktmdl-demo " + verb), std::string::npos) << outcome.out;
        EXPECT_NE(outcome.out.find(word), std::string::npos) << outcome.out;
    }
}

TEST_F(Demo, VerbIsKnownByTheFirstArgumentAlone)
{
    EXPECT_EQ(runJson({"box", kSample})["kind"], "part");
    // Elsewhere, and behind a folder, the word is a file's name.
    EXPECT_NE(expectRefused({"--json", "box"}, 1).find("box: there is no such file"),
              std::string::npos);
    EXPECT_NE(expectRefused({"./box"}, 1).find("./box: there is no such file"), std::string::npos);
    write("box", contentOf(kSample));
    EXPECT_EQ(runJson({(folder / "box").u8string()})["bodies"], 1);
}

TEST_F(Demo, ControlCharactersStayOutOfLines)
{
    const std::string odd = "a\nb\r\x1B[31m\x7F.step";
    for (const Arguments& arguments : {Arguments{odd},
                                       {"box", odd},
                                       {"reference", odd, "1"},
                                       {"reference", kSample, "\n", "\n"}}) {
        const DemoOutcome outcome = runDemo(arguments);
        EXPECT_NE(outcome.code, 0);
        EXPECT_EQ(outcome.error.find_first_of("\n\r\x1B\x7F"), outcome.error.size() - 1)
            << outcome.error;
    }
    // A line feed and an escape in the name of the first occurrence.
    std::string text = contentOf(samplePath("clamp-assembly.step"));
    const std::size_t at = text.find("OCCURRENCE('base','base'");
    ASSERT_NE(at, std::string::npos);
    text.replace(at, 24, "OCCURRENCE('base','b\\X\\0A\\X\\1Bse'");
    const DemoOutcome outcome = runDemo({"reference", write("odd.step", text), "1"});
    ASSERT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_NE(outcome.out.find("\n  level 1  1 \"b  se\", part, "), std::string::npos)
        << outcome.out;
    EXPECT_EQ(outcome.out.find('\x1B'), std::string::npos);
}

//! Writes numbers as "1.234,5".
class CommaNumbers : public std::numpunct<char>
{
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(Demo, NumbersAreTheSameInEveryLocale)
{
    const std::string clamps = samplePath("clamp-assembly.step");
    for (const Arguments& arguments :
         {Arguments{"box", kSample},
          {"reference", clamps, "3/2"},
          {"rectangle", kSample, "1234.5", "1000", "--plane", "1", "--constrain"}}) {
        const auto withoutTimes = [](std::string text) {
            // Seconds have three digits behind the point and differ from run to run.
            static const std::regex seconds("[0-9]+\\.[0-9]{3} s");
            return std::regex_replace(text, seconds, "T s");
        };
        const DemoOutcome classic = runDemo(arguments);
        const std::locale before =
            std::locale::global(std::locale(std::locale::classic(), new CommaNumbers));
        const DemoOutcome other = runDemo(arguments);
        std::locale::global(before);
        EXPECT_EQ(other.code, 0) << other.error;
        EXPECT_EQ(withoutTimes(other.out), withoutTimes(classic.out));
    }
}

TEST_F(Demo, OutputThatCannotBeWrittenIsNoSuccess)
{
    for (const Arguments& arguments : {Arguments{kSample},
                                       {"box", kSample},
                                       {"reference", samplePath("clamp-assembly.step"), "1"}}) {
        std::ostringstream out;
        out.setstate(std::ios_base::badbit);
        std::ostringstream error;
        EXPECT_EQ(demo::run(arguments, out, error), 1) << arguments.front();
        EXPECT_EQ(lines(error.str()), 1) << error.str();
    }
}

TEST_F(Demo, EachStepIsOnALine)
{
    const DemoOutcome outcome = runDemo({kSample});
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
    const DemoOutcome outcome = runDemo({kSample, "--out", out.u8string(), "--json"});
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
    const DemoOutcome outcome = runDemo({kSample, "--out", file});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(lines(outcome.error), 1) << outcome.error;
}

} // namespace
