// What a saved reference needs of its live object: its box and the references of its children.

#include "com/Com.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "support/FakeDispatch.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const char* const kSource = "ktmdl_Topo.cpp";
const HRESULT kGone = static_cast<HRESULT>(0x80010108u);

//! The calls that read a collection and its count.
std::vector<std::string> collectionCalls(const std::string& aOwner, const std::string& aName)
{
    return {aOwner + "." + aName + "?", aOwner + ".get " + aName + "(I4 1)", aName + ".get 23()"};
}

//! The calls that make the reference of an item and its box.
std::vector<std::string> itemCalls(const std::string& aCollection, int aIdx,
                                   const std::string& aItem)
{
    return joined(
        {{aCollection + ".0(I4 " + std::to_string(aIdx) + ")"}, keyCalls(aItem), boxCalls(aItem)});
}

//! A body with two faces and three edges, each with its own key and box.
struct Body
{
    explicit Body(Scene& aScene)
        : faceA(aScene.Keyed("faceA", {10}, {1, 1, 1}, {2, 2, 2})),
          faceB(aScene.Keyed("faceB", {11}, {3, 3, 3}, {4, 4, 4})),
          edgeA(aScene.Keyed("edgeA", {20}, {5, 5, 5}, {6, 6, 6})),
          edgeB(aScene.Keyed("edgeB", {21}, {7, 7, 7}, {8, 8, 8})),
          edgeC(aScene.Keyed("edgeC", {22}, {9, 9, 9}, {10, 10, 10})),
          faces(aScene.Collection("Faces", {&faceA, &faceB})),
          edges(aScene.Collection("Edges", {&edgeA, &edgeB, &edgeC})),
          body(aScene.Keyed("body", {1}, {-1, -2, -3}, {4, 5, 6}))
    {
        body.Property(L"Faces", fake::givesObject(&faces));
        body.Property(L"Edges", fake::givesObject(&edges));
        topo = newTopo(body, 6);
        aScene.world.Forget();
    }

    fake::Object& faceA;
    fake::Object& faceB;
    fake::Object& edgeA;
    fake::Object& edgeB;
    fake::Object& edgeC;
    fake::Object& faces;
    fake::Object& edges;
    fake::Object& body;
    Hnd_ktmdl_Topo topo;
};

//! Puts lists that must go into a reference.
void putOldLists(const Hnd_ktmdl_Topo& aTopo)
{
    aTopo->mSubTopos[0] = listOf({newTopo(Bytes{90})});
    aTopo->mSubTopos[1] = listOf({newTopo(Bytes{91})});
}

std::vector<Bytes> keysOf(const Hnd_ktmdl_TopoHSeq& aList)
{
    std::vector<Bytes> keys;
    for (const Hnd_ktmdl_Topo& topo : elementsOf(aList)) {
        keys.push_back(keyOf(topo));
    }
    return keys;
}

const std::vector<Bytes> kFaceKeys = {{10}, {11}};
const std::vector<Bytes> kEdgeKeys = {{20}, {21}, {22}};

} // namespace

TEST(ktmdl_Topo, BuildPersistentDataOfAnEdgeSetsTheBoxOnly)
{
    for (const unsigned char type :
         {static_cast<unsigned char>(1), static_cast<unsigned char>(2)}) {
        Scene scene;
        const Body body(scene);
        body.topo->tplType = type;
        putOldLists(body.topo);
        EXPECT_EQ(body.topo->BuildPersistentData(), 0);
        EXPECT_EQ(cornersOf(body.topo->mBBox), corners({-1, -2, -3}, {4, 5, 6}));
        EXPECT_EQ(body.topo->mSubTopos[0].IsNull(), 1);
        EXPECT_EQ(body.topo->mSubTopos[1].IsNull(), 1);
        scene.ExpectCalls(boxCalls("body"));
    }
}

