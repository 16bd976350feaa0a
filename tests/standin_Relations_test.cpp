//! Relations and dimensions in a profile, and what they do to its lines.

#include "support/CensusGuard.h"
#include "support/HostDrawing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace support;
using standin::ProfileView;
using standin::RelationKind;
using Ends = std::array<double, 4>;

void expectEnds(const IDispatchPtr& line, const Ends& expected, const char* what = "")
{
    const Ends ends = endsOf(line);
    for (std::size_t i = 0; i < ends.size(); ++i) {
        EXPECT_NEAR(ends[i], expected[i], 1e-12) << what << ", number " << i;
    }
}

class standin_Relations : public HostTest
{
protected:
    [[nodiscard]] IDispatchPtr line(double x1, double y1, double x2, double y2) const
    {
        return addLine(profile, x1, y1, x2, y2);
    }
    [[nodiscard]] ProfileView view() const { return session.profiles(document).at(0); }

    standin::Session session;
    IDispatchPtr document = openBody(session, plainBox());
    IDispatchPtr profile = newProfile(document);
};

TEST_F(standin_Relations, WhatHoldsAlreadyMovesNothing)
{
    const IDispatchPtr a = line(0.1, 0.3, 0.7, 0.3);
    const IDispatchPtr b = line(0.7, 0.3, 0.7, 0.9);
    EXPECT_TRUE(addRelation(profile, kAddHorizontal, a).ok());
    EXPECT_TRUE(addRelation(profile, kAddVertical, b).ok());
    EXPECT_TRUE(addRelation(profile, kAddKeypoint, a, 1, b, 0).ok());
    EXPECT_EQ(endsOf(a), (Ends{0.1, 0.3, 0.7, 0.3}));
    EXPECT_EQ(endsOf(b), (Ends{0.7, 0.3, 0.7, 0.9}));
}

TEST_F(standin_Relations, AreCountedAndListed)
{
    const IDispatchPtr a = line(0.0, 0.0, 0.1, 0.0);
    const IDispatchPtr b = line(0.1, 0.0, 0.1, 0.1);
    need(addRelation(profile, kAddHorizontal, a));
    const IDispatchPtr joint = need(addRelation(profile, kAddKeypoint, a, 1, b, 0));
    need(addRelation(profile, kAddVerticalAlign, a, 2, b, 2));
    EXPECT_EQ(get(relationsOf(profile), 12).number(), 3);
    EXPECT_EQ(item(relationsOf(profile), 2).GetInterfacePtr(), joint.GetInterfacePtr());
    const std::vector<standin::SketchRelation> relations = view().relations;
    ASSERT_EQ(relations.size(), 3u);
    EXPECT_EQ(relations[0].kind, RelationKind::horizontal);
    EXPECT_EQ(relations[0].line, 0u);
    EXPECT_EQ(relations[0].otherLine, standin::geom::kNone);
    EXPECT_EQ(relations[1].kind, RelationKind::keypoint);
    EXPECT_EQ(relations[1].keypoint, 1);
    EXPECT_EQ(relations[1].otherLine, 1u);
    EXPECT_EQ(relations[1].otherKeypoint, 0);
    EXPECT_EQ(relations[2].kind, RelationKind::verticalAlign);
    EXPECT_EQ(relations[2].keypoint, 2);
}

TEST_F(standin_Relations, ASlantedLineIsTurned)
{
    const IDispatchPtr a = line(0.0, 0.0, 0.4, 0.2);
    EXPECT_TRUE(addRelation(profile, kAddHorizontal, a).ok());
    expectEnds(a, {0.0, 0.1, 0.4, 0.1}, "each end moves by half");
    const IDispatchPtr b = line(1.0, 1.0, 1.2, 2.0);
    EXPECT_TRUE(addRelation(profile, kAddVertical, b).ok());
    expectEnds(b, {1.1, 1.0, 1.1, 2.0});
}

TEST_F(standin_Relations, AKeypointRelationBringsPointsTogether)
{
    const IDispatchPtr a = line(0.0, 0.0, 0.1, 0.0);
    const IDispatchPtr b = line(0.2, 0.2, 0.4, 0.4);
    EXPECT_TRUE(addRelation(profile, kAddKeypoint, a, 1, b, 0).ok());
    expectEnds(a, {0.0, 0.0, 0.15, 0.1});
    expectEnds(b, {0.15, 0.1, 0.4, 0.4});
}

