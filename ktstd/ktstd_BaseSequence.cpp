#include "ktstd/ktstd_BaseSequence.h"

#include "ktstd/ktstd_FailureText_detail.h"
#include "ktstd/ktstd_fail.h"

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <utility>

namespace {

[[noreturn]] void raiseOutOfRange(const char* aOperation, long aIdx, long aSize)
{
    ktstd_detail::FailureText text;
    text << "ktstd_BaseSequence::" << aOperation << " (aIdx=" << aIdx << ", mSize=" << aSize << ")"
         << std::ends;
    ktstd_fail_OutOfRange::Raise(text);
}

[[noreturn]] void raiseOutOfRange(const char* aOperation, long aFirst, long aSecond, long aSize)
{
    ktstd_detail::FailureText text;
    text << "ktstd_BaseSequence::" << aOperation << " (" << aFirst << ", " << aSecond
         << ", mSize=" << aSize << ")" << std::ends;
    ktstd_fail_OutOfRange::Raise(text);
}

ktstd_SeqNode* nodeOf(void* aNode)
{
    if (aNode == nullptr) {
        ktstd_fail_NullObject::Raise("ktstd_BaseSequence: null node");
    }
    return static_cast<ktstd_SeqNode*>(aNode);
}

ktstd_BaseSequence::NodeDeleter deleterOf(void* aDeleter)
{
    if (aDeleter == nullptr) {
        ktstd_fail_NullObject::Raise("ktstd_BaseSequence: null node deleter");
    }
    return reinterpret_cast<ktstd_BaseSequence::NodeDeleter>(aDeleter);
}

//! Deletes the nodes of a chain that belongs to no sequence any more.
void deleteChain(ktstd_SeqNode* aFirst, ktstd_BaseSequence::NodeDeleter aDeleter)
{
    while (aFirst != nullptr) {
        ktstd_SeqNode* const next = aFirst->Next();
        aDeleter(aFirst);
        aFirst = next;
    }
}

} // namespace

void* ktstd_BaseSequence::Deleter(NodeDeleter aDeleter) noexcept
{
    return reinterpret_cast<void*>(aDeleter);
}

void ktstd_BaseSequence::CheckRoom() const
{
    constexpr long kMost = std::numeric_limits<std::int32_t>::max();
    if (mSize >= kMost) {
        raiseOutOfRange("PInsertAfter", mSize, mSize);
    }
}

//! Makes two nodes neighbours; null stands for the outside.
void ktstd_BaseSequence::Join(ktstd_SeqNode* aBefore, ktstd_SeqNode* aAfter) noexcept
{
    if (aBefore != nullptr) {
        aBefore->SetNext(aAfter);
    } else {
        mFirstItem = aAfter;
    }
    if (aAfter != nullptr) {
        aAfter->SetPrevious(aBefore);
    } else {
        mLastItem = aBefore;
    }
}

void ktstd_BaseSequence::ResetCursor() noexcept
{
    mCurrentItem = mFirstItem;
    mCurrentIndex = 1;
}

void* ktstd_BaseSequence::Find(long aIdx) const
{
    if (aIdx < 1 || aIdx > mSize) {
        raiseOutOfRange("Find", aIdx, mSize);
    }
    ktstd_SeqNode* node = mFirstItem;
    long at = 1;
    if (mSize - aIdx < aIdx - at) {
        node = mLastItem;
        at = mSize;
    }
    if (mCurrentItem != nullptr && std::labs(mCurrentIndex - aIdx) < std::labs(at - aIdx)) {
        node = mCurrentItem;
        at = mCurrentIndex;
    }
    for (; at < aIdx; ++at) {
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): each position up to mSize has a node
        node = node->Next();
    }
    for (; at > aIdx; --at) {
        node = node->Previous();
    }
    mCurrentItem = node;
    mCurrentIndex = aIdx;
    return node;
}

void ktstd_BaseSequence::PAppend(void* aNode)
{
    CheckRoom();
    ktstd_SeqNode* const node = nodeOf(aNode);
    Join(mLastItem, node);
    Join(node, nullptr);
    ++mSize;
    if (mCurrentItem == nullptr) {
        ResetCursor();
    }
}

void ktstd_BaseSequence::PPrepend(void* aNode)
{
    PInsertAfter(0, aNode);
}

