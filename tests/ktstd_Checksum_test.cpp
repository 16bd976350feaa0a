#include "ktstd/ktstd_Checksum_detail.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

using ktstd_detail::Checksum;
using ktstd_detail::PlainChecksum;

namespace {

//! The definition, bit by bit.
std::uint32_t bitByBit(const unsigned char* aBytes, std::size_t aSize)
{
    std::uint32_t crc = 0xFFFFFFFFU;
    for (std::size_t i = 0; i < aSize; ++i) {
        crc ^= aBytes[i];
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1U) != 0 ? (crc >> 1) ^ 0xEDB88320U : crc >> 1;
        }
    }
    return ~crc;
}

} // namespace

TEST(ktstd_Checksum, HasTheCheckValueOfItsKind)
{
    const unsigned char digits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(Checksum(digits, sizeof(digits)), 0xCBF43926U);
    EXPECT_EQ(PlainChecksum(digits, sizeof(digits)), 0xCBF43926U);
    EXPECT_EQ(Checksum(nullptr, 0), 0U);
}

TEST(ktstd_Checksum, OfAnyLengthAndPlaceIsThatOfTheBits)
{
    std::mt19937 random(1);
    std::vector<unsigned char> bytes(2000);
    for (unsigned char& each : bytes) {
        each = static_cast<unsigned char>(random());
    }
    for (const std::size_t start : {0U, 1U, 8U, 13U}) {
        for (std::size_t size = 0; start + size <= bytes.size(); size += size < 300 ? 1 : 37) {
            const unsigned char* const from = bytes.data() + start;
            const std::uint32_t expected = bitByBit(from, size);
            ASSERT_EQ(Checksum(from, size), expected) << size << " bytes from " << start;
            ASSERT_EQ(PlainChecksum(from, size), expected) << size << " bytes from " << start;
        }
    }
}

TEST(ktstd_Checksum, EachBitChangesIt)
{
    std::vector<unsigned char> bytes(200);
    const std::uint32_t before = Checksum(bytes.data(), bytes.size());
    for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
        bytes[bit / 8] ^= static_cast<unsigned char>(1U << (bit % 8));
        EXPECT_NE(Checksum(bytes.data(), bytes.size()), before) << "bit " << bit;
        bytes[bit / 8] ^= static_cast<unsigned char>(1U << (bit % 8));
    }
}
