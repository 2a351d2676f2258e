// A host that serves files until it is killed, for the test of a transfer
// cut by the host going away.
//   net_file_host <root>
// Prints its port on a line of its own once it listens on loopback.
#include <cstdio>
#include <vector>

#include "net/FileServer.h"
#include "net/Session.h"
#include "platform/Socket.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: net_file_host <root>\n");
        return 2;
    }
    lh::net::Session host;
    lh::net::installFileService(host, argv[1]);
    if (!host.openListener(0, 0x7F000001)) return 1;
    std::printf("%u\n", unsigned(host.listenPort()));
    std::fflush(stdout);
    for (;;) {
        host.poll();
        std::vector<lh::platform::WatchedFd> fds;
        host.collectWatchedFds(fds);
        lh::platform::waitForSockets(fds, 100);
    }
}
