#include "standin/geom/Domain.h"

#include "standin/geom/Numeric.h"

#include <algorithm>
#include <cmath>

namespace standin::geom {

namespace {

struct Interval
{
    double from{};
    double to{};
};

// A place of the other direction that belongs to the surface.
double anyPlace(const Trim& trim, int axis)
{
    if (!trim.sides().empty()) {
        return component(trim.sides().front().from, axis);
    }
    Param from;
    Param to;
    trim.surface().naturalRange(from, to);
    return 0.5 * (component(from, axis) + component(to, axis));
}

bool insideAt(const Trim& trim, int axis, double value)
{
    Param p;
    component(p, axis) = value;
    component(p, 1 - axis) = anyPlace(trim, 1 - axis);
    return trim.inside(p);
}

// The stretches between the loops on a circle of parameters.
std::vector<Interval> gapsOnCircle(const Trim& trim, int axis, double period)
{
    std::vector<Interval> covered;
    for (const TrimSide& side : trim.sides()) {
        const double a = component(side.from, axis);
        const double b = component(side.to, axis);
        const double low = std::fmin(a, b);
        const double start = wrapped(low, 0.0, period);
        covered.push_back({start, start + std::fabs(b - a)});
    }
    std::sort(covered.begin(), covered.end(), [](const Interval& a, const Interval& b) {
        return a.from < b.from || (a.from == b.from && a.to < b.to);
    });
    std::vector<Interval> gaps;
    if (covered.empty()) {
        return gaps;
    }
    const double tiny = 1e-9 * period;
    double reached = covered.front().to;
    // What sticks out over the end covers the beginning.
    for (const Interval& interval : covered) {
        reached = std::fmax(reached, interval.to - period);
    }
    for (std::size_t i = 1; i <= covered.size(); ++i) {
        const double next = i < covered.size() ? covered[i].from : covered.front().from + period;
        if (next > reached + tiny) {
            gaps.push_back({reached, next});
        }
        if (i < covered.size()) {
            reached = std::fmax(reached, covered[i].to);
        }
    }
    return gaps;
}

void findPeriodic(const Trim& trim, int axis, double period, DomainAxis& result)
{
    Param natural;
    Param naturalTo;
    trim.surface().naturalRange(natural, naturalTo);
    const double start = component(natural, axis);
    Interval outside;
    Interval inside;
    for (const Interval& gap : gapsOnCircle(trim, axis, period)) {
        Interval& kind = insideAt(trim, axis, 0.5 * (gap.from + gap.to)) ? inside : outside;
        if (gap.to - gap.from > kind.to - kind.from) {
            kind = gap;
        }
    }
    if (outside.to > outside.from) {
        result.from = wrapped(outside.to, start, period);
        result.from = result.from >= start + period * (1.0 - 1e-12) ? start : result.from;
        result.to = result.from + period - (outside.to - outside.from);
        const double room = std::fmin(0.3 * (outside.to - outside.from),
                                      0.05 * (result.to - result.from) + 1e-9 * period);
        result.low = result.from - room;
        result.high = result.to + room;
        return;
    }
    // All the way round: cut where no loop is crossed, or where one begins.
    result.glued = true;
    result.from = start;
    result.to = start + period;
    if (inside.to > inside.from) {
        result.low = 0.5 * (inside.from + inside.to);
    } else if (!trim.sides().empty()) {
        result.low = component(trim.sides().front().from, axis);
    } else {
        result.low = start;
    }
    result.high = result.low + period;
}

void findBounded(const Trim& trim, int axis, DomainAxis& result)
{
    Param natural;
    Param naturalTo;
    trim.surface().naturalRange(natural, naturalTo);
    bool any = false;
    for (const TrimSide& side : trim.sides()) {
        for (const Param& p : {side.from, side.to}) {
            const double value = component(p, axis);
            result.from = any ? std::fmin(result.from, value) : value;
            result.to = any ? std::fmax(result.to, value) : value;
            any = true;
        }
    }
    const double size = result.to - result.from;
    double below = -std::numeric_limits<double>::infinity();
    double above = std::numeric_limits<double>::infinity();
    const double start = any ? result.from : 0.0;
    const double end = any ? result.to : 0.0;
    const double tiny = 1e-7 * (1.0 + std::fabs(start) + std::fabs(end)) * (any ? 1.0 : 0.0);
    for (const Pole& pole : trim.poles()) {
        if (pole.constantU == (axis == 0)) {
            const bool lower = any ? pole.at <= start + tiny : pole.at < end;
            if (lower) {
                below = std::fmax(below, pole.at);
            } else if (pole.at >= end - tiny) {
                above = std::fmin(above, pole.at);
            }
        }
    }
    if (!any) {
        // A whole surface: from pole to pole, or its natural range.
        result.poleLow = std::isfinite(below);
        result.poleHigh = std::isfinite(above);
        result.low = result.from = result.poleLow ? below : component(natural, axis);
        result.high = result.to = result.poleHigh ? above : component(naturalTo, axis);
        return;
    }
    const auto reaches = [&](double pole, double bound) {
        return std::fabs(pole - bound) <= tiny ||
               (std::isfinite(pole) && insideAt(trim, axis, 0.5 * (pole + bound)));
    };
    const double room = size > 0.0 ? 0.05 * size : 1.0;
    result.poleLow = reaches(below, result.from);
    result.poleHigh = reaches(above, result.to);
    if (result.poleLow) {
        result.from = below;
    }
    if (result.poleHigh) {
        result.to = above;
    }
    result.low = result.poleLow ? result.from : result.from - room;
    result.high = result.poleHigh ? result.to : result.to + room;
}

} // namespace

Domain findDomain(const Trim& trim)
{
    Domain domain;
    for (const int axis : {0, 1}) {
        DomainAxis& result = domain.axes[static_cast<std::size_t>(axis)];
        const double period = component(trim.period(), axis);
        if (period > 0.0) {
            findPeriodic(trim, axis, period, result);
        } else {
            findBounded(trim, axis, result);
        }
    }
    return domain;
}

void bringInside(TrimSide& side, const Domain& domain, const Param& period)
{
    for (const int axis : {0, 1}) {
        const DomainAxis& range = domain.axes[static_cast<std::size_t>(axis)];
        const double mid = component(midway(side.from, side.to), axis);
        const double shift = wrapped(mid, range.low, component(period, axis)) - mid;
        component(side.from, axis) += shift;
        component(side.to, axis) += shift;
    }
}

} // namespace standin::geom
