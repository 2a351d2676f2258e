// GL side of the dice: two small programs (lit and textured bodies, flat
// shadows), a vertex array per mesh and one numeral texture.
#include "render/DiceRenderer.h"

#include <epoxy/gl.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "platform/SystemFonts.h"
#include "render/GlProgram.h"
#include "render/GraphicsDevice.h"

namespace lh::render {

namespace {

const char* kLitVertex = R"(#version 330 core
layout(location = 0) in vec3 aPosition;
layout(location = 1) in vec3 aNormal;
layout(location = 2) in vec2 aUv;
uniform mat4 uViewProj;
uniform mat4 uWorld;
out vec3 vLit;
out float vShine;
out vec2 vUv;
void main() {
    vec4 w = uWorld * vec4(aPosition, 1.0);
    gl_Position = uViewProj * w;
    vec3 n = normalize(mat3(uWorld) * aNormal);
    vec3 l = -normalize(vec3(0.3, -0.3, 1.1));
    float nl = max(dot(n, l), 0.0);
    vLit = vec3(clamp(0.3 + 0.9 * nl, 0.0, 1.0));
    vec3 h = normalize(normalize(vec3(0.0, 0.0, -150.0) - w.xyz) + l);
    vShine = nl > 0.0 ? clamp(pow(max(dot(n, h), 0.0), 150.0), 0.0, 1.0) : 0.0;
    vUv = aUv;
}
)";

const char* kLitFragment = R"(#version 330 core
in vec3 vLit;
in float vShine;
in vec2 vUv;
uniform sampler2D uTexture;
uniform vec4 uBody;
uniform int uWhite;
out vec4 fragColor;
void main() {
    vec4 t = texture(uTexture, vUv);
    vec3 numeral = uWhite != 0 ? t.rgb : vec3(1.0) - t.rgb;
    fragColor = vec4(mix(uBody.rgb, numeral, t.a) * vLit + vec3(vShine), 1.0);
}
)";

const char* kShadowVertex = R"(#version 330 core
layout(location = 0) in vec3 aPosition;
uniform mat4 uViewProj;
uniform mat4 uWorld;
void main() { gl_Position = uViewProj * (uWorld * vec4(aPosition, 1.0)); }
)";

const char* kShadowFragment = R"(#version 330 core
uniform float uAlpha;
out vec4 fragColor;
void main() { fragColor = vec4(0.0, 0.0, 0.0, uAlpha); }
)";

GLuint linkProgram(const char* vertex, const char* fragment) {
    std::string error;
    return linkGlProgram(vertex, fragment, error);
}

glm::mat4 fromRows(const float m[16]) {
    // The row-vector matrix's 16 floats are glm's column-major ones.
    glm::mat4 g;
    std::memcpy(&g[0][0], m, sizeof(float) * 16);
    return g;
}

// Flattens onto the plane z = -0.1 (normal towards the viewer) away from the
// light at (-3, 3, -11), taken as a direction: row i of the row-vector form
// is dot(P, L) e_i - P_i L.
glm::mat4 shadowMatrix() {
    const float plane[4] = {0.0f, 0.0f, -1.0f, -0.1f};
    const float light[4] = {-3.0f, 3.0f, -11.0f, 0.0f};
    float d = 0.0f;
    for (int i = 0; i < 4; ++i) d += plane[i] * light[i];
    float rows[16];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) rows[i * 4 + j] = (i == j ? d : 0.0f) - plane[i] * light[j];
    return fromRows(rows);
}

}  // namespace

DiceRenderer::DiceRenderer() {
    GraphicsDevice::Get().Register(this);
    registered = true;
}

DiceRenderer::~DiceRenderer() {
    release(GraphicsDevice::Get().IsContextLost() || !GraphicsDevice::Get().IsCreated());
    if (registered) GraphicsDevice::Get().Unregister(this);
}

