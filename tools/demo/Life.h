//! @file
//! One life of a part's references: remembered, measured, chained, saved, dropped, read back, bound
//! again, compared.

#pragma once

#include "demo/Stage.h"

#include <array>
#include <functional>
#include <string>
#include <vector>

namespace demo {

struct LifeOptions
{
    std::string part;    //!< STEP file, UTF-8; empty: the sample that the demo carries
    std::string changed; //!< the part after a change; empty: the same part again
    std::string out;     //!< folder that keeps the archive and the log; empty: nothing is kept
};

//! Loops of one face.
struct FaceLoops
{
    std::string face;
    std::string surface;
    long closed{};   //!< closed loops found
    long leftover{}; //!< edges that are in none
};

//! A body or face that differs from what was saved.
struct Change
{
    std::string object;
    bool isBody{}; //!< the counts below are of faces; else of edges
    //! 1 its box, 2 edges new or gone, 4 an edge's box, 8 faces new or gone, 16 a face's box
    unsigned bits{};
    long gone{};
    long fresh{};
    long altered{};
};

struct LifeReport
{
    std::string part;
    std::string changed;
    std::vector<std::string> warnings; //!< what of the file was left out
    long bodies{};
    long faces{};
    long edges{};
    long references{};
    std::array<double, 3> boxMin{}; //!< metres
    std::array<double, 3> boxMax{}; //!< metres
    std::vector<FaceLoops> loops;
    long savedBytes{};
    long readBack{};
    long bound{};
    long unbound{};
    std::vector<Change> changes;
    Effort effort;
};

//! Plays the life. A step is told as soon as it is done.
//! @param told  called after each step with its name, what it did, and its seconds; may be empty
//! @throws DemoError  the part or the folder can't be used
[[nodiscard]] LifeReport
playLife(const LifeOptions& options,
         const std::function<void(const std::string&, const std::string&, double)>& told);

} // namespace demo
