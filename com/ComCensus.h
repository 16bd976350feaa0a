//! @file
//! Counts of what is alive, for tests that must leave nothing behind, and a way to let memory run
//! out.
//!
//! Off Windows strings and arrays are always counted, each kind by itself. On Windows they are the
//! system's: counting begins with startCounting(), strings and arrays can't be told apart, and
//! liveStrings() counts all blocks of task memory: one for a string, one or two for an array, one
//! for whatever else was asked of CoTaskMemAlloc. What was made before counting began never counts.
#pragma once

#include "com/ComExport.h"

namespace com {

//! Begins to count, where that is not done always. On Windows it watches the task memory of the
//! whole process until its end, so only test programs should ask for it.
//! @return what countsStrings() gives from now on; false when somebody else watches already
KTCOM_EXPORT bool startCounting() noexcept;

//! Tells whether liveStrings() counts.
KTCOM_EXPORT bool countsStrings() noexcept;

//! Tells whether liveArrays() counts arrays by themselves.
KTCOM_EXPORT bool countsArrays() noexcept;

//! Gives the number of BSTRs (on Windows: of blocks) made and not yet freed in this process; 0 when
//! not counted.
KTCOM_EXPORT long liveStrings() noexcept;

//! Gives the number of SAFEARRAYs made and not yet freed in this process; 0 when not counted by
//! themselves.
KTCOM_EXPORT long liveArrays() noexcept;

//! Tells whether memory may be taken.
using AllocationGate = bool (*)() noexcept;

//! Asks a function from now on before memory is taken for a string, an array or a block of task
//! memory; where it gives false, that maker fails as if there were no memory. Only for tests.
//! @param gate  null: nobody is asked
//! @return      false where nobody can be asked: on Windows when startCounting() failed
KTCOM_EXPORT bool setAllocationGate(AllocationGate gate) noexcept;

} // namespace com
