//! @file
//! What the typed sequences have in common. Use ktmdl_Pnt3dSeq, ktmdl_Trsf3dSeq,
//! ktmdl_ErosionPosSeq or ktmdl_TopoSeq.
#pragma once

#include "ktmdl/ktmdl_Export.h"
#include "ktstd/ktstd_BaseSequence.h"
#include "ktstd/ktstd_SeqNode.h"
#include "ktstd/ktstd_fail.h"

#include <memory>
#include <utility>

namespace ktmdl_detail {

//! Raises ktstd_fail_OutOfRange for an index.
//! @param aOperation  name of the operation that was given the index
[[noreturn]] KTMDL_EXPORT void RaiseOutOfRange(const char* aOperation, long aIdx, long aSize);

//! A sequence node that holds an element by value.
template <class Element>
class KTMDL_VISIBLE ValueNode : public ktstd_SeqNode
{
public:
    ValueNode(const Element& aValue, ktstd_SeqNode* const& aNext, ktstd_SeqNode* const& aPrevious)
        : ktstd_SeqNode(aNext, aPrevious),
          mValue(aValue)
    {}

    [[nodiscard]] const Element& Value() const noexcept { return mValue; }
    [[nodiscard]] Element& ChangeValue() noexcept { return mValue; }

private:
    Element mValue;
};

//! A sequence of elements held by value, with positions from 1 to Length.
//!
//! Copies are deep. An index is answered from the nearest of first, last and most recently used
//! element, so walking by neighbouring indices costs the same at every step; for that, reading
//! notes the position even in a constant sequence. References to elements stay good until the
//! element is removed. An element of the sequence itself may be given as argument.
//! @tparam Sequence  the class that derives from this one
//! @tparam Element   copyable
//! @tparam Node      a final ValueNode of Element
template <class Sequence, class Element, class Node>
class KTMDL_VISIBLE ValueSeq : public ktstd_BaseSequence
{
public:
    //! Gives the first element.
    //! @throws ktstd_fail_NoSuchObject  the sequence is empty
    [[nodiscard]] const Element& First() const
    {
        if (mSize == 0) {
            ktstd_fail_NoSuchObject::Raise("ktstd_Sequence::First");
        }
        return ValueOf(mFirstItem);
    }
    //! Gives the last element.
    //! @throws ktstd_fail_NoSuchObject  the sequence is empty
    [[nodiscard]] const Element& Last() const
    {
        if (mSize == 0) {
            ktstd_fail_NoSuchObject::Raise("ktstd_Sequence::Last");
        }
        return ValueOf(mLastItem);
    }
    //! Gives the element at an index.
    //! @param aIdx  1 to Length
    //! @throws ktstd_fail_OutOfRange  another index
    [[nodiscard]] const Element& Value(long aIdx) const
    {
        CheckIndex("ktstd_Sequence::Value", aIdx, 1);
        return static_cast<const Node*>(NodeAt(aIdx))->Value();
    }
    //! Gives the element at an index for modification.
    //! @param aIdx  1 to Length
    //! @throws ktstd_fail_OutOfRange  another index
    [[nodiscard]] Element& ChangeValue(long aIdx)
    {
        CheckIndex("ktstd_Sequence::ChangeValue", aIdx, 1);
        return static_cast<Node*>(NodeAt(aIdx))->ChangeValue();
    }

