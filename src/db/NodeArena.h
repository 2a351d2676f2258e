// The memory of one record tree. The nodes of a tree, their child arrays,
// holder lists, Module marks and their plain values (numbers, and texts with
// their bytes) are carved out of large chunks that belong to the tree's
// root. A large database is read in one go and dropped in one go: dropping
// it then gives the chunks back without visiting a hundred thousand nodes.
//
// A node that holds something the chunks do not (a long name, category
// definitions, observations, a value of a kind other subsystems supply, a
// number linked to others) is kept in a list, and only those are visited
// when the tree goes. A subtree deleted on its own gives its blocks back to
// the tree for reuse, by size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// Sanitizer builds run the same code, and mark what no block holds (the
// rest of a chunk, a gap behind each block, a block given back) as not to be
// touched: a node used after its deletion, or a write past its end, is
// caught as it would be on the heap. Blocks given back are reused there too,
// as in every build, but only after a quarantine, as the heap's own checker
// does: a block waits, still marked, until a good many bytes were given back
// after it, so that a late use of a deleted node is still caught.
#if defined(__SANITIZE_ADDRESS__)
#define LH_ARENA_POISON 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define LH_ARENA_POISON 1
#endif
#endif
#if defined(LH_ARENA_POISON)
#include <sanitizer/asan_interface.h>

#include <deque>
#endif

namespace lh::db {

class DbNode;

class NodeArena {
public:
    NodeArena() = default;
    ~NodeArena();
    NodeArena(const NodeArena&) = delete;
    NodeArena& operator=(const NodeArena&) = delete;

    // A block of at least `size` bytes, aligned for any object. Blocks of
    // nodes (`lineAligned`) start on a cache line and come from a run of
    // their own, so that a node spans no more lines than it must and a walk
    // over the tree reads nodes and little else.
    void* take(size_t size, bool lineAligned = false);  // see below
    // Gives back a block taken with the same size.
    void give(void* block, size_t size);

    // The nodes that must be visited when the tree goes: see above.
    void keepTrackOf(DbNode& node);
    void forget(DbNode& node);
    // Hands over the list; the nodes forget their places in it.
    std::vector<DbNode*> takeTracked();

    // Observations on nodes of this tree: while there are any, a dropped
    // tree is taken down node by node, so that every observer is told.
    size_t observations = 0;

    // What the tree holds of the system's memory, in chunks, and how many
    // blocks given back were taken again: a tree whose subtrees are deleted
    // and made anew reuses its blocks rather than growing.
    size_t heldBytes() const { return held; }
    size_t reusedBlocks() const { return reused; }

private:
    struct Run {
        char* next = nullptr;
        char* limit = nullptr;
    };
    struct FreeBlock {
        FreeBlock* next;
    };
    static constexpr size_t kGrain = 16;
    static constexpr size_t kSmallest = 1024;  // up to here, classes every 16 bytes
    static constexpr size_t kLine = 64;
    static constexpr size_t kClasses = 64 + 48;

    std::vector<DbNode*> tracked;
    Run runs[2];
    struct Chunk {
        void* at;
        size_t size;
    };
    std::vector<Chunk> chunks;
    FreeBlock* freeBlocks[kClasses] = {};
    size_t held = 0;
    size_t reused = 0;
#if defined(LH_ARENA_POISON)
    // Blocks given back, oldest first, and their bytes in all.
    struct Waiting {
        void* block;
        size_t size;
    };
    std::deque<Waiting> quarantine;
    size_t quarantined = 0;
    static constexpr size_t kQuarantine = 256 * 1024;
#endif
    void toFreeList(void* block, size_t size);

    static size_t classOf(size_t size, size_t& rounded) {
        if (size - 1 < kSmallest) {
            rounded = (size + kGrain - 1) & ~(kGrain - 1);
            return rounded / kGrain - 1;
        }
        return largeClassOf(size, rounded);
    }
    static size_t largeClassOf(size_t size, size_t& rounded);
    void* fresh(Run& run, size_t size);  // in a new chunk
#if defined(LH_ARENA_POISON)
    static constexpr size_t kGap = kGrain;
#else
    static constexpr size_t kGap = 0;
#endif
};

// A large tree takes a few hundred thousand blocks in one load: the usual
// case, a bump in the current run, is inline.
inline void* NodeArena::take(size_t size, bool lineAligned) {
    size_t rounded = 0;
    size_t k = classOf(size, rounded);
    if (k < kClasses && freeBlocks[k]) {
        FreeBlock* block = freeBlocks[k];
#if defined(LH_ARENA_POISON)
        // The link may be longer than what is asked for: only the latter stays open.
        ASAN_UNPOISON_MEMORY_REGION(block, sizeof(FreeBlock));
        freeBlocks[k] = block->next;
        ASAN_POISON_MEMORY_REGION(block, sizeof(FreeBlock));
        ASAN_UNPOISON_MEMORY_REGION(block, size);
#else
        freeBlocks[k] = block->next;
#endif
        ++reused;
        return block;
    }
    Run& run = runs[lineAligned ? 1 : 0];
    size_t align = lineAligned ? kLine : kGrain;
    auto at = (reinterpret_cast<uintptr_t>(run.next) + align - 1) & ~(align - 1);
    if (run.next && at + rounded + kGap <= reinterpret_cast<uintptr_t>(run.limit)) {
        run.next = reinterpret_cast<char*>(at + rounded + kGap);
#if defined(LH_ARENA_POISON)
        ASAN_UNPOISON_MEMORY_REGION(reinterpret_cast<char*>(at), size);
#endif
        return reinterpret_cast<char*>(at);
    }
    return fresh(run, rounded);
}

}  // namespace lh::db
