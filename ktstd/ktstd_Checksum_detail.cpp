#include "ktstd/ktstd_Checksum_detail.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include <array>

namespace ktstd_detail {
namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320U;
constexpr std::size_t kSlices = 8;

using Tables = std::array<std::array<std::uint32_t, 256>, kSlices>;

//! Tables for bytes that stand 0, 1, ... 7 bytes before the end of what is taken at once.
constexpr Tables makeTables() noexcept
{
    Tables tables{};
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t value = i;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value & 1U) != 0 ? kPolynomial ^ (value >> 1) : value >> 1;
        }
        tables[0][i] = value;
    }
    for (std::size_t slice = 1; slice < kSlices; ++slice) {
        for (std::size_t i = 0; i < 256; ++i) {
            const std::uint32_t before = tables[slice - 1][i];
            tables[slice][i] = tables[0][before & 0xFFU] ^ (before >> 8);
        }
    }
    return tables;
}
constexpr Tables kTables = makeTables();

//! Carries a checksum, not inverted, over more bytes.
std::uint32_t update(std::uint32_t aCrc, const unsigned char* aBytes, std::size_t aSize) noexcept
{
    for (; aSize >= kSlices; aSize -= kSlices, aBytes += kSlices) {
        std::uint32_t next = 0;
        for (std::size_t i = 0; i < kSlices; ++i) {
            const std::uint32_t carried = i < 4 ? (aCrc >> (8 * i)) & 0xFFU : 0;
            next ^= kTables[kSlices - 1 - i][carried ^ aBytes[i]];
        }
        aCrc = next;
    }
    for (; aSize != 0; --aSize, ++aBytes) {
        aCrc = kTables[0][(aCrc ^ *aBytes) & 0xFFU] ^ (aCrc >> 8);
    }
    return aCrc;
}

#if defined(__x86_64__)
constexpr std::size_t kFold = 64;

bool hasPolynomialProduct() noexcept
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("pclmul") != 0 && __builtin_cpu_supports("sse4.1") != 0;
}

__attribute__((target("pclmul,sse4.1"))) __m128i load(const unsigned char* aBytes) noexcept
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(aBytes));
}

//! Moves what two halves stand for to a later place, whose own bytes are added.
//! @param aFactors  what the way there makes of the low and of the high half
__attribute__((target("pclmul,sse4.1"))) __m128i fold(__m128i aFrom, __m128i aFactors,
                                                      __m128i aTo) noexcept
{
    return _mm_xor_si128(_mm_xor_si128(_mm_clmulepi64_si128(aFrom, aFactors, 0x00),
                                       _mm_clmulepi64_si128(aFrom, aFactors, 0x11)),
                         aTo);
}

//! As update, 64 bytes at a time: the remainders of x^n for the ways that bytes are moved are
//! constants of the polynomial, and Barrett's reduction makes the last 64 bits 32.
//! @param aSize  at least 64, a multiple of 16
__attribute__((target("pclmul,sse4.1"))) std::uint32_t
updateFolding(std::uint32_t aCrc, const unsigned char* aBytes, std::size_t aSize) noexcept
{
    const __m128i over64Bytes = _mm_set_epi64x(0x01C6E41596, 0x0154442BD4);
    const __m128i over16Bytes = _mm_set_epi64x(0x00CCAA009E, 0x01751997D0);
    const __m128i over8Bytes = _mm_set_epi64x(0, 0x0163CD6124);
    const __m128i barrett = _mm_set_epi64x(0x01F7011641, 0x01DB710641);
    const __m128i lowWords = _mm_set_epi32(0, -1, 0, -1);

    __m128i lanes[4];
    for (std::size_t i = 0; i < 4; ++i) {
        lanes[i] = load(aBytes + 16 * i);
    }
    lanes[0] = _mm_xor_si128(lanes[0], _mm_cvtsi32_si128(static_cast<int>(aCrc)));
    for (aSize -= kFold, aBytes += kFold; aSize >= kFold; aSize -= kFold, aBytes += kFold) {
        for (std::size_t i = 0; i < 4; ++i) {
            lanes[i] = fold(lanes[i], over64Bytes, load(aBytes + 16 * i));
        }
    }
    __m128i all = lanes[0];
    for (std::size_t i = 1; i < 4; ++i) {
        all = fold(all, over16Bytes, lanes[i]);
    }
    for (; aSize >= 16; aSize -= 16, aBytes += 16) {
        all = fold(all, over16Bytes, load(aBytes));
    }

    // 128 bits to 64, those to 32.
    all = _mm_xor_si128(_mm_srli_si128(all, 8), _mm_clmulepi64_si128(all, over16Bytes, 0x10));
    all = _mm_xor_si128(_mm_srli_si128(all, 4),
                        _mm_clmulepi64_si128(_mm_and_si128(all, lowWords), over8Bytes, 0x00));
    __m128i quotient = _mm_clmulepi64_si128(_mm_and_si128(all, lowWords), barrett, 0x10);
    quotient = _mm_clmulepi64_si128(_mm_and_si128(quotient, lowWords), barrett, 0x00);
    return static_cast<std::uint32_t>(_mm_extract_epi32(_mm_xor_si128(all, quotient), 1));
}

