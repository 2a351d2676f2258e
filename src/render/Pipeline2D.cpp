// Shaders, vertex layout and batching of the 2D drawing.
#include "render/Pipeline2D.h"

#include <epoxy/gl.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/type_ptr.hpp>

#include "render/GlProgram.h"

namespace lh::render {

namespace {

const char* kVertexShader = R"(#version 330 core
layout(location = 0) in vec2 aPos;
layout(location = 1) in vec2 aAux;
layout(location = 2) in vec4 aColor;
layout(location = 3) in vec4 aSource;
uniform mat4 uProjection;
out vec2 vAux;
out vec4 vColor;
flat out vec4 vSource;
void main() {
    vAux = aAux;
    vColor = aColor;
    vSource = aSource;
    gl_Position = uProjection * vec4(aPos, 0.0, 1.0);
}
)";

// Exact texels: a fragment centre at texel coordinate t.5 fetches texel t.
// Alpha 0 draws nothing, as the sprite batch's alpha test did.
const char* kSpriteShader = R"(#version 330 core
uniform sampler2D uTexture;
in vec2 vAux;
in vec4 vColor;
out vec4 fragColor;
void main() {
    vec4 c = texelFetch(uTexture, ivec2(floor(vAux)), 0) * vColor;
    if (c.a == 0.0) discard;
    fragColor = c;
}
)";

// A sprite whose texels and colour all have full alpha: nothing to discard,
// and drawn with blending off.
const char* kOpaqueSpriteShader = R"(#version 330 core
uniform sampler2D uTexture;
in vec2 vAux;
in vec4 vColor;
out vec4 fragColor;
void main() {
    fragColor = texelFetch(uTexture, ivec2(floor(vAux)), 0) * vColor;
}
)";

// A part of a texture repeated: vAux counts texels from the corner of the
// pattern, and wraps inside the source rectangle, which is part of a larger
// picture (so the texture's own repeat cannot do it). The source travels
// with each quad, so that the nine parts of a frame go in one draw.
const char* kTiledShader = R"(#version 330 core
uniform sampler2D uTexture;
in vec2 vAux;
in vec4 vColor;
flat in vec4 vSource;
out vec4 fragColor;
void main() {
    ivec2 t = ivec2(vSource.xy + mod(floor(vAux), vSource.zw));
    // A source that reaches past the picture shows nothing there.
    if (any(lessThan(t, ivec2(0))) || any(greaterThanEqual(t, textureSize(uTexture, 0)))) discard;
    vec4 c = texelFetch(uTexture, t, 0) * vColor;
    if (c.a == 0.0) discard;
    fragColor = c;
}
)";

// vAux.x is the distance from the centre line, vAux.y half the width: the
// coverage falls from 1 to 0 over the last pixel. vSource is the rectangle
// (left, top, right, bottom) that the line's pixels must stay in, so a wide
// line along a clip edge loses the part of its width beyond it. Fragment
// coordinates are ours: y grows downwards from the target's top row.
const char* kLineShader = R"(#version 330 core
in vec2 vAux;
in vec4 vColor;
flat in vec4 vSource;
out vec4 fragColor;
void main() {
    if (any(lessThan(gl_FragCoord.xy, vSource.xy)) || any(greaterThanEqual(gl_FragCoord.xy, vSource.zw))) discard;
    float a = vColor.a * clamp(vAux.y + 0.5 - abs(vAux.x), 0.0, 1.0);
    if (a == 0.0) discard;
    fragColor = vec4(vColor.rgb, a);
}
)";


// A cut rectangle for lines that have none: far beyond any target.
constexpr float kUncut = 1.0e9f;

// 0xAARRGGBB to the bytes R, G, B, A in memory.
uint32_t packColor(uint32_t argb) {
    uint8_t bytes[4] = {uint8_t(argb >> 16), uint8_t(argb >> 8), uint8_t(argb), uint8_t(argb >> 24)};
    uint32_t packed;
    std::memcpy(&packed, bytes, 4);
    return packed;
}

}  // namespace

// GL objects go in release(); at process end the context may be gone already.
Pipeline2D::~Pipeline2D() {
    release(true);
}

