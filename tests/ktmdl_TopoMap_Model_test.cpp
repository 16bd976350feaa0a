// The set of references and the clearing of the registry beside their plain steps: random
// operations on both, after each the same results and the same references in the same order.

#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoMap.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_MapIntegerHasher.h"
#include "support/Records.h"
#include "support/TestTopo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

using kt_test::archiveHolding;
using kt_test::RecordBytes;
using kt_test::TopoGuard;
using kt_test::topoRecord;

namespace {

using Key = std::vector<unsigned char>;

//! Keys of which some are equal and some collide: (1, 0) and (0, 5) have the same hash.
Key randomKey(std::mt19937& aRandom)
{
    static const std::vector<Key> alike = {{1, 0}, {0, 5}, {1, 0, 0}, {7}, {}};
    if (aRandom() % 4 == 0) {
        return alike[aRandom() % alike.size()];
    }
    Key key(1 + aRandom() % 40);
    for (unsigned char& byteOfKey : key) {
        byteOfKey = static_cast<unsigned char>(aRandom());
    }
    return key;
}

std::size_t bucketOf(const Key& aKey, long aUpper)
{
    std::uint32_t hash = 0;
    for (const unsigned char part : aKey) {
        hash = hash * 5U + part;
    }
    const auto number = static_cast<long>(static_cast<std::int32_t>(hash));
    return static_cast<std::size_t>(ktstd_MapIntegerHasher::HashCode(number, aUpper));
}

Key keyOf(const ktmdl_Topo& aTopo)
{
    return Key(aTopo.mKey, aTopo.mKey + aTopo.mKeySize);
}

//! The steps of the set as they are told, without regard to speed. Keys are read anew each time.
class PlainMap
{
public:
    explicit PlainMap(long aNbBuckets) : nbBuckets(aNbBuckets) {}

    bool contains(ktmdl_Topo* aTopo) const
    {
        if (extent == 0) {
            return false;
        }
        const auto& chain = chains[bucketOf(keyOf(*aTopo), nbBuckets)];
        return std::find(chain.begin(), chain.end(), aTopo) != chain.end();
    }
    ktmdl_Topo* findByKey(const Key& aKey) const
    {
        if (extent != 0) {
            for (ktmdl_Topo* const topo : chains[bucketOf(aKey, nbBuckets)]) {
                if (keyOf(*topo) == aKey) {
                    return topo;
                }
            }
        }
        return nullptr;
    }
    bool add(ktmdl_Topo* aTopo)
    {
        if (extent == 0 || extent > nbBuckets) {
            resize(extent);
        }
        auto& chain = chains[bucketOf(keyOf(*aTopo), nbBuckets)];
        if (std::find(chain.begin(), chain.end(), aTopo) != chain.end()) {
            return false;
        }
        chain.insert(chain.begin(), aTopo);
        ++extent;
        return true;
    }
    bool remove(ktmdl_Topo* aTopo)
    {
        if (extent == 0) {
            return false;
        }
        auto& chain = chains[bucketOf(keyOf(*aTopo), nbBuckets)];
        const auto found = std::find(chain.begin(), chain.end(), aTopo);
        if (found == chain.end()) {
            return false;
        }
        chain.erase(found);
        --extent;
        return true;
    }
    void resize(long aSize)
    {
        const bool isNew = chains.empty();
        long count = 7;
        const long wanted = isNew ? std::max(aSize, std::max(nbBuckets, 1L) - 1) : aSize;
        while (count <= wanted) {
            count = 2 * count + 1;
        }
        if (!isNew && count <= nbBuckets) {
            return;
        }
        std::vector<std::vector<ktmdl_Topo*>> moved(static_cast<std::size_t>(count) + 1);
        for (const auto& chain : chains) {
            for (ktmdl_Topo* const topo : chain) {
                auto& target = moved[bucketOf(keyOf(*topo), count)];
                target.insert(target.begin(), topo);
            }
        }
        chains = std::move(moved);
        nbBuckets = count;
    }
    void clear()
    {
        chains.clear();
        nbBuckets = 0;
        extent = 0;
    }
    void assign(const PlainMap& aOther)
    {
        if (&aOther == this) {
            return;
        }
        clear();
        resize(aOther.nbBuckets);
        for (ktmdl_Topo* const topo : aOther.all()) {
            add(topo);
        }
    }
    [[nodiscard]] std::vector<ktmdl_Topo*> all() const
    {
        std::vector<ktmdl_Topo*> topos;
        for (const auto& chain : chains) {
            topos.insert(topos.end(), chain.begin(), chain.end());
        }
        return topos;
    }

    std::vector<std::vector<ktmdl_Topo*>> chains;
    long nbBuckets;
    long extent{0};
};

std::vector<ktmdl_Topo*> allOf(const ktmdl_TopoMap& aMap)
{
    std::vector<ktmdl_Topo*> topos;
    for (ktmdl_MapIteratorOfTopoMap it(aMap); it.More() != 0; it.Next()) {
        topos.push_back(&*it.Key());
    }
    return topos;
}

//! Gives a reference another key by loading a record into it, whoever holds it.
void rekey(ktmdl_Topo& aTopo, const Key& aKey)
{
    RecordBytes record;
    topoRecord(record, aKey);
    ktstd_Archive archive(archiveHolding(record.bytes()));
    aTopo.Serialize(archive);
}

//! Two sets and their plain counterparts, and references that come and go in them.
class Pair
{
public:
    explicit Pair(unsigned aSeed) : random(aSeed)
    {
        for (int i = 0; i < 2; ++i) {
            const long size = static_cast<long>(random() % 40) - 5;
            maps.push_back(std::make_unique<ktmdl_TopoMap>(size));
            plain.emplace_back(size);
        }
    }

