#include "ktmdl/ktmdl_TopoMap.h"

#include "ktmdl/ktmdl_Topo.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_FailureText_detail.h"
#include "ktstd/ktstd_MapIntegerHasher.h"
#include "ktstd/ktstd_fail.h"

#include <cstdint>
#include <ostream>

KTSTD_DEFINE_TYPE(ktmdl_StdMapNodeOfTopoMap, ktstd_MapNode)

namespace {

//! Gives a number of buckets that means the same whatever the width of long.
long checkedSize(long aSize)
{
    if (aSize != static_cast<std::int32_t>(aSize)) {
        ktstd_detail::FailureText text;
        text << "ktmdl_TopoMap: " << aSize << " buckets, more than 32 bits hold" << std::ends;
        ktstd_fail_OutOfRange::Raise(text);
    }
    return aSize;
}

unsigned int hashOf(const Hnd_ktmdl_Topo& aTopo)
{
    return ktmdl_Topo::HashKey(aTopo->mKeySize, aTopo->mKey);
}

//! Reduces a key hash to a bucket.
long reduce(unsigned int aHash, long aUpper) noexcept
{
    return ktstd_MapIntegerHasher::HashCode(static_cast<std::int32_t>(aHash), aUpper);
}

const Hnd_ktmdl_Topo& keyOf(const ktstd_MapNode* aNode) noexcept
{
    return static_cast<const ktmdl_StdMapNodeOfTopoMap*>(aNode)->Key();
}

//! References in sets that got another key meanwhile. While there are any, no hash that a node
//! noted is believed.
long sNbRekeyed = 0;

//! Gives the hash of a node's key.
unsigned int hashAt(const ktstd_MapNode* aNode)
{
    return sNbRekeyed != 0 ? hashOf(keyOf(aNode)) : aNode->Hash();
}

//! Gives the node that holds a reference.
//! @param aChain     head of the bucket
//! @param aPrevious  receives the node before it, null for the head
//! @return           null when there is none
ktstd_MapNode* findIn(ktstd_MapNode* aChain, const Hnd_ktmdl_Topo& aTopo, ktstd_MapNode*& aPrevious)
{
    aPrevious = nullptr;
    for (ktstd_MapNode* node = aChain; node != nullptr; node = node->Next()) {
        if (ktmdl_MapTopoHasher::IsEqual(keyOf(node), aTopo) != 0) {
            return node;
        }
        aPrevious = node;
    }
    return nullptr;
}

//! Deletes nodes, the first one first.
void deleteChain(ktstd_MapNode* aFirst)
{
    while (aFirst != nullptr) {
        ktstd_MapNode* const next = aFirst->Next();
        delete static_cast<ktmdl_StdMapNodeOfTopoMap*>(aFirst);
        aFirst = next;
    }
}

} // namespace

ktmdl_StdMapNodeOfTopoMap::ktmdl_StdMapNodeOfTopoMap(const Hnd_ktmdl_Topo& aKey,
                                                     ktstd_MapNode* const& aNext) noexcept
    : ktstd_MapNode(aNext),
      mKey(aKey)
{}

long ktmdl_MapTopoHasher::HashCode(const Hnd_ktmdl_Topo& aTopo, long aUpper)
{
    return reduce(hashOf(aTopo), aUpper);
}

unsigned char ktmdl_MapTopoHasher::IsEqual(const Hnd_ktmdl_Topo& aFirst,
                                           const Hnd_ktmdl_Topo& aSecond) noexcept
{
    // On purpose: identity of the objects, not equality of their host keys.
    // Pinned by EqualKeysOfTwoObjectsAreBothKept.
    return aFirst == aSecond ? 1 : 0;
}

ktmdl_TopoMap::ktmdl_TopoMap(long aNbBuckets) : ktstd_BasicMap(checkedSize(aNbBuckets), 1) {}

// On purpose: only an empty map is copied this way; Assign copies the others.
// Pinned by CopyOfAFilledMapRaises.
ktmdl_TopoMap::ktmdl_TopoMap(const ktmdl_TopoMap& aOther) : ktstd_BasicMap(aOther.NbBuckets(), 1)
{
    if (aOther.Extent() != 0) {
        ktstd_fail_DomainError::Raise("ktstd_Map: copy of non-empty Map");
    }
}

ktmdl_TopoMap::~ktmdl_TopoMap()
{
    Clear();
}

