// Questions to the live object: box, normal, closed; and the dump of a reference.

#include "com/Com.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_Vec3d.h"
#include "ktstd/ktstd_fail.h"
#include "support/FakeDispatch.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace {

const char* const kSource = "ktmdl_Topo.cpp";
const HRESULT kGone = static_cast<HRESULT>(0x80010108u);
const std::array<double, 6> kDefaultBox = {0, 0, 0, 0, 0, 0};

std::string caught(const char* aFunction, HRESULT aCode)
{
    return caughtForm(kSource, aFunction, aCode);
}

Triple coordinates(const ktmdl_Vec3d& aVector)
{
    return {aVector.mX, aVector.mY, aVector.mZ};
}

const Triple kZero = {0, 0, 0};

//! Gives an unregistered reference bound to an object.
Hnd_ktmdl_Topo boundTo(fake::Object& aObject, unsigned char aType)
{
    Hnd_ktmdl_Topo topo(new ktmdl_Topo);
    topo->tplType = aType;
    topo->mDispTopo = aObject.Ptr();
    return topo;
}

//! Scripts GetExactRange with two arrays, which are handed over at the call.
void scriptRange(fake::Object& aObject, const std::function<SAFEARRAY*()>& aMin,
                 const std::function<SAFEARRAY*()>& aMax, HRESULT aCode = S_OK)
{
    aObject.Method(L"GetExactRange", [=](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetArray(0, aMin());
        aArgs.SetArray(1, aMax());
        return aCode;
    });
}

std::function<SAFEARRAY*()> reals(const std::vector<double>& aValues)
{
    return [aValues] { return fake::arrayOf(aValues); };
}

//! The points of facets: element i of the array has the value i.
std::vector<double> facetPoints(long aFacets)
{
    std::vector<double> points(static_cast<std::size_t>(aFacets) * 9);
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i] = static_cast<double>(i);
    }
    return points;
}

//! A face: facets, parameters (3.5, 4.5) and a normal.
fake::Object& scriptFace(fake::Object& aObject, long aFacets, const Triple& aNormal)
{
    aObject.Answer(ktmdl_host::IID_Face);
    aObject.Method(47, [aFacets](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetNumber(1, static_cast<LONG>(aFacets));
        aArgs.SetReals(2, facetPoints(aFacets));
        return S_OK;
    });
    aObject.Method(234, [](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetReals(2, {-1, -1});   // guesses
        aArgs.SetReals(3, {-2});       // deviations
        aArgs.SetReals(4, {3.5, 4.5}); // parameters
        return S_OK;
    });
    aObject.Method(229, [aNormal](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetReals(2, {aNormal[0], aNormal[1], aNormal[2]});
        return S_OK;
    });
    return aObject;
}

std::string facetCall(const std::string& aTolerance)
{
    return "face.47(R8 " + aTolerance + ", I4& *, R8[]& *, missing, missing)";
}

std::string pointCall(const std::string& aPoint)
{
    return "face.234(I4 1, R8[]& {" + aPoint + "}, R8[]& *, R8[]& *, R8[]& *, I4[]& *)";
}

const char* const kNormalCall = "face.229(I4 1, R8[]& {3.5,4.5}, R8[]& *)";

} // namespace

// BuildBBox

TEST(ktmdl_Topo, BuildBBoxOfNullIsTheDefaultBox)
{
    Scene scene;
    EXPECT_EQ(cornersOf(ktmdl_Topo::BuildBBox(IDispatchPtr())), kDefaultBox);
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, BuildBBoxAsksForTheExactRange)
{
    Scene scene;
    fake::Object& object = scene.world.Make("body");
    scriptBox(object, {-1, -2, -3}, {4, 5, 6});
    EXPECT_EQ(cornersOf(ktmdl_Topo::BuildBBox(object.Ptr())), corners({-1, -2, -3}, {4, 5, 6}));
    scene.ExpectCalls(boxCalls("body"));
    EXPECT_EQ(object.Held(), 0);
}

TEST(ktmdl_Topo, BuildBBoxKeepsTheCornersAsTheHostGivesThem)
{
    Scene scene;
    fake::Object& object = scene.world.Make("body");
    scriptBox(object, {4, -2, 6}, {-1, 5, -3});
    EXPECT_EQ(cornersOf(ktmdl_Topo::BuildBBox(object.Ptr())), corners({4, -2, 6}, {-1, 5, -3}));
}

