//! @file
//! Sequence of handles to topology references.
#pragma once

#include "ktmdl/Hnd_ktmdl_Topo.h"
#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_ValueSeq.h"

class ktmdl_TopoHSeq;
class ktstd_Archive;

class ktmdl_SequenceNodeOfTopoSeq;
KTSTD_HANDLE(ktmdl_SequenceNodeOfTopoSeq, Hnd_ktstd_SeqNode)

//! Gives the descriptor of ktmdl_SequenceNodeOfTopoSeq.
KTMDL_EXPORT Hnd_ktstd_Type& ktmdl_SequenceNodeOfTopoSeq_Type_();

//! A node of a ktmdl_TopoSeq.
class KTMDL_EXPORT ktmdl_SequenceNodeOfTopoSeq final
    : public ktmdl_detail::ValueNode<Hnd_ktmdl_Topo>
{
public:
    using ktmdl_detail::ValueNode<Hnd_ktmdl_Topo>::ValueNode;
    KTSTD_DECLARE_TYPE(ktmdl_SequenceNodeOfTopoSeq)
};

//! A sequence of handles to topology references, which are shared with whoever holds them; see
//! ktmdl_detail::ValueSeq.
class KTMDL_EXPORT ktmdl_TopoSeq
    : public ktmdl_detail::ValueSeq<ktmdl_TopoSeq, Hnd_ktmdl_Topo, ktmdl_SequenceNodeOfTopoSeq>
{
public:
    //! Makes an empty sequence.
    ktmdl_TopoSeq() noexcept = default;
    ktmdl_TopoSeq(const ktmdl_TopoSeq& aOther) = default;
    ktmdl_TopoSeq& operator=(const ktmdl_TopoSeq& aOther) = default;
    virtual ~ktmdl_TopoSeq();

    //! Stores the sequence, or loads it in the place of what it held.
    //! @throws ktstd_fail_FileIO  as ktstd_Archive::WriteObject and ReadObject; elements read
    //!                            before stay
    virtual void Serialize(ktstd_Archive& aArchive);

private:
    friend class ktmdl_TopoHSeq; // splits the sequence
};

//! Calls Serialize: the archive's mode, not the operator, tells whether it stores or loads.
KTMDL_EXPORT ktstd_Archive& operator<<(ktstd_Archive& aArchive, const ktmdl_TopoSeq& aSequence);
//! Calls Serialize: the archive's mode, not the operator, tells whether it stores or loads.
KTMDL_EXPORT ktstd_Archive& operator>>(ktstd_Archive& aArchive, ktmdl_TopoSeq& aSequence);