float DiceRenderer::ShadowAlpha(float z) {
    if (z < -0.4f) return 0.3f;
    if (z > -0.4f && z < -0.1f) return (z + 0.1f) * -0.75f;
    return 0.0f;
}

Rect DiceRenderer::ScreenBox(const DiceCamera& camera, const float world[16], float radius) {
    const glm::vec3 origin{world[12], world[13], world[14]};
    if (!std::isfinite(origin.x) || !std::isfinite(origin.y) || !std::isfinite(origin.z) || !std::isfinite(radius))
        return {};
    const Rect whole{camera.viewport.x, camera.viewport.y, camera.viewport.x + camera.viewport.width,
                     camera.viewport.y + camera.viewport.height};
    // The mesh lies in the cube around its origin, and so its picture and its
    // shadow's lie in those of the cube's corners (both are projections of
    // convex sets that keep straight lines straight).
    const glm::mat4 flatten = shadowMatrix();
    const glm::mat4 viewProj = camera.projection * camera.view;
    float left = 1e30f, top = 1e30f, right = -1e30f, bottom = -1e30f;
    for (int corner = 0; corner < 16; ++corner) {
        glm::vec4 p{origin.x + (corner & 1 ? radius : -radius), origin.y + (corner & 2 ? radius : -radius),
                    origin.z + (corner & 4 ? radius : -radius), 1.0f};
        if (corner & 8) {
            p = flatten * p;
            p /= p.w;
        }
        const glm::vec4 clip = viewProj * p;
        if (!(clip.w > 0.0f)) return whole;
        const float x = float(camera.viewport.x) + (1.0f + clip.x / clip.w) * float(camera.viewport.width) * 0.5f;
        const float y = float(camera.viewport.y) + (1.0f - clip.y / clip.w) * float(camera.viewport.height) * 0.5f;
        left = std::min(left, x);
        right = std::max(right, x);
        top = std::min(top, y);
        bottom = std::max(bottom, y);
    }
    // A pixel of margin beyond the pixels whose centres the corners cover,
    // and nothing beyond a size that ints hold.
    const float limit = 1e8f;
    auto cut = [limit](float v) { return int32_t(std::max(-limit, std::min(limit, v))); };
    return {cut(std::floor(left)) - 1, cut(std::floor(top)) - 1, cut(std::ceil(right)) + 1, cut(std::ceil(bottom)) + 1};
}

void DiceRenderer::SetContent(std::vector<DieMeshData> meshes, ArgbPicture numerals) {
    release(false);
    meshData = std::move(meshes);
    picture = std::move(numerals);
    makeGpuObjects();
}

