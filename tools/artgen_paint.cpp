// A tiny software painter for the build-time pictures.
#include "artgen_paint.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace art {

Color mix(Color a, Color b, float t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t, a.a + (b.a - a.a) * t};
}

Color rgb(uint32_t hex, float alpha) {
    return {float((hex >> 16) & 0xFF) / 255.0f, float((hex >> 8) & 0xFF) / 255.0f, float(hex & 0xFF) / 255.0f, alpha};
}

Color shade(Color c, float k) {
    return {std::clamp(c.r * k, 0.0f, 1.0f), std::clamp(c.g * k, 0.0f, 1.0f), std::clamp(c.b * k, 0.0f, 1.0f), c.a};
}

Color withAlpha(Color c, float a) {
    c.a = a;
    return c;
}

Canvas::Canvas(int width, int height, Color fill) : w(width), h(height), px(size_t(width) * size_t(height), fill) {}

void Canvas::blend(int x, int y, Color c, float coverage) {
    if (x < 0 || y < 0 || x >= w || y >= h) return;
    float a = std::clamp(c.a * coverage, 0.0f, 1.0f);
    Color& d = at(x, y);
    float outA = a + d.a * (1 - a);
    if (outA <= 0) {
        d = {0, 0, 0, 0};
        return;
    }
    d.r = (c.r * a + d.r * d.a * (1 - a)) / outA;
    d.g = (c.g * a + d.g * d.a * (1 - a)) / outA;
    d.b = (c.b * a + d.b * d.a * (1 - a)) / outA;
    d.a = outA;
}

Points Canvas::mapped(const Points& xy) const {
    Points out(xy.size());
    for (size_t i = 0; i + 1 < xy.size(); i += 2) {
        out[i] = xy[i] * ts + tx;
        out[i + 1] = xy[i + 1] * ts + ty;
    }
    return out;
}

void Canvas::fillRect(int x0, int y0, int x1, int y1, Color c) {
    if (ts != 1 || tx != 0 || ty != 0) {
        x0 = int(std::lround(float(x0) * ts + tx)), x1 = int(std::lround(float(x1) * ts + tx));
        y0 = int(std::lround(float(y0) * ts + ty)), y1 = int(std::lround(float(y1) * ts + ty));
    }
    for (int y = std::max(0, y0); y < std::min(h, y1); ++y)
        for (int x = std::max(0, x0); x < std::min(w, x1); ++x) blend(x, y, c);
}

namespace {

bool inside(const std::vector<float>& xy, float px, float py) {
    bool in = false;
    size_t n = xy.size() / 2;
    for (size_t i = 0, j = n - 1; i < n; j = i++) {
        float xi = xy[2 * i], yi = xy[2 * i + 1], xj = xy[2 * j], yj = xy[2 * j + 1];
        if ((yi > py) != (yj > py) && px < (xj - xi) * (py - yi) / (yj - yi) + xi) in = !in;
    }
    return in;
}

float segmentDistance(float px, float py, float ax, float ay, float bx, float by) {
    float dx = bx - ax, dy = by - ay;
    float len2 = dx * dx + dy * dy;
    float t = len2 > 0 ? std::clamp(((px - ax) * dx + (py - ay) * dy) / len2, 0.0f, 1.0f) : 0.0f;
    float cx = ax + t * dx - px, cy = ay + t * dy - py;
    return std::sqrt(cx * cx + cy * cy);
}

uint32_t hash(uint32_t seed, int x, int y) {
    uint32_t v = seed * 0x9E3779B1u ^ uint32_t(x) * 0x85EBCA77u ^ uint32_t(y) * 0xC2B2AE3Du;
    v ^= v >> 15;
    v *= 0x2C1B3C6Du;
    v ^= v >> 12;
    v *= 0x297A2D39u;
    v ^= v >> 15;
    return v;
}

}  // namespace

