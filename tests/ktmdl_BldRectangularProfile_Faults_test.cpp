// What a rectangle leaves when the host fails: status, log lines, and nothing held.

#include "com/Com.h"
#include "ktmdl/ktmdl_BldRectangularProfile.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktstd/ktstd_fail.h"
#include "support/FakeDispatch.h"
#include "support/HostIds.h"
#include "support/ProfileHost.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Builder = ktmdl_BldRectangularProfile;
using Lines = std::vector<std::string>;

const char* const kSource = "ktmdl_BldRectangularProfile.cpp";
const char* const kCompute = "ktmdl_BldRectangularProfile::Compute";
const char* const kQuerySource = "ktmdl.cpp";
const char* const kQuery = "ktmdl::GetPlaneInfo";
const HRESULT kGone = static_cast<HRESULT>(0x80010108u);
const HRESULT kBusy = static_cast<HRESULT>(0x8001010Au);

//! A rectangle with all that can be asked for, on a plane like the second default plane.
Builder makeBuilder(ProfileHost& aHost)
{
    scriptNormal(aHost.At("plane"), {1, 0, 0});
    return Builder(0.06, 0.04, aHost.At("plane").Ptr(), aHost.At("doc").Ptr(), 1,
                   aHost.kind == Container::ProfileSet ? 1 : 0, 1);
}

//! The line of a caught error.
std::string caught(HRESULT aCode)
{
    return caughtForm(kSource, kCompute, aCode);
}

//! The lines of a plane query that failed, and of the rectangle that it ended.
Lines joinedToPlaneQuery(const Lines& aQueryLines, HRESULT aCode)
{
    return joined({aQueryLines, {failedCallForm(kSource, aCode), caught(aCode)}});
}

//! Takes the name of the object that a null-pointer line tells; empty when it is no such line.
std::string nullName(const std::string& aLine)
{
    const std::string head = "COM ERROR: pointer ";
    const std::size_t end = aLine.find(" is NULL (File: ");
    if (aLine.rfind(head, 0) != 0 || end == std::string::npos) {
        return "";
    }
    const std::string name = aLine.substr(head.size(), end - head.size());
    const bool isPlain = name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWX"
                                                "YZ0123456789") == std::string::npos;
    return isPlain ? name : "";
}

//! Spoils a host, lets a rectangle be drawn there, and compares what is left.
//! @param aName  of the object that is missing; empty for one without a fixed name
void expectMissing(Container aContainer, const std::string& aName,
                   const std::function<void(ProfileHost&)>& aSpoil)
{
    SCOPED_TRACE(testing::Message()
                 << "container " << static_cast<int>(aContainer) << ", " << aName);
    Scene scene;
    ProfileHost host(scene, aContainer);
    Builder builder = makeBuilder(host);
    aSpoil(host);
    EXPECT_EQ(builder.Compute(), 1);
    EXPECT_EQ(builder.Status(), 1);
    const Lines lines = scene.log.Lines();
    ASSERT_EQ(lines.size(), 2u) << (lines.empty() ? "" : lines[0]);
    const std::string name = aName.empty() ? nullName(lines[0]) : aName;
    EXPECT_NE(name, "") << lines[0];
    expectLines(lines, {nullPointerForm(kSource, name), caught(E_POINTER)});

    EXPECT_EQ(builder.Profile().GetInterfacePtr(), nullptr);
    EXPECT_EQ(builder.DimPtrI(0).GetInterfacePtr(), nullptr);
    scene.world.Forget();
    EXPECT_EQ(builder.Compute(), 1);
    scene.ExpectNoCalls();
}

//! Lets the property of an object give none.
std::function<void(ProfileHost&)> noProperty(const std::string& aObject, DISPID aMember)
{
    return [aObject, aMember](ProfileHost& aHost) {
        aHost.At(aObject).Property(aMember, fake::givesObject(nullptr));
    };
}

std::function<void(ProfileHost&)> noResult(const std::string& aObject, DISPID aMember)
{
    return [aObject, aMember](ProfileHost& aHost) {
        aHost.At(aObject).Method(aMember, fake::givesObject(nullptr));
    };
}

std::function<void(ProfileHost&)> refusing(const std::string& aObject, const IID& aIid,
                                           HRESULT aCode)
{
    return [aObject, aIid, aCode](ProfileHost& aHost) { aHost.At(aObject).Refuse(aIid, aCode); };
}

