//! The whole interface, class by class, against a table of its own.

#include "standin/Object.h"
#include "support/AssemblyObjects.h"
#include "support/CensusGuard.h"
#include "support/HostDrawing.h"
#include "support/PartOfAllKinds.h"

#include <gtest/gtest.h>

#include <list>
#include <map>
#include <set>
#include <tuple>

namespace {

using namespace support;

//! Parameters are one letter each: l long, d double, b Boolean, v VARIANT, s text, o object, e
//! VARIANT with an object; by reference L long, D double, S text, O object, V VARIANT; arrays B of
//! bytes, R of doubles, I of longs, A of objects. A question mark behind a letter: may be left out.
struct Row
{
    const char* className;
    const wchar_t* name;
    DISPID id;
    WORD kind;
    const char* parameters;
};

constexpr WORD kM = DISPATCH_METHOD;
constexpr WORD kG = DISPATCH_PROPERTYGET;
constexpr WORD kP = DISPATCH_PROPERTYPUT;

const std::vector<Row>& rows()
{
    static const std::vector<Row> all = {
        {"PartDocument", L"FullName", 9, kG, ""},
        {"PartDocument", L"Name", 18, kG, ""},
        {"PartDocument", L"Parent", 22, kG, ""},
        {"PartDocument", L"Type", 70, kG, ""},
        {"PartDocument", L"Models", 0x6069, kG, ""},
        {"PartDocument", L"BindKeyToObject", 0x606D, kM, "BO"},
        {"PartDocument", L"BindKeyToObjectEx", 0x60D7, kM, "bBO"},
        {"PartDocument", L"Constructions", 0x606E, kG, ""},
        {"PartDocument", L"Variables", 0x2001, kG, ""},
        {"PartDocument", L"RefPlanes", 0x6065, kG, ""},
        {"Variables", L"Count", 20, kG, ""},
        {"Variables", L"Item", 0, kM, "v"},
        {"Variables", L"GetName", 25, kM, "o"},
        {"Variables", L"Query", 27, kM, "sv?v?v?"},
        {"Variables", L"GetDisplayName", 31, kM, "o"},
        {"Variables", L"GetSystemName", 32, kM, "o"},
        {"VariableList", L"Count", 50, kG, ""},
        {"VariableList", L"Item", 0, kM, "v"},
        {"variable", L"Name", 1, kG, ""},
        {"variable", L"Name", 1, kP, "s"},
        {"variable", L"UnitsType", 2, kG, ""},
        {"variable", L"Value", 3, kG, ""},
        {"variable", L"Value", 3, kP, "d"},
        {"variable", L"Formula", 5, kG, ""},
        {"variable", L"Formula", 5, kP, "s"},
        {"variable", L"GetValue", 9, kM, "S?"},
        {"variable", L"Type", 11, kG, ""},
        {"variable", L"VariableTableName", 12, kG, ""},
        {"variable", L"DisplayName", 15, kG, ""},
        {"variable", L"SystemName", 16, kG, ""},
        {"Dimension", L"Value", 0, kG, ""},
        {"Dimension", L"Value", 0, kP, "d"},
        {"Dimension", L"DimensionType", 3, kG, ""},
        {"Dimension", L"Constraint", 4, kG, ""},
        {"Dimension", L"Constraint", 4, kP, "b"},
        {"Dimension", L"ProjectionLineDirection", 14, kG, ""},
        {"Dimension", L"ProjectionLineDirection", 14, kP, "b"},
        {"Dimension", L"TrackDistance", 19, kG, ""},
        {"Dimension", L"TrackDistance", 19, kP, "d"},
        {"Dimension", L"Name", 16487, kG, "v?"},
        {"Dimension", L"Type", 16489, kG, ""},
        {"Dimension", L"VariableTableName", 17495, kG, ""},
        {"Dimension", L"DisplayName", 17501, kG, ""},
        {"Dimension", L"SystemName", 17502, kG, ""},
        {"Dimension", L"UnitsType", 17633, kG, ""},
        {"Dimension", L"UnitsType", 17633, kP, "l"},
        {"RefPlanes", L"Count", 5, kG, ""},
        {"RefPlanes", L"Item", 0, kM, "v"},
        {"RefPlane", L"GetNormal", 5, kM, "R"},
        {"RefPlane", L"GetRootPoint", 6, kM, "R"},
        {"RefPlane", L"GetReferenceDirection", 7, kM, "R"},
        {"AssemblyDocument", L"Layouts", 0x6008, kG, ""},
        {"AsmRefPlanes", L"Count", 2, kG, ""},
        {"AsmRefPlanes", L"Item", 0, kM, "v"},
        {"AsmRefPlane", L"GetNormal", 4, kM, "R"},
        {"AsmRefPlane", L"GetRootPoint", 5, kM, "R"},
        {"AsmRefPlane", L"GetReferenceDirection", 6, kM, "R"},
        {"PartDocument", L"ProfileSets", 0x6064, kG, ""},
        {"PartDocument", L"Sketches", 0x606C, kG, ""},
        {"Sketchs", L"Count", 5, kG, ""},
        {"Sketchs", L"Item", 0, kM, "v"},
        {"Sketchs", L"Add", 100, kM, ""},
        {"Sketch", L"Profiles", 5, kG, ""},
        {"ProfileSets", L"Count", 5, kG, ""},
        {"ProfileSets", L"Item", 0, kM, "v"},
        {"ProfileSets", L"Add", 100, kM, ""},
        {"ProfileSet", L"Profiles", 5, kG, ""},
        {"Layouts", L"Count", 3, kG, ""},
        {"Layouts", L"Item", 0, kM, "v"},
        {"Layouts", L"Add", 1, kM, "ov?V?"},
        {"Layout", L"Profile", 3, kG, ""},
        {"Profiles", L"Count", 5, kG, ""},
        {"Profiles", L"Item", 0, kM, "v"},
        {"Profiles", L"Add", 102, kM, "o"},
        {"Profile", L"Lines2d", 10, kG, ""},
        {"Profile", L"Dimensions", 16, kG, ""},
        {"Profile", L"Relations2d", 17, kG, ""},
        {"Profile", L"End", 100, kM, "l"},
        {"Profile", L"ProjectRefPlane", 113, kM, "o"},
        {"Lines2d", L"Count", 3, kG, ""},
        {"Lines2d", L"Item", 0, kM, "v"},
        {"Lines2d", L"AddBy2Points", 100, kM, "dddd"},
        {"Relations2d", L"Count", 12, kG, ""},
        {"Relations2d", L"Item", 0, kM, "v"},
        {"Relations2d", L"AddHorizontalAlign", 708, kM, "ololv?"},
        {"Relations2d", L"AddVerticalAlign", 709, kM, "ololv?"},
        {"Relations2d", L"AddHorizontal", 712, kM, "ov?"},
        {"Relations2d", L"AddVertical", 713, kM, "ov?"},
        {"Relations2d", L"AddKeypoint", 719, kM, "ololv?"},
        {"Dimensions", L"Count", 3, kG, ""},
        {"Dimensions", L"Item", 0, kM, "v"},
        {"Dimensions", L"AddLength", 100, kM, "o"},
        {"Constructions", L"Count", 5, kG, ""},
        {"Constructions", L"Item", 0, kM, "v"},
        {"ConstructionModel", L"Features", 30, kG, ""},
        {"ConstructionModel", L"Body", 49, kG, ""},
        {"Features", L"Count", 5, kG, ""},
        {"Features", L"Item", 0, kM, "v"},
        {"InterpartConstruction", L"Parent", 4, kG, ""},
        {"InterpartConstruction", L"Type", 8218, kG, ""},
        {"StitchSurface", L"Parent", 4, kG, ""},
        {"StitchSurface", L"Type", 8218, kG, ""},
        {"DerivedCurve", L"Parent", 4, kG, ""},
        {"DerivedCurve", L"Type", 8218, kG, ""},
        {"Feature", L"Parent", 4, kG, ""},
        {"Feature", L"Type", 8218, kG, ""},
        {"AssemblyDocument", L"FullName", 9, kG, ""},
        {"AssemblyDocument", L"Name", 18, kG, ""},
        {"AssemblyDocument", L"Parent", 22, kG, ""},
        {"AssemblyDocument", L"CreateReference", 38, kM, "oe"},
        {"AssemblyDocument", L"Type", 70, kG, ""},
        {"AssemblyDocument", L"Occurrences", 0x4006, kG, ""},
        {"AssemblyDocument", L"Variables", 0x6001, kG, ""},
        {"AssemblyDocument", L"AsmRefPlanes", 0x6002, kG, ""},
        {"AssemblyDocument", L"BindKeyToObject", 0x6006, kM, "BO"},
        {"AssemblyDocument", L"CreateReference2", 0x604C, kM, "oe"},
        {"Occurrences", L"Count", 3, kG, ""},
        {"Occurrences", L"Item", 0, kM, "v"},
        {"Occurrence", L"Subassembly", 10, kG, ""},
        {"Occurrence", L"Type", 11, kG, ""},
        {"Occurrence", L"OccurrenceDocument", 38, kG, ""},
        {"Occurrence", L"GetReferenceKey", 42, kM, "BV?"},
        {"Reference", L"Object", 4, kG, ""},
        {"Reference", L"Parent", 5, kG, ""},
        {"Reference", L"Type", 6, kG, ""},
        {"Reference", L"ImmediateParent", 7, kG, ""},
        {"Reference", L"GetMatrix", 8, kM, "R"},
        {"Reference", L"GetOccurrencesInPath", 10, kM, "OLLA"},
        {"Models", L"Count", 5, kG, ""},
        {"Models", L"Item", 0, kM, "v"},
        {"Model", L"Features", 30, kG, ""},
        {"Model", L"Body", 49, kG, ""},
        {"Body", L"Edges", 52, kG, "l?"},
        {"Body", L"Faces", 53, kG, "l?"},
        {"Body", L"GetRange", 58, kM, "RR"},
        {"Body", L"Type", 60, kG, ""},
        {"Body", L"IsSolid", 65, kG, ""},
        {"Body", L"GetReferenceKey", 70, kM, "BV?"},
        {"Body", L"GetExactRange", 129, kM, "RR"},
        {"Body", L"Visible", 518, kG, ""},
        {"Faces", L"Count", 23, kG, ""},
        {"Faces", L"Item", 0, kM, "v"},
        {"Edges", L"Count", 23, kG, ""},
        {"Edges", L"Item", 0, kM, "v"},
        {"Face", L"Body", 37, kG, ""},
        {"Face", L"Edges", 38, kG, "l?"},
        {"Face", L"Geometry", 39, kG, ""},
        {"Face", L"Parent", 42, kG, ""},
        {"Face", L"GetReferenceKey", 43, kM, "BV?"},
        {"Face", L"FacetCount", 46, kG, "d"},
        {"Face", L"GetFacetData", 47, kM, "dLRV?V?"},
        {"Face", L"Type", 48, kG, ""},
        {"Face", L"GetExactRange", 132, kM, "RR"},
        {"Face", L"GetNormal", 229, kM, "lRR"},
        {"Face", L"GetParamRange", 232, kM, "RR"},
        {"Face", L"GetPointAtParam", 233, kM, "lRR"},
        {"Face", L"GetParamAtPoint", 234, kM, "lRRRRI"},
        {"Edge", L"Geometry", 76, kG, ""},
        {"Edge", L"IsParamReversed", 77, kG, ""},
        {"Edge", L"Parent", 78, kG, ""},
        {"Edge", L"GetReferenceKey", 79, kM, "BV?"},
        {"Edge", L"Type", 83, kG, ""},
        {"Edge", L"IsClosed", 85, kG, ""},
        {"Edge", L"GetExactRange", 133, kM, "RR"},
        {"Edge", L"GetEndPoints", 267, kM, "RR"},
        {"Edge", L"GetLengthAtParam", 268, kM, "ddD"},
        {"Edge", L"GetParamExtents", 272, kM, "DD"},
        {"Plane", L"GetNormalVector", 195, kM, "R"},
        {"Plane", L"GetRootPoint", 197, kM, "R"},
        {"Plane", L"Type", 198, kG, ""},
        {"Line", L"Type", 368, kG, ""},
        {"Circle", L"Type", 351, kG, ""},
    };
    return all;
}

//! A way to call a member: class, member, kind.
using Way = std::tuple<std::string, std::string, WORD>;

//! Members whose number in the host is not known: found by name, counted, not checked by number.
const std::set<Way>& byNameOnly()
{
    static const std::set<Way> all = {
        {"PartDocument", "Close", kM},
        {"Cylinder", "Type", kG},
        {"Cone", "Type", kG},
        {"Sphere", "Type", kG},
        {"Torus", "Type", kG},
        {"BSplineSurface", "Type", kG},
        {"Ellipse", "Type", kG},
        {"BSplineCurve", "Type", kG},
        {"RefPlane", "Type", kG},
        {"AsmRefPlane", "Type", kG},
        {"Sketch", "Type", kG},
        {"ProfileSet", "Type", kG},
        {"Layout", "Type", kG},
        {"Profile", "Type", kG},
        {"Line2d", "GetStartPoint", kM},
        {"Line2d", "GetEndPoint", kM},
        {"Line2d", "Length", kG},
        {"AssemblyDocument", "Close", kM},
        {"Occurrences", "Parent", kG},
        {"Occurrence", "Name", kG},
        {"Occurrence", "Parent", kG},
        {"Occurrence", "GetMatrix", kM},
    };
    return all;
}

//! Numbers that the host has not, answered for callers that have it otherwise.
const std::map<std::pair<std::string, DISPID>, std::string>& secondNumbers()
{
    static const std::map<std::pair<std::string, DISPID>, std::string> all = {
        {{"PartDocument", 0x6002}, "RefPlanes"}, {{"AssemblyDocument", 0x6065}, "AsmRefPlanes"}};
    return all;
}

//! Arguments that a member takes, and what they refer to.
class Arguments
{
public:
    //! @param objectsIn  what the parameters take that take objects, in their order
    explicit Arguments(const std::string& parameters,
                       const std::vector<IDispatchPtr>& objectsIn = {})
        : given(objectsIn)
    {
        for (const char letter : parameters) {
            if (letter == '?') {
                ++optionals;
            } else {
                add(letter);
            }
        }
    }
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;
    ~Arguments()
    {
        for (IDispatch* object : objects) {
            if (object != nullptr) {
                object->Release();
            }
        }
        for (BSTR text : texts) {
            SysFreeString(text);
        }
    }

