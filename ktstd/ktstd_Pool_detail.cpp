#include "ktstd/ktstd_Pool_detail.h"

#include <cstdint>
#include <new>

namespace ktstd_detail {
namespace {

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
    std::size_t alive;    //!< blocks that are given out
    Link* free;           //!< blocks that were given back
    unsigned char* fresh; //!< the part of the newest chunk in use that was not given out, up to end
    unsigned char* end;
    Link* first; //!< chunks, oldest first
    Link* last;  //!< the newest chunk in use; chunks behind it are empty
};

// Plain data, so that objects with static life can be freed whatever the order of destruction.
Blocks sBlocks[kLargest / kGrain] = {};

//! Gives the chunks back when the library is unloaded, unless an object lives on.
struct ChunkRelease
{
    ChunkRelease() noexcept = default;
    ChunkRelease(const ChunkRelease&) = delete;
    ChunkRelease& operator=(const ChunkRelease&) = delete;
    ~ChunkRelease()
    {
        if (PooledObjects() != 0) {
            return;
        }
        for (Blocks& blocks : sBlocks) {
            while (blocks.first != nullptr) {
                Link* const chunk = blocks.first;
                blocks.first = chunk->next;
                ::operator delete(chunk);
            }
            blocks = {};
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

//! Makes a chunk the newest one in use.
void startChunk(Blocks& aBlocks, Link* aChunk) noexcept
{
    // The first block begins a line, so that small blocks lie in one line each.
    const auto address = reinterpret_cast<std::uintptr_t>(aChunk) + sizeof(Link);
    const std::size_t head = sizeof(Link) + (kLine - address % kLine) % kLine;
    auto* const memory = reinterpret_cast<unsigned char*>(aChunk);
    aBlocks.last = aChunk;
    aBlocks.fresh = memory + head;
    aBlocks.end = memory + kChunkBytes;
}

//! Starts the chunk behind the newest one in use.
void refill(Blocks& aBlocks)
{
    Link*& next = aBlocks.last != nullptr ? aBlocks.last->next : aBlocks.first;
    if (next == nullptr) {
        next = ::new (::operator new(kChunkBytes)) Link{nullptr};
    }
    startChunk(aBlocks, next);
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
        } else {
            const std::size_t size = blockSizeOf(aSize);
            if (static_cast<std::size_t>(blocks.end - blocks.fresh) < size) {
                refill(blocks);
            }
            block = blocks.fresh;
            blocks.fresh += size;
        }
        ++blocks.alive;
        return block;
    }
#endif
    return ::operator new(aSize);
}

void FreePooled(void* aMemory, [[maybe_unused]] std::size_t aSize) noexcept
{
#if defined(KTSTD_POOLING)
    if (aMemory != nullptr && isPooled(aSize)) {
        Blocks& blocks = blocksOf(aSize);
        blocks.free = ::new (aMemory) Link{blocks.free};
        if (--blocks.alive == 0) {
            // In order again: what is made together lies together.
            blocks.free = nullptr;
            startChunk(blocks, blocks.first);
        }
        return;
    }
#endif
    ::operator delete(aMemory);
}

std::size_t PooledObjects() noexcept
{
    std::size_t alive = 0;
#if defined(KTSTD_POOLING)
    for (const Blocks& blocks : sBlocks) {
        alive += blocks.alive;
    }
#endif
    return alive;
}

} // namespace ktstd_detail
