// The file exchange on loopback: the Ruleset file list and its fetches
// between an in-process host and client, up-to-date files left alone, path
// attacks refused by the host's service and by the client's writer, and
// transfers cut by cancelling or by killing the host process, which must
// leave no partial or temp file behind.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <cstring>
#include <thread>

#include "NetTestLoop.h"
#include "db/Campaign.h"
#include "net/ContentPaths.h"
#include "net/FileExchange.h"
#include "net/FileServer.h"
#include "net/FileStamp.h"
#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"
#include "support/StalledFetcher.h"
#include "support/TestSupport.h"

using namespace lh::net;
namespace fs = std::filesystem;
using lh::test::readFile;
using lh::test::TempDir;
using lh::test::writeFile;

namespace {

std::string randomBytes(size_t n, unsigned seed) {
    std::mt19937 gen(seed);
    std::string out(n, '\0');
    for (char& c : out) c = char(gen());
    return out;
}

FileTime stampOf(const fs::path& p) {
    FileStamp s;
    EXPECT_TRUE(readFileStamp(p, s)) << p;
    return s.writeTime;
}

// Files below `dir` whose names end in the temp suffix.
int tempFiles(const fs::path& dir) {
    int n = 0;
    std::error_code ec;
    for (fs::recursive_directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        if (it->path().string().find(".lhpart") != std::string::npos) ++n;
    }
    return n;
}

// A host serving `hostRoot` and a logged-in client fetching into `clientRoot`.
struct Pair {
    TempDir hostRoot, clientRoot;
    Session host, client;
    std::unique_ptr<FileExchange> files;
    std::vector<std::string> lines;

    explicit Pair(bool fileService = true) {
        if (fileService) installFileService(host, hostRoot.path());
        uint16_t port = lh::test::openLoopbackHost(host);
        client.connectToHost("127.0.0.1", port);
        EXPECT_TRUE(lh::test::pumpUntil({&host, &client}, [&] { return host.users().size() == 1; }));
        host.users()[0]->name = "player";
        client.setSystemLineSink([this](const std::string& l) { lines.push_back(l); });
        files = std::make_unique<FileExchange>(client, clientRoot.path());
        files->setSystemLineSink([this](const std::string& l) { lines.push_back(l); });
    }
    void waitOnce() {
        std::vector<lh::platform::WatchedFd> fds;
        host.collectWatchedFds(fds);
        client.collectWatchedFds(fds);
        files->collectWatchedFds(fds);
        lh::platform::waitForSockets(fds, 10);
    }
    // Runs the file list dialog to its end; false if it did not end in time.
    bool runDialog() {
        files->requestFileList();
        auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        for (;;) {
            host.poll();
            if (!files->stepFileList()) return files->view().done;
            if (std::chrono::steady_clock::now() > end) return false;
            waitOnce();
        }
    }
    void hostFile(const std::string& programPath, const std::string& bytes) {
        writeFile(diskPathBelow(hostRoot.path(), programPath), bytes);
        lh::db::campaign().rulesetFiles.push_back(programPath);
    }
    fs::path atClient(const std::string& programPath) { return diskPathBelow(clientRoot.path(), programPath); }
};

struct FileExchangeTest : ::testing::Test {
    void SetUp() override { lh::db::campaign().rulesetFiles.clear(); }
    void TearDown() override { lh::db::campaign().rulesetFiles.clear(); }
};

}  // namespace

