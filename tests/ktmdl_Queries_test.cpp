// Questions of the class ktmdl to a live document: dimensions by name, faces, planes.

#include "com/Com.h"
#include "ktmdl/ktmdl.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_fail.h"
#include "support/FakeDispatch.h"
#include "support/HostIds.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

static_assert(std::is_same_v<decltype(ktmdl::GetDimVarFromName(IDispatchPtr(), "")), IDispatchPtr>);
static_assert(
    std::is_same_v<decltype(ktmdl::GetDimVarFromSystemName(IDispatchPtr(), "")), IDispatchPtr>);
static_assert(std::is_same_v<decltype(ktmdl::GetFaceInfo(IDispatchPtr(), nullptr, nullptr)), long>);
static_assert(
    std::is_same_v<decltype(ktmdl::GetPlaneInfo(IDispatchPtr(), nullptr, nullptr)), long>);

namespace {

const char* const kSource = "ktmdl.cpp";
const char* const kByName = "ktmdl::GetDimVarFromName";
const char* const kBySystemName = "ktmdl::GetDimVarFromSystemName";
const char* const kFaceInfo = "ktmdl::GetFaceInfo";
const char* const kPlaneInfo = "ktmdl::GetPlaneInfo";
const HRESULT kGone = static_cast<HRESULT>(0x80010108u);
const HRESULT kBusy = static_cast<HRESULT>(0x8001010Au);

std::string caught(const char* aFunction, HRESULT aCode)
{
    return caughtForm(kSource, aFunction, aCode);
}

//! The two lines of an object that is missing.
std::vector<std::string> missing(const char* aVariable, const char* aFunction)
{
    return {nullPointerForm(kSource, aVariable), caught(aFunction, E_POINTER)};
}

//! The two lines of a failed call of a named property.
std::vector<std::string> failed(HRESULT aCode, const char* aFunction)
{
    return {failedCallForm(kSource, aCode), caught(aFunction, aCode)};
}

//! Tells whether a call that failed has a log line of its own: those of named properties do.
bool isReportedInPlace(const std::string& aCall)
{
    return fake::matches("*.Type?", aCall) || fake::matches("*.get Type()", aCall);
}

using Query = IDispatchPtr (*)(const IDispatchPtr&, const ktstd_AsciiString&);

//! A part document with variables. Lists are given by criterion.
struct Variables
{
    explicit Variables(Scene& aScene)
        : scene(&aScene),
          doc(aScene.world.Make("doc")),
          vars(aScene.world.Make("vars"))
    {
        doc.Answer(hostids::PartDocument);
        doc.Property(0x2001, fake::givesObject(&vars));
        vars.Method(25, [](const fake::Args& aArgs, VARIANT* aResult) {
            static_cast<void>(aArgs.Dispatch(0)); // must be an object
            return fake::givesText(L"its name")(aArgs, aResult);
        });
    }

    //! Sets what the query with a criterion gives.
    fake::Object& List(const std::string& aCriterion, const std::string& aName,
                       const std::vector<fake::Object*>& aItems)
    {
        fake::Object& list = scene->Collection(aName, aItems, 50);
        lists.emplace_back(aCriterion, &list);
        vars.Method(27, [known = lists](const fake::Args& aArgs, VARIANT* aResult) -> HRESULT {
            for (const auto& [criterion, found] : known) {
                if (criterion == aArgs.Text(0)) {
                    return fake::givesObject(found)(aArgs, aResult);
                }
            }
            return E_FAIL;
        });
        return list;
    }

    fake::Object& Dimension(const std::string& aName, const wchar_t* aSystemName,
                            LONG aDimensionType = 1, double aValue = 0.5)
    {
        fake::Object& dimension = scene->world.Make(aName);
        dimension.Answer(hostids::Dimension);
        dimension.Property(L"Type", fake::givesNumber(hostids::typeDimension));
        dimension.Property(16487, fake::givesText(aSystemName));
        dimension.Property(3, fake::givesNumber(aDimensionType));
        dimension.Property(DISPID{0}, fake::givesReal(aValue));
        return dimension;
    }

    fake::Object& Variable(const std::string& aName)
    {
        fake::Object& variable = scene->world.Make(aName);
        variable.Answer(hostids::Variable);
        variable.Property(L"Type", fake::givesNumber(hostids::typeVariable));
        variable.Property(1, fake::givesText(L"a + b"));
        variable.Method(9, fake::givesText(L"7.00 mm"));
        return variable;
    }

    [[nodiscard]] IDispatchPtr Find(Query aQuery, const char* aName) const
    {
        return aQuery(doc.Ptr(), ktstd_AsciiString(aName));
    }

    Scene* scene;
    fake::Object& doc;
    fake::Object& vars;
    std::vector<std::pair<std::string, fake::Object*>> lists;
};

bool isSame(const IDispatchPtr& aFound, fake::Object& aObject)
{
    return aFound.GetInterfacePtr() == static_cast<IDispatch*>(&aObject);
}

//! Checks that a query gave nothing and what it left in the log.
void expectNothing(Scene& aScene, const IDispatchPtr& aFound, const std::vector<std::string>& aLog)
{
    EXPECT_TRUE(aFound == nullptr);
    aScene.ExpectLog(aLog);
}

const char* const kVariablesCall = "doc.get 8193()";
const char* const kAllBySystemName = "vars.27(BSTR \"*\", I2 2, I2 1, missing)";
const char* const kAllByName = "vars.27(BSTR \"*\", I2 2, I2 3, missing)";

} // namespace

// Both queries for a dimension

