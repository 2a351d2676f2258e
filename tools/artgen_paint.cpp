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

void Canvas::fillRect(int x0, int y0, int x1, int y1, Color c) {
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

void Canvas::fillPolygon(const std::vector<float>& xy, Color c) {
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            int hits = 0;
            for (int sy = 0; sy < 4; ++sy)
                for (int sx = 0; sx < 4; ++sx) hits += inside(xy, float(x) + (float(sx) + 0.5f) / 4, float(y) + (float(sy) + 0.5f) / 4);
            if (hits) blend(x, y, c, float(hits) / 16.0f);
        }
    }
}

void Canvas::strokePolygon(const std::vector<float>& xy, float width, Color c) {
    size_t n = xy.size() / 2;
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            float best = 1e9f;
            for (size_t i = 0; i < n; ++i) {
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

void Canvas::grain(uint32_t seed, float cell, float amount) {
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            float n = 0.5f * tileNoise(seed, float(x), float(y), cell, w, h) +
                      0.3f * tileNoise(seed + 1, float(x), float(y), cell / 2, w, h) +
                      0.2f * tileNoise(seed + 2, float(x), float(y), cell / 4, w, h);
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
