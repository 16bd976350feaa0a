#include "support/FacetSums.h"
#include "support/Shapes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

using namespace standin::geom;

// Faces as damaged files give them: every question has to be answered, none may hang or crash.

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Asks everything that can be asked about a face.
std::vector<double> askAll(const Body& body, const Face& face)
{
    Param from;
    Param to;
    const FaceGeometry geometry(body, face);
    static_cast<void>(geometry.box());
    geometry.paramRange(from, to);
    for (const Param& p : {Param{0.0, 0.0}, Param{kNan, 1.0}, Param{1e300, -1e300}}) {
        static_cast<void>(geometry.contains(p));
    }
    static_cast<void>(faceNormal(face, {0.1, 0.2}));
    const std::vector<double> coarse = geometry.facets(1.0);
    static_cast<void>(geometry.facets(1e-3));
    EXPECT_EQ(coarse.empty(), geometry.facets(1e-4).empty());
    return coarse;
}

void expectNoFacets(const Body& body, const Face& face)
{
    EXPECT_TRUE(askAll(body, face).empty());
    const FaceGeometry geometry(body, face);
    EXPECT_FALSE(geometry.usable());
    EXPECT_FALSE(geometry.contains({0.01, 0.01}));
    Box edges;
    for (const Loop& loop : face.loops) {
        for (const EdgeUse& use : loop.uses) {
            if (use.edge < body.edges.size()) {
                edges.add(edgeBox(body.edges[use.edge]));
            }
        }
    }
    EXPECT_EQ(geometry.box().empty(), edges.empty());
    if (!edges.empty() && std::isfinite(length(edges.max))) {
        EXPECT_EQ(distance(geometry.box().min, edges.min), 0.0);
        EXPECT_EQ(distance(geometry.box().max, edges.max), 0.0);
    }
}

// A sound square of 0.1 m, whose parts the tests break.
Body square()
{
    shapes::Builder make;
    const std::size_t a = make.vertex({0.0, 0.0, 0.0});
    const std::size_t b = make.vertex({0.1, 0.0, 0.0});
    const std::size_t c = make.vertex({0.1, 0.1, 0.0});
    const std::size_t d = make.vertex({0.0, 0.1, 0.0});
    make.polygon({a, b, c, d});
    return make.body();
}

} // namespace

TEST(geom_BrokenFace, SoundSquareHasFacets)
{
    const Body body = square();
    EXPECT_EQ(askAll(body, body.faces[0]).size(), 18U);
}

TEST(geom_BrokenFace, ToleranceThatIsNoneGivesNoFacets)
{
    const Body body = square();
    for (const double tolerance : {0.0, -1.0, kNan, kInfinity}) {
        EXPECT_TRUE(facets(body, body.faces[0], tolerance).empty());
    }
}

TEST(geom_BrokenFace, TinyToleranceEnds)
{
    const Body body = shapes::cylinder(shapes::tilted(), 0.02, 0.05, false);
    for (const double tolerance : {1e-12, 1e-300}) {
        EXPECT_GT(facets(body, body.faces[2], tolerance).size(), 9U * 10000U);
    }
}

TEST(geom_BrokenFace, NoLoopsOnAnOpenSurface)
{
    Body body = square();
    body.faces[0].loops.clear();
    expectNoFacets(body, body.faces[0]);
    body.faces[0].surface = makeCylinder({}, 0.1);
    expectNoFacets(body, body.faces[0]);
    body.faces[0].surface = makeCone({}, 0.1, 0.3);
    expectNoFacets(body, body.faces[0]);
}

TEST(geom_BrokenFace, NoSurface)
{
    Body body = square();
    body.faces[0].surface = nullptr;
    expectNoFacets(body, body.faces[0]);
}

TEST(geom_BrokenFace, EdgesThatAreNotThere)
{
    Body body = square();
    body.faces[0].loops[0].uses[2].edge = 77;
    expectNoFacets(body, body.faces[0]);
    body.faces[0].loops[0].uses[2].edge = kNone;
    expectNoFacets(body, body.faces[0]);
}

