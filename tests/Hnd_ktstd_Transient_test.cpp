#include "ktstd/ktstd_Handle.h"
#include "ktstd/ktstd_MapNode.h"
#include "ktstd/ktstd_SeqNode.h"
#include "ktstd/ktstd_Session.h"
#include "ktstd/ktstd_TShared.h"
#include "ktstd/ktstd_fail.h"
#include "support/Bits.h"
#include "support/Failures.h"
#include "support/TestShared.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

using kt_test::raisesClass;
using kt_test::SharedGuard;

static_assert(sizeof(Hnd_ktstd_Transient) == sizeof(void*));
static_assert(sizeof(Hnd_ktstd_TShared) == sizeof(void*));
static_assert(sizeof(Hnd_ktstd_Type) == sizeof(void*));
static_assert(sizeof(Hnd_ktstd_SeqNode) == sizeof(void*));
static_assert(sizeof(Hnd_ktstd_MapNode) == sizeof(void*));
static_assert(sizeof(Hnd_ktstd_Session) == sizeof(void*));
static_assert(sizeof(Hnd_ktstd_fail_Failure) == sizeof(void*));
static_assert(sizeof(Hnd_TestChild) == sizeof(void*));
static_assert(std::is_base_of_v<Hnd_ktstd_Transient, Hnd_TestChild>);
static_assert(!std::is_polymorphic_v<Hnd_TestChild>);
static_assert(
    std::is_same_v<decltype(std::declval<const Hnd_ktstd_Transient&>().IsNull()), unsigned char>);

namespace {

constexpr std::uint64_t kSentinel = 0xFFFFFFFFFEFD0000U;

template <class Handle>
std::uint64_t addressIn(const Handle& aHandle)
{
    return kt_test::valueAt<std::uint64_t>(aHandle, 0);
}

template <class Handle>
void expectNull(const Handle& aHandle)
{
    EXPECT_EQ(addressIn(aHandle), kSentinel);
    EXPECT_EQ(aHandle.IsNull(), 1);
}

//! Shows what typed handles see of the object.
class Probe : public Hnd_ktstd_Transient
{
public:
    using Hnd_ktstd_Transient::ControlAccess;
    using Hnd_ktstd_Transient::Hnd_ktstd_Transient;
};
static_assert(
    std::is_same_v<decltype(std::declval<const Probe&>().ControlAccess()), ktstd_Transient*>);

} // namespace

TEST(Hnd_ktstd_Transient, DefaultIsNull)
{
    expectNull(Hnd_ktstd_Transient());
    expectNull(Hnd_TestShared());
    expectNull(Hnd_ktstd_Type());
    expectNull(Hnd_ktstd_fail_Failure());
}

TEST(Hnd_ktstd_Transient, NullPointerBecomesTheSentinel)
{
    const TestShared* const none = nullptr;
    expectNull(Hnd_ktstd_Transient(none));
    expectNull(Hnd_TestShared(none));
    Hnd_TestShared handle;
    handle = none;
    expectNull(handle);
    Hnd_ktstd_Transient base;
    base = static_cast<const ktstd_Transient*>(nullptr);
    expectNull(base);
}

TEST(Hnd_ktstd_Transient, HoldsTheAddressOfItsObject)
{
    const SharedGuard guard;
    auto* const object = new TestShared();
    const Hnd_TestShared handle(object);
    EXPECT_EQ(addressIn(handle), reinterpret_cast<std::uintptr_t>(object));
    EXPECT_EQ(handle.IsNull(), 0);
    EXPECT_EQ(handle.operator->(), object);
    EXPECT_EQ(&*handle, object);
}

TEST(Hnd_ktstd_Transient, EveryHandleOwnsOneCount)
{
    const SharedGuard guard;
    auto* const object = new TestShared(1);
    EXPECT_EQ(object->RefCount(), 0);
    Hnd_TestShared first(object);
    EXPECT_EQ(object->RefCount(), 1);
    {
        const Hnd_TestShared second(first);
        EXPECT_EQ(object->RefCount(), 2);
        const Hnd_ktstd_Transient third(second);
        EXPECT_EQ(object->RefCount(), 3);
        Hnd_ktstd_TShared fourth;
        fourth = first;
        EXPECT_EQ(object->RefCount(), 4);
        fourth.Nullify();
        EXPECT_EQ(object->RefCount(), 3);
        expectNull(fourth);
        Hnd_TestShared fifth;
        fifth = object;
        EXPECT_EQ(object->RefCount(), 4);
    }
    EXPECT_EQ(object->RefCount(), 1);
    EXPECT_TRUE(TestShared::gone.empty());
    first.Nullify();
    EXPECT_EQ(TestShared::gone, std::vector<long>{1});
}

