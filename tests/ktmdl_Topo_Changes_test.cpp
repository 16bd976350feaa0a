// What differs between a reference's cached data and its live object.

#include "com/Com.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktstd/ktstd_fail.h"
#include "support/FakeDispatch.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

const char* const kSource = "ktmdl_Topo.cpp";
const HRESULT kGone = static_cast<HRESULT>(0x80010108u);
const std::array<double, 6> kDefaultBox = {0, 0, 0, 0, 0, 0};

using Topos = std::vector<Hnd_ktmdl_Topo>;

//! The arguments of HasChanged, filled with lists that can be told from new ones.
struct Arguments
{
    Arguments()
    {
        for (std::size_t i = 0; i < 8; ++i) {
            mOld[i] = listOf({});
            lists[i] = mOld[i];
        }
    }

    unsigned Ask(const Hnd_ktmdl_Topo& aTopo, unsigned char aQuick)
    {
        return aTopo->HasChanged(aQuick, box, lists[0], lists[1], lists[2], lists[3], lists[4],
                                 lists[5], lists[6], lists[7]);
    }
    [[nodiscard]] Topos List(std::size_t aNumber) const { return elementsOf(lists[aNumber - 1]); }
    //! Checks that lists are those that were given, and empty as they were.
    void ExpectUntouched(std::size_t aFirst, std::size_t aLast) const
    {
        for (std::size_t i = aFirst; i <= aLast; ++i) {
            EXPECT_EQ(lists[i - 1], mOld[i - 1]) << "list " << i;
            EXPECT_EQ(List(i).size(), 0u) << "list " << i;
        }
    }
    //! Checks that lists are new ones.
    void ExpectNew(std::size_t aFirst, std::size_t aLast) const
    {
        for (std::size_t i = aFirst; i <= aLast; ++i) {
            EXPECT_NE(lists[i - 1], mOld[i - 1]) << "list " << i;
            EXPECT_EQ(lists[i - 1].IsNull(), 0) << "list " << i;
        }
    }

    ktmdl_BBox3d box{9, 9, 9, 9, 9, 9};
    Hnd_ktmdl_TopoHSeq lists[8];

private:
    Hnd_ktmdl_TopoHSeq mOld[8];
};

//! What is the same for the edges of a face and the faces of a body.
struct Group
{
    unsigned char type; //!< of the parent
    unsigned char childType;
    const wchar_t* property;
    const char* name;
    const char* pointer;
    std::size_t firstList;
    unsigned countBit;
    unsigned boxBit;
    std::size_t cached; //!< element of mSubTopos
};

const Group kGroups[] = {{3, 2, L"Edges", "Edges", "pEdges", 1, 2, 4, 0},
                         {4, 2, L"Edges", "Edges", "pEdges", 1, 2, 4, 0},
                         {5, 2, L"Edges", "Edges", "pEdges", 1, 2, 4, 0},
                         {6, 5, L"Faces", "Faces", "pFaces", 5, 8, 16, 1},
                         {7, 5, L"Faces", "Faces", "pFaces", 5, 8, 16, 1}};

//! A parent whose cached children A and B are alive. Children have no range, so that their boxes
//! are the default box, unless a test gives them one.
struct Family
{
    Family(Scene& aScene, const Group& aGroup)
        : group(aGroup),
          scene(aScene),
          objectA(aScene.Keyed("A", {10})),
          objectB(aScene.Keyed("B", {11})),
          objectC(aScene.Keyed("C", {12})),
          parent(aScene.Keyed("parent", {1})),
          topo(newTopo(parent, aGroup.type))
    {
        A = newTopo(objectA, aGroup.childType);
        B = newTopo(objectB, aGroup.childType);
        topo->mSubTopos[aGroup.cached] = listOf({A, B});
        SetItems({&objectA, &objectB});
    }

    void SetItems(const std::vector<fake::Object*>& aItems)
    {
        parent.Property(group.property, fake::givesObject(&scene.Collection(group.name, aItems)));
        scene.world.Forget();
    }
    [[nodiscard]] std::size_t First() const { return group.firstList; }
    //! Checks that the lists of the other group are as they were.
    void ExpectOthersUntouched(const Arguments& aArguments) const
    {
        const std::size_t other = group.firstList == 1 ? 5 : 1;
        aArguments.ExpectUntouched(other, other + 3);
    }
    //! The calls that read the collection and its count.
    [[nodiscard]] std::vector<std::string> CollectionCalls() const
    {
        const std::string name = group.name;
        return {"parent." + name + "?", "parent.get " + name + "(I4 1)", name + ".get 23()"};
    }
    [[nodiscard]] std::vector<std::string> ItemCalls(int aIdx, const std::string& aItem) const
    {
        return joined(
            {{std::string(group.name) + ".0(I4 " + std::to_string(aIdx) + ")"}, keyCalls(aItem)});
    }

