#include "support/FacetSums.h"
#include "support/Shapes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>
#include <vector>

using namespace standin::geom;
using shapes::Builder;
using shapes::Facet;

// Faces that wind round closed surfaces, end in poles, or lie over the places where parameters
// begin anew.

namespace {

constexpr double kPi = shapes::kPi;

// Rows of a half profile turned round the axis, as a rational B-spline of degree 2 in both
// directions; exact for circles.
SurfacePtr turned(const Frame& frame, const std::vector<std::pair<double, double>>& profile,
                  const std::vector<double>& profileWeights)
{
    std::vector<Vec> poles;
    std::vector<double> weights;
    std::vector<double> knots;
    for (std::size_t i = 0; i < 9; ++i) {
        for (std::size_t j = 0; j < profile.size(); ++j) {
            const shapes::CircleSpline ring = shapes::circleSpline(
                shapes::moved(frame, 0.0, 0.0, profile[j].second), profile[j].first);
            poles.push_back(ring.poles[i]);
            weights.push_back(ring.weights[i] * profileWeights[j]);
            knots = ring.knots;
        }
    }
    const int degree = profile.size() == 2 ? 1 : 2;
    return makeBSplineSurface(2, degree, 9, static_cast<int>(profile.size()), poles, weights, knots,
                              shapes::clampedKnots(degree, profile.size()), false, false);
}

SurfacePtr tubeSpline(const Frame& f, double r, double h)
{
    return turned(f, {{r, 0.0}, {r, h}}, {1.0, 1.0});
}

// The quarter circle from the rim to the pole.
SurfacePtr domeSpline(const Frame& f, double r)
{
    return turned(f, {{r, 0.0}, {r, r}, {0.0, r}}, {1.0, std::sqrt(0.5), 1.0});
}

CurvePtr circleCurve(const Frame& f, double r)
{
    const shapes::CircleSpline s = shapes::circleSpline(f, r);
    return makeBSplineCurve(2, s.poles, s.weights, s.knots, false);
}

Frame rotated(const Frame& f, double angle)
{
    return makeFrame(f.origin, f.z, f.x * std::cos(angle) + f.y * std::sin(angle));
}

double faceArea(const Body& body, double tolerance)
{
    return shapes::area(shapes::split(facets(body, body.faces[0], tolerance)));
}

// A loop round a window of constant parameters, left of it lies the window.
std::vector<EdgeUse> window(Builder& make, const std::function<CurvePtr(double)>& alongU,
                            const std::function<CurvePtr(double)>& alongV, const Param& from,
                            const Param& to)
{
    const CurvePtr south = alongU(from.v);
    const CurvePtr north = alongU(to.v);
    const CurvePtr west = alongV(from.u);
    const CurvePtr east = alongV(to.u);
    const std::size_t sw = make.vertex(south->at(from.u));
    const std::size_t se = make.vertex(south->at(to.u));
    const std::size_t ne = make.vertex(north->at(to.u));
    const std::size_t nw = make.vertex(north->at(from.u));
    return {{make.edge(south, from.u, to.u, sw, se), false},
            {make.edge(east, from.v, to.v, se, ne), false},
            {make.edge(north, from.u, to.u, nw, ne), true},
            {make.edge(west, from.v, to.v, sw, nw), true}};
}

std::vector<EdgeUse> backwards(std::vector<EdgeUse> uses)
{
    std::reverse(uses.begin(), uses.end());
    for (EdgeUse& use : uses) {
        use.reversed = !use.reversed;
    }
    return uses;
}

std::vector<EdgeUse> tubeWindow(Builder& make, const Frame& f, double r, const Param& from,
                                const Param& to)
{
    return window(
        make, [&](double v) { return makeCircle(shapes::moved(f, 0.0, 0.0, v), r); },
        [&](double u) { return makeLine(f.at(r * std::cos(u), r * std::sin(u), 0.0), f.z); }, from,
        to);
}

std::vector<EdgeUse> ringWindow(Builder& make, const Frame& f, double a, double b,
                                const Param& from, const Param& to)
{
    return window(
        make,
        [&](double v) {
            return makeCircle(shapes::moved(f, 0.0, 0.0, b * std::sin(v)), a + b * std::cos(v));
        },
        [&](double u) {
            const Vec across = f.x * std::cos(u) + f.y * std::sin(u);
            return makeCircle(makeFrame(f.origin + across * a, cross(across, f.z), across), b);
        },
        from, to);
}

// Many points of a path on a surface, close enough to follow it to about 1e-8 m.
CurvePtr path(const Surface& surface, const std::function<Param(double)>& at)
{
    std::vector<Vec> points;
    constexpr int count = 4000;
    for (int i = 0; i <= count; ++i) {
        points.push_back(surface.at(at(i / double(count))));
    }
    return makePolyline(std::move(points));
}

} // namespace

