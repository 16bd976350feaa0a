#include "ktstd/ktstd_ArchiveFormat_detail.h"

#include "ktstd/ktstd_Checksum_detail.h"
#include "ktstd/ktstd_fail.h"

#include <algorithm>
#include <array>
#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace ktstd_detail {
namespace {

constexpr std::size_t kFixedHeader = 16; //!< magic, format version, number of class versions
constexpr std::size_t kTrailer = 32;
constexpr std::size_t kDirectoryEntry = 21; //!< without the bytes of the class name
constexpr std::size_t kCheckedTrailer = 20; //!< the part of the trailer under the checksum
#if defined(__linux__)
constexpr std::size_t kLargePagesFrom = std::size_t{1} << 25U; //!< never a part of the heap
constexpr std::uintptr_t kPage = 4096;
#endif
constexpr std::array<unsigned char, 8> kEndMark = {'K', 'T', 'A', 'E', 'N', 'D', '\r', '\n'};

using Reason = ktstd_fail_FileIO::Reason;

//! Reads a part of an archive and refuses to leave it.
class PartReader
{
public:
    PartReader(const Bytes& aBytes, std::size_t aStart, std::size_t aEnd,
               const std::string& aSource, const char* aPart)
        : mBytes(aBytes),
          mAt(aStart),
          mEnd(aEnd),
          mSource(aSource),
          mPart(aPart)
    {}

    [[nodiscard]] std::size_t At() const noexcept { return mAt; }
    [[nodiscard]] bool AtEnd() const noexcept { return mAt == mEnd; }

    template <class Unsigned>
    Unsigned Number()
    {
        return Get<Unsigned>(Take(sizeof(Unsigned)));
    }

    std::string Name()
    {
        const std::size_t length = Number<std::uint8_t>();
        if (length == 0) {
            Raise("a class name is empty");
        }
        const unsigned char* const text = Take(length);
        return std::string(text, text + length);
    }

    [[noreturn]] void Raise(const std::string& aWhat) const
    {
        RaiseLoading(mSource, std::string(mPart) + ": " + aWhat, mAt, Reason::kDamaged);
    }

private:
    const unsigned char* Take(std::size_t aSize)
    {
        if (mEnd - mAt < aSize) {
            Raise("wanted " + std::to_string(aSize) + " bytes, found " +
                  std::to_string(mEnd - mAt));
        }
        const unsigned char* const bytes = mBytes.data() + mAt;
        mAt += aSize;
        return bytes;
    }

    const Bytes& mBytes;
    std::size_t mAt;
    std::size_t mEnd;
    const std::string& mSource;
    const char* mPart;
};

void checkMagic(const Bytes& aBytes, const std::string& aSource)
{
    const Bytes& magic = ArchiveMagic();
    const std::size_t common = std::min(magic.size(), aBytes.size());
    const auto differs = std::mismatch(
        magic.begin(), magic.begin() + static_cast<std::ptrdiff_t>(common), aBytes.begin());
    if (differs.second != aBytes.begin() + static_cast<std::ptrdiff_t>(common)) {
        RaiseLoading(aSource, "it is no archive",
                     static_cast<std::size_t>(differs.second - aBytes.begin()), Reason::kForeign);
    }
    if (aBytes.size() < kFixedHeader + kTrailer) {
        RaiseLoading(aSource, aBytes.empty() ? "it is empty" : "it ends too early", aBytes.size(),
                     Reason::kTruncated);
    }
}

void checkTrailer(const Bytes& aBytes, const std::string& aSource)
{
    const std::size_t end = aBytes.size();
    const std::size_t mark = end - kEndMark.size();
    if (!std::equal(kEndMark.begin(), kEndMark.end(),
                    aBytes.begin() + static_cast<std::ptrdiff_t>(mark))) {
        RaiseLoading(aSource, "no end mark: it is cut off, or other bytes follow it", mark,
                     Reason::kTruncated);
    }
    const std::size_t trailer = end - kTrailer;
    const auto length = Get<std::uint64_t>(aBytes.data() + trailer + 12);
    if (length != end) {
        RaiseLoading(aSource,
                     "wanted a length of " + std::to_string(end) + " bytes, found " +
                         std::to_string(length),
                     trailer + 12, Reason::kTruncated);
    }
    const std::size_t checked = trailer + kCheckedTrailer;
    if (Get<std::uint32_t>(aBytes.data() + checked) != Checksum(aBytes.data(), checked)) {
        RaiseLoading(aSource, "the checksum differs: bytes were changed", checked,
                     Reason::kAltered);
    }
}

std::map<std::string, long> parseClassVersions(PartReader& aReader)
{
    std::map<std::string, long> versions;
    const auto count = aReader.Number<std::uint32_t>();
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::string name = aReader.Name();
        if (!versions.empty() && versions.rbegin()->first >= name) {
            aReader.Raise("the classes are out of order at " + Quoted(name));
        }
        const auto version = static_cast<std::int32_t>(aReader.Number<std::uint32_t>());
        versions.emplace_hint(versions.end(), name, version);
    }
    return versions;
}

