// Portraits between host and clients. A client sends the file of its
// character in CHPDQ chunks; the host keeps it as the Campaign's portrait
// of that Identity and tells everybody with CHPRR, which a client answers
// by fetching the file unless its copy is the same. CHPRQ asks the host
// for a portrait that it has.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/Signal.h"

namespace lh::net {
class FileFetch;
class Session;
struct SessionPeer;
}  // namespace lh::net

namespace lh::characters {

class PortraitExchange {
public:
    // `show` is called with the character's name and the portrait's path
    // once the file is at hand.
    PortraitExchange(net::Session& session, std::function<void(const std::string&, const std::string&)> show);
    ~PortraitExchange();
    PortraitExchange(const PortraitExchange&) = delete;
    PortraitExchange& operator=(const PortraitExchange&) = delete;

    // Client: sends a file to the host in chunks. False with a line when
    // the file is too large to be counted; false quietly when it cannot be
    // read.
    bool sendFile(const std::string& programPath);
    void request(const std::string& name);
    size_t runningFetches() const { return fetches.size(); }

    // Where lines in "systemfont" go.
    std::function<void(const std::string&)> line;

private:
    void registerHost();
    void registerClient();
    void stepFetches();
    void startFetch(const std::string& path, uint64_t writeTime);

    net::Session& session;
    std::function<void(const std::string&, const std::string&)> show;
    // Host: the next chunk each user's upload expects.
    std::map<std::string, int> nextChunk;
    std::vector<std::unique_ptr<net::FileFetch>> fetches;
    platform::Subscription poll, watch, departed;
};

}  // namespace lh::characters