TEST(geom_Topology, ClosedSplineTubeIsFullWithAndWithoutSeam)
{
    const Frame f = shapes::tilted();
    const double r = 0.02;
    const double h = 0.05;
    // Rims that start on the surface's own seam, and beside it.
    for (const double start : {0.0, 1.1, 5.0}) {
        for (const bool seam : {true, false}) {
            SCOPED_TRACE(testing::Message() << "start " << start << " seam " << seam);
            Builder make;
            const std::size_t face = make.face(tubeSpline(f, r, h), false);
            const Frame low = rotated(f, start);
            const std::size_t below = make.ring(circleCurve(low, r));
            const std::size_t above = make.ring(circleCurve(shapes::moved(low, 0.0, 0.0, h), r));
            if (seam) {
                const EdgeUse up = make.line(0, 1);
                make.loop(face, {{below, false}, up, {above, true}, {up.edge, true}});
            } else {
                make.loop(face, {{below, false}});
                make.loop(face, {{above, true}});
            }
            const double expected = 2.0 * kPi * r * h;
            EXPECT_NEAR(faceArea(make.body(), 1e-5), expected, expected * 4e-6 / r);
            Param from;
            Param to;
            paramRange(make.body(), make.body().faces[0], from, to);
            EXPECT_NEAR(to.u - from.u, 1.0, 1e-12);
            EXPECT_NEAR(from.v, 0.0, 1e-12);
            EXPECT_NEAR(to.v, 1.0, 1e-12);
            const Box box = faceBox(make.body(), make.body().faces[0]);
            const Body exact = shapes::cylinder(f, r, h, false);
            EXPECT_LT(distance(box.min, faceBox(exact, exact.faces[2]).min), 1e-12);
            EXPECT_LT(distance(box.max, faceBox(exact, exact.faces[2]).max), 1e-12);
        }
    }
}

TEST(geom_Topology, SplineDomeEndsInItsPole)
{
    const Frame f = shapes::tilted();
    const double r = 0.03;
    for (const double offset : {0.0, 0.004, -0.004}) {
        for (const bool vertexLoop : {true, false}) {
            SCOPED_TRACE(testing::Message() << offset << " " << vertexLoop);
            Builder make;
            // Rows rise, so the surface's normal points out of the dome.
            const SurfacePtr dome = domeSpline(f, r);
            const std::size_t face =
                make.face(offset == 0.0 ? dome : makeOffset(dome, offset), false);
            const double radius = r + offset;
            make.loop(face, {{make.ring(makeCircle(rotated(f, 0.7), radius)), false}});
            if (vertexLoop) {
                make.vertexLoop(face, make.vertex(f.at(0.0, 0.0, radius)));
            }
            ASSERT_EQ(make.body().faces[0].surface->poles().size(), 1U);
            const double expected = 2.0 * kPi * radius * radius;
            EXPECT_NEAR(faceArea(make.body(), 5e-5), expected, expected * 2e-4 / radius);
            EXPECT_TRUE(contains(make.body(), make.body().faces[0], {0.3, 0.999}));
            // The dome's top, where its normal is x, y or z, and its rim.
            const Box box = faceBox(make.body(), make.body().faces[0]);
            EXPECT_NEAR(box.max.x, f.origin.x + radius, 1e-9);
            EXPECT_NEAR(box.max.y, f.origin.y + radius, 1e-9);
            EXPECT_NEAR(box.max.z, f.origin.z + radius, 1e-9);
            EXPECT_NEAR(box.min.z, f.origin.z - radius * std::sqrt(1.0 - f.z.z * f.z.z), 1e-12);
        }
    }
}

