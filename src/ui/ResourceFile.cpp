// Files from the resource archive or from disk.
#include "ui/ResourceFile.h"

#include <unzip.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <fstream>
#include <unordered_map>

#include "platform/Paths.h"

namespace lh::ui {

namespace {

std::string& archiveLocation() {
    static std::string path = "resource.pak";
    return path;
}

unzFile openArchive() {
    std::string disk = platform::diskPath(archiveLocation()).string();
    return unzOpen64(disk.c_str());
}

std::string toZipName(const std::string& path) {
    std::string out = path;
    for (char& c : out) {
        if (c == '\\') c = '/';
    }
    return out;
}

bool currentEntry(unzFile zip, std::string& name, uint64_t& size) {
    unz_file_info64 info;
    char buffer[1024];
    if (unzGetCurrentFileInfo64(zip, &info, buffer, sizeof buffer, nullptr, 0, nullptr, 0) != UNZ_OK) return false;
    name.assign(buffer);
    size = info.uncompressed_size;
    return true;
}

// The part of a folder entry behind the prefix, without its last slash;
// folders deeper down hold a further slash.
bool isDirectChildFolder(const std::string& prefix, const std::string& entry) {
    if (entry.size() <= prefix.size()) return false;
    std::string rest = entry.substr(prefix.size());
    if (!rest.empty() && (rest.back() == '/' || rest.back() == '\\')) rest.pop_back();
    if (rest.empty()) return false;
    return rest.find_first_of("/\\") == std::string::npos;
}

// One open handle for single reads, kept while the archive on disk stays the
// same file: a Ruleset load reads dozens of entries and asks of as many more
// whether the archive holds them, and opening means reading the whole
// central directory each time. Main thread only, as all resource reading is.
class SharedArchive {
public:
    ~SharedArchive() { close(); }
    unzFile get() {
        namespace fs = std::filesystem;
        std::string disk = platform::diskPath(archiveLocation()).string();
        std::error_code error;
        uintmax_t size = fs::file_size(disk, error);
        fs::file_time_type time = error ? fs::file_time_type{} : fs::last_write_time(disk, error);
        if (error) {
            close();
            return nullptr;
        }
        if (zip && disk == path && size == fileSize && time == fileTime) return zip;
        close();
        zip = unzOpen64(disk.c_str());
        path = disk;
        fileSize = size;
        fileTime = time;
        buildIndex();
        return zip;
    }

