// The bodies of the map messages, read with bounds checks and written
// within the body limit that every copy of the program accepts:
//   IMGAR  has (1 byte), node path           client: whether it has the file
//   IMMSQ/IMMSR  node path, count, points    a revealed polygon
//   IMSSQ  node path, kind (4 bytes)         ask for a layer snapshot
//   IMSSR  node path, kind, file name        the snapshot to fetch
//   IMSAQ  file name                         the snapshot was read
//   DRSTQ/DRSTR  node path, count, (point, pressure byte) each   a stroke
//   DRDLR  node path                         the drawing layer was erased
// Points are packed: x in the low 16 bits, y in the high 16, signed.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "net/NetMessage.h"

namespace lh::table {

// The largest body written here: what the oldest readers of these messages
// take. Strokes are cut to fit; polygons are thinned.
constexpr size_t kMapBodyLimit = 8194;

enum class SnapshotKind : uint32_t { Drawing = 0, Mask = 1 };

struct StrokePoint {
    uint32_t point = 0;  // packed
    uint8_t pressure = 255;
    bool operator==(const StrokePoint&) const = default;
};

// Every decoder answers false with a reason for a body that does not read
// exactly as its tag promises: short, overlong, a count beyond the body,
// a path that is no path of the tree.
void encodeAvailability(bool has, std::string_view path, net::NetMessage& out);
bool decodeAvailability(const net::NetMessage& m, bool& has, std::string& path, std::string& why);

void encodePolygon(net::MessageTag tag, std::string_view path, const std::vector<uint32_t>& points,
                   net::NetMessage& out);
bool decodePolygon(const net::NetMessage& m, std::string& path, std::vector<uint32_t>& points, std::string& why);

void encodeSnapshotRequest(std::string_view path, SnapshotKind kind, net::NetMessage& out);
bool decodeSnapshotRequest(const net::NetMessage& m, std::string& path, SnapshotKind& kind, std::string& why);

void encodeSnapshotReply(std::string_view path, SnapshotKind kind, std::string_view file, net::NetMessage& out);
bool decodeSnapshotReply(const net::NetMessage& m, std::string& path, SnapshotKind& kind, std::string& file,
                         std::string& why);

void encodeSnapshotRead(std::string_view file, net::NetMessage& out);
bool decodeSnapshotRead(const net::NetMessage& m, std::string& file, std::string& why);

void encodeStroke(net::MessageTag tag, std::string_view path, const std::vector<StrokePoint>& points,
                  net::NetMessage& out);
bool decodeStroke(const net::NetMessage& m, std::string& path, std::vector<StrokePoint>& points, std::string& why);

void encodeErased(std::string_view path, net::NetMessage& out);
bool decodeErased(const net::NetMessage& m, std::string& path, std::string& why);

// Most points of one message for a node path of this length.
size_t polygonCapacity(size_t pathLength);
size_t strokeCapacity(size_t pathLength);

// A stroke cut into pieces that fit one message each; each piece starts at
// the point where the one before ended, so the segments drawn are those of
// the whole stroke.
std::vector<std::vector<StrokePoint>> splitStroke(const std::vector<StrokePoint>& stroke, size_t capacity);

// An outline thinned to at most `capacity` points, first and last kept:
// an even-odd polygon cut in two would not fill as one.
std::vector<uint32_t> thinOutline(const std::vector<uint32_t>& outline, size_t capacity);

}  // namespace lh::table
