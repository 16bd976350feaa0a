//! @file
//! Runs the demo as its user does, for tests of its verbs.

#pragma once

#include "demo/CommandLine.h"
#include "standin/Census.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace support {

using Arguments = std::vector<std::string>;

struct DemoOutcome
{
    int code{};
    std::string out;
    std::string error;
};

inline DemoOutcome runDemo(const Arguments& arguments)
{
    std::ostringstream out;
    std::ostringstream error;
    DemoOutcome outcome;
    outcome.code = demo::run(arguments, out, error);
    outcome.out = out.str();
    outcome.error = error.str();
    EXPECT_EQ(standin::processCensus().live(), 0) << standin::processCensus().text();
    return outcome;
}

//! Runs the demo with --json; null when it fails, as the test does then.
inline nlohmann::json runJson(Arguments arguments)
{
    arguments.emplace_back("--json");
    const DemoOutcome outcome = runDemo(arguments);
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_EQ(outcome.error, "");
    return outcome.code == 0 ? nlohmann::json::parse(outcome.out) : nlohmann::json();
}

inline long lines(const std::string& text)
{
    return static_cast<long>(std::count(text.begin(), text.end(), '\n'));
}

//! The demo refuses in one line and prints nothing else.
//! @return  the line
inline std::string expectRefused(const Arguments& arguments, int code)
{
    const DemoOutcome outcome = runDemo(arguments);
    EXPECT_EQ(outcome.code, code) << outcome.error;
    EXPECT_EQ(lines(outcome.error), 1) << outcome.error;
    EXPECT_EQ(outcome.error.rfind("ktmdl-demo: ", 0), 0U) << outcome.error;
    EXPECT_EQ(outcome.out, "");
    return outcome.error;
}

inline std::string samplePath(const std::string& name)
{
    return std::string(KT_SOURCE_DIR) + "/samples/" + name;
}

inline std::string contentOf(const std::string& path)
{
    std::ifstream file(std::filesystem::u8path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

//! Gives the sample assembly's text without its last instances, from the one with the mark on.
inline std::string clampAssemblyUpTo(const std::string& mark)
{
    const std::string whole = contentOf(samplePath("clamp-assembly.step"));
    const std::size_t from = whole.find("\n" + mark);
    const std::size_t end = whole.rfind("\nENDSEC;");
    EXPECT_NE(from, std::string::npos) << mark;
    EXPECT_LT(from, end);
    return whole.substr(0, from) + whole.substr(end);
}

//! A folder of its own, removed with its content.
class DemoTest : public testing::Test
{
protected:
    void SetUp() override
    {
        folder = std::filesystem::temp_directory_path() /
                 (std::string("ktmdl-test-") +
                  testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::string write(const std::string& name, const std::string& content)
    {
        const std::filesystem::path path = folder / std::filesystem::u8path(name);
        std::ofstream(path, std::ios::binary) << content;
        return path.u8string();
    }

    std::filesystem::path folder;
};

} // namespace support