TEST(Hnd_ktstd_Transient, LastHandleCallsDeleteOnce)
{
    const SharedGuard guard;
    {
        const Hnd_ktstd_Transient handle(new TestShared(1));
        EXPECT_EQ(TestShared::alive, 1);
    }
    EXPECT_EQ(TestShared::gone, std::vector<long>{1});
    EXPECT_EQ(TestShared::alive, 0);
    Hnd_ktstd_Transient handle(new TestShared(2));
    handle = Hnd_ktstd_Transient(new TestShared(3));
    EXPECT_EQ(TestShared::gone, (std::vector<long>{1, 2}));
    handle = static_cast<const ktstd_Transient*>(nullptr);
    EXPECT_EQ(TestShared::gone, (std::vector<long>{1, 2, 3}));
    expectNull(handle);
}

TEST(Hnd_ktstd_Transient, NullifyTwiceReleasesOnce)
{
    const SharedGuard guard;
    const Hnd_TestShared keeper(new TestShared());
    Hnd_TestShared handle(keeper);
    handle.Nullify();
    handle.Nullify();
    EXPECT_EQ(keeper->RefCount(), 1);
}

TEST(Hnd_ktstd_Transient, CopiesOfNullTouchNothing)
{
    const Hnd_TestShared none;
    Hnd_TestShared copy(none);
    expectNull(copy);
    copy = none;
    expectNull(copy);
    copy.Nullify();
    expectNull(copy);
    expectNull(none);
}

TEST(Hnd_ktstd_Transient, AssignmentExchangesTheCounts)
{
    const SharedGuard guard;
    const Hnd_TestShared first(new TestShared(1));
    const Hnd_TestShared second(new TestShared(2));
    Hnd_TestShared handle(first);
    handle = second;
    EXPECT_EQ(first->RefCount(), 1);
    EXPECT_EQ(second->RefCount(), 2);
    EXPECT_EQ(handle, second);
    handle = Hnd_TestShared();
    EXPECT_EQ(second->RefCount(), 1);
    expectNull(handle);
    handle = first;
    EXPECT_EQ(first->RefCount(), 2);
}

TEST(Hnd_ktstd_Transient, AssigningTheObjectAlreadyHeldChangesNothing)
{
    const SharedGuard guard;
    auto* const object = new TestShared(1);
    Hnd_TestShared handle(object);
    const Hnd_TestShared& same = handle;
    handle = same;
    EXPECT_EQ(object->RefCount(), 1);
    handle = object;
    EXPECT_EQ(object->RefCount(), 1);
    Hnd_ktstd_Transient& base = handle;
    base = static_cast<const ktstd_Transient*>(object);
    EXPECT_EQ(object->RefCount(), 1);
    const Hnd_TestShared other(handle);
    handle = other;
    EXPECT_EQ(object->RefCount(), 2);
    EXPECT_TRUE(TestShared::gone.empty());
}

TEST(Hnd_ktstd_Transient, MayBeAssignedFromAHandleOfItsDyingObject)
{
    const SharedGuard guard;
    Hnd_TestShared handle(
        new TestShared(1, Hnd_TestShared(new TestShared(2, Hnd_TestShared(new TestShared(3))))));
    handle = Hnd_TestShared::DownCast(handle->next);
    EXPECT_EQ(TestShared::gone, std::vector<long>{1});
    EXPECT_EQ(handle->number, 2);
    EXPECT_EQ(handle->RefCount(), 1);
    Hnd_ktstd_Transient base(handle);
    handle.Nullify();
    base = static_cast<TestShared&>(*base).next;
    EXPECT_EQ(TestShared::gone, (std::vector<long>{1, 2}));
    EXPECT_EQ(static_cast<TestShared&>(*base).number, 3);
    EXPECT_EQ(base->RefCount(), 1);
}

TEST(Hnd_ktstd_Transient, MovingLeavesTheCount)
{
    const SharedGuard guard;
    Hnd_TestShared source(new TestShared(1));
    Hnd_TestShared target(std::move(source));
    EXPECT_EQ(target->RefCount(), 1);
    Hnd_TestShared other(new TestShared(2));
    other = std::move(target);
    EXPECT_EQ(other->number, 1);
    EXPECT_EQ(other->RefCount(), 1);
    EXPECT_EQ(TestShared::gone, std::vector<long>{2});
}

TEST(Hnd_ktstd_Transient, UsingANullHandleRaises)
{
    using Null = Hnd_ktstd_fail_NullObject;
    const Hnd_TestShared typed;
    const Hnd_ktstd_Transient base;
    EXPECT_TRUE(raisesClass<Null>([&] { static_cast<void>(typed->number); }));
    EXPECT_TRUE(raisesClass<Null>([&] { static_cast<void>((*typed).number); }));
    EXPECT_TRUE(raisesClass<Null>([&] { static_cast<void>(base->RefCount()); }));
    EXPECT_TRUE(raisesClass<Null>([&] { static_cast<void>((*base).RefCount()); }));
    bool isCaught = false;
    try {
        static_cast<void>(typed->number);
    } catch (const Hnd_ktstd_fail_Failure&) {
        isCaught = true;
    }
    EXPECT_TRUE(isCaught) << "it is a failure like all others";
}

