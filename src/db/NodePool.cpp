// The block pool of the record tree.
#include "db/NodePool.h"

#include <cstdlib>
#include <cstring>

namespace lh::db {

namespace {

constexpr size_t kBlocksPerChunk = 512;

}  // namespace

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

}  // namespace lh::db
