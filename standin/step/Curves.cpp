#include "standin/step/Curves.h"

#include "standin/step/Placements.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace standin::step {

namespace {

using geom::CurvePtr;
using geom::Vec;

constexpr int kMaxDegree = 64;
// Curves that wrap curves: no honest file goes deeper.
constexpr int kMaxDepth = 16;

CurvePtr readLine(const Exchange& exchange, const Entity& entity, const Units& units)
{
    const Attributes attributes = entity.attributes();
    const Vec origin = readPoint(exchange, attributes[1], units.length);
    const Entity vector(exchange, attributes[2], "VECTOR");
    const Vec direction = readDirection(exchange, vector.attributes()[1]);
    return geom::makeLine(origin, vector.attributes()[2].number() < 0.0 ? -direction : direction);
}

CurvePtr readConic(const Exchange& exchange, const Entity& entity, const Units& units)
{
    const Attributes attributes = entity.attributes();
    const geom::Frame frame = readAxis2(exchange, attributes[1], units.length);
    const double first = readRadius(attributes[2], units.length);
    const std::string_view keyword = entity.keyword();
    if (keyword == "CIRCLE") {
        return geom::makeCircle(frame, first);
    }
    if (keyword == "PARABOLA") {
        return geom::makeParabola(frame, first);
    }
    const double second = readRadius(attributes[3], units.length);
    return keyword == "ELLIPSE" ? geom::makeEllipse(frame, first, second)
                                : geom::makeHyperbola(frame, first, second);
}

std::vector<Vec> readPoints(const Exchange& exchange, const Value& list, const Units& units)
{
    std::vector<Vec> points;
    points.reserve(list.size());
    for (const Value reference : list) {
        points.push_back(readPoint(exchange, reference, units.length));
    }
    return points;
}

CurvePtr readPolyline(const Exchange& exchange, const Entity& entity, const Units& units)
{
    std::vector<Vec> points = readPoints(exchange, entity.attributes()[1], units);
    if (points.size() < 2) {
        entity.fail("wanted at least 2 points");
    }
    return geom::makePolyline(std::move(points));
}

std::vector<double> readWeights(const Entity& entity)
{
    std::vector<double> weights;
    if (entity.is("RATIONAL_B_SPLINE_CURVE")) {
        for (const Value weight : entity.part("RATIONAL_B_SPLINE_CURVE")[0]) {
            weights.push_back(weight.number());
        }
    }
    return weights;
}

CurvePtr readBSpline(const Exchange& exchange, const Entity& entity, const Units& units)
{
    const bool complex = entity.isComplex();
    // A simple instance has its name in front; a complex one has it in a part of its own.
    const Attributes attributes = complex ? entity.part("B_SPLINE_CURVE") : entity.attributes();
    const std::uint32_t first = complex ? 0 : 1;
    const int degree = readDegree(attributes[first]);
    const std::vector<Vec> poles = readPoints(exchange, attributes[first + 1], units);
    if (poles.size() < static_cast<std::size_t>(degree) + 1) {
        entity.fail("degree " + std::to_string(degree) + " with only " +
                    std::to_string(poles.size()) + " control points");
    }
    const KnotForm form = knotForm(entity, "CURVE");
    std::vector<double> knots;
    if (form == KnotForm::written) {
        const Attributes own = entity.part("B_SPLINE_CURVE_WITH_KNOTS");
        const std::uint32_t at = complex ? 0 : 6;
        knots = writtenKnots(own[at], own[at + 1], degree, poles.size());
    } else {
        knots = impliedKnots(entity, form, degree, poles.size());
    }
    const bool closed = readClosed(attributes[first + 3]);
    try {
        return geom::makeBSplineCurve(degree, poles, readWeights(entity), knots, closed);
    } catch (const std::invalid_argument& error) {
        entity.fail(error.what());
    }
}

bool isOneOf(std::string_view keyword, std::initializer_list<std::string_view> list)
{
    return std::find(list.begin(), list.end(), keyword) != list.end();
}

OrientedCurve readCurveAt(const Exchange& exchange, const Value& reference, const Units& units,
                          int depth)
{
    if (depth > kMaxDepth) {
        reference.fail("curves wrap one another more than " + std::to_string(kMaxDepth) + " times");
    }
    const Entity entity(exchange, reference);
    const std::string_view keyword = entity.keyword();
    if (keyword == "LINE") {
        return {readLine(exchange, entity, units), false};
    }
    if (isOneOf(keyword, {"CIRCLE", "ELLIPSE", "HYPERBOLA", "PARABOLA"})) {
        return {readConic(exchange, entity, units), false};
    }
    if (keyword == "POLYLINE") {
        return {readPolyline(exchange, entity, units), false};
    }
    if (entity.is("B_SPLINE_CURVE") ||
        isOneOf(keyword, {"B_SPLINE_CURVE_WITH_KNOTS", "UNIFORM_CURVE", "QUASI_UNIFORM_CURVE",
                          "BEZIER_CURVE"})) {
        return {readBSpline(exchange, entity, units), false};
    }
    if (isOneOf(keyword,
                {"SURFACE_CURVE", "SEAM_CURVE", "INTERSECTION_CURVE", "BOUNDED_SURFACE_CURVE"})) {
        return readCurveAt(exchange, entity.attributes()[1], units, depth + 1);
    }
    if (keyword == "TRIMMED_CURVE") {
        const Attributes attributes = entity.attributes();
        OrientedCurve basis = readCurveAt(exchange, attributes[1], units, depth + 1);
        basis.reversed = basis.reversed != !attributes[4].boolean();
        return basis;
    }
    entity.fail("this kind of curve is not supported");
}

} // namespace

