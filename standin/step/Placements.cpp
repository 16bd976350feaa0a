#include "standin/step/Placements.h"

#include <cmath>
#include <string>

namespace standin::step {

namespace {

using geom::Frame;
using geom::Vec;

// Metres; what lies further away can't be reckoned with.
constexpr double kFurthest = 1e9;

Vec readTriple(const Value& list)
{
    if (list.size() != 3) {
        list.fail("wanted 3 coordinates, found " + std::to_string(list.size()));
    }
    Value::Iterator value = list.begin();
    Vec triple;
    triple.x = (*value).number();
    ++value;
    triple.y = (*value).number();
    ++value;
    triple.z = (*value).number();
    return triple;
}

} // namespace

Vec readPoint(const Exchange& exchange, const Value& reference, double length)
{
    const Entity entity(exchange, reference, "CARTESIAN_POINT");
    const Vec point = readTriple(entity.attributes()[1]) * length;
    if (!(std::fabs(point.x) <= kFurthest && std::fabs(point.y) <= kFurthest &&
          std::fabs(point.z) <= kFurthest)) {
        entity.fail("the point is further away than 1e9 m");
    }
    return point;
}

Vec readDirection(const Exchange& exchange, const Value& reference)
{
    const Entity entity(exchange, reference, "DIRECTION");
    const Vec ratios = readTriple(entity.attributes()[1]);
    const double largest =
        std::fmax(std::fabs(ratios.x), std::fmax(std::fabs(ratios.y), std::fabs(ratios.z)));
    if (!(largest > 0.0)) {
        entity.fail("a direction of no length");
    }
    // Divided first, so that neither tiny nor huge ratios leave the range of doubles when squared.
    return geom::unit({ratios.x / largest, ratios.y / largest, ratios.z / largest});
}

Frame readAxis2(const Exchange& exchange, const Value& reference, double length)
{
    const Entity entity(exchange, reference, "AXIS2_PLACEMENT_3D");
    const Attributes attributes = entity.attributes();
    const Vec origin = readPoint(exchange, attributes[1], length);
    const Value axis = attributes[2];
    const Value refDirection = attributes[3];
    const Vec z = axis.isOmitted() ? Vec{0.0, 0.0, 1.0} : readDirection(exchange, axis);
    Vec x{1.0, 0.0, 0.0};
    if (!refDirection.isOmitted()) {
        x = readDirection(exchange, refDirection);
    } else if (std::fabs(z.x) == 1.0) {
        x = {0.0, 1.0, 0.0};
    }
    return geom::makeFrame(origin, z, x);
}

Frame readAxis1(const Exchange& exchange, const Value& reference, double length)
{
    const Entity entity(exchange, reference, "AXIS1_PLACEMENT");
    const Attributes attributes = entity.attributes();
    const Vec origin = readPoint(exchange, attributes[1], length);
    const Vec z =
        attributes[2].isOmitted() ? Vec{0.0, 0.0, 1.0} : readDirection(exchange, attributes[2]);
    return geom::makeFrame(origin, z, {1.0, 0.0, 0.0});
}

Frame readTarget(const Exchange& exchange, const Value& reference, double length)
{
    const Entity entity(exchange, reference);
    if (!entity.is("CARTESIAN_TRANSFORMATION_OPERATOR_3D")) {
        return readAxis2(exchange, reference, length);
    }
    // The simple instance has one name or several in front, schemas differ; axis3 is its last.
    const bool complex = entity.isComplex();
    const Attributes base =
        complex ? entity.part("CARTESIAN_TRANSFORMATION_OPERATOR") : entity.attributes();
    const std::uint32_t first = complex || base.size() < 5 ? 0 : base.size() - 5;
    const Value scale = base[first + 3];
    if (!scale.isOmitted() && std::fabs(scale.number() - 1.0) > 1e-9) {
        entity.fail("placements that scale are not supported");
    }
    const Value axis3 =
        complex ? entity.part("CARTESIAN_TRANSFORMATION_OPERATOR_3D")[0] : base[first + 4];
    const Vec origin = readPoint(exchange, base[first + 2], length);
    const Vec z = axis3.isOmitted() ? Vec{0.0, 0.0, 1.0} : readDirection(exchange, axis3);
    const Vec x =
        base[first].isOmitted() ? Vec{1.0, 0.0, 0.0} : readDirection(exchange, base[first]);
    const Frame frame = geom::makeFrame(origin, z, x);
    const Value axis2 = base[first + 1];
    if (!axis2.isOmitted() && geom::dot(readDirection(exchange, axis2), frame.y) < 0.0) {
        entity.fail("placements that mirror are not supported");
    }
    return frame;
}

geom::Placement between(const Frame& from, const Frame& to)
{
    // Columns of the rotation: the images of the unit vectors.
    const auto image = [&](const Vec& v) {
        return to.x * geom::dot(v, from.x) + to.y * geom::dot(v, from.y) +
               to.z * geom::dot(v, from.z);
    };
    const Vec x = image({1.0, 0.0, 0.0});
    const Vec y = image({0.0, 1.0, 0.0});
    const Vec z = image({0.0, 0.0, 1.0});
    const Vec origin = to.origin - image(from.origin);
    geom::Placement placement;
    placement.row = {x.x, y.x, z.x, origin.x, x.y, y.y, z.y, origin.y, x.z, y.z, z.z, origin.z};
    return placement;
}

} // namespace standin::step
