#include "standin/step/Bodies.h"

#include "standin/step/Curves.h"
#include "standin/step/Edges.h"
#include "standin/step/Placements.h"
#include "standin/step/StepFile.h"
#include "standin/step/Surfaces.h"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>

namespace standin::step {

namespace {

using geom::Vec;

// Distances that no file is exact enough to mean, metres.
constexpr double kExact = 1e-6;
// Faces and shells that turn one another round: no honest file goes deeper.
constexpr int kMaxDepth = 16;

class BodyReader
{
public:
    BodyReader(const Exchange& exchange, const Units& units, std::unordered_set<long>& faces,
               Report& report)
        : mExchange(exchange),
          mUnits(units),
          mFaces(faces),
          mReport(report)
    {}

    geom::Body read(long number)
    {
        const Entity entity(mExchange, number);
        const std::string_view keyword = entity.keyword();
        const Attributes attributes = entity.attributes();
        mBody.entity = number;
        mBody.name = attributes[0].text();
        mBody.solid =
            keyword != "SHELL_BASED_SURFACE_MODEL" && keyword != "FACE_BASED_SURFACE_MODEL";
        if (mBody.solid) {
            readShell(attributes[1], false, 0);
        } else {
            readShells(attributes[1]);
        }
        if (keyword == "BREP_WITH_VOIDS") {
            readShells(attributes[2]);
        }
        if (mBody.faces.empty()) {
            entity.fail("the body has no faces");
        }
        return std::move(mBody);
    }

private:
    // Shells and faces

    void readShells(const Value& list)
    {
        for (const Value shell : list) {
            readShell(shell, false, 0);
        }
    }

    void readShell(const Value& reference, bool turned, int depth)
    {
        const Entity shell(mExchange, reference);
        const std::string_view keyword = shell.keyword();
        if (keyword == "ORIENTED_CLOSED_SHELL" || keyword == "ORIENTED_OPEN_SHELL") {
            checkDepth(shell, depth);
            readShell(shell.attributes()[2], turned == shell.attributes()[3].boolean(), depth + 1);
            return;
        }
        if (keyword != "CLOSED_SHELL" && keyword != "OPEN_SHELL" &&
            keyword != "CONNECTED_FACE_SET") {
            shell.fail("this kind of shell is not supported");
        }
        for (const Value face : shell.attributes()[1]) {
            readFaceNamed(face, turned);
        }
    }

    void readFaceNamed(const Value& reference, bool turned)
    {
        const std::string face = "face #" + std::to_string(reference.reference());
        try {
            readFace(reference, turned, 0);
        } catch (const StepError& error) {
            throw StepError(face, error);
        } catch (const std::invalid_argument& error) {
            throw StepError(face + ": " + error.what(), mExchange.lineOf(reference.reference()),
                            reference.reference());
        }
    }

    static void checkDepth(const Entity& entity, int depth)
    {
        if (depth > kMaxDepth) {
            entity.fail("turns round what turns round, more than " + std::to_string(kMaxDepth) +
                        " times");
        }
    }

    void readFace(const Value& reference, bool turned, int depth)
    {
        const Entity entity(mExchange, reference);
        const std::string_view keyword = entity.keyword();
        const Attributes attributes = entity.attributes();
        if (keyword == "ORIENTED_FACE") {
            checkDepth(entity, depth);
            readFace(attributes[2], turned == attributes[3].boolean(), depth + 1);
            return;
        }
        if (!mOwnFaces.insert(entity.number()).second) {
            entity.fail("its body names the face twice");
        }
        mFaces.insert(entity.number());
        geom::Face face;
        face.entity = entity.number();
        for (const Value bound : attributes[1]) {
            face.loops.push_back(readBound(bound, turned));
        }
        if (keyword == "ADVANCED_FACE" || keyword == "FACE_SURFACE") {
            const OrientedSurface& surface = surfaceOf(attributes[2]);
            face.surface = surface.surface;
            const bool against = surface.reversed == attributes[3].boolean();
            face.reversed = against != turned;
        } else if (keyword == "FACE") {
            face.surface = planeThrough(entity, face);
        } else {
            entity.fail("this kind of face is not supported");
        }
        mBody.faces.push_back(std::move(face));
    }

