// Tokens and pointers on the Desktop; see TokenDesk.h.
#include "table/TokenDesk.h"

#include <cmath>
#include <optional>

#include "db/Users.h"
#include "net/JoinEvents.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"
#include "platform/Trace.h"
#include "render/Bitmap.h"
#include "render/Color.h"
#include "render/GraphicsDevice.h"
#include "render/RenderContext.h"
#include "table/ImageControl.h"
#include "table/PointerDrawing.h"
#include "table/PointerGeometry.h"
#include "table/TokenDrawing.h"
#include "table/TokenGrip.h"
#include "ui/Desktop.h"
#include "ui/DesktopToken.h"
#include "ui/DragPayload.h"
#include "ui/InputState.h"
#include "ui/Lights.h"
#include "ui/RulesetData.h"
#include "ui/RulesetFont.h"
#include "ui/Window.h"

namespace lh::table {

namespace {

TokenDesk*& current() {
    static TokenDesk* d = nullptr;
    return d;
}

// An open window as the board sees it. A map control's origin is its
// picture's top left, so that tokens on it keep their place when it scrolls.
class WindowPlace final : public TokenPlace {
public:
    explicit WindowPlace(ui::Window& w) : window(w) {}
    bool sharable() const override { return window.windowClass.sharable; }
    render::Rect windowRect() const override { return window.rect; }
    int32_t controlCount() const override { return int32_t(window.controls.size()); }
    render::Rect controlRect(int32_t index) const override {
        ui::Control* c = index > 0 ? window.ControlAt(size_t(index - 1)) : nullptr;
        return c ? c->rect : render::Rect{};
    }
    void origin(int32_t index, int32_t& x, int32_t& y) const override {
        ui::Control* c = index > 0 ? window.ControlAt(size_t(index - 1)) : nullptr;
        if (auto* image = dynamic_cast<ImageControl*>(c)) {
            image->PictureOrigin(x, y);
        } else if (c) {
            c->GetOrigin(x, y);
        } else {
            window.GetOrigin(x, y);
        }
    }
    void changed() override { window.Invalidate(); }
    void changedArea(const render::Rect& area) override {
        const render::Rect cut = render::intersect(area, window.rect);
        if (window.minimized) {
            window.Invalidate();
        } else if (!cut.isEmpty()) {
            render::GraphicsDevice::Get().Invalidate(&cut);
        }
    }

private:
    ui::Window& window;
};

ImageControl* pointerControl(ui::Window& window) {
    const std::string& name = window.windowClass.pointerControlName;
    if (name.empty()) return nullptr;
    return dynamic_cast<ImageControl*>(window.FindControl(name));
}

}  // namespace

TokenDesk* tokenDesk() { return current(); }

// Section: the trace. Each token message handled, and each drop here, gives
// a line with where the token now stands on the Desktop, so that scripts
// and tests on two machines can see that they agree.

void TokenDesk::traceToken(const char* what, const WindowKey& key, uint32_t id) {
    // Only the board is asked: a window that is opening is not yet on the
    // Desktop's list, but its tokens stand.
    Token* t = tokens.find(key, id);
    if (!t) {
        const char* where = tokens.findStored(key, id) ? "stored" : "gone";
        platform::trace("token %s %s %s id %u %s", what, key.className.c_str(), key.recordName.c_str(), id, where);
        return;
    }
    render::Rect r = desktopRect(key, *t);
    platform::trace("token %s %s %s id %u at %d %d locked %d pending %d %d turned %d", what,
                    key.className.c_str(), key.recordName.c_str(), id, r.left, r.top, t->locked ? 1 : 0, t->pendingX,
                    t->pendingY, t->rotation);
}

void TokenDesk::traceMessage(const net::NetMessage& m) {
    std::string tag(m.tag.text().substr(0, 5)), why;
    WindowKey key;
    uint32_t id = 0;
    TokenAdd a;
    TokenRef d;
    TokenMove p;
    TokenTurn o;
    TokenLock l;
    if (tag == "TOKAR" && decodeTokenAdd(m, a, why)) {
        key = a.window, id = a.id;
    } else if (tag == "TOKAQ" && decodeTokenAdd(m, a, why)) {
        // The host gave the next id to the token it just made.
        key = a.window;
        auto* list = tokens.tokensOf(key);
        id = list && !list->empty() ? list->back()->id : 0;
    } else if ((tag == "TOKDR" || tag == "TOKDQ") && decodeTokenDelete(m, d, why)) {
        key = d.window, id = d.id;
    } else if ((tag == "TOKPR" || tag == "TOKPQ") && decodeTokenMove(m, p, why)) {
        key = p.window, id = p.id;
    } else if ((tag == "TOKOR" || tag == "TOKOQ") && decodeTokenTurn(m, o, why)) {
        key = o.window, id = o.id;
    } else if (tag == "TOKLR" && decodeTokenLock(m, l, why)) {
        key = l.window, id = l.id;
    } else {
        platform::trace("token %s", tag.c_str());
        return;
    }
    traceToken(tag.c_str(), key, id);
}

WindowKey TokenDesk::keyOf(const ui::Window& window) { return WindowKey{window.windowClass.name, window.name}; }

ui::Window* TokenDesk::windowOf(const WindowKey& key) { return home.Find(key.className, key.recordName); }

TokenDesk::TokenDesk(ui::Desktop& desktop, net::Session* s, bool isHost)
    : home(desktop), session(s), host(isHost), tokens(tokenLibrary()) {
    current() = this;
    tokens.setRole(!session ? BoardRole::Alone : host ? BoardRole::Host : BoardRole::Client);
    pointers.setLocalUser(std::string(db::localUser().name.view()));
    pointers.setHost(host);
    pointers.setOnline(session != nullptr);
    pointers.setIsOpen([this](const WindowKey& key) { return windowOf(key) != nullptr; });
    if (session) {
        net::Session* ss = session;
        tokens.setOutbox({[ss](const net::NetMessage& m) { ss->sendToHost(m); },
                          [ss](const net::NetMessage& m) { ss->sendToAll(m); },
                          [ss](const net::NetMessage& m, const std::string& user) { ss->sendTo(m, user); }});
        pointers.setSend([ss, this](const net::NetMessage& m) {
            if (host) {
                ss->sendToAll(m);
            } else {
                ss->sendToHost(m);
            }
        });
        auto onToken = [this](net::SessionPeer* from, const net::NetMessage& m) {
            std::string why;
            if (!tokens.handle(m, from ? from->name : std::string(), why)) {
                session->reportMalformed(from, m, why);
                return net::HandlerResult::Rejected;
            }
            glide.wake();
            traceMessage(m);
            return net::HandlerResult::Handled;
        };
        for (const char* pair : {"TOKA", "TOKD", "TOKP", "TOKO"}) session->setPairHandler(pair, onToken);
        session->setHandler(net::tags::TLIBR, onToken);
        session->setHandler(net::tags::TOKLR, onToken);
        session->setPairHandler("PNTR", [this](net::SessionPeer* from, const net::NetMessage& m) {
            std::string why;
            bool accepted = false;
            PointerBody body;
            decodePointer(m, body, why);
            const PointerState* before = pointers.find(body.user);
            if (before) redrawPointerWindow(before);
            // The first word of a user shows his colour where none was.
            const std::optional<uint32_t> formerColor = before ? std::optional(before->color) : std::nullopt;
            if (!pointers.handle(m, from ? from->name : std::string(), accepted, why)) {
                session->reportMalformed(from, m, why);
                return net::HandlerResult::Rejected;
            }
            if (!accepted) return net::HandlerResult::Rejected;
            redrawPointerWindow(pointers.find(body.user));
            platform::trace("pointer %s kind %d on %s %s", body.user.c_str(), body.kind, body.window.className.c_str(),
                            body.window.recordName.c_str());
            if (body.color != formerColor) colorChanged(body.user, body.color);
            return net::HandlerResult::Handled;
        });
        if (host) {
            departSub = session->departed().subscribe([this](net::SessionPeer& peer) { userLeft(peer.name); });
        } else {
            // A client hears of a departure only as its Identity leaving play.
            net::JoinEvents& events = net::joinEvents();
            inPlaySub = events.characterInPlay.subscribe(
                [this](const std::string& identity, const std::string& user, bool) { playerOf[identity] = user; });
            goneSub = events.characterGone.subscribe([this](const std::string& identity) {
                auto it = playerOf.find(identity);
                if (it == playerOf.end()) return;
                const std::string user = it->second;
                playerOf.erase(it);
                // The same user may play another character still.
                for (const auto& [other, player] : playerOf)
                    if (player == user) return;
                userLeft(user);
            });
        }
        if (host) joinSub = session->joined().subscribe([this](net::SessionPeer& peer) { tokens.SendAll(peer.name); });
    }
    auto& signals = ui::desktopSignals();
    openSub = signals.windowOpened.subscribe([this](ui::Window& w) { opened(w); });
    closeSub = signals.windowClosed.subscribe([this](ui::Window& w) { closed(w); });
    hitSub = signals.windowObjectAt.subscribe(
        [this](ui::Window& w, int32_t x, int32_t y) { return objectAt(w, x, y); });
    dropSub = signals.windowDrop.subscribe(
        [this](ui::Window& w, uint32_t position, ui::DesktopObject& source) { return dropped(w, position, source); });
    attached = ui::attachPointerInput(*this);
    glide.setHandler([this] { return tick(); });
    glide.wake();
    // Windows that opened before the tokens started (desktop windows).
    for (const auto& w : home.windows)
        if (w && !w->isClosed() && !w->isList) opened(*w);
}

TokenDesk::~TokenDesk() {
    tokens.setClosing(true);
    grips.clear();
    if (current() == this) current() = nullptr;
}

void TokenDesk::opened(ui::Window& window) {
    WindowKey key = keyOf(window);
    auto& place = places[key];
    place = std::make_unique<WindowPlace>(window);
    tokens.Open(key, *place);
    // The tokens the store gave back, as they stand now.
    if (auto* list = tokens.tokensOf(key))
        for (const auto& t : *list) traceToken("restored", key, t->id);
    glide.wake();
}

void TokenDesk::closed(ui::Window& window) {
    WindowKey key = keyOf(window);
    // Another window of the same pair may still stand (it is the first
    // that counts): only the one the board knows closes.
    tokens.Close(key);
    pointers.WindowClosed(key);
    places.erase(key);
    glide.wake();  // the grips of its tokens go at the next tick
}

render::Rect TokenDesk::desktopRect(const WindowKey& key, const Token& t) {
    int32_t ox = 0, oy = 0;
    tokens.anchorOrigin(key, t, ox, oy);
    return render::Rect{t.rect.left + ox, t.rect.top + oy, t.rect.right + ox, t.rect.bottom + oy};
}

ui::DesktopObject* TokenDesk::objectAt(ui::Window& window, int32_t x, int32_t y) {
    WindowKey key = keyOf(window);
    auto* list = tokens.tokensOf(key);
    if (!list || windowOf(key) != &window) return nullptr;
    for (auto it = list->rbegin(); it != list->rend(); ++it) {
        Token& t = **it;
        if (!desktopRect(key, t).contains(x, y)) continue;
        auto& grip = grips[{key, t.id}];
        if (!grip) grip = std::make_unique<TokenGrip>(*this, key, t.id);
        grip->rect = desktopRect(key, t);
        grip->owner = &window;
        return grip.get();
    }
    return nullptr;
}

int TokenDesk::dropped(ui::Window& window, uint32_t position, ui::DesktopObject& source) {
    ui::DragPayload payload;
    if (!source.GetDragData(payload) || payload.kind != ui::kDragToken) return 0;
    const int32_t x = ui::mouse::xOf(position), y = ui::mouse::yOf(position);
    if (auto* grip = dynamic_cast<TokenGrip*>(&source)) {
        // A token dragged on its own window moves when the grip hears the
        // release; on another window it left its own, and stays on this
        // machine's Desktop as the bare Desktop would keep it.
        if (grip->owner != &window && payload.icon && !payload.icon->IsEmpty())
            ui::placeDesktopToken(home, *payload.icon, payload.tokenPath, x, y);
        return 1;
    }
    if (!window.windowClass.allowTokens) return 1;
    TokenDef* def = tokenLibrary().find(payload.tokenPath);
    if (!def) return 1;
    WindowKey key = keyOf(window);
    auto* list = tokens.tokensOf(key);
    const size_t before = list ? list->size() : 0;
    tokens.AddToken(key, *def, x - window.rect.left - def->width() / 2, y - window.rect.top - def->height() / 2, -1);
    glide.wake();
    list = tokens.tokensOf(key);
    if (list && list->size() > before) {
        traceToken("dropped", key, list->back()->id);
    } else {
        // A client's token appears only when the host answers.
        platform::trace("token asked %s %s", key.className.c_str(), key.recordName.c_str());
    }
    return 1;
}

bool TokenDesk::tick() {
    tokens.Glide();
    // Grips whose token is gone (deleted, or its window closed) go now,
    // outside any of their own handlers.
    for (auto it = grips.begin(); it != grips.end();) {
        if (!tokens.find(it->first.first, it->first.second)) {
            it = grips.erase(it);
        } else {
            ++it;
        }
    }
    for (const auto& [key, place] : places) {
        auto* list = tokens.tokensOf(key);
        if (!list) continue;
        for (const auto& t : *list)
            if (t->shownX != t->rect.left || t->shownY != t->rect.top) return true;
    }
    return !grips.empty();
}

int TokenDesk::AcceptProposal(const WindowKey& key, uint32_t id) {
    Token* t = tokens.find(key, id);
    ui::Window* w = windowOf(key);
    if (!t || !w) return 0;
    if (t->anchorIndex != 0) {
        render::Rect r = desktopRect(key, *t);
        int32_t wx = 0, wy = 0;
        w->GetOrigin(wx, wy);
        t->rect = render::Rect{r.left - wx, r.top - wy, r.right - wx, r.bottom - wy};
        t->anchorIndex = 0;
    }
    t->rect = render::Rect{t->rect.left + t->pendingX, t->rect.top + t->pendingY, t->rect.right + t->pendingX,
                           t->rect.bottom + t->pendingY};
    int32_t wx = 0, wy = 0;
    w->GetOrigin(wx, wy);
    glide.wake();
    if (w->rect.contains(t->rect.left + wx, t->rect.top + wy)) {
        tokens.MoveToken(key, t->rect.left + wx - w->rect.left, t->rect.top + wy - w->rect.top, id, false, -1);
        return 1;
    }
    tokens.DeleteToken(key, id);
    ui::inputState().mouseCapture = nullptr;
    return 2;
}

// Section: drawing.

void TokenDesk::drawTokens(ui::Window& window, render::RenderContext& context) {
    WindowKey key = keyOf(window);
    // Another window of the same pair shows nothing of them.
    if (windowOf(key) != &window) return;
    TokenAtlas& atlas = tokenAtlas();
    atlas.refresh(tokens.library());
    drawWindowTokens(tokens, key, atlas, context, ui::lights().icon);
}

void TokenDesk::pointerOrigin(ui::Window& window, int32_t& x, int32_t& y, render::Rect& clip) {
    clip = window.rect;
    const std::string& name = window.windowClass.pointerControlName;
    if (name.empty()) {
        window.GetOrigin(x, y);
        return;
    }
    ui::Control* c = window.FindControl(name);
    if (!c) {
        x = y = 0;
        return;
    }
    if (auto* image = dynamic_cast<ImageControl*>(c)) {
        image->PictureOrigin(x, y);
    } else {
        c->GetOrigin(x, y);
    }
    clip = render::Rect{c->rect.left + window.rect.left, c->rect.top + window.rect.top,
                        c->rect.right + window.rect.left, c->rect.bottom + window.rect.top};
    clip = render::intersect(clip, window.rect);
}

void TokenDesk::drawPointer(ui::Window& window, const PointerState& p, render::RenderContext& context) {
    if (p.kind < kArrow || p.kind > kSquare) return;
    int32_t px = 0, py = 0;
    render::Rect clip;
    pointerOrigin(window, px, py, clip);
    const IntPoint s{px + p.startX, py + p.startY}, e{px + p.endX, py + p.endY};
    const uint32_t color = p.color & 0x00FFFFFF;

    // The squares it lights, and its length in squares.
    if (ImageControl* image = pointerControl(window)) {
        ImageValue* v = image->value();
        const int32_t g = v ? v->grid.size : 0;
        if (g > 0) {
            MapScroll scroll = image->scroll();
            GridView grid{g, v->grid.offsetX, v->grid.offsetY, scroll.left(), scroll.top(), image->rect.width(),
                          image->rect.height()};
            int32_t cx = 0, cy = 0;
            image->GetOrigin(cx, cy);
            const IntPoint start{p.startX, p.startY}, end{p.endX, p.endY};
            const std::vector<IntPoint> cells = litCells(grid, p.kind, start, end);
            litSquares.draw(context, g, cx, cy, cells, clip);
            std::string label = lengthLabel(pointerLength(p.kind, start, end), g);
            IntPoint at = labelPosition(p.kind, s, e);
            if (ui::RulesetFont* font = ui::findFont("modcollectorlabel")) {
                context.PushFont();
                context.SetFont(font);
                drawPointerLabel(context, label, at, color, clip);
                context.PopFont();
            }
            platform::trace("pointer lit %zu label %s", cells.size(), label.c_str());
        }
    }

    drawPointerShape(context, p.kind, s, e, color, clip);
}

void TokenDesk::DrawPointersOn(ui::Window& window, render::RenderContext& context) {
    drawTokens(window, context);
    if (!window.windowClass.usePointers) return;
    WindowKey key = keyOf(window);
    for (const auto& [user, p] : pointers.all()) {
        if (p.shown && p.window == key) drawPointer(window, p, context);
    }
}

// Section: the local user's pointer.

bool TokenDesk::HasPointer() {
    const PointerState* p = pointers.find(pointers.localUser());
    return p && p->shown;
}

void TokenDesk::redrawPointerWindow(const PointerState* p) {
    if (!p || !p->shown) return;
    if (ui::Window* w = windowOf(p->window)) w->Invalidate();
}

void TokenDesk::SetPointerColor(uint32_t bgr) {
    pointers.SetColor(bgr);
    colorChanged(pointers.localUser(), bgr);
}

void TokenDesk::colorChanged(const std::string& user, uint32_t bgr) {
    render::GraphicsDevice::Get().Invalidate(nullptr);
    platform::trace("pointer %s color %06X", user.c_str(), unsigned(bgr & 0xFFFFFF));
}

void TokenDesk::userLeft(const std::string& user) {
    const PointerState* p = pointers.find(user);
    if (!p) return;
    redrawPointerWindow(p);
    pointers.UserLeft(user);
    platform::trace("pointer %s left", user.c_str());
}

void TokenDesk::SetPointer(ui::Window* window, int kind, uint32_t start, uint32_t end, bool finish) {
    redrawPointerWindow(pointers.find(pointers.localUser()));
    if (!window) {
        pointers.SetLocal(nullptr, kind, 0, 0, finish);
        return;
    }
    int32_t ox = 0, oy = 0;
    render::Rect clip;
    pointerOrigin(*window, ox, oy, clip);
    const uint32_t s = ui::mouse::pack(ui::mouse::xOf(start) - ox, ui::mouse::yOf(start) - oy);
    const uint32_t e = ui::mouse::pack(ui::mouse::xOf(end) - ox, ui::mouse::yOf(end) - oy);
    WindowKey key = keyOf(*window);
    pointers.SetLocal(&key, kind, s, e, finish);
    window->Invalidate();
    if (finish) platform::trace("pointer %s kind %d on %s %s", pointers.localUser().c_str(), kind,
                                key.className.c_str(), key.recordName.c_str());
}

}  // namespace lh::table
