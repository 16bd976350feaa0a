//! Assembly documents and their occurrences.

#include "support/AssemblyObjects.h"
#include "support/CensusGuard.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace {

using namespace support;
using standin::HostError;
using standin::geom::Model;

class standin_Assembly : public HostTest
{
protected:
    standin::Session session;
    IDispatchPtr vice = session.openAssembly(viceModel(), "C:\\jobs\\vice.asm");

    [[nodiscard]] IDispatchPtr clampDocument() const { return documentOf(occurrenceOf(vice, 2)); }
    [[nodiscard]] std::set<std::string> openNames()
    {
        std::set<std::string> names;
        for (const IDispatchPtr& document : session.documents()) {
            names.insert(get(document, 9).text());
        }
        return names;
    }
};

// The document

TEST_F(standin_Assembly, TheDocumentHasWhatAllDocumentsHave)
{
    EXPECT_EQ(get(vice, 9).text(), "C:\\jobs\\vice.asm");
    EXPECT_EQ(get(vice, 18).text(), "vice.asm");
    EXPECT_EQ(get(vice, 70).number(), 3);
    EXPECT_EQ(need(get(vice, 22)).GetInterfacePtr(), session.application().GetInterfacePtr());
}

TEST_F(standin_Assembly, ItsOwnPlanesAndVariablesAreThere)
{
    const IDispatchPtr planes = need(get(vice, 0x6002));
    EXPECT_EQ(get(planes, 2).number(), 3) << "the default planes";
    EXPECT_EQ(get(need(get(vice, 0x6065)), 2).number(), 3) << "under the number of parts";
    const IDispatchPtr plane = item(planes, 2);
    EXPECT_NE(item(need(get(clampDocument(), 0x6002)), 2).GetInterfacePtr(),
              plane.GetInterfacePtr());
    standin::VariableSpec variable;
    session.addVariable(vice, variable);
    EXPECT_EQ(get(need(get(vice, 0x6001)), 20).number(), 1);
    session.close(vice);
    EXPECT_EQ(get(plane, 4711).code, RPC_E_DISCONNECTED);
}

// Occurrences

TEST_F(standin_Assembly, OccurrencesAreCountedFromOne)
{
    const IDispatchPtr occurrences = occurrencesOf(vice);
    EXPECT_EQ(get(occurrences, 3).number(), 3);
    EXPECT_EQ(nameOf(item(occurrences, 1)), "base");
    EXPECT_EQ(nameOf(item(occurrences, 2)), "front clamp");
    EXPECT_EQ(nameOf(item(occurrences, 3)), "side clamp");
    EXPECT_EQ(method(occurrences, 0, {value(LONG{0})}).code, DISP_E_BADINDEX);
    EXPECT_EQ(method(occurrences, 0, {value(LONG{4})}).code, DISP_E_BADINDEX);
    EXPECT_EQ(method(occurrences, 0, {missing()}).code, DISP_E_PARAMNOTOPTIONAL);
}

TEST_F(standin_Assembly, PartsAndSubassembliesAreToldApart)
{
    const IDispatchPtr base = occurrenceOf(vice, 1);
    EXPECT_EQ(get(base, 10).code, S_OK);
    EXPECT_FALSE(get(base, 10).flag());
    EXPECT_EQ(get(base, 11).number(), static_cast<LONG>(0x8FF2DD03u));
    EXPECT_EQ(get(documentOf(base), 70).number(), 1);
    const IDispatchPtr clamp = occurrenceOf(vice, 2);
    EXPECT_TRUE(get(clamp, 10).flag());
    EXPECT_EQ(get(clamp, 11).number(), static_cast<LONG>(0x8FF2DD04u));
    EXPECT_EQ(get(documentOf(clamp), 70).number(), 3);
}

TEST_F(standin_Assembly, AnOccurrenceIsOneObjectWhileItIsHeld)
{
    const IDispatchPtr base = occurrenceOf(vice, 1);
    EXPECT_EQ(occurrenceOf(vice, 1).GetInterfacePtr(), base.GetInterfacePtr());
    EXPECT_NE(occurrenceOf(vice, 2).GetInterfacePtr(), base.GetInterfacePtr());
    const IDispatchPtr occurrences = occurrencesOf(vice);
    EXPECT_EQ(occurrencesOf(vice).GetInterfacePtr(), occurrences.GetInterfacePtr());
}

