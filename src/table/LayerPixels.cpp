// Pixels of the map layers; see LayerPixels.h.
#include "table/LayerPixels.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace lh::table {

bool layerSizeAllowed(int32_t w, int32_t h) {
    return w > 0 && h > 0 && w <= kMaxLayerSide && h <= kMaxLayerSide && uint64_t(w) * uint64_t(h) <= kMaxLayerPixels;
}

bool AlphaPlane::reset(int32_t w, int32_t h, uint8_t fill) {
    clear();
    if (!layerSizeAllowed(w, h)) return false;
    BlockPlane::reset(w, h, fill);
    return true;
}

bool PicturePixels::reset(int32_t w, int32_t h, uint32_t fill) {
    clear();
    if (!layerSizeAllowed(w, h)) return false;
    BlockPlane::reset(w, h, fill);
    return true;
}

int32_t normaliseOffset(int32_t offset, int32_t size) {
    if (size <= 0) return 0;
    int32_t r = offset % size;
    return r < 0 ? r + size : r;
}

uint32_t gridPixel(uint32_t argb) {
    uint32_t a = argb >> 24, r = (argb >> 16) & 0xFF, g = (argb >> 8) & 0xFF, b = argb & 0xFF;
    if (a == 0) return 64u << 24;
    auto darker = [](uint32_t c) { return (c * 3) >> 2; };
    if (a == 255) {
        if (r >= 32 || g >= 32 || b >= 32) return 0xFF000000u | darker(r) << 16 | darker(g) << 8 | darker(b);
        // A black map: its lines come out lighter.
        return 0xFF000000u | darker(r + 85) << 16 | darker(g + 85) << 8 | darker(b + 85);
    }
    return std::min<uint32_t>(a + 64, 255) << 24 | darker(r) << 16 | darker(g) << 8 | darker(b);
}

void composeBox(const CompositeInputs& in, int32_t width, int32_t height, const render::Rect& area, uint32_t* out,
                int32_t stride, int32_t originX, int32_t originY) {
    render::Rect box = render::intersect(area, {0, 0, width, height});
    if (box.isEmpty() || !out) return;
    const PicturePixels* base = in.base;
    if (base && (base->width != width || base->height != height || base->empty())) base = nullptr;
    const AlphaPlane* mask = in.mask;
    if (mask && (mask->width != width || mask->height != height || mask->empty())) mask = nullptr;
    // A client that knows of a mask but has not got it yet shows nothing.
    const bool hideBase = !base || (!mask && in.maskNamed);
    auto rowOf = [&](int32_t y) { return out + ptrdiff_t(y - originY) * stride; };
    std::vector<uint8_t> alpha(mask && !hideBase ? size_t(box.width()) : 0);
    for (int32_t y = box.top; y < box.bottom; ++y) {
        uint32_t* row = rowOf(y) + (box.left - originX);
        if (hideBase) {
            std::fill_n(row, box.width(), 0u);
            continue;
        }
        base->readRow(y, box.left, box.right, row);
        if (!mask) {
            for (int32_t i = 0; i < box.width(); ++i) row[i] |= 0xFF000000u;
            continue;
        }
        mask->readRow(y, box.left, box.right, alpha.data());
        for (int32_t i = 0; i < box.width(); ++i) {
            uint32_t a = alpha[size_t(i)];
            if (in.host && a < 64) a = 64;
            row[i] = (row[i] & 0x00FFFFFFu) | a << 24;
        }
    }
    const GridLines& g = in.grid;
    if (g.size <= 0) return;
    int32_t offX = normaliseOffset(g.offsetX, g.size), offY = normaliseOffset(g.offsetY, g.size);
    // Rows first, then the columns, leaving out the crossings already done.
    int32_t firstRow = box.top + normaliseOffset(offY - box.top, g.size);
    for (int32_t y = firstRow; y < box.bottom; y += g.size) {
        uint32_t* row = rowOf(y);
        for (int32_t x = box.left; x < box.right; ++x) row[x - originX] = gridPixel(row[x - originX]);
    }
    int32_t firstColumn = box.left + normaliseOffset(offX - box.left, g.size);
    for (int32_t y = box.top; y < box.bottom; ++y) {
        if (normaliseOffset(y - offY, g.size) == 0) continue;
        uint32_t* row = rowOf(y);
        for (int32_t x = firstColumn; x < box.right; x += g.size) row[x - originX] = gridPixel(row[x - originX]);
    }
}

void composeAll(const CompositeInputs& in, int32_t width, int32_t height, std::vector<uint32_t>& out) {
    out.assign(size_t(std::max(width, 0)) * size_t(std::max(height, 0)), 0);
    composeBox(in, width, height, {0, 0, width, height}, out.data(), width, 0, 0);
}

