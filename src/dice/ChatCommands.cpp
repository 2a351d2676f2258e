// What the commands do in the running program.
#include "dice/ChatCommands.h"

#include <cstdio>

#include "db/Campaign.h"
#include "db/Users.h"
#include "dice/ChatDieResult.h"
#include "dice/DiceSubsystem.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"
#include "platform/Paths.h"
#include "render/GraphicsDevice.h"
#include "ui/ChatPort.h"
#include "ui/Desktop.h"
#include "ui/Identities.h"
#include "ui/RulesetData.h"
#include "ui/Window.h"

namespace lh::dice {

namespace {

// A chat script is read a line of at most this many characters at a time,
// and no more lines than the chat log would ever want.
constexpr size_t kMaxScriptLine = 1023;
constexpr size_t kMaxScriptLines = 10000;

class ChatCommandActions final : public CommandActions {
public:
    ChatCommandActions(net::Session* s, ui::Desktop& d) : session(s), desktop(d) {}

    bool isHost() const override { return !session || session->isHost(); }
    std::string userName() const override { return std::string(db::localUser().name.view()); }
    std::string identityName() const override {
        const ui::Identity* identity = ui::activeIdentity();
        return identity ? identity->name : std::string();
    }
    void setMood(const std::string& mood) override {
        if (ui::Identity* identity = ui::activeIdentity())
            identity->mood = mood.substr(0, ui::Identity::kMaxMood);
    }
    void post(CommandChatLine line) override {
        if (ui::ChatPort* chat = ui::chatPort()) chat->post(draftOf(std::move(line), isHost()));
    }
    void add(CommandChatLine line) override {
        if (ui::ChatPort* chat = ui::chatPort()) chat->add(draftOf(std::move(line), isHost()));
    }
    std::unique_ptr<DieResult> takePendingAttachment() override {
        ui::ChatPort* chat = ui::chatPort();
        std::unique_ptr<ui::DieResult> pending = chat ? chat->takePendingAttachment() : nullptr;
        if (!pending) return nullptr;
        return std::make_unique<DieResult>(fromChatResult(*pending));
    }
    void saveCampaign() override { db::saveCampaignDatabase(); }
    void selectOrMakeIdentity(const std::string& name, const std::string& font) override {
        ui::identities().selectOrMakeIdentity(name, font);
    }
    void openWindow(const std::string& windowClass, const std::string& recordName) override {
        if (ui::Window* open = desktop.Find(windowClass, recordName)) {
            if (open->minimized) open->ToggleMinimize(nullptr);
            desktop.BringToFront(open);
            return;
        }
        if (const ui::WindowClass* cls = ui::findWindowClass(windowClass)) desktop.OpenWindow(*cls, recordName);
    }
    bool sendToClientByIdentity(const std::string& name, const std::vector<uint8_t>& body) override {
        if (!session) return false;
        for (const std::unique_ptr<net::SessionPeer>& peer : session->users()) {
            const db::SessionUser* user = db::findKnownUser(peer->name);
            if (!user || !peer->connection || !sameIgnoringCase(user->identity.view(), name)) continue;
            session->sendTo(net::NetMessage(net::tags::MESGQ, body), *peer);
            return true;
        }
        return false;
    }
    void sendToHost(const std::vector<uint8_t>& body) override {
        if (session) session->sendToHost(net::NetMessage(net::tags::MESGQ, body));
    }
    bool exportModule(const std::string&, const std::string&) override {
        // Nothing writes Modules yet: the command says the export failed.
        return false;
    }
    void clearChat() override {
        if (session && session->isHost()) session->sendToAll(net::NetMessage(net::tags::CHCLR, {}));
        if (ui::ChatPort* chat = ui::chatPort()) chat->clear();
    }
    void setLight(uint32_t system, uint32_t window, uint32_t control, uint32_t content) override {
        setDesktopLight(system, window, control, content);
    }
    void resetDevice() override {
        render::GraphicsDevice& device = render::GraphicsDevice::Get();
        if (device.IsCreated()) device.Reset();
    }
    bool readLines(const std::string& path, std::vector<std::string>& lines) override {
        std::FILE* file = std::fopen(platform::diskPath(path).c_str(), "rb");
        if (!file) return false;
        std::string line;
        bool cut = false;
        for (int c = std::fgetc(file); c != EOF && lines.size() < kMaxScriptLines; c = std::fgetc(file)) {
            if (c == '\n') {
                lines.push_back(std::move(line));
                line.clear();
                cut = false;
            } else if (line.size() < kMaxScriptLine && !cut) {
                line += char(c);
            } else {
                cut = true;  // the rest of an overlong line is passed over
            }
        }
        if (!line.empty() && lines.size() < kMaxScriptLines) lines.push_back(std::move(line));
        std::fclose(file);
        return true;
    }
    const ui::DieType* findDieType(std::string_view name) override { return ui::findDieType(name); }

private:
    static bool sameIgnoringCase(std::string_view a, std::string_view b) {
        if (a.size() != b.size()) return false;
        for (size_t i = 0; i < a.size(); ++i) {
            auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; };
            if (lower(a[i]) != lower(b[i])) return false;
        }
        return true;
    }

    net::Session* session;
    ui::Desktop& desktop;
};

}  // namespace

std::unique_ptr<CommandActions> makeChatCommandActions(net::Session* session, ui::Desktop& desktop) {
    return std::make_unique<ChatCommandActions>(session, desktop);
}

ui::ChatLineDraft draftOf(CommandChatLine line, bool onHost) {
    ui::ChatLineDraft draft;
    draft.speaker = std::move(line.speaker);
    draft.font = std::move(line.font);
    draft.text = std::move(line.text);
    if (line.fromIdentity) {
        if (const ui::Identity* identity = ui::activeIdentity()) {
            draft.speaker = identity->mood.empty() ? identity->name : identity->name + " (" + identity->mood + ")";
            if (draft.font.empty()) draft.font = identity->fontName;
        } else {
            draft.speaker = std::string(db::localUser().name.view());
            draft.font = "oocfont";
        }
    }
    draft.indicator = std::move(line.indicator);
    draft.turnMarker = line.turnMarker;
    if (line.die) draft.attachment = toChatResult(*line.die, onHost);
    // A poll line shows its question; the boxes come with the polls.
    return draft;
}

void receiveWhispers(net::Session& session) {
    net::Session* s = &session;
    session.setHandler(net::tags::MESGQ, [s](net::SessionPeer* from, const net::NetMessage& m) {
        Whisper w;
        if (!decodeWhisper(m.body.data(), m.body.size(), w)) {
            s->reportMalformed(from, m, "a whisper is three texts, each ended by a zero byte");
            return net::HandlerResult::Rejected;
        }
        // Cut as a line typed here would be: a label, a font name, a line.
        CommandChatLine line;
        line.speaker = w.speaker.substr(0, ui::Identity::kMaxName);
        line.font = w.font.substr(0, 255);
        line.text = w.text.substr(0, 4095);
        if (ui::ChatPort* chat = ui::chatPort()) chat->add(draftOf(std::move(line), s->isHost()));
        return net::HandlerResult::Handled;
    });
}

}  // namespace lh::dice
