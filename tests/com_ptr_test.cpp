#include "com/Com.h"
#include "support/CountingObject.h"

#include <gtest/gtest.h>

#include <type_traits>

static_assert(!std::is_convertible<IDispatchPtr, IProbe&>::value);

namespace {

//! Every test ends with all references given back.
class ComPtr : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ(object.liveReferences(), 0); }

    void expectCounts(int addRefs, int releases, int queries)
    {
        EXPECT_EQ(object.addRefs, addRefs) << "AddRef";
        EXPECT_EQ(object.releases, releases) << "Release";
        EXPECT_EQ(object.queries, queries) << "QueryInterface";
    }
    IDispatch* dispatch() { return &object; }
    IProbe* probe() { return &object; }
    IUnknown* unknown() { return dispatch(); }

    CountingObject object;
};

// The mingw-w64 header copies a pointer of another kind once before it asks the object.
#if defined(__MINGW32__)
constexpr int kSourceCopies = 1;
#else
constexpr int kSourceCopies = 0;
#endif

constexpr HRESULT kBusy = RPC_E_SERVERCALL_RETRYLATER;

} // namespace

TEST_F(ComPtr, DefaultIsNull)
{
    const IDispatchPtr pointer;
    EXPECT_EQ(pointer.GetInterfacePtr(), nullptr);
    EXPECT_FALSE(pointer);
    EXPECT_TRUE(!pointer);
}

TEST_F(ComPtr, NullPointerAndZeroMakeNull)
{
    EXPECT_FALSE(IDispatchPtr(nullptr));
    EXPECT_FALSE(IDispatchPtr(0));
    EXPECT_FALSE(IDispatchPtr(static_cast<IDispatch*>(nullptr)));
    EXPECT_FALSE(IDispatchPtr(static_cast<IProbe*>(nullptr)));
}

TEST_F(ComPtr, NumberOtherThanZeroRaises)
{
    EXPECT_EQ(raisedCode([] { IDispatchPtr pointer(1); }), E_POINTER);
    IDispatchPtr pointer;
    EXPECT_EQ(raisedCode([&] { pointer = 1; }), E_POINTER);
}

TEST_F(ComPtr, OwnInterfaceIsTakenWithoutAsking)
{
    {
        const IDispatchPtr pointer(dispatch());
        expectCounts(1, 0, 0);
        EXPECT_EQ(pointer.GetInterfacePtr(), dispatch());
        EXPECT_TRUE(pointer);
    }
    expectCounts(1, 1, 0);
}

TEST_F(ComPtr, ReferenceCanBeTakenOver)
{
    object.AddRef();
    {
        const IDispatchPtr pointer(dispatch(), false);
        expectCounts(1, 0, 0);
    }
    expectCounts(1, 1, 0);
}

TEST_F(ComPtr, CopyAddsAReference)
{
    const IDispatchPtr first(dispatch());
    {
        const IDispatchPtr second(first);
        expectCounts(2, 0, 0);
    }
    expectCounts(2, 1, 0);
}

TEST_F(ComPtr, OtherInterfaceIsAskedFor)
{
    {
        const IProbePtr pointer(dispatch());
        expectCounts(1, 0, 1);
        EXPECT_EQ(pointer.GetInterfacePtr(), probe());
        EXPECT_EQ(pointer->Probe(), 17);
    }
    expectCounts(1, 1, 1);
}

TEST_F(ComPtr, OtherPointerIsAskedFor)
{
    const IDispatchPtr first(dispatch());
    {
        const IProbePtr second(first);
        expectCounts(2 + kSourceCopies, kSourceCopies, 1);
        EXPECT_EQ(second.GetInterfacePtr(), probe());
    }
    expectCounts(2 + kSourceCopies, 1 + kSourceCopies, 1);
}

TEST_F(ComPtr, MissingInterfaceLeavesNull)
{
    object.refusedIid = IID_IProbe;
    const IProbePtr raw(dispatch());
    EXPECT_FALSE(raw);
    const IDispatchPtr source(dispatch());
    const IProbePtr converted(source);
    EXPECT_FALSE(converted);
    expectCounts(1 + kSourceCopies, kSourceCopies, 2);
}

TEST_F(ComPtr, AnotherRefusalRaisesItsCode)
{
    object.refusedIid = IID_IProbe;
    object.refusal = kBusy;
    EXPECT_EQ(raisedCode([&] { IProbePtr pointer(dispatch()); }), kBusy);
    const IDispatchPtr source(dispatch());
    EXPECT_EQ(raisedCode([&] { IProbePtr pointer(source); }), kBusy);
    expectCounts(1 + kSourceCopies, kSourceCopies, 2);
}

