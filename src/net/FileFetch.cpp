// One file transfer from the host; see FileFetch.h.
#include "net/FileFetch.h"

#include <system_error>

#include "net/ContentPaths.h"

namespace lh::net {
namespace {
// Rounds of socket reading in one poll(): enough to move several megabytes
// per wake-up, few enough that a huge file cannot hold up the tick.
constexpr int kRoundsPerPoll = 16;
constexpr size_t kWritePiece = 256u << 10;
// Beside the target, in the same folder, so that the rename is atomic.
constexpr const char* kTempSuffix = ".lhpart";

std::string withoutDriveAndRoot(std::string_view path) {
    if (size_t colon = path.rfind(':'); colon != std::string_view::npos) path.remove_prefix(colon + 1);
    while (!path.empty() && (path.front() == '/' || path.front() == '\\')) path.remove_prefix(1);
    return std::string(path);
}

// A decimal number of at most 32 bits, nothing else but blanks around it.
bool parseLength(const char* text, uint32_t& out) {
    uint64_t value = 0;
    int digits = 0;
    const char* p = text;
    for (; *p >= '0' && *p <= '9'; ++p) {
        value = value * 10 + uint64_t(*p - '0');
        if (value > UINT32_MAX) return false;
        ++digits;
    }
    while (*p == ' ') ++p;
    if (digits == 0 || *p != 0) return false;
    out = uint32_t(value);
    return true;
}
}  // namespace

const std::string FileFetch::kMethod = std::string("\xFF\xFF\xFF\xFF", 4) + "FILEXGET";

bool fetchesToMemory(FetchKind kind) {
    return kind == FetchKind::TokenBitmap || kind == FetchKind::DrawingLayer || kind == FetchKind::Mask;
}

FileFetch::FileFetch(std::string hostAddress, uint16_t hostPort, std::string_view path, FetchKind kind,
                     FileTime time, std::filesystem::path r)
    : request(nullptr),
      address(std::move(hostAddress)),
      port(hostPort),
      local(withoutDriveAndRoot(path)),
      fetchKind(kind),
      writeTime(time),
      root(std::move(r)) {
    request.addHeader("User-Agent:Zenthar (Mozilla)");
    request.addHeader("Accept:*/*");
}

FileFetch::~FileFetch() { dropTemp(); }

void FileFetch::dropTemp() {
    if (file) std::fclose(file);
    file = nullptr;
    if (!temp.empty()) {
        std::error_code ec;
        std::filesystem::remove(temp, ec);
        temp.clear();
    }
}

int FileFetch::fail(const std::string& why) {
    error = why;
    dropTemp();
    if (request.connection()) request.connection()->close(true);
    result = -1;
    return result;
}

void FileFetch::cancel() {
    if (result == 0) fail("cancelled");
}

int FileFetch::poll() {
    if (result != 0) return result;
    if (!started) {
        started = true;
        // The host announced it, but a hostile host must not make us write
        // outside the content folders; refused before any connection.
        if (!isContentPath(local)) return fail("refused path " + local);
        request.start("http://" + address + ":" + std::to_string(port) + "/" + local, 0, kMethod);
        if (request.state() == HttpRequest::Failed) return fail(request.errorText());
    }
    for (int round = 0; round < kRoundsPerPoll; ++round) {
        int status = request.poll();
        if (status < 0) return fail(request.errorText());
        uint32_t before = receivedBytes;
        if (request.progress() == 2) {
            if (!haveHeader && !beginBody()) return result;
            if (!takeBody()) return result;
            if (receivedBytes == length) return finish();
        }
        if (status == 1) {
            return fail("connection closed after " + std::to_string(receivedBytes) + " of " +
                        std::to_string(length) + " bytes");
        }
        if (receivedBytes == before) break;  // the socket has nothing more for now
    }
    return 0;
}

bool FileFetch::beginBody() {
    haveHeader = true;
    const char* value = request.headerValue("Content-Length");
    // Without a length a cut transfer could not be told from a whole one.
    if (!value || !parseLength(value, length)) {
        if (fetchesToMemory(fetchKind)) {
            length = 0;  // nothing to take; finishes empty
            return true;
        }
        fail("reply without a valid Content-Length");
        return false;
    }
    if (fetchesToMemory(fetchKind)) {
        if (length > kMaxMemoryBody) {
            fail("reply of " + std::to_string(length) + " bytes is too large to keep in memory");
            return false;
        }
        memory.reserve(length);
        return true;
    }
    target = prepareContentTarget(root, local);
    if (target.empty()) {
        fail("refused path " + local);
        return false;
    }
    std::filesystem::path name = target;
    name += kTempSuffix;
    std::error_code ec;
    std::filesystem::remove(name, ec);  // left by a run that was killed
    file = std::fopen(name.c_str(), "wbx");
    if (!file) {
        fail("cannot write " + name.string());
        return false;
    }
    temp = name;
    return true;
}

bool FileFetch::takeBody() {
    while (request.bodyAvailable() > 0 && receivedBytes < length) {
        size_t want = std::min<size_t>(request.bodyAvailable(), length - receivedBytes);
        size_t got = 0;
        if (file) {
            chunk.resize(kWritePiece);
            got = request.readBody(chunk.data(), std::min(want, chunk.size()));
            if (std::fwrite(chunk.data(), 1, got, file) != got) {
                fail("cannot write " + temp.string());
                return false;
            }
        } else {
            size_t at = memory.size();
            memory.resize(at + want);
            got = request.readBody(memory.data() + at, want);
            memory.resize(at + got);
        }
        receivedBytes += uint32_t(got);
    }
    return true;
}

int FileFetch::finish() {
    if (file) {
        bool written = std::fflush(file) == 0;
        written = std::fclose(file) == 0 && written;
        file = nullptr;
        if (!written) return fail("cannot write " + temp.string());
        setFileWriteTime(temp, writeTime);
        std::error_code ec;
        std::filesystem::rename(temp, target, ec);
        if (ec) return fail("cannot replace " + target.string());
        temp.clear();
    }
    if (request.connection()) request.connection()->close(false);
    result = 1;
    return result;
}

void FileFetch::watch(std::vector<platform::WatchedFd>& out) {
    if (!started || result != 0) return;
    if (Connection* c = request.connection()) c->watch(out);
}

}  // namespace lh::net
