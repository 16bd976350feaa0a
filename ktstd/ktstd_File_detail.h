//! @file
//! Whole files: reading one, and replacing one so that it is never half written.
#pragma once

#include <string>
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

//! Writes a file as a whole: beside the target first, flushed to disk, then moved over it.
//! A target that is a symbolic link stays one; the file that it leads to is replaced.
//! @param aPath   path in UTF-8
//! @param aBytes  the content
//! @throws ktstd_fail_FileIO  kCannotWrite; the target is as it was, and no other file is left
void WriteWholeFile(const std::string& aPath, const std::vector<unsigned char>& aBytes);

} // namespace ktstd_detail
