// Materials, the Desktop tile and the nine-part frames. A frame picture is
// 2 * corner + middle pixels square; everything that varies along an edge
// repeats with the period `middle`, starting at `corner`, so that the edge
// pieces and the middle tile without seams however often a frame repeats them.
#include <algorithm>
#include <cmath>
#include <functional>

#include "artgen_parts.h"

namespace art {

namespace {

float wrap(float v, int period) {
    float p = float(period);
    return std::fmod(std::fmod(v, p) + p, p);
}

float clamp01(float v) { return std::clamp(v, 0.0f, 1.0f); }

// Cloudy noise from octaves whose cell counts share no factor, so that no
// grid shows in a surface, nor where its tile repeats.
float clouds(uint32_t seed, float x, float y, int period) {
    float p = float(period);
    return 0.35f * tileNoise(seed, x, y, p / 3, period, period) + 0.3f * tileNoise(seed + 1, x, y, p / 5, period, period) +
           0.2f * tileNoise(seed + 2, x, y, p / 9, period, period) + 0.15f * tileNoise(seed + 3, x, y, p / 17, period, period);
}

}  // namespace

Color parchment(float x, float y, int period, uint32_t seed) {
    x = wrap(x, period), y = wrap(y, period);
    float stain = clouds(seed, x, y, period);
    float fibre = tileNoise(seed + 7, x, y * 0.25f, 2, period, period / 4);  // streaks across
    float speck = tileNoise(seed + 9, x, y, 1, period, period);
    Color c = mix(rgb(0xDCCA9E), rgb(0xF0E4C4), std::clamp((stain - 0.5f) * 1.6f + 0.5f, 0.0f, 1.0f));
    c = shade(c, 0.975f + 0.04f * fibre);
    if (speck > 0.93f) c = shade(c, 0.93f);
    return c;
}

Color leather(float x, float y, int period, uint32_t seed, Color dark, Color light) {
    x = wrap(x, period), y = wrap(y, period);
    float body = clouds(seed, x, y, period);
    float pebble = tileNoise(seed + 5, x, y, 2, period, period);
    return shade(mix(dark, light, clamp01((body - 0.5f) * 1.5f + 0.5f)), 0.86f + 0.26f * pebble);
}

Color brass(float x, float y, int period, uint32_t seed) {
    x = wrap(x, period), y = wrap(y, period);
    float body = tileFbm(seed, x, y, 16, period, period);
    float brush = tileNoise(seed + 3, x, y, 1, period, period);
    return shade(mix(rgb(0x9C7A34), rgb(0xD9BA6A), body), 0.94f + 0.1f * brush);
}

Color iron(float x, float y, int period, uint32_t seed) {
    x = wrap(x, period), y = wrap(y, period);
    float body = tileFbm(seed, x, y, 16, period, period);
    return shade(mix(rgb(0x3C4048), rgb(0x646A74), body), 0.93f + 0.12f * tileNoise(seed + 9, x, y, 2, period, period));
}

Color slate(float x, float y, int period, uint32_t seed) {
    x = wrap(x, period), y = wrap(y, period);
    float body = clouds(seed, x, y, period);
    return shade(mix(rgb(0x201E27), rgb(0x2A2732), body), 0.96f + 0.06f * tileNoise(seed + 4, x, y, 2, period, period));
}

Canvas desktopTile() {
    // Dark oak planks: the table that everything lies on. Planks run across,
    // 64 pixels wide, each row cut into boards of its own lengths, so that
    // the joints do not line up into a pattern.
    const int size = 512;
    const int rows = size / 64;
    Canvas c(size, size);
    for (int y = 0; y < size; ++y) {
        int plank = y / 64;
        int v = y % 64;
        int cutA = (plank * 181 + 67) % size, cutB = (cutA + 190 + (plank * 53) % 140) % size;
        for (int x = 0; x < size; ++x) {
            // Which board of the row this is: its own grain and tint.
            int board = ((x - cutA + size) % size) < ((cutB - cutA + size) % size) ? 0 : 1;
            uint32_t grainSeed = 31 + uint32_t(plank * 2 + board);
            float streak = tileNoise(grainSeed, float(x), float(y) * 9, 24, size, size * 9);
            float fine = tileNoise(41, float(x), float(y) * 6, 3, size, size * 6);
            float knot = tileFbm(51, float(x), float(y), 40, size, size);
            float tint = 0.9f + 0.2f * float((plank * 7 + board * 3) % rows) / float(rows);
            Color wood = mix(rgb(0x2A1D15), rgb(0x4A3424), clamp01(0.25f + 0.7f * streak * knot + 0.2f * fine));
            // Each board is rounded a little: lighter along its middle.
            float round = 1.0f - 0.18f * std::pow(std::fabs(float(v) - 31.5f) / 32.0f, 2.0f);
            wood = shade(wood, round * tint);
            if (v == 0) wood = rgb(0x120C08);
            if (v == 1) wood = shade(wood, 1.25f);
            if (v == 63) wood = shade(wood, 0.6f);
            if (x == cutA || x == cutB) wood = rgb(0x120C08);
            if (x == (cutA + 1) % size || x == (cutB + 1) % size) wood = shade(wood, 1.2f);
            c.at(x, y) = wood;
        }
    }
    return c;
}

namespace {

// What a frame painter sees at one pixel.
struct FramePixel {
    float x, y;    // pixel centre in the picture
    float d;       // distance inside the frame's outline; negative outside
    float nx, ny;  // outward normal of the outline there
    float along;   // the coordinate along the nearest edge, for stitches
    float light;   // how much the outline faces the light, -1..1
};

struct FrameShape {
    int corner, middle;
    float inset = 0;        // shadow room on every side
    float radiusTop = 0;    // corner rounding of the upper corners
    float radiusBottom = 0; // and of the lower ones
    bool openBottom = false;// the outline runs on below the picture (tabs)
    float shadow = 0;       // opacity of the drop shadow in the inset
};

float roundedInside(float px, float py, float x0, float y0, float x1, float y1, float rTop, float rBottom) {
    float cx = (x0 + x1) / 2, cy = (y0 + y1) / 2;
    float hw = (x1 - x0) / 2, hh = (y1 - y0) / 2;
    float r = py < cy ? rTop : rBottom;
    float qx = std::fabs(px - cx) - (hw - r), qy = std::fabs(py - cy) - (hh - r);
    float outside = std::hypot(std::max(qx, 0.0f), std::max(qy, 0.0f)) + std::min(std::max(qx, qy), 0.0f) - r;
    return -outside;
}

Canvas paintFrame(const FrameShape& s, const std::function<Color(const FramePixel&)>& body) {
    const int size = 2 * s.corner + s.middle;
    const float lo = s.inset, hi = float(size) - s.inset;
    const float bottom = s.openBottom ? float(size) + 40 : hi;
    auto inside = [&](float x, float y) { return roundedInside(x, y, lo, lo, hi, bottom, s.radiusTop, s.radiusBottom); };
    Canvas c(size, size);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            FramePixel p;
            p.x = float(x) + 0.5f, p.y = float(y) + 0.5f;
            p.d = inside(p.x, p.y);
            float gx = inside(p.x + 0.5f, p.y) - inside(p.x - 0.5f, p.y);
            float gy = inside(p.x, p.y + 0.5f) - inside(p.x, p.y - 0.5f);
            float len = std::hypot(gx, gy);
            p.nx = len > 0 ? -gx / len : 0, p.ny = len > 0 ? -gy / len : 0;
            p.along = std::fabs(p.nx) > std::fabs(p.ny) ? p.y - float(s.corner) : p.x - float(s.corner);
            p.light = p.nx * -0.55f + p.ny * -0.83f;  // the light comes from the upper left
            if (s.shadow > 0 && s.inset > 0) {
                // A soft drop shadow, lower than the frame, in the inset.
                float sd = roundedInside(p.x, p.y - 2, lo - s.inset + 1, lo - s.inset + 1, hi + s.inset - 1,
                                         (s.openBottom ? bottom : hi) + s.inset - 1, s.radiusTop + s.inset,
                                         s.radiusBottom + s.inset);
                float t = clamp01(sd / (s.inset + 1));
                c.at(x, y) = rgb(0x000000, s.shadow * t * t);
            }
            if (p.d > -1) {
                Color col = body(p);
                c.blend(x, y, col, clamp01(p.d + 0.5f));
            }
        }
    }
    return c;
}

