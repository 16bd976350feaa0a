//! @file
//! The only header through which COM types enter. On Windows these are the platform's own;
//! elsewhere this project gives the same names with the same meaning, as far as late-bound
//! automation needs them.
//!
//! Code for both platforms keeps to a few rules. LONG, ULONG, DWORD and HRESULT have 32 bits on
//! both, `long` has not. OLECHAR is UTF-16 on Windows and UTF-32 elsewhere. Where it matters which
//! type a number becomes in a variant, say LONG: `_variant_t(LONG(3))`.
#pragma once

#if defined(_WIN32)

#include "com/ComWindows.h"

#else

#include "com/ComBstr.h"
#include "com/ComCodes.h"
#include "com/ComError.h"
#include "com/ComInterfaces.h"
#include "com/ComPtr.h"
#include "com/ComSafeArray.h"
#include "com/ComString.h"
#include "com/ComTypes.h"
#include "com/ComVariant.h"
#include "com/ComVariantT.h"

#endif
