#include "standin/Build.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace standin {
namespace {

using geom::Body;
using geom::Edge;
using geom::EdgeUse;
using geom::Face;
using geom::Frame;
using geom::Loop;
using geom::Vec;

constexpr double kPi = 3.14159265358979323846;
//! Ends of edges that are to meet do so within this distance.
constexpr double kMeet = 1e-9;

void require(bool holds, const char* text)
{
    if (!holds) {
        throw std::invalid_argument(text);
    }
}

std::size_t addVertex(Body& body, const Vec& point)
{
    body.vertices.push_back({point, 0});
    return body.vertices.size() - 1;
}

std::size_t addEdge(Body& body, geom::CurvePtr curve, double from, double to, std::size_t start,
                    std::size_t end)
{
    Edge edge;
    edge.curve = std::move(curve);
    edge.from = from;
    edge.to = to;
    edge.start = start;
    edge.end = end;
    body.edges.push_back(std::move(edge));
    return body.edges.size() - 1;
}

std::size_t addLine(Body& body, std::size_t start, std::size_t end)
{
    const Vec from = body.vertices[start].point;
    const Vec along = body.vertices[end].point - from;
    return addEdge(body, geom::makeLine(from, along), 0.0, geom::length(along), start, end);
}

std::size_t addCircle(Body& body, const Frame& frame, double radius, std::size_t vertex)
{
    return addEdge(body, geom::makeCircle(frame, radius), 0.0, 2.0 * kPi, vertex, vertex);
}

Face& addFace(Body& body, geom::SurfacePtr surface, bool reversed, std::vector<EdgeUse> uses)
{
    Face face;
    face.surface = std::move(surface);
    face.reversed = reversed;
    Loop loop;
    loop.uses = std::move(uses);
    loop.outer = true;
    face.loops.push_back(std::move(loop));
    body.faces.push_back(std::move(face));
    return body.faces.back();
}

void addInnerLoop(Face& face, std::size_t edge, bool reversed)
{
    Loop loop;
    loop.uses.push_back({edge, reversed});
    face.loops.push_back(std::move(loop));
}

//! Finds the use of the line between two vertices, in their order; makes it when there is none.
EdgeUse useLine(Body& body, std::size_t start, std::size_t end)
{
    for (std::size_t i = 0; i < body.edges.size(); ++i) {
        const Edge& edge = body.edges[i];
        if ((edge.start == start && edge.end == end) || (edge.start == end && edge.end == start)) {
            return {i, edge.start == end};
        }
    }
    return {addLine(body, start, end), false};
}

//! Adds a plane face round four corners, counter-clockwise seen from outside.
void addQuad(Body& body, const std::array<std::size_t, 4>& corners)
{
    const Vec origin = body.vertices[corners[0]].point;
    const Vec x = body.vertices[corners[1]].point - origin;
    const Vec y = body.vertices[corners[3]].point - origin;
    std::vector<EdgeUse> uses;
    for (std::size_t i = 0; i < 4; ++i) {
        uses.push_back(useLine(body, corners[i], corners[(i + 1) % 4]));
    }
    addFace(body, geom::makePlane(geom::makeFrame(origin, geom::cross(x, y), x)), false,
            std::move(uses));
}

//! Makes the same frame at another place along its z.
Frame raised(Frame frame, double height)
{
    frame.origin = frame.at(0.0, 0.0, height);
    return frame;
}

//! Makes the frame of a plane that looks against a frame's z.
Frame lookingDown(const Frame& frame)
{
    return geom::makeFrame(frame.origin, -frame.z, frame.x);
}

//! A round body between two circles: side, bottom, top.
Body makeRound(const Frame& frame, geom::SurfacePtr side, double radius, double topRadius,
               double height)
{
    Body body;
    const Frame top = raised(frame, height);
    const std::size_t low = addVertex(body, frame.at(radius, 0.0, 0.0));
    const std::size_t high = addVertex(body, top.at(topRadius, 0.0, 0.0));
    const std::size_t lowCircle = addCircle(body, frame, radius, low);
    const std::size_t highCircle = addCircle(body, top, topRadius, high);
    const std::size_t seam = addLine(body, low, high);
    addFace(body, std::move(side), false,
            {{lowCircle, false}, {seam, false}, {highCircle, true}, {seam, true}});
    addFace(body, geom::makePlane(lookingDown(frame)), false, {{lowCircle, true}});
    addFace(body, geom::makePlane(top), false, {{highCircle, false}});
    return body;
}

} // namespace

geom::Body makeBox(const Vec& min, const Vec& max)
{
    require(min.x < max.x && min.y < max.y && min.z < max.z, "makeBox: min is not below max");
    Body body;
    for (const double z : {min.z, max.z}) {
        for (const double y : {min.y, max.y}) {
            for (const double x : {min.x, max.x}) {
                addVertex(body, {x, y, z});
            }
        }
    }
    addQuad(body, {0, 4, 6, 2});
    addQuad(body, {1, 3, 7, 5});
    addQuad(body, {0, 1, 5, 4});
    addQuad(body, {2, 6, 7, 3});
    addQuad(body, {0, 2, 3, 1});
    addQuad(body, {4, 5, 7, 6});
    return body;
}

