// Archives in files: saving is all or nothing, and files that are no archives are refused.

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_AsciiString.h"
#include "support/Failures.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>

#if !defined(_WIN32)
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#endif

namespace {

namespace fs = std::filesystem;
using kt_test::raisesCode;
using kt_test::raisesFileIO;
using kt_test::TempFolder;
using Names = std::set<std::string>;

void putFile(const std::string& aPath, const std::string& aText)
{
    std::ofstream file(fs::u8path(aPath), std::ios::binary);
    file << aText;
    ASSERT_TRUE(file.good());
}

std::string textOfFile(const std::string& aPath)
{
    std::ifstream file(fs::u8path(aPath), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void saveNumber(const std::string& aPath, long aNumber)
{
    ktstd_Archive archive;
    archive << aNumber;
    archive.Save(aPath.c_str());
}

long loadNumber(const std::string& aPath)
{
    ktstd_Archive archive = ktstd_Archive::FromFile(aPath.c_str());
    long number = 0;
    archive >> number;
    return number;
}

testing::AssertionResult cantBeOpened(const std::string& aPath, const std::string& aWhy)
{
    return raisesFileIO(ktstd_fail_FileIO::kCannotOpen, "read file \"" + aPath + "\": " + aWhy,
                        [&] { ktstd_Archive archive = ktstd_Archive::FromFile(aPath.c_str()); });
}

} // namespace

TEST(ktstd_ArchiveFile, SavedArchiveIsLoaded)
{
    const TempFolder folder;
    const std::string path = folder.File("data.kta");
    saveNumber(path, 42);
    EXPECT_EQ(loadNumber(path), 42);
    EXPECT_EQ(folder.Names(), Names{"data.kta"});
}

TEST(ktstd_ArchiveFile, FileHoldsTheFinishedBytes)
{
    const TempFolder folder;
    const std::string path = folder.File("data.kta");
    ktstd_Archive archive;
    archive << ktstd_AsciiString("line\nend\r\n\x1A");
    archive.Save(path.c_str());
    const std::vector<unsigned char>& bytes = archive.Finish();
    EXPECT_EQ(textOfFile(path), std::string(bytes.begin(), bytes.end()));
}

TEST(ktstd_ArchiveFile, SavingReplacesTheOldFile)
{
    const TempFolder folder;
    const std::string path = folder.File("data.kta");
    putFile(path, std::string(100000, 'x'));
    saveNumber(path, 1);
    saveNumber(path, 2);
    EXPECT_EQ(loadNumber(path), 2);
    EXPECT_EQ(folder.Names(), Names{"data.kta"});
}

TEST(ktstd_ArchiveFile, NameIsUtf8)
{
    const TempFolder folder;
    const std::string name = "\xC3\xA4\xE6\xBC\xA2.kta"; // a umlaut, and an ideograph
    saveNumber(folder.File(name), 7);
    EXPECT_EQ(loadNumber(folder.File(name)), 7);
    EXPECT_EQ(folder.Names(), Names{name});
}

TEST(ktstd_ArchiveFile, ArchiveLargerThanOneBlockIsLoaded)
{
    const TempFolder folder;
    const std::string path = folder.File("large.kta");
    std::vector<unsigned char> block(300001);
    for (std::size_t i = 0; i < block.size(); ++i) {
        block[i] = static_cast<unsigned char>(i * 7 + i / 251);
    }
    ktstd_Archive archive;
    archive.Write(block.data(), static_cast<long>(block.size()));
    archive.Save(path.c_str());

    ktstd_Archive loaded = ktstd_Archive::FromFile(path.c_str());
    std::vector<unsigned char> found(block.size());
    loaded.Read(found.data(), static_cast<long>(found.size()));
    EXPECT_EQ(found, block);
    EXPECT_EQ(loaded.Remaining(), 0U);
}

TEST(ktstd_ArchiveFile, MissingFileFolderAndNoNameAreRefused)
{
    const TempFolder folder;
    EXPECT_TRUE(cantBeOpened(folder.File("missing.kta"), "there is no such file"));
    EXPECT_TRUE(cantBeOpened(folder.Path().u8string(), "it is a folder"));
    EXPECT_TRUE(cantBeOpened("", "the path is empty"));
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kCannotOpen,
                           [] { ktstd_Archive archive = ktstd_Archive::FromFile(nullptr); }));
}

