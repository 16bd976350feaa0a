//! @file
//! Bodies of a file: shells, faces, loops, edges, vertices.

#pragma once

#include "standin/geom/Brep.h"
#include "standin/step/Exchange.h"
#include "standin/step/Report.h"
#include "standin/step/Units.h"

#include <string_view>
#include <unordered_set>

namespace standin::step {

//! Tells whether an instance with a keyword is read as a body: solids by their shells, and surface
//! models, which become bodies that are not solid.
[[nodiscard]] bool isBodyKeyword(std::string_view keyword) noexcept;

//! Reads a body.
//! @param units   lengths must be known
//! @param faces   the numbers of the faces read are added
//! @param report  gets what is odd but can be read
//! @throws StepError  a part of it can't be read; the text names the face
[[nodiscard]] geom::Body readBody(const Exchange& exchange, long number, const Units& units,
                                  std::unordered_set<long>& faces, Report& report);

} // namespace standin::step