// A raised band from d0 to d1: lit on its outer slope where the outline faces
// the light, shaded on its inner slope, `bevel` pixels wide each.
Color bevelled(Color base, const FramePixel& p, float d0, float d1, float bevel, float strength) {
    if (p.d < d0 + bevel) return shade(base, 1.0f + strength * p.light * (1.0f - (p.d - d0) / bevel));
    if (p.d > d1 - bevel) return shade(base, 1.0f - strength * p.light * (1.0f - (d1 - p.d) / bevel));
    return base;
}

// A weight for shading that runs from 1 at `from` to 0 at `to`, and is 0
// beyond: shading near an edge must end before the middle piece starts,
// or every repeat of the middle would bring its own dark rim.
float fade(float d, float from, float to) {
    float t = clamp01((d - from) / (to - from));
    return (1 - t) * (1 - t);
}

// A sunken edge: the opposite of bevelled, for fields pressed into a sheet.
Color inset(Color base, const FramePixel& p, float width, float strength) {
    if (p.d >= width) return base;
    return shade(base, 1.0f - strength * p.light * (1.0f - p.d / width));
}

// Metal corner caps on all four corners, drawn in the top left and mirrored.
void cornerCaps(Canvas& c, float at, float size, uint32_t seed) {
    const int n = c.width();
    Canvas cap(n, n);
    Points plate = place({0, 0, 1, 0, 0.62f, 0.38f, 0.38f, 0.62f, 0, 1}, size, at, at);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) cap.at(x, y) = withAlpha(brass(float(x), float(y), 64, seed), 0);
    Canvas fill(n, n);
    fill.fillPolygon(plate, rgb(0xFFFFFF));
    for (int y = 0; y < n; ++y) {
        for (int x = 0; x < n; ++x) {
            float a = fill.at(x, y).a;
            if (a <= 0) continue;
            // Brighter towards the outer corner, as a domed plate would be.
            float t = clamp01((float(x) + float(y) - 2 * at) / (size * 1.2f));
            Color m = shade(brass(float(x), float(y), 64, seed), 1.18f - 0.35f * t);
            cap.at(x, y) = withAlpha(m, a);
        }
    }
    cap.strokePath(place({0.04f, 0.96f, 0.04f, 0.04f, 0.96f, 0.04f}, size, at, at), 1.2f, rgb(0xFFF2C0, 0.7f));
    cap.strokePath(place({1, 0, 0.62f, 0.38f, 0.38f, 0.62f, 0, 1}, size, at, at), 1.4f, rgb(0x3A2808, 0.85f));
    float rx = at + size * 0.24f;
    cap.fillCircle(rx + 0.6f, rx + 0.8f, size * 0.1f, rgb(0x2A1A06, 0.6f));
    cap.fillCircle(rx, rx, size * 0.09f, rgb(0xB89448));
    cap.fillCircle(rx - size * 0.03f, rx - size * 0.03f, size * 0.04f, rgb(0xFFF0C8, 0.9f));
    for (int y = 0; y < n; ++y) {
        for (int x = 0; x < n; ++x) {
            const Color& v = cap.at(x, y);
            if (v.a <= 0) continue;
            c.blend(x, y, v);
            c.blend(n - 1 - x, y, v);
            c.blend(x, n - 1 - y, shade(v, 0.85f));
            c.blend(n - 1 - x, n - 1 - y, shade(v, 0.8f));
        }
    }
}

