// The layers of a frame after the desktop image, bottom to top. A subsystem
// puts its drawing on its layer from its own folder and keeps the handle; the
// drawing leaves the frame when the handle goes. The frame itself only runs
// the layers in this order and decides which ones a mode leaves out.
#pragma once

#include <functional>
#include <optional>

#include "platform/Signal.h"
#include "render/Rect.h"

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

// Runs the drawings of one step into `context`. Within a frame begun by
// beginFrameOverBackdrops, a backdrop of the step is kept first when the
// clip takes in its whole area.
void runFrameStep(FrameStep step, render::RenderContext& context);

// A backdrop: what the desktop image and the steps before `step` drew inside
// the area that `area` answers, kept by the frame that drew all of them
// there. A later frame whose dirty rectangle lies inside that area and
// changed nothing under the step (GraphicsDevice::InvalidateOverBackdrop)
// puts the copy back and starts at `step`.
[[nodiscard]] platform::Subscription keepBackdrop(FrameStep step, std::function<render::Rect()> area);

// At the start of a frame on the back buffer. Backdrops under a change are
// forgotten; then, when one holds the whole dirty rectangle, it is put back
// and its step is the one to start from. Without an answer every layer draws.
std::optional<FrameStep> beginFrameOverBackdrops(const render::Rect& dirty, const render::Rect& dirtyUnder);

}  // namespace lh::ui
