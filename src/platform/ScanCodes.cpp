// Virtual keys to PC scan codes, for the keys whose scan code matters to the
// routing (the numeric pad and the cursor block that shares its codes) and
// the common ones around them.
#include "platform/ScanCodes.h"

namespace lh::platform {

int scanCodeOfVirtualKey(int vk, bool& extended) {
    extended = false;
    // The numeric pad: 7 8 9 - / 4 5 6 + / 1 2 3 / 0 .
    static constexpr int kPad[10] = {82, 79, 80, 81, 75, 76, 77, 71, 72, 73};
    if (vk >= 0x60 && vk <= 0x69) return kPad[vk - 0x60];
    if (vk == 0x6D) return 74;  // pad minus
    if (vk == 0x6B) return 78;  // pad plus
    if (vk == 0x6E) return 83;  // pad decimal
    if (vk == 0x6A) return 55;  // pad multiply
    if (vk >= 0x70 && vk <= 0x79) return 59 + (vk - 0x70);  // F1..F10
    if (vk == 0x7A) return 87;
    if (vk == 0x7B) return 88;
    switch (vk) {
    case 0x08: return 14;
    case 0x09: return 15;
    case 0x0D: return 28;
    case 0x10: return 42;
    case 0x11: return 29;
    case 0x12: return 56;
    case 0x1B: return 1;
    case 0x20: return 57;
    default: break;
    }
    extended = true;
    switch (vk) {
    case 0x24: return 71;  // Home
    case 0x26: return 72;  // Up
    case 0x21: return 73;  // Page Up
    case 0x25: return 75;  // Left
    case 0x27: return 77;  // Right
    case 0x23: return 79;  // End
    case 0x28: return 80;  // Down
    case 0x22: return 81;  // Page Down
    case 0x2D: return 82;  // Insert
    case 0x2E: return 83;  // Delete
    case 0x6F: return 53;  // pad divide
    case 0x5D: return 93;  // menu key
    case 0x2C: return 55;  // Print Screen
    default: break;
    }
    extended = false;
    static constexpr char kLetters[] = "QWERTYUIOPASDFGHJKLZXCVBNM";
    static constexpr int kLetterScans[] = {16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 30, 31, 32,
                                           33, 34, 35, 36, 37, 38, 44, 45, 46, 47, 48, 49, 50};
    for (int i = 0; kLetters[i]; ++i) {
        if (kLetters[i] == vk) return kLetterScans[i];
    }
    if (vk >= '1' && vk <= '9') return 2 + (vk - '1');
    if (vk == '0') return 11;
    return 0;
}

}  // namespace lh::platform
