#include "standin/Match.h"

#include "standin/MatchShape.h"
#include "standin/geom/FaceGeometry.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

namespace standin {
namespace {

using geom::kNone;

//! How well an old thing and a new one fit; a pair that does not fit is not listed.
struct Candidate
{
    std::size_t old = kNone;
    std::size_t now = kNone;
    double score = 0.0;
};

//! A pairing, looked up from either side.
struct Pairing
{
    std::vector<std::size_t> newOf;
    std::vector<std::size_t> oldOf;

    Pairing(std::size_t oldCount, std::size_t newCount)
        : newOf(oldCount, kNone),
          oldOf(newCount, kNone)
    {}
    void join(std::size_t old, std::size_t now)
    {
        newOf[old] = now;
        oldOf[now] = old;
    }
    [[nodiscard]] bool free(std::size_t old, std::size_t now) const
    {
        return newOf[old] == kNone && oldOf[now] == kNone;
    }
};

//! Best and second best score of one side of the candidates.
struct Best
{
    double first = 0.0;
    double second = 0.0;

    void see(double score)
    {
        if (score > first) {
            second = first;
            first = score;
        } else if (score > second) {
            second = score;
        }
    }
    [[nodiscard]] bool isClearly(double score) const
    {
        return score == first && first > second * (1.0 + 1e-9);
    }
};

//! Joins the pairs that are each other's clearly best candidate.
//! @return whether there was one
bool joinMutualBest(const std::vector<Candidate>& candidates, Pairing& pairing)
{
    std::map<std::size_t, Best> ofOld;
    std::map<std::size_t, Best> ofNew;
    for (const Candidate& each : candidates) {
        ofOld[each.old].see(each.score);
        ofNew[each.now].see(each.score);
    }
    bool joined = false;
    for (const Candidate& each : candidates) {
        if (pairing.free(each.old, each.now) && ofOld[each.old].isClearly(each.score) &&
            ofNew[each.now].isClearly(each.score)) {
            pairing.join(each.old, each.now);
            joined = true;
        }
    }
    return joined;
}

//! Scores all free pairs and joins the clearly best ones, until no more are found.
//! @param score  told an old and a new index; 0 or less: they don't fit
template <typename Score>
void joinByScore(Pairing& pairing, Score score)
{
    bool joined = true;
    while (joined) {
        std::vector<Candidate> candidates;
        for (std::size_t o = 0; o < pairing.newOf.size(); ++o) {
            for (std::size_t n = 0; pairing.newOf[o] == kNone && n < pairing.oldOf.size(); ++n) {
                if (pairing.oldOf[n] == kNone) {
                    const double value = score(o, n);
                    if (value > 0.0) {
                        candidates.push_back({o, n, value});
                    }
                }
            }
        }
        joined = joinMutualBest(candidates, pairing);
    }
}

//! Joins the edges that have not changed.
void joinSameEdges(const BodyShape& old, const BodyShape& now, double tolerance, Pairing& edges)
{
    std::vector<std::size_t> order(now.edges.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        order[i] = i;
    }
    const auto low = [&now](std::size_t i) { return now.edges[i].box.min.x; };
    std::sort(order.begin(), order.end(), [&low](std::size_t a, std::size_t b) {
        return std::make_pair(low(a), a) < std::make_pair(low(b), b);
    });
    for (std::size_t o = 0; o < old.edges.size(); ++o) {
        const double at = old.edges[o].box.min.x;
        auto next = std::lower_bound(order.begin(), order.end(), at - tolerance,
                                     [&low](std::size_t i, double x) { return low(i) < x; });
        std::size_t found = kNone;
        for (; next != order.end() && low(*next) <= at + tolerance; ++next) {
            if (edges.oldOf[*next] == kNone && *next < found &&
                sameEdge(old.edges[o], now.edges[*next], tolerance)) {
                found = *next;
            }
        }
        if (found != kNone) {
            edges.join(o, found);
        }
    }
}

//! Matches what a pair of bodies is bounded by.
class BodyMatcher
{
public:
    BodyMatcher(const BodyShape& oldBody, const BodyShape& newBody, double sameDistance)
        : old(oldBody),
          now(newBody),
          tolerance(sameDistance),
          faces(oldBody.faces.size(), newBody.faces.size()),
          edges(oldBody.edges.size(), newBody.edges.size())
    {}

