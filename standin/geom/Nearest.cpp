#include "standin/geom/Nearest.h"

#include "standin/geom/Numeric.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace standin::geom {

namespace {

constexpr std::size_t kStarts = 8;
// A place found from a guess counts as the point's own when it is this near, in steps of the grid.
constexpr double kMet = 1e-2;

// What Newton's method knows at a place: the distance vector, its gradient and second derivatives.
struct Local
{
    SurfacePoint s;
    Vec r;
    double f{};
    double gu{};
    double gv{};

    Local(const Surface& surface, const Vec& point, Param p)
        : s(surface.evaluate(p)),
          r(s.p - point),
          f(dot(r, r)),
          gu(dot(r, s.du)),
          gv(dot(r, s.dv))
    {}

    //! How fast the distance can still shrink per length.
    [[nodiscard]] double slope() const
    {
        const double a = geom::length(s.du);
        const double b = geom::length(s.dv);
        return (a > 0.0 ? std::fabs(gu) / a : 0.0) + (b > 0.0 ? std::fabs(gv) / b : 0.0);
    }
};

// Solves the damped 2 x 2 system for a step; a direction that is held gets no step.
Param solve(double a, double b, double c, double gu, double gv, bool holdU, bool holdV)
{
    Param step;
    if (holdU && holdV) {
        return step;
    }
    if (holdU) {
        step.v = c > 0.0 ? -gv / c : 0.0;
        return step;
    }
    if (holdV) {
        step.u = a > 0.0 ? -gu / a : 0.0;
        return step;
    }
    const double det = a * c - b * b;
    if (det > 1e-14 * a * c) {
        step.u = (b * gv - c * gu) / det;
        step.v = (b * gu - a * gv) / det;
    } else if (a >= c) {
        // A pole: one direction leads nowhere.
        step.u = a > 0.0 ? -gu / a : 0.0;
    } else {
        step.v = -gv / c;
    }
    return step;
}

} // namespace

SampleGrid::SampleGrid(const Surface& surface, std::vector<double> u, std::vector<double> v)
    : mU(std::move(u)),
      mV(std::move(v))
{
    mPoints.reserve(mU.size() * mV.size());
    for (const double a : mU) {
        for (const double b : mV) {
            mPoints.push_back(surface.at({a, b}));
        }
    }
    for (std::size_t i = 0; i < mPoints.size(); ++i) {
        if (i % mV.size() != 0) {
            mStep = std::fmax(mStep, distance(mPoints[i], mPoints[i - 1]));
        }
        if (i >= mV.size()) {
            mStep = std::fmax(mStep, distance(mPoints[i], mPoints[i - mV.size()]));
        }
    }
    findPoles();
}

void SampleGrid::findPoles()
{
    mPole.assign(mPoints.size(), false);
    const std::size_t columns = mV.size();
    const auto mark = [this](std::size_t first, std::size_t stride, std::size_t count) {
        bool together = true;
        for (std::size_t k = 1; k < count; ++k) {
            together =
                together && distance(mPoints[first], mPoints[first + k * stride]) <= 1e-6 * mStep;
        }
        for (std::size_t k = 0; together && k < count; ++k) {
            mPole[first + k * stride] = true;
        }
    };
    mark(0, 1, columns);
    mark(mPoints.size() - columns, 1, columns);
    mark(0, columns, mU.size());
    mark(columns - 1, columns, mU.size());
}

// Gives the samples that are nearer than their neighbours, nearest first. In a pole all directions
// look alike, so the samples beside it stand for it.
std::vector<std::size_t> SampleGrid::starts(const std::vector<double>& squares) const
{
    const std::size_t columns = mV.size();
    std::vector<std::size_t> result;
    for (std::size_t i = 0; i < mPoints.size(); ++i) {
        const std::size_t row = i / columns;
        const std::size_t column = i % columns;
        const auto beats = [&](std::size_t other) {
            return mPole[other] || squares[i] <= squares[other];
        };
        if (!mPole[i] && (row == 0 || beats(i - columns)) &&
            (row + 1 == mU.size() || beats(i + columns)) && (column == 0 || beats(i - 1)) &&
            (column + 1 == columns || beats(i + 1))) {
            result.push_back(i);
        }
    }
    std::stable_sort(result.begin(), result.end(),
                     [&](std::size_t a, std::size_t b) { return squares[a] < squares[b]; });
    result.resize(std::min(result.size(), kStarts));
    return result;
}

