#include "standin/Call.h"
#include "standin/Ids.h"
#include "standin/Part.h"
#include "standin/geom/FaceGeometry.h"

#include <cmath>

namespace standin {
namespace {

//! An edge runs from its start to its end vertex; its parameters ascend along its curve.
class Edge : public PartObject
{
public:
    using PartObject::PartObject;

    void type(Call& call) { call.answer(asLong(igEdge)); }
    void parent(Call& call)
    {
        call.answer(asObject(objectOf({EntityKind::body, entity().body, 0})));
    }
    void geometry(Call& call)
    {
        call.answer(asObject(objectOf({EntityKind::curve, entity().body, entity().index})));
    }
    void isParamReversed(Call& call) { call.answer(asBool(edge().reversed)); }
    void isClosed(Call& call) { call.answer(asBool(edge().start == edge().end)); }
    void endPoints(Call& call)
    {
        geom::Vec start;
        geom::Vec end;
        geom::endPoints(body(), edge(), start, end);
        call.put(0, asArray(Doubles{start.x, start.y, start.z}));
        call.put(1, asArray(Doubles{end.x, end.y, end.z}));
    }
    void lengthAtParam(Call& call)
    {
        const double length = edge().curve->length(call.real(0), call.real(1));
        call.put(2, asDouble(std::fabs(length)));
    }
    void paramExtents(Call& call)
    {
        call.put(0, asDouble(edge().from));
        call.put(1, asDouble(edge().to));
    }
    void range(Call& call) { exactRange(call); }
    void key(Call& call) { referenceKey(call); }

    static const ClassInfo& table();

private:
    [[nodiscard]] const geom::Edge& edge() const { return content().edge(entity()); }
};

const ClassInfo& Edge::table()
{
    static const ClassInfo info{
        "Edge",
        &kIidEdge,
        {
            {76, "Geometry", kGet, {}, handle<Edge, &Edge::geometry>},
            {77, "IsParamReversed", kGet, {}, handle<Edge, &Edge::isParamReversed>},
            {78, "Parent", kGet, {}, handle<Edge, &Edge::parent>},
            {79,
             "GetReferenceKey",
             kMethod,
             {{L"ReferenceKey", Shape::bytes}, {L"KeySize", Shape::variantOut, true}},
             handle<Edge, &Edge::key>},
            {83, "Type", kGet, {}, handle<Edge, &Edge::type>},
            {85, "IsClosed", kGet, {}, handle<Edge, &Edge::isClosed>},
            {133,
             "GetExactRange",
             kMethod,
             {{L"MinRangePoint", Shape::doubles}, {L"MaxRangePoint", Shape::doubles}},
             handle<Edge, &Edge::range>},
            {267,
             "GetEndPoints",
             kMethod,
             {{L"StartPoint", Shape::doubles}, {L"EndPoint", Shape::doubles}},
             handle<Edge, &Edge::endPoints>},
            {268,
             "GetLengthAtParam",
             kMethod,
             {{L"FromParam", Shape::doubleIn},
              {L"ToParam", Shape::doubleIn},
              {L"Length", Shape::doubleOut}},
             handle<Edge, &Edge::lengthAtParam>},
            {272,
             "GetParamExtents",
             kMethod,
             {{L"MinParam", Shape::doubleOut}, {L"MaxParam", Shape::doubleOut}},
             handle<Edge, &Edge::paramExtents>},
        }};
    return info;
}

} // namespace

IDispatchPtr newEdge(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                     const Entity& entity, bool known)
{
    return owned(new Edge(host, Edge::table(), part, entity, known));
}

} // namespace standin
