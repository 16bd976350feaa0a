//! @file
//! The point of a surface nearest to a point, for surfaces without a closed form.

#pragma once

#include "standin/geom/Surface.h"

#include <vector>

namespace standin::geom {

//! A coarse grid of points of a surface, where the search for the nearest point starts.
class SampleGrid
{
public:
    SampleGrid() = default;
    //! @param u  ascending, at least 2
    //! @param v  ascending, at least 2
    SampleGrid(const Surface& surface, std::vector<double> u, std::vector<double> v);

    //! Gives the parameters, within the grid's first and last ones, of the point nearest to a
    //! point. Tries the guess first, then the nearest samples.
    [[nodiscard]] Param nearest(const Surface& surface, const Vec& point, const Param* guess) const;

private:
    [[nodiscard]] Param sample(std::size_t i) const noexcept
    {
        return {mU[i / mV.size()], mV[i % mV.size()]};
    }
    void findPoles();
    [[nodiscard]] std::vector<std::size_t> starts(const std::vector<double>& squares) const;
    [[nodiscard]] Param brought(const Surface& surface, Param p) const noexcept;
    [[nodiscard]] Param descend(const Surface& surface, const Vec& point, Param start) const;

    std::vector<double> mU;
    std::vector<double> mV;
    std::vector<Vec> mPoints; //!< row by row, v runs fastest
    std::vector<bool> mPole;  //!< samples of a line that collapses into a point
    double mStep{};           //!< the longest distance of neighbours
};

//! Gives the parameters at which a direction is sampled: the breaks and `perSpan` - 1 values
//! between two of them, at least `least` and at most about `most` intervals.
[[nodiscard]] std::vector<double> gridParameters(double from, double to,
                                                 const std::vector<double>& breaks, int perSpan,
                                                 int least, int most);

} // namespace standin::geom
