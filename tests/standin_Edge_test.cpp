#include "support/CensusGuard.h"
#include "support/HostObjects.h"
#include "support/PartOfAllKinds.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace support;
using standin::geom::Vec;

struct EdgeAnswers
{
    double from = 0.0;
    double to = 0.0;
    double length = 0.0;
    Vec start;
    Vec end;
};

Vec vec(const std::vector<double>& values)
{
    return {values.at(0), values.at(1), values.at(2)};
}

EdgeAnswers ask(const IDispatchPtr& edge)
{
    EdgeAnswers answers;
    EXPECT_EQ(method(edge, 272, {reference(answers.from), reference(answers.to)}).code, S_OK);
    EXPECT_EQ(
        method(edge, 268, {value(answers.from), value(answers.to), reference(answers.length)}).code,
        S_OK);
    Array start;
    Array end;
    EXPECT_EQ(method(edge, 267, {reference(start), reference(end)}).code, S_OK);
    answers.start = vec(start.doubles());
    answers.end = vec(end.doubles());
    return answers;
}

class standin_Edge : public HostTest
{
protected:
    standin::Session session;
};

TEST_F(standin_Edge, AStraightEdgeIsAsLongAsItsEndsAreApart)
{
    const IDispatchPtr document = openBody(session, plainBox());
    double sum = 0.0;
    for (const IDispatchPtr& edge : itemsOf(edgesOf(bodyOf(document)))) {
        const EdgeAnswers answers = ask(edge);
        EXPECT_LT(answers.from, answers.to);
        EXPECT_NEAR(answers.length, standin::geom::distance(answers.start, answers.end), 1e-15);
        const Outcome closed = get(edge, 85);
        EXPECT_EQ(V_VT(&closed.result), VT_BOOL);
        EXPECT_EQ(V_BOOL(&closed.result), VARIANT_FALSE);
        sum += answers.length;
    }
    EXPECT_NEAR(sum, 4.0 * (0.1 + 0.2 + 0.3), 1e-12);
}

TEST_F(standin_Edge, ACircleIsClosedAndHasItsCircumference)
{
    standin::geom::Frame frame;
    const IDispatchPtr document = openBody(session, standin::makeCylinder(frame, 0.1, 0.2));
    const IDispatchPtr circle = edgeOf(document, 1);
    const EdgeAnswers answers = ask(circle);
    EXPECT_TRUE(get(circle, 85).flag());
    EXPECT_NEAR(answers.length, 2.0 * kPi * 0.1, 1e-12);
    EXPECT_NEAR(answers.to - answers.from, 2.0 * kPi, 1e-15);
    EXPECT_EQ(answers.start.x, answers.end.x);
    EXPECT_EQ(answers.start.y, answers.end.y);
}

TEST_F(standin_Edge, ThePartOfALengthIsAPart)
{
    standin::geom::Frame frame;
    const IDispatchPtr document = openBody(session, standin::makeCylinder(frame, 0.1, 0.2));
    const IDispatchPtr circle = edgeOf(document, 1);
    double quarter = 0.0;
    double back = 0.0;
    ASSERT_EQ(method(circle, 268, {value(0.0), value(0.5 * kPi), reference(quarter)}).code, S_OK);
    ASSERT_EQ(method(circle, 268, {value(0.5 * kPi), value(0.0), reference(back)}).code, S_OK);
    EXPECT_NEAR(quarter, 0.5 * kPi * 0.1, 1e-12);
    EXPECT_EQ(back, quarter) << "a length is never negative";
}

TEST_F(standin_Edge, AnEllipseHasTheLengthOfItsSeries)
{
    const IDispatchPtr document = session.openPart(partOfAllKinds(), "all");
    const EdgeAnswers answers = ask(item(edgesOf(bodyOf(document, kDisc)), 1));
    // pi (a + b) (1 + h/4 + h^2/64 + h^3/256 + 25 h^4/16384 + 49 h^5/65536), h = 1/9 for a = 2 b;
    // the next term is below 441 h^6 / 2^20 = 8e-10.
    const double h = 1.0 / 9.0;
    const double series = 1.0 + h / 4.0 + h * h / 64.0 + h * h * h / 256.0 +
                          25.0 * h * h * h * h / 16384.0 + 49.0 * h * h * h * h * h / 65536.0;
    EXPECT_NEAR(answers.length, kPi * 0.3 * series, 2e-9);
}

TEST_F(standin_Edge, AReversedEdgeRunsAgainstItsCurve)
{
    const IDispatchPtr document = session.openPart(partOfAllKinds(), "all");
    const std::vector<IDispatchPtr> edges = itemsOf(edgesOf(bodyOf(document, kArch)));
    ASSERT_EQ(edges.size(), 4u);
    EXPECT_FALSE(get(edges[0], 77).flag());
    EXPECT_TRUE(get(edges[2], 77).flag());
    const EdgeAnswers forward = ask(edges[0]);
    const EdgeAnswers reversed = ask(edges[2]);
    EXPECT_LT(reversed.from, reversed.to) << "parameters ascend all the same";
    EXPECT_NEAR(forward.start.x, -0.1, 1e-15);
    EXPECT_NEAR(forward.end.x, 0.1, 1e-15);
    EXPECT_NEAR(reversed.start.x, 0.1, 1e-15);
    EXPECT_NEAR(reversed.end.x, -0.1, 1e-15);
}

TEST_F(standin_Edge, LoopsOfAFaceMeetEndToEnd)
{
    const IDispatchPtr document = session.openPart(partOfAllKinds(), "all");
    for (const LONG body : {kPatch, kArch, kBowl}) {
        const std::vector<IDispatchPtr> edges =
            itemsOf(need(get(item(facesOf(bodyOf(document, body)), 1), 38)));
        ASSERT_EQ(edges.size(), 4u);
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_LT(standin::geom::distance(ask(edges[i]).end, ask(edges[(i + 1) % 4]).start),
                      1e-12);
        }
    }
}

TEST_F(standin_Edge, ExactRangeOfAnArcReachesItsTop)
{
    const IDispatchPtr document = session.openPart(partOfAllKinds(), "all");
    Array min;
    Array max;
    ASSERT_EQ(
        method(item(edgesOf(bodyOf(document, kArch)), 1), 133, {reference(min), reference(max)})
            .code,
        S_OK);
    EXPECT_NEAR(min.doubles()[0], -0.1, 1e-15);
    EXPECT_NEAR(max.doubles()[0], 0.1, 1e-15);
    EXPECT_NEAR(min.doubles()[2], 0.0, 1e-15);
    EXPECT_NEAR(max.doubles()[2], 0.1, 1e-15);
}

TEST_F(standin_Edge, NumbersThatAreNotFiniteAreRefused)
{
    const IDispatchPtr document = openBody(session, plainBox());
    double length = 7.0;
    const Outcome outcome =
        method(edgeOf(document, 1), 268,
               {value(0.0), value(std::numeric_limits<double>::infinity()), reference(length)});
    EXPECT_EQ(outcome.failure(), E_INVALIDARG);
    EXPECT_NE(outcome.description.find("ToParam"), std::string::npos) << outcome.description;
    EXPECT_EQ(length, 7.0);
}

} // namespace
