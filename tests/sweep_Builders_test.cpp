// Every fault of the host at every call of the builders.

#include "ktmdl/ktmdl_BldBBox.h"
#include "ktmdl/ktmdl_BldLoops.h"
#include "ktmdl/ktmdl_BldRectangularProfile.h"
#include "ktmdl/ktmdl_BldReference.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktmdl/ktmdl_Topo.h"
#include "support/AssemblyObjects.h"
#include "support/FaultSweep.h"
#include "support/HostDrawing.h"
#include "support/TopoScene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

namespace {

using standin::FaultKind;
using sweep::Flaws;
using sweep::Report;
using sweep::Where;

//! Checks that a builder that failed stays so and leaves the host alone.
template <class Builder>
void checkStays(Flaws& flaws, standin::Session& host, Builder& builder)
{
    const long status = builder.Status();
    const long calls = host.journal().calls();
    flaws.check(builder.Compute() == status, "computed anew");
    flaws.check(host.journal().calls() == calls, "the host was asked again");
}

// Boxes

using Box = std::array<double, 6>;
constexpr Box kNoBox{};

Box cube(double from, double to)
{
    return {from, from, from, to, to, to};
}

class BoxStage : public sweep::Stage
{
public:
    void run() override
    {
        builder.emplace(object, 1);
        status = builder->Compute();
    }
    std::string flaw() override
    {
        Flaws flaws;
        flaws.check(status == 0 && builder->Status() == 0, "status");
        flaws.check(box() == right, "box");
        return flaws.all();
    }

protected:
    [[nodiscard]] Box box() const { return cornersOf(builder->BBox()); }
    //! Checks a failure that ended the builder, and that the box is one of those on the way.
    [[nodiscard]] std::string failed(const std::vector<Box>& boxes)
    {
        Flaws flaws;
        flaws.check(status == 1 && builder->Status() == 1, "status");
        flaws.check(std::find(boxes.begin(), boxes.end(), box()) != boxes.end(), "box");
        checkStays(flaws, host, *builder);
        return flaws.all();
    }

