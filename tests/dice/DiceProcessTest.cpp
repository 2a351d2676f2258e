// Host and player as real processes on loopback, each driven by a script:
// the player throws a die by dragging it into the chat, the Gamemaster does
// the same later. The thrower alone reads a result (the Gamemaster's a
// secret one); the other machine plays the same roll, and its die comes to
// rest at the same place, bit for bit, showing the same face. Whispers and
// the Gamemaster's night go between the same two programs.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <csignal>
#include <cstdio>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "dice/DiceScene.h"
#include "dice/ThrowRecord.h"
#include "support/TestSupport.h"
#include "ui/PictureDecoder.h"

namespace lh::test {
namespace {

using namespace std::chrono_literals;

// The default Ruleset's d20 lies at (310, 700); drawn on the table it shows
// at 130/149 of its distance from (512, 400). The chat frame is
// (10, 330)-(450, 670).
const char* kThrow =
    "down left 336 661\n"
    "wait 30\nmove 330 640\nwait 30\nmove 320 610\nwait 30\nmove 300 570\n"
    "wait 30\nmove 280 530\nwait 30\nmove 260 490\nwait 30\nmove 240 460\n"
    "up left 240 460\n";

// Where `text` (which begins with a blank) follows a line's time stamp, at
// or after `from`: the script's own lines, which quote what they await, do
// not count.
size_t findEvent(const std::string& trace, const std::string& text, size_t from = 0) {
    for (size_t at = trace.find(text, from); at != std::string::npos; at = trace.find(text, at + 1)) {
        if (at > 0 && trace[at - 1] >= '0' && trace[at - 1] <= '9') return at;
    }
    return std::string::npos;
}

bool waitFor(const std::filesystem::path& trace, const std::string& text, ChildProcess& program,
             std::chrono::seconds deadline = 150s) {
    auto until = std::chrono::steady_clock::now() + deadline;
    while (std::chrono::steady_clock::now() < until) {
        std::error_code ec;
        if (std::filesystem::exists(trace, ec) && findEvent(readFile(trace), text) != std::string::npos) return true;
        if (!program.running()) break;
        std::this_thread::sleep_for(50ms);
    }
    return findEvent(readFile(trace), text) != std::string::npos;
}

// The first line of a d20 that stopped after the first line holding
// `after`, without its time stamp, passing over lines equal to `other`;
// empty when there is none.
std::string stopAfter(const std::string& trace, const std::string& after, const std::string& other = {}) {
    size_t at = trace.find(after);
    if (at == std::string::npos) return {};
    for (at = trace.find(" die stopped 0 ", at); at != std::string::npos;
         at = trace.find(" die stopped 0 ", at + 1)) {
        std::string line = trace.substr(at, trace.find('\n', at) - at);
        if (line != other) return line;
    }
    return {};
}

// The Gamemaster's program and a player's ("Ann" as "Hero"), each playing
// its script, with fixed seeds; both are ended when the test is done.
struct TwoMachines {
    TempDir h, c;
    std::filesystem::path hostTrace = h.path() / "trace.txt", clientTrace = c.path() / "trace.txt";
    std::unique_ptr<ChildProcess> hostProgram, clientProgram;