    std::vector<VARIANT> values;
    std::vector<char> letters;
    std::size_t optionals = 0;

private:
    void add(char letter)
    {
        letters.push_back(letter);
        switch (letter) {
        case 'l':
            values.push_back(value(LONG{1}));
            break;
        case 'd':
            values.push_back(value(0.01 * static_cast<double>(letters.size())));
            break;
        case 'b':
            values.push_back(value(true));
            break;
        case 'v':
            values.push_back(value(LONG{1}));
            break;
        case 's':
            values.push_back(kAll);
            break;
        case 'o':
        case 'e':
            values.push_back(objectValue(given.at(objectsUsed++)));
            break;
        case 'S':
            texts.push_back(nullptr), values.push_back(reference(texts.back()));
            break;
        case 'L':
            longs.push_back(0), values.push_back(reference(longs.back()));
            break;
        case 'D':
            reals.push_back(0.0), values.push_back(reference(reals.back()));
            break;
        case 'O':
            objects.push_back(nullptr), values.push_back(reference(objects.back()));
            break;
        case 'V':
            variants.emplace_back(), values.push_back(reference(variants.back()));
            break;
        case 'B':
            arrays.emplace_back(std::vector<unsigned char>{1, 2, 3});
            values.push_back(reference(arrays.back(), VT_UI1));
            break;
        case 'R':
            arrays.emplace_back(std::initializer_list<double>{0.01, 0.02, 0.03});
            values.push_back(reference(arrays.back(), VT_R8));
            break;
        case 'A':
            arrays.emplace_back(VT_DISPATCH, 1u);
            values.push_back(reference(arrays.back(), VT_DISPATCH));
            break;
        default:
            arrays.emplace_back(VT_I4, 1u);
            values.push_back(reference(arrays.back(), VT_I4));
            break;
        }
    }

