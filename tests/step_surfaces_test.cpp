#include "standin/step/StepFile.h"
#include "standin/step/Surfaces.h"
#include "support/StepGeometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

using standin::geom::Param;
using standin::geom::SurfaceKind;
using standin::geom::Vec;
using standin::step::OrientedSurface;
using standin::step::StepError;
using test::expectPoint;
using test::frame;
using test::surfaceOf;

constexpr double kPi = 3.14159265358979323846;

// In the frame of frame() local (a, b, c) millimetres stand at (10 + c, 20 + a, 30 + b).
void expectLocal(const OrientedSurface& surface, Param p, double a, double b, double c)
{
    expectPoint(surface.surface->at(p), (10 + c) / 1e3, (20 + a) / 1e3, (30 + b) / 1e3);
}

TEST(StepSurface, Plane)
{
    const OrientedSurface plane = surfaceOf("#1=PLANE('',#20);\n" + frame());
    EXPECT_EQ(plane.surface->kind(), SurfaceKind::plane);
    EXPECT_FALSE(plane.reversed);
    expectLocal(plane, {0.002, 0.003}, 2, 3, 0);
    expectPoint(plane.surface->normal({0.0, 0.0}), 1.0, 0.0, 0.0);
}

TEST(StepSurface, Cylinder)
{
    const OrientedSurface cylinder = surfaceOf("#1=CYLINDRICAL_SURFACE('',#20,4.);\n" + frame());
    EXPECT_EQ(cylinder.surface->kind(), SurfaceKind::cylinder);
    expectLocal(cylinder, {kPi / 2, 0.007}, 0, 4, 7);
}

TEST(StepSurface, ConeTakesItsAngleInTheFilesUnit)
{
    const OrientedSurface cone = surfaceOf("#1=CONICAL_SURFACE('',#20,4.,30.);\n" + frame());
    EXPECT_EQ(cone.surface->kind(), SurfaceKind::cone);
    expectLocal(cone, {0.0, 0.007}, 4 + 7 * std::tan(30 * 0.0175), 0, 7);
}

TEST(StepSurface, ConeMayStartAtItsApex)
{
    const OrientedSurface cone = surfaceOf("#1=CONICAL_SURFACE('',#20,0.,30.);\n" + frame());
    expectLocal(cone, {0.0, 0.0}, 0, 0, 0);
}

TEST(StepSurface, Sphere)
{
    const OrientedSurface sphere = surfaceOf("#1=SPHERICAL_SURFACE('',#20,4.);\n" + frame());
    EXPECT_EQ(sphere.surface->kind(), SurfaceKind::sphere);
    expectLocal(sphere, {0.0, kPi / 2}, 0, 0, 4);
    expectLocal(sphere, {kPi / 2, 0.0}, 0, 4, 0);
}

TEST(StepSurface, Torus)
{
    const OrientedSurface torus = surfaceOf("#1=TOROIDAL_SURFACE('',#20,9.,4.);\n" + frame());
    EXPECT_EQ(torus.surface->kind(), SurfaceKind::torus);
    expectLocal(torus, {0.0, 0.0}, 13, 0, 0);
    expectLocal(torus, {kPi / 2, kPi / 2}, 0, 9, 4);
}

TEST(StepSurface, DegenerateTorus)
{
    const OrientedSurface torus =
        surfaceOf("#1=DEGENERATE_TOROIDAL_SURFACE('',#20,3.,4.,.T.);\n" + frame());
    EXPECT_EQ(torus.surface->kind(), SurfaceKind::torus);
    expectLocal(torus, {0.0, 0.0}, 7, 0, 0);
}

std::string netText()
{
    return "#11=CARTESIAN_POINT('',(0.,0.,0.));\n#12=CARTESIAN_POINT('',(0.,3.,0.));\n"
           "#13=CARTESIAN_POINT('',(1.,0.,0.));\n#14=CARTESIAN_POINT('',(1.,3.,0.));\n"
           "#15=CARTESIAN_POINT('',(1.,0.,2.));\n#16=CARTESIAN_POINT('',(1.,3.,2.));\n";
}

