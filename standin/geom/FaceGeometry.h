//! @file
//! Questions about trimmed faces and edges: facets, exact boxes, parameters, lengths.

#pragma once

#include "standin/geom/Brep.h"

#include <memory>
#include <vector>

namespace standin::geom {

class Trim;

//! Answers about one trimmed face. Lays the face's loops into the parameter plane once, so that
//! many questions cost less than through the free functions below, which make one of these each.
//! Never throws for a broken face. May be asked from several threads at a time.
class FaceGeometry
{
public:
    //! @param body  borrowed until destroyed
    //! @param face  borrowed until destroyed; one of the body's, or made of its edges
    FaceGeometry(const Body& body, const Face& face);
    FaceGeometry(FaceGeometry&&) noexcept;
    FaceGeometry& operator=(FaceGeometry&&) noexcept;
    ~FaceGeometry();

    //! Tells whether the loops bound a part of the surface, so far as they can be followed along
    //! it.
    [[nodiscard]] bool usable() const noexcept;
    //! As the free functions.
    [[nodiscard]] std::vector<double> facets(double tolerance) const;
    [[nodiscard]] Box box() const;
    void paramRange(Param& from, Param& to) const;
    [[nodiscard]] bool contains(Param p) const;

private:
    const Body* mBody;
    const Face* mFace;
    std::unique_ptr<const Trim> mTrim;
};

//! Splits a face into triangles whose corners lie on its surface and whose sides and inside stay
//! within a chord distance of it. Neighbouring triangles of one face share their corners' exact
//! coordinates; corners are ordered counter-clockwise seen from outside the body.
//! The sides along edges keep to the tolerance as well; turns are never coarser than 45 degrees
//! along an edge, facets never coarser than 1 in 50 of the face's size. Stops refining at two
//! million triangles, and at 1e-9 m or a ten-millionth of the face's size.
//! @param tolerance  metres, above 0 and finite
//! @return           9 numbers per triangle (x, y, z of three corners); empty when the face can't
//!                   be split, because its loops are broken or degenerate
[[nodiscard]] std::vector<double> facets(const Body& body, const Face& face, double tolerance);

//! Gives the exact box of a trimmed face: of its edges, and of the surface where it turns inside.
//! For a face that can't be split into facets it is the box of the edges.
[[nodiscard]] Box faceBox(const Body& body, const Face& face);

//! Gives the exact box of an edge.
[[nodiscard]] Box edgeBox(const Edge& edge);

//! Gives the box of a body's faces.
[[nodiscard]] Box bodyBox(const Body& body);

//! Gives the smallest ranges of u and v that hold the trimmed face, periodic ones unwrapped: they
//! start in the natural range and are at most a period wide. For a face that can't be split into
//! facets it is the natural range.
void paramRange(const Body& body, const Face& face, Param& from, Param& to);

//! Tells whether surface parameters lie inside the face's loops or on them, within 1e-9 m or as far
//! as the edges miss the surface. False for a face that can't be split into facets.
[[nodiscard]] bool contains(const Body& body, const Face& face, Param p);

//! Gives the outward unit normal of a face at surface parameters.
[[nodiscard]] Vec faceNormal(const Face& face, Param p);

//! Gives the edge's start point and end point as its vertices have them.
void endPoints(const Body& body, const Edge& edge, Vec& start, Vec& end);

} // namespace standin::geom
