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
using shapes::leaningTube;
using shapes::lune;
using shapes::octant;
using shapes::pierced;
using shapes::Sample;
using shapes::samples;
using shapes::wall;
using shapes::zone;

namespace {

constexpr double kPi = shapes::kPi;

} // namespace

TEST(geom_FaceGeometry, FacetCornersLieOnTheSurface)
{
    for (const Sample& s : samples()) {
        for (const double tolerance : {0.05, 1e-3, 1e-4}) {
            SCOPED_TRACE(testing::Message() << s.name << " at " << tolerance);
            for (const Face& face : s.body.faces) {
                const std::vector<Facet> facets = shapes::split(::facets(s.body, face, tolerance));
                ASSERT_FALSE(facets.empty());
                for (const Facet& f : facets) {
                    for (const Vec& p : f) {
                        const Param q = face.surface->parameterAt(p, nullptr);
                        ASSERT_LT(distance(face.surface->at(q), p), 1e-12);
                    }
                }
            }
        }
    }
}

TEST(geom_FaceGeometry, FacetsKeepToTheChordDistance)
{
    for (const Sample& s : samples()) {
        for (const double tolerance : {1e-3, 1e-4, 5e-6}) {
            SCOPED_TRACE(testing::Message() << s.name << " at " << tolerance);
            for (const Face& face : s.body.faces) {
                const SurfaceKind kind = face.surface->kind();
                if (tolerance < 1e-5 && kind != SurfaceKind::cylinder &&
                    kind != SurfaceKind::cone) {
                    continue; // too many facets for what they show
                }
                double worst = 0.0;
                for (const Facet& f : shapes::split(::facets(s.body, face, tolerance))) {
                    // Corners, thirds of the sides and the middle.
                    for (int i = 0; i <= 3; ++i) {
                        for (int j = 0; i + j <= 3; ++j) {
                            const Vec p = (f[0] * i + f[1] * j + f[2] * (3 - i - j)) * (1.0 / 3.0);
                            const Param q = face.surface->parameterAt(p, nullptr);
                            worst = std::fmax(worst, distance(face.surface->at(q), p));
                        }
                    }
                }
                EXPECT_LE(worst, tolerance);
            }
        }
    }
}

TEST(geom_FaceGeometry, FacetsLookOutwards)
{
    for (const Sample& s : samples()) {
        for (const double tolerance : {0.05, 1e-3, 1e-4}) {
            SCOPED_TRACE(testing::Message() << s.name << " at " << tolerance);
            for (const Face& face : s.body.faces) {
                for (const Facet& f : shapes::split(::facets(s.body, face, tolerance))) {
                    const Vec mid = (f[0] + f[1] + f[2]) * (1.0 / 3.0);
                    const Vec n = faceNormal(face, face.surface->parameterAt(mid, nullptr));
                    ASSERT_GT(dot(shapes::areaVector(f), n), 0.0);
                }
            }
        }
    }
}

TEST(geom_FaceGeometry, FacetsMeetExactlyButAtTheEdges)
{
    for (const Sample& s : samples()) {
        for (const double tolerance : {0.05, 1e-3, 1e-4}) {
            SCOPED_TRACE(testing::Message() << s.name << " at " << tolerance);
            for (const Face& face : s.body.faces) {
                const std::vector<Facet> facets = shapes::split(::facets(s.body, face, tolerance));
                for (const auto& [a, b] : shapes::openSides(facets)) {
                    ASSERT_FALSE(s.body.edges.empty()) << "a closed face has a gap";
                    ASSERT_LT(distanceToEdges(s.body, a), 1e-12);
                    ASSERT_LT(distanceToEdges(s.body, b), 1e-12);
                }
            }
        }
    }
}

TEST(geom_FaceGeometry, SeamsLeaveNoGap)
{
    const Frame f = shapes::tilted();
    for (const Closed closed : {Closed::seam, Closed::vertexLoop, Closed::bare}) {
        const Body ball = shapes::sphere(f, 0.04, closed);
        const Body ring = shapes::torus(f, 0.05, 0.02, closed);
        for (const Body* body : {&ball, &ring}) {
            const std::vector<Facet> facets = shapes::split(::facets(*body, body->faces[0], 1e-3));
            EXPECT_GT(facets.size(), 100U);
            EXPECT_TRUE(shapes::openSides(facets).empty());
        }
    }
}

