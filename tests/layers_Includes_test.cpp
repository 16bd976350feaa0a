//! The arrows between the layers: no source includes a header of a layer that it may not see.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>

namespace {

namespace fs = std::filesystem;

//! What a layer may include, itself among it. standin/geom and standin/step are layers of their
//! own.
const std::map<std::string, std::set<std::string>> kMayInclude = {
    {"com", {"com"}},
    {"ktstd", {"ktstd", "com"}},
    {"ktmdl", {"ktmdl", "ktstd", "com"}},
    {"standin/geom", {"standin/geom"}},
    {"standin/step", {"standin/step", "standin/geom"}},
    {"standin", {"standin", "standin/step", "standin/geom", "com"}},
    {"tools", {"demo", "ktmdl", "ktstd", "standin", "standin/step", "standin/geom", "com"}}};

//! Gives the layer of a path or of an include line: its folder, two levels for the parts of
//! standin.
std::string layerOf(const fs::path& path)
{
    auto part = path.begin();
    std::string layer = part->generic_string();
    if (layer == "standin" && ++part != path.end() && (*part == "geom" || *part == "step")) {
        layer += "/" + part->generic_string();
    }
    return layer;
}

TEST(Layers, IncludesPointOneWay)
{
    const fs::path root = KT_SOURCE_DIR;
    const std::regex line("^\\s*#\\s*include\\s*\"([^\"]+)\"");
    long checked = 0;
    for (const char* folder : {"com", "ktstd", "ktmdl", "standin", "tools"}) {
        for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
            const std::string extension = entry.path().extension().string();
            if (extension != ".h" && extension != ".cpp") {
                continue;
            }
            const std::string layer = layerOf(fs::relative(entry.path(), root));
            std::ifstream file(entry.path());
            for (std::string text; std::getline(file, text);) {
                std::smatch match;
                if (std::regex_search(text, match, line)) {
                    const std::string included = layerOf(match[1].str());
                    EXPECT_EQ(kMayInclude.at(layer).count(included), 1U)
                        << entry.path() << " includes " << match[1];
                    ++checked;
                }
            }
        }
    }
    EXPECT_GT(checked, 100);
}

TEST(Layers, PlatformHeadersEnterThroughTheComLayer)
{
    // COM types enter through com/Com.h alone: nobody else names the platform's headers.
    const fs::path root = KT_SOURCE_DIR;
    const std::regex platform(
        "^\\s*#\\s*include\\s*<(comdef|comip|comutil|ole2|oleauto|objbase)\\.h>");
    for (const char* folder : {"ktstd", "ktmdl", "standin", "tools"}) {
        for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
            std::ifstream file(entry.path());
            for (std::string text; std::getline(file, text);) {
                EXPECT_FALSE(std::regex_search(text, platform)) << entry.path() << ": " << text;
            }
        }
    }
}

} // namespace
