#include "standin/step/StepFile.h"
#include "support/StepText.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

using standin::step::readFile;
using standin::step::readText;
using standin::step::StepError;

// A folder of its own for each test, removed at its end.
class StepFile : public testing::Test
{
protected:
    StepFile()
        : mFolder(fs::temp_directory_path() /
                  (std::string("ktstep-") +
                   testing::UnitTest::GetInstance()->current_test_info()->name()))
    {
        fs::remove_all(mFolder);
        fs::create_directories(mFolder);
    }
    ~StepFile() override
    {
        std::error_code ignored;
        fs::remove_all(mFolder, ignored);
    }

    std::string write(const std::string& name, const std::string& content) const
    {
        const fs::path path = mFolder / fs::u8path(name);
        std::ofstream(path, std::ios::binary) << content;
        return path.u8string();
    }

    std::string folder() const { return mFolder.u8string(); }

private:
    fs::path mFolder;
};

void expectRefusal(const std::string& path, const std::string& word)
{
    try {
        (void)readFile(path);
        FAIL() << "nothing was raised for " << path;
    } catch (const StepError& error) {
        const std::string text = error.what();
        EXPECT_NE(text.find(word), std::string::npos) << text;
        EXPECT_EQ(text.find(path + ": "), 0U) << text;
        EXPECT_EQ(text.find('\n'), std::string::npos) << text;
    }
}

std::string part()
{
    return test::metres() + test::product("#100") + test::tetrahedron();
}

TEST_F(StepFile, ReadsAFile)
{
    const std::string path = write("part.step", test::stepFile(part()));
    EXPECT_EQ(readFile(path).products.size(), 1U);
}

TEST_F(StepFile, ReadsAFileLongerThanItsFirstBytes)
{
    const std::string path =
        write("part.step", test::stepFile(part() + "/*" + std::string(100000, '*') + "*/\n"));
    EXPECT_EQ(readFile(path).products.size(), 1U);
}

TEST_F(StepFile, PathsAreUtf8)
{
    const std::string path =
        write("Tr\xC3\xA4ger \xE9\x9B\xBB.stp", test::stepFile(test::metres() + test::disc()));
    EXPECT_EQ(readFile(path).products[0].name, "Tr\xC3\xA4ger \xE9\x9B\xBB");
}

TEST_F(StepFile, AByteOrderMarkAndLeadingBlanksAreSkipped)
{
    const std::string text = test::stepFile(part());
    EXPECT_EQ(readText("\xEF\xBB\xBF" + text, "x").products.size(), 1U);
    EXPECT_EQ(readText("\r\n  /* made by hand */ " + text, "x").products.size(), 1U);
    EXPECT_EQ(readText("/*" + std::string(5000, 'x') + "*/" + text, "x").products.size(), 1U);
}

TEST_F(StepFile, RefusesWhatIsNoFile)
{
    expectRefusal(folder() + "/nothing.step", "no such file");
    expectRefusal(folder(), "folder");
    EXPECT_THROW((void)readFile(""), StepError);
}

TEST_F(StepFile, RefusesForeignFiles)
{
    expectRefusal(write("empty.step", ""), "empty");
    expectRefusal(write("photo.jpg", "\xFF\xD8\xFF\xE0 JFIF"), "a JPEG image");
    expectRefusal(write("photo.png", "\x89PNG\r\n"), "a PNG image");
    expectRefusal(write("part.stpz", "PK\x03\x04"), "a ZIP archive");
    expectRefusal(write("mesh.stl", "solid part"), "an STL mesh");
    expectRefusal(write("zeros.step", std::string(5000, '\0')), "zero bytes");
    expectRefusal(write("text.step", "Dear reader"), "does not begin with ISO-10303-21");
    expectRefusal(write("blank.step", " \n \n"), "does not begin with ISO-10303-21");
    expectRefusal(write("wide.step", std::string("\xFF\xFEI\0S\0", 6)), "UTF-16");
}

// The file has no blocks on disk; read to its end it would take the memory of the machine.
TEST_F(StepFile, RefusesTwoGigabytesOfZerosByTheirFirstBytes)
{
    const std::string path = write("zeros.step", "");
    std::error_code error;
    fs::resize_file(fs::u8path(path), std::uintmax_t{1} << 31, error);
    if (error) {
        GTEST_SKIP() << "no room for the file: " << error.message();
    }
    expectRefusal(path, "zero bytes");
}

TEST_F(StepFile, RefusesFilesAboveTheLimitUnread)
{
    const std::string path = write("large.step", test::stepFile(part()));
    std::error_code error;
    fs::resize_file(fs::u8path(path), standin::step::kMaxFileSize + 1, error);
    if (error) {
        GTEST_SKIP() << "no room for the file: " << error.message();
    }
    expectRefusal(path, "larger than 1073741824 bytes");
}

TEST(StepError, ItsTextNamesLineAndEntity)
{
    EXPECT_STREQ(StepError("broken", 12, 34).what(), "line 12: #34: broken");
    EXPECT_STREQ(StepError("broken", 12, 0).what(), "line 12: broken");
    EXPECT_STREQ(StepError("broken", 0, 0).what(), "broken");
}

TEST(StepError, APrefixKeepsThePlace)
{
    const StepError error("part.step", StepError("broken", 12, 34));
    EXPECT_STREQ(error.what(), "part.step: line 12: #34: broken");
    EXPECT_EQ(error.line(), 12U);
    EXPECT_EQ(error.entity(), 34);
}

} // namespace
