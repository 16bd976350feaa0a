#include "standin/geom/Curve.h"
#include "standin/geom/Numeric.h"

#include <cmath>
#include <stdexcept>

namespace standin::geom {

namespace {

// Adds the extreme points of c0 + a cos t + b sin t (one coordinate of a conic) to a box.
void addTurns(Box& box, const Curve& curve, double cosine, double sine, double from, double to)
{
    const double turn = std::atan2(sine, cosine);
    const double first = turn + kPi * std::ceil((from - turn) / kPi);
    // Once round meets every turn.
    for (const double onward : {0.0, kPi, kTwoPi}) {
        if (first + onward <= to) {
            box.add(curve.at(first + onward));
        }
    }
}

class Line final : public Curve
{
public:
    Line(const Vec& origin, const Vec& direction) : mOrigin(origin), mDirection(unit(direction)) {}

    [[nodiscard]] CurveKind kind() const noexcept override { return CurveKind::line; }
    [[nodiscard]] Vec at(double t) const override { return mOrigin + mDirection * t; }
    [[nodiscard]] Vec derivative(double) const override { return mDirection; }
    [[nodiscard]] Vec secondDerivative(double) const override { return {}; }
    [[nodiscard]] double period() const noexcept override { return 0.0; }
    void naturalRange(double& from, double& to) const noexcept override
    {
        from = -std::numeric_limits<double>::infinity();
        to = std::numeric_limits<double>::infinity();
    }
    [[nodiscard]] double parameterAt(const Vec& point, double from, double to) const override
    {
        return std::fmin(std::fmax(dot(point - mOrigin, mDirection), from), to);
    }
    [[nodiscard]] Box box(double from, double to) const override
    {
        Box box;
        box.add(at(from));
        box.add(at(to));
        return box;
    }
    [[nodiscard]] double length(double from, double to) const override { return to - from; }

private:
    Vec mOrigin;
    Vec mDirection;
};

// Circles are ellipses of equal radii; the two differ in kind, length and nearest point.
class Ellipse : public Curve
{
public:
    Ellipse(const Frame& frame, double radiusX, double radiusY)
        : mFrame(frame),
          mX(radiusX),
          mY(radiusY)
    {}

    [[nodiscard]] CurveKind kind() const noexcept override { return CurveKind::ellipse; }
    [[nodiscard]] Vec at(double t) const override
    {
        return mFrame.at(mX * std::cos(t), mY * std::sin(t), 0.0);
    }
    [[nodiscard]] Vec derivative(double t) const override
    {
        return mFrame.y * (mY * std::cos(t)) - mFrame.x * (mX * std::sin(t));
    }
    [[nodiscard]] Vec secondDerivative(double t) const override { return mFrame.origin - at(t); }
    [[nodiscard]] double period() const noexcept override { return kTwoPi; }
    void naturalRange(double& from, double& to) const noexcept override
    {
        from = 0.0;
        to = kTwoPi;
    }
    [[nodiscard]] double parameterAt(const Vec& point, double from, double to) const override
    {
        const int count = 8 + static_cast<int>(std::fmin(std::fmax(to - from, 0.0), 1e3) * 6.0);
        return nearestParameter(
            [this](double t) {
                return CurvePoint{at(t), derivative(t), secondDerivative(t)};
            },
            point, spaced(from, to, count));
    }
    [[nodiscard]] Box box(double from, double to) const override
    {
        Box box;
        box.add(at(from));
        box.add(at(to));
        addTurns(box, *this, mX * mFrame.x.x, mY * mFrame.y.x, from, to);
        addTurns(box, *this, mX * mFrame.x.y, mY * mFrame.y.y, from, to);
        addTurns(box, *this, mX * mFrame.x.z, mY * mFrame.y.z, from, to);
        return box;
    }
    [[nodiscard]] double length(double from, double to) const override
    {
        return integrate([this](double t) { return geom::length(derivative(t)); }, from, to);
    }

protected:
    Frame mFrame;
    double mX;
    double mY;
};

class Circle final : public Ellipse
{
public:
    Circle(const Frame& frame, double radius) : Ellipse(frame, radius, radius) {}

    [[nodiscard]] CurveKind kind() const noexcept override { return CurveKind::circle; }
    [[nodiscard]] double parameterAt(const Vec& point, double from, double to) const override
    {
        const Vec local = mFrame.local(point);
        double t = std::atan2(local.y, local.x);
        t += kTwoPi * std::ceil((from - t) / kTwoPi);
        if (t <= to) {
            return t;
        }
        return distance(at(from), point) <= distance(at(to), point) ? from : to;
    }
    [[nodiscard]] double length(double from, double to) const override { return mX * (to - from); }
};

class Hyperbola final : public Curve
{
public:
    Hyperbola(const Frame& frame, double radiusX, double radiusY)
        : mFrame(frame),
          mX(radiusX),
          mY(radiusY)
    {}