TEST(geom_FaceGeometry, FacetsAreTheSameEveryTime)
{
    for (const Sample& s : samples()) {
        SCOPED_TRACE(s.name);
        for (const Face& face : s.body.faces) {
            const FaceGeometry geometry(s.body, face);
            const std::vector<double> once = geometry.facets(1e-3);
            EXPECT_EQ(once, geometry.facets(1e-3));
            EXPECT_EQ(once, ::facets(s.body, face, 1e-3));
        }
    }
}

TEST(geom_FaceGeometry, PlaneFacesTakeAsFewFacetsAsTheyHaveCorners)
{
    const Body body = shapes::block(shapes::tilted(), 0.1, 0.06, 0.03);
    for (const Face& face : body.faces) {
        EXPECT_EQ(::facets(body, face, 1e-6).size(), 18U);
    }
}

// The chord distance t of a step of 2 a on radius r is r (1 - cos a), so a^2 < 2.2 t / r for the
// tolerances here; a chord is shorter than its arc by less than a^2 / 6, a triangle at the centre
// smaller than its sector by less than (2 a)^2 / 6.
TEST(geom_FaceGeometry, AreasAreTheClosedForms)
{
    const Frame f = shapes::tilted();
    const double r = 0.02;
    const double h = 0.05;
    for (const double t : {1e-3, 1e-4, 1e-5}) {
        SCOPED_TRACE(t);
        const double chord = 2.2 * t / r / 6.0;
        for (const bool seam : {true, false}) {
            const Body c = shapes::cylinder(f, r, h, seam);
            const double disc = kPi * r * r;
            const double side = 2.0 * kPi * r * h;
            EXPECT_NEAR(shapes::area(shapes::split(::facets(c, c.faces[0], t))), disc,
                        disc * 4.0 * chord);
            EXPECT_NEAR(shapes::area(shapes::split(::facets(c, c.faces[2], t))), side,
                        side * chord);
            const Body k = shapes::cone(f, r, h, seam);
            const double mantle = kPi * r * std::hypot(r, h);
            EXPECT_NEAR(shapes::area(shapes::split(::facets(k, k.faces[1], t))), mantle,
                        mantle * 4.0 * chord);
        }
    }
}

// Facets whose insides keep within t of a sphere of radius r lie between the spheres of r - t and
// r: their area lies between (1 - t / r)^2 times the sphere's and the sphere's, twice the room
// given for facets that do not make a convex body.
TEST(geom_FaceGeometry, AreasOnSpheresAreTheClosedForms)
{
    const Frame f = shapes::tilted();
    const double r = 0.04;
    const double sphere = 4.0 * kPi * r * r;
    const double height = r * (1.0 - std::sin(0.3));
    const double hole = 2.0 * kPi * r * r * (1.0 - std::cos(0.4));
    const Frame low = shapes::moved(f, 0.0, 0.0, -0.5 * r);
    const Frame high = shapes::moved(f, 0.0, 0.0, 0.5 * r);
    const double across = std::sqrt(0.75) * r;
    const std::vector<std::pair<Body, double>> cases{
        {shapes::sphere(f, r, Closed::seam), sphere},
        {shapes::sphere(f, r, Closed::vertexLoop), sphere},
        {shapes::sphere(f, r, Closed::bare), sphere},
        {zone(makeSphere(f, r), low, across, high, across), 2.0 * kPi * r * r},
        {zone(makeSphere(f, r), low, across, high, across, true), 2.0 * kPi * r * r},
        {cap(f, r, 0.3, true), 2.0 * kPi * r * height},
        {cap(f, r, 0.3, false), sphere - 2.0 * kPi * r * height},
        {pierced(f, r, f.x + f.y * 2.0, 0.4), sphere - hole},
        {pierced(f, r, f.x - f.z * 0.3, 0.4), sphere - hole},
        {pierced(f, r, f.z + f.y * 0.2, 0.4), sphere - hole},
        {pierced(f, r, -f.z, 0.4), sphere - hole},
        {octant(f, r), 0.125 * sphere},
        {lune(f, r, 1.0), 2.0 * r * r},
        {lune(f, r, 5.0), 10.0 * r * r},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        for (const double t : {1e-3, 1e-4, 1e-5}) {
            SCOPED_TRACE(testing::Message() << "case " << i << " at " << t);
            const Body& body = cases[i].first;
            const double found = shapes::area(shapes::split(::facets(body, body.faces[0], t)));
            EXPECT_NEAR(found, cases[i].second, cases[i].second * 4.0 * t / r);
        }
    }
}