    // False (with the host's errors in `why`) when the host never drew.
    bool start(const std::string& hostSteps, const std::string& clientSteps, std::string& why) {
        const uint16_t port = freeTcpPort();
        writeFile(h.path() / "steps.txt", hostSteps);
        writeFile(c.path() / "steps.txt", clientSteps);
        hostProgram = std::make_unique<ChildProcess>(
            builtProgram("lorehaven"),
            std::vector<std::string>{"--workdir", h.str(), "--host", "--campaign", "Dice", "--gm", "GM",
                                     "p" + std::to_string(port), "--script", (h.path() / "steps.txt").string()},
            std::vector<std::string>{"LOREHAVEN_TRACE=" + hostTrace.string(), "LOREHAVEN_DICE_SEED=5"});
        if (!waitFor(hostTrace, " frame\n", *hostProgram)) {  // listening by then
            why = hostProgram->errors();
            return false;
        }
        clientProgram = std::make_unique<ChildProcess>(
            builtProgram("lorehaven"),
            std::vector<std::string>{"--workdir", c.str(), "--join", "127.0.0.1", "--user", "Ann", "--identity",
                                     "Hero", "p" + std::to_string(port), "--script",
                                     (c.path() / "steps.txt").string()},
            std::vector<std::string>{"LOREHAVEN_TRACE=" + clientTrace.string(), "LOREHAVEN_DICE_SEED=6"});
        return true;
    }
    ~TwoMachines() {
        for (ChildProcess* p : {hostProgram.get(), clientProgram.get()})
            if (p) p->signal(SIGTERM);
        for (ChildProcess* p : {hostProgram.get(), clientProgram.get()})
            if (p) p->wait(30s);
    }
};

TEST(DiceProcess, ARollLooksAlikeOnBothMachinesAndOnlyTheThrowerReadsIt) {
    TwoMachines m;
    std::string why;
    // The Gamemaster throws once the player has joined and the player's
    // result has come in, whatever the load.
    ASSERT_TRUE(m.start(std::string("await received IDENQ\nawait chat die d20=\n") + kThrow +
                            "wait 40000\nquit 0\n",
                        std::string("wait 3000\n") + kThrow + "wait 40000\nquit 0\n", why))
        << why;
    const auto &hostTrace = m.hostTrace, &clientTrace = m.clientTrace;
    ChildProcess &host = *m.hostProgram, &client = *m.clientProgram;

    // The player's throw: read on the player's machine, played on the host's.
    ASSERT_TRUE(waitFor(clientTrace, " dice result d20=", client)) << readFile(clientTrace) << client.errors();
    ASSERT_TRUE(waitFor(hostTrace, " dice received 1\n", host)) << readFile(hostTrace) << host.errors();
    ASSERT_TRUE(waitFor(hostTrace, " die stopped ", host));
    std::string thrown = stopAfter(readFile(clientTrace), " dice thrown 1\n");
    ASSERT_FALSE(thrown.empty());
    // Under load either roll may arrive first: the same stop, bit for bit,
    // stands somewhere in the other machine's trace.
    EXPECT_TRUE(waitFor(hostTrace, thrown + "\n", host)) << thrown << readFile(hostTrace);
    // The reading in the result is the face that showed.
    {
        std::istringstream words(thrown);
        std::string die, stopped, shape, value;
        words >> die >> stopped >> shape >> value;
        EXPECT_NE(readFile(clientTrace).find(" dice result d20=" + value + ":0\n"), std::string::npos) << thrown;
    }
    EXPECT_EQ(readFile(hostTrace).find(" dice result d20"), std::string::npos);  // not the host's roll

    // The Gamemaster's throw: a secret result on the host, only its play on the client.
    ASSERT_TRUE(waitFor(hostTrace, " dice result ?d20=", host)) << readFile(hostTrace);
    ASSERT_TRUE(waitFor(clientTrace, " dice received 1\n", client)) << readFile(clientTrace);
    // The player's die may still roll on the host when the Gamemaster
    // throws: its stop is passed over.
    std::string secret = stopAfter(readFile(hostTrace), " dice thrown 1\n", thrown);
    ASSERT_FALSE(secret.empty());
    EXPECT_TRUE(waitFor(clientTrace, secret + "\n", client)) << secret << readFile(clientTrace);
    EXPECT_EQ(readFile(clientTrace).find(" dice result ?"), std::string::npos);
}

// The chat line of a die result (" chat die d6=4,d6=1:2 total 7") that
// follows `after` in the trace and begins with `prefix`; empty if none.
std::string chatDieLine(const std::string& trace, const std::string& prefix) {
    size_t at = findEvent(trace, " chat die " + prefix);
    if (at == std::string::npos) return {};
    return trace.substr(at, trace.find('\n', at) - at);
}

TEST(DiceProcess, ThrownAndTypedRollsBecomeOneChatLineOnBothMachines) {
    TwoMachines m;
    std::string why;
    ASSERT_TRUE(m.start("await chat die d6=\nwait 300\ntext /d 2d4 Hit\nkey Return\nwait 60000\nquit 0\n",
                        std::string("wait 3000\n") + kThrow +
                            "await chat die d20=\nwait 300\ntext /die 3d6+2 Attack\nkey Return\n"
                            "wait 60000\nquit 0\n",
                        why))
        << why;
    const auto &hostTrace = m.hostTrace, &clientTrace = m.clientTrace;
    ChildProcess &host = *m.hostProgram, &client = *m.clientProgram;

    // The thrown die: read on the player's machine, its line in both chats
    // with the reading that stopped on the table.
    ASSERT_TRUE(waitFor(clientTrace, " chat die d20=", client)) << readFile(clientTrace) << client.errors();
    const std::string thrown = chatDieLine(readFile(clientTrace), "d20=");
    {
        const std::string trace = readFile(clientTrace);
        const size_t at = findEvent(trace, " dice result d20=");
        ASSERT_NE(at, std::string::npos) << trace;
        const std::string read = trace.substr(at + 17, trace.find('\n', at) - at - 17);  // "17:0"
        EXPECT_EQ(thrown, " chat die d20=" + read + " total " + read.substr(0, read.find(':')));
    }
    EXPECT_TRUE(waitFor(hostTrace, thrown + "\n", host)) << thrown << readFile(hostTrace);

    // "/die 3d6+2 Attack" by the player: three d6 and the modifier, spoken
    // by his Identity, the same on both machines.
    ASSERT_TRUE(waitFor(clientTrace, " chat die d6=", client)) << readFile(clientTrace);
    const std::string typed = chatDieLine(readFile(clientTrace), "d6=");
    EXPECT_NE(typed.find(":2 total "), std::string::npos) << typed;
    EXPECT_EQ(std::count(typed.begin(), typed.end(), '='), 3) << typed;
    EXPECT_TRUE(waitFor(hostTrace, typed + "\n", host)) << typed << readFile(hostTrace);
    EXPECT_NE(readFile(clientTrace).find(" [Hero:] Attack\n"), std::string::npos);
    EXPECT_NE(readFile(hostTrace).find(" [Hero:] Attack\n"), std::string::npos);

    // "/d 2d4 Hit" by the Gamemaster, an open roll: the player sees it too.
    ASSERT_TRUE(waitFor(hostTrace, " chat die d4=", host)) << readFile(hostTrace);
    const std::string gm = chatDieLine(readFile(hostTrace), "d4=");
    EXPECT_TRUE(waitFor(clientTrace, gm + "\n", client)) << gm << readFile(clientTrace);
    EXPECT_NE(readFile(clientTrace).find("] Hit\n"), std::string::npos);
}

// A screenshot's pixel as 0xRRGGBB; 0 when the picture cannot be read.
uint32_t shotPixel(const std::filesystem::path& png, uint32_t x, uint32_t y) {
    const std::string bytes = readFile(png);
    ui::PixelImage shot;
    if (!ui::decodePicture(bytes.data(), bytes.size(), shot) || x >= shot.width || y >= shot.height) return 0;
    return shot.pixels[size_t(y) * shot.width + x] & 0xFFFFFFu;
}

// Whispers both ways, and the Gamemaster's "/night": the player's Desktop
// takes the night tint once the fade is over. The player whispers once it
// has its daylight picture; the Gamemaster answers after calling the night,
// so the answer comes after the new light on the same connection.
TEST(DiceProcess, WhispersGoBothWaysAndNightTintsThePlayersDesktop) {
    TwoMachines m;
    std::string why;
    ASSERT_TRUE(m.start("await received IDENQ\nawait chat msgfont [Hero:] psst\ntext /night\nkey Return\n"
                        "text /whisper Hero hello there\nkey Return\nwait 40000\nquit 0\n",
                        "await frame\nwait 500\nscreenshot day\ntext /whisper psst\nkey Return\n"
                        "await chat msgfont [GM:] hello there\nwait 3500\nscreenshot night\nwait 40000\nquit 0\n",
                        why))
        << why;
    ChildProcess &host = *m.hostProgram, &client = *m.clientProgram;
    EXPECT_TRUE(waitFor(m.hostTrace, " chat msgfont [Hero:] psst\n", host)) << readFile(m.hostTrace);
    EXPECT_TRUE(waitFor(m.clientTrace, " chat msgfont [GM:] hello there\n", client)) << readFile(m.clientTrace);
    ASSERT_TRUE(waitFor(m.clientTrace, " screenshot night.png", client)) << readFile(m.clientTrace);
    // Only the one it was meant for reads a whisper.
    EXPECT_EQ(readFile(m.hostTrace).find("[GM:] hello there"), std::string::npos);
    EXPECT_EQ(readFile(m.clientTrace).find("[Hero:] psst"), std::string::npos);

    // A bare spot of the Desktop, right of the chat and below the top bar:
    // red and green darken by the night colour 0xA4B8FF, blue stays.
    const uint32_t day = shotPixel(m.c.path() / "day.png", 700, 300);
    const uint32_t night = shotPixel(m.c.path() / "night.png", 700, 300);
    ASSERT_NE(day, 0u);
    const auto channel = [](uint32_t p, int shift) { return int((p >> shift) & 0xFF); };
    EXPECT_NEAR(channel(night, 16), channel(day, 16) * 0xA4 / 255, 3) << std::hex << day << " " << night;
    EXPECT_NEAR(channel(night, 8), channel(day, 8) * 0xB8 / 255, 3) << std::hex << day << " " << night;
    EXPECT_NEAR(channel(night, 0), channel(day, 0), 3) << std::hex << day << " " << night;
}

// Two dice thrown from exactly these numbers over the default Ruleset's
// chat, as 108-byte records in hexadecimal for the script's "throw".
std::vector<uint8_t> twoThrowRecords() {
    std::vector<uint8_t> body;
    dice::ThrowStart d20;
    d20.shape = dice::kShapeD20;
    d20.bodyColor = 0xFF2A0070u;
    d20.colorFlags = 1;  // white numerals, a player's dice
    d20.orientation = dice::rotationYawPitchRoll(0.7f, 1.9f, 0.3f);
    d20.center = dice::Vec3{-12.5f, -3.25f, -5.0f};
    d20.velocity = dice::Vec3{0.41f, 0.27f, 0.0f};
    dice::appendThrowRecord(body, d20);
    dice::ThrowStart d6 = d20;
    d6.shape = dice::kShapeD6;
    d6.orientation = dice::rotationYawPitchRoll(2.3f, 0.4f, 1.1f);
    d6.center = dice::Vec3{-9.75f, -6.5f, -5.0f};
    d6.velocity = dice::Vec3{-0.2f, 0.33f, 0.0f};
    dice::appendThrowRecord(body, d6);
    return body;
}

std::string hexOf(const std::vector<uint8_t>& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string hex;
    for (uint8_t b : bytes) hex += {digits[b >> 4], digits[b & 15]};
    return hex;
}

// The roll played here from its records, as a receiver plays it: the trace
// line of each die as it comes to rest (" die stopped SHAPE VALUE X Y Z").
std::vector<std::string> replayHere(const std::vector<uint8_t>& records) {
    std::vector<std::string> stops;
    const dice::DiceWorld* world = nullptr;
    dice::DiceScene::Hooks hooks;
    hooks.dieStopped = [&stops, &world](const dice::DieBody& die, int32_t value) {
        // Not a permanent die settling at home.
        if (!world || (die.shape < dice::kPermanentDice && &die == world->dice()[size_t(die.shape)].get())) return;
        char line[160];
        std::snprintf(line, sizeof line, " die stopped %d %d %a %a %a", die.shape, value, double(die.center.x),
                      double(die.center.y), double(die.center.z));
        stops.emplace_back(line);
    };
    dice::DiceScene scene(false, 1024, 768, render::Rect{10, 330, 450, 670}, std::move(hooks));
    world = &scene.world();
    EXPECT_EQ(scene.ReceiveRoll(records.data(), records.size()), "");
    for (int step = 0; step < 2 * dice::kMaxStepsPerThrow && stops.size() < 2; ++step) scene.world().Step();
    return stops;
}

// A roll thrown by the test driver from given records: the player's own
// result, the Gamemaster's play of it and a replay in this process agree
// on every die's face and resting place, bit for bit.
TEST(DiceProcess, AThrowFromRecordsReplaysAlikeEverywhere) {
    const std::vector<uint8_t> records = twoThrowRecords();
    const std::vector<std::string> replayed = replayHere(records);
    ASSERT_EQ(replayed.size(), 2u);

    TwoMachines m;
    std::string why;
    ASSERT_TRUE(m.start("await received IDENQ\nwait 60000\nquit 0\n",
                        "await frame\nawait received IDENR\nthrow " + hexOf(records) + "\nwait 60000\nquit 0\n",
                        why))
        << why;
    ChildProcess &host = *m.hostProgram, &client = *m.clientProgram;
    ASSERT_TRUE(waitFor(m.clientTrace, " dice result ", client)) << readFile(m.clientTrace) << client.errors();
    ASSERT_TRUE(waitFor(m.hostTrace, " dice received 2\n", host)) << readFile(m.hostTrace) << host.errors();
    for (const std::string& stop : replayed) {
        EXPECT_TRUE(waitFor(m.clientTrace, stop + "\n", client)) << stop << "\n" << readFile(m.clientTrace);
        EXPECT_TRUE(waitFor(m.hostTrace, stop + "\n", host)) << stop << "\n" << readFile(m.hostTrace);
    }
    // The thrower's result reads the faces in the order the dice stopped.
    auto faceOf = [](const std::string& stop) {
        std::istringstream words(stop);
        std::string die, stopped, shape, value;
        words >> die >> stopped >> shape >> value;
        return std::string(shape == "0" ? "d20=" : "d6=") + value;
    };
    EXPECT_NE(findEvent(readFile(m.clientTrace), " dice result " + faceOf(replayed[0]) + "," + faceOf(replayed[1]) + ":0\n"),
              std::string::npos)
        << readFile(m.clientTrace);
    EXPECT_EQ(findEvent(readFile(m.hostTrace), " dice result "), std::string::npos);  // the player's roll
}

}  // namespace
}  // namespace lh::test
