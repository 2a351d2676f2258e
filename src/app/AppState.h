// Process-wide state of the application shell: plain fields that exist once.
#pragma once

#include <cstdint>
#include <string>

namespace lh::platform {
class Window;
}

namespace lh::app {

constexpr unsigned kVersionMajor = 1;
constexpr unsigned kVersionMinor = 3;
constexpr const char* kVersionText = "1.03";
constexpr uint32_t kDefaultPort = 1802;

// The spine's own timers; each subsystem owns its timers beside what they do
// (platform/Scheduler.h).
constexpr uint32_t kIdleMs = 60000;
constexpr uint32_t kAutosaveMs = 300000;

// The way in (host, join, local characters) is db::sessionMode(), held once.
struct AppState {
    platform::Window* mainWindow = nullptr;
    uint32_t listenPort = kDefaultPort;
    bool fullScreen = false;
    uint32_t desktopLightColor = 0xFFFFFFFF;
    uint32_t frameLightColor = 0xFFFFFFFF;
    uint32_t iconLightColor = 0xFFFFFFFF;
    uint32_t imageLightColor = 0xFFFFFFFF;
    bool idleReported = false;
    char windowTitle[100] = {};
    char windowClassName[100] = {};
    uint32_t quitAfterTicks = 0;
    bool quitAfterFirstFrame = false;
    uint32_t screenshotAtTick = 0;
    bool connectionLost = false;  // the host went away: no save of any kind
};

AppState& app();

}  // namespace lh::app
