//! @file
//! What a document of either kind holds beside bodies or occurrences: variables and dimensions,
//! reference planes, sketches with their profiles. Data without automation objects.

#pragma once

#include "standin/DocumentData.h"

#include <map>
#include <memory>
#include <tuple>

namespace standin {

class Object;

//! What an automation object can stand for in a drawing.
enum class DrawnKind : unsigned char
{
    variables,
    variableList,
    variable,
    dimension,
    refPlanes,
    refPlane,
    asmRefPlanes,
    asmRefPlane,
    containers, //!< sketches, profile sets or layouts; index: the ContainerKind
    container,
    profiles, //!< of a container
    profile,
    lines,
    line,
    relations,
    relation,
    dimensions, //!< of a profile
};

//! One thing in a drawing. Nothing is taken out of a drawing, so the numbers stay.
struct Drawn
{
    DrawnKind kind{};
    std::size_t index = 0;
    std::size_t owner = 0; //!< of lines and relations: the profile
};
[[nodiscard]] inline bool operator<(const Drawn& a, const Drawn& b) noexcept
{
    return std::tie(a.kind, a.owner, a.index) < std::tie(b.kind, b.owner, b.index);
}

//! A dimension, of a line in a profile or of nothing drawn here.
struct DrawnDimension
{
    DimensionSpec data; //!< value: what a driving one demands
    UnitKind units = UnitKind::distance;
    bool projectionLineDirection = false;
    double trackDistance = 0.0;
    std::size_t profile = geom::kNone;
    std::size_t line = geom::kNone;
};

struct DrawnProfile
{
    std::size_t container = 0;
    std::size_t plane = 0;
    std::vector<SketchLine> lines;
    std::vector<SketchRelation> relations;
    std::vector<std::size_t> dimensions; //!< indices into Drawing::dimensions
    bool finished = false;
};

struct DrawnContainer
{
    ContainerKind kind{};
    std::vector<std::size_t> profiles; //!< indices into Drawing::profiles
};

//! The drawing of an open document.
struct Drawing
{
    //! Starts with the three default planes.
    Drawing();

    std::vector<VariableSpec> variables;
    std::vector<DrawnDimension> dimensions;
    std::vector<Drawn> table; //!< variables and dimensions in the order of their making
    std::vector<RefPlaneSpec> planes;
    std::vector<DrawnContainer> containers;
    std::vector<DrawnProfile> profiles;
    bool connected = true;
    std::map<Drawn, Object*> objects; //!< the living ones, so that asking twice gives the same

    //! Adds a variable; names that are empty are made.
    //! @return its index
    std::size_t add(VariableSpec variable);
    //! Adds a dimension; names that are empty are made.
    //! @return its index
    std::size_t add(DrawnDimension dimension);
    //! Adds a plane.
    //! @param plane  normal and direction of any length; no direction: one is chosen
    //! @return its index
    //! @throws std::invalid_argument  a number is not finite, there is no normal, or the direction
    //!                                is not at a right angle to it
    std::size_t add(RefPlaneSpec plane);

    //! Adds an empty profile to a container.
    //! @return its index
    std::size_t addProfile(std::size_t container, std::size_t plane);

    //! Gives the containers of a kind, oldest first.
    [[nodiscard]] std::vector<std::size_t> containersOf(ContainerKind kind) const;
    //! Gives the value of a dimension: of a driving one what it demands, else what it measures.
    [[nodiscard]] double valueOf(const DrawnDimension& dimension) const;
    //! Moves a profile's lines so that its relations and driving dimensions hold.
    //! @return false when they can't; nothing is moved then
    [[nodiscard]] bool settle(std::size_t profile);
    //! Gives what every profile holds, in the order of their making.
    [[nodiscard]] std::vector<ProfileView> views() const;

private:
    [[nodiscard]] std::string freeSystemName();

    long lastNumber = 0;
};

using DrawingPtr = std::shared_ptr<Drawing>;

} // namespace standin
