//! @file
//! Tells whether a profile is what Profile.End asks for.

#pragma once

#include "standin/Drawing.h"

namespace standin {

//! Criteria of End, one bit each.
constexpr LONG igProfileClosed = 1;
constexpr LONG igProfileSingle = 4;
constexpr LONG igProfileNoSelfIntersect = 8;
constexpr LONG igProfileAxisRequired = 16;
constexpr LONG igProfileAxisNotCrossed = 32;
constexpr LONG igProfileNestedAllowed = 8192;
constexpr LONG kAllCriteria = igProfileClosed | igProfileSingle | igProfileNoSelfIntersect |
                              igProfileAxisRequired | igProfileAxisNotCrossed |
                              igProfileNestedAllowed;

//! Tells whether a profile meets criteria.
//! Closed: each end of each drawn line is joined by key-point relations to one end of another
//! line, and each loop has at least three lines. Single: all lines hang together. No self-
//! intersection: no two lines meet but at joined ends. A required axis is never there. The other
//! two are always met: there is no axis to be crossed, and loops inside others are no fault.
//! @param criteria  of kAllCriteria
[[nodiscard]] bool meets(const DrawnProfile& profile, LONG criteria);

} // namespace standin
