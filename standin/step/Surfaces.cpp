#include "standin/step/Surfaces.h"

#include "standin/step/Curves.h"
#include "standin/step/Placements.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace standin::step {

namespace {

using geom::SurfacePtr;
using geom::Vec;

// Surfaces that wrap surfaces: no honest file goes deeper.
constexpr int kMaxDepth = 16;
constexpr double kHalfPi = 1.57079632679489661923;

SurfacePtr readCone(const Entity& entity, const geom::Frame& frame, const Units& units)
{
    const Attributes attributes = entity.attributes();
    const double radius = attributes[2].number() * units.length;
    if (!(radius >= 0.0)) {
        entity.fail("a cone's radius below 0");
    }
    if (units.angle == 0.0) {
        entity.fail("the file names no unit of angle");
    }
    const double angle = attributes[3].number() * units.angle;
    if (!(angle > 0.0 && angle < kHalfPi)) {
        entity.fail("a cone's angle is not between 0 and a right angle");
    }
    return geom::makeCone(frame, radius, angle);
}

SurfacePtr readElementary(const Exchange& exchange, const Entity& entity, const Units& units)
{
    const std::string_view keyword = entity.keyword();
    const Attributes attributes = entity.attributes();
    const geom::Frame frame = readAxis2(exchange, attributes[1], units.length);
    if (keyword == "PLANE") {
        return geom::makePlane(frame);
    }
    if (keyword == "CONICAL_SURFACE") {
        return readCone(entity, frame, units);
    }
    const double radius = readRadius(attributes[2], units.length);
    if (keyword == "CYLINDRICAL_SURFACE") {
        return geom::makeCylinder(frame, radius);
    }
    if (keyword == "SPHERICAL_SURFACE") {
        return geom::makeSphere(frame, radius);
    }
    return geom::makeTorus(frame, radius, readRadius(attributes[3], units.length));
}

struct Net
{
    int countU{};
    int countV{};
    std::vector<Vec> poles;
};

Net readNet(const Exchange& exchange, const Value& rows, const Units& units)
{
    Net net;
    net.countU = static_cast<int>(rows.size());
    for (const Value row : rows) {
        const int count = static_cast<int>(row.size());
        if (net.poles.empty()) {
            net.countV = count;
        } else if (count != net.countV) {
            rows.fail("rows of control points of different length");
        }
        for (const Value reference : row) {
            net.poles.push_back(readPoint(exchange, reference, units.length));
        }
    }
    return net;
}

std::vector<double> readWeights(const Entity& entity)
{
    std::vector<double> weights;
    if (entity.is("RATIONAL_B_SPLINE_SURFACE")) {
        for (const Value row : entity.part("RATIONAL_B_SPLINE_SURFACE")[0]) {
            for (const Value weight : row) {
                weights.push_back(weight.number());
            }
        }
    }
    return weights;
}

SurfacePtr readBSpline(const Exchange& exchange, const Entity& entity, const Units& units)
{
    const bool complex = entity.isComplex();
    // A simple instance has its name in front; a complex one has it in a part of its own.
    const Attributes attributes = complex ? entity.part("B_SPLINE_SURFACE") : entity.attributes();
    const std::uint32_t first = complex ? 0 : 1;
    const int degreeU = readDegree(attributes[first]);
    const int degreeV = readDegree(attributes[first + 1]);
    const Net net = readNet(exchange, attributes[first + 2], units);
    if (net.countU < degreeU + 1 || net.countV < degreeV + 1) {
        entity.fail("degrees " + std::to_string(degreeU) + " and " + std::to_string(degreeV) +
                    " with only " + std::to_string(net.countU) + " x " +
                    std::to_string(net.countV) + " control points");
    }
    const auto polesU = static_cast<std::size_t>(net.countU);
    const auto polesV = static_cast<std::size_t>(net.countV);
    const KnotForm form = knotForm(entity, "SURFACE");
    std::vector<double> knotsU;
    std::vector<double> knotsV;
    if (form == KnotForm::written) {
        const Attributes own = entity.part("B_SPLINE_SURFACE_WITH_KNOTS");
        const std::uint32_t at = complex ? 0 : 8;
        knotsU = writtenKnots(own[at], own[at + 2], degreeU, polesU);
        knotsV = writtenKnots(own[at + 1], own[at + 3], degreeV, polesV);
    } else {
        knotsU = impliedKnots(entity, form, degreeU, polesU);
        knotsV = impliedKnots(entity, form, degreeV, polesV);
    }
    const bool closedU = readClosed(attributes[first + 4]);
    const bool closedV = readClosed(attributes[first + 5]);
    try {
        return geom::makeBSplineSurface(degreeU, degreeV, net.countU, net.countV, net.poles,
                                        readWeights(entity), knotsU, knotsV, closedU, closedV);
    } catch (const std::invalid_argument& error) {
        entity.fail(error.what());
    }
}

OrientedSurface readExtrusion(const Exchange& exchange, const Entity& entity, const Units& units)
{
    const Attributes attributes = entity.attributes();
    const OrientedCurve profile = readCurve(exchange, attributes[1], units);
    const Entity axis(exchange, attributes[2], "VECTOR");
    const Vec direction = readDirection(exchange, axis.attributes()[1]);
    const bool backwards = axis.attributes()[2].number() < 0.0;
    return {geom::makeExtrusion(profile.curve, backwards ? -direction : direction),
            profile.reversed};
}

OrientedSurface readRevolution(const Exchange& exchange, const Entity& entity, const Units& units)
{
    const Attributes attributes = entity.attributes();
    const OrientedCurve profile = readCurve(exchange, attributes[1], units);
    const geom::Frame axis = readAxis1(exchange, attributes[2], units.length);
    return {geom::makeRevolution(profile.curve, axis.origin, axis.z), profile.reversed};
}

OrientedSurface readSurfaceAt(const Exchange& exchange, const Value& reference, const Units& units,
                              int depth)
{
    if (depth > kMaxDepth) {
        reference.fail("surfaces wrap one another more than " + std::to_string(kMaxDepth) +
                       " times");
    }
    const Entity entity(exchange, reference);
    const std::string_view keyword = entity.keyword();
    if (keyword == "PLANE" || keyword == "CYLINDRICAL_SURFACE" || keyword == "CONICAL_SURFACE" ||
        keyword == "SPHERICAL_SURFACE" || keyword == "TOROIDAL_SURFACE" ||
        keyword == "DEGENERATE_TOROIDAL_SURFACE") {
        return {readElementary(exchange, entity, units), false};
    }
    if (entity.is("B_SPLINE_SURFACE") || keyword == "B_SPLINE_SURFACE_WITH_KNOTS" ||
        keyword == "UNIFORM_SURFACE" || keyword == "QUASI_UNIFORM_SURFACE" ||
        keyword == "BEZIER_SURFACE") {
        return {readBSpline(exchange, entity, units), false};
    }
    if (keyword == "SURFACE_OF_LINEAR_EXTRUSION") {
        return readExtrusion(exchange, entity, units);
    }
    if (keyword == "SURFACE_OF_REVOLUTION") {
        return readRevolution(exchange, entity, units);
    }
    if (keyword == "OFFSET_SURFACE") {
        OrientedSurface basis = readSurfaceAt(exchange, entity.attributes()[1], units, depth + 1);
        const double distance = entity.attributes()[2].number() * units.length;
        basis.surface = geom::makeOffset(basis.surface, basis.reversed ? -distance : distance);
        return basis;
    }
    if (keyword == "RECTANGULAR_TRIMMED_SURFACE") {
        const Attributes attributes = entity.attributes();
        OrientedSurface basis = readSurfaceAt(exchange, attributes[1], units, depth + 1);
        const bool turned = attributes[6].boolean() != attributes[7].boolean();
        basis.reversed = basis.reversed != turned;
        return basis;
    }
    if (keyword == "CURVE_BOUNDED_SURFACE") {
        return readSurfaceAt(exchange, entity.attributes()[1], units, depth + 1);
    }
    entity.fail("this kind of surface is not supported");
}

} // namespace

OrientedSurface readSurface(const Exchange& exchange, const Value& reference, const Units& units)
{
    return readSurfaceAt(exchange, reference, units, 0);
}

} // namespace standin::step
