//! Variables, dimensions that measure nothing drawn, and queries for both.

#include "standin/Text.h"
#include "support/CensusGuard.h"
#include "support/HostObjects.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace support;
using standin::DimensionKind;
using standin::UnitKind;

standin::VariableSpec variableNamed(const std::string& name, const std::string& systemName,
                                    double number = 0.0)
{
    standin::VariableSpec variable;
    variable.name = name;
    variable.systemName = systemName;
    variable.value = number;
    return variable;
}

standin::DimensionSpec dimensionNamed(const std::string& name, const std::string& systemName,
                                      DimensionKind kind = DimensionKind::linear,
                                      double number = 0.0)
{
    standin::DimensionSpec dimension;
    dimension.name = name;
    dimension.systemName = systemName;
    dimension.kind = kind;
    dimension.value = number;
    return dimension;
}

VARIANT shortValue(SHORT number)
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = VT_I2;
    V_I2(&v) = number;
    return v;
}

class standin_Variables : public HostTest
{
protected:
    [[nodiscard]] IDispatchPtr variables() const { return need(get(document, 8193)); }
    //! Gives the system names of what a query finds, with a blank behind each.
    [[nodiscard]] std::string found(const std::wstring& criterion,
                                    std::vector<VARIANT> selectors = {}) const
    {
        const _variant_t text(criterion.c_str());
        std::vector<VARIANT> arguments{text};
        arguments.insert(arguments.end(), selectors.begin(), selectors.end());
        const IDispatchPtr list = need(method(variables(), 27, arguments));
        std::string names;
        const LONG count = get(list, 50).number();
        for (LONG i = 1; i <= count; ++i) {
            names +=
                method(variables(), 32, {objectValue(item(list, i).GetInterfacePtr())}).text() +
                " ";
        }
        return names;
    }
    [[nodiscard]] HRESULT queryFailure(std::vector<VARIANT> selectors) const
    {
        const _variant_t text(L"*");
        std::vector<VARIANT> arguments{text};
        arguments.insert(arguments.end(), selectors.begin(), selectors.end());
        return method(variables(), 27, arguments).failure();
    }

    standin::Session session;
    IDispatchPtr document = openBody(session, plainBox());
};

//! Two dimensions and two variables, in mixed order.
class standin_FourVariables : public standin_Variables
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(session.addVariable(document, variableNamed("Width", "V10", 0.05)), 1);
        ASSERT_EQ(session.addDimension(document,
                                       dimensionNamed("Depth", "V11", DimensionKind::linear, 0.02)),
                  2);
        ASSERT_EQ(session.addDimension(document,
                                       dimensionNamed("width", "V12", DimensionKind::angular, 0.5)),
                  3);
        ASSERT_EQ(session.addVariable(document, variableNamed("V11", "X1", 2.0)), 4);
    }
};

TEST_F(standin_Variables, AFreshPartHasNone)
{
    EXPECT_EQ(get(variables(), 20).number(), 0);
    EXPECT_EQ(found(L"*"), "");
}

TEST_F(standin_Variables, NamesThatAreNotGivenAreMade)
{
    session.addVariable(document, {});
    session.addDimension(document, {});
    session.addVariable(document, variableNamed("a", ""));
    EXPECT_EQ(found(L"*"), "V1 V2 V3 ");
    EXPECT_EQ(get(item(variables(), 1), 1).text(), "V1");
    EXPECT_EQ(get(item(variables(), 2), 16487).text(), "V2");
    EXPECT_EQ(get(item(variables(), 3), 1).text(), "a");
}

TEST_F(standin_Variables, NamesThatAreMadeAreFree)
{
    session.addVariable(document, variableNamed("a", "V1"));
    session.addDimension(document, dimensionNamed("b", "V3"));
    session.addVariable(document, {});
    session.addVariable(document, {});
    EXPECT_EQ(found(L"*"), "V1 V3 V2 V4 ");
}

TEST_F(standin_FourVariables, StandInTheOrderOfTheirMaking)
{
    EXPECT_EQ(get(variables(), 20).number(), 4);
    EXPECT_EQ(get(item(variables(), 1), 11).number(), 1984425411);
    EXPECT_EQ(get(item(variables(), 2), 16489).number(), 488188096);
    EXPECT_EQ(method(variables(), 0, {value(LONG{5})}).code, DISP_E_BADINDEX);
}

