// Temp file, flush, rename.
#include "db/SafeFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>

namespace lh::db {

namespace fs = std::filesystem;

namespace {

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        bytes.remove_prefix(size_t(n));
    }
    return true;
}

// The rename is only durable once the folder's entry is on disk too.
void syncFolder(const fs::path& folder) {
    int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

}  // namespace

int writeFileSafely(const fs::path& target, std::string_view bytes) {
    // One fixed temp name per target: a crash leaves at most one stale temp
    // file, which the next save replaces.
    fs::path temp = target;
    temp += ".tmp";
    int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return -1;
    bool ok = writeAll(fd, bytes) && ::fsync(fd) == 0;
    ok = ::close(fd) == 0 && ok;
    if (!ok || ::rename(temp.c_str(), target.c_str()) != 0) {
        ::unlink(temp.c_str());
        return -1;
    }
    syncFolder(target.parent_path());
    return 0;
}

int copyFileSafely(const fs::path& source, const fs::path& target) {
    std::ifstream in(source, std::ios::binary);
    if (!in) return -1;
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) return -1;
    return writeFileSafely(target, bytes);
}

bool canOpenForReading(const fs::path& file) {
    std::error_code ec;
    if (fs::is_directory(file, ec)) return false;
    std::ifstream in(file, std::ios::binary);
    return bool(in);
}

}  // namespace lh::db
