// Paints the pictures of the default Ruleset: the Desktop tile, the frames and
// the icons. Everything here is drawn from numbers, so the art is ours and
// rebuilds identically. Usage: lh_artgen OUTPUT_DIR
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "artgen_paint.h"

using namespace art;

namespace {

const Color kInk = rgb(0x1B1722);
const Color kGold = rgb(0xC8A048);
const Color kParchment = rgb(0xE9DCBC);

Canvas desktop() {
    Canvas c(256, 256, rgb(0x2A3340));
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            // Flagstones: a tileable pattern of slabs with darker joints.
            float n = tileNoise(7, float(x), float(y), 64, 256, 256);
            Color slab = mix(rgb(0x26303C), rgb(0x35404E), n);
            bool joint = (y % 64) < 2 || ((x + (y / 64 % 2) * 32) % 64) < 2;
            c.at(x, y) = joint ? rgb(0x161B22) : slab;
        }
    }
    c.grain(11, 16, 0.12f);
    return c;
}

// A nine-part frame picture: `corner` pixels of border on each side.
Canvas frame(int size, int corner, Color edge, Color line, Color inner, float innerAlpha, uint32_t seed) {
    Canvas c(size, size);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            int d = std::min(std::min(x, y), std::min(size - 1 - x, size - 1 - y));  // distance to the edge
            Color col;
            if (d < 2) col = edge;
            else if (d < 4) col = line;
            else if (d < corner - 2) col = mix(edge, inner, float(d - 4) / float(corner - 6));
            else col = inner;
            if (d >= corner - 2) col.a = innerAlpha;
            c.at(x, y) = col;
        }
    }
    c.grain(seed, 8, 0.08f);
    return c;
}

Canvas hilight(int size, int corner) {
    Canvas c(size, size);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            int d = std::min(std::min(x, y), std::min(size - 1 - x, size - 1 - y));
            float glow = d < corner ? std::pow(1.0f - float(d) / float(corner), 2.0f) : 0.0f;
            Color g = kGold;
            g.a = glow;
            c.at(x, y) = g;
        }
    }
    return c;
}

std::vector<float> regular(int sides, float cx, float cy, float r, float turn) {
    std::vector<float> xy;
    for (int i = 0; i < sides; ++i) {
        float a = turn + float(i) * 6.2831853f / float(sides);
        xy.push_back(cx + r * std::cos(a));
        xy.push_back(cy + r * std::sin(a));
    }
    return xy;
}

Canvas dieIcon(int sides) {
    Canvas c(40, 40);
    std::vector<float> shape;
    switch (sides) {
    case 4: shape = regular(3, 20, 22, 18, -1.5707963f); break;
    case 6: shape = {5, 5, 35, 5, 35, 35, 5, 35}; break;
    case 8: shape = regular(4, 20, 20, 18, -1.5707963f); break;
    case 10: shape = {20, 2, 37, 17, 20, 38, 3, 17}; break;
    case 12: shape = regular(5, 20, 21, 18, -1.5707963f); break;
    default: shape = regular(6, 20, 20, 18, -1.5707963f); break;
    }
    c.fillPolygon(shape, rgb(0x70002A));
    c.strokePolygon(shape, 2.0f, kGold);
    return c;
}

Canvas secretIcon() {
    Canvas c(24, 24);
    std::vector<float> eye = {2, 12, 7, 6, 12, 4, 17, 6, 22, 12, 17, 18, 12, 20, 7, 18};
    c.fillPolygon(eye, kParchment);
    c.fillPolygon(regular(12, 12, 12, 4.5f, 0), kInk);
    c.strokePolygon({3, 21, 21, 3}, 2.0f, rgb(0xA02020));
    return c;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTPUT_DIR\n", argv[0]);
        return 2;
    }
    namespace fs = std::filesystem;
    fs::path out = argv[1];
    fs::create_directories(out / "frames");
    fs::create_directories(out / "icons");
    bool ok = desktop().savePng((out / "desktop.png").string());
    ok &= frame(64, 20, kInk, kGold, kParchment, 1.0f, 21).savePng((out / "frames/window.png").string());
    ok &= frame(64, 16, kInk, rgb(0x6A5A3A), rgb(0x101318), 0.82f, 22).savePng((out / "frames/chat.png").string());
    ok &= frame(48, 12, kInk, kGold, rgb(0x2B2433), 0.92f, 23).savePng((out / "frames/box.png").string());
    ok &= hilight(64, 16).savePng((out / "frames/hilight.png").string());
    for (int sides : {4, 6, 8, 10, 12, 20}) {
        ok &= dieIcon(sides).savePng((out / ("icons/d" + std::to_string(sides) + ".png")).string());
    }
    ok &= secretIcon().savePng((out / "icons/secret.png").string());
    return ok ? 0 : 1;
}
