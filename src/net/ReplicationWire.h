// The bodies of the record messages: DATAR carries one node and its value
// in either direction, DATDQ asks the host to delete a node, DATDR tells
// the clients that one is gone. Reading is bounds-checked throughout: a
// body that does not hold what its kind promises is refused with a reason.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "db/NodeValue.h"
#include "net/NetMessage.h"

namespace lh::db {

// A formatted text travels as its XML form in pieces of at most this many
// bytes, so that every message stays small.
constexpr size_t kTextChunkSize = 4000;

struct DataMessage {
    std::string path;
    uint8_t kind = 0;      // NodeKind as one byte; unknown numbers are kept
    bool isOwner = false;  // from the host: the receiver owns the node
    int32_t number = 0;    // kind 1
    std::string text;      // kind 2: the stored (escaped) text; kind 4: one chunk
    bool isLastChunk = false;  // kind 4
    ImageWireState image;      // kind 5
    uint32_t fileSize = 0;     // kind 5: 0 when the file cannot be opened
    uint64_t fileTime = 0;     // kind 5: last write as 100 ns ticks since 1601
};

// Replaces `out` with a DATAR for `data`.
void encodeData(const DataMessage& data, net::NetMessage& out);
// False with a reason in `why` for a body that does not read as a DATAR,
// or whose path is not a path of the tree.
bool decodeData(const net::NetMessage& message, DataMessage& out, std::string& why);

// DATDQ and DATDR: the path and nothing else.
void encodePathMessage(net::MessageTag tag, std::string_view path, net::NetMessage& out);
bool decodePathMessage(const net::NetMessage& message, std::string& path, std::string& why);

// A path of the tree: 1 to 255 bytes, pieces separated by single dots, no
// piece empty.
bool isTreePath(std::string_view path);

// Size and last-write time of a program path's file, 0 and 0 when it cannot
// be opened.
void describeFile(std::string_view programPath, uint32_t& size, uint64_t& fileTime);

}  // namespace lh::db
