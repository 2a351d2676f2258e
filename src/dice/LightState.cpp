// The Desktop light's fade and flicker, and its message.
#include "dice/LightState.h"

namespace lh::dice {

namespace {

constexpr uint64_t kFadeMs = 3000;

uint32_t channel(uint32_t color, int shift) {
    return (color >> shift) & 0xFF;
}

}  // namespace

void LightState::setLight(uint32_t system, uint32_t window, uint32_t control, uint32_t content, uint64_t now) {
    flicker = false;
    const uint32_t colors[4] = {system, window, control, content};
    if (sendToClients) sendToClients(encodeLight(colors));
    lightSystem = system;
    lightTarget = window;
    lightControl = control;
    lightContent = content;
    fadeLast = now;
    fadeEnd = now + kFadeMs;
}

void LightState::flickerStep(uint64_t now) {
    const int32_t r = int32_t((random ? random() : 0) % 300) - 150;
    uint32_t target = 0xFF000000u;
    for (int shift = 0; shift <= 16; shift += 8) {
        const int32_t value =
            int32_t(channel(flickerBase, shift)) + int32_t(channel(flickerAmplitude, shift)) * r / 150;
        target |= (uint32_t(value) & 0xFF) << shift;
    }
    setLight(lightSystem, target, lightControl, lightContent, now);
    flicker = true;
    fadeEnd = fadeLast + 1000 + (random ? random() : 0) % 2000;
}

bool LightState::fadeStep(uint64_t now, uint32_t& desktop) {
    if (fadeLast >= fadeEnd) {
        if (!flicker) return false;
        flickerStep(now);
    }
    const int64_t span = int64_t(fadeEnd - fadeLast), passed = int64_t(now) - int64_t(fadeLast);
    fadeLast = now;
    if (fadeEnd <= now) {
        desktop = lightTarget;
        return true;
    }
    uint32_t out = 0xFF000000u;
    for (int shift = 0; shift <= 16; shift += 8) {
        const int64_t current = channel(desktop, shift), target = channel(lightTarget, shift);
        const int64_t moved = current + (target - current) * passed / span;
        out |= (uint32_t(moved) & 0xFF) << shift;
    }
    desktop = out;
    return true;
}

std::vector<uint8_t> encodeLight(const uint32_t colors[4]) {
    std::vector<uint8_t> body;
    for (int i = 0; i < 4; ++i)
        for (int b = 0; b < 4; ++b) body.push_back(uint8_t(colors[i] >> (8 * b)));
    return body;
}

bool decodeLight(const uint8_t* body, size_t size, uint32_t colors[4]) {
    if (size != 16) return false;
    for (int i = 0; i < 4; ++i) {
        colors[i] = 0;
        for (int b = 0; b < 4; ++b) colors[i] |= uint32_t(body[4 * i + b]) << (8 * b);
    }
    return true;
}

}  // namespace lh::dice
