// Builds small zip archives for the tests, with minizip's writer.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace lh::test {

// Entries in order; a name ending in '/' is a folder entry of size 0.
bool writeZip(const std::string& path, const std::vector<std::pair<std::string, std::string>>& entries);

}  // namespace lh::test
