// Table pieces: round token figures for heroes and monsters, marker gems in
// several colours, a few portraits with the frame and mask that shape them,
// and two maps, a dungeon on a grid and a stretch of wilderness.
#include <algorithm>
#include <cmath>
#include <functional>
#include <tuple>

#include "artgen_parts.h"

namespace art {

namespace {

const float kPi = 3.14159265f;

float clamp01(float v) { return std::clamp(v, 0.0f, 1.0f); }

using Figure = std::function<void(Canvas&, Color)>;

// A 64-pixel token: a metal rim in the side's colour around a field, with a
// figure standing on it in silhouette.
Canvas token(Color side, Color field, const Figure& figure) {
    const int n = 64;
    Canvas c(n, n);
    c.fillCircle(32.5f, 33.5f, 31, rgb(0, 0.45f));
    for (int y = 0; y < n; ++y) {
        for (int x = 0; x < n; ++x) {
            float dx = float(x) + 0.5f - 32, dy = float(y) + 0.5f - 32;
            float r = std::hypot(dx, dy);
            if (r > 30.5f) continue;
            float lit = (-dx * 0.55f - dy * 0.83f) / std::max(r, 1.0f);
            Color col;
            if (r > 26) col = shade(side, 1.0f + 0.35f * lit * ((r - 26) / 4.5f * 2 - 1));
            else if (r > 25) col = rgb(0x140E0A);
            else col = shade(field, 1.15f - 0.4f * std::hypot(dx + 6, dy + 8) / 30.0f);
            c.blend(x, y, col, clamp01(30.5f - r));
        }
    }
    Canvas fig(n, n), dark(n, n);
    figure(fig, rgb(0x1A1410));
    figure(dark, rgb(0xFFFFFF));
    // A pale halo behind the figure lifts it from the field.
    c.draw(dark, 0, 0, 0.18f);
    c.draw(fig, 0, 0);
    return c;
}

void warrior(Canvas& c, Color col) {
    c.fillCircle(30, 19, 6, col);
    c.fillPolygon({22, 27, 38, 27, 40, 44, 35, 44, 34, 54, 26, 54, 25, 44, 20, 44}, col);
    c.fillPolygon({41, 30, 50, 30, 50, 40, 45.5f, 45, 41, 40}, col);  // shield
    c.strokePath({16, 46, 24, 14}, 2.4f, col);                         // blade
    c.strokePath({18, 23, 27, 25}, 2.2f, col);                         // guard
}

void mage(Canvas& c, Color col) {
    c.fillPolygon({31, 7, 37, 20, 25, 20}, col);  // hat
    c.fillPolygon({20, 20, 42, 20, 39, 22, 23, 22}, col);
    c.fillCircle(31, 25, 5, col);
    c.fillPolygon({24, 30, 38, 30, 44, 55, 18, 55}, col);
    c.strokePath({46, 12, 44, 55}, 2.2f, col);  // staff
    c.fillCircle(46, 11, 3.2f, col);
}

void archer(Canvas& c, Color col) {
    c.fillCircle(28, 18, 5.5f, col);
    c.fillPolygon({21, 26, 35, 26, 36, 43, 33, 54, 24, 54, 21, 43}, col);
    c.strokePath(arc(30, 33, 17, -kPi * 0.42f, kPi * 0.42f, 16), 2.4f, col);  // bow
    c.strokePath({36, 17, 36, 49}, 1, col);
    c.strokePath({18, 33, 47, 33}, 1.6f, col);
}

void cleric(Canvas& c, Color col) {
    c.fillCircle(32, 18, 5.5f, col);
    c.fillPolygon({23, 26, 41, 26, 45, 55, 19, 55}, col);
    c.strokePath({13, 14, 13, 44}, 2.4f, col);  // mace
    c.fillCircle(13, 13, 4, col);
}

void goblin(Canvas& c, Color col) {
    c.fillCircle(32, 24, 7, col);
    c.fillPolygon({25, 22, 14, 16, 25, 27}, col);  // ears
    c.fillPolygon({39, 22, 50, 16, 39, 27}, col);
    c.fillPolygon({24, 31, 40, 31, 42, 46, 37, 46, 36, 54, 28, 54, 27, 46, 22, 46}, col);
    c.strokePath({44, 50, 48, 30}, 3, col);  // club
}

void wolf(Canvas& c, Color col) {
    c.fillPolygon({12, 40, 18, 30, 30, 28, 42, 30, 48, 24, 52, 16, 54, 24, 58, 28, 52, 34, 46, 38, 46, 52, 42, 52,
                   40, 42, 24, 42, 22, 52, 18, 52, 18, 42},
                  col);
    c.fillPolygon({12, 40, 6, 30, 16, 34}, col);  // tail
}

void skeleton(Canvas& c, Color col) {
    c.fillCircle(32, 22, 9, col);
    c.fillRect(26, 28, 38, 34, col);
    c.strokePath({32, 34, 32, 52}, 2.6f, col);
    for (float y : {38.0f, 43.0f, 48.0f}) c.strokePath({25, y, 39, y}, 2, col);
    c.strokePath({20, 36, 25, 38}, 2.4f, col);
    c.strokePath({44, 36, 39, 38}, 2.4f, col);
}

void drake(Canvas& c, Color col) {
    c.fillPolygon({14, 44, 22, 34, 34, 32, 44, 22, 50, 18, 54, 22, 48, 28, 44, 38, 38, 48, 24, 50}, col);
    c.fillPolygon({26, 34, 18, 12, 32, 22, 38, 10, 40, 28}, col);  // wing
    c.fillPolygon({14, 44, 6, 50, 16, 48}, col);
}

void slime(Canvas& c, Color col) {
    Points blob = arc(32, 44, 18, kPi, 2 * kPi, 20);
    blob.insert(blob.end(), {50, 50, 14, 50});
    c.fillPolygon(blob, col);
}

void spider(Canvas& c, Color col) {
    c.fillCircle(32, 36, 9, col);
    c.fillCircle(32, 24, 5.5f, col);
    for (int side : {-1, 1}) {
        for (int i = 0; i < 4; ++i) {
            float y = 28 + float(i) * 4;
            float sx = float(side);
            c.strokePath({32 + sx * 6, y, 32 + sx * 16, y - 8 + float(i) * 3, 32 + sx * 22, y + 4 + float(i) * 3}, 2,
                         col);
        }
    }
}

// A marker gem: a faceted stone in a colour, for counting and pointing.
Canvas gem(Color col) {
    Canvas c(32, 32);
    Points outline = regular(8, 16, 16, 13, kPi / 8);
    c.fillPolygon(place(outline, 1, 0.8f, 1.2f), rgb(0, 0.5f));
    c.fillPolygon(outline, shade(col, 0.75f));
    c.fillPolygon(regular(8, 16, 16, 8, kPi / 8), col);
    Canvas light(32, 32);
    light.fillPolygon({16, 3, 25.2f, 6.8f, 21.7f, 10.3f, 16, 8}, rgb(0xFFFFFF, 0.45f));
    light.fillPolygon({6.8f, 6.8f, 16, 3, 16, 8, 10.3f, 10.3f}, rgb(0xFFFFFF, 0.3f));
    c.draw(light, 0, 0);
    c.fillCircle(12.5f, 12, 2, rgb(0xFFFFFF, 0.8f));
    c.strokePolygon(outline, 1, shade(col, 0.45f));
    return c;
}

// A ring that lies around a token to mark it.
Canvas ring(Color col) {
    Canvas c(72, 72);
    c.strokeCircle(36, 36, 32, 5, withAlpha(col, 0.9f));
    c.strokeCircle(36, 36, 34, 1.2f, rgb(0xFFFFFF, 0.5f));
    return c;
}

// A portrait, 96 pixels: a bust in simple flat shapes before a soft ground.
struct Sitter {
    Color ground, skin, hair, cloth;
    int hairStyle;  // 0 short, 1 long, 2 hood, 3 helm, 4 bald with beard
};

Canvas portrait(const Sitter& s) {
    const int n = 96;
    Canvas c(n, n);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) {
            float d = std::hypot(float(x) - 40, float(y) - 34) / 70.0f;
            c.at(x, y) = shade(s.ground, 1.2f - 0.6f * d);
        }
    c.grain(7 + uint32_t(s.hairStyle), 12, 0.06f);
    const float cx = 48;
    // Shoulders and neck.
    Points body = arc(cx, 104, 40, kPi, 2 * kPi, 24);
    c.fillPolygon(body, s.cloth);
    c.fillPolygon({cx - 12, 78, cx + 12, 78, cx, 92}, shade(s.cloth, 0.7f));
    c.fillRect(int(cx - 7), 58, int(cx + 7), 76, shade(s.skin, 0.82f));
    if (s.hairStyle == 1) c.fillPolygon({cx - 22, 36, cx + 22, 36, cx + 24, 78, cx - 24, 78}, s.hair);
    if (s.hairStyle == 2) c.fillPolygon(arc(cx, 50, 30, kPi * 0.95f, kPi * 2.05f, 20), s.cloth);
    if (s.hairStyle == 2) c.fillPolygon({cx - 29, 52, cx + 29, 52, cx + 26, 82, cx - 26, 82}, s.cloth);
    // The head: an egg with a jaw, lit from the upper left.
    Points head;
    for (int i = 0; i < 40; ++i) {
        float a = float(i) * kPi / 20;
        float r = 17 + (std::sin(a) > 0 ? 3.5f * std::sin(a) : 0);
        head.push_back(cx + 16.5f * std::cos(a) * (std::sin(a) > 0 ? 1 - 0.25f * std::sin(a) : 1));
        head.push_back(44 + r * std::sin(a));
    }
    c.fillPolygon(head, s.skin);
    Canvas shadeSide(n, n);
    shadeSide.fillPolygon(place(head, 1, 5, 2), rgb(0, 1));
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
            if (shadeSide.at(x, y).a > 0 && x > int(cx) + 2) c.blend(x, y, shade(s.skin, 0.8f), 0.5f * shadeSide.at(x, y).a);
    // Eyes, brows, nose and mouth.
    for (float ex : {cx - 6.5f, cx + 6.5f}) {
        c.fillCircle(ex, 45, 2.2f, rgb(0xF4F0E8));
        c.fillCircle(ex + 0.4f, 45.3f, 1.3f, rgb(0x2A1E18));
        c.strokePath({ex - 3.5f, 40.5f, ex + 3.5f, 40}, 1.4f, shade(s.hair, 0.8f));
    }
    c.strokePath({cx, 46, cx - 1.5f, 53, cx + 1.5f, 54}, 1.2f, shade(s.skin, 0.65f));
    c.strokePath({cx - 4.5f, 58, cx, 59.2f, cx + 4.5f, 58}, 1.4f, rgb(0x7A3A30));
    // Hair or headwear over it.
    switch (s.hairStyle) {
    case 0:
        c.fillPolygon(arc(cx, 41, 18, kPi * 1.02f, kPi * 1.98f, 20), s.hair);
        c.fillPolygon({cx - 18, 40, cx - 12, 32, cx - 15, 48}, s.hair);
        c.fillPolygon({cx + 18, 40, cx + 12, 32, cx + 15, 48}, s.hair);
        break;
    case 1:
        c.fillPolygon(arc(cx, 42, 19.5f, kPi * 1.0f, kPi * 2.0f, 20), s.hair);
        c.fillPolygon({cx - 19, 42, cx - 12, 36, cx - 14, 66, cx - 21, 70}, s.hair);
        c.fillPolygon({cx + 19, 42, cx + 12, 36, cx + 14, 66, cx + 21, 70}, s.hair);
        break;
    case 2: c.fillPolygon(arc(cx, 44, 22, kPi * 1.0f, kPi * 2.0f, 20), s.cloth); break;
    case 3: {
        Color steel = rgb(0x8A9098);
        c.fillPolygon(arc(cx, 42, 19.5f, kPi * 1.0f, kPi * 2.0f, 20), steel);
        c.fillRect(int(cx - 20), 38, int(cx + 20), 42, shade(steel, 0.8f));
        c.fillRect(int(cx - 1.5f), 38, int(cx + 2), 54, shade(steel, 0.9f));
        c.strokePath(arc(cx, 42, 18, kPi * 1.15f, kPi * 1.5f, 8), 1.5f, rgb(0xFFFFFF, 0.6f));
        break;
    }
    default:
        c.fillPolygon({cx - 14, 52, cx + 14, 52, cx + 10, 68, cx, 72, cx - 10, 68}, s.hair);
        c.strokePath({cx - 4.5f, 58, cx + 4.5f, 58}, 1.4f, rgb(0x4A2A20));
        break;
    }
    return c;
}

// The round brass frame that every portrait is shown in, and the mask that
// cuts a portrait to its opening: the mask's red channel is the alpha.
Canvas portraitFrame() {
    Canvas c(72, 72);
    for (int y = 0; y < 72; ++y)
        for (int x = 0; x < 72; ++x) {
            float dx = float(x) + 0.5f - 36, dy = float(y) + 0.5f - 36;
            float r = std::hypot(dx, dy);
            if (r < 30 || r > 35.5f) continue;
            float lit = (-dx * 0.55f - dy * 0.83f) / r;
            Color col = shade(brass(float(x), float(y), 72, 91), 1.0f + 0.4f * lit * ((r - 30) / 5.5f * 2 - 1));
            if (r < 31) col = rgb(0x1A1006);
            c.blend(x, y, col, clamp01(35.5f - r) * clamp01(r - 29.5f));
        }
    return c;
}

Canvas portraitMask() {
    Canvas c(72, 72, rgb(0x000000));
    c.fillCircle(36, 36, 30.5f, rgb(0xFFFFFF));
    return c;
}

// A dungeon level on a grid of 32-pixel squares: rooms and corridors of
// flagstones cut into dark rock.
Canvas dungeonMap() {
    const int w = 1024, h = 768, cell = 32;
    struct Room {
        int x, y, w, h;
    };
    const Room rooms[] = {{2, 2, 7, 6},  {13, 1, 9, 5}, {25, 2, 5, 8}, {3, 12, 6, 8}, {12, 10, 10, 8},
                          {25, 13, 5, 5}, {14, 20, 6, 3}, {24, 20, 6, 3}, {5, 5, 8, 1},  {9, 3, 4, 1},
                          {22, 3, 3, 1},  {27, 10, 1, 3}, {5, 8, 1, 4},  {9, 14, 3, 1}, {22, 14, 3, 1},
                          {16, 6, 1, 4},  {16, 18, 1, 2}, {20, 21, 4, 1}, {27, 18, 1, 2}};
    auto open = [&](int cx, int cy) {
        for (const Room& r : rooms)
            if (cx >= r.x && cx < r.x + r.w && cy >= r.y && cy < r.y + r.h) return true;
        return false;
    };
    Canvas c(w, h);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            int cx = x / cell, cy = y / cell;
            bool floor = open(cx, cy);
            Color col;
            if (floor) {
                float n = tileFbm(101, float(x), float(y), 64, w, h);
                float slab = tileNoise(103, float(cx), float(cy), 1, w / cell, h / cell);
                col = mix(rgb(0x6A6458), rgb(0x8C857A), clamp01(0.3f + 0.5f * n + 0.3f * slab));
                int u = x % cell, v = y % cell;
                if (u == 0 || v == 0) col = shade(col, 0.72f);  // joints between the stones
                if (u == 1 || v == 1) col = shade(col, 1.08f);
            } else {
                float n = tileFbm(107, float(x), float(y), 48, w, h);
                col = mix(rgb(0x141214), rgb(0x26221F), n);
                // A wall edge: rock next to a floor square is lighter and
                // casts a shadow onto the floor.
                int near = 0;
                for (int oy = -1; oy <= 1; ++oy)
                    for (int ox = -1; ox <= 1; ++ox) near += open(cx + ox, cy + oy) ? 1 : 0;
                if (near) col = shade(col, 1.5f);
            }
            c.at(x, y) = col;
        }
    }
    // Shadows under the walls, and the grid that a table counts by.
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            int cx = x / cell, cy = y / cell;
            if (!open(cx, cy)) continue;
            int u = x % cell, v = y % cell;
            float shadow = 0;
            if (!open(cx, cy - 1)) shadow = std::max(shadow, 1.0f - float(v) / 10.0f);
            if (!open(cx - 1, cy)) shadow = std::max(shadow, 1.0f - float(u) / 10.0f);
            if (shadow > 0) c.blend(x, y, rgb(0, 0.55f * shadow * shadow));
        }
    }
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            if (x % cell == 0 || y % cell == 0) c.blend(x, y, rgb(0x101820, 0.35f));
    // Doors, and a few things to find.
    auto door = [&](int cx, int cy, bool across) {
        int x0 = cx * cell + (across ? 4 : 12), y0 = cy * cell + (across ? 12 : 4);
        c.fillRect(x0, y0, x0 + (across ? 24 : 8), y0 + (across ? 8 : 24), rgb(0x6A4428));
        c.fillRect(x0 + 1, y0 + 1, x0 + (across ? 23 : 7), y0 + (across ? 3 : 23), rgb(0x8A5E38));
    };
    door(9, 5, false);
    door(13, 3, false);
    door(5, 11, true);
    door(16, 9, true);
    door(27, 12, true);
    door(22, 14, false);
    auto pillar = [&](int cx, int cy) {
        float x = float(cx * cell + 16), y = float(cy * cell + 16);
        c.fillCircle(x + 2, y + 3, 11, rgb(0, 0.5f));
        c.fillCircle(x, y, 10, rgb(0x7A746A));
        c.fillCircle(x - 2, y - 2, 6, rgb(0x9A948A));
    };
    for (int cx : {14, 19}) for (int cy : {12, 15}) pillar(cx, cy);
    // A chest and a pool.
    c.fillRect(26 * cell + 6, 4 * cell + 8, 27 * cell - 6, 5 * cell - 6, rgb(0x5A3A20));
    c.fillRect(26 * cell + 6, 4 * cell + 8, 27 * cell - 6, 4 * cell + 12, rgb(0xC8A048));
    Canvas pool(w, h);
    pool.fillCircle(6 * cell, 16 * cell, 44, rgb(0x1E3A4A, 0.85f));
    pool.fillCircle(6 * cell - 8, 16 * cell - 10, 20, rgb(0x4A7A8A, 0.4f));
    c.draw(pool, 0, 0);
    return c;
}

