// Map message bodies; see ImageMessages.h.
#include "table/ImageMessages.h"

#include <algorithm>

#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"
#include "net/ReplicationWire.h"

namespace lh::table {

namespace {

constexpr size_t kMaxPath = 255;
// Snapshot names are short: "temp\mask_snapshot_<user>_<seconds>_<n>".
constexpr size_t kMaxFileName = 255;

bool readPath(net::MessageReader& r, std::string& path, std::string& why) {
    path = r.text(kMaxPath + 1);
    if (!r.ok()) {
        why = r.error();
        return false;
    }
    if (!db::isTreePath(path)) {
        why = "not a record path";
        return false;
    }
    return true;
}

}  // namespace

void encodeAvailability(bool has, std::string_view path, net::NetMessage& out) {
    out = net::NetMessage(net::tags::IMGAR);
    net::MessageWriter(out).u8(has ? 1 : 0).text(path);
}

bool decodeAvailability(const net::NetMessage& m, bool& has, std::string& path, std::string& why) {
    net::MessageReader r(m);
    uint8_t flag = r.u8();
    if (r.ok() && flag > 1) {
        why = "the availability byte is neither 0 nor 1";
        return false;
    }
    has = flag == 1;
    return r.ok() ? readPath(r, path, why) && r.finish(why) : (why = r.error(), false);
}

void encodePolygon(net::MessageTag tag, std::string_view path, const std::vector<uint32_t>& points,
                   net::NetMessage& out) {
    out = net::NetMessage(tag);
    net::MessageWriter w(out);
    w.text(path).u32(uint32_t(points.size()));
    for (uint32_t p : points) w.u32(p);
}

bool decodePolygon(const net::NetMessage& m, std::string& path, std::vector<uint32_t>& points, std::string& why) {
    net::MessageReader r(m);
    if (!readPath(r, path, why)) return false;
    uint32_t count = r.u32();
    // The count is trusted only as far as the body reaches.
    if (r.ok() && uint64_t(count) * 4 != r.remaining()) {
        why = "the point count does not match the body";
        return false;
    }
    points.clear();
    points.reserve(count);
    for (uint32_t i = 0; i < count && r.ok(); ++i) points.push_back(r.u32());
    return r.finish(why);
}

void encodeSnapshotRequest(std::string_view path, SnapshotKind kind, net::NetMessage& out) {
    out = net::NetMessage(net::tags::IMSSQ);
    net::MessageWriter(out).text(path).u32(uint32_t(kind));
}

namespace {
bool readKind(net::MessageReader& r, SnapshotKind& kind, std::string& why) {
    uint32_t k = r.u32();
    if (!r.ok()) return true;  // reported by finish()
    if (k > 1) {
        why = "the layer kind is neither 0 nor 1";
        return false;
    }
    kind = SnapshotKind(k);
    return true;
}
}  // namespace

bool decodeSnapshotRequest(const net::NetMessage& m, std::string& path, SnapshotKind& kind, std::string& why) {
    net::MessageReader r(m);
    return readPath(r, path, why) && readKind(r, kind, why) && r.finish(why);
}

void encodeSnapshotReply(std::string_view path, SnapshotKind kind, std::string_view file, net::NetMessage& out) {
    out = net::NetMessage(net::tags::IMSSR);
    net::MessageWriter(out).text(path).u32(uint32_t(kind)).text(file);
}

bool decodeSnapshotReply(const net::NetMessage& m, std::string& path, SnapshotKind& kind, std::string& file,
                         std::string& why) {
    net::MessageReader r(m);
    if (!readPath(r, path, why) || !readKind(r, kind, why)) return false;
    file = r.text(kMaxFileName + 1);
    if (r.ok() && file.empty()) {
        why = "no file name";
        return false;
    }
    return r.finish(why);
}

void encodeSnapshotRead(std::string_view file, net::NetMessage& out) {
    out = net::NetMessage(net::tags::IMSAQ);
    net::MessageWriter(out).text(file);
}

bool decodeSnapshotRead(const net::NetMessage& m, std::string& file, std::string& why) {
    net::MessageReader r(m);
    file = r.text(kMaxFileName + 1);
    return r.finish(why);
}

void encodeStroke(net::MessageTag tag, std::string_view path, const std::vector<StrokePoint>& points,
                  net::NetMessage& out) {
    out = net::NetMessage(tag);
    net::MessageWriter w(out);
    w.text(path).u32(uint32_t(points.size()));
    for (const StrokePoint& p : points) w.u32(p.point).u8(p.pressure);
}

bool decodeStroke(const net::NetMessage& m, std::string& path, std::vector<StrokePoint>& points, std::string& why) {
    net::MessageReader r(m);
    if (!readPath(r, path, why)) return false;
    uint32_t count = r.u32();
    if (r.ok() && uint64_t(count) * 5 != r.remaining()) {
        why = "the point count does not match the body";
        return false;
    }
    points.clear();
    points.reserve(count);
    for (uint32_t i = 0; i < count && r.ok(); ++i) {
        StrokePoint p;
        p.point = r.u32();
        p.pressure = r.u8();
        points.push_back(p);
    }
    return r.finish(why);
}

void encodeErased(std::string_view path, net::NetMessage& out) {
    out = net::NetMessage(net::tags::DRDLR);
    net::MessageWriter(out).text(path);
}

bool decodeErased(const net::NetMessage& m, std::string& path, std::string& why) {
    net::MessageReader r(m);
    return readPath(r, path, why) && r.finish(why);
}

size_t polygonCapacity(size_t pathLength) { return (kMapBodyLimit - pathLength - 1 - 4) / 4; }
size_t strokeCapacity(size_t pathLength) { return (kMapBodyLimit - pathLength - 1 - 4) / 5; }

std::vector<std::vector<StrokePoint>> splitStroke(const std::vector<StrokePoint>& stroke, size_t capacity) {
    std::vector<std::vector<StrokePoint>> pieces;
    capacity = std::max<size_t>(capacity, 2);
    if (stroke.size() <= capacity) {
        pieces.push_back(stroke);
        return pieces;
    }
    for (size_t start = 0; start + 1 < stroke.size(); start += capacity - 1) {
        size_t end = std::min(stroke.size(), start + capacity);
        pieces.emplace_back(stroke.begin() + long(start), stroke.begin() + long(end));
    }
    return pieces;
}

std::vector<uint32_t> thinOutline(const std::vector<uint32_t>& outline, size_t capacity) {
    if (outline.size() <= capacity || capacity < 3) return outline;
    std::vector<uint32_t> kept;
    kept.reserve(capacity);
    const size_t n = outline.size();
    for (size_t i = 0; i < capacity; ++i) kept.push_back(outline[i * (n - 1) / (capacity - 1)]);
    return kept;
}

}  // namespace lh::table
