#include "ktmdl/ktmdl_BldReference.h"

#include "com/Com.h"
#include "ktmdl/ktmdl_Host.h"
#include "support/FakeDispatch.h"
#include "support/HostIds.h"
#include "support/OccurrenceTree.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using Builder = ktmdl_BldReference;
using Calls = std::vector<std::string>;

static_assert(std::has_virtual_destructor_v<Builder>);

//! An assembly, an object inside the target, and builders of references to occurrences by name.
struct Stage
{
    Stage(Scene& aScene, const std::string& aTree)
        : tree(aScene, aTree),
          object(&aScene.world.Make("obj"))
    {}

    //! A target that the tree has not becomes an occurrence that stands nowhere.
    [[nodiscard]] Builder To(const std::string& aTarget, bool aWithObject, long aLevel) const
    {
        return Builder(Assembly(), Target(aTarget), aWithObject ? object->Ptr() : IDispatchPtr(),
                       aLevel);
    }
    [[nodiscard]] ktmdl_host::AssemblyDocumentPtr Assembly() const
    {
        return ktmdl_host::AssemblyDocumentPtr(tree.At("top").Ptr());
    }
    [[nodiscard]] ktmdl_host::OccurrencePtr Target(const std::string& aName) const
    {
        return ktmdl_host::OccurrencePtr(tree.At(aName).Ptr());
    }

    OccurrenceTree tree;
    fake::Object* object;
};

std::string numbered(const std::string& aName, int aNumber)
{
    return aName + std::to_string(aNumber);
}

//! A tree in which T stands at a depth, below S1, S2, ... with others before and after.
std::string nestedTree(int aDepth)
{
    std::string text = "T";
    for (int depth = aDepth; depth >= 1; --depth) {
        text = numbered("x", depth) + " " + numbered("E", depth) + "[" + numbered("e", depth) +
               "] " + text + " " + numbered("y", depth);
        if (depth > 1) {
            text = numbered("S", depth - 1) + "[" + text + "]";
        }
    }
    return text;
}

std::string documentAt(int aDepth)
{
    return aDepth == 1 ? "top" : numbered("S", aDepth - 1) + ".doc";
}

//! The calls that make the references to T at a depth, the innermost first.
Calls makingCalls(int aDepth, bool aWithObject)
{
    if (aDepth == 1 && !aWithObject) {
        return {};
    }
    Calls calls = {documentAt(aDepth) + ".38(DISP T, DISP " + (aWithObject ? "obj" : "null") + ")"};
    for (int depth = aDepth - 1; depth >= 1; --depth) {
        calls.push_back(documentAt(depth) + ".38(DISP " + numbered("S", depth) + ", DISP " +
                        numbered("ref", aDepth - depth) + ")");
    }
    return calls;
}

//! The name of the object that a pointer leads to.
std::string nameOf(const Scene& aScene, const IDispatchPtr& aObject)
{
    return aScene.world.NameOf(aObject.GetInterfacePtr());
}

//! Computes a reference in a tree; gives what it is and what made it.
struct Result
{
    long status;
    std::string reference;
    Calls made;
};

Result compute(const std::string& aTree, const std::string& aTarget, bool aWithObject, long aLevel)
{
    Scene scene;
    const Stage stage(scene, aTree);
    Builder builder = stage.To(aTarget, aWithObject, aLevel);
    Result result;
    result.status = builder.Compute();
    EXPECT_EQ(builder.Status(), result.status);
    result.made = stage.tree.Made();
    scene.ExpectLog({});
    if (result.status == 0) {
        result.reference = nameOf(scene, builder.Reference());
    }
    return result;
}

void expectMade(const std::string& aTree, long aLevel, const Calls& aMade)
{
    SCOPED_TRACE(testing::Message() << aTree << ", level " << aLevel);
    const Result result = compute(aTree, "T", true, aLevel);
    EXPECT_EQ(result.status, aMade.empty() ? -2 : 0);
    EXPECT_EQ(result.made, aMade);
    EXPECT_EQ(result.reference,
              aMade.empty() ? "" : numbered("ref", static_cast<int>(aMade.size())));
}

} // namespace

// Construction

