// Saves that are stopped at each of their calls to the system: the target is the old file or the
// new one, whole, and nothing else stays where the process lived on.

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_File_detail.h"
#include "support/Failures.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <new>
#include <utility>
#include <vector>

#if !defined(_WIN32)
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#endif

namespace {

namespace fs = std::filesystem;
using kt_test::raisesCode;
using kt_test::TempFolder;
using Bytes = std::vector<unsigned char>;
using Names = std::set<std::string>;

constexpr std::size_t kOldSize = 10;
constexpr std::size_t kNewSize = 400;
constexpr std::size_t kMostPerWrite = 50; //!< so that a save takes several writes

//! Calls to the system, the Nth of which goes wrong.
class FaultyCalls : public ktstd_detail::FileCalls
{
public:
    enum Fault
    {
        kRefused,       //!< nothing is done, and an error given
        kDoneButFailed, //!< all is done, and an error given all the same
        kShort,         //!< a write does half, and the next call is refused
        kNothing,       //!< a write gives 0 bytes
        kStop,          //!< the hook is called before the call
        kDoneAndStop    //!< the hook is called after the call
    };

    FaultyCalls(int aNth, Fault aFault, std::function<void()> aHook = {})
        : mNth(aNth),
          mFault(aFault),
          mHook(std::move(aHook))
    {}

    [[nodiscard]] int Calls() const noexcept { return mCalls; }
    [[nodiscard]] bool HasFired() const noexcept { return mHasFired; }

    int Create(const fs::path& aPath, int& aFile) noexcept override
    {
        // A file that was made and yet not given can't be, so this one is refused in both ways.
        return faulty([&] { return FileCalls::Create(aPath, aFile); }, false);
    }
    long long Write(int aFile, const unsigned char* aData, std::size_t aSize) noexcept override
    {
        std::size_t size = std::min(aSize, kMostPerWrite);
        if (isNext(kShort)) {
            mNth += 1;
            size = (size + 1) / 2;
        } else if (isNext(kNothing)) {
            mHasFired = true;
            ++mCalls;
            return 0;
        }
        long long written = 0;
        const int error = faulty(
            [&] {
                written = FileCalls::Write(aFile, aData, size);
                return written < 0 ? errno : 0;
            },
            true);
        errno = error;
        return error == 0 ? written : -1;
    }
    int Flush(int aFile) noexcept override
    {
        return faulty([&] { return FileCalls::Flush(aFile); }, true);
    }
    int Close(int aFile) noexcept override
    {
        bool isClosed = false;
        const int error = faulty(
            [&] {
                isClosed = true;
                return FileCalls::Close(aFile);
            },
            true);
        if (!isClosed) {
            FileCalls::Close(aFile); // a file that failed to close is closed all the same
        }
        return error;
    }
    std::error_code Move(const fs::path& aFrom, const fs::path& aTo) override
    {
        std::error_code moved;
        const int error = faulty(
            [&] {
                moved = FileCalls::Move(aFrom, aTo);
                return 0;
            },
            true);
        return error != 0 ? std::error_code(error, std::generic_category()) : moved;
    }

private:
    [[nodiscard]] bool isNext(Fault aFault) const noexcept
    {
        return mFault == aFault && mCalls + 1 == mNth;
    }
    template <class Call>
    int faulty(Call&& aCall, bool aCanBeDone) noexcept
    {
        if (++mCalls != mNth) {
            return aCall();
        }
        mHasFired = true;
        if (mFault == kStop) {
            mHook();
        }
        if (mFault == kDoneAndStop || (mFault == kDoneButFailed && aCanBeDone)) {
            aCall();
        }
        if (mFault == kDoneAndStop) {
            mHook();
        }
        return EIO;
    }

