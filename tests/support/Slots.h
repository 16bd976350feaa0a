//! @file
//! Place of a virtual operation in a class's table, read from a pointer to the member. A virtual
//! destructor takes two places in the table of the compilers for which this is known.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__GNUC__) && defined(__x86_64__)
#define KT_TEST_HAS_SLOTS 1
#else
#define KT_TEST_HAS_SLOTS 0
#endif

namespace kt_test {

//! Gives the index in the table; -1 for an operation that is not virtual.
template <class Member>
std::ptrdiff_t slotOf(Member aMember)
{
    static_assert(sizeof(Member) == 2 * sizeof(void*), "a pointer to a member is two words");
    std::intptr_t words[2];
    std::memcpy(words, &aMember, sizeof words);
    // Functions are aligned, so an odd first word is 1 + the offset in the table.
    return (words[0] & 1) != 0 ? (words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*)) : -1;
}

} // namespace kt_test
