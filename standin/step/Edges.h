//! @file
//! Edges of a file: which stretch of its curve an edge uses.

#pragma once

#include "standin/geom/Brep.h"
#include "standin/step/Curves.h"

namespace standin::step {

//! What was odd about an edge.
struct EdgeFit
{
    double gap{};  //!< metres, largest distance of a vertex from its end of the stretch
    bool turned{}; //!< same_sense contradicts the vertices, and the vertices were believed
};

//! Fills an edge's stretch from its vertices.
//! @param edge       gets curve, from, to and reversed
//! @param sameSense  the file's flag: the edge runs as the file's curve
//! @param closed     start and end are one vertex: the edge is a full period or the whole curve
//! @throws std::invalid_argument  the edge has no length, or closes on a curve that does not
[[nodiscard]] EdgeFit fitEdge(geom::Edge& edge, const OrientedCurve& curve, bool sameSense,
                              const geom::Vec& start, const geom::Vec& end, bool closed);

} // namespace standin::step
