#include "com/Com.h"
#include "support/CountingObject.h"
#include "support/Platform.h"

#include <gtest/gtest.h>

#include <string>

namespace {

VARIANT numberVariant(LONG value)
{
    VARIANT variant;
    VariantInit(&variant);
    V_VT(&variant) = VT_I4;
    V_I4(&variant) = value;
    return variant;
}

} // namespace

TEST(ComVariant, InitMakesEmpty)
{
    VARIANT variant;
    VariantInit(&variant);
    EXPECT_EQ(V_VT(&variant), VT_EMPTY);
    EXPECT_EQ(VariantClear(&variant), S_OK);
}

TEST(ComVariant, ClearFreesStringsObjectsAndArrays)
{
    CountingObject object;
    VARIANT variant;
    VariantInit(&variant);
    V_VT(&variant) = VT_BSTR;
    V_BSTR(&variant) = SysAllocString(L"text");
    EXPECT_EQ(VariantClear(&variant), S_OK);
    EXPECT_EQ(V_VT(&variant), VT_EMPTY);

    V_VT(&variant) = VT_DISPATCH;
    V_DISPATCH(&variant) = &object;
    object.AddRef();
    EXPECT_EQ(VariantClear(&variant), S_OK);
    EXPECT_EQ(object.liveReferences(), 0);

    V_VT(&variant) = VT_UNKNOWN;
    V_UNKNOWN(&variant) = static_cast<IDispatch*>(&object);
    object.AddRef();
    EXPECT_EQ(VariantClear(&variant), S_OK);
    EXPECT_EQ(object.liveReferences(), 0);

    SAFEARRAY* const array = SafeArrayCreateVector(VT_DISPATCH, 0, 1);
    LONG index = 0;
    SafeArrayPutElement(array, &index, static_cast<IDispatch*>(&object));
    V_VT(&variant) = VT_ARRAY | VT_DISPATCH;
    V_ARRAY(&variant) = array;
    EXPECT_EQ(VariantClear(&variant), S_OK);
    EXPECT_EQ(object.liveReferences(), 0);
}

TEST(ComVariant, ClearTakesNullContents)
{
    for (const int vt : {int{VT_BSTR}, int{VT_DISPATCH}, int{VT_UNKNOWN}, VT_ARRAY | VT_R8}) {
        VARIANT variant;
        VariantInit(&variant);
        V_VT(&variant) = static_cast<VARTYPE>(vt);
        EXPECT_EQ(VariantClear(&variant), S_OK) << vt;
        EXPECT_EQ(V_VT(&variant), VT_EMPTY);
    }
}

TEST(ComVariant, ClearLeavesWhatIsOnlyReferredTo)
{
    BSTR text = SysAllocString(L"mine");
    VARIANT variant;
    VariantInit(&variant);
    V_VT(&variant) = VT_BSTR | VT_BYREF;
    V_BSTRREF(&variant) = &text;
    EXPECT_EQ(VariantClear(&variant), S_OK);
    EXPECT_EQ(std::wstring(text), L"mine");
    SysFreeString(text);
}

TEST(ComVariant, ClearRefusesALockedArray)
{
    SAFEARRAY* const array = SafeArrayCreateVector(VT_R8, 0, 1);
    SafeArrayLock(array);
    VARIANT variant;
    VariantInit(&variant);
    V_VT(&variant) = VT_ARRAY | VT_R8;
    V_ARRAY(&variant) = array;
    EXPECT_EQ(VariantClear(&variant), DISP_E_ARRAYISLOCKED);
    if (!onWine()) { // Wine forgets the array, but does not free it
        EXPECT_EQ(V_VT(&variant), VT_ARRAY | VT_R8);
    }
    EXPECT_EQ(array->cLocks, 1u);
    SafeArrayUnlock(array);
    EXPECT_EQ(SafeArrayDestroy(array), S_OK);
}

TEST(ComVariant, UnknownTypesAreRefused)
{
    for (const int vt : {15, 24, 75, VT_BYREF | VT_EMPTY, VT_ARRAY | VT_NULL, VT_RESERVED | VT_I4,
                         VT_VECTOR | VT_I4}) {
        VARIANT variant;
        VariantInit(&variant);
        V_VT(&variant) = static_cast<VARTYPE>(vt);
        VARIANT target;
        VariantInit(&target);
        EXPECT_EQ(VariantCopy(&target, &variant), DISP_E_BADVARTYPE) << vt;
        EXPECT_EQ(VariantClear(&variant), DISP_E_BADVARTYPE) << vt;
        EXPECT_EQ(V_VT(&variant), vt);
    }
}