// The character sheet: a stitched leather binding with a gold inlay around
// parchment, brass caps on the corners, a soft shadow under it all.
Canvas sheetFrame() {
    FrameShape s{28, 128, 6, 7, 7, false, 0.45f};
    Canvas c = paintFrame(s, [&](const FramePixel& p) {
        const Color dark = rgb(0x3A2214), light = rgb(0x6E4429);
        if (p.d < 1) return rgb(0x140C07);
        if (p.d < 13) {
            Color band = bevelled(leather(p.x, p.y, 128, 3, dark, light), p, 1, 13, 3, 0.35f);
            float stitch = std::fabs(p.d - 7.0f);
            if (stitch < 0.9f && std::fmod(std::fmod(p.along, 8.0f) + 8.0f, 8.0f) < 5.0f)
                band = mix(band, rgb(0xE0C890), 0.85f * (1.0f - stitch / 0.9f));
            return band;
        }
        if (p.d < 15) return shade(brass(p.x, p.y, 128, 5), p.d < 14 ? 1.2f : 0.85f);
        if (p.d < 16) return rgb(0x3A2614);
        float burn = 1.0f - 0.24f * fade(p.d, 16, 22);
        return shade(parchment(p.x - 28, p.y - 28, 128, 11), burn);
    });
    cornerCaps(c, 6, 21, 8);
    return c;
}