//! Spoils a host and compares the lines that are left; the status is 1.
void expectFailure(Container aContainer, const std::function<void(ProfileHost&)>& aSpoil,
                   const Lines& aForms)
{
    SCOPED_TRACE(testing::Message() << "container " << static_cast<int>(aContainer));
    Scene scene;
    ProfileHost host(scene, aContainer);
    Builder builder = makeBuilder(host);
    aSpoil(host);
    EXPECT_EQ(builder.Compute(), 1);
    EXPECT_EQ(builder.Status(), 1);
    scene.ExpectLog(aForms);
    EXPECT_EQ(builder.Profile().GetInterfacePtr(), nullptr);
}

//! What a rectangle leaves when one call failed.
struct Outcome
{
    long status;
    Lines lines;
};

Outcome outcomeOf(const std::string& aFailedCall)
{
    if (fake::matches("plane*.GetNormal?", aFailedCall)) {
        // The look-up is skipped: the normal of the first is not needed, the others' is.
        return {aFailedCall == "plane1.GetNormal?" ? 0 : -1, {}};
    }
    if (fake::matches("plane*Type*", aFailedCall)) {
        return {1, joinedToPlaneQuery({failedCallForm(kQuerySource, kGone),
                                       caughtForm(kQuerySource, kQuery, kGone)},
                                      kGone)};
    }
    if (fake::matches("plane*.GetNormal(*", aFailedCall)) {
        return {1, joinedToPlaneQuery({caughtForm(kQuerySource, kQuery, kGone)}, kGone)};
    }
    return {1, {caught(kGone)}};
}

} // namespace

// Objects that the host doesn't give

TEST(ktmdl_BldRectangularProfile, MissingSketchObjectsAreToldByName)
{
    const Container kind = Container::Sketch;
    expectMissing(kind, "", noProperty("doc", 0x606C));
    expectMissing(kind, "", noResult("sketches", 100));
    expectMissing(kind, "pProfs", noProperty("sketch", 5));
    expectMissing(kind, "pRectangleProf", noResult("profs", 102));
}

TEST(ktmdl_BldRectangularProfile, MissingProfileSetObjectsAreToldByName)
{
    const Container kind = Container::ProfileSet;
    expectMissing(kind, "pProfileSets", noProperty("doc", 0x6064));
    expectMissing(kind, "", noResult("sets", 100));
    expectMissing(kind, "pProfs", noProperty("set", 5));
    expectMissing(kind, "pRectangleProf", noResult("profs", 102));
}

TEST(ktmdl_BldRectangularProfile, MissingLayoutObjectsAreToldByName)
{
    const Container kind = Container::Layout;
    expectMissing(kind, "pLays", noProperty("doc", 0x6008));
    expectMissing(kind, "pAsmRefPln", refusing("plane", hostids::AsmRefPlane, E_NOINTERFACE));
    expectMissing(kind, "mSketchOrLayoutPtr", noResult("layouts", 1));
    expectMissing(kind, "", noProperty("layout", 3));
    expectMissing(kind, "", refusing("prof", hostids::Profile, E_NOINTERFACE));
}

TEST(ktmdl_BldRectangularProfile, MissingLinesAreToldByName)
{
    for (const Container kind : kContainers) {
        expectMissing(kind, "pLines2d", noProperty("prof", 10));
        for (std::size_t i = 0; i < 4; ++i) {
            expectMissing(kind, "pLine" + std::to_string(i + 1),
                          [i](ProfileHost& aHost) { aHost.lines[i] = nullptr; });
        }
    }
}

TEST(ktmdl_BldRectangularProfile, MissingRelationsAreToldByWhatTheyAreFor)
{
    for (const Container kind : kContainers) {
        expectMissing(kind, "pRelations2d",
                      [](ProfileHost& aHost) { aHost.relations[0] = nullptr; });
        expectMissing(kind, "pRels", [](ProfileHost& aHost) { aHost.relations[1] = nullptr; });
    }
}

TEST(ktmdl_BldRectangularProfile, MissingProjectionIsToldByName)
{
    for (const Container kind : kContainers) {
        expectMissing(kind, "pLineRefPlane", noResult("prof", 113));
        expectMissing(kind, "pLineRefPlane", refusing("projected", hostids::Line2d, E_NOINTERFACE));
    }
}

TEST(ktmdl_BldRectangularProfile, MissingDimensionsAreToldByName)
{
    for (const Container kind : kContainers) {
        expectMissing(kind, "pDims", noProperty("prof", 16));
        expectMissing(kind, "pDims", refusing("dims", hostids::Dimensions, E_NOINTERFACE));
        for (std::size_t i = 0; i < 2; ++i) {
            expectMissing(kind, "mDimPtrs[" + std::to_string(i) + "]",
                          [i](ProfileHost& aHost) { aHost.dimensions[i] = nullptr; });
        }
    }
}

