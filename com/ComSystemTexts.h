//! @file
//! The system's English texts of result codes off Windows; not for users, see "com/ComErrorText.h".
#pragma once

#include "com/ComTypes.h"

namespace com_detail {

//! Gives the text of a result code or of a bare Win32 error number, which lives for ever; null when
//! the system has none. A wrapped Win32 error (0x8007xxxx) has the text of its number.
const char* systemText(HRESULT hr) noexcept;

//! As systemText, for bare Win32 error numbers only.
const char* win32Text(LONG error) noexcept;

} // namespace com_detail
