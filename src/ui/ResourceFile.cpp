// Files from the resource archive or from disk.
#include "ui/ResourceFile.h"

#include <unzip.h>

#include <cctype>
#include <cstdio>
#include <fstream>

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
    std::vector<char> buffer(size_t(declared) + 1);
    uint64_t got = 0;
    bool ok = true;
    while (got < declared) {
        int n = unzReadCurrentFile(zip, buffer.data() + got, unsigned(std::min<uint64_t>(declared - got, 1u << 20)));
        if (n <= 0) {
            ok = false;
            break;
        }
        got += uint64_t(n);
    }
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
    if (unzFile zip = openArchive()) {
        bool found = unzLocateFile(zip, zipName.c_str(), 2) == UNZ_OK && readCurrentEntry(zip);
        unzClose(zip);
        if (found) {
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
    unzFile zip = openArchive();
    if (!zip) return false;
    std::string zipName = toZipName(path);
    bool found = unzLocateFile(zip, zipName.c_str(), 2) == UNZ_OK;
    unzClose(zip);
    return found;
}

bool ResourceFile::FirstFile(const std::string& wanted) {
    closeArchive();
    Release();
    prefix = wanted;
    position = 0;
    archive = openArchive();
    if (!archive || unzGoToFirstFile(static_cast<unzFile>(archive)) != UNZ_OK) {
        closeArchive();
        position = -1;
        return false;
    }
    return NextFile();
}

bool ResourceFile::NextFile() {
    if (position < 0 || !archive) return false;
    unzFile zip = static_cast<unzFile>(archive);
    // position counts the entries given so far; the archive cursor stands on
    // the next entry to look at.
    for (;;) {
        std::string entry;
        uint64_t size = 0;
        bool taken = currentEntry(zip, entry, size) && size > 0 && matchesResourcePrefix(prefix, entry) &&
                     readCurrentEntry(zip);
        bool more = unzGoToNextFile(zip) == UNZ_OK;
        if (taken) {
            ++position;
            if (!more) {  // the last entry: the next call reports the end
                closeArchive();
                position = -1;
            }
            return true;
        }
        if (!more) {
            closeArchive();
            position = -1;
            return false;
        }
    }
}

bool ResourceFile::FirstFolder(const std::string& wanted, std::string& name) {
    closeArchive();
    prefix = wanted;
    position = 0;
    archive = openArchive();
    if (!archive || unzGoToFirstFile(static_cast<unzFile>(archive)) != UNZ_OK) {
        closeArchive();
        position = -1;
        return false;
    }
    return NextFolder(name);
}

bool ResourceFile::NextFolder(std::string& name) {
    if (position < 0 || !archive) return false;
    unzFile zip = static_cast<unzFile>(archive);
    for (;;) {
        std::string entry;
        uint64_t size = 0;
        bool taken = currentEntry(zip, entry, size) && size == 0 && !entry.empty() &&
                     (entry.back() == '/' || entry.back() == '\\') && matchesResourcePrefix(prefix, entry) &&
                     isDirectChildFolder(prefix, entry);
        bool more = unzGoToNextFile(zip) == UNZ_OK;
        if (taken) {
            name = entry;
            ++position;
            if (!more) {
                closeArchive();
                position = -1;
            }
            return true;
        }
        if (!more) {
            closeArchive();
            position = -1;
            return false;
        }
    }
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
