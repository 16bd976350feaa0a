#include "standin/geom/Delaunay.h"

#include <algorithm>
#include <cmath>
#include <deque>

namespace standin::geom {

namespace {

constexpr int kDeepest = 24;

constexpr std::size_t after(std::size_t i)
{
    return (i + 1) % 3;
}
constexpr std::size_t before(std::size_t i)
{
    return (i + 2) % 3;
}

} // namespace

Delaunay::Delaunay()
{
    mVertices = {{-kReach, -kReach}, {kReach, -kReach}, {kReach, kReach}, {-kReach, kReach}};
    mIncident = {0, 0, 0, 1};
    mTriangles.resize(2);
    mTriangles[0].corner = {0, 1, 2};
    mTriangles[0].neighbour = {kNothing, 1, kNothing};
    mTriangles[1].corner = {0, 2, 3};
    mTriangles[1].neighbour = {kNothing, kNothing, 0};
    mIsChanged.resize(2, false);
}

std::int64_t Delaunay::turn(const GridPoint& a, const GridPoint& b,
                            const GridPoint& c) const noexcept
{
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

void Delaunay::touched(std::size_t t)
{
    if (!mIsChanged[t]) {
        mIsChanged[t] = true;
        mChanged.push_back(t);
    }
}

std::vector<std::size_t> Delaunay::takeChanged()
{
    std::vector<std::size_t> result;
    result.swap(mChanged);
    for (const std::size_t t : result) {
        mIsChanged[t] = false;
    }
    return result;
}

std::size_t Delaunay::locate(const GridPoint& place)
{
    std::size_t t = mLast;
    const std::size_t most = 3 * mTriangles.size() + 64;
    for (std::size_t step = 0; step < most; ++step) {
        bool moved = false;
        for (std::size_t k = 0; k < 3 && !moved; ++k) {
            // Another side first in every step, so that fixed sides can't lead round in circles.
            const std::size_t i = (k + step) % 3;
            const Triangle& triangle = mTriangles[t];
            if (turn(mVertices[triangle.corner[after(i)]], mVertices[triangle.corner[before(i)]],
                     place) < 0) {
                if (triangle.neighbour[i] == kNothing) {
                    return kNothing;
                }
                t = triangle.neighbour[i];
                moved = true;
            }
        }
        if (!moved) {
            return t;
        }
    }
    for (t = 0; t < mTriangles.size(); ++t) {
        const std::array<std::size_t, 3>& c = mTriangles[t].corner;
        if (turn(mVertices[c[0]], mVertices[c[1]], place) >= 0 &&
            turn(mVertices[c[1]], mVertices[c[2]], place) >= 0 &&
            turn(mVertices[c[2]], mVertices[c[0]], place) >= 0) {
            return t;
        }
    }
    return kNothing;
}

// Tells whether d lies inside the circle through a, b and c by more than rounding.
bool Delaunay::inCircle(std::size_t a, std::size_t b, std::size_t c, std::size_t d) const noexcept
{
    const GridPoint& o = mVertices[d];
    const auto dx = [&](std::size_t v) { return static_cast<double>(mVertices[v].x - o.x); };
    const auto dy = [&](std::size_t v) { return static_cast<double>(mVertices[v].y - o.y); };
    const double ax = dx(a);
    const double ay = dy(a);
    const double bx = dx(b);
    const double by = dy(b);
    const double cx = dx(c);
    const double cy = dy(c);
    const double a2 = ax * ax + ay * ay;
    const double b2 = bx * bx + by * by;
    const double c2 = cx * cx + cy * cy;
    const double det =
        a2 * (bx * cy - by * cx) - b2 * (ax * cy - ay * cx) + c2 * (ax * by - ay * bx);
    const double size = a2 * (std::fabs(bx * cy) + std::fabs(by * cx)) +
                        b2 * (std::fabs(ax * cy) + std::fabs(ay * cx)) +
                        c2 * (std::fabs(ax * by) + std::fabs(ay * bx));
    return det > 1e-13 * size;
}

void Delaunay::setTriangle(std::size_t t, std::size_t a, std::size_t b, std::size_t c)
{
    mTriangles[t].corner = {a, b, c};
    mIncident[a] = t;
    mIncident[b] = t;
    mIncident[c] = t;
    touched(t);
}

// Sets a side and its twin in the neighbour.
void Delaunay::setSide(std::size_t t, std::size_t side, std::size_t neighbour, bool fixed,
                       std::int32_t net)
{
    Triangle& triangle = mTriangles[t];
    triangle.neighbour[side] = neighbour;
    triangle.fixed[side] = fixed;
    triangle.net[side] = net;
    if (neighbour == kNothing) {
        return;
    }
    Triangle& other = mTriangles[neighbour];
    for (std::size_t i = 0; i < 3; ++i) {
        if (other.corner[after(i)] == triangle.corner[before(side)] &&
            other.corner[before(i)] == triangle.corner[after(side)]) {
            other.neighbour[i] = t;
            other.fixed[i] = fixed;
            other.net[i] = -net;
        }
    }
}

void Delaunay::splitTriangle(std::size_t t, std::size_t v)
{
    const Triangle old = mTriangles[t];
    const std::size_t second = mTriangles.size();
    const std::size_t third = second + 1;
    mTriangles.resize(third + 1);
    mIsChanged.resize(third + 1, false);
    mTriangles[second].region = old.region;
    mTriangles[third].region = old.region;
    setTriangle(t, v, old.corner[1], old.corner[2]);
    setTriangle(second, v, old.corner[2], old.corner[0]);
    setTriangle(third, v, old.corner[0], old.corner[1]);
    const std::array<std::size_t, 3> parts{t, second, third};
    for (std::size_t i = 0; i < 3; ++i) {
        setSide(parts[i], 0, old.neighbour[i], old.fixed[i], old.net[i]);
        setSide(parts[i], 1, parts[after(i)], false, 0);
        mSuspects.push_back({parts[i], 0});
    }
}

void Delaunay::splitSide(std::size_t t, std::size_t side, std::size_t v)
{
    const Triangle old = mTriangles[t];
    const std::size_t u = old.neighbour[side];
    const Triangle beyond = mTriangles[u];
    const std::size_t p = old.corner[side];
    const std::size_t a = old.corner[after(side)];
    const std::size_t b = old.corner[before(side)];
    std::size_t opposite = 0;
    while (beyond.corner[opposite] == a || beyond.corner[opposite] == b) {
        ++opposite;
    }
    const std::size_t q = beyond.corner[opposite];
    const std::size_t t2 = mTriangles.size();
    const std::size_t u2 = t2 + 1;
    mTriangles.resize(u2 + 1);
    mIsChanged.resize(u2 + 1, false);
    mTriangles[t2].region = old.region;
    mTriangles[u2].region = beyond.region;
    setTriangle(t, p, a, v);
    setTriangle(t2, p, v, b);
    setTriangle(u, q, b, v);
    setTriangle(u2, q, v, a);
    const auto outer = [this](std::size_t triangle, std::size_t i, const Triangle& from,
                              std::size_t k) {
        setSide(triangle, i, from.neighbour[k], from.fixed[k], from.net[k]);
        mSuspects.push_back({triangle, i});
    };
    outer(t, 2, old, before(side));
    outer(t2, 1, old, after(side));
    outer(u, 2, beyond, before(opposite));
    outer(u2, 1, beyond, after(opposite));
    setSide(t, 0, u2, old.fixed[side], old.net[side]);
    setSide(t2, 0, u, old.fixed[side], old.net[side]);
    setSide(t, 1, t2, false, 0);
    setSide(u, 1, u2, false, 0);
}

void Delaunay::flip(std::size_t t, std::size_t side)
{
    const Triangle old = mTriangles[t];
    const std::size_t u = old.neighbour[side];
    const Triangle beyond = mTriangles[u];
    const std::size_t p = old.corner[side];
    const std::size_t a = old.corner[after(side)];
    const std::size_t b = old.corner[before(side)];
    std::size_t opposite = 0;
    while (beyond.corner[opposite] == a || beyond.corner[opposite] == b) {
        ++opposite;
    }
    const std::size_t q = beyond.corner[opposite];
    setTriangle(t, p, a, q);
    setTriangle(u, q, b, p);
    const auto outer = [this](std::size_t triangle, std::size_t i, const Triangle& from,
                              std::size_t k) {
        setSide(triangle, i, from.neighbour[k], from.fixed[k], from.net[k]);
        mSuspects.push_back({triangle, i});
    };
    outer(t, 2, old, before(side));
    outer(u, 0, old, after(side));
    outer(u, 2, beyond, before(opposite));
    outer(t, 0, beyond, after(opposite));
    setSide(t, 1, u, false, 0);
}

void Delaunay::legalize()
{
    while (!mSuspects.empty()) {
        const std::size_t t = mSuspects.back()[0];
        const std::size_t side = mSuspects.back()[1];
        mSuspects.pop_back();
        const Triangle& triangle = mTriangles[t];
        const std::size_t u = triangle.neighbour[side];
        if (triangle.fixed[side] || u == kNothing) {
            continue;
        }
        const std::size_t p = triangle.corner[side];
        const std::size_t a = triangle.corner[after(side)];
        const std::size_t b = triangle.corner[before(side)];
        std::size_t q = kNothing;
        for (const std::size_t corner : mTriangles[u].corner) {
            q = corner != a && corner != b ? corner : q;
        }
        if (inCircle(p, a, b, q) && turn(p, a, q) > 0 && turn(q, b, p) > 0) {
            flip(t, side);
        }
    }
}

std::size_t Delaunay::insert(GridPoint place, bool splitFixed)
{
    if (place.x <= -kReach || place.x >= kReach || place.y <= -kReach || place.y >= kReach) {
        return kNothing;
    }
    const std::size_t t = locate(place);
    if (t == kNothing) {
        return kNothing;
    }
    mLast = t;
    std::size_t on = kNothing;
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t corner = mTriangles[t].corner[i];
        if (mVertices[corner].x == place.x && mVertices[corner].y == place.y) {
            return corner;
        }
        if (turn(mVertices[mTriangles[t].corner[after(i)]],
                 mVertices[mTriangles[t].corner[before(i)]], place) == 0) {
            on = i;
        }
    }
    if (on != kNothing &&
        ((mTriangles[t].fixed[on] && !splitFixed) || mTriangles[t].neighbour[on] == kNothing)) {
        return kNothing;
    }
    const std::size_t v = mVertices.size();
    mVertices.push_back(place);
    mIncident.push_back(t);
    if (on == kNothing) {
        splitTriangle(t, v);
    } else {
        splitSide(t, on, v);
    }
    legalize();
    return v;
}

std::size_t Delaunay::findSide(std::size_t a, std::size_t b, std::size_t& side) const
{
    // Once round the vertex; at a corner of the rectangle to either side.
    for (const bool onward : {true, false}) {
        std::size_t t = mIncident[a];
        do {
            const Triangle& triangle = mTriangles[t];
            std::size_t k = 0;
            while (triangle.corner[k] != a) {
                ++k;
            }
            if (triangle.corner[after(k)] == b) {
                side = before(k);
                return t;
            }
            t = triangle.neighbour[onward ? after(k) : before(k)];
        } while (t != mIncident[a] && t != kNothing);
        if (t != kNothing) {
            break;
        }
    }
    return kNothing;
}

bool Delaunay::markSide(std::size_t a, std::size_t b, std::int32_t net)
{
    std::size_t side = 0;
    const std::size_t t = findSide(a, b, side);
    if (t == kNothing) {
        return false;
    }
    setSide(t, side, mTriangles[t].neighbour[side], true, mTriangles[t].net[side] + net);
    return true;
}

// Looks from a towards b: gives the next vertex when one lies on the line, otherwise sets the
// triangle and its side through which the line leaves.
std::size_t Delaunay::firstOnLine(std::size_t a, std::size_t b, std::size_t& triangle,
                                  std::size_t& side) const
{
    triangle = kNothing;
    const std::size_t first = mIncident[a];
    std::size_t t = first;
    do {
        const std::array<std::size_t, 3>& corner = mTriangles[t].corner;
        std::size_t k = 0;
        while (corner[k] != a) {
            ++k;
        }
        const std::size_t x = corner[after(k)];
        const std::int64_t right = turn(a, b, x);
        const std::int64_t left = turn(a, b, corner[before(k)]);
        if (right == 0) {
            const GridPoint& from = mVertices[a];
            const double ahead = static_cast<double>(mVertices[b].x - from.x) *
                                     static_cast<double>(mVertices[x].x - from.x) +
                                 static_cast<double>(mVertices[b].y - from.y) *
                                     static_cast<double>(mVertices[x].y - from.y);
            if (ahead > 0.0) {
                return x;
            }
        } else if (right < 0 && left > 0) {
            triangle = t;
            side = k;
        }
        t = mTriangles[t].neighbour[after(k)];
    } while (t != first && t != kNothing);
    return kNothing;
}

bool Delaunay::splitCrossing(std::size_t a, std::size_t b, std::size_t p, std::size_t q,
                             std::int32_t net, int depth)
{
    std::size_t side = 0;
    const std::size_t t = findSide(p, q, side);
    if (t == kNothing || depth >= kDeepest) {
        return false;
    }
    const std::int32_t crossedNet = mTriangles[t].net[side];
    const double above = static_cast<double>(turn(a, b, q));
    const double below = static_cast<double>(turn(a, b, p));
    const double part = below / (below - above);
    const auto between = [part](std::int64_t from, std::int64_t to) {
        return from +
               static_cast<std::int64_t>(std::llround(part * static_cast<double>(to - from)));
    };
    const GridPoint place{between(mVertices[p].x, mVertices[q].x),
                          between(mVertices[p].y, mVertices[q].y)};
    setSide(t, side, mTriangles[t].neighbour[side], false, 0);
    const std::size_t v = insert(place, true);
    return v != kNothing && connect(p, v, crossedNet, true, depth + 1) &&
           connect(v, q, crossedNet, true, depth + 1) && connect(a, v, net, true, depth + 1) &&
           connect(v, b, net, true, depth + 1);
}

// Brings in the side a-b, or its part up to the first vertex on it, by flipping what crosses it.
bool Delaunay::cross(std::size_t a, std::size_t b, std::size_t triangle, std::size_t side,
                     std::int32_t net, bool splitCrossings, int depth)
{
    std::deque<std::array<std::size_t, 2>> crossing;
    std::size_t end = b;
    std::size_t t = triangle;
    std::size_t i = side;
    while (true) {
        const std::size_t right = mTriangles[t].corner[after(i)];
        const std::size_t left = mTriangles[t].corner[before(i)];
        if (mTriangles[t].fixed[i]) {
            return splitCrossings && splitCrossing(a, b, right, left, net, depth);
        }
        crossing.push_back({right, left});
        const std::size_t u = mTriangles[t].neighbour[i];
        if (u == kNothing) {
            return false;
        }
        std::size_t k = 0;
        while (mTriangles[u].corner[k] == right || mTriangles[u].corner[k] == left) {
            ++k;
        }
        const std::size_t apex = mTriangles[u].corner[k];
        if (apex == b) {
            break;
        }
        const std::int64_t where = turn(a, b, apex);
        if (where == 0) {
            end = apex;
            break;
        }
        // The apex replaces the corner on its side; the line leaves opposite the one it leaves out.
        const std::size_t leftOut = where < 0 ? right : left;
        for (i = 0; mTriangles[u].corner[i] != leftOut; ++i) {
        }
        t = u;
    }
    std::vector<std::array<std::size_t, 2>> made;
    std::size_t budget = 1000 + 200 * crossing.size() * (1 + crossing.size() / 50);
    while (!crossing.empty()) {
        if (budget-- == 0) {
            return false;
        }
        const std::array<std::size_t, 2> pair = crossing.front();
        crossing.pop_front();
        t = findSide(pair[0], pair[1], i);
        if (t == kNothing) {
            return false;
        }
        const std::size_t u = mTriangles[t].neighbour[i];
        const std::size_t p = mTriangles[t].corner[i];
        std::size_t q = kNothing;
        for (const std::size_t corner : mTriangles[u].corner) {
            q = corner != pair[0] && corner != pair[1] ? corner : q;
        }
        if (!(turn(p, pair[0], q) > 0 && turn(q, pair[1], p) > 0)) {
            crossing.push_back(pair);
            continue;
        }
        flip(t, i);
        const std::int64_t sideP = turn(a, end, p);
        const std::int64_t sideQ = turn(a, end, q);
        if ((sideP > 0 && sideQ < 0) || (sideP < 0 && sideQ > 0)) {
            crossing.push_back({p, q});
        } else {
            made.push_back({p, q});
        }
    }
    mSuspects.clear();
    if (!markSide(a, end, net)) {
        return false;
    }
    for (const std::array<std::size_t, 2>& pair : made) {
        t = findSide(pair[0], pair[1], i);
        if (t != kNothing) {
            mSuspects.push_back({t, i});
        }
    }
    legalize();
    return end == b || connect(end, b, net, splitCrossings, depth);
}

bool Delaunay::connect(std::size_t a, std::size_t b, std::int32_t net, bool splitCrossings,
                       int depth)
{
    while (a != b) {
        if (markSide(a, b, net)) {
            return true;
        }
        std::size_t triangle = kNothing;
        std::size_t side = 0;
        const std::size_t next = firstOnLine(a, b, triangle, side);
        if (next == kNothing) {
            return triangle != kNothing && cross(a, b, triangle, side, net, splitCrossings, depth);
        }
        if (!markSide(a, next, net)) {
            return false;
        }
        a = next;
    }
    return true;
}

bool Delaunay::connect(std::size_t a, std::size_t b, std::int32_t net, bool splitCrossings)
{
    return connect(a, b, net, splitCrossings, 0);
}

} // namespace standin::geom