// Of degree 1 in both directions a B-spline surface is bilinear between its points.
void expectBilinear(const std::string& first)
{
    SCOPED_TRACE(first);
    const OrientedSurface surface = surfaceOf(first + netText());
    EXPECT_EQ(surface.surface->kind(), SurfaceKind::bspline);
    Param from;
    Param to;
    surface.surface->naturalRange(from, to);
    const double half = from.u + (to.u - from.u) / 2; // the bend along u
    const double v = from.v + (to.v - from.v) / 3;
    expectPoint(surface.surface->at({from.u, v}), 0.0, 0.001, 0.0);
    expectPoint(surface.surface->at({half, v}), 0.001, 0.001, 0.0);
    expectPoint(surface.surface->at({to.u, v}), 0.001, 0.001, 0.002);
}

TEST(StepSurface, BSplinesOfEveryForm)
{
    const std::string points = "1,1,((#11,#12),(#13,#14),(#15,#16)),.UNSPECIFIED.,.F.,.F.,.F.";
    expectBilinear("#1=B_SPLINE_SURFACE_WITH_KNOTS(''," + points +
                   ",(2,1,2),(2,2),(5.,6.,7.),(1.,3.),.UNSPECIFIED.);\n");
    expectBilinear("#1=QUASI_UNIFORM_SURFACE(''," + points + ");\n");
    expectBilinear("#1=BEZIER_SURFACE(''," + points + ");\n");
    expectBilinear("#1=UNIFORM_SURFACE(''," + points + ");\n");
    expectBilinear("#1=(BOUNDED_SURFACE()B_SPLINE_SURFACE(" + points +
                   ")B_SPLINE_SURFACE_WITH_KNOTS((2,1,2),(2,2),(5.,6.,7.),(1.,3.),.UNSPECIFIED.)"
                   "GEOMETRIC_REPRESENTATION_ITEM()RATIONAL_B_SPLINE_SURFACE(((1.,1.),(1.,1.),"
                   "(1.,1.)))REPRESENTATION_ITEM('')SURFACE());\n");
    expectBilinear("#1=(BOUNDED_SURFACE()B_SPLINE_SURFACE(" + points +
                   ")GEOMETRIC_REPRESENTATION_ITEM()QUASI_UNIFORM_SURFACE()"
                   "RATIONAL_B_SPLINE_SURFACE(((1.,1.),(1.,1.),(1.,1.)))REPRESENTATION_ITEM('')"
                   "SURFACE());\n");
}

TEST(StepSurface, WeightsPull)
{
    // At the middle of a span of degree 1 weights 3 and 1 give (3 p + q) / 4.
    const OrientedSurface surface =
        surfaceOf("#1=(BOUNDED_SURFACE()B_SPLINE_SURFACE(1,1,((#11,#12),(#13,#14)),.U.,.F.,.F.,.F.)"
                  "B_SPLINE_SURFACE_WITH_KNOTS((2,2),(2,2),(0.,1.),(0.,1.),.UNSPECIFIED.)"
                  "RATIONAL_B_SPLINE_SURFACE(((3.,3.),(1.,1.)))SURFACE());\n" +
                  netText());
    expectPoint(surface.surface->at({0.5, 0.0}), 0.00025, 0.0, 0.0);
}

TEST(StepSurface, ABSplineThatMeetsItselfIsPeriodicInThatDirectionOnly)
{
    const OrientedSurface surface =
        surfaceOf("#1=QUASI_UNIFORM_SURFACE('',1,1,((#11,#12),(#13,#14),(#15,#16),(#11,#12)),.U.,"
                  ".F.,.F.,.F.);\n" +
                  netText());
    EXPECT_EQ(surface.surface->period().u, 3.0);
    EXPECT_EQ(surface.surface->period().v, 0.0);
}