    const _variant_t kAll{L"*"};
    std::vector<IDispatchPtr> given;
    std::size_t objectsUsed = 0;
    std::list<BSTR> texts;
    std::list<LONG> longs;
    std::list<double> reals;
    std::list<IDispatch*> objects;
    std::list<_variant_t> variants;
    std::list<Array> arrays;
};

//! Values that no parameter of a shape takes.
std::vector<VARIANT> wrongValues(char letter, IDispatch* anObject, Array& floats, LONG& aLong,
                                 double& aDouble)
{
    const VARIANT object = objectValue(anObject);
    VARIANT null;
    VariantInit(&null);
    V_VT(&null) = VT_NULL;
    switch (letter) {
    case 'l':
    case 'd':
    case 'b':
        return {object, null};
    case 'v':
        return {object, null, reference(floats, VT_R4)};
    case 's':
        return {object, null, value(LONG{1}), reference(floats, VT_R4)};
    case 'o':
        return {null, value(LONG{1}), value(0.5), reference(floats, VT_R4)};
    case 'e':
        return {value(LONG{1}), value(0.5), reference(floats, VT_R4)};
    case 'S':
        return {value(LONG{1}), object, reference(aLong), null};
    case 'L':
        return {value(LONG{1}), value(0.5), reference(aDouble), object};
    case 'D':
        return {value(LONG{1}), value(0.5), reference(aLong), object};
    case 'O':
        return {value(LONG{1}), object, reference(aLong), null};
    case 'V':
        return {value(LONG{1}), object, reference(aDouble)};
    default:
        return {value(LONG{1}), value(0.5), null, object, reference(floats, VT_R4)};
    }
}

class standin_Members : public HostTest
{
protected:
    void SetUp() override
    {
        document = session.openPart(partOfAllKinds(), "C:\\parts\\all.par");
        application = need(get(document, 22));
        take(application);
        take(document);
        const IDispatchPtr models = need(get(document, 24681));
        take(models);
        const LONG count = get(models, 5).number();
        ASSERT_EQ(count, 8);
        for (LONG i = 1; i <= count; ++i) {
            const IDispatchPtr model = need(method(models, 0, {value(i)}));
            take(model);
            takeBody(need(get(model, 49)));
        }
        takeConstructions();
        takeVariablesAndPlanes();
        takeSketch();
        takeAssembly();
    }

