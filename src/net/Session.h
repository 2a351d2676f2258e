// The session: one host and its clients, each joined to the host by one TCP
// connection. It sends NetMessages, reads them as they arrive, hands each to
// the handler registered for its tag, and on the host passes the shared ones
// on (a Q message comes in, its R goes out). poll() runs on the main thread
// whenever a socket is ready or the tick comes; nothing here blocks.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "net/Connection.h"
#include "net/HttpServer.h"
#include "net/Listener.h"
#include "net/NetMessage.h"
#include "net/Resolver.h"
#include "platform/Platform.h"
#include "platform/Scheduler.h"
#include "platform/Signal.h"

namespace lh::net {

// One connection of the session and who is behind it. On the host there is
// one per accepted connection; its name stays empty until the login sets it.
// On a client the only peer is the host.
struct SessionPeer {
    std::string name;
    std::unique_ptr<Connection> connection;  // null once handed over
    std::deque<NetMessage> queue;            // did not fit into the send buffer
    size_t queuedBytes = 0;
    int malformedLines = 0;  // reported so far
    // Sent away by the host: nothing more is sent or read, and what was
    // sent before still reaches it (Session::disconnect).
    bool leaving = false;
    uint64_t leaveByMs = 0;  // when its connection is given up regardless
};

enum class SessionRole { Local, Host, Client };

enum class HandlerResult {
    Handled,   // acted on; the host passes a relayed tag on
    Rejected,  // dropped (malformed or not allowed); nothing is passed on
};
// `from` is the sending peer on the host, null on a client.
using MessageHandler = std::function<HandlerResult(SessionPeer* from, const NetMessage& message)>;

class Session {
public:
    static constexpr const char* kHostLostText = "The connection to the host was lost. Restart to reconnect.";

    Session();
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Host: listens on `port` (0: any free one) on `address` (0: all). A
    // port that cannot be bound leaves a host that nobody can join: false.
    bool openListener(uint16_t port, uint32_t address = 0);
    // Host without a listener, e.g. to replay messages through dispatch().
    void becomeHost() { currentRole = SessionRole::Host; }
    uint16_t listenPort() const { return port; }

    // Client: starts the connection to the host; messages sent before it
    // stands wait in its buffer. The login itself is the caller's.
    void connectToHost(const std::string& address, uint16_t port);
    SessionPeer* hostPeer() { return host.get(); }
    bool hostLost() const { return lost; }
    // Why the host connection ended: the connection's error text, or
    // "connection closed" when the host simply went away.
    const std::string& hostLostReason() const { return lostReason; }

    SessionRole role() const { return currentRole; }
    bool isHost() const { return currentRole == SessionRole::Host; }

    // One handler for one tag; a later call replaces it.
    void setHandler(MessageTag tag, MessageHandler handler);
    // The same handler for both tags of a pair, e.g. "CHAT" for CHATQ/CHATR.
    void setPairHandler(std::string_view firstFourLetters, MessageHandler handler);

    // Sending never fails for the caller; only poll() finds a peer gone.
    void sendTo(const NetMessage& message, SessionPeer& peer);
    bool sendTo(const NetMessage& message, std::string_view userName);  // false: no such user
    void sendToHost(const NetMessage& message);
    // Every logged-in peer (one with a name), but `except`.
    void sendToAll(const NetMessage& message, const SessionPeer* except = nullptr);
    // The logged-in peers among `holders`, a list of user names such as the
    // holders of a record; names without a connection are skipped.
    void sendToHolders(const NetMessage& message, std::span<const std::string> holders,
                       const SessionPeer* except = nullptr);

    void poll();
    // Takes the next whole message from a connection that the caller pumps
    // itself (the waits of the login and the file list). False when none is
    // complete; a length above `maxBody` closes the connection with a line.
    bool readMessage(Connection& connection, NetMessage& out, const SessionPeer* from = nullptr,
                     uint32_t maxBody = kMaxBodyLength);
    // Acts on one received message: checks its tag and road, calls the
    // handler, relays. Callable directly, without sockets.
    void dispatch(SessionPeer* from, const NetMessage& message);

