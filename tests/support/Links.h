//! @file
//! A small persistent class for tests of the kernel's archive, and archives taken apart and sealed
//! again.
#pragma once

#include "ktstd/ktstd_TShared.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class Link;
KTSTD_HANDLE(Link, Hnd_ktstd_TShared)
Hnd_ktstd_Type& Link_Type_();

//! A number and a reference to the next link. Version 2.
class Link : public ktstd_TShared
{
public:
    explicit Link(long aNumber = 0, const Hnd_Link& aNext = Hnd_Link());
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;
    ~Link() override;
    void Serialize(ktstd_Archive& aArchive) override;
    KTSTD_DECLARE_TYPE(Link)

    long number;
    Hnd_Link next;

    static long alive;             //!< links that exist
    static long raiseWhileStoring; //!< storing a link of this number raises ktstd_fail_DomainError
};

namespace kt_test {

using Bytes = std::vector<unsigned char>;

//! Gives the bytes of a file in tests/data.
Bytes dataFile(const std::string& aName);

//! CRC-32 of IEEE 802.3, bit by bit.
std::uint32_t crc32(const Bytes& aBytes, std::size_t aSize);

//! Appends a number in 4 bytes, lowest first.
void put32(Bytes& aBytes, std::uint32_t aValue);
//! Appends a number in 8 bytes, lowest first.
void put64(Bytes& aBytes, std::uint64_t aValue);
//! Appends a class name with its length.
void putName(Bytes& aBytes, const std::string& aName);

//! Gives an archive of format 16 with given data, no class versions and no directory. Its data
//! start at byte 16.
Bytes archiveOf(const Bytes& aData);

//! Gives the archive with the right checksum for its bytes.
Bytes sealed(Bytes aArchive);

} // namespace kt_test
