// Validation and the wire record of a throw start.
#include "dice/ThrowRecord.h"

#include <cstring>

#include "dice/DieShapes.h"

namespace lh::dice {

namespace {

// Far beyond any table: a die placed or thrown with larger numbers did not
// come from our own throw.
constexpr float kMaxCoordinate = 1000.0f;
constexpr float kMaxSpeed = 1000.0f;
constexpr float kRotationTolerance = 0.001f;

bool within(float v, float limit) {
    return v >= -limit && v <= limit;
}
bool near(float v, float target) {
    return within(v - target, kRotationTolerance);
}

std::string validateOrientation(const Matrix4& m) {
    for (float v : m.m)
        if (!isFinite(v)) return "orientation is not finite";
    if (!near(m.m[3], 0.0f) || !near(m.m[7], 0.0f) || !near(m.m[11], 0.0f) || !near(m.m[15], 1.0f))
        return "orientation has a projective part";
    if (!near(m.m[12], 0.0f) || !near(m.m[13], 0.0f) || !near(m.m[14], 0.0f))
        return "orientation has a translation";
    for (int a = 0; a < 3; ++a) {
        for (int b = a; b < 3; ++b) {
            Vec3 ra{m.at(a, 0), m.at(a, 1), m.at(a, 2)};
            Vec3 rb{m.at(b, 0), m.at(b, 1), m.at(b, 2)};
            if (!near(dot(ra, rb), a == b ? 1.0f : 0.0f)) return "orientation is not a rotation";
        }
    }
    return {};
}

void putU32(uint8_t* p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
    p[2] = static_cast<uint8_t>(v >> 16);
    p[3] = static_cast<uint8_t>(v >> 24);
}

uint32_t getU32(const uint8_t* p) {
    return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
           static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

void putFloat(uint8_t* p, float v) {
    uint32_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    putU32(p, bits);
}

float getFloat(const uint8_t* p) {
    uint32_t bits = getU32(p);
    float v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}

}  // namespace

std::string validateThrowStart(const ThrowStart& start) {
    if (!isValidShape(start.shape)) return "unknown die shape " + std::to_string(start.shape);
    if (!isFinite(start.center) || !isFinite(start.velocity)) return "position or velocity is not finite";
    if (!within(start.center.x, kMaxCoordinate) || !within(start.center.y, kMaxCoordinate) ||
        !within(start.center.z, kMaxCoordinate))
        return "position is out of range";
    if (!within(start.velocity.x, kMaxSpeed) || !within(start.velocity.y, kMaxSpeed) ||
        !within(start.velocity.z, kMaxSpeed))
        return "velocity is out of range";
    return validateOrientation(start.orientation);
}

void appendThrowRecord(std::vector<uint8_t>& body, const ThrowStart& start) {
    size_t at = body.size();
    body.resize(at + kThrowRecordSize, 0);
    uint8_t* p = body.data() + at;
    p[0] = kThrowRecordMarker;
    putU32(p + 4, static_cast<uint32_t>(start.shape));
    putU32(p + 8, start.bodyColor);
    putU32(p + 12, start.colorFlags);
    putU32(p + 16, static_cast<uint32_t>(start.mode));
    for (int i = 0; i < 16; ++i) putFloat(p + 20 + 4 * i, start.orientation.m[i]);
    const float vectors[6] = {start.center.x,   start.center.y,   start.center.z,
                              start.velocity.x, start.velocity.y, start.velocity.z};
    for (int i = 0; i < 6; ++i) putFloat(p + 84 + 4 * i, vectors[i]);
}

DecodedThrows decodeThrowRecords(const uint8_t* body, size_t size) {
    DecodedThrows out;
    for (size_t at = 0; at + kThrowRecordSize <= size; at += kThrowRecordSize) {
        const uint8_t* p = body + at;
        if (p[0] != kThrowRecordMarker) break;
        if (out.starts.size() == kMaxThrowRecords) {
            out.error = "more than " + std::to_string(kMaxThrowRecords) + " dice in one roll";
            break;
        }
        ThrowStart s;
        s.shape = static_cast<int32_t>(getU32(p + 4));
        s.bodyColor = getU32(p + 8);
        s.colorFlags = getU32(p + 12);
        s.mode = static_cast<int32_t>(getU32(p + 16));
        for (int i = 0; i < 16; ++i) s.orientation.m[i] = getFloat(p + 20 + 4 * i);
        s.center = {getFloat(p + 84), getFloat(p + 88), getFloat(p + 92)};
        s.velocity = {getFloat(p + 96), getFloat(p + 100), getFloat(p + 104)};
        out.error = validateThrowStart(s);
        if (!out.error.empty()) break;
        out.starts.push_back(s);
    }
    if (!out.error.empty()) out.starts.clear();
    return out;
}

}  // namespace lh::dice
