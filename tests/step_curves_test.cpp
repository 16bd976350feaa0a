#include "standin/step/Curves.h"
#include "standin/step/Edges.h"
#include "standin/step/StepFile.h"
#include "support/StepGeometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

using standin::geom::CurveKind;
using standin::geom::Edge;
using standin::geom::Vec;
using standin::step::EdgeFit;
using standin::step::fitEdge;
using standin::step::OrientedCurve;
using standin::step::StepError;
using test::curveOf;
using test::expectPoint;
using test::frame;

constexpr double kPi = 3.14159265358979323846;

// Curves

std::string lineText()
{
    return "#1=LINE('',#2,#3);\n#2=CARTESIAN_POINT('',(1.,2.,3.));\n"
           "#3=VECTOR('',#4,5.);\n#4=DIRECTION('',(0.,4.,0.));\n";
}

TEST(StepCurve, LineRunsByLengthAlongItsDirection)
{
    const OrientedCurve line = curveOf(lineText());
    EXPECT_EQ(line.curve->kind(), CurveKind::line);
    EXPECT_FALSE(line.reversed);
    expectPoint(line.curve->at(0.0), 1e-3, 2e-3, 3e-3);
    expectPoint(line.curve->at(0.5), 1e-3, 0.502, 3e-3);
}

TEST(StepCurve, LineWithANegativeVectorRunsBack)
{
    const OrientedCurve line = curveOf(test::replaced(lineText(), "#4,5.", "#4,-5."));
    expectPoint(line.curve->at(0.5), 1e-3, 2e-3 - 0.5, 3e-3);
}

TEST(StepCurve, CircleStandsInItsFrame)
{
    const OrientedCurve circle = curveOf("#1=CIRCLE('',#20,4.);\n" + frame());
    EXPECT_EQ(circle.curve->kind(), CurveKind::circle);
    expectPoint(circle.curve->at(0.0), 0.010, 0.024, 0.030);
    expectPoint(circle.curve->at(kPi / 2), 0.010, 0.020, 0.034);
}

TEST(StepCurve, EllipseHasItsFirstSemiAxisAlongX)
{
    const OrientedCurve ellipse = curveOf("#1=ELLIPSE('',#20,4.,7.);\n" + frame());
    EXPECT_EQ(ellipse.curve->kind(), CurveKind::ellipse);
    expectPoint(ellipse.curve->at(0.0), 0.010, 0.024, 0.030);
    expectPoint(ellipse.curve->at(kPi / 2), 0.010, 0.020, 0.037);
}

TEST(StepCurve, HyperbolaAndParabola)
{
    const OrientedCurve hyperbola = curveOf("#1=HYPERBOLA('',#20,4.,7.);\n" + frame());
    EXPECT_EQ(hyperbola.curve->kind(), CurveKind::hyperbola);
    expectPoint(hyperbola.curve->at(0.0), 0.010, 0.024, 0.030);
    expectPoint(hyperbola.curve->at(1.0), 0.010, 0.020 + 0.004 * std::cosh(1.0),
                0.030 + 0.007 * std::sinh(1.0));
    const OrientedCurve parabola = curveOf("#1=PARABOLA('',#20,4.);\n" + frame());
    EXPECT_EQ(parabola.curve->kind(), CurveKind::parabola);
    expectPoint(parabola.curve->at(2.0), 0.010, 0.020 + 0.004 * 4, 0.030 + 0.004 * 4);
}

TEST(StepCurve, AbsentAxesAreThoseOfThePart)
{
    const OrientedCurve circle = curveOf("#1=CIRCLE('',#2,4.);\n#2=AXIS2_PLACEMENT_3D('',#3,$,$);\n"
                                         "#3=CARTESIAN_POINT('',(0.,0.,1.));\n");
    expectPoint(circle.curve->at(0.0), 0.004, 0.0, 0.001);
    expectPoint(circle.curve->at(kPi / 2), 0.0, 0.004, 0.001);
    const OrientedCurve lying =
        curveOf("#1=CIRCLE('',#2,4.);\n#2=AXIS2_PLACEMENT_3D('',#3,#4,$);\n"
                "#3=CARTESIAN_POINT('',(0.,0.,1.));\n#4=DIRECTION('',(1.,0.,0.));\n");
    expectPoint(lying.curve->at(0.0), 0.0, 0.004, 0.001);
}

