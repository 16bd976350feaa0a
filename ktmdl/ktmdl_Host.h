//! @file
//! The host's interfaces as this library calls them: interface identifiers, smart pointers and
//! member numbers, under the host's own member names. All are dispatch interfaces: a pointer of
//! any of these types is an IDispatch, the identifier only tells what the object is.
//!
//! Some numbers are not those of the host's published interface. They are called all the same, on
//! purpose; docs/behaviour.md tells what that means on a live host.

#pragma once

#include "com/Com.h"

//! Identifiers of host interfaces.
namespace ktmdl_host {

inline constexpr IID IID_PartDocument = {
    0x23C52E80, 0x4698, 0x11CE, {0xB3, 0x07, 0x08, 0x00, 0x36, 0x3A, 0x1E, 0x02}};
inline constexpr IID IID_AssemblyDocument = {
    0x00C6BF00, 0x483B, 0x11CE, {0x95, 0x1A, 0x08, 0x00, 0x36, 0x01, 0xBE, 0x52}};
inline constexpr IID IID_Occurrence = {
    0x600251C5, 0xE2F4, 0x11D2, {0xBE, 0xD3, 0x08, 0x00, 0x36, 0xB4, 0xD5, 0x02}};
inline constexpr IID IID_AsmRefPlane = {
    0xAA0C3292, 0x667E, 0x11D3, {0xAE, 0xD8, 0x00, 0x50, 0x04, 0x71, 0xC4, 0x9E}};
inline constexpr IID IID_Layout = {
    0x3C883F03, 0x9BDF, 0x11D3, {0xA4, 0x73, 0x00, 0x50, 0x04, 0x71, 0xD7, 0xAC}};
inline constexpr IID IID_Reference = {
    0x8FF2DD02, 0x19B3, 0x11D1, {0xAE, 0xAF, 0x08, 0x00, 0x36, 0x16, 0xCE, 0x02}};
inline constexpr IID IID_Variable = {
    0x7647EDC3, 0x19D6, 0x11CF, {0xBC, 0xFB, 0x08, 0x00, 0x36, 0x8A, 0x11, 0x02}};
inline constexpr IID IID_Dimensions = {
    0x630DF5A0, 0x2211, 0x11CE, {0x9B, 0x15, 0x08, 0x00, 0x36, 0x01, 0xCE, 0xDF}};
inline constexpr IID IID_Dimension = {
    0x3F12B760, 0x2211, 0x11CE, {0x9B, 0x15, 0x08, 0x00, 0x36, 0x01, 0xCE, 0xDF}};
inline constexpr IID IID_Line2d = {
    0x77169D81, 0xEC58, 0x11CD, {0xBB, 0x2E, 0x08, 0x00, 0x36, 0x01, 0xBD, 0xA9}};
inline constexpr IID IID_ProfileSet = {
    0xA54FFB93, 0xF42E, 0x11CE, {0x8B, 0xB6, 0x08, 0x00, 0x36, 0xAC, 0xF8, 0x01}};
inline constexpr IID IID_Profile = {
    0x5E772660, 0x389B, 0x11CE, {0xBA, 0x48, 0x08, 0x00, 0x36, 0x25, 0x03, 0x02}};
inline constexpr IID IID_Sketch = {
    0x64BB0AAC, 0xBD80, 0x11D0, {0x94, 0x4D, 0x08, 0x00, 0x36, 0xD4, 0x22, 0x02}};
inline constexpr IID IID_ConstructionModel = {
    0x20C65610, 0xAF87, 0x11D1, {0xA2, 0x55, 0x08, 0x00, 0x36, 0x2B, 0xDC, 0x02}};
inline constexpr IID IID_InterpartConstruction = {
    0x1B73DCA4, 0xBD5D, 0x11D3, {0xA4, 0x22, 0x00, 0x04, 0xAC, 0x96, 0x8F, 0x18}};
inline constexpr IID IID_Face = {
    0x09FCA063, 0xDFBF, 0x11D0, {0xA2, 0x75, 0x08, 0x00, 0x36, 0xC5, 0xED, 0x02}};
inline constexpr IID IID_Edge = {
    0x09FCA075, 0xDFBF, 0x11D0, {0xA2, 0x75, 0x08, 0x00, 0x36, 0xC5, 0xED, 0x02}};

using PartDocumentPtr = _com_ptr_t<_com_IIID<IDispatch, &IID_PartDocument>>;
using AssemblyDocumentPtr = _com_ptr_t<_com_IIID<IDispatch, &IID_AssemblyDocument>>;
using OccurrencePtr = _com_ptr_t<_com_IIID<IDispatch, &IID_Occurrence>>;
using AsmRefPlanePtr = _com_ptr_t<_com_IIID<IDispatch, &IID_AsmRefPlane>>;
using LayoutPtr = _com_ptr_t<_com_IIID<IDispatch, &IID_Layout>>;
using ReferencePtr = _com_ptr_t<_com_IIID<IDispatch, &IID_Reference>>;
using VariablePtr = _com_ptr_t<_com_IIID<IDispatch, &IID_Variable>>;
using DimensionsPtr = _com_ptr_t<_com_IIID<IDispatch, &IID_Dimensions>>;
using DimensionPtr = _com_ptr_t<_com_IIID<IDispatch, &IID_Dimension>>;
using Line2dPtr = _com_ptr_t<_com_IIID<IDispatch, &IID_Line2d>>;
using ProfileSetPtr = _com_ptr_t<_com_IIID<IDispatch, &IID_ProfileSet>>;
using ProfilePtr = _com_ptr_t<_com_IIID<IDispatch, &IID_Profile>>;
using SketchPtr = _com_ptr_t<_com_IIID<IDispatch, &IID_Sketch>>;
using ConstructionModelPtr = _com_ptr_t<_com_IIID<IDispatch, &IID_ConstructionModel>>;
using InterpartConstructionPtr = _com_ptr_t<_com_IIID<IDispatch, &IID_InterpartConstruction>>;
using FacePtr = _com_ptr_t<_com_IIID<IDispatch, &IID_Face>>;
using EdgePtr = _com_ptr_t<_com_IIID<IDispatch, &IID_Edge>>;

//! Answers of the property "Type".
inline constexpr LONG igPartDocument = 1;
inline constexpr LONG igAssemblyDocument = 3;
inline constexpr LONG igDimension = 488188096;
inline constexpr LONG igReference = -768828720;
inline constexpr LONG igSubAssembly = -1879909116;
inline constexpr LONG igDerivedCurveObject = 97588292;
inline constexpr LONG igInterpartConstructionObject = -326994721;
inline constexpr LONG igStitchSurfaceObject = -396962225;

namespace PartDocument {
inline constexpr DISPID RefPlanes = 0x6002; //!< published as 0x6065
inline constexpr DISPID ProfileSets = 0x6064;
inline constexpr DISPID Models = 24681;
inline constexpr DISPID Sketches = 0x606C;
inline constexpr DISPID Constructions = 24686;
inline constexpr DISPID Variables = 0x2001;
} // namespace PartDocument

namespace AssemblyDocument {
inline constexpr DISPID CreateReference = 38; //!< occurrence, object in it
inline constexpr DISPID Occurrences = 0x4006;
inline constexpr DISPID Layouts = 0x6008;
inline constexpr DISPID AsmRefPlanes = 0x6065; //!< published as 0x6002
} // namespace AssemblyDocument

namespace Occurrences {
inline constexpr DISPID Count = 3;
} // namespace Occurrences

namespace Occurrence {
inline constexpr DISPID Subassembly = 10;
inline constexpr DISPID OccurrenceDocument = 38;
} // namespace Occurrence

namespace Reference {
inline constexpr DISPID Object = 4;
} // namespace Reference

namespace Variables {
inline constexpr DISPID GetName = 25; //!< variable or dimension
inline constexpr DISPID Query = 27;   //!< criterion, named by, kind, case
//! Selectors of Query.
inline constexpr SHORT seVariableNameByBoth = 2;
inline constexpr SHORT SeVariableVarTypeDimension = 1;
inline constexpr SHORT SeVariableVarTypeBoth = 3;
} // namespace Variables

namespace VariableList {
inline constexpr DISPID Count = 50;
} // namespace VariableList

namespace Variable {
inline constexpr DISPID Name = 1;     //!< read as the formula
inline constexpr DISPID GetValue = 9; //!< published with the text as an argument by reference
} // namespace Variable

namespace Dimension {
inline constexpr DISPID Value = 0; //!< metres or radians
inline constexpr DISPID DimensionType = 3;
inline constexpr DISPID Constraint = 4; //!< true: driving
inline constexpr DISPID ProjectionLineDirection = 14;
inline constexpr DISPID TrackDistance = 19; //!< metres, from the measured element to the line
inline constexpr DISPID Name = 16487;       //!< with the argument 0, read as the system name
//! Answers of DimensionType.
inline constexpr LONG igDimTypeAngular = 3;
inline constexpr LONG igDimTypeArcAngle = 7;
} // namespace Dimension

namespace Dimensions {
inline constexpr DISPID AddLength = 100;
} // namespace Dimensions

//! Members of Sketchs, ProfileSets and of the sets themselves.
namespace SketchSet {
inline constexpr DISPID Count = 5;
inline constexpr DISPID Add = 100;
inline constexpr DISPID Profiles = 5; //!< of one sketch or profile set
} // namespace SketchSet

namespace Profiles {
inline constexpr DISPID Count = 5;
inline constexpr DISPID Add = 102; //!< reference plane
} // namespace Profiles

namespace Layouts {
inline constexpr DISPID Add = 1; //!< assembly reference plane
} // namespace Layouts

namespace Layout {
inline constexpr DISPID Profile = 3;
} // namespace Layout

namespace Profile {
inline constexpr DISPID Lines2d = 10;
inline constexpr DISPID Dimensions = 16;
inline constexpr DISPID Relations2d = 17;
inline constexpr DISPID End = 100; //!< validation criteria; 0 for a valid profile
inline constexpr DISPID ProjectRefPlane = 113;
inline constexpr LONG igProfileClosed = 1;
} // namespace Profile

namespace Lines2d {
inline constexpr DISPID AddBy2Points = 100; //!< x1, y1, x2, y2; metres
} // namespace Lines2d

//! Members of Relations2d. The last argument of each is optional.
namespace Relations2d {
inline constexpr DISPID AddHorizontalAlign = 708; //!< line, key point, line, key point
inline constexpr DISPID AddVerticalAlign = 709;   //!< line, key point, line, key point
inline constexpr DISPID AddHorizontal = 712;      //!< line
inline constexpr DISPID AddVertical = 713;        //!< line
inline constexpr DISPID AddKeypoint = 719;        //!< line, key point, line, key point
//! Key points of a line.
inline constexpr LONG igLineStart = 0;
inline constexpr LONG igLineEnd = 1;
inline constexpr LONG igLineMiddle = 2;
} // namespace Relations2d

//! Members of Model and ConstructionModel.
namespace Model {
inline constexpr DISPID Features = 30;
inline constexpr DISPID Body = 49;
} // namespace Model

//! Count of Constructions and of Features.
namespace Constructions {
inline constexpr DISPID Count = 5;
} // namespace Constructions

namespace Body {
inline constexpr DISPID IsSolid = 65;
inline constexpr DISPID GetExactRange = 129; //!< lower corner, upper corner
} // namespace Body

//! Members of Faces and Edges.
namespace Collection {
inline constexpr DISPID Count = 23; //!< property: 32-bit integer
} // namespace Collection

namespace Face {
inline constexpr DISPID GetFacetData = 47;
inline constexpr DISPID GetNormal = 229;
inline constexpr DISPID GetParamRange = 232; //!< lower corner, upper corner
inline constexpr DISPID GetPointAtParam = 233;
inline constexpr DISPID GetParamAtPoint = 234; //!< the parameters come back in the fifth argument
} // namespace Face

namespace Edge {
inline constexpr DISPID Geometry = 76;
inline constexpr DISPID IsParamReversed = 77;
inline constexpr DISPID IsClosed = 85;
inline constexpr DISPID GetEndPoints = 267;
inline constexpr DISPID GetLengthAtParam = 268;
inline constexpr DISPID GetParamExtents = 272;
} // namespace Edge

//! Selector of the collection properties Faces and Edges: all of them.
inline constexpr LONG igQueryAll = 1;

} // namespace ktmdl_host
