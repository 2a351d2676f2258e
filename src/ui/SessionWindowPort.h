// The window layer on a real session: sends the window messages through the
// Session, records through the replication, and registers the receivers of
// WINBQ, WINCQ, WINCR, WINDQ and WINSQ. A body that does not decode is
// dropped with a "systemfont" line; a refused request is dropped quietly.
#pragma once

#include "platform/Signal.h"
#include "ui/WindowNetwork.h"

namespace lh::db {
class Replication;
}
namespace lh::net {
class Session;
}

namespace lh::ui {

class Desktop;

class SessionWindowPort final : public WindowNetwork {
public:
    SessionWindowPort(net::Session& session, db::Replication& replication);

    // Registers the handlers and makes this the Desktop's network.
    void attach(Desktop& desktop);

    bool isHost() const override;
    void sendToHost(const char* tag, std::vector<uint8_t> body) override;
    void sendToAll(const char* tag, std::vector<uint8_t> body) override;
    bool sendToUser(const std::string& user, const char* tag, std::vector<uint8_t> body) override;
    std::vector<std::string> connectedUsers() const override;
    void sendRecord(db::DbNode& record, const std::string* user) override;
    int requestDelete(db::DbNode& record) override;

private:
    net::Session& session;
    db::Replication& replication;
    // A user who leaves no longer holds the windows shared with him.
    platform::Subscription departures;
};

}  // namespace lh::ui