    //! Gives the objects that a member is to be called with.
    [[nodiscard]] std::vector<IDispatchPtr> objectsFor(const Row& row) const
    {
        if (std::string(row.className) == "Variables") {
            return {objects.at("variable")};
        }
        const std::string name = com::toUtf8(row.name);
        if (std::string(row.className) == "AssemblyDocument") {
            const IDispatchPtr occurrence = objects.at("Occurrence");
            return {occurrence, faceOf(documentOf(occurrence), 1)};
        }
        if (std::string(row.className) == "Layouts") {
            return {objects.at("AsmRefPlane")};
        }
        if (name == "Add" || name == "ProjectRefPlane") {
            return {objects.at("RefPlane")};
        }
        if (name == "AddVertical") {
            return {secondLine};
        }
        if (name.rfind("Add", 0) == 0) {
            return {objects.at("Line2d"), secondLine};
        }
        return {};
    }
    [[nodiscard]] Arguments argumentsOf(const Row& row) const
    {
        return Arguments(row.parameters, objectsFor(row));
    }

    void takeConstructions()
    {
        standin::ConstructionSpec construction;
        construction.body = plainBox();
        construction.features = {{standin::FeatureKind::interpart, 0},
                                 {standin::FeatureKind::stitched, 0},
                                 {standin::FeatureKind::derivedCurve, 0},
                                 {standin::FeatureKind::plain, 7}};
        session.addConstruction(document, construction);
        const IDispatchPtr constructions = need(get(document, 24686));
        take(constructions);
        const IDispatchPtr model = item(constructions, 1);
        take(model);
        const IDispatchPtr features = need(get(model, 30));
        take(features);
        for (LONG i = 1; i <= 4; ++i) {
            take(item(features, i));
        }
    }

