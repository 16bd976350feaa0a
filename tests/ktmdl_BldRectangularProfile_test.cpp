#include "ktmdl/ktmdl_BldRectangularProfile.h"

#include "com/Com.h"
#include "ktmdl/ktmdl_Host.h"
#include "support/FakeDispatch.h"
#include "support/HostIds.h"
#include "support/ProfileHost.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using Builder = ktmdl_BldRectangularProfile;

static_assert(std::has_virtual_destructor_v<Builder>);

const char* const kBadSize = "WARNING: bad x or/and y dimension ...";
const char* const kBadObject = "WARNING: bad SEDoc or/and refPpln ...";

//! What the builder is asked for, its document and plane apart.
struct Wish
{
    double x{0.06};
    double y{0.04};
    unsigned char constrain{0};
    unsigned char validate{0};
};

Builder makeBuilder(ProfileHost& aHost, const Wish& aWish = {})
{
    return Builder(aWish.x, aWish.y, aHost.At("plane").Ptr(), aHost.At("doc").Ptr(),
                   aWish.constrain, aHost.kind == Container::ProfileSet ? 1 : 0, aWish.validate);
}

const Wish kConstrained = {0.06, 0.04, 1, 0};
const Wish kValidated = {0.06, 0.04, 0, 1};
const Wish kBoth = {0.06, 0.04, 1, 1};

const char* nameOf(Container aContainer)
{
    switch (aContainer) {
    case Container::Sketch:
        return "sketch";
    case Container::ProfileSet:
        return "set";
    case Container::Layout:
        break;
    }
    return "layout";
}

//! Computes a builder that must find nothing to do, twice.
void expectRefused(Scene& aScene, double aX, double aY, const IDispatchPtr& aPlane,
                   const IDispatchPtr& aDocument, const std::vector<std::string>& aLines)
{
    aScene.log.Forget();
    Builder builder(aX, aY, aPlane, aDocument, 1, 0, 1);
    EXPECT_EQ(builder.Compute(), -1);
    EXPECT_EQ(builder.Status(), -1);
    aScene.ExpectLog(aLines);
    EXPECT_EQ(builder.Compute(), -1);
    EXPECT_EQ(builder.Profile().GetInterfacePtr(), nullptr);
    EXPECT_EQ(builder.Sketch().GetInterfacePtr(), nullptr);
    EXPECT_EQ(builder.DimPtrI(0).GetInterfacePtr(), nullptr);
    aScene.ExpectLog(aLines);
    aScene.ExpectNoCalls();
}

//! Constrains a rectangle on a plane with a normal. Gives the number of the default plane that it
//! is tied to, or the status when it is tied to none.
long chosenPlane(Container aContainer, const Triple& aNormal, const std::vector<Triple>& aDefaults)
{
    Scene scene;
    ProfileHost host(scene, aContainer);
    scriptNormal(host.At("plane"), aNormal);
    for (std::size_t i = 0; i < aDefaults.size(); ++i) {
        scriptNormal(host.At("plane" + std::to_string(i + 1)), aDefaults[i]);
    }
    Builder builder = makeBuilder(host, kConstrained);
    const long status = builder.Compute();
    scene.ExpectLog({});
    for (long number = 1; number <= 3; ++number) {
        if (scene.world.CountOf("prof.113(DISP plane" + std::to_string(number) + ")") != 0) {
            EXPECT_EQ(status, 0);
            EXPECT_EQ(scene.world.CountOf("prof.113(*"), 1);
            return number;
        }
    }
    EXPECT_EQ(scene.world.CountOf("prof.113(*"), 0);
    return status;
}

long chosenPlane(const Triple& aNormal)
{
    return chosenPlane(Container::Sketch, aNormal, {});
}

} // namespace

// Construction

