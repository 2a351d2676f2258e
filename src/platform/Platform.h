// The operations that the program needs of the desktop platform: start-up,
// the millisecond tick, timers by id, the event wait, quitting with a code,
// message boxes. Everything here runs on the main thread unless it says so.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/Events.h"

namespace lh::platform {

// Starts the video and event layers. Returns false with a reason in `error`.
bool initialize(std::string& error);
void shutdown();

// True when there is no screen to show anything on (SDL_VIDEODRIVER=offscreen
// or dummy): message boxes then go to standard error and return at once.
bool isHeadless();

// Milliseconds since initialize(); never wraps in practice.
uint64_t tickMs();
void sleepMs(uint32_t ms);

// Timers deliver EventType::Timer with their id through waitEvent/pollEvent.
void setTimer(int id, uint32_t periodMs);      // repeating
void setOneShotTimer(int id, uint32_t delayMs);
void killTimer(int id);
bool isTimerRunning(int id);

// Ends the event loop: the next waitEvent/pollEvent returns QuitRequest with
// this code. Safe from any thread.
void postQuit(int exitCode);

// Wakes a waitEvent on the main thread with EventType::Wake. Safe from any
// thread; several wakes before the loop runs fold into one.
void wakeMainLoop();

// Descriptors that the wait watches besides the window: when one is ready as
// asked, waitEvent returns Wake. The provider is asked before every wait, so
// it can add writers only while they have something queued.
struct WatchedFd {
    int fd;
    bool read;
    bool write;
};
using FdProvider = std::function<void(std::vector<WatchedFd>&)>;
void setFdProvider(FdProvider provider);

// Takes the next event without waiting. False if there is none.
bool pollEvent(Event& event);
// Waits until an event comes, a timer is due, a watched descriptor is ready or
// the timeout (ms, -1 for none) passes. False on timeout.
bool waitEvent(Event& event, int timeoutMs);

// A modal message box with an OK button. Headless, it prints
// "title: text" on standard error and returns at once.
enum class BoxIcon { Information, Warning, Error };
void messageBox(const std::string& title, const std::string& text, BoxIcon icon = BoxIcon::Error);

// Size of the primary screen in pixels (a headless screen reports 1920x1080
// unless LOREHAVEN_SCREEN=WxH says otherwise).
struct ScreenSize {
    int width;
    int height;
    int left;
    int top;
};
ScreenSize primaryScreen();

}  // namespace lh::platform