TEST_F(standin_Assembly, ASubassemblyPlacedTwiceShowsTheSameOccurrences)
{
    const IDispatchPtr front = documentOf(occurrenceOf(vice, 2));
    const IDispatchPtr side = documentOf(occurrenceOf(vice, 3));
    EXPECT_EQ(front.GetInterfacePtr(), side.GetInterfacePtr());
    const IDispatchPtr bolt = occurrenceOf(front, 3);
    EXPECT_EQ(occurrenceOf(side, 3).GetInterfacePtr(), bolt.GetInterfacePtr());
    EXPECT_NE(occurrenceOf(front, 2).GetInterfacePtr(), bolt.GetInterfacePtr());
    EXPECT_EQ(documentOf(occurrenceOf(front, 2)).GetInterfacePtr(),
              documentOf(bolt).GetInterfacePtr());
}

TEST_F(standin_Assembly, TheParentsParentIsTheAssembly)
{
    const IDispatchPtr occurrence = occurrenceOf(clampDocument(), 1);
    const IDispatchPtr collection = need(named(occurrence, L"Parent", DISPATCH_PROPERTYGET));
    EXPECT_EQ(collection.GetInterfacePtr(), occurrencesOf(clampDocument()).GetInterfacePtr());
    EXPECT_EQ(need(named(collection, L"Parent", DISPATCH_PROPERTYGET)).GetInterfacePtr(),
              clampDocument().GetInterfacePtr());
}

TEST_F(standin_Assembly, MatricesHoldTheImagesOfTheAxesAndTheOrigin)
{
    const auto matrixOf = [](const IDispatchPtr& occurrence) {
        Array matrix;
        EXPECT_EQ(named(occurrence, L"GetMatrix", DISPATCH_METHOD, {reference(matrix)}).code, S_OK);
        return matrix.doubles();
    };
    EXPECT_EQ(matrixOf(occurrenceOf(vice, 2)), (std::vector<double>{1, 0, 0, 0, //
                                                                    0, 1, 0, 0, //
                                                                    0, 0, 1, 0, //
                                                                    1, 0, 0, 1}));
    EXPECT_EQ(matrixOf(occurrenceOf(vice, 3)), (std::vector<double>{0, 1, 0, 0,  //
                                                                    -1, 0, 0, 0, //
                                                                    0, 0, 1, 0,  //
                                                                    0, 2, 0, 1}));
}

TEST_F(standin_Assembly, TreesAreAsDeepAsTheyAreMade)
{
    Model model;
    std::size_t inner = standin::addPart(model, "part", {plainBox()});
    for (int level = 1; level <= 200 - 1; ++level) {
        inner = standin::addAssembly(model, "level", {standin::use(inner, "inside")});
    }
    IDispatchPtr document = session.openAssembly(model, "deep");
    for (int level = 1; level <= 200 - 1; ++level) {
        ASSERT_EQ(countOccurrences(document), 1);
        document = documentOf(occurrenceOf(document, 1));
    }
    EXPECT_EQ(get(document, 70).number(), 1);
    standin::addAssembly(model, "level", {standin::use(inner, "inside")});
    EXPECT_THROW(session.openAssembly(model, "deeper"), HostError);
}

// Keys

TEST_F(standin_Assembly, OccurrencesHaveKeysThatBindInTheirAssembly)
{
    const auto bind = [](const IDispatchPtr& assembly, const std::vector<unsigned char>& key) {
        Array array(key);
        IDispatch* object = nullptr;
        EXPECT_EQ(method(assembly, 24582, {reference(array, VT_UI1), reference(object)}).code,
                  S_OK);
        return IDispatchPtr(object, false);
    };
    std::set<std::vector<unsigned char>> keys;
    for (const IDispatchPtr& assembly : {vice, clampDocument()}) {
        for (LONG i = 1; i <= 3; ++i) {
            const IDispatchPtr occurrence = occurrenceOf(assembly, i);
            const std::vector<unsigned char> key = keyOf(occurrence);
            EXPECT_EQ(key.size(), 20u);
            EXPECT_TRUE(keys.insert(key).second);
            EXPECT_EQ(keyOf(occurrence), key);
            EXPECT_EQ(bind(assembly, key).GetInterfacePtr(), occurrence.GetInterfacePtr());
        }
    }
    const std::vector<unsigned char> inner = keyOf(occurrenceOf(clampDocument(), 1));
    EXPECT_EQ(bind(vice, inner).GetInterfacePtr(), nullptr);
    Array none;
    IDispatch* object = nullptr;
    EXPECT_EQ(method(vice, 24582, {reference(none, VT_UI1), reference(object)}).failure(),
              E_INVALIDARG);
}

