//! @file
//! Numbers and objects bit by bit: what == hides (the sign of zero, not-a-number, the layout).
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace kt_test {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
//! The geometric tolerance of the libraries and its two neighbours.
constexpr double kTol = 1e-6;
inline double below(double aValue)
{
    return std::nextafter(aValue, -kInfinity);
}
inline double above(double aValue)
{
    return std::nextafter(aValue, kInfinity);
}

inline std::uint64_t bitsOf(double aValue)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &aValue, sizeof bits);
    return bits;
}
inline double doubleOf(std::uint64_t aBits)
{
    double value = 0.0;
    std::memcpy(&value, &aBits, sizeof value);
    return value;
}
//! A quiet not-a-number that carries a payload no arithmetic makes.
inline double payloadNan()
{
    return doubleOf(0x7FF8'0000'DEAD'BEEFU);
}

//! Copies a value out of an object, by its place in memory.
template <class Value, class Object>
Value valueAt(const Object& aObject, std::size_t aOffset)
{
    unsigned char bytes[sizeof(Object)];
    std::memcpy(bytes, static_cast<const void*>(&aObject), sizeof bytes);
    Value value{};
    std::memcpy(&value, bytes + aOffset, sizeof value);
    return value;
}

} // namespace kt_test
