#include "ktstd/ktstd_Pool_detail.h"

#include <cstdint>
#include <new>

namespace ktstd_detail {
namespace {

std::size_t sAlive = 0;

#if defined(KTSTD_POOLING)

constexpr std::size_t kGrain = alignof(std::max_align_t);
constexpr std::size_t kLargest = 256;
constexpr std::size_t kChunkBytes = std::size_t{16} * 1024;
constexpr std::size_t kLine = 64; //!< bytes that the processor fetches together
static_assert(kLine % kGrain == 0 && kLine > sizeof(void*) && kLargest % kGrain == 0);

//! A free block, or the head of a chunk.
struct Link
{
    Link* next;
};

//! The blocks of one size.
struct Blocks
{
    Link* free;           //!< blocks that were given back
    unsigned char* fresh; //!< the part of the newest chunk that was never given out, up to end
    unsigned char* end;
};

// Plain data, so that objects with static life can be freed whatever the order of destruction.
Blocks sBlocks[kLargest / kGrain] = {};
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
        for (Blocks& blocks : sBlocks) {
            blocks = {};
        }
        while (sChunks != nullptr) {
            Link* const chunk = sChunks;
            sChunks = chunk->next;
            ::operator delete(chunk);
        }
    }
};
const ChunkRelease sChunkRelease;

//! Tells whether memory of this size comes from the pool.
constexpr bool isPooled(std::size_t aSize) noexcept
{
    return aSize - 1 < kLargest;
}
//! @param aSize  of pooled memory
Blocks& blocksOf(std::size_t aSize) noexcept
{
    return sBlocks[(aSize - 1) / kGrain];
}
constexpr std::size_t blockSizeOf(std::size_t aSize) noexcept
{
    return (aSize + kGrain - 1) / kGrain * kGrain;
}

//! Gives the first block of a new chunk, whose rest becomes the fresh part.
void* refill(Blocks& aBlocks, std::size_t aBlockSize)
{
    auto* const memory = static_cast<unsigned char*>(::operator new(kChunkBytes));
    sChunks = ::new (memory) Link{sChunks};
    // The first block begins a line, so that small blocks lie in one line each.
    const auto address = reinterpret_cast<std::uintptr_t>(memory) + sizeof(Link);
    const std::size_t head = sizeof(Link) + (kLine - address % kLine) % kLine;
    unsigned char* const first = memory + head;
    aBlocks.fresh = first + aBlockSize;
    aBlocks.end = first + (kChunkBytes - head) / aBlockSize * aBlockSize;
    return first;
}

#endif

} // namespace

void* AllocatePooled(std::size_t aSize)
{
#if defined(KTSTD_POOLING)
    if (isPooled(aSize)) {
        Blocks& blocks = blocksOf(aSize);
        void* block = blocks.free;
        if (block != nullptr) {
            blocks.free = blocks.free->next;
        } else if (blocks.fresh != blocks.end) {
            block = blocks.fresh;
            blocks.fresh += blockSizeOf(aSize);
        } else {
            block = refill(blocks, blockSizeOf(aSize));
        }
        ++sAlive;
        return block;
    }
#endif
    return ::operator new(aSize);
}

void FreePooled(void* aMemory, [[maybe_unused]] std::size_t aSize) noexcept
{
#if defined(KTSTD_POOLING)
    if (aMemory != nullptr && isPooled(aSize)) {
        Link*& list = blocksOf(aSize).free;
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
