// The layers of a frame after the desktop image, bottom to top. A subsystem
// puts its drawing on its layer from its own folder and keeps the handle; the
// drawing leaves the frame when the handle goes. The frame itself only runs
// the layers in this order and decides which ones a mode leaves out.
#pragma once

#include <functional>

#include "platform/Signal.h"

namespace lh::render {
class RenderContext;
}

namespace lh::ui {

// The first five are left out in the local characters mode, IdentityList is
// drawn on a host only, and the dice are left out while the Desktop is modal.
enum class FrameStep {
    ChatFrame,  // the chat area's frame and its highlight
    ModifierCollector,
    ChatWindow,
    ChatEntry,
    HotkeyBar,
    CharacterList,
    IdentityList,
    DesktopTokens,
    DesktopWindows,  // bottom to top
    DieBox,
    DiceScene,  // 3D, depth tested
    DragImage,
    RadialMenu,
    Count
};

using FrameDraw = std::function<void(render::RenderContext&)>;

// Adds a drawing to a step; several on one step draw in the order they came.
[[nodiscard]] platform::Subscription drawOnFrameStep(FrameStep step, FrameDraw draw);

// Runs the drawings of one step into `context`.
void runFrameStep(FrameStep step, render::RenderContext& context);

}  // namespace lh::ui