    void run()
    {
        joinSameEdges(old, now, tolerance, edges);
        findSurfaces();
        joinUnchangedFaces();
        joinTrimmedFaces();
        joinMovedFaces();
        const bool sameStructure = joinSameStructure();
        if (!sameStructure) {
            joinTrimmedFaces();
        }
        joinEdgesBetween();
        joinEdgesBeside();
    }

    [[nodiscard]] const Pairing& faceResult() const { return faces; }
    [[nodiscard]] const Pairing& edgeResult() const { return edges; }

private:
    //! Finds the pairs of faces on the same surface whose boxes meet, and how much they do.
    void findSurfaces()
    {
        for (std::size_t o = 0; o < old.faces.size(); ++o) {
            for (std::size_t n = 0; n < now.faces.size(); ++n) {
                const FaceShape& a = old.faces[o];
                const FaceShape& b = now.faces[n];
                if (a.kind != b.kind) {
                    continue;
                }
                const double covered = overlap(a.box, b.box, tolerance);
                if (covered > 0.0 && sameSurface(a, b, tolerance)) {
                    onSameSurface.push_back({o, n, covered});
                }
            }
        }
    }

    [[nodiscard]] std::size_t sharedEdges(std::size_t o, std::size_t n) const
    {
        const std::vector<std::size_t>& its = now.faces[n].edges;
        std::size_t count = 0;
        for (const std::size_t edge : old.faces[o].edges) {
            const std::size_t match = edges.newOf[edge];
            const bool there = std::find(its.begin(), its.end(), match) != its.end();
            count += match != kNone && there ? 1u : 0u;
        }
        return count;
    }

    void joinUnchangedFaces()
    {
        for (const Candidate& each : onSameSurface) {
            const FaceShape& a = old.faces[each.old];
            const FaceShape& b = now.faces[each.now];
            if (faces.free(each.old, each.now) && sameBox(a.box, b.box, tolerance) &&
                a.face->loops.size() == b.face->loops.size() && a.edges.size() == b.edges.size() &&
                sharedEdges(each.old, each.now) == a.edges.size()) {
                faces.join(each.old, each.now);
            }
        }
    }

    //! Joins faces on one surface whose trim has changed: those that share most.
    void joinTrimmedFaces()
    {
        bool joined = true;
        while (joined) {
            std::vector<Candidate> open;
            for (const Candidate& each : onSameSurface) {
                if (faces.free(each.old, each.now)) {
                    const auto most = static_cast<double>(std::max(
                        old.faces[each.old].edges.size(), now.faces[each.now].edges.size()));
                    const auto shared = static_cast<double>(sharedEdges(each.old, each.now));
                    open.push_back(
                        {each.old, each.now, each.score + (most > 0.0 ? shared / most : 0.0)});
                }
            }
            joined = joinMutualBest(open, faces);
        }
    }

    //! Counts an old face's neighbours that are known to be the new face's neighbours.
    [[nodiscard]] std::size_t sharedNeighbours(std::size_t o, std::size_t n) const
    {
        const std::vector<std::size_t>& its = now.faces[n].neighbours;
        std::size_t count = 0;
        for (const std::size_t neighbour : old.faces[o].neighbours) {
            const std::size_t match = faces.newOf[neighbour];
            const bool there = std::binary_search(its.begin(), its.end(), match);
            count += match != kNone && there ? 1u : 0u;
        }
        return count;
    }

    //! Tells whether two planes look into roughly one direction; other surfaces always may.
    [[nodiscard]] static bool mayHaveMoved(const geom::Face& a, const geom::Face& b)
    {
        constexpr double kSixtyDegrees = 0.5;
        return a.surface->kind() != geom::SurfaceKind::plane ||
               geom::dot(geom::faceNormal(a, {}), geom::faceNormal(b, {})) > kSixtyDegrees;
    }

