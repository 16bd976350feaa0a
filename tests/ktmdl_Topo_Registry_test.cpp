// Keys, factories and the registry of topology references.

#include "com/Com.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktmdl/ktmdl_TopoSeq.h"
#include "ktstd/ktstd_ComTools.h"
#include "ktstd/ktstd_fail.h"
#include "support/FakeDispatch.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <random>
#include <vector>

namespace {

Hnd_ktmdl_Topo newTopo(const Bytes& aKey, unsigned char& aIsNew)
{
    const OwnArray array(aKey);
    return ktmdl_Topo::New(static_cast<long>(aKey.size()), array, aIsNew);
}

Bytes repeated(std::size_t aCount, unsigned char aByte)
{
    return Bytes(aCount, aByte);
}

//! Makes a registered reference that only the registry holds, with an object that shows its life.
fake::Object& registeredOnly(Scene& aScene, const std::string& aName, const Bytes& aKey)
{
    fake::Object& object = aScene.Keyed(aName, aKey);
    const Hnd_ktmdl_Topo topo = ktmdl_Topo::New(object.Ptr());
    return object;
}

} // namespace

// Hash and equality.

TEST(ktmdl_Topo, HashOfNoBytesIsZero)
{
    const unsigned char bytes[] = {1, 2, 3};
    EXPECT_EQ(ktmdl_Topo::HashKey(0, bytes), 0u);
    EXPECT_EQ(ktmdl_Topo::HashKey(-3, bytes), 0u);
    EXPECT_EQ(ktmdl_Topo::HashKey(0, nullptr), 0u);
}

TEST(ktmdl_Topo, HashMultipliesByFiveAndAdds)
{
    const unsigned char bytes[] = {1, 2, 3};
    EXPECT_EQ(ktmdl_Topo::HashKey(1, bytes), 1u);
    EXPECT_EQ(ktmdl_Topo::HashKey(2, bytes), 7u);
    EXPECT_EQ(ktmdl_Topo::HashKey(3, bytes), 38u);
}

TEST(ktmdl_Topo, HashTakesBytesWithoutSign)
{
    const unsigned char bytes[] = {0x80, 0xFF};
    EXPECT_EQ(ktmdl_Topo::HashKey(1, bytes), 128u);
    EXPECT_EQ(ktmdl_Topo::HashKey(2, bytes), 128u * 5u + 255u);
}

TEST(ktmdl_Topo, HashWrapsAtThirtyTwoBits)
{
    // 255 * (1 + 5 + ... + 5^19) = 255 * (5^20 - 1) / 4
    std::uint64_t power = 1;
    for (int i = 0; i < 20; ++i) {
        power *= 5;
    }
    const std::uint64_t sum = 255 * ((power - 1) / 4);
    ASSERT_GT(sum, 0xFFFFFFFFull);
    const Bytes bytes = repeated(20, 0xFF);
    EXPECT_EQ(ktmdl_Topo::HashKey(20, bytes.data()), static_cast<std::uint32_t>(sum));
}

TEST(ktmdl_Topo, HashKeyOfAnyLengthAndPlaceIsTheSumByteForByte)
{
    std::mt19937 random(1);
    std::vector<unsigned char> bytes(600);
    for (unsigned char& each : bytes) {
        each = static_cast<unsigned char>(random() % 3 == 0 ? 255 : random());
    }
    for (const std::size_t start : {0U, 1U, 7U, 15U}) {
        std::uint32_t hash = 0;
        for (std::size_t size = 0; start + size < bytes.size(); ++size) {
            ASSERT_EQ(ktmdl_Topo::HashKey(static_cast<long>(size), bytes.data() + start), hash)
                << size << " bytes from " << start;
            hash = hash * 5U + bytes[start + size];
        }
    }
}

