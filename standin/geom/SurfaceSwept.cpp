#include "standin/geom/Nearest.h"
#include "standin/geom/Numeric.h"
#include "standin/geom/Surface.h"
#include "standin/geom/SurfaceDetail.h"

#include <cmath>

namespace standin::geom {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The parameters at which the search for a profile's nearest point starts; around a place where the
// profile has no ends.
std::vector<double> profileSamples(const Curve& profile, double around)
{
    double from = 0.0;
    double to = 0.0;
    profile.naturalRange(from, to);
    const double reach = 2.0 + std::fabs(around);
    from = std::isfinite(from) ? from : around - reach;
    to = std::isfinite(to) ? to : around + reach;
    return gridParameters(from, to, profile.breaks(from, to), 4, 24, 400);
}

bool endless(const Curve& profile)
{
    double from = 0.0;
    double to = 0.0;
    profile.naturalRange(from, to);
    return !std::isfinite(from) || !std::isfinite(to);
}

// Brings the parameter of a closed profile into its natural range.
double natural(const Curve& profile, double t)
{
    double from = 0.0;
    double to = 0.0;
    profile.naturalRange(from, to);
    return wrapped(t, from, profile.period());
}

class Extrusion final : public Surface
{
public:
    Extrusion(CurvePtr profile, const Vec& direction)
        : mProfile(std::move(profile)),
          mDirection(unit(direction)),
          mEndless(endless(*mProfile))
    {
        if (!mEndless) {
            mSamples = profileSamples(*mProfile, 0.0);
        }
    }

    [[nodiscard]] SurfaceKind kind() const noexcept override { return SurfaceKind::extrusion; }
    [[nodiscard]] Vec at(Param p) const override { return mProfile->at(p.u) + mDirection * p.v; }
    void derivatives(Param p, Vec& du, Vec& dv) const override
    {
        du = mProfile->derivative(p.u);
        dv = mDirection;
    }
    void secondDerivatives(Param p, Vec& duu, Vec& duv, Vec& dvv) const override
    {
        duu = mProfile->secondDerivative(p.u);
        duv = dvv = Vec{};
    }
    [[nodiscard]] Vec normal(Param p) const override { return normalByDerivatives(*this, p); }
    [[nodiscard]] Param period() const noexcept override { return {mProfile->period(), 0.0}; }
    void naturalRange(Param& from, Param& to) const noexcept override
    {
        mProfile->naturalRange(from.u, to.u);
        from.v = -kInfinity;
        to.v = kInfinity;
    }
    void breaks(std::vector<double>& u, std::vector<double>& v) const override
    {
        double from = 0.0;
        double to = 0.0;
        mProfile->naturalRange(from, to);
        u = mEndless ? std::vector<double>{} : mProfile->breaks(from, to);
        v.clear();
    }
    [[nodiscard]] Param parameterAt(const Vec& point, const Param* guess) const override
    {
        const double u = natural(*mProfile, nearestProfile(point, guess));
        return {u, dot(point - mProfile->at(u), mDirection)};
    }

private:
    // The nearest place of the profile seen along the direction.
    [[nodiscard]] double nearestProfile(const Vec& point, const Param* guess) const
    {
        const auto flat = [this](const Vec& v) { return v - mDirection * dot(v, mDirection); };
        if (mProfile->kind() == CurveKind::line) {
            const Vec along = flat(mProfile->derivative(0.0));
            const double square = dot(along, along);
            return square > 0.0 ? dot(point - mProfile->at(0.0), along) / square : 0.0;
        }
        const auto seen = [&](double t) {
            return CurvePoint{flat(mProfile->at(t)), flat(mProfile->derivative(t)),
                              flat(mProfile->secondDerivative(t))};
        };
        const double* hint = guess != nullptr ? &guess->u : nullptr;
        if (!mEndless) {
            return nearestParameter(seen, flat(point), mSamples, hint);
        }
        const double around = mProfile->parameterAt(point, -kInfinity, kInfinity);
        return nearestParameter(seen, flat(point), profileSamples(*mProfile, around), hint);
    }

    CurvePtr mProfile;
    Vec mDirection;
    bool mEndless;
    std::vector<double> mSamples;
};

class Revolution final : public Surface
{
public:
    Revolution(CurvePtr profile, const Vec& axisPoint, const Vec& axisDirection)
        : mProfile(std::move(profile)),
          mOrigin(axisPoint),
          mAxis(unit(axisDirection)),
          mEndless(endless(*mProfile))
    {
        if (!mEndless) {
            mSamples = profileSamples(*mProfile, 0.0);
        }
        findPoles();
    }

