// Token and pointer message bodies; see TokenMessages.h.
#include "table/TokenMessages.h"

#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"

namespace lh::table {

namespace {

// Each body's layout is written once, as a template over one of these two:
// the same walk writes a body or reads it, so that the two cannot drift
// apart.
class BodyWriter {
public:
    explicit BodyWriter(net::NetMessage& m) : w(m) {}
    void text(const std::string& s, size_t) { w.text(s); }
    void window(const WindowKey& k) { w.text(k.className).text(k.recordName); }
    void i32(int32_t v) { w.i32(v); }
    void u32(uint32_t v) { w.u32(v); }
    void s8(int8_t v) { w.u8(uint8_t(v)); }
    void flag(bool b, const char*) { w.u8(b ? 1 : 0); }

private:
    net::MessageWriter w;
};

class BodyReader {
public:
    explicit BodyReader(const net::NetMessage& m) : r(m) {}
    void text(std::string& s, size_t maxLength) { s = r.text(maxLength + 1); }
    void window(WindowKey& k) {
        text(k.className, kMaxWindowName);
        text(k.recordName, kMaxWindowName);
    }
    void i32(int32_t& v) { v = r.i32(); }
    void u32(uint32_t& v) { v = r.u32(); }
    void s8(int8_t& v) { v = int8_t(r.u8()); }
    // A flag byte is 0 or 1; anything else refuses the body.
    void flag(bool& b, const char* what) {
        const uint8_t v = r.u8();
        if (r.ok() && v > 1 && badFlag.empty()) badFlag = std::string("the ") + what + " byte is neither 0 nor 1";
        b = v == 1;
    }
    // The first fault, a bad flag before a short body behind it.
    bool finish(std::string& why) const {
        if (badFlag.empty()) return r.finish(why);
        why = badFlag;
        return false;
    }

private:
    net::MessageReader r;
    std::string badFlag;
};

// The layouts, called with a BodyWriter and a const body, or with a
// BodyReader and a body to fill.
void addLayout(auto& io, auto& a, net::MessageTag tag) {
    io.text(a.name, kMaxTokenName);
    io.window(a.window);
    io.i32(a.anchorIndex);
    io.i32(a.x);
    io.i32(a.y);
    if (tag != net::tags::TOKAR) return;
    io.u32(a.id);
    io.flag(a.hostOnly, "host-only");
}

constexpr auto refLayout = [](auto& io, auto& d) {
    io.window(d.window);
    io.u32(d.id);
};

constexpr auto moveLayout = [](auto& io, auto& p) {
    io.window(p.window);
    io.i32(p.anchorIndex);
    io.i32(p.x);
    io.i32(p.y);
    io.flag(p.proposal, "proposal");
    io.u32(p.id);
};

constexpr auto turnLayout = [](auto& io, auto& o) {
    io.window(o.window);
    io.u32(o.id);
    io.s8(o.rotation);
};

constexpr auto lockLayout = [](auto& io, auto& l) {
    io.window(l.window);
    io.u32(l.id);
    io.flag(l.locked, "locked");
};

constexpr auto pointerLayout = [](auto& io, auto& p) {
    io.text(p.user, kMaxWindowName);
    io.window(p.window);
    io.i32(p.kind);
    io.u32(p.start);
    io.u32(p.end);
    io.u32(p.color);
};

template <class Body, class Layout>
void encodeWith(net::MessageTag tag, const Body& body, net::NetMessage& out, Layout layout) {
    out = net::NetMessage(tag);
    BodyWriter w(out);
    layout(w, body);
}

template <class Body, class Layout>
bool decodeWith(const net::NetMessage& m, Body& body, std::string& why, Layout layout) {
    BodyReader r(m);
    layout(r, body);
    return r.finish(why);
}

}  // namespace

void encodeLibraryEntry(std::string_view name, net::NetMessage& out) {
    out = net::NetMessage(net::tags::TLIBR);
    net::MessageWriter(out).text(name);
}

bool decodeLibraryEntry(const net::NetMessage& m, std::string& name, std::string& why) {
    BodyReader r(m);
    r.text(name, kMaxTokenName);
    return r.finish(why);
}

void encodeTokenAdd(net::MessageTag tag, const TokenAdd& a, net::NetMessage& out) {
    encodeWith(tag, a, out, [tag](auto& io, auto& body) { addLayout(io, body, tag); });
}

bool decodeTokenAdd(const net::NetMessage& m, TokenAdd& a, std::string& why) {
    a.id = 0;
    a.hostOnly = false;
    return decodeWith(m, a, why, [&m](auto& io, auto& body) { addLayout(io, body, m.tag); });
}

void encodeTokenDelete(net::MessageTag tag, const TokenRef& d, net::NetMessage& out) { encodeWith(tag, d, out, refLayout); }

bool decodeTokenDelete(const net::NetMessage& m, TokenRef& d, std::string& why) { return decodeWith(m, d, why, refLayout); }

void encodeTokenMove(net::MessageTag tag, const TokenMove& p, net::NetMessage& out) { encodeWith(tag, p, out, moveLayout); }

bool decodeTokenMove(const net::NetMessage& m, TokenMove& p, std::string& why) { return decodeWith(m, p, why, moveLayout); }

void encodeTokenTurn(net::MessageTag tag, const TokenTurn& o, net::NetMessage& out) { encodeWith(tag, o, out, turnLayout); }

bool decodeTokenTurn(const net::NetMessage& m, TokenTurn& o, std::string& why) { return decodeWith(m, o, why, turnLayout); }

void encodeTokenLock(const TokenLock& l, net::NetMessage& out) { encodeWith(net::tags::TOKLR, l, out, lockLayout); }

bool decodeTokenLock(const net::NetMessage& m, TokenLock& l, std::string& why) { return decodeWith(m, l, why, lockLayout); }

void encodePointer(net::MessageTag tag, const PointerBody& p, net::NetMessage& out) { encodeWith(tag, p, out, pointerLayout); }

bool decodePointer(const net::NetMessage& m, PointerBody& p, std::string& why) { return decodeWith(m, p, why, pointerLayout); }

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
