// Every fault of the host at every call of the queries of a document.

#include "ktmdl/ktmdl.h"
#include "ktstd/ktstd_AsciiString.h"
#include "support/AssemblyObjects.h"
#include "support/FaultSweep.h"
#include "support/HostDrawing.h"

#include <array>
#include <cmath>
#include <string>

namespace {

using standin::FaultKind;
using sweep::Flaws;
using sweep::Report;
using sweep::Where;

// Dimensions

//! A document with three dimensions and a variable, two of one name.
class DimensionStage : public sweep::Stage
{
public:
    //! @param bySystemName  the name is a system name
    //! @param index         of the dimension that is to be found; 0 for none
    DimensionStage(Where where, const std::string& name, bool bySystemName, LONG index)
        : document(sweep::openAt(host, where)),
          asked(name.c_str()),
          isSystemName(bySystemName)
    {
        host.addDimension(document, {"Width", "D1"});
        host.addDimension(document, {"Twin", "D2", standin::DimensionKind::angular, 0.5});
        host.addDimension(document, {"Twin", "D3"});
        host.addVariable(document, {"Count", "V4", "1 + 1", 2.0});
        if (index > 0) {
            expected = support::item(support::need(support::get(document, 8193)), index);
        }
    }
    void run() override
    {
        found = nullptr;
        found = isSystemName ? ktmdl::GetDimVarFromSystemName(document, asked)
                             : ktmdl::GetDimVarFromName(document, asked);
    }
    std::string flaw() override
    {
        return found.GetInterfacePtr() == expected.GetInterfacePtr() ? "" : "the dimension";
    }
    std::string damage(const Report& /*report*/) override
    {
        return found.GetInterfacePtr() == nullptr ? "" : "a dimension came";
    }

private:
    IDispatchPtr document;
    ktstd_AsciiString asked;
    bool isSystemName;
    IDispatchPtr expected;
    IDispatchPtr found;
};

// Faces and planes

using Triple = std::array<double, 3>;
constexpr Triple kUntouched = {7.0, 8.0, 9.0};

bool isAt(const Triple& found, const Triple& expected)
{
    return std::fabs(found[0] - expected[0]) < 1e-12 && std::fabs(found[1] - expected[1]) < 1e-12 &&
           std::fabs(found[2] - expected[2]) < 1e-12;
}

//! A query that gives a direction and a point.
class FrameStage : public sweep::Stage
{
public:
    void run() override
    {
        code = E_UNEXPECTED;
        normal = kUntouched;
        point = kUntouched;
        code = ask();
    }
    std::string flaw() override
    {
        Flaws flaws;
        flaws.check(code == S_OK, "code");
        flaws.check(isAt(normal, rightNormal), "normal");
        flaws.check(isAt(point, rightPoint), "point");
        return flaws.all();
    }
    std::string damage(const Report& report) override
    {
        Flaws flaws;
        flaws.check(code == report.code, "code");
        if (report.reported) {
            flaws.check(point == kUntouched, "point");
            flaws.check(normal == kUntouched || isAt(normal, rightNormal), "normal");
        } else {
            const bool isNormalAsked = report.at("GetNormal");
            flaws.check(isNormalAsked ? normal == kUntouched : isAt(normal, rightNormal), "normal");
            flaws.check(isNormalAsked ? isAt(point, rightPoint) : point == kUntouched, "point");
        }
        return flaws.all();
    }

protected:
    [[nodiscard]] virtual long ask() = 0;

    Triple rightNormal{};
    Triple rightPoint{};
    Triple normal = kUntouched;
    Triple point = kUntouched;
    long code = E_UNEXPECTED;
};

class FaceInfoStage : public FrameStage
{
public:
    //! The second face of a box looks along x.
    explicit FaceInfoStage(Where where) : face(support::faceOf(sweep::openAt(host, where), 2))
    {
        rightNormal = {1.0, 0.0, 0.0};
        rightPoint = where == Where::part ? Triple{0.1, 0.1, 0.15} : Triple{0.4, 0.25, 0.3};
    }

private:
    long ask() override { return ktmdl::GetFaceInfo(face, normal.data(), point.data()); }

