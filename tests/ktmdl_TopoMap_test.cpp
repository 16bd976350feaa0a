#include "ktmdl/ktmdl_TopoMap.h"

#include "ktmdl/ktmdl_Topo.h"
#include "ktstd/ktstd_MapIntegerHasher.h"
#include "ktstd/ktstd_SeqNode.h"
#include "support/Failures.h"
#include "support/Records.h"
#include "support/SharedClass.h"
#include "support/TestTopo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

using kt_test::makeTopo;
using kt_test::raises;
using kt_test::raisesClass;
using kt_test::TestTopo;
using kt_test::TopoGuard;

static_assert(kt_test::keepsInheritedOperations<ktmdl_StdMapNodeOfTopoMap>);
static_assert(kt_test::keepsInheritedRecord<ktmdl_StdMapNodeOfTopoMap>);
static_assert(kt_test::hasOwnType<ktmdl_StdMapNodeOfTopoMap>);

namespace {

using Topos = std::vector<Hnd_ktmdl_Topo>;
using Key = std::vector<unsigned char>;

constexpr char kNoKey[] = "ktstd_MapIterator::Key";
constexpr char kNotEmpty[] = "ktstd_Map: copy of non-empty Map";

//! A map whose kernel state can be set.
class Probe : public ktmdl_TopoMap
{
public:
    using ktmdl_TopoMap::ktmdl_TopoMap;
    using ktstd_BasicMap::SuppressGrowth;

    void setNbBuckets(long aNbBuckets) { mNbBuckets = aNbBuckets; }
    [[nodiscard]] unsigned char isOneArray() const { return mIsOneArray; }
};

//! The references in the order of iteration.
Topos toposOf(const ktmdl_TopoMap& aMap)
{
    Topos topos;
    for (ktmdl_MapIteratorOfTopoMap i(aMap); i.More() != 0; i.Next()) {
        topos.push_back(i.Key());
    }
    return topos;
}

//! References of one and the same key, which therefore share a bucket.
Topos sameKeys(int aCount)
{
    Topos topos;
    for (int i = 0; i < aCount; ++i) {
        topos.push_back(makeTopo({1, 2, 3}));
    }
    return topos;
}

//! References of different keys.
Topos manyTopos(int aCount)
{
    Topos topos;
    for (int i = 0; i < aCount; ++i) {
        topos.push_back(
            makeTopo({static_cast<unsigned char>(i % 251), static_cast<unsigned char>(i / 251)}));
    }
    return topos;
}

Topos reversed(Topos aTopos)
{
    std::reverse(aTopos.begin(), aTopos.end());
    return aTopos;
}

Hnd_ktmdl_Topo find(const ktmdl_TopoMap& aMap, const Key& aKey)
{
    // A copy that may be changed, as the keys of hosts may.
    Key key(aKey);
    return aMap.FindByKey(static_cast<long>(key.size()), key.data());
}

} // namespace

TEST(ktmdl_TopoMap, NewMapIsEmpty)
{
    const ktmdl_TopoMap map(7);
    EXPECT_EQ(map.Extent(), 0);
    EXPECT_EQ(map.IsEmpty(), 1);
    EXPECT_EQ(map.NbBuckets(), 7);
    EXPECT_TRUE(toposOf(map).empty());
}

TEST(ktmdl_TopoMap, HasOneArrayOfBuckets)
{
    const Probe map(7);
    EXPECT_EQ(map.isOneArray(), 1);
    const Probe copy(map);
    EXPECT_EQ(copy.isOneArray(), 1);
}

TEST(ktmdl_TopoMap, AddTakesTheVeryObjectOnce)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    ktmdl_TopoMap map(0);
    EXPECT_EQ(map.Add(topo), 1);
    EXPECT_EQ(map.Extent(), 1);
    EXPECT_EQ(map.IsEmpty(), 0);
    EXPECT_EQ(topo->RefCount(), 2);
    EXPECT_EQ(map.Add(topo), 0);
    EXPECT_EQ(map.Extent(), 1);
    EXPECT_EQ(topo->RefCount(), 2);
    EXPECT_EQ(toposOf(map), Topos{topo});
}

TEST(ktmdl_TopoMap, EveryInitialSizeTakesItsFirstKey)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    for (const long size : {0L, 1L, 2L, 100L, -1L}) {
        ktmdl_TopoMap map(size);
        EXPECT_EQ(map.Add(topo), 1) << size;
        EXPECT_EQ(map.Contains(topo), 1) << size;
    }
    EXPECT_EQ(topo->RefCount(), 1);
}

