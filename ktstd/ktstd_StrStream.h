//! @file
//! std::strstream, in which failure messages are composed, without the compilers' remark that the
//! header is deprecated. Include this instead of the standard header.
#pragma once

#pragma push_macro("__DEPRECATED")
#undef __DEPRECATED
#include <strstream>
#pragma pop_macro("__DEPRECATED")
