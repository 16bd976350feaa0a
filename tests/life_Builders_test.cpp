//! What queries and builders come to on the stand-in host: geometry, not calls.

#include "ktmdl/ktmdl.h"
#include "ktmdl/ktmdl_BldBBox.h"
#include "ktmdl/ktmdl_BldRectangularProfile.h"
#include "ktmdl/ktmdl_BldReference.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_Debug.h"
#include "standin/Session.h"
#include "support/AssemblyObjects.h"
#include "support/CensusGuard.h"
#include "support/HostDrawing.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using namespace support; // NOLINT(google-build-using-namespace): the helpers of these tests
using ktmdl_host::AssemblyDocumentPtr;
using ktmdl_host::OccurrencePtr;
using standin::ContainerKind;
using standin::ProfileView;
using standin::RelationKind;

//! A test with a host and a log of its own; nothing may be left behind.
class Builders : public HostTest
{
protected:
    Builders() { ktstd_Debug::SetLogPath(logPath().c_str()); }
    ~Builders() override { ktstd_Debug::SetLogPath(""); }

    [[nodiscard]] std::string logPath() const { return folder.File("log"); }
    [[nodiscard]] std::string logText() const
    {
        std::ifstream file(std::filesystem::u8path(logPath()), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    kt_test::TempFolder folder;
    standin::Session host;
};

void expectBox(const ktmdl_BBox3d& box, const std::array<double, 6>& expected)
{
    std::array<double, 6> b{};
    box.Get(b[0], b[1], b[2], b[3], b[4], b[5]);
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_NEAR(b[i], expected[i], 1e-12) << "number " << i;
    }
}

// Rectangles

constexpr double kWidth = 0.06;
constexpr double kHeight = 0.04;

//! A rectangle as the host has it.
struct Drawn
{
    std::vector<std::size_t> sides;  //!< indices of the four lines that were drawn
    std::size_t projected{SIZE_MAX}; //!< index of the projected plane
};

Drawn sortLines(const ProfileView& profile)
{
    Drawn drawn;
    for (std::size_t i = 0; i < profile.lines.size(); ++i) {
        if (profile.lines[i].plane == standin::geom::kNone) {
            drawn.sides.push_back(i);
        } else {
            drawn.projected = i;
        }
    }
    return drawn;
}

void expectSides(const ProfileView& profile, double width, double height)
{
    const Drawn drawn = sortLines(profile);
    ASSERT_EQ(drawn.sides.size(), 4U);
    const double a = width / 2;
    const double b = height / 2;
    const double corners[5][2] = {{-a, -b}, {a, -b}, {a, b}, {-a, b}, {-a, -b}};
    for (std::size_t i = 0; i < 4; ++i) {
        const standin::SketchLine& line = profile.lines[drawn.sides[i]];
        EXPECT_NEAR(line.start.x, corners[i][0], 1e-9) << "side " << i;
        EXPECT_NEAR(line.start.y, corners[i][1], 1e-9) << "side " << i;
        EXPECT_NEAR(line.end.x, corners[i + 1][0], 1e-9) << "side " << i;
        EXPECT_NEAR(line.end.y, corners[i + 1][1], 1e-9) << "side " << i;
    }
}

//! Tells whether a profile has a relation of two key points, either way round.
bool hasRelation(const ProfileView& profile, RelationKind kind, std::size_t line, LONG keypoint,
                 std::size_t other, LONG otherKeypoint)
{
    for (const standin::SketchRelation& each : profile.relations) {
        if (each.kind == kind &&
            ((each.line == line && each.keypoint == keypoint && each.otherLine == other &&
              each.otherKeypoint == otherKeypoint) ||
             (each.line == other && each.keypoint == otherKeypoint && each.otherLine == line &&
              each.otherKeypoint == keypoint))) {
            return true;
        }
    }
    return false;
}

bool hasRelation(const ProfileView& profile, RelationKind kind, std::size_t line)
{
    for (const standin::SketchRelation& each : profile.relations) {
        if (each.kind == kind && each.line == line) {
            return true;
        }
    }
    return false;
}

void expectCorners(const ProfileView& profile)
{
    const Drawn drawn = sortLines(profile);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_TRUE(hasRelation(profile, RelationKind::keypoint, drawn.sides[i], 1,
                                drawn.sides[(i + 1) % 4], 0))
            << "corner behind side " << i;
    }
}

