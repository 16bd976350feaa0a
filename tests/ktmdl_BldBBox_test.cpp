#include "ktmdl/ktmdl_BldBBox.h"

#include "com/Com.h"
#include "ktstd/ktstd_fail.h"
#include "support/FakeDispatch.h"
#include "support/HostIds.h"
#include "support/Slots.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

static_assert(std::has_virtual_destructor_v<ktmdl_BldBBox>);
static_assert(!std::is_base_of_v<ktstd_Transient, ktmdl_BldBBox>);
static_assert(std::is_same_v<decltype(std::declval<ktmdl_BldBBox&>().Compute()), long>);
static_assert(std::is_same_v<decltype(std::declval<const ktmdl_BldBBox&>().Status()), long>);
static_assert(
    std::is_same_v<decltype(std::declval<const ktmdl_BldBBox&>().BBox()), const ktmdl_BBox3d&>);

namespace {

const char* const kSource = "ktmdl_BldBBox.cpp";
const char* const kFunction = "ktmdl_BldBBox::ComputeBBox";
const HRESULT kGone = static_cast<HRESULT>(0x80010108u);
const HRESULT kBusy = static_cast<HRESULT>(0x8001010Au);

using Box = std::array<double, 6>;
using Objects = std::vector<fake::Object*>;

const Box kDefaultBox = {0, 0, 0, 0, 0, 0};
const unsigned char kWithout = 0;
const unsigned char kWith = 1;

std::string caught(HRESULT aCode)
{
    return caughtForm(kSource, kFunction, aCode);
}

//! The two lines of an object that is missing.
std::vector<std::string> missing(const char* aVariable)
{
    return {nullPointerForm(kSource, aVariable), caught(E_POINTER)};
}

//! The lines of a call that failed: those of named properties have one more of their own.
std::vector<std::string> failed(const std::string& aCall, HRESULT aCode)
{
    if (fake::matches("*.Type?", aCall) || fake::matches("*.get Type()", aCall)) {
        return {failedCallForm(kSource, aCode), caught(aCode)};
    }
    return {caught(aCode)};
}

class Probe : public ktmdl_BldBBox
{
public:
    using ktmdl_BldBBox::ktmdl_BldBBox;

    virtual void Behind() {}
};

// Objects of the host

fake::Object& makeTyped(Scene& aScene, const std::string& aName, LONG aType)
{
    return aScene.world.Make(aName).Property(L"Type", fake::givesNumber(aType));
}

fake::Object& makeBody(Scene& aScene, const std::string& aName, const Box& aBox,
                       bool aIsCounted = true)
{
    fake::Object& body = aScene.world.Make(aName);
    body.Property(65, fake::givesBool(aIsCounted ? VARIANT_TRUE : VARIANT_FALSE));
    body.Method(129, [aBox](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetReals(0, {aBox[0], aBox[1], aBox[2]});
        aArgs.SetReals(1, {aBox[3], aBox[4], aBox[5]});
        return S_OK;
    });
    return body;
}

//! A model or a construction with the name, its body NAMEBody and its features NAMEFeats.
fake::Object& makeModel(Scene& aScene, const std::string& aName, const Box& aBox,
                        const Objects& aFeatures = {}, bool aIsCounted = true)
{
    fake::Object& model = aScene.world.Make(aName);
    model.Property(49, fake::givesObject(&makeBody(aScene, aName + "Body", aBox, aIsCounted)));
    model.Property(30, fake::givesObject(&aScene.Collection(aName + "Feats", aFeatures, 5)));
    return model;
}

//! A part document with the name, its collection of models NAMEModels with a model NAMEModel, and
//! its constructions NAMEConstrs.
fake::Object& makePart(Scene& aScene, const std::string& aName, const Box& aBox,
                       const Objects& aConstructions = {})
{
    fake::Object& part = makeTyped(aScene, aName, hostids::typePartDocument);
    part.Answer(hostids::PartDocument);
    fake::Object& model = makeModel(aScene, aName + "Model", aBox);
    part.Property(24681, fake::givesObject(&aScene.Collection(aName + "Models", {&model}, 5)));
    part.Property(24686,
                  fake::givesObject(&aScene.Collection(aName + "Constrs", aConstructions, 5)));
    return part;
}

//! An assembly document with the name, its occurrences NAMEOccs, and one occurrence OF_DOCUMENT of
//! each document, which may be null.
fake::Object& makeAssembly(Scene& aScene, const std::string& aName, const Objects& aDocuments)
{
    fake::Object& assembly = makeTyped(aScene, aName, hostids::typeAssemblyDocument);
    assembly.Answer(hostids::AssemblyDocument);
    Objects occurrences;
    for (fake::Object* const document : aDocuments) {
        fake::Object& occurrence =
            aScene.world.Make("of_" + (document != nullptr ? document->Name() : "nothing"));
        occurrence.Answer(hostids::Occurrence);
        occurrence.Property(38, fake::givesObject(document));
        occurrences.push_back(&occurrence);
    }
    assembly.Property(16390, fake::givesObject(&aScene.Collection(aName + "Occs", occurrences, 3)));
    return assembly;
}

//! A feature whose parent is a model of the given box.
fake::Object& makeFeature(Scene& aScene, LONG aType, const Box& aBox)
{
    fake::Object& model = makeModel(aScene, "model", aBox).Answer(hostids::ConstructionModel);
    return makeTyped(aScene, "feature", aType).Property(L"Parent", fake::givesObject(&model));
}

// Calls

std::vector<std::string> typeCalls(const std::string& aName)
{
    return {aName + ".Type?", aName + ".get Type()"};
}

std::string rangeCall(const std::string& aBody)
{
    return aBody + ".129(R8[]& *, R8[]& *)";
}

std::vector<std::string> partCalls(const std::string& aName)
{
    return joined({typeCalls(aName),
                   {aName + ".get 24681()", aName + "Models.0(I4 1)", aName + "Model.get 49()",
                    rangeCall(aName + "ModelBody")}});
}

//! The calls on a construction with the name, the Nth of the part's, that has features which are
//! all asked for.
std::vector<std::string> constructionCalls(const std::string& aPart, const std::string& aName,
                                           int aNth, int aFeatures)
{
    std::vector<std::string> calls = {aPart + "Constrs.0(I4 " + std::to_string(aNth) + ")",
                                      aName + ".get 30()", aName + "Feats.get 5()"};
    for (int i = 1; i <= aFeatures; ++i) {
        calls.push_back(aName + "Feats.0(I4 " + std::to_string(i) + ")");
    }
    return calls;
}

std::vector<std::string> bodyCalls(const std::string& aName)
{
    return {aName + ".get 49()", aName + "Body.get 65()", rangeCall(aName + "Body")};
}

// Outcomes

//! Measures an object and checks status, box and log.
void expectBox(const Scene& aScene, fake::Object& aObject, unsigned char aConstructions,
               const Box& aBox, long aStatus = 0, const std::vector<std::string>& aLog = {})
{
    ktmdl_BldBBox builder(aObject.Ptr(), aConstructions);
    EXPECT_EQ(builder.Compute(), aStatus);
    EXPECT_EQ(builder.Status(), aStatus);
    EXPECT_EQ(cornersOf(builder.BBox()), aBox);
    aScene.ExpectLog(aLog);
}

//! Measures an object that can't be measured and checks what is left of the box and in the log.
void expectFailure(const Scene& aScene, fake::Object& aObject, const std::vector<std::string>& aLog,
                   const Box& aBox = kDefaultBox, unsigned char aConstructions = kWith)
{
    expectBox(aScene, aObject, aConstructions, aBox, 1, aLog);
}

const Box kBoxA = {-1, -2, -3, 4, 5, 6};
const Box kBoxB = {10, 20, 30, 40, 50, 60};
const Box kBoxC = {-100, 7, 8, 9, 70, 200};

//! The component-wise union.
Box unionOf(const Box& aFirst, const Box& aSecond)
{
    Box box{};
    for (std::size_t i = 0; i < 3; ++i) {
        box[i] = std::min(aFirst[i], aSecond[i]);
        box[i + 3] = std::max(aFirst[i + 3], aSecond[i + 3]);
    }
    return box;
}

} // namespace

