#include "support/Shapes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

using namespace standin::geom;

namespace {

struct Sample
{
    std::string name;
    CurvePtr curve;
    double from;
    double to;
};

// A wavy B-spline of a degree; weights vary when it is rational.
CurvePtr spline(int degree, bool rational, int poles)
{
    std::vector<Vec> points;
    std::vector<double> weights;
    for (int i = 0; i < poles; ++i) {
        points.push_back({0.01 * i, 0.02 * std::sin(1.3 * i), 0.015 * std::cos(0.7 * i * i)});
        weights.push_back(1.0 + 0.5 * (i % 3));
    }
    return makeBSplineCurve(degree, points, rational ? weights : std::vector<double>{},
                            shapes::clampedKnots(degree, points.size()), false);
}

// A smooth closed cubic whose knots run on evenly over both ends.
CurvePtr unclampedRing()
{
    std::vector<Vec> points;
    std::vector<double> knots;
    for (int i = 0; i < 11; ++i) {
        const double angle = 2.0 * shapes::kPi * i / 8.0;
        points.push_back({0.03 * std::cos(angle), 0.02 * std::sin(angle), 0.005 * (i % 2)});
    }
    for (int i = 0; i < 15; ++i) {
        knots.push_back(i);
    }
    return makeBSplineCurve(3, points, {}, knots, true);
}

std::vector<Sample> samples()
{
    const Frame frame = shapes::tilted();
    const shapes::CircleSpline round = shapes::circleSpline(frame, 0.02);
    return {
        {"line", makeLine({0.1, 0.2, 0.3}, {1.0, -2.0, 2.0}), -0.2, 0.5},
        {"circle", makeCircle(frame, 0.02), 0.3, 5.9},
        {"ellipse", makeEllipse(frame, 0.05, 0.01), -1.0, 4.0},
        {"hyperbola", makeHyperbola(frame, 0.03, 0.02), -1.5, 1.2},
        {"parabola", makeParabola(frame, 0.01), -2.0, 3.0},
        {"cubic", spline(3, false, 9), 0.0, 1.0},
        {"rational quintic", spline(5, true, 8), 0.0, 1.0},
        {"degree 24", spline(24, false, 26), 0.0, 1.0},
        {"degree 1", spline(1, false, 6), 0.05, 0.95},
        {"rational circle", makeBSplineCurve(2, round.poles, round.weights, round.knots, true), 0.0,
         1.0},
        {"closed, not clamped", unclampedRing(), 3.0, 11.0},
        {"polyline", makePolyline({{0.0, 0.0, 0.0}, {0.1, 0.0, 0.0}, {0.1, 0.2, 0.1}}), 0.0, 2.0},
    };
}

} // namespace

TEST(geom_Curve, DerivativesAreThoseOfThePoint)
{
    for (const Sample& s : samples()) {
        SCOPED_TRACE(s.name);
        const double h = 1e-5 * (s.to - s.from);
        for (int i = 1; i < 20; ++i) {
            // Off the corners and knots, which lie at rational places.
            const double t = s.from + (s.to - s.from) * (i + 0.137) / 21.0;
            const Vec slope = (s.curve->at(t + h) - s.curve->at(t - h)) * (0.5 / h);
            const Vec d1 = s.curve->derivative(t);
            const Vec bend = (s.curve->derivative(t + h) - s.curve->derivative(t - h)) * (0.5 / h);
            const Vec d2 = s.curve->secondDerivative(t);
            // A central difference is off by about h^2 / 6 times the third derivative.
            EXPECT_LT(distance(slope, d1), 1e-6 * (length(d1) + length(d2) * (s.to - s.from)));
            EXPECT_LT(distance(bend, d2), 1e-5 * (length(d1) / (s.to - s.from) + length(d2)));
        }
    }
}

