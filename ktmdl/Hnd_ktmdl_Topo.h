//! @file
//! Handle to topology references, for those who pass references on without looking into them.
//! Whoever uses what a handle holds includes ktmdl_Topo.h.
#pragma once

#include "ktstd/ktstd_Handle.h"
#include "ktstd/ktstd_TShared.h"

class ktmdl_Topo;
KTSTD_HANDLE(ktmdl_Topo, Hnd_ktstd_TShared)
