// A host and a client as real processes in working directories of their
// own, driven by scripts: the client fetches the map, the host's mask
// hides it and a polygon reveals the same pixels on both screens, the
// client's stroke reaches the host with no double ink, the layer files
// come out byte-equal, the cursor shows the mode, and a second run of the
// client fetches nothing; a map of 16384 x 16384 opens on both; a map
// handed out before it is shown bears the availability icon on the host,
// where the players' view is drawn too.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "support/TestPictures.h"
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

// A map of 16384 x 16384 goes through memory several times on each side;
// on a machine shared with other builds that takes minutes, not seconds.
// Every wait below is for a line or an exit, so the bounds are only there
// for a program that hangs.
constexpr auto kPatience = 600s;

// Script steps in front of every script: the awaits get the same patience.
const std::string kDeadline = "deadline 600\n";

void waitUntilListening(const fs::path& hostTrace, ChildProcess& host) {
    ASSERT_TRUE(lh::test::waitForTracedLine(host, hostTrace, "frame", kPatience)) << host.errors();
}

lh::ui::PixelImage screenshot(const fs::path& file) {
    lh::ui::PixelImage picture;
    std::string png = readFile(file);
    EXPECT_TRUE(lh::ui::decodePicture(png.data(), png.size(), picture)) << file;
    return picture;
}

uint32_t at(const lh::ui::PixelImage& p, uint32_t x, uint32_t y) {
    return x < p.width && y < p.height ? p.pixels[size_t(y) * p.width + x] & 0xFFFFFF : 0xDEAD;
}

// The only file of a folder, or an empty path.
fs::path onlyFile(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) files.push_back(it->path());
    return files.size() == 1 ? files[0] : fs::path();
}

std::vector<std::string> hostArgs(const TempDir& dir, uint16_t port) {
    return {"--workdir", dir.str(), "--host", "--campaign", "Saga", "--gm", "Keeper", "--user", "Boss",
            "p" + std::to_string(port), "--script", (dir.path() / "host.txt").string()};
}

std::vector<std::string> clientArgs(const TempDir& dir, uint16_t port) {
    return {"--workdir", dir.str(), "--join", "127.0.0.1", "--user", "Ann", "p" + std::to_string(port),
            "--script", (dir.path() / "client.txt").string()};
}

// The host starts, the client joins once the host listens, and both play
// their scripts to the end; their traces go to "trace.txt" in their folders.
void runHostAndClient(const TempDir& hostDir, const TempDir& clientDir, uint16_t port) {
    fs::path hostTrace = hostDir.path() / "trace.txt", clientTrace = clientDir.path() / "trace.txt";
    ChildProcess host(program(), hostArgs(hostDir, port), {"LOREHAVEN_TRACE=" + hostTrace.string()});
    waitUntilListening(hostTrace, host);
    ChildProcess client(program(), clientArgs(clientDir, port), {"LOREHAVEN_TRACE=" + clientTrace.string()});
    EXPECT_EQ(client.wait(kPatience), 0) << client.errors() << readFile(clientTrace);
    EXPECT_EQ(host.wait(kPatience), 0) << host.errors() << readFile(hostTrace);
}

// The host's Campaign starts with this picture as its only map, the record
// image.00001, instead of the program's own maps.
bool givePicture(const TempDir& hostDir, const char* name, uint32_t w, uint32_t h,
                 const std::function<void(uint32_t y, uint32_t* argb)>& row) {
    fs::create_directories(hostDir.path() / "campaigns/Saga/images");
    return lh::test::writePngRows(hostDir.path() / "campaigns/Saga/images" / name, w, h, row);
}

// A layer's file, the only one of its folder, has the same bytes on both
// sides (and the same name for a mask, which the host names for all).
void expectSameLayerFile(const TempDir& hostDir, const TempDir& clientDir, const char* folder) {
    fs::path hostFile = onlyFile(hostDir.path() / "campaigns/Saga" / folder);
    fs::path clientFile = onlyFile(clientDir.path() / "campaigns/Saga" / folder);
    ASSERT_FALSE(hostFile.empty()) << folder;
    ASSERT_FALSE(clientFile.empty()) << folder;
    if (std::string(folder) == "maskedimages") {
        EXPECT_EQ(hostFile.filename(), clientFile.filename());
    }
    EXPECT_EQ(readFile(hostFile), readFile(clientFile)) << folder;
}

