#include "com/ComCensus.h"

#if !defined(_WIN32)

#include "com/ComCount.h"

std::atomic<long> com_detail::liveStringCount{0};
std::atomic<long> com_detail::liveArrayCount{0};

bool com::countsStrings() noexcept
{
    return true;
}

long com::liveStrings() noexcept
{
    return com_detail::liveStringCount.load();
}

long com::liveArrays() noexcept
{
    return com_detail::liveArrayCount.load();
}

#else

bool com::countsStrings() noexcept
{
    return false;
}

long com::liveStrings() noexcept
{
    return 0;
}

long com::liveArrays() noexcept
{
    return 0;
}

#endif
