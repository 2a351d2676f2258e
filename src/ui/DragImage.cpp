// The drag's picture, its cursor and dirty area, and drops on the bare
// Desktop.
#include "ui/DragImage.h"

#include <cstdio>

#include "render/Bitmap.h"
#include "render/GraphicsDevice.h"
#include "platform/Trace.h"
#include "render/RenderContext.h"
#include "ui/Desktop.h"
#include "ui/DesktopHooks.h"
#include "ui/DesktopToken.h"
#include "ui/InputState.h"
#include "ui/KeyboardFocus.h"
#include "ui/Lights.h"
#include "ui/RulesetData.h"
#include "ui/Window.h"

namespace lh::ui {

namespace {

// Whatever the targets under the picture show on hover lies within this
// margin, so it is redrawn with the picture.
constexpr int32_t kHoverMargin = 50;
constexpr size_t kShownCharacters = 10;
// A carried number or text lies on a dark plate this much wider and taller
// than itself on each side, so that its light font reads as well on a
// parchment sheet as on the dark table.
constexpr int32_t kPlateX = 3, kPlateY = 1;
constexpr uint32_t kPlateColor = 0xB0000000;

render::Rect lastArea;

bool controlHeld() { return (modifierKeys() & kModControl) != 0; }

RulesetFont* imageFont() { return findFont("diemod"); }

}  // namespace

void setDesktopCursor(int id) {
    InputState& s = inputState();
    if (s.cursor != id) platform::trace("cursor %d", id);
    s.cursor = id;
    s.cursorNamed = false;
    if (DesktopShell* shell = desktopShell()) shell->setCursor(id);
}

int currentDragKind(const Desktop& desktop) {
    // A drag is under way while its source lives; a source that died took
    // the drag with it.
    return inputState().dragSource ? desktop.dragPayload.kind : kDragNothing;
}

std::string dragImageText(const DragPayload& payload, bool negate) {
    if (payload.kind == kDragNumber) {
        int64_t shown = negate ? -int64_t(payload.number) : int64_t(payload.number);
        char text[24];
        std::snprintf(text, sizeof text, "%lld", static_cast<long long>(shown));
        return text;
    }
    if (payload.kind == kDragText) {
        if (payload.text.size() > kShownCharacters || payload.text.empty())
            return payload.text.substr(0, kShownCharacters) + "...";
        return payload.text;
    }
    return {};
}

render::Rect dragImageRect(const DragPayload& payload, int32_t x, int32_t y, bool negate) {
    int32_t w = 0, h = 0;
    if (payload.kind == kDragNumber || payload.kind == kDragText) {
        if (RulesetFont* font = imageFont()) {
            std::string text = dragImageText(payload, negate);
            render::TextSize size = font->MeasureText(text.data(), int32_t(text.size()));
            w = size.width;
            h = size.height;
        }
    } else if ((payload.kind == kDragWindowLink || payload.kind == kDragToken) && payload.icon) {
        w = int32_t(payload.icon->GetWidth());
        h = int32_t(payload.icon->GetHeight());
    }
    if (w <= 0 || h <= 0) return {};
    return {x - w / 2, y - h / 2, x - w / 2 + w, y - h / 2 + h};
}

void dragStarted(Desktop& desktop) {
    render::GraphicsDevice::Get().Invalidate(nullptr);
    lastArea = {};
    const uint32_t at = inputState().lastMousePosition;
    dragMoved(desktop, mouse::xOf(at), mouse::yOf(at));
}

void dragMoved(Desktop& desktop, int32_t x, int32_t y) {
    render::GraphicsDevice& device = render::GraphicsDevice::Get();
    if (!lastArea.isEmpty()) device.Invalidate(&lastArea);
    render::Rect r = currentDragKind(desktop) ? dragImageRect(desktop.dragPayload, x, y, controlHeld())
                                              : render::Rect{};
    if (r.isEmpty()) {
        lastArea = {};
        return;
    }
    lastArea = {r.left - kHoverMargin, r.top - kHoverMargin, r.right + kHoverMargin, r.bottom + kHoverMargin};
    device.Invalidate(&lastArea);
}

const render::Rect& lastDragImageArea() { return lastArea; }

void drawDragImage(const Desktop& desktop, render::RenderContext& context) {
    const int kind = currentDragKind(desktop);
    if (kind == kDragNothing) return;
    const DragPayload& p = desktop.dragPayload;
    const uint32_t at = inputState().lastMousePosition;
    const bool negate = controlHeld();
    render::Rect r = dragImageRect(p, mouse::xOf(at), mouse::yOf(at), negate);
    if (r.isEmpty()) return;
    if (kind == kDragNumber || kind == kDragText) {
        std::string text = dragImageText(p, negate);
        context.DrawRect(r.left - kPlateX, r.top - kPlateY, r.right + kPlateX, r.bottom + kPlateY, kPlateColor, true);
        context.PushFont();
        context.SetFont(imageFont());
        context.DrawText(r.left, r.top, text.data(), int32_t(text.size()));
        context.PopFont();
    } else if (p.icon) {
        context.DrawBitmap(*p.icon, r.left, r.top, lights().icon);
    }
}

int dropOnBareDesktop(Desktop& desktop, uint32_t, int32_t x, int32_t y, DesktopObject* source) {
    if (!source) return 0;
    DragPayload p;
    if (!source->GetDragData(p)) return 0;
    if (p.kind == kDragToken) {
        if (p.icon && !p.icon->IsEmpty()) placeDesktopToken(desktop, *p.icon, p.tokenPath, x, y);
        return 1;
    }
    if (p.kind != kDragWindowLink) return 0;
    if (p.className.empty()) return 1;
    const uint32_t point = mouse::pack(x, y);
    Window* w = desktop.Find(p.className, p.recordName);
    if (w) {
        if (!w->windowClass.canMinimize) return 1;
        w->ToggleMinimize(&point);
    } else {
        const WindowClass* cls = findWindowClass(p.className);
        if (!cls) return 1;
        w = desktop.OpenWindow(*cls, p.recordName);
        if (!w) return 1;
    }
    if (w->windowClass.desktopWindow) return 1;
    // Centred on the point, whether it shows as a sheet or as its icon.
    const int32_t cx = (w->rect.left + w->rect.right) / 2, cy = (w->rect.top + w->rect.bottom) / 2;
    w->MoveBy(x - cx, y - cy);
    return 1;
}

}  // namespace lh::ui