std::string pointsText()
{
    return "#11=CARTESIAN_POINT('',(0.,0.,0.));\n#12=CARTESIAN_POINT('',(1.,0.,0.));\n"
           "#13=CARTESIAN_POINT('',(1.,1.,0.));\n#14=CARTESIAN_POINT('',(2.,1.,0.));\n"
           "#15=CARTESIAN_POINT('',(2.,2.,0.));\n";
}

TEST(StepCurve, PolylineHasOneUnitOfParameterPerPoint)
{
    const OrientedCurve polyline = curveOf("#1=POLYLINE('',(#11,#12,#13));\n" + pointsText());
    EXPECT_EQ(polyline.curve->kind(), CurveKind::polyline);
    expectPoint(polyline.curve->at(0.5), 0.0005, 0.0, 0.0);
    expectPoint(polyline.curve->at(2.0), 0.001, 0.001, 0.0);
}

// Of degree 1 a B-spline is its control polygon, bent at the knots.
TEST(StepCurve, BSplineWithKnots)
{
    const OrientedCurve curve =
        curveOf("#1=B_SPLINE_CURVE_WITH_KNOTS('',1,(#11,#12,#13),.UNSPECIFIED.,.F.,.F.,(2,1,2),"
                "(0.,3.,4.),.UNSPECIFIED.);\n" +
                pointsText());
    EXPECT_EQ(curve.curve->kind(), CurveKind::bspline);
    expectPoint(curve.curve->at(1.5), 0.0005, 0.0, 0.0);
    expectPoint(curve.curve->at(3.5), 0.001, 0.0005, 0.0);
    EXPECT_EQ(curve.curve->period(), 0.0);
}

// A quarter of a circle: middle weight cos 45 degrees.
TEST(StepCurve, RationalBSpline)
{
    const OrientedCurve curve = curveOf(
        "#1=(BOUNDED_CURVE()B_SPLINE_CURVE(2,(#12,#13,#16),.UNSPECIFIED.,.F.,.F.)"
        "B_SPLINE_CURVE_WITH_KNOTS((3,3),(0.,1.),.UNSPECIFIED.)CURVE()"
        "GEOMETRIC_REPRESENTATION_ITEM()RATIONAL_B_SPLINE_CURVE((1.,0.70710678118654752,1.))"
        "REPRESENTATION_ITEM(''));\n#16=CARTESIAN_POINT('',(0.,1.,0.));\n" +
        pointsText());
    for (const double t : {0.0, 0.2, 0.5, 0.9, 1.0}) {
        const Vec p = curve.curve->at(t);
        EXPECT_NEAR(p.x * p.x + p.y * p.y, 1e-6, 1e-18) << t;
    }
}

TEST(StepCurve, QuasiUniformKnotsRepeatAtTheEnds)
{
    // Knots 0 0 1 2 3 4 4: one unit for each side of the control polygon.
    const OrientedCurve curve =
        curveOf("#1=QUASI_UNIFORM_CURVE('',1,(#11,#12,#13,#14,#15),.UNSPECIFIED.,.F.,.F.);\n" +
                pointsText());
    double from = -1.0;
    double to = -1.0;
    curve.curve->naturalRange(from, to);
    EXPECT_EQ(from, 0.0);
    EXPECT_EQ(to, 4.0);
    expectPoint(curve.curve->at(2.5), 0.0015, 0.001, 0.0);
}

TEST(StepCurve, UniformKnotsDoNotRepeat)
{
    // The middle of a span of a uniform quadratic B-spline is 1/8, 6/8, 1/8 of its three points.
    const OrientedCurve curve =
        curveOf("#1=UNIFORM_CURVE('',2,(#11,#12,#13,#14),.UNSPECIFIED.,.F.,.F.);\n" + pointsText());
    double from = -1.0;
    double to = -1.0;
    curve.curve->naturalRange(from, to);
    EXPECT_EQ(from, 0.0);
    EXPECT_EQ(to, 2.0);
    expectPoint(curve.curve->at(0.5), (0.0 + 6.0 + 1.0) / 8e3, (0.0 + 0.0 + 1.0) / 8e3, 0.0);
    expectPoint(curve.curve->at(1.5), (1.0 + 6.0 + 2.0) / 8e3, (0.0 + 6.0 + 1.0) / 8e3, 0.0);
}