    const OrientedSurface& surfaceOf(const Value& reference)
    {
        const auto known = mSurfaces.find(reference.reference());
        if (known != mSurfaces.end()) {
            return known->second;
        }
        OrientedSurface surface = readSurface(mExchange, reference, mUnits);
        return mSurfaces.emplace(reference.reference(), std::move(surface)).first->second;
    }

    // A face of a faceted solid may leave its plane to its loop, whose direction gives the outside.
    geom::SurfacePtr planeThrough(const Entity& entity, const geom::Face& face) const
    {
        if (face.loops.empty() || face.loops[0].uses.empty()) {
            entity.fail("a face with neither a surface nor a loop of points");
        }
        Vec normal;
        const geom::Loop& loop = face.loops[0];
        const Vec origin = startOf(loop.uses[0]);
        for (const geom::EdgeUse& use : loop.uses) {
            normal = normal + geom::cross(startOf(use) - origin, endOf(use) - origin);
        }
        if (!(geom::length(normal) > 0.0)) {
            entity.fail("a face whose points lie on one line");
        }
        return geom::makePlane(
            geom::makeFrame(origin, geom::unit(normal), endOf(loop.uses[0]) - origin));
    }

    // Loops

    geom::Loop readBound(const Value& reference, bool turned)
    {
        const Entity bound(mExchange, reference);
        if (bound.keyword() != "FACE_BOUND" && bound.keyword() != "FACE_OUTER_BOUND") {
            bound.fail("wanted FACE_BOUND or FACE_OUTER_BOUND");
        }
        const Entity entity(mExchange, bound.attributes()[1]);
        geom::Loop loop;
        loop.entity = entity.number();
        loop.outer = bound.keyword() == "FACE_OUTER_BOUND";
        if (entity.keyword() == "EDGE_LOOP") {
            readEdgeLoop(entity, loop);
        } else if (entity.keyword() == "POLY_LOOP") {
            readPolyLoop(entity, loop);
        } else if (entity.keyword() == "VERTEX_LOOP") {
            loop.vertex = vertexOf(entity.attributes()[1]);
        } else {
            entity.fail("this kind of loop is not supported");
        }
        if (bound.attributes()[2].boolean() == turned) {
            std::reverse(loop.uses.begin(), loop.uses.end());
            for (geom::EdgeUse& use : loop.uses) {
                use.reversed = !use.reversed;
            }
        }
        return loop;
    }

    void readEdgeLoop(const Entity& entity, geom::Loop& loop)
    {
        for (const Value reference : entity.attributes()[1]) {
            const Entity oriented(mExchange, reference, "ORIENTED_EDGE");
            geom::EdgeUse use;
            use.edge = edgeOf(oriented.attributes()[3]);
            use.reversed = !oriented.attributes()[4].boolean();
            loop.uses.push_back(use);
        }
        if (loop.uses.empty()) {
            entity.fail("a loop without edges");
        }
        for (std::size_t i = 0; i < loop.uses.size(); ++i) {
            const geom::EdgeUse& next = loop.uses[(i + 1) % loop.uses.size()];
            if (geom::distance(endOf(loop.uses[i]), startOf(next)) > tolerance()) {
                mReport.count("EDGE_LOOP: edges do not meet, read as it stands", entity.number(),
                              entity.line());
                return;
            }
        }
    }

    void readPolyLoop(const Entity& entity, geom::Loop& loop)
    {
        const Value points = entity.attributes()[1];
        if (points.size() < 3) {
            entity.fail("a loop of fewer than 3 points");
        }
        std::vector<std::size_t> corners;
        for (const Value point : points) {
            corners.push_back(cornerOf(point));
        }
        for (std::size_t i = 0; i < corners.size(); ++i) {
            loop.uses.push_back(sideOf(corners[i], corners[(i + 1) % corners.size()]));
        }
    }

    // Edges and vertices

    double tolerance() const { return std::max(kExact, mUnits.uncertainty); }

    const Vec& startOf(const geom::EdgeUse& use) const
    {
        const geom::Edge& edge = mBody.edges[use.edge];
        return mBody.vertices[use.reversed ? edge.end : edge.start].point;
    }

    const Vec& endOf(const geom::EdgeUse& use) const { return startOf({use.edge, !use.reversed}); }

