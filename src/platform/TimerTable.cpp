// Timers by numeric id, kept as due times.
#include "platform/TimerTable.h"

#include <algorithm>

namespace lh::platform {

void TimerTable::set(int id, uint32_t periodMs, bool repeating, uint64_t now) {
    kill(id);
    entries.push_back({id, periodMs, repeating, now + periodMs});
}

void TimerTable::kill(int id) {
    entries.erase(std::remove_if(entries.begin(), entries.end(), [id](const Entry& e) { return e.id == id; }),
                  entries.end());
}

bool TimerTable::isRunning(int id) const {
    return std::any_of(entries.begin(), entries.end(), [id](const Entry& e) { return e.id == id; });
}

std::optional<uint64_t> TimerTable::msUntilNext(uint64_t now) const {
    if (entries.empty()) return std::nullopt;
    uint64_t due = entries.front().due;
    for (const Entry& e : entries) due = std::min(due, e.due);
    return due > now ? due - now : 0;
}

std::optional<int> TimerTable::takeDue(uint64_t now) {
    auto it = std::min_element(entries.begin(), entries.end(),
                               [](const Entry& a, const Entry& b) { return a.due < b.due; });
    if (it == entries.end() || it->due > now) return std::nullopt;
    int id = it->id;
    if (!it->repeating) {
        entries.erase(it);
    } else {
        it->due += it->period;
        if (it->due <= now) it->due = now + it->period;
    }
    return id;
}

}  // namespace lh::platform