    IDispatchPtr object;
    Box right{};
    std::optional<ktmdl_BldBBox> builder;
    long status = 7;
};

//! A part with constructions: one that counts, a copy of another part, and one that is no solid.
class PartBoxStage : public BoxStage
{
public:
    PartBoxStage()
    {
        object = sweep::openAt(host, Where::part);
        add(standin::makeBox({-1, 0, 0}, {0, 1, 1}), standin::FeatureKind::stitched);
        add(standin::makeBox({-2, -2, -2}, {2, 2, 2}), standin::FeatureKind::interpart);
        standin::geom::Body open = standin::makeBox({-3, -3, -3}, {3, 3, 3});
        open.solid = false;
        add(open, standin::FeatureKind::plain);
        right = {-1, 0, 0, 0.1, 1, 1};
    }
    std::string damage(const Report& report) override
    {
        if (!report.reported) {
            // A copy that does not say so counts as any construction.
            return status == 0 && box() == cube(-2, 2) ? "" : "status or box";
        }
        return failed({kNoBox, {0, 0, 0, 0.1, 0.2, 0.3}, right});
    }

private:
    void add(const standin::geom::Body& body, standin::FeatureKind kind)
    {
        standin::ConstructionSpec construction;
        construction.body = body;
        construction.features = {{}, {kind, 0}};
        host.addConstruction(object, construction);
    }
};

class FeatureBoxStage : public BoxStage
{
public:
    FeatureBoxStage()
    {
        const IDispatchPtr part = sweep::openAt(host, Where::nested);
        standin::ConstructionSpec construction;
        construction.body = standin::makeBox({1, 1, 1}, {2, 2, 2});
        construction.features = {{standin::FeatureKind::stitched, 0}};
        host.addConstruction(part, construction);
        const IDispatchPtr model = support::item(support::need(support::get(part, 24686)), 1);
        object = support::item(support::need(support::get(model, 30)), 1);
        right = cube(1, 2);
    }
    std::string damage(const Report& /*report*/) override { return failed({kNoBox}); }
};

//! An assembly of a part, an assembly of two parts, and a part.
class AssemblyBoxStage : public BoxStage
{
public:
    AssemblyBoxStage()
    {
        standin::geom::Model model;
        const auto part = [&model](const std::string& name, double from) {
            return standin::use(
                standin::addPart(
                    model, name,
                    {standin::makeBox({from, from, from}, {from + 1, from + 1, from + 1})}),
                name);
        };
        const auto first = part("first", 10);
        const auto left = part("left", 20);
        const auto other = part("right", 30);
        const auto inner = standin::addAssembly(model, "inner", {left, other});
        const auto last = part("last", 12);
        standin::addAssembly(model, "outer", {first, standin::use(inner, "inner"), last});
        object = host.openAssembly(model, "C:\\jobs\\outer.asm");
        right = cube(10, 31);
    }
    std::string damage(const Report& /*report*/) override
    {
        if (status != 0) {
            return failed({kNoBox, cube(10, 11), right});
        }
        // One is left out. Where it was the first, what is left is added to the origin.
        const std::vector<Box> boxes = {right, cube(0, 31), cube(10, 13), cube(10, 21)};
        return std::find(boxes.begin(), boxes.end(), box()) != boxes.end() ? "" : "box";
    }
};

// Loops

//! Edges of a body in some order.
class LoopsStage : public sweep::Stage
{
public:
    //! @param isBolt  a bolt's edges, two of them closed; else those of the faces of a box
    explicit LoopsStage(bool isBolt)
    {
        const IDispatchPtr part = sweep::openAt(host, isBolt ? Where::nested : Where::part);
        if (isBolt) {
            const IDispatchPtr bolt = host.document("C:\\jobs\\vice.asm!bolt");
            add(support::edgesOf(support::bodyOf(bolt)));
            rightLoops = 2;
            rightLeft = 1; // the seam
        } else {
            add(support::need(
                support::get(support::faceOf(part, 1), 38, {support::value(LONG{1})})));
            add(support::need(
                support::get(support::faceOf(part, 2), 38, {support::value(LONG{1})})));
            rightLoops = 2;
        }
        std::reverse(edges.begin(), edges.end());
    }
    void run() override
    {
        input = listOf(edges);
        builder.emplace(input);
        status = 7;
        status = builder->Compute();
    }
    std::string flaw() override
    {
        Flaws flaws;
        flaws.check(status == 0 && builder->Status() == 0, "status");
        flaws.check(builder->Loops().IsNull() == 0 && builder->Loops()->Length() == rightLoops,
                    "number of loops");
        flaws.check(input->Length() == rightLeft, "number of edges left");
        flaws.check(count() == edges.size(), "edges are lost or doubled");
        return flaws.all();
    }
    std::string damage(const Report& report) override
    {
        Flaws flaws;
        if (report.raised) {
            flaws.check(status == 7 && builder->Status() == -1, "status");
            flaws.check(count() <= edges.size(), "edges are doubled");
            checkStays(flaws, host, *builder);
        } else {
            // A closed edge that does not say so is chained as any other.
            flaws.check(status == 0 && builder->Status() == 0, "status");
            flaws.check(count() == edges.size(), "edges are lost or doubled");
        }
        return flaws.all();
    }

private:
    void add(const IDispatchPtr& collection)
    {
        for (const IDispatchPtr& edge : support::itemsOf(collection)) {
            edges.push_back(ktmdl_Topo::New(edge));
            edges.back()->tplType = 2;
        }
    }
    //! Counts the edges in loops and input, those that are there twice as more than all.
    [[nodiscard]] std::size_t count() const
    {
        std::vector<Hnd_ktmdl_Topo> found = elementsOf(input);
        const Hnd_ktstd_TransientHSeq loops = builder->Loops();
        for (long i = 1; loops.IsNull() == 0 && i <= loops->Length(); ++i) {
            const auto loop = Hnd_ktmdl_TopoHSeq::DownCast(loops->Value(i));
            for (const Hnd_ktmdl_Topo& edge : elementsOf(loop)) {
                found.push_back(edge);
            }
        }
        for (const Hnd_ktmdl_Topo& edge : edges) {
            if (std::count(found.begin(), found.end(), edge) > 1) {
                return edges.size() + 1;
            }
        }
        return found.size();
    }

