// The pen; see TabletInput.h.
#include "table/TabletInput.h"

#include <algorithm>
#include <cstdlib>

namespace lh::table {

TabletInput& TabletInput::get() {
    static TabletInput tablet;
    return tablet;
}

TabletInput::TabletInput() {
    if (const char* fixed = std::getenv("LOREHAVEN_PEN_PRESSURE")) {
        char* end = nullptr;
        long value = std::strtol(fixed, &end, 10);
        if (end != fixed && *end == 0) inject(true, uint32_t(std::clamp(value, 0L, 1023L)));
    }
}

void TabletInput::inject(bool range, uint32_t p) {
    inRange = range;
    pressure = std::min<uint32_t>(p, 1023);
}

}  // namespace lh::table
