// Reads a named file from the resource archive "resource.pak" (a plain zip in
// the working directory) or, when the archive lacks it, from disk. The
// archive shadows the disk. Also enumerates the archive's files and folders.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace lh::ui {

class ResourceFile {
public:
    ResourceFile() = default;
    ~ResourceFile();
    ResourceFile(const ResourceFile&) = delete;
    ResourceFile& operator=(const ResourceFile&) = delete;

    // Reads one whole file; true if something was read. `data()` then holds
    // `size()` bytes and a zero byte behind them.
    bool Open(const std::string& path);
    void Release();
    // True if the archive holds this entry; looks nowhere else.
    static bool Exists(const std::string& path);

    // The archive's files whose names begin with `prefix` (ASCII case and the
    // two slashes alike), each left whole in data()/size()/name().
    bool FirstFile(const std::string& prefix);
    bool NextFile();
    // The folders directly under `prefix`, by name as stored (with its '/').
    bool FirstFolder(const std::string& prefix, std::string& name);
    bool NextFolder(std::string& name);

    const char* data() const { return bytes.empty() ? nullptr : bytes.data(); }
    uint32_t size() const { return fileSize; }
    const std::string& name() const { return fileName; }

    // The archive's path; tests and tools point it elsewhere.
    static void setArchivePath(const std::string& path);
    static std::string archivePath();

    // Entries larger than this are refused: a damaged or hostile archive must
    // not make us allocate what its header claims.
    static constexpr uint64_t kMaxEntrySize = 512ull << 20;

private:
    bool readCurrentEntry(void* archive);
    bool beginEnumeration(const std::string& wanted);
    // Moves to the next entry under the prefix that `take` accepts.
    bool advance(const std::function<bool(const std::string& entry, uint64_t size)>& take);
    void closeArchive();

    std::vector<char> bytes;
    uint32_t fileSize = 0;
    std::string fileName;
    std::string prefix;
    int32_t position = 0;
    void* archive = nullptr;
};

// Compares a prefix with an entry name: ASCII letters without regard to
// case, '\\' the same as '/'. True when the prefix ends first or together.
bool matchesResourcePrefix(const std::string& prefix, const std::string& entry);

// The folders that the archive holds directly under "rulesets\\" (for the
// launcher's lists).
std::vector<std::string> archiveRulesetFolders();

}  // namespace lh::ui
