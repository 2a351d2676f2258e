// The built program, started headless: it reaches its main loop and ends with
// the right exit code on each way out.
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <thread>

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
    ChildProcess port(program(), {"--host", "p70000"});
    EXPECT_EQ(port.wait(20s), 2);
    EXPECT_NE(port.errors().find("the port must be a number from 1 to 65535, not 70000"), std::string::npos)
        << port.errors();
}

TEST(Process, RunsItsLoopAndEndsOnEachQuitPath) {
    TempDir work;
    // The test-only tick limit ends the loop with code 0, and the working
    // directory gets its folders on the way in.
    lh::test::writeFile(work.path() / "errorlog.html", "old");
    // Mesa names every call that a strict driver would refuse.
    ChildProcess ticks(program(), {"--workdir", work.str(), "--host", "--campaign", "C", "--gm", "GM", "--quit-after-ticks", "5"},
                       {"MESA_DEBUG=1"});
    EXPECT_EQ(ticks.wait(60s), 0) << ticks.errors();
    EXPECT_EQ(ticks.errors().find("error"), std::string::npos) << ticks.errors();
    for (const char* folder : {"campaigns", "characters", "modules", "rulesets", "settings", "portraits", "tokens",
                               "temp", "data"}) {
        EXPECT_TRUE(std::filesystem::is_directory(work.path() / folder)) << folder;
    }
    EXPECT_FALSE(std::filesystem::exists(work.path() / "errorlog.html"));

    // A stop from outside is the main window going away: exit code -1.
    // It reaches the loop and draws; it must still be running then.
    const auto trace = work.path() / "trace.txt";
    ChildProcess stopped(program(), {"--workdir", work.str(), "--local", "--ruleset", "Lorehaven"},
                         {"LOREHAVEN_TRACE=" + trace.string()});
    ASSERT_TRUE(lh::test::waitForTracedLine(stopped, trace, "frame")) << stopped.errors();
    stopped.signal(SIGTERM);
    EXPECT_EQ(stopped.wait(30s), 255);

    // With no way in settled the launcher asks; closing it ends the program
    // with -1 before any main window.
    std::filesystem::remove(trace);
    ChildProcess cancelled(program(), {"--workdir", work.str()}, {"LOREHAVEN_TRACE=" + trace.string()});
    ASSERT_TRUE(lh::test::waitForTracedLine(cancelled, trace, "started")) << cancelled.errors();
    EXPECT_EQ(cancelled.wait(300ms), -1) << cancelled.errors();
    cancelled.signal(SIGTERM);
    EXPECT_EQ(cancelled.wait(30s), 255);
}

TEST(Process, CampaignSurvivesCleanEndsAndReportsAnUncleanOne) {
    TempDir work;
    auto host = [&](const char* ticks) {
        std::vector<std::string> args = {"--workdir", work.str(), "--host", "--campaign", "Saga", "--gm", "GM"};
        if (ticks) {
            args.push_back("--quit-after-ticks");
            args.push_back(ticks);
        }
        return args;
    };
    std::filesystem::path folder = work.path() / "campaigns" / "Saga";

    // A new Campaign, ended cleanly: its database is written and the
    // recovery copy is gone.
    ChildProcess first(program(), host("3"));
    ASSERT_EQ(first.wait(60s), 0) << first.errors();
    EXPECT_TRUE(std::filesystem::exists(folder / "db.xml"));
    EXPECT_TRUE(std::filesystem::exists(folder / "campaign.xml"));
    EXPECT_FALSE(std::filesystem::exists(folder / "db.restore.xml"));
    std::string database = lh::test::readFile(folder / "db.xml");

    // Opened again and killed: the recovery copy stays behind.
    ChildProcess crashed(program(), host(nullptr));
    for (int i = 0; i < 600 && !std::filesystem::exists(folder / "db.restore.xml"); ++i) {
        std::this_thread::sleep_for(50ms);
    }
    crashed.signal(SIGKILL);
    crashed.wait(30s);
    EXPECT_TRUE(std::filesystem::exists(folder / "db.restore.xml"));
    EXPECT_EQ(lh::test::readFile(folder / "db.xml"), database);

    // The next opening reports it, keeps it as the backup, and ends cleanly.
    ChildProcess third(program(), host("3"));
    ASSERT_EQ(third.wait(60s), 0) << third.errors();
    EXPECT_NE(third.errors().find("Possible campaign database corruption"), std::string::npos);
    EXPECT_TRUE(std::filesystem::exists(folder / "db.backup.xml"));
    EXPECT_FALSE(std::filesystem::exists(folder / "db.restore.xml"));
}