TEST(ktmdl_BldRectangularProfile, NewBuilderHasAskedNothing)
{
    for (const Container container : kContainers) {
        Scene scene;
        ProfileHost host(scene, container);
        Builder builder = makeBuilder(host, kBoth);
        EXPECT_EQ(builder.Status(), -2);
        EXPECT_EQ(builder.Status(), -2) << "telling the status computes nothing";
        scene.ExpectNoCalls();
        scene.ExpectLog({});
    }
}

TEST(ktmdl_BldRectangularProfile, BuilderHoldsPlaneAndDocument)
{
    Scene scene;
    ProfileHost host(scene, Container::Sketch);
    {
        const Builder builder = makeBuilder(host);
        EXPECT_EQ(host.At("plane").Held(), 1);
        EXPECT_EQ(host.At("doc").Held(), 1);
    }
    EXPECT_EQ(host.At("plane").Held(), 0);
    EXPECT_EQ(host.At("doc").Held(), 0);
}

TEST(ktmdl_BldRectangularProfile, PointersNameTheHostsInterfaces)
{
    EXPECT_TRUE(IsEqualIID(ktmdl_host::ProfilePtr::GetIID(), hostids::Profile));
    EXPECT_TRUE(IsEqualIID(ktmdl_host::ProfileSetPtr::GetIID(), hostids::ProfileSet));
    EXPECT_TRUE(IsEqualIID(ktmdl_host::SketchPtr::GetIID(), hostids::Sketch));
    EXPECT_TRUE(IsEqualIID(ktmdl_host::LayoutPtr::GetIID(), hostids::Layout));
    EXPECT_TRUE(IsEqualIID(ktmdl_host::DimensionPtr::GetIID(), hostids::Dimension));
}

TEST(ktmdl_BldRectangularProfile, AccessorsGiveTheHostsPointerTypes)
{
    EXPECT_TRUE(
        (std::is_same_v<decltype(std::declval<Builder&>().Profile()), ktmdl_host::ProfilePtr>));
    EXPECT_TRUE((std::is_same_v<decltype(std::declval<Builder&>().ProfileSet()),
                                ktmdl_host::ProfileSetPtr>));
    EXPECT_TRUE(
        (std::is_same_v<decltype(std::declval<Builder&>().Sketch()), ktmdl_host::SketchPtr>));
    EXPECT_TRUE(
        (std::is_same_v<decltype(std::declval<Builder&>().Layout()), ktmdl_host::LayoutPtr>));
    EXPECT_TRUE(
        (std::is_same_v<decltype(std::declval<Builder&>().DimPtrI(0)), ktmdl_host::DimensionPtr>));
}

// Bad input

TEST(ktmdl_BldRectangularProfile, SizeThatIsNotPositiveIsRefused)
{
    Scene scene;
    ProfileHost host(scene, Container::Sketch);
    const IDispatchPtr plane = host.At("plane").Ptr();
    const IDispatchPtr document = host.At("doc").Ptr();
    for (const double bad : {0.0, -0.0, -0.01, -HUGE_VAL}) {
        SCOPED_TRACE(bad);
        expectRefused(scene, bad, 0.04, plane, document, {kBadSize});
        expectRefused(scene, 0.06, bad, plane, document, {kBadSize});
        expectRefused(scene, bad, bad, plane, document, {kBadSize});
    }
}

TEST(ktmdl_BldRectangularProfile, SizeThatIsNotFiniteIsRefused)
{
    Scene scene;
    ProfileHost host(scene, Container::Sketch);
    const IDispatchPtr plane = host.At("plane").Ptr();
    const IDispatchPtr document = host.At("doc").Ptr();
    for (const double bad : {HUGE_VAL, std::numeric_limits<double>::quiet_NaN()}) {
        SCOPED_TRACE(bad);
        expectRefused(scene, bad, 0.04, plane, document, {kBadSize});
        expectRefused(scene, 0.06, bad, plane, document, {kBadSize});
    }
}

