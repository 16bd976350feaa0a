#include "standin/DrawingObject.h"

#include "standin/Call.h"
#include "standin/Document.h"
#include "standin/Host.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace standin {
namespace {

IDispatchPtr makeObject(const std::shared_ptr<HostState>& host, const DrawingPtr& drawing,
                        const Drawn& drawn, bool known)
{
    switch (drawn.kind) {
    case DrawnKind::variables:
    case DrawnKind::variableList:
    case DrawnKind::variable:
        return newVariableObject(host, drawing, drawn, known);
    case DrawnKind::dimension:
    case DrawnKind::dimensions:
        return newDimensionObject(host, drawing, drawn, known);
    case DrawnKind::refPlanes:
    case DrawnKind::refPlane:
    case DrawnKind::asmRefPlanes:
    case DrawnKind::asmRefPlane:
        return newRefPlaneObject(host, drawing, drawn, known);
    case DrawnKind::containers:
    case DrawnKind::container:
    case DrawnKind::profiles:
        return newSketchObject(host, drawing, drawn, known);
    case DrawnKind::profile:
    case DrawnKind::lines:
    case DrawnKind::line:
        return newProfileObject(host, drawing, drawn, known);
    case DrawnKind::relations:
    case DrawnKind::relation:
        return newRelationObject(host, drawing, drawn, known);
    }
    return IDispatchPtr();
}

bool isSingle(DrawnKind kind)
{
    switch (kind) {
    case DrawnKind::variable:
    case DrawnKind::dimension:
    case DrawnKind::refPlane:
    case DrawnKind::asmRefPlane:
    case DrawnKind::container:
    case DrawnKind::profile:
    case DrawnKind::line:
    case DrawnKind::relation:
        return true;
    default:
        return false;
    }
}

} // namespace

DrawingObject::DrawingObject(std::shared_ptr<HostState> hostState, const ClassInfo& info,
                             DrawingPtr inDrawing, const Drawn& drawn, bool known)
    : Object(std::move(hostState), info),
      whole(std::move(inDrawing)),
      subject(drawn)
{
    if (known) {
        whole->objects[subject] = this;
    }
}

DrawingObject::~DrawingObject()
{
    const auto found = whole->objects.find(subject);
    if (found != whole->objects.end() && found->second == this) {
        whole->objects.erase(found);
    }
}

bool DrawingObject::standsIn(const OpenDocument& document) const noexcept
{
    return document.drawing == whole;
}

IDispatchPtr DrawingObject::twin()
{
    return makeObject(hostState(), whole, subject, false);
}

IDispatchPtr DrawingObject::objectOf(const Drawn& other) const
{
    return objectFor(hostState(), whole, other);
}

Drawn DrawingObject::argument(const Call& call, std::size_t parameter,
                              std::initializer_list<DrawnKind> kinds) const
{
    // The pointer may be anybody's, so that nothing is asked of it before it is recognised.
    const auto* known =
        dynamic_cast<const DrawingObject*>(objectBehind(host(), call.object(parameter)));
    if (known == nullptr ||
        std::find(kinds.begin(), kinds.end(), known->subject.kind) == kinds.end()) {
        throw CallFailure{DISP_E_TYPEMISMATCH, std::string(), static_cast<int>(parameter)};
    }
    if (known->whole != whole) {
        throw CallFailure{E_INVALIDARG, "the object is of another document",
                          static_cast<int>(parameter)};
    }
    return known->subject;
}

std::size_t DrawingObject::lineArgument(const Call& call, std::size_t parameter,
                                        std::size_t profile) const
{
    const Drawn line = argument(call, parameter, {DrawnKind::line});
    if (line.owner != profile) {
        throw CallFailure{E_INVALIDARG, "the line is in another profile",
                          static_cast<int>(parameter)};
    }
    return line.index;
}

void DrawingList::count(Call& call)
{
    call.answer(asLong(static_cast<LONG>(items().size())));
}

void DrawingList::item(Call& call)
{
    const std::vector<Drawn> all = items();
    call.answer(asObject(objectOf(all[call.index(0, all.size())])));
}

std::vector<Member> DrawingList::withItems(DISPID count, std::vector<Member> own)
{
    std::vector<Member> members{
        {0,
         "Item",
         kMethod,
         {{L"Index", Shape::variantIn}},
         handle<DrawingList, &DrawingList::item>},
        {count, "Count", kGet, {}, handle<DrawingList, &DrawingList::count>},
    };
    members.insert(members.end(), std::make_move_iterator(own.begin()),
                   std::make_move_iterator(own.end()));
    return members;
}

IDispatchPtr objectFor(const std::shared_ptr<HostState>& host, const DrawingPtr& drawing,
                       const Drawn& drawn)
{
    const auto found = drawing->objects.find(drawn);
    return found != drawing->objects.end() ? owned(found->second)
                                           : makeObject(host, drawing, drawn, isSingle(drawn.kind));
}

} // namespace standin