bool Pipeline2D::create(std::string& error) {
    spriteProgram = linkGlProgram(kVertexShader, kSpriteShader, error);
    if (!spriteProgram) return false;
    opaqueProgram = linkGlProgram(kVertexShader, kOpaqueSpriteShader, error);
    lineProgram = opaqueProgram ? linkGlProgram(kVertexShader, kLineShader, error) : 0;
    tiledProgram = lineProgram ? linkGlProgram(kVertexShader, kTiledShader, error) : 0;
    if (!tiledProgram) {
        release(false);
        return false;
    }
    // Texture unit 0 for the textured programs, once.
    for (unsigned program : {spriteProgram, opaqueProgram, tiledProgram}) {
        glUseProgram(program);
        glUniform1i(glGetUniformLocation(program, "uTexture"), 0);
    }
    glUseProgram(0);
    spriteProjection = glGetUniformLocation(spriteProgram, "uProjection");
    opaqueProjection = glGetUniformLocation(opaqueProgram, "uProjection");
    tiledProjection = glGetUniformLocation(tiledProgram, "uProjection");
    lineProjection = glGetUniformLocation(lineProgram, "uProjection");

    glGenVertexArrays(1, &vao);
    glGenBuffers(1, &vbo);
    glBindVertexArray(vao);
    glBindBuffer(GL_ARRAY_BUFFER, vbo);
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, sizeof(Vertex),
                          reinterpret_cast<void*>(offsetof(Vertex, x)));
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, sizeof(Vertex),
                          reinterpret_cast<void*>(offsetof(Vertex, a0)));
    glEnableVertexAttribArray(2);
    glVertexAttribPointer(2, 4, GL_UNSIGNED_BYTE, GL_TRUE, sizeof(Vertex),
                          reinterpret_cast<void*>(offsetof(Vertex, color)));
    glEnableVertexAttribArray(3);
    glVertexAttribPointer(3, 4, GL_FLOAT, GL_FALSE, sizeof(Vertex),
                          reinterpret_cast<void*>(offsetof(Vertex, source)));
    glBindVertexArray(0);
    mode = Mode::None;
    return true;
}

void Pipeline2D::release(bool contextGone) {
    if (!contextGone) {
        for (unsigned program : {spriteProgram, opaqueProgram, lineProgram, tiledProgram})
            if (program) glDeleteProgram(program);
        if (vbo) glDeleteBuffers(1, &vbo);
        if (vao) glDeleteVertexArrays(1, &vao);
    }
    spriteProgram = opaqueProgram = lineProgram = tiledProgram = vao = vbo = 0;
    batch.clear();
    mode = Mode::None;
    boundTexture = 0;
}

void Pipeline2D::setTargetSize(int width, int height) {
    if (width == targetW && height == targetH) return;
    flush();
    targetW = width > 0 ? width : 1;
    targetH = height > 0 ? height : 1;
}

void Pipeline2D::begin2D() {
    flush();
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glBlendEquation(GL_FUNC_ADD);
    mode = Mode::None;
}

void Pipeline2D::use(Mode m, unsigned texture) {
    if (m == mode && (m == Mode::Line || texture == boundTexture)) return;
    flush();
    mode = m;
    boundTexture = texture;
}

void Pipeline2D::quad(const Vertex& a, const Vertex& b, const Vertex& c, const Vertex& d) {
    // Two triangles a-b-c and a-c-d.
    batch.push_back(a);
    batch.push_back(b);
    batch.push_back(c);
    batch.push_back(a);
    batch.push_back(c);
    batch.push_back(d);
}

void Pipeline2D::addSprite(unsigned texture, float x0, float y0, float x1, float y1, float u0, float v0,
                           float u1, float v1, uint32_t argb, bool opaque) {
    if (!isReady() || !texture) return;
    use(opaque ? Mode::OpaqueSprite : Mode::Sprite, texture);
    uint32_t c = packColor(argb);
    quad({x0, y0, u0, v0, c}, {x1, y0, u1, v0, c}, {x1, y1, u1, v1, c}, {x0, y1, u0, v1, c});
}

