//! The made bodies are whole: what the other tests take for granted.

#include "standin/Build.h"
#include "standin/geom/FaceGeometry.h"
#include "support/PartOfAllKinds.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <stdexcept>

namespace {

using namespace support;
using standin::geom::Body;
using standin::geom::Frame;
using standin::geom::Vec;

//! Checks that loops run from vertex to vertex and that two uses of an edge run against each other.
void expectWhole(const Body& body)
{
    std::vector<int> forward(body.edges.size());
    std::vector<int> backward(body.edges.size());
    for (const standin::geom::Face& face : body.faces) {
        for (const standin::geom::Loop& loop : face.loops) {
            for (std::size_t i = 0; i < loop.uses.size(); ++i) {
                const standin::geom::EdgeUse& use = loop.uses[i];
                const standin::geom::EdgeUse& next = loop.uses[(i + 1) % loop.uses.size()];
                const auto& edge = body.edges.at(use.edge);
                const auto& following = body.edges.at(next.edge);
                EXPECT_EQ(use.reversed ? edge.start : edge.end,
                          next.reversed ? following.end : following.start);
                ++(use.reversed ? backward : forward)[use.edge];
            }
        }
    }
    for (std::size_t i = 0; i < body.edges.size(); ++i) {
        EXPECT_EQ(forward[i], 1) << "edge " << i;
        EXPECT_EQ(backward[i], body.solid ? 1 : 0) << "edge " << i;
        const auto& edge = body.edges[i];
        const Vec from = edge.curve->at(edge.from);
        const Vec to = edge.curve->at(edge.to);
        const Vec start = body.vertices.at(edge.start).point;
        const Vec end = body.vertices.at(edge.end).point;
        EXPECT_LT(standin::geom::distance(edge.reversed ? to : from, start), 1e-12);
        EXPECT_LT(standin::geom::distance(edge.reversed ? from : to, end), 1e-12);
        EXPECT_LT(edge.from, edge.to);
    }
}

//! Sums the volumes of the cones from the origin over the facets, positive for a body whose faces
//! look outward.
double volume(const Body& body)
{
    double sum = 0.0;
    for (const standin::geom::Face& face : body.faces) {
        const std::vector<double> points = standin::geom::facets(body, face, 1e-4);
        for (std::size_t i = 0; i + 8 < points.size(); i += 9) {
            const Vec a{points[i], points[i + 1], points[i + 2]};
            const Vec b{points[i + 3], points[i + 4], points[i + 5]};
            const Vec c{points[i + 6], points[i + 7], points[i + 8]};
            sum += standin::geom::dot(a, standin::geom::cross(b, c)) / 6.0;
        }
    }
    return sum;
}

TEST(standin_Build, EveryBodyIsWhole)
{
    const standin::geom::Model model = partOfAllKinds();
    for (const Body& body : model.products[0].bodies) {
        expectWhole(body);
    }
}

TEST(standin_Build, SolidsHaveTheirVolume)
{
    const Frame frame;
    EXPECT_NEAR(volume(standin::makeBox({0.1, 0.2, 0.3}, {0.2, 0.4, 0.6})), 0.006, 1e-12);
    const double hole = kPi * 0.02 * 0.02 * 0.3;
    EXPECT_NEAR(volume(standin::makeBoxWithHole({0.0, 0.0, 0.0}, {0.1, 0.2, 0.3}, 0.05, 0.1, 0.02)),
                0.006 - hole, 0.01 * hole);
    // Chords 1e-4 inside a radius of at least 0.1 cost less than 1 % of the volume.
    const double cylinder = kPi * 0.01 * 0.2;
    EXPECT_NEAR(volume(standin::makeCylinder(frame, 0.1, 0.2)), cylinder, 0.01 * cylinder);
    const double frustum = kPi * 0.1 / 3.0 * (0.04 + 0.02 + 0.01);
    EXPECT_NEAR(volume(standin::makeFrustum(frame, 0.2, 0.1, 0.1)), frustum, 0.01 * frustum);
    const double sphere = 4.0 / 3.0 * kPi * 0.027;
    EXPECT_NEAR(volume(standin::makeSphere(frame, 0.3)), sphere, 0.01 * sphere);
    const double torus = 2.0 * kPi * kPi * 0.4 * 0.01;
    EXPECT_NEAR(volume(standin::makeTorus(frame, 0.4, 0.1)), torus, 0.01 * torus);
}

TEST(standin_Build, CountsAreAsPromised)
{
    const Body box = standin::makeBox({0.0, 0.0, 0.0}, {1.0, 1.0, 1.0});
    EXPECT_EQ(box.faces.size(), 6u);
    EXPECT_EQ(box.edges.size(), 12u);
    EXPECT_EQ(box.vertices.size(), 8u);
    const Body hole = standin::makeBoxWithHole({0.0, 0.0, 0.0}, {1.0, 1.0, 1.0}, 0.5, 0.5, 0.1);
    EXPECT_EQ(hole.faces.size(), 7u);
    EXPECT_EQ(hole.edges.size(), 15u);
    EXPECT_EQ(hole.vertices.size(), 10u);
}

TEST(standin_Build, FacesOfABoxStandInTheirOrder)
{
    const Body box = standin::makeBox({0.0, 0.0, 0.0}, {1.0, 1.0, 1.0});
    const Vec normals[] = {{-1.0, 0.0, 0.0}, {1.0, 0.0, 0.0},  {0.0, -1.0, 0.0},
                           {0.0, 1.0, 0.0},  {0.0, 0.0, -1.0}, {0.0, 0.0, 1.0}};
    for (std::size_t i = 0; i < 6; ++i) {
        const Vec normal = standin::geom::faceNormal(box.faces[i], {0.5, 0.5});
        EXPECT_EQ(normal.x, normals[i].x);
        EXPECT_EQ(normal.y, normals[i].y);
        EXPECT_EQ(normal.z, normals[i].z);
    }
}

TEST(standin_Build, NumbersThatMakeNoBodyAreRefused)
{
    const Frame frame;
    EXPECT_THROW(static_cast<void>(standin::makeBox({0.0, 0.0, 0.0}, {1.0, 0.0, 1.0})),
                 std::invalid_argument);
    EXPECT_THROW(static_cast<void>(
                     standin::makeBoxWithHole({0.0, 0.0, 0.0}, {1.0, 1.0, 1.0}, 0.1, 0.5, 0.1)),
                 std::invalid_argument);
    EXPECT_THROW(static_cast<void>(standin::makeCylinder(frame, 0.0, 1.0)), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(standin::makeFrustum(frame, 1.0, 1.0, 1.0)),
                 std::invalid_argument);
    EXPECT_THROW(static_cast<void>(standin::makeSphere(frame, -1.0)), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(standin::makeTorus(frame, 1.0, 1.0)), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(standin::makeSheet(nullptr, {})), std::invalid_argument);
    EXPECT_THROW(
        static_cast<void>(standin::makeSheet(standin::geom::makePlane(frame),
                                             {straight({0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}),
                                              straight({1.0, 1.0, 0.0}, {0.0, 0.0, 0.0})})),
        std::invalid_argument);
}

TEST(standin_Build, AssembliesUseProductsThatAreThere)
{
    standin::geom::Model model;
    const auto part = standin::addPart(model, "part", {});
    const auto other = standin::addPart(model, "other", {});
    EXPECT_EQ(model.roots, (std::vector<std::size_t>{part, other}));
    const auto whole = standin::addAssembly(model, "whole",
                                            {standin::use(part, "one"), standin::use(part, "two")});
    EXPECT_EQ(model.roots, (std::vector<std::size_t>{other, whole}));
    EXPECT_EQ(model.products[whole].name, "whole");
    EXPECT_EQ(model.products[whole].occurrences[1].name, "two");
    EXPECT_EQ(model.products[whole].occurrences[1].product, part);
    EXPECT_THROW(standin::addAssembly(model, "wrong", {standin::use(3, "itself")}),
                 std::invalid_argument);
    EXPECT_EQ(model.products.size(), 3u);
}

TEST(standin_Build, PlacementsTakeTheOriginAndTheAxesAlong)
{
    const auto shift = standin::shiftedBy({1.0, 2.0, 3.0});
    EXPECT_EQ(shift.row,
              (std::array<double, 12>{1.0, 0.0, 0.0, 1.0, 0.0, 1.0, 0.0, 2.0, 0.0, 0.0, 1.0, 3.0}));
    const Frame frame = standin::geom::makeFrame({4.0, 5.0, 6.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0});
    EXPECT_EQ(standin::placedAt(frame).row,
              (std::array<double, 12>{0.0, 0.0, 1.0, 4.0, 1.0, 0.0, 0.0, 5.0, 0.0, 1.0, 0.0, 6.0}));
}

} // namespace
