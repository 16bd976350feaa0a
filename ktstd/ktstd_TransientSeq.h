//! @file
//! Sequence of handles to objects of any class.
#pragma once

#include "ktstd/ktstd_BaseSequence.h"
#include "ktstd/ktstd_Export.h"
#include "ktstd/ktstd_Handle.h"

class ktstd_Archive;

//! A sequence of handles with positions from 1 to Length. Not copied.
class KTSTD_EXPORT ktstd_TransientSeq : public ktstd_BaseSequence
{
public:
    ktstd_TransientSeq() noexcept = default;
    virtual ~ktstd_TransientSeq();

    //! Puts a handle at the end; it may be null.
    void Append(const Hnd_ktstd_Transient& aObject);
    //! Gives the handle at a position; borrowed until the element is removed.
    //! @throws ktstd_fail_OutOfRange  the position is outside 1 to Length
    [[nodiscard]] const Hnd_ktstd_Transient& Value(long aIdx) const;
    //! Removes all handles.
    void Clear();
    //! Stores the number of handles and the objects that they hold, or loads them in the place of
    //! what the sequence held.
    //! @throws ktstd_fail_FileIO  the archive can't store or load them
    virtual void Serialize(ktstd_Archive& aArchive);
};
