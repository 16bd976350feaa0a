#include "com/Com.h"
#include "support/CountingObject.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::wstring textOf(const VARIANT& value)
{
    EXPECT_EQ(V_VT(&value), VT_BSTR);
    return std::wstring(V_BSTR(&value), SysStringLen(V_BSTR(&value)));
}

} // namespace

TEST(ComVariantT, DefaultIsEmpty)
{
    const _variant_t value;
    EXPECT_EQ(V_VT(&value), VT_EMPTY);
}

TEST(ComVariantT, NumbersHaveTheirTypes)
{
    EXPECT_EQ(V_VT(&static_cast<const VARIANT&>(_variant_t(short{1}))), VT_I2);
    EXPECT_EQ(V_VT(&static_cast<const VARIANT&>(_variant_t(LONG{1}))), VT_I4);
    EXPECT_EQ(V_VT(&static_cast<const VARIANT&>(_variant_t(1.0f))), VT_R4);
    EXPECT_EQ(V_VT(&static_cast<const VARIANT&>(_variant_t(1.0))), VT_R8);
    EXPECT_EQ(V_VT(&static_cast<const VARIANT&>(_variant_t(true))), VT_BOOL);
    EXPECT_EQ(V_VT(&static_cast<const VARIANT&>(_variant_t(BYTE{1}))), VT_UI1);
    EXPECT_EQ(V_VT(&static_cast<const VARIANT&>(_variant_t('c'))), VT_I1);
    EXPECT_EQ(V_VT(&static_cast<const VARIANT&>(_variant_t(USHORT{1}))), VT_UI2);
    EXPECT_EQ(V_VT(&static_cast<const VARIANT&>(_variant_t(ULONG{1}))), VT_UI4);
    EXPECT_EQ(V_VT(&static_cast<const VARIANT&>(_variant_t(LONGLONG{1}))), VT_I8);
    EXPECT_EQ(V_VT(&static_cast<const VARIANT&>(_variant_t(ULONGLONG{1}))), VT_UI8);
    EXPECT_EQ(V_VT(&static_cast<const VARIANT&>(_variant_t(CY{}))), VT_CY);
}

TEST(ComVariantT, ValuesArriveInTheirFields)
{
    const _variant_t small(short{-2});
    const _variant_t number(LONG{-3});
    const _variant_t real(2.5);
    const _variant_t yes(true);
    const _variant_t no(false);
    EXPECT_EQ(V_I2(&small), -2);
    EXPECT_EQ(V_I4(&number), -3);
    EXPECT_EQ(V_R8(&real), 2.5);
    EXPECT_EQ(V_BOOL(&yes), VARIANT_TRUE);
    EXPECT_EQ(V_BOOL(&no), VARIANT_FALSE);
}

TEST(ComVariantT, TypeMayBeSaid)
{
    const _variant_t error(LONG{DISP_E_PARAMNOTFOUND}, VT_ERROR);
    EXPECT_EQ(V_VT(&error), VT_ERROR);
    EXPECT_EQ(V_ERROR(&error), DISP_E_PARAMNOTFOUND);
    const _variant_t yes(short{3}, VT_BOOL);
    EXPECT_EQ(V_BOOL(&yes), VARIANT_TRUE);
    const _variant_t date(1.5, VT_DATE);
    EXPECT_EQ(V_VT(&date), VT_DATE);
    EXPECT_EQ(V_DATE(&date), 1.5);
    const _variant_t flag(LONG{5}, VT_BOOL);
    EXPECT_EQ(V_BOOL(&flag), VARIANT_TRUE);
}

TEST(ComVariantT, ImpossibleTypeRaises)
{
    EXPECT_EQ(raisedCode([] { _variant_t(short{1}, VT_I4); }), E_INVALIDARG);
    EXPECT_EQ(raisedCode([] { _variant_t(LONG{1}, VT_R8); }), E_INVALIDARG);
    EXPECT_EQ(raisedCode([] { _variant_t(1.0, VT_R4); }), E_INVALIDARG);
}

#if !defined(_WIN32)
// Only where long is wider than the interface's.
TEST(ComVariantT, LongKeepsItsThirtyTwoBits)
{
    const _variant_t fits(-2147483648L);
    EXPECT_EQ(V_VT(&fits), VT_I4);
    EXPECT_EQ(V_I4(&fits), -2147483647 - 1);
    EXPECT_EQ(raisedCode([] { _variant_t(2147483648L); }), DISP_E_OVERFLOW);
    EXPECT_EQ(raisedCode([] { _variant_t(4294967296UL); }), DISP_E_OVERFLOW);
    _variant_t value(L"kept");
    EXPECT_EQ(raisedCode([&] { value = 2147483648L; }), DISP_E_OVERFLOW);
    EXPECT_EQ(textOf(value), L"kept");
    value = 5L;
    EXPECT_EQ(V_VT(&value), VT_I4);
    EXPECT_EQ(V_I4(&value), 5);
    EXPECT_EQ(static_cast<long>(value), 5L);
}
#endif

