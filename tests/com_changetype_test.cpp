#include "com/Com.h"
#include "support/CountingObject.h"
#include "support/Platform.h"

#include <gtest/gtest.h>

#include <limits>
#include <ostream>
#include <string>

namespace {

//! A value of a given type.
template <typename Field>
VARIANT make(VARTYPE vt, Field VARIANT::*field, Field value)
{
    VARIANT variant;
    VariantInit(&variant);
    V_VT(&variant) = vt;
    variant.*field = value;
    return variant;
}

VARIANT real(double value)
{
    VARIANT variant;
    VariantInit(&variant);
    V_VT(&variant) = VT_R8;
    V_R8(&variant) = value;
    return variant;
}

VARIANT integer(LONGLONG value)
{
    VARIANT variant;
    VariantInit(&variant);
    V_VT(&variant) = VT_I8;
    V_I8(&variant) = value;
    return variant;
}

//! Converts and gives the code; the result must keep its type when that fails.
HRESULT convert(const VARIANT& source, VARTYPE vt, _variant_t& result, USHORT flags = 0)
{
    result = LONG{77};
    const HRESULT hr = VariantChangeType(&result, const_cast<VARIANT*>(&source), flags, vt);
    if (FAILED(hr)) {
        EXPECT_EQ(V_VT(&result), VT_I4) << "left as it was";
        EXPECT_EQ(V_I4(&result), 77);
    } else {
        EXPECT_EQ(V_VT(&result), vt);
    }
    return hr;
}

HRESULT codeOf(const VARIANT& source, VARTYPE vt)
{
    _variant_t result;
    return convert(source, vt, result);
}

LONG toLong(const VARIANT& source)
{
    _variant_t result;
    EXPECT_EQ(convert(source, VT_I4, result), S_OK);
    return V_VT(&result) == VT_I4 ? V_I4(&result) : 0;
}

double toReal(const VARIANT& source)
{
    _variant_t result;
    EXPECT_EQ(convert(source, VT_R8, result), S_OK);
    return V_VT(&result) == VT_R8 ? V_R8(&result) : 0.0;
}

std::wstring toText(const VARIANT& source, USHORT flags = 0)
{
    _variant_t result;
    EXPECT_EQ(convert(source, VT_BSTR, result, flags), S_OK);
    return V_VT(&result) == VT_BSTR ? std::wstring(V_BSTR(&result)) : std::wstring(L"?");
}

} // namespace

TEST(ComChangeType, HalvesGoToTheEvenInteger)
{
    EXPECT_EQ(toLong(real(0.5)), 0);
    EXPECT_EQ(toLong(real(1.5)), 2);
    EXPECT_EQ(toLong(real(2.5)), 2);
    EXPECT_EQ(toLong(real(-0.5)), 0);
    EXPECT_EQ(toLong(real(-1.5)), -2);
    EXPECT_EQ(toLong(real(-2.5)), -2);
    EXPECT_EQ(toLong(real(2.4999)), 2);
    EXPECT_EQ(toLong(real(-2.5001)), -3);
}

TEST(ComChangeType, RealsBeyondATypeOverflow)
{
    EXPECT_EQ(codeOf(real(2147483648.0), VT_I4), DISP_E_OVERFLOW);
    EXPECT_EQ(codeOf(real(-2147483649.0), VT_I4), DISP_E_OVERFLOW);
    EXPECT_EQ(toLong(real(2147483647.0)), 2147483647);
    EXPECT_EQ(toLong(real(-2147483648.0)), std::numeric_limits<LONG>::min());
    EXPECT_EQ(codeOf(real(32768.0), VT_I2), DISP_E_OVERFLOW);
    EXPECT_EQ(codeOf(real(256.0), VT_UI1), DISP_E_OVERFLOW);
    EXPECT_EQ(codeOf(real(-1.0), VT_UI1), DISP_E_OVERFLOW);
    EXPECT_EQ(codeOf(real(1e19), VT_I8), DISP_E_OVERFLOW);
    EXPECT_EQ(codeOf(real(1e39), VT_R4), DISP_E_OVERFLOW);
}

TEST(ComChangeType, IntegersBeyondATypeOverflow)
{
    const LONGLONG tooLarge = 1LL << 31;
    EXPECT_EQ(codeOf(integer(tooLarge), VT_I4), DISP_E_OVERFLOW);
    EXPECT_EQ(codeOf(integer(-tooLarge - 1), VT_I4), DISP_E_OVERFLOW);
    EXPECT_EQ(codeOf(integer(tooLarge), VT_UI4), S_OK);
    EXPECT_EQ(codeOf(integer(-1), VT_UI4), DISP_E_OVERFLOW);
    EXPECT_EQ(codeOf(integer(32768), VT_I2), DISP_E_OVERFLOW);
    EXPECT_EQ(codeOf(integer(-32768), VT_I2), S_OK);
    EXPECT_EQ(codeOf(integer(65535), VT_UI2), S_OK);
    EXPECT_EQ(codeOf(integer(128), VT_I1), DISP_E_OVERFLOW);
    EXPECT_EQ(codeOf(integer(-128), VT_I1), S_OK);
    EXPECT_EQ(codeOf(integer(256), VT_UI1), DISP_E_OVERFLOW);
}

