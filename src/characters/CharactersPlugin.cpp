// The characters join the program: the registry's hooks, the strip of
// portraits on its frame step and among the input targets, the portrait
// and turn messages, the join's character events, and the writes at exit.
#include <filesystem>
#include <memory>
#include <system_error>

#include "characters/CharacterFiles.h"
#include "characters/CharacterList.h"
#include "characters/ColorSelection.h"
#include "characters/CharacterRegistry.h"
#include "characters/PortraitExchange.h"
#include "characters/PortraitMessages.h"
#include "characters/PortraitSelection.h"
#include "db/Campaign.h"
#include "db/DbNode.h"
#include "db/SafeFile.h"
#include "db/SessionMode.h"
#include "db/Users.h"
#include "net/HostLogin.h"
#include "net/JoinEvents.h"
#include "net/MessageCatalogue.h"
#include "net/Replication.h"
#include "net/Session.h"
#include "platform/Paths.h"
#include "platform/Spine.h"
#include "platform/Trace.h"
#include "render/GraphicsDevice.h"
#include "ui/CharacterPort.h"
#include "ui/ControlFactory.h"
#include "ui/Desktop.h"
#include "ui/ColorPort.h"
#include "ui/FrameLayers.h"
#include "ui/ChatPort.h"
#include "ui/Identities.h"
#include "ui/ResourceFile.h"
#include "ui/RulesetData.h"
#include "ui/Subsystems.h"
#include "ui/Window.h"

