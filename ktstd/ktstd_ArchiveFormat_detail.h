//! @file
//! The bytes around an archive's data: header, directory and trailer. docs/archive-format.md
//! describes them.
#pragma once

#include "ktstd/ktstd_Archive.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace ktstd_detail {

using Bytes = std::vector<unsigned char>;

//! Longest class name in an archive.
constexpr std::size_t kLongestClassName = 255;

//! Where the parts of a complete archive are, and what its header says.
struct ArchiveLayout
{
    long formatVersion{0};
    std::map<std::string, long> classVersions;
    std::size_t dataStart{0};
    std::size_t dataEnd{0}; //!< also the start of the directory
};

//! Gives the bytes that every archive starts with.
[[nodiscard]] const Bytes& ArchiveMagic();

//! Appends a number, lowest byte first.
template <class Unsigned>
void Put(Bytes& aBytes, Unsigned aValue)
{
    for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
        aBytes.push_back(static_cast<unsigned char>(aValue >> (8 * i)));
    }
}

//! Gives a number, lowest byte first.
template <class Unsigned>
[[nodiscard]] Unsigned Get(const unsigned char* aBytes) noexcept
{
    Unsigned value = 0;
    for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
        value =
            static_cast<Unsigned>(value | static_cast<Unsigned>(Unsigned{aBytes[i]} << (8 * i)));
    }
    return value;
}

//! Appends a class name: its length in 1 byte, then its bytes.
void PutName(Bytes& aBytes, const std::string& aName);

//! Gives a class name that was read, for a message: in quotes, each byte that is no printing ASCII
//! character as its number (\x00), so that no byte ends the text or leaves its line.
[[nodiscard]] std::string Quoted(const std::string& aName);

//! Puts a complete archive together.
//! @param aFormatVersion   15 or 16
//! @param aClassVersions   names of 1 to 255 bytes
//! @param aData            the data
//! @param aObjects         directory, with offsets from the start of the data
[[nodiscard]] Bytes BuildArchive(long aFormatVersion,
                                 const std::map<std::string, long>& aClassVersions,
                                 const Bytes& aData,
                                 const std::vector<ktstd_ArchiveObject>& aObjects);

//! Checks a complete archive, but for the meaning of its data.
//! @param aBytes   the archive
//! @param aSource  what to call it in messages
//! @throws ktstd_fail_FileIO  kTruncated, kForeign, kBadFormat, kAltered, kDamaged
[[nodiscard]] ArchiveLayout ParseArchive(const Bytes& aBytes, const std::string& aSource);

//! Reads the directory of an archive that ParseArchive has accepted.
//! @param aBytes   the archive
//! @param aLayout  what ParseArchive gave
//! @param aSource  what to call it in messages
[[nodiscard]] std::vector<ktstd_ArchiveObject>
ParseDirectory(const Bytes& aBytes, const ArchiveLayout& aLayout, const std::string& aSource);

//! Raises ktstd_fail_FileIO for an archive that can't be loaded.
//! @param aSource  what to call the archive
//! @param aWhat    what is wrong
//! @param aOffset  byte offset of it
//! @param aCode    ktstd_fail_FileIO::Reason
[[noreturn]] void RaiseLoading(const std::string& aSource, const std::string& aWhat,
                               std::size_t aOffset, unsigned char aCode);

} // namespace ktstd_detail