TEST(ktmdl_TopoMap, EqualKeysOfTwoObjectsAreBothKept)
{
    const TopoGuard guard;
    const Topos topos = sameKeys(3);
    ktmdl_TopoMap map(16);
    EXPECT_EQ(map.Add(topos[0]), 1);
    EXPECT_EQ(map.Contains(topos[1]), 0) << "an equal key is not the same object";
    EXPECT_EQ(map.Remove(topos[1]), 0);
    EXPECT_EQ(map.Add(topos[1]), 1);
    EXPECT_EQ(map.Extent(), 2);
    EXPECT_EQ(map.Contains(topos[0]), 1);
    EXPECT_EQ(map.Contains(topos[1]), 1);
    EXPECT_EQ(map.Contains(topos[2]), 0);
}

TEST(ktmdl_TopoMap, AddTakesTheObjectThatAnotherMapHolds)
{
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    ktmdl_TopoMap first(1);
    EXPECT_EQ(first.Add(topo), 1);
    {
        ktmdl_TopoMap second(1);
        EXPECT_EQ(second.Add(topo), 1);
        EXPECT_EQ(second.Add(topo), 0);
    }
    EXPECT_EQ(first.Add(topo), 0);
    EXPECT_EQ(first.Remove(topo), 1);
    EXPECT_EQ(first.Add(topo), 1);
    EXPECT_EQ(first.Extent(), 1);
}

TEST(ktmdl_TopoMap, AddOfManyReferencesOfOneKeyTakesTimeForEachAlone)
{
    // Walking the common bucket at each would take 2e10 steps.
    const auto start = std::chrono::steady_clock::now();
    const Topos topos = sameKeys(200000);
    ktmdl_TopoMap map(1);
    for (const Hnd_ktmdl_Topo& topo : topos) {
        ASSERT_EQ(map.Add(topo), 1);
    }
    map.Clear();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(ktmdl_TopoMap, EmptyMapIsAskedWithoutHashing)
{
    // Hashing a null handle would raise.
    const TopoGuard guard;
    ktmdl_TopoMap map(4);
    EXPECT_EQ(map.Contains(Hnd_ktmdl_Topo()), 0);
    EXPECT_EQ(map.Remove(Hnd_ktmdl_Topo()), 0);
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    map.Add(topo);
    map.Remove(topo);
    EXPECT_EQ(map.Contains(Hnd_ktmdl_Topo()), 0);
    EXPECT_EQ(map.Remove(Hnd_ktmdl_Topo()), 0);
}

TEST(ktmdl_TopoMap, NullHandleRaises)
{
    const TopoGuard guard;
    using Null = Hnd_ktstd_fail_NullObject;
    ktmdl_TopoMap map(4);
    EXPECT_TRUE(raisesClass<Null>([&] { map.Add(Hnd_ktmdl_Topo()); }));
    EXPECT_EQ(map.Extent(), 0);
    map.Add(makeTopo({1}));
    EXPECT_TRUE(raisesClass<Null>([&] { map.Add(Hnd_ktmdl_Topo()); }));
    EXPECT_TRUE(raisesClass<Null>([&] { static_cast<void>(map.Contains(Hnd_ktmdl_Topo())); }));
    EXPECT_TRUE(raisesClass<Null>([&] { map.Remove(Hnd_ktmdl_Topo()); }));
    EXPECT_EQ(map.Extent(), 1);
}

TEST(ktmdl_TopoMap, RemoveReleasesTheObject)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    ktmdl_TopoMap map(1);
    map.Add(topo);
    map.Add(makeTopo({2}));
    EXPECT_EQ(map.Remove(topo), 1);
    EXPECT_EQ(topo->RefCount(), 1);
    EXPECT_EQ(map.Extent(), 1);
    EXPECT_EQ(map.Contains(topo), 0);
    EXPECT_EQ(map.Remove(topo), 0);
    EXPECT_EQ(map.Extent(), 1);
}

TEST(ktmdl_TopoMap, RemoveOfTheOnlyKeyEmptiesAndTheNextAddWorks)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    ktmdl_TopoMap map(1);
    map.Add(topo);
    EXPECT_EQ(map.Remove(topo), 1);
    EXPECT_EQ(map.Extent(), 0);
    EXPECT_EQ(map.IsEmpty(), 1);
    EXPECT_TRUE(toposOf(map).empty());
    EXPECT_EQ(map.Add(topo), 1);
    EXPECT_EQ(toposOf(map), Topos{topo});
}

TEST(ktmdl_TopoMap, RemoveUnlinksAnyNodeOfAChain)
{
    const TopoGuard guard;
    for (std::size_t place = 0; place < 3; ++place) {
        const Topos topos = sameKeys(3);
        ktmdl_TopoMap map(16);
        for (const Hnd_ktmdl_Topo& topo : topos) {
            map.Add(topo);
        }
        Topos wanted = toposOf(map);
        ASSERT_EQ(wanted.size(), 3U);
        EXPECT_EQ(map.Remove(wanted[place]), 1);
        wanted.erase(wanted.begin() + static_cast<std::ptrdiff_t>(place));
        EXPECT_EQ(toposOf(map), wanted);
        EXPECT_EQ(map.Extent(), 2);
    }
}

