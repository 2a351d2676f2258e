// A tiny software painter for the build-time pictures of the default Ruleset:
// straight-alpha ARGB canvas, tileable noise, bevelled borders, filled
// polygons with antialiasing, PNG output.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace art {

struct Color {
    float r = 0, g = 0, b = 0, a = 1;
};
Color mix(Color a, Color b, float t);
Color rgb(uint32_t hex, float alpha = 1.0f);
// Brightness times k, alpha kept.
Color shade(Color c, float k);
Color withAlpha(Color c, float a);

using Points = std::vector<float>;  // x0, y0, x1, y1, ...

class Canvas {
public:
    Canvas(int w, int h, Color fill = {0, 0, 0, 0});
    int width() const { return w; }
    int height() const { return h; }
    Color& at(int x, int y) { return px[size_t(y) * size_t(w) + size_t(x)]; }
    const Color& at(int x, int y) const { return px[size_t(y) * size_t(w) + size_t(x)]; }
    // Paints over with `c` at `coverage` (0..1), blending straight alpha.
    void blend(int x, int y, Color c, float coverage = 1.0f);
    void fillRect(int x0, int y0, int x1, int y1, Color c);
    // A filled convex or concave polygon, 4x4 supersampled.
    void fillPolygon(const Points& xy, Color c);
    void strokePolygon(const Points& xy, float width, Color c);
    // An open polyline with round joins and caps.
    void strokePath(const Points& xy, float width, Color c);
    void fillCircle(float cx, float cy, float r, Color c);
    void strokeCircle(float cx, float cy, float r, float width, Color c);
    // Drawing in other units: every later shape is scaled by `scale` about the
    // origin, then moved by (dx, dy); widths and radii scale too. Pixel
    // operations (at, blend, grain, draw, crop) are not affected.
    void setTransform(float scale, float dx = 0, float dy = 0) { ts = scale, tx = dx, ty = dy; }
    // Multiplies brightness by tileable value noise (period = canvas size).
    void grain(uint32_t seed, float cell, float amount);
    // Composites `src` with its top left at (x, y).
    void draw(const Canvas& src, int x, int y, float opacity = 1.0f);
    // The pixels of (x, y, w, h) as a canvas of their own.
    Canvas crop(int x, int y, int cw, int ch) const;
    bool savePng(const std::string& path) const;

private:
    void strokeSegments(const Points& xy, float width, Color c, bool closed);
    Points mapped(const Points& xy) const;
    int w, h;
    float ts = 1, tx = 0, ty = 0;
    std::vector<Color> px;
};

// Tileable value noise in 0..1 at (x, y) with the given period and cell size.
float tileNoise(uint32_t seed, float x, float y, float cell, int periodX, int periodY);
// Three octaves of tileNoise, in 0..1.
float tileFbm(uint32_t seed, float x, float y, float cell, int periodX, int periodY);

// A regular polygon around (cx, cy), first corner at angle `turn` (radians).
Points regular(int sides, float cx, float cy, float r, float turn);
// Points along a circular arc from angle `from` to `to` (radians), both ends
// included.
Points arc(float cx, float cy, float r, float from, float to, int steps = 24);
// The points moved by (dx, dy) and scaled about the origin by s first.
Points place(const Points& xy, float s, float dx, float dy);

}  // namespace art
