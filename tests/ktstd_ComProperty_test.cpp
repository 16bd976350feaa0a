// Reading named properties: conversions, by-reference answers, exceptions, and who owns what.

#include "com/Com.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_ComTools.h"
#include "support/FakeDispatch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

//! An object on the stack with one property, "Value", of number 7.
class OneProperty : public IDispatch
{
public:
    OneProperty() { VariantInit(&value); }
    OneProperty(const OneProperty&) = delete;
    OneProperty& operator=(const OneProperty&) = delete;
    virtual ~OneProperty()
    {
        EXPECT_EQ(holders, 0);
        VariantClear(&value);
    }

    STDMETHODIMP QueryInterface(REFIID aId, void** aOut) override
    {
        if (!IsEqualIID(aId, IID_IUnknown) && !IsEqualIID(aId, IID_IDispatch)) {
            *aOut = nullptr;
            return E_NOINTERFACE;
        }
        *aOut = static_cast<IDispatch*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(++holders); }
    STDMETHODIMP_(ULONG) Release() override { return static_cast<ULONG>(--holders); }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* aNames, UINT aCount, LCID, DISPID* aIds) override
    {
        EXPECT_EQ(aCount, 1U);
        const bool isKnown = std::wstring(aNames[0]) == name;
        aIds[0] = isKnown ? 7 : DISPID_UNKNOWN;
        return isKnown ? S_OK : DISP_E_UNKNOWNNAME;
    }
    STDMETHODIMP Invoke(DISPID aId, REFIID, LCID, WORD aKind, DISPPARAMS* aParams, VARIANT* aResult,
                        EXCEPINFO* aException, UINT*) override
    {
        EXPECT_EQ(aId, 7);
        EXPECT_EQ(aKind, DISPATCH_PROPERTYGET);
        EXPECT_EQ(aParams->cArgs, 0U);
        if (result == DISP_E_EXCEPTION) {
            aException->scode = exceptionCode;
            aException->wCode = exceptionNumber;
            aException->bstrDescription = SysAllocString(L"no such luck");
            return result;
        }
        return FAILED(result) ? result : VariantCopy(aResult, &value);
    }

    std::wstring name = L"Value";
    VARIANT value;
    HRESULT result = S_OK;
    SCODE exceptionCode = 0;
    WORD exceptionNumber = 0;
    long holders = 0;
};

void setNumber(OneProperty& aObject, LONG aValue)
{
    aObject.value.vt = VT_I4;
    aObject.value.lVal = aValue;
}

template <class Value>
long read(OneProperty& aObject, VARTYPE aType, Value& aValue)
{
    return ComGetProperty(&aObject, L"Value", aType, &aValue);
}

long code(HRESULT aCode)
{
    return aCode;
}

} // namespace

TEST(ktstd_ComProperty, NumberIsConvertedToTheTypeAskedFor)
{
    OneProperty object;
    setNumber(object, 200);
    unsigned char octet[2] = {0, 0xEE};
    short word[2] = {0, 0x1234};
    LONG number[2] = {0, 55};
    double real = 0;
    float single = 0;
    long long big = 0;
    EXPECT_EQ(read(object, VT_UI1, octet), code(S_OK));
    EXPECT_EQ(read(object, VT_I2, word), code(S_OK));
    EXPECT_EQ(read(object, VT_I4, number), code(S_OK));
    EXPECT_EQ(read(object, VT_R8, real), code(S_OK));
    EXPECT_EQ(read(object, VT_R4, single), code(S_OK));
    EXPECT_EQ(read(object, VT_I8, big), code(S_OK));
    EXPECT_EQ(octet[0], 200);
    EXPECT_EQ(octet[1], 0xEE) << "one byte and no more";
    EXPECT_EQ(word[0], 200);
    EXPECT_EQ(word[1], 0x1234) << "two bytes and no more";
    EXPECT_EQ(number[0], 200);
    EXPECT_EQ(number[1], 55) << "four bytes and no more";
    EXPECT_EQ(real, 200.0);
    EXPECT_EQ(single, 200.0F);
    EXPECT_EQ(big, 200);
}

TEST(ktstd_ComProperty, EveryPlainTypeTakesItsOwnBytesAndNoMore)
{
    const struct
    {
        VARTYPE type;
        std::size_t size;
    } kTypes[] = {{VT_I1, 1},  {VT_UI1, 1}, {VT_I2, 2},   {VT_UI2, 2},   {VT_BOOL, 2}, {VT_I4, 4},
                  {VT_UI4, 4}, {VT_INT, 4}, {VT_UINT, 4}, {VT_ERROR, 4}, {VT_R4, 4},   {VT_I8, 8},
                  {VT_UI8, 8}, {VT_R8, 8},  {VT_DATE, 8}, {VT_CY, 8}};
    for (const auto& each : kTypes) {
        SCOPED_TRACE(each.type);
        OneProperty object;
        object.value.vt = each.type; // of the type asked for: its bits are handed over
        object.value.llVal = 0x0102030405060708;
        long long place = -1;
        EXPECT_EQ(read(object, each.type, place), code(S_OK));
        long long wanted = -1;
        std::memcpy(&wanted, &object.value.llVal, each.size);
        EXPECT_EQ(place, wanted);
    }
}

