// A first-in first-out byte buffer that grows as needed: the send and
// receive buffers of a Connection. Bytes stay contiguous, so a complete
// message can be parsed where it lies.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace lh::net {

class ByteQueue {
public:
    size_t size() const { return tail - head; }
    bool empty() const { return head == tail; }
    const uint8_t* data() const { return storage.data() + head; }

    void append(const void* bytes, size_t length);
    // Room for at least `length` more bytes behind the content; commit()
    // then says how many of them were filled.
    uint8_t* prepare(size_t length);
    void commit(size_t length);

    size_t peek(void* out, size_t length) const;  // bytes copied
    size_t take(void* out, size_t length);        // bytes copied and removed
    void consume(size_t length);
    void clear();

private:
    std::vector<uint8_t> storage;
    size_t head = 0;
    size_t tail = 0;
};

}  // namespace lh::net