TEST(ktmdl_TopoMap, NewKeysStandFirstInTheirBucket)
{
    const TopoGuard guard;
    const Topos topos = sameKeys(4);
    ktmdl_TopoMap map(16);
    for (const Hnd_ktmdl_Topo& topo : topos) {
        map.Add(topo);
    }
    EXPECT_EQ(toposOf(map), reversed(topos));
}

TEST(ktmdl_TopoMap, ReSizeReversesTheChains)
{
    const TopoGuard guard;
    const Topos topos = sameKeys(4);
    ktmdl_TopoMap map(16);
    for (const Hnd_ktmdl_Topo& topo : topos) {
        map.Add(topo);
    }
    const long before = map.NbBuckets();
    map.ReSize(100 * before);
    ASSERT_GT(map.NbBuckets(), before);
    EXPECT_EQ(toposOf(map), topos);
    EXPECT_EQ(map.Extent(), 4);
    for (const Hnd_ktmdl_Topo& topo : topos) {
        EXPECT_EQ(topo->RefCount(), 2) << "nodes are moved, not copied";
        EXPECT_EQ(map.Contains(topo), 1);
    }
}

TEST(ktmdl_TopoMap, ReSizeThatChangesNothingKeepsTheChains)
{
    const TopoGuard guard;
    const Topos topos = sameKeys(3);
    ktmdl_TopoMap map(64);
    for (const Hnd_ktmdl_Topo& topo : topos) {
        map.Add(topo);
    }
    const long before = map.NbBuckets();
    map.ReSize(1);
    ASSERT_EQ(map.NbBuckets(), before) << "the kernel does not make tables smaller";
    EXPECT_EQ(toposOf(map), reversed(topos));
}

TEST(ktmdl_TopoMap, ReSizeOfAnEmptyMapMakesItsBuckets)
{
    const TopoGuard guard;
    ktmdl_TopoMap map(0);
    map.ReSize(50);
    EXPECT_GE(map.NbBuckets(), 50);
    EXPECT_EQ(map.Extent(), 0);
    EXPECT_TRUE(toposOf(map).empty());
}

TEST(ktmdl_TopoMap, AddGrowsTheTableOnceThereAreMoreKeysThanBuckets)
{
    const TopoGuard guard;
    ktmdl_TopoMap map(1);
    map.Add(makeTopo({0}));
    int grown = 0;
    for (const Hnd_ktmdl_Topo& topo : manyTopos(500)) {
        const long buckets = map.NbBuckets();
        const bool isOver = map.Extent() > buckets;
        map.Add(topo);
        if (isOver) {
            EXPECT_GT(map.NbBuckets(), buckets) << map.Extent();
            ++grown;
        } else {
            EXPECT_EQ(map.NbBuckets(), buckets) << map.Extent();
        }
    }
    EXPECT_GT(grown, 1);
    EXPECT_EQ(map.Extent(), 501);
}

TEST(ktmdl_TopoMap, SuppressedGrowthStillSizesAnEmptyTable)
{
    const TopoGuard guard;
    Probe map(1);
    map.SuppressGrowth(1);
    const Hnd_ktmdl_Topo first = makeTopo({0});
    EXPECT_EQ(map.Add(first), 1);
    const long buckets = map.NbBuckets();
    const Topos topos = manyTopos(200);
    for (const Hnd_ktmdl_Topo& topo : topos) {
        EXPECT_EQ(map.Add(topo), 1);
    }
    ASSERT_GT(map.Extent(), buckets);
    EXPECT_EQ(map.NbBuckets(), buckets);
    for (const Hnd_ktmdl_Topo& topo : topos) {
        EXPECT_EQ(map.Contains(topo), 1);
    }
    map.SuppressGrowth(0);
    EXPECT_EQ(map.Add(makeTopo({200, 200})), 1);
    EXPECT_GT(map.NbBuckets(), buckets);
}

TEST(ktmdl_TopoMap, NegativeHashAddsAndFindsNothing)
{
    const TopoGuard guard;
    Probe map(4);
    const Hnd_ktmdl_Topo first = makeTopo({1});
    map.Add(first);
    const long buckets = map.NbBuckets();
    map.SuppressGrowth(1);
    map.setNbBuckets(-1); // a negative bound gives a negative hash
    ASSERT_LT(ktmdl_MapTopoHasher::HashCode(first, -1), 0);
    const Hnd_ktmdl_Topo second = makeTopo({2});
    EXPECT_EQ(map.Add(second), 0);
    EXPECT_EQ(find(map, {1}).IsNull(), 1);
    EXPECT_EQ(map.Extent(), 1);
    EXPECT_EQ(second->RefCount(), 1);
    map.setNbBuckets(buckets);
    EXPECT_EQ(find(map, {1}), first);
}

