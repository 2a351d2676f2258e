// The user's colours: his pointer's, which the others see too, and his
// dice's. The pointers and the dice fill in their halves while they run;
// whatever stands for a user (the strip of portraits) or picks his colours
// (the colour selection) goes through here. Empty functions: not running.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace lh::ui {

struct ColorPort {
    // False when the user has no pointer state here; `bgr` is 0x00BBGGRR.
    std::function<bool(const std::string& user, uint32_t& bgr)> pointerColorOf;
    // The local user's pointer colour, 0x00BBGGRR, sent to the others.
    std::function<void(uint32_t bgr)> setPointerColor;
    // The dice's numerals are white (else black).
    std::function<bool()> whiteNumerals;
    // The dice in 0x00BBGGRR, numerals white or black; kept for next time.
    std::function<void(uint32_t bgr, bool white)> setDiceColor;
};

inline ColorPort& colorPort() {
    static ColorPort port;
    return port;
}

}  // namespace lh::ui
