// The block pool of the record tree.
#include "db/NodePool.h"

#include <cstdlib>

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

void BlockPool::grow() {
    char* chunk = static_cast<char*>(::operator new(blockSize * kBlocksPerChunk));
    for (size_t i = kBlocksPerChunk; i-- > 0;) give(chunk + i * blockSize);
}

void* BlockPool::take() {
    if (!freeList) grow();
    FreeBlock* block = freeList;
    freeList = block->next;
    // The next block is asked for soon, and reading its link is a miss
    // when a large tree went before: start the load now.
    __builtin_prefetch(freeList, 1);
    return block;
}

void BlockPool::give(void* block) {
    auto* free = static_cast<FreeBlock*>(block);
    free->next = freeList;
    freeList = free;
}

}  // namespace lh::db