// Status

TEST(ktmdl_BldBBox, NewBuilderIsNotYetComputedAndHoldsTheObject)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxA);
    {
        const ktmdl_BldBBox builder(part.Ptr(), kWithout);
        EXPECT_EQ(builder.Status(), -2);
        EXPECT_EQ(cornersOf(builder.BBox()), kDefaultBox);
        EXPECT_EQ(part.Held(), 1);
    }
    EXPECT_EQ(part.Held(), 0);
    scene.ExpectNoCalls();
}

TEST(ktmdl_BldBBox, NullObjectLeavesItNotComputedForGood)
{
    Scene scene;
    ktmdl_BldBBox builder(IDispatchPtr(), kWith);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(builder.Compute(), -2);
        EXPECT_EQ(builder.Status(), -2);
    }
    EXPECT_EQ(cornersOf(builder.BBox()), kDefaultBox);
    scene.ExpectLog({});
}

TEST(ktmdl_BldBBox, SecondComputeGivesTheStatusWithoutAskingTheHost)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxA);
    fake::Object& sketch = makeTyped(scene, "sketch", 7);
    for (fake::Object* const object : {&part, &sketch}) {
        ktmdl_BldBBox builder(object->Ptr(), kWithout);
        const long status = builder.Compute();
        EXPECT_EQ(status, object == &part ? 0 : 1);
        const Box box = cornersOf(builder.BBox());
        scene.world.Forget();
        EXPECT_EQ(builder.Compute(), status);
        EXPECT_EQ(builder.Status(), status);
        EXPECT_EQ(cornersOf(builder.BBox()), box);
        scene.ExpectNoCalls();
    }
    scene.ExpectLog({});
}

TEST(ktmdl_BldBBox, StatusIs0WhileItWorks)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxA);
    ktmdl_BldBBox builder(part.Ptr(), kWithout);
    long seen = 99;
    long nested = 99;
    part.Property(L"Type", [&](const fake::Args&, VARIANT*) {
        seen = builder.Status();
        nested = builder.Compute();
        return kGone;
    });
    EXPECT_EQ(builder.Compute(), 1);
    EXPECT_EQ(seen, 0);
    EXPECT_EQ(nested, 0);
}

TEST(ktmdl_BldBBox, DestructorIsTheOnlyVirtualOperation)
{
#if KT_TEST_HAS_SLOTS
    EXPECT_EQ(kt_test::slotOf(&ktmdl_BldBBox::Compute), -1);
    EXPECT_EQ(kt_test::slotOf(&Probe::Behind), 2);
#endif
}

// Parts

TEST(ktmdl_BldBBox, PartIsItsFirstModelsBody)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxA);
    fake::Object& first = makeModel(scene, "first", kBoxB);
    fake::Object& second = makeModel(scene, "second", kBoxC);
    part.Property(24681, fake::givesObject(&scene.Collection("models", {&first, &second}, 5)));
    expectBox(scene, part, kWithout, kBoxB);
    scene.ExpectCalls(
        joined({typeCalls("part"),
                {"part.get 24681()", "models.0(I4 1)", "first.get 49()", rangeCall("firstBody")}}));
    EXPECT_EQ(part.Queries(), 1);
}

