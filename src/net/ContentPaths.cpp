// The content rule of the file service; see ContentPaths.h.
#include "net/ContentPaths.h"

#include <algorithm>
#include <cctype>
#include <initializer_list>
#include <system_error>
#include <vector>

#include "platform/Paths.h"

namespace lh::net {
namespace fs = std::filesystem;
namespace {

bool oneOf(const std::string& name, std::initializer_list<std::string_view> names) {
    return std::any_of(names.begin(), names.end(),
                       [&](std::string_view n) { return platform::sameNameNoCase(name, n); });
}

// The rule on the pieces of a path. `folderOnly` accepts a folder on the
// way to content (e.g. "campaigns\\Name"), for checking where a file lands.
bool contentPieces(const std::vector<std::string>& p, bool folderOnly) {
    if (p.empty()) return folderOnly;
    for (const std::string& piece : p) {
        if (piece.front() == '.') return false;  // ".", "..", hidden files
    }
    size_t n = p.size();
    if (oneOf(p[0], {"rulesets", "tokens", "portraits"})) return folderOnly || n >= 2;
    if (platform::sameNameNoCase(p[0], "characters")) {
        if (n >= 3 && !platform::sameNameNoCase(p[2], "portraits")) return false;
        return folderOnly || n >= 4;
    }
    if (platform::sameNameNoCase(p[0], "campaigns")) {
        if (n >= 3 &&
            !oneOf(p[2], {"images", "tokens", "portraits", "maskedimages", "drawings", "modules"})) {
            return false;
        }
        return folderOnly || n >= 4;
    }
    // The host's snapshots of map layers, made for one client each.
    if (platform::sameNameNoCase(p[0], "temp")) {
        if (n == 1) return folderOnly;
        return n == 2 && (p[1].rfind("mask_snapshot_", 0) == 0 || p[1].rfind("drawing_snapshot_", 0) == 0);
    }
    return false;
}

// `disk` as a program path relative to `root`, or false when it lies
// outside. Both must be canonical.
bool relativeInside(const fs::path& root, const fs::path& disk, std::vector<std::string>& out) {
    fs::path relative = disk.lexically_relative(root);
    if (relative.empty()) return false;
    out.clear();
    for (const fs::path& part : relative) {
        std::string s = part.string();
        if (s == "..") return false;
        if (s.empty() || s == ".") continue;
        out.push_back(s);
    }
    return true;
}

bool safeWords(std::string_view programPath) {
    return platform::isSafeRelativePath(programPath) &&
           contentPieces(platform::splitProgramPath(programPath), false);
}

}  // namespace

bool isContentPath(std::string_view programPath) {
    return safeWords(programPath);
}

fs::path diskPathBelow(const fs::path& root, std::string_view programPath) {
    std::string absolute = fs::absolute(root).generic_string();
    absolute += '/';
    absolute.append(programPath);
    return platform::diskPath(absolute);
}

fs::path resolveContentFile(const fs::path& root, std::string_view programPath) {
    if (!safeWords(programPath)) return {};
    std::error_code ec;
    fs::path canonicalRoot = fs::canonical(root, ec);
    if (ec) return {};
    fs::path file = fs::canonical(diskPathBelow(root, programPath), ec);
    if (ec || !fs::is_regular_file(file, ec)) return {};
    std::vector<std::string> where;
    if (!relativeInside(canonicalRoot, file, where) || !contentPieces(where, false)) return {};
    return file;
}

fs::path prepareContentTarget(const fs::path& root, std::string_view programPath) {
    if (!safeWords(programPath)) return {};
    std::error_code ec;
    fs::path canonicalRoot = fs::canonical(root, ec);
    if (ec) return {};
    fs::path target = diskPathBelow(root, programPath);
    fs::path folder = target.parent_path();
    // The deepest folder that exists already decides where new ones go: a
    // symlink on the way must not lead out of the content.
    fs::path existing = folder;
    while (!fs::exists(existing, ec)) {
        if (!existing.has_relative_path() || existing == existing.parent_path()) return {};
        existing = existing.parent_path();
    }
    std::vector<std::string> where;
    fs::path canonicalExisting = fs::canonical(existing, ec);
    if (ec || !relativeInside(canonicalRoot, canonicalExisting, where) || !contentPieces(where, true))
        return {};
    fs::create_directories(folder, ec);
    if (ec) return {};
    fs::path canonicalFolder = fs::canonical(folder, ec);
    if (ec || !fs::is_directory(canonicalFolder, ec)) return {};
    if (!relativeInside(canonicalRoot, canonicalFolder, where)) return {};
    where.push_back(target.filename().string());
    if (!contentPieces(where, false)) return {};
    return canonicalFolder / target.filename();
}

}  // namespace lh::net
