#include "ktstd/ktstd_File_detail.h"

#include "ktstd/ktstd_fail.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBlock = 1 << 16;
constexpr int kMaxTemporaries = 1000;

using ktstd_detail::FileCalls;

struct FileCloser
{
    void operator()(std::FILE* aFile) const noexcept { std::fclose(aFile); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

[[noreturn]] void raise(const char* aOperation, const std::string& aPath, const std::string& aWhy,
                        unsigned char aCode)
{
    const std::string text = std::string(aOperation) + " file \"" + aPath + "\": " + aWhy;
    ktstd_fail_FileIO::Raise(text.c_str(), aCode);
}

std::string reason(int aError)
{
    return std::generic_category().message(aError);
}

FilePtr openToRead(const fs::path& aPath) noexcept
{
#if defined(_WIN32)
    return FilePtr(_wfopen(aPath.c_str(), L"rb"));
#else
    return FilePtr(std::fopen(aPath.c_str(), "rb"));
#endif
}

//! Refuses folders, devices and pipes, which have no end or no content.
void checkPlainFile(const fs::path& aFile, const std::string& aPath)
{
    std::error_code error;
    const fs::file_status status = fs::status(aFile, error);
    if (status.type() == fs::file_type::not_found) {
        raise("read", aPath, "there is no such file", ktstd_fail_FileIO::kCannotOpen);
    }
    if (fs::is_directory(status)) {
        raise("read", aPath, "it is a folder", ktstd_fail_FileIO::kCannotOpen);
    }
    if (error) {
        raise("read", aPath, error.message(), ktstd_fail_FileIO::kCannotOpen);
    }
    if (!fs::is_regular_file(status)) {
        raise("read", aPath, "it is no plain file", ktstd_fail_FileIO::kCannotOpen);
    }
}

int writeAll(FileCalls& aCalls, int aFile, const std::vector<unsigned char>& aBytes) noexcept
{
    for (std::size_t at = 0; at < aBytes.size();) {
        const long long written = aCalls.Write(aFile, aBytes.data() + at,
                                               std::min<std::size_t>(aBytes.size() - at, 1 << 28));
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return written < 0 ? errno : ENOSPC;
        }
        at += static_cast<std::size_t>(written);
    }
    return aCalls.Flush(aFile);
}

//! A new file beside a target; it is removed when this goes, unless it was moved to the target.
class Temporary
{
public:
    explicit Temporary(FileCalls& aCalls) noexcept : mCalls(aCalls) {}
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;
    ~Temporary()
    {
        if (mIsThere) {
            std::error_code ignored;
            // With the target's rights it may be one that Windows doesn't remove.
            fs::permissions(mPath, fs::perms::owner_write, fs::perm_options::add, ignored);
            fs::remove(mPath, ignored);
        }
    }

    void Write(const fs::path& aTarget, const std::vector<unsigned char>& aBytes,
               const std::string& aPath)
    {
        int file = -1;
        int error = EEXIST;
        for (int i = 0; error == EEXIST && i < kMaxTemporaries; ++i) {
            mPath = aTarget;
            mPath += ".~" + std::to_string(i);
            error = mCalls.Create(mPath, file);
        }
        if (error != 0) {
            raise("write", aPath, "no file can be made beside it: " + reason(error),
                  ktstd_fail_FileIO::kCannotWrite);
        }
        mIsThere = true;
        error = writeAll(mCalls, file, aBytes);
        const int closing = mCalls.Close(file);
        error = error != 0 ? error : closing;
        if (error != 0) {
            raise("write", aPath, reason(error), ktstd_fail_FileIO::kCannotWrite);
        }
    }

    void MoveTo(const fs::path& aTarget, const std::string& aPath)
    {
        std::error_code error;
        const fs::file_status old = fs::status(aTarget, error);
        if (fs::is_directory(old)) {
            raise("write", aPath, "it is a folder", ktstd_fail_FileIO::kCannotWrite);
        }
        if (fs::exists(old)) {
            fs::permissions(mPath, old.permissions(), error);
        }
        error = mCalls.Move(mPath, aTarget);
        if (error) {
            raise("write", aPath, error.message(), ktstd_fail_FileIO::kCannotWrite);
        }
        mIsThere = false;
    }

private:
    FileCalls& mCalls;
    fs::path mPath;
    bool mIsThere{false};
};

//! Follows a symbolic link to the file that is to be replaced.
fs::path finalTarget(const fs::path& aPath)
{
    std::error_code error;
    if (fs::is_symlink(fs::symlink_status(aPath, error))) {
        fs::path target = fs::canonical(aPath, error);
        if (!error) {
            return target;
        }
    }
    return aPath;
}

} // namespace

