// Tokens between a host and a client as real processes, driven by scripts
// and read back from their traces: tokens dragged out of the bag onto a
// shared map stand at the same place on both screens (the player's only
// after the host's answer), a free token moved by the player moves on the
// host, a locked one only shows his proposal until the Gamemaster accepts
// it, and a token dragged off the map is gone for both.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "support/TestSupport.h"

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
// on the Desktop, whether it is locked and its proposal.
struct TokenLine {
    std::string what;
    unsigned id = 0;
    bool gone = false;
    int x = 0, y = 0, locked = 0, px = 0, py = 0;
};

std::vector<TokenLine> tokenLines(const std::string& trace) {
    std::vector<TokenLine> lines;
    static const std::regex at(R"(token (\w+) imagewindow \S* id (\d+) at (-?\d+) (-?\d+) locked (\d) pending (-?\d+) (-?\d+))");
    static const std::regex gone(R"(token ([\w ]+?) imagewindow \S* id (\d+) gone)");
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
        } else if (std::regex_search(line, m, gone)) {
            t.what = m[1];
            t.id = unsigned(std::stoul(m[2]));
            t.gone = true;
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

}  // namespace

TEST(TokenProcess, DropMoveProposeAcceptAndDragOffAgreeOnBothSides) {
    TempDir hostDir, clientDir;
    uint16_t port = lh::test::freeTcpPort();
    fs::path hostTrace = hostDir.path() / "trace.txt", clientTrace = clientDir.path() / "trace.txt";
    writeFile(hostDir.path() / "host.txt",
              "await received IDLSQ\n"
              "click left 976 334\n"  // the first map
              "wait 300\n"
              "menu 500 400 Share Sheet\n"
              "await received IMGAR\n"
              "click left 976 474\n"  // the token bag
              "await window opened tokenbag\n" +
                  drag(211, 132, 450, 350) +
                  "await token TOKAQ\n"  // the player's drop
                  "await token TOKPQ\n"  // the player moves the free token
                  "menu 510 390 Lock Tokens\n"
                  "await token TOKPQ\n"  // now he can only propose
                  "menu 510 390 Accept Move\n"
                  "wait 300\n" +
                  drag(600, 450, 880, 700) +  // the player's token off the map
                  "wait 300\n"
                  "menu 500 450 Close For All\n"
                  "wait 2000\n"
                  "quit 0\n");
    writeFile(clientDir.path() / "client.txt",
              lh::test::newCharacterSteps("Ann") +
              "await map image.00001.image arrived\n"
              "click left 976 264\n"  // the token bag
              "await window opened tokenbag\n"
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
                  "await window closed imagewindow\n"
                  "quit 0\n");
    ChildProcess host(program(),
                      {"--workdir", hostDir.str(), "--host", "--campaign", "Saga", "--gm", "Keeper", "--user", "Boss",
                       "p" + std::to_string(port), "--script", (hostDir.path() / "host.txt").string()},
                      {"LOREHAVEN_TRACE=" + hostTrace.string()});
    ASSERT_TRUE(waitForFile(hostTrace, " frame", host)) << host.errors();
    ChildProcess client(program(),
                        {"--workdir", clientDir.str(), "--join", "127.0.0.1", "--user", "Ann",
                         "p" + std::to_string(port), "--script", (clientDir.path() / "client.txt").string()},
                        {"LOREHAVEN_TRACE=" + clientTrace.string()});
    EXPECT_EQ(client.wait(180s), 0) << client.errors() << readFile(clientTrace);
    EXPECT_EQ(host.wait(60s), 0) << host.errors() << readFile(hostTrace);

    const std::string hostText = readFile(hostTrace), clientText = readFile(clientTrace);
    ASSERT_NE(hostText.find(kBagTop), std::string::npos) << "the bag's heap changed: the scripts grab elsewhere";
    ASSERT_NE(clientText.find(kBagTop), std::string::npos);
    auto h = tokenLines(hostText), c = tokenLines(clientText);

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
    EXPECT_LT(asked, clientText.find("token TOKAR imagewindow image.00001 id 2"));
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
}
