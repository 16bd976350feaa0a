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
