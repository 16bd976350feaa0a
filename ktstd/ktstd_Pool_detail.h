//! @file
//! Memory for small shared objects, which come and go in great numbers.
#pragma once

#include <cstddef>

namespace ktstd_detail {

//! Gives memory for an object; large objects come from the general heap. Used by one thread at a
//! time.
//! @throws std::bad_alloc
void* AllocatePooled(std::size_t aSize);

//! Takes memory back.
//! @param aMemory  from AllocatePooled with the same size
//! @param aSize    that size
void FreePooled(void* aMemory, std::size_t aSize) noexcept;

//! Gives the number of pooled objects that are alive; 0 when the build doesn't pool.
[[nodiscard]] std::size_t PooledObjects() noexcept;

} // namespace ktstd_detail
