// The bodies of the window messages: zero-terminated names one behind the
// other, then 32-bit little-endian sizes, no alignment.
//
//   WINBQ, WINCR, WINSQ: class name, record name, width, height
//   WINCQ:               class name
//   WINDQ:               class name, record name
//
// Pure: bytes in, struct out, and back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace lh::ui {

enum class WindowMessageForm { classOnly, names, namesAndSize };

struct WindowMessage {
    std::string className;
    std::string recordName;
    int32_t width = 0, height = 0;
};

// Names longer than these are refused: classes are keys of 256-byte
// fields, record names of up to 259.
constexpr size_t kMaxClassName = 255;
constexpr size_t kMaxRecordName = 259;

std::vector<uint8_t> encodeWindowMessage(const WindowMessage& message, WindowMessageForm form);
// False with `why` set when the body is short, a name runs off its end or
// is too long. Bytes after the last field are ignored.
bool decodeWindowMessage(const std::vector<uint8_t>& body, WindowMessageForm form, WindowMessage& out,
                         std::string& why);

}  // namespace lh::ui
