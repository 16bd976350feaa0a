//! @file
//! The part of the parameter plane that a trimmed face needs. Internal to the geometry.

#pragma once

#include "standin/geom/Trim.h"

#include <array>

namespace standin::geom {

//! One direction of a face's parameters.
struct DomainAxis
{
    double from{};   //!< the face's own range
    double to{};     //!< at most a period above `from`
    bool glued{};    //!< the face goes all the way round: `to` is `from` again
    bool poleLow{};  //!< the range starts in a pole
    bool poleHigh{}; //!< the range ends in a pole
    double low{};    //!< range with room beside the loops; the own one where it is
    double high{};   //!< glued or ends in a pole
};

//! The ranges of u and v.
struct Domain
{
    std::array<DomainAxis, 2> axes;
};

//! Finds the ranges that hold the trimmed face, periodic ones unwrapped. The trim must be usable.
[[nodiscard]] Domain findDomain(const Trim& trim);

//! Moves a side by whole periods into the domain's ranges as far as its middle goes.
void bringInside(TrimSide& side, const Domain& domain, const Param& period);

} // namespace standin::geom
