// Tokens on windows and in the store, and the messages that keep them the
// same on every machine. The board knows windows by their key (class and
// record) and sees an open window's geometry through a TokenPlace, so that
// it runs without a Desktop: the Desktop's side (TokenDesk) opens and
// closes places and draws what the board holds.
//
// The host is the truth: a client sends a request and shows nothing until
// the host's answer comes back; a window whose class is not sharable
// changes here alone and sends nothing. Every request a client sends is
// checked on the host (known window, known id, a picture name below the
// working directory, an anchor among the window's controls) and dropped
// quietly otherwise.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "net/NetMessage.h"
#include "render/Bitmap.h"
#include "render/Rect.h"
#include "table/TokenLibrary.h"
#include "table/TokenMessages.h"

namespace lh::table {

// An open window as tokens see it. Rectangles and origins are Desktop
// coordinates; anchor indexes are 1-based places in the window's controls.
class TokenPlace {
public:
    virtual ~TokenPlace() = default;
    virtual bool sharable() const = 0;
    virtual render::Rect windowRect() const = 0;
    virtual int32_t controlCount() const = 0;
    // The control's rectangle relative to the window's top left.
    virtual render::Rect controlRect(int32_t index) const = 0;
    // GetOrigin of the control (a map's includes its scroll), or of the
    // window for index 0.
    virtual void origin(int32_t index, int32_t& x, int32_t& y) const = 0;
    // Something the tokens show changed: draw the window again.
    virtual void changed() = 0;
    // Only this part (Desktop coordinates) shows something new.
    virtual void changedArea(const render::Rect&) { changed(); }
};

struct Token {
    TokenDef* def = nullptr;
    render::Rect rect;           // relative to the anchor's origin
    int32_t anchorIndex = 0;     // 0: the window
    uint32_t id = 0;
    int32_t shownX = 0, shownY = 0;
    int rotation = 0;
    bool locked = false;
    int32_t pendingX = 0, pendingY = 0;  // a proposal; 0, 0 none
    bool dragging = false;
    uint32_t lastMouse = 0;
    // The turned copy, made once for a rotation (and again when the
    // picture arrives late).
    std::unique_ptr<render::Bitmap> rotated;
    uint32_t rotatedFrom = 0;  // the picture's generation it was made from

    void SetRotation(int step);
    bool hasProposal() const { return pendingX != 0 || pendingY != 0; }
};

enum class BoardRole { Host, Client, Alone };

class TokenBoard {
public:
    struct Outbox {
        std::function<void(const net::NetMessage&)> toHost;
        std::function<void(const net::NetMessage&)> toAll;
        std::function<void(const net::NetMessage&, const std::string& user)> toUser;
    };

    explicit TokenBoard(TokenLibrary& library) : lib(library) {}

    TokenLibrary& library() { return lib; }
    void setRole(BoardRole r) { role = r; }
    BoardRole currentRole() const { return role; }
    void setOutbox(Outbox o) { out = std::move(o); }

    // A window opened: it takes the tokens kept under its key. Closing
    // keeps its tokens in the store (unless the program ends).
    void Open(const WindowKey& key, TokenPlace& place);
    void Close(const WindowKey& key);
    void setClosing(bool c) { closing = c; }

    // What a user does on an open window. x, y are relative to the window's
    // top left when `anchorIndex` is -1 (the control under the point
    // anchors it), else relative to that anchor's origin.
    void AddToken(const WindowKey& key, TokenDef& def, int32_t x, int32_t y, int32_t anchorIndex);
    void MoveToken(const WindowKey& key, int32_t x, int32_t y, uint32_t id, bool proposal, int32_t anchorIndex);
    void DeleteToken(const WindowKey& key, uint32_t id);
    void DeleteAllTokens(const WindowKey& key);
    void LockTokens(const WindowKey& key, bool locked);
    void RotateToken(const WindowKey& key, uint32_t id, int rotation);

    // A received message. False with the reason when its body is malformed;
    // a well-formed request that is refused answers true and does nothing.
    // `fromUser` is the sender's name on the host.
    bool handle(const net::NetMessage& m, const std::string& fromUser, std::string& why);

    // A user joined: the library's pictures that are not built in, then
    // every token of the store and of the open windows, to him alone.
    void SendAll(const std::string& user);