TEST_F(FileExchangeTest, TheListIsFetchedWholeWithTheHostsTimesAndOnlyOnce) {
    Pair p;
    std::string big = randomBytes(3u << 20, 1);
    p.hostFile("rulesets\\R\\base.xml", "<root version=\"2.0\"/>");
    p.hostFile("rulesets\\R\\graphics\\frames\\frame.png", big);
    p.hostFile("rulesets\\R\\empty.txt", "");
    p.hostFile("rulesets\\R\\missing.xml", "x");
    fs::remove(p.hostRoot.path() / "rulesets/R/missing.xml");  // left out of the list
    p.hostFile("campaigns\\C\\db.xml", "<secret/>");             // never listed nor served

    ASSERT_TRUE(p.runDialog());
    const FileListView& v = p.files->view();
    EXPECT_EQ(v.text, "Done.");
    EXPECT_EQ(v.totalBytes, big.size() + 21);
    EXPECT_EQ(v.fetchedBytes, v.totalBytes);
    EXPECT_EQ(readFile(p.atClient("rulesets\\R\\base.xml")), "<root version=\"2.0\"/>");
    EXPECT_EQ(readFile(p.atClient("rulesets\\R\\graphics\\frames\\frame.png")), big);
    EXPECT_TRUE(fs::is_regular_file(p.atClient("rulesets\\R\\empty.txt")));
    EXPECT_EQ(fs::file_size(p.atClient("rulesets\\R\\empty.txt")), 0u);
    EXPECT_FALSE(fs::exists(p.atClient("rulesets\\R\\missing.xml")));
    EXPECT_FALSE(fs::exists(p.atClient("campaigns\\C\\db.xml")));
    FileTime hostTime = stampOf(p.hostRoot.path() / "rulesets/R/graphics/frames/frame.png");
    EXPECT_EQ(stampOf(p.atClient("rulesets\\R\\graphics\\frames\\frame.png")).value(), hostTime.value());
    EXPECT_EQ(tempFiles(p.clientRoot.path()), 0);
    EXPECT_TRUE(p.lines.empty());

    // The second join finds every copy up to date: nothing is fetched.
    ASSERT_TRUE(p.runDialog());
    EXPECT_EQ(p.files->view().totalBytes, 0u);
    EXPECT_EQ(p.files->view().text, "Done.");
    // A fetch to memory, queued outside the dialog; its drive letter goes.
    std::string got;
    int ended = 0;
    p.files->setEndHandler(FetchKind::TokenBitmap, [&](FileFetch& f, int result) {
        ended = result;
        got.assign(f.buffer().begin(), f.buffer().end());
    });
    p.files->enqueue(std::make_unique<FileFetch>("127.0.0.1", p.host.listenPort(), "C:\\rulesets\\R\\base.xml",
                                                 FetchKind::TokenBitmap, FileTime{}, p.clientRoot.path()));
    EXPECT_TRUE(lh::test::pumpUntil({&p.host, &p.client}, [&] {
        p.files->stepDownloads();
        return ended != 0;
    }));
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(got, "<root version=\"2.0\"/>");
}

TEST_F(FileExchangeTest, CopiesWithinTwoSecondsAreKeptAndOthersFetched) {
    EXPECT_TRUE(sameFile(10, FileTime::of(1000), 10, FileTime::of(1000 + 20000000)));
    EXPECT_FALSE(sameFile(10, FileTime::of(1000), 10, FileTime::of(1000 + 30000000)));
    EXPECT_FALSE(sameFile(10, FileTime::of(1000), 11, FileTime::of(1000)));
    EXPECT_FALSE(sameFile(10, {5, 1}, 10, {5, 2}));

    Pair p;
    p.hostFile("rulesets\\R\\two.xml", "host");
    p.hostFile("rulesets\\R\\three.xml", "host");
    p.hostFile("rulesets\\R\\size.xml", "host");
    // The host's three files share a time, in the middle of a span of the
    // same high word: times a few seconds apart that cross into the next
    // high word are never the same file, and a time taken from the clock
    // would land near such a crossing now and then.
    FileTime t = stampOf(p.hostRoot.path() / "rulesets/R/two.xml");
    t.low = 0x80000000u;
    for (const char* name : {"two.xml", "three.xml", "size.xml"})
        ASSERT_TRUE(setFileWriteTime(p.hostRoot.path() / "rulesets/R" / name, t));
    auto local = [&](const char* path, const std::string& bytes, int64_t secondsApart) {
        writeFile(p.atClient(path), bytes);
        setFileWriteTime(p.atClient(path), FileTime::of(uint64_t(int64_t(t.value()) + secondsApart * 10000000)));
    };
    local("rulesets\\R\\two.xml", "mine", 2);
    local("rulesets\\R\\three.xml", "mine", -3);
    local("rulesets\\R\\size.xml", "mine!", 0);
    ASSERT_TRUE(p.runDialog());
    EXPECT_EQ(readFile(p.atClient("rulesets\\R\\two.xml")), "mine");
    EXPECT_EQ(readFile(p.atClient("rulesets\\R\\three.xml")), "host");
    EXPECT_EQ(readFile(p.atClient("rulesets\\R\\size.xml")), "host");
    EXPECT_EQ(p.files->view().totalBytes, 8u);
}

namespace {
// One raw request to the host's file service: the status line, and the body
// bytes that came with it.
struct RawReply {
    std::string status;
    std::string body;
};
RawReply fetchRaw(Pair& p, const std::string& target) {
    HttpRequest request(nullptr);
    request.start("http://127.0.0.1:" + std::to_string(p.host.listenPort()) + "/" + target, 0, FileFetch::kMethod);
    RawReply reply;
    int result = 0;
    EXPECT_TRUE(lh::test::pumpUntil({&p.host}, [&] {
        result = request.poll();
        while (request.bodyAvailable() > 0) {
            char c[4096];
            reply.body.append(c, request.readBody(c, sizeof c));
        }
        return result != 0;
    }));
    reply.status = request.statusLine();
    return reply;
}
}  // namespace

