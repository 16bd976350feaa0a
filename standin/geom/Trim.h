//! @file
//! The loops of a face laid into the parameter plane of its surface. Internal to the geometry;
//! FaceGeometry.h is for its users.

#pragma once

#include "standin/geom/Brep.h"

#include <vector>

namespace standin::geom {

//! Access to a parameter by the number of its direction: 0 is u, 1 is v.
[[nodiscard]] inline double& component(Param& p, int axis) noexcept
{
    return axis == 0 ? p.u : p.v;
}
[[nodiscard]] inline double component(const Param& p, int axis) noexcept
{
    return axis == 0 ? p.u : p.v;
}
[[nodiscard]] inline Param midway(const Param& a, const Param& b, double part = 0.5) noexcept
{
    return {a.u + (b.u - a.u) * part, a.v + (b.v - a.v) * part};
}

//! A straight side of a loop in the parameter plane. The face lies to its left.
struct TrimSide
{
    Param from;
    Param to;
    std::size_t edge{kNone}; //!< the edge it belongs to, kNone for a side along a pole
    double start{};          //!< the edge's parameter at `from`
    double end{};            //!< the edge's parameter at `to`
    std::size_t loop{};      //!< sides of one loop stand in one sheet of a periodic surface
    std::size_t previous{kNone};
    std::size_t next{kNone};
};

//! How one edge lies on the surface.
struct TrimDeviation
{
    std::size_t edge{kNone};
    double distance{}; //!< the largest distance from the surface that was met
};

//! The sides of a face's loops, at a chord tolerance. Edges that the face uses in both directions
//! (seams) bound nothing and are left out. Made for a face that is well formed or not: broken()
//! tells.
class Trim
{
public:
    //! @param body       borrowed
    //! @param face       borrowed
    //! @param tolerance  metres, above 0
    Trim(const Body& body, const Face& face, double tolerance);

    //! Tells that the loops could not be laid into the parameter plane.
    [[nodiscard]] bool broken() const noexcept { return mBroken; }
    [[nodiscard]] double tolerance() const noexcept { return mTolerance; }
    [[nodiscard]] const std::vector<TrimSide>& sides() const noexcept { return mSides; }
    [[nodiscard]] const std::vector<TrimDeviation>& deviations() const noexcept
    {
        return mDeviations;
    }
    //! Gives the surface's periods; 0 for a direction that poles bound.
    [[nodiscard]] Param period() const noexcept { return mPeriod; }
    //! Gives the surface's poles, those of a periodic direction next to the loops.
    [[nodiscard]] const std::vector<Pole>& poles() const noexcept { return mPoles; }
    [[nodiscard]] const Surface& surface() const noexcept { return *mFace.surface; }
    [[nodiscard]] const Face& face() const noexcept { return mFace; }
    [[nodiscard]] const Body& body() const noexcept { return mBody; }

    //! Tells whether parameters lie inside the loops or on them. Without a side all is inside.
    [[nodiscard]] bool inside(Param p) const;
    //! Gives the parameters of an edge's point, next to a guess in periodic directions.
    [[nodiscard]] Param project(std::size_t edge, double t, Param guess) const;

private:
    friend class TrimBuilder;
    [[nodiscard]] bool insideByCurve(const TrimSide& side, Param p, bool otherwise) const;

    const Body& mBody;
    const Face& mFace;
    double mTolerance;
    bool mBroken{};
    Param mPeriod;
    Param mScale; //!< metres per parameter, for distances in the parameter plane
    std::vector<Pole> mPoles;
    std::vector<TrimSide> mSides;
    std::vector<TrimDeviation> mDeviations;
};

} // namespace standin::geom
