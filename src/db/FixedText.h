// A text field with a fixed capacity in bytes, as the record formats define
// them (a user name holds 20 bytes, a module name 256). The capacity counts
// the terminating zero of the fixed buffer these fields came from, so at most
// Capacity - 1 bytes are kept; longer input is cut, never overrun.
#pragma once

#include <cstddef>
#include <memory>
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

namespace lh::db {

// The same field for texts that are nearly always empty, such as the Module
// mark of a node: an empty text costs one pointer and no allocation, which
// matters in an object that exists a hundred thousand times.
template <size_t Capacity>
class RareText {
public:
    static constexpr size_t maxLength = Capacity - 1;

    RareText() = default;
    RareText(std::string_view text) { set(text); }
    RareText(const RareText& other) { set(other.view()); }
    RareText& operator=(const RareText& other) {
        if (this != &other) set(other.view());
        return *this;
    }
    RareText(RareText&&) noexcept = default;
    RareText& operator=(RareText&&) noexcept = default;

    void set(std::string_view text) {
        text = FixedText<Capacity>::fit(text);
        if (text.empty()) {
            bytes.reset();
        } else if (bytes) {
            bytes->assign(text);
        } else {
            bytes = std::make_unique<std::string>(text);
        }
    }
    void clear() { bytes.reset(); }

    std::string_view view() const { return bytes ? std::string_view(*bytes) : std::string_view(); }
    const std::string& str() const { return bytes ? *bytes : none(); }
    const char* c_str() const { return str().c_str(); }
    bool empty() const { return !bytes; }
    size_t size() const { return bytes ? bytes->size() : 0; }

    friend bool operator==(const RareText& a, std::string_view b) { return a.view() == b; }
    friend bool operator==(const RareText& a, const RareText& b) { return a.view() == b.view(); }

private:
    std::unique_ptr<std::string> bytes;  // null for the empty text

    static const std::string& none() {
        static const std::string empty;
        return empty;
    }
};

}  // namespace lh::db