TEST(ktmdl_Topo, IsEqualComparesSizeAndBytes)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = newTopo(Bytes{1, 2, 200});
    const unsigned char same[] = {1, 2, 200, 4};
    const unsigned char first[] = {9, 2, 200};
    const unsigned char last[] = {1, 2, 201};
    EXPECT_EQ(topo->IsEqual(3, same), 1);
    EXPECT_EQ(topo->IsEqual(3, first), 0);
    EXPECT_EQ(topo->IsEqual(3, last), 0);
    EXPECT_EQ(topo->IsEqual(2, same), 0);
    EXPECT_EQ(topo->IsEqual(4, same), 0);
    EXPECT_EQ(topo->IsEqual(3 + 65536, same), 0) << "the size is not cut";
}

TEST(ktmdl_Topo, ReferenceWithoutKeyEqualsTheEmptyKeyOnly)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
    const unsigned char bytes[] = {1};
    EXPECT_EQ(topo->IsEqual(0, bytes), 1);
    EXPECT_EQ(topo->IsEqual(0, nullptr), 1);
    EXPECT_EQ(topo->IsEqual(1, bytes), 0);
    EXPECT_EQ(topo->IsEqual(-1, bytes), 0);
}

// New by key.

TEST(ktmdl_Topo, NewMakesAnUnboundRegisteredReference)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = newTopo(Bytes{1, 2, 3});
    EXPECT_EQ(keyOf(topo), (Bytes{1, 2, 3}));
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), nullptr);
    EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), nullptr);
    EXPECT_EQ(topo->tplType, 0);
    EXPECT_EQ(topo->mIsSubTopo, 0);
    EXPECT_EQ(topo->RefCount(), 2) << "this handle and the registry's";
    EXPECT_EQ(ktmdl_Topo::RemoveFromMap(topo), 1);
    EXPECT_EQ(topo->RefCount(), 1);
}

TEST(ktmdl_Topo, NewGivesTheSameReferenceForAnEqualKey)
{
    Scene scene;
    const Hnd_ktmdl_Topo first = newTopo(Bytes{1, 2, 3});
    const Hnd_ktmdl_Topo second = newTopo(Bytes{1, 2, 3});
    EXPECT_EQ(first, second);
    EXPECT_EQ(first->RefCount(), 3);
}

TEST(ktmdl_Topo, NewTellsWhetherItMadeTheReference)
{
    Scene scene;
    unsigned char isNew = 7;
    const Hnd_ktmdl_Topo first = newTopo(Bytes{1, 2, 3}, isNew);
    EXPECT_EQ(isNew, 1);
    const Hnd_ktmdl_Topo second = newTopo(Bytes{1, 2, 3}, isNew);
    EXPECT_EQ(isNew, 0);
    EXPECT_EQ(first, second);
    isNew = 7;
    const Hnd_ktmdl_Topo third = newTopo(Bytes{1, 2, 3}, isNew);
    EXPECT_EQ(isNew, 0);
}

TEST(ktmdl_Topo, NewTellsKeysOfEqualHashApart)
{
    Scene scene;
    const Bytes one = {1, 0};
    const Bytes two = {0, 5};
    ASSERT_EQ(ktmdl_Topo::HashKey(2, one.data()), ktmdl_Topo::HashKey(2, two.data()));
    const Hnd_ktmdl_Topo first = newTopo(one);
    const Hnd_ktmdl_Topo second = newTopo(two);
    EXPECT_NE(first, second);
    EXPECT_EQ(newTopo(one), first);
    EXPECT_EQ(newTopo(two), second);
}

TEST(ktmdl_Topo, NewTellsKeysOfAnotherLengthApart)
{
    Scene scene;
    const Hnd_ktmdl_Topo first = newTopo(Bytes{0, 1});
    const Hnd_ktmdl_Topo second = newTopo(Bytes{0, 0, 1}); // the same hash
    EXPECT_NE(first, second);
    EXPECT_EQ(newTopo(Bytes{0, 1}), first);
}

