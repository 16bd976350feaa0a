#include "ktmdl/ktmdl_TopoSeq.h"

#include "ktmdl/ktmdl_SeqRecord_detail.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktstd/ktstd_Archive.h"

KTSTD_DEFINE_TYPE(ktmdl_SequenceNodeOfTopoSeq, ktstd_SeqNode)

ktmdl_TopoSeq::~ktmdl_TopoSeq() = default;

void ktmdl_TopoSeq::Serialize(ktstd_Archive& aArchive)
{
    ktmdl_detail::SerializeSequence<Hnd_ktmdl_Topo>(*this, aArchive);
}

ktstd_Archive& operator<<(ktstd_Archive& aArchive, const ktmdl_TopoSeq& aSequence)
{
    // On purpose: not constant, as a loading archive loads here too.
    // Pinned by BothOperatorsLoadFromALoadingArchive.
    const_cast<ktmdl_TopoSeq&>(aSequence).Serialize(aArchive);
    return aArchive;
}

ktstd_Archive& operator>>(ktstd_Archive& aArchive, ktmdl_TopoSeq& aSequence)
{
    aSequence.Serialize(aArchive);
    return aArchive;
}
