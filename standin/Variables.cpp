#include "com/ComText.h"
#include "standin/Call.h"
#include "standin/DrawingObject.h"
#include "standin/Ids.h"
#include "standin/Text.h"

#include <algorithm>
#include <utility>

namespace standin {
namespace {

//! Selectors of Query: which name, and which kinds, one bit each.
constexpr LONG kNameByUser = 0;
constexpr LONG kNameBySystem = 1;
constexpr LONG kNameByBoth = 2;
constexpr LONG kDimensions = 1;
constexpr LONG kVariables = 2;
constexpr LONG kAllKinds = 63;

constexpr double kPi = 3.14159265358979323846;

//! The names of an entry of the variable table.
struct Entry
{
    std::string name;
    std::string systemName;
};

Entry entryOf(const Drawing& drawing, const Drawn& drawn)
{
    if (drawn.kind == DrawnKind::dimension) {
        const DimensionSpec& dimension = drawing.dimensions[drawn.index].data;
        return {dimension.name, dimension.systemName};
    }
    const VariableSpec& variable = drawing.variables[drawn.index];
    return {variable.name, variable.systemName};
}

//! Which variables a query asks for.
class Query
{
public:
    explicit Query(const Call& call)
        : criterion(com::fromUtf8(call.text(0))),
          namedBy(call.variantNumber(1, kNameByBoth)),
          kinds(call.variantNumber(2, kDimensions | kVariables)),
          anyCase(call.variantNumber(3, 0) != 0)
    {
        if (namedBy < kNameByUser || namedBy > kNameByBoth) {
            failCall(E_INVALIDARG, "NamedBy is " + std::to_string(namedBy) + ", 0 to 2 is allowed");
        }
        if (kinds < 1 || kinds > kAllKinds) {
            failCall(E_INVALIDARG, "VarType is " + std::to_string(kinds) + ", 1 to 63 is allowed");
        }
    }

    [[nodiscard]] bool finds(const Drawing& drawing, const Drawn& drawn) const
    {
        const LONG kind = drawn.kind == DrawnKind::dimension ? kDimensions : kVariables;
        if ((kinds & kind) == 0) {
            return false;
        }
        const Entry entry = entryOf(drawing, drawn);
        return (namedBy != kNameBySystem && fits(entry.name)) ||
               (namedBy != kNameByUser && fits(entry.systemName));
    }

private:
    [[nodiscard]] bool fits(const std::string& name) const
    {
        return matchesPattern(com::fromUtf8(name), criterion, anyCase);
    }

    std::wstring criterion;
    LONG namedBy;
    LONG kinds;
    bool anyCase;
};

//! What a query has found, as it was then.
class VariableList : public DrawingList
{
public:
    VariableList(std::shared_ptr<HostState> host, DrawingPtr drawing, std::vector<Drawn> found)
        : DrawingList(std::move(host), table(), std::move(drawing), {DrawnKind::variableList},
                      false),
          all(std::move(found))
    {}

    IDispatchPtr twin() override { return owned(new VariableList(hostState(), drawing(), all)); }

    static const ClassInfo& table()
    {
        static const ClassInfo info{"VariableList", &kIidVariableList, withItems(50)};
        return info;
    }

protected:
    [[nodiscard]] std::vector<Drawn> items() const override { return all; }

private:
    std::vector<Drawn> all;
};

class Variables : public DrawingList
{
public:
    using DrawingList::DrawingList;

    void query(Call& call)
    {
        const Query wanted(call);
        std::vector<Drawn> found;
        for (const Drawn& each : drawing()->table) {
            if (wanted.finds(*drawing(), each)) {
                found.push_back(each);
            }
        }
        call.answer(asObject(owned(new VariableList(hostState(), drawing(), std::move(found)))));
    }
    template <std::string Entry::*text>
    void nameOf(Call& call)
    {
        const Drawn entry = argument(call, 0, {DrawnKind::variable, DrawnKind::dimension});
        call.answer(asText(entryOf(*drawing(), entry).*text));
    }

