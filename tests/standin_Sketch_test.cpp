//! Sketches, profile sets and layouts, profiles, lines, projected planes, and the end of a profile.

#include "support/AssemblyObjects.h"
#include "support/CensusGuard.h"
#include "support/HostDrawing.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace support;
using Ends = std::array<double, 4>;

constexpr double kInfinite = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class standin_Sketch : public HostTest
{
protected:
    //! Ends a profile by criteria.
    static LONG end(const IDispatchPtr& profile, LONG criteria = 1)
    {
        return method(profile, 100, {value(criteria)}).number();
    }
    [[nodiscard]] HRESULT lineFailure(const IDispatchPtr& profile, double x1, double y1, double x2,
                                      double y2) const
    {
        return method(linesOf(profile), 100, {value(x1), value(y1), value(x2), value(y2)})
            .failure();
    }

    standin::Session session;
    IDispatchPtr document = openBody(session, plainBox());
};

TEST_F(standin_Sketch, AFreshPartHasNothingDrawn)
{
    EXPECT_EQ(get(need(get(document, kSketches)), 5).number(), 0);
    EXPECT_EQ(get(need(get(document, kProfileSets)), 5).number(), 0);
    EXPECT_TRUE(session.profiles(document).empty());
}

TEST_F(standin_Sketch, SketchesAndProfileSetsAreCountedApart)
{
    const IDispatchPtr sketches = need(get(document, kSketches));
    const IDispatchPtr sets = need(get(document, kProfileSets));
    const IDispatchPtr first = need(method(sketches, 100));
    const IDispatchPtr set = need(method(sets, 100));
    const IDispatchPtr second = need(method(sketches, 100));
    EXPECT_EQ(get(sketches, 5).number(), 2);
    EXPECT_EQ(get(sets, 5).number(), 1);
    EXPECT_EQ(item(sketches, 1).GetInterfacePtr(), first.GetInterfacePtr());
    EXPECT_EQ(item(sketches, 2).GetInterfacePtr(), second.GetInterfacePtr());
    EXPECT_EQ(item(sets, 1).GetInterfacePtr(), set.GetInterfacePtr());
    EXPECT_EQ(named(first, L"Type", DISPATCH_PROPERTYGET).number(), 1689979564);
    EXPECT_EQ(named(set, L"Type", DISPATCH_PROPERTYGET).number(), -1521484909);
}

TEST_F(standin_Sketch, AProfileLiesOnAPlane)
{
    const IDispatchPtr sketch = need(method(need(get(document, kSketches)), 100));
    const IDispatchPtr profiles = need(get(sketch, 5));
    EXPECT_EQ(get(profiles, 5).number(), 0);
    const IDispatchPtr plane = planeOf(document, 2);
    const IDispatchPtr profile = need(method(profiles, 102, {objectValue(plane)}));
    EXPECT_EQ(get(profiles, 5).number(), 1);
    EXPECT_EQ(item(profiles, 1).GetInterfacePtr(), profile.GetInterfacePtr());
    EXPECT_EQ(named(profile, L"Type", DISPATCH_PROPERTYGET).number(), 1584866912);
    const std::vector<standin::ProfileView> views = session.profiles(document);
    ASSERT_EQ(views.size(), 1u);
    EXPECT_EQ(views[0].container, standin::ContainerKind::sketch);
    EXPECT_EQ(views[0].planeNumber, 2);
    EXPECT_EQ(views[0].plane.name, "Right (yz)");
    EXPECT_EQ(views[0].plane.normal.x, 1.0);
    EXPECT_FALSE(views[0].finished);
}

TEST_F(standin_Sketch, ViewsTellWhereAProfileStands)
{
    newProfile(document, 1, kProfileSets);
    newProfile(document, 1);
    const IDispatchPtr sketch = need(method(need(get(document, kSketches)), 100));
    const IDispatchPtr plane = planeOf(document, 3);
    need(method(need(get(sketch, 5)), 102, {objectValue(plane)}));
    need(method(need(get(sketch, 5)), 102, {objectValue(plane)}));
    const std::vector<standin::ProfileView> views = session.profiles(document);
    ASSERT_EQ(views.size(), 4u);
    EXPECT_EQ(views[0].container, standin::ContainerKind::profileSet);
    EXPECT_EQ(views[0].containerNumber, 1);
    EXPECT_EQ(views[3].container, standin::ContainerKind::sketch);
    EXPECT_EQ(views[3].containerNumber, 2);
    EXPECT_EQ(views[3].number, 2);
    EXPECT_EQ(views[3].planeNumber, 3);
}

