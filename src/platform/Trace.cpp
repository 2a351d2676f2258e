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
    std::deque<std::string> recent;  // for traceHasLine

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
    static Signal<void(std::string_view)> signal;
    return signal;
}

bool traceHasLine(std::string_view text) {
    for (const std::string& line : traceFile().recent)
        if (line.find(text) != std::string::npos) return true;
    return false;
}

bool traceOn() { return traceFile().file != nullptr; }

void trace(const char* format, ...) {
    TraceFile& t = traceFile();
    if (!t.file) return;
    char text[2048];
    va_list args;
    va_start(args, format);
    int n = std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    if (n < 0) return;
    const std::string_view written(text, size_t(n) < sizeof text ? size_t(n) : sizeof text - 1);
    if (written.substr(0, 7) != "script ") {
        constexpr size_t kKeptLines = 4096;
        if (t.recent.size() >= kKeptLines) t.recent.pop_front();
        t.recent.emplace_back(written);
    }
    traceLines().emit(written);
    std::string line = std::to_string(nowMs());
    line += ' ';
    for (const char* p = text; *p; ++p) {
        if (*p == '\n') line += "\\n";
        else line += *p;
    }
    line += '\n';
    // One write per line keeps lines whole when a watcher reads mid-run.
    std::fwrite(line.data(), 1, line.size(), t.file);
}

void closeTrace() { traceFile().close(); }

}  // namespace lh::platform
