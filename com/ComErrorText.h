//! @file
//! The text of a result code, the same rule on every platform.
#pragma once

#include "com/Com.h"
#include "com/ComExport.h"

#include <string>

namespace com {

//! Gives the system's text for a code, without the line end. When the system has none: "IDispatch
//! error #" and the distance from 0x80040200 in decimal for codes from 0x80040201 to 0x8004FFFF,
//! else "Unknown error 0x" and the code in capital hexadecimal digits.
//! The system's texts come from the system on Windows, in the user's language, and are the English
//! ones elsewhere. Placeholders in them (%1) are left as they are.
//! @param hr  a result code, or a bare Win32 error number
KTCOM_EXPORT std::string errorText(HRESULT hr);

} // namespace com
