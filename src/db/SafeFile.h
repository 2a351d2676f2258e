// Writing files so that a crash or a full disk at any moment leaves either
// the old file or the new one, never a mix: the bytes go to a temp file in
// the same folder, are flushed to disk, and the temp file is renamed over the
// target.
#pragma once

#include <filesystem>
#include <string_view>

namespace lh::db {

// 0, or -1 with the target untouched and no temp file left behind.
int writeFileSafely(const std::filesystem::path& target, std::string_view bytes);

// Copies a whole file the same way. -1 if the source cannot be read or the
// target not written.
int copyFileSafely(const std::filesystem::path& source, const std::filesystem::path& target);

// True when the file exists and can be opened for reading.
bool canOpenForReading(const std::filesystem::path& file);

}  // namespace lh::db
