#include "standin/geom/Delaunay.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

using standin::geom::Delaunay;
using standin::geom::GridPoint;

namespace {

// A plain generator, the same on every platform.
class Random
{
public:
    std::int64_t below(std::int64_t limit)
    {
        mState = mState * 6364136223846793005ULL + 1442695040888963407ULL;
        return static_cast<std::int64_t>((mState >> 33) % static_cast<std::uint64_t>(limit));
    }

private:
    std::uint64_t mState{20240229};
};

double doubleArea(const Delaunay& plane, const Delaunay::Triangle& t)
{
    const GridPoint& a = plane.vertices()[t.corner[0]];
    const GridPoint& b = plane.vertices()[t.corner[1]];
    const GridPoint& c = plane.vertices()[t.corner[2]];
    return static_cast<double>((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x));
}

// Every triangle runs counter-clockwise, neighbours know each other, and all fill the rectangle.
void expectSound(const Delaunay& plane)
{
    double sum = 0.0;
    for (std::size_t t = 0; t < plane.triangles().size(); ++t) {
        const Delaunay::Triangle& triangle = plane.triangles()[t];
        ASSERT_GT(doubleArea(plane, triangle), 0.0);
        sum += doubleArea(plane, triangle);
        for (std::size_t i = 0; i < 3; ++i) {
            if (triangle.neighbour[i] == Delaunay::kNothing) {
                continue;
            }
            const Delaunay::Triangle& other = plane.triangles()[triangle.neighbour[i]];
            bool known = false;
            for (std::size_t k = 0; k < 3; ++k) {
                known = known ||
                        (other.neighbour[k] == t &&
                         other.corner[(k + 1) % 3] == triangle.corner[(i + 2) % 3] &&
                         other.corner[(k + 2) % 3] == triangle.corner[(i + 1) % 3] &&
                         other.fixed[k] == triangle.fixed[i] && other.net[k] == -triangle.net[i]);
            }
            ASSERT_TRUE(known);
        }
    }
    const double side = 2.0 * static_cast<double>(Delaunay::kReach);
    EXPECT_NEAR(sum, 2.0 * side * side, 1e-9 * side * side);
}

} // namespace

TEST(geom_Delaunay, RandomPlacesGiveASoundPlane)
{
    Delaunay plane;
    Random random;
    for (int i = 0; i < 3000; ++i) {
        // A small range, so that places coincide and lie on sides.
        plane.insert({random.below(200) - 100, random.below(200) - 100}, true);
    }
    expectSound(plane);
    EXPECT_GT(plane.vertices().size(), 2500U);
}

TEST(geom_Delaunay, NoCornerLiesInsideACircleOfAnother)
{
    Delaunay plane;
    Random random;
    for (int i = 0; i < 300; ++i) {
        plane.insert({random.below(100000000), random.below(100000000)}, true);
    }
    for (const Delaunay::Triangle& t : plane.triangles()) {
        const GridPoint& a = plane.vertices()[t.corner[0]];
        const auto x = [&](std::size_t v) {
            return static_cast<double>(plane.vertices()[v].x - a.x);
        };
        const auto y = [&](std::size_t v) {
            return static_cast<double>(plane.vertices()[v].y - a.y);
        };
        // The centre of the circle through the corners, relative to the first one.
        const double bx = x(t.corner[1]);
        const double by = y(t.corner[1]);
        const double cx = x(t.corner[2]);
        const double cy = y(t.corner[2]);
        const double d = 2.0 * (bx * cy - by * cx);
        const double ux = (cy * (bx * bx + by * by) - by * (cx * cx + cy * cy)) / d;
        const double uy = (bx * (cx * cx + cy * cy) - cx * (bx * bx + by * by)) / d;
        const double radius = std::hypot(ux, uy);
        for (std::size_t v = 0; v < plane.vertices().size(); ++v) {
            ASSERT_GT(std::hypot(x(v) - ux, y(v) - uy), radius * (1.0 - 1e-6));
        }
    }
}

TEST(geom_Delaunay, SamePlaceIsTheSameVertex)
{
    Delaunay plane;
    const std::size_t a = plane.insert({5, 7}, true);
    EXPECT_EQ(a, 4U);
    EXPECT_EQ(plane.insert({5, 7}, true), a);
    EXPECT_EQ(plane.vertices().size(), 5U);
}

TEST(geom_Delaunay, PlacesOutsideAreRefused)
{
    Delaunay plane;
    EXPECT_EQ(plane.insert({Delaunay::kReach, 0}, true), Delaunay::kNothing);
    EXPECT_EQ(plane.insert({0, -Delaunay::kReach - 5}, true), Delaunay::kNothing);
}

