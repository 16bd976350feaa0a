#include "standin/Call.h"
#include "standin/DrawingObject.h"
#include "standin/Ids.h"
#include "standin/Solver.h"

#include <utility>

namespace standin {
namespace {

class Dimension : public DrawingObject
{
public:
    using DrawingObject::DrawingObject;

    void value(Call& call) { call.answer(asDouble(drawing()->valueOf(data()))); }
    void setValue(Call& call);
    void dimensionType(Call& call) { call.answer(asLong(static_cast<LONG>(data().data.kind))); }
    void constraint(Call& call) { call.answer(asBool(data().data.driving)); }
    void setConstraint(Call& call);
    void projectionLineDirection(Call& call)
    {
        call.answer(asBool(data().projectionLineDirection));
    }
    void setProjectionLineDirection(Call& call) { data().projectionLineDirection = call.flag(0); }
    void trackDistance(Call& call) { call.answer(asDouble(data().trackDistance)); }
    void setTrackDistance(Call& call) { data().trackDistance = call.real(0); }
    void displayName(Call& call) { call.answer(asText(data().data.name)); }
    //! The argument's meaning in the host is not known. Callers that pass 0 want the system name.
    void name(Call& call)
    {
        const bool system = call.given(0) && call.variantNumber(0, 1) == 0;
        call.answer(asText(system ? data().data.systemName : data().data.name));
    }
    void systemName(Call& call) { call.answer(asText(data().data.systemName)); }
    void type(Call& call) { call.answer(asLong(igDimension)); }
    void unitsType(Call& call) { call.answer(asLong(static_cast<LONG>(data().units))); }
    void setUnitsType(Call& call);

    static const ClassInfo& table();

private:
    [[nodiscard]] DrawnDimension& data() const { return drawing()->dimensions[drawn().index]; }
};

void Dimension::setValue(Call& call)
{
    const double value = call.real(0);
    if (!data().data.driving) {
        failCall(E_FAIL, "a driven dimension measures, its value can't be set");
    }
    if (data().profile == geom::kNone) {
        data().data.value = value;
        return;
    }
    if (value <= kShortestLine) {
        failCall(E_INVALIDARG, "no line has this length");
    }
    const double before = std::exchange(data().data.value, value);
    if (!drawing()->settle(data().profile)) {
        data().data.value = before;
        failCall(E_FAIL, "the profile's relations and dimensions don't allow the value");
    }
}

void Dimension::setConstraint(Call& call)
{
    // What starts to drive demands what it has measured, so that nothing moves.
    data().data.value = drawing()->valueOf(data());
    data().data.driving = call.flag(0);
}

void Dimension::setUnitsType(Call& call)
{
    const LONG units = call.integer(0);
    if (units != static_cast<LONG>(UnitKind::distance) &&
        units != static_cast<LONG>(UnitKind::angle)) {
        failCall(E_INVALIDARG, "UnitsType is " + std::to_string(units) + ", 1 or 2 is allowed");
    }
    data().units = static_cast<UnitKind>(units);
}

const ClassInfo& Dimension::table()
{
    static const std::vector<Parameter> newNumber{{L"NewValue", Shape::doubleIn}};
    static const std::vector<Parameter> newFlag{{L"NewValue", Shape::boolIn}};
    static const ClassInfo info{
        "Dimension",
        &kIidDimension,
        {
            {0, "Value", kGet, {}, handle<Dimension, &Dimension::value>},
            {0, "Value", kPut, newNumber, handle<Dimension, &Dimension::setValue>},
            {3, "DimensionType", kGet, {}, handle<Dimension, &Dimension::dimensionType>},
            {4, "Constraint", kGet, {}, handle<Dimension, &Dimension::constraint>},
            {4, "Constraint", kPut, newFlag, handle<Dimension, &Dimension::setConstraint>},
            {14,
             "ProjectionLineDirection",
             kGet,
             {},
             handle<Dimension, &Dimension::projectionLineDirection>},
            {14, "ProjectionLineDirection", kPut, newFlag,
             handle<Dimension, &Dimension::setProjectionLineDirection>},
            {19, "TrackDistance", kGet, {}, handle<Dimension, &Dimension::trackDistance>},
            {19, "TrackDistance", kPut, newNumber, handle<Dimension, &Dimension::setTrackDistance>},
            {16487,
             "Name",
             kGet,
             {{L"Recurse", Shape::variantIn, true}},
             handle<Dimension, &Dimension::name>},
            {16489, "Type", kGet, {}, handle<Dimension, &Dimension::type>},
            {17495, "VariableTableName", kGet, {}, handle<Dimension, &Dimension::displayName>},
            {17501, "DisplayName", kGet, {}, handle<Dimension, &Dimension::displayName>},
            {17502, "SystemName", kGet, {}, handle<Dimension, &Dimension::systemName>},
            {17633, "UnitsType", kGet, {}, handle<Dimension, &Dimension::unitsType>},
            {17633,
             "UnitsType",
             kPut,
             {{L"NewValue", Shape::longIn}},
             handle<Dimension, &Dimension::setUnitsType>},
        }};
    return info;
}

//! The dimensions of a profile.
class Dimensions : public DrawingList
{
public:
    using DrawingList::DrawingList;

    void addLength(Call& call);

    static const ClassInfo& table()
    {
        static const ClassInfo info{"Dimensions", &kIidDimensions,
                                    withItems(3, {{100,
                                                   "AddLength",
                                                   kMethod,
                                                   {{L"Object", Shape::objectIn}},
                                                   handle<Dimensions, &Dimensions::addLength>}})};
        return info;
    }

protected:
    [[nodiscard]] std::vector<Drawn> items() const override
    {
        std::vector<Drawn> all;
        for (const std::size_t index : drawing()->profiles[drawn().index].dimensions) {
            all.push_back({DrawnKind::dimension, index});
        }
        return all;
    }
};

void Dimensions::addLength(Call& call)
{
    const std::size_t line = lineArgument(call, 0, drawn().index);
    if (drawing()->profiles[drawn().index].lines[line].plane != geom::kNone) {
        failCall(E_INVALIDARG, "a projected plane has no length");
    }
    DrawnDimension dimension;
    dimension.data.driving = false;
    dimension.profile = drawn().index;
    dimension.line = line;
    const std::size_t index = drawing()->add(std::move(dimension));
    drawing()->profiles[drawn().index].dimensions.push_back(index);
    call.answer(asObject(objectOf({DrawnKind::dimension, index})));
}

} // namespace

IDispatchPtr newDimensionObject(const std::shared_ptr<HostState>& host, const DrawingPtr& drawing,
                                const Drawn& drawn, bool known)
{
    if (drawn.kind == DrawnKind::dimensions) {
        return owned(new Dimensions(host, Dimensions::table(), drawing, drawn, known));
    }
    return owned(new Dimension(host, Dimension::table(), drawing, drawn, known));
}

} // namespace standin
