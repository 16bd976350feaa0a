//! What keeps its key when a part changes.

#include "standin/Content.h"
#include "standin/Keys.h"
#include "standin/Match.h"
#include "support/PartOfAllKinds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

namespace {

using namespace support;
using standin::BodyMatch;
using standin::makeBox;
using standin::makeBoxWithHole;
using standin::PartContent;
using standin::geom::Body;
using standin::geom::kNone;
using standin::geom::Vec;

std::vector<BodyMatch> match(std::vector<Body> old, std::vector<Body> now)
{
    const auto digest = standin::digestOf(old);
    const PartContent before("part", std::move(old), digest, {});
    const PartContent after("part", std::move(now), {}, {});
    return standin::matchParts(before, after);
}

BodyMatch matchOne(const Body& old, const Body& now)
{
    const std::vector<BodyMatch> matches = match({old}, {now});
    EXPECT_EQ(matches.size(), 1u);
    EXPECT_EQ(matches[0].body, 0u);
    return matches[0];
}

//! 0, 1, 2, ...
std::vector<std::size_t> inOrder(std::size_t count)
{
    std::vector<std::size_t> all(count);
    std::iota(all.begin(), all.end(), std::size_t{0});
    return all;
}

void expectAllInOrder(const BodyMatch& match)
{
    EXPECT_EQ(match.faces, inOrder(match.faces.size()));
    EXPECT_EQ(match.edges, inOrder(match.edges.size()));
}

Body movedBox(const Vec& by)
{
    return makeBox(by, by + Vec{0.1, 0.2, 0.3});
}

const Body kBox = makeBox({0.0, 0.0, 0.0}, {0.1, 0.2, 0.3});

//! A body of coplanar rectangles, given by their corners in the plane z = 0.
Body plates(const std::vector<std::pair<Vec, Vec>>& rectangles)
{
    Body all;
    all.solid = false;
    for (const auto& [min, max] : rectangles) {
        Body one = standin::makeSheet(
            standin::geom::makePlane(standin::geom::Frame()),
            {straight(min, {max.x, min.y, 0.0}), straight({max.x, min.y, 0.0}, max),
             straight(max, {min.x, max.y, 0.0}), straight({min.x, max.y, 0.0}, min)});
        const std::size_t vertices = all.vertices.size();
        const std::size_t edges = all.edges.size();
        for (standin::geom::Edge& edge : one.edges) {
            edge.start += vertices;
            edge.end += vertices;
            all.edges.push_back(edge);
        }
        for (standin::geom::EdgeUse& use : one.faces[0].loops[0].uses) {
            use.edge += edges;
        }
        all.vertices.insert(all.vertices.end(), one.vertices.begin(), one.vertices.end());
        all.faces.push_back(one.faces[0]);
    }
    return all;
}

TEST(standin_Match, TheSamePartIsFoundWhole)
{
    const standin::geom::Model model = partOfAllKinds();
    const std::vector<Body>& bodies = model.products[0].bodies;
    const std::vector<BodyMatch> matches = match(bodies, bodies);
    ASSERT_EQ(matches.size(), bodies.size());
    for (std::size_t i = 0; i < matches.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(matches[i].body, i);
        EXPECT_EQ(matches[i].faces.size(), bodies[i].faces.size());
        EXPECT_EQ(matches[i].edges.size(), bodies[i].edges.size());
        expectAllInOrder(matches[i]);
    }
}

TEST(standin_Match, AnotherOrderChangesNothing)
{
    Body shuffled = makeBoxWithHole({0.0, 0.0, 0.0}, {0.1, 0.2, 0.3}, 0.05, 0.1, 0.02);
    const Body old = shuffled;
    std::reverse(shuffled.faces.begin(), shuffled.faces.end());
    std::reverse(shuffled.edges.begin(), shuffled.edges.end());
    const std::size_t last = shuffled.edges.size() - 1;
    for (standin::geom::Face& face : shuffled.faces) {
        for (standin::geom::Loop& loop : face.loops) {
            for (standin::geom::EdgeUse& use : loop.uses) {
                use.edge = last - use.edge;
            }
        }
    }
    const BodyMatch found = matchOne(old, shuffled);
    std::vector<std::size_t> faces = inOrder(7);
    std::vector<std::size_t> edges = inOrder(last + 1);
    std::reverse(faces.begin(), faces.end());
    std::reverse(edges.begin(), edges.end());
    EXPECT_EQ(found.faces, faces);
    EXPECT_EQ(found.edges, edges);
}

TEST(standin_Match, NoiseOfAnotherExportChangesNothing)
{
    const double noise = 2e-8; // a 0.37 m diagonal allows 3.7e-7
    expectAllInOrder(matchOne(kBox, makeBox({noise, 0.0, -noise}, {0.1, 0.2 + noise, 0.3})));
}

TEST(standin_Match, ALongerBoxIsTheSameBox)
{
    expectAllInOrder(matchOne(kBox, makeBox({0.0, 0.0, 0.0}, {0.15, 0.2, 0.3})));
}

TEST(standin_Match, ABoxResizedEverywhereIsTheSameBox)
{
    expectAllInOrder(matchOne(kBox, makeBox({-0.01, -0.02, -0.03}, {0.2, 0.3, 0.4})));
}

TEST(standin_Match, AMovedBoxIsTheSameBox)
{
    expectAllInOrder(matchOne(kBox, movedBox({0.01, 0.02, 0.03})));
    expectAllInOrder(matchOne(kBox, movedBox({5.0, 6.0, 7.0})));
}

TEST(standin_Match, AHoleMoreIsNewAndTheRestIsOld)
{
    const BodyMatch found =
        matchOne(kBox, makeBoxWithHole({0.0, 0.0, 0.0}, {0.1, 0.2, 0.3}, 0.05, 0.1, 0.02));
    std::vector<std::size_t> faces = inOrder(6);
    faces.push_back(kNone);
    EXPECT_EQ(found.faces, faces);
    std::vector<std::size_t> edges = inOrder(12);
    edges.insert(edges.end(), 3, kNone);
    EXPECT_EQ(found.edges, edges);
}

TEST(standin_Match, AHoleLessLeavesTheRest)
{
    expectAllInOrder(
        matchOne(makeBoxWithHole({0.0, 0.0, 0.0}, {0.1, 0.2, 0.3}, 0.05, 0.1, 0.02), kBox));
}

TEST(standin_Match, AWiderOrMovedHoleIsTheSameHole)
{
    const Body old = makeBoxWithHole({0.0, 0.0, 0.0}, {0.1, 0.2, 0.3}, 0.05, 0.1, 0.02);
    expectAllInOrder(
        matchOne(old, makeBoxWithHole({0.0, 0.0, 0.0}, {0.1, 0.2, 0.3}, 0.05, 0.1, 0.03)));
    expectAllInOrder(
        matchOne(old, makeBoxWithHole({0.0, 0.0, 0.0}, {0.1, 0.2, 0.3}, 0.03, 0.15, 0.02)));
}

TEST(standin_Match, AnotherKindOfSurfaceIsAnotherFace)
{
    const standin::geom::Frame frame;
    const BodyMatch found = matchOne(standin::makeCylinder(frame, 0.2, 0.1),
                                     standin::makeFrustum(frame, 0.2, 0.15, 0.1));
    EXPECT_EQ(found.faces, (std::vector<std::size_t>{kNone, 1, 2}));
    EXPECT_EQ(found.edges[0], 0u) << "the circle at the bottom";
}

TEST(standin_Match, AFaceTurnedOverIsAnotherFace)
{
    Body now = kBox;
    now.faces[5].reversed = true;
    const BodyMatch found = matchOne(kBox, now);
    EXPECT_EQ(found.faces, (std::vector<std::size_t>{0, 1, 2, 3, 4, kNone}));
}

TEST(standin_Match, AHigherTopIsTheOldTopThoughAHoleIsGone)
{
    const BodyMatch found =
        matchOne(makeBoxWithHole({0.0, 0.0, 0.0}, {0.1, 0.2, 0.3}, 0.05, 0.1, 0.02),
                 makeBox({0.0, 0.0, 0.0}, {0.1, 0.2, 0.4}));
    expectAllInOrder(found);
}

TEST(standin_Match, ATurnedBodyIsTheSameBody)
{
    standin::geom::Frame turned;
    turned.x = {0.0, 1.0, 0.0};
    turned.y = {0.0, 0.0, 1.0};
    turned.z = {1.0, 0.0, 0.0};
    expectAllInOrder(matchOne(standin::makeCylinder(standin::geom::Frame(), 0.1, 0.2),
                              standin::makeCylinder(turned, 0.1, 0.2)));
}

TEST(standin_Match, ASplitFaceGivesItsKeyToTheLargerPart)
{
    const Body whole = plates({{{0.0, 0.0, 0.0}, {0.4, 0.1, 0.0}}});
    const Body split =
        plates({{{0.0, 0.0, 0.0}, {0.1, 0.1, 0.0}}, {{0.1, 0.0, 0.0}, {0.4, 0.1, 0.0}}});
    EXPECT_EQ(matchOne(whole, split).faces, (std::vector<std::size_t>{kNone, 0}));
}

TEST(standin_Match, ASplitFaceGivesItsKeyToNeitherOfTwoHalves)
{
    const Body whole = plates({{{0.0, 0.0, 0.0}, {0.4, 0.1, 0.0}}});
    const Body split =
        plates({{{0.0, 0.0, 0.0}, {0.2, 0.1, 0.0}}, {{0.2, 0.0, 0.0}, {0.4, 0.1, 0.0}}});
    EXPECT_EQ(matchOne(whole, split).faces, (std::vector<std::size_t>{kNone, kNone}));
}

TEST(standin_Match, TwoJoinedFacesAreTheLargerOne)
{
    const Body split =
        plates({{{0.0, 0.0, 0.0}, {0.1, 0.1, 0.0}}, {{0.1, 0.0, 0.0}, {0.4, 0.1, 0.0}}});
    const Body whole = plates({{{0.0, 0.0, 0.0}, {0.4, 0.1, 0.0}}});
    EXPECT_EQ(matchOne(split, whole).faces, (std::vector<std::size_t>{1}));
}

TEST(standin_Match, CoplanarFacesAreToldApartByTheirPlace)
{
    const Body old =
        plates({{{0.0, 0.0, 0.0}, {0.1, 0.1, 0.0}}, {{0.3, 0.0, 0.0}, {0.4, 0.1, 0.0}}});
    const Body now =
        plates({{{0.3, 0.0, 0.0}, {0.41, 0.1, 0.0}}, {{0.0, 0.0, 0.0}, {0.11, 0.1, 0.0}}});
    EXPECT_EQ(matchOne(old, now).faces, (std::vector<std::size_t>{1, 0}));
}

TEST(standin_Match, BodiesAreFoundByTheirShapeInAnyOrder)
{
    const Body apart = movedBox({1.0, 0.0, 0.0});
    const Body ball = standin::makeSphere(standin::geom::Frame(), 0.5);
    const std::vector<BodyMatch> found = match({kBox, apart, ball}, {ball, kBox, apart});
    EXPECT_EQ(found[0].body, 2u);
    EXPECT_EQ(found[1].body, 0u);
    EXPECT_EQ(found[2].body, 1u);
}

TEST(standin_Match, ABodyMoreIsNew)
{
    const std::vector<BodyMatch> found = match({kBox}, {movedBox({1.0, 0.0, 0.0}), kBox});
    EXPECT_EQ(found[0].body, kNone);
    EXPECT_EQ(found[0].faces, std::vector<std::size_t>(6, kNone));
    EXPECT_EQ(found[0].edges, std::vector<std::size_t>(12, kNone));
    EXPECT_EQ(found[1].body, 0u);
}

TEST(standin_Match, ABodyLessLeavesTheOthers)
{
    const std::vector<BodyMatch> found =
        match({kBox, movedBox({1.0, 0.0, 0.0})}, {movedBox({1.0, 0.0, 0.0})});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].body, 1u);
}