TEST(ktmdl, DimensionQueriesOfNothingGiveNothingSilently)
{
    for (const Query query : {&ktmdl::GetDimVarFromName, &ktmdl::GetDimVarFromSystemName}) {
        Scene scene;
        const Variables part(scene);
        EXPECT_TRUE(query(IDispatchPtr(), ktstd_AsciiString("d1")) == nullptr);
        EXPECT_TRUE(query(IDispatchPtr(), ktstd_AsciiString()) == nullptr);
        EXPECT_TRUE(query(part.doc.Ptr(), ktstd_AsciiString()) == nullptr);
        EXPECT_TRUE(query(part.doc.Ptr(), ktstd_AsciiString("")) == nullptr);
        scene.ExpectNoCalls();
        scene.ExpectLog({});
        EXPECT_EQ(part.doc.Queries(), 0);
    }
}

namespace {

struct DimensionQuery
{
    Query query;
    const char* function;
};
const DimensionQuery kDimensionQueries[] = {{&ktmdl::GetDimVarFromName, kByName},
                                            {&ktmdl::GetDimVarFromSystemName, kBySystemName}};

} // namespace

TEST(ktmdl, DimensionQueriesRefuseADocumentThatIsNoPart)
{
    for (const auto& [query, function] : kDimensionQueries) {
        Scene scene;
        fake::Object& assembly = scene.world.Make("asm").Answer(hostids::AssemblyDocument);
        expectNothing(scene, query(assembly.Ptr(), "d1"), missing("pPartDoc", function));
        scene.ExpectNoCalls();
    }
}

TEST(ktmdl, DimensionQueriesReportADocumentThatRefusesWithAnotherCode)
{
    for (const auto& [query, function] : kDimensionQueries) {
        Scene scene;
        Variables part(scene);
        part.doc.Refuse(hostids::PartDocument, kBusy);
        expectNothing(scene, part.Find(query, "d1"), {caught(function, kBusy)});
        scene.ExpectNoCalls();
    }
}

TEST(ktmdl, DimensionQueriesReportMissingVariables)
{
    for (const auto& [query, function] : kDimensionQueries) {
        Scene scene;
        Variables part(scene);
        part.doc.Property(0x2001, fake::givesObject(nullptr));
        expectNothing(scene, part.Find(query, "d1"), missing("pVars", function));
        scene.ExpectCalls({kVariablesCall});
    }
}

TEST(ktmdl, DimensionQueriesReportAMissingList)
{
    for (const auto& [query, function] : kDimensionQueries) {
        Scene scene;
        Variables part(scene);
        part.vars.Method(27, fake::givesObject(nullptr));
        expectNothing(scene, part.Find(query, "d1"), missing("pVL", function));
        scene.ExpectCalls({kVariablesCall, "vars.27(*)"});
    }
}

TEST(ktmdl, DimensionQueriesReportTheCodeInsideAnException)
{
    for (const auto& [query, function] : kDimensionQueries) {
        Scene scene;
        Variables part(scene);
        part.vars.Method(27, [](const fake::Args& aArgs, VARIANT*) {
            return aArgs.Exception(kBusy, L"not now");
        });
        expectNothing(scene, part.Find(query, "d1"), {caught(function, kBusy)});
    }
}

// By system name

TEST(ktmdl, SystemNameIsSoughtAmongAllDimensionsUpToTheFirstMatch)
{
    Scene scene;
    Variables part(scene);
    fake::Object& first = part.Dimension("first", L"V100");
    fake::Object& second = part.Dimension("second", L"V200");
    fake::Object& third = part.Dimension("third", L"V200");
    part.List("*", "list", {&first, &second, &third});
    {
        const IDispatchPtr found = part.Find(&ktmdl::GetDimVarFromSystemName, "V200");
        EXPECT_TRUE(isSame(found, second));
        EXPECT_EQ(second.Held(), 1) << "by the caller alone";
    }
    EXPECT_EQ(second.Held(), 0);
    EXPECT_EQ(third.Queries(), 0);
    scene.ExpectCalls({kVariablesCall, kAllBySystemName, "list.get 50()", "list.0(I4 1)",
                       "first.get 16487(I2 0)", "list.0(I4 2)", "second.get 16487(I2 0)"});
    scene.ExpectLog({});
}

TEST(ktmdl, SystemNameThatNoDimensionHasGivesNothing)
{
    Scene scene;
    Variables part(scene);
    fake::Object& first = part.Dimension("first", L"V100");
    fake::Object& second = part.Dimension("second", L"V200");
    part.List("*", "list", {&first, &second});
    expectNothing(scene, part.Find(&ktmdl::GetDimVarFromSystemName, "V300"), {});
    scene.ExpectCalls({kVariablesCall, kAllBySystemName, "list.get 50()", "list.0(I4 1)",
                       "first.get 16487(I2 0)", "list.0(I4 2)", "second.get 16487(I2 0)"});
}

TEST(ktmdl, SystemNameInAnEmptyListGivesNothing)
{
    Scene scene;
    Variables part(scene);
    part.List("*", "list", {});
    expectNothing(scene, part.Find(&ktmdl::GetDimVarFromSystemName, "V300"), {});
    scene.ExpectCalls({kVariablesCall, kAllBySystemName, "list.get 50()"});
}

TEST(ktmdl, SystemNameIsComparedToTheLetter)
{
    Scene scene;
    Variables part(scene);
    fake::Object& lower = part.Dimension("lower", L"v1");
    fake::Object& longer = part.Dimension("longer", L"V11");
    fake::Object& shorter = part.Dimension("shorter", L"V");
    fake::Object& blank = part.Dimension("blank", L"V1 ");
    fake::Object& none = part.Dimension("none", L"");
    none.Property(16487, [](const fake::Args&, VARIANT* aResult) {
        V_VT(aResult) = VT_BSTR; // no text at all, which stands for an empty one
        V_BSTR(aResult) = nullptr;
        return S_OK;
    });
    fake::Object& exact = part.Dimension("exact", L"V1");
    fake::Object& foreign = part.Dimension("foreign", L"Gr\u00F6\u00DFe");
    part.List("*", "list", {&lower, &longer, &shorter, &blank, &none, &exact, &foreign});
    EXPECT_TRUE(isSame(part.Find(&ktmdl::GetDimVarFromSystemName, "V1"), exact));
    EXPECT_TRUE(isSame(part.Find(&ktmdl::GetDimVarFromSystemName, "v1"), lower));
    EXPECT_TRUE(isSame(part.Find(&ktmdl::GetDimVarFromSystemName, "V1 "), blank));
    EXPECT_TRUE(
        isSame(part.Find(&ktmdl::GetDimVarFromSystemName, "Gr\xC3\xB6\xC3\x9F\x65"), foreign));
    expectNothing(scene, part.Find(&ktmdl::GetDimVarFromSystemName, "*"), {});
}