TEST(geom_BrokenFace, EdgeWithoutCurve)
{
    Body body = square();
    body.edges[1].curve = nullptr;
    expectNoFacets(body, body.faces[0]);
}

TEST(geom_BrokenFace, EdgeRangesThatAreNone)
{
    for (const auto& [from, to] :
         {std::pair{kNan, 0.1}, {0.0, kNan}, {0.0, kInfinity}, {-kInfinity, 0.1}, {0.1, 0.0}}) {
        Body body = square();
        body.edges[1].from = from;
        body.edges[1].to = to;
        EXPECT_TRUE(askAll(body, body.faces[0]).empty()) << from << " to " << to;
    }
}

TEST(geom_BrokenFace, CurvesOfNotANumber)
{
    Body body = square();
    body.edges[1].curve = makeLine({kNan, 0.0, 0.0}, {0.0, 1.0, 0.0});
    EXPECT_TRUE(askAll(body, body.faces[0]).empty());
    body = shapes::cylinder({}, 0.02, 0.05, false);
    body.edges[0].curve = makeCircle({}, kNan);
    EXPECT_TRUE(askAll(body, body.faces[0]).empty());
    EXPECT_TRUE(askAll(body, body.faces[2]).empty());
}

TEST(geom_BrokenFace, SurfacesOfNotANumberOrNoSize)
{
    for (const double radius : {kNan, 0.0, kInfinity}) {
        for (const shapes::Closed closed : {shapes::Closed::seam, shapes::Closed::bare}) {
            const Body ball = shapes::sphere({}, radius, closed);
            EXPECT_TRUE(askAll(ball, ball.faces[0]).empty()) << radius;
        }
        const Body tube = shapes::cylinder({}, radius, 0.05, true);
        EXPECT_TRUE(askAll(tube, tube.faces[2]).empty()) << radius;
    }
}

TEST(geom_BrokenFace, OnlyEdgesOfNoLength)
{
    Body body = square();
    for (Edge& edge : body.edges) {
        edge.to = edge.from;
    }
    EXPECT_TRUE(askAll(body, body.faces[0]).empty());
}

TEST(geom_BrokenFace, EdgeOfNoLengthAmongOthersDoesNoHarm)
{
    Body body = square();
    body.edges.push_back({makeLine({0.1, 0.0, 0.0}, {0.0, 0.0, 1.0}), 0.0, 0.0, false, 1, 1, 99});
    std::vector<EdgeUse>& uses = body.faces[0].loops[0].uses;
    uses.insert(uses.begin() + 1, {body.edges.size() - 1, false});
    EXPECT_NEAR(shapes::area(shapes::split(askAll(body, body.faces[0]))), 0.01, 1e-15);
}

TEST(geom_BrokenFace, EdgesOffTheSurface)
{
    Body body = square();
    body.faces[0].surface = makePlane(shapes::moved({}, 0.0, 0.0, 0.05));
    expectNoFacets(body, body.faces[0]);
    body.faces[0].surface = makeSphere({}, 0.3);
    expectNoFacets(body, body.faces[0]);
}

TEST(geom_BrokenFace, EdgesSlightlyOffTheSurfaceStillBoundIt)
{
    Body body = square();
    const double off = 1e-5;
    body.faces[0].surface = makePlane(shapes::moved({}, 0.0, 0.0, off));
    const std::vector<shapes::Facet> found = shapes::split(askAll(body, body.faces[0]));
    EXPECT_NEAR(shapes::area(found), 0.01, 1e-15);
    // Facets lie on the surface; the box holds them and the edges.
    const Box box = faceBox(body, body.faces[0]);
    EXPECT_EQ(box.min.z, 0.0);
    EXPECT_NEAR(box.max.z, off, 1e-18);
}

