//! @file
//! A picture of a profile that a person can read.

#pragma once

#include "standin/DocumentData.h"

#include <string>

namespace demo {

//! Draws a profile as an SVG picture of a fixed size: axes, lines, key points, relation marks, the
//! edges of projected planes, sizes in millimetres, and a legend. Sizes that no dimension gives
//! are measured, and drawn in grey. The picture is to scale unless the profile is very slender;
//! then its short side is drawn longer, and the legend says so.
//! @param profile   with a line at least; all its numbers finite
//! @param document  where it was drawn, UTF-8
[[nodiscard]] std::string profilePicture(const standin::ProfileView& profile,
                                         const std::string& document);

} // namespace demo
