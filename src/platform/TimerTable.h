// Timers by numeric id, repeating or one-shot, kept as due times so that the
// event wait can sleep exactly until the next one. Pure bookkeeping: no clock
// of its own, the caller passes the current millisecond tick.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace lh::platform {

class TimerTable {
public:
    // Starts or restarts the timer with this id; a running one is replaced.
    void set(int id, uint32_t periodMs, bool repeating, uint64_t now);
    void kill(int id);
    bool isRunning(int id) const;

    // Milliseconds until the earliest timer is due (0 if one is overdue), or
    // nothing when no timer runs.
    std::optional<uint64_t> msUntilNext(uint64_t now) const;

    // Takes the id of one due timer, earliest first, and re-arms or removes it.
    // A repeating timer that fell far behind fires once and is re-based, as a
    // message-queue timer would, instead of firing a burst to catch up.
    std::optional<int> takeDue(uint64_t now);

private:
    struct Entry {
        int id;
        uint32_t period;
        bool repeating;
        uint64_t due;
    };
    std::vector<Entry> entries;
};

}  // namespace lh::platform
