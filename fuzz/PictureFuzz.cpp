// Feeds arbitrary bytes to the picture decoder (PNG, JPEG, and the fallback
// for BMP and the rest) and to the header reading that checks a picture's
// size before it is decoded: nothing may read out of bounds, and a picture
// that decodes has the size its header gave, within the Bitmap's limit, and
// as many pixels as its sides say.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "render/BitmapLimits.h"
#include "ui/PictureDecoder.h"

using namespace lh::ui;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    uint32_t width = 0, height = 0;
    bool sized = readPictureSize(data, size, width, height);
    (void)pictureRefusal("fuzz.png", data, size);
    PixelImage image;
    if (!decodePicture(data, size, image)) {
        if (!image.empty()) std::abort();
        return 0;
    }
    if (!sized || image.width != width || image.height != height ||
        !lh::render::bitmapSizeAllowed(image.width, image.height) ||
        image.pixels.size() != size_t(image.width) * image.height) {
        std::abort();
    }
    return 0;
}