TEST_F(standin_Relations, MiddlesAreAligned)
{
    const IDispatchPtr a = line(0.0, 0.0, 0.2, 0.0);
    const IDispatchPtr plane = need(method(profile, 113, {objectValue(planeOf(document, 2))}));
    EXPECT_TRUE(addRelation(profile, kAddVerticalAlign, a, 2, plane, 2).ok());
    expectEnds(a, {-0.1, 0.0, 0.1, 0.0}, "the middle goes to x = 0");
    expectEnds(plane, {0.0, -0.1, 0.0, 0.1}, "the plane stays");
    const IDispatchPtr b = line(0.3, 0.2, 0.3, 0.4);
    EXPECT_TRUE(addRelation(profile, kAddHorizontalAlign, b, 2, plane, 2).ok());
    expectEnds(b, {0.3, -0.1, 0.3, 0.1}, "the middle goes to y = 0");
}

TEST_F(standin_Relations, EarlierRelationsGoOnHolding)
{
    const IDispatchPtr a = line(0.0, 0.0, 0.2, 0.0);
    const IDispatchPtr b = line(0.2, 0.0, 0.3, 0.2);
    need(addRelation(profile, kAddHorizontal, a));
    need(addRelation(profile, kAddKeypoint, a, 1, b, 0));
    need(addRelation(profile, kAddVertical, b));
    const Ends first = endsOf(a);
    const Ends second = endsOf(b);
    EXPECT_NEAR(first[1], first[3], 1e-12);
    EXPECT_NEAR(first[2], second[0], 1e-12);
    EXPECT_NEAR(first[3], second[1], 1e-12);
    EXPECT_NEAR(second[0], second[2], 1e-12);
}

TEST_F(standin_Relations, WhatCanNotHoldIsRefusedAndChangesNothing)
{
    const IDispatchPtr a = line(0.0, 0.0, 0.4, 0.2);
    need(addRelation(profile, kAddHorizontal, a));
    const Ends before = endsOf(a);
    EXPECT_EQ(addRelation(profile, kAddVertical, a).failure(), E_FAIL) << "no length would be left";
    EXPECT_EQ(addRelation(profile, kAddKeypoint, a, 0, a, 1).failure(), E_FAIL);
    const IDispatchPtr right = need(method(profile, 113, {objectValue(planeOf(document, 2))}));
    const IDispatchPtr front = need(method(profile, 113, {objectValue(planeOf(document, 3))}));
    EXPECT_EQ(addRelation(profile, kAddHorizontal, right).failure(), E_FAIL) << "it can't move";
    EXPECT_EQ(addRelation(profile, kAddKeypoint, right, 0, front, 0).failure(), E_FAIL);
    EXPECT_EQ(endsOf(a), before);
    EXPECT_EQ(get(relationsOf(profile), 12).number(), 1);
    EXPECT_EQ(view().relations.size(), 1u);
    EXPECT_TRUE(addRelation(profile, kAddVertical, right).ok()) << "it is";
}

TEST_F(standin_Relations, TheSameRelationTwiceIsNoConflict)
{
    const IDispatchPtr a = line(0.0, 0.0, 0.4, 0.2);
    EXPECT_TRUE(addRelation(profile, kAddHorizontal, a).ok());
    EXPECT_TRUE(addRelation(profile, kAddHorizontal, a).ok());
    const IDispatchPtr b = line(0.4, 0.5, 0.4, 0.7);
    EXPECT_TRUE(addRelation(profile, kAddHorizontalAlign, a, 0, b, 0).ok())
        << "with two equations that say the same";
    EXPECT_NEAR(endsOf(a)[1], endsOf(b)[1], 1e-12);
    EXPECT_NEAR(endsOf(a)[3], endsOf(b)[1], 1e-12);
}

TEST_F(standin_Relations, KeypointsThatALineHasNotAreRefused)
{
    const IDispatchPtr a = line(0.0, 0.0, 0.1, 0.0);
    const IDispatchPtr b = line(0.1, 0.0, 0.1, 0.1);
    for (const DISPID kind : {kAddKeypoint, kAddHorizontalAlign, kAddVerticalAlign}) {
        for (const LONG wrong : {LONG{-1}, LONG{3}}) {
            EXPECT_EQ(addRelation(profile, kind, a, wrong, b, 0).failure(), E_INVALIDARG);
            const Outcome second = addRelation(profile, kind, a, 0, b, wrong);
            EXPECT_EQ(second.failure(), E_INVALIDARG);
            EXPECT_EQ(second.argument, 1u) << "counted from the last one";
        }
        EXPECT_EQ(addRelation(profile, kind, a, 1, a, 1).failure(), E_INVALIDARG);
    }
    EXPECT_EQ(get(relationsOf(profile), 12).number(), 0);
}

