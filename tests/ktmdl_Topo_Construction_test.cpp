// Construction, layout and run-time type of topology references.

#include "com/Com.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktstd/ktstd_ComTools.h"
#include "ktstd/ktstd_TransientHSeq.h"
#include "ktstd/ktstd_fail.h"
#include "support/FakeDispatch.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

namespace {

//! Opens the constructors that take a key.
class OpenTopo : public ktmdl_Topo
{
public:
    OpenTopo(long aSize, const unsigned char* aKey) : ktmdl_Topo(aSize, aKey) {}
    OpenTopo(long aSize, SAFEARRAY* aKey) : ktmdl_Topo(aSize, aKey) {}
};

//! Tells when it is destroyed.
class WatchedList : public ktmdl_TopoHSeq
{
public:
    explicit WatchedList(int& aDestroyed) : mDestroyed(&aDestroyed) {}
    ~WatchedList() override { ++*mDestroyed; }

private:
    int* mDestroyed;
};

Bytes countingBytes(std::size_t aCount)
{
    Bytes bytes(aCount);
    for (std::size_t i = 0; i < aCount; ++i) {
        bytes[i] = static_cast<unsigned char>((i * 7 + i / 251) & 0xFF);
    }
    return bytes;
}

std::uintptr_t addressOf(const void* aField)
{
    return reinterpret_cast<std::uintptr_t>(aField);
}

static_assert(std::is_same_v<decltype(ktmdl_Topo::mKeySize), std::int16_t>);
static_assert(std::is_same_v<decltype(ktmdl_Topo::mKey), unsigned char*>);
static_assert(std::is_same_v<decltype(ktmdl_Topo::mDispTopo), IDispatchPtr>);
static_assert(std::is_same_v<decltype(ktmdl_Topo::tplType), unsigned char>);
static_assert(std::is_same_v<decltype(ktmdl_Topo::mBBox), ktmdl_BBox3d>);
static_assert(std::is_same_v<decltype(ktmdl_Topo::mIsSubTopo), unsigned char>);
static_assert(std::is_same_v<decltype(ktmdl_Topo::mSubTopos), Hnd_ktmdl_TopoHSeq[2]>);
static_assert(std::is_same_v<decltype(ktmdl_Topo::mDocName), ktstd_AsciiString>);
static_assert(std::is_same_v<decltype(ktmdl_Topo::mDispDoc), IDispatchPtr>);
static_assert(std::is_base_of_v<ktstd_TShared, ktmdl_Topo>);
static_assert(std::is_default_constructible_v<ktmdl_Topo>);
static_assert(!std::is_constructible_v<ktmdl_Topo, long, const unsigned char*>,
              "references with a key come from New");
static_assert(!std::is_constructible_v<ktmdl_Topo, long, SAFEARRAY*>,
              "references with a key come from New");

} // namespace

TEST(ktmdl_Topo, DefaultReferenceIsEmptyAndUnbound)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
    EXPECT_EQ(topo->mKeySize, 0);
    EXPECT_EQ(topo->mKey, nullptr);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), nullptr);
    EXPECT_EQ(topo->tplType, 0);
    EXPECT_EQ(cornersOf(topo->mBBox), corners({0, 0, 0}, {0, 0, 0}));
    EXPECT_EQ(topo->mIsSubTopo, 0);
    EXPECT_EQ(topo->mSubTopos[0].IsNull(), 1);
    EXPECT_EQ(topo->mSubTopos[1].IsNull(), 1);
    EXPECT_EQ(topo->mDocName.IsEmpty(), 1);
    EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), nullptr);
}

TEST(ktmdl_Topo, DefaultReferenceIsNotRegistered)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
    EXPECT_EQ(topo->RefCount(), 1);
    const Hnd_ktmdl_Topo other = newTopo(Bytes{9}); // the registry is not empty
    EXPECT_EQ(ktmdl_Topo::RemoveFromMap(topo), 0);
}

TEST(ktmdl_Topo, NewObjectHasNoHolder)
{
    Scene scene;
    ktmdl_Topo* const topo = new ktmdl_Topo;
    EXPECT_EQ(topo->RefCount(), 0);
    const Hnd_ktmdl_Topo handle(topo);
    EXPECT_EQ(topo->RefCount(), 1);
}

TEST(ktmdl_Topo, FieldsStandInDeclaredOrder)
{
    Scene scene;
    const Hnd_ktmdl_Topo handle(new ktmdl_Topo);
    const ktmdl_Topo& topo = *handle;
    const std::vector<std::uintptr_t> places = {
        addressOf(&topo.mKeySize), addressOf(&topo.mKey),     addressOf(&topo.mDispTopo),
        addressOf(&topo.tplType),  addressOf(&topo.mBBox),    addressOf(&topo.mIsSubTopo),
        addressOf(topo.mSubTopos), addressOf(&topo.mDocName), addressOf(&topo.mDispDoc)};
    for (std::size_t i = 1; i < places.size(); ++i) {
        EXPECT_LT(places[i - 1], places[i]) << "field " << i;
    }
    EXPECT_GE(places[0], addressOf(&topo) + 12) << "behind the table pointer and the count";
}