TEST(ktmdl_Topo, BuildBBoxTakesTheFirstThreeOfMoreDoubles)
{
    Scene scene;
    fake::Object& object = scene.world.Make("body");
    scriptRange(object, reals({1, 2, 3, 9}), reals({4, 5, 6, 9, 9}));
    EXPECT_EQ(cornersOf(ktmdl_Topo::BuildBBox(object.Ptr())), corners({1, 2, 3}, {4, 5, 6}));
}

TEST(ktmdl_Topo, BuildBBoxWithoutRangeIsTheDefaultBoxWithoutLog)
{
    Scene scene;
    fake::Object& object = scene.world.Make("vertex");
    EXPECT_EQ(cornersOf(ktmdl_Topo::BuildBBox(object.Ptr())), kDefaultBox);
    scene.ExpectCalls({"vertex.GetExactRange?"});
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, BuildBBoxOfUnusableArraysIsTheDefaultBoxWithoutLog)
{
    Scene scene;
    fake::Object& object = scene.world.Make("body");
    const std::function<SAFEARRAY*()> good = reals({1, 2, 3});
    const std::function<SAFEARRAY*()> bad[] = {reals({1, 2}),
                                               [] { return static_cast<SAFEARRAY*>(nullptr); },
                                               [] {
                                                   return fake::arrayOf(Bytes{1, 2, 3});
                                               },
                                               [] { return SafeArrayCreateVector(VT_I4, 0, 3); }};
    for (const std::function<SAFEARRAY*()>& array : bad) {
        scriptRange(object, array, good);
        EXPECT_EQ(cornersOf(ktmdl_Topo::BuildBBox(object.Ptr())), kDefaultBox);
        scriptRange(object, good, array);
        EXPECT_EQ(cornersOf(ktmdl_Topo::BuildBBox(object.Ptr())), kDefaultBox);
    }
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, BuildBBoxLogsAFailedCallAndIsTheDefaultBox)
{
    Scene scene;
    fake::Object& object = scene.world.Make("body");
    scriptRange(object, reals({1, 2, 3}), reals({4, 5, 6}), kGone);
    EXPECT_EQ(cornersOf(ktmdl_Topo::BuildBBox(object.Ptr())), kDefaultBox);
    scene.ExpectLog({caught("ktmdl_Topo::BuildBBox", kGone)});
}

TEST(ktmdl_Topo, BuildBBoxLooksTheNameUpOnEachObject)
{
    Scene scene;
    fake::Object& first = scene.world.Make("first");
    fake::Object& second = scene.world.Make("second"); // has another number for the name
    scriptBox(first, {1, 1, 1}, {2, 2, 2});
    scriptBox(second, {3, 3, 3}, {4, 4, 4});
    EXPECT_EQ(cornersOf(ktmdl_Topo::BuildBBox(first.Ptr())), corners({1, 1, 1}, {2, 2, 2}));
    EXPECT_EQ(cornersOf(ktmdl_Topo::BuildBBox(second.Ptr())), corners({3, 3, 3}, {4, 4, 4}));
    scene.ExpectCalls(joined({boxCalls("first"), boxCalls("second")}));
}

// BuildNormal

TEST(ktmdl_Topo, BuildNormalAsksForFacetsParametersAndNormal)
{
    Scene scene;
    fake::Object& object = scriptFace(scene.world.Make("face"), 1, {0, 0, 1});
    const Hnd_ktmdl_Topo topo = boundTo(object, 5);
    EXPECT_EQ(coordinates(topo->BuildNormal()), (Triple{0, 0, 1}));
    scene.ExpectCalls({facetCall("0.05"), pointCall("0,1,2"), kNormalCall});
    EXPECT_EQ(object.Held(), 1);
    EXPECT_EQ(object.Queries(), 1);
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, BuildNormalTakesAPointALittlePastTheMiddle)
{
    // facets, and 3 times trunc(0.55 * facets)
    const std::vector<std::pair<long, long>> places = {{1, 0},   {2, 3},    {3, 3},    {4, 6},
                                                       {7, 9},   {10, 15},  {20, 33},  {40, 66},
                                                       {60, 99}, {80, 132}, {100, 165}};
    for (const auto& [facets, place] : places) {
        Scene scene;
        fake::Object& object = scriptFace(scene.world.Make("face"), facets, {0, 0, 1});
        EXPECT_EQ(coordinates(boundTo(object, 5)->BuildNormal()), (Triple{0, 0, 1}));
        const std::string point = std::to_string(place) + "," + std::to_string(place + 1) + "," +
                                  std::to_string(place + 2);
        scene.ExpectCalls({facetCall("0.05"), pointCall(point), kNormalCall});
    }
}

