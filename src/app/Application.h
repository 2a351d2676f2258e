// The spine of the program: main entry, start-up in its fixed order, the main
// loop with its idle-time frame, and the exit path. Subsystems plug into the
// loop through platform/Spine.h (signals) and platform/Scheduler.h (timers and
// the tick), from their own folders.
#pragma once

#include "app/CommandLine.h"

namespace lh::app {

// Runs the whole program; returns the process exit code.
int runMain(int argc, char** argv);

// Start-up after the platform is up. False ends the program at once with
// exit code -1 and no loop runs.
bool InitInstance(const CommandLine& cl);

// The pump: runs until a quit arrives and returns its code. Each round fires
// the due timers, takes one event, or in idle time steps the dice and draws;
// with nothing to draw it sleeps until the next event, ready socket or due
// timer, however far away that is.
int runMainLoop();

// Saves and stops after the pump ended.
void runExitPath();

// Called with false by every input event and with true by the idle timer.
void SetMouseIdle(bool idle);

}  // namespace lh::app
