// Draws the dice: lit, textured meshes over the 2D picture, and a flat
// shadow of each on the table. The meshes and the numeral picture come from
// the dice subsystem (made from the shape tables); this side only holds
// them on the GPU and draws what it is given, in the order given.
//
// Light and material: one directional light, direction (0.3, -0.3, 1.1),
// diffuse 0.9, specular 1 with power 150, emissive 0.3, no ambient; the
// body colour shows where the numeral picture's alpha is 0, the picture
// (or its complement, for black numerals) where it is 1.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "render/Camera.h"
#include "render/DeviceResource.h"
#include "render/Rect.h"

namespace lh::render {

struct DieMeshVertex {
    float position[3];
    float normal[3];
    float uv[2];  // into the numeral picture, 0..1
};

struct DieMeshData {
    std::vector<DieMeshVertex> vertices;
    std::vector<uint16_t> indices;  // triangles, front faces clockwise as seen
};

// A picture of 0xAARRGGBB pixels, top row first.
struct ArgbPicture {
    uint32_t width = 0, height = 0;
    std::vector<uint32_t> pixels;
};

struct DieDrawItem {
    float world[16];  // row-vector matrix, row by row (translation in 12..14)
    int mesh = 0;
    uint32_t bodyColor = 0xFF000000;  // 0xAARRGGBB
    bool whiteNumerals = true;
    bool drawBody = true;  // false: the shadow alone (another's secret dice)
    float centerZ = 0.0f;  // for the shadow's strength
};

class DiceRenderer : public DeviceResource {
public:
    DiceRenderer();
    ~DiceRenderer() override;
    DiceRenderer(const DiceRenderer&) = delete;
    DiceRenderer& operator=(const DiceRenderer&) = delete;

    // Keeps a copy, so that the GPU objects can be made again after a reset.
    void SetContent(std::vector<DieMeshData> meshes, ArgbPicture numerals);
    // The bodies in order, then every shadow. Depth testing is the frame's.
    void Draw(const DiceCamera& camera, std::span<const DieDrawItem> items);

    // The strength of a die's shadow by the height of its centre: full above
    // -0.4, fading to nothing at -0.1, as a finished die sinks.
    static float ShadowAlpha(float centerZ);

    // The pixels that a die drawn with `world` may touch, its shadow's
    // included, when no point of its mesh lies farther than `radius` from
    // the mesh's origin: what must be redrawn where it was and where it is.
    // Empty when the matrix is not finite; the whole viewport when the die
    // reaches behind the eye.
    static Rect ScreenBox(const DiceCamera& camera, const float world[16], float radius);

    void OnDeviceLost() override;
    void OnDeviceReset() override;
    bool IsReady() const { return litProgram != 0; }

private:
    bool makeGpuObjects();
    void release(bool contextGone);

    struct GpuMesh {
        unsigned vao = 0, vbo = 0, ibo = 0;
        int32_t indexCount = 0;
    };
    std::vector<DieMeshData> meshData;
    ArgbPicture picture;
    std::vector<GpuMesh> gpuMeshes;
    unsigned texture = 0;
    unsigned litProgram = 0, shadowProgram = 0;
    int litViewProj = -1, litWorld = -1, litBody = -1, litWhite = -1, litTexture = -1;
    int shadowViewProj = -1, shadowWorld = -1, shadowAlpha = -1;
    bool registered = false;
};

// Rasterises each text centred at its point of a picture (white, coverage
// as alpha; the rest transparent), `pixelSize` high, in DejaVu Sans Bold or
// the system's fallback. False when no font could be read.
struct PlacedText {
    const char* text;
    float x, y;  // centre, in pixels
    int32_t pixelSize;
};
bool drawTextsInto(ArgbPicture& picture, std::span<const PlacedText> texts);

}  // namespace lh::render
