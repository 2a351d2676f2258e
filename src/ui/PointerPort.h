// The users' pointer colours, for what stands for a user elsewhere on the
// Desktop (the strip of portraits marks each player in his colour). The
// pointers fill it while they run; it is empty otherwise.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace lh::ui {

struct PointerPort {
    // False when the user has no pointer state here; `bgr` is 0x00BBGGRR.
    std::function<bool(const std::string& user, uint32_t& bgr)> colorOf;
};

inline PointerPort& pointerPort() {
    static PointerPort port;
    return port;
}

}  // namespace lh::ui