TEST(ktmdl_BldReference, NewBuilderHasAskedNothing)
{
    Scene scene;
    const Stage stage(scene, "T");
    Builder builder = stage.To("T", true, 1);
    EXPECT_EQ(builder.Status(), -2);
    EXPECT_EQ(builder.Status(), -2) << "telling the status computes nothing";
    scene.ExpectNoCalls();
    scene.ExpectLog({});
}

TEST(ktmdl_BldReference, BuilderHoldsWhatItWasGiven)
{
    Scene scene;
    const Stage stage(scene, "T");
    {
        const Builder builder = stage.To("T", true, 1);
        EXPECT_EQ(scene.world.HeldObjects(), (Calls{"T 1", "top 1", "obj 1"}));
    }
    EXPECT_TRUE(scene.world.HeldObjects().empty());
}

TEST(ktmdl_BldReference, PointersNameTheHostsInterfaces)
{
    EXPECT_TRUE(IsEqualIID(ktmdl_host::AssemblyDocumentPtr::GetIID(), hostids::AssemblyDocument));
    EXPECT_TRUE(IsEqualIID(ktmdl_host::OccurrencePtr::GetIID(), hostids::Occurrence));
    EXPECT_TRUE(
        (std::is_same_v<decltype(std::declval<Builder&>().Reference()), const IDispatchPtr&>));
}

// Nothing to do

TEST(ktmdl_BldReference, WithoutAnAssemblyNothingIsDone)
{
    Scene scene;
    const Stage stage(scene, "T");
    Builder builder(nullptr, stage.Target("T"), nullptr, 1);
    EXPECT_EQ(builder.Compute(), -2);
    EXPECT_EQ(builder.Reference().GetInterfacePtr(), nullptr);
    scene.ExpectNoCalls();
    scene.ExpectLog({});
}

TEST(ktmdl_BldReference, WithoutOccurrencesNothingIsDone)
{
    Scene scene;
    const Stage stage(scene, "T");
    stage.tree.At("top").Property(0x4006, fake::givesObject(nullptr));
    Builder builder = stage.To("T", true, 1);
    EXPECT_EQ(builder.Compute(), -2);
    EXPECT_EQ(builder.Status(), -2);
    scene.ExpectCalls({"top.get 16390()"});
    scene.ExpectLog({});
    EXPECT_EQ(builder.Compute(), -2);
    scene.ExpectCalls({"top.get 16390()", "top.get 16390()"});
}

TEST(ktmdl_BldReference, EmptyAssemblyHasNoTarget)
{
    Scene scene;
    Stage stage(scene, "");
    stage.tree.MakePart("T");
    Builder builder = stage.To("T", true, 1);
    EXPECT_EQ(builder.Compute(), -2);
    scene.ExpectCalls(joined({{"top.get 16390()"}, typeCalls("top"), walkCalls("top")}));
    EXPECT_EQ(builder.Reference().GetInterfacePtr(), nullptr);
    scene.ExpectLog({});
}

TEST(ktmdl_BldReference, MissingTargetIsNowhere)
{
    Scene scene;
    const Stage stage(scene, "a S[b]");
    Builder builder(stage.Assembly(), nullptr, nullptr, 1);
    EXPECT_EQ(builder.Compute(), -2);
    EXPECT_EQ(scene.world.CountOf("S.doc.occs.0(I4 1)"), 1) << "the whole tree is searched";
    EXPECT_EQ(builder.Reference().GetInterfacePtr(), nullptr);
    scene.ExpectLog({});
}

TEST(ktmdl_BldReference, TargetThatIsNowhereIsSearchedEachTime)
{
    Scene scene;
    Stage stage(scene, "a S[b R[c]] d");
    stage.tree.MakePart("T");
    Builder builder = stage.To("T", true, 1);
    EXPECT_EQ(builder.Compute(), -2);
    EXPECT_EQ(builder.Status(), -2);
    const Calls first = scene.world.Calls();
    EXPECT_EQ(scene.world.CountOf("R.doc.occs.0(I4 1)"), 1);
    scene.world.Forget();
    EXPECT_EQ(builder.Reference().GetInterfacePtr(), nullptr);
    EXPECT_EQ(scene.world.Calls(), first);
    EXPECT_TRUE(stage.tree.Made().empty());
    scene.ExpectLog({});
}

// The walk