TEST_F(ComPtr, AssigningOwnInterfaceSwapsReferences)
{
    CountingObject other;
    IDispatchPtr pointer(dispatch());
    pointer = static_cast<IDispatch*>(&other);
    expectCounts(1, 1, 0);
    EXPECT_EQ(other.addRefs, 1);
    pointer = nullptr;
    EXPECT_EQ(other.liveReferences(), 0);
    EXPECT_EQ(other.queries, 0);
}

TEST_F(ComPtr, AssigningItselfChangesNothing)
{
    IDispatchPtr pointer(dispatch());
    const IDispatchPtr& alias = pointer;
    pointer = alias;
    pointer = dispatch();
    expectCounts(1, 0, 0);
    EXPECT_EQ(pointer.GetInterfacePtr(), dispatch());
}

TEST_F(ComPtr, AssigningAnotherInterfaceAsks)
{
    IProbePtr pointer;
    pointer = dispatch();
    expectCounts(1, 0, 1);
    pointer = IDispatchPtr(dispatch());
    // The temporary takes and gives back one; the query adds one and the old one is given back.
    expectCounts(3 + kSourceCopies, 2 + kSourceCopies, 2);
    EXPECT_EQ(pointer.GetInterfacePtr(), probe());
}

TEST_F(ComPtr, FailedAssignmentLetsTheOldObjectGo)
{
    CountingObject other;
    other.refusedIid = IID_IProbe;
    IProbePtr pointer(probe());
    pointer = static_cast<IDispatch*>(&other);
    EXPECT_FALSE(pointer);
    EXPECT_EQ(object.liveReferences(), 0);

    pointer = probe();
    other.refusal = kBusy;
    EXPECT_EQ(raisedCode([&] { pointer = static_cast<IDispatch*>(&other); }), kBusy);
    EXPECT_FALSE(pointer);
    EXPECT_EQ(object.liveReferences(), 0);
    EXPECT_EQ(other.liveReferences(), 0);
}

TEST_F(ComPtr, AssigningNullLetsGo)
{
    IDispatchPtr pointer(dispatch());
    pointer = nullptr;
    expectCounts(1, 1, 0);
    pointer = dispatch();
    pointer = 0;
    expectCounts(2, 2, 0);
    pointer = dispatch();
    pointer = static_cast<IProbe*>(nullptr);
    expectCounts(3, 3, 0);
    EXPECT_FALSE(pointer);
}

TEST_F(ComPtr, UsingNullRaises)
{
    IProbePtr pointer;
    EXPECT_EQ(raisedCode([&] { pointer->Probe(); }), E_POINTER);
    EXPECT_EQ(raisedCode([&] { (*pointer).Probe(); }), E_POINTER);
    EXPECT_EQ(raisedCode([&] { static_cast<void>(static_cast<IProbe&>(pointer)); }), E_POINTER);
    EXPECT_EQ(raisedCode([&] { pointer.AddRef(); }), E_POINTER);
    EXPECT_EQ(raisedCode([&] { pointer.Release(); }), E_POINTER);
}

TEST_F(ComPtr, AttachTakesOverAndDetachHandsOver)
{
    IDispatchPtr pointer;
    object.AddRef();
    pointer.Attach(dispatch());
    expectCounts(1, 0, 0);
    IDispatch* const raw = pointer.Detach();
    EXPECT_EQ(raw, dispatch());
    EXPECT_FALSE(pointer);
    expectCounts(1, 0, 0);
    pointer.Attach(raw, true);
    expectCounts(2, 0, 0);
    raw->Release();
}

TEST_F(ComPtr, AttachLetsTheOldObjectGo)
{
    CountingObject other;
    IDispatchPtr pointer(static_cast<IDispatch*>(&other));
    object.AddRef();
    pointer.Attach(dispatch());
    EXPECT_EQ(other.liveReferences(), 0);
    pointer.Attach(nullptr);
    EXPECT_EQ(object.liveReferences(), 0);
}

TEST_F(ComPtr, AddressLetsGoAndTakesWhatIsPut)
{
    IProbePtr pointer(probe());
    IProbe** const place = &pointer;
    expectCounts(1, 1, 0);
    EXPECT_EQ(*place, nullptr);
    EXPECT_EQ(object.QueryInterface(IID_IProbe, reinterpret_cast<void**>(place)), S_OK);
    EXPECT_EQ(pointer.GetInterfacePtr(), probe());
    expectCounts(2, 1, 1);
}

TEST_F(ComPtr, ReleaseMakesNull)
{
    IDispatchPtr pointer(dispatch());
    pointer.AddRef();
    expectCounts(2, 0, 0);
    pointer.Release();
    expectCounts(2, 1, 0);
    EXPECT_FALSE(pointer);
    object.Release();
}