TEST(geom_BrokenFace, LoopWithAHole)
{
    Body body = square();
    body.faces[0].loops[0].uses.pop_back();
    expectNoFacets(body, body.faces[0]);
}

TEST(geom_BrokenFace, LoopsThatRunTheWrongWayStillBoundTheFace)
{
    Body body = shapes::block({}, 0.1, 0.06, 0.03, 0.02);
    for (Face& face : body.faces) {
        const double before = shapes::area(shapes::split(facets(body, face, 1e-4)));
        for (Loop& loop : face.loops) {
            std::reverse(loop.uses.begin(), loop.uses.end());
            for (EdgeUse& use : loop.uses) {
                use.reversed = !use.reversed;
            }
        }
        const double after = shapes::area(shapes::split(facets(body, face, 1e-4)));
        EXPECT_NEAR(after, before, 1e-6 * before);
        // Beside the hole, and in it.
        const Vec side = Vec{0.01, 0.03, 0.015};
        if (face.surface->kind() == SurfaceKind::plane && face.loops.size() > 1) {
            EXPECT_TRUE(contains(body, face, face.surface->parameterAt(side, nullptr)));
            EXPECT_FALSE(
                contains(body, face, face.surface->parameterAt({0.05, 0.03, 0.015}, nullptr)));
        }
    }
}

TEST(geom_BrokenFace, LoopsThatCrossEndSomehow)
{
    // Two squares, one shifted over the other's side, and a loop in the shape of an eight.
    shapes::Builder make;
    const auto corner = [&make](double x, double y) { return make.vertex({x, y, 0.0}); };
    const std::size_t face =
        make.polygon({corner(0.0, 0.0), corner(0.1, 0.0), corner(0.1, 0.1), corner(0.0, 0.1)});
    const std::size_t a = corner(0.05, 0.02);
    const std::size_t b = corner(0.15, 0.02);
    const std::size_t c = corner(0.15, 0.08);
    const std::size_t d = corner(0.05, 0.08);
    make.loop(face, {make.line(a, b), make.line(b, c), make.line(c, d), make.line(d, a)});
    const std::size_t p = corner(0.3, 0.0);
    const std::size_t q = corner(0.4, 0.1);
    const std::size_t r = corner(0.4, 0.0);
    const std::size_t s = corner(0.3, 0.1);
    const std::size_t eight = make.face(makePlane({}), false);
    make.loop(eight, {make.line(p, q), make.line(q, r), make.line(r, s), make.line(s, p)});
    for (const Face& broken : make.body().faces) {
        for (const shapes::Facet& f : shapes::split(askAll(make.body(), broken))) {
            for (const Vec& corners : f) {
                EXPECT_EQ(corners.z, 0.0);
            }
        }
    }
}

TEST(geom_BrokenFace, VertexLoopWithoutItsVertex)
{
    Body body = shapes::cone(shapes::tilted(), 0.02, 0.05, false);
    body.faces[1].loops[1].vertex = 999;
    EXPECT_FALSE(askAll(body, body.faces[1]).empty());
    body.faces[1].loops[1].vertex = kNone;
    EXPECT_FALSE(askAll(body, body.faces[1]).empty());
}

TEST(geom_BrokenFace, OneRimOfATubeBoundsNothing)
{
    Body body = shapes::cylinder(shapes::tilted(), 0.02, 0.05, false);
    body.faces[2].loops.pop_back();
    expectNoFacets(body, body.faces[2]);
}

TEST(geom_BrokenFace, EndPointsOfAnEdgeWithNothing)
{
    const Body body;
    const Edge edge;
    Vec start{1.0, 1.0, 1.0};
    Vec end{1.0, 1.0, 1.0};
    endPoints(body, edge, start, end);
    EXPECT_EQ(length(start), 0.0);
    EXPECT_EQ(length(end), 0.0);
    EXPECT_TRUE(edgeBox(edge).empty());
    EXPECT_TRUE(bodyBox(body).empty());
}