TEST_F(standin_Assembly, KeysOfOccurrencesFollowFromNames)
{
    const std::vector<unsigned char> base = keyOf(occurrenceOf(vice, 1));
    const std::vector<unsigned char> side = keyOf(occurrenceOf(vice, 3));
    standin::SessionOptions salted;
    salted.keySalt = 7;
    standin::Session other(salted);
    Model changed = viceModel();
    auto& occurrences = changed.products.back().occurrences;
    std::swap(occurrences[0], occurrences[2]);
    changed.products[0].bodies = {standin::makeBox({0.0, 0.0, 0.0}, {1.0, 1.0, 1.0})};
    const IDispatchPtr again = other.openAssembly(changed, "elsewhere");
    EXPECT_NE(keyOf(occurrenceOf(again, 3)), base) << "the session's number is in it";
    Array array(base);
    IDispatch* object = nullptr;
    method(again, 24582, {reference(array, VT_UI1), reference(object)});
    EXPECT_EQ(nameOf(IDispatchPtr(object, false)), "base");
    Array second(side);
    method(again, 24582, {reference(second, VT_UI1), reference(object)});
    EXPECT_EQ(nameOf(IDispatchPtr(object, false)), "side clamp");
}

// Documents of occurrences

TEST_F(standin_Assembly, DocumentsOfOccurrencesAreNamedAfterTheirProducts)
{
    EXPECT_EQ(openNames(),
              (std::set<std::string>{"C:\\jobs\\vice.asm", "C:\\jobs\\vice.asm!base",
                                     "C:\\jobs\\vice.asm!jaw", "C:\\jobs\\vice.asm!bolt",
                                     "C:\\jobs\\vice.asm!clamp"}));
    EXPECT_EQ(session.document("C:\\jobs\\vice.asm!clamp").GetInterfacePtr(),
              clampDocument().GetInterfacePtr());
    EXPECT_EQ(get(documentOf(occurrenceOf(clampDocument(), 2)), 18).text(), "vice.asm!bolt");
}

TEST_F(standin_Assembly, ProductsOfOneNameAreNumbered)
{
    Model model;
    const auto first = standin::addPart(model, "bolt", {plainBox()});
    const auto second = standin::addPart(model, "bolt", {plainBox()});
    const auto taken = standin::addPart(model, "bolt(2)", {plainBox()});
    standin::addAssembly(model, "all",
                         {standin::use(taken, "c"), standin::use(second, "b"),
                          standin::use(first, "a"), standin::use(second, "d")});
    const IDispatchPtr all = session.openAssembly(model, "all");
    const std::vector<std::string> names = {"all!bolt(2)(2)", "all!bolt(2)", "all!bolt",
                                            "all!bolt(2)"};
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(get(documentOf(occurrenceOf(all, static_cast<LONG>(i) + 1)), 9).text(), names[i]);
    }
}

TEST_F(standin_Assembly, ADocumentOfAnOccurrenceIsAPartLikeAnyOther)
{
    const IDispatchPtr base = documentOf(occurrenceOf(vice, 1));
    const IDispatchPtr face = faceOf(base, 1);
    EXPECT_EQ(bindKey(base, keyOf(face)).GetInterfacePtr(), face.GetInterfacePtr());
    EXPECT_EQ(session.bodies(base).size(), 1u);
    session.change(base, standin::makeModel({standin::makeBox({0.0, 0.0, 0.0}, {1.0, 1.0, 1.0})}));
    EXPECT_EQ(get(face, 48).code, RPC_E_DISCONNECTED);
    EXPECT_EQ(documentOf(occurrenceOf(vice, 1)).GetInterfacePtr(), base.GetInterfacePtr());
    session.rename(base, "renamed.par");
    EXPECT_EQ(session.occurrences(vice)[0].document, "renamed.par");
}

