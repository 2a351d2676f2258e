// The program's millisecond clock. Normally the steady clock since start-up;
// tests and scripted demos can swap in a manual clock that moves only when
// told (LOREHAVEN_CLOCK=manual, advanced by a script's waits), so timers,
// ticks and trace stamps come out the same on every run.
#pragma once

#include <cstdint>

namespace lh::platform {

// Milliseconds since the process started (or since the manual clock began).
uint64_t nowMs();

// From now on nowMs() answers `startMs` and moves only through advanceClock.
void useManualClock(uint64_t startMs = 0);
// Back to the steady clock (tests).
void useRealClock();
bool isManualClock();
// Moves a manual clock forward; ignored on the real one.
void advanceClock(uint64_t ms);

}  // namespace lh::platform
