// The token library; see TokenLibrary.h.
#include "table/TokenLibrary.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

#include "platform/Paths.h"
#include "table/TokenMessages.h"
#include "ui/PictureDecoder.h"
#include "ui/ResourceFile.h"
#include "ui/RulesetFiles.h"

namespace lh::table {

std::string tokenNameOf(std::string_view path) {
    std::string s(path);
    std::replace(s.begin(), s.end(), '\\', '/');
    return s;
}

std::string tokenPathOf(std::string_view name) {
    std::string s(name);
    std::replace(s.begin(), s.end(), '/', '\\');
    return s;
}

int TokenDef::LoadFromBytes(const void* data, size_t size) {
    ui::PixelImage image;
    if (!data || size == 0 || !ui::decodePicture(data, size, image)) return -1;
    auto b = std::make_unique<render::Bitmap>();
    if (!b->LoadFromPixels(image.width, image.height, image.pixels.data())) return -1;
    bitmap = std::move(b);
    ++generation;
    return 0;
}

TokenLibrary& tokenLibrary() {
    static TokenLibrary library;
    return library;
}

TokenDef* TokenLibrary::find(std::string_view name) {
    auto it = defs.find(name);
    return it == defs.end() ? nullptr : it->second.get();
}

int TokenLibrary::load(TokenDef& def) {
    ui::ResourceFile file;
    if (file.Open(tokenPathOf(def.name)) && def.LoadFromBytes(file.data(), file.size()) == 0) return 0;
    if (isHost) return -1;
    def.bitmap.reset();
    if (fetch) fetch(def.name);
    return 1;
}

TokenDef* TokenLibrary::obtain(std::string_view name, bool hostOnly) {
    if (TokenDef* d = find(name)) return d;
    if (!isSafeTokenName(name)) return nullptr;
    auto def = std::make_unique<TokenDef>();
    def->name = tokenNameOf(name);
    def->hostOnly = hostOnly;
    if (load(*def) < 0) return nullptr;
    TokenDef* raw = def.get();
    defs.emplace(raw->name, std::move(def));
    return raw;
}

TokenDef& TokenLibrary::insert(std::string name, std::unique_ptr<render::Bitmap> bitmap, bool hostOnly,
                               bool builtIn) {
    auto def = std::make_unique<TokenDef>();
    def->name = tokenNameOf(name);
    def->bitmap = std::move(bitmap);
    def->hostOnly = hostOnly;
    def->builtIn = builtIn;
    TokenDef& kept = *def;
    defs[kept.name] = std::move(def);
    return kept;
}

void TokenLibrary::pictureArrived(std::string_view name, const void* data, size_t size) {
    if (TokenDef* d = find(name)) d->LoadFromBytes(data, size);
}

void TokenLibrary::LoadArchiveFolder(std::string_view prefix, bool hostOnly) {
    ui::ResourceFile file;
    for (bool more = file.FirstFile(std::string(prefix)); more; more = file.NextFile()) {
        std::string name = tokenNameOf(file.name());
        size_t slash = name.find_last_of('/');
        std::string_view leaf = slash == std::string::npos ? std::string_view(name) : std::string_view(name).substr(slash + 1);
        if (leaf.empty() || leaf[0] == '.' || find(name)) continue;
        auto def = std::make_unique<TokenDef>();
        def->name = name;
        def->hostOnly = hostOnly;
        def->builtIn = true;
        def->LoadFromBytes(file.data(), file.size());
        defs.emplace(name, std::move(def));
    }
}

void TokenLibrary::LoadFolder(std::string_view folder, bool hostOnly) {
    std::error_code ec;
    std::filesystem::path disk = platform::diskPath(std::string(folder));
    if (!std::filesystem::is_directory(disk, ec)) return;
    std::vector<std::filesystem::directory_entry> items;
    for (std::filesystem::directory_iterator it(disk, ec), end; !ec && it != end; it.increment(ec)) items.push_back(*it);
    std::sort(items.begin(), items.end(),
              [](const auto& a, const auto& b) { return a.path().filename() < b.path().filename(); });
    for (const auto& item : items) {
        std::string leaf = item.path().filename().string();
        if (leaf.empty() || leaf[0] == '.') continue;
        std::string path = std::string(folder) + "\\" + leaf;
        if (item.is_directory(ec)) {
            LoadFolder(path, hostOnly);
            continue;
        }
        std::string name = tokenNameOf(path);
        if (find(name)) continue;
        auto def = std::make_unique<TokenDef>();
        def->name = name;
        def->hostOnly = hostOnly;
        if (load(*def) < 0) continue;
        // A shared picture goes with the Ruleset's files to a joining
        // player, so that he has it before any token of it arrives.
        if (!hostOnly) ui::NoteRulesetFile(path);
        defs.emplace(name, std::move(def));
    }
}

}  // namespace lh::table
