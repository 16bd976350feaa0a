//! @file
//! Lets memory run out at a chosen allocation. A program that contains this takes all memory of
//! operator new from here; once canFailStrings was called, strings and arrays ask here as well.
#pragma once

#include <cstddef>

namespace kt_test {

//! What fails once the chosen allocation has come.
enum class Shortage
{
    Once,   //!< that allocation alone
    Lasting //!< that one and all after it
};

//! While it lives, the allocations of the program are counted and one of them fails. What fake
//! host objects take while they are asked something is left alone.
class AllocationFault
{
public:
    //! @param aNth  the allocation to fail, from 1; 0: none
    explicit AllocationFault(long aNth, Shortage aShortage = Shortage::Once) noexcept;
    AllocationFault(const AllocationFault&) = delete;
    AllocationFault& operator=(const AllocationFault&) = delete;
    ~AllocationFault();

    //! Gives the number of allocations asked for by now, or while the last fault lived.
    [[nodiscard]] static long Asked() noexcept;
    //! Gives the bytes that operator new was asked for last.
    [[nodiscard]] static std::size_t Size() noexcept;
};

//! While it lives, allocations are neither counted nor failed: the test's own work inside an
//! operation.
class OwnWork
{
public:
    OwnWork() noexcept;
    OwnWork(const OwnWork&) = delete;
    OwnWork& operator=(const OwnWork&) = delete;
    ~OwnWork();
};

//! What is alive, of each kind of memory.
struct Alive
{
    long blocks;
    long strings;
    long arrays;

    [[nodiscard]] static Alive Now() noexcept;
};
bool operator==(const Alive& aFirst, const Alive& aSecond) noexcept;

//! Makes strings and arrays fail too from now on; false where the platform does not let them.
bool canFailStrings() noexcept;

} // namespace kt_test