    void takeVariablesAndPlanes()
    {
        session.addVariable(document, {});
        session.addDimension(document, {});
        const IDispatchPtr variables = need(get(document, 8193));
        take(variables);
        take(item(variables, 1));
        take(item(variables, 2));
        take(need(method(variables, 27, {_variant_t(L"*")})));
        const IDispatchPtr planes = need(get(document, 24677));
        take(planes);
        take(item(planes, 1));
    }

    void takeSketch()
    {
        for (const DISPID containers : {kSketches, kProfileSets}) {
            take(need(get(document, containers)));
            take(need(method(need(get(document, containers)), 100)));
        }
        take(need(get(objects.at("Sketch"), 5)));
        const IDispatchPtr profile = newProfile(document, 2);
        take(profile);
        for (const DISPID list : {10, 16, 17}) {
            take(need(get(profile, list)));
        }
        take(addLine(profile, 0.0, 0.0, 0.1, 0.0));
        secondLine = addLine(profile, 0.1, 0.1, 0.1, 0.0);
        take(need(addRelation(profile, kAddHorizontal, objects.at("Line2d"))));
        addLength(profile, secondLine);
        need(method(objects.at("Profiles"), 102, {objectValue(objects.at("RefPlane"))}));
    }

    void takeAssembly()
    {
        const IDispatchPtr assembly = session.openAssembly(viceModel(), "C:\\parts\\all.asm");
        take(assembly);
        take(occurrencesOf(assembly));
        take(occurrenceOf(assembly, 1));
        take(need(get(assembly, 24578)));
        take(item(objects.at("AsmRefPlanes"), 2));
        take(need(get(assembly, 24584)));
        take(need(method(objects.at("Layouts"), 1, {objectValue(objects.at("AsmRefPlane"))})));
        take(need(createReference(assembly, occurrenceOf(assembly, 1), nullptr)));
    }

    void takeBody(const IDispatchPtr& body)
    {
        take(body);
        const IDispatchPtr faces = facesOf(body);
        const IDispatchPtr edges = edgesOf(body);
        take(faces);
        take(edges);
        for (const IDispatchPtr& face : itemsOf(faces)) {
            take(face);
            take(need(get(face, 39)));
        }
        for (const IDispatchPtr& edge : itemsOf(edges)) {
            take(edge);
            take(need(get(edge, 76)));
        }
    }

    void take(const IDispatchPtr& object)
    {
        auto* known = dynamic_cast<standin::Object*>(object.GetInterfacePtr());
        ASSERT_NE(known, nullptr);
        objects.emplace(known->info().name, object);
    }

    [[nodiscard]] IDispatchPtr objectOf(const Row& row) const
    {
        const auto found = objects.find(row.className);
        if (found == objects.end()) {
            throw std::runtime_error(std::string("there is no ") + row.className);
        }
        return found->second;
    }

