#include "standin/geom/FaceMesh.h"

#include "standin/geom/Numeric.h"

#include <algorithm>
#include <cmath>
#include <deque>

namespace standin::geom {

namespace {

constexpr double kSnap = 1e-12;
constexpr int kCoarsestPole = 12; // sides of a pole's border per period

// The place on a side where one parameter has a given value.
TrimSide partOf(const TrimSide& side, const Param& place, double t, bool first)
{
    TrimSide part = side;
    if (first) {
        part.to = place;
        part.end = t;
    } else {
        part.from = place;
        part.start = t;
    }
    return part;
}

// Finds the place where a side crosses a line of constant parameter, on the edge itself.
Param crossing(const Trim& trim, const TrimSide& side, int axis, double value, double& t)
{
    const double f0 = component(side.from, axis) - value;
    const double f1 = component(side.to, axis) - value;
    double low = 0.0;
    double high = 1.0;
    double part = f0 / (f0 - f1);
    Param place = midway(side.from, side.to, part);
    if (side.edge != kNone) {
        double fLow = f0;
        double fHigh = f1;
        for (int step = 0; step < 50; ++step) {
            t = side.start + (side.end - side.start) * part;
            place = trim.project(side.edge, t, midway(side.from, side.to, part));
            const double f = component(place, axis) - value;
            if (f == 0.0 || high - low < 1e-15) {
                break;
            }
            // Regula falsi, a halving now and then.
            if ((f > 0.0) == (fLow > 0.0)) {
                low = part;
                fLow = f;
            } else {
                high = part;
                fHigh = f;
            }
            part = step % 3 == 2 ? 0.5 * (low + high) : low + (high - low) * fLow / (fLow - fHigh);
        }
    }
    component(place, axis) = value;
    return place;
}

} // namespace

FaceMesh::FaceMesh(const Trim& trim, const Trim& judge, double tolerance)
    : mTrim(trim),
      mJudge(judge),
      mSurface(trim.surface()),
      mTolerance(tolerance),
      mDomain(findDomain(trim))
{}

bool FaceMesh::borderAt(int axis, bool high) const
{
    return range(axis).glued || (high ? range(axis).poleHigh : range(axis).poleLow);
}

// One grid unit is the same part of the facet that the tolerance allows in either direction, so
// that long facets along straight rulings count as well shaped.
void FaceMesh::settleScale()
{
    const DomainAxis& u = range(0);
    const DomainAxis& v = range(1);
    Param speed;
    Param bend;
    for (const double a : {0.1, 0.3, 0.5, 0.7, 0.9}) {
        for (const double b : {0.1, 0.3, 0.5, 0.7, 0.9}) {
            const Param p{u.low + a * (u.high - u.low), v.low + b * (v.high - v.low)};
            Vec du;
            Vec dv;
            Vec duu;
            Vec duv;
            Vec dvv;
            mSurface.derivatives(p, du, dv);
            mSurface.secondDerivatives(p, duu, duv, dvv);
            const Vec n = mSurface.normal(p);
            speed = {speed.u + length(du) / 25.0, speed.v + length(dv) / 25.0};
            bend = {bend.u + std::fabs(dot(n, duu)) / 25.0, bend.v + std::fabs(dot(n, dvv)) / 25.0};
        }
    }
    const Param size{u.high - u.low, v.high - v.low};
    double wide = size.u * speed.u;
    double tall = size.v * speed.v;
    if (mSurface.kind() != SurfaceKind::plane) {
        // The chord of a step s sags by s^2 / 8 times the second derivative.
        const auto step = [this](double second, double whole) {
            return second * whole * whole > 8.0 * mTolerance ? std::sqrt(8.0 * mTolerance / second)
                                                             : whole;
        };
        const double ratio = (size.u / step(bend.u, size.u)) / (size.v / step(bend.v, size.v));
        // Flat faces, and coarse tolerances, keep their true shape.
        if (std::fabs(std::log(ratio)) > 1e-9) {
            wide = ratio * tall;
        }
    }
    // A strip of the grid stays wide enough to tell its places apart.
    wide = std::fmax(wide, 1e-4 * tall);
    tall = std::fmax(tall, 1e-4 * wide);
    const double unit = 1.8 * static_cast<double>(Delaunay::kReach) / std::fmax(wide, tall);
    mMiddle = {0.5 * (u.low + u.high), 0.5 * (v.low + v.high)};
    mScale = {0.5 * unit * wide / size.u, 0.5 * unit * tall / size.v};
}

GridPoint FaceMesh::grid(Param p) const
{
    const auto place = [](double value) {
        const double most = static_cast<double>(Delaunay::kReach);
        return static_cast<std::int64_t>(std::llround(std::fmin(std::fmax(value, -most), most)));
    };
    return {place((p.u - mMiddle.u) * mScale.u), place((p.v - mMiddle.v) * mScale.v)};
}

// The same place of the surface gets the same numbers, whichever border it is reached by.
FaceMesh::Corner FaceMesh::corner(Param p, int generation) const
{
    Param canonical = p;
    for (const int axis : {0, 1}) {
        if (range(axis).glued && component(p, axis) == range(axis).high) {
            component(canonical, axis) = range(axis).low;
        }
    }
    Corner result;
    result.p = p;
    result.normal = mSurface.normal(canonical);
    for (const int axis : {0, 1}) {
        const double value = component(p, axis);
        if ((range(axis).poleLow && value == range(axis).low) ||
            (range(axis).poleHigh && value == range(axis).high)) {
            component(canonical, 1 - axis) = range(1 - axis).low;
        }
    }
    result.point = mSurface.at(canonical);
    result.generation = generation;
    return result;
}

std::size_t FaceMesh::add(Param p, int generation, bool splitFixed)
{
    const std::size_t v = mPlane.insert(grid(p), splitFixed);
    if (v != Delaunay::kNothing && v == mCorners.size()) {
        mCorners.push_back(corner(p, generation));
    }
    return v;
}

// Vertices that crossing loops brought in.
void FaceMesh::addCrossings()
{
    while (mCorners.size() < mPlane.vertices().size()) {
        const GridPoint& place = mPlane.vertices()[mCorners.size()];
        mCorners.push_back(corner({mMiddle.u + static_cast<double>(place.x) / mScale.u,
                                   mMiddle.v + static_cast<double>(place.y) / mScale.v},
                                  0));
    }
}

void FaceMesh::snap(double& value, int axis) const
{
    const DomainAxis& r = range(axis);
    if (r.glued) {
        const double period = r.high - r.low;
        const double turns = std::round((value - r.low) / period);
        const double line = turns == 1.0 ? r.high : r.low + turns * period;
        if (std::fabs(value - line) <= kSnap * (period + std::fabs(value))) {
            value = line;
        }
    } else {
        const double room = 1e-9 * (r.high - r.low);
        if (r.poleLow && std::fabs(value - r.low) <= room) {
            value = r.low;
        }
        if (r.poleHigh && std::fabs(value - r.high) <= room) {
            value = r.high;
        }
    }
}

// Cuts a side at the lines where a glued direction begins anew.
void FaceMesh::cut(const TrimSide& side, int axis, std::vector<TrimSide>& result) const
{
    const DomainAxis& r = range(axis);
    const double a = component(side.from, axis);
    const double b = component(side.to, axis);
    const double period = r.high - r.low;
    const double line =
        r.low + period * (std::floor((std::fmin(a, b) - r.low) / period + 1e-9) + 1.0);
    const double room = 2.0 * kSnap * (period + std::fabs(a));
    if (!(line > std::fmin(a, b) + room && line < std::fmax(a, b) - room) ||
        result.size() > 4 * mTrim.sides().size() + 64) {
        result.push_back(side);
        return;
    }
    double t = side.start;
    Param place = crossing(mTrim, side, axis, line, t);
    const TrimSide first = partOf(side, place, t, true);
    const TrimSide second = partOf(side, place, t, false);
    cut(first, axis, result);
    cut(second, axis, result);
}

std::vector<TrimSide> FaceMesh::cutSides() const
{
    std::vector<TrimSide> sides = mTrim.sides();
    for (const int axis : {0, 1}) {
        for (TrimSide& side : sides) {
            snap(component(side.from, axis), axis);
            snap(component(side.to, axis), axis);
        }
        if (range(axis).glued) {
            std::vector<TrimSide> pieces;
            for (const TrimSide& side : sides) {
                cut(side, axis, pieces);
            }
            sides = std::move(pieces);
        }
    }
    for (TrimSide& side : sides) {
        bringInside(side, mDomain, mTrim.period());
        for (const int axis : {0, 1}) {
            double& a = component(side.from, axis);
            double& b = component(side.to, axis);
            snap(a, axis);
            snap(b, axis);
            const DomainAxis& r = range(axis);
            if (r.glued && a == b && (a == r.low || a == r.high)) {
                // On the cut the face lies on one side of it: left of the direction.
                const bool rises = component(side.to, 1 - axis) > component(side.from, 1 - axis);
                a = b = rises == (axis == 0) ? r.high : r.low;
            }
        }
    }
    return sides;
}

// The places of the other direction that lie on the borders of one.
std::vector<double> FaceMesh::borderValues(int axis) const
{
    std::vector<double> values{range(1 - axis).low, range(1 - axis).high};
    for (std::size_t i = 4; i < mCorners.size(); ++i) {
        const double value = component(mCorners[i].p, axis);
        if (value == range(axis).low || value == range(axis).high) {
            values.push_back(component(mCorners[i].p, 1 - axis));
        }
    }
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
    return values;
}

// Divides a stretch of the cut that runs through the face, by the chord tolerance.
void FaceMesh::subdivide(int axis, double from, double to, int depth,
                         std::vector<double>& values) const
{
    const auto at = [&](double value) {
        Param p;
        component(p, axis) = range(axis).low;
        component(p, 1 - axis) = value;
        return p;
    };
    const double mid = 0.5 * (from + to);
    const Vec a = mSurface.at(at(from));
    const Vec b = mSurface.at(at(to));
    const bool bent = error((a + b) * 0.5, at(mid)) > 0.95 * mTolerance ||
                      leaps(at(from), at(to)) ||
                      (dot(mSurface.normal(at(from)), mSurface.normal(at(to))) < 0.7 && depth > 4);
    if (bent && depth > 0) {
        subdivide(axis, from, mid, depth - 1, values);
        subdivide(axis, mid, to, depth - 1, values);
        return;
    }
    values.push_back(to);
}

void FaceMesh::addBorders()
{
    for (const int axis : {0, 1}) {
        if (!borderAt(axis, false) && !borderAt(axis, true)) {
            continue;
        }
        std::vector<double> values = borderValues(axis);
        std::vector<double> dense{values.front()};
        for (std::size_t i = 1; i < values.size(); ++i) {
            if (range(axis).glued) {
                Param mid;
                component(mid, axis) = range(axis).low;
                component(mid, 1 - axis) = 0.5 * (values[i - 1] + values[i]);
                if (mJudge.inside(mid)) {
                    subdivide(axis, values[i - 1], values[i], 12, dense);
                } else {
                    dense.push_back(values[i]);
                }
            } else {
                const DomainAxis& other = range(1 - axis);
                const double share = (values[i] - values[i - 1]) / (other.high - other.low);
                const int parts =
                    std::max(1, static_cast<int>(std::ceil(share * kCoarsestPole - 1e-9)));
                const std::vector<double> part = spaced(values[i - 1], values[i], parts);
                dense.insert(dense.end(), part.begin() + 1, part.end());
            }
        }
        for (const bool high : {false, true}) {
            if (!borderAt(axis, high)) {
                continue;
            }
            std::vector<std::size_t> border;
            for (const double value : dense) {
                Param p;
                component(p, axis) = high ? range(axis).high : range(axis).low;
                component(p, 1 - axis) = value;
                const std::size_t v = add(p, 0, true);
                if (v != Delaunay::kNothing && (border.empty() || border.back() != v)) {
                    border.push_back(v);
                }
            }
            mBorders.push_back(std::move(border));
        }
    }
}

bool FaceMesh::build(bool splitCrossings)
{
    settleScale();
    mCorners.resize(4);
    const std::vector<TrimSide> sides = cutSides();
    std::vector<std::array<std::size_t, 2>> ends;
    for (const TrimSide& side : sides) {
        const std::size_t a = add(side.from, 0, true);
        const std::size_t b = add(side.to, 0, true);
        if (a == Delaunay::kNothing || b == Delaunay::kNothing) {
            return false;
        }
        ends.push_back({a, b});
    }
    addBorders();
    for (const std::vector<std::size_t>& border : mBorders) {
        for (std::size_t i = 1; i < border.size(); ++i) {
            if (!mPlane.connect(border[i - 1], border[i], 0, splitCrossings)) {
                return false;
            }
        }
    }
    for (const std::array<std::size_t, 2>& side : ends) {
        if (!mPlane.connect(side[0], side[1], 1, splitCrossings)) {
            return false;
        }
        addCrossings();
    }
    return findRegions();
}

// Triangles at a pole, and slivers along straight edges, have no area.
bool FaceMesh::flat(const Delaunay::Triangle& triangle) const
{
    const Vec& a = mCorners[triangle.corner[0]].point;
    const Vec& b = mCorners[triangle.corner[1]].point;
    const Vec& c = mCorners[triangle.corner[2]].point;
    const double longest = std::fmax(distance(a, b), std::fmax(distance(b, c), distance(c, a)));
    return !(length(cross(b - a, c - a)) > longest * std::fmax(1e-10, 1e-9 * longest));
}

bool FaceMesh::folded() const
{
    double wrong = 0.0;
    double all = 0.0;
    for (const Delaunay::Triangle& triangle : mPlane.triangles()) {
        if (mInside[static_cast<std::size_t>(triangle.region)] && !flat(triangle)) {
            const Corner& a = mCorners[triangle.corner[0]];
            const Corner& b = mCorners[triangle.corner[1]];
            const Corner& c = mCorners[triangle.corner[2]];
            const Vec n = cross(b.point - a.point, c.point - a.point);
            all += length(n);
            wrong += dot(n, a.normal + b.normal + c.normal) < 0.0 ? length(n) : 0.0;
        }
    }
    return wrong > 1e-5 * all;
}

std::vector<double> FaceMesh::facets() const
{
    std::vector<double> result;
    for (const Delaunay::Triangle& triangle : mPlane.triangles()) {
        if (!mInside[static_cast<std::size_t>(triangle.region)] || flat(triangle)) {
            continue;
        }
        const Vec& a = mCorners[triangle.corner[0]].point;
        Vec b = mCorners[triangle.corner[1]].point;
        Vec c = mCorners[triangle.corner[2]].point;
        if (mTrim.face().reversed) {
            std::swap(b, c);
        }
        for (const Vec& p : {a, b, c}) {
            result.insert(result.end(), {p.x, p.y, p.z});
        }
    }
    return result;
}

} // namespace standin::geom
