//! @file
//! Recognises the bodies, faces and edges of a part in the same part after a change.

#pragma once

#include "standin/Content.h"

#include <cstddef>
#include <vector>

namespace standin {

//! What a body of the new part was in the old one; geom::kNone: it is new.
struct BodyMatch
{
    std::size_t body = geom::kNone;
    std::vector<std::size_t> faces; //!< one entry per new face: index of the old face
    std::vector<std::size_t> edges; //!< one entry per new edge: index of the old edge
};

//! Matches two states of a part. What has not changed is found exactly; what was moved or resized
//! is found where only one answer offers itself; nothing old is given to two. The same two parts
//! always give the same answer.
//! @return one entry per body of the new part
[[nodiscard]] std::vector<BodyMatch> matchParts(const PartContent& oldPart,
                                                const PartContent& newPart);

} // namespace standin