void ktstd_BaseSequence::PInsertAfter(long aIdx, void* aNode)
{
    if (aIdx < 0 || aIdx > mSize) {
        raiseOutOfRange("PInsertAfter", aIdx, mSize);
    }
    CheckRoom();
    ktstd_SeqNode* const node = nodeOf(aNode);
    // The last node is not searched for: appending leaves the cursor where a walk has it.
    ktstd_SeqNode* const before = aIdx == 0       ? nullptr
                                  : aIdx == mSize ? mLastItem
                                                  : static_cast<ktstd_SeqNode*>(Find(aIdx));
    ktstd_SeqNode* const after = before == nullptr ? mFirstItem : before->Next();
    Join(before, node);
    Join(node, after);
    ++mSize;
    if (mCurrentItem == nullptr) {
        ResetCursor();
    } else if (mCurrentIndex > aIdx) {
        ++mCurrentIndex;
    }
}

void ktstd_BaseSequence::PSplit(long aIdx, ktstd_BaseSequence& aSequence)
{
    if (aIdx < 1 || aIdx > mSize) {
        raiseOutOfRange("PSplit", aIdx, mSize);
    }
    if (&aSequence == this) {
        ktstd_fail_DomainError::Raise("ktstd_BaseSequence::PSplit: into the sequence itself");
    }
    constexpr long kMost = std::numeric_limits<std::int32_t>::max();
    const long moved = mSize - aIdx + 1;
    if (aSequence.mSize > kMost - moved) {
        raiseOutOfRange("PSplit", aIdx, mSize);
    }
    auto* const first = static_cast<ktstd_SeqNode*>(Find(aIdx));
    ktstd_SeqNode* const last = mLastItem;

    Join(first->Previous(), nullptr);
    mSize = aIdx - 1;
    ResetCursor();

    aSequence.Join(aSequence.mLastItem, first);
    aSequence.mLastItem = last;
    aSequence.mSize += moved;
    aSequence.ResetCursor();
}

void ktstd_BaseSequence::Remove(long aIdx, void* aDeleter)
{
    if (aIdx < 1 || aIdx > mSize) {
        raiseOutOfRange("Remove", aIdx, mSize);
    }
    Remove(aIdx, aIdx, aDeleter);
}

void ktstd_BaseSequence::Remove(long aFrom, long aTo, void* aDeleter)
{
    if (aFrom < 1 || aTo > mSize || aFrom > aTo) {
        raiseOutOfRange("Remove", aFrom, aTo, mSize);
    }
    const NodeDeleter deleter = deleterOf(aDeleter);
    auto* const first = static_cast<ktstd_SeqNode*>(Find(aFrom));
    auto* const last = static_cast<ktstd_SeqNode*>(Find(aTo));
    ktstd_SeqNode* const before = first->Previous();
    ktstd_SeqNode* const after = last->Next();

    Join(before, after);
    mSize -= aTo - aFrom + 1;
    if (after != nullptr) {
        mCurrentItem = after;
        mCurrentIndex = aFrom;
    } else {
        mCurrentItem = before;
        mCurrentIndex = aFrom - 1;
    }

    last->SetNext(nullptr);
    deleteChain(first, deleter);
}

void ktstd_BaseSequence::Clear(void* aDeleter)
{
    const NodeDeleter deleter = deleterOf(aDeleter);
    ktstd_SeqNode* const first = std::exchange(mFirstItem, nullptr);
    mLastItem = nullptr;
    mCurrentItem = nullptr;
    mCurrentIndex = 0;
    mSize = 0;
    deleteChain(first, deleter);
}

void ktstd_BaseSequence::Exchange(long aFirst, long aSecond)
{
    if (aFirst < 1 || aFirst > mSize || aSecond < 1 || aSecond > mSize) {
        raiseOutOfRange("Exchange", aFirst, aSecond, mSize);
    }
    if (aFirst == aSecond) {
        return;
    }
    if (aFirst > aSecond) {
        std::swap(aFirst, aSecond);
    }
    auto* const first = static_cast<ktstd_SeqNode*>(Find(aFirst));
    auto* const second = static_cast<ktstd_SeqNode*>(Find(aSecond));
    ktstd_SeqNode* const before = first->Previous();
    ktstd_SeqNode* const behindFirst = first->Next();
    ktstd_SeqNode* const beforeSecond = second->Previous();
    ktstd_SeqNode* const after = second->Next();

    Join(before, second);
    Join(first, after);
    if (behindFirst == second) {
        Join(second, first);
    } else {
        Join(second, behindFirst);
        Join(beforeSecond, first);
    }
    mCurrentItem = first; // where the cursor is: at aSecond
}

void ktstd_BaseSequence::Reverse() noexcept
{
    for (ktstd_SeqNode* node = mFirstItem; node != nullptr;) {
        ktstd_SeqNode* const next = node->Next();
        node->SetNext(node->Previous());
        node->SetPrevious(next);
        node = next;
    }
    std::swap(mFirstItem, mLastItem);
    mCurrentIndex = mSize + 1 - mCurrentIndex;
}
