// Small 32-bit float vector and matrix arithmetic for the dice simulation.
// Every result here must be bit-identical on every machine and build, so only
// + - * / and sqrtf are used (all correctly rounded), never a libm function
// that may differ between versions or CPUs. The library is built with
// -ffp-contract=off, and passes that on to whoever includes these headers, so
// that no copy of an inline function here is ever fused into FMA.
#pragma once

#include <cmath>
#include <cstdint>

namespace lh::dice {

struct Vec3 {
    float x = 0.0f;
    float y = 0.0f;
    float z = 0.0f;
};

inline Vec3 operator+(Vec3 a, Vec3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec3 operator-(Vec3 a, Vec3 b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec3 operator*(Vec3 a, float s) {
    return {a.x * s, a.y * s, a.z * s};
}
inline Vec3 operator*(float s, Vec3 a) {
    return {s * a.x, s * a.y, s * a.z};
}
inline Vec3& operator+=(Vec3& a, Vec3 b) {
    return a = a + b;
}
inline Vec3& operator-=(Vec3& a, Vec3 b) {
    return a = a - b;
}

inline float dot(Vec3 a, Vec3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vec3 cross(Vec3 a, Vec3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline float length(Vec3 a) {
    return std::sqrt(dot(a, a));
}

// A zero vector normalizes to zero, as the pair constraints rely on.
inline Vec3 normalized(Vec3 a) {
    float len = length(a);
    if (len == 0.0f) return {};
    return a * (1.0f / len);
}

inline bool isFinite(float v) {
    return std::isfinite(v);
}
inline bool isFinite(Vec3 a) {
    return isFinite(a.x) && isFinite(a.y) && isFinite(a.z);
}

// A 4x4 matrix for row vectors (v' = v M), stored row by row: the translation
// is in m[12], m[13], m[14]. This is the layout that travels in a throw record
// and the one the renderer receives.
struct Matrix4 {
    float m[16] = {1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.0f,
                   0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f};

    float at(int row, int col) const { return m[row * 4 + col]; }
};

Matrix4 multiply(const Matrix4& a, const Matrix4& b);

// v transformed as the point (x, y, z, 1), without the division by w: every
// matrix the simulation applies is affine.
Vec3 transformPoint(Vec3 v, const Matrix4& m);

// Rotation about a unit axis, given by the cosine and sine of the angle rather
// than the angle itself: the callers know those exactly and need no trig.
Matrix4 rotationAxisCosSin(Vec3 unitAxis, float c, float s);

// Roll about z, then pitch about x, then yaw about y, angles in radians.
Matrix4 rotationYawPitchRoll(float yaw, float pitch, float roll);

// sin and cos of an angle in radians, reproducible everywhere. Accurate to a
// few ulp for |a| up to about 1e5; larger or non-finite angles give sin 0, cos 1.
float reproducibleSin(float a);
float reproducibleCos(float a);

}  // namespace lh::dice
