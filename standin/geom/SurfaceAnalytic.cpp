#include "standin/geom/Numeric.h"
#include "standin/geom/Surface.h"

#include <cmath>

namespace standin::geom {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The angle of a local point about z in [0, 2 pi]; a point on the axis leaves it to the guess.
double longitude(const Vec& local, const Param* guess)
{
    if (std::hypot(local.x, local.y) <= 1e-14 * std::fabs(local.z) && guess != nullptr) {
        return wrapped(guess->u, 0.0, kTwoPi);
    }
    return wrapped(std::atan2(local.y, local.x), 0.0, kTwoPi);
}

class Plane final : public Surface
{
public:
    explicit Plane(const Frame& frame) : mFrame(frame) {}

    [[nodiscard]] SurfaceKind kind() const noexcept override { return SurfaceKind::plane; }
    [[nodiscard]] Vec at(Param p) const override { return mFrame.at(p.u, p.v, 0.0); }
    void derivatives(Param, Vec& du, Vec& dv) const override
    {
        du = mFrame.x;
        dv = mFrame.y;
    }
    void secondDerivatives(Param, Vec& duu, Vec& duv, Vec& dvv) const override
    {
        duu = duv = dvv = Vec{};
    }
    [[nodiscard]] Vec normal(Param) const override { return mFrame.z; }
    [[nodiscard]] Param period() const noexcept override { return {}; }
    void naturalRange(Param& from, Param& to) const noexcept override
    {
        from = {-kInfinity, -kInfinity};
        to = {kInfinity, kInfinity};
    }
    [[nodiscard]] Param parameterAt(const Vec& point, const Param*) const override
    {
        const Vec local = mFrame.local(point);
        return {local.x, local.y};
    }

private:
    Frame mFrame;
};

// Cylinders are cones of no angle; what they share turns a straight line about z.
class Cone : public Surface
{
public:
    Cone(const Frame& frame, double radius, double semiAngle)
        : mFrame(frame),
          mRadius(radius),
          mAngle(semiAngle),
          mSlope(std::tan(semiAngle))
    {}

    [[nodiscard]] SurfaceKind kind() const noexcept override { return SurfaceKind::cone; }
    [[nodiscard]] Vec at(Param p) const override
    {
        return mFrame.origin + radial(p.u) * radiusAt(p.v) + mFrame.z * p.v;
    }
    void derivatives(Param p, Vec& du, Vec& dv) const override
    {
        du = tangential(p.u) * radiusAt(p.v);
        dv = radial(p.u) * mSlope + mFrame.z;
    }
    void secondDerivatives(Param p, Vec& duu, Vec& duv, Vec& dvv) const override
    {
        duu = radial(p.u) * -radiusAt(p.v);
        duv = tangential(p.u) * mSlope;
        dvv = Vec{};
    }
    [[nodiscard]] Vec normal(Param p) const override
    {
        const Vec n = radial(p.u) * std::cos(mAngle) - mFrame.z * std::sin(mAngle);
        return radiusAt(p.v) < 0.0 ? -n : n;
    }
    [[nodiscard]] Param period() const noexcept override { return {kTwoPi, 0.0}; }
    void naturalRange(Param& from, Param& to) const noexcept override
    {
        from = {0.0, mSlope > 0.0 ? apex() : -kInfinity};
        to = {kTwoPi, mSlope < 0.0 ? apex() : kInfinity};
    }
    [[nodiscard]] std::vector<Pole> poles() const override
    {
        return {{false, apex(), mFrame.origin + mFrame.z * apex()}};
    }
    [[nodiscard]] Param parameterAt(const Vec& point, const Param* guess) const override
    {
        const Vec local = mFrame.local(point);
        const double across = std::hypot(local.x, local.y) - mRadius;
        const double v =
            std::cos(mAngle) * (across * std::sin(mAngle) + local.z * std::cos(mAngle));
        return {longitude(local, guess),
                mSlope > 0.0 ? std::fmax(v, apex()) : std::fmin(v, apex())};
    }

protected:
    [[nodiscard]] Vec radial(double u) const
    {
        return mFrame.x * std::cos(u) + mFrame.y * std::sin(u);
    }
    [[nodiscard]] Vec tangential(double u) const
    {
        return mFrame.y * std::cos(u) - mFrame.x * std::sin(u);
    }
    [[nodiscard]] double radiusAt(double v) const { return mRadius + v * mSlope; }
    [[nodiscard]] double apex() const { return -mRadius / mSlope; }

    Frame mFrame;
    double mRadius;
    double mAngle;
    double mSlope;
};

class Cylinder final : public Cone
{
public:
    Cylinder(const Frame& frame, double radius) : Cone(frame, radius, 0.0) {}

    [[nodiscard]] SurfaceKind kind() const noexcept override { return SurfaceKind::cylinder; }
    void naturalRange(Param& from, Param& to) const noexcept override
    {
        from = {0.0, -kInfinity};
        to = {kTwoPi, kInfinity};
    }
    [[nodiscard]] std::vector<Pole> poles() const override { return {}; }
    [[nodiscard]] Param parameterAt(const Vec& point, const Param* guess) const override
    {
        const Vec local = mFrame.local(point);
        return {longitude(local, guess), local.z};
    }
};

// Spheres are tori of no major radius, but for their range, poles and normals.
class Torus : public Surface
{
public:
    Torus(const Frame& frame, double majorRadius, double minorRadius)
        : mFrame(frame),
          mMajor(majorRadius),
          mMinor(minorRadius)
    {}

