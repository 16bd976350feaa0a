//! @file
//! Handle to topology references, for those who pass references on without looking into them.
//! Whoever uses what a handle holds includes ktmdl_Topo.h.
#pragma once

#include "ktmdl/ktmdl_Export.h"
#include "ktstd/ktstd_Handle.h"
#include "ktstd/ktstd_TShared.h"
#include "ktstd/ktstd_Type.h"

class ktmdl_Topo;
KTSTD_HANDLE(ktmdl_Topo, Hnd_ktstd_TShared)

//! Gives the descriptor of ktmdl_Topo.
KTMDL_EXPORT Hnd_ktstd_Type& ktmdl_Topo_Type_();
