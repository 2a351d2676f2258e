// The test driver's script; see InputScript.h.
#include "platform/InputScript.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

#include "platform/Encoding.h"
#include "platform/ScanCodes.h"
#include "platform/ScriptVerbs.h"

namespace lh::platform {

namespace {

struct KeyName {
    const char* name;
    int code;
};

const KeyName kKeyNames[] = {
    {"backspace", 0x08}, {"tab", 0x09},      {"return", 0x0D},  {"enter", 0x0D},      {"shift", 0x10},
    {"ctrl", 0x11},      {"alt", 0x12},      {"pause", 0x13},   {"escape", 0x1B},     {"space", 0x20},
    {"pageup", 0x21},    {"pagedown", 0x22}, {"end", 0x23},     {"home", 0x24},       {"left", 0x25},
    {"up", 0x26},        {"right", 0x27},    {"down", 0x28},    {"printscreen", 0x2C}, {"insert", 0x2D},
    {"delete", 0x2E},    {"menu", 0x5D},     {"num0", 0x60},    {"num1", 0x61},       {"num2", 0x62},
    {"num3", 0x63},      {"num4", 0x64},     {"num5", 0x65},    {"num6", 0x66},       {"num7", 0x67},
    {"num8", 0x68},      {"num9", 0x69},
};

bool equalsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i]))) return false;
    }
    return true;
}

std::vector<std::string_view> words(std::string_view line) {
    std::vector<std::string_view> out;
    size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
        size_t start = i;
        while (i < line.size() && line[i] != ' ' && line[i] != '\t') ++i;
        if (i > start) out.push_back(line.substr(start, i - start));
    }
    return out;
}

// A whole decimal number within [min, max]; no signs beyond a leading '-'.
bool readNumber(std::string_view word, long min, long max, long& out) {
    if (word.empty() || word.size() > 11) return false;
    std::string text(word);
    char* end = nullptr;
    long value = std::strtol(text.c_str(), &end, 10);
    if (*end != 0 || value < min || value > max) return false;
    out = value;
    return true;
}

bool readButton(std::string_view word, MouseButton& out) {
    if (equalsNoCase(word, "left")) out = MouseButton::Left;
    else if (equalsNoCase(word, "right")) out = MouseButton::Right;
    else if (equalsNoCase(word, "middle")) out = MouseButton::Middle;
    else return false;
    return true;
}

bool readModifiers(const std::vector<std::string_view>& w, size_t from, uint16_t& mods) {
    mods = 0;
    for (size_t i = from; i < w.size(); ++i) {
        if (equalsNoCase(w[i], "shift")) mods |= ModShift;
        else if (equalsNoCase(w[i], "ctrl")) mods |= ModCtrl;
        else if (equalsNoCase(w[i], "alt")) mods |= ModAlt;
        else return false;
    }
    return true;
}

constexpr long kMaxCoordinate = 32767;  // positions travel packed in 16 bits