    // Drops a message with a line in the system font, naming tag and reason.
    // After kMaxMalformedLines from one peer, the rest go without a line, so
    // that a flood of garbage cannot flood the chat too.
    static constexpr int kMaxMalformedLines = 20;
    void reportMalformed(SessionPeer* from, const NetMessage& message, std::string_view why);
    // Sends a peer away: the next poll() runs its departure, and nothing
    // more is sent to it or read from it. What was sent to it before still
    // reaches it: its connection ends gently (Connection::finish) and is
    // given up after kFarewellMs at the latest.
    static constexpr uint32_t kFarewellMs = 4000;
    void disconnect(SessionPeer& peer);
    // Connections of peers sent away that are still ending.
    size_t farewellCount() const { return farewells.size(); }

    // Where lines for the "systemfont" chat go; standard error until set.
    void setSystemLineSink(std::function<void(const std::string&)> sink) { systemLine = std::move(sink); }
    // Host: a peer's connection is gone (not handed over). It is out of
    // users() already and destroyed when the handler returns.
    // The login's own handler runs first (it ends the user's session); then
    // every subscriber to departed() in order, so that each subsystem drops
    // what it kept for that user (typing marks, pointers, shared windows).
    void setDepartureHandler(std::function<void(SessionPeer&)> handler) { departure = std::move(handler); }
    platform::Signal<void(SessionPeer&)>& departed() { return departedSignal; }
    // Host: a logged-in client asked for the list of who is here, the last
    // step of its join: subsystems hand it what it must know (tokens).
    platform::Signal<void(SessionPeer&)>& joined() { return joinedSignal; }
    // Client: the host connection ended; called once.
    void setHostLostHandler(std::function<void(const std::string& reason)> h) { onHostLost = std::move(h); }

    // Bounds the send buffer of connections made from now on; what does not
    // fit waits in the peer's queue. It must hold the largest message sent;
    // the default holds the largest that can be read.
    void setSendLimit(size_t bytes) { sendLimit = bytes; }

    void setHttpServer(std::unique_ptr<HttpServer> server) { http = std::move(server); }
    HttpServer& httpServer() { return *http; }
    Resolver& resolver() { return nameResolver; }

    // Host: a new peer for the connection (null for one that only receives
    // through dispatch()).
    SessionPeer& addPeer(std::unique_ptr<Connection> connection);
    const std::vector<std::unique_ptr<SessionPeer>>& users() const { return peers; }
    SessionPeer* findUser(std::string_view name);
    // Bytes waiting for a peer: in its send buffer and in its queue.
    size_t pendingBytes(const SessionPeer& peer) const;

    // The descriptors to wait on: read always, write while bytes wait.
    void collectWatchedFds(std::vector<platform::WatchedFd>& out) const;

private:
    void readMessages(SessionPeer* from, Connection& connection);
    void relay(SessionPeer* from, const NetMessage& message);
    void flushQueue(SessionPeer& peer);
    void removeGonePeers();
    void checkHost();
    void sendNow();
    void stepFarewells();
    void endOverdueFarewells();

    SessionRole currentRole = SessionRole::Local;
    Resolver nameResolver;
    Listener listener;
    uint16_t port = 0;
    size_t sendLimit = Connection::kDefaultLimit;
    std::unique_ptr<HttpServer> http;
    std::vector<std::unique_ptr<SessionPeer>> peers;
    std::vector<std::unique_ptr<SessionPeer>> farewells;
    platform::Timer farewellTimer;
    std::unique_ptr<SessionPeer> host;
    bool lost = false;
    std::string lostReason;
    std::map<std::string, MessageHandler, std::less<>> handlers;
    platform::Signal<void(SessionPeer&)> departedSignal;
    platform::Signal<void(SessionPeer&)> joinedSignal;
    std::function<void(const std::string&)> systemLine;
    std::function<void(SessionPeer&)> departure;
    std::function<void(const std::string&)> onHostLost;
};

}  // namespace lh::net
