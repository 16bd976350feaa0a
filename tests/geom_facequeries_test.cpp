#include "support/Faces.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

using namespace standin::geom;
using shapes::annulus;
using shapes::Builder;
using shapes::cap;
using shapes::Closed;
using shapes::distanceToEdges;
using shapes::Facet;
using shapes::lune;
using shapes::octant;
using shapes::pierced;
using shapes::Sample;
using shapes::samples;
using shapes::wall;

namespace {

constexpr double kPi = shapes::kPi;

Box grown(Box box, double by)
{
    box.min = box.min - Vec{by, by, by};
    box.max = box.max + Vec{by, by, by};
    return box;
}

bool encloses(const Box& outer, const Box& inner)
{
    return outer.min.x <= inner.min.x && outer.min.y <= inner.min.y && outer.min.z <= inner.min.z &&
           outer.max.x >= inner.max.x && outer.max.y >= inner.max.y && outer.max.z >= inner.max.z;
}

} // namespace

TEST(geom_FaceGeometry, BoxEnclosesFacetsAndTouches)
{
    for (const Sample& s : samples()) {
        for (const Face& face : s.body.faces) {
            const Box box = faceBox(s.body, face);
            for (const double tolerance : {0.05, 1e-3, 1e-4}) {
                SCOPED_TRACE(testing::Message() << s.name << " at " << tolerance);
                const Box seen = shapes::box(shapes::split(::facets(s.body, face, tolerance)));
                EXPECT_TRUE(encloses(grown(box, 1e-9), seen));
                EXPECT_TRUE(encloses(grown(seen, tolerance), box));
            }
        }
    }
}

TEST(geom_FaceGeometry, BoxEnclosesItsEdges)
{
    for (const Sample& s : samples()) {
        SCOPED_TRACE(s.name);
        for (const Face& face : s.body.faces) {
            const Box box = faceBox(s.body, face);
            for (const Loop& loop : face.loops) {
                for (const EdgeUse& use : loop.uses) {
                    EXPECT_TRUE(encloses(box, edgeBox(s.body.edges[use.edge])));
                }
            }
        }
    }
}

TEST(geom_FaceGeometry, BoxOfAPlaneFaceIsThatOfItsCorners)
{
    const Body body = shapes::block(shapes::tilted(), 0.1, 0.06, 0.03);
    for (const Face& face : body.faces) {
        Box corners;
        for (const EdgeUse& use : face.loops[0].uses) {
            corners.add(body.vertices[body.edges[use.edge].start].point);
            corners.add(body.vertices[body.edges[use.edge].end].point);
        }
        const Box box = faceBox(body, face);
        // A line reaches its end within a rounding.
        EXPECT_LT(distance(box.min, corners.min), 2e-16);
        EXPECT_LT(distance(box.max, corners.max), 2e-16);
    }
}

TEST(geom_FaceGeometry, BoxesOfTiltedBodiesAreClosedForms)
{
    const Frame f = shapes::tilted();
    const double a = 0.05;
    const double b = 0.02;
    for (const Closed closed : {Closed::seam, Closed::bare}) {
        const Box ball = bodyBox(shapes::sphere(f, b, closed));
        EXPECT_LT(distance(ball.min, f.origin - Vec{b, b, b}), 1e-15);
        EXPECT_LT(distance(ball.max, f.origin + Vec{b, b, b}), 1e-15);
        // A ring reaches as far as its middle circle, and the tube further.
        const Box ring = bodyBox(shapes::torus(f, a, b, closed));
        const auto reach = [&](double z) { return a * std::sqrt(1.0 - z * z) + b; };
        const Vec far{reach(f.z.x), reach(f.z.y), reach(f.z.z)};
        EXPECT_LT(distance(ring.min, f.origin - far), 1e-15);
        EXPECT_LT(distance(ring.max, f.origin + far), 1e-15);
    }
    for (const bool seam : {true, false}) {
        const double h = 0.07;
        const Vec rim{b * std::sqrt(1.0 - f.z.x * f.z.x), b * std::sqrt(1.0 - f.z.y * f.z.y),
                      b * std::sqrt(1.0 - f.z.z * f.z.z)};
        // All components of the tilted axis rise.
        const Box tube = bodyBox(shapes::cylinder(f, b, h, seam));
        EXPECT_LT(distance(tube.min, f.origin - rim), 1e-15);
        EXPECT_LT(distance(tube.max, f.origin + f.z * h + rim), 1e-15);
        const Box hat = bodyBox(shapes::cone(f, b, h, seam));
        const Vec apex = f.origin - f.z * h;
        EXPECT_NEAR(hat.min.x, std::fmin(apex.x, f.origin.x - rim.x), 1e-15);
        EXPECT_NEAR(hat.min.y, std::fmin(apex.y, f.origin.y - rim.y), 1e-15);
        EXPECT_NEAR(hat.min.z, std::fmin(apex.z, f.origin.z - rim.z), 1e-15);
        EXPECT_LT(distance(hat.max, f.origin + rim), 1e-15);
    }
}