TEST(ComVariantT, TextIsCopied)
{
    EXPECT_EQ(textOf(_variant_t(L"wide")), L"wide");
    EXPECT_EQ(textOf(_variant_t("narrow \xC3\xA4")),
              std::wstring(L"narrow ") + static_cast<wchar_t>(0xE4));
    const _bstr_t withZero(SysAllocStringLen(L"a\0b", 3), false);
    EXPECT_EQ(textOf(_variant_t(withZero)), std::wstring(L"a\0b", 3));
    const _variant_t null(static_cast<const wchar_t*>(nullptr));
    EXPECT_EQ(V_VT(&null), VT_BSTR);
    EXPECT_EQ(V_BSTR(&null), nullptr);
}

TEST(ComVariantT, ObjectsAreCounted)
{
    CountingObject object;
    {
        const _variant_t value(static_cast<IDispatch*>(&object));
        EXPECT_EQ(object.liveReferences(), 1);
        const _variant_t copy(value);
        EXPECT_EQ(object.liveReferences(), 2);
        object.AddRef();
        const _variant_t taken(static_cast<IDispatch*>(&object), false);
        EXPECT_EQ(object.liveReferences(), 3);
        _variant_t assigned;
        assigned = static_cast<IUnknown*>(static_cast<IDispatch*>(&object));
        EXPECT_EQ(V_VT(&assigned), VT_UNKNOWN);
        EXPECT_EQ(object.liveReferences(), 4);
    }
    EXPECT_EQ(object.liveReferences(), 0);
    EXPECT_EQ(object.queries, 0);
}

TEST(ComVariantT, ObjectOperatorsAddAReference)
{
    CountingObject object;
    const _variant_t value(static_cast<IDispatch*>(&object));
    IDispatch* const dispatch = value;
    EXPECT_EQ(dispatch, static_cast<IDispatch*>(&object));
    EXPECT_EQ(object.liveReferences(), 2);
    dispatch->Release();
}

TEST(ComVariantT, OperatorsConvert)
{
    const _variant_t text(L"12");
    EXPECT_EQ(static_cast<short>(text), 12);
    EXPECT_EQ(static_cast<LONG>(text), 12);
    EXPECT_EQ(static_cast<double>(text), 12.0);
    EXPECT_EQ(static_cast<float>(text), 12.0f);
    EXPECT_EQ(static_cast<BYTE>(text), 12);
    EXPECT_EQ(static_cast<char>(text), 12);
    EXPECT_EQ(static_cast<unsigned short>(text), 12);
    EXPECT_EQ(static_cast<ULONG>(text), 12u);
    EXPECT_EQ(static_cast<LONGLONG>(text), 12);
    EXPECT_EQ(static_cast<ULONGLONG>(text), 12u);
    EXPECT_EQ(static_cast<bool>(text), true);
    EXPECT_EQ(V_VT(&text), VT_BSTR) << "converts a copy";
    EXPECT_TRUE(static_cast<_bstr_t>(_variant_t(LONG{-4})) == _bstr_t(L"-4"));
}

TEST(ComVariantT, ImpossibleConversionRaises)
{
    const _variant_t text(L"no number");
    EXPECT_EQ(raisedCode([&] { static_cast<void>(static_cast<LONG>(text)); }), DISP_E_TYPEMISMATCH);
    const _variant_t large(1e10);
    EXPECT_EQ(raisedCode([&] { static_cast<void>(static_cast<LONG>(large)); }), DISP_E_OVERFLOW);
}

TEST(ComVariantT, AssignmentReplaces)
{
    CountingObject object;
    _variant_t value(static_cast<IDispatch*>(&object));
    value = L"text";
    EXPECT_EQ(object.liveReferences(), 0);
    EXPECT_EQ(textOf(value), L"text");
    value = 2.5;
    EXPECT_EQ(V_VT(&value), VT_R8);
    value = LONG{4};
    EXPECT_EQ(V_VT(&value), VT_I4);
    value = _variant_t(L"other");
    EXPECT_EQ(textOf(value), L"other");
    value = "narrow";
    EXPECT_EQ(textOf(value), L"narrow");
    value = _bstr_t(L"bstr");
    EXPECT_EQ(textOf(value), L"bstr");
}

