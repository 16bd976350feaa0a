//! @file
//! What of a profile is told in words, in the demo's text and in its picture.

#pragma once

#include "standin/DocumentData.h"

#include <string>

namespace demo {

//! Names what a profile is drawn in: "sketch", "profile set" or "layout".
[[nodiscard]] const char* containerName(standin::ContainerKind kind);
//! Names a relation: "horizontal", "connected", "equal x", ...
[[nodiscard]] const char* relationName(standin::RelationKind kind);
//! Names a key point: "start", "end" or "middle".
[[nodiscard]] const char* keypointName(long keypoint);
//! Names a line of a profile: "line 1", or "plane 2" for a projected one.
[[nodiscard]] std::string lineName(const standin::ProfileView& profile, std::size_t line);
//! Writes where a line runs: "(-30, -20) to (30, -20)", in millimetres.
[[nodiscard]] std::string courseOf(const standin::SketchLine& line);
//! Writes what a relation holds between: "line 1", "end of line 1, start of line 2".
[[nodiscard]] std::string partnersOf(const standin::ProfileView& profile,
                                     const standin::SketchRelation& relation);
//! Names a profile's plane: "plane 1, Top (xy)".
[[nodiscard]] std::string planeName(const standin::ProfileView& profile);

} // namespace demo
