// A process that saves in a loop is killed at random moments; "db.xml" must
// always be one whole saved state.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

#include "SampleTree.h"
#include "db/DatabaseLoader.h"
#include "db/DatabaseWriter.h"
#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/XmlParse.h"
#include "support/TestSupport.h"

using namespace lh::db;
namespace fs = std::filesystem;

TEST(CrashSafety, KilledSavesLeaveAWholeDatabase) {
    constexpr int kRecords = 300;
    constexpr int kKills = 50;
    lh::test::TempDir work;
    fs::create_directories(work.path() / "campaigns" / "Crash");
    fs::path database = work.path() / "campaigns" / "Crash" / "db.xml";

    DbNode expected("", nullptr);
    lh::test::buildSampleTree(expected, kRecords);

    std::mt19937 random(12345);
    int checked = 0;
    for (int kill = 0; kill < kKills; ++kill) {
        lh::test::ChildProcess saver(lh::test::builtProgram("db_save_loop"),
                                     {work.str(), std::to_string(kill * 100000), std::to_string(kRecords)});
        // Wait (bounded) until the saver is in its loop, then kill it at a
        // random moment among its saves.
        for (int i = 0; i < 2000 && saver.output().empty() && saver.running(); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 60));
        saver.signal(SIGKILL);
        ASSERT_EQ(saver.wait(std::chrono::seconds(10)), 128 + SIGKILL) << saver.errors();
        if (!fs::exists(database)) continue;  // killed before its first save

        std::string text = lh::test::readFile(database);
        XmlParseResult parsed = parseXmlTextChecked(text, "db.xml");
        ASSERT_EQ(parsed.status, XmlStatus::ok) << "kill " << kill << ": " << parsed.error.message();
        DbNode loaded("", nullptr);
        loadNodes(parsed.root.get(), loaded, false);
        DbNode* generation = findNode("state.generation", loaded);
        ASSERT_NE(generation, nullptr) << "kill " << kill;
        // The file is exactly the state that was saved with that number.
        lh::test::applyGeneration(expected, generation->valueAs<IntValue>()->base());
        ASSERT_EQ(text, databaseText(expected)) << "kill " << kill;
        ++checked;
    }
    EXPECT_GT(checked, kKills / 2);
}