    [[nodiscard]] SurfaceKind kind() const noexcept override { return SurfaceKind::torus; }
    [[nodiscard]] Vec at(Param p) const override
    {
        return mFrame.origin + radial(p.u) * across(p.v) + mFrame.z * (mMinor * std::sin(p.v));
    }
    void derivatives(Param p, Vec& du, Vec& dv) const override
    {
        du = tangential(p.u) * across(p.v);
        dv = mFrame.z * (mMinor * std::cos(p.v)) - radial(p.u) * (mMinor * std::sin(p.v));
    }
    void secondDerivatives(Param p, Vec& duu, Vec& duv, Vec& dvv) const override
    {
        duu = radial(p.u) * -across(p.v);
        duv = tangential(p.u) * (-mMinor * std::sin(p.v));
        dvv = radial(p.u) * (-mMinor * std::cos(p.v)) - mFrame.z * (mMinor * std::sin(p.v));
    }
    [[nodiscard]] Vec normal(Param p) const override
    {
        const Vec n = radial(p.u) * std::cos(p.v) + mFrame.z * std::sin(p.v);
        return across(p.v) < -1e-15 * mMinor ? -n : n;
    }
    [[nodiscard]] Param period() const noexcept override { return {kTwoPi, kTwoPi}; }
    void naturalRange(Param& from, Param& to) const noexcept override
    {
        from = {};
        to = {kTwoPi, kTwoPi};
    }
    [[nodiscard]] std::vector<Pole> poles() const override
    {
        if (mMinor < mMajor) {
            return {};
        }
        // A tube thicker than the ring meets the axis in two points.
        const double v = std::acos(-mMajor / mMinor);
        const Vec up = mFrame.z * (mMinor * std::sin(v));
        return {{false, v, mFrame.origin + up}, {false, kTwoPi - v, mFrame.origin - up}};
    }
    [[nodiscard]] Param parameterAt(const Vec& point, const Param* guess) const override
    {
        const Vec local = mFrame.local(point);
        const double r = std::hypot(local.x, local.y);
        Param hint{longitude(local, guess), wrapped(std::atan2(local.z, r - mMajor), 0.0, kTwoPi)};
        if (r == mMajor && local.z == 0.0 && guess != nullptr) {
            hint.v = wrapped(guess->v, 0.0, kTwoPi);
        }
        // Inside a spindle the opposite side of the ring may be nearer.
        const Param opposite{wrapped(hint.u + kPi, 0.0, kTwoPi),
                             wrapped(std::atan2(local.z, -r - mMajor), 0.0, kTwoPi)};
        const bool spindle = mMinor > mMajor;
        return spindle && distance(at(opposite), point) < distance(at(hint), point) ? opposite
                                                                                    : hint;
    }

protected:
    [[nodiscard]] Vec radial(double u) const
    {
        return mFrame.x * std::cos(u) + mFrame.y * std::sin(u);
    }
    [[nodiscard]] Vec tangential(double u) const
    {
        return mFrame.y * std::cos(u) - mFrame.x * std::sin(u);
    }
    [[nodiscard]] double across(double v) const { return mMajor + mMinor * std::cos(v); }

    Frame mFrame;
    double mMajor;
    double mMinor;
};

class Sphere final : public Torus
{
public:
    Sphere(const Frame& frame, double radius) : Torus(frame, 0.0, radius) {}

    [[nodiscard]] SurfaceKind kind() const noexcept override { return SurfaceKind::sphere; }
    [[nodiscard]] Vec normal(Param p) const override
    {
        return radial(p.u) * std::cos(p.v) + mFrame.z * std::sin(p.v);
    }
    [[nodiscard]] Param period() const noexcept override { return {kTwoPi, 0.0}; }
    void naturalRange(Param& from, Param& to) const noexcept override
    {
        from = {0.0, -0.5 * kPi};
        to = {kTwoPi, 0.5 * kPi};
    }
    [[nodiscard]] std::vector<Pole> poles() const override
    {
        return {{false, -0.5 * kPi, mFrame.origin - mFrame.z * mMinor},
                {false, 0.5 * kPi, mFrame.origin + mFrame.z * mMinor}};
    }
    [[nodiscard]] Param parameterAt(const Vec& point, const Param* guess) const override
    {
        const Vec local = mFrame.local(point);
        const double r = std::hypot(local.x, local.y);
        if (r == 0.0 && local.z == 0.0 && guess != nullptr) {
            return {wrapped(guess->u, 0.0, kTwoPi), guess->v};
        }
        return {longitude(local, guess), std::atan2(local.z, r)};
    }
};

} // namespace

Surface::~Surface() = default;

SurfacePoint Surface::evaluate(Param p) const
{
    SurfacePoint result;
    result.p = at(p);
    derivatives(p, result.du, result.dv);
    secondDerivatives(p, result.duu, result.duv, result.dvv);
    return result;
}

std::vector<Pole> Surface::poles() const
{
    return {};
}

void Surface::breaks(std::vector<double>& u, std::vector<double>& v) const
{
    u.clear();
    v.clear();
}

SurfacePtr makePlane(const Frame& frame)
{
    return std::make_shared<Plane>(frame);
}

SurfacePtr makeCylinder(const Frame& frame, double radius)
{
    return std::make_shared<Cylinder>(frame, radius);
}

SurfacePtr makeCone(const Frame& frame, double radius, double semiAngle)
{
    return std::make_shared<Cone>(frame, radius, semiAngle);
}

SurfacePtr makeSphere(const Frame& frame, double radius)
{
    return std::make_shared<Sphere>(frame, radius);
}

SurfacePtr makeTorus(const Frame& frame, double majorRadius, double minorRadius)
{
    return std::make_shared<Torus>(frame, majorRadius, minorRadius);
}

} // namespace standin::geom
