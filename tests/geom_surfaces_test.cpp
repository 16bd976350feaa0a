#include "support/Shapes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

using namespace standin::geom;

namespace {

struct Sample
{
    std::string name;
    SurfacePtr surface;
    Param from;
    Param to;
};

constexpr double kPi = shapes::kPi;

// A cylinder or barrel as a rational B-spline: circles as rows, closed in u.
SurfacePtr roundSpline(const Frame& frame, const std::vector<double>& radii, double step,
                       int degreeV)
{
    std::vector<Vec> poles;
    std::vector<double> weights;
    std::vector<shapes::CircleSpline> rings;
    for (std::size_t j = 0; j < radii.size(); ++j) {
        rings.push_back(shapes::circleSpline(
            shapes::moved(frame, 0.0, 0.0, step * static_cast<double>(j)), radii[j]));
    }
    for (std::size_t i = 0; i < 9; ++i) {
        for (const shapes::CircleSpline& ring : rings) {
            poles.push_back(ring.poles[i]);
            weights.push_back(ring.weights[i]);
        }
    }
    return makeBSplineSurface(2, degreeV, 9, static_cast<int>(radii.size()), poles, weights,
                              rings[0].knots, shapes::clampedKnots(degreeV, radii.size()), true,
                              false);
}

std::vector<Sample> samples()
{
    const Frame f = shapes::tilted();
    const SurfacePtr patch = shapes::patch(f).faces[0].surface;
    const Frame side = makeFrame(f.at(0.08, 0.0, 0.0), f.y, f.x);
    const CurvePtr profile = makeEllipse(side, 0.02, 0.03);
    return {
        {"plane", makePlane(f), {-0.3, -0.2}, {0.4, 0.3}},
        {"cylinder", makeCylinder(f, 0.02), {0.1, -0.05}, {6.2, 0.07}},
        {"cone", makeCone(f, 0.02, 0.4), {0.1, -0.03}, {6.2, 0.07}},
        {"narrowing cone", makeCone(f, 0.02, -0.4), {0.1, -0.03}, {6.2, 0.04}},
        {"sphere", makeSphere(f, 0.05), {0.1, -1.5}, {6.2, 1.5}},
        {"torus", makeTorus(f, 0.05, 0.01), {0.1, 0.1}, {6.2, 6.2}},
        {"spindle", makeTorus(f, 0.03, 0.05), {0.1, 0.1}, {6.2, 2.1}},
        {"bicubic", patch, {0.0, 0.0}, {1.0, 1.0}},
        {"barrel", roundSpline(f, {0.02, 0.03, 0.025, 0.02}, 0.02, 3), {0.01, 0.0}, {0.99, 1.0}},
        {"extruded ellipse",
         makeExtrusion(makeEllipse(f, 0.04, 0.02), {0.3, 0.5, 1.0}),
         {0.1, -0.1},
         {6.2, 0.2}},
        {"extruded line",
         makeExtrusion(makeLine({0.1, 0.0, 0.0}, {1.0, 1.0, 0.0}), f.z),
         {-0.2, -0.1},
         {0.2, 0.2}},
        {"extruded parabola", makeExtrusion(makeParabola(f, 0.02), f.z), {-2.0, -0.1}, {1.5, 0.1}},
        {"revolved ellipse", makeRevolution(profile, f.origin, f.z), {0.1, 0.1}, {6.2, 6.2}},
        {"revolved line",
         makeRevolution(makeLine(f.at(0.05, 0.01, 0.0), f.z + f.y * 0.5), f.origin, f.z),
         {0.1, -0.05},
         {6.2, 0.1}},
        {"offset cylinder", makeOffset(makeCylinder(f, 0.02), 0.005), {0.1, -0.05}, {6.2, 0.07}},
        {"offset bicubic", makeOffset(patch, 0.001), {0.02, 0.02}, {0.98, 0.98}},
        {"offset barrel",
         makeOffset(roundSpline(f, {0.02, 0.03, 0.025, 0.02}, 0.02, 3), 0.001),
         {0.01, 0.02},
         {0.99, 0.98}},
    };
}

std::vector<Param> places(const Sample& s, int count)
{
    std::vector<Param> result;
    for (int i = 0; i < count; ++i) {
        for (int j = 0; j < count; ++j) {
            result.push_back({s.from.u + (s.to.u - s.from.u) * (i + 0.483) / count,
                              s.from.v + (s.to.v - s.from.v) * (j + 0.479) / count});
        }
    }
    return result;
}

double apart(double a, double b, double period)
{
    const double d = std::fabs(a - b);
    return period > 0.0 ? std::fabs(d - period * std::round(d / period)) : d;
}

} // namespace

