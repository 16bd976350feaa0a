#include "standin/geom/BSplineBasis.h"
#include "standin/geom/Nearest.h"
#include "standin/geom/Numeric.h"
#include "standin/geom/Surface.h"
#include "standin/geom/SurfaceDetail.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace standin::geom {

namespace {

constexpr const char* kSubject = "B-spline surface";

std::size_t checkedCount(int count, int other, std::size_t poles)
{
    if (count < 1 || other < 1 ||
        static_cast<std::size_t>(count) * static_cast<std::size_t>(other) != poles) {
        throw std::invalid_argument(std::string(kSubject) + ": wanted " + std::to_string(count) +
                                    " x " + std::to_string(other) + " poles, found " +
                                    std::to_string(poles));
    }
    return static_cast<std::size_t>(count);
}

class BSplineSurface final : public Surface
{
public:
    BSplineSurface(int degreeU, int degreeV, int countU, int countV, const std::vector<Vec>& poles,
                   const std::vector<double>& weights, std::vector<double> knotsU,
                   std::vector<double> knotsV, bool closedU, bool closedV)
        : mPoles(weightedPoles(kSubject, poles, weights)),
          mU(kSubject, degreeU, checkedCount(countU, countV, poles.size()), std::move(knotsU)),
          mV(kSubject, degreeV, checkedCount(countV, countU, poles.size()), std::move(knotsV)),
          mColumns(static_cast<std::size_t>(countV))
    {
        Box hull;
        for (const Weighted& pole : mPoles) {
            hull.add(projected(pole));
        }
        mSize = length(hull.max - hull.min);
        const std::vector<double> u =
            gridParameters(mU.from(), mU.to(), mU.inner(), std::max(2, degreeU), 8, 96);
        const std::vector<double> v =
            gridParameters(mV.from(), mV.to(), mV.inner(), std::max(2, degreeV), 8, 96);
        closeWhereEndsMeet(u, v, closedU, closedV);
        findPoles(u, v);
        mGrid = SampleGrid(*this, u, v);
    }

