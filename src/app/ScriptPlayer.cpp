// The test driver's player.
#include "app/ScriptPlayer.h"

#include <cstdio>

#include "platform/Clock.h"
#include "platform/Trace.h"

namespace lh::app {

namespace {

// An await looks at the trace this often, and gives up after this long.
constexpr uint32_t kAwaitPollMs = 30;
constexpr uint64_t kAwaitLimitMs = 60000;

}  // namespace

ScriptPlayer::ScriptPlayer(std::vector<platform::ScriptStep> s, ScriptActions a)
    : steps(std::move(s)), actions(std::move(a)) {
    timer.setHandler([this] { run(); });
    for (const platform::ScriptStep& step : steps) {
        if (step.kind == platform::ScriptStep::Kind::Await) platform::rememberTrace();
    }
}

void ScriptPlayer::start() {
    if (!steps.empty()) timer.start(0);
}

// Runs steps until one has to wait. Input steps go one per round, so that the
// loop draws between them as it would between real events.
void ScriptPlayer::run() {
    while (next < steps.size()) {
        const platform::ScriptStep& step = steps[next];
        if (step.kind == platform::ScriptStep::Kind::Await) {
            // Waits for the line on the real clock, whatever the script's
            // clock does; the step's own trace line comes once, at its start.
            if (!awaiting) {
                platform::trace("script %d %s", step.line, step.source.c_str());
                awaiting = true;
                awaitStart = std::chrono::steady_clock::now();
            }
            if (!platform::traceHas(step.name)) {
                if (std::chrono::steady_clock::now() - awaitStart > std::chrono::milliseconds(kAwaitLimitMs)) {
                    std::fprintf(stderr, "lorehaven: script line %d: no trace line holds \"%s\"\n", step.line,
                                 step.name.c_str());
                    actions.quit(1);
                    return;
                }
                timer.start(kAwaitPollMs);
                return;
            }
            awaiting = false;
            ++next;
            continue;
        }
        ++next;
        platform::trace("script %d %s", step.line, step.source.c_str());
        switch (step.kind) {
        case platform::ScriptStep::Kind::Input:
            for (const platform::Event& e : step.events) actions.deliver(e);
            timer.start(0);
            return;
        case platform::ScriptStep::Kind::Wait:
            if (platform::isManualClock()) {
                // Time moves at once; what came due fires at the next round,
                // before the next step.
                platform::advanceClock(step.waitMs);
                timer.start(0);
            } else {
                timer.start(step.waitMs);
            }
            return;
        case platform::ScriptStep::Kind::Screenshot:
            actions.drawPending();
            if (!actions.screenshot(step.name)) {
                std::fprintf(stderr, "lorehaven: script line %d: the screenshot %s could not be written\n", step.line,
                             step.name.c_str());
            }
            break;
        case platform::ScriptStep::Kind::Quit:
            actions.quit(step.exitCode);
            return;
        case platform::ScriptStep::Kind::Await: break;
        }
    }
}

}  // namespace lh::app
