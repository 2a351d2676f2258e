// Plays a parsed input script (platform/InputScript.h) into the program: each
// step's events go to the same handler as the window's, waits run on a timer
// (or move a manual clock at once), screenshots draw what is pending first.
// Every step leaves a "script LINE TEXT" line in the trace.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/InputScript.h"
#include "platform/Scheduler.h"
#include "platform/Signal.h"

namespace lh::app {

struct ScriptActions {
    std::function<void(const platform::Event&)> deliver;  // the window's event handler
    std::function<void()> drawPending;                    // a frame of what is dirty
    std::function<bool(const std::string&)> screenshot;   // true when written
    std::function<void(int, int)> resize;                 // the main window's client area
    std::function<void(int)> quit;
    // Opens the menu at the point and chooses the entry the labels name
    // ('/' between a sub-menu and its entry); false when there is none.
    std::function<bool(int32_t x, int32_t y, const std::string& labels)> chooseMenu;
};

class ScriptPlayer {
public:
    ScriptPlayer(std::vector<platform::ScriptStep> steps, ScriptActions actions);
    // The first step runs at the loop's next round.
    void start();
    bool finished() const { return next >= steps.size(); }

    // How long an "await" step waits for its trace line before the program
    // ends with exit code 3, unless a "deadline" step said otherwise.
    static constexpr uint32_t kAwaitTimeoutMs = 60000;

private:
    void run();

    std::vector<platform::ScriptStep> steps;
    ScriptActions actions;
    size_t next = 0;
    platform::Timer timer;
    // What the program has traced since the script began, for "await"; the
    // text awaited now, empty when none.
    std::vector<std::string> traced;
    // Per awaited text, the lines before this one were taken by an await.
    std::map<std::string, size_t> takenUpTo;
    std::string awaited;
    uint32_t awaitLimitMs = kAwaitTimeoutMs;
    platform::Subscription traceWatch;
    platform::Timer awaitTimeout;
};

}  // namespace lh::app