TEST(ComVariantT, SomeTypesStayWhenANumberIsAssigned)
{
    _variant_t flag(false);
    flag = LONG{9};
    EXPECT_EQ(V_VT(&flag), VT_BOOL);
    EXPECT_EQ(V_BOOL(&flag), VARIANT_TRUE);
    flag = short{0};
    EXPECT_EQ(V_BOOL(&flag), VARIANT_FALSE);
    _variant_t error(LONG{1}, VT_ERROR);
    error = LONG{E_FAIL};
    EXPECT_EQ(V_VT(&error), VT_ERROR);
    EXPECT_EQ(V_ERROR(&error), E_FAIL);
    _variant_t date(1.0, VT_DATE);
    date = 2.0;
    EXPECT_EQ(V_VT(&date), VT_DATE);
    EXPECT_EQ(V_DATE(&date), 2.0);
}

TEST(ComVariantT, ComparesTypeAndValue)
{
    EXPECT_TRUE(_variant_t(LONG{3}) == _variant_t(LONG{3}));
    EXPECT_FALSE(_variant_t(LONG{3}) == _variant_t(LONG{4}));
    EXPECT_FALSE(_variant_t(LONG{3}) == _variant_t(3.0)) << "nothing is converted";
    EXPECT_TRUE(_variant_t(LONG{3}) != _variant_t(3.0));
    EXPECT_TRUE(_variant_t(L"a") == _variant_t(L"a"));
    EXPECT_FALSE(_variant_t(L"a") == _variant_t(L"b"));
    EXPECT_TRUE(_variant_t() == _variant_t());
    EXPECT_TRUE(_variant_t(true) == _variant_t(true));
    EXPECT_TRUE(_variant_t(2.5) == _variant_t(2.5));
    CountingObject object;
    const _variant_t first(static_cast<IDispatch*>(&object));
    EXPECT_TRUE(first == _variant_t(static_cast<IDispatch*>(&object)));
    EXPECT_FALSE(first == static_cast<const VARIANT*>(nullptr));
}

#if !defined(_WIN32)
// The mingw-w64 comparison that raises here is declared never to raise, so it would end the
// program.
TEST(ComVariantT, ComparingReferencesRaises)
{
    LONG number = 1;
    _variant_t reference;
    V_VT(&reference) = VT_I4 | VT_BYREF;
    V_I4REF(&reference) = &number;
    const _variant_t other(reference);
    EXPECT_EQ(raisedCode([&] { static_cast<void>(reference == other); }), E_INVALIDARG);
}
#endif

TEST(ComVariantT, AttachTakesOverAndDetachHandsOver)
{
    VARIANT raw;
    VariantInit(&raw);
    V_VT(&raw) = VT_BSTR;
    V_BSTR(&raw) = SysAllocString(L"raw");
    const BSTR text = V_BSTR(&raw);
    _variant_t value(L"old");
    value.Attach(raw);
    EXPECT_EQ(V_VT(&raw), VT_EMPTY);
    EXPECT_EQ(V_BSTR(&value), text);
    VARIANT out = value.Detach();
    EXPECT_EQ(V_VT(&value), VT_EMPTY);
    EXPECT_EQ(V_BSTR(&out), text);
    const _variant_t taken(out, false);
    EXPECT_EQ(V_BSTR(&taken), text);
    EXPECT_EQ(V_VT(&out), VT_EMPTY);
}

TEST(ComVariantT, GetAddressClears)
{
    CountingObject object;
    _variant_t value(static_cast<IDispatch*>(&object));
    VARIANT* const place = value.GetAddress();
    EXPECT_EQ(object.liveReferences(), 0);
    EXPECT_EQ(V_VT(place), VT_EMPTY);
    EXPECT_EQ(place, static_cast<VARIANT*>(&value));
    EXPECT_EQ(&value.GetVARIANT(), place);
}

TEST(ComVariantT, ChangeTypeConvertsInPlaceOrFromAnother)
{
    _variant_t value(L"7");
    value.ChangeType(VT_I4);
    EXPECT_EQ(V_I4(&value), 7);
    const _variant_t source(2.0);
    value.ChangeType(VT_BSTR, &source);
    EXPECT_EQ(textOf(value), L"2");
    EXPECT_EQ(raisedCode([&] { value.ChangeType(VT_ARRAY | VT_I4); }), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(textOf(value), L"2");
}

TEST(ComVariantT, NullSourceRaises)
{
    EXPECT_EQ(raisedCode([] { _variant_t(static_cast<const VARIANT*>(nullptr)); }), E_POINTER);
    _variant_t value;
    EXPECT_EQ(raisedCode([&] { value = static_cast<const VARIANT*>(nullptr); }), E_POINTER);
}

TEST(ComVariantT, MissingArgumentIsAnError)
{
    EXPECT_EQ(V_VT(&vtMissing), VT_ERROR);
    EXPECT_EQ(V_ERROR(&vtMissing), DISP_E_PARAMNOTFOUND);
}
