//! @file
//! What Match compares of bodies, faces and edges.

#pragma once

#include "standin/geom/Brep.h"

#include <cstddef>
#include <vector>

namespace standin {

struct EdgeShape
{
    const geom::Edge* edge = nullptr;
    geom::CurveKind kind{};
    geom::Box box;
    std::vector<geom::Vec> points;  //!< start, quarters, end
    std::vector<std::size_t> faces; //!< that it bounds, ascending, each once
};

struct FaceShape
{
    const geom::Face* face = nullptr;
    geom::SurfaceKind kind{};
    geom::Box box;
    std::vector<std::size_t> edges;      //!< each once
    std::vector<std::size_t> neighbours; //!< faces across its edges, ascending, each once
    std::vector<geom::Vec> points;       //!< on its surface: of its edges and one between
};

//! A body, prepared for comparison. Borrows the body.
struct BodyShape
{
    const geom::Body* body = nullptr;
    geom::Box box;
    std::vector<FaceShape> faces;
    std::vector<EdgeShape> edges;
};

class PartContent;

//! Prepares a part's bodies.
[[nodiscard]] std::vector<BodyShape> shapesOf(const PartContent& part);

//! Gives the distance below which points of two parts count as the same.
[[nodiscard]] double tolerance(const std::vector<BodyShape>& a, const std::vector<BodyShape>& b);

[[nodiscard]] bool sameBox(const geom::Box& a, const geom::Box& b, double tolerance);
//! Gives the share of two boxes' union that both cover, 0 when they lie apart. Flat boxes count
//! with their area or length.
[[nodiscard]] double overlap(const geom::Box& a, const geom::Box& b, double tolerance);

//! Tells whether two edges are the same stretch of the same curve, in either direction.
[[nodiscard]] bool sameEdge(const EdgeShape& a, const EdgeShape& b, double tolerance);
//! Tells whether two edges lie on the same curve.
[[nodiscard]] bool sameCurve(const EdgeShape& a, const EdgeShape& b, double tolerance);
//! Tells whether two faces lie on the same surface and look to the same side of it.
[[nodiscard]] bool sameSurface(const FaceShape& a, const FaceShape& b, double tolerance);

} // namespace standin