namespace {

struct Box {
    int x0, y0, x1, y1;
};

Box boundsOf(const Points& xy, float pad, int w, int h) {
    float minX = 1e9f, minY = 1e9f, maxX = -1e9f, maxY = -1e9f;
    for (size_t i = 0; i + 1 < xy.size(); i += 2) {
        minX = std::min(minX, xy[i]);
        maxX = std::max(maxX, xy[i]);
        minY = std::min(minY, xy[i + 1]);
        maxY = std::max(maxY, xy[i + 1]);
    }
    return {std::max(0, int(std::floor(minX - pad))), std::max(0, int(std::floor(minY - pad))),
            std::min(w, int(std::ceil(maxX + pad)) + 1), std::min(h, int(std::ceil(maxY + pad)) + 1)};
}

}  // namespace

void Canvas::fillPolygon(const Points& source, Color c) {
    const Points xy = mapped(source);
    Box b = boundsOf(xy, 1, w, h);
    for (int y = b.y0; y < b.y1; ++y) {
        for (int x = b.x0; x < b.x1; ++x) {
            int hits = 0;
            for (int sy = 0; sy < 4; ++sy)
                for (int sx = 0; sx < 4; ++sx) hits += inside(xy, float(x) + (float(sx) + 0.5f) / 4, float(y) + (float(sy) + 0.5f) / 4);
            if (hits) blend(x, y, c, float(hits) / 16.0f);
        }
    }
}

void Canvas::strokePolygon(const Points& xy, float width, Color c) { strokeSegments(xy, width, c, true); }

void Canvas::strokePath(const Points& xy, float width, Color c) { strokeSegments(xy, width, c, false); }

void Canvas::strokeSegments(const Points& source, float width, Color c, bool closed) {
    const Points xy = mapped(source);
    width *= ts;
    size_t n = xy.size() / 2;
    if (n == 0) return;
    size_t segments = closed ? n : n - 1;
    Box b = boundsOf(xy, width, w, h);
    for (int y = b.y0; y < b.y1; ++y) {
        for (int x = b.x0; x < b.x1; ++x) {
            float best = 1e9f;
            if (n == 1) best = std::hypot(float(x) + 0.5f - xy[0], float(y) + 0.5f - xy[1]);
            for (size_t i = 0; i < segments; ++i) {
                size_t j = (i + 1) % n;
                best = std::min(best, segmentDistance(float(x) + 0.5f, float(y) + 0.5f, xy[2 * i], xy[2 * i + 1],
                                                      xy[2 * j], xy[2 * j + 1]));
            }
            float cover = std::clamp(width / 2 + 0.5f - best, 0.0f, 1.0f);
            if (cover > 0) blend(x, y, c, cover);
        }
    }
}

float tileNoise(uint32_t seed, float x, float y, float cell, int periodX, int periodY) {
    int cellsX = std::max(1, int(float(periodX) / cell)), cellsY = std::max(1, int(float(periodY) / cell));
    float fx = x / float(periodX) * float(cellsX), fy = y / float(periodY) * float(cellsY);
    int x0 = int(std::floor(fx)), y0 = int(std::floor(fy));
    float tx = fx - float(x0), ty = fy - float(y0);
    tx = tx * tx * (3 - 2 * tx);
    ty = ty * ty * (3 - 2 * ty);
    auto v = [&](int cx, int cy) {
        return float(hash(seed, ((cx % cellsX) + cellsX) % cellsX, ((cy % cellsY) + cellsY) % cellsY) & 0xFFFF) / 65535.0f;
    };
    float a = v(x0, y0) + (v(x0 + 1, y0) - v(x0, y0)) * tx;
    float b = v(x0, y0 + 1) + (v(x0 + 1, y0 + 1) - v(x0, y0 + 1)) * tx;
    return a + (b - a) * ty;
}

void Canvas::fillCircle(float cx, float cy, float r, Color c) {
    cx = cx * ts + tx, cy = cy * ts + ty, r *= ts;
    for (int y = std::max(0, int(cy - r - 2)); y < std::min(h, int(cy + r + 2)); ++y) {
        for (int x = std::max(0, int(cx - r - 2)); x < std::min(w, int(cx + r + 2)); ++x) {
            float d = std::hypot(float(x) + 0.5f - cx, float(y) + 0.5f - cy);
            float cover = std::clamp(r + 0.5f - d, 0.0f, 1.0f);
            if (cover > 0) blend(x, y, c, cover);
        }
    }
}

