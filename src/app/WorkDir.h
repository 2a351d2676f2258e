// The working directory and the folders that the program keeps in it.
#pragma once

#include <filesystem>
#include <string>

namespace lh::app {

extern const char* const kWorkFolders[9];

// Makes `dir` the working directory (of the process and of program paths),
// creates the folders that are missing and removes a stale "errorlog.html".
// False with a reason when the directory cannot be used.
bool enterWorkDirectory(const std::filesystem::path& dir, std::string& error);

}  // namespace lh::app
