//! @file
//! The one place where wide and 8-bit text meet. 8-bit text is UTF-8 on every platform; wide text
//! is UTF-16 where wchar_t has 16 bits and UTF-32 where it has 32.
//!
//! Nothing raises for bad input: whatever is not valid (a broken or overlong sequence, a lone
//! surrogate, a code above U+10FFFF) becomes U+FFFD, one per ill-formed piece, where a piece is the
//! longest beginning of a valid sequence, or else one unit. Zeros are kept.
#pragma once

#include "com/ComExport.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace com {

//! Converts wide text to UTF-8.
//! @param text    @p length units; may be null when @p length is 0
//! @param length  in wchar_t units
KTCOM_EXPORT std::string toUtf8(const wchar_t* text, std::size_t length);

//! Converts wide text to UTF-8.
KTCOM_EXPORT std::string toUtf8(std::wstring_view text);

//! Converts UTF-8 to wide text.
KTCOM_EXPORT std::wstring fromUtf8(std::string_view text);

} // namespace com