TEST(geom_Surface, DerivativesAreThoseOfThePoint)
{
    for (const Sample& s : samples()) {
        SCOPED_TRACE(s.name);
        const double hu = 1e-5 * (s.to.u - s.from.u);
        const double hv = 1e-5 * (s.to.v - s.from.v);
        for (const Param& p : places(s, 6)) {
            const SurfacePoint all = s.surface->evaluate(p);
            const SurfacePoint u0 = s.surface->evaluate({p.u - hu, p.v});
            const SurfacePoint u1 = s.surface->evaluate({p.u + hu, p.v});
            const SurfacePoint v0 = s.surface->evaluate({p.u, p.v - hv});
            const SurfacePoint v1 = s.surface->evaluate({p.u, p.v + hv});
            // Errors of central differences, against the size of the surface in one range.
            const double wide = s.to.u - s.from.u;
            const double tall = s.to.v - s.from.v;
            EXPECT_LT(distance((u1.p - u0.p) * (0.5 / hu), all.du), 1e-7 / wide);
            EXPECT_LT(distance((v1.p - v0.p) * (0.5 / hv), all.dv), 1e-7 / tall);
            EXPECT_LT(distance((u1.du - u0.du) * (0.5 / hu), all.duu), 1e-4 / (wide * wide));
            EXPECT_LT(distance((v1.du - v0.du) * (0.5 / hv), all.duv), 1e-4 / (wide * tall));
            EXPECT_LT(distance((v1.dv - v0.dv) * (0.5 / hv), all.dvv), 1e-4 / (tall * tall));
            EXPECT_LT(distance(all.p, s.surface->at(p)), 1e-300);
        }
    }
}

TEST(geom_Surface, NormalIsUnitAcrossBothDerivatives)
{
    for (const Sample& s : samples()) {
        SCOPED_TRACE(s.name);
        for (const Param& p : places(s, 8)) {
            Vec du;
            Vec dv;
            s.surface->derivatives(p, du, dv);
            const Vec n = s.surface->normal(p);
            EXPECT_NEAR(length(n), 1.0, 1e-14);
            EXPECT_NEAR(dot(n, unit(du)), 0.0, 1e-13);
            EXPECT_NEAR(dot(n, unit(dv)), 0.0, 1e-13);
            EXPECT_GT(dot(n, cross(du, dv)), 0.0);
        }
    }
}

TEST(geom_Surface, ParameterAtFindsItsOwnPoints)
{
    for (const Sample& s : samples()) {
        SCOPED_TRACE(s.name);
        const Param period = s.surface->period();
        for (const Param& p : places(s, 11)) {
            const Vec point = s.surface->at(p);
            const Param guess{p.u + 0.02 * (s.to.u - s.from.u), p.v - 0.02 * (s.to.v - s.from.v)};
            for (const Param* start : {static_cast<const Param*>(nullptr), &guess}) {
                const Param found = s.surface->parameterAt(point, start);
                EXPECT_LT(distance(s.surface->at(found), point), 1e-15 + 1e-14 * length(point));
                EXPECT_LT(apart(found.u, p.u, period.u), 1e-10 * (s.to.u - s.from.u));
                EXPECT_LT(apart(found.v, p.v, period.v), 1e-10 * (s.to.v - s.from.v));
            }
        }
    }
}

