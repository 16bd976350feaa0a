#include "standin/geom/Numeric.h"

#include <array>
#include <cmath>

namespace standin::geom {

namespace {

constexpr int kPairs = 8;

// Abscissas and weights of 16-point Gauss-Legendre quadrature on [-1, 1].
struct GaussRule
{
    std::array<double, kPairs> x{};
    std::array<double, kPairs> w{};

    GaussRule()
    {
        constexpr int n = 2 * kPairs;
        for (int i = 0; i < kPairs; ++i) {
            double root = std::cos(kPi * (i + 0.75) / (n + 0.5));
            double slope = 1.0;
            for (int step = 0; step < 20; ++step) {
                double p0 = 1.0;
                double p1 = root;
                for (int k = 2; k <= n; ++k) {
                    const double p2 = ((2.0 * k - 1.0) * root * p1 - (k - 1.0) * p0) / k;
                    p0 = p1;
                    p1 = p2;
                }
                slope = n * (root * p1 - p0) / (root * root - 1.0);
                root -= p1 / slope;
            }
            x[static_cast<std::size_t>(i)] = root;
            w[static_cast<std::size_t>(i)] = 2.0 / ((1.0 - root * root) * slope * slope);
        }
    }
};

double gauss(const std::function<double(double)>& f, double from, double to)
{
    static const GaussRule rule;
    const double mid = 0.5 * (from + to);
    const double half = 0.5 * (to - from);
    double sum = 0.0;
    for (std::size_t i = 0; i < kPairs; ++i) {
        sum += rule.w[i] * (f(mid - half * rule.x[i]) + f(mid + half * rule.x[i]));
    }
    return sum * half;
}

// Halves panels until both halves agree with the whole; the budget ends it on noisy functions.
struct AdaptiveIntegral
{
    const std::function<double(double)>& f;
    double scale{};
    int budget{20000};

    double part(double from, double to, double whole, int depth)
    {
        const double mid = 0.5 * (from + to);
        const double left = gauss(f, from, mid);
        const double right = gauss(f, mid, to);
        const double sum = left + right;
        budget -= 2;
        if (depth <= 0 || budget <= 0 || !(std::fabs(sum - whole) > 1e-13 * scale)) {
            return sum;
        }
        return part(from, mid, left, depth - 1) + part(mid, to, right, depth - 1);
    }
};

double squaredDistance(const Vec& a, const Vec& b) noexcept
{
    return dot(a - b, a - b);
}

// The slope of half the squared distance.
double slope(const CurvePoint& c, const Vec& point)
{
    return dot(c.p - point, c.d1);
}

// Newton's method on the derivative of the squared distance, kept inside [low, high], where the
// curve is smooth. Without a minimum inside it gives an end.
double polish(const std::function<CurvePoint(double)>& curve, const Vec& point, double low,
              double high)
{
    // At a corner the derivative belongs to one side only: look just inside.
    const double inset = 1e-9 * (high - low);
    if (!(slope(curve(low + inset), point) < 0.0)) {
        return low;
    }
    if (!(slope(curve(high - inset), point) > 0.0)) {
        return high;
    }
    double t = 0.5 * (low + high);
    for (int step = 0; step < 60; ++step) {
        const CurvePoint c = curve(t);
        const double g = slope(c, point);
        const double h = dot(c.d1, c.d1) + dot(c.p - point, c.d2);
        (g > 0.0 ? high : low) = t;
        double next = h > 0.0 ? t - g / h : low;
        if (!(next > low && next < high)) {
            next = 0.5 * (low + high);
        }
        const double moved = std::fabs(next - t);
        t = next;
        if (!(moved > 1e-16 * (1.0 + std::fabs(t)))) {
            break;
        }
    }
    return t;
}

} // namespace

double wrapped(double value, double from, double period) noexcept
{
    if (!(period > 0.0) || (value >= from && value <= from + period)) {
        return value;
    }
    const double moved = value - period * std::floor((value - from) / period);
    return std::fmin(std::fmax(moved, from), from + period);
}

double unwrapped(double value, double hint, double period) noexcept
{
    return period > 0.0 ? value + period * std::round((hint - value) / period) : value;
}

double integrate(const std::function<double(double)>& f, double from, double to)
{
    if (from == to) {
        return 0.0;
    }
    const double whole = gauss(f, from, to);
    return AdaptiveIntegral{f, std::fabs(whole)}.part(from, to, whole, 40);
}

std::vector<double> spaced(double from, double to, int count)
{
    std::vector<double> values;
    values.reserve(static_cast<std::size_t>(std::max(count, 0)) + 1);
    for (int i = 0; i < count; ++i) {
        values.push_back(from + (to - from) * i / count);
    }
    values.push_back(to);
    return values;
}

double nearestParameter(const std::function<CurvePoint(double)>& curve, const Vec& point,
                        const std::vector<double>& samples, const double* hint)
{
    std::vector<double> d(samples.size());
    double scale = 0.0;
    Vec first;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const Vec p = curve(samples[i]).p;
        first = i == 0 ? p : first;
        d[i] = squaredDistance(p, point);
        scale = std::fmax(scale, squaredDistance(p, first));
    }
    double best = samples[0];
    double bestDistance = d[0];
    const double tie = 1e-20 * scale;
    const auto take = [&](double t) {
        const double distance = squaredDistance(curve(t).p, point);
        const bool nearer = distance < bestDistance - tie;
        const bool preferred = hint != nullptr && distance <= bestDistance + tie &&
                               std::fabs(t - *hint) < std::fabs(best - *hint);
        if (nearer || preferred || (hint == nullptr && distance < bestDistance)) {
            best = t;
            bestDistance = distance;
        }
    };
    const std::size_t last = samples.size() - 1;
    for (std::size_t i = 0; i <= last; ++i) {
        const bool minimum = (i == 0 || d[i] <= d[i - 1]) && (i == last || d[i] <= d[i + 1]);
        if (minimum) {
            take(samples[i]);
            if (i > 0) {
                take(polish(curve, point, samples[i - 1], samples[i]));
            }
            if (i < last) {
                take(polish(curve, point, samples[i], samples[i + 1]));
            }
        }
    }
    return best;
}

double greatest(const std::function<double(double)>& f, double from, double to)
{
    constexpr double ratio = 0.61803398874989484820;
    double low = from;
    double high = to;
    double a = high - ratio * (high - low);
    double b = low + ratio * (high - low);
    double fa = f(a);
    double fb = f(b);
    for (int step = 0; step < 60 && high - low > 1e-12 * (std::fabs(low) + std::fabs(high));
         ++step) {
        if (fa > fb) {
            high = b;
            b = a;
            fb = fa;
            a = high - ratio * (high - low);
            fa = f(a);
        } else {
            low = a;
            a = b;
            fa = fb;
            b = low + ratio * (high - low);
            fb = f(b);
        }
    }
    return 0.5 * (low + high);
}

} // namespace standin::geom
