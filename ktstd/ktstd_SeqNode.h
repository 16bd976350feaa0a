//! @file
//! Node of a sequence: the links to its neighbours. Typed sequences derive nodes with an element.
#pragma once

#include "ktstd/ktstd_Export.h"
#include "ktstd/ktstd_TShared.h"

class ktstd_SeqNode;
KTSTD_HANDLE(ktstd_SeqNode, Hnd_ktstd_TShared)

//! Gives the descriptor of ktstd_SeqNode.
KTSTD_EXPORT Hnd_ktstd_Type& ktstd_SeqNode_Type_();

//! A node of a doubly linked sequence. It is owned by its sequence; its links are plain pointers,
//! null at the ends.
class KTSTD_EXPORT ktstd_SeqNode : public ktstd_TShared
{
public:
    //! @param aNext      the node after this one; may be null
    //! @param aPrevious  the node before this one; may be null
    ktstd_SeqNode(ktstd_SeqNode* const& aNext, ktstd_SeqNode* const& aPrevious) noexcept
        : mNext(aNext),
          mPrevious(aPrevious)
    {}
    ktstd_SeqNode(const ktstd_SeqNode&) = delete;
    ktstd_SeqNode& operator=(const ktstd_SeqNode&) = delete;
    ~ktstd_SeqNode() override = default;
    KTSTD_DECLARE_TYPE(ktstd_SeqNode)

    [[nodiscard]] ktstd_SeqNode* Next() const noexcept { return mNext; }
    [[nodiscard]] ktstd_SeqNode* Previous() const noexcept { return mPrevious; }
    void SetNext(ktstd_SeqNode* aNode) noexcept { mNext = aNode; }
    void SetPrevious(ktstd_SeqNode* aNode) noexcept { mPrevious = aNode; }

private:
    ktstd_SeqNode* mNext;     //!< borrowed
    ktstd_SeqNode* mPrevious; //!< borrowed
};
