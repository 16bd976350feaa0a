#include "standin/geom/FaceBox.h"

#include "standin/geom/Domain.h"
#include "standin/geom/FaceGeometry.h"
#include "standin/geom/Nearest.h"
#include "standin/geom/Numeric.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

namespace standin::geom {

namespace {

double coordinate(const Vec& v, int axis)
{
    return axis == 0 ? v.x : axis == 1 ? v.y : v.z;
}

constexpr std::array<Vec, 3> kAxes{Vec{1.0, 0.0, 0.0}, Vec{0.0, 1.0, 0.0}, Vec{0.0, 0.0, 1.0}};

void addIfInside(Box& box, const Trim& trim, Param p)
{
    const Vec point = trim.surface().at(p);
    // A place that widens nothing need not be looked up.
    if (!(point.x >= box.min.x && point.y >= box.min.y && point.z >= box.min.z &&
          point.x <= box.max.x && point.y <= box.max.y && point.z <= box.max.z) &&
        trim.inside(p)) {
        box.add(point);
    }
}

// Finds where the foot of one side of a loop turns along an axis, if that may widen the box.
void addFootTurn(Box& box, const std::function<Vec(double)>& foot,
                 const std::vector<double>& places, const std::vector<Vec>& points, const Vec& e)
{
    const double bound = std::fmax(dot(box.max, e), dot(box.min, e));
    const std::size_t last = points.size() - 1;
    for (std::size_t i = 0; i <= last; ++i) {
        const std::size_t before = i == 0 ? 0 : i - 1;
        const std::size_t after = i == last ? last : i + 1;
        const double here = dot(points[i], e);
        const double rise = std::fmax(here - dot(points[before], e), here - dot(points[after], e));
        if (here >= dot(points[before], e) && here >= dot(points[after], e) &&
            here + rise > bound) {
            box.add(foot(greatest([&](double t) { return dot(foot(t), e); }, places[before],
                                  places[after])));
        }
    }
}

// Edges of real files miss the surface a little; the face's own boundary is their foot on it.
void addFeet(Box& box, const Trim& trim)
{
    constexpr double kNoise = 1e-10;
    for (const TrimDeviation& deviation : trim.deviations()) {
        for (const TrimSide& side : trim.sides()) {
            if (side.edge != deviation.edge || deviation.distance <= kNoise) {
                continue;
            }
            const std::function<Vec(double)> foot = [&](double t) {
                const double part = (t - side.start) / (side.end - side.start);
                return trim.surface().at(
                    trim.project(side.edge, t, midway(side.from, side.to, part)));
            };
            const std::vector<double> places =
                spaced(std::fmin(side.start, side.end), std::fmax(side.start, side.end), 4);
            std::vector<Vec> points;
            for (const double t : places) {
                points.push_back(foot(t));
                box.add(points.back());
            }
            for (const Vec& e : kAxes) {
                addFootTurn(box, foot, places, points, e);
                addFootTurn(box, foot, places, points, -e);
            }
        }
    }
}

// Where the normal of a sphere or torus points along an axis.
void addRoundTurns(Box& box, const Trim& trim)
{
    const Surface& surface = trim.surface();
    const bool sphere = surface.kind() == SurfaceKind::sphere;
    // The surface's own directions, taken where they are plain.
    const Vec x = surface.normal({0.0, 0.0});
    const Vec y = surface.normal({0.5 * kPi, 0.0});
    const Vec z = surface.normal({0.0, 0.5 * kPi});
    for (const Vec& e : kAxes) {
        const double across = std::hypot(dot(e, x), dot(e, y));
        const double u = std::atan2(dot(e, y), dot(e, x));
        for (const double sign : {1.0, -1.0}) {
            const double v = std::atan2(sign * dot(e, z), sign * across);
            const double w = std::atan2(sign * dot(e, z), -sign * across);
            if (sphere) {
                const double latitude = std::atan2(sign * dot(e, z), across);
                addIfInside(box, trim, {sign > 0.0 ? u : u + kPi, latitude});
                continue;
            }
            addIfInside(box, trim, {u, v});
            addIfInside(box, trim, {u + kPi, w});
        }
    }
}

// Climbs along a direction from a sample: halving steps, then Newton's method.
Param climb(const Surface& surface, const Vec& e, Param start, Param step, const Domain& domain)
{
    const auto height = [&](const Param& p) { return dot(surface.at(p), e); };
    const auto kept = [&](Param p) {
        for (const int axis : {0, 1}) {
            const DomainAxis& range = domain.axes[static_cast<std::size_t>(axis)];
            if (!range.glued) {
                component(p, axis) = std::fmin(std::fmax(component(p, axis), range.from), range.to);
            }
        }
        return p;
    };
    Param p = start;
    double best = height(p);
    for (int round = 0; round < 200 && step.u + step.v > 0.0; ++round) {
        bool moved = false;
        for (const Param& way :
             {Param{step.u, 0.0}, Param{-step.u, 0.0}, Param{0.0, step.v}, Param{0.0, -step.v}}) {
            const Param next = kept({p.u + way.u, p.v + way.v});
            const double value = height(next);
            if (value > best) {
                best = value;
                p = next;
                moved = true;
            }
        }
        if (!moved) {
            step = {0.5 * step.u, 0.5 * step.v};
            if (step.u < 1e-10 * (1.0 + std::fabs(p.u)) &&
                step.v < 1e-10 * (1.0 + std::fabs(p.v))) {
                break;
            }
        }
        // Newton's method leaps where the surface is smooth.
        Vec du;
        Vec dv;
        Vec duu;
        Vec duv;
        Vec dvv;
        surface.derivatives(p, du, dv);
        surface.secondDerivatives(p, duu, duv, dvv);
        const double a = dot(duu, e);
        const double b = dot(duv, e);
        const double c = dot(dvv, e);
        const double det = a * c - b * b;
        if (a < 0.0 && det > 1e-12 * a * c) {
            const double gu = dot(du, e);
            const double gv = dot(dv, e);
            const Param next = kept({p.u - (c * gu - b * gv) / det, p.v - (a * gv - b * gu) / det});
            const double value = height(next);
            if (value > best) {
                best = value;
                p = next;
            }
        }
    }
    return p;
}

// Where a surface without a closed form turns: the highest of a grid of samples lead there.
void addSearchedTurns(Box& box, const Trim& trim)
{
    const Surface& surface = trim.surface();
    const Domain domain = findDomain(trim);
    std::vector<double> breaksU;
    std::vector<double> breaksV;
    surface.breaks(breaksU, breaksV);
    const std::vector<double> us =
        gridParameters(domain.axes[0].from, domain.axes[0].to, breaksU, 3, 12, 72);
    const std::vector<double> vs =
        gridParameters(domain.axes[1].from, domain.axes[1].to, breaksV, 3, 12, 72);
    std::vector<Vec> points;
    points.reserve(us.size() * vs.size());
    for (const double u : us) {
        for (const double v : vs) {
            points.push_back(surface.at({u, v}));
        }
    }
    const auto neighbour = [](std::size_t i, std::size_t count, int step, bool glued) {
        if (step < 0) {
            return i > 0 ? i - 1 : glued ? count - 2 : i;
        }
        return i + 1 < count ? i + 1 : glued ? std::size_t{1} : i;
    };
    for (const int axis : {0, 1, 2}) {
        for (const double sign : {1.0, -1.0}) {
            const Vec e = kAxes[static_cast<std::size_t>(axis)] * sign;
            const double bound =
                sign > 0.0 ? coordinate(box.max, axis) : -coordinate(box.min, axis);
            for (std::size_t i = 0; i < points.size(); ++i) {
                const std::size_t row = i / vs.size();
                const std::size_t column = i % vs.size();
                const double here = dot(points[i], e);
                double rise = 0.0;
                bool top = true;
                for (const int step : {-1, 1}) {
                    for (const std::size_t k :
                         {neighbour(row, us.size(), step, domain.axes[0].glued) * vs.size() +
                              column,
                          row * vs.size() +
                              neighbour(column, vs.size(), step, domain.axes[1].glued)}) {
                        top = top && dot(points[k], e) <= here;
                        rise = std::fmax(rise, here - dot(points[k], e));
                    }
                }
                // A sample lies below its peak by no more than its neighbours lie below it.
                if (top && here + rise > bound) {
                    const Param step{(us.back() - us.front()) / static_cast<double>(us.size()),
                                     (vs.back() - vs.front()) / static_cast<double>(vs.size())};
                    addIfInside(box, trim, climb(surface, e, {us[row], vs[column]}, step, domain));
                }
            }
        }
    }
}

} // namespace

Box trimmedBox(const Trim& trim, const Body& body, const Face& face)
{
    Box box;
    for (const Loop& loop : face.loops) {
        for (const EdgeUse& use : loop.uses) {
            if (use.edge < body.edges.size()) {
                box.add(edgeBox(body.edges[use.edge]));
            }
        }
        if (loop.uses.empty() && loop.vertex < body.vertices.size()) {
            box.add(body.vertices[loop.vertex].point);
        }
    }
    if (trim.broken()) {
        return box;
    }
    addFeet(box, trim);
    for (const Pole& pole : trim.poles()) {
        const double other = trim.sides().empty()
                                 ? 0.0
                                 : component(trim.sides().front().from, pole.constantU ? 1 : 0);
        addIfInside(box, trim, pole.constantU ? Param{pole.at, other} : Param{other, pole.at});
    }
    switch (trim.surface().kind()) {
    case SurfaceKind::plane:
    case SurfaceKind::cylinder:
    case SurfaceKind::cone:
    case SurfaceKind::extrusion:
        // Straight lines run through every point until they meet an edge or the apex.
        break;
    case SurfaceKind::sphere:
    case SurfaceKind::torus:
        addRoundTurns(box, trim);
        break;
    case SurfaceKind::bspline:
    case SurfaceKind::revolution:
    case SurfaceKind::offset:
        addSearchedTurns(box, trim);
        break;
    }
    return box;
}

} // namespace standin::geom
