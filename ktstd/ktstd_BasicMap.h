//! @file
//! Untyped hashed map: bucket array and its sizing; base of the typed maps, which add the key, its
//! node, its hash and the deleting of nodes.
#pragma once

#include "ktstd/ktstd_Export.h"
#include "ktstd/ktstd_MapNode.h"

class ktstd_BasicMapIterator;

//! Buckets 0 to NbBuckets, each the head of a chain of nodes.
//!
//! There is no bucket array until the map is resized for the first time, which a typed map does
//! before it adds its first key. The array has NbBuckets + 1 slots, a power of two, and grows so
//! that a typed map that resizes when it holds more keys than buckets keeps its chains short.
//! The nodes belong to the map, but only the derived class can delete them: its destructor must
//! delete all nodes, then call Destroy.
//!
//! Arrays pass through BeginResize and EndResize as opaque pointers; Slots opens them. A map of the
//! one-array form has only the first of the two.
class KTSTD_EXPORT ktstd_BasicMap
{
public:
    ktstd_BasicMap(const ktstd_BasicMap&) = delete;
    ktstd_BasicMap& operator=(const ktstd_BasicMap&) = delete;

    //! Gives the number of keys.
    [[nodiscard]] long Extent() const noexcept { return mExtent; }
    //! Gives the index of the last bucket; before the array exists, the size asked for.
    [[nodiscard]] long NbBuckets() const noexcept { return mNbBuckets; }
    //! Gives 1 when there is no key, else 0.
    [[nodiscard]] unsigned char IsEmpty() const noexcept { return mExtent == 0 ? 1 : 0; }

protected:
    //! @param aSize     buckets wanted when the array is first made; less than 1 leaves it to the
    //!                  map
    //! @param aOneArray 1 for one array of buckets, 0 for two of the same size
    ktstd_BasicMap(long aSize, unsigned char aOneArray) noexcept;
    ~ktstd_BasicMap();

    //! Chooses a new bucket count and makes the arrays for it.
    //! @param aSize        number of keys that the table is to hold
    //! @param aNbBuckets   receives the new count, above aSize as long as that can be
    //! @param aFirst       receives an array of aNbBuckets + 1 empty slots
    //! @param aSecond      receives another one, or null in the one-array form
    //! @return             1; 0 when the table is already large enough, and the outputs are left
    unsigned char BeginResize(long aSize, long& aNbBuckets, ktstd_MapNode*& aFirst,
                              ktstd_MapNode*& aSecond) const;
    //! Installs the arrays of BeginResize, now filled, and releases the old ones.
    //! @param aSize       as given to BeginResize
    //! @param aNbBuckets  as BeginResize gave it
    //! @param aFirst      taken
    //! @param aSecond     taken
    void EndResize(long aSize, long aNbBuckets, ktstd_MapNode* const& aFirst,
                   ktstd_MapNode* const& aSecond) noexcept;
    //! Releases the arrays and leaves a map without keys and buckets. Nodes are not deleted.
    void Destroy() noexcept;

    //! Gives the slots of an array of BeginResize.
    [[nodiscard]] static ktstd_MapNode** Slots(ktstd_MapNode* aArray) noexcept;
    //! Gives the map's own slots, 0 to NbBuckets; null while there is no array.
    [[nodiscard]] ktstd_MapNode** Buckets() const noexcept { return Slots(mFirstArray); }
    //! Gives 1 while a typed map grows only when it is empty, else 0.
    [[nodiscard]] unsigned char IsGrowthSuppressed() const noexcept { return mIsGrowthSuppressed; }
    //! @param aIsSuppressed  1 to keep the bucket count while the map holds keys
    void SuppressGrowth(unsigned char aIsSuppressed) noexcept
    {
        mIsGrowthSuppressed = aIsSuppressed;
    }

    ktstd_MapNode* mFirstArray{nullptr};  //!< owned; opened by Slots
    ktstd_MapNode* mSecondArray{nullptr}; //!< owned; null in the one-array form
    unsigned char mIsOneArray;
    unsigned char mIsGrowthSuppressed{0};
    long mNbBuckets;
    long mExtent{0}; //!< counted by the typed map

private:
    friend class ktstd_BasicMapIterator;
};
