#include "standin/geom/BSplineBasis.h"
#include "standin/geom/Curve.h"
#include "standin/geom/Numeric.h"

#include <algorithm>
#include <cmath>

namespace standin::geom {

namespace {

bool holds(const Box& box, const Vec& p) noexcept
{
    return p.x >= box.min.x && p.y >= box.min.y && p.z >= box.min.z && p.x <= box.max.x &&
           p.y <= box.max.y && p.z <= box.max.z;
}

// Grows a box by a Bezier segment: its ends, then its halves while its hull sticks out. The budget
// ends it where rounding keeps hulls from settling.
void addBezier(Box& box, std::vector<Weighted> poles, double slack, int& budget)
{
    box.add(projected(poles.front()));
    box.add(projected(poles.back()));
    Box hull;
    for (const Weighted& pole : poles) {
        hull.add(projected(pole));
    }
    if (holds(box, hull.min) && holds(box, hull.max)) {
        return;
    }
    Box wide = box;
    wide.min = wide.min - Vec{slack, slack, slack};
    wide.max = wide.max + Vec{slack, slack, slack};
    if (--budget <= 0 || (holds(wide, hull.min) && holds(wide, hull.max))) {
        box.add(hull);
        return;
    }
    std::vector<Weighted> left{poles.front()};
    std::vector<Weighted> right{poles.back()};
    for (std::size_t n = poles.size() - 1; n > 0; --n) {
        for (std::size_t i = 0; i < n; ++i) {
            poles[i] = mixed(poles[i], poles[i + 1], 0.5);
        }
        left.push_back(poles[0]);
        right.push_back(poles[n - 1]);
    }
    std::reverse(right.begin(), right.end());
    addBezier(box, std::move(left), slack, budget);
    addBezier(box, std::move(right), slack, budget);
}

class BSplineCurve final : public Curve
{
public:
    BSplineCurve(int degree, const std::vector<Vec>& poles, const std::vector<double>& weights,
                 std::vector<double> knots, bool closed)
        : mPoles(weightedPoles("B-spline curve", poles, weights)),
          mKnots("B-spline curve", degree, poles.size(), std::move(knots))
    {
        for (const Weighted& pole : mPoles) {
            mHull.add(projected(pole));
        }
        const double size = geom::length(mHull.max - mHull.min);
        if (distance(at(mKnots.from()), at(mKnots.to())) <= (closed ? 1e-6 : 1e-9) * size) {
            mKnots.close();
        }
    }

    [[nodiscard]] CurveKind kind() const noexcept override { return CurveKind::bspline; }
    [[nodiscard]] Vec at(double t) const override { return evaluate(t).p; }
    [[nodiscard]] Vec derivative(double t) const override { return evaluate(t).d1; }
    [[nodiscard]] Vec secondDerivative(double t) const override { return evaluate(t).d2; }
    [[nodiscard]] double period() const noexcept override { return mKnots.period(); }
    void naturalRange(double& from, double& to) const noexcept override
    {
        from = mKnots.from();
        to = mKnots.to();
    }
    [[nodiscard]] std::vector<double> breaks(double from, double to) const override;
    [[nodiscard]] double parameterAt(const Vec& point, double from, double to) const override
    {
        std::vector<double> samples{from};
        const int perSpan = std::max(3, mKnots.degree());
        std::vector<double> stops = breaks(from, to);
        stops.push_back(to);
        for (const double stop : stops) {
            const std::vector<double> part = spaced(samples.back(), stop, perSpan);
            samples.insert(samples.end(), part.begin() + 1, part.end());
        }
        return nearestParameter([this](double t) { return evaluate(t); }, point, samples);
    }
    [[nodiscard]] Box box(double from, double to) const override;
    [[nodiscard]] double length(double from, double to) const override
    {
        if (to < from) {
            return -length(to, from);
        }
        const auto speed = [this](double t) { return geom::length(evaluate(t).d1); };
        double sum = 0.0;
        double last = from;
        for (const double t : breaks(from, to)) {
            sum += integrate(speed, last, t);
            last = t;
        }
        return sum + integrate(speed, last, to);
    }

private:
    [[nodiscard]] CurvePoint evaluate(double t) const;
    [[nodiscard]] std::vector<Weighted> bezier(double from, double to) const;

