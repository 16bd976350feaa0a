//! @file
//! The host's interfaces as this library calls them: interface identifiers, smart pointers and
//! member numbers, under the host's own member names. All are dispatch interfaces: a pointer of
//! any of these types is an IDispatch, the identifier only tells what the object is.

#pragma once

#include "com/Com.h"

//! Identifiers of host interfaces.
namespace ktmdl_host {

inline constexpr IID IID_Face = {
    0x09FCA063, 0xDFBF, 0x11D0, {0xA2, 0x75, 0x08, 0x00, 0x36, 0xC5, 0xED, 0x02}};
inline constexpr IID IID_Edge = {
    0x09FCA075, 0xDFBF, 0x11D0, {0xA2, 0x75, 0x08, 0x00, 0x36, 0xC5, 0xED, 0x02}};

using FacePtr = _com_ptr_t<_com_IIID<IDispatch, &IID_Face>>;
using EdgePtr = _com_ptr_t<_com_IIID<IDispatch, &IID_Edge>>;

//! Members of Faces and Edges.
namespace Collection {
inline constexpr DISPID Item = 0;   //!< method: index; 1-based
inline constexpr DISPID Count = 23; //!< property: 32-bit integer
} // namespace Collection

//! Members of Face.
namespace Face {
inline constexpr DISPID GetFacetData = 47;
inline constexpr DISPID GetNormal = 229;
inline constexpr DISPID GetParamAtPoint = 234; //!< the parameters come back in the fifth argument
} // namespace Face

//! Members of Edge.
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