TEST_F(standin_Relations, OnlyLinesOfTheProfileAreTaken)
{
    const IDispatchPtr a = line(0.0, 0.0, 0.1, 0.0);
    const IDispatchPtr otherProfile = newProfile(document);
    const IDispatchPtr b = addLine(otherProfile, 0.1, 0.0, 0.1, 0.1);
    const IDispatchPtr otherDocument = openBody(session, plainBox(), "other");
    const IDispatchPtr c = addLine(newProfile(otherDocument), 0.1, 0.0, 0.1, 0.1);
    for (const IDispatchPtr& foreign : {b, c}) {
        EXPECT_EQ(addRelation(profile, kAddKeypoint, a, 1, foreign, 0).failure(), E_INVALIDARG);
        EXPECT_EQ(addRelation(profile, kAddVertical, foreign).failure(), E_INVALIDARG);
        EXPECT_EQ(method(dimensionsOf(profile), 100, {objectValue(foreign)}).failure(),
                  E_INVALIDARG);
    }
    const IDispatchPtr dimension = addLength(profile, a);
    for (const IDispatchPtr& noLine : {profile, dimension, document, planeOf(document, 1)}) {
        EXPECT_EQ(addRelation(profile, kAddHorizontal, noLine).code, DISP_E_TYPEMISMATCH);
        EXPECT_EQ(addRelation(profile, kAddKeypoint, a, 1, noLine, 0).code, DISP_E_TYPEMISMATCH);
        EXPECT_EQ(method(dimensionsOf(profile), 100, {objectValue(noLine)}).code,
                  DISP_E_TYPEMISMATCH);
    }
    EXPECT_EQ(method(relationsOf(profile), kAddHorizontal, {objectValue(nullptr)}).code, E_POINTER);
    EXPECT_EQ(get(relationsOf(profile), 12).number(), 0);
}

TEST_F(standin_Relations, TheLastArgumentIsAFlagOrLeftOut)
{
    const IDispatchPtr a = line(0.0, 0.0, 0.1, 0.0);
    const IDispatchPtr relations = relationsOf(profile);
    EXPECT_TRUE(method(relations, kAddHorizontal, {objectValue(a)}).ok());
    EXPECT_TRUE(method(relations, kAddHorizontal, {objectValue(a), missing()}).ok());
    EXPECT_TRUE(method(relations, kAddHorizontal, {objectValue(a), value(true)}).ok());
    EXPECT_EQ(method(relations, kAddHorizontal, {objectValue(a), objectValue(a)}).code,
              DISP_E_TYPEMISMATCH);
}

TEST_F(standin_Relations, ANewDimensionMeasures)
{
    const IDispatchPtr a = line(0.0, 0.0, 0.3, 0.4);
    const IDispatchPtr dimension = addLength(profile, a);
    EXPECT_EQ(get(dimensionsOf(profile), 3).number(), 1);
    EXPECT_EQ(item(dimensionsOf(profile), 1).GetInterfacePtr(), dimension.GetInterfacePtr());
    EXPECT_NEAR(get(dimension, 0).real(), 0.5, 1e-15);
    EXPECT_FALSE(get(dimension, 4).flag());
    EXPECT_EQ(get(dimension, 3).number(), 1);
    EXPECT_EQ(put(dimension, 0, value(0.6)).failure(), E_FAIL);
    need(addRelation(profile, kAddHorizontal, a));
    EXPECT_NEAR(get(dimension, 0).real(), 0.3, 1e-12) << "it follows the line";
}

TEST_F(standin_Relations, ADrivingDimensionSetsTheLength)
{
    const IDispatchPtr a = line(0.0, 0.0, 0.3, 0.4);
    const IDispatchPtr dimension = addLength(profile, a);
    EXPECT_EQ(put(dimension, 4, value(true)).code, S_OK);
    expectEnds(a, {0.0, 0.0, 0.3, 0.4}, "nothing moves when it starts to drive");
    EXPECT_EQ(put(dimension, 0, value(1.0)).code, S_OK);
    EXPECT_EQ(get(dimension, 0).real(), 1.0);
    expectEnds(a, {-0.15, -0.2, 0.45, 0.6}, "both ends move alike");
    EXPECT_EQ(put(dimension, 4, value(false)).code, S_OK);
    EXPECT_NEAR(get(dimension, 0).real(), 1.0, 1e-12);
    const standin::LengthView length = view().dimensions.at(0);
    EXPECT_EQ(length.line, 0u);
    EXPECT_FALSE(length.driving);
}

