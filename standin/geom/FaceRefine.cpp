#include "standin/geom/FaceMesh.h"
#include "standin/geom/Numeric.h"

#include <algorithm>
#include <cmath>
#include <deque>

namespace standin::geom {

namespace {

constexpr std::size_t kMostTriangles = 2000000;
// Normals along a side may turn by 60 degrees, however wide the tolerance is; folds of the surface
// can't be resolved, so this is tried a few times only.
constexpr double kLeastCosine = 0.5;
constexpr int kTurnGenerations = 5;
// A smaller facet than this part of the tolerance deviates by a leap of the surface, not a bend.
constexpr double kSmallestFacet = 0.5;

} // namespace

// The distance of a point of a facet from the surface, of which p is about the nearest place.
double FaceMesh::error(const Vec& chord, Param p) const
{
    const Vec gap = mSurface.at(p) - chord;
    const double whole = length(gap);
    if (whole <= mTolerance) {
        return whole;
    }
    const double across = std::fabs(dot(gap, mSurface.normal(p)));
    if (across > mTolerance) {
        return across;
    }
    // Parameters do not run evenly: look for the place itself.
    const Param nearest = mSurface.parameterAt(chord, &p);
    return distance(mSurface.at(nearest), chord);
}

// Tells that a side goes so far round that its ends do not tell which way.
bool FaceMesh::leaps(const Param& a, const Param& b) const
{
    const Param period = mSurface.period();
    for (const int axis : {0, 1}) {
        const double repeat = component(period, axis);
        if (repeat > 0.0 && std::fabs(component(a, axis) - component(b, axis)) > 0.3 * repeat) {
            return true;
        }
    }
    return false;
}

double FaceMesh::sideError(std::size_t a, std::size_t b) const
{
    const Corner& from = mCorners[a];
    const Corner& to = mCorners[b];
    const double size = distance(from.point, to.point);
    const Param mid = midway(from.p, to.p);
    if (leaps(from.p, to.p)) {
        // Along a pole's border both ends are one point; elsewhere the leap must be broken.
        const double width = distance(mSurface.at(mid), from.point);
        return width > 1e-9 ? std::fmax(width, 2.0 * mTolerance) : 0.0;
    }
    if (size == 0.0) {
        return 0.0;
    }
    const double deviation = error((from.point + to.point) * 0.5, mid);
    const bool folds = dot(from.normal, to.normal) < kLeastCosine && deviation > 1e-3 * size &&
                       std::max(from.generation, to.generation) < kTurnGenerations;
    return folds ? std::fmax(deviation, 2.0 * mTolerance) : deviation;
}

// Adds a corner where a triangle is worst; tells whether one was added.
bool FaceMesh::improve(std::size_t t)
{
    const Delaunay::Triangle triangle = mPlane.triangles()[t];
    std::size_t worst = 3;
    double most = mTolerance;
    for (std::size_t i = 0; i < 3; ++i) {
        if (!triangle.fixed[i]) {
            const double e = sideError(triangle.corner[(i + 1) % 3], triangle.corner[(i + 2) % 3]);
            if (e > most) {
                most = e;
                worst = i;
            }
        }
    }
    const Corner& a = mCorners[triangle.corner[0]];
    const Corner& b = mCorners[triangle.corner[1]];
    const Corner& c = mCorners[triangle.corner[2]];
    int generation = std::max(a.generation, std::max(b.generation, c.generation));
    Param place;
    if (worst < 3) {
        const Corner& from = mCorners[triangle.corner[(worst + 1) % 3]];
        const Corner& to = mCorners[triangle.corner[(worst + 2) % 3]];
        generation = std::max(from.generation, to.generation);
        place = midway(from.p, to.p);
    } else {
        place = {(a.p.u + b.p.u + c.p.u) / 3.0, (a.p.v + b.p.v + c.p.v) / 3.0};
        if (!(error((a.point + b.point + c.point) * (1.0 / 3.0), place) > mTolerance)) {
            return false;
        }
    }
    const double longest =
        std::fmax(distance(a.point, b.point),
                  std::fmax(distance(b.point, c.point), distance(c.point, a.point)));
    if (longest < kSmallestFacet * mTolerance) {
        return false;
    }
    mPlane.startAt(t);
    const std::size_t before = mCorners.size();
    return add(place, generation + 1, false) == before;
}

void FaceMesh::refine()
{
    if (mSurface.kind() == SurfaceKind::plane) {
        return;
    }
    static_cast<void>(mPlane.takeChanged());
    std::deque<std::size_t> queue;
    for (std::size_t t = 0; t < mPlane.triangles().size(); ++t) {
        queue.push_back(t);
    }
    while (!queue.empty() && mPlane.triangles().size() < kMostTriangles) {
        const std::size_t t = queue.front();
        queue.pop_front();
        if (mInside[static_cast<std::size_t>(mPlane.triangles()[t].region)] && improve(t)) {
            const std::vector<std::size_t> changed = mPlane.takeChanged();
            queue.insert(queue.end(), changed.begin(), changed.end());
        }
    }
}

} // namespace standin::geom
