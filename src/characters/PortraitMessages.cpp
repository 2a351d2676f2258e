#include "characters/PortraitMessages.h"

#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"

namespace lh::characters {

size_t portraitChunkCount(uint64_t size) {
    return size_t((size + kPortraitChunkBytes - 1) / kPortraitChunkBytes);
}

std::vector<net::NetMessage> encodePortraitChunks(std::span<const uint8_t> file) {
    std::vector<net::NetMessage> out;
    size_t count = portraitChunkCount(file.size());
    if (count == 0 || count > kMaxPortraitChunks) return out;
    for (size_t i = 0; i < count; ++i) {
        std::span<const uint8_t> piece = file.subspan(i * kPortraitChunkBytes);
        if (piece.size() > kPortraitChunkBytes) piece = piece.first(kPortraitChunkBytes);
        net::NetMessage m(net::tags::CHPDQ);
        net::MessageWriter(m).u8(uint8_t(i + 1)).u8(uint8_t(count)).u32(uint32_t(piece.size())).bytes(piece);
        out.push_back(std::move(m));
    }
    return out;
}

std::optional<PortraitChunk> decodePortraitChunk(const net::NetMessage& message, std::string& error) {
    net::MessageReader r(message);
    PortraitChunk chunk;
    chunk.number = r.u8();
    chunk.count = r.u8();
    uint32_t length = r.u32();
    if (r.ok() && length > kPortraitChunkBytes) {
        error = "chunk of " + std::to_string(length) + " bytes";
        return std::nullopt;
    }
    std::span<const uint8_t> bytes = r.bytesOf(r.ok() ? length : 0);
    if (!r.ok()) {
        error = r.error();
        return std::nullopt;
    }
    if (chunk.number == 0 || chunk.number > chunk.count) {
        error = "chunk " + std::to_string(chunk.number) + " of " + std::to_string(chunk.count);
        return std::nullopt;
    }
    chunk.bytes.assign(bytes.begin(), bytes.end());
    return chunk;
}

net::NetMessage encodePortraitNotice(const PortraitNotice& notice) {
    net::NetMessage m(net::tags::CHPRR);
    net::MessageWriter(m).u32(notice.size).u64(notice.writeTime).text(notice.path);
    return m;
}

std::optional<PortraitNotice> decodePortraitNotice(const net::NetMessage& message, std::string& error) {
    net::MessageReader r(message);
    PortraitNotice notice;
    notice.size = r.u32();
    notice.writeTime = r.u64();
    notice.path = r.text(kPortraitTextMax);
    if (!r.ok()) {
        error = r.error();
        return std::nullopt;
    }
    return notice;
}

net::NetMessage encodePortraitRequest(const std::string& name) {
    net::NetMessage m(net::tags::CHPRQ);
    net::MessageWriter(m).text(name);
    return m;
}

net::NetMessage encodeTurn(int32_t index) {
    net::NetMessage m(net::tags::CHSLR);
    net::MessageWriter(m).i32(index);
    return m;
}

std::optional<int32_t> decodeTurn(const net::NetMessage& message, std::string& error) {
    net::MessageReader r(message);
    int32_t index = r.i32();
    if (!r.ok()) {
        error = r.error();
        return std::nullopt;
    }
    return index;
}

}  // namespace lh::characters
