//! @file
//! Numerical helpers shared by curves and surfaces: quadrature, one-dimensional searches, periods.

#pragma once

#include "standin/geom/Vec.h"

#include <algorithm>
#include <functional>
#include <vector>

namespace standin::geom {

constexpr double kPi = 3.14159265358979323846;
constexpr double kTwoPi = 2.0 * kPi;

//! Moves a value by whole periods into [from, from + period]; a period of 0 leaves it alone.
[[nodiscard]] double wrapped(double value, double from, double period) noexcept;

//! Moves a value by whole periods next to another one; a period of 0 leaves it alone.
[[nodiscard]] double unwrapped(double value, double hint, double period) noexcept;

//! Integrates a function by adaptive Gauss-Legendre quadrature, relative error about 1e-12 where it
//! is smooth.
[[nodiscard]] double integrate(const std::function<double(double)>& f, double from, double to);

//! A curve's point with its first and second derivative.
struct CurvePoint
{
    Vec p;
    Vec d1;
    Vec d2;
};

//! Gives the parameter in [samples.front(), samples.back()] at which the distance of a curve to a
//! point is least. Starts at the samples nearest to the point, ends with Newton's method.
//! @param samples  ascending, at least 2; dense enough that no minimum hides between two
//! @param hint     of minima that are equally near the one next to this parameter is taken; may be
//!                 null
[[nodiscard]] double nearestParameter(const std::function<CurvePoint(double)>& curve,
                                      const Vec& point, const std::vector<double>& samples,
                                      const double* hint = nullptr);

//! Gives count + 1 equally spaced values from `from` to `to`; `to` alone when count is below 1.
[[nodiscard]] std::vector<double> spaced(double from, double to, int count);

//! Gives the place in [from, to] where a function with one maximum there is greatest.
[[nodiscard]] double greatest(const std::function<double(double)>& f, double from, double to);

} // namespace standin::geom