// Modal dialogs: an iron rim with a gold line around dark slate.
Canvas dialogFrame() {
    FrameShape s{24, 64, 6, 5, 5, false, 0.5f};
    Canvas c = paintFrame(s, [&](const FramePixel& p) {
        if (p.d < 1) return rgb(0x08080A);
        if (p.d < 8) return bevelled(iron(p.x, p.y, 64, 13), p, 1, 8, 2.5f, 0.45f);
        if (p.d < 9.5f) return shade(brass(p.x, p.y, 64, 14), 1.1f);
        if (p.d < 10.5f) return rgb(0x0C0B10);
        float vignette = 1.0f - 0.35f * fade(p.d, 10.5f, 18);
        return shade(slate(p.x - 24, p.y - 24, 64, 15), vignette);
    });
    // Rivets on the rim's corners.
    for (float cx : {12.5f, float(c.width()) - 12.5f}) {
        for (float cy : {12.5f, float(c.height()) - 12.5f}) {
            c.fillCircle(cx + 0.5f, cy + 0.7f, 2.6f, rgb(0x000000, 0.6f));
            c.fillCircle(cx, cy, 2.3f, rgb(0x8A8E96));
            c.fillCircle(cx - 0.7f, cy - 0.7f, 1.0f, rgb(0xE8ECF0, 0.9f));
        }
    }
    return c;
}

// The panels that stand on the Desktop (the shortcut bars): dark leather in
// a thin brass rim, with a blind-tooled line inside.
Canvas panelFrame() {
    FrameShape s{16, 64, 4, 6, 6, false, 0.5f};
    return paintFrame(s, [&](const FramePixel& p) {
        if (p.d < 1) return rgb(0x0E0906);
        if (p.d < 4) return bevelled(brass(p.x, p.y, 64, 21), p, 1, 4, 1.5f, 0.5f);
        if (p.d < 5) return rgb(0x1A0F08);
        Color hide = leather(p.x - 16, p.y - 16, 64, 22, rgb(0x2A1810), rgb(0x4A2C1A));
        hide = shade(hide, 1.0f - 0.3f * fade(p.d, 5, 12));
        if (std::fabs(p.d - 8.5f) < 0.6f) hide = shade(hide, 0.7f);
        if (std::fabs(p.d - 9.5f) < 0.6f) hide = shade(hide, 1.2f);
        return hide;
    });
}