TEST(ktmdl_TopoMap, EveryBucketIsUsedWalkedMovedAndCleared)
{
    const TopoGuard guard;
    const Topos topos = manyTopos(600);
    ktmdl_TopoMap map(16);
    std::set<long> buckets;
    for (const Hnd_ktmdl_Topo& topo : topos) {
        EXPECT_EQ(map.Add(topo), 1);
    }
    for (const Hnd_ktmdl_Topo& topo : topos) {
        buckets.insert(ktmdl_MapTopoHasher::HashCode(topo, map.NbBuckets()));
    }
    ASSERT_EQ(buckets.count(0), 1U) << "the first bucket must take part";
    ASSERT_EQ(buckets.count(map.NbBuckets()), 1U) << "and the last";
    EXPECT_EQ(toposOf(map).size(), 600U);
    map.ReSize(10 * map.NbBuckets());
    Topos walked = toposOf(map);
    EXPECT_EQ(walked.size(), 600U);
    walked.clear();
    for (const Hnd_ktmdl_Topo& topo : topos) {
        EXPECT_EQ(map.Contains(topo), 1);
        EXPECT_EQ(topo->RefCount(), 2);
    }
    map.Clear();
    for (const Hnd_ktmdl_Topo& topo : topos) {
        EXPECT_EQ(topo->RefCount(), 1);
    }
}

TEST(ktmdl_TopoMap, IterationGoesByAscendingBucketEachFromItsHead)
{
    const TopoGuard guard;
    const Topos topos = manyTopos(300);
    ktmdl_TopoMap map(1024); // large enough that no growth reorders the chains
    for (const Hnd_ktmdl_Topo& topo : topos) {
        map.Add(topo);
    }
    const long bound = map.NbBuckets();
    ASSERT_GE(bound, 300);
    Topos wanted = reversed(topos); // the last added stands first in its chain
    std::stable_sort(wanted.begin(), wanted.end(),
                     [bound](const Hnd_ktmdl_Topo& aFirst, const Hnd_ktmdl_Topo& aSecond) {
                         return ktmdl_MapTopoHasher::HashCode(aFirst, bound) <
                                ktmdl_MapTopoHasher::HashCode(aSecond, bound);
                     });
    EXPECT_EQ(toposOf(map), wanted);
}

TEST(ktmdl_TopoMap, ClearEmptiesAndTheMapWorksOn)
{
    const TopoGuard guard;
    const Topos topos = manyTopos(50);
    ktmdl_TopoMap map(1);
    map.Clear();
    for (const Hnd_ktmdl_Topo& topo : topos) {
        map.Add(topo);
    }
    map.Clear();
    EXPECT_EQ(map.Extent(), 0);
    EXPECT_TRUE(toposOf(map).empty());
    EXPECT_EQ(map.Contains(topos[0]), 0);
    EXPECT_EQ(find(map, {0, 0}).IsNull(), 1);
    map.Clear();
    EXPECT_EQ(map.Add(topos[3]), 1);
    EXPECT_EQ(toposOf(map), Topos{topos[3]});
}

TEST(ktmdl_TopoMap, EndOfTheMapReleasesItsObjects)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    {
        ktmdl_TopoMap map(1);
        map.Add(topo);
        map.Add(makeTopo({2}));
        EXPECT_EQ(TestTopo::alive(), 2);
    }
    EXPECT_EQ(topo->RefCount(), 1);
    EXPECT_EQ(TestTopo::alive(), 1);
}

TEST(ktmdl_TopoMap, CopyOfAnEmptyMapHasItsBuckets)
{
    const TopoGuard guard;
    const ktmdl_TopoMap source(7);
    const ktmdl_TopoMap copy(source);
    EXPECT_EQ(copy.NbBuckets(), 7);
    EXPECT_EQ(copy.Extent(), 0);
}

TEST(ktmdl_TopoMap, CopyOfAFilledMapRaises)
{
    const TopoGuard guard;
    ktmdl_TopoMap source(7);
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    source.Add(topo);
    EXPECT_TRUE(raises<Hnd_ktstd_fail_DomainError>(kNotEmpty, [&] { ktmdl_TopoMap copy(source); }));
    EXPECT_EQ(topo->RefCount(), 2);
    source.Remove(topo);
    EXPECT_NO_THROW(ktmdl_TopoMap copy(source));
}

TEST(ktmdl_TopoMap, AssignTakesTheSameReferences)
{
    const TopoGuard guard;
    const Topos topos = manyTopos(40);
    ktmdl_TopoMap source(1);
    for (const Hnd_ktmdl_Topo& topo : topos) {
        source.Add(topo);
    }
    ktmdl_TopoMap copy(1);
    const Hnd_ktmdl_Topo old = makeTopo({99, 99, 99});
    copy.Add(old);
    copy.Add(topos[0]);
    EXPECT_EQ(&copy.Assign(source), &copy);
    EXPECT_EQ(copy.Extent(), 40);
    EXPECT_EQ(source.Extent(), 40);
    EXPECT_EQ(copy.Contains(old), 0);
    EXPECT_EQ(old->RefCount(), 1);
    for (const Hnd_ktmdl_Topo& topo : topos) {
        EXPECT_EQ(copy.Contains(topo), 1);
        EXPECT_EQ(topo->RefCount(), 3);
    }
    EXPECT_GE(copy.NbBuckets(), source.NbBuckets());
}