TEST(StepCurve, BezierKnotsSeparateTheArcs)
{
    const OrientedCurve curve = curveOf(
        "#1=BEZIER_CURVE('',2,(#11,#12,#13,#14,#15),.UNSPECIFIED.,.F.,.F.);\n" + pointsText());
    double from = -1.0;
    double to = -1.0;
    curve.curve->naturalRange(from, to);
    EXPECT_EQ(to, 2.0);
    expectPoint(curve.curve->at(0.5), (0.0 + 2.0 + 1.0) / 4e3, (0.0 + 0.0 + 1.0) / 4e3, 0.0);
    expectPoint(curve.curve->at(1.0), 0.001, 0.001, 0.0);
    EXPECT_THROW(
        (void)curveOf("#1=BEZIER_CURVE('',2,(#11,#12,#13,#14),.U.,.F.,.F.);\n" + pointsText()),
        StepError);
}

TEST(StepCurve, ABSplineThatReturnsToItsStartIsClosedWhateverItsFlagSays)
{
    for (const char* flag : {".T.", ".F.", ".U."}) {
        const OrientedCurve curve = curveOf(
            "#1=B_SPLINE_CURVE_WITH_KNOTS('',1,(#11,#12,#13,#11),.UNSPECIFIED.," +
            std::string(flag) + ",.F.,(2,1,1,2),(0.,1.,2.,3.),.UNSPECIFIED.);\n" + pointsText());
        EXPECT_EQ(curve.curve->period(), 3.0) << flag;
    }
}

TEST(StepCurve, ABSplineThatNearlyReturnsIsClosedWhenItsFlagSaysSo)
{
    // The ends are 1e-7 mm apart on a curve of 1 mm.
    const auto period = [](const std::string& flag) {
        return curveOf("#1=B_SPLINE_CURVE_WITH_KNOTS('',1,(#11,#12,#13,#16),.UNSPECIFIED.," + flag +
                       ",.F.,(2,1,1,2),(0.,1.,2.,3.),.UNSPECIFIED.);\n"
                       "#16=CARTESIAN_POINT('',(0.0000001,0.,0.));\n" +
                       pointsText())
            .curve->period();
    };
    EXPECT_EQ(period(".T."), 3.0);
    EXPECT_EQ(period(".F."), 0.0);
    EXPECT_EQ(period(".U."), 0.0);
}

TEST(StepCurve, WrappersAreTakenOff)
{
    for (const char* keyword :
         {"SURFACE_CURVE", "SEAM_CURVE", "INTERSECTION_CURVE", "BOUNDED_SURFACE_CURVE"}) {
        const OrientedCurve curve =
            curveOf("#1=" + std::string(keyword) +
                    "('',#5,(#6,#7),.PCURVE_S1.);\n#5=CIRCLE('',#20,4.);\n" + frame());
        EXPECT_EQ(curve.curve->kind(), CurveKind::circle) << keyword;
    }
}

TEST(StepCurve, ATrimmedCurveMayRunAgainstItsBasis)
{
    const auto trimmed = [](const std::string& sense) {
        return curveOf("#1=TRIMMED_CURVE('',#5,(PARAMETER_VALUE(0.)),(PARAMETER_VALUE(1.))," +
                       sense + ",.PARAMETER.);\n#5=CIRCLE('',#20,4.);\n" + frame());
    };
    EXPECT_FALSE(trimmed(".T.").reversed);
    EXPECT_TRUE(trimmed(".F.").reversed);
    EXPECT_EQ(trimmed(".F.").curve->kind(), CurveKind::circle);
}

void expectFault(const std::string& data, const std::string& word, long entity)
{
    SCOPED_TRACE(data);
    try {
        (void)curveOf(data);
        FAIL() << "nothing was raised";
    } catch (const StepError& error) {
        EXPECT_NE(std::string(error.what()).find(word), std::string::npos) << error.what();
        EXPECT_EQ(error.entity(), entity) << error.what();
        EXPECT_GT(error.line(), 0U);
    }
}

