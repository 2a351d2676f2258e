// Feeds arbitrary bytes through the session's framing and dispatch, with the
// handlers that the program itself registers: on a host the login and the
// join, the file list, the file service behind FILEX and the record
// messages; on a client the join's notices, the file list's announcements
// and the record messages. Nothing may read out of bounds, assert or leak.
//
// A handler that a subsystem registers joins the rigs below as it lands:
// the host's in hostRig(), the client's in clientRig().
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "db/Campaign.h"
#include "db/DatabaseWriter.h"
#include "db/DbContext.h"
#include "db/DbNode.h"
#include "db/SessionMode.h"
#include "net/Replication.h"
#include "db/StringValue.h"
#include "db/Users.h"
#include "db/XmlParse.h"
#include "net/ClientLogin.h"
#include "net/FileExchange.h"
#include "net/FileServer.h"
#include "net/HostLogin.h"
#include "net/LoginMessages.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"
#include "ui/ResourceFile.h"

using namespace lh;
using net::ConnectionState;
using net::NetMessage;
using net::Session;
using net::SessionPeer;

namespace {

namespace fs = std::filesystem;

// A scratch working folder with one Ruleset file, which the file list
// announces and the file service hands out.
const fs::path& scratchRoot() {
    static const fs::path root = [] {
        fs::path r = fs::temp_directory_path() / ("lh_fuzz_dispatch_" + std::to_string(getpid()));
        fs::create_directories(r / "rulesets" / "base");
        std::ofstream(r / "rulesets" / "base" / "base.xml") << "<root/>\n";
        std::atexit([] {
            std::error_code ec;
            fs::remove_all(fs::temp_directory_path() / ("lh_fuzz_dispatch_" + std::to_string(getpid())), ec);
        });
        db::campaign().rulesetFiles = {"rulesets\\base\\base.xml"};
        // No archive: every Ruleset file is one of the folder's.
        ui::ResourceFile::setArchivePath((r / "no-archive.pak").string());
        return r;
    }();
    return root;
}

void quiet(const std::string&) {}

// A record the logged-in player owns, a text in it, and a group of the host.
void seedTree(const std::string& player) {
    db::DbNode& root = db::rootNode();
    db::DbNode* sheet = root.addChildQuietly("charsheet")->addChildQuietly("00001");
    db::DbNode* name = sheet->addChildQuietly("name");
    name->attachValue(db::makeValue(db::NodeKind::stringValue));
    name->valueAs<db::StringValue>()->set(std::string_view("Ayla"));
    sheet->addHolder(player, true);
    root.addChildQuietly("notes")->addChildQuietly("00001");
}

// Reads messages the way the session reads a connection, until it closes
// or is handed over, and hands each to `act`.
template <class Act>
void readAll(Session& session, SessionPeer& peer, Act act) {
    NetMessage message;
    while (peer.connection && peer.connection->state() != ConnectionState::Closed) {
        uint32_t limit = peer.name.empty() ? net::kLoginBodyLength : net::kMaxBodyLength;
        if (!session.readMessage(*peer.connection, message, &peer, limit)) return;
        act(message);
    }
}

// The host: one logged-in player and one connection that has not logged in.
// The bytes arrive on the stranger's connection, and each message is also
// dispatched as if the player had sent it. A FILEX hands the stranger's
// connection, with the bytes behind it, to the file service.
void hostRig(const uint8_t* data, size_t size) {
    db::clearTree();
    db::setSessionMode(db::SessionMode::Host);
    Session host;
    host.becomeHost();
    host.setSystemLineSink(quiet);
    net::installFileService(host, scratchRoot());
    db::attachReplication(host);
    net::HostLoginHooks login;
    login.postLine = quiet;
    login.sendRecord = [](db::DbNode& record, const std::string& user) { db::replication()->sendTo(record, user); };
    login.sendOwned = [](const std::string& user) {
        if (db::SessionUser* u = db::findKnownUser(user)) db::replication()->sendOwnedTo(db::rootNode(), *u, 0);
    };
    login.userGone = [](const std::string& user) { db::replication()->forgetPeer(user); };
    net::attachHostLogin(host, std::move(login));

    SessionPeer& player = host.addPeer(std::make_unique<net::Connection>(static_cast<net::Resolver*>(nullptr)));
    player.name = "player";
    db::knownUser(player.name).connection = player.connection.get();
    seedTree(player.name);
    SessionPeer& stranger = host.addPeer(std::make_unique<net::Connection>(static_cast<net::Resolver*>(nullptr)));
    stranger.connection->received().append(data, size);

    readAll(host, stranger, [&](const NetMessage& message) {
        host.dispatch(&stranger, message);
        if (message.tag != net::tags::FILEX) host.dispatch(&player, message);
    });
    // Both leave, which runs the departure; the polls also run the file
    // service on what it was handed. Without sockets nothing stands, so a
    // few rounds see every request to its end.
    host.disconnect(player);
    if (stranger.connection) host.disconnect(stranger);
    for (int round = 0; round < 3; ++round) host.poll();
    db::detachReplication();

    // Whatever the clients sent, the Campaign saves into a db.xml that
    // loads again: a client must not be able to make the host lose it.
    std::string saved = db::databaseText(db::rootNode());
    db::XmlParseResult parsed = db::parseXmlTextChecked(saved, "db.xml");
    if (parsed.status != db::XmlStatus::ok) {
        std::fprintf(stderr, "saved database does not read back:%s\n%s\n", parsed.error.message().c_str(),
                     saved.c_str());
        std::abort();
    }
}

// A client: the same bytes as the host's messages. The login's answer is
// read by the login itself rather than by a handler, so it is decoded here.
void clientRig(const uint8_t* data, size_t size) {
    db::clearTree();
    db::setSessionMode(db::SessionMode::Join);
    Session client;
    client.setSystemLineSink(quiet);
    net::ClientJoinHooks join;
    join.postLine = quiet;
    net::attachClientJoin(client, std::move(join));
    db::attachReplication(client);
    net::FileExchange files(client, scratchRoot());
    files.setSystemLineSink(quiet);

    SessionPeer from;
    from.name = "host";  // a client reads its host with the full body limit
    from.connection = std::make_unique<net::Connection>(static_cast<net::Resolver*>(nullptr));
    from.connection->received().append(data, size);
    readAll(client, from, [&](const NetMessage& message) {
        if (message.tag == net::tags::CONNR) {
            std::string error;
            (void)net::decodeConnectAnswer(message, error);
        }
        client.dispatch(nullptr, message);
    });
    db::detachReplication();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    scratchRoot();
    hostRig(data, size);
    clientRig(data, size);
    db::clearTree();
    return 0;
}
