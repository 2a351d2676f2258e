#include "characters/PortraitShape.h"

#include <algorithm>
#include <cmath>

#include "render/Bitmap.h"
#include "ui/ResourceFile.h"

namespace lh::characters {

namespace {

uint32_t channel(uint32_t argb, int shift) { return (argb >> shift) & 0xFF; }

// Bilinear sample at the centre of target pixel (x, y).
uint32_t sample(const ui::PixelImage& p, uint32_t x, uint32_t y, uint32_t width, uint32_t height) {
    float fx = (float(x) + 0.5f) * float(p.width) / float(width) - 0.5f;
    float fy = (float(y) + 0.5f) * float(p.height) / float(height) - 0.5f;
    fx = std::clamp(fx, 0.0f, float(p.width - 1));
    fy = std::clamp(fy, 0.0f, float(p.height - 1));
    uint32_t x0 = uint32_t(fx), y0 = uint32_t(fy);
    uint32_t x1 = std::min(x0 + 1, p.width - 1), y1 = std::min(y0 + 1, p.height - 1);
    float tx = fx - float(x0), ty = fy - float(y0);
    auto at = [&](uint32_t px, uint32_t py) { return p.pixels[size_t(py) * p.width + px]; };
    uint32_t a = at(x0, y0), b = at(x1, y0), c = at(x0, y1), d = at(x1, y1);
    uint32_t out = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        float top = float(channel(a, shift)) * (1 - tx) + float(channel(b, shift)) * tx;
        float bottom = float(channel(c, shift)) * (1 - tx) + float(channel(d, shift)) * tx;
        out |= uint32_t(std::lround(top * (1 - ty) + bottom * ty)) << shift;
    }
    return out;
}

bool hasAlpha(const std::vector<uint32_t>& pixels) {
    return std::any_of(pixels.begin(), pixels.end(), [](uint32_t p) { return (p >> 24) != 0xFF; });
}

}  // namespace

ui::PixelImage shapePixels(const ui::PixelImage& picture, const render::Bitmap* mask, uint32_t width,
                           uint32_t height) {
    ui::PixelImage out;
    if (width == 0 || height == 0) return out;
    out.width = width;
    out.height = height;
    out.pixels.assign(size_t(width) * height, 0xFF000000u);
    if (!picture.empty()) {
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x) out.pixels[size_t(y) * width + x] = sample(picture, x, y, width, height);
    }
    if (!mask || mask->GetWidth() == 0) return out;
    const std::vector<uint32_t>& m = mask->Pixels();
    if (m.size() != size_t(mask->GetWidth()) * mask->GetHeight()) return out;
    const bool useAlpha = hasAlpha(m);
    const uint32_t mw = mask->GetWidth(), mh = mask->GetHeight();
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) {
            uint32_t mx = std::min(mw - 1, x * mw / width), my = std::min(mh - 1, y * mh / height);
            uint32_t mp = m[size_t(my) * mw + mx];
            uint32_t alpha = useAlpha ? (mp >> 24) : channel(mp, 16);
            uint32_t& p = out.pixels[size_t(y) * width + x];
            // The picture's own transparency stays: the mask only cuts.
            alpha = alpha * (p >> 24) / 255;
            p = (p & 0x00FFFFFFu) | (alpha << 24);
        }
    return out;
}

std::unique_ptr<render::Bitmap> loadShapedPortrait(const std::string& programPath, const render::Bitmap* mask,
                                                   uint32_t fallbackSize) {
    ui::ResourceFile file;
    if (programPath.empty() || !file.Open(programPath)) return nullptr;
    ui::PixelImage picture;
    if (!ui::decodePicture(file.data(), file.size(), picture)) return nullptr;
    uint32_t width = mask && mask->GetWidth() ? mask->GetWidth() : fallbackSize;
    uint32_t height = mask && mask->GetHeight() ? mask->GetHeight() : fallbackSize;
    ui::PixelImage shaped = shapePixels(picture, mask, width, height);
    auto bitmap = std::make_unique<render::Bitmap>();
    if (!bitmap->LoadFromPixels(shaped.width, shaped.height, shaped.pixels.data())) return nullptr;
    return bitmap;
}

}  // namespace lh::characters
