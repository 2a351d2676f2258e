// Size and last-write time of a file as the file list announces them: the
// time as a Windows FILETIME (100 ns units since 1601), so that both sides
// compare the same numbers whatever their clocks' epochs.
#pragma once

#include <cstdint>
#include <filesystem>

namespace lh::net {

struct FileTime {
    uint32_t low = 0;
    uint32_t high = 0;
    uint64_t value() const { return (uint64_t(high) << 32) | low; }
    static FileTime of(uint64_t v) { return {uint32_t(v), uint32_t(v >> 32)}; }
};

struct FileStamp {
    uint64_t size = 0;
    FileTime writeTime;
};

// False when the path is no readable regular file (symlinks are followed).
bool readFileStamp(const std::filesystem::path& file, FileStamp& out);
// Gives the file the last-write time; false if that cannot be done.
bool setFileWriteTime(const std::filesystem::path& file, FileTime time);

// A client's copy will do when sizes match and the times agree to within
// 3 seconds (30000000 units), which also covers file systems that keep
// times to 2 seconds. High words must be equal: the low words alone are
// compared, as every copy of the program does.
bool sameFile(uint32_t localSize, FileTime local, uint32_t announcedSize, FileTime announced);

}  // namespace lh::net
