// The test driver's player.
#include "app/ScriptPlayer.h"

#include <cstdio>

#include "platform/Clock.h"
#include "platform/Trace.h"

namespace lh::app {

ScriptPlayer::ScriptPlayer(std::vector<platform::ScriptStep> s, ScriptActions a)
    : steps(std::move(s)), actions(std::move(a)) {
    timer.setHandler([this] { run(); });
    for (const platform::ScriptStep& step : steps)
        if (step.kind == platform::ScriptStep::Kind::Until) awaited.push_back(step.name);
    seen.assign(awaited.size(), false);
    if (awaited.empty()) return;
    traceWatch = platform::traceLines().subscribe([this](std::string_view line) {
        if (line.starts_with("script ")) return;  // the steps themselves name the texts
        for (size_t i = 0; i < awaited.size(); ++i)
            if (!seen[i] && line.find(awaited[i]) != std::string_view::npos) seen[i] = true;
        if (waitingFor < seen.size() && seen[waitingFor]) {
            waitingFor = SIZE_MAX;
            timer.start(0);
        }
    });
}

void ScriptPlayer::start() {
    if (!steps.empty()) timer.start(0);
}

// Runs steps until one has to wait. Input steps go one per round, so that the
// loop draws between them as it would between real events.
void ScriptPlayer::run() {
    while (next < steps.size()) {
        const platform::ScriptStep& step = steps[next++];
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
        case platform::ScriptStep::Kind::Until: {
            size_t index = 0;
            for (size_t i = 0; i < next - 1; ++i)
                if (steps[i].kind == platform::ScriptStep::Kind::Until) ++index;
            if (seen[index]) break;
            waitingFor = index;  // the trace's watcher starts the timer again
            return;
        }
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
        }
    }
}

}  // namespace lh::app
