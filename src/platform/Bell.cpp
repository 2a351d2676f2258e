// The bell through SDL's audio: one output device, opened at the first ring
// and kept, fed a queued tone so that no audio callback runs on our side.
#include "platform/Bell.h"

#include <SDL.h>

#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace lh::platform {

namespace {

constexpr int kRate = 22050;

// 0 when there is no device; tried once per process.
SDL_AudioDeviceID device() {
    static bool tried = false;
    static SDL_AudioDeviceID id = 0;
    if (tried) return id;
    tried = true;
    if (!(SDL_WasInit(SDL_INIT_AUDIO) & SDL_INIT_AUDIO) && SDL_InitSubSystem(SDL_INIT_AUDIO) != 0) return 0;
    SDL_AudioSpec want{};
    want.freq = kRate;
    want.format = AUDIO_S16SYS;
    want.channels = 1;
    want.samples = 1024;
    SDL_AudioSpec got{};
    id = SDL_OpenAudioDevice(nullptr, 0, &want, &got, 0);
    if (id != 0) SDL_PauseAudioDevice(id, 0);
    return id;
}

// A sine tone that fades out, so it ends without a click.
void addTone(std::vector<int16_t>& out, double hertz, double seconds, double loudness) {
    const int count = int(seconds * kRate);
    for (int i = 0; i < count; ++i) {
        const double fade = 1.0 - double(i) / count;
        const double value = std::sin(2.0 * std::numbers::pi * hertz * i / kRate) * loudness * fade * fade;
        out.push_back(int16_t(value * 32767.0));
    }
}

}  // namespace

bool ringBell(BellSound sound) {
    const SDL_AudioDeviceID id = device();
    if (id == 0) return false;
    std::vector<int16_t> samples;
    if (sound == BellSound::Notice) {
        addTone(samples, 1046.5, 0.12, 0.35);
        addTone(samples, 1568.0, 0.18, 0.30);
    } else {
        addTone(samples, 392.0, 0.35, 0.45);
    }
    return SDL_QueueAudio(id, samples.data(), Uint32(samples.size() * sizeof(int16_t))) == 0;
}

}  // namespace lh::platform
