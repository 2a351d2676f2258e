// A free list of equally sized blocks for the many small objects of the
// record tree. A database of 100,000 nodes is read in one go at start-up;
// taking nodes and values from large chunks instead of one heap call each
// saves most of the time the allocator took. Each thread has its own free lists, so
// a document parsed off the main thread is safe too; chunks are never given
// back, so a block may be freed on another thread than the one it came from.
#pragma once

#include <cstddef>
#include <new>

namespace lh::db {

class BlockPool {
public:
    explicit BlockPool(size_t blockSize);
    BlockPool(const BlockPool&) = delete;
    BlockPool& operator=(const BlockPool&) = delete;
    void* take();
    void give(void* block);

private:
    size_t blockSize;
    // The free blocks, in a stack of their addresses rather than linked
    // through the blocks themselves: taking one then reads no block, so a
    // run of takes after a large tree was freed is not a chain of cache
    // misses, each waiting for the one before, and the blocks about to be
    // taken can be asked for ahead.
    void** freeBlocks = nullptr;
    size_t freeCount = 0;
    size_t freeCapacity = 0;
    void grow();
    void reserveFree(size_t count);
};

// Gives a class operator new and delete from one pool per class and thread.
// Sanitizer builds take every object from the heap, so that a node used
// after its deletion is still caught.
#if defined(__SANITIZE_ADDRESS__)
template <class T>
struct Pooled {};
#else
template <class T>
struct Pooled {
    static BlockPool& pool() {
        static thread_local BlockPool* blocks = new BlockPool(sizeof(T));
        return *blocks;
    }
    static void* operator new(size_t size) { return size == sizeof(T) ? pool().take() : ::operator new(size); }
    static void operator delete(void* block, size_t size) {
        if (size == sizeof(T)) {
            pool().give(block);
        } else {
            ::operator delete(block);
        }
    }
};
#endif

}  // namespace lh::db