TEST(ktmdl, SystemNameSearchEndsAtAnItemThatIsNoDimension)
{
    Scene scene;
    Variables part(scene);
    fake::Object& first = part.Dimension("first", L"V100");
    fake::Object& variable = part.Variable("variable");
    fake::Object& match = part.Dimension("match", L"V200");
    part.List("*", "list", {&first, &variable, &match});
    expectNothing(scene, part.Find(&ktmdl::GetDimVarFromSystemName, "V200"),
                  missing("pDim", kBySystemName));
    scene.ExpectCalls({kVariablesCall, kAllBySystemName, "list.get 50()", "list.0(I4 1)",
                       "first.get 16487(I2 0)", "list.0(I4 2)"});
}

TEST(ktmdl, SystemNameSearchEndsAtAnItemThatIsMissing)
{
    Scene scene;
    Variables part(scene);
    fake::Object& match = part.Dimension("match", L"V200");
    part.List("*", "list", {nullptr, &match});
    expectNothing(scene, part.Find(&ktmdl::GetDimVarFromSystemName, "V200"),
                  missing("pDim", kBySystemName));
}

TEST(ktmdl, SystemNameSearchEndsAtAnItemThatRefusesWithAnotherCode)
{
    Scene scene;
    Variables part(scene);
    fake::Object& busy = part.Dimension("busy", L"V100");
    busy.Refuse(hostids::Dimension, kBusy);
    fake::Object& match = part.Dimension("match", L"V200");
    part.List("*", "list", {&busy, &match});
    expectNothing(scene, part.Find(&ktmdl::GetDimVarFromSystemName, "V200"),
                  {caught(kBySystemName, kBusy)});
}

TEST(ktmdl, EveryCallOfASystemNameSearchMayFail)
{
    for (const bool isLate : {false, true}) {
        long nth = 1;
        for (;; ++nth) {
            ASSERT_LT(nth, 100);
            Scene scene;
            Variables part(scene);
            fake::Object& first = part.Dimension("first", L"V100");
            fake::Object& match = part.Dimension("match", L"V200");
            part.List("*", "list", {&first, &match});
            scene.world.FailCall(nth, kGone, isLate);
            const IDispatchPtr found = part.Find(&ktmdl::GetDimVarFromSystemName, "V200");
            if (scene.world.FailedCall().empty()) {
                EXPECT_TRUE(isSame(found, match));
                break; // by now every call has failed once
            }
            SCOPED_TRACE(scene.world.FailedCall());
            expectNothing(scene, found, {caught(kBySystemName, kGone)});
            EXPECT_EQ(scene.world.Calls().back(), scene.world.FailedCall()) << "nothing follows";
        }
        EXPECT_EQ(nth, 1 + 7);
    }
}

// By name

TEST(ktmdl, NameThatOneVariableHasGivesIt)
{
    Scene scene;
    Variables part(scene);
    fake::Object& width = part.Dimension("width", L"V100");
    part.List("Width", "list", {&width});
    {
        const IDispatchPtr found = part.Find(&ktmdl::GetDimVarFromName, "Width");
        EXPECT_TRUE(isSame(found, width));
        EXPECT_EQ(width.Held(), 1) << "by the caller alone";
    }
    scene.ExpectCalls({kVariablesCall, "vars.27(BSTR \"Width\", I2 2, I2 3, missing)",
                       "list.get 50()", "list.0(I4 1)"});
    scene.ExpectLog({});
}

TEST(ktmdl, NameIsPassedToTheHostAsItIs)
{
    Scene scene;
    Variables part(scene);
    fake::Object& width = part.Dimension("width", L"V100");
    const std::string name = "Gr\xC3\xB6\xC3\x9F\x65 * [1]";
    part.List(name, "list", {&width});
    EXPECT_TRUE(isSame(part.Find(&ktmdl::GetDimVarFromName, name.c_str()), width));
}

TEST(ktmdl, NameOfAVariableThatIsNoDimensionIsRefused)
{
    Scene scene;
    Variables part(scene);
    part.List("Count", "list", {&part.Variable("variable")});
    expectNothing(scene, part.Find(&ktmdl::GetDimVarFromName, "Count"), missing("pDim", kByName));
    scene.ExpectCalls({kVariablesCall, "vars.27(BSTR \"Count\", I2 2, I2 3, missing)",
                       "list.get 50()", "list.0(I4 1)"});
}

TEST(ktmdl, NameWhoseOnlyItemIsMissingIsRefused)
{
    Scene scene;
    Variables part(scene);
    part.List("Count", "list", {nullptr});
    expectNothing(scene, part.Find(&ktmdl::GetDimVarFromName, "Count"), missing("pDim", kByName));
}

TEST(ktmdl, NameWhoseOnlyItemRefusesWithAnotherCodeIsReported)
{
    Scene scene;
    Variables part(scene);
    fake::Object& busy = part.Dimension("busy", L"V100");
    busy.Refuse(hostids::Dimension, kBusy);
    part.List("Count", "list", {&busy});
    expectNothing(scene, part.Find(&ktmdl::GetDimVarFromName, "Count"), {caught(kByName, kBusy)});
}

TEST(ktmdl, AnAmbiguousNameGivesNull)
{
    Scene scene;
    Variables part(scene);
    fake::Object& first = part.Dimension("first", L"V100");
    fake::Object& second = part.Dimension("second", L"V200");
    part.List("Width", "list", {&first, &second});
    part.List("*", "all", {});
    expectNothing(scene, part.Find(&ktmdl::GetDimVarFromName, "Width"), {});
    scene.ExpectCalls({kVariablesCall, "vars.27(BSTR \"Width\", I2 2, I2 3, missing)",
                       "list.get 50()", kAllByName, "all.get 50()"});
}

