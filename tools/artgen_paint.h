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

class Canvas {
public:
    Canvas(int w, int h, Color fill = {0, 0, 0, 0});
    int width() const { return w; }
    int height() const { return h; }
    Color& at(int x, int y) { return px[size_t(y) * size_t(w) + size_t(x)]; }
    // Paints over with `c` at `coverage` (0..1), blending straight alpha.
    void blend(int x, int y, Color c, float coverage = 1.0f);
    void fillRect(int x0, int y0, int x1, int y1, Color c);
    // A filled convex or concave polygon, 4x4 supersampled.
    void fillPolygon(const std::vector<float>& xy, Color c);
    void strokePolygon(const std::vector<float>& xy, float width, Color c);
    // Multiplies brightness by tileable value noise (period = canvas size).
    void grain(uint32_t seed, float cell, float amount);
    bool savePng(const std::string& path) const;

private:
    int w, h;
    std::vector<Color> px;
};

// Tileable value noise in 0..1 at (x, y) with the given period and cell size.
float tileNoise(uint32_t seed, float x, float y, float cell, int periodX, int periodY);

}  // namespace art
