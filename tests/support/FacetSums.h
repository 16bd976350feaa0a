//! @file
//! Sums over facets, for tests: area, volume, box, sides without a neighbour.

#pragma once

#include "standin/geom/FaceGeometry.h"

#include <array>
#include <cstddef>
#include <functional>
#include <map>
#include <utility>
#include <vector>

namespace shapes {

using standin::geom::Box;
using standin::geom::Face;

//! Three corners.
using Facet = std::array<standin::geom::Vec, 3>;

//! Takes the numbers of facets() apart.
inline std::vector<Facet> split(const std::vector<double>& numbers)
{
    std::vector<Facet> result;
    for (std::size_t i = 0; i + 9 <= numbers.size(); i += 9) {
        Facet facet;
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t at = i + 3 * k;
            facet[k] = {numbers[at], numbers[at + 1], numbers[at + 2]};
        }
        result.push_back(facet);
    }
    return result;
}

inline standin::geom::Vec areaVector(const Facet& f)
{
    return cross(f[1] - f[0], f[2] - f[0]) * 0.5;
}

inline double area(const std::vector<Facet>& facets)
{
    double sum = 0.0;
    for (const Facet& f : facets) {
        sum += length(areaVector(f));
    }
    return sum;
}

//! The facets' share of the enclosed volume, by the divergence theorem.
inline double volume(const std::vector<Facet>& facets, const standin::geom::Vec& origin)
{
    double sum = 0.0;
    for (const Facet& f : facets) {
        sum += dot(f[0] - origin, areaVector(f)) / 3.0;
    }
    return sum;
}

inline Box box(const std::vector<Facet>& facets)
{
    Box result;
    for (const Facet& f : facets) {
        for (const standin::geom::Vec& p : f) {
            result.add(p);
        }
    }
    return result;
}

//! The sides that no other facet has the other way round, by exact coordinates.
inline std::vector<std::pair<standin::geom::Vec, standin::geom::Vec>>
openSides(const std::vector<Facet>& facets)
{
    using Key = std::array<double, 6>;
    std::map<Key, int> count;
    for (const Facet& f : facets) {
        for (std::size_t k = 0; k < 3; ++k) {
            const standin::geom::Vec& a = f[k];
            const standin::geom::Vec& b = f[(k + 1) % 3];
            ++count[{a.x, a.y, a.z, b.x, b.y, b.z}];
            --count[{b.x, b.y, b.z, a.x, a.y, a.z}];
        }
    }
    std::vector<std::pair<standin::geom::Vec, standin::geom::Vec>> result;
    for (const auto& [key, n] : count) {
        if (n > 0) {
            result.push_back({{key[0], key[1], key[2]}, {key[3], key[4], key[5]}});
        }
    }
    return result;
}

} // namespace shapes
