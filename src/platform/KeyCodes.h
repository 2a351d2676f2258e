// Maps SDL key symbols to the virtual-key numbers that input routing uses.
#pragma once

#include <cstdint>

namespace lh::platform {

int virtualKeyFromSdl(int32_t sdlKey, int sdlScancode);

}  // namespace lh::platform