    const Group& group;
    Scene& scene;
    fake::Object& objectA;
    fake::Object& objectB;
    fake::Object& objectC;
    fake::Object& parent;
    Hnd_ktmdl_Topo topo;
    Hnd_ktmdl_Topo A;
    Hnd_ktmdl_Topo B;
};

//! The look-up of a range that isn't there.
std::vector<std::string> noBoxCalls(const std::string& aName)
{
    return {aName + ".GetExactRange?"};
}

ktmdl_BBox3d realBox()
{
    return ktmdl_BBox3d(1, 2, 3, 4, 5, 6);
}

Hnd_ktmdl_Topo edgeWithBox(const ktmdl_BBox3d& aBox, unsigned char aType)
{
    Hnd_ktmdl_Topo topo = newTopo(Bytes{1});
    topo->tplType = aType;
    topo->mBBox = aBox;
    return topo;
}

} // namespace

// The box

TEST(ktmdl_Topo, HasChangedOfAnEdgeWithTheDefaultBoxIsZero)
{
    for (unsigned char type = 1; type <= 2; ++type) {
        Scene scene;
        fake::Object& object = scene.Keyed("edge", {1}, {1, 1, 1}, {2, 2, 2});
        const Hnd_ktmdl_Topo topo = newTopo(object, type);
        scene.world.Forget();
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(topo, 0), 0u);
        EXPECT_EQ(arguments.Ask(topo, 1), 0u);
        EXPECT_EQ(cornersOf(arguments.box), kDefaultBox);
        arguments.ExpectUntouched(1, 8);
        scene.ExpectNoCalls();
        scene.ExpectLog({});
    }
}

TEST(ktmdl_Topo, HasChangedOfAnEdgeWithARealBoxIsOne)
{
    for (unsigned char type = 1; type <= 2; ++type) {
        Scene scene;
        const Hnd_ktmdl_Topo topo = edgeWithBox(realBox(), type);
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(topo, 0), 1u);
        EXPECT_EQ(arguments.Ask(topo, 1), 1u);
        EXPECT_EQ(cornersOf(arguments.box), kDefaultBox);
        EXPECT_EQ(cornersOf(topo->mBBox), corners({1, 2, 3}, {4, 5, 6}));
        arguments.ExpectUntouched(1, 8);
    }
}

TEST(ktmdl_Topo, HasChangedComparesTheBoxWithinTheTolerance)
{
    Scene scene;
    Arguments arguments;
    EXPECT_EQ(arguments.Ask(edgeWithBox(ktmdl_BBox3d(9e-7, 0, -9e-7, 0, 9e-7, 0), 2), 0), 0u);
    for (int i = 0; i < 6; ++i) {
        double c[6] = {};
        c[i] = 1.1e-6;
        EXPECT_EQ(
            arguments.Ask(edgeWithBox(ktmdl_BBox3d(c[0], c[1], c[2], c[3], c[4], c[5]), 2), 0), 1u)
            << i;
    }
}

TEST(ktmdl_Topo, HasChangedGivesTheDefaultBoxWhateverTheObjectsRange)
{
    for (const Group& group : kGroups) {
        Scene scene;
        const Family family(scene, group);
        scriptBox(family.parent, {1, 2, 3}, {4, 5, 6});
        family.topo->mBBox = realBox();
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 0), 1u);
        EXPECT_EQ(cornersOf(arguments.box), kDefaultBox);
        EXPECT_EQ(scene.world.CountOf("parent.GetExactRange*"), 0);
    }
}

TEST(ktmdl_Topo, QuickHasChangedReturnsAtTheBox)
{
    for (const Group& group : kGroups) {
        for (const unsigned char quick :
             {static_cast<unsigned char>(1), static_cast<unsigned char>(2),
              static_cast<unsigned char>(255)}) {
            Scene scene;
            const Family family(scene, group);
            family.topo->mBBox = realBox();
            Arguments arguments;
            EXPECT_EQ(arguments.Ask(family.topo, quick), 1u);
            EXPECT_EQ(cornersOf(arguments.box), kDefaultBox);
            arguments.ExpectUntouched(1, 8);
            scene.ExpectNoCalls();
        }
    }
}

