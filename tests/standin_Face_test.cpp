//! Answers of faces, held against closed forms and against each other on every kind of surface.

#include "support/CensusGuard.h"
#include "support/HostObjects.h"
#include "support/PartOfAllKinds.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace support;
using standin::geom::Vec;

struct Facets
{
    LONG count = -1;
    std::vector<double> points;
};

Facets facetsOf(const IDispatchPtr& face, double tolerance)
{
    Facets facets;
    Array points;
    const Outcome outcome = method(
        face, 47,
        {value(tolerance), reference(facets.count), reference(points), missing(), missing()});
    EXPECT_EQ(outcome.code, S_OK) << outcome.description;
    facets.points = points.doubles();
    return facets;
}

Vec vec(const std::vector<double>& values, std::size_t at = 0)
{
    return {values.at(at), values.at(at + 1), values.at(at + 2)};
}

std::vector<double> paramsAt(const IDispatchPtr& face, const Vec& point)
{
    Array points{point.x, point.y, point.z};
    Array guesses;
    Array deviations;
    Array params;
    Array flags(VT_I4, 0);
    const Outcome outcome =
        method(face, 234,
               {value(LONG{1}), reference(points), reference(guesses), reference(deviations),
                reference(params), reference(flags, VT_I4)});
    EXPECT_EQ(outcome.code, S_OK) << outcome.description;
    EXPECT_EQ(deviations.size(), 1u);
    EXPECT_EQ(flags.size(), 1u);
    EXPECT_EQ(params.size(), 2u);
    return params.doubles();
}

Vec normalAt(const IDispatchPtr& face, const std::vector<double>& param)
{
    Array params{param.at(0), param.at(1)};
    Array normals;
    const Outcome outcome =
        method(face, 229, {value(LONG{1}), reference(params), reference(normals)});
    EXPECT_EQ(outcome.code, S_OK) << outcome.description;
    EXPECT_EQ(normals.size(), 3u);
    return vec(normals.doubles());
}

Vec pointAt(const IDispatchPtr& face, const std::vector<double>& param)
{
    Array params{param.at(0), param.at(1)};
    Array points;
    const Outcome outcome =
        method(face, 233, {value(LONG{1}), reference(params), reference(points)});
    EXPECT_EQ(outcome.code, S_OK) << outcome.description;
    return vec(points.doubles());
}

void expectNear(const Vec& found, const Vec& wanted, double tolerance)
{
    EXPECT_NEAR(found.x, wanted.x, tolerance);
    EXPECT_NEAR(found.y, wanted.y, tolerance);
    EXPECT_NEAR(found.z, wanted.z, tolerance);
}

//! A face of PartOfAllKinds and what is known of it.
struct Known
{
    const char* name;
    LONG body;
    LONG face;
    double area; //!< square metres
    Vec min;     //!< box
    Vec max;
    double (*distance)(const Vec&);       //!< from a point to the surface
    Vec (*outward)(const Vec& onSurface); //!< not of unit length
};

double toAxis(const Vec& p, double x, double y)
{
    return std::hypot(p.x - x, p.y - y);
}

