// Remembered values in an INI file.
#include "platform/Registry.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <system_error>
#include <unistd.h>

namespace lh::platform {

namespace fs = std::filesystem;

namespace {

using Sections = std::map<std::string, std::map<std::string, std::string>>;

// Values may hold any byte but the line end: backslash, CR and LF are escaped
// so that one value is always one line.
std::string escapeValue(const std::string& v) {
    std::string out;
    for (char c : v) {
        if (c == '\\') out += "\\\\";
        else if (c == '\n') out += "\\n";
        else if (c == '\r') out += "\\r";
        else out.push_back(c);
    }
    return out;
}

std::string unescapeValue(const std::string& v) {
    std::string out;
    for (size_t i = 0; i < v.size(); ++i) {
        if (v[i] == '\\' && i + 1 < v.size()) {
            char n = v[++i];
            out.push_back(n == 'n' ? '\n' : n == 'r' ? '\r' : n);
        } else {
            out.push_back(v[i]);
        }
    }
    return out;
}

Sections load() {
    Sections sections;
    std::ifstream in(registryFile(), std::ios::binary);
    std::string line, current;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || line[0] == ';' || line[0] == '#') continue;
        if (line.front() == '[' && line.back() == ']') {
            current = line.substr(1, line.size() - 2);
            continue;
        }
        size_t eq = line.find('=');
        if (eq == std::string::npos) continue;
        sections[current][line.substr(0, eq)] = unescapeValue(line.substr(eq + 1));
    }
    return sections;
}

}  // namespace

fs::path registryFile() {
    if (const char* dir = std::getenv("LOREHAVEN_CONFIG_DIR"); dir && *dir) return fs::path(dir) / "registry.ini";
    if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg) {
        return fs::path(xdg) / "lorehaven" / "registry.ini";
    }
    const char* home = std::getenv("HOME");
    return fs::path(home && *home ? home : ".") / ".config" / "lorehaven" / "registry.ini";
}

std::optional<std::string> readRegistryValue(const std::string& key, const std::string& name) {
    Sections sections = load();
    auto s = sections.find(key);
    if (s == sections.end()) return std::nullopt;
    auto v = s->second.find(name);
    if (v == s->second.end()) return std::nullopt;
    return v->second;
}

bool writeRegistryValue(const std::string& key, const std::string& name, const std::string& value) {
    if (name.find_first_of("=\r\n") != std::string::npos || key.find_first_of("]\r\n") != std::string::npos) {
        return false;
    }
    Sections sections = load();
    sections[key][name] = value;
    fs::path file = registryFile();
    std::error_code ec;
    fs::create_directories(file.parent_path(), ec);
    fs::path temp = file;
    temp += ".tmp" + std::to_string(getpid());
    {
        std::ofstream out(temp, std::ios::binary | std::ios::trunc);
        for (const auto& [section, values] : sections) {
            out << '[' << section << "]\n";
            for (const auto& [n, v] : values) out << n << '=' << escapeValue(v) << '\n';
        }
        out.flush();
        if (!out) {
            fs::remove(temp, ec);
            return false;
        }
    }
    fs::rename(temp, file, ec);
    if (ec) fs::remove(temp, ec);
    return !ec;
}

}  // namespace lh::platform