render::Rect polygonBox(std::span<const uint32_t> points, const render::Rect& bounds) {
    if (points.empty()) return {};
    render::Rect box{pointX(points[0]), pointY(points[0]), pointX(points[0]) + 1, pointY(points[0]) + 1};
    for (uint32_t p : points) {
        box.left = std::min(box.left, pointX(p));
        box.top = std::min(box.top, pointY(p));
        box.right = std::max(box.right, pointX(p) + 1);
        box.bottom = std::max(box.bottom, pointY(p) + 1);
    }
    return render::intersect(box, bounds);
}

render::Rect revealPolygon(AlphaPlane& mask, std::span<const uint32_t> points) {
    if (points.size() < 3 || mask.empty()) return {};
    render::Rect box = polygonBox(points, mask.bounds());
    if (box.isEmpty()) return {};
    std::vector<double> crossings;
    const size_t n = points.size();
    for (int32_t y = box.top; y < box.bottom; ++y) {
        // Pixel centres: a scan line at y + 0.5 never meets a vertex, so
        // every edge either crosses it once or not at all.
        const double sy = y + 0.5;
        crossings.clear();
        for (size_t i = 0; i < n; ++i) {
            double x0 = pointX(points[i]), y0 = pointY(points[i]);
            double x1 = pointX(points[(i + 1) % n]), y1 = pointY(points[(i + 1) % n]);
            if ((y0 <= sy) == (y1 <= sy)) continue;
            crossings.push_back(x0 + (sy - y0) * (x1 - x0) / (y1 - y0));
        }
        std::sort(crossings.begin(), crossings.end());
        for (size_t i = 0; i + 1 < crossings.size(); i += 2) {
            // Centres x + 0.5 inside [from, to).
            double from = std::max(crossings[i] - 0.5, double(box.left));
            double to = std::min(crossings[i + 1] - 0.5, double(box.right));
            int32_t first = int32_t(std::ceil(from)), end = int32_t(std::ceil(to));
            first = std::max(first, box.left);
            end = std::min(end, box.right);
            if (first < end) mask.fillRun(y, first, end, 255);
        }
    }
    mask.compact(box);
    return box;
}

namespace {

struct Plotter {
    AlphaPlane& plane;
    uint32_t pressure;
    void operator()(int32_t x, int32_t y, uint32_t weight) const {
        if (x < 0 || y < 0 || x >= plane.width || y >= plane.height) return;
        uint8_t& a = plane.ref(x, y);
        a = uint8_t(std::min<uint32_t>(a + (((255 - weight) * pressure) >> 8), 255));
    }
};

}  // namespace

render::Rect drawSegment(AlphaPlane& plane, int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint8_t pressure) {
    if (plane.empty()) return {};
    if (y0 > y1) {
        std::swap(x0, x1);
        std::swap(y0, y1);
    }
    render::Rect touched{std::min(x0, x1) - 1, y0 - 1, std::max(x0, x1) + 2, y1 + 2};
    Plotter plot{plane, pressure};
    plot(x0, y0, 0);
    int32_t dx = x1 - x0;
    const int32_t xStep = dx >= 0 ? 1 : -1;
    dx = std::abs(dx);
    int32_t dy = y1 - y0;
    if (dy == 0) {
        while (dx-- > 0) plot(x0 += xStep, y0, 0);
    } else if (dx == 0) {
        while (dy-- > 0) plot(x0, ++y0, 0);
    } else if (dx == dy) {
        while (dy-- > 0) plot(x0 += xStep, ++y0, 0);
    } else if (dy > dx) {
        const uint32_t step = (uint32_t(dx) << 16) / uint32_t(dy);
        uint32_t accumulator = 0;
        while (--dy > 0) {
            uint32_t before = accumulator;
            accumulator = (accumulator + step) % 65535;
            if (accumulator <= before) x0 += xStep;
            ++y0;
            uint32_t weight = accumulator >> 8;
            plot(x0, y0, weight);
            plot(x0 + xStep, y0, weight ^ 255);
        }
    } else {
        const uint32_t step = (uint32_t(dy) << 16) / uint32_t(dx);
        uint32_t accumulator = 0;
        while (--dx > 0) {
            uint32_t before = accumulator;
            accumulator = (accumulator + step) % 65535;
            if (accumulator <= before) ++y0;
            x0 += xStep;
            uint32_t weight = accumulator >> 8;
            plot(x0, y0, weight);
            plot(x0, y0 + 1, weight ^ 255);
        }
    }
    return render::intersect(touched, plane.bounds());
}

void resizePlane(AlphaPlane& plane, int32_t width, int32_t height) {
    AlphaPlane grown;
    if (!grown.reset(width, height, 0)) return;
    int32_t w = std::min(width, plane.width), h = std::min(height, plane.height);
    std::vector<uint8_t> row(size_t(std::max(w, 0)));
    for (int32_t y = 0; y < h; ++y) {
        plane.readRow(y, 0, w, row.data());
        grown.writeRow(y, 0, w, row.data());
    }
    plane = std::move(grown);
}

}  // namespace lh::table