TEST(ktmdl_Topo, ConstructorFromBytesCopiesThem)
{
    Scene scene;
    unsigned char bytes[] = {1, 2, 250};
    const Hnd_ktmdl_Topo topo(new OpenTopo(3, bytes));
    bytes[0] = 99;
    EXPECT_EQ(topo->mKeySize, 3);
    EXPECT_EQ(keyOf(topo), (Bytes{1, 2, 250}));
    EXPECT_NE(topo->mKey, bytes);
}

TEST(ktmdl_Topo, ConstructorFromBytesRegistersNothing)
{
    Scene scene;
    const unsigned char bytes[] = {1, 2, 3};
    const Hnd_ktmdl_Topo topo(new OpenTopo(3, bytes));
    EXPECT_EQ(topo->RefCount(), 1);
    EXPECT_FALSE(isRegistered(Bytes{1, 2, 3}));
}

TEST(ktmdl_Topo, ConstructorFromNullBytesForgetsTheSize)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo(new OpenTopo(5, static_cast<const unsigned char*>(nullptr)));
    EXPECT_EQ(topo->mKeySize, 0);
    EXPECT_EQ(topo->mKey, nullptr);
}

TEST(ktmdl_Topo, ConstructorFromBytesKeepsTheLowSixteenBitsOfTheSize)
{
    Scene scene;
    const Bytes bytes = countingBytes(70000);
    const Hnd_ktmdl_Topo topo(new OpenTopo(70000, bytes.data()));
    EXPECT_EQ(topo->mKeySize, 70000 - 65536);
    EXPECT_EQ(keyOf(topo), Bytes(bytes.begin(), bytes.begin() + (70000 - 65536)));
}

TEST(ktmdl_Topo, SizeBetween32768And65535TurnsNegative)
{
    Scene scene;
    const Bytes bytes = countingBytes(40000);
    const Hnd_ktmdl_Topo topo(new OpenTopo(40000, bytes.data()));
    EXPECT_EQ(topo->mKeySize, 40000 - 65536);
    EXPECT_EQ(topo->IsEqual(40000, bytes.data()), 0);
}

TEST(ktmdl_Topo, LongestKeyIsKeptWhole)
{
    Scene scene;
    const Bytes bytes = countingBytes(32767);
    const Hnd_ktmdl_Topo topo(new OpenTopo(32767, bytes.data()));
    EXPECT_EQ(topo->mKeySize, 32767);
    EXPECT_EQ(topo->IsEqual(32767, bytes.data()), 1);
}

TEST(ktmdl_Topo, ConstructorFromArrayCopiesTheFirstBytes)
{
    Scene scene;
    const OwnArray array(Bytes{5, 6, 7, 8});
    const Hnd_ktmdl_Topo topo(new OpenTopo(3, array));
    EXPECT_EQ(topo->mKeySize, 3);
    EXPECT_EQ(keyOf(topo), (Bytes{5, 6, 7}));
}

TEST(ktmdl_Topo, ConstructorFromArrayTakesNoKeyBelowOneByte)
{
    Scene scene;
    const OwnArray array(Bytes{5, 6, 7, 8});
    for (const long size : {0L, -1L, -70000L}) {
        const Hnd_ktmdl_Topo topo(new OpenTopo(size, array));
        EXPECT_EQ(topo->mKeySize, 0) << size;
        EXPECT_EQ(topo->mKey, nullptr) << size;
        const Hnd_ktmdl_Topo other(new OpenTopo(size, static_cast<SAFEARRAY*>(nullptr)));
        EXPECT_EQ(other->mKeySize, 0) << size;
    }
}

TEST(ktmdl_Topo, ConstructorFromArrayRaisesTheCodeOfTheCopy)
{
    Scene scene;
    const OwnArray tooShort(Bytes{1, 2});
    const OwnArray wrongType(fake::arrayOf(std::vector<double>{1, 2, 3}));
    SAFEARRAY* const arrays[] = {nullptr, tooShort, wrongType};
    for (SAFEARRAY* const array : arrays) {
        unsigned char bytes[3];
        const long wanted = GetValuesFromSafeArray(array, 3, bytes);
        ASSERT_LT(wanted, 0);
        EXPECT_EQ(codeOf([&] { const Hnd_ktmdl_Topo topo(new OpenTopo(3, array)); }), wanted);
    }
}

