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
    return ok ? 0 : 1;
}
