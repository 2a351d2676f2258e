// A client of the replication tests as a process of its own (one process
// has one tree and one local user). It joins the test host on loopback and
// carries out what the host sends it as MESGQ lines:
//   set PATH KIND VALUE   edit as a control would (only where it may)
//   long PATH BYTES SEED  the same with a long formatted text
//   del PATH              delete as a control would
//   forge PATH KIND VALUE send a DATAR without asking its own rights
//   forgedel PATH         send a DATDQ the same way
//   dump TAG              answer with "dump TAG" and the listing of its tree
//   quit
// Usage: replication_peer PORT USERNAME
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "ReplicationKit.h"
#include "db/DbNode.h"
#include "net/Replication.h"
#include "db/TextEscape.h"
#include "db/Users.h"
#include "net/MessageCatalogue.h"
#include "net/MessageReader.h"
#include "platform/Socket.h"

using namespace lh;

namespace {

bool quitting = false;

void forge(net::Session& session, const std::string& path, char kind, const std::string& value) {
    db::DataMessage d;
    d.path = path;
    d.kind = uint8_t(kind == 'i' ? 1 : kind == 's' ? 2 : 4);
    d.number = kind == 'i' ? std::atoi(value.c_str()) : 0;
    d.text = value;
    d.isLastChunk = true;
    net::NetMessage m;
    db::encodeData(d, m);
    session.sendToHost(m);
}

void carryOut(net::Session& session, const std::string& line) {
    std::istringstream in(line);
    std::string verb, path;
    in >> verb >> path;
    if (verb == "set" || verb == "forge") {
        std::string kind, value;
        in >> kind;
        std::getline(in, value);
        if (!value.empty() && value.front() == ' ') value.erase(0, 1);
        db::unescapeText(value);
        if (verb == "set") {
            test::editValue(db::rootNode(), path, kind[0], value);
        } else {
            forge(session, path, kind[0], value);
        }
    } else if (verb == "long") {
        size_t bytes = 0;
        unsigned seed = 0;
        in >> bytes >> seed;
        test::editValue(db::rootNode(), path, 't', test::longMarkup(bytes, seed));
    } else if (verb == "del") {
        if (db::DbNode* node = db::findNode(path)) db::replication()->requestDelete(*node);
    } else if (verb == "forgedel") {
        net::NetMessage m;
        db::encodePathMessage(net::tags::DATDQ, path, m);
        session.sendToHost(m);
    } else if (verb == "dump") {
        std::string listing = test::listValues(
            db::rootNode(), [](const db::DbNode&) { return true; },
            [](const db::DbNode& n) { return n.owner == &db::localUser(); });
        net::NetMessage m(net::tags::MESGQ);
        net::MessageWriter(m).text("dump " + path + "\n" + listing);
        session.sendToHost(m);
    } else if (verb == "quit") {
        quitting = true;
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: replication_peer PORT USERNAME\n");
        return 2;
    }
    db::localUser().name.set(argv[2]);
    net::Session session;
    session.connectToHost("127.0.0.1", uint16_t(std::atoi(argv[1])));
    db::attachReplication(session);
    session.setHandler(net::tags::MESGQ, [&session](net::SessionPeer*, const net::NetMessage& m) {
        net::MessageReader r(m);
        std::string line = r.text(r.remaining());
        if (r.ok()) carryOut(session, line);
        return net::HandlerResult::Handled;
    });
    session.sendToHost(test::helloMessage(argv[2]));

    // Bounded: a test host that never says quit does not leave this behind.
    auto end = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    while (!quitting && !session.hostLost() && std::chrono::steady_clock::now() < end) {
        session.poll();
        std::vector<platform::WatchedFd> fds;
        session.collectWatchedFds(fds);
        platform::waitForSockets(fds, 100);
    }
    session.poll();  // what the last command sent leaves now
    db::detachReplication();
    return quitting ? 0 : 1;
}
