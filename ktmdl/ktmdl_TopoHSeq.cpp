#include "ktmdl/ktmdl_TopoHSeq.h"

#include "ktmdl/ktmdl_Topo.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Schema.h"

#include <cstdint>
#include <limits>

namespace {

Hnd_ktstd_Transient makeTopoHSeq()
{
    return Hnd_ktmdl_TopoHSeq(new ktmdl_TopoHSeq());
}
const ktstd_SchemaEntry schemaEntry("ktmdl_TopoHSeq", 0, makeTopoHSeq);

//! Gives the index before the given one; the lowest index of all stays, and is as much out of
//! range.
long indexBefore(long aIdx)
{
    return aIdx > std::numeric_limits<std::int32_t>::min() ? aIdx - 1 : aIdx;
}

} // namespace

KTSTD_DEFINE_TYPE(ktmdl_TopoHSeq, ktstd_TShared)

ktmdl_TopoHSeq::~ktmdl_TopoHSeq() = default;

void ktmdl_TopoHSeq::Serialize(ktstd_Archive& aArchive)
{
    if (aArchive.IsStoring() != 0) {
        aArchive << mSequence;
    } else {
        aArchive >> mSequence;
    }
}

Hnd_ktmdl_TopoHSeq ktmdl_TopoHSeq::ShallowCopy() const
{
    Hnd_ktmdl_TopoHSeq copy(new ktmdl_TopoHSeq());
    for (long i = 1; i <= Length(); ++i) {
        copy->Append(Value(i));
    }
    return copy;
}

void ktmdl_TopoHSeq::Append(const Hnd_ktmdl_TopoHSeq& aSequence)
{
    const long length = aSequence->Length();
    for (long k = 1; k <= length; ++k) {
        mSequence.Append(aSequence->Value(k));
    }
}

void ktmdl_TopoHSeq::Prepend(const Hnd_ktmdl_TopoHSeq& aSequence)
{
    const long length = aSequence->Length();
    for (long k = 0; k < length; ++k) {
        // The length is asked for anew: it grows when this sequence is put into itself.
        mSequence.Prepend(aSequence->Value(aSequence->Length() - k));
    }
}

void ktmdl_TopoHSeq::InsertAfter(long aIdx, const Hnd_ktmdl_TopoHSeq& aSequence)
{
    const long length = aSequence->Length();
    for (long k = 1; k <= length; ++k) {
        // The first index is checked before it is added to. A sequence put into itself is read as
        // it grows.
        mSequence.InsertAfter(aIdx + (k - 1), aSequence->Value(k));
    }
}

void ktmdl_TopoHSeq::InsertBefore(long aIdx, const Hnd_ktmdl_Topo& aTopo)
{
    // On purpose: a failure tells of InsertAfter and the lowered index.
    // Pinned by InsertBeforeReportsTheLoweredIndexOfInsertAfter.
    mSequence.InsertAfter(indexBefore(aIdx), aTopo);
}

void ktmdl_TopoHSeq::InsertBefore(long aIdx, const Hnd_ktmdl_TopoHSeq& aSequence)
{
    InsertAfter(indexBefore(aIdx), aSequence);
}

Hnd_ktmdl_TopoHSeq ktmdl_TopoHSeq::Split(long aIdx)
{
    ktmdl_TopoSeq tail;
    mSequence.PSplit(aIdx, tail);
    try {
        Hnd_ktmdl_TopoHSeq result(new ktmdl_TopoHSeq());
        for (long k = 1; k <= tail.Length(); ++k) {
            result->Append(tail.ChangeValue(k));
        }
        return result;
    } catch (...) {
        tail.PSplit(1, mSequence); // back to where they were
        throw;
    }
}