TEST(ktmdl_Topo, NewReadsOnlyTheSizeAskedFor)
{
    Scene scene;
    const OwnArray array(Bytes{1, 2, 3, 4});
    const Hnd_ktmdl_Topo topo = ktmdl_Topo::New(2, array);
    EXPECT_EQ(keyOf(topo), (Bytes{1, 2}));
    EXPECT_EQ(newTopo(Bytes{1, 2}), topo);
}

TEST(ktmdl_Topo, NewFindsAmongManyReferences)
{
    Scene scene;
    std::vector<Hnd_ktmdl_Topo> made;
    for (int i = 0; i < 500; ++i) {
        made.push_back(newTopo(
            Bytes{static_cast<unsigned char>(i / 256), static_cast<unsigned char>(i % 256), 3}));
    }
    for (int i = 0; i < 500; ++i) {
        EXPECT_EQ(newTopo(Bytes{static_cast<unsigned char>(i / 256),
                                static_cast<unsigned char>(i % 256), 3}),
                  made[static_cast<std::size_t>(i)])
            << i;
    }
}

TEST(ktmdl_Topo, NewOfTheEmptyKeyRegistersOneReference)
{
    Scene scene;
    unsigned char isNew = 0;
    const Hnd_ktmdl_Topo first = newTopo(Bytes{}, isNew);
    EXPECT_EQ(isNew, 1);
    EXPECT_EQ(first->mKeySize, 0);
    EXPECT_EQ(newTopo(Bytes{}, isNew), first);
    EXPECT_EQ(isNew, 0);
}

TEST(ktmdl_Topo, NewOfAKeyOf70000BytesKeeps4464)
{
    Scene scene;
    const Bytes key = repeated(70000, 3);
    const Hnd_ktmdl_Topo topo = newTopo(key);
    EXPECT_EQ(topo->mKeySize, 4464);
    EXPECT_EQ(topo->IsEqual(70000, key.data()), 0);
    EXPECT_EQ(topo->IsEqual(4464, key.data()), 1);
    EXPECT_EQ(newTopo(repeated(4464, 3)), topo);
    unsigned char isNew = 0;
    EXPECT_NE(newTopo(key, isNew), topo);
    EXPECT_EQ(isNew, 1);
}

TEST(ktmdl_Topo, NewRaisesTheCodeOfTheCopyAndRegistersNothing)
{
    Scene scene;
    const OwnArray tooShort(Bytes{1, 2});
    const OwnArray wrongType(fake::arrayOf(std::vector<double>{1, 2, 3}));
    SAFEARRAY* const arrays[] = {nullptr, tooShort, wrongType};
    for (SAFEARRAY* const array : arrays) {
        unsigned char bytes[3];
        const long wanted = GetValuesFromSafeArray(array, 3, bytes);
        ASSERT_LT(wanted, 0);
        unsigned char isNew = 1;
        EXPECT_EQ(codeOf([&] { (void)ktmdl_Topo::New(3, array); }), wanted);
        EXPECT_EQ(codeOf([&] { (void)ktmdl_Topo::New(3, array, isNew); }), wanted);
        EXPECT_EQ(isNew, 0);
    }
    EXPECT_FALSE(isRegistered(Bytes{1, 2}));
    EXPECT_FALSE(isRegistered(Bytes{1, 2, 0}));
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, NewOfANegativeSizeRaisesTheCodeOfTheCopy)
{
    Scene scene;
    const OwnArray array(Bytes{1, 2});
    unsigned char bytes[2];
    const long wanted = GetValuesFromSafeArray(array, -1, bytes);
    ASSERT_LT(wanted, 0);
    EXPECT_EQ(codeOf([&] { (void)ktmdl_Topo::New(-1, array); }), wanted);
    EXPECT_EQ(codeOf([&] { (void)ktmdl_Topo::New(-70000, array); }), wanted);
}

// New by host object.

