#include "support/Links.h"

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Schema.h"
#include "ktstd/ktstd_fail.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

Hnd_ktstd_Transient makeLink()
{
    return Hnd_ktstd_Transient(new Link());
}
const ktstd_SchemaEntry schemaEntry("Link", 2, makeLink);

constexpr std::size_t kTrailer = 32;

} // namespace

KTSTD_DEFINE_TYPE(Link, ktstd_TShared)

long Link::alive = 0;
long Link::raiseWhileStoring = -1;

Link::Link(long aNumber, const Hnd_Link& aNext) : number(aNumber), next(aNext)
{
    ++alive;
}

Link::~Link()
{
    --alive;
}

void Link::Serialize(ktstd_Archive& aArchive)
{
    if (aArchive.IsStoring() != 0) {
        aArchive << number << next;
        if (number == raiseWhileStoring) {
            ktstd_fail_DomainError::Raise("asked for by the test");
        }
    } else {
        aArchive >> number >> next;
    }
}

namespace kt_test {

Bytes dataFile(const std::string& aName)
{
    std::ifstream file(std::string(KT_SOURCE_DIR) + "/tests/data/" + aName, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << aName;
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

std::uint32_t crc32(const Bytes& aBytes, std::size_t aSize)
{
    std::uint32_t crc = 0xFFFFFFFFU;
    for (std::size_t i = 0; i < aSize; ++i) {
        crc ^= aBytes[i];
        for (int bit = 0; bit < 8; ++bit) {
            const bool low = (crc & 1U) != 0;
            crc >>= 1;
            crc ^= low ? 0xEDB88320U : 0U;
        }
    }
    return ~crc;
}

void put32(Bytes& aBytes, std::uint32_t aValue)
{
    for (int i = 0; i < 4; ++i) {
        aBytes.push_back(static_cast<unsigned char>(aValue >> (8 * i)));
    }
}

void put64(Bytes& aBytes, std::uint64_t aValue)
{
    put32(aBytes, static_cast<std::uint32_t>(aValue));
    put32(aBytes, static_cast<std::uint32_t>(aValue >> 32));
}

void putName(Bytes& aBytes, const std::string& aName)
{
    aBytes.push_back(static_cast<unsigned char>(aName.size()));
    aBytes.insert(aBytes.end(), aName.begin(), aName.end());
}

Bytes archiveOf(const Bytes& aData)
{
    Bytes bytes = {0x89, 'K', 'T', 'A', 0x0D, 0x0A, 0x1A, 0x0A};
    put32(bytes, 16);
    put32(bytes, 0);
    bytes.insert(bytes.end(), aData.begin(), aData.end());
    const std::size_t directory = bytes.size();
    put64(bytes, directory);
    put32(bytes, 0);
    put64(bytes, directory + kTrailer);
    put32(bytes, 0);
    for (const char letter : {'K', 'T', 'A', 'E', 'N', 'D', '\r', '\n'}) {
        bytes.push_back(static_cast<unsigned char>(letter));
    }
    return sealed(bytes);
}

Bytes sealed(Bytes aArchive)
{
    const std::size_t place = aArchive.size() - 12;
    const std::uint32_t crc = crc32(aArchive, place);
    for (std::size_t i = 0; i < 4; ++i) {
        aArchive[place + i] = static_cast<unsigned char>(crc >> (8 * i));
    }
    return aArchive;
}

} // namespace kt_test