void expectConstrained(const ProfileView& profile, std::size_t plane)
{
    expectSides(profile, kWidth, kHeight);
    expectCorners(profile);
    const Drawn drawn = sortLines(profile);
    ASSERT_LT(drawn.projected, profile.lines.size());
    EXPECT_EQ(profile.lines[drawn.projected].plane, plane);
    EXPECT_EQ(profile.relations.size(), 10U);
    EXPECT_TRUE(hasRelation(profile, RelationKind::horizontal, drawn.sides[0]));
    EXPECT_TRUE(hasRelation(profile, RelationKind::horizontal, drawn.sides[2]));
    EXPECT_TRUE(hasRelation(profile, RelationKind::vertical, drawn.sides[1]));
    EXPECT_TRUE(hasRelation(profile, RelationKind::vertical, drawn.sides[3]));
    EXPECT_TRUE(
        hasRelation(profile, RelationKind::verticalAlign, drawn.sides[0], 2, drawn.projected, 2));
    EXPECT_TRUE(
        hasRelation(profile, RelationKind::horizontalAlign, drawn.sides[1], 2, drawn.projected, 2));
    ASSERT_EQ(profile.dimensions.size(), 2U);
    const double sizes[2] = {kWidth, kHeight};
    for (std::size_t i = 0; i < 2; ++i) {
        const standin::LengthView& length = profile.dimensions[i];
        EXPECT_EQ(length.line, drawn.sides[i]);
        EXPECT_DOUBLE_EQ(length.value, sizes[i]);
        EXPECT_TRUE(length.driving);
        EXPECT_TRUE(length.projectionLineDirection);
        EXPECT_DOUBLE_EQ(length.trackDistance, 0.015);
    }
}

class Rectangle : public Builders
{
};

TEST_F(Rectangle, IsDrawnOnEveryDefaultPlaneOfAPart)
{
    for (const bool inSet : {false, true}) {
        for (LONG plane = 1; plane <= 3; ++plane) {
            SCOPED_TRACE("plane " + std::to_string(plane) + (inSet ? " set" : " sketch"));
            const std::string name =
                "part" + std::to_string(plane) + (inSet ? "set" : "sketch") + ".par";
            const IDispatchPtr part = openBody(host, plainBox(), name);
            ktmdl_BldRectangularProfile builder(kWidth, kHeight, planeOf(part, plane), part, 1,
                                                inSet ? 1 : 0, 1);
            EXPECT_EQ(builder.Compute(), 0) << logText();
            const std::vector<ProfileView> profiles = host.profiles(part);
            ASSERT_EQ(profiles.size(), 1U);
            EXPECT_EQ(profiles[0].container,
                      inSet ? ContainerKind::profileSet : ContainerKind::sketch);
            EXPECT_EQ(profiles[0].planeNumber, plane);
            EXPECT_TRUE(profiles[0].finished);
            // The plane behind the one drawn on, in the cycle 1, 2, 3; counted from 0 here.
            expectConstrained(profiles[0], static_cast<std::size_t>(plane % 3));
            EXPECT_NE(builder.Profile().GetInterfacePtr(), nullptr);
            EXPECT_EQ(builder.Sketch().GetInterfacePtr() != nullptr, !inSet);
            EXPECT_EQ(builder.ProfileSet().GetInterfacePtr() != nullptr, inSet);
            EXPECT_EQ(builder.Layout().GetInterfacePtr(), nullptr);
            EXPECT_DOUBLE_EQ(get(builder.DimPtrI(0), 0).real(), kWidth);
            EXPECT_DOUBLE_EQ(get(builder.DimPtrI(1), 0).real(), kHeight);
        }
    }
    EXPECT_EQ(logText(), "");
}

