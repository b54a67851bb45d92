#include "tools/session/net/portmap/global_ipv6.hpp"

// winsock2.h before the others, which need its declarations.
#include <winsock2.h>

#include <iphlpapi.h>
#include <ws2tcpip.h>

#include <vector>

namespace korvath::session_tool {

auto is_global_ipv6(const unsigned char* bytes) -> bool {
    return (bytes[0] & 0xE0) == 0x20;
}

auto global_ipv6_addresses() -> std::vector<std::string> {
    std::vector<std::string> found;
    constexpr ULONG kFlags = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER;
    ULONG size = 16 * 1024;
    std::vector<unsigned char> buffer;
    for (int attempt = 0; attempt < 3; ++attempt) { // the list can grow between the two calls
        buffer.resize(size);
        const ULONG status = GetAdaptersAddresses(
            AF_INET6, kFlags, nullptr, reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buffer.data()), &size);
        if (status == ERROR_SUCCESS)
            break;
        if (status != ERROR_BUFFER_OVERFLOW || attempt == 2)
            return found;
    }
    for (auto* adapter = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buffer.data()); adapter;
         adapter = adapter->Next)
        for (auto* unicast = adapter->FirstUnicastAddress; unicast && found.size() < kMostGlobalIpv6;
             unicast = unicast->Next) {
            const auto* address = reinterpret_cast<const sockaddr_in6*>(unicast->Address.lpSockaddr);
            if (address->sin6_family != AF_INET6 || !is_global_ipv6(address->sin6_addr.s6_addr))
                continue;
            char text[INET6_ADDRSTRLEN] = {};
            if (inet_ntop(AF_INET6, &address->sin6_addr, text, sizeof text))
                found.emplace_back(text);
        }
    return found;
}

} // namespace korvath::session_tool