TEST(StepSurface, EachDirectionHasItsOwnClosedFlag)
{
    // Across u the sides are 1e-7 mm apart on a surface of 3 mm; across v they are 3 mm apart.
    const auto surface = [](const std::string& flags) {
        return surfaceOf("#1=QUASI_UNIFORM_SURFACE('',1,1,((#11,#12),(#13,#14),(#15,#16),"
                         "(#17,#18)),.U.," +
                         flags +
                         ",.F.);\n#17=CARTESIAN_POINT('',(0.0000001,0.,0.));\n"
                         "#18=CARTESIAN_POINT('',(0.0000001,3.,0.));\n" +
                         netText())
            .surface->period();
    };
    EXPECT_EQ(surface(".T.,.F.").u, 3.0);
    EXPECT_EQ(surface(".F.,.T.").u, 0.0);
    EXPECT_EQ(surface(".T.,.T.").v, 0.0);
}

std::string profileText()
{
    return "#5=CIRCLE('',#20,4.);\n#6=VECTOR('',#7,2.);\n"
           "#7=DIRECTION('',(1.,0.,0.));\n#8=AXIS1_PLACEMENT('',#9,#10);\n"
           "#9=CARTESIAN_POINT('',(0.,0.,0.));\n#10=DIRECTION('',(0.,0.,1.));\n";
}

TEST(StepSurface, Extrusion)
{
    const OrientedSurface surface =
        surfaceOf("#1=SURFACE_OF_LINEAR_EXTRUSION('',#5,#6);\n" + profileText() + frame());
    EXPECT_EQ(surface.surface->kind(), SurfaceKind::extrusion);
    EXPECT_FALSE(surface.reversed);
    expectLocal(surface, {kPi / 2, 0.007}, 0, 4, 7);
}

TEST(StepSurface, Revolution)
{
    const OrientedSurface surface =
        surfaceOf("#1=SURFACE_OF_REVOLUTION('',#5,#8);\n" + profileText() + frame());
    EXPECT_EQ(surface.surface->kind(), SurfaceKind::revolution);
    expectLocal(surface, {0.0, kPi / 2}, 0, 4, 0);
    // A quarter turn about z takes (x, y, z) = (10, 20, 34) mm to (-20, 10, 34).
    expectPoint(surface.surface->at({kPi / 2, kPi / 2}), -0.020, 0.010, 0.034);
}

TEST(StepSurface, AProfileRunBackwardsTurnsTheNormal)
{
    for (const char* sense : {".T.", ".F."}) {
        const std::string trimmed =
            "#4=TRIMMED_CURVE('',#5,(PARAMETER_VALUE(0.)),(PARAMETER_VALUE(1.))," +
            std::string(sense) + ",.PARAMETER.);\n" + profileText() + frame();
        const bool reversed = sense == std::string(".F.");
        EXPECT_EQ(surfaceOf("#1=SURFACE_OF_LINEAR_EXTRUSION('',#4,#6);\n" + trimmed).reversed,
                  reversed);
        EXPECT_EQ(surfaceOf("#1=SURFACE_OF_REVOLUTION('',#4,#8);\n" + trimmed).reversed, reversed);
    }
}

TEST(StepSurface, OffsetGoesAlongTheFilesNormal)
{
    const OrientedSurface offset = surfaceOf(
        "#1=OFFSET_SURFACE('',#2,3.,.F.);\n#2=CYLINDRICAL_SURFACE('',#20,4.);\n" + frame());
    EXPECT_EQ(offset.surface->kind(), SurfaceKind::offset);
    expectLocal(offset, {0.0, 0.0}, 7, 0, 0);
    // The profile of the extrusion runs backwards, so the file's normal points inwards.
    const OrientedSurface inwards =
        surfaceOf("#1=OFFSET_SURFACE('',#2,3.,.F.);\n#2=SURFACE_OF_LINEAR_EXTRUSION('',#4,#6);\n"
                  "#4=TRIMMED_CURVE('',#5,(PARAMETER_VALUE(0.)),(PARAMETER_VALUE(1.)),.F.,"
                  ".PARAMETER.);\n" +
                  profileText() + frame());
    EXPECT_TRUE(inwards.reversed);
    expectLocal(inwards, {0.0, 0.0}, 1, 0, 0);
}

