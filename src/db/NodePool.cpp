// The block pool of the record tree.
#include "db/NodePool.h"

#include <cstdlib>
#include <cstring>

namespace lh::db {

namespace {

constexpr size_t kBlocksPerChunk = 512;

size_t roundUp(size_t size) {
    size_t align = alignof(std::max_align_t);
    size = size < sizeof(void*) ? sizeof(void*) : size;
    return (size + align - 1) / align * align;
}

}  // namespace

BlockPool::BlockPool(size_t size) : blockSize(roundUp(size)) {}

void BlockPool::reserveFree(size_t count) {
    if (count <= freeCapacity) return;
    size_t capacity = freeCapacity ? freeCapacity * 2 : kBlocksPerChunk;
    while (capacity < count) capacity *= 2;
    auto** more = static_cast<void**>(::operator new(capacity * sizeof(void*)));
    if (freeCount) std::memcpy(more, freeBlocks, freeCount * sizeof(void*));
    ::operator delete(freeBlocks);
    freeBlocks = more;
    freeCapacity = capacity;
}

void BlockPool::grow() {
    // On cache-line boundaries: a block of a multiple of 64 bytes then
    // spans no more lines than it must.
    char* chunk = static_cast<char*>(::operator new(blockSize * kBlocksPerChunk, std::align_val_t(64)));
    reserveFree(freeCount + kBlocksPerChunk);
    // Pushed from the end, so that the blocks are taken in address order.
    for (size_t i = kBlocksPerChunk; i-- > 0;) freeBlocks[freeCount++] = chunk + i * blockSize;
}

void* BlockPool::take() {
    if (freeCount == 0) grow();
    void* block = freeBlocks[--freeCount];
    // The blocks asked for next are known: start their loads now, as a
    // large tree does not stay in the cache.
    constexpr size_t kAhead = 6;
    if (freeCount >= kAhead) __builtin_prefetch(freeBlocks[freeCount - kAhead], 1);
    return block;
}

void BlockPool::give(void* block) {
    if (freeCount == freeCapacity) reserveFree(freeCount + 1);
    freeBlocks[freeCount++] = block;
}

}  // namespace lh::db