    void step(bool aRekeys)
    {
        const std::size_t which = random() % 2;
        ktmdl_TopoMap& map = *maps[which];
        PlainMap& model = plain[which];
        const auto what = random() % 100;
        const Hnd_ktmdl_Topo topo =
            topos.empty() ? Hnd_ktmdl_Topo() : topos[random() % topos.size()];
        if (topos.size() < 20 || what < 30) {
            topos.push_back(kt_test::makeTopo(randomKey(random)));
            EXPECT_EQ(map.Add(topos.back()), model.add(&*topos.back()) ? 1 : 0);
        } else if (what < 50) {
            EXPECT_EQ(map.Add(topo), model.add(&*topo) ? 1 : 0);
        } else if (what < 70) {
            EXPECT_EQ(map.Remove(topo), model.remove(&*topo) ? 1 : 0);
        } else if (what < 80) {
            EXPECT_EQ(map.Contains(topo), model.contains(&*topo) ? 1 : 0);
        } else if (what < 90) {
            const Key key = random() % 2 == 0 ? keyOf(*topo) : randomKey(random);
            const Hnd_ktmdl_Topo found = map.FindByKey(static_cast<long>(key.size()), key.data());
            EXPECT_EQ(found.IsNull() != 0 ? nullptr : &*found, model.findByKey(key));
        } else if (what < 93) {
            const long size = static_cast<long>(random() % 300);
            map.ReSize(size);
            model.resize(size);
        } else if (what < 94) {
            map.Assign(*maps[1 - which]);
            model.assign(plain[1 - which]);
        } else if (what < 95) {
            map.Clear();
            model.clear();
        } else if (aRekeys) {
            rekey(*topo, randomKey(random));
            ktmdl_Topo::RemoveFromMap(topo);
        }
        EXPECT_EQ(map.Extent(), model.extent);
        EXPECT_EQ(map.NbBuckets(), model.nbBuckets);
        EXPECT_EQ(allOf(map), model.all());
    }

private:
    std::mt19937 random;
    std::vector<Hnd_ktmdl_Topo> topos; //!< outlive the sets that hold them
    std::vector<std::unique_ptr<ktmdl_TopoMap>> maps;
    std::vector<PlainMap> plain;
};

void run(bool aRekeys)
{
    for (unsigned seed = 1; seed <= 60 && !testing::Test::HasFailure(); ++seed) {
        Pair pair(seed);
        for (int i = 0; i < 300 && !testing::Test::HasFailure(); ++i) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(i));
            pair.step(aRekeys);
        }
    }
}

//! A reference that notes when it dies.
class Mortal : public ktmdl_Topo
{
public:
    Mortal(const Key& aKey, std::vector<const ktmdl_Topo*>& aDead)
        : ktmdl_Topo(static_cast<long>(aKey.size()), aKey.data()),
          mDead(aDead)
    {}
    ~Mortal() override { mDead.push_back(this); }

private:
    std::vector<const ktmdl_Topo*>& mDead;
};

} // namespace

TEST(ktmdl_TopoMapModel, DoesThePlainSteps)
{
    const TopoGuard guard;
    run(false);
}

TEST(ktmdl_TopoMapModel, DoesThePlainStepsWhenKeysChangeInsideTheSet)
{
    const TopoGuard guard;
    run(true);
}

TEST(ktmdl_TopoMapModel, ClearUnusedToposOnlyDropsInTheOrderOfTheRegistry)
{
    const TopoGuard guard;
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        ktmdl_Topo::ClearAllTopos();
        std::mt19937 random(seed);
        PlainMap model(0);
        std::vector<const ktmdl_Topo*> dead;
        std::vector<Hnd_ktmdl_Topo> held;
        for (int i = 0; i < 120; ++i) {
            const Hnd_ktmdl_Topo topo(new Mortal(randomKey(random), dead));
            // Loading registers it; now and then once more, under another key.
            rekey(*topo, randomKey(random));
            model.add(&*topo);
            if (random() % 8 == 0) {
                rekey(*topo, randomKey(random));
                model.add(&*topo);
            }
            if (random() % 8 == 0) {
                // Leaves one that only a node of a bucket of its former key may hold.
                EXPECT_EQ(ktmdl_Topo::RemoveFromMap(topo), model.remove(&*topo) ? 1 : 0);
            }
            if (random() % 2 == 0) {
                held.push_back(topo);
            }
        }
        std::vector<ktmdl_Topo*> unused;
        for (ktmdl_Topo* const topo : model.all()) {
            const bool isHeld = std::count(held.begin(), held.end(), topo) != 0;
            if (topo->RefCount() == 1 && !isHeld) {
                unused.push_back(topo);
            }
        }
        std::vector<const ktmdl_Topo*> wanted;
        for (ktmdl_Topo* const topo : unused) {
            if (model.remove(topo)) {
                wanted.push_back(topo);
            }
        }
        ASSERT_FALSE(wanted.empty());
        dead.clear();
        ktmdl_Topo::ClearUnusedToposOnly();
        EXPECT_EQ(dead, wanted);
        held.clear();
        ktmdl_Topo::ClearAllTopos();
    }
}