TEST(ktmdl_BldBBox, CornersAreKeptAsTheHostGivesThem)
{
    Scene scene;
    const Box inverted = {4, -2, 6, -1, 5, -3};
    expectBox(scene, makePart(scene, "part", inverted), kWithout, inverted);
}

TEST(ktmdl_BldBBox, RangeOfMoreValuesIsItsFirstThree)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxA);
    fake::Object& body = scene.world.Make("body");
    body.Method(129, [](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetReals(0, {1, 2, 3, 77});
        aArgs.SetReals(1, {4, 5, 6, 78, 79});
        return S_OK;
    });
    fake::Object& model = scene.world.Make("model").Property(49, fake::givesObject(&body));
    part.Property(24681, fake::givesObject(&scene.Collection("models", {&model}, 5)));
    expectBox(scene, part, kWithout, {1, 2, 3, 4, 5, 6});
}

TEST(ktmdl_BldBBox, PartThatIsNoneIsReported)
{
    Scene scene;
    fake::Object& other = makeTyped(scene, "other", hostids::typePartDocument);
    expectFailure(scene, other, missing("pPartDoc"));
    scene.ExpectCalls(typeCalls("other"));
}

TEST(ktmdl_BldBBox, PartThatRefusesWithAnotherCodeIsReported)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxA).Refuse(hostids::PartDocument, kBusy);
    expectFailure(scene, part, {caught(kBusy)});
    scene.ExpectCalls(typeCalls("part"));
}

TEST(ktmdl_BldBBox, PartWithoutModelsIsReported)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxA);
    part.Property(24681, fake::givesObject(nullptr));
    expectFailure(scene, part, missing("pModels"));
}

TEST(ktmdl_BldBBox, PartWithoutModelIsReported)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxA);
    part.Property(24681, fake::givesObject(&scene.Collection("models", {nullptr}, 5)));
    expectFailure(scene, part, missing("pModel"));
}

TEST(ktmdl_BldBBox, PartWithEmptyModelsIsReportedWithTheHostsCode)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxA);
    part.Property(24681, fake::givesObject(&scene.Collection("models", {}, 5)));
    expectFailure(scene, part, {caught(DISP_E_BADINDEX)});
}

TEST(ktmdl_BldBBox, ModelWithoutBodyIsReported)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxA);
    fake::Object& model = scene.world.Make("model").Property(49, fake::givesObject(nullptr));
    part.Property(24681, fake::givesObject(&scene.Collection("models", {&model}, 5)));
    expectFailure(scene, part, missing("pBody"));
}

TEST(ktmdl_BldBBox, CodeInsideAnExceptionIsReported)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxA);
    part.Property(24681, [](const fake::Args& aArgs, VARIANT*) {
        return aArgs.Exception(kBusy, L"rebuilding");
    });
    expectFailure(scene, part, {caught(kBusy)});
}

TEST(ktmdl_BldBBox, RangeThatCantBeUsedIsRefused)
{
    const std::function<SAFEARRAY*()> arrays[] = {
        [] { return static_cast<SAFEARRAY*>(nullptr); },
        [] {
            return fake::arrayOf(std::vector<double>{1, 2});
        },
        [] {
            return fake::arrayOf(Bytes{1, 2, 3});
        },
        [] { return SafeArrayCreateVector(VT_I4, 0, 3); }};
    for (const auto& array : arrays) {
        for (const std::size_t bad : {std::size_t{0}, std::size_t{1}}) {
            Scene scene;
            fake::Object& body = scene.world.Make("body");
            body.Method(129, [&](const fake::Args& aArgs, VARIANT*) {
                aArgs.SetReals(1 - bad, {1, 2, 3});
                aArgs.SetArray(bad, array());
                return S_OK;
            });
            fake::Object& model = scene.world.Make("model").Property(49, fake::givesObject(&body));
            fake::Object& part = makePart(scene, "part", kBoxA);
            part.Property(24681, fake::givesObject(&scene.Collection("models", {&model}, 5)));
            ktmdl_BldBBox builder(part.Ptr(), kWithout);
            EXPECT_EQ(builder.Compute(), 1);
            const std::vector<std::string> lines = scene.log.Lines();
            ASSERT_FALSE(lines.empty());
            EXPECT_LE(lines.size(), 2U);
            EXPECT_TRUE(fake::matches("COM ERROR caught in *ktmdl_BldBBox.cpp{" +
                                          std::string(kFunction) + "} (*): * (hr=*)",
                                      lines.back()))
                << lines.back();
        }
    }
}

// Constructions

TEST(ktmdl_BldBBox, ConstructionsDontCountUnlessAskedFor)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxA, {&makeModel(scene, "constr", kBoxB)});
    expectBox(scene, part, kWithout, kBoxA);
    scene.ExpectCalls(partCalls("part"));
}

TEST(ktmdl_BldBBox, ConstructionsWidenTheBoxWhenAskedFor)
{
    Scene scene;
    fake::Object& feature = scene.world.Make("feature");
    fake::Object& part = makePart(
        scene, "part", kBoxA,
        {&makeModel(scene, "one", kBoxB), &makeModel(scene, "two", kBoxC, {&feature, &feature})});
    expectBox(scene, part, kWith, {-100, -2, -3, 40, 70, 200});
    scene.ExpectCalls(joined({partCalls("part"),
                              {"part.get 24686()", "partConstrs.get 5()"},
                              constructionCalls("part", "one", 1, 0),
                              bodyCalls("one"),
                              constructionCalls("part", "two", 2, 2),
                              bodyCalls("two")}));
}

TEST(ktmdl_BldBBox, ConstructionsWidenEveryComponentByItself)
{
    for (std::size_t place = 0; place < 6; ++place) {
        Scene scene;
        Box construction = {0, 0, 0, 0, 0, 0};
        construction[place] = place < 3 ? -9 : 9;
        Box wanted = kBoxA;
        wanted[place] = construction[place];
        fake::Object& part =
            makePart(scene, "part", kBoxA, {&makeModel(scene, "constr", construction)});
        expectBox(scene, part, kWith, wanted);
    }
}