TEST(ktmdl_Topo, BuildNormalTriesFiveTolerances)
{
    Scene scene;
    fake::Object& object = scriptFace(scene.world.Make("face"), 0, {0, 0, 1});
    EXPECT_EQ(coordinates(boundTo(object, 5)->BuildNormal()), kZero);
    std::vector<std::string> calls;
    double tolerance = 0.05;
    for (int i = 0; i < 5; ++i) {
        calls.push_back(facetCall(fake::text(tolerance)));
        tolerance /= 10.0;
    }
    scene.ExpectCalls(calls);
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, BuildNormalStopsAtTheFirstToleranceWithFacets)
{
    Scene scene;
    fake::Object& object = scriptFace(scene.world.Make("face"), 1, {0, 0, 1});
    object.Method(47, [](const fake::Args& aArgs, VARIANT*) {
        const bool fine = aArgs.Real(0) < 0.001;
        EXPECT_EQ(*aArgs.At(2).pparray, nullptr) << "an earlier answer's array stands there";
        aArgs.SetNumber(1, fine ? 2 : 0);
        aArgs.SetReals(2, fine ? facetPoints(2) : std::vector<double>{7, 7, 7});
        return S_OK;
    });
    EXPECT_EQ(coordinates(boundTo(object, 5)->BuildNormal()), (Triple{0, 0, 1}));
    scene.ExpectCalls({facetCall(fake::text(0.05)), facetCall(fake::text(0.05 / 10.0)),
                       facetCall(fake::text(0.05 / 10.0 / 10.0)), pointCall("3,4,5"), kNormalCall});
}

TEST(ktmdl_Topo, BuildNormalFindsFacetsAtTheLastTolerance)
{
    Scene scene;
    fake::Object& object = scriptFace(scene.world.Make("face"), 1, {0, 0, 1});
    object.Method(47, [](const fake::Args& aArgs, VARIANT*) {
        const bool finest = aArgs.Real(0) < 1e-5;
        aArgs.SetNumber(1, finest ? 1 : 0);
        aArgs.SetReals(2, facetPoints(1));
        return S_OK;
    });
    EXPECT_EQ(coordinates(boundTo(object, 5)->BuildNormal()), (Triple{0, 0, 1}));
    EXPECT_EQ(scene.world.CountOf("face.47(*"), 5);
}

TEST(ktmdl_Topo, BuildNormalOfANegativeCountGivesUpAtOnce)
{
    Scene scene;
    fake::Object& object = scriptFace(scene.world.Make("face"), 1, {0, 0, 1});
    object.Method(47, [](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetNumber(1, -4);
        aArgs.SetReals(2, facetPoints(1));
        return S_OK;
    });
    EXPECT_EQ(coordinates(boundTo(object, 5)->BuildNormal()), kZero);
    scene.ExpectCalls({facetCall("0.05")});
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, BuildNormalNormalisesAndKeepsTheDirection)
{
    Scene scene;
    fake::Object& object = scriptFace(scene.world.Make("face"), 1, {0, 0, -2});
    EXPECT_EQ(coordinates(boundTo(object, 5)->BuildNormal()), (Triple{0, 0, -1}));
}

TEST(ktmdl_Topo, BuildNormalAsksWhateverTheType)
{
    Scene scene;
    fake::Object& object = scriptFace(scene.world.Make("face"), 1, {0, 1, 0});
    EXPECT_EQ(coordinates(boundTo(object, 0)->BuildNormal()), (Triple{0, 1, 0}));
    EXPECT_EQ(coordinates(boundTo(object, 2)->BuildNormal()), (Triple{0, 1, 0}));
}

