#include "standin/geom/BSplineBasis.h"

#include "standin/geom/Numeric.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

namespace standin::geom {

namespace {

[[noreturn]] void fail(const char* subject, const std::string& text)
{
    throw std::invalid_argument(std::string(subject) + ": " + text);
}

// Slopes of the functions of one degree from the values of the degree below.
void differentiate(const KnotVector& knots, std::size_t span, std::size_t degree,
                   const Basis::Row& below, Basis::Row& slopes) noexcept
{
    for (std::size_t j = 0; j <= degree; ++j) {
        const std::size_t i = span - degree + j;
        double sum = 0.0;
        if (j > 0) {
            sum += below[j - 1] / (knots[i + degree] - knots[i]);
        }
        if (j < degree) {
            sum -= below[j] / (knots[i + degree + 1] - knots[i + 1]);
        }
        slopes[j] = sum * static_cast<double>(degree);
    }
}

} // namespace

std::vector<Weighted> weightedPoles(const char* subject, const std::vector<Vec>& poles,
                                    const std::vector<double>& weights)
{
    if (!weights.empty() && weights.size() != poles.size()) {
        fail(subject, "wanted one weight for each of " + std::to_string(poles.size()) +
                          " poles, found " + std::to_string(weights.size()));
    }
    std::vector<Weighted> result;
    result.reserve(poles.size());
    for (std::size_t i = 0; i < poles.size(); ++i) {
        const double w = weights.empty() ? 1.0 : weights[i];
        if (!(w > 0.0) || !std::isfinite(w)) {
            fail(subject, "weight " + std::to_string(i + 1) + " is not a positive number");
        }
        const Weighted pole{poles[i] * w, w};
        if (!std::isfinite(pole.p.x) || !std::isfinite(pole.p.y) || !std::isfinite(pole.p.z)) {
            fail(subject, "pole " + std::to_string(i + 1) + " is not finite");
        }
        result.push_back(pole);
    }
    return result;
}

KnotVector::KnotVector(const char* subject, int degree, std::size_t poles,
                       std::vector<double> knots)
    : mDegree(degree),
      mPoles(poles),
      mKnots(std::move(knots))
{
    if (degree < 1 || degree > kMaxDegree) {
        fail(subject, "wanted a degree from 1 to " + std::to_string(kMaxDegree) + ", found " +
                          std::to_string(degree));
    }
    if (poles < size(degree) + 1) {
        fail(subject, "degree " + std::to_string(degree) + " wants " + std::to_string(degree + 1) +
                          " poles or more, found " + std::to_string(poles));
    }
    if (mKnots.size() != poles + size(degree) + 1) {
        fail(subject, "wanted " + std::to_string(poles + size(degree) + 1) + " knots, found " +
                          std::to_string(mKnots.size()));
    }
    for (std::size_t i = 0; i < mKnots.size(); ++i) {
        if (!std::isfinite(mKnots[i]) || (i > 0 && mKnots[i] < mKnots[i - 1])) {
            fail(subject, "knot " + std::to_string(i + 1) + " is not finite or descends");
        }
    }
    if (!(from() < to()) || !std::isfinite(to() - from())) {
        fail(subject, "the knots leave no room for the curve");
    }
}

std::vector<double> KnotVector::inner() const
{
    std::vector<double> result;
    for (std::size_t i = size(mDegree) + 1; i < mPoles; ++i) {
        const double knot = mKnots[i];
        if (knot > from() && knot < to() && (result.empty() || knot > result.back())) {
            result.push_back(knot);
        }
    }
    return result;
}

std::size_t KnotVector::span(double t) const noexcept
{
    // The last interval that is not empty holds the end as well.
    const auto first = mKnots.begin() + mDegree;
    const auto last = mKnots.begin() + static_cast<std::ptrdiff_t>(mPoles);
    if (!(t < *last)) {
        return static_cast<std::size_t>(std::lower_bound(first, last, *last) - mKnots.begin()) - 1;
    }
    const auto above = std::upper_bound(first, last, std::max(t, *first));
    return static_cast<std::size_t>(above - mKnots.begin()) - 1;
}

double KnotVector::inside(double t) const noexcept
{
    const double moved = mClosed ? wrapped(t, from(), to() - from()) : t;
    return moved > from() ? std::fmin(moved, to()) : from();
}

void KnotVector::evaluate(double t, Basis& basis) const noexcept
{
    const double x = inside(t);
    const std::size_t s = span(x);
    const std::size_t p = size(mDegree);
    basis.first = s - p;
    // Rows of degree p - 2 and p - 1 are kept for the derivatives.
    Basis::Row below{};
    Basis::Row belowSlope{};
    Basis::Row row{};
    row[0] = 1.0;
    basis.bend.fill(0.0);
    for (std::size_t q = 1; q <= p; ++q) {
        if (q + 1 == p) {
            differentiate(*this, s, q, row, belowSlope);
        }
        if (q == p) {
            differentiate(*this, s, q, row, basis.slope);
            if (p > 1) {
                differentiate(*this, s, q, belowSlope, basis.bend);
            }
        }
        below = row;
        double carried = 0.0;
        for (std::size_t j = 0; j < q; ++j) {
            const double right = mKnots[s + j + 1] - x;
            const double left = x - mKnots[s + 1 + j - q];
            const double part = below[j] / (right + left);
            row[j] = carried + right * part;
            carried = left * part;
        }
        row[q] = carried;
    }
    basis.value = row;
}

} // namespace standin::geom
