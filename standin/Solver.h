//! @file
//! Keeps a profile's relations and driving lengths by moving its lines.

#pragma once

#include "standin/DocumentData.h"

#include <vector>

namespace standin {

//! Lines of this length or less, in metres, are no lines.
constexpr double kShortestLine = 1e-9;

//! A length that a line is to have.
struct DrivenLength
{
    std::size_t line = 0;
    double length = 0.0;
};

//! Gives a key point: 0 start, 1 end, 2 middle.
[[nodiscard]] SketchPoint keypointOf(const SketchLine& line, LONG keypoint) noexcept;
[[nodiscard]] double lengthOf(const SketchLine& line) noexcept;

//! Moves lines step by step, each step the shortest one by the sum of squares over all ends, until
//! all relations and lengths hold to 1e-10 metres. Lines of projected planes stay where they are.
//! Lines that fit already don't move.
//! @return false when they can't hold together, would leave a line of no length, or something must
//!         move and there are more than 1000 equations, two for a key-point relation and one for
//!         all others; the lines then are as they were
[[nodiscard]] bool solve(std::vector<SketchLine>& lines,
                         const std::vector<SketchRelation>& relations,
                         const std::vector<DrivenLength>& lengths);

} // namespace standin
