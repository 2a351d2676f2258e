// Token and pointer message bodies; see TokenMessages.h.
#include "table/TokenMessages.h"

#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"

namespace lh::table {

namespace {

void writeWindow(net::MessageWriter& w, const WindowKey& k) { w.text(k.className).text(k.recordName); }

void readWindow(net::MessageReader& r, WindowKey& k) {
    k.className = r.text(kMaxWindowName + 1);
    k.recordName = r.text(kMaxWindowName + 1);
}

bool readFlag(net::MessageReader& r, bool& flag, const char* what, std::string& why) {
    uint8_t b = r.u8();
    if (r.ok() && b > 1) {
        why = std::string("the ") + what + " byte is neither 0 nor 1";
        return false;
    }
    flag = b == 1;
    return true;
}

}  // namespace

void encodeLibraryEntry(std::string_view name, net::NetMessage& out) {
    out = net::NetMessage(net::tags::TLIBR);
    net::MessageWriter(out).text(name);
}

bool decodeLibraryEntry(const net::NetMessage& m, std::string& name, std::string& why) {
    net::MessageReader r(m);
    name = r.text(kMaxTokenName + 1);
    return r.finish(why);
}

void encodeTokenAdd(net::MessageTag tag, const TokenAdd& a, net::NetMessage& out) {
    out = net::NetMessage(tag);
    net::MessageWriter w(out);
    w.text(a.name);
    writeWindow(w, a.window);
    w.i32(a.anchorIndex).i32(a.x).i32(a.y);
    if (tag == net::tags::TOKAR) w.u32(a.id).u8(a.hostOnly ? 1 : 0);
}

bool decodeTokenAdd(const net::NetMessage& m, TokenAdd& a, std::string& why) {
    net::MessageReader r(m);
    a.name = r.text(kMaxTokenName + 1);
    readWindow(r, a.window);
    a.anchorIndex = r.i32();
    a.x = r.i32();
    a.y = r.i32();
    a.id = 0;
    a.hostOnly = false;
    if (m.tag == net::tags::TOKAR) {
        a.id = r.u32();
        if (!readFlag(r, a.hostOnly, "host-only", why)) return false;
    }
    return r.finish(why);
}

void encodeTokenDelete(net::MessageTag tag, const TokenRef& d, net::NetMessage& out) {
    out = net::NetMessage(tag);
    net::MessageWriter w(out);
    writeWindow(w, d.window);
    w.u32(d.id);
}

bool decodeTokenDelete(const net::NetMessage& m, TokenRef& d, std::string& why) {
    net::MessageReader r(m);
    readWindow(r, d.window);
    d.id = r.u32();
    return r.finish(why);
}

void encodeTokenMove(net::MessageTag tag, const TokenMove& p, net::NetMessage& out) {
    out = net::NetMessage(tag);
    net::MessageWriter w(out);
    writeWindow(w, p.window);
    w.i32(p.anchorIndex).i32(p.x).i32(p.y).u8(p.proposal ? 1 : 0).u32(p.id);
}

bool decodeTokenMove(const net::NetMessage& m, TokenMove& p, std::string& why) {
    net::MessageReader r(m);
    readWindow(r, p.window);
    p.anchorIndex = r.i32();
    p.x = r.i32();
    p.y = r.i32();
    if (!readFlag(r, p.proposal, "proposal", why)) return false;
    p.id = r.u32();
    return r.finish(why);
}

void encodeTokenTurn(net::MessageTag tag, const TokenTurn& o, net::NetMessage& out) {
    out = net::NetMessage(tag);
    net::MessageWriter w(out);
    writeWindow(w, o.window);
    w.u32(o.id).u8(uint8_t(o.rotation));
}

bool decodeTokenTurn(const net::NetMessage& m, TokenTurn& o, std::string& why) {
    net::MessageReader r(m);
    readWindow(r, o.window);
    o.id = r.u32();
    o.rotation = int8_t(r.u8());
    return r.finish(why);
}

void encodeTokenLock(const TokenLock& l, net::NetMessage& out) {
    out = net::NetMessage(net::tags::TOKLR);
    net::MessageWriter w(out);
    writeWindow(w, l.window);
    w.u32(l.id).u8(l.locked ? 1 : 0);
}

bool decodeTokenLock(const net::NetMessage& m, TokenLock& l, std::string& why) {
    net::MessageReader r(m);
    readWindow(r, l.window);
    l.id = r.u32();
    if (!readFlag(r, l.locked, "locked", why)) return false;
    return r.finish(why);
}

void encodePointer(net::MessageTag tag, const PointerBody& p, net::NetMessage& out) {
    out = net::NetMessage(tag);
    net::MessageWriter w(out);
    w.text(p.user);
    writeWindow(w, p.window);
    w.i32(p.kind).u32(p.start).u32(p.end).u32(p.color);
}

bool decodePointer(const net::NetMessage& m, PointerBody& p, std::string& why) {
    net::MessageReader r(m);
    p.user = r.text(kMaxWindowName + 1);
    readWindow(r, p.window);
    p.kind = r.i32();
    p.start = r.u32();
    p.end = r.u32();
    p.color = r.u32();
    return r.finish(why);
}

bool isSafeTokenName(std::string_view name) {
    if (name.empty() || name.size() > kMaxTokenName) return false;
    if (name[0] == '/' || name[0] == '\\') return false;
    if (name.size() >= 2 && name[1] == ':') return false;  // a drive letter
    size_t start = 0;
    while (start <= name.size()) {
        size_t end = name.find_first_of("/\\", start);
        if (end == std::string_view::npos) end = name.size();
        std::string_view piece = name.substr(start, end - start);
        if (piece.empty() || piece == "." || piece == "..") return false;
        start = end + 1;
    }
    for (char c : name)
        if (static_cast<unsigned char>(c) < 32) return false;
    return true;
}

}  // namespace lh::table
