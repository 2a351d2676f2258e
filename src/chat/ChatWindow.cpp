// The chat view: lines, scrolling, drawing, the mouse, drops and the menu.
//
// Index: lines in and out; scrolling; drawing; mouse and drops; menu.
#include "chat/ChatWindow.h"

#include <algorithm>

#include "chat/Poll.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"
#include "platform/Trace.h"
#include "render/GraphicsDevice.h"
#include "render/RenderContext.h"
#include "ui/Desktop.h"
#include "ui/DragImage.h"
#include "ui/DragPayload.h"
#include "ui/FrameDef.h"
#include "ui/Identities.h"
#include "ui/InputState.h"
#include "ui/KeyboardFocus.h"
#include "ui/MenuModel.h"
#include "ui/RulesetData.h"

namespace lh::chat {

ChatWindow::ChatWindow(ChatLink l) : link(l) { render::GraphicsDevice::Get().Register(&deviceWatch); }

ChatWindow::~ChatWindow() { render::GraphicsDevice::Get().Unregister(&deviceWatch); }

// Section: lines in and out.

std::unique_ptr<ChatLine> makeMarkLine(const char* indicator) {
    auto line = std::make_unique<ChatLine>(" ", "", "narratorfont");
    line->setIndicator(indicator);
    return line;
}

ChatMessage ChatWindow::messageFromLine(const ChatLine& line) const {
    ChatMessage m;
    m.speaker = line.speaker();
    m.font = line.fontName;
    m.text = line.text;
    m.indicator = line.indicatorName;
    if (line.attachment) {
        m.attachmentKind = line.attachment->kind;
        if (line.attachment->kind == ui::ChatAttachment::kDieResult) {
            m.dieText = static_cast<const ui::DieResult&>(*line.attachment).dieText();
        } else if (line.attachment->kind == ui::ChatAttachment::kPoll) {
            m.pollId = static_cast<const Poll&>(*line.attachment).id;
        }
    }
    return m;
}

std::unique_ptr<ChatLine> ChatWindow::lineFromMessage(const ChatMessage& m) const {
    auto line = std::make_unique<ChatLine>(m.text, m.speaker, m.font);
    if (!m.indicator.empty()) line->setIndicator(m.indicator);
    if (m.attachmentKind == ui::ChatAttachment::kDieResult && !m.dieText.empty()) {
        std::unique_ptr<ui::DieResult> result = ui::makeDieResult();
        result->readDieText(m.dieText);
        line->attachment = std::move(result);
    }
    if (m.attachmentKind == ui::ChatAttachment::kPoll) {
        // The host numbers every poll of the session; a client takes its id.
        line->attachment = link.isHost() ? std::make_unique<Poll>() : std::make_unique<Poll>(m.pollId);
    }
    return line;
}

void ChatWindow::post(std::unique_ptr<ChatLine> line) {
    if (!line) return;
    const bool hiddenRoll = line->attachment && line->attachment->kind == ui::ChatAttachment::kDieResult &&
                            static_cast<const ui::DieResult&>(*line->attachment).hidden;
    if (link.mode == db::SessionMode::LocalCharacters || hiddenRoll || !link.session) {
        add(std::move(line));
        return;
    }
    if (link.isHost()) {
        net::NetMessage out = encodeChat(net::tags::CHATR, messageFromLine(*line));
        add(std::move(line));
        link.session->sendToAll(out);
    } else {
        link.session->sendToHost(encodeChat(net::tags::CHATQ, messageFromLine(*line)));
    }
}

void ChatWindow::add(std::unique_ptr<ChatLine> line) {
    if (!line) return;
    if (platform::traceOn()) {
        platform::trace("chat %s [%s] %.200s", line->fontName.c_str(), line->label.c_str(), line->text.c_str());
        if (line->attachment && line->attachment->kind == ui::ChatAttachment::kDieResult) {
            const auto& result = static_cast<const ui::DieResult&>(*line->attachment);
            platform::trace("chat die %s%.200s total %d", result.hidden ? "?" : "", result.dieText().c_str(),
                            result.total());
        }
    }
    if (logging && logLine) logLine(*line);
    lines.push_back(std::move(line));
    while (lines.size() > kMaxLines) {
        if (menuLine == lines.front().get()) menuLine = nullptr;
        lines.pop_front();
        // A view on the oldest line moves on to the one that is oldest now.
        if (scrollBottom > 0) --scrollBottom;
    }
    invalidate();
}

bool ChatWindow::setVote(uint32_t pollId, const std::string& identity, uint32_t value) {
    for (const auto& line : lines) {
        if (line->attachment && line->attachment->kind == ui::ChatAttachment::kPoll &&
            static_cast<Poll&>(*line->attachment).id == pollId) {
            static_cast<Poll&>(*line->attachment).vote(identity, value);
            invalidate();
            return true;
        }
    }
    return false;
}

void ChatWindow::clear() {
    lines.clear();
    scrollBottom = -1;
    menuLine = nullptr;
    invalidate();
}

void ChatWindow::invalidate() const {
    dirty = true;
    // Lines sit inside the area, over its backdrop: the frame around them
    // and the desktop under them stay as they were.
    if (rect.isEmpty()) {
        render::GraphicsDevice::Get().Invalidate(&frameRect);
        return;
    }
    render::GraphicsDevice::Get().InvalidateOverBackdrop(rect);
}

void ChatWindow::invalidateFrame() const {
    render::Rect r = render::unite(frameRect, rect);
    render::GraphicsDevice::Get().Invalidate(&r);
}

void ChatWindow::framePresented() {
    if (!paintedUnshown) return;
    paintedUnshown = false;
    platform::trace("chat drawn %s", paintedNewest.c_str());
}

// Section: scrolling.

void ChatWindow::scrollBy(int by) {
    if (lines.empty()) return;
    const int newest = int(lines.size()) - 1;
    int bottom = scrollBottom < 0 ? newest : scrollBottom;
    bottom = std::clamp(bottom + by, 0, newest);
    scrollBottom = bottom >= newest ? -1 : bottom;
    invalidate();
}

void ChatWindow::scrollToEnd() {
    scrollBottom = -1;
    invalidate();
}

// Section: drawing.

void ChatWindow::DrawFrame(render::RenderContext& context, uint32_t desktopLight, uint32_t frameLight,
                           bool overChat) {
    const ui::ChatWindowSettings& s = ui::ruleset().settings.chatWindow;
    const render::Rect& clip = context.ClipRect();
    if (ui::FrameDef* frame = ui::findFrame(s.frameName)) frame->Draw(context, frameRect, desktopLight, &clip);
    if (overChat) {
        if (ui::FrameDef* hilight = ui::findFrame(s.hilightName)) hilight->Draw(context, frameRect, frameLight, &clip);
    }
}

void ChatWindow::Draw(render::RenderContext& context) {
    const render::Rect clip = render::intersect(context.ClipRect(), rect);
    if (clip.isEmpty()) return;
    // Lines that changed go straight onto the screen when the whole area is
    // drawn anew: painting them into the picture and then blending that
    // over the frame touches every pixel of the area twice more, which on a
    // software rasteriser is most of what a new line costs. The picture is
    // brought up to date when a frame that leaves the lines alone (a die
    // rolling over them) needs the area again.
    if (dirty && clip == rect) {
        paintLines(context, rect, clip);
        dirty = false;
        pictureStale = true;
        notePainted();
        return;
    }
    const uint32_t width = uint32_t(rect.width()), height = uint32_t(rect.height());
    if (cache.GetState() != render::Bitmap::RenderTarget || cache.GetWidth() != width ||
        cache.GetHeight() != height) {
        pictureStale = true;
        if (!cache.CreateRenderTarget(width, height)) {
            // No picture to keep (no device, or no memory for it): paint
            // straight onto the screen, every time.
            paintLines(context, rect, clip);
            return;
        }
    }
    if (dirty || pictureStale) {
        render::RenderContext* target = cache.BeginRender();
        if (!target) {
            paintLines(context, rect, clip);
            return;
        }
        cache.ClearTarget();
        const render::Rect area{0, 0, int32_t(width), int32_t(height)};
        target->SetClipRect(area);
        target->BeginScene();
        paintLines(*target, area, area);
        target->EndScene();
        cache.EndRender();
        // Hit tests ask in Desktop coordinates.
        for (const auto& line : lines) {
            if (ui::ChatAttachment* a = line->attachment.get(); a && !a->rect.isEmpty()) {
                a->rect = {a->rect.left + rect.left, a->rect.top + rect.top, a->rect.right + rect.left,
                           a->rect.bottom + rect.top};
            }
        }
        if (dirty) notePainted();
        dirty = false;
        pictureStale = false;
    }
    context.DrawBitmap(cache, rect.left, rect.top, 0xFFFFFFFF, &clip);
}

void ChatWindow::notePainted() {
    if (!platform::traceOn()) return;
    paintedNewest = lines.empty() ? "" : lines.back()->text.substr(0, 200);
    paintedUnshown = true;
}

void ChatWindow::paintLines(render::RenderContext& context, const render::Rect& area, const render::Rect& clip) {
    ++paints;
    for (const auto& line : lines) {
        if (line->attachment) line->attachment->rect = {};
    }
    if (lines.empty()) return;
    render::Font* before = context.GetFont();
    int32_t bottom = area.bottom;
    for (int index = scrollBottom < 0 ? int(lines.size()) - 1 : scrollBottom; index >= 0 && bottom > area.top;
         --index) {
        ChatLine& line = *lines[size_t(index)];
        line.font = nullptr;  // a font that was missing may be there now
        if (!line.selectFont()) continue;
        const int32_t height = line.measure(context, area.width());
        bottom -= height;
        line.paint(context, {area.left, bottom, area.right, bottom + height}, &clip);
        bottom -= kLineGap;
    }
    context.SetFont(before);
}

// Section: mouse and drops.

ChatLine* ChatWindow::lineAt(int32_t x, int32_t y) const {
    for (auto it = lines.rbegin(); it != lines.rend(); ++it) {
        const ui::ChatAttachment* a = (*it)->attachment.get();
        if (a && !a->rect.isEmpty() && a->rect.contains(x, y)) return it->get();
    }
    return nullptr;
}

ui::DieResult* ChatWindow::dieResultOf(ChatLine* line) const {
    if (!line || !line->attachment || line->attachment->kind != ui::ChatAttachment::kDieResult) return nullptr;
    return static_cast<ui::DieResult*>(line->attachment.get());
}

int ChatWindow::MouseButton(int message, uint32_t, uint32_t position) {
    const int32_t x = ui::mouse::xOf(position), y = ui::mouse::yOf(position);
    switch (message) {
    case ui::mouse::kLeftDown:
        dragStarted = false;
        ui::focusFallback();
        return ui::kTakeCapture;
    case ui::mouse::kMiddleDown:
        return ui::kTakeCapture;
    case ui::mouse::kLeftUp: {
        dragStarted = false;
        // The Gamemaster does not vote; a player votes under his Identity.
        ChatLine* line = lineAt(x, y);
        ui::Identity* identity = ui::activeIdentity();
        if (line && identity && line->attachment->kind == ui::ChatAttachment::kPoll && !link.isHost() &&
            link.session) {
            PollVote vote{static_cast<Poll&>(*line->attachment).id, 1, identity->name};
            link.session->sendToHost(encodePollVote(net::tags::POLLQ, vote));
        }
        return ui::kTakeNoCapture;
    }
    case ui::mouse::kMiddleUp: {
        if (link.isHost() && ui::activeIdentity()) {
            ui::DieResult* hiddenResult = dieResultOf(lineAt(x, y));
            if (hiddenResult && hiddenResult->hidden && attachDieResult) {
                // Only the total is told, never the dice.
                std::unique_ptr<ui::DieResult> told = ui::makeDieResult();
                told->modifier = hiddenResult->total();
                attachDieResult(std::move(told), nullptr);
            }
        } else {
            scrollToEnd();
        }
        return ui::kTakeNoCapture;
    }
    default:
        return ui::kPass;
    }
}

void ChatWindow::HoverChanged(bool entered) {
    ui::DesktopObject::HoverChanged(entered);
    if (entered) {
        HoverMove(ui::inputState().lastMousePosition);
    } else if (overDieResult) {
        overDieResult = false;
        ui::setDesktopCursor(ui::cursor::kDefault);
    }
}

void ChatWindow::HoverMove(uint32_t position) {
    const bool over = dieResultOf(lineAt(ui::mouse::xOf(position), ui::mouse::yOf(position))) != nullptr;
    if (over == overDieResult) return;
    overDieResult = over;
    ui::setDesktopCursor(over ? ui::cursor::kDraggable : ui::cursor::kDefault);
}

int ChatWindow::MouseWheel(int notches, uint32_t) {
    // Away from the user scrolls back towards the oldest line.
    scrollBy(-notches);
    return 1;
}

int ChatWindow::MouseDrag(int message, uint32_t, uint32_t startPosition, uint32_t) {
    if (message != ui::mouse::kMove) {
        dragStarted = false;
        return 1;
    }
    if (dragStarted) return 1;
    dragStarted = true;
    ChatLine* line = lineAt(ui::mouse::xOf(startPosition), ui::mouse::yOf(startPosition));
    ui::DieResult* result = dieResultOf(line);
    if (!result || (result->hidden && !link.isHost())) return 0;
    dragValue = result->shownValue();
    dragText = line->text.substr(0, std::min<size_t>(line->text.size(), 1023));
    ui::DragPayload payload;
    GetDragData(payload);
    ui::desktop().BeginDrag(*this, payload);
    return 1;
}

int ChatWindow::GetDragData(ui::DragPayload& payload) {
    payload = {};
    payload.kind = 1;
    payload.number = dragValue;
    payload.description = dragText;
    return 1;
}

int ChatWindow::MouseDrop(int, uint32_t flags, uint32_t, ui::DesktopObject* source) {
    ui::DragPayload payload;
    if (!source || !source->GetDragData(payload)) payload = ui::desktop().dragPayload;
    if (payload.kind == 1) {
        if (!attachDieResult) return 1;
        std::unique_ptr<ui::DieResult> result = ui::makeDieResult();
        result->modifier = (flags & ui::mouse::kControl) ? -payload.number : payload.number;
        attachDieResult(std::move(result), payload.description.c_str());
        return 1;
    }
    if (payload.kind == 2) {
        if (payload.description.empty()) {
            post(std::make_unique<ChatLine>(payload.text, "", "narratorfont"));
        } else {
            post(std::make_unique<ChatLine>(payload.text, payload.description, "npcchatfont"));
        }
        return 1;
    }
    return 0;
}

// Section: menu.

std::unique_ptr<ui::MenuModel> ChatWindow::BuildMenu() {
    const uint32_t at = ui::inputState().lastMousePosition;
    if (ChatLine* line = lineAt(ui::mouse::xOf(at), ui::mouse::yOf(at)); dieResultOf(line)) {
        menuLine = line;
        auto menu = std::make_unique<ui::MenuModel>("menuhub");
        menu->set(0, "Display sum", "equals", kMenuDisplaySum);
        if (dieResultOf(line)->displayMode != ui::DieResult::kAsRolled) menu->set(1, "Reset", "crossed", kMenuReset);
        menu->set(3, "Halve value", "halve", kMenuHalve);
        menu->set(4, "Double value", "double", kMenuDouble);
        menu->set(5, "Negate value", "negate", kMenuNegate);
        return menu;
    }
    if (!link.isHost()) return nullptr;
    auto menu = std::make_unique<ui::MenuModel>("menuhub");
    menu->set(0, "Clear", "erase", kMenuClear);
    menu->set(2, "Prompt Icon", "prompt", kMenuPrompt);
    if (logging) {
        menu->set(4, "Stop chat log", "logoff", kMenuLog);
    } else {
        menu->set(4, "Start chat log", "log", kMenuLog);
    }
    menu->set(6, "Halt Icon", "hand", kMenuHalt);
    return menu;
}

void ChatWindow::postMark(const char* indicator) { post(makeMarkLine(indicator)); }

void ChatWindow::MenuSelected(int id) {
    auto setMode = [this](int mode) {
        if (ui::DieResult* r = dieResultOf(menuLine)) r->displayMode = mode;
        menuLine = nullptr;
        invalidate();
    };
    switch (id) {
    case kMenuDisplaySum: setMode(ui::DieResult::kSum); break;
    case kMenuReset: setMode(ui::DieResult::kAsRolled); break;
    case kMenuHalve: setMode(ui::DieResult::kHalve); break;
    case kMenuDouble: setMode(ui::DieResult::kDouble); break;
    case kMenuNegate: setMode(ui::DieResult::kNegate); break;
    case kMenuClear:
        if (link.session && link.isHost()) link.session->sendToAll(net::NetMessage(net::tags::CHCLR));
        clear();
        break;
    case kMenuPrompt: postMark("indicator_prompt"); break;
    case kMenuLog:
        if (toggleLog) toggleLog();
        break;
    case kMenuHalt:
        postMark("indicator_stop");
        if (ringBell) ringBell(1);
        break;
    default: break;
    }
}

}  // namespace lh::chat
