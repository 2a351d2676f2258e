// A free list of equally sized blocks for the many small objects of the
// record tree. A database of 100,000 nodes is read in one go at start-up;
// taking nodes and values from large chunks instead of one heap call each
// saves most of the time the allocator took. Each thread has its own free lists, so
// a document parsed off the main thread is safe too; chunks are never given
// back, so a block may be freed on another thread than the one it came from.
#pragma once

#include <cstddef>
#include <type_traits>
#include <new>

namespace lh::db {

class BlockPool {
public:
    // Constant, so that a pool per thread needs no guard on each use.
    explicit constexpr BlockPool(size_t size) : blockSize(roundUp(size)) {}
    BlockPool(const BlockPool&) = delete;
    BlockPool& operator=(const BlockPool&) = delete;
    // Inline: a walk over a large document takes and gives a block for
    // every element it visits.
    void* take() {
        if (freeCount == 0) grow();
        void* block = freeBlocks[--freeCount];
        // The blocks asked for next are known: start their loads now, as a
        // large tree does not stay in the cache.
        constexpr size_t kAhead = 6;
        if (freeCount >= kAhead) __builtin_prefetch(freeBlocks[freeCount - kAhead], 1);
        return block;
    }
    void give(void* block) {
        if (freeCount == freeCapacity) reserveFree(freeCount + 1);
        freeBlocks[freeCount++] = block;
    }

private:
    static constexpr size_t roundUp(size_t size) {
        size_t align = alignof(std::max_align_t);
        size = size < sizeof(void*) ? sizeof(void*) : size;
        return (size + align - 1) / align * align;
    }

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
static_assert(std::is_trivially_destructible_v<BlockPool>);

#if defined(__SANITIZE_ADDRESS__)
template <class T>
struct Pooled {};
#else
template <class T>
struct Pooled {
    // Never torn down (its destructor is trivial): a block may come back
    // to it at any time, from a document dropped late. What it holds at a
    // thread's end stays with the process.
    static BlockPool& pool() {
        static constinit thread_local BlockPool blocks{sizeof(T)};
        return blocks;
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
