//! @file
//! Bytes of an archive changed under a right checksum, and what a refusal of it must say.
#pragma once

#include "ktstd/ktstd_fail.h"
#include "support/ArchiveReader.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace kt_test {

//! Puts a number into bytes, lowest first.
inline void overwrite(Bytes& aBytes, std::size_t aAt, std::uint64_t aValue, std::size_t aSize)
{
    for (std::size_t i = 0; i < aSize; ++i) {
        aBytes[aAt + i] = static_cast<unsigned char>(aValue >> (8 * i));
    }
}

//! Makes the checksum of a complete archive right again.
inline Bytes withChecksum(Bytes aArchive)
{
    const std::size_t place = aArchive.size() - 12;
    overwrite(aArchive, place, checksumOf(aArchive, place), 4);
    return aArchive;
}

//! Tells whether a failure says what it must: the byte where an archive went wrong; or one of the
//! two texts of records, which are fixed without a place.
inline bool namesItsPlace(ktstd_fail_FileIO& aFailure, std::size_t aSize)
{
    const std::string text = aFailure.Message();
    if (aFailure.Code() == ktstd_fail_FileIO::kBadClassVersion) {
        return text.find(": bad class version [") != std::string::npos && text.back() == ']';
    }
    if (aFailure.Code() == ktstd_fail_FileIO::kMissingEndOfClass) {
        const std::string end = ": expected end of class";
        return text.size() > end.size() && text.substr(text.size() - end.size()) == end;
    }
    const std::string mark = ", at byte ";
    const std::size_t found = text.rfind(mark);
    if (found == std::string::npos) {
        return false;
    }
    const std::string digits = text.substr(found + mark.size());
    return !digits.empty() && digits.size() < 19 &&
           digits.find_first_not_of("0123456789") == std::string::npos &&
           std::stoull(digits) <= aSize;
}

} // namespace kt_test
