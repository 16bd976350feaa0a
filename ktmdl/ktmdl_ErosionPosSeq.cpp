#include "ktmdl/ktmdl_ErosionPosSeq.h"

#include "ktmdl/ktmdl_SeqRecord_detail.h"
#include "ktstd/ktstd_Archive.h"

KTSTD_DEFINE_TYPE(ktmdl_SequenceNodeOfErosionPosSeq, ktstd_SeqNode)

ktmdl_ErosionPosSeq::~ktmdl_ErosionPosSeq() = default;

void ktmdl_ErosionPosSeq::Serialize(ktstd_Archive& aArchive)
{
    ktmdl_detail::SerializeSequence<ktmdl_ErosionPos>(*this, aArchive);
}

ktstd_Archive& operator<<(ktstd_Archive& aArchive, const ktmdl_ErosionPosSeq& aSequence)
{
    // On purpose: not constant, as a loading archive loads here too.
    // Pinned by BothOperatorsLoadFromALoadingArchive.
    const_cast<ktmdl_ErosionPosSeq&>(aSequence).Serialize(aArchive);
    return aArchive;
}

ktstd_Archive& operator>>(ktstd_Archive& aArchive, ktmdl_ErosionPosSeq& aSequence)
{
    aSequence.Serialize(aArchive);
    return aArchive;
}
