// A host and a client as real processes in working directories of their
// own, driven by scripts: the client fetches the map, the host's mask
// hides it and a polygon reveals the same pixels on both screens, the
// client's stroke reaches the host with no double ink, the layer files
// come out byte-equal, the cursor shows the mode, and a second run of the
// client fetches nothing.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

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

bool waitForFile(const fs::path& file, const std::string& text, ChildProcess& process,
                 std::chrono::milliseconds timeout = 120s) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        if (fs::exists(file) && readFile(file).find(text) != std::string::npos) return true;
        if (!process.running()) return fs::exists(file) && readFile(file).find(text) != std::string::npos;
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

void waitUntilListening(const fs::path& hostTrace, ChildProcess& host) {
    ASSERT_TRUE(waitForFile(hostTrace, " frame", host)) << host.errors();
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

// The map window opens centred: its picture starts at (256, 206) of a
// 1024 x 768 client area, and the map's first button is on the panel at
// the right edge.
const char* kOpenMap = "click left 976 334\n";

}  // namespace

TEST(MapProcess, FetchMaskRevealDrawAndAgreeOnBothSides) {
    TempDir hostDir, clientDir;
    uint16_t port = lh::test::freeTcpPort();
    fs::path hostTrace = hostDir.path() / "trace.txt", clientTrace = clientDir.path() / "trace.txt";
    writeFile(hostDir.path() / "host.txt",
              std::string("await received IDLSQ\n") + kOpenMap +
                  "wait 300\n"
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
                  "wait 300\n"
                  "screenshot host\n"
                  "menu 500 400 Close For All\n"
                  "wait 2000\n"
                  "quit 0\n");
    // The player first takes a character of his own: the Desktop waits on
    // that choice before the map takes any input.
    writeFile(clientDir.path() / "client.txt",
              lh::test::newCharacterSteps("Ann") +
              "await map image.00001.image arrived\n"
              "await map image.00001.image polygon\n"
              "wait 300\n"
              "menu 500 400 Enter Drawing Mode\n"
              "down left 280 500\n"
              "move 320 505\nmove 400 510\nmove 500 520\nmove 600 530\n"
              "up left 600 530\n"
              "wait 300\n"
              "screenshot client\n"
              "await window closed imagewindow\n"
              "quit 0\n");
    ChildProcess host(program(),
                      {"--workdir", hostDir.str(), "--host", "--campaign", "Saga", "--gm", "Keeper", "--user", "Boss",
                       "p" + std::to_string(port), "--script", (hostDir.path() / "host.txt").string()},
                      {"LOREHAVEN_TRACE=" + hostTrace.string()});
    waitUntilListening(hostTrace, host);
    ChildProcess client(program(),
                        {"--workdir", clientDir.str(), "--join", "127.0.0.1", "--user", "Ann",
                         "p" + std::to_string(port), "--script", (clientDir.path() / "client.txt").string()},
                        {"LOREHAVEN_TRACE=" + clientTrace.string()});
    EXPECT_EQ(client.wait(180s), 0) << client.errors() << readFile(clientTrace);
    EXPECT_EQ(host.wait(60s), 0) << host.errors() << readFile(hostTrace);

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
    fs::path hostMask = onlyFile(hostDir.path() / "campaigns/Saga/maskedimages");
    fs::path clientMask = onlyFile(clientDir.path() / "campaigns/Saga/maskedimages");
    ASSERT_FALSE(hostMask.empty());
    ASSERT_FALSE(clientMask.empty());
    EXPECT_EQ(hostMask.filename(), clientMask.filename());
    EXPECT_EQ(readFile(hostMask), readFile(clientMask));
    fs::path hostDrawing = onlyFile(hostDir.path() / "campaigns/Saga/drawings");
    fs::path clientDrawing = onlyFile(clientDir.path() / "campaigns/Saga/drawings");
    ASSERT_FALSE(hostDrawing.empty());
    ASSERT_FALSE(clientDrawing.empty());
    EXPECT_EQ(readFile(hostDrawing), readFile(clientDrawing));
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
              std::string(kOpenMap) +
                  "wait 300\n"
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
                  "wait 500\n"
                  "menu 500 400 Close For All\n"
                  // The client comes back; the map opens again without its ink.
                  "await received IDLSQ\n" +
                  kOpenMap +
                  "wait 300\n"
                  "menu 500 400 Share Sheet\n"
                  "await received IMGAR\n"
                  "screenshot host\n"
                  "menu 500 400 Close For All\n"
                  "wait 2000\n"
                  "quit 0\n");
    writeFile(clientDir.path() / "client.txt", "await window closed imagewindow\nquit 0\n");
    ChildProcess host(program(),
                      {"--workdir", hostDir.str(), "--host", "--campaign", "Saga", "--gm", "Keeper", "--user", "Boss",
                       "p" + std::to_string(port), "--script", (hostDir.path() / "host.txt").string()},
                      {"LOREHAVEN_TRACE=" + hostTrace.string()});
    waitUntilListening(hostTrace, host);
    ASSERT_TRUE(waitForFile(hostTrace, "window opened imagewindow", host)) << host.errors();
    std::vector<std::string> join = {"--workdir", clientDir.str(), "--join", "127.0.0.1", "--user", "Ann",
                                     "p" + std::to_string(port), "--script",
                                     (clientDir.path() / "client.txt").string()};
    for (const char* run : {"first.txt", "second.txt"}) {
        fs::path trace = clientDir.path() / run;
        ChildProcess client(program(), join, {"LOREHAVEN_TRACE=" + trace.string()});
        EXPECT_EQ(client.wait(180s), 0) << client.errors() << readFile(trace);
    }
    EXPECT_EQ(host.wait(60s), 0) << host.errors() << readFile(hostTrace);

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
