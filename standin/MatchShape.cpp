#include "standin/MatchShape.h"

#include "standin/Content.h"
#include "standin/geom/FaceGeometry.h"

#include <algorithm>
#include <array>

namespace standin {
namespace {

//! Points of two exports of one part differ by less than this share of its size.
constexpr double kRelativeTolerance = 1e-6;
constexpr double kSmallestTolerance = 1e-8;
//! The most points of a face that are compared.
constexpr std::size_t kMostPoints = 16;

EdgeShape shapeOf(const geom::Edge& edge, const geom::Box& box)
{
    EdgeShape shape;
    shape.edge = &edge;
    shape.kind = edge.curve->kind();
    shape.box = box;
    for (const double share : {0.0, 0.25, 0.5, 0.75, 1.0}) {
        shape.points.push_back(edge.curve->at(edge.from + share * (edge.to - edge.from)));
    }
    return shape;
}

void addOnce(std::vector<std::size_t>& list, std::size_t value)
{
    if (std::find(list.begin(), list.end(), value) == list.end()) {
        list.push_back(value);
    }
}

//! Takes points of a face's edges, spread evenly over them, and one from the midst of its surface.
std::vector<geom::Vec> pointsOf(const PartContent& part, const Entity& entity,
                                const FaceShape& face, const std::vector<EdgeShape>& edges)
{
    std::vector<geom::Vec> points;
    for (const std::size_t edge : face.edges) {
        points.push_back(edges[edge].points.front());
        points.push_back(edges[edge].points[edges[edge].points.size() / 2]);
    }
    if (points.size() > kMostPoints) {
        std::vector<geom::Vec> fewer;
        for (std::size_t i = 0; i < kMostPoints; ++i) {
            fewer.push_back(points[i * points.size() / kMostPoints]);
        }
        points = std::move(fewer);
    }
    const auto& [from, to] = part.paramRange(entity);
    points.push_back(face.face->surface->at({0.5 * (from.u + to.u), 0.5 * (from.v + to.v)}));
    if (face.edges.empty()) {
        for (const double share : {0.2, 0.4, 0.7}) {
            points.push_back(face.face->surface->at(
                {from.u + share * (to.u - from.u), from.v + (1.0 - share) * (to.v - from.v)}));
        }
    }
    return points;
}

BodyShape shapeOf(const PartContent& part, std::size_t index)
{
    BodyShape shape;
    const geom::Body& body = part.bodies()[index];
    shape.body = &body;
    shape.box = part.box({EntityKind::body, index, 0});
    for (std::size_t i = 0; i < body.edges.size(); ++i) {
        shape.edges.push_back(shapeOf(body.edges[i], part.box({EntityKind::edge, index, i})));
    }
    for (std::size_t i = 0; i < body.faces.size(); ++i) {
        FaceShape face;
        face.face = &body.faces[i];
        face.kind = body.faces[i].surface->kind();
        face.box = part.box({EntityKind::face, index, i});
        face.edges = PartContent::edgesOf(body.faces[i]);
        face.points = pointsOf(part, {EntityKind::face, index, i}, face, shape.edges);
        for (const std::size_t edge : face.edges) {
            shape.edges[edge].faces.push_back(i);
        }
        shape.faces.push_back(std::move(face));
    }
    for (const EdgeShape& edge : shape.edges) {
        for (const std::size_t a : edge.faces) {
            for (const std::size_t b : edge.faces) {
                if (a != b) {
                    addOnce(shape.faces[a].neighbours, b);
                }
            }
        }
    }
    for (FaceShape& face : shape.faces) {
        std::sort(face.neighbours.begin(), face.neighbours.end());
    }
    return shape;
}

double onCurve(const EdgeShape& edge, const geom::Vec& point, double from, double to)
{
    const geom::Curve& curve = *edge.edge->curve;
    return geom::distance(curve.at(curve.parameterAt(point, from, to)), point);
}

//! Tells whether points of one edge lie on another's curve, within its stretch or anywhere.
bool liesOn(const EdgeShape& a, const EdgeShape& b, bool anywhere, double tolerance)
{
    double from = b.edge->from;
    double to = b.edge->to;
    const double length =
        geom::distance(a.box.min, a.box.max) + geom::distance(a.box.min, b.box.min);
    if (anywhere) {
        b.edge->curve->naturalRange(from, to);
        if (!std::isfinite(from) || !std::isfinite(to)) {
            // An unbounded curve: as far as both edges reach, and some more.
            from = b.edge->from - 2.0 * length - 1.0;
            to = b.edge->to + 2.0 * length + 1.0;
        }
    }
    return std::all_of(a.points.begin(), a.points.end(), [&](const geom::Vec& point) {
        return onCurve(b, point, from, to) <= tolerance;
    });
}

bool liesOn(const FaceShape& a, const FaceShape& b, double tolerance)
{
    const geom::Surface& surface = *b.face->surface;
    return std::all_of(a.points.begin(), a.points.end(), [&](const geom::Vec& point) {
        return geom::distance(surface.at(surface.parameterAt(point, nullptr)), point) <= tolerance;
    });
}

bool sameSide(const FaceShape& a, const FaceShape& b)
{
    // The last point but for a face's edges lies in the midst of its surface.
    for (const geom::Vec& point : a.points) {
        const geom::Vec normalA =
            geom::faceNormal(*a.face, a.face->surface->parameterAt(point, nullptr));
        const geom::Vec normalB =
            geom::faceNormal(*b.face, b.face->surface->parameterAt(point, nullptr));
        const double cosine = geom::dot(normalA, normalB);
        if (std::fabs(cosine) > 0.9) {
            return cosine > 0.0;
        }
    }
    return false;
}

double extent(double from, double to)
{
    return to - from;
}

std::array<double, 3> sizes(const geom::Box& box)
{
    return {extent(box.min.x, box.max.x), extent(box.min.y, box.max.y),
            extent(box.min.z, box.max.z)};
}

//! Gives the part of two boxes that both cover; empty when they lie apart.
geom::Box common(const geom::Box& a, const geom::Box& b)
{
    geom::Box box;
    box.min = {std::fmax(a.min.x, b.min.x), std::fmax(a.min.y, b.min.y),
               std::fmax(a.min.z, b.min.z)};
    box.max = {std::fmin(a.max.x, b.max.x), std::fmin(a.max.y, b.max.y),
               std::fmin(a.max.z, b.max.z)};
    return box;
}

} // namespace

std::vector<BodyShape> shapesOf(const PartContent& part)
{
    std::vector<BodyShape> shapes;
    for (std::size_t i = 0; i < part.bodies().size(); ++i) {
        shapes.push_back(shapeOf(part, i));
    }
    return shapes;
}

double tolerance(const std::vector<BodyShape>& a, const std::vector<BodyShape>& b)
{
    geom::Box all;
    for (const auto* shapes : {&a, &b}) {
        for (const BodyShape& shape : *shapes) {
            all.add(shape.box);
        }
    }
    const double size = all.empty() ? 0.0 : geom::distance(all.min, all.max);
    return std::fmax(kSmallestTolerance, kRelativeTolerance * size);
}

bool sameBox(const geom::Box& a, const geom::Box& b, double tolerance)
{
    const auto close = [tolerance](const geom::Vec& p, const geom::Vec& q) {
        return std::fabs(p.x - q.x) <= tolerance && std::fabs(p.y - q.y) <= tolerance &&
               std::fabs(p.z - q.z) <= tolerance;
    };
    return (a.empty() && b.empty()) || (close(a.min, b.min) && close(a.max, b.max));
}

double overlap(const geom::Box& a, const geom::Box& b, double tolerance)
{
    if (a.empty() || b.empty()) {
        return 0.0;
    }
    const std::array<double, 3> sizeA = sizes(a);
    const std::array<double, 3> sizeB = sizes(b);
    const std::array<double, 3> both = sizes(common(a, b));
    double volumeA = 1.0;
    double volumeB = 1.0;
    double volume = 1.0;
    for (std::size_t i = 0; i < 3; ++i) {
        if (both[i] < -tolerance) {
            return 0.0;
        }
        // A direction in which one of them is flat counts as one layer.
        const double layer = 10.0 * tolerance;
        volumeA *= std::fmax(sizeA[i], layer);
        volumeB *= std::fmax(sizeB[i], layer);
        volume *= std::fmax(both[i], std::fmin(sizeA[i], sizeB[i]) <= layer ? layer : 0.0);
    }
    return volume / (volumeA + volumeB - volume);
}

bool sameEdge(const EdgeShape& a, const EdgeShape& b, double tolerance)
{
    return a.kind == b.kind && sameBox(a.box, b.box, tolerance) && liesOn(a, b, false, tolerance) &&
           liesOn(b, a, false, tolerance);
}

bool sameCurve(const EdgeShape& a, const EdgeShape& b, double tolerance)
{
    return a.kind == b.kind && liesOn(a, b, true, tolerance) && liesOn(b, a, true, tolerance);
}

bool sameSurface(const FaceShape& a, const FaceShape& b, double tolerance)
{
    return a.kind == b.kind && liesOn(a, b, tolerance) && liesOn(b, a, tolerance) && sameSide(a, b);
}

} // namespace standin
