// Keys taken anew from live objects: one reference, and all that are registered.

#include "com/Com.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktstd/ktstd_ComTools.h"
#include "ktstd/ktstd_fail.h"
#include "support/FakeDispatch.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

const char* const kUpdate = "ktmdl_Topo::UpdateReferenceKey";

std::string caught(HRESULT aCode)
{
    return caughtForm("ktmdl_Topo.cpp", kUpdate, aCode);
}

//! Scripts an answer to the call for the key that the reference can't use.
void scriptShortKey(fake::Object& aObject)
{
    aObject.Method(L"GetReferenceKey", [](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetBytes(0, {7, 7});
        aArgs.SetVariant(1, 5);
        return S_OK;
    });
}

//! The code with which two bytes can't be copied out as five.
HRESULT codeOfShortCopy()
{
    const OwnArray array(Bytes{7, 7});
    unsigned char bytes[5];
    return static_cast<HRESULT>(GetValuesFromSafeArray(array, 5, bytes));
}

} // namespace

TEST(ktmdl_Topo, UpdateReferenceKeyOfAnUnboundReferenceDoesNothing)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = newTopo(Bytes{1, 2});
    const unsigned char* const key = topo->mKey;
    topo->UpdateReferenceKey();
    EXPECT_EQ(topo->mKey, key);
    EXPECT_EQ(keyOf(topo), (Bytes{1, 2}));
    EXPECT_EQ(topo->RefCount(), 2);
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, UpdateReferenceKeyOfAnUnboundUnregisteredReferenceRegistersNothing)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
    topo->UpdateReferenceKey();
    EXPECT_EQ(topo->RefCount(), 1);
}

TEST(ktmdl_Topo, UpdateReferenceKeyAsksTheObjectAsNewDoes)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1, 2});
    const Hnd_ktmdl_Topo topo = newTopo(object, 2);
    scene.world.Forget();
    topo->UpdateReferenceKey();
    scene.ExpectCalls(keyCalls("edge"));
}

TEST(ktmdl_Topo, UpdateReferenceKeyRegistersTheReferenceUnderItsNewKey)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1, 2});
    const Hnd_ktmdl_Topo topo = newTopo(object, 2);
    scriptKey(object, {3, 4, 5});
    topo->UpdateReferenceKey();
    EXPECT_EQ(keyOf(topo), (Bytes{3, 4, 5}));
    EXPECT_EQ(topo->RefCount(), 2);
    EXPECT_EQ(newTopo(Bytes{3, 4, 5}), topo);
    EXPECT_FALSE(isRegistered(Bytes{1, 2}));
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &object);
    EXPECT_EQ(topo->tplType, 2);
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, UpdateReferenceKeyRegistersAReferenceThatWasNot)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1, 2});
    const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
    topo->mDispTopo = object.Ptr();
    topo->UpdateReferenceKey();
    EXPECT_EQ(topo->RefCount(), 2);
    EXPECT_EQ(newTopo(Bytes{1, 2}), topo);
}

TEST(ktmdl_Topo, UpdateReferenceKeyWithTheSameKeyKeepsTheReferenceRegistered)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1, 2});
    const Hnd_ktmdl_Topo topo = newTopo(object, 2);
    topo->UpdateReferenceKey();
    topo->UpdateReferenceKey();
    EXPECT_EQ(topo->RefCount(), 2);
    EXPECT_EQ(newTopo(Bytes{1, 2}), topo);
}

TEST(ktmdl_Topo, UpdateReferenceKeyRegistersBesideAnotherOfTheSameKey)
{
    Scene scene;
    const Hnd_ktmdl_Topo other = newTopo(Bytes{3});
    fake::Object& object = scene.Keyed("edge", {1});
    const Hnd_ktmdl_Topo topo = newTopo(object, 2);
    scriptKey(object, {3});
    topo->UpdateReferenceKey();
    EXPECT_EQ(topo->RefCount(), 2);
    EXPECT_EQ(other->RefCount(), 2);
    EXPECT_EQ(ktmdl_Topo::RemoveFromMap(topo), 1);
    EXPECT_EQ(ktmdl_Topo::RemoveFromMap(other), 1);
}