// Types

TEST(ktmdl_Topo, HasChangedOfAnUnknownTypeIsAFailure)
{
    for (const int type : {0, 8, 255}) {
        Scene scene;
        const Hnd_ktmdl_Topo topo = edgeWithBox(ktmdl_BBox3d(), static_cast<unsigned char>(type));
        for (const unsigned char quick :
             {static_cast<unsigned char>(0), static_cast<unsigned char>(1)}) {
            Arguments arguments;
            try {
                (void)arguments.Ask(topo, quick);
                ADD_FAILURE() << "no failure for " << type;
            } catch (const Hnd_ktstd_fail_ProgramError& failure) {
                EXPECT_EQ(failure->Message(),
                          "ktmdl_Topo::HasChangedBAD tplType: " + std::to_string(type));
            }
            EXPECT_EQ(cornersOf(arguments.box), kDefaultBox);
            arguments.ExpectUntouched(1, 8);
        }
        scene.ExpectLog({});
    }
}

TEST(ktmdl_Topo, HasChangedOfAnUnknownTypeWithARealBoxFailsUnlessQuick)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = edgeWithBox(realBox(), 0);
    Arguments arguments;
    EXPECT_EQ(arguments.Ask(topo, 1), 1u);
    EXPECT_THROW((void)arguments.Ask(topo, 0), Hnd_ktstd_fail_ProgramError);
}

// Children

TEST(ktmdl_Topo, HasChangedOfUnchangedChildrenIsZero)
{
    for (const Group& group : kGroups) {
        for (const unsigned char quick :
             {static_cast<unsigned char>(0), static_cast<unsigned char>(1)}) {
            Scene scene;
            const Family family(scene, group);
            Arguments arguments;
            EXPECT_EQ(arguments.Ask(family.topo, quick), 0u);
            arguments.ExpectNew(family.First(), family.First() + 3);
            EXPECT_EQ(arguments.List(family.First()), (Topos{family.A, family.B}));
            EXPECT_EQ(arguments.List(family.First() + 1), Topos());
            EXPECT_EQ(arguments.List(family.First() + 2), Topos());
            EXPECT_EQ(arguments.List(family.First() + 3), Topos());
            family.ExpectOthersUntouched(arguments);
            scene.ExpectCalls(joined({family.CollectionCalls(), family.ItemCalls(1, "A"),
                                      noBoxCalls("A"), family.ItemCalls(2, "B"), noBoxCalls("B")}));
            scene.ExpectLog({});
        }
    }
}

TEST(ktmdl_Topo, HasChangedOfABodyAsksForFacesOnly)
{
    Scene scene;
    const Family family(scene, kGroups[3]);
    family.topo->mSubTopos[0] = listOf({newTopo(Bytes{77})}); // an edge that would be gone
    family.parent.Property(L"Edges", fake::fails(kGone));
    Arguments arguments;
    EXPECT_EQ(arguments.Ask(family.topo, 0), 0u);
    EXPECT_EQ(scene.world.CountOf("*Edges*"), 0);
}

TEST(ktmdl_Topo, HasChangedGivesCurrentChildrenInTheHostsOrder)
{
    for (const Group& group : kGroups) {
        Scene scene;
        Family family(scene, group);
        family.SetItems({&family.objectB, &family.objectA});
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 0), 0u);
        EXPECT_EQ(arguments.List(family.First()), (Topos{family.B, family.A}));
    }
}

TEST(ktmdl_Topo, HasChangedChangesNeitherBoxNorListsOfTheReference)
{
    for (const Group& group : kGroups) {
        Scene scene;
        Family family(scene, group);
        family.SetItems({&family.objectC});
        family.topo->mBBox = realBox();
        const Hnd_ktmdl_TopoHSeq cached = family.topo->mSubTopos[group.cached];
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 0), 1u | group.countBit);
        EXPECT_EQ(family.topo->mSubTopos[group.cached], cached);
        EXPECT_EQ(elementsOf(cached), (Topos{family.A, family.B}));
        EXPECT_EQ(family.topo->mSubTopos[1 - group.cached].IsNull(), 1);
        EXPECT_EQ(cornersOf(family.topo->mBBox), corners({1, 2, 3}, {4, 5, 6}));
    }
}

