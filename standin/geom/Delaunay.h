//! @file
//! Constrained Delaunay triangulation of a rectangle, on an integer grid so that every decision
//! about sides is exact.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace standin::geom {

//! A place of the grid.
struct GridPoint
{
    std::int64_t x{};
    std::int64_t y{};
};

//! The triangulation; starts as a rectangle of two triangles. Vertices and triangles are numbered
//! from 0, the first four vertices are the rectangle's corners. Triangles run counter-clockwise.
class Delaunay
{
public:
    //! Coordinates go from -kReach to kReach.
    static constexpr std::int64_t kReach = std::int64_t{1} << 29;
    static constexpr std::size_t kNothing = static_cast<std::size_t>(-1);

    //! Side i of a triangle lies opposite corner i, from corner i + 1 to corner i + 2.
    struct Triangle
    {
        std::array<std::size_t, 3> corner{};
        std::array<std::size_t, 3> neighbour{kNothing, kNothing, kNothing};
        std::array<bool, 3> fixed{};       //!< never flipped
        std::array<std::int32_t, 3> net{}; //!< boundaries along the side less those against it
        std::int32_t region{};
    };

    Delaunay();

    //! Adds a vertex.
    //! @param splitFixed  a fixed side that the place lies on may be split
    //! @return            its number, that of the vertex already there, or kNothing
    std::size_t insert(GridPoint place, bool splitFixed);

    //! Fixes the straight line between two vertices as sides.
    //! @param net             added to the sides' net from a to b
    //! @param splitCrossings  a fixed side in the way is split where it is crossed, once per
    //!                        crossing; otherwise it makes the call fail
    //! @return                whether the line is there now
    bool connect(std::size_t a, std::size_t b, std::int32_t net, bool splitCrossings);

    [[nodiscard]] const std::vector<Triangle>& triangles() const noexcept { return mTriangles; }
    [[nodiscard]] const std::vector<GridPoint>& vertices() const noexcept { return mVertices; }
    void setRegion(std::size_t triangle, std::int32_t region) noexcept
    {
        mTriangles[triangle].region = region;
    }
    //! Gives the triangles that changed since the last call, in the order of their change.
    [[nodiscard]] std::vector<std::size_t> takeChanged();
    //! Starts the next search for a place at a triangle.
    void startAt(std::size_t triangle) noexcept { mLast = triangle; }
    //! Gives a triangle that has a side from a to b, and the side's number; kNothing when none has.
    [[nodiscard]] std::size_t findSide(std::size_t a, std::size_t b, std::size_t& side) const;

private:
    [[nodiscard]] std::int64_t turn(const GridPoint& a, const GridPoint& b,
                                    const GridPoint& c) const noexcept;
    [[nodiscard]] std::int64_t turn(std::size_t a, std::size_t b, std::size_t c) const noexcept
    {
        return turn(mVertices[a], mVertices[b], mVertices[c]);
    }
    [[nodiscard]] std::size_t locate(const GridPoint& place);
    [[nodiscard]] bool inCircle(std::size_t a, std::size_t b, std::size_t c,
                                std::size_t d) const noexcept;
    void setSide(std::size_t t, std::size_t side, std::size_t neighbour, bool fixed,
                 std::int32_t net);
    void setTriangle(std::size_t t, std::size_t a, std::size_t b, std::size_t c);
    void splitTriangle(std::size_t t, std::size_t v);
    void splitSide(std::size_t t, std::size_t side, std::size_t v);
    void flip(std::size_t t, std::size_t side);
    void legalize();
    void touched(std::size_t t);
    bool markSide(std::size_t a, std::size_t b, std::int32_t net);
    [[nodiscard]] std::size_t firstOnLine(std::size_t a, std::size_t b, std::size_t& triangle,
                                          std::size_t& side) const;
    bool cross(std::size_t a, std::size_t b, std::size_t triangle, std::size_t side,
               std::int32_t net, bool splitCrossings, int depth);
    bool connect(std::size_t a, std::size_t b, std::int32_t net, bool splitCrossings, int depth);
    bool splitCrossing(std::size_t a, std::size_t b, std::size_t p, std::size_t q, std::int32_t net,
                       int depth);

    std::vector<GridPoint> mVertices;
    std::vector<std::size_t> mIncident; //!< one triangle of each vertex
    std::vector<Triangle> mTriangles;
    std::vector<std::size_t> mChanged;
    std::vector<bool> mIsChanged;
    std::vector<std::array<std::size_t, 2>> mSuspects; //!< triangle and side to be checked
    std::size_t mLast{};
};

} // namespace standin::geom
