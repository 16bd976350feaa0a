#include "ktstd/ktstd_TransientSeq.h"

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_FailureText_detail.h"
#include "ktstd/ktstd_fail.h"

#include <memory>

namespace {

class TransientNode : public ktstd_SeqNode
{
public:
    explicit TransientNode(const Hnd_ktstd_Transient& aObject)
        : ktstd_SeqNode(nullptr, nullptr),
          mObject(aObject)
    {}

    [[nodiscard]] const Hnd_ktstd_Transient& Object() const noexcept { return mObject; }

private:
    Hnd_ktstd_Transient mObject;
};

void deleteNode(ktstd_SeqNode* aNode)
{
    delete aNode;
}

[[noreturn]] void raiseOutOfRange(long aIdx, long aSize)
{
    ktstd_detail::FailureText text;
    text << "ktstd_Sequence::Value (aIdx=" << aIdx << ", mSize=" << aSize << ")" << std::ends;
    ktstd_fail_OutOfRange::Raise(text);
}

} // namespace

ktstd_TransientSeq::~ktstd_TransientSeq()
{
    Clear();
}

void ktstd_TransientSeq::Append(const Hnd_ktstd_Transient& aObject)
{
    std::unique_ptr<TransientNode> node(new TransientNode(aObject));
    ktstd_SeqNode* const untyped = node.get(); // the base takes it as the base class
    PAppend(untyped);
    static_cast<void>(node.release()); // the sequence's now
}

const Hnd_ktstd_Transient& ktstd_TransientSeq::Value(long aIdx) const
{
    if (aIdx < 1 || aIdx > mSize) {
        raiseOutOfRange(aIdx, mSize);
    }
    const auto* const node = static_cast<const ktstd_SeqNode*>(Find(aIdx));
    return static_cast<const TransientNode*>(node)->Object();
}

void ktstd_TransientSeq::Clear()
{
    ktstd_BaseSequence::Clear(Deleter(deleteNode));
}

void ktstd_TransientSeq::Serialize(ktstd_Archive& aArchive)
{
    if (aArchive.IsStoring() != 0) {
        aArchive.WriteCount(static_cast<unsigned long>(mSize));
        for (long idx = 1; idx <= mSize; ++idx) {
            aArchive << Value(idx);
        }
        return;
    }
    Clear();
    const unsigned long count = aArchive.ReadCount();
    for (unsigned long idx = 0; idx < count; ++idx) {
        Hnd_ktstd_Transient object;
        aArchive >> object;
        Append(object);
    }
}
