// The memory of one record tree: runs of chunks, free blocks by size, and
// the list of nodes that hold memory of their own.
#include "db/NodeArena.h"

#include <bit>
#include <new>
#include <utility>

#include "db/DbNode.h"

namespace lh::db {

void NodeArena::keepTrackOf(DbNode& node) {
    if (node.trackedAt) return;
    tracked.push_back(&node);
    node.trackedAt = uint32_t(tracked.size());
}

void NodeArena::forget(DbNode& node) {
    if (!node.trackedAt) return;
    DbNode* last = tracked.back();
    tracked[node.trackedAt - 1] = last;
    last->trackedAt = node.trackedAt;
    tracked.pop_back();
    node.trackedAt = 0;
}

std::vector<DbNode*> NodeArena::takeTracked() {
    for (DbNode* node : tracked) node->trackedAt = 0;
    return std::exchange(tracked, {});
}

namespace {

constexpr size_t kChunk = 256 * 1024;

}  // namespace

NodeArena::~NodeArena() {
    for (const Chunk& chunk : chunks) {
#if defined(LH_ARENA_POISON)
        ASAN_UNPOISON_MEMORY_REGION(chunk.at, chunk.size);  // ours, not the allocator's marks
#endif
        ::operator delete(chunk.at, std::align_val_t(kLine));
    }
}

// Blocks up to 1 KiB come in steps of 16 bytes; larger ones, child arrays of
// large groups and long texts, in powers of two, so that a freed one fits
// the next of its kind.
size_t NodeArena::largeClassOf(size_t size, size_t& rounded) {
    if (size == 0) {  // as the smallest block
        rounded = kGrain;
        return 0;
    }
    rounded = std::bit_ceil(size);
    return kSmallest / kGrain + size_t(std::countr_zero(rounded)) - size_t(std::countr_zero(kSmallest)) - 1;
}

void* NodeArena::fresh(Run& run, size_t size) {
    // A new chunk, on a cache line as every block in it wants. What was
    // left of the run's old chunk is less than this block, and goes with
    // the tree.
    if (size > kChunk / 4) {  // a block of its own
        void* chunk = ::operator new(size, std::align_val_t(kLine));
        chunks.push_back({chunk, size});
        held += size;
        return chunk;
    }
    char* chunk = static_cast<char*>(::operator new(kChunk, std::align_val_t(kLine)));
    chunks.push_back({chunk, kChunk});
    held += kChunk;
#if defined(LH_ARENA_POISON)
    ASAN_POISON_MEMORY_REGION(chunk + size, kChunk - size);
#endif
    run.next = chunk + size + kGap;
    run.limit = chunk + kChunk;
    return chunk;
}

void NodeArena::give(void* block, size_t size) {
#if defined(LH_ARENA_POISON)
    ASAN_POISON_MEMORY_REGION(block, size);
    quarantine.push_back({block, size});
    quarantined += size;
    while (quarantined > kQuarantine) {
        Waiting oldest = quarantine.front();
        quarantine.pop_front();
        quarantined -= oldest.size;
        toFreeList(oldest.block, oldest.size);
    }
#else
    toFreeList(block, size);
#endif
}

void NodeArena::toFreeList(void* block, size_t size) {
    size_t rounded = 0;
    size_t k = classOf(size, rounded);
    if (k >= kClasses) return;  // past any real size: kept with the tree
    auto* freed = static_cast<FreeBlock*>(block);
#if defined(LH_ARENA_POISON)
    // Only the link is open while the block waits on its list.
    ASAN_UNPOISON_MEMORY_REGION(freed, sizeof(FreeBlock));
    freed->next = freeBlocks[k];
    ASAN_POISON_MEMORY_REGION(freed, sizeof(FreeBlock));
#else
    freed->next = freeBlocks[k];
#endif
    freeBlocks[k] = freed;
}

}  // namespace lh::db
