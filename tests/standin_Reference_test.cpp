//! References that assemblies make to what is inside their occurrences.

#include "support/AssemblyObjects.h"
#include "support/CensusGuard.h"

#include <gtest/gtest.h>

namespace {

using namespace support;
using standin::FaultKind;

//! What GetOccurrencesInPath answers.
struct Path
{
    IDispatchPtr top;
    LONG below = -1;
    LONG bound = -1;
    std::vector<IDispatchPtr> occurrences;
};

//! Takes the objects out of an array; they are its no more.
std::vector<IDispatchPtr> objectsIn(const Array& array)
{
    std::vector<IDispatchPtr> objects;
    for (IDispatch* each : array.elements<IDispatch*>()) {
        objects.emplace_back(each);
    }
    return objects;
}

Path pathOf(const IDispatchPtr& reference)
{
    Path path;
    IDispatch* top = nullptr;
    Array objects;
    const Outcome outcome =
        method(reference, 10,
               {support::reference(top), support::reference(path.below),
                support::reference(path.bound), support::reference(objects, VT_DISPATCH)});
    EXPECT_EQ(outcome.code, S_OK) << outcome.description;
    path.top = IDispatchPtr(top, false);
    path.occurrences = objectsIn(objects);
    return path;
}

std::vector<double> matrixOf(const IDispatchPtr& reference)
{
    Array matrix;
    EXPECT_EQ(method(reference, 8, {support::reference(matrix)}).code, S_OK);
    return matrix.doubles();
}

class standin_Reference : public HostTest
{
protected:
    standin::Session session;
    IDispatchPtr vice = session.openAssembly(viceModel(), "vice");
    IDispatchPtr base = occurrenceOf(vice, 1);
    IDispatchPtr front = occurrenceOf(vice, 2);
    IDispatchPtr side = occurrenceOf(vice, 3);
    IDispatchPtr clamp = documentOf(front);
    IDispatchPtr bolt = occurrenceOf(clamp, 3);
    IDispatchPtr face = faceOf(documentOf(bolt), 2);
};

TEST_F(standin_Reference, HandsOutTheVeryObject)
{
    const IDispatchPtr plane = faceOf(documentOf(base), 6);
    const IDispatchPtr reference = need(createReference(vice, base, plane));
    EXPECT_EQ(need(get(reference, 4)).GetInterfacePtr(), plane.GetInterfacePtr());
    EXPECT_EQ(get(reference, 6).number(), static_cast<LONG>(0xD22C9AD0u));
    EXPECT_EQ(named(reference, L"Type", DISPATCH_PROPERTYGET).number(), -768828720);
    EXPECT_EQ(need(get(reference, 5)).GetInterfacePtr(), base.GetInterfacePtr());
    EXPECT_EQ(need(get(reference, 7)).GetInterfacePtr(), base.GetInterfacePtr());
}

TEST_F(standin_Reference, TakesReferencePlanesOfTheOccurrencesDocument)
{
    const auto planeOf = [](const IDispatchPtr& document, DISPID planes) {
        return item(need(get(document, planes)), 2);
    };
    const IDispatchPtr ofPart = planeOf(documentOf(base), 0x6065);
    const IDispatchPtr reference = need(createReference(vice, base, ofPart));
    EXPECT_EQ(need(get(reference, 4)).GetInterfacePtr(), ofPart.GetInterfacePtr());
    const IDispatchPtr ofClamp = planeOf(clamp, 0x6002);
    EXPECT_EQ(need(get(need(createReference(vice, front, ofClamp)), 4)).GetInterfacePtr(),
              ofClamp.GetInterfacePtr());
    EXPECT_EQ(createReference(vice, base, ofClamp).failure(), E_INVALIDARG);
    EXPECT_EQ(createReference(vice, front, planeOf(vice, 0x6002)).failure(), E_INVALIDARG);
}

TEST_F(standin_Reference, KeepsItsObject)
{
    IDispatchPtr plane = faceOf(documentOf(base), 6);
    IDispatch* const address = plane;
    const IDispatchPtr reference = need(createReference(vice, base, plane));
    plane = IDispatchPtr();
    EXPECT_EQ(need(get(reference, 4)).GetInterfacePtr(), address);
    EXPECT_EQ(get(need(get(reference, 4)), 48).number(), 0x09FCA063);
}

TEST_F(standin_Reference, ToNoObjectIsToTheOccurrence)
{
    VARIANT empty;
    VariantInit(&empty);
    VARIANT null = empty;
    V_VT(&null) = VT_NULL;
    for (const VARIANT& entity : {empty, null, objectValue(nullptr)}) {
        const IDispatchPtr reference = need(method(vice, 38, {objectValue(base), entity}));
        EXPECT_EQ(need(get(reference, 4)).GetInterfacePtr(), base.GetInterfacePtr());
        EXPECT_EQ(need(get(reference, 5)).GetInterfacePtr(), base.GetInterfacePtr());
    }
}

TEST_F(standin_Reference, EveryOneIsNew)
{
    const IDispatchPtr one = need(createReference(vice, base, nullptr));
    const IDispatchPtr two = need(createReference(vice, base, nullptr));
    EXPECT_NE(one.GetInterfacePtr(), two.GetInterfacePtr());
}

TEST_F(standin_Reference, GoesDownByWrappingOnePerLevel)
{
    const IDispatchPtr inner = need(createReference(clamp, bolt, face));
    const IDispatchPtr outer = need(createReference(vice, front, inner));
    EXPECT_EQ(need(get(outer, 4)).GetInterfacePtr(), face.GetInterfacePtr());
    EXPECT_EQ(need(get(outer, 5)).GetInterfacePtr(), front.GetInterfacePtr());
    EXPECT_EQ(need(get(outer, 7)).GetInterfacePtr(), bolt.GetInterfacePtr());
    const Path path = pathOf(outer);
    EXPECT_EQ(path.top.GetInterfacePtr(), front.GetInterfacePtr());
    EXPECT_EQ(path.below, 1);
    EXPECT_EQ(path.bound, 1);
    ASSERT_EQ(path.occurrences.size(), 1u);
    EXPECT_EQ(path.occurrences[0].GetInterfacePtr(), bolt.GetInterfacePtr());
    const Path direct = pathOf(inner);
    EXPECT_EQ(direct.top.GetInterfacePtr(), bolt.GetInterfacePtr());
    EXPECT_EQ(direct.below, 0);
    EXPECT_TRUE(direct.occurrences.empty());
}

TEST_F(standin_Reference, MatricesArePlacementsMultiplied)
{
    const IDispatchPtr inner = need(createReference(clamp, bolt, face));
    EXPECT_EQ(matrixOf(inner), (std::vector<double>{1, 0, 0, 0, //
                                                    0, 1, 0, 0, //
                                                    0, 0, 1, 0, //
                                                    0, 0.2, 0, 1}));
    EXPECT_EQ(matrixOf(need(createReference(vice, front, inner))),
              (std::vector<double>{1, 0, 0, 0, //
                                   0, 1, 0, 0, //
                                   0, 0, 1, 0, //
                                   1, 0.2, 0, 1}));
    EXPECT_EQ(matrixOf(need(createReference(vice, side, inner))),
              (std::vector<double>{0, 1, 0, 0,  //
                                   -1, 0, 0, 0, //
                                   0, 0, 1, 0,  //
                                   -0.2, 2, 0, 1}));
}

TEST_F(standin_Reference, AnInnerOccurrenceAndAReferenceToItAreTheSame)
{
    const IDispatchPtr inner = need(createReference(clamp, bolt, nullptr));
    for (const IDispatchPtr& entity : {inner, bolt}) {
        const IDispatchPtr outer = need(createReference(vice, side, entity));
        EXPECT_EQ(need(get(outer, 4)).GetInterfacePtr(), bolt.GetInterfacePtr());
        EXPECT_EQ(need(get(outer, 5)).GetInterfacePtr(), side.GetInterfacePtr());
        EXPECT_EQ(need(get(outer, 7)).GetInterfacePtr(), bolt.GetInterfacePtr());
        EXPECT_EQ(pathOf(outer).below, 1);
        EXPECT_EQ(matrixOf(outer)[12], -0.2);
    }
}

TEST_F(standin_Reference, FourLevelsDown)
{
    standin::geom::Model model;
    std::size_t inner = standin::addPart(model, "part", {plainBox()});
    for (int level = 1; level <= 4; ++level) {
        inner =
            standin::addAssembly(model, "level",
                                 {standin::use(inner, "a"),
                                  standin::use(inner, "b", standin::shiftedBy({1.0, 0.0, 0.0}))});
    }
    std::vector<IDispatchPtr> documents{session.openAssembly(model, "deep")};
    std::vector<IDispatchPtr> path;
    for (int level = 1; level <= 4; ++level) {
        path.push_back(occurrenceOf(documents.back(), 2));
        documents.push_back(documentOf(path.back()));
    }
    IDispatchPtr reference = need(createReference(documents[3], path[3], faceOf(documents[4], 1)));
    for (std::size_t level = 3; level-- > 0;) {
        reference = need(createReference(documents[level], path[level], reference));
    }
    EXPECT_EQ(matrixOf(reference)[12], 4.0);
    const Path found = pathOf(reference);
    EXPECT_EQ(found.top.GetInterfacePtr(), path[0].GetInterfacePtr());
    ASSERT_EQ(found.occurrences.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(found.occurrences[i].GetInterfacePtr(), path[i + 1].GetInterfacePtr());
    }
}

// What is not taken

TEST_F(standin_Reference, OnlyOwnOccurrencesAreTaken)
{
    const IDispatchPtr other = session.openAssembly(viceModel(), "other");
    const IDispatchPtr reference = need(createReference(vice, base, nullptr));
    standin::Session foreign;
    const IDispatchPtr foreignVice = foreign.openAssembly(viceModel(), "vice");
    for (const IDispatchPtr& object : {bolt, occurrenceOf(other, 1), vice, occurrencesOf(vice),
                                       face, reference, occurrenceOf(foreignVice, 1)}) {
        const Outcome outcome = createReference(vice, object, nullptr);
        EXPECT_EQ(outcome.failure(), E_INVALIDARG);
        EXPECT_EQ(outcome.object().GetInterfacePtr(), nullptr);
    }
    EXPECT_EQ(createReference(vice, nullptr, nullptr).code, E_POINTER);
    EXPECT_EQ(method(vice, 38, {value(LONG{1}), objectValue(nullptr)}).code, DISP_E_TYPEMISMATCH);
}

TEST_F(standin_Reference, OnlyEntitiesOfTheOccurrencesDocumentAreTaken)
{
    const IDispatchPtr ownFace = faceOf(documentOf(base), 1);
    const IDispatchPtr inner = need(createReference(clamp, bolt, face));
    const IDispatchPtr outer = need(createReference(vice, front, inner));
    EXPECT_EQ(createReference(vice, base, face).failure(), E_INVALIDARG) << "another part's";
    EXPECT_EQ(createReference(vice, front, face).failure(), E_INVALIDARG) << "a level is skipped";
    EXPECT_EQ(createReference(vice, front, outer).failure(), E_INVALIDARG)
        << "made by this assembly";
    EXPECT_EQ(createReference(vice, base, inner).failure(), E_INVALIDARG)
        << "made by another document";
    EXPECT_EQ(createReference(vice, front, base).failure(), E_INVALIDARG) << "its own occurrence";
    EXPECT_EQ(createReference(vice, base, base).failure(), E_INVALIDARG);
    EXPECT_EQ(createReference(vice, front, clamp).failure(), E_INVALIDARG) << "a whole document";
    session.change(documentOf(base), standin::makeModel({plainBox()}));
    EXPECT_EQ(createReference(vice, base, ownFace).failure(), E_INVALIDARG) << "gone";
}

TEST_F(standin_Reference, AnEntityThatIsNoObjectIsOfTheWrongType)
{
    Array doubles{1.0};
    for (const VARIANT& entity : {value(LONG{1}), value(0.5), value(true), reference(doubles)}) {
        const Outcome outcome = method(vice, 38, {objectValue(base), entity});
        EXPECT_EQ(outcome.code, DISP_E_TYPEMISMATCH);
        EXPECT_EQ(outcome.argument, 0u);
    }
    EXPECT_EQ(method(vice, 38, {objectValue(base)}).code, DISP_E_BADPARAMCOUNT);
}

TEST_F(standin_Reference, EntitiesComeByReferenceToo)
{
    const IDispatchPtr plane = faceOf(documentOf(base), 1);
    IDispatch* bare = plane;
    const IDispatchPtr direct = need(method(vice, 38, {objectValue(base), reference(bare)}));
    EXPECT_EQ(need(get(direct, 4)).GetInterfacePtr(), bare);
    _variant_t wrapped(bare);
    const IDispatchPtr behind = need(method(vice, 38, {objectValue(base), reference(wrapped)}));
    EXPECT_EQ(need(get(behind, 4)).GetInterfacePtr(), bare);
}

// The other method

TEST_F(standin_Reference, TheOtherMethodGoesOnFromAReferenceToAnOccurrence)
{
    const auto create = [this](IDispatch* from, IDispatch* entity) {
        return method(vice, 24652, {objectValue(from), objectValue(entity)});
    };
    EXPECT_EQ(need(get(need(create(base, nullptr)), 4)).GetInterfacePtr(), base.GetInterfacePtr());
    const IDispatchPtr toBolt = need(createReference(vice, side, bolt));
    const IDispatchPtr toFace = need(create(toBolt, face));
    EXPECT_EQ(need(get(toFace, 4)).GetInterfacePtr(), face.GetInterfacePtr());
    EXPECT_EQ(need(get(toFace, 5)).GetInterfacePtr(), side.GetInterfacePtr());
    EXPECT_EQ(matrixOf(toFace)[12], -0.2);
    EXPECT_EQ(create(toFace, nullptr).failure(), E_INVALIDARG) << "a face has no inside";
    const IDispatchPtr inner = need(createReference(clamp, bolt, nullptr));
    EXPECT_EQ(create(inner, face).failure(), E_INVALIDARG) << "made by another document";
    EXPECT_EQ(create(toBolt, faceOf(documentOf(base), 1)).failure(), E_INVALIDARG);
}

// Lifetime and faults

TEST_F(standin_Reference, IsDisconnectedWithItsAssembly)
{
    const IDispatchPtr inner = need(createReference(clamp, bolt, face));
    const IDispatchPtr outer = need(createReference(vice, front, inner));
    session.close(vice);
    EXPECT_EQ(get(inner, 4).code, RPC_E_DISCONNECTED);
    EXPECT_EQ(get(outer, 4).code, RPC_E_DISCONNECTED);
}

TEST_F(standin_Reference, OutlivesTheChangeOfItsPartWithADeadObject)
{
    const IDispatchPtr reference = need(createReference(vice, base, faceOf(documentOf(base), 1)));
    session.change(documentOf(base), standin::makeModel({plainBox()}));
    EXPECT_EQ(get(need(get(reference, 4)), 48).code, RPC_E_DISCONNECTED);
}

class standin_ReferencePath : public standin_Reference
{
protected:
    IDispatchPtr outer =
        need(createReference(vice, front, need(createReference(clamp, bolt, face))));

