//! @file
//! Shared sequence of handles to objects of any class.
#pragma once

#include "ktstd/ktstd_Export.h"
#include "ktstd/ktstd_TShared.h"
#include "ktstd/ktstd_TransientSeq.h"

class ktstd_TransientHSeq;
KTSTD_HANDLE(ktstd_TransientHSeq, Hnd_ktstd_TShared)

//! Gives the descriptor of ktstd_TransientHSeq.
KTSTD_EXPORT Hnd_ktstd_Type& ktstd_TransientHSeq_Type_();

//! A ktstd_TransientSeq that is itself shared through handles. Persistent.
class KTSTD_EXPORT ktstd_TransientHSeq : public ktstd_TShared
{
public:
    ktstd_TransientHSeq() noexcept = default;
    ktstd_TransientHSeq(const ktstd_TransientHSeq&) = delete;
    ktstd_TransientHSeq& operator=(const ktstd_TransientHSeq&) = delete;
    ~ktstd_TransientHSeq() override;

    //! Stores or loads the sequence; see ktstd_TransientSeq::Serialize.
    void Serialize(ktstd_Archive& aArchive) override;
    KTSTD_DECLARE_TYPE(ktstd_TransientHSeq)

    //! Puts a handle at the end; it may be null.
    void Append(const Hnd_ktstd_Transient& aObject) { mSequence.Append(aObject); }
    //! Gives the number of handles.
    [[nodiscard]] long Length() const noexcept { return mSequence.Length(); }
    //! Gives 1 when there is no handle, else 0.
    [[nodiscard]] unsigned char IsEmpty() const noexcept { return mSequence.IsEmpty(); }
    //! Gives the handle at a position; borrowed until the element is removed.
    //! @throws ktstd_fail_OutOfRange  the position is outside 1 to Length
    [[nodiscard]] const Hnd_ktstd_Transient& Value(long aIdx) const
    {
        return mSequence.Value(aIdx);
    }
    //! Removes all handles.
    void Clear() { mSequence.Clear(); }

private:
    ktstd_TransientSeq mSequence;
};
