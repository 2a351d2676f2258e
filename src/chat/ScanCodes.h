// The two keys that the chat knows by their place on the keyboard rather
// than by what they type: the key right of the full stop ("/" on a US
// layout) and the key left of "1". The platform reports keys by their USB
// usage numbers (the numbers SDL's scan codes are); the chat speaks the PC
// keyboard's set-1 codes. One table maps the one to the other.
#pragma once

namespace lh::chat {

constexpr int kScanSlashKey = 0x35;  // set 1: the "/" key, whatever the layout
constexpr int kScanStopKey = 0x29;   // set 1: the key left of "1"

struct ScanCodePair {
    int usb;   // USB HID usage (SDL_SCANCODE_*)
    int set1;  // PC set-1 make code
};

inline constexpr ScanCodePair kScanCodeTable[] = {
    {0x38, kScanSlashKey},  // SDL_SCANCODE_SLASH
    {0x35, kScanStopKey},   // SDL_SCANCODE_GRAVE
};

// The set-1 code of a platform scan code, or 0 for keys the chat does not
// treat by place.
constexpr int pcScanCode(int platformScanCode) {
    for (const ScanCodePair& p : kScanCodeTable)
        if (p.usb == platformScanCode) return p.set1;
    return 0;
}

}  // namespace lh::chat
