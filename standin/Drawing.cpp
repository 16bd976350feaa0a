#include "standin/Drawing.h"

#include "standin/Solver.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace standin {
namespace {

//! Cosines below it are right angles.
constexpr double kRightAngle = 1e-9;

//! Gives the direction of a vector.
//! @throws std::invalid_argument  it has none
geom::Vec directionOf(const geom::Vec& v, const char* what)
{
    const double length = geom::length(v);
    if (!std::isfinite(length) || length == 0.0) {
        throw std::invalid_argument(what);
    }
    return v * (1.0 / length);
}

//! Gives a direction at a right angle to another one.
geom::Vec anyAcross(const geom::Vec& normal)
{
    const bool alongX = std::fabs(normal.x) > 0.9;
    const geom::Vec other = alongX ? geom::Vec{0.0, 1.0, 0.0} : geom::Vec{1.0, 0.0, 0.0};
    return geom::cross(geom::cross(normal, other), normal);
}

LONG placeOf(const std::vector<std::size_t>& indices, std::size_t index)
{
    const auto found = std::find(indices.begin(), indices.end(), index);
    return static_cast<LONG>(found - indices.begin()) + 1;
}

} // namespace

Drawing::Drawing()
{
    const geom::Vec x{1.0, 0.0, 0.0};
    const geom::Vec y{0.0, 1.0, 0.0};
    const geom::Vec z{0.0, 0.0, 1.0};
    planes = {{"Top (xy)", {}, z, x}, {"Right (yz)", {}, x, y}, {"Front (xz)", {}, y, z}};
}

std::string Drawing::freeSystemName()
{
    std::string name;
    const auto isTaken = [this, &name](const Drawn& each) {
        return name == (each.kind == DrawnKind::dimension ? dimensions[each.index].data.systemName
                                                          : variables[each.index].systemName);
    };
    do {
        name = "V" + std::to_string(++lastNumber);
    } while (std::any_of(table.begin(), table.end(), isTaken));
    return name;
}

std::size_t Drawing::add(VariableSpec variable)
{
    if (variable.systemName.empty()) {
        variable.systemName = freeSystemName();
    }
    if (variable.name.empty()) {
        variable.name = variable.systemName;
    }
    variables.push_back(std::move(variable));
    table.push_back({DrawnKind::variable, variables.size() - 1});
    return variables.size() - 1;
}

std::size_t Drawing::add(DrawnDimension dimension)
{
    DimensionSpec& data = dimension.data;
    if (data.systemName.empty()) {
        data.systemName = freeSystemName();
    }
    if (data.name.empty()) {
        data.name = data.systemName;
    }
    const bool angle = data.kind == DimensionKind::angular ||
                       data.kind == DimensionKind::arcAngle ||
                       data.kind == DimensionKind::angularCoordinate;
    dimension.units = angle ? UnitKind::angle : UnitKind::distance;
    dimensions.push_back(std::move(dimension));
    table.push_back({DrawnKind::dimension, dimensions.size() - 1});
    return dimensions.size() - 1;
}

std::size_t Drawing::add(RefPlaneSpec plane)
{
    if (!std::isfinite(geom::length(plane.root))) {
        throw std::invalid_argument("its root is not finite");
    }
    plane.normal = directionOf(plane.normal, "it has no normal");
    if (geom::length(plane.direction) == 0.0) {
        plane.direction = anyAcross(plane.normal);
    }
    plane.direction = directionOf(plane.direction, "its direction is not finite");
    if (std::fabs(geom::dot(plane.normal, plane.direction)) > kRightAngle) {
        throw std::invalid_argument("its direction is not in it");
    }
    planes.push_back(std::move(plane));
    return planes.size() - 1;
}

std::size_t Drawing::addProfile(std::size_t container, std::size_t plane)
{
    DrawnProfile profile;
    profile.container = container;
    profile.plane = plane;
    profiles.push_back(std::move(profile));
    containers[container].profiles.push_back(profiles.size() - 1);
    return profiles.size() - 1;
}

std::vector<std::size_t> Drawing::containersOf(ContainerKind kind) const
{
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < containers.size(); ++i) {
        if (containers[i].kind == kind) {
            found.push_back(i);
        }
    }
    return found;
}

double Drawing::valueOf(const DrawnDimension& dimension) const
{
    return dimension.data.driving || dimension.profile == geom::kNone
               ? dimension.data.value
               : lengthOf(profiles[dimension.profile].lines[dimension.line]);
}

bool Drawing::settle(std::size_t profile)
{
    DrawnProfile& settled = profiles[profile];
    std::vector<DrivenLength> lengths;
    for (const std::size_t index : settled.dimensions) {
        if (dimensions[index].data.driving) {
            lengths.push_back({dimensions[index].line, dimensions[index].data.value});
        }
    }
    return solve(settled.lines, settled.relations, lengths);
}

std::vector<ProfileView> Drawing::views() const
{
    std::vector<ProfileView> all;
    for (std::size_t i = 0; i < profiles.size(); ++i) {
        const DrawnProfile& profile = profiles[i];
        const DrawnContainer& container = containers[profile.container];
        ProfileView view;
        view.container = container.kind;
        view.containerNumber = placeOf(containersOf(container.kind), profile.container);
        view.number = placeOf(container.profiles, i);
        view.planeNumber = static_cast<LONG>(profile.plane) + 1;
        view.plane = planes[profile.plane];
        view.lines = profile.lines;
        view.relations = profile.relations;
        for (const std::size_t index : profile.dimensions) {
            const DrawnDimension& dimension = dimensions[index];
            view.dimensions.push_back({dimension.data.name, dimension.data.systemName,
                                       dimension.line, valueOf(dimension), dimension.data.driving,
                                       dimension.projectionLineDirection, dimension.trackDistance});
        }
        view.finished = profile.finished;
        all.push_back(std::move(view));
    }
    return all;
}

} // namespace standin