TEST_F(Rectangle, IsDrawnInALayoutOfAnAssembly)
{
    const IDispatchPtr assembly = host.openAssembly(viceModel(), "vice.asm");
    for (LONG plane = 1; plane <= 3; ++plane) {
        const IDispatchPtr planes = need(get(assembly, 24578));
        ktmdl_BldRectangularProfile builder(kWidth, kHeight, item(planes, plane), assembly, 1, 0,
                                            1);
        EXPECT_EQ(builder.Compute(), 0) << logText();
        const std::vector<ProfileView> profiles = host.profiles(assembly);
        ASSERT_EQ(profiles.size(), static_cast<std::size_t>(plane));
        EXPECT_EQ(profiles.back().container, ContainerKind::layout);
        EXPECT_EQ(profiles.back().planeNumber, plane);
        expectConstrained(profiles.back(), static_cast<std::size_t>(plane % 3));
        EXPECT_NE(builder.Layout().GetInterfacePtr(), nullptr);
        EXPECT_EQ(builder.Sketch().GetInterfacePtr(), nullptr);
    }
    EXPECT_EQ(logText(), "");
}

TEST_F(Rectangle, PlainOneIsFourJoinedLines)
{
    const IDispatchPtr part = openBody(host, plainBox());
    ktmdl_BldRectangularProfile builder(kWidth, kHeight, planeOf(part, 2), part, 0, 0, 0);
    EXPECT_EQ(builder.Compute(), 0);
    const std::vector<ProfileView> profiles = host.profiles(part);
    ASSERT_EQ(profiles.size(), 1U);
    expectSides(profiles[0], kWidth, kHeight);
    expectCorners(profiles[0]);
    EXPECT_EQ(profiles[0].lines.size(), 4U);
    EXPECT_EQ(profiles[0].relations.size(), 4U);
    EXPECT_TRUE(profiles[0].dimensions.empty());
    EXPECT_FALSE(profiles[0].finished);
    EXPECT_EQ(builder.DimPtrI(0).GetInterfacePtr(), nullptr);
}

TEST_F(Rectangle, FollowsItsDrivingDimensions)
{
    const IDispatchPtr part = openBody(host, plainBox());
    ktmdl_BldRectangularProfile builder(kWidth, kHeight, planeOf(part, 1), part, 1, 0, 1);
    ASSERT_EQ(builder.Compute(), 0) << logText();
    ASSERT_TRUE(put(builder.DimPtrI(0), 0, value(0.1)).ok());
    ASSERT_TRUE(put(builder.DimPtrI(1), 0, value(0.02)).ok());
    expectSides(host.profiles(part).at(0), 0.1, 0.02);
}

TEST_F(Rectangle, PlaneParallelToADefaultPlaneIsTiedToTheNextOne)
{
    const IDispatchPtr part = openBody(host, plainBox());
    standin::RefPlaneSpec above;
    above.root = {0.0, 0.0, 0.1};
    const LONG number = host.addRefPlane(part, above);
    ktmdl_BldRectangularProfile builder(kWidth, kHeight, planeOf(part, number), part, 1, 0, 1);
    EXPECT_EQ(builder.Compute(), 0) << logText();
    expectConstrained(host.profiles(part).at(0), 1);
}

TEST_F(Rectangle, ReversedPlaneIsRefusedAndTheLinesStay)
{
    const IDispatchPtr part = openBody(host, plainBox());
    standin::RefPlaneSpec below;
    below.normal = {0.0, 0.0, -1.0};
    const LONG number = host.addRefPlane(part, below);
    ktmdl_BldRectangularProfile builder(kWidth, kHeight, planeOf(part, number), part, 1, 0, 1);
    EXPECT_EQ(builder.Compute(), -1);
    EXPECT_EQ(builder.Profile().GetInterfacePtr(), nullptr);
    const std::vector<ProfileView> profiles = host.profiles(part);
    ASSERT_EQ(profiles.size(), 1U);
    EXPECT_EQ(profiles[0].lines.size(), 4U);
    EXPECT_EQ(logText(), "");
}

TEST_F(Rectangle, PlaneOfAnotherDocumentEndsInAnError)
{
    const IDispatchPtr part = openBody(host, plainBox(), "one.par");
    const IDispatchPtr other = openBody(host, plainBox(), "other.par");
    ktmdl_BldRectangularProfile builder(kWidth, kHeight, planeOf(other, 1), part, 0, 0, 0);
    EXPECT_EQ(builder.Compute(), 1);
    EXPECT_NE(logText().find("{ktmdl_BldRectangularProfile::Compute}"), std::string::npos);
    EXPECT_TRUE(host.profiles(part).empty());
}