TEST_F(FileExchangeTest, TheHostServesOnlyContentBelowItsRoot) {
    Pair p;
    TempDir outside;
    writeFile(outside.path() / "passwd", "root:x:0:0");
    p.hostFile("rulesets\\R\\base.xml", "ok");
    writeFile(p.hostRoot.path() / "settings/S/db.xml", "<start/>");
    writeFile(p.hostRoot.path() / "campaigns/C/db.xml", "<secret/>");
    writeFile(p.hostRoot.path() / "campaigns/C/images/map.png", "map");
    fs::create_directories(p.hostRoot.path() / "rulesets/R");
    fs::create_symlink(outside.path() / "passwd", p.hostRoot.path() / "rulesets/R/link.xml");
    fs::create_directory_symlink(outside.path(), p.hostRoot.path() / "rulesets/out");
    fs::create_symlink(p.hostRoot.path() / "campaigns/C/db.xml", p.hostRoot.path() / "rulesets/R/db.xml");

    EXPECT_EQ(fetchRaw(p, "rulesets\\R\\base.xml").body, "ok");
    EXPECT_EQ(fetchRaw(p, "rulesets/R/base.xml").body, "ok");
    EXPECT_EQ(fetchRaw(p, "campaigns\\C\\images\\map.png").body, "map");
    for (const char* attack :
         {"..\\..\\etc\\passwd", "/etc/passwd", "C:\\x", "C:/etc/passwd", "rulesets\\..\\..\\x",
          "rulesets\\R\\..\\..\\settings\\S\\db.xml", "rulesets\\R\\link.xml", "rulesets\\out\\passwd",
          "rulesets\\R\\db.xml", "settings\\S\\db.xml", "campaigns\\C\\db.xml", "rulesets\\R\\nothing.xml",
          "rulesets\\.\\R\\base.xml", ""}) {
        RawReply r = fetchRaw(p, attack);
        EXPECT_EQ(r.status, FileServer::kNotFound) << attack;
        EXPECT_EQ(r.body, "") << attack;
    }
    // The list leaves out what may not be served, even if the Ruleset named it.
    lh::db::campaign().rulesetFiles.push_back("rulesets\\R\\link.xml");
    lh::db::campaign().rulesetFiles.push_back("..\\..\\etc\\passwd");
    ASSERT_TRUE(p.runDialog());
    EXPECT_EQ(p.files->view().totalBytes, 2u);
    EXPECT_FALSE(fs::exists(p.atClient("rulesets\\R\\link.xml")));
}

TEST_F(FileExchangeTest, PathsWithBlanksAreServedAndFetched) {
    Pair p;
    std::string frame = randomBytes(70000, 4);
    p.hostFile("rulesets\\My Rules\\graphics\\frame one.png", frame);
    writeFile(diskPathBelow(p.hostRoot.path(), "campaigns\\My Campaign\\images\\the map.png"), "map");
    EXPECT_EQ(fetchRaw(p, "campaigns\\My Campaign\\images\\the map.png").body, "map");
    EXPECT_EQ(fetchRaw(p, "campaigns\\My Campaign\\images\\the map.png?x=1 HTTP/1.0").body, "map");
    ASSERT_TRUE(p.runDialog());
    EXPECT_EQ(p.files->view().fetchedBytes, frame.size());
    EXPECT_TRUE(readFile(p.atClient("rulesets\\My Rules\\graphics\\frame one.png")) == frame);
    EXPECT_TRUE(p.lines.empty());
}

namespace {
// A hostile host: it serves the same bytes for any path whatever.
class AnythingServer : public HttpServer {
public:
    std::unique_ptr<HttpResponder> serve(HttpServerRequest& request, uint16_t) override {
        struct Bytes : HttpResponder {
            size_t left = 4;
            size_t read(uint8_t* b, size_t max) override {
                size_t n = std::min(max, left);
                std::memcpy(b, "evil", n);
                left -= n;
                return n;
            }
        };
        request.setStatus("HTTP/1.1 200 OK");
        request.addReplyHeader("Content-Length: 4");
        return std::make_unique<Bytes>();
    }
};
}  // namespace