TEST(ktmdl_Topo, HasChangedBindsTheChildren)
{
    for (const Group& group : kGroups) {
        Scene scene;
        Family family(scene, group);
        fake::Object& document = scene.world.Make("document");
        fake::Object& again = scene.Keyed("A again", {10});
        family.SetItems({&again, &family.objectC});
        family.topo->mDispDoc = document.Ptr();
        family.A->tplType = 0;
        family.A->mIsSubTopo = 0;
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 0), group.countBit);
        const Topos current = arguments.List(family.First());
        ASSERT_EQ(current.size(), 2u);
        EXPECT_EQ(current[0], family.A);
        EXPECT_EQ(current[0]->mDispTopo.GetInterfacePtr(), &again);
        EXPECT_EQ(current[1]->mDispTopo.GetInterfacePtr(), &family.objectC);
        for (const Hnd_ktmdl_Topo& child : current) {
            EXPECT_EQ(child->tplType, group.childType);
            EXPECT_EQ(child->mIsSubTopo, 1);
            EXPECT_EQ(child->mDispDoc.GetInterfacePtr(), &document);
        }
        EXPECT_EQ(document.Held(), 3);
    }
}

TEST(ktmdl_Topo, HasChangedListsALostChild)
{
    for (const Group& group : kGroups) {
        Scene scene;
        Family family(scene, group);
        family.SetItems({&family.objectB});
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 0), group.countBit);
        EXPECT_EQ(arguments.List(family.First()), (Topos{family.B}));
        EXPECT_EQ(arguments.List(family.First() + 1), (Topos{family.A}));
        EXPECT_EQ(arguments.List(family.First() + 2), Topos());
        EXPECT_EQ(arguments.List(family.First() + 3), Topos());
        family.ExpectOthersUntouched(arguments);
    }
}

TEST(ktmdl_Topo, HasChangedListsAllChildrenOfAnEmptyCollectionAsLost)
{
    for (const Group& group : kGroups) {
        Scene scene;
        Family family(scene, group);
        family.SetItems({});
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 0), group.countBit);
        EXPECT_EQ(arguments.List(family.First() + 1), (Topos{family.A, family.B}));
    }
}

TEST(ktmdl_Topo, HasChangedListsANewChildAndGivesItItsBox)
{
    for (const Group& group : kGroups) {
        Scene scene;
        Family family(scene, group);
        scriptBox(family.objectC, {1, 2, 3}, {4, 5, 6});
        family.SetItems({&family.objectA, &family.objectC, &family.objectB});
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 0), group.countBit);
        const Topos fresh = arguments.List(family.First() + 2);
        ASSERT_EQ(fresh.size(), 1u);
        EXPECT_EQ(keyOf(fresh[0]), (Bytes{12}));
        EXPECT_EQ(cornersOf(fresh[0]->mBBox), corners({1, 2, 3}, {4, 5, 6}));
        EXPECT_EQ(arguments.List(family.First()), (Topos{family.A, fresh[0], family.B}));
        EXPECT_EQ(arguments.List(family.First() + 1), Topos());
        EXPECT_EQ(arguments.List(family.First() + 3), Topos());
        scene.ExpectCalls(joined({family.CollectionCalls(), family.ItemCalls(1, "A"),
                                  noBoxCalls("A"), family.ItemCalls(2, "C"), boxCalls("C"),
                                  family.ItemCalls(3, "B"), noBoxCalls("B")}));
    }
}

TEST(ktmdl_Topo, HasChangedOfAReplacedChildTellsBothThoughTheCountIsTheSame)
{
    for (const Group& group : kGroups) {
        Scene scene;
        Family family(scene, group);
        family.SetItems({&family.objectA, &family.objectC});
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 0), group.countBit);
        EXPECT_EQ(arguments.List(family.First() + 1), (Topos{family.B}));
        ASSERT_EQ(arguments.List(family.First() + 2).size(), 1u);
        EXPECT_EQ(keyOf(arguments.List(family.First() + 2)[0]), (Bytes{12}));
    }
}

TEST(ktmdl_Topo, HasChangedOfAReferenceWithoutCachedListTakesAllAsNew)
{
    for (const Group& group : kGroups) {
        Scene scene;
        const Family family(scene, group);
        family.topo->mSubTopos[group.cached] = Hnd_ktmdl_TopoHSeq();
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 0), group.countBit);
        EXPECT_EQ(arguments.List(family.First() + 1), Topos());
        EXPECT_EQ(arguments.List(family.First() + 2), (Topos{family.A, family.B}));
    }
}

