// The icons: menu medallions (a brass ring around an enamel disc that says
// by its colour what kind of entry it is, with an ivory sign on it), the
// minimized marks, the opener buttons of the shortcut panels, the tabs and the
// sheet's ornaments. Signs are drawn in a 36-pixel box and scaled.
#include <algorithm>
#include <cmath>
#include <functional>

#include "artgen_parts.h"

namespace art {

namespace {

const float kPi = 3.14159265f;
const Color kIvory = rgb(0xF6EEDC);
const Color kInk = rgb(0x2A1C12);

// Enamel colours by kind of entry.
const Color kDanger = rgb(0x8E2A1E);
const Color kWindow = rgb(0x2A4A78);
const Color kShare = rgb(0x2A6A44);
const Color kPointer = rgb(0x5A3478);
const Color kDice = rgb(0x8A5A14);
const Color kPlain = rgb(0x3A3E4A);
const Color kText = rgb(0x24586A);

using Sign = std::function<void(Canvas&, Color)>;

// A sign with a dark shadow below and to the right, so that it stands out
// of its ground; the sign is drawn at `scale` times its own units.
void stamp(Canvas& icon, const Sign& sign, Color color, float scale) {
    Canvas mark(icon.width(), icon.height());
    mark.setTransform(scale);
    sign(mark, color);
    Canvas dark(icon.width(), icon.height());
    dark.setTransform(scale);
    sign(dark, rgb(0x000000));
    icon.draw(dark, 1, 1, 0.55f);
    icon.draw(mark, 0, 0);
}

// The 36-pixel round menu icon.
// The round menu icon, `kMenuIcon` pixels; the sign is drawn in the 36-pixel
// box and scaled.
const int kMenuIcon = 44;

Canvas medallion(Color enamel, const Sign& sign) {
    const int n = kMenuIcon;
    const float k = float(n) / 36.0f, c0 = float(n) / 2;
    Canvas c(n, n);
    c.fillCircle(c0 + 0.5f, c0 + 1.2f * k, 17 * k, rgb(0x000000, 0.45f));
    const float outer = 16.6f * k, ring = 13.2f * k, groove = 12.2f * k;
    for (int y = 0; y < n; ++y) {
        for (int x = 0; x < n; ++x) {
            float dx = float(x) + 0.5f - c0, dy = float(y) + 0.5f - c0;
            float r = std::hypot(dx, dy);
            if (r > outer) continue;
            float cover = std::clamp(outer - r, 0.0f, 1.0f);
            float lightness = (-dx * 0.55f - dy * 0.83f) / std::max(r, 1.0f);
            Color col;
            if (r > ring) {  // the brass ring, lit from the upper left
                col = shade(brass(float(x), float(y), n, 61), 1.0f + 0.35f * lightness * ((r - ring) / (outer - ring) * 2 - 1));
                if (r > outer - 0.6f) col = shade(col, 0.6f);
            } else if (r > groove) {
                col = rgb(0x1A120A);
            } else {  // the enamel, domed: lighter high up on the left
                float dome = 1.15f - 0.35f * std::hypot(dx + 4 * k, dy + 5 * k) / (16.0f * k);
                col = shade(enamel, dome);
            }
            c.blend(x, y, col, cover);
        }
    }
    // A gloss on the enamel.
    Canvas gloss(n, n);
    gloss.setTransform(k);
    gloss.fillPolygon(arc(18, 18, 11, kPi * 1.05f, kPi * 1.95f), rgb(0xFFFFFF, 0.14f));
    c.draw(gloss, 0, 0);
    stamp(c, sign, kIvory, k);
    return c;
}

// Digits for the die menu, as strokes in a 4 x 7 box.
Points digitPath(char d) {
    switch (d) {
    case '0': return {0.6f, 0, 3.4f, 0, 4, 0.7f, 4, 6.3f, 3.4f, 7, 0.6f, 7, 0, 6.3f, 0, 0.7f, 0.6f, 0};
    case '1': return {0.8f, 1.4f, 2.2f, 0, 2.2f, 7};
    case '2': return {0, 1.2f, 0.9f, 0, 3.1f, 0, 4, 1, 4, 2.6f, 0, 7, 4.2f, 7};
    case '3': return {0, 0, 4, 0, 1.8f, 2.9f, 3, 2.9f, 4, 3.9f, 4, 6, 3, 7, 1, 7, 0, 6.1f};
    case '4': return {3.1f, 7.2f, 3.1f, 0, 0, 5, 4.3f, 5};
    case '5': return {4, 0, 0.4f, 0, 0.2f, 3.1f, 3, 2.9f, 4, 3.9f, 4, 6, 3, 7, 0.9f, 7, 0, 6.1f};
    default: return {};
    }
}

Sign number(const std::string& digits) {
    return [digits](Canvas& c, Color col) {
        bool two = digits.size() > 1;
        float scale = two ? 1.75f : 2.5f, gap = two ? 2.4f : 0.0f, width = two ? 2.2f : 2.6f;
        float w = float(digits.size()) * 4 * scale + float(digits.size() - 1) * gap;
        float x = 18 - w / 2, y = 18 - 3.5f * scale;
        for (char d : digits) {
            c.strokePath(place(digitPath(d), scale, x, y), width, col);
            x += 4 * scale + gap;
        }
    };
}

void percentSign(Canvas& c, Color col) {
    c.strokeCircle(12.5f, 12.5f, 3.2f, 2.2f, col);
    c.strokeCircle(23.5f, 23.5f, 3.2f, 2.2f, col);
    c.strokePath({25, 10, 11, 26}, 2.6f, col);
}

void crossSign(Canvas& c, Color col, float r, float width) {
    c.strokePath({18 - r, 18 - r, 18 + r, 18 + r}, width, col);
    c.strokePath({18 + r, 18 - r, 18 - r, 18 + r}, width, col);
}

void arrowHead(Canvas& c, float x, float y, float angle, float size, Color col) {
    float a1 = angle + kPi * 0.8f, a2 = angle - kPi * 0.8f;
    c.fillPolygon({x + std::cos(angle) * size * 0.4f, y + std::sin(angle) * size * 0.4f, x + std::cos(a1) * size,
                   y + std::sin(a1) * size, x + std::cos(a2) * size, y + std::sin(a2) * size},
                  col);
}

void windowBox(Canvas& c, float x0, float y0, float x1, float y1, Color col) {
    c.strokePolygon({x0, y0, x1, y0, x1, y1, x0, y1}, 1.8f, col);
    c.fillRect(int(x0), int(y0), int(x1) + 1, int(y0) + 3, col);
}

void trashCan(Canvas& c, Color col) {
    c.fillPolygon({12, 14, 24, 14, 22.8f, 27, 13.2f, 27}, col);
    c.fillRect(10, 11, 26, 13, col);
    c.fillRect(15, 8, 21, 10, col);
    for (float x : {15.3f, 18.0f, 20.7f}) c.strokePath({x, 16.5f, x, 24.5f}, 1.1f, rgb(0x000000, 0.45f));
}

void broadcastSign(Canvas& c, Color col) {
    c.fillCircle(18, 18, 2.6f, col);
    for (float r : {6.0f, 10.0f}) {
        c.strokePath(arc(18, 18, r, -kPi * 0.28f, kPi * 0.28f, 12), 2.0f, col);
        c.strokePath(arc(18, 18, r, kPi * 0.72f, kPi * 1.28f, 12), 2.0f, col);
    }
}

void arrowSign(Canvas& c, Color col) {
    c.strokePath({10, 26, 23, 13}, 2.6f, col);
    arrowHead(c, 25.5f, 10.5f, -kPi / 4, 8, col);
}

void pencilSign(Canvas& c, Color col) {
    c.fillPolygon({22, 8, 28, 14, 15, 27, 9, 21}, col);
    c.fillPolygon({9, 21, 15, 27, 7.5f, 28.5f}, col);
    c.strokePath({20, 10, 26, 16}, 1.2f, rgb(0x000000, 0.4f));
}

void powerSign(Canvas& c, Color col) {
    c.strokePath(arc(18, 19, 8.5f, -kPi * 0.3f, kPi * 1.3f, 28), 2.6f, col);
    c.strokePath({18, 8, 18, 18}, 2.6f, col);
}

void backSign(Canvas& c, Color col) {
    c.strokePath(arc(18, 20, 7, -kPi * 0.5f, kPi * 0.75f, 20), 2.6f, col);
    c.strokePath({18, 13, 12, 13}, 2.6f, col);
    arrowHead(c, 10, 13, kPi, 6.5f, col);
}

void diceSign(Canvas& c, Color col) {
    for (auto [x, y] : {std::pair{9.0f, 9.0f}, std::pair{19.5f, 9.0f}, std::pair{9.0f, 19.5f}, std::pair{19.5f, 19.5f}}) {
        c.fillPolygon({x, y, x + 8, y, x + 8, y + 8, x, y + 8}, col);
        c.fillCircle(x + 4, y + 4, 1.3f, rgb(0x000000, 0.6f));
    }
}

void padlock(Canvas& c, Color col, bool open) {
    c.fillPolygon({11, 17, 25, 17, 25, 28, 11, 28}, col);
    if (open) c.strokePath(arc(22, 14, 4.5f, kPi, 2 * kPi, 14), 2.4f, col);
    else c.strokePath(arc(18, 16, 5, kPi, 2 * kPi, 14), 2.4f, col);
    c.strokePath(open ? Points{26.5f, 14, 26.5f, 17} : Points{13, 16, 13, 17.5f}, 2.4f, col);
    if (!open) c.strokePath({23, 16, 23, 17.5f}, 2.4f, col);
    c.fillCircle(18, 22, 1.6f, rgb(0x000000, 0.55f));
}

// Menu icons of the window frame, the Desktop, the dice and the pointers.
void menuIcons(Named& out) {
    auto add = [&](const char* name, Color enamel, Sign sign) { out.emplace_back(name, medallion(enamel, sign)); };
    add("close", kDanger, [](Canvas& c, Color col) { crossSign(c, col, 6, 3.2f); });
    add("closeremote", kDanger, [](Canvas& c, Color col) {
        crossSign(c, col, 4.2f, 2.6f);
        c.strokeCircle(18, 18, 9.5f, 1.8f, col);
    });
    add("closeprogram", kDanger, powerSign);
    add("delete", kDanger, trashCan);
    add("crossed", kDanger, [](Canvas& c, Color col) {
        c.strokeCircle(18, 18, 8.5f, 2.4f, col);
        c.strokePath({12, 24, 24, 12}, 2.4f, col);
    });
    add("minimize", kWindow, [](Canvas& c, Color col) {
        c.strokePath({18, 9, 18, 20}, 2.6f, col);
        arrowHead(c, 18, 23, kPi / 2, 6.5f, col);
        c.fillRect(11, 25, 26, 28, col);
    });
    add("restore", kWindow, [](Canvas& c, Color col) {
        c.fillRect(11, 8, 26, 11, col);
        c.strokePath({18, 27, 18, 16}, 2.6f, col);
        arrowHead(c, 18, 13, -kPi / 2, 6.5f, col);
    });
    add("maximizewindow", kWindow, [](Canvas& c, Color col) { windowBox(c, 10, 10, 26, 26, col); });
    add("restorewindow", kWindow, [](Canvas& c, Color col) {
        windowBox(c, 14, 9, 27, 21, col);
        c.fillPolygon({9, 15, 22, 15, 22, 27, 9, 27}, withAlpha(shade(kWindow, 1.05f), col.r > 0.5f ? 1.0f : 0.0f));
        windowBox(c, 9, 15, 22, 27, col);
    });
    add("broadcast", kShare, broadcastSign);
    add("pointer", kPointer, arrowSign);
    add("pointer_cone", kPointer, [](Canvas& c, Color col) {
        Points cone = {9, 27};
        Points rim = arc(9, 27, 18, -kPi * 0.5f, 0, 16);
        cone.insert(cone.end(), rim.begin(), rim.end());
        c.strokePolygon(cone, 2.2f, col);
        c.fillPolygon(cone, withAlpha(col, 0.3f));
    });
    add("pointer_circle", kPointer, [](Canvas& c, Color col) {
        c.strokeCircle(18, 18, 9, 2.2f, col);
        c.fillCircle(18, 18, 9, withAlpha(col, 0.3f));
        c.fillCircle(18, 18, 2, col);
    });
    add("pointer_square", kPointer, [](Canvas& c, Color col) {
        Points sq = {10, 10, 26, 10, 26, 26, 10, 26};
        c.strokePolygon(sq, 2.2f, col);
        c.fillPolygon(sq, withAlpha(col, 0.3f));
    });
    add("arrangedice", kDice, diceSign);
    for (const char* n : {"2", "3", "4", "5", "10", "15", "20"}) add((std::string("num") + n).c_str(), kDice, number(n));
    add("percent", kDice, percentSign);
    add("menuback", kPlain, backSign);
    add("edit", kText, pencilSign);
    add("locktoken", kPlain, [](Canvas& c, Color col) { padlock(c, col, false); });
    add("unlocktoken", kPlain, [](Canvas& c, Color col) { padlock(c, col, true); });
}

// Letters for the text menus, as strokes in a 4 x 7 box.
Points letterPath(char l) {
    switch (l) {
    case 'B': return {0, 7, 0, 0, 2.8f, 0, 3.8f, 0.9f, 3.8f, 2.5f, 2.8f, 3.4f, 0, 3.4f, 3, 3.4f, 4.1f, 4.4f, 4.1f, 6, 3, 7, 0, 7};
    case 'U': return {0, 0, 0, 5.6f, 1.2f, 7, 2.8f, 7, 4, 5.6f, 4, 0};
    case 'T': return {0, 0, 4.4f, 0, 2.2f, 0, 2.2f, 7};
    case 'H': return {0, 0, 0, 7, 0, 3.5f, 4, 3.5f, 4, 0, 4, 7};
    default: return {};
    }
}

void letter(Canvas& c, char l, float x, float y, float scale, float width, Color col) {
    c.strokePath(place(letterPath(l), scale, x, y), width, col);
}

void lines(Canvas& c, Color col, float x0, float x1, std::initializer_list<float> ys, float width = 2.0f) {
    for (float y : ys) c.strokePath({x0, y, x1, y}, width, col);
}

void eyeSign(Canvas& c, Color col) {
    Points eye = {8, 18, 13, 12.5f, 18, 11, 23, 12.5f, 28, 18, 23, 23.5f, 18, 25, 13, 23.5f};
    c.strokePolygon(eye, 2.0f, col);
    c.fillCircle(18, 18, 3.6f, col);
}

void tokenSign(Canvas& c, Color col) {
    c.strokeCircle(18, 18, 8.5f, 2.2f, col);
    c.fillCircle(18, 15.5f, 2.6f, col);
    c.fillPolygon(arc(18, 24.5f, 5.2f, kPi, 2 * kPi, 12), col);
}

void bellSign(Canvas& c, Color col) {
    Points bell = {11, 24, 13, 20, 13, 15};
    Points top = arc(18, 15, 5, kPi, 2 * kPi, 12);
    bell.insert(bell.end(), top.begin(), top.end());
    bell.insert(bell.end(), {23, 20, 25, 24});
    c.fillPolygon(bell, col);
    c.fillCircle(18, 26.5f, 2, col);
    c.fillCircle(18, 9.5f, 1.3f, col);
}

void rotateSign(Canvas& c, Color col, bool clockwise) {
    if (clockwise) {
        c.strokePath(arc(18, 18, 8, kPi * 0.9f, kPi * 2.3f, 24), 2.5f, col);
        arrowHead(c, 18 + 8 * std::cos(kPi * 2.3f), 18 + 8 * std::sin(kPi * 2.3f), kPi * 2.3f + kPi / 2, 6, col);
    } else {
        c.strokePath(arc(18, 18, 8, kPi * 0.7f, -kPi * 0.7f, 24), 2.5f, col);
        arrowHead(c, 18 + 8 * std::cos(-kPi * 0.7f), 18 + 8 * std::sin(-kPi * 0.7f), -kPi * 0.7f - kPi / 2, 6, col);
    }
}

void gridSign(Canvas& c, Color col) {
    for (float v : {11.0f, 18.0f, 25.0f}) {
        c.strokePath({v, 9, v, 27}, 1.6f, col);
        c.strokePath({9, v, 27, v}, 1.6f, col);
    }
}

void maskSign(Canvas& c, Color col) {
    Points cloud;
    for (int i = 0; i < 36; ++i) {
        float a = float(i) * kPi / 18;
        float r = 8.5f + 1.6f * std::sin(a * 5);
        cloud.push_back(18 + r * std::cos(a));
        cloud.push_back(18 + r * 0.8f * std::sin(a));
    }
    c.fillPolygon(cloud, col);
}

// Menu icons of the chat, the lists, tokens, maps and formatted text.
void moreMenuIcons(Named& out) {
    auto add = [&](const char* name, Color enamel, Sign sign) { out.emplace_back(name, medallion(enamel, sign)); };
    add("equals", kDice, [](Canvas& c, Color col) { lines(c, col, 11, 25, {14.5f, 21.5f}, 2.8f); });
    add("halve", kDice, [](Canvas& c, Color col) {
        c.strokePath({12, 25, 24, 11}, 2.2f, col);
        c.strokePath(place(digitPath('1'), 1.1f, 8.5f, 7.5f), 2, col);
        c.strokePath(place(digitPath('2'), 1.1f, 20.5f, 20), 2, col);
    });
    add("double", kDice, [](Canvas& c, Color col) {
        c.strokePath({8.5f, 14, 15.5f, 21}, 2.2f, col);
        c.strokePath({15.5f, 14, 8.5f, 21}, 2.2f, col);
        c.strokePath(place(digitPath('2'), 1.7f, 19, 11.5f), 2.2f, col);
    });
    add("negate", kDice, [](Canvas& c, Color col) {
        c.strokePath({10, 14, 16, 14}, 2.4f, col);
        c.strokePath({13, 11, 13, 17}, 2.4f, col);
        c.strokePath({20, 23, 26, 23}, 2.4f, col);
        c.strokePath({24, 10, 12, 26}, 1.8f, col);
    });
    add("erase", kDanger, [](Canvas& c, Color col) {
        c.fillPolygon({19, 8, 28, 17, 19, 26, 10, 17}, col);
        c.fillPolygon({10, 17, 14.5f, 21.5f, 10.5f, 25.5f, 6, 21}, withAlpha(col, 0.6f));
        c.strokePath({8, 28, 28, 28}, 1.6f, col);
    });
    add("prompt", kText, [](Canvas& c, Color col) { c.fillPolygon({12, 9, 26, 18, 12, 27}, col); });
    add("hand", kDanger, [](Canvas& c, Color col) {
        Points octagon = regular(8, 18, 18, 10, kPi / 8);
        c.fillPolygon(octagon, col);
        c.strokePath({13, 18, 23, 18}, 3, rgb(0x8E2A1E));
    });
    add("log", kText, [](Canvas& c, Color col) {
        c.fillPolygon({10, 8, 23, 8, 27, 12, 27, 28, 10, 28}, col);
        c.fillCircle(18, 19, 4.5f, rgb(0x24586A));
        c.fillCircle(18, 19, 2.2f, rgb(0xC03020));
    });
    add("logoff", kText, [](Canvas& c, Color col) {
        c.fillPolygon({10, 8, 23, 8, 27, 12, 27, 28, 10, 28}, col);
        c.fillRect(14, 15, 22, 23, rgb(0x24586A));
    });
    add("insert", kShare, [](Canvas& c, Color col) {
        c.strokePath({18, 10, 18, 26}, 3, col);
        c.strokePath({10, 18, 26, 18}, 3, col);
    });
    add("sort", kPlain, [](Canvas& c, Color col) {
        lines(c, col, 9, 16, {11}, 2.2f);
        lines(c, col, 9, 19, {17}, 2.2f);
        lines(c, col, 9, 22, {23}, 2.2f);
        c.strokePath({26, 9, 26, 22}, 2.2f, col);
        arrowHead(c, 26, 25.5f, kPi / 2, 5.5f, col);
    });
    add("rotatecw", kPlain, [](Canvas& c, Color col) { rotateSign(c, col, true); });
    add("rotateccw", kPlain, [](Canvas& c, Color col) { rotateSign(c, col, false); });
    add("deletetoken", kDanger, [](Canvas& c, Color col) {
        tokenSign(c, col);
        c.strokePath({10, 26, 26, 10}, 2.4f, col);
    });
    add("deletealltokens", kDanger, [](Canvas& c, Color col) {
        c.strokeCircle(14, 15, 5.5f, 1.8f, col);
        c.strokeCircle(22, 21, 5.5f, 1.8f, col);
        c.strokePath({9, 27, 27, 9}, 2.4f, col);
    });
    add("layers", kPlain, [](Canvas& c, Color col) {
        for (float y : {22.0f, 17.0f, 12.0f}) {
            Points sheet = {18, y - 5, 28, y, 18, y + 5, 8, y};
            c.fillPolygon(sheet, rgb(0x3A3E4A));
            c.strokePolygon(sheet, 1.6f, col);
        }
    });
    add("mask", kPlain, maskSign);
    add("deletemask", kDanger, [](Canvas& c, Color col) {
        maskSign(c, col);
        c.strokePath({10, 27, 26, 9}, 2.6f, rgb(0x8E2A1E));
    });
    add("maskedit", kPlain, [](Canvas& c, Color col) {
        maskSign(c, withAlpha(col, 0.55f));
        pencilSign(c, col);
    });
    add("maskeditoff", kPlain, [](Canvas& c, Color col) {
        maskSign(c, withAlpha(col, 0.55f));
        crossSign(c, col, 5, 2.4f);
    });
    add("grid", kPlain, gridSign);
    add("gridoff", kPlain, [](Canvas& c, Color col) {
        gridSign(c, withAlpha(col, 0.5f));
        c.strokePath({9, 27, 27, 9}, 2.6f, col);
    });
    add("goto", kShare, eyeSign);
    add("send", kShare, [](Canvas& c, Color col) { c.fillPolygon({8, 17, 28, 9, 21, 28, 18, 20}, col); });
    add("stopedit", kText, [](Canvas& c, Color col) {
        pencilSign(c, withAlpha(col, 0.55f));
        c.strokeCircle(18, 18, 9, 2, col);
        c.strokePath({12, 24, 24, 12}, 2, col);
    });
    add("portrait", kPlain, [](Canvas& c, Color col) {
        c.strokePolygon({10, 8, 26, 8, 26, 28, 10, 28}, 1.8f, col);
        c.fillCircle(18, 15.5f, 3.4f, col);
        c.fillPolygon(arc(18, 27, 6.5f, kPi, 2 * kPi, 14), col);
    });
    add("kick", kDanger, [](Canvas& c, Color col) {
        tokenSign(c, col);
        arrowHead(c, 29, 18, 0, 5, col);
    });
    add("kickconfirm", kDanger, [](Canvas& c, Color col) {
        tokenSign(c, col);
        c.strokePath({21, 25, 24, 28, 30, 20}, 2.4f, col);
    });
    add("bell", kDice, bellSign);
    add("turn", kShare, [](Canvas& c, Color col) {
        c.strokePath({12, 8, 12, 28}, 2.2f, col);
        c.fillPolygon({12, 9, 26, 13, 12, 18}, col);
    });
    add("assignspeaker", kText, [](Canvas& c, Color col) {
        c.fillPolygon(arc(18, 16, 9, 0, 2 * kPi, 28), col);
        c.fillPolygon({13, 22, 12, 29, 19, 23}, col);
    });
    add("textnormal", kText, [](Canvas& c, Color col) { lines(c, col, 9, 27, {11, 16, 21, 26}, 2); });
    add("texttitle", kText, [](Canvas& c, Color col) {
        letter(c, 'T', 12, 8, 2.2f, 2.6f, col);
        lines(c, col, 10, 26, {28}, 1.6f);
    });
    add("textlist", kText, [](Canvas& c, Color col) {
        for (float y : {12.0f, 18.0f, 24.0f}) {
            c.fillCircle(11, y, 1.8f, col);
            c.strokePath({15, y, 27, y}, 2, col);
        }
    });
    add("textlink", kText, [](Canvas& c, Color col) {
        c.strokeCircle(14, 20, 4.5f, 2.2f, col);
        c.strokeCircle(22, 16, 4.5f, 2.2f, col);
    });
    add("textchat", kText, [](Canvas& c, Color col) {
        c.strokePolygon({9, 10, 27, 10, 27, 22, 17, 22, 12, 27, 12, 22, 9, 22}, 2, col);
    });
    add("bold", kText, [](Canvas& c, Color col) { letter(c, 'B', 13, 9, 2.4f, 3.2f, col); });
    add("italics", kText, [](Canvas& c, Color col) {
        c.strokePath({21, 9, 15, 27}, 2.6f, col);
        c.strokePath({17, 9, 25, 9}, 2.2f, col);
        c.strokePath({11, 27, 19, 27}, 2.2f, col);
    });
    add("underline", kText, [](Canvas& c, Color col) {
        letter(c, 'U', 13, 7, 2.3f, 2.4f, col);
        lines(c, col, 10, 26, {28}, 2);
    });
}

// Small marks that stand in a chat line or beside the entry: the indicators
// of prompts, halts and turns, the die of an attached roll, and the speaking
// modes of the entry.
Canvas smallMark(int size, Color ground, const Sign& sign) {
    Canvas c(size, size);
    float r = float(size) / 2 - 1;
    c.fillCircle(float(size) / 2 + 0.5f, float(size) / 2 + 0.8f, r, rgb(0, 0.5f));
    c.fillCircle(float(size) / 2, float(size) / 2, r, ground);
    c.strokeCircle(float(size) / 2, float(size) / 2, r - 0.5f, 1.2f, rgb(0xD8B860));
    Canvas mark(size, size);
    mark.setTransform(float(size) / 36.0f);
    sign(mark, kIvory);
    c.draw(mark, 0, 0);
    return c;
}

void chatMarks(Named& out) {
    out.emplace_back("indicator_prompt", smallMark(20, rgb(0x24586A), [](Canvas& c, Color col) {
                                          c.fillPolygon({13, 9, 27, 18, 13, 27}, col);
                                      }));
    out.emplace_back("indicator_stop", smallMark(20, rgb(0x8E2A1E), [](Canvas& c, Color col) {
                                        c.fillPolygon(regular(8, 18, 18, 9.5f, kPi / 8), col);
                                    }));
    // A map's indicators: its picture is on its way (an hourglass), and
    // every player has it (a tick).
    out.emplace_back("indicator_loading", smallMark(28, rgb(0x5A4A2A), [](Canvas& c, Color col) {
                                           c.fillPolygon({11, 8, 25, 8, 18, 18}, col);
                                           c.fillPolygon({18, 18, 25, 28, 11, 28}, col);
                                       }));
    out.emplace_back("indicator_everyone", smallMark(22, rgb(0x2A6A44), [](Canvas& c, Color col) {
                                            c.strokePath({10, 19, 16, 25, 27, 11}, 3.4f, col);
                                        }));
    out.emplace_back("indicator_flag", smallMark(20, rgb(0x2A6A44), [](Canvas& c, Color col) {
                                        c.strokePath({12, 8, 12, 28}, 3, col);
                                        c.fillPolygon({12, 9, 27, 13.5f, 12, 19}, col);
                                    }));
    out.emplace_back("textentry_die", smallMark(18, rgb(0x70002A), [](Canvas& c, Color col) {
                                       c.strokePolygon(regular(6, 18, 18, 10, -kPi / 2), 2.6f, col);
                                       c.strokePath({18, 8, 18, 18, 9.5f, 23, 18, 18, 26.5f, 23}, 2, col);
                                   }));
    out.emplace_back("rejected", smallMark(22, kDanger, [](Canvas& c, Color col) { crossSign(c, col, 6.5f, 3.6f); }));
    out.emplace_back("chat_speak", smallMark(22, rgb(0x3A3E4A), [](Canvas& c, Color col) {
                                    c.fillPolygon(arc(18, 16, 10, 0, 2 * kPi, 28), col);
                                    c.fillPolygon({12, 22, 10, 30, 19, 24}, col);
                                }));
    out.emplace_back("chat_action", smallMark(22, rgb(0x8A5A14), [](Canvas& c, Color col) {
                                     c.fillPolygon({15, 7, 22, 7, 20, 21, 17, 21}, col);
                                     c.fillCircle(18.5f, 26, 2.6f, col);
                                 }));
    out.emplace_back("chat_emote", smallMark(22, rgb(0x5A3478), [](Canvas& c, Color col) {
                                    Points star;
                                    for (int i = 0; i < 10; ++i) {
                                        float a = float(i) * kPi / 5 - kPi / 2;
                                        float r = i % 2 ? 4.5f : 11;
                                        star.push_back(18 + r * std::cos(a));
                                        star.push_back(19 + r * std::sin(a));
                                    }
                                    c.fillPolygon(star, col);
                                }));
    out.emplace_back("chat_ooc", smallMark(22, rgb(0x3A3E4A), [](Canvas& c, Color col) {
                                  c.strokePath(arc(22, 18, 10, kPi * 0.72f, kPi * 1.28f, 12), 2.6f, col);
                                  c.strokePath(arc(14, 18, 10, -kPi * 0.28f, kPi * 0.28f, 12), 2.6f, col);
                              }));
    // A poll's box before and after the character's player voted.
    out.emplace_back("poll_empty", smallMark(20, rgb(0x3A3E4A), [](Canvas& c, Color col) {
                                    c.strokePath({10, 10, 26, 10, 26, 26, 10, 26, 10, 10}, 2.4f, col);
                                }));
    out.emplace_back("poll_checked", smallMark(20, rgb(0x2A6A44), [](Canvas& c, Color col) {
                                      c.strokePath({10, 19, 16, 25, 27, 11}, 3.6f, col);
                                  }));
    out.emplace_back("chat_wait", smallMark(22, rgb(0x8A5A14), [](Canvas& c, Color col) {
                                   for (float x : {10.0f, 18.0f, 26.0f}) c.fillCircle(x, 19, 3, col);
                               }));
}

// The marks on the portraits of the character strip: typing (a quill at
// work), away (a crescent moon), and the pointer's colour, a white gem that
// the program tints with each player's colour.
void characterMarks(Named& out) {
    out.emplace_back("char_typing", smallMark(20, rgb(0x24586A), [](Canvas& c, Color col) {
                                     for (float x : {10.0f, 18.0f, 26.0f}) c.fillCircle(x, 20, 3.2f, col);
                                     c.strokePath({8, 27, 28, 27}, 1.6f, col);
                                 }));
    out.emplace_back("char_away", smallMark(20, rgb(0x3A3E4A), [](Canvas& c, Color col) {
                                   Points moon = arc(18, 18, 10, kPi * 0.35f, kPi * 1.65f, 20);
                                   Points inner = arc(22, 16, 7.5f, kPi * 1.45f, kPi * 0.55f, 16);
                                   moon.insert(moon.end(), inner.begin(), inner.end());
                                   c.fillPolygon(moon, col);
                               }));
    Canvas gem(14, 14);
    gem.fillCircle(7.5f, 8, 6, rgb(0x000000, 0.5f));
    gem.fillCircle(7, 7, 6, rgb(0xFFFFFF));
    gem.strokeCircle(7, 7, 5.5f, 1.2f, rgb(0x9A9A9A));
    gem.fillCircle(5, 5, 1.6f, rgb(0xFFFFFF));
    out.emplace_back("char_pointer", gem);
}

// The hub of every ring: an engraved brass boss.
Canvas menuHub() {
    const int n = 48;
    const float k = float(n) / 40.0f, c0 = float(n) / 2;  // drawn in a 40-pixel box
    Canvas c(n, n);
    for (int y = 0; y < n; ++y) {
        for (int x = 0; x < n; ++x) {
            float dx = (float(x) + 0.5f - c0) / k, dy = (float(y) + 0.5f - c0) / k;
            float r = std::hypot(dx, dy);
            float lightness = (-dx * 0.55f - dy * 0.83f) / std::max(r, 1.0f);
            Color col = brass(float(x), float(y), n, 71);
            if (r > 14) col = shade(col, 1.0f + 0.4f * lightness);
            else if (r > 12.5f) col = shade(col, 1.0f - 0.45f * lightness);
            else col = shade(col, 1.1f - 0.3f * r / 12.5f);
            float shadow = std::hypot(dx - 0.5f, dy - 1.3f);
            if (shadow < 18.5f) c.blend(x, y, rgb(0, 0.5f), std::clamp((18.5f - shadow) * k, 0.0f, 1.0f));
            if (r < 18.5f) c.blend(x, y, col, std::clamp((18 - r) * k + 0.5f, 0.0f, 1.0f));
        }
    }
    c.setTransform(k);
    for (int i = 0; i < 8; ++i) {
        float a = float(i) * kPi / 4;
        float x = 20 + 16 * std::cos(a), y = 20 + 16 * std::sin(a);
        c.fillCircle(x, y, 1.3f, rgb(0x3A2808));
        c.fillCircle(x - 0.4f, y - 0.4f, 0.6f, rgb(0xFFF0C0));
    }
    Points star;
    for (int i = 0; i < 16; ++i) {
        float a = float(i) * kPi / 8 - kPi / 2;
        float r = i % 2 ? 3.2f : 8.5f;
        star.push_back(20 + r * std::cos(a));
        star.push_back(20 + r * std::sin(a));
    }
    c.fillPolygon(place(star, 1, 0.8f, 0.8f), rgb(0x2A1A06, 0.6f));
    c.fillPolygon(star, rgb(0x5A3A10));
    c.fillCircle(20, 20, 2.2f, rgb(0xF0D890));
    return c;
}

// The glow around a minimized window whose record changed: a ring, open in the
// middle so that the window's mark shows through.
Canvas minimizedGlow() {
    Canvas c(72, 72);
    for (int y = 0; y < 72; ++y) {
        for (int x = 0; x < 72; ++x) {
            float r = std::hypot(float(x) + 0.5f - 36, float(y) + 0.5f - 36);
            float a = std::exp(-(r - 27) * (r - 27) / 30.0f);
            c.at(x, y) = rgb(0xFFD060, std::clamp(a, 0.0f, 1.0f) * 0.95f);
        }
    }
    return c;
}

// Pictograms, drawn in a unit box at (x, y) with size s.
void personPicto(Canvas& c, float x, float y, float s, Color col) {
    c.fillCircle(x + 0.5f * s, y + 0.3f * s, 0.17f * s, col);
    Points body = arc(x + 0.5f * s, y + 0.95f * s, 0.36f * s, kPi, 2 * kPi, 20);
    c.fillPolygon(body, col);
}

void pagePicto(Canvas& c, float x, float y, float s, Color col) {
    Points page = place({0.18f, 0.08f, 0.64f, 0.08f, 0.82f, 0.26f, 0.82f, 0.92f, 0.18f, 0.92f}, s, x, y);
    c.fillPolygon(page, col);
    for (float ly : {0.4f, 0.55f, 0.7f})
        c.strokePath(place({0.3f, ly, 0.7f, ly}, s, x, y), std::max(1.0f, s * 0.05f), rgb(0x000000, 0.45f));
}

void quillPicto(Canvas& c, float x, float y, float s, Color col) {
    c.fillPolygon(place({0.85f, 0.05f, 0.55f, 0.35f, 0.22f, 0.78f, 0.28f, 0.82f, 0.7f, 0.45f}, s, x, y), col);
    c.strokePath(place({0.24f, 0.8f, 0.1f, 0.95f}, s, x, y), std::max(1.0f, s * 0.06f), col);
}

void bookPicto(Canvas& c, float x, float y, float s, Color col) {
    c.fillPolygon(place({0.1f, 0.2f, 0.48f, 0.28f, 0.48f, 0.9f, 0.1f, 0.82f}, s, x, y), col);
    c.fillPolygon(place({0.52f, 0.28f, 0.9f, 0.2f, 0.9f, 0.82f, 0.52f, 0.9f}, s, x, y), col);
}

void scrollPicto(Canvas& c, float x, float y, float s, Color col) {
    c.fillPolygon(place({0.22f, 0.18f, 0.78f, 0.18f, 0.78f, 0.82f, 0.22f, 0.82f}, s, x, y), col);
    c.fillCircle(x + 0.22f * s, y + 0.5f * s, 0.1f * s, col);
    c.fillCircle(x + 0.78f * s, y + 0.5f * s, 0.1f * s, col);
    c.fillRect(int(x + 0.12f * s), int(y + 0.12f * s), int(x + 0.32f * s), int(y + 0.88f * s), col);
    c.fillRect(int(x + 0.68f * s), int(y + 0.12f * s), int(x + 0.88f * s), int(y + 0.88f * s), col);
    for (float ly : {0.35f, 0.5f, 0.65f})
        c.strokePath(place({0.38f, ly, 0.62f, ly}, s, x, y), std::max(1.0f, s * 0.045f), rgb(0x000000, 0.45f));
}

// A map folded in three, with a route across it.
void mapPicto(Canvas& c, float x, float y, float s, Color col) {
    c.fillPolygon(place({0.1f, 0.22f, 0.37f, 0.14f, 0.37f, 0.8f, 0.1f, 0.88f}, s, x, y), col);
    c.fillPolygon(place({0.4f, 0.14f, 0.62f, 0.22f, 0.62f, 0.88f, 0.4f, 0.8f}, s, x, y), col);
    c.fillPolygon(place({0.65f, 0.22f, 0.9f, 0.14f, 0.9f, 0.8f, 0.65f, 0.88f}, s, x, y), col);
}

// A figure on its round base, as tokens stand on a map.
void pawnPicto(Canvas& c, float x, float y, float s, Color col) {
    c.fillCircle(x + 0.5f * s, y + 0.2f * s, 0.14f * s, col);
    c.fillPolygon(place({0.41f, 0.34f, 0.59f, 0.34f, 0.7f, 0.76f, 0.3f, 0.76f}, s, x, y), col);
    Points base;
    for (int i = 0; i < 24; ++i) {
        float a = float(i) * kPi / 12;
        base.push_back(x + s * (0.5f + 0.42f * std::cos(a)));
        base.push_back(y + s * (0.84f + 0.11f * std::sin(a)));
    }
    c.fillPolygon(base, col);
}

void starPicto(Canvas& c, float x, float y, float s, Color col) {
    Points star;
    for (int i = 0; i < 10; ++i) {
        float a = float(i) * kPi / 5 - kPi / 2;
        float r = i % 2 ? 0.19f : 0.46f;
        star.push_back(x + s * (0.5f + r * std::cos(a)));
        star.push_back(y + s * (0.54f + r * std::sin(a)));
    }
    c.fillPolygon(star, col);
}

void swordPicto(Canvas& c, float x, float y, float s, Color col) {
    c.fillPolygon(place({0.86f, 0.1f, 0.9f, 0.14f, 0.42f, 0.66f, 0.34f, 0.58f}, s, x, y), col);
    c.strokePath(place({0.24f, 0.52f, 0.48f, 0.76f}, s, x, y), std::max(1.2f, s * 0.08f), col);
    c.strokePath(place({0.36f, 0.64f, 0.14f, 0.86f}, s, x, y), std::max(1.2f, s * 0.09f), col);
}

void handPicto(Canvas& c, float x, float y, float s, Color col) {
    c.fillPolygon(regular(8, x + 0.5f * s, y + 0.5f * s, 0.44f * s, kPi / 8), col);
}

using Picto = void (*)(Canvas&, float, float, float, Color);

// A square opener button of the shortcut panels, raised or pressed.
Canvas openerButton(Picto picto, Color enamel, bool pressed) {
    const int n = 48;
    Canvas c(n, n);
    c.fillPolygon({3, 4, 47, 4, 47, 48, 3, 48}, rgb(0x000000, pressed ? 0.2f : 0.45f));
    for (int y = 2; y < 45; ++y) {
        for (int x = 2; x < 45; ++x) {
            int d = std::min(std::min(x - 2, y - 2), std::min(44 - x, 44 - y));
            Color col;
            float edgeLight = (x - 2 < 44 - x ? 1.0f : -1.0f) * 0.4f + (y - 2 < 44 - y ? 1.0f : -1.0f) * 0.6f;
            if (d < 1) col = rgb(0x120A04);
            else if (d < 4) col = shade(brass(float(x), float(y), 48, 81), 1.0f + (pressed ? -0.3f : 0.35f) * edgeLight);
            else if (d < 5) col = rgb(0x1A100A);
            else {
                float dome = 1.12f - 0.3f * std::hypot(float(x) - 18, float(y) - 16) / 30.0f;
                col = shade(enamel, pressed ? dome * 0.78f : dome);
                if (d < 7) col = shade(col, pressed ? 0.75f : 1.0f - 0.12f * edgeLight);
            }
            c.at(x, y) = col;
        }
    }
    float off = pressed ? 1.0f : 0.0f;
    Canvas sign(n, n), dark(n, n);
    picto(sign, 10 + off, 10 + off, 26, kIvory);
    picto(dark, 10 + off, 10 + off, 26, rgb(0x000000));
    c.draw(dark, 1, 1, 0.55f);
    c.draw(sign, 0, 0, pressed ? 0.85f : 1.0f);
    return c;
}

// The mark of a minimized window: a wax seal with the class's pictogram.
Canvas waxSeal(Picto picto, Color wax) {
    const int n = 44;
    Canvas c(n, n);
    Points blob;
    for (int i = 0; i < 48; ++i) {
        float a = float(i) * kPi / 24;
        float r = 19.5f + 1.3f * std::sin(a * 7) + 0.8f * std::sin(a * 11 + 1);
        blob.push_back(22 + r * std::cos(a));
        blob.push_back(22 + r * std::sin(a));
    }
    c.fillPolygon(place(blob, 1, 1, 1.5f), rgb(0x000000, 0.5f));
    c.fillPolygon(blob, wax);
    for (int y = 0; y < n; ++y) {
        for (int x = 0; x < n; ++x) {
            Color& v = c.at(x, y);
            if (v.a <= 0 || v.r == 0) continue;
            float dx = float(x) - 17, dy = float(y) - 16;
            v = shade(v, 1.2f - 0.45f * std::hypot(dx, dy) / 26.0f);
        }
    }
    c.strokeCircle(22, 22, 13.5f, 1.6f, shade(wax, 0.6f));
    c.strokeCircle(22.6f, 22.6f, 13.5f, 0.8f, shade(wax, 1.35f));
    Canvas sign(n, n);
    picto(sign, 12, 12, 20, shade(wax, 0.55f));
    c.draw(sign, 0, 0);
    Canvas hi(n, n);
    picto(hi, 11.5f, 11.5f, 20, shade(wax, 1.4f));
    c.draw(hi, 0, 0, 0.5f);
    c.draw(sign, 0, 0, 0.6f);
    return c;
}

Canvas tabIcon(Picto picto) {
    Canvas c(20, 20);
    picto(c, 1, 1, 18, rgb(0x3A2414));
    return c;
}

// A shield for the sheet's head, quartered in the house colours.
Canvas crest() {
    Canvas c(56, 64);
    Points shield = {6, 6, 50, 6, 50, 30, 44, 46, 28, 58, 12, 46, 6, 30};
    c.fillPolygon(place(shield, 1, 1.5f, 2), rgb(0x000000, 0.4f));
    c.fillPolygon(shield, rgb(0x6A1A14));
    Canvas quarter(56, 64);
    quarter.fillPolygon({28, 6, 50, 6, 50, 30, 28, 30}, rgb(0x1E3A5A));
    quarter.fillPolygon({6, 30, 28, 30, 28, 58, 12, 46}, rgb(0x1E3A5A));
    Canvas clipped(56, 64);
    Canvas mask(56, 64);
    mask.fillPolygon(shield, rgb(0xFFFFFF));
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 56; ++x)
            if (quarter.at(x, y).a > 0) c.blend(x, y, quarter.at(x, y), mask.at(x, y).a);
    c.strokePolygon(shield, 2.4f, rgb(0xD8B860));
    c.strokePolygon(place(shield, 1, 0, 0.6f), 0.8f, rgb(0x4A3410, 0.6f));
    starPicto(c, 16, 17, 24, rgb(0xF0D890));
    return c;
}

// An ornamental rule that divides a sheet into parts.
Canvas divider(int width) {
    Canvas c(width, 14);
    float mid = float(width) / 2;
    c.strokePath({6, 7, mid - 12, 7}, 1.3f, rgb(0x5A3A1E, 0.85f));
    c.strokePath({mid + 12, 7, float(width) - 6, 7}, 1.3f, rgb(0x5A3A1E, 0.85f));
    c.fillPolygon({mid, 1, mid + 7, 7, mid, 13, mid - 7, 7}, rgb(0x8A2A1A));
    c.strokePolygon({mid, 1, mid + 7, 7, mid, 13, mid - 7, 7}, 1.0f, rgb(0xC8A048));
    for (float x : {mid - 12, mid + 12}) c.fillCircle(x, 7, 2, rgb(0xB08A3A));
    c.fillPolygon({3, 7, 7, 4.5f, 7, 9.5f}, rgb(0x5A3A1E, 0.85f));
    c.fillPolygon({float(width) - 3, 7, float(width) - 7, 4.5f, float(width) - 7, 9.5f}, rgb(0x5A3A1E, 0.85f));
    return c;
}

}  // namespace

