//! @file
//! Assemblies of the stand-in host, reached as a caller reaches them.

#pragma once

#include "support/HostObjects.h"

#include <string>
#include <utility>
#include <vector>

namespace support {

//! A vice: a base and two clamps, which are one assembly, of a jaw and two bolts.
//!
//!     vice
//!       base           base
//!       front clamp    clamp, 1 m along x
//!         jaw          jaw
//!         left bolt    bolt, 0.1 m along y
//!         right bolt   bolt, 0.2 m along y
//!       side clamp     clamp, at (0, 2, 0) with its x along y
inline standin::geom::Model viceModel()
{
    using standin::shiftedBy;
    using standin::use;
    standin::geom::Model model;
    const auto base = standin::addPart(model, "base", {plainBox()});
    const auto jaw =
        standin::addPart(model, "jaw", {standin::makeBox({0.0, 0.0, 0.0}, {0.4, 0.5, 0.6})});
    const auto bolt = standin::addPart(model, "bolt",
                                       {standin::makeCylinder(standin::geom::Frame(), 0.01, 0.05)});
    const auto clamp =
        standin::addAssembly(model, "clamp",
                             {use(jaw, "jaw"), use(bolt, "left bolt", shiftedBy({0.0, 0.1, 0.0})),
                              use(bolt, "right bolt", shiftedBy({0.0, 0.2, 0.0}))});
    standin::addAssembly(model, "vice",
                         {use(base, "base"), use(clamp, "front clamp", shiftedBy({1.0, 0.0, 0.0})),
                          use(clamp, "side clamp",
                              standin::placedAt(standin::geom::makeFrame(
                                  {0.0, 2.0, 0.0}, {0.0, 0.0, 1.0}, {0.0, 1.0, 0.0})))});
    return model;
}

inline IDispatchPtr occurrencesOf(const IDispatchPtr& assembly)
{
    return need(get(assembly, 16390));
}
inline LONG countOccurrences(const IDispatchPtr& assembly)
{
    return get(occurrencesOf(assembly), 3).number();
}
//! @param index  from 1
inline IDispatchPtr occurrenceOf(const IDispatchPtr& assembly, LONG index)
{
    return item(occurrencesOf(assembly), index);
}
inline IDispatchPtr documentOf(const IDispatchPtr& occurrence)
{
    return need(get(occurrence, 38));
}
inline std::string nameOf(const IDispatchPtr& occurrence)
{
    return named(occurrence, L"Name", DISPATCH_PROPERTYGET).text();
}

//! Asks an assembly for a reference.
inline Outcome createReference(const IDispatchPtr& assembly, IDispatch* occurrence,
                               IDispatch* entity)
{
    return method(assembly, 38, {objectValue(occurrence), objectValue(entity)});
}

} // namespace support