TEST(ktmdl_Topo, HasChangedKnowsAChildByIdentityNotByKey)
{
    for (const Group& group : kGroups) {
        Scene scene;
        const Family family(scene, group);
        ktmdl_Topo::RemoveFromMap(family.A); // the host's A becomes another reference
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 0), group.countBit);
        EXPECT_EQ(arguments.List(family.First() + 1), (Topos{family.A}));
        ASSERT_EQ(arguments.List(family.First() + 2).size(), 1u);
        EXPECT_NE(arguments.List(family.First() + 2)[0], family.A);
        EXPECT_EQ(keyOf(arguments.List(family.First() + 2)[0]), (Bytes{10}));
    }
}

TEST(ktmdl_Topo, HasChangedLooksForLostChildrenByArithmeticOnly)
{
    for (const Group& group : kGroups) {
        Scene scene;
        Family family(scene, group);
        // B is gone, but two items for two cached children leave nothing to be missed.
        family.SetItems({&family.objectA, &family.objectA});
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 0), 0u);
        EXPECT_EQ(arguments.List(family.First()), (Topos{family.A, family.A}));
        EXPECT_EQ(arguments.List(family.First() + 1), Topos());
    }
}

// Boxes of children

TEST(ktmdl_Topo, HasChangedListsAChildWithARealBoxAsAltered)
{
    for (const Group& group : kGroups) {
        Scene scene;
        const Family family(scene, group);
        scriptBox(family.objectB, {7, 7, 7}, {8, 8, 8});
        family.B->mBBox = realBox();
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 0), group.boxBit);
        EXPECT_EQ(arguments.List(family.First() + 3), (Topos{family.B}));
        EXPECT_EQ(arguments.List(family.First()), (Topos{family.A, family.B}));
        EXPECT_EQ(cornersOf(family.B->mBBox), corners({1, 2, 3}, {4, 5, 6})) << "kept as it was";
        EXPECT_EQ(scene.world.CountOf("B.GetExactRange*"), 0);
    }
}

TEST(ktmdl_Topo, HasChangedFillsADegenerateBox)
{
    for (const Group& group : kGroups) {
        Scene scene;
        const Family family(scene, group);
        scriptBox(family.objectA, {7, 7, 7}, {8, 8, 8});
        family.A->mBBox = ktmdl_BBox3d(3, 4, 5, 3, 4, 5);
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 0), group.boxBit);
        EXPECT_EQ(cornersOf(family.A->mBBox), corners({7, 7, 7}, {8, 8, 8}));
        EXPECT_EQ(arguments.List(family.First() + 3), (Topos{family.A}))
            << "it differs from the default box";
    }
}

TEST(ktmdl_Topo, HasChangedFillsExactlyDegenerateBoxesOnly)
{
    for (int i = 0; i < 3; ++i) {
        Scene scene;
        const Family family(scene, kGroups[2]);
        scriptBox(family.objectA, {7, 7, 7}, {8, 8, 8});
        double c[6] = {};
        c[i + 3] = 1e-12;
        family.A->mBBox = ktmdl_BBox3d(c[0], c[1], c[2], c[3], c[4], c[5]);
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 0), 0u) << "still the default box within 1e-6";
        EXPECT_EQ(cornersOf(family.A->mBBox)[static_cast<std::size_t>(i) + 3], 1e-12);
    }
}

TEST(ktmdl_Topo, HasChangedLogsAChildsFailingBoxAndGoesOn)
{
    Scene scene;
    const Family family(scene, kGroups[2]);
    family.objectA.Method(L"GetExactRange", fake::fails(kGone));
    Arguments arguments;
    EXPECT_EQ(arguments.Ask(family.topo, 0), 0u);
    scene.ExpectLog({caughtForm(kSource, "ktmdl_Topo::BuildBBox", kGone)});
}

TEST(ktmdl_Topo, HasChangedSetsAllBitsOfAGroup)
{
    for (const Group& group : kGroups) {
        Scene scene;
        Family family(scene, group);
        family.topo->mBBox = realBox();
        family.A->mBBox = realBox();
        family.SetItems({&family.objectA, &family.objectC, &family.objectB});
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 0), 1u | group.countBit | group.boxBit);
        EXPECT_EQ(arguments.List(family.First() + 3), (Topos{family.A}));
        EXPECT_EQ(arguments.List(family.First() + 2).size(), 1u);
    }
}

// The quick way

TEST(ktmdl_Topo, QuickHasChangedReturnsAtTheCount)
{
    for (const Group& group : kGroups) {
        Scene scene;
        Family family(scene, group);
        family.SetItems({&family.objectA});
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 1), group.countBit);
        arguments.ExpectUntouched(1, 8);
        scene.ExpectCalls(family.CollectionCalls());
    }
}