    std::vector<Hnd_ktmdl_Topo> edges;
    long rightLoops = 0;
    long rightLeft = 0;
    Hnd_ktmdl_TopoHSeq input;
    std::optional<ktmdl_BldLoops> builder;
    long status = 7;
};

// Rectangles

constexpr double kWidth = 0.06;
constexpr double kHeight = 0.04;

//! What a rectangle is drawn in, and how much is asked for.
enum class Drawing
{
    sketch,     //!< tied to a plane and validated
    profileSet, //!< nothing but the lines
    layout,     //!< as a sketch, in an assembly
};

class RectangleStage : public sweep::Stage
{
public:
    explicit RectangleStage(Drawing how) : drawing(how)
    {
        if (how == Drawing::layout) {
            document = host.openAssembly(support::viceModel(), "C:\\jobs\\vice.asm");
            plane = support::item(support::need(support::get(document, 24578)), 2);
        } else {
            document = sweep::openAt(host, how == Drawing::sketch ? Where::part : Where::nested);
            plane = support::planeOf(document, 2);
        }
    }
    void run() override
    {
        const unsigned char isTied = drawing == Drawing::profileSet ? 0 : 1;
        builder.emplace(kWidth, kHeight, plane, document, isTied,
                        drawing == Drawing::profileSet ? 1 : 0, isTied);
        status = 7;
        status = builder->Compute();
    }
    std::string flaw() override
    {
        Flaws flaws;
        flaws.check(status == 0 && builder->Status() == 0, "status " + std::to_string(status));
        const std::vector<standin::ProfileView> profiles = host.profiles(document);
        if (profiles.empty()) {
            flaws.check(false, "nothing drawn");
            return flaws.all();
        }
        flaws.check(builder->Profile().GetInterfacePtr() != nullptr, "no profile");
        checkDrawn(flaws, profiles.back());
        return flaws.all();
    }
    std::string damage(const Report& report) override
    {
        if (!report.reported && status == 0) {
            return flaw(); // a default plane of another normal need not be asked for it
        }
        Flaws flaws;
        flaws.check(status == (report.reported ? 1 : -1), "status " + std::to_string(status));
        flaws.check(builder->Profile().GetInterfacePtr() == nullptr, "a profile");
        flaws.check(builder->DimPtrI(0).GetInterfacePtr() == nullptr, "a dimension");
        checkStays(flaws, host, *builder);
        return flaws.all();
    }

protected:
    std::optional<ktmdl_BldRectangularProfile> builder;

private:
    void checkDrawn(Flaws& flaws, const standin::ProfileView& profile) const
    {
        const double a = kWidth / 2;
        const double b = kHeight / 2;
        const double corners[5][2] = {{-a, -b}, {a, -b}, {a, b}, {-a, b}, {-a, -b}};
        std::size_t sides = 0;
        for (const standin::SketchLine& line : profile.lines) {
            if (line.plane != standin::geom::kNone) {
                flaws.check(line.plane == 2, "the plane tied to");
            } else if (sides < 4) {
                flaws.check(isAt(line.start, corners[sides]) && isAt(line.end, corners[sides + 1]),
                            "side " + std::to_string(sides));
                ++sides;
            }
        }
        const bool isTied = drawing != Drawing::profileSet;
        flaws.check(sides == 4, "number of sides");
        flaws.check(profile.lines.size() == (isTied ? 5U : 4U), "number of lines");
        flaws.check(profile.relations.size() == (isTied ? 10U : 4U), "number of relations");
        flaws.check(profile.dimensions.size() == (isTied ? 2U : 0U), "number of dimensions");
        flaws.check(profile.finished == isTied, "finished");
        for (const standin::LengthView& length : profile.dimensions) {
            flaws.check(length.driving, "a dimension that does not drive");
        }
    }
    static bool isAt(const standin::SketchPoint& point, const double (&corner)[2])
    {
        return std::fabs(point.x - corner[0]) < 1e-9 && std::fabs(point.y - corner[1]) < 1e-9;
    }