#if !defined(_WIN32) // whose stack need not be aligned for registers of 32 bytes
#define KTSTD_WIDE_PRODUCT
constexpr std::size_t kWideFold = 128;

bool hasWidePolynomialProduct() noexcept
{
    return hasPolynomialProduct() && __builtin_cpu_supports("avx2") != 0 &&
           __builtin_cpu_supports("vpclmulqdq") != 0;
}

__attribute__((target("vpclmulqdq,avx2"))) __m256i loadWide(const unsigned char* aBytes) noexcept
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(aBytes));
}

//! As updateFolding, 128 bytes at a time.
//! @param aSize  at least 128, a multiple of 128
__attribute__((target("vpclmulqdq,avx2"))) std::uint32_t
updateFoldingWide(std::uint32_t aCrc, const unsigned char* aBytes, std::size_t aSize) noexcept
{
    const __m256i over128Bytes =
        _mm256_set_epi64x(0x014A7FE880, 0x01E88EF372, 0x014A7FE880, 0x01E88EF372);
    __m256i lanes[4];
    for (std::size_t i = 0; i < 4; ++i) {
        lanes[i] = loadWide(aBytes + 32 * i);
    }
    lanes[0] =
        _mm256_xor_si256(lanes[0], _mm256_set_epi32(0, 0, 0, 0, 0, 0, 0, static_cast<int>(aCrc)));
    for (aSize -= kWideFold, aBytes += kWideFold; aSize != 0;
         aSize -= kWideFold, aBytes += kWideFold) {
        for (std::size_t i = 0; i < 4; ++i) {
            const __m256i low = _mm256_clmulepi64_epi128(lanes[i], over128Bytes, 0x00);
            const __m256i high = _mm256_clmulepi64_epi128(lanes[i], over128Bytes, 0x11);
            lanes[i] = _mm256_xor_si256(_mm256_xor_si256(low, high), loadWide(aBytes + 32 * i));
        }
    }
    // What is left stands for all bytes, the checksum before them among them.
    unsigned char all[kWideFold];
    for (std::size_t i = 0; i < 4; ++i) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(all + 32 * i), lanes[i]);
    }
    return updateFolding(0, all, kWideFold);
}
#endif
#endif

} // namespace

std::uint32_t PlainChecksum(const unsigned char* aBytes, std::size_t aSize) noexcept
{
    return ~update(0xFFFFFFFFU, aBytes, aSize);
}

std::uint32_t Checksum(const unsigned char* aBytes, std::size_t aSize) noexcept
{
    std::uint32_t crc = 0xFFFFFFFFU;
    const auto take = [&](std::size_t size, auto updateBy) {
        crc = updateBy(crc, aBytes, size);
        aBytes += size;
        aSize -= size;
    };
#if defined(KTSTD_WIDE_PRODUCT)
    static const bool sFoldsWide = hasWidePolynomialProduct();
    if (sFoldsWide && aSize >= kWideFold) {
        take(aSize / kWideFold * kWideFold, updateFoldingWide);
    }
#endif
#if defined(__x86_64__)
    static const bool sFolds = hasPolynomialProduct();
    if (sFolds && aSize >= kFold) {
        take(aSize / 16 * 16, updateFolding);
    }
#endif
    take(aSize, update);
    return ~crc;
}

} // namespace ktstd_detail