TEST(geom_Delaunay, LinesBecomeSides)
{
    Delaunay plane;
    Random random;
    std::vector<std::size_t> ring;
    for (int i = 0; i < 500; ++i) {
        plane.insert({random.below(2000) - 1000, random.below(2000) - 1000}, true);
    }
    for (int i = 0; i < 40; ++i) {
        const double angle = 2.0 * 3.14159265358979 * i / 40.0;
        ring.push_back(plane.insert(
            {std::llround(700.0 * std::cos(angle)), std::llround(700.0 * std::sin(angle))}, true));
    }
    for (std::size_t i = 0; i < ring.size(); ++i) {
        ASSERT_TRUE(plane.connect(ring[i], ring[(i + 1) % ring.size()], 1, false));
    }
    expectSound(plane);
    std::size_t side = 0;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        // In parts, where other vertices lie on the line.
        const std::size_t t = plane.findSide(ring[i], ring[(i + 1) % ring.size()], side);
        if (t != Delaunay::kNothing) {
            EXPECT_TRUE(plane.triangles()[t].fixed[side]);
            EXPECT_EQ(plane.triangles()[t].net[side], 1);
        }
    }
}

TEST(geom_Delaunay, LineThroughVerticesIsTheirSides)
{
    Delaunay plane;
    const std::size_t a = plane.insert({-100, -50}, true);
    const std::size_t b = plane.insert({100, 50}, true);
    const std::size_t mid = plane.insert({0, 0}, true);
    plane.insert({-3, 40}, true);
    plane.insert({5, -40}, true);
    EXPECT_TRUE(plane.connect(a, b, 1, false));
    std::size_t side = 0;
    EXPECT_NE(plane.findSide(a, mid, side), Delaunay::kNothing);
    const std::size_t t = plane.findSide(mid, b, side);
    ASSERT_NE(t, Delaunay::kNothing);
    EXPECT_EQ(plane.triangles()[t].net[side], 1);
    EXPECT_EQ(plane.findSide(a, b, side), Delaunay::kNothing);
}

TEST(geom_Delaunay, LinesBothWaysCancel)
{
    Delaunay plane;
    const std::size_t a = plane.insert({-100, 0}, true);
    const std::size_t b = plane.insert({100, 0}, true);
    EXPECT_TRUE(plane.connect(a, b, 1, false));
    EXPECT_TRUE(plane.connect(b, a, 1, false));
    std::size_t side = 0;
    const std::size_t t = plane.findSide(a, b, side);
    ASSERT_NE(t, Delaunay::kNothing);
    EXPECT_TRUE(plane.triangles()[t].fixed[side]);
    EXPECT_EQ(plane.triangles()[t].net[side], 0);
}

TEST(geom_Delaunay, CrossingLinesFailOrAreSplit)
{
    for (const bool split : {false, true}) {
        Delaunay plane;
        const std::size_t a = plane.insert({-100, -90}, true);
        const std::size_t b = plane.insert({100, 110}, true);
        const std::size_t c = plane.insert({-100, 70}, true);
        const std::size_t d = plane.insert({100, -130}, true);
        ASSERT_TRUE(plane.connect(a, b, 1, split));
        EXPECT_EQ(plane.connect(c, d, 1, split), split);
        expectSound(plane);
        if (split) {
            // y = x + 10 and y = -x - 30 meet at (-20, -10).
            ASSERT_EQ(plane.vertices().size(), 9U);
            EXPECT_EQ(plane.vertices()[8].x, -20);
            EXPECT_EQ(plane.vertices()[8].y, -10);
            std::size_t side = 0;
            for (const auto& [from, to] : {std::pair{a, std::size_t{8}},
                                           {std::size_t{8}, b},
                                           {c, std::size_t{8}},
                                           {std::size_t{8}, d}}) {
                const std::size_t t = plane.findSide(from, to, side);
                ASSERT_NE(t, Delaunay::kNothing);
                EXPECT_EQ(plane.triangles()[t].net[side], 1);
            }
        }
    }
}

TEST(geom_Delaunay, ManyCrossingLinesAreAllSplit)
{
    Delaunay plane;
    Random random;
    for (int i = 0; i < 60; ++i) {
        const std::size_t a = plane.insert({random.below(2000000), random.below(2000000)}, true);
        const std::size_t b = plane.insert({random.below(2000000), random.below(2000000)}, true);
        EXPECT_TRUE(plane.connect(a, b, 1, true));
    }
    expectSound(plane);
    EXPECT_GT(plane.vertices().size(), 200U);
}

TEST(geom_Delaunay, FixedSidesAreNotSplitUnasked)
{
    Delaunay plane;
    const std::size_t a = plane.insert({-100, 0}, true);
    const std::size_t b = plane.insert({100, 0}, true);
    ASSERT_TRUE(plane.connect(a, b, 1, false));
    EXPECT_EQ(plane.insert({10, 0}, false), Delaunay::kNothing);
    const std::size_t v = plane.insert({10, 0}, true);
    ASSERT_NE(v, Delaunay::kNothing);
    std::size_t side = 0;
    const std::size_t t = plane.findSide(a, v, side);
    ASSERT_NE(t, Delaunay::kNothing);
    EXPECT_EQ(plane.triangles()[t].net[side], 1);
    expectSound(plane);
}

TEST(geom_Delaunay, ChangesAreToldOnce)
{
    Delaunay plane;
    static_cast<void>(plane.takeChanged());
    plane.insert({1, 2}, true);
    EXPECT_GE(plane.takeChanged().size(), 3U);
    EXPECT_TRUE(plane.takeChanged().empty());
}