TEST(ktmdl_Topo, BuildNormalLeavesAShortNormalAsItStands)
{
    Scene scene;
    fake::Object& object = scriptFace(scene.world.Make("face"), 1, {1e-7, 0, -1e-8});
    EXPECT_EQ(coordinates(boundTo(object, 5)->BuildNormal()), (Triple{1e-7, 0, -1e-8}));
    std::ostringstream inserted;
    inserted << Hnd_ktstd_fail_Failure(
        new ktstd_fail_DivideByZero("Division by zero in ktmdl_Vec3d"));
    scene.ExpectLog({"EXCEPTION caught in <file:ktmdl_Topo.cpp>{ktmdl_Topo::BuildNormal} (<line>):",
                     inserted.str()});
}

TEST(ktmdl_Topo, BuildNormalOfAnUnboundReferenceLogsTheFace)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
    EXPECT_EQ(coordinates(topo->BuildNormal()), kZero);
    scene.ExpectLog(
        {nullPointerForm(kSource, "pFace"), caught("ktmdl_Topo::BuildNormal", E_POINTER)});
}

TEST(ktmdl_Topo, BuildNormalOfWhatIsNoFaceLogsTheFace)
{
    Scene scene;
    fake::Object& object = scriptFace(scene.world.Make("face"), 1, {0, 0, 1});
    object.Refuse(ktmdl_host::IID_Face, E_NOINTERFACE);
    EXPECT_EQ(coordinates(boundTo(object, 5)->BuildNormal()), kZero);
    scene.ExpectNoCalls();
    scene.ExpectLog(
        {nullPointerForm(kSource, "pFace"), caught("ktmdl_Topo::BuildNormal", E_POINTER)});
}

TEST(ktmdl_Topo, BuildNormalLogsAFailingQueryOnce)
{
    Scene scene;
    fake::Object& object = scriptFace(scene.world.Make("face"), 1, {0, 0, 1});
    object.Refuse(ktmdl_host::IID_Face, static_cast<HRESULT>(0x8001010Au));
    EXPECT_EQ(coordinates(boundTo(object, 5)->BuildNormal()), kZero);
    scene.ExpectNoCalls();
    scene.ExpectLog({caught("ktmdl_Topo::BuildNormal", static_cast<HRESULT>(0x8001010Au))});
}

TEST(ktmdl_Topo, BuildNormalLogsEachFailingCall)
{
    for (const DISPID member : {47, 234, 229}) {
        Scene scene;
        fake::Object& object = scriptFace(scene.world.Make("face"), 2, {0, 0, 1});
        object.Method(member, [member](const fake::Args& aArgs, VARIANT*) {
            aArgs.SetReals(2, {0, 0, 1, 0, 0, 1}); // what is given all the same is given back
            if (member == 234) {
                aArgs.SetReals(4, {1, 1});
            }
            return kGone;
        });
        EXPECT_EQ(coordinates(boundTo(object, 5)->BuildNormal()), kZero) << member;
        scene.ExpectLog({caught("ktmdl_Topo::BuildNormal", kGone)});
        EXPECT_EQ(object.Held(), 0);
    }
}

TEST(ktmdl_Topo, BuildNormalBelievesNoArray)
{
    const std::vector<std::vector<double>> bad = {{}, {1}, {1, 2}};
    for (const std::vector<double>& values : bad) {
        Scene scene;
        fake::Object& object = scriptFace(scene.world.Make("face"), 1, {0, 0, 1});
        object.Method(229, [values](const fake::Args& aArgs, VARIANT*) {
            aArgs.SetReals(2, values);
            return S_OK;
        });
        EXPECT_EQ(coordinates(boundTo(object, 5)->BuildNormal()), kZero) << values.size();
    }
    for (const long facets : {1L, 2L, 1000000000L}) {
        Scene scene;
        fake::Object& object = scriptFace(scene.world.Make("face"), 1, {0, 0, 1});
        object.Method(47, [facets](const fake::Args& aArgs, VARIANT*) {
            aArgs.SetNumber(1, static_cast<LONG>(facets));
            aArgs.SetReals(2, {1, 2}); // less than was promised
            return S_OK;
        });
        EXPECT_EQ(coordinates(boundTo(object, 5)->BuildNormal()), kZero) << facets;
        EXPECT_EQ(scene.world.CountOf("face.234(*"), 0);
    }
}

