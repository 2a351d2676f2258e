// Matrices in the conventions the dice were designed in (row vectors,
// left-handed view, clip depth 0..w), kept in glm types: a D3DX-style matrix
// and a glm matrix of the same transform have the same 16 floats, so glm's
// m[i][j] is row i, column j of the row-vector form, and "A then B" is
// glm `B * A`. Only the last step, glClipFromD3D, turns a projection into
// what GL's clip space and our top-down back buffer need.
#pragma once

#include <glm/glm.hpp>

namespace lh::render {

struct Viewport {
    int32_t x = 0, y = 0, width = 0, height = 0;
    float minZ = 0.0f, maxZ = 1.0f;
};

glm::mat4 perspectiveOffCenterLH(float left, float right, float bottom, float top, float zNear, float zFar);
glm::mat4 lookAtLH(const glm::vec3& eye, const glm::vec3& at, const glm::vec3& up);

// The dice camera for a back buffer of width x height: eye at (0,0,-150)
// looking at the table z = 0, near 130, far 150. One pixel at the near plane
// is 39/1024 units wide at every size; the picture grows to the right and
// down from a fixed top left corner.
struct DiceCamera {
    glm::mat4 view;
    glm::mat4 projection;
    Viewport viewport;
};
DiceCamera diceCamera(int32_t width, int32_t height);

// Screen position (pixels, y down, depth 0..1) of a point, and back.
glm::vec3 projectPoint(const glm::vec3& point, const Viewport& viewport, const glm::mat4& projection,
                       const glm::mat4& view, const glm::mat4& world);
glm::vec3 unprojectPoint(const glm::vec3& screen, const Viewport& viewport, const glm::mat4& projection,
                         const glm::mat4& view, const glm::mat4& world);

// The projection to hand to GL for drawing: depth from 0..w to -w..w, y
// flipped for our top-row-first back buffer, and half a pixel across and
// down so that pixel centres fall where they fell in the original design.
glm::mat4 glClipFromD3D(const glm::mat4& projection, int32_t width, int32_t height);

}  // namespace lh::render
