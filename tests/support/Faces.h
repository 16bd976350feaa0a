//! @file
//! Single faces for tests: on spheres, cylinders, tori and planes, with every way of bounding them.

#pragma once

#include "support/FacetSums.h"
#include "support/Shapes.h"

#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace shapes {

using standin::geom::makeEllipse;

//! A named body, mostly of one face.
struct Sample
{
    std::string name;
    Body body;
};

//! A face between two circles round the axis, on a sphere or torus: the lower one, the upper one.
inline Body zone(SurfacePtr surface, const Frame& low, double lowRadius, const Frame& high,
                 double highRadius, bool reversed = false)
{
    Builder make;
    const std::size_t face = make.face(std::move(surface), reversed);
    make.loop(face, {{make.ring(makeCircle(low, lowRadius)), reversed}});
    make.loop(face, {{make.ring(makeCircle(high, highRadius)), !reversed}});
    return make.body();
}

//! A sphere's face with one circle at a latitude: what lies above it, or below.
inline Body cap(const Frame& frame, double radius, double latitude, bool above)
{
    Builder make;
    const std::size_t face = make.face(makeSphere(frame, radius), false);
    const Frame at = shapes::moved(frame, 0.0, 0.0, radius * std::sin(latitude));
    make.loop(face, {{make.ring(makeCircle(at, radius * std::cos(latitude))), !above}});
    return make.body();
}

//! A sphere without what lies within an angle of a direction.
inline Body pierced(const Frame& frame, double radius, const Vec& direction, double angle)
{
    Builder make;
    const std::size_t face = make.face(makeSphere(frame, radius), false);
    const Vec d = unit(direction);
    const Frame at =
        makeFrame(frame.origin + d * (radius * std::cos(angle)), d, cross(d, {0.3, 0.5, 0.8}));
    make.loop(face, {{make.ring(makeCircle(at, radius * std::sin(angle))), true}});
    return make.body();
}

//! The eighth of a sphere between three of its axes, a corner in the pole.
inline Body octant(const Frame& f, double radius)
{
    Builder make;
    const std::size_t face = make.face(makeSphere(f, radius), false);
    const std::size_t a = make.vertex(f.at(radius, 0.0, 0.0));
    const std::size_t b = make.vertex(f.at(0.0, radius, 0.0));
    const std::size_t pole = make.vertex(f.at(0.0, 0.0, radius));
    const std::size_t equator = make.edge(makeCircle(f, radius), 0.0, 0.5 * kPi, a, b);
    const std::size_t up =
        make.edge(makeCircle(makeFrame(f.origin, f.x, f.y), radius), 0.0, 0.5 * kPi, b, pole);
    const std::size_t down =
        make.edge(makeCircle(makeFrame(f.origin, -f.y, f.x), radius), 0.0, 0.5 * kPi, a, pole);
    make.loop(face, {{equator, false}, {up, false}, {down, true}});
    return make.body();
}

//! What two meridians of a sphere hold between them, from pole to pole.
inline Body lune(const Frame& f, double radius, double angle)
{
    Builder make;
    const std::size_t face = make.face(makeSphere(f, radius), false);
    const std::size_t south = make.vertex(f.at(0.0, 0.0, -radius));
    const std::size_t north = make.vertex(f.at(0.0, 0.0, radius));
    const auto meridian = [&](double u) {
        const Vec across = f.x * std::cos(u) + f.y * std::sin(u);
        const Frame plane = makeFrame(f.origin, cross(across, f.z), across);
        return make.edge(makeCircle(plane, radius), 1.5 * kPi, 2.5 * kPi, south, north);
    };
    const std::size_t first = meridian(0.4);
    const std::size_t second = meridian(0.4 + angle);
    make.loop(face, {{first, true}, {second, false}});
    return make.body();
}

//! A cylinder wall from one angle to another, with four edges.
inline Body wall(const Frame& f, double radius, double from, double to, double height,
                 bool reversed = false)
{
    Builder make;
    const std::size_t face = make.face(makeCylinder(f, radius), reversed);
    const Frame high = shapes::moved(f, 0.0, 0.0, height);
    const CurvePtr low = makeCircle(f, radius);
    const CurvePtr top = makeCircle(high, radius);
    const std::size_t a = make.vertex(low->at(from));
    const std::size_t b = make.vertex(low->at(to));
    const std::size_t c = make.vertex(top->at(to));
    const std::size_t d = make.vertex(top->at(from));
    const std::size_t south = make.edge(low, from, to, a, b);
    const std::size_t north = make.edge(top, from, to, d, c);
    std::vector<EdgeUse> uses{{south, false}, make.line(b, c), {north, true}, make.line(d, a)};
    if (reversed) {
        uses = {make.line(a, d), {north, false}, make.line(c, b), {south, true}};
    }
    make.loop(face, uses);
    return make.body();
}