    //! Becomes a copy of another sequence.
    //! @param aOther  may be this sequence, which changes nothing
    //! @return        this sequence
    const Sequence& Assign(const Sequence& aOther)
    {
        CopyFrom(aOther);
        return static_cast<const Sequence&>(*this);
    }
    //! Replaces the element at an index.
    //! @param aIdx    1 to Length
    //! @param aValue  the new element
    //! @throws ktstd_fail_OutOfRange  another index; the message names ChangeValue
    void SetValue(long aIdx, const Element& aValue)
    {
        // On purpose: no message of its own. Pinned by ChangeValueAndSetValueOutsideRaise.
        ChangeValue(aIdx) = aValue;
    }
    //! Puts an element at the end.
    void Append(const Element& aValue)
    {
        std::unique_ptr<Node> node(new Node(aValue, nullptr, mLastItem));
        PAppend(Untyped(node.get()));
        static_cast<void>(node.release());
    }
    //! Puts an element at the front.
    void Prepend(const Element& aValue)
    {
        std::unique_ptr<Node> node(new Node(aValue, mFirstItem, nullptr));
        PPrepend(Untyped(node.get()));
        static_cast<void>(node.release());
    }
    //! Puts an element behind the one at an index.
    //! @param aIdx    0 to Length; 0 puts it at the front
    //! @param aValue  the new element
    //! @throws ktstd_fail_OutOfRange  another index
    void InsertAfter(long aIdx, const Element& aValue)
    {
        CheckIndex("ktstd_Sequence::InsertAfter", aIdx, 0);
        std::unique_ptr<Node> node(new Node(aValue, nullptr, nullptr));
        PInsertAfter(aIdx, Untyped(node.get()));
        static_cast<void>(node.release());
    }
    //! Removes the element at an index.
    //! @param aIdx  1 to Length
    //! @throws ktstd_fail_OutOfRange  another index; nothing is removed
    void Remove(long aIdx) { ktstd_BaseSequence::Remove(aIdx, NodeDeleter()); }
    //! Removes the elements from one index to another, both included.
    //! @param aFrom  1 to aTo
    //! @param aTo    aFrom to Length
    //! @throws ktstd_fail_OutOfRange  other indices; nothing is removed
    void Remove(long aFrom, long aTo) { ktstd_BaseSequence::Remove(aFrom, aTo, NodeDeleter()); }
    //! Removes all elements.
    void Clear() { ktstd_BaseSequence::Clear(NodeDeleter()); }

protected:
    ValueSeq() noexcept = default;
    ValueSeq(const ValueSeq& aOther) : ktstd_BaseSequence() { CopyFrom(aOther); }
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): CopyFrom compares first
    ValueSeq& operator=(const ValueSeq& aOther)
    {
        CopyFrom(aOther);
        return *this;
    }
    ~ValueSeq() { Clear(); }

private:
    static const Element& ValueOf(const ktstd_SeqNode* aNode) noexcept
    {
        return static_cast<const Node*>(aNode)->Value();
    }
    static void* Untyped(ktstd_SeqNode* aNode) noexcept { return aNode; }
    static void DeleteNode(ktstd_SeqNode* aNode) { delete static_cast<Node*>(aNode); }
    static void* NodeDeleter() noexcept { return Deleter(&DeleteNode); }

    void CheckIndex(const char* aOperation, long aIdx, long aLowest) const
    {
        if (aIdx < aLowest || aIdx > mSize) {
            RaiseOutOfRange(aOperation, aIdx, mSize);
        }
    }

    //! Makes all nodes before it gives up the old ones: when one can't be made, nothing changes.
    void CopyFrom(const ValueSeq& aOther)
    {
        if (&aOther == this) {
            return;
        }
        ValueSeq copy;
        for (const ktstd_SeqNode* node = aOther.mFirstItem; node != nullptr; node = node->Next()) {
            auto* const made = new Node(ValueOf(node), nullptr, copy.mLastItem);
            if (copy.mLastItem != nullptr) {
                copy.mLastItem->SetNext(made);
            } else {
                copy.mFirstItem = made;
            }
            copy.mLastItem = made;
            ++copy.mSize;
        }
        Clear();
        mFirstItem = std::exchange(copy.mFirstItem, nullptr);
        mLastItem = std::exchange(copy.mLastItem, nullptr);
        mSize = std::exchange(copy.mSize, 0);
        mCurrentItem = mFirstItem;
        mCurrentIndex = 1;
    }
};

} // namespace ktmdl_detail
