// The spine of the program: main entry, start-up, the main loop, exit.
#pragma once

namespace lh::app {

// Runs the whole program; returns the process exit code.
int runMain(int argc, char** argv);

}  // namespace lh::app
