// Token arithmetic; see TokenGeometry.h.
#include "table/TokenGeometry.h"

#include <algorithm>
#include <cmath>

namespace lh::table {

int wrapRotation(int step) {
    int r = step % 8;
    return r < 0 ? r + 8 : r;
}

bool glideStep(int32_t& shownX, int32_t& shownY, int32_t targetX, int32_t targetY) {
    int64_t dx = int64_t(targetX) - shownX, dy = int64_t(targetY) - shownY;
    if (dx == 0 && dy == 0) return false;
    auto d = int64_t(std::sqrt(double(dx * dx + dy * dy)));
    if (d > kGlideStep) {
        shownX = int32_t(shownX + dx * kGlideStep / d);
        shownY = int32_t(shownY + dy * kGlideStep / d);
    } else {
        shownX = targetX;
        shownY = targetY;
    }
    return true;
}

namespace {

struct Frame {
    double c = 1, s = 0;
    int32_t left = 0, top = 0;
    uint32_t width = 0, height = 0;
};

// The rotation is clockwise on screen (y down): a point (x, y) goes to
// (x c - y s, x s + y c) with the angle 45 x step.
Frame frameOf(uint32_t width, uint32_t height, int step) {
    Frame f;
    double a = 0.78539816339744830962 * wrapRotation(step);
    f.c = std::cos(a);
    f.s = std::sin(a);
    const double xs[4] = {0, double(width), 0, double(width)};
    const double ys[4] = {0, 0, double(height), double(height)};
    double minX = 1e18, minY = 1e18, maxX = -1e18, maxY = -1e18;
    for (int i = 0; i < 4; ++i) {
        double x = xs[i] * f.c - ys[i] * f.s, y = xs[i] * f.s + ys[i] * f.c;
        minX = std::min(minX, std::floor(x));
        minY = std::min(minY, std::floor(y));
        maxX = std::max(maxX, std::floor(x));
        maxY = std::max(maxY, std::floor(y));
    }
    f.left = int32_t(minX) - 2;
    f.top = int32_t(minY) - 2;
    f.width = uint32_t(maxX - minX) + 4;
    f.height = uint32_t(maxY - minY) + 4;
    return f;
}

}  // namespace

void turnedSize(uint32_t width, uint32_t height, int step, uint32_t& outWidth, uint32_t& outHeight) {
    Frame f = frameOf(width, height, step);
    outWidth = f.width;
    outHeight = f.height;
}

TurnedPicture turnPicture(const uint32_t* argb, uint32_t width, uint32_t height, int step) {
    Frame f = frameOf(width, height, step);
    TurnedPicture out;
    out.width = f.width;
    out.height = f.height;
    out.pixels.assign(size_t(f.width) * f.height, 0);
    for (uint32_t ty = 0; ty < f.height; ++ty) {
        for (uint32_t tx = 0; tx < f.width; ++tx) {
            double x = double(int32_t(tx) + f.left), y = double(int32_t(ty) + f.top);
            // The inverse turn, then truncation towards zero.
            double sx = x * f.c + y * f.s, sy = -x * f.s + y * f.c;
            auto ix = int64_t(sx), iy = int64_t(sy);
            if (sx < 0 || sy < 0 || ix >= int64_t(width) || iy >= int64_t(height)) continue;
            out.pixels[size_t(ty) * f.width + tx] = argb[size_t(iy) * width + size_t(ix)];
        }
    }
    return out;
}

}  // namespace lh::table
