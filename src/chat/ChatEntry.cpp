// The chat entry: keys, the send table, typing, attachments, drawing.
//
// Index: keys; sending; typing; attachments and drops; drawing.
#include "chat/ChatEntry.h"

#include <algorithm>

#include "chat/ScanCodes.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"
#include "platform/Events.h"
#include "render/Bitmap.h"
#include "render/GraphicsDevice.h"
#include "render/RenderContext.h"
#include "ui/Desktop.h"
#include "ui/DragPayload.h"
#include "ui/Identities.h"
#include "ui/RulesetData.h"

namespace lh::chat {

namespace {

// Virtual-key codes the entry acts on.
constexpr int kBackspace = 0x08, kTab = 0x09, kReturn = 0x0D, kEscape = 0x1B, kPageUp = 0x21, kPageDown = 0x22,
              kEnd = 0x23, kHome = 0x24, kLeft = 0x25, kUp = 0x26, kRight = 0x27, kDown = 0x28, kDelete = 0x2E,
              kKeyV = 0x56;

}  // namespace

ChatEntry::ChatEntry(ChatWindow& w, ChatLink l) : window(w), link(l) {
    typingTimer.setHandler([this] { endTyping(); });
}

ChatEntry::~ChatEntry() {
    if (ui::fallbackKeyboardTarget() == this) ui::setFallbackKeyboardTarget(nullptr);
    if (ui::KeyboardFocus() == this) ui::SetKeyboardFocus(nullptr);
}

void ChatEntry::invalidate() const {
    render::Rect r = render::unite(window.frameRect, rect);
    render::GraphicsDevice::Get().Invalidate(&r);
}

// Section: keys.

void ChatEntry::KeyEvent(int message, int code, int scanCode) {
    if (link.mode == db::SessionMode::LocalCharacters || ui::desktop().IsModal()) return;
    if (message == ui::kKeyDownMessage) {
        keyDown(code, scanCode);
    } else if (message == ui::kCharMessage) {
        character(code, scanCode);
    }
    invalidate();
}

void ChatEntry::keyDown(int code, int scanCode) {
    const uint16_t held = heldKeys ? heldKeys() : 0;
    lastDownScan = scanCode;
    if (scanCode == kScanStopKey) {
        // The Gamemaster's stop and prompt key: it never types.
        if (link.isHost()) {
            const bool prompt = (held & platform::ModCtrl) != 0;
            window.post(makeMarkLine(prompt ? "indicator_prompt" : "indicator_stop"));
            if (!prompt && link.session) link.session->sendToAll(encodeBell(1));
        }
        return;
    }
    std::string& text = buffers[current];
    size_t& caretAt = carets[current];
    if (code != kUp && code != kDown) historyPosition = history.size();
    switch (code) {
    case kReturn: send(held); break;
    case kPageUp: window.scrollBy(-ChatWindow::kPageLines); break;
    case kPageDown: window.scrollBy(ChatWindow::kPageLines); break;
    case kHome: caretAt = 0; break;
    case kEnd: caretAt = text.size(); break;
    case kLeft:
    case kRight: {
        const int direction = code == kLeft ? -1 : 1;
        if (held & platform::ModShift) {
            ui::identities().step(direction);
        } else if (held & platform::ModCtrl) {
            wordMove(direction);
        } else if (direction < 0 && caretAt > 0) {
            --caretAt;
        } else if (direction > 0 && caretAt < text.size()) {
            ++caretAt;
        }
        break;
    }
    case kUp: historyStep(-1); break;
    case kDown: historyStep(1); break;
    case kDelete:
        markTyping();
        if (pending[current] && caretAt >= text.size()) {
            pending[current].reset();
        } else if (caretAt < text.size()) {
            text.erase(caretAt, 1);
        }
        break;
    // The platform gives these keys no character of their own.
    case kBackspace: backspace(); break;
    case kTab: swapBuffers(); break;
    case kEscape: escape(); break;
    case kKeyV:
        if ((held & platform::ModCtrl) && clipboard) insert(clipboard());
        break;
    default: break;
    }
}

void ChatEntry::character(int code, int scanCode) {
    // A character carries its key's scan code; one typed without a key (a
    // script's text) may not, and counts as from the key pressed last.
    const int scan = scanCode ? scanCode : lastDownScan;
    lastDownScan = 0;
    if (scan == kScanStopKey) return;
    std::string& text = buffers[current];
    if (scan == kScanSlashKey && text.empty()) {
        // "/" on its key, whatever the layout puts there.
        markTyping();
        text = "/";
        carets[current] = 1;
        return;
    }
    if (code < 0x20 || code > 0xFF || code == 0x7F) return;  // controls came as keys
    markTyping();
    if (text.size() >= kMaxChars) return;
    text.insert(carets[current], 1, char(code));
    ++carets[current];
}

void ChatEntry::backspace() {
    markTyping();
    std::string& text = buffers[current];
    if (carets[current] > 0) {
        text.erase(carets[current] - 1, 1);
        --carets[current];
    }
    if (text.empty()) endTyping();
}

void ChatEntry::escape() {
    pending[current].reset();
    clearCurrent();
    endTyping();
}

void ChatEntry::swapBuffers() { current = 1 - current; }

void ChatEntry::useFirstBuffer() {
    current = 0;
    invalidate();
}

void ChatEntry::historyStep(int direction) {
    if (direction < 0) {
        if (historyPosition == 0 || history.empty()) return;
        --historyPosition;
    } else {
        if (historyPosition >= history.size()) return;
        ++historyPosition;
    }
    buffers[current] = historyPosition < history.size() ? history[historyPosition] : std::string();
    carets[current] = buffers[current].size();
}

void ChatEntry::wordMove(int direction) {
    const std::string& text = buffers[current];
    size_t& at = carets[current];
    if (direction < 0) {
        while (at > 0 && text[at - 1] == ' ') --at;
        while (at > 0 && text[at - 1] != ' ') --at;
    } else {
        while (at < text.size() && text[at] != ' ') ++at;
        while (at < text.size() && text[at] == ' ') ++at;
    }
}

void ChatEntry::clearCurrent() {
    buffers[current].clear();
    carets[current] = 0;
}

void ChatEntry::setText(std::string t) {
    if (t.size() > kMaxChars) t.resize(kMaxChars);
    buffers[current] = std::move(t);
    carets[current] = buffers[current].size();
    invalidate();
}

bool ChatEntry::insert(const std::string& t) {
    std::string& text = buffers[current];
    if (t.empty() || text.size() + t.size() > kMaxChars) return false;
    std::string clean;
    for (char c : t) clean += (static_cast<unsigned char>(c) < 0x20) ? ' ' : c;
    text.insert(carets[current], clean);
    carets[current] += clean.size();
    markTyping();
    invalidate();
    return true;
}

// Section: sending.

void ChatEntry::send(uint16_t held) {
    std::string& text = buffers[current];
    if (text.empty()) return;
    history.push_back(text);
    while (history.size() > kHistory) history.pop_front();
    historyPosition = history.size();

    if (text.front() == '/') {
        const ui::SlashCommandHandler& parser = ui::slashCommandHandler();
        // Without a parser a command goes nowhere, and stays in the entry.
        if (!parser) return;
        std::string line = text;
        clearCurrent();
        endTyping();
        parser(line, held);
        return;
    }

    ui::Identity* identity = ui::activeIdentity();
    const std::string user = userName ? userName() : std::string();
    const bool alt = held & platform::ModAlt, ctrl = held & platform::ModCtrl, shift = held & platform::ModShift;
    std::unique_ptr<ChatLine> line;
    if (alt && identity) {
        line = std::make_unique<ChatLine>(text, user + " (" + identity->name + ")", "oocfont");
    } else if (!identity) {
        line = std::make_unique<ChatLine>(text, user, "oocfont");
    } else if (ctrl && shift) {
        const size_t room = kMaxChars > identity->name.size() ? kMaxChars - identity->name.size() : 0;
        line = std::make_unique<ChatLine>(identity->name + " " + text.substr(0, room), "", "emotefont");
    } else if (ctrl && link.isHost()) {
        line = std::make_unique<ChatLine>(text, "", "narratorfont");
    } else if (ctrl) {
        line = std::make_unique<ChatLine>(text, identity->name, "emotefont");
    } else {
        line = std::make_unique<ChatLine>(text, *identity);
    }
    line->attachment = std::move(pending[current]);
    endTyping();
    clearCurrent();
    window.post(std::move(line));
}

// Section: typing.

void ChatEntry::markTyping() {
    typingTimer.start(kTypingIdleMs);
    if (typing) return;
    typing = true;
    if (!link.session) return;
    if (link.isHost()) {
        setHostTyping(true);
        link.session->sendToAll(encodeHostTyping(true));
    } else if (ui::Identity* identity = ui::activeIdentity()) {
        link.session->sendToHost(encodeTyping(net::tags::CHINQ, {identity->name, 1}));
    }
}

void ChatEntry::endTyping() {
    typingTimer.stop();
    if (!typing) return;
    typing = false;
    if (!link.session) return;
    if (link.isHost()) {
        setHostTyping(false);
        link.session->sendToAll(encodeHostTyping(false));
    } else if (ui::Identity* identity = ui::activeIdentity()) {
        link.session->sendToHost(encodeTyping(net::tags::CHINQ, {identity->name, 0}));
    }
}

void ChatEntry::setHostTyping(bool on) {
    if (hostTyping == on) return;
    hostTyping = on;
    invalidate();
}

// Section: attachments and drops.

void ChatEntry::attachDieResult(std::unique_ptr<ui::DieResult> result, const char* textIn) {
    if (!result) return;
    std::string description = textIn ? textIn : "";
    if (!textIn && ui::modifierTaker()) {
        int32_t total = 0;
        ui::modifierTaker()(total, description);
        result->modifier += total;
    }
    if (buffers[current].empty()) {
        std::unique_ptr<ChatLine> line;
        if (ui::Identity* identity = ui::activeIdentity()) {
            line = std::make_unique<ChatLine>(description, identity->name, "systemfont");
        } else {
            line = std::make_unique<ChatLine>(description, userName ? userName() : std::string(), "oocfont");
        }
        line->attachment = std::move(result);
        window.post(std::move(line));
        return;
    }
    pending[current] = std::move(result);
    invalidate();
}

int ChatEntry::MouseButton(int message, uint32_t, uint32_t position) {
    if (message != ui::mouse::kLeftDown) return message == ui::mouse::kLeftUp ? ui::kTakeNoCapture : ui::kPass;
    ui::SetKeyboardFocus(this);
    dragStart = position;
    if (font) {
        // The caret goes where the text was clicked.
        const std::string& t = buffers[current];
        int32_t extent = 0;
        int32_t x = ui::mouse::xOf(position) - rect.left;
        carets[current] = size_t(std::clamp<int32_t>(font->HitTestText(t.data(), int32_t(t.size()), x, extent), 0,
                                                     int32_t(t.size())));
    }
    invalidate();
    return ui::kTakeCapture;
}

int ChatEntry::MouseDrag(int message, uint32_t, uint32_t, uint32_t) {
    if (message != ui::mouse::kMove) return 1;
    if (buffers[current].empty()) return 0;
    ui::DragPayload payload;
    GetDragData(payload);
    ui::desktop().BeginDrag(*this, payload);
    return 1;
}

int ChatEntry::GetDragData(ui::DragPayload& payload) {
    payload = {};
    payload.kind = 2;
    payload.text = buffers[current];
    return 1;
}

int ChatEntry::MouseDrop(int, uint32_t, uint32_t, ui::DesktopObject* source) {
    ui::DragPayload payload;
    if (!source || !source->GetDragData(payload)) payload = ui::desktop().dragPayload;
    if (payload.kind == 2 && buffers[current].size() + payload.text.size() < kMaxChars + 1) {
        insert(payload.text);
    } else if (payload.kind == 1 && pending[current]) {
        pending[current]->modifier += payload.number;
    } else if (payload.kind != 1 && payload.kind != 2) {
        return 0;
    }
    invalidate();
    return 1;
}

// Section: drawing.

void ChatEntry::resolve() {
    if (resolved) return;
    resolved = true;
    const ui::ChatWindowSettings& s = ui::ruleset().settings.chatWindow;
    stateIcons[0] = ui::findIcon(s.speakIcon);
    stateIcons[1] = ui::findIcon(s.actionIcon);
    stateIcons[2] = ui::findIcon(s.emoteIcon);
    stateIcons[3] = ui::findIcon(s.oocIcon);
    waitIcon = ui::findIcon(s.waitIconName);
    dieIcon = ui::findIcon("textentry_die");
    font = ui::findFont("chatfont");
}

void ChatEntry::Draw(render::RenderContext& context) {
    resolve();
    const render::Rect clip = render::intersect(context.ClipRect(), rect);
    if (font && !clip.isEmpty()) {
        const std::string& t = buffers[current];
        const int32_t textWidth = font->MeasureText(t.data(), int32_t(t.size())).width;
        const int32_t caretX = carets[current] == 0 ? 0 : font->MeasureText(t.data(), int32_t(carets[current])).width;
        const int32_t iconWidth = pending[current] && dieIcon ? int32_t(dieIcon->GetWidth()) : 0;
        int32_t offset = 0;
        if (textWidth + iconWidth > rect.width()) {
            offset = std::clamp(caretX - rect.width() / 2, 0, textWidth + iconWidth - rect.width());
        }
        const int32_t lineHeight = font->LineHeight();
        const int32_t top = rect.top + (rect.height() - lineHeight) / 2;
        const int32_t left = rect.left - offset;
        font->DrawText(context, left, top, t.data(), int32_t(t.size()), &clip);
        if (iconWidth) {
            const int32_t iconTop = rect.top + (rect.height() - int32_t(dieIcon->GetHeight())) / 2;
            context.DrawBitmap(*dieIcon, left + textWidth, iconTop, 0xFFFFFFFF, &clip);
        }
        if (ui::KeyboardFocus() == this) {
            const int32_t x = left + caretX;
            if (x >= clip.left && x < clip.right) context.DrawRect(x, top, x + 1, top + lineHeight, lineColor(font), true);
        }
    }
    if (hostTyping && waitIcon) context.DrawBitmap(*waitIcon, waitIconAt.x, waitIconAt.y, 0xFFFFFFFF);
    // What Return would do with the keys held now.
    const uint16_t held = heldKeys ? heldKeys() : 0;
    int state = 0;
    if (held & platform::ModAlt) {
        state = 3;
    } else if ((held & platform::ModCtrl) && (held & platform::ModShift)) {
        state = 2;
    } else if (held & platform::ModCtrl) {
        state = 1;
    }
    if (render::Bitmap* icon = stateIcons[state]) context.DrawBitmap(*icon, stateIconAt.x, stateIconAt.y, 0xFFFFFFFF);
}

}  // namespace lh::chat
