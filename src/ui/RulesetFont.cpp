// Ruleset fonts: the glyph-file form packed into one atlas bitmap, and the
// system-font form for fonts that name no glyph file.
#include "ui/RulesetFont.h"

#include <stdlib.h>  // mkstemp
#include <unistd.h>  // write, close

#include <algorithm>
#include <cstdio>
#include <vector>

#include "db/XmlElement.h"
#include "render/FreeTypeFont.h"
#include "render/RenderContext.h"
#include "ui/GlyphFile.h"
#include "ui/ResourceFile.h"
#include "ui/RulesetFiles.h"
#include "ui/RulesetXml.h"

namespace lh::ui {

namespace {

// Glyphs are packed in rows no wider than this; 224 glyphs of the largest
// size a record can give (255 x 255) still fit the renderer's 8192 rows.
constexpr int32_t kAtlasRow = 2048;

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// A copy of a font file where the font library can open it by path.
std::string writeTempFontFile(const ResourceFile& file) {
    std::string pattern = "/tmp/fontXXXXXX";
    if (const char* dir = getenv("TMPDIR"); dir && *dir) pattern = std::string(dir) + "/fontXXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    int fd = mkstemp(name.data());
    if (fd < 0) return {};
    const char* p = file.data();
    size_t left = file.size();
    while (left > 0) {
        ssize_t n = ::write(fd, p, left);
        if (n <= 0) break;
        p += n;
        left -= size_t(n);
    }
    ::close(fd);
    if (left > 0) {
        std::remove(name.data());
        return {};
    }
    return name.data();
}

}  // namespace

uint32_t parseRulesetColor(const std::string& text) {
    size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
    if (i < text.size() && text[i] == '#') ++i;
    uint32_t value = 0;
    for (; i < text.size() && hexDigit(text[i]) >= 0; ++i) value = (value << 4) | uint32_t(hexDigit(text[i]));
    return value & 0xFFFFFFu;
}

int32_t pointsToPixels(int32_t points) {
    int64_t scaled = int64_t(points) * 96;
    return int32_t(scaled >= 0 ? (scaled + 36) / 72 : (scaled - 36) / 72);
}

RulesetFont::RulesetFont() = default;

RulesetFont::~RulesetFont() {
    system.reset();
    if (!tempPath.empty()) std::remove(tempPath.c_str());
}

bool RulesetFont::Load(db::XmlElement& element) {
    if (!readText(element, "NAME", fontName)) return false;
    std::string glyphPath, filePath;
    uint32_t rgb = 0;
    forEachChild(element, [&](std::unique_ptr<db::XmlElement> child, const std::string& tag) {
        std::string text;
        if (tag == "GLYFILE" && readText(*child, "NAME", text)) {
            glyphPath = text;
            glyphFont = true;
        } else if (tag == "FILE" && readText(*child, "NAME", text)) {
            filePath = text;
        } else if (tag == "FACE" && readText(*child, "VALUE", text)) {
            faceName = text.substr(0, kMaxFaceName);
        } else if (tag == "SIZE") {
            readInt(*child, "VALUE", size);
        } else if (tag == "WEIGHT") {
            readInt(*child, "VALUE", fontWeight);
        } else if (tag == "COLOR" && readText(*child, "VALUE", text)) {
            rgb = parseRulesetColor(text);
        } else if (tag == "ITALIC") {
            isItalic = true;
        }
    });
    if (glyphFont) {
        ResourceFile file;
        openRulesetFile(glyphPath, file);
        LoadGlyphs(file.data(), file.size(), 0xFF000000u | rgb);
    } else {
        fontColor = ((rgb & 0xFF) << 16) | (rgb & 0xFF00) | ((rgb >> 16) & 0xFF);
        openSystemFont(filePath);
    }
    return true;
}

void RulesetFont::openSystemFont(const std::string& filePath) {
    render::FreeTypeFont::Options options;
    options.face = faceName;
    options.pixelSize = std::clamp(pointsToPixels(size), 1, 512);
    options.bold = fontWeight >= 600;
    options.italic = isItalic;
    options.color =
        0xFF000000u | ((fontColor & 0xFF) << 16) | (fontColor & 0xFF00) | ((fontColor >> 16) & 0xFF);
    if (!filePath.empty()) {
        ResourceFile file;
        if (openRulesetFile(filePath, file)) {
            tempPath = writeTempFontFile(file);
            if (!tempPath.empty()) system = render::FreeTypeFont::OpenFile(tempPath, options);
        }
    }
    if (!system) system = render::FreeTypeFont::Open(options);
}

bool RulesetFont::LoadGlyphs(const void* bytes, size_t length, uint32_t argb) {
    glyphFont = true;
    fontColor = argb;
    glyphs = {};
    atlas.Release();
    lineHeight = 0;
    GlyphSet set;
    std::string error;
    if (!bytes || !parseGlyphFile(bytes, length, set, error)) return false;
    glyphOverlap = set.overlap;
    if (set.present[' ']) lineHeight = set.glyphs[' '].height;

    // Shelf packing, one pixel apart so that no glyph bleeds into the next.
    int32_t x = 0, y = 0, rowHeight = 0, width = 0;
    for (int c = 0; c < 256; ++c) {
        if (!set.present[c]) continue;
        const Glyph& g = set.glyphs[c];
        glyphs[c].present = true;
        glyphs[c].width = g.width;
        if (g.width == 0 || g.height == 0) continue;
        if (x + g.width > kAtlasRow) {
            x = 0;
            y += rowHeight + 1;
            rowHeight = 0;
        }
        glyphs[c].atlas = {x, y, x + g.width, y + g.height};
        x += g.width + 1;
        rowHeight = std::max<int32_t>(rowHeight, g.height);
        width = std::max(width, x);
    }
    const int32_t height = y + rowHeight;
    if (width == 0 || height == 0) return true;  // only blanks: measures, draws nothing
    std::vector<uint32_t> pixels(size_t(width) * size_t(height), 0x00FFFFFFu);
    for (int c = 0; c < 256; ++c) {
        const render::Rect& r = glyphs[c].atlas;
        if (r.isEmpty()) continue;
        const Glyph& g = set.glyphs[c];
        for (int32_t row = 0; row < g.height; ++row)
            for (int32_t col = 0; col < g.width; ++col)
                pixels[size_t(r.top + row) * size_t(width) + size_t(r.left + col)] =
                    (uint32_t(g.alpha[size_t(row) * g.width + size_t(col)]) << 24) | 0xFFFFFFu;
    }
    return atlas.LoadFromPixels(uint32_t(width), uint32_t(height), pixels.data());
}

bool RulesetFont::IsLoaded() const {
    if (system) return system->IsLoaded();
    return glyphFont &&
           std::any_of(glyphs.begin(), glyphs.end(), [](const GlyphSlot& g) { return g.present; });
}

int32_t RulesetFont::advance(unsigned char c) const {
    return glyphs[c].present ? glyphs[c].width - glyphOverlap : 0;
}

int32_t RulesetFont::LineHeight() const {
    return system ? system->LineHeight() : lineHeight;
}

render::TextSize RulesetFont::MeasureText(const char* text, int32_t length) const {
    if (system) return system->MeasureText(text, length);
    render::TextSize size{0, lineHeight};
    for (int32_t i = 0; i < length && text; ++i) size.width += advance(static_cast<unsigned char>(text[i]));
    return size;
}

int32_t RulesetFont::HitTestText(const char* text, int32_t length, int32_t x, int32_t& extent) const {
    if (system) return system->HitTestText(text, length, x, extent);
    extent = 0;
    for (int32_t i = 0; i < length && text; ++i) {
        int32_t step = advance(static_cast<unsigned char>(text[i]));
        if (extent + step > x) return i;
        extent += step;
    }
    return std::max(length, 0);
}

void RulesetFont::DrawText(render::RenderContext& context, int32_t x, int32_t y, const char* text,
                           int32_t length, const render::Rect* clip) {
    if (system) return system->DrawText(context, x, y, text, length, clip);
    for (int32_t i = 0; i < length && text; ++i) {
        const GlyphSlot& g = glyphs[static_cast<unsigned char>(text[i])];
        if (!g.present) continue;
        if (!g.atlas.isEmpty())
            context.DrawBitmapPart(atlas, g.atlas, x, y, context.GlyphColor(fontColor), clip);
        x += g.width - glyphOverlap;
    }
}

}  // namespace lh::ui