TEST(geom_FaceGeometry, AreasOnToriAreTheClosedForms)
{
    const Frame f = shapes::tilted();
    const double a = 0.05;
    const double b = 0.01;
    const Frame top = shapes::moved(f, 0.0, 0.0, b);
    const Frame bottom = shapes::moved(f, 0.0, 0.0, -b);
    const double whole = 4.0 * kPi * kPi * a * b;
    // The centre of the outer half of the tube's rim lies 2 b / pi outside the tube's axis.
    const double outer = 2.0 * kPi * (a + 2.0 * b / kPi) * kPi * b;
    const std::vector<std::pair<Body, double>> cases{
        {shapes::torus(f, a, b, Closed::seam), whole},
        {shapes::torus(f, a, b, Closed::bare), whole},
        {zone(makeTorus(f, a, b), bottom, a, top, a), outer},
        {zone(makeTorus(f, a, b), top, a, bottom, a), whole - outer},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        for (const double t : {1e-3, 1e-4, 1e-5}) {
            SCOPED_TRACE(testing::Message() << "case " << i << " at " << t);
            const Body& body = cases[i].first;
            const double found = shapes::area(shapes::split(::facets(body, body.faces[0], t)));
            EXPECT_NEAR(found, cases[i].second, cases[i].second * 4.0 * t / b);
        }
    }
}

// Between u0 and u1 along the tube's way round, bounded by two circles of the tube.
TEST(geom_FaceGeometry, TorusBetweenTwoTubeCirclesIsThatPart)
{
    const Frame f = shapes::tilted();
    const double a = 0.05;
    const double b = 0.01;
    Builder make;
    const std::size_t face = make.face(makeTorus(f, a, b), false);
    const auto section = [&](double u) {
        const Vec across = f.x * std::cos(u) + f.y * std::sin(u);
        return make.ring(
            makeCircle(makeFrame(f.origin + across * a, cross(across, f.z), across), b));
    };
    // Left of rising v lies falling u: the face lies between 5.5 and 5.5 + 2.
    make.loop(face, {{section(5.5), true}});
    make.loop(face, {{section(7.5), false}});
    const Body& body = make.body();
    const double expected = 2.0 * a * 2.0 * kPi * b;
    EXPECT_NEAR(shapes::area(shapes::split(::facets(body, body.faces[0], 1e-5))), expected,
                expected * 4e-5 / b);
    Param from;
    Param to;
    paramRange(body, body.faces[0], from, to);
    EXPECT_NEAR(from.u, 5.5, 1e-12);
    EXPECT_NEAR(to.u, 7.5, 1e-12);
    EXPECT_NEAR(to.v - from.v, 2.0 * kPi, 1e-12);
    EXPECT_TRUE(::contains(body, body.faces[0], {0.5, 2.0}));
    EXPECT_FALSE(::contains(body, body.faces[0], {3.0, 2.0}));
}

// The tilted planes cut the wall at z = 0.5 r cos(u - 0.3) and z = 0.08 - 0.7 r cos(u - 2): their
// mean distance is 0.08.
TEST(geom_FaceGeometry, LeaningTubeHasTheAreaOfItsMeanHeight)
{
    const Body body = leaningTube(shapes::tilted(), 0.02);
    const double expected = 2.0 * kPi * 0.02 * 0.08;
    const double found = shapes::area(shapes::split(::facets(body, body.faces[0], 1e-6)));
    EXPECT_NEAR(found, expected, expected * 4e-6 / 0.02);
}