TEST_F(standin_FourVariables, TheSameOneIsTheSameObject)
{
    const IDispatchPtr first = item(variables(), 1);
    const _variant_t name(L"Width");
    const IDispatchPtr list = need(method(variables(), 27, {name}));
    EXPECT_EQ(item(list, 1).GetInterfacePtr(), first.GetInterfacePtr());
}

TEST_F(standin_FourVariables, AQueryTakesWildcards)
{
    EXPECT_EQ(found(L"*"), "V10 V11 V12 X1 ");
    EXPECT_EQ(found(L"?idth"), "V10 V12 ");
    EXPECT_EQ(found(L"D*"), "V11 ");
    EXPECT_EQ(found(L"*h"), "V10 V11 V12 ");
    EXPECT_EQ(found(L"W?*"), "V10 ");
    EXPECT_EQ(found(L"Wid"), "");
    EXPECT_EQ(found(L""), "");
}

TEST_F(standin_FourVariables, AQueryIsByNameBySystemNameOrByBoth)
{
    EXPECT_EQ(found(L"V11", {value(LONG{0})}), "X1 ");
    EXPECT_EQ(found(L"V11", {value(LONG{1})}), "V11 ");
    EXPECT_EQ(found(L"V11", {value(LONG{2})}), "V11 X1 ");
    EXPECT_EQ(found(L"V11"), "V11 X1 ");
    EXPECT_EQ(found(L"V11", {missing()}), "V11 X1 ");
    EXPECT_EQ(found(L"V11", {shortValue(0)}), "X1 ");
}

TEST_F(standin_FourVariables, AQueryIsForDimensionsForVariablesOrForBoth)
{
    EXPECT_EQ(found(L"*", {value(LONG{2}), value(LONG{1})}), "V11 V12 ");
    EXPECT_EQ(found(L"*", {value(LONG{2}), value(LONG{2})}), "V10 X1 ");
    EXPECT_EQ(found(L"*", {value(LONG{2}), value(LONG{3})}), "V10 V11 V12 X1 ");
    EXPECT_EQ(found(L"*", {shortValue(2), shortValue(1), missing()}), "V11 V12 ");
    EXPECT_EQ(found(L"*", {missing(), shortValue(2)}), "V10 X1 ");
    EXPECT_EQ(found(L"*", {missing(), value(LONG{4})}), "") << "kinds that are not there";
}

TEST_F(standin_FourVariables, AQueryMindsTheCaseUnlessToldOtherwise)
{
    const VARIANT all = value(LONG{3});
    EXPECT_EQ(found(L"width"), "V12 ");
    EXPECT_EQ(found(L"width", {missing(), all, value(false)}), "V12 ");
    EXPECT_EQ(found(L"width", {missing(), all, value(true)}), "V10 V12 ");
    EXPECT_EQ(found(L"W*TH", {missing(), all, shortValue(-1)}), "V10 V12 ");
}

TEST_F(standin_FourVariables, SelectorsThatNobodyKnowsAreRefused)
{
    for (const LONG wrong : {LONG{-1}, LONG{3}}) {
        EXPECT_EQ(queryFailure({value(wrong)}), E_INVALIDARG) << wrong;
    }
    for (const LONG wrong : {LONG{-1}, LONG{0}, LONG{64}}) {
        EXPECT_EQ(queryFailure({value(LONG{2}), value(wrong)}), E_INVALIDARG) << wrong;
    }
    EXPECT_EQ(queryFailure({value(4294967297.0)}), DISP_E_OVERFLOW);
}

TEST_F(standin_FourVariables, AListStaysAsItWasFound)
{
    const _variant_t all(L"*");
    const IDispatchPtr list = need(method(variables(), 27, {all}));
    const IDispatchPtr collection = variables();
    session.addVariable(document, {});
    EXPECT_EQ(get(list, 50).number(), 4);
    EXPECT_EQ(get(collection, 20).number(), 5);
}

TEST_F(standin_FourVariables, TheCollectionTellsNames)
{
    const IDispatchPtr variable = item(variables(), 4);
    const IDispatchPtr dimension = item(variables(), 2);
    EXPECT_EQ(method(variables(), 25, {objectValue(variable)}).text(), "V11");
    EXPECT_EQ(method(variables(), 31, {objectValue(variable)}).text(), "V11");
    EXPECT_EQ(method(variables(), 32, {objectValue(variable)}).text(), "X1");
    EXPECT_EQ(method(variables(), 25, {objectValue(dimension)}).text(), "Depth");
    EXPECT_EQ(method(variables(), 32, {objectValue(dimension)}).text(), "V11");
}