TEST_F(standin_Sketch, AProfileTakesPlanesOfItsDocumentOnly)
{
    const IDispatchPtr sketch = need(method(need(get(document, kSketches)), 100));
    const IDispatchPtr profiles = need(get(sketch, 5));
    const IDispatchPtr other = openBody(session, plainBox(), "other");
    const IDispatchPtr foreign = planeOf(other, 1);
    EXPECT_EQ(method(profiles, 102, {objectValue(foreign)}).failure(), E_INVALIDARG);
    EXPECT_EQ(method(profiles, 102, {objectValue(faceOf(document, 1))}).code, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(method(profiles, 102, {objectValue(sketch)}).code, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(method(profiles, 102, {objectValue(nullptr)}).code, E_POINTER);
    EXPECT_EQ(get(profiles, 5).number(), 0);
    EXPECT_TRUE(session.profiles(document).empty());
}

TEST_F(standin_Sketch, LinesAreDrawnByTwoPoints)
{
    const IDispatchPtr profile = newProfile(document);
    const IDispatchPtr line = addLine(profile, 0.01, 0.02, 0.04, 0.06);
    EXPECT_EQ(get(linesOf(profile), 3).number(), 1);
    EXPECT_EQ(item(linesOf(profile), 1).GetInterfacePtr(), line.GetInterfacePtr());
    EXPECT_EQ(endsOf(line), (Ends{0.01, 0.02, 0.04, 0.06}));
    EXPECT_NEAR(named(line, L"Length", DISPATCH_PROPERTYGET).real(), 0.05, 1e-16);
    const standin::ProfileView view = session.profiles(document).at(0);
    ASSERT_EQ(view.lines.size(), 1u);
    EXPECT_EQ(view.lines[0].end.y, 0.06);
    EXPECT_EQ(view.lines[0].plane, standin::geom::kNone);
}

TEST_F(standin_Sketch, LinesThatCanNotBeAreRefused)
{
    const IDispatchPtr profile = newProfile(document);
    EXPECT_EQ(lineFailure(profile, 0.1, 0.2, 0.1, 0.2), E_INVALIDARG);
    EXPECT_EQ(lineFailure(profile, 0.1, 0.2, 0.1 + 1e-10, 0.2), E_INVALIDARG);
    EXPECT_EQ(lineFailure(profile, kNaN, 0.0, 0.1, 0.0), E_INVALIDARG);
    EXPECT_EQ(lineFailure(profile, 0.0, 0.0, 0.1, kInfinite), E_INVALIDARG);
    EXPECT_EQ(lineFailure(profile, -1e308, 0.0, 1e308, 0.0), E_INVALIDARG);
    EXPECT_EQ(get(linesOf(profile), 3).number(), 0);
}

TEST_F(standin_Sketch, AProjectedPlaneIsALineNextToTheOrigin)
{
    const IDispatchPtr profile = newProfile(document, 1);
    const IDispatchPtr right = need(method(profile, 113, {objectValue(planeOf(document, 2))}));
    EXPECT_EQ(endsOf(right), (Ends{0.0, -0.1, 0.0, 0.1})) << "x = 0 in the top plane";
    const IDispatchPtr front = need(method(profile, 113, {objectValue(planeOf(document, 3))}));
    EXPECT_EQ(endsOf(front), (Ends{0.1, 0.0, -0.1, 0.0})) << "y = 0 in the top plane";
    EXPECT_EQ(get(linesOf(profile), 3).number(), 0) << "nobody drew them";
    const standin::ProfileView view = session.profiles(document).at(0);
    ASSERT_EQ(view.lines.size(), 2u);
    EXPECT_EQ(view.lines[0].plane, 1u);
    EXPECT_EQ(view.lines[1].plane, 2u);
}

TEST_F(standin_Sketch, AProjectedPlaneIsShiftedByItsRoot)
{
    // Both look along z; the profile's x axis is the world's y, its y axis the world's -x.
    session.addRefPlane(document, {"a", {0.2, 0.3, 0.5}, {0.0, 0.0, 1.0}, {0.0, 1.0, 0.0}});
    session.addRefPlane(document, {"b", {7.0, 0.35, 9.0}, {0.0, 1.0, 0.0}, {}});
    const IDispatchPtr profile = newProfile(document, 4);
    const IDispatchPtr line = need(method(profile, 113, {objectValue(planeOf(document, 5))}));
    const Ends ends = endsOf(line);
    EXPECT_NEAR(ends[0], 0.05, 1e-15);
    EXPECT_NEAR(ends[1], -0.1, 1e-15);
    EXPECT_NEAR(ends[2], 0.05, 1e-15);
    EXPECT_NEAR(ends[3], 0.1, 1e-15);
}

TEST_F(standin_Sketch, ProjectingAPlaneAgainGivesTheSameLine)
{
    const IDispatchPtr profile = newProfile(document, 3);
    const IDispatchPtr plane = planeOf(document, 2);
    const IDispatchPtr line = need(method(profile, 113, {objectValue(plane)}));
    EXPECT_EQ(need(method(profile, 113, {objectValue(plane)})).GetInterfacePtr(),
              line.GetInterfacePtr());
    EXPECT_EQ(session.profiles(document).at(0).lines.size(), 1u);
}

TEST_F(standin_Sketch, OnlyPlanesAtRightAnglesAreProjected)
{
    session.addRefPlane(document, {"slanted", {}, {0.0, 1.0, 1.0}, {1.0, 0.0, 0.0}});
    const IDispatchPtr profile = newProfile(document, 1);
    for (const LONG plane : {LONG{1}, LONG{4}}) {
        EXPECT_EQ(method(profile, 113, {objectValue(planeOf(document, plane))}).failure(),
                  E_INVALIDARG);
    }
    const IDispatchPtr other = openBody(session, plainBox(), "other");
    EXPECT_EQ(method(profile, 113, {objectValue(planeOf(other, 2))}).failure(), E_INVALIDARG);
    EXPECT_EQ(method(profile, 113, {objectValue(profile)}).code, DISP_E_TYPEMISMATCH);
    EXPECT_TRUE(session.profiles(document).at(0).lines.empty());
}

TEST_F(standin_Sketch, JoinedLinesCloseAProfile)
{
    const IDispatchPtr profile = newProfile(document);
    addPolygon(profile, {{0.0, 0.0}, {0.1, 0.0}, {0.1, 0.1}, {0.0, 0.1}});
    EXPECT_EQ(end(profile), 0);
    EXPECT_TRUE(session.profiles(document).at(0).finished);
}

TEST_F(standin_Sketch, LinesThatMerelyMeetDoNotCloseAProfile)
{
    const IDispatchPtr profile = newProfile(document);
    addLine(profile, 0.0, 0.0, 0.1, 0.0);
    addLine(profile, 0.1, 0.0, 0.0, 0.1);
    addLine(profile, 0.0, 0.1, 0.0, 0.0);
    EXPECT_EQ(end(profile), -1);
    EXPECT_FALSE(session.profiles(document).at(0).finished);
}

TEST_F(standin_Sketch, AnOpenOrABranchingProfileIsNotClosed)
{
    const IDispatchPtr empty = newProfile(document);
    EXPECT_EQ(end(empty), -1) << "nothing is drawn";
    const IDispatchPtr open = newProfile(document);
    const IDispatchPtr first = addLine(open, 0.0, 0.0, 0.1, 0.0);
    const IDispatchPtr second = addLine(open, 0.1, 0.0, 0.1, 0.1);
    need(addRelation(open, kAddKeypoint, first, 1, second, 0));
    EXPECT_EQ(end(open), -1);
    const IDispatchPtr branching = newProfile(document);
    const std::vector<IDispatchPtr> lines =
        addPolygon(branching, {{0.0, 0.0}, {0.1, 0.0}, {0.0, 0.1}});
    EXPECT_EQ(end(branching), 0);
    const IDispatchPtr branch = addLine(branching, 0.0, 0.0, -0.1, -0.1);
    need(addRelation(branching, kAddKeypoint, branch, 0, lines[0], 0));
    EXPECT_EQ(end(branching), -1);
}

TEST_F(standin_Sketch, ProjectedPlanesAndMiddlesCloseNothing)
{
    const IDispatchPtr profile = newProfile(document);
    const std::vector<IDispatchPtr> lines =
        addPolygon(profile, {{0.0, 0.0}, {0.1, 0.0}, {0.0, 0.1}});
    const IDispatchPtr plane = need(method(profile, 113, {objectValue(planeOf(document, 2))}));
    need(addRelation(profile, kAddKeypoint, lines[0], 0, plane, 2));
    EXPECT_EQ(end(profile), 0) << "neither a line more nor an end more at the corner";
}

TEST_F(standin_Sketch, DrawingMoreUndoesTheEnd)
{
    const IDispatchPtr profile = newProfile(document);
    addPolygon(profile, {{0.0, 0.0}, {0.1, 0.0}, {0.0, 0.1}});
    ASSERT_EQ(end(profile), 0);
    addLine(profile, 1.0, 1.0, 2.0, 1.0);
    EXPECT_FALSE(session.profiles(document).at(0).finished);
}

TEST_F(standin_Sketch, SeveralLoopsAreClosedButNotSingle)
{
    const IDispatchPtr profile = newProfile(document);
    addPolygon(profile, {{0.0, 0.0}, {0.1, 0.0}, {0.0, 0.1}});
    EXPECT_EQ(end(profile, 1 | 4), 0);
    addPolygon(profile, {{1.0, 0.0}, {1.1, 0.0}, {1.0, 0.1}});
    EXPECT_EQ(end(profile, 1), 0);
    EXPECT_EQ(end(profile, 1 | 4), -1);
    EXPECT_EQ(end(profile, 1 | 8 | 32 | 8192), 0);
}

TEST_F(standin_Sketch, LinesThatCrossOrTouchAreFoundWhenAskedFor)
{
    const IDispatchPtr bow = newProfile(document);
    addPolygon(bow, {{0.0, 0.0}, {0.1, 0.1}, {0.1, 0.0}, {0.0, 0.1}});
    EXPECT_EQ(end(bow, 1), 0);
    EXPECT_EQ(end(bow, 1 | 8), -1);
    const IDispatchPtr touching = newProfile(document);
    addPolygon(touching, {{0.0, 0.0}, {0.2, 0.0}, {0.2, 0.1}, {0.1, 0.0}, {0.0, 0.1}});
    EXPECT_EQ(end(touching, 1 | 8), -1);
    const IDispatchPtr folded = newProfile(document);
    addPolygon(folded, {{0.0, 0.0}, {0.2, 0.0}, {0.1, 0.0}, {0.1, 0.1}});
    EXPECT_EQ(end(folded, 1 | 8), -1) << "the second line lies along the first";
    const IDispatchPtr plain = newProfile(document);
    addPolygon(plain, {{0.0, 0.0}, {0.2, 0.0}, {0.2, 0.1}, {0.1, 0.05}, {0.0, 0.1}});
    EXPECT_EQ(end(plain, 1 | 8), 0);
}

TEST_F(standin_Sketch, ARequiredAxisIsNeverThereAndUnknownCriteriaAreRefused)
{
    const IDispatchPtr profile = newProfile(document);
    addPolygon(profile, {{0.0, 0.0}, {0.1, 0.0}, {0.0, 0.1}});
    EXPECT_EQ(end(profile, 0), 0);
    EXPECT_EQ(end(profile, 1 | 16), -1);
    for (const LONG criteria : {LONG{2}, LONG{64}, LONG{-1}}) {
        EXPECT_EQ(method(profile, 100, {value(criteria)}).failure(), E_INVALIDARG) << criteria;
    }
}

TEST_F(standin_Sketch, TheSameLineIsTheSameObjectUntilItIsReleased)
{
    const IDispatchPtr profile = newProfile(document);
    addLine(profile, 0.0, 0.0, 0.1, 0.0);
    EXPECT_EQ(session.census().live("Line2d"), 0);
    const IDispatchPtr line = item(linesOf(profile), 1);
    EXPECT_EQ(item(linesOf(profile), 1).GetInterfacePtr(), line.GetInterfacePtr());
    EXPECT_EQ(session.census().live("Line2d"), 1);
}

TEST_F(standin_Sketch, EverythingDrawnGoesWithItsDocument)
{
    const IDispatchPtr sketches = need(get(document, kSketches));
    const IDispatchPtr profile = newProfile(document);
    const IDispatchPtr line = addLine(profile, 0.0, 0.0, 0.1, 0.0);
    const IDispatchPtr relation = need(addRelation(profile, kAddHorizontal, line));
    const IDispatchPtr dimension = addLength(profile, line);
    const std::vector<IDispatchPtr> all{sketches,
                                        item(sketches, 1),
                                        need(get(item(sketches, 1), 5)),
                                        profile,
                                        linesOf(profile),
                                        relationsOf(profile),
                                        dimensionsOf(profile),
                                        line,
                                        relation,
                                        dimension};
    session.close(document);
    for (const IDispatchPtr& object : all) {
        EXPECT_EQ(get(object, 5).code, RPC_E_DISCONNECTED);
        EXPECT_EQ(named(object, L"Count", DISPATCH_PROPERTYGET).code, RPC_E_DISCONNECTED);
    }
    EXPECT_THROW((void)session.profiles(document), standin::HostError);
}

TEST_F(standin_Sketch, FaultsStrikeAsElsewhere)
{
    const IDispatchPtr profile = newProfile(document);
    session.faults().failMember("AddBy2Points", E_OUTOFMEMORY);
    EXPECT_EQ(lineFailure(profile, 0.0, 0.0, 0.1, 0.0), E_OUTOFMEMORY);
    EXPECT_TRUE(session.profiles(document).at(0).lines.empty());
    standin::Fault fault;
    fault.kind = standin::FaultKind::differentAnswer;
    fault.className = "Lines2d";
    fault.member = "Item";
    session.faults().add(fault);
    const IDispatchPtr line = addLine(profile, 0.0, 0.0, 0.1, 0.0);
    const IDispatchPtr twin = item(linesOf(profile), 1);
    EXPECT_NE(twin.GetInterfacePtr(), line.GetInterfacePtr());
    EXPECT_TRUE(addRelation(profile, kAddHorizontal, twin).ok()) << "it stands for the same line";
}

class standin_Layouts : public HostTest
{
protected:
    [[nodiscard]] Outcome add(LONG plane, std::vector<VARIANT> more = {}) const
    {
        const IDispatchPtr object = item(planes, plane);
        std::vector<VARIANT> arguments{objectValue(object)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return method(layouts, 1, arguments);
    }

    standin::Session session;
    IDispatchPtr assembly = session.openAssembly(viceModel(), "vice.asm");
    IDispatchPtr planes = need(get(assembly, 24578));
    IDispatchPtr layouts = need(get(assembly, 24584));
};

TEST_F(standin_Layouts, EachComesWithAProfile)
{
    const IDispatchPtr layout = need(add(2));
    EXPECT_EQ(get(layouts, 3).number(), 1);
    EXPECT_EQ(item(layouts, 1).GetInterfacePtr(), layout.GetInterfacePtr());
    EXPECT_EQ(named(layout, L"Type", DISPATCH_PROPERTYGET).number(), 911078209);
    const IDispatchPtr profile = need(get(layout, 3));
    addLine(profile, 0.0, 0.0, 0.1, 0.0);
    need(method(profile, 113, {objectValue(item(planes, 3))}));
    const std::vector<standin::ProfileView> views = session.profiles(assembly);
    ASSERT_EQ(views.size(), 1u);
    EXPECT_EQ(views[0].container, standin::ContainerKind::layout);
    EXPECT_EQ(views[0].planeNumber, 2);
    EXPECT_EQ(views[0].lines.size(), 2u);
}

TEST_F(standin_Layouts, AnExistingOneIsGivenWhenAskedFor)
{
    const IDispatchPtr first = need(add(1));
    EXPECT_NE(need(add(1)).GetInterfacePtr(), first.GetInterfacePtr());
    EXPECT_NE(need(add(1, {value(false)})).GetInterfacePtr(), first.GetInterfacePtr());
    _variant_t status;
    EXPECT_EQ(need(add(1, {value(true), reference(status)})).GetInterfacePtr(),
              first.GetInterfacePtr());
    EXPECT_EQ(V_I4(&status), 1);
    need(add(2, {value(true), reference(status)}));
    EXPECT_EQ(V_I4(&status), 0);
    EXPECT_EQ(get(layouts, 3).number(), 4);
    need(add(2, {missing(), missing()}));
    EXPECT_EQ(get(layouts, 3).number(), 5);
}

TEST_F(standin_Layouts, GoWithTheirAssembly)
{
    const IDispatchPtr layout = need(add(1));
    const IDispatchPtr profile = need(get(layout, 3));
    session.close(assembly);
    EXPECT_EQ(get(layouts, 3).code, RPC_E_DISCONNECTED);
    EXPECT_EQ(get(layout, 3).code, RPC_E_DISCONNECTED);
    EXPECT_EQ(get(profile, 10).code, RPC_E_DISCONNECTED);
}

TEST_F(standin_Layouts, TakePlanesOfAssembliesOnly)
{
    const IDispatchPtr part = openBody(session, plainBox());
    EXPECT_EQ(method(layouts, 1, {objectValue(planeOf(part, 1))}).code, DISP_E_TYPEMISMATCH);
    const IDispatchPtr other = session.openAssembly(viceModel(), "other.asm");
    const IDispatchPtr plane = item(need(get(other, 24578)), 1);
    EXPECT_EQ(method(layouts, 1, {objectValue(plane)}).failure(), E_INVALIDARG);
    EXPECT_EQ(get(layouts, 3).number(), 0);
}

} // namespace