const Known kKnown[] = {
    {"plane with a hole",
     kBoxWithHole,
     6,
     0.1 * 0.2 - kPi * 0.02 * 0.02,
     {0.0, 0.0, 0.3},
     {0.1, 0.2, 0.3},
     [](const Vec& p) { return std::fabs(p.z - 0.3); },
     [](const Vec&) {
         return Vec{0.0, 0.0, 1.0};
     }},
    {"cylinder of a hole",
     kBoxWithHole,
     7,
     2.0 * kPi * 0.02 * 0.3,
     {0.03, 0.08, 0.0},
     {0.07, 0.12, 0.3},
     [](const Vec& p) { return std::fabs(toAxis(p, 0.05, 0.1) - 0.02); },
     [](const Vec& p) {
         return Vec{0.05 - p.x, 0.1 - p.y, 0.0};
     }},
    {"cone",
     kFrustum,
     1,
     kPi*(0.2 + 0.1) * std::sqrt(0.02),
     {-0.2, -0.2, 0.0},
     {0.2, 0.2, 0.1},
     [](const Vec& p) { return std::fabs(toAxis(p, 0.0, 0.0) + p.z - 0.2) / std::sqrt(2.0); },
     [](const Vec& p) {
         return Vec{p.x, p.y, toAxis(p, 0.0, 0.0)};
     }},
    {"sphere",
     kBall,
     1,
     4.0 * kPi * 0.09,
     {-0.3, -0.3, -0.3},
     {0.3, 0.3, 0.3},
     [](const Vec& p) { return std::fabs(standin::geom::length(p) - 0.3); },
     [](const Vec& p) { return p; }},
    {"torus",
     kRing,
     1,
     4.0 * kPi* kPi * 0.4 * 0.1,
     {-0.5, -0.5, -0.1},
     {0.5, 0.5, 0.1},
     [](const Vec& p) { return std::fabs(std::hypot(toAxis(p, 0.0, 0.0) - 0.4, p.z) - 0.1); },
     [](const Vec& p) {
         const double r = toAxis(p, 0.0, 0.0);
         return Vec{p.x * (1.0 - 0.4 / r), p.y * (1.0 - 0.4 / r), p.z};
     }},
    // The area of z = x y / 10 is that of its base and a share of (x^2 + y^2) / 200 more, less than
    // 1e-4 of it here.
    {"B-spline",
     kPatch,
     1,
     0.01,
     {0.0, 0.0, 0.0},
     {0.1, 0.1, 0.001},
     [](const Vec& p) { return std::fabs(p.z - 0.1 * p.x * p.y); },
     [](const Vec& p) {
         return Vec{-0.1 * p.y, -0.1 * p.x, 1.0};
     }},
    {"plane in an ellipse",
     kDisc,
     1,
     kPi * 0.2 * 0.1,
     {-0.2, -0.1, 0.0},
     {0.2, 0.1, 0.0},
     [](const Vec& p) { return std::fabs(p.z); },
     [](const Vec&) {
         return Vec{0.0, 0.0, 1.0};
     }},
    {"extrusion",
     kArch,
     1,
     kPi * 0.1 * 0.5,
     {-0.1, 0.0, 0.0},
     {0.1, 0.5, 0.1},
     [](const Vec& p) { return std::fabs(std::hypot(p.x, p.z) - 0.1); },
     [](const Vec& p) {
         return Vec{p.x, 0.0, p.z};
     }},
    {"revolution",
     kBowl,
     1,
     0.25 * kPi*(0.1 + 0.2) * std::sqrt(0.02),
     {0.0, 0.0, 0.0},
     {0.2, 0.2, 0.1},
     [](const Vec& p) { return std::fabs(toAxis(p, 0.0, 0.0) - p.z - 0.1) / std::sqrt(2.0); },
     [](const Vec& p) {
         return Vec{p.x, p.y, -toAxis(p, 0.0, 0.0)};
     }},
};

std::string nameOf(const testing::TestParamInfo<Known>& info)
{
    std::string name = info.param.name;
    for (char& c : name) {
        c = c == ' ' || c == '-' ? '_' : c;
    }
    return name;
}

class standin_FaceKind : public HostTest, public testing::WithParamInterface<Known>
{
protected:
    standin::Session session;
    IDispatchPtr document = session.openPart(partOfAllKinds(), "all");
    IDispatchPtr face = item(facesOf(bodyOf(document, GetParam().body)), GetParam().face);
};

INSTANTIATE_TEST_SUITE_P(All, standin_FaceKind, testing::ValuesIn(kKnown), nameOf);

TEST_P(standin_FaceKind, FacetsAreWhatTheCountSays)
{
    for (const double tolerance : {0.05, 0.005, 0.0005}) {
        const Facets facets = facetsOf(face, tolerance);
        EXPECT_GT(facets.count, 0);
        EXPECT_EQ(facets.points.size(), 9u * static_cast<std::size_t>(facets.count));
        EXPECT_EQ(get(face, 46, {value(tolerance)}).number(), facets.count);
    }
}