TEST_F(standin_Assembly, BodiesBesideOccurrencesAreAPartOfTheirOwn)
{
    Model model;
    const auto bolt = standin::addPart(model, "bolt", {plainBox()});
    const auto welded = standin::addAssembly(model, "welded", {standin::use(bolt, "bolt")});
    model.products[welded].bodies = {plainBox(), plainBox()};
    standin::addAssembly(model, "top", {standin::use(welded, "frame")});
    const IDispatchPtr top = session.openAssembly(model, "top");
    ASSERT_EQ(countOccurrences(top), 1);
    EXPECT_TRUE(get(occurrenceOf(top, 1), 10).flag());
    const IDispatchPtr frame = documentOf(occurrenceOf(top, 1));
    EXPECT_EQ(get(frame, 9).text(), "top!welded");
    ASSERT_EQ(countOccurrences(frame), 2);
    const IDispatchPtr own = occurrenceOf(frame, 1);
    EXPECT_EQ(nameOf(own), "welded");
    EXPECT_FALSE(get(own, 10).flag());
    EXPECT_EQ(get(documentOf(own), 9).text(), "top!welded(2)");
    EXPECT_EQ(get(need(get(documentOf(own), 24681)), 5).number(), 2);
    EXPECT_EQ(nameOf(occurrenceOf(frame, 2)), "bolt");
    standin::OpenOptions asRoot;
    asRoot.product = welded;
    EXPECT_EQ(countOccurrences(session.openAssembly(model, "alone", asRoot)), 2);
}

TEST_F(standin_Assembly, APartWithoutBodiesIsAPartAndOneWithNothingInItOpensAlone)
{
    Model model;
    const auto nothing = standin::addPart(model, "nothing", {});
    const IDispatchPtr empty = session.openAssembly(model, "empty");
    EXPECT_EQ(get(empty, 70).number(), 3);
    EXPECT_EQ(countOccurrences(empty), 0);
    standin::addAssembly(model, "top", {standin::use(nothing, "x")});
    const IDispatchPtr inside = documentOf(occurrenceOf(session.openAssembly(model, "top"), 1));
    EXPECT_EQ(get(inside, 70).number(), 1);
    EXPECT_EQ(get(need(get(inside, 24681)), 5).number(), 0);
}

// Closing

TEST_F(standin_Assembly, ClosingDisconnectsAllThatWasOpenForTheAssembly)
{
    const IDispatchPtr clamp = clampDocument();
    const IDispatchPtr bolt = documentOf(occurrenceOf(clamp, 2));
    const IDispatchPtr face = faceOf(bolt, 1);
    const std::vector<IDispatchPtr> objects = {
        vice,
        occurrencesOf(vice),
        occurrenceOf(vice, 2),
        clamp,
        occurrenceOf(clamp, 2),
        bolt,
        face,
        need(createReference(vice, occurrenceOf(vice, 1), nullptr))};
    EXPECT_EQ(named(vice, L"Close", DISPATCH_METHOD).code, S_OK);
    EXPECT_TRUE(session.documents().empty());
    for (const IDispatchPtr& object : objects) {
        EXPECT_EQ(get(object, 4711).code, RPC_E_DISCONNECTED);
        DISPID id = 0;
        EXPECT_EQ(identify(object, L"Type", id), RPC_E_DISCONNECTED);
    }
    EXPECT_THROW(session.close(vice), HostError);
    EXPECT_THROW(static_cast<void>(session.occurrences(vice)), HostError);
}

TEST_F(standin_Assembly, AnUsedDocumentStaysOpenUntilItsAssemblyCloses)
{
    const IDispatchPtr clamp = clampDocument();
    EXPECT_EQ(named(clamp, L"Close", DISPATCH_METHOD).code, S_OK);
    session.close(documentOf(occurrenceOf(clamp, 1)));
    EXPECT_EQ(get(clamp, 70).number(), 3);
    EXPECT_EQ(session.documents().size(), 5u);
    session.close(vice);
    EXPECT_EQ(get(clamp, 70).code, RPC_E_DISCONNECTED);
}

TEST_F(standin_Assembly, ASessionsEndDisconnectsAssembliesToo)
{
    IDispatchPtr occurrence;
    {
        standin::Session brief;
        occurrence = occurrenceOf(brief.openAssembly(viceModel(), "vice"), 2);
    }
    EXPECT_EQ(get(occurrence, 10).code, RPC_E_DISCONNECTED);
}

TEST_F(standin_Assembly, TheSameNameOpensAgainAfterClosing)
{
    EXPECT_THROW(session.openAssembly(viceModel(), "C:\\jobs\\vice.asm"), HostError);
    session.close(vice);
    const IDispatchPtr again = session.openAssembly(viceModel(), "C:\\jobs\\vice.asm");
    EXPECT_EQ(countOccurrences(again), 3);
}

// Choosing and refusing