TEST(ktmdl_Topo, QuickHasChangedReturnsAtTheFirstNewChild)
{
    for (const Group& group : kGroups) {
        Scene scene;
        Family family(scene, group);
        family.SetItems({&family.objectC, &family.objectB});
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 1), group.countBit);
        EXPECT_EQ(arguments.List(family.First()), Topos());
        EXPECT_EQ(arguments.List(family.First() + 1), Topos());
        ASSERT_EQ(arguments.List(family.First() + 2).size(), 1u);
        EXPECT_EQ(keyOf(arguments.List(family.First() + 2)[0]), (Bytes{12}));
        arguments.ExpectNew(family.First(), family.First() + 3);
        family.ExpectOthersUntouched(arguments);
        scene.ExpectCalls(
            joined({family.CollectionCalls(), family.ItemCalls(1, "C"), noBoxCalls("C")}));
    }
}

TEST(ktmdl_Topo, QuickHasChangedReturnsAtTheFirstAlteredChild)
{
    for (const Group& group : kGroups) {
        Scene scene;
        const Family family(scene, group);
        family.A->mBBox = realBox();
        family.B->mBBox = realBox();
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 1), group.boxBit);
        EXPECT_EQ(arguments.List(family.First()), Topos());
        EXPECT_EQ(arguments.List(family.First() + 3), (Topos{family.A}));
        scene.ExpectCalls(joined({family.CollectionCalls(), family.ItemCalls(1, "A")}));
    }
}

// Failures

TEST(ktmdl_Topo, HasChangedLogsAndRaisesAMissingCollection)
{
    for (const Group& group : kGroups) {
        Scene scene;
        const Family family(scene, group);
        family.parent.Property(group.property, fake::givesObject(nullptr));
        Arguments arguments;
        EXPECT_EQ(codeOf([&] { (void)arguments.Ask(family.topo, 0); }), E_POINTER);
        arguments.ExpectUntouched(1, 8);
        EXPECT_EQ(cornersOf(arguments.box), kDefaultBox);
        scene.ExpectLog({nullPointerForm(kSource, group.pointer)});
    }
}

TEST(ktmdl_Topo, HasChangedRaisesAFailureBeforeTheListsAreMade)
{
    for (const Group& group : kGroups) {
        for (int stage = 0; stage < 3; ++stage) {
            Scene scene;
            const Family family(scene, group);
            fake::Object& collection = scene.world.Make("collection");
            collection.Property(23, fake::fails(kGone));
            if (stage == 0) {
                family.parent.FailName(group.property, kGone);
            } else if (stage == 1) {
                family.parent.Property(group.property, fake::fails(kGone));
            } else {
                family.parent.Property(group.property, fake::givesObject(&collection));
            }
            Arguments arguments;
            EXPECT_EQ(codeOf([&] { (void)arguments.Ask(family.topo, 0); }), kGone) << stage;
            arguments.ExpectUntouched(1, 8);
            scene.ExpectLog({});
        }
    }
}

TEST(ktmdl_Topo, HasChangedRaisesAFailureOfAnItemAndLeavesTheListsWithWhatTheyHold)
{
    for (const Group& group : kGroups) {
        for (int stage = 0; stage < 3; ++stage) {
            Scene scene;
            Family family(scene, group);
            family.A->mBBox = realBox();
            HRESULT wanted = kGone;
            if (stage == 0) {
                family.objectB.Method(L"GetReferenceKey", fake::fails(kGone));
            } else if (stage == 1) {
                family.objectB.FailName(L"GetReferenceKey", kGone);
            } else {
                family.SetItems({&family.objectA, nullptr});
                wanted = E_POINTER;
            }
            Arguments arguments;
            EXPECT_EQ(codeOf([&] { (void)arguments.Ask(family.topo, 0); }), wanted) << stage;
            arguments.ExpectNew(family.First(), family.First() + 3);
            family.ExpectOthersUntouched(arguments);
            EXPECT_EQ(arguments.List(family.First()), (Topos{family.A}));
            EXPECT_EQ(arguments.List(family.First() + 1), Topos());
            EXPECT_EQ(arguments.List(family.First() + 2), Topos());
            EXPECT_EQ(arguments.List(family.First() + 3), (Topos{family.A}));
            scene.ExpectLog({});
        }
    }
}