TEST_P(standin_FaceKind, FacetCornersLieOnTheSurface)
{
    const Facets facets = facetsOf(face, 0.001);
    for (std::size_t i = 0; i + 2 < facets.points.size(); i += 3) {
        ASSERT_LT(GetParam().distance(vec(facets.points, i)), 1e-9);
    }
}

TEST_P(standin_FaceKind, FacetsCoverTheFaceWithinTheTolerance)
{
    const double tolerance = 1e-4;
    const Facets facets = facetsOf(face, tolerance);
    double area = 0.0;
    for (std::size_t i = 0; i + 8 < facets.points.size(); i += 9) {
        const Vec a = vec(facets.points, i);
        const Vec b = vec(facets.points, i + 3);
        const Vec c = vec(facets.points, i + 6);
        area += 0.5 * standin::geom::length(standin::geom::cross(b - a, c - a));
        ASSERT_LT(GetParam().distance((a + b + c) * (1.0 / 3.0)), tolerance);
    }
    // A chord tolerance of 1e-4 on radii of at least 0.02 costs less than 1 % of the area: an arc
    // of half angle t has sagitta r t^2 / 2 and its chord is shorter by the share t^2 / 6.
    EXPECT_NEAR(area, GetParam().area, 0.01 * GetParam().area);
}

TEST_P(standin_FaceKind, FacetsTurnCounterClockwiseSeenFromOutside)
{
    const Facets facets = facetsOf(face, 0.001);
    for (std::size_t i = 0; i + 8 < facets.points.size(); i += 9) {
        const Vec a = vec(facets.points, i);
        const Vec b = vec(facets.points, i + 3);
        const Vec c = vec(facets.points, i + 6);
        const Vec turn = standin::geom::cross(b - a, c - a);
        const Vec outward = GetParam().outward((a + b + c) * (1.0 / 3.0));
        ASSERT_GE(standin::geom::dot(turn, outward), 0.0);
    }
}

TEST_P(standin_FaceKind, ParametersAtAPointLeadBackToIt)
{
    const Facets facets = facetsOf(face, 0.01);
    for (std::size_t i = 0; i + 2 < facets.points.size(); i += 3) {
        const Vec point = vec(facets.points, i);
        expectNear(pointAt(face, paramsAt(face, point)), point, 1e-9);
    }
}

TEST_P(standin_FaceKind, NormalsPointOutward)
{
    const Facets facets = facetsOf(face, 0.01);
    for (std::size_t i = 0; i + 2 < facets.points.size(); i += 3) {
        const Vec point = vec(facets.points, i);
        const Vec normal = normalAt(face, paramsAt(face, point));
        expectNear(normal, standin::geom::unit(GetParam().outward(point)), 1e-6);
        EXPECT_NEAR(standin::geom::length(normal), 1.0, 1e-12);
    }
}

TEST_P(standin_FaceKind, NormalsComeWithTheFacetsWhenAskedFor)
{
    LONG count = 0;
    Array points;
    _variant_t normals;
    _variant_t texture;
    ASSERT_EQ(method(face, 47,
                     {value(0.01), reference(count), reference(points), reference(normals),
                      reference(texture)})
                  .code,
              S_OK);
    ASSERT_EQ(V_VT(&normals), VT_ARRAY | VT_R8);
    ASSERT_EQ(V_VT(&texture), VT_ARRAY | VT_R8);
    LONG last = 0;
    SafeArrayGetUBound(V_ARRAY(&normals), 1, &last);
    EXPECT_EQ(static_cast<std::size_t>(last) + 1, points.size());
    SafeArrayGetUBound(V_ARRAY(&texture), 1, &last);
    EXPECT_EQ(3 * (static_cast<std::size_t>(last) + 1), 2 * points.size());
    LONG third = 0;
    double x = 0.0;
    SafeArrayGetElement(V_ARRAY(&normals), &third, &x);
    const Vec first = vec(points.doubles());
    EXPECT_NEAR(x, standin::geom::unit(GetParam().outward(first)).x, 1e-6);
}

TEST_P(standin_FaceKind, ExactRangeIsTheBox)
{
    Array min;
    Array max;
    ASSERT_EQ(method(face, 132, {reference(min), reference(max)}).code, S_OK);
    expectNear(vec(min.doubles()), GetParam().min, 1e-9);
    expectNear(vec(max.doubles()), GetParam().max, 1e-9);
}

