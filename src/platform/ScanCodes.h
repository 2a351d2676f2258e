// The keyboard's scan codes in the PC form that the key routing is written
// in: the numeric pad sends 71..82 without the extended mark, the cursor
// block the same codes with it.
#pragma once

namespace lh::platform {

// The scan code of a virtual-key code, as a standard keyboard sends it;
// 0 when there is none worth telling.
int scanCodeOfVirtualKey(int virtualKey, bool& extended);

}  // namespace lh::platform
