//! @file
//! Small bodies made by hand for tests, with and without seams. Lengths are metres; every body
//! stands in a frame, so that it can be tilted.

#pragma once

#include "standin/geom/FaceGeometry.h"

#include <cmath>
#include <cstddef>
#include <map>
#include <utility>
#include <vector>

namespace shapes {

using standin::geom::Body;
using standin::geom::cross;
using standin::geom::CurvePtr;
using standin::geom::distance;
using standin::geom::EdgeUse;
using standin::geom::Frame;
using standin::geom::kNone;
using standin::geom::makeBSplineCurve;
using standin::geom::makeBSplineSurface;
using standin::geom::makeCircle;
using standin::geom::makeCone;
using standin::geom::makeCylinder;
using standin::geom::makeFrame;
using standin::geom::makeLine;
using standin::geom::makePlane;
using standin::geom::makeSphere;
using standin::geom::makeTorus;
using standin::geom::SurfacePtr;
using standin::geom::Vec;

constexpr double kPi = 3.14159265358979323846;

//! A frame whose axes are parallel to none of x, y and z.
inline Frame tilted(const Vec& origin = {0.3, -0.2, 0.1})
{
    return makeFrame(origin, {0.48, 0.6, 0.64}, {1.0, -0.3, 0.2});
}

//! Puts bodies together; ids count from 1 in the order of making.
class Builder
{
public:
    std::size_t vertex(const Vec& point)
    {
        mBody.vertices.push_back({point, ++mEntity});
        return mBody.vertices.size() - 1;
    }
    //! An edge along the curve's parameter, between vertices that lie at its ends.
    std::size_t edge(CurvePtr curve, double from, double to, std::size_t start, std::size_t end)
    {
        mBody.edges.push_back({std::move(curve), from, to, false, start, end, ++mEntity});
        return mBody.edges.size() - 1;
    }
    //! A closed edge round a whole period, with a vertex of its own.
    std::size_t ring(CurvePtr curve)
    {
        double from = 0.0;
        double to = 0.0;
        curve->naturalRange(from, to);
        const std::size_t v = vertex(curve->at(from));
        return edge(std::move(curve), from, to, v, v);
    }
    //! A straight edge; the one already made between the two vertices, where there is one.
    EdgeUse line(std::size_t a, std::size_t b)
    {
        const auto known = mLines.find({b, a});
        if (known != mLines.end()) {
            return {known->second, true};
        }
        const Vec& p = mBody.vertices[a].point;
        const Vec& q = mBody.vertices[b].point;
        const std::size_t made = edge(makeLine(p, q - p), 0.0, distance(p, q), a, b);
        mLines[{a, b}] = made;
        return {made, false};
    }
    std::size_t face(SurfacePtr surface, bool reversed)
    {
        mBody.faces.push_back({std::move(surface), reversed, {}, ++mEntity});
        return mBody.faces.size() - 1;
    }
    void loop(std::size_t face, std::vector<EdgeUse> uses)
    {
        const bool outer = mBody.faces[face].loops.empty();
        mBody.faces[face].loops.push_back({std::move(uses), kNone, outer, ++mEntity});
    }
    void vertexLoop(std::size_t face, std::size_t vertex)
    {
        const bool outer = mBody.faces[face].loops.empty();
        mBody.faces[face].loops.push_back({{}, vertex, outer, ++mEntity});
    }
    //! A plane face through vertices, counter-clockwise seen from outside. Every other one has its
    //! plane's normal inwards.
    std::size_t polygon(const std::vector<std::size_t>& corners)
    {
        const Vec& p = mBody.vertices[corners[0]].point;
        const Vec& q = mBody.vertices[corners[1]].point;
        const Vec& r = mBody.vertices[corners[2]].point;
        const Vec out = cross(q - p, r - q);
        const bool reversed = mBody.faces.size() % 2 == 1;
        const std::size_t made =
            face(makePlane(makeFrame(p, reversed ? -out : out, q - p)), reversed);
        std::vector<EdgeUse> uses;
        for (std::size_t i = 0; i < corners.size(); ++i) {
            uses.push_back(line(corners[i], corners[(i + 1) % corners.size()]));
        }
        loop(made, std::move(uses));
        return made;
    }
    Body& body() { return mBody; }

private:
    Body mBody;
    long mEntity{};
    std::map<std::pair<std::size_t, std::size_t>, std::size_t> mLines;
};

//! The frame moved along its own axes.
inline Frame moved(const Frame& frame, double x, double y, double z)
{
    Frame result = frame;
    result.origin = frame.at(x, y, z);
    return result;
}

//! A block [0, x] x [0, y] x [0, z] of the frame, faces: bottom, top, front, right, back, left. A
//! radius above 0 adds a round hole from top to bottom in the middle, its wall the seventh face,
//! without a seam.
inline Body block(const Frame& frame, double x, double y, double z, double holeRadius = 0.0)
{
    Builder make;
    std::vector<std::size_t> v;
    for (const double c : {0.0, z}) {
        v.push_back(make.vertex(frame.at(0.0, 0.0, c)));
        v.push_back(make.vertex(frame.at(x, 0.0, c)));
        v.push_back(make.vertex(frame.at(x, y, c)));
        v.push_back(make.vertex(frame.at(0.0, y, c)));
    }
    const std::size_t bottom = make.polygon({v[3], v[2], v[1], v[0]});
    const std::size_t top = make.polygon({v[4], v[5], v[6], v[7]});
    make.polygon({v[0], v[1], v[5], v[4]});
    make.polygon({v[1], v[2], v[6], v[5]});
    make.polygon({v[2], v[3], v[7], v[6]});
    make.polygon({v[3], v[0], v[4], v[7]});
    if (holeRadius > 0.0) {
        const Frame low = moved(frame, 0.5 * x, 0.5 * y, 0.0);
        const std::size_t below = make.ring(makeCircle(low, holeRadius));
        const std::size_t above = make.ring(makeCircle(moved(low, 0.0, 0.0, z), holeRadius));
        make.loop(bottom, {{below, false}});
        make.loop(top, {{above, true}});
        const std::size_t wall = make.face(makeCylinder(low, holeRadius), true);
        make.loop(wall, {{below, true}});
        make.loop(wall, {{above, false}});
    }
    return make.body();
}

//! A solid cylinder from z = 0 to z = height, faces: bottom, top, side. With a seam the side is
//! bounded by one loop that uses the seam twice, without by two circles.
inline Body cylinder(const Frame& frame, double radius, double height, bool seam)
{
    Builder make;
    const Frame high = moved(frame, 0.0, 0.0, height);
    const std::size_t below = make.ring(makeCircle(frame, radius));
    const std::size_t above = make.ring(makeCircle(high, radius));
    const std::size_t bottom =
        make.face(makePlane(makeFrame(frame.origin, -frame.z, frame.x)), false);
    make.loop(bottom, {{below, true}});
    const std::size_t top = make.face(makePlane(high), false);
    make.loop(top, {{above, false}});
    const std::size_t side = make.face(makeCylinder(frame, radius), false);
    if (seam) {
        const EdgeUse up = make.line(0, 1);
        make.loop(side, {{below, false}, up, {above, true}, {up.edge, true}});
    } else {
        make.loop(side, {{below, false}});
        make.loop(side, {{above, true}});
    }
    return make.body();
}

//! A solid cone: apex at z = -height, base of the radius at z = 0, faces: base, side. With a seam
//! the side's loop runs to the apex and back, without the apex is a vertex loop.
inline Body cone(const Frame& frame, double radius, double height, bool seam)
{
    Builder make;
    const std::size_t rim = make.ring(makeCircle(frame, radius));
    const std::size_t apex = make.vertex(frame.at(0.0, 0.0, -height));
    const std::size_t base = make.face(makePlane(frame), false);
    make.loop(base, {{rim, false}});
    const std::size_t side = make.face(makeCone(frame, radius, std::atan2(radius, height)), false);
    if (seam) {
        const EdgeUse down = make.line(0, apex);
        make.loop(side, {{rim, true}, down, {down.edge, true}});
    } else {
        make.loop(side, {{rim, true}});
        make.vertexLoop(side, apex);
    }
    return make.body();
}

//! How a closed face is bounded.
enum class Closed
{
    seam,
    vertexLoop,
    bare
};

//! A solid sphere of one face.
inline Body sphere(const Frame& frame, double radius, Closed closed)
{
    Builder make;
    const std::size_t face = make.face(makeSphere(frame, radius), false);
    const std::size_t south = make.vertex(frame.at(0.0, 0.0, -radius));
    if (closed == Closed::seam) {
        const std::size_t north = make.vertex(frame.at(0.0, 0.0, radius));
        const CurvePtr meridian = makeCircle(makeFrame(frame.origin, -frame.y, frame.x), radius);
        const std::size_t seam = make.edge(meridian, 1.5 * kPi, 2.5 * kPi, south, north);
        make.loop(face, {{seam, false}, {seam, true}});
    } else if (closed == Closed::vertexLoop) {
        make.vertexLoop(face, south);
    }
    return make.body();
}

//! A solid ring of one face; with seams they run round the outer rim and round the tube.
inline Body torus(const Frame& frame, double major, double minor, Closed closed)
{
    Builder make;
    const std::size_t face = make.face(makeTorus(frame, major, minor), false);
    if (closed == Closed::seam) {
        const std::size_t v = make.vertex(frame.at(major + minor, 0.0, 0.0));
        const Frame section = makeFrame(frame.at(major, 0.0, 0.0), -frame.y, frame.x);
        const std::size_t rim = make.edge(makeCircle(frame, major + minor), 0.0, 2.0 * kPi, v, v);
        const std::size_t tube = make.edge(makeCircle(section, minor), 0.0, 2.0 * kPi, v, v);
        make.loop(face, {{rim, false}, {tube, false}, {rim, true}, {tube, true}});
    } else if (closed == Closed::vertexLoop) {
        make.vertexLoop(face, make.vertex(frame.at(major + minor, 0.0, 0.0)));
    }
    return make.body();
}

//! Knots of a B-spline whose ends are its first and last pole, spaced evenly from 0 to 1.
inline std::vector<double> clampedKnots(int degree, std::size_t poles)
{
    const std::size_t p = static_cast<std::size_t>(degree);
    std::vector<double> knots(p + 1, 0.0);
    for (std::size_t i = 1; i < poles - p; ++i) {
        knots.push_back(static_cast<double>(i) / static_cast<double>(poles - p));
    }
    knots.insert(knots.end(), p + 1, 1.0);
    return knots;
}

//! Poles, weights and knots of a full circle as a rational B-spline of degree 2.
struct CircleSpline
{
    std::vector<Vec> poles;
    std::vector<double> weights;
    std::vector<double> knots{0.0, 0.0, 0.0, 0.25, 0.25, 0.5, 0.5, 0.75, 0.75, 1.0, 1.0, 1.0};
};

inline CircleSpline circleSpline(const Frame& frame, double radius)
{
    CircleSpline result;
    const double half = std::sqrt(0.5);
    const double x[] = {1.0, 1.0, 0.0, -1.0, -1.0, -1.0, 0.0, 1.0, 1.0};
    const double y[] = {0.0, 1.0, 1.0, 1.0, 0.0, -1.0, -1.0, -1.0, 0.0};
    for (int i = 0; i < 9; ++i) {
        result.poles.push_back(frame.at(radius * x[i], radius * y[i], 0.0));
        result.weights.push_back(i % 2 == 0 ? 1.0 : half);
    }
    return result;
}

//! A sheet of one bicubic B-spline face over [0, 1] x [0, 1], 5 x 6 poles, with a hump and a dent,
//! bounded by its four border curves; u runs along x, v along y, the size is about 0.1 x 0.12.
inline Body patch(const Frame& frame, bool reversed = false)
{
    constexpr int rows = 5;
    constexpr int columns = 6;
    std::vector<Vec> poles;
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < columns; ++j) {
            const double hump = i == 2 && j == 2 ? 0.05 : i == 2 && j == 4 ? -0.04 : 0.0;
            const double wave = 0.004 * ((i * j) % 3) - 0.002 * i;
            poles.push_back(frame.at(0.025 * i, 0.024 * j, hump + wave));
        }
    }
    const std::vector<double> knotsU = clampedKnots(3, rows);
    const std::vector<double> knotsV = clampedKnots(3, columns);
    Builder make;
    const std::size_t face = make.face(
        makeBSplineSurface(3, 3, rows, columns, poles, {}, knotsU, knotsV, false, false), reversed);
    const auto pole = [&poles](int i, int j) {
        return poles[static_cast<std::size_t>(i * columns + j)];
    };
    std::vector<Vec> south;
    std::vector<Vec> north;
    std::vector<Vec> west;
    std::vector<Vec> east;
    for (int i = 0; i < rows; ++i) {
        south.push_back(pole(i, 0));
        north.push_back(pole(i, columns - 1));
    }
    for (int j = 0; j < columns; ++j) {
        west.push_back(pole(0, j));
        east.push_back(pole(rows - 1, j));
    }
    const std::size_t sw = make.vertex(south.front());
    const std::size_t se = make.vertex(south.back());
    const std::size_t ne = make.vertex(north.back());
    const std::size_t nw = make.vertex(north.front());
    const auto border = [&make](std::vector<Vec> line, std::size_t from, std::size_t to) {
        const std::vector<double> knots = clampedKnots(3, line.size());
        return make.edge(makeBSplineCurve(3, std::move(line), {}, knots, false), 0.0, 1.0, from,
                         to);
    };
    const std::size_t s = border(south, sw, se);
    const std::size_t e = border(east, se, ne);
    const std::size_t n = border(north, nw, ne);
    const std::size_t w = border(west, sw, nw);
    if (reversed) {
        make.loop(face, {{w, false}, {n, false}, {e, true}, {s, true}});
    } else {
        make.loop(face, {{s, false}, {e, false}, {n, true}, {w, true}});
    }
    make.body().solid = false;
    return make.body();
}

} // namespace shapes
