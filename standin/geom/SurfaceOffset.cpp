#include "standin/geom/Nearest.h"
#include "standin/geom/Numeric.h"
#include "standin/geom/Surface.h"
#include "standin/geom/SurfaceDetail.h"

#include <cmath>

namespace standin::geom {

namespace {

class Offset final : public Surface
{
public:
    Offset(SurfacePtr basis, double distance) : mBasis(std::move(basis)), mDistance(distance)
    {
        Param from;
        Param to;
        mBasis->naturalRange(from, to);
        // On the other kinds the basis has the same foot points and finds them without a search.
        mSearches = mBasis->kind() == SurfaceKind::bspline || mBasis->kind() == SurfaceKind::offset;
        mSearches = mSearches && std::isfinite(from.u + to.u + from.v + to.v);
        std::vector<double> u = spaced(0.0, 6.0, 6);
        std::vector<double> v = u;
        if (mSearches) {
            mBasis->breaks(u, v);
            u = gridParameters(from.u, to.u, u, 3, 8, 96);
            v = gridParameters(from.v, to.v, v, 3, 8, 96);
            mGrid = SampleGrid(*this, u, v);
        }
        for (Pole pole : mBasis->poles()) {
            const double tolerance = 1e-6 * std::fabs(mDistance);
            if (collapses(*this, pole.constantU, pole.at, pole.constantU ? v : u, tolerance,
                          pole.point)) {
                mPoles.push_back(pole);
            }
        }
    }

    [[nodiscard]] SurfaceKind kind() const noexcept override { return SurfaceKind::offset; }
    [[nodiscard]] Vec at(Param p) const override
    {
        return mBasis->at(p) + mBasis->normal(p) * mDistance;
    }
    void derivatives(Param p, Vec& du, Vec& dv) const override;
    void secondDerivatives(Param p, Vec& duu, Vec& duv, Vec& dvv) const override;
    [[nodiscard]] Vec normal(Param p) const override { return normalByDerivatives(*this, p); }
    [[nodiscard]] Param period() const noexcept override { return mBasis->period(); }
    void naturalRange(Param& from, Param& to) const noexcept override
    {
        mBasis->naturalRange(from, to);
    }
    [[nodiscard]] std::vector<Pole> poles() const override { return mPoles; }
    void breaks(std::vector<double>& u, std::vector<double>& v) const override
    {
        mBasis->breaks(u, v);
    }
    [[nodiscard]] Param parameterAt(const Vec& point, const Param* guess) const override
    {
        return mSearches ? mGrid.nearest(*this, point, guess) : mBasis->parameterAt(point, guess);
    }

private:
    SurfacePtr mBasis;
    double mDistance;
    bool mSearches{};
    SampleGrid mGrid;
    std::vector<Pole> mPoles;
};

void Offset::derivatives(Param p, Vec& du, Vec& dv) const
{
    Vec duu;
    Vec duv;
    Vec dvv;
    mBasis->derivatives(p, du, dv);
    mBasis->secondDerivatives(p, duu, duv, dvv);
    const Vec n = cross(du, dv);
    const double size = geom::length(n);
    if (!(size > 1e-12 * (dot(du, du) + dot(dv, dv)))) {
        return;
    }
    const Vec unitNormal = n * (1.0 / size);
    const auto turn = [&](const Vec& change) {
        return (change - unitNormal * dot(change, unitNormal)) * (mDistance / size);
    };
    const Vec nu = cross(duu, dv) + cross(du, duv);
    const Vec nv = cross(duv, dv) + cross(du, dvv);
    du = du + turn(nu);
    dv = dv + turn(nv);
}

// Third derivatives of the basis would be needed; differences serve, since only searches use these.
void Offset::secondDerivatives(Param p, Vec& duu, Vec& duv, Vec& dvv) const
{
    Param from;
    Param to;
    naturalRange(from, to);
    const auto step = [](double low, double high) {
        return std::isfinite(high - low) ? 1e-5 * (high - low) : 1e-5;
    };
    const double hu = step(from.u, to.u);
    const double hv = step(from.v, to.v);
    const auto low = [](double value, double bound, double h, double repeat) {
        return repeat > 0.0 ? value - h : std::fmax(value - h, bound);
    };
    const auto high = [](double value, double bound, double h, double repeat) {
        return repeat > 0.0 ? value + h : std::fmin(value + h, bound);
    };
    const double u0 = low(p.u, from.u, hu, period().u);
    const double u1 = high(p.u, to.u, hu, period().u);
    const double v0 = low(p.v, from.v, hv, period().v);
    const double v1 = high(p.v, to.v, hv, period().v);
    Vec du0;
    Vec dv0;
    Vec du1;
    Vec dv1;
    derivatives({u0, p.v}, du0, dv0);
    derivatives({u1, p.v}, du1, dv1);
    duu = (du1 - du0) * (1.0 / (u1 - u0));
    duv = (dv1 - dv0) * (1.0 / (u1 - u0));
    derivatives({p.u, v0}, du0, dv0);
    derivatives({p.u, v1}, du1, dv1);
    dvv = (dv1 - dv0) * (1.0 / (v1 - v0));
}

} // namespace

SurfacePtr makeOffset(SurfacePtr basis, double distance)
{
    return std::make_shared<Offset>(std::move(basis), distance);
}

} // namespace standin::geom