// One line into `step`; "" when it reads, else what is wrong.
std::string parseLine(std::string_view line, ScriptStep& step, int& mouseX, int& mouseY, std::set<int>& heldKeys) {
    std::vector<std::string_view> w = words(line);
    std::string_view verb = w[0];
    auto mouseEvent = [&](EventType type) {
        Event e;
        e.type = type;
        e.x = mouseX;
        e.y = mouseY;
        return e;
    };
    auto readPosition = [&](size_t at) {
        long x, y;
        if (!readNumber(w[at], -kMaxCoordinate, kMaxCoordinate, x) || !readNumber(w[at + 1], -kMaxCoordinate, kMaxCoordinate, y))
            return false;
        mouseX = int(x);
        mouseY = int(y);
        return true;
    };
    if (verb == "move") {
        if (w.size() != 3 || !readPosition(1)) return "move needs X Y";
        step.events.push_back(mouseEvent(EventType::MouseMove));
    } else if (verb == "down" || verb == "up" || verb == "click") {
        MouseButton button;
        bool click = verb == "click";
        if (w.size() < 2 || !readButton(w[1], button)) return std::string(verb) + " needs left, right or middle";
        if (click ? w.size() != 4 : (w.size() != 2 && w.size() != 4)) return std::string(verb) + " takes BUTTON X Y";
        if (w.size() == 4) {
            if (!readPosition(2)) return std::string(verb) + " needs numbers for X Y";
            step.events.push_back(mouseEvent(EventType::MouseMove));
        }
        for (EventType type : {EventType::MouseDown, EventType::MouseUp}) {
            if (!click && type != (verb == "down" ? EventType::MouseDown : EventType::MouseUp)) continue;
            Event e = mouseEvent(type);
            e.button = button;
            step.events.push_back(e);
        }
    } else if (verb == "wheel") {
        long steps;
        if (w.size() != 2 || !readNumber(w[1], -1000, 1000, steps) || steps == 0) return "wheel needs a number of steps";
        Event e = mouseEvent(EventType::MouseWheel);
        e.wheel = int(steps);
        step.events.push_back(e);
    } else if (verb == "keydown" || verb == "keyup" || verb == "key") {
        int code = w.size() >= 2 ? virtualKeyFromName(w[1]) : 0;
        if (code == 0) return std::string(verb) + " needs a key name";
        uint16_t mods;
        if (!readModifiers(w, 2, mods)) return "a key's modifiers are shift, ctrl or alt";
        for (EventType type : {EventType::KeyDown, EventType::KeyUp}) {
            if (verb == "keydown" && type != EventType::KeyDown) continue;
            if (verb == "keyup" && type != EventType::KeyUp) continue;
            Event e;
            e.type = type;
            e.keyCode = code;
            e.modifiers = mods;
            e.scanCode = scanCodeOfVirtualKey(code, e.extended);
            // A key pressed again before its release is the keyboard's
            // repeat of a held key.
            if (type == EventType::KeyDown) {
                e.repeat = !heldKeys.insert(code).second;
            } else {
                heldKeys.erase(code);
            }
            step.events.push_back(e);
        }
    } else if (verb == "text") {
        size_t at = line.find("text") + 4;
        if (at < line.size()) ++at;  // the one blank after the verb
        std::string_view utf8 = line.substr(std::min(at, line.size()));
        if (utf8.empty()) return "text needs something to type";
        std::string bytes(utf8);
        // A Char event holds a few characters; longer text goes in pieces.
        for (size_t i = 0; i < bytes.size();) {
            size_t n = 1;
            while (i + n < bytes.size() && (static_cast<unsigned char>(bytes[i + n]) & 0xC0) == 0x80) ++n;
            Event e;
            e.type = EventType::Char;
            std::string typed = typedTextToWindows1252(bytes.substr(i, n));
            if (!typed.empty() && typed.size() < sizeof e.text) {
                std::memcpy(e.text, typed.data(), typed.size());
                step.events.push_back(e);
            }
            i += n;
        }
    } else if (verb == "await" || verb == "until") {
        // The rest of the line, blanks and all, as the trace writes it.
        size_t at = line.find(verb) + verb.size();
        while (at < line.size() && (line[at] == ' ' || line[at] == '\t')) ++at;
        if (at >= line.size()) return std::string(verb) + " needs the text of a trace line";
        step.kind = ScriptStep::Kind::Await;
        step.name = std::string(line.substr(at));
    } else if (verb == "deadline") {
        long seconds;
        if (w.size() != 2 || !readNumber(w[1], 1, 86400, seconds)) return "deadline needs seconds";
        step.kind = ScriptStep::Kind::Deadline;
        step.waitMs = uint32_t(seconds) * 1000;
    } else if (verb == "wait") {
        long ms;
        if (w.size() != 2 || !readNumber(w[1], 0, 86400000, ms)) return "wait needs milliseconds";
        step.kind = ScriptStep::Kind::Wait;
        step.waitMs = uint32_t(ms);
    } else if (verb == "screenshot") {
        if (w.size() != 2) return "screenshot needs one file name";
        std::string name(w[1]);
        if (name.find('/') != std::string::npos || name.find('\\') != std::string::npos || name == "." || name == "..")
            return "screenshot names a file in the working directory";
        if (name.size() < 4 || !equalsNoCase(std::string_view(name).substr(name.size() - 4), ".png")) name += ".png";
        step.kind = ScriptStep::Kind::Screenshot;
        step.name = name;
    } else if (verb == "menu") {
        long x, y;
        if (w.size() < 4 || !readNumber(w[1], -32768, 32767, x) || !readNumber(w[2], -32768, 32767, y))
            return "menu needs X Y and the entry's labels";
        // The labels are the rest of the line: they may hold blanks.
        size_t at = line.find(w[3], size_t(w[2].data() + w[2].size() - line.data()));
        step.kind = ScriptStep::Kind::Menu;
        step.x = int32_t(x);
        step.y = int32_t(y);
        step.name = std::string(line.substr(at));
    } else if (verb == "resize") {
        long width, height;
        if (w.size() != 3 || !readNumber(w[1], 1, 16384, width) || !readNumber(w[2], 1, 16384, height))
            return "resize needs a width and a height";
        step.kind = ScriptStep::Kind::Resize;
        step.width = int(width);
        step.height = int(height);
    } else if (verb == "quit") {
        long code = 0;
        if (w.size() > 2 || (w.size() == 2 && !readNumber(w[1], -255, 255, code))) return "quit takes an exit code";
        step.kind = ScriptStep::Kind::Quit;
        step.exitCode = int(code);
    } else if (const ScriptVerb* added = findScriptVerb(verb)) {
        size_t at = size_t(verb.data() + verb.size() - line.data());
        while (at < line.size() && (line[at] == ' ' || line[at] == '\t')) ++at;
        step.kind = ScriptStep::Kind::Added;
        step.name = std::string(verb);
        step.arguments = std::string(line.substr(at));
        if (added->check) return added->check(step.arguments);
    } else {
        return "unknown step \"" + std::string(verb) + "\"";
    }
    return {};
}

}  // namespace

int virtualKeyFromName(std::string_view name) {
    if (name.size() == 1) {
        char c = char(std::toupper(static_cast<unsigned char>(name[0])));
        if ((c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return c;
        return 0;
    }
    if ((name[0] == 'F' || name[0] == 'f') && name.size() <= 3) {
        long n;
        if (readNumber(name.substr(1), 1, 12, n)) return int(0x70 + n - 1);
    }
    for (const KeyName& k : kKeyNames) {
        if (equalsNoCase(name, k.name)) return k.code;
    }
    return 0;
}

ParsedScript parseInputScript(std::string_view text) {
    ParsedScript out;
    int mouseX = 0, mouseY = 0;
    std::set<int> heldKeys;
    int number = 0;
    size_t pos = 0;
    while (pos <= text.size()) {
        size_t end = text.find('\n', pos);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(pos, end - pos);
        pos = end + 1;
        ++number;
        while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '\t')) line.remove_suffix(1);
        while (!line.empty() && (line.front() == ' ' || line.front() == '\t')) line.remove_prefix(1);
        if (line.empty() || line.front() == '#') continue;
        ScriptStep step;
        step.line = number;
        step.source = std::string(line);
        std::string error = parseLine(line, step, mouseX, mouseY, heldKeys);
        if (!error.empty()) {
            out.steps.clear();
            out.error = "line " + std::to_string(number) + ": " + error;
            return out;
        }
        out.steps.push_back(std::move(step));
    }
    return out;
}

}  // namespace lh::platform
