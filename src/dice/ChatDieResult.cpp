// Results in chat lines.
#include "dice/ChatDieResult.h"

#include <algorithm>
#include <limits>

#include "render/RenderContext.h"
#include "ui/DieType.h"
#include "ui/Lights.h"
#include "ui/RulesetData.h"
#include "ui/RulesetFont.h"

namespace lh::dice {

const DieBoxStyle& ChatDieResult::style() {
    if (!resolved) {
        box = dieBoxStyleOfRuleset();
        resolved = true;
    }
    box.frameLight = ui::lights().frame;
    box.iconLight = ui::lights().icon;
    return box;
}

void ChatDieResult::draw(render::RenderContext& context, const render::Rect& rectangle, const render::Rect* clip) {
    constexpr int32_t kFar = std::numeric_limits<int32_t>::max() / 2;
    const render::Rect everywhere{-kFar, -kFar, kFar, kFar};
    const render::Rect outer =
        drawDieResult(fromChatResult(*this), style(), context, rectangle, clip ? *clip : everywhere, hidden && !host);
    if (!outer.isEmpty()) rect = outer;
}

void ChatDieResult::measure(ui::AttachmentSize& sizeOut, render::RenderContext&, int32_t availableWidth) {
    const render::Rect size = measureDieResult(fromChatResult(*this), style(), availableWidth, hidden && !host);
    sizeOut.width = size.width();
    sizeOut.height = size.height();
}

std::unique_ptr<ui::DieResult> toChatResult(const DieResult& result, bool onHost) {
    auto out = std::make_unique<ChatDieResult>(onHost);
    const size_t n = std::min(result.dice.size(), result.values.size());
    for (size_t i = 0; i < n; ++i) {
        const ui::DieType* type = result.dice[i];
        ui::DieRoll roll;
        roll.name = type ? type->name : std::string();
        roll.type = type ? ui::findDieType(type->name) : nullptr;
        roll.value = result.values[i];
        out->dice.push_back(std::move(roll));
    }
    out->modifier = result.modifier;
    out->hidden = result.hidden;
    out->displayMode = int(result.displayMode);
    out->throwRecords = result.throwRecords;
    return out;
}

DieResult fromChatResult(const ui::DieResult& result) {
    DieResult out;
    for (const ui::DieRoll& roll : result.dice) out.AddDie(roll.value, roll.type);
    out.modifier = result.modifier;
    out.hidden = result.hidden;
    out.displayMode = result.displayMode >= 0 && result.displayMode <= int(ShownValue::Halved)
                          ? ShownValue(result.displayMode)
                          : ShownValue::None;
    out.rolled = true;
    if (const auto* ours = dynamic_cast<const ChatDieResult*>(&result)) out.throwRecords = ours->throwRecords;
    return out;
}

DieBoxStyle dieBoxStyleOfRuleset() {
    const ui::DieBoxSettings& settings = ui::ruleset().settings.dieBox;
    DieBoxStyle style;
    style.frame = settings.box.frame.empty() ? nullptr : ui::findFrame(settings.box.frame);
    style.margin = settings.box.margin;
    style.numberTailMargin = settings.box.numberTailMargin;
    if (const ui::DieType* secret = ui::findDieType(settings.secretIcon); secret && secret->icon)
        style.secretIcon = secret->icon.get();
    else if (!settings.secretIcon.empty())
        style.secretIcon = ui::findIcon(settings.secretIcon);
    style.modFont = ui::findFont("diemod");
    style.resultFont = ui::findFont("dieresult");
    return style;
}

}  // namespace lh::dice
