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

//! Writes a number, lowest byte first.
//! @return  the place behind it
template <class Unsigned>
unsigned char* Put(unsigned char* aTo, Unsigned aValue) noexcept
{
    for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
        aTo[i] = static_cast<unsigned char>(aValue >> (8 * i));
    }
    return aTo + sizeof(Unsigned);
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

//! Writes a class name: its length in 1 byte, then its bytes.
//! @return  the place behind it
unsigned char* PutName(unsigned char* aTo, const std::string& aName) noexcept;

//! Gives a class name that was read, for a message: in quotes, each byte that is no printing ASCII
//! character as its number (\x00), so that no byte ends the text or leaves its line.
[[nodiscard]] std::string Quoted(const std::string& aName);

//! Takes memory for an archive, when there isn't enough. Where the system has large pages, they are
//! asked for when the archive is large: touching a page for the first time costs more than filling
//! it.
//! @throws std::bad_alloc  nothing has changed
void Reserve(Bytes& aBytes, std::size_t aCapacity);

//! An object in the directory of an archive that is being stored.
struct DirectoryEntry
{
    const std::string* className; //!< borrowed
    std::uint64_t offset;         //!< of its content, from the start of the data
    std::uint64_t length;         //!< of its content
};

//! Gives the size of what BuildHeader gives.
[[nodiscard]] std::size_t HeaderSize(const std::map<std::string, long>& aClassVersions) noexcept;

//! Gives what stands before an archive's data.
//! @param aFormatVersion  15 or 16
//! @param aClassVersions  names of 1 to 255 bytes
[[nodiscard]] Bytes BuildHeader(long aFormatVersion,
                                const std::map<std::string, long>& aClassVersions);

//! Makes an archive complete.
//! @param aBytes      room for a header, then the data; becomes the archive. Has the capacity for
//!                    CompleteSize bytes
//! @param aDataStart  size of that room, at most that of the header
//! @param aHeader     what BuildHeader gave
//! @param aObjects    the objects in the order of their numbers
void CompleteArchive(Bytes& aBytes, std::size_t aDataStart, const Bytes& aHeader,
                     const std::vector<DirectoryEntry>& aObjects) noexcept;

//! Gives the size of a complete archive.
//! @param aHeader  size of the header
//! @param aData    size of the data
[[nodiscard]] std::size_t CompleteSize(std::size_t aHeader, std::size_t aData,
                                       const std::vector<DirectoryEntry>& aObjects) noexcept;

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