TEST(geom_FaceGeometry, BoxOfAPatchHoldsItsHumpExactly)
{
    // In an upright frame, so that the hump turns along z: held against a dense search.
    const Body body = shapes::patch({});
    const Box box = faceBox(body, body.faces[0]);
    double highest = -1.0;
    double lowest = 1.0;
    Vec bend;
    constexpr int count = 500;
    for (int i = 0; i <= count; ++i) {
        for (int j = 0; j <= count; ++j) {
            const SurfacePoint at =
                body.faces[0].surface->evaluate({i / double(count), j / double(count)});
            highest = std::fmax(highest, at.p.z);
            lowest = std::fmin(lowest, at.p.z);
            bend = {std::fmax(bend.x, std::fabs(at.duu.z)), std::fmax(bend.y, std::fabs(at.duv.z)),
                    std::fmax(bend.z, std::fabs(at.dvv.z))};
        }
    }
    EXPECT_GE(box.max.z, highest - 1e-15);
    EXPECT_LE(box.min.z, lowest + 1e-15);
    // A turn lies at most half a cell h off a sample in either direction, f'' h^2 / 2 above it; a
    // little more room for second derivatives between the samples.
    const double h = 0.5 / count;
    const double room = 1.1 * (bend.x + 2.0 * bend.y + bend.z) * h * h / 2.0;
    EXPECT_LT(box.max.z, highest + room);
    EXPECT_GT(box.min.z, lowest - room);
}

TEST(geom_FaceGeometry, BoxOfARevolvedOrOffsetFaceIsTheAnalyticOnes)
{
    const Frame f = shapes::tilted();
    const Frame section = makeFrame(f.at(0.05, 0.0, 0.0), -f.y, f.x);
    Body ring = shapes::torus(f, 0.05, 0.02, Closed::bare);
    const Box exact = bodyBox(ring);
    ring.faces[0].surface = makeRevolution(makeCircle(section, 0.02), f.origin, f.z);
    const Box turned = bodyBox(ring);
    EXPECT_LT(distance(turned.min, exact.min), 1e-12);
    EXPECT_LT(distance(turned.max, exact.max), 1e-12);
    ring.faces[0].surface = makeOffset(makeTorus(f, 0.05, 0.015), 0.005);
    const Box offset = bodyBox(ring);
    EXPECT_LT(distance(offset.min, exact.min), 1e-12);
    EXPECT_LT(distance(offset.max, exact.max), 1e-12);
}

