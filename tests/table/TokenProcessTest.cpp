// Tokens and pointers between a host and a client as real processes, driven
// by scripts and read back from their traces and screenshots. Every test
// shares the set-up below: the host opens the first map and shares it, the
// player takes a character and receives the map, and both open the bag.
//  - Drops, moves, proposals, "Accept Move" and drags off the map agree;
//    a token dragged off stays on the dragging user's Desktop alone.
//  - Turns agree (the wrap from 7 to 0 included), and a map closed for all
//    and opened again gives its tokens back, turned and in place, on both.
//  - A player who joins late gets the tokens of a map he has not seen,
//    fetches the picture he lacks and draws it where the host does.
//  - The token menus: the host locks and unlocks, a player deletes one
//    (and has no "Delete All Tokens"), the host deletes the rest.
//  - Forged requests from a peer speaking by hand: a pointer in another's
//    name, unsafe picture names, a far anchor, a wild turn byte, unknown
//    ids and a short body change nothing they must not.
//  - A circle pointer lights the same squares on both screens; a click
//    without a move and "Remove Pointer" take pointers away for everybody.
//  - A colour picked on the player's palette colours his pointer and his
//    mark in the host's strip at once, though the pointer did not move.
//  - With a second player: a player's pointer goes from every screen when
//    he leaves, and a map closed and opened again shows no old pointer.
//  - A user without a character leaves: his pointer goes from the player's
//    screen too.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <memory>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "support/RawPeer.h"
#include "support/TestSupport.h"
#include "ui/PictureDecoder.h"

using lh::test::ChildProcess;
using lh::test::TempDir;
using lh::test::readFile;
using lh::test::writeFile;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

std::string program() { return lh::test::builtProgram("lorehaven"); }

