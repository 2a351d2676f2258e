// The text side of the chat's slash commands: which command a typed word
// names, the argument forms (die expressions, whisper targets, moods, the
// lines of a chat script) and the help text. No state, no device: every
// rule here is a table that tests read back.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lh::dice {

// In the order in which a typed word is matched against them.
enum class SlashCommand {
    Help,
    Save,
    Die,
    Vote,
    Identity,
    Ooc,
    Action,
    Emote,
    OpenWindow,
    Whisper,
    Mood,
    Export,
    Clear,
    Night,
    Day,
    Reset,
    ChatImport,
    None,  // the word names no command
};

const char* commandName(SlashCommand command);

struct CommandLine {
    SlashCommand command = SlashCommand::None;
    std::string word;       // up to the first blank, with its "/"
    std::string arguments;  // behind the blanks after the word; may be empty
};

// A word names the first command of which it is a prefix, case and all:
// "/" is "/help", "/e" "/emote", "/ex" "/export", "/Help" nothing.
CommandLine parseCommandLine(std::string_view text);

// The help text, one line each, for a host or a client.
std::vector<std::string> helpText(bool host);

// A typed roll: "[?][count]d<name>[+-modifier] message". `count` is 0 when
// the text holds no dice term; it is capped at kMaxTypedDice.
constexpr uint32_t kMaxTypedDice = 30;
struct DieExpression {
    bool hidden = false;
    uint32_t count = 0;
    std::string dieName;
    int32_t modifier = 0;
    std::string message;  // behind the first blank of the arguments
};
DieExpression parseDieExpression(std::string_view arguments);
// Whether the expression makes a result at all, given whether its die name
// is a die type of the Ruleset.
bool makesResult(const DieExpression& e, bool dieTypeKnown);

// The first word and the rest behind its blanks.
struct FirstWord {
    std::string word;
    std::string rest;
};
FirstWord splitFirstWord(std::string_view text);

// "/mood": the mood is the first word, or with a leading "(" everything up
// to the next ")"; at most kMaxMood characters. The message follows.
constexpr size_t kMaxMood = 100;
struct MoodArguments {
    std::string mood;
    std::string message;
};
MoodArguments parseMoodArguments(std::string_view arguments);

// "/export": the target file of a Module name, with ".mod" added unless the
// name ends in it (in any case).
std::string exportTarget(std::string_view moduleName);

// One line of a chat script for "/chatimport": "speaker:font:kind:text".
// Null for a line with fewer than four fields.
struct ChatScriptLine {
    std::string speaker, font, kind, text;
};
std::optional<ChatScriptLine> parseChatScriptLine(std::string_view line);
// The kind field of a die line, "d6=4,1,6+2" or "?d6=...": die name, values
// (those that read as 0 are left out), modifier.
constexpr size_t kMaxScriptDice = 30;
struct ScriptRoll {
    bool hidden = false;
    std::string dieName;
    std::vector<int32_t> values;
    int32_t modifier = 0;
};
ScriptRoll parseScriptRoll(std::string_view kind);

// `strtol` of a "%d" field: blanks skipped, a sign, digits; 0 when no digit
// follows; clamped to 32 bits. `end` gets the index behind what was read.
int32_t readInt(std::string_view text, size_t& end);

}  // namespace lh::dice