//! A full cylinder wall between two planes that lean against the axis: ellipses at both ends.
inline Body leaningTube(const Frame& f, double radius)
{
    Builder make;
    const std::size_t face = make.face(makeCylinder(f, radius), false);
    const auto ring = [&](double height, double slope, double turn) {
        const Vec across = f.x * std::cos(turn) + f.y * std::sin(turn);
        const Vec along = unit(across + f.z * slope);
        const Vec side = cross(f.z, across);
        const Frame plane = makeFrame(f.at(0.0, 0.0, height), cross(along, side), along);
        return make.ring(makeEllipse(plane, radius * std::sqrt(1.0 + slope * slope), radius));
    };
    make.loop(face, {{ring(0.0, 0.5, 0.3), false}});
    make.loop(face, {{ring(0.08, -0.7, 2.0), true}});
    return make.body();
}

//! A plane ring; a thin one crosses itself as a coarse polygon.
inline Body annulus(const Frame& f, double outer, double inner)
{
    Builder make;
    const std::size_t face = make.face(makePlane(f), false);
    // The hole comes first: which loop the file calls the outer one must not matter.
    make.loop(face, {{make.ring(makeCircle(f, inner)), true}});
    make.loop(face, {{make.ring(makeCircle(f, outer)), false}});
    return make.body();
}

inline std::vector<Sample> samples()
{
    const Frame f = shapes::tilted();
    const double r = 0.04;
    const Frame low = shapes::moved(f, 0.0, 0.0, -0.5 * r);
    const Frame high = shapes::moved(f, 0.0, 0.0, 0.5 * r);
    const double across = std::sqrt(0.75) * r;
    const auto sphere = [&] { return makeSphere(f, r); };
    const Frame tubeTop = shapes::moved(f, 0.0, 0.0, 0.01);
    return {
        {"block with a hole", shapes::block(f, 0.1, 0.06, 0.03, 0.02)},
        {"cylinder with a seam", shapes::cylinder(f, 0.02, 0.05, true)},
        {"cylinder without", shapes::cylinder(f, 0.02, 0.05, false)},
        {"cone with a seam", shapes::cone(f, 0.02, 0.05, true)},
        {"cone with a vertex loop", shapes::cone(f, 0.02, 0.05, false)},
        {"sphere with a seam", shapes::sphere(f, r, Closed::seam)},
        {"sphere with a vertex loop", shapes::sphere(f, r, Closed::vertexLoop)},
        {"bare sphere", shapes::sphere(f, r, Closed::bare)},
        {"torus with seams", shapes::torus(f, 0.05, 0.02, Closed::seam)},
        {"torus with a vertex loop", shapes::torus(f, 0.05, 0.02, Closed::vertexLoop)},
        {"bare torus", shapes::torus(f, 0.05, 0.02, Closed::bare)},
        {"patch", shapes::patch(f)},
        {"reversed patch", shapes::patch(f, true)},
        {"zone", zone(sphere(), low, across, high, across)},
        {"reversed zone", zone(sphere(), low, across, high, across, true)},
        {"cap", cap(f, r, 0.3, true)},
        {"cap from below", cap(f, r, 0.3, false)},
        {"pierced at the side", pierced(f, r, f.x + f.y * 2.0, 0.4)},
        {"pierced across the pole", pierced(f, r, f.z + f.y * 0.2, 0.4)},
        {"octant", octant(f, r)},
        {"lune", lune(f, r, 1.0)},
        {"wide lune", lune(f, r, 5.0)},
        {"quarter wall", wall(f, 0.02, -0.3, 1.2, 0.05)},
        {"reversed wall", wall(f, 0.02, 5.0, 9.0, 0.05, true)},
        {"leaning tube", leaningTube(f, 0.02)},
        {"outer half of a torus",
         zone(makeTorus(f, 0.05, 0.01), shapes::moved(f, 0.0, 0.0, -0.01), 0.05, tubeTop, 0.05)},
        {"inner half of a torus",
         zone(makeTorus(f, 0.05, 0.01), tubeTop, 0.05, shapes::moved(f, 0.0, 0.0, -0.01), 0.05)},
        {"annulus", annulus(f, 0.05, 0.02)},
        {"thin annulus", annulus(f, 0.05, 0.0499)},
    };
}

//! The distance of a point to the nearest of a body's edges.
inline double distanceToEdges(const Body& body, const Vec& p)
{
    double least = 1e300;
    for (const standin::geom::Edge& e : body.edges) {
        least = std::fmin(least, distance(e.curve->at(e.curve->parameterAt(p, e.from, e.to)), p));
    }
    return least;
}

} // namespace shapes
