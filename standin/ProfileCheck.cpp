#include "standin/ProfileCheck.h"

#include "standin/Solver.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>

namespace standin {
namespace {

//! Sets that are united step by step.
class Sets
{
public:
    explicit Sets(std::size_t count) : parents(count)
    {
        std::iota(parents.begin(), parents.end(), std::size_t{0});
    }
    [[nodiscard]] std::size_t of(std::size_t element) const
    {
        while (parents[element] != element) {
            element = parents[element];
        }
        return element;
    }
    void unite(std::size_t a, std::size_t b) { parents[of(a)] = of(b); }

private:
    std::vector<std::size_t> parents;
};

//! How the drawn lines of a profile hang together. Line ends are numbered two to a line.
class Joints
{
public:
    explicit Joints(const DrawnProfile& checked)
        : profile(checked),
          ends(2 * checked.lines.size()),
          chains(checked.lines.size())
    {
        for (const SketchRelation& relation : profile.relations) {
            const bool joins = relation.kind == RelationKind::keypoint && relation.keypoint != 2 &&
                               relation.otherKeypoint != 2;
            if (joins && isDrawn(relation.line) && isDrawn(relation.otherLine)) {
                ends.unite(endOf(relation.line, relation.keypoint),
                           endOf(relation.otherLine, relation.otherKeypoint));
                chains.unite(relation.line, relation.otherLine);
            }
        }
    }

    [[nodiscard]] bool isClosed() const
    {
        std::map<std::size_t, std::size_t> atPoint;
        std::map<std::size_t, std::size_t> inChain;
        for (std::size_t i = 0; i < profile.lines.size(); ++i) {
            if (isDrawn(i)) {
                ++atPoint[ends.of(endOf(i, 0))];
                ++atPoint[ends.of(endOf(i, 1))];
                ++inChain[chains.of(i)];
            }
        }
        return !atPoint.empty() &&
               std::all_of(atPoint.begin(), atPoint.end(),
                           [](const auto& each) { return each.second == 2; }) &&
               std::all_of(inChain.begin(), inChain.end(),
                           [](const auto& each) { return each.second >= 3; });
    }
    [[nodiscard]] bool isSingle() const
    {
        std::size_t chain = geom::kNone;
        for (std::size_t i = 0; i < profile.lines.size(); ++i) {
            if (isDrawn(i)) {
                if (chain != geom::kNone && chains.of(i) != chain) {
                    return false;
                }
                chain = chains.of(i);
            }
        }
        return chain != geom::kNone;
    }
    [[nodiscard]] bool areJoined(std::size_t line, std::size_t other) const
    {
        for (const LONG end : {0, 1}) {
            for (const LONG otherEnd : {0, 1}) {
                if (ends.of(endOf(line, end)) == ends.of(endOf(other, otherEnd))) {
                    return true;
                }
            }
        }
        return false;
    }
    [[nodiscard]] bool isDrawn(std::size_t line) const
    {
        return profile.lines[line].plane == geom::kNone;
    }

private:
    static std::size_t endOf(std::size_t line, LONG keypoint)
    {
        return 2 * line + static_cast<std::size_t>(keypoint);
    }

    const DrawnProfile& profile;
    Sets ends;
    Sets chains;
};

//! Tells on which side of a line a point is: above zero on its left.
double sideOf(const SketchLine& line, const SketchPoint& point)
{
    return (line.end.x - line.start.x) * (point.y - line.start.y) -
           (line.end.y - line.start.y) * (point.x - line.start.x);
}

//! Tells whether a point is on a line, its ends included.
bool liesOn(const SketchLine& line, const SketchPoint& point)
{
    const double x = line.end.x - line.start.x;
    const double y = line.end.y - line.start.y;
    const double along =
        ((point.x - line.start.x) * x + (point.y - line.start.y) * y) / (x * x + y * y);
    const double t = std::clamp(along, 0.0, 1.0);
    return std::hypot(line.start.x + t * x - point.x, line.start.y + t * y - point.y) <=
           kShortestLine;
}

bool crossInside(const SketchLine& a, const SketchLine& b)
{
    const double a1 = sideOf(a, b.start);
    const double a2 = sideOf(a, b.end);
    const double b1 = sideOf(b, a.start);
    const double b2 = sideOf(b, a.end);
    return ((a1 < 0.0 && a2 > 0.0) || (a1 > 0.0 && a2 < 0.0)) &&
           ((b1 < 0.0 && b2 > 0.0) || (b1 > 0.0 && b2 < 0.0));
}

//! Tells whether two lines meet where they are not joined.
bool collide(const SketchLine& a, const SketchLine& b, bool joined)
{
    const int touching = (liesOn(a, b.start) ? 1 : 0) + (liesOn(a, b.end) ? 1 : 0) +
                         (liesOn(b, a.start) ? 1 : 0) + (liesOn(b, a.end) ? 1 : 0);
    // The joined ends lie on the other line each; from there two straight lines part, unless one
    // lies along the other.
    return joined ? touching > 2 : touching > 0 || crossInside(a, b);
}

bool intersectsItself(const DrawnProfile& profile, const Joints& joints)
{
    for (std::size_t i = 0; i < profile.lines.size(); ++i) {
        for (std::size_t j = i + 1; j < profile.lines.size(); ++j) {
            if (joints.isDrawn(i) && joints.isDrawn(j) &&
                collide(profile.lines[i], profile.lines[j], joints.areJoined(i, j))) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

bool meets(const DrawnProfile& profile, LONG criteria)
{
    const Joints joints(profile);
    return ((criteria & igProfileClosed) == 0 || joints.isClosed()) &&
           ((criteria & igProfileSingle) == 0 || joints.isSingle()) &&
           ((criteria & igProfileNoSelfIntersect) == 0 || !intersectsItself(profile, joints)) &&
           (criteria & igProfileAxisRequired) == 0;
}

} // namespace standin
