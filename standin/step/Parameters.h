//! @file
//! Parser of parameter lists.

#pragma once

#include "standin/step/Exchange.h"

namespace standin::step {

//! Parses the parameters behind a keyword, from '(' to its ')'.
//! @param nodes   what it found is appended; null: only the grammar is checked
//! @param entity  for messages, 0 when there is none
//! @return        the count of parameters
//! @throws StepError  a token in the wrong place, or lists nested deeper than 64
std::uint32_t parseParameters(Scanner& scanner, std::vector<Node>* nodes, long entity);

//! Gives the number behind '#'.
//! @throws StepError  it does not fit 31 bits, or is 0
[[nodiscard]] std::uint32_t instanceNumber(const Scanner& scanner, const Token& token);

} // namespace standin::step
