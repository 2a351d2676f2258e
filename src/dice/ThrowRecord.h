// The start of a throw: all that travels of a roll. Every machine simulates
// the same path from it, so it is copied exactly, never recomputed. Also its
// 108-byte record in the body of a roll message (little endian, no padding):
//   0 marker 255 | 1 three reserved bytes | 4 shape | 8 body colour |
//   12 colour flags | 16 mode | 20 orientation, 16 floats row by row |
//   84 centre, 3 floats | 96 throw velocity, 3 floats
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dice/DiceMath.h"

namespace lh::dice {

struct ThrowStart {
    int32_t shape = 0;
    uint32_t bodyColor = 0;
    uint32_t colorFlags = 0;
    int32_t mode = 0;
    Matrix4 orientation;
    Vec3 center;
    Vec3 velocity;
};

constexpr size_t kThrowRecordSize = 108;
constexpr uint8_t kThrowRecordMarker = 255;
constexpr size_t kMaxThrowRecords = 75;

// Empty when the start is safe to simulate; otherwise says what is wrong:
// an unknown shape, a non-finite or out-of-range number, or an orientation
// that is no rotation (it would tear the die apart on its first step).
std::string validateThrowStart(const ThrowStart& start);

void appendThrowRecord(std::vector<uint8_t>& body, const ThrowStart& start);

struct DecodedThrows {
    std::vector<ThrowStart> starts;
    std::string error;  // empty if every record read was acceptable
};

// Reads records while a whole one remains and its marker is 255. If any
// record read fails validation, the whole message is refused: `starts` is
// empty and `error` says why.
DecodedThrows decodeThrowRecords(const uint8_t* body, size_t size);

}  // namespace lh::dice