    [[nodiscard]] SurfaceKind kind() const noexcept override { return SurfaceKind::bspline; }
    [[nodiscard]] Vec at(Param p) const override;
    void derivatives(Param p, Vec& du, Vec& dv) const override
    {
        const SurfacePoint all = evaluate(p);
        du = all.du;
        dv = all.dv;
    }
    void secondDerivatives(Param p, Vec& duu, Vec& duv, Vec& dvv) const override
    {
        const SurfacePoint all = evaluate(p);
        duu = all.duu;
        duv = all.duv;
        dvv = all.dvv;
    }
    [[nodiscard]] SurfacePoint evaluate(Param p) const override;
    [[nodiscard]] Vec normal(Param p) const override { return normalByDerivatives(*this, p); }
    [[nodiscard]] Param period() const noexcept override { return {mU.period(), mV.period()}; }
    void naturalRange(Param& from, Param& to) const noexcept override
    {
        from = {mU.from(), mV.from()};
        to = {mU.to(), mV.to()};
    }
    [[nodiscard]] std::vector<Pole> poles() const override { return mCollapsed; }
    void breaks(std::vector<double>& u, std::vector<double>& v) const override
    {
        u = mU.inner();
        v = mV.inner();
    }
    [[nodiscard]] Param parameterAt(const Vec& point, const Param* guess) const override
    {
        return mGrid.nearest(*this, point, guess);
    }

private:
    void closeWhereEndsMeet(const std::vector<double>& u, const std::vector<double>& v,
                            bool closedU, bool closedV);
    void findPoles(const std::vector<double>& u, const std::vector<double>& v);
    std::vector<Weighted> mPoles;
    KnotVector mU;
    KnotVector mV;
    std::size_t mColumns;
    double mSize{};
    std::vector<Pole> mCollapsed;
    SampleGrid mGrid;
};

Vec BSplineSurface::at(Param p) const
{
    Basis bu;
    Basis bv;
    mU.evaluate(p.u, bu);
    mV.evaluate(p.v, bv);
    Weighted s;
    for (std::size_t i = 0; i <= static_cast<std::size_t>(mU.degree()); ++i) {
        const Weighted* row = &mPoles[(bu.first + i) * mColumns + bv.first];
        Weighted part;
        for (std::size_t j = 0; j <= static_cast<std::size_t>(mV.degree()); ++j) {
            part = part + row[j] * bv.value[j];
        }
        s = s + part * bu.value[i];
    }
    return projected(s);
}

SurfacePoint BSplineSurface::evaluate(Param p) const
{
    Basis bu;
    Basis bv;
    mU.evaluate(p.u, bu);
    mV.evaluate(p.v, bv);
    Weighted s;
    Weighted su;
    Weighted sv;
    Weighted suu;
    Weighted suv;
    Weighted svv;
    for (std::size_t i = 0; i <= static_cast<std::size_t>(mU.degree()); ++i) {
        const Weighted* row = &mPoles[(bu.first + i) * mColumns + bv.first];
        Weighted value;
        Weighted slope;
        Weighted bend;
        for (std::size_t j = 0; j <= static_cast<std::size_t>(mV.degree()); ++j) {
            value = value + row[j] * bv.value[j];
            slope = slope + row[j] * bv.slope[j];
            bend = bend + row[j] * bv.bend[j];
        }
        s = s + value * bu.value[i];
        su = su + value * bu.slope[i];
        sv = sv + slope * bu.value[i];
        suu = suu + value * bu.bend[i];
        suv = suv + slope * bu.slope[i];
        svv = svv + bend * bu.value[i];
    }
    const double scale = 1.0 / s.w;
    SurfacePoint r;
    r.p = s.p * scale;
    r.du = (su.p - r.p * su.w) * scale;
    r.dv = (sv.p - r.p * sv.w) * scale;
    r.duu = (suu.p - r.du * (2.0 * su.w) - r.p * suu.w) * scale;
    r.duv = (suv.p - r.du * sv.w - r.dv * su.w - r.p * suv.w) * scale;
    r.dvv = (svv.p - r.dv * (2.0 * sv.w) - r.p * svv.w) * scale;
    return r;
}

void BSplineSurface::closeWhereEndsMeet(const std::vector<double>& u, const std::vector<double>& v,
                                        bool closedU, bool closedV)
{
    double gapU = 0.0;
    double gapV = 0.0;
    double lengthU = 0.0;
    double lengthV = 0.0;
    for (const double b : v) {
        gapU = std::fmax(gapU, distance(at({mU.from(), b}), at({mU.to(), b})));
        lengthU =
            std::fmax(lengthU, distance(at({mU.from(), b}), at({0.5 * (mU.from() + mU.to()), b})));
    }
    for (const double a : u) {
        gapV = std::fmax(gapV, distance(at({a, mV.from()}), at({a, mV.to()})));
        lengthV =
            std::fmax(lengthV, distance(at({a, mV.from()}), at({a, 0.5 * (mV.from() + mV.to())})));
    }
    // A strip of no width is not closed across.
    if (gapU <= (closedU ? 1e-6 : 1e-9) * mSize && lengthU > 1e-4 * mSize) {
        mU.close();
    }
    if (gapV <= (closedV ? 1e-6 : 1e-9) * mSize && lengthV > 1e-4 * mSize) {
        mV.close();
    }
}

void BSplineSurface::findPoles(const std::vector<double>& u, const std::vector<double>& v)
{
    const double tolerance = 1e-8 * mSize;
    Vec point;
    for (const double end : {mU.from(), mU.to()}) {
        if (mU.period() <= 0.0 && collapses(*this, true, end, v, tolerance, point)) {
            mCollapsed.push_back({true, end, point});
        }
    }
    for (const double end : {mV.from(), mV.to()}) {
        if (mV.period() <= 0.0 && collapses(*this, false, end, u, tolerance, point)) {
            mCollapsed.push_back({false, end, point});
        }
    }
}

} // namespace

SurfacePtr makeBSplineSurface(int degreeU, int degreeV, int countU, int countV,
                              std::vector<Vec> poles, std::vector<double> weights,
                              std::vector<double> knotsU, std::vector<double> knotsV, bool closedU,
                              bool closedV)
{
    return std::make_shared<BSplineSurface>(degreeU, degreeV, countU, countV, poles, weights,
                                            std::move(knotsU), std::move(knotsV), closedU, closedV);
}

} // namespace standin::geom
