#include "ui/Subsystems.h"

#include <algorithm>

namespace lh::ui {

namespace {

// A function-local list, so that registrations from other translation units'
// static initialisers find it built whatever their order.
std::vector<SubsystemEntry>& entries() {
    static std::vector<SubsystemEntry> list;
    return list;
}

bool started = false;

}  // namespace

SubsystemRegistration::SubsystemRegistration(std::string name, int rank,
                                             std::function<void(const SubsystemStart&)> start,
                                             std::function<void()> stop) {
    entries().push_back({std::move(name), rank, std::move(start), std::move(stop)});
}

std::vector<SubsystemEntry> registeredSubsystems() {
    std::vector<SubsystemEntry> sorted = entries();
    std::stable_sort(sorted.begin(), sorted.end(), [](const SubsystemEntry& a, const SubsystemEntry& b) {
        return a.rank != b.rank ? a.rank < b.rank : a.name < b.name;
    });
    return sorted;
}

void startSubsystems(const SubsystemStart& context) {
    if (started) return;
    started = true;
    for (const SubsystemEntry& e : registeredSubsystems())
        if (e.start) e.start(context);
}

void stopSubsystems() {
    if (!started) return;
    started = false;
    std::vector<SubsystemEntry> sorted = registeredSubsystems();
    for (auto it = sorted.rbegin(); it != sorted.rend(); ++it)
        if (it->stop) it->stop();
}

}  // namespace lh::ui