TEST(geom_FaceGeometry, PatchHasTheAreaOfItsIntegral)
{
    const Body body = shapes::patch(shapes::tilted());
    const Surface& surface = *body.faces[0].surface;
    // The midpoint rule on 300 x 300 cells is good to about 1e-5 of the area.
    double sum = 0.0;
    double curvature = 0.0;
    constexpr int count = 300;
    for (int i = 0; i < count; ++i) {
        for (int j = 0; j < count; ++j) {
            const SurfacePoint s = surface.evaluate({(i + 0.5) / count, (j + 0.5) / count});
            const Vec n = unit(cross(s.du, s.dv));
            sum += length(cross(s.du, s.dv)) / (count * count);
            // No normal curvature is above this, with e, f, g of the first form and l, m, n of the
            // second: (|l| g + 2 |m| sqrt(e g) + |n| e) / (e g - f^2).
            const double e = dot(s.du, s.du);
            const double g = dot(s.dv, s.dv);
            const double f = dot(s.du, s.dv);
            const double most = std::fabs(dot(n, s.duu)) * g +
                                2.0 * std::fabs(dot(n, s.duv)) * std::sqrt(e * g) +
                                std::fabs(dot(n, s.dvv)) * e;
            curvature = std::fmax(curvature, most / (e * g - f * f));
        }
    }
    const double t = 5e-6;
    const double found = shapes::area(shapes::split(::facets(body, body.faces[0], t)));
    // Facets differ by less than t over the least radius of curvature.
    EXPECT_NEAR(found, sum, sum * (t * curvature + 1e-5));
    EXPECT_LT(t * curvature, 0.01);
}

TEST(geom_FaceGeometry, ThinRingKeepsItsArea)
{
    const Body body = annulus(shapes::tilted(), 0.05, 0.0499);
    const double expected = kPi * (0.05 * 0.05 - 0.0499 * 0.0499);
    for (const double t : {0.05, 1e-3, 1e-5}) {
        const double found = shapes::area(shapes::split(::facets(body, body.faces[0], t)));
        // Chords that do not cross are within the ring's width; finer ones within t.
        EXPECT_NEAR(found, expected, expected * (t < 1e-4 ? t / 1e-4 : 1.0)) << t;
        EXPECT_GT(found, 0.0) << t;
    }
}

// A body's facets keep within t of it, so the volumes differ by less than t times the area.
TEST(geom_FaceGeometry, VolumesAreTheClosedForms)
{
    const Frame f = shapes::tilted();
    const double ball = 4.0 / 3.0 * kPi * std::pow(0.04, 3);
    const double ring = 2.0 * kPi * kPi * 0.05 * 0.02 * 0.02;
    const std::vector<std::pair<Body, double>> cases{
        {shapes::block(f, 0.1, 0.06, 0.03), 0.1 * 0.06 * 0.03},
        {shapes::block(f, 0.1, 0.06, 0.03, 0.02), (0.1 * 0.06 - kPi * 4e-4) * 0.03},
        {shapes::cylinder(f, 0.02, 0.05, true), kPi * 4e-4 * 0.05},
        {shapes::cylinder(f, 0.02, 0.05, false), kPi * 4e-4 * 0.05},
        {shapes::cone(f, 0.02, 0.05, true), kPi * 4e-4 * 0.05 / 3.0},
        {shapes::cone(f, 0.02, 0.05, false), kPi * 4e-4 * 0.05 / 3.0},
        {shapes::sphere(f, 0.04, Closed::seam), ball},
        {shapes::sphere(f, 0.04, Closed::bare), ball},
        {shapes::torus(f, 0.05, 0.02, Closed::seam), ring},
        {shapes::torus(f, 0.05, 0.02, Closed::bare), ring},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        for (const double t : {1e-3, 1e-4, 1e-5}) {
            SCOPED_TRACE(testing::Message() << "case " << i << " at " << t);
            double sum = 0.0;
            double all = 0.0;
            for (const Face& face : cases[i].first.faces) {
                const std::vector<Facet> facets = shapes::split(::facets(cases[i].first, face, t));
                sum += shapes::volume(facets, f.origin);
                all += shapes::area(facets);
            }
            EXPECT_NEAR(sum, cases[i].second, all * t);
        }
    }
}

TEST(geom_FaceGeometry, NeighbouringFacesShareTheirCornersOnAnEdge)
{
    for (const Body& body : {shapes::block(shapes::tilted(), 0.1, 0.06, 0.03, 0.02),
                             shapes::cylinder(shapes::tilted(), 0.02, 0.05, false)}) {
        std::vector<Facet> all;
        for (const Face& face : body.faces) {
            const std::vector<Facet> facets = shapes::split(::facets(body, face, 1e-4));
            all.insert(all.end(), facets.begin(), facets.end());
        }
        // On a grid of 1e-9 m corners of both faces fall together, and no side stays open.
        for (Facet& f : all) {
            for (Vec& p : f) {
                p = {std::round(p.x * 1e9), std::round(p.y * 1e9), std::round(p.z * 1e9)};
            }
        }
        EXPECT_TRUE(shapes::openSides(all).empty());
    }
}
