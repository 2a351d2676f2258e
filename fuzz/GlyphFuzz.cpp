// Feeds arbitrary bytes to the glyph file reader; what it accepts must
// write back and read again to the same glyphs.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "ui/GlyphFile.h"

using namespace lh::ui;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    GlyphSet set;
    std::string error;
    if (!parseGlyphFile(data, size, set, error)) return 0;
    // The writer stores the codes 32..255 only; the reader takes any code.
    for (int code = 0; code < 256 - kGlyphRecords; ++code) set.glyphs[size_t(code)] = Glyph{};
    std::vector<uint8_t> written = writeGlyphFile(set);
    GlyphSet again;
    if (!parseGlyphFile(written.data(), written.size(), again, error)) std::abort();
    for (int code = 256 - kGlyphRecords; code < 256; ++code) {
        const Glyph& a = set.glyphs[size_t(code)];
        const Glyph& b = again.glyphs[size_t(code)];
        if (a.width != b.width || a.height != b.height || a.alpha != b.alpha) std::abort();
    }
    return 0;
}
