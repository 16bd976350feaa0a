//! @file
//! Untyped doubly linked sequence with 1-based positions; base of the typed sequences, which add
//! the element, its node and the deleting of nodes.
#pragma once

#include "ktstd/ktstd_Export.h"
#include "ktstd/ktstd_SeqNode.h"

//! A sequence of nodes with positions from 1 to Length, and a cursor.
//!
//! A position is found from the nearest of the first node, the last node and the cursor, so walking
//! by neighbouring positions costs the same at every step. Finding moves the cursor.
//! The nodes belong to the sequence, but only the derived class can delete them: its destructor
//! must call Clear. Nodes are handed over as plain pointers to a class derived from ktstd_SeqNode.
class KTSTD_EXPORT ktstd_BaseSequence
{
public:
    //! Deletes a node; null is allowed and changes nothing.
    using NodeDeleter = void (*)(ktstd_SeqNode* aNode);

    ktstd_BaseSequence(const ktstd_BaseSequence&) = delete;
    ktstd_BaseSequence& operator=(const ktstd_BaseSequence&) = delete;

    //! Gives the number of elements.
    [[nodiscard]] long Length() const noexcept { return mSize; }
    //! Gives 1 when there is no element, else 0.
    [[nodiscard]] unsigned char IsEmpty() const noexcept { return mSize == 0 ? 1 : 0; }
    //! Makes the elements at two positions change places; the same position twice changes nothing.
    //! @throws ktstd_fail_OutOfRange  a position is outside 1 to Length; nothing changes
    void Exchange(long aFirst, long aSecond);
    //! Reverses the order of the elements.
    void Reverse() noexcept;

    //! Gives a node deleter in the form that Remove and Clear take.
    [[nodiscard]] static void* Deleter(NodeDeleter aDeleter) noexcept;

protected:
    ktstd_BaseSequence() noexcept = default;
    ~ktstd_BaseSequence() = default;

    // The following operations throw ktstd_fail_OutOfRange for a position outside its range, and
    // ktstd_fail_NullObject for a null node or deleter. When they throw, nothing has changed and
    // the node still belongs to the caller. A sequence holds up to 2,147,483,647 elements; one more
    // is out of range.

    //! Puts a node at the end. @param aNode  a ktstd_SeqNode; its links are set
    void PAppend(void* aNode);
    //! Puts a node at the front. @param aNode  a ktstd_SeqNode; its links are set
    void PPrepend(void* aNode);
    //! Puts a node behind a position.
    //! @param aIdx   0 to Length; 0 puts it at the front
    //! @param aNode  a ktstd_SeqNode; its links are set
    void PInsertAfter(long aIdx, void* aNode);
    //! Moves the element at a position and all behind it to the end of another sequence.
    //! @param aIdx       1 to Length
    //! @param aSequence  of the same node class; not this sequence (ktstd_fail_DomainError)
    void PSplit(long aIdx, ktstd_BaseSequence& aSequence);
    //! Gives the node at a position, which becomes the cursor.
    //! @param aIdx  1 to Length
    //! @return     a ktstd_SeqNode; borrowed
    [[nodiscard]] void* Find(long aIdx) const;
    //! Does what Find does, for a position in range, without a call when it is that behind the
    //! cursor, as at each step of a walk.
    [[nodiscard]] ktstd_SeqNode* NodeAt(long aIdx) const
    {
        if (mCurrentItem == nullptr || aIdx != mCurrentIndex + 1) {
            return static_cast<ktstd_SeqNode*>(Find(aIdx));
        }
        mCurrentItem = mCurrentItem->Next();
        mCurrentIndex = aIdx;
        return mCurrentItem;
    }
    //! Removes the element at a position.
    //! @param aIdx      1 to Length
    //! @param aDeleter  from Deleter
    void Remove(long aIdx, void* aDeleter);
    //! Removes the elements from one position to another, both included.
    //! @param aFrom     1 to aTo
    //! @param aTo       aFrom to Length
    //! @param aDeleter  from Deleter
    void Remove(long aFrom, long aTo, void* aDeleter);
    //! Removes all elements. @param aDeleter  from Deleter
    void Clear(void* aDeleter);

    ktstd_SeqNode* mFirstItem{nullptr};           //!< node at position 1, or null
    ktstd_SeqNode* mLastItem{nullptr};            //!< node at position mSize, or null
    mutable ktstd_SeqNode* mCurrentItem{nullptr}; //!< cursor: node at mCurrentIndex, or null
    mutable long mCurrentIndex{0};                //!< position of the cursor when it has a node
    long mSize{0};                                //!< number of elements

private:
    void CheckRoom() const;
    void Join(ktstd_SeqNode* aBefore, ktstd_SeqNode* aAfter) noexcept;
    void ResetCursor() noexcept;
};