TEST(ktstd_ComProperty, NumberThatDoesNotFitLeavesTheValue)
{
    OneProperty object;
    setNumber(object, 300);
    unsigned char octet = 17;
    EXPECT_EQ(read(object, VT_UI1, octet), code(DISP_E_OVERFLOW));
    EXPECT_EQ(octet, 17);
}

TEST(ktstd_ComProperty, TruthValueIsMinusOneOrZero)
{
    OneProperty object;
    object.value.vt = VT_BOOL;
    object.value.boolVal = VARIANT_TRUE;
    VARIANT_BOOL truth = 5;
    EXPECT_EQ(read(object, VT_BOOL, truth), code(S_OK));
    EXPECT_EQ(truth, VARIANT_TRUE);
}

TEST(ktstd_ComProperty, TextIsReadAsUtf8OrHandedOver)
{
    OneProperty object;
    object.value.vt = VT_BSTR;
    object.value.bstrVal = SysAllocString(L"Teil\u00E4");
    ktstd_AsciiString text;
    EXPECT_EQ(ComGetProperty(&object, L"Value", text), code(S_OK));
    EXPECT_STREQ(text.ToCString(), "Teil\xC3\xA4");
    BSTR wide = nullptr;
    EXPECT_EQ(read(object, VT_BSTR, wide), code(S_OK));
    EXPECT_NE(wide, object.value.bstrVal);
    EXPECT_EQ(std::wstring(wide), L"Teil\u00E4");
    SysFreeString(wide);
}

TEST(ktstd_ComProperty, NumberIsReadAsText)
{
    OneProperty object;
    setNumber(object, -12);
    ktstd_AsciiString text;
    EXPECT_EQ(ComGetProperty(&object, L"Value", text), code(S_OK));
    EXPECT_STREQ(text.ToCString(), "-12");
}

namespace {

//! Reads an object that the property holds.
//! @param aPlace  where a variant of the type keeps the object
template <class Interface>
void expectHandedOverWithAReference(VARTYPE aType, Interface*& (*aPlace)(VARIANT&))
{
    OneProperty held;
    OneProperty object;
    object.value.vt = aType;
    aPlace(object.value) = &held;
    held.AddRef();
    Interface* out = nullptr;
    EXPECT_EQ(read(object, aType, out), code(S_OK));
    EXPECT_EQ(out, &held);
    EXPECT_EQ(held.holders, 2);
    out->Release();
    EXPECT_EQ(held.holders, 1);
    VariantClear(&object.value);
}

} // namespace

TEST(ktstd_ComProperty, ObjectIsHandedOverWithAReference)
{
    expectHandedOverWithAReference<IDispatch>(
        VT_DISPATCH, [](VARIANT& value) -> IDispatch*& { return value.pdispVal; });
}

TEST(ktstd_ComProperty, ObjectWithoutAutomationIsHandedOverWithAReference)
{
    expectHandedOverWithAReference<IUnknown>(
        VT_UNKNOWN, [](VARIANT& value) -> IUnknown*& { return value.punkVal; });
}

TEST(ktstd_ComProperty, ParentIsHeldOnceAndNullWhenThereIsNone)
{
    OneProperty held;
    OneProperty object;
    object.name = L"Parent";
    object.value.vt = VT_DISPATCH;
    object.value.pdispVal = &held;
    held.AddRef();
    {
        const IDispatchPtr parent = ComGetParent(&object);
        EXPECT_EQ(parent.GetInterfacePtr(), &held);
        EXPECT_EQ(held.holders, 2);
    }
    EXPECT_EQ(held.holders, 1);
    object.result = E_FAIL;
    EXPECT_TRUE(ComGetParent(&object) == nullptr);
    object.result = S_OK;
    VariantClear(&object.value);
    EXPECT_TRUE(ComGetParent(&object) == nullptr) << "no object";
}

TEST(ktstd_ComProperty, ArrayIsHandedOverWhenItsTypeIsTheOneAskedFor)
{
    OneProperty object;
    object.value.vt = VT_ARRAY | VT_R8;
    object.value.parray = SafeArrayCreateVector(VT_R8, 0, 2);
    SAFEARRAY* out = nullptr;
    EXPECT_EQ(read(object, VT_ARRAY | VT_UI1, out), code(DISP_E_TYPEMISMATCH));
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(read(object, VT_ARRAY | VT_R8, out), code(S_OK));
    ASSERT_NE(out, nullptr);
    EXPECT_NE(out, object.value.parray);
    EXPECT_EQ(SafeArrayDestroy(out), S_OK);
}