TEST_F(FileExchangeTest, TheClientWritesOnlyContentBelowItsRoot) {
    Pair p(false);
    p.host.setHttpServer(std::make_unique<AnythingServer>());
    TempDir outside;
    fs::create_directories(p.clientRoot.path() / "rulesets");
    fs::create_directory_symlink(outside.path(), p.clientRoot.path() / "rulesets/out");
    fs::create_directory_symlink(outside.path(), p.clientRoot.path() / "portraits");
    // Beside the client's folder, under a name nobody else uses.
    std::string escaped = p.clientRoot.path().filename().string() + "-escaped";
    std::vector<std::string> paths = {"..\\..\\etc\\passwd", "/etc/passwd", "C:\\x", "rulesets\\..\\..\\" + escaped,
                                      "rulesets\\out\\x", "portraits\\x", "settings\\S\\db.xml",
                                      "campaigns\\C\\db.xml", "x", "rulesets\\R\\good.xml"};
    p.host.setHandler(tags::CNDBQ, [&](SessionPeer* from, const NetMessage&) {
        for (const std::string& path : paths) {
            NetMessage m(tags::CNDBR);
            MessageWriter(m).u32(4).u32(0).u32(0).text(path);
            p.host.sendTo(m, *from);
        }
        p.host.sendTo(NetMessage(tags::CNDER), *from);
        return HandlerResult::Handled;
    });
    ASSERT_TRUE(p.runDialog());
    EXPECT_EQ(readFile(p.atClient("rulesets\\R\\good.xml")), "evil");
    EXPECT_TRUE(fs::is_empty(outside.path()));
    EXPECT_FALSE(fs::exists(p.clientRoot.path().parent_path() / escaped));
    EXPECT_FALSE(fs::exists(p.clientRoot.path() / "settings"));
    EXPECT_FALSE(fs::exists(p.clientRoot.path() / "campaigns"));
    EXPECT_FALSE(fs::exists(p.clientRoot.path() / "x"));
    EXPECT_EQ(tempFiles(p.clientRoot.path()), 0);
    // The paths refused by their words got a line each; the symlinks were
    // caught at the writer.
    EXPECT_EQ(p.lines.size(), 7u);

    // Outside the dialog the same: a fetch refused at the writer gets the
    // failed-transfer line.
    p.lines.clear();
    paths = {"rulesets\\out\\y"};
    p.client.sendToHost(NetMessage(tags::CNDBQ));
    EXPECT_TRUE(lh::test::pumpUntil({&p.host, &p.client}, [&] {
        p.files->stepDownloads();
        return !p.lines.empty();
    }));
    EXPECT_EQ(p.lines[0], "Could not complete file transfer of file rulesets\\out\\y. Check your network configuration.");
    EXPECT_TRUE(fs::is_empty(outside.path()));
}

TEST_F(FileExchangeTest, ACancelledFetchLeavesNoFileBehind) {
    Pair p;
    p.hostFile("rulesets\\R\\big.bin", randomBytes(16u << 20, 2));
    writeFile(p.atClient("rulesets\\R\\big.bin"), "old copy");
    p.files->requestFileList();
    fs::path temp = p.atClient("rulesets\\R\\big.bin");
    temp += ".lhpart";
    // The host moves a megabyte or so per poll: the temp file appears long
    // before the end.
    ASSERT_TRUE(lh::test::pumpUntil({&p.host}, [&] {
        EXPECT_TRUE(p.files->stepFileList());
        return fs::exists(temp);
    }));
    EXPECT_GT(p.files->view().totalBytes, p.files->view().fetchedBytes);
    p.files->cancel();
    EXPECT_TRUE(p.files->view().cancelled);
    EXPECT_FALSE(p.files->stepFileList());
    EXPECT_FALSE(fs::exists(temp));
    EXPECT_EQ(readFile(p.atClient("rulesets\\R\\big.bin")), "old copy");
}

