// Matrices and our own sin/cos for the dice simulation; see DiceMath.h for why.
#include "dice/DiceMath.h"

namespace lh::dice {

Matrix4 multiply(const Matrix4& a, const Matrix4& b) {
    Matrix4 r;
    for (int row = 0; row < 4; ++row) {
        for (int col = 0; col < 4; ++col) {
            float sum = a.at(row, 0) * b.at(0, col);
            sum = sum + a.at(row, 1) * b.at(1, col);
            sum = sum + a.at(row, 2) * b.at(2, col);
            sum = sum + a.at(row, 3) * b.at(3, col);
            r.m[row * 4 + col] = sum;
        }
    }
    return r;
}

Vec3 transformPoint(Vec3 v, const Matrix4& m) {
    return {v.x * m.m[0] + v.y * m.m[4] + v.z * m.m[8] + m.m[12],
            v.x * m.m[1] + v.y * m.m[5] + v.z * m.m[9] + m.m[13],
            v.x * m.m[2] + v.y * m.m[6] + v.z * m.m[10] + m.m[14]};
}

Matrix4 rotationAxisCosSin(Vec3 u, float c, float s) {
    // Row-vector form: the transpose of the usual column-vector rotation, so
    // that v M turns v by the angle counter-clockwise about u.
    float t = 1.0f - c;
    Matrix4 r;
    r.m[0] = t * u.x * u.x + c;
    r.m[1] = t * u.x * u.y + s * u.z;
    r.m[2] = t * u.x * u.z - s * u.y;
    r.m[4] = t * u.x * u.y - s * u.z;
    r.m[5] = t * u.y * u.y + c;
    r.m[6] = t * u.y * u.z + s * u.x;
    r.m[8] = t * u.x * u.z + s * u.y;
    r.m[9] = t * u.y * u.z - s * u.x;
    r.m[10] = t * u.z * u.z + c;
    return r;
}

Matrix4 rotationYawPitchRoll(float yaw, float pitch, float roll) {
    float cy = reproducibleCos(yaw), sy = reproducibleSin(yaw);
    float cp = reproducibleCos(pitch), sp = reproducibleSin(pitch);
    float cr = reproducibleCos(roll), sr = reproducibleSin(roll);
    Matrix4 z, x, y;
    z.m[0] = cr, z.m[1] = sr, z.m[4] = -sr, z.m[5] = cr;
    x.m[5] = cp, x.m[6] = sp, x.m[9] = -sp, x.m[10] = cp;
    y.m[0] = cy, y.m[2] = -sy, y.m[8] = sy, y.m[10] = cy;
    return multiply(multiply(z, x), y);
}

namespace {

// pi/2 split into three parts whose leading parts have few enough bits that
// q * part is exact for the quadrant counts we accept.
constexpr float kHalfPi1 = 1.5703125f;
constexpr float kHalfPi2 = 4.837512969970703125e-4f;
constexpr float kHalfPi3 = 7.54978995489188216e-8f;
constexpr float kTwoOverPi = 0.636619772367581343f;
constexpr float kLargestAngle = 100000.0f;

// Minimax polynomials on [-pi/4, pi/4].
float sinKernel(float r) {
    float z = r * r;
    return r + r * z * (-1.6666654611e-1f + z * (8.3321608736e-3f + z * -1.9515295891e-4f));
}

float cosKernel(float r) {
    float z = r * r;
    return 1.0f - 0.5f * z +
           z * z * (4.166664568298827e-2f + z * (-1.388731625493765e-3f + z * 2.443315711809948e-5f));
}

// Reduces a to r in [-pi/4, pi/4] with a = r + q pi/2; returns q mod 4.
int reduce(float a, float& r) {
    float t = a * kTwoOverPi;
    // Round to nearest by truncation of t +- 0.5: exact, and no rounding mode
    // or library call involved.
    int q = static_cast<int>(t < 0.0f ? t - 0.5f : t + 0.5f);
    float qf = static_cast<float>(q);
    r = ((a - qf * kHalfPi1) - qf * kHalfPi2) - qf * kHalfPi3;
    return q & 3;
}

}  // namespace

float reproducibleSin(float a) {
    if (!(a >= -kLargestAngle && a <= kLargestAngle)) return 0.0f;
    float r = 0.0f;
    switch (reduce(a, r)) {
        case 0:
            return sinKernel(r);
        case 1:
            return cosKernel(r);
        case 2:
            return -sinKernel(r);
        default:
            return -cosKernel(r);
    }
}

float reproducibleCos(float a) {
    if (!(a >= -kLargestAngle && a <= kLargestAngle)) return 1.0f;
    float r = 0.0f;
    switch (reduce(a, r)) {
        case 0:
            return cosKernel(r);
        case 1:
            return -sinKernel(r);
        case 2:
            return -cosKernel(r);
        default:
            return sinKernel(r);
    }
}

}  // namespace lh::dice