ktstd_ArchiveObject parseObject(PartReader& aReader, const ArchiveLayout& aLayout)
{
    ktstd_ArchiveObject object;
    object.number = aReader.Number<std::uint32_t>();
    object.className = aReader.Name();
    object.offset = aReader.Number<std::uint64_t>();
    object.length = aReader.Number<std::uint64_t>();
    if (object.offset < aLayout.dataStart || object.offset > aLayout.dataEnd ||
        object.length > aLayout.dataEnd - object.offset) {
        aReader.Raise("object " + std::to_string(object.number) + " is not inside the data");
    }
    return object;
}

//! Walks over the directory.
template <class Visitor>
void visitDirectory(const Bytes& aBytes, const ArchiveLayout& aLayout, const std::string& aSource,
                    Visitor aVisitor)
{
    const std::size_t trailer = aBytes.size() - kTrailer;
    const auto count = Get<std::uint32_t>(aBytes.data() + trailer + 8);
    PartReader reader(aBytes, aLayout.dataEnd, trailer, aSource, "directory");
    for (std::uint32_t i = 0; i < count; ++i) {
        ktstd_ArchiveObject object = parseObject(reader, aLayout);
        if (object.number != static_cast<unsigned long>(i) + 1) {
            reader.Raise("wanted object " + std::to_string(i + 1) + ", found " +
                         std::to_string(object.number));
        }
        aVisitor(std::move(object));
    }
    if (!reader.AtEnd()) {
        reader.Raise("other bytes follow it");
    }
}

} // namespace

const Bytes& ArchiveMagic()
{
    static const Bytes sMagic = {0x89, 'K', 'T', 'A', '\r', '\n', 0x1A, '\n'};
    return sMagic;
}

void RaiseLoading(const std::string& aSource, const std::string& aWhat, std::size_t aOffset,
                  unsigned char aCode)
{
    const std::string text =
        "load archive " + aSource + ": " + aWhat + ", at byte " + std::to_string(aOffset);
    ktstd_fail_FileIO::Raise(text.c_str(), aCode);
}

unsigned char* PutName(unsigned char* aTo, const std::string& aName) noexcept
{
    aTo = Put(aTo, static_cast<std::uint8_t>(aName.size()));
    return std::copy(aName.begin(), aName.end(), aTo);
}

std::string Quoted(const std::string& aName)
{
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string text = "\"";
    for (const char each : aName) {
        const auto byte = static_cast<unsigned char>(each);
        if (byte >= 0x20 && byte < 0x7F) {
            text += each;
        } else {
            text += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xFU]};
        }
    }
    return text + "\"";
}

void Reserve(Bytes& aBytes, std::size_t aCapacity)
{
    if (aCapacity <= aBytes.capacity()) {
        return;
    }
    Bytes wider;
    wider.reserve(aCapacity);
#if defined(__linux__)
    if (aCapacity >= kLargePagesFrom) {
        // Only whole pages that lie inside. Nothing depends on whether the system follows.
        const auto start = reinterpret_cast<std::uintptr_t>(wider.data());
        const std::uintptr_t first = (start + kPage - 1) / kPage * kPage;
        const std::uintptr_t end = (start + aCapacity) / kPage * kPage;
        // NOLINTNEXTLINE(performance-no-int-to-ptr): an address rounded to a page
        static_cast<void>(madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE));
    }
#endif
    wider.insert(wider.end(), aBytes.begin(), aBytes.end());
    aBytes.swap(wider);
}

