//! @file
//! Shared sequence of handles to topology references.
#pragma once

#include "ktmdl/Hnd_ktmdl_Topo.h"
#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_TopoSeq.h"
#include "ktstd/ktstd_TShared.h"

class ktmdl_TopoHSeq;
KTSTD_HANDLE(ktmdl_TopoHSeq, Hnd_ktstd_TShared)

//! Gives the descriptor of ktmdl_TopoHSeq.
KTMDL_EXPORT Hnd_ktstd_Type& ktmdl_TopoHSeq_Type_();

//! A ktmdl_TopoSeq that is itself shared through handles; persistent.
//!
//! Indices run from 1 to Length. The operations on elements are those of the sequence, with its
//! failures. Whole shared sequences may be put in as well: their handles are copied, and how many
//! there are is settled once, at the start, so that a sequence may be put into itself. A null
//! handle to a sequence raises ktstd_fail_NullObject.
class KTMDL_EXPORT ktmdl_TopoHSeq : public ktstd_TShared
{
public:
    //! Makes an empty sequence.
    ktmdl_TopoHSeq() noexcept = default;
    ktmdl_TopoHSeq(const ktmdl_TopoHSeq&) = delete;
    ktmdl_TopoHSeq& operator=(const ktmdl_TopoHSeq&) = delete;
    ~ktmdl_TopoHSeq() override;

    //! Stores or loads the sequence; see ktmdl_TopoSeq::Serialize.
    void Serialize(ktstd_Archive& aArchive) override;
    KTSTD_DECLARE_TYPE(ktmdl_TopoHSeq)

    //! Gives the number of handles.
    [[nodiscard]] long Length() const noexcept { return mSequence.Length(); }
    //! Gives 1 when there is no handle, else 0.
    [[nodiscard]] unsigned char IsEmpty() const noexcept { return mSequence.IsEmpty(); }
    //! Gives the handle at an index; good until it is removed.
    //! @throws ktstd_fail_OutOfRange  the index is outside 1 to Length
    [[nodiscard]] const Hnd_ktmdl_Topo& Value(long aIdx) const { return mSequence.Value(aIdx); }
    //! Gives the handle at an index for modification.
    //! @throws ktstd_fail_OutOfRange  the index is outside 1 to Length
    [[nodiscard]] Hnd_ktmdl_Topo& ChangeValue(long aIdx) { return mSequence.ChangeValue(aIdx); }
    //! Gives a new shared sequence with the same handles.
    [[nodiscard]] Hnd_ktmdl_TopoHSeq ShallowCopy() const;

    //! Puts a handle at the end; it may be null.
    void Append(const Hnd_ktmdl_Topo& aTopo) { mSequence.Append(aTopo); }
    //! Puts all handles of a sequence at the end, in their order.
    void Append(const Hnd_ktmdl_TopoHSeq& aSequence);
    //! Puts a handle at the front; it may be null.
    void Prepend(const Hnd_ktmdl_Topo& aTopo) { mSequence.Prepend(aTopo); }
    //! Puts all handles of a sequence at the front, in their order.
    void Prepend(const Hnd_ktmdl_TopoHSeq& aSequence);
    //! Puts a handle behind an index.
    //! @throws ktstd_fail_OutOfRange  the index is outside 0 to Length
    void InsertAfter(long aIdx, const Hnd_ktmdl_Topo& aTopo) { mSequence.InsertAfter(aIdx, aTopo); }
    //! Puts all handles of a sequence behind an index, in their order; of this sequence itself,
    //! those that stand at their places while they are put in one by one.
    //! @throws ktstd_fail_OutOfRange  the index is outside 0 to Length, and there is a handle
    void InsertAfter(long aIdx, const Hnd_ktmdl_TopoHSeq& aSequence);
    //! Puts a handle in front of an index.
    //! @throws ktstd_fail_OutOfRange  the index is outside 1 to Length + 1; the message tells of
    //!                                InsertAfter and the index lowered by 1
    void InsertBefore(long aIdx, const Hnd_ktmdl_Topo& aTopo);
    //! Puts all handles of a sequence in front of an index, in their order; of this sequence
    //! itself, those that stand at their places while they are put in one by one.
    //! @throws ktstd_fail_OutOfRange  as above, and there is a handle
    void InsertBefore(long aIdx, const Hnd_ktmdl_TopoHSeq& aSequence);
    //! Replaces the handle at an index.
    //! @throws ktstd_fail_OutOfRange  the index is outside 1 to Length
    void SetValue(long aIdx, const Hnd_ktmdl_Topo& aTopo) { mSequence.SetValue(aIdx, aTopo); }
    //! Makes the handles at two indices change places.
    //! @throws ktstd_fail_OutOfRange  an index is outside 1 to Length; nothing changes
    void Exchange(long aFirst, long aSecond) { mSequence.Exchange(aFirst, aSecond); }
    //! Reverses the order of the handles.
    void Reverse() noexcept { mSequence.Reverse(); }
    //! Removes the handle at an index.
    //! @throws ktstd_fail_OutOfRange  the index is outside 1 to Length
    void Remove(long aIdx) { mSequence.Remove(aIdx); }
    //! Removes the handles from one index to another, both included.
    //! @throws ktstd_fail_OutOfRange  an index is outside 1 to Length, or they are in the wrong
    //!                                order; nothing is removed
    void Remove(long aFrom, long aTo) { mSequence.Remove(aFrom, aTo); }
    //! Removes all handles.
    void Clear() { mSequence.Clear(); }
    //! Moves the handle at an index and all behind it into a new shared sequence.
    //! @param aIdx  1 to Length
    //! @return      the new sequence
    //! @throws ktstd_fail_OutOfRange  another index; nothing is moved, nor when memory runs out
    [[nodiscard]] Hnd_ktmdl_TopoHSeq Split(long aIdx);

private:
    ktmdl_TopoSeq mSequence;
};
