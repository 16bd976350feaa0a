// What an assembly reference leaves when the host fails: status, log lines, and nothing held.

#include "com/Com.h"
#include "ktmdl/ktmdl_BldReference.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktstd/ktstd_fail.h"
#include "support/FakeDispatch.h"
#include "support/HostIds.h"
#include "support/OccurrenceTree.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Builder = ktmdl_BldReference;
using Lines = std::vector<std::string>;

const char* const kSource = "ktmdl_BldReference.cpp";
const char* const kCreateRef = "ktmdl_BldReference::CreateRef";
const HRESULT kGone = static_cast<HRESULT>(0x80010108u);
const HRESULT kBusy = static_cast<HRESULT>(0x8001010Au);

std::string caught(HRESULT aCode)
{
    return caughtForm(kSource, kCreateRef, aCode);
}
Lines failedType(HRESULT aCode)
{
    return {failedCallForm(kSource, aCode), caught(aCode)};
}
Lines missing(const std::string& aName)
{
    return {nullPointerForm(kSource, aName), caught(E_POINTER)};
}

//! A builder of a reference to an object in T, or to T itself.
Builder makeBuilder(const OccurrenceTree& aTree, const IDispatchPtr& aObject, long aLevel = 1)
{
    return Builder(ktmdl_host::AssemblyDocumentPtr(aTree.At("top").Ptr()),
                   ktmdl_host::OccurrencePtr(aTree.At("T").Ptr()), aObject, aLevel);
}

using Spoil = std::function<void(OccurrenceTree&)>;

Spoil property(const std::string& aObject, DISPID aMember, const fake::Handler& aHandler)
{
    return [=](OccurrenceTree& aTree) { aTree.At(aObject).Property(aMember, aHandler); };
}
Spoil method(const std::string& aObject, DISPID aMember, const fake::Handler& aHandler)
{
    return [=](OccurrenceTree& aTree) { aTree.At(aObject).Method(aMember, aHandler); };
}
Spoil type(const std::string& aObject, const fake::Handler& aHandler)
{
    return [=](OccurrenceTree& aTree) { aTree.At(aObject).Property(L"Type", aHandler); };
}
Spoil refusing(const std::string& aObject, const IID& aIid, HRESULT aCode)
{
    return [=](OccurrenceTree& aTree) { aTree.At(aObject).Refuse(aIid, aCode); };
}
Spoil noOccurrence(const std::string& aDocument, std::size_t aPlace)
{
    return [=](OccurrenceTree& aTree) { aTree.Place(aDocument, aPlace) = nullptr; };
}

//! Spoils a tree that has T at one place, or nowhere, and compares what is left, with an object and
//! without.
void expectFailure(const std::string& aTree, const Spoil& aSpoil, const Lines& aForms)
{
    for (const bool withObject : {true, false}) {
        SCOPED_TRACE(testing::Message() << aTree << ", object " << withObject);
        Scene scene;
        OccurrenceTree tree(scene, aTree);
        if (tree.Find("T") == nullptr) {
            tree.MakePart("T");
        }
        fake::Object& object = scene.world.Make("obj");
        {
            Builder builder = makeBuilder(tree, withObject ? object.Ptr() : IDispatchPtr());
            aSpoil(tree);
            EXPECT_EQ(builder.Compute(), 1);
            EXPECT_EQ(builder.Status(), 1);
            EXPECT_EQ(builder.Reference().GetInterfacePtr(), nullptr);
            scene.ExpectLog(aForms);
            scene.world.Forget();
            EXPECT_EQ(builder.Compute(), 1);
            scene.ExpectNoCalls();
            scene.ExpectLog(aForms);
        }
        EXPECT_TRUE(scene.world.HeldObjects().empty());
    }
}

//! Spoils a tree that has T elsewhere too; the reference is made all the same.
void expectFoundElsewhere(const std::string& aTree, const Spoil& aSpoil, const Lines& aForms,
                          const Lines& aMade)
{
    SCOPED_TRACE(aTree);
    Scene scene;
    OccurrenceTree tree(scene, aTree);
    Builder builder = makeBuilder(tree, scene.world.Make("obj").Ptr());
    aSpoil(tree);
    EXPECT_EQ(builder.Compute(), 0);
    EXPECT_EQ(builder.Status(), 0);
    EXPECT_NE(builder.Reference().GetInterfacePtr(), nullptr);
    EXPECT_EQ(tree.Made(), aMade);
    scene.ExpectLog(aForms);
}

