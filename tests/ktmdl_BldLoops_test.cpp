#include "ktmdl/ktmdl_BldLoops.h"

#include "com/Com.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktmdl/ktmdl_Pnt3d.h"
#include "ktmdl/ktmdl_Topo.h"
#include "support/EdgeSet.h"
#include "support/FakeDispatch.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using Places = std::vector<int>;
using Loops = std::vector<Places>;

const char* const kSource = "ktmdl_BldLoops.cpp";
const HRESULT kGone = static_cast<HRESULT>(0x80010108u);

static_assert(std::has_virtual_destructor_v<ktmdl_BldLoops>);
static_assert(!std::is_base_of_v<ktstd_Transient, ktmdl_BldLoops>);

EdgeSpec line(const Triple& aStart, const Triple& aEnd, double aLength = 1)
{
    return EdgeSpec{aStart, aEnd, false, aLength};
}

EdgeSpec circle(const Triple& aPoint)
{
    return EdgeSpec{aPoint, aPoint, true, 1};
}

EdgeSpec reversed(const EdgeSpec& aEdge)
{
    return EdgeSpec{aEdge.end, aEdge.start, aEdge.isClosed, aEdge.length};
}

//! The sides of a square, head to tail.
std::vector<EdgeSpec> square()
{
    return {line({0, 0, 0}, {1, 0, 0}), line({1, 0, 0}, {1, 1, 0}), line({1, 1, 0}, {0, 1, 0}),
            line({0, 1, 0}, {0, 0, 0})};
}

//! A triangle whose last edge ends a gap away from where the first begins.
std::vector<EdgeSpec> triangleWithGap(double aGap)
{
    return {line({0, 0, 0}, {1, 0, 0}), line({1, 0, 0}, {1, 1, 0}), line({1, 1, 0}, {aGap, 0, 0})};
}

//! An edge, and two ways back: one that starts a gap away, and behind it one that fits exactly. The
//! first is taken when the gap is within the tolerance, as the earlier of two that fit.
std::vector<EdgeSpec> twoWaysBack(double aGap)
{
    return {line({0, 0, 0}, {1, 0, 0}), line({1, aGap, 0}, {0, 0, 0}), line({1, 0, 0}, {0, 0, 0})};
}

//! Builds loops and shows the outcome in places.
struct Trial
{
    Trial(Scene& aScene, const std::vector<EdgeSpec>& aSpecs)
        : set(aScene, aSpecs),
          input(set.All()),
          builder(input)
    {}

    void Expect(const Loops& aLoops, const Places& aLeft)
    {
        EXPECT_EQ(builder.Compute(), 0);
        EXPECT_EQ(builder.Status(), 0);
        EXPECT_EQ(set.PlacesIn(builder.Loops()), aLoops);
        EXPECT_EQ(builder.Loops().IsNull(), aLoops.empty() ? 1 : 0);
        EXPECT_EQ(set.PlacesIn(input), aLeft);
    }
    [[nodiscard]] HRESULT Fail()
    {
        return codeOf([&] { builder.Compute(); });
    }

    EdgeSet set;
    Hnd_ktmdl_TopoHSeq input;
    ktmdl_BldLoops builder;
};

void expectTrial(const std::vector<EdgeSpec>& aSpecs, const Loops& aLoops, const Places& aLeft)
{
    Scene scene;
    Trial run(scene, aSpecs);
    run.Expect(aLoops, aLeft);
    scene.ExpectLog({});
}

} // namespace

// Status

TEST(ktmdl_BldLoops, NewBuilderIsNotYetComputed)
{
    Scene scene;
    const EdgeSet set(scene, square());
    const Hnd_ktmdl_TopoHSeq input = set.All();
    const ktmdl_BldLoops builder(input);
    EXPECT_EQ(builder.Status(), -2);
    EXPECT_EQ(builder.Loops().IsNull(), 1);
    EXPECT_EQ(input->RefCount(), 2) << "shared";
    scene.ExpectNoCalls();
}

TEST(ktmdl_BldLoops, DestructionReleasesInputAndLoops)
{
    Scene scene;
    const EdgeSet set(scene, square());
    const Hnd_ktmdl_TopoHSeq input = set.All();
    Hnd_ktstd_TransientHSeq loops;
    {
        ktmdl_BldLoops builder(input);
        EXPECT_EQ(builder.Compute(), 0);
        loops = builder.Loops();
    }
    EXPECT_EQ(input->RefCount(), 1);
    EXPECT_EQ(loops->RefCount(), 1);
}

TEST(ktmdl_BldLoops, NoEdgesGiveMinusOne)
{
    Scene scene;
    ktmdl_BldLoops ofNull{Hnd_ktmdl_TopoHSeq()};
    EXPECT_EQ(ofNull.Compute(), -1);
    EXPECT_EQ(ofNull.Status(), -1);
    EXPECT_EQ(ofNull.Loops().IsNull(), 1);
    EXPECT_EQ(ofNull.Compute(), -1);
    ktmdl_BldLoops ofEmpty(listOf({}));
    EXPECT_EQ(ofEmpty.Compute(), -1);
    EXPECT_EQ(ofEmpty.Status(), -1);
    EXPECT_EQ(ofEmpty.Loops().IsNull(), 1);
}

