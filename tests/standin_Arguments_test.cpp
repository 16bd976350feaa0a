//! Shapes of arguments: what is converted, what is refused, what becomes of the caller's arrays.

#include "support/CensusGuard.h"
#include "support/HostObjects.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace support;

//! A box with corners (0, 0, 0) and (0.1, 0.2, 0.3).
class standin_Arguments : public HostTest
{
protected:
    standin::Session session;
    IDispatchPtr document = openBody(session, plainBox());
    IDispatchPtr body = bodyOf(document);
    IDispatchPtr faces = facesOf(body);

    Outcome range(Array& min, Array& max)
    {
        return method(body, 129, {reference(min), reference(max)});
    }
};

VARIANT typed(VARTYPE type)
{
    VARIANT v;
    VariantInit(&v);
    V_VT(&v) = type;
    return v;
}

TEST_F(standin_Arguments, IndicesOfEveryIntegerTypeAreTaken)
{
    const IDispatchPtr third = item(faces, 3);
    VARIANT i2 = typed(VT_I2);
    V_I2(&i2) = 3;
    VARIANT ui1 = typed(VT_UI1);
    V_UI1(&ui1) = 3;
    VARIANT ui4 = typed(VT_UI4);
    V_UI4(&ui4) = 3;
    VARIANT i8 = typed(VT_I8);
    V_I8(&i8) = 3;
    VARIANT r8 = value(3.0);
    SHORT aShort = 3;
    VARIANT byRef = typed(VT_BYREF | VT_I2);
    V_I2REF(&byRef) = &aShort;
    _variant_t inner(static_cast<LONG>(3));
    LONG aLong = 3;
    for (const VARIANT& index : {i2, ui1, ui4, i8, r8, byRef, reference(inner), reference(aLong)}) {
        SCOPED_TRACE(V_VT(&index));
        EXPECT_EQ(method(faces, 0, {index}).object().GetInterfacePtr(), third.GetInterfacePtr());
    }
}

