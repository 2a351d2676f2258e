// Tokens and pointers on the Desktop: the board's windows are the
// Desktop's, a token under the mouse is a DesktopObject (a grip) that
// drags, turns and offers its menu, the glide runs on the 30 ms tick, and
// pointers are drawn and lit over the window they stand on. The session's
// token and pointer messages come here.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "platform/Scheduler.h"
#include "platform/Signal.h"
#include "table/PointerBoard.h"
#include "table/PointerDrawing.h"
#include "table/TokenBoard.h"
#include "ui/DesktopHooks.h"

namespace lh::net {
struct NetMessage;
class Session;
struct SessionPeer;
}  // namespace lh::net
namespace lh::render {
class Bitmap;
}
namespace lh::ui {
class Desktop;
class Window;
}  // namespace lh::ui

namespace lh::table {

class TokenGrip;

// Token menu ids.
enum TokenMenuId : int {
    kMenuDeleteToken = 1,
    kMenuDeleteAllTokens = 2,
    kMenuUnlockTokens = 3,
    kMenuLockTokens = 4,
    kMenuRotateRight = 5,
    kMenuRotateLeft = 6,
    kMenuAcceptMove = 7,
};

class TokenDesk final : public ui::PointerInput {
public:
    TokenDesk(ui::Desktop& desktop, net::Session* session, bool host);
    ~TokenDesk() override;

    TokenBoard& board() { return tokens; }
    PointerBoard& pointerBoard() { return pointers; }
    bool isHost() const { return host; }
    ui::Desktop& desk() { return home; }

    // PointerInput.
    bool HasPointer() override;
    void SetPointer(ui::Window* window, int kind, uint32_t start, uint32_t end, bool finish) override;
    void DrawPointersOn(ui::Window& window, render::RenderContext& context) override;
    // The local user's pointer colour (0x00BBGGRR), chosen here: kept, sent
    // to the others, and every mark of it redrawn.
    void SetPointerColor(uint32_t bgr);

    // The window of a key, and a key of a window.
    ui::Window* windowOf(const WindowKey& key);
    static WindowKey keyOf(const ui::Window& window);
    // The token's rectangle on the Desktop (its anchor's origin added).
    render::Rect desktopRect(const WindowKey& key, const Token& t);
    // Accepting a proposal: 1 moved, 2 deleted (it left the window).
    int AcceptProposal(const WindowKey& key, uint32_t id);
    // The pointer's origin on a window and the clip its drawing keeps to.
    void pointerOrigin(ui::Window& window, int32_t& x, int32_t& y, render::Rect& clip);

    // A trace line of where the token stands now, or that it is gone.
    void traceToken(const char* what, const WindowKey& key, uint32_t id);

private:
    void traceMessage(const net::NetMessage& m);
    void opened(ui::Window& window);
    void closed(ui::Window& window);
    ui::DesktopObject* objectAt(ui::Window& window, int32_t x, int32_t y);
    int dropped(ui::Window& window, uint32_t position, ui::DesktopObject& source);
    bool tick();
    void drawTokens(ui::Window& window, render::RenderContext& context);
    void drawPointer(ui::Window& window, const PointerState& p, render::RenderContext& context);
    void redrawPointerWindow(const PointerState* p);
    // A user's pointer colour changed here: his pointer and the strip's
    // mark of him show it, so the whole Desktop is drawn again.
    void colorChanged(const std::string& user, uint32_t bgr);
    // A user left: his pointer goes from every window here.
    void userLeft(const std::string& user);

    ui::Desktop& home;
    net::Session* session;
    bool host;
    TokenBoard tokens;
    PointerBoard pointers;
    std::map<WindowKey, std::unique_ptr<TokenPlace>> places;
    std::map<std::pair<WindowKey, uint32_t>, std::unique_ptr<TokenGrip>> grips;
    LitSquares litSquares;
    platform::TickSubscription glide;
    // Client: whose character each Identity in play is, so that the
    // departure of an Identity tells whose pointer goes.
    std::map<std::string, std::string> playerOf;
    platform::Subscription attached, openSub, closeSub, hitSub, dropSub, departSub, joinSub, inPlaySub, goneSub;
};

// The process's token desk while the maps run; null before and after.
TokenDesk* tokenDesk();

}  // namespace lh::table