    //! Asks for the path with a fault and an array of the caller's.
    Outcome ask(FaultKind kind, Array& objects)
    {
        session.faults().clear();
        standin::Fault fault;
        fault.kind = kind;
        fault.member = "GetOccurrencesInPath";
        session.faults().add(fault);
        IDispatch* top = nullptr;
        LONG below = 0;
        LONG bound = 0;
        Outcome outcome = method(
            outer, 10,
            {reference(top), reference(below), reference(bound), reference(objects, VT_DISPATCH)});
        IDispatchPtr(top, false);
        EXPECT_TRUE(session.faults().fired());
        return outcome;
    }
};

TEST_F(standin_ReferencePath, TheCallersObjectsAreReleased)
{
    Array objects(VT_DISPATCH, 1);
    {
        IDispatchPtr extra = occurrenceOf(clamp, 1);
        LONG first = 0;
        ASSERT_EQ(SafeArrayPutElement(objects.get(), &first, extra.GetInterfacePtr()), S_OK);
    }
    const long before = session.census().live("Occurrence");
    IDispatch* top = nullptr;
    LONG below = 0;
    LONG bound = 0;
    ASSERT_EQ(method(outer, 10,
                     {reference(top), reference(below), reference(bound),
                      reference(objects, VT_DISPATCH)})
                  .code,
              S_OK);
    IDispatchPtr(top, false);
    EXPECT_EQ(session.census().live("Occurrence"), before - 1);
    EXPECT_EQ(objectsIn(objects).at(0).GetInterfacePtr(), bolt.GetInterfacePtr());
}

TEST_F(standin_ReferencePath, OtherArraysAreNotTaken)
{
    IDispatch* top = nullptr;
    LONG below = 0;
    LONG bound = 0;
    Array doubles{1.0};
    const Outcome outcome =
        method(outer, 10, {reference(top), reference(below), reference(bound), reference(doubles)});
    EXPECT_EQ(outcome.code, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(outcome.argument, 0u);
    EXPECT_EQ(top, nullptr);
}

TEST_F(standin_ReferencePath, FaultsChangeArraysOfObjects)
{
    Array objects;
    EXPECT_EQ(ask(FaultKind::nullArray, objects).code, S_OK);
    EXPECT_EQ(objects.get(), nullptr);
    EXPECT_EQ(ask(FaultKind::emptyArray, objects).code, S_OK);
    EXPECT_EQ(objects.size(), 0u);
    EXPECT_NE(objects.get(), nullptr);
    EXPECT_EQ(ask(FaultKind::shortArray, objects).code, S_OK);
    EXPECT_EQ(objects.size(), 0u);
    EXPECT_EQ(ask(FaultKind::otherLowerBound, objects).code, S_OK);
    EXPECT_EQ(objects.lowerBound(), 5);
    EXPECT_EQ(objectsIn(objects).at(0).GetInterfacePtr(), bolt.GetInterfacePtr());
    EXPECT_EQ(ask(FaultKind::differentAnswer, objects).code, S_OK);
    const IDispatchPtr twin = objectsIn(objects).at(0);
    EXPECT_NE(twin.GetInterfacePtr(), bolt.GetInterfacePtr());
    EXPECT_EQ(nameOf(twin), "right bolt");
    EXPECT_EQ(ask(FaultKind::otherElementType, objects).code, S_OK);
    EXPECT_EQ(objects.type(), VT_R8);
    EXPECT_EQ(objects.doubles(), std::vector<double>{0.0});
}

TEST_F(standin_ReferencePath, EveryCallMayFail)
{
    long nth = 1;
    for (;; ++nth) {
        ASSERT_LT(nth, 100);
        session.faults().clear();
        session.faults().failCall(nth);
        bool raised = false;
        try {
            const IDispatchPtr inner = need(createReference(clamp, bolt, face));
            const IDispatchPtr reference = need(createReference(vice, front, inner));
            need(get(reference, 4));
        } catch (const std::runtime_error&) {
            raised = true;
        }
        if (!session.faults().fired()) {
            break;
        }
        EXPECT_TRUE(raised);
    }
    EXPECT_EQ(nth, 4);
}

} // namespace