TEST_F(standin_Assembly, WhatAModelHoldsOpensAsWhatItIs)
{
    EXPECT_EQ(get(session.open(viceModel(), "a"), 70).number(), 3);
    EXPECT_EQ(get(session.open(standin::makeModel({plainBox()}), "b"), 70).number(), 1);
    standin::OpenOptions options;
    options.product = 0;
    EXPECT_EQ(get(session.open(viceModel(), "c", options), 70).number(), 1);
    options.product = 3;
    options.as = "named";
    const IDispatchPtr clamp = session.open(viceModel(), "d", options);
    EXPECT_EQ(get(clamp, 9).text(), "named");
    EXPECT_EQ(get(documentOf(occurrenceOf(clamp, 1)), 9).text(), "named!jaw");
}

TEST_F(standin_Assembly, AnAssemblyMustBeThereAndBeTheOnlyOne)
{
    EXPECT_THROW(session.openAssembly(standin::makeModel({plainBox()}), "a"), HostError);
    EXPECT_THROW(session.openAssembly(Model(), "a"), HostError);
    EXPECT_THROW(session.open(Model(), "a"), HostError);
    EXPECT_THROW(session.openAssembly(viceModel(), ""), HostError);
    Model two = viceModel();
    standin::addAssembly(two, "other", {standin::use(0, "base")});
    try {
        session.openAssembly(two, "a");
        FAIL() << "there are two";
    } catch (const HostError& error) {
        EXPECT_NE(std::string(error.what()).find("4 \"vice\", 5 \"other\""), std::string::npos)
            << error.what();
    }
    standin::OpenOptions options;
    options.product = 5;
    EXPECT_EQ(countOccurrences(session.openAssembly(two, "a", options)), 1);
    for (const std::size_t product : {std::size_t{0}, std::size_t{6}}) {
        options.product = product;
        EXPECT_THROW(session.openAssembly(two, "b", options), HostError);
    }
}

TEST_F(standin_Assembly, ATreeThatIsNoneIsRefusedAndNothingStaysOpen)
{
    session.close(vice);
    Model model = viceModel();
    model.products[3].occurrences[1].product = 99;
    EXPECT_THROW(session.openAssembly(model, "a"), HostError);
    model.products[3].occurrences[1].product = standin::geom::kNone;
    EXPECT_THROW(session.openAssembly(model, "a"), HostError);
    model.products[3].occurrences[1].product = 3;
    EXPECT_THROW(session.openAssembly(model, "a"), HostError) << "inside itself";
    model = viceModel();
    model.products[3].occurrences[0].placement.row[7] = std::nan("");
    EXPECT_THROW(session.openAssembly(model, "a"), HostError);
    const IDispatchPtr part = session.openPart(standin::makeModel({plainBox()}), "a!bolt");
    EXPECT_THROW(session.openAssembly(viceModel(), "a"), HostError) << "one name is taken";
    EXPECT_EQ(session.documents().size(), 1u);
}

TEST_F(standin_Assembly, WhatIsForPartsRefusesAssemblies)
{
    EXPECT_THROW(static_cast<void>(session.bodies(vice)), HostError);
    EXPECT_THROW(session.change(vice, viceModel()), HostError);
    EXPECT_TRUE(session.occurrences(documentOf(occurrenceOf(vice, 1))).empty());
}

TEST_F(standin_Assembly, WarningsAreTheReaders)
{
    Model model = viceModel();
    model.warnings.emplace_back("left out: a picture");
    const IDispatchPtr document = session.openAssembly(model, "w");
    EXPECT_EQ(session.warnings(document), model.warnings);
    EXPECT_EQ(session.warnings(documentOf(occurrenceOf(document, 1))), model.warnings);
}

// The view

TEST_F(standin_Assembly, TheTreeIsToldAsData)
{
    const std::vector<standin::OccurrenceView> tree = session.occurrences(vice);
    ASSERT_EQ(tree.size(), 3u);
    EXPECT_EQ(tree[0].name, "base");
    EXPECT_EQ(tree[0].document, "C:\\jobs\\vice.asm!base");
    EXPECT_FALSE(tree[0].subassembly);
    EXPECT_TRUE(tree[0].occurrences.empty());
    EXPECT_EQ(tree[2].document, "C:\\jobs\\vice.asm!clamp");
    EXPECT_TRUE(tree[2].subassembly);
    EXPECT_EQ(tree[2].placement.row[1], -1.0);
    ASSERT_EQ(tree[2].occurrences.size(), 3u);
    EXPECT_EQ(tree[2].occurrences[1].name, "left bolt");
    EXPECT_EQ(tree[2].occurrences[1].placement.row[7], 0.1);
}