TEST(ktmdl_Topo, NewAsksTheObjectForItsKey)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1, 2, 3});
    const Hnd_ktmdl_Topo topo = ktmdl_Topo::New(object.Ptr());
    scene.ExpectCalls(keyCalls("edge"));
    EXPECT_EQ(keyOf(topo), (Bytes{1, 2, 3}));
    EXPECT_EQ(topo, newTopo(Bytes{1, 2, 3})) << "it is registered";
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, NewBindsANewReferenceToTheObject)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1});
    unsigned char isNew = 0;
    const Hnd_ktmdl_Topo topo = ktmdl_Topo::New(object.Ptr(), isNew);
    EXPECT_EQ(isNew, 1);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &object);
    EXPECT_EQ(object.Held(), 1);
    EXPECT_EQ(topo->tplType, 0);
    EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), nullptr);
}

TEST(ktmdl_Topo, NewBindsAKnownReferenceToTheObject)
{
    Scene scene;
    fake::Object& before = scene.Keyed("before", {1});
    fake::Object& after = scene.Keyed("after", {1});
    fake::Object& document = scene.world.Make("document");
    const Hnd_ktmdl_Topo topo = newTopo(before, 5);
    topo->mDispDoc = document.Ptr();
    unsigned char isNew = 7;
    EXPECT_EQ(ktmdl_Topo::New(after.Ptr(), isNew), topo);
    EXPECT_EQ(isNew, 0);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &after);
    EXPECT_EQ(before.Held(), 0);
    EXPECT_EQ(after.Held(), 1);
    EXPECT_EQ(topo->tplType, 5);
    EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), &document);
}

TEST(ktmdl_Topo, NewOnTheSameObjectHoldsItOnce)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1});
    const Hnd_ktmdl_Topo topo = ktmdl_Topo::New(object.Ptr());
    EXPECT_EQ(ktmdl_Topo::New(object.Ptr()), topo);
    EXPECT_EQ(object.Held(), 1);
}

TEST(ktmdl_Topo, NewLooksTheNameUpOnEachObject)
{
    Scene scene;
    fake::Object& first = scene.Keyed("first", {1});
    fake::Object& second = scene.Keyed("second", {2}); // has another number for the name
    const Hnd_ktmdl_Topo one = ktmdl_Topo::New(first.Ptr());
    const Hnd_ktmdl_Topo two = ktmdl_Topo::New(second.Ptr());
    const Hnd_ktmdl_Topo again = ktmdl_Topo::New(first.Ptr());
    scene.ExpectCalls(joined({keyCalls("first"), keyCalls("second"), keyCalls("first")}));
}

TEST(ktmdl_Topo, NewTakesTheSizeThatTheHostTells)
{
    Scene scene;
    fake::Object& object = scene.world.Make("edge");
    object.Method(L"GetReferenceKey", [](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetBytes(0, {1, 2, 3, 4, 5});
        aArgs.SetVariant(1, 3);
        return S_OK;
    });
    EXPECT_EQ(keyOf(ktmdl_Topo::New(object.Ptr())), (Bytes{1, 2, 3}));
}

TEST(ktmdl_Topo, NewTakesASizeOf32Bits)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", repeated(70000, 1));
    EXPECT_EQ(ktmdl_Topo::New(object.Ptr())->mKeySize, 4464);
}

