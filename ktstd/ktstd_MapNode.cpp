#include "ktstd/ktstd_MapNode.h"

KTSTD_DEFINE_TYPE(ktstd_MapNode, ktstd_TShared)
