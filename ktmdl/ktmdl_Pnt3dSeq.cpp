#include "ktmdl/ktmdl_Pnt3dSeq.h"

#include "ktmdl/ktmdl_SeqRecord_detail.h"
#include "ktstd/ktstd_Archive.h"

KTSTD_DEFINE_TYPE(ktmdl_SequenceNodeOfdtm3CrdSeq, ktstd_SeqNode)

ktmdl_Pnt3dSeq::~ktmdl_Pnt3dSeq() = default;

void ktmdl_Pnt3dSeq::Serialize(ktstd_Archive& aArchive)
{
    ktmdl_detail::SerializeSequence<ktmdl_Pnt3d>(*this, aArchive);
}

ktstd_Archive& operator<<(ktstd_Archive& aArchive, const ktmdl_Pnt3dSeq& aSequence)
{
    // On purpose: not constant, as a loading archive loads here too.
    // Pinned by BothOperatorsLoadFromALoadingArchive.
    const_cast<ktmdl_Pnt3dSeq&>(aSequence).Serialize(aArchive);
    return aArchive;
}

ktstd_Archive& operator>>(ktstd_Archive& aArchive, ktmdl_Pnt3dSeq& aSequence)
{
    aSequence.Serialize(aArchive);
    return aArchive;
}
