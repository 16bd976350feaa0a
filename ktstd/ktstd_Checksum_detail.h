//! @file
//! Checksum of archives.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ktstd_detail {

//! Gives the CRC-32 of IEEE 802.3: reflected, polynomial 0xEDB88320, start and end inverted.
//! @param aBytes  may be null when aSize is 0
[[nodiscard]] std::uint32_t Checksum(const unsigned char* aBytes, std::size_t aSize) noexcept;

//! The same without the processor's multiplication of polynomials, which Checksum uses where there
//! is one.
[[nodiscard]] std::uint32_t PlainChecksum(const unsigned char* aBytes, std::size_t aSize) noexcept;

} // namespace ktstd_detail
