// The host's side of the login and the join.
#include "net/HostLogin.h"

#include "db/Campaign.h"
#include "db/DbNode.h"
#include "db/NameCheck.h"
#include "db/Users.h"
#include "net/JoinEvents.h"
#include "net/LoginMessages.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"

namespace lh::net {

namespace {

struct HostLogin {
    Session* session = nullptr;
    HostLoginHooks hooks;

    void line(const std::string& text) const {
        if (hooks.postLine) hooks.postLine(text);
    }

    // Names compare as the user records keep them: cut to their field.
    static std::string fitted(const std::string& name) { return std::string(db::UserName::fit(name)); }

    HandlerResult onConnect(SessionPeer* from, const NetMessage& message) {
        std::string error;
        std::optional<ConnectRequest> request = decodeConnectRequest(message, error);
        if (!from || !request) {
            session->reportMalformed(from, message, error);
            if (from) session->disconnect(*from);
            return HandlerResult::Rejected;
        }
        if (!from->name.empty()) return HandlerResult::Rejected;  // logged in already
        std::string name = fitted(request->userName);

        // The later tests win: a taken name is told as such even with a
        // wrong password.
        ConnectAnswer answer;
        answer.status = kAccepted;
        if (request->password != db::campaign().password.view()) answer.status = kWrongPassword;
        if (name.empty() || name == fitted(std::string(db::localUser().name.view()))) answer.status = kNameInUse;
        for (const auto& peer : session->users()) {
            if (peer.get() != from && !peer->name.empty() && peer->name == name) answer.status = kNameInUse;
        }
        if (answer.status == kAccepted) {
            answer.campaign = std::string(db::campaign().name.view());
            answer.setting = std::string(db::campaign().setting.view());
            answer.ruleset = std::string(db::campaign().ruleset.view());
        }
        session->sendTo(encodeConnectAnswer(answer), *from);
        if (answer.status == kWrongPassword) return HandlerResult::Handled;  // it may try again
        if (answer.status == kNameInUse) {
            session->disconnect(*from);  // the answer still goes out
            return HandlerResult::Handled;
        }
        // A returning user gets the record of the earlier visit, so the
        // holders and owners that name him count again.
        from->name = name;
        db::SessionUser& user = db::knownUser(name);
        user.connection = from->connection.get();
        line("'" + name + "' connected");
        return HandlerResult::Handled;
    }

    HandlerResult onListIdentities(SessionPeer* from, const NetMessage&) {
        if (!from) return HandlerResult::Rejected;
        for (const auto& peer : session->users()) {
            if (peer.get() == from || peer->name.empty()) continue;
            db::SessionUser* user = db::findKnownUser(peer->name);
            LoginNotice notice{user ? std::string(user->identity.view()) : std::string(), peer->name, 0};
            session->sendTo(encodeLoginNotice(notice), *from);
        }
        if (db::DbNode* sheets = db::rootNode().child("charsheet")) {
            for (const auto& [key, node] : sheets->children) {
                session->sendTo(encodeTextMessage(tags::IDLSR, std::string(key)), *from);
            }
        }
        if (!from->name.empty()) session->joined().emit(*from);
        return HandlerResult::Handled;
    }

    HandlerResult onIdentity(SessionPeer* from, const NetMessage& message) {
        std::string error;
        std::optional<IdentityRequest> request = decodeIdentityRequest(message, error);
        if (!from || !request) {
            session->reportMalformed(from, message, error);
            return HandlerResult::Rejected;
        }
        db::SessionUser* user = db::findKnownUser(from->name);
        if (!user) return HandlerResult::Rejected;
        // The name becomes a record key and file names on every machine.
        if (!db::isUsableName(request->name)) {
            // Refused like a name in use, so that the player may choose again.
            session->sendTo(encodeIdentityAnswer(1), *from);
            return HandlerResult::Rejected;
        }
        uint8_t inUse = 0;
        for (const auto& peer : session->users()) {
            if (peer.get() == from || peer->name.empty()) continue;
            db::SessionUser* other = db::findKnownUser(peer->name);
            if (other && other->identity.view() == request->name) inUse = 1;
        }
        session->sendTo(encodeIdentityAnswer(inUse), *from);
        if (inUse) return HandlerResult::Handled;

        user->identity.set(request->name);
        std::string identity(user->identity.view());
        line("'" + from->name + "' identified as '" + identity + "'");
        session->sendToAll(encodeLoginNotice({identity, from->name, request->isLocal ? uint8_t(1) : uint8_t(0)}));

        db::DbNode* sheets = db::rootNode().addChild("charsheet");
        db::DbNode* record = sheets ? sheets->addChild(identity) : nullptr;
        if (record) {
            record->addHolder(from->name, true);
            if (!request->isLocal && hooks.sendRecord) hooks.sendRecord(*record, from->name);
        }
        if (hooks.characterInPlay) hooks.characterInPlay(identity, from->name, request->isLocal != 0);
        joinEvents().characterInPlay.emit(identity, from->name, request->isLocal != 0);
        if (hooks.sendOwned) hooks.sendOwned(from->name);
        return HandlerResult::Handled;
    }

    void onDeparture(SessionPeer& peer) {
        // A connection that never logged in ends quietly, but for the notice.
        db::SessionUser* user = peer.name.empty() ? nullptr : db::findKnownUser(peer.name);
        std::string identity = user ? std::string(user->identity.view()) : std::string();
        if (!peer.name.empty()) line("'" + peer.name + "' disconnected");
        if (hooks.characterGone && !identity.empty()) hooks.characterGone(identity);
        if (!identity.empty()) joinEvents().characterGone.emit(identity);
        session->sendToAll(encodeTextMessage(tags::LGOTR, identity), &peer);
        if (user) user->connection = nullptr;
        if (!peer.name.empty() && hooks.userGone) hooks.userGone(peer.name);
    }
};

HostLogin& state() {
    static HostLogin login;
    return login;
}

}  // namespace

void attachHostLogin(Session& session, HostLoginHooks hooks) {
    HostLogin& login = state();
    login.session = &session;
    login.hooks = std::move(hooks);
    session.setHandler(tags::CONNQ, [](SessionPeer* from, const NetMessage& m) { return state().onConnect(from, m); });
    session.setHandler(tags::IDLSQ,
                       [](SessionPeer* from, const NetMessage& m) { return state().onListIdentities(from, m); });
    session.setHandler(tags::IDENQ, [](SessionPeer* from, const NetMessage& m) { return state().onIdentity(from, m); });
    session.setDepartureHandler([](SessionPeer& peer) { state().onDeparture(peer); });
}

JoinEvents& joinEvents() {
    static JoinEvents events;
    return events;
}

void kickUser(Session& session, const std::string& userName) {
    if (SessionPeer* peer = session.findUser(userName)) session.disconnect(*peer);
}

}  // namespace lh::net
