// Lines in the font "systemfont".
#include "app/SystemLines.h"

#include <cstdio>

namespace lh::app {

namespace {
std::function<void(const std::string&)>& sink() {
    static std::function<void(const std::string&)> s;
    return s;
}
}  // namespace

void postSystemLine(const std::string& text) {
    if (sink()) {
        sink()(text);
        return;
    }
    std::fprintf(stderr, "%s\n", text.c_str());
    std::fflush(stderr);
}

void setSystemLineSink(std::function<void(const std::string&)> s) { sink() = std::move(s); }

}  // namespace lh::app
