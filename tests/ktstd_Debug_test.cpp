#include "ktstd/ktstd_Debug.h"

#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <type_traits>

static_assert(std::is_same_v<decltype(ktstd_Debug::LogPrint()), std::fstream&>);

TEST(ktstd_Debug, LogIsOneStreamThatReachesItsFile)
{
    const kt_test::TempFolder folder;
    const std::string path = folder.File("log.txt");
    ktstd_Debug::SetLogPath(path.c_str());
    std::fstream& log = ktstd_Debug::LogPrint();
    EXPECT_EQ(&ktstd_Debug::LogPrint(), &log);
    log << "first " << 12 << std::endl;
    ktstd_Debug::LogPrint() << "second" << std::endl;
    std::ifstream file(std::filesystem::u8path(path), std::ios::binary);
    const std::string content((std::istreambuf_iterator<char>(file)),
                              std::istreambuf_iterator<char>());
    EXPECT_EQ(content, "first 12\nsecond\n");
    file.close();
    ktstd_Debug::SetLogPath(nullptr);
}

TEST(ktstd_Debug, FormattingStaysWithTheStream)
{
    const kt_test::TempFolder folder;
    ktstd_Debug::SetLogPath(folder.File("log.txt").c_str());
    ktstd_Debug::LogPrint().fill('0');
    ktstd_Debug::LogPrint().precision(3);
    EXPECT_EQ(ktstd_Debug::LogPrint().fill(), '0');
    EXPECT_EQ(ktstd_Debug::LogPrint().precision(), 3);
    ktstd_Debug::LogPrint().fill(' ');
    ktstd_Debug::LogPrint().precision(6);
    ktstd_Debug::SetLogPath(nullptr);
}
