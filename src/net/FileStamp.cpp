// File sizes and times in the announced form; see FileStamp.h.
#include "net/FileStamp.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <system_error>

namespace lh::net {
namespace fs = std::filesystem;
namespace {
// FILETIME of 1970-01-01 00:00:00 UTC.
constexpr int64_t kUnixEpochAsFileTime = 116444736000000000LL;
using Ticks = std::chrono::duration<int64_t, std::ratio<1, 10000000>>;
}  // namespace

bool readFileStamp(const fs::path& file, FileStamp& out) {
    std::error_code ec;
    if (!fs::is_regular_file(file, ec)) return false;
    uint64_t size = fs::file_size(file, ec);
    if (ec) return false;
    fs::file_time_type when = fs::last_write_time(file, ec);
    if (ec) return false;
    // Readable for us, as the host will have to read it to serve it.
    if (!std::ifstream(file, std::ios::binary)) return false;
    auto sinceEpoch = std::chrono::duration_cast<Ticks>(std::chrono::file_clock::to_sys(when).time_since_epoch());
    int64_t ticks = sinceEpoch.count() + kUnixEpochAsFileTime;
    out.size = size;
    out.writeTime = FileTime::of(ticks < 0 ? 0 : uint64_t(ticks));
    return true;
}

bool setFileWriteTime(const fs::path& file, FileTime time) {
    // The disk keeps nanoseconds since 1970 in 64 bits: times before 1970
    // or after 2262 (from a careless or hostile host) are clamped.
    constexpr int64_t kLatest = 9000000000000000000LL / 100;
    int64_t ticks = int64_t(std::min<uint64_t>(time.value(), uint64_t(INT64_MAX))) - kUnixEpochAsFileTime;
    Ticks sinceEpoch(std::clamp<int64_t>(ticks, 0, kLatest));
    std::chrono::sys_time<Ticks> sys(sinceEpoch);
    std::error_code ec;
    fs::last_write_time(file, std::chrono::file_clock::from_sys(sys), ec);
    return !ec;
}

bool sameFile(uint32_t localSize, FileTime local, uint32_t announcedSize, FileTime announced) {
    if (localSize != announcedSize || local.high != announced.high) return false;
    uint32_t apart = local.low > announced.low ? local.low - announced.low : announced.low - local.low;
    return apart < 30000000u;
}

}  // namespace lh::net
