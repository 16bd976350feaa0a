//! @file
//! An edge followed along a surface: its points with their parameters, dense enough for a chord
//! tolerance in space and in the parameter plane. Internal to Trim.

#pragma once

#include "standin/geom/Trim.h"

#include <vector>

namespace standin::geom {

//! A point of an edge with its surface parameters.
struct TracePoint
{
    double t{};
    Param p;
};

//! A stretch of an edge between poles; parameters run on without jumps.
struct TraceRun
{
    std::vector<TracePoint> points;
    std::size_t startPole{kNone}; //!< number of the pole that the first point is in
    std::size_t endPole{kNone};   //!< number of the pole that the last point is in
};

//! The surface that edges are followed on.
struct TraceGround
{
    const Surface& surface;
    const std::vector<Pole>& poles;
    double tolerance{};     //!< metres, the chord distance
    double poleTolerance{}; //!< metres, how near to a pole is in it
};

//! What following an edge gave; no runs when it has no usable points.
struct EdgeTrace
{
    std::vector<TraceRun> runs; //!< by rising curve parameter
    double deviation{};         //!< metres, the largest distance of edge and surface
};

//! Follows an edge by rising curve parameter.
//! @param guess  where the surface search starts, may be null
[[nodiscard]] EdgeTrace traceEdge(const Edge& edge, const TraceGround& ground, const Param* guess);

//! Gives parameters of a stretch of a curve such that chords between them keep to a tolerance.
[[nodiscard]] std::vector<double> chordParameters(const Curve& curve, double from, double to,
                                                  double tolerance);

} // namespace standin::geom
