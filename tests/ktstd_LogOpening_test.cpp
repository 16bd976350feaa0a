// Where the log goes, and that a log that can't be opened or written disturbs nobody.

#include "ktstd/ktstd_Debug.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <iterator>

namespace {

namespace fs = std::filesystem;
using kt_test::TempFolder;

//! Sets an environment variable, and unsets it when it goes.
class Environment
{
public:
    explicit Environment(const std::string& aValue)
    {
#if defined(_WIN32)
        _wputenv((L"KTSTD_LOG=" + fs::u8path(aValue).wstring()).c_str());
#else
        setenv("KTSTD_LOG", aValue.c_str(), 1);
#endif
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    ~Environment()
    {
#if defined(_WIN32)
        _wputenv(L"KTSTD_LOG=");
#else
        unsetenv("KTSTD_LOG");
#endif
    }
};

//! Ends the use of a test's log, with the formatting of a new stream.
class ktstd_LogOpening : public testing::Test
{
protected:
    void TearDown() override
    {
        ktstd_Debug::SetLogPath(nullptr);
        std::fstream& log = ktstd_Debug::LogPrint();
        log.fill(' ');
        log.flags(std::ios_base::dec | std::ios_base::skipws);
        ktstd_Debug::SetLogPath(nullptr);
    }

    static std::string textOf(const std::string& aPath)
    {
        std::ifstream file(fs::u8path(aPath), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

    TempFolder mFolder;
};

} // namespace

TEST_F(ktstd_LogOpening, PathThatWasSetIsUsedAndAppendedTo)
{
    const std::string path = mFolder.File("\xC3\xA9.log"); // e acute, in UTF-8
    ktstd_Debug::SetLogPath(path.c_str());
    EXPECT_TRUE(mFolder.Names().empty()) << "opened on first use only";
    ktstd_Debug::LogPrint() << "one\n" << std::flush;
    EXPECT_EQ(textOf(path), "one\n");
    EXPECT_EQ(ktstd_Debug::LogPath(), path);

    ktstd_Debug::SetLogPath(mFolder.File("other.log").c_str());
    ktstd_Debug::LogPrint() << "two\n" << std::flush;
    ktstd_Debug::SetLogPath(path.c_str());
    ktstd_Debug::LogPrint() << "three\n" << std::flush;
    EXPECT_EQ(textOf(path), "one\nthree\n");
    EXPECT_EQ(textOf(mFolder.File("other.log")), "two\n");
}

TEST_F(ktstd_LogOpening, EnvironmentIsUsedWhenNoPathWasSet)
{
    const std::string path = mFolder.File("env.log");
    const Environment environment(path);
    ktstd_Debug::SetLogPath("");
    ktstd_Debug::LogPrint() << "x\n" << std::flush;
    EXPECT_EQ(textOf(path), "x\n");

    ktstd_Debug::SetLogPath(mFolder.File("set.log").c_str());
    ktstd_Debug::LogPrint() << "y\n" << std::flush;
    EXPECT_EQ(textOf(path), "x\n") << "a path that was set goes before the environment";
}

TEST_F(ktstd_LogOpening, TemporaryFolderIsUsedWithoutPathAndEnvironment)
{
    if (std::getenv("KTSTD_LOG") != nullptr) {
        GTEST_SKIP() << "KTSTD_LOG is set";
    }
    ktstd_Debug::SetLogPath(nullptr);
    EXPECT_EQ(fs::u8path(ktstd_Debug::LogPath()), fs::temp_directory_path() / "ktstd.log");
}

TEST_F(ktstd_LogOpening, LogThatCantBeOpenedSwallowsUntilItCan)
{
    const std::string path = mFolder.File("later/x.log");
    ktstd_Debug::SetLogPath(path.c_str());
    EXPECT_NO_THROW(ktstd_Debug::LogPrint() << "lost" << std::endl);
    EXPECT_TRUE(ktstd_Debug::LogPrint().good());
    fs::create_directory(mFolder.Path() / "later");
    ktstd_Debug::LogPrint() << "kept\n" << std::flush;
    EXPECT_EQ(textOf(path), "kept\n");
}

TEST_F(ktstd_LogOpening, FolderAsLogSwallows)
{
    ktstd_Debug::SetLogPath(mFolder.Path().u8string().c_str());
    EXPECT_NO_THROW(ktstd_Debug::LogPrint() << "lost" << std::endl);
    EXPECT_TRUE(ktstd_Debug::LogPrint().good());
}

TEST_F(ktstd_LogOpening, ErrorStateAndExceptionsOfTheLastWriterAreEnded)
{
    const std::string path = mFolder.File("x.log");
    ktstd_Debug::SetLogPath(path.c_str());
    std::fstream& log = ktstd_Debug::LogPrint();
    log.setstate(std::ios_base::badbit);
    log << std::setw(8) << 5; // fails, and leaves the width behind
    EXPECT_THROW(log.exceptions(std::ios_base::badbit), std::ios_base::failure);
    std::fstream& next = ktstd_Debug::LogPrint();
    EXPECT_EQ(next.width(), 0);
    next << 7 << '\n' << std::flush;
    EXPECT_EQ(textOf(path), "7\n");
}

TEST_F(ktstd_LogOpening, FormattingIsAsTheLastWriterLeftIt)
{
    const std::string path = mFolder.File("x.log");
    ktstd_Debug::SetLogPath(path.c_str());
    ktstd_Debug::LogPrint() << std::hex << std::setfill('0') << std::setw(4) << 255 << '\n';
    ktstd_Debug::LogPrint() << std::setw(4) << 10 << '\n' << std::flush;
    EXPECT_EQ(textOf(path), "00ff\n000a\n");
}

#if defined(__linux__)
TEST_F(ktstd_LogOpening, FullDiskSwallowsAndTheNextLogWorks)
{
    ktstd_Debug::SetLogPath("/dev/full");
    EXPECT_NO_THROW(ktstd_Debug::LogPrint() << "lost" << std::endl);
    EXPECT_TRUE(ktstd_Debug::LogPrint().good());
    const std::string path = mFolder.File("x.log");
    ktstd_Debug::SetLogPath(path.c_str());
    ktstd_Debug::LogPrint() << "kept" << std::endl;
    EXPECT_EQ(textOf(path), "kept\n");
}
#endif