TEST(geom_Surface, ParameterAtIsTheFootOfAPerpendicular)
{
    for (const Sample& s : samples()) {
        SCOPED_TRACE(s.name);
        for (const Param& p : places(s, 5)) {
            // Nearer than any radius of curvature: the foot is the place itself.
            const double off = 1e-4;
            const Vec point = s.surface->at(p) + s.surface->normal(p) * off;
            const Param found = s.surface->parameterAt(point, nullptr);
            EXPECT_LT(distance(s.surface->at(found), s.surface->at(p)), 1e-11);
        }
    }
}

TEST(geom_Surface, ParameterAtFallsInTheNaturalRange)
{
    for (const Sample& s : samples()) {
        SCOPED_TRACE(s.name);
        Param from;
        Param to;
        s.surface->naturalRange(from, to);
        for (const Param& p : places(s, 7)) {
            const Param found = s.surface->parameterAt(s.surface->at(p) + Vec{1e-5, 0.0, 0.0}, &p);
            EXPECT_GE(found.u, from.u);
            EXPECT_LE(found.u, to.u);
            EXPECT_GE(found.v, from.v);
            EXPECT_LE(found.v, to.v);
        }
    }
}

TEST(geom_Surface, PeriodRepeatsThePoint)
{
    int periodic = 0;
    for (const Sample& s : samples()) {
        SCOPED_TRACE(s.name);
        const Param period = s.surface->period();
        for (const Param& p : places(s, 4)) {
            const Vec point = s.surface->at(p);
            EXPECT_LT(distance(s.surface->at({p.u + period.u, p.v}), point), 1e-14);
            EXPECT_LT(distance(s.surface->at({p.u, p.v - period.v}), point), 1e-14);
        }
        periodic += period.u > 0.0 ? 1 : 0;
    }
    EXPECT_GT(periodic, 5);
}

TEST(geom_Surface, PolesAreOnePoint)
{
    const Frame f = shapes::tilted();
    const CurvePtr half = makeCircle(makeFrame(f.origin, -f.y, f.x), 0.05);
    const std::vector<std::pair<SurfacePtr, std::size_t>> cases{
        {makePlane(f), 0},
        {makeCylinder(f, 0.02), 0},
        {makeTorus(f, 0.05, 0.01), 0},
        {makeCone(f, 0.02, 0.4), 1},
        {makeSphere(f, 0.05), 2},
        {makeTorus(f, 0.03, 0.05), 2},
        {makeRevolution(half, f.origin, f.z), 2},
        {makeRevolution(makeLine(f.origin, f.x + f.z), f.origin, f.z), 1},
        {makeOffset(makeSphere(f, 0.05), 0.01), 2},
        // Beyond an apex an offset opens into a circle.
        {makeOffset(makeCone(f, 0.02, 0.4), 0.01), 0},
    };
    for (const auto& [surface, count] : cases) {
        const std::vector<Pole> poles = surface->poles();
        ASSERT_EQ(poles.size(), count) << "kind " << static_cast<int>(surface->kind());
        for (const Pole& pole : poles) {
            ASSERT_FALSE(pole.constantU);
            for (int i = 0; i < 8; ++i) {
                EXPECT_LT(distance(surface->at({0.8 * i, pole.at}), pole.point), 1e-9);
            }
        }
    }
}

TEST(geom_Surface, CollapsedRowOfASplineIsAPole)
{
    std::vector<Vec> poles;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            poles.push_back({0.01 * i * j, 0.02 * j, 0.01 * i * i * j});
        }
    }
    const std::vector<double> knots{0, 0, 0, 1, 1, 1};
    const SurfacePtr s = makeBSplineSurface(2, 2, 3, 3, poles, {}, knots, knots, false, false);
    ASSERT_EQ(s->poles().size(), 1U);
    EXPECT_FALSE(s->poles()[0].constantU);
    EXPECT_EQ(s->poles()[0].at, 0.0);
    EXPECT_NEAR(length(s->normal({0.5, 0.0})), 1.0, 1e-12);
}

