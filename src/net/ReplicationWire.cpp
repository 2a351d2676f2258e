// Writing and bounds-checked reading of the record message bodies.
#include "net/ReplicationWire.h"

#include <chrono>
#include <filesystem>
#include <system_error>

#include "db/DbNode.h"
#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"
#include "platform/Paths.h"

namespace lh::db {
namespace {

// Paths of files inside an image value name a picture or mask under the
// working directory; anything else is not accepted from another machine.
constexpr size_t kMaxFilePath = 259;
// 100 ns ticks from 1601-01-01 to 1970-01-01.
constexpr uint64_t kUnixEpochTicks = 116444736000000000ull;

bool isAcceptableFilePath(const std::string& path) { return path.empty() || platform::isSafeRelativePath(path); }

}  // namespace

bool isTreePath(std::string_view path) {
    if (path.empty() || path.size() > kMaxPathLength) return false;
    if (path.front() == '.' || path.back() == '.') return false;
    return path.find("..") == std::string_view::npos;
}

void encodeData(const DataMessage& data, net::NetMessage& out) {
    out.tag = net::tags::DATAR;
    out.body.clear();
    net::MessageWriter w(out);
    w.text(data.path).u8(data.kind).u8(data.isOwner ? 1 : 0);
    switch (NodeKind(data.kind)) {
    case NodeKind::intValue: w.i32(data.number); break;
    case NodeKind::stringValue: w.text(data.text); break;
    case NodeKind::formattedText: w.u8(data.isLastChunk ? 1 : 0).text(data.text); break;
    case NodeKind::image:
        w.text(data.image.imagePath).u32(data.fileSize).u64(data.fileTime).text(data.image.maskPath);
        w.i32(data.image.gridSize).i32(data.image.gridOffsetX).i32(data.image.gridOffsetY);
        w.i32(data.image.viewX).i32(data.image.viewY);
        break;
    default: break;
    }
}

bool decodeData(const net::NetMessage& message, DataMessage& out, std::string& why) {
    net::MessageReader r(message);
    out.path = r.text(kMaxPathLength);
    out.kind = r.u8();
    out.isOwner = r.u8() != 0;
    if (r.ok() && !isTreePath(out.path)) {
        why = "not a record path";
        return false;
    }
    switch (NodeKind(out.kind)) {
    case NodeKind::intValue: out.number = r.i32(); break;
    case NodeKind::stringValue: out.text = r.text(r.remaining()); break;
    case NodeKind::formattedText:
        out.isLastChunk = r.u8() != 0;
        // Chunks are written at 4000 bytes; a longer one is still one text
        // and is taken, as long as it fits the body.
        out.text = r.text(r.remaining());
        break;
    case NodeKind::image:
        out.image.imagePath = r.text(kMaxFilePath);
        out.fileSize = r.u32();
        out.fileTime = r.u64();
        out.image.maskPath = r.text(kMaxFilePath);
        out.image.gridSize = r.i32();
        out.image.gridOffsetX = r.i32();
        out.image.gridOffsetY = r.i32();
        out.image.viewX = r.i32();
        out.image.viewY = r.i32();
        if (r.ok() && (!isAcceptableFilePath(out.image.imagePath) || !isAcceptableFilePath(out.image.maskPath))) {
            why = "an image path outside the working folders";
            return false;
        }
        break;
    default: break;
    }
    if (!r.ok()) {
        why = r.error();
        return false;
    }
    return true;
}

void encodePathMessage(net::MessageTag tag, std::string_view path, net::NetMessage& out) {
    out.tag = tag;
    out.body.clear();
    net::MessageWriter(out).text(path);
}

bool decodePathMessage(const net::NetMessage& message, std::string& path, std::string& why) {
    net::MessageReader r(message);
    path = r.text(kMaxPathLength);
    if (!r.ok()) {
        why = r.error();
        return false;
    }
    if (!isTreePath(path)) {
        why = "not a record path";
        return false;
    }
    return true;
}

void describeFile(std::string_view programPath, uint32_t& size, uint64_t& fileTime) {
    size = 0;
    fileTime = 0;
    if (programPath.empty()) return;
    std::filesystem::path file = platform::diskPath(programPath);
    std::error_code error;
    uintmax_t bytes = std::filesystem::file_size(file, error);
    if (error) return;
    auto written = std::filesystem::last_write_time(file, error);
    if (error) return;
    size = bytes > UINT32_MAX ? UINT32_MAX : uint32_t(bytes);
    auto sinceUnix = std::chrono::duration_cast<std::chrono::duration<int64_t, std::ratio<1, 10000000>>>(
        std::chrono::file_clock::to_sys(written).time_since_epoch());
    fileTime = uint64_t(int64_t(kUnixEpochTicks) + sinceUnix.count());
}

}  // namespace lh::db
