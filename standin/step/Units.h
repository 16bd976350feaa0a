//! @file
//! Units of a representation.

#pragma once

#include "standin/step/Exchange.h"

namespace standin::step {

struct Units
{
    double length{};      //!< metres per unit of length, 0 when the context names none
    double angle{};       //!< radians per unit of plane angle, 0 when the context names none
    double uncertainty{}; //!< metres, the largest distance uncertainty; 0 when there is none
};

//! Reads the units of a representation context: SI units with prefixes, conversion based units.
//! @param number  the context's instance number
//! @throws StepError  the context or a unit of length or angle can't be read
[[nodiscard]] Units readUnits(const Exchange& exchange, long number);

} // namespace standin::step
