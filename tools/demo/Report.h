//! @file
//! What the demo prints.

#pragma once

#include "demo/Life.h"

#include <string>

namespace demo {

//! Writes the line of a step.
[[nodiscard]] std::string stepLine(const std::string& name, const std::string& text,
                                   double seconds);

//! Writes the closing lines: what differs, warnings, totals.
[[nodiscard]] std::string closingText(const LifeReport& report);

//! Writes the report as one JSON object, lengths in metres.
[[nodiscard]] std::string jsonText(const LifeReport& report);

} // namespace demo
