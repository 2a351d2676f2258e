// Where the chat stands in a client area of a given size. A Ruleset lays
// the chat out for the least client area, 1024 by 768; a taller main window
// makes the chat taller, which shows more of its lines. It grows upwards:
// its foot, with the entry and the permanent dice that rest along it, keeps
// its place, and what stands above the lines (the wait icon, the
// Gamemaster's Identity strip) rises with their top.
#pragma once

#include <cstdint>

#include "render/Rect.h"
#include "ui/RulesetXml.h"

namespace lh::ui {
struct ChatWindowSettings;
}

namespace lh::chat {

struct ChatPlacement {
    render::Rect frame, area, entry;
    ui::Point waitIcon, stateIcon;
    // How far the frame's top and what stands above the lines went up.
    int32_t rise = 0;
};

constexpr int32_t kLeastClientHeight = 768;
// The highest the chat, or the strip above it, goes: this far from the top.
constexpr int32_t kChatTopMargin = 10;

// `highestAbove` is the top of what rises with the chat and stands above
// its frame (the Identity strip), or the frame's top when nothing does.
ChatPlacement placeChat(const ui::ChatWindowSettings& settings, int32_t clientHeight, int32_t highestAbove);

}  // namespace lh::chat