TEST(ktmdl_Topo, OfEqualKeysNewGivesTheReferenceAddedLast)
{
    Scene scene;
    const Hnd_ktmdl_Topo first = newTopo(Bytes{3});
    fake::Object& object = scene.Keyed("edge", {3});
    const Hnd_ktmdl_Topo second(new ktmdl_Topo);
    second->mDispTopo = object.Ptr();
    second->UpdateReferenceKey();
    EXPECT_EQ(newTopo(Bytes{3}), second) << "new keys stand first in their bucket";
}

TEST(ktmdl_Topo, UpdateReferenceKeyKeepsTheLowSixteenBitsOfTheSize)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1});
    const Hnd_ktmdl_Topo topo = newTopo(object, 2);
    scriptKey(object, Bytes(70000, 9));
    topo->UpdateReferenceKey();
    EXPECT_EQ(topo->mKeySize, 4464);
    EXPECT_EQ(keyOf(topo), Bytes(4464, 9));
    EXPECT_EQ(newTopo(Bytes(4464, 9)), topo);
}

TEST(ktmdl_Topo, UpdateReferenceKeyAcceptsAnEmptyKey)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1, 2});
    const Hnd_ktmdl_Topo topo = newTopo(object, 2);
    scriptKey(object, {});
    topo->UpdateReferenceKey();
    EXPECT_EQ(topo->mKeySize, 0);
    EXPECT_EQ(topo->RefCount(), 2);
    EXPECT_EQ(newTopo(Bytes{}), topo);
}

TEST(ktmdl_Topo, UpdateReferenceKeyLogsAFailedCallAndChangesNothing)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1, 2});
    const Hnd_ktmdl_Topo topo = newTopo(object, 2);
    object.Method(L"GetReferenceKey", [](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetBytes(0, {9});
        aArgs.SetVariant(1, 1);
        return E_FAIL;
    });
    topo->UpdateReferenceKey();
    EXPECT_EQ(keyOf(topo), (Bytes{1, 2}));
    EXPECT_EQ(newTopo(Bytes{1, 2}), topo);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &object);
    scene.ExpectLog({caught(E_FAIL)});
}

TEST(ktmdl_Topo, UpdateReferenceKeyLogsAFailedLookUpAndChangesNothing)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1, 2});
    const Hnd_ktmdl_Topo topo = newTopo(object, 2);
    object.FailName(L"GetReferenceKey", DISP_E_UNKNOWNNAME);
    scene.world.Forget();
    topo->UpdateReferenceKey();
    scene.ExpectCalls({"edge.GetReferenceKey?"});
    EXPECT_EQ(newTopo(Bytes{1, 2}), topo);
    scene.ExpectLog({caught(DISP_E_UNKNOWNNAME)});
}

TEST(ktmdl_Topo, UpdateReferenceKeyThatCantCopyTheKeyLeavesTheReferenceUnregistered)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1, 2});
    const Hnd_ktmdl_Topo topo = newTopo(object, 2);
    scriptShortKey(object);
    topo->UpdateReferenceKey();
    EXPECT_EQ(topo->RefCount(), 1);
    EXPECT_FALSE(isRegistered(Bytes{1, 2}));
    EXPECT_FALSE(isRegistered(Bytes{7, 7}));
    EXPECT_EQ(keyOf(topo), (Bytes{1, 2})) << "the old key is kept";
    scene.ExpectLog({caught(codeOfShortCopy())});
}

TEST(ktmdl_Topo, UpdateReferenceKeySurvivesThatOnlyTheRegistryHeldTheReference)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1, 2});
    ktmdl_Topo* const topo = &*newTopo(object, 2);
    scriptShortKey(object);
    EXPECT_EQ(object.Held(), 1);
    topo->UpdateReferenceKey();
    EXPECT_EQ(object.Held(), 0) << "left by the registry, the reference goes";
    scene.ExpectLog({caught(codeOfShortCopy())});
}

TEST(ktmdl_Topo, UpdateReferenceKeyOfAReferenceThatOnlyTheRegistryHoldsKeepsIt)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1, 2});
    ktmdl_Topo* const topo = &*newTopo(object, 2);
    scriptKey(object, {4});
    topo->UpdateReferenceKey();
    EXPECT_EQ(object.Held(), 1);
    EXPECT_TRUE(isRegistered(Bytes{4}));
}

// All registered references.

