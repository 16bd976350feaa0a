//! @file
//! Sequence of transformations.
#pragma once

#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktmdl/ktmdl_ValueSeq.h"

class ktstd_Archive;

class ktmdl_SequenceNodeOfTrsf3dSeq;
KTSTD_HANDLE(ktmdl_SequenceNodeOfTrsf3dSeq, Hnd_ktstd_SeqNode)

//! Gives the descriptor of ktmdl_SequenceNodeOfTrsf3dSeq.
KTMDL_EXPORT Hnd_ktstd_Type& ktmdl_SequenceNodeOfTrsf3dSeq_Type_();

//! A node of a ktmdl_Trsf3dSeq.
class KTMDL_EXPORT ktmdl_SequenceNodeOfTrsf3dSeq final
    : public ktmdl_detail::ValueNode<ktmdl_Trsf3d>
{
public:
    using ktmdl_detail::ValueNode<ktmdl_Trsf3d>::ValueNode;
    KTSTD_DECLARE_TYPE(ktmdl_SequenceNodeOfTrsf3dSeq)
};

//! A sequence of transformations; see ktmdl_detail::ValueSeq.
class KTMDL_EXPORT ktmdl_Trsf3dSeq
    : public ktmdl_detail::ValueSeq<ktmdl_Trsf3dSeq, ktmdl_Trsf3d, ktmdl_SequenceNodeOfTrsf3dSeq>
{
public:
    //! Makes an empty sequence.
    ktmdl_Trsf3dSeq() noexcept = default;
    ktmdl_Trsf3dSeq(const ktmdl_Trsf3dSeq& aOther) = default;
    ktmdl_Trsf3dSeq& operator=(const ktmdl_Trsf3dSeq& aOther) = default;
    virtual ~ktmdl_Trsf3dSeq();

    //! Stores the sequence, or loads it in the place of what it held.
    //! @throws ktstd_fail_FileIO  as ktmdl_Trsf3d::Serialize; elements read before stay
    virtual void Serialize(ktstd_Archive& aArchive);
};

//! Calls Serialize: the archive's mode, not the operator, tells whether it stores or loads.
KTMDL_EXPORT ktstd_Archive& operator<<(ktstd_Archive& aArchive, const ktmdl_Trsf3dSeq& aSequence);
//! Calls Serialize: the archive's mode, not the operator, tells whether it stores or loads.
KTMDL_EXPORT ktstd_Archive& operator>>(ktstd_Archive& aArchive, ktmdl_Trsf3dSeq& aSequence);
