// Characters between real processes: a player brings a local character with
// its portrait to a host, both strips show it, the same portrait the next
// time travels no more, and the player's exit writes only its copy; and the
// local-characters way in, with no session at all.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "support/TestSupport.h"

using lh::test::ChildProcess;
using lh::test::TempDir;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

std::string program() { return lh::test::builtProgram("lorehaven"); }

std::string readIfThere(const fs::path& file) {
    std::error_code ec;
    return fs::exists(file, ec) ? lh::test::readFile(file) : std::string();
}

// Waits for a line in a trace file; the processes flush each line as it
// happens.
bool waitForTrace(const fs::path& trace, const std::string& text, std::chrono::milliseconds timeout = 60s) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        if (readIfThere(trace).find(text) != std::string::npos) return true;
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

bool waitUntilListening(const fs::path& trace) { return waitForTrace(trace, " frame"); }

const char* kAria =
    "<root>\n\t<node name=\"charsheet\">\n\t\t<node name=\"Aria\">\n\t\t\t<intvalue name=\"level\" value=\"7\" />\n"
    "\t\t\t<stringvalue name=\"name\" value=\"Aria of the Vale\" />\n\t\t</node>\n\t</node>\n</root>\n";

// A 2x2 BMP: portraits go by their bytes, not by a name.
std::string portraitBytes() {
    const unsigned char b[] = {'B', 'M', 70, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0, 40, 0, 0, 0, 2, 0, 0, 0, 2, 0, 0, 0,
                               1, 0, 24, 0, 0, 0, 0, 0, 16, 0, 0, 0, 0x13, 0x0B, 0, 0, 0x13, 0x0B, 0, 0, 0, 0, 0, 0,
                               0, 0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 0, 0, 255, 255, 255, 255, 0, 0};
    return std::string(reinterpret_cast<const char*>(b), sizeof b);
}

std::vector<std::string> traced(const TempDir& dir) { return {"LOREHAVEN_TRACE=" + (dir.path() / "trace").string()}; }

}  // namespace

TEST(CharacterProcesses, APlayerBringsALocalCharacterWithItsPortrait) {
    TempDir h, a;
    const uint16_t port = lh::test::freeTcpPort();
    lh::test::writeFile(a.path() / "characters/Lorehaven/Aria.xml", kAria);
    lh::test::writeFile(a.path() / "characters/Lorehaven/portraits/Aria", portraitBytes());
    const std::vector<std::string> hostArgs = {"--workdir", h.str(), "--host", "--campaign", "Saga", "--gm", "Keeper",
                                               "--user", "Boss", "p" + std::to_string(port)};
    const std::vector<std::string> playerArgs = {"--workdir", a.str(), "--join", "127.0.0.1", "--user", "Ann",
                                                 "--identity", "Aria", "p" + std::to_string(port)};
    ChildProcess host(program(), hostArgs, traced(h));
    ASSERT_TRUE(waitUntilListening(h.path() / "trace")) << host.errors();
    {
        ChildProcess player(program(), playerArgs, traced(a));
        // The host sees the character in play, and its portrait arrives.
        ASSERT_TRUE(waitForTrace(h.path() / "trace", "character Aria Ann")) << host.errors();
        ASSERT_TRUE(waitForTrace(h.path() / "trace", "portrait Aria campaigns\\Saga\\portraits\\Aria")) << host.errors();
        EXPECT_EQ(readIfThere(h.path() / "campaigns/Saga/portraits/Aria"), portraitBytes());
        // The player's strip has it too, with the portrait fetched back.
        ASSERT_TRUE(waitForTrace(a.path() / "trace", "character Aria Ann")) << player.errors();
        ASSERT_TRUE(waitForTrace(a.path() / "trace", "portrait Aria campaigns\\Saga\\portraits\\Aria")) << player.errors();
        EXPECT_NE(readIfThere(a.path() / "trace").find("fetch portrait campaigns\\Saga\\portraits\\Aria"), std::string::npos);

        // Its exit writes the copy of what it played, never the local file.
        // (A process told to stop ends as a closed window does, with -1.)
        player.signal(SIGTERM);
        EXPECT_EQ(player.wait(60s), 255) << player.errors();
        EXPECT_NE(readIfThere(a.path() / "campaigns/Saga/characters/Aria.xml").find("Aria of the Vale"),
                  std::string::npos);
        EXPECT_EQ(readIfThere(a.path() / "characters/Lorehaven/Aria.xml"), kAria);
        auto deadline = std::chrono::steady_clock::now() + 60s;
        while (host.errors().find("'Ann' disconnected") == std::string::npos && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(20ms);
        ASSERT_NE(host.errors().find("'Ann' disconnected"), std::string::npos) << host.errors();
    }
    {
        // The next time the same portrait is current on both sides.
        fs::remove(a.path() / "trace");
        ChildProcess player(program(), playerArgs, traced(a));
        ASSERT_TRUE(waitForTrace(a.path() / "trace", "portrait Aria campaigns\\Saga\\portraits\\Aria")) << player.errors();
        EXPECT_EQ(readIfThere(a.path() / "trace").find("fetch portrait"), std::string::npos);
        player.signal(SIGTERM);
        EXPECT_EQ(player.wait(60s), 255) << player.errors();
    }
    // The host keeps the character in its database.
    host.signal(SIGTERM);
    EXPECT_EQ(host.wait(60s), 255) << host.errors();
    const std::string db = readIfThere(h.path() / "campaigns/Saga/db.xml");
    EXPECT_NE(db.find("<stringvalue name=\"name\" value=\"Aria of the Vale\" />"), std::string::npos) << db;
}

TEST(CharacterProcesses, TheLocalWayInKeepsCharactersWithoutASession) {
    TempDir d;
    lh::test::writeFile(d.path() / "characters/Lorehaven/Aria.xml", kAria);
    for (const char* name : {"Aria", "Newcomer"}) {
        ChildProcess local(program(), {"--workdir", d.str(), "--local", "--ruleset", "Lorehaven", "--identity", name,
                                       "--quit-after-ticks", "10"},
                           traced(d));
        EXPECT_EQ(local.wait(60s), 0) << local.errors();
    }
    const std::string trace = readIfThere(d.path() / "trace");
    EXPECT_NE(trace.find("character Aria -"), std::string::npos) << trace;
    EXPECT_NE(trace.find("window opened charsheet Aria"), std::string::npos) << trace;
    EXPECT_EQ(readIfThere(d.path() / "characters/Lorehaven/Aria.xml"), kAria);
    EXPECT_EQ(readIfThere(d.path() / "characters/Lorehaven/Newcomer.xml"),
              "<root>\n\t<node name=\"charsheet\">\n\t\t<node name=\"Newcomer\">\n\t\t</node>\n\t</node>\n</root>\n");
    // A new user finds portraits to choose from.
    EXPECT_FALSE(fs::is_empty(d.path() / "portraits"));
}
