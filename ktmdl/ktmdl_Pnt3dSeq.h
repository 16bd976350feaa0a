//! @file
//! Sequence of points.
#pragma once

#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_Pnt3d.h"
#include "ktmdl/ktmdl_ValueSeq.h"

class ktstd_Archive;

class ktmdl_SequenceNodeOfdtm3CrdSeq;
KTSTD_HANDLE(ktmdl_SequenceNodeOfdtm3CrdSeq, Hnd_ktstd_SeqNode)

//! Gives the descriptor of ktmdl_SequenceNodeOfdtm3CrdSeq.
KTMDL_EXPORT Hnd_ktstd_Type& ktmdl_SequenceNodeOfdtm3CrdSeq_Type_();

//! A node of a ktmdl_Pnt3dSeq.
// On purpose: the name does not follow the sequence's; archives and the register of types know it.
// Pinned by NodeHasItsType.
class KTMDL_EXPORT ktmdl_SequenceNodeOfdtm3CrdSeq final
    : public ktmdl_detail::ValueNode<ktmdl_Pnt3d>
{
public:
    using ktmdl_detail::ValueNode<ktmdl_Pnt3d>::ValueNode;
    KTSTD_DECLARE_TYPE(ktmdl_SequenceNodeOfdtm3CrdSeq)
};

//! A sequence of points; see ktmdl_detail::ValueSeq.
class KTMDL_EXPORT ktmdl_Pnt3dSeq
    : public ktmdl_detail::ValueSeq<ktmdl_Pnt3dSeq, ktmdl_Pnt3d, ktmdl_SequenceNodeOfdtm3CrdSeq>
{
public:
    //! Makes an empty sequence.
    ktmdl_Pnt3dSeq() noexcept = default;
    ktmdl_Pnt3dSeq(const ktmdl_Pnt3dSeq& aOther) = default;
    ktmdl_Pnt3dSeq& operator=(const ktmdl_Pnt3dSeq& aOther) = default;
    virtual ~ktmdl_Pnt3dSeq();

    //! Stores the sequence, or loads it in the place of what it held.
    //! @throws ktstd_fail_FileIO  as ktmdl_Data3d::Serialize; elements read before stay
    virtual void Serialize(ktstd_Archive& aArchive);
};

//! Calls Serialize: the archive's mode, not the operator, tells whether it stores or loads.
KTMDL_EXPORT ktstd_Archive& operator<<(ktstd_Archive& aArchive, const ktmdl_Pnt3dSeq& aSequence);
//! Calls Serialize: the archive's mode, not the operator, tells whether it stores or loads.
KTMDL_EXPORT ktstd_Archive& operator>>(ktstd_Archive& aArchive, ktmdl_Pnt3dSeq& aSequence);