namespace {

//! What the listing asks of one item, behind the item itself and its type.
void expectListed(const Scene& aScene, const std::string& aItem, std::vector<std::string> aCalls)
{
    std::vector<std::string> asked;
    for (const std::string& call : aScene.world.Calls()) {
        if (call.rfind(aItem + ".", 0) == 0 || call == "vars.25(DISP " + aItem + ")") {
            asked.push_back(call);
        }
    }
    ASSERT_GE(asked.size(), 2U) << aItem;
    EXPECT_EQ(asked[0], aItem + ".Type?");
    EXPECT_EQ(asked[1], aItem + ".get Type()");
    asked.erase(asked.begin(), asked.begin() + 2);
    std::sort(asked.begin(), asked.end());
    std::sort(aCalls.begin(), aCalls.end());
    EXPECT_EQ(asked, aCalls) << aItem;
}

} // namespace

TEST(ktmdl, WithoutASingleMatchAllVariablesAreAskedAndNothingIsWritten)
{
    Scene scene;
    Variables part(scene);
    fake::Object& length = part.Dimension("length", L"V100", 1, 0.0255);
    fake::Object& angle = part.Dimension("angle", L"V200", 3, 0.5);
    fake::Object& arc = part.Dimension("arc", L"V300", 7, 0.5);
    fake::Object& variable = part.Variable("variable");
    part.List("Width", "list", {});
    part.List("*", "all", {&length, &angle, &arc, &variable});
    expectNothing(scene, part.Find(&ktmdl::GetDimVarFromName, "Width"), {});
    for (const char* const name : {"length", "angle", "arc"}) {
        const std::string item(name);
        expectListed(scene, item,
                     {"vars.25(DISP " + item + ")", item + ".get 16487(I2 0)", item + ".get 3()",
                      item + ".get 0()"});
    }
    expectListed(scene, "variable", {"vars.25(DISP variable)", "variable.get 1()", "variable.9()"});
    // The items one after another, from the first to the last.
    long next = 1;
    for (const std::string& call : scene.world.Calls()) {
        if (fake::matches("all.0(*)", call)) {
            EXPECT_EQ(call, "all.0(I4 " + std::to_string(next++) + ")");
        }
    }
    EXPECT_EQ(next, 1 + 4);
    ASSERT_GT(scene.world.Calls().size(), 3U);
    EXPECT_EQ(scene.world.Calls()[3], kAllByName);
    EXPECT_EQ(scene.world.CountOf("vars.27(*)"), 2);
}

TEST(ktmdl, ListingOfVariablesTakesTextsAndNumbersOfAnyLength)
{
    Scene scene;
    Variables part(scene);
    const std::wstring text(20000, L'x');
    part.vars.Method(25, fake::givesText(text.c_str()));
    fake::Object& length = part.Dimension("length", text.c_str(), 1, 1e300);
    fake::Object& angle = part.Dimension("angle", text.c_str(), 3, -1.7e308);
    fake::Object& variable = part.Variable("variable");
    variable.Property(1, fake::givesText(text.c_str()));
    variable.Method(9, fake::givesText(text.c_str()));
    part.List("Width", "list", {});
    part.List("*", "all", {&length, &angle, &variable});
    expectNothing(scene, part.Find(&ktmdl::GetDimVarFromName, "Width"), {});
    EXPECT_EQ(scene.world.CountOf("variable.9()"), 1) << "all were listed";
}

TEST(ktmdl, ListingOfVariablesReportsAMissingList)
{
    Scene scene;
    Variables part(scene);
    fake::Object& list = part.List("Width", "list", {});
    part.vars.Method(27, [&list](const fake::Args& aArgs, VARIANT* aResult) {
        return fake::givesObject(aArgs.Text(0) == "*" ? nullptr : &list)(aArgs, aResult);
    });
    expectNothing(scene, part.Find(&ktmdl::GetDimVarFromName, "Width"),
                  missing("pVarList", kByName));
}

TEST(ktmdl, ListingOfVariablesReportsAMissingItem)
{
    Scene scene;
    Variables part(scene);
    part.List("Width", "list", {});
    part.List("*", "all", {&part.Dimension("first", L"V100"), nullptr});
    expectNothing(scene, part.Find(&ktmdl::GetDimVarFromName, "Width"), missing("pItem", kByName));
    EXPECT_EQ(scene.world.Calls().back(), "all.0(I4 2)");
}

TEST(ktmdl, ListingOfVariablesEndsAtAnItemWithoutType)
{
    Scene scene;
    Variables part(scene);
    fake::Object& nameless = scene.world.Make("nameless");
    fake::Object& behind = part.Dimension("behind", L"V100");
    part.List("Width", "list", {});
    part.List("*", "all", {&nameless, &behind});
    expectNothing(scene, part.Find(&ktmdl::GetDimVarFromName, "Width"),
                  failed(DISP_E_UNKNOWNNAME, kByName));
    EXPECT_EQ(scene.world.Calls().back(), "nameless.Type?");
}

TEST(ktmdl, ListingOfVariablesEndsAtATypeThatCantBeRead)
{
    Scene scene;
    Variables part(scene);
    fake::Object& first = part.Dimension("first", L"V100");
    first.Property(L"Type", fake::fails(kGone));
    part.List("Width", "list", {});
    part.List("*", "all", {&first});
    expectNothing(scene, part.Find(&ktmdl::GetDimVarFromName, "Width"), failed(kGone, kByName));
    EXPECT_EQ(scene.world.Calls().back(), "first.get Type()");
}