TEST(ktmdl_BldRectangularProfile, SmallestPositiveSizeIsDrawn)
{
    Scene scene;
    ProfileHost host(scene, Container::Sketch);
    const double least = std::numeric_limits<double>::denorm_min();
    Builder builder = makeBuilder(host, {2 * least, 2 * least, 0, 0});
    EXPECT_EQ(builder.Compute(), 0);
    scene.ExpectCalls(joined(
        {containerCalls(Container::Sketch), rectangleCalls(fake::text(least), fake::text(least))}));
}

TEST(ktmdl_BldRectangularProfile, MissingDocumentOrPlaneIsRefused)
{
    Scene scene;
    ProfileHost host(scene, Container::Sketch);
    const IDispatchPtr plane = host.At("plane").Ptr();
    const IDispatchPtr document = host.At("doc").Ptr();
    expectRefused(scene, 0.06, 0.04, nullptr, document, {kBadObject});
    expectRefused(scene, 0.06, 0.04, plane, nullptr, {kBadObject});
    expectRefused(scene, 0.06, 0.04, nullptr, nullptr, {kBadObject});
}

TEST(ktmdl_BldRectangularProfile, BadSizeIsToldBeforeAMissingObject)
{
    Scene scene;
    expectRefused(scene, 0, 0.04, nullptr, nullptr, {kBadSize});
}

TEST(ktmdl_BldRectangularProfile, DocumentOfNeitherKindIsRefusedWithoutALine)
{
    Scene scene;
    ProfileHost host(scene, Container::Sketch);
    fake::Object& draft = scene.world.Make("draft");
    expectRefused(scene, 0.06, 0.04, host.At("plane").Ptr(), draft.Ptr(), {});
    EXPECT_EQ(draft.Queries(), 2) << "part and assembly are asked for, once";
}

// Drawing

TEST(ktmdl_BldRectangularProfile, PlainRectangleAsksWhatItNeedsInOrder)
{
    for (const Container container : kContainers) {
        SCOPED_TRACE(nameOf(container));
        Scene scene;
        ProfileHost host(scene, container);
        Builder builder = makeBuilder(host);
        EXPECT_EQ(builder.Compute(), 0);
        EXPECT_EQ(builder.Status(), 0);
        scene.ExpectCalls(joined({containerCalls(container), rectangleCalls("0.03", "0.02")}));
        scene.ExpectLog({});
    }
}

TEST(ktmdl_BldRectangularProfile, LayoutIsAddedOnThePlaneAlone)
{
    Scene scene;
    ProfileHost host(scene, Container::Layout);
    EXPECT_EQ(makeBuilder(host).Compute(), 0);
    const std::vector<std::string>& calls = scene.world.Calls();
    ASSERT_GE(calls.size(), 2u);
    std::string others = calls[1];
    const std::string head = "layouts.1(DISP plane";
    ASSERT_EQ(others.rfind(head, 0), 0u) << others;
    others.erase(0, head.size());
    while (others.rfind(", missing", 0) == 0) {
        others.erase(0, 9);
    }
    EXPECT_EQ(others, ")") << "optional arguments are left out";
}

TEST(ktmdl_BldRectangularProfile, WidthAndHeightAreNotMixedUp)
{
    Scene scene;
    ProfileHost host(scene, Container::Sketch);
    EXPECT_EQ(makeBuilder(host, {3, 5, 1, 0}).Compute(), 0);
    scene.ExpectCalls(joined({containerCalls(Container::Sketch), rectangleCalls("1.5", "2.5"),
                              constrainCalls(Container::Sketch, 1, "3", "5")}));
}

TEST(ktmdl_BldRectangularProfile, PartGoesBeforeAssembly)
{
    Scene scene;
    ProfileHost host(scene, Container::Sketch);
    host.At("doc").Answer(hostids::AssemblyDocument);
    EXPECT_EQ(makeBuilder(host).Compute(), 0);
    scene.ExpectCalls(joined({containerCalls(Container::Sketch), rectangleCalls("0.03", "0.02")}));
}

