// The colours that all drawing on the Desktop is tinted with, 0xAARRGGBB.
// Only the Desktop light changes at run time (it fades towards a target).
#pragma once

#include <cstdint>

namespace lh::ui {

struct LightColors {
    uint32_t desktop = 0xFFFFFFFF;  // the Desktop picture and window frames
    uint32_t frame = 0xFFFFFFFF;    // control frames
    uint32_t icon = 0xFFFFFFFF;     // icons, minimized windows
    uint32_t image = 0xFFFFFFFF;    // map images
};

LightColors& lights();

}  // namespace lh::ui
