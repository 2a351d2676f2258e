// The program's millisecond clock.
#include "platform/Clock.h"

#include <chrono>

namespace lh::platform {

namespace {

const std::chrono::steady_clock::time_point processStart = std::chrono::steady_clock::now();
bool manual = false;
uint64_t manualNow = 0;

}  // namespace

uint64_t nowMs() {
    if (manual) return manualNow;
    return uint64_t(
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - processStart).count());
}

void useManualClock(uint64_t startMs) {
    manual = true;
    manualNow = startMs;
}

void useRealClock() { manual = false; }

bool isManualClock() { return manual; }

void advanceClock(uint64_t ms) {
    if (manual) manualNow += ms;
}

}  // namespace lh::platform