TEST(ktmdl_BldRectangularProfile, AssemblyHasNoProfileSets)
{
    Scene scene;
    ProfileHost host(scene, Container::Layout);
    Builder builder(0.06, 0.04, host.At("plane").Ptr(), host.At("doc").Ptr(), 0, 1, 0);
    EXPECT_EQ(builder.Compute(), 0);
    scene.ExpectCalls(joined({containerCalls(Container::Layout), rectangleCalls("0.03", "0.02")}));
}

TEST(ktmdl_BldRectangularProfile, ConstrainedRectangleIsTiedAndDimensionedInOrder)
{
    for (const Container container : kContainers) {
        SCOPED_TRACE(nameOf(container));
        Scene scene;
        ProfileHost host(scene, container);
        Builder builder = makeBuilder(host, kConstrained);
        EXPECT_EQ(builder.Compute(), 0);
        scene.ExpectCalls(joined({containerCalls(container), rectangleCalls("0.03", "0.02"),
                                  constrainCalls(container, 1, "0.06", "0.04")}));
        scene.ExpectLog({});
    }
}

TEST(ktmdl_BldRectangularProfile, ValidatedRectangleIsClosedLast)
{
    for (const Container container : kContainers) {
        SCOPED_TRACE(nameOf(container));
        {
            Scene scene;
            ProfileHost host(scene, container);
            EXPECT_EQ(makeBuilder(host, kValidated).Compute(), 0);
            scene.ExpectCalls(joined(
                {containerCalls(container), rectangleCalls("0.03", "0.02"), {"prof.100(I4 1)"}}));
        }
        Scene scene;
        ProfileHost host(scene, container);
        EXPECT_EQ(makeBuilder(host, kBoth).Compute(), 0);
        scene.ExpectCalls(joined({containerCalls(container),
                                  rectangleCalls("0.03", "0.02"),
                                  constrainCalls(container, 1, "0.06", "0.04"),
                                  {"prof.100(I4 1)"}}));
    }
}

TEST(ktmdl_BldRectangularProfile, RefusedProfileIsNotKept)
{
    for (const LONG answer : {-1, 1, 77}) {
        for (const Container container : kContainers) {
            SCOPED_TRACE(nameOf(container));
            Scene scene;
            ProfileHost host(scene, container);
            host.validation = answer;
            Builder builder = makeBuilder(host, kBoth);
            EXPECT_EQ(builder.Compute(), -1);
            EXPECT_EQ(builder.Status(), -1);
            EXPECT_EQ(builder.Profile().GetInterfacePtr(), nullptr);
            EXPECT_EQ(builder.DimPtrI(0).GetInterfacePtr(), nullptr);
            EXPECT_EQ(builder.DimPtrI(1).GetInterfacePtr(), nullptr);
            EXPECT_EQ(host.At("prof").Held(), 0);
            EXPECT_EQ(host.At(nameOf(container)).Held(), 1) << "what was created stays";
            EXPECT_EQ(scene.world.LastCall(), "prof.100(I4 1)");
            scene.ExpectLog({});
        }
    }
}

TEST(ktmdl_BldRectangularProfile, WhatWouldRefuseTheProfileIsNotAskedUnlessWished)
{
    Scene scene;
    ProfileHost host(scene, Container::Sketch);
    host.validation = -1;
    Builder builder = makeBuilder(host, kConstrained);
    EXPECT_EQ(builder.Compute(), 0);
    EXPECT_EQ(scene.world.LastCall(), "dim2.put 14(BOOL -1)");
    EXPECT_EQ(scene.world.CountOf("prof.100(*"), 0);
}

// Which default plane

