// The bodies of the token and pointer messages, read with bounds checks:
//   TLIBR        name                                   a library picture
//   TOKAQ        name, class, record, anchor, x, y      drop a token
//   TOKAR        ... as TOKAQ, id, hostOnly (1 byte)    a token was made
//   TOKDQ/TOKDR  class, record, id                      delete
//   TOKPQ/TOKPR  class, record, anchor, x, y, proposal (1 byte), id   move
//   TOKOQ/TOKOR  class, record, id, rotation (signed byte)            turn
//   TOKLR        class, record, id, locked (1 byte)     lock
//   PNTRQ/PNTRR  user, class, record, kind, start, end, colour        pointer
// Numbers are 32-bit little-endian, texts zero-terminated, no alignment.
// A body must read exactly: a short one, one with bytes behind its end, or
// a text without its zero is refused with the reason.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "net/NetMessage.h"

namespace lh::table {

// Longest token name and window class or record name on the wire.
constexpr size_t kMaxTokenName = 255;
constexpr size_t kMaxWindowName = 255;

// Where a window is on every machine.
struct WindowKey {
    std::string className;
    std::string recordName;
    bool operator==(const WindowKey&) const = default;
    auto operator<=>(const WindowKey&) const = default;
    // "class:record", the key of the token store.
    std::string storeKey() const { return className + ":" + recordName; }
};

struct TokenAdd {
    std::string name;
    WindowKey window;
    int32_t anchorIndex = 0;
    int32_t x = 0, y = 0;
    uint32_t id = 0;        // TOKAR only
    bool hostOnly = false;  // TOKAR only
    bool operator==(const TokenAdd&) const = default;
};

struct TokenRef {
    WindowKey window;
    uint32_t id = 0;
    bool operator==(const TokenRef&) const = default;
};

struct TokenMove {
    WindowKey window;
    int32_t anchorIndex = 0;
    int32_t x = 0, y = 0;
    bool proposal = false;
    uint32_t id = 0;
    bool operator==(const TokenMove&) const = default;
};

struct TokenTurn {
    WindowKey window;
    uint32_t id = 0;
    int8_t rotation = 0;  // may lie a step out of 0..7; receivers wrap it
    bool operator==(const TokenTurn&) const = default;
};

struct TokenLock {
    WindowKey window;
    uint32_t id = 0;
    bool locked = false;
    bool operator==(const TokenLock&) const = default;
};

struct PointerBody {
    std::string user;
    WindowKey window;  // both empty: the user has no pointer
    int32_t kind = 0;
    uint32_t start = 0, end = 0;  // packed, relative to the pointer's origin
    uint32_t color = 255;         // 0x00BBGGRR
    bool operator==(const PointerBody&) const = default;
};

void encodeLibraryEntry(std::string_view name, net::NetMessage& out);
bool decodeLibraryEntry(const net::NetMessage& m, std::string& name, std::string& why);

// `tag` TOKAQ writes no id and no hostOnly; TOKAR writes both.
void encodeTokenAdd(net::MessageTag tag, const TokenAdd& a, net::NetMessage& out);
bool decodeTokenAdd(const net::NetMessage& m, TokenAdd& a, std::string& why);

void encodeTokenDelete(net::MessageTag tag, const TokenRef& d, net::NetMessage& out);
bool decodeTokenDelete(const net::NetMessage& m, TokenRef& d, std::string& why);

void encodeTokenMove(net::MessageTag tag, const TokenMove& p, net::NetMessage& out);
bool decodeTokenMove(const net::NetMessage& m, TokenMove& p, std::string& why);

void encodeTokenTurn(net::MessageTag tag, const TokenTurn& o, net::NetMessage& out);
bool decodeTokenTurn(const net::NetMessage& m, TokenTurn& o, std::string& why);

void encodeTokenLock(const TokenLock& l, net::NetMessage& out);
bool decodeTokenLock(const net::NetMessage& m, TokenLock& l, std::string& why);

void encodePointer(net::MessageTag tag, const PointerBody& p, net::NetMessage& out);
bool decodePointer(const net::NetMessage& m, PointerBody& p, std::string& why);

// A token name that may be read from disk: relative, with no ".." piece and
// no empty piece, '/' or '\' as separators. The wire's names are checked
// with it before anything is loaded or fetched.
bool isSafeTokenName(std::string_view name);

}  // namespace lh::table