TEST(StepSurface, TrimmedSurfacesAreTakenOff)
{
    const auto trimmed = [](const std::string& senses) {
        return surfaceOf("#1=RECTANGULAR_TRIMMED_SURFACE('',#2,0.,1.,0.,1.," + senses +
                         ");\n#2=PLANE('',#20);\n" + frame());
    };
    EXPECT_EQ(trimmed(".T.,.T.").surface->kind(), SurfaceKind::plane);
    EXPECT_FALSE(trimmed(".T.,.T.").reversed);
    EXPECT_FALSE(trimmed(".F.,.F.").reversed);
    EXPECT_TRUE(trimmed(".T.,.F.").reversed);
    EXPECT_TRUE(trimmed(".F.,.T.").reversed);
    EXPECT_EQ(surfaceOf("#1=CURVE_BOUNDED_SURFACE('',#2,(#3),.F.);\n#2=PLANE('',#20);\n" + frame())
                  .surface->kind(),
              SurfaceKind::plane);
}

void expectFault(const std::string& data, const std::string& word, long entity = 1)
{
    SCOPED_TRACE(data);
    try {
        (void)surfaceOf(data);
        FAIL() << "nothing was raised";
    } catch (const StepError& error) {
        EXPECT_NE(std::string(error.what()).find(word), std::string::npos) << error.what();
        EXPECT_EQ(error.entity(), entity) << error.what();
    }
}

TEST(StepSurface, RefusesUnusableSurfaces)
{
    expectFault("#1=CYLINDRICAL_SURFACE('',#20,0.);\n" + frame(), "above 0");
    expectFault("#1=SPHERICAL_SURFACE('',#20,-4.);\n" + frame(), "above 0");
    expectFault("#1=TOROIDAL_SURFACE('',#20,4.,0.);\n" + frame(), "above 0");
    expectFault("#1=CONICAL_SURFACE('',#20,-1.,30.);\n" + frame(), "below 0");
    expectFault("#1=CONICAL_SURFACE('',#20,1.,0.);\n" + frame(), "right angle");
    expectFault("#1=CONICAL_SURFACE('',#20,1.,91.);\n" + frame(), "right angle");
    expectFault("#1=QUASI_UNIFORM_SURFACE('',1,1,((#11,#12),(#13)),.U.,.F.,.F.,.F.);\n" + netText(),
                "different length");
    expectFault("#1=QUASI_UNIFORM_SURFACE('',2,1,((#11,#12),(#13,#14)),.U.,.F.,.F.,.F.);\n" +
                    netText(),
                "2 x 2 control points");
    expectFault("#1=QUASI_UNIFORM_SURFACE('',1,1,(),.U.,.F.,.F.,.F.);\n" + netText(),
                "0 x 0 control points");
    expectFault("#1=(B_SPLINE_SURFACE(1,1,((#11,#12),(#13,#14)),.U.,.F.,.F.,.F.)"
                "QUASI_UNIFORM_SURFACE()RATIONAL_B_SPLINE_SURFACE(((1.,1.),(1.))));\n" +
                    netText(),
                "");
    expectFault("#1=(B_SPLINE_SURFACE(1,1,((#11,#12),(#13,#14)),.U.,.F.,.F.,.F.)"
                "QUASI_UNIFORM_SURFACE()RATIONAL_B_SPLINE_SURFACE(((1.,1.),(0.,1.))));\n" +
                    netText(),
                "");
    expectFault("#1=OFFSET_SURFACE('',#1,1.,.F.);\n", "wrap one another");
    expectFault("#1=SURFACE_REPLICA('',#2,#3);\n", "not supported");
    expectFault("#1=PLANE('',#2);\n#2=CARTESIAN_POINT('',(0.,0.,0.));\n",
                "wanted AXIS2_PLACEMENT_3D");
}

TEST(StepSurface, AConeNeedsAUnitOfAngle)
{
    const std::string text =
        test::stepFile("#9999=HOLDER(#1);\n#1=CONICAL_SURFACE('',#20,1.,30.);\n" + frame());
    const standin::step::Exchange exchange(text);
    const standin::step::Entity holder(exchange, 9999);
    standin::step::Units units;
    units.length = 1.0;
    EXPECT_THROW((void)readSurface(exchange, holder.attributes()[0], units), StepError);
}

} // namespace