TEST(ktmdl_BldReference, DirectChildAsksWhatItNeedsInOrder)
{
    Scene scene;
    const Stage stage(scene, "a T b");
    Builder builder = stage.To("T", true, 1);
    EXPECT_EQ(builder.Compute(), 0);
    scene.ExpectCalls(joined(
        {{"top.get 16390()"},
         typeCalls("top"),
         walkCalls("top"),
         {"top.occs.0(I4 1)", "a.get 10()", "top.occs.0(I4 2)", "top.38(DISP T, DISP obj)"}}));
    EXPECT_EQ(nameOf(scene, builder.Reference()), "ref1");
    scene.ExpectLog({});
}

TEST(ktmdl_BldReference, NestedTargetAsksWhatItNeedsInOrder)
{
    Scene scene;
    const Stage stage(scene, "a E[e] S[b T c] d");
    Builder builder = stage.To("T", true, 1);
    EXPECT_EQ(builder.Compute(), 0);
    scene.ExpectCalls(joined({{"top.get 16390()"},
                              typeCalls("top"),
                              walkCalls("top"),
                              {"top.occs.0(I4 1)", "a.get 10()"},
                              {"top.occs.0(I4 2)", "E.get 10()"},
                              typeCalls("E"),
                              {"E.get 38()"},
                              walkCalls("E.doc"),
                              {"E.doc.occs.0(I4 1)", "e.get 10()"},
                              {"top.occs.0(I4 3)", "S.get 10()"},
                              typeCalls("S"),
                              {"S.get 38()"},
                              walkCalls("S.doc"),
                              {"S.doc.occs.0(I4 1)", "b.get 10()", "S.doc.occs.0(I4 2)"},
                              {"S.doc.38(DISP T, DISP obj)", "top.38(DISP S, DISP ref1)"}}));
    scene.ExpectLog({});
}

TEST(ktmdl_BldReference, DirectChildWithoutAnObjectIsItsOwnReference)
{
    Scene scene;
    const Stage stage(scene, "a T b");
    Builder builder = stage.To("T", false, 1);
    EXPECT_EQ(builder.Compute(), 0);
    EXPECT_EQ(builder.Status(), 0);
    EXPECT_EQ(nameOf(scene, builder.Reference()), "T");
    EXPECT_TRUE(stage.tree.Made().empty());
    EXPECT_EQ(scene.world.LastCall(), "top.occs.0(I4 2)") << "the search ends there";
    scene.ExpectLog({});
}

TEST(ktmdl_BldReference, ReferenceIsWrappedOncePerLevelOnTheWayUp)
{
    for (const bool withObject : {true, false}) {
        for (int depth = 1; depth <= 4; ++depth) {
            SCOPED_TRACE(testing::Message() << "depth " << depth << ", object " << withObject);
            const Result result = compute(nestedTree(depth), "T", withObject, 1);
            const Calls wanted = makingCalls(depth, withObject);
            EXPECT_EQ(result.status, 0);
            EXPECT_EQ(result.made, wanted);
            EXPECT_EQ(result.made.size(),
                      depth == 1 && !withObject ? 0u : static_cast<std::size_t>(depth));
            EXPECT_EQ(result.reference,
                      wanted.empty() ? "T" : numbered("ref", static_cast<int>(wanted.size())));
        }
    }
}

TEST(ktmdl_BldReference, EachTargetOfATreeIsFound)
{
    const std::string tree = "a S[b R[c Q[d]]] e P[f]";
    const std::pair<const char*, Calls> targets[] = {
        {"a", {"top.38(DISP a, DISP obj)"}},
        {"S", {"top.38(DISP S, DISP obj)"}},
        {"b", {"S.doc.38(DISP b, DISP obj)", "top.38(DISP S, DISP ref1)"}},
        {"R", {"S.doc.38(DISP R, DISP obj)", "top.38(DISP S, DISP ref1)"}},
        {"c",
         {"R.doc.38(DISP c, DISP obj)", "S.doc.38(DISP R, DISP ref1)",
          "top.38(DISP S, DISP ref2)"}},
        {"d",
         {"Q.doc.38(DISP d, DISP obj)", "R.doc.38(DISP Q, DISP ref1)",
          "S.doc.38(DISP R, DISP ref2)", "top.38(DISP S, DISP ref3)"}},
        {"e", {"top.38(DISP e, DISP obj)"}},
        {"f", {"P.doc.38(DISP f, DISP obj)", "top.38(DISP P, DISP ref1)"}},
    };
    for (const auto& target : targets) {
        SCOPED_TRACE(target.first);
        const Result result = compute(tree, target.first, true, 1);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.made, target.second);
    }
}

