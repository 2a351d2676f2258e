// The chat log: header, lines, and appending them to the file.
#include "chat/ChatLog.h"

#include <cstdio>

#include "chat/ChatLine.h"
#include "platform/Paths.h"
#include "ui/RulesetData.h"
#include "ui/RulesetFont.h"

namespace lh::chat {

std::string chatLogHeader(const std::tm& t) {
    char stamp[64];
    std::snprintf(stamp, sizeof stamp, "%u.%u.%u / %02u:%02u:%02u", unsigned(t.tm_mday), unsigned(t.tm_mon + 1),
                  unsigned(t.tm_year + 1900), unsigned(t.tm_hour), unsigned(t.tm_min), unsigned(t.tm_sec));
    return std::string("<br />\n<b>Chat log started at ") + stamp + "</b><br/>\n<br />\n";
}

namespace {

// The font's colour as HTML writes it, 0xRRGGBB; black without a font.
uint32_t htmlColour(const ChatLine& line) {
    const ui::RulesetFont* font = ui::findFont(line.fontName);
    if (!font) return 0;
    const uint32_t c = font->color();
    // Glyph fonts keep 0xFFRRGGBB; the others the platform's 0x00BBGGRR.
    if (font->isGlyphFont()) return c & 0xFFFFFF;
    return ((c & 0xFF) << 16) | (c & 0xFF00) | ((c >> 16) & 0xFF);
}

}  // namespace

std::string chatLogLine(const ChatLine& line) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "<font color=\"#%06x\">", unsigned(htmlColour(line)));
    std::string out = buffer;
    if (!line.label.empty()) out += line.label + " ";
    if (line.attachment && line.attachment->kind == ui::ChatAttachment::kPoll) out += "(POLL) ";
    out += line.text;
    out += "</font>";
    if (line.attachment && line.attachment->kind == ui::ChatAttachment::kDieResult) {
        const auto& result = static_cast<const ui::DieResult&>(*line.attachment);
        out += " [";
        if (!result.dice.empty()) {
            std::snprintf(buffer, sizeof buffer, "%u", unsigned(result.dice.size()));
            out += buffer + result.dice.front().name;
            if (result.modifier != 0) {
                std::snprintf(buffer, sizeof buffer, result.modifier > 0 ? "+%d" : "%d", int(result.modifier));
                out += buffer;
            }
            out += " = ";
        }
        std::snprintf(buffer, sizeof buffer, "%d]", int(result.total()));
        out += buffer;
    }
    out += "<br />\n";
    return out;
}

void ChatLog::setLogging(bool enable) {
    on = enable;
    if (!on) return close();
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    append(chatLogHeader(local));
}

void ChatLog::write(const ChatLine& line) const {
    if (on) append(chatLogLine(line));
}

void ChatLog::append(const std::string& text) const {
    if (path.empty()) return close();
    if (!file || openPath != path) {
        close();
        file = std::fopen(platform::diskPath(path).c_str(), "ab");
        if (!file) return;
        std::setvbuf(file, nullptr, _IONBF, 0);
        openPath = path;
    }
    std::fwrite(text.data(), 1, text.size(), file);
}

void ChatLog::close() const {
    if (file) std::fclose(file);
    file = nullptr;
    openPath.clear();
}

}  // namespace lh::chat