TEST(ktmdl_BldRectangularProfile, MissingDefaultPlanesEndIt)
{
    for (const Container kind : kContainers) {
        expectMissing(kind, "", noProperty("doc", kind == Container::Layout ? 0x6065 : 0x6002));
    }
}

TEST(ktmdl_BldRectangularProfile, MissingDefaultPlaneEndsIt)
{
    // Whether the rectangle or the plane query tells of it is not fixed; that it is told is.
    for (const Container kind : kContainers) {
        Scene scene;
        ProfileHost host(scene, kind);
        Builder builder = makeBuilder(host);
        host.At("defaults").Method(DISPID{0}, fake::givesObject(nullptr));
        EXPECT_EQ(builder.Compute(), 1);
        const Lines lines = scene.log.Lines();
        ASSERT_GE(lines.size(), 2u);
        EXPECT_NE(nullName(lines.front()), "") << lines.front();
        EXPECT_TRUE(isLine(lines.back(), caught(E_POINTER)));
    }
}

TEST(ktmdl_BldRectangularProfile, ChosenPlaneThatIsMissingEndsIt)
{
    for (const Container kind : kContainers) {
        expectMissing(kind, "", [](ProfileHost& aHost) {
            IDispatch* const first = &aHost.At("plane1");
            IDispatch* const second = &aHost.At("plane2");
            const auto planes = [first, second](const fake::Args& aArgs, VARIANT* aResult) {
                const LONG number = aArgs.Number(0);
                IDispatch* const plane = number == 1 ? first : number == 2 ? second : nullptr;
                return fake::givesObject(plane)(aArgs, aResult);
            };
            aHost.At("defaults").Method(DISPID{0}, planes);
        });
    }
}

// Interfaces that an object refuses with a code of its own

TEST(ktmdl_BldRectangularProfile, RefusedInterfaceLeavesItsCodeInOneLine)
{
    for (const Container kind : kContainers) {
        expectFailure(kind, refusing("doc", hostids::PartDocument, kBusy), {caught(kBusy)});
        expectFailure(kind, refusing("projected", hostids::Line2d, kBusy), {caught(kBusy)});
        expectFailure(kind, refusing("dims", hostids::Dimensions, kBusy), {caught(kBusy)});
    }
    expectFailure(Container::Layout, refusing("doc", hostids::AssemblyDocument, kBusy),
                  {caught(kBusy)});
    expectFailure(Container::Layout, refusing("plane", hostids::AsmRefPlane, kBusy),
                  {caught(kBusy)});
}

// Plane queries

TEST(ktmdl_BldRectangularProfile, PlaneQueryThatFailsEndsIt)
{
    for (const Container kind : kContainers) {
        for (const char* const plane : {"plane", "plane1", "plane2"}) {
            expectFailure(
                kind,
                [plane](ProfileHost& aHost) {
                    aHost.At(plane).Property(L"Type", fake::fails(kBusy));
                },
                joinedToPlaneQuery(
                    {failedCallForm(kQuerySource, kBusy), caughtForm(kQuerySource, kQuery, kBusy)},
                    kBusy));
            expectFailure(
                kind,
                [plane](ProfileHost& aHost) {
                    aHost.At(plane).Method(L"GetNormal", fake::fails(kBusy));
                },
                joinedToPlaneQuery({caughtForm(kQuerySource, kQuery, kBusy)}, kBusy));
        }
    }
}

TEST(ktmdl_BldRectangularProfile, PlaneBehindAReferenceThatIsMissingEndsIt)
{
    expectFailure(
        Container::Sketch,
        [](ProfileHost& aHost) {
            aHost.At("plane").Answer(hostids::Reference);
            aHost.At("plane").Property(L"Type", fake::givesNumber(hostids::typeReference));
            aHost.At("plane").Property(4, fake::givesObject(nullptr));
        },
        joinedToPlaneQuery({nullPointerForm(kQuerySource, "pPlaneDisp"),
                            caughtForm(kQuerySource, kQuery, E_POINTER)},
                           E_POINTER));
}

TEST(ktmdl_BldRectangularProfile, PlaneWhoseNormalIsUnknownByNameMatchesNothing)
{
    for (const char* const plane : {"plane", "plane2"}) {
        Scene scene;
        ProfileHost host(scene, Container::Sketch);
        Builder builder = makeBuilder(host);
        host.At(plane).FailName(L"GetNormal", DISP_E_UNKNOWNNAME);
        EXPECT_EQ(builder.Compute(), -1);
        scene.ExpectLog({});
    }
}

// Calls that fail