    standin::Session session;
    IDispatchPtr application;
    IDispatchPtr document;
    IDispatchPtr secondLine;
    std::map<std::string, IDispatchPtr> objects; //!< one of each class
};

//! Gives all ways in which a row's member is called.
WORD kindsOf(const Row& row)
{
    WORD kinds = 0;
    for (const Row& each : rows()) {
        if (each.id == row.id && std::string(each.className) == row.className) {
            kinds = static_cast<WORD>(kinds | each.kind);
        }
    }
    return kinds;
}

std::string label(const Row& row)
{
    return std::string(row.className) + "." + com::toUtf8(row.name);
}

TEST_F(standin_Members, EveryClassIsThereAndHasNoMemberBesideTheTable)
{
    EXPECT_EQ(objects.size(), 51u);
    std::set<Way> listed = byNameOnly();
    for (const Row& row : rows()) {
        listed.emplace(row.className, com::toUtf8(row.name), row.kind);
    }
    std::set<Way> found;
    std::map<std::pair<std::string, DISPID>, std::string> seconds;
    for (const auto& [name, object] : objects) {
        for (const standin::Member& member :
             dynamic_cast<standin::Object*>(object.GetInterfacePtr())->info().members) {
            if (!found.emplace(name, member.name, member.kinds).second) {
                seconds.emplace(std::make_pair(name, member.id), member.name);
            }
        }
    }
    EXPECT_EQ(found, listed);
    EXPECT_EQ(seconds, secondNumbers());
}

TEST_F(standin_Members, AllAreFoundByNameInEitherCase)
{
    for (const Row& row : rows()) {
        SCOPED_TRACE(label(row));
        std::wstring upper = row.name;
        for (wchar_t& c : upper) {
            c = c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - 32) : c;
        }
        DISPID id = 0x1234;
        EXPECT_EQ(identify(objectOf(row), row.name, id), S_OK);
        EXPECT_EQ(id, row.id);
        id = 0x1234;
        EXPECT_EQ(identify(objectOf(row), upper, id), S_OK);
        EXPECT_EQ(id, row.id);
    }
}

TEST_F(standin_Members, AllAnswerArgumentsOfTheirShapes)
{
    for (const Row& row : rows()) {
        SCOPED_TRACE(label(row));
        const Arguments full = argumentsOf(row);
        EXPECT_EQ(call(objectOf(row), row.id, row.kind, full.values).code, S_OK);
        const Arguments least = argumentsOf(row);
        std::vector<VARIANT> fewer = least.values;
        fewer.resize(fewer.size() - least.optionals);
        EXPECT_EQ(call(objectOf(row), row.id, row.kind, fewer).code, S_OK)
            << "without the optional";
        const Arguments again = argumentsOf(row);
        fewer = again.values;
        fewer.resize(fewer.size() - again.optionals);
        fewer.resize(again.values.size(), missing());
        EXPECT_EQ(call(objectOf(row), row.id, row.kind, fewer).code, S_OK) << "with missing ones";
    }
}

TEST_F(standin_Members, TooManyOrTooFewArgumentsAreRefused)
{
    for (const Row& row : rows()) {
        SCOPED_TRACE(label(row));
        const Arguments arguments = argumentsOf(row);
        std::vector<VARIANT> more = arguments.values;
        more.push_back(value(LONG{1}));
        EXPECT_EQ(call(objectOf(row), row.id, row.kind, more).code, DISP_E_BADPARAMCOUNT);
        std::vector<VARIANT> fewer = arguments.values;
        fewer.resize(fewer.size() - arguments.optionals);
        if (!fewer.empty()) {
            fewer.pop_back();
            EXPECT_EQ(call(objectOf(row), row.id, row.kind, fewer).code, DISP_E_BADPARAMCOUNT);
        }
    }
}

TEST_F(standin_Members, ArgumentsOfOtherTypesAreRefusedWithTheirIndex)
{
    for (const Row& row : rows()) {
        const std::vector<char> letters = argumentsOf(row).letters;
        for (std::size_t i = 0; i < letters.size(); ++i) {
            Array floats(VT_R4, 3);
            LONG aLong = 0;
            double aDouble = 0.0;
            for (const VARIANT& wrong : wrongValues(letters[i], document, floats, aLong, aDouble)) {
                SCOPED_TRACE(label(row) + ", argument " + std::to_string(i) + ", type " +
                             std::to_string(V_VT(&wrong)));
                const Arguments arguments = argumentsOf(row);
                std::vector<VARIANT> values = arguments.values;
                values[i] = wrong;
                const Outcome outcome = call(objectOf(row), row.id, row.kind, values);
                EXPECT_EQ(outcome.code, DISP_E_TYPEMISMATCH);
                EXPECT_EQ(outcome.argument, values.size() - 1 - i);
            }
        }
    }
}

TEST_F(standin_Members, RequiredArgumentsCanNotBeMissing)
{
    long checked = 0;
    for (const Row& row : rows()) {
        const Arguments arguments = argumentsOf(row);
        const std::size_t required = arguments.letters.size() - arguments.optionals;
        for (std::size_t i = 0; i < required; ++i) {
            SCOPED_TRACE(label(row) + ", argument " + std::to_string(i));
            const Arguments fresh = argumentsOf(row);
            std::vector<VARIANT> values = fresh.values;
            values[i] = missing();
            const Outcome outcome = call(objectOf(row), row.id, row.kind, values);
            EXPECT_EQ(outcome.code, DISP_E_PARAMNOTOPTIONAL);
            EXPECT_EQ(outcome.argument, values.size() - 1 - i);
            ++checked;
        }
    }
    EXPECT_EQ(checked, 113) << "letters without a question mark in the table";
}