bool waitForFile(const fs::path& file, const std::string& text, ChildProcess& process) {
    auto deadline = std::chrono::steady_clock::now() + 120s;
    while (std::chrono::steady_clock::now() < deadline) {
        if (fs::exists(file) && readFile(file).find(text) != std::string::npos) return true;
        if (!process.running()) return false;
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

// A token line of a trace: what happened, the token's id, where it stands
// on the Desktop, whether it is locked, its proposal and its turn.
struct TokenLine {
    std::string what;
    unsigned id = 0;
    bool gone = false, stored = false;
    int x = 0, y = 0, locked = 0, px = 0, py = 0, turned = 0;
};

std::vector<TokenLine> tokenLines(const std::string& trace) {
    std::vector<TokenLine> lines;
    static const std::regex at(
        R"(token (\w+) imagewindow \S* id (\d+) at (-?\d+) (-?\d+) locked (\d) pending (-?\d+) (-?\d+) turned (\d))");
    static const std::regex away(R"(token ([\w ]+?) imagewindow \S* id (\d+) (gone|stored))");
    std::smatch m;
    size_t from = 0;
    while (from < trace.size()) {
        size_t end = trace.find('\n', from);
        if (end == std::string::npos) end = trace.size();
        std::string line = trace.substr(from, end - from);
        from = end + 1;
        TokenLine t;
        if (std::regex_search(line, m, at)) {
            t.what = m[1];
            t.id = unsigned(std::stoul(m[2]));
            t.x = std::stoi(m[3]);
            t.y = std::stoi(m[4]);
            t.locked = std::stoi(m[5]);
            t.px = std::stoi(m[6]);
            t.py = std::stoi(m[7]);
            t.turned = std::stoi(m[8]);
        } else if (std::regex_search(line, m, away)) {
            t.what = m[1];
            t.id = unsigned(std::stoul(m[2]));
            t.gone = m[3] == "gone";
            t.stored = !t.gone;
        } else {
            continue;
        }
        lines.push_back(t);
    }
    return lines;
}

// The lines of one kind about one token, in order.
std::vector<TokenLine> about(const std::vector<TokenLine>& lines, const std::string& what, unsigned id) {
    std::vector<TokenLine> out;
    for (const TokenLine& t : lines)
        if (t.what == what && t.id == id) out.push_back(t);
    return out;
}

// A drag with the left button through a few points, as a hand makes it.
std::string drag(int x0, int y0, int x1, int y1) {
    std::string s = "down left " + std::to_string(x0) + " " + std::to_string(y0) + "\n";
    for (int i = 1; i <= 4; ++i)
        s += "move " + std::to_string(x0 + (x1 - x0) * i / 4) + " " + std::to_string(y0 + (y1 - y0) * i / 4) + "\n";
    return s + "up left " + std::to_string(x1) + " " + std::to_string(y1) + "\n";
}

// The bag opens at the Desktop's top left; with the built-in library and
// the bag's fixed seed the skeleton lies on top of the heap, here.
const char* kBagTop = "tokenbag top data/tokens/monsters/skeleton.png at 211 132";

// The set-up every test starts from. The host opens the first map (the
// window opens centred: its picture starts at (256, 206) of the 1024 x 768
// client area) once the player is in, and shares it.
const std::string kHostOpensMap = "click left 976 334\nwait 300\n";
const std::string kHostSharesMap = "await received IDLSQ\n" + kHostOpensMap +
                                   "menu 500 400 Share Sheet\n"
                                   "await received IMGAR\n";
const std::string kHostOpensBag = "click left 976 474\nawait window opened tokenbag\n";
const std::string kClientOpensBag = "click left 976 264\nawait window opened tokenbag\n";
std::string clientTakesMap() { return lh::test::newCharacterSteps("Ann") + "await map image.00001.image arrived\n"; }

// The host "Boss" and the player "Ann", and in some tests a second player
// "Bob", each in a working directory and a config folder of its own (the
// colours a player picks stay his), playing their scripts; then their
// traces.
class Table {
public:
    TempDir hostDir, clientDir, secondDir;

    // The host starts at once; the player once the host's trace holds
    // `clientAfter` (its first frame by default); the second player, if he
    // has a script, once the host has the first player's join.
    void play(const std::string& hostScript, const std::string& clientScript,
              const std::string& clientAfter = " frame", const std::string& secondScript = "") {
        const uint16_t port = lh::test::freeTcpPort();
        const fs::path hostTrace = hostDir.path() / "trace.txt", clientTrace = clientDir.path() / "trace.txt";
        const fs::path secondTrace = secondDir.path() / "trace.txt";
        writeFile(hostDir.path() / "host.txt", hostScript);
        writeFile(clientDir.path() / "client.txt", clientScript);
        writeFile(secondDir.path() / "client.txt", secondScript);
        auto environment = [](const TempDir& dir) {
            return std::vector<std::string>{"LOREHAVEN_TRACE=" + (dir.path() / "trace.txt").string(),
                                            "LOREHAVEN_CONFIG_DIR=" + (dir.path() / "config").string()};
        };
        ChildProcess host(program(),
                          {"--workdir", hostDir.str(), "--host", "--campaign", "Saga", "--gm", "Keeper", "--user",
                           "Boss", "p" + std::to_string(port), "--script", (hostDir.path() / "host.txt").string()},
                          environment(hostDir));
        ASSERT_TRUE(waitForFile(hostTrace, clientAfter, host)) << host.errors() << readFile(hostTrace);
        auto join = [&](const TempDir& dir, const std::string& user) {
            return std::make_unique<ChildProcess>(
                program(),
                std::vector<std::string>{"--workdir", dir.str(), "--join", "127.0.0.1", "--user", user,
                                         "p" + std::to_string(port), "--script", (dir.path() / "client.txt").string()},
                environment(dir));
        };
        std::unique_ptr<ChildProcess> client = join(clientDir, "Ann"), second;
        if (!secondScript.empty()) {
            ASSERT_TRUE(waitForFile(hostTrace, "received IDLSQ", host)) << host.errors() << readFile(hostTrace);
            second = join(secondDir, "Bob");
        }
        EXPECT_EQ(client->wait(180s), 0) << client->errors() << readFile(clientTrace);
        if (second) {
            EXPECT_EQ(second->wait(180s), 0) << second->errors() << readFile(secondTrace);
        }
        EXPECT_EQ(host.wait(60s), 0) << host.errors() << readFile(hostTrace);
        hostText = readFile(hostTrace);
        clientText = readFile(clientTrace);
        if (second) secondText = readFile(secondTrace);
        h = tokenLines(hostText);
        c = tokenLines(clientText);
    }

    lh::ui::PixelImage hostShot(const std::string& name) const { return shot(hostDir.path() / (name + ".png")); }
    lh::ui::PixelImage clientShot(const std::string& name) const { return shot(clientDir.path() / (name + ".png")); }
    lh::ui::PixelImage secondShot(const std::string& name) const { return shot(secondDir.path() / (name + ".png")); }

    std::string hostText, clientText, secondText;
    std::vector<TokenLine> h, c;

private:
    static lh::ui::PixelImage shot(const fs::path& file) {
        lh::ui::PixelImage picture;
        std::string png = readFile(file);
        EXPECT_TRUE(lh::ui::decodePicture(png.data(), png.size(), picture)) << file;
        return picture;
    }
};

uint32_t at(const lh::ui::PixelImage& p, int x, int y) {
    return x >= 0 && y >= 0 && uint32_t(x) < p.width && uint32_t(y) < p.height
               ? p.pixels[size_t(y) * p.width + size_t(x)] & 0xFFFFFF
               : 0xDEAD;
}

int brightness(uint32_t rgb) { return int(rgb & 0xFF) + int((rgb >> 8) & 0xFF) + int((rgb >> 16) & 0xFF); }

// A 48 x 48 picture in one colour (0xRRGGBB), as a Windows bitmap file.
std::string bitmapFile(uint32_t rgb) {
    const uint32_t side = 48, rowBytes = side * 3, size = 54 + rowBytes * side;
    std::string f(size, '\0');
    auto put = [&f](size_t at, uint32_t v, int bytes) {
        for (int i = 0; i < bytes; ++i) f[at + size_t(i)] = char((v >> (8 * i)) & 0xFF);
    };
    f[0] = 'B', f[1] = 'M';
    put(2, size, 4);
    put(10, 54, 4);
    put(14, 40, 4);
    put(18, side, 4);
    put(22, side, 4);
    put(26, 1, 2);
    put(28, 24, 2);
    put(34, rowBytes * side, 4);
    for (size_t p = 54; p < size; p += 3) put(p, rgb, 3);  // B, G, R in memory
    return f;
}

}  // namespace

TEST(TokenProcess, DropMoveProposeAcceptAndDragOffAgreeOnBothSides) {
    Table table;
    table.play(kHostSharesMap + kHostOpensBag + drag(211, 132, 450, 350) +
                   "await token TOKAQ\n"  // the player's drop
                   "await token TOKPQ\n"  // the player moves the free token
                   "menu 510 390 Lock Tokens\n"
                   "await token TOKPQ\n"  // now he can only propose
                   "menu 510 390 Accept Move\n"
                   "wait 300\n" +
                   drag(600, 450, 880, 700) +  // the player's token off the map
                   "wait 300\n"
                   "screenshot off\n"
                   "menu 500 450 Close For All\n"
                   "wait 2000\n"
                   "quit 0\n",
               clientTakesMap() + kClientOpensBag +
                   "await token TOKAR\n" +  // the host's token
                   drag(211, 132, 600, 450) +
                   "await token TOKAR\n" +  // its own, once the host answered
                   drag(450, 350, 510, 390) +
                   "await token TOKPR\n"
                   "await token TOKLR\n"
                   "await token TOKLR\n" +
                   drag(510, 390, 560, 300) +
                   "await token TOKPR\n"  // the proposal comes back
                   "await token TOKPR\n"  // and is accepted
                   "await token TOKDR\n"
                   "wait 300\n"
                   "screenshot off\n"
                   "await window closed imagewindow\n"
                   "quit 0\n");
    const std::string& hostText = table.hostText;
    const std::string& clientText = table.clientText;
    ASSERT_NE(hostText.find(kBagTop), std::string::npos) << "the bag's heap changed: the scripts grab elsewhere";
    ASSERT_NE(clientText.find(kBagTop), std::string::npos);
    const auto &h = table.h, &c = table.c;

    // The host's drop: made at once, centred under the mouse, and the same
    // on the client.
    auto dropped = about(h, "dropped", 1);
    ASSERT_EQ(dropped.size(), 1u) << hostText;
    const int x = dropped[0].x, y = dropped[0].y;
    EXPECT_NEAR(x, 450 - 24, 24);
    EXPECT_NEAR(y, 350 - 24, 24);
    auto first = about(c, "TOKAR", 1);
    ASSERT_EQ(first.size(), 1u) << clientText;
    EXPECT_EQ(first[0].x, x);
    EXPECT_EQ(first[0].y, y);

    // The player's drop: asked for, made only by the host's answer, the same
    // place on both.
    const size_t asked = clientText.find("token asked imagewindow");
    ASSERT_NE(asked, std::string::npos);
    EXPECT_LT(asked, clientText.find("token TOKAR imagewindow 00001 id 2"));
    auto hostsTwo = about(h, "TOKAQ", 2), clientsTwo = about(c, "TOKAR", 2);
    ASSERT_EQ(hostsTwo.size(), 1u) << hostText;
    ASSERT_EQ(clientsTwo.size(), 1u);
    EXPECT_EQ(hostsTwo[0].x, clientsTwo[0].x);
    EXPECT_EQ(hostsTwo[0].y, clientsTwo[0].y);
    EXPECT_NEAR(clientsTwo[0].x, 600 - 24, 24);

    // The free token moved by the player moves on the host by as much.
    auto requests = about(h, "TOKPQ", 1), answers = about(c, "TOKPR", 1);
    ASSERT_EQ(requests.size(), 2u) << hostText;
    ASSERT_EQ(answers.size(), 3u) << clientText;
    EXPECT_EQ(requests[0].x, x + 60);
    EXPECT_EQ(requests[0].y, y + 40);
    EXPECT_EQ(answers[0].x, x + 60);
    EXPECT_EQ(answers[0].y, y + 40);

    // Locked, his drag is no move: the token stays on both, with his
    // proposal shown.
    EXPECT_EQ(requests[1].locked, 1);
    EXPECT_EQ(requests[1].x, x + 60);
    EXPECT_EQ(requests[1].y, y + 40);
    EXPECT_EQ(requests[1].px, 50);
    EXPECT_EQ(requests[1].py, -90);
    EXPECT_EQ(answers[1].x, x + 60);
    EXPECT_EQ(answers[1].px, 50);

    // "Accept Move" carries it there on both, the proposal gone.
    auto accepted = about(h, "chosen", 1);
    ASSERT_EQ(accepted.size(), 2u) << hostText;  // the lock, the acceptance
    EXPECT_EQ(accepted[1].x, x + 110);
    EXPECT_EQ(accepted[1].y, y - 50);
    EXPECT_EQ(accepted[1].px, 0);
    EXPECT_EQ(answers[2].x, x + 110);
    EXPECT_EQ(answers[2].y, y - 50);
    EXPECT_EQ(answers[2].px, 0);

    // Dragged off the map on the host: gone there and on the client.
    auto off = about(h, "dragged off", 2);
    ASSERT_EQ(off.size(), 1u) << hostText;
    EXPECT_TRUE(off[0].gone);
    auto deleted = about(c, "TOKDR", 2);
    ASSERT_EQ(deleted.size(), 1u) << clientText;
    EXPECT_TRUE(deleted[0].gone);
    // The host keeps it on his Desktop where he let it go, the player not.
    auto hostOff = table.hostShot("off"), clientOff = table.clientShot("off");
    int differ = 0;
    for (int dy = -12; dy <= 12; dy += 2)
        for (int dx = -12; dx <= 12; dx += 2) differ += at(hostOff, 880 + dx, 700 + dy) != at(clientOff, 880 + dx, 700 + dy);
    EXPECT_GT(differ, 40);
    EXPECT_EQ(at(hostOff, 700, 740), at(clientOff, 700, 740));  // the Desktop beside it
}

TEST(TokenProcess, TurnsAgreeAndAReopenedMapGivesItsTokensBack) {
    Table table;
    table.play(kHostSharesMap + kHostOpensBag + drag(211, 132, 450, 350) +
                   "await token TOKAQ\n"  // the player's drop
                   "menu 450 350 Rotate Left\n"
                   "await token TOKOQ\n"  // the player turns the host's token
                   "await token TOKOQ\n"  // and his own
                   "wait 300\n"
                   "menu 500 450 Close For All\n"
                   "wait 500\n" +
                   kHostOpensMap + "menu 500 400 Share Sheet\n" +
                   "await token TOKOQ\n"  // the player turns a token given back
                   "wait 300\n"
                   "screenshot host\n"
                   "menu 500 450 Close For All\n"
                   "wait 2000\n"
                   "quit 0\n",
               clientTakesMap() + kClientOpensBag +
                   "await token TOKAR\n" +  // the host's token
                   drag(211, 132, 600, 450) +
                   "await token TOKAR\n"
                   "await token TOKOR\n"  // the host's turn to the left
                   "menu 450 350 Rotate Right\n"
                   "await token TOKOR\n"
                   "move 600 450\n"
                   "wheel -2\n"
                   "await token TOKOR\n"
                   "await window closed imagewindow\n"
                   "await token restored imagewindow 00001 id 2\n"
                   "menu 600 450 Rotate Right\n"
                   "await token TOKOR\n"
                   "wait 300\n"
                   "screenshot client\n"
                   "await window closed imagewindow\n"
                   "quit 0\n");
    const auto &h = table.h, &c = table.c;

    // Turned left from 0, the host's token stands at step 7 on both; turned
    // right from there the wire says 8, and both keep 0.
    auto left = about(h, "chosen", 1);
    ASSERT_EQ(left.size(), 1u) << table.hostText;
    EXPECT_EQ(left[0].turned, 7);
    auto turns = about(c, "TOKOR", 1);
    ASSERT_EQ(turns.size(), 2u) << table.clientText;
    EXPECT_EQ(turns[0].turned, 7);
    EXPECT_EQ(turns[1].turned, 0);
    auto asked = about(h, "TOKOQ", 1);
    ASSERT_EQ(asked.size(), 1u) << table.hostText;
    EXPECT_EQ(asked[0].turned, 0);
    // The wheel turns against its notches: two towards the user, two steps.
    auto wheel = about(h, "TOKOQ", 2);
    ASSERT_EQ(wheel.size(), 2u) << table.hostText;
    EXPECT_EQ(wheel[0].turned, 2);
    EXPECT_EQ(about(c, "TOKOR", 2).at(0).turned, 2);

    // Closed for all and opened again, the map has both tokens back, where
    // and as they stood, on both machines; the player can turn them.
    for (unsigned id : {1u, 2u}) {
        auto before = about(h, "TOKOQ", id).at(0);
        auto hostBack = about(h, "restored", id), clientBack = about(c, "restored", id);
        ASSERT_EQ(hostBack.size(), 1u) << table.hostText;
        ASSERT_EQ(clientBack.size(), 1u) << table.clientText;
        EXPECT_EQ(hostBack[0].x, before.x);
        EXPECT_EQ(hostBack[0].y, before.y);
        EXPECT_EQ(hostBack[0].turned, before.turned);
        EXPECT_EQ(clientBack[0].x, before.x);
        EXPECT_EQ(clientBack[0].y, before.y);
        EXPECT_EQ(clientBack[0].turned, before.turned);
    }
    EXPECT_EQ(wheel[1].turned, 3);
    EXPECT_EQ(about(c, "TOKOR", 2).at(1).turned, 3);

    // The turned copies are drawn alike on both screens.
    auto hs = table.hostShot("host"), cs = table.clientShot("client");
    const int x = wheel[1].x, y = wheel[1].y;
    int differ = 0;
    for (int dy = -8; dy < 56; dy += 4)
        for (int dx = -8; dx < 56; dx += 4) differ += at(hs, x + dx, y + dy) != at(cs, x + dx, y + dy);
    EXPECT_EQ(differ, 0);
}

TEST(TokenProcess, ALateJoinerGetsTheTokensAndFetchesAPictureItLacks) {
    Table table;
    // A picture of the Campaign's own: host-only, so the player has no copy.
    const std::string name = "campaigns/Saga/tokens/banner.bmp";
    writeFile(table.hostDir.path() / name, bitmapFile(0x20C040));
    // The bag's fixed seed brings the banner to the top at the twelfth shake.
    std::string shakes;
    for (int i = 0; i < 12; ++i) shakes += "click middle 150 150\n";
    const std::string bannerTop = "tokenbag top " + name + " at 135 96";
    // Let go inside the bag, it lies where it was let go, on top.
    const std::string bannerMoved = "tokenbag top " + name + " at 220 200";
    table.play(kHostOpensMap + kHostOpensBag + shakes + drag(135, 96, 220, 200) + "await " + bannerMoved + "\n" +
                   drag(220, 200, 450, 350) +
                   "menu 450 350 Lock Tokens\n"
                   "await received IDLSQ\n"
                   "menu 500 400 Share Sheet\n"
                   "await received IMGAR\n"
                   "wait 300\n"
                   "screenshot host\n"
                   "await pointer Ann kind 1\n"  // the player is done
                   "menu 500 450 Close For All\n"
                   "wait 2000\n"
                   "quit 0\n",
               clientTakesMap() +
                   "await token restored imagewindow 00001 id 1\n"
                   "await token picture " + name + " arrived\n"
                   "wait 300\n"
                   "screenshot client\n"
                   "menu 500 400 Pointers/Draw Arrow\n" +
                   drag(300, 450, 350, 450) +
                   "await window closed imagewindow\n"
                   "quit 0\n",
               "token chosen");
    ASSERT_NE(table.hostText.find(bannerTop), std::string::npos) << "the bag's heap changed: the script grabs elsewhere";
    EXPECT_NE(table.hostText.find(bannerMoved), std::string::npos) << table.hostText;
    const auto &h = table.h, &c = table.c;
    auto placed = about(h, "dropped", 1);
    ASSERT_EQ(placed.size(), 1u) << table.hostText;

    // At the join the token and its lock came for a map not open there: the
    // store kept them, and the map's opening gave them back, locked, where
    // the host has it.
    auto came = about(c, "TOKAR", 1), lock = about(c, "TOKLR", 1), back = about(c, "restored", 1);
    ASSERT_EQ(came.size(), 1u) << table.clientText;
    EXPECT_TRUE(came[0].stored);
    ASSERT_EQ(lock.size(), 1u);
    EXPECT_TRUE(lock[0].stored);
    ASSERT_EQ(back.size(), 1u);
    EXPECT_EQ(back[0].x, placed[0].x);
    EXPECT_EQ(back[0].y, placed[0].y);
    EXPECT_EQ(back[0].locked, 1);

    // The picture was fetched, once, and is drawn as the host draws it.
    const std::string fetch = "token picture " + name + " fetch";
    const size_t first = table.clientText.find(fetch);
    ASSERT_NE(first, std::string::npos) << table.clientText;
    EXPECT_EQ(table.clientText.find(fetch, first + 1), std::string::npos);
    auto hs = table.hostShot("host"), cs = table.clientShot("client");
    const int cx = placed[0].x + 24, cy = placed[0].y + 24;
    const uint32_t centre = at(cs, cx, cy);
    EXPECT_EQ(centre, at(hs, cx, cy));
    EXPECT_GT((centre >> 8) & 0xFF, (centre >> 16) & 0xFF) << std::hex << centre;  // green over red
    EXPECT_GT((centre >> 8) & 0xFF, centre & 0xFF);                               // and over blue
    for (int d : {4, 20, 40}) EXPECT_EQ(at(cs, placed[0].x + d, placed[0].y + d), at(hs, placed[0].x + d, placed[0].y + d));

}

TEST(TokenProcess, PointersLightTheSameSquaresOnBothAndGoAway) {
    Table table;
    // A grid of 40 pixels from (300, 250); the host's circle from the corner
    // of a square at (420, 330) with a radius of two squares.
    table.play(kHostSharesMap + "menu 500 400 Layers/Set Grid\n" + drag(300, 250, 340, 250) +
                   "wait 300\n"
                   "menu 500 400 Pointers/Draw Circle\n" +
                   drag(420, 330, 500, 330) +
                   "await pointer Ann kind 4\n"  // the player's square
                   "wait 300\n"
                   "screenshot host\n"
                   "menu 500 400 Pointers/Draw Arrow\n"
                   "click left 420 330\n"  // a click without a move
                   "await pointer Ann kind 0\n"
                   "menu 500 450 Close For All\n"
                   "wait 2000\n"
                   "quit 0\n",
               clientTakesMap() +
                   "await pointer Boss kind 2\n"
                   "wait 300\n"
                   "screenshot lit\n"
                   "menu 500 400 Pointers/Draw Square\n" +
                   drag(600, 500, 630, 500) +
                   "await pointer Boss kind 0\n"
                   "wait 300\n"
                   "screenshot unlit\n"
                   "menu 500 400 Pointers/Remove Pointer\n"
                   "await window closed imagewindow\n"
                   "quit 0\n");
    // The same squares lit and the same label on both: 80 pixels are 2.0
    // squares.
    std::smatch m;
    static const std::regex lit(R"(pointer lit (\d+) label 2\.0)");
    ASSERT_TRUE(std::regex_search(table.clientText, m, lit)) << table.clientText;
    const std::string clientLit = m[1];
    ASSERT_TRUE(std::regex_search(table.hostText, m, lit)) << table.hostText;
    EXPECT_EQ(clientLit, m[1].str());
    EXPECT_NE(clientLit, "0");

    // Pixel probes inside the circle, clear of its outline and its label:
    // lit alike on both, darker than when the pointer is gone; far outside
    // nothing changes.
    auto hs = table.hostShot("host"), on = table.clientShot("lit"), off = table.clientShot("unlit");
    for (auto [x, y] : {std::pair{390, 300}, {450, 370}, {460, 300}, {380, 360}}) {
        EXPECT_EQ(at(on, x, y), at(hs, x, y)) << x << "," << y;
        EXPECT_LT(brightness(at(on, x, y)), brightness(at(off, x, y))) << x << "," << y;
    }
    EXPECT_EQ(at(on, 300, 500), at(off, 300, 500));

    // Taken away: the host's by a click without a move, the player's by
    // "Remove Pointer"; each goes on the other side too.
    EXPECT_NE(table.clientText.find("pointer Boss kind 0 on"), std::string::npos);
    EXPECT_NE(table.hostText.find("pointer Ann kind 4 on imagewindow 00001"), std::string::npos);
    EXPECT_NE(table.hostText.find("pointer Ann kind 0 on"), std::string::npos);
}

TEST(TokenProcess, APlayersPaletteColoursHisPointerAndHisMarkOnEveryScreen) {
    Table table;
    // The palette opens at (302, 170); its cells are 22 x 17 pixels from
    // (336, 246); the sixth row's twelfth is a strong green.
    const uint32_t green = 0x00E21F;  // 0x00BBGGRR
    const std::string pickGreen = "click left 588 338\n";
    table.play(kHostSharesMap +
                   "await pointer Ann kind 1\n"  // the player's arrow, red
                   "wait 300\n"
                   "screenshot red\n"
                   "menu 500 400 Pointers/Draw Arrow\n" +
                   drag(420, 520, 480, 520) +  // tells the player to go on
                   "await pointer Ann color 00E21F\n"
                   "wait 300\n"
                   "screenshot green\n"
                   "menu 500 450 Close For All\n"
                   "wait 2000\n"
                   "quit 0\n",
               clientTakesMap() + "menu 500 400 Pointers/Draw Arrow\n" + drag(262, 300, 298, 300) +
                   "await pointer Boss kind 1\n"
                   "move 40 40\n"  // the strip's menu is of the place under the mouse
                   "menu 40 40 Select Colors\n"
                   "await window opened colorselection\n" +
                   pickGreen +
                   "wait 300\n"
                   "screenshot own\n"
                   "await window closed imagewindow\n"
                   "quit 0\n");
    ASSERT_NE(table.clientText.find("pointer Ann color 00E21F"), std::string::npos) << table.clientText;

    // The arrow's body: red before the pick, then green on the host,
    // though the arrow did not move; green on the player's own screen.
    auto red = table.hostShot("red"), host = table.hostShot("green"), own = table.clientShot("own");
    const uint32_t rgb = (green & 0xFF) << 16 | (green & 0xFF00) | (green >> 16 & 0xFF);
    EXPECT_EQ(at(red, 275, 300), 0xFF0000u) << std::hex << at(red, 275, 300);
    EXPECT_EQ(at(host, 275, 300), rgb) << std::hex << at(host, 275, 300);
    EXPECT_EQ(at(own, 275, 300), rgb) << std::hex << at(own, 275, 300);

    // The host's strip marks the player's character with a gem in his
    // colour, at the top left of its portrait: red, then green.
    auto gem = [](const lh::ui::PixelImage& p, bool wantGreen) {
        int count = 0;
        for (int y = 10; y < 40; ++y)
            for (int x = 16; x < 46; ++x) {
                const uint32_t c = at(p, x, y);
                const int r = int(c >> 16 & 0xFF), g = int(c >> 8 & 0xFF);
                count += wantGreen ? g > r + 100 : r > g + 100;
            }
        return count;
    };
    EXPECT_GT(gem(red, false), 10);
    EXPECT_EQ(gem(red, true), 0);
    EXPECT_GT(gem(host, true), 10);
    EXPECT_EQ(gem(host, false), 0);
}

TEST(TokenProcess, APointerGoesWhenItsUserLeavesOrItsWindowCloses) {
    Table table;
    const std::string bothTakeMap = "await received IDLSQ\nawait received IDLSQ\n" + kHostOpensMap +
                                    "menu 500 400 Share Sheet\n"
                                    "await received IMGAR\n"
                                    "await received IMGAR\n";
    table.play(bothTakeMap +
                   "await pointer Ann kind 1\n"
                   "wait 300\n"
                   "screenshot before\n"
                   "await pointer Ann left\n"
                   "wait 300\n"
                   "screenshot after\n"
                   "menu 500 450 Close For All\n"
                   "wait 500\n" +
                   kHostOpensMap + "menu 500 400 Share Sheet\n"
                   "await pointer Bob kind 1\n"
                   "await pointer Bob kind 1\n"  // the player has the map again
                   "menu 500 450 Close For All\n"
                   "wait 2000\n"
                   "quit 0\n",
               clientTakesMap() + "menu 500 400 Pointers/Draw Arrow\n" + drag(400, 300, 480, 300) +
                   "await pointer Bob kind 1\n"  // the other player saw it
                   "quit 0\n",
               " frame",
               lh::test::newCharacterSteps("Bob") +
                   "await map image.00001.image arrived\n"
                   "await pointer Ann kind 1\n"
                   "wait 300\n"
                   "screenshot before\n"
                   "menu 500 400 Pointers/Draw Arrow\n" +
                   drag(400, 520, 480, 520) +
                   "await pointer Ann left\n"
                   "wait 300\n"
                   "screenshot after\n"
                   "await window closed imagewindow\n"
                   "await window opened imagewindow\n"
                   "await window opened imagewindow\n"
                   "wait 300\n"
                   "screenshot reopened\n"
                   "menu 500 400 Pointers/Draw Arrow\n" +
                   drag(400, 560, 480, 560) +
                   "await window closed imagewindow\n"
                   "quit 0\n");
    // Ann's departure reached the host and the player who stayed.
    ASSERT_NE(table.hostText.find("pointer Ann left"), std::string::npos) << table.hostText;
    ASSERT_NE(table.secondText.find("pointer Ann left"), std::string::npos) << table.secondText;

    // Her arrow was red on both screens, and is gone from both.
    auto hostBefore = table.hostShot("before"), hostAfter = table.hostShot("after");
    auto bobBefore = table.secondShot("before"), bobAfter = table.secondShot("after");
    EXPECT_EQ(at(hostBefore, 440, 300), 0xFF0000u);
    EXPECT_EQ(at(bobBefore, 440, 300), 0xFF0000u);
    EXPECT_NE(at(hostAfter, 440, 300), 0xFF0000u);
    EXPECT_EQ(at(bobAfter, 440, 300), at(hostAfter, 440, 300));

    // Bob's own arrow stood until the map closed; opened again, the map
    // shows no pointer until a new one is drawn.
    auto reopened = table.secondShot("reopened");
    EXPECT_EQ(at(bobAfter, 440, 520), 0xFF0000u);
    EXPECT_EQ(at(reopened, 440, 520), at(bobBefore, 440, 520));
    EXPECT_NE(at(reopened, 440, 520), 0xFF0000u);
}

TEST(TokenProcess, TheTokenMenusLockUnlockDeleteOneAndDeleteAll) {
    Table table;
    table.play(kHostSharesMap + kHostOpensBag + drag(211, 132, 450, 350) + drag(211, 132, 560, 350) +
                   drag(211, 132, 450, 470) +
                   "menu 450 350 Lock Tokens\n"
                   "menu 450 350 Unlock Tokens\n"
                   "await token TOKDQ\n"  // the player deletes the first
                   "menu 560 350 Delete All Tokens\n"
                   "wait 300\n"
                   "menu 500 450 Close For All\n"
                   "wait 2000\n"
                   "quit 0\n",
               clientTakesMap() + "await token TOKAR\nawait token TOKAR\nawait token TOKAR\n" +
                   "await token TOKLR\nawait token TOKLR\nawait token TOKLR\n"
                   "await token TOKLR\nawait token TOKLR\nawait token TOKLR\n"
                   "move 560 350\n"
                   "menu 560 350 Delete All Tokens\n"  // the host's alone: not offered here
                   "move 450 350\n"
                   "menu 450 350 Delete Token\n"
                   "await token TOKDR\nawait token TOKDR\nawait token TOKDR\n"
                   "await window closed imagewindow\n"
                   "quit 0\n");
    const auto &h = table.h, &c = table.c;
    ASSERT_EQ(about(h, "dropped", 3).size(), 1u) << table.hostText;

    // Locked and unlocked on the host: each token both ways on the client.
    for (unsigned id : {1u, 2u, 3u}) {
        auto locks = about(c, "TOKLR", id);
        ASSERT_EQ(locks.size(), 2u) << table.clientText;
        EXPECT_EQ(locks[0].locked, 1);
        EXPECT_EQ(locks[1].locked, 0);
    }
    // The player's "Delete Token" asks; the host deletes it for both; the
    // player has no "Delete All Tokens", the host's takes the rest.
    EXPECT_NE(table.clientText.find("menu Delete Token"), std::string::npos) << table.clientText;
    EXPECT_EQ(table.clientText.find("menu Delete All Tokens"), std::string::npos);
    auto asked = about(h, "TOKDQ", 1);
    ASSERT_EQ(asked.size(), 1u) << table.hostText;
    EXPECT_TRUE(asked[0].gone);
    for (unsigned id : {1u, 2u, 3u}) {
        auto deleted = about(c, "TOKDR", id);
        ASSERT_EQ(deleted.size(), 1u) << id << table.clientText;
        EXPECT_TRUE(deleted[0].gone);
    }
    EXPECT_LT(table.clientText.find("token TOKDR imagewindow 00001 id 1"),
              table.clientText.find("token TOKDR imagewindow 00001 id 2"));
    EXPECT_TRUE(about(h, "TOKDQ", 2).empty());
}

namespace {

std::string text(const std::string& s) { return s + '\0'; }
std::string number(int32_t v) {
    std::string b(4, '\0');
    for (int i = 0; i < 4; ++i) b[size_t(i)] = char(uint32_t(v) >> (8 * i));
    return b;
}
const std::string kMap = text("imagewindow") + text("00001");

}  // namespace

// A user who never took a character (here a peer speaking by hand, as the
// program's own players cannot reach a map before they choose) leaves: the
// clients never learn his name from the departure, so the host tells them
// that his pointer is gone.
TEST(TokenProcess, APointerGoesWhenAUserWithoutACharacterLeaves) {
    TempDir hostDir, clientDir;
    const uint16_t port = lh::test::freeTcpPort();
    const fs::path hostTrace = hostDir.path() / "trace.txt", clientTrace = clientDir.path() / "trace.txt";
    writeFile(hostDir.path() / "host.txt", kHostSharesMap +
                                               "await pointer Raw left\n"
                                               "await pointer Ann kind 1\n"  // the player is done
                                               "menu 500 450 Close For All\n"
                                               "wait 2000\n"
                                               "quit 0\n");
    writeFile(clientDir.path() / "client.txt", clientTakesMap() +
                                                   "await pointer Raw kind 1\n"
                                                   "wait 300\n"
                                                   "screenshot before\n"
                                                   "await pointer Raw kind 0\n"
                                                   "wait 300\n"
                                                   "screenshot after\n"
                                                   "menu 500 400 Pointers/Draw Arrow\n" +
                                                   drag(400, 520, 480, 520) +
                                                   "await window closed imagewindow\n"
                                                   "quit 0\n");
    auto environment = [](const TempDir& dir) {
        return std::vector<std::string>{"LOREHAVEN_TRACE=" + (dir.path() / "trace.txt").string(),
                                        "LOREHAVEN_CONFIG_DIR=" + (dir.path() / "config").string()};
    };
    ChildProcess host(program(),
                      {"--workdir", hostDir.str(), "--host", "--campaign", "Saga", "--gm", "Keeper", "--user", "Boss",
                       "p" + std::to_string(port), "--script", (hostDir.path() / "host.txt").string()},
                      environment(hostDir));
    ASSERT_TRUE(waitForFile(hostTrace, " frame", host)) << host.errors() << readFile(hostTrace);
    ChildProcess client(program(),
                        {"--workdir", clientDir.str(), "--join", "127.0.0.1", "--user", "Ann",
                         "p" + std::to_string(port), "--script", (clientDir.path() / "client.txt").string()},
                        environment(clientDir));
    ASSERT_TRUE(waitForFile(hostTrace, "received IMGAR", host)) << host.errors() << readFile(hostTrace);
    {
        lh::test::RawPeer peer(port);
        peer.send("CONNQ", lh::test::connectBody("Raw", ""));
        std::string tag, body;
        while (tag != "CONNR") ASSERT_TRUE(peer.receive(tag, body)) << host.errors();
        // An arrow across the player's map, in the picture's coordinates:
        // from (400, 300) to (480, 300) on the screen.
        peer.send("PNTRQ", text("Raw") + kMap + number(1) + number(94 << 16 | 144) + number(94 << 16 | 224) +
                               number(255));
        // He leaves once the player has his arrow on the screen.
        ASSERT_TRUE(waitForFile(clientTrace, "screenshot before.png", client)) << client.errors()
                                                                              << readFile(clientTrace);
    }
    EXPECT_EQ(client.wait(180s), 0) << client.errors() << readFile(clientTrace);
    EXPECT_EQ(host.wait(60s), 0) << host.errors() << readFile(hostTrace);
    const std::string hostText = readFile(hostTrace), clientText = readFile(clientTrace);
    EXPECT_NE(hostText.find("pointer Raw left"), std::string::npos) << hostText;
    EXPECT_NE(clientText.find("pointer Raw kind 0"), std::string::npos) << clientText;

    // The red arrow stood on the player's map, and is gone from it.
    auto shot = [&](const char* name) {
        lh::ui::PixelImage picture;
        std::string png = readFile(clientDir.path() / (std::string(name) + ".png"));
        EXPECT_TRUE(lh::ui::decodePicture(png.data(), png.size(), picture)) << name;
        return picture;
    };
    auto before = shot("before"), after = shot("after");
    EXPECT_EQ(at(before, 440, 300), 0xFF0000u);
    EXPECT_NE(at(after, 440, 300), 0xFF0000u);
}

TEST(TokenProcess, TheHostTrustsNoForgedTokenOrPointerRequest) {
    TempDir dir;
    const uint16_t port = lh::test::freeTcpPort();
    const fs::path trace = dir.path() / "trace.txt";
    writeFile(dir.path() / "host.txt", kHostOpensMap + kHostOpensBag + drag(211, 132, 450, 350) +
                                           "await pointer Raw kind 1\n"  // the forger's last word
                                           "wait 300\n"
                                           "quit 0\n");
    ChildProcess host(program(),
                      {"--workdir", dir.str(), "--host", "--campaign", "Saga", "--gm", "Keeper", "--user", "Boss",
                       "p" + std::to_string(port), "--script", (dir.path() / "host.txt").string()},
                      {"LOREHAVEN_TRACE=" + trace.string(), "LOREHAVEN_CONFIG_DIR=" + (dir.path() / "config").string()});
    ASSERT_TRUE(waitForFile(trace, "token dropped imagewindow 00001 id 1", host)) << host.errors() << readFile(trace);
    lh::test::RawPeer peer(port);
    peer.send("CONNQ", lh::test::connectBody("Raw", ""));
    peer.send("IDENQ", std::string("Rogue") + '\0' + '\0');
    std::string tag, body;
    while (tag != "LGINR") ASSERT_TRUE(peer.receive(tag, body)) << host.errors();

    const std::string skeleton = text("data/tokens/monsters/skeleton.png");
    // A pointer in somebody else's name.
    peer.send("PNTRQ", text("Ann") + kMap + number(2) + number(0x00100010) + number(0x00400040) + number(255));
    // Pictures from outside the library's folders.
    peer.send("TOKAQ", text("../campaigns/Saga/db.xml") + kMap + number(0) + number(100) + number(100));
    peer.send("TOKAQ", text("/etc/passwd") + kMap + number(0) + number(100) + number(100));
    // An anchor far past the map's controls: the token stands on the window.
    peer.send("TOKAQ", skeleton + kMap + number(999) + number(120) + number(110));
    peer.send("TOKAQ", skeleton + kMap + number(0) + number(120) + number(110));
    // A move and a deletion of ids that do not exist; a move cut short;
    // then a turn of the host's token by a byte far out of 0..7.
    peer.send("TOKPQ", kMap + number(0) + number(10) + number(10) + std::string(1, '\0') + number(99));
    peer.send("TOKDQ", kMap + number(77));
    peer.send("TOKPQ", kMap + number(0) + number(10));
    peer.send("TOKOQ", kMap + number(1) + std::string(1, char(-123)));
    // His own pointer, which the host takes: the end of the forgeries.
    peer.send("PNTRQ", text("Raw") + kMap + number(1) + number(0x00100010) + number(0x00400040) + number(255));
    EXPECT_EQ(host.wait(120s), 0) << host.errors();
    const std::string lines = readFile(trace);
    const std::vector<TokenLine> h = tokenLines(lines);

    EXPECT_EQ(lines.find("pointer Ann"), std::string::npos) << lines;
    EXPECT_NE(lines.find("pointer Raw kind 1 on imagewindow 00001"), std::string::npos) << lines;
    // The unsafe names made nothing: the good drops got the next ids, 2
    // and 3, and the far anchor put its token where the window's own does.
    auto far = about(h, "TOKAQ", 2), own = about(h, "TOKAQ", 3);
    ASSERT_EQ(far.size(), 1u) << lines;
    ASSERT_EQ(own.size(), 1u) << lines;
    EXPECT_EQ(far[0].x, own[0].x);
    EXPECT_EQ(far[0].y, own[0].y);
    for (const TokenLine& t : h) EXPECT_TRUE(t.what != "TOKAQ" || t.id <= 3u) << t.id;
    // The unknown ids and the short body left the host's token where it
    // was (the short body reported in the chat); the turn wrapped into 0..7.
    auto dropped = about(h, "dropped", 1), turned = about(h, "TOKOQ", 1);
    ASSERT_EQ(dropped.size(), 1u) << lines;
    ASSERT_EQ(turned.size(), 1u) << lines;
    EXPECT_FALSE(turned[0].gone);
    EXPECT_EQ(turned[0].turned, 5);
    EXPECT_EQ(turned[0].x, dropped[0].x);
    EXPECT_EQ(turned[0].y, dropped[0].y);
    EXPECT_NE(lines.find("] Dropped a message TOKPQ from 'Raw'"), std::string::npos) << lines;
}
