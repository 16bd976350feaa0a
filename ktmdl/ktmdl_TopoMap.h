//! @file
//! Set of topology references, and the walk over it.
#pragma once

#include "ktmdl/Hnd_ktmdl_Topo.h"
#include "ktmdl/ktmdl_Export.h"
#include "ktstd/ktstd_BasicMap.h"
#include "ktstd/ktstd_BasicMapIterator.h"
#include "ktstd/ktstd_MapNode.h"

class ktstd_Archive;

class ktmdl_StdMapNodeOfTopoMap;
KTSTD_HANDLE(ktmdl_StdMapNodeOfTopoMap, Hnd_ktstd_MapNode)

//! Gives the descriptor of ktmdl_StdMapNodeOfTopoMap.
KTMDL_EXPORT Hnd_ktstd_Type& ktmdl_StdMapNodeOfTopoMap_Type_();

//! A node of a ktmdl_TopoMap.
class KTMDL_EXPORT ktmdl_StdMapNodeOfTopoMap final : public ktstd_MapNode
{
public:
    //! @param aKey   the reference; null in no set
    //! @param aNext  the node after this one; may be null
    ktmdl_StdMapNodeOfTopoMap(const Hnd_ktmdl_Topo& aKey, ktstd_MapNode* const& aNext) noexcept;
    ktmdl_StdMapNodeOfTopoMap(const ktmdl_StdMapNodeOfTopoMap&) = delete;
    ktmdl_StdMapNodeOfTopoMap& operator=(const ktmdl_StdMapNodeOfTopoMap&) = delete;
    KTSTD_DECLARE_TYPE(ktmdl_StdMapNodeOfTopoMap)

    [[nodiscard]] const Hnd_ktmdl_Topo& Key() const noexcept { return mKey; }

private:
    Hnd_ktmdl_Topo mKey;
};

//! Hash and equality of the references in a ktmdl_TopoMap.
class KTMDL_EXPORT ktmdl_MapTopoHasher
{
public:
    //! Reduces the hash of a reference's host key to a bucket.
    //! @param aTopo   not null
    //! @param aUpper  upper bound of the result
    //! @return        0 to aUpper; -1 when aUpper is negative
    //! @throws ktstd_fail_NullObject  the handle is null
    [[nodiscard]] static long HashCode(const Hnd_ktmdl_Topo& aTopo, long aUpper);
    //! Tells whether both handles hold the same object: 1 or 0. Equal host keys don't count.
    [[nodiscard]] static unsigned char IsEqual(const Hnd_ktmdl_Topo& aFirst,
                                               const Hnd_ktmdl_Topo& aSecond) noexcept;
};

//! A hashed set of handles to topology references.
//!
//! What counts is the object: two references with equal host keys may both be in the set. Whether
//! some reference with a given key is there tells FindByKey. The key of a reference must not change
//! while the set holds it.
//!
//! A copy is made with Assign: unlike a standard container's, the copy constructor refuses a set
//! that holds references. Order is that of the buckets, neither sorted nor that of adding, and
//! changes when the table grows.
class KTMDL_EXPORT ktmdl_TopoMap : public ktstd_BasicMap
{
public:
    //! @param aNbBuckets  buckets wanted at first; less than 1 leaves it to the map
    //! @throws ktstd_fail_OutOfRange  the number doesn't fit 32 bits
    explicit ktmdl_TopoMap(long aNbBuckets);
    //! Makes an empty set with as many buckets as another empty set.
    //! @throws ktstd_fail_DomainError  the other set is not empty
    ktmdl_TopoMap(const ktmdl_TopoMap& aOther);
    //! The same as Assign.
    ktmdl_TopoMap& operator=(const ktmdl_TopoMap& aOther)
    {
        Assign(aOther);
        return *this;
    }
    virtual ~ktmdl_TopoMap();