TEST_F(ComPtr, QueryInterfaceAsksTheObject)
{
    IDispatchPtr pointer(dispatch());
    IProbe* found = nullptr;
    EXPECT_EQ(pointer.QueryInterface(IID_IProbe, found), S_OK);
    EXPECT_EQ(found, probe());
    found->Release();
    EXPECT_EQ(pointer.QueryInterface(IID_IProbe, &found), S_OK);
    EXPECT_EQ(found, probe());
    found->Release();
    object.refusedIid = IID_IProbe;
    EXPECT_EQ(pointer.QueryInterface(IID_IProbe, found), E_NOINTERFACE);
    IDispatchPtr nothing;
    EXPECT_EQ(nothing.QueryInterface(IID_IProbe, found), E_POINTER);
}

TEST_F(ComPtr, ConvertsToItsInterface)
{
    const IDispatchPtr pointer(dispatch());
    IDispatch* const raw = pointer;
    IDispatch& reference = pointer;
    EXPECT_EQ(raw, dispatch());
    EXPECT_EQ(&reference, dispatch());
    EXPECT_EQ(&*pointer, dispatch());
    expectCounts(1, 0, 0);
}

TEST_F(ComPtr, ComparesWithItsInterfaceWithoutAsking)
{
    IDispatchPtr pointer(dispatch());
    IDispatchPtr same(pointer);
    EXPECT_TRUE(pointer == dispatch());
    EXPECT_TRUE(pointer == same);
    EXPECT_FALSE(pointer != same);
    EXPECT_EQ(object.queries, 0);
}

TEST_F(ComPtr, ComparesByIdentity)
{
    IDispatchPtr first(dispatch());
    IProbePtr second(probe());
    IUnknownPtr third(unknown());
    EXPECT_TRUE(first == second);
    EXPECT_TRUE(second == first);
    EXPECT_TRUE(second == third);
    EXPECT_FALSE(first != second);
    EXPECT_TRUE(first == probe());
    EXPECT_FALSE(first != probe());
}

TEST_F(ComPtr, DifferentObjectsAreNotEqual)
{
    CountingObject other;
    IDispatchPtr first(dispatch());
    IDispatchPtr second(static_cast<IDispatch*>(&other));
    IProbePtr third(static_cast<IProbe*>(&other));
    EXPECT_FALSE(first == second);
    EXPECT_TRUE(first != second);
    EXPECT_FALSE(first == third);
    EXPECT_TRUE(first != third);
    EXPECT_TRUE(second == third);
    EXPECT_NE(first < second, second < first);
    EXPECT_FALSE(second < third);
    EXPECT_FALSE(third < second);
}

TEST_F(ComPtr, ComparesWithNull)
{
    IDispatchPtr pointer(dispatch());
    IDispatchPtr nothing;
    EXPECT_TRUE(nothing == nullptr);
    EXPECT_FALSE(pointer == nullptr);
    EXPECT_TRUE(pointer != nullptr);
    EXPECT_FALSE(nothing != nullptr);
    EXPECT_TRUE(nothing == 0);
    EXPECT_TRUE(pointer != 0);
    EXPECT_FALSE(pointer == nothing);
    EXPECT_TRUE(nothing == IDispatchPtr());
}

TEST_F(ComPtr, IdentityThatCannotBeAskedRaises)
{
    IDispatchPtr first(dispatch());
    IProbePtr second(probe());
    object.refusedIid = IID_IUnknown;
    object.refusal = kBusy;
    EXPECT_EQ(raisedCode([&] { static_cast<void>(first == second); }), kBusy);
}

TEST_F(ComPtr, TakesTheObjectOfAVariant)
{
    const _variant_t dispatchValue(dispatch());
    const _variant_t unknownValue(unknown());
    const int before = object.queries;
    const IProbePtr fromDispatch(dispatchValue);
    const IProbePtr fromUnknown(unknownValue);
    EXPECT_EQ(fromDispatch.GetInterfacePtr(), probe());
    EXPECT_EQ(fromUnknown.GetInterfacePtr(), probe());
    EXPECT_EQ(object.queries, before + 2);
    IDispatchPtr assigned;
    assigned = unknownValue;
    EXPECT_EQ(assigned.GetInterfacePtr(), dispatch());
}

TEST_F(ComPtr, NullObjectInAVariantMakesNull)
{
    const _variant_t value(static_cast<IDispatch*>(nullptr));
    EXPECT_FALSE(IProbePtr(value));
}

TEST_F(ComPtr, VariantThatIsNoObjectRaises)
{
    const _variant_t value(LONG{3});
    EXPECT_EQ(raisedCode([&] { IDispatchPtr pointer(value); }), DISP_E_TYPEMISMATCH);
}
