// The chat joins the program: its window, entry and Identities come up with
// the Desktop, take the chat's messages from the session, and open the
// chat's door (ui::ChatPort) for the dice and the others.
//
// Index: the chat of this run; messages; start and stop.
#include <algorithm>
#include <memory>
#include <optional>

#include "chat/ChatEntry.h"
#include "chat/ChatLog.h"
#include "chat/ChatPlacement.h"
#include "chat/ChatWindow.h"
#include "chat/ChatWire.h"
#include "chat/IdentityViews.h"
#include "chat/Poll.h"
#include "db/Campaign.h"
#include "db/Users.h"
#include "net/ClientLogin.h"
#include "net/JoinEvents.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"
#include "platform/Bell.h"
#include "platform/Clipboard.h"
#include "platform/Events.h"
#include "platform/Platform.h"
#include "platform/Spine.h"
#include "platform/Trace.h"
#include "render/RenderContext.h"
#include "ui/ChatPort.h"
#include "ui/Desktop.h"
#include "ui/DesktopHooks.h"
#include "ui/FrameLayers.h"
#include "ui/Identities.h"
#include "ui/KeyboardFocus.h"
#include "ui/Lights.h"
#include "ui/RulesetData.h"
#include "ui/StringControl.h"
#include "ui/Subsystems.h"

namespace lh::chat {

namespace {

uint16_t modifierOfKey(int key) {
    return key == 0x10 ? platform::ModShift : key == 0x11 ? platform::ModCtrl : key == 0x12 ? platform::ModAlt : 0;
}

// Section: the chat of this run.

class Chat final : public ui::ChatPort {
public:
    Chat(const ui::SubsystemStart& start)
        : link{start.mode, start.session}, window(link), entry(window, link), desktop(start.desktop) {
        place(desktop.clientHeight);
        window.attachDieResult = [this](std::unique_ptr<ui::DieResult> r, const char* t) {
            entry.attachDieResult(std::move(r), t);
        };
        window.ringBell = [this](uint8_t sound) {
            if (link.session && link.isHost()) link.session->sendToAll(encodeBell(sound));
        };
        window.toggleLog = [this] { setLogging(!window.logging); };
        window.logLine = [this](const ChatLine& line) {
            log.path = std::string(db::campaign().chatLogPath.view());
            log.write(line);
        };
        entry.heldKeys = [this] { return held; };
        entry.userName = [] { return std::string(db::localUser().name.view()); };
        entry.clipboard = [] { return platform::clipboardText(); };
    }

    void start(const ui::SubsystemStart& s) {
        ui::setChatPort(this);
        ui::setIdentityMaker(makeIdentityFromField);
        ui::setPollFactory([] { return std::make_unique<Poll>(); });
        Poll::voters() = [this] { return voters(); };
        if (link.session && !link.isHost()) {
            inPlayHooks.push_back(net::joinEvents().characterInPlay.subscribe(
                [this](const std::string& identity, const std::string&, bool) {
                    if (std::find(inPlay.begin(), inPlay.end(), identity) == inPlay.end()) inPlay.push_back(identity);
                    window.invalidate();
                }));
            // One who left keeps his votes but loses his box.
            inPlayHooks.push_back(net::joinEvents().characterGone.subscribe([this](const std::string& identity) {
                std::erase(inPlay, identity);
                window.invalidate();
            }));
        }
        keys = platform::spine().routeInput.subscribe([this](const platform::Event& e) { watchKeys(e); });
        idle = platform::spine().sendIdleState.subscribe([this](uint8_t state) { reportIdle(state); });
        if (link.mode == db::SessionMode::LocalCharacters) {
            // No chat to show, but the choice of character.
            identityViews = startIdentityViews(s, window);
            return;
        }
        // The routing asks where the chat frame is (thrown dice land there)
        // and tells when carried dice come over it.
        frameHooks.push_back(ui::desktopSignals().chatFrameContains.subscribe(
            [this](int32_t x, int32_t y) { return window.frameRect.contains(x, y); }));
        frameHooks.push_back(ui::desktopSignals().chatFrameChanged.subscribe([this](bool over) {
            overChat = over;
            window.invalidateFrame();
        }));
        // The program's frame subscribed first: this runs after it is shown.
        presented = platform::spine().drawFrame.subscribe([this] {
            window.framePresented();
            return 0;
        });
        ui::setFallbackKeyboardTarget(&entry);
        ui::SetKeyboardFocus(&entry);
        desktop.AddTarget(&entry);
        desktop.AddTarget(&window);
        layers.push_back(ui::drawOnFrameStep(ui::FrameStep::ChatFrame, [this](render::RenderContext& c) {
            window.DrawFrame(c, ui::lights().desktop, ui::lights().frame, overChat);
        }));
        layers.push_back(
            ui::drawOnFrameStep(ui::FrameStep::ChatWindow, [this](render::RenderContext& c) { window.Draw(c); }));
        // A new line changes only the lines: the desktop and the frame under
        // them come back from a copy instead of being drawn again.
        layers.push_back(ui::keepBackdrop(ui::FrameStep::ChatWindow, [this] { return window.rect; }));
        layers.push_back(
            ui::drawOnFrameStep(ui::FrameStep::ChatEntry, [this](render::RenderContext& c) { entry.Draw(c); }));
        if (s.session) attachMessages(*s.session);
        // The Gamemaster's machine keeps the record from the start.
        if (link.isHost()) setLogging(true);
        identityViews = startIdentityViews(s, window);
        if (identityViews->list) identityViews->list->selected = [this] { entry.useFirstBuffer(); };
        place(desktop.clientHeight);
        frameHooks.push_back(ui::desktopSignals().clientSized.subscribe([this](int32_t, int32_t height) {
            place(height);
        }));
    }