void Pipeline2D::addTiledSprite(unsigned texture, float x0, float y0, float x1, float y1, float offsetX,
                                float offsetY, const float source[4], uint32_t argb) {
    if (!isReady() || !texture || source[2] <= 0 || source[3] <= 0) return;
    use(Mode::Tiled, texture);
    uint32_t c = packColor(argb);
    float u1 = offsetX + (x1 - x0), v1 = offsetY + (y1 - y0);
    const float* s = source;
    quad({x0, y0, offsetX, offsetY, c, {s[0], s[1], s[2], s[3]}}, {x1, y0, u1, offsetY, c, {s[0], s[1], s[2], s[3]}},
         {x1, y1, u1, v1, c, {s[0], s[1], s[2], s[3]}}, {x0, y1, offsetX, v1, c, {s[0], s[1], s[2], s[3]}});
}

void Pipeline2D::addLine(float x0, float y0, float x1, float y1, float width, uint32_t argb, const Rect* cut) {
    if (!isReady()) return;
    float dx = x1 - x0, dy = y1 - y0;
    float len = std::sqrt(dx * dx + dy * dy);
    float half = width * 0.5f;
    float reach = half + 0.5f;  // where the fringe reaches 0
    float tx, ty;               // unit direction
    if (len < 1e-6f) {
        tx = 1.0f;
        ty = 0.0f;
    } else {
        tx = dx / len;
        ty = dy / len;
    }
    float nx = -ty, ny = tx;
    // Half a pixel past each end, so both end pixels are covered.
    float sx = x0 - tx * 0.5f, sy = y0 - ty * 0.5f;
    float ex = x1 + tx * 0.5f, ey = y1 + ty * 0.5f;
    use(Mode::Line, 0);
    uint32_t c = packColor(argb);
    const float k[4] = {cut ? float(cut->left) : -kUncut, cut ? float(cut->top) : -kUncut,
                        cut ? float(cut->right) : kUncut, cut ? float(cut->bottom) : kUncut};
    quad({sx + nx * reach, sy + ny * reach, reach, half, c, {k[0], k[1], k[2], k[3]}},
         {ex + nx * reach, ey + ny * reach, reach, half, c, {k[0], k[1], k[2], k[3]}},
         {ex - nx * reach, ey - ny * reach, -reach, half, c, {k[0], k[1], k[2], k[3]}},
         {sx - nx * reach, sy - ny * reach, -reach, half, c, {k[0], k[1], k[2], k[3]}});
}

void Pipeline2D::addFill(float x0, float y0, float x1, float y1, uint32_t argb) {
    if (!isReady()) return;
    use(Mode::Line, 0);
    uint32_t c = packColor(argb);
    // A half width far beyond any distance: full coverage everywhere.
    const float solid = 1.0e6f;
    const float u = kUncut;
    quad({x0, y0, 0, solid, c, {-u, -u, u, u}}, {x1, y0, 0, solid, c, {-u, -u, u, u}},
         {x1, y1, 0, solid, c, {-u, -u, u, u}}, {x0, y1, 0, solid, c, {-u, -u, u, u}});
}

void Pipeline2D::flush() {
    if (batch.empty() || !isReady()) {
        batch.clear();
        return;
    }
    GLuint program = lineProgram;
    GLint projectionAt = lineProjection;
    switch (mode) {
    case Mode::Sprite: program = spriteProgram, projectionAt = spriteProjection; break;
    case Mode::OpaqueSprite: program = opaqueProgram, projectionAt = opaqueProjection; break;
    case Mode::Tiled: program = tiledProgram, projectionAt = tiledProjection; break;
    default: break;
    }
    glUseProgram(program);
    glm::mat4 projection = glm::ortho(0.0f, float(targetW), 0.0f, float(targetH));
    glUniformMatrix4fv(projectionAt, 1, GL_FALSE, glm::value_ptr(projection));
    if (mode != Mode::Line) {
        glActiveTexture(GL_TEXTURE0);
        glBindTexture(GL_TEXTURE_2D, boundTexture);
    }
    glBindVertexArray(vao);
    glBindBuffer(GL_ARRAY_BUFFER, vbo);
    // A new store each time: the driver need not wait for the last draw.
    glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(batch.size() * sizeof(Vertex)), batch.data(), GL_STREAM_DRAW);
    // An opaque batch is the same picture with blending or without it.
    const bool unblended = mode == Mode::OpaqueSprite && glIsEnabled(GL_BLEND);
    if (unblended) glDisable(GL_BLEND);
    glDrawArrays(GL_TRIANGLES, 0, GLsizei(batch.size()));
    ++draws;
    if (unblended) glEnable(GL_BLEND);
    batch.clear();
}

}  // namespace lh::render