// Periodic parameters come back into the range, others stop at its ends.
Param SampleGrid::brought(const Surface& surface, Param p) const noexcept
{
    const Param period = surface.period();
    const auto bring = [](double value, double from, double to, double repeat) {
        const double moved = repeat > 0.0 ? wrapped(value, from, repeat) : value;
        return moved > from ? std::fmin(moved, to) : from;
    };
    return {bring(p.u, mU.front(), mU.back(), period.u),
            bring(p.v, mV.front(), mV.back(), period.v)};
}

Param SampleGrid::descend(const Surface& surface, const Vec& point, Param start) const
{
    const Param period = surface.period();
    Param p = brought(surface, start);
    Local here(surface, point, p);
    const double tiny = 1e-16 * geom::length(point) + 1e-15 * mStep;
    for (int iteration = 0; iteration < 40; ++iteration) {
        const auto held = [](double x, double g, double from, double to, double repeat) {
            return repeat <= 0.0 && ((x <= from && g > 0.0) || (x >= to && g < 0.0));
        };
        const bool holdU = held(p.u, here.gu, mU.front(), mU.back(), period.u);
        const bool holdV = held(p.v, here.gv, mV.front(), mV.back(), period.v);
        const double a = dot(here.s.du, here.s.du);
        const double b = dot(here.s.du, here.s.dv);
        const double c = dot(here.s.dv, here.s.dv);
        const double fullA = a + dot(here.r, here.s.duu);
        const double fullB = b + dot(here.r, here.s.duv);
        const double fullC = c + dot(here.r, here.s.dvv);
        const bool convex =
            fullA > 0.0 && fullC > 0.0 && fullA * fullC - fullB * fullB > 1e-12 * fullA * fullC;
        Param step = convex ? solve(fullA, fullB, fullC, here.gu, here.gv, holdU, holdV)
                            : solve(a, b, c, here.gu, here.gv, holdU, holdV);
        bool moved = false;
        for (int halving = 0; halving < 30; ++halving) {
            const double reach =
                geom::length(here.s.du * step.u) + geom::length(here.s.dv * step.v);
            if (!(reach > tiny)) {
                break;
            }
            const Param next = brought(surface, {p.u + step.u, p.v + step.v});
            const Local there(surface, point, next);
            // Where rounding hides the gain in distance, the slope tells.
            const bool flatter = there.f <= here.f + 8.0 * std::sqrt(here.f) * tiny &&
                                 there.slope() < 0.5 * here.slope();
            if (there.f < here.f || flatter) {
                p = next;
                here = there;
                moved = true;
                break;
            }
            step = {0.5 * step.u, 0.5 * step.v};
        }
        if (!moved) {
            break;
        }
    }
    return p;
}

Param SampleGrid::nearest(const Surface& surface, const Vec& point, const Param* guess) const
{
    Param best = sample(0);
    double bestDistance = std::numeric_limits<double>::infinity();
    if (guess != nullptr) {
        best = descend(surface, point, *guess);
        bestDistance = distance(surface.at(best), point);
        // A guess in a pole may point away from the place: then the foot is no perpendicular.
        if (bestDistance <= kMet * mStep &&
            Local(surface, point, best).slope() <= 1e-3 * bestDistance + 1e-15) {
            return best;
        }
    }
    std::vector<double> d(mPoints.size());
    for (std::size_t i = 0; i < mPoints.size(); ++i) {
        const Vec r = mPoints[i] - point;
        d[i] = dot(r, r);
    }
    for (const std::size_t start : starts(d)) {
        // A sample further off than the best by more than its cell can't lead to a nearer point.
        if (std::sqrt(d[start]) > bestDistance + 2.0 * mStep) {
            break;
        }
        const Param p = descend(surface, point, sample(start));
        const double found = distance(surface.at(p), point);
        if (found < bestDistance - 1e-12 * mStep || (guess == nullptr && found < bestDistance)) {
            best = p;
            bestDistance = found;
        }
    }
    return best;
}

std::vector<double> gridParameters(double from, double to, const std::vector<double>& breaks,
                                   int perSpan, int least, int most)
{
    std::vector<double> stops;
    for (const double knot : breaks) {
        if (knot > from && knot < to) {
            stops.push_back(knot);
        }
    }
    const int spans = static_cast<int>(std::min<std::size_t>(stops.size(), 1000000)) + 1;
    if (spans > most) {
        return spaced(from, to, most);
    }
    stops.push_back(to);
    const int each = std::max(std::min(perSpan, most / spans), (least + spans - 1) / spans);
    std::vector<double> result{from};
    for (const double stop : stops) {
        const std::vector<double> part = spaced(result.back(), stop, each);
        result.insert(result.end(), part.begin() + 1, part.end());
    }
    return result;
}

} // namespace standin::geom