    //! Joins faces of one kind that stand between the same neighbours on other surfaces.
    void joinMovedFaces()
    {
        joinByScore(faces, [this](std::size_t o, std::size_t n) {
            const FaceShape& a = old.faces[o];
            const FaceShape& b = now.faces[n];
            if (a.kind != b.kind || !mayHaveMoved(*a.face, *b.face)) {
                return 0.0;
            }
            const std::size_t shared = sharedNeighbours(o, n);
            const std::size_t most = std::max(a.neighbours.size(), b.neighbours.size());
            if (shared == 0 || 2 * shared < most) {
                return 0.0;
            }
            const double covered = overlap(a.box, b.box, tolerance);
            const std::size_t least = std::min(a.neighbours.size(), b.neighbours.size());
            const bool surrounded = shared == least && shared >= 2;
            if (covered <= 0.0 && !surrounded) {
                return 0.0;
            }
            return static_cast<double>(shared) / static_cast<double>(most) + covered;
        });
    }

    [[nodiscard]] static bool sameLoops(const geom::Face& a, const geom::Face& b)
    {
        const auto sameUses = [](const geom::Loop& x, const geom::Loop& y) {
            return std::equal(x.uses.begin(), x.uses.end(), y.uses.begin(), y.uses.end(),
                              [](const geom::EdgeUse& p, const geom::EdgeUse& q) {
                                  return p.edge == q.edge && p.reversed == q.reversed;
                              });
        };
        return std::equal(a.loops.begin(), a.loops.end(), b.loops.begin(), b.loops.end(), sameUses);
    }

    //! Tells whether everything stands in the same order and hangs together in the same way, and
    //! nothing known so far says otherwise.
    [[nodiscard]] bool hasSameStructure() const
    {
        if (old.faces.size() != now.faces.size() || old.edges.size() != now.edges.size()) {
            return false;
        }
        for (std::size_t i = 0; i < old.faces.size(); ++i) {
            if (old.faces[i].kind != now.faces[i].kind ||
                old.faces[i].face->reversed != now.faces[i].face->reversed ||
                (faces.newOf[i] != kNone && faces.newOf[i] != i) ||
                (faces.oldOf[i] != kNone && faces.oldOf[i] != i) ||
                !sameLoops(*old.faces[i].face, *now.faces[i].face)) {
                return false;
            }
        }
        for (std::size_t i = 0; i < old.edges.size(); ++i) {
            if (old.edges[i].kind != now.edges[i].kind ||
                (edges.newOf[i] != kNone && edges.newOf[i] != i) ||
                (edges.oldOf[i] != kNone && edges.oldOf[i] != i)) {
                return false;
            }
        }
        return true;
    }

    bool joinSameStructure()
    {
        if (!hasSameStructure()) {
            return false;
        }
        for (std::size_t i = 0; i < faces.newOf.size(); ++i) {
            faces.join(i, i);
        }
        for (std::size_t i = 0; i < edges.newOf.size(); ++i) {
            edges.join(i, i);
        }
        return true;
    }

    //! Joins edges of one kind between faces that have been joined.
    void joinEdgesBetween()
    {
        joinByScore(edges, [this](std::size_t o, std::size_t n) {
            const EdgeShape& a = old.edges[o];
            const EdgeShape& b = now.edges[n];
            if (a.kind != b.kind || a.faces.size() != b.faces.size() || a.faces.empty()) {
                return 0.0;
            }
            for (const std::size_t face : a.faces) {
                const std::size_t match = faces.newOf[face];
                if (match == kNone || !std::binary_search(b.faces.begin(), b.faces.end(), match)) {
                    return 0.0;
                }
            }
            // The nearer the better, and 1 for edges that have not moved.
            return 1.0 / (1.0 + geom::distance(a.points[2], b.points[2]) / size());
        });
    }