TEST_F(standin_FourVariables, TheCollectionKnowsItsOwnOnly)
{
    const Outcome notAVariable = method(variables(), 25, {objectValue(variables())});
    EXPECT_EQ(notAVariable.code, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(notAVariable.argument, 0u);
    EXPECT_EQ(method(variables(), 25, {objectValue(nullptr)}).code, E_POINTER);
    EXPECT_EQ(method(variables(), 25, {objectValue(bodyOf(document))}).code, DISP_E_TYPEMISMATCH);
    const IDispatchPtr other = openBody(session, plainBox(), "other");
    session.addVariable(other, {});
    const IDispatchPtr foreign = item(need(get(other, 8193)), 1);
    EXPECT_EQ(method(variables(), 25, {objectValue(foreign)}).failure(), E_INVALIDARG);
    standin::Session elsewhere;
    const IDispatchPtr far = openBody(elsewhere, plainBox());
    elsewhere.addVariable(far, {});
    const IDispatchPtr stranger = item(need(get(far, 8193)), 1);
    EXPECT_EQ(method(variables(), 25, {objectValue(stranger)}).code, DISP_E_TYPEMISMATCH);
}

TEST_F(standin_FourVariables, TextsAndObjectsAreTakenByReferenceToo)
{
    const IDispatchPtr variable = item(variables(), 4);
    IDispatch* object = variable.GetInterfacePtr();
    EXPECT_EQ(method(variables(), 25, {reference(object)}).text(), "V11");
    _variant_t inside(object);
    EXPECT_EQ(method(variables(), 25, {reference(inside)}).text(), "V11");
    object = nullptr;
    EXPECT_EQ(method(variables(), 25, {reference(object)}).code, E_POINTER);
    const _variant_t name(L"Depth");
    BSTR text = V_BSTR(&name);
    const IDispatchPtr list = need(method(variables(), 27, {reference(text)}));
    EXPECT_EQ(get(list, 50).number(), 1);
    text = nullptr;
    EXPECT_EQ(get(need(method(variables(), 27, {reference(text)})), 50).number(), 0)
        << "a null text is empty";
}

TEST_F(standin_FourVariables, AVariableHasValueAndFormula)
{
    standin::VariableSpec spec = variableNamed("area", "A", 0.25);
    spec.formula = "Width * 5";
    session.addVariable(document, spec);
    const IDispatchPtr variable = item(variables(), 5);
    EXPECT_EQ(get(variable, 5).text(), "Width * 5");
    EXPECT_EQ(get(variable, 3).real(), 0.25);
    EXPECT_EQ(get(variable, 2).number(), 1);
    EXPECT_EQ(get(variable, 12).text(), "area");
    EXPECT_EQ(get(variable, 15).text(), "area");
    EXPECT_EQ(get(variable, 16).text(), "A");
    EXPECT_EQ(put(variable, 3, value(0.5)).code, S_OK);
    EXPECT_EQ(get(variable, 3).real(), 0.5);
    EXPECT_EQ(put(variable, 5, _variant_t(L"Depth")).code, S_OK);
    EXPECT_EQ(get(variable, 5).text(), "Depth");
    EXPECT_EQ(put(variable, 3, value(std::numeric_limits<double>::infinity())).failure(),
              E_INVALIDARG);
    EXPECT_EQ(get(variable, 3).real(), 0.5);
}

TEST_F(standin_FourVariables, TheTextOfAValueComesAsResultOrAsArgument)
{
    const IDispatchPtr variable = item(variables(), 1);
    EXPECT_EQ(method(variable, 9).text(), "50 mm");
    BSTR text = nullptr;
    const Outcome outcome = method(variable, 9, {reference(text)});
    EXPECT_EQ(outcome.code, S_OK);
    EXPECT_EQ(V_VT(&outcome.result), VT_EMPTY);
    EXPECT_EQ(com::toUtf8(text, SysStringLen(text)), "50 mm");
    SysFreeString(text);
    standin::VariableSpec angle = variableNamed("angle", "A", 3.14159265358979323846 / 4.0);
    angle.units = UnitKind::angle;
    session.addVariable(document, angle);
    EXPECT_EQ(method(item(variables(), 5), 9).text(), "45 deg");
    EXPECT_EQ(get(item(variables(), 5), 2).number(), 2);
}

TEST_F(standin_FourVariables, AVariableIsRenamedToAFreeName)
{
    const IDispatchPtr variable = item(variables(), 1);
    EXPECT_EQ(put(variable, 1, _variant_t(L"Depth")).failure(), E_INVALIDARG);
    EXPECT_EQ(put(variable, 1, _variant_t(L"")).failure(), E_INVALIDARG);
    EXPECT_EQ(get(variable, 1).text(), "Width");
    EXPECT_EQ(put(variable, 1, _variant_t(L"Width")).code, S_OK);
    EXPECT_EQ(put(variable, 1, _variant_t(L"Height")).code, S_OK);
    EXPECT_EQ(get(variable, 1).text(), "Height");
    EXPECT_EQ(found(L"Height"), "V10 ");
}

TEST_F(standin_FourVariables, ADimensionHasNameAndSystemName)
{
    const IDispatchPtr dimension = item(variables(), 2);
    EXPECT_EQ(get(dimension, 16487).text(), "Depth");
    EXPECT_EQ(get(dimension, 16487, {missing()}).text(), "Depth");
    EXPECT_EQ(get(dimension, 16487, {value(true)}).text(), "Depth");
    EXPECT_EQ(get(dimension, 16487, {shortValue(0)}).text(), "V11");
    EXPECT_EQ(get(dimension, 16487, {value(LONG{0})}).text(), "V11");
    EXPECT_EQ(get(dimension, 17502).text(), "V11");
    EXPECT_EQ(get(dimension, 17501).text(), "Depth");
    EXPECT_EQ(get(dimension, 17495).text(), "Depth");
}

TEST_F(standin_FourVariables, ADimensionHasKindAndUnits)
{
    const IDispatchPtr length = item(variables(), 2);
    const IDispatchPtr angle = item(variables(), 3);
    EXPECT_EQ(get(length, 3).number(), 1);
    EXPECT_EQ(get(length, 17633).number(), 1);
    EXPECT_EQ(get(angle, 3).number(), 3);
    EXPECT_EQ(get(angle, 17633).number(), 2);
    EXPECT_EQ(put(angle, 17633, value(LONG{1})).code, S_OK);
    EXPECT_EQ(get(angle, 17633).number(), 1);
    EXPECT_EQ(put(angle, 17633, value(LONG{3})).failure(), E_INVALIDARG);
}

TEST_F(standin_FourVariables, ADrivingDimensionCanBeSetADrivenOneCanNot)
{
    const IDispatchPtr dimension = item(variables(), 2);
    EXPECT_EQ(get(dimension, 0).real(), 0.02);
    EXPECT_TRUE(get(dimension, 4).flag());
    EXPECT_EQ(put(dimension, 0, value(0.03)).code, S_OK);
    EXPECT_EQ(get(dimension, 0).real(), 0.03);
    EXPECT_EQ(put(dimension, 4, value(false)).code, S_OK);
    EXPECT_EQ(put(dimension, 0, value(0.04)).failure(), E_FAIL);
    EXPECT_EQ(get(dimension, 0).real(), 0.03);
    EXPECT_EQ(put(dimension, 4, shortValue(-1)).code, S_OK);
    EXPECT_TRUE(get(dimension, 4).flag());
}

TEST_F(standin_FourVariables, ADimensionKeepsHowItIsDrawn)
{
    const IDispatchPtr dimension = item(variables(), 2);
    EXPECT_FALSE(get(dimension, 14).flag());
    EXPECT_EQ(put(dimension, 14, value(true)).code, S_OK);
    EXPECT_TRUE(get(dimension, 14).flag());
    EXPECT_EQ(put(dimension, 19, value(-0.015)).code, S_OK);
    EXPECT_EQ(get(dimension, 19).real(), -0.015);
}

TEST_F(standin_FourVariables, ANewValueMustBeNamedAsSuch)
{
    const IDispatchPtr dimension = item(variables(), 2);
    VARIANT number = value(0.1);
    DISPPARAMS params{};
    params.rgvarg = &number;
    params.cArgs = 1;
    UINT argument = 99;
    EXPECT_EQ(dimension->Invoke(0, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT, &params,
                                nullptr, nullptr, &argument),
              DISP_E_PARAMNOTFOUND);
    EXPECT_EQ(argument, 0u);
    DISPID name = 0;
    params.rgdispidNamedArgs = &name;
    params.cNamedArgs = 1;
    EXPECT_EQ(dimension->Invoke(0, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT, &params,
                                nullptr, nullptr, &argument),
              DISP_E_PARAMNOTFOUND)
        << "the new value has no other name";
    name = DISPID_PROPERTYPUT;
    EXPECT_EQ(dimension->Invoke(0, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT, &params,
                                nullptr, nullptr, &argument),
              S_OK);
    EXPECT_EQ(dimension->Invoke(3, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT, &params,
                                nullptr, nullptr, &argument),
              DISP_E_MEMBERNOTFOUND)
        << "it can't be set";
    EXPECT_EQ(dimension->Invoke(3, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &params,
                                nullptr, nullptr, &argument),
              DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(get(dimension, 0).real(), 0.1);
}

TEST_F(standin_FourVariables, SettingIsJournalledAndFailsAsOtherCallsDo)
{
    const IDispatchPtr dimension = item(variables(), 2);
    session.journal().record(true);
    EXPECT_EQ(put(dimension, 0, value(0.1)).code, S_OK);
    ASSERT_EQ(session.journal().entries().size(), 1u);
    EXPECT_EQ(session.journal().entries()[0].kind, standin::CallKind::propertyPut);
    EXPECT_EQ(session.journal().entries()[0].member, "Value");
    EXPECT_EQ(session.journal().entries()[0].arguments, "0.1");
    session.faults().failMember("Value", E_ABORT);
    EXPECT_EQ(put(dimension, 0, value(0.2)).code, E_ABORT);
    EXPECT_EQ(get(dimension, 0).real(), 0.1);
}

TEST_F(standin_FourVariables, GoWithTheirDocument)
{
    const IDispatchPtr collection = variables();
    const IDispatchPtr variable = item(collection, 1);
    const IDispatchPtr dimension = item(collection, 2);
    session.change(document, standin::makeModel({plainBox()}));
    EXPECT_EQ(get(variable, 1).text(), "Width") << "a recompute leaves them";
    session.close(document);
    for (const IDispatchPtr& object : {collection, variable, dimension}) {
        EXPECT_EQ(named(object, L"Count", DISPATCH_PROPERTYGET).code, RPC_E_DISCONNECTED);
    }
    EXPECT_EQ(put(dimension, 0, value(0.1)).code, RPC_E_DISCONNECTED);
}

TEST_F(standin_Variables, ValuesThatAreNotFiniteAreRefused)
{
    const double none = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THROW(session.addVariable(document, variableNamed("a", "", none)), standin::HostError);
    EXPECT_THROW(
        session.addDimension(document, dimensionNamed("a", "", DimensionKind::linear, none)),
        standin::HostError);
    EXPECT_EQ(get(variables(), 20).number(), 0);
}

TEST(standin_Text, PatternsTakeAnyCharactersOrOne)
{
    using standin::matchesPattern;
    EXPECT_TRUE(matchesPattern(L"", L"", false));
    EXPECT_TRUE(matchesPattern(L"", L"**", false));
    EXPECT_FALSE(matchesPattern(L"", L"?", false));
    EXPECT_FALSE(matchesPattern(L"a", L"", false));
    EXPECT_TRUE(matchesPattern(L"abcbc", L"a*bc", false));
    EXPECT_TRUE(matchesPattern(L"aXbXc", L"*X*X*", false));
    EXPECT_FALSE(matchesPattern(L"aXb", L"*X*X*", false));
    EXPECT_TRUE(matchesPattern(L"a?b", L"a?b", false));
    EXPECT_FALSE(matchesPattern(L"ab", L"abc", false));
    EXPECT_FALSE(matchesPattern(L"aB", L"Ab", false));
    EXPECT_TRUE(matchesPattern(L"aB", L"Ab", true));
    EXPECT_TRUE(matchesPattern(L"l\u00E4nge", L"l?nge", false));
    EXPECT_FALSE(matchesPattern(std::wstring(200, L'a'), L"*a*a*a*a*a*a*a*a*a*a*a*ab", false));
}

} // namespace