TEST(ktmdl, ListingOfVariablesEndsAtAnItemThatIsNotWhatItsTypeTells)
{
    for (const LONG type : {hostids::typeDimension, hostids::typeVariable, LONG{7}}) {
        Scene scene;
        Variables part(scene);
        fake::Object& other = scene.world.Make("other");
        other.Property(L"Type", fake::givesNumber(type));
        fake::Object& behind = part.Dimension("behind", L"V100");
        part.List("Width", "list", {});
        part.List("*", "all", {&other, &behind});
        EXPECT_TRUE(part.Find(&ktmdl::GetDimVarFromName, "Width") == nullptr);
        const std::vector<std::string> lines = scene.log.Lines();
        ASSERT_EQ(lines.size(), 2U);
        EXPECT_TRUE(
            fake::matches("COM ERROR: pointer * is NULL (File: *ktmdl.cpp, Line: *)", lines[0]))
            << lines[0];
        EXPECT_TRUE(isLine(lines[1], caught(kByName, E_POINTER)));
        EXPECT_EQ(scene.world.CountOf("behind.*"), 0);
    }
}

TEST(ktmdl, EveryCallOfANameSearchMayFail)
{
    for (const bool isLate : {false, true}) {
        long nth = 1;
        for (;; ++nth) {
            ASSERT_LT(nth, 100);
            Scene scene;
            Variables part(scene);
            part.List("Width", "list", {});
            part.List("*", "all",
                      {&part.Dimension("length", L"V100", 1), &part.Dimension("angle", L"V200", 3),
                       &part.Variable("variable")});
            scene.world.FailCall(nth, kGone, isLate);
            const IDispatchPtr found = part.Find(&ktmdl::GetDimVarFromName, "Width");
            const std::string call = scene.world.FailedCall();
            SCOPED_TRACE(call);
            if (call.empty()) {
                expectNothing(scene, found, {});
                break; // by now every call has failed once
            }
            expectNothing(scene, found,
                          isReportedInPlace(call) ? failed(kGone, kByName)
                                                  : std::vector{caught(kByName, kGone)});
            EXPECT_EQ(scene.world.Calls().back(), call) << "nothing follows";
        }
        EXPECT_GT(nth, 15);
    }
}

// Faces

namespace {

//! Two outputs with values that no call gives.
struct Outputs
{
    double first[4] = {-71, -72, -73, -74};
    double second[4] = {-81, -82, -83, -84};

    void Expect(const std::vector<double>& aFirst, const std::vector<double>& aSecond) const
    {
        EXPECT_EQ(std::vector<double>(first, first + 4), aFirst);
        EXPECT_EQ(std::vector<double>(second, second + 4), aSecond);
    }
};
const std::vector<double> kUntouchedFirst = {-71, -72, -73, -74};
const std::vector<double> kUntouchedSecond = {-81, -82, -83, -84};

//! Handler of a method that answers arrays of doubles, from one argument on.
fake::Handler answers(std::size_t aFirstArgument, const std::vector<std::vector<double>>& aArrays,
                      HRESULT aCode = S_OK)
{
    return [=](const fake::Args& aArgs, VARIANT*) {
        for (std::size_t i = 0; i < aArrays.size(); ++i) {
            aArgs.SetReals(aFirstArgument + i, aArrays[i]);
        }
        return aCode;
    };
}

//! A face with parameters from (1, -2) to (4, 10), a normal and a point in the middle.
fake::Object& makeFace(Scene& aScene)
{
    fake::Object& face = aScene.world.Make("face");
    face.Answer(hostids::Face);
    face.Method(232, answers(0, {{1, -2}, {4, 10}}));
    face.Method(229, answers(2, {{0, 0.6, -0.8}}));
    face.Method(233, answers(2, {{11, 12, 13}}));
    return face;
}

const char* const kRangeCall = "face.232(R8[]& *, R8[]& *)";
const char* const kFirstCall = "face.229(I4 1, R8[]& {2.5,4}, R8[]& *)";
const char* const kSecondCall = "face.233(I4 1, R8[]& {2.5,4}, R8[]& *)";

} // namespace

TEST(ktmdl, FaceInfoEvaluatesTheMiddleOfTheParameters)
{
    Scene scene;
    fake::Object& face = makeFace(scene);
    Outputs out;
    EXPECT_EQ(ktmdl::GetFaceInfo(face.Ptr(), out.first, out.second), 0);
    out.Expect({0, 0.6, -0.8, -74}, {11, 12, 13, -84});
    scene.ExpectCalls({kRangeCall, kFirstCall, kSecondCall});
    scene.ExpectLog({});
}

TEST(ktmdl, FaceInfoMakesNoCallForAnOutputThatIsNotWanted)
{
    Scene scene;
    fake::Object& face = makeFace(scene);
    Outputs out;
    EXPECT_EQ(ktmdl::GetFaceInfo(face.Ptr(), out.first, nullptr), 0);
    scene.ExpectCalls({kRangeCall, kFirstCall});
    scene.world.Forget();
    EXPECT_EQ(ktmdl::GetFaceInfo(face.Ptr(), nullptr, out.second), 0);
    scene.ExpectCalls({kRangeCall, kSecondCall});
    out.Expect({0, 0.6, -0.8, -74}, {11, 12, 13, -84});
    scene.world.Forget();
    EXPECT_EQ(ktmdl::GetFaceInfo(face.Ptr(), nullptr, nullptr), 0);
    scene.ExpectCalls({kRangeCall});
    scene.ExpectLog({});
}

TEST(ktmdl, FaceInfoOfNoFaceIsReported)
{
    Scene scene;
    fake::Object& edge = scene.world.Make("edge");
    Outputs out;
    EXPECT_EQ(ktmdl::GetFaceInfo(edge.Ptr(), out.first, out.second), long{E_POINTER});
    scene.ExpectLog(missing("pFace", kFaceInfo));
    scene.log.Forget();
    EXPECT_EQ(ktmdl::GetFaceInfo(IDispatchPtr(), out.first, out.second), long{E_POINTER});
    scene.ExpectLog(missing("pFace", kFaceInfo));
    scene.ExpectNoCalls();
    out.Expect(kUntouchedFirst, kUntouchedSecond);
}

