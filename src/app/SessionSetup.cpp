// The session of this run.
#include "app/SessionSetup.h"

#include <chrono>
#include <memory>

#include "app/AppState.h"
#include "app/LauncherWindow.h"
#include "app/SystemLines.h"
#include "db/Campaign.h"
#include "db/DbNode.h"
#include "db/SafeFile.h"
#include "net/Replication.h"
#include "db/Users.h"
#include "net/ClientLogin.h"
#include "net/FileExchange.h"
#include "net/FileServer.h"
#include "net/HostLogin.h"
#include "net/LauncherView.h"
#include "net/LoginMessages.h"
#include "net/MainLoopHook.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"
#include "platform/FdWatcher.h"
#include "platform/Paths.h"
#include "platform/Platform.h"
#include "platform/Scheduler.h"
#include "platform/Spine.h"
#include "ui/ResourceFile.h"

namespace lh::app {

namespace {

// Transport time-outs (a request that never completes, a stalled fetch) are
// counted in seconds; while connections are open, a look this often between
// sockets becoming ready is enough. A host that nobody has joined has nothing
// to time out and sleeps until a socket wakes it.
constexpr uint32_t kHousekeepingMs = 1000;

// The session of this run and what it listens to; the handles go before the
// objects they point at.
struct SessionParts {
    std::unique_ptr<net::Session> session;
    // A client's transfers: the Ruleset during the join, pictures later.
    std::unique_ptr<net::FileExchange> files;
    platform::Subscription watchSession;
    platform::Subscription watchFiles;
    platform::Subscription poll;
    platform::Timer housekeeping;
};

SessionParts& parts() {
    static SessionParts p;
    return p;
}
std::unique_ptr<net::Session>& current() { return parts().session; }
std::unique_ptr<net::FileExchange>& files() { return parts().files; }

bool hasOpenConnections(net::Session& s) {
    if (s.role() == net::SessionRole::Client) return s.hostPeer() != nullptr && !s.hostLost();
    if (s.role() != net::SessionRole::Host) return false;
    return !s.users().empty() || s.httpServer().requestCount() > 0;
}

// Reads what the sockets brought; a client's downloads move on too.
void pollSessionAndFiles() {
    if (current()) current()->poll();
    if (files()) files()->stepDownloads();
    platform::Timer& housekeeping = parts().housekeeping;
    if (current() && !housekeeping.running() && hasOpenConnections(*current())) housekeeping.start(kHousekeepingMs);
}

void watchSessionAndFiles(std::vector<platform::WatchedFd>& fds) {
    if (current()) current()->collectWatchedFds(fds);
    if (files()) files()->collectWatchedFds(fds);
}

// Real milliseconds: the dialog's frame pace, whatever clock the program runs on.
uint64_t realMs() {
    using namespace std::chrono;
    return uint64_t(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

// The Ruleset's files of the host, before anything is loaded: the dialog
// "Retrieving data..." moves the files as fast as the sockets allow and
// draws between. False when the user cancelled (the join stops: what is on
// disk may not be the host's Ruleset); a lost host ends as everywhere.
bool fetchRulesetFiles(net::FileExchange& exchange) {
    std::string error;
    std::unique_ptr<LauncherWindow> window = LauncherWindow::create(error);
    if (!window) return false;
    window->idleWaitMs = 0;
    window->quietWaitMs = 0;
    net::ImGuiLauncherUi ui(*window);
    exchange.requestFileList();
    int result = ui.runProgress("Retrieving data...", [&](net::ImGuiLauncherUi::Progress& p) {
        uint64_t until = realMs() + 30;  // a frame's worth of moving bytes
        bool running = true;
        do {
            running = exchange.stepFileList();
            if (!running) break;
            std::vector<platform::WatchedFd> fds;
            watchSessionAndFiles(fds);
            uint64_t now = realMs();
            platform::pollDescriptors(fds, -1, int(until > now ? until - now : 0));
        } while (realMs() < until);
        const net::FileListView& v = exchange.view();
        p.text = v.fileName.empty() ? v.text : v.fileName;
        p.sizeText = v.sizeText;
        p.fraction = v.totalBytes ? float(double(v.fetchedBytes) / double(v.totalBytes)) : 0.0f;
        if (v.hostLost) return -1;
        return running ? 0 : 1;
    });
    if (result == 0) exchange.cancel();
    if (exchange.view().hostLost || result == -1) {
        platform::messageBox("Network error", net::Session::kHostLostText);
        return false;
    }
    return result == 1 && exchange.view().done;
}

net::Session& makeSession() {
    current() = std::make_unique<net::Session>();
    net::Session& s = *current();
    s.setSystemLineSink([](const std::string& text) { postSystemLine(text); });
    SessionParts& p = parts();
    p.poll = platform::spine().pollSession.subscribe(pollSessionAndFiles);
    return s;
}

// A session with sockets: the loop wakes when they are ready, and looks for
// time-outs now and then.
void attachNetwork(net::Session& s) {
    SessionParts& p = parts();
    p.watchSession = net::attachToMainLoop(s);
    p.housekeeping.setHandler(pollSessionAndFiles);
    p.housekeeping.start(kHousekeepingMs);
}

// A lost host ends the client at once: the box, then exit code -1, and no
// save of any kind runs.
void onHostLost(const std::string&) {
    platform::spine().hostLost.emit();
    platform::messageBox("Network error", net::Session::kHostLostText);
    app().connectionLost = true;
    platform::postQuit(-1);
}

// The login's waits: the session's sockets or a short timeout; a quit
// (window closed, process told to stop) ends the wait for good.
bool loginWait(int timeoutMs) {
    platform::Event e;
    if (!platform::waitEvent(e, timeoutMs)) return true;
    return e.type != platform::EventType::Quit && e.type != platform::EventType::QuitRequest;
}

// The "Enter password" dialog, in the launcher's window.
bool askPassword(std::string& password) {
    if (platform::isHeadless()) {
        std::fprintf(stderr, "Enter password: The session you are connecting to is password protected.\n");
        std::fflush(stderr);
    }
    std::string error;
    std::unique_ptr<LauncherWindow> window = LauncherWindow::create(error);
    if (!window) return false;
    net::ImGuiLauncherUi ui(*window);
    return ui.askPassword(password);
}

}  // namespace

net::Session& session() { return *current(); }
bool hasSession() { return current() != nullptr; }

void startHostSession(uint16_t port) {
    net::Session& s = makeSession();
    attachNetwork(s);
    net::installFileService(s, platform::workingDirectory(),
                            [](const std::string& path) { return ui::ResourceFile::Exists(path); });
    db::attachReplication(s);
    net::HostLoginHooks login;
    login.postLine = [](const std::string& text) { postSystemLine(text); };
    // The join's records: the character to its player (the host's copy
    // counts), then everything else that player owns.
    login.sendRecord = [](db::DbNode& record, const std::string& user) { db::replication()->sendTo(record, user); };
    login.sendOwned = [](const std::string& user) {
        if (db::SessionUser* u = db::findKnownUser(user)) db::replication()->sendOwnedTo(db::rootNode(), *u, 0);
    };
    login.userGone = [](const std::string& user) { db::replication()->forgetPeer(user); };
    net::attachHostLogin(s, std::move(login));
    s.openListener(port);
}

bool joinHostSession(const WayIn& wayIn, uint16_t port) {
    net::Session& s = makeSession();
    attachNetwork(s);
    s.setHostLostHandler(onHostLost);
    net::ClientLoginHooks login;
    login.wait = loginWait;
    login.askPassword = askPassword;
    login.showBox = [](const std::string& title, const std::string& text) { platform::messageBox(title, text); };
    int result = net::connectToHost(s, wayIn.fields.hostAddress, port, wayIn.fields.userName,
                                    wayIn.campaign.password, login);
    if (result != net::kLoggedIn) {
        std::string title, text;
        net::connectResultBox(result, title, text);
        if (!title.empty()) platform::messageBox(title, text);
        return false;
    }
    net::ClientJoinHooks join;
    join.postLine = [](const std::string& text) { postSystemLine(text); };
    join.identityAnswer = [](bool accepted) {
        postSystemLine(accepted ? "Identity accepted." : "That name is in use; choose another.");
    };
    net::attachClientJoin(s, std::move(join));
    db::attachReplication(s);
    files() = std::make_unique<net::FileExchange>(s, platform::workingDirectory());
    files()->setSystemLineSink([](const std::string& text) { postSystemLine(text); });
    net::FileExchange* exchange = files().get();
    parts().watchFiles = platform::spine().watchFds.subscribe(
        [exchange](std::vector<platform::WatchedFd>& fds) { exchange->collectWatchedFds(fds); });
    if (!fetchRulesetFiles(*files())) return false;
    s.sendToHost(net::NetMessage(net::tags::IDLSQ));
    return true;
}

void startLocalSession() { makeSession(); }

void requestStartIdentity(const std::string& identity) {
    if (identity.empty() || !hasSession()) return;
    // The Identity asked for stands as the user's own until the host answers;
    // a character of the player's own, kept by Ruleset, comes with him.
    db::localUser().identities.push_back(identity);
    std::string file = platform::joinProgramPath({"characters", db::campaign().ruleset.view(), identity + ".xml"});
    net::requestIdentity(session(), identity, db::canOpenForReading(platform::diskPath(file)));
}

}  // namespace lh::app
