#include "standin/Object.h"
#include "support/CensusGuard.h"
#include "support/HostObjects.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace support;
using standin::Fault;
using standin::FaultKind;

class standin_FaultPlan : public HostTest
{
protected:
    standin::Session session;
    IDispatchPtr document = openBody(session, plainBox());
    IDispatchPtr body = bodyOf(document);
    IDispatchPtr face = item(facesOf(body), 1);

    std::size_t plan(FaultKind kind, const std::string& member, long nth = 1)
    {
        Fault fault;
        fault.kind = kind;
        fault.member = member;
        fault.nth = nth;
        return session.faults().add(fault);
    }
};

TEST_F(standin_FaultPlan, AnEmptyPlanChangesNothing)
{
    EXPECT_EQ(get(face, 48).code, S_OK);
    EXPECT_FALSE(session.faults().fired());
    EXPECT_EQ(session.faults().firedCount(), 0);
    EXPECT_TRUE(session.faults().firedAt().empty());
}

TEST_F(standin_FaultPlan, TheNthCallFailsOnce)
{
    session.faults().failCall(2, E_ABORT);
    EXPECT_EQ(get(face, 48).code, S_OK);
    EXPECT_FALSE(session.faults().fired());
    const Outcome outcome = get(face, 48);
    EXPECT_EQ(outcome.code, E_ABORT);
    EXPECT_EQ(V_VT(&outcome.result), VT_EMPTY);
    EXPECT_TRUE(session.faults().fired());
    EXPECT_EQ(session.faults().firedAt(), "Face.Type");
    EXPECT_EQ(get(face, 48).code, S_OK);
}

TEST_F(standin_FaultPlan, LastingFaultsFailFromThereOn)
{
    session.faults().failCall(2, E_FAIL, true);
    EXPECT_EQ(get(face, 48).code, S_OK);
    EXPECT_EQ(get(face, 48).code, E_FAIL);
    EXPECT_EQ(get(document, 9).code, E_FAIL);
    DISPID id = 0;
    EXPECT_EQ(identify(face, L"Type", id), E_FAIL);
    EXPECT_EQ(id, DISPID_UNKNOWN);
    EXPECT_EQ(session.faults().firedCount(), 3);
}

TEST_F(standin_FaultPlan, AFailingCallDoesNothing)
{
    session.faults().failMember("Close", E_FAIL);
    EXPECT_EQ(named(document, L"Close", DISPATCH_METHOD).code, E_FAIL);
    EXPECT_EQ(get(document, 70).code, S_OK) << "still open";
}

TEST_F(standin_FaultPlan, EveryKindOfCallCounts)
{
    session.faults().failCall(3);
    EXPECT_EQ(get(face, 48).code, S_OK);
    DISPID id = 0;
    EXPECT_EQ(identify(face, L"Type", id), S_OK);
    void* found = nullptr;
    EXPECT_EQ(face->QueryInterface(IID_IDispatch, &found), E_FAIL);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(session.faults().firedAt(), "Face.QueryInterface");
}

TEST_F(standin_FaultPlan, NobodyRefusesUnknown)
{
    session.faults().failCall(1, E_FAIL, true);
    void* found = nullptr;
    EXPECT_EQ(face->QueryInterface(IID_IUnknown, &found), S_OK);
    face->Release();
    EXPECT_FALSE(session.faults().fired());
}

TEST_F(standin_FaultPlan, UnknownIsRefusedWhenItIsNamed)
{
    Fault fault;
    fault.kind = FaultKind::refuseInterface;
    fault.code = E_ACCESSDENIED;
    fault.iid = IID_IUnknown;
    session.faults().add(fault);
    void* found = nullptr;
    EXPECT_EQ(face->QueryInterface(IID_IUnknown, &found), E_ACCESSDENIED);
}

TEST_F(standin_FaultPlan, MembersFailByNameNumberAndClass)
{
    Fault byNumber;
    byNumber.id = 48;
    byNumber.lasting = true;
    session.faults().add(byNumber);
    EXPECT_EQ(get(face, 37).code, S_OK);
    EXPECT_EQ(get(face, 48).code, E_FAIL);
    session.faults().clear();
    EXPECT_EQ(get(face, 48).code, S_OK);
    Fault byClass;
    byClass.className = "Body";
    byClass.member = "Type";
    byClass.lasting = true;
    session.faults().add(byClass);
    EXPECT_EQ(get(face, 48).code, S_OK);
    EXPECT_EQ(get(body, 60).code, E_FAIL);
    EXPECT_EQ(get(body, 65).code, S_OK);
}

