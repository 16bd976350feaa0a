//! @file
//! BSTRs from UTF-8, text of numbers and identifiers, names compared.

#pragma once

#include "com/Com.h"

#include <string>
#include <string_view>

namespace standin {

//! Makes a BSTR from UTF-8; the caller frees it.
//! @return null when there is not enough memory
[[nodiscard]] BSTR makeBstr(const std::string& text);

//! Writes a number with up to 9 digits, always with a point as decimal sign.
[[nodiscard]] std::string numberText(double value);
//! Writes eight hexadecimal digits behind "0x".
[[nodiscard]] std::string codeText(HRESULT code);
//! Writes an identifier: "{09FCA063-DFBF-11D0-A275-080036C5ED02}".
[[nodiscard]] std::string identifierText(const IID& iid);

//! Tells whether a text fits a pattern, in which * stands for any characters and ? for one.
//! @param anyCase  ASCII letters of either case are equal
[[nodiscard]] bool matchesPattern(std::wstring_view text, std::wstring_view pattern,
                                  bool anyCase) noexcept;

//! Compares without regard to the case of ASCII letters.
[[nodiscard]] bool sameName(const char* name, const wchar_t* other) noexcept;
[[nodiscard]] bool sameName(const wchar_t* name, const wchar_t* other) noexcept;

} // namespace standin
