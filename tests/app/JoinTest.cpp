// Host and clients as real processes on loopback: logins, the name and
// password rules, the version check, departures and lost connections; and a
// peer that speaks only the protocol, by hand, down to its character's record.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/RawPeer.h"
#include "support/StalledFetcher.h"
#include "support/TestSupport.h"

using lh::test::ChildProcess;
using lh::test::connectBody;
using lh::test::RawPeer;
using lh::test::TempDir;
using namespace std::chrono_literals;

namespace {

std::string program() { return lh::test::builtProgram("lorehaven"); }

bool waitForText(ChildProcess& child, const std::string& text, std::chrono::milliseconds timeout = 30s) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        if (child.errors().find(text) != std::string::npos) return true;
        std::this_thread::sleep_for(20ms);
    }
    return false;
}


std::vector<std::string> hostArgs(const TempDir& dir, uint16_t port, const char* password = nullptr) {
    std::vector<std::string> a = {"--workdir", dir.str(), "--host", "--campaign", "Saga", "--gm", "Keeper",
                                  "--user", "Boss", "p" + std::to_string(port)};
    if (password) {
        a.push_back("--password");
        a.push_back(password);
    }
    return a;
}

std::vector<std::string> clientArgs(const TempDir& dir, uint16_t port, const std::string& user,
                                    const char* identity = nullptr) {
    std::vector<std::string> a = {"--workdir", dir.str(), "--join", "127.0.0.1", "--user", user,
                                  "p" + std::to_string(port)};
    if (identity) {
        a.push_back("--identity");
        a.push_back(identity);
    }
    return a;
}

void waitUntilListening(uint16_t port) { RawPeer probe(port); }

}  // namespace

TEST(Join, ClientsJoinLeaveAndLoseTheirHost) {
    TempDir h, a, b, c;
    uint16_t port = lh::test::freeTcpPort();
    ChildProcess host(program(), hostArgs(h, port));
    waitUntilListening(port);

    ChildProcess ann(program(), clientArgs(a, port, "Ann", "Hero"));
    ChildProcess bo(program(), clientArgs(b, port, "Bo"));
    ASSERT_TRUE(waitForText(host, "'Ann' connected")) << host.errors();
    ASSERT_TRUE(waitForText(host, "'Bo' connected")) << host.errors();
    ASSERT_TRUE(waitForText(host, "'Ann' identified as 'Hero'")) << host.errors();
    ASSERT_TRUE(waitForText(ann, "Identity accepted.")) << ann.errors();
    // The client made its Campaign folder from the login answer.
    EXPECT_TRUE(std::filesystem::exists(a.path() / "campaigns/Saga/clientsession.xml"));

    // A client killed outright leaves, and the host serves the others on.
    ann.signal(SIGKILL);
    ASSERT_TRUE(waitForText(host, "'Ann' disconnected")) << host.errors();
    ASSERT_TRUE(waitForText(bo, "'Hero' disconnected")) << bo.errors();
    ChildProcess cy(program(), clientArgs(c, port, "Cy"));
    ASSERT_TRUE(waitForText(host, "'Cy' connected")) << host.errors();

    // A host that goes away ends every client with the box and -1.
    host.signal(SIGKILL);
    EXPECT_EQ(bo.wait(30s), 255);
    EXPECT_EQ(cy.wait(30s), 255);
    EXPECT_NE(bo.errors().find("Network error: The connection to the host was lost. Restart to reconnect."),
              std::string::npos)
        << bo.errors();
}

