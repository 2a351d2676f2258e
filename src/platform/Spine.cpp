// The main loop's plug points.
#include "platform/Spine.h"

namespace lh::platform {

Spine& spine() {
    static Spine* s = new Spine;  // never destroyed: handles may leave at exit
    return *s;
}

}  // namespace lh::platform
