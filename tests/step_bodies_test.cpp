#include "standin/step/Bodies.h"
#include "standin/step/StepFile.h"
#include "support/StepGeometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

using standin::geom::Body;
using standin::geom::Edge;
using standin::geom::EdgeUse;
using standin::geom::Face;
using standin::geom::kNone;
using standin::geom::Loop;
using standin::geom::Vec;
using standin::step::StepError;
using test::disc;
using test::replaced;
using test::tetrahedron;

struct Read
{
    Body body;
    std::unordered_set<long> faces;
    std::vector<std::string> warnings;
};

// Reads a body of data lines in metres.
Read readBodyOf(const std::string& data, long number)
{
    const std::string text = test::stepFile(data);
    const standin::step::Exchange exchange(text);
    standin::step::Units units;
    units.length = 1.0;
    units.angle = 1.0;
    standin::step::Report report;
    Read read;
    read.body = readBody(exchange, number, units, read.faces, report);
    read.warnings = report.lines();
    return read;
}

Body discOf(const std::string& from = "", const std::string& to = "")
{
    return readBodyOf(replaced(disc(), from, to), 200).body;
}

Body tetraOf(const std::string& from = "", const std::string& to = "")
{
    return readBodyOf(replaced(tetrahedron(), from, to), 100).body;
}

const Vec& startOf(const Body& body, const EdgeUse& use)
{
    const Edge& edge = body.edges[use.edge];
    return body.vertices[use.reversed ? edge.end : edge.start].point;
}

// The area that a polygon of straight edges bounds, along a normal: above 0 when it runs
// counter-clockwise seen against the normal.
double signedArea(const Body& body, const Loop& loop, const Vec& normal)
{
    Vec sum;
    for (std::size_t i = 0; i < loop.uses.size(); ++i) {
        sum = sum + cross(startOf(body, loop.uses[i]),
                          startOf(body, loop.uses[(i + 1) % loop.uses.size()]));
    }
    return dot(sum, normal) / 2.0;
}

Vec outwards(const Face& face)
{
    const Vec normal = face.surface->normal({0.0, 0.0});
    return face.reversed ? -normal : normal;
}

TEST(StepBody, ASurfaceModelIsABodyThatIsNotSolid)
{
    const Body body = discOf();
    EXPECT_FALSE(body.solid);
    EXPECT_EQ(body.name, "disc");
    EXPECT_EQ(body.entity, 200);
}

TEST(StepBody, EveryPartKeepsItsNumber)
{
    const Body body = discOf();
    ASSERT_EQ(body.faces.size(), 1U);
    EXPECT_EQ(body.faces[0].entity, 210);
    ASSERT_EQ(body.faces[0].loops.size(), 1U);
    EXPECT_EQ(body.faces[0].loops[0].entity, 212);
    EXPECT_TRUE(body.faces[0].loops[0].outer);
    ASSERT_EQ(body.edges.size(), 1U);
    EXPECT_EQ(body.edges[0].entity, 220);
    ASSERT_EQ(body.vertices.size(), 1U);
    EXPECT_EQ(body.vertices[0].entity, 230);
}

TEST(StepBody, FaceBoundIsNotOuter)
{
    EXPECT_FALSE(discOf("FACE_OUTER_BOUND", "FACE_BOUND").faces[0].loops[0].outer);
}

TEST(StepBody, SameSenseTurnsTheFace)
{
    EXPECT_FALSE(discOf().faces[0].reversed);
    EXPECT_TRUE(discOf("#214,.T.", "#214,.F.").faces[0].reversed);
}

TEST(StepBody, ASurfaceThatRunsBackwardsTurnsTheFaceToo)
{
    const std::string trimmed = "RECTANGULAR_TRIMMED_SURFACE('',#215,0.,1.,0.,1.,.T.,.F.);\n"
                                "#215=PLANE('',#240)";
    EXPECT_TRUE(discOf("PLANE('',#240)", trimmed).faces[0].reversed);
    const std::string both = replaced(disc(), "#214,.T.", "#214,.F.");
    EXPECT_FALSE(readBodyOf(replaced(both, "PLANE('',#240)", trimmed), 200).body.faces[0].reversed);
}

