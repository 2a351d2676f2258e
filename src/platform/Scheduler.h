// Timers and the 30 ms tick, owned by whoever listens. A Timer or a
// TickSubscription is a handle: destroying it ends it, so no table of ids
// needs to know every feature. The main loop asks for the time to the next
// due item and sleeps exactly that long: a tick that nobody needs does not
// wake the process at all. Pure C++ on the program's clock (Clock.h); one
// thread.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace lh::platform {

constexpr uint32_t kTickMs = 30;

enum class TimerMode { Once, Repeating };

class Timer {
public:
    Timer() = default;
    explicit Timer(std::function<void()> onFire) : handler(std::move(onFire)) {}
    ~Timer() { stop(); }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    void setHandler(std::function<void()> onFire) { handler = std::move(onFire); }
    // Starts or restarts: due `ms` from now, then every `ms` if repeating. A
    // repeating timer that fell far behind fires once and starts again from
    // then, rather than in a burst.
    void start(uint32_t ms, TimerMode mode = TimerMode::Once);
    // Due at an absolute time on the program's clock (the tick's grid).
    void startAt(uint64_t dueMs, uint32_t periodMs, TimerMode mode);
    void stop();
    bool running() const { return isRunning; }
    uint64_t dueMs() const { return due; }

private:
    friend struct Scheduler;
    std::function<void()> handler;
    uint64_t due = 0;
    uint32_t period = 0;
    bool repeating = false;
    bool isRunning = false;
    uint64_t firedRound = 0;
};

// A subscriber to the 30 ms tick. It sleeps until wake(); while awake its
// handler runs on every tick, and answers true to stay awake or false when
// it has nothing left to step. While nobody is awake no tick runs.
class TickSubscription {
public:
    using Handler = std::function<bool()>;
    TickSubscription() = default;
    explicit TickSubscription(Handler onTick) : handler(std::move(onTick)) {}
    ~TickSubscription();
    TickSubscription(const TickSubscription&) = delete;
    TickSubscription& operator=(const TickSubscription&) = delete;

    void setHandler(Handler onTick) { handler = std::move(onTick); }
    // There is work: the handler runs from the next tick on.
    void wake();
    // Nothing to do until the next wake().
    void sleep();
    bool awake() const { return isAwake; }

private:
    friend struct Ticker;
    Handler handler;
    bool isAwake = false;
};

// Ticks counted from 0, 30 ms apart on the program's clock: the time since
// start-up in ticks, whether or not a tick ran.
uint32_t tickCount();

// For the main loop. Milliseconds until the next timer is due (0: one is due
// now), or nothing when none runs.
std::optional<uint64_t> msUntilNextTimer();
// How long the loop's wait may sleep: -1 for as long as it likes (nothing
// due; or a manual clock, which no sleep moves), 0 if something is due now.
int waitTimeoutMs();
// Fires every timer that is due at the current time, earliest first; a timer
// fires at most once per call. True if any fired.
bool runDueTimers();

}  // namespace lh::platform
