// Feeds arbitrary bytes to the stored-database load as a file, and the same
// file to the walk through the parsed document: no read out of bounds, and
// both give the same answer, the same error and the same tree.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "db/DatabaseLoader.h"
#include "db/DatabaseWriter.h"
#include "db/DbNode.h"
#include "db/XmlParse.h"
#include "platform/Paths.h"

using namespace lh::db;

namespace {

const std::filesystem::path& workDirectory() {
    static const std::filesystem::path dir = [] {
        auto path = std::filesystem::temp_directory_path() / ("lorehaven-fuzz-db-" + std::to_string(::getpid()));
        std::filesystem::create_directories(path);
        lh::platform::setWorkingDirectory(path);
        std::atexit([] {
            std::error_code ec;
            std::filesystem::remove_all(workDirectory(), ec);
        });
        return path;
    }();
    return dir;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::FILE* file = std::fopen((workDirectory() / "db.xml").c_str(), "wb");
    if (!file) std::abort();
    if (size && std::fwrite(data, 1, size, file) != size) std::abort();
    std::fclose(file);

    DbNode loaded("", nullptr), walked("", nullptr);
    XmlParseResult fast = loadDatabase("db.xml", loaded, false);
    XmlParseResult parsed = parseXmlFileChecked("db.xml");
    if (parsed.status == XmlStatus::ok) loadNodes(parsed.root.get(), walked, false);
    if (fast.status != parsed.status || fast.error.message() != parsed.error.message()) std::abort();
    if (databaseText(loaded) != databaseText(walked)) std::abort();
    return 0;
}