// A stretch of wilderness: meadow and heath, a river under a stone bridge, a
// road, woods and a few houses.
Canvas wildernessMap() {
    const int w = 1024, h = 768;
    Canvas c(w, h);
    auto riverX = [](float y) { return 700 + 90 * std::sin(y / 140.0f) + 30 * std::sin(y / 47.0f + 1); };
    auto roadY = [](float x) { return 420 + 60 * std::sin(x / 210.0f + 0.5f) + 15 * std::sin(x / 60.0f); };
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            float fx = float(x), fy = float(y);
            float n = tileFbm(201, fx, fy, 128, w, h);
            float fine = tileNoise(203, fx, fy, 4, w, h);
            Color col = mix(rgb(0x4E6A2C), rgb(0x7A8A3A), clamp01(n * 1.4f - 0.2f));
            float heath = tileFbm(205, fx, fy, 256, w, h);
            if (heath > 0.62f) col = mix(col, rgb(0x7A6A48), clamp01((heath - 0.62f) * 6));
            col = shade(col, 0.92f + 0.16f * fine);
            float dr = std::fabs(fx - riverX(fy));
            if (dr < 34) col = mix(col, rgb(0x8A7A50), clamp01((34 - dr) / 6));  // banks
            if (dr < 26) {
                float depth = clamp01((26 - dr) / 20);
                col = mix(rgb(0x3A6A7A), rgb(0x1E4A62), depth);
                col = shade(col, 0.95f + 0.1f * tileNoise(207, fx * 0.5f, fy * 2, 6, w, h));
            }
            float road = std::fabs(fy - roadY(fx));
            if (road < 11 && dr >= 26) col = mix(col, rgb(0xA08A60), clamp01((11 - road) / 3) * 0.9f);
            c.at(x, y) = col;
        }
    }
    // The bridge where the road meets the river.
    float by = 0;
    for (int x = 0; x < w; ++x)
        if (std::fabs(float(x) - riverX(roadY(float(x)))) < 1.0f) by = roadY(float(x));
    float bx = riverX(by);
    c.fillPolygon({bx - 44, by - 14, bx + 44, by - 14, bx + 44, by + 14, bx - 44, by + 14}, rgb(0, 0.4f));
    c.fillPolygon({bx - 42, by - 12, bx + 42, by - 12, bx + 42, by + 10, bx - 42, by + 10}, rgb(0x8A8478));
    c.strokePath({bx - 42, by - 12, bx + 42, by - 12}, 2.5f, rgb(0x5A554C));
    c.strokePath({bx - 42, by + 10, bx + 42, by + 10}, 2.5f, rgb(0x5A554C));
    // Woods: trees as round crowns with a lit side and a shadow.
    uint32_t seed = 11;
    auto rnd = [&]() {
        seed = seed * 1664525u + 1013904223u;
        return float(seed >> 8) / float(1u << 24);
    };
    auto tree = [&](float x, float y, float r) {
        c.fillCircle(x + r * 0.45f, y + r * 0.5f, r, rgb(0, 0.35f));
        c.fillCircle(x, y, r, rgb(0x2A4A1E));
        c.fillCircle(x - r * 0.3f, y - r * 0.3f, r * 0.6f, rgb(0x3E6428));
        c.fillCircle(x - r * 0.4f, y - r * 0.45f, r * 0.25f, rgb(0x5A8238, 0.8f));
    };
    struct Wood {
        float x, y, r;
        int trees;
    };
    for (const Wood& wood : {Wood{180, 160, 130, 70}, Wood{420, 640, 110, 45}, Wood{930, 150, 90, 30}, Wood{120, 620, 80, 25}}) {
        for (int i = 0; i < wood.trees; ++i) {
            float a = rnd() * 2 * kPi, d = std::sqrt(rnd()) * wood.r;
            float x = wood.x + d * std::cos(a), y = wood.y + d * std::sin(a) * 0.8f;
            if (std::fabs(x - riverX(y)) < 40 || std::fabs(y - roadY(x)) < 20) continue;
            tree(x, y, 10 + rnd() * 8);
        }
    }
    // A hamlet by the road.
    auto house = [&](float x, float y, float hw, float hh) {
        c.fillPolygon({x - hw + 4, y - hh + 5, x + hw + 4, y - hh + 5, x + hw + 4, y + hh + 5, x - hw + 4, y + hh + 5},
                      rgb(0, 0.4f));
        c.fillPolygon({x - hw, y - hh, x + hw, y - hh, x + hw, y, x - hw, y}, rgb(0xA0503A));
        c.fillPolygon({x - hw, y, x + hw, y, x + hw, y + hh, x - hw, y + hh}, rgb(0x7A3A2A));
        c.strokePath({x - hw, y, x + hw, y}, 1.5f, rgb(0x4A2018));
    };
    house(380, 360, 22, 14);
    house(440, 350, 16, 12);
    house(410, 492, 20, 13);
    house(330, 480, 14, 10);
    // Hills: shaded mounds in the north-east.
    for (auto [x, y, r] : {std::tuple{560.0f, 110.0f, 60.0f}, std::tuple{470.0f, 80.0f, 45.0f}}) {
        for (int py = int(y - r); py < int(y + r); ++py)
            for (int px = int(x - r); px < int(x + r); ++px) {
                float d = std::hypot(float(px) - x, float(py) - y) / r;
                if (d >= 1) continue;
                float lit = ((x - float(px)) * 0.55f + (y - float(py)) * 0.83f) / r;
                c.blend(px, py, lit > 0 ? rgb(0xFFFFE0) : rgb(0x000000), std::fabs(lit) * 0.25f * (1 - d));
            }
    }
    return c;
}

}  // namespace

