// The bodies of the portrait and character-list messages: pure codecs, so
// that hostile bodies can be thrown at them alone.
//
//   CHPDQ  client to host: chunk number (from 1), chunk count, u32 length, bytes
//   CHPRQ  client to host: a character name
//   CHPRR  host to clients: u32 file size, u64 file time, the host's path
//   CHSLR  host to clients: i32 index of the entry whose turn it is, -1 none
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "net/NetMessage.h"

namespace lh::characters {

// A portrait travels in chunks of at most this many bytes, and the count
// of chunks is one byte: 255 chunks, 2,040,000 bytes, is the largest file.
constexpr size_t kPortraitChunkBytes = 8000;
constexpr size_t kMaxPortraitChunks = 255;
constexpr uint64_t kMaxPortraitBytes = kPortraitChunkBytes * kMaxPortraitChunks;

// ceil(size / 8000); 0 for an empty file.
size_t portraitChunkCount(uint64_t size);

struct PortraitChunk {
    uint8_t number = 0;  // from 1
    uint8_t count = 0;
    std::vector<uint8_t> bytes;
};
// Every chunk of a file, in order; empty for an empty file or one of more
// than kMaxPortraitChunks chunks.
std::vector<net::NetMessage> encodePortraitChunks(std::span<const uint8_t> file);
// Refuses a number of 0 or above the count, and a length above 8000 or
// beyond the body.
std::optional<PortraitChunk> decodePortraitChunk(const net::NetMessage& message, std::string& error);

struct PortraitNotice {
    uint32_t size = 0;
    uint64_t writeTime = 0;  // 100 ns units since 1601
    std::string path;        // "campaigns\<campaign>\portraits\<name>"
};
net::NetMessage encodePortraitNotice(const PortraitNotice& notice);
std::optional<PortraitNotice> decodePortraitNotice(const net::NetMessage& message, std::string& error);

net::NetMessage encodePortraitRequest(const std::string& name);
net::NetMessage encodeTurn(int32_t index);
std::optional<int32_t> decodeTurn(const net::NetMessage& message, std::string& error);

// Longest text taken from these bodies.
constexpr size_t kPortraitTextMax = 1024;

}  // namespace lh::characters
