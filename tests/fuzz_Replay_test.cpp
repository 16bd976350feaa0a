// Every file of the fuzzers' seed corpus, and every input that once broke something, through the
// functions that are fuzzed.

#include "Targets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

//! Gives the files of a folder in the order of their names; none when there is no such folder.
std::vector<fs::path> filesIn(const fs::path& aFolder)
{
    std::vector<fs::path> files;
    if (fs::exists(aFolder)) {
        for (const auto& entry : fs::directory_iterator(aFolder)) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

void replay(const kt_fuzz::Target& aTarget, const std::vector<unsigned char>& aBytes)
{
    try {
        aTarget.run(aBytes.data(), aBytes.size());
    } catch (const std::exception& exception) {
        ADD_FAILURE() << exception.what();
    }
}

class FuzzReplay : public testing::TestWithParam<kt_fuzz::Target>
{
};

TEST_P(FuzzReplay, CorpusAndRegressionsHold)
{
    const fs::path root = fs::path(KT_SOURCE_DIR) / "fuzz";
    std::vector<fs::path> files = filesIn(root / "corpus" / GetParam().name);
    EXPECT_FALSE(files.empty()) << "no corpus";
    const std::vector<fs::path> found = filesIn(root / "regressions" / GetParam().name);
    files.insert(files.end(), found.begin(), found.end());
    for (const fs::path& path : files) {
        SCOPED_TRACE(path.filename());
        std::ifstream file(path, std::ios::binary);
        ASSERT_TRUE(file.good());
        const std::vector<unsigned char> bytes(std::istreambuf_iterator<char>(file), {});
        replay(GetParam(), bytes);
    }
}

TEST_P(FuzzReplay, NothingAndLittleHold)
{
    replay(GetParam(), {});
    for (const unsigned byte : {0x00U, 0x7FU, 0x80U, 0xFFU}) {
        SCOPED_TRACE(byte);
        replay(GetParam(), std::vector<unsigned char>(1, static_cast<unsigned char>(byte)));
        replay(GetParam(), std::vector<unsigned char>(100, static_cast<unsigned char>(byte)));
    }
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzReplay, testing::ValuesIn(kt_fuzz::kTargets),
                         [](const testing::TestParamInfo<kt_fuzz::Target>& aInfo) {
                             return std::string(aInfo.param.name);
                         });

} // namespace