TEST_F(Rectangle, TakesSoManyHostCalls)
{
    const IDispatchPtr part = openBody(host, plainBox());
    const IDispatchPtr plane = planeOf(part, 1);
    struct Case
    {
        unsigned char constrain;
        unsigned char validate;
        long invokes;
    };
    // The container and its profile take 6 calls, lines 5, corners 5. Constraining takes the
    // normals of two planes at 2 each, 1 collection and 2 items, 1 projection, 7 for relations, 1
    // collection and 2 dimensions, 8 properties. Validating takes 1.
    for (const Case& each : {Case{0, 0, 16}, Case{0, 1, 17}, Case{1, 1, 43}}) {
        host.journal().clear();
        ktmdl_BldRectangularProfile builder(kWidth, kHeight, plane, part, each.constrain, 0,
                                            each.validate);
        EXPECT_EQ(builder.Compute(), 0) << logText();
        EXPECT_EQ(host.journal().invokes(), each.invokes) << host.journal().text();
    }
}

// Boxes

class Boxes : public Builders
{
protected:
    [[nodiscard]] static ktmdl_BBox3d boxOf(const IDispatchPtr& object, long status = 0,
                                            unsigned char constructions = 0)
    {
        ktmdl_BldBBox builder(object, constructions);
        EXPECT_EQ(builder.Compute(), status);
        return builder.BBox();
    }
};

TEST_F(Boxes, PartIsMeasuredExactly)
{
    expectBox(boxOf(openBody(host, plainBox(), "box.par")), {0, 0, 0, 0.1, 0.2, 0.3});
    const standin::geom::Frame tilted =
        standin::geom::makeFrame({0.1, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0});
    // A cylinder along x: its box is exact although its faces are round.
    expectBox(boxOf(openBody(host, standin::makeCylinder(tilted, 0.02, 0.3), "pin.par")),
              {0.1, -0.02, -0.02, 0.4, 0.02, 0.02});
}

TEST_F(Boxes, ConstructionsCountWhenAskedForUnlessTheyAreCopiesOrOpen)
{
    const IDispatchPtr part = openBody(host, plainBox());
    standin::ConstructionSpec plain;
    plain.body = standin::makeBox({-1, 0, 0}, {0, 1, 1});
    plain.features = {{}, {standin::FeatureKind::stitched, 0}};
    host.addConstruction(part, plain);
    standin::ConstructionSpec copy;
    copy.body = standin::makeBox({-9, -9, -9}, {9, 9, 9});
    copy.features = {{}, {standin::FeatureKind::interpart, 0}};
    host.addConstruction(part, copy);
    standin::ConstructionSpec open;
    open.body = standin::makeBox({-8, -8, -8}, {8, 8, 8});
    open.body.solid = false;
    host.addConstruction(part, open);
    standin::ConstructionSpec hidden;
    hidden.body = standin::makeBox({0, 0, -2}, {0.1, 0.1, 0});
    hidden.visible = false;
    host.addConstruction(part, hidden);
    expectBox(boxOf(part), {0, 0, 0, 0.1, 0.2, 0.3});
    expectBox(boxOf(part, 0, 1), {-1, 0, -2, 0.1, 1, 1});
    EXPECT_EQ(logText(), "");
}

TEST_F(Boxes, FeatureIsMeasuredByTheBodyOfItsConstruction)
{
    const IDispatchPtr part = openBody(host, plainBox());
    for (const standin::FeatureKind kind :
         {standin::FeatureKind::interpart, standin::FeatureKind::stitched,
          standin::FeatureKind::derivedCurve}) {
        standin::ConstructionSpec construction;
        const double size = 1.0 + static_cast<double>(static_cast<int>(kind));
        construction.body = standin::makeBox({0, 0, 0}, {size, 1, 1});
        construction.features = {{kind, 0}};
        const LONG number = host.addConstruction(part, construction);
        const IDispatchPtr model = item(need(get(part, 24686)), number);
        expectBox(boxOf(item(need(get(model, 30)), 1)), {0, 0, 0, size, 1, 1});
    }
}

