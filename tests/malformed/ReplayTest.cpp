// Every seed of a fuzz target, and every input that once broke one (kept in
// tests/data/malformed/<target>), goes through the target's own entry point:
// the decoders under it must take each without a crash or a sanitizer
// report. What each of those inputs must give is checked in the tests of
// its subsystem.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "support/TestSupport.h"

extern "C" {
int replay_dispatch(const uint8_t* data, size_t size);
int replay_http(const uint8_t* data, size_t size);
int replay_http_reply(const uint8_t* data, size_t size);
int replay_glyph(const uint8_t* data, size_t size);
int replay_resource(const uint8_t* data, size_t size);
int replay_picture(const uint8_t* data, size_t size);
int replay_database(const uint8_t* data, size_t size);
}

namespace {

namespace fs = std::filesystem;
using Entry = int (*)(const uint8_t*, size_t);

// The files of one target's seeds and regression inputs, in name order.
std::vector<fs::path> inputsOf(const std::string& target) {
    std::vector<fs::path> files;
    for (const fs::path& folder : {fs::path(LOREHAVEN_FUZZ_SEEDS) / target,
                                   fs::path(LOREHAVEN_TEST_DATA) / "malformed" / target}) {
        std::error_code ec;
        for (const auto& entry : fs::directory_iterator(folder, ec)) {
            if (entry.is_regular_file()) files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

void replayAll(const std::string& target, Entry entry) {
    std::vector<fs::path> files = inputsOf(target);
    ASSERT_FALSE(files.empty()) << "no seeds for " << target;
    for (const fs::path& file : files) {
        SCOPED_TRACE(file.string());
        std::string bytes = lh::test::readFile(file.string());
        EXPECT_EQ(entry(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()), 0);
    }
}

}  // namespace

TEST(MalformedReplay, Dispatch) { replayAll("fuzz_dispatch", replay_dispatch); }
TEST(MalformedReplay, HttpRequest) { replayAll("fuzz_http", replay_http); }
TEST(MalformedReplay, HttpReply) { replayAll("fuzz_http_reply", replay_http_reply); }
TEST(MalformedReplay, GlyphFile) { replayAll("fuzz_glyph", replay_glyph); }
TEST(MalformedReplay, ResourceArchive) { replayAll("fuzz_resource", replay_resource); }
TEST(MalformedReplay, Picture) { replayAll("fuzz_picture", replay_picture); }
TEST(MalformedReplay, Database) { replayAll("fuzz_database", replay_database); }