// The map window opens centred: its picture starts at (256, 206) of a
// 1024 x 768 client area, and the map's first button is on the panel at
// the right edge. The step after waits for the window.
const std::string kOpenMap = "click left 976 334\nawait window opened imagewindow\n";

// The host's last steps: the map closes for all, and the host stays until
// the player, who quits once his window closed, has left.
const std::string kCloseAndQuit = "menu 500 400 Close For All\nawait departed Ann\nquit 0\n";

}  // namespace

TEST(MapProcess, FetchMaskRevealDrawAndAgreeOnBothSides) {
    TempDir hostDir, clientDir;
    uint16_t port = lh::test::freeTcpPort();
    fs::path hostTrace = hostDir.path() / "trace.txt", clientTrace = clientDir.path() / "trace.txt";
    writeFile(hostDir.path() / "host.txt",
              kDeadline + "await received IDLSQ\n" + kOpenMap +
                  "menu 500 400 Share Sheet\n"
                  "await received IMGAR\n"
                  "menu 500 400 Layers/Enable Mask\n"
                  "await received IMSAQ\n"
                  // An outline in mask mode: the square 300..450 x 250..350.
                  "down left 300 250\n"
                  "move 340 250\nmove 400 250\nmove 450 250\nmove 450 300\nmove 450 350\n"
                  "move 400 350\nmove 300 350\nmove 300 300\n"
                  "up left 300 300\n"
                  "await received DRSTQ\n"
                  "screenshot host\n" +
                  kCloseAndQuit);
    // The player first takes a character of his own: the Desktop waits on
    // that choice before the map takes any input.
    writeFile(clientDir.path() / "client.txt",
              kDeadline + lh::test::newCharacterSteps("Ann") +
              "await map image.00001.image arrived\n"
              "await map image.00001.image polygon\n"
              "menu 500 400 Enter Drawing Mode\n"
              "down left 280 500\n"
              "move 320 505\nmove 400 510\nmove 500 520\nmove 600 530\n"
              "up left 600 530\n"
              "screenshot client\n"
              "await window closed imagewindow\n"
              "quit 0\n");
    runHostAndClient(hostDir, clientDir, port);

    // The picture came over and bears the host's time.
    fs::path hostMap = hostDir.path() / "campaigns/Saga/images/dungeon.png";
    fs::path clientMap = clientDir.path() / "campaigns/Saga/images/dungeon.png";
    ASSERT_TRUE(fs::exists(clientMap));
    EXPECT_EQ(readFile(hostMap), readFile(clientMap));
    auto apart = fs::last_write_time(hostMap) - fs::last_write_time(clientMap);
    EXPECT_LT(std::chrono::abs(apart), 1ms);  // a file time keeps 100 ns

    // Revealed, the map is the same on both screens; hidden, the host
    // sees it darkly and the player not at all; the ink is on both.
    auto h = screenshot(hostDir.path() / "host.png"), c = screenshot(clientDir.path() / "client.png");
    for (auto [x, y] : {std::pair{330u, 280u}, {400u, 300u}, {440u, 340u}}) EXPECT_EQ(at(h, x, y), at(c, x, y));
    EXPECT_NE(at(h, 600, 300), at(c, 600, 300));
    EXPECT_EQ(at(h, 400, 510), at(c, 400, 510));
    EXPECT_LT(at(c, 400, 510) & 0xFF, 0x40u);  // black ink

    // The layers were saved at the last close: the same bytes on both.
    expectSameLayerFile(hostDir, clientDir, "maskedimages");
    expectSameLayerFile(hostDir, clientDir, "drawings");
    // The snapshot the client read is gone from "temp".
    EXPECT_TRUE(fs::is_empty(hostDir.path() / "temp"));
    // Over the map the cursor tells the mode: the outline of mask mode on
    // the host, the pen of drawing mode on the player's side.
    EXPECT_NE(readFile(hostTrace).find(" cursor 165\n"), std::string::npos);
    EXPECT_NE(readFile(clientTrace).find(" cursor 163\n"), std::string::npos);
}

