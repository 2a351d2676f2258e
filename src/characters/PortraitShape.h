// A shaped portrait: any picture file, whatever its size and format, made
// the size of the portrait mask and cut to its outline. Portrait files have
// no extension; the decoder goes by the bytes.
#pragma once

#include <memory>
#include <string>

#include "ui/PictureDecoder.h"

namespace lh::render {
class Bitmap;
}

namespace lh::characters {

// Scales `picture` to width x height (bilinear) and takes each pixel's alpha
// from `mask` at the same size: the mask's alpha where it has any, else its
// red channel (a black and white mask). Without a mask the picture is only
// scaled. The result is opaque black where the picture is empty.
ui::PixelImage shapePixels(const ui::PixelImage& picture, const render::Bitmap* mask, uint32_t width,
                           uint32_t height);

// Reads a program path (from disk, or the resource archive), shapes it to
// the mask's size (`fallbackSize` square without a mask). Null when the
// file is missing or no picture.
std::unique_ptr<render::Bitmap> loadShapedPortrait(const std::string& programPath, const render::Bitmap* mask,
                                                   uint32_t fallbackSize = 20);

}  // namespace lh::characters
