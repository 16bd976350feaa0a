//! @file
//! Frame of the archive records of classes: version check in front when loading, end marker behind.
#pragma once

#include <limits>

class ktstd_Archive;

#if defined(__BYTE_ORDER__) && defined(__ORDER_LITTLE_ENDIAN__)
#if __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "coordinates are stored as they lie in memory, which must be little-endian"
#endif
#endif

namespace ktmdl_detail {

static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == 8,
              "coordinates are stored as 64-bit IEEE 754 numbers");

//! Checks the version of a class in the archive that is being loaded.
//! @param aName  class name; an array that never changes, known by its address
//! @throws ktstd_fail_FileIO  code 16: the version is negative or above the newest one known
void CheckClassVersion(const char* aName);

//! Writes the end marker of a record, or reads and checks it. In archives before format 16 none is
//! read.
//! @param aArchive  storing or loading
//! @param aName     class name
//! @throws ktstd_fail_FileIO  code 17: something else stands there
void EndOfClass(ktstd_Archive& aArchive, const char* aName);

} // namespace ktmdl_detail