const char* const kNested = "a S[b T c] d";

} // namespace

// Reading the type

TEST(ktmdl_BldReference, TypeThatCannotBeReadLeavesFailedCallAndCaughtLine)
{
    for (const char* const parent : {"top", "S"}) {
        expectFailure(kNested, type(parent, fake::fails(kBusy)), failedType(kBusy));
        expectFailure(kNested, type(parent, fake::givesText(L"assembly")),
                      failedType(DISP_E_TYPEMISMATCH));
        expectFailure(
            kNested,
            [parent](OccurrenceTree& aTree) {
                aTree.At(parent).FailName(L"Type", DISP_E_UNKNOWNNAME);
            },
            failedType(DISP_E_UNKNOWNNAME));
    }
}

// Resolving the assembly

TEST(ktmdl_BldReference, TopThatIsNoAssemblyIsToldByName)
{
    expectFailure("T", refusing("top", hostids::AssemblyDocument, E_NOINTERFACE),
                  missing("pAsmDoc"));
}

TEST(ktmdl_BldReference, SubassemblyThatIsNoOccurrenceIsToldByName)
{
    expectFailure(kNested, refusing("S", hostids::Occurrence, E_NOINTERFACE), missing("pOcc"));
}

TEST(ktmdl_BldReference, SubassemblyWithoutAssemblyIsToldByName)
{
    expectFailure(kNested, property("S", 38, fake::givesObject(nullptr)), missing("pAsmDoc"));
    expectFailure(kNested, refusing("S.doc", hostids::AssemblyDocument, E_NOINTERFACE),
                  missing("pAsmDoc"));
}

TEST(ktmdl_BldReference, RefusedInterfaceLeavesItsCodeInOneLine)
{
    expectFailure("T", refusing("top", hostids::AssemblyDocument, kBusy), {caught(kBusy)});
    expectFailure(kNested, refusing("S", hostids::Occurrence, kBusy), {caught(kBusy)});
    expectFailure(kNested, refusing("S.doc", hostids::AssemblyDocument, kBusy), {caught(kBusy)});
}

TEST(ktmdl_BldReference, DocumentThatCannotBeReadLeavesTheCaughtLine)
{
    expectFailure(kNested, property("S", 38, fake::fails(kBusy)), {caught(kBusy)});
}

// Walking the occurrences

TEST(ktmdl_BldReference, TopOccurrencesThatCannotBeReadLeaveTheCaughtLine)
{
    expectFailure(kNested, property("top", 0x4006, fake::fails(kBusy)), {caught(kBusy)});
}

TEST(ktmdl_BldReference, TopOccurrencesThatAreGoneAtTheSecondReadAreToldByName)
{
    const auto givenOnce = [](OccurrenceTree& aTree) {
        fake::Object& top = aTree.At("top");
        IDispatch* const occurrences = &aTree.At("top.occs");
        const fake::Handler once = [&top, occurrences](const fake::Args& aArgs, VARIANT* aResult) {
            top.Property(0x4006, fake::givesObject(nullptr));
            return fake::givesObject(occurrences)(aArgs, aResult);
        };
        top.Property(0x4006, once);
    };
    expectFailure(kNested, givenOnce, missing("pOccurrences"));
}

TEST(ktmdl_BldReference, OccurrencesThatAreMissingBelowAreToldByName)
{
    expectFailure(kNested, property("S.doc", 0x4006, fake::givesObject(nullptr)),
                  missing("pOccurrences"));
}

TEST(ktmdl_BldReference, OccurrenceThatIsMissingIsToldByName)
{
    expectFailure(kNested, noOccurrence("top", 1), missing("pOccurrence"));
    expectFailure(kNested, noOccurrence("top", 2), missing("pOccurrence"));
    expectFailure(kNested, noOccurrence("S.doc", 1), missing("pOccurrence"));
}

TEST(ktmdl_BldReference, WalkThatCannotGoOnLeavesTheCaughtLine)
{
    for (const char* const document : {"top", "S.doc"}) {
        const std::string occurrences = std::string(document) + ".occs";
        expectFailure(kNested, property(occurrences, 3, fake::fails(kBusy)), {caught(kBusy)});
        expectFailure(kNested, method(occurrences, 0, fake::fails(kBusy)), {caught(kBusy)});
    }
    expectFailure(kNested, property("S.doc", 0x4006, fake::fails(kBusy)), {caught(kBusy)});
    expectFailure(kNested, property("a", 10, fake::fails(kBusy)), {caught(kBusy)});
    expectFailure(kNested, property("S", 10, fake::fails(kBusy)), {caught(kBusy)});
    expectFailure(kNested, property("b", 10, fake::fails(kBusy)), {caught(kBusy)});
}