TEST(StepBody, OrientedEdgeAndFaceBoundTurnTheUse)
{
    EXPECT_FALSE(discOf().faces[0].loops[0].uses[0].reversed);
    EXPECT_TRUE(discOf("#220,.T.", "#220,.F.").faces[0].loops[0].uses[0].reversed);
    EXPECT_TRUE(discOf("#212,.T.", "#212,.F.").faces[0].loops[0].uses[0].reversed);
    const std::string both = replaced(disc(), "#220,.T.", "#220,.F.");
    EXPECT_FALSE(readBodyOf(replaced(both, "#212,.T.", "#212,.F."), 200)
                     .body.faces[0]
                     .loops[0]
                     .uses[0]
                     .reversed);
}

TEST(StepBody, OrientedShellsAndFacesTurnBoth)
{
    const std::string shell = replaced(disc(), "'disc',(#201)", "'disc',(#202)") +
                              "#202=ORIENTED_OPEN_SHELL('',*,#201,.F.);\n";
    const Body turned = readBodyOf(shell, 200).body;
    EXPECT_TRUE(turned.faces[0].reversed);
    EXPECT_TRUE(turned.faces[0].loops[0].uses[0].reversed);
    const Body kept = readBodyOf(replaced(shell, "#201,.F.", "#201,.T."), 200).body;
    EXPECT_FALSE(kept.faces[0].reversed);
    EXPECT_FALSE(kept.faces[0].loops[0].uses[0].reversed);
    const std::string face =
        replaced(disc(), "'',(#210)", "'',(#209)") + "#209=ORIENTED_FACE('',*,#210,.F.);\n";
    const Body other = readBodyOf(face, 200).body;
    EXPECT_TRUE(other.faces[0].reversed);
    EXPECT_TRUE(other.faces[0].loops[0].uses[0].reversed);
    EXPECT_EQ(other.faces[0].entity, 210);
}

TEST(StepBody, AVertexLoopNamesItsVertex)
{
    const Body body = readBodyOf(replaced(disc(), "(#211),", "(#211,#250),") +
                                     "#250=FACE_BOUND('',#251,.T.);\n#251=VERTEX_LOOP('',#252);\n"
                                     "#252=VERTEX_POINT('',#253);\n"
                                     "#253=CARTESIAN_POINT('',(0.5,0.,3.));\n",
                                 200)
                          .body;
    ASSERT_EQ(body.faces[0].loops.size(), 2U);
    const Loop& loop = body.faces[0].loops[1];
    EXPECT_TRUE(loop.uses.empty());
    ASSERT_NE(loop.vertex, kNone);
    EXPECT_EQ(body.vertices[loop.vertex].point.x, 0.5);
    EXPECT_EQ(body.faces[0].loops[0].vertex, kNone);
}

// Faceted solids

TEST(StepBody, LoopsOfPointsShareCornersAndSides)
{
    const Body body = tetraOf();
    EXPECT_TRUE(body.solid);
    EXPECT_EQ(body.vertices.size(), 4U);
    EXPECT_EQ(body.edges.size(), 6U);
    EXPECT_EQ(body.faces.size(), 4U);
    std::vector<int> forward(6, 0);
    std::vector<int> backward(6, 0);
    for (const Face& face : body.faces) {
        for (const EdgeUse& use : face.loops[0].uses) {
            ++(use.reversed ? backward : forward)[use.edge];
        }
    }
    EXPECT_EQ(forward, std::vector<int>(6, 1));
    EXPECT_EQ(backward, std::vector<int>(6, 1));
}

TEST(StepBody, AFaceWithoutASurfaceLiesInThePlaneOfItsLoop)
{
    const Body body = tetraOf();
    // The outsides of the tetrahedron, from its corners.
    const double third = 1.0 / std::sqrt(3.0);
    const std::vector<Vec> wanted{{0, 0, -1}, {0, -1, 0}, {-1, 0, 0}, {third, third, third}};
    for (std::size_t i = 0; i < 4; ++i) {
        test::expectPoint(outwards(body.faces[i]), wanted[i].x, wanted[i].y, wanted[i].z);
        EXPECT_GT(signedArea(body, body.faces[i].loops[0], outwards(body.faces[i])), 0.0);
    }
}