TEST(geom_Surface, GuessSettlesWhatAPoleDoesNot)
{
    const Frame f = shapes::tilted();
    const Param guess{2.5, 1.0};
    const Param sphere = makeSphere(f, 0.05)->parameterAt(f.at(0.0, 0.0, 0.05), &guess);
    EXPECT_NEAR(sphere.v, 0.5 * kPi, 1e-7);
    // Rounding may leave the point a few 1e-17 m beside the pole; then its direction counts.
    const Frame plain;
    EXPECT_EQ(makeSphere(plain, 0.05)->parameterAt({0.0, 0.0, 0.05}, &guess).u, 2.5);
    EXPECT_EQ(makeCylinder(plain, 0.05)->parameterAt({0.0, 0.0, 0.02}, &guess).u, 2.5);
    EXPECT_EQ(makeCone(plain, 0.05, 0.3)->parameterAt({0.0, 0.0, 0.02}, &guess).u, 2.5);
}

TEST(geom_Surface, NormalsAtPolesAreTheLimit)
{
    const Frame f = shapes::tilted();
    EXPECT_LT(distance(makeSphere(f, 0.05)->normal({1.0, 0.5 * kPi}), f.z), 1e-15);
    const double angle = 0.4;
    const SurfacePtr cone = makeCone(f, 0.02, angle);
    const double apex = -0.02 / std::tan(angle);
    EXPECT_LT(distance(cone->normal({1.0, apex}), cone->normal({1.0, 0.1})), 1e-15);
    const SurfacePtr turned = makeRevolution(makeLine(f.origin, f.x + f.z), f.origin, f.z);
    EXPECT_LT(distance(turned->normal({1.0, 0.0}), turned->normal({1.0, 0.1})), 1e-9);
}

TEST(geom_Surface, ExtrudedCircleIsTheCylinder)
{
    const Frame f = shapes::tilted();
    const SurfacePtr extruded = makeExtrusion(makeCircle(f, 0.02), f.z);
    const SurfacePtr cylinder = makeCylinder(f, 0.02);
    for (int i = 0; i < 50; ++i) {
        const Param p{0.125 * i, 0.01 * i - 0.2};
        EXPECT_LT(distance(extruded->at(p), cylinder->at(p)), 1e-15);
        EXPECT_LT(distance(extruded->normal(p), cylinder->normal(p)), 1e-14);
        const Vec point = cylinder->at(p) + Vec{0.001, 0.002, -0.003};
        const Param a = extruded->parameterAt(point, nullptr);
        const Param b = cylinder->parameterAt(point, nullptr);
        EXPECT_NEAR(apart(a.u, b.u, 2.0 * kPi), 0.0, 1e-10);
        EXPECT_NEAR(a.v, b.v, 1e-12);
    }
}

TEST(geom_Surface, RevolvedCurvesAreTheAnalyticSurfaces)
{
    const Frame f = shapes::tilted();
    const Frame section = makeFrame(f.at(0.05, 0.0, 0.0), -f.y, f.x);
    const SurfacePtr ring = makeRevolution(makeCircle(section, 0.01), f.origin, f.z);
    const SurfacePtr torus = makeTorus(f, 0.05, 0.01);
    const double angle = 0.4;
    const Vec slant = f.x * std::sin(angle) + f.z * std::cos(angle);
    const SurfacePtr turned = makeRevolution(makeLine(f.at(0.02, 0.0, 0.0), slant), f.origin, f.z);
    const SurfacePtr cone = makeCone(f, 0.02, angle);
    for (int i = 0; i < 50; ++i) {
        const Param p{0.125 * i, 0.12 * i};
        EXPECT_LT(distance(ring->at(p), torus->at(p)), 1e-15);
        EXPECT_LT(distance(ring->normal(p), torus->normal(p)), 1e-13);
        // The line's parameter is a length, the cone's a height.
        const Param q{0.125 * i, 0.001 * i};
        EXPECT_LT(distance(turned->at({q.u, q.v / std::cos(angle)}), cone->at(q)), 1e-15);
        EXPECT_LT(distance(turned->normal({q.u, q.v}), cone->normal(q)), 1e-13);
    }
}