TEST(geom_Curve, ParameterAtFindsItsOwnPoints)
{
    for (const Sample& s : samples()) {
        SCOPED_TRACE(s.name);
        for (int i = 0; i <= 40; ++i) {
            const double t = s.from + (s.to - s.from) * i / 40.0;
            const double found = s.curve->parameterAt(s.curve->at(t), s.from, s.to);
            EXPECT_LT(distance(s.curve->at(found), s.curve->at(t)), 1e-14);
            EXPECT_GE(found, s.from);
            EXPECT_LE(found, s.to);
        }
    }
}

TEST(geom_Curve, ParameterAtIsNearerThanAnySample)
{
    for (const Sample& s : samples()) {
        SCOPED_TRACE(s.name);
        for (int k = 0; k < 12; ++k) {
            const Vec off = s.curve->at(s.from + (s.to - s.from) * (k + 0.3) / 12.0) +
                            Vec{0.004 * std::sin(2.0 * k), -0.003, 0.005 * std::cos(3.0 * k)};
            const double t = s.curve->parameterAt(off, s.from, s.to);
            const double found = distance(s.curve->at(t), off);
            for (int i = 0; i <= 2000; ++i) {
                const double other = s.from + (s.to - s.from) * i / 2000.0;
                ASSERT_LE(found, distance(s.curve->at(other), off) + 1e-15) << "at " << other;
            }
        }
    }
}

TEST(geom_Curve, ParameterAtStopsAtTheEnds)
{
    const CurvePtr line = makeLine({}, {1.0, 0.0, 0.0});
    EXPECT_EQ(line->parameterAt({5.0, 1.0, 0.0}, 0.0, 2.0), 2.0);
    EXPECT_EQ(line->parameterAt({-5.0, 1.0, 0.0}, 0.0, 2.0), 0.0);
    const CurvePtr circle = makeCircle({}, 1.0);
    EXPECT_EQ(circle->parameterAt({0.9, -0.4, 0.0}, 0.0, 0.5 * shapes::kPi), 0.0);
    EXPECT_EQ(circle->parameterAt({-0.4, 0.9, 0.0}, 0.0, 0.5 * shapes::kPi), 0.5 * shapes::kPi);
}

TEST(geom_Curve, ParameterAtOfACircleGoesIntoTheRangeAskedFor)
{
    const CurvePtr circle = makeCircle({}, 1.0);
    const double t = circle->parameterAt({0.0, 1.0, 0.0}, 2.0 * shapes::kPi, 4.0 * shapes::kPi);
    EXPECT_NEAR(t, 2.5 * shapes::kPi, 1e-14);
}

TEST(geom_Curve, BoxEnclosesAndTouches)
{
    for (const Sample& s : samples()) {
        for (const double part : {1.0, 0.37}) {
            SCOPED_TRACE(s.name + " to " + std::to_string(part));
            const double to = s.from + (s.to - s.from) * part;
            const Box box = s.curve->box(s.from, to);
            Box seen;
            constexpr int count = 20000;
            double longest = 0.0;
            for (int i = 0; i <= count; ++i) {
                seen.add(s.curve->at(s.from + (to - s.from) * i / count));
                longest = std::fmax(
                    longest, length(s.curve->secondDerivative(s.from + (to - s.from) * i / count)));
            }
            EXPECT_LE(box.min.x, seen.min.x + 1e-15);
            EXPECT_LE(box.min.y, seen.min.y + 1e-15);
            EXPECT_LE(box.min.z, seen.min.z + 1e-15);
            EXPECT_GE(box.max.x, seen.max.x - 1e-15);
            EXPECT_GE(box.max.y, seen.max.y - 1e-15);
            EXPECT_GE(box.max.z, seen.max.z - 1e-15);
            // Half a sample step beside its peak a curve is lower by f'' step^2 / 8; at a corner
            // the samples may miss by slope times step, but corners are no samples' neighbours.
            const double step = (to - s.from) / count;
            const double room =
                longest * step * step / 8.0 + 1e-14 + (s.name == "degree 1" ? 0.5 * step : 0.0);
            EXPECT_NEAR(box.min.x, seen.min.x, room);
            EXPECT_NEAR(box.min.y, seen.min.y, room);
            EXPECT_NEAR(box.min.z, seen.min.z, room);
            EXPECT_NEAR(box.max.x, seen.max.x, room);
            EXPECT_NEAR(box.max.y, seen.max.y, room);
            EXPECT_NEAR(box.max.z, seen.max.z, room);
        }
    }
}

