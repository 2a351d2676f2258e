// The pen, where there is one: whether it is in range and how hard it
// presses (0 to 1023). Fed by the platform's pen or touch events when they
// carry pressure; the mouse always draws at full strength. Tests and the
// test driver inject a pen through inject(), or LOREHAVEN_PEN_PRESSURE
// (0 to 1023) for a whole run.
#pragma once

#include <cstdint>

namespace lh::table {

class TabletInput {
public:
    static TabletInput& get();

    // A packet of the pen; `inRange` false: the pen left, the mouse draws.
    void inject(bool inRange, uint32_t pressure);
    bool penInRange() const { return inRange; }
    // The pressure a stroke point takes: 255 for the mouse, the pen's
    // pressure shifted right by 2 while it is in range.
    uint8_t strokePressure() const { return inRange ? uint8_t(pressure >> 2) : 255; }

private:
    TabletInput();
    bool inRange = false;
    uint32_t pressure = 0;
};

}  // namespace lh::table