TEST(ktmdl_Topo, BuildNormalLogsCornersThatCantBeUsed)
{
    const auto answer = [](LONG aFacets, const std::function<SAFEARRAY*()>& aCorners,
                           HRESULT aCode) {
        Scene scene;
        fake::Object& object = scriptFace(scene.world.Make("face"), 1, {0, 0, 1});
        object.Method(47, [=](const fake::Args& aArgs, VARIANT*) {
            aArgs.SetNumber(1, aFacets);
            aArgs.SetArray(2, aCorners());
            return S_OK;
        });
        EXPECT_EQ(coordinates(boundTo(object, 5)->BuildNormal()), kZero);
        scene.ExpectCalls({facetCall("0.05")});
        scene.ExpectLog({failedCallForm(kSource, aCode), caught("ktmdl_Topo::BuildNormal", aCode)});
        EXPECT_EQ(object.Held(), 0);
    };
    const auto none = []() -> SAFEARRAY* { return nullptr; };
    const auto numbers = [] { return SafeArrayCreateVector(VT_I4, 0, 9); };
    const auto objects = [] { return SafeArrayCreateVector(VT_DISPATCH, 0, 9); };
    const auto plane = [] {
        SAFEARRAYBOUND bounds[2] = {{3, 0}, {3, 0}};
        return SafeArrayCreate(VT_R8, 2, bounds);
    };
    answer(1, none, E_POINTER);
    answer(1, numbers, DISP_E_TYPEMISMATCH);
    answer(1, objects, DISP_E_TYPEMISMATCH);
    answer(1, plane, DISP_E_BADINDEX);
    answer(1, reals({}), DISP_E_BADINDEX);
    answer(1, reals({1, 2}), DISP_E_BADINDEX);
    answer(2, reals({1, 2, 3, 4, 5}), DISP_E_BADINDEX);
}

// IsClosed

TEST(ktmdl_Topo, IsClosedReadsTheFlagOfAnEdge)
{
    Scene scene;
    fake::Object& object = scriptEdge(scene.world.Make("edge"), true);
    const Hnd_ktmdl_Topo topo = boundTo(object, 2);
    EXPECT_EQ(topo->IsClosed(), 1);
    scene.ExpectCalls({"edge.get 85()"});
    scriptEdge(object, false);
    EXPECT_EQ(topo->IsClosed(), 0);
    EXPECT_EQ(object.Held(), 1);
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, IsClosedOfWhatIsNoEdgeAsksNothing)
{
    Scene scene;
    fake::Object& object = scriptEdge(scene.world.Make("edge"), true);
    for (int type = 0; type <= 255; ++type) {
        if (type != 2) {
            EXPECT_EQ(boundTo(object, static_cast<unsigned char>(type))->IsClosed(), 0) << type;
        }
    }
    scene.ExpectNoCalls();
    EXPECT_EQ(object.Queries(), 0);
    EXPECT_EQ(Hnd_ktmdl_Topo(new ktmdl_Topo)->IsClosed(), 0);
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, IsClosedCountsNoOtherTruthThanVariantTrue)
{
    Scene scene;
    fake::Object& object = scriptEdge(scene.world.Make("edge"), true);
    const Hnd_ktmdl_Topo topo = boundTo(object, 2);
    for (const int value : {1, 2, 255, 0x7FFF, -2, -32768}) {
        object.Property(85, fake::givesBool(static_cast<VARIANT_BOOL>(value)));
        EXPECT_EQ(topo->IsClosed(), 0) << value;
    }
    for (const LONG value : {1, 255, 0x10000, 0x1FFFF, -65536}) {
        object.Property(85, fake::givesNumber(value));
        EXPECT_EQ(topo->IsClosed(), 0) << "the integer " << value;
    }
    for (const VARTYPE type : {VT_UI1, VT_I1, VT_UI2, VT_UI4, VT_INT, VT_UINT, VT_I8, VT_UI8}) {
        object.Property(85, [type](const fake::Args&, VARIANT* aResult) -> HRESULT {
            aResult->vt = VT_I4;
            aResult->lVal = 1;
            return VariantChangeType(aResult, aResult, 0, type);
        });
        EXPECT_EQ(topo->IsClosed(), 0) << "type " << type;
    }
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, IsClosedOfAnUnboundEdgeLogsTheEdge)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
    topo->tplType = 2;
    EXPECT_EQ(topo->IsClosed(), 0);
    scene.ExpectLog({nullPointerForm(kSource, "pE"), caught("ktmdl_Topo::IsClosed", E_POINTER)});
}