TEST_F(Boxes, AssemblyIsTheUnionInEachDocumentsOwnCoordinates)
{
    // base 0.1 x 0.2 x 0.3, jaw 0.4 x 0.5 x 0.6, bolts of radius 0.01: nothing is shifted.
    expectBox(boxOf(host.openAssembly(viceModel(), "vice.asm")), {-0.01, -0.01, 0, 0.4, 0.5, 0.6});
    EXPECT_EQ(logText(), "");
}

TEST_F(Boxes, OccurrenceThatFailsIsLeftOut)
{
    standin::geom::Model model;
    std::vector<standin::geom::Occurrence> uses;
    for (int i = 1; i <= 3; ++i) {
        const double corner = i;
        const auto part =
            standin::addPart(model, "part" + std::to_string(i),
                             {standin::makeBox({corner, corner, corner}, {9, 9, 9 + corner})});
        uses.push_back(standin::use(part, "part" + std::to_string(i)));
    }
    standin::addAssembly(model, "assembly", uses);
    const std::array<double, 6> expected[3] = {
        {0, 0, 0, 9, 9, 12}, // the origin, as the first one starts no box
        {1, 1, 1, 9, 9, 12},
        {1, 1, 1, 9, 9, 11}};
    for (LONG lost = 1; lost <= 3; ++lost) {
        SCOPED_TRACE(lost);
        const IDispatchPtr assembly =
            host.openAssembly(model, "assembly" + std::to_string(lost) + ".asm");
        host.setType(documentOf(occurrenceOf(assembly, lost)), 4);
        expectBox(boxOf(assembly), expected[lost - 1]);
    }
    EXPECT_EQ(logText(), "") << "a document of another kind is passed over in silence";
}

TEST_F(Boxes, OccurrenceWithoutItsDocumentIsLeftOutOrEndsTheMeasuring)
{
    const IDispatchPtr null = host.openAssembly(viceModel(), "null.asm");
    host.loseDocument(occurrenceOf(null, 1), S_OK);
    expectBox(boxOf(null), {-0.01, -0.01, 0, 0.4, 0.5, 0.6});
    EXPECT_NE(logText().find("pointer aIDP is NULL"), std::string::npos);

    const IDispatchPtr failing = host.openAssembly(viceModel(), "failing.asm");
    host.loseDocument(occurrenceOf(failing, 2), E_FAIL);
    expectBox(boxOf(failing, 1), {0, 0, 0, 0.1, 0.2, 0.3});
}

TEST_F(Boxes, AssemblyOf100OccurrencesTakesSoManyHostCalls)
{
    standin::geom::Model model;
    const auto part = standin::addPart(model, "part", {plainBox()});
    std::vector<standin::geom::Occurrence> uses;
    for (int i = 0; i < 100; ++i) {
        uses.push_back(standin::use(part, "part" + std::to_string(i)));
    }
    standin::addAssembly(model, "assembly", uses);
    const IDispatchPtr assembly = host.openAssembly(model, "assembly.asm");
    host.journal().clear();
    expectBox(boxOf(assembly), {0, 0, 0, 0.1, 0.2, 0.3});
    // "Type", the collection and its count; for each occurrence the item, its document, "Type",
    // models, model, body and range.
    EXPECT_EQ(host.journal().invokes(), 3 + 100 * 7);
}

// References

class References : public Builders
{
protected:
    //! Gives an occurrence by its numbers from the top down.
    static IDispatchPtr occurrenceAt(const IDispatchPtr& assembly, const std::vector<LONG>& path)
    {
        IDispatchPtr document = assembly;
        IDispatchPtr occurrence;
        for (const LONG number : path) {
            if (occurrence.GetInterfacePtr() != nullptr) {
                document = documentOf(occurrence);
            }
            occurrence = occurrenceOf(document, number);
        }
        return occurrence;
    }
    //! Gives the names of the occurrences that a reference leads through, and what is at its end.
    static std::vector<std::string> chainOf(const IDispatchPtr& reference, IDispatchPtr& end)
    {
        const OccurrencePath path = pathOf(reference);
        std::vector<std::string> names = {nameOf(path.top)};
        for (const IDispatchPtr& occurrence : path.occurrences) {
            names.push_back(nameOf(occurrence));
        }
        end = get(reference, 4).object();
        return names;
    }
    //! A chain of assemblies, each inside the next, four levels above a part.
    static standin::geom::Model deepModel()
    {
        standin::geom::Model model;
        std::size_t inner = standin::addPart(model, "part", {plainBox()});
        std::string name = "part";
        for (int level = 3; level >= 0; --level) {
            const std::string around = "level" + std::to_string(level);
            inner = standin::addAssembly(model, around, {standin::use(inner, name)});
            name = around;
        }
        return model;
    }
};

