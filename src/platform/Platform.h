// The operations that the program needs of the desktop platform: start-up,
// the event wait, quitting with a code, message boxes. Timers and the tick
// are handles of their owners (Scheduler.h); the wait's descriptors come from
// the spine's watchFds subscribers (Spine.h). Everything here runs on the
// main thread unless it says so.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/Events.h"
#include "platform/WatchedFd.h"

namespace lh::platform {

// Starts the video and event layers. Returns false with a reason in `error`.
bool initialize(std::string& error);
void shutdown();

// True when there is no screen to show anything on (SDL_VIDEODRIVER=offscreen
// or dummy): message boxes then go to standard error and return at once.
bool isHeadless();

// The program's clock in milliseconds (Clock.h: real, or manual in tests).
uint64_t tickMs();
void sleepMs(uint32_t ms);

// Ends the event loop: the next waitEvent/pollEvent returns QuitRequest with
// this code. Safe from any thread.
void postQuit(int exitCode);

// Wakes a waitEvent on the main thread with EventType::Wake. Safe from any
// thread; several wakes before the loop runs fold into one.
void wakeMainLoop();

// For loops that read SDL's queue themselves (the launcher's dialogs): sleeps
// until the timeout, a signal, or a wake, without polling. SDL's own timed
// wait polls every millisecond on drivers that cannot wait (the headless
// ones); this is the wait to use there.
bool canWaitNatively();
void sleepUntilWoken(int timeoutMs);

// Takes the next event without waiting. False if there is none.
bool pollEvent(Event& event);
// Waits until an event comes, a watched descriptor is ready or the timeout
// (ms, -1 for none) passes. False on timeout. The descriptors are those that
// the spine's watchFds subscribers give, asked before every wait so that they
// can add writers only while they have something queued; when one is ready
// as asked, the event is Wake. The main loop passes the time to its next
// timer (waitTimeoutMs) as the timeout.
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
