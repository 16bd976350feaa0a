#include "ktstd/ktstd_Type.h"

#include "ktstd/ktstd_MapNode.h"
#include "ktstd/ktstd_SeqNode.h"
#include "ktstd/ktstd_TransientHSeq.h"
#include "support/TestShared.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

static_assert(std::is_base_of_v<ktstd_Transient, ktstd_Type>);
static_assert(!std::is_base_of_v<ktstd_TShared, ktstd_Type>);
static_assert(std::is_same_v<decltype(ktstd_TShared_Type_()), Hnd_ktstd_Type&>);

namespace {

//! Checks the name, the size and the ancestors, nearest first.
void expectType(const Hnd_ktstd_Type& aType, const char* aName, std::size_t aSize,
                const std::vector<Hnd_ktstd_Type>& aAncestors)
{
    ASSERT_EQ(aType.IsNull(), 0) << aName;
    EXPECT_STREQ(aType->Name(), aName);
    EXPECT_EQ(aType->Size(), static_cast<long>(aSize));
    const Hnd_ktstd_Type* ancestor = aType->Ancestors();
    for (const Hnd_ktstd_Type& wanted : aAncestors) {
        EXPECT_EQ(*ancestor, wanted);
        ++ancestor;
    }
    EXPECT_EQ(ancestor->IsNull(), 1) << "the array ends with a null handle";
}

} // namespace

TEST(ktstd_Type, KernelClassesHaveTheirAncestors)
{
    const Hnd_ktstd_Type& root = ktstd_Transient_Type_();
    const Hnd_ktstd_Type& shared = ktstd_TShared_Type_();
    expectType(root, "ktstd_Transient", sizeof(ktstd_Transient), {});
    expectType(shared, "ktstd_TShared", sizeof(ktstd_TShared), {root});
    expectType(ktstd_SeqNode_Type_(), "ktstd_SeqNode", sizeof(ktstd_SeqNode), {shared, root});
    expectType(ktstd_MapNode_Type_(), "ktstd_MapNode", sizeof(ktstd_MapNode), {shared, root});
    expectType(ktstd_TransientHSeq_Type_(), "ktstd_TransientHSeq", sizeof(ktstd_TransientHSeq),
               {shared, root});
}

TEST(ktstd_Type, DerivedClassListsTheNearestAncestorFirst)
{
    expectType(TestChild_Type_(), "TestChild", sizeof(TestChild),
               {TestShared_Type_(), ktstd_TShared_Type_(), ktstd_Transient_Type_()});
    EXPECT_EQ(TestChild_Type_()->NbParents(), 1);
}

TEST(ktstd_Type, IsMadeOnce)
{
    EXPECT_EQ(&ktstd_TShared_Type_(), &ktstd_TShared_Type_());
    EXPECT_EQ(&TestChild_Type_(), &TestChild_Type_());
    EXPECT_EQ(&TestChild::TypeOfClass(), &TestChild_Type_());
    EXPECT_NE(TestChild_Type_(), TestShared_Type_());
}

TEST(ktstd_Type, IsMadeFromNameSizeOneAndAncestors)
{
    std::vector<Hnd_ktstd_Type> ancestors = {ktstd_TShared_Type_(), ktstd_Transient_Type_(),
                                             Hnd_ktstd_Type()};
    const Hnd_ktstd_Type type(new ktstd_Type("Made", 123, 1, ancestors.data()));
    expectType(type, "Made", 123, {ktstd_TShared_Type_(), ktstd_Transient_Type_()});
    EXPECT_EQ(type->NbParents(), 1);
    EXPECT_EQ(type->RefCount(), 1);
}

TEST(ktstd_Type, IsComparedByIdentityNotByName)
{
    const kt_test::SharedGuard guard;
    Hnd_ktstd_Type none;
    const Hnd_ktstd_Type twin(
        new ktstd_Type("TestShared", static_cast<long>(sizeof(TestShared)), 1, &none));
    const Hnd_ktstd_Transient object(new TestShared());
    EXPECT_EQ(object->IsKind(twin), 0);
    EXPECT_EQ(object->IsKind(TestShared_Type_()), 1);
}

TEST(ktstd_Type, IsAnObjectItself)
{
    const Hnd_ktstd_Transient type(TestShared_Type_());
    EXPECT_EQ(type->IsKind(ktstd_Transient_Type_()), 1);
    EXPECT_EQ(type->IsKind(ktstd_Type_Type_()), 1);
    EXPECT_EQ(type->IsKind(ktstd_TShared_Type_()), 0);
    EXPECT_EQ(&type->DynamicType(), &ktstd_Type_Type_());
    EXPECT_EQ(Hnd_ktstd_Type::DownCast(type), TestShared_Type_());
}

TEST(ktstd_Type, IsCastToItsOwnClassAlone)
{
    const Hnd_ktstd_Transient type = ktstd_TShared_Type_();
    EXPECT_EQ(Hnd_ktstd_Type::DownCast(type), type);
    EXPECT_NE(Hnd_ktstd_SeqNode::DownCast(type).IsNull(), 0);
}

TEST(ktstd_Type, IsSubTypeOfItselfAndEveryAncestor)
{
    const Hnd_ktstd_Type& child = TestChild_Type_();
    EXPECT_EQ(child->IsSubType(child), 1);
    EXPECT_EQ(child->IsSubType(TestShared_Type_()), 1);
    EXPECT_EQ(child->IsSubType(ktstd_TShared_Type_()), 1);
    EXPECT_EQ(child->IsSubType(ktstd_Transient_Type_()), 1);
    EXPECT_EQ(child->IsSubType(TestOther_Type_()), 0);
    EXPECT_EQ(child->IsSubType(Hnd_ktstd_Type()), 0) << "null is no class";
    EXPECT_EQ(TestShared_Type_()->IsSubType(child), 0) << "the other way round";
    EXPECT_EQ(ktstd_Transient_Type_()->IsSubType(ktstd_Transient_Type_()), 1);
    EXPECT_EQ(ktstd_Transient_Type_()->IsSubType(ktstd_TShared_Type_()), 0);
}

TEST(ktstd_Type, MadeWithoutNameAndAncestorsHasEmptyOnes)
{
    const Hnd_ktstd_Type type(new ktstd_Type(nullptr, 8, 0, nullptr));
    expectType(type, "", 8, {});
    EXPECT_EQ(type->NbParents(), 0);
    EXPECT_EQ(type->IsSubType(type), 1);
    EXPECT_EQ(type->IsSubType(ktstd_Transient_Type_()), 0);
}

TEST(ktstd_Type, ClassesGiveTheirDescriptor)
{
    EXPECT_EQ(&ktstd_Type::TypeOfClass(), &ktstd_Type_Type_());
    EXPECT_EQ(&ktstd_Transient::TypeOfClass(), &ktstd_Transient_Type_());
    EXPECT_EQ(&ktstd_TShared::TypeOfClass(), &ktstd_TShared_Type_());
    expectType(ktstd_Type_Type_(), "ktstd_Type", sizeof(ktstd_Type), {ktstd_Transient_Type_()});
    EXPECT_EQ(ktstd_Type_Type_()->NbParents(), 1);
    EXPECT_EQ(ktstd_Transient_Type_()->NbParents(), 0);
}
