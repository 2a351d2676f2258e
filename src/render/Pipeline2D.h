// The GL objects behind all two-dimensional drawing: shader programs for
// textured quads tinted by a colour (blended, opaque, or a repeated part of a
// picture) and for antialiased line quads, one vertex
// array and a streamed vertex buffer. Quads collect in a CPU batch that is
// sent whenever the program or texture changes and before anything else
// touches GL state; primitives in one draw keep their order, so the picture
// is the same as drawing each quad by itself.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "render/Color.h"
#include "render/Rect.h"

namespace lh::render {

class Pipeline2D {
public:
    Pipeline2D() = default;
    ~Pipeline2D();
    Pipeline2D(const Pipeline2D&) = delete;
    Pipeline2D& operator=(const Pipeline2D&) = delete;

    // Compiles and links; false (with the GL log in `error`) on failure.
    bool create(std::string& error);
    // Deletes the GL objects; with `contextGone` only forgets their names.
    void release(bool contextGone);
    bool isReady() const { return lineProgram != 0; }

    // Size of the bound target in pixels: the projection maps (0,0) to its
    // first row in memory, which is our top row.
    void setTargetSize(int width, int height);
    // Sets the GL state of 2D drawing: blending as straight alpha, depth
    // test and culling off, our vertex array bound.
    void begin2D();

    // A quad covering [x0,x1) x [y0,y1) showing texels [u0,u1) x [v0,v1) of
    // `texture` (in texels), multiplied by `argb`. `opaque`: every texel and
    // the colour have full alpha, so the quad replaces what is under it and
    // goes without blending, which a software rasterizer does much faster
    // (the Desktop picture covers every frame).
    void addSprite(unsigned texture, float x0, float y0, float x1, float y1, float u0, float v0, float u1,
                   float v1, uint32_t argb, bool opaque = false);
    // A quad covering [x0,x1) x [y0,y1) showing the texels of `source`
    // (x, y, width, height in texels) repeated, its first pixel at
    // (offsetX, offsetY) into the pattern; multiplied by `argb`.
    void addTiledSprite(unsigned texture, float x0, float y0, float x1, float y1, float offsetX, float offsetY,
                        const float source[4], uint32_t argb);
    // A segment between two points in pixel coordinates (pixel edges, not
    // centres), `width` wide with one pixel of antialiased fringe. With
    // `cut`, no pixel outside it is touched, whatever the width.
    void addLine(float x0, float y0, float x1, float y1, float width, uint32_t argb, const Rect* cut = nullptr);
    // A solid quad covering exactly [x0,x1) x [y0,y1), no fringe.
    void addFill(float x0, float y0, float x1, float y1, uint32_t argb);

    void flush();
    // Draw calls sent since the pipeline was made (benchmarks count them).
    uint64_t drawCalls() const { return draws; }

private:
    struct Vertex {
        float x, y;
        float a0, a1;    // texel coordinates, or (distance from the centre line, half width)
        uint32_t color;  // RGBA bytes in memory order, for GL_UNSIGNED_BYTE normalised
        float source[4] = {0, 0, 0, 0};  // tiled quads: the repeated part (x, y, width, height)
    };
    enum class Mode { None, Sprite, OpaqueSprite, Line, Tiled };
    void use(Mode mode, unsigned texture);
    void quad(const Vertex& a, const Vertex& b, const Vertex& c, const Vertex& d);

    unsigned spriteProgram = 0, opaqueProgram = 0, lineProgram = 0, tiledProgram = 0;
    int spriteProjection = -1, opaqueProjection = -1, lineProjection = -1, tiledProjection = -1;
    unsigned vao = 0, vbo = 0;
    std::vector<Vertex> batch;
    Mode mode = Mode::None;
    unsigned boundTexture = 0;
    int targetW = 1, targetH = 1;
    uint64_t draws = 0;
};

}  // namespace lh::render
