//! @file
//! The counters and the gate behind "com/ComCensus.h" off Windows; not for users.
#pragma once

#include <atomic>

namespace com_detail {

extern std::atomic<long> liveStringCount;
extern std::atomic<long> liveArrayCount;

//! Asks the gate of com::setAllocationGate.
bool mayAllocate() noexcept;

} // namespace com_detail
