#include "Targets.h"

#include <cstdint>

//! What libFuzzer calls; KT_FUZZ_TARGET is a function of Targets.h.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* aBytes, std::size_t aSize)
{
    kt_fuzz::KT_FUZZ_TARGET(aBytes, aSize);
    return 0;
}