TEST(Join, NamesPasswordsAndVersionsGetTheirResults) {
    TempDir h, a, b, c, d;
    uint16_t port = lh::test::freeTcpPort();
    ChildProcess host(program(), hostArgs(h, port, "secret"));
    waitUntilListening(port);

    ChildProcess ann(program(), clientArgs(a, port, "Ann"));
    // No password: the host asks for one; giving up is "no connection".
    ASSERT_TRUE(waitForText(ann, "password protected")) << ann.errors();
    ann.signal(SIGTERM);
    EXPECT_EQ(ann.wait(30s), 255);
    EXPECT_NE(ann.errors().find("Network Error: Could not connect to the host. Check the address and try again."),
              std::string::npos);

    std::vector<std::string> withPassword = clientArgs(b, port, "Bo");
    withPassword.insert(withPassword.end(), {"--password", "secret"});
    ChildProcess bo(program(), withPassword);
    ASSERT_TRUE(waitForText(host, "'Bo' connected")) << host.errors();

    // Bo's name again, and the Gamemaster's user name: both are in use.
    std::vector<std::string> again = clientArgs(c, port, "Bo");
    again.insert(again.end(), {"--password", "secret"});
    ChildProcess twin(program(), again);
    EXPECT_EQ(twin.wait(30s), 255);
    EXPECT_NE(twin.errors().find("Error: User name already in use. You must restart and choose another user name."),
              std::string::npos);
    ChildProcess boss(program(), clientArgs(d, port, "Boss"));  // taken beats a wrong password
    EXPECT_EQ(boss.wait(30s), 255);
    EXPECT_NE(boss.errors().find("User name already in use"), std::string::npos);
    EXPECT_TRUE(bo.running());
}

TEST(Join, AnOlderHostGetsTheVersionBox) {
    TempDir a;
    int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    socklen_t len = sizeof addr;
    getsockname(listener, reinterpret_cast<sockaddr*>(&addr), &len);
    listen(listener, 1);
    uint16_t port = ntohs(addr.sin_port);

    ChildProcess ann(program(), clientArgs(a, port, "Ann"));
    pollfd p{listener, POLLIN, 0};
    ASSERT_GT(poll(&p, 1, 30000), 0);
    RawPeer host = RawPeer::adopt(accept(listener, nullptr, nullptr));
    std::string tag, body;
    ASSERT_TRUE(host.receive(tag, body));
    EXPECT_EQ(tag, "CONNQ");
    EXPECT_EQ(body, connectBody("Ann", ""));  // the first try has an empty password
    host.send("CONNR", std::string("\x01\x02\x00", 3) + "Saga" + '\0' + '\0' + "Core" + '\0');
    EXPECT_EQ(ann.wait(30s), 255);
    EXPECT_NE(ann.errors().find("Application version error: The host is running version 1.02 of the software.\n"
                                "The local version is 1.03.\nPlease update to the latest version."),
              std::string::npos)
        << ann.errors();
    EXPECT_NE(ann.errors().find("Could not connect to the host."), std::string::npos);
    close(listener);
}

TEST(Join, APeerThatSpeaksOnlyTheProtocol) {
    TempDir h;
    uint16_t port = lh::test::freeTcpPort();
    ChildProcess host(program(), hostArgs(h, port));
    {
        // A malformed login is dropped and that peer closed; the host goes on.
        RawPeer garbage(port);
        garbage.send("CONNQ", "\x01\x02");
        std::string tag, body;
        EXPECT_FALSE(garbage.receive(tag, body));
    }
    RawPeer peer(port);
    peer.send("CONNQ", connectBody("Raw", ""));
    std::string tag, body;
    ASSERT_TRUE(peer.receive(tag, body));
    EXPECT_EQ(tag, "CONNR");
    EXPECT_EQ(body, std::string("\x01\x03\x00", 3) + "Saga" + '\0' + '\0' + "Lorehaven" + '\0');
    peer.send("IDLSQ", "");
    // A name that could not be a record key or a file name is refused as
    // one in use is, so that the player may choose again.
    for (const char* unsafe : {"..", "Sir.Bob", "a\\b", "a/b", "b\x01"}) {
        peer.send("IDENQ", std::string(unsafe) + '\0' + '\x00');
        ASSERT_TRUE(peer.receive(tag, body));
        EXPECT_EQ(tag, "IDENR");
        EXPECT_EQ(body, std::string(1, '\x01')) << unsafe;
    }
    peer.send("IDENQ", std::string("Rogue") + '\0' + '\x00');
    ASSERT_TRUE(peer.receive(tag, body));
    EXPECT_EQ(tag, "IDENR");
    EXPECT_EQ(body, std::string(1, '\0'));
    ASSERT_TRUE(peer.receive(tag, body));
    EXPECT_EQ(tag, "LGINR");
    EXPECT_EQ(body, std::string("Rogue") + '\0' + "Raw" + '\0' + '\0');
    // Its character's record follows, owned by it: path, kind 0, isOwner 1.
    ASSERT_TRUE(peer.receive(tag, body));
    EXPECT_EQ(tag, "DATAR");
    EXPECT_EQ(body, std::string("charsheet.Rogue") + '\0' + '\0' + '\x01');
    EXPECT_TRUE(waitForText(host, "'Raw' identified as 'Rogue'")) << host.errors();
    EXPECT_NE(host.errors().find("Dropped a message CONNQ"), std::string::npos) << host.errors();
}