Named iconPictures() {
    Named out;
    menuIcons(out);
    moreMenuIcons(out);
    chatMarks(out);
    characterMarks(out);
    out.emplace_back("menuhub", menuHub());
    out.emplace_back("minimized_glow", minimizedGlow());
    struct Opener {
        const char* name;
        Picto picto;
        Color enamel;
    };
    for (const Opener& o : {Opener{"charsheet", personPicto, rgb(0x6A2A1E)}, Opener{"notes", quillPicto, rgb(0x2A4A6A)},
                            Opener{"folio", bookPicto, rgb(0x2A5A3A)}, Opener{"journal", scrollPicto, rgb(0x5A4A2A)},
                            Opener{"map", mapPicto, rgb(0x3A5A2A)}, Opener{"tokens", pawnPicto, rgb(0x5A2A4E)}}) {
        out.emplace_back(std::string("button_") + o.name, openerButton(o.picto, o.enamel, false));
        out.emplace_back(std::string("button_") + o.name + "_down", openerButton(o.picto, o.enamel, true));
        out.emplace_back(std::string("seal_") + o.name, waxSeal(o.picto, rgb(0x8E2218)));
    }
    out.emplace_back("tab_main", tabIcon(personPicto));
    out.emplace_back("tab_skills", tabIcon(starPicto));
    out.emplace_back("tab_gear", tabIcon(swordPicto));
    out.emplace_back("tab_notes", tabIcon(pagePicto));
    out.emplace_back("crest", crest());
    out.emplace_back("divider", divider(380));
    out.emplace_back("divider_short", divider(220));
    (void)handPicto;
    (void)kInk;
    return out;
}

}  // namespace art