TEST(ktstd_ArchiveFile, SavingWithoutANameIsRefused)
{
    ktstd_Archive archive;
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kCannotWrite, [&] { archive.Save(nullptr); }));
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kCannotWrite, [&] { archive.Save(""); }));
}

TEST(ktstd_ArchiveFile, NameWithoutFolderIsInTheWorkingFolder)
{
    const TempFolder folder;
    const fs::path before = fs::current_path();
    fs::current_path(folder.Path());
    saveNumber("data.kta", 42);
    EXPECT_EQ(loadNumber("data.kta"), 42);
    fs::current_path(before);
    EXPECT_EQ(folder.Names(), Names{"data.kta"});
}

TEST(ktstd_ArchiveFile, EmptyFileIsRefused)
{
    const TempFolder folder;
    const std::string path = folder.File("empty.kta");
    putFile(path, "");
    EXPECT_TRUE(raisesFileIO(
        ktstd_fail_FileIO::kTruncated, "load archive \"" + path + "\": it is empty, at byte 0",
        [&] { ktstd_Archive archive = ktstd_Archive::FromFile(path.c_str()); }));
}

TEST(ktstd_ArchiveFile, ForeignFileIsRefused)
{
    const TempFolder folder;
    const std::string path = folder.File("picture.jpg");
    putFile(path, "\xFF\xD8\xFF\xE0" + std::string(200000, 'p'));
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kForeign,
                           [&] { ktstd_Archive archive = ktstd_Archive::FromFile(path.c_str()); }));
}

TEST(ktstd_ArchiveFile, SavingToAFolderOrIntoAMissingOneLeavesNothing)
{
    const TempFolder folder;
    fs::create_directory(folder.Path() / "target");
    const std::string target = folder.File("target");
    EXPECT_TRUE(raisesFileIO(ktstd_fail_FileIO::kCannotWrite,
                             "write file \"" + target + "\": it is a folder",
                             [&] { saveNumber(target, 1); }));
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kCannotWrite,
                           [&] { saveNumber(folder.File("missing/data.kta"), 1); }));
    EXPECT_TRUE(raisesFileIO(ktstd_fail_FileIO::kCannotWrite, "write file \"\": the path is empty",
                             [] { saveNumber("", 1); }));
    EXPECT_EQ(folder.Names(), Names{"target"});
    EXPECT_TRUE(fs::is_empty(folder.Path() / "target"));
}

TEST(ktstd_ArchiveFile, LeftoverOfACrashIsNotTouched)
{
    const TempFolder folder;
    putFile(folder.File("data.kta.~0"), "left behind");
    saveNumber(folder.File("data.kta"), 3);
    EXPECT_EQ(loadNumber(folder.File("data.kta")), 3);
    EXPECT_EQ(textOfFile(folder.File("data.kta.~0")), "left behind");
    EXPECT_EQ(folder.Names(), (Names{"data.kta", "data.kta.~0"}));
}

#if !defined(_WIN32)

TEST(ktstd_ArchiveFile, FullDiskLeavesTheOldFileAndNothingElse)
{
    const TempFolder folder;
    const std::string path = folder.File("data.kta");
    saveNumber(path, 5);
    ktstd_Archive archive;
    const std::vector<unsigned char> block(100000, 1);
    archive.Write(block.data(), static_cast<long>(block.size()));

    // A limit on the size of files fails writing in the middle, as a full disk does.
    auto* const oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    rlimit small = old;
    small.rlim_cur = 50000;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const testing::AssertionResult refused =
        raisesCode(ktstd_fail_FileIO::kCannotWrite, [&] { archive.Save(path.c_str()); });
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &old), 0);
    std::signal(SIGXFSZ, oldHandler);

    EXPECT_TRUE(refused);
    EXPECT_EQ(loadNumber(path), 5);
    EXPECT_EQ(folder.Names(), Names{"data.kta"});

    archive.Save(path.c_str()); // there is room again
    EXPECT_EQ(ktstd_Archive::FromFile(path.c_str()).Remaining(), block.size());
}