bool DiceRenderer::makeGpuObjects() {
    if (!GraphicsDevice::Get().IsCreated() || meshData.empty()) return false;
    litProgram = linkProgram(kLitVertex, kLitFragment);
    shadowProgram = linkProgram(kShadowVertex, kShadowFragment);
    if (!litProgram || !shadowProgram) {
        release(false);
        return false;
    }
    litViewProj = glGetUniformLocation(litProgram, "uViewProj");
    litWorld = glGetUniformLocation(litProgram, "uWorld");
    litBody = glGetUniformLocation(litProgram, "uBody");
    litWhite = glGetUniformLocation(litProgram, "uWhite");
    litTexture = glGetUniformLocation(litProgram, "uTexture");
    shadowViewProj = glGetUniformLocation(shadowProgram, "uViewProj");
    shadowWorld = glGetUniformLocation(shadowProgram, "uWorld");
    shadowAlpha = glGetUniformLocation(shadowProgram, "uAlpha");

    for (const DieMeshData& data : meshData) {
        GpuMesh m;
        glGenVertexArrays(1, &m.vao);
        glGenBuffers(1, &m.vbo);
        glGenBuffers(1, &m.ibo);
        glBindVertexArray(m.vao);
        glBindBuffer(GL_ARRAY_BUFFER, m.vbo);
        glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(data.vertices.size() * sizeof(DieMeshVertex)), data.vertices.data(),
                     GL_STATIC_DRAW);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, m.ibo);
        glBufferData(GL_ELEMENT_ARRAY_BUFFER, GLsizeiptr(data.indices.size() * sizeof(uint16_t)), data.indices.data(),
                     GL_STATIC_DRAW);
        const GLsizei stride = sizeof(DieMeshVertex);
        glEnableVertexAttribArray(0);
        glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, stride, reinterpret_cast<void*>(offsetof(DieMeshVertex, position)));
        glEnableVertexAttribArray(1);
        glVertexAttribPointer(1, 3, GL_FLOAT, GL_FALSE, stride, reinterpret_cast<void*>(offsetof(DieMeshVertex, normal)));
        glEnableVertexAttribArray(2);
        glVertexAttribPointer(2, 2, GL_FLOAT, GL_FALSE, stride, reinterpret_cast<void*>(offsetof(DieMeshVertex, uv)));
        m.indexCount = int32_t(data.indices.size());
        gpuMeshes.push_back(m);
    }
    glBindVertexArray(0);

    if (picture.width > 0 && picture.height > 0 && picture.pixels.size() == size_t(picture.width) * picture.height) {
        glGenTextures(1, &texture);
        glBindTexture(GL_TEXTURE_2D, texture);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, GLsizei(picture.width), GLsizei(picture.height), 0, GL_BGRA,
                     GL_UNSIGNED_INT_8_8_8_8_REV, picture.pixels.data());
        // One level, linear both ways, repeating, as the dice were designed.
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
        glBindTexture(GL_TEXTURE_2D, 0);
    }
    return true;
}

void DiceRenderer::release(bool contextGone) {
    if (!contextGone) {
        for (GpuMesh& m : gpuMeshes) {
            glDeleteVertexArrays(1, &m.vao);
            glDeleteBuffers(1, &m.vbo);
            glDeleteBuffers(1, &m.ibo);
        }
        if (texture) glDeleteTextures(1, &texture);
        if (litProgram) glDeleteProgram(litProgram);
        if (shadowProgram) glDeleteProgram(shadowProgram);
    }
    gpuMeshes.clear();
    texture = 0;
    litProgram = shadowProgram = 0;
}

void DiceRenderer::OnDeviceLost() {
    release(GraphicsDevice::Get().IsContextLost());
}

void DiceRenderer::OnDeviceReset() {
    makeGpuObjects();
}

void DiceRenderer::Draw(const DiceCamera& camera, std::span<const DieDrawItem> items) {
    if (!IsReady() || items.empty()) return;
    GraphicsDevice::Get().PrepareDepth();
    const glm::mat4 viewProj =
        glClipFromD3D(camera.projection, camera.viewport.width, camera.viewport.height) * camera.view;
    glEnable(GL_CULL_FACE);
    glCullFace(GL_BACK);
    glFrontFace(GL_CCW);
    glDisable(GL_BLEND);

    glUseProgram(litProgram);
    glUniformMatrix4fv(litViewProj, 1, GL_FALSE, &viewProj[0][0]);
    glUniform1i(litTexture, 0);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, texture);
    for (const DieDrawItem& item : items) {
        if (!item.drawBody || item.mesh < 0 || size_t(item.mesh) >= gpuMeshes.size()) continue;
        glUniformMatrix4fv(litWorld, 1, GL_FALSE, item.world);
        glUniform4f(litBody, float((item.bodyColor >> 16) & 0xFF) / 255.0f, float((item.bodyColor >> 8) & 0xFF) / 255.0f,
                    float(item.bodyColor & 0xFF) / 255.0f, 1.0f);
        glUniform1i(litWhite, item.whiteNumerals ? 1 : 0);
        const GpuMesh& m = gpuMeshes[size_t(item.mesh)];
        glBindVertexArray(m.vao);
        glDrawElements(GL_TRIANGLES, m.indexCount, GL_UNSIGNED_SHORT, nullptr);
    }

    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glUseProgram(shadowProgram);
    glUniformMatrix4fv(shadowViewProj, 1, GL_FALSE, &viewProj[0][0]);
    const glm::mat4 flatten = shadowMatrix();
    for (const DieDrawItem& item : items) {
        if (item.mesh < 0 || size_t(item.mesh) >= gpuMeshes.size()) continue;
        // Cut to a whole byte, as the colour it stands for.
        const float alpha = std::floor(ShadowAlpha(item.centerZ) * 255.0f) / 255.0f;
        if (alpha <= 0.0f) continue;
        const glm::mat4 world = flatten * fromRows(item.world);
        glUniformMatrix4fv(shadowWorld, 1, GL_FALSE, &world[0][0]);
        glUniform1f(shadowAlpha, alpha);
        const GpuMesh& m = gpuMeshes[size_t(item.mesh)];
        glBindVertexArray(m.vao);
        glDrawElements(GL_TRIANGLES, m.indexCount, GL_UNSIGNED_SHORT, nullptr);
    }
    glBindVertexArray(0);
    glBindTexture(GL_TEXTURE_2D, 0);
    glUseProgram(0);
    glDisable(GL_CULL_FACE);
}

