//! @file
//! Identifiers and constants of the host's interfaces. Numbers of members stand in the tables of
//! the classes that answer them.

#pragma once

#include "com/Com.h"

namespace standin {

constexpr IID kIidPartDocument{
    0x23C52E80, 0x4698, 0x11CE, {0xB3, 0x07, 0x08, 0x00, 0x36, 0x3A, 0x1E, 0x02}};
constexpr IID kIidModels{
    0x49852F8C, 0xA403, 0x11CE, {0x81, 0x8E, 0x08, 0x00, 0x36, 0x3A, 0x1E, 0x02}};
constexpr IID kIidModel{
    0x49852F7F, 0xA403, 0x11CE, {0x81, 0x8E, 0x08, 0x00, 0x36, 0x3A, 0x1E, 0x02}};

constexpr IID kIidConstructions{
    0xC42C9A10, 0x90F2, 0x11D1, {0xA2, 0x4E, 0x08, 0x00, 0x36, 0x2B, 0xDC, 0x02}};
constexpr IID kIidConstructionModel{
    0x20C65610, 0xAF87, 0x11D1, {0xA2, 0x55, 0x08, 0x00, 0x36, 0x2B, 0xDC, 0x02}};
constexpr IID kIidFeatures{
    0x777E2640, 0x3331, 0x11CF, {0x81, 0xE1, 0x08, 0x00, 0x36, 0xC2, 0x00, 0x02}};
constexpr IID kIidInterpartConstruction{
    0x1B73DCA4, 0xBD5D, 0x11D3, {0xA4, 0x22, 0x00, 0x04, 0xAC, 0x96, 0x8F, 0x18}};
constexpr IID kIidStitchSurface{
    0x9143A250, 0x939A, 0x4123, {0x92, 0x22, 0x1F, 0x91, 0x7D, 0x53, 0x75, 0xA9}};
constexpr IID kIidDerivedCurve{
    0x77B0E1E8, 0x3580, 0x4947, {0x8C, 0xB1, 0x5E, 0xDB, 0x38, 0x6A, 0x07, 0xD0}};

constexpr IID kIidVariables{
    0x7647EDC6, 0x19D6, 0x11CF, {0xBC, 0xFB, 0x08, 0x00, 0x36, 0x8A, 0x11, 0x02}};
constexpr IID kIidVariableList{
    0x1033E6A2, 0x2F02, 0x11CF, {0xBD, 0x0C, 0x08, 0x00, 0x36, 0x8A, 0x11, 0x02}};
constexpr IID kIidVariable{
    0x7647EDC3, 0x19D6, 0x11CF, {0xBC, 0xFB, 0x08, 0x00, 0x36, 0x8A, 0x11, 0x02}};
constexpr IID kIidDimension{
    0x3F12B760, 0x2211, 0x11CE, {0x9B, 0x15, 0x08, 0x00, 0x36, 0x01, 0xCE, 0xDF}};
constexpr IID kIidRefPlanes{
    0x9025F1C0, 0x35F9, 0x11CE, {0xB3, 0x07, 0x08, 0x00, 0x36, 0x3A, 0x1E, 0x02}};
constexpr IID kIidRefPlane{
    0x2BAE0540, 0x35FE, 0x11CE, {0xB3, 0x07, 0x08, 0x00, 0x36, 0x3A, 0x1E, 0x02}};
constexpr IID kIidAsmRefPlanes{
    0xAA0C3293, 0x667E, 0x11D3, {0xAE, 0xD8, 0x00, 0x50, 0x04, 0x71, 0xC4, 0x9E}};
constexpr IID kIidAsmRefPlane{
    0xAA0C3292, 0x667E, 0x11D3, {0xAE, 0xD8, 0x00, 0x50, 0x04, 0x71, 0xC4, 0x9E}};

//! The geometry library's identifiers differ in their first group alone.
constexpr IID geometryIid(unsigned first) noexcept
{
    return {first, 0xDFBF, 0x11D0, {0xA2, 0x75, 0x08, 0x00, 0x36, 0xC5, 0xED, 0x02}};
}
constexpr IID kIidBody = geometryIid(0x09FCA073);
constexpr IID kIidFaces = geometryIid(0x09FCA061);
constexpr IID kIidFace = geometryIid(0x09FCA063);
constexpr IID kIidEdges = geometryIid(0x09FCA06C);
constexpr IID kIidEdge = geometryIid(0x09FCA075);
constexpr IID kIidLine = geometryIid(0x09FCA085);
constexpr IID kIidCircle = geometryIid(0x09FCA081);
constexpr IID kIidEllipse = geometryIid(0x09FCA083);
constexpr IID kIidBSplineCurve = geometryIid(0x09FCA07F);

constexpr LONG igPartDocument = 1;

constexpr LONG igVariable = 1984425411;
constexpr LONG igDimension = 488188096;
constexpr LONG igRefPlane = 732824896;
constexpr LONG igAsmRefPlane = -1442041198;
constexpr LONG igSketch = 1689979564;
constexpr LONG igProfile = 1584866912;
constexpr LONG igProfileSet = -1521484909;
constexpr LONG seLayout = 911078209;

constexpr LONG igDerivedCurveObject = 97588292;
constexpr LONG igInterpartConstructionObject = -326994721;
constexpr LONG igStitchSurfaceObject = -396962225;

constexpr LONG igBody = 167551091;
constexpr LONG igFace = 167551075;
constexpr LONG igEdge = 167551093;
constexpr LONG igLine = 167551109;
constexpr LONG igCircle = 167551105;
constexpr LONG igEllipse = 167551107;
constexpr LONG igBSplineCurve = 167551103;
constexpr LONG igPlane = -1909484335;
constexpr LONG igCylinder = -114972029;
constexpr LONG igCone = -114972031;
constexpr LONG igSphere = -114972027;
constexpr LONG igTorus = -114972025;
constexpr LONG igBSplineSurface = 1465959633;

//! Selectors of Faces and Edges.
constexpr LONG igQueryAll = 1;
constexpr LONG igQueryRoundable = 2;
constexpr LONG igQueryStraight = 3;
constexpr LONG igQueryEllipse = 4;
constexpr LONG igQuerySpline = 5;
constexpr LONG igQueryPlane = 6;
constexpr LONG igQueryCone = 7;
constexpr LONG igQueryTorus = 8;
constexpr LONG igQuerySphere = 9;
constexpr LONG igQueryCylinder = 10;

//! Members whose number in the host is not known stand from here on; call them by name.
constexpr DISPID kOwnNumbers = 0x7F000000;

} // namespace standin