TEST(ktmdl_Topo, IsClosedLogsAFailedRead)
{
    Scene scene;
    fake::Object& object = scriptEdge(scene.world.Make("edge"), true);
    object.Property(85, fake::fails(kGone));
    EXPECT_EQ(boundTo(object, 2)->IsClosed(), 0);
    scene.ExpectLog({caught("ktmdl_Topo::IsClosed", kGone)});
}

TEST(ktmdl_Topo, IsClosedReadsATruthValueInWords)
{
    Scene scene;
    fake::Object& object = scriptEdge(scene.world.Make("edge"), false);
    object.Property(85, fake::givesText(L"True"));
    EXPECT_EQ(boundTo(object, 2)->IsClosed(), 1);
    object.Property(85, fake::givesText(L"False"));
    EXPECT_EQ(boundTo(object, 2)->IsClosed(), 0);
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, IsClosedGivesBackAnAnswerOfTheWrongType)
{
    Scene scene;
    fake::Object& object = scriptEdge(scene.world.Make("edge"), true);
    object.Property(85, fake::givesText(L"perhaps"));
    EXPECT_EQ(boundTo(object, 2)->IsClosed(), 0);
    object.Property(85, fake::givesObject(&object));
    EXPECT_EQ(boundTo(object, 2)->IsClosed(), 0);
}

// Other exceptions

TEST(ktmdl_Topo, KernelFailurePassesThroughTheQuestions)
{
    const fake::Handler raises = [](const fake::Args&, VARIANT*) -> HRESULT {
        ktstd_fail_ProgramError::Raise("the kernel gave up");
    };
    Scene scene;
    fake::Object& face = scriptFace(scene.world.Make("face"), 1, {0, 0, 1});
    face.Method(229, raises);
    face.Method(L"GetExactRange", raises);
    fake::Object& edge = scriptEdge(scene.world.Make("edge"), true);
    edge.Property(85, raises);
    edge.Property(77, raises);
    using Failure = Hnd_ktstd_fail_ProgramError;
    EXPECT_THROW((void)ktmdl_Topo::BuildBBox(face.Ptr()), Failure);
    EXPECT_THROW((void)boundTo(face, 5)->BuildNormal(), Failure);
    EXPECT_THROW((void)boundTo(edge, 2)->IsClosed(), Failure);
    EXPECT_THROW(ShowVariable("e", boundTo(edge, 2)), Failure);
    scene.ExpectLog({"[Topo]: e:"});
    EXPECT_TRUE(scene.world.HeldObjects().empty());
}

// ShowVariable

namespace {

//! An edge with all that its dump asks for.
struct ShownEdge
{
    explicit ShownEdge(Scene& aScene)
        : geometry(aScene.world.Make("geom")),
          edge(scriptEdge(aScene.world.Make("edge"), false)),
          topo(boundTo(edge, 2))
    {
        geometry.Property(L"Type", fake::givesNumber(167551109));
        edge.Property(77, fake::givesBool(VARIANT_TRUE));
        edge.Method(272, [](const fake::Args& aArgs, VARIANT*) {
            aArgs.SetReal(0, 0.25);
            aArgs.SetReal(1, 0.75);
            return S_OK;
        });
        edge.Property(76, fake::givesObject(&geometry));
    }

    fake::Object& geometry;
    fake::Object& edge;
    Hnd_ktmdl_Topo topo;
};

} // namespace

TEST(ktmdl_Topo, ShowVariableOfNullWritesOneLine)
{
    Scene scene;
    ShowVariable("my edge [1]", Hnd_ktmdl_Topo());
    EXPECT_EQ(scene.log.Text(), "[Topo]: my edge [1]: is NULL\n");
}

