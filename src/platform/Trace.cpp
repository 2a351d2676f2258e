// The trace file of LOREHAVEN_TRACE. Opened on first use; lines go out
// unbuffered so that a watcher reading the file sees each one as it happens.
#include "platform/Trace.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <string>

#include "platform/Clock.h"

namespace lh::platform {
namespace {

struct TraceFile {
    std::FILE* file = nullptr;
    // The newest lines, for a script that starts after they were written.
    std::deque<std::string> recent;

    TraceFile() {
        const char* path = std::getenv("LOREHAVEN_TRACE");
        if (path && *path) {
            file = std::fopen(path, "a");
            if (file) std::setvbuf(file, nullptr, _IONBF, 0);
        }
    }
    ~TraceFile() { close(); }
    void close() {
        if (file) std::fclose(file);
        file = nullptr;
    }
};

TraceFile& traceFile() {
    static TraceFile t;
    return t;
}

}  // namespace

Signal<void(std::string_view)>& traceLines() {
    static Signal<void(std::string_view)> lines;
    return lines;
}

bool traceOn() { return traceFile().file != nullptr || !traceLines().empty(); }

void trace(const char* format, ...) {
    TraceFile& t = traceFile();
    if (!t.file && traceLines().empty()) return;
    char text[2048];
    va_list args;
    va_start(args, format);
    int n = std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    if (n < 0) return;
    std::string line = std::to_string(nowMs());
    line += ' ';
    const size_t textStart = line.size();
    for (const char* p = text; *p; ++p) {
        if (*p == '\n') line += "\\n";
        else line += *p;
    }
    line += '\n';
    // One write per line keeps lines whole when a watcher reads mid-run.
    if (t.file) std::fwrite(line.data(), 1, line.size(), t.file);
    std::string_view written = std::string_view(line).substr(textStart, line.size() - textStart - 1);
    if (!written.starts_with("script ")) {
        constexpr size_t kKeptLines = 4096;
        if (t.recent.size() >= kKeptLines) t.recent.pop_front();
        t.recent.emplace_back(written);
    }
    traceLines().emit(std::string_view(line).substr(textStart, line.size() - textStart - 1));
}

std::vector<std::string> recentTraceLines() {
    const auto& r = traceFile().recent;
    return {r.begin(), r.end()};
}

void closeTrace() { traceFile().close(); }

}  // namespace lh::platform