TEST(ComVariant, CopyOwnsItsContent)
{
    CountingObject object;
    VARIANT target;
    VariantInit(&target);
    _variant_t text(L"text");
    EXPECT_EQ(VariantCopy(&target, &text), S_OK);
    EXPECT_EQ(V_VT(&target), VT_BSTR);
    EXPECT_NE(V_BSTR(&target), V_BSTR(&text));
    EXPECT_EQ(std::wstring(V_BSTR(&target)), L"text");

    _variant_t dispatch(static_cast<IDispatch*>(&object));
    EXPECT_EQ(VariantCopy(&target, &dispatch), S_OK) << "the old string is freed";
    EXPECT_EQ(object.liveReferences(), 2);
    EXPECT_EQ(object.queries, 0);

    VARIANT number = numberVariant(9);
    EXPECT_EQ(VariantCopy(&target, &number), S_OK);
    EXPECT_EQ(object.liveReferences(), 1);
    EXPECT_EQ(V_I4(&target), 9);
}

TEST(ComVariant, CopyOfAnArrayIsAnotherArray)
{
    VARIANT source;
    VariantInit(&source);
    V_VT(&source) = VT_ARRAY | VT_R8;
    V_ARRAY(&source) = SafeArrayCreateVector(VT_R8, 3, 2);
    VARIANT target;
    VariantInit(&target);
    EXPECT_EQ(VariantCopy(&target, &source), S_OK);
    EXPECT_NE(V_ARRAY(&target), V_ARRAY(&source));
    LONG bound = 0;
    EXPECT_EQ(SafeArrayGetLBound(V_ARRAY(&target), 1, &bound), S_OK);
    EXPECT_EQ(bound, 3);
    VariantClear(&source);
    VariantClear(&target);
}

TEST(ComVariant, CopyOfAReferenceStaysAReference)
{
    LONG number = 4;
    VARIANT source;
    VariantInit(&source);
    V_VT(&source) = VT_I4 | VT_BYREF;
    V_I4REF(&source) = &number;
    VARIANT target;
    VariantInit(&target);
    EXPECT_EQ(VariantCopy(&target, &source), S_OK);
    EXPECT_EQ(V_VT(&target), VT_I4 | VT_BYREF);
    EXPECT_EQ(V_I4REF(&target), &number);
}

TEST(ComVariant, CopyToItselfChangesNothing)
{
    _variant_t text(L"same");
    const BSTR before = V_BSTR(&text);
    EXPECT_EQ(VariantCopy(&text, &text), S_OK);
    EXPECT_EQ(V_BSTR(&text), before);
}

TEST(ComVariant, CopyIndFollowsReferences)
{
    LONG number = 4;
    double real = 2.5;
    BSTR text = SysAllocString(L"text");
    CountingObject object;
    IDispatch* dispatch = &object;
    VARIANT source;
    VARIANT target;
    VariantInit(&source);
    VariantInit(&target);

    V_VT(&source) = VT_I4 | VT_BYREF;
    V_I4REF(&source) = &number;
    EXPECT_EQ(VariantCopyInd(&target, &source), S_OK);
    EXPECT_EQ(V_VT(&target), VT_I4);
    EXPECT_EQ(V_I4(&target), 4);

    V_VT(&source) = VT_R8 | VT_BYREF;
    V_R8REF(&source) = &real;
    EXPECT_EQ(VariantCopyInd(&target, &source), S_OK);
    EXPECT_EQ(V_R8(&target), 2.5);

    V_VT(&source) = VT_BSTR | VT_BYREF;
    V_BSTRREF(&source) = &text;
    EXPECT_EQ(VariantCopyInd(&target, &source), S_OK);
    EXPECT_NE(V_BSTR(&target), text);
    EXPECT_EQ(std::wstring(V_BSTR(&target)), L"text");

    V_VT(&source) = VT_DISPATCH | VT_BYREF;
    V_DISPATCHREF(&source) = &dispatch;
    EXPECT_EQ(VariantCopyInd(&target, &source), S_OK);
    EXPECT_EQ(object.liveReferences(), 1);
    VariantClear(&target);
    EXPECT_EQ(object.liveReferences(), 0);
    SysFreeString(text);
}