TEST(geom_FaceGeometry, SweptAndOffsetFacesHaveTheFacetsOfAnalyticOnes)
{
    const Frame f = shapes::tilted();
    const Body plain = shapes::cylinder(f, 0.02, 0.05, false);
    const double expected = 2.0 * kPi * 0.02 * 0.05;
    for (const SurfacePtr& same :
         {makeExtrusion(makeCircle(f, 0.02), f.z),
          makeRevolution(makeLine(f.at(0.02, 0.0, 0.0), f.z), f.origin, f.z),
          makeOffset(makeCylinder(f, 0.015), 0.005)}) {
        for (const bool seam : {true, false}) {
            Body body = shapes::cylinder(f, 0.02, 0.05, seam);
            body.faces[2].surface = same;
            SCOPED_TRACE(testing::Message() << static_cast<int>(same->kind()) << seam);
            const std::vector<Facet> facets = shapes::split(::facets(body, body.faces[2], 1e-5));
            EXPECT_NEAR(shapes::area(facets), expected, expected * 2.2e-5 / 0.02 / 6.0);
            const Box box = faceBox(body, body.faces[2]);
            const Box exact = faceBox(plain, plain.faces[2]);
            EXPECT_LT(distance(box.min, exact.min), 1e-12);
            EXPECT_LT(distance(box.max, exact.max), 1e-12);
        }
    }
}

TEST(geom_FaceGeometry, ContainsHoldsEveryFacetsMiddle)
{
    for (const Sample& s : samples()) {
        SCOPED_TRACE(s.name);
        for (const Face& face : s.body.faces) {
            const FaceGeometry geometry(s.body, face);
            std::size_t seen = 0;
            for (const Facet& f : shapes::split(geometry.facets(1e-4))) {
                const Vec mid = (f[0] + f[1] + f[2]) * (1.0 / 3.0);
                const Param p = face.surface->parameterAt(mid, nullptr);
                // Beside a hole's edge the middle of a thin facet may lie over the hole, by less
                // than the chord distance.
                if (distanceToEdges(s.body, face.surface->at(p)) > 1e-4 || s.body.edges.empty()) {
                    ASSERT_TRUE(geometry.contains(p)) << p.u << " " << p.v;
                    ++seen;
                }
            }
            EXPECT_GT(seen + (s.name == "thin annulus" ? 1U : 0U), 0U);
        }
    }
}

TEST(geom_FaceGeometry, ContainsAgreesWithTheArea)
{
    // Of a fine grid over the surface, the places inside make up the face's area.
    const Frame f = shapes::tilted();
    const double r = 0.04;
    const std::vector<std::pair<Body, double>> cases{
        {cap(f, r, 0.3, true), 0.5 * (1.0 - std::sin(0.3))},
        {cap(f, r, 0.3, false), 0.5 * (1.0 + std::sin(0.3))},
        {pierced(f, r, f.x + f.y, 0.4), 0.5 * (1.0 + std::cos(0.4))},
        {pierced(f, r, f.z + f.y * 0.2, 0.4), 0.5 * (1.0 + std::cos(0.4))},
        {octant(f, r), 0.125},
        {lune(f, r, 1.0), 1.0 / (2.0 * kPi)},
        {lune(f, r, 5.0), 5.0 / (2.0 * kPi)},
        {shapes::sphere(f, r, Closed::seam), 1.0},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const FaceGeometry geometry(cases[i].first, cases[i].first.faces[0]);
        constexpr int count = 150;
        int inside = 0;
        for (int a = 0; a < count; ++a) {
            for (int b = 0; b < count; ++b) {
                // Equal steps of the sine of the latitude are equal areas.
                const double sine = (2.0 * b + 1.0) / count - 1.0;
                inside +=
                    geometry.contains({2.0 * kPi * (a + 0.5) / count, std::asin(sine)}) ? 1 : 0;
            }
        }
        // The boundary crosses at most a few cells of each row and column.
        EXPECT_NEAR(inside / double(count * count), cases[i].second, 2.0 / count) << "case " << i;
    }
}

TEST(geom_FaceGeometry, ContainsHoldsTheLoopsThemselves)
{
    for (const Sample& s : samples()) {
        SCOPED_TRACE(s.name);
        for (const Face& face : s.body.faces) {
            const FaceGeometry geometry(s.body, face);
            for (const Loop& loop : face.loops) {
                for (const EdgeUse& use : loop.uses) {
                    const Edge& e = s.body.edges[use.edge];
                    for (int i = 0; i <= 20; ++i) {
                        const Vec p = e.curve->at(e.from + (e.to - e.from) * (i + 0.3) / 21.0);
                        EXPECT_TRUE(geometry.contains(face.surface->parameterAt(p, nullptr)));
                    }
                }
            }
        }
    }
}

