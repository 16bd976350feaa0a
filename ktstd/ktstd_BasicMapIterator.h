//! @file
//! Untyped walk over the nodes of a hashed map; typed iterators add the key.
#pragma once

#include "ktstd/ktstd_Export.h"
#include "ktstd/ktstd_MapNode.h"

class ktstd_BasicMap;

//! A walk over a map: bucket by bucket in ascending index, each chain from its head.
//! The map must live, and keep its nodes and buckets, as long as the walk goes on.
class KTSTD_EXPORT ktstd_BasicMapIterator
{
public:
    //! Makes a walk that is at its end.
    ktstd_BasicMapIterator() noexcept = default;
    //! Starts at the map's first node.
    explicit ktstd_BasicMapIterator(const ktstd_BasicMap& aMap) noexcept;

    //! Starts anew at a map's first node.
    void Initialize(const ktstd_BasicMap& aMap) noexcept;
    //! Gives 1 while there is a current node, else 0.
    [[nodiscard]] unsigned char More() const noexcept { return mNode != nullptr ? 1 : 0; }
    //! Moves on to the next node; at the end nothing happens.
    void Next() noexcept;

protected:
    //! Gives the current node; null at the end. Borrowed.
    [[nodiscard]] ktstd_MapNode* Node() const noexcept { return mNode; }

private:
    void SkipEmptyBuckets() noexcept;

    ktstd_MapNode* const* mBuckets{nullptr}; //!< the map's slots
    long mNbBuckets{0};
    long mBucket{0};               //!< index of the current node's bucket
    ktstd_MapNode* mNode{nullptr}; //!< current node
};