TEST_F(References, DirectChildIsItsOwnReference)
{
    const IDispatchPtr assembly = host.openAssembly(viceModel(), "vice.asm");
    const IDispatchPtr base = occurrenceOf(assembly, 1);
    ktmdl_BldReference builder(AssemblyDocumentPtr(assembly), OccurrencePtr(base), IDispatchPtr(),
                               1);
    EXPECT_EQ(builder.Compute(), 0) << logText();
    EXPECT_EQ(builder.Reference().GetInterfacePtr(), base.GetInterfacePtr());
}

TEST_F(References, FaceOfADirectChildIsReferredToThroughIt)
{
    const IDispatchPtr assembly = host.openAssembly(viceModel(), "vice.asm");
    const IDispatchPtr base = occurrenceOf(assembly, 1);
    const IDispatchPtr face = faceOf(documentOf(base), 3);
    ktmdl_BldReference builder(AssemblyDocumentPtr(assembly), OccurrencePtr(base), face, 1);
    ASSERT_EQ(builder.Compute(), 0) << logText();
    IDispatchPtr end;
    EXPECT_EQ(chainOf(builder.Reference(), end), (std::vector<std::string>{"base"}));
    EXPECT_EQ(end.GetInterfacePtr(), face.GetInterfacePtr());
}

TEST_F(References, ChainLeadsDownToTheObjectAtEveryDepth)
{
    const IDispatchPtr assembly = host.openAssembly(deepModel(), "deep.asm");
    for (std::size_t depth = 1; depth <= 4; ++depth) {
        SCOPED_TRACE(depth);
        const std::vector<LONG> path(depth, 1);
        const IDispatchPtr target = occurrenceAt(assembly, path);
        const IDispatchPtr document = documentOf(target);
        const IDispatchPtr inside =
            depth == 4 ? faceOf(document, 1) : item(support::need(get(document, 24578)), 1);
        ktmdl_BldReference builder(AssemblyDocumentPtr(assembly), OccurrencePtr(target), inside, 1);
        ASSERT_EQ(builder.Compute(), 0) << logText();
        std::vector<std::string> expected;
        for (std::size_t level = 1; level < depth; ++level) {
            expected.push_back("level" + std::to_string(level));
        }
        expected.push_back(depth == 4 ? "part" : "level" + std::to_string(depth));
        IDispatchPtr end;
        EXPECT_EQ(chainOf(builder.Reference(), end), expected);
        EXPECT_EQ(end.GetInterfacePtr(), inside.GetInterfacePtr());
    }
    EXPECT_EQ(logText(), "");
}

TEST_F(References, OccurrenceItselfIsReferredToAtEveryDepth)
{
    const IDispatchPtr assembly = host.openAssembly(deepModel(), "deep.asm");
    const IDispatchPtr target = occurrenceAt(assembly, {1, 1, 1, 1});
    ktmdl_BldReference builder(AssemblyDocumentPtr(assembly), OccurrencePtr(target), IDispatchPtr(),
                               1);
    ASSERT_EQ(builder.Compute(), 0) << logText();
    IDispatchPtr end;
    EXPECT_EQ(chainOf(builder.Reference(), end),
              (std::vector<std::string>{"level1", "level2", "level3", "part"}));
}

