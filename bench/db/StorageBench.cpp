// Load and save of a generated "db.xml" of 100,000 nodes, against raw
// pugixml parsing and writing the same file in the same run. Both sides
// read the file from disk into a buffer of their own and parse it in place,
// and both tear down what they built inside the timing; both saves write
// the same output file without a flush to disk.
#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include "FairRun.h"

#include <cstdio>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "db/Campaign.h"
#include "db/DatabaseLoader.h"
#include "db/DatabaseWriter.h"
#include "db/SessionMode.h"
#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/StringValue.h"
#include "db/TextEscape.h"
#include "db/XmlParse.h"
#include "platform/Paths.h"

namespace fs = std::filesystem;
using namespace lh::db;

namespace {

constexpr int kNodes = 100000;

// 100,000 nodes: groups of records, each record a group with holders and
// eleven fields, some of them texts that need escapes.
void buildTree(DbNode& root) {
    int nodes = 0;
    char id[16];
    for (int g = 0; nodes < kNodes; ++g) {
        DbNode* group = root.addChildQuietly("group" + std::to_string(g));
        group->addHolder("player" + std::to_string(g % 5), false);
        ++nodes;
        for (int r = 1; r <= 1000 && nodes < kNodes; ++r) {
            std::snprintf(id, sizeof id, "%05d", r);
            DbNode* record = group->addChildQuietly(id);
            record->category = uint32_t(r % 4);
            ++nodes;
            for (int f = 0; f < 11 && nodes < kNodes; ++f, ++nodes) {
                DbNode* field = record->addChildQuietly("field" + std::to_string(f));
                if (f % 3 == 0) {
                    field->attachValue(makeValue(NodeKind::stringValue));
                    field->valueAs<StringValue>()->set(escapeText("Caf\xE9 \"" + std::to_string(r) + "\" notes\n"));
                } else {
                    field->attachValue(makeValue(NodeKind::intValue));
                    field->valueAs<IntValue>()->set(r * f - 500);
                }
            }
        }
    }
}

struct Fixture {
    fs::path dir = fs::temp_directory_path() / ("lorehaven-bench-" + std::to_string(::getpid()));
    std::string programPath = "campaigns\\Bench\\db.xml";
    fs::path file;
    fs::path output = dir / "out.xml";  // what both saves write
    DbNode tree{"", nullptr};

    Fixture() {
        fs::create_directories(dir / "campaigns" / "Bench");
        lh::platform::setWorkingDirectory(dir);
        setSessionMode(SessionMode::Host);
        file = lh::platform::diskPath(programPath);
        buildTree(tree);
        saveDatabase(programPath, tree);
    }
    ~Fixture() {
        std::error_code ec;
        fs::remove_all(dir, ec);
    }
};

Fixture& fixture() {
    static Fixture f;
    return f;
}

// The whole load as the program does it: read, build the tree, then drop it.
void BM_LoadDatabase(benchmark::State& state) {
    Fixture& f = fixture();
    for (auto _ : state) {
        auto tree = std::make_unique<DbNode>("", nullptr);
        benchmark::DoNotOptimize(loadDatabase(f.programPath, *tree, false).status);
        tree.reset();
    }
    state.counters["bytes"] = double(fs::file_size(f.file));
}

// load_file reads the file into a buffer of its own and parses it in place.
void BM_RawPugixmlParse(benchmark::State& state) {
    Fixture& f = fixture();
    for (auto _ : state) {
        pugi::xml_document document;
        benchmark::DoNotOptimize(document.load_file(f.file.c_str()));
    }
}

// The whole save: text, temp file, flush to disk, rename.
void BM_SaveDatabase(benchmark::State& state) {
    Fixture& f = fixture();
    for (auto _ : state) benchmark::DoNotOptimize(saveDatabase(f.programPath, f.tree));
}

// The same without the flush to disk, to compare like with like: the text
// is made and written to the file that the raw write writes.
void BM_SaveDatabaseNoFlush(benchmark::State& state) {
    Fixture& f = fixture();
    for (auto _ : state) {
        std::string text = databaseText(f.tree);
        FILE* out = std::fopen(f.output.c_str(), "wb");
        std::fwrite(text.data(), 1, text.size(), out);
        std::fclose(out);
    }
}

void BM_RawPugixmlWrite(benchmark::State& state) {
    Fixture& f = fixture();
    pugi::xml_document document;
    document.load_file(f.file.c_str());
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            document.save_file(f.output.c_str(), "\t", pugi::format_default | pugi::format_no_declaration));
    }
}

// The two halves of the load: the parse through XmlElement's entry point,
// and making the same tree in memory without any XML.
void BM_ParseOnly(benchmark::State& state) {
    Fixture& f = fixture();
    for (auto _ : state) benchmark::DoNotOptimize(parseXmlFile(f.programPath));
}
void BM_BuildOnly(benchmark::State& state) {
    for (auto _ : state) {
        auto tree = std::make_unique<DbNode>("", nullptr);
        buildTree(*tree);
        tree.reset();
    }
}

}  // namespace

BENCHMARK(BM_RawPugixmlParse)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadDatabase)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseOnly)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BuildOnly)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawPugixmlWrite)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveDatabaseNoFlush)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveDatabase)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    return lh::bench::runFairly(argc, argv,
                                {{"load db.xml / raw pugixml parse", "BM_LoadDatabase", "BM_RawPugixmlParse"},
                                 {"save db.xml (no flush) / raw pugixml write", "BM_SaveDatabaseNoFlush",
                                  "BM_RawPugixmlWrite"}});
}
