#include "standin/Call.h"
#include "standin/Ids.h"
#include "standin/Part.h"
#include "standin/geom/FaceGeometry.h"

#include <cmath>
#include <utility>
#include <vector>

namespace standin {
namespace {

//! Moves a parameter that repeats into a range, or as near to it as it gets.
double unwrapped(double value, double period, double from, double to)
{
    if (period <= 0.0) {
        return value;
    }
    const double above = value - period * std::floor((value - from) / period);
    const bool belowIsNearer = above > to && from - (above - period) < above - to;
    return belowIsNearer ? above - period : above;
}

class Face : public PartObject
{
public:
    using PartObject::PartObject;

    void type(Call& call) { call.answer(asLong(igFace)); }
    void parent(Call& call)
    {
        call.answer(asObject(objectOf({EntityKind::body, entity().body, 0})));
    }
    void geometry(Call& call)
    {
        call.answer(asObject(objectOf({EntityKind::surface, entity().body, entity().index})));
    }
    void edges(Call& call);
    void facetCount(Call& call);
    void facetData(Call& call);
    void normals(Call& call);
    void paramRange(Call& call);
    void pointsAtParams(Call& call);
    void paramsAtPoints(Call& call);
    void range(Call& call) { exactRange(call); }
    void key(Call& call) { referenceKey(call); }

