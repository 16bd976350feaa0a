//! @file
//! Basis functions of B-splines in one direction, and points with a weight. Used by B-spline curves
//! and surfaces.

#pragma once

#include "standin/geom/Vec.h"

#include <array>
#include <cstddef>
#include <vector>

namespace standin::geom {

//! The highest degree of a B-spline.
constexpr int kMaxDegree = 32;

//! A point times its weight, and the weight.
struct Weighted
{
    Vec p;
    double w{};
};

[[nodiscard]] inline Weighted operator+(const Weighted& a, const Weighted& b) noexcept
{
    return {a.p + b.p, a.w + b.w};
}
[[nodiscard]] inline Weighted operator*(const Weighted& a, double s) noexcept
{
    return {a.p * s, a.w * s};
}
[[nodiscard]] inline Weighted mixed(const Weighted& a, const Weighted& b, double s) noexcept
{
    return a * (1.0 - s) + b * s;
}
[[nodiscard]] inline Vec projected(const Weighted& a) noexcept
{
    return a.p * (1.0 / a.w);
}

//! Pairs poles with weights; no weights means weight 1 everywhere.
//! @param subject  begins the message of a failure
//! @throws std::invalid_argument  when counts differ or a pole or weight is not usable
[[nodiscard]] std::vector<Weighted> weightedPoles(const char* subject,
                                                  const std::vector<Vec>& poles,
                                                  const std::vector<double>& weights);

//! Values of the basis functions that are not zero at a parameter, with two derivatives.
struct Basis
{
    using Row = std::array<double, kMaxDegree + 1>;

    std::size_t first{}; //!< number of the first pole that counts
    Row value;
    Row slope;
    Row bend;
};

//! The knots of one direction.
class KnotVector
{
public:
    //! @throws std::invalid_argument  when the counts do not fit or the knots are not usable
    KnotVector(const char* subject, int degree, std::size_t poles, std::vector<double> knots);

    [[nodiscard]] int degree() const noexcept { return mDegree; }
    [[nodiscard]] double from() const noexcept { return mKnots[size(mDegree)]; }
    [[nodiscard]] double to() const noexcept { return mKnots[mPoles]; }
    //! Makes the parameter repeat.
    void close() noexcept { mClosed = true; }
    [[nodiscard]] double period() const noexcept { return mClosed ? to() - from() : 0.0; }
    //! Gives the distinct knots strictly between from() and to().
    [[nodiscard]] std::vector<double> inner() const;
    //! Gives the interval (number of its left knot) that holds a parameter.
    [[nodiscard]] std::size_t span(double t) const noexcept;
    //! Brings a parameter into [from(), to()], by periods or by cutting.
    [[nodiscard]] double inside(double t) const noexcept;
    //! Computes the basis functions at a parameter, brought inside first.
    void evaluate(double t, Basis& basis) const noexcept;
    [[nodiscard]] double operator[](std::size_t i) const noexcept { return mKnots[i]; }

private:
    [[nodiscard]] static std::size_t size(int value) noexcept
    {
        return static_cast<std::size_t>(value);
    }

    int mDegree;
    std::size_t mPoles;
    std::vector<double> mKnots;
    bool mClosed{};
};

} // namespace standin::geom
