// Characters between real processes: a player brings a local character with
// its portrait to a host, both strips show it, the same portrait the next
// time travels no more, and the player's exit writes only its copy; and the
// local-characters way in, with no session at all.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "support/TestPictures.h"
#include "support/TestSupport.h"
#include "ui/PictureDecoder.h"

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

// Whether a line of the trace, after its stamp, begins with `text`.
bool traced(const std::string& trace, const std::string& text) {
    for (size_t at = 0; at < trace.size();) {
        size_t end = trace.find('\n', at);
        if (end == std::string::npos) end = trace.size();
        size_t blank = trace.find(' ', at);
        if (blank < end && trace.compare(blank + 1, text.size(), text) == 0) return true;
        at = end + 1;
    }
    return false;
}

// Waits for a line in a trace file; the processes flush each line as it
// happens.
bool waitForTrace(const fs::path& trace, const std::string& text, std::chrono::milliseconds timeout = 60s) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        if (traced(readIfThere(trace), text)) return true;
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

bool waitUntilListening(const fs::path& trace) { return waitForTrace(trace, "frame"); }

const char* kAria =
    "<root>\n\t<node name=\"charsheet\">\n\t\t<node name=\"Aria\">\n\t\t\t<intvalue name=\"level\" value=\"7\" />\n"
    "\t\t\t<stringvalue name=\"name\" value=\"Aria of the Vale\" />\n\t\t</node>\n\t</node>\n</root>\n";

// Portraits go by their bytes, not by a name.
std::string portraitBytes() { return lh::test::asText(lh::test::tinyBmp()); }

std::vector<std::string> tracing(const TempDir& dir) { return {"LOREHAVEN_TRACE=" + (dir.path() / "trace").string()}; }

// How many pixels of a screenshot, in the square of `half` pixels round
// (x, y), are within `slack` of the colour 0xRRGGBB in every channel.
int pixelsNear(const fs::path& png, int32_t x, int32_t y, int32_t half, uint32_t rgb, int slack = 12) {
    const std::string bytes = readIfThere(png);
    lh::ui::PixelImage shot;
    if (!lh::ui::decodePicture(bytes.data(), bytes.size(), shot)) return -1;
    int count = 0;
    for (int32_t py = std::max(0, y - half); py < y + half && py < int32_t(shot.height); ++py) {
        for (int32_t px = std::max(0, x - half); px < x + half && px < int32_t(shot.width); ++px) {
            const uint32_t p = shot.pixels[size_t(py) * shot.width + size_t(px)];
            bool near = true;
            for (int shift : {0, 8, 16}) near = near && std::abs(int((p >> shift) & 0xFF) - int((rgb >> shift) & 0xFF)) <= slack;
            count += near;
        }
    }
    return count;
}

