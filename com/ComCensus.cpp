#include "com/ComCensus.h"

#if !defined(_WIN32)

#include "com/ComCount.h"

std::atomic<long> com_detail::liveStringCount{0};
std::atomic<long> com_detail::liveArrayCount{0};

bool com::startCounting() noexcept
{
    return true;
}

bool com::countsStrings() noexcept
{
    return true;
}

bool com::countsArrays() noexcept
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

namespace {

std::atomic<com::AllocationGate> allocationGate{nullptr};

} // namespace

bool com_detail::mayAllocate() noexcept
{
    const com::AllocationGate gate = allocationGate.load();
    return gate == nullptr || gate();
}

bool com::setAllocationGate(AllocationGate gate) noexcept
{
    allocationGate = gate;
    return true;
}

#else

#include "com/Com.h"

#include <atomic>

// Declared by no header: keeps oleaut32 from holding freed strings back for reuse.
extern "C" void WINAPI SetOaNoCache(void);

namespace {

// Stands between task memory and its users and counts. It lives as long as the process.
class Spy final : public IMallocSpy
{
public:
    Spy() = default;
    Spy(const Spy&) = delete;
    Spy& operator=(const Spy&) = delete;

    HRESULT WINAPI QueryInterface(REFIID riid, void** object) override
    {
        const bool known = IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IMallocSpy);
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG WINAPI AddRef() override { return 2; }
    ULONG WINAPI Release() override { return 1; }

    // A size of 0 fails the call.
    SIZE_T WINAPI PreAlloc(SIZE_T size) override { return mayAllocate() ? size : 0; }
    void* WINAPI PostAlloc(void* block) override
    {
        live += block == nullptr ? 0 : 1;
        return block;
    }
    void* WINAPI PreFree(void* block, BOOL spied) override
    {
        live -= spied && block != nullptr ? 1 : 0;
        return block;
    }
    void WINAPI PostFree(BOOL) override {}
    SIZE_T WINAPI PreRealloc(void* block, SIZE_T size, void** request, BOOL spied) override
    {
        *request = block;
        if (size != 0 && !mayAllocate()) {
            resizedFromNull = false;
            return 0;
        }
        // Resizing null makes a block, and resizing to nothing frees one.
        resizedFromNull = block == nullptr;
        live -= spied && block != nullptr && size == 0 ? 1 : 0;
        return size;
    }
    void* WINAPI PostRealloc(void* block, BOOL) override
    {
        live += resizedFromNull && block != nullptr ? 1 : 0;
        return block;
    }
    void* WINAPI PreGetSize(void* block, BOOL) override { return block; }
    SIZE_T WINAPI PostGetSize(SIZE_T size, BOOL) override { return size; }
    void* WINAPI PreDidAlloc(void* block, BOOL) override { return block; }
    int WINAPI PostDidAlloc(void*, BOOL, int answer) override { return answer; }
    void WINAPI PreHeapMinimize() override {}
    void WINAPI PostHeapMinimize() override {}

    std::atomic<long> live{0};
    std::atomic<com::AllocationGate> gate{nullptr};

private:
    [[nodiscard]] bool mayAllocate() const noexcept
    {
        const com::AllocationGate asked = gate.load();
        return asked == nullptr || asked();
    }

    bool resizedFromNull = false; // the system holds a lock from Pre to Post
};

Spy spy;
std::atomic<bool> counting{false};

} // namespace

bool com::startCounting() noexcept
{
    if (!counting) {
        SetOaNoCache();
        counting = SUCCEEDED(CoRegisterMallocSpy(&spy));
    }
    return counting;
}

bool com::countsStrings() noexcept
{
    return counting;
}

bool com::countsArrays() noexcept
{
    return false;
}

long com::liveStrings() noexcept
{
    return counting ? spy.live.load() : 0;
}

long com::liveArrays() noexcept
{
    return 0;
}

bool com::setAllocationGate(AllocationGate gate) noexcept
{
    spy.gate = gate;
    return startCounting();
}

#endif
