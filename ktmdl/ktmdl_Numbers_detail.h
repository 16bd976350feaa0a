//! @file
//! Numbers that the geometry shares.
#pragma once

namespace ktmdl_detail {

//! What is nearer than this counts as equal, what is shorter as nothing.
inline constexpr double kTolerance = 1e-6;
inline constexpr double kPi = 3.14159265358979323846;
inline constexpr double kHalfPi = 1.5707963267948966;

} // namespace ktmdl_detail