TEST(standin_Match, BodiesThatShareNothingAreFoundByName)
{
    Body a = kBox;
    a.name = "a";
    Body b = movedBox({1.0, 0.0, 0.0});
    b.name = "b";
    Body movedB = movedBox({20.0, 0.0, 0.0});
    movedB.name = "b";
    Body movedA = movedBox({30.0, 0.0, 0.0});
    movedA.name = "a";
    const std::vector<BodyMatch> found = match({a, b}, {movedB, movedA});
    EXPECT_EQ(found[0].body, 1u);
    EXPECT_EQ(found[1].body, 0u);
}

TEST(standin_Match, CopiesInOnePlaceAreFoundOnceEach)
{
    const std::vector<BodyMatch> found = match({kBox, kBox}, {kBox, kBox, kBox});
    EXPECT_EQ(found[0].body, 0u);
    EXPECT_EQ(found[1].body, 1u);
    EXPECT_EQ(found[2].body, kNone);
}

TEST(standin_Match, NothingOldIsGivenToTwo)
{
    const std::vector<Body> parts = {
        kBox,
        movedBox({0.05, 0.0, 0.0}),
        makeBoxWithHole({0.0, 0.0, 0.0}, {0.1, 0.2, 0.3}, 0.05, 0.1, 0.02),
        makeBoxWithHole({0.0, 0.0, 0.0}, {0.1, 0.25, 0.3}, 0.05, 0.1, 0.03),
        standin::makeCylinder(standin::geom::Frame(), 0.1, 0.2),
        standin::makeFrustum(standin::geom::Frame(), 0.1, 0.2, 0.2),
        standin::makeSphere(standin::geom::Frame(), 0.1),
        standin::makeTorus(standin::geom::Frame(), 0.3, 0.1),
    };
    for (const Body& old : parts) {
        for (const Body& now : parts) {
            const BodyMatch found = matchOne(old, now);
            for (const auto* list : {&found.faces, &found.edges}) {
                std::vector<std::size_t> used;
                for (const std::size_t each : *list) {
                    if (each != kNone) {
                        EXPECT_EQ(std::count(used.begin(), used.end(), each), 0);
                        used.push_back(each);
                    }
                }
            }
            for (std::size_t i = 0; i < found.faces.size(); ++i) {
                if (found.faces[i] != kNone) {
                    EXPECT_EQ(old.faces[found.faces[i]].surface->kind(),
                              now.faces[i].surface->kind());
                }
            }
        }
    }
}

TEST(standin_Match, AnEmptyBodyIsNoTrouble)
{
    const Body empty;
    const BodyMatch found = matchOne(empty, kBox);
    EXPECT_EQ(found.faces, std::vector<std::size_t>(6, kNone));
    EXPECT_TRUE(matchOne(kBox, empty).faces.empty());
}

} // namespace
