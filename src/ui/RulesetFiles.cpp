// The Ruleset's file list and the one way its files and pictures are read.
#include "ui/RulesetFiles.h"

#include <algorithm>
#include <cstdio>

#include "render/Bitmap.h"
#include "ui/ResourceFile.h"

namespace lh::ui {

namespace {

std::vector<std::string>& fileList() {
    static std::vector<std::string> list;
    return list;
}

RulesetFileSink& sink() {
    static RulesetFileSink s = nullptr;
    return s;
}

}  // namespace

void NoteRulesetFile(std::string_view path) {
    std::string noted(path);
    std::replace(noted.begin(), noted.end(), '/', '\\');
    if (noted.empty() || ResourceFile::Exists(noted)) return;
    auto& list = fileList();
    if (std::find(list.begin(), list.end(), noted) != list.end()) return;
    list.push_back(noted);
    if (sink()) sink()(noted);
}

const std::vector<std::string>& rulesetFiles() {
    return fileList();
}

void clearRulesetFiles() {
    fileList().clear();
}

void setRulesetFileSink(RulesetFileSink s) {
    sink() = s;
}

bool openRulesetFile(std::string_view path, ResourceFile& file) {
    bool found = file.Open(std::string(path));
    NoteRulesetFile(path);
    return found;
}

PixelImage loadRulesetPicture(std::string_view path) {
    PixelImage image;
    ResourceFile file;
    if (!openRulesetFile(path, file)) return image;
    // Whoever chose the Ruleset learns why a picture of it stays blank.
    std::string refusal = pictureRefusal(std::string(path), file.data(), file.size());
    if (!refusal.empty()) {
        std::fprintf(stderr, "Ruleset: %s\n", refusal.c_str());
        return image;
    }
    decodePicture(file.data(), file.size(), image);
    return image;
}

std::unique_ptr<render::Bitmap> loadRulesetBitmap(std::string_view path) {
    auto bitmap = std::make_unique<render::Bitmap>();
    PixelImage image = loadRulesetPicture(path);
    if (!image.empty()) bitmap->LoadFromPixels(image.width, image.height, image.pixels.data());
    return bitmap;
}

}  // namespace lh::ui
