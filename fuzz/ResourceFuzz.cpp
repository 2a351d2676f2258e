// Feeds arbitrary bytes to the resource archive reader as "resource.pak": a
// zip with hostile names, sizes, offsets and compressed data. The archive
// is enumerated for files and folders, and each entry it names is looked up
// and read on its own. Nothing may read out of bounds, and what an entry
// reads is never more than the archive declared for it.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "ui/ResourceFile.h"

using namespace lh::ui;
namespace fs = std::filesystem;

namespace {

// The reader takes a path, so each input is written to a file. Two names
// take turns: the reader keeps an archive open while its file stays the
// same, and a new name makes sure that each input is read afresh.
std::string archiveFor(const uint8_t* data, size_t size) {
    static const fs::path folder = [] {
        fs::path f = fs::temp_directory_path() / ("lh_fuzz_resource_" + std::to_string(getpid()));
        fs::create_directories(f);
        std::atexit([] {
            std::error_code ec;
            fs::remove_all(fs::temp_directory_path() / ("lh_fuzz_resource_" + std::to_string(getpid())), ec);
        });
        return f;
    }();
    static unsigned turn = 0;
    fs::path file = folder / (++turn % 2 ? "a.pak" : "b.pak");
    std::ofstream(file, std::ios::binary | std::ios::trunc).write(reinterpret_cast<const char*>(data), long(size));
    return file.string();
}

void checkWhole(const ResourceFile& file) {
    if (file.size() > ResourceFile::kMaxEntrySize) std::abort();
    // The bytes are there and a zero stands behind them.
    if (file.data() && file.data()[file.size()] != 0) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ResourceFile::setArchivePath(archiveFor(data, size));

    std::vector<std::string> names;
    ResourceFile files;
    for (bool ok = files.FirstFile(""); ok && names.size() < 64; ok = files.NextFile()) {
        checkWhole(files);
        names.push_back(files.name());
    }
    std::string folder;
    ResourceFile folders;
    for (bool ok = folders.FirstFolder("rulesets/", folder); ok; ok = folders.NextFolder(folder)) {
    }
    (void)archiveRulesetFolders();

    for (const std::string& name : names) {
        // Through the index, as a Ruleset load asks for them.
        if (!ResourceFile::Exists(name)) continue;
        ResourceFile one;
        if (one.Open(name)) checkWhole(one);
    }
    (void)ResourceFile::Exists("rulesets\\base\\base.xml");
    return 0;
}
