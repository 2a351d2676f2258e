// The pen, where there is one: whether it is in range and how hard it
// presses (0 to 1023). Fed by the platform's pen and touch packets once
// listen() has run; the mouse always draws at full strength. Tests inject
// a pen through inject(), and LOREHAVEN_PEN_PRESSURE (0 to 1023) holds one
// pressure for a whole run, whatever the platform reports.
#pragma once

#include <cstdint>

#include "platform/Signal.h"

namespace lh::table {

class TabletInput {
public:
    static TabletInput& get();

    // Takes the platform's pen packets from now on.
    void listen();

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
    bool fixed = false;  // LOREHAVEN_PEN_PRESSURE holds the pen
    platform::Subscription packets;
};

}  // namespace lh::table