TEST(ktmdl_Topo, NewTakesASizeOfAnyNumberType)
{
    Scene scene;
    fake::Object& object = scene.world.Make("edge");
    for (const VARTYPE type : {VT_I2, VT_UI1, VT_UI4, VT_I8, VT_R8, VT_BSTR}) {
        object.Method(L"GetReferenceKey", [type](const fake::Args& aArgs, VARIANT*) -> HRESULT {
            aArgs.SetBytes(0, {1, 2, 3, 4});
            aArgs.SetVariant(1, 3);
            VARIANT* const size = V_VARIANTREF(&aArgs.At(1));
            return VariantChangeType(size, size, 0, type);
        });
        EXPECT_EQ(keyOf(ktmdl_Topo::New(object.Ptr())), (Bytes{1, 2, 3})) << "type " << type;
    }
    EXPECT_EQ(object.Held(), 1) << "one reference, by its key";
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, NewRaisesASizeThatIsNoNumber)
{
    Scene scene;
    fake::Object& object = scene.world.Make("edge");
    const auto answer = [&](const std::function<void(VARIANT&)>& aSetSize) {
        object.Method(L"GetReferenceKey", [aSetSize](const fake::Args& aArgs, VARIANT*) {
            aArgs.SetBytes(0, {1, 2, 3});
            aSetSize(*V_VARIANTREF(&aArgs.At(1)));
            return S_OK;
        });
        return codeOf([&] { (void)ktmdl_Topo::New(object.Ptr()); });
    };
    const auto text = [](VARIANT& aSize) {
        aSize.vt = VT_BSTR;
        aSize.bstrVal = SysAllocString(L"three");
    };
    const auto null = [](VARIANT& aSize) { aSize.vt = VT_NULL; };
    const auto tooMuch = [](VARIANT& aSize) {
        aSize.vt = VT_R8;
        aSize.dblVal = 1e10;
    };
    EXPECT_EQ(answer(text), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(answer(null), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(answer(tooMuch), DISP_E_OVERFLOW);
    EXPECT_FALSE(isRegistered(Bytes{1, 2, 3}));
    EXPECT_EQ(object.Held(), 0);
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, NewRaisesTheCodeOfAFailedKeyCall)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1});
    const Hnd_ktmdl_Topo known = newTopo(object, 2);
    object.Method(L"GetReferenceKey", [](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetBytes(0, {8, 8});
        aArgs.SetVariant(1, 2);
        return static_cast<HRESULT>(0x80010108u);
    });
    EXPECT_EQ(codeOf([&] { (void)ktmdl_Topo::New(object.Ptr()); }),
              static_cast<HRESULT>(0x80010108u));
    EXPECT_FALSE(isRegistered(Bytes{8, 8}));
    EXPECT_TRUE(isRegistered(Bytes{1}));
    EXPECT_EQ(known->mDispTopo.GetInterfacePtr(), &object);
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, NewRaisesTheCodeOfAFailedLookUp)
{
    Scene scene;
    fake::Object& object = scene.Keyed("edge", {1});
    object.FailName(L"GetReferenceKey", static_cast<HRESULT>(0x80010001u));
    unsigned char isNew = 7;
    EXPECT_EQ(codeOf([&] { (void)ktmdl_Topo::New(object.Ptr(), isNew); }),
              static_cast<HRESULT>(0x80010001u));
    scene.ExpectCalls({"edge.GetReferenceKey?"});
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, NewRaisesTheCodeAndTheTextsInsideAnException)
{
    Scene scene;
    fake::Object& object = scene.world.Make("edge");
    object.Method(L"GetReferenceKey", [](const fake::Args& aArgs, VARIANT*) {
        return aArgs.Exception(static_cast<SCODE>(0x80010108u), L"gone");
    });
    try {
        (void)ktmdl_Topo::New(object.Ptr());
        ADD_FAILURE() << "nothing was raised";
    } catch (const _com_error& error) {
        EXPECT_EQ(error.Error(), static_cast<HRESULT>(0x80010108u));
        EXPECT_TRUE(error.Description() == _bstr_t(L"gone"));
        EXPECT_TRUE(error.Source() == _bstr_t(L"host"));
    }
}