TEST_F(References, LevelAboveOnePassesOverTheFirstPlaces)
{
    // The clamp stands twice, so its jaw is met twice.
    const IDispatchPtr assembly = host.openAssembly(viceModel(), "vice.asm");
    const IDispatchPtr jaw = occurrenceAt(assembly, {2, 1});
    const IDispatchPtr face = faceOf(documentOf(jaw), 1);
    const char* const clamps[2] = {"front clamp", "side clamp"};
    for (long level = 1; level <= 2; ++level) {
        ktmdl_BldReference builder(AssemblyDocumentPtr(assembly), OccurrencePtr(jaw), face, level);
        ASSERT_EQ(builder.Compute(), 0) << logText();
        IDispatchPtr end;
        EXPECT_EQ(chainOf(builder.Reference(), end),
                  (std::vector<std::string>{clamps[level - 1], "jaw"}));
    }
}

TEST_F(References, OccurrenceOfAnotherAssemblyIsNotFound)
{
    const IDispatchPtr assembly = host.openAssembly(viceModel(), "vice.asm");
    const IDispatchPtr other = host.openAssembly(deepModel(), "deep.asm");
    ktmdl_BldReference builder(AssemblyDocumentPtr(assembly), OccurrencePtr(occurrenceOf(other, 1)),
                               IDispatchPtr(), 1);
    EXPECT_EQ(builder.Compute(), -2);
    EXPECT_EQ(builder.Reference().GetInterfacePtr(), nullptr);
    EXPECT_EQ(logText(), "");
}

TEST_F(References, ObjectOfAnotherDocumentIsRefusedByTheHost)
{
    const IDispatchPtr assembly = host.openAssembly(viceModel(), "vice.asm");
    const IDispatchPtr part = openBody(host, plainBox());
    ktmdl_BldReference builder(AssemblyDocumentPtr(assembly),
                               OccurrencePtr(occurrenceOf(assembly, 1)), faceOf(part, 1), 1);
    EXPECT_EQ(builder.Compute(), 1);
    EXPECT_EQ(builder.Reference().GetInterfacePtr(), nullptr);
    EXPECT_NE(logText().find("{ktmdl_BldReference::CreateRef}"), std::string::npos);
}

TEST_F(References, Depth4TakesSoManyHostCalls)
{
    const IDispatchPtr assembly = host.openAssembly(deepModel(), "deep.asm");
    const IDispatchPtr target = occurrenceAt(assembly, {1, 1, 1, 1});
    const IDispatchPtr face = faceOf(documentOf(target), 1);
    host.journal().clear();
    ktmdl_BldReference builder(AssemblyDocumentPtr(assembly), OccurrencePtr(target), face, 1);
    ASSERT_EQ(builder.Compute(), 0) << logText();
    // The top's collection once beforehand. On each of 4 levels "Type", the collection, its count,
    // one item and one reference; on the 3 lower ones the document; on the 3 upper ones whether the
    // occurrence is a subassembly.
    EXPECT_EQ(host.journal().invokes(), 1 + 4 * 5 + 3 + 3);
}

// Queries

class Queries : public Builders
{
protected:
    Queries() : part(openBody(host, plainBox()))
    {
        add("width", "V1", standin::DimensionKind::linear, 0.1);
        add("angle", "V2", standin::DimensionKind::angular, 0.5);
        add("twin", "V3", standin::DimensionKind::linear, 0.2);
        add("twin", "V4", standin::DimensionKind::linear, 0.3);
        standin::VariableSpec variable;
        variable.name = "pressure";
        variable.systemName = "V5";
        variable.formula = "width * 2";
        host.addVariable(part, variable);
    }

    void add(const char* name, const char* systemName, standin::DimensionKind kind, double value)
    {
        standin::DimensionSpec dimension;
        dimension.name = name;
        dimension.systemName = systemName;
        dimension.kind = kind;
        dimension.value = value;
        host.addDimension(part, dimension);
    }
    static double valueOf(const IDispatchPtr& dimension) { return get(need(dimension), 0).real(); }
    static IDispatchPtr need(const IDispatchPtr& object)
    {
        if (object.GetInterfacePtr() == nullptr) {
            throw std::runtime_error("no dimension was found");
        }
        return object;
    }

    IDispatchPtr part;
};

TEST_F(Queries, DimensionIsFoundByItsNameAndByItsSystemName)
{
    EXPECT_DOUBLE_EQ(valueOf(ktmdl::GetDimVarFromName(part, "width")), 0.1);
    EXPECT_DOUBLE_EQ(valueOf(ktmdl::GetDimVarFromName(part, "angle")), 0.5);
    EXPECT_DOUBLE_EQ(valueOf(ktmdl::GetDimVarFromSystemName(part, "V3")), 0.2);
    EXPECT_DOUBLE_EQ(valueOf(ktmdl::GetDimVarFromSystemName(part, "V4")), 0.3);
    EXPECT_EQ(logText(), "");
}