TEST(ktmdl_BldReference, TargetIsKnownByItsIdentity)
{
    for (const bool withObject : {true, false}) {
        Scene scene;
        Stage stage(scene, "a face b");
        stage.tree.MakePart("T");
        stage.tree.At("face").BeSameAs(stage.tree.At("T"));
        Builder builder = stage.To("T", withObject, 1);
        EXPECT_EQ(builder.Compute(), 0);
        if (withObject) {
            EXPECT_EQ(stage.tree.Made(), Calls{"top.38(DISP face, DISP obj)"});
        } else {
            EXPECT_EQ(IUnknownPtr(builder.Reference()).GetInterfacePtr(),
                      IUnknownPtr(stage.tree.At("T").Ptr()).GetInterfacePtr());
        }
        scene.ExpectLog({});
    }
}

TEST(ktmdl_BldReference, TargetThatIsASubassemblyIsNotEntered)
{
    Scene scene;
    const Stage stage(scene, "T[b T2[c]] d");
    Builder builder = stage.To("T", true, 3);
    EXPECT_EQ(builder.Compute(), -2);
    EXPECT_EQ(scene.world.CountOf("T.*"), 0);
    EXPECT_EQ(scene.world.CountOf("d.get 10()"), 1);
}

TEST(ktmdl_BldReference, OccurrenceThatIsNoSubassemblyIsNotEntered)
{
    Scene scene;
    const Stage stage(scene, "S[T]");
    stage.tree.At("S").Property(10, fake::givesBool(VARIANT_FALSE));
    Builder builder = stage.To("T", true, 1);
    EXPECT_EQ(builder.Compute(), -2);
    EXPECT_EQ(scene.world.CountOf("S.*"), 1);
    EXPECT_EQ(scene.world.CountOf("S.get 10()"), 1);
}

TEST(ktmdl_BldReference, FirstSubassemblyThatHasItEndsTheWalk)
{
    Scene scene;
    const Stage stage(scene, "E[e] S[T] R[T] T");
    Builder builder = stage.To("T", true, 1);
    EXPECT_EQ(builder.Compute(), 0);
    EXPECT_EQ(stage.tree.Made(),
              (Calls{"S.doc.38(DISP T, DISP obj)", "top.38(DISP S, DISP ref1)"}));
    EXPECT_EQ(scene.world.CountOf("E.get 38()"), 1) << "entered in vain before";
    EXPECT_EQ(scene.world.CountOf("R.*"), 0);
    EXPECT_EQ(scene.world.CountOf("top.occs.0(I4 3)"), 0);
}

TEST(ktmdl_BldReference, SubassemblyThatIsSharedIsEnteredAtEachPlace)
{
    Scene scene;
    const Stage stage(scene, "P[S[a T]] S");
    Builder builder = stage.To("T", true, 2);
    EXPECT_EQ(builder.Compute(), 0);
    EXPECT_EQ(stage.tree.Made(),
              (Calls{"S.doc.38(DISP T, DISP obj)", "top.38(DISP S, DISP ref1)"}));
}

// Levels

TEST(ktmdl_BldReference, LevelIsLoweredAtEachPlaceOfTheTarget)
{
    // The same occurrence stands in the top assembly and at each level below.
    const std::string before = "T S1[T S2[T S3[T]]]";
    expectMade(before, 1, {"top.38(DISP T, DISP obj)"});
    expectMade(before, 2, {"S1.doc.38(DISP T, DISP obj)", "top.38(DISP S1, DISP ref1)"});
    expectMade(before, 3,
               {"S2.doc.38(DISP T, DISP obj)", "S1.doc.38(DISP S2, DISP ref1)",
                "top.38(DISP S1, DISP ref2)"});
    expectMade(before, 4,
               {"S3.doc.38(DISP T, DISP obj)", "S2.doc.38(DISP S3, DISP ref1)",
                "S1.doc.38(DISP S2, DISP ref2)", "top.38(DISP S1, DISP ref3)"});
    expectMade(before, 5, {});
}