TEST(ktmdl_BldRectangularProfile, NextDefaultPlaneInTheCycleIsChosen)
{
    for (const Container container : kContainers) {
        SCOPED_TRACE(nameOf(container));
        EXPECT_EQ(chosenPlane(container, {0, 0, 1}, {}), 2);
        EXPECT_EQ(chosenPlane(container, {1, 0, 0}, {}), 3);
        EXPECT_EQ(chosenPlane(container, {0, 1, 0}, {}), 1);
    }
}

TEST(ktmdl_BldRectangularProfile, DefaultPlanesAreAskedUpToTheFirstMatch)
{
    for (const Container container : kContainers) {
        for (const int match : {1, 2, 3}) {
            SCOPED_TRACE(nameOf(container));
            Scene scene;
            ProfileHost host(scene, container);
            const Triple normals[] = {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}};
            scriptNormal(host.At("plane"), normals[match - 1]);
            EXPECT_EQ(makeBuilder(host, kConstrained).Compute(), 0);
            scene.ExpectCalls(joined({containerCalls(container), rectangleCalls("0.03", "0.02"),
                                      constrainCalls(container, match, "0.06", "0.04")}));
        }
    }
}

TEST(ktmdl_BldRectangularProfile, OfTwoDefaultPlanesThatMatchTheFirstCounts)
{
    const Triple up = {0, 0, 1};
    const Triple along = {1, 0, 0};
    EXPECT_EQ(chosenPlane(Container::Sketch, up, {up, up, up}), 2);
    EXPECT_EQ(chosenPlane(Container::Sketch, up, {along, up, up}), 3);
    EXPECT_EQ(chosenPlane(Container::Sketch, up, {along, along, up}), 1);
}

TEST(ktmdl_BldRectangularProfile, ReversedNormalMatchesNoDefaultPlane)
{
    EXPECT_EQ(chosenPlane({0, 0, -1}), -1);
    EXPECT_EQ(chosenPlane({-1, 0, 0}), -1);
    EXPECT_EQ(chosenPlane({0, -1, 0}), -1);
}

TEST(ktmdl_BldRectangularProfile, NormalsMatchUpToAMillionthInEachComponent)
{
    const double within = 1e-06;
    const double beyond = std::nextafter(1e-06, 1.0);
    // Next to a component that is 0 the difference is the number itself.
    EXPECT_EQ(chosenPlane({within, 0, 1}), 2);
    EXPECT_EQ(chosenPlane({-within, 0, 1}), 2);
    EXPECT_EQ(chosenPlane({0, within, 1}), 2);
    EXPECT_EQ(chosenPlane({0, -within, 1}), 2);
    EXPECT_EQ(chosenPlane({1, 0, within}), 3);
    EXPECT_EQ(chosenPlane({1, 0, -within}), 3);
    EXPECT_EQ(chosenPlane({within, within, 1}), 2) << "each by itself, not their length";
    EXPECT_EQ(chosenPlane({beyond, 0, 1}), -1);
    EXPECT_EQ(chosenPlane({-beyond, 0, 1}), -1);
    EXPECT_EQ(chosenPlane({0, beyond, 1}), -1);
    EXPECT_EQ(chosenPlane({0, -beyond, 1}), -1);
    EXPECT_EQ(chosenPlane({1, 0, beyond}), -1);
    EXPECT_EQ(chosenPlane({1, 0, -beyond}), -1);
    EXPECT_EQ(chosenPlane({0, 0, 1 + 0.9e-06}), 2);
    EXPECT_EQ(chosenPlane({0, 0, 1 - 0.9e-06}), 2);
    EXPECT_EQ(chosenPlane({0, 0, 1 + 1.1e-06}), -1);
    EXPECT_EQ(chosenPlane({0, 0, 1 - 1.1e-06}), -1);
}

TEST(ktmdl_BldRectangularProfile, NormalThatIsNoNumberMatchesNothing)
{
    const double nan = std::nan("");
    EXPECT_EQ(chosenPlane({0, 0, nan}), -1);
    EXPECT_EQ(chosenPlane({nan, 0, 1}), -1);
    EXPECT_EQ(chosenPlane({0, nan, 1}), -1);
}

