#include "ktstd/ktstd_ComTools.h"

#include "ktstd/ktstd_AsciiString.h"
#include "support/FakeDispatch.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>
#include <vector>

static_assert(std::is_same_v<decltype(ComGetParent(nullptr)), IDispatchPtr>);

namespace {

//! A status in its 32-bit meaning.
HRESULT code(long aStatus)
{
    return static_cast<HRESULT>(static_cast<std::int32_t>(aStatus));
}

//! An array of the test with lower bound 0.
struct OwnedArray
{
    OwnedArray(VARTYPE aType, ULONG aCount) : value(SafeArrayCreateVector(aType, 0, aCount)) {}
    OwnedArray(const OwnedArray&) = delete;
    OwnedArray& operator=(const OwnedArray&) = delete;
    ~OwnedArray() { SafeArrayDestroy(value); }

    SAFEARRAY* value;
};

} // namespace

TEST(ktstd_ComTools, IdentifierIsLookedUpByName)
{
    fake::World world;
    fake::Object& object = world.Make("part");
    object.Property(L"FullName", fake::givesText(L"x"));
    long first = -77;
    EXPECT_EQ(ComGetIdFromName(object.Ptr(), L"FullName", first), S_OK);
    EXPECT_NE(first, -77);
    object.FailName(L"Broken", E_FAIL);
    long other = -77;
    EXPECT_EQ(code(ComGetIdFromName(object.Ptr(), L"Missing", other)), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(code(ComGetIdFromName(object.Ptr(), L"Broken", other)), E_FAIL);
    EXPECT_EQ(other, -77) << "left by a failure";
    EXPECT_EQ(object.Held(), 0);
}

TEST(ktstd_ComTools, NullNameIsRefusedUnasked)
{
    fake::World world;
    fake::Object& object = world.Make("part");
    long id = -77;
    EXPECT_EQ(code(ComGetIdFromName(object.Ptr(), nullptr, id)), E_POINTER);
    EXPECT_EQ(id, -77);
    EXPECT_TRUE(world.Calls().empty());
}

TEST(ktstd_ComTools, StatusOfAFailureIsNegative)
{
    fake::World world;
    fake::Object& object = world.Make("part");
    long id = 0;
    EXPECT_LT(ComGetIdFromName(object.Ptr(), L"Missing", id), 0);
}

TEST(ktstd_ComTools, PropertyIsReadAsText)
{
    fake::World world;
    fake::Object& object = world.Make("part");
    object.Property(L"Name", fake::givesText(L"Part 1.par"));
    object.Property(L"Broken", fake::fails(E_ACCESSDENIED));
    ktstd_AsciiString text("before");
    EXPECT_EQ(ComGetProperty(object.Ptr(), L"Name", text), S_OK);
    EXPECT_STREQ(text.ToCString(), "Part 1.par");
    EXPECT_EQ(code(ComGetProperty(object.Ptr(), L"Broken", text)), E_ACCESSDENIED);
    EXPECT_EQ(code(ComGetProperty(object.Ptr(), L"Missing", text)), DISP_E_UNKNOWNNAME);
    EXPECT_STREQ(text.ToCString(), "Part 1.par") << "left by a failure";
    EXPECT_EQ(object.Held(), 0);
}

TEST(ktstd_ComTools, PropertyIsReadAsAValueOfAType)
{
    fake::World world;
    fake::Object& object = world.Make("part");
    fake::Object& child = world.Make("child");
    object.Property(L"Count", fake::givesNumber(42));
    object.Property(L"Visible", fake::givesBool(VARIANT_TRUE));
    object.Property(L"Child", fake::givesObject(child.Ptr()));
    LONG number = 0;
    EXPECT_EQ(ComGetProperty(object.Ptr(), L"Count", VT_I4, &number), S_OK);
    EXPECT_EQ(number, 42);
    double real = 0;
    EXPECT_EQ(ComGetProperty(object.Ptr(), L"Count", VT_R8, &real), S_OK);
    EXPECT_EQ(real, 42.0);
    VARIANT_BOOL isVisible = VARIANT_FALSE;
    EXPECT_EQ(ComGetProperty(object.Ptr(), L"Visible", VT_BOOL, &isVisible), S_OK);
    EXPECT_EQ(isVisible, VARIANT_TRUE);
    IDispatch* pChild = nullptr;
    EXPECT_EQ(ComGetProperty(object.Ptr(), L"Child", VT_DISPATCH, &pChild), S_OK);
    ASSERT_NE(pChild, nullptr);
    EXPECT_EQ(child.Held(), 1) << "the caller's reference";
    pChild->Release();
    number = 7;
    EXPECT_EQ(code(ComGetProperty(object.Ptr(), L"Missing", VT_I4, &number)), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(number, 7);
    EXPECT_EQ(child.Held(), 0);
    EXPECT_EQ(object.Held(), 0);
}

TEST(ktstd_ComTools, ParentIsThePropertyOfThatName)
{
    fake::World world;
    fake::Object& object = world.Make("face");
    fake::Object& parent = world.Make("body");
    object.Property(L"Parent", fake::givesObject(parent.Ptr()));
    {
        const IDispatchPtr pParent = ComGetParent(object.Ptr());
        EXPECT_EQ(pParent.GetInterfacePtr(), parent.Ptr().GetInterfacePtr());
        EXPECT_EQ(parent.Held(), 1);
    }
    EXPECT_EQ(parent.Held(), 0);
    fake::Object& orphan = world.Make("orphan");
    EXPECT_EQ(ComGetParent(orphan.Ptr()).GetInterfacePtr(), nullptr);
}

TEST(ktstd_ComTools, NullObjectFailsWithoutEffect)
{
    long id = 7;
    ktstd_AsciiString text("before");
    LONG number = 7;
    EXPECT_LT(ComGetIdFromName(nullptr, L"Name", id), 0);
    EXPECT_LT(ComGetProperty(nullptr, L"Name", text), 0);
    EXPECT_LT(ComGetProperty(nullptr, L"Name", VT_I4, &number), 0);
    EXPECT_EQ(ComGetParent(nullptr).GetInterfacePtr(), nullptr);
    EXPECT_EQ(id, 7);
    EXPECT_STREQ(text.ToCString(), "before");
    EXPECT_EQ(number, 7);
}

TEST(ktstd_ComTools, BytesAreCopiedIntoAnArrayAndOut)
{
    unsigned char bytes[] = {0, 1, 127, 128, 255};
    SAFEARRAY* array = nullptr;
    ASSERT_EQ(PutValuesInSafeArray(5, bytes, &array), S_OK);
    ASSERT_NE(array, nullptr);
    bytes[0] = 99;
    VARTYPE type = VT_EMPTY;
    EXPECT_EQ(SafeArrayGetVartype(array, &type), S_OK);
    EXPECT_EQ(type, VT_UI1);
    std::vector<unsigned char> copy(6, 77);
    EXPECT_EQ(GetValuesFromSafeArray(array, 5, copy.data()), S_OK);
    EXPECT_EQ(copy, (std::vector<unsigned char>{0, 1, 127, 128, 255, 77}));
    std::vector<unsigned char> part(6, 77);
    EXPECT_EQ(GetValuesFromSafeArray(array, 2, part.data()), S_OK);
    EXPECT_EQ(part, (std::vector<unsigned char>{0, 1, 77, 77, 77, 77}));
    SafeArrayDestroy(array);
}

TEST(ktstd_ComTools, DoublesAreCopiedIntoAnArrayAndOut)
{
    double values[] = {0.5, -1e300, 3};
    SAFEARRAY* array = nullptr;
    ASSERT_EQ(PutValuesInSafeArray(3, values, &array), S_OK);
    VARTYPE type = VT_EMPTY;
    EXPECT_EQ(SafeArrayGetVartype(array, &type), S_OK);
    EXPECT_EQ(type, VT_R8);
    std::vector<double> copy(4, 77);
    EXPECT_EQ(GetValuesFromSafeArray(array, 3, copy.data()), S_OK);
    EXPECT_EQ(copy, (std::vector<double>{0.5, -1e300, 3, 77}));
    SafeArrayDestroy(array);
}

TEST(ktstd_ComTools, ArraysThatDoNotFitAreRefused)
{
    unsigned char bytes[3] = {1, 2, 3};
    double values[3] = {1, 2, 3};
    SAFEARRAY* array = nullptr;
    ASSERT_EQ(PutValuesInSafeArray(2, bytes, &array), S_OK);
    EXPECT_LT(GetValuesFromSafeArray(array, 3, bytes), 0) << "too short";
    EXPECT_LT(GetValuesFromSafeArray(array, 1, values), 0) << "wrong type";
    EXPECT_LT(GetValuesFromSafeArray(array, -1, bytes), 0) << "negative";
    EXPECT_LT(GetValuesFromSafeArray(nullptr, 1, bytes), 0) << "null";
    EXPECT_EQ(bytes[2], 3);
    EXPECT_EQ(values[0], 1);
    SafeArrayDestroy(array);
}

TEST(ktstd_ComTools, ArrayThatCantBeLockedIsNotRead)
{
    const OwnedArray array(VT_UI1, 2);
    constexpr int kMostLocks = 0xFFFF; // what the lock count of an array holds
    for (int i = 0; i < kMostLocks; ++i) {
        ASSERT_EQ(SafeArrayLock(array.value), S_OK) << i;
    }
    unsigned char bytes[2] = {7, 7};
    EXPECT_LT(GetValuesFromSafeArray(array.value, 2, bytes), 0);
    EXPECT_EQ(bytes[0], 7);
    EXPECT_EQ(GetValuesFromSafeArray(array.value, 0, bytes), S_OK) << "nothing is read";
    for (int i = 0; i < kMostLocks; ++i) {
        ASSERT_EQ(SafeArrayUnlock(array.value), S_OK) << i;
    }
    EXPECT_EQ(GetValuesFromSafeArray(array.value, 2, bytes), S_OK);
    EXPECT_EQ(bytes[0], 0);
}

TEST(ktstd_ComTools, ArrayOfTwoDimensionsIsRefused)
{
    SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
    SAFEARRAY* const array = SafeArrayCreate(VT_UI1, 2, bounds);
    ASSERT_NE(array, nullptr);
    unsigned char bytes[4] = {7, 7, 7, 7};
    EXPECT_EQ(code(GetValuesFromSafeArray(array, 4, bytes)), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(bytes[0], 7);
    SafeArrayDestroy(array);
}

TEST(ktstd_ComTools, MissingPlacesAndBadCountsAreRefused)
{
    const unsigned char bytes[1] = {1};
    const unsigned char* const none = nullptr;
    SAFEARRAY* array = nullptr;
    EXPECT_EQ(code(PutValuesInSafeArray(1, bytes, nullptr)), E_POINTER);
    EXPECT_EQ(code(PutValuesInSafeArray(1, none, &array)), E_POINTER);
    EXPECT_EQ(code(PutValuesInSafeArray(-1, bytes, &array)), E_INVALIDARG);
    EXPECT_EQ(array, nullptr);
    EXPECT_EQ(PutValuesInSafeArray(0, none, &array), S_OK);
    ASSERT_NE(array, nullptr);
    unsigned char* const nowhere = nullptr;
    EXPECT_EQ(GetValuesFromSafeArray(array, 0, nowhere), S_OK);
    EXPECT_EQ(code(GetValuesFromSafeArray(array, 1, nowhere)), E_POINTER);
    SafeArrayDestroy(array);
}

TEST(ktstd_ComTools, CountThatNoArrayHoldsIsRefused)
{
    if constexpr (sizeof(long) > 4) {
        const unsigned char bytes[1] = {1};
        SAFEARRAY* array = nullptr;
        const long tooMany = static_cast<long>(1LL << 31);
        EXPECT_EQ(code(PutValuesInSafeArray(tooMany, bytes, &array)), E_INVALIDARG);
        EXPECT_EQ(array, nullptr);
    } else {
        GTEST_SKIP() << "a long holds no such count here";
    }
}