Named tablePictures() {
    Named out;
    struct Piece {
        const char* name;
        Figure figure;
    };
    const Color heroRim = rgb(0x3A6AB0), heroField = rgb(0xD8D0B8);
    for (const Piece& p : {Piece{"warrior", warrior}, Piece{"mage", mage}, Piece{"archer", archer}, Piece{"cleric", cleric}})
        out.emplace_back(std::string("tokens/heroes/") + p.name, token(heroRim, heroField, p.figure));
    const Color foeRim = rgb(0xA02A1E), foeField = rgb(0xC8B89A);
    for (const Piece& p : {Piece{"goblin", goblin}, Piece{"wolf", wolf}, Piece{"skeleton", skeleton},
                           Piece{"drake", drake}, Piece{"slime", slime}, Piece{"spider", spider}})
        out.emplace_back(std::string("tokens/monsters/") + p.name, token(foeRim, foeField, p.figure));
    struct Hue {
        const char* name;
        uint32_t rgb;
    };
    for (const Hue& hue : {Hue{"red", 0xC02A20}, Hue{"blue", 0x2A5AC0}, Hue{"green", 0x2A9A40}, Hue{"yellow", 0xE0B020},
                           Hue{"purple", 0x8A3AB0}, Hue{"white", 0xE8E8E8}}) {
        out.emplace_back(std::string("tokens/markers/gem_") + hue.name, gem(rgb(hue.rgb)));
        out.emplace_back(std::string("tokens/markers/ring_") + hue.name, ring(rgb(hue.rgb)));
    }
    const Sitter sitters[] = {
        {rgb(0x3A4A6A), rgb(0xE0B898), rgb(0x5A3A1E), rgb(0x7A2A1E), 0},
        {rgb(0x4A3A5A), rgb(0xF0CCB0), rgb(0xC89A50), rgb(0x2A4A7A), 1},
        {rgb(0x2A4A3A), rgb(0xB88868), rgb(0x1E1A18), rgb(0x3A5A2A), 2},
        {rgb(0x5A4A3A), rgb(0xD8A888), rgb(0x2A2018), rgb(0x5A5E66), 3},
        {rgb(0x3A3A4A), rgb(0x8A6048), rgb(0xA8A8A8), rgb(0x6A4A2A), 4},
        {rgb(0x6A3A2A), rgb(0xE8C0A0), rgb(0x8A2A1A), rgb(0x2A2A3A), 1},
    };
    const char* names[] = {"ranger", "scholar", "druid", "knight", "elder", "duelist"};
    for (size_t i = 0; i < std::size(sitters); ++i) out.emplace_back(std::string("portraits/") + names[i], portrait(sitters[i]));
    out.emplace_back("maps/dungeon", dungeonMap());
    out.emplace_back("maps/wilderness", wildernessMap());
    return out;
}

Named portraitShapes() {
    Named out;
    out.emplace_back("frame", portraitFrame());
    out.emplace_back("mask", portraitMask());
    return out;
}

}  // namespace art
