//! @file
//! The graph of products.

#pragma once

#include "standin/geom/Brep.h"
#include "standin/step/Exchange.h"

namespace standin::step {

//! Raises a StepError when a product is used inside itself.
void refuseCycles(const geom::Model& model, const Exchange& exchange);

} // namespace standin::step