TEST(ktmdl, FaceInfoReportsAFaceThatRefusesWithAnotherCode)
{
    Scene scene;
    fake::Object& face = makeFace(scene).Refuse(hostids::Face, kBusy);
    Outputs out;
    EXPECT_EQ(ktmdl::GetFaceInfo(face.Ptr(), out.first, out.second), long{kBusy});
    scene.ExpectLog({caught(kFaceInfo, kBusy)});
    scene.ExpectNoCalls();
}

TEST(ktmdl, EveryCallOfFaceInfoMayFailAndEarlierOutputsStay)
{
    for (const bool isLate : {false, true}) {
        for (long nth = 1; nth <= 3; ++nth) {
            SCOPED_TRACE(testing::Message() << "call " << nth << ", late " << isLate);
            Scene scene;
            fake::Object& face = makeFace(scene);
            scene.world.FailCall(nth, kGone, isLate);
            Outputs out;
            EXPECT_EQ(ktmdl::GetFaceInfo(face.Ptr(), out.first, out.second), long{kGone});
            EXPECT_EQ(scene.world.Calls().size(), static_cast<std::size_t>(nth));
            scene.ExpectLog({caught(kFaceInfo, kGone)});
            out.Expect(nth == 3 ? std::vector<double>{0, 0.6, -0.8, -74} : kUntouchedFirst,
                       kUntouchedSecond);
        }
    }
}

TEST(ktmdl, FaceInfoReportsTheCodeInsideAnException)
{
    Scene scene;
    fake::Object& face = makeFace(scene);
    face.Method(233, [](const fake::Args& aArgs, VARIANT*) {
        return aArgs.Exception(kBusy, L"no point there");
    });
    Outputs out;
    EXPECT_EQ(ktmdl::GetFaceInfo(face.Ptr(), out.first, out.second), long{kBusy});
    scene.ExpectLog({caught(kFaceInfo, kBusy)});
}

TEST(ktmdl, FaceInfoTakesTheFirstValuesOfLongerArrays)
{
    Scene scene;
    fake::Object& face = makeFace(scene);
    face.Method(232, answers(0, {{1, -2, 77}, {4, 10, 77, 78}}));
    face.Method(229, answers(2, {{1, 2, 3, 4}}));
    face.Method(233, answers(2, {{5, 6, 7, 8, 9}}));
    Outputs out;
    EXPECT_EQ(ktmdl::GetFaceInfo(face.Ptr(), out.first, out.second), 0);
    out.Expect({1, 2, 3, -74}, {5, 6, 7, -84});
    scene.ExpectCalls({kRangeCall, kFirstCall, kSecondCall});
}

namespace {

//! Arrays from which no three doubles, or no two, can be taken.
std::vector<std::function<SAFEARRAY*()>> unusableArrays()
{
    return {[] { return static_cast<SAFEARRAY*>(nullptr); },
            [] { return fake::arrayOf(std::vector<double>{1}); },
            [] { return fake::arrayOf(std::vector<double>()); },
            [] {
                return fake::arrayOf(Bytes{1, 2, 3});
            },
            [] { return SafeArrayCreateVector(VT_I4, 0, 3); }};
}

fake::Handler answersArray(std::size_t aArgument, const std::function<SAFEARRAY*()>& aArray)
{
    return [=](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetArray(aArgument, aArray());
        return S_OK;
    };
}

//! Checks the log of an answer that can't be used: a line where it shows, if there is one, and the
//! line of the operation, which also tells the code that it gave.
void expectUnusable(const Scene& aScene, long aCode, const char* aFunction)
{
    EXPECT_LT(aCode, 0);
    const std::vector<std::string> lines = aScene.log.Lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_LE(lines.size(), 2U);
    EXPECT_TRUE(isLine(lines.back(), caught(aFunction, static_cast<HRESULT>(aCode))));
}

} // namespace

TEST(ktmdl, FaceInfoRefusesParametersThatCantBeUsed)
{
    for (const auto& array : unusableArrays()) {
        for (const std::size_t bad : {std::size_t{0}, std::size_t{1}}) {
            Scene scene;
            fake::Object& face = makeFace(scene);
            face.Method(232, [&](const fake::Args& aArgs, VARIANT*) {
                aArgs.SetReals(1 - bad, {1, 2});
                aArgs.SetArray(bad, array());
                return S_OK;
            });
            Outputs out;
            const long code = ktmdl::GetFaceInfo(face.Ptr(), out.first, out.second);
            expectUnusable(scene, code, kFaceInfo);
            scene.ExpectCalls({kRangeCall});
            out.Expect(kUntouchedFirst, kUntouchedSecond);
        }
    }
}

TEST(ktmdl, FaceInfoRefusesValuesThatCantBeUsed)
{
    for (const auto& array : unusableArrays()) {
        Scene scene;
        fake::Object& face = makeFace(scene);
        face.Method(233, answersArray(2, array));
        Outputs out;
        const long code = ktmdl::GetFaceInfo(face.Ptr(), out.first, out.second);
        expectUnusable(scene, code, kFaceInfo);
        out.Expect({0, 0.6, -0.8, -74}, kUntouchedSecond);
        scene.log.Forget();
        face.Method(229, answersArray(2, array));
        Outputs other;
        expectUnusable(scene, ktmdl::GetFaceInfo(face.Ptr(), other.first, other.second), kFaceInfo);
        other.Expect(kUntouchedFirst, kUntouchedSecond);
    }
}

// Planes

