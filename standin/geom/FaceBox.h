//! @file
//! The exact box of a trimmed face. Internal to the geometry; FaceGeometry.h is for its users.

#pragma once

#include "standin/geom/Trim.h"

namespace standin::geom {

//! Gives the box of the face's edges, of their feet on the surface, and of the places inside the
//! loops where the surface turns along x, y or z.
[[nodiscard]] Box trimmedBox(const Trim& trim, const Body& body, const Face& face);

} // namespace standin::geom