// Bookmark tabs of a tabbed sheet: the open bottom runs into the page.
Canvas tabFrame(int kind) {
    FrameShape s{10, 32, 0, 7, 0, true, 0};
    return paintFrame(s, [&](const FramePixel& p) {
        if (kind == 0) {  // the hit frame: a fine gold outline only
            if (p.d < 1.2f) return rgb(0xC8A048, 0.9f);
            if (p.d < 2.2f) return rgb(0x2A1A0C, 0.35f);
            return rgb(0, 0.0f);
        }
        if (p.d < 1) return rgb(0x20140C);
        if (kind == 1) {  // active: the page itself
            if (p.d < 2) return rgb(0xD8B860);
            return parchment(p.x - 10, p.y - 10, 32, 11);
        }
        // the others: the same paper, older and darker, so that their captions
        // still read
        Color paper = shade(mix(parchment(p.x - 10, p.y - 10, 32, 11), rgb(0xB89868), 0.45f), 0.92f);
        paper = shade(paper, 1.0f - 0.12f * std::clamp((p.y - 10) / 22.0f, 0.0f, 1.0f));
        return bevelled(paper, p, 1, 40, 2.5f, 0.3f);
    });
}

// A raised wooden button with a brass edge.
Canvas buttonFrame() {
    FrameShape s{8, 64, 2, 5, 5, false, 0.4f};
    return paintFrame(s, [&](const FramePixel& p) {
        if (p.d < 1) return rgb(0x1A1008);
        if (p.d < 2.5f) return bevelled(brass(p.x, p.y, 64, 27), p, 1, 2.5f, 0.8f, 0.5f);
        Color wood = leather(p.x - 8, p.y - 8, 64, 28, rgb(0x5A3A22), rgb(0x7E5838));
        return bevelled(wood, p, 2.5f, 60, 2.5f, 0.4f);
    });
}

// Fields pressed into the parchment: a sunken edge and a paler ground.
Canvas fieldFrame(bool rounded) {
    FrameShape s{rounded ? 7 : 5, 32, 0, rounded ? 6.0f : 2.5f, rounded ? 6.0f : 2.5f, false, 0};
    return paintFrame(s, [&](const FramePixel& p) {
        if (p.d < 1) return shade(rgb(0x5A3E24, 0.75f), 1.0f - 0.3f * p.light);
        Color ground = rgb(0xFBF4E0, rounded ? 0.7f : 0.5f);
        return inset(ground, p, 4, 0.25f);
    });
}

// A line under a one-line text, as on a paper form.
Canvas underlineFrame() {
    Canvas c(8 + 32, 8 + 32);
    for (int x = 0; x < c.width(); ++x) {
        c.at(x, c.height() - 3) = rgb(0x5A3E24, 0.75f);
        c.at(x, c.height() - 2) = rgb(0xFFFFFF, 0.35f);
    }
    return c;
}

// The little tag that shows the hand-made part of a modified number.
Canvas tagFrame() {
    FrameShape s{6, 16, 0, 5, 5, false, 0};
    return paintFrame(s, [&](const FramePixel& p) {
        if (p.d < 1) return rgb(0x300804);
        return bevelled(rgb(0x902418), p, 1, 20, 2, 0.4f);
    });
}

// The keyboard's home and the drop target: a gold glow, open in the middle.
Canvas focusFrame() {
    FrameShape s{8, 16, 0, 6, 6, false, 0};
    return paintFrame(s, [&](const FramePixel& p) {
        float a = std::exp(-(p.d - 2.0f) * (p.d - 2.0f) / 2.5f);
        return rgb(0xF0C050, 0.95f * a);
    });
}

// Name plates: the radial menu's label, the lists' names.
Canvas plateFrame() {
    FrameShape s{8, 32, 0, 7, 7, false, 0};
    return paintFrame(s, [&](const FramePixel& p) {
        if (p.d < 1.2f) return rgb(0xC8A048, 0.95f);
        if (p.d < 2) return rgb(0x000000, 0.6f);
        return rgb(0x17141C, 0.88f);
    });
}

