// Sending, reading, dispatching and relaying of session messages; see
// Session.h.
//
// Index: construction and roles; handlers; sending; poll; dispatch and
// relays; reports and bookkeeping.
#include "net/Session.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "net/MessageCatalogue.h"
#include "platform/Clock.h"
#include "platform/Socket.h"
#include "platform/Trace.h"

namespace lh::net {
namespace {

// The pairs that the host passes on after acting on the Q message itself:
// the tag is rewritten to R and the same body goes out.
struct Relay {
    MessageTag received;
    MessageTag sent;
    bool toSender;
};
// Session sockets keep their kernel receive buffers small: bytes waiting
// there delay every message behind them, and the game's small messages must
// stay quick while bigger ones stream. Files travel on connections of their
// own, without this cap.
constexpr int kSessionReceiveBuffer = 256 * 1024;

constexpr Relay kRelays[] = {
    {tags::CHATQ, tags::CHATR, true},  {tags::DIETQ, tags::DIETR, false}, {tags::DRSTQ, tags::DRSTR, false},
    {tags::IMMSQ, tags::IMMSR, true},  {tags::PNTRQ, tags::PNTRR, true},  {tags::CHINQ, tags::CHINR, true},
    {tags::POLLQ, tags::POLLR, true},
};

// Messages that arrived before the peer's end of the stream are still
// acted on; those of a failed connection are not.
bool stillReadable(ConnectionState s) { return s == ConnectionState::Connected || s == ConnectionState::Closed; }

std::string peerLabel(const SessionPeer* peer) {
    if (!peer) return "the host";
    if (!peer->name.empty()) return "'" + peer->name + "'";
    if (peer->connection) return "a connection from " + platform::formatIpv4(peer->connection->peerAddress());
    return "a connection";
}

void writeEnvelope(Connection& c, const NetMessage& m) {
    // Straight into the send buffer: the body is copied once.
    uint32_t length = uint32_t(m.body.size());
    uint8_t bytes[kEnvelopeSize] = {uint8_t(length), uint8_t(length >> 8), uint8_t(length >> 16),
                                    uint8_t(length >> 24)};
    std::memcpy(bytes + 4, m.tag.letters.data(), 5);
    c.write(bytes, kEnvelopeSize);
    if (!m.body.empty()) c.write(m.body.data(), m.body.size());
}

}  // namespace

// Section: construction and roles.

Session::Session() : http(std::make_unique<HttpServer>()) {
    farewellTimer.setHandler([this] { endOverdueFarewells(); });
    systemLine = [](const std::string& line) {
        std::fprintf(stderr, "%s\n", line.c_str());
        std::fflush(stderr);
    };
}

Session::~Session() = default;

bool Session::openListener(uint16_t listenOn, uint32_t address) {
    currentRole = SessionRole::Host;
    bool ok = listener.listenOn(listenOn, address, 8, kSessionReceiveBuffer);
    port = ok ? listener.port() : listenOn;
    return ok;
}

void Session::connectToHost(const std::string& address, uint16_t hostPort) {
    currentRole = SessionRole::Client;
    lost = false;
    lostReason.clear();
    host = std::make_unique<SessionPeer>();
    host->connection = std::make_unique<Connection>(&nameResolver, sendLimit);
    host->connection->connectTo(address, hostPort);
    host->connection->capReceiveBuffer(kSessionReceiveBuffer);
    port = hostPort;
}

SessionPeer& Session::addPeer(std::unique_ptr<Connection> connection) {
    auto peer = std::make_unique<SessionPeer>();
    peer->connection = std::move(connection);
    peers.push_back(std::move(peer));
    return *peers.back();
}

SessionPeer* Session::findUser(std::string_view name) {
    for (auto& p : peers) {
        if (!p->name.empty() && p->name == name) return p.get();
    }
    return nullptr;
}

// Section: handlers.

void Session::setHandler(MessageTag tag, MessageHandler handler) {
    // An empty handler takes the tag's subsystem away: its messages are then
    // passed over like those of a subsystem that is not there.
    if (!handler) {
        handlers.erase(std::string(tag.text()));
        return;
    }
    handlers[std::string(tag.text())] = std::move(handler);
}

void Session::setPairHandler(std::string_view firstFour, MessageHandler handler) {
    for (const TagInfo& info : messageCatalogue()) {
        if (info.tag.text().substr(0, 4) == firstFour) setHandler(info.tag, handler);
    }
}

// Section: sending.

void Session::sendTo(const NetMessage& message, SessionPeer& peer) {
    if (!peer.connection || peer.leaving) return;
    if (message.body.size() > kMaxBodyLength) {
        // Our own bug: no peer could read it.
        systemLine("Did not send a message " + std::string(message.tag.text()) + ": its body is too large");
        return;
    }
    if (platform::traceOn()) {
        platform::trace("sent %s %zu %s", std::string(message.tag.text()).c_str(), message.body.size(),
                        peer.name.empty() ? "-" : peer.name.c_str());
    }
    size_t total = kEnvelopeSize + message.body.size();
    if (!peer.queue.empty() || peer.connection->writeSpace() < total) {
        peer.queue.push_back(message);
        peer.queuedBytes += total;
        return;
    }
    writeEnvelope(*peer.connection, message);
}

bool Session::sendTo(const NetMessage& message, std::string_view userName) {
    SessionPeer* peer = findUser(userName);
    if (peer) sendTo(message, *peer);
    return peer != nullptr;
}

void Session::sendToHost(const NetMessage& message) {
    if (host) sendTo(message, *host);
}

void Session::sendToAll(const NetMessage& message, const SessionPeer* except) {
    // A connection without a name is still logging in and waits for its
    // login answer as the first message; broadcasts skip it.
    for (auto& p : peers) {
        if (p.get() != except && !p->name.empty()) sendTo(message, *p);
    }
}

void Session::sendToHolders(const NetMessage& message, std::span<const std::string> holders,
                            const SessionPeer* except) {
    for (auto& p : peers) {
        if (p.get() == except || p->name.empty()) continue;
        if (std::find(holders.begin(), holders.end(), p->name) != holders.end()) sendTo(message, *p);
    }
}

size_t Session::pendingBytes(const SessionPeer& peer) const {
    return (peer.connection ? peer.connection->pendingSend() : 0) + peer.queuedBytes;
}

void Session::flushQueue(SessionPeer& peer) {
    while (!peer.queue.empty() && peer.connection) {
        const NetMessage& front = peer.queue.front();
        size_t total = kEnvelopeSize + front.body.size();
        if (peer.connection->writeSpace() < total) break;
        writeEnvelope(*peer.connection, front);
        peer.queuedBytes -= total;
        peer.queue.pop_front();
    }
}

// Section: poll.

void Session::poll() {
    if (currentRole == SessionRole::Host) {
        while (auto accepted = listener.accept(sendLimit)) addPeer(std::move(accepted));
        // Handlers may append peers' messages while this walks; the list
        // itself only changes in removeGonePeers().
        for (size_t i = 0; i < peers.size(); ++i) {
            SessionPeer* peer = peers[i].get();
            if (!peer->connection || peer->leaving) continue;
            peer->connection->pump();
            if (stillReadable(peer->connection->state())) readMessages(peer, *peer->connection);
        }
        removeGonePeers();
    } else if (currentRole == SessionRole::Client && host && host->connection) {
        host->connection->pump();
        if (stillReadable(host->connection->state())) readMessages(nullptr, *host->connection);
        checkHost();
    }
    for (auto& p : peers) flushQueue(*p);
    if (host) flushQueue(*host);
    stepFarewells();
    if (currentRole == SessionRole::Host) http->step();
    sendNow();
}

bool Session::readMessage(Connection& connection, NetMessage& out, const SessionPeer* from, uint32_t maxBody) {
    uint32_t badLength = 0;
    FrameStatus status = takeMessage(connection.received(), out, &badLength, maxBody);
    if (status == FrameStatus::BadLength) {
        // Nothing behind a garbage length can be trusted to line up.
        systemLine("Closed the connection of " + peerLabel(from) + ": message length " +
                   std::to_string(badLength) + " is above the limit");
        connection.close(true);
    }
    return status == FrameStatus::Complete;
}

void Session::readMessages(SessionPeer* from, Connection& connection) {
    NetMessage message;
    ConnectionState before = connection.state();
    for (;;) {
        // The login may name the peer part-way through a burst.
        bool stranger = currentRole == SessionRole::Host && from && from->name.empty();
        if (!readMessage(connection, message, from, stranger ? kLoginBodyLength : kMaxBodyLength)) return;
        dispatch(from, message);
        // A handler may have closed or handed the connection over, or sent
        // the peer away.
        if (from && (!from->connection || from->leaving)) return;
        if (connection.state() != before) return;
    }
}

void Session::removeGonePeers() {
    for (size_t i = 0; i < peers.size();) {
        SessionPeer& p = *peers[i];
        bool handedOver = !p.connection;
        bool gone = p.connection && (p.leaving || p.connection->state() == ConnectionState::Failed ||
                                     p.connection->state() == ConnectionState::Closed);
        if (!handedOver && !gone) {
            ++i;
            continue;
        }
        std::unique_ptr<SessionPeer> leaving = std::move(peers[i]);
        peers.erase(peers.begin() + long(i));
        if (!gone) continue;
        if (!leaving->name.empty()) platform::trace("departed %s", leaving->name.c_str());
        if (departure) departure(*leaving);
        departedSignal.emit(*leaving);
        ConnectionState s = leaving->connection->state();
        if (leaving->leaving && (s == ConnectionState::Connected || s == ConnectionState::Closing)) {
            leaving->leaveByMs = platform::nowMs() + kFarewellMs;
            farewells.push_back(std::move(leaving));
            if (!farewellTimer.running()) farewellTimer.start(kFarewellMs);
        }
    }
}

void Session::stepFarewells() {
    for (size_t i = 0; i < farewells.size();) {
        SessionPeer& f = *farewells[i];
        Connection& c = *f.connection;
        c.pump();
        c.received().clear();  // nothing it says counts any more
        flushQueue(f);
        if (f.queue.empty() && !c.finishing()) {
            c.finish();
        } else if (c.pendingSend() > 0) {
            c.pump(-1, 0);
        }
        if (c.state() == ConnectionState::Closed || c.state() == ConnectionState::Failed) {
            farewells.erase(farewells.begin() + long(i));
        } else {
            ++i;
        }
    }
    if (farewells.empty()) farewellTimer.stop();
}

void Session::endOverdueFarewells() {
    // A peer that neither reads what it was sent nor ends its side is not
    // waited for any longer.
    uint64_t now = platform::nowMs();
    std::erase_if(farewells, [now](const auto& f) { return f->leaveByMs <= now; });
    if (!farewells.empty()) farewellTimer.start(uint32_t(farewells.front()->leaveByMs - now));
}

void Session::checkHost() {
    ConnectionState s = host->connection->state();
    if (lost || (s != ConnectionState::Failed && s != ConnectionState::Closed)) return;
    lost = true;
    lostReason = s == ConnectionState::Failed ? host->connection->lastError() : "connection closed";
    host->queue.clear();
    host->queuedBytes = 0;
    if (onHostLost) onHostLost(lostReason);
}

void Session::sendNow() {
    // What handlers queued during this poll leaves now rather than at the
    // next wake-up.
    for (auto& p : peers) {
        if (p->connection && p->connection->pendingSend() > 0) p->connection->pump(-1, 0);
    }
    if (host && host->connection && host->connection->pendingSend() > 0) host->connection->pump(-1, 0);
}

// Section: dispatch and relays.

void Session::dispatch(SessionPeer* from, const NetMessage& message) {
    if (platform::traceOn()) {
        platform::trace("received %s %zu %s", std::string(message.tag.text()).c_str(), message.body.size(),
                        !from || from->name.empty() ? "-" : from->name.c_str());
    }
    const TagInfo* info = findTag(message.tag);
    if (!info) return reportMalformed(from, message, "unknown message tag");
    bool onHost = currentRole == SessionRole::Host;
    // A message on the wrong road is not acted on: a client cannot speak
    // for the host, nor the host ask itself.
    if (info->route == (onHost ? TagRoute::ToClients : TagRoute::ToHost)) return;
    if (onHost && from && from->name.empty() && message.tag != tags::CONNQ && message.tag != tags::FILEX) {
        return;  // not logged in yet
    }
    if (message.tag == tags::FILEX) {
        // The rest of this connection is an HTTP request for the file service.
        if (onHost && from && from->name.empty() && from->connection) {
            http->addConnection(std::move(from->connection), port);
        }
        return;
    }
    auto handler = handlers.find(message.tag.text());
    if (handler == handlers.end()) return;  // its subsystem is not there
    if (handler->second(from, message) != HandlerResult::Handled) return;
    if (onHost) relay(from, message);
}

void Session::relay(SessionPeer* from, const NetMessage& message) {
    for (const Relay& r : kRelays) {
        if (r.received != message.tag) continue;
        NetMessage out(r.sent, message.body);
        sendToAll(out, r.toSender ? nullptr : from);
        return;
    }
}

// Section: reports and bookkeeping.

void Session::reportMalformed(SessionPeer* from, const NetMessage& message, std::string_view why) {
    SessionPeer* sender = from ? from : host.get();
    if (sender && ++sender->malformedLines > kMaxMalformedLines) {
        if (sender->malformedLines == kMaxMalformedLines + 1) {
            systemLine("Further malformed messages from " + peerLabel(from) + " are dropped without a line");
        }
        return;
    }
    std::string tag;
    for (char c : message.tag.letters) tag += (c >= 0x20 && c < 0x7f) ? c : '?';
    systemLine("Dropped a message " + tag + " from " + peerLabel(from) + ": " + std::string(why));
}

void Session::disconnect(SessionPeer& peer) {
    if (peer.connection) peer.leaving = true;
}

void Session::collectWatchedFds(std::vector<platform::WatchedFd>& out) const {
    if (currentRole == SessionRole::Host && listener.socket() >= 0) out.push_back({listener.socket(), true, false});
    auto watch = [&out](const SessionPeer& p) {
        if (p.connection) p.connection->watch(out, !p.queue.empty());
    };
    for (const auto& p : peers) watch(*p);
    for (const auto& p : farewells) watch(*p);
    if (host && !lost) watch(*host);
    http->collectWatchedFds(out);
}

}  // namespace lh::net