TEST(ktmdl_TopoMap, AssignAddsInTheOrderOfIteration)
{
    // So the references of a bucket change their order.
    const TopoGuard guard;
    const Topos topos = sameKeys(4);
    ktmdl_TopoMap source(64);
    for (const Hnd_ktmdl_Topo& topo : topos) {
        source.Add(topo);
    }
    ktmdl_TopoMap copy(1);
    copy.Assign(source);
    EXPECT_EQ(toposOf(copy), reversed(toposOf(source)));
}

TEST(ktmdl_TopoMap, AssignSizesTheTableLikeTheSource)
{
    const TopoGuard guard;
    ktmdl_TopoMap source(1);
    source.ReSize(500);
    source.Add(makeTopo({1}));
    ktmdl_TopoMap copy(1);
    copy.Assign(source);
    EXPECT_GE(copy.NbBuckets(), source.NbBuckets());
}

TEST(ktmdl_TopoMap, AssignOfAnEmptyMapEmpties)
{
    const TopoGuard guard;
    const ktmdl_TopoMap source(3);
    ktmdl_TopoMap map(1);
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    map.Add(topo);
    map.Assign(source);
    EXPECT_EQ(map.Extent(), 0);
    EXPECT_EQ(topo->RefCount(), 1);
}

TEST(ktmdl_TopoMap, AssignToItselfChangesNothing)
{
    const TopoGuard guard;
    const Topos topos = sameKeys(3);
    ktmdl_TopoMap map(16);
    for (const Hnd_ktmdl_Topo& topo : topos) {
        map.Add(topo);
    }
    EXPECT_EQ(&map.Assign(map), &map);
    EXPECT_EQ(toposOf(map), reversed(topos));
}

TEST(ktmdl_TopoMap, FindsByKey)
{
    const TopoGuard guard;
    ktmdl_TopoMap map(1);
    EXPECT_EQ(find(map, {1, 2}).IsNull(), 1);
    const Topos topos = manyTopos(300);
    for (const Hnd_ktmdl_Topo& topo : topos) {
        map.Add(topo);
    }
    for (int i = 0; i < 300; ++i) {
        const Hnd_ktmdl_Topo found =
            find(map, {static_cast<unsigned char>(i % 251), static_cast<unsigned char>(i / 251)});
        ASSERT_EQ(found, topos[static_cast<std::size_t>(i)]) << i;
        EXPECT_EQ(found->RefCount(), 3);
    }
    EXPECT_EQ(find(map, {250, 250}).IsNull(), 1);
    EXPECT_EQ(find(map, {}).IsNull(), 1);
    EXPECT_EQ(find(map, {0}).IsNull(), 1);
}

TEST(ktmdl_TopoMap, FindsOneOfCollidingKeysByLengthAndBytes)
{
    const TopoGuard guard;
    // Hashes of {0} and {0, 0} are 0; of {1, 0} and {0, 5} are 5.
    ASSERT_EQ(ktmdl_Topo::HashKey(2, Key{1, 0}.data()), ktmdl_Topo::HashKey(2, Key{0, 5}.data()));
    const Hnd_ktmdl_Topo one = makeTopo({0});
    const Hnd_ktmdl_Topo two = makeTopo({0, 0});
    const Hnd_ktmdl_Topo first = makeTopo({1, 0});
    const Hnd_ktmdl_Topo second = makeTopo({0, 5});
    ktmdl_TopoMap map(16);
    for (const Hnd_ktmdl_Topo& topo : {one, two, first, second}) {
        map.Add(topo);
    }
    EXPECT_EQ(find(map, {0}), one);
    EXPECT_EQ(find(map, {0, 0}), two);
    EXPECT_EQ(find(map, {1, 0}), first);
    EXPECT_EQ(find(map, {0, 5}), second);
    EXPECT_EQ(find(map, {0, 0, 0}).IsNull(), 1);
    EXPECT_EQ(find(map, {}).IsNull(), 1);
}

TEST(ktmdl_TopoMap, FindsTheEmptyKey)
{
    const TopoGuard guard;
    const Hnd_ktmdl_Topo topo(new ktmdl_Topo());
    ktmdl_TopoMap map(1);
    map.Add(topo);
    unsigned char none = 0;
    EXPECT_EQ(map.FindByKey(0, &none), topo);
    EXPECT_EQ(map.FindByKey(1, &none).IsNull(), 1);
}