std::size_t HeaderSize(const std::map<std::string, long>& aClassVersions) noexcept
{
    std::size_t size = kFixedHeader;
    for (const auto& [name, version] : aClassVersions) {
        size += 1 + name.size() + sizeof(std::uint32_t);
    }
    return size;
}

Bytes BuildHeader(long aFormatVersion, const std::map<std::string, long>& aClassVersions)
{
    Bytes bytes(HeaderSize(aClassVersions));
    unsigned char* to = std::copy(ArchiveMagic().begin(), ArchiveMagic().end(), bytes.data());
    to = Put(to, static_cast<std::uint32_t>(aFormatVersion));
    to = Put(to, static_cast<std::uint32_t>(aClassVersions.size()));
    for (const auto& [name, version] : aClassVersions) {
        to = PutName(to, name);
        to = Put(to, static_cast<std::uint32_t>(version));
    }
    return bytes;
}

std::size_t CompleteSize(std::size_t aHeader, std::size_t aData,
                         const std::vector<DirectoryEntry>& aObjects) noexcept
{
    std::size_t size = aHeader + aData + kTrailer;
    for (const DirectoryEntry& object : aObjects) {
        size += kDirectoryEntry + object.className->size();
    }
    return size;
}

void CompleteArchive(Bytes& aBytes, std::size_t aDataStart, const Bytes& aHeader,
                     const std::vector<DirectoryEntry>& aObjects) noexcept
{
    // Classes may have been noted since the room was made; none is ever dropped.
    aBytes.insert(aBytes.begin(), aHeader.size() - aDataStart, 0);
    std::copy(aHeader.begin(), aHeader.end(), aBytes.begin());

    const std::uint64_t directory = aBytes.size();
    aBytes.resize(CompleteSize(aHeader.size(), aBytes.size() - aHeader.size(), aObjects));
    unsigned char* to = aBytes.data() + directory;
    std::uint32_t number = 0;
    for (const DirectoryEntry& object : aObjects) {
        to = Put(to, ++number);
        to = PutName(to, *object.className);
        to = Put(to, static_cast<std::uint64_t>(aHeader.size() + object.offset));
        to = Put(to, object.length);
    }
    to = Put(to, directory);
    to = Put(to, number);
    to = Put(to, static_cast<std::uint64_t>(aBytes.size()));
    to = Put(to, Checksum(aBytes.data(), static_cast<std::size_t>(to - aBytes.data())));
    std::copy(kEndMark.begin(), kEndMark.end(), to);
}

ArchiveLayout ParseArchive(const Bytes& aBytes, const std::string& aSource)
{
    checkMagic(aBytes, aSource);
    const std::size_t trailer = aBytes.size() - kTrailer;
    const auto format =
        static_cast<std::int32_t>(Get<std::uint32_t>(aBytes.data() + ArchiveMagic().size()));
    if (format < ktstd_Archive::kOldestFormat || format > ktstd_Archive::kNewestFormat) {
        RaiseLoading(aSource, "wanted format version 15 or 16, found " + std::to_string(format),
                     ArchiveMagic().size(), Reason::kBadFormat);
    }
    checkTrailer(aBytes, aSource);

    ArchiveLayout layout;
    layout.formatVersion = format;
    PartReader header(aBytes, ArchiveMagic().size() + sizeof(std::uint32_t), trailer, aSource,
                      "class versions");
    layout.classVersions = parseClassVersions(header);
    layout.dataStart = header.At();
    const auto directory = Get<std::uint64_t>(aBytes.data() + trailer);
    if (directory < layout.dataStart || directory > trailer) {
        RaiseLoading(aSource, "the directory can't be at byte " + std::to_string(directory),
                     trailer, Reason::kDamaged);
    }
    layout.dataEnd = static_cast<std::size_t>(directory);
    visitDirectory(aBytes, layout, aSource, [](ktstd_ArchiveObject&&) {});
    return layout;
}

std::vector<ktstd_ArchiveObject> ParseDirectory(const Bytes& aBytes, const ArchiveLayout& aLayout,
                                                const std::string& aSource)
{
    std::vector<ktstd_ArchiveObject> objects;
    visitDirectory(aBytes, aLayout, aSource, [&objects](ktstd_ArchiveObject&& aObject) {
        objects.push_back(std::move(aObject));
    });
    return objects;
}

} // namespace ktstd_detail
