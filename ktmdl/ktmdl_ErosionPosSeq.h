//! @file
//! Sequence of erosion positions.
#pragma once

#include "ktmdl/ktmdl_ErosionPos.h"
#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_ValueSeq.h"

class ktstd_Archive;

class ktmdl_SequenceNodeOfErosionPosSeq;
KTSTD_HANDLE(ktmdl_SequenceNodeOfErosionPosSeq, Hnd_ktstd_SeqNode)

//! Gives the descriptor of ktmdl_SequenceNodeOfErosionPosSeq.
KTMDL_EXPORT Hnd_ktstd_Type& ktmdl_SequenceNodeOfErosionPosSeq_Type_();

//! A node of a ktmdl_ErosionPosSeq.
class KTMDL_EXPORT ktmdl_SequenceNodeOfErosionPosSeq final
    : public ktmdl_detail::ValueNode<ktmdl_ErosionPos>
{
public:
    using ktmdl_detail::ValueNode<ktmdl_ErosionPos>::ValueNode;
    KTSTD_DECLARE_TYPE(ktmdl_SequenceNodeOfErosionPosSeq)
};

//! A sequence of erosion positions; see ktmdl_detail::ValueSeq.
class KTMDL_EXPORT ktmdl_ErosionPosSeq
    : public ktmdl_detail::ValueSeq<ktmdl_ErosionPosSeq, ktmdl_ErosionPos,
                                    ktmdl_SequenceNodeOfErosionPosSeq>
{
public:
    //! Makes an empty sequence.
    ktmdl_ErosionPosSeq() noexcept = default;
    ktmdl_ErosionPosSeq(const ktmdl_ErosionPosSeq& aOther) = default;
    ktmdl_ErosionPosSeq& operator=(const ktmdl_ErosionPosSeq& aOther) = default;
    virtual ~ktmdl_ErosionPosSeq();

    //! Stores the sequence, or loads it in the place of what it held.
    //! @throws ktstd_fail_FileIO  as ktmdl_ErosionPos::Serialize; elements read before stay
    virtual void Serialize(ktstd_Archive& aArchive);
};

//! Calls Serialize: the archive's mode, not the operator, tells whether it stores or loads.
KTMDL_EXPORT ktstd_Archive& operator<<(ktstd_Archive& aArchive,
                                       const ktmdl_ErosionPosSeq& aSequence);
//! Calls Serialize: the archive's mode, not the operator, tells whether it stores or loads.
KTMDL_EXPORT ktstd_Archive& operator>>(ktstd_Archive& aArchive, ktmdl_ErosionPosSeq& aSequence);
