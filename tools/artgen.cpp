// Paints the pictures of the default Ruleset: the Desktop tile, the frames,
// the icons and the table pieces (tokens, portraits, maps). Everything here
// is drawn from numbers, so the art is ours and rebuilds identically.
// Usage: lh_artgen RULESET_GRAPHICS_DIR DATA_DIR
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "artgen_parts.h"

using namespace art;

namespace {

const Color kInk = rgb(0x1B1722);
const Color kGold = rgb(0xC8A048);
const Color kParchment = rgb(0xE9DCBC);

// Die icons stand in chat lines, a number printed on each: 28 pixels, drawn
// in a 40-pixel box.
const int kDieIcon = 28;

Canvas dieIcon(int sides) {
    Canvas c(kDieIcon, kDieIcon);
    c.setTransform(float(kDieIcon) / 40.0f);
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

// The mark of a secret result takes a die's place in the row, so it has a
// die icon's size; drawn in a 24-pixel box.
Canvas secretIcon() {
    Canvas c(kDieIcon, kDieIcon);
    c.setTransform(float(kDieIcon) / 24.0f);
    std::vector<float> eye = {2, 12, 7, 6, 12, 4, 17, 6, 22, 12, 17, 18, 12, 20, 7, 18};
    c.fillPolygon(eye, kParchment);
    c.fillPolygon(regular(12, 12, 12, 4.5f, 0), kInk);
    c.strokePolygon({3, 21, 21, 3}, 2.0f, rgb(0xA02020));
    return c;
}

// The "Modifier" box of the Desktop, 96 x 72: a brass-rimmed tray with a
// dark slate well for the total and the label, and a groove along its foot
// where the counters lie.
const int kTrayWidth = 96, kTrayHeight = 72;

Points roundedBox(float x0, float y0, float x1, float y1, float r) {
    Points p;
    const float q = 1.5707963f;
    const float cx[4] = {x1 - r, x1 - r, x0 + r, x0 + r}, cy[4] = {y0 + r, y1 - r, y1 - r, y0 + r};
    for (int corner = 0; corner < 4; ++corner) {
        Points a = arc(cx[corner], cy[corner], r, q * float(corner - 1), q * float(corner), 6);
        p.insert(p.end(), a.begin(), a.end());
    }
    return p;
}

Canvas modifierTray() {
    Canvas c(kTrayWidth, kTrayHeight);
    const float w = float(kTrayWidth), h = float(kTrayHeight);
    c.fillPolygon(roundedBox(2, 3, w - 0.5f, h - 0.5f, 9), rgb(0x000000, 0.45f));
    Canvas rim(kTrayWidth, kTrayHeight);
    rim.fillPolygon(roundedBox(0.5f, 0.5f, w - 2, h - 2, 9), rgb(0xFFFFFF));
    for (int y = 0; y < kTrayHeight; ++y) {
        for (int x = 0; x < kTrayWidth; ++x) {
            float cover = rim.at(x, y).a;
            if (cover <= 0) continue;
            // Lit from the upper left: the rim is brighter there.
            float light = 1.0f + 0.3f * (1.0f - float(x + y) / (w + h) * 2);
            c.blend(x, y, shade(brass(float(x), float(y), 96, 23), light), cover);
        }
    }
    const Points well = roundedBox(6, 6, w - 8, h - 18, 6);
    c.fillPolygon(well, rgb(0x1A1E24));
    Canvas slateWell(kTrayWidth, kTrayHeight);
    slateWell.fillPolygon(well, rgb(0xFFFFFF));
    for (int y = 0; y < kTrayHeight; ++y) {
        for (int x = 0; x < kTrayWidth; ++x) {
            float cover = slateWell.at(x, y).a;
            if (cover <= 0) continue;
            float deep = 0.75f + 0.35f * float(y - 6) / (h - 24);  // shadowed under the upper rim
            c.blend(x, y, shade(slate(float(x), float(y), 96, 7), deep), cover);
        }
    }
    c.strokePolygon(well, 1.2f, rgb(0x0C0A08, 0.9f));
    c.strokePath({10, h - 17.2f, w - 12, h - 17.2f}, 0.8f, rgb(0xF0D890, 0.5f));
    // The counters' groove.
    c.fillPolygon(roundedBox(7, h - 15, w - 9, h - 5, 4), rgb(0x2A1E10, 0.85f));
    c.strokePath({9, h - 5.2f, w - 11, h - 5.2f}, 0.8f, rgb(0xF0D890, 0.45f));
    return c;
}

// Laid over the tray while a number is carried anywhere: a warm glow along
// the rim that says "drop it here".
Canvas modifierTrayFocus() {
    Canvas c(kTrayWidth, kTrayHeight);
    const float w = float(kTrayWidth), h = float(kTrayHeight);
    for (float inset : {0.5f, 2.0f, 3.5f}) {
        c.strokePolygon(roundedBox(inset, inset, w - 2 - inset, h - 2 - inset, 9 - inset * 0.5f), 1.6f,
                        rgb(0xFFD35A, 0.55f - inset * 0.1f));
    }
    c.strokePolygon(roundedBox(6, 6, w - 8, h - 18, 6), 1.4f, rgb(0xFFE9A0, 0.7f));
    return c;
}

// One number gathered in the box: a small amber counter stone.
Canvas modifierCounter() {
    Canvas c(12, 10);
    c.fillCircle(6.5f, 5.6f, 4.4f, rgb(0x000000, 0.5f));
    c.fillCircle(6, 5, 4.2f, rgb(0xB07A1E));
    c.fillCircle(5.2f, 4.1f, 2.2f, rgb(0xF0C860));
    c.strokeCircle(6, 5, 4.0f, 0.8f, rgb(0x5A3A0E));
    return c;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s RULESET_GRAPHICS_DIR DATA_DIR\n", argv[0]);
        return 2;
    }
    namespace fs = std::filesystem;
    fs::path out = argv[1], data = argv[2];
    bool ok = true;
    auto save = [&](const fs::path& file, const Canvas& c) {
        fs::create_directories(file.parent_path());
        if (!c.savePng(file.string())) {
            std::fprintf(stderr, "cannot write %s\n", file.string().c_str());
            ok = false;
        }
    };
    save(out / "desktop.png", desktopTile());
    for (const auto& [name, picture] : framePictures()) save(out / "frames" / (name + ".png"), picture);
    for (const auto& [name, picture] : iconPictures()) save(out / "icons" / (name + ".png"), picture);
    for (const auto& [name, picture] : portraitShapes()) save(out / "portraits" / (name + ".png"), picture);
    for (const auto& [name, picture] : tablePictures()) save(data / (name + ".png"), picture);
    for (int sides : {4, 6, 8, 10, 12, 20}) save(out / "icons" / ("d" + std::to_string(sides) + ".png"), dieIcon(sides));
    save(out / "icons/secret.png", secretIcon());
    save(out / "icons/modcollector.png", modifierTray());
    save(out / "icons/modcollector_focus.png", modifierTrayFocus());
    save(out / "icons/modcounter.png", modifierCounter());
    return ok ? 0 : 1;
}
