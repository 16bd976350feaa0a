//! @file
//! ktstd_fail_FileIO and its handle, which are declared with the other failures.
#pragma once

#include "ktstd/ktstd_fail.h"