    Drawing drawing;
    IDispatchPtr document;
    IDispatchPtr plane;
    long status = 7;
};

//! The container of a rectangle that is drawn.
class ContainerStage : public RectangleStage
{
public:
    ContainerStage() : RectangleStage(Drawing::sketch) { RectangleStage::run(); }
    void run() override
    {
        sketch = nullptr;
        sketch = builder->Sketch();
    }
    std::string flaw() override { return sketch.GetInterfacePtr() != nullptr ? "" : "no sketch"; }
    std::string damage(const Report& /*report*/) override
    {
        Flaws flaws;
        flaws.check(sketch.GetInterfacePtr() == nullptr, "a sketch");
        flaws.check(builder->Status() == 0, "status");
        return flaws.all();
    }

private:
    ktmdl_host::SketchPtr sketch;
};

// References

//! A bolt that a clamp shows, which a vice shows twice; or the vice's own base.
class ReferenceStage : public sweep::Stage
{
public:
    //! @param isDeep    the bolt, else the base
    //! @param ofObject  a face of it, else the occurrence itself
    ReferenceStage(bool isDeep, bool ofObject)
        : vice(host.openAssembly(support::viceModel(), "C:\\jobs\\vice.asm"))
    {
        target = isDeep ? support::occurrenceOf(host.document("C:\\jobs\\vice.asm!clamp"), 3)
                        : support::occurrenceOf(vice, 1);
        if (ofObject) {
            object = support::faceOf(support::documentOf(target), 2);
        }
        assembly = vice;
        occurrence = target;
        end = ofObject ? object : target;
        names = {support::nameOf(target)};
        if (isDeep) {
            names.insert(names.begin(), "front clamp");
        }
    }
    void run() override
    {
        builder.emplace(assembly, occurrence, object, 1);
        status = builder->Compute();
    }
    std::string flaw() override { return compare(names); }
    std::string damage(const Report& /*report*/) override
    {
        if (status == 0) {
            return compare({"side clamp", names.back()}); // found where the second clamp shows it
        }
        Flaws flaws;
        const long stored = builder->Status();
        flaws.check(status == stored, "status");
        if (status == 1) {
            checkStays(flaws, host, *builder);
            flaws.check(builder->Reference().GetInterfacePtr() == nullptr, "a reference");
        } else {
            flaws.check(status == -2, "status");
        }
        return flaws.all();
    }

private:
    [[nodiscard]] std::string compare(const std::vector<std::string>& expected)
    {
        Flaws flaws;
        if (status != 0 || builder->Status() != 0) {
            return "status " + std::to_string(status); // asking for the reference computes anew
        }
        const IDispatchPtr reference = builder->Reference();
        if (reference.GetInterfacePtr() == nullptr) {
            return "no reference";
        }
        if (names.size() == 1 && object.GetInterfacePtr() == nullptr) {
            flaws.check(reference.GetInterfacePtr() == target.GetInterfacePtr(), "reference");
            return flaws.all();
        }
        const support::OccurrencePath path = support::pathOf(reference);
        std::vector<std::string> found = {support::nameOf(path.top)};
        for (const IDispatchPtr& below : path.occurrences) {
            found.push_back(support::nameOf(below));
        }
        flaws.check(found == expected, "path");
        const IDispatchPtr referred = support::get(reference, 4).object();
        flaws.check(referred.GetInterfacePtr() == end.GetInterfacePtr(), "object");
        return flaws.all();
    }