    static const ClassInfo& table();

protected:
    [[nodiscard]] std::vector<Drawn> items() const override { return drawing()->table; }
};

const ClassInfo& Variables::table()
{
    static const std::vector<Parameter> variable{{L"pVariable", Shape::objectIn}};
    static const ClassInfo info{
        "Variables", &kIidVariables,
        withItems(20, {
                          {25, "GetName", kMethod, variable,
                           handle<Variables, &Variables::nameOf<&Entry::name>>},
                          {27,
                           "Query",
                           kMethod,
                           {{L"pFindCriterium", Shape::textIn},
                            {L"NamedBy", Shape::variantIn, true},
                            {L"VarType", Shape::variantIn, true},
                            {L"CaseInsensitive", Shape::variantIn, true}},
                           handle<Variables, &Variables::query>},
                          {31, "GetDisplayName", kMethod, variable,
                           handle<Variables, &Variables::nameOf<&Entry::name>>},
                          {32, "GetSystemName", kMethod, variable,
                           handle<Variables, &Variables::nameOf<&Entry::systemName>>},
                      })};
    return info;
}

//! Writes a value as users see it: millimetres or degrees.
std::string valueText(double value, UnitKind units)
{
    return units == UnitKind::angle ? numberText(value * 180.0 / kPi) + " deg"
                                    : numberText(value * 1000.0) + " mm";
}

//! A user's variable. The host calls the class so, in lower case.
class Variable : public DrawingObject
{
public:
    using DrawingObject::DrawingObject;

    void name(Call& call) { call.answer(asText(data().name)); }
    void setName(Call& call);
    void systemName(Call& call) { call.answer(asText(data().systemName)); }
    void unitsType(Call& call) { call.answer(asLong(static_cast<LONG>(data().units))); }
    void value(Call& call) { call.answer(asDouble(data().value)); }
    void setValue(Call& call) { data().value = call.real(0); }
    void formula(Call& call) { call.answer(asText(data().formula)); }
    void setFormula(Call& call) { data().formula = call.text(0); }
    //! The host's own form has the text as an argument; without it the text is the result.
    void getValue(Call& call)
    {
        Value text = asText(valueText(data().value, data().units));
        if (call.given(0)) {
            call.put(0, std::move(text));
        } else {
            call.answer(std::move(text));
        }
    }
    void type(Call& call) { call.answer(asLong(igVariable)); }

    static const ClassInfo& table();

private:
    [[nodiscard]] VariableSpec& data() const { return drawing()->variables[drawn().index]; }
};

void Variable::setName(Call& call)
{
    std::string wanted = call.text(0);
    const std::vector<Drawn>& all = drawing()->table;
    const bool taken = std::any_of(all.begin(), all.end(), [&](const Drawn& each) {
        const bool itself = each.kind == drawn().kind && each.index == drawn().index;
        return !itself && entryOf(*drawing(), each).name == wanted;
    });
    if (wanted.empty() || taken) {
        failCall(E_INVALIDARG, "the name is empty or in use");
    }
    data().name = std::move(wanted);
}

const ClassInfo& Variable::table()
{
    static const ClassInfo info{
        "variable",
        &kIidVariable,
        {
            {1, "Name", kGet, {}, handle<Variable, &Variable::name>},
            {1, "Name", kPut, {{L"NewValue", Shape::textIn}}, handle<Variable, &Variable::setName>},
            {2, "UnitsType", kGet, {}, handle<Variable, &Variable::unitsType>},
            {3, "Value", kGet, {}, handle<Variable, &Variable::value>},
            {3,
             "Value",
             kPut,
             {{L"NewValue", Shape::doubleIn}},
             handle<Variable, &Variable::setValue>},
            {5, "Formula", kGet, {}, handle<Variable, &Variable::formula>},
            {5,
             "Formula",
             kPut,
             {{L"NewValue", Shape::textIn}},
             handle<Variable, &Variable::setFormula>},
            {9,
             "GetValue",
             kMethod,
             {{L"Value", Shape::textOut, true}},
             handle<Variable, &Variable::getValue>},
            {11, "Type", kGet, {}, handle<Variable, &Variable::type>},
            {12, "VariableTableName", kGet, {}, handle<Variable, &Variable::name>},
            {15, "DisplayName", kGet, {}, handle<Variable, &Variable::name>},
            {16, "SystemName", kGet, {}, handle<Variable, &Variable::systemName>},
        }};
    return info;
}

} // namespace

IDispatchPtr newVariableObject(const std::shared_ptr<HostState>& host, const DrawingPtr& drawing,
                               const Drawn& drawn, bool known)
{
    return drawn.kind == DrawnKind::variable
               ? owned(new Variable(host, Variable::table(), drawing, drawn, known))
               : owned(new Variables(host, Variables::table(), drawing, drawn, known));
}

IDispatchPtr newVariables(const std::shared_ptr<HostState>& host, const DrawingPtr& drawing)
{
    return objectFor(host, drawing, {DrawnKind::variables});
}

} // namespace standin