TEST_F(standin_Assembly, ATreeOfTooManyOccurrencesIsNotTold)
{
    Model model;
    std::size_t inner = standin::addPart(model, "part", {plainBox()});
    for (int level = 0; level < 60; ++level) {
        inner = standin::addAssembly(model, "twice",
                                     {standin::use(inner, "a"), standin::use(inner, "b")});
    }
    const IDispatchPtr document = session.openAssembly(model, "many");
    EXPECT_THROW(static_cast<void>(session.occurrences(document)), HostError);
    EXPECT_EQ(countOccurrences(document), 2);
}

// Faults

TEST_F(standin_Assembly, AnOccurrenceCanLoseItsDocument)
{
    const IDispatchPtr bolt = occurrenceOf(clampDocument(), 3);
    session.loseDocument(bolt, RPC_E_CALL_REJECTED);
    EXPECT_EQ(get(bolt, 38).failure(), RPC_E_CALL_REJECTED);
    EXPECT_EQ(get(occurrenceOf(clampDocument(), 2), 38).code, S_OK) << "the other one has its own";
    session.loseDocument(bolt, S_OK);
    const Outcome none = get(bolt, 38);
    EXPECT_EQ(none.code, S_OK);
    EXPECT_EQ(V_VT(&none.result), VT_DISPATCH);
    EXPECT_EQ(none.object().GetInterfacePtr(), nullptr);
    session.loseDocument(occurrenceOf(vice, 2));
    EXPECT_EQ(get(occurrenceOf(vice, 2), 38).failure(), E_FAIL);
    EXPECT_TRUE(get(occurrenceOf(vice, 2), 10).flag()) << "it is a subassembly still";
    EXPECT_THROW(session.loseDocument(vice), HostError);
    EXPECT_THROW(session.loseDocument(nullptr), HostError);
    const IDispatchPtr base = occurrenceOf(vice, 1);
    session.close(vice);
    EXPECT_THROW(session.loseDocument(base), HostError);
}

TEST_F(standin_Assembly, ADocumentCanBeOfAnotherType)
{
    const IDispatchPtr base = documentOf(occurrenceOf(vice, 1));
    session.setType(base, 4);
    EXPECT_EQ(get(base, 70).number(), 4);
    session.setType(vice, 2);
    EXPECT_EQ(get(vice, 70).number(), 2);
    EXPECT_EQ(countOccurrences(vice), 3);
}

TEST_F(standin_Assembly, FaultsJournalAndCensusKnowTheClasses)
{
    const IDispatchPtr base = occurrenceOf(vice, 1);
    EXPECT_EQ(session.census().live("Occurrence"), 1);
    EXPECT_EQ(session.census().live("Occurrences"), 0);
    EXPECT_EQ(session.census().live("AssemblyDocument"), 1);
    session.journal().clear();
    standin::Fault fault;
    fault.className = "Occurrence";
    fault.member = "OccurrenceDocument";
    fault.kind = standin::FaultKind::nullObject;
    fault.nth = 2;
    session.faults().add(fault);
    EXPECT_NE(get(base, 38).object().GetInterfacePtr(), nullptr);
    EXPECT_EQ(get(base, 38).object().GetInterfacePtr(), nullptr);
    EXPECT_TRUE(session.faults().fired());
    EXPECT_EQ(session.journal().count("Occurrence.OccurrenceDocument"), 2);
}

TEST_F(standin_Assembly, TwinsAreOtherObjectsOfTheSameThing)
{
    standin::Fault fault;
    fault.kind = standin::FaultKind::differentAnswer;
    fault.lasting = true;
    const IDispatchPtr base = occurrenceOf(vice, 1);
    const IDispatchPtr collection = occurrencesOf(vice);
    session.faults().add(fault);
    const IDispatchPtr otherCollection = occurrencesOf(vice);
    const IDispatchPtr otherBase = item(collection, 1);
    session.faults().clear();
    EXPECT_NE(otherCollection.GetInterfacePtr(), collection.GetInterfacePtr());
    EXPECT_NE(otherBase.GetInterfacePtr(), base.GetInterfacePtr());
    EXPECT_EQ(nameOf(otherBase), "base");
    EXPECT_EQ(get(otherCollection, 3).number(), 3);
    EXPECT_EQ(createReference(vice, otherBase, nullptr).code, S_OK);
    EXPECT_EQ(occurrenceOf(vice, 1).GetInterfacePtr(), base.GetInterfacePtr());
}

} // namespace
