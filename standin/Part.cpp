#include "standin/Part.h"

#include "standin/Call.h"
#include "standin/Document.h"
#include "standin/Host.h"
#include "standin/Ids.h"
#include "standin/Keys.h"

#include <algorithm>
#include <utility>

namespace standin {
namespace {

IDispatchPtr makeObject(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                        const Entity& entity, bool known)
{
    switch (entity.kind) {
    case EntityKind::models:
        return newModels(host, part, entity, known);
    case EntityKind::model:
        return newModel(host, part, entity, known);
    case EntityKind::body:
        return newBody(host, part, entity, known);
    case EntityKind::face:
        return newFace(host, part, entity, known);
    case EntityKind::edge:
        return newEdge(host, part, entity, known);
    case EntityKind::feature:
        return newFeature(host, part, entity, known);
    case EntityKind::surface:
        return newSurface(host, part, entity, known);
    case EntityKind::curve:
        return newCurve(host, part, entity, known);
    }
    return IDispatchPtr();
}

void checkSelector(LONG selector)
{
    if (selector == igQueryRoundable) {
        failCall(E_NOTIMPL, "the selector for edges that can be rounded is not answered");
    }
    if (selector < igQueryAll || selector > igQueryCylinder) {
        failCall(E_INVALIDARG, "no selector has the number " + std::to_string(selector));
    }
}

bool isAskedFor(LONG selector, geom::SurfaceKind kind)
{
    switch (selector) {
    case igQueryAll:
        return true;
    case igQueryPlane:
        return kind == geom::SurfaceKind::plane;
    case igQueryCone:
        return kind == geom::SurfaceKind::cone;
    case igQueryTorus:
        return kind == geom::SurfaceKind::torus;
    case igQuerySphere:
        return kind == geom::SurfaceKind::sphere;
    case igQueryCylinder:
        return kind == geom::SurfaceKind::cylinder;
    case igQuerySpline:
        return kind >= geom::SurfaceKind::bspline;
    default:
        return false;
    }
}

bool isAskedFor(LONG selector, geom::CurveKind kind)
{
    switch (selector) {
    case igQueryAll:
        return true;
    case igQueryStraight:
        return kind == geom::CurveKind::line;
    case igQueryEllipse:
        return kind == geom::CurveKind::circle || kind == geom::CurveKind::ellipse;
    case igQuerySpline:
        return kind >= geom::CurveKind::hyperbola;
    default:
        return false;
    }
}

} // namespace

PartObject::PartObject(std::shared_ptr<HostState> hostState, const ClassInfo& info,
                       LivePartPtr livePart, const Entity& entity, bool known)
    : Object(std::move(hostState), info),
      part(std::move(livePart)),
      subject(entity)
{
    if (known) {
        part->objects[subject] = this;
    }
}

PartObject::~PartObject()
{
    const auto found = part->objects.find(subject);
    if (found != part->objects.end() && found->second == this) {
        part->objects.erase(found);
    }
}

bool PartObject::standsIn(const OpenDocument& document) const noexcept
{
    return document.part == part ||
           std::find(document.constructions.begin(), document.constructions.end(), part) !=
               document.constructions.end();
}

IDispatchPtr PartObject::twin()
{
    return makeObject(hostState(), part, subject, false);
}

IDispatchPtr PartObject::objectOf(const Entity& other) const
{
    return objectFor(hostState(), part, other);
}

const std::vector<FeatureSpec>& PartObject::features() const
{
    static const std::vector<FeatureSpec> none;
    const auto found = part->features.find(subject.body);
    return found == part->features.end() ? none : found->second;
}

void PartObject::referenceKey(Call& call)
{
    answerKey(call, content().key(subject), host().options.keySalt);
}

void PartObject::exactRange(Call& call)
{
    const geom::Box& box = content().box(subject);
    if (box.empty()) {
        failCall(E_FAIL, "there is nothing to measure");
    }
    call.put(0, asArray(Doubles{box.min.x, box.min.y, box.min.z}));
    call.put(1, asArray(Doubles{box.max.x, box.max.y, box.max.z}));
}

IDispatchPtr objectFor(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                       const Entity& entity)
{
    const auto found = part->objects.find(entity);
    return found != part->objects.end() ? owned(found->second)
                                        : makeObject(host, part, entity, true);
}

std::vector<std::size_t> selectFaces(const geom::Body& body, const std::vector<std::size_t>& faces,
                                     LONG selector)
{
    checkSelector(selector);
    std::vector<std::size_t> chosen;
    for (const std::size_t face : faces) {
        if (isAskedFor(selector, body.faces[face].surface->kind())) {
            chosen.push_back(face);
        }
    }
    return chosen;
}

std::vector<std::size_t> selectEdges(const geom::Body& body, const std::vector<std::size_t>& edges,
                                     LONG selector)
{
    checkSelector(selector);
    std::vector<std::size_t> chosen;
    for (const std::size_t edge : edges) {
        if (isAskedFor(selector, body.edges[edge].curve->kind())) {
            chosen.push_back(edge);
        }
    }
    return chosen;
}

} // namespace standin
