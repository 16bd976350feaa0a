// The project's own parts: closed solids that open without a warning.

#include "standin/step/StepFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

using standin::geom::Body;
using standin::geom::Box;
using standin::geom::Edge;
using standin::geom::EdgeUse;
using standin::geom::Face;
using standin::geom::Loop;
using standin::geom::Model;
using standin::geom::Placement;
using standin::geom::Product;
using standin::geom::SurfaceKind;
using standin::geom::Vec;
using standin::geom::Vertex;

Model sample(const std::string& name)
{
    return standin::step::readFile(std::string(KT_SOURCE_DIR) + "/samples/" + name);
}

const Body& onlyBody(const Model& model)
{
    EXPECT_EQ(model.products.size(), 1U);
    EXPECT_EQ(model.products.at(0).bodies.size(), 1U);
    return model.products.at(0).bodies.at(0);
}

// Checks that a solid is closed: every edge is used once in each direction, loops are closed
// walks, and Euler's formula gives the count of through holes.
void expectClosed(const Body& body, int throughHoles)
{
    EXPECT_TRUE(body.solid);
    std::vector<int> forward(body.edges.size(), 0);
    std::vector<int> backward(body.edges.size(), 0);
    int loops = 0;
    for (const Face& face : body.faces) {
        for (const Loop& loop : face.loops) {
            ++loops;
            for (std::size_t i = 0; i < loop.uses.size(); ++i) {
                const EdgeUse& use = loop.uses[i];
                const EdgeUse& next = loop.uses[(i + 1) % loop.uses.size()];
                ++(use.reversed ? backward : forward)[use.edge];
                const Edge& here = body.edges[use.edge];
                const Edge& after = body.edges[next.edge];
                EXPECT_EQ(use.reversed ? here.start : here.end,
                          next.reversed ? after.end : after.start)
                    << "face #" << face.entity;
            }
        }
    }
    EXPECT_EQ(forward, std::vector<int>(body.edges.size(), 1));
    EXPECT_EQ(backward, std::vector<int>(body.edges.size(), 1));
    EXPECT_EQ(static_cast<int>(body.vertices.size()) - static_cast<int>(body.edges.size()) +
                  2 * static_cast<int>(body.faces.size()) - loops,
              2 - 2 * throughHoles);
}

std::map<SurfaceKind, int> kinds(const Body& body)
{
    std::map<SurfaceKind, int> found;
    for (const Face& face : body.faces) {
        ++found[face.surface->kind()];
    }
    return found;
}

// Vertices and the middles of edges lie on the surfaces of both faces; the samples are drawn with
// 12 digits.
void expectExact(const Body& body)
{
    for (const Edge& edge : body.edges) {
        const Vec& from = body.vertices[edge.reversed ? edge.end : edge.start].point;
        EXPECT_LE(distance(edge.curve->at(edge.from), from), 1e-14) << "#" << edge.entity;
    }
    for (const Face& face : body.faces) {
        for (const Loop& loop : face.loops) {
            for (const EdgeUse& use : loop.uses) {
                const Edge& edge = body.edges[use.edge];
                for (const double part : {0.0, 0.5, 1.0}) {
                    const Vec point = edge.curve->at(edge.from + (edge.to - edge.from) * part);
                    const Vec nearest = face.surface->at(face.surface->parameterAt(point, nullptr));
                    EXPECT_LE(distance(nearest, point), 1e-14)
                        << "edge #" << edge.entity << " of face #" << face.entity;
                }
            }
        }
    }
}

TEST(StepSamples, NoSampleNeedsAWarning)
{
    for (const char* name : {"holder.step", "holder-changed.step", "clamp-assembly.step"}) {
        const Model model = sample(name);
        EXPECT_TRUE(model.warnings.empty()) << name << ": " << model.warnings[0];
    }
}

TEST(StepSamples, TheHolderIsAClosedSolidWithTwoThroughHoles)
{
    const Model model = sample("holder.step");
    expectClosed(onlyBody(model), 2);
    expectExact(onlyBody(model));
}

TEST(StepSamples, TheChangedHolderIsAClosedSolidWithOneThroughHole)
{
    const Model model = sample("holder-changed.step");
    expectClosed(onlyBody(model), 1);
    expectExact(onlyBody(model));
}

// As drawn: 6 sides of which one rounded, a pocket of 4 walls, 4 corners and a floor, a bore of
// mouth, bore, step, shaft and tip, holes of 2 halves and of 1 cylinder, top, bottom, dimple.
TEST(StepSamples, TheHolderHasTheFacesThatWereDrawn)
{
    const Model model = sample("holder.step");
    const std::map<SurfaceKind, int> wanted{{SurfaceKind::plane, 5 + 4 + 1 + 1 + 2},
                                            {SurfaceKind::cylinder, 1 + 4 + 2 + 2 + 1},
                                            {SurfaceKind::cone, 1},
                                            {SurfaceKind::sphere, 1},
                                            {SurfaceKind::torus, 1}};
    EXPECT_EQ(kinds(onlyBody(model)), wanted);
}

// Without the second hole (1 cylinder), with a boss (1 cylinder, 1 plane).
TEST(StepSamples, TheChangedHolderHasTheFacesThatWereDrawn)
{
    const Model model = sample("holder-changed.step");
    const std::map<SurfaceKind, int> wanted{{SurfaceKind::plane, 5 + 4 + 1 + 1 + 2 + 1},
                                            {SurfaceKind::cylinder, 1 + 4 + 2 + 2 + 1},
                                            {SurfaceKind::cone, 1},
                                            {SurfaceKind::sphere, 1},
                                            {SurfaceKind::torus, 1}};
    EXPECT_EQ(kinds(onlyBody(model)), wanted);
}