namespace lh::characters {

namespace {

namespace fs = std::filesystem;

struct Plugin {
    net::Session* session = nullptr;
    std::unique_ptr<CharacterList> list;
    std::unique_ptr<PortraitExchange> portraits;
    platform::Subscription draw, exitSave, offered, inPlay, gone, answered;
};

Plugin& plugin() {
    static Plugin p;
    return p;
}

void systemLine(const std::string& text) {
    if (ui::ChatPort* chat = ui::chatPort()) {
        ui::ChatLineDraft line;
        line.font = "systemfont";
        line.text = text;
        chat->add(std::move(line));
    } else {
        std::fprintf(stderr, "%s\n", text.c_str());
        std::fflush(stderr);
    }
}

// The character this user plays: the active Identity, or the one taken on
// here when none is active.
std::string activeName() {
    const ui::Identity* identity = ui::activeIdentity();
    return identity && !identity->name.empty() ? identity->name : registry().current();
}

std::string sheetClass() {
    const std::string& source = ui::ruleset().settings.characterList.dataSource;
    return source.empty() ? std::string(kCharacterGroup) : source;
}

// Shows a portrait wherever this character is drawn.
void showPortrait(const std::string& name, const std::string& path) {
    if (name.empty()) return;
    if (plugin().list) {
        // The rows of the choice of character read the new file too.
        plugin().list->portraits().forget(path);
        render::GraphicsDevice::Get().Invalidate(nullptr);
    }
    if (plugin().list && plugin().list->setPortrait(name, path))
        platform::trace("portrait %s %s", name.c_str(), path.c_str());
}

// A new user finds a few portraits of the program's own to choose from.
void seedPortraitFolder() {
    fs::path folder = platform::diskPath("portraits");
    std::error_code ec;
    if (fs::exists(folder, ec) && !fs::is_empty(folder, ec)) return;
    fs::create_directories(folder, ec);
    ui::ResourceFile file;
    for (bool more = file.FirstFile("data\\portraits\\"); more; more = file.NextFile()) {
        std::vector<std::string> pieces = platform::splitProgramPath(file.name());
        if (pieces.empty() || !file.data()) continue;
        db::writeFileSafely(folder / pieces.back(), std::string_view(file.data(), file.size()));
    }
}

// The characters this user may write back at the end: a client's copies of
// what it plays, the local character of the local-characters way in.
void saveAtExit() {
    CharacterRegistry& r = registry();
    if (db::sessionMode() == db::SessionMode::LocalCharacters) {
        std::string name = activeName();
        if (!name.empty()) r.saveLocal(name);
        return;
    }
    if (db::sessionMode() != db::SessionMode::Join) return;
    db::DbNode* group = db::rootNode().child(kCharacterGroup);
    if (!group) return;
    std::vector<std::string> names;
    for (const auto& [key, node] : group->children)
        if (node->canEdit()) names.emplace_back(key);
    for (const std::string& name : names) r.saveCopy(name);
}

void fillRegistryHooks(ui::Desktop& desktop, net::Session* session, db::Replication* replication) {
    RegistryHooks& h = registry().hooks;
    h.listAdd = [](const std::string& name, const std::string& owner) {
        if (plugin().list) plugin().list->add(name, owner);
        platform::trace("character %s %s", name.c_str(), owner.empty() ? "-" : owner.c_str());
    };
    h.listRemove = [](const std::string& name) {
        if (plugin().list) plugin().list->remove(name);
    };
    h.showPortrait = showPortrait;
    h.line = systemLine;
    h.openSheet = [&desktop](const std::string& name) {
        if (const ui::WindowClass* cls = ui::findWindowClass(sheetClass())) desktop.OpenWindow(*cls, name);
    };
    h.closeSheet = [&desktop](const std::string& name) {
        if (ui::Window* w = desktop.Find(sheetClass(), name)) w->Close(true);
    };
    h.userConnected = [session](const std::string& user) {
        net::SessionPeer* peer = session ? session->findUser(user) : nullptr;
        return peer && peer->connection;
    };
    if (session && !session->isHost()) {
        h.requestPortrait = [](const std::string& name) {
            if (plugin().portraits) plugin().portraits->request(name);
        };
        h.sendPortrait = [](const std::string& path) {
            if (plugin().portraits) plugin().portraits->sendFile(path);
        };
    }
    if (replication) {
        h.sendToHost = [replication](db::DbNode& node) { replication->sendTo(node, nullptr); };
        h.deleteNode = [replication](db::DbNode& node) { replication->requestDelete(node); };
    }
}

void fillPort() {
    ui::CharacterPort& port = ui::characterPort();
    port.choices = [] { return registry().choices(db::sessionMode() == db::SessionMode::LocalCharacters); };
    port.openLocal = [](const std::string& name) { return registry().openLocal(name); };
    port.openServer = [](const std::string& name, const std::string& campaign) {
        return registry().openServer(name, campaign);
    };
    port.upload = [](const std::string& name) { registry().upload(name); };
    port.isPlayed = [](const std::string& name) { return !registry().findUserOf(name).empty(); };
    port.deleteCharacter = [](const std::string& name) { return registry().deleteCharacter(name); };
    port.drawPortrait = [](render::RenderContext& context, const ui::CharacterChoice& who, int32_t x, int32_t y,
                           const render::Rect& clip) {
        if (!plugin().list) return;
        std::string path = who.portraitPath;
        if (path.empty() && (who.flags & kLocalCharacter)) path = localPortraitPath(db::campaign().ruleset.view(), who.name);
        if (path.empty()) {
            const std::string campaign = who.campaign.empty() ? std::string(db::campaign().name.view()) : who.campaign;
            path = campaignPortraitPath(campaign, who.name);
        }
        plugin().list->portraits().draw(context, who.name, path, x, y, &clip);
    };
    port.setState = [](const std::string& name, int state) {
        if (plugin().list) plugin().list->setState(name, state);
    };
    port.findUserOf = [](const std::string& name) { return registry().findUserOf(name); };
}

void listenToJoin() {
    Plugin& p = plugin();
    net::JoinEvents& events = net::joinEvents();
    p.offered = events.characterOffered.subscribe([](const std::string& name) {
        registry().record(name, "", kServerCharacter, std::string(db::campaign().name.view()), false);
    });
    p.inPlay = events.characterInPlay.subscribe([](const std::string& identity, const std::string& user, bool isLocal) {
        registry().record(identity, user, kInPlay, "", isLocal);
    });
    p.gone = events.characterGone.subscribe([](const std::string& identity) { registry().forget(identity); });
    // A local character that the host accepted comes with its record and
    // its portrait.
    p.answered = events.identityAnswered.subscribe([](const std::string& name, bool isLocal, bool accepted) {
        if (accepted && isLocal) registry().upload(name);
    });
}

void attachSession(net::Session& session, db::Replication* replication) {
    Plugin& p = plugin();
    p.portraits = std::make_unique<PortraitExchange>(session, showPortrait);
    p.portraits->line = systemLine;
    CharacterListHooks& h = p.list->hooks;
    if (session.isHost()) {
        net::Session* s = &session;
        h.kick = [s](const std::string& user) { net::kickUser(*s, user); };
        h.bell = [s](const std::string& user) { s->sendTo(net::NetMessage(net::tags::BELLR, {0}), user); };
        h.sendTurn = [s](int32_t index) { s->sendToAll(encodeTurn(index)); };
        h.ownerChanged = [replication](const std::string& path, const std::string& former) {
            db::DbNode* node = db::findNode(path);
            if (node && replication && !former.empty()) replication->sendTo(*node, former);
        };
        return;
    }
    session.setHandler(net::tags::CHSLR, [&session](net::SessionPeer*, const net::NetMessage& m) {
        std::string error;
        std::optional<int32_t> index = decodeTurn(m, error);
        if (!index) {
            session.reportMalformed(nullptr, m, error);
            return net::HandlerResult::Rejected;
        }
        if (plugin().list) plugin().list->setTurn(*index);
        return net::HandlerResult::Handled;
    });
}

// A double click in the portrait picker: a client sends the file to the
// host, which shows it to everybody; the local way in copies it to the
// character's portrait.
void choosePortrait(const std::string& path) {
    const std::string name = activeName();
    if (name.empty()) return;
    if (db::sessionMode() == db::SessionMode::Join) {
        if (plugin().portraits) plugin().portraits->sendFile(path);
        return;
    }
    if (db::sessionMode() != db::SessionMode::LocalCharacters) return;
    const std::string target = localPortraitPath(std::string(db::campaign().ruleset.view()), name);
    fs::path disk = platform::diskPath(target);
    std::error_code ec;
    fs::create_directories(disk.parent_path(), ec);
    if (db::copyFileSafely(platform::diskPath(path), disk) == 0) showPortrait(name, target);
}

void start(const ui::SubsystemStart& context) {
    Plugin& p = plugin();
    p.session = context.session;
    p.list = std::make_unique<CharacterList>(context.desktop, ui::ruleset().settings.characterList);
    p.list->hooks.isHost = db::isHost();
    // In the local way in the character of this user has no owner.
    if (db::sessionMode() != db::SessionMode::LocalCharacters)
        p.list->hooks.localUserName = std::string(db::localUser().name.view());
    p.list->hooks.pointerColor = [](const std::string& user, uint32_t& bgr) {
        const ui::ColorPort& colors = ui::colorPort();
        return colors.pointerColorOf && colors.pointerColorOf(user, bgr);
    };
    context.desktop.AddTarget(p.list.get());
    p.draw = ui::drawOnFrameStep(ui::FrameStep::CharacterList, [](render::RenderContext& c) {
        if (plugin().list) plugin().list->Draw(c);
    });
    registerPortraitSelection();
    registerColorSelection();
    PortraitSelection::chooser() = choosePortrait;
    fillRegistryHooks(context.desktop, context.session, context.replication);
    fillPort();
    listenToJoin();
    if (context.session) attachSession(*context.session, context.replication);
    if (!db::isHost()) {
        seedPortraitFolder();
        registry().scanLocalCharacters(std::string(db::campaign().ruleset.view()));
    }
    p.exitSave = platform::spine().exitSave.subscribe(saveAtExit);
    // The local-characters way in opens the character named at the launch.
    const std::vector<std::string>& asked = db::localUser().identities;
    if (db::sessionMode() == db::SessionMode::LocalCharacters && !asked.empty()) registry().openLocal(asked.front());
    // A choice of character opened before this start reads the choices now.
    ui::characterPort().choicesChanged.emit();
}

void stop() {
    Plugin& p = plugin();
    p = Plugin();
    registry().hooks = RegistryHooks();
    registry().clear();
    PortraitSelection::chooser() = nullptr;
    ui::characterPort().clearFunctions();
}

ui::SubsystemRegistration registration{"characters", 40, start, stop};

}  // namespace

}  // namespace lh::characters