TEST(geom_Topology, SplineTriangleHasACollapsedSide)
{
    const Frame f = shapes::tilted();
    const double r = 0.03;
    const double half = std::sqrt(0.5);
    std::vector<Vec> poles;
    std::vector<double> weights;
    const std::pair<double, double> quarter[] = {{1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            const double across = r * quarter[j].first;
            poles.push_back(
                f.at(across * quarter[i].first, across * quarter[i].second, r * quarter[j].second));
            weights.push_back((i == 1 ? half : 1.0) * (j == 1 ? half : 1.0));
        }
    }
    const std::vector<double> knots{0, 0, 0, 1, 1, 1};
    Builder make;
    const std::size_t face = make.face(
        makeBSplineSurface(2, 2, 3, 3, poles, weights, knots, knots, false, false), false);
    const std::size_t a = make.vertex(f.at(r, 0.0, 0.0));
    const std::size_t b = make.vertex(f.at(0.0, r, 0.0));
    const std::size_t pole = make.vertex(f.at(0.0, 0.0, r));
    const std::size_t equator = make.edge(makeCircle(f, r), 0.0, 0.5 * kPi, a, b);
    const std::size_t up =
        make.edge(makeCircle(makeFrame(f.origin, f.x, f.y), r), 0.0, 0.5 * kPi, b, pole);
    const std::size_t down =
        make.edge(makeCircle(makeFrame(f.origin, -f.y, f.x), r), 0.0, 0.5 * kPi, a, pole);
    make.loop(face, {{equator, false}, {up, false}, {down, true}});
    const double expected = 0.5 * kPi * r * r;
    for (const double tolerance : {1e-3, 1e-4, 1e-5}) {
        EXPECT_NEAR(faceArea(make.body(), tolerance), expected, expected * 4.0 * tolerance / r);
    }
    Param from;
    Param to;
    paramRange(make.body(), make.body().faces[0], from, to);
    EXPECT_NEAR(from.u, 0.0, 1e-9);
    EXPECT_NEAR(to.u, 1.0, 1e-9);
    EXPECT_EQ(to.v, 1.0);
}

TEST(geom_Topology, WindowInATubeMayLieOverItsStart)
{
    const Frame f = shapes::tilted();
    const double r = 0.02;
    const double h = 0.05;
    for (const bool spline : {false, true}) {
        for (const double start : {-0.3, 1.0, 2.9, 6.0}) {
            SCOPED_TRACE(testing::Message() << spline << " from " << start);
            const Param from{start, 0.01};
            const Param to{start + 0.7, 0.03};
            const SurfacePtr tube = spline ? tubeSpline(f, r, h) : makeCylinder(f, r);
            Builder whole;
            const std::size_t face = whole.face(tube, false);
            whole.loop(face, {{whole.ring(makeCircle(f, r)), false}});
            whole.loop(face, {{whole.ring(makeCircle(shapes::moved(f, 0.0, 0.0, h), r)), true}});
            whole.loop(face, backwards(tubeWindow(whole, f, r, from, to)));
            Builder pane;
            pane.loop(pane.face(tube, false), tubeWindow(pane, f, r, from, to));
            const double hole = 0.7 * r * 0.02;
            const double all = 2.0 * kPi * r * h;
            EXPECT_NEAR(faceArea(whole.body(), 1e-5), all - hole, all * 4e-6 / r);
            EXPECT_NEAR(faceArea(pane.body(), 1e-5), hole, hole * 4e-6 / r);
            const Param mid = tube->parameterAt(
                f.at(r * std::cos(start + 0.35), r * std::sin(start + 0.35), 0.02), nullptr);
            EXPECT_FALSE(contains(whole.body(), whole.body().faces[0], mid));
            EXPECT_TRUE(contains(pane.body(), pane.body().faces[0], mid));
        }
    }
}

