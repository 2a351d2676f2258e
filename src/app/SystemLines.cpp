// Lines in the font "systemfont".
#include "app/SystemLines.h"

#include <cstdio>

#include "ui/ChatPort.h"

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
    // The chat shows the line once it runs; standard error keeps every line
    // as well, for a run with no screen and for what came before the chat.
    if (ui::ChatPort* chat = ui::chatPort()) {
        ui::ChatLineDraft line;
        line.font = "systemfont";
        line.text = text;
        chat->add(std::move(line));
    }
    std::fprintf(stderr, "%s\n", text.c_str());
    std::fflush(stderr);
}

void setSystemLineSink(std::function<void(const std::string&)> s) { sink() = std::move(s); }

}  // namespace lh::app
