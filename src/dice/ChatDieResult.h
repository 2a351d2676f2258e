// A roll as a chat line carries it: the chat's die result, drawn as the
// dice draw their results (icons with their numbers in the die box's frame,
// the secret mark), and the conversions between it and the dice's own
// model of a result.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "dice/DieResult.h"
#include "ui/ChatPort.h"

namespace lh::dice {

class ChatDieResult final : public ui::DieResult {
public:
    // `onHost`: whether this machine is the Gamemaster's, who sees the dice
    // of a secret result where a player sees only its mark.
    explicit ChatDieResult(bool onHost) : host(onHost) {}

    void draw(render::RenderContext& context, const render::Rect& rectangle, const render::Rect* clip) override;
    void measure(ui::AttachmentSize& sizeOut, render::RenderContext& context, int32_t availableWidth) override;

    // On the thrower's own line, the roll's throw records: all it takes to
    // play the roll again anywhere, face for face. They stay in this
    // program; the line goes out without them.
    std::vector<uint8_t> throwRecords;

private:
    // Looked up when first drawn: the Ruleset is loaded by then.
    const DieBoxStyle& style();

    bool host;
    bool resolved = false;
    DieBoxStyle box;
};

// The chat's form of a result, and back. Dice whose type the Ruleset lacks
// keep their value and draw no icon.
std::unique_ptr<ui::DieResult> toChatResult(const DieResult& result, bool onHost);
DieResult fromChatResult(const ui::DieResult& result);

// The look of result boxes as the Ruleset's DIEBOX gives it. The secret mark
// is the icon of the die type of that name, or else the icon of that name.
DieBoxStyle dieBoxStyleOfRuleset();

}  // namespace lh::dice