namespace ktstd_detail {

#if defined(_WIN32)

int FileCalls::Create(const fs::path& aPath, int& aFile) noexcept
{
    return _wsopen_s(&aFile, aPath.c_str(),
                     _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT, _SH_DENYRW,
                     _S_IREAD | _S_IWRITE);
}

long long FileCalls::Write(int aFile, const unsigned char* aData, std::size_t aSize) noexcept
{
    return _write(aFile, aData, static_cast<unsigned>(aSize));
}

int FileCalls::Flush(int aFile) noexcept
{
    return _commit(aFile) == 0 ? 0 : errno;
}

int FileCalls::Close(int aFile) noexcept
{
    return _close(aFile) == 0 ? 0 : errno;
}

std::error_code FileCalls::Move(const fs::path& aFrom, const fs::path& aTo)
{
    if (MoveFileExW(aFrom.c_str(), aTo.c_str(),
                    MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0) {
        return {};
    }
    return std::error_code(static_cast<int>(GetLastError()), std::system_category());
}

#else

int FileCalls::Create(const fs::path& aPath, int& aFile) noexcept
{
    aFile = ::open(aPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    return aFile >= 0 ? 0 : errno;
}

long long FileCalls::Write(int aFile, const unsigned char* aData, std::size_t aSize) noexcept
{
    return ::write(aFile, aData, aSize);
}

int FileCalls::Flush(int aFile) noexcept
{
    return ::fsync(aFile) == 0 ? 0 : errno;
}

int FileCalls::Close(int aFile) noexcept
{
    return ::close(aFile) == 0 ? 0 : errno;
}

std::error_code FileCalls::Move(const fs::path& aFrom, const fs::path& aTo)
{
    const fs::path folder = aTo.has_parent_path() ? aTo.parent_path() : fs::path(".");
    std::error_code error;
    fs::rename(aFrom, aTo, error);
    if (error) {
        return error;
    }
    // The move itself is on disk when the folder is; a file system that can't do that is not asked.
    const int handle = ::open(folder.c_str(), O_RDONLY | O_CLOEXEC);
    if (handle >= 0) {
        ::fsync(handle);
        ::close(handle);
    }
    return {};
}

#endif

std::vector<unsigned char> ReadWholeFile(const std::string& aPath,
                                         const std::vector<unsigned char>& aStart)
{
    if (aPath.empty()) {
        raise("read", aPath, "the path is empty", ktstd_fail_FileIO::kCannotOpen);
    }
    const fs::path path = fs::u8path(aPath);
    checkPlainFile(path, aPath);
    const FilePtr file = openToRead(path);
    if (!file) {
        raise("read", aPath, reason(errno), ktstd_fail_FileIO::kCannotOpen);
    }
    std::vector<unsigned char> bytes;
    for (;;) {
        const std::size_t size = bytes.size();
        if (size == kBlock) {
            std::error_code error;
            const auto whole = fs::file_size(path, error);
            bytes.reserve(error ? 0 : static_cast<std::size_t>(whole) + kBlock);
        }
        bytes.resize(size + kBlock);
        const std::size_t read = std::fread(bytes.data() + size, 1, kBlock, file.get());
        bytes.resize(size + read);
        if (bytes.size() >= aStart.size() && size == 0 &&
            !std::equal(aStart.begin(), aStart.end(), bytes.begin())) {
            raise("read", aPath, "it is no archive, at byte 0", ktstd_fail_FileIO::kForeign);
        }
        if (read < kBlock) {
            break;
        }
    }
    if (std::ferror(file.get()) != 0) {
        raise("read", aPath, reason(errno), ktstd_fail_FileIO::kCannotRead);
    }
    return bytes;
}

void WriteWholeFile(const std::string& aPath, const std::vector<unsigned char>& aBytes,
                    FileCalls& aCalls)
{
    if (aPath.empty()) {
        raise("write", aPath, "the path is empty", ktstd_fail_FileIO::kCannotWrite);
    }
    const fs::path target = finalTarget(fs::u8path(aPath));
    Temporary temporary(aCalls);
    temporary.Write(target, aBytes, aPath);
    temporary.MoveTo(target, aPath);
}

} // namespace ktstd_detail
