#include "ktstd/ktstd_Transient.h"

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_TShared.h"
#include "ktstd/ktstd_Type.h"
#include "support/Bits.h"
#include "support/SharedClass.h"
#include "support/Slots.h"
#include "support/TestShared.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>
#include <type_traits>

using kt_test::SharedGuard;

static_assert(std::has_virtual_destructor_v<ktstd_Transient>);
static_assert(std::is_base_of_v<ktstd_Transient, ktstd_TShared>);
static_assert(sizeof(ktstd_TShared) == sizeof(ktstd_Transient));
static_assert(kt_test::hasOwnType<ktstd_TShared>);
static_assert(std::is_same_v<decltype(&ktstd_TShared::Delete), void (ktstd_TShared::*)() const>);
static_assert(
    std::is_same_v<decltype(&ktstd_TShared::Serialize), void (ktstd_TShared::*)(ktstd_Archive&)>);
static_assert(kt_test::keepsInheritedOperations<ktstd_TShared>);

namespace {

//! Overrides the last operation, which is private, and shows the protected one.
class Probe : public ktstd_Transient
{
public:
    using ktstd_Transient::Entity;

    void Initialize() override {}
    virtual void Behind() {}
};

class SharedProbe : public ktstd_TShared
{
public:
    virtual void Behind() {}
};

} // namespace

TEST(ktstd_Transient, NewObjectIsHeldByNobody)
{
    auto object = std::make_unique<Probe>();
    EXPECT_EQ(object->RefCount(), 0);
}

TEST(ktstd_Transient, LastHandleDeletesAnObjectThatIsNotShared)
{
    class Dying : public ktstd_Transient
    {
    public:
        explicit Dying(int& aDeaths) : mDeaths(aDeaths) {}
        Dying(const Dying&) = delete;
        Dying& operator=(const Dying&) = delete;
        ~Dying() override { ++mDeaths; }

    private:
        int& mDeaths;
    };
    int deaths = 0;
    Hnd_ktstd_Transient first(new Dying(deaths));
    Hnd_ktstd_Transient second(first);
    first.Nullify();
    EXPECT_EQ(deaths, 0);
    second.Nullify();
    EXPECT_EQ(deaths, 1);
}

TEST(ktstd_Transient, CountHas32BitsDirectlyBehindTheTable)
{
    const SharedGuard guard;
    EXPECT_EQ(sizeof(ktstd_Transient), 2 * sizeof(void*));
    auto* const object = new TestShared();
    const auto count = [&] {
        return kt_test::valueAt<std::int32_t>(static_cast<const ktstd_Transient&>(*object),
                                              sizeof(void*));
    };
    EXPECT_EQ(count(), 0);
    const Hnd_TestShared first(object);
    EXPECT_EQ(count(), 1);
    const Hnd_TestShared second(object);
    EXPECT_EQ(count(), 2);
    EXPECT_EQ(object->RefCount(), 2);
}

TEST(ktstd_Transient, CopyIsHeldByNobody)
{
    const Hnd_ktstd_Transient first(new Probe());
    const Hnd_ktstd_Transient again(first);
    const Hnd_ktstd_Transient copy(new Probe(static_cast<const Probe&>(*first)));
    EXPECT_EQ(copy->RefCount(), 1);
    static_cast<Probe&>(*copy) = static_cast<const Probe&>(*first);
    EXPECT_EQ(copy->RefCount(), 1);
    EXPECT_EQ(first->RefCount(), 2);
}

TEST(ktstd_Transient, ThisIsAHandleToItself)
{
    const SharedGuard guard;
    const Hnd_ktstd_Transient handle(new TestShared());
    const Hnd_ktstd_Transient self = handle->This();
    EXPECT_EQ(self, handle);
    EXPECT_EQ(handle->RefCount(), 2);
}

TEST(ktstd_Transient, KindIsOwnClassAndEveryAncestor)
{
    const SharedGuard guard;
    const Hnd_ktstd_Transient child(new TestChild());
    const Hnd_ktstd_Transient parent(new TestShared());
    const Hnd_ktstd_Transient root(new Probe());
    EXPECT_EQ(child->IsKind(TestChild_Type_()), 1);
    EXPECT_EQ(child->IsKind(TestShared_Type_()), 1);
    EXPECT_EQ(child->IsKind(ktstd_TShared_Type_()), 1);
    EXPECT_EQ(child->IsKind(ktstd_Transient_Type_()), 1);
    EXPECT_EQ(child->IsKind(TestOther_Type_()), 0);
    EXPECT_EQ(parent->IsKind(TestChild_Type_()), 0);
    EXPECT_EQ(parent->IsKind(TestShared_Type_()), 1);
    EXPECT_EQ(root->IsKind(ktstd_Transient_Type_()), 1);
    EXPECT_EQ(root->IsKind(ktstd_TShared_Type_()), 0);
    EXPECT_EQ(child->IsKind(Hnd_ktstd_Type()), 0);
}