    //! Stores the number of references and the references, or loads them, which adds them to those
    //! that are in the set.
    //! @throws ktstd_fail_FileIO  as ktstd_Archive::WriteObject and ReadObject, or a null reference
    //!                            is loaded; references read before stay
    virtual void Serialize(ktstd_Archive& aArchive);

    //! Tells whether this very object is in the set: 1 or 0.
    //! @throws ktstd_fail_NullObject  the handle is null and the set not empty
    [[nodiscard]] unsigned char Contains(const Hnd_ktmdl_Topo& aTopo) const;
    //! Gives a reference with a host key: of several the first in its bucket.
    //! @param aSize  key length in bytes
    //! @param aKey   aSize bytes; borrowed
    //! @return       null when there is none
    [[nodiscard]] Hnd_ktmdl_Topo FindByKey(long aSize, const unsigned char* aKey) const;

    //! Becomes a set of the same references.
    //! @param aOther  may be this set, which changes nothing
    //! @return        this set
    ktmdl_TopoMap& Assign(const ktmdl_TopoMap& aOther);
    //! Puts a reference into the set.
    //! @return  1; 0 when this very object is there already
    //! @throws ktstd_fail_NullObject  the handle is null
    unsigned char Add(const Hnd_ktmdl_Topo& aTopo);
    //! Takes a reference out of the set.
    //! @return  1; 0 when this very object is not there
    //! @throws ktstd_fail_NullObject  the handle is null and the set not empty
    unsigned char Remove(const Hnd_ktmdl_Topo& aTopo);
    //! Sizes the table for a number of references, unless it is large enough.
    //! @throws ktstd_fail_OutOfRange  the number doesn't fit 32 bits; nothing changes
    void ReSize(long aSize);
    //! Takes all references out and releases the table.
    void Clear() noexcept;

private:
    friend class ktmdl_Topo; // moves a reference to the bucket of its new key

    static void LeaveSet(ktmdl_Topo& aTopo) noexcept;
    static void Rekey(ktmdl_Topo& aTopo) noexcept;
    [[nodiscard]] ktstd_MapNode** ChainOf(unsigned int aHash) const noexcept;
    void Link(ktstd_MapNode* aNode, unsigned int aHash, ktstd_MapNode*& aChain) noexcept;
    void Unlink(ktstd_MapNode* aNode, ktstd_MapNode* aPrevious, ktstd_MapNode*& aChain) noexcept;
    [[nodiscard]] ktstd_MapNode* Take(const Hnd_ktmdl_Topo& aTopo);
    void PutBack(ktstd_MapNode* aNode) noexcept;
    void RemoveUnused();
};

//! Calls Serialize: the archive's mode, not the operator, tells whether it stores or loads.
KTMDL_EXPORT ktstd_Archive& operator<<(ktstd_Archive& aArchive, const ktmdl_TopoMap& aMap);
//! Calls Serialize: the archive's mode, not the operator, tells whether it stores or loads.
KTMDL_EXPORT ktstd_Archive& operator>>(ktstd_Archive& aArchive, ktmdl_TopoMap& aMap);

//! A walk over a ktmdl_TopoMap, which must live and not be changed meanwhile.
class KTMDL_EXPORT ktmdl_MapIteratorOfTopoMap : public ktstd_BasicMapIterator
{
public:
    //! Makes a walk that is at its end.
    ktmdl_MapIteratorOfTopoMap() noexcept = default;
    //! Starts at the set's first reference.
    explicit ktmdl_MapIteratorOfTopoMap(const ktmdl_TopoMap& aMap) noexcept
        : ktstd_BasicMapIterator(aMap)
    {}

    //! Starts anew at a set's first reference.
    void Initialize(const ktmdl_TopoMap& aMap) noexcept
    {
        ktstd_BasicMapIterator::Initialize(aMap);
    }
    //! Gives the current reference; borrowed from the set.
    //! @throws ktstd_fail_NoSuchObject  the walk is at its end
    [[nodiscard]] const Hnd_ktmdl_Topo& Key() const;
};