TEST_F(FileExchangeTest, AHostKilledMidTransferLeavesNoPartialFile) {
    TempDir hostRoot, clientRoot;
    writeFile(hostRoot.path() / "rulesets/R/big.bin", randomBytes(32u << 20, 3));
    writeFile(clientRoot.path() / "rulesets/R/big.bin", "old copy");
    lh::test::ChildProcess child(lh::test::builtProgram("net_file_host"), {hostRoot.str()});
    auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (child.output().find('\n') == std::string::npos && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    uint16_t port = uint16_t(std::atoi(child.output().c_str()));
    ASSERT_NE(port, 0) << child.errors();

    FileFetch fetch("127.0.0.1", port, "rulesets\\R\\big.bin", FetchKind::Ruleset, {}, clientRoot.path());
    int result = 0;
    auto step = [&] {
        result = fetch.poll();
        std::vector<lh::platform::WatchedFd> fds;
        fetch.watch(fds);
        lh::platform::waitForSockets(fds, 10);
    };
    while (result == 0 && fetch.received() == 0 && std::chrono::steady_clock::now() < end) step();
    ASSERT_EQ(result, 0);
    ASSERT_GT(fetch.received(), 0u);
    child.signal(SIGKILL);
    EXPECT_EQ(child.wait(std::chrono::seconds(10)), 128 + SIGKILL);
    while (result == 0 && std::chrono::steady_clock::now() < end) step();
    EXPECT_LT(result, 0);
    EXPECT_LT(fetch.received(), 32u << 20);
    EXPECT_EQ(readFile(clientRoot.path() / "rulesets/R/big.bin"), "old copy");
    EXPECT_EQ(tempFiles(clientRoot.path()), 0);
}

TEST_F(FileExchangeTest, StalledFetchersAreBoundedAndGivenUpWhileOthersGoOn) {
    Pair p;
    HttpServer& service = p.host.httpServer();
    writeFile(p.hostRoot.path() / "rulesets/R/big.bin", std::string(16u << 20, 'b'));
    p.hostFile("rulesets\\R\\base.xml", "<root/>");
    std::vector<std::string> heard;
    p.host.setHandler(tags::CHATQ, [](SessionPeer*, const NetMessage&) { return HandlerResult::Handled; });
    p.client.setHandler(tags::CHATR, [&](SessionPeer*, const NetMessage& m) {
        MessageReader r(m);
        r.u32();
        heard.push_back(r.text(1024));
        return HandlerResult::Handled;
    });

    // Fifty fetchers from another address ask for a big file and read
    // nothing; every other one goes on writing behind its request. They
    // come one at a time, as the listener's backlog is short.
    std::vector<std::unique_ptr<lh::test::StalledFetcher>> stalled;
    auto replies = [&](const std::string& status) {
        int n = 0;
        for (auto& s : stalled) n += s->replyStart(status.size()) == status;
        return n;
    };
    ASSERT_TRUE(lh::test::pumpUntil({&p.host, &p.client}, [&] {
        if (stalled.size() < 50) {
            size_t junk = stalled.size() % 2 ? 1u << 20 : 0;
            stalled.push_back(std::make_unique<lh::test::StalledFetcher>(0x7F000002, p.host.listenPort(),
                                                                         "rulesets\\R\\big.bin", junk));
        }
        bool asked = true;
        for (auto& s : stalled) asked = s->step() && asked;
        return stalled.size() == 50 && asked && replies("HTTP/1.1 ") == 50;
    }, {}, 60000)) << replies("HTTP/1.1 ");
    // Those past the bound of one address were turned away politely, and
    // what the others wrote behind their requests was not taken in.
    EXPECT_EQ(replies("HTTP/1.1 503 Service Unavailable\r\n\r\n"), 50 - int(HttpServer::kMaxPerAddress));
    EXPECT_EQ(replies("HTTP/1.1 200 OK"), int(HttpServer::kMaxPerAddress));
    EXPECT_EQ(service.bufferedBytes(), 0u);

    // Meanwhile a player chats and fetches as usual.
    NetMessage chat(tags::CHATQ);
    MessageWriter(chat).u32(0).text("still here");
    p.client.sendToHost(chat);
    // Bounds are generous: a loaded machine running the suite in parallel
    // may take seconds to reach here, and only a hang should fail.
    ASSERT_TRUE(lh::test::pumpUntil({&p.host, &p.client}, [&] { return !heard.empty(); }, {}, 30000));
    EXPECT_EQ(heard, std::vector<std::string>{"still here"});
    ASSERT_TRUE(p.runDialog());
    EXPECT_EQ(readFile(p.atClient("rulesets\\R\\base.xml")), "<root/>");
    EXPECT_TRUE(p.lines.empty());

    // Replies that do not move are given up, file and buffer with them, and
    // the fetchers learn of it though they read nothing: the end of a
    // stream behind bytes they never take would not reach them.
    service.setSendTimeoutMs(300);
    // The refused ones end once their short reply has gone out, which may
    // take the host a round or two more than the given-up ones.
    auto allEnded = [&] {
        for (auto& s : stalled)
            if (!s->endedByHost()) return false;
        return true;
    };
    ASSERT_TRUE(lh::test::pumpUntil({&p.host}, [&] { return service.requestCount() == 0 && allEnded(); }, {}, 30000));
}
