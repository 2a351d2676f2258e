// The points where subsystems plug into the main loop, every one a Signal
// with any number of subscribers. A subsystem subscribes from its own folder
// and keeps the Subscription as long as it wants to hear; the app emits.
// Timers and the 30 ms tick are in Scheduler.h, the same way.
//
//   drawFrame       idle time: each draws what is dirty, answers 1 if it drew
//   stepDice        idle time, before the frame: the dice world's step
//   pollSession     a watched socket is ready, or the session's housekeeping
//   watchFds        before each wait: add the descriptors to wake for
//   routeInput      every input event, after the spine's own keys
//   sendIdleState   a client's idle report: 2 idle, 0 back (with an Identity)
//   hostLost        a client lost its host: stop what would talk to it
//   exitSave        the exit path, after the host's save: a player's save
//   penPacket       a pen or touch on the window: in range, pressure 0..1023
//                   (the mouse events the system makes of it follow apart)
#pragma once

#include <cstdint>
#include <vector>

#include "platform/Events.h"
#include "platform/Signal.h"
#include "platform/WatchedFd.h"

namespace lh::platform {

struct Spine {
    Signal<int()> drawFrame;
    Signal<void()> stepDice;
    Signal<void()> pollSession;
    Signal<void(std::vector<WatchedFd>&)> watchFds;
    Signal<void(const Event&)> routeInput;
    Signal<void(uint8_t state)> sendIdleState;
    Signal<void()> hostLost;
    Signal<void()> exitSave;
    Signal<void(bool inRange, uint32_t pressure)> penPacket;
};

Spine& spine();

}  // namespace lh::platform
