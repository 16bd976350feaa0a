#include "ktstd/ktstd_TransientHSeq.h"

#include "ktstd/ktstd_Schema.h"

namespace {

Hnd_ktstd_Transient makeSequence()
{
    return Hnd_ktstd_Transient(new ktstd_TransientHSeq());
}
const ktstd_SchemaEntry schemaEntry("ktstd_TransientHSeq", 0, makeSequence);

} // namespace

KTSTD_DEFINE_TYPE(ktstd_TransientHSeq, ktstd_TShared)

ktstd_TransientHSeq::~ktstd_TransientHSeq() = default;

void ktstd_TransientHSeq::Serialize(ktstd_Archive& aArchive)
{
    ktstd_TShared::Serialize(aArchive);
    mSequence.Serialize(aArchive);
}