    IDispatchPtr vice;
    IDispatchPtr target;
    ktmdl_host::AssemblyDocumentPtr assembly;
    ktmdl_host::OccurrencePtr occurrence;
    IDispatchPtr object;
    IDispatchPtr end;
    std::vector<std::string> names;
    std::optional<ktmdl_BldReference> builder;
    long status = 7;
};

// What operations report, and how

sweep::Rules boxes()
{
    sweep::Rules rules;
    rules.boundaries = {{"ktmdl_BldBBox.cpp", "ktmdl_BldBBox::ComputeBBox"}};
    rules.pointers = {"aIDP",           "pPartDoc",          "pModels",       "pModel",   "pBody",
                      "pConstructions", "pConstrModelFeats", "pConstruction", "pFeature", "pAsmDoc",
                      "pOccs",          "pOccurrence"};
    rules.quiet = {{"QueryInterface({1B73DCA4", {FaultKind::refuseInterface}}};
    rules.masked = {{"GetIDsOfNames(Parent)", {}}, {".Parent get", {}}};
    return rules;
}

sweep::Rules loops()
{
    sweep::Rules rules;
    rules.raises = true;
    rules.source = "ktmdl_BldLoops.cpp";
    rules.boundaries = {{"ktmdl_Topo.cpp", "ktmdl_Topo::IsClosed"}};
    rules.pointers = {"pE"};
    rules.unplaced = {{".GetEndPoints method", {}}}; // the error alone tells
    return rules;
}

sweep::Rules rectangle()
{
    sweep::Rules rules;
    rules.boundaries = {
        {"ktmdl.cpp", "ktmdl::GetPlaneInfo"},
        {"ktmdl_BldRectangularProfile.cpp", "ktmdl_BldRectangularProfile::Compute"}};
    rules.pointers = {"aPlanePtr",     "pSketches",    "pProfileSets", "mSketchOrLayoutPtr",
                      "pProfs",        "pLays",        "pAsmRefPln",   "pRectangleProf",
                      "pLines2d",      "pLine1",       "pLine2",       "pLine3",
                      "pLine4",        "pRelations2d", "pRefPlanes",   "pRefPlane",
                      "pLineRefPlane", "pRels",        "pDims",        "mDimPtrs[0]",
                      "mDimPtrs[1]"};
    // A document of neither kind, and a plane whose normal can't be asked for.
    rules.quiet = {{"QueryInterface({23C52E80", {FaultKind::refuseInterface}},
                   {"QueryInterface({00C6BF00", {FaultKind::refuseInterface}},
                   {"GetIDsOfNames(GetNormal)", {}}};
    return rules;
}

sweep::Rules container()
{
    sweep::Rules rules;
    rules.raises = true;
    rules.quiet = {{"QueryInterface({", {FaultKind::refuseInterface}}};
    return rules;
}

sweep::Rules references()
{
    sweep::Rules rules;
    rules.boundaries = {{"ktmdl_BldReference.cpp", "ktmdl_BldReference::CreateRef"}};
    rules.pointers = {"pOcc", "pAsmDoc", "pOccurrences", "pOccurrence", "createdRef", "aRetRef"};
    // An assembly without a collection is not begun.
    rules.quiet = {
        {"1 AssemblyDocument 1 .Occurrences get", {FaultKind::nullObject, FaultKind::noResult}}};
    return rules;
}

const std::vector<sweep::Operation>& operations()
{
    using sweep::stageOf;
    static const std::vector<sweep::Operation> all = {
        {"BoxOfAPart", stageOf<PartBoxStage>(), boxes()},
        {"BoxOfAFeature", stageOf<FeatureBoxStage>(), boxes()},
        {"BoxOfAnAssembly", stageOf<AssemblyBoxStage>(), boxes()},
        {"Loops", stageOf<LoopsStage>(false), loops()},
        {"LoopsOfClosedEdges", stageOf<LoopsStage>(true), loops()},
        {"RectangleInASketch", stageOf<RectangleStage>(Drawing::sketch), rectangle()},
        {"RectangleInAProfileSet", stageOf<RectangleStage>(Drawing::profileSet), rectangle()},
        {"RectangleInALayout", stageOf<RectangleStage>(Drawing::layout), rectangle()},
        {"RectanglesSketch", stageOf<ContainerStage>(), container()},
        {"ReferenceToAChild", stageOf<ReferenceStage>(false, false), references()},
        {"ReferenceToAFaceOfAChild", stageOf<ReferenceStage>(false, true), references()},
        {"ReferenceToANestedOccurrence", stageOf<ReferenceStage>(true, false), references()},
        {"ReferenceToANestedFace", stageOf<ReferenceStage>(true, true), references()},
    };
    return all;
}

} // namespace

namespace sweep {
INSTANTIATE_TEST_SUITE_P(Builders, FaultSweep, testing::ValuesIn(operations()), nameOf);
} // namespace sweep
