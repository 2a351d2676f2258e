// The addresses by which other machines can reach this one.
#include "platform/HostAddresses.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

namespace lh::platform {

std::vector<std::string> hostAddresses() {
    std::vector<std::string> outside, loopback;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return {};
    for (ifaddrs* i = list; i; i = i->ifa_next) {
        if (!i->ifa_addr || i->ifa_addr->sa_family != AF_INET || !(i->ifa_flags & IFF_UP)) continue;
        char text[INET_ADDRSTRLEN];
        const auto* a = reinterpret_cast<const sockaddr_in*>(i->ifa_addr);
        if (!inet_ntop(AF_INET, &a->sin_addr, text, sizeof text)) continue;
        (i->ifa_flags & IFF_LOOPBACK ? loopback : outside).push_back(text);
    }
    freeifaddrs(list);
    loopback.insert(loopback.end(), outside.begin(), outside.end());
    return loopback;
}

}  // namespace lh::platform