geom::Body makeBoxWithHole(const Vec& min, const Vec& max, double x, double y, double radius)
{
    require(radius > 0.0 && x - radius > min.x && x + radius < max.x && y - radius > min.y &&
                y + radius < max.y,
            "makeBoxWithHole: the hole is not inside the box");
    Body body = makeBox(min, max);
    Frame frame;
    frame.origin = {x, y, min.z};
    const Frame top = raised(frame, max.z - min.z);
    const std::size_t low = addVertex(body, frame.at(radius, 0.0, 0.0));
    const std::size_t high = addVertex(body, top.at(radius, 0.0, 0.0));
    const std::size_t lowCircle = addCircle(body, frame, radius, low);
    const std::size_t highCircle = addCircle(body, top, radius, high);
    const std::size_t seam = addLine(body, low, high);
    addInnerLoop(body.faces[4], lowCircle, false);
    addInnerLoop(body.faces[5], highCircle, true);
    addFace(body, geom::makeCylinder(frame, radius), true,
            {{lowCircle, true}, {seam, false}, {highCircle, false}, {seam, true}});
    return body;
}

geom::Body makeCylinder(const Frame& frame, double radius, double height)
{
    require(radius > 0.0 && height > 0.0, "makeCylinder: radius or height is not above 0");
    return makeRound(frame, geom::makeCylinder(frame, radius), radius, radius, height);
}

geom::Body makeFrustum(const Frame& frame, double radius, double topRadius, double height)
{
    require(radius > 0.0 && topRadius > 0.0 && height > 0.0 && std::fabs(radius - topRadius) > 0.0,
            "makeFrustum: radii or height are not usable");
    const double semiAngle = std::atan((topRadius - radius) / height);
    return makeRound(frame, geom::makeCone(frame, radius, semiAngle), radius, topRadius, height);
}

geom::Body makeSphere(const Frame& frame, double radius)
{
    require(radius > 0.0, "makeSphere: the radius is not above 0");
    Body body;
    const std::size_t south = addVertex(body, frame.at(0.0, 0.0, -radius));
    const std::size_t north = addVertex(body, frame.at(0.0, 0.0, radius));
    const Frame meridian = geom::makeFrame(frame.origin, -frame.y, frame.x);
    const std::size_t seam =
        addEdge(body, geom::makeCircle(meridian, radius), -0.5 * kPi, 0.5 * kPi, south, north);
    addFace(body, geom::makeSphere(frame, radius), false, {{seam, false}, {seam, true}});
    return body;
}

geom::Body makeTorus(const Frame& frame, double majorRadius, double minorRadius)
{
    require(minorRadius > 0.0 && majorRadius > minorRadius, "makeTorus: the radii are not usable");
    Body body;
    const double outer = majorRadius + minorRadius;
    const std::size_t vertex = addVertex(body, frame.at(outer, 0.0, 0.0));
    const std::size_t round = addCircle(body, frame, outer, vertex);
    const Frame tube = geom::makeFrame(frame.at(majorRadius, 0.0, 0.0), -frame.y, frame.x);
    const std::size_t across = addCircle(body, tube, minorRadius, vertex);
    addFace(body, geom::makeTorus(frame, majorRadius, minorRadius), false,
            {{round, false}, {across, false}, {round, true}, {across, true}});
    return body;
}

geom::Body makeSheet(const geom::SurfacePtr& surface, const std::vector<geom::Edge>& edges)
{
    require(surface != nullptr && !edges.empty(), "makeSheet: no surface or no edge");
    Body body;
    body.solid = false;
    std::vector<Vec> starts;
    std::vector<Vec> ends;
    for (const Edge& edge : edges) {
        starts.push_back(edge.curve->at(edge.reversed ? edge.to : edge.from));
        ends.push_back(edge.curve->at(edge.reversed ? edge.from : edge.to));
        addVertex(body, starts.back());
    }
    std::vector<EdgeUse> uses;
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const std::size_t next = (i + 1) % edges.size();
        require(geom::distance(ends[i], starts[next]) <= kMeet,
                "makeSheet: the edges do not follow one another");
        body.edges.push_back(edges[i]);
        body.edges.back().start = i;
        body.edges.back().end = next;
        uses.push_back({i, false});
    }
    addFace(body, surface, false, std::move(uses));
    return body;
}

geom::Model makeModel(std::vector<geom::Body> bodies, const std::string& name)
{
    geom::Model model;
    addPart(model, name, std::move(bodies));
    return model;
}

std::size_t addPart(geom::Model& model, const std::string& name, std::vector<Body> bodies)
{
    geom::Product product;
    product.name = name;
    product.bodies = std::move(bodies);
    model.products.push_back(std::move(product));
    model.roots.push_back(model.products.size() - 1);
    return model.roots.back();
}

std::size_t addAssembly(geom::Model& model, const std::string& name,
                        std::vector<geom::Occurrence> occurrences)
{
    for (const geom::Occurrence& occurrence : occurrences) {
        require(occurrence.product < model.products.size(),
                "addAssembly: an occurrence uses no product of the model");
    }
    for (const geom::Occurrence& occurrence : occurrences) {
        model.roots.erase(std::remove(model.roots.begin(), model.roots.end(), occurrence.product),
                          model.roots.end());
    }
    const std::size_t index = addPart(model, name, {});
    model.products[index].occurrences = std::move(occurrences);
    return index;
}

geom::Occurrence use(std::size_t product, const std::string& name, const geom::Placement& placement)
{
    geom::Occurrence occurrence;
    occurrence.name = name;
    occurrence.product = product;
    occurrence.placement = placement;
    return occurrence;
}

geom::Placement shiftedBy(const Vec& vector)
{
    geom::Placement placement;
    placement.row = {1.0, 0.0, 0.0, vector.x, 0.0, 1.0, 0.0, vector.y, 0.0, 0.0, 1.0, vector.z};
    return placement;
}

geom::Placement placedAt(const Frame& frame)
{
    geom::Placement placement;
    placement.row = {frame.x.x, frame.y.x, frame.z.x, frame.origin.x, //
                     frame.x.y, frame.y.y, frame.z.y, frame.origin.y, //
                     frame.x.z, frame.y.z, frame.z.z, frame.origin.z};
    return placement;
}

} // namespace standin
