#include "ktmdl/ktmdl_ValueSeq.h"

#include "ktstd/ktstd_FailureText_detail.h"
#include "ktstd/ktstd_fail.h"

#include <ostream>

namespace ktmdl_detail {

void RaiseOutOfRange(const char* aOperation, long aIdx, long aSize)
{
    ktstd_detail::FailureText text;
    text << aOperation << " (aIdx=" << aIdx << ", mSize=" << aSize << ")" << std::ends;
    ktstd_fail_OutOfRange::Raise(text);
}

} // namespace ktmdl_detail