TEST(ktmdl_BldLoops, EdgesThatComeTooLateAreNotComputed)
{
    Scene scene;
    const EdgeSet set(scene, square());
    const Hnd_ktmdl_TopoHSeq input = listOf({});
    ktmdl_BldLoops builder(input);
    EXPECT_EQ(builder.Compute(), -1);
    input->Append(set.Topo(0));
    EXPECT_EQ(builder.Compute(), -1);
    scene.ExpectNoCalls();
}

TEST(ktmdl_BldLoops, SecondComputeAsksTheHostNothing)
{
    Scene scene;
    Trial run(scene, square());
    run.Expect({{0, 1, 2, 3}}, {});
    scene.world.Forget();
    run.input->Append(run.set.Topo(0));
    run.Expect({{0, 1, 2, 3}}, {0});
    scene.ExpectNoCalls();
}

TEST(ktmdl_BldLoops, StatusIsMinusOneWhileItWorks)
{
    Scene scene;
    Trial run(scene, square());
    long seen = 99;
    long nested = 99;
    run.set.Object(2).Property(85, [&](const fake::Args& aArgs, VARIANT* aResult) {
        seen = run.builder.Status();
        nested = run.builder.Compute();
        return fake::givesBool(VARIANT_FALSE)(aArgs, aResult);
    });
    run.Expect({{0, 1, 2, 3}}, {});
    EXPECT_EQ(seen, -1);
    EXPECT_EQ(nested, -1);
}

// Closed edges

TEST(ktmdl_BldLoops, ClosedEdgesAreLoopsByThemselves)
{
    Scene scene;
    Trial run(scene, {circle({0, 0, 0}), circle({0, 0, 0}), circle({5, 5, 5})});
    run.Expect({{0}, {1}, {2}}, {});
    scene.ExpectCalls(joined({closedCalls(0), closedCalls(1), closedCalls(2)}));
}

TEST(ktmdl_BldLoops, ClosedEdgesAmongOthersComeFirst)
{
    std::vector<EdgeSpec> specs = square();
    specs.insert(specs.begin() + 1, circle({9, 9, 9}));
    specs.push_back(circle({8, 8, 8}));
    Scene scene;
    Trial run(scene, specs);
    run.Expect({{1}, {5}, {0, 2, 3, 4}}, {});
    scene.ExpectCalls(
        joined({openCalls(0), closedCalls(1), openCalls(2), openCalls(3), openCalls(4),
                closedCalls(5), endCalls(0), endCalls(2), endCalls(3), endCalls(4)}));
}

TEST(ktmdl_BldLoops, EdgeThatCantTellWhetherItIsClosedIsOpen)
{
    Scene scene;
    Trial run(scene, square());
    run.set.Object(1).Property(85, fake::fails(kGone));
    run.Expect({{0, 1, 2, 3}}, {});
    scene.ExpectLog({caughtForm("ktmdl_Topo.cpp", "ktmdl_Topo::IsClosed", kGone)});
}

TEST(ktmdl_BldLoops, ReferenceOfAnotherTypeIsNotAskedWhetherItIsClosed)
{
    Scene scene;
    Trial run(scene, square());
    run.set.Topo(1)->tplType = 1;
    run.Expect({{0, 1, 2, 3}}, {});
    EXPECT_EQ(scene.world.CountOf("e1.get 85()"), 0);
}

// Chaining

TEST(ktmdl_BldLoops, SquareInOrderIsOneLoop)
{
    Scene scene;
    Trial run(scene, square());
    run.Expect({{0, 1, 2, 3}}, {});
    scene.ExpectCalls(joined({openCalls(0), openCalls(1), openCalls(2), openCalls(3), endCalls(0),
                              endCalls(1), endCalls(2), endCalls(3)}));
    scene.ExpectLog({});
}