TEST(Join, FiftyStalledFetchersDoNotKeepAPlayerOut) {
    TempDir h;
    lh::test::writeFile(h.path() / "rulesets/Extra/big.bin", std::string(16u << 20, 'b'));
    lh::test::writeFile(h.path() / "rulesets/Extra/notes.txt", "read me");
    uint16_t port = lh::test::freeTcpPort();
    ChildProcess host(program(), hostArgs(h, port));
    waitUntilListening(port);

    // From another address: each asks for the big file and reads nothing.
    std::vector<std::unique_ptr<lh::test::StalledFetcher>> stalled;
    auto replies = [&](const std::string& status) {
        int n = 0;
        for (auto& s : stalled) n += s->replyStart(status.size()) == status;
        return n;
    };
    auto deadline = std::chrono::steady_clock::now() + 30s;
    while (replies("HTTP/1.1 ") < 50 && std::chrono::steady_clock::now() < deadline) {
        if (stalled.size() < 50) {
            stalled.push_back(std::make_unique<lh::test::StalledFetcher>(0x7F000002, port, "rulesets\\Extra\\big.bin"));
        }
        for (auto& s : stalled) s->step();
        std::this_thread::sleep_for(5ms);
    }
    ASSERT_EQ(replies("HTTP/1.1 "), 50) << host.errors();
    EXPECT_EQ(replies("HTTP/1.1 503"), 42);

    // A player logs in, is answered, and fetches a file.
    RawPeer peer(port);
    peer.send("CONNQ", connectBody("Raw", ""));
    std::string tag, body;
    ASSERT_TRUE(peer.receive(tag, body));
    EXPECT_EQ(tag, "CONNR");
    peer.send("IDENQ", std::string("Rogue") + '\0' + '\x00');
    ASSERT_TRUE(peer.receive(tag, body));
    EXPECT_EQ(tag, "IDENR");
    EXPECT_EQ(body, std::string(1, '\0'));
    RawPeer fetch(port);
    std::string request = std::string("\xFF\xFF\xFF\xFF" "FILEX", 9) + "GET /rulesets\\Extra\\notes.txt HTTP/1.0\r\n\r\n";
    ASSERT_EQ(::send(fetch.fd, request.data(), request.size(), MSG_NOSIGNAL), ssize_t(request.size()));
    std::string reply;
    fetch.readExact(reply, 4096);  // to the end of the stream
    EXPECT_EQ(reply.substr(0, 15), "HTTP/1.1 200 OK");
    EXPECT_EQ(reply.substr(reply.size() - 7), "read me");
    EXPECT_TRUE(waitForText(host, "'Raw' identified as 'Rogue'")) << host.errors();
}

TEST(Join, AnAliasWithoutAnAddressServerGoesBackToTheMenu) {
    TempDir a;
    // No dot and not "localhost": an alias, which no address server
    // translates here; the launcher's main menu then asks again.
    ChildProcess ann(program(), {"--workdir", a.str(), "--join", "dragonslair", "--user", "Ann"});
    ASSERT_TRUE(waitForText(ann, "Could not access the address server.\nCheck your internet connection."))
        << ann.errors();
    EXPECT_TRUE(ann.running());
    ann.signal(SIGTERM);
    EXPECT_EQ(ann.wait(30s), 255);
}