TEST_F(standin_Members, EachIsCalledInItsOwnWay)
{
    for (const Row& row : rows()) {
        SCOPED_TRACE(label(row));
        for (const WORD other : {kM, kG, kP}) {
            if ((kindsOf(row) & other) == 0) {
                const Arguments arguments = argumentsOf(row);
                EXPECT_EQ(call(objectOf(row), row.id, other, arguments.values).code,
                          DISP_E_MEMBERNOTFOUND);
            }
        }
        if (row.kind != kP) {
            const Arguments arguments = argumentsOf(row);
            EXPECT_EQ(call(objectOf(row), row.id, kM | kG, arguments.values).code, S_OK);
        }
    }
}

TEST_F(standin_Members, NumbersOfNoMemberAreRefused)
{
    for (const auto& [name, object] : objects) {
        SCOPED_TRACE(name);
        for (const DISPID id : {-1, -4, 4711, 0x6003}) {
            EXPECT_EQ(call(object, id, kM | kG).code, DISP_E_MEMBERNOTFOUND);
        }
    }
}

TEST_F(standin_Members, OnlyCollectionsAndDimensionsHaveADefaultMember)
{
    for (const auto& [name, object] : objects) {
        SCOPED_TRACE(name);
        const bool collection = (name.back() == 's' && name != "Torus") || name == "VariableList" ||
                                name == "Lines2d" || name == "Relations2d";
        EXPECT_EQ(call(object, DISPID_VALUE, kM, {value(LONG{1})}).code,
                  collection ? S_OK : DISP_E_MEMBERNOTFOUND);
        EXPECT_EQ(call(object, DISPID_VALUE, kG).code,
                  name == "Dimension" ? S_OK : DISP_E_MEMBERNOTFOUND);
    }
}

TEST_F(standin_Members, ParametersHaveNames)
{
    wchar_t member[] = L"GetFacetData";
    wchar_t tolerance[] = L"TOLERANCE";
    wchar_t points[] = L"points";
    LPOLESTR names[] = {member, tolerance, points};
    DISPID ids[] = {9, 9, 9};
    EXPECT_EQ(objects.at("Face")->GetIDsOfNames(IID_NULL, names, 3, LOCALE_USER_DEFAULT, ids),
              S_OK);
    EXPECT_EQ(ids[0], 47);
    EXPECT_EQ(ids[1], 0);
    EXPECT_EQ(ids[2], 2);
}

TEST_F(standin_Members, TypesOfGeometryAreTheHostsConstants)
{
    const std::map<std::string, LONG> constants = {
        {"Line", 167551109},           {"Circle", 167551105},  {"Ellipse", 167551107},
        {"BSplineCurve", 167551103},   {"Plane", -1909484335}, {"Cylinder", -114972029},
        {"Cone", -114972031},          {"Sphere", -114972027}, {"Torus", -114972025},
        {"BSplineSurface", 1465959633}};
    for (const auto& [name, constant] : constants) {
        SCOPED_TRACE(name);
        ASSERT_EQ(objects.count(name), 1u);
        EXPECT_EQ(named(objects.at(name), L"Type", kG).number(), constant);
    }
}

TEST_F(standin_Members, TypesOfTopologyAreTheHostsConstants)
{
    EXPECT_EQ(get(objects.at("Body"), 60).number(), 0x09FCA073);
    EXPECT_EQ(get(objects.at("Face"), 48).number(), 0x09FCA063);
    EXPECT_EQ(get(objects.at("Edge"), 83).number(), 0x09FCA075);
    EXPECT_EQ(get(objects.at("PartDocument"), 70).number(), 1);
}

TEST_F(standin_Members, TypesOfVariablesAndPlanesAreTheHostsConstants)
{
    EXPECT_EQ(get(objects.at("variable"), 11).number(), 0x7647EDC3);
    EXPECT_EQ(get(objects.at("Dimension"), 16489).number(), 0x1D1928C0);
    EXPECT_EQ(named(objects.at("RefPlane"), L"Type", kG).number(), 0x2BAE0540);
}

TEST_F(standin_Members, AModelHasNoType)
{
    EXPECT_EQ(named(objects.at("Model"), L"Type", kG).code, DISP_E_UNKNOWNNAME);
}