TEST_F(standin_FaultPlan, LookUpsFailByTheirName)
{
    session.faults().failMember("GetIDsOfNames", DISP_E_UNKNOWNNAME, 2);
    DISPID id = 0;
    EXPECT_EQ(identify(face, L"Type", id), S_OK);
    EXPECT_EQ(identify(face, L"Type", id), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(identify(face, L"Type", id), S_OK);
}

TEST_F(standin_FaultPlan, AFailureCanComeAsAnException)
{
    Fault fault;
    fault.code = CO_E_NOT_SUPPORTED;
    fault.asException = true;
    session.faults().add(fault);
    const Outcome outcome = get(face, 48);
    EXPECT_EQ(outcome.code, DISP_E_EXCEPTION);
    EXPECT_EQ(outcome.inner, CO_E_NOT_SUPPORTED);
    EXPECT_FALSE(outcome.description.empty());
}

TEST_F(standin_FaultPlan, AnInterfaceIsRefusedWithACode)
{
    Fault fault;
    fault.kind = FaultKind::refuseInterface;
    fault.code = S_OK;
    fault.lasting = true;
    session.faults().add(fault);
    void* found = nullptr;
    EXPECT_EQ(face->QueryInterface(IID_IDispatch, &found), E_NOINTERFACE);
    session.faults().clear();
    fault.code = RPC_E_SERVERCALL_RETRYLATER;
    session.faults().add(fault);
    EXPECT_EQ(get(face, 48).code, S_OK) << "nothing but interfaces";
    EXPECT_EQ(face->QueryInterface(IID_IDispatch, &found), RPC_E_SERVERCALL_RETRYLATER);
}

TEST_F(standin_FaultPlan, ANullObjectComesWithSuccess)
{
    plan(FaultKind::nullObject, "Body");
    const Outcome outcome = get(face, 37);
    EXPECT_EQ(outcome.code, S_OK);
    EXPECT_EQ(V_VT(&outcome.result), VT_DISPATCH);
    EXPECT_EQ(V_DISPATCH(&outcome.result), nullptr);
}

TEST_F(standin_FaultPlan, ANullObjectComesThroughAnArgumentToo)
{
    const std::vector<unsigned char> key = keyOf(face);
    plan(FaultKind::nullObject, "BindKeyToObject");
    EXPECT_EQ(bindKey(document, key).GetInterfacePtr(), nullptr);
    EXPECT_TRUE(session.faults().fired());
    EXPECT_EQ(bindKey(document, key).GetInterfacePtr(), face.GetInterfacePtr());
}

TEST_F(standin_FaultPlan, CallsThatAFaultCanNotChangeAreNotCounted)
{
    plan(FaultKind::nullObject, "", 2);
    EXPECT_EQ(get(face, 48).number(), 167551075) << "a number is no object";
    EXPECT_NE(get(face, 37).object().GetInterfacePtr(), nullptr) << "the first object";
    EXPECT_EQ(get(face, 48).number(), 167551075);
    EXPECT_FALSE(session.faults().fired());
    EXPECT_EQ(get(face, 37).object().GetInterfacePtr(), nullptr) << "the second one";
}

TEST_F(standin_FaultPlan, NoResultIsEmpty)
{
    plan(FaultKind::noResult, "Type");
    const Outcome outcome = get(face, 48);
    EXPECT_EQ(outcome.code, S_OK);
    EXPECT_EQ(V_VT(&outcome.result), VT_EMPTY);
}

TEST_F(standin_FaultPlan, WrongTypesAreOfAnotherFamily)
{
    plan(FaultKind::wrongType, "Type");
    const Outcome number = get(face, 48);
    EXPECT_EQ(V_VT(&number.result), VT_DISPATCH);
    EXPECT_EQ(V_DISPATCH(&number.result), face.GetInterfacePtr());
    plan(FaultKind::wrongType, "Body");
    const Outcome object = get(face, 37);
    EXPECT_EQ(V_VT(&object.result), VT_I4);
    EXPECT_EQ(V_I4(&object.result), 7);
    plan(FaultKind::wrongType, "FullName");
    const Outcome text = get(document, 9);
    EXPECT_EQ(V_VT(&text.result), VT_R8);
    plan(FaultKind::wrongType, "IsSolid");
    const Outcome flag = get(body, 65);
    EXPECT_EQ(V_VT(&flag.result), VT_DISPATCH);
}

TEST_F(standin_FaultPlan, ATextStandsForANumber)
{
    plan(FaultKind::textForNumber, "Type");
    EXPECT_EQ(get(face, 48).text(), "not a number");
    plan(FaultKind::textForNumber, "IsSolid");
    EXPECT_EQ(get(body, 65).text(), "not a number");
    plan(FaultKind::textForNumber, "GetReferenceKey");
    Array key;
    _variant_t size;
    EXPECT_EQ(method(face, 43, {reference(key, VT_UI1), reference(size)}).code, S_OK);
    EXPECT_EQ(V_VT(&size), VT_BSTR);
    EXPECT_GT(key.size(), 0u);
}

TEST_F(standin_FaultPlan, AnyResultCanBePutInPlace)
{
    Fault fault;
    fault.kind = FaultKind::replaceResult;
    fault.member = "IsClosed";
    V_VT(&fault.value) = VT_BOOL;
    V_BOOL(&fault.value) = 1; // neither true nor false
    session.faults().add(fault);
    const Outcome outcome = get(edgeOf(document, 1), 85);
    EXPECT_EQ(V_VT(&outcome.result), VT_BOOL);
    EXPECT_EQ(V_BOOL(&outcome.result), 1);
}

class standin_FaultPlanArrays : public standin_FaultPlan
{
protected:
    //! Asks for the box with arrays that would fit.
    void ask() { code = method(body, 129, {reference(min), reference(max)}).code; }

    Array min{7.0, 7.0, 7.0};
    Array max{8.0, 8.0, 8.0};
    HRESULT code = E_UNEXPECTED;
};

TEST_F(standin_FaultPlanArrays, CanBeNull)
{
    plan(FaultKind::nullArray, "GetExactRange");
    ask();
    EXPECT_EQ(code, S_OK);
    EXPECT_EQ(min.get(), nullptr);
    EXPECT_EQ(max.get(), nullptr);
}

TEST_F(standin_FaultPlanArrays, CanBeEmpty)
{
    plan(FaultKind::emptyArray, "GetExactRange");
    ask();
    EXPECT_EQ(code, S_OK);
    EXPECT_NE(min.get(), nullptr);
    EXPECT_EQ(min.size(), 0u);
    EXPECT_EQ(max.size(), 0u);
}

TEST_F(standin_FaultPlanArrays, CanBeTooShort)
{
    plan(FaultKind::shortArray, "GetExactRange");
    ask();
    EXPECT_EQ(code, S_OK);
    EXPECT_EQ(min.doubles(), (std::vector<double>{0.0, 0.0}));
    EXPECT_EQ(max.doubles(), (std::vector<double>{0.1, 0.2}));
}

TEST_F(standin_FaultPlanArrays, CanHoldOtherElements)
{
    plan(FaultKind::otherElementType, "GetExactRange");
    ask();
    EXPECT_EQ(code, S_OK);
    EXPECT_EQ(min.type(), VT_I4);
    EXPECT_EQ(min.size(), 3u);
    plan(FaultKind::otherElementType, "GetReferenceKey");
    Array key;
    EXPECT_EQ(method(face, 43, {reference(key, VT_UI1), missing()}).code, S_OK);
    EXPECT_EQ(key.type(), VT_R8);
}

TEST_F(standin_FaultPlanArrays, CanStartElsewhere)
{
    plan(FaultKind::otherLowerBound, "GetExactRange");
    ask();
    EXPECT_EQ(code, S_OK);
    EXPECT_EQ(max.lowerBound(), 5);
    EXPECT_EQ(max.doubles(), (std::vector<double>{0.1, 0.2, 0.3}));
}

TEST_F(standin_FaultPlanArrays, CanDifferFromTheTruth)
{
    plan(FaultKind::differentAnswer, "GetExactRange", 2);
    ask();
    EXPECT_EQ(max.doubles(), (std::vector<double>{0.1, 0.2, 0.3}));
    ask();
    EXPECT_EQ(max.doubles(), (std::vector<double>{1.1, 1.2, 1.3}));
}

TEST_F(standin_FaultPlan, AnotherAnswerDiffersInItsOwnWay)
{
    plan(FaultKind::differentAnswer, "Type");
    EXPECT_EQ(get(face, 48).number(), 167551076);
    plan(FaultKind::differentAnswer, "IsSolid");
    EXPECT_FALSE(get(body, 65).flag());
    plan(FaultKind::differentAnswer, "FullName");
    EXPECT_EQ(get(document, 9).text(), "part.par~");
    const std::vector<unsigned char> key = keyOf(face);
    plan(FaultKind::differentAnswer, "GetReferenceKey");
    const std::vector<unsigned char> other = keyOf(face);
    ASSERT_EQ(other.size(), key.size());
    EXPECT_TRUE(std::equal(key.begin(), key.end() - 1, other.begin()));
    EXPECT_NE(key.back(), other.back());
}

TEST_F(standin_FaultPlan, AnotherObjectStandsForTheSameThing)
{
    plan(FaultKind::differentAnswer, "Item");
    const IDispatchPtr twin = item(facesOf(body), 1);
    EXPECT_NE(twin.GetInterfacePtr(), face.GetInterfacePtr());
    EXPECT_EQ(keyOf(twin), keyOf(face));
    EXPECT_EQ(item(facesOf(body), 1).GetInterfacePtr(), face.GetInterfacePtr());
    EXPECT_EQ(session.census().live("Face"), 2);
}

TEST_F(standin_FaultPlan, EveryClassHasTwins)
{
    const IDispatchPtr edge = edgeOf(document, 1);
    for (const IDispatchPtr& object :
         {body, facesOf(body), edge, need(get(edge, 76)), need(get(face, 39)), modelOf(document),
          need(get(document, 24681))}) {
        auto* known = dynamic_cast<standin::Object*>(object.GetInterfacePtr());
        ASSERT_NE(known, nullptr);
        SCOPED_TRACE(known->info().name);
        const IDispatchPtr twin = known->twin();
        EXPECT_NE(twin.GetInterfacePtr(), object.GetInterfacePtr());
        EXPECT_STREQ(dynamic_cast<standin::Object*>(twin.GetInterfacePtr())->info().name,
                     known->info().name);
    }
    EXPECT_EQ(dynamic_cast<standin::Object*>(document.GetInterfacePtr())->twin().GetInterfacePtr(),
              document.GetInterfacePtr())
        << "there is one document";
}

TEST_F(standin_FaultPlan, RandomFaultsAreTheSameForTheSameSeed)
{
    const auto pattern = [this](std::uint32_t seed) {
        session.faults().clear();
        Fault fault;
        fault.probability = 0.25;
        fault.seed = seed;
        session.faults().add(fault);
        std::string failed;
        for (int i = 0; i < 400; ++i) {
            failed += FAILED(get(face, 48).code) ? 'x' : '.';
        }
        return failed;
    };
    const std::string first = pattern(5);
    EXPECT_EQ(pattern(5), first);
    EXPECT_NE(pattern(6), first);
    // 400 draws at 1/4: 100 on average, deviation sqrt(400 * 3/16) = 8.7; 50 is over 5 of those.
    const auto strikes = std::count(first.begin(), first.end(), 'x');
    EXPECT_GT(strikes, 50);
    EXPECT_LT(strikes, 150);
}

TEST_F(standin_FaultPlan, RandomFaultsStartAtTheNthCall)
{
    Fault fault;
    fault.probability = 1.0;
    fault.nth = 3;
    session.faults().add(fault);
    EXPECT_EQ(get(face, 48).code, S_OK);
    EXPECT_EQ(get(face, 48).code, S_OK);
    EXPECT_EQ(get(face, 48).code, E_FAIL);
    EXPECT_EQ(get(face, 48).code, E_FAIL);
}

TEST_F(standin_FaultPlan, EntriesAreToldApart)
{
    const std::size_t one = session.faults().failMember("Type");
    const std::size_t two = session.faults().failMember("Body");
    EXPECT_EQ(get(face, 37).code, E_FAIL);
    EXPECT_FALSE(session.faults().fired(one));
    EXPECT_TRUE(session.faults().fired(two));
    EXPECT_FALSE(session.faults().fired(99));
    session.faults().clear();
    EXPECT_FALSE(session.faults().fired(two));
}

TEST_F(standin_FaultPlan, SeveralChangesWorkTogether)
{
    plan(FaultKind::shortArray, "GetExactRange");
    plan(FaultKind::otherLowerBound, "GetExactRange");
    Array min;
    Array max;
    EXPECT_EQ(method(body, 129, {reference(min), reference(max)}).code, S_OK);
    EXPECT_EQ(min.size(), 2u);
    EXPECT_EQ(min.lowerBound(), 5);
}

TEST_F(standin_FaultPlan, EveryCallOfAnOperationCanBeMadeToFail)
{
    const auto operate = [this] {
        try {
            return keyOf(item(facesOf(bodyOf(document)), 2)).size() > 0;
        } catch (const std::runtime_error&) {
            return false;
        }
    };
    for (const bool lasting : {false, true}) {
        long nth = 1;
        for (;; ++nth) {
            SCOPED_TRACE(nth);
            ASSERT_LT(nth, 100);
            session.faults().clear();
            session.faults().failCall(nth, E_FAIL, lasting);
            const bool done = operate();
            if (!session.faults().fired()) {
                EXPECT_TRUE(done);
                break;
            }
            EXPECT_FALSE(done);
        }
        // Models, Item, Body, Faces, Item, the name's number, GetReferenceKey.
        EXPECT_EQ(nth, 8);
    }
}

} // namespace