TEST(ktmdl_BldBBox, PartWithoutAnyConstructionIsItsModel)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxA);
    expectBox(scene, part, kWith, kBoxA);
    scene.ExpectCalls(joined({partCalls("part"), {"part.get 24686()", "partConstrs.get 5()"}}));
}

TEST(ktmdl_BldBBox, ConstructionBodyWithoutItsPropertyDoesNotCount)
{
    Scene scene;
    fake::Object& part = makePart(
        scene, "part", kBoxA,
        {&makeModel(scene, "hidden", kBoxB, {}, false), &makeModel(scene, "shown", kBoxC)});
    expectBox(scene, part, kWith, unionOf(kBoxA, kBoxC));
    EXPECT_EQ(scene.world.CountOf("hiddenBody.get 65()"), 1);
    EXPECT_EQ(scene.world.CountOf("hiddenBody.129(*)"), 0);
}

TEST(ktmdl_BldBBox, ConstructionWithAnInterpartCopyIsSkippedAtItsFirstSuchFeature)
{
    Scene scene;
    fake::Object& plain = scene.world.Make("plain");
    fake::Object& copy = scene.world.Make("copy").Answer(hostids::InterpartConstruction);
    fake::Object& behind = scene.world.Make("behind");
    fake::Object& part = makePart(scene, "part", kBoxA,
                                  {&makeModel(scene, "one", kBoxB, {&plain, &copy, &behind}),
                                   &makeModel(scene, "two", kBoxC, {&plain})});
    expectBox(scene, part, kWith, unionOf(kBoxA, kBoxC));
    scene.ExpectCalls(joined({partCalls("part"),
                              {"part.get 24686()", "partConstrs.get 5()"},
                              constructionCalls("part", "one", 1, 2),
                              constructionCalls("part", "two", 2, 1),
                              bodyCalls("two")}));
    EXPECT_EQ(behind.Queries(), 0);
}

TEST(ktmdl_BldBBox, MissingConstructionsAreReported)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxA);
    part.Property(24686, fake::givesObject(nullptr));
    expectFailure(scene, part, missing("pConstructions"), kBoxA);
}

TEST(ktmdl_BldBBox, MissingConstructionIsReported)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxA, {&makeModel(scene, "one", kBoxB), nullptr});
    expectFailure(scene, part, missing("pConstruction"), unionOf(kBoxA, kBoxB));
}

TEST(ktmdl_BldBBox, ConstructionWithoutFeaturesIsReported)
{
    Scene scene;
    fake::Object& constr = makeModel(scene, "constr", kBoxB);
    constr.Property(30, fake::givesObject(nullptr));
    expectFailure(scene, makePart(scene, "part", kBoxA, {&constr}), missing("pConstrModelFeats"),
                  kBoxA);
    EXPECT_EQ(scene.world.CountOf("constr.get 49()"), 0);
}

TEST(ktmdl_BldBBox, MissingFeatureOfAConstructionIsReported)
{
    Scene scene;
    fake::Object& constr = makeModel(scene, "constr", kBoxB, {nullptr});
    expectFailure(scene, makePart(scene, "part", kBoxA, {&constr}), missing("pFeature"), kBoxA);
}

TEST(ktmdl_BldBBox, FeatureThatRefusesWithAnotherCodeIsReported)
{
    Scene scene;
    fake::Object& busy = scene.world.Make("busy").Refuse(hostids::InterpartConstruction, kBusy);
    fake::Object& constr = makeModel(scene, "constr", kBoxB, {&busy});
    expectFailure(scene, makePart(scene, "part", kBoxA, {&constr}), {caught(kBusy)}, kBoxA);
}

TEST(ktmdl_BldBBox, ConstructionWithoutBodyIsReported)
{
    Scene scene;
    fake::Object& constr = makeModel(scene, "constr", kBoxB);
    constr.Property(49, fake::givesObject(nullptr));
    expectFailure(scene, makePart(scene, "part", kBoxA, {&constr}), missing("pBody"), kBoxA);
}

TEST(ktmdl_BldBBox, EveryCallOnAPartMayFailAndEarlierCornersStay)
{
    for (const bool isLate : {false, true}) {
        long nth = 1;
        bool isModelMeasured = false;
        bool isFirstMeasured = false;
        for (;; ++nth) {
            ASSERT_LT(nth, 100);
            Scene scene;
            fake::Object& feature = scene.world.Make("feature");
            fake::Object& part = makePart(
                scene, "part", kBoxA,
                {&makeModel(scene, "one", kBoxB, {&feature}), &makeModel(scene, "two", kBoxC)});
            scene.world.FailCall(nth, kGone, isLate);
            ktmdl_BldBBox builder(part.Ptr(), kWith);
            const long status = builder.Compute();
            const std::string call = scene.world.FailedCall();
            SCOPED_TRACE(call);
            if (call.empty()) {
                EXPECT_EQ(status, 0);
                break; // by now every call has failed once
            }
            EXPECT_EQ(status, 1);
            EXPECT_EQ(builder.Status(), 1);
            scene.ExpectLog(failed(call, kGone));
            EXPECT_EQ(scene.world.Calls().back(), call) << "nothing follows";
            Box wanted = isModelMeasured ? kBoxA : kDefaultBox;
            if (isFirstMeasured) {
                wanted = unionOf(kBoxA, kBoxB);
            }
            EXPECT_EQ(cornersOf(builder.BBox()), wanted);
            isModelMeasured |= fake::matches("partModelBody.129(*)", call);
            isFirstMeasured |= fake::matches("oneBody.129(*)", call);
        }
        EXPECT_TRUE(isFirstMeasured);
        EXPECT_EQ(nth, 1 + 6 + 2 + (4 + 3) + (3 + 3));
    }
}