bool drawTextsInto(ArgbPicture& picture, std::span<const PlacedText> texts) {
    std::string path = platform::findFontFile("DejaVu Sans", true, false, false);
    if (path.empty()) path = platform::findFontFile("sans:bold");
    if (path.empty()) return false;
    FT_Library library = nullptr;
    if (FT_Init_FreeType(&library) != 0) return false;
    FT_Face face = nullptr;
    if (FT_New_Face(library, path.c_str(), 0, &face) != 0) {
        FT_Done_FreeType(library);
        return false;
    }
    for (const PlacedText& t : texts) {
        if (FT_Set_Pixel_Sizes(face, 0, FT_UInt(std::max(t.pixelSize, 1))) != 0) continue;
        // Measure the ink first, so that the text is centred on its point.
        int32_t width = 0, top = 0, bottom = 0;
        bool first = true;
        for (const char* c = t.text; *c; ++c) {
            if (FT_Load_Char(face, FT_ULong(static_cast<unsigned char>(*c)), FT_LOAD_RENDER) != 0) continue;
            const FT_GlyphSlot g = face->glyph;
            const int32_t gTop = -g->bitmap_top, gBottom = gTop + int32_t(g->bitmap.rows);
            top = first ? gTop : std::min(top, gTop);
            bottom = first ? gBottom : std::max(bottom, gBottom);
            first = false;
            width += int32_t(g->advance.x >> 6);
        }
        int32_t penX = int32_t(std::lround(t.x)) - width / 2;
        const int32_t baseline = int32_t(std::lround(t.y)) - (top + bottom) / 2;
        for (const char* c = t.text; *c; ++c) {
            if (FT_Load_Char(face, FT_ULong(static_cast<unsigned char>(*c)), FT_LOAD_RENDER) != 0) continue;
            const FT_GlyphSlot g = face->glyph;
            const FT_Bitmap& b = g->bitmap;
            for (uint32_t row = 0; row < b.rows; ++row) {
                for (uint32_t col = 0; col < b.width; ++col) {
                    const int32_t x = penX + g->bitmap_left + int32_t(col);
                    const int32_t y = baseline - g->bitmap_top + int32_t(row);
                    if (x < 0 || y < 0 || uint32_t(x) >= picture.width || uint32_t(y) >= picture.height) continue;
                    const uint8_t coverage = b.buffer[int64_t(row) * b.pitch + col];
                    uint32_t& p = picture.pixels[size_t(y) * picture.width + size_t(x)];
                    const uint32_t alpha = std::max<uint32_t>(p >> 24, coverage);
                    p = alpha << 24 | 0x00FFFFFFu;
                }
            }
            penX += int32_t(g->advance.x >> 6);
        }
    }
    FT_Done_Face(face);
    FT_Done_FreeType(library);
    return true;
}

}  // namespace lh::render
