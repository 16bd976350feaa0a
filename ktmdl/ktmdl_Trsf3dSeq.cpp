#include "ktmdl/ktmdl_Trsf3dSeq.h"

#include "ktmdl/ktmdl_SeqRecord_detail.h"
#include "ktstd/ktstd_Archive.h"

KTSTD_DEFINE_TYPE(ktmdl_SequenceNodeOfTrsf3dSeq, ktstd_SeqNode)

ktmdl_Trsf3dSeq::~ktmdl_Trsf3dSeq() = default;

void ktmdl_Trsf3dSeq::Serialize(ktstd_Archive& aArchive)
{
    ktmdl_detail::SerializeSequence<ktmdl_Trsf3d>(*this, aArchive);
}

ktstd_Archive& operator<<(ktstd_Archive& aArchive, const ktmdl_Trsf3dSeq& aSequence)
{
    // On purpose: not constant, as a loading archive loads here too.
    // Pinned by BothOperatorsLoadFromALoadingArchive.
    const_cast<ktmdl_Trsf3dSeq&>(aSequence).Serialize(aArchive);
    return aArchive;
}

ktstd_Archive& operator>>(ktstd_Archive& aArchive, ktmdl_Trsf3dSeq& aSequence)
{
    aSequence.Serialize(aArchive);
    return aArchive;
}