// The blank of a character without a portrait, as it reaches the screen.
constexpr uint32_t kBlankRgb = 0x2C3140;

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
    ChildProcess host(program(), hostArgs, tracing(h));
    ASSERT_TRUE(waitUntilListening(h.path() / "trace")) << host.errors();
    {
        ChildProcess player(program(), playerArgs, tracing(a));
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
        ChildProcess player(program(), playerArgs, tracing(a));
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

// The Gamemaster's menu over the portraits, by the keyboard: the arrows walk
// the slots from "Kick Player" (2) over "Sound Bell" (3) to "Toggle Turn" (4).
// The kick follows the turn closely: what was sent to the kicked player
// before it must still reach her, however slowly she reads.
TEST(CharacterProcesses, TheGamemastersMenuGivesTurnsRingsOneBellAndKicksOnConfirm) {
    TempDir h, a, b;
    const uint16_t port = lh::test::freeTcpPort();
    lh::test::writeFile(a.path() / "characters/Lorehaven/Aria.xml", kAria);
    lh::test::writeFile(h.path() / "menus.txt",
                        "await character Aria Ann\n"
                        "await character Brom Bo\n"
                        "click right 52 46\nkey Right\nkey Right\nkey Right\nkey Return\n"  // Toggle Turn on Aria
                        "await sent CHSLR 4 Bo\n"
                        "click right 140 46\nkey Right\nkey Right\nkey Return\n"  // Sound Bell for Brom's player
                        "await sent BELLR 1 Bo\n"
                        "click right 52 46\nkey Right\nkey Return\n"  // Kick Player: it only arms
                        "await menu chosen 5\n"
                        "click right 52 46\nkey Right\nkey Return\n");  // Confirm Kick
    std::vector<std::string> hostArgs = {"--workdir", h.str(), "--host", "--campaign", "Saga", "--gm", "Keeper",
                                         "--user", "Boss", "p" + std::to_string(port),
                                         "--script", (h.path() / "menus.txt").string()};
    auto player = [&](const TempDir& dir, const char* user, const char* identity) {
        return std::vector<std::string>{"--workdir", dir.str(), "--join", "127.0.0.1", "--user", user,
                                        "--identity", identity, "p" + std::to_string(port)};
    };
    ChildProcess host(program(), hostArgs, tracing(h));
    ASSERT_TRUE(waitUntilListening(h.path() / "trace")) << host.errors();
    ChildProcess ann(program(), player(a, "Ann", "Aria"), tracing(a));
    ASSERT_TRUE(waitForTrace(h.path() / "trace", "character Aria Ann")) << host.errors();
    ChildProcess bo(program(), player(b, "Bo", "Brom"), tracing(b));

    // The turn line on every machine, each made from CHSLR.
    ASSERT_TRUE(waitForTrace(h.path() / "trace", "turn 0 Aria")) << readIfThere(h.path() / "trace");
    ASSERT_TRUE(waitForTrace(a.path() / "trace", "turn 0 Aria")) << ann.errors();
    ASSERT_TRUE(waitForTrace(b.path() / "trace", "turn 0 Aria")) << bo.errors();
    // The bell reaches Brom's player alone.
    ASSERT_TRUE(waitForTrace(b.path() / "trace", "received BELLR 1")) << bo.errors();
    // The first choice only arms the kick; the confirmation ends Ann's session.
    EXPECT_EQ(ann.wait(60s), 255) << ann.errors();
    const std::string hostTrace = readIfThere(h.path() / "trace");
    const size_t armed = hostTrace.find("menu chosen 5"), confirmed = hostTrace.find("menu chosen 6");
    ASSERT_NE(confirmed, std::string::npos) << hostTrace;
    EXPECT_LT(armed, confirmed);
    EXPECT_GT(hostTrace.find("sent LGOTR", armed), confirmed);
    ASSERT_TRUE(waitForTrace(b.path() / "trace", "received LGOTR")) << bo.errors();
    EXPECT_EQ(readIfThere(a.path() / "trace").find("received BELLR"), std::string::npos);
    bo.signal(SIGTERM);
    host.signal(SIGTERM);
    EXPECT_EQ(bo.wait(60s), 255);
    EXPECT_EQ(host.wait(60s), 255);
}

// The Gamemaster's choice of character as the screen shows it: the Desktop
// menu's "Characters" lists the Campaign's characters, Aria's row with her
// portrait, Brom's, who has none, with the blank; the menu over Aria's row
// deletes her and her portrait. And in the strip of the local way in, a
// character without a portrait shows the blank too, until the player picks
// one of the portraits a new user is given: its copy is the character's.
TEST(CharacterProcesses, PortraitsShowInTheChoiceAndTheHostDeletesThere) {
    TempDir h;
    lh::test::writeFile(h.path() / "campaigns/Saga/campaign.xml",
                        "<root>\n\t<setting name=\"\" />\n\t<ruleset name=\"Lorehaven\" />\n</root>\n");
    lh::test::writeFile(h.path() / "campaigns/Saga/db.xml",
                        "<root>\n\t<node name=\"charsheet\">\n\t\t<node name=\"Aria\">\n"
                        "\t\t\t<stringvalue name=\"name\" value=\"Aria\" />\n\t\t</node>\n"
                        "\t\t<node name=\"Brom\">\n\t\t\t<stringvalue name=\"name\" value=\"Brom\" />\n"
                        "\t\t</node>\n\t</node>\n</root>\n");
    const std::vector<uint32_t> red(40 * 40, 0xFFE01010u);
    lh::test::writeFile(h.path() / "campaigns/Saga/portraits/Aria", lh::test::asText(lh::test::encodePng(40, 40, red)));
    // The window opens at (302, 144), its list 34, 128 further in, in rows
    // of 72 with the portrait 12 from the left: Aria's centre at (384, 380).
    lh::test::writeFile(h.path() / "choice.txt",
                        "await frame\n"
                        "menu 600 60 Characters\n"
                        "await window opened identityselection\n"
                        "screenshot rows\n"
                        "move 400 380\n"  // the menu is of the row under the mouse
                        "menu 400 380 Delete character\n"
                        "quit 0\n");
    ChildProcess host(program(),
                      {"--workdir", h.str(), "--host", "--campaign", "Saga", "--gm", "Keeper", "--user", "Boss",
                       "p" + std::to_string(lh::test::freeTcpPort()), "--script", (h.path() / "choice.txt").string()},
                      tracing(h));
    ASSERT_EQ(host.wait(120s), 0) << host.errors() << readIfThere(h.path() / "trace");
    EXPECT_GT(pixelsNear(h.path() / "rows.png", 384, 380, 20, 0xE01010, 40), 600);
    EXPECT_EQ(pixelsNear(h.path() / "rows.png", 384, 452, 20, 0xE01010, 40), 0);
    EXPECT_GT(pixelsNear(h.path() / "rows.png", 384, 452, 20, kBlankRgb), 600);
    EXPECT_FALSE(fs::exists(h.path() / "campaigns/Saga/portraits/Aria"));
    const std::string db = readIfThere(h.path() / "campaigns/Saga/db.xml");
    EXPECT_EQ(db.find("\"Aria\""), std::string::npos) << db;
    EXPECT_NE(db.find("\"Brom\""), std::string::npos) << db;

    // The strip's first place is at (16, 10), 72 pixels square. From the
    // menu over it, the picker shows the portraits a new user is given; a
    // double click on the second (at 459, 299) makes it the character's.
    TempDir d;
    lh::test::writeFile(d.path() / "strip.txt",
                        "await frame\nscreenshot strip\n"
                        "move 52 46\nmenu 52 46 Select Portrait\nawait window opened portraitselection\n"
                        "click left 459 299\nclick left 459 299\n"
                        "await portrait Brom characters\\Lorehaven\\portraits\\Brom\n"
                        "screenshot chosen\nquit 0\n");
    ChildProcess local(program(),
                       {"--workdir", d.str(), "--local", "--ruleset", "Lorehaven", "--identity", "Brom", "--script",
                        (d.path() / "strip.txt").string()},
                       tracing(d));
    ASSERT_EQ(local.wait(120s), 0) << local.errors() << readIfThere(d.path() / "trace");
    EXPECT_GT(pixelsNear(d.path() / "strip.png", 52, 46, 20, kBlankRgb), 600);
    const std::string chosen = readIfThere(d.path() / "characters/Lorehaven/portraits/Brom");
    EXPECT_FALSE(chosen.empty());
    EXPECT_EQ(chosen, readIfThere(d.path() / "portraits/duelist.png"));
    EXPECT_LT(pixelsNear(d.path() / "chosen.png", 52, 46, 20, kBlankRgb), 100);
}

TEST(CharacterProcesses, TheLocalWayInKeepsCharactersWithoutASession) {
    TempDir d;
    lh::test::writeFile(d.path() / "characters/Lorehaven/Aria.xml", kAria);
    for (const char* name : {"Aria", "Newcomer"}) {
        ChildProcess local(program(), {"--workdir", d.str(), "--local", "--ruleset", "Lorehaven", "--identity", name,
                                       "--quit-after-ticks", "10"},
                           tracing(d));
        EXPECT_EQ(local.wait(60s), 0) << local.errors();
    }
    const std::string trace = readIfThere(d.path() / "trace");
    EXPECT_NE(trace.find("character Aria -"), std::string::npos) << trace;
    EXPECT_NE(trace.find("window opened charsheet Aria"), std::string::npos) << trace;
    // The sheet's fields add their values; what the file held stays.
    const std::string aria = readIfThere(d.path() / "characters/Lorehaven/Aria.xml");
    EXPECT_NE(aria.find("<intvalue name=\"level\" value=\"7\" />"), std::string::npos) << aria;
    EXPECT_NE(aria.find("<stringvalue name=\"name\" value=\"Aria of the Vale\" />"), std::string::npos) << aria;
    const std::string newcomer = readIfThere(d.path() / "characters/Lorehaven/Newcomer.xml");
    EXPECT_EQ(newcomer.rfind("<root>\n\t<node name=\"charsheet\">\n\t\t<node name=\"Newcomer\">\n", 0), 0u) << newcomer;
    // A new user finds portraits to choose from.
    EXPECT_FALSE(fs::is_empty(d.path() / "portraits"));
}

// The local way in as its user goes through it: the choice of character
// opens by itself, a double click takes Aria on, her level is typed, the
// Desktop menu's "Characters" brings the choice back, a new hero is made
// there; the switch writes Aria with the edit, the exit writes the new one.
TEST(CharacterProcesses, TheLocalWayInPicksEditsSwitchesAndWritesOnExit) {
    TempDir d;
    lh::test::writeFile(d.path() / "characters/Lorehaven/Aria.xml", kAria);
    lh::test::writeFile(d.path() / "play.txt",
                        "await window opened identityselection\n"
                        "await frame\n"
                        "click left 400 380\nclick left 400 380\n"  // Aria's row, twice
                        "await window opened charsheet Aria\n"
                        "click left 671 185\ntext 9\nclick left 900 600\n"  // her level
                        "click right 150 450\nawait menu opened\nclick left 150 530\n"  // "Characters"
                        "await window opened identityselection\n"
                        "click left 400 308\ntext zed\nkey Return\n"  // the creation row
                        "await window opened charsheet Zed\n"
                        "quit 0\n");
    std::vector<std::string> env = tracing(d);
    env.push_back("LOREHAVEN_CLOCK=manual");
    ChildProcess local(program(),
                       {"--workdir", d.str(), "--local", "--ruleset", "Lorehaven", "--script",
                        (d.path() / "play.txt").string()},
                       env);
    ASSERT_EQ(local.wait(120s), 0) << local.errors() << readIfThere(d.path() / "trace");
    const std::string trace = readIfThere(d.path() / "trace");
    EXPECT_LT(trace.find("window closed charsheet Aria"), trace.find("character Zed -")) << trace;
    const std::string aria = readIfThere(d.path() / "characters/Lorehaven/Aria.xml");
    EXPECT_NE(aria.find("<intvalue name=\"level\" value=\"9\" />"), std::string::npos) << aria;
    EXPECT_NE(aria.find("Aria of the Vale"), std::string::npos) << aria;
    EXPECT_NE(readIfThere(d.path() / "characters/Lorehaven/Zed.xml").find("<node name=\"Zed\">"), std::string::npos);
}