TEST(MapProcess, ALateClientGetsSnapshotsAndAKnownFileIsNotFetchedAgain) {
    TempDir hostDir, clientDir;
    uint16_t port = lh::test::freeTcpPort();
    fs::path hostTrace = hostDir.path() / "trace.txt";
    std::string outline = "down left 300 250\nmove 340 250\nmove 380 250\nmove 380 300\nmove 300 300\nup left 300 300\n";
    writeFile(hostDir.path() / "host.txt",
              kDeadline + kOpenMap +
                  "menu 500 400 Layers/Enable Mask\n" +
                  // Three polygons and a stroke before anybody is there.
                  outline + "wait 100\n" +
                  "down left 500 250\nmove 560 250\nmove 560 320\nmove 500 320\nup left 500 320\nwait 100\n"
                  "down left 300 400\nmove 360 400\nmove 330 460\nup left 330 460\nwait 100\n"
                  "menu 500 400 Layers/Exit Mask Mode\n"
                  "menu 500 400 Enter Drawing Mode\n"
                  "down left 280 540\nmove 400 545\nmove 600 550\nup left 600 550\n"
                  "await received IDLSQ\n"
                  "menu 500 400 Share Sheet\n"
                  "await received IMSAQ\n"
                  "await received IMSAQ\n"
                  "menu 500 400 Layers/Erase Drawing Layer\n"
                  "menu 500 400 Close For All\n"
                  "await departed Ann\n"
                  // The client comes back; the map opens again without its ink.
                  "await received IDLSQ\n" +
                  kOpenMap +
                  "menu 500 400 Share Sheet\n"
                  "await received IMGAR\n"
                  "screenshot host\n" +
                  kCloseAndQuit);
    writeFile(clientDir.path() / "client.txt", kDeadline + "await window closed imagewindow\nquit 0\n");
    ChildProcess host(program(), hostArgs(hostDir, port), {"LOREHAVEN_TRACE=" + hostTrace.string()});
    waitUntilListening(hostTrace, host);
    ASSERT_TRUE(lh::test::waitForTracedLine(host, hostTrace, "window opened imagewindow 00001", kPatience))
        << host.errors();
    std::vector<std::string> join = clientArgs(clientDir, port);
    for (const char* run : {"first.txt", "second.txt"}) {
        fs::path trace = clientDir.path() / run;
        ChildProcess client(program(), join, {"LOREHAVEN_TRACE=" + trace.string()});
        EXPECT_EQ(client.wait(kPatience), 0) << client.errors() << readFile(trace);
    }
    EXPECT_EQ(host.wait(kPatience), 0) << host.errors() << readFile(hostTrace);

    // The first run got the three polygons and the ink by snapshot, not as
    // messages, and the erase as a message.
    std::string first = readFile(clientDir.path() / "first.txt");
    EXPECT_NE(first.find("map image.00001.image fetch"), std::string::npos);
    EXPECT_NE(first.find("map image.00001.image snapshot mask"), std::string::npos);
    EXPECT_NE(first.find("map image.00001.image snapshot drawing"), std::string::npos);
    EXPECT_EQ(first.find("map image.00001.image polygon"), std::string::npos);
    EXPECT_NE(first.find("map image.00001.image erased"), std::string::npos);
    // The second run had the file: same size and time, nothing fetched.
    std::string second = readFile(clientDir.path() / "second.txt");
    EXPECT_NE(second.find("map image.00001.image same"), std::string::npos);
    EXPECT_EQ(second.find("map image.00001.image fetch"), std::string::npos);

    // Snapshots are gone once read; the erased drawing stayed erased on
    // the host and has no file on either side.
    EXPECT_TRUE(fs::is_empty(hostDir.path() / "temp"));
    std::error_code ec;
    EXPECT_TRUE(!fs::exists(hostDir.path() / "campaigns/Saga/drawings") ||
                fs::is_empty(hostDir.path() / "campaigns/Saga/drawings", ec));
    EXPECT_TRUE(!fs::exists(clientDir.path() / "campaigns/Saga/drawings") ||
                fs::is_empty(clientDir.path() / "campaigns/Saga/drawings", ec));
    auto h = screenshot(hostDir.path() / "host.png");
    EXPECT_GT(at(h, 400, 545) & 0xFF, 0x40u);  // no ink where the stroke was
}