TEST(geom_Curve, BoxOfATiltedCircleIsTheClosedForm)
{
    const Frame f = shapes::tilted();
    const double r = 0.02;
    const Box box = makeCircle(f, r)->box(0.0, 2.0 * shapes::kPi);
    // Along an axis e a circle reaches r sqrt(1 - (e z)^2) from its centre.
    EXPECT_NEAR(box.max.x, f.origin.x + r * std::sqrt(1.0 - f.z.x * f.z.x), 1e-16);
    EXPECT_NEAR(box.min.y, f.origin.y - r * std::sqrt(1.0 - f.z.y * f.z.y), 1e-16);
    EXPECT_NEAR(box.max.z, f.origin.z + r * std::sqrt(1.0 - f.z.z * f.z.z), 1e-16);
}

TEST(geom_Curve, BoxOfAQuarterCircleLeavesTheRestOut)
{
    const Box box = makeCircle({}, 2.0)->box(0.0, 0.5 * shapes::kPi);
    EXPECT_NEAR(box.min.x, 0.0, 1e-15);
    EXPECT_NEAR(box.min.y, 0.0, 1e-15);
    EXPECT_NEAR(box.max.x, 2.0, 1e-15);
    EXPECT_NEAR(box.max.y, 2.0, 1e-15);
}

TEST(geom_Curve, LengthsOfLineAndCircleAreClosedForms)
{
    EXPECT_EQ(makeLine({}, {3.0, 4.0, 0.0})->length(-1.0, 6.0), 7.0);
    EXPECT_DOUBLE_EQ(makeCircle({}, 3.0)->length(0.0, shapes::kPi), 3.0 * shapes::kPi);
}

TEST(geom_Curve, LengthBackwardsIsNegative)
{
    for (const Sample& s : samples()) {
        SCOPED_TRACE(s.name);
        const double forward = s.curve->length(s.from, s.to);
        EXPECT_GT(forward, 0.0);
        EXPECT_NEAR(s.curve->length(s.to, s.from), -forward, 1e-10 * forward);
        EXPECT_EQ(s.curve->length(s.from, s.from), 0.0);
    }
}

TEST(geom_Curve, LengthOfPartsAddsUp)
{
    for (const Sample& s : samples()) {
        SCOPED_TRACE(s.name);
        const double mid = s.from + 0.31 * (s.to - s.from);
        EXPECT_NEAR(s.curve->length(s.from, mid) + s.curve->length(mid, s.to),
                    s.curve->length(s.from, s.to), 1e-10 * s.curve->length(s.from, s.to));
    }
}

// Circumference: 2 pi a (1 - sum over n of ((2n-1)!! / (2n)!!)^2 e^(2n) / (2n - 1)).
TEST(geom_Curve, LengthOfAnEllipseIsTheSeries)
{
    const double a = 0.05;
    const double b = 0.03;
    const double e2 = 1.0 - (b * b) / (a * a);
    double sum = 1.0;
    double factor = 1.0;
    double power = 1.0;
    for (int n = 1; n < 200; ++n) {
        factor *= (2.0 * n - 1.0) / (2.0 * n);
        power *= e2;
        sum -= factor * factor * power / (2.0 * n - 1.0);
    }
    const double expected = 2.0 * shapes::kPi * a * sum;
    EXPECT_NEAR(makeEllipse(shapes::tilted(), a, b)->length(0.0, 2.0 * shapes::kPi), expected,
                1e-10 * expected);
}