TEST(ktmdl_Topo, BuildPersistentDataOfAFaceBuildsItsEdges)
{
    for (unsigned char type = 3; type <= 5; ++type) {
        Scene scene;
        const Body body(scene);
        body.topo->tplType = type;
        putOldLists(body.topo);
        EXPECT_EQ(body.topo->BuildPersistentData(), 0);
        EXPECT_EQ(cornersOf(body.topo->mBBox), corners({-1, -2, -3}, {4, 5, 6}));
        EXPECT_EQ(keysOf(body.topo->mSubTopos[0]), kEdgeKeys);
        EXPECT_EQ(body.topo->mSubTopos[1].IsNull(), 1);
        scene.ExpectCalls(joined({boxCalls("body"), collectionCalls("body", "Edges"),
                                  itemCalls("Edges", 1, "edgeA"), itemCalls("Edges", 2, "edgeB"),
                                  itemCalls("Edges", 3, "edgeC")}));
        scene.ExpectLog({});
    }
}

TEST(ktmdl_Topo, BuildPersistentDataOfABodyBuildsItsFacesThenItsEdges)
{
    for (unsigned char type = 6; type <= 7; ++type) {
        Scene scene;
        const Body body(scene);
        body.topo->tplType = type;
        putOldLists(body.topo);
        EXPECT_EQ(body.topo->BuildPersistentData(), 0);
        EXPECT_EQ(keysOf(body.topo->mSubTopos[0]), kEdgeKeys);
        EXPECT_EQ(keysOf(body.topo->mSubTopos[1]), kFaceKeys);
        scene.ExpectCalls(joined({boxCalls("body"), collectionCalls("body", "Faces"),
                                  itemCalls("Faces", 1, "faceA"), itemCalls("Faces", 2, "faceB"),
                                  collectionCalls("body", "Edges"), itemCalls("Edges", 1, "edgeA"),
                                  itemCalls("Edges", 2, "edgeB"), itemCalls("Edges", 3, "edgeC")}));
    }
}

TEST(ktmdl_Topo, BuildPersistentDataOfAnUnknownTypeSetsTheBoxAndDropsTheLists)
{
    for (const int type : {0, 8, 255}) {
        Scene scene;
        const Body body(scene);
        body.topo->tplType = static_cast<unsigned char>(type);
        putOldLists(body.topo);
        EXPECT_EQ(body.topo->BuildPersistentData(), -1) << type;
        EXPECT_EQ(cornersOf(body.topo->mBBox), corners({-1, -2, -3}, {4, 5, 6}));
        EXPECT_EQ(body.topo->mSubTopos[0].IsNull(), 1);
        EXPECT_EQ(body.topo->mSubTopos[1].IsNull(), 1);
        scene.ExpectCalls(boxCalls("body"));
    }
}

TEST(ktmdl_Topo, BuildPersistentDataSetsWhatAChildNeeds)
{
    Scene scene;
    const Body body(scene);
    fake::Object& document = scene.world.Make("document");
    body.topo->mDispDoc = document.Ptr();
    EXPECT_EQ(body.topo->BuildPersistentData(), 0);
    const Hnd_ktmdl_Topo face = body.topo->mSubTopos[1]->Value(2);
    EXPECT_EQ(face->tplType, 5);
    EXPECT_EQ(face->mIsSubTopo, 1);
    EXPECT_EQ(face->mDispTopo.GetInterfacePtr(), &body.faceB);
    EXPECT_EQ(face->mDispDoc.GetInterfacePtr(), &document);
    EXPECT_EQ(cornersOf(face->mBBox), corners({3, 3, 3}, {4, 4, 4}));
    EXPECT_EQ(face->mDocName.IsEmpty(), 1);
    const Hnd_ktmdl_Topo edge = body.topo->mSubTopos[0]->Value(3);
    EXPECT_EQ(edge->tplType, 2);
    EXPECT_EQ(edge->mIsSubTopo, 1);
    EXPECT_EQ(edge->mDispTopo.GetInterfacePtr(), &body.edgeC);
    EXPECT_EQ(edge->mDispDoc.GetInterfacePtr(), &document);
    EXPECT_EQ(cornersOf(edge->mBBox), corners({9, 9, 9}, {10, 10, 10}));
    EXPECT_EQ(body.topo->mIsSubTopo, 0) << "the parent is none's child";
}

TEST(ktmdl_Topo, BuildPersistentDataRegistersTheChildren)
{
    Scene scene;
    const Body body(scene);
    EXPECT_EQ(body.topo->BuildPersistentData(), 0);
    EXPECT_EQ(newTopo(Bytes{11}), body.topo->mSubTopos[1]->Value(2));
    EXPECT_EQ(newTopo(Bytes{20}), body.topo->mSubTopos[0]->Value(1));
}