TEST_F(standin_Members, InterfacesAreAskedForByTheHostsIdentifiers)
{
    const std::map<std::string, const wchar_t*> identifiers = {
        {"PartDocument", L"{23C52E80-4698-11CE-B307-0800363A1E02}"},
        {"Constructions", L"{C42C9A10-90F2-11D1-A24E-0800362BDC02}"},
        {"ConstructionModel", L"{20C65610-AF87-11D1-A255-0800362BDC02}"},
        {"Features", L"{777E2640-3331-11CF-81E1-080036C20002}"},
        {"InterpartConstruction", L"{1B73DCA4-BD5D-11D3-A422-0004AC968F18}"},
        {"StitchSurface", L"{9143A250-939A-4123-9222-1F917D5375A9}"},
        {"DerivedCurve", L"{77B0E1E8-3580-4947-8CB1-5EDB386A07D0}"},
        {"Variables", L"{7647EDC6-19D6-11CF-BCFB-0800368A1102}"},
        {"VariableList", L"{1033E6A2-2F02-11CF-BD0C-0800368A1102}"},
        {"variable", L"{7647EDC3-19D6-11CF-BCFB-0800368A1102}"},
        {"Dimension", L"{3F12B760-2211-11CE-9B15-08003601CEDF}"},
        {"RefPlanes", L"{9025F1C0-35F9-11CE-B307-0800363A1E02}"},
        {"AsmRefPlanes", L"{AA0C3293-667E-11D3-AED8-00500471C49E}"},
        {"AsmRefPlane", L"{AA0C3292-667E-11D3-AED8-00500471C49E}"},
        {"Dimensions", L"{630DF5A0-2211-11CE-9B15-08003601CEDF}"},
        {"Lines2d", L"{92486641-EC57-11CD-BB2E-08003601BDA9}"},
        {"Line2d", L"{77169D81-EC58-11CD-BB2E-08003601BDA9}"},
        {"Relations2d", L"{1CB73369-A62A-11CE-B05B-08003601DD4B}"},
        {"Relation2d", L"{1CB73367-A62A-11CE-B05B-08003601DD4B}"},
        {"ProfileSets", L"{FB6BF141-F4F4-11CE-8BB6-080036ACF801}"},
        {"ProfileSet", L"{A54FFB93-F42E-11CE-8BB6-080036ACF801}"},
        {"Profiles", L"{85D1C190-389B-11CE-BA48-080036250302}"},
        {"Profile", L"{5E772660-389B-11CE-BA48-080036250302}"},
        {"Sketchs", L"{64BB0AAD-BD80-11D0-944D-080036D42202}"},
        {"Sketch", L"{64BB0AAC-BD80-11D0-944D-080036D42202}"},
        {"Layouts", L"{3C883F04-9BDF-11D3-A473-00500471D7AC}"},
        {"Layout", L"{3C883F03-9BDF-11D3-A473-00500471D7AC}"},
        {"RefPlane", L"{2BAE0540-35FE-11CE-B307-0800363A1E02}"},
        {"AssemblyDocument", L"{00C6BF00-483B-11CE-951A-08003601BE52}"},
        {"Occurrences", L"{7AD88CC9-E2F4-11D2-BED3-080036B4D502}"},
        {"Occurrence", L"{600251C5-E2F4-11D2-BED3-080036B4D502}"},
        {"Reference", L"{8FF2DD02-19B3-11D1-AEAF-08003616CE02}"},
        {"Models", L"{49852F8C-A403-11CE-818E-0800363A1E02}"},
        {"Model", L"{49852F7F-A403-11CE-818E-0800363A1E02}"},
        {"Body", L"{09FCA073-DFBF-11D0-A275-080036C5ED02}"},
        {"Faces", L"{09FCA061-DFBF-11D0-A275-080036C5ED02}"},
        {"Face", L"{09FCA063-DFBF-11D0-A275-080036C5ED02}"},
        {"Edges", L"{09FCA06C-DFBF-11D0-A275-080036C5ED02}"},
        {"Edge", L"{09FCA075-DFBF-11D0-A275-080036C5ED02}"},
        {"Line", L"{09FCA085-DFBF-11D0-A275-080036C5ED02}"},
        {"Circle", L"{09FCA081-DFBF-11D0-A275-080036C5ED02}"},
        {"Ellipse", L"{09FCA083-DFBF-11D0-A275-080036C5ED02}"},
        {"BSplineCurve", L"{09FCA07F-DFBF-11D0-A275-080036C5ED02}"}};
    for (const auto& [owner, text] : identifiers) {
        IID iid{};
        ASSERT_EQ(IIDFromString(std::wstring(text).data(), &iid), S_OK);
        for (const auto& [name, object] : objects) {
            SCOPED_TRACE(name + " asked as " + owner);
            void* found = object.GetInterfacePtr();
            const HRESULT code = object->QueryInterface(iid, &found);
            EXPECT_EQ(code, name == owner ? S_OK : E_NOINTERFACE);
            EXPECT_EQ(found,
                      name == owner ? static_cast<void*>(object.GetInterfacePtr()) : nullptr);
            if (found != nullptr) {
                object->Release();
            }
        }
    }
}

} // namespace