// Assemblies

TEST(ktmdl_BldBBox, AssemblyIsTheUnionOfItsOccurrencesDocuments)
{
    Scene scene;
    fake::Object& assembly = makeAssembly(
        scene, "asm",
        {&makePart(scene, "a", kBoxA), &makePart(scene, "b", kBoxB), &makePart(scene, "c", kBoxC)});
    expectBox(scene, assembly, kWithout, unionOf(kBoxA, unionOf(kBoxB, kBoxC)));
    scene.ExpectCalls(
        joined({typeCalls("asm"),
                {"asm.get 16390()", "asmOccs.get 3()", "asmOccs.0(I4 1)", "of_a.get 38()"},
                partCalls("a"),
                {"asmOccs.0(I4 2)", "of_b.get 38()"},
                partCalls("b"),
                {"asmOccs.0(I4 3)", "of_c.get 38()"},
                partCalls("c")}));
}

TEST(ktmdl_BldBBox, FirstOccurrenceReplacesTheBox)
{
    // Nothing of the default box, the origin, is left.
    Scene scene;
    fake::Object& assembly = makeAssembly(scene, "asm", {&makePart(scene, "b", kBoxB)});
    expectBox(scene, assembly, kWithout, kBoxB);
}

TEST(ktmdl_BldBBox, UnionsHaveNoTolerance)
{
    Scene scene;
    const Box farther = {-1 - 1e-9, -2 - 1e-9, -3 - 1e-9, 4 + 1e-9, 5 + 1e-9, 6 + 1e-9};
    fake::Object& part = makePart(scene, "a", kBoxA, {&makeModel(scene, "constr", farther)});
    expectBox(scene, part, kWith, farther);
    fake::Object& other = makePart(scene, "b", farther);
    expectBox(scene, makeAssembly(scene, "asm", {&part, &other}), kWithout, farther);
}

TEST(ktmdl_BldBBox, EmptyAssemblyIsTheDefaultBox)
{
    Scene scene;
    expectBox(scene, makeAssembly(scene, "asm", {}), kWith, kDefaultBox);
    scene.ExpectCalls(joined({typeCalls("asm"), {"asm.get 16390()", "asmOccs.get 3()"}}));
}

TEST(ktmdl_BldBBox, AnAssemblyIgnoresPlacements)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxB);
    fake::Object& occurrence = scene.world.Make("occ").Answer(hostids::Occurrence);
    occurrence.Property(38, fake::givesObject(&part));
    for (const wchar_t* const name : {L"GetMatrix", L"GetTransform", L"GetOrigin", L"Range"}) {
        occurrence.Method(name, [](const fake::Args& aArgs, VARIANT*) {
            aArgs.SetReals(0, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1000, 2000, 3000, 1});
            return S_OK;
        });
    }
    fake::Object& assembly = makeAssembly(scene, "asm", {});
    assembly.Property(16390, fake::givesObject(&scene.Collection("occs", {&occurrence}, 3)));
    expectBox(scene, assembly, kWithout, kBoxB);
    scene.ExpectCalls(joined({typeCalls("asm"),
                              {"asm.get 16390()", "occs.get 3()", "occs.0(I4 1)", "occ.get 38()"},
                              partCalls("part")}));
}

TEST(ktmdl_BldBBox, SameDocumentIsMeasuredOncePerOccurrence)
{
    Scene scene;
    fake::Object& part = makePart(scene, "part", kBoxB);
    expectBox(scene, makeAssembly(scene, "asm", {&part, &part}), kWithout, kBoxB);
    EXPECT_EQ(scene.world.CountOf("partModelBody.129(*)"), 2);
}

TEST(ktmdl_BldBBox, AssemblyPassesTheChoiceOfConstructionsOn)
{
    for (const unsigned char choice : {kWithout, kWith}) {
        Scene scene;
        fake::Object& part = makePart(scene, "part", kBoxA, {&makeModel(scene, "constr", kBoxB)});
        fake::Object& inner = makeAssembly(scene, "inner", {&part});
        expectBox(scene, makeAssembly(scene, "outer", {&inner}), choice,
                  choice == kWith ? unionOf(kBoxA, kBoxB) : kBoxA);
    }
}

TEST(ktmdl_BldBBox, NestedAssembliesAreMeasuredInTheirOwnBox)
{
    Scene scene;
    fake::Object& inner =
        makeAssembly(scene, "inner", {&makePart(scene, "b", kBoxB), &makePart(scene, "c", kBoxC)});
    fake::Object& outer = makeAssembly(scene, "outer", {&makePart(scene, "a", kBoxA), &inner});
    expectBox(scene, outer, kWithout, unionOf(kBoxA, unionOf(kBoxB, kBoxC)));
    // Alone, the inner one begins afresh.
    Scene other;
    fake::Object& alone = makeAssembly(other, "inner", {&makePart(other, "b", kBoxB)});
    expectBox(other, makeAssembly(other, "outer", {&alone}), kWithout, kBoxB);
}

TEST(ktmdl_BldBBox, EmptySubassemblyCountsAsTheOrigin)
{
    Scene scene;
    fake::Object& empty = makeAssembly(scene, "empty", {});
    fake::Object& part = makePart(scene, "part", kBoxB);
    expectBox(scene, makeAssembly(scene, "asm", {&part, &empty}), kWithout, {0, 0, 0, 40, 50, 60});
    expectBox(scene, makeAssembly(scene, "asm2", {&empty, &part}), kWithout, {0, 0, 0, 40, 50, 60});
}