TEST(geom_Surface, OffsetsOfAnalyticSurfacesAreAnalytic)
{
    const Frame f = shapes::tilted();
    const double d = 0.004;
    const std::vector<std::pair<SurfacePtr, SurfacePtr>> pairs{
        {makeOffset(makePlane(f), d), makePlane(shapes::moved(f, 0.0, 0.0, d))},
        {makeOffset(makeCylinder(f, 0.02), d), makeCylinder(f, 0.02 + d)},
        {makeOffset(makeSphere(f, 0.02), -d), makeSphere(f, 0.02 - d)},
        {makeOffset(makeTorus(f, 0.05, 0.01), d), makeTorus(f, 0.05, 0.01 + d)},
    };
    for (const auto& [offset, exact] : pairs) {
        EXPECT_EQ(offset->kind(), SurfaceKind::offset);
        for (int i = 0; i < 30; ++i) {
            const Param p{0.2 * i, 0.05 * i - 0.7};
            Vec du;
            Vec dv;
            Vec exactU;
            Vec exactV;
            offset->derivatives(p, du, dv);
            exact->derivatives(p, exactU, exactV);
            EXPECT_LT(distance(offset->at(p), exact->at(p)), 1e-15);
            EXPECT_LT(distance(du, exactU), 1e-14);
            EXPECT_LT(distance(dv, exactV), 1e-14);
        }
    }
}

TEST(geom_Surface, RoundSplineIsTheCylinder)
{
    const Frame f = shapes::tilted();
    const SurfacePtr spline = roundSpline(f, {0.02, 0.02}, 0.05, 1);
    const SurfacePtr cylinder = makeCylinder(f, 0.02);
    EXPECT_EQ(spline->period().u, 1.0);
    EXPECT_EQ(spline->period().v, 0.0);
    for (int i = 0; i < 40; ++i) {
        const Param p{i / 40.0, 0.02 * i};
        const Vec point = spline->at(p);
        const Param q = cylinder->parameterAt(point, nullptr);
        EXPECT_LT(distance(cylinder->at(q), point), 1e-15);
        EXPECT_LT(distance(cylinder->normal(q), spline->normal(p)), 1e-13);
    }
}

TEST(geom_Surface, SpindleTellsItsTwoSheetsApart)
{
    const SurfacePtr spindle = makeTorus({}, 0.03, 0.05);
    // On the axis side of the inner sheet, where the plain formula would give the outer sheet.
    const Param inner{1.0, kPi};
    const Param found = spindle->parameterAt(spindle->at(inner), nullptr);
    EXPECT_LT(distance(spindle->at(found), spindle->at(inner)), 1e-16);
}

TEST(geom_Surface, UnusableSplinesAreRefused)
{
    const std::vector<Vec> poles(6, Vec{1.0, 2.0, 3.0});
    const std::vector<double> two{0, 0, 1, 1};
    const std::vector<double> three{0, 0, 0.5, 1, 1};
    EXPECT_NO_THROW(
        static_cast<void>(makeBSplineSurface(1, 1, 2, 3, poles, {}, two, three, false, false)));
    EXPECT_THROW(
        static_cast<void>(makeBSplineSurface(1, 1, 3, 3, poles, {}, three, three, false, false)),
        std::invalid_argument);
    EXPECT_THROW(
        static_cast<void>(makeBSplineSurface(1, 1, -2, -3, poles, {}, two, three, false, false)),
        std::invalid_argument);
    EXPECT_THROW(
        static_cast<void>(makeBSplineSurface(1, 1, 2, 3, poles, {}, three, three, false, false)),
        std::invalid_argument);
    EXPECT_THROW(static_cast<void>(makeBSplineSurface(1, 1, 2, 3, poles, {1, 1, 1, 1, 1, -1}, two,
                                                      three, false, false)),
                 std::invalid_argument);
    EXPECT_THROW(
        static_cast<void>(makeBSplineSurface(2, 1, 2, 3, poles, {}, three, three, false, false)),
        std::invalid_argument);
}
