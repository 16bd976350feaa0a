//! @file
//! What is fuzzed: each function takes any bytes. It returns when the libraries did what they
//! must, and throws std::logic_error when they did something else.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace kt_fuzz {

//! Loads an archive as each kind of thing. The trailer is made right first, or little but the
//! checksum would be tried.
void archiveLoad(const unsigned char* aBytes, std::size_t aSize);
//! Loads an archive as each kind of thing, stores what was loaded, and loads that: both are equal.
void archiveRoundTrip(const unsigned char* aBytes, std::size_t aSize);
//! Reads the text of a STEP file.
void stepRead(const unsigned char* aBytes, std::size_t aSize);
//! Dumps values to the log under a format state, values and name that the bytes say.
void logDump(const unsigned char* aBytes, std::size_t aSize);

//! A target with the name of its folders.
struct Target
{
    const char* name;
    void (*run)(const unsigned char* aBytes, std::size_t aSize);
};
constexpr Target kTargets[] = {{"archive_load", archiveLoad},
                               {"archive_roundtrip", archiveRoundTrip},
                               {"step_read", stepRead},
                               {"log_dump", logDump}};

//! Throws when something doesn't hold.
inline void require(bool aHolds, const std::string& aWhat)
{
    if (!aHolds) {
        throw std::logic_error(aWhat);
    }
}

} // namespace kt_fuzz