TEST(ComChangeType, UnsignedIntegersBeyondATypeOverflow)
{
    if (onWine()) {
        GTEST_SKIP() << "Wine reports no overflow here";
    }
    EXPECT_EQ(codeOf(integer(65536), VT_UI2), DISP_E_OVERFLOW);
    EXPECT_EQ(codeOf(make(VT_UI8, &VARIANT::ullVal, ULONGLONG{1} << 63), VT_I8), DISP_E_OVERFLOW);
    EXPECT_EQ(codeOf(make(VT_UI4, &VARIANT::ulVal, ULONG{0x80000000}), VT_I4), DISP_E_OVERFLOW);
}

TEST(ComChangeType, EveryIntegerTypeIsRead)
{
    EXPECT_EQ(toLong(make(VT_I1, &VARIANT::cVal, static_cast<char>(-5))), -5);
    EXPECT_EQ(toLong(make(VT_UI1, &VARIANT::bVal, BYTE{200})), 200);
    EXPECT_EQ(toLong(make(VT_I2, &VARIANT::iVal, SHORT{-300})), -300);
    EXPECT_EQ(toLong(make(VT_UI2, &VARIANT::uiVal, USHORT{60000})), 60000);
    EXPECT_EQ(toLong(make(VT_INT, &VARIANT::intVal, INT{-70000})), -70000);
    EXPECT_EQ(toLong(make(VT_UINT, &VARIANT::uintVal, UINT{70000})), 70000);
    EXPECT_EQ(toLong(integer(-70000)), -70000);
    EXPECT_EQ(toLong(make(VT_R4, &VARIANT::fltVal, 2.75f)), 3);
    EXPECT_EQ(toLong(make(VT_DATE, &VARIANT::date, 2.25)), 2);
}

TEST(ComChangeType, EmptyIsZeroAndNoText)
{
    VARIANT empty;
    VariantInit(&empty);
    EXPECT_EQ(toLong(empty), 0);
    EXPECT_EQ(toReal(empty), 0.0);
    EXPECT_EQ(toText(empty), L"");
    _variant_t result;
    EXPECT_EQ(convert(empty, VT_BOOL, result), S_OK);
    EXPECT_EQ(V_BOOL(&result), VARIANT_FALSE);
}

