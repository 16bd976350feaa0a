//! @file
//! A part that has every kind of surface and curve that the stand-in host tells apart.

#pragma once

#include "standin/Build.h"

#include <utility>
#include <vector>

namespace support {

//! Bodies of PartOfAllKinds, by their index in the models collection.
enum PartBody : int
{
    kBoxWithHole = 1, //!< 6 planes and a cylinder, its last face
    kFrustum,         //!< a cone, its first face
    kBall,            //!< a sphere
    kRing,            //!< a torus
    kPatch,           //!< a B-spline sheet, bounded by B-spline curves
    kDisc,            //!< a plane sheet, bounded by an ellipse
    kArch,            //!< a swept sheet: a half circle along y
    kBowl,            //!< a revolved sheet: a line about z, a quarter turn
};

constexpr double kPi = 3.14159265358979323846;

inline standin::geom::Edge stretch(standin::geom::CurvePtr curve, double from, double to,
                                   bool reversed = false)
{
    standin::geom::Edge edge;
    edge.curve = std::move(curve);
    edge.from = from;
    edge.to = to;
    edge.reversed = reversed;
    return edge;
}

//! A straight edge; its parameter is the length.
inline standin::geom::Edge straight(const standin::geom::Vec& from, const standin::geom::Vec& to)
{
    return stretch(standin::geom::makeLine(from, to - from), 0.0,
                   standin::geom::distance(from, to));
}

//! A straight edge as a B-spline of degree 1.
inline standin::geom::Edge splineEdge(const standin::geom::Vec& from, const standin::geom::Vec& to)
{
    return stretch(standin::geom::makeBSplineCurve(1, {from, to}, {}, {0.0, 0.0, 1.0, 1.0}, false),
                   0.0, 1.0);
}

//! z = x y / 10 over the square from 0 to 0.1, a B-spline of degree 1 in both directions.
inline standin::geom::Body makePatch()
{
    using standin::geom::Vec;
    const Vec a{0.0, 0.0, 0.0};
    const Vec b{0.1, 0.0, 0.0};
    const Vec c{0.1, 0.1, 0.001};
    const Vec d{0.0, 0.1, 0.0};
    const std::vector<double> knots{0.0, 0.0, 1.0, 1.0};
    return standin::makeSheet(
        standin::geom::makeBSplineSurface(1, 1, 2, 2, {a, d, b, c}, {}, knots, knots, false, false),
        {splineEdge(a, b), splineEdge(b, c), splineEdge(c, d), splineEdge(d, a)});
}

//! An ellipse with half axes 0.2 and 0.1 about the origin, in the plane z = 0, looking up.
inline standin::geom::Body makeDisc()
{
    const standin::geom::Frame frame;
    return standin::makeSheet(
        standin::geom::makePlane(frame),
        {stretch(standin::geom::makeEllipse(frame, 0.2, 0.1), 0.0, 2.0 * kPi)});
}

//! Half a circle of radius 0.1 about the y axis, above z = 0, swept from y = 0 to y = 0.5 (the
//! circle runs from -x over z to x, the sweep along y, so that the normal looks outward).
inline standin::geom::Body makeArch()
{
    using standin::geom::Frame;
    using standin::geom::Vec;
    Frame front;
    front.x = {-1.0, 0.0, 0.0};
    front.y = {0.0, 0.0, 1.0};
    front.z = {0.0, 1.0, 0.0};
    Frame back = front;
    back.origin = {0.0, 0.5, 0.0};
    const standin::geom::CurvePtr profile = standin::geom::makeCircle(front, 0.1);
    return standin::makeSheet(standin::geom::makeExtrusion(profile, {0.0, 1.0, 0.0}),
                              {stretch(profile, 0.0, kPi),
                               straight({0.1, 0.0, 0.0}, {0.1, 0.5, 0.0}),
                               stretch(standin::geom::makeCircle(back, 0.1), 0.0, kPi, true),
                               straight({-0.1, 0.5, 0.0}, {-0.1, 0.0, 0.0})});
}

//! The line from (0.1, 0, 0) to (0.2, 0, 0.1), turned a quarter about z: a cone's stretch of slope
//! 1 as a surface of revolution.
inline standin::geom::Body makeBowl()
{
    using standin::geom::Frame;
    using standin::geom::Vec;
    const Vec low{0.1, 0.0, 0.0};
    const Vec high{0.2, 0.0, 0.1};
    const Vec lowEnd{0.0, 0.1, 0.0};
    const Vec highEnd{0.0, 0.2, 0.1};
    Frame bottom;
    Frame top;
    top.origin = {0.0, 0.0, 0.1};
    const standin::geom::SurfacePtr surface = standin::geom::makeRevolution(
        standin::geom::makeLine(low, high - low), {0.0, 0.0, 0.0}, {0.0, 0.0, 1.0});
    return standin::makeSheet(
        surface,
        {stretch(standin::geom::makeCircle(bottom, 0.1), 0.0, 0.5 * kPi), straight(lowEnd, highEnd),
         stretch(standin::geom::makeCircle(top, 0.2), 0.0, 0.5 * kPi, true), straight(high, low)});
}

//! Gives the model. The bodies lie in one another, which nobody minds here.
inline standin::geom::Model partOfAllKinds()
{
    const standin::geom::Frame frame;
    std::vector<standin::geom::Body> bodies;
    bodies.push_back(standin::makeBoxWithHole({0.0, 0.0, 0.0}, {0.1, 0.2, 0.3}, 0.05, 0.1, 0.02));
    bodies.push_back(standin::makeFrustum(frame, 0.2, 0.1, 0.1));
    bodies.push_back(standin::makeSphere(frame, 0.3));
    bodies.push_back(standin::makeTorus(frame, 0.4, 0.1));
    bodies.push_back(makePatch());
    bodies.push_back(makeDisc());
    bodies.push_back(makeArch());
    bodies.push_back(makeBowl());
    return standin::makeModel(std::move(bodies), "all kinds");
}

} // namespace support
