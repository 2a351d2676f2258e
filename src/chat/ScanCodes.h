// The two keys that the chat knows by their place on the keyboard rather
// than by what they type, as PC scan codes (the platform reports every key
// by its place in that form): the key right of the full stop, "/" on a US
// layout, and the key left of "1".
#pragma once

namespace lh::chat {

constexpr int kScanSlashKey = 0x35;
constexpr int kScanStopKey = 0x29;

}  // namespace lh::chat
