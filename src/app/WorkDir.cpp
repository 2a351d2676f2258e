// The working directory and its folders.
#include "app/WorkDir.h"

#include <system_error>

#include "platform/Paths.h"

namespace lh::app {

namespace fs = std::filesystem;

const char* const kWorkFolders[9] = {"campaigns", "characters", "modules", "rulesets", "settings",
                                     "portraits", "tokens",     "temp",    "data"};

bool enterWorkDirectory(const fs::path& dir, std::string& error) {
    std::error_code ec;
    fs::create_directories(dir, ec);
    fs::current_path(dir, ec);
    if (ec) {
        error = "Cannot use the working directory " + dir.string() + ": " + ec.message();
        return false;
    }
    platform::setWorkingDirectory(fs::current_path());
    for (const char* folder : kWorkFolders) {
        fs::create_directory(platform::diskPath(folder), ec);
    }
    // The program writes no error log of its own; an old one is only noise.
    fs::remove(platform::diskPath("errorlog.html"), ec);
    return true;
}

}  // namespace lh::app
