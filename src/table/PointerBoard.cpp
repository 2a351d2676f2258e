// Pointers and their messages; see PointerBoard.h.
#include "table/PointerBoard.h"

#include "net/MessageCatalogue.h"

namespace lh::table {

PointerState* PointerBoard::find(const std::string& user) {
    auto it = pointers.find(user);
    return it == pointers.end() ? nullptr : &it->second;
}

PointerState* PointerBoard::obtain(const std::string& user) {
    if (PointerState* p = find(user)) return p;
    if (pointers.size() >= kMaxUsers) return nullptr;
    return &pointers[user];
}

void PointerBoard::SetLocal(const WindowKey* window, int32_t kind, uint32_t start, uint32_t end, bool finish) {
    PointerState* p = obtain(local);
    if (!p) return;
    p->kind = kind;
    p->shown = window != nullptr;
    if (window) {
        p->window = *window;
        p->startX = int16_t(start & 0xFFFF);
        p->startY = int16_t(start >> 16);
        p->endX = int16_t(end & 0xFFFF);
        p->endY = int16_t(end >> 16);
    } else {
        p->window = {};
    }
    if (finish) Send();
}

void PointerBoard::SetColor(uint32_t color, bool send) {
    if (PointerState* p = obtain(local)) p->color = color;
    if (send) Send();
}

void PointerBoard::Send() {
    PointerState* p = obtain(local);
    if (!online || !p || !sendOut) return;
    PointerBody body;
    body.user = local;
    if (p->shown) body.window = p->window;
    body.kind = p->shown ? p->kind : 0;
    body.start = uint32_t(uint16_t(p->startX)) | uint32_t(uint16_t(p->startY)) << 16;
    body.end = uint32_t(uint16_t(p->endX)) | uint32_t(uint16_t(p->endY)) << 16;
    body.color = p->color;
    net::NetMessage m;
    encodePointer(isHost ? net::tags::PNTRR : net::tags::PNTRQ, body, m);
    sendOut(m);
}

bool PointerBoard::handle(const net::NetMessage& m, const std::string& fromUser, bool& accepted, std::string& why) {
    accepted = false;
    PointerBody body;
    if (!decodePointer(m, body, why)) return false;
    const bool request = m.tag == net::tags::PNTRQ;
    if (request != isHost) return true;
    // A client speaks for his own pointer only.
    if (request && body.user != fromUser) return true;
    if (body.user.empty()) return true;
    PointerState* p = obtain(body.user);
    if (!p) return true;
    if (body.user != local) {
        const bool hasWindow = !body.window.className.empty() || !body.window.recordName.empty();
        p->shown = hasWindow && isOpen && isOpen(body.window);
        p->window = p->shown ? body.window : WindowKey{};
        p->kind = body.kind;
        p->startX = int16_t(body.start & 0xFFFF);
        p->startY = int16_t(body.start >> 16);
        p->endX = int16_t(body.end & 0xFFFF);
        p->endY = int16_t(body.end >> 16);
    }
    p->color = body.color;
    accepted = true;
    return true;
}

void PointerBoard::WindowClosed(const WindowKey& key) {
    for (auto& [user, p] : pointers) {
        if (p.shown && p.window == key) {
            p.shown = false;
            p.window = {};
        }
    }
}

void PointerBoard::UserLeft(const std::string& user) {
    auto it = pointers.find(user);
    if (it == pointers.end()) return;
    const uint32_t color = it->second.color;
    pointers.erase(it);
    // A client hears of a departure only for a user who played a
    // character, and then by the character's name. The host tells everyone
    // else that this user's pointer is gone, as if he had taken it away.
    if (!isHost || !online || !sendOut || user == local) return;
    PointerBody body;
    body.user = user;
    body.color = color;
    net::NetMessage m;
    encodePointer(net::tags::PNTRR, body, m);
    sendOut(m);
}

}  // namespace lh::table
