// Feeds arbitrary bytes to the HTTP server's request reader and to the
// line reader under it: no read out of bounds, and the line count always
// agrees with the lines that readLine() gives.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "net/HttpRequest.h"
#include "net/HttpServer.h"

using namespace lh::net;

namespace {

class EchoTargetServer : public HttpServer {
public:
    std::unique_ptr<HttpResponder> serve(HttpServerRequest& request, uint16_t) override {
        request.addReplyHeader("X-Target: " + request.target());
        return nullptr;
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Lines as the connection counts and reads them.
    Connection lines(static_cast<Resolver*>(nullptr));
    lines.received().append(data, size);
    size_t count = lines.lineCount();
    std::string line;
    for (size_t i = 0; i < count; ++i) {
        if (lines.readLine(line, size + 1) != 0) std::abort();
    }
    const uint8_t* rest = lines.received().data();
    for (size_t i = 0; i < lines.readable(); ++i) {
        if (rest[i] == '\r' || rest[i] == '\n') std::abort();
    }

    // A request as the server reads it; the connection has no socket, so
    // the reply goes nowhere.
    EchoTargetServer server;
    auto connection = std::make_unique<Connection>(static_cast<Resolver*>(nullptr));
    connection->received().append(data, size);
    server.addConnection(std::move(connection), 1802);
    for (int i = 0; i < 3 && server.requestCount() > 0; ++i) server.step();

    parseUrl(std::string(reinterpret_cast<const char*>(data), size));
    return 0;
}