TEST(ktmdl_BldBBox, DeepAssembliesAreMeasured)
{
    Scene scene;
    fake::Object* document = &makePart(scene, "part", kBoxB);
    for (int level = 0; level < 40; ++level) {
        document = &makeAssembly(scene, "asm" + std::to_string(level), {document});
    }
    expectBox(scene, *document, kWithout, kBoxB);
}

TEST(ktmdl_BldBBox, AssemblyThatHoldsItselfEnds)
{
    Scene scene;
    fake::Object& assembly = makeAssembly(scene, "asm", {});
    fake::Object& occurrence = scene.world.Make("occ").Answer(hostids::Occurrence);
    occurrence.Property(38, fake::givesObject(&assembly));
    assembly.Property(16390, fake::givesObject(&scene.Collection("occs", {&occurrence}, 3)));
    expectBox(scene, assembly, kWithout, kDefaultBox, 0, {caught(E_UNEXPECTED)});
}

TEST(ktmdl_BldBBox, AssemblyThatHoldsItselfTwiceEndsToo)
{
    Scene scene;
    fake::Object& assembly = makeAssembly(scene, "asm", {});
    fake::Object& occurrence = scene.world.Make("occ").Answer(hostids::Occurrence);
    occurrence.Property(38, fake::givesObject(&assembly));
    assembly.Property(16390,
                      fake::givesObject(&scene.Collection("occs", {&occurrence, &occurrence}, 3)));
    expectBox(scene, assembly, kWithout, kDefaultBox, 0,
              {caught(E_UNEXPECTED), caught(E_UNEXPECTED)});
}

TEST(ktmdl_BldBBox, AssembliesDeeperThan256AreLeftOut)
{
    Scene scene;
    fake::Object* document = &makePart(scene, "part", kBoxB);
    for (int level = 0; level < 256; ++level) {
        document = &makeAssembly(scene, "asm" + std::to_string(level), {document});
    }
    expectBox(scene, *document, kWithout, kBoxB);
    expectBox(scene, makeAssembly(scene, "around", {document}), kWithout, kDefaultBox, 0,
              {caught(E_UNEXPECTED)});
}

TEST(ktmdl_BldBBox, FeatureOrOtherObjectAsADocumentIsTreatedByItsType)
{
    Scene scene;
    fake::Object& feature = makeFeature(scene, hostids::typeStitchSurface, kBoxB);
    fake::Object& sketch = makeTyped(scene, "sketch", 7);
    expectBox(scene, makeAssembly(scene, "asm", {&feature, &sketch}), kWithout, kBoxB);
}

TEST(ktmdl_BldBBox, AfterAFailedFirstOccurrenceTheBoxStartsAtTheOrigin)
{
    Scene scene;
    fake::Object& broken = makeTyped(scene, "broken", hostids::typePartDocument);
    fake::Object& assembly = makeAssembly(scene, "asm", {&broken, &makePart(scene, "b", kBoxB)});
    expectBox(scene, assembly, kWithout, {0, 0, 0, 40, 50, 60}, 0, missing("pPartDoc"));
}

TEST(ktmdl_BldBBox, MiddleOrLastOccurrenceThatFailsIsLeftOut)
{
    for (const std::size_t place : {std::size_t{1}, std::size_t{2}}) {
        Scene scene;
        Objects documents = {&makePart(scene, "b", kBoxB), &makePart(scene, "c", kBoxC)};
        fake::Object& broken = makeTyped(scene, "broken", hostids::typePartDocument);
        documents.insert(documents.begin() + static_cast<std::ptrdiff_t>(place), &broken);
        expectBox(scene, makeAssembly(scene, "asm", documents), kWithout, unionOf(kBoxB, kBoxC), 0,
                  missing("pPartDoc"));
    }
}

TEST(ktmdl_BldBBox, OccurrencesThatAllFailLeaveTheDefaultBox)
{
    Scene scene;
    fake::Object& broken = makeTyped(scene, "broken", hostids::typePartDocument);
    expectBox(scene, makeAssembly(scene, "asm", {&broken, &broken}), kWithout, kDefaultBox, 0,
              joined({missing("pPartDoc"), missing("pPartDoc")}));
}

TEST(ktmdl_BldBBox, CornersOfAnOccurrenceThatFailsHalfWayAreDropped)
{
    Scene scene;
    fake::Object& half = makePart(scene, "half", kBoxC, {nullptr});
    fake::Object& whole = makePart(scene, "whole", kBoxB);
    expectBox(scene, makeAssembly(scene, "asm", {&whole, &half}), kWith, kBoxB, 0,
              missing("pConstruction"));
    scene.log.Forget();
    expectBox(scene, makeAssembly(scene, "asm2", {&half, &whole}), kWith, {0, 0, 0, 40, 50, 60}, 0,
              missing("pConstruction"));
}

TEST(ktmdl_BldBBox, OccurrenceWithoutDocumentIsReportedAndLeftOut)
{
    Scene scene;
    fake::Object& part = makePart(scene, "b", kBoxB);
    expectBox(scene, makeAssembly(scene, "asm", {&part, nullptr}), kWithout, kBoxB, 0,
              missing("aIDP"));
    scene.log.Forget();
    expectBox(scene, makeAssembly(scene, "asm2", {nullptr, &part}), kWithout, {0, 0, 0, 40, 50, 60},
              0, missing("aIDP"));
}

TEST(ktmdl_BldBBox, OccurrenceOfAnotherTypeIsLeftOutSilently)
{
    Scene scene;
    fake::Object& sketch = makeTyped(scene, "sketch", 7);
    fake::Object& part = makePart(scene, "b", kBoxB);
    expectBox(scene, makeAssembly(scene, "asm", {&part, &sketch}), kWithout, kBoxB);
    expectBox(scene, makeAssembly(scene, "asm2", {&sketch, &part}), kWithout,
              {0, 0, 0, 40, 50, 60});
}

