// Keeps the copies of the record tree together across the session. The host
// holds the whole tree and a client only what it has been sent; one DATAR
// carries one node with its value, in either direction, and the host passes
// every change it applies on to the node's holders, the sender included, so
// the last write to reach the host wins everywhere.
//
// The tree itself knows nothing of the network: it calls the process's
// ReplicationSink, which attachReplication() installs once the Session
// exists.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "db/DbContext.h"
#include "net/ReplicationWire.h"
#include "net/TextReassembly.h"
#include "net/Session.h"

namespace lh::db {

class DbNode;
class SessionUser;

class Replication final : public ReplicationSink {
public:
    // `root` is the tree this replication keeps; the process's own unless a
    // test or benchmark keeps a second tree beside it.
    explicit Replication(net::Session& session, DbNode& root);
    Replication(const Replication&) = delete;
    Replication& operator=(const Replication&) = delete;

    // Registers the handlers of DATAR, DATDQ and DATDR with the session.
    void registerHandlers();

    // Sends `node` and everything below it. On the host to `user`, who then
    // holds all of it; on a client to the host, with no user. -1 for a user
    // who is not connected. Nothing goes out without a session.
    int sendTo(DbNode& node, SessionUser* user);
    int sendTo(DbNode& node, std::string_view userName);
    // Host: sendTo for each holder of the node that is connected.
    void sendToHolders(DbNode& node);
    // Host: sends the node and all below it to every connected user and
    // makes them all holders. -1 on a client.
    int sendToAllUsers(DbNode& node);
    // Host: sends the records that `user` owns. From the root with depth 0
    // it looks at the groups and the records in them, not below records.
    void sendOwnedTo(DbNode& node, SessionUser& user, int depth = 0);
    // Host, before a deletion: image values give up their files.
    void prepareDelete(DbNode& node);
    // Deletes a node the way this side may: the host at once; a client asks
    // the host, and its copy goes when the host's answer comes. -1 when this
    // side may not.
    int requestDelete(DbNode& node);

    // ReplicationSink.
    void publishNode(DbNode& node) override;
    void nodeDeleted(const std::string& path) override;

    // A client received an image value: the file service compares the file.
    using ImageArrived = std::function<void(DbNode& node, uint32_t fileSize, uint64_t fileTime)>;
    void setImageArrivedHandler(ImageArrived handler) { imageArrived = std::move(handler); }
    // The host is about to delete an image record: its files go first.
    void setImageRemover(std::function<void(DbNode& node)> remover) { imageRemover = std::move(remover); }

    // A user has left: a formatted text it was part-way through sending
    // will not be finished. The host's departure calls this.
    void forgetPeer(const std::string& userName) { texts.drop(userName); }

    net::HandlerResult onData(net::SessionPeer* from, const net::NetMessage& message);
    net::HandlerResult onDeleteRequest(net::SessionPeer* from, const net::NetMessage& message);
    net::HandlerResult onDeleted(net::SessionPeer* from, const net::NetMessage& message);

    DbNode& tree() { return root; }

private:
    // Where the messages of one walk go: one peer, the host, or everyone.
    struct Target {
        net::SessionPeer* peer = nullptr;  // null: the host, or all when `all`
        bool all = false;
    };
    void sendSubtree(DbNode& node, std::string& path, Target target, SessionUser* user);
    void sendToAllSubtree(DbNode& node, std::string& path);
    void sendNode(DbNode& node, const std::string& path, bool isOwner, Target target);
    void deliver(Target target);
    DbNode* walkCreating(std::string_view path);
    // Applies a piece of formatted text; false while the text is not whole
    // or when it could not be taken.
    bool applyTextPiece(net::SessionPeer* from, const net::NetMessage& message, DbNode& node);

    net::Session& session;
    DbNode& root;
    TextReassembly texts;
    DataMessage outgoing, incoming;  // kept to reuse their buffers
    net::NetMessage message;
    std::string markup;
    ImageArrived imageArrived;
    std::function<void(DbNode&)> imageRemover;
};

// Makes the process's replication for `session`, registers its handlers and
// installs it as the tree's sink. Called once the Session exists, on the
// host and on a client alike.
Replication& attachReplication(net::Session& session);
// The process's replication, or null before attachReplication().
Replication* replication();
// Uninstalls and destroys it (tests, and the end of the program).
void detachReplication();

}  // namespace lh::db