TEST(ComVariant, CopyIndFollowsEveryPlainType)
{
    BYTE tiny = 200;
    SHORT small = -3;
    VARIANT_BOOL flag = VARIANT_TRUE;
    float real = 1.5f;
    LONGLONG large = 1LL << 40;
    CY amount = {};
    amount.int64 = 12345;
    SCODE code = E_FAIL;
    VARIANT source;
    VARIANT target;
    VariantInit(&source);
    VariantInit(&target);
    const auto copy = [&](int vt, void* place) {
        V_VT(&source) = static_cast<VARTYPE>(vt | VT_BYREF);
        V_BYREF(&source) = place;
        EXPECT_EQ(VariantCopyInd(&target, &source), S_OK);
        EXPECT_EQ(V_VT(&target), vt);
    };
    copy(VT_UI1, &tiny);
    EXPECT_EQ(V_UI1(&target), 200);
    copy(VT_I2, &small);
    EXPECT_EQ(V_I2(&target), -3);
    copy(VT_BOOL, &flag);
    EXPECT_EQ(V_BOOL(&target), VARIANT_TRUE);
    copy(VT_R4, &real);
    EXPECT_EQ(V_R4(&target), 1.5f);
    copy(VT_I8, &large);
    EXPECT_EQ(V_I8(&target), large);
    copy(VT_CY, &amount);
    EXPECT_EQ(V_CY(&target).int64, 12345);
    copy(VT_ERROR, &code);
    EXPECT_EQ(V_ERROR(&target), E_FAIL);
}

TEST(ComVariant, CopyIndFollowsAReferenceToAnArray)
{
    SAFEARRAY* array = SafeArrayCreateVector(VT_I4, 0, 2);
    VARIANT source;
    VARIANT target;
    VariantInit(&source);
    VariantInit(&target);
    V_VT(&source) = VT_ARRAY | VT_I4 | VT_BYREF;
    V_ARRAYREF(&source) = &array;
    EXPECT_EQ(VariantCopyInd(&target, &source), S_OK);
    EXPECT_EQ(V_VT(&target), VT_ARRAY | VT_I4);
    EXPECT_NE(V_ARRAY(&target), array);
    VariantClear(&target);
    SafeArrayDestroy(array);
}

TEST(ComVariant, CopyIndFollowsAReferenceToAVariant)
{
    _variant_t inner(L"inner");
    VARIANT source;
    VARIANT target;
    VariantInit(&source);
    VariantInit(&target);
    V_VT(&source) = VT_VARIANT | VT_BYREF;
    V_VARIANTREF(&source) = &inner;
    EXPECT_EQ(VariantCopyInd(&target, &source), S_OK);
    EXPECT_EQ(V_VT(&target), VT_BSTR);
    EXPECT_EQ(std::wstring(V_BSTR(&target)), L"inner");
    VariantClear(&target);
}

TEST(ComVariant, CopyIndFollowsAReferenceInAReferencedVariant)
{
    LONG number = 6;
    VARIANT inner;
    VariantInit(&inner);
    V_VT(&inner) = VT_I4 | VT_BYREF;
    V_I4REF(&inner) = &number;
    VARIANT source;
    VARIANT target;
    VariantInit(&source);
    VariantInit(&target);
    V_VT(&source) = VT_VARIANT | VT_BYREF;
    V_VARIANTREF(&source) = &inner;
    EXPECT_EQ(VariantCopyInd(&target, &source), S_OK);
    EXPECT_EQ(V_VT(&target), VT_I4);
    EXPECT_EQ(V_I4(&target), 6);
}

TEST(ComVariant, CopyIndRefusesAVariantInAVariantInAVariant)
{
    VARIANT innermost = numberVariant(1);
    VARIANT inner;
    VariantInit(&inner);
    V_VT(&inner) = VT_VARIANT | VT_BYREF;
    V_VARIANTREF(&inner) = &innermost;
    VARIANT source;
    VARIANT target;
    VariantInit(&source);
    VariantInit(&target);
    V_VT(&source) = VT_VARIANT | VT_BYREF;
    V_VARIANTREF(&source) = &inner;
    EXPECT_EQ(VariantCopyInd(&target, &source), E_INVALIDARG);
}

TEST(ComVariant, CopyIndOntoItself)
{
    BSTR text = SysAllocString(L"text");
    VARIANT variant;
    VariantInit(&variant);
    V_VT(&variant) = VT_BSTR | VT_BYREF;
    V_BSTRREF(&variant) = &text;
    EXPECT_EQ(VariantCopyInd(&variant, &variant), S_OK);
    EXPECT_EQ(V_VT(&variant), VT_BSTR);
    EXPECT_NE(V_BSTR(&variant), text);
    VariantClear(&variant);
    SysFreeString(text);
}