namespace {

fake::Object& makePlane(Scene& aScene)
{
    fake::Object& plane = aScene.world.Make("plane");
    plane.Property(L"Type", fake::givesNumber(hostids::typeRefPlane));
    plane.Method(L"GetNormal", answers(0, {{0, 0.6, -0.8}}));
    plane.Method(L"GetRootPoint", answers(0, {{11, 12, 13}}));
    return plane;
}

//! A reference object to something.
fake::Object& makeReference(Scene& aScene, fake::Object* aObject)
{
    fake::Object& reference = aScene.world.Make("ref");
    reference.Answer(hostids::Reference);
    reference.Property(L"Type", fake::givesNumber(hostids::typeReference));
    reference.Property(4, fake::givesObject(aObject));
    return reference;
}

const std::vector<std::string> kPlaneType = {"plane.Type?", "plane.get Type()"};
const std::vector<std::string> kReferenceCalls = {"ref.Type?", "ref.get Type()", "ref.get 4()"};
const std::vector<std::string> kNormalCalls = {"plane.GetNormal?", "plane.GetNormal(R8[]& *)"};
const std::vector<std::string> kRootCalls = {"plane.GetRootPoint?", "plane.GetRootPoint(R8[]& *)"};

} // namespace

TEST(ktmdl, PlaneInfoAsksForNormalAndRootPointByName)
{
    Scene scene;
    fake::Object& plane = makePlane(scene);
    Outputs out;
    EXPECT_EQ(ktmdl::GetPlaneInfo(plane.Ptr(), out.first, out.second), 0);
    out.Expect({0, 0.6, -0.8, -74}, {11, 12, 13, -84});
    scene.ExpectCalls(joined({kPlaneType, kNormalCalls, kRootCalls}));
    scene.ExpectLog({});
    EXPECT_EQ(plane.Queries(), 0) << "a plane that is no reference object is used as it stands";
}

TEST(ktmdl, PlaneInfoMakesNoCallForAnOutputThatIsNotWanted)
{
    Scene scene;
    fake::Object& plane = makePlane(scene);
    Outputs out;
    EXPECT_EQ(ktmdl::GetPlaneInfo(plane.Ptr(), out.first, nullptr), 0);
    scene.ExpectCalls(joined({kPlaneType, kNormalCalls}));
    scene.world.Forget();
    EXPECT_EQ(ktmdl::GetPlaneInfo(plane.Ptr(), nullptr, out.second), 0);
    scene.ExpectCalls(joined({kPlaneType, kRootCalls}));
    out.Expect({0, 0.6, -0.8, -74}, {11, 12, 13, -84});
    scene.world.Forget();
    EXPECT_EQ(ktmdl::GetPlaneInfo(plane.Ptr(), nullptr, nullptr), 0);
    scene.ExpectCalls(kPlaneType);
    scene.ExpectLog({});
}

TEST(ktmdl, PlaneInfoTakesAnyTypeThatIsNoReferenceObject)
{
    for (const LONG type : {LONG{0}, LONG{1}, hostids::typeDimension, hostids::typeReference + 1,
                            hostids::typeReference - 1}) {
        Scene scene;
        fake::Object& plane = makePlane(scene);
        plane.Property(L"Type", fake::givesNumber(type));
        plane.Answer(hostids::Reference);
        Outputs out;
        EXPECT_EQ(ktmdl::GetPlaneInfo(plane.Ptr(), out.first, out.second), 0);
        scene.ExpectCalls(joined({kPlaneType, kNormalCalls, kRootCalls}));
    }
}

TEST(ktmdl, PlaneInfoOfAReferenceObjectIsThatOfItsPlane)
{
    Scene scene;
    fake::Object& reference = makeReference(scene, &makePlane(scene));
    reference.Method(L"GetNormal", fake::fails(kGone));
    Outputs out;
    EXPECT_EQ(ktmdl::GetPlaneInfo(reference.Ptr(), out.first, out.second), 0);
    out.Expect({0, 0.6, -0.8, -74}, {11, 12, 13, -84});
    scene.ExpectCalls(joined({kReferenceCalls, kNormalCalls, kRootCalls}));
    scene.ExpectLog({});
}

TEST(ktmdl, PlaneInfoOfNoPlaneIsReported)
{
    Scene scene;
    Outputs out;
    EXPECT_EQ(ktmdl::GetPlaneInfo(IDispatchPtr(), out.first, out.second), long{E_POINTER});
    scene.ExpectLog(missing("aPlanePtr", kPlaneInfo));
    out.Expect(kUntouchedFirst, kUntouchedSecond);
}

TEST(ktmdl, PlaneInfoReportsAReferenceObjectThatIsNone)
{
    Scene scene;
    fake::Object& plane = makePlane(scene);
    plane.Property(L"Type", fake::givesNumber(hostids::typeReference));
    Outputs out;
    EXPECT_EQ(ktmdl::GetPlaneInfo(plane.Ptr(), out.first, out.second), long{E_POINTER});
    scene.ExpectLog(missing("pRef", kPlaneInfo));
    scene.log.Forget();
    plane.Refuse(hostids::Reference, kBusy);
    EXPECT_EQ(ktmdl::GetPlaneInfo(plane.Ptr(), out.first, out.second), long{kBusy});
    scene.ExpectLog({caught(kPlaneInfo, kBusy)});
    scene.ExpectCalls(joined({kPlaneType, kPlaneType}));
    out.Expect(kUntouchedFirst, kUntouchedSecond);
}

TEST(ktmdl, PlaneInfoReportsAReferenceObjectToNothing)
{
    Scene scene;
    fake::Object& reference = makeReference(scene, nullptr);
    Outputs out;
    EXPECT_EQ(ktmdl::GetPlaneInfo(reference.Ptr(), out.first, out.second), long{E_POINTER});
    scene.ExpectLog(missing("pPlaneDisp", kPlaneInfo));
    scene.ExpectCalls(kReferenceCalls);
    scene.log.Forget();
    EXPECT_EQ(ktmdl::GetPlaneInfo(reference.Ptr(), nullptr, nullptr), long{E_POINTER});
    scene.ExpectLog(missing("pPlaneDisp", kPlaneInfo));
    out.Expect(kUntouchedFirst, kUntouchedSecond);
}