TEST(ktmdl_Topo, HasChangedRaisesAFailingItemCall)
{
    Scene scene;
    const Family family(scene, kGroups[2]);
    fake::Object& collection = scene.world.Make("collection");
    collection.Property(23, fake::givesNumber(2));
    collection.Method(DISPID{0}, fake::fails(kGone));
    family.parent.Property(L"Edges", fake::givesObject(&collection));
    Arguments arguments;
    EXPECT_EQ(codeOf([&] { (void)arguments.Ask(family.topo, 0); }), kGone);
    arguments.ExpectNew(1, 4);
    EXPECT_EQ(collection.Held(), 0);
}

TEST(ktmdl_Topo, HasChangedOfAnUnboundFaceRaises)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = newTopo(Bytes{1});
    topo->tplType = 5;
    Arguments arguments;
    EXPECT_EQ(codeOf([&] { (void)arguments.Ask(topo, 0); }), E_POINTER);
    arguments.ExpectUntouched(1, 8);
}

TEST(ktmdl_Topo, HasChangedLetsGoOfTheCollectionAndItsMaps)
{
    for (const Group& group : kGroups) {
        Scene scene;
        Family family(scene, group);
        fake::Object& collection = scene.Collection("collection", {&family.objectA});
        family.parent.Property(group.property, fake::givesObject(&collection));
        const long count = family.A->RefCount();
        {
            Arguments arguments;
            EXPECT_EQ(arguments.Ask(family.topo, 0), group.countBit);
            EXPECT_EQ(arguments.Ask(family.topo, 1), group.countBit);
        }
        EXPECT_EQ(collection.Held(), 0);
        EXPECT_EQ(family.A->RefCount(), count);
    }
}

TEST(ktmdl_Topo, HasChangedAfterBuildPersistentDataSeesEveryChildAlteredAndTheBox)
{
    Scene scene;
    Family family(scene, kGroups[2]);
    scriptBox(family.parent, {0, 0, 0}, {1, 1, 1});
    scriptBox(family.objectA, {0, 0, 0}, {1, 0, 0});
    scriptBox(family.objectB, {0, 0, 0}, {0, 1, 0});
    EXPECT_EQ(family.topo->BuildPersistentData(), 0);
    Arguments arguments;
    EXPECT_EQ(arguments.Ask(family.topo, 0), 1u | 4u);
    EXPECT_EQ(arguments.List(4), (Topos{family.A, family.B}));
}

TEST(ktmdl_Topo, HasChangedPassesOverNullChildren)
{
    for (const Group& group : kGroups) {
        Scene scene;
        Family family(scene, group);
        family.topo->mSubTopos[group.cached] = listOf({Hnd_ktmdl_Topo(), family.A, family.B});
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(family.topo, 0), group.countBit);
        EXPECT_EQ(arguments.List(group.firstList).size(), 2u);
        EXPECT_EQ(arguments.List(group.firstList + 1).size(), 0u) << "gone";
    }
}

// The comparison step by step

namespace {

//! What a check of a body's faces gives and asks, written down from its steps with plain sets.
struct Comparison
{
    unsigned bits{0};
    bool hasLists{false};
    Topos current;
    Topos gone;
    Topos fresh;
    Topos altered;
    std::vector<std::string> calls;
};

//! The objects that a body may have as faces. Every second has a range.
struct Faces
{
    explicit Faces(Scene& aScene)
    {
        for (unsigned char i = 0; i < 12; ++i) {
            const std::string name = "f" + std::to_string(i);
            const Bytes key = {static_cast<unsigned char>(100 + i)};
            objects.push_back(i % 2 == 0 ? &aScene.Keyed(name, key)
                                         : &aScene.Keyed(name, key, {1, 2, 3}, {4, 5, 6}));
            topos.push_back(newTopo(key));
        }
    }
    [[nodiscard]] bool HasRange(std::size_t aIdx) const { return aIdx % 2 != 0; }

