// Tokens on windows and in the store; see TokenBoard.h.
#include "table/TokenBoard.h"

#include <algorithm>

#include "net/MessageCatalogue.h"
#include "table/TokenGeometry.h"

namespace lh::table {

namespace tags = net::tags;

void Token::SetRotation(int step) {
    rotated.reset();
    rotation = wrapRotation(step);
    rotatedFrom = def ? def->generation : 0;
    if (rotation == 0 || !def || !def->hasPicture()) return;
    const render::Bitmap& b = *def->bitmap;
    TurnedPicture turned = turnPicture(b.Pixels().data(), b.GetWidth(), b.GetHeight(), rotation);
    auto copy = std::make_unique<render::Bitmap>();
    if (copy->LoadFromPixels(turned.width, turned.height, turned.pixels.data())) rotated = std::move(copy);
}

TokenBoard::OpenWindow* TokenBoard::openWindow(const WindowKey& key) {
    auto it = open.find(key);
    return it == open.end() ? nullptr : &it->second;
}

TokenPlace* TokenBoard::placeOf(const WindowKey& key) {
    OpenWindow* w = openWindow(key);
    return w ? w->place : nullptr;
}

std::vector<std::unique_ptr<Token>>* TokenBoard::tokensOf(const WindowKey& key) {
    OpenWindow* w = openWindow(key);
    return w ? &w->tokens : nullptr;
}

Token* TokenBoard::find(const WindowKey& key, uint32_t id) {
    OpenWindow* w = openWindow(key);
    if (!w) return nullptr;
    for (auto& t : w->tokens)
        if (t->id == id) return t.get();
    return nullptr;
}

bool TokenBoard::windowLocked(const WindowKey& key) const {
    auto it = open.find(key);
    return it != open.end() && it->second.locked;
}

Token* TokenBoard::storeFind(const WindowKey& key, uint32_t id) {
    auto it = stored.find(key.storeKey());
    if (it == stored.end()) return nullptr;
    for (auto& t : it->second)
        if (t->id == id) return t.get();
    return nullptr;
}

void TokenBoard::anchorOrigin(const WindowKey& key, const Token& t, int32_t& x, int32_t& y) {
    x = y = 0;
    if (OpenWindow* w = openWindow(key)) w->place->origin(checkedAnchor(*w, t.anchorIndex), x, y);
}

int32_t TokenBoard::checkedAnchor(const OpenWindow& w, int32_t anchorIndex) const {
    // An index that names no control of this window (a hostile or stale
    // one) stands on the window itself.
    return anchorIndex > 0 && anchorIndex <= w.place->controlCount() ? anchorIndex : 0;
}

void TokenBoard::findAnchor(OpenWindow& w, int32_t& x, int32_t& y, int32_t& anchorIndex) {
    render::Rect win = w.place->windowRect();
    int32_t ax = win.left + x, ay = win.top + y;
    anchorIndex = 0;
    for (int32_t i = 1, n = w.place->controlCount(); i <= n; ++i) {
        if (w.place->controlRect(i).contains(x, y)) {
            anchorIndex = i;
            break;
        }
    }
    int32_t ox = 0, oy = 0;
    w.place->origin(anchorIndex, ox, oy);
    x = ax - ox;
    y = ay - oy;
}

std::unique_ptr<Token> TokenBoard::newToken(TokenDef& def, int32_t x, int32_t y, uint32_t id, int32_t anchorIndex) {
    auto t = std::make_unique<Token>();
    t->def = &def;
    t->rect = render::Rect{x, y, x + def.width(), y + def.height()};
    t->shownX = x;
    t->shownY = y;
    t->anchorIndex = anchorIndex;
    t->id = id;
    t->rotatedFrom = def.generation;
    return t;
}

Token& TokenBoard::make(OpenWindow& w, TokenDef& def, int32_t x, int32_t y, uint32_t id, int32_t anchorIndex) {
    w.tokens.push_back(newToken(def, x, y, id, anchorIndex));
    w.tokens.back()->locked = w.locked;
    w.place->changed();
    return *w.tokens.back();
}

Token& TokenBoard::keep(const WindowKey& key, TokenDef& def, int32_t x, int32_t y, uint32_t id, int32_t anchorIndex) {
    auto& list = storeList(key);
    list.insert(list.begin(), newToken(def, x, y, id, anchorIndex));
    return *list.front();
}

bool TokenBoard::asksHost(const OpenWindow& w) const { return role == BoardRole::Client && w.place->sharable(); }

bool TokenBoard::tellsAll(const OpenWindow& w) const { return role == BoardRole::Host && w.place->sharable(); }

void TokenBoard::sendToHost(const net::NetMessage& m) {
    if (out.toHost) out.toHost(m);
}

void TokenBoard::sendToAll(const net::NetMessage& m) {
    if (out.toAll) out.toAll(m);
}

template <class Body>
void TokenBoard::change(const OpenWindow& w, Encoder<Body> encode, net::MessageTag ask, net::MessageTag tell,
                        const Body& body, const std::function<void()>& apply) {
    net::NetMessage m;
    if (asksHost(w)) {
        encode(ask, body, m);
        sendToHost(m);
        return;
    }
    apply();
    if (!tellsAll(w)) return;
    encode(tell, body, m);
    sendToAll(m);
}

template <class Body>
void TokenBoard::relay(Encoder<Body> encode, net::MessageTag tag, const Body& body) {
    net::NetMessage m;
    encode(tag, body, m);
    sendToAll(m);
}

void TokenBoard::sendAdd(net::MessageTag tag, const TokenDef& def, const WindowKey& key, const Token& t,
                         const std::string* user) {
    TokenAdd a{def.name, key, t.anchorIndex, t.rect.left, t.rect.top, t.id, def.hostOnly};
    net::NetMessage m;
    encodeTokenAdd(tag, a, m);
    if (!user) {
        sendToAll(m);
    } else if (out.toUser) {
        out.toUser(m, *user);
    }
}

void TokenBoard::Open(const WindowKey& key, TokenPlace& place) {
    OpenWindow& w = open[key];
    w.place = &place;
    auto it = stored.find(key.storeKey());
    if (it == stored.end()) return;
    for (auto& t : it->second) {
        t->anchorIndex = checkedAnchor(w, t->anchorIndex);
        t->SetRotation(t->rotation);
        t->shownX = t->rect.left;
        t->shownY = t->rect.top;
        t->dragging = false;
        w.tokens.push_back(std::move(t));
    }
    stored.erase(it);
    place.changed();
}

void TokenBoard::Close(const WindowKey& key) {
    auto it = open.find(key);
    if (it == open.end()) return;
    if (!closing && !it->second.tokens.empty()) {
        auto& list = storeList(key);
        for (auto& t : it->second.tokens) {
            t->dragging = false;
            t->rotated.reset();
            list.push_back(std::move(t));
        }
    }
    open.erase(it);
}

void TokenBoard::AddToken(const WindowKey& key, TokenDef& def, int32_t x, int32_t y, int32_t anchorIndex) {
    OpenWindow* w = openWindow(key);
    if (!w) return;
    if (anchorIndex == -1) {
        findAnchor(*w, x, y, anchorIndex);
    } else {
        anchorIndex = checkedAnchor(*w, anchorIndex);
    }
    // The host's answer carries the id it gives, so a client's drop is a
    // request of its own kind.
    net::NetMessage m;
    if (asksHost(*w)) {
        encodeTokenAdd(tags::TOKAQ, TokenAdd{def.name, key, anchorIndex, x, y, 0, false}, m);
        sendToHost(m);
        return;
    }
    Token& t = make(*w, def, x, y, takeId(), anchorIndex);
    if (!tellsAll(*w)) return;
    sendAdd(tags::TOKAR, def, key, t, nullptr);
    if (!w->locked) return;
    encodeTokenLock(TokenLock{key, t.id, true}, m);
    sendToAll(m);
}

void TokenBoard::applyMove(OpenWindow& w, Token& t, int32_t x, int32_t y, bool proposal, int32_t anchorIndex) {
    if (proposal) {
        t.pendingX = x;
        t.pendingY = y;
        w.place->changed();
        return;
    }
    int32_t wx = 0, wy = 0, ox = 0, oy = 0, nx = 0, ny = 0;
    w.place->origin(0, wx, wy);
    w.place->origin(checkedAnchor(w, t.anchorIndex), ox, oy);
    anchorIndex = checkedAnchor(w, anchorIndex);
    w.place->origin(anchorIndex, nx, ny);
    // The shown place stays where it is on the screen: the glide starts
    // from there in the new anchor's frame.
    t.shownX += ox - nx;
    t.shownY += oy - ny;
    t.rect = render::Rect{x, y, x + t.rect.width(), y + t.rect.height()};
    t.anchorIndex = anchorIndex;
    t.pendingX = t.pendingY = 0;
    (void)wx;
    (void)wy;
    w.place->changed();
}

void TokenBoard::MoveToken(const WindowKey& key, int32_t x, int32_t y, uint32_t id, bool proposal,
                           int32_t anchorIndex) {
    OpenWindow* w = openWindow(key);
    if (!w) return;
    Token* t = find(key, id);
    if (!t) return;
    if (!proposal) {
        if (anchorIndex == -1) {
            findAnchor(*w, x, y, anchorIndex);
        } else {
            anchorIndex = checkedAnchor(*w, anchorIndex);
        }
    }
    change<TokenMove>(*w, encodeTokenMove, tags::TOKPQ, tags::TOKPR, TokenMove{key, anchorIndex, x, y, proposal, id},
                      [&] { applyMove(*w, *t, x, y, proposal, anchorIndex); });
}

void TokenBoard::remove(OpenWindow& w, uint32_t id) {
    auto it = std::find_if(w.tokens.begin(), w.tokens.end(), [&](const auto& t) { return t->id == id; });
    if (it == w.tokens.end()) return;
    w.tokens.erase(it);
    w.place->changed();
}

void TokenBoard::DeleteToken(const WindowKey& key, uint32_t id) {
    OpenWindow* w = openWindow(key);
    if (!w || !find(key, id)) return;
    change<TokenRef>(*w, encodeTokenDelete, tags::TOKDQ, tags::TOKDR, TokenRef{key, id}, [&] { remove(*w, id); });
}

void TokenBoard::DeleteAllTokens(const WindowKey& key) {
    if (role == BoardRole::Client) return;
    // Bounded by the tokens there are: each round removes the first.
    for (OpenWindow* w = openWindow(key); w && !w->tokens.empty(); w = openWindow(key)) {
        size_t before = w->tokens.size();
        DeleteToken(key, w->tokens.front()->id);
        if (w->tokens.size() == before) break;
    }
}

void TokenBoard::LockTokens(const WindowKey& key, bool locked) {
    OpenWindow* w = openWindow(key);
    if (!w || role == BoardRole::Client) return;
    w->locked = locked;
    for (auto& t : w->tokens) {
        t->locked = locked;
        if (!tellsAll(*w)) continue;
        net::NetMessage m;
        encodeTokenLock(TokenLock{key, t->id, locked}, m);
        sendToAll(m);
    }
    w->place->changed();
}

void TokenBoard::RotateToken(const WindowKey& key, uint32_t id, int rotation) {
    OpenWindow* w = openWindow(key);
    Token* t = find(key, id);
    if (!w || !t) return;
    // One step out of 0..7 fits the signed byte; a receiver wraps it.
    change<TokenTurn>(*w, encodeTokenTurn, tags::TOKOQ, tags::TOKOR,
                      TokenTurn{key, id, int8_t(std::clamp(rotation, -128, 127))}, [&] {
                          t->SetRotation(rotation);
                          w->place->changed();
                      });
}

render::Rect TokenBoard::shownArea(const WindowKey& key, const Token& t) {
    int32_t x = 0, y = 0;
    anchorOrigin(key, t, x, y);
    x += t.shownX;
    y += t.shownY;
    int32_t w = t.def ? t.def->width() : 0, h = t.def ? t.def->height() : 0;
    if (t.rotated) {
        x -= (int32_t(t.rotated->GetWidth()) - w) / 2;
        y -= (int32_t(t.rotated->GetHeight()) - h) / 2;
        w = int32_t(t.rotated->GetWidth());
        h = int32_t(t.rotated->GetHeight());
    }
    return render::Rect{x, y, x + w + 1, y + h + 2};  // the shadow lies (1, 2) off
}

void TokenBoard::Glide() {
    for (auto& [key, w] : open) {
        for (auto& t : w.tokens) {
            if (t->dragging || (t->shownX == t->rect.left && t->shownY == t->rect.top)) continue;
            const render::Rect before = shownArea(key, *t);
            glideStep(t->shownX, t->shownY, t->rect.left, t->rect.top);
            w.place->changedArea(render::unite(before, shownArea(key, *t)));
        }
    }
}

void TokenBoard::SendAll(const std::string& user) {
    if (role != BoardRole::Host || !out.toUser) return;
    for (const auto& [name, def] : lib.entries()) {
        if (def->hostOnly || def->builtIn) continue;
        net::NetMessage m;
        encodeLibraryEntry(name, m);
        out.toUser(m, user);
    }
    auto sendOne = [&](const WindowKey& key, const Token& t) {
        if (!t.def) return;
        sendAdd(tags::TOKAR, *t.def, key, t, &user);
        if (!t.locked) return;
        net::NetMessage m;
        encodeTokenLock(TokenLock{key, t.id, true}, m);
        out.toUser(m, user);
    };
    for (const auto& [storeKey, list] : stored) {
        size_t colon = storeKey.find(':');
        if (colon == std::string::npos) continue;
        WindowKey key{storeKey.substr(0, colon), storeKey.substr(colon + 1)};
        for (const auto& t : list) sendOne(key, *t);
    }
    for (const auto& [key, w] : open)
        for (const auto& t : w.tokens) sendOne(key, *t);
}

bool TokenBoard::handle(const net::NetMessage& m, const std::string& fromUser, std::string& why) {
    (void)fromUser;
    if (m.tag == tags::TLIBR) {
        std::string name;
        if (!decodeLibraryEntry(m, name, why)) return false;
        if (role == BoardRole::Client && !name.empty()) lib.obtain(name, false);
        return true;
    }
    if (m.tag == tags::TOKAQ || m.tag == tags::TOKAR) return handleAdd(m, why);
    if (m.tag == tags::TOKDQ || m.tag == tags::TOKDR) return handleDelete(m, why);
    if (m.tag == tags::TOKPQ || m.tag == tags::TOKPR) return handleMove(m, why);
    if (m.tag == tags::TOKOQ || m.tag == tags::TOKOR) return handleTurn(m, why);
    if (m.tag == tags::TOKLR) return handleLock(m, why);
    why = "not a token message";
    return false;
}

bool TokenBoard::handleAdd(const net::NetMessage& m, std::string& why) {
    TokenAdd a;
    if (!decodeTokenAdd(m, a, why)) return false;
    const bool request = m.tag == tags::TOKAQ;
    if (request != (role == BoardRole::Host)) return true;  // not meant for this side
    if (!isSafeTokenName(a.name)) return true;
    if (a.anchorIndex < 0) a.anchorIndex = 0;
    OpenWindow* w = openWindow(a.window);
    if (request) {
        TokenDef* def = lib.find(a.name);
        if (!def) return true;
        if (w) {
            AddToken(a.window, *def, a.x, a.y, a.anchorIndex);
            return true;
        }
        sendAdd(tags::TOKAR, *def, a.window, keep(a.window, *def, a.x, a.y, takeId(), a.anchorIndex), nullptr);
        return true;
    }
    TokenDef* def = lib.obtain(a.name, a.hostOnly);
    if (!def) return true;
    if (w) {
        if (find(a.window, a.id)) return true;  // the same token twice
        make(*w, *def, a.x, a.y, a.id, checkedAnchor(*w, a.anchorIndex));
        return true;
    }
    if (!storeFind(a.window, a.id)) keep(a.window, *def, a.x, a.y, a.id, a.anchorIndex);
    return true;
}

bool TokenBoard::handleDelete(const net::NetMessage& m, std::string& why) {
    TokenRef d;
    if (!decodeTokenDelete(m, d, why)) return false;
    const bool request = m.tag == tags::TOKDQ;
    if (request != (role == BoardRole::Host)) return true;
    if (OpenWindow* w = openWindow(d.window)) {
        if (request) {
            DeleteToken(d.window, d.id);
        } else {
            remove(*w, d.id);
        }
        return true;
    }
    auto it = stored.find(d.window.storeKey());
    if (it == stored.end()) return true;
    auto& list = it->second;
    auto t = std::find_if(list.begin(), list.end(), [&](const auto& x) { return x->id == d.id; });
    if (t == list.end()) return true;
    list.erase(t);
    if (list.empty()) stored.erase(it);
    if (request) relay(encodeTokenDelete, tags::TOKDR, d);
    return true;
}

bool TokenBoard::handleMove(const net::NetMessage& m, std::string& why) {
    TokenMove p;
    if (!decodeTokenMove(m, p, why)) return false;
    const bool request = m.tag == tags::TOKPQ;
    if (request != (role == BoardRole::Host)) return true;
    if (p.anchorIndex < 0) p.anchorIndex = 0;
    OpenWindow* w = openWindow(p.window);
    Token* t = w ? find(p.window, p.id) : storeFind(p.window, p.id);
    if (!t) return true;
    // A player moves a locked token only by accepting a proposal that
    // stands; anything else of his is a proposal at most. So too while the
    // host has the window closed.
    if (request && t->locked && !p.proposal && !t->hasProposal()) return true;
    if (w) {
        if (request) {
            MoveToken(p.window, p.x, p.y, p.id, p.proposal, p.anchorIndex);
        } else {
            applyMove(*w, *t, p.x, p.y, p.proposal, p.anchorIndex);
        }
        return true;
    }
    if (p.proposal) {
        t->pendingX = p.x;
        t->pendingY = p.y;
    } else {
        t->rect = render::Rect{p.x, p.y, p.x + t->rect.width(), p.y + t->rect.height()};
        t->anchorIndex = p.anchorIndex;
        t->pendingX = t->pendingY = 0;
    }
    if (request) relay(encodeTokenMove, tags::TOKPR, p);
    return true;
}

bool TokenBoard::handleTurn(const net::NetMessage& m, std::string& why) {
    TokenTurn o;
    if (!decodeTokenTurn(m, o, why)) return false;
    const bool request = m.tag == tags::TOKOQ;
    if (request != (role == BoardRole::Host)) return true;
    if (OpenWindow* w = openWindow(o.window)) {
        if (request) {
            RotateToken(o.window, o.id, o.rotation);
        } else if (Token* t = find(o.window, o.id)) {
            t->SetRotation(o.rotation);
            w->place->changed();
        }
        return true;
    }
    // A turn of a token kept while the host has the window closed: other
    // machines may have it open.
    Token* t = storeFind(o.window, o.id);
    if (!t) return true;
    t->rotation = wrapRotation(o.rotation);
    if (request) relay(encodeTokenTurn, tags::TOKOR, o);
    return true;
}

bool TokenBoard::handleLock(const net::NetMessage& m, std::string& why) {
    TokenLock l;
    if (!decodeTokenLock(m, l, why)) return false;
    if (role != BoardRole::Client) return true;  // only the host locks
    if (OpenWindow* w = openWindow(l.window)) {
        if (Token* t = find(l.window, l.id)) {
            t->locked = l.locked;
            w->place->changed();
        }
        return true;
    }
    if (Token* t = storeFind(l.window, l.id)) t->locked = l.locked;
    return true;
}

}  // namespace lh::table
