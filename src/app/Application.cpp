// The spine of the program.
#include "app/Application.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "app/AppState.h"
#include "app/DesktopWiring.h"
#include "app/ScriptPlayer.h"
#include "app/SessionSetup.h"
#include "app/Frame.h"
#include "app/WayIn.h"
#include "app/WindowPlacement.h"
#include "app/WorkDir.h"
#include "app/SystemLines.h"
#include "db/Box.h"
#include "db/Campaign.h"
#include "db/DatabaseLoader.h"
#include "db/DbNode.h"
#include "db/SessionMode.h"
#include "db/Users.h"
#include "db/XmlParse.h"
#include "platform/Clock.h"
#include "platform/InputScript.h"
#include "platform/Paths.h"
#include "platform/Platform.h"
#include "platform/Scheduler.h"
#include "platform/Spine.h"
#include "platform/Trace.h"
#include "platform/Window.h"
#include "render/GraphicsDevice.h"
#include "ui/Desktop.h"
#include "ui/KeyboardFocus.h"
#include "ui/Lights.h"
#include "ui/RulesetFiles.h"
#include "ui/RulesetLoader.h"
#include "ui/Subsystems.h"

namespace lh::app {

namespace {

constexpr int kClientWidth = 1024;
constexpr int kClientHeight = 768;
constexpr int kKeyPrintScreen = 0x2C;
// Frames start at most this often (real milliseconds, about a screen's
// refresh): a burst of changes, such as many players' chat lines at once,
// costs one frame, while the first change after a quiet spell is drawn at
// once. Sockets and input are handled at once whatever the pace.
constexpr uint64_t kFrameGapMs = 16;

uint64_t realMs() {
    using namespace std::chrono;
    return uint64_t(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

// The ruleset a new Campaign gets when the command line names none.
constexpr const char* kDefaultRuleset = "Lorehaven";

// What the spine itself listens to, each timer beside what it does.
struct SpineListeners {
    platform::Timer idle{[] { SetMouseIdle(true); }};
    platform::Timer autosave{[] {
        if (db::autosaveCampaign()) postSystemLine("Campaign saved.");
    }};
    // The test flags: a count of 30 ms ticks from the start of the loop.
    platform::Timer quitAfterTicks{[] { platform::postQuit(0); }};
    platform::Timer screenshotAtTick{[] { SaveScreenshot(); }};
    platform::Subscription frame;
    platform::Subscription hostLost;
};

SpineListeners& listeners() {
    static SpineListeners l;
    return l;
}

// The test driver's steps, read before anything starts.
std::vector<platform::ScriptStep>& scriptSteps() {
    static std::vector<platform::ScriptStep> steps;
    return steps;
}

// "--script FILE" or LOREHAVEN_SCRIPT; false after a message when the file
// cannot be read or has a bad line.
bool readScript(const CommandLine& cl) {
    std::string path = cl.scriptFile;
    if (path.empty()) {
        const char* env = std::getenv("LOREHAVEN_SCRIPT");
        if (env) path = env;
    }
    if (path.empty()) return true;
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) {
        std::fprintf(stderr, "lorehaven: cannot read the script %s\n", path.c_str());
        return false;
    }
    std::string text;
    char buffer[4096];
    size_t n;
    constexpr size_t kMaxScript = 16u << 20;
    while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0 && text.size() <= kMaxScript) text.append(buffer, n);
    std::fclose(f);
    if (text.size() > kMaxScript) {
        std::fprintf(stderr, "lorehaven: the script %s is larger than 16 MB\n", path.c_str());
        return false;
    }
    platform::ParsedScript parsed = platform::parseInputScript(text);
    if (!parsed.error.empty()) {
        std::fprintf(stderr, "lorehaven: script %s, %s\n", path.c_str(), parsed.error.c_str());
        return false;
    }
    scriptSteps() = std::move(parsed.steps);
    return true;
}

bool campaignHasDatabase(const std::string& name) {
    std::error_code ec;
    return std::filesystem::is_regular_file(
        platform::diskPath(platform::joinProgramPath({"campaigns", name, "db.xml"})), ec);
}

// "Load campaign" and "Create new campaign" of the host's dialog.
net::HostOptionsServices campaignServices() {
    net::HostOptionsServices services;
    services.openCampaign = [](const std::string& name) { return db::openCampaign(name) == 0; };
    services.createCampaignFolder = [](const std::string& name, const std::string& ruleset) {
        db::campaign().name.set(name);
        db::campaign().ruleset.set(ruleset);
        return db::createCampaignFolder() == 0;
    };
    return services;
}

// A host settled by the command line: an existing Campaign opens, any other
// name becomes a new one on the given Ruleset.
bool openCampaignFromCommandLine(const WayIn& wayIn) {
    const std::string& name = wayIn.campaign.name;
    if (campaignHasDatabase(name)) return db::openCampaign(name) == 0;
    db::campaign().name.set(name);
    db::campaign().ruleset.set(wayIn.campaign.ruleset.empty() ? kDefaultRuleset : wayIn.campaign.ruleset);
    return db::createCampaignFolder() == 0;
}

// The flags settle what they can; the launcher's dialogs ask for the rest.
bool chooseWayIn(const CommandLine& cl) {
    AppState& a = app();
    if (cl.port) a.listenPort = *cl.port;
    WayIn wayIn;
    bool settled = wayInFromCommandLine(cl, wayIn);
    if (!settled && runLauncherDialogs(wayIn, campaignServices()) == 0) return false;
    db::setSessionMode(wayIn.sessionMode);
    db::localUser().name.set(wayIn.fields.userName);
    switch (wayIn.sessionMode) {
    case db::SessionMode::Host:
        if (settled && !openCampaignFromCommandLine(wayIn)) {
            platform::messageBox("Error", "The Campaign \"" + wayIn.campaign.name + "\" cannot be used as a folder.");
            return false;
        }
        db::campaign().password.set(wayIn.campaign.password);
        db::campaign().alias.set(wayIn.campaign.alias);
        db::localUser().identities.push_back(wayIn.fields.gamemasterName);
        startHostSession(uint16_t(a.listenPort));
        return true;
    case db::SessionMode::Join:
        return joinHostSession(wayIn, uint16_t(a.listenPort));
    case db::SessionMode::LocalCharacters:
        break;
    }
    db::campaign().ruleset.set(wayIn.localRuleset);
    startLocalSession();
    return true;
}

void placeMainWindow(platform::Window& window) {
    platform::WindowFrame f = window.frame();
    int outerW = kClientWidth + f.left + f.right;
    int outerH = kClientHeight + f.top + f.bottom;
    platform::ScreenSize screen = platform::primaryScreen();
    window.setPosition(centredPosition(screen.left, screen.width, outerW) + f.left,
                       centredPosition(screen.top, screen.height, outerH) + f.top);
}

void contentLoad(platform::SplashWindow* splash) {
    // Token folders and the characters load here as their subsystems
    // arrive; each step moves the splash along.
    if (splash) splash->progress(0.4f);
    // The Ruleset's static records go under the root, marked static; its
    // files outside the archive are what the host offers its clients.
    ui::setStaticDataLoader([](db::XmlElement& root) { db::loadNodes(&root, db::rootNode(), true); });
    ui::setRulesetFileSink([](std::string_view path) { db::addRulesetFile(path); });
    setDesktopImage(ui::LoadRuleset(db::campaign().ruleset.view(), db::sessionMode()));
    if (splash) splash->progress(0.7f);
    if (db::isHost()) db::loadCampaignDatabase(db::rootNode());
    listeners().autosave.start(kAutosaveMs, platform::TimerMode::Repeating);
    if (splash) splash->progress(1.0f);
}

bool isInput(platform::EventType t) {
    using platform::EventType;
    return t == EventType::KeyDown || t == EventType::KeyUp || t == EventType::Char || t == EventType::MouseMove ||
           t == EventType::MouseDown || t == EventType::MouseUp || t == EventType::MouseWheel;
}

// Handles one event; returns true with the code when it ends the loop.
bool handleEvent(const platform::Event& e, int& exitCode) {
    using platform::EventType;
    switch (e.type) {
    case EventType::Quit:  // the main window went away
        exitCode = -1;
        return true;
    case EventType::QuitRequest:
        exitCode = e.exitCode;
        return true;
    case EventType::Wake:
        platform::spine().pollSession.emit();
        return false;
    case EventType::Resized:
        render::GraphicsDevice::Get().Resize();
        ui::desktop().OnMainWindowSized(e.width, e.height);
        return false;
    case EventType::Exposed:
        render::GraphicsDevice::Get().Invalidate(nullptr);
        return false;
    default:
        break;
    }
    if (isInput(e.type)) {
        SetMouseIdle(false);
        if (e.type == EventType::KeyUp && e.keyCode == kKeyPrintScreen) {
            SaveScreenshot();
            return false;
        }
        platform::spine().routeInput.emit(e);
    }
    return false;
}

}  // namespace

void SetMouseIdle(bool idle) {
    AppState& a = app();
    if (db::sessionMode() == db::SessionMode::LocalCharacters) return;
    bool reporter = db::sessionMode() == db::SessionMode::Join;
    if (!idle) {
        listeners().idle.start(kIdleMs);
        if (a.idleReported && reporter) platform::spine().sendIdleState.emit(0);
        a.idleReported = false;
    } else {
        if (reporter) platform::spine().sendIdleState.emit(2);
        a.idleReported = true;
    }
}

bool InitInstance(const CommandLine& cl) {
    AppState& a = app();
    // "errorlog.html" went with entering the working directory, before this.
    if (!chooseWayIn(cl)) return false;

    platform::SplashWindow* splash = platform::SplashWindow::create(a.windowTitle);

    a.mainWindow = platform::Window::create(a.windowTitle, kClientWidth, kClientHeight);
    if (!a.mainWindow) {
        delete splash;
        platform::messageBox(a.windowTitle, "The main window could not be created.");
        return false;
    }
    placeMainWindow(*a.mainWindow);
    // The user may make the window larger; the Desktop re-anchors its
    // windows by the Ruleset's rules, and 1024 by 768 is the least.
    a.mainWindow->setMinimumClientSize(kClientWidth, kClientHeight);
    a.mainWindow->setResizable(true);
    if (splash) splash->progress(0.2f);

    // The device has told the user what failed.
    if (render::GraphicsDevice::Get().Create(*a.mainWindow) != 0) {
        delete splash;
        return false;
    }
    // The Desktop light is the one that "/night" and "/day" fade.
    setFrameState({[] { return false; }, [] { return ui::lights().desktop; }});
    listeners().frame = platform::spine().drawFrame.subscribe(DrawFrame);
    // A lost host ends the process; no idle report goes out meanwhile.
    listeners().hostLost = platform::spine().hostLost.subscribe([] { listeners().idle.stop(); });

    contentLoad(splash);
    if (db::sessionMode() == db::SessionMode::Join) requestStartIdentity(cl.identityName);
    // The local-characters way in takes the named character on at its start.
    if (db::sessionMode() == db::SessionMode::LocalCharacters && !cl.identityName.empty())
        db::localUser().identities.push_back(cl.identityName);
    startDesktop(db::sessionMode(), kClientWidth, kClientHeight);

    delete splash;
    a.mainWindow->show();
    a.mainWindow->raise();
    platform::ScreenSize screen = platform::primaryScreen();
    if (wantsFullScreen(screen.width, screen.height)) {
        a.fullScreen = true;
        a.mainWindow->setFullScreen(true);
    }
    return true;
}

int runMainLoop() {
    AppState& a = app();
    SpineListeners& l = listeners();
    l.idle.start(kIdleMs);
    if (a.quitAfterTicks) l.quitAfterTicks.start(a.quitAfterTicks * platform::kTickMs);
    if (a.screenshotAtTick) l.screenshotAtTick.start(a.screenshotAtTick * platform::kTickMs);
    platform::Spine& spine = platform::spine();
    int exitCode = 0;
    bool shown = false;
    uint64_t lastFrameMs = 0;
    // Every frame goes through here, the script's too: the first one shown
    // is what launch timing and watchers wait for.
    auto drawPending = [&spine, &shown, &a] {
        int drew = 0;
        spine.drawFrame.forEach([&](const std::function<int()>& draw) { drew |= draw(); });
        if (drew && !shown) {
            shown = true;
            platform::trace("frame");
            if (a.quitAfterFirstFrame) platform::postQuit(0);
        }
        return drew;
    };
    // Script steps reach the same handler as the window's events; a quit
    // among them ends the loop like any other.
    ScriptActions actions;
    actions.deliver = [&exitCode](const platform::Event& e) {
        if (handleEvent(e, exitCode)) platform::postQuit(exitCode);
    };
    actions.drawPending = drawPending;
    actions.screenshot = saveScreenshotAs;
    actions.resize = [&a](int width, int height) {
        if (a.mainWindow) a.mainWindow->setClientSize(width, height);
    };
    actions.quit = [](int code) { platform::postQuit(code); };
    actions.chooseMenu = chooseDesktopMenu;
    ScriptPlayer player(std::move(scriptSteps()), std::move(actions));
    player.start();
    for (;;) {
        platform::runDueTimers();
        platform::Event e;
        if (platform::pollEvent(e)) {
            if (handleEvent(e, exitCode)) {
                platform::trace("quit %d", exitCode);
                return exitCode;
            }
            continue;
        }
        // Idle: step the dice, draw what is dirty unless the last frame was
        // too recent; then sleep until the next event, socket, due timer or
        // the time the next frame may start.
        spine.stepDice.emit();
        const uint64_t now = realMs();
        const bool paced = lastFrameMs != 0 && now < lastFrameMs + kFrameGapMs;
        if (!paced && drawPending()) {
            lastFrameMs = now;
            continue;
        }
        int timeout = platform::waitTimeoutMs();
        if (paced && framePending()) {
            const int untilFrame = int(lastFrameMs + kFrameGapMs - now);
            timeout = timeout < 0 ? untilFrame : std::min(timeout, untilFrame);
        }
        if (platform::waitEvent(e, timeout) && handleEvent(e, exitCode)) {
            platform::trace("quit %d", exitCode);
            return exitCode;
        }
    }
}

void runExitPath() {
    if (app().connectionLost) return;
    if (db::isHost()) db::saveCampaignOnExit();
    platform::spine().exitSave.emit();
}

int runMain(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    CommandLine cl = parseCommandLine(args);
    if (cl.showHelp) {
        std::fputs(commandLineHelp(), stdout);
        return 0;
    }
    if (cl.showVersion) {
        std::printf("Lorehaven %s\n", kVersionText);
        return 0;
    }
    if (!cl.error.empty()) {
        std::fprintf(stderr, "lorehaven: %s (see --help)\n", cl.error.c_str());
        return 2;
    }

    const char* clock = std::getenv("LOREHAVEN_CLOCK");
    if (clock && std::strcmp(clock, "manual") == 0) platform::useManualClock(0);
    if (!readScript(cl)) return 2;

    std::srand(unsigned(std::time(nullptr)));
    AppState& a = app();
    std::snprintf(a.windowTitle, sizeof a.windowTitle, "%s", "Lorehaven");
    std::snprintf(a.windowClassName, sizeof a.windowClassName, "%s", "ZENTHAR");
    a.quitAfterTicks = cl.quitAfterTicks;
    a.quitAfterFirstFrame = cl.quitAfterFirstFrame;
    a.screenshotAtTick = cl.screenshotAtTick;

    std::string error;
    if (!enterWorkDirectory(cl.workDir.empty() ? std::filesystem::current_path() : std::filesystem::path(cl.workDir), error)) {
        std::fprintf(stderr, "lorehaven: %s\n", error.c_str());
        return -1;
    }
    if (!platform::initialize(error)) {
        std::fprintf(stderr, "lorehaven: cannot start the display: %s\n", error.c_str());
        return -1;
    }
    // A malformed local document ends the program through this box.
    db::setFatalBoxHandler([](const char* title, const char* text) { platform::messageBox(title, text); });
    db::setBoxHandler([](const char* title, const char* text) { platform::messageBox(title, text); });
    if (!InitInstance(cl)) {
        platform::shutdown();
        return -1;
    }
    int code = runMainLoop();
    // Leaving is like clicking elsewhere: the field that has the keyboard
    // sends what was typed while the session is still up, before the save,
    // and no window is left to send from when the statics go.
    ui::SetKeyboardFocus(nullptr);
    runExitPath();
    // Subsystems let go of their windows, textures and handlers while the
    // device and the session are still there.
    ui::stopSubsystems();
    render::GraphicsDevice::Get().Destroy();
    delete a.mainWindow;
    a.mainWindow = nullptr;
    platform::shutdown();
    return code;
}

}  // namespace lh::app