TEST(StepCurve, RefusesUnusableCurves)
{
    const auto spline = [](const std::string& middle) {
        return "#1=B_SPLINE_CURVE_WITH_KNOTS('',1,(#11,#12,#13),.UNSPECIFIED.,.F.,.F.," + middle +
               ",.UNSPECIFIED.);\n" + pointsText();
    };
    expectFault(spline("(2,1,2),(0.,1.)"), "2 knots with 3 multiplicities", 1);
    expectFault(spline("(2,2,2),(0.,1.,2.)"), "need 5", 1);
    expectFault(spline("(3,2),(0.,1.)"), "outside 1 to 2", 1);
    expectFault(spline("(0,2,2,1),(0.,1.,2.,3.)"), "outside 1 to 2", 1);
    expectFault(spline("(1000000000,2),(0.,1.)"), "outside 1 to 2", 1);
    expectFault(spline("(2,1,2),(0.,5.,4.)"), "", 1);
    expectFault("#1=BEZIER_CURVE('',2,(#11,#12),.U.,.F.,.F.);\n" + pointsText(),
                "only 2 control points", 1);
    expectFault("#1=BEZIER_CURVE('',0,(#11,#12),.U.,.F.,.F.);\n" + pointsText(), "degree 0", 1);
    expectFault("#1=BEZIER_CURVE('',65,(#11,#12),.U.,.F.,.F.);\n" + pointsText(), "degree 65", 1);
    expectFault("#1=(BOUNDED_CURVE()B_SPLINE_CURVE(1,(#11,#12),.U.,.F.,.F.)CURVE());\n" +
                    pointsText(),
                "what its knots are", 1);
    expectFault("#1=CIRCLE('',#20,0.);\n" + frame(), "above 0", 1);
    expectFault("#1=CIRCLE('',#20,-1.);\n" + frame(), "above 0", 1);
    expectFault("#1=POLYLINE('',(#11));\n" + pointsText(), "at least 2 points", 1);
    expectFault("#1=OFFSET_CURVE_3D('',#2,1.,.F.,#3);\n", "not supported", 1);
    expectFault("#1=CIRCLE('',#2,1.);\n#2=AXIS2_PLACEMENT_2D('',#3,$);\n", "AXIS2_PLACEMENT_2D", 1);
    expectFault("#1=SURFACE_CURVE('',#1,(),.CURVE_3D.);\n", "wrap one another", 1);
}

TEST(StepCurve, RefusesUnusablePointsAndDirections)
{
    const std::string circle = "#1=CIRCLE('',#20,4.);\n";
    expectFault(circle + test::replaced(frame(), "(10.,20.,30.)", "(10.,20.)"), "3 coordinates",
                21);
    expectFault(circle + test::replaced(frame(), "(10.,20.,30.)", "(10.,20.,'x')"),
                "wanted a number", 21);
    expectFault(circle + test::replaced(frame(), "(10.,20.,30.)", "(10.,20.,1.E300)"),
                "further away", 21);
    expectFault(circle + test::replaced(frame(), "(2.,0.,0.)", "(0.,0.,0.)"), "no length", 22);
}

TEST(StepCurve, DirectionsOfAnyLengthAreDirections)
{
    for (const char* ratios : {"(1.E-200,0.,0.)", "(1.E200,0.,0.)"}) {
        const OrientedCurve circle =
            curveOf("#1=CIRCLE('',#20,4.);\n" + test::replaced(frame(), "(2.,0.,0.)", ratios));
        expectPoint(circle.curve->at(kPi / 2), 0.010, 0.020, 0.034);
    }
}

// Edges

constexpr Vec kStart{1.0, 0.0, 0.0};
constexpr Vec kEnd{0.0, 1.0, 0.0};

OrientedCurve unitCircle(bool reversed = false)
{
    return {standin::geom::makeCircle({}, 1.0), reversed};
}

TEST(StepEdge, AnArcRunsFromStartToEnd)
{
    Edge edge;
    (void)fitEdge(edge, unitCircle(), true, kStart, kEnd, false);
    EXPECT_NEAR(edge.from, 0.0, 1e-15);
    EXPECT_NEAR(edge.to, kPi / 2, 1e-15);
    EXPECT_FALSE(edge.reversed);
}

TEST(StepEdge, AnArcAcrossTheSeamGoesBeyondThePeriod)
{
    Edge edge;
    (void)fitEdge(edge, unitCircle(), true, kEnd, kStart, false);
    EXPECT_NEAR(edge.from, kPi / 2, 1e-15);
    EXPECT_NEAR(edge.to, 2 * kPi, 1e-15);
    (void)fitEdge(edge, unitCircle(), true, {0.0, -1.0, 0.0}, kEnd, false);
    EXPECT_NEAR(edge.from, 1.5 * kPi, 1e-15);
    EXPECT_NEAR(edge.to, 2.5 * kPi, 1e-15);
}

