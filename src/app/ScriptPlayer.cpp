// The test driver's player.
#include "app/ScriptPlayer.h"

#include <cstdio>

#include "platform/Clock.h"
#include "platform/ScriptVerbs.h"
#include "platform/Trace.h"

namespace lh::app {

namespace {
constexpr size_t kKeptLines = 20000;
}  // namespace

ScriptPlayer::ScriptPlayer(std::vector<platform::ScriptStep> s, ScriptActions a)
    : steps(std::move(s)), actions(std::move(a)) {
    timer.setHandler([this] { run(); });
    awaitTimeout.setHandler([this] {
        std::fprintf(stderr, "lorehaven: script: no trace line \"%s\" came\n", awaited.c_str());
        awaited.clear();
        actions.quit(3);
    });
    bool awaits = false;
    for (const platform::ScriptStep& step : steps) awaits |= step.kind == platform::ScriptStep::Kind::Await;
    if (!awaits) return;
    // Lines written before the script began count too (a window that opened
    // while the program started).
    traced = platform::recentTraceLines();
    traceWatch = platform::traceLines().subscribe([this](std::string_view line) {
        // The script's own lines quote what they await.
        if (line.starts_with("script ")) return;
        // A bound on what is kept: a long run keeps its last lines.
        if (traced.size() >= kKeptLines) {
            traced.erase(traced.begin(), traced.begin() + kKeptLines / 2);
            for (auto& [text, from] : takenUpTo) from = from > kKeptLines / 2 ? from - kKeptLines / 2 : 0;
        }
        traced.emplace_back(line);
        if (!awaited.empty() && line.find(awaited) != std::string_view::npos) {
            takenUpTo[awaited] = traced.size();
            awaited.clear();
            awaitTimeout.stop();
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
        case platform::ScriptStep::Kind::Await: {
            // An await takes the first line holding its text that no earlier
            // await of the same text took, so two awaits of one text wait
            // for two lines; awaits of other texts may take lines in any order.
            size_t& from = takenUpTo[step.name];
            bool seen = false;
            for (size_t i = from; i < traced.size() && !seen; ++i) {
                seen = traced[i].find(step.name) != std::string::npos;
                if (seen) from = i + 1;
            }
            if (seen) break;
            // The line that comes starts the next step.
            awaited = step.name;
            awaitTimeout.start(awaitLimitMs);
            return;
        }
        case platform::ScriptStep::Kind::Deadline:
            awaitLimitMs = step.waitMs;
            break;
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
        case platform::ScriptStep::Kind::Resize:
            // The window system's size event comes back through the loop.
            actions.resize(step.width, step.height);
            timer.start(0);
            return;
        case platform::ScriptStep::Kind::Added: {
            const platform::ScriptVerb* verb = platform::findScriptVerb(step.name);
            const std::string error = verb && verb->run ? verb->run(step.arguments) : "nothing runs it";
            if (!error.empty())
                std::fprintf(stderr, "lorehaven: script line %d: %s: %s\n", step.line, step.name.c_str(), error.c_str());
            timer.start(0);
            return;
        }
        case platform::ScriptStep::Kind::Quit:
            actions.quit(step.exitCode);
            return;
        }
    }
}

}  // namespace lh::app
