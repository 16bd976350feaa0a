//! @file
//! The counters behind "com/ComCensus.h" off Windows; not for users.
#pragma once

#include <atomic>

namespace com_detail {

extern std::atomic<long> liveStringCount;
extern std::atomic<long> liveArrayCount;

} // namespace com_detail
