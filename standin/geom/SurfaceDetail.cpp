#include "standin/geom/SurfaceDetail.h"

#include <cmath>

namespace standin::geom {

namespace {

// Steps a parameter inwards: away from the nearer end of its range.
double inward(double value, double from, double to, double part)
{
    if (!std::isfinite(from) || !std::isfinite(to)) {
        const double step = part * (1.0 + std::fabs(value));
        return std::isfinite(to) && to - value < step ? value - step : value + step;
    }
    const double step = part * (to - from);
    return value - from < to - value ? value + step : value - step;
}

} // namespace

Vec normalByDerivatives(const Surface& surface, Param p)
{
    Vec du;
    Vec dv;
    Param from;
    Param to;
    surface.naturalRange(from, to);
    surface.derivatives(p, du, dv);
    const Vec plain = cross(du, dv);
    if (length(plain) > 1e-9 * (dot(du, du) + dot(dv, dv))) {
        return unit(plain);
    }
    // Along a line that collapses only the way off it shows a normal.
    const bool offU = !(length(dv) > 1e-3 * length(du));
    const bool offV = !(length(du) > 1e-3 * length(dv)) || !offU;
    for (const double part : {1e-7, 1e-5, 1e-3}) {
        surface.derivatives({offU ? inward(p.u, from.u, to.u, part) : p.u,
                             offV ? inward(p.v, from.v, to.v, part) : p.v},
                            du, dv);
        const Vec n = cross(du, dv);
        if (length(n) > 1e-12 * (dot(du, du) + dot(dv, dv))) {
            return unit(n);
        }
    }
    return unit(cross(du, dv));
}

bool collapses(const Surface& surface, bool constantU, double at, const std::vector<double>& values,
               double tolerance, Vec& point)
{
    bool first = true;
    for (const double value : values) {
        const Vec next = surface.at(constantU ? Param{at, value} : Param{value, at});
        if (first) {
            point = next;
            first = false;
        }
        if (!(distance(next, point) <= tolerance)) {
            return false;
        }
    }
    return true;
}

} // namespace standin::geom