TEST(StepBody, AFaceMayHaveAPlaneAndALoopOfPoints)
{
    const std::string data =
        replaced(tetrahedron(), "#121=FACE('',(#131))", "#121=FACE_SURFACE('',(#131),#151,.F.)") +
        "#151=PLANE('',#152);\n#152=AXIS2_PLACEMENT_3D('',#111,$,$);\n";
    const Body body = readBodyOf(data, 100).body;
    test::expectPoint(outwards(body.faces[0]), 0, 0, -1);
    EXPECT_GT(signedArea(body, body.faces[0].loops[0], outwards(body.faces[0])), 0.0);
}

TEST(StepBody, VoidsAreTurnedInsideOut)
{
    // The shell is used twice: as the outside, and turned, as a void. Not a solid that exists, but
    // it shows what a void does to its faces.
    const std::string other =
        replaced(replaced(tetrahedron(), "FACETED_BREP('tetra',#101)",
                          "BREP_WITH_VOIDS('tetra',#101,(#102))"),
                 "CLOSED_SHELL('',(#121,#122,#123,#124))",
                 "CLOSED_SHELL('',(#121,#122,#123));\n#102=ORIENTED_CLOSED_SHELL('',*,#103,.F.);\n"
                 "#103=CLOSED_SHELL('',(#124))");
    const Body body = readBodyOf(other, 100).body;
    EXPECT_TRUE(body.solid);
    ASSERT_EQ(body.faces.size(), 4U);
    const double third = 1.0 / std::sqrt(3.0);
    test::expectPoint(outwards(body.faces[3]), -third, -third, -third);
    EXPECT_GT(signedArea(body, body.faces[3].loops[0], outwards(body.faces[3])), 0.0);
}

TEST(StepBody, PartsStandInTheOrderOfTheShells)
{
    const Body body = tetraOf("(#121,#122,#123,#124)", "(#124,#122,#123,#121)");
    EXPECT_EQ(body.faces[0].entity, 124);
    EXPECT_EQ(body.faces[3].entity, 121);
    EXPECT_EQ(body.vertices[0].entity, 112); // the first point of the loop of #124
}

TEST(StepBody, FaceBasedModelsAreRead)
{
    const std::string data =
        replaced(replaced(disc(), "SHELL_BASED", "FACE_BASED"), "OPEN_SHELL", "CONNECTED_FACE_SET");
    const Body body = readBodyOf(data, 200).body;
    EXPECT_FALSE(body.solid);
    EXPECT_EQ(body.faces.size(), 1U);
}

// Warnings

TEST(StepBody, ALoopWithAGapIsNamed)
{
    const std::string second = "#260=EDGE_CURVE('',#261,#261,#262,.T.);\n"
                               "#261=VERTEX_POINT('',#263);\n#262=CIRCLE('',#240,1.);\n"
                               "#263=CARTESIAN_POINT('',(1.,0.,3.));\n"
                               "#264=ORIENTED_EDGE('',*,*,#260,.T.);\n";
    EXPECT_TRUE(readBodyOf(disc() + second, 200).warnings.empty());
    const Read read = readBodyOf(replaced(disc(), "(#213)", "(#213,#264)") + second, 200);
    ASSERT_EQ(read.warnings.size(), 1U);
    EXPECT_NE(read.warnings[0].find("EDGE_LOOP: edges do not meet"), std::string::npos);
    EXPECT_NE(read.warnings[0].find("#212"), std::string::npos);
}

TEST(StepBody, AVertexOffItsCurveIsNamed)
{
    const auto at = [](const std::string& x) {
        return readBodyOf(replaced(disc(), "(2.,0.,3.)", "(" + x + ",0.,3.)"), 200).warnings;
    };
    EXPECT_TRUE(at("2.0000005").empty());
    ASSERT_EQ(at("2.000002").size(), 1U);
    EXPECT_NE(at("2.000002")[0].find("#220"), std::string::npos);
}

TEST(StepBody, AFlagThatContradictsTheVerticesIsNamed)
{
    const auto edge = [](const std::string& sense) {
        const std::string line = "#220=EDGE_CURVE('',#230,#232,#221," + sense +
                                 ");\n#221=LINE('',#241,#222);\n#222=VECTOR('',#223,1.);\n"
                                 "#223=DIRECTION('',(-1.,0.,0.));\n#232=VERTEX_POINT('',#241);\n"
                                 "#270=ORIENTED_EDGE('',*,*,#220,.F.);\n";
        std::string data = replaced(disc(), "#220=EDGE_CURVE('',#230,#230,#221,.T.);\n", "");
        data = replaced(data, "#221=CIRCLE('',#240,2.);\n", "");
        return readBodyOf(replaced(data, "(#213)", "(#213,#270)") + line, 200).warnings;
    };
    EXPECT_TRUE(edge(".T.").empty());
    ASSERT_EQ(edge(".F.").size(), 1U);
    EXPECT_NE(edge(".F.")[0].find("same_sense"), std::string::npos);
}