TEST(ktstd_ArchiveFile, LinkStaysALink)
{
    const TempFolder folder;
    saveNumber(folder.File("real.kta"), 1);
    fs::create_symlink(folder.Path() / "real.kta", folder.Path() / "link.kta");
    saveNumber(folder.File("link.kta"), 2);
    EXPECT_TRUE(fs::is_symlink(folder.Path() / "link.kta"));
    EXPECT_EQ(loadNumber(folder.File("real.kta")), 2);
}

TEST(ktstd_ArchiveFile, AccessRightsOfTheOldFileStay)
{
    const TempFolder folder;
    const std::string path = folder.File("data.kta");
    saveNumber(path, 1);
    const auto rights = fs::perms::owner_read | fs::perms::owner_write;
    fs::permissions(fs::u8path(path), rights);
    saveNumber(path, 2);
    EXPECT_EQ(fs::status(fs::u8path(path)).permissions(), rights);
}

TEST(ktstd_ArchiveFile, PipesAndDevicesAreRefused)
{
    const TempFolder folder;
    const std::string path = folder.File("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_TRUE(cantBeOpened(path, "it is no plain file"));
    EXPECT_TRUE(cantBeOpened("/dev/zero", "it is no plain file"));
}

TEST(ktstd_ArchiveFile, LinkToItselfIsRefusedAndReplaced)
{
    const TempFolder folder;
    const std::string path = folder.File("loop.kta");
    fs::create_symlink("loop.kta", fs::u8path(path));
    EXPECT_TRUE(cantBeOpened(path, std::generic_category().message(ELOOP)));
    saveNumber(path, 4);
    EXPECT_EQ(loadNumber(path), 4);
    EXPECT_EQ(folder.Names(), Names{"loop.kta"});
}

TEST(ktstd_ArchiveFile, FileThatCantBeOpenedIsRefused)
{
    const TempFolder folder;
    const std::string path = folder.File("data.kta");
    saveNumber(path, 3);
    // Nothing can be opened while no more files may be open.
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &old), 0);
    rlimit none = old;
    none.rlim_cur = 0;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const testing::AssertionResult refused =
        cantBeOpened(path, std::generic_category().message(EMFILE));
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &old), 0);
    EXPECT_TRUE(refused);
    EXPECT_EQ(loadNumber(path), 3);
}

TEST(ktstd_ArchiveFile, FileThatCantBeReadIsRefused)
{
    const std::string path = "/proc/self/mem"; // a plain file whose first page can't be read
    if (!fs::is_regular_file(path)) {
        GTEST_SKIP() << "this system has no such file";
    }
    EXPECT_TRUE(
        raisesFileIO(ktstd_fail_FileIO::kCannotRead,
                     "read file \"" + path + "\": " + std::generic_category().message(EIO),
                     [&] { ktstd_Archive archive = ktstd_Archive::FromFile(path.c_str()); }));
}

TEST(ktstd_ArchiveFile, TwoGigabytesOfZerosAreNotRead)
{
    const TempFolder folder;
    const std::string path = folder.File("zeros.kta");
    putFile(path, "");
    constexpr rlim_t kRoom = rlim_t{1} << 31;
    fs::resize_file(fs::u8path(path), kRoom); // takes no room on disk
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kForeign,
                           [&] { ktstd_Archive archive = ktstd_Archive::FromFile(path.c_str()); }));
    rusage usage{};
    ASSERT_EQ(getrusage(RUSAGE_SELF, &usage), 0);
    EXPECT_LT(static_cast<rlim_t>(usage.ru_maxrss) * 1024, kRoom / 2) << "most memory ever used";
}

#endif
