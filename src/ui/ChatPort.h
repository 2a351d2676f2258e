// What the chat offers the subsystems beside it. Chat, dice and characters
// sit on one layer and include nothing of each other, so the chat's door for
// them stands here: the attachment a chat line may carry (a die result, a
// poll), the description of a line to post, and one table of operations
// that the chat fills when it starts (`chatPort()`, null before and after).
// The dice fill the hooks that lead back to them: the factory of their die
// results, the slash-command parser and the modifier box's taker.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Signal.h"
#include "render/Rect.h"

namespace lh::render {
class RenderContext;
}

namespace lh::ui {

struct DieType;

struct AttachmentSize {
    int32_t width = 0, height = 0;
};

// What a chat line may carry. `rect` is where it was last painted, in chat
// window coordinates, for hit tests; empty until then.
class ChatAttachment {
public:
    enum Kind : uint8_t { kNone = 0, kDieResult = 1, kPoll = 2 };

    explicit ChatAttachment(Kind k) : kind(k) {}
    virtual ~ChatAttachment() = default;
    ChatAttachment(const ChatAttachment&) = delete;
    ChatAttachment& operator=(const ChatAttachment&) = delete;

    // Draws into `rectangle` (Desktop coordinates), cut to `clip`.
    virtual void draw(render::RenderContext& context, const render::Rect& rectangle, const render::Rect* clip) = 0;
    // The size it takes in at most `availableWidth` pixels. The context's
    // font is the line's.
    virtual void measure(AttachmentSize& sizeOut, render::RenderContext& context, int32_t availableWidth) = 0;

    const Kind kind;
    render::Rect rect;
};

// One die of a result and what it showed.
struct DieRoll {
    std::string name;
    DieType* type = nullptr;  // null for a name the Ruleset does not have
    int32_t value = 0;
};

// A finished roll: the dice in the order they stopped, the modifier, and how
// it is shown. The plain form here draws itself as text; the dice's own
// results (icons, secret marks) derive from it and come from the factory.
class DieResult : public ChatAttachment {
public:
    DieResult() : ChatAttachment(kDieResult) {}

    // 0 as rolled, 1 the sum, 2 negated, 3 doubled, 4 halved.
    enum DisplayMode : int { kAsRolled = 0, kSum = 1, kNegate = 2, kDouble = 3, kHalve = 4 };

    int32_t total() const;
    // The total as the display mode shows it; halves are cut towards zero.
    int32_t shownValue() const;

    // The wire form: "d6=4,d6=1,d8=7:2", ":-3" for a bare modifier; a
    // hidden result is never sent, so no "?" is written.
    std::string dieText() const;
    // Reads the wire form into this result: a leading "?" hides it; items
    // "name=value" end at "," or ":", one without "=" is skipped; names are
    // looked up among the Ruleset's dice (an unknown one adds nothing); the
    // rest behind the last separator is the modifier.
    void readDieText(std::string_view text);

    void draw(render::RenderContext& context, const render::Rect& rectangle, const render::Rect* clip) override;
    void measure(AttachmentSize& sizeOut, render::RenderContext& context, int32_t availableWidth) override;
    // The text the plain form draws: "d6 4, d6 1 +2 = 7".
    std::string plainText() const;

    std::vector<DieRoll> dice;
    int32_t modifier = 0;
    bool hidden = false;
    int displayMode = kAsRolled;

    static constexpr size_t kMaxDice = 256;  // a longer list from the wire is cut
    static constexpr size_t kMaxDieName = 255;
};

// A new die result: the dice subsystem's kind once it has registered its
// factory, the plain one until then.
std::unique_ptr<DieResult> makeDieResult();
void setDieResultFactory(std::function<std::unique_ptr<DieResult>()> factory);

// A new poll for a line about to be posted ("/vote"): the chat's, once it
// runs; null without a chat.
std::unique_ptr<ChatAttachment> makePoll();
void setPollFactory(std::function<std::unique_ptr<ChatAttachment>()> factory);

// A line to show: label from `speaker` ("%s:"; none when empty), the text,
// its font, an indicator icon name, and what it carries.
struct ChatLineDraft {
    std::string speaker;
    std::string font;
    std::string text;
    std::string indicator;
    bool turnMarker = false;
    std::unique_ptr<ChatAttachment> attachment;
};

// The chat's operations for its neighbours.
class ChatPort {
public:
    virtual ~ChatPort() = default;
    // To everybody (a client's line shows when the host sends it back).
    virtual void post(ChatLineDraft line) = 0;
    // On this machine only.
    virtual void add(ChatLineDraft line) = 0;
    // Spoken by the active Identity, with its name, mood and font.
    virtual void postAsIdentity(std::string text) = 0;
    // A finished roll: into a line at once when the entry is empty, else
    // with the line being typed. Null `text`: the modifier box's total and
    // description go with it (see modifierHook).
    virtual void attachDieResult(std::unique_ptr<DieResult> result, const char* text) = 0;
    virtual void clear() = 0;
    // The die result waiting in the entry for the line being typed, taken
    // out of it ("/action" sends it); null when none waits.
    virtual std::unique_ptr<DieResult> takePendingAttachment() { return nullptr; }
};

// Null when no chat runs.
ChatPort* chatPort();
void setChatPort(ChatPort* port);

// A line the user sent that begins with "/": true when a parser took it.
// `modifiers` are the keys held (platform::KeyModifier bits). Until the
// parser is there, such lines are not sent.
using SlashCommandHandler = std::function<bool(const std::string& line, uint16_t modifiers)>;
void setSlashCommandHandler(SlashCommandHandler handler);
const SlashCommandHandler& slashCommandHandler();

// Typing states as they reach this machine: an Identity's name and 0 not
// typing, 1 typing, 2 away. The character list shows them on portraits.
platform::Signal<void(const std::string& identity, uint8_t state)>& typingChanged();

// The modifier box of the dice: takes its total and description and empties
// it. Unset, a roll goes with no modifier and no text.
using ModifierTaker = std::function<void(int32_t& total, std::string& description)>;
void setModifierTaker(ModifierTaker taker);
const ModifierTaker& modifierTaker();

}  // namespace lh::ui
