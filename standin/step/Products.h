//! @file
//! Products of a file and how assemblies use them.

#pragma once

#include "standin/geom/Brep.h"
#include "standin/step/Exchange.h"
#include "standin/step/Report.h"

#include <string>

namespace standin::step {

//! Reads every product with a shape, its bodies and its occurrences.
//! @param name    names the product of bodies that belong to none
//! @param report  gets what is left out
//! @return        without warnings
//! @throws StepError  an assembly contains itself, or no body can be opened
[[nodiscard]] geom::Model readProducts(const Exchange& exchange, const std::string& name,
                                       Report& report);

} // namespace standin::step
