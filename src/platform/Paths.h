// Paths as the program writes them ("campaigns\\Name\\db.xml", relative to
// the working directory, backslashes) and as they are on disk.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace lh::platform {

// The working directory that relative program paths start from.
void setWorkingDirectory(const std::filesystem::path& dir);
const std::filesystem::path& workingDirectory();

// Turns a program path into a disk path under the working directory (or as
// it stands, if absolute): backslashes become '/'. If that file does not
// exist, each piece is looked up again without regard to case, so a Ruleset
// written on a case-blind system still finds "Icons\\Die.png". When nothing
// matches, the plain mapping is returned, ready for creating the file.
std::filesystem::path diskPath(std::string_view programPath);

// The folder that holds the running program.
std::filesystem::path programDirectory();

// Joins pieces with backslashes, as paths are kept in files and messages.
std::string joinProgramPath(std::initializer_list<std::string_view> pieces);

// The pieces of a program path between its separators ('\\' or '/'),
// empty pieces left out.
std::vector<std::string> splitProgramPath(std::string_view path);

// Compares two file names as a case-blind file system would: ASCII letters
// without regard to case.
bool sameNameNoCase(std::string_view a, std::string_view b);

// True for a relative program path with no ".." piece, no drive letter and no
// leading separator: the only kind that may come from another machine.
bool isSafeRelativePath(std::string_view programPath);

}  // namespace lh::platform
