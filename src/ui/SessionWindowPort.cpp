// The window layer's network, over the Session and the replication.
#include "ui/SessionWindowPort.h"

#include <cstring>

#include "net/Replication.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"
#include "ui/Desktop.h"
#include "ui/WindowSharing.h"

namespace lh::ui {

namespace {

net::NetMessage makeMessage(const char* tag, std::vector<uint8_t> body) {
    net::NetMessage m;
    std::memcpy(m.tag.letters.data(), tag, 5);
    m.body = std::move(body);
    return m;
}

}  // namespace

SessionWindowPort::SessionWindowPort(net::Session& s, db::Replication& r) : session(s), replication(r) {}

void SessionWindowPort::attach(Desktop& desktop) {
    desktop.network = this;
    Desktop* d = &desktop;
    net::Session* s = &session;
    departures = session.departed().subscribe([d](net::SessionPeer& peer) {
        if (!peer.name.empty()) d->ForgetUser(peer.name);
    });
    // Decodes the body in `form` and hands it on; a malformed body is
    // reported, a refused request dropped without a word.
    auto handler = [d, s](WindowMessageForm form, auto act) {
        return [d, s, form, act](net::SessionPeer* from, const net::NetMessage& message) {
            WindowMessage m;
            std::string why;
            if (!decodeWindowMessage(message.body, form, m, why)) {
                s->reportMalformed(from, message, why);
                return net::HandlerResult::Rejected;
            }
            return act(*d, from ? from->name : std::string(), m) ? net::HandlerResult::Handled
                                                                  : net::HandlerResult::Rejected;
        };
    };
    using F = WindowMessageForm;
    session.setHandler(net::tags::WINCR, handler(F::namesAndSize, [](Desktop& dk, const std::string&, const WindowMessage& m) {
                           onWindowShared(dk, m);
                           return true;
                       }));
    session.setHandler(net::tags::WINBQ, handler(F::namesAndSize, [](Desktop& dk, const std::string& user,
                                                                     const WindowMessage& m) {
                           return onShareRequest(dk, user, m);
                       }));
    session.setHandler(net::tags::WINCQ, handler(F::classOnly, [](Desktop& dk, const std::string& user,
                                                                  const WindowMessage& m) {
                           return onCreateRequest(dk, user, m);
                       }));
    session.setHandler(net::tags::WINDQ, handler(F::names, [](Desktop& dk, const std::string&, const WindowMessage& m) {
                           onWindowClosed(dk, m);
                           return true;
                       }));
    session.setHandler(net::tags::WINSQ, handler(F::namesAndSize, [](Desktop& dk, const std::string&,
                                                                     const WindowMessage& m) {
                           onWindowSized(dk, m);
                           return true;
                       }));
}

bool SessionWindowPort::isHost() const { return session.isHost(); }

void SessionWindowPort::sendToHost(const char* tag, std::vector<uint8_t> body) {
    session.sendToHost(makeMessage(tag, std::move(body)));
}

void SessionWindowPort::sendToAll(const char* tag, std::vector<uint8_t> body) {
    session.sendToAll(makeMessage(tag, std::move(body)));
}

bool SessionWindowPort::sendToUser(const std::string& user, const char* tag, std::vector<uint8_t> body) {
    return session.sendTo(makeMessage(tag, std::move(body)), user);
}

std::vector<std::string> SessionWindowPort::connectedUsers() const {
    std::vector<std::string> names;
    for (const auto& peer : session.users()) {
        if (!peer->name.empty()) names.push_back(peer->name);
    }
    return names;
}

void SessionWindowPort::sendRecord(db::DbNode& record, const std::string* user) {
    if (!session.isHost()) {
        replication.sendTo(record, static_cast<db::SessionUser*>(nullptr));
    } else if (user) {
        replication.sendTo(record, *user);
    } else {
        replication.sendToAllUsers(record);
    }
}

int SessionWindowPort::requestDelete(db::DbNode& record) { return replication.requestDelete(record); }

}  // namespace lh::ui