// From vertex to t: f (t sqrt(1 + t^2) + ln(t + sqrt(1 + t^2))).
TEST(geom_Curve, LengthOfAParabolaIsTheClosedForm)
{
    const double f = 0.01;
    const double t = 3.0;
    const double expected = f * (t * std::sqrt(1.0 + t * t) + std::log(t + std::sqrt(1.0 + t * t)));
    EXPECT_NEAR(makeParabola({}, f)->length(0.0, t), expected, 1e-14);
}

// The same parabola written as a B-spline of degree 2: poles at the ends and where tangents meet.
TEST(geom_Curve, LengthOfAParabolicSplineIsTheParabolas)
{
    const double f = 0.01;
    const CurvePtr exact = makeParabola({}, f);
    // x = f t^2, y = 2 f t for t from 0 to 2: the tangents at the ends meet at (0, 2 f).
    const CurvePtr same =
        makeBSplineCurve(2, {{0.0, 0.0, 0.0}, {0.0, 0.02, 0.0}, {0.04, 0.04, 0.0}}, {},
                         {0.0, 0.0, 0.0, 1.0, 1.0, 1.0}, false);
    EXPECT_NEAR(same->length(0.0, 1.0), exact->length(0.0, 2.0), 1e-10 * exact->length(0.0, 2.0));
    EXPECT_LT(distance(same->at(0.5), exact->at(1.0)), 1e-16);
}

TEST(geom_Curve, RationalSplineIsAnExactCircle)
{
    const Frame f = shapes::tilted();
    const shapes::CircleSpline s = shapes::circleSpline(f, 0.02);
    const CurvePtr curve = makeBSplineCurve(2, s.poles, s.weights, s.knots, true);
    for (int i = 0; i <= 100; ++i) {
        const Vec local = f.local(curve->at(i / 100.0));
        // Coordinates near 0.3 are held to 6e-17; a few of their roundings add up.
        EXPECT_NEAR(std::hypot(local.x, local.y), 0.02, 3e-16);
        EXPECT_NEAR(local.z, 0.0, 3e-16);
    }
    EXPECT_NEAR(curve->length(0.0, 1.0), 0.04 * shapes::kPi, 1e-11 * shapes::kPi);
    const Box box = curve->box(0.0, 1.0);
    const Box exact = makeCircle(f, 0.02)->box(0.0, 2.0 * shapes::kPi);
    EXPECT_LT(distance(box.min, exact.min), 1e-15);
    EXPECT_LT(distance(box.max, exact.max), 1e-15);
}

TEST(geom_Curve, ClosedSplineRepeats)
{
    const CurvePtr ring = unclampedRing();
    EXPECT_DOUBLE_EQ(ring->period(), 8.0);
    EXPECT_LT(distance(ring->at(4.2), ring->at(12.2)), 1e-15);
    EXPECT_NEAR(ring->length(4.0, 12.0), ring->length(3.0, 11.0), 1e-12);
    const Box once = ring->box(3.0, 11.0);
    const Box shifted = ring->box(6.5, 14.5);
    EXPECT_LT(distance(once.min, shifted.min), 1e-15);
    EXPECT_LT(distance(once.max, shifted.max), 1e-15);
}

TEST(geom_Curve, EndsThatDoNotMeetAreNotClosed)
{
    const std::vector<Vec> poles{{0.0, 0.0, 0.0}, {0.1, 0.1, 0.0}, {0.2, 0.0, 0.0}};
    EXPECT_EQ(makeBSplineCurve(2, poles, {}, {0, 0, 0, 1, 1, 1}, true)->period(), 0.0);
}

TEST(geom_Curve, SplineStandsStillBeyondItsKnots)
{
    const CurvePtr curve = spline(3, false, 9);
    EXPECT_LT(distance(curve->at(1.5), curve->at(1.0)), 1e-300);
    EXPECT_LT(distance(curve->at(-0.5), curve->at(0.0)), 1e-300);
}