TEST(StepSamples, TheHolderFillsItsBlock)
{
    const Model model = sample("holder.step");
    Box box;
    for (const Vertex& vertex : onlyBody(model).vertices) {
        box.add(vertex.point);
    }
    EXPECT_EQ(box.min.x, 0.0);
    EXPECT_EQ(box.min.y, 0.0);
    EXPECT_EQ(box.min.z, 0.0);
    EXPECT_DOUBLE_EQ(box.max.x, 0.060);
    EXPECT_DOUBLE_EQ(box.max.y, 0.040);
    EXPECT_DOUBLE_EQ(box.max.z, 0.025);
}

using Place = std::vector<double>;

// The corners of a face, to compare faces of two files whose numbers differ.
std::set<Place> corners(const Body& body, const Face& face)
{
    std::set<Place> found;
    for (const Loop& loop : face.loops) {
        for (const EdgeUse& use : loop.uses) {
            for (const std::size_t vertex :
                 {body.edges[use.edge].start, body.edges[use.edge].end}) {
                const Vec& p = body.vertices[vertex].point;
                found.insert({p.x, p.y, p.z});
            }
        }
    }
    return found;
}

TEST(StepSamples, TheChangeLeavesTheOtherFacesAlone)
{
    const Model before = sample("holder.step");
    const Model after = sample("holder-changed.step");
    std::multiset<std::set<Place>> old;
    for (const Face& face : onlyBody(before).faces) {
        old.insert(corners(onlyBody(before), face));
    }
    std::size_t kept = 0;
    for (const Face& face : onlyBody(after).faces) {
        const auto same = old.find(corners(onlyBody(after), face));
        if (same != old.end()) {
            old.erase(same);
            ++kept;
        }
    }
    // Of 26: gone are the 9 faces of the pocket (deeper), 2 + 1 of the holes, and the top and the
    // bottom, whose bounds differ.
    EXPECT_EQ(kept, 26U - 9U - 3U - 2U);
}

TEST(StepSamples, TheNumbersOfTheChangedHolderAreOthers)
{
    const Model before = sample("holder.step");
    const Model after = sample("holder-changed.step");
    std::set<long> old;
    for (const Face& face : onlyBody(before).faces) {
        old.insert(face.entity);
    }
    for (const Face& face : onlyBody(after).faces) {
        EXPECT_EQ(old.count(face.entity), 0U) << face.entity;
    }
}

const Product& named(const Model& model, const std::string& name)
{
    const auto found = std::find_if(model.products.begin(), model.products.end(),
                                    [&](const Product& product) { return product.name == name; });
    EXPECT_NE(found, model.products.end()) << name;
    return found == model.products.end() ? model.products.at(0) : *found;
}

TEST(StepSamples, TheClampHasThreeLevels)
{
    const Model model = sample("clamp-assembly.step");
    ASSERT_EQ(model.roots.size(), 1U);
    const Product& whole = model.products[model.roots[0]];
    EXPECT_EQ(whole.name, "clamp assembly");
    ASSERT_EQ(whole.occurrences.size(), 3U);
    EXPECT_EQ(whole.occurrences[1].product, whole.occurrences[2].product);
    const Product& clamp = model.products[whole.occurrences[1].product];
    EXPECT_EQ(clamp.name, "clamp");
    ASSERT_EQ(clamp.occurrences.size(), 3U);
    EXPECT_EQ(clamp.occurrences[1].product, clamp.occurrences[2].product);
    EXPECT_EQ(model.products[clamp.occurrences[1].product].name, "bolt");
}

TEST(StepSamples, ThePartsOfTheClampAreClosedSolids)
{
    const Model model = sample("clamp-assembly.step");
    const std::map<std::string, int> throughHoles{{"base plate", 0}, {"jaw", 2}, {"bolt", 0}};
    for (const auto& part : throughHoles) {
        SCOPED_TRACE(part.first);
        const Product& product = named(model, part.first);
        ASSERT_EQ(product.bodies.size(), 1U);
        expectClosed(product.bodies[0], part.second);
        expectExact(product.bodies[0]);
    }
}

// The side clamp stands at (70, 30, 8) mm with its x along y: its left bolt, at (-9, 0, 10) mm of
// the clamp, stands at (70, 30 - 9, 18).
TEST(StepSamples, TheSideClampIsTurned)
{
    const Model model = sample("clamp-assembly.step");
    const Product& whole = model.products[model.roots.at(0)];
    const Placement& clamp = whole.occurrences.at(2).placement;
    const Placement& bolt =
        model.products[whole.occurrences[2].product].occurrences.at(1).placement;
    const auto row = [&](std::size_t first) {
        return clamp.row[first] * bolt.row[3] + clamp.row[first + 1] * bolt.row[7] +
               clamp.row[first + 2] * bolt.row[11] + clamp.row[first + 3];
    };
    EXPECT_NEAR(row(0), 0.070, 1e-15);
    EXPECT_NEAR(row(4), 0.021, 1e-15);
    EXPECT_NEAR(row(8), 0.018, 1e-15);
}

} // namespace
