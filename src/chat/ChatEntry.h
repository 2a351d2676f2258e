// The one-line chat entry: two buffers swapped by Tab, a history of the last
// ten lines sent, a die result waiting to go with the next line, the typing
// state that the others see, and the table of what Return sends.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "chat/ChatWindow.h"
#include "platform/Scheduler.h"
#include "ui/ChatPort.h"
#include "ui/DesktopObject.h"
#include "ui/RulesetXml.h"
#include "ui/KeyboardFocus.h"

namespace lh::render {
class Bitmap;
}

namespace lh::chat {

class ChatEntry : public ui::DesktopObject, public ui::KeyboardTarget {
public:
    static constexpr size_t kMaxChars = 4095;
    static constexpr size_t kHistory = 10;
    static constexpr uint32_t kTypingIdleMs = 5000;

    ChatEntry(ChatWindow& window, ChatLink link);
    ~ChatEntry() override;

    void KeyEvent(int message, int code, int scanCode) override;
    void FocusGained() override { invalidate(); }
    void FocusLost() override { invalidate(); }

    // Return: builds the line by the keys held and posts it.
    void send(uint16_t modifiers);
    void attachDieResult(std::unique_ptr<ui::DieResult> result, const char* text);
    // Inserts text at the caret (paste, drops), if all of it fits.
    bool insert(const std::string& text);

    void markTyping();
    void endTyping();
    void setHostTyping(bool on);
    bool isTyping() const { return typing; }
    bool hostIsTyping() const { return hostTyping; }

    void Draw(render::RenderContext& context);
    int MouseButton(int message, uint32_t flags, uint32_t position) override;
    int MouseDrag(int message, uint32_t flags, uint32_t startPosition, uint32_t position) override;
    int MouseDrop(int message, uint32_t flags, uint32_t position, ui::DesktopObject* source) override;
    int GetDragData(ui::DragPayload& payload) override;

    const std::string& text() const { return buffers[current]; }
    size_t caret() const { return carets[current]; }
    ui::DieResult* pendingAttachment() const { return pending[current].get(); }
    std::unique_ptr<ui::DieResult> takePendingAttachment() {
        invalidate();
        return std::move(pending[current]);
    }
    const std::deque<std::string>& sentLines() const { return history; }
    void setText(std::string text);
    // The first of the two buffers becomes the current one.
    void useFirstBuffer();

    // The modifier keys held now (platform::KeyModifier bits).
    std::function<uint16_t()> heldKeys;
    // The user name that speaks without an Identity.
    std::function<std::string()> userName;
    // Pastes: the clipboard's text, 8-bit.
    std::function<std::string()> clipboard;
    // The state icon's place is redrawn when the modifiers change.
    void invalidate() const;
    // Where the wait icon and the state icon stand (the chat's placement).
    ui::Point waitIconAt, stateIconAt;

private:
    void keyDown(int code, int scanCode);
    void character(int code, int scanCode);
    void backspace();
    void escape();
    void swapBuffers();
    void historyStep(int direction);
    void wordMove(int direction);
    void clearCurrent();
    void resolve();

    ChatWindow& window;
    ChatLink link;
    std::array<std::string, 2> buffers;
    int current = 0;
    std::array<size_t, 2> carets{};
    std::array<std::unique_ptr<ui::DieResult>, 2> pending;
    std::deque<std::string> history;
    size_t historyPosition = 0;  // == history.size(): the line being typed
    bool typing = false;
    bool hostTyping = false;
    int lastDownScan = 0;  // scan code of the last key down
    platform::Timer typingTimer;

    bool resolved = false;
    render::Font* font = nullptr;
    render::Bitmap* waitIcon = nullptr;
    render::Bitmap* dieIcon = nullptr;
    render::Bitmap* stateIcons[4] = {};  // speak, action, emote, ooc
    uint32_t dragStart = 0;
};

}  // namespace lh::chat
