// Feeds arbitrary bytes to the HTTP client as the reply to its request: the
// status line, redirects, header lines, the header lookups a file fetch
// makes and the body. Nothing may read out of bounds; a redirect starts a
// new request, which is where this one ends (its names are never looked up).
#include <cstddef>
#include <cstdint>
#include <memory>

#include "net/HttpRequest.h"
#include "net/Resolver.h"

using namespace lh::net;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Resolver noNames([](const std::string&, uint32_t&) { return false; });
    HttpRequest request(&noNames);
    auto reply = std::make_unique<Connection>(static_cast<Resolver*>(nullptr));
    reply->received().append(data, size);
    Connection* link = reply.get();
    request.readReplyFrom(std::move(reply));
    for (int round = 0; round < 3 && request.connection() == link; ++round) {
        if (request.poll() != 0) break;
    }
    if (request.connection() != link) return 0;
    (void)request.statusCode();
    (void)request.progress();
    for (const char* name : {"Content-Length", "content-length:", "Location", ""}) {
        if (const char* value = request.headerValue(name)) (void)std::char_traits<char>::length(value);
    }
    uint8_t body[4096];
    while (request.bodyAvailable() > 0) {
        if (request.readBody(body, sizeof body) == 0) break;
    }
    return 0;
}