TEST(ktmdl_BldRectangularProfile, WithoutAMatchTheLinesStayAndNothingElseIsDone)
{
    for (const Container container : kContainers) {
        SCOPED_TRACE(nameOf(container));
        Scene scene;
        ProfileHost host(scene, container);
        scriptNormal(host.At("plane"), {0, 0, -1});
        Builder builder = makeBuilder(host, kBoth);
        EXPECT_EQ(builder.Compute(), -1);
        EXPECT_EQ(builder.Status(), -1);
        EXPECT_EQ(builder.Profile().GetInterfacePtr(), nullptr);
        EXPECT_EQ(builder.DimPtrI(0).GetInterfacePtr(), nullptr);
        EXPECT_EQ(scene.world.CountOf("rels.719(*"), 4);
        EXPECT_TRUE(fake::matches("plane3.GetNormal(*", scene.world.LastCall()));
        scene.ExpectLog({});
    }
}

TEST(ktmdl_BldRectangularProfile, ReversedPlaneIsDrawnOnUnlessConstrained)
{
    Scene scene;
    ProfileHost host(scene, Container::Sketch);
    scriptNormal(host.At("plane"), {0, 0, -1});
    EXPECT_EQ(makeBuilder(host).Compute(), 0);
    EXPECT_EQ(scene.world.CountOf("profs.102(DISP plane)"), 1);
    EXPECT_EQ(scene.world.CountOf("plane.*"), 0) << "its normal is not read";
}

TEST(ktmdl_BldRectangularProfile, ReferenceToAPlaneIsDrawnOnAndMeasuredBehindIt)
{
    Scene scene;
    ProfileHost host(scene, Container::Sketch);
    fake::Object& inner = scene.world.Make("inner");
    scriptNormal(inner, {1, 0, 0});
    host.At("plane").Answer(hostids::Reference);
    host.At("plane").Property(L"Type", fake::givesNumber(hostids::typeReference));
    host.At("plane").Property(4, fake::givesObject(&inner));
    EXPECT_EQ(makeBuilder(host, kConstrained).Compute(), 0);
    EXPECT_EQ(scene.world.CountOf("profs.102(DISP plane)"), 1);
    EXPECT_EQ(scene.world.CountOf("plane.GetNormal*"), 0);
    EXPECT_EQ(scene.world.CountOf("prof.113(DISP plane3)"), 1) << "behind it is the second's";
}

// Access

TEST(ktmdl_BldRectangularProfile, EveryAccessorComputesFirst)
{
    using Access = IDispatch* (*)(Builder&);
    const Access accessors[] = {
        [](Builder& b) -> IDispatch* { return b.Profile().GetInterfacePtr(); },
        [](Builder& b) -> IDispatch* { return b.ProfileSet().GetInterfacePtr(); },
        [](Builder& b) -> IDispatch* { return b.Sketch().GetInterfacePtr(); },
        [](Builder& b) -> IDispatch* { return b.Layout().GetInterfacePtr(); },
        [](Builder& b) -> IDispatch* { return b.DimPtrI(0).GetInterfacePtr(); },
        [](Builder& b) -> IDispatch* { return b.DimPtrI(1).GetInterfacePtr(); },
    };
    for (const Container container : kContainers) {
        for (const Access access : accessors) {
            Scene scene;
            ProfileHost host(scene, container);
            Builder builder = makeBuilder(host);
            (void)access(builder);
            EXPECT_EQ(builder.Status(), 0);
            const std::size_t asked = scene.world.Calls().size();
            EXPECT_GT(asked, 0u);
            (void)access(builder);
            EXPECT_EQ(scene.world.Calls().size(), asked) << "once";
        }
    }
}