    [[nodiscard]] SurfaceKind kind() const noexcept override { return SurfaceKind::revolution; }
    [[nodiscard]] Vec at(Param p) const override
    {
        return mOrigin + turned(mProfile->at(p.v) - mOrigin, p.u);
    }
    void derivatives(Param p, Vec& du, Vec& dv) const override
    {
        du = cross(mAxis, turned(mProfile->at(p.v) - mOrigin, p.u));
        dv = turned(mProfile->derivative(p.v), p.u);
    }
    void secondDerivatives(Param p, Vec& duu, Vec& duv, Vec& dvv) const override
    {
        duu = -across(turned(mProfile->at(p.v) - mOrigin, p.u));
        duv = cross(mAxis, turned(mProfile->derivative(p.v), p.u));
        dvv = turned(mProfile->secondDerivative(p.v), p.u);
    }
    [[nodiscard]] Vec normal(Param p) const override { return normalByDerivatives(*this, p); }
    [[nodiscard]] Param period() const noexcept override { return {kTwoPi, mProfile->period()}; }
    void naturalRange(Param& from, Param& to) const noexcept override
    {
        from.u = 0.0;
        to.u = kTwoPi;
        mProfile->naturalRange(from.v, to.v);
    }
    [[nodiscard]] std::vector<Pole> poles() const override { return mPoles; }
    void breaks(std::vector<double>& u, std::vector<double>& v) const override
    {
        double from = 0.0;
        double to = 0.0;
        mProfile->naturalRange(from, to);
        v = mEndless ? std::vector<double>{} : mProfile->breaks(from, to);
        u.clear();
    }
    [[nodiscard]] Param parameterAt(const Vec& point, const Param* guess) const override;

private:
    [[nodiscard]] Vec across(const Vec& v) const { return v - mAxis * dot(v, mAxis); }
    [[nodiscard]] Vec turned(const Vec& v, double angle) const
    {
        const Vec flat = across(v);
        return mAxis * dot(v, mAxis) + flat * std::cos(angle) +
               cross(mAxis, flat) * std::sin(angle);
    }
    [[nodiscard]] double radius(double t) const
    {
        return geom::length(across(mProfile->at(t) - mOrigin));
    }
    void findPoles();

    CurvePtr mProfile;
    Vec mOrigin;
    Vec mAxis;
    bool mEndless;
    std::vector<double> mSamples;
    std::vector<Pole> mPoles;
};

void Revolution::findPoles()
{
    const double hint = mEndless ? mProfile->parameterAt(mOrigin, -kInfinity, kInfinity) : 0.0;
    std::vector<double> samples = mEndless ? profileSamples(*mProfile, hint) : mSamples;
    if (mProfile->kind() == CurveKind::line) {
        const Vec along = across(mProfile->derivative(0.0));
        const double square = dot(along, along);
        const double t =
            square > 1e-20 ? -dot(across(mProfile->at(0.0) - mOrigin), along) / square : hint;
        samples = {t - 1.0, t, t + 1.0};
    }
    double size = 0.0;
    for (const double t : samples) {
        size = std::fmax(size, radius(t));
    }
    const double period = mProfile->period();
    const auto take = [&](double t) {
        const bool known = !mPoles.empty() && std::fabs(t - mPoles.back().at) < 1e-6;
        // The two ends of a closed profile are one place.
        const bool again = !mPoles.empty() && period > 0.0 &&
                           std::fabs(t - mPoles.front().at - period) < 1e-6 * period;
        if (!known && !again && radius(t) <= 1e-9 * size) {
            mPoles.push_back({false, t, mOrigin + mAxis * dot(mProfile->at(t) - mOrigin, mAxis)});
        }
    };
    const auto closeness = [this](double t) { return -radius(t); };
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double low = samples[i == 0 ? 0 : i - 1];
        const double high = samples[i + 1 == samples.size() ? i : i + 1];
        if (radius(samples[i]) <= radius(low) && radius(samples[i]) <= radius(high)) {
            take(samples[i]);
            take(greatest(closeness, low, high));
        }
    }
}

Param Revolution::parameterAt(const Vec& point, const Param* guess) const
{
    // In the half plane of distance from the axis and height along it the profile is a curve.
    const Vec local = point - mOrigin;
    const auto seen = [this](double t) {
        const Vec p = mProfile->at(t) - mOrigin;
        const Vec d1 = mProfile->derivative(t);
        const Vec d2 = mProfile->secondDerivative(t);
        const Vec flat = across(p);
        const double r = geom::length(flat);
        const double slope = r > 0.0 ? dot(flat, d1) / r : geom::length(across(d1));
        const Vec flat1 = across(d1);
        const double bend = r > 0.0 ? (dot(flat1, flat1) + dot(flat, d2) - slope * slope) / r : 0.0;
        return CurvePoint{
            {r, dot(p, mAxis), 0.0}, {slope, dot(d1, mAxis), 0.0}, {bend, dot(d2, mAxis), 0.0}};
    };
    const Vec target{geom::length(across(local)), dot(local, mAxis), 0.0};
    const double* hint = guess != nullptr ? &guess->v : nullptr;
    double v = 0.0;
    if (mEndless) {
        const double around = mProfile->parameterAt(point, -kInfinity, kInfinity);
        v = nearestParameter(seen, target, profileSamples(*mProfile, around), hint);
    } else {
        v = natural(*mProfile, nearestParameter(seen, target, mSamples, hint));
    }
    const Vec start = across(mProfile->at(v) - mOrigin);
    const Vec end = across(local);
    const double settled = geom::length(start) * geom::length(end);
    if (!(settled > 1e-24) && guess != nullptr) {
        return {wrapped(guess->u, 0.0, kTwoPi), v};
    }
    const double angle = std::atan2(dot(cross(start, end), mAxis), dot(start, end));
    return {wrapped(angle, 0.0, kTwoPi), v};
}

} // namespace

SurfacePtr makeExtrusion(CurvePtr profile, const Vec& direction)
{
    return std::make_shared<Extrusion>(std::move(profile), direction);
}

SurfacePtr makeRevolution(CurvePtr profile, const Vec& axisPoint, const Vec& axisDirection)
{
    return std::make_shared<Revolution>(std::move(profile), axisPoint, axisDirection);
}

} // namespace standin::geom
