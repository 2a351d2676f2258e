// How the table's subsystems (chat, dice, maps, characters, formatted text)
// join the program without the app knowing them: each puts one
// SubsystemRegistration at namespace scope in its own folder, and the app
// starts every registered subsystem once the Desktop is up. Their libraries
// are linked whole (CMake's lorehaven_plugin), so that the registration is
// not dropped by the linker for want of a reference.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "db/SessionMode.h"

namespace lh::db {
class Replication;
}
namespace lh::net {
class Session;
}

namespace lh::ui {

class Desktop;

// What a subsystem gets at start. Session and replication are null when
// there is no session (the local-characters way in).
struct SubsystemStart {
    db::SessionMode mode;
    Desktop& desktop;
    net::Session* session;
    db::Replication* replication;
};

struct SubsystemEntry {
    std::string name;
    // Lower runs first; subsystems that others build on take a lower rank.
    int rank;
    std::function<void(const SubsystemStart&)> start;
    // Before the Desktop and the session go, in the reverse order.
    std::function<void()> stop;
};

class SubsystemRegistration {
public:
    SubsystemRegistration(std::string name, int rank, std::function<void(const SubsystemStart&)> start,
                          std::function<void()> stop = {});
};

// Sorted by rank, then name.
std::vector<SubsystemEntry> registeredSubsystems();

// Runs every start in order; a second call does nothing.
void startSubsystems(const SubsystemStart& context);
// Runs every stop in the reverse order; a later start runs the starts again.
void stopSubsystems();

}  // namespace lh::ui