TEST(geom_FaceGeometry, ContainsTellsASlightStepOverAnEdge)
{
    const Frame f = shapes::tilted();
    const Body body = shapes::block(f, 0.1, 0.06, 0.03, 0.02);
    const Face& top = body.faces[1];
    const FaceGeometry geometry(body, top);
    const auto at = [&](double x, double y) {
        return geometry.contains(top.surface->parameterAt(f.at(x, y, 0.03), nullptr));
    };
    for (int i = 0; i < 60; ++i) {
        const double angle = 0.1 * i;
        for (const double step : {1e-7, 1e-5, 1e-3}) {
            const double c = std::cos(angle);
            const double s = std::sin(angle);
            EXPECT_TRUE(at(0.05 + (0.02 + step) * c, 0.03 + (0.02 + step) * s)) << angle;
            EXPECT_FALSE(at(0.05 + (0.02 - step) * c, 0.03 + (0.02 - step) * s)) << angle;
        }
    }
    for (const double step : {1e-7, 1e-3, 0.2}) {
        EXPECT_TRUE(at(std::fmin(step, 0.02), 0.01));
        EXPECT_FALSE(at(-step, 0.01));
        EXPECT_FALSE(at(0.1 + step, 0.01));
        EXPECT_FALSE(at(0.05, 0.06 + step));
        EXPECT_FALSE(at(-step, -step));
    }
}

TEST(geom_FaceGeometry, ContainsTakesParametersAPeriodOff)
{
    const Body body = wall(shapes::tilted(), 0.02, -0.3, 1.2, 0.05);
    const FaceGeometry geometry(body, body.faces[0]);
    for (const double turn : {-2.0 * kPi, 0.0, 2.0 * kPi}) {
        EXPECT_TRUE(geometry.contains({0.0 + turn, 0.02}));
        EXPECT_TRUE(geometry.contains({-0.2 + turn, 0.02}));
        EXPECT_FALSE(geometry.contains({1.3 + turn, 0.02}));
        EXPECT_FALSE(geometry.contains({kPi + turn, 0.02}));
    }
}

TEST(geom_FaceGeometry, ParamRangeIsExactAndUnwrapped)
{
    const Frame f = shapes::tilted();
    Param from;
    Param to;
    const Body partial = wall(f, 0.02, -0.3, 1.2, 0.05);
    paramRange(partial, partial.faces[0], from, to);
    EXPECT_NEAR(from.u, 2.0 * kPi - 0.3, 1e-12);
    EXPECT_NEAR(to.u, 2.0 * kPi + 1.2, 1e-12);
    EXPECT_NEAR(from.v, 0.0, 1e-15);
    EXPECT_NEAR(to.v, 0.05, 1e-15);
    for (const bool seam : {true, false}) {
        const Body full = shapes::cylinder(f, 0.02, 0.05, seam);
        paramRange(full, full.faces[2], from, to);
        EXPECT_EQ(from.u, 0.0);
        EXPECT_EQ(to.u, 2.0 * kPi);
        EXPECT_NEAR(from.v, 0.0, 1e-15);
        EXPECT_NEAR(to.v, 0.05, 1e-15);
        const Body hat = shapes::cone(f, 0.02, 0.05, seam);
        paramRange(hat, hat.faces[1], from, to);
        EXPECT_EQ(to.u - from.u, 2.0 * kPi);
        EXPECT_NEAR(from.v, -0.05, 1e-15);
        EXPECT_NEAR(to.v, 0.0, 1e-15);
    }
}