    // Stands the archive on the entry of that name (ASCII case aside, either
    // slash): one header read instead of a walk over the whole directory.
    // Null when the archive or the entry is not there.
    unzFile locate(const std::string& name) {
        if (!get()) return nullptr;
        auto it = index.find(indexKey(name));
        return it != index.end() && unzGoToFilePos64(zip, &it->second) == UNZ_OK ? zip : nullptr;
    }

private:
    static std::string indexKey(const std::string& name) {
        std::string key = name;
        for (char& c : key) c = c == '\\' ? '/' : char(std::toupper(static_cast<unsigned char>(c)));
        return key;
    }
    void buildIndex() {
        index.clear();
        if (!zip) return;
        for (int more = unzGoToFirstFile(zip); more == UNZ_OK; more = unzGoToNextFile(zip)) {
            std::string name;
            uint64_t size = 0;
            unz64_file_pos where;
            if (!currentEntry(zip, name, size) || unzGetFilePos64(zip, &where) != UNZ_OK) continue;
            index.emplace(indexKey(name), where);  // the first of equal names wins, as a walk finds it
        }
    }
    void close() {
        if (zip) unzClose(zip);
        zip = nullptr;
        index.clear();
    }
    unzFile zip = nullptr;
    std::unordered_map<std::string, unz64_file_pos> index;
    std::string path;
    uintmax_t fileSize = 0;
    std::filesystem::file_time_type fileTime{};
};

SharedArchive& sharedArchive() {
    static SharedArchive archive;
    return archive;
}

}  // namespace

bool matchesResourcePrefix(const std::string& prefix, const std::string& entry) {
    for (size_t i = 0; i < prefix.size(); ++i) {
        if (i >= entry.size()) return false;
        char a = prefix[i] == '\\' ? '/' : char(std::toupper(static_cast<unsigned char>(prefix[i])));
        char b = entry[i] == '\\' ? '/' : char(std::toupper(static_cast<unsigned char>(entry[i])));
        if (a != b) return false;
    }
    return true;
}

void ResourceFile::setArchivePath(const std::string& path) { archiveLocation() = path; }
std::string ResourceFile::archivePath() { return archiveLocation(); }

ResourceFile::~ResourceFile() { closeArchive(); }

void ResourceFile::Release() {
    bytes.clear();
    bytes.shrink_to_fit();
    fileSize = 0;
}

void ResourceFile::closeArchive() {
    if (archive) unzClose(static_cast<unzFile>(archive));
    archive = nullptr;
}

bool ResourceFile::readCurrentEntry(void* handle) {
    unzFile zip = static_cast<unzFile>(handle);
    std::string entryName;
    uint64_t declared = 0;
    if (!currentEntry(zip, entryName, declared) || declared > kMaxEntrySize) return false;
    if (unzOpenCurrentFile(zip) != UNZ_OK) return false;
    // The buffer grows with the bytes that actually come out, doubling from
    // 64 KB: a header can claim hundreds of megabytes for an entry of a few
    // bytes.
    std::vector<char> buffer;
    uint64_t got = 0;
    bool ok = true;
    while (got < declared) {
        size_t piece = size_t(std::min<uint64_t>(declared - got, std::clamp<uint64_t>(got, 64u << 10, 1u << 20)));
        buffer.resize(size_t(got) + piece);
        int n = unzReadCurrentFile(zip, buffer.data() + got, unsigned(piece));
        if (n <= 0) {
            ok = false;
            break;
        }
        got += uint64_t(n);
    }
    buffer.resize(size_t(got) + 1);
    // A header that understates the size leaves bytes behind; that entry is
    // damaged, as is one whose checksum fails at the close.
    char extra;
    if (ok && unzReadCurrentFile(zip, &extra, 1) != 0) ok = false;
    if (unzCloseCurrentFile(zip) != UNZ_OK) ok = false;
    if (!ok) return false;
    buffer[size_t(declared)] = 0;
    bytes = std::move(buffer);
    fileSize = uint32_t(declared);
    fileName = entryName;
    return true;
}

bool ResourceFile::Open(const std::string& path) {
    Release();
    std::string zipName = toZipName(path);
    if (unzFile zip = sharedArchive().locate(zipName)) {
        if (readCurrentEntry(zip)) {
            fileName = path;
            return true;
        }
    }
    std::ifstream in(platform::diskPath(path), std::ios::binary);
    if (!in) return false;
    in.seekg(0, std::ios::end);
    std::streamoff length = in.tellg();
    if (length < 0 || uint64_t(length) >= 0xFFFFFFFFull) return false;
    in.seekg(0, std::ios::beg);
    std::vector<char> buffer(size_t(length) + 1);
    if (length > 0 && !in.read(buffer.data(), length)) return false;
    buffer[size_t(length)] = 0;
    bytes = std::move(buffer);
    fileSize = uint32_t(length);
    fileName = path;
    return true;
}

bool ResourceFile::Exists(const std::string& path) {
    return sharedArchive().locate(toZipName(path)) != nullptr;
}

bool ResourceFile::beginEnumeration(const std::string& wanted) {
    closeArchive();
    prefix = wanted;
    position = 0;
    archive = openArchive();
    if (!archive || unzGoToFirstFile(static_cast<unzFile>(archive)) != UNZ_OK) {
        closeArchive();
        position = -1;
        return false;
    }
    return true;
}

bool ResourceFile::advance(const std::function<bool(const std::string& entry, uint64_t size)>& take) {
    if (position < 0 || !archive) return false;
    unzFile zip = static_cast<unzFile>(archive);
    // position counts the entries given so far; the archive cursor stands on
    // the next entry to look at. After the last entry the enumeration is
    // over, and the next call says so.
    for (;;) {
        std::string entry;
        uint64_t size = 0;
        bool taken = currentEntry(zip, entry, size) && matchesResourcePrefix(prefix, entry) && take(entry, size);
        bool more = unzGoToNextFile(zip) == UNZ_OK;
        if (taken) ++position;
        if (!more) {
            closeArchive();
            position = -1;
        }
        if (taken || !more) return taken;
    }
}

bool ResourceFile::FirstFile(const std::string& wanted) {
    Release();
    return beginEnumeration(wanted) && NextFile();
}

bool ResourceFile::NextFile() {
    return advance([this](const std::string&, uint64_t size) { return size > 0 && readCurrentEntry(archive); });
}

bool ResourceFile::FirstFolder(const std::string& wanted, std::string& name) {
    return beginEnumeration(wanted) && NextFolder(name);
}

bool ResourceFile::NextFolder(std::string& name) {
    return advance([this, &name](const std::string& entry, uint64_t size) {
        bool folder = size == 0 && !entry.empty() && (entry.back() == '/' || entry.back() == '\\') &&
                      isDirectChildFolder(prefix, entry);
        if (folder) name = entry;
        return folder;
    });
}

std::vector<std::string> archiveRulesetFolders() {
    std::vector<std::string> out;
    ResourceFile enumerator;
    std::string folder;
    const std::string prefix = "rulesets/";
    for (bool ok = enumerator.FirstFolder(prefix, folder); ok; ok = enumerator.NextFolder(folder)) {
        std::string name = folder.substr(prefix.size());
        if (!name.empty() && (name.back() == '/' || name.back() == '\\')) name.pop_back();
        if (!name.empty() && name[0] != '.') out.push_back(name);
    }
    return out;
}

}  // namespace lh::ui
