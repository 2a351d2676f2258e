// Program paths and disk paths.
#include "platform/Paths.h"

#include <algorithm>
#include <cctype>
#include <system_error>
#include <vector>

namespace lh::platform {

namespace fs = std::filesystem;

namespace {

fs::path& currentWorkDir() {
    static fs::path dir = fs::current_path();
    return dir;
}

}  // namespace

bool sameNameNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

std::vector<std::string> splitProgramPath(std::string_view path) {
    std::vector<std::string> pieces;
    std::string piece;
    for (char c : path) {
        if (c == '\\' || c == '/') {
            if (!piece.empty()) pieces.push_back(std::move(piece));
            piece.clear();
        } else {
            piece.push_back(c);
        }
    }
    if (!piece.empty()) pieces.push_back(std::move(piece));
    return pieces;
}

void setWorkingDirectory(const fs::path& dir) { currentWorkDir() = fs::absolute(dir); }

const fs::path& workingDirectory() { return currentWorkDir(); }

fs::path diskPath(std::string_view programPath) {
    bool absolute = !programPath.empty() && (programPath[0] == '/' || programPath[0] == '\\');
    fs::path base = absolute ? fs::path("/") : currentWorkDir();
    std::vector<std::string> pieces = splitProgramPath(programPath);
    fs::path plain = base;
    for (const std::string& p : pieces) plain /= p;
    std::error_code ec;
    if (fs::exists(plain, ec)) return plain;

    // Walk piece by piece, taking the exact name where it exists and else the
    // first entry that matches without regard to case.
    fs::path found = base;
    for (size_t i = 0; i < pieces.size(); ++i) {
        fs::path exact = found / pieces[i];
        if (fs::exists(exact, ec)) {
            found = exact;
            continue;
        }
        bool matched = false;
        for (fs::directory_iterator it(found, ec), end; !ec && it != end; it.increment(ec)) {
            if (sameNameNoCase(it->path().filename().string(), pieces[i])) {
                found = it->path();
                matched = true;
                break;
            }
        }
        if (!matched) return plain;
    }
    return found;
}

fs::path programDirectory() {
    std::error_code ec;
    fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    return ec ? fs::current_path() : exe.parent_path();
}

std::string joinProgramPath(std::initializer_list<std::string_view> pieces) {
    std::string out;
    for (std::string_view p : pieces) {
        if (p.empty()) continue;
        if (!out.empty() && out.back() != '\\') out.push_back('\\');
        out.append(p);
    }
    return out;
}

bool isSafeRelativePath(std::string_view path) {
    if (path.empty() || path[0] == '\\' || path[0] == '/') return false;
    if (path.size() >= 2 && path[1] == ':') return false;
    for (char c : path) {
        if (c == 0) return false;
    }
    for (const std::string& piece : splitProgramPath(path)) {
        if (piece == ".." || piece == ".") return false;
    }
    return true;
}

}  // namespace lh::platform
