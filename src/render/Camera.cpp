// Camera and projection arithmetic.
#include "render/Camera.h"

namespace lh::render {

glm::mat4 perspectiveOffCenterLH(float l, float r, float b, float t, float zn, float zf) {
    // glm's constructor here takes the rows of the row-vector matrix.
    glm::mat4 m(0.0f);
    m[0][0] = 2.0f * zn / (r - l);
    m[1][1] = 2.0f * zn / (t - b);
    m[2][0] = (l + r) / (l - r);
    m[2][1] = (t + b) / (b - t);
    m[2][2] = zf / (zf - zn);
    m[2][3] = 1.0f;
    m[3][2] = zn * zf / (zn - zf);
    return m;
}

glm::mat4 lookAtLH(const glm::vec3& eye, const glm::vec3& at, const glm::vec3& up) {
    glm::vec3 z = glm::normalize(at - eye);
    glm::vec3 x = glm::normalize(glm::cross(up, z));
    glm::vec3 y = glm::cross(z, x);
    glm::mat4 m(1.0f);
    m[0] = glm::vec4(x.x, y.x, z.x, 0.0f);
    m[1] = glm::vec4(x.y, y.y, z.y, 0.0f);
    m[2] = glm::vec4(x.z, y.z, z.z, 0.0f);
    m[3] = glm::vec4(-glm::dot(x, eye), -glm::dot(y, eye), -glm::dot(z, eye), 1.0f);
    return m;
}

DiceCamera diceCamera(int32_t width, int32_t height) {
    constexpr float kUnitsPerPixel = 0.0380859375f;  // 39 / 1024
    DiceCamera c;
    c.view = lookAtLH({0.0f, 0.0f, -150.0f}, {0.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f});
    c.projection = perspectiveOffCenterLH(-19.5f, 19.5f + float(width - 1024) * kUnitsPerPixel,
                                          -15.234375f - float(height - 800) * kUnitsPerPixel, 15.234375f,
                                          130.0f, 150.0f);
    c.viewport = Viewport{0, 0, width, height, 0.0f, 1.0f};
    return c;
}

glm::vec3 projectPoint(const glm::vec3& p, const Viewport& vp, const glm::mat4& projection,
                       const glm::mat4& view, const glm::mat4& world) {
    glm::vec4 clip = projection * view * world * glm::vec4(p, 1.0f);
    glm::vec3 ndc = glm::vec3(clip) / clip.w;
    return {float(vp.x) + (1.0f + ndc.x) * float(vp.width) * 0.5f,
            float(vp.y) + (1.0f - ndc.y) * float(vp.height) * 0.5f, vp.minZ + ndc.z * (vp.maxZ - vp.minZ)};
}

glm::vec3 unprojectPoint(const glm::vec3& s, const Viewport& vp, const glm::mat4& projection,
                         const glm::mat4& view, const glm::mat4& world) {
    glm::vec4 ndc((s.x - float(vp.x)) * 2.0f / float(vp.width) - 1.0f,
                  1.0f - (s.y - float(vp.y)) * 2.0f / float(vp.height), (s.z - vp.minZ) / (vp.maxZ - vp.minZ),
                  1.0f);
    glm::vec4 p = glm::inverse(projection * view * world) * ndc;
    return glm::vec3(p) / p.w;
}

glm::mat4 glClipFromD3D(const glm::mat4& projection, int32_t width, int32_t height) {
    glm::mat4 depth(1.0f);  // z' = 2z - w
    depth[2][2] = 2.0f;
    depth[3][2] = -1.0f;
    glm::mat4 flip(1.0f);  // y' = -y
    flip[1][1] = -1.0f;
    glm::mat4 half(1.0f);  // x' = x + w/W, y' = y + w/H
    half[3][0] = 1.0f / float(width);
    half[3][1] = 1.0f / float(height);
    return half * flip * depth * projection;
}

}  // namespace lh::render
