//! @file
//! Surfaces of the stand-in host: planes, cylinders, cones, spheres, tori, B-splines, surfaces of
//! extrusion and revolution, offsets. A face says which part of a surface it uses.

#pragma once

#include "standin/geom/Curve.h"

#include <memory>
#include <vector>

namespace standin::geom {

enum class SurfaceKind
{
    plane,
    cylinder,
    cone,
    sphere,
    torus,
    bspline,
    extrusion,
    revolution,
    offset
};

//! Surface parameters.
struct Param
{
    double u{};
    double v{};
};

//! A line of constant parameter that collapses into a point (a sphere's poles, a cone's apex).
struct Pole
{
    bool constantU{}; //!< the line runs along v at a constant u; otherwise along u at a constant v
    double at{};      //!< the constant parameter
    Vec point;
};

//! A surface's point with its first and second derivatives.
struct SurfacePoint
{
    Vec p;
    Vec du;
    Vec dv;
    Vec duu;
    Vec duv;
    Vec dvv;
};

//! An immutable parametric surface. Angles are radians.
class Surface
{
public:
    Surface() = default;
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;
    virtual ~Surface();

    [[nodiscard]] virtual SurfaceKind kind() const noexcept = 0;
    [[nodiscard]] virtual Vec at(Param p) const = 0;
    virtual void derivatives(Param p, Vec& du, Vec& dv) const = 0;
    virtual void secondDerivatives(Param p, Vec& duu, Vec& duv, Vec& dvv) const = 0;
    //! Gives the point and the derivatives together, which costs little more than one of them.
    [[nodiscard]] virtual SurfacePoint evaluate(Param p) const;
    //! Gives the unit normal, du x dv where that has a length; at a pole or an apex the limit.
    [[nodiscard]] virtual Vec normal(Param p) const = 0;
    //! Gives the period in u and in v, 0 for a direction that does not repeat.
    [[nodiscard]] virtual Param period() const noexcept = 0;
    //! Gives the natural parameter ranges; infinite where the surface is unbounded.
    virtual void naturalRange(Param& from, Param& to) const noexcept = 0;
    //! Gives the lines of constant parameter that collapse into a point.
    [[nodiscard]] virtual std::vector<Pole> poles() const;
    //! Gives the parameters inside the natural range where the formula changes (knots), ascending.
    virtual void breaks(std::vector<double>& u, std::vector<double>& v) const;
    //! Gives the parameters of the surface point nearest to a point; periodic parameters fall in
    //! the natural range. Where the point does not settle a parameter (a pole), the guess does.
    //! @param guess  a start for surfaces without a closed form, may be null
    [[nodiscard]] virtual Param parameterAt(const Vec& point, const Param* guess) const = 0;
};

using SurfacePtr = std::shared_ptr<const Surface>;

//! at(u, v) = origin + u x + v y.
[[nodiscard]] SurfacePtr makePlane(const Frame& frame);
//! u: angle, v: height along z.
[[nodiscard]] SurfacePtr makeCylinder(const Frame& frame, double radius);
//! u: angle, v: height along z; the radius at height v is radius + v tan(semiAngle). The natural
//! range ends at the apex.
[[nodiscard]] SurfacePtr makeCone(const Frame& frame, double radius, double semiAngle);
//! u: longitude, v: latitude in [-pi/2, pi/2].
[[nodiscard]] SurfacePtr makeSphere(const Frame& frame, double radius);
//! u: angle about z, v: angle about the tube.
[[nodiscard]] SurfacePtr makeTorus(const Frame& frame, double majorRadius, double minorRadius);
//! Poles row by row: the pole (i, j), i along u, stands at i * countV + j. Degrees 1 to 32. As for
//! curves, a claim of closedU or closedV is held against the surface, which decides.
//! @throws std::invalid_argument  when the counts do not fit or a weight or knot is not usable
[[nodiscard]] SurfacePtr makeBSplineSurface(int degreeU, int degreeV, int countU, int countV,
                                            std::vector<Vec> poles, std::vector<double> weights,
                                            std::vector<double> knotsU, std::vector<double> knotsV,
                                            bool closedU, bool closedV);
//! u: the profile's parameter, v: distance along the unit direction.
[[nodiscard]] SurfacePtr makeExtrusion(CurvePtr profile, const Vec& direction);
//! u: angle about the axis, v: the profile's parameter.
[[nodiscard]] SurfacePtr makeRevolution(CurvePtr profile, const Vec& axisPoint,
                                        const Vec& axisDirection);
//! The basis moved along its normal.
[[nodiscard]] SurfacePtr makeOffset(SurfacePtr basis, double distance);

} // namespace standin::geom
