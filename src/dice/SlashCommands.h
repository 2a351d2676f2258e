// Running a line of the chat entry that begins with "/": each command works
// through CommandActions, which the chat fills with the real chat window,
// Identities, session and device, and which tests fill with a recorder. A
// command that lacks its argument, its right or its target ends silently.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dice/DieResult.h"
#include "dice/SlashCommandText.h"

namespace lh::ui {
struct DieType;
}

namespace lh::dice {

// A chat line that a command makes.
struct CommandChatLine {
    std::string speaker;  // empty: no speaker
    std::string font;     // empty with fromIdentity: the Identity's own font
    std::string text;
    bool fromIdentity = false;  // the label comes from the ActiveIdentity (with its mood)
    std::unique_ptr<DieResult> die;
    bool poll = false;
    std::string indicator;  // an icon name shown before the line
    bool turnMarker = false;
};

class CommandActions {
public:
    virtual ~CommandActions() = default;
    virtual bool isHost() const = 0;
    virtual std::string userName() const = 0;
    // Empty when there is no ActiveIdentity.
    virtual std::string identityName() const = 0;
    virtual void setMood(const std::string& mood) = 0;
    virtual void post(CommandChatLine line) = 0;  // to everybody
    virtual void add(CommandChatLine line) = 0;   // on this machine only
    // The die result waiting in the entry, taken by "/action"; may be null.
    virtual std::unique_ptr<DieResult> takePendingAttachment() = 0;
    virtual void saveCampaign() = 0;
    virtual void selectOrMakeIdentity(const std::string& name, const std::string& font) = 0;
    virtual void openWindow(const std::string& windowClass, const std::string& recordName) = 0;
    // A MESGQ body to the first connected client whose Identity is `name`,
    // compared without regard to case. False when there is none.
    virtual bool sendToClientByIdentity(const std::string& name, const std::vector<uint8_t>& body) = 0;
    virtual void sendToHost(const std::vector<uint8_t>& body) = 0;
    virtual bool exportModule(const std::string& target, const std::string& secondName) = 0;
    virtual void clearChat() = 0;  // CHCLR to all clients, then the local view
    virtual void setLight(uint32_t system, uint32_t window, uint32_t control, uint32_t content) = 0;
    virtual void resetDevice() = 0;
    // The lines of a file, or false when it cannot be read.
    virtual bool readLines(const std::string& path, std::vector<std::string>& lines) = 0;
    virtual const ui::DieType* findDieType(std::string_view name) = 0;
};

void runSlashCommand(std::string_view text, CommandActions& actions);

// The result of a typed roll, or null when the expression makes none.
std::unique_ptr<DieResult> rollTyped(const DieExpression& e, bool onHost, CommandActions& actions);

// MESGQ: speaker, font and message, each ended by a zero byte.
std::vector<uint8_t> encodeWhisper(const std::string& speaker, const std::string& font, const std::string& text);
struct Whisper {
    std::string speaker, font, text;
};
// False for a body that is not three zero-ended texts.
bool decodeWhisper(const uint8_t* body, size_t size, Whisper& out);

}  // namespace lh::dice