void Canvas::strokeCircle(float cx, float cy, float r, float width, Color c) {
    cx = cx * ts + tx, cy = cy * ts + ty, r *= ts, width *= ts;
    float outer = r + width / 2 + 2;
    for (int y = std::max(0, int(cy - outer)); y < std::min(h, int(cy + outer)); ++y) {
        for (int x = std::max(0, int(cx - outer)); x < std::min(w, int(cx + outer)); ++x) {
            float d = std::fabs(std::hypot(float(x) + 0.5f - cx, float(y) + 0.5f - cy) - r);
            float cover = std::clamp(width / 2 + 0.5f - d, 0.0f, 1.0f);
            if (cover > 0) blend(x, y, c, cover);
        }
    }
}

void Canvas::draw(const Canvas& src, int x, int y, float opacity) {
    for (int sy = 0; sy < src.height(); ++sy)
        for (int sx = 0; sx < src.width(); ++sx) blend(x + sx, y + sy, src.at(sx, sy), opacity);
}

Canvas Canvas::crop(int x, int y, int cw, int ch) const {
    Canvas out(cw, ch);
    for (int sy = 0; sy < ch; ++sy)
        for (int sx = 0; sx < cw; ++sx)
            if (x + sx >= 0 && y + sy >= 0 && x + sx < w && y + sy < h) out.at(sx, sy) = at(x + sx, y + sy);
    return out;
}

float tileFbm(uint32_t seed, float x, float y, float cell, int periodX, int periodY) {
    return 0.5f * tileNoise(seed, x, y, cell, periodX, periodY) + 0.3f * tileNoise(seed + 1, x, y, cell / 2, periodX, periodY) +
           0.2f * tileNoise(seed + 2, x, y, cell / 4, periodX, periodY);
}

Points regular(int sides, float cx, float cy, float r, float turn) {
    Points xy;
    for (int i = 0; i < sides; ++i) {
        float a = turn + float(i) * 6.2831853f / float(sides);
        xy.push_back(cx + r * std::cos(a));
        xy.push_back(cy + r * std::sin(a));
    }
    return xy;
}

Points arc(float cx, float cy, float r, float from, float to, int steps) {
    Points xy;
    for (int i = 0; i <= steps; ++i) {
        float a = from + (to - from) * float(i) / float(steps);
        xy.push_back(cx + r * std::cos(a));
        xy.push_back(cy + r * std::sin(a));
    }
    return xy;
}

Points place(const Points& xy, float s, float dx, float dy) {
    Points out(xy.size());
    for (size_t i = 0; i + 1 < xy.size(); i += 2) {
        out[i] = xy[i] * s + dx;
        out[i + 1] = xy[i + 1] * s + dy;
    }
    return out;
}

void Canvas::grain(uint32_t seed, float cell, float amount) {
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            float n = tileFbm(seed, float(x), float(y), cell, w, h);
            float k = 1.0f + (n - 0.5f) * 2.0f * amount;
            Color& c = at(x, y);
            c.r = std::clamp(c.r * k, 0.0f, 1.0f);
            c.g = std::clamp(c.g * k, 0.0f, 1.0f);
            c.b = std::clamp(c.b * k, 0.0f, 1.0f);
        }
    }
}

bool Canvas::savePng(const std::string& path) const {
    std::vector<uint8_t> rgba(px.size() * 4);
    for (size_t i = 0; i < px.size(); ++i) {
        rgba[i * 4 + 0] = uint8_t(std::lround(std::clamp(px[i].r, 0.0f, 1.0f) * 255));
        rgba[i * 4 + 1] = uint8_t(std::lround(std::clamp(px[i].g, 0.0f, 1.0f) * 255));
        rgba[i * 4 + 2] = uint8_t(std::lround(std::clamp(px[i].b, 0.0f, 1.0f) * 255));
        rgba[i * 4 + 3] = uint8_t(std::lround(std::clamp(px[i].a, 0.0f, 1.0f) * 255));
    }
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    image.width = png_uint_32(w);
    image.height = png_uint_32(h);
    image.format = PNG_FORMAT_RGBA;
    return png_image_write_to_file(&image, path.c_str(), 0, rgba.data(), 0, nullptr) != 0;
}

}  // namespace art
