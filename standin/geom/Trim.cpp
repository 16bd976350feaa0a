#include "standin/geom/Trim.h"

#include "standin/geom/Numeric.h"

#include <cmath>

namespace standin::geom {

namespace {

double crossed(const Param& a, const Param& b)
{
    return a.u * b.v - a.v * b.u;
}

} // namespace

Param Trim::project(std::size_t edge, double t, Param guess) const
{
    const Param p = surface().parameterAt(mBody.edges[edge].curve->at(t), &guess);
    const Param full = surface().period();
    return {unwrapped(p.u, guess.u, full.u), unwrapped(p.v, guess.v, full.v)};
}

bool Trim::insideByCurve(const TrimSide& side, Param p, bool otherwise) const
{
    const Edge& edge = mBody.edges[side.edge];
    double low = std::fmin(side.start, side.end);
    double high = std::fmax(side.start, side.end);
    for (const std::size_t i : {side.previous, side.next}) {
        if (i != kNone && mSides[i].edge == side.edge) {
            low = std::fmin(low, std::fmin(mSides[i].start, mSides[i].end));
            high = std::fmax(high, std::fmax(mSides[i].start, mSides[i].end));
        }
    }
    const Vec point = surface().at(p);
    const double t = edge.curve->parameterAt(point, low, high);
    const Vec away = point - edge.curve->at(t);
    double tolerance = 1e-9;
    for (const TrimDeviation& deviation : mDeviations) {
        if (deviation.edge == side.edge) {
            tolerance = std::fmax(tolerance, 2.0 * deviation.distance);
        }
    }
    if (length(away) <= tolerance) {
        return true;
    }
    if (t <= low || t >= high) {
        return otherwise;
    }
    const Vec along = edge.curve->derivative(t) * (side.end > side.start ? 1.0 : -1.0);
    return dot(cross(surface().normal(p), along), away) > 0.0;
}

bool Trim::inside(Param p) const
{
    struct Hit
    {
        double distance{};
        std::size_t side{};
        bool left{};
    };
    std::vector<Hit> hits;
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < mSides.size(); ++i) {
        const TrimSide& side = mSides[i];
        const Param mid = midway(side.from, side.to);
        const Param q{unwrapped(p.u, mid.u, mPeriod.u), unwrapped(p.v, mid.v, mPeriod.v)};
        const auto scaled = [this](const Param& a, const Param& b) {
            return Param{(b.u - a.u) * mScale.u, (b.v - a.v) * mScale.v};
        };
        const Param along = scaled(side.from, side.to);
        const Param to = scaled(side.from, q);
        const double square = along.u * along.u + along.v * along.v;
        const double part =
            square > 0.0
                ? std::fmin(std::fmax((along.u * to.u + along.v * to.v) / square, 0.0), 1.0)
                : 0.0;
        const Param rest{to.u - along.u * part, to.v - along.v * part};
        const double d = std::hypot(rest.u, rest.v);
        if (!(d <= least * (1.0 + 1e-9) + 1e-15)) {
            continue;
        }
        bool left = crossed(along, to) >= 0.0;
        const std::size_t neighbour = part <= 0.0 ? side.previous : part >= 1.0 ? side.next : kNone;
        if (neighbour != kNone) {
            // Nearest to a corner: left of both sides, or of one where the face bends round it.
            const TrimSide& other = mSides[neighbour];
            const Param beyond = scaled(other.from, other.to);
            const bool leftToo = crossed(beyond, rest) >= 0.0;
            const bool own = crossed(along, rest) >= 0.0;
            const bool convex =
                part <= 0.0 ? crossed(beyond, along) > 0.0 : crossed(along, beyond) > 0.0;
            left = convex ? own && leftToo : own || leftToo;
        }
        least = std::fmin(least, d);
        hits.push_back({d, i, left});
    }
    bool any = mSides.empty();
    for (const Hit& hit : hits) {
        if (hit.distance <= least * (1.0 + 1e-9) + 1e-15) {
            const bool fine = hit.distance < 4.0 * mTolerance && mSides[hit.side].edge != kNone;
            any = any || (fine ? insideByCurve(mSides[hit.side], p, hit.left) : hit.left);
        }
    }
    return any;
}

} // namespace standin::geom