TEST(ktmdl_Topo, NewOfANullObjectRaises)
{
    Scene scene;
    unsigned char isNew = 7;
    EXPECT_EQ(codeOf([] { (void)ktmdl_Topo::New(IDispatchPtr()); }), E_POINTER);
    EXPECT_EQ(codeOf([&] { (void)ktmdl_Topo::New(IDispatchPtr(), isNew); }), E_POINTER);
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, NewRaisesWhenTheHostGivesNoUsableKey)
{
    Scene scene;
    fake::Object& object = scene.world.Make("edge");
    const auto answer = [&](SAFEARRAY* aArray, LONG aSize) {
        object.Method(L"GetReferenceKey", [aArray, aSize](const fake::Args& aArgs, VARIANT*) {
            aArgs.SetArray(0, aArray);
            aArgs.SetVariant(1, aSize);
            return S_OK;
        });
        return codeOf([&] { (void)ktmdl_Topo::New(object.Ptr()); });
    };
    EXPECT_LT(answer(nullptr, 3), 0) << "no array";
    EXPECT_LT(answer(fake::arrayOf(Bytes{1, 2}), 3), 0) << "too short";
    EXPECT_LT(answer(fake::arrayOf(std::vector<double>{1, 2, 3}), 3), 0) << "wrong type";
    EXPECT_LT(answer(fake::arrayOf(Bytes{1, 2}), -1), 0) << "negative size";
    EXPECT_LT(answer(fake::arrayOf(Bytes{1, 2}), 0x7FFFFFFF), 0) << "size out of this world";
    EXPECT_FALSE(isRegistered(Bytes{1, 2}));
    EXPECT_EQ(object.Held(), 0);
}

// The registry.

TEST(ktmdl_Topo, RemoveFromMapTellsWhetherItWasThere)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = newTopo(Bytes{1});
    const Hnd_ktmdl_Topo other = newTopo(Bytes{2});
    EXPECT_EQ(ktmdl_Topo::RemoveFromMap(topo), 1);
    EXPECT_EQ(ktmdl_Topo::RemoveFromMap(topo), 0);
    EXPECT_EQ(topo->RefCount(), 1);
    EXPECT_EQ(keyOf(topo), (Bytes{1})) << "the reference lives on";
    EXPECT_EQ(ktmdl_Topo::RemoveFromMap(other), 1);
    EXPECT_EQ(ktmdl_Topo::RemoveFromMap(other), 0) << "in an empty registry";
}

TEST(ktmdl_Topo, RemovedReferenceIsNotFoundAgain)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = newTopo(Bytes{1});
    ktmdl_Topo::RemoveFromMap(topo);
    unsigned char isNew = 0;
    EXPECT_NE(newTopo(Bytes{1}, isNew), topo);
    EXPECT_EQ(isNew, 1);
}

TEST(ktmdl_Topo, RemoveFromMapGoesByIdentityNotByKey)
{
    Scene scene;
    const Hnd_ktmdl_Topo removed = newTopo(Bytes{1});
    ktmdl_Topo::RemoveFromMap(removed);
    const Hnd_ktmdl_Topo registered = newTopo(Bytes{1});
    EXPECT_EQ(ktmdl_Topo::RemoveFromMap(removed), 0);
    EXPECT_TRUE(isRegistered(Bytes{1}));
    EXPECT_EQ(registered->RefCount(), 2);
}

TEST(ktmdl_Topo, RemoveFromMapOfANullHandleIsAFailureUnlessTheRegistryIsEmpty)
{
    Scene scene;
    EXPECT_EQ(ktmdl_Topo::RemoveFromMap(Hnd_ktmdl_Topo()), 0);
    const Hnd_ktmdl_Topo topo = newTopo(Bytes{1});
    EXPECT_THROW(ktmdl_Topo::RemoveFromMap(Hnd_ktmdl_Topo()), Hnd_ktstd_fail_NullObject);
}