// The picked row of a list: a gold rim around a faint gold wash.
Canvas selectionFrame() {
    FrameShape s{8, 32, 0, 6, 6, false, 0};
    return paintFrame(s, [&](const FramePixel& p) {
        if (p.d < 1.5f) return rgb(0xE0B850, 0.95f);
        float glow = fade(p.d, 1.5f, 8);
        return mix(rgb(0xC89A30, 0.16f), rgb(0xF0C860, 0.5f), glow);
    });
}

// A heading band: red leather between gold lines.
Canvas headerFrame() {
    FrameShape s{6, 64, 0, 2, 2, false, 0};
    return paintFrame(s, [&](const FramePixel& p) {
        if (p.d < 1) return rgb(0x1A0604);
        if (p.d < 2) return shade(brass(p.x, p.y, 64, 31), 1.15f);
        return bevelled(leather(p.x - 6, p.y - 6, 64, 32, rgb(0x5A140E), rgb(0x7E2418)), p, 2, 40, 2, 0.3f);
    });
}

// The chat's frame: brass rim around translucent slate, so that the table
// shows faintly through the conversation.
Canvas chatFrame() {
    FrameShape s{20, 64, 6, 6, 6, false, 0.45f};
    return paintFrame(s, [&](const FramePixel& p) {
        if (p.d < 1) return rgb(0x0A0806);
        if (p.d < 6) return bevelled(brass(p.x, p.y, 64, 35), p, 1, 6, 2, 0.45f);
        if (p.d < 7) return rgb(0x0A0806);
        Color ground = shade(slate(p.x - 20, p.y - 20, 64, 36), 1.0f - 0.3f * fade(p.d, 7, 14));
        return withAlpha(ground, 0.9f);
    });
}

Canvas hilightFrame() {
    FrameShape s{20, 64, 0, 8, 8, false, 0};
    return paintFrame(s, [&](const FramePixel& p) {
        float a = std::pow(clamp01(1.0f - p.d / 14.0f), 2.0f);
        return rgb(0xF0C050, 0.9f * a);
    });
}

// The die box and the dice tray: a wooden rim around green felt.
Canvas trayFrame(int corner, int rim) {
    FrameShape s{corner, 64, 5, 6, 6, false, 0.5f};
    float r = float(rim);
    return paintFrame(s, [&](const FramePixel& p) {
        if (p.d < 1) return rgb(0x120A06);
        if (p.d < r) {
            Color wood = leather(p.x, p.y, 64, 41, rgb(0x4A2E1A), rgb(0x7A5432));
            return bevelled(wood, p, 1, r, 2.5f, 0.45f);
        }
        if (p.d < r + 1) return rgb(0x0A1008);
        Color felt = leather(p.x - float(corner), p.y - float(corner), 64, 42, rgb(0x173624), rgb(0x24503A));
        return shade(felt, 1.0f - 0.5f * fade(p.d, r + 1, float(corner) - 5));
    });
}

}  // namespace

Named framePictures() {
    Named out;
    out.emplace_back("sheet", sheetFrame());
    out.emplace_back("dialog", dialogFrame());
    out.emplace_back("panel", panelFrame());
    out.emplace_back("tab", tabFrame(0));
    out.emplace_back("tabactive", tabFrame(1));
    out.emplace_back("tabinactive", tabFrame(2));
    out.emplace_back("button", buttonFrame());
    out.emplace_back("field", fieldFrame(false));
    out.emplace_back("numberbox", fieldFrame(true));
    out.emplace_back("underline", underlineFrame());
    out.emplace_back("tag", tagFrame());
    out.emplace_back("focus", focusFrame());
    out.emplace_back("plate", plateFrame());
    out.emplace_back("selection", selectionFrame());
    out.emplace_back("header", headerFrame());
    out.emplace_back("chat", chatFrame());
    out.emplace_back("hilight", hilightFrame());
    out.emplace_back("box", trayFrame(14, 6));
    out.emplace_back("dicetray", trayFrame(24, 14));
    return out;
}

}  // namespace art
