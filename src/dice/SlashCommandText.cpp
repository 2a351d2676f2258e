// Matching command words, and reading the arguments of each command.
#include "dice/SlashCommandText.h"

#include <algorithm>
#include <cctype>
#include <limits>

namespace lh::dice {

namespace {

constexpr const char* kNames[] = {
    "/help", "/save", "/die",  "/vote",  "/identity", "/ooc", "/action", "/emote",      "/openwindow",
    "/whisper", "/mood", "/export", "/clear", "/night", "/day", "/reset", "/chatimport",
};
static_assert(std::size(kNames) == size_t(SlashCommand::None));

constexpr size_t kMaxCountChars = 9;
constexpr size_t kMaxDieName = 255;

bool isBlank(char c) {
    return c == ' ';
}

size_t skipBlanks(std::string_view text, size_t at) {
    while (at < text.size() && isBlank(text[at])) ++at;
    return at;
}

bool endsWithModCaseBlind(std::string_view name) {
    if (name.size() < 4) return false;
    std::string_view tail = name.substr(name.size() - 4);
    const char* mod = ".mod";
    for (size_t i = 0; i < 4; ++i)
        if (std::tolower(static_cast<unsigned char>(tail[i])) != mod[i]) return false;
    return true;
}

}  // namespace

const char* commandName(SlashCommand command) {
    return command == SlashCommand::None ? "" : kNames[size_t(command)];
}

CommandLine parseCommandLine(std::string_view text) {
    CommandLine out;
    size_t blank = text.find(' ');
    out.word = std::string(text.substr(0, blank));
    if (blank != std::string_view::npos) out.arguments = std::string(text.substr(skipBlanks(text, blank)));
    for (size_t i = 0; i < std::size(kNames); ++i) {
        std::string_view name = kNames[i];
        if (!out.word.empty() && out.word.size() <= name.size() && name.starts_with(out.word)) {
            out.command = SlashCommand(i);
            break;
        }
    }
    return out;
}

std::vector<std::string> helpText(bool host) {
    std::vector<std::string> lines = {
        "SLASH COMMANDS:",       " /die [NdN+N] [message]", " /vote [message]",
        " /ooc [message]",       " /action [message]",      " /emote [message]",
        " /mood [mood] [message]", " /mood ([multiword mood]) [message]",
    };
    if (host) {
        lines.push_back("Gamemaster only:");
        lines.push_back(" /identity [name]");
        lines.push_back(" /whisper [character] [message]");
    } else {
        lines.push_back(" /whisper [message]");
    }
    return lines;
}

int32_t readInt(std::string_view text, size_t& end) {
    size_t at = end;
    while (at < text.size() && std::isspace(static_cast<unsigned char>(text[at]))) ++at;
    bool negative = false;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) negative = text[at++] == '-';
    if (at >= text.size() || !std::isdigit(static_cast<unsigned char>(text[at]))) return 0;
    int64_t value = 0;
    for (; at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])); ++at)
        value = std::min<int64_t>(value * 10 + (text[at] - '0'), int64_t(std::numeric_limits<int32_t>::max()) + 1);
    end = at;
    value = negative ? -value : value;
    return int32_t(std::clamp<int64_t>(value, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
}

DieExpression parseDieExpression(std::string_view arguments) {
    DieExpression e;
    size_t blank = arguments.find(' ');
    if (blank != std::string_view::npos) e.message = std::string(arguments.substr(blank + 1));

    std::string_view text = arguments;
    if (!text.empty() && text.front() == '?') {
        e.hidden = true;
        text.remove_prefix(1);
    }
    size_t at = 0;
    const size_t d = text.find('d');
    const size_t firstBlank = text.find(' ');
    if (d != std::string_view::npos && (firstBlank == std::string_view::npos || firstBlank > d)) {
        // The count: "%u" of at most nine characters in front of the "d".
        std::string_view countText = text.substr(0, std::min(d, kMaxCountChars));
        uint64_t count = 1;
        size_t i = 0;
        bool negative = false;
        if (i < countText.size() && (countText[i] == '+' || countText[i] == '-')) negative = countText[i++] == '-';
        if (i < countText.size() && std::isdigit(static_cast<unsigned char>(countText[i]))) {
            count = 0;
            for (; i < countText.size() && std::isdigit(static_cast<unsigned char>(countText[i])); ++i)
                count = count * 10 + uint64_t(countText[i] - '0');
            // "%u" takes a minus sign and wraps, to a count far above the cap.
            if (negative && count != 0) count = kMaxTypedDice + 1;
        }
        e.count = uint32_t(std::min<uint64_t>(count, kMaxTypedDice));
        size_t nameEnd = text.find_first_of("+- ", d);
        if (nameEnd == std::string_view::npos) nameEnd = text.size();
        e.dieName = std::string(text.substr(d, std::min(nameEnd - d, kMaxDieName)));
        at = nameEnd;
    }
    e.modifier = readInt(text, at);
    return e;
}

bool makesResult(const DieExpression& e, bool dieTypeKnown) {
    return !(e.modifier == 0 && (e.count == 0 || !dieTypeKnown));
}

FirstWord splitFirstWord(std::string_view text) {
    FirstWord out;
    size_t blank = text.find(' ');
    out.word = std::string(text.substr(0, blank));
    if (blank != std::string_view::npos) out.rest = std::string(text.substr(skipBlanks(text, blank)));
    return out;
}

MoodArguments parseMoodArguments(std::string_view arguments) {
    MoodArguments out;
    size_t restAt;
    if (!arguments.empty() && arguments.front() == '(') {
        size_t close = arguments.find(')', 1);
        if (close == std::string_view::npos) close = arguments.size();
        out.mood = std::string(arguments.substr(1, close - 1));
        restAt = std::min(close + 1, arguments.size());
    } else {
        size_t blank = arguments.find(' ');
        if (blank == std::string_view::npos) blank = arguments.size();
        out.mood = std::string(arguments.substr(0, blank));
        restAt = blank;
    }
    if (out.mood.size() > kMaxMood) out.mood.resize(kMaxMood);
    out.message = std::string(arguments.substr(skipBlanks(arguments, restAt)));
    return out;
}

std::string exportTarget(std::string_view moduleName) {
    std::string target = "modules\\" + std::string(moduleName);
    if (!endsWithModCaseBlind(moduleName)) target += ".mod";
    return target;
}

std::optional<ChatScriptLine> parseChatScriptLine(std::string_view line) {
    std::string fields[4];
    size_t at = 0;
    for (int f = 0; f < 4; ++f) {
        if (at > line.size()) return std::nullopt;
        size_t end = line.find_first_of(":\r\n", at);
        if (end == std::string_view::npos) end = line.size();
        fields[f] = std::string(line.substr(at, end - at));
        const bool lineEnds = end == line.size() || line[end] != ':';
        at = end + 1;
        if (lineEnds && f < 3) return std::nullopt;
    }
    return ChatScriptLine{fields[0], fields[1], fields[2], fields[3]};
}

ScriptRoll parseScriptRoll(std::string_view kind) {
    ScriptRoll out;
    if (!kind.empty() && kind.front() == '?') {
        out.hidden = true;
        kind.remove_prefix(1);
    }
    size_t eq = kind.find('=');
    out.dieName = std::string(kind.substr(0, std::min(eq, kMaxDieName)));
    if (eq == std::string_view::npos) return out;
    size_t at = eq + 1;
    while (at < kind.size()) {
        char c = kind[at];
        if (c == '+' || c == '-') {
            out.modifier = readInt(kind, at);
            break;
        }
        if (c == ',') {
            ++at;
            continue;
        }
        size_t before = at;
        int32_t value = readInt(kind, at);
        if (at == before) ++at;  // no number here: step over the character
        if (value != 0 && out.values.size() < kMaxScriptDice) out.values.push_back(value);
    }
    return out;
}

}  // namespace lh::dice