TEST(geom_Curve, UnusableSplinesAreRefused)
{
    const std::vector<Vec> poles{{0.0, 0.0, 0.0}, {0.1, 0.1, 0.0}, {0.2, 0.0, 0.0}};
    const std::vector<double> knots{0, 0, 0, 1, 1, 1};
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_NO_THROW(static_cast<void>(makeBSplineCurve(2, poles, {}, knots, false)));
    EXPECT_THROW(static_cast<void>(makeBSplineCurve(0, poles, {}, {0, 0, 1, 1}, false)),
                 std::invalid_argument);
    EXPECT_THROW(static_cast<void>(makeBSplineCurve(33, poles, {}, knots, false)),
                 std::invalid_argument);
    EXPECT_THROW(static_cast<void>(makeBSplineCurve(3, poles, {}, {0, 0, 0, 0, 1, 1, 1}, false)),
                 std::invalid_argument);
    EXPECT_THROW(static_cast<void>(makeBSplineCurve(2, poles, {}, {0, 0, 0, 1, 1}, false)),
                 std::invalid_argument);
    EXPECT_THROW(static_cast<void>(makeBSplineCurve(2, poles, {}, {0, 0, 1, 0, 1, 1}, false)),
                 std::invalid_argument);
    EXPECT_THROW(static_cast<void>(makeBSplineCurve(2, poles, {}, {0, 0, 0, 0, 0, 0}, false)),
                 std::invalid_argument);
    EXPECT_THROW(static_cast<void>(makeBSplineCurve(2, poles, {}, {0, 0, 0, 1, 1, nan}, false)),
                 std::invalid_argument);
    EXPECT_THROW(static_cast<void>(makeBSplineCurve(2, poles, {1.0, 1.0}, knots, false)),
                 std::invalid_argument);
    EXPECT_THROW(static_cast<void>(makeBSplineCurve(2, poles, {1.0, 0.0, 1.0}, knots, false)),
                 std::invalid_argument);
    EXPECT_THROW(static_cast<void>(makeBSplineCurve(2, poles, {1.0, nan, 1.0}, knots, false)),
                 std::invalid_argument);
    EXPECT_THROW(static_cast<void>(makePolyline({{0.0, 0.0, 0.0}})), std::invalid_argument);
}

TEST(geom_Curve, PolylineGoesThroughItsPoints)
{
    const CurvePtr line = makePolyline({{0.0, 0.0, 0.0}, {3.0, 0.0, 0.0}, {3.0, 4.0, 0.0}});
    EXPECT_EQ(line->at(1.0).x, 3.0);
    EXPECT_EQ(line->at(1.5).y, 2.0);
    EXPECT_EQ(line->length(0.0, 2.0), 7.0);
    EXPECT_EQ(line->length(0.5, 1.5), 3.5);
    EXPECT_EQ(line->parameterAt({4.0, 1.0, 0.0}, 0.0, 2.0), 1.25);
    EXPECT_EQ(line->breaks(0.0, 2.0), std::vector<double>{1.0});
}

TEST(geom_Frame, AxesAreRightHandedUnits)
{
    for (const Vec& x : {Vec{1.0, -0.3, 0.2}, Vec{0.48, 0.6, 0.64}, Vec{}}) {
        // The second X is parallel to Z and the third has no length: some direction is taken.
        const Frame f = makeFrame({1.0, 2.0, 3.0}, {0.96, 1.2, 1.28}, x);
        EXPECT_NEAR(length(f.x), 1.0, 1e-15);
        EXPECT_NEAR(length(f.z), 1.0, 1e-15);
        EXPECT_NEAR(dot(f.x, f.z), 0.0, 1e-15);
        EXPECT_LT(distance(cross(f.x, f.y), f.z), 1e-15);
        EXPECT_NEAR(f.z.y, 0.6, 1e-15);
        EXPECT_LT(distance(f.local(f.at(0.1, -0.2, 0.3)), {0.1, -0.2, 0.3}), 1e-15);
    }
}
