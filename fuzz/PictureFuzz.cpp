// Feeds arbitrary bytes to the picture decoder (PNG, JPEG, and the fallback
// for BMP and the rest): nothing may read out of bounds, and a picture it
// accepts has as many pixels as its sides say.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "ui/PictureDecoder.h"

using namespace lh::ui;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    PixelImage image;
    if (!decodePicture(data, size, image)) {
        if (!image.empty()) std::abort();
        return 0;
    }
    if (image.width == 0 || image.height == 0 || image.width > kMaxPictureSide || image.height > kMaxPictureSide ||
        image.pixels.size() != size_t(image.width) * image.height) {
        std::abort();
    }
    return 0;
}
