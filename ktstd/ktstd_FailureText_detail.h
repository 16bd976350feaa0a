//! @file
//! Stream in which failure messages are composed.
#pragma once

#include "ktstd/ktstd_StrStream.h"

#include <locale>

namespace ktstd_detail {

//! A string stream whose numbers look the same in every locale of the process.
class FailureText : public std::strstream
{
public:
    FailureText() { imbue(std::locale::classic()); }
};

} // namespace ktstd_detail
