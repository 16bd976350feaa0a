#include "standin/Call.h"
#include "standin/Ids.h"
#include "standin/Part.h"

#include <numeric>
#include <utility>
#include <vector>

namespace standin {
namespace {

std::vector<std::size_t> upTo(std::size_t count)
{
    std::vector<std::size_t> all(count);
    std::iota(all.begin(), all.end(), std::size_t{0});
    return all;
}

LONG selectorOf(const Call& call)
{
    return call.given(0) ? call.integer(0) : igQueryAll;
}

//! What a body was modelled by.
class Model : public PartObject
{
public:
    using PartObject::PartObject;

    void bodyObject(Call& call)
    {
        call.answer(asObject(objectOf({EntityKind::body, entity().body, 0})));
    }

    void featureList(Call& call)
    {
        call.answer(asObject(newFeatures(hostState(), live(), entity().body, features().size())));
    }

    //! Design bodies and constructions have the same members under different interfaces.
    static const ClassInfo& table(bool construction);
};

const ClassInfo& Model::table(bool construction)
{
    static const std::vector<Member> members{
        {30, "Features", kGet, {}, handle<Model, &Model::featureList>},
        {49, "Body", kGet, {}, handle<Model, &Model::bodyObject>},
    };
    static const ClassInfo ofDesign{"Model", &kIidModel, members};
    static const ClassInfo ofConstruction{"ConstructionModel", &kIidConstructionModel, members};
    return construction ? ofConstruction : ofDesign;
}

//! What a model was made by.
class Feature : public PartObject
{
public:
    using PartObject::PartObject;

    void parent(Call& call)
    {
        call.answer(asObject(objectOf({EntityKind::model, entity().body, 0})));
    }
    void type(Call& call) { call.answer(asLong(typeOf(features()[entity().index]))); }

    static const ClassInfo& table(FeatureKind kind);

private:
    static LONG typeOf(const FeatureSpec& feature);
};

LONG Feature::typeOf(const FeatureSpec& feature)
{
    switch (feature.kind) {
    case FeatureKind::interpart:
        return igInterpartConstructionObject;
    case FeatureKind::stitched:
        return igStitchSurfaceObject;
    case FeatureKind::derivedCurve:
        return igDerivedCurveObject;
    case FeatureKind::plain:
        break;
    }
    return feature.type;
}

const ClassInfo& Feature::table(FeatureKind kind)
{
    static const std::vector<Member> members{
        {4, "Parent", kGet, {}, handle<Feature, &Feature::parent>},
        {8218, "Type", kGet, {}, handle<Feature, &Feature::type>},
    };
    static const ClassInfo interpart{"InterpartConstruction", &kIidInterpartConstruction, members};
    static const ClassInfo stitched{"StitchSurface", &kIidStitchSurface, members};
    static const ClassInfo derivedCurve{"DerivedCurve", &kIidDerivedCurve, members};
    static const ClassInfo plain{"Feature", nullptr, members};
    switch (kind) {
    case FeatureKind::interpart:
        return interpart;
    case FeatureKind::stitched:
        return stitched;
    case FeatureKind::derivedCurve:
        return derivedCurve;
    case FeatureKind::plain:
        break;
    }
    return plain;
}

class Body : public PartObject
{
public:
    using PartObject::PartObject;

    void type(Call& call) { call.answer(asLong(igBody)); }
    void isSolid(Call& call) { call.answer(asBool(body().solid)); }
    void visible(Call& call) { call.answer(asBool(live()->visible)); }
    void faces(Call& call)
    {
        const std::vector<std::size_t> chosen =
            selectFaces(body(), upTo(body().faces.size()), selectorOf(call));
        call.answer(asObject(newFaces(hostState(), live(), entity().body, chosen)));
    }
    void edges(Call& call)
    {
        const std::vector<std::size_t> chosen =
            selectEdges(body(), upTo(body().edges.size()), selectorOf(call));
        call.answer(asObject(newEdges(hostState(), live(), entity().body, chosen)));
    }
    void range(Call& call) { exactRange(call); }
    void key(Call& call) { referenceKey(call); }

    static const ClassInfo& table();
};

const ClassInfo& Body::table()
{
    static const std::vector<Parameter> range{{L"MinRangePoint", Shape::doubles},
                                              {L"MaxRangePoint", Shape::doubles}};
    static const ClassInfo info{
        "Body",
        &kIidBody,
        {
            // The host declares the selectors of Edges and Faces as required; both forms are
            // answered.
            {52, "Edges", kGet, {{L"EdgeType", Shape::longIn, true}}, handle<Body, &Body::edges>},
            {53, "Faces", kGet, {{L"FaceType", Shape::longIn, true}}, handle<Body, &Body::faces>},
            {58, "GetRange", kMethod, range, handle<Body, &Body::range>},
            {60, "Type", kGet, {}, handle<Body, &Body::type>},
            {65, "IsSolid", kGet, {}, handle<Body, &Body::isSolid>},
            {70,
             "GetReferenceKey",
             kMethod,
             {{L"ReferenceKey", Shape::bytes}, {L"KeySize", Shape::variantOut, true}},
             handle<Body, &Body::key>},
            {129, "GetExactRange", kMethod, range, handle<Body, &Body::range>},
            {518, "Visible", kGet, {}, handle<Body, &Body::visible>},
        }};
    return info;
}

} // namespace

IDispatchPtr newModel(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                      const Entity& entity, bool known)
{
    return owned(new Model(host, Model::table(part->construction), part, entity, known));
}

IDispatchPtr newFeature(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                        const Entity& entity, bool known)
{
    const FeatureKind kind = part->features[entity.body][entity.index].kind;
    return owned(new Feature(host, Feature::table(kind), part, entity, known));
}

IDispatchPtr newBody(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                     const Entity& entity, bool known)
{
    return owned(new Body(host, Body::table(), part, entity, known));
}

} // namespace standin
