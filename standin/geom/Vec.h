//! @file
//! Points, vectors, boxes and frames of the stand-in host's geometry. Lengths are metres.

#pragma once

#include <cmath>
#include <limits>

namespace standin::geom {

//! A point or a vector.
struct Vec
{
    double x{};
    double y{};
    double z{};
};

[[nodiscard]] inline Vec operator+(const Vec& a, const Vec& b) noexcept
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
[[nodiscard]] inline Vec operator-(const Vec& a, const Vec& b) noexcept
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
[[nodiscard]] inline Vec operator-(const Vec& a) noexcept
{
    return {-a.x, -a.y, -a.z};
}
[[nodiscard]] inline Vec operator*(const Vec& a, double s) noexcept
{
    return {a.x * s, a.y * s, a.z * s};
}
[[nodiscard]] inline Vec operator*(double s, const Vec& a) noexcept
{
    return a * s;
}
[[nodiscard]] inline double dot(const Vec& a, const Vec& b) noexcept
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
[[nodiscard]] inline Vec cross(const Vec& a, const Vec& b) noexcept
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
[[nodiscard]] inline double length(const Vec& a) noexcept
{
    return std::sqrt(dot(a, a));
}
[[nodiscard]] inline double distance(const Vec& a, const Vec& b) noexcept
{
    return length(a - b);
}

//! Scales to unit length; a vector of no length comes back as it is.
[[nodiscard]] inline Vec unit(const Vec& a) noexcept
{
    const double l = length(a);
    return l > 0.0 ? a * (1.0 / l) : a;
}

//! An axis-aligned box; a new one is empty (min above max).
struct Box
{
    Vec min{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
            std::numeric_limits<double>::infinity()};
    Vec max{-std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
            -std::numeric_limits<double>::infinity()};

    [[nodiscard]] bool empty() const noexcept { return min.x > max.x; }
    void add(const Vec& p) noexcept
    {
        min = {std::fmin(min.x, p.x), std::fmin(min.y, p.y), std::fmin(min.z, p.z)};
        max = {std::fmax(max.x, p.x), std::fmax(max.y, p.y), std::fmax(max.z, p.z)};
    }
    void add(const Box& b) noexcept
    {
        if (!b.empty()) {
            add(b.min);
            add(b.max);
        }
    }
};

//! A right-handed frame of unit vectors.
struct Frame
{
    Vec origin;
    Vec x{1.0, 0.0, 0.0};
    Vec y{0.0, 1.0, 0.0};
    Vec z{0.0, 0.0, 1.0};

    //! Gives the point with the local coordinates (a, b, c).
    [[nodiscard]] Vec at(double a, double b, double c) const noexcept
    {
        return origin + x * a + y * b + z * c;
    }
    //! Gives the local coordinates of a point.
    [[nodiscard]] Vec local(const Vec& p) const noexcept
    {
        const Vec d = p - origin;
        return {dot(d, x), dot(d, y), dot(d, z)};
    }
};

//! Makes a frame from its origin, Z direction and an approximate X direction. When X has no part
//! at right angles to Z, some direction at right angles is taken.
[[nodiscard]] Frame makeFrame(const Vec& origin, const Vec& z, const Vec& approximateX) noexcept;

} // namespace standin::geom