TEST(ktmdl_BldBBox, OccurrenceThatFailsInsideASubassemblyIsLeftOutThere)
{
    for (std::size_t place = 0; place < 3; ++place) {
        Scene scene;
        Objects documents = {&makePart(scene, "b", kBoxB), &makePart(scene, "c", kBoxC)};
        fake::Object& broken = makeTyped(scene, "broken", hostids::typePartDocument);
        documents.insert(documents.begin() + static_cast<std::ptrdiff_t>(place), &broken);
        fake::Object& inner = makeAssembly(scene, "inner", documents);
        Box wanted = unionOf(kBoxB, kBoxC);
        if (place == 0) {
            wanted = unionOf(wanted, kDefaultBox);
        }
        expectBox(scene, makeAssembly(scene, "outer", {&inner}), kWithout, wanted, 0,
                  missing("pPartDoc"));
    }
}

TEST(ktmdl_BldBBox, SubassemblyThatFailsIsLeftOut)
{
    Scene scene;
    fake::Object& inner = makeAssembly(scene, "inner", {&makePart(scene, "c", kBoxC)});
    inner.Property(16390, fake::givesObject(nullptr));
    fake::Object& outer = makeAssembly(scene, "outer", {&makePart(scene, "b", kBoxB), &inner});
    expectBox(scene, outer, kWithout, kBoxB, 0, missing("pOccs"));
}

TEST(ktmdl_BldBBox, AssemblyThatIsNoneIsReported)
{
    Scene scene;
    fake::Object& other = makeTyped(scene, "other", hostids::typeAssemblyDocument);
    other.Answer(hostids::PartDocument);
    expectFailure(scene, other, missing("pAsmDoc"));
    scene.ExpectCalls(typeCalls("other"));
}

TEST(ktmdl_BldBBox, AssemblyThatRefusesWithAnotherCodeIsReported)
{
    Scene scene;
    fake::Object& assembly =
        makeAssembly(scene, "asm", {}).Refuse(hostids::AssemblyDocument, kBusy);
    expectFailure(scene, assembly, {caught(kBusy)});
}

TEST(ktmdl_BldBBox, AssemblyWithoutOccurrencesIsReported)
{
    Scene scene;
    fake::Object& assembly = makeAssembly(scene, "asm", {});
    assembly.Property(16390, fake::givesObject(nullptr));
    expectFailure(scene, assembly, missing("pOccs"));
}

TEST(ktmdl_BldBBox, MissingOccurrenceEndsTheAssembly)
{
    Scene scene;
    fake::Object& assembly = makeAssembly(scene, "asm", {});
    fake::Object& occurrence = scene.world.Make("occ").Answer(hostids::Occurrence);
    occurrence.Property(38, fake::givesObject(&makePart(scene, "b", kBoxB)));
    assembly.Property(16390, fake::givesObject(&scene.Collection(
                                 "occs", {&occurrence, nullptr, &occurrence}, 3)));
    expectFailure(scene, assembly, missing("pOccurrence"), kBoxB);
    EXPECT_EQ(scene.world.CountOf("occs.0(I4 3)"), 0);
}

TEST(ktmdl_BldBBox, EveryCallOnAnAssemblyMayFail)
{
    for (const bool isLate : {false, true}) {
        long nth = 1;
        long outside = 0;
        for (;; ++nth) {
            ASSERT_LT(nth, 200);
            Scene scene;
            fake::Object& inner = makeAssembly(scene, "inner", {&makePart(scene, "c", kBoxC)});
            fake::Object& assembly = makeAssembly(
                scene, "asm", {&makePart(scene, "b", kBoxB), &inner, &makePart(scene, "a", kBoxA)});
            scene.world.FailCall(nth, kGone, isLate);
            ktmdl_BldBBox builder(assembly.Ptr(), kWithout);
            const long status = builder.Compute();
            const std::string call = scene.world.FailedCall();
            SCOPED_TRACE(call);
            if (call.empty()) {
                EXPECT_EQ(status, 0);
                break; // by now every call has failed once
            }
            // Only what happens on the assembly itself ends it.
            const bool isOutside = call.rfind("asm", 0) == 0 || call.rfind("of_b.", 0) == 0 ||
                                   call.rfind("of_inner.", 0) == 0 || call.rfind("of_a.", 0) == 0;
            outside += isOutside ? 1 : 0;
            EXPECT_EQ(status, isOutside ? 1 : 0);
            scene.ExpectLog(failed(call, kGone));
            if (!isOutside) {
                Box wanted = kBoxA;
                wanted = unionOf(wanted, call[0] == 'b' ? kDefaultBox : kBoxB);
                const bool isInner = call.rfind("inner", 0) == 0 || call.rfind("of_c.", 0) == 0;
                if (call[0] == 'a') { // the last part
                    wanted = unionOf(kBoxB, kBoxC);
                } else if (isInner) {
                    // The whole subassembly is left out.
                } else if (call[0] == 'c') {
                    wanted = unionOf(wanted, kDefaultBox); // the subassembly is empty
                } else {
                    wanted = unionOf(wanted, kBoxC);
                }
                EXPECT_EQ(cornersOf(builder.BBox()), wanted);
            }
        }
        EXPECT_EQ(outside, 2 + 2 + 3 * 2);
    }
}

// Features

TEST(ktmdl_BldBBox, FeatureIsItsParentsBody)
{
    for (const LONG type : {hostids::typeDerivedCurve, hostids::typeInterpartConstruction,
                            hostids::typeStitchSurface}) {
        for (const unsigned char choice : {kWithout, kWith}) {
            Scene scene;
            fake::Object& feature = makeFeature(scene, type, kBoxB);
            expectBox(scene, feature, choice, kBoxB);
            scene.ExpectCalls(joined({typeCalls("feature"),
                                      {"feature.Parent?", "feature.get Parent()", "model.get 49()",
                                       rangeCall("modelBody")}}));
        }
    }
}