TEST_F(standin_Arguments, ATextOfANumberIsANumber)
{
    const _variant_t three(L"3");
    EXPECT_EQ(method(faces, 0, {three}).object().GetInterfacePtr(),
              item(faces, 3).GetInterfacePtr());
    const _variant_t word(L"three");
    const Outcome outcome = method(faces, 0, {word});
    EXPECT_EQ(outcome.code, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(outcome.argument, 0u);
}

TEST_F(standin_Arguments, IndicesOutOfRangeAreRefused)
{
    for (const LONG index : {LONG{0}, LONG{-1}, LONG{7}, std::numeric_limits<LONG>::max()}) {
        const Outcome outcome = method(faces, 0, {value(index)});
        EXPECT_EQ(outcome.code, DISP_E_BADINDEX) << index;
        EXPECT_EQ(V_VT(&outcome.result), VT_EMPTY);
    }
}

TEST_F(standin_Arguments, ANumberAbove32BitsOverflows)
{
    const Outcome outcome = method(faces, 0, {value(4294967297.0)});
    EXPECT_EQ(outcome.code, DISP_E_OVERFLOW);
}

TEST_F(standin_Arguments, NullArraysAreMade)
{
    Array min;
    Array max;
    EXPECT_EQ(range(min, max).code, S_OK);
    EXPECT_EQ(min.type(), VT_R8);
    EXPECT_EQ(min.lowerBound(), 0);
    EXPECT_EQ(min.doubles(), (std::vector<double>{0.0, 0.0, 0.0}));
    EXPECT_EQ(max.doubles(), (std::vector<double>{0.1, 0.2, 0.3}));
}

TEST_F(standin_Arguments, EmptyAndTooLargeArraysAreReplaced)
{
    Array min(VT_R8, 0);
    Array max(VT_R8, 10);
    EXPECT_EQ(range(min, max).code, S_OK);
    EXPECT_EQ(min.doubles(), (std::vector<double>{0.0, 0.0, 0.0}));
    EXPECT_EQ(max.doubles(), (std::vector<double>{0.1, 0.2, 0.3}));
}

TEST_F(standin_Arguments, ArraysOfTheRightSizeAreFilledWhereTheyAre)
{
    Array min(VT_R8, 3, 1);
    Array max{9.0, 9.0, 9.0};
    const SAFEARRAY* const minBefore = min.get();
    const SAFEARRAY* const maxBefore = max.get();
    EXPECT_EQ(range(min, max).code, S_OK);
    EXPECT_EQ(min.get(), minBefore);
    EXPECT_EQ(max.get(), maxBefore);
    EXPECT_EQ(min.lowerBound(), 1) << "the caller's own bound stays";
    EXPECT_EQ(max.doubles(), (std::vector<double>{0.1, 0.2, 0.3}));
}

TEST_F(standin_Arguments, ALockedArrayThatMustBeReplacedFailsTheCall)
{
    Array min;
    Array max(VT_R8, 1);
    ASSERT_EQ(SafeArrayLock(max.get()), S_OK);
    EXPECT_EQ(range(min, max).code, DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(min.get(), nullptr) << "all or nothing";
    EXPECT_EQ(max.size(), 1u);
    SafeArrayUnlock(max.get());
}

TEST_F(standin_Arguments, ArraysOfOtherElementsOrDimensionsAreRefused)
{
    Array integers(VT_I4, 3);
    Array max;
    EXPECT_EQ(method(body, 129, {reference(integers), reference(max)}).code, DISP_E_TYPEMISMATCH);
    SAFEARRAYBOUND bounds[] = {{3, 0}, {2, 0}};
    SAFEARRAY* table = SafeArrayCreate(VT_R8, 2, bounds);
    VARIANT argument = typed(VT_BYREF | VT_ARRAY | VT_R8);
    V_ARRAYREF(&argument) = &table;
    const Outcome outcome = method(body, 129, {argument, reference(max)});
    EXPECT_EQ(outcome.code, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(outcome.argument, 1u);
    SafeArrayDestroy(table);
}

TEST_F(standin_Arguments, AReferenceToNothingIsRefused)
{
    Array max;
    VARIANT nothing = typed(VT_BYREF | VT_ARRAY | VT_R8);
    V_ARRAYREF(&nothing) = nullptr;
    EXPECT_EQ(method(body, 129, {nothing, reference(max)}).code, E_POINTER);
}

TEST_F(standin_Arguments, ArraysMayStartAtAnyIndex)
{
    const IDispatchPtr face = item(faces, 1);
    Array params(VT_R8, 2, 7);
    Array points;
    EXPECT_EQ(method(face, 233, {value(LONG{1}), reference(params), reference(points)}).code, S_OK);
    EXPECT_EQ(points.size(), 3u);
}

TEST_F(standin_Arguments, AKeySizeGoesIntoAVariantOrANumber)
{
    Array first;
    _variant_t size(static_cast<LONG>(0));
    EXPECT_EQ(method(body, 70, {reference(first, VT_UI1), reference(size)}).code, S_OK);
    EXPECT_EQ(V_VT(&size), VT_I4);
    EXPECT_EQ(static_cast<std::size_t>(V_I4(&size)), first.size());
    Array second;
    LONG number = 0;
    EXPECT_EQ(method(body, 70, {reference(second, VT_UI1), reference(number)}).code, S_OK);
    EXPECT_EQ(static_cast<std::size_t>(number), second.size());
    EXPECT_GT(number, 0);
}

TEST_F(standin_Arguments, WhatAVariantHeldIsFreed)
{
    Array key;
    _variant_t size(L"text");
    EXPECT_EQ(method(body, 70, {reference(key, VT_UI1), reference(size)}).code, S_OK);
    EXPECT_EQ(V_VT(&size), VT_I4); // the census tells whether the text is left over
}

class standin_NamedArguments : public standin_Arguments
{
protected:
    //! Calls GetPointAtParam of the first face with named arguments at the front.
    Outcome points(std::vector<VARIANT> reversed, std::vector<DISPID> names)
    {
        DISPPARAMS list{reversed.data(), names.data(), static_cast<UINT>(reversed.size()),
                        static_cast<UINT>(names.size())};
        Outcome outcome;
        outcome.code = item(faces, 1)->Invoke(233, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD,
                                              &list, &outcome.result, nullptr, &outcome.argument);
        return outcome;
    }

    Array params{0.0, 0.0};
    Array result;
};

TEST_F(standin_NamedArguments, StandInAnyOrder)
{
    EXPECT_EQ(points({reference(params), reference(result), value(LONG{1})}, {1, 2}).code, S_OK);
    EXPECT_EQ(result.size(), 3u);
}

TEST_F(standin_NamedArguments, UnknownOnesAreRefusedWithTheirIndex)
{
    const Outcome outcome = points({reference(params), reference(result), value(LONG{1})}, {1, 3});
    EXPECT_EQ(outcome.code, DISP_E_PARAMNOTFOUND);
    EXPECT_EQ(outcome.argument, 1u);
}

TEST_F(standin_NamedArguments, OneForAPositionThatIsTakenIsRefused)
{
    EXPECT_EQ(points({reference(params), reference(result), value(LONG{1})}, {1, 0}).code,
              DISP_E_PARAMNOTFOUND);
}

TEST_F(standin_NamedArguments, AGapIsRefused)
{
    EXPECT_EQ(points({reference(result), value(LONG{1})}, {2}).code, DISP_E_PARAMNOTOPTIONAL);
}

TEST_F(standin_NamedArguments, OfAWrongTypeAreToldByTheirIndex)
{
    const Outcome outcome = points({reference(params), value(LONG{4}), value(LONG{1})}, {1, 2});
    EXPECT_EQ(outcome.code, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(outcome.argument, 1u);
}

TEST_F(standin_NamedArguments, CountsThatMakeNoSenseAreRefused)
{
    DISPID name = 0;
    VARIANT argument = value(LONG{1});
    DISPPARAMS more{&argument, &name, 1, 2};
    EXPECT_EQ(faces->Invoke(0, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &more, nullptr,
                            nullptr, nullptr),
              E_INVALIDARG);
    DISPPARAMS noArguments{nullptr, nullptr, 1, 0};
    EXPECT_EQ(faces->Invoke(0, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &noArguments,
                            nullptr, nullptr, nullptr),
              E_INVALIDARG);
    DISPPARAMS noNames{&argument, nullptr, 1, 1};
    EXPECT_EQ(faces->Invoke(0, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &noNames, nullptr,
                            nullptr, nullptr),
              E_INVALIDARG);
}

TEST_F(standin_Arguments, SelectorsPickByKind)
{
    const IDispatchPtr round = [this] {
        standin::geom::Frame frame;
        return bodyOf(openBody(session, standin::makeCylinder(frame, 0.1, 0.2), "round"));
    }();
    const auto count = [](const IDispatchPtr& object, DISPID id, LONG selector) {
        return countOf(need(get(object, id, {value(selector)})));
    };
    EXPECT_EQ(count(round, 53, 1), 3) << "all faces";
    EXPECT_EQ(count(round, 53, 6), 2) << "planes";
    EXPECT_EQ(count(round, 53, 10), 1) << "cylinders";
    EXPECT_EQ(count(round, 53, 9), 0) << "spheres";
    EXPECT_EQ(count(round, 52, 1), 3) << "all edges";
    EXPECT_EQ(count(round, 52, 3), 1) << "straight edges";
    EXPECT_EQ(count(round, 52, 4), 2) << "round edges";
    EXPECT_EQ(count(round, 52, 5), 0) << "splines";
    const IDispatchPtr side = item(facesOf(round), 1);
    EXPECT_EQ(count(side, 38, 1), 3);
    EXPECT_EQ(countOf(need(get(side, 38))), 3) << "a seam counts once";
    EXPECT_EQ(count(side, 38, 4), 2);
}

TEST_F(standin_Arguments, UnknownSelectorsAreRefused)
{
    EXPECT_EQ(get(body, 53, {value(LONG{0})}).failure(), E_INVALIDARG);
    EXPECT_EQ(get(body, 52, {value(LONG{11})}).failure(), E_INVALIDARG);
    EXPECT_EQ(get(body, 52, {value(LONG{2})}).failure(), E_NOTIMPL);
}

} // namespace