TEST(ktmdl_BldLoops, SquareInAnyOrderIsOneLoopFromTheFirstEdge)
{
    Places order = {0, 1, 2, 3};
    do {
        std::vector<EdgeSpec> specs;
        for (const int side : order) {
            specs.push_back(square()[static_cast<std::size_t>(side)]);
        }
        // From the first edge on, the sides follow one another round the square.
        Places wanted;
        for (int i = 0; i < 4; ++i) {
            const int side = (order[0] + i) % 4;
            const auto place = std::find(order.begin(), order.end(), side);
            wanted.push_back(static_cast<int>(std::distance(order.begin(), place)));
        }
        expectTrial(specs, {wanted}, {});
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(ktmdl_BldLoops, EdgesThatRunBackwardsAreTakenAtTheirEnd)
{
    for (unsigned mask = 0; mask < 16; ++mask) {
        std::vector<EdgeSpec> specs = square();
        for (unsigned i = 0; i < 4; ++i) {
            if ((mask >> i & 1) != 0) {
                specs[i] = reversed(specs[i]);
            }
        }
        const bool firstReversed = (mask & 1) != 0;
        expectTrial(specs, {firstReversed ? Places{0, 3, 2, 1} : Places{0, 1, 2, 3}}, {});
    }
}

TEST(ktmdl_BldLoops, ScanReadsUntilTheFirstMatchAndEachEdgeOnce)
{
    const std::vector<EdgeSpec> sides = square();
    Scene scene;
    Trial run(scene, {sides[0], sides[2], sides[3], sides[1]});
    run.Expect({{0, 3, 1, 2}}, {});
    scene.ExpectCalls(joined({openCalls(0), openCalls(1), openCalls(2), openCalls(3), endCalls(0),
                              endCalls(1), endCalls(2), endCalls(3)}));
}

TEST(ktmdl_BldLoops, OfTwoEdgesThatFitTheEarlierIsTaken)
{
    const std::vector<EdgeSpec> sides = square();
    const EdgeSpec rival = line({1, 0, 0}, {7, 7, 7});
    expectTrial({sides[0], sides[1], rival, sides[2], sides[3]}, {{0, 1, 3, 4}}, {2});
    expectTrial({sides[0], rival, sides[1], sides[2], sides[3]}, {}, {0, 1, 2, 3, 4});
}

TEST(ktmdl_BldLoops, EdgeThatFitsWithBothEndsIsTakenForwards)
{
    // Both ends of the short edge fit. Taken at its start it leads to its end, where the last edge
    // fits; the third would fit at its start.
    expectTrial({line({0, 0, 0}, {1, 0, 0}), line({1, 0, 0}, {1, 0, 5e-9}),
                 line({1, 0, -8e-9}, {3, 3, 3}), line({1, 0, 1.4e-8}, {0, 0, 0})},
                {{0, 1, 3}}, {2});
}

TEST(ktmdl_BldLoops, ExactMatchGoesBeforeANearerIndexWithAGap)
{
    const std::vector<EdgeSpec> sides = square();
    const EdgeSpec nearby = line({1, 1e-5, 0}, {7, 7, 7});
    expectTrial({sides[0], nearby, sides[1], sides[2], sides[3]}, {{0, 2, 3, 4}}, {1});
}

TEST(ktmdl_BldLoops, TwoSquaresAreTwoLoops)
{
    std::vector<EdgeSpec> specs = square();
    for (EdgeSpec side : square()) {
        side.start[2] = 3;
        side.end[2] = 3;
        specs.push_back(side);
    }
    expectTrial({specs[0], specs[4], specs[1], specs[5], specs[2], specs[6], specs[3], specs[7]},
                {{0, 2, 4, 6}, {1, 3, 5, 7}}, {});
}

TEST(ktmdl_BldLoops, SingleOpenEdgeIsLeftOverAfterItsEndsWereRead)
{
    Scene scene;
    Trial run(scene, {line({0, 0, 0}, {1, 0, 0})});
    run.Expect({}, {0});
    scene.ExpectCalls(joined({openCalls(0), endCalls(0)}));
}

TEST(ktmdl_BldLoops, SingleEdgeWhoseEndsMeetIsNoLoopUnlessItIsClosed)
{
    expectTrial({line({0, 0, 0}, {0, 0, 0})}, {}, {0});
}

TEST(ktmdl_BldLoops, LeftoversComeBackChainByChain)
{
    // Chain 0-2, broken; chain 1-3, broken; a square between them.
    std::vector<EdgeSpec> specs = {line({10, 0, 0}, {11, 0, 0}), line({20, 0, 0}, {21, 0, 0}),
                                   line({11, 0, 0}, {12, 0, 0}), line({22, 0, 0}, {21, 0, 0})};
    const std::vector<EdgeSpec> sides = square();
    specs.insert(specs.begin() + 1, sides.begin(), sides.end());
    expectTrial(specs, {{1, 2, 3, 4}}, {0, 6, 5, 7});
}

TEST(ktmdl_BldLoops, InputIsRefilledNotReplaced)
{
    Scene scene;
    Trial run(scene, {line({0, 0, 0}, {1, 0, 0}), line({5, 0, 0}, {6, 0, 0})});
    const ktmdl_TopoHSeq* const before = &*run.input;
    run.Expect({}, {0, 1});
    EXPECT_EQ(&*run.input, before);
    EXPECT_EQ(run.set.Topo(0)->RefCount(), 2) << "the test's and the input's";
}

TEST(ktmdl_BldLoops, LoopsShareTheReferences)
{
    Scene scene;
    Trial run(scene, square());
    run.Expect({{0, 1, 2, 3}}, {});
    EXPECT_EQ(run.set.Topo(0)->RefCount(), 2) << "the test's and the loop's";
    EXPECT_EQ(run.set.Object(0).Held(), 1);
}

// Gaps

TEST(ktmdl_BldLoops, LastGapBelowFiveTenThousandthsCloses)
{
    expectTrial(triangleWithGap(0.0003), {{0, 1, 2}}, {});
    expectTrial(triangleWithGap(0.00049), {{0, 1, 2}}, {});
    expectTrial(triangleWithGap(-0.0003), {{0, 1, 2}}, {});
}

TEST(ktmdl_BldLoops, LastGapFromFiveTenThousandthsOnStaysOpen)
{
    expectTrial(triangleWithGap(0.0005), {}, {0, 1, 2});
    expectTrial(triangleWithGap(0.0006), {}, {0, 1, 2});
}

TEST(ktmdl_BldLoops, LastGapIsADistanceNotABox)
{
    // Each coordinate is off by 0.0004: 0.00056 away.
    expectTrial({line({0, 0, 0}, {1, 0, 0}), line({1, 0, 0}, {1, 1, 0}),
                 line({1, 1, 0}, {0.0004, 0.0004, 0})},
                {}, {0, 1, 2});
}

TEST(ktmdl_BldLoops, GapOnTheWayBelowFiveTenThousandthsIsBridged)
{
    std::vector<EdgeSpec> specs = square();
    specs[1].start = {1.0003, 0, 0};
    expectTrial(specs, {{0, 1, 2, 3}}, {});
    specs[1] = reversed(specs[1]);
    expectTrial(specs, {{0, 1, 2, 3}}, {});
}

TEST(ktmdl_BldLoops, GapOnTheWayFromFiveTenThousandthsOnBreaksTheChain)
{
    std::vector<EdgeSpec> specs = {line({-1, 0, 0}, {0, 0, 0}), line({0.0005, 0, 0}, {0, 1, 0}),
                                   line({0, 1, 0}, {-1, 0, 0})};
    expectTrial(specs, {}, {0, 1, 2});
    specs[1].start = {0.00049, 0, 0};
    expectTrial(specs, {{0, 1, 2}}, {});
}

TEST(ktmdl_BldLoops, NearestCandidateBridgesTheGap)
{
    std::vector<EdgeSpec> specs = square();
    specs[1].start = {1, 0, 0.0002};
    const EdgeSpec further = line({1, 0, -0.0003}, {7, 7, 7});
    expectTrial({specs[0], further, specs[1], specs[2], specs[3]}, {{0, 2, 3, 4}}, {1});
}

TEST(ktmdl_BldLoops, OfCandidatesAtTheSameDistanceTheEarlierIsTaken)
{
    std::vector<EdgeSpec> specs = square();
    specs[1].start = {1, 0, 0.0002};
    const EdgeSpec rival = line({1, 0, -0.0002}, {7, 7, 7});
    expectTrial({specs[0], specs[1], rival, specs[2], specs[3]}, {{0, 1, 3, 4}}, {2});
    expectTrial({specs[0], rival, specs[1], specs[2], specs[3]}, {}, {0, 1, 2, 3, 4});
}

TEST(ktmdl_BldLoops, CandidateAtEqualDistanceOfBothEndsLeadsToItsStart)
{
    const EdgeSpec first = line({0, 0, 0}, {1, 0, 0});
    const EdgeSpec middle = line({1, 0.0002, 0}, {1, -0.0002, 0}); // both ends 0.0002 away
    const EdgeSpec fromStart = line({1, 0.0002, 0}, {0, 0, 0});
    const EdgeSpec fromEnd = line({1, -0.0002, 0}, {0, 0, 0});
    // From the middle edge's start, which it leads to, one of them fits without gap.
    expectTrial({first, middle, fromEnd, fromStart}, {{0, 1, 3}}, {2});
    expectTrial({first, middle, fromStart, fromEnd}, {{0, 1, 2}}, {3});
}

TEST(ktmdl_BldLoops, CandidateLeadsToItsFarEnd)
{
    const EdgeSpec first = line({0, 0, 0}, {1, 0, 0});
    // Nearer with its end, which is 0.0001 away; its start is 0.0003 away.
    const EdgeSpec backwards = line({1, 0.0003, 0}, {1, -0.0001, 0});
    const EdgeSpec forwards = reversed(backwards);
    const EdgeSpec back = line({1, 0.0003, 0}, {0, 0, 0});
    const EdgeSpec trap = line({1, -0.0001, 0}, {0, 0, 0});
    expectTrial({first, backwards, trap, back}, {{0, 1, 3}}, {2});
    expectTrial({first, forwards, trap, back}, {{0, 1, 3}}, {2});
}

TEST(ktmdl_BldLoops, ChainThatCouldCloseTakesACandidateThatIsNotFurther)
{
    std::vector<EdgeSpec> specs = triangleWithGap(0.0003);
    specs.push_back(line({0.0003, 0.0002, 0}, {5, 5, 0}));
    expectTrial(specs, {}, {0, 1, 2, 3});
    specs[3] = line({0.0003, 0.0003, 0}, {5, 5, 0}); // as far as the gap
    expectTrial(specs, {}, {0, 1, 2, 3});
}

TEST(ktmdl_BldLoops, ChainThatCouldCloseDoesSoWhenTheCandidateIsFurther)
{
    std::vector<EdgeSpec> specs = triangleWithGap(0.0003);
    specs.push_back(line({0.0003, 0.0004, 0}, {5, 5, 0}));
    expectTrial(specs, {{0, 1, 2}}, {3});
}

TEST(ktmdl_BldLoops, ChainThatCouldCloseDoesSoWithoutCandidate)
{
    std::vector<EdgeSpec> specs = triangleWithGap(0.0003);
    specs.push_back(line({5, 5, 5}, {6, 6, 6}));
    expectTrial(specs, {{0, 1, 2}}, {3});
}

TEST(ktmdl_BldLoops, ChainWithAWideGapAndNothingNearStaysOpen)
{
    std::vector<EdgeSpec> specs = triangleWithGap(0.0005);
    specs.push_back(line({5, 5, 5}, {6, 6, 6}));
    expectTrial(specs, {}, {0, 1, 2, 3});
}

TEST(ktmdl_BldLoops, ShortFirstEdgeClosesByItselfWhenItsEndsAreNear)
{
    // Its ends are 0.0003 apart, and nothing is nearer: a loop of one edge.
    expectTrial({line({0, 0, 0}, {0.0003, 0, 0}), line({5, 5, 5}, {6, 6, 6})}, {{0}}, {1});
}

// Tolerances

TEST(ktmdl_BldLoops, EndsMeetWithinTenToTheMinusEight)
{
    expectTrial(twoWaysBack(0.9e-8), {{0, 1}}, {2});
    expectTrial(twoWaysBack(1.1e-8), {{0, 2}}, {1});
}

TEST(ktmdl_BldLoops, ShortestEdgeBelowTheLimitComesFirst)
{
    std::vector<EdgeSpec> specs = square();
    specs[2].length = 9.9e-5;
    expectTrial(specs, {{2, 3, 0, 1}}, {});
}

TEST(ktmdl_BldLoops, EdgeOfExactlyTheLimitStaysInItsPlace)
{
    std::vector<EdgeSpec> specs = square();
    specs[2].length = 1e-4;
    expectTrial(specs, {{0, 1, 2, 3}}, {});
}

TEST(ktmdl_BldLoops, OfEquallyShortEdgesTheEarlierComesFirst)
{
    std::vector<EdgeSpec> specs = square();
    specs[1].length = 5e-5;
    specs[2].length = 5e-5;
    expectTrial(specs, {{1, 2, 3, 0}}, {});
    specs[2].length = 4e-5;
    expectTrial(specs, {{2, 3, 0, 1}}, {});
}

TEST(ktmdl_BldLoops, ShortestEdgeKeepsItsPlaceWhenClosedOnesGo)
{
    std::vector<EdgeSpec> specs = square();
    specs[1].length = 5e-5;
    specs.insert(specs.begin(), circle({9, 9, 9}));
    specs.insert(specs.begin() + 4, circle({8, 8, 8}));
    expectTrial(specs, {{0}, {4}, {2, 3, 5, 1}}, {});
}

TEST(ktmdl_BldLoops, ClosedEdgesAreNotMeasured)
{
    std::vector<EdgeSpec> specs = twoWaysBack(4e-7); // within half of the closed edge's length
    specs.push_back(circle({9, 9, 9}));
    specs.back().length = 1e-6;
    expectTrial(specs, {{3}, {0, 2}}, {1});
}

TEST(ktmdl_BldLoops, HalfTheShortestLengthIsTheTolerance)
{
    std::vector<EdgeSpec> specs = twoWaysBack(3.9e-5);
    specs[0].length = 8e-5;
    expectTrial(specs, {{0, 1}}, {2});
    specs = twoWaysBack(4.1e-5);
    specs[0].length = 8e-5;
    expectTrial(specs, {{0, 2}}, {1});
}

TEST(ktmdl_BldLoops, ShortestEdgeIsMovedBeforeOthersInTheirOrder)
{
    Scene scene;
    Trial run(scene, {line({10, 0, 0}, {11, 0, 0}), line({20, 0, 0}, {21, 0, 0}),
                      line({30, 0, 0}, {31, 0, 0}, 1e-5), line({40, 0, 0}, {41, 0, 0})});
    run.Expect({}, {2, 0, 1, 3});
}

// Failures

TEST(ktmdl_BldLoops, EdgeWithoutInterfaceIsLoggedAndRaised)
{
    Scene scene;
    std::vector<EdgeSpec> specs = square();
    specs.insert(specs.begin(), circle({9, 9, 9}));
    Trial run(scene, specs);
    run.set.Object(3).Refuse(ktmdl_host::IID_Edge, E_NOINTERFACE);
    EXPECT_EQ(run.Fail(), E_POINTER);
    EXPECT_EQ(run.builder.Status(), -1);
    EXPECT_EQ(run.set.PlacesIn(run.builder.Loops()), (Loops{{0}}));
    EXPECT_EQ(run.set.PlacesIn(run.input), (Places{1, 2, 3, 4}));
    scene.ExpectCalls(joined({closedCalls(0), openCalls(1), openCalls(2)}));
    scene.ExpectLog({nullPointerForm("ktmdl_Topo.cpp", "pE"),
                     caughtForm("ktmdl_Topo.cpp", "ktmdl_Topo::IsClosed", E_POINTER),
                     nullPointerForm(kSource, "pE")});
}

TEST(ktmdl_BldLoops, UnboundEdgeIsLoggedAndRaised)
{
    Scene scene;
    Trial run(scene, square());
    run.set.Topo(0)->mDispTopo = IDispatchPtr();
    run.set.Topo(0)->tplType = 1; // not asked whether it is closed
    EXPECT_EQ(run.Fail(), E_POINTER);
    scene.ExpectLog({nullPointerForm(kSource, "pE")});
    scene.ExpectNoCalls();
}

TEST(ktmdl_BldLoops, FailingQueryIsRaisedWithItsCodeAndNotLoggedHere)
{
    Scene scene;
    Trial run(scene, square());
    run.set.Object(0).Refuse(ktmdl_host::IID_Edge, static_cast<HRESULT>(0x8001010Au));
    run.set.Topo(0)->tplType = 1; // not asked whether it is closed
    EXPECT_EQ(run.Fail(), static_cast<HRESULT>(0x8001010Au));
    EXPECT_EQ(run.builder.Status(), -1);
    scene.ExpectLog({});
}

TEST(ktmdl_BldLoops, FailingMeasurementIsRaised)
{
    for (const DISPID member : {272, 268}) {
        Scene scene;
        std::vector<EdgeSpec> specs = square();
        specs.insert(specs.begin() + 1, circle({9, 9, 9}));
        Trial run(scene, specs);
        run.set.Object(2).Method(member, fake::fails(kGone));
        EXPECT_EQ(run.Fail(), kGone) << member;
        EXPECT_EQ(run.builder.Status(), -1);
        EXPECT_EQ(run.set.PlacesIn(run.builder.Loops()), (Loops{{1}}));
        EXPECT_EQ(run.set.PlacesIn(run.input), (Places{0, 2, 3, 4}));
        EXPECT_EQ(scene.world.CountOf("e2.268*"), member == 268 ? 1 : 0);
        EXPECT_EQ(scene.world.CountOf("e3.*"), 0);
        scene.ExpectLog({});
    }
}

TEST(ktmdl_BldLoops, FailureInTheFirstPassLeavesLoopsEmptyNotNull)
{
    Scene scene;
    Trial run(scene, square());
    run.set.Object(0).Method(272, fake::fails(kGone));
    EXPECT_EQ(run.Fail(), kGone);
    ASSERT_EQ(run.builder.Loops().IsNull(), 0);
    EXPECT_EQ(run.builder.Loops()->Length(), 0);
    EXPECT_EQ(run.set.PlacesIn(run.input), (Places{0, 1, 2, 3}));
}

TEST(ktmdl_BldLoops, FailingEndsOfAChainsFirstEdgeAreRaised)
{
    std::vector<EdgeSpec> specs = square();
    specs.push_back(line({20, 0, 0}, {21, 0, 0}));
    specs.push_back(line({30, 0, 0}, {31, 0, 0}));
    Scene scene;
    Trial run(scene, specs);
    run.set.Object(4).Method(267, fake::fails(kGone));
    EXPECT_EQ(run.Fail(), kGone);
    EXPECT_EQ(run.builder.Status(), -1);
    EXPECT_EQ(run.set.PlacesIn(run.builder.Loops()), (Loops{{0, 1, 2, 3}}));
    EXPECT_EQ(run.set.PlacesIn(run.input), (Places{5})) << "the chain's edges are out already";
    scene.ExpectLog({});
}

TEST(ktmdl_BldLoops, InputEmptiedDuringAHostCallGetsTheLeftoversAllTheSame)
{
    Scene scene;
    Trial run(scene, {line({0, 0, 0}, {1, 0, 0}), line({20, 0, 0}, {21, 0, 0})});
    run.set.Object(1).Method(267, [&](const fake::Args& aArgs, VARIANT*) {
        run.input->Clear();
        aArgs.SetReals(0, {20, 0, 0});
        aArgs.SetReals(1, {21, 0, 0});
        return S_OK;
    });
    EXPECT_EQ(run.builder.Compute(), 0);
    EXPECT_EQ(run.set.PlacesIn(run.input), (Places{0, 1}));
    EXPECT_EQ(run.builder.Loops().IsNull(), 1);
}

TEST(ktmdl_BldLoops, FailingEndsOfAScannedEdgeAreRaised)
{
    Scene scene;
    Trial run(scene, square());
    run.set.Object(2).Method(267, fake::fails(kGone));
    EXPECT_EQ(run.Fail(), kGone);
    EXPECT_EQ(run.builder.Status(), -1);
    EXPECT_EQ(run.set.PlacesIn(run.input), (Places{2, 3}));
    ASSERT_EQ(run.builder.Loops().IsNull(), 0);
    EXPECT_EQ(run.builder.Loops()->Length(), 0);
}

TEST(ktmdl_BldLoops, InterfaceLostAfterTheFirstPassIsLoggedAndRaised)
{
    for (const std::size_t lost : {std::size_t{0}, std::size_t{2}}) {
        Scene scene;
        Trial run(scene, square());
        fake::Object& object = run.set.Object(lost);
        object.Method(268, [&object](const fake::Args& aArgs, VARIANT*) {
            aArgs.SetReal(2, 1);
            object.Refuse(ktmdl_host::IID_Edge, E_NOINTERFACE);
            return S_OK;
        });
        EXPECT_EQ(run.Fail(), E_POINTER) << lost;
        scene.ExpectLog({nullPointerForm(kSource, "pE")});
        EXPECT_EQ(run.set.PlacesIn(run.input), lost == 0 ? (Places{1, 2, 3}) : (Places{2, 3}));
    }
}

TEST(ktmdl_BldLoops, EndPointsThatAreNoneAreRaised)
{
    const std::vector<std::vector<double>> bad = {{}, {1, 2}};
    for (const std::vector<double>& values : bad) {
        for (const bool isStart : {true, false}) {
            Scene scene;
            Trial run(scene, square());
            run.set.Object(1).Method(267, [&](const fake::Args& aArgs, VARIANT*) {
                aArgs.SetReals(0, isStart ? values : std::vector<double>{1, 0, 0});
                aArgs.SetReals(1, isStart ? std::vector<double>{1, 1, 0} : values);
                return S_OK;
            });
            EXPECT_LT(run.Fail(), 0);
            EXPECT_EQ(run.builder.Status(), -1);
        }
    }
}

TEST(ktmdl_BldLoops, FailedBuilderStaysFailed)
{
    Scene scene;
    Trial run(scene, square());
    run.set.Object(0).Method(272, fake::fails(kGone));
    EXPECT_EQ(run.Fail(), kGone);
    scene.world.Forget();
    EXPECT_EQ(run.builder.Compute(), -1);
    scene.ExpectNoCalls();
}

TEST(ktmdl_BldLoops, NullReferenceAmongTheEdgesIsAFailure)
{
    Scene scene;
    const EdgeSet set(scene, square());
    const Hnd_ktmdl_TopoHSeq input = set.All();
    input->Append(Hnd_ktmdl_Topo());
    ktmdl_BldLoops builder(input);
    EXPECT_THROW(builder.Compute(), Hnd_ktstd_fail_NullObject);
    EXPECT_EQ(builder.Status(), -1);
}

// Random edges against the steps written down plainly.

namespace {

//! The loop builder on places instead of references, step by step.
class PlainBuilder
{
public:
    //! @param aFailing  the edge whose ends can't be read; the number of edges for none
    PlainBuilder(const std::vector<EdgeSpec>& aSpecs, std::size_t aFailing)
        : mSpecs(aSpecs),
          mFailing(aFailing)
    {}

    void Compute()
    {
        double shortest = 1e-4;
        std::size_t shortestIdx = 0;
        bool hasShortest = false;
        for (std::size_t i = 0; i < mSpecs.size(); ++i) {
            if (mSpecs[i].isClosed) {
                Called(closedCalls(i));
                loops.push_back({static_cast<int>(i)});
                continue;
            }
            Called(openCalls(i));
            if (mSpecs[i].length < shortest) {
                shortest = mSpecs[i].length;
                shortestIdx = mInput.size();
                hasShortest = true;
            }
            mInput.push_back(i);
        }
        double tolerance = 1e-8;
        if (!mInput.empty() && hasShortest) {
            tolerance = shortest / 2;
            const std::size_t edge = mInput[shortestIdx];
            mInput.erase(mInput.begin() + static_cast<std::ptrdiff_t>(shortestIdx));
            mInput.insert(mInput.begin(), edge);
        }
        while (!mInput.empty() && !hasFailed) {
            BuildChain(tolerance);
        }
        if (hasFailed) {
            left.assign(mInput.begin(), mInput.end()); // chains that are not loops are lost
        }
    }

    Loops loops;
    Places left;
    bool hasFailed{false};
    std::vector<std::string> calls;

private:
    static constexpr double kGap = 0.0005; // strict mode is on: the tolerance is at most 5e-5

    void Called(const std::vector<std::string>& aCalls)
    {
        calls.insert(calls.end(), aCalls.begin(), aCalls.end());
    }
    //! Ends are read once, where the steps first need them.
    //! @return  false when the work ends here
    bool ReadEnds(std::size_t aEdge)
    {
        if (mKnown.insert(aEdge).second) {
            Called(endCalls(aEdge));
        }
        hasFailed = aEdge == mFailing;
        return !hasFailed;
    }
    static ktmdl_Pnt3d Point(const Triple& aTriple)
    {
        return ktmdl_Pnt3d(aTriple[0], aTriple[1], aTriple[2]);
    }
    void Take(std::size_t aIdx, const ktmdl_Pnt3d& aFarEnd)
    {
        mChain.push_back(static_cast<int>(mInput[aIdx]));
        mInput.erase(mInput.begin() + static_cast<std::ptrdiff_t>(aIdx));
        mCurrent.Set(aFarEnd);
    }
    void BuildChain(double aTolerance)
    {
        const std::size_t edge = mInput.front();
        mInput.erase(mInput.begin());
        mChain = {static_cast<int>(edge)};
        if (!ReadEnds(edge)) {
            return;
        }
        mFirst.Set(Point(mSpecs[edge].start));
        mCurrent.Set(Point(mSpecs[edge].end));
        bool isClosed = false;
        while (!isClosed && !mInput.empty() && Step(aTolerance, isClosed)) {
            if (mCurrent.IsEqual(mFirst, aTolerance) != 0) {
                isClosed = true;
            } else if (mInput.empty()) {
                isClosed = mFirst.Distance(mCurrent) < kGap;
            }
        }
        if (hasFailed) {
            return;
        }
        Places& target = isClosed ? loops.emplace_back() : left;
        target.insert(target.end(), mChain.begin(), mChain.end());
    }
    //! Takes an edge or closes the chain; gives false when there is nothing to do.
    bool Step(double aTolerance, bool& aIsClosed)
    {
        bool hasBest = false;
        double best = 0;
        std::size_t bestIdx = 0;
        for (std::size_t i = 0; i < mInput.size(); ++i) {
            const ktmdl_Pnt3d s = Point(mSpecs[mInput[i]].start);
            const ktmdl_Pnt3d e = Point(mSpecs[mInput[i]].end);
            if (!ReadEnds(mInput[i])) {
                return false;
            }
            if (s.IsEqual(mCurrent, aTolerance) != 0) {
                Take(i, e);
                return true;
            }
            if (e.IsEqual(mCurrent, aTolerance) != 0) {
                Take(i, s);
                return true;
            }
            const double d = std::min(e.Distance(mCurrent), s.Distance(mCurrent));
            if (d < kGap && (!hasBest || d < best)) {
                hasBest = true;
                best = d;
                bestIdx = i;
            }
        }
        const double gap = mFirst.Distance(mCurrent);
        if (gap < kGap && !(hasBest && best <= gap)) {
            aIsClosed = true;
            return true;
        }
        if (!hasBest) {
            return false;
        }
        const ktmdl_Pnt3d s = Point(mSpecs[mInput[bestIdx]].start);
        const ktmdl_Pnt3d e = Point(mSpecs[mInput[bestIdx]].end);
        Take(bestIdx, mCurrent.Distance(e) <= mCurrent.Distance(s) ? s : e);
        return true;
    }

    const std::vector<EdgeSpec>& mSpecs;
    std::size_t mFailing;
    std::vector<std::size_t> mInput;
    std::set<std::size_t> mKnown;
    Places mChain;
    ktmdl_Pnt3d mFirst;
    ktmdl_Pnt3d mCurrent;
};

//! Points of a small grid, most of them off by less than the tolerances or a little more.
class RandomEdges
{
public:
    explicit RandomEdges(unsigned aSeed) : mRandom(aSeed) {}

    std::vector<EdgeSpec> Next()
    {
        static const double kLengths[] = {1e-4, 9.9e-5, 8e-5, 8e-5, 1e-6, 0};
        std::vector<EdgeSpec> specs(1 + Below(Below(8) == 0 ? 60 : 12));
        const unsigned grid = 2 + Below(3);
        mIsNegative = Below(2) == 0;
        const bool hasShort = Below(3) == 0;
        for (EdgeSpec& spec : specs) {
            spec.start = Point(grid);
            spec.end = Point(grid);
            spec.isClosed = Below(10) == 0;
            if (hasShort && Below(4) == 0) {
                spec.length = kLengths[Below(6)];
            }
        }
        return specs;
    }

private:
    unsigned Below(unsigned aBound) { return static_cast<unsigned>(mRandom() % aBound); }
    Triple Point(unsigned aGrid)
    {
        static const double kOffsets[] = {0,    0,      0,    0,      0,      0,      5e-9,
                                          2e-8, 3.9e-5, 1e-4, 0.0002, 0.0003, 0.0005, 0.0006};
        Triple point = {static_cast<double>(Below(aGrid)), static_cast<double>(Below(2)), 0};
        for (double& coordinate : point) {
            const double offset = kOffsets[Below(14)];
            coordinate += Below(2) == 0 ? offset : -offset;
            coordinate = mIsNegative ? -coordinate : coordinate;
        }
        return point;
    }

    std::mt19937 mRandom;
    bool mIsNegative{false};
};

} // namespace

TEST(ktmdl_BldLoops, RandomEdgesChainAsTheStepsSay)
{
    const unsigned seed = 20240611;
    RandomEdges random(seed);
    std::size_t loops = 0;
    std::size_t left = 0;
    std::size_t failed = 0;
    for (int set = 0; set < 3000 && !testing::Test::HasFailure(); ++set) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", set " << set);
        const std::vector<EdgeSpec> specs = random.Next();
        const std::size_t failing =
            set % 3 == 0 ? static_cast<std::size_t>(set) % specs.size() : specs.size();
        PlainBuilder plain(specs, failing);
        plain.Compute();
        Scene scene;
        Trial run(scene, specs);
        if (failing < specs.size()) {
            run.set.Object(failing).Method(267, fake::fails(kGone));
        }
        if (plain.hasFailed) {
            EXPECT_EQ(run.Fail(), kGone);
            EXPECT_EQ(run.builder.Status(), -1);
            EXPECT_EQ(run.set.PlacesIn(run.builder.Loops()), plain.loops);
            EXPECT_EQ(run.set.PlacesIn(run.input), plain.left);
            ++failed;
        } else {
            run.Expect(plain.loops, plain.left);
        }
        scene.ExpectCalls(plain.calls);
        loops += plain.loops.size();
        left += plain.left.size();
    }
    EXPECT_GT(loops, 1000u) << "the sets hold too few loops to show anything";
    EXPECT_GT(failed, 500u) << "too few sets end in a failure to show anything";
    EXPECT_GT(left, 1000u) << "the sets leave too few edges to show anything";
}
