#include "ktstd/ktstd_TransientHSeq.h"

KTSTD_DEFINE_TYPE(ktstd_TransientHSeq, ktstd_TShared)

ktstd_TransientHSeq::~ktstd_TransientHSeq() = default;

void ktstd_TransientHSeq::Serialize(ktstd_Archive& aArchive)
{
    ktstd_TShared::Serialize(aArchive);
    mSequence.Serialize(aArchive);
}
