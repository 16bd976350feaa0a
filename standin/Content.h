//! @file
//! A part as its document holds it: bodies, their reference keys, and answers worth keeping.

#pragma once

#include "standin/geom/Brep.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace standin {

//! What an automation object can stand for inside a part.
enum class EntityKind : unsigned char
{
    models,
    model,
    body,
    face,
    edge,
    feature, //!< of a model, index: its place among the model's features
    surface, //!< the geometry of a face
    curve    //!< the geometry of an edge
};

//! One thing in a part: a body by its index, what belongs to a body by that index and its own.
struct Entity
{
    EntityKind kind{};
    std::size_t body = 0;
    std::size_t index = 0;
};
[[nodiscard]] inline bool operator<(const Entity& a, const Entity& b) noexcept
{
    if (a.kind != b.kind) {
        return a.kind < b.kind;
    }
    return a.body != b.body ? a.body < b.body : a.index < b.index;
}

//! Two numbers that tell one part from another.
struct PartDigest
{
    std::uint64_t first = 0;
    std::uint64_t second = 0;
};
[[nodiscard]] inline bool operator==(const PartDigest& a, const PartDigest& b) noexcept
{
    return a.first == b.first && a.second == b.second;
}

//! Keys of a body and of what it is bounded by, in the order of geom::Body.
struct BodyKeys
{
    std::string body;
    std::vector<std::string> faces;
    std::vector<std::string> edges;
};

//! A part. Bodies and keys do not change once they are set; geometric answers are worked out when
//! they are first asked for.
class PartContent
{
public:
    PartContent(std::string nameText, std::vector<geom::Body> bodyList, PartDigest digestOfPart,
                std::vector<std::string> readerWarnings);

    [[nodiscard]] const std::string& name() const noexcept { return partName; }
    [[nodiscard]] const std::vector<geom::Body>& bodies() const noexcept { return allBodies; }
    [[nodiscard]] const PartDigest& digest() const noexcept { return partDigest; }
    [[nodiscard]] const std::vector<std::string>& warnings() const noexcept { return readerText; }

    //! Sets the keys, one entry per body.
    void setKeys(std::vector<BodyKeys> bodyKeys);
    [[nodiscard]] const std::vector<BodyKeys>& keys() const noexcept { return allKeys; }
    [[nodiscard]] const std::string& key(const Entity& entity) const;
    //! Finds what has a key.
    [[nodiscard]] std::optional<Entity> find(const std::string& key) const;

    [[nodiscard]] const geom::Face& face(const Entity& entity) const
    {
        return allBodies[entity.body].faces[entity.index];
    }
    [[nodiscard]] const geom::Edge& edge(const Entity& entity) const
    {
        return allBodies[entity.body].edges[entity.index];
    }
    //! Gives the edges of a face, each once, in the order in which its loops use them first.
    [[nodiscard]] static std::vector<std::size_t> edgesOf(const geom::Face& face);

    [[nodiscard]] const geom::Box& box(const Entity& entity) const;
    [[nodiscard]] const std::pair<geom::Param, geom::Param>&
    paramRange(const Entity& faceEntity) const;
    //! Gives a face's triangles as geom::facets does.
    //! @param tolerance  metres; zero or less: those worked out last, or a display's
    [[nodiscard]] const std::vector<double>& facets(const Entity& faceEntity,
                                                    double tolerance) const;

private:
    struct FacetCache
    {
        double tolerance = 0.0;
        std::vector<double> points;
    };

    std::string partName;
    std::vector<geom::Body> allBodies;
    PartDigest partDigest;
    std::vector<std::string> readerText;
    std::vector<BodyKeys> allKeys;
    std::unordered_map<std::string, Entity> byKey;
    mutable std::map<Entity, geom::Box> boxes;
    mutable std::map<Entity, std::pair<geom::Param, geom::Param>> ranges;
    mutable std::map<Entity, FacetCache> facetCaches;
};

} // namespace standin
