// The chat view: at most 50 lines, oldest first, drawn from the bottom of
// the chat area up; a view scrolled back stays on its line while new ones
// arrive. `post` is the way for a line meant for everybody (a client's line
// shows when the host sends it back), `add` for one that stays here.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "chat/ChatLine.h"
#include "chat/ChatWire.h"
#include "db/SessionMode.h"
#include "render/Bitmap.h"
#include "render/DeviceResource.h"
#include "ui/DesktopObject.h"

namespace lh::net {
class Session;
}

namespace lh::chat {

// Where lines travel: the way in, and the session (null without one).
struct ChatLink {
    db::SessionMode mode = db::SessionMode::LocalCharacters;
    net::Session* session = nullptr;
    bool isHost() const { return mode == db::SessionMode::Host; }
};

// Menu ids of the chat's radial menu.
enum ChatMenuId : int {
    kMenuDisplaySum = 1,
    kMenuReset,
    kMenuHalve,
    kMenuDouble,
    kMenuNegate,
    kMenuClear,
    kMenuPrompt,
    kMenuLog,
    kMenuHalt,
};

class ChatWindow : public ui::DesktopObject {
public:
    static constexpr size_t kMaxLines = 50;
    static constexpr int32_t kLineGap = 5;
    static constexpr int kPageLines = 5;

    explicit ChatWindow(ChatLink link);
    ~ChatWindow() override;
    ChatWindow(const ChatWindow&) = delete;
    ChatWindow& operator=(const ChatWindow&) = delete;

    void post(std::unique_ptr<ChatLine> line);
    void add(std::unique_ptr<ChatLine> line);
    void clear();
    // A vote on the poll of that id; false when no line holds it (a poll
    // pushed out or cleared away).
    bool setVote(uint32_t pollId, const std::string& identity, uint32_t value);
    // A line as the chat messages carry it, made into a ChatLine.
    std::unique_ptr<ChatLine> lineFromMessage(const ChatMessage& message) const;
    ChatMessage messageFromLine(const ChatLine& line) const;

    // Scrolling: the line at the bottom of the view moves by `lines`,
    // negative towards the oldest; reaching the newest follows it again.
    void scrollBy(int lines);
    void scrollToEnd();
    // The line at the bottom of the view, or -1 while it follows the newest.
    int scrollPosition() const { return scrollBottom; }
    const std::deque<std::unique_ptr<ChatLine>>& allLines() const { return lines; }

    // The frame (POSITION) that the chat invalidates, and the area.
    render::Rect frameRect;
    // Paints the lines again at the next draw and invalidates their area.
    void invalidate() const;
    // The frame and its highlight changed, not the lines.
    void invalidateFrame() const;
    // A frame went to the screen: traces "chat drawn" with the newest line
    // when the lines were painted for it, so that a watcher sees the moment
    // a line is on the screen, not merely in the picture.
    void framePresented();

    // Paints lines that changed straight onto the screen when the frame
    // draws the whole area; otherwise blits the kept picture of the lines,
    // bringing it up to date first: a frame that changes nothing in the
    // chat costs a blit.
    void Draw(render::RenderContext& context);
    // How often the lines were laid out and painted (for tests).
    uint32_t paintCount() const { return paints; }
    // The frame and, while `overChat`, its highlight; drawn before the lines.
    void DrawFrame(render::RenderContext& context, uint32_t desktopLight, uint32_t frameLight, bool overChat);

    int MouseButton(int message, uint32_t flags, uint32_t position) override;
    int MouseWheel(int notches, uint32_t position) override;
    int MouseDrag(int message, uint32_t flags, uint32_t startPosition, uint32_t position) override;
    int MouseDrop(int message, uint32_t flags, uint32_t position, ui::DesktopObject* source) override;
    int GetDragData(ui::DragPayload& payload) override;
    std::unique_ptr<ui::MenuModel> BuildMenu() override;
    // Over a die result the cursor says it can be picked up.
    void HoverChanged(bool entered) override;
    void HoverMove(uint32_t position) override;
    void MenuSelected(int id) override;

    // The line whose attachment holds the point (Desktop coordinates).
    ChatLine* lineAt(int32_t x, int32_t y) const;

    // Hooks the chat's owner fills: the entry's attachDieResult, the log's
    // switch and state, the host's bell to all.
    std::function<void(std::unique_ptr<ui::DieResult>, const char*)> attachDieResult;
    std::function<void()> toggleLog;
    std::function<void(uint8_t)> ringBell;
    bool logging = false;
    // Each line added here, as the log writes it (the host logs).
    std::function<void(const ChatLine&)> logLine;

    ChatLink link;
    ChatLine* menuLine = nullptr;

private:
    // A prompt or halt mark: a blank line in "narratorfont" with the icon.
    void postMark(const char* indicator);
    ui::DieResult* dieResultOf(ChatLine* line) const;
    // Lays out and paints the lines from the bottom of `area` up.
    void paintLines(render::RenderContext& context, const render::Rect& area, const render::Rect& clip);
    // The lines as painted now are what the next presented frame shows.
    void notePainted();

    // A device reset empties the picture: paint it again.
    struct DeviceWatch final : render::DeviceResource {
        explicit DeviceWatch(ChatWindow& w) : window(w) {}
        void OnDeviceLost() override { window.pictureStale = true; }
        void OnDeviceReset() override { window.pictureStale = true; }
        ChatWindow& window;
    };

    std::deque<std::unique_ptr<ChatLine>> lines;
    int scrollBottom = -1;
    mutable bool dirty = true;
    // The kept picture lags behind the lines (they went straight on the
    // screen), or was never painted.
    bool pictureStale = true;
    uint32_t paints = 0;
    bool paintedUnshown = false;
    std::string paintedNewest;
    render::Bitmap cache;
    DeviceWatch deviceWatch{*this};
    bool dragStarted = false;
    bool overDieResult = false;
    int32_t dragValue = 0;
    std::string dragText;
};

// A prompt line or a halt line (Gamemaster marks), as the menu and the stop
// key post them.
std::unique_ptr<ChatLine> makeMarkLine(const char* indicator);

}  // namespace lh::chat