    int mNth;
    Fault mFault;
    std::function<void()> mHook;
    int mCalls{0};
    bool mHasFired{false};
};

Bytes archiveOfSize(std::size_t aSize)
{
    ktstd_Archive archive;
    const Bytes block(aSize, 0x5A);
    archive.Write(block.data(), static_cast<long>(block.size()));
    return archive.Finish();
}

void save(const std::string& aPath, std::size_t aSize)
{
    ktstd_Archive archive;
    const Bytes block(aSize, 0x5A);
    archive.Write(block.data(), static_cast<long>(block.size()));
    archive.Save(aPath.c_str());
}

//! Gives the size of what a file holds, which loads only when it is whole.
std::size_t loadedSize(const std::string& aPath)
{
    return static_cast<std::size_t>(ktstd_Archive::FromFile(aPath.c_str()).Remaining());
}

//! Saves over an old file, or where there is none, with a fault at each call in turn.
//! @return  how many faults were met
int sweep(FaultyCalls::Fault aFault, bool aHasOld)
{
    const Bytes bytes = archiveOfSize(kNewSize);
    int met = 0;
    for (int nth = 1; nth < 1000; ++nth) {
        SCOPED_TRACE(testing::Message() << "fault " << aFault << " at call " << nth);
        const TempFolder folder;
        const std::string path = folder.File("data.kta");
        if (aHasOld) {
            save(path, kOldSize);
        }
        FaultyCalls calls(nth, aFault);
        bool refused = false;
        try {
            ktstd_detail::WriteWholeFile(path, bytes, calls);
        } catch (const Hnd_ktstd_fail_FileIO& failure) {
            refused = true;
            EXPECT_EQ(failure->Code(), ktstd_fail_FileIO::kCannotWrite);
        }
        EXPECT_EQ(refused, calls.HasFired());
        const bool isThere = fs::exists(fs::u8path(path));
        EXPECT_EQ(folder.Names(), isThere ? Names{"data.kta"} : Names{});
        if (isThere) {
            const std::size_t found = loadedSize(path);
            // A move that is done and fails leaves the new file; every other failure the old one.
            const bool isNew = !refused || aFault == FaultyCalls::kDoneButFailed;
            EXPECT_TRUE(found == kNewSize ? isNew : refused && aHasOld && found == kOldSize)
                << "found " << found;
        } else {
            EXPECT_TRUE(refused && !aHasOld);
        }
        save(path, kNewSize + 1);
        EXPECT_EQ(loadedSize(path), kNewSize + 1) << "a later save";
        if (!calls.HasFired()) {
            return met;
        }
        ++met;
    }
    ADD_FAILURE() << "the save never completes";
    return met;
}

} // namespace

TEST(ktstd_SaveFaults, SaveTakesACallForEachStep)
{
    const TempFolder folder;
    const Bytes bytes = archiveOfSize(kNewSize);
    FaultyCalls calls(0, FaultyCalls::kRefused);
    ktstd_detail::WriteWholeFile(folder.File("data.kta"), bytes, calls);
    const auto writes = static_cast<int>((bytes.size() + kMostPerWrite - 1) / kMostPerWrite);
    EXPECT_EQ(calls.Calls(), writes + 4) << "create, writes, flush, close, move";
    EXPECT_EQ(loadedSize(folder.File("data.kta")), kNewSize);
}

TEST(ktstd_SaveFaults, CallThatIsRefusedLeavesTheOldFile)
{
    EXPECT_GT(sweep(FaultyCalls::kRefused, true), 10);
    EXPECT_GT(sweep(FaultyCalls::kRefused, false), 10);
}

TEST(ktstd_SaveFaults, CallThatIsDoneAndFailsLeavesAWholeFile)
{
    EXPECT_GT(sweep(FaultyCalls::kDoneButFailed, true), 10);
    EXPECT_GT(sweep(FaultyCalls::kDoneButFailed, false), 10);
}

TEST(ktstd_SaveFaults, ShortWriteAndThenAFailureLeaveTheOldFile)
{
    EXPECT_GT(sweep(FaultyCalls::kShort, true), 10);
    EXPECT_GT(sweep(FaultyCalls::kShort, false), 10);
}

TEST(ktstd_SaveFaults, WriteOfNothingLeavesTheOldFile)
{
    const Bytes bytes = archiveOfSize(kNewSize);
    const auto writes = static_cast<int>((bytes.size() + kMostPerWrite - 1) / kMostPerWrite);
    for (int write = 1; write <= writes; ++write) {
        SCOPED_TRACE(write);
        const TempFolder folder;
        const std::string path = folder.File("data.kta");
        save(path, kOldSize);
        FaultyCalls calls(1 + write, FaultyCalls::kNothing);
        EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kCannotWrite,
                               [&] { ktstd_detail::WriteWholeFile(path, bytes, calls); }));
        EXPECT_TRUE(calls.HasFired());
        EXPECT_EQ(loadedSize(path), kOldSize);
        EXPECT_EQ(folder.Names(), Names{"data.kta"});
    }
}