// Failures: the text names the face, the place is where the fault lies.

void expectFault(const std::string& data, long body, const std::string& word, long entity)
{
    SCOPED_TRACE(data);
    try {
        (void)readBodyOf(data, body);
        FAIL() << "nothing was raised";
    } catch (const StepError& error) {
        EXPECT_NE(std::string(error.what()).find(word), std::string::npos) << error.what();
        EXPECT_EQ(error.entity(), entity) << error.what();
        EXPECT_GT(error.line(), 0U);
    }
}

void expectDiscFault(const std::string& from, const std::string& to, const std::string& word,
                     long entity)
{
    expectFault(replaced(disc(), from, to), 200, word, entity);
    expectFault(replaced(disc(), from, to), 200, "face #210", entity);
}

TEST(StepBody, AFaceThatCannotBeReadIsNamed)
{
    expectDiscFault("#214=PLANE('',#240);\n", "", "#214, which is missing", 210);
    expectDiscFault("CIRCLE('',#240,2.)", "COMPOSITE_CURVE('',(),.F.)", "not supported", 221);
    expectDiscFault("PLANE(", "CURIOUS_SURFACE(", "not supported", 214);
    expectDiscFault("ADVANCED_FACE", "SUBFACE", "kind of face", 210);
    expectDiscFault("FACE_OUTER_BOUND", "BOUND", "FACE_BOUND", 211);
    expectDiscFault("EDGE_LOOP", "LOOP", "kind of loop", 212);
    expectDiscFault("(#213)", "()", "without edges", 212);
    expectDiscFault("ORIENTED_EDGE", "SEAM_EDGE", "wanted ORIENTED_EDGE", 212);
    expectDiscFault("EDGE_CURVE", "SUBEDGE", "wanted EDGE_CURVE", 213);
    expectDiscFault("VERTEX_POINT", "VERTEX", "wanted VERTEX_POINT", 220);
    expectDiscFault("(2.,0.,3.)", "(2.,0.)", "3 coordinates", 231);
    expectDiscFault("#214,.T.", "#214,.U.", "wanted .T. or .F.", 210);
    expectDiscFault("CIRCLE('',#240,2.)",
                    "LINE('',#241,#222);\n#222=VECTOR('',#223,1.);\n"
                    "#223=DIRECTION('',(1.,0.,0.))",
                    "closes on a curve that does not", 220);
}

TEST(StepBody, RefusesBodiesThatAreNone)
{
    expectFault(replaced(disc(), "(#210)", "()"), 200, "no faces", 200);
    expectFault(replaced(disc(), "(#210)", "(#210,#210)"), 200, "twice", 210);
    expectFault(replaced(disc(), "OPEN_SHELL", "WIRE_SHELL"), 200, "kind of shell", 201);
    expectFault(replaced(disc(), "'disc',(#201)", "'disc',(#77)"), 200, "#77, which is missing",
                200);
    expectFault(replaced(disc(), "OPEN_SHELL('',(#210))", "ORIENTED_OPEN_SHELL('',*,#201,.T.)"),
                200, "turns round", 201);
    expectFault(replaced(disc(), "(#210)", "(#209)") + "#209=ORIENTED_FACE('',*,#209,.T.);\n", 200,
                "turns round", 209);
    expectFault(replaced(tetrahedron(), "(#111,#113,#112)", "(#111,#113)"), 100, "3 points", 141);
    expectFault(replaced(tetrahedron(), "(#111,#113,#112)", "(#111,#113,#113)"), 100, "coincide",
                121);
    expectFault(replaced(tetrahedron(), "(#111,#113,#112)", "(#111,#113,#115)") +
                    "#115=CARTESIAN_POINT('',(0.,2.,0.));\n",
                100, "one line", 121);
}

} // namespace