TEST_P(standin_FaceKind, ParametersOfItsPointsLieInItsRange)
{
    Array from;
    Array to;
    ASSERT_EQ(method(face, 232, {reference(from), reference(to)}).code, S_OK);
    const std::vector<double> low = from.doubles();
    const std::vector<double> high = to.doubles();
    ASSERT_EQ(low.size(), 2u);
    ASSERT_EQ(high.size(), 2u);
    EXPECT_LT(low[0], high[0]);
    EXPECT_LT(low[1], high[1]);
    const Facets facets = facetsOf(face, 0.01);
    for (std::size_t i = 0; i + 2 < facets.points.size(); i += 3) {
        const std::vector<double> param = paramsAt(face, vec(facets.points, i));
        EXPECT_GE(param[0], low[0] - 1e-9);
        EXPECT_LE(param[0], high[0] + 1e-9);
        EXPECT_GE(param[1], low[1] - 1e-9);
        EXPECT_LE(param[1], high[1] + 1e-9);
    }
}

class standin_Face : public HostTest
{
protected:
    standin::Session session;
    IDispatchPtr document = openBody(session, plainBox());
    IDispatchPtr top = faceOf(document, 6);
};

TEST_F(standin_Face, DeviationIsTheDistanceFromTheSurface)
{
    Array points{0.05, 0.1, 0.3, 0.05, 0.1, 0.35};
    Array guesses;
    Array deviations;
    Array params;
    Array flags(VT_I4, 0);
    ASSERT_EQ(method(top, 234,
                     {value(LONG{2}), reference(points), reference(guesses), reference(deviations),
                      reference(params), reference(flags, VT_I4)})
                  .code,
              S_OK);
    ASSERT_EQ(deviations.size(), 2u);
    EXPECT_NEAR(deviations.doubles()[0], 0.0, 1e-12);
    EXPECT_NEAR(deviations.doubles()[1], 0.05, 1e-12);
    ASSERT_EQ(params.size(), 4u);
    EXPECT_NEAR(params.doubles()[0], params.doubles()[2], 1e-12);
    EXPECT_EQ(flags.elements<LONG>(), (std::vector<LONG>{0, 0}));
    EXPECT_EQ(guesses.get(), nullptr) << "guesses are the caller's";
}

TEST_F(standin_Face, AGuessSettlesWhatThePointDoesNot)
{
    standin::geom::Frame frame;
    const IDispatchPtr ball =
        item(facesOf(bodyOf(openBody(session, standin::makeSphere(frame, 1.0), "ball"))), 1);
    Array points{0.0, 0.0, 1.0};
    Array guesses{2.5, 1.0};
    Array deviations;
    Array params;
    Array flags(VT_I4, 0);
    ASSERT_EQ(method(ball, 234,
                     {value(LONG{1}), reference(points), reference(guesses), reference(deviations),
                      reference(params), reference(flags, VT_I4)})
                  .code,
              S_OK);
    EXPECT_NEAR(params.doubles()[0], 2.5, 1e-12);
    EXPECT_NEAR(params.doubles()[1], 0.5 * kPi, 1e-12);
}

TEST_F(standin_Face, SeveralPointsAreAnsweredAtOnce)
{
    Array from;
    Array to;
    ASSERT_EQ(method(top, 232, {reference(from), reference(to)}).code, S_OK);
    Array params{from.doubles()[0], from.doubles()[1], to.doubles()[0], to.doubles()[1]};
    Array points(VT_R8, 1);
    ASSERT_EQ(method(top, 233, {value(LONG{2}), reference(params), reference(points)}).code, S_OK);
    ASSERT_EQ(points.size(), 6u);
    EXPECT_NEAR(standin::geom::distance(vec(points.doubles()), vec(points.doubles(), 3)),
                std::hypot(0.1, 0.2), 1e-12);
    Array normals;
    ASSERT_EQ(method(top, 229, {value(LONG{2}), reference(params), reference(normals)}).code, S_OK);
    EXPECT_EQ(normals.doubles(), (std::vector<double>{0.0, 0.0, 1.0, 0.0, 0.0, 1.0}));
}

