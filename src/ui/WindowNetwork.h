// What the window layer needs of the session, declared here and filled by
// the session glue (SessionWindowPort), so that ui/ knows no sockets. A
// Desktop without one acts alone: as a host with nobody to tell.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lh::db {
class DbNode;
}

namespace lh::ui {

class WindowNetwork {
public:
    virtual ~WindowNetwork() = default;
    virtual bool isHost() const = 0;
    // `tag` is five capitals, e.g. "WINCR"; the body as the message carries it.
    virtual void sendToHost(const char* tag, std::vector<uint8_t> body) = 0;
    virtual void sendToAll(const char* tag, std::vector<uint8_t> body) = 0;
    // False when nobody of that name is connected.
    virtual bool sendToUser(const std::string& user, const char* tag, std::vector<uint8_t> body) = 0;
    // The logged-in users (host side).
    virtual std::vector<std::string> connectedUsers() const = 0;
    // Sends the record and all below it: a client to the host; the host to
    // `user`, or to everybody when null, who then hold it.
    virtual void sendRecord(db::DbNode& record, const std::string* user) = 0;
    // Deletes the record the way this side may (the host at once, a client
    // by asking). -1 when it may not.
    virtual int requestDelete(db::DbNode& record) = 0;
};

}  // namespace lh::ui
