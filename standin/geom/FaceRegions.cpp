#include "standin/geom/FaceMesh.h"

#include <cmath>

namespace standin::geom {

bool FaceMesh::onBorder(std::size_t a, std::size_t b) const
{
    for (const int axis : {0, 1}) {
        const double value = component(mCorners[a].p, axis);
        if (value == component(mCorners[b].p, axis) &&
            ((borderAt(axis, false) && value == range(axis).low) ||
             (borderAt(axis, true) && value == range(axis).high))) {
            return true;
        }
    }
    return false;
}

bool FaceMesh::outsideDomain(std::size_t triangle) const
{
    Param sum;
    for (const std::size_t v : mPlane.triangles()[triangle].corner) {
        if (v < 4) {
            return true;
        }
        sum = {sum.u + mCorners[v].p.u / 3.0, sum.v + mCorners[v].p.v / 3.0};
    }
    for (const int axis : {0, 1}) {
        if ((borderAt(axis, false) && component(sum, axis) < range(axis).low) ||
            (borderAt(axis, true) && component(sum, axis) > range(axis).high)) {
            return true;
        }
    }
    return false;
}

// Numbers the regions that sides with a boundary, and borders, separate.
void FaceMesh::labelRegions()
{
    const std::vector<Delaunay::Triangle>& triangles = mPlane.triangles();
    for (std::size_t t = 0; t < triangles.size(); ++t) {
        mPlane.setRegion(t, -1);
    }
    std::vector<std::size_t> stack;
    for (std::size_t seed = 0; seed < triangles.size(); ++seed) {
        if (triangles[seed].region >= 0) {
            continue;
        }
        mPlane.setRegion(seed, mRegions);
        stack.push_back(seed);
        while (!stack.empty()) {
            const Delaunay::Triangle& triangle = triangles[stack.back()];
            stack.pop_back();
            for (std::size_t i = 0; i < 3; ++i) {
                const std::size_t next = triangle.neighbour[i];
                const std::size_t a = triangle.corner[(i + 1) % 3];
                const std::size_t b = triangle.corner[(i + 2) % 3];
                const bool wall = triangle.net[i] != 0 ||
                                  (triangle.fixed[i] && a >= 4 && b >= 4 && onBorder(a, b));
                if (!wall && next != Delaunay::kNothing && triangles[next].region < 0) {
                    mPlane.setRegion(next, mRegions);
                    stack.push_back(next);
                }
            }
        }
        ++mRegions;
    }
}

// A region that is not the whole domain has sides of the loops around it, and they say whether the
// face lies on it; should they differ, the longer ones are believed.
bool FaceMesh::findRegions()
{
    labelRegions();
    const std::size_t count = static_cast<std::size_t>(mRegions);
    std::vector<double> votes(count, 0.0);
    std::vector<bool> exterior(count, false);
    for (std::size_t t = 0; t < mPlane.triangles().size(); ++t) {
        const Delaunay::Triangle& triangle = mPlane.triangles()[t];
        const std::size_t region = static_cast<std::size_t>(triangle.region);
        exterior[region] = exterior[region] || outsideDomain(t);
        for (std::size_t i = 0; i < 3; ++i) {
            if (triangle.net[i] != 0) {
                const GridPoint& a = mPlane.vertices()[triangle.corner[(i + 1) % 3]];
                const GridPoint& b = mPlane.vertices()[triangle.corner[(i + 2) % 3]];
                const double size =
                    std::hypot(static_cast<double>(b.x - a.x), static_cast<double>(b.y - a.y));
                votes[region] += triangle.net[i] > 0 ? size : -size;
            }
        }
    }
    mInside.assign(count, false);
    bool any = false;
    for (std::size_t i = 0; i < count; ++i) {
        mInside[i] = !exterior[i] && (mTrim.sides().empty() || votes[i] > 0.0);
        any = any || mInside[i];
    }
    return any;
}

} // namespace standin::geom