TEST(ktmdl_BldReference, PlacesCountInTheOrderOfTheWalk)
{
    // The walk comes to the deepest place first, whatever the level says.
    const std::string after = "S1[S2[S3[T] T] T] T";
    expectMade(after, 1,
               {"S3.doc.38(DISP T, DISP obj)", "S2.doc.38(DISP S3, DISP ref1)",
                "S1.doc.38(DISP S2, DISP ref2)", "top.38(DISP S1, DISP ref3)"});
    expectMade(after, 2,
               {"S2.doc.38(DISP T, DISP obj)", "S1.doc.38(DISP S2, DISP ref1)",
                "top.38(DISP S1, DISP ref2)"});
    expectMade(after, 3, {"S1.doc.38(DISP T, DISP obj)", "top.38(DISP S1, DISP ref1)"});
    expectMade(after, 4, {"top.38(DISP T, DISP obj)"});
    expectMade(after, 5, {});
}

TEST(ktmdl_BldReference, PlacesInOneDocumentCountToo)
{
    expectMade("T T T", 3, {"top.38(DISP T, DISP obj)"});
    expectMade("T T T", 4, {});
    expectMade("T S[T T]", 3, {"S.doc.38(DISP T, DISP obj)", "top.38(DISP S, DISP ref1)"});
}

TEST(ktmdl_BldReference, WalkGoesOnWhereTheLevelWasLowered)
{
    Scene scene;
    const Stage stage(scene, "T a S[b] T c");
    Builder builder = stage.To("T", true, 2);
    EXPECT_EQ(builder.Compute(), 0);
    EXPECT_EQ(scene.world.CountOf("S.get 38()"), 1);
    EXPECT_EQ(scene.world.CountOf("top.occs.0(I4 4)"), 1);
    EXPECT_EQ(scene.world.CountOf("top.occs.0(I4 5)"), 0);
    EXPECT_EQ(stage.tree.Made().size(), 1u);
}

TEST(ktmdl_BldReference, LevelThatIsLeftIsTakenUpByTheNextCompute)
{
    for (int depth = 1; depth <= 4; ++depth) {
        for (long level = 1; level <= 4; ++level) {
            SCOPED_TRACE(testing::Message() << "depth " << depth << ", level " << level);
            Scene scene;
            const Stage stage(scene, nestedTree(depth));
            Builder builder = stage.To("T", true, level);
            // The target stands at one place: each walk lowers the level by one.
            for (long walk = 1; walk < level; ++walk) {
                EXPECT_EQ(builder.Compute(), -2);
                EXPECT_EQ(builder.Status(), -2);
                EXPECT_TRUE(stage.tree.Made().empty());
            }
            EXPECT_EQ(builder.Compute(), 0);
            EXPECT_EQ(stage.tree.Made(), makingCalls(depth, true));
            scene.ExpectLog({});
        }
    }
}

TEST(ktmdl_BldReference, LevelLeftBySeveralPlacesIsTakenUpToo)
{
    Scene scene;
    const Stage stage(scene, "T S[T]");
    Builder builder = stage.To("T", true, 4); // two are counted by the first walk
    EXPECT_EQ(builder.Reference().GetInterfacePtr(), nullptr);
    EXPECT_EQ(builder.Status(), -2);
    EXPECT_EQ(nameOf(scene, builder.Reference()), "ref2");
    EXPECT_EQ(stage.tree.Made(),
              (Calls{"S.doc.38(DISP T, DISP obj)", "top.38(DISP S, DISP ref1)"}));
}

TEST(ktmdl_BldReference, LevelBelowOneIsNeverReached)
{
    for (const long level : {0L, -1L, -1000L}) {
        Scene scene;
        const Stage stage(scene, "T S[T]");
        Builder builder = stage.To("T", true, level);
        for (int walk = 0; walk < 3; ++walk) {
            EXPECT_EQ(builder.Compute(), -2);
        }
        EXPECT_EQ(scene.world.CountOf("S.doc.occs.0(I4 1)"), 3);
        EXPECT_TRUE(stage.tree.Made().empty());
        scene.ExpectLog({});
    }
}

TEST(ktmdl_BldReference, OccurrenceItselfIsGivenAtTheTopOnlyWhenItsLevelIsReached)
{
    const Result atTop = compute("T S[T]", "T", false, 1);
    EXPECT_EQ(atTop.reference, "T");
    EXPECT_TRUE(atTop.made.empty());
    const Result below = compute("T S[T]", "T", false, 2);
    EXPECT_EQ(below.reference, "ref2");
    EXPECT_EQ(below.made, (Calls{"S.doc.38(DISP T, DISP null)", "top.38(DISP S, DISP ref1)"}));
}