void ktmdl_TopoMap::Serialize(ktstd_Archive& aArchive)
{
    if (aArchive.IsStoring() != 0) {
        // On purpose: a number, not a count as the sequences store, so that old data can be read.
        // Pinned by RecordIsAPlainCountAndTheHandlesInOrder.
        aArchive << Extent();
        for (ktmdl_MapIteratorOfTopoMap it(*this); it.More() != 0; it.Next()) {
            aArchive << static_cast<const Hnd_ktstd_Transient&>(it.Key());
        }
        return;
    }
    // On purpose: not cleared first, unlike the sequences. Pinned by LoadingAddsToWhatIsThere.
    long count = 0;
    aArchive >> count;
    Hnd_ktmdl_Topo topo;
    for (long i = 0; i < count; ++i) {
        aArchive >> topo;
        if (topo.IsNull() != 0) {
            aArchive.RaiseDamaged("ktmdl_TopoMap: null reference");
        }
        Add(topo);
    }
}

unsigned char ktmdl_TopoMap::Contains(const Hnd_ktmdl_Topo& aTopo) const
{
    if (Extent() == 0) {
        return 0;
    }
    ktstd_MapNode* const* const chain = ChainOf(hashOf(aTopo));
    ktstd_MapNode* previous = nullptr;
    return chain != nullptr && findIn(*chain, aTopo, previous) != nullptr ? 1 : 0;
}

Hnd_ktmdl_Topo ktmdl_TopoMap::FindByKey(long aSize, const unsigned char* aKey) const
{
    if (Extent() == 0) {
        return Hnd_ktmdl_Topo();
    }
    const unsigned int hash = ktmdl_Topo::HashKey(aSize, aKey);
    ktstd_MapNode* const* const chain = ChainOf(hash);
    for (const ktstd_MapNode* node = chain != nullptr ? *chain : nullptr; node != nullptr;
         node = node->Next()) {
        if (hashAt(node) == hash && keyOf(node)->IsEqual(aSize, aKey) != 0) {
            return keyOf(node);
        }
    }
    return Hnd_ktmdl_Topo();
}

ktmdl_TopoMap& ktmdl_TopoMap::Assign(const ktmdl_TopoMap& aOther)
{
    if (&aOther == this) {
        return *this;
    }
    Clear();
    ReSize(aOther.NbBuckets());
    for (ktmdl_MapIteratorOfTopoMap it(aOther); it.More() != 0; it.Next()) {
        Add(it.Key());
    }
    return *this;
}

unsigned char ktmdl_TopoMap::Add(const Hnd_ktmdl_Topo& aTopo)
{
    if (Extent() == 0 || (IsGrowthSuppressed() == 0 && Extent() > NbBuckets())) {
        ReSize(Extent());
    }
    const unsigned int hash = hashOf(aTopo);
    ktstd_MapNode** const chain = ChainOf(hash);
    ktstd_MapNode* previous = nullptr;
    // Only a reference that some set holds is looked for: what data make may all be in one chain.
    if (chain == nullptr || (aTopo->mNbSets != 0 && findIn(*chain, aTopo, previous) != nullptr)) {
        return 0;
    }
    Link(new ktmdl_StdMapNodeOfTopoMap(aTopo, nullptr), hash, *chain);
    return 1;
}

unsigned char ktmdl_TopoMap::Remove(const Hnd_ktmdl_Topo& aTopo)
{
    ktstd_MapNode* const node = Take(aTopo);
    delete static_cast<ktmdl_StdMapNodeOfTopoMap*>(node);
    return node != nullptr ? 1 : 0;
}

//! Takes the node of a reference out of the table.
//! @return  the caller's to delete or to put back; null when the reference is not there
//! @throws ktstd_fail_NullObject  the handle is null and the set not empty
ktstd_MapNode* ktmdl_TopoMap::Take(const Hnd_ktmdl_Topo& aTopo)
{
    if (Extent() == 0) {
        return nullptr;
    }
    ktstd_MapNode** const chain = ChainOf(hashOf(aTopo));
    ktstd_MapNode* previous = nullptr;
    ktstd_MapNode* const node = chain != nullptr ? findIn(*chain, aTopo, previous) : nullptr;
    if (node == nullptr) {
        return nullptr;
    }
    Unlink(node, previous, *chain);
    return node;
}

//! Puts a node that was just taken where Add would put its reference, whose key may be another one
//! by now. Takes no memory.
void ktmdl_TopoMap::PutBack(ktstd_MapNode* aNode) noexcept
{
    const unsigned int hash = hashOf(keyOf(aNode));
    Link(aNode, hash, *ChainOf(hash));
}

//! Puts a node in front of its chain.
void ktmdl_TopoMap::Link(ktstd_MapNode* aNode, unsigned int aHash, ktstd_MapNode*& aChain) noexcept
{
    aNode->SetHash(aHash);
    aNode->SetNext(aChain);
    aChain = aNode;
    ++mExtent;
    ++keyOf(aNode)->mNbSets;
}