TEST(ktmdl_BldReference, OccurrenceThatHidesItsIdentityLeavesTheCaughtLine)
{
    for (const char* const name : {"a", "S", "b"}) {
        expectFailure(kNested, refusing(name, IID_IUnknown, kBusy), {caught(kBusy)});
    }
}

TEST(ktmdl_BldReference, MoreOccurrencesThanThereAreLeaveTheCaughtLine)
{
    expectFailure("a S[b] c", property("S.doc.occs", 3, fake::givesNumber(2)),
                  {caught(DISP_E_BADINDEX)});
}

// Making the reference

TEST(ktmdl_BldReference, ReferenceThatIsNotMadeIsToldByItsPlace)
{
    const fake::Handler none = fake::givesObject(nullptr);
    expectFailure(kNested, method("S.doc", 38, none), missing("createdRef"));
    expectFailure(kNested, method("top", 38, none), missing("aRetRef"));
    expectFailure("R[S[T]]", method("R.doc", 38, none), missing("aRetRef"));
}

TEST(ktmdl_BldReference, ReferenceOfADirectChildThatIsNotMadeIsToldByName)
{
    Scene scene;
    const OccurrenceTree tree(scene, "a T");
    tree.At("top").Method(38, fake::givesObject(nullptr));
    Builder builder = makeBuilder(tree, scene.world.Make("obj").Ptr());
    EXPECT_EQ(builder.Compute(), 1);
    EXPECT_EQ(builder.Reference().GetInterfacePtr(), nullptr);
    scene.ExpectLog(missing("createdRef"));
}

TEST(ktmdl_BldReference, ReferenceThatCannotBeMadeLeavesTheCaughtLine)
{
    expectFailure(kNested, method("S.doc", 38, fake::fails(kBusy)), {caught(kBusy)});
    expectFailure(kNested, method("top", 38, fake::fails(kBusy)), {caught(kBusy)});
    expectFailure("R[S[T]]", method("R.doc", 38, fake::fails(kBusy)), {caught(kBusy)});
}

TEST(ktmdl_BldReference, DescribedExceptionLeavesTheCodeInside)
{
    static constexpr HRESULT code = static_cast<HRESULT>(0x8004A300u);
    expectFailure(kNested,
                  method("S.doc", 38,
                         [](const fake::Args& aArgs, VARIANT*) {
                             return aArgs.Exception(code, L"not in this assembly");
                         }),
                  {caught(code)});
}

// Failures that others make good

TEST(ktmdl_BldReference, WalkGoesOnAfterASubassemblyThatFailed)
{
    const Lines direct = {"top.38(DISP T, DISP obj)"};
    const Lines nested = {"S.doc.38(DISP T, DISP obj)", "top.38(DISP S, DISP ref1)"};
    for (const char* const rest : {" T", " S[T]"}) {
        const std::string tree = std::string("F[a]") + rest;
        const Lines& made = tree.back() == 'T' ? direct : nested;
        expectFoundElsewhere(tree, type("F", fake::fails(kBusy)), failedType(kBusy), made);
        expectFoundElsewhere(tree, type("F", fake::givesNumber(1)), {}, made);
        expectFoundElsewhere(tree, property("F", 38, fake::givesObject(nullptr)),
                             missing("pAsmDoc"), made);
        expectFoundElsewhere(tree, property("F.doc.occs", 3, fake::fails(kBusy)), {caught(kBusy)},
                             made);
    }
    expectFoundElsewhere(
        "F[T] S[T]", method("F.doc", 38, fake::givesObject(nullptr)), missing("createdRef"),
        {"F.doc.38(DISP T, DISP obj)", "S.doc.38(DISP T, DISP obj)", "top.38(DISP S, DISP ref1)"});
}

TEST(ktmdl_BldReference, FailedSubassemblyCountsWhenTheTargetIsNowhereElse)
{
    expectFailure("F[a] S[b] x",
                  [](OccurrenceTree& aTree) { aTree.At("F").Property(38, fake::fails(kBusy)); },
                  {caught(kBusy)});
}

