// Timers kept as due times on the program's clock, and the tick on top of
// them. The lists hold handles, not owners: a handle leaves on destruction.
#include "platform/Scheduler.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "platform/Clock.h"

namespace lh::platform {

struct Scheduler {
    std::vector<Timer*> running;
    uint64_t round = 0;

    void add(Timer* t) {
        if (std::find(running.begin(), running.end(), t) == running.end()) running.push_back(t);
    }
    void remove(Timer* t) { std::erase(running, t); }

    Timer* earliest(bool onlyUnfired) const {
        Timer* best = nullptr;
        for (Timer* t : running) {
            if (onlyUnfired && t->firedRound == round) continue;
            if (!best || t->due < best->due) best = t;
        }
        return best;
    }

    bool runDue(uint64_t now) {
        ++round;
        bool any = false;
        // Looked up afresh after each call: a handler may stop, start or
        // destroy any timer, itself included.
        while (Timer* t = earliest(true)) {
            if (t->due > now) break;
            t->firedRound = round;
            if (t->repeating) {
                t->due += t->period;
                if (t->due <= now) t->due = now + std::max<uint32_t>(t->period, 1);
            } else {
                t->isRunning = false;
                remove(t);
            }
            any = true;
            if (t->handler) {
                std::function<void()> h = t->handler;  // the timer may die in its handler
                h();
            }
        }
        return any;
    }
};

namespace {
// Never destroyed: handles in static objects may leave it at exit.
Scheduler& scheduler() {
    static Scheduler* s = new Scheduler;
    return *s;
}
}  // namespace

void Timer::start(uint32_t ms, TimerMode mode) { startAt(nowMs() + ms, ms, mode); }

void Timer::startAt(uint64_t dueMs, uint32_t periodMs, TimerMode mode) {
    due = dueMs;
    period = periodMs;
    repeating = mode == TimerMode::Repeating;
    isRunning = true;
    scheduler().add(this);
}

void Timer::stop() {
    if (!isRunning) return;
    isRunning = false;
    scheduler().remove(this);
}

// The tick: one repeating timer on the 30 ms grid that runs only while some
// subscriber is awake.
struct Ticker {
    std::vector<TickSubscription*> awake;
    Timer timer{[this] { tick(); }};

    void wake(TickSubscription* s) {
        if (s->isAwake) return;
        s->isAwake = true;
        awake.push_back(s);
        if (!timer.running()) {
            uint64_t next = (nowMs() / kTickMs + 1) * kTickMs;
            timer.startAt(next, kTickMs, TimerMode::Repeating);
        }
    }
    void sleep(TickSubscription* s) {
        if (!s->isAwake) return;
        s->isAwake = false;
        std::erase(awake, s);
        if (awake.empty()) timer.stop();
    }
    void tick() {
        // Those awake when the tick came; each is looked up again before its
        // call, as an earlier one may have ended it.
        std::vector<TickSubscription*> told = awake;
        for (TickSubscription* s : told) {
            if (std::find(awake.begin(), awake.end(), s) == awake.end()) continue;
            bool more = s->handler ? s->handler() : false;
            if (!more && std::find(awake.begin(), awake.end(), s) != awake.end()) sleep(s);
        }
    }
};

namespace {
Ticker& ticker() {
    static Ticker* t = new Ticker;
    return *t;
}
}  // namespace

TickSubscription::~TickSubscription() { sleep(); }
void TickSubscription::wake() { ticker().wake(this); }
void TickSubscription::sleep() { ticker().sleep(this); }

uint32_t tickCount() { return uint32_t(nowMs() / kTickMs); }

std::optional<uint64_t> msUntilNextTimer() {
    const Timer* t = scheduler().earliest(false);
    if (!t) return std::nullopt;
    uint64_t now = nowMs();
    return t->dueMs() > now ? t->dueMs() - now : 0;
}

int waitTimeoutMs() {
    std::optional<uint64_t> next = msUntilNextTimer();
    if (!next) return -1;
    if (*next == 0) return 0;
    if (isManualClock()) return -1;
    return int(std::min<uint64_t>(*next, uint64_t(std::numeric_limits<int>::max())));
}

bool runDueTimers() { return scheduler().runDue(nowMs()); }

}  // namespace lh::platform