// Types of parents

TEST(ktmdl_BldReference, TopOfAnotherTypeGivesOneWithoutALine)
{
    for (const long type : {1L, 2L, 4L, 5L, 10L, 0L, -3L, -1879909117L}) {
        SCOPED_TRACE(type);
        Scene scene;
        const Stage stage(scene, "T");
        stage.tree.At("top").Property(L"Type", fake::givesNumber(static_cast<LONG>(type)));
        Builder builder = stage.To("T", true, 1);
        EXPECT_EQ(builder.Compute(), 1);
        EXPECT_EQ(builder.Status(), 1);
        EXPECT_EQ(builder.Reference().GetInterfacePtr(), nullptr);
        scene.ExpectCalls(joined({{"top.get 16390()"}, typeCalls("top")}));
        scene.ExpectLog({});
    }
}

TEST(ktmdl_BldReference, SubassemblyOfAnotherTypeGivesOneWithoutALine)
{
    for (const long type : {1L, -1879909117L, 1610764741L}) {
        SCOPED_TRACE(type);
        Scene scene;
        const Stage stage(scene, "S[T] a");
        stage.tree.At("S").Property(L"Type", fake::givesNumber(static_cast<LONG>(type)));
        Builder builder = stage.To("T", true, 1);
        EXPECT_EQ(builder.Compute(), 1);
        EXPECT_EQ(scene.world.CountOf("S.get 38()"), 0);
        EXPECT_EQ(scene.world.CountOf("a.get 10()"), 1) << "its neighbours are looked at";
        scene.ExpectLog({});
    }
}

TEST(ktmdl_BldReference, SubassemblyMayReportTheTypeOfADocument)
{
    // It is then used as the assembly itself.
    Scene scene;
    const Stage stage(scene, "S[T]");
    fake::Object& subassembly = stage.tree.At("S");
    subassembly.Property(L"Type", fake::givesNumber(3));
    subassembly.Answer(hostids::AssemblyDocument);
    subassembly.Property(0x4006, fake::givesObject(&stage.tree.At("S.doc.occs")));
    subassembly.Method(38, fake::givesObject(&scene.world.Make("made")));
    Builder builder = stage.To("T", true, 1);
    EXPECT_EQ(builder.Compute(), 0);
    EXPECT_EQ(stage.tree.Made(), (Calls{"S.38(DISP T, DISP obj)", "top.38(DISP S, DISP made)"}));
}

// Lifetime

TEST(ktmdl_BldReference, ReferenceComputesFirstAndIsGivenByReference)
{
    Scene scene;
    const Stage stage(scene, "S[T]");
    Builder builder = stage.To("T", true, 1);
    const IDispatchPtr& reference = builder.Reference();
    EXPECT_EQ(builder.Status(), 0);
    EXPECT_EQ(nameOf(scene, reference), "ref2");
    EXPECT_EQ(std::addressof(builder.Reference()), std::addressof(reference));
}

TEST(ktmdl_BldReference, SecondComputeAsksNothing)
{
    for (const bool withObject : {true, false}) {
        Scene scene;
        const Stage stage(scene, "T");
        Builder builder = stage.To("T", withObject, 1);
        EXPECT_EQ(builder.Compute(), 0);
        EXPECT_EQ(scene.world.CountOf("top.occs.0(I4 1)"), 1);
        scene.world.Forget();
        EXPECT_EQ(builder.Compute(), 0);
        (void)builder.Reference();
        scene.ExpectNoCalls();
    }
}

TEST(ktmdl_BldReference, OnlyTheOutermostReferenceIsHeldAfterCompute)
{
    Scene scene;
    const Stage stage(scene, nestedTree(3));
    IDispatchPtr kept;
    {
        Builder builder = stage.To("T", true, 1);
        EXPECT_EQ(builder.Compute(), 0);
        EXPECT_EQ(scene.world.HeldObjects(), (Calls{"T 1", "top 1", "obj 1", "ref3 1"}));
        kept = builder.Reference();
    }
    EXPECT_EQ(scene.world.HeldObjects(), Calls{"ref3 1"});
}
