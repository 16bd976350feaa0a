//! @file
//! A second reader and writer of archives, made from docs/archive-format.md alone, so that the
//! library's own can't drift from it unnoticed.
#pragma once

#include "support/Records.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace kt_test {

//! Takes numbers from bytes, lowest byte first; throws std::out_of_range at the end.
class ByteReader
{
public:
    ByteReader(const Bytes& aBytes, std::size_t aStart, std::size_t aEnd)
        : mBytes(&aBytes),
          mPlace(aStart),
          mEnd(aEnd)
    {
        if (aStart > aEnd || aEnd > aBytes.size()) {
            throw std::out_of_range("a part lies outside the archive");
        }
    }

    [[nodiscard]] std::size_t place() const { return mPlace; }
    [[nodiscard]] bool isAtEnd() const { return mPlace == mEnd; }
    std::uint64_t number(std::size_t aSize)
    {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < aSize; ++i) {
            value |= std::uint64_t{next()} << (8 * i);
        }
        return value;
    }
    unsigned u8() { return static_cast<unsigned>(number(1)); }
    unsigned u16() { return static_cast<unsigned>(number(2)); }
    std::uint32_t u32() { return static_cast<std::uint32_t>(number(4)); }
    std::uint64_t u64() { return number(8); }
    double f64()
    {
        const std::uint64_t bits = number(8);
        double value = 0.0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }
    std::string text(std::size_t aSize)
    {
        std::string value;
        for (std::size_t i = 0; i < aSize; ++i) {
            value.push_back(static_cast<char>(next()));
        }
        return value;
    }
    //! A name: its length in one byte, then the bytes.
    std::string name() { return text(u8()); }

private:
    unsigned char next()
    {
        if (mPlace == mEnd) {
            throw std::out_of_range("a part ends too early");
        }
        return (*mBytes)[mPlace++];
    }

    const Bytes* mBytes;
    std::size_t mPlace;
    std::size_t mEnd;
};

//! CRC-32 of IEEE 802.3 over the first bytes.
inline std::uint32_t checksumOf(const Bytes& aBytes, std::size_t aSize)
{
    std::uint32_t value = 0xFFFFFFFFU;
    for (std::size_t i = 0; i < aSize; ++i) {
        value ^= aBytes[i];
        for (int bit = 0; bit < 8; ++bit) {
            value = (value & 1U) != 0 ? (value >> 1U) ^ 0xEDB88320U : value >> 1U;
        }
    }
    return ~value;
}

constexpr std::array<unsigned char, 8> kArchiveStart = {0x89, 0x4B, 0x54, 0x41,
                                                        0x0D, 0x0A, 0x1A, 0x0A};
constexpr std::array<unsigned char, 8> kArchiveEnd = {0x4B, 0x54, 0x41, 0x45,
                                                      0x4E, 0x44, 0x0D, 0x0A};

//! The parts of an archive.
struct ArchiveParts
{
    std::uint32_t format = 0;
    std::vector<std::pair<std::string, std::int32_t>> versions; //!< as they stand in the file
    std::size_t dataStart = 0;
    Bytes data;
    std::vector<RecordObject> objects; //!< offsets from the start of the file
};

//! Takes an archive apart; throws std::runtime_error where it is not as described.
inline ArchiveParts takeApart(const Bytes& aArchive)
{
    const auto require = [](bool aIsTrue, const char* aWhat) {
        if (!aIsTrue) {
            throw std::runtime_error(aWhat);
        }
    };
    const std::size_t size = aArchive.size();
    require(size >= 16 + 32, "shorter than header and trailer");
    require(std::memcmp(aArchive.data(), kArchiveStart.data(), 8) == 0, "format start");
    require(std::memcmp(aArchive.data() + size - 8, kArchiveEnd.data(), 8) == 0, "end mark");

    ByteReader trailer(aArchive, size - 32, size);
    const auto directoryStart = static_cast<std::size_t>(trailer.u64());
    const std::uint32_t entries = trailer.u32();
    require(trailer.u64() == size, "length of the whole");
    require(trailer.u32() == checksumOf(aArchive, size - 12), "checksum");

    ArchiveParts parts;
    ByteReader header(aArchive, 8, size - 32);
    parts.format = header.u32();
    const std::uint32_t classes = header.u32();
    for (std::uint32_t i = 0; i < classes; ++i) {
        const std::string name = header.name();
        require(!name.empty(), "name of a class");
        require(parts.versions.empty() || parts.versions.back().first < name, "order of classes");
        parts.versions.emplace_back(name, static_cast<std::int32_t>(header.u32()));
    }
    parts.dataStart = header.place();
    require(parts.dataStart <= directoryStart && directoryStart <= size - 32, "directory's place");
    parts.data.assign(aArchive.begin() + static_cast<std::ptrdiff_t>(parts.dataStart),
                      aArchive.begin() + static_cast<std::ptrdiff_t>(directoryStart));

    ByteReader directory(aArchive, directoryStart, size - 32);
    for (std::uint32_t i = 1; i <= entries; ++i) {
        require(directory.u32() == i, "number of an object");
        RecordObject object;
        object.className = directory.name();
        object.offset = static_cast<std::size_t>(directory.u64());
        object.length = static_cast<std::size_t>(directory.u64());
        require(object.offset >= parts.dataStart && object.offset <= directoryStart &&
                    object.length <= directoryStart - object.offset,
                "place of an object");
        parts.objects.push_back(object);
    }
    require(directory.isAtEnd(), "end of the directory");
    return parts;
}

//! Puts an archive together.
//! @param aRecord  the data, with its objects
inline Bytes putTogether(std::uint32_t aFormat,
                         const std::vector<std::pair<std::string, std::int32_t>>& aVersions,
                         const RecordBytes& aRecord)
{
    RecordBytes whole;
    whole.text(std::string(kArchiveStart.begin(), kArchiveStart.end())).u32(aFormat);
    whole.u32(static_cast<std::uint32_t>(aVersions.size()));
    for (const auto& [name, version] : aVersions) {
        whole.u8(static_cast<unsigned>(name.size())).text(name);
        whole.u32(static_cast<std::uint32_t>(version));
    }
    const std::size_t dataStart = whole.bytes().size();
    whole.text(std::string(aRecord.bytes().begin(), aRecord.bytes().end()));
    const std::size_t directoryStart = whole.bytes().size();
    std::uint32_t number = 0;
    for (const RecordObject& object : aRecord.objects()) {
        whole.u32(++number).u8(static_cast<unsigned>(object.className.size()));
        whole.text(object.className).u64(dataStart + object.offset).u64(object.length);
    }
    whole.u64(directoryStart).u32(number).u64(whole.bytes().size() + 4 + 8 + 8);
    whole.u32(checksumOf(whole.bytes(), whole.bytes().size()));
    whole.text(std::string(kArchiveEnd.begin(), kArchiveEnd.end()));
    return whole.bytes();
}

} // namespace kt_test