TEST(ktstd_Transient, DynamicTypeIsThatOfTheClassNotOfTheHandle)
{
    const SharedGuard guard;
    const Hnd_TestShared child(new TestChild());
    EXPECT_EQ(&child->DynamicType(), &TestChild_Type_());
    const Hnd_ktstd_Transient root(new Probe());
    EXPECT_EQ(&root->DynamicType(), &ktstd_Transient_Type_());
    const Hnd_ktstd_Transient shared(new ktstd_TShared());
    EXPECT_EQ(&shared->DynamicType(), &ktstd_TShared_Type_());
}

TEST(ktstd_Transient, HashLiesWithinItsBound)
{
    const SharedGuard guard;
    const Hnd_ktstd_Transient object(new TestShared());
    for (const long upper : {0L, 1L, 10L, 1000000L}) {
        const long hash = object->HashCode(upper);
        EXPECT_GE(hash, 0);
        EXPECT_LE(hash, upper);
        EXPECT_EQ(object->HashCode(upper), hash);
    }
}

TEST(ktstd_Transient, ShallowDumpNamesTheClass)
{
    const SharedGuard guard;
    const Hnd_ktstd_Transient object(new TestChild());
    std::ostringstream stream;
    object->ShallowDump(stream);
    EXPECT_NE(stream.str().find("TestChild"), std::string::npos);
}

TEST(ktstd_Transient, HasNoPersistentState)
{
    Probe root;
    SharedProbe shared;
    ktstd_Archive archive;
    root.Serialize(archive);
    shared.Serialize(archive);
    EXPECT_EQ(archive.Position(), 0U);
}

TEST(ktstd_Transient, HasNoNumberInAStore)
{
    const SharedGuard guard;
    const Hnd_ktstd_Transient root(new Probe());
    const Hnd_ktstd_Transient child(new TestChild());
    EXPECT_EQ(root->PersistentIdx(), 0);
    EXPECT_EQ(child->PersistentIdx(), 0);
}

TEST(ktstd_Transient, CarriesItsStateItself)
{
    Probe object;
    EXPECT_EQ(object.Entity(), &object);
}

TEST(ktstd_Transient, HasItsOwnNewAndDelete)
{
    using New = void* (*)(std::size_t);
    using Free = void (*)(void*, std::size_t);
    const auto rootNew = static_cast<New>(&ktstd_Transient::operator new);
    const auto rootFree = static_cast<Free>(&ktstd_Transient::operator delete);
    const auto sharedNew = static_cast<New>(&ktstd_TShared::operator new);
    const auto sharedFree = static_cast<Free>(&ktstd_TShared::operator delete);
    EXPECT_NE(rootNew, sharedNew) << "shared objects have their own";
    EXPECT_NE(rootFree, sharedFree);
    for (const std::size_t size : {std::size_t{1}, std::size_t{16}, std::size_t{100000}}) {
        void* const memory = rootNew(size);
        ASSERT_NE(memory, nullptr);
        rootFree(memory, size);
        void* const shared = sharedNew(size);
        ASSERT_NE(shared, nullptr);
        sharedFree(shared, size);
    }
}

#if KT_TEST_HAS_SLOTS
TEST(ktstd_Transient, OperationsStandInTheirSlots)
{
    using kt_test::slotOf;
    EXPECT_EQ(slotOf(&ktstd_Transient::This), 0);
    EXPECT_EQ(slotOf(&ktstd_Transient::Delete), 1);
    // The destructor: 2 and 3.
    EXPECT_EQ(slotOf(&ktstd_Transient::Serialize), 4);
    EXPECT_EQ(slotOf(&ktstd_Transient::PersistentIdx), 5);
    EXPECT_EQ(slotOf(&ktstd_Transient::DynamicType), 6);
    EXPECT_EQ(slotOf(&ktstd_Transient::IsKind), 7);
    EXPECT_EQ(slotOf(&ktstd_Transient::HashCode), 8);
    EXPECT_EQ(slotOf(&ktstd_Transient::ShallowDump), 9);
    EXPECT_EQ(slotOf(&Probe::Entity), 10);
    EXPECT_EQ(slotOf(&Probe::Initialize), 11);
    EXPECT_EQ(slotOf(&Probe::Behind), 12);
    EXPECT_EQ(slotOf(&SharedProbe::Behind), 12) << "shared objects add nothing";
}
#endif
