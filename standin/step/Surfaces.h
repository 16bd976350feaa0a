//! @file
//! Surfaces of a file.

#pragma once

#include "standin/geom/Surface.h"
#include "standin/step/Exchange.h"
#include "standin/step/Units.h"

namespace standin::step {

//! A surface, and whether the file's normal is against its normal.
struct OrientedSurface
{
    geom::SurfacePtr surface;
    bool reversed{};
};

//! Reads a surface: elementary ones, B-splines of all kinds, surfaces of extrusion and of
//! revolution, offsets, and what trims one of them. Limits of trimmed surfaces are not kept: faces
//! have their bounds.
//! @throws StepError  the surface is of another kind, or can't be used
[[nodiscard]] OrientedSurface readSurface(const Exchange& exchange, const Value& reference,
                                          const Units& units);

} // namespace standin::step