TEST(geom_Topology, WindowInARingMayLieOverBothStarts)
{
    const Frame f = shapes::tilted();
    const double a = 0.05;
    const double b = 0.02;
    for (const Param& from : {Param{-0.5, -0.4}, Param{1.0, 1.0}, Param{5.9, 2.0}}) {
        SCOPED_TRACE(testing::Message() << from.u << " " << from.v);
        const Param to{from.u + 1.0, from.v + 0.9};
        Builder whole;
        whole.loop(whole.face(makeTorus(f, a, b), false),
                   backwards(ringWindow(whole, f, a, b, from, to)));
        Builder pane;
        pane.loop(pane.face(makeTorus(f, a, b), false), ringWindow(pane, f, a, b, from, to));
        // The integral of (a + b cos v) b over the window.
        const double hole = 1.0 * b * (a * 0.9 + b * (std::sin(to.v) - std::sin(from.v)));
        const double all = 4.0 * kPi * kPi * a * b;
        EXPECT_NEAR(faceArea(whole.body(), 2e-5), all - hole, all * 8e-5 / b);
        EXPECT_NEAR(faceArea(pane.body(), 1e-5), hole, hole * 4e-5 / b);
        const Param mid{from.u + 0.5, from.v + 0.4};
        EXPECT_FALSE(contains(whole.body(), whole.body().faces[0], mid));
        EXPECT_TRUE(contains(pane.body(), pane.body().faces[0], mid));
        EXPECT_TRUE(contains(whole.body(), whole.body().faces[0], {mid.u + 2.0, mid.v}));
    }
}

// Between v = u and v = u + 1: the area is the integral of (a + b cos v) b, over a whole turn of u.
TEST(geom_Topology, BandRoundBothWaysOfARing)
{
    const Frame f = shapes::tilted();
    const double a = 0.05;
    const double b = 0.02;
    const SurfacePtr ring = makeTorus(f, a, b);
    Builder make;
    const std::size_t face = make.face(ring, false);
    const auto spiral = [&](double shift) {
        return make.ring(path(*ring, [&](double part) {
            return Param{2.0 * kPi * part + 0.3, 2.0 * kPi * part + shift};
        }));
    };
    make.loop(face, {{spiral(0.3), false}});
    make.loop(face, {{spiral(1.3), true}});
    const double expected = 2.0 * kPi * a * b * 1.0;
    EXPECT_NEAR(faceArea(make.body(), 2e-5), expected, expected * 8e-5 / b);
    EXPECT_TRUE(contains(make.body(), make.body().faces[0], {2.0, 2.5}));
    EXPECT_FALSE(contains(make.body(), make.body().faces[0], {2.0, 4.0}));
}

TEST(geom_Topology, SeamMayRunSlantwise)
{
    const Frame f = shapes::tilted();
    const double r = 0.02;
    const double h = 0.05;
    const SurfacePtr tube = makeCylinder(f, r);
    Builder make;
    const std::size_t face = make.face(tube, false);
    const std::size_t below = make.ring(makeCircle(f, r));
    const std::size_t above = make.ring(makeCircle(rotated(shapes::moved(f, 0.0, 0.0, h), 4.0), r));
    const CurvePtr helix = path(*tube, [&](double part) { return Param{4.0 * part, h * part}; });
    const std::size_t seam = make.edge(helix, 0.0, 4000.0, 0, 1);
    make.loop(face, {{below, false}, {seam, false}, {above, true}, {seam, true}});
    const double expected = 2.0 * kPi * r * h;
    EXPECT_NEAR(faceArea(make.body(), 1e-5), expected, expected * 4e-6 / r);
}

