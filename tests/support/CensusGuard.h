//! @file
//! Fails a test that leaves something of the stand-in host behind: an object, a string, an array.

#pragma once

#include "com/ComCensus.h"
#include "standin/Census.h"

#include <gtest/gtest.h>

namespace support {

//! Remembers what is alive when it is made, and fails the running test when more is alive at its
//! end. As the first field of a fixture it watches all that the fixture and the test do.
class CensusGuard
{
public:
    CensusGuard() = default;
    CensusGuard(const CensusGuard&) = delete;
    CensusGuard& operator=(const CensusGuard&) = delete;
    ~CensusGuard()
    {
        EXPECT_EQ(standin::processCensus().live(), objects)
            << "left alive: " << standin::processCensus().text();
        EXPECT_EQ(com::liveStrings(), strings) << "strings are left";
        EXPECT_EQ(com::liveArrays(), arrays) << "arrays are left";
    }

private:
    long objects = standin::processCensus().live();
    long strings = com::liveStrings();
    long arrays = com::liveArrays();
};

//! A test that must leave nothing behind.
class HostTest : public testing::Test
{
private:
    CensusGuard censusGuard;
};

} // namespace support
