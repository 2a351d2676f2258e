// The test driver's player.
#include "app/ScriptPlayer.h"

#include <cstdio>
#include <string_view>

#include "platform/Clock.h"
#include "platform/Trace.h"

namespace lh::app {

ScriptPlayer::ScriptPlayer(std::vector<platform::ScriptStep> s, ScriptActions a)
    : steps(std::move(s)), actions(std::move(a)) {
    timer.setHandler([this] { run(); });
    traceWatch = platform::traceLines().subscribe([this](std::string_view line) {
        // The script's own lines name what it awaits: they do not count.
        if (line.substr(0, 7) == "script ") return;
        // A long run keeps only its recent lines.
        if (traceSoFar.size() >= 20000) {
            traceSoFar.erase(traceSoFar.begin(), traceSoFar.begin() + 10000);
            awaitFrom = awaitFrom > 10000 ? awaitFrom - 10000 : 0;
        }
        traceSoFar.emplace_back(line);
        if (!awaiting.empty() && line.find(awaiting) != std::string_view::npos) {
            awaiting.clear();
            awaitFrom = traceSoFar.size();
            awaitLimit.stop();
            timer.start(0);
        }
    });
    awaitLimit.setHandler([this] {
        std::fprintf(stderr, "lorehaven: script: \"%s\" never came\n", awaiting.c_str());
        awaiting.clear();
        actions.quit(3);
    });
}

bool ScriptPlayer::seen(const std::string& text) {
    for (size_t i = awaitFrom; i < traceSoFar.size(); ++i) {
        if (traceSoFar[i].find(text) == std::string::npos) continue;
        awaitFrom = i + 1;
        return true;
    }
    return false;
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
        case platform::ScriptStep::Kind::Screenshot:
            actions.drawPending();
            if (!actions.screenshot(step.name)) {
                std::fprintf(stderr, "lorehaven: script line %d: the screenshot %s could not be written\n", step.line,
                             step.name.c_str());
            }
            break;
        case platform::ScriptStep::Kind::Menu:
            if (!actions.chooseMenu || !actions.chooseMenu(step.x, step.y, step.name)) {
                std::fprintf(stderr, "lorehaven: script line %d: no menu entry %s\n", step.line, step.name.c_str());
            }
            timer.start(0);
            return;
        case platform::ScriptStep::Kind::Await:
            if (seen(step.name)) break;
            awaiting = step.name;
            awaitLimit.start(120000);
            return;
        case platform::ScriptStep::Kind::Quit:
            actions.quit(step.exitCode);
            return;
        }
    }
}

}  // namespace lh::app
