//! @file
//! Curves of the stand-in host: lines, circles, ellipses, B-splines and what else STEP files bound
//! faces with. A curve is unbounded or a full period; an edge says which stretch it uses.

#pragma once

#include "standin/geom/Vec.h"

#include <memory>
#include <vector>

namespace standin::geom {

enum class CurveKind
{
    line,
    circle,
    ellipse,
    hyperbola,
    parabola,
    bspline,
    polyline
};

//! An immutable parametric curve. Angles of circles and ellipses are radians from the frame's x.
class Curve
{
public:
    Curve() = default;
    Curve(const Curve&) = delete;
    Curve& operator=(const Curve&) = delete;
    virtual ~Curve();

    [[nodiscard]] virtual CurveKind kind() const noexcept = 0;
    [[nodiscard]] virtual Vec at(double t) const = 0;
    [[nodiscard]] virtual Vec derivative(double t) const = 0;
    [[nodiscard]] virtual Vec secondDerivative(double t) const = 0;
    //! Gives the period in the parameter, 0 when the curve does not repeat.
    [[nodiscard]] virtual double period() const noexcept = 0;
    //! Gives the natural parameter range: infinite for a line, [0, 2 pi] for a circle, the knot
    //! range for a B-spline.
    virtual void naturalRange(double& from, double& to) const noexcept = 0;
    //! Gives the parameters strictly between from and to where the formula changes (knots,
    //! corners), ascending; from and to must be finite.
    [[nodiscard]] virtual std::vector<double> breaks(double from, double to) const;
    //! Gives the parameter in [from, to] whose point lies nearest to a point.
    [[nodiscard]] virtual double parameterAt(const Vec& point, double from, double to) const = 0;
    //! Gives the exact box of the stretch [from, to], from <= to.
    [[nodiscard]] virtual Box box(double from, double to) const = 0;
    //! Gives the length of the stretch [from, to], relative error at most 1e-10; negative when
    //! to < from.
    [[nodiscard]] virtual double length(double from, double to) const = 0;
};

using CurvePtr = std::shared_ptr<const Curve>;

//! Line through origin; the parameter is the distance along the unit direction.
[[nodiscard]] CurvePtr makeLine(const Vec& origin, const Vec& direction);
[[nodiscard]] CurvePtr makeCircle(const Frame& frame, double radius);
[[nodiscard]] CurvePtr makeEllipse(const Frame& frame, double radiusX, double radiusY);
//! x = a cosh t, y = b sinh t.
[[nodiscard]] CurvePtr makeHyperbola(const Frame& frame, double radiusX, double radiusY);
//! x = f t^2, y = 2 f t.
[[nodiscard]] CurvePtr makeParabola(const Frame& frame, double focal);
//! Outside its knots the curve stands still at its ends, or repeats when it is closed.
//! @param degree   1 to 32
//! @param poles    at least degree + 1
//! @param weights  empty for a polynomial curve, else one positive weight per pole
//! @param knots    every knot written out, poles + degree + 1 of them, not descending
//! @param closed   the file's claim that the start meets the end; the ends decide, within a
//!                 millionth of the curve's size when claimed, a billionth otherwise. The parameter
//!                 of a closed curve repeats.
//! @throws std::invalid_argument  when the counts do not fit or a weight or knot is not usable
[[nodiscard]] CurvePtr makeBSplineCurve(int degree, std::vector<Vec> poles,
                                        std::vector<double> weights, std::vector<double> knots,
                                        bool closed);
//! Points joined by straight lines; the parameter runs from 0, by 1 for each point. It repeats when
//! the last point is the first.
//! @throws std::invalid_argument  for fewer than 2 points
[[nodiscard]] CurvePtr makePolyline(std::vector<Vec> points);

} // namespace standin::geom
