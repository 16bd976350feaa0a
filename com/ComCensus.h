//! @file
//! Counts of what is alive, for tests that must leave nothing behind.
#pragma once

#include "com/ComExport.h"

namespace com {

//! Tells whether liveStrings() and liveArrays() count on this platform.
KTCOM_EXPORT bool countsStrings() noexcept;

//! Gives the number of BSTRs made and not yet freed in this process; 0 when not counted.
KTCOM_EXPORT long liveStrings() noexcept;

//! Gives the number of SAFEARRAYs made and not yet freed in this process; 0 when not counted.
KTCOM_EXPORT long liveArrays() noexcept;

} // namespace com