    std::vector<Weighted> mPoles;
    KnotVector mKnots;
    Box mHull;
};

CurvePoint BSplineCurve::evaluate(double t) const
{
    Basis basis;
    mKnots.evaluate(t, basis);
    Weighted c;
    Weighted d1;
    Weighted d2;
    for (std::size_t i = 0; i <= static_cast<std::size_t>(mKnots.degree()); ++i) {
        const Weighted& pole = mPoles[basis.first + i];
        c = c + pole * basis.value[i];
        d1 = d1 + pole * basis.slope[i];
        d2 = d2 + pole * basis.bend[i];
    }
    CurvePoint result;
    result.p = projected(c);
    result.d1 = (d1.p - result.p * d1.w) * (1.0 / c.w);
    result.d2 = (d2.p - result.d1 * (2.0 * d1.w) - result.p * d2.w) * (1.0 / c.w);
    return result;
}

std::vector<double> BSplineCurve::breaks(double from, double to) const
{
    std::vector<double> result;
    std::vector<double> knots = mKnots.inner();
    const double period = mKnots.period();
    if (period <= 0.0) {
        knots.insert(knots.begin(), mKnots.from());
        knots.push_back(mKnots.to());
    } else {
        knots.push_back(mKnots.to());
    }
    // Twice round is more than any edge needs.
    const double first = period > 0.0 ? std::floor((from - mKnots.from()) / period) : 0.0;
    for (int turn = 0; turn < (period > 0.0 ? 4 : 1); ++turn) {
        for (const double knot : knots) {
            const double t = knot + (first + turn) * period;
            if (t > from && t < to) {
                result.push_back(t);
            }
        }
    }
    return result;
}

// The Bezier poles of a stretch inside one interval are the spline's blossom at mixtures of the
// stretch's ends.
std::vector<Weighted> BSplineCurve::bezier(double from, double to) const
{
    const std::size_t p = static_cast<std::size_t>(mKnots.degree());
    const std::size_t s = mKnots.span(0.5 * (from + to));
    std::vector<Weighted> result;
    for (std::size_t j = 0; j <= p; ++j) {
        std::vector<Weighted> d(mPoles.begin() + static_cast<std::ptrdiff_t>(s - p),
                                mPoles.begin() + static_cast<std::ptrdiff_t>(s + 1));
        for (std::size_t r = 1; r <= p; ++r) {
            const double argument = r <= j ? to : from;
            for (std::size_t i = p; i >= r; --i) {
                const double low = mKnots[s - p + i];
                const double high = mKnots[i + 1 + s - r];
                d[i] = mixed(d[i - 1], d[i], (argument - low) / (high - low));
            }
        }
        result.push_back(d[p]);
    }
    return result;
}

Box BSplineCurve::box(double from, double to) const
{
    Box box;
    box.add(at(from));
    box.add(at(to));
    const double slack = 2e-15 * std::fmax(geom::length(mHull.max), geom::length(mHull.min));
    std::vector<double> stops = breaks(from, to);
    stops.push_back(to);
    double last = from;
    for (const double stop : stops) {
        const double mid = 0.5 * (last + stop);
        const double inside = mKnots.inside(mid);
        const double low = std::fmax(inside - (mid - last), mKnots.from());
        const double high = std::fmin(inside + (stop - mid), mKnots.to());
        if (inside > mKnots.from() && inside < mKnots.to() && high > low) {
            int budget = 4000;
            addBezier(box, bezier(low, high), slack, budget);
        }
        last = stop;
    }
    return box;
}

} // namespace

CurvePtr makeBSplineCurve(int degree, std::vector<Vec> poles, std::vector<double> weights,
                          std::vector<double> knots, bool closed)
{
    return std::make_shared<BSplineCurve>(degree, poles, weights, std::move(knots), closed);
}

} // namespace standin::geom