TEST(ktmdl, APlaneWithoutTheNameLeavesTheOutputUntouched)
{
    for (const HRESULT code : {DISP_E_UNKNOWNNAME, kGone}) {
        Scene scene;
        fake::Object& plane = makePlane(scene).FailName(L"GetNormal", code);
        Outputs out;
        EXPECT_EQ(ktmdl::GetPlaneInfo(plane.Ptr(), out.first, out.second), 0);
        out.Expect(kUntouchedFirst, {11, 12, 13, -84});
        scene.ExpectCalls(joined({kPlaneType, {"plane.GetNormal?"}, kRootCalls}));
        scene.ExpectLog({});
    }
    Scene scene;
    fake::Object& plane = makePlane(scene).FailName(L"GetRootPoint", DISP_E_UNKNOWNNAME);
    Outputs out;
    EXPECT_EQ(ktmdl::GetPlaneInfo(plane.Ptr(), out.first, out.second), 0);
    out.Expect({0, 0.6, -0.8, -74}, kUntouchedSecond);
    scene.ExpectLog({});
}

TEST(ktmdl, PlaneInfoReportsATypeThatCantBeRead)
{
    Scene scene;
    fake::Object& nameless = scene.world.Make("plane");
    Outputs out;
    EXPECT_EQ(ktmdl::GetPlaneInfo(nameless.Ptr(), out.first, out.second), long{DISP_E_UNKNOWNNAME});
    scene.ExpectLog(failed(DISP_E_UNKNOWNNAME, kPlaneInfo));
    scene.log.Forget();
    nameless.Property(L"Type", fake::givesText(L"no number"));
    EXPECT_EQ(ktmdl::GetPlaneInfo(nameless.Ptr(), out.first, out.second),
              long{DISP_E_TYPEMISMATCH});
    scene.ExpectLog(failed(DISP_E_TYPEMISMATCH, kPlaneInfo));
    out.Expect(kUntouchedFirst, kUntouchedSecond);
}

TEST(ktmdl, EveryCallOfPlaneInfoMayFailAndEarlierOutputsStay)
{
    for (const bool isLate : {false, true}) {
        long nth = 1;
        for (;; ++nth) {
            ASSERT_LT(nth, 100);
            Scene scene;
            fake::Object& reference = makeReference(scene, &makePlane(scene));
            scene.world.FailCall(nth, kGone, isLate);
            Outputs out;
            const long code = ktmdl::GetPlaneInfo(reference.Ptr(), out.first, out.second);
            const std::string call = scene.world.FailedCall();
            SCOPED_TRACE(call);
            if (call.empty()) {
                EXPECT_EQ(code, 0);
                break; // by now every call has failed once
            }
            const bool isSkipped = call == "plane.GetNormal?" || call == "plane.GetRootPoint?";
            EXPECT_EQ(code, isSkipped ? 0 : long{kGone});
            if (isSkipped) {
                scene.ExpectLog({});
            } else if (isReportedInPlace(call)) {
                scene.ExpectLog(failed(kGone, kPlaneInfo));
            } else {
                scene.ExpectLog({caught(kPlaneInfo, kGone)});
            }
            const bool hasFirst = nth > 5;
            const bool hasSecond = call == "plane.GetNormal?";
            out.Expect(hasFirst ? std::vector<double>{0, 0.6, -0.8, -74} : kUntouchedFirst,
                       hasSecond ? std::vector<double>{11, 12, 13, -84} : kUntouchedSecond);
        }
        EXPECT_EQ(nth, 1 + 7);
    }
}

TEST(ktmdl, PlaneInfoReportsTheCodeInsideAnException)
{
    Scene scene;
    fake::Object& plane = makePlane(scene);
    plane.Method(L"GetRootPoint", [](const fake::Args& aArgs, VARIANT*) {
        return aArgs.Exception(kBusy, L"no root");
    });
    Outputs out;
    EXPECT_EQ(ktmdl::GetPlaneInfo(plane.Ptr(), out.first, out.second), long{kBusy});
    scene.ExpectLog({caught(kPlaneInfo, kBusy)});
    out.Expect({0, 0.6, -0.8, -74}, kUntouchedSecond);
}

TEST(ktmdl, PlaneInfoRefusesValuesThatCantBeUsed)
{
    for (const auto& array : unusableArrays()) {
        Scene scene;
        fake::Object& plane = makePlane(scene);
        plane.Method(L"GetRootPoint", answersArray(0, array));
        Outputs out;
        expectUnusable(scene, ktmdl::GetPlaneInfo(plane.Ptr(), out.first, out.second), kPlaneInfo);
        out.Expect({0, 0.6, -0.8, -74}, kUntouchedSecond);
    }
}

// What is no automation error

TEST(ktmdl, OtherExceptionsPassThroughTheQueries)
{
    const fake::Handler raisers[] = {
        [](const fake::Args&, VARIANT*) -> HRESULT { throw std::runtime_error("not the host's"); },
        [](const fake::Args&, VARIANT*) -> HRESULT {
            ktstd_fail_ProgramError::Raise("not the host's");
            return S_OK;
        }};
    for (const fake::Handler& raise : raisers) {
        Scene scene;
        Variables part(scene);
        part.vars.Method(27, raise);
        EXPECT_ANY_THROW(static_cast<void>(part.Find(&ktmdl::GetDimVarFromName, "d1")));
        EXPECT_ANY_THROW(static_cast<void>(part.Find(&ktmdl::GetDimVarFromSystemName, "d1")));
        Outputs out;
        fake::Object& face = makeFace(scene).Method(233, raise);
        EXPECT_ANY_THROW(static_cast<void>(ktmdl::GetFaceInfo(face.Ptr(), out.first, out.second)));
        fake::Object& plane = makePlane(scene).Method(L"GetRootPoint", raise);
        EXPECT_ANY_THROW(
            static_cast<void>(ktmdl::GetPlaneInfo(plane.Ptr(), out.first, out.second)));
        out.Expect({0, 0.6, -0.8, -74}, kUntouchedSecond);
        scene.ExpectLog({});
    }
}
