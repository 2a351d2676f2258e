// The chat's door for its neighbours, and the plain die result.
#include "ui/ChatPort.h"

#include <climits>
#include <cstdlib>

#include "render/RenderContext.h"
#include "ui/RulesetData.h"

namespace lh::ui {

namespace {

ChatPort* port = nullptr;

std::function<std::unique_ptr<DieResult>()>& factory() {
    static std::function<std::unique_ptr<DieResult>()> f;
    return f;
}
SlashCommandHandler& slashHandler() {
    static SlashCommandHandler h;
    return h;
}
ModifierTaker& taker() {
    static ModifierTaker t;
    return t;
}

// atoi's reading (blanks, a sign, digits as far as they go), but clamped
// rather than overflowing: the text comes from the network.
int32_t readInt(std::string_view text) {
    size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) negative = text[i++] == '-';
    int64_t value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        value = value * 10 + (text[i] - '0');
        if (value > int64_t(INT_MAX) + 1) value = int64_t(INT_MAX) + 1;
    }
    if (negative) value = -value;
    if (value > INT_MAX) value = INT_MAX;
    return int32_t(value);
}

int32_t clampToInt(int64_t v) { return v > INT_MAX ? INT_MAX : v < INT_MIN ? INT_MIN : int32_t(v); }

}  // namespace

int32_t DieResult::total() const {
    int64_t sum = modifier;
    for (const DieRoll& d : dice) sum += d.value;
    return clampToInt(sum);
}

int32_t DieResult::shownValue() const {
    int64_t t = total();
    switch (displayMode) {
    case kNegate: return clampToInt(-t);
    case kDouble: return clampToInt(t * 2);
    case kHalve: return clampToInt(t / 2);
    default: return int32_t(t);
    }
}

std::string DieResult::dieText() const {
    std::string out;
    for (size_t i = 0; i < dice.size(); ++i) {
        if (i) out += ',';
        out += dice[i].name;
        out += '=';
        out += std::to_string(dice[i].value);
    }
    out += ':';
    out += std::to_string(modifier);
    return out;
}

void DieResult::readDieText(std::string_view text) {
    dice.clear();
    modifier = 0;
    hidden = false;
    if (!text.empty() && text.front() == '?') {
        hidden = true;
        text.remove_prefix(1);
    }
    for (;;) {
        size_t end = text.find_first_of(",:");
        if (end == std::string_view::npos) break;
        std::string_view item = text.substr(0, end);
        text.remove_prefix(end + 1);
        size_t equals = item.find('=');
        if (equals == std::string_view::npos) continue;
        std::string_view name = item.substr(0, std::min(equals, kMaxDieName));
        DieType* type = findDieType(name);
        if (!type || dice.size() >= kMaxDice) continue;
        dice.push_back({std::string(name), type, readInt(item.substr(equals + 1))});
    }
    modifier = readInt(text);
}

std::string DieResult::plainText() const {
    std::string out;
    for (size_t i = 0; i < dice.size(); ++i) {
        if (i) out += ", ";
        out += dice[i].name + " " + std::to_string(dice[i].value);
    }
    if (dice.empty()) {
        out = std::to_string(modifier);
    } else {
        if (modifier > 0) out += " +" + std::to_string(modifier);
        if (modifier < 0) out += " " + std::to_string(modifier);
        out += " = " + std::to_string(total());
    }
    if (displayMode != kAsRolled) out += " (" + std::to_string(shownValue()) + ")";
    return out;
}

void DieResult::measure(AttachmentSize& sizeOut, render::RenderContext& context, int32_t) {
    std::string t = plainText();
    render::TextSize s = context.MeasureText(t.c_str(), int32_t(t.size()));
    sizeOut.width = s.width;
    sizeOut.height = s.height;
}

void DieResult::draw(render::RenderContext& context, const render::Rect& rectangle, const render::Rect* clip) {
    std::string t = plainText();
    context.DrawText(rectangle.left, rectangle.top, t.c_str(), int32_t(t.size()), clip);
}

std::unique_ptr<DieResult> makeDieResult() {
    if (factory()) {
        if (std::unique_ptr<DieResult> r = factory()()) return r;
    }
    return std::make_unique<DieResult>();
}

void setDieResultFactory(std::function<std::unique_ptr<DieResult>()> f) { factory() = std::move(f); }

std::function<std::unique_ptr<ChatAttachment>()>& pollFactory() {
    static std::function<std::unique_ptr<ChatAttachment>()> f;
    return f;
}

std::unique_ptr<ChatAttachment> makePoll() { return pollFactory() ? pollFactory()() : nullptr; }
void setPollFactory(std::function<std::unique_ptr<ChatAttachment>()> f) { pollFactory() = std::move(f); }

ChatPort* chatPort() { return port; }
void setChatPort(ChatPort* p) { port = p; }

void setSlashCommandHandler(SlashCommandHandler handler) { slashHandler() = std::move(handler); }
const SlashCommandHandler& slashCommandHandler() { return slashHandler(); }

platform::Signal<void(const std::string&, uint8_t)>& typingChanged() {
    static platform::Signal<void(const std::string&, uint8_t)> signal;
    return signal;
}

void setModifierTaker(ModifierTaker t) { taker() = std::move(t); }
const ModifierTaker& modifierTaker() { return taker(); }

}  // namespace lh::ui
