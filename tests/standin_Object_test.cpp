#include "support/CensusGuard.h"
#include "support/HostObjects.h"

#include <gtest/gtest.h>

namespace {

using namespace support;

class standin_Object : public HostTest
{
protected:
    standin::Session session;
    IDispatchPtr document = openBody(session, plainBox());
};

//! Gives the number of references, without changing it.
ULONG references(IDispatch* object)
{
    object->AddRef();
    return object->Release();
}

void* asked(IDispatch* object, REFIID iid)
{
    void* found = nullptr;
    if (SUCCEEDED(object->QueryInterface(iid, &found))) {
        object->Release();
    }
    return found;
}

TEST_F(standin_Object, AnswersUnknownDispatchAndItsOwnInterface)
{
    const IDispatchPtr face = faceOf(document, 1);
    const IID own{0x09FCA063, 0xDFBF, 0x11D0, {0xA2, 0x75, 0x08, 0x00, 0x36, 0xC5, 0xED, 0x02}};
    void* const unknown = asked(face, IID_IUnknown);
    EXPECT_NE(unknown, nullptr);
    EXPECT_EQ(asked(face, IID_IDispatch), unknown);
    EXPECT_EQ(asked(face, own), unknown);
}

TEST_F(standin_Object, QueryInterfaceAddsOneReference)
{
    const IDispatchPtr face = faceOf(document, 1);
    const ULONG before = references(face);
    void* found = nullptr;
    ASSERT_EQ(face->QueryInterface(IID_IDispatch, &found), S_OK);
    EXPECT_EQ(references(face), before + 1);
    EXPECT_EQ(face->Release(), before);
}

TEST_F(standin_Object, QueryInterfaceForAnotherInterfaceClearsTheResult)
{
    void* found = &session;
    const ULONG before = references(document);
    EXPECT_EQ(document->QueryInterface(IID_IErrorInfo, &found), E_NOINTERFACE);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(references(document), before);
}

TEST_F(standin_Object, QueryInterfaceWithoutAResultIsRefused)
{
    EXPECT_EQ(document->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(standin_Object, ANewResultHoldsOneReference)
{
    VARIANT result;
    VariantInit(&result);
    DISPPARAMS none{};
    ASSERT_EQ(document->Invoke(24681, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none,
                               &result, nullptr, nullptr),
              S_OK);
    ASSERT_EQ(V_VT(&result), VT_DISPATCH);
    EXPECT_EQ(references(V_DISPATCH(&result)), 1u);
    EXPECT_EQ(session.census().live("Models"), 1);
    VariantClear(&result);
    EXPECT_EQ(session.census().live("Models"), 0);
}

TEST_F(standin_Object, TheSameThingIsTheSameObjectWhileItLives)
{
    const IDispatchPtr body = bodyOf(document);
    EXPECT_EQ(bodyOf(document).GetInterfacePtr(), body.GetInterfacePtr());
    const IDispatchPtr face = item(facesOf(body), 3);
    EXPECT_EQ(item(facesOf(body), 3).GetInterfacePtr(), face.GetInterfacePtr());
    EXPECT_NE(item(facesOf(body), 4).GetInterfacePtr(), face.GetInterfacePtr());
    const IDispatchPtr edge = item(need(get(face, 38)), 1);
    bool seen = false;
    for (const IDispatchPtr& other : itemsOf(edgesOf(body))) {
        seen = seen || other.GetInterfacePtr() == edge.GetInterfacePtr();
    }
    EXPECT_TRUE(seen) << "a face's edge is the body's edge";
    EXPECT_EQ(need(get(face, 39)).GetInterfacePtr(), need(get(face, 39)).GetInterfacePtr());
}

TEST_F(standin_Object, BodyOfAFaceAndOfAnEdgeIsTheBody)
{
    const IDispatchPtr body = bodyOf(document);
    EXPECT_EQ(need(get(faceOf(document, 2), 37)).GetInterfacePtr(), body.GetInterfacePtr());
    EXPECT_EQ(need(get(faceOf(document, 2), 42)).GetInterfacePtr(), body.GetInterfacePtr());
    EXPECT_EQ(need(get(edgeOf(document, 2), 78)).GetInterfacePtr(), body.GetInterfacePtr());
}

TEST_F(standin_Object, AnObjectKeepsNothingButItselfAlive)
{
    const IDispatchPtr face = faceOf(document, 1);
    EXPECT_EQ(session.census().live("Face"), 1);
    EXPECT_EQ(session.census().live("Body"), 0);
    EXPECT_EQ(session.census().live("Faces"), 0);
}

TEST_F(standin_Object, AResultNobodyWantsIsReleased)
{
    DISPPARAMS none{};
    EXPECT_EQ(document->Invoke(24681, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none,
                               nullptr, nullptr, nullptr),
              S_OK);
    EXPECT_EQ(session.census().live("Models"), 0);
}

TEST_F(standin_Object, ArgumentsMayBeANullPointerWhenThereAreNone)
{
    _variant_t name;
    EXPECT_EQ(document->Invoke(18, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, nullptr,
                               &name, nullptr, nullptr),
              S_OK);
    EXPECT_EQ(V_VT(&name), VT_BSTR);
}

TEST_F(standin_Object, ReservedIdentifiersMustBeNull)
{
    DISPPARAMS none{};
    EXPECT_EQ(document->Invoke(18, IID_IUnknown, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none,
                               nullptr, nullptr, nullptr),
              DISP_E_UNKNOWNINTERFACE);
    wchar_t name[] = L"Name";
    LPOLESTR names[] = {name};
    DISPID id = 7;
    EXPECT_EQ(document->GetIDsOfNames(IID_IUnknown, names, 1, LOCALE_USER_DEFAULT, &id),
              DISP_E_UNKNOWNINTERFACE);
    EXPECT_EQ(id, DISPID_UNKNOWN);
}

TEST_F(standin_Object, UnknownNamesGiveNoNumber)
{
    DISPID id = 7;
    EXPECT_EQ(identify(document, L"Nam", id), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(id, DISPID_UNKNOWN);
    EXPECT_EQ(identify(document, L"Names", id), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(identify(document, L"", id), DISP_E_UNKNOWNNAME);
}

TEST_F(standin_Object, AnUnknownParameterNameStillGivesTheMember)
{
    wchar_t member[] = L"BindKeyToObject";
    wchar_t parameter[] = L"Colour";
    LPOLESTR names[] = {member, parameter};
    DISPID ids[] = {0, 0};
    EXPECT_EQ(document->GetIDsOfNames(IID_NULL, names, 2, LOCALE_USER_DEFAULT, ids),
              DISP_E_UNKNOWNNAME);
    EXPECT_EQ(ids[0], 24685);
    EXPECT_EQ(ids[1], DISPID_UNKNOWN);
}

TEST_F(standin_Object, LookingUpNothingIsRefused)
{
    DISPID id = 0;
    LPOLESTR none[] = {nullptr};
    EXPECT_EQ(document->GetIDsOfNames(IID_NULL, none, 1, LOCALE_USER_DEFAULT, &id), E_INVALIDARG);
    EXPECT_EQ(document->GetIDsOfNames(IID_NULL, nullptr, 1, LOCALE_USER_DEFAULT, &id),
              E_INVALIDARG);
    wchar_t name[] = L"Name";
    LPOLESTR names[] = {name};
    EXPECT_EQ(document->GetIDsOfNames(IID_NULL, names, 0, LOCALE_USER_DEFAULT, &id), E_INVALIDARG);
    EXPECT_EQ(document->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, nullptr),
              E_INVALIDARG);
}

TEST_F(standin_Object, ThereIsNoTypeInformation)
{
    UINT count = 9;
    EXPECT_EQ(document->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(document->GetTypeInfoCount(nullptr), E_POINTER);
    ITypeInfo* info = nullptr;
    EXPECT_EQ(document->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info), DISP_E_BADINDEX);
    EXPECT_EQ(info, nullptr);
    EXPECT_EQ(document->GetTypeInfo(0, LOCALE_USER_DEFAULT, nullptr), E_POINTER);
}

TEST_F(standin_Object, FailuresOfTheHostComeAsExceptionsWithCodeAndText)
{
    const IDispatchPtr face = faceOf(document, 1);
    Array params{0.0, 0.0};
    Array points;
    const Outcome outcome =
        method(face, 233, {value(LONG{2}), reference(params), reference(points)});
    EXPECT_EQ(outcome.code, DISP_E_EXCEPTION);
    EXPECT_EQ(outcome.inner, E_INVALIDARG);
    EXPECT_NE(outcome.description.find("Params"), std::string::npos) << outcome.description;
    EXPECT_EQ(points.get(), nullptr) << "nothing is handed out by a call that fails";
}

TEST_F(standin_Object, WithoutRoomForAnExceptionTheCodeComesDirectly)
{
    const IDispatchPtr face = faceOf(document, 1);
    Array params;
    Array points;
    VARIANT arguments[] = {reference(points), reference(params), value(LONG{1})};
    DISPPARAMS list{arguments, nullptr, 3, 0};
    EXPECT_EQ(face->Invoke(233, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &list, nullptr,
                           nullptr, nullptr),
              E_INVALIDARG);
}

TEST_F(standin_Object, ObjectsOutliveTheirSession)
{
    IDispatchPtr face;
    {
        standin::Session other;
        face = faceOf(openBody(other, plainBox()), 1);
    }
    EXPECT_EQ(get(face, 48).code, RPC_E_DISCONNECTED);
    EXPECT_NE(asked(face, IID_IUnknown), nullptr);
}

} // namespace
