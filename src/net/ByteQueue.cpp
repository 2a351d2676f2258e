// Growing FIFO byte buffer; see ByteQueue.h.
#include "net/ByteQueue.h"

#include <algorithm>
#include <cstring>

namespace lh::net {
namespace {
// A buffer that once held a huge message gives its memory back when it runs
// empty, down to this much.
constexpr size_t kKeptCapacity = 256 * 1024;
}  // namespace

void ByteQueue::append(const void* bytes, size_t length) {
    if (length == 0) return;
    std::memcpy(prepare(length), bytes, length);
    commit(length);
}

uint8_t* ByteQueue::prepare(size_t length) {
    if (storage.size() - tail < length) {
        if (head > 0) {
            std::memmove(storage.data(), storage.data() + head, tail - head);
            tail -= head;
            head = 0;
        }
        if (storage.size() - tail < length) storage.resize(std::max(storage.size() * 2, tail + length));
    }
    return storage.data() + tail;
}

void ByteQueue::commit(size_t length) { tail = std::min(tail + length, storage.size()); }

size_t ByteQueue::peek(void* out, size_t length) const {
    size_t n = std::min(length, size());
    if (n) std::memcpy(out, data(), n);
    return n;
}

size_t ByteQueue::take(void* out, size_t length) {
    size_t n = peek(out, length);
    consume(n);
    return n;
}

void ByteQueue::consume(size_t length) {
    head += std::min(length, size());
    if (head == tail) {
        head = tail = 0;
        if (storage.size() > kKeptCapacity) {
            storage.resize(kKeptCapacity);
            storage.shrink_to_fit();
        }
    }
}

void ByteQueue::clear() { consume(size()); }

}  // namespace lh::net