//! Takes a node out of its chain.
//! @param aPrevious  the node before it; null for the head
void ktmdl_TopoMap::Unlink(ktstd_MapNode* aNode, ktstd_MapNode* aPrevious,
                           ktstd_MapNode*& aChain) noexcept
{
    LeaveSet(*keyOf(aNode));
    --mExtent;
    if (aPrevious != nullptr) {
        aPrevious->SetNext(aNode->Next());
    } else {
        aChain = aNode->Next();
    }
}

//! Notes that a node of a set is gone.
void ktmdl_TopoMap::LeaveSet(ktmdl_Topo& aTopo) noexcept
{
    --aTopo.mNbSets;
    if (aTopo.mNbSets == 0 && aTopo.mIsRekeyed) {
        aTopo.mIsRekeyed = false;
        --sNbRekeyed;
    }
}

//! Notes that a reference gets another key.
void ktmdl_TopoMap::Rekey(ktmdl_Topo& aTopo) noexcept
{
    if (aTopo.mNbSets != 0 && !aTopo.mIsRekeyed) {
        aTopo.mIsRekeyed = true;
        ++sNbRekeyed;
    }
}

//! Removes the references that nothing but this set holds. They die when all of them are out: what
//! dies with one may use the map.
void ktmdl_TopoMap::RemoveUnused()
{
    ktstd_MapNode* first = nullptr;
    ktstd_MapNode* last = nullptr;
    for (long b = 0; Extent() != 0 && b <= NbBuckets(); ++b) {
        ktstd_MapNode*& chain = Buckets()[b];
        ktstd_MapNode* previous = nullptr;
        ktstd_MapNode* next = nullptr;
        for (ktstd_MapNode* node = chain; node != nullptr; node = next) {
            next = node->Next();
            // One whose key leads elsewhere by now is not found by Remove and stays.
            if (keyOf(node)->RefCount() != 1 || reduce(hashAt(node), NbBuckets()) != b) {
                previous = node;
                continue;
            }
            Unlink(node, previous, chain);
            node->SetNext(nullptr);
            if (last != nullptr) {
                last->SetNext(node);
            } else {
                first = node;
            }
            last = node;
        }
    }
    deleteChain(first);
}

void ktmdl_TopoMap::ReSize(long aSize)
{
    long nbBuckets = 0;
    ktstd_MapNode* first = nullptr;
    ktstd_MapNode* second = nullptr;
    if (BeginResize(checkedSize(aSize), nbBuckets, first, second) == 0) {
        return;
    }
    ktstd_MapNode** const old = Buckets();
    ktstd_MapNode** const slots = Slots(first);
    for (long b = 0; old != nullptr && b <= NbBuckets(); ++b) {
        ktstd_MapNode* node = old[b];
        while (node != nullptr) {
            ktstd_MapNode* const next = node->Next();
            ktstd_MapNode*& head = slots[reduce(hashAt(node), nbBuckets)];
            node->SetNext(head);
            head = node;
            node = next;
        }
    }
    EndResize(aSize, nbBuckets, first, second);
}

void ktmdl_TopoMap::Clear() noexcept
{
    // The map is empty before the first reference goes: what dies with one may use the map.
    ktstd_MapNode* chain = nullptr;
    if (Extent() != 0) {
        ktstd_MapNode** const buckets = Buckets();
        for (long b = 0; b <= NbBuckets(); ++b) {
            while (buckets[b] != nullptr) {
                ktstd_MapNode* const node = buckets[b];
                buckets[b] = node->Next();
                node->SetNext(chain);
                chain = node;
            }
        }
    }
    Destroy();
    for (ktstd_MapNode* node = chain; node != nullptr; node = node->Next()) {
        LeaveSet(*keyOf(node));
    }
    deleteChain(chain);
}

//! Gives the slot of a key's bucket, in a map that has buckets; null when the hash has none.
ktstd_MapNode** ktmdl_TopoMap::ChainOf(unsigned int aHash) const noexcept
{
    const long bucket = reduce(aHash, NbBuckets());
    return bucket >= 0 ? Buckets() + bucket : nullptr;
}

ktstd_Archive& operator<<(ktstd_Archive& aArchive, const ktmdl_TopoMap& aMap)
{
    // On purpose: not constant, as a loading archive loads here too.
    // Pinned by BothOperatorsGoByTheArchive.
    const_cast<ktmdl_TopoMap&>(aMap).Serialize(aArchive);
    return aArchive;
}

ktstd_Archive& operator>>(ktstd_Archive& aArchive, ktmdl_TopoMap& aMap)
{
    aMap.Serialize(aArchive);
    return aArchive;
}

const Hnd_ktmdl_Topo& ktmdl_MapIteratorOfTopoMap::Key() const
{
    const ktstd_MapNode* const node = Node();
    if (node == nullptr) {
        ktstd_fail_NoSuchObject::Raise("ktstd_MapIterator::Key");
    }
    return keyOf(node);
}