TEST(ktmdl_TopoMap, FindsTheFirstOfItsChain)
{
    const TopoGuard guard;
    const Topos topos = sameKeys(3);
    ktmdl_TopoMap map(16);
    for (const Hnd_ktmdl_Topo& topo : topos) {
        map.Add(topo);
        EXPECT_EQ(find(map, {1, 2, 3}), topo) << "the one added last";
    }
    map.Remove(topos[2]);
    EXPECT_EQ(find(map, {1, 2, 3}), topos[1]);
    map.Add(topos[2]);
    map.ReSize(100 * map.NbBuckets());
    EXPECT_EQ(find(map, {1, 2, 3}), topos[0]) << "the chain was turned round";
}

TEST(ktmdl_TopoMap, RecordIsAPlainCountAndTheHandlesInOrder)
{
    const TopoGuard guard;
    ktmdl_TopoMap map(64);
    for (int i = 1; i <= 5; ++i) {
        map.Add(makeTopo({static_cast<unsigned char>(i)}));
    }
    kt_test::RecordBytes wanted;
    wanted.u32(5);
    for (const Hnd_ktmdl_Topo& topo : toposOf(map)) {
        kt_test::newTopo(wanted, {static_cast<unsigned char>(kt_test::keyOf(topo))});
    }
    EXPECT_EQ(kt_test::recordOf(map), wanted.bytes());
}

TEST(ktmdl_TopoMap, RecordOfAnEmptyMapIsTheCount)
{
    ktmdl_TopoMap map(1);
    EXPECT_EQ(kt_test::recordOf(map), (kt_test::Bytes{0, 0, 0, 0}));
}

TEST(ktmdl_TopoMap, LoadingAddsToWhatIsThere)
{
    const TopoGuard guard;
    kt_test::RecordBytes record;
    record.u32(2);
    kt_test::newTopo(record, {7});
    kt_test::newTopo(record, {8});
    ktmdl_TopoMap map(1);
    const Hnd_ktmdl_Topo before = makeTopo({7});
    map.Add(before);
    ktstd_Archive archive(kt_test::archiveHolding(record.bytes()));
    map.Serialize(archive);
    EXPECT_EQ(map.Extent(), 3);
    EXPECT_EQ(map.Contains(before), 1);
    EXPECT_EQ(find(map, {8}).IsNull(), 0);
    EXPECT_EQ(archive.Remaining(), 0U);
}

TEST(ktmdl_TopoMap, LoadingDropsARepeatedObject)
{
    const TopoGuard guard;
    kt_test::RecordBytes record;
    record.u32(3);
    kt_test::newTopo(record, {7});
    record.u32(1).u32(1);
    ktmdl_TopoMap map(1);
    ktstd_Archive archive(kt_test::archiveHolding(record.bytes()));
    archive >> map;
    EXPECT_EQ(map.Extent(), 1);
    EXPECT_EQ(archive.Remaining(), 0U);
}

TEST(ktmdl_TopoMap, CountBelow1LoadsNothing)
{
    const TopoGuard guard;
    for (const std::uint32_t count : {0U, 0xFFFFFFFFU, 0x80000000U}) {
        ktmdl_TopoMap map(1);
        const Hnd_ktmdl_Topo before = makeTopo({7});
        map.Add(before);
        ktstd_Archive archive(kt_test::archiveHolding(kt_test::RecordBytes().u32(count).bytes()));
        EXPECT_NO_THROW(archive >> map);
        EXPECT_EQ(toposOf(map), Topos{before});
    }
}

TEST(ktmdl_TopoMap, CountAboveTheBytesLeftIsNotRefusedBeforeTheyEnd)
{
    // The count is a plain number, unlike that of a sequence.
    const TopoGuard guard;
    kt_test::RecordBytes record;
    record.u32(0x7FFFFFFFU);
    kt_test::newTopo(record, {7});
    kt_test::newTopo(record, {8});
    ktmdl_TopoMap map(1);
    ktstd_Archive archive(kt_test::archiveHolding(record.bytes()));
    EXPECT_TRUE(raisesClass<Hnd_ktstd_fail_FileIO>([&] { map.Serialize(archive); }));
    EXPECT_EQ(map.Extent(), 2) << "what was read stays";
}

TEST(ktmdl_TopoMap, NullReferenceInARecordRaises)
{
    const TopoGuard guard;
    kt_test::RecordBytes record;
    record.u32(2);
    kt_test::newTopo(record, {7});
    record.u32(0);
    ktmdl_TopoMap map(1);
    ktstd_Archive archive(kt_test::archiveHolding(record.bytes()));
    EXPECT_TRUE(raisesClass<Hnd_ktstd_fail_FileIO>([&] { map.Serialize(archive); }));
    EXPECT_EQ(map.Extent(), 1);
}