TEST_F(Queries, NameOfSeveralOrOfNoneOrOfAPlainVariableFindsNothing)
{
    EXPECT_EQ(ktmdl::GetDimVarFromName(part, "twin").GetInterfacePtr(), nullptr);
    EXPECT_EQ(ktmdl::GetDimVarFromName(part, "nobody").GetInterfacePtr(), nullptr);
    EXPECT_EQ(logText(), "");
    EXPECT_EQ(ktmdl::GetDimVarFromName(part, "pressure").GetInterfacePtr(), nullptr);
    EXPECT_NE(logText().find("pointer pDim is NULL"), std::string::npos);
}

TEST_F(Queries, SystemNameIsOfDimensionsAloneAndToTheLetter)
{
    EXPECT_EQ(ktmdl::GetDimVarFromSystemName(part, "V5").GetInterfacePtr(), nullptr);
    EXPECT_EQ(ktmdl::GetDimVarFromSystemName(part, "v1").GetInterfacePtr(), nullptr);
    EXPECT_EQ(ktmdl::GetDimVarFromSystemName(part, "width").GetInterfacePtr(), nullptr);
    EXPECT_EQ(logText(), "");
}

TEST_F(Queries, AssemblyIsNoPart)
{
    const IDispatchPtr assembly = host.openAssembly(viceModel(), "vice.asm");
    EXPECT_EQ(ktmdl::GetDimVarFromName(assembly, "width").GetInterfacePtr(), nullptr);
    EXPECT_NE(logText().find("pointer pPartDoc is NULL"), std::string::npos);
}

TEST_F(Queries, FaceIsMeasuredInTheMiddle)
{
    // Faces of a box in the order -x, +x, -y, +y, -z, +z.
    const double middles[6][3] = {{0, 0.1, 0.15},    {0.1, 0.1, 0.15}, {0.05, 0, 0.15},
                                  {0.05, 0.2, 0.15}, {0.05, 0.1, 0},   {0.05, 0.1, 0.3}};
    for (LONG number = 1; number <= 6; ++number) {
        SCOPED_TRACE(number);
        double normal[3] = {};
        double point[3] = {};
        ASSERT_EQ(ktmdl::GetFaceInfo(faceOf(part, number), normal, point), 0);
        const int axis = (number - 1) / 2;
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(normal[i], i == axis ? (number % 2 == 0 ? 1.0 : -1.0) : 0.0, 1e-12);
            EXPECT_NEAR(point[i], middles[number - 1][i], 1e-12);
        }
    }
}

TEST_F(Queries, PlaneIsMeasuredByItselfAndThroughAReference)
{
    standin::RefPlaneSpec spec;
    spec.root = {0.1, 0.2, 0.3};
    spec.normal = {0.0, 0.6, 0.8};
    const IDispatchPtr assembly = host.openAssembly(viceModel(), "vice.asm");
    const IDispatchPtr base = occurrenceOf(assembly, 1);
    const IDispatchPtr document = documentOf(base);
    const IDispatchPtr plane = planeOf(document, host.addRefPlane(document, spec));
    const IDispatchPtr reference = support::need(createReference(assembly, base, plane));
    for (const IDispatchPtr& each : {plane, reference}) {
        double normal[3] = {};
        double root[3] = {};
        ASSERT_EQ(ktmdl::GetPlaneInfo(each, normal, root), 0) << logText();
        EXPECT_NEAR(normal[0], 0.0, 1e-12);
        EXPECT_NEAR(normal[1], 0.6, 1e-12);
        EXPECT_NEAR(normal[2], 0.8, 1e-12);
        EXPECT_NEAR(root[0], 0.1, 1e-12);
        EXPECT_NEAR(root[1], 0.2, 1e-12);
        EXPECT_NEAR(root[2], 0.3, 1e-12);
    }
    EXPECT_EQ(logText(), "");
}

} // namespace