TEST(ktmdl_BldReference, EachSubassemblyThatFailsLeavesItsLines)
{
    expectFailure("F[a] G[b] x",
                  [](OccurrenceTree& aTree) {
                      aTree.At("F").Property(38, fake::fails(kBusy));
                      aTree.At("G").Property(38, fake::fails(kGone));
                  },
                  {caught(kBusy), caught(kGone)});
}

TEST(ktmdl_BldReference, AssembliesThatHideTheirIdentityAreWalkedAllTheSame)
{
    const auto hidden = [](OccurrenceTree& aTree) {
        for (const char* const document : {"top", "R.doc", "S.doc"}) {
            aTree.At(document).Refuse(IID_IUnknown, E_NOINTERFACE);
        }
    };
    expectFoundElsewhere(
        "a R[b S[c T]]", hidden, {},
        {"S.doc.38(DISP T, DISP obj)", "R.doc.38(DISP S, DISP ref1)", "top.38(DISP R, DISP ref2)"});
}

// Calls that fail

TEST(ktmdl_BldReference, EveryCallMayFail)
{
    for (const bool withObject : {true, false}) {
        for (const bool isLate : {false, true}) {
            long nth = 1;
            for (;; ++nth) {
                ASSERT_LT(nth, 1000) << "the reference is never done";
                Scene scene;
                const OccurrenceTree tree(scene, "a R[b S[c T]]");
                fake::Object& object = scene.world.Make("obj");
                {
                    Builder builder = makeBuilder(tree, withObject ? object.Ptr() : IDispatchPtr());
                    scene.world.FailCall(nth, kGone, isLate);
                    const long status = builder.Compute();
                    const std::string failed = scene.world.FailedCall();
                    if (failed.empty()) {
                        EXPECT_EQ(status, 0);
                        break; // by now every call has failed once
                    }
                    SCOPED_TRACE(failed);
                    EXPECT_EQ(status, 1);
                    EXPECT_EQ(builder.Status(), 1);
                    EXPECT_EQ(builder.Reference().GetInterfacePtr(), nullptr);
                    scene.ExpectLog(fake::matches("*Type*", failed) ? failedType(kGone)
                                                                    : Lines{caught(kGone)});
                }
                EXPECT_TRUE(scene.world.HeldObjects().empty()) << scene.world.FailedCall();
            }
            EXPECT_GT(nth, 25) << "three levels ask more than that";
        }
    }
}

// Other exceptions

TEST(ktmdl_BldReference, KernelFailurePassesThrough)
{
    Scene scene;
    const OccurrenceTree tree(scene, "a S[b T]");
    for (const char* const name : {"a", "b"}) {
        {
            Builder builder = makeBuilder(tree, nullptr);
            tree.At(name).Property(10, [](const fake::Args&, VARIANT*) -> HRESULT {
                ktstd_fail_ProgramError::Raise("the kernel gave up");
            });
            EXPECT_THROW(builder.Compute(), Hnd_ktstd_fail_ProgramError);
            EXPECT_EQ(builder.Status(), -2);
            scene.ExpectLog({});
        }
        tree.At(name).Property(10, fake::givesBool(VARIANT_FALSE));
        EXPECT_TRUE(scene.world.HeldObjects().empty());
    }
}

TEST(ktmdl_BldReference, OtherExceptionPassesThroughAndLeavesTheStatus)
{
    const fake::Handler throws = [](const fake::Args&, VARIANT*) -> HRESULT {
        throw std::runtime_error("of the host");
    };
    Scene scene;
    const OccurrenceTree tree(scene, "a S[T]");
    {
        Builder builder = makeBuilder(tree, scene.world.Make("obj").Ptr());
        tree.At("a").Property(10, throws);
        EXPECT_THROW(builder.Compute(), std::runtime_error);
        EXPECT_EQ(builder.Status(), -2) << "not yet found";
        scene.ExpectLog({});
    }
    {
        Builder builder = makeBuilder(tree, scene.world.Make("obj").Ptr());
        tree.At("a").Property(10, fake::givesBool(VARIANT_FALSE));
        tree.At("top").Method(38, throws);
        EXPECT_THROW(builder.Compute(), std::runtime_error);
        EXPECT_EQ(builder.Status(), 0) << "found, but not yet wrapped";
        scene.ExpectLog({});
    }
    EXPECT_TRUE(scene.world.HeldObjects().empty());
}
