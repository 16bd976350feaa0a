//! @file
//! Helpers shared by the surfaces without closed forms.

#pragma once

#include "standin/geom/Surface.h"

#include <vector>

namespace standin::geom {

//! Gives du x dv at unit length; where that has none, its value a little further inside.
[[nodiscard]] Vec normalByDerivatives(const Surface& surface, Param p);

//! Tells whether the points of a constant-parameter line lie together.
//! @param values     parameters along the line
//! @param tolerance  the largest distance that counts as together
//! @param point      set to the line's first point
[[nodiscard]] bool collapses(const Surface& surface, bool constantU, double at,
                             const std::vector<double>& values, double tolerance, Vec& point);

} // namespace standin::geom