TEST(ktstd_ComProperty, ArrayOfVariantsIsHandedOver)
{
    OneProperty object;
    object.value.vt = VT_ARRAY | VT_VARIANT;
    object.value.parray = SafeArrayCreateVector(VT_VARIANT, 0, 2);
    SAFEARRAY* out = nullptr;
    EXPECT_EQ(read(object, VT_ARRAY | VT_VARIANT, out), code(S_OK));
    ASSERT_NE(out, nullptr);
    EXPECT_NE(out, object.value.parray);
    EXPECT_EQ(SafeArrayDestroy(out), S_OK);
}

TEST(ktstd_ComProperty, VariantIsCopied)
{
    OneProperty object;
    object.value.vt = VT_BSTR;
    object.value.bstrVal = SysAllocString(L"x");
    VARIANT out;
    VariantInit(&out);
    EXPECT_EQ(read(object, VT_VARIANT, out), code(S_OK));
    EXPECT_EQ(out.vt, VT_BSTR);
    EXPECT_NE(out.bstrVal, object.value.bstrVal);
    VariantClear(&out);
}

TEST(ktstd_ComProperty, TypesThatAreNoPlainValueAreRefusedBeforeTheCall)
{
    OneProperty object;
    object.result = E_FAIL; // what the call would give
    long long place[4] = {};
    for (const int type : {int{VT_EMPTY}, int{VT_NULL}, int{VT_USERDEFINED}, int{VT_BYREF} | VT_I4,
                           int{VT_ARRAY} | VT_EMPTY}) {
        EXPECT_EQ(read(object, static_cast<VARTYPE>(type), place), code(DISP_E_BADVARTYPE)) << type;
    }
}

TEST(ktstd_ComProperty, NullPlaceIsRefused)
{
    OneProperty object;
    setNumber(object, 1);
    EXPECT_EQ(ComGetProperty(&object, L"Value", VT_I4, nullptr), code(E_POINTER));
}

TEST(ktstd_ComProperty, AnswerThatIsNoVariantLeavesThePlace)
{
    fake::World world;
    fake::Object& object = world.Make("part");
    object.Property(L"Value", [](const fake::Args&, VARIANT* aResult) -> HRESULT {
        aResult->vt = 0x0FF0; // no type has this number
        return S_OK;
    });
    SAFEARRAY* array = nullptr;
    VARIANT value;
    VariantInit(&value);
    LONG number = 77;
    const auto readAs = [&](int aType, void* aPlace) {
        return ComGetProperty(object.Ptr(), L"Value", static_cast<VARTYPE>(aType), aPlace);
    };
    EXPECT_LT(readAs(VT_ARRAY | VT_R8, &array), 0);
    EXPECT_LT(readAs(VT_VARIANT, &value), 0);
    EXPECT_LT(readAs(VT_I4, &number), 0);
    EXPECT_EQ(array, nullptr);
    EXPECT_EQ(value.vt, VT_EMPTY);
    EXPECT_EQ(number, 77);
}

TEST(ktstd_ComProperty, FailureOfTheObjectLeavesTheValue)
{
    OneProperty object;
    setNumber(object, 1);
    LONG number = 77;
    ktstd_AsciiString text("kept");
    long id = 5;
    EXPECT_EQ(ComGetProperty(&object, L"Other", VT_I4, &number), code(DISP_E_UNKNOWNNAME));
    EXPECT_EQ(ComGetIdFromName(&object, L"Other", id), code(DISP_E_UNKNOWNNAME));
    object.result = E_FAIL;
    EXPECT_EQ(read(object, VT_I4, number), code(E_FAIL));
    EXPECT_EQ(ComGetProperty(&object, L"Value", text), code(E_FAIL));
    object.result = S_OK;
    object.value.vt = VT_NULL;
    EXPECT_EQ(read(object, VT_I4, number), code(DISP_E_TYPEMISMATCH));
    EXPECT_EQ(ComGetProperty(&object, L"Value", text), code(DISP_E_TYPEMISMATCH));
    EXPECT_EQ(number, 77);
    EXPECT_EQ(id, 5);
    EXPECT_STREQ(text.ToCString(), "kept");
}

TEST(ktstd_ComProperty, ExceptionGivesTheCodeInItsRecord)
{
    OneProperty object;
    LONG number = 77;
    object.result = DISP_E_EXCEPTION;
    object.exceptionCode = static_cast<SCODE>(0x80041234);
    EXPECT_EQ(read(object, VT_I4, number), code(static_cast<HRESULT>(0x80041234)));
    object.exceptionCode = 0;
    object.exceptionNumber = 0x300;
    EXPECT_EQ(read(object, VT_I4, number), code(_com_error::WCodeToHRESULT(0x300)));
    object.exceptionNumber = 0;
    EXPECT_EQ(read(object, VT_I4, number), code(DISP_E_EXCEPTION));
    EXPECT_EQ(number, 77);
}

TEST(ktstd_ComProperty, MemberNumberIsLookedUp)
{
    OneProperty object;
    long id = 0;
    EXPECT_EQ(ComGetIdFromName(&object, L"Value", id), code(S_OK));
    EXPECT_EQ(id, 7);
}