    // One 30 ms tick of gliding; windows are told of the parts where
    // tokens stepped.
    void Glide();

    // Lookups for drawing, input and tests.
    std::vector<std::unique_ptr<Token>>* tokensOf(const WindowKey& key);
    Token* find(const WindowKey& key, uint32_t id);
    // The token kept for a window that is not open here.
    const Token* findStored(const WindowKey& key, uint32_t id) { return storeFind(key, id); }
    TokenPlace* placeOf(const WindowKey& key);
    bool windowLocked(const WindowKey& key) const;
    const std::map<std::string, std::vector<std::unique_ptr<Token>>>& store() const { return stored; }
    uint32_t lastId() const { return nextId; }
    // Tokens still to be drawn in the window's frame: origin of the token's
    // anchor (or of the window).
    void anchorOrigin(const WindowKey& key, const Token& t, int32_t& x, int32_t& y);
    // Where the token's picture and shadow cover the Desktop at its shown
    // place (a turned copy's margin included).
    render::Rect shownArea(const WindowKey& key, const Token& t);

private:
    struct OpenWindow {
        TokenPlace* place = nullptr;
        bool locked = false;
        std::vector<std::unique_ptr<Token>> tokens;
    };

    OpenWindow* openWindow(const WindowKey& key);
    // From window-relative (x, y) to the anchor's frame; finds the anchor.
    void findAnchor(OpenWindow& w, int32_t& x, int32_t& y, int32_t& anchorIndex);
    int32_t checkedAnchor(const OpenWindow& w, int32_t anchorIndex) const;
    static std::unique_ptr<Token> newToken(TokenDef& def, int32_t x, int32_t y, uint32_t id, int32_t anchorIndex);
    // A new token on top of an open window, or kept for a closed one.
    Token& make(OpenWindow& w, TokenDef& def, int32_t x, int32_t y, uint32_t id, int32_t anchorIndex);
    Token& keep(const WindowKey& key, TokenDef& def, int32_t x, int32_t y, uint32_t id, int32_t anchorIndex);
    void applyMove(OpenWindow& w, Token& t, int32_t x, int32_t y, bool proposal, int32_t anchorIndex);
    void remove(OpenWindow& w, uint32_t id);
    uint32_t takeId() { return ++nextId; }
    // Who applies a change of a sharable window's tokens: a client only
    // asks the host; the host applies it and tells everyone. Other windows
    // apply everything at home.
    bool asksHost(const OpenWindow& w) const;
    bool tellsAll(const OpenWindow& w) const;
    void sendToHost(const net::NetMessage& m);
    void sendToAll(const net::NetMessage& m);
    template <class Body>
    using Encoder = void (*)(net::MessageTag, const Body&, net::NetMessage&);
    // A change asked for on an open window: sent to the host as `ask`, or
    // applied and then told to everyone as `tell`.
    template <class Body>
    void change(const OpenWindow& w, Encoder<Body> encode, net::MessageTag ask, net::MessageTag tell, const Body& body,
                const std::function<void()>& apply);
    // The host passes on a request it applied to the store.
    template <class Body>
    void relay(Encoder<Body> encode, net::MessageTag tag, const Body& body);
    void sendAdd(net::MessageTag tag, const TokenDef& def, const WindowKey& key, const Token& t,
                 const std::string* user);

    bool handleAdd(const net::NetMessage& m, std::string& why);
    bool handleDelete(const net::NetMessage& m, std::string& why);
    bool handleMove(const net::NetMessage& m, std::string& why);
    bool handleTurn(const net::NetMessage& m, std::string& why);
    bool handleLock(const net::NetMessage& m, std::string& why);

    std::vector<std::unique_ptr<Token>>& storeList(const WindowKey& key) { return stored[key.storeKey()]; }
    Token* storeFind(const WindowKey& key, uint32_t id);

    TokenLibrary& lib;
    BoardRole role = BoardRole::Alone;
    Outbox out;
    std::map<WindowKey, OpenWindow> open;
    std::map<std::string, std::vector<std::unique_ptr<Token>>> stored;
    bool closing = false;
    uint32_t nextId = 0;
};

}  // namespace lh::table
