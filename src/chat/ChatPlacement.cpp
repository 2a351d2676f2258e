#include "chat/ChatPlacement.h"

#include <algorithm>

#include "ui/RulesetSettings.h"

namespace lh::chat {

namespace {

render::Rect rectOf(const ui::RectXYWH& r) { return {r.x, r.y, r.x + r.width, r.y + r.height}; }

}  // namespace

ChatPlacement placeChat(const ui::ChatWindowSettings& s, int32_t clientHeight, int32_t highestAbove) {
    ChatPlacement p;
    p.frame = rectOf(s.position);
    p.area = rectOf(s.chatArea);
    p.entry = rectOf(s.entryArea);
    p.waitIcon = s.waitIconPosition;
    p.stateIcon = s.statePosition;
    const int32_t room = std::min(highestAbove, p.frame.isEmpty() ? highestAbove : p.frame.top) - kChatTopMargin;
    p.rise = std::clamp(clientHeight - kLeastClientHeight, 0, std::max(room, 0));
    if (p.rise == 0) return p;
    if (!p.frame.isEmpty()) p.frame.top -= p.rise;
    if (!p.area.isEmpty()) p.area.top -= p.rise;
    // An icon in the upper half of the lines goes with their top, one lower
    // down (by the entry) stays with the foot.
    const int32_t middle = (s.chatArea.y + s.chatArea.y + s.chatArea.height) / 2;
    if (p.waitIcon.y < middle) p.waitIcon.y -= p.rise;
    if (p.stateIcon.y < middle) p.stateIcon.y -= p.rise;
    return p;
}

}  // namespace lh::chat
