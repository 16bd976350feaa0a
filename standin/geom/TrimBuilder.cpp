#include "standin/geom/EdgeTrace.h"
#include "standin/geom/FaceGeometry.h"
#include "standin/geom/Numeric.h"
#include "standin/geom/Trim.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace standin::geom {

namespace {

// Edges further from the surface than this part of the face's size do not bound it.
constexpr double kFarthestEdge = 0.02;

bool usable(const Body& body, const Face& face)
{
    if (face.surface == nullptr) {
        return false;
    }
    for (const Loop& loop : face.loops) {
        for (const EdgeUse& use : loop.uses) {
            if (use.edge >= body.edges.size() || body.edges[use.edge].curve == nullptr) {
                return false;
            }
            const Edge& edge = body.edges[use.edge];
            if (!std::isfinite(edge.from) || !std::isfinite(edge.to) || edge.from > edge.to) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

// Lays the loops of one face into the parameter plane.
class TrimBuilder
{
public:
    explicit TrimBuilder(Trim& trim)
        : mTrim(trim),
          mBody(trim.mBody),
          mFace(trim.mFace),
          mSurface(*trim.mFace.surface),
          mFull(mSurface.period())
    {}

    void build();

private:
    // A run of an edge as a loop walks it.
    struct Piece
    {
        std::size_t edge{kNone};
        std::vector<TracePoint> points;
        std::size_t startPole{kNone};
        std::size_t endPole{kNone};
    };

    [[nodiscard]] const EdgeTrace& traced(std::size_t edge);
    [[nodiscard]] bool rises(const EdgeUse& use) const
    {
        return (mBody.edges[use.edge].reversed == use.reversed) != mFace.reversed;
    }
    void measure();
    void findSeams();
    [[nodiscard]] std::vector<Piece> pieces(const Loop& loop);
    void addLoop(const Loop& loop);
    [[nodiscard]] Param joined(const Piece& before, Param end, const Piece& after);
    void addSide(const TrimSide& side);
    void dropSeams();
    void link();
    void bound();
    void settleScale();
    [[nodiscard]] bool closed() const;
    [[nodiscard]] bool endless() const;
    void turnRound();

    Trim& mTrim;
    const Body& mBody;
    const Face& mFace;
    const Surface& mSurface;
    Param mFull; //!< the surface's periods
    double mSize{};
    std::vector<Pole> mSurfacePoles;
    std::map<std::size_t, EdgeTrace> mTraces;
    std::map<std::size_t, bool> mSeams;
    Param mLast;
    bool mAny{};
};

void TrimBuilder::measure()
{
    Box box;
    for (const Loop& loop : mFace.loops) {
        for (const EdgeUse& use : loop.uses) {
            box.add(edgeBox(mBody.edges[use.edge]));
        }
    }
    mSize = box.empty() ? 0.0 : length(box.max - box.min);
    mSurfacePoles = mSurface.poles();
}

const EdgeTrace& TrimBuilder::traced(std::size_t edge)
{
    const auto found = mTraces.find(edge);
    if (found != mTraces.end()) {
        return found->second;
    }
    // Vertices miss poles by as much as files round; a small face keeps its corners apart.
    const double poleTolerance = std::fmin(2e-6, std::fmax(1e-4 * mSize, 1e-10));
    const TraceGround ground{mSurface, mSurfacePoles, mTrim.mTolerance, poleTolerance};
    EdgeTrace trace = traceEdge(mBody.edges[edge], ground, mAny ? &mLast : nullptr);
    if (!trace.runs.empty()) {
        mLast = trace.runs.back().points.back().p;
        mAny = true;
    }
    mTrim.mDeviations.push_back({edge, trace.deviation});
    if (!(trace.deviation <= kFarthestEdge * mSize + 1e-9)) {
        mTrim.mBroken = true;
    }
    return mTraces.emplace(edge, std::move(trace)).first->second;
}

void TrimBuilder::findSeams()
{
    std::map<std::size_t, int> net;
    std::map<std::size_t, int> uses;
    for (const Loop& loop : mFace.loops) {
        for (const EdgeUse& use : loop.uses) {
            net[use.edge] += rises(use) ? 1 : -1;
            ++uses[use.edge];
        }
    }
    for (const auto& [edge, count] : uses) {
        mSeams[edge] = count > 1 && net[edge] == 0;
    }
}

std::vector<TrimBuilder::Piece> TrimBuilder::pieces(const Loop& loop)
{
    std::vector<Piece> result;
    std::vector<EdgeUse> uses = loop.uses;
    if (mFace.reversed) {
        // Mirrored, so that the face lies to the left in the parameter plane as well.
        std::reverse(uses.begin(), uses.end());
    }
    for (const EdgeUse& use : uses) {
        const std::size_t first = result.size();
        for (const TraceRun& run : traced(use.edge).runs) {
            result.push_back({use.edge, run.points, run.startPole, run.endPole});
        }
        if (!rises(use)) {
            std::reverse(result.begin() + static_cast<std::ptrdiff_t>(first), result.end());
            for (std::size_t i = first; i < result.size(); ++i) {
                std::reverse(result[i].points.begin(), result[i].points.end());
                std::swap(result[i].startPole, result[i].endPole);
            }
        }
    }
    return result;
}

// Gives where a piece starts, in the sheet of the end of the piece before it.
Param TrimBuilder::joined(const Piece& before, Param end, const Piece& after)
{
    const Param start = after.points.front().p;
    Param moved{unwrapped(start.u, end.u, mFull.u), unwrapped(start.v, end.v, mFull.v)};
    if (before.endPole == kNone || before.endPole != after.startPole) {
        // Corners of the file need not meet exactly, but the loop must not have a hole.
        if (!(distance(mSurface.at(moved), mSurface.at(end)) <= kFarthestEdge * mSize + 1e-9)) {
            mTrim.mBroken = true;
        }
        return moved;
    }
    const Pole& pole = mSurfacePoles[before.endPole];
    const int fixed = pole.constantU ? 0 : 1;
    const int along = 1 - fixed;
    const double period = component(mFull, along);
    if (period <= 0.0) {
        return moved;
    }
    // The face lies to the left: a pole above it (in v) is passed backwards in u, and so on.
    const TracePoint& inner = before.points[before.points.size() - 2];
    const bool above = component(inner.p, fixed) < component(before.points.back().p, fixed);
    const bool backwards = above == !pole.constantU;
    double step = component(moved, along) - component(end, along);
    const double tiny = 1e-6 * period;
    if (std::fabs(step) < tiny) {
        step = 0.0;
    }
    if (backwards ? step >= 0.0 : step <= 0.0) {
        step += backwards ? -period : period;
    }
    component(moved, along) = component(end, along) + step;
    return moved;
}

void TrimBuilder::addSide(const TrimSide& side)
{
    const double sum = side.from.u + side.from.v + side.to.u + side.to.v;
    if (!std::isfinite(sum)) {
        mTrim.mBroken = true;
        return;
    }
    if (side.from.u != side.to.u || side.from.v != side.to.v) {
        mTrim.mSides.push_back(side);
    }
}

void TrimBuilder::addLoop(const Loop& loop)
{
    const std::vector<Piece> all = pieces(loop);
    if (all.empty() || mTrim.mBroken) {
        mTrim.mBroken = true;
        return;
    }
    const std::size_t number = static_cast<std::size_t>(&loop - mFace.loops.data());
    const Param begin = all.front().points.front().p;
    Param at = begin;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const Piece& piece = all[i];
        const Param first = piece.points.front().p;
        const Param shift{at.u - first.u, at.v - first.v};
        // Whole periods only; what corners miss each other by goes into the first side.
        const Param sheet{mFull.u > 0.0 ? mFull.u * std::round(shift.u / mFull.u) : 0.0,
                          mFull.v > 0.0 ? mFull.v * std::round(shift.v / mFull.v) : 0.0};
        const Piece& after = all[(i + 1) % all.size()];
        const bool polar = piece.endPole != kNone && piece.endPole == after.startPole;
        Param next;
        for (std::size_t k = 1; k < piece.points.size(); ++k) {
            const TracePoint& a = piece.points[k - 1];
            const TracePoint& b = piece.points[k];
            Param to{b.p.u + sheet.u, b.p.v + sheet.v};
            if (k + 1 == piece.points.size()) {
                next = joined(piece, to, after);
                if (i + 1 == all.size() && !polar) {
                    // The loop closes where it began, but for the periods it winds round.
                    next = {unwrapped(begin.u, to.u, mFull.u), unwrapped(begin.v, to.v, mFull.v)};
                    to = next;
                }
            }
            addSide({at, to, piece.edge, a.t, b.t, number, kNone, kNone});
            at = to;
        }
        if (polar) {
            addSide({at, next, kNone, 0.0, 0.0, number, kNone, kNone});
            at = next;
        }
    }
}

void TrimBuilder::dropSeams()
{
    std::vector<TrimSide>& sides = mTrim.mSides;
    const auto seam = [&](const TrimSide& side) { return side.edge != kNone && mSeams[side.edge]; };
    std::vector<TrimSide> kept;
    const std::size_t count = sides.size();
    for (std::size_t i = 0; i < count; ++i) {
        const TrimSide& side = sides[i];
        bool dropped = seam(side);
        if (side.edge == kNone) {
            // A turn about a pole from a seam back to itself.
            const TrimSide& before = sides[(i + count - 1) % count];
            const TrimSide& after = sides[(i + 1) % count];
            dropped = seam(before) && (after.edge == before.edge || after.loop != side.loop);
        }
        if (!dropped) {
            kept.push_back(side);
        }
    }
    sides = std::move(kept);
}

// Ties every side to the one that starts where it ends.
void TrimBuilder::link()
{
    std::vector<TrimSide>& sides = mTrim.mSides;
    const auto same = [this](const Param& a, const Param& b) {
        const Param moved{unwrapped(b.u, a.u, mFull.u), unwrapped(b.v, a.v, mFull.v)};
        return std::fabs(moved.u - a.u) <= 1e-12 * (1.0 + std::fabs(a.u)) &&
               std::fabs(moved.v - a.v) <= 1e-12 * (1.0 + std::fabs(a.v));
    };
    const auto tie = [&](std::size_t i, std::size_t j) {
        sides[i].next = j;
        sides[j].previous = i;
    };
    for (std::size_t i = 0; i + 1 < sides.size(); ++i) {
        if (same(sides[i].to, sides[i + 1].from)) {
            tie(i, i + 1);
        }
    }
    std::vector<std::size_t> open;
    for (std::size_t j = 0; j < sides.size(); ++j) {
        if (sides[j].previous == kNone) {
            open.push_back(j);
        }
    }
    for (std::size_t i = 0; i < sides.size(); ++i) {
        if (sides[i].next != kNone) {
            continue;
        }
        // Where seams met the loop, corners agree only as well as the file's.
        double least = 1e-3 * mSize;
        std::size_t best = kNone;
        for (const std::size_t j : open) {
            const double d = distance(mSurface.at(sides[i].to), mSurface.at(sides[j].from));
            if (sides[j].previous == kNone && d < least) {
                least = d;
                best = j;
            }
        }
        if (best != kNone) {
            tie(i, best);
        }
    }
}

// A direction that poles bound does not repeat: all loops go into the sheet of the first, and the
// poles next to them count.
void TrimBuilder::bound()
{
    mTrim.mPeriod = mFull;
    for (const Pole& pole : mSurfacePoles) {
        component(mTrim.mPeriod, pole.constantU ? 0 : 1) = 0.0;
    }
    std::vector<TrimSide>& sides = mTrim.mSides;
    for (const int axis : {0, 1}) {
        const double period = component(mFull, axis);
        if (period <= 0.0 || component(mTrim.mPeriod, axis) > 0.0) {
            continue;
        }
        double reference = 0.0;
        double shift = 0.0;
        for (std::size_t i = 0; i < sides.size(); ++i) {
            const double mid = component(midway(sides[i].from, sides[i].to), axis);
            if (i == 0) {
                reference = mid;
            } else if (sides[i].loop != sides[i - 1].loop) {
                shift = unwrapped(mid, reference, period) - mid;
            }
            component(sides[i].from, axis) += shift;
            component(sides[i].to, axis) += shift;
        }
    }
    for (const Pole& pole : mSurfacePoles) {
        const double period = component(mFull, pole.constantU ? 0 : 1);
        for (const double turn : {-1.0, 0.0, 1.0}) {
            if (turn == 0.0 || period > 0.0) {
                mTrim.mPoles.push_back({pole.constantU, pole.at + turn * period, pole.point});
            }
        }
    }
}

void TrimBuilder::settleScale()
{
    Param from;
    Param to;
    mSurface.naturalRange(from, to);
    std::vector<Param> places;
    for (const TrimSide& side : mTrim.mSides) {
        places.push_back(midway(side.from, side.to));
    }
    if (places.empty()) {
        for (const double a : {0.2, 0.5, 0.8}) {
            for (const double b : {0.2, 0.5, 0.8}) {
                places.push_back({from.u + a * (to.u - from.u), from.v + b * (to.v - from.v)});
            }
        }
    }
    Param sum;
    for (const Param& p : places) {
        Vec du;
        Vec dv;
        mSurface.derivatives(p, du, dv);
        sum.u += length(du);
        sum.v += length(dv);
    }
    const double count = static_cast<double>(places.size());
    mTrim.mScale = {sum.u / count, sum.v / count};
    // Loops that only touch poles still need a width.
    mTrim.mScale.u = std::fmax(mTrim.mScale.u, 1e-9 * mTrim.mScale.v);
    mTrim.mScale.v = std::fmax(mTrim.mScale.v, 1e-9 * mTrim.mScale.u);
    if (!std::isfinite(mTrim.mScale.u + mTrim.mScale.v) || !(mTrim.mScale.u > 0.0)) {
        mTrim.mBroken = true;
    }
}

// Tells whether the loops leave a face that reaches to infinity.
bool TrimBuilder::endless() const
{
    const std::vector<TrimSide>& sides = mTrim.mSides;
    for (const int axis : {0, 1}) {
        if (sides.empty() || component(mTrim.mPeriod, axis) > 0.0) {
            continue;
        }
        double low = component(sides.front().from, axis);
        double high = low;
        for (const TrimSide& side : sides) {
            low = std::fmin(low, component(side.from, axis));
            high = std::fmax(high, component(side.from, axis));
        }
        // Far enough that how the sides are sampled does not count.
        const double beyond = std::fmax(high - low, mSize / component(mTrim.mScale, axis));
        for (const bool up : {false, true}) {
            const bool ends =
                std::any_of(mTrim.mPoles.begin(), mTrim.mPoles.end(), [&](const Pole& pole) {
                    return pole.constantU == (axis == 0) &&
                           (up ? pole.at > high - 1e-6 * beyond : pole.at < low + 1e-6 * beyond);
                });
            Param p = sides.front().from;
            component(p, axis) = up ? high + beyond : low - beyond;
            if (!ends && mTrim.inside(p)) {
                return true;
            }
        }
    }
    return false;
}

void TrimBuilder::turnRound()
{
    for (TrimSide& side : mTrim.mSides) {
        std::swap(side.from, side.to);
        std::swap(side.start, side.end);
        std::swap(side.previous, side.next);
    }
}

// Without loops only a surface that closes on itself is a face.
bool TrimBuilder::closed() const
{
    for (const int axis : {0, 1}) {
        const auto bounds =
            std::count_if(mSurfacePoles.begin(), mSurfacePoles.end(),
                          [axis](const Pole& pole) { return pole.constantU == (axis == 0); });
        if (component(mFull, axis) <= 0.0 && bounds < 2) {
            return false;
        }
    }
    return true;
}

void TrimBuilder::build()
{
    measure();
    findSeams();
    for (const Loop& loop : mFace.loops) {
        if (!loop.uses.empty()) {
            addLoop(loop);
        }
        if (mTrim.mBroken) {
            return;
        }
    }
    dropSeams();
    link();
    bound();
    if (mTrim.mSides.empty() && !closed()) {
        mTrim.mBroken = true;
        return;
    }
    settleScale();
    // No face is endless: loops that say so run the wrong way round.
    if (!mTrim.mBroken && endless()) {
        turnRound();
        mTrim.mBroken = endless();
    }
}

Trim::Trim(const Body& body, const Face& face, double tolerance)
    : mBody(body),
      mFace(face),
      mTolerance(tolerance)
{
    if (!usable(body, face) || !(tolerance > 0.0)) {
        mBroken = true;
        return;
    }
    TrimBuilder(*this).build();
    if (mBroken) {
        mSides.clear();
    }
}

} // namespace standin::geom