OrientedCurve readCurve(const Exchange& exchange, const Value& reference, const Units& units)
{
    return readCurveAt(exchange, reference, units, 0);
}

KnotForm knotForm(const Entity& entity, std::string_view dimension)
{
    const std::string suffix(dimension);
    if (entity.is("B_SPLINE_" + suffix + "_WITH_KNOTS")) {
        return KnotForm::written;
    }
    if (entity.is("UNIFORM_" + suffix)) {
        return KnotForm::uniform;
    }
    if (entity.is("QUASI_UNIFORM_" + suffix)) {
        return KnotForm::quasiUniform;
    }
    if (entity.is("BEZIER_" + suffix)) {
        return KnotForm::bezier;
    }
    entity.fail("a B-spline that does not say what its knots are");
}

std::vector<double> writtenKnots(const Value& multiplicities, const Value& values, int degree,
                                 std::size_t poles)
{
    if (multiplicities.size() != values.size()) {
        values.fail(std::to_string(values.size()) + " knots with " +
                    std::to_string(multiplicities.size()) + " multiplicities");
    }
    const std::size_t wanted = poles + static_cast<std::size_t>(degree) + 1;
    std::vector<double> knots;
    Value::Iterator multiplicity = multiplicities.begin();
    for (const Value value : values) {
        const int count = (*multiplicity).integer();
        if (count < 1 || count > degree + 1) {
            multiplicities.fail("the knot multiplicity " + std::to_string(count) +
                                " is outside 1 to " + std::to_string(degree + 1));
        }
        knots.insert(knots.end(), static_cast<std::size_t>(count), value.number());
        ++multiplicity;
    }
    if (knots.size() != wanted) {
        multiplicities.fail("the knot multiplicities make " + std::to_string(knots.size()) +
                            ", the degree and the control points need " + std::to_string(wanted));
    }
    return knots;
}

std::vector<double> impliedKnots(const Entity& entity, KnotForm form, int degree, std::size_t poles)
{
    const auto order = static_cast<std::size_t>(degree) + 1;
    const std::size_t wanted = poles + order;
    std::vector<double> knots;
    knots.reserve(wanted);
    if (form == KnotForm::uniform) {
        for (std::size_t i = 0; i < wanted; ++i) {
            knots.push_back(static_cast<double>(i) - degree);
        }
        return knots;
    }
    const std::size_t inner =
        form == KnotForm::bezier ? static_cast<std::size_t>(degree) : std::size_t{1};
    if ((poles - order) % inner != 0) {
        entity.fail("a Bezier form of degree " + std::to_string(degree) + " with " +
                    std::to_string(poles) + " control points");
    }
    const std::size_t spans = (poles - order) / inner + 1;
    knots.insert(knots.end(), order, 0.0);
    for (std::size_t span = 1; span < spans; ++span) {
        knots.insert(knots.end(), inner, static_cast<double>(span));
    }
    knots.insert(knots.end(), order, static_cast<double>(spans));
    return knots;
}

int readDegree(const Value& value)
{
    const int degree = value.integer();
    if (degree < 1 || degree > kMaxDegree) {
        value.fail("the degree " + std::to_string(degree) + " is outside 1 to " +
                   std::to_string(kMaxDegree));
    }
    return degree;
}

bool readClosed(const Value& flag)
{
    return !flag.isOmitted() && flag.enumeration() == "T";
}

double readRadius(const Value& value, double length)
{
    const double radius = value.number() * length;
    constexpr double kLeast = 1e-12;
    constexpr double kMost = 1e9;
    if (!(radius >= kLeast && radius <= kMost)) {
        value.fail("wanted a length above 0 and up to 1e9 m, found " +
                   std::to_string(value.number()));
    }
    return radius;
}

} // namespace standin::step