TEST(ktstd_SaveFaults, WriteInterruptedBySignalsGoesOn)
{
    //! Interrupts every other write.
    class Interrupted : public ktstd_detail::FileCalls
    {
    public:
        long long Write(int aFile, const unsigned char* aData, std::size_t aSize) noexcept override
        {
            if (++writes % 2 != 0) {
                errno = EINTR;
                return -1;
            }
            return FileCalls::Write(aFile, aData, std::min(aSize, kMostPerWrite));
        }
        int writes{0};
    };
    const TempFolder folder;
    const std::string path = folder.File("data.kta");
    Interrupted calls;
    ktstd_detail::WriteWholeFile(path, archiveOfSize(kNewSize), calls);
    EXPECT_GT(calls.writes, 10);
    EXPECT_EQ(loadedSize(path), kNewSize);
}

TEST(ktstd_SaveFaults, OneWriteTakesAtMost256MiB)
{
    class Counting : public ktstd_detail::FileCalls
    {
    public:
        long long Write(int /*aFile*/, const unsigned char* /*aData*/,
                        std::size_t aSize) noexcept override
        {
            sizes[std::min<std::size_t>(writes++, 2)] = aSize;
            return static_cast<long long>(aSize);
        }
        std::size_t writes{0};
        std::size_t sizes[3]{};
    };
    constexpr std::size_t kMost = std::size_t{256} * 1024 * 1024;
    const TempFolder folder;
    Counting calls;
    ktstd_detail::WriteWholeFile(folder.File("data.kta"), Bytes(kMost + 1), calls);
    EXPECT_EQ(calls.writes, 2U);
    EXPECT_EQ(calls.sizes[0], kMost);
    EXPECT_EQ(calls.sizes[1], 1U);
}

TEST(ktstd_SaveFaults, MoveThatRunsOutOfMemoryLeavesTheOldFile)
{
    class Exhausted : public ktstd_detail::FileCalls
    {
    public:
        std::error_code Move(const fs::path& /*aFrom*/, const fs::path& /*aTo*/) override
        {
            throw std::bad_alloc();
        }
    };
    const TempFolder folder;
    const std::string path = folder.File("data.kta");
    save(path, kOldSize);
    Exhausted calls;
    EXPECT_THROW(ktstd_detail::WriteWholeFile(path, archiveOfSize(kNewSize), calls),
                 std::bad_alloc);
    EXPECT_EQ(loadedSize(path), kOldSize);
    EXPECT_EQ(folder.Names(), Names{"data.kta"});
}

TEST(ktstd_SaveFaults, MoveOfAFileThatIsGoneGivesAnErrorAndKeepsTheTarget)
{
    const TempFolder folder;
    const std::string path = folder.File("data.kta");
    save(path, kOldSize);
    ktstd_detail::FileCalls calls;
    EXPECT_TRUE(calls.Move(fs::u8path(folder.File("gone")), fs::u8path(path)));
    EXPECT_EQ(loadedSize(path), kOldSize);
}

TEST(ktstd_SaveFaults, NoFreeNameBesideTheTargetLeavesAllAsItWas)
{
    class Taken : public ktstd_detail::FileCalls
    {
    public:
        int Create(const fs::path& /*aPath*/, int& /*aFile*/) noexcept override
        {
            ++asked;
            return EEXIST;
        }
        int asked{0};
    };
    const TempFolder folder;
    const std::string path = folder.File("data.kta");
    save(path, kOldSize);
    Taken calls;
    EXPECT_TRUE(raisesCode(ktstd_fail_FileIO::kCannotWrite, [&] {
        ktstd_detail::WriteWholeFile(path, archiveOfSize(kNewSize), calls);
    }));
    EXPECT_EQ(calls.asked, 1000);
    EXPECT_EQ(loadedSize(path), kOldSize);
    EXPECT_EQ(folder.Names(), Names{"data.kta"});
}

TEST(ktstd_SaveFaults, TargetThatMustNotBeWrittenIsReplacedOrLeftAlone)
{
    // Replaced where a file may be moved over it (Linux), refused where not (Windows).
    const TempFolder folder;
    const std::string path = folder.File("data.kta");
    save(path, kOldSize);
    fs::permissions(fs::u8path(path), fs::perms::owner_read);
    std::size_t wanted = kNewSize;
    try {
        save(path, kNewSize);
    } catch (const Hnd_ktstd_fail_FileIO& failure) {
        EXPECT_EQ(failure->Code(), ktstd_fail_FileIO::kCannotWrite);
        wanted = kOldSize;
    }
    EXPECT_EQ(loadedSize(path), wanted);
    EXPECT_EQ(folder.Names(), Names{"data.kta"});
    fs::permissions(fs::u8path(path), fs::perms::owner_all); // so that it can be removed
}