TEST(ktmdl_Topo, BindAllToposInMapAsksEveryBoundReferenceOnce)
{
    Scene scene;
    std::vector<fake::Object*> objects;
    for (unsigned char i = 0; i < 60; ++i) {
        objects.push_back(&scene.Keyed("edge" + std::to_string(i), {i}));
        (void)newTopo(*objects.back(), 2);
    }
    for (unsigned char i = 0; i < 60; ++i) { // all move to another bucket
        scriptKey(*objects[i], {i, 17, static_cast<unsigned char>(255 - i)});
    }
    scene.world.Forget();
    ktmdl_Topo::BindAllToposInMap();
    for (unsigned char i = 0; i < 60; ++i) {
        EXPECT_EQ(scene.world.CountOf(objects[i]->Name() + ".GetReferenceKey(*"), 1);
        EXPECT_TRUE(isRegistered({i, 17, static_cast<unsigned char>(255 - i)}));
        EXPECT_FALSE(isRegistered({i}));
        EXPECT_EQ(objects[i]->Held(), 1);
    }
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, BindAllToposInMapLeavesUnboundReferencesAlone)
{
    Scene scene;
    const Hnd_ktmdl_Topo unbound = newTopo(Bytes{1});
    ktmdl_Topo::BindAllToposInMap();
    EXPECT_EQ(unbound->RefCount(), 2);
    EXPECT_EQ(keyOf(unbound), (Bytes{1}));
    scene.ExpectNoCalls();
}

TEST(ktmdl_Topo, BindAllToposInMapLetsGoOfItsSnapshot)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1});
    const Hnd_ktmdl_Topo topo = newTopo(object, 2);
    ktmdl_Topo::BindAllToposInMap();
    EXPECT_EQ(topo->RefCount(), 2);
}

TEST(ktmdl_Topo, BindAllToposInMapOfAnEmptyRegistryDoesNothing)
{
    Scene scene;
    ktmdl_Topo::BindAllToposInMap();
    scene.ExpectNoCalls();
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, BindAllToposInMapGoesOnAfterAFailingReference)
{
    Scene scene;
    std::vector<fake::Object*> objects;
    for (unsigned char i = 0; i < 9; ++i) {
        objects.push_back(&scene.Keyed("edge" + std::to_string(i), {i}));
        (void)newTopo(*objects.back(), 2);
        scriptKey(*objects.back(), {i, 1});
    }
    objects[2]->Method(L"GetReferenceKey", fake::fails(E_FAIL));
    objects[5]->Method(L"GetReferenceKey", fake::fails(E_FAIL));
    ktmdl_Topo::BindAllToposInMap();
    for (unsigned char i = 0; i < 9; ++i) {
        const bool failed = i == 2 || i == 5;
        EXPECT_EQ(isRegistered({i}), failed) << int{i};
        EXPECT_EQ(isRegistered({i, 1}), !failed) << int{i};
    }
    scene.ExpectLog({caught(E_FAIL), caught(E_FAIL)});
}

TEST(ktmdl_Topo, BindAllToposInMapLogsAKernelFailureAndEnds)
{
    Scene scene;
    std::vector<fake::Object*> objects;
    for (unsigned char i = 0; i < 5; ++i) {
        objects.push_back(&scene.Keyed("edge" + std::to_string(i), {i}));
        (void)newTopo(*objects.back(), 2);
        objects.back()->Method(L"GetReferenceKey", [](const fake::Args&, VARIANT*) -> HRESULT {
            ktstd_fail_ProgramError::Raise("out of the host");
        });
    }
    scene.world.Forget();
    ktmdl_Topo::BindAllToposInMap();
    EXPECT_EQ(scene.world.CountOf("*.GetReferenceKey(*"), 1) << "the walk ends";
    std::ostringstream inserted;
    inserted << Hnd_ktstd_fail_Failure(new ktstd_fail_ProgramError("out of the host"));
    scene.ExpectLog(
        {"EXCEPTION caught in <file:ktmdl_Topo.cpp>{ktmdl_Topo::BindAllToposInMap} (<line>):",
         inserted.str()});
    for (unsigned char i = 0; i < 5; ++i) {
        EXPECT_TRUE(isRegistered({i})) << "not yet visited, or failed before it was taken out";
        EXPECT_EQ(objects[i]->Held(), 1);
    }
}