TEST(ktmdl_TopoMap, BothOperatorsGoByTheArchive)
{
    const TopoGuard guard;
    ktmdl_TopoMap map(1);
    map.Add(makeTopo({7}));
    const ktmdl_TopoMap& constant = map;
    kt_test::RecordBytes record;
    record.u32(1);
    kt_test::newTopo(record, {7});
    EXPECT_EQ(kt_test::dataOf(
                  [&](ktstd_Archive& aArchive) { EXPECT_EQ(&(aArchive << constant), &aArchive); }),
              record.bytes());
    EXPECT_EQ(
        kt_test::dataOf([&](ktstd_Archive& aArchive) { EXPECT_EQ(&(aArchive >> map), &aArchive); }),
        record.bytes());
    EXPECT_EQ(map.Extent(), 1);
    ktstd_Archive first(kt_test::archiveHolding(record.bytes()));
    EXPECT_EQ(&(first >> map), &first);
    EXPECT_EQ(map.Extent(), 2);
    ktstd_Archive second(kt_test::archiveHolding(record.bytes()));
    EXPECT_EQ(&(second << constant), &second);
    EXPECT_EQ(map.Extent(), 3);
}

TEST(ktmdl_TopoMap, OperatorsCallTheVirtualSerialize)
{
    struct Silent : public ktmdl_TopoMap
    {
        using ktmdl_TopoMap::ktmdl_TopoMap;
        void Serialize(ktstd_Archive&) override { ++calls; }
        int calls = 0;
    };
    Silent map(1);
    ktstd_Archive archive;
    archive << static_cast<const ktmdl_TopoMap&>(map);
    archive >> static_cast<ktmdl_TopoMap&>(map);
    EXPECT_EQ(map.calls, 2);
    EXPECT_EQ(archive.Position(), 0U);
}

TEST(ktmdl_TopoMap, SizeBeyond32BitsIsNotCut)
{
    if (sizeof(long) == 4) {
        GTEST_SKIP() << "long has 32 bits here";
    }
    const TopoGuard guard;
    // Low 32 bits of 1: had the size been cut, there would be hardly any bucket.
    const long size = static_cast<long>((std::uint64_t{1} << 32U) + 1);
    ktmdl_TopoMap map(1);
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    map.Add(topo);
    const long before = map.NbBuckets();
    // Memory for so many buckets may be refused, but never is a smaller table taken for it.
    try {
        map.ReSize(size);
        EXPECT_TRUE(map.NbBuckets() >= size || map.NbBuckets() == before);
    } catch (const Hnd_ktstd_fail_Failure&) {
        EXPECT_EQ(map.NbBuckets(), before);
    } catch (const std::bad_alloc&) {
        EXPECT_EQ(map.NbBuckets(), before);
    }
    EXPECT_EQ(map.Contains(topo), 1);
}

TEST(ktmdl_MapTopoHasher, HashIsThatOfTheKeyReduced)
{
    const TopoGuard guard;
    for (const Key& key : {Key{1, 2}, Key{0}, Key(20, 0xFF), Key{255, 254, 253, 252, 251, 250}}) {
        const Hnd_ktmdl_Topo topo = makeTopo(key);
        std::uint32_t hash = 0;
        for (const unsigned char part : key) {
            hash = hash * 5U + part;
        }
        for (const long bound : {0L, 1L, 7L, 1000L, 65535L}) {
            const long wanted = ktstd_MapIntegerHasher::HashCode(
                static_cast<long>(static_cast<std::int32_t>(hash)), bound);
            EXPECT_EQ(ktmdl_MapTopoHasher::HashCode(topo, bound), wanted);
            EXPECT_GE(wanted, 0);
            EXPECT_LE(wanted, bound);
        }
    }
}

TEST(ktmdl_MapTopoHasher, HashOfANullHandleRaises)
{
    EXPECT_TRUE(raisesClass<Hnd_ktstd_fail_NullObject>(
        [] { static_cast<void>(ktmdl_MapTopoHasher::HashCode(Hnd_ktmdl_Topo(), 5)); }));
}

TEST(ktmdl_MapTopoHasher, EqualityIsIdentityOfTheObject)
{
    const TopoGuard guard;
    const Topos topos = sameKeys(2);
    const Hnd_ktmdl_Topo copy(topos[0]);
    EXPECT_EQ(ktmdl_MapTopoHasher::IsEqual(topos[0], copy), 1);
    EXPECT_EQ(ktmdl_MapTopoHasher::IsEqual(copy, topos[0]), 1);
    EXPECT_EQ(ktmdl_MapTopoHasher::IsEqual(topos[0], topos[1]), 0);
    EXPECT_EQ(ktmdl_MapTopoHasher::IsEqual(topos[1], topos[0]), 0);
}

TEST(ktmdl_MapIteratorOfTopoMap, DefaultIsAtItsEnd)
{
    const ktmdl_MapIteratorOfTopoMap iterator;
    EXPECT_EQ(iterator.More(), 0);
    EXPECT_TRUE(
        raises<Hnd_ktstd_fail_NoSuchObject>(kNoKey, [&] { static_cast<void>(iterator.Key()); }));
}

