//! Reference planes of parts and, under other numbers, of assemblies.

#include "support/AssemblyObjects.h"
#include "support/CensusGuard.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace support;
using Numbers = std::vector<double>;

//! Asks a plane by name: "GetNormal" and so on.
Numbers ask(const IDispatchPtr& plane, const wchar_t* member)
{
    Array answer;
    EXPECT_EQ(named(plane, member, DISPATCH_METHOD, {reference(answer)}).code, S_OK);
    return answer.doubles();
}

class standin_RefPlanes : public HostTest
{
protected:
    [[nodiscard]] IDispatchPtr planes() const { return need(get(document, 0x6065)); }
    [[nodiscard]] LONG add(const standin::geom::Vec& root, const standin::geom::Vec& normal,
                           const standin::geom::Vec& direction)
    {
        return session.addRefPlane(document, {"plane", root, normal, direction});
    }

    standin::Session session;
    IDispatchPtr document = openBody(session, plainBox());
};

TEST_F(standin_RefPlanes, TheFirstThreeAreTopRightAndFront)
{
    ASSERT_EQ(get(planes(), 5).number(), 3);
    const Numbers normals[] = {{0.0, 0.0, 1.0}, {1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}};
    const Numbers directions[] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};
    for (LONG i = 1; i <= 3; ++i) {
        SCOPED_TRACE(i);
        const IDispatchPtr plane = item(planes(), i);
        EXPECT_EQ(ask(plane, L"GetNormal"), normals[i - 1]);
        EXPECT_EQ(ask(plane, L"GetRootPoint"), (Numbers{0.0, 0.0, 0.0}));
        EXPECT_EQ(ask(plane, L"GetReferenceDirection"), directions[i - 1]);
    }
    EXPECT_EQ(method(planes(), 0, {value(LONG{4})}).code, DISP_E_BADINDEX);
}

TEST_F(standin_RefPlanes, TheSamePlanesStandAtTheNumberThatTheHostLeavesFree)
{
    const IDispatchPtr others = need(get(document, 0x6002));
    ASSERT_EQ(get(others, 5).number(), 3);
    const IDispatchPtr plane = item(planes(), 2);
    EXPECT_EQ(item(others, 2).GetInterfacePtr(), plane.GetInterfacePtr());
    DISPID id = 0;
    EXPECT_EQ(identify(document, L"RefPlanes", id), S_OK);
    EXPECT_EQ(id, 0x6065);
}

TEST_F(standin_RefPlanes, AddedOnesFollow)
{
    const IDispatchPtr early = planes();
    EXPECT_EQ(add({0.1, 0.2, 0.3}, {0.0, 0.0, -2.0}, {0.0, 3.0, 0.0}), 4);
    EXPECT_EQ(get(early, 5).number(), 4);
    const IDispatchPtr plane = item(early, 4);
    EXPECT_EQ(ask(plane, L"GetNormal"), (Numbers{0.0, 0.0, -1.0}));
    EXPECT_EQ(ask(plane, L"GetRootPoint"), (Numbers{0.1, 0.2, 0.3}));
    EXPECT_EQ(ask(plane, L"GetReferenceDirection"), (Numbers{0.0, 1.0, 0.0}));
}

TEST_F(standin_RefPlanes, ADirectionIsChosenWhenNoneIsGiven)
{
    EXPECT_EQ(add({}, {0.0, 0.0, 1.0}, {}), 4);
    EXPECT_EQ(ask(item(planes(), 4), L"GetReferenceDirection"), (Numbers{1.0, 0.0, 0.0}));
    EXPECT_EQ(add({}, {-1.0, 0.0, 0.0}, {}), 5);
    EXPECT_EQ(ask(item(planes(), 5), L"GetReferenceDirection"), (Numbers{0.0, 1.0, 0.0}));
}

TEST_F(standin_RefPlanes, OnesThatCanNotBeAreRefused)
{
    const double none = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THROW((void)add({}, {}, {1.0, 0.0, 0.0}), standin::HostError);
    EXPECT_THROW((void)add({none, 0.0, 0.0}, {0.0, 0.0, 1.0}, {}), standin::HostError);
    EXPECT_THROW((void)add({}, {none, 0.0, 1.0}, {}), standin::HostError);
    EXPECT_THROW((void)add({}, {0.0, 0.0, 1.0}, {none, 0.0, 0.0}), standin::HostError);
    EXPECT_THROW((void)add({}, {0.0, 0.0, 1.0}, {1.0, 0.0, 0.001}), standin::HostError);
    EXPECT_THROW((void)add({}, {1e300, 0.0, 0.0}, {}), standin::HostError);
    EXPECT_EQ(get(planes(), 5).number(), 3);
}

TEST_F(standin_RefPlanes, GoWithTheirDocument)
{
    const IDispatchPtr collection = planes();
    const IDispatchPtr plane = item(collection, 1);
    session.close(document);
    Array normal;
    EXPECT_EQ(get(collection, 5).code, RPC_E_DISCONNECTED);
    EXPECT_EQ(method(plane, 5, {reference(normal)}).code, RPC_E_DISCONNECTED);
}

TEST_F(standin_RefPlanes, ATwinIsAnotherObjectOfTheSamePlane)
{
    const IDispatchPtr plane = item(planes(), 1);
    standin::Fault fault;
    fault.kind = standin::FaultKind::differentAnswer;
    fault.className = "RefPlanes";
    fault.member = "Item";
    session.faults().add(fault);
    const IDispatchPtr twin = item(planes(), 1);
    EXPECT_NE(twin.GetInterfacePtr(), plane.GetInterfacePtr());
    EXPECT_EQ(ask(twin, L"GetNormal"), ask(plane, L"GetNormal"));
}

TEST_F(standin_RefPlanes, ThoseOfAssembliesHaveNumbersOfTheirOwn)
{
    const IDispatchPtr assembly = session.openAssembly(viceModel(), "vice.asm");
    const IDispatchPtr planes = need(get(assembly, 24578));
    ASSERT_EQ(get(planes, 2).number(), 3);
    EXPECT_EQ(get(planes, 5).code, DISP_E_MEMBERNOTFOUND);
    const IDispatchPtr plane = item(planes, 2);
    Array normal;
    Array root;
    Array direction;
    EXPECT_EQ(method(plane, 4, {reference(normal)}).code, S_OK);
    EXPECT_EQ(method(plane, 5, {reference(root)}).code, S_OK);
    EXPECT_EQ(method(plane, 6, {reference(direction)}).code, S_OK);
    EXPECT_EQ(normal.doubles(), (Numbers{1.0, 0.0, 0.0}));
    EXPECT_EQ(root.doubles(), (Numbers{0.0, 0.0, 0.0}));
    EXPECT_EQ(direction.doubles(), (Numbers{0.0, 1.0, 0.0}));
    EXPECT_EQ(named(plane, L"Type", DISPATCH_PROPERTYGET).number(), -1442041198);
    for (const auto& [object, text] :
         {std::make_pair(planes, L"{AA0C3293-667E-11D3-AED8-00500471C49E}"),
          std::make_pair(plane, L"{AA0C3292-667E-11D3-AED8-00500471C49E}")}) {
        IID iid{};
        ASSERT_EQ(IIDFromString(std::wstring(text).data(), &iid), S_OK);
        IUnknown* found = nullptr;
        ASSERT_EQ(object->QueryInterface(iid, reinterpret_cast<void**>(&found)), S_OK);
        found->Release();
    }
}

} // namespace
