//! @file
//! What stands both in the picture of a profile and in its legend, and the legend.

#pragma once

#include "demo/Svg.h"
#include "standin/DocumentData.h"

#include <string>

namespace demo {

inline constexpr const char* kPlaneLook =
    "stroke=\"#e0932f\" stroke-width=\"5\" stroke-opacity=\"0.6\" stroke-dasharray=\"16 5 4 5\"";
inline constexpr const char* kAlignLook =
    "stroke=\"#8a2d8a\" stroke-width=\"1.5\" stroke-dasharray=\"3 3\"";
inline constexpr const char* kDrivingColour = "#0b6b3a";
inline constexpr const char* kMeasuredColour = "#777777";

//! Draws the head of an arrow.
//! @param direction  of length 1, towards the tip
void drawArrowHead(Svg& svg, const Pixel& tip, const Pixel& direction, const char* colour);
//! Draws the number of a line.
void drawTag(Svg& svg, const Pixel& centre, const std::string& text);
//! Draws the mark of a relation.
void drawMark(Svg& svg, const Pixel& centre, standin::RelationKind kind);

//! Draws the legend: lines, relations, sizes and state of a profile.
//! @param corner   where it begins, upper left
//! @param right    where its texts must end
//! @param toScale  what is said of the picture
void drawLegend(Svg& svg, const Pixel& corner, double right, const standin::ProfileView& profile,
                bool toScale);

} // namespace demo
