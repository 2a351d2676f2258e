// The working directory and its folders.
#include "app/WorkDir.h"

#include <system_error>

#include "platform/Paths.h"
#include "ui/ResourceFile.h"

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
    // The resource archive belongs in the working directory; a working
    // directory without one uses the archive installed beside the program.
    fs::path beside = platform::programDirectory() / "resource.pak";
    if (!fs::exists(platform::diskPath("resource.pak"), ec) && fs::exists(beside, ec)) {
        ui::ResourceFile::setArchivePath(beside.string());
    }
    // The program writes no error log of its own; an old one is only noise.
    fs::remove(platform::diskPath("errorlog.html"), ec);
    return true;
}

}  // namespace lh::app
