// The pixel work behind a map: the alpha planes of its mask and drawing
// layers, the composite that shows base, mask and grid as one picture, the
// even-odd polygon that reveals part of a mask, and the integer Wu line
// that puts ink on the drawing layer. Plain memory and integers only, so
// every machine computes the same pixels and tests can read them exactly.
//
// Every operation takes or reports a box (render::Rect, right and bottom
// outside), so that a change touches and uploads only the pixels it covers.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "render/Rect.h"
#include "table/BlockPlane.h"

namespace lh::table {

// Larger sides are refused before any memory is taken: 32767 is what a
// packed 16-bit point can reach. A map is drawn in tiles, so it may be far
// larger than one texture; its area is held to what memory can carry.
constexpr int32_t kMaxLayerSide = 32767;
constexpr uint64_t kMaxLayerPixels = 20000ull * 20000ull;
bool layerSizeAllowed(int32_t width, int32_t height);

// One byte of alpha per pixel. The colour of mask and drawing layers is
// always black, so the alpha is all they hold.
struct AlphaPlane : BlockPlane<uint8_t> {
    // Replaces the plane with one of the size, every pixel `fill`. False
    // (and the plane empty) for a size of 0 or one beyond the limits above.
    bool reset(int32_t w, int32_t h, uint8_t fill);
};

// A picture as decoded: 0xAARRGGBB.
struct PicturePixels : BlockPlane<uint32_t> {
    bool reset(int32_t w, int32_t h, uint32_t fill);
};

struct GridLines {
    int32_t size = 0;  // 0: no grid
    int32_t offsetX = 0, offsetY = 0;
};

// What the composite is made of. `mask` null: no mask bitmap. `maskNamed`:
// the value has a mask file, so a machine without the mask bitmap (a client
// before its snapshot) shows nothing of the base. `host` sees masked pixels
// at alpha 64; players see nothing of them.
struct CompositeInputs {
    const PicturePixels* base = nullptr;
    const AlphaPlane* mask = nullptr;
    bool maskNamed = false;
    bool host = false;
    GridLines grid;
};

// Remakes `box` of a composite of width x height from the inputs. The
// pixel (x, y) goes to out[(y - originY) * stride + (x - originX)]: a tile
// of the picture, or the whole of it with origin 0 and stride `width`. The
// caller makes sure `out` covers the box.
void composeBox(const CompositeInputs& in, int32_t width, int32_t height, const render::Rect& box, uint32_t* out,
                int32_t stride, int32_t originX, int32_t originY);
// The whole composite into `out`, resized to width x height.
void composeAll(const CompositeInputs& in, int32_t width, int32_t height, std::vector<uint32_t>& out);

// The grid's colour rule for one pixel that a grid line crosses.
uint32_t gridPixel(uint32_t argb);

// Offsets as the grid keeps them: in [0, size).
int32_t normaliseOffset(int32_t offset, int32_t size);

// A packed outline or stroke point: x in the low 16 bits, y in the high 16
// bits, both signed.
inline uint32_t packPoint(int32_t x, int32_t y) { return uint32_t(uint16_t(int16_t(x))) | (uint32_t(uint16_t(int16_t(y))) << 16); }
inline int32_t pointX(uint32_t p) { return int16_t(uint16_t(p & 0xFFFF)); }
inline int32_t pointY(uint32_t p) { return int16_t(uint16_t(p >> 16)); }

// The box of the points (right and bottom one past the largest), cut to
// the plane: empty when they miss it. Nothing is allocated on the way, so
// hostile points at +-32767 cost nothing.
render::Rect polygonBox(std::span<const uint32_t> points, const render::Rect& bounds);

// Sets alpha 255 on every pixel of `mask` whose centre lies inside the
// polygon by the even-odd rule; only inside the points' box. Fewer than 3
// points reveal nothing. Returns the box that may have changed.
render::Rect revealPolygon(AlphaPlane& mask, std::span<const uint32_t> points);

// The integer Wu line on the alpha plane: the start at full weight, the
// end point not plotted in the general cases; ink adds (255 - w) x p >> 8
// up to 255. Pixels off the plane are skipped. Returns the box touched.
render::Rect drawSegment(AlphaPlane& plane, int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint8_t pressure);

// Grows or shrinks a plane, keeping the alpha of the common part.
void resizePlane(AlphaPlane& plane, int32_t width, int32_t height);

}  // namespace lh::table
