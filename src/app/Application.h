// The spine of the program: main entry, start-up in its fixed order, the main
// loop with its idle-time frame, and the exit path.
#pragma once

#include <cstdint>
#include <functional>

#include "app/CommandLine.h"

namespace lh::platform {
struct Event;
}

namespace lh::app {

// Runs the whole program; returns the process exit code.
int runMain(int argc, char** argv);

// Start-up after the platform is up. False ends the program at once with
// exit code -1 and no loop runs.
bool InitInstance(const CommandLine& cl);

// The pump: runs until a quit arrives and returns its code.
int runMainLoop();

// Saves and stops after the pump ended.
void runExitPath();

// Called with false by every input event and with true by the idle timer.
void SetMouseIdle(bool idle);

// What later subsystems plug into the spine. Each may stay empty.
struct SpineHooks {
    std::function<int()> drawFrame;                 // 1 if it drew, 0 if nothing was dirty
    std::function<void()> stepDice;                 // idle-time step of the dice world
    std::function<void()> pollSession;              // read and dispatch network messages
    std::function<void()> onTick;                   // tokens and light fade, every 30 ms
    std::function<void(uint8_t)> sendIdleState;     // 0 back, 2 idle; clients with an Identity
    std::function<void(const platform::Event&)> routeInput;
    std::function<void()> exitSave;                 // the character save of a player
};
SpineHooks& hooks();

}  // namespace lh::app
