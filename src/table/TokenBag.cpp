// The token bag; see TokenBag.h.
#include "table/TokenBag.h"

#include <algorithm>

#include "platform/Trace.h"
#include "render/Bitmap.h"
#include "render/RenderContext.h"
#include "table/TokenLibrary.h"
#include "ui/ControlFactory.h"
#include "ui/Desktop.h"
#include "ui/DesktopHooks.h"
#include "ui/DragPayload.h"
#include "ui/Lights.h"
#include "ui/Window.h"

namespace lh::table {

namespace mouse = ui::mouse;

void TokenBag::Parse(db::XmlElement& element, db::DbNode* record) {
    Control::Parse(element, record);
    Scatter();
}

void TokenBag::Scatter() {
    heap.clear();
    std::vector<TokenDef*> all;
    for (const auto& [name, def] : tokenLibrary().entries()) all.push_back(def.get());
    for (size_t i = 0; i + 1 < all.size(); ++i) std::swap(all[i], all[i + random() % (all.size() - i)]);
    const bool host = window && window->desktop().isHost();
    for (TokenDef* def : all) {
        if (!def->hasPicture() || (def->hostOnly && !host)) continue;
        // As unsigned numbers: a picture wider than the bag wraps, and
        // Arrange holds it in; a modulus of 0 gives 0.
        const uint32_t w = uint32_t(rect.width() - def->width()), h = uint32_t(rect.height() - def->height());
        Entry e;
        e.def = def;
        e.x = w ? int32_t(uint32_t(random()) % w) : 0;
        e.y = h ? int32_t(uint32_t(random()) % h) : 0;
        heap.push_back(e);
    }
    if (rect.isEmpty()) return;
    scattered = true;
    Arrange(false);
    traceTop();
}

void TokenBag::traceTop() {
    if (heap.empty() || !window) return;
    int32_t ox = 0, oy = 0;
    GetOrigin(ox, oy);
    const Entry& top = heap.back();
    platform::trace("tokenbag top %s at %d %d", top.def->name.c_str(), ox + top.x + top.def->width() / 2,
                    oy + top.y + top.def->height() / 2);
}

void TokenBag::Arrange(bool) {
    // The bounds are laid out after the parse: the first heap was thrown
    // into an empty rectangle, so it is thrown again into the real one.
    if (!scattered && !rect.isEmpty()) Scatter();
    for (Entry& e : heap) {
        if (!e.def || !e.def->hasPicture()) continue;
        if (e.x + e.def->width() > rect.width()) e.x = std::max(0, rect.width() - e.def->width());
        if (e.y + e.def->height() > rect.height()) e.y = std::max(0, rect.height() - e.def->height());
        e.x = std::max(0, e.x);
        e.y = std::max(0, e.y);
    }
}

void TokenBag::Draw(render::RenderContext& context, const render::Rect& clip) {
    DrawControlFrame(context, clip);
    int32_t ox = 0, oy = 0;
    GetOrigin(ox, oy);
    const uint32_t light = ui::lights().icon;
    for (size_t i = 0; i < heap.size(); ++i) {
        const Entry& e = heap[i];
        if (int(i) == picked || !e.def || !e.def->hasPicture()) continue;
        context.DrawBitmap(*e.def->bitmap, ox + e.x + 1, oy + e.y + 2, 0x7F000000, &clip);
        context.DrawBitmap(*e.def->bitmap, ox + e.x, oy + e.y, light, &clip);
    }
}

int TokenBag::MouseButton(int message, uint32_t flags, uint32_t position) {
    if (message == mouse::kMiddleUp ||
        (message == mouse::kLeftUp && (flags & (mouse::kShift | mouse::kControl)))) {
        Scatter();
        Invalidate();
        return 1;
    }
    return window ? window->MouseButton(message, flags, position) : 0;
}

int TokenBag::MouseDrag(int message, uint32_t flags, uint32_t startPosition, uint32_t position) {
    int32_t ox = 0, oy = 0;
    GetOrigin(ox, oy);
    if (!dragging && message == mouse::kMove && (flags & mouse::kLeft)) {
        const int32_t sx = mouse::xOf(startPosition) - ox, sy = mouse::yOf(startPosition) - oy;
        for (int i = int(heap.size()) - 1; i >= 0; --i) {
            const Entry& e = heap[size_t(i)];
            if (!e.def || !e.def->hasPicture()) continue;
            if (sx >= e.x && sy >= e.y && sx < e.x + e.def->width() && sy < e.y + e.def->height()) {
                picked = i;
                dragging = true;
                ui::DragPayload payload;
                GetDragData(payload);
                window->desktop().BeginDrag(*this, payload);
                Invalidate();
                return 1;
            }
        }
    }
    if (message == mouse::kLeftUp) dragging = false;
    if (picked < 0 || size_t(picked) >= heap.size()) return 0;
    if (message != mouse::kLeftUp) return 1;
    Entry e = heap[size_t(picked)];
    const int32_t left = mouse::xOf(position) - e.def->width() / 2, top = mouse::yOf(position) - e.def->height() / 2;
    int32_t wx = 0, wy = 0;
    window->GetOrigin(wx, wy);
    render::Rect bag{rect.left + wx, rect.top + wy, rect.right + wx, rect.bottom + wy};
    if (bag.contains(left, top) && bag.contains(left + e.def->width() - 1, top + e.def->height() - 1)) {
        heap.erase(heap.begin() + picked);
        e.x = left - ox;
        e.y = top - oy;
        heap.push_back(e);
        traceTop();
    }
    picked = -1;
    Invalidate();
    return 1;
}

int TokenBag::GetDragData(ui::DragPayload& payload) {
    if (picked < 0 || size_t(picked) >= heap.size()) return 0;
    payload.kind = ui::kDragToken;
    payload.icon = heap[size_t(picked)].def->bitmap.get();
    payload.description = heap[size_t(picked)].def->name;
    payload.tokenPath = heap[size_t(picked)].def->name;
    return 1;
}

void TokenBag::HoverChanged(bool entered) {
    if (ui::DesktopShell* shell = ui::desktopShell()) shell->setCursor(entered ? 156 : 155);
}

void TokenBag::HoverMove(uint32_t) {
    if (ui::DesktopShell* shell = ui::desktopShell()) shell->setCursor(156);
}

void registerTokenBag() {
    ui::registerControlTag("TOKENBAG", [](ui::Window& w) -> std::unique_ptr<ui::Control> {
        return std::make_unique<TokenBag>(w);
    });
}

}  // namespace lh::table
