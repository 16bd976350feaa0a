//! @file
//! What the demo prints.

#pragma once

#include "demo/Life.h"
#include "demo/Stage.h"

#include <nlohmann/json_fwd.hpp>

#include <array>
#include <sstream>
#include <string>
#include <vector>

namespace demo {

// What all verbs print with.

//! Gives a stream that writes numbers the same in every locale.
[[nodiscard]] std::ostringstream classicStream();
//! Writes a number with the word for one or for many.
[[nodiscard]] std::string count(long number, const char* one, const char* many);
//! Gives a text of a file or of the host as it may be printed within a line: control characters
//! become blanks.
[[nodiscard]] std::string printable(std::string text);
//! Writes a length in millimetres, as short as it can be written with nine digits, without unit.
//! @param metres  a value that rounds to zero is written without a sign
[[nodiscard]] std::string millimetres(double metres);
//! Writes a length in millimetres with two digits behind the point, without unit.
//! @param metres  a value that rounds to zero is written without a sign
[[nodiscard]] std::string fixedMillimetres(double metres);
//! Writes "box 60.00 x 40.00 x 25.00 mm".
//! @param min  metres, as max
[[nodiscard]] std::string boxSizes(const std::array<double, 3>& min,
                                   const std::array<double, 3>& max);

//! Writes the line of a step.
[[nodiscard]] std::string stepLine(const std::string& name, const std::string& text,
                                   double seconds);
//! Writes the last lines of every verb: the warnings, and what the steps cost.
[[nodiscard]] std::string endingText(const std::vector<std::string>& warnings,
                                     const Effort& effort);
//! Adds "host_calls", "host_calls_per_step", "seconds" and "warnings" to a JSON object.
void addEnding(nlohmann::ordered_json& json, const std::vector<std::string>& warnings,
               const Effort& effort);
//! Writes a JSON object; what is not UTF-8 in it is replaced.
[[nodiscard]] std::string jsonText(const nlohmann::ordered_json& json);

// The life of a part.

//! Writes the closing lines: what differs, warnings, totals.
[[nodiscard]] std::string closingText(const LifeReport& report);
//! Writes the report as one JSON object, lengths in metres.
[[nodiscard]] std::string jsonText(const LifeReport& report);

} // namespace demo
