//! @file
//! Where an assembly places its parts.

#pragma once

#include "standin/geom/Brep.h"
#include "standin/step/Representations.h"

#include <functional>

namespace standin::step {

//! Reads the transformation of a relationship between a part's and its assembly's representation,
//! whichever of the two stands first.
//! @param relation  a relationship without transformation places the part at the origin
//! @param isChild   tells whether a representation is the part's
//! @return          from the part's space to the assembly's
//! @throws StepError  it can't be read, or scales or mirrors
[[nodiscard]] geom::Placement readTransformation(const Exchange& exchange,
                                                 Representations& representations,
                                                 const Entity& relation,
                                                 const std::function<bool(long)>& isChild);

} // namespace standin::step