    std::size_t edgeOf(const Value& reference)
    {
        const auto known = mEdges.find(reference.reference());
        if (known != mEdges.end()) {
            return known->second;
        }
        const Entity entity(mExchange, reference, "EDGE_CURVE");
        const Attributes attributes = entity.attributes();
        geom::Edge edge;
        edge.entity = entity.number();
        edge.start = vertexOf(attributes[1]);
        edge.end = vertexOf(attributes[2]);
        const OrientedCurve curve = readCurve(mExchange, attributes[3], mUnits);
        const bool sameSense = attributes[4].boolean();
        EdgeFit fit;
        try {
            fit = fitEdge(edge, curve, sameSense, mBody.vertices[edge.start].point,
                          mBody.vertices[edge.end].point, edge.start == edge.end);
        } catch (const std::invalid_argument& error) {
            entity.fail(error.what());
        }
        if (fit.turned) {
            mReport.count("EDGE_CURVE: runs against its same_sense flag, the vertices are believed",
                          entity.number(), entity.line());
        }
        if (!(fit.gap <= tolerance())) {
            mReport.count("EDGE_CURVE: a vertex is off its curve, read as it stands",
                          entity.number(), entity.line());
        }
        mBody.edges.push_back(std::move(edge));
        mEdges.emplace(entity.number(), mBody.edges.size() - 1);
        return mBody.edges.size() - 1;
    }

    std::size_t vertexOf(const Value& reference)
    {
        const auto known = mVertices.find(reference.reference());
        if (known != mVertices.end()) {
            return known->second;
        }
        const Entity entity(mExchange, reference, "VERTEX_POINT");
        return addVertex(entity.attributes()[1], entity.number());
    }

    // A corner of a loop of points is known by its CARTESIAN_POINT.
    std::size_t cornerOf(const Value& reference)
    {
        const auto known = mVertices.find(reference.reference());
        return known != mVertices.end() ? known->second
                                        : addVertex(reference, reference.reference());
    }

    std::size_t addVertex(const Value& point, long number)
    {
        geom::Vertex vertex;
        vertex.point = readPoint(mExchange, point, mUnits.length);
        vertex.entity = number;
        mBody.vertices.push_back(vertex);
        mVertices.emplace(number, mBody.vertices.size() - 1);
        return mBody.vertices.size() - 1;
    }

    // Loops of points share the straight edge between two corners.
    geom::EdgeUse sideOf(std::size_t from, std::size_t to)
    {
        const bool reversed = from > to;
        const std::pair<std::size_t, std::size_t> key = std::minmax(from, to);
        const auto known = mSides.find(key);
        if (known != mSides.end()) {
            return {known->second, reversed};
        }
        const Vec start = mBody.vertices[key.first].point;
        const Vec end = mBody.vertices[key.second].point;
        const double span = geom::distance(start, end);
        if (!(span > 0.0)) {
            throw std::invalid_argument("two neighbouring points of a loop coincide");
        }
        geom::Edge edge;
        edge.curve = geom::makeLine(start, geom::unit(end - start));
        edge.to = span;
        edge.start = key.first;
        edge.end = key.second;
        mBody.edges.push_back(std::move(edge));
        mSides.emplace(key, mBody.edges.size() - 1);
        return {mBody.edges.size() - 1, reversed};
    }

    const Exchange& mExchange;
    const Units& mUnits;
    std::unordered_set<long>& mFaces;
    Report& mReport;
    geom::Body mBody;
    std::unordered_set<long> mOwnFaces;
    std::unordered_map<long, OrientedSurface> mSurfaces;
    std::unordered_map<long, std::size_t> mEdges;
    std::unordered_map<long, std::size_t> mVertices;
    std::map<std::pair<std::size_t, std::size_t>, std::size_t> mSides;
};

} // namespace

bool isBodyKeyword(std::string_view keyword) noexcept
{
    return keyword == "MANIFOLD_SOLID_BREP" || keyword == "BREP_WITH_VOIDS" ||
           keyword == "FACETED_BREP" || keyword == "SHELL_BASED_SURFACE_MODEL" ||
           keyword == "FACE_BASED_SURFACE_MODEL";
}

geom::Body readBody(const Exchange& exchange, long number, const Units& units,
                    std::unordered_set<long>& faces, Report& report)
{
    return BodyReader(exchange, units, faces, report).read(number);
}

} // namespace standin::step