TEST(ktmdl_Topo, ShowVariableWritesTheName)
{
    Scene scene;
    fake::Object& object = scene.world.Make("object");
    for (const int type : {0, 1, 3, 5, 6, 7, 9}) {
        ShowVariable("t", boundTo(object, static_cast<unsigned char>(type)));
    }
    const Hnd_ktmdl_Topo unbound(new ktmdl_Topo);
    unbound->tplType = 2;
    ShowVariable("t", unbound);
    EXPECT_EQ(scene.log.Lines(), std::vector<std::string>(8, "[Topo]: t:"));
    scene.ExpectNoCalls();
    EXPECT_EQ(object.Queries(), 0);
}

TEST(ktmdl_Topo, ShowVariableOfALiveEdgeAsksForItsParametersAndPrintsNone)
{
    Scene scene;
    const ShownEdge shown(scene);
    ShowVariable("e", shown.topo);
    scene.ExpectCalls({"edge.get 77()", "edge.272(R8& *, R8& *)", "edge.get 76()", "geom.Type?",
                       "geom.get Type()"});
    EXPECT_EQ(scene.log.Text(), "[Topo]: e:\n");
    EXPECT_EQ(shown.edge.Held(), 1);
    EXPECT_EQ(shown.geometry.Held(), 0);
}

TEST(ktmdl_Topo, ShowVariableLogsAMissingEdge)
{
    Scene scene;
    const ShownEdge shown(scene);
    shown.edge.Refuse(ktmdl_host::IID_Edge, E_NOINTERFACE);
    ShowVariable("e", shown.topo);
    scene.ExpectNoCalls();
    scene.ExpectLog(
        {"[Topo]: e:", nullPointerForm(kSource, "pE"), caught("ShowVariable", E_POINTER)});
}

TEST(ktmdl_Topo, ShowVariableLogsAFailingQueryOnce)
{
    Scene scene;
    const ShownEdge shown(scene);
    shown.edge.Refuse(ktmdl_host::IID_Edge, kGone);
    ShowVariable("e", shown.topo);
    scene.ExpectLog({"[Topo]: e:", caught("ShowVariable", kGone)});
}

TEST(ktmdl_Topo, ShowVariableLogsAMissingGeometry)
{
    Scene scene;
    const ShownEdge shown(scene);
    shown.edge.Property(76, fake::givesObject(nullptr));
    ShowVariable("e", shown.topo);
    scene.ExpectLog(
        {"[Topo]: e:", nullPointerForm(kSource, "pGeom"), caught("ShowVariable", E_POINTER)});
}

TEST(ktmdl_Topo, ShowVariableLogsEachFailingCall)
{
    for (int call = 0; call < 3; ++call) {
        Scene scene;
        const ShownEdge shown(scene);
        if (call == 0) {
            shown.edge.Property(77, fake::fails(kGone));
        } else if (call == 1) {
            shown.edge.Method(272, fake::fails(kGone));
        } else {
            shown.edge.Property(76, fake::fails(kGone));
        }
        ShowVariable("e", shown.topo);
        scene.ExpectLog({"[Topo]: e:", caught("ShowVariable", kGone)});
    }
}

TEST(ktmdl_Topo, ShowVariableLogsAFailingTypeOfTheGeometry)
{
    Scene scene;
    const ShownEdge shown(scene);
    shown.geometry.Property(L"Type", fake::fails(kGone));
    ShowVariable("e", shown.topo);
    const std::vector<std::string> lines = scene.log.Lines();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines.front(), "[Topo]: e:");
    EXPECT_TRUE(isLine(lines.back(), caught("ShowVariable", kGone)));
    EXPECT_EQ(shown.geometry.Held(), 0);
}

TEST(ktmdl_Topo, ShowVariableWithoutANamePrintsNone)
{
    Scene scene;
    ShowVariable(nullptr, Hnd_ktmdl_Topo());
    ShowVariable(nullptr, Hnd_ktmdl_Topo(new ktmdl_Topo));
    ShowVariable("", Hnd_ktmdl_Topo(new ktmdl_Topo));
    EXPECT_EQ(scene.log.Text(), "[Topo]: : is NULL\n[Topo]: :\n[Topo]: :\n");
}
