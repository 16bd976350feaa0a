#include "standin/step/Edges.h"

#include <cmath>
#include <stdexcept>
#include <utility>

namespace standin::step {

namespace {

// Vertices that are two in the file but one in space, metres.
constexpr double kSamePlace = 1e-9;
// Parameters closer to the seam than this part of the period lie on it.
constexpr double kSeam = 1e-12;

// Moves a stretch of a periodic curve so that it begins in the natural range.
void settle(geom::Edge& edge, double natural, double period)
{
    if (edge.from >= natural + period * (1.0 - kSeam)) {
        edge.from -= period;
        edge.to -= period;
    }
    if (edge.from < natural && edge.from > natural - period * kSeam) {
        edge.from = natural;
    }
}

} // namespace

EdgeFit fitEdge(geom::Edge& edge, const OrientedCurve& curve, bool sameSense,
                const geom::Vec& start, const geom::Vec& end, bool closed)
{
    EdgeFit fit;
    const geom::Curve& basis = *curve.curve;
    const double period = basis.period();
    double low = 0.0;
    double high = 0.0;
    basis.naturalRange(low, high);

    edge.curve = curve.curve;
    edge.reversed = sameSense == curve.reversed;
    const geom::Vec& first = edge.reversed ? end : start;
    const geom::Vec& last = edge.reversed ? start : end;
    const bool whole = closed || (period > 0.0 && geom::distance(start, end) <= kSamePlace);
    if (whole && period == 0.0) {
        edge.from = low;
        edge.to = high;
    } else {
        edge.from = basis.parameterAt(first, low, high);
        edge.to = whole ? edge.from + period : basis.parameterAt(last, low, high);
    }
    if (!std::isfinite(edge.from) || !std::isfinite(edge.to)) {
        throw std::invalid_argument(whole ? "the edge closes on a curve that does not"
                                          : "the vertices are nowhere on the curve");
    }
    if (period > 0.0) {
        if (edge.to <= edge.from) {
            edge.to += period;
        }
        settle(edge, low, period);
    } else if (edge.to < edge.from) {
        // The curve settles the direction; a flag that says otherwise can only be wrong.
        std::swap(edge.from, edge.to);
        edge.reversed = !edge.reversed;
        fit.turned = true;
    } else if (edge.to == edge.from) {
        throw std::invalid_argument("the edge has no length");
    }
    const geom::Vec& atFrom = edge.reversed ? end : start;
    const geom::Vec& atTo = edge.reversed ? start : end;
    fit.gap = std::fmax(geom::distance(basis.at(edge.from), atFrom),
                        geom::distance(basis.at(edge.to), atTo));
    return fit;
}

} // namespace standin::step
