// Encoding and decoding of the window messages' bodies.
#include "ui/WindowMessages.h"

#include <cstring>

namespace lh::ui {

namespace {

void putName(std::vector<uint8_t>& out, const std::string& name) {
    out.insert(out.end(), name.begin(), name.end());
    out.push_back(0);
}

void putInt(std::vector<uint8_t>& out, int32_t v) {
    uint32_t u = uint32_t(v);
    for (int i = 0; i < 4; ++i) out.push_back(uint8_t(u >> (8 * i)));
}

bool takeName(const std::vector<uint8_t>& body, size_t& at, size_t maxLength, std::string& out, std::string& why,
              const char* what) {
    const void* end = at < body.size() ? std::memchr(body.data() + at, 0, body.size() - at) : nullptr;
    if (!end) {
        why = std::string("the ") + what + " has no terminating zero";
        return false;
    }
    size_t length = size_t(static_cast<const uint8_t*>(end) - (body.data() + at));
    if (length > maxLength) {
        why = std::string("the ") + what + " is longer than " + std::to_string(maxLength) + " bytes";
        return false;
    }
    out.assign(reinterpret_cast<const char*>(body.data() + at), length);
    at += length + 1;
    return true;
}

bool takeInt(const std::vector<uint8_t>& body, size_t& at, int32_t& out, std::string& why) {
    if (body.size() - at < 4) {
        why = "the body ends inside the window size";
        return false;
    }
    uint32_t u = 0;
    for (int i = 0; i < 4; ++i) u |= uint32_t(body[at + size_t(i)]) << (8 * i);
    out = int32_t(u);
    at += 4;
    return true;
}

}  // namespace

std::vector<uint8_t> encodeWindowMessage(const WindowMessage& m, WindowMessageForm form) {
    std::vector<uint8_t> out;
    putName(out, m.className);
    if (form == WindowMessageForm::classOnly) return out;
    putName(out, m.recordName);
    if (form == WindowMessageForm::names) return out;
    putInt(out, m.width);
    putInt(out, m.height);
    return out;
}

bool decodeWindowMessage(const std::vector<uint8_t>& body, WindowMessageForm form, WindowMessage& out,
                         std::string& why) {
    size_t at = 0;
    if (!takeName(body, at, kMaxClassName, out.className, why, "class name")) return false;
    if (form == WindowMessageForm::classOnly) return true;
    if (!takeName(body, at, kMaxRecordName, out.recordName, why, "record name")) return false;
    if (form == WindowMessageForm::names) return true;
    return takeInt(body, at, out.width, why) && takeInt(body, at, out.height, why);
}

}  // namespace lh::ui