TEST(ktmdl_BldRectangularProfile, ContainerIsGivenAsWhatItIs)
{
    for (const Container container : kContainers) {
        SCOPED_TRACE(nameOf(container));
        Scene scene;
        ProfileHost host(scene, container);
        Builder builder = makeBuilder(host);
        IDispatch* const made = &host.At(nameOf(container));
        EXPECT_EQ(builder.Sketch().GetInterfacePtr(),
                  container == Container::Sketch ? made : nullptr);
        EXPECT_EQ(builder.ProfileSet().GetInterfacePtr(),
                  container == Container::ProfileSet ? made : nullptr);
        EXPECT_EQ(builder.Layout().GetInterfacePtr(),
                  container == Container::Layout ? made : nullptr);
        EXPECT_EQ(builder.Profile().GetInterfacePtr(), &host.At("prof"));
        scene.ExpectLog({});
    }
}

TEST(ktmdl_BldRectangularProfile, DimensionsAreGivenOfAConstrainedRectangleOnly)
{
    for (const Container container : kContainers) {
        SCOPED_TRACE(nameOf(container));
        {
            Scene scene;
            ProfileHost host(scene, container);
            Builder builder = makeBuilder(host, kConstrained);
            EXPECT_EQ(builder.DimPtrI(0).GetInterfacePtr(), &host.At("dim1")) << "of the width";
            EXPECT_EQ(builder.DimPtrI(1).GetInterfacePtr(), &host.At("dim2")) << "of the height";
        }
        Scene scene;
        ProfileHost host(scene, container);
        Builder builder = makeBuilder(host);
        EXPECT_EQ(builder.DimPtrI(0).GetInterfacePtr(), nullptr);
        EXPECT_EQ(builder.DimPtrI(1).GetInterfacePtr(), nullptr);
        EXPECT_EQ(builder.Status(), 0);
    }
}

TEST(ktmdl_BldRectangularProfile, WhatWasGivenOutlivesTheBuilder)
{
    Scene scene;
    ProfileHost host(scene, Container::Sketch);
    ktmdl_host::ProfilePtr profile;
    ktmdl_host::SketchPtr sketch;
    ktmdl_host::DimensionPtr dimension;
    {
        Builder builder = makeBuilder(host, kConstrained);
        profile = builder.Profile();
        sketch = builder.Sketch();
        dimension = builder.DimPtrI(1);
    }
    EXPECT_EQ(scene.world.HeldObjects(),
              (std::vector<std::string>{"sketch 1", "prof 1", "dim2 1"}));
}

// Lifetime

TEST(ktmdl_BldRectangularProfile, SecondComputeAsksNothing)
{
    for (const Container container : kContainers) {
        Scene scene;
        ProfileHost host(scene, container);
        Builder builder = makeBuilder(host, kBoth);
        EXPECT_EQ(builder.Compute(), 0);
        EXPECT_EQ(scene.world.LastCall(), "prof.100(I4 1)");
        scene.world.Forget();
        EXPECT_EQ(builder.Compute(), 0);
        scene.ExpectNoCalls();
        scene.ExpectLog({});
    }
}

TEST(ktmdl_BldRectangularProfile, OnlyTheResultIsHeldAfterCompute)
{
    for (const Container container : kContainers) {
        SCOPED_TRACE(nameOf(container));
        Scene scene;
        ProfileHost host(scene, container);
        {
            Builder builder = makeBuilder(host, kBoth);
            EXPECT_EQ(builder.Compute(), 0);
            for (const char* const name :
                 {"line1", "line2", "line3", "line4", "lines", "rels", "relation", "dims",
                  "projected", "defaults", "plane1", "plane2", "plane3"}) {
                EXPECT_EQ(host.At(name).Held(), 0) << name;
            }
            for (const char* const name :
                 {"doc", "plane", "prof", "dim1", "dim2", nameOf(container)}) {
                EXPECT_EQ(host.At(name).Held(), 1) << name;
            }
        }
        EXPECT_TRUE(scene.world.HeldObjects().empty());
    }
}