TEST_F(standin_Relations, LengthsThatCanNotBeAreRefused)
{
    const IDispatchPtr a = line(0.0, 0.0, 0.1, 0.0);
    const IDispatchPtr dimension = addLength(profile, a);
    ASSERT_TRUE(put(dimension, 4, value(true)).ok());
    for (const double wrong : {0.0, -0.1, 1e-10, std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(put(dimension, 0, value(wrong)).failure(), E_INVALIDARG) << wrong;
    }
    EXPECT_EQ(endsOf(a), (Ends{0.0, 0.0, 0.1, 0.0}));
    EXPECT_EQ(get(dimension, 0).real(), 0.1);
    const IDispatchPtr plane = need(method(profile, 113, {objectValue(planeOf(document, 2))}));
    EXPECT_EQ(method(dimensionsOf(profile), 100, {objectValue(plane)}).failure(), E_INVALIDARG);
}

TEST_F(standin_Relations, DimensionsThatContradictAreRefused)
{
    const IDispatchPtr a = line(0.0, 0.0, 0.1, 0.0);
    const IDispatchPtr first = addLength(profile, a);
    const IDispatchPtr second = addLength(profile, a);
    ASSERT_TRUE(put(first, 4, value(true)).ok());
    ASSERT_TRUE(put(second, 4, value(true)).ok());
    EXPECT_EQ(put(second, 0, value(0.2)).failure(), E_FAIL);
    EXPECT_EQ(get(second, 0).real(), 0.1);
    EXPECT_EQ(endsOf(a), (Ends{0.0, 0.0, 0.1, 0.0}));
}

TEST_F(standin_Relations, LengthsAreAmongTheVariables)
{
    const IDispatchPtr a = line(0.0, 0.0, 0.1, 0.0);
    session.addVariable(document, {});
    const IDispatchPtr dimension = addLength(profile, a);
    const IDispatchPtr variables = need(get(document, 8193));
    ASSERT_EQ(get(variables, 20).number(), 2);
    EXPECT_EQ(item(variables, 2).GetInterfacePtr(), dimension.GetInterfacePtr());
    EXPECT_EQ(get(dimension, 17502).text(), "V2");
    EXPECT_EQ(view().dimensions.at(0).systemName, "V2");
}

//! A rectangle, drawn off centre and tied to the default planes.
class standin_Rectangle : public standin_Relations
{
protected:
    void draw(double left, double bottom, double right, double top)
    {
        sides = addPolygon(profile, {{left, bottom}, {right, bottom}, {right, top}, {left, top}});
        const IDispatchPtr plane = need(method(profile, 113, {objectValue(planeOf(document, 2))}));
        need(addRelation(profile, kAddHorizontal, sides[0]));
        need(addRelation(profile, kAddHorizontal, sides[2]));
        need(addRelation(profile, kAddVertical, sides[1]));
        need(addRelation(profile, kAddVertical, sides[3]));
        need(addRelation(profile, kAddVerticalAlign, sides[0], 2, plane, 2));
        need(addRelation(profile, kAddHorizontalAlign, sides[1], 2, plane, 2));
        width = addLength(profile, sides[0]);
        height = addLength(profile, sides[1]);
        ASSERT_TRUE(put(width, 4, value(true)).ok());
        ASSERT_TRUE(put(height, 4, value(true)).ok());
    }
    void expectSize(double x, double y)
    {
        expectEnds(sides[0], {-x / 2, -y / 2, x / 2, -y / 2}, "bottom");
        expectEnds(sides[1], {x / 2, -y / 2, x / 2, y / 2}, "right");
        expectEnds(sides[2], {x / 2, y / 2, -x / 2, y / 2}, "top");
        expectEnds(sides[3], {-x / 2, y / 2, -x / 2, -y / 2}, "left");
    }

    std::vector<IDispatchPtr> sides;
    IDispatchPtr width;
    IDispatchPtr height;
};

TEST_F(standin_Rectangle, DrawnInPlaceItStays)
{
    draw(-0.04, -0.03, 0.04, 0.03);
    EXPECT_EQ(endsOf(sides[0]), (Ends{-0.04, -0.03, 0.04, -0.03}));
    EXPECT_TRUE(put(width, 0, value(0.08)).ok());
    EXPECT_TRUE(put(height, 0, value(0.06)).ok());
    expectSize(0.08, 0.06);
    EXPECT_EQ(method(profile, 100, {value(LONG{1})}).number(), 0);
}

TEST_F(standin_Rectangle, DrawnElsewhereItGoesToTheMiddle)
{
    draw(0.01, 0.02, 0.09, 0.06);
    expectSize(0.08, 0.04);
}

TEST_F(standin_Rectangle, ItsDimensionsChangeItsSize)
{
    draw(-0.04, -0.03, 0.04, 0.03);
    EXPECT_TRUE(put(width, 0, value(0.5)).ok());
    expectSize(0.5, 0.06);
    EXPECT_TRUE(put(height, 0, value(0.001)).ok());
    expectSize(0.5, 0.001);
    EXPECT_TRUE(put(width, 0, value(0.002)).ok());
    expectSize(0.002, 0.001);
    EXPECT_EQ(method(profile, 100, {value(LONG{1 | 4 | 8})}).number(), 0);
}

TEST_F(standin_Rectangle, IsFullyTiedDown)
{
    draw(-0.04, -0.03, 0.04, 0.03);
    const IDispatchPtr other = addLength(profile, sides[2]);
    ASSERT_TRUE(put(other, 4, value(true)).ok());
    EXPECT_EQ(put(other, 0, value(0.09)).failure(), E_FAIL) << "the opposite side says otherwise";
    expectSize(0.08, 0.06);
    const IDispatchPtr plane = need(method(profile, 113, {objectValue(planeOf(document, 3))}));
    EXPECT_EQ(addRelation(profile, kAddKeypoint, sides[0], 0, plane, 2).failure(), E_FAIL);
    expectSize(0.08, 0.06);
}

TEST_F(standin_Rectangle, CanBeReadWithoutAutomation)
{
    draw(-0.04, -0.03, 0.04, 0.03);
    put(width, 19, value(0.015));
    put(width, 14, value(true));
    ASSERT_EQ(method(profile, 100, {value(LONG{1})}).number(), 0);
    const ProfileView rectangle = view();
    EXPECT_EQ(rectangle.lines.size(), 5u);
    EXPECT_EQ(rectangle.relations.size(), 10u);
    ASSERT_EQ(rectangle.dimensions.size(), 2u);
    EXPECT_EQ(rectangle.dimensions[0].line, 0u);
    EXPECT_EQ(rectangle.dimensions[1].line, 1u);
    EXPECT_NEAR(rectangle.dimensions[0].value, 0.08, 1e-15);
    EXPECT_TRUE(rectangle.dimensions[0].driving);
    EXPECT_EQ(rectangle.dimensions[0].trackDistance, 0.015);
    EXPECT_TRUE(rectangle.dimensions[0].projectionLineDirection);
    EXPECT_TRUE(rectangle.finished);
}

TEST_F(standin_Relations, AContradictionIsFoundInALongChain)
{
    std::vector<IDispatchPtr> lines;
    for (int i = 0; i < 100; ++i) {
        lines.push_back(line(i, 0.0, i + 1.0, 0.0));
        if (i > 0) {
            need(addRelation(profile, kAddKeypoint, lines[lines.size() - 2], 1, lines.back(), 0));
        }
    }
    const IDispatchPtr right = need(method(profile, 113, {objectValue(planeOf(document, 2))}));
    need(addRelation(profile, kAddVerticalAlign, lines.front(), 0, right, 2));
    session.addRefPlane(document, {"shifted", {0.5, 0.0, 0.0}, {1.0, 0.0, 0.0}, {}});
    const IDispatchPtr shifted = need(method(profile, 113, {objectValue(planeOf(document, 4))}));
    EXPECT_TRUE(addRelation(profile, kAddVerticalAlign, lines.back(), 1, shifted, 2).ok())
        << "lengths are free";
    expectEnds(shifted, {0.5, -0.1, 0.5, 0.1});
    EXPECT_NEAR(endsOf(lines.back())[2], 0.5, 1e-10);
    EXPECT_NEAR(endsOf(lines.front())[0], 0.0, 1e-10);
    const Ends before = endsOf(lines[50]);
    EXPECT_EQ(addRelation(profile, kAddVerticalAlign, lines.back(), 1, right, 2).failure(), E_FAIL);
    EXPECT_EQ(endsOf(lines[50]), before);
}

TEST_F(standin_Relations, ALargeProfileIsDrawnButNotMoved)
{
    std::vector<std::array<double, 2>> corners;
    for (int i = 0; i < 600; ++i) {
        const double angle = 2.0 * 3.14159265358979323846 * i / 600.0;
        corners.push_back({std::cos(angle), std::sin(angle)});
    }
    const std::vector<IDispatchPtr> lines = addPolygon(profile, corners);
    EXPECT_EQ(method(profile, 100, {value(LONG{1})}).number(), 0);
    EXPECT_EQ(addRelation(profile, kAddHorizontal, lines[0]).failure(), E_FAIL);
    EXPECT_EQ(view().relations.size(), 600u);
}

} // namespace