TEST(geom_FaceGeometry, ParamRangeOfSphereFacesReachesThePoles)
{
    const Frame f = shapes::tilted();
    Param from;
    Param to;
    const Body whole = shapes::sphere(f, 0.04, Closed::bare);
    paramRange(whole, whole.faces[0], from, to);
    EXPECT_EQ(from.v, -0.5 * kPi);
    EXPECT_EQ(to.v, 0.5 * kPi);
    const Body upper = cap(f, 0.04, 0.3, true);
    paramRange(upper, upper.faces[0], from, to);
    EXPECT_NEAR(from.v, 0.3, 1e-12);
    EXPECT_EQ(to.v, 0.5 * kPi);
    const Body eighth = octant(f, 0.04);
    paramRange(eighth, eighth.faces[0], from, to);
    EXPECT_NEAR(from.u, 0.0, 1e-7);
    EXPECT_NEAR(to.u, 0.5 * kPi, 1e-7);
    EXPECT_NEAR(from.v, 0.0, 1e-12);
    EXPECT_EQ(to.v, 0.5 * kPi);
}

TEST(geom_FaceGeometry, ParamRangeFindsTurnsBetweenSamples)
{
    // A circle in a plane: its own parameters turn between any samples.
    const Frame f = shapes::tilted();
    Builder make;
    const std::size_t face = make.face(makePlane(f), false);
    make.loop(face, {{make.ring(makeCircle(shapes::moved(f, 0.1, 0.2, 0.0), 0.03)), false}});
    Param from;
    Param to;
    paramRange(make.body(), make.body().faces[0], from, to);
    EXPECT_NEAR(from.u, 0.07, 1e-12);
    EXPECT_NEAR(to.u, 0.13, 1e-12);
    EXPECT_NEAR(from.v, 0.17, 1e-12);
    EXPECT_NEAR(to.v, 0.23, 1e-12);
}

TEST(geom_FaceGeometry, NormalPointsOutOfTheBody)
{
    const Frame f = shapes::tilted();
    const Body body = shapes::block(f, 0.1, 0.06, 0.03, 0.02);
    const Vec centre = f.at(0.05, 0.03, 0.015);
    for (std::size_t i = 0; i < 6; ++i) {
        const Face& face = body.faces[i];
        const Param p = face.surface->parameterAt(centre, nullptr);
        EXPECT_GT(dot(faceNormal(face, p), face.surface->at(p) - centre), 0.0) << i;
    }
    // Out of the body is into the hole.
    const Face& hole = body.faces[6];
    EXPECT_LT(dot(faceNormal(hole, {1.0, 0.01}), hole.surface->at({1.0, 0.01}) - centre), 0.0);
}

TEST(geom_FaceGeometry, EndPointsAreTheVertices)
{
    Builder make;
    const std::size_t a = make.vertex({1.0, 2.0, 3.0});
    const std::size_t b = make.vertex({4.0, 5.0, 6.0});
    make.line(a, b);
    Body body = make.body();
    Vec start;
    Vec end;
    endPoints(body, body.edges[0], start, end);
    EXPECT_EQ(start.x, 1.0);
    EXPECT_EQ(end.z, 6.0);
    // Without vertices the curve's ends serve, the other way round for a reversed edge.
    body.edges[0].start = kNone;
    body.edges[0].end = kNone;
    body.edges[0].reversed = true;
    endPoints(body, body.edges[0], start, end);
    EXPECT_NEAR(start.x, 4.0, 1e-15);
    EXPECT_NEAR(end.z, 3.0, 1e-15);
}

TEST(geom_FaceGeometry, EdgesAgainstTheirCurvesBoundTheSameFace)
{
    Body body = shapes::block(shapes::tilted(), 0.1, 0.06, 0.03, 0.02);
    const std::vector<double> before = ::facets(body, body.faces[1], 1e-4);
    for (Edge& edge : body.edges) {
        edge.reversed = true;
        std::swap(edge.start, edge.end);
    }
    for (Face& face : body.faces) {
        for (Loop& loop : face.loops) {
            for (EdgeUse& use : loop.uses) {
                use.reversed = !use.reversed;
            }
        }
    }
    EXPECT_EQ(::facets(body, body.faces[1], 1e-4), before);
}
