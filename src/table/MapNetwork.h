// What a map needs of the session: sending, the replication of its node,
// and fetches from the host. The maps subsystem installs the real one at
// start; without it (no session, unit tests) a value works locally.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "net/NetMessage.h"

namespace lh::db {
class DbNode;
}

namespace lh::table {

enum class MapFetch { Picture, DrawingSnapshot, MaskSnapshot };

class MapNetwork {
public:
    virtual ~MapNetwork() = default;
    virtual void toHost(const net::NetMessage& message) = 0;
    // To every client but the one named `except` (empty: all).
    virtual void toClients(const net::NetMessage& message, const std::string& except) = 0;
    // The node's DATAR to those who hold it (the host), or to the host.
    virtual void publish(db::DbNode& node) = 0;
    // Host: sends the node to every connected user, who then hold it.
    virtual void sendToAll(db::DbNode& node) = 0;
    // Client: queues a fetch from the host; its end comes to the value at
    // `nodePath`. False when there is no host to fetch from.
    virtual bool fetch(MapFetch what, const std::string& file, uint64_t fileTime, const std::string& nodePath) = 0;
    // Host: the names of the connected clients.
    virtual std::vector<std::string> clients() = 0;
};

MapNetwork* mapNetwork();
void setMapNetwork(MapNetwork* network);

}  // namespace lh::table
