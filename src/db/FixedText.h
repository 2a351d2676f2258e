// A text field with a fixed capacity in bytes, as the record formats define
// them (a user name holds 20 bytes, a module name 256). The capacity counts
// the terminating zero of the fixed buffer these fields came from, so at most
// Capacity - 1 bytes are kept; longer input is cut, never overrun.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace lh::db {

template <size_t Capacity>
class FixedText {
public:
    static constexpr size_t maxLength = Capacity - 1;

    FixedText() = default;
    FixedText(std::string_view text) { set(text); }

    void set(std::string_view text) { bytes.assign(fit(text)); }
    void clear() { bytes.clear(); }

    std::string_view view() const { return bytes; }
    const std::string& str() const { return bytes; }
    const char* c_str() const { return bytes.c_str(); }
    bool empty() const { return bytes.empty(); }
    size_t size() const { return bytes.size(); }

    // What a text would become if stored here: cut to the field, and ended at
    // a zero byte, behind which nothing can be kept. Also used to look records
    // up by a name that may be longer than the field.
    static std::string_view fit(std::string_view text) {
        text = text.substr(0, maxLength);
        return text.substr(0, text.find('\0'));
    }

    friend bool operator==(const FixedText& a, std::string_view b) { return a.bytes == b; }
    friend bool operator==(const FixedText& a, const FixedText& b) { return a.bytes == b.bytes; }

private:
    std::string bytes;
};

}  // namespace lh::db
