// The maps on the session: the handlers of the map messages, the ends of
// the picture and snapshot fetches, the host's snapshot files, and the
// MapNetwork that image values send through. One per process, made by the
// maps subsystem at start when there is a session.
//
// The host checks every request a client makes: a node that is no image
// of that client's, a mask change from a player, a snapshot name it did
// not hand out to that client are refused quietly.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "net/Session.h"
#include "platform/Signal.h"
#include "table/MapNetwork.h"

namespace lh::db {
class DbNode;
class Replication;
}  // namespace lh::db
namespace lh::net {
class FileExchange;
}

namespace lh::table {

class ImageValue;

class MapService final : public MapNetwork {
public:
    // `files` is the client's exchange (null on the host).
    MapService(net::Session& session, db::Replication* replication, net::FileExchange* files, db::DbNode& root);
    ~MapService() override;
    MapService(const MapService&) = delete;
    MapService& operator=(const MapService&) = delete;

    // MapNetwork.
    void toHost(const net::NetMessage& message) override;
    void toClients(const net::NetMessage& message, const std::string& except) override;
    void publish(db::DbNode& node) override;
    void sendToAll(db::DbNode& node) override;
    bool fetch(MapFetch what, const std::string& file, uint64_t fileTime, const std::string& nodePath) override;
    std::vector<std::string> clients() override;

    // Host: the snapshot files handed out and not yet read, by name.
    const std::map<std::string, std::string>& snapshotsHandedOut() const { return handedOut; }

private:
    // The image value at `path`, or null (the message is then dropped).
    ImageValue* imageAt(const std::string& path);
    // Host: whether the peer may touch the image at `path`: it holds it.
    bool peerHolds(const net::SessionPeer* from, const std::string& path);
    net::HandlerResult drop(net::SessionPeer* from, const net::NetMessage& m, const std::string& why);

    net::HandlerResult onAvailability(net::SessionPeer* from, const net::NetMessage& m);
    net::HandlerResult onPolygon(net::SessionPeer* from, const net::NetMessage& m);
    net::HandlerResult onSnapshotRequest(net::SessionPeer* from, const net::NetMessage& m);
    net::HandlerResult onSnapshotReply(net::SessionPeer* from, const net::NetMessage& m);
    net::HandlerResult onSnapshotRead(net::SessionPeer* from, const net::NetMessage& m);
    net::HandlerResult onStroke(net::SessionPeer* from, const net::NetMessage& m);
    net::HandlerResult onErased(net::SessionPeer* from, const net::NetMessage& m);
    void onDeparted(net::SessionPeer& peer);
    std::string writeSnapshot(const std::string& client, ImageValue& value, bool mask);

    net::Session& session;
    db::Replication* replication;
    net::FileExchange* files;
    db::DbNode& root;
    std::map<std::string, std::string> handedOut;  // file name -> client
    unsigned snapshotSerial = 0;
    platform::Subscription departures;
};

}  // namespace lh::table