#if !defined(_WIN32) // There is no limit on the size of files there, and no process is forked.

TEST(ktstd_SaveFaults, FileThatIsNotOpenIsNeitherFlushedNorClosed)
{
    ktstd_detail::FileCalls calls;
    EXPECT_EQ(calls.Flush(-1), EBADF);
    EXPECT_EQ(calls.Close(-1), EBADF);
}

TEST(ktstd_SaveFaults, FolderThatMayNotBeReadIsSavedInto)
{
    const TempFolder folder;
    const std::string path = folder.File("data.kta");
    fs::permissions(folder.Path(), fs::perms::owner_write | fs::perms::owner_exec);
    EXPECT_NO_THROW(save(path, kNewSize));
    fs::permissions(folder.Path(), fs::perms::owner_all);
    EXPECT_EQ(loadedSize(path), kNewSize);
    EXPECT_EQ(folder.Names(), Names{"data.kta"});
}

TEST(ktstd_SaveFaults, DiskThatFillsAtAnyByteLeavesTheOldFile)
{
    const TempFolder folder;
    const std::string path = folder.File("data.kta");
    save(path, kOldSize);
    const std::size_t whole = archiveOfSize(kNewSize).size();
    auto* const oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    for (std::size_t room = 0; room <= whole; ++room) {
        SCOPED_TRACE(testing::Message() << "room for " << room << " bytes");
        rlimit small = old;
        small.rlim_cur = room;
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
        unsigned code = 0;
        try {
            save(path, kNewSize);
        } catch (const Hnd_ktstd_fail_FileIO& failure) {
            code = failure->Code();
        }
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &old), 0);
        EXPECT_EQ(code, room < whole ? unsigned{ktstd_fail_FileIO::kCannotWrite} : 0);
        EXPECT_EQ(loadedSize(path), room < whole ? kOldSize : kNewSize);
        EXPECT_EQ(folder.Names(), Names{"data.kta"});
    }
    std::signal(SIGXFSZ, oldHandler);
}

//! Saves in a process that is killed before or after the Nth call.
//! @return  whether there was such a call
bool saveAndBeKilled(const std::string& aPath, const Bytes& aBytes, int aNth,
                     FaultyCalls::Fault aFault)
{
    const pid_t child = fork();
    if (child == 0) {
        FaultyCalls calls(aNth, aFault, [] { ::kill(::getpid(), SIGKILL); });
        try {
            ktstd_detail::WriteWholeFile(aPath, aBytes, calls);
        } catch (...) {
            ::_exit(2);
        }
        ::_exit(0);
    }
    int status = 0;
    EXPECT_GT(child, 0);
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    const bool wasKilled = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    EXPECT_TRUE(wasKilled || (WIFEXITED(status) && WEXITSTATUS(status) == 0));
    return wasKilled;
}

TEST(ktstd_SaveFaults, KilledProcessLeavesTheOldFileOrTheNewOne)
{
    const Bytes bytes = archiveOfSize(kNewSize);
    for (const auto fault : {FaultyCalls::kStop, FaultyCalls::kDoneAndStop}) {
        int kills = 0;
        int replaced = 0;
        for (bool wasKilled = true; wasKilled && kills < 1000;) {
            SCOPED_TRACE(testing::Message() << "fault " << fault << " at call " << kills + 1);
            const TempFolder folder;
            const std::string path = folder.File("data.kta");
            save(path, kOldSize);
            wasKilled = saveAndBeKilled(path, bytes, kills + 1, fault);
            const std::size_t found = loadedSize(path);
            EXPECT_TRUE(found == kNewSize || (wasKilled && found == kOldSize)) << found;
            kills += wasKilled ? 1 : 0;
            replaced += wasKilled && found == kNewSize ? 1 : 0;
            // What the dead process left is in nobody's way.
            save(path, kNewSize + 1);
            EXPECT_EQ(loadedSize(path), kNewSize + 1);
            EXPECT_LE(folder.Names().size(), 2U);
        }
        EXPECT_GT(kills, 10);
        EXPECT_EQ(replaced, fault == FaultyCalls::kDoneAndStop ? 1 : 0) << "after the move alone";
    }
}

#else

TEST(ktstd_SaveFaults, DiskThatFillsAtAnyByteLeavesTheOldFile)
{
    GTEST_SKIP() << "files can't be limited in size here; the refused writes stand for it";
}

TEST(ktstd_SaveFaults, KilledProcessLeavesTheOldFileOrTheNewOne)
{
    GTEST_SKIP() << "a process can't be forked here";
}

#endif