    // ui::ChatPort
    void post(ui::ChatLineDraft draft) override { window.post(lineOf(std::move(draft))); }
    void add(ui::ChatLineDraft draft) override { window.add(lineOf(std::move(draft))); }
    void postAsIdentity(std::string text) override {
        if (ui::Identity* identity = ui::activeIdentity()) {
            window.post(std::make_unique<ChatLine>(std::move(text), *identity));
        } else {
            window.post(std::make_unique<ChatLine>(std::move(text), db::localUser().name.view(), "oocfont"));
        }
    }
    void attachDieResult(std::unique_ptr<ui::DieResult> result, const char* text) override {
        entry.attachDieResult(std::move(result), text);
    }
    void clear() override { window.clear(); }
    std::unique_ptr<ui::DieResult> takePendingAttachment() override { return entry.takePendingAttachment(); }

    ChatLink link;
    ChatWindow window;
    ChatEntry entry;
    ChatLog log;

private:
    // The characters in play, one poll box each: on the host the players
    // online under an Identity, on a client those the host announced.
    std::vector<std::string> voters() const {
        if (!link.isHost()) return inPlay;
        std::vector<std::string> names;
        for (const auto& user : db::knownUsers()) {
            if (user->connection && !user->identity.view().empty()) names.emplace_back(user->identity.view());
        }
        return names;
    }

    // The chat in a client area of this height, and the Identity strip that
    // stands above it; traced, so that a watcher sees where it went.
    void place(int32_t clientHeight) {
        const ui::ChatWindowSettings& s = ui::ruleset().settings.chatWindow;
        IdentityList* list = identityViews ? identityViews->list.get() : nullptr;
        int32_t highest = s.position.y;
        bool listAbove = false;
        if (list && ui::ruleset().settings.identityList.present) {
            const auto [top, bottom] = IdentityList::restingSpan(clientHeight);
            listAbove = bottom <= s.position.y;
            if (listAbove) highest = top;
        }
        const ChatPlacement p = placeChat(s, clientHeight, highest);
        window.frameRect = p.frame;
        window.rect = p.area;
        entry.rect = p.entry;
        entry.waitIconAt = p.waitIcon;
        entry.stateIconAt = p.stateIcon;
        if (list) list->rise = listAbove ? p.rise : 0;
        window.invalidate();
        if (placed && p.frame == placed->frame && p.area == placed->area) return;
        placed = p;
        platform::trace("chat placed %d %d %d %d area %d %d %d %d", int(p.frame.left), int(p.frame.top),
                        int(p.frame.right), int(p.frame.bottom), int(p.area.left), int(p.area.top),
                        int(p.area.right), int(p.area.bottom));
    }

    void setLogging(bool on) {
        log.path = std::string(db::campaign().chatLogPath.view());
        log.setLogging(on);
        window.logging = on;
        platform::trace("chat log %d", on ? 1 : 0);
    }

    static std::unique_ptr<ChatLine> lineOf(ui::ChatLineDraft draft) {
        auto line = std::make_unique<ChatLine>(std::move(draft.text), draft.speaker, draft.font);
        if (!draft.indicator.empty()) line->setIndicator(draft.indicator);
        line->turnMarker = draft.turnMarker;
        line->attachment = std::move(draft.attachment);
        return line;
    }

    // The modifiers held, as the key events tell them: the state icon shows
    // what Return would do, so it is redrawn when they change.
    void watchKeys(const platform::Event& e) {
        if (e.type != platform::EventType::KeyDown && e.type != platform::EventType::KeyUp) return;
        const uint16_t before = held;
        if (e.type == platform::EventType::KeyDown) {
            pressed |= modifierOfKey(e.keyCode);
            held = uint16_t(pressed | e.modifiers);
        } else {
            pressed &= uint16_t(~modifierOfKey(e.keyCode));
            held = uint16_t(pressed | (e.modifiers & ~modifierOfKey(e.keyCode)));
        }
        if (held != before) entry.invalidate();
    }

    void reportIdle(uint8_t state) {
        ui::Identity* identity = ui::activeIdentity();
        if (link.session && !link.isHost() && identity) {
            link.session->sendToHost(encodeTyping(net::tags::CHINQ, {identity->name, state}));
        }
    }

    // Section: messages.

