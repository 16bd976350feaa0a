//! @file
//! Points, directions and placements.

#pragma once

#include "standin/geom/Brep.h"
#include "standin/step/Exchange.h"

namespace standin::step {

// Each function takes a parameter that refers to the instance and raises a StepError when that is
// missing, of another kind, or can't be used.

//! Reads a CARTESIAN_POINT of three coordinates.
//! @param length  metres per unit
[[nodiscard]] geom::Vec readPoint(const Exchange& exchange, const Value& reference, double length);

//! Reads a DIRECTION as a unit vector.
[[nodiscard]] geom::Vec readDirection(const Exchange& exchange, const Value& reference);

//! Reads an AXIS2_PLACEMENT_3D; absent axes are the part's Z and X.
[[nodiscard]] geom::Frame readAxis2(const Exchange& exchange, const Value& reference,
                                    double length);

//! Reads an AXIS1_PLACEMENT as a frame whose z is the axis.
[[nodiscard]] geom::Frame readAxis1(const Exchange& exchange, const Value& reference,
                                    double length);

//! Reads the target of a mapped item: an AXIS2_PLACEMENT_3D or a
//! CARTESIAN_TRANSFORMATION_OPERATOR_3D that neither scales nor mirrors.
[[nodiscard]] geom::Frame readTarget(const Exchange& exchange, const Value& reference,
                                     double length);

//! Gives the placement that moves one frame onto another.
[[nodiscard]] geom::Placement between(const geom::Frame& from, const geom::Frame& to);

} // namespace standin::step
