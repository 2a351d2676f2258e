// What each slash command does.
#include "dice/SlashCommands.h"

#include <cstdio>

#include "ui/DieType.h"

namespace lh::dice {

namespace {

constexpr size_t kMaxLine = 4095;
constexpr size_t kMaxImportLine = 1023;
constexpr uint32_t kWhite = 0xFFFFFFFF;
constexpr uint32_t kNightWindow = 0xFFA4B8FF;

CommandChatLine plain(std::string speaker, std::string font, std::string text) {
    CommandChatLine line;
    line.speaker = std::move(speaker);
    line.font = std::move(font);
    line.text = std::move(text);
    return line;
}

// A line from the Identity when there is one, otherwise from the user in
// "oocfont".
CommandChatLine fromSpeaker(CommandActions& a, std::string text) {
    if (!a.identityName().empty()) {
        CommandChatLine line;
        line.fromIdentity = true;
        line.text = std::move(text);
        return line;
    }
    return plain(a.userName(), "oocfont", std::move(text));
}

void runDie(const std::string& arguments, CommandActions& a) {
    DieExpression e = parseDieExpression(arguments);
    std::unique_ptr<DieResult> result = rollTyped(e, a.isHost(), a);
    if (!result) return;
    CommandChatLine line = fromSpeaker(a, e.message);
    line.die = std::move(result);
    a.post(std::move(line));
}

void runWhisper(const std::string& arguments, CommandActions& a) {
    const std::string speaker = a.identityName().empty() ? a.userName() : a.identityName();
    if (a.isHost()) {
        FirstWord w = splitFirstWord(arguments);
        if (w.rest.empty()) return;
        if (!a.sendToClientByIdentity(w.word, encodeWhisper(speaker, "msgfont", w.rest))) return;
        a.add(plain("-> " + w.word, "msgfont", w.rest));
        return;
    }
    if (arguments.empty()) return;
    a.add(plain("->", "msgfont", arguments));
    a.sendToHost(encodeWhisper(speaker, "msgfont", arguments));
}

void runMood(const std::string& arguments, CommandActions& a) {
    if (a.identityName().empty()) return;
    MoodArguments m = parseMoodArguments(arguments);
    a.setMood(m.mood);
    if (m.message.empty()) return;
    CommandChatLine line;
    line.fromIdentity = true;
    line.text = m.message;
    a.post(std::move(line));
    a.setMood("");
}

void runChatImport(const std::string& path, CommandActions& a) {
    std::vector<std::string> lines;
    if (!a.readLines(path, lines)) return;
    for (std::string& text : lines) {
        if (text.size() > kMaxImportLine) text.resize(kMaxImportLine);
        std::optional<ChatScriptLine> s = parseChatScriptLine(text);
        if (!s) continue;
        CommandChatLine line = plain(s->speaker, s->font, s->text);
        const char kind = s->kind.empty() ? ' ' : s->kind[0];
        if (kind == 'd' || (kind == '?' && s->kind.size() > 1 && s->kind[1] == 'd')) {
            ScriptRoll roll = parseScriptRoll(s->kind);
            auto result = std::make_unique<DieResult>();
            const ui::DieType* type = a.findDieType(roll.dieName);
            if (type)
                for (int32_t v : roll.values) result->AddDie(v, type);
            result->SetModifier(roll.modifier);
            result->hidden = roll.hidden;
            result->rolled = true;
            line.die = std::move(result);
        } else if (kind == 't') {
            line.turnMarker = true;
            if (s->text != " ") line.indicator = "indicator_flag";
        } else if (kind == 'q') {
            line.indicator = "indicator_prompt";
        } else if (kind == 's') {
            line.indicator = "indicator_stop";
        } else if (kind == 'p') {
            line.poll = true;
        }
        a.post(std::move(line));
    }
}

}  // namespace

std::unique_ptr<DieResult> rollTyped(const DieExpression& e, bool onHost, CommandActions& a) {
    const ui::DieType* type = e.count > 0 ? a.findDieType(e.dieName) : nullptr;
    if (!makesResult(e, type != nullptr)) return nullptr;
    auto result = std::make_unique<DieResult>();
    if (type) {
        for (uint32_t i = 0; i < e.count; ++i) result->AddType(type);
        result->Roll();
    }
    result->SetModifier(e.modifier);
    result->rolled = true;
    // Only the Gamemaster's rolls can be kept secret.
    result->hidden = e.hidden && onHost;
    return result;
}

void runSlashCommand(std::string_view text, CommandActions& a) {
    CommandLine c = parseCommandLine(text);
    const std::string& args = c.arguments;
    const bool host = a.isHost();
    const bool hasIdentity = !a.identityName().empty();
    switch (c.command) {
    case SlashCommand::Help:
        for (std::string& line : helpText(host)) a.add(plain("", "systemfont", std::move(line)));
        break;
    case SlashCommand::Save:
        if (host) a.saveCampaign();
        break;
    case SlashCommand::Die: runDie(args, a); break;
    case SlashCommand::Vote: {
        CommandChatLine line = fromSpeaker(a, args);
        line.poll = true;
        a.post(std::move(line));
        break;
    }
    case SlashCommand::Identity:
        if (host && !args.empty()) a.selectOrMakeIdentity(args, "npcchatfont");
        break;
    case SlashCommand::Ooc:
        a.post(plain(hasIdentity ? a.userName() + " (" + a.identityName() + ")" : a.userName(), "oocfont", args));
        break;
    case SlashCommand::Action:
        if (hasIdentity) {
            CommandChatLine line = plain(a.userName(), "emotefont", args);
            line.die = a.takePendingAttachment();
            a.post(std::move(line));
        }
        break;
    case SlashCommand::Emote:
        if (hasIdentity) {
            const std::string name = a.identityName();
            const size_t room = name.size() < kMaxLine ? kMaxLine - name.size() : 0;
            a.post(plain("", "emotefont", name + " " + args.substr(0, room)));
        }
        break;
    case SlashCommand::OpenWindow:
        if (host) {
            FirstWord w = splitFirstWord(args);
            if (!w.word.empty()) a.openWindow(w.word, w.rest);
        }
        break;
    case SlashCommand::Whisper: runWhisper(args, a); break;
    case SlashCommand::Mood: runMood(args, a); break;
    case SlashCommand::Export: {
        FirstWord w = splitFirstWord(args);
        if (w.word.empty() || w.rest.empty()) break;
        const std::string target = exportTarget(w.word);
        if (a.exportModule(target, w.rest))
            a.add(plain("", "systemfont", "Campaign exported to '" + target + "'"));
        else
            a.add(plain("", "systemfont", "Export failed!"));
        break;
    }
    case SlashCommand::Clear:
        if (host) a.clearChat();
        break;
    case SlashCommand::Night:
        if (host) a.setLight(kWhite, kNightWindow, kWhite, kWhite);
        break;
    case SlashCommand::Day:
        if (host) a.setLight(kWhite, kWhite, kWhite, kWhite);
        break;
    case SlashCommand::Reset: a.resetDevice(); break;
    case SlashCommand::ChatImport: runChatImport(args, a); break;
    case SlashCommand::None: break;
    }
}

std::vector<uint8_t> encodeWhisper(const std::string& speaker, const std::string& font, const std::string& text) {
    std::vector<uint8_t> body;
    for (const std::string* s : {&speaker, &font, &text}) {
        body.insert(body.end(), s->begin(), s->end());
        body.push_back(0);
    }
    return body;
}

bool decodeWhisper(const uint8_t* body, size_t size, Whisper& out) {
    std::string* fields[3] = {&out.speaker, &out.font, &out.text};
    size_t at = 0;
    for (std::string* f : fields) {
        size_t end = at;
        while (end < size && body[end] != 0) ++end;
        if (end >= size) return false;
        f->assign(reinterpret_cast<const char*>(body) + at, end - at);
        at = end + 1;
    }
    return true;
}

}  // namespace lh::dice
