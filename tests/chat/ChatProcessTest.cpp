// Two players and a Gamemaster as real processes on loopback, driven by the
// test driver's scripts and followed through their traces: a player joins
// and types "bob" to become "Bob"; lines go both ways, a player's shown only
// when the host's echo comes back; each Return variant reaches every screen
// with its speaker and font; the typing marks go on and off, the host's
// showing as the wait icon on the player's screen; a second player
// asking for "Bob" is refused and keeps the window; the host logs it all.
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "support/TestSupport.h"
#include "ui/PictureDecoder.h"

namespace lh::test {
namespace {

using namespace std::chrono_literals;

bool waitForLine(const std::filesystem::path& file, const std::string& text, std::chrono::seconds timeout = 60s) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        if (readFile(file).find(text) != std::string::npos) return true;
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

// Where the first trace line whose text (after its stamp) begins with
// `text` stands; the script's own "until" lines quote it and do not count.
size_t positionOf(const std::string& trace, const std::string& text) {
    for (size_t at = 0; at < trace.size();) {
        size_t end = trace.find('\n', at);
        if (end == std::string::npos) end = trace.size();
        size_t blank = trace.find(' ', at);
        if (blank < end && trace.compare(blank + 1, text.size(), text) == 0) return at;
        at = end + 1;
    }
    return std::string::npos;
}
bool hasLine(const std::string& trace, const std::string& text) { return positionOf(trace, text) != std::string::npos; }

// How many pixels of a screenshot's rectangle pass a test of their colour
// (0xRRGGBB); -1 if the picture does not read.
template <typename Test>
int pixelsWhere(const std::filesystem::path& png, Test test, uint32_t left, uint32_t top, uint32_t right,
                uint32_t bottom) {
    std::string bytes = readFile(png);
    ui::PixelImage shot;
    if (!ui::decodePicture(bytes.data(), bytes.size(), shot)) return -1;
    int count = 0;
    for (uint32_t y = top; y < bottom && y < shot.height; ++y) {
        for (uint32_t x = left; x < right && x < shot.width; ++x) {
            if (test(shot.pixels[size_t(y) * shot.width + x] & 0xFFFFFF)) ++count;
        }
    }
    return count;
}

// How many pixels of the chat area have exactly this colour: a glyph's
// solid middle shows its font's colour untouched.
int pixelsOfColour(const std::filesystem::path& png, uint32_t rgb, uint32_t left = 26, uint32_t top = 346,
                   uint32_t right = 434, uint32_t bottom = 616) {
    return pixelsWhere(png, [rgb](uint32_t c) { return c == rgb; }, left, top, right, bottom);
}

class ChatProcess : public ::testing::Test {
protected:
    std::vector<std::string> env(const TempDir& dir) {
        return {"LOREHAVEN_TRACE=" + (dir.path() / "trace.txt").string()};
    }
    std::filesystem::path traceOf(const TempDir& dir) { return dir.path() / "trace.txt"; }
    std::string script(const TempDir& dir, const std::string& text) {
        writeFile(dir.path() / "script.txt", text);
        return (dir.path() / "script.txt").string();
    }
    std::vector<std::string> clientArgs(const TempDir& dir, const std::string& user, const std::string& scriptFile) {
        return {"--workdir", dir.str(), "--join", "127.0.0.1", "--user", user, "p" + std::to_string(port),
                "--script", scriptFile};
    }

