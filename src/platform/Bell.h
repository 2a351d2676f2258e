// The two short sounds the Gamemaster can ring on the players' machines: a
// light chime for notice and a lower, longer tone for a halt. Made here as a
// tone rather than read from a file; a machine without sound output (no
// audio device, a headless run) stays silent and nothing fails.
#pragma once

namespace lh::platform {

enum class BellSound { Notice, Halt };

// Plays the sound without waiting for it; false when there is no sound
// output to play it on.
bool ringBell(BellSound sound);

}  // namespace lh::platform