    [[nodiscard]] CurveKind kind() const noexcept override { return CurveKind::hyperbola; }
    [[nodiscard]] Vec at(double t) const override
    {
        return mFrame.at(mX * std::cosh(t), mY * std::sinh(t), 0.0);
    }
    [[nodiscard]] Vec derivative(double t) const override
    {
        return mFrame.x * (mX * std::sinh(t)) + mFrame.y * (mY * std::cosh(t));
    }
    [[nodiscard]] Vec secondDerivative(double t) const override { return at(t) - mFrame.origin; }
    [[nodiscard]] double period() const noexcept override { return 0.0; }
    void naturalRange(double& from, double& to) const noexcept override
    {
        from = -std::numeric_limits<double>::infinity();
        to = std::numeric_limits<double>::infinity();
    }
    [[nodiscard]] double parameterAt(const Vec& point, double from, double to) const override
    {
        const Vec local = mFrame.local(point);
        const double reach =
            1.0 + std::asinh(std::fmax(std::fabs(local.x) / mX, std::fabs(local.y) / mY));
        const double low = std::fmin(std::fmax(from, -reach), to);
        const double high = std::fmax(std::fmin(to, reach), low);
        return nearestParameter(
            [this](double t) {
                return CurvePoint{at(t), derivative(t), secondDerivative(t)};
            },
            point, spaced(low, high, 32));
    }
    [[nodiscard]] Box box(double from, double to) const override
    {
        Box box;
        box.add(at(from));
        box.add(at(to));
        addTurn(box, mFrame.x.x, mFrame.y.x, from, to);
        addTurn(box, mFrame.x.y, mFrame.y.y, from, to);
        addTurn(box, mFrame.x.z, mFrame.y.z, from, to);
        return box;
    }
    [[nodiscard]] double length(double from, double to) const override
    {
        return integrate([this](double t) { return geom::length(derivative(t)); }, from, to);
    }

private:
    void addTurn(Box& box, double x, double y, double from, double to) const
    {
        const double tangent = -(mY * y) / (mX * x);
        if (std::fabs(tangent) < 1.0) {
            const double t = std::atanh(tangent);
            if (t > from && t < to) {
                box.add(at(t));
            }
        }
    }

    Frame mFrame;
    double mX;
    double mY;
};

class Parabola final : public Curve
{
public:
    Parabola(const Frame& frame, double focal) : mFrame(frame), mFocal(focal) {}

    [[nodiscard]] CurveKind kind() const noexcept override { return CurveKind::parabola; }
    [[nodiscard]] Vec at(double t) const override
    {
        return mFrame.at(mFocal * t * t, 2.0 * mFocal * t, 0.0);
    }
    [[nodiscard]] Vec derivative(double t) const override
    {
        return mFrame.x * (2.0 * mFocal * t) + mFrame.y * (2.0 * mFocal);
    }
    [[nodiscard]] Vec secondDerivative(double) const override { return mFrame.x * (2.0 * mFocal); }
    [[nodiscard]] double period() const noexcept override { return 0.0; }
    void naturalRange(double& from, double& to) const noexcept override
    {
        from = -std::numeric_limits<double>::infinity();
        to = std::numeric_limits<double>::infinity();
    }
    [[nodiscard]] double parameterAt(const Vec& point, double from, double to) const override
    {
        const Vec local = mFrame.local(point);
        const double reach = 1.0 + std::fmax(std::fabs(local.y / (2.0 * mFocal)),
                                             std::sqrt(std::fabs(local.x / mFocal)));
        const double low = std::fmin(std::fmax(from, -reach), to);
        const double high = std::fmax(std::fmin(to, reach), low);
        return nearestParameter(
            [this](double t) {
                return CurvePoint{at(t), derivative(t), secondDerivative(t)};
            },
            point, spaced(low, high, 32));
    }
    [[nodiscard]] Box box(double from, double to) const override
    {
        Box box;
        box.add(at(from));
        box.add(at(to));
        addTurn(box, mFrame.x.x, mFrame.y.x, from, to);
        addTurn(box, mFrame.x.y, mFrame.y.y, from, to);
        addTurn(box, mFrame.x.z, mFrame.y.z, from, to);
        return box;
    }
    [[nodiscard]] double length(double from, double to) const override
    {
        const auto part = [this](double t) {
            return mFocal * (t * std::sqrt(1.0 + t * t) + std::asinh(t));
        };
        return part(to) - part(from);
    }

private:
    void addTurn(Box& box, double x, double y, double from, double to) const
    {
        const double t = -y / x;
        if (t > from && t < to) {
            box.add(at(t));
        }
    }