TEST(Hnd_ktstd_Transient, ControlAccessIsTheRawAddress)
{
    const SharedGuard guard;
    auto* const object = new TestShared();
    const Probe handle(object);
    EXPECT_EQ(handle.ControlAccess(), object);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(Probe().ControlAccess()), kSentinel);
}

TEST(Hnd_ktstd_Transient, EqualityIsIdentityOfTheObject)
{
    const SharedGuard guard;
    const Hnd_TestShared first(new TestShared(1));
    const Hnd_TestShared twin(new TestShared(1));
    const Hnd_ktstd_Transient copy(first);
    EXPECT_TRUE(first == copy);
    EXPECT_TRUE(copy == first);
    EXPECT_FALSE(first != copy);
    EXPECT_FALSE(first == twin);
    EXPECT_TRUE(first != twin);
    EXPECT_FALSE(first == Hnd_TestShared());
    EXPECT_TRUE(Hnd_TestShared() == Hnd_TestShared());
}

TEST(Hnd_ktstd_Transient, IsComparedWithAPointer)
{
    const SharedGuard guard;
    const Hnd_ktstd_Transient handle(new TestShared(1));
    const Hnd_ktstd_Transient other(new TestShared(1));
    const ktstd_Transient* const object = &*handle;
    const ktstd_Transient* const twin = &*other;
    EXPECT_TRUE(handle == object);
    EXPECT_TRUE(object == handle);
    EXPECT_FALSE(handle != object);
    EXPECT_FALSE(object != handle);
    EXPECT_FALSE(handle == twin);
    EXPECT_FALSE(twin == handle);
    EXPECT_TRUE(handle != twin);
    EXPECT_TRUE(twin != handle);
    EXPECT_EQ(handle->RefCount(), 1) << "comparing takes no count";
}

TEST(Hnd_ktstd_Transient, NullHandleEqualsANullPointer)
{
    const SharedGuard guard;
    const ktstd_Transient* const none = nullptr;
    const Hnd_ktstd_Transient null;
    const Hnd_ktstd_Transient handle(new TestShared());
    EXPECT_TRUE(null == none);
    EXPECT_TRUE(none == null);
    EXPECT_FALSE(null != none);
    EXPECT_FALSE(none != null);
    EXPECT_FALSE(handle == none);
    EXPECT_TRUE(none != handle);
    const ktstd_Transient* const object = &*handle;
    EXPECT_TRUE(null != object);
}

TEST(Hnd_ktstd_Transient, DownCastGivesAnObjectOfTheClass)
{
    const SharedGuard guard;
    const Hnd_ktstd_Transient source(new TestChild(5));
    const Hnd_TestChild child = Hnd_TestChild::DownCast(source);
    EXPECT_EQ(child, source);
    EXPECT_EQ(child->number, 5);
    EXPECT_EQ(source->RefCount(), 2);
    const Hnd_TestShared parent = Hnd_TestShared::DownCast(source);
    EXPECT_EQ(parent, source);
    EXPECT_EQ(source->RefCount(), 3);
    EXPECT_EQ(Hnd_ktstd_TShared::DownCast(child), source);
}

TEST(Hnd_ktstd_Transient, DownCastOfAnotherClassIsNull)
{
    const SharedGuard guard;
    const Hnd_ktstd_Transient parent(new TestShared());
    const Hnd_ktstd_Transient other(new TestOther());
    expectNull(Hnd_TestChild::DownCast(parent));
    expectNull(Hnd_TestShared::DownCast(other));
    expectNull(Hnd_ktstd_SeqNode::DownCast(other));
    expectNull(Hnd_ktstd_Type::DownCast(other));
    EXPECT_EQ(parent->RefCount(), 1);
    EXPECT_EQ(other->RefCount(), 1);
}

TEST(Hnd_ktstd_Transient, DownCastOfNullIsNull)
{
    expectNull(Hnd_TestShared::DownCast(Hnd_ktstd_Transient()));
    expectNull(Hnd_ktstd_TShared::DownCast(Hnd_TestShared()));
}

TEST(Hnd_ktstd_Transient, DownCastAsksTheObject)
{
    struct Stubborn : public TestShared
    {
        unsigned char IsKind(const Hnd_ktstd_Type& aType) const override
        {
            asked = aType;
            return 0;
        }
        mutable Hnd_ktstd_Type asked;
    };
    const SharedGuard guard;
    auto* const object = new Stubborn();
    const Hnd_ktstd_Transient source(object);
    expectNull(Hnd_TestShared::DownCast(source));
    EXPECT_EQ(object->asked, TestShared_Type_());
}
