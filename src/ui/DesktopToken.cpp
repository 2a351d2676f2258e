// Tokens on the bare Desktop.
#include "ui/DesktopToken.h"

#include <algorithm>

#include "render/Bitmap.h"
#include "render/GraphicsDevice.h"
#include "render/RenderContext.h"
#include "ui/Desktop.h"
#include "ui/DragImage.h"
#include "ui/InputState.h"
#include "ui/Lights.h"

namespace lh::ui {

namespace {

struct TokenList {
    std::vector<std::unique_ptr<DesktopToken>> lying;
    // Tokens whose drag has ended: they are destroyed outside the event in
    // which they ended, since the routing still holds them there.
    std::vector<std::unique_ptr<DesktopToken>> gone;
};

TokenList& tokens() {
    static TokenList list;
    return list;
}

void retire(DesktopToken* token) {
    TokenList& t = tokens();
    auto it = std::find_if(t.lying.begin(), t.lying.end(), [&](auto& p) { return p.get() == token; });
    if (it == t.lying.end()) return;
    t.gone.push_back(std::move(*it));
    t.lying.erase(it);
}

void invalidate(const render::Rect& r) {
    render::Rect area = r;
    area.right += 2;  // the shadow
    area.bottom += 3;
    render::GraphicsDevice::Get().Invalidate(&area);
}

}  // namespace

DesktopToken::DesktopToken(Desktop& desktop, render::Bitmap& p, std::string path, int32_t x, int32_t y)
    : picture(p), tokenPath(std::move(path)), home(desktop) {
    const int32_t w = int32_t(picture.GetWidth()), h = int32_t(picture.GetHeight());
    rect = {x - w / 2, y - h / 2, x - w / 2 + w, y - h / 2 + h};
}

DesktopObject* DesktopToken::HitTest(int32_t x, int32_t y) {
    if (hidden) return nullptr;
    return DesktopObject::HitTest(x, y);
}

int DesktopToken::MouseButton(int message, uint32_t, uint32_t) {
    return message == mouse::kLeftDown ? kTakeCapture : kPass;
}

int DesktopToken::MouseDrag(int message, uint32_t flags, uint32_t, uint32_t) {
    if (message == mouse::kMove) {
        if (!(flags & mouse::kLeft)) return 0;
        if (!hidden) {
            hidden = true;
            invalidate(rect);
            DragPayload payload;
            GetDragData(payload);
            home.BeginDrag(*this, payload);
        }
        return 1;
    }
    if (mouse::isRelease(message) && hidden) retire(this);
    return 1;
}

void DesktopToken::CancelDrag() {
    hidden = false;
    invalidate(rect);
}

int DesktopToken::GetDragData(DragPayload& payload) {
    payload.kind = kDragToken;
    payload.icon = &picture;
    payload.tokenPath = tokenPath;
    return 1;
}

void DesktopToken::HoverChanged(bool entered) {
    DesktopObject::HoverChanged(entered);
    setDesktopCursor(entered ? cursor::kDraggable : cursor::kDefault);
}

void DesktopToken::Draw(render::RenderContext& context) {
    if (hidden) return;
    context.DrawBitmap(picture, rect.left + 1, rect.top + 2, kTokenShadowColor);
    context.DrawBitmap(picture, rect.left, rect.top, lights().icon);
}

DesktopToken& placeDesktopToken(Desktop& desktop, render::Bitmap& picture, const std::string& tokenPath,
                                int32_t x, int32_t y) {
    auto token = std::make_unique<DesktopToken>(desktop, picture, tokenPath, x, y);
    DesktopToken& placed = *token;
    tokens().lying.push_back(std::move(token));
    desktop.AddTarget(&placed);
    invalidate(placed.rect);
    return placed;
}

const std::vector<std::unique_ptr<DesktopToken>>& desktopTokens() { return tokens().lying; }

void drawDesktopTokens(render::RenderContext& context) {
    collectDesktopTokens();
    for (auto& token : tokens().lying) token->Draw(context);
}

void collectDesktopTokens() { tokens().gone.clear(); }

void clearDesktopTokens() {
    tokens().gone.clear();
    tokens().lying.clear();
}

}  // namespace lh::ui