    static const ClassInfo& table();

private:
    [[nodiscard]] const geom::Face& face() const { return content().face(entity()); }
    //! Gives the parameters of a point of the surface, within the face's range where they repeat.
    [[nodiscard]] geom::Param paramAt(const geom::Vec& point, const geom::Param* guess) const;
};

geom::Param Face::paramAt(const geom::Vec& point, const geom::Param* guess) const
{
    geom::Param param = face().surface->parameterAt(point, guess);
    const geom::Param period = face().surface->period();
    const auto& [from, to] = content().paramRange(entity());
    param.u = unwrapped(param.u, period.u, from.u, to.u);
    param.v = unwrapped(param.v, period.v, from.v, to.v);
    return param;
}

void Face::edges(Call& call)
{
    const LONG selector = call.given(0) ? call.integer(0) : igQueryAll;
    const std::vector<std::size_t> chosen =
        selectEdges(body(), PartContent::edgesOf(face()), selector);
    call.answer(asObject(newEdges(hostState(), live(), entity().body, chosen)));
}

void Face::facetCount(Call& call)
{
    const std::size_t numbers = content().facets(entity(), call.real(0)).size();
    call.answer(asLong(static_cast<LONG>(numbers / 9)));
}

void Face::facetData(Call& call)
{
    const Doubles& points = content().facets(entity(), call.real(0));
    call.put(1, asLong(static_cast<LONG>(points.size() / 9)));
    call.put(2, asArray(points));
    if (!call.given(3) && !call.given(4)) {
        return;
    }
    const auto& [from, to] = content().paramRange(entity());
    Doubles normals;
    Doubles texture;
    for (std::size_t i = 0; i + 2 < points.size(); i += 3) {
        const geom::Param param = paramAt({points[i], points[i + 1], points[i + 2]}, nullptr);
        const geom::Vec normal = geom::faceNormal(face(), param);
        normals.insert(normals.end(), {normal.x, normal.y, normal.z});
        texture.push_back(to.u > from.u ? (param.u - from.u) / (to.u - from.u) : 0.0);
        texture.push_back(to.v > from.v ? (param.v - from.v) / (to.v - from.v) : 0.0);
    }
    call.put(3, asArray(std::move(normals)));
    call.put(4, asArray(std::move(texture)));
}

void Face::normals(Call& call)
{
    const std::size_t count = call.count(0);
    const Doubles params = call.doubles(1, 2 * count);
    Doubles normals;
    for (std::size_t i = 0; i < count; ++i) {
        const geom::Vec normal = geom::faceNormal(face(), {params[2 * i], params[2 * i + 1]});
        normals.insert(normals.end(), {normal.x, normal.y, normal.z});
    }
    call.put(2, asArray(std::move(normals)));
}

void Face::paramRange(Call& call)
{
    const auto& [from, to] = content().paramRange(entity());
    call.put(0, asArray(Doubles{from.u, from.v}));
    call.put(1, asArray(Doubles{to.u, to.v}));
}

void Face::pointsAtParams(Call& call)
{
    const std::size_t count = call.count(0);
    const Doubles params = call.doubles(1, 2 * count);
    Doubles points;
    for (std::size_t i = 0; i < count; ++i) {
        const geom::Vec point = face().surface->at({params[2 * i], params[2 * i + 1]});
        points.insert(points.end(), {point.x, point.y, point.z});
    }
    call.put(2, asArray(std::move(points)));
}

void Face::paramsAtPoints(Call& call)
{
    const std::size_t count = call.count(0);
    const Doubles points = call.doubles(1, 3 * count);
    const Doubles guesses = call.doubles(2);
    Doubles deviations;
    Doubles params;
    for (std::size_t i = 0; i < count; ++i) {
        const geom::Vec point{points[3 * i], points[3 * i + 1], points[3 * i + 2]};
        geom::Param guess;
        const bool guessed = guesses.size() >= 2 * count && std::isfinite(guesses[2 * i]) &&
                             std::isfinite(guesses[2 * i + 1]);
        if (guessed) {
            guess = {guesses[2 * i], guesses[2 * i + 1]};
        }
        const geom::Param param = paramAt(point, guessed ? &guess : nullptr);
        deviations.push_back(geom::distance(point, face().surface->at(param)));
        params.push_back(param.u);
        params.push_back(param.v);
    }
    call.put(3, asArray(std::move(deviations)));
    call.put(4, asArray(std::move(params)));
    call.put(5, asArray(Longs(count, 0)));
}

const ClassInfo& Face::table()
{
    static const ClassInfo info{
        "Face",
        &kIidFace,
        {
            {37, "Body", kGet, {}, handle<Face, &Face::parent>},
            // The host declares no parameter; callers pass a selector as for a body.
            {38, "Edges", kGet, {{L"EdgeType", Shape::longIn, true}}, handle<Face, &Face::edges>},
            {39, "Geometry", kGet, {}, handle<Face, &Face::geometry>},
            {42, "Parent", kGet, {}, handle<Face, &Face::parent>},
            {43,
             "GetReferenceKey",
             kMethod,
             {{L"ReferenceKey", Shape::bytes}, {L"KeySize", Shape::variantOut, true}},
             handle<Face, &Face::key>},
            {46,
             "FacetCount",
             kGet,
             {{L"Tolerance", Shape::doubleIn}},
             handle<Face, &Face::facetCount>},
            {47,
             "GetFacetData",
             kMethod,
             {{L"Tolerance", Shape::doubleIn},
              {L"FacetCount", Shape::longOut},
              {L"Points", Shape::doubles},
              {L"Normals", Shape::variantOut, true},
              {L"TextureCoords", Shape::variantOut, true}},
             handle<Face, &Face::facetData>},
            {48, "Type", kGet, {}, handle<Face, &Face::type>},
            {132,
             "GetExactRange",
             kMethod,
             {{L"MinRangePoint", Shape::doubles}, {L"MaxRangePoint", Shape::doubles}},
             handle<Face, &Face::range>},
            {229,
             "GetNormal",
             kMethod,
             {{L"NumParams", Shape::longIn},
              {L"Params", Shape::doubles},
              {L"Normals", Shape::doubles}},
             handle<Face, &Face::normals>},
            {232,
             "GetParamRange",
             kMethod,
             {{L"MinParam", Shape::doubles}, {L"MaxParam", Shape::doubles}},
             handle<Face, &Face::paramRange>},
            {233,
             "GetPointAtParam",
             kMethod,
             {{L"NumParams", Shape::longIn},
              {L"Params", Shape::doubles},
              {L"Points", Shape::doubles}},
             handle<Face, &Face::pointsAtParams>},
            {234,
             "GetParamAtPoint",
             kMethod,
             {{L"NumPoints", Shape::longIn},
              {L"Points", Shape::doubles},
              {L"GuessParams", Shape::doubles},
              {L"MaxDeviations", Shape::doubles},
              {L"Params", Shape::doubles},
              {L"Flags", Shape::longs}},
             handle<Face, &Face::paramsAtPoints>},
        }};
    return info;
}

} // namespace

IDispatchPtr newFace(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                     const Entity& entity, bool known)
{
    return owned(new Face(host, Face::table(), part, entity, known));
}

} // namespace standin
