// The message envelope: a 32-bit little-endian body length (the tag is not
// counted), a tag of five ASCII capitals with no terminator, then the body.
// Encoding and framing are pure, so they can be driven without sockets.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "net/ByteQueue.h"

namespace lh::net {

struct MessageTag {
    std::array<char, 5> letters{};

    constexpr MessageTag() = default;
    // From a five-letter literal such as "CHATQ".
    constexpr MessageTag(const char (&text)[6]) : letters{text[0], text[1], text[2], text[3], text[4]} {}

    std::string_view text() const { return {letters.data(), letters.size()}; }
    // Both tags of a Q/R pair share the first four letters.
    constexpr bool sameFamily(const MessageTag& other) const {
        return letters[0] == other.letters[0] && letters[1] == other.letters[1] &&
               letters[2] == other.letters[2] && letters[3] == other.letters[3];
    }
    constexpr bool operator==(const MessageTag&) const = default;
};

struct NetMessage {
    MessageTag tag;
    std::vector<uint8_t> body;

    NetMessage() = default;
    explicit NetMessage(MessageTag t) : tag(t) {}
    NetMessage(MessageTag t, std::vector<uint8_t> b) : tag(t), body(std::move(b)) {}
};

constexpr size_t kEnvelopeSize = 9;
// The length that opens a file fetch: read as an empty body.
constexpr uint32_t kFileFetchLength = 0xFFFFFFFFu;
// Larger bodies are garbage: the connection that sends one is closed.
constexpr uint32_t kMaxBodyLength = 64u << 20;
// The limit for a connection that has not logged in: a login is small, and
// a stranger does not get to make the host buffer megabytes.
constexpr uint32_t kLoginBodyLength = 64u << 10;

// Appends the envelope and body to `out`.
void encodeMessage(const NetMessage& message, ByteQueue& out);
std::vector<uint8_t> encodeMessage(const NetMessage& message);

enum class FrameStatus {
    NeedMore,   // not all bytes are there yet; nothing was taken
    Complete,   // `out` holds the message and its bytes were taken
    BadLength,  // the length is above the limit; nothing was taken
};
// Takes the next whole message from the front of `in`. badLength, if given,
// receives the offending length.
FrameStatus takeMessage(ByteQueue& in, NetMessage& out, uint32_t* badLength = nullptr,
                        uint32_t maxBody = kMaxBodyLength);

}  // namespace lh::net