TEST(StepEdge, AgainstTheCurveTheStretchIsTheOtherOne)
{
    // From (1, 0) clockwise to (0, 1): three quarters of the circle, which starts at the end.
    Edge edge;
    (void)fitEdge(edge, unitCircle(), false, kStart, kEnd, false);
    EXPECT_NEAR(edge.from, kPi / 2, 1e-15);
    EXPECT_NEAR(edge.to, 2 * kPi, 1e-15);
    EXPECT_TRUE(edge.reversed);
}

TEST(StepEdge, TwoReversalsCancelOut)
{
    Edge edge;
    (void)fitEdge(edge, unitCircle(true), false, kStart, kEnd, false);
    EXPECT_NEAR(edge.to - edge.from, kPi / 2, 1e-15);
    EXPECT_FALSE(edge.reversed);
    (void)fitEdge(edge, unitCircle(true), true, kStart, kEnd, false);
    EXPECT_NEAR(edge.to - edge.from, 1.5 * kPi, 1e-15);
    EXPECT_TRUE(edge.reversed);
}

TEST(StepEdge, AClosedEdgeIsAWholePeriodFromItsVertex)
{
    for (const bool sameSense : {true, false}) {
        Edge edge;
        (void)fitEdge(edge, unitCircle(), sameSense, kEnd, kEnd, true);
        EXPECT_NEAR(edge.from, kPi / 2, 1e-15);
        EXPECT_NEAR(edge.to, 2.5 * kPi, 1e-15);
        EXPECT_EQ(edge.reversed, !sameSense);
    }
}

TEST(StepEdge, TwoVerticesInOnePlaceCloseAnArc)
{
    Edge edge;
    (void)fitEdge(edge, unitCircle(), true, kStart, kStart, false);
    EXPECT_NEAR(edge.to - edge.from, 2 * kPi, 1e-15);
}

TEST(StepEdge, AVertexJustBeforeTheSeamStartsAtTheSeam)
{
    Edge edge;
    (void)fitEdge(edge, unitCircle(), true, {1.0, -1e-16, 0.0}, kEnd, false);
    EXPECT_GE(edge.from, 0.0);
    EXPECT_LT(edge.from, 1e-9);
    EXPECT_NEAR(edge.to, kPi / 2, 1e-9);
}

TEST(StepEdge, ALineBelievesItsVertices)
{
    const OrientedCurve line{standin::geom::makeLine({}, {1.0, 0.0, 0.0}), false};
    Edge edge;
    EdgeFit fit = fitEdge(edge, line, true, {1.0, 0.0, 0.0}, {3.0, 0.0, 0.0}, false);
    EXPECT_EQ(edge.from, 1.0);
    EXPECT_EQ(edge.to, 3.0);
    EXPECT_FALSE(edge.reversed);
    EXPECT_FALSE(fit.turned);
    fit = fitEdge(edge, line, false, {3.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, false);
    EXPECT_EQ(edge.from, 1.0);
    EXPECT_EQ(edge.to, 3.0);
    EXPECT_TRUE(edge.reversed);
    EXPECT_FALSE(fit.turned);
    fit = fitEdge(edge, line, true, {3.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, false);
    EXPECT_EQ(edge.from, 1.0);
    EXPECT_EQ(edge.to, 3.0);
    EXPECT_TRUE(edge.reversed);
    EXPECT_TRUE(fit.turned);
}

TEST(StepEdge, TheGapIsTheDistanceOfTheVertices)
{
    const OrientedCurve line{standin::geom::makeLine({}, {1.0, 0.0, 0.0}), false};
    Edge edge;
    const EdgeFit fit = fitEdge(edge, line, true, {0.0, 0.25, 0.0}, {2.0, 0.0, 0.5}, false);
    EXPECT_DOUBLE_EQ(fit.gap, 0.5);
}

TEST(StepEdge, RefusesWhatHasNoLength)
{
    const OrientedCurve line{standin::geom::makeLine({}, {1.0, 0.0, 0.0}), false};
    Edge edge;
    EXPECT_THROW((void)fitEdge(edge, line, true, kStart, kStart, true), std::invalid_argument);
    EXPECT_THROW((void)fitEdge(edge, line, true, kStart, kStart, false), std::invalid_argument);
}

} // namespace