TEST(geom_Topology, FaceMayHaveTwoSeparateParts)
{
    const Frame f = shapes::tilted();
    const double r = 0.02;
    Builder make;
    const std::size_t face = make.face(makeCylinder(f, r), false);
    make.loop(face, tubeWindow(make, f, r, {0.2, 0.0}, {1.2, 0.02}));
    make.loop(face, tubeWindow(make, f, r, {3.0, 0.03}, {3.5, 0.05}));
    const double expected = r * (1.0 * 0.02 + 0.5 * 0.02);
    EXPECT_NEAR(faceArea(make.body(), 1e-5), expected, expected * 4e-6 / r);
    EXPECT_TRUE(contains(make.body(), make.body().faces[0], {0.7, 0.01}));
    EXPECT_TRUE(contains(make.body(), make.body().faces[0], {3.2, 0.04}));
    EXPECT_FALSE(contains(make.body(), make.body().faces[0], {2.0, 0.025}));
}

TEST(geom_Topology, ConeCutOffHasNoApex)
{
    const Frame f = shapes::tilted();
    const double angle = 0.4;
    const auto radius = [&](double z) { return 0.02 + z * std::tan(angle); };
    Builder make;
    const std::size_t face = make.face(makeCone(f, 0.02, angle), false);
    make.loop(face,
              {{make.ring(makeCircle(shapes::moved(f, 0.0, 0.0, -0.01), radius(-0.01))), false}});
    make.loop(face,
              {{make.ring(makeCircle(shapes::moved(f, 0.0, 0.0, 0.03), radius(0.03))), true}});
    const double expected = kPi * (radius(-0.01) + radius(0.03)) * 0.04 / std::cos(angle);
    EXPECT_NEAR(faceArea(make.body(), 1e-5), expected, expected * 2e-5 / radius(-0.01));
    Param from;
    Param to;
    paramRange(make.body(), make.body().faces[0], from, to);
    EXPECT_NEAR(from.v, -0.01, 1e-12);
    EXPECT_NEAR(to.v, 0.03, 1e-12);
}

TEST(geom_Topology, LoopMayRunThroughAPole)
{
    // Half a ball's upper half: the meridian arch crosses the pole in its middle.
    const Frame f = shapes::tilted();
    const double r = 0.04;
    Builder make;
    const std::size_t face = make.face(makeSphere(f, r), false);
    const std::size_t east = make.vertex(f.at(r, 0.0, 0.0));
    const std::size_t west = make.vertex(f.at(-r, 0.0, 0.0));
    const std::size_t equator = make.edge(makeCircle(f, r), 0.0, kPi, east, west);
    const std::size_t arch =
        make.edge(makeCircle(makeFrame(f.origin, -f.y, f.x), r), 0.0, kPi, east, west);
    make.loop(face, {{equator, false}, {arch, true}});
    const double expected = kPi * r * r;
    for (const double tolerance : {1e-3, 1e-4, 1e-5}) {
        EXPECT_NEAR(faceArea(make.body(), tolerance), expected, expected * 4.0 * tolerance / r);
    }
    EXPECT_TRUE(contains(make.body(), make.body().faces[0], {1.0, 1.5}));
    EXPECT_FALSE(contains(make.body(), make.body().faces[0], {4.0, 1.5}));
}

TEST(geom_Topology, RevolvedHalfCircleIsASphere)
{
    const Frame f = shapes::tilted();
    const double r = 0.04;
    const CurvePtr profile = makeCircle(makeFrame(f.origin, -f.y, f.x), r);
    Body ball = shapes::sphere(f, r, shapes::Closed::seam);
    ball.faces[0].surface = makeRevolution(profile, f.origin, f.z);
    const double expected = 4.0 * kPi * r * r;
    EXPECT_NEAR(faceArea(ball, 1e-4), expected, expected * 4e-4 / r);
    const Box box = bodyBox(ball);
    EXPECT_LT(distance(box.min, f.origin - Vec{r, r, r}), 1e-11);
    EXPECT_LT(distance(box.max, f.origin + Vec{r, r, r}), 1e-11);
}
