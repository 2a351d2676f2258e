// The built program, started headless: it reaches its main loop and ends with
// the right exit code on each way out.
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>

#include "support/TestSupport.h"

using lh::test::ChildProcess;
using lh::test::TempDir;
using namespace std::chrono_literals;

namespace {

std::string program() { return lh::test::builtProgram("lorehaven"); }

}  // namespace

TEST(Process, HelpAndVersion) {
    ChildProcess help(program(), {"--help"});
    EXPECT_EQ(help.wait(20s), 0);
    EXPECT_NE(help.output().find("--quit-after-ticks"), std::string::npos);
    EXPECT_NE(help.output().find("--join ADDRESS"), std::string::npos);
    ChildProcess version(program(), {"--version"});
    EXPECT_EQ(version.wait(20s), 0);
    EXPECT_EQ(version.output(), "Lorehaven 1.03\n");
    ChildProcess bad(program(), {"--campaign"});
    EXPECT_EQ(bad.wait(20s), 2);
}

TEST(Process, RunsItsLoopAndEndsOnEachQuitPath) {
    TempDir work;
    // The test-only tick limit ends the loop with code 0, and the working
    // directory gets its folders on the way in.
    lh::test::writeFile(work.path() / "errorlog.html", "old");
    ChildProcess ticks(program(), {"--workdir", work.str(), "--host", "--campaign", "C", "--gm", "GM", "--quit-after-ticks", "5"});
    EXPECT_EQ(ticks.wait(60s), 0) << ticks.errors();
    for (const char* folder : {"campaigns", "characters", "modules", "rulesets", "settings", "portraits", "tokens",
                               "temp", "data"}) {
        EXPECT_TRUE(std::filesystem::is_directory(work.path() / folder)) << folder;
    }
    EXPECT_FALSE(std::filesystem::exists(work.path() / "errorlog.html"));

    // A stop from outside is the main window going away: exit code -1.
    ChildProcess stopped(program(), {"--workdir", work.str(), "--local", "--ruleset", "Lorehaven"});
    ASSERT_TRUE(stopped.running());
    // Let it reach the loop; it must still be running after a few ticks.
    EXPECT_EQ(stopped.wait(1500ms), -1) << stopped.errors();
    stopped.signal(SIGTERM);
    EXPECT_EQ(stopped.wait(30s), 255);

    // With no way in settled the launcher asks; closing it ends the program
    // with -1 before any main window.
    ChildProcess cancelled(program(), {"--workdir", work.str()});
    EXPECT_EQ(cancelled.wait(1500ms), -1) << cancelled.errors();
    cancelled.signal(SIGTERM);
    EXPECT_EQ(cancelled.wait(30s), 255);
}