TEST(ComChangeType, NullIsNothingElse)
{
    VARIANT null;
    VariantInit(&null);
    V_VT(&null) = VT_NULL;
    EXPECT_EQ(codeOf(null, VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(codeOf(null, VT_BSTR), DISP_E_TYPEMISMATCH);
}

TEST(ComChangeType, BoolAndNumbers)
{
    EXPECT_EQ(toLong(make(VT_BOOL, &VARIANT::boolVal, VARIANT_BOOL{VARIANT_TRUE})), -1);
    EXPECT_EQ(toLong(make(VT_BOOL, &VARIANT::boolVal, VARIANT_BOOL{VARIANT_FALSE})), 0);
    _variant_t result;
    EXPECT_EQ(convert(real(0.25), VT_BOOL, result), S_OK);
    EXPECT_EQ(V_BOOL(&result), VARIANT_TRUE);
    EXPECT_EQ(convert(integer(0), VT_BOOL, result), S_OK);
    EXPECT_EQ(V_BOOL(&result), VARIANT_FALSE);
    EXPECT_EQ(convert(integer(1LL << 40), VT_BOOL, result), S_OK);
    EXPECT_EQ(V_BOOL(&result), VARIANT_TRUE);
}

TEST(ComChangeType, BoolAsText)
{
    const VARIANT yes = make(VT_BOOL, &VARIANT::boolVal, VARIANT_BOOL{VARIANT_TRUE});
    const VARIANT no = make(VT_BOOL, &VARIANT::boolVal, VARIANT_BOOL{VARIANT_FALSE});
    EXPECT_EQ(toText(yes), L"-1");
    EXPECT_EQ(toText(no), L"0");
    EXPECT_EQ(toText(yes, VARIANT_ALPHABOOL), L"True");
    EXPECT_EQ(toText(no, VARIANT_ALPHABOOL), L"False");
}

TEST(ComChangeType, TextAsBool)
{
    const struct
    {
        const wchar_t* text;
        HRESULT hr;
        VARIANT_BOOL value;
    } cases[] = {{L"True", S_OK, VARIANT_TRUE},       {L"FALSE", S_OK, VARIANT_FALSE},
                 {L"#TRUE#", S_OK, VARIANT_TRUE},     {L"#FALSE#", S_OK, VARIANT_FALSE},
                 {L"0", S_OK, VARIANT_FALSE},         {L"-3", S_OK, VARIANT_TRUE},
                 {L"", DISP_E_TYPEMISMATCH, {}},      {L"yes?", DISP_E_TYPEMISMATCH, {}},
                 {L"Truely", DISP_E_TYPEMISMATCH, {}}};
    for (const auto& one : cases) {
        _variant_t result;
        const std::wstring text = one.text;
        EXPECT_EQ(convert(_variant_t(one.text), VT_BOOL, result), one.hr)
            << std::string(text.begin(), text.end());
        if (SUCCEEDED(one.hr)) {
            EXPECT_EQ(V_BOOL(&result), one.value);
        }
    }
}

TEST(ComChangeType, NumbersAsText)
{
    EXPECT_EQ(toText(integer(-123)), L"-123");
    EXPECT_EQ(toText(make(VT_UI8, &VARIANT::ullVal, std::numeric_limits<ULONGLONG>::max())),
              L"18446744073709551615");
    EXPECT_EQ(toText(integer(std::numeric_limits<LONGLONG>::min())), L"-9223372036854775808");
    EXPECT_EQ(toText(make(VT_UI1, &VARIANT::bVal, BYTE{65})), L"65");
    EXPECT_EQ(toText(real(0.1)), L"0.1");
    EXPECT_EQ(toText(real(-2.5)), L"-2.5");
    EXPECT_EQ(toText(real(1.0 / 3.0)), L"0.333333333333333");
    EXPECT_EQ(toText(real(100.0)), L"100");
    EXPECT_EQ(toText(make(VT_R4, &VARIANT::fltVal, 0.1f)), L"0.1");
}

TEST(ComChangeType, CurrencyAsTextAndNumber)
{
    CY amount = {};
    amount.int64 = 125000;
    VARIANT value;
    VariantInit(&value);
    V_VT(&value) = VT_CY;
    V_CY(&value) = amount;
    EXPECT_EQ(toReal(value), 12.5);
    EXPECT_EQ(toLong(value), 12) << "a half goes to the even integer";
    EXPECT_EQ(toText(value), L"12.5");
    V_CY(&value).int64 = -1;
    EXPECT_EQ(toReal(value), -0.0001);
    EXPECT_EQ(toText(value), L"-0.0001");
    _variant_t result;
    EXPECT_EQ(convert(real(3.14159), VT_CY, result), S_OK);
    EXPECT_EQ(V_CY(&result).int64, 31416);
    EXPECT_EQ(codeOf(real(1e15), VT_CY), DISP_E_OVERFLOW);
}

TEST(ComChangeType, TextAsNumber)
{
    EXPECT_EQ(toLong(_variant_t(L"42")), 42);
    EXPECT_EQ(toLong(_variant_t(L"  -17 ")), -17);
    EXPECT_EQ(toLong(_variant_t(L"+5")), 5);
    EXPECT_EQ(toLong(_variant_t(L"2.5")), 2);
    EXPECT_EQ(toReal(_variant_t(L"2.5")), 2.5);
    EXPECT_EQ(toReal(_variant_t(L"-1.25E2")), -125.0);
    EXPECT_EQ(toReal(_variant_t(L".5")), 0.5);
    EXPECT_EQ(codeOf(_variant_t(L"2147483648"), VT_I4), DISP_E_OVERFLOW);
    EXPECT_EQ(codeOf(_variant_t(L"-1"), VT_UI1), DISP_E_OVERFLOW);
    _variant_t result;
    EXPECT_EQ(convert(_variant_t(L"9007199254740993"), VT_I8, result), S_OK);
    EXPECT_EQ(V_I8(&result), 9007199254740993LL) << "not by way of a double";
}

TEST(ComChangeType, TextThatIsNoNumber)
{
    for (const wchar_t* text : {L"", L" ", L"abc", L"1x", L"--1", L"1.2.3", L"inf", L"nan"}) {
        const std::wstring wide = text;
        EXPECT_EQ(codeOf(_variant_t(text), VT_I4), DISP_E_TYPEMISMATCH)
            << std::string(wide.begin(), wide.end());
        EXPECT_EQ(codeOf(_variant_t(text), VT_R8), DISP_E_TYPEMISMATCH)
            << std::string(wide.begin(), wide.end());
    }
}

TEST(ComChangeType, TwoSignsAreNoNumber)
{
    if (onWine()) {
        GTEST_SKIP() << "Wine accepts a second sign";
    }
    EXPECT_EQ(codeOf(_variant_t(L"+-1"), VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(codeOf(_variant_t(L"-+1"), VT_I4), DISP_E_TYPEMISMATCH);
}

TEST(ComChangeType, SameTypeIsACopy)
{
    const _variant_t text(L"text");
    _variant_t result;
    EXPECT_EQ(convert(text, VT_BSTR, result), S_OK);
    EXPECT_NE(V_BSTR(&result), V_BSTR(&text));
    EXPECT_EQ(std::wstring(V_BSTR(&result)), L"text");
}

TEST(ComChangeType, ReferencesAreFollowed)
{
    double number = 7.0;
    VARIANT source;
    VariantInit(&source);
    V_VT(&source) = VT_R8 | VT_BYREF;
    V_R8REF(&source) = &number;
    EXPECT_EQ(toLong(source), 7);
    VARIANT inner = integer(8);
    V_VT(&source) = VT_VARIANT | VT_BYREF;
    V_VARIANTREF(&source) = &inner;
    EXPECT_EQ(toLong(source), 8);
}

TEST(ComChangeType, ArraysAreOnlyCopied)
{
    VARIANT source;
    VariantInit(&source);
    V_VT(&source) = VT_ARRAY | VT_R8;
    V_ARRAY(&source) = SafeArrayCreateVector(VT_R8, 0, 1);
    _variant_t result;
    EXPECT_EQ(convert(source, VT_ARRAY | VT_R8, result), S_OK);
    EXPECT_NE(V_ARRAY(&result), V_ARRAY(&source));
    EXPECT_EQ(codeOf(source, VT_R8), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(codeOf(source, VT_ARRAY | VT_I4), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(codeOf(real(1.0), VT_ARRAY | VT_R8), DISP_E_TYPEMISMATCH);
    VariantClear(&source);
}

TEST(ComChangeType, InPlace)
{
    _variant_t value(L"12");
    EXPECT_EQ(VariantChangeType(&value, &value, 0, VT_I4), S_OK);
    EXPECT_EQ(V_VT(&value), VT_I4);
    EXPECT_EQ(V_I4(&value), 12);
}

TEST(ComChangeType, DispatchAndUnknownTurnIntoEachOther)
{
    CountingObject object;
    const _variant_t dispatch(static_cast<IDispatch*>(&object));
    {
        _variant_t result;
        EXPECT_EQ(convert(dispatch, VT_UNKNOWN, result), S_OK);
        EXPECT_EQ(object.liveReferences(), 2);
        _variant_t back;
        EXPECT_EQ(convert(result, VT_DISPATCH, back), S_OK);
        EXPECT_EQ(V_DISPATCH(&back), static_cast<IDispatch*>(&object));
        EXPECT_EQ(object.liveReferences(), 3);
    }
    EXPECT_EQ(object.liveReferences(), 1);
}

TEST(ComChangeType, ObjectWithoutDispatchIsNoDispatch)
{
    CountingObject object;
    object.refusedIid = IID_IDispatch;
    const _variant_t unknown(static_cast<IUnknown*>(static_cast<IDispatch*>(&object)));
    EXPECT_TRUE(FAILED(codeOf(unknown, VT_DISPATCH)));
}

TEST(ComChangeType, NullObjectStaysNull)
{
    const _variant_t dispatch(static_cast<IDispatch*>(nullptr));
    _variant_t result;
    EXPECT_EQ(convert(dispatch, VT_UNKNOWN, result), S_OK);
    EXPECT_EQ(V_UNKNOWN(&result), nullptr);
}

TEST(ComChangeType, DefaultPropertyIsTheValue)
{
    CountingObject object;
    object.defaultValue = L"42";
    const _variant_t dispatch(static_cast<IDispatch*>(&object));
    EXPECT_EQ(toLong(dispatch), 42);
    EXPECT_EQ(toText(dispatch), L"42");
    _variant_t result;
    EXPECT_EQ(convert(dispatch, VT_I4, result, VARIANT_NOVALUEPROP), DISP_E_TYPEMISMATCH);
}

TEST(ComChangeType, ObjectWithoutDefaultPropertyIsNoValue)
{
    CountingObject object;
    const _variant_t dispatch(static_cast<IDispatch*>(&object));
    EXPECT_EQ(codeOf(dispatch, VT_I4), DISP_E_TYPEMISMATCH);
    const _variant_t unknown(static_cast<IUnknown*>(static_cast<IDispatch*>(&object)));
    EXPECT_EQ(codeOf(unknown, VT_I4), DISP_E_TYPEMISMATCH);
}
