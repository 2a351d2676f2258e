// How long a client takes to receive 10,000 records (about 10 MB) once the
// host has shared them: host and client sessions on loopback in one
// process, each with its own tree, from the sendTo until the client has
// applied the last field of the last record.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "db/DbNode.h"
#include "db/IntValue.h"
#include "net/Replication.h"
#include "db/StringValue.h"
#include "db/Users.h"
#include "net/Session.h"
#include "platform/Socket.h"

using namespace lh;
using db::DbNode;
using db::NodeKind;

namespace {

constexpr int kRecords = 10000;

void addField(DbNode& record, const char* key, NodeKind kind, int number, const std::string& text) {
    DbNode* field = record.addChildQuietly(key);
    field->attachValue(db::makeValue(kind));
    if (auto* v = field->valueAs<db::IntValue>()) v->set(number);
    if (auto* v = field->valueAs<db::StringValue>()) v->set(text);
}

// Records of about 1 KB: a long description, a name and three numbers.
DbNode& buildRecords(DbNode& root) {
    DbNode* group = root.addChildQuietly("charsheet");
    std::string description(900, 'd');
    char id[16];
    for (int i = 1; i <= kRecords; ++i) {
        std::snprintf(id, sizeof id, "%05d", i);
        DbNode* record = group->addChildQuietly(id);
        addField(*record, "description", NodeKind::stringValue, 0, description);
        addField(*record, "name", NodeKind::stringValue, 0, "Character number " + std::to_string(i));
        addField(*record, "hp", NodeKind::intValue, i, {});
        addField(*record, "level", NodeKind::intValue, i % 20, {});
        addField(*record, "xp", NodeKind::intValue, i * 100, {});
    }
    return *group;
}

bool pumpUntil(net::Session& a, net::Session& b, const std::function<bool()>& done) {
    auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    for (;;) {
        a.poll();
        b.poll();
        if (done()) return true;
        if (std::chrono::steady_clock::now() > end) return false;
        std::vector<platform::WatchedFd> fds;
        a.collectWatchedFds(fds);
        b.collectWatchedFds(fds);
        platform::waitForSockets(fds, 10);
    }
}

void BM_ClientReceivesSharedRecords(benchmark::State& state) {
    net::Session host, client;
    host.openListener(0, 0x7F000001);
    DbNode clientRoot("", nullptr);
    db::Replication hostRepl(host, db::rootNode());
    db::Replication clientRepl(client, clientRoot);
    hostRepl.registerHandlers();
    clientRepl.registerHandlers();
    client.connectToHost("127.0.0.1", host.listenPort());
    if (!pumpUntil(host, client, [&] { return !host.users().empty(); })) {
        state.SkipWithError("the client did not connect");
        return;
    }
    host.users().front()->name = "reader";
    db::knownUser("reader");  // as the login records every user
    DbNode& group = buildRecords(db::rootNode());
    const std::string last = "charsheet.10000.xp";  // the last field of the last record
    size_t bytes = 0;
    for (auto _ : state) {
        db::clearTree(clientRoot);
        hostRepl.sendTo(group, "reader");
        bytes += host.pendingBytes(*host.users().front());
        if (!pumpUntil(host, client, [&] { return db::findNode(last, clientRoot) != nullptr; })) {
            state.SkipWithError("the records did not arrive");
            break;
        }
    }
    state.SetBytesProcessed(int64_t(bytes));
    state.counters["records"] = kRecords;
    db::clearTree();
}
BENCHMARK(BM_ClientReceivesSharedRecords)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
