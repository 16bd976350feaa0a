#include "standin/Content.h"

#include "standin/geom/FaceGeometry.h"

#include <algorithm>
#include <utility>

namespace standin {
namespace {

//! A display shows this share of a body's diagonal as its chord distance.
constexpr double kDisplayShare = 1.0 / 500.0;

} // namespace

PartContent::PartContent(std::string nameText, std::vector<geom::Body> bodyList,
                         PartDigest digestOfPart, std::vector<std::string> readerWarnings)
    : partName(std::move(nameText)),
      allBodies(std::move(bodyList)),
      partDigest(digestOfPart),
      readerText(std::move(readerWarnings))
{}

void PartContent::setKeys(std::vector<BodyKeys> bodyKeys)
{
    allKeys = std::move(bodyKeys);
    byKey.clear();
    for (std::size_t b = 0; b < allKeys.size(); ++b) {
        byKey[allKeys[b].body] = {EntityKind::body, b, 0};
        for (std::size_t i = 0; i < allKeys[b].faces.size(); ++i) {
            byKey[allKeys[b].faces[i]] = {EntityKind::face, b, i};
        }
        for (std::size_t i = 0; i < allKeys[b].edges.size(); ++i) {
            byKey[allKeys[b].edges[i]] = {EntityKind::edge, b, i};
        }
    }
}

const std::string& PartContent::key(const Entity& entity) const
{
    const BodyKeys& body = allKeys[entity.body];
    switch (entity.kind) {
    case EntityKind::face:
        return body.faces[entity.index];
    case EntityKind::edge:
        return body.edges[entity.index];
    default:
        return body.body;
    }
}

std::optional<Entity> PartContent::find(const std::string& key) const
{
    const auto found = byKey.find(key);
    return found == byKey.end() ? std::nullopt : std::optional<Entity>(found->second);
}

std::vector<std::size_t> PartContent::edgesOf(const geom::Face& face)
{
    std::vector<std::size_t> edges;
    for (const geom::Loop& loop : face.loops) {
        for (const geom::EdgeUse& use : loop.uses) {
            if (std::find(edges.begin(), edges.end(), use.edge) == edges.end()) {
                edges.push_back(use.edge);
            }
        }
    }
    return edges;
}

const geom::Box& PartContent::box(const Entity& entity) const
{
    const auto known = boxes.find(entity);
    if (known != boxes.end()) {
        return known->second;
    }
    const geom::Body& body = allBodies[entity.body];
    geom::Box box;
    if (entity.kind == EntityKind::face) {
        box = geom::faceBox(body, body.faces[entity.index]);
    } else if (entity.kind == EntityKind::edge) {
        box = geom::edgeBox(body.edges[entity.index]);
    } else {
        for (std::size_t i = 0; i < body.faces.size(); ++i) {
            box.add(this->box({EntityKind::face, entity.body, i}));
        }
    }
    return boxes[entity] = box;
}

const std::pair<geom::Param, geom::Param>& PartContent::paramRange(const Entity& faceEntity) const
{
    const auto known = ranges.find(faceEntity);
    if (known != ranges.end()) {
        return known->second;
    }
    std::pair<geom::Param, geom::Param> range;
    geom::paramRange(allBodies[faceEntity.body], face(faceEntity), range.first, range.second);
    return ranges[faceEntity] = range;
}

const std::vector<double>& PartContent::facets(const Entity& faceEntity, double tolerance) const
{
    FacetCache& cache = facetCaches[faceEntity];
    if (tolerance <= 0.0) {
        if (cache.tolerance > 0.0) {
            return cache.points;
        }
        const geom::Box& whole = box({EntityKind::body, faceEntity.body, 0});
        const double diagonal = whole.empty() ? 0.0 : geom::distance(whole.min, whole.max);
        tolerance = diagonal > 0.0 ? diagonal * kDisplayShare : 1e-4;
    }
    if (cache.tolerance != tolerance) {
        cache.points = geom::facets(allBodies[faceEntity.body], face(faceEntity), tolerance);
        cache.tolerance = tolerance;
    }
    return cache.points;
}

} // namespace standin