    std::vector<fake::Object*> objects;
    Topos topos; //!< registered
};

Comparison comparePlainly(const Faces& aFaces, const Topos& aCached,
                          const std::vector<std::size_t>& aItems, bool aQuick)
{
    Comparison result;
    result.calls = {"parent.Faces?", "parent.get Faces(I4 1)", "Faces.get 23()"};
    if (aItems.size() != aCached.size()) {
        result.bits = 8;
        if (aQuick) {
            return result;
        }
    }
    result.hasLists = true;
    std::set<const ktmdl_Topo*> old;
    for (const Hnd_ktmdl_Topo& topo : aCached) {
        if (topo.IsNull() == 0) {
            old.insert(&*topo);
        }
    }
    std::set<const ktmdl_Topo*> seen;
    std::map<const ktmdl_Topo*, bool> hasBox;
    for (const Hnd_ktmdl_Topo& topo : aFaces.topos) {
        hasBox[&*topo] = cornersOf(topo->mBBox) != kDefaultBox;
    }
    for (std::size_t i = 0; i < aItems.size(); ++i) {
        const std::size_t item = aItems[i];
        const std::string name = "f" + std::to_string(item);
        result.calls =
            joined({result.calls, {"Faces.0(I4 " + std::to_string(i + 1) + ")"}, keyCalls(name)});
        const Hnd_ktmdl_Topo& child = aFaces.topos[item];
        const bool isOld = old.count(&*child) != 0;
        if (!isOld || !hasBox[&*child]) {
            hasBox[&*child] = aFaces.HasRange(item);
            result.calls =
                joined({result.calls, aFaces.HasRange(item) ? boxCalls(name) : noBoxCalls(name)});
        }
        unsigned difference = 0;
        if (!isOld) {
            result.fresh.push_back(child);
            difference = 8;
        } else {
            seen.insert(&*child);
            if (hasBox[&*child]) {
                result.altered.push_back(child);
                difference = 16;
            }
        }
        result.bits |= difference;
        if (difference != 0 && aQuick) {
            return result;
        }
        result.current.push_back(child);
    }
    if (result.fresh.size() + aCached.size() > aItems.size()) {
        for (const Hnd_ktmdl_Topo& topo : aCached) {
            if (topo.IsNull() == 0 && seen.count(&*topo) == 0) {
                result.gone.push_back(topo);
            }
        }
    }
    return result;
}

} // namespace

TEST(ktmdl_Topo, HasChangedComparesAsItsStepsDo)
{
    std::mt19937 random(1);
    const auto below = [&random](std::size_t count) { return random() % count; };
    for (int round = 0; round < 1000; ++round) {
        Scene scene;
        const Faces faces(scene);
        // Cached children, some twice, some null, some that the host never knew.
        Topos cached;
        std::vector<std::size_t> items;
        for (std::size_t i = below(12); i > 0; --i) {
            const std::size_t kind = below(20);
            const std::size_t face = below(faces.topos.size());
            cached.push_back(kind == 0   ? Hnd_ktmdl_Topo()
                             : kind == 1 ? Hnd_ktmdl_Topo(new ktmdl_Topo)
                                         : faces.topos[face]);
            if (kind > 1) {
                items.push_back(face);
            }
        }
        // The host's: mostly in that order, with some more, some less and some moved.
        for (std::size_t i = below(4); i > 0; --i) {
            const auto at = [&](std::size_t extra) {
                return items.begin() + static_cast<std::ptrdiff_t>(below(items.size() + extra));
            };
            const std::size_t change = below(3);
            if (change == 0 || items.empty()) {
                items.insert(at(1), below(faces.topos.size()));
            } else if (change == 1) {
                items.erase(at(0));
            } else {
                std::iter_swap(at(0), at(0));
            }
        }
        for (const Hnd_ktmdl_Topo& topo : faces.topos) {
            topo->mBBox = below(2) == 0 ? realBox() : ktmdl_BBox3d();
        }
        std::vector<fake::Object*> current;
        for (const std::size_t item : items) {
            current.push_back(faces.objects[item]);
        }
        fake::Object& parent = scene.Keyed("parent", {1});
        parent.Property(L"Faces", fake::givesObject(&scene.Collection("Faces", current)));
        const Hnd_ktmdl_Topo topo = newTopo(parent, 6);
        topo->mSubTopos[1] = listOf(cached);
        scene.world.Forget();

        const bool isQuick = below(3) == 0;
        const Comparison expected = comparePlainly(faces, cached, items, isQuick);
        Arguments arguments;
        EXPECT_EQ(arguments.Ask(topo, isQuick ? 1 : 0), expected.bits);
        scene.ExpectCalls(expected.calls);
        if (expected.hasLists) {
            arguments.ExpectNew(5, 8);
        } else {
            arguments.ExpectUntouched(5, 8);
        }
        EXPECT_EQ(arguments.List(5), expected.current);
        EXPECT_EQ(arguments.List(6), expected.gone);
        EXPECT_EQ(arguments.List(7), expected.fresh);
        EXPECT_EQ(arguments.List(8), expected.altered);
        if (HasFailure()) {
            FAIL() << "round " << round;
        }
    }
}