TEST(ktmdl_BldBBox, FeatureWithoutParentIsReported)
{
    Scene scene;
    fake::Object& feature = makeFeature(scene, hostids::typeStitchSurface, kBoxB);
    feature.Property(L"Parent", fake::givesObject(nullptr));
    expectFailure(scene, feature, missing("pModel"));
}

TEST(ktmdl_BldBBox, FeatureOfAnotherParentIsReported)
{
    Scene scene;
    fake::Object& feature = makeFeature(scene, hostids::typeStitchSurface, kBoxB);
    feature.Property(L"Parent", fake::givesObject(&makeModel(scene, "other", kBoxC)));
    expectFailure(scene, feature, missing("pModel"));
    EXPECT_EQ(scene.world.CountOf("other.get 49()"), 0);
}

TEST(ktmdl_BldBBox, FeatureWhoseParentRefusesWithAnotherCodeIsReported)
{
    Scene scene;
    fake::Object& feature = makeFeature(scene, hostids::typeStitchSurface, kBoxB);
    fake::Object& busy = scene.world.Make("busy").Refuse(hostids::ConstructionModel, kBusy);
    feature.Property(L"Parent", fake::givesObject(&busy));
    expectFailure(scene, feature, {caught(kBusy)});
}

TEST(ktmdl_BldBBox, FeatureWhoseParentHasNoBodyIsReported)
{
    Scene scene;
    fake::Object& feature = makeFeature(scene, hostids::typeStitchSurface, kBoxB);
    fake::Object& model = makeModel(scene, "other", kBoxC).Answer(hostids::ConstructionModel);
    model.Property(49, fake::givesObject(nullptr));
    feature.Property(L"Parent", fake::givesObject(&model));
    expectFailure(scene, feature, missing("pBody"));
}

TEST(ktmdl_BldBBox, EveryCallOnAFeatureMayFail)
{
    for (const bool isLate : {false, true}) {
        long nth = 1;
        for (;; ++nth) {
            ASSERT_LT(nth, 100);
            Scene scene;
            fake::Object& feature = makeFeature(scene, hostids::typeDerivedCurve, kBoxB);
            scene.world.FailCall(nth, kGone, isLate);
            ktmdl_BldBBox builder(feature.Ptr(), kWith);
            const long status = builder.Compute();
            const std::string call = scene.world.FailedCall();
            SCOPED_TRACE(call);
            if (call.empty()) {
                EXPECT_EQ(status, 0);
                break; // by now every call has failed once
            }
            EXPECT_EQ(status, 1);
            EXPECT_EQ(cornersOf(builder.BBox()), kDefaultBox);
            // A parent that can't be asked for is none.
            const bool isParent = call == "feature.Parent?" || call == "feature.get Parent()";
            scene.ExpectLog(isParent ? missing("pModel") : failed(call, kGone));
        }
        EXPECT_EQ(nth, 1 + 6);
    }
}

// Other objects

TEST(ktmdl_BldBBox, OtherObjectsFailWithoutALogLine)
{
    for (const LONG type : {LONG{0}, LONG{2}, LONG{4}, LONG{5}, LONG{-1},
                            hostids::typeDerivedCurve + 1, hostids::typeInterpartConstruction + 1,
                            hostids::typeStitchSurface - 1, hostids::typeReference}) {
        Scene scene;
        fake::Object& other = makeTyped(scene, "other", type);
        other.Answer(hostids::PartDocument).Answer(hostids::AssemblyDocument);
        expectFailure(scene, other, {});
        scene.ExpectCalls(typeCalls("other"));
    }
}

TEST(ktmdl_BldBBox, ObjectWhoseTypeCantBeReadIsReported)
{
    Scene scene;
    fake::Object& nameless = scene.world.Make("nameless");
    expectFailure(scene, nameless,
                  {failedCallForm(kSource, DISP_E_UNKNOWNNAME), caught(DISP_E_UNKNOWNNAME)});
    scene.log.Forget();
    fake::Object& text = scene.world.Make("text").Property(L"Type", fake::givesText(L"part"));
    expectFailure(scene, text,
                  {failedCallForm(kSource, DISP_E_TYPEMISMATCH), caught(DISP_E_TYPEMISMATCH)});
}

// What is no automation error

TEST(ktmdl_BldBBox, OtherExceptionsPassThroughAndLeaveTheStatusAsItWas)
{
    const std::function<HRESULT()> raisers[] = {
        []() -> HRESULT { throw std::runtime_error("not the host's"); },
        []() -> HRESULT {
            ktstd_fail_ProgramError::Raise("not the host's");
            return S_OK;
        }};
    for (const auto& raise : raisers) {
        Scene scene;
        fake::Object& part = makePart(scene, "part", kBoxA, {&makeModel(scene, "constr", kBoxB)});
        part.Property(24686, [&](const fake::Args&, VARIANT*) { return raise(); });
        fake::Object& assembly = makeAssembly(scene, "asm", {&makePart(scene, "c", kBoxC), &part});
        for (fake::Object* const object : {&part, &assembly}) {
            ktmdl_BldBBox builder(object->Ptr(), kWith);
            EXPECT_ANY_THROW(builder.Compute());
            EXPECT_EQ(builder.Status(), 0);
            EXPECT_EQ(cornersOf(builder.BBox()), object == &part ? kBoxA : kBoxC);
            scene.world.Forget();
            EXPECT_EQ(builder.Compute(), 0);
            scene.ExpectNoCalls();
        }
        scene.ExpectLog({});
    }
}