TEST(ktmdl_MapIteratorOfTopoMap, EmptyMapIsAtItsEnd)
{
    const ktmdl_TopoMap map(4);
    ktmdl_MapIteratorOfTopoMap iterator(map);
    EXPECT_EQ(iterator.More(), 0);
    EXPECT_TRUE(
        raises<Hnd_ktstd_fail_NoSuchObject>(kNoKey, [&] { static_cast<void>(iterator.Key()); }));
    iterator.Initialize(map);
    EXPECT_EQ(iterator.More(), 0);
}

TEST(ktmdl_MapIteratorOfTopoMap, KeyPastTheLastRaises)
{
    const TopoGuard guard;
    ktmdl_TopoMap map(1);
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    map.Add(topo);
    ktmdl_MapIteratorOfTopoMap iterator(map);
    EXPECT_EQ(iterator.More(), 1);
    EXPECT_EQ(iterator.Key(), topo);
    EXPECT_EQ(topo->RefCount(), 2) << "the iterator holds nothing";
    iterator.Next();
    EXPECT_EQ(iterator.More(), 0);
    EXPECT_TRUE(
        raises<Hnd_ktstd_fail_NoSuchObject>(kNoKey, [&] { static_cast<void>(iterator.Key()); }));
}

TEST(ktmdl_MapIteratorOfTopoMap, InitializeStartsAnew)
{
    const TopoGuard guard;
    ktmdl_TopoMap first(1);
    ktmdl_TopoMap second(1);
    const Topos topos = manyTopos(2);
    first.Add(topos[0]);
    second.Add(topos[1]);
    ktmdl_MapIteratorOfTopoMap iterator(first);
    iterator.Next();
    iterator.Initialize(first);
    EXPECT_EQ(iterator.Key(), topos[0]);
    iterator.Initialize(second);
    EXPECT_EQ(iterator.Key(), topos[1]);
}

TEST(ktmdl_StdMapNodeOfTopoMap, HasItsType)
{
    const TopoGuard guard;
    ktstd_MapNode* const none = nullptr;
    const Hnd_ktmdl_StdMapNodeOfTopoMap node(new ktmdl_StdMapNodeOfTopoMap(makeTopo({1}), none));
    const Hnd_ktstd_Type& type = ktmdl_StdMapNodeOfTopoMap_Type_();
    EXPECT_EQ(&type, &ktmdl_StdMapNodeOfTopoMap_Type_());
    EXPECT_EQ(&node->DynamicType(), &type);
    EXPECT_STREQ(type->Name(), "ktmdl_StdMapNodeOfTopoMap");
    EXPECT_EQ(type->Size(), static_cast<long>(sizeof(ktmdl_StdMapNodeOfTopoMap)));
    EXPECT_EQ(type->NbParents(), 1);
    EXPECT_EQ(type->Ancestors()[0], ktstd_MapNode_Type_());
    EXPECT_EQ(type->Ancestors()[1], ktstd_TShared_Type_());
    EXPECT_EQ(type->Ancestors()[2], ktstd_Transient_Type_());
    EXPECT_EQ(type->Ancestors()[3].IsNull(), 1);
    EXPECT_EQ(node->IsKind(type), 1);
    EXPECT_EQ(node->IsKind(ktstd_MapNode_Type_()), 1);
    EXPECT_EQ(node->IsKind(ktstd_TShared_Type_()), 1);
    EXPECT_EQ(node->IsKind(ktstd_Transient_Type_()), 1);
    EXPECT_EQ(node->IsKind(ktstd_SeqNode_Type_()), 0);
}

TEST(ktmdl_StdMapNodeOfTopoMap, HoldsANullKeyToo)
{
    ktstd_MapNode* const none = nullptr;
    const Hnd_ktmdl_StdMapNodeOfTopoMap node(new ktmdl_StdMapNodeOfTopoMap(Hnd_ktmdl_Topo(), none));
    EXPECT_EQ(node->Key().IsNull(), 1);
}

TEST(ktmdl_StdMapNodeOfTopoMap, IsCastDown)
{
    const TopoGuard guard;
    ktstd_MapNode* const none = nullptr;
    const Hnd_ktmdl_Topo topo = makeTopo({1});
    const Hnd_ktstd_Transient node(new ktmdl_StdMapNodeOfTopoMap(topo, none));
    const Hnd_ktstd_Transient plain(new ktstd_MapNode(none));
    using Handle = Hnd_ktmdl_StdMapNodeOfTopoMap;
    EXPECT_EQ(topo->RefCount(), 2);
    EXPECT_EQ(Handle::DownCast(node), node);
    EXPECT_EQ(Handle::DownCast(plain).IsNull(), 1);
    EXPECT_EQ(Handle::DownCast(topo).IsNull(), 1);
    EXPECT_EQ(Handle::DownCast(Hnd_ktstd_Transient()).IsNull(), 1);
}

TEST(ktmdl_StdMapNodeOfTopoMap, HoldsTheLinkThenTheKey)
{
    EXPECT_EQ(sizeof(ktmdl_StdMapNodeOfTopoMap), sizeof(ktstd_MapNode) + sizeof(Hnd_ktmdl_Topo));
}
