#include "ktstd/ktstd_Pool_detail.h"

#include <new>

namespace ktstd_detail {
namespace {

std::size_t sAlive = 0;

#if defined(KTSTD_POOLING)

constexpr std::size_t kGrain = alignof(std::max_align_t);
constexpr std::size_t kLargest = 256;
constexpr std::size_t kChunkBytes = std::size_t{16} * 1024;
static_assert(kGrain >= sizeof(void*) && kLargest % kGrain == 0);

//! A free block, or the head of a chunk.
struct Link
{
    Link* next;
};

// Plain data, so that objects with static life can be freed whatever the order of destruction.
Link* sFree[kLargest / kGrain] = {};
Link* sChunks = nullptr;

//! Gives the chunks back when the library is unloaded, unless an object lives on.
struct ChunkRelease
{
    ChunkRelease() noexcept = default;
    ChunkRelease(const ChunkRelease&) = delete;
    ChunkRelease& operator=(const ChunkRelease&) = delete;
    ~ChunkRelease()
    {
        if (sAlive != 0) {
            return;
        }
        for (Link*& list : sFree) {
            list = nullptr;
        }
        while (sChunks != nullptr) {
            Link* const chunk = sChunks;
            sChunks = chunk->next;
            ::operator delete(chunk);
        }
    }
};
const ChunkRelease sChunkRelease;

std::size_t sizeClass(std::size_t aSize) noexcept
{
    return aSize == 0 ? 0 : (aSize - 1) / kGrain;
}

void refill(std::size_t aClass)
{
    const std::size_t blockSize = (aClass + 1) * kGrain;
    auto* const memory = static_cast<unsigned char*>(::operator new(kChunkBytes));
    sChunks = ::new (memory) Link{sChunks};
    // The first grain holds the link to the next chunk.
    for (std::size_t at = kGrain; at + blockSize <= kChunkBytes; at += blockSize) {
        sFree[aClass] = ::new (memory + at) Link{sFree[aClass]};
    }
}

#endif

} // namespace

void* AllocatePooled(std::size_t aSize)
{
#if defined(KTSTD_POOLING)
    if (aSize <= kLargest) {
        const std::size_t index = sizeClass(aSize);
        if (sFree[index] == nullptr) {
            refill(index);
        }
        Link* const block = sFree[index];
        sFree[index] = block->next;
        ++sAlive;
        return block;
    }
#endif
    return ::operator new(aSize);
}

void FreePooled(void* aMemory, [[maybe_unused]] std::size_t aSize) noexcept
{
#if defined(KTSTD_POOLING)
    if (aMemory != nullptr && aSize <= kLargest) {
        Link*& list = sFree[sizeClass(aSize)];
        list = ::new (aMemory) Link{list};
        --sAlive;
        return;
    }
#endif
    ::operator delete(aMemory);
}

std::size_t PooledObjects() noexcept
{
    return sAlive;
}

} // namespace ktstd_detail