TEST(ktmdl_BldRectangularProfile, EveryCallMayFail)
{
    for (const Container kind : kContainers) {
        for (const bool isLate : {false, true}) {
            long nth = 1;
            for (;; ++nth) {
                ASSERT_LT(nth, 1000) << "the rectangle is never done";
                Scene scene;
                ProfileHost host(scene, kind);
                {
                    Builder builder = makeBuilder(host);
                    scene.world.FailCall(nth, kGone, isLate);
                    const long status = builder.Compute();
                    const std::string failed = scene.world.FailedCall();
                    if (failed.empty()) {
                        EXPECT_EQ(status, 0);
                        break; // by now every call has failed once
                    }
                    SCOPED_TRACE(failed);
                    const Outcome wanted = outcomeOf(failed);
                    EXPECT_EQ(status, wanted.status);
                    EXPECT_EQ(builder.Status(), wanted.status);
                    scene.ExpectLog(wanted.lines);
                    if (wanted.status == 1) {
                        EXPECT_EQ(scene.world.LastCall(), failed)
                            << "nothing more is asked, and nothing taken back";
                        EXPECT_EQ(builder.Profile().GetInterfacePtr(), nullptr);
                        EXPECT_EQ(builder.DimPtrI(0).GetInterfacePtr(), nullptr);
                        EXPECT_EQ(builder.DimPtrI(1).GetInterfacePtr(), nullptr);
                    }
                    const std::size_t asked = scene.world.Calls().size();
                    EXPECT_EQ(builder.Compute(), wanted.status);
                    EXPECT_EQ(scene.world.Calls().size(), asked);
                    EXPECT_EQ(scene.log.Lines().size(), wanted.lines.size());
                }
                EXPECT_TRUE(scene.world.HeldObjects().empty()) << scene.world.FailedCall();
            }
            const Lines calls = joined({containerCalls(kind),
                                        rectangleCalls("0.03", "0.02"),
                                        constrainCalls(kind, 2, "0.06", "0.04"),
                                        {"prof.100"}});
            EXPECT_EQ(static_cast<std::size_t>(nth), calls.size() + 1);
        }
    }
}

TEST(ktmdl_BldRectangularProfile, DescribedExceptionLeavesTheCodeInside)
{
    expectFailure(Container::Sketch,
                  [](ProfileHost& aHost) {
                      aHost.At("lines").Method(100, [](const fake::Args& aArgs, VARIANT*) {
                          return aArgs.Exception(static_cast<SCODE>(0x8004A300u), L"no room");
                      });
                  },
                  {caught(static_cast<HRESULT>(0x8004A300u))});
}

TEST(ktmdl_BldRectangularProfile, ContainerOfAFailedRectangleIsGiven)
{
    Scene scene;
    ProfileHost host(scene, Container::Sketch);
    Builder builder = makeBuilder(host);
    host.At("prof").Property(10, fake::fails(kGone));
    EXPECT_EQ(builder.Compute(), 1);
    EXPECT_EQ(builder.Sketch().GetInterfacePtr(), &host.At("sketch"));
    EXPECT_EQ(builder.Profile().GetInterfacePtr(), nullptr);
}

TEST(ktmdl_BldRectangularProfile, AnswerOfTheWrongTypeIsAnError)
{
    for (const Container kind : kContainers) {
        Scene scene;
        ProfileHost host(scene, kind);
        Builder builder = makeBuilder(host);
        host.At("prof").Property(10, fake::givesNumber(5));
        EXPECT_EQ(builder.Compute(), 1);
        const Lines lines = scene.log.Lines();
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back().rfind("COM ERROR caught in ", 0), 0u) << lines.back();
    }
}

// Other exceptions

TEST(ktmdl_BldRectangularProfile, KernelFailureEndsInsideWithItsTwoLines)
{
    expectFailure(
        Container::Sketch,
        [](ProfileHost& aHost) {
            aHost.At("lines").Method(100, [](const fake::Args&, VARIANT*) -> HRESULT {
                ktstd_fail_ProgramError::Raise("the kernel gave up");
            });
        },
        {"EXCEPTION caught in <file:" + std::string(kSource) + ">{" + kCompute + "} (<line>):",
         "ktstd_fail_ProgramError: the kernel gave up"});
}

TEST(ktmdl_BldRectangularProfile, OtherExceptionPassesThroughAndLeavesTheStatus)
{
    Scene scene;
    ProfileHost host(scene, Container::Sketch);
    {
        Builder builder = makeBuilder(host);
        host.At("lines").Method(100, [](const fake::Args&, VARIANT*) -> HRESULT {
            throw std::runtime_error("of the host");
        });
        EXPECT_THROW(builder.Compute(), std::runtime_error);
        EXPECT_EQ(builder.Status(), -2);
        scene.ExpectLog({});
    }
    EXPECT_TRUE(scene.world.HeldObjects().empty());
}