    uint16_t port = freeTcpPort();
    TempDir hostDir, annDir, cyDir;
};

TEST_F(ChatProcess, AGroupTalksUnderItsIdentities) {
    const std::string hostScript = script(hostDir, R"(
until identified as 'Bob'
text Welcome, Bob.
key Return
until chat chatfont [Bob:] Hello all
until typing Bob 1
until typing Bob 0
text The door creaks open.
until typing Bob 1
key Return ctrl
until chat emotefont [Bob:] waves
until sent IDENR 1 Cy
text All set.
key Return
wait 300
screenshot host
wait 1000
quit 0
)");
    ChildProcess host(builtProgram("lorehaven"),
                      {"--workdir", hostDir.str(), "--host", "--campaign", "Saga", "--gm", "Keeper", "--user", "Boss",
                       "p" + std::to_string(port), "--script", hostScript},
                      env(hostDir));
    ASSERT_TRUE(waitForLine(traceOf(hostDir), "frame")) << host.errors();

    const std::string annScript = script(annDir, R"(
until window opened identityselection
click left 420 290
text bo1 b
key Return
until identity chosen Bob
text Hello all
key Return
until chat chatfont [Bob:] Hello all
until host typing 1
until host typing 0
until host typing 1
screenshot waiting
text x
until host typing 0
key Escape
until chat narratorfont [] The door creaks open.
text waves
key Return ctrl
until chat emotefont [Bob:] waves
until chat dmfont [Keeper:] All set.
wait 300
screenshot ann
quit 0
)");
    ChildProcess ann(builtProgram("lorehaven"), clientArgs(annDir, "Ann", annScript), env(annDir));
    ASSERT_TRUE(waitForLine(traceOf(hostDir), "'Ann' identified as 'Bob'")) << host.errors() << ann.errors();

    // A second player asks for the same name: refused, and the choice stays open.
    const std::string cyScript = script(cyDir, R"(
until window opened identityselection
click left 420 290
text Bob
key Return
until identity refused Bob
wait 300
screenshot cy
quit 0
)");
    ChildProcess cy(builtProgram("lorehaven"), clientArgs(cyDir, "Cy", cyScript), env(cyDir));

    EXPECT_EQ(ann.wait(120s), 0) << ann.errors();
    EXPECT_EQ(host.wait(120s), 0) << host.errors();
    EXPECT_EQ(cy.wait(120s), 0) << cy.errors();

    const std::string hostTrace = readFile(traceOf(hostDir));
    const std::string annTrace = readFile(traceOf(annDir));
    const std::string cyTrace = readFile(traceOf(cyDir));

    // Every line reached both screens with its speaker and font.
    for (const char* line : {"chat dmfont [Keeper:] Welcome, Bob.", "chat chatfont [Bob:] Hello all",
                             "chat narratorfont [] The door creaks open.", "chat emotefont [Bob:] waves"}) {
        EXPECT_TRUE(hasLine(hostTrace, line)) << line << "\n" << hostTrace;
        EXPECT_TRUE(hasLine(annTrace, line)) << line << "\n" << annTrace;
    }
    // Only the host tells who took which name.
    EXPECT_TRUE(hasLine(hostTrace, "chat systemfont [] 'Ann' identified as 'Bob'"));
    EXPECT_EQ(annTrace.find("identified as"), std::string::npos);
    // The player's own line shows when the host's echo has come back.
    size_t sent = positionOf(annTrace, "sent CHATQ");
    size_t shown = positionOf(annTrace, "chat chatfont [Bob:] Hello all");
    ASSERT_NE(shown, std::string::npos);
    size_t echoed = annTrace.rfind("received CHATR", shown);
    ASSERT_NE(sent, std::string::npos);
    EXPECT_LT(sent, echoed) << annTrace;
    EXPECT_LT(echoed, shown) << annTrace;
    // "bo1 b" in the creation row was "Bob": letters only, the first a capital.
    EXPECT_NE(annTrace.find("identity chosen Bob\n"), std::string::npos);
    EXPECT_LT(positionOf(annTrace, "window closed identityselection"), positionOf(annTrace, "chat chatfont [Bob:]"));
    // The refused player keeps the window.
    EXPECT_TRUE(hasLine(cyTrace, "identity refused Bob")) << cyTrace;
    EXPECT_GT(positionOf(cyTrace, "window closed identityselection"), positionOf(cyTrace, "quit 0")) << cyTrace;
    // Typing marks: the player's on and off at the host, the host's at the player.
    EXPECT_LT(positionOf(hostTrace, "typing Bob 1"), positionOf(hostTrace, "typing Bob 0"));
    EXPECT_LT(positionOf(annTrace, "host typing 1"), positionOf(annTrace, "host typing 0"));

    // The host's chat log holds all that was said, the player's lines too,
    // each in its font's colour; a player keeps none.
    const std::string log = readFile(hostDir.path() / "campaigns" / "Saga" / "chatlog.html");
    EXPECT_NE(log.find("<b>Chat log started at "), std::string::npos) << log;
    EXPECT_NE(log.find("<font color=\"#ece6da\">Bob: Hello all</font><br />\n"), std::string::npos) << log;
    EXPECT_NE(log.find("<font color=\"#e6cfa4\">The door creaks open.</font><br />\n"), std::string::npos) << log;
    EXPECT_FALSE(std::filesystem::exists(annDir.path() / "campaigns" / "Saga" / "chatlog.html"));

    // The screens: the Gamemaster's gold and the narrator's parchment show
    // on the player's chat, the player's own colour on the host's.
    EXPECT_GT(pixelsOfColour(annDir.path() / "ann.png", 0xF0C860), 10);
    EXPECT_GT(pixelsOfColour(annDir.path() / "ann.png", 0xE6CFA4), 10);
    EXPECT_GT(pixelsOfColour(hostDir.path() / "host.png", 0xECE6DA), 10);
    // The wait icon (a brown disc at 412,346) stands while the Gamemaster
    // types, and is gone once he has sent. The player's script waits for
    // the second mark: the first pair was his welcome.
    constexpr uint32_t kWaitGround = 0x8A5A14;
    EXPECT_GT(pixelsOfColour(annDir.path() / "waiting.png", kWaitGround, 412, 346, 434, 368), 50);
    EXPECT_EQ(pixelsOfColour(annDir.path() / "ann.png", kWaitGround, 412, 346, 434, 368), 0);
}

// The choice of a name at the join, and the Gamemaster's strip: a host
// started without a name speaks as the Narrator, and his strip says so; a
// player's "[Create New]" row gives way to what he types; a name that
// another player holds is refused with the error mark on the row, the
// window staying; a double click on the row then takes the new name. The
// host's chat, in a main window made taller, grows upwards from its foot
// with the strip above it, and follows it back down.
TEST_F(ChatProcess, TheJoinsChoiceOfANameAndTheChatInATallerWindow) {
    const std::string hostScript = script(hostDir, R"(
until identity list Narrator
until identified as 'Cy'
text Welcome.
key Return
until chat dmfont [] Welcome.
wait 300
screenshot narrator
resize 1280 960
until chat placed 10 138 450 670 area 26 154 434 616
wait 300
screenshot tall
resize 1280 800
until chat placed 10 298 450 670 area 26 314 434 616
wait 300
screenshot lower
quit 0
)");
    ChildProcess host(builtProgram("lorehaven"),
                      {"--workdir", hostDir.str(), "--host", "--campaign", "Saga", "--user", "Boss",
                       "p" + std::to_string(port), "--script", hostScript},
                      env(hostDir));
    ASSERT_TRUE(waitForLine(traceOf(hostDir), "frame")) << host.errors();

    // Ann takes "Bob" by the command line, before Cy asks for it.
    const std::string annScript = script(annDir, "until chat dmfont [] Welcome.\nquit 0\n");
    std::vector<std::string> annArgs = clientArgs(annDir, "Ann", annScript);
    annArgs.insert(annArgs.end(), {"--identity", "Bob"});
    ChildProcess ann(builtProgram("lorehaven"), annArgs, env(annDir));
    ASSERT_TRUE(waitForLine(traceOf(hostDir), "'Ann' identified as 'Bob'")) << host.errors() << ann.errors();

    // Row 0 of the choice is at 272..344; the clicks are more than the
    // double-click time apart, but for the last pair.
    const std::string cyScript = script(cyDir, R"(
until window opened identityselection
wait 300
screenshot choosing
click left 420 290
wait 300
screenshot creating
text Bob
key Return
until identity refused Bob
wait 600
screenshot refused
click left 420 290
key Backspace
key Backspace
key Backspace
text cy
wait 600
click left 420 290
click left 420 290
until identity chosen Cy
until chat dmfont [] Welcome.
quit 0
)");
    ChildProcess cy(builtProgram("lorehaven"), clientArgs(cyDir, "Cy", cyScript), env(cyDir));

    EXPECT_EQ(cy.wait(120s), 0) << cy.errors();
    EXPECT_EQ(ann.wait(120s), 0) << ann.errors();
    EXPECT_EQ(host.wait(120s), 0) << host.errors();
    const std::string hostTrace = readFile(traceOf(hostDir));
    const std::string cyTrace = readFile(traceOf(cyDir));

    // The host without a name: its strip shows the Narrator, in the
    // selected plate's gold at 17..115 x 298..324, and it speaks unlabelled.
    EXPECT_TRUE(hasLine(hostTrace, "identity list Narrator\n")) << hostTrace;
    EXPECT_TRUE(hasLine(hostTrace, "chat systemfont [] 'Cy' identified as 'Cy'")) << hostTrace;
    constexpr uint32_t kSelectedName = 0xFFD35A;
    EXPECT_GT(pixelsOfColour(hostDir.path() / "narrator.png", kSelectedName, 17, 298, 115, 324), 10);

    // "[Create New]" stands in row 0 (text at 428 on), gives way to a
    // blank row on the click, and what was typed is the name asked for.
    constexpr uint32_t kDialogText = 0xE8E0D0;
    EXPECT_GT(pixelsOfColour(cyDir.path() / "choosing.png", kDialogText, 428, 272, 650, 344), 20);
    EXPECT_EQ(pixelsOfColour(cyDir.path() / "creating.png", kDialogText, 428, 272, 650, 344), 0);
    EXPECT_GT(pixelsOfColour(cyDir.path() / "refused.png", kDialogText, 428, 272, 650, 344), 5);  // "Bob"
    // The refused row carries the red error mark at its right end
    // (654..676 x 297..319); the window stayed until the double click.
    constexpr uint32_t kErrorGround = 0x8E2A1E;
    EXPECT_GT(pixelsOfColour(cyDir.path() / "refused.png", kErrorGround, 654, 297, 676, 319), 100);
    EXPECT_EQ(pixelsOfColour(cyDir.path() / "creating.png", kErrorGround, 654, 297, 676, 319), 0);
    const size_t refused = positionOf(cyTrace, "identity refused Bob");
    ASSERT_NE(refused, std::string::npos) << cyTrace;
    EXPECT_LT(refused, positionOf(cyTrace, "screenshot refused.png"));
    EXPECT_LT(positionOf(cyTrace, "screenshot refused.png"), positionOf(cyTrace, "identity chosen Cy")) << cyTrace;
    EXPECT_LT(positionOf(cyTrace, "identity chosen Cy"), positionOf(cyTrace, "window closed identityselection"));
    EXPECT_EQ(cyTrace.find("key Return", refused), std::string::npos);  // the double click chose

    // The taller window: 192 pixels more, and the chat's lines reach from
    // 154 (bluish ground where the wood was) to their old foot; the strip
    // went up as far. At 800 high the chat is 32 pixels taller than at first.
    auto bluish = [](uint32_t c) { return (c & 0xFF) > (c >> 16); };
    const int band = 400 * 150;
    EXPECT_GT(pixelsWhere(hostDir.path() / "tall.png", bluish, 30, 160, 430, 310), band * 9 / 10);
    EXPECT_LT(pixelsWhere(hostDir.path() / "narrator.png", bluish, 30, 160, 430, 310), band / 10);
    EXPECT_GT(pixelsOfColour(hostDir.path() / "tall.png", kSelectedName, 17, 106, 115, 132), 10);
    EXPECT_EQ(pixelsOfColour(hostDir.path() / "tall.png", kSelectedName, 17, 298, 115, 324), 0);
    EXPECT_GT(pixelsOfColour(hostDir.path() / "tall.png", 0xF0C860, 26, 560, 434, 616), 10);  // "Welcome."
    EXPECT_GT(pixelsWhere(hostDir.path() / "lower.png", bluish, 30, 316, 430, 340), 400 * 24 * 9 / 10);
    EXPECT_LT(pixelsWhere(hostDir.path() / "lower.png", bluish, 30, 160, 430, 290), 400 * 130 / 10);
    EXPECT_GT(pixelsOfColour(hostDir.path() / "lower.png", kSelectedName, 17, 266, 115, 292), 10);
}

}  // namespace
}  // namespace lh::test
