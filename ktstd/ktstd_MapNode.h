//! @file
//! Node of a hashed map: the link to the next node of its bucket. Typed maps derive nodes with a
//! key.
#pragma once

#include "ktstd/ktstd_Export.h"
#include "ktstd/ktstd_TShared.h"

#include <cstdint>

class ktstd_MapNode;
KTSTD_HANDLE(ktstd_MapNode, Hnd_ktstd_TShared)

//! Gives the descriptor of ktstd_MapNode.
KTSTD_EXPORT Hnd_ktstd_Type& ktstd_MapNode_Type_();

//! A node in the chain of a bucket. It is owned by its map; its link is a plain pointer, null at
//! the chain's end.
class KTSTD_EXPORT ktstd_MapNode : public ktstd_TShared
{
public:
    //! @param aNext  the next node of the chain; may be null
    explicit ktstd_MapNode(ktstd_MapNode* const& aNext) noexcept : mNext(aNext) {}
    ktstd_MapNode(const ktstd_MapNode&) = delete;
    ktstd_MapNode& operator=(const ktstd_MapNode&) = delete;
    ~ktstd_MapNode() override = default;
    KTSTD_DECLARE_TYPE(ktstd_MapNode)

    [[nodiscard]] ktstd_MapNode* Next() const noexcept { return mNext; }
    void SetNext(ktstd_MapNode* aNode) noexcept { mNext = aNode; }
    //! Gives the hash of the node's key as the typed map noted it; 0 until then.
    [[nodiscard]] std::uint32_t Hash() const noexcept { return mHash; }
    void SetHash(std::uint32_t aHash) noexcept { mHash = aHash; }

private:
    std::uint32_t mHash{0}; //!< so that growing a table need not visit the keys
    ktstd_MapNode* mNext;   //!< borrowed
};