    //! Joins edges on one curve that bound a face that has been joined.
    void joinEdgesBeside()
    {
        joinByScore(edges, [this](std::size_t o, std::size_t n) {
            const EdgeShape& a = old.edges[o];
            const EdgeShape& b = now.edges[n];
            const bool beside = std::any_of(a.faces.begin(), a.faces.end(), [&](std::size_t face) {
                const std::size_t match = faces.newOf[face];
                return match != kNone && std::binary_search(b.faces.begin(), b.faces.end(), match);
            });
            if (!beside || a.kind != b.kind) {
                return 0.0;
            }
            const double covered = overlap(a.box, b.box, tolerance);
            return covered > 0.0 && sameCurve(a, b, tolerance) ? covered : 0.0;
        });
    }

    [[nodiscard]] double size() const
    {
        const double diagonal = old.box.empty() ? 0.0 : geom::distance(old.box.min, old.box.max);
        return diagonal > 0.0 ? diagonal : 1.0;
    }

    const BodyShape& old;
    const BodyShape& now;
    double tolerance;
    Pairing faces;
    Pairing edges;
    std::vector<Candidate> onSameSurface;
};

//! Counts the edges that two bodies have in common.
std::size_t commonEdges(const BodyShape& old, const BodyShape& now, double tolerance)
{
    Pairing edges(old.edges.size(), now.edges.size());
    joinSameEdges(old, now, tolerance, edges);
    return edges.newOf.size() -
           static_cast<std::size_t>(std::count(edges.newOf.begin(), edges.newOf.end(), kNone));
}

void joinByName(const std::vector<BodyShape>& old, const std::vector<BodyShape>& now,
                Pairing& bodies)
{
    joinByScore(bodies, [&](std::size_t o, std::size_t n) {
        const std::string& name = old[o].body->name;
        return !name.empty() && name == now[n].body->name ? 1.0 : 0.0;
    });
}

Pairing matchBodies(const std::vector<BodyShape>& old, const std::vector<BodyShape>& now,
                    double tolerance)
{
    Pairing bodies(old.size(), now.size());
    if (old.size() == 1 && now.size() == 1) {
        bodies.join(0, 0);
        return bodies;
    }
    std::vector<Candidate> sharing;
    for (std::size_t o = 0; o < old.size(); ++o) {
        for (std::size_t n = 0; n < now.size(); ++n) {
            const std::size_t shared = commonEdges(old[o], now[n], tolerance);
            if (shared > 0) {
                sharing.push_back({o, n, static_cast<double>(shared)});
            }
        }
    }
    // A copy of a body in its own place shares as much as the body; the first one wins then.
    std::stable_sort(sharing.begin(), sharing.end(),
                     [](const Candidate& a, const Candidate& b) { return a.score > b.score; });
    for (const Candidate& each : sharing) {
        if (bodies.free(each.old, each.now)) {
            bodies.join(each.old, each.now);
        }
    }
    joinByName(old, now, bodies);
    joinByScore(bodies, [&](std::size_t o, std::size_t n) {
        return overlap(old[o].box, now[n].box, tolerance);
    });
    return bodies;
}

} // namespace

std::vector<BodyMatch> matchParts(const PartContent& oldPart, const PartContent& newPart)
{
    const std::vector<BodyShape> old = shapesOf(oldPart);
    const std::vector<BodyShape> now = shapesOf(newPart);
    const double same = tolerance(old, now);
    const Pairing bodies = matchBodies(old, now, same);
    std::vector<BodyMatch> matches(now.size());
    for (std::size_t n = 0; n < now.size(); ++n) {
        BodyMatch& match = matches[n];
        match.body = bodies.oldOf[n];
        match.faces.assign(now[n].faces.size(), kNone);
        match.edges.assign(now[n].edges.size(), kNone);
        if (match.body != kNone) {
            BodyMatcher matcher(old[match.body], now[n], same);
            matcher.run();
            match.faces = matcher.faceResult().oldOf;
            match.edges = matcher.edgeResult().oldOf;
        }
    }
    return matches;
}

} // namespace standin
