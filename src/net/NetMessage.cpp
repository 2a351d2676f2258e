// Envelope encoding and framing; see NetMessage.h.
#include "net/NetMessage.h"

#include <cstring>

namespace lh::net {
namespace {

void putLength(uint8_t* out, uint32_t length) {
    out[0] = uint8_t(length);
    out[1] = uint8_t(length >> 8);
    out[2] = uint8_t(length >> 16);
    out[3] = uint8_t(length >> 24);
}

uint32_t getLength(const uint8_t* in) {
    return uint32_t(in[0]) | uint32_t(in[1]) << 8 | uint32_t(in[2]) << 16 | uint32_t(in[3]) << 24;
}

}  // namespace

void encodeMessage(const NetMessage& message, ByteQueue& out) {
    size_t total = kEnvelopeSize + message.body.size();
    uint8_t* p = out.prepare(total);
    putLength(p, uint32_t(message.body.size()));
    std::memcpy(p + 4, message.tag.letters.data(), 5);
    if (!message.body.empty()) std::memcpy(p + kEnvelopeSize, message.body.data(), message.body.size());
    out.commit(total);
}

std::vector<uint8_t> encodeMessage(const NetMessage& message) {
    ByteQueue q;
    encodeMessage(message, q);
    return {q.data(), q.data() + q.size()};
}

FrameStatus takeMessage(ByteQueue& in, NetMessage& out, uint32_t* badLength, uint32_t maxBody) {
    if (in.size() < 4) return FrameStatus::NeedMore;
    uint32_t length = getLength(in.data());
    if (length == kFileFetchLength) length = 0;
    if (length > maxBody) {
        if (badLength) *badLength = length;
        return FrameStatus::BadLength;
    }
    if (in.size() < kEnvelopeSize + size_t(length)) return FrameStatus::NeedMore;
    const uint8_t* p = in.data();
    std::memcpy(out.tag.letters.data(), p + 4, 5);
    out.body.assign(p + kEnvelopeSize, p + kEnvelopeSize + length);
    in.consume(kEnvelopeSize + length);
    return FrameStatus::Complete;
}

}  // namespace lh::net
