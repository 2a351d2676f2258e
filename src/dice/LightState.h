// The Desktop's light: "/night" and "/day" set a target colour, and the
// Desktop's tint fades to it over three seconds, a step on each tick. On a
// host every change goes to the clients as CLRPR, four colours in 16 bytes.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace lh::dice {

class LightState {
public:
    // Sends CLRPR with the four colours; empty on a client.
    std::function<void(const std::vector<uint8_t>& body)> sendToClients;
    // A random number, for the flicker.
    std::function<uint32_t()> random;

    void setLight(uint32_t system, uint32_t window, uint32_t control, uint32_t content, uint64_t nowMs);
    // One step of the fade at `nowMs`, moving `desktopColor` towards the
    // target. True when it changed (the picture must be drawn again); false
    // when there is nothing to fade.
    bool fadeStep(uint64_t nowMs, uint32_t& desktopColor);
    bool fading() const { return fadeLast < fadeEnd || flicker; }

    uint32_t lightSystem = 0xFFFFFFFF, lightTarget = 0xFFFFFFFF, lightControl = 0xFFFFFFFF,
             lightContent = 0xFFFFFFFF;
    uint64_t fadeEnd = 0, fadeLast = 0;
    bool flicker = false;
    uint32_t flickerBase = 0xFFFFFFFF, flickerAmplitude = 0;

private:
    void flickerStep(uint64_t nowMs);
};

std::vector<uint8_t> encodeLight(const uint32_t colors[4]);
// False unless the body is exactly four colours.
bool decodeLight(const uint8_t* body, size_t size, uint32_t colors[4]);

}  // namespace lh::dice