    IDispatchPtr face;
};

class PlaneInfoStage : public FrameStage
{
public:
    //! In a part the plane itself, elsewhere an assembly's reference to it.
    explicit PlaneInfoStage(Where where)
    {
        const IDispatchPtr part = sweep::openAt(host, where);
        standin::RefPlaneSpec spec;
        spec.root = {0.0, 0.3, 0.0};
        spec.normal = {0.0, -1.0, 0.0};
        plane = support::planeOf(part, host.addRefPlane(part, spec));
        if (where == Where::nested) {
            const IDispatchPtr clamp = host.document("C:\\jobs\\vice.asm!clamp");
            const IDispatchPtr vice = host.document("C:\\jobs\\vice.asm");
            const IDispatchPtr inner = support::need(
                support::createReference(clamp, support::occurrenceOf(clamp, 1), plane));
            plane = support::need(
                support::createReference(vice, support::occurrenceOf(vice, 2), inner));
        }
        rightNormal = {0.0, -1.0, 0.0};
        rightPoint = {0.0, 0.3, 0.0};
    }

private:
    long ask() override { return ktmdl::GetPlaneInfo(plane, normal.data(), point.data()); }

    IDispatchPtr plane;
};

// What operations report, and how

sweep::Rules catching(const std::string& function, const std::vector<std::string>& pointers,
                      const std::vector<sweep::FaultAt>& quiet = {})
{
    sweep::Rules rules;
    rules.boundaries = {{"ktmdl.cpp", "ktmdl::" + function}};
    rules.pointers = pointers;
    rules.quiet = quiet;
    return rules;
}

//! A dimension that was found and can't be converted is null without a word; a number is a name as
//! any other.
const std::vector<sweep::FaultAt> kQuietDimension = {
    {".QueryInterface({00020400", {FaultKind::refuseInterface}},
    {".Name get(16487", {FaultKind::wrongType}}};
const std::vector<sweep::FaultAt> kQuietNames = {{"GetIDsOfNames(GetNormal)", {}},
                                                 {"GetIDsOfNames(GetRootPoint)", {}}};

sweep::Rules byName()
{
    sweep::Rules rules = catching("GetDimVarFromName",
                                  {"pPartDoc", "pVars", "pVL", "pDim", "pVarList", "pItem", "pVar"},
                                  kQuietDimension);
    // An object in the place of a dimension's type reads as its value, and as a variable then.
    rules.masked = {{".Type get(16489", {FaultKind::wrongType}}};
    return rules;
}

sweep::Rules bySystemName()
{
    return catching("GetDimVarFromSystemName", {"pPartDoc", "pVars", "pVL", "pDim"},
                    kQuietDimension);
}

sweep::Rules planeInfo()
{
    return catching("GetPlaneInfo", {"aPlanePtr", "pRef", "pPlaneDisp"}, kQuietNames);
}

const std::vector<sweep::Operation>& operations()
{
    using sweep::stageOf;
    static const std::vector<sweep::Operation> all = {
        {"GetDimVarFromName", stageOf<DimensionStage>(Where::part, "Width", false, 1), byName()},
        {"GetDimVarFromNameAmbiguous", stageOf<DimensionStage>(Where::part, "Twin", false, 0),
         byName()},
        {"GetDimVarFromNameNested", stageOf<DimensionStage>(Where::nested, "Width", false, 1),
         byName()},
        {"GetDimVarFromSystemName", stageOf<DimensionStage>(Where::part, "D3", true, 3),
         bySystemName()},
        {"GetDimVarFromSystemNameNested", stageOf<DimensionStage>(Where::nested, "D2", true, 2),
         bySystemName()},
        {"GetFaceInfo", stageOf<FaceInfoStage>(Where::part), catching("GetFaceInfo", {"pFace"})},
        {"GetFaceInfoNested", stageOf<FaceInfoStage>(Where::nested),
         catching("GetFaceInfo", {"pFace"})},
        {"GetPlaneInfo", stageOf<PlaneInfoStage>(Where::part), planeInfo()},
        {"GetPlaneInfoOfAReference", stageOf<PlaneInfoStage>(Where::nested), planeInfo()},
    };
    return all;
}

} // namespace

namespace sweep {
INSTANTIATE_TEST_SUITE_P(Queries, FaultSweep, testing::ValuesIn(operations()), nameOf);
} // namespace sweep
