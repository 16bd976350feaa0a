//! @file
//! Whole files: reading one, and replacing one so that it is never half written.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace ktstd_detail {

//! Reads a file as a whole.
//! @param aPath   path in UTF-8
//! @param aStart  bytes that the file must start with; a file that is long enough and doesn't is
//!                not read any further
//! @throws ktstd_fail_FileIO  kCannotOpen: missing, no plain file or not accessible; kCannotRead;
//!                            kForeign: it starts with other bytes
[[nodiscard]] std::vector<unsigned char> ReadWholeFile(const std::string& aPath,
                                                       const std::vector<unsigned char>& aStart);

//! The calls to the system that writing a file takes. A test puts one that fails in the place of
//! any of them. Create, Flush and Close give 0 or an error number.
class FileCalls
{
public:
    FileCalls() = default;
    FileCalls(const FileCalls&) = delete;
    FileCalls& operator=(const FileCalls&) = delete;
    virtual ~FileCalls() = default;

    //! Makes a file that isn't there yet. aFile is its descriptor, set on success alone.
    [[nodiscard]] virtual int Create(const std::filesystem::path& aPath, int& aFile) noexcept;
    //! Gives the number of bytes written, or -1 with errno set.
    [[nodiscard]] virtual long long Write(int aFile, const unsigned char* aData,
                                          std::size_t aSize) noexcept;
    //! Waits until the file's content is on disk.
    [[nodiscard]] virtual int Flush(int aFile) noexcept;
    //! Closes the file, whatever it gives.
    virtual int Close(int aFile) noexcept;
    //! Puts a file in the place of another one, or of none. Nothing was moved when it throws.
    [[nodiscard]] virtual std::error_code Move(const std::filesystem::path& aFrom,
                                               const std::filesystem::path& aTo);
};

//! Writes a file as a whole: beside the target first, flushed to disk, then moved over it.
//! A target that is a symbolic link stays one; the file that it leads to is replaced.
//! @param aPath   path in UTF-8
//! @param aBytes  the content
//! @param aCalls  how the system is called
//! @throws ktstd_fail_FileIO  kCannotWrite; the target is as it was, and no other file is left
void WriteWholeFile(const std::string& aPath, const std::vector<unsigned char>& aBytes,
                    FileCalls& aCalls);

} // namespace ktstd_detail
