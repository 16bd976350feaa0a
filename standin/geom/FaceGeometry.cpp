#include "standin/geom/FaceGeometry.h"

#include "standin/geom/Domain.h"
#include "standin/geom/FaceBox.h"
#include "standin/geom/FaceMesh.h"
#include "standin/geom/Numeric.h"
#include "standin/geom/Trim.h"

#include <algorithm>
#include <cmath>

namespace standin::geom {

namespace {

constexpr int kAttempts = 8;
constexpr int kFolds = 4;
// Facets are measured in a few places; between those they may be a little further off.
constexpr double kKept = 0.9;
// The judging tolerance is a thousandth of the face's size; coarser facets than 1 in 50 no longer
// show its shape.
constexpr double kCoarsest = 20.0;
// Finer than a ten-millionth of the size is beyond what files hold.
constexpr double kFinest = 1e-4;

// Fine enough that what lies inside is not in doubt, coarse enough to be cheap.
double judgingTolerance(const Body& body, const Face& face)
{
    Box box;
    for (const Loop& loop : face.loops) {
        for (const EdgeUse& use : loop.uses) {
            if (use.edge < body.edges.size() && body.edges[use.edge].curve != nullptr) {
                box.add(edgeBox(body.edges[use.edge]));
            }
        }
    }
    Param from;
    Param to;
    if (box.empty() && face.surface != nullptr) {
        face.surface->naturalRange(from, to);
        const std::vector<double> v = spaced(from.v, to.v, 4);
        for (const double u : spaced(from.u, to.u, 4)) {
            for (const double w : v) {
                box.add(face.surface->at({u, w}));
            }
        }
    }
    const double size = box.empty() ? 0.0 : length(box.max - box.min);
    return size > 0.0 && std::isfinite(size) ? std::fmax(1e-3 * size, 1e-9) : 1e-3;
}

// Moves the ends of a range to where the edges really turn, between the samples.
void sharpen(const Trim& trim, const Domain& domain, int axis, double& from, double& to)
{
    const DomainAxis& range = domain.axes[static_cast<std::size_t>(axis)];
    const std::vector<TrimSide>& sides = trim.sides();
    const double tiny = 1e-12 * (1.0 + std::fabs(range.from) + std::fabs(range.to));
    for (const TrimSide& side : sides) {
        if (side.edge == kNone || side.next == kNone || sides[side.next].edge != side.edge) {
            continue;
        }
        TrimSide moved = side;
        bringInside(moved, domain, trim.period());
        const double value = component(moved.to, axis);
        const double last = sides[side.next].end;
        for (const double sign : {1.0, -1.0}) {
            const double bound = sign > 0.0 ? range.to : range.from;
            if (range.glued || !(sign * (bound - value) <= tiny)) {
                continue;
            }
            const auto at = [&](double t) {
                return sign * component(trim.project(side.edge, t, moved.to), axis);
            };
            const double best =
                sign * at(greatest(at, std::fmin(side.start, last), std::fmax(side.start, last)));
            (sign > 0.0 ? to : from) = sign > 0.0 ? std::fmax(to, best) : std::fmin(from, best);
        }
    }
}

} // namespace

FaceGeometry::FaceGeometry(const Body& body, const Face& face)
    : mBody(&body),
      mFace(&face),
      mTrim(std::make_unique<const Trim>(body, face, judgingTolerance(body, face)))
{}

FaceGeometry::FaceGeometry(FaceGeometry&&) noexcept = default;
FaceGeometry& FaceGeometry::operator=(FaceGeometry&&) noexcept = default;
FaceGeometry::~FaceGeometry() = default;

bool FaceGeometry::usable() const noexcept
{
    return !mTrim->broken();
}

std::vector<double> FaceGeometry::facets(double tolerance) const
{
    if (mTrim->broken() || !(tolerance > 0.0) || !std::isfinite(tolerance)) {
        return {};
    }
    // Loops that are apart may cross as coarse polygons, and coarse facets may fold where the face
    // bends; both end as facets get finer.
    const double coarsest = kCoarsest * mTrim->tolerance();
    const double finest = std::fmax(kFinest * mTrim->tolerance(), 1e-9);
    double boundary = std::fmax(std::fmin(tolerance, coarsest), finest);
    double chord = boundary;
    std::vector<double> result;
    int folds = 0;
    for (int attempt = 0; attempt < kAttempts && folds < kFolds; ++attempt) {
        const bool last = attempt + 1 == kAttempts;
        const Trim trim(*mBody, *mFace, boundary);
        if (trim.broken()) {
            return {};
        }
        FaceMesh mesh(trim, *mTrim, kKept * chord);
        boundary = 0.25 * boundary;
        if (mesh.build(last)) {
            mesh.refine();
            result = mesh.facets();
            if (chord < 0.25 * mTrim->tolerance() || !mesh.folded()) {
                return result;
            }
            chord = boundary;
            ++folds;
        }
    }
    return result;
}

Box FaceGeometry::box() const
{
    return trimmedBox(*mTrim, *mBody, *mFace);
}

void FaceGeometry::paramRange(Param& from, Param& to) const
{
    from = {};
    to = {};
    if (mTrim->broken()) {
        if (mFace->surface != nullptr) {
            mFace->surface->naturalRange(from, to);
        }
        return;
    }
    const Domain domain = findDomain(*mTrim);
    for (const int axis : {0, 1}) {
        component(from, axis) = domain.axes[static_cast<std::size_t>(axis)].from;
        component(to, axis) = domain.axes[static_cast<std::size_t>(axis)].to;
        sharpen(*mTrim, domain, axis, component(from, axis), component(to, axis));
    }
}

bool FaceGeometry::contains(Param p) const
{
    return !mTrim->broken() && mTrim->inside(p);
}

std::vector<double> facets(const Body& body, const Face& face, double tolerance)
{
    return FaceGeometry(body, face).facets(tolerance);
}

Box faceBox(const Body& body, const Face& face)
{
    return FaceGeometry(body, face).box();
}

Box edgeBox(const Edge& edge)
{
    return edge.curve == nullptr ? Box{} : edge.curve->box(edge.from, edge.to);
}

Box bodyBox(const Body& body)
{
    Box box;
    for (const Face& face : body.faces) {
        box.add(faceBox(body, face));
    }
    return box;
}

void paramRange(const Body& body, const Face& face, Param& from, Param& to)
{
    FaceGeometry(body, face).paramRange(from, to);
}

bool contains(const Body& body, const Face& face, Param p)
{
    return FaceGeometry(body, face).contains(p);
}

Vec faceNormal(const Face& face, Param p)
{
    if (face.surface == nullptr) {
        return {};
    }
    const Vec n = face.surface->normal(p);
    return face.reversed ? -n : n;
}

void endPoints(const Body& body, const Edge& edge, Vec& start, Vec& end)
{
    const auto point = [&body, &edge](std::size_t vertex, double t) {
        if (vertex < body.vertices.size()) {
            return body.vertices[vertex].point;
        }
        return edge.curve != nullptr ? edge.curve->at(t) : Vec{};
    };
    start = point(edge.start, edge.reversed ? edge.to : edge.from);
    end = point(edge.end, edge.reversed ? edge.from : edge.to);
}

} // namespace standin::geom
