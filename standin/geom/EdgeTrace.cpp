#include "standin/geom/EdgeTrace.h"

#include "standin/geom/Numeric.h"

#include <algorithm>
#include <cmath>

namespace standin::geom {

namespace {

constexpr std::size_t kMostPoints = 60000;
// Chords keep a little inside the tolerance, so that rounding does not push them over it.
constexpr double kKept = 0.95;
// A step of more than this part of a period is too long to tell its direction.
constexpr double kLongestStep = 0.26;

double chordDistance(const Vec& a, const Vec& b, const Vec& p)
{
    const Vec along = b - a;
    const double square = dot(along, along);
    const double part =
        square > 0.0 ? std::fmin(std::fmax(dot(p - a, along) / square, 0.0), 1.0) : 0.0;
    return distance(a + along * part, p);
}

bool finite(const Vec& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

void halve(const Curve& curve, double from, double to, double tolerance, int depth,
           std::vector<double>& result)
{
    const double mid = 0.5 * (from + to);
    const Vec a = curve.at(from);
    const Vec b = curve.at(to);
    bool split = false;
    for (const double part : {0.5, 0.25, 0.75}) {
        split = split || chordDistance(a, b, curve.at(from + (to - from) * part)) > tolerance;
    }
    // Turns of more than 45 degrees are always resolved, whatever the tolerance.
    const Vec da = unit(curve.derivative(from));
    const Vec db = unit(curve.derivative(to));
    const double sagitta = chordDistance(a, b, curve.at(mid));
    split = split || (dot(da, db) < 0.7 && sagitta > 1e-3 * distance(a, b));
    if (split && depth > 0 && result.size() < kMostPoints) {
        halve(curve, from, mid, tolerance, depth - 1, result);
        halve(curve, mid, to, tolerance, depth - 1, result);
        return;
    }
    result.push_back(to);
}

// Follows one edge; the sheet of periodic parameters is carried from point to point.
class Tracer
{
public:
    Tracer(const Edge& edge, const TraceGround& ground)
        : mEdge(edge),
          mGround(ground),
          mPeriod(ground.surface.period())
    {}

    EdgeTrace trace(const Param* guess);

private:
    struct Sample
    {
        double t{};
        std::size_t pole{kNone};
    };

    [[nodiscard]] std::size_t poleAt(const Vec& point) const;
    [[nodiscard]] Param place(double t, const Param* guess);
    [[nodiscard]] Param poleParameter(const Sample& pole, const TracePoint& neighbour);
    void addRun(const std::vector<Sample>& samples, std::size_t first, std::size_t last,
                const Param* guess);
    void refine(const TracePoint& a, const TracePoint& b, int depth, std::vector<TracePoint>& to);

    const Edge& mEdge;
    const TraceGround& mGround;
    Param mPeriod;
    EdgeTrace mResult;
};

std::size_t Tracer::poleAt(const Vec& point) const
{
    for (std::size_t i = 0; i < mGround.poles.size(); ++i) {
        if (distance(mGround.poles[i].point, point) <= mGround.poleTolerance) {
            return i;
        }
    }
    return kNone;
}

Param Tracer::place(double t, const Param* guess)
{
    const Vec point = mEdge.curve->at(t);
    Param p = mGround.surface.parameterAt(point, guess);
    if (guess != nullptr) {
        p = {unwrapped(p.u, guess->u, mPeriod.u), unwrapped(p.v, guess->v, mPeriod.v)};
    }
    mResult.deviation = std::fmax(mResult.deviation, distance(mGround.surface.at(p), point));
    return p;
}

// In a pole one parameter is the pole's; the other is where it tends to along the edge.
Param Tracer::poleParameter(const Sample& pole, const TracePoint& neighbour)
{
    const Pole& place = mGround.poles[pole.pole];
    TracePoint close = neighbour;
    for (int step = 0; step < 12; ++step) {
        const double t = 0.5 * (close.t + pole.t);
        if (distance(mEdge.curve->at(t), place.point) < 20.0 * mGround.poleTolerance) {
            break;
        }
        close = {t, this->place(t, &close.p)};
    }
    Param p = close.p;
    const int axis = place.constantU ? 0 : 1;
    component(p, axis) = unwrapped(place.at, component(p, axis), component(mPeriod, axis));
    return p;
}

void Tracer::refine(const TracePoint& a, const TracePoint& b, int depth,
                    std::vector<TracePoint>& to)
{
    const Param guess = midway(a.p, b.p);
    TracePoint mid{0.5 * (a.t + b.t), guess};
    if (poleAt(mEdge.curve->at(mid.t)) == kNone) {
        mid.p = place(mid.t, &guess);
    }
    const Surface& surface = mGround.surface;
    const Vec there = surface.at(mid.p);
    const bool loose = distance(surface.at(guess), there) > mGround.tolerance ||
                       chordDistance(surface.at(a.p), surface.at(b.p), there) > mGround.tolerance;
    const auto leaps = [](double x, double y, double period) {
        return period > 0.0 && std::fabs(x - y) > kLongestStep * period;
    };
    const bool jump = leaps(a.p.u, b.p.u, mPeriod.u) || leaps(a.p.v, b.p.v, mPeriod.v);
    if ((loose || jump) && depth > 0 && to.size() < kMostPoints) {
        refine(a, mid, depth - 1, to);
        refine(mid, b, depth - 1, to);
        return;
    }
    to.push_back(b);
}

// Makes a run from samples of which only the first and the last may be in a pole.
void Tracer::addRun(const std::vector<Sample>& samples, std::size_t first, std::size_t last,
                    const Param* guess)
{
    TraceRun run;
    run.startPole = samples[first].pole;
    run.endPole = samples[last].pole;
    std::vector<TracePoint> rough;
    for (std::size_t i = first; i <= last; ++i) {
        if (samples[i].pole == kNone) {
            const Param* from = rough.empty() ? guess : &rough.back().p;
            rough.push_back({samples[i].t, place(samples[i].t, from)});
        }
    }
    if (rough.empty()) {
        // Both ends in poles and nothing between: the middle settles the sheet.
        const double mid = 0.5 * (samples[first].t + samples[last].t);
        if (first == last || poleAt(mEdge.curve->at(mid)) != kNone) {
            return;
        }
        rough.push_back({mid, place(mid, guess)});
    }
    if (run.startPole != kNone) {
        rough.insert(rough.begin(),
                     {samples[first].t, poleParameter(samples[first], rough.front())});
    }
    if (run.endPole != kNone) {
        rough.push_back({samples[last].t, poleParameter(samples[last], rough.back())});
    }
    run.points.push_back(rough.front());
    for (std::size_t i = 1; i < rough.size(); ++i) {
        refine(rough[i - 1], rough[i], 14, run.points);
    }
    if (run.points.size() > 1) {
        mResult.runs.push_back(std::move(run));
    }
}

EdgeTrace Tracer::trace(const Param* guess)
{
    std::vector<double> values =
        chordParameters(*mEdge.curve, mEdge.from, mEdge.to, kKept * mGround.tolerance);
    if (values.size() < 5 && mGround.surface.kind() != SurfaceKind::plane) {
        // A line in space can be a bent one in the parameter plane.
        values = spaced(mEdge.from, mEdge.to, 4);
    }
    std::vector<Sample> samples;
    for (const double t : values) {
        const Vec point = mEdge.curve->at(t);
        if (!finite(point)) {
            return {};
        }
        samples.push_back({t, poleAt(point)});
    }
    std::size_t first = 0;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        if (samples[i].pole != kNone || i + 1 == samples.size()) {
            const Param* from = mResult.runs.empty() ? guess : &mResult.runs.back().points.back().p;
            addRun(samples, first, i, from);
            first = i;
        }
    }
    return std::move(mResult);
}

} // namespace

std::vector<double> chordParameters(const Curve& curve, double from, double to, double tolerance)
{
    std::vector<double> result{from};
    if (curve.kind() == CurveKind::line) {
        result.push_back(to);
        return result;
    }
    if (curve.kind() == CurveKind::circle) {
        // All chords alike: the sagitta of a step of 2 a is r (1 - cos a).
        const double radius = length(curve.derivative(from));
        const double half = tolerance < radius ? std::acos(1.0 - tolerance / radius) : kPi;
        const double step = std::fmin(std::fmax(2.0 * half, 1e-4), 0.25 * kPi);
        const double count = std::ceil((to - from) / step * (1.0 - 1e-12));
        return spaced(from, to, static_cast<int>(std::fmin(std::fmax(count, 1.0), 1e6)));
    }
    // Knots close together would only crowd the boundary; corners between them show as chords.
    const double least = (to - from) / 40.0;
    std::vector<double> stops;
    for (const double knot : curve.breaks(from, to)) {
        if (knot - (stops.empty() ? from : stops.back()) >= least && to - knot >= least) {
            stops.push_back(knot);
        }
    }
    stops.push_back(to);
    const int pieces = curve.kind() == CurveKind::polyline ? 1 : stops.size() < 3 ? 4 : 2;
    for (const double stop : stops) {
        for (const double t : spaced(result.back(), stop, pieces)) {
            if (t > result.back()) {
                halve(curve, result.back(), t, tolerance, 12, result);
            }
        }
    }
    return result;
}

EdgeTrace traceEdge(const Edge& edge, const TraceGround& ground, const Param* guess)
{
    return Tracer(edge, ground).trace(guess);
}

} // namespace standin::geom