TEST(ktmdl_Topo, BuildPersistentDataTakesOverARegisteredChild)
{
    Scene scene;
    const Body body(scene);
    fake::Object& oldDocument = scene.world.Make("old document");
    fake::Object& oldFace = scene.world.Make("old face");
    const Hnd_ktmdl_Topo known = newTopo(Bytes{10});
    known->tplType = 3;
    known->mDispDoc = oldDocument.Ptr();
    known->mDispTopo = oldFace.Ptr();
    known->mDocName = ktstd_AsciiString("name");
    EXPECT_EQ(body.topo->BuildPersistentData(), 0);
    EXPECT_EQ(body.topo->mSubTopos[1]->Value(1), known);
    EXPECT_EQ(known->tplType, 5);
    EXPECT_EQ(known->mIsSubTopo, 1);
    EXPECT_EQ(known->mDispTopo.GetInterfacePtr(), &body.faceA);
    EXPECT_EQ(known->mDispDoc.GetInterfacePtr(), nullptr) << "as its parent's";
    EXPECT_STREQ(known->mDocName.ToCString(), "name");
    EXPECT_EQ(cornersOf(known->mBBox), corners({1, 1, 1}, {2, 2, 2}));
}

TEST(ktmdl_Topo, BuildPersistentDataHoldsEachChildOnce)
{
    Scene scene;
    const Body body(scene);
    EXPECT_EQ(body.topo->BuildPersistentData(), 0);
    EXPECT_EQ(body.topo->mSubTopos[1]->Value(1)->RefCount(), 2) << "the list and the registry";
    EXPECT_EQ(body.faceA.Held(), 1);
    EXPECT_EQ(body.faces.Held(), 0);
    EXPECT_EQ(body.edges.Held(), 0);
}

TEST(ktmdl_Topo, BuildPersistentDataAgainMakesNewLists)
{
    Scene scene;
    const Body body(scene);
    EXPECT_EQ(body.topo->BuildPersistentData(), 0);
    const Hnd_ktmdl_TopoHSeq faces = body.topo->mSubTopos[1];
    EXPECT_EQ(body.topo->BuildPersistentData(), 0);
    EXPECT_NE(body.topo->mSubTopos[1], faces);
    EXPECT_EQ(faces->Length(), 2) << "the old list is left as it was";
    EXPECT_EQ(elementsOf(body.topo->mSubTopos[1]), elementsOf(faces));
}

TEST(ktmdl_Topo, BuildPersistentDataOfAnEmptyCollectionMakesAnEmptyList)
{
    Scene scene;
    const Body body(scene);
    body.faces.Property(23, fake::givesNumber(0));
    body.edges.Property(23, fake::givesNumber(-1));
    EXPECT_EQ(body.topo->BuildPersistentData(), 0);
    ASSERT_EQ(body.topo->mSubTopos[1].IsNull(), 0);
    EXPECT_EQ(body.topo->mSubTopos[1]->Length(), 0);
    ASSERT_EQ(body.topo->mSubTopos[0].IsNull(), 0);
    EXPECT_EQ(body.topo->mSubTopos[0]->Length(), 0);
}

TEST(ktmdl_Topo, BuildPersistentDataOfAnUnboundReferenceSetsTheDefaultBox)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = newTopo(Bytes{1});
    topo->tplType = 2;
    topo->mBBox = ktmdl_BBox3d(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(topo->BuildPersistentData(), 0);
    EXPECT_EQ(cornersOf(topo->mBBox), corners({0, 0, 0}, {0, 0, 0}));
}

TEST(ktmdl_Topo, BuildPersistentDataOfAnUnboundFaceRaises)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = newTopo(Bytes{1});
    topo->tplType = 5;
    EXPECT_EQ(codeOf([&] { topo->BuildPersistentData(); }), E_POINTER);
}

