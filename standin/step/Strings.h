//! @file
//! Strings of the clear text encoding as UTF-8.

#pragma once

#include <string>
#include <string_view>

namespace standin::step {

//! Decodes the inside of a string: '' and \\ for one character each, \X\hh,
//! \X2\hhhh..\X0\ (UTF-16), \X4\hhhhhhhh..\X0\ (UTF-32), \P?\ and \S\c (upper half of ISO 8859-1 to
//! -9). Line ends and other control characters written in the file vanish. What is not a proper
//! directive is kept as it stands; what is no character becomes U+FFFD. Bytes above 127 are taken
//! as UTF-8 when the whole string is, else as ISO 8859-1.
//! @param encoded  without the quotes
//! @return         UTF-8
[[nodiscard]] std::string decodeString(std::string_view encoded);

} // namespace standin::step