TEST(ktmdl_Topo, ClearAllToposEmptiesTheRegistryOnly)
{
    Scene scene;
    fake::Object& alone = registeredOnly(scene, "alone", {1});
    const Hnd_ktmdl_Topo held = newTopo(Bytes{2});
    ktmdl_Topo::ClearAllTopos();
    EXPECT_EQ(alone.Held(), 0) << "nobody else held it";
    EXPECT_EQ(held->RefCount(), 1);
    EXPECT_EQ(keyOf(held), (Bytes{2}));
    EXPECT_FALSE(isRegistered(Bytes{1}));
    EXPECT_FALSE(isRegistered(Bytes{2}));
}

TEST(ktmdl_Topo, RegistryWorksAgainAfterClearAllTopos)
{
    Scene scene;
    ktmdl_Topo::ClearAllTopos();
    const Hnd_ktmdl_Topo topo = newTopo(Bytes{1});
    EXPECT_EQ(newTopo(Bytes{1}), topo);
}

TEST(ktmdl_Topo, ClearUnusedToposOnlyDropsWhatTheRegistryAloneHolds)
{
    Scene scene;
    std::vector<fake::Object*> dropped;
    for (unsigned char i = 0; i < 50; ++i) {
        dropped.push_back(&registeredOnly(scene, "unused" + std::to_string(i), {i}));
    }
    ktmdl_Topo::ClearUnusedToposOnly();
    for (const fake::Object* const object : dropped) {
        EXPECT_EQ(object->Held(), 0) << object->Name();
    }
}

TEST(ktmdl_Topo, ClearUnusedToposOnlyKeepsWhatAHandleHolds)
{
    Scene scene;
    const Hnd_ktmdl_Topo held = newTopo(Bytes{1});
    ktmdl_Topo::ClearUnusedToposOnly();
    ktmdl_Topo::ClearUnusedToposOnly();
    EXPECT_EQ(newTopo(Bytes{1}), held);
}

TEST(ktmdl_Topo, ClearUnusedToposOnlyKeepsWhatASequenceHolds)
{
    Scene scene;
    fake::Object& inList = scene.Keyed("in a shared sequence", {1});
    fake::Object& inSequence = scene.Keyed("in a sequence", {2});
    const Hnd_ktmdl_TopoHSeq list = listOf({ktmdl_Topo::New(inList.Ptr())});
    ktmdl_TopoSeq sequence;
    sequence.Append(ktmdl_Topo::New(inSequence.Ptr()));
    ktmdl_Topo::ClearUnusedToposOnly();
    EXPECT_EQ(inList.Held(), 1);
    EXPECT_EQ(inSequence.Held(), 1);
    EXPECT_TRUE(isRegistered(Bytes{1}));
    EXPECT_TRUE(isRegistered(Bytes{2}));
}

TEST(ktmdl_Topo, ClearUnusedToposOnlyFreesChildrenOnTheSecondCall)
{
    Scene scene;
    fake::Object& parent = scene.Keyed("parent", {1});
    fake::Object& child = scene.Keyed("child", {2});
    ktmdl_Topo::New(parent.Ptr())->mSubTopos[0] = listOf({ktmdl_Topo::New(child.Ptr())});
    ktmdl_Topo::ClearUnusedToposOnly();
    EXPECT_EQ(parent.Held(), 0);
    EXPECT_EQ(child.Held(), 1) << "its parent held it while the registry was walked";
    EXPECT_TRUE(isRegistered(Bytes{2}));
    ktmdl_Topo::ClearUnusedToposOnly();
    EXPECT_EQ(child.Held(), 0);
    EXPECT_FALSE(isRegistered(Bytes{2}));
}

TEST(ktmdl_Topo, ClearUnusedToposOnlyTwiceDropsNothingMore)
{
    Scene scene;
    fake::Object& unused = registeredOnly(scene, "unused", {1});
    const Hnd_ktmdl_Topo held = newTopo(Bytes{2});
    ktmdl_Topo::ClearUnusedToposOnly();
    EXPECT_EQ(unused.Held(), 0);
    ktmdl_Topo::ClearUnusedToposOnly();
    EXPECT_EQ(held->RefCount(), 2);
}