// A map of 16384 x 16384, beyond any texture: flat but for a pattern in
// the corner that the window shows. Both sides open it, the host's mask
// blanks it for the player, and what the host reveals and draws comes out
// the same on both screens; the player's ink reaches the host.
TEST(MapProcess, AMapOf16384SquareOpensOnBothSidesAndAgrees) {
    TempDir hostDir, clientDir;
    uint16_t port = lh::test::freeTcpPort();
    ASSERT_TRUE(givePicture(hostDir, "huge.png", 16384, 16384, [](uint32_t y, uint32_t* argb) {
        std::fill_n(argb, 16384, 0xFF4A6B3Cu);
        for (uint32_t x = 0; x < 2048 && y < 2048; ++x)
            argb[x] = 0xFF000000u | ((x >> 4) * 37 & 0xFF) << 16 | ((y >> 4) * 91 & 0xFF) << 8 | 0x80;
    }));
    writeFile(hostDir.path() / "host.txt",
              kDeadline + "await received IDLSQ\n" + kOpenMap +
                  "menu 500 400 Share Sheet\n"
                  "await received IMGAR\n"
                  "menu 500 400 Layers/Enable Mask\n"
                  "await received IMSAQ\n"
                  "down left 300 250\nmove 450 250\nmove 450 350\nmove 300 350\nup left 300 300\n"
                  "menu 500 400 Layers/Exit Mask Mode\n"
                  "menu 500 400 Enter Drawing Mode\n"
                  "down left 320 300\nmove 420 320\nup left 420 320\n"
                  "await received DRSTQ\n"
                  "screenshot host\n" +
                  kCloseAndQuit);
    writeFile(clientDir.path() / "client.txt",
              kDeadline + lh::test::newCharacterSteps("Ann") +
                  "await map image.00001.image arrived\n"
                  "await map image.00001.image polygon\n"
                  "await map image.00001.image stroke\n"
                  "screenshot client\n"
                  "menu 500 400 Enter Drawing Mode\n"
                  "down left 300 500\nmove 500 520\nup left 500 520\n"
                  "await window closed imagewindow\n"
                  "quit 0\n");
    runHostAndClient(hostDir, clientDir, port);

    EXPECT_EQ(fs::file_size(clientDir.path() / "campaigns/Saga/images/huge.png"),
              fs::file_size(hostDir.path() / "campaigns/Saga/images/huge.png"));
    auto h = screenshot(hostDir.path() / "host.png"), c = screenshot(clientDir.path() / "client.png");
    // Revealed and inked alike; hidden from the player only.
    for (auto [x, y] : {std::pair{310u, 260u}, {400u, 300u}, {440u, 340u}, {370u, 310u}})
        EXPECT_EQ(at(h, x, y), at(c, x, y)) << x << "," << y;
    EXPECT_NE(at(h, 600, 300), at(c, 600, 300));
    EXPECT_LT(at(c, 370, 310) & 0xFF, 0x40u);  // the host's ink
    EXPECT_NE(at(h, 400, 510), at(h, 400, 540));  // the player's ink on the host, over the hidden part
    // Both sides saved layers of the map's size at the last close.
    expectSameLayerFile(hostDir, clientDir, "maskedimages");
    expectSameLayerFile(hostDir, clientDir, "drawings");
}

namespace {

// A checkerboard of 64-pixel squares in two greens: any pixel's colour is
// known, so a probe can tell the players' view lines from the picture.
constexpr uint32_t kEven = 0xFF3C8A4Au, kOdd = 0xFF70C080u;
uint32_t checker(int32_t x, int32_t y) { return ((x >> 6) + (y >> 6)) % 2 ? kOdd : kEven; }

// Each channel of `dark` at most 80 % of the same channel of `light`.
bool darker(uint32_t dark, uint32_t light) {
    for (int shift = 0; shift < 24; shift += 8)
        if (((dark >> shift) & 0xFF) * 5 > ((light >> shift) & 0xFF) * 4) return false;
    return true;
}

// Pixels that differ between two screenshots inside a box.
int differing(const lh::ui::PixelImage& a, const lh::ui::PixelImage& b, uint32_t l, uint32_t t, uint32_t r, uint32_t bottom) {
    int n = 0;
    for (uint32_t y = t; y < bottom; ++y)
        for (uint32_t x = l; x < r; ++x) n += at(a, x, y) != at(b, x, y);
    return n;
}

}  // namespace

