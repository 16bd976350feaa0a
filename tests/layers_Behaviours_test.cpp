//! The page of deliberate behaviours, the marks in the sources and the tests that pin them belong
//! together.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

namespace {

namespace fs = std::filesystem;

const fs::path kRoot = KT_SOURCE_DIR;

std::string textOf(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool isSource(const fs::path& path)
{
    return path.extension() == ".cpp" || path.extension() == ".h";
}

//! Gives the words that may name a test: humps of upper-case letters.
std::set<std::string> namesIn(const std::string& text)
{
    static const std::regex name("\\b[A-Z][A-Za-z0-9]*[a-z0-9][A-Z][A-Za-z0-9]*\\b");
    std::set<std::string> names;
    for (std::sregex_iterator it(text.begin(), text.end(), name), end; it != end; ++it) {
        names.insert(it->str());
    }
    return names;
}

//! Gives the names that the tests define, macros that make tests included.
std::set<std::string> testNames()
{
    static const std::regex definition(
        "(?:TEST|TEST_F|TEST_P|TYPED_TEST|[A-Z_]+)\\([^()]*,\\s*([A-Z][A-Za-z0-9]+)\\s*[,)]");
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(kRoot / "tests")) {
        if (!isSource(entry.path())) {
            continue;
        }
        const std::string text = textOf(entry.path());
        for (std::sregex_iterator it(text.begin(), text.end(), definition), end; it != end; ++it) {
            names.insert((*it)[1].str());
        }
    }
    return names;
}

//! Gives the comment that begins at a mark, its lines joined.
std::string commentAt(const std::string& text, std::size_t at)
{
    std::string comment;
    std::size_t line = at;
    while (line != std::string::npos) {
        const std::size_t end = text.find('\n', line);
        comment += text.substr(line, end - line) + " ";
        line = end == std::string::npos ? end : text.find_first_not_of(" \t", end + 1);
        if (line == std::string::npos || text.compare(line, 2, "//") != 0) {
            break;
        }
        line = text.find_first_not_of(' ', line + 2);
    }
    return comment;
}

//! Gives the last column of the rows of a table.
std::string lastColumns(const std::string& page, const std::string& heading)
{
    const std::size_t from = page.find("\n## " + heading);
    const std::size_t to = page.find("\n## ", from + 1);
    const std::string section = page.substr(from, to - from);
    static const std::regex row("\\|([^|\n]*)\\|\n");
    std::string columns;
    for (std::sregex_iterator it(section.begin(), section.end(), row), end; it != end; ++it) {
        columns += (*it)[1].str();
    }
    return columns;
}

TEST(Behaviours, EveryMarkNamesTestsThatThePageListsToo)
{
    const std::string page = textOf(kRoot / "docs" / "behaviour.md");
    const std::set<std::string> listed = namesIn(lastColumns(page, "What a caller sees"));
    const std::string mark = "// On purpose:";
    const std::string pinned = "Pinned by ";
    long marks = 0;
    for (const char* folder : {"com", "ktstd", "ktmdl"}) {
        for (const auto& entry : fs::recursive_directory_iterator(kRoot / folder)) {
            if (!isSource(entry.path())) {
                continue;
            }
            const std::string text = textOf(entry.path());
            for (std::size_t at = text.find(mark); at != std::string::npos;
                 at = text.find(mark, at + 1)) {
                ++marks;
                const std::string comment = commentAt(text, at);
                const std::size_t names = comment.find(pinned);
                if (names == std::string::npos) {
                    EXPECT_NE(comment.find("no result shows it"), std::string::npos)
                        << entry.path() << ": " << comment;
                    continue;
                }
                for (const std::string& name : namesIn(comment.substr(names + pinned.size()))) {
                    EXPECT_EQ(listed.count(name), 1U)
                        << entry.path() << ": the page does not list " << name;
                }
            }
        }
    }
    EXPECT_GT(marks, 40);
}

TEST(Behaviours, EveryTestThatThePageListsExists)
{
    const std::string page = textOf(kRoot / "docs" / "behaviour.md");
    const std::set<std::string> listed = namesIn(lastColumns(page, "What a caller sees"));
    const std::set<std::string> tests = testNames();
    EXPECT_GT(listed.size(), 40U);
    for (const std::string& name : listed) {
        EXPECT_EQ(tests.count(name), 1U) << "no test is called " << name;
    }
}

} // namespace
