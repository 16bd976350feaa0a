// The one way to call the host: what its arguments, arrays and answers may be.

#include "ktmdl/ktmdl_HostCall_detail.h"
#include "support/FakeDispatch.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

using ktmdl_detail::ArrayLength;
using ktmdl_detail::HostArray;
using ktmdl_detail::In;
using ktmdl_detail::TryInvoke;

namespace {

constexpr HRESULT kDenied = static_cast<HRESULT>(0x80070005u);

//! Takes three numbers out of an array, behind some; gives the code and the first number, which is
//! -1 when it was left alone.
std::pair<HRESULT, double> tripleOf(const HostArray& aArray, long long aSkip)
{
    double out[3] = {-1, -1, -1};
    const HRESULT hr = aArray.GetTriple(aSkip, out);
    return {hr, out[0]};
}

} // namespace

TEST(ktmdl_HostCall, NullObjectIsRefused)
{
    EXPECT_EQ(TryInvoke(nullptr, 1, DISPATCH_METHOD, {}, nullptr, nullptr), E_POINTER);
}

TEST(ktmdl_HostCall, NineArgumentsAreRefusedUnasked)
{
    Scene scene;
    fake::Object& object = scene.world.Make("object");
    const IDispatchPtr held = object.Ptr();
    object.Method(1, [](const fake::Args&, VARIANT*) { return S_OK; });
    const VARIANT one = In(LONG{1});
    EXPECT_EQ(TryInvoke(held, 1, DISPATCH_METHOD, {one, one, one, one, one, one, one, one}, nullptr,
                        nullptr),
              S_OK);
    scene.world.Forget();
    EXPECT_EQ(TryInvoke(held, 1, DISPATCH_METHOD, {one, one, one, one, one, one, one, one, one},
                        nullptr, nullptr),
              DISP_E_BADPARAMCOUNT);
    scene.ExpectNoCalls();
}

TEST(ktmdl_HostCall, ExceptionGivesItsCodeWhetherItsTextIsAskedForOrNot)
{
    Scene scene;
    fake::Object& object = scene.world.Make("object");
    const IDispatchPtr held = object.Ptr();
    object.Method(1, [](const fake::Args& aArgs, VARIANT*) {
        return aArgs.Exception(kDenied, L"not allowed");
    });
    EXPECT_EQ(TryInvoke(held, 1, DISPATCH_METHOD, {}, nullptr, nullptr), kDenied);
    IErrorInfo* pInfo = nullptr;
    EXPECT_EQ(TryInvoke(held, 1, DISPATCH_METHOD, {}, nullptr, &pInfo), kDenied);
    ASSERT_NE(pInfo, nullptr);
    const _com_error error(kDenied, pInfo); // takes it over
    EXPECT_STREQ(static_cast<const wchar_t*>(error.Description()), L"not allowed");
}

TEST(ktmdl_HostCall, TripleIsTakenOnlyWhereTheArrayHasIt)
{
    HostArray array(VT_R8);
    EXPECT_EQ(tripleOf(array, 0), std::pair(E_POINTER, -1.0)) << "no array";
    *array.Receive() = fake::arrayOf(std::vector<double>{1, 2, 3, 4, 5, 6});
    EXPECT_EQ(tripleOf(array, 0), std::pair(S_OK, 1.0));
    EXPECT_EQ(tripleOf(array, 3), std::pair(S_OK, 4.0));
    EXPECT_EQ(tripleOf(array, 4), std::pair(DISP_E_BADINDEX, -1.0));
    EXPECT_EQ(tripleOf(array, -1), std::pair(DISP_E_BADINDEX, -1.0));
    *array.Receive() = fake::arrayOf(std::vector<unsigned char>{1, 2, 3});
    EXPECT_EQ(tripleOf(array, 0), std::pair(DISP_E_TYPEMISMATCH, -1.0));
}

TEST(ktmdl_HostCall, TripleOfAnArrayThatCantBeLockedIsNotTaken)
{
    HostArray array(VT_R8);
    *array.Receive() = fake::arrayOf(std::vector<double>{1, 2, 3});
    constexpr int kMostLocks = 0xFFFF; // what the lock count of an array holds
    for (int i = 0; i < kMostLocks; ++i) {
        ASSERT_EQ(SafeArrayLock(array.Get()), S_OK) << i;
    }
    const auto [code, first] = tripleOf(array, 0);
    EXPECT_LT(code, 0);
    EXPECT_EQ(first, -1.0);
    for (int i = 0; i < kMostLocks; ++i) {
        ASSERT_EQ(SafeArrayUnlock(array.Get()), S_OK) << i;
    }
    EXPECT_EQ(tripleOf(array, 0), std::pair(S_OK, 1.0));
}

TEST(ktmdl_HostCall, OnlyAVectorHasALength)
{
    EXPECT_EQ(ArrayLength(nullptr), 0);
    const OwnArray five(SafeArrayCreateVector(VT_I4, -2, 5));
    EXPECT_EQ(ArrayLength(five), 5);
    SAFEARRAYBOUND bounds[2] = {{2, 0}, {3, 0}};
    const OwnArray table(SafeArrayCreate(VT_I4, 2, bounds));
    EXPECT_EQ(ArrayLength(table), 0);
}

TEST(ktmdl_HostCall, TruthValueOfEveryIntegerIsItsSixteenBits)
{
    Scene scene;
    fake::Object& object = scene.world.Make("object");
    const IDispatchPtr held = object.Ptr();
    VARTYPE type = VT_EMPTY;
    LONGLONG bits = 0;
    object.Property(1, [&](const fake::Args&, VARIANT* aResult) {
        V_VT(aResult) = type;
        aResult->llVal = bits;
        return S_OK;
    });
    for (const int each :
         {VT_I1, VT_I2, VT_I4, VT_I8, VT_INT, VT_UI1, VT_UI2, VT_UI4, VT_UI8, VT_UINT, VT_BOOL}) {
        type = static_cast<VARTYPE>(each);
        bits = 7;
        EXPECT_EQ(ktmdl_detail::GetBool(held, 1), 7) << "type " << each;
        bits = 0;
        EXPECT_EQ(ktmdl_detail::GetBool(held, 1), 0) << "type " << each;
    }
    type = VT_I4;
    bits = 70000;
    EXPECT_EQ(ktmdl_detail::GetBool(held, 1), 1) << "16 bits don't hold it";
}

TEST(ktmdl_HostCall, NullIsTheSameObjectAsNullAlone)
{
    Scene scene;
    const IDispatchPtr object = scene.world.Make("object").Ptr();
    EXPECT_TRUE(ktmdl_detail::IsSameComObject(IDispatchPtr(), IDispatchPtr()));
    EXPECT_FALSE(ktmdl_detail::IsSameComObject(IDispatchPtr(), object));
    EXPECT_FALSE(ktmdl_detail::IsSameComObject(object, IDispatchPtr()));
    EXPECT_TRUE(ktmdl_detail::IsSameComObject(object, object));
}