// "Preload Image" hands the picture to a player who has no window of it
// yet; once he reports it the host's map shows the availability icon. The
// shared view is drawn on the host's map as lines that move with the
// picture when the host pans, stay where they are whatever the player does
// with his own view, and "Go To Player View" brings the host back to it.
TEST(MapProcess, APreloadedMapIsAvailableAndTheHostSeesThePlayersView) {
    TempDir hostDir, clientDir;
    uint16_t port = lh::test::freeTcpPort();
    ASSERT_TRUE(givePicture(hostDir, "board.png", 1200, 900, [](uint32_t y, uint32_t* argb) {
        for (uint32_t x = 0; x < 1200; ++x) argb[x] = checker(int32_t(x), int32_t(y));
    }));
    writeFile(hostDir.path() / "host.txt",
              kDeadline + "await received IDLSQ\n" + kOpenMap +
                  "screenshot alone\n"
                  "menu 500 400 Preload Image\n"
                  "await received IMGAR\n"
                  "screenshot preloaded\n"
                  "menu 500 400 Share Sheet\n"
                  "await departed Ann\n"
                  "screenshot shared\n"
                  // The host pans by (-100, -60).
                  "down middle 500 400\nmove 450 370\nmove 400 340\nup middle 400 340\n"
                  "screenshot panned\n"
                  "menu 500 400 Layers/Go To Player View\n"
                  "screenshot back\n"
                  "quit 0\n");
    // The player pans his view, which snaps back, and sizes his window.
    writeFile(clientDir.path() / "client.txt",
              kDeadline + lh::test::newCharacterSteps("Ann") +
                  "await map image.00001.image arrived\n"
                  "await window opened imagewindow\n"
                  "screenshot before\n"
                  "down middle 500 400\nmove 450 370\nmove 400 340\n"
                  "screenshot during\n"
                  "up middle 400 340\n"
                  "screenshot after\n"
                  "resize 1100 820\n"
                  "await desktop sized 1100 820\n"
                  "quit 0\n");
    runHostAndClient(hostDir, clientDir, port);

    // The picture came before the window, and only once.
    std::string trace = readFile(clientDir.path() / "trace.txt");
    size_t fetch = trace.find("map image.00001.image fetch"), arrived = trace.find("map image.00001.image arrived");
    size_t opened = trace.find("window opened imagewindow");
    ASSERT_NE(opened, std::string::npos);
    EXPECT_LT(fetch, arrived);
    EXPECT_LT(arrived, opened);
    EXPECT_EQ(trace.find("map image.00001.image fetch", fetch + 1), std::string::npos);

    auto alone = screenshot(hostDir.path() / "alone.png"), preloaded = screenshot(hostDir.path() / "preloaded.png");
    // The map's control spans (256, 206) to (768, 590): the icon stands in
    // its bottom right corner, and nothing else changed.
    EXPECT_GT(differing(alone, preloaded, 700, 530, 768, 590), 50);
    EXPECT_EQ(differing(alone, preloaded, 256, 206, 700, 530), 0);
    EXPECT_EQ(at(alone, 300, 300), checker(300 - 256, 300 - 206) & 0xFFFFFF);

    // The player's pan moved his picture and snapped back.
    auto before = screenshot(clientDir.path() / "before.png"), during = screenshot(clientDir.path() / "during.png");
    auto after = screenshot(clientDir.path() / "after.png");
    EXPECT_GT(differing(before, during, 256, 206, 768, 590), 1000);
    EXPECT_EQ(differing(before, after, 256, 206, 768, 590), 0);

    // On the host the view's left and top sides lie on the control's edges,
    // darker than the same pixels on the player's screen (its right and
    // bottom sides lie just past the control, where they are not drawn);
    // inside, the two screens agree.
    auto shared = screenshot(hostDir.path() / "shared.png");
    EXPECT_TRUE(darker(at(shared, 257, 400), at(before, 257, 400)));
    EXPECT_TRUE(darker(at(shared, 500, 207), at(before, 500, 207)));
    EXPECT_EQ(at(shared, 400, 400), at(before, 400, 400));
    // Panned by (-100, -60), the lines went with the picture: the right side
    // now runs at x 668 and the bottom at y 530, the others left the control.
    auto panned = screenshot(hostDir.path() / "panned.png");
    EXPECT_EQ(at(panned, 680, 300), checker(680 - 156, 300 - 146) & 0xFFFFFF);
    EXPECT_TRUE(darker(at(panned, 668, 300), checker(668 - 156, 300 - 146)));
    EXPECT_TRUE(darker(at(panned, 400, 530), checker(400 - 156, 530 - 146)));
    EXPECT_EQ(at(panned, 257, 400), checker(257 - 156, 400 - 146) & 0xFFFFFF);
    // And back where the players were shown it.
    auto back = screenshot(hostDir.path() / "back.png");
    EXPECT_EQ(differing(shared, back, 256, 206, 768, 590), 0);
}