    void attachMessages(net::Session& session) {
        net::Session* s = &session;
        session.setPairHandler("CHAT", [this, s](net::SessionPeer* from, const net::NetMessage& m) {
            std::string error;
            std::optional<ChatMessage> line = decodeChat(m, error);
            if (!line) {
                s->reportMalformed(from, m, error);
                return net::HandlerResult::Rejected;
            }
            if (from && line->attachmentKind == ui::ChatAttachment::kPoll) {
                // The host numbers the poll and passes on its own number, not
                // the one the client made for itself.
                std::unique_ptr<ChatLine> made = window.lineFromMessage(*line);
                line->pollId = static_cast<const Poll&>(*made->attachment).id;
                platform::trace("poll %u %.200s", unsigned(line->pollId), line->text.c_str());
                window.add(std::move(made));
                s->sendToAll(encodeChat(net::tags::CHATR, *line));
                return net::HandlerResult::Rejected;  // already passed on
            }
            if (line->attachmentKind == ui::ChatAttachment::kPoll) {
                platform::trace("poll %u %.200s", unsigned(line->pollId), line->text.c_str());
            }
            window.add(window.lineFromMessage(*line));
            return net::HandlerResult::Handled;
        });
        session.setPairHandler("POLL", [this, s](net::SessionPeer* from, const net::NetMessage& m) {
            std::string error;
            std::optional<PollVote> vote = decodePollVote(m, error);
            if (!vote) {
                s->reportMalformed(from, m, error);
                return net::HandlerResult::Rejected;
            }
            if (from) {
                // A player votes for his own Identity only.
                db::SessionUser* user = db::findKnownUser(from->name);
                if (!user || user->identity.view() != vote->identity) return net::HandlerResult::Rejected;
            }
            platform::trace("vote %u %s", unsigned(vote->pollId), vote->identity.c_str());
            // A vote for a poll that is gone changes nothing and goes nowhere.
            return window.setVote(vote->pollId, vote->identity, vote->value) ? net::HandlerResult::Handled
                                                                             : net::HandlerResult::Rejected;
        });
        session.setHandler(net::tags::CHCLR, [this](net::SessionPeer*, const net::NetMessage&) {
            window.clear();
            return net::HandlerResult::Handled;
        });
        session.setHandler(net::tags::BELLR, [s](net::SessionPeer* from, const net::NetMessage& m) {
            std::string error;
            std::optional<uint8_t> sound = decodeBell(m, error);
            if (!sound) {
                s->reportMalformed(from, m, error);
                return net::HandlerResult::Rejected;
            }
            if (*sound <= 1) {
                platform::trace("bell %u", unsigned(*sound));
                platform::ringBell(*sound == 0 ? platform::BellSound::Notice : platform::BellSound::Halt);
            }
            return net::HandlerResult::Handled;
        });
        session.setHandler(net::tags::CHITR, [this, s](net::SessionPeer* from, const net::NetMessage& m) {
            std::string error;
            std::optional<bool> typing = decodeHostTyping(m, error);
            if (!typing) {
                if (!error.empty()) s->reportMalformed(from, m, error);
                return error.empty() ? net::HandlerResult::Handled : net::HandlerResult::Rejected;
            }
            platform::trace("host typing %d", *typing ? 1 : 0);
            entry.setHostTyping(*typing);
            return net::HandlerResult::Handled;
        });
        session.setPairHandler("CHIN", [s](net::SessionPeer* from, const net::NetMessage& m) {
            std::string error;
            std::optional<TypingNotice> notice = decodeTyping(m, error);
            if (!notice) {
                s->reportMalformed(from, m, error);
                return net::HandlerResult::Rejected;
            }
            if (from) {
                // A player speaks for his own Identity only.
                db::SessionUser* user = db::findKnownUser(from->name);
                if (!user || user->identity.view() != notice->identity) return net::HandlerResult::Rejected;
            }
            platform::trace("typing %s %u", notice->identity.c_str(), unsigned(notice->state));
            ui::typingChanged().emit(notice->identity, notice->state);
            return net::HandlerResult::Handled;
        });
    }

    ui::Desktop& desktop;
    std::optional<ChatPlacement> placed;
    bool overChat = false;
    uint16_t held = 0, pressed = 0;
    platform::Subscription keys, idle, presented;
    std::vector<platform::Subscription> inPlayHooks;
    std::vector<std::string> inPlay;
    std::vector<platform::Subscription> layers, frameHooks;
    std::unique_ptr<IdentityViews> identityViews;
};

std::unique_ptr<Chat>& chat() {
    static std::unique_ptr<Chat> c;
    return c;
}

// Section: start and stop.

void startChat(const ui::SubsystemStart& start) {
    chat() = std::make_unique<Chat>(start);
    chat()->start(start);
}

void stopChat() {
    if (!chat()) return;
    ui::setChatPort(nullptr);
    ui::setIdentityMaker(nullptr);
    ui::setPollFactory(nullptr);
    Poll::voters() = nullptr;
    chat().reset();
}

// The chat comes first: the dice, the characters and the table post to it.
ui::SubsystemRegistration registration{"chat", 10, startChat, stopChat};

}  // namespace

}  // namespace lh::chat
