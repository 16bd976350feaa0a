//! @file
//! The triangulation of one trimmed face. Internal to the geometry; FaceGeometry.h is for its
//! users.

#pragma once

#include "standin/geom/Delaunay.h"
#include "standin/geom/Domain.h"

#include <vector>

namespace standin::geom {

//! Triangulates a face in its parameter plane, then refines until the surface is close enough.
class FaceMesh
{
public:
    //! @param trim       the loops at the chord tolerance of the boundary; borrowed
    //! @param judge      the loops that settle what lies inside; borrowed
    //! @param tolerance  metres, the chord distance inside the face
    FaceMesh(const Trim& trim, const Trim& judge, double tolerance);

    //! Triangulates the loops.
    //! @param splitCrossings  loops that cross are split where they do; otherwise they fail
    //! @return                false when loops cross or enclose nothing at this tolerance
    [[nodiscard]] bool build(bool splitCrossings);
    //! Refines what build() made.
    void refine();
    //! Tells whether triangles that matter look the wrong way: too coarse for how the face bends.
    [[nodiscard]] bool folded() const;
    //! Gives 9 numbers per triangle, counter-clockwise seen from outside the body.
    [[nodiscard]] std::vector<double> facets() const;

private:
    struct Corner
    {
        Param p;
        Vec point;
        Vec normal;
        int generation{};
    };
    [[nodiscard]] const DomainAxis& range(int axis) const
    {
        return mDomain.axes[static_cast<std::size_t>(axis)];
    }
    [[nodiscard]] bool borderAt(int axis, bool high) const;
    void settleScale();
    [[nodiscard]] GridPoint grid(Param p) const;
    [[nodiscard]] Corner corner(Param p, int generation) const;
    [[nodiscard]] std::size_t add(Param p, int generation, bool splitFixed);
    void addCrossings();
    void snap(double& value, int axis) const;
    void cut(const TrimSide& side, int axis, std::vector<TrimSide>& result) const;
    [[nodiscard]] std::vector<TrimSide> cutSides() const;
    [[nodiscard]] std::vector<double> borderValues(int axis) const;
    void subdivide(int axis, double from, double to, int depth, std::vector<double>& values) const;
    void addBorders();
    [[nodiscard]] bool onBorder(std::size_t a, std::size_t b) const;
    [[nodiscard]] bool outsideDomain(std::size_t triangle) const;
    [[nodiscard]] bool findRegions();
    void labelRegions();
    [[nodiscard]] double error(const Vec& chord, Param p) const;
    [[nodiscard]] bool leaps(const Param& a, const Param& b) const;
    [[nodiscard]] double sideError(std::size_t a, std::size_t b) const;
    [[nodiscard]] bool flat(const Delaunay::Triangle& triangle) const;
    [[nodiscard]] bool improve(std::size_t triangle);

    const Trim& mTrim;
    const Trim& mJudge;
    const Surface& mSurface;
    double mTolerance;
    Domain mDomain;
    Param mMiddle;
    Param mScale; //!< grid units per parameter
    Delaunay mPlane;
    std::vector<Corner> mCorners;
    std::vector<std::vector<std::size_t>> mBorders; //!< corners along each glued or polar border
    std::vector<bool> mInside;                      //!< by region
    std::int32_t mRegions{};
};

} // namespace standin::geom