    Frame mFrame;
    double mFocal;
};

class Polyline final : public Curve
{
public:
    explicit Polyline(std::vector<Vec> points) : mPoints(std::move(points))
    {
        mTo = static_cast<double>(mPoints.size() - 1);
        const Vec gap = mPoints.front() - mPoints.back();
        mClosed = mPoints.size() > 2 && gap.x == 0.0 && gap.y == 0.0 && gap.z == 0.0;
    }

    [[nodiscard]] CurveKind kind() const noexcept override { return CurveKind::polyline; }
    [[nodiscard]] Vec at(double t) const override
    {
        double inside = 0.0;
        const std::size_t i = side(t, inside);
        return mPoints[i] * (1.0 - inside) + mPoints[i + 1] * inside;
    }
    [[nodiscard]] Vec derivative(double t) const override
    {
        double inside = 0.0;
        const std::size_t i = side(t, inside);
        return mPoints[i + 1] - mPoints[i];
    }
    [[nodiscard]] Vec secondDerivative(double) const override { return {}; }
    [[nodiscard]] double period() const noexcept override { return mClosed ? mTo : 0.0; }
    void naturalRange(double& from, double& to) const noexcept override
    {
        from = 0.0;
        to = mTo;
    }
    [[nodiscard]] std::vector<double> breaks(double from, double to) const override
    {
        std::vector<double> corners;
        for (double t = std::floor(from) + 1.0; t < to && corners.size() <= 2 * mPoints.size();
             t += 1.0) {
            corners.push_back(t);
        }
        return corners;
    }
    [[nodiscard]] double parameterAt(const Vec& point, double from, double to) const override
    {
        std::vector<double> stops = breaks(from, to);
        stops.push_back(to);
        double low = from;
        double best = from;
        double least = std::numeric_limits<double>::infinity();
        for (const double high : stops) {
            const Vec start = at(low);
            const Vec along = at(high) - start;
            const double square = dot(along, along);
            const double part =
                square > 0.0 ? std::fmin(std::fmax(dot(point - start, along) / square, 0.0), 1.0)
                             : 0.0;
            const double d = distance(start + along * part, point);
            if (d < least) {
                least = d;
                best = low + (high - low) * part;
            }
            low = high;
        }
        return best;
    }
    [[nodiscard]] Box box(double from, double to) const override
    {
        Box box;
        box.add(at(from));
        for (const double t : breaks(from, to)) {
            box.add(at(t));
        }
        box.add(at(to));
        return box;
    }
    [[nodiscard]] double length(double from, double to) const override
    {
        if (to < from) {
            return -length(to, from);
        }
        double sum = 0.0;
        Vec last = at(from);
        for (const double t : breaks(from, to)) {
            const Vec next = at(t);
            sum += distance(last, next);
            last = next;
        }
        return sum + distance(last, at(to));
    }

private:
    std::size_t side(double t, double& inside) const
    {
        const double place = mClosed ? wrapped(t, 0.0, mTo) : t;
        const double kept = place > 0.0 ? std::fmin(place, mTo) : 0.0;
        const std::size_t i = std::min(static_cast<std::size_t>(kept), mPoints.size() - 2);
        inside = kept - static_cast<double>(i);
        return i;
    }

    std::vector<Vec> mPoints;
    double mTo{};
    bool mClosed{};
};

} // namespace

Curve::~Curve() = default;

std::vector<double> Curve::breaks(double /*from*/, double /*to*/) const
{
    return {};
}

CurvePtr makeLine(const Vec& origin, const Vec& direction)
{
    return std::make_shared<Line>(origin, direction);
}

CurvePtr makeCircle(const Frame& frame, double radius)
{
    return std::make_shared<Circle>(frame, radius);
}

CurvePtr makeEllipse(const Frame& frame, double radiusX, double radiusY)
{
    return std::make_shared<Ellipse>(frame, radiusX, radiusY);
}

CurvePtr makeHyperbola(const Frame& frame, double radiusX, double radiusY)
{
    return std::make_shared<Hyperbola>(frame, radiusX, radiusY);
}

CurvePtr makeParabola(const Frame& frame, double focal)
{
    return std::make_shared<Parabola>(frame, focal);
}

CurvePtr makePolyline(std::vector<Vec> points)
{
    if (points.size() < 2) {
        throw std::invalid_argument("polyline: wanted 2 points or more, found " +
                                    std::to_string(points.size()));
    }
    return std::make_shared<Polyline>(std::move(points));
}

} // namespace standin::geom
