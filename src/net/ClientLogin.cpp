// The client's side of the login and the join.
#include "net/ClientLogin.h"

#include <cstdio>

#include "db/Campaign.h"
#include "db/NameCheck.h"
#include "net/JoinEvents.h"
#include "net/LoginMessages.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"

namespace lh::net {

namespace {

constexpr int kLoginWaitMs = 30;

// The Identity asked for last: IDENR answers it without naming it.
IdentityRequest& lastRequest() {
    static IdentityRequest request;
    return request;
}

// Waits for the first whole message on the host connection: that is the
// answer, whatever its tag. -1 on a failed connection, -2 when it closed,
// -3 when the user quit, 0 with the message.
int awaitAnswer(Session& session, NetMessage& answer, const ClientLoginHooks& hooks) {
    for (;;) {
        SessionPeer* host = session.hostPeer();
        if (!host || !host->connection) return -1;
        Connection& c = *host->connection;
        c.pump();
        if (session.readMessage(c, answer, host, kLoginBodyLength)) return 0;
        if (c.state() == ConnectionState::Failed) return -1;
        if (c.state() == ConnectionState::Closed) return -2;
        if (hooks.wait && !hooks.wait(kLoginWaitMs)) return -3;
    }
}

}  // namespace

int connectToHost(Session& session, const std::string& address, uint16_t port, const std::string& userName,
                  std::string password, const ClientLoginHooks& hooks) {
    session.connectToHost(address, port);
    for (;;) {
        session.sendToHost(encodeConnectRequest({userName, password}));
        NetMessage message;
        int got = awaitAnswer(session, message, hooks);
        if (got == -1) return kNoConnection;
        if (got == -2) return kLoginCut;
        if (got == -3) return kQuitDuringLogin;
        std::string error;
        std::optional<ConnectAnswer> answer = decodeConnectAnswer(message, error);
        if (!answer) return kLoginCut;  // a garbled answer is no login

        if (answer->status == kAccepted) {
            db::campaign().name.set(answer->campaign);
            db::campaign().setting.set(answer->setting);
            db::campaign().ruleset.set(answer->ruleset);
            db::createClientFolder();
        }
        if (answer->status != kWrongPassword &&
            (answer->major != kVersionMajor || answer->minor != kVersionMinor)) {
            char text[256];
            std::snprintf(text, sizeof text,
                          "The host is running version %u.%02u of the software.\nThe local version is %u.%02u.\n"
                          "Please update to the latest version.",
                          unsigned(answer->major), unsigned(answer->minor), unsigned(kVersionMajor),
                          unsigned(kVersionMinor));
            if (hooks.showBox) hooks.showBox("Application version error", text);
            return kNoConnection;
        }
        if (answer->status == kAccepted) return kLoggedIn;
        if (answer->status == kNameInUse) return kNameTaken;
        if (!hooks.askPassword || !hooks.askPassword(password)) return kNoConnection;
    }
}

void connectResultBox(int result, std::string& title, std::string& text) {
    switch (result) {
    case kNameTaken:
        title = "Error";
        text = "User name already in use. You must restart and choose another user name.";
        break;
    case kNoConnection:
        title = "Network Error";
        text = "Could not connect to the host. Check the address and try again.";
        break;
    case kLoginCut:
        title = "Error";
        text = "Could not complete login. Check your network settings.";
        break;
    default:
        title.clear();
        text.clear();
        break;
    }
}

void attachClientJoin(Session& session, ClientJoinHooks hooks) {
    static ClientJoinHooks h;
    h = std::move(hooks);
    Session* s = &session;
    auto text = [s](const NetMessage& m, std::string& out) {
        std::string error;
        std::optional<std::string> t = decodeTextMessage(m, error);
        if (!t) {
            s->reportMalformed(nullptr, m, error);
            return false;
        }
        out = *t;
        return true;
    };
    session.setHandler(tags::IDLSR, [text, s](SessionPeer*, const NetMessage& m) {
        std::string name;
        if (!text(m, name)) return HandlerResult::Rejected;
        if (name.empty()) return HandlerResult::Handled;
        if (!db::isUsableName(name)) {
            s->reportMalformed(nullptr, m, "unusable character name");
            return HandlerResult::Rejected;
        }
        if (h.characterOffered) h.characterOffered(name);
        joinEvents().characterOffered.emit(name);
        return HandlerResult::Handled;
    });
    session.setHandler(tags::LGOTR, [text](SessionPeer*, const NetMessage& m) {
        std::string identity;
        if (!text(m, identity)) return HandlerResult::Rejected;
        // A user who never took on an Identity was never seen here.
        if (identity.empty()) return HandlerResult::Handled;
        if (h.postLine) h.postLine("'" + identity + "' disconnected");
        if (h.characterGone) h.characterGone(identity);
        joinEvents().characterGone.emit(identity);
        return HandlerResult::Handled;
    });
    session.setHandler(tags::LGINR, [s](SessionPeer*, const NetMessage& m) {
        std::string error;
        std::optional<LoginNotice> notice = decodeLoginNotice(m, error);
        if (!notice) {
            s->reportMalformed(nullptr, m, error);
            return HandlerResult::Rejected;
        }
        // A user who has not taken on an Identity yet has nothing in play.
        if (notice->identity.empty()) return HandlerResult::Handled;
        if (!db::isUsableName(notice->identity)) {
            s->reportMalformed(nullptr, m, "unusable character name");
            return HandlerResult::Rejected;
        }
        if (h.characterInPlay) h.characterInPlay(notice->identity, notice->userName, notice->isLocal != 0);
        joinEvents().characterInPlay.emit(notice->identity, notice->userName, notice->isLocal != 0);
        return HandlerResult::Handled;
    });
    session.setHandler(tags::IDENR, [s](SessionPeer*, const NetMessage& m) {
        std::string error;
        std::optional<uint8_t> inUse = decodeIdentityAnswer(m, error);
        if (!inUse) {
            s->reportMalformed(nullptr, m, error);
            return HandlerResult::Rejected;
        }
        if (h.identityAnswer) h.identityAnswer(*inUse == 0);
        joinEvents().identityAnswered.emit(lastRequest().name, lastRequest().isLocal != 0, *inUse == 0);
        return HandlerResult::Handled;
    });
}

void requestIdentity(Session& session, const std::string& name, bool isLocal) {
    session.sendToHost(encodeIdentityRequest({name, isLocal ? uint8_t(1) : uint8_t(0)}));
    lastRequest() = {name, isLocal ? uint8_t(1) : uint8_t(0)};
}

}  // namespace lh::net