TEST(ktmdl_Topo, DestructionReleasesWhatTheReferenceHolds)
{
    Scene scene;
    fake::Object& object = scene.world.Make("object");
    fake::Object& document = scene.world.Make("document");
    int destroyed = 0;
    {
        const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
        topo->mDispTopo = object.Ptr();
        topo->mDispDoc = document.Ptr();
        topo->mSubTopos[0] = Hnd_ktmdl_TopoHSeq(new WatchedList(destroyed));
        topo->mSubTopos[1] = Hnd_ktmdl_TopoHSeq(new WatchedList(destroyed));
        EXPECT_EQ(object.Held(), 1);
        EXPECT_EQ(document.Held(), 1);
    }
    EXPECT_EQ(object.Held(), 0);
    EXPECT_EQ(document.Held(), 0);
    EXPECT_EQ(destroyed, 2);
    scene.ExpectNoCalls();
}

TEST(ktmdl_Topo, DestructionLeavesTheRegistryAlone)
{
    Scene scene;
    const Hnd_ktmdl_Topo registered = newTopo(Bytes{1, 2});
    const unsigned char bytes[] = {1, 2};
    {
        const Hnd_ktmdl_Topo twin(new OpenTopo(2, bytes));
    }
    EXPECT_EQ(registered->RefCount(), 2) << "this handle and the registry's";
    EXPECT_EQ(ktmdl_Topo::RemoveFromMap(registered), 1);
}

TEST(ktmdl_Topo, TypeDescriptorNamesClassSizeAndAncestors)
{
    const Hnd_ktstd_Type& type = ktmdl_Topo_Type_();
    EXPECT_STREQ(type->Name(), "ktmdl_Topo");
    EXPECT_EQ(type->Size(), static_cast<long>(sizeof(ktmdl_Topo)));
    EXPECT_EQ(type->NbParents(), 1);
    EXPECT_EQ(type->Ancestors()[0], ktstd_TShared_Type_());
    EXPECT_EQ(type->Ancestors()[1], ktstd_Transient_Type_());
    EXPECT_EQ(type->Ancestors()[2].IsNull(), 1);
    EXPECT_EQ(ktmdl_Topo_Type_(), type) << "one descriptor for all";
}

TEST(ktmdl_Topo, IsKindOfItselfAndItsAncestorsOnly)
{
    Scene scene;
    const Hnd_ktstd_Transient topo(new ktmdl_Topo);
    EXPECT_EQ(topo->DynamicType(), ktmdl_Topo_Type_());
    EXPECT_EQ(topo->IsKind(ktmdl_Topo_Type_()), 1);
    EXPECT_EQ(topo->IsKind(ktstd_TShared_Type_()), 1);
    EXPECT_EQ(topo->IsKind(ktstd_Transient_Type_()), 1);
    EXPECT_EQ(topo->IsKind(ktmdl_TopoHSeq_Type_()), 0);
    EXPECT_EQ(topo->IsKind(ktstd_fail_Failure_Type_()), 0);
    EXPECT_EQ(topo->IsKind(Hnd_ktstd_Type()), 0);
}

TEST(ktmdl_Topo, DownCastGivesTheSameObject)
{
    Scene scene;
    const Hnd_ktstd_Transient object(new ktmdl_Topo);
    const Hnd_ktmdl_Topo topo = Hnd_ktmdl_Topo::DownCast(object);
    EXPECT_EQ(topo, object);
    EXPECT_EQ(topo->RefCount(), 2);
}

TEST(ktmdl_Topo, DownCastOfNullOrAnotherClassIsNull)
{
    Scene scene;
    EXPECT_EQ(Hnd_ktmdl_Topo::DownCast(Hnd_ktstd_Transient()).IsNull(), 1);
    const Hnd_ktstd_Transient list(new ktmdl_TopoHSeq);
    EXPECT_EQ(Hnd_ktmdl_Topo::DownCast(list).IsNull(), 1);
    EXPECT_EQ(list->RefCount(), 1);
    const Hnd_ktstd_Transient others(new ktstd_TransientHSeq);
    EXPECT_EQ(Hnd_ktmdl_Topo::DownCast(others).IsNull(), 1);
}

TEST(ktmdl_Topo, ThisGivesACountedHandle)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
    const Hnd_ktstd_Transient itself = topo->This();
    EXPECT_EQ(itself, topo);
    EXPECT_EQ(topo->RefCount(), 2);
}

TEST(ktmdl_Topo, NewCopiesShortAndLongKeysAlike)
{
    for (const std::size_t size : {1U, 63U, 64U, 65U, 66U, 1000U}) {
        Scene scene;
        Bytes key(size);
        for (std::size_t i = 0; i < size; ++i) {
            key[i] = static_cast<unsigned char>(3 * i + 1);
        }
        const OwnArray array(key);
        const auto length = static_cast<long>(size);
        EXPECT_EQ(codeOf([&] { ktmdl_Topo::New(length + 1, array); }), DISP_E_BADINDEX) << size;
        EXPECT_FALSE(isRegistered(key)) << size;
        const Hnd_ktmdl_Topo topo = ktmdl_Topo::New(length, array);
        EXPECT_EQ(keyOf(topo), key) << size;
        EXPECT_EQ(ktmdl_Topo::New(length, array), topo) << size;
        EXPECT_NE(ktmdl_Topo::New(length - 1, array), topo) << size;
    }
}
