// Body reader and writer; see MessageReader.h.
#include "net/MessageReader.h"

#include <algorithm>
#include <cstring>

namespace lh::net {
namespace {

template <typename T>
T littleEndian(const uint8_t* p) {
    uint64_t v = 0;
    for (size_t i = 0; i < sizeof(T); ++i) v |= uint64_t(p[i]) << (8 * i);
    return T(v);
}

template <typename T>
void putLittleEndian(std::vector<uint8_t>& out, T value) {
    uint64_t v = uint64_t(value);
    for (size_t i = 0; i < sizeof(T); ++i) out.push_back(uint8_t(v >> (8 * i)));
}

}  // namespace

bool MessageReader::need(size_t length, const char* what) {
    if (!ok()) return false;
    if (bytes.size() - position >= length) return true;
    error_ = "expected " + std::string(what) + " (" + std::to_string(length) + " bytes) at offset " +
             std::to_string(position) + ", found " + std::to_string(bytes.size() - position);
    return false;
}

uint8_t MessageReader::u8() { return need(1, "a byte") ? bytes[position++] : 0; }

uint16_t MessageReader::u16() {
    if (!need(2, "a 16-bit number")) return 0;
    position += 2;
    return littleEndian<uint16_t>(&bytes[position - 2]);
}

uint32_t MessageReader::u32() {
    if (!need(4, "a 32-bit number")) return 0;
    position += 4;
    return littleEndian<uint32_t>(&bytes[position - 4]);
}

int32_t MessageReader::i32() { return int32_t(u32()); }

uint64_t MessageReader::u64() {
    if (!need(8, "a 64-bit number")) return 0;
    position += 8;
    return littleEndian<uint64_t>(&bytes[position - 8]);
}

float MessageReader::f32() {
    uint32_t raw = u32();
    float v;
    std::memcpy(&v, &raw, sizeof v);
    return v;
}

std::string MessageReader::text(size_t maxLength) {
    if (!ok()) return {};
    size_t left = bytes.size() - position;
    size_t window = std::min(left, maxLength + 1);
    const uint8_t* start = bytes.data() + position;
    const void* zero = window ? std::memchr(start, 0, window) : nullptr;
    if (!zero) {
        error_ = window > maxLength
                     ? "expected a text of at most " + std::to_string(maxLength) + " bytes at offset " +
                           std::to_string(position) + ", found a longer one"
                     : "expected a zero-terminated text at offset " + std::to_string(position) +
                           ", found the end of the body";
        return {};
    }
    size_t length = size_t(static_cast<const uint8_t*>(zero) - start);
    position += length + 1;
    return std::string(reinterpret_cast<const char*>(start), length);
}

std::span<const uint8_t> MessageReader::bytesOf(size_t length) {
    if (!need(length, "raw bytes")) return {};
    position += length;
    return bytes.subspan(position - length, length);
}

bool MessageReader::skip(size_t length) {
    if (!need(length, "reserved bytes")) return false;
    position += length;
    return true;
}

bool MessageReader::finish(std::string& why) const {
    if (!ok()) {
        why = error();
        return false;
    }
    if (remaining() != 0) {
        why = "bytes after the end of the body";
        return false;
    }
    return true;
}

MessageWriter& MessageWriter::u8(uint8_t v) {
    body.push_back(v);
    return *this;
}
MessageWriter& MessageWriter::u16(uint16_t v) {
    putLittleEndian(body, v);
    return *this;
}
MessageWriter& MessageWriter::u32(uint32_t v) {
    putLittleEndian(body, v);
    return *this;
}
MessageWriter& MessageWriter::i32(int32_t v) { return u32(uint32_t(v)); }
MessageWriter& MessageWriter::u64(uint64_t v) {
    putLittleEndian(body, v);
    return *this;
}
MessageWriter& MessageWriter::f32(float v) {
    uint32_t raw;
    std::memcpy(&raw, &v, sizeof raw);
    return u32(raw);
}

MessageWriter& MessageWriter::text(std::string_view s) {
    size_t zero = s.find('\0');
    if (zero != std::string_view::npos) s = s.substr(0, zero);
    body.insert(body.end(), s.begin(), s.end());
    body.push_back(0);
    return *this;
}

MessageWriter& MessageWriter::bytes(std::span<const uint8_t> data) {
    body.insert(body.end(), data.begin(), data.end());
    return *this;
}

}  // namespace lh::net