TEST(ktmdl_Topo, BuildPersistentDataGoesOnWithoutABox)
{
    Scene scene;
    const Body body(scene);
    body.body.Method(L"GetExactRange", fake::fails(kGone));
    body.faceA.Method(L"GetExactRange", fake::fails(kGone));
    body.edgeA.FailName(L"GetExactRange", DISP_E_UNKNOWNNAME);
    body.topo->mBBox = ktmdl_BBox3d(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(body.topo->BuildPersistentData(), 0);
    EXPECT_EQ(cornersOf(body.topo->mBBox), corners({0, 0, 0}, {0, 0, 0}));
    EXPECT_EQ(cornersOf(body.topo->mSubTopos[1]->Value(1)->mBBox), corners({0, 0, 0}, {0, 0, 0}));
    EXPECT_EQ(keysOf(body.topo->mSubTopos[1]), kFaceKeys);
    EXPECT_EQ(keysOf(body.topo->mSubTopos[0]), kEdgeKeys);
    scene.ExpectLog({caughtForm(kSource, "ktmdl_Topo::BuildBBox", kGone),
                     caughtForm(kSource, "ktmdl_Topo::BuildBBox", kGone)});
}

TEST(ktmdl_Topo, BuildPersistentDataTakesAnItemGivenAsUnknown)
{
    Scene scene;
    const Body body(scene);
    IUnknown* const edge = &body.edgeA;
    body.edges.Property(23, fake::givesNumber(1));
    body.edges.Method(DISPID{0}, [edge](const fake::Args&, VARIANT* aResult) {
        aResult->vt = VT_UNKNOWN;
        aResult->punkVal = edge;
        edge->AddRef();
        return S_OK;
    });
    EXPECT_EQ(body.topo->BuildPersistentData(), 0);
    EXPECT_EQ(keysOf(body.topo->mSubTopos[0]), std::vector<Bytes>{{20}});
    EXPECT_EQ(body.edgeA.Held(), 1) << "by the child's reference";
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, BuildPersistentDataTakesNoValueForNoCollection)
{
    for (const VARTYPE type : {VT_EMPTY, VT_NULL}) {
        Scene scene;
        const Body body(scene);
        body.body.Property(L"Edges", [type](const fake::Args&, VARIANT* aResult) {
            aResult->vt = type;
            return S_OK;
        });
        EXPECT_EQ(codeOf([&] { body.topo->BuildPersistentData(); }), E_POINTER) << type;
        scene.ExpectLog({nullPointerForm(kSource, "pEdges")});
    }
}

// Failures: each stage in the faces of a body, then in its edges.

namespace {

struct Fault
{
    const char* name;
    void (*prepare)(Body& aBody, fake::Object& aCollection, const wchar_t* aProperty,
                    fake::Object& aItem);
    HRESULT code;
    long lines; //!< of the log
};

const Fault kFaults[] = {{"look-up",
                          [](Body& aBody, fake::Object&, const wchar_t* aProperty, fake::Object&) {
                              aBody.body.FailName(aProperty, kGone);
                          },
                          kGone, 0},
                         {"property",
                          [](Body& aBody, fake::Object&, const wchar_t* aProperty, fake::Object&) {
                              aBody.body.Property(aProperty, fake::fails(kGone));
                          },
                          kGone, 0},
                         {"null collection",
                          [](Body& aBody, fake::Object&, const wchar_t* aProperty, fake::Object&) {
                              aBody.body.Property(aProperty, fake::givesObject(nullptr));
                          },
                          E_POINTER, 1},
                         {"collection that is no object",
                          [](Body& aBody, fake::Object&, const wchar_t* aProperty, fake::Object&) {
                              aBody.body.Property(aProperty, fake::givesNumber(3));
                          },
                          DISP_E_TYPEMISMATCH, 0},
                         {"count",
                          [](Body&, fake::Object& aCollection, const wchar_t*, fake::Object&) {
                              aCollection.Property(23, fake::fails(kGone));
                          },
                          kGone, 0},
                         {"count that is no number",
                          [](Body&, fake::Object& aCollection, const wchar_t*, fake::Object&) {
                              aCollection.Property(23, fake::givesText(L"some"));
                          },
                          DISP_E_TYPEMISMATCH, 0},
                         {"item",
                          [](Body&, fake::Object& aCollection, const wchar_t*, fake::Object&) {
                              aCollection.Method(DISPID{0}, fake::fails(kGone));
                          },
                          kGone, 0},
                         {"null item",
                          [](Body&, fake::Object& aCollection, const wchar_t*, fake::Object&) {
                              aCollection.Method(DISPID{0}, fake::givesObject(nullptr));
                          },
                          E_POINTER, 0},
                         {"second item",
                          [](Body&, fake::Object& aCollection, const wchar_t*, fake::Object&) {
                              aCollection.Property(23,
                                                   fake::givesNumber(99)); // more than there are
                          },
                          DISP_E_BADINDEX, 0},
                         {"key of an item",
                          [](Body&, fake::Object&, const wchar_t*, fake::Object& aItem) {
                              aItem.Method(L"GetReferenceKey", fake::fails(kGone));
                          },
                          kGone, 0},
                         {"look-up of the key of an item",
                          [](Body&, fake::Object&, const wchar_t*, fake::Object& aItem) {
                              aItem.FailName(L"GetReferenceKey", kGone);
                          },
                          kGone, 0}};

} // namespace

TEST(ktmdl_Topo, BuildPersistentDataThatFailsInTheFacesKeepsNoList)
{
    for (const Fault& fault : kFaults) {
        SCOPED_TRACE(fault.name);
        Scene scene;
        Body body(scene);
        putOldLists(body.topo);
        fault.prepare(body, body.faces, L"Faces", body.faceB);
        EXPECT_EQ(codeOf([&] { body.topo->BuildPersistentData(); }), fault.code);
        EXPECT_EQ(cornersOf(body.topo->mBBox), corners({-1, -2, -3}, {4, 5, 6}));
        EXPECT_EQ(body.topo->mSubTopos[0].IsNull(), 1);
        EXPECT_EQ(body.topo->mSubTopos[1].IsNull(), 1);
        EXPECT_EQ(scene.world.CountOf("*Edges*"), 0);
        scene.ExpectLog(fault.lines == 0
                            ? std::vector<std::string>()
                            : std::vector<std::string>{nullPointerForm(kSource, "pFaces")});
    }
}

TEST(ktmdl_Topo, BuildPersistentDataThatFailsInTheEdgesKeepsTheFaces)
{
    for (const Fault& fault : kFaults) {
        SCOPED_TRACE(fault.name);
        Scene scene;
        Body body(scene);
        putOldLists(body.topo);
        fault.prepare(body, body.edges, L"Edges", body.edgeB);
        EXPECT_EQ(codeOf([&] { body.topo->BuildPersistentData(); }), fault.code);
        EXPECT_EQ(body.topo->mSubTopos[0].IsNull(), 1);
        EXPECT_EQ(keysOf(body.topo->mSubTopos[1]), kFaceKeys);
        scene.ExpectLog(fault.lines == 0
                            ? std::vector<std::string>()
                            : std::vector<std::string>{nullPointerForm(kSource, "pEdges")});
    }
}

TEST(ktmdl_Topo, BuildPersistentDataThatFailsInAFacesEdgesKeepsNoList)
{
    for (const Fault& fault : kFaults) {
        SCOPED_TRACE(fault.name);
        Scene scene;
        Body body(scene);
        body.topo->tplType = 5;
        putOldLists(body.topo);
        fault.prepare(body, body.edges, L"Edges", body.edgeB);
        EXPECT_EQ(codeOf([&] { body.topo->BuildPersistentData(); }), fault.code);
        EXPECT_EQ(body.topo->mSubTopos[0].IsNull(), 1);
        EXPECT_EQ(body.topo->mSubTopos[1].IsNull(), 1);
    }
}

TEST(ktmdl_Topo, BuildPersistentDataThatFailsKeepsTheChildrenMadeBefore)
{
    Scene scene;
    const Body body(scene);
    body.faceB.Method(L"GetReferenceKey", fake::fails(kGone));
    EXPECT_EQ(codeOf([&] { body.topo->BuildPersistentData(); }), kGone);
    EXPECT_TRUE(isRegistered(Bytes{10}));
    EXPECT_FALSE(isRegistered(Bytes{11}));
    EXPECT_EQ(newTopo(Bytes{10})->mDispTopo.GetInterfacePtr(), &body.faceA);
}
