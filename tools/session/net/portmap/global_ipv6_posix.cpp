#include "tools/session/net/portmap/global_ipv6.hpp"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>

namespace korvath::session_tool {

auto is_global_ipv6(const unsigned char* bytes) -> bool {
    return (bytes[0] & 0xE0) == 0x20;
}

auto global_ipv6_addresses() -> std::vector<std::string> {
    std::vector<std::string> found;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        return found;
    for (const ifaddrs* entry = list; entry && found.size() < kMostGlobalIpv6; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET6)
            continue;
        const auto* address = reinterpret_cast<const sockaddr_in6*>(entry->ifa_addr);
        if (!is_global_ipv6(address->sin6_addr.s6_addr))
            continue;
        char text[INET6_ADDRSTRLEN] = {};
        if (inet_ntop(AF_INET6, &address->sin6_addr, text, sizeof text))
            found.emplace_back(text);
    }
    freeifaddrs(list);
    return found;
}

} // namespace korvath::session_tool