TEST_F(standin_Face, NumbersThatMakeNoSenseAreRefused)
{
    Array params{0.0, 0.0};
    Array points;
    for (const LONG count : {0, -1, 2, 1000001}) {
        EXPECT_EQ(method(top, 233, {value(count), reference(params), reference(points)}).failure(),
                  E_INVALIDARG)
            << count;
    }
    Array infinite{std::numeric_limits<double>::infinity(), 0.0};
    EXPECT_EQ(method(top, 233, {value(LONG{1}), reference(infinite), reference(points)}).failure(),
              E_INVALIDARG);
    LONG count = 0;
    EXPECT_EQ(method(top, 47,
                     {value(std::numeric_limits<double>::quiet_NaN()), reference(count),
                      reference(points)})
                  .failure(),
              E_INVALIDARG);
    EXPECT_EQ(points.get(), nullptr);
}

TEST_F(standin_Face, AToleranceOfZeroGivesTheFacetsOnDisplay)
{
    standin::geom::Frame frame;
    const IDispatchPtr side =
        item(facesOf(bodyOf(openBody(session, standin::makeCylinder(frame, 0.1, 0.2), "r"))), 1);
    EXPECT_GT(facetsOf(side, 0.0).count, 8);
    const Facets fine = facetsOf(side, 1e-5);
    EXPECT_EQ(facetsOf(side, 0.0).points, fine.points) << "those computed last";
    EXPECT_EQ(facetsOf(side, -1.0).points, fine.points);
    EXPECT_LT(facetsOf(side, 0.01).count, fine.count);
}

TEST_F(standin_Face, AFaceThatCanNotBeSplitHasNoFacets)
{
    standin::geom::Body body = plainBox();
    body.faces[0].loops[0].uses.resize(1); // an open loop of one line
    const IDispatchPtr broken = faceOf(openBody(session, body, "broken"), 1);
    const Facets facets = facetsOf(broken, 0.05);
    EXPECT_EQ(facets.count, 0);
    EXPECT_TRUE(facets.points.empty());
}

TEST_F(standin_Face, APlaneTellsItsPointAndNormal)
{
    const IDispatchPtr plane = need(get(top, 39));
    Array point;
    Array normal(VT_R8, 3);
    ASSERT_EQ(method(plane, 197, {reference(point)}).code, S_OK);
    ASSERT_EQ(method(plane, 195, {reference(normal)}).code, S_OK);
    EXPECT_EQ(point.doubles().at(2), 0.3);
    EXPECT_EQ(normal.doubles(), (std::vector<double>{0.0, 0.0, 1.0}));
}

TEST_F(standin_Face, TheBodysRangeIsTheSumOfItsFaces)
{
    const IDispatchPtr all = session.openPart(partOfAllKinds(), "all");
    const Vec wanted[] = {{0.5, 0.5, 0.1}, {0.3, 0.3, 0.3}};
    const LONG bodies[] = {kRing, kBall};
    for (int i = 0; i < 2; ++i) {
        for (const DISPID id : {58, 129}) {
            Array min;
            Array max;
            ASSERT_EQ(method(bodyOf(all, bodies[i]), id, {reference(min), reference(max)}).code,
                      S_OK);
            expectNear(vec(min.doubles()), -wanted[i], 1e-9);
            expectNear(vec(max.doubles()), wanted[i], 1e-9);
        }
    }
}

TEST_F(standin_Face, ABodyWithoutFacesHasNoRange)
{
    standin::geom::Body empty;
    empty.vertices.push_back({{1.0, 2.0, 3.0}, 0});
    const IDispatchPtr body = bodyOf(openBody(session, empty, "empty"));
    Array min;
    Array max;
    const Outcome outcome = method(body, 129, {reference(min), reference(max)});
    EXPECT_EQ(outcome.failure(), E_FAIL);
    EXPECT_FALSE(outcome.description.empty());
    EXPECT_EQ(countOf(facesOf(body)), 0);
}

} // namespace
