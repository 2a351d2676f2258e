// Bounds-checked reading and plain writing of message bodies: raw
// little-endian numbers and zero-terminated 8-bit texts, one behind the
// other with no alignment. A read past the end, or a text without its zero
// within the allowed length, fails the reader for good: every later read
// answers 0 or empty, and error() says what was expected and what came.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "net/NetMessage.h"

namespace lh::net {

class MessageReader {
public:
    explicit MessageReader(std::span<const uint8_t> body) : bytes(body) {}
    explicit MessageReader(const NetMessage& message) : bytes(message.body) {}

    uint8_t u8();
    uint16_t u16();
    uint32_t u32();
    int32_t i32();
    uint64_t u64();
    float f32();
    // A text up to its zero byte, which is consumed. Fails when there is no
    // zero within maxLength bytes or before the end of the body.
    std::string text(size_t maxLength);
    // `length` raw bytes; an empty span on failure.
    std::span<const uint8_t> bytesOf(size_t length);
    bool skip(size_t length);

    bool ok() const { return error_.empty(); }
    const std::string& error() const { return error_; }
    size_t offset() const { return position; }
    size_t remaining() const { return ok() ? bytes.size() - position : 0; }
    std::span<const uint8_t> rest() const { return bytes.subspan(ok() ? position : bytes.size()); }
    // A body read whole: every read succeeded and nothing is left behind
    // them. Otherwise false, with `why` saying which.
    bool finish(std::string& why) const;

private:
    bool need(size_t length, const char* what);

    std::span<const uint8_t> bytes;
    size_t position = 0;
    std::string error_;
};

class MessageWriter {
public:
    explicit MessageWriter(NetMessage& message) : body(message.body) {}

    MessageWriter& u8(uint8_t v);
    MessageWriter& u16(uint16_t v);
    MessageWriter& u32(uint32_t v);
    MessageWriter& i32(int32_t v);
    MessageWriter& u64(uint64_t v);
    MessageWriter& f32(float v);
    // The text and its zero byte; an embedded zero ends the text there.
    MessageWriter& text(std::string_view s);
    MessageWriter& bytes(std::span<const uint8_t> data);

private:
    std::vector<uint8_t>& body;
};

}  // namespace lh::net
