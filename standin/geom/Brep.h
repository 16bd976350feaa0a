//! @file
//! Boundary representation: bodies of faces bounded by loops of edges. Plain data, filled by the
//! reader of STEP files; FaceGeometry.h answers questions about it.

#pragma once

#include "standin/geom/Surface.h"

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace standin::geom {

//! Means "none" where an index is expected.
constexpr std::size_t kNone = static_cast<std::size_t>(-1);

struct Vertex
{
    Vec point;
    long entity{}; //!< number of the entity in its file, 0 when made otherwise
};

//! A stretch of a curve, from < to in the curve's parameter (for a periodic curve to may lie above
//! the natural range). The edge runs from its start vertex to its end vertex; reversed tells that
//! this is against the curve's parameter.
struct Edge
{
    CurvePtr curve;
    double from{};
    double to{};
    bool reversed{};
    std::size_t start{kNone}; //!< index into Body::vertices
    std::size_t end{kNone};   //!< index into Body::vertices; equals start for a closed edge
    long entity{};
};

//! One use of an edge by a loop; reversed: the loop runs from the edge's end to its start.
struct EdgeUse
{
    std::size_t edge{kNone}; //!< index into Body::edges
    bool reversed{};
};

//! A closed walk over edges, or a single vertex (then uses is empty and vertex is set).
struct Loop
{
    std::vector<EdgeUse> uses;
    std::size_t vertex{kNone};
    bool outer{}; //!< the file named it the outer bound
    long entity{};
};

//! The part of a surface that its loops bound, seen from outside the body they run
//! counter-clockwise round it. reversed: the outward normal is against the surface's normal.
struct Face
{
    SurfacePtr surface;
    bool reversed{};
    std::vector<Loop> loops;
    long entity{};
};

//! Faces, edges and vertices stand in the order in which the file's shells name them first.
struct Body
{
    std::string name;
    bool solid{true};
    std::vector<Vertex> vertices;
    std::vector<Edge> edges;
    std::vector<Face> faces;
    long entity{};
};

//! A placement: 12 numbers, three rows of rotation and translation, points are columns.
struct Placement
{
    std::array<double, 12> row{1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0};
};

//! A use of a product inside an assembly.
struct Occurrence
{
    std::string name;
    std::size_t product{kNone}; //!< index into Model::products
    Placement placement;        //!< from the product's space to its assembly's
    long entity{};
};

//! A part (bodies), an assembly (occurrences), or both.
struct Product
{
    std::string name;
    std::vector<Body> bodies; //!< in the product's own space
    std::vector<Occurrence> occurrences;
    long entity{};
};

//! The content of a file.
struct Model
{
    std::vector<Product> products;
    std::vector<std::size_t> roots;    //!< products that no occurrence uses
    std::vector<std::string> warnings; //!< what was left out, and why, one line each
};

} // namespace standin::geom
