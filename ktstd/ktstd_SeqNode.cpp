#include "ktstd/ktstd_SeqNode.h"

KTSTD_DEFINE_TYPE(ktstd_SeqNode, ktstd_TShared)
