//! @file
//! Small STEP files for tests.

#pragma once

#include "standin/step/Exchange.h"

#include <string>

namespace test {

//! The line on which the data of stepFile() begins.
constexpr std::size_t kDataLine = 8;

//! Wraps data lines as a whole file; kDataLine is the line of the first of them.
inline std::string stepFile(const std::string& data)
{
    return "ISO-10303-21;\nHEADER;\nFILE_DESCRIPTION((''),'2;1');\n"
           "FILE_NAME('','2024-01-01T00:00:00',(''),(''),'','','');\n"
           "FILE_SCHEMA(('AUTOMOTIVE_DESIGN'));\nENDSEC;\nDATA;\n" +
           data + "ENDSEC;\nEND-ISO-10303-21;\n";
}

//! Units of metre and radian as the context #900.
inline std::string metres()
{
    return "#900=(GEOMETRIC_REPRESENTATION_CONTEXT(3)GLOBAL_UNIT_ASSIGNED_CONTEXT((#901,#902))"
           "REPRESENTATION_CONTEXT('',''));\n"
           "#901=(LENGTH_UNIT()NAMED_UNIT(*)SI_UNIT($,.METRE.));\n"
           "#902=(NAMED_UNIT(*)PLANE_ANGLE_UNIT()SI_UNIT($,.RADIAN.));\n";
}

//! A product 'part' (definition #912) whose shape #914 has the given items in the context #900.
inline std::string product(const std::string& items)
{
    return "#910=PRODUCT('part','','',(#999));\n#911=PRODUCT_DEFINITION_FORMATION('','',#910);\n"
           "#912=PRODUCT_DEFINITION('','',#911,#999);\n"
           "#913=PRODUCT_DEFINITION_SHAPE('','',#912);\n"
           "#914=SHAPE_REPRESENTATION('',(" +
           items + "),#900);\n#915=SHAPE_DEFINITION_REPRESENTATION(#913,#914);\n";
}

//! A tetrahedron of loops of points as the solid #100, its corners at the origin and at 1 on each
//! axis; the faces are #121 to #124.
inline std::string tetrahedron()
{
    return "#100=FACETED_BREP('tetra',#101);\n"
           "#101=CLOSED_SHELL('',(#121,#122,#123,#124));\n"
           "#111=CARTESIAN_POINT('',(0.,0.,0.));\n#112=CARTESIAN_POINT('',(1.,0.,0.));\n"
           "#113=CARTESIAN_POINT('',(0.,1.,0.));\n#114=CARTESIAN_POINT('',(0.,0.,1.));\n"
           "#121=FACE('',(#131));\n#122=FACE('',(#132));\n#123=FACE('',(#133));\n"
           "#124=FACE('',(#134));\n"
           "#131=FACE_OUTER_BOUND('',#141,.T.);\n#132=FACE_OUTER_BOUND('',#142,.T.);\n"
           "#133=FACE_OUTER_BOUND('',#143,.T.);\n#134=FACE_OUTER_BOUND('',#144,.T.);\n"
           "#141=POLY_LOOP('',(#111,#113,#112));\n#142=POLY_LOOP('',(#111,#112,#114));\n"
           "#143=POLY_LOOP('',(#111,#114,#113));\n#144=POLY_LOOP('',(#112,#113,#114));\n";
}

//! A disc of radius 2 in the plane z = 3 as the surface model #200, with the one face #210, the
//! edge #220, the vertex #230 at (2, 0, 3) and the circle #221.
inline std::string disc()
{
    return "#200=SHELL_BASED_SURFACE_MODEL('disc',(#201));\n#201=OPEN_SHELL('',(#210));\n"
           "#210=ADVANCED_FACE('',(#211),#214,.T.);\n#211=FACE_OUTER_BOUND('',#212,.T.);\n"
           "#212=EDGE_LOOP('',(#213));\n#213=ORIENTED_EDGE('',*,*,#220,.T.);\n"
           "#214=PLANE('',#240);\n#220=EDGE_CURVE('',#230,#230,#221,.T.);\n"
           "#221=CIRCLE('',#240,2.);\n#230=VERTEX_POINT('',#231);\n"
           "#231=CARTESIAN_POINT('',(2.,0.,3.));\n#240=AXIS2_PLACEMENT_3D('',#241,$,$);\n"
           "#241=CARTESIAN_POINT('',(0.,0.,3.));\n";
}

//! Replaces one piece of text, which must occur.
inline std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    const std::size_t at = text.find(from);
    if (at == std::string::npos) {
        throw std::logic_error("the test's text does not hold " + from);
    }
    return text.replace(at, from.size(), to);
}

} // namespace test
