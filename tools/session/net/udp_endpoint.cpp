#include "tools/session/net/udp_endpoint.hpp"

namespace korvath::session_tool {

namespace {

auto unmapped(const asio::ip::address& address) -> asio::ip::address {
    if (address.is_v6() && address.to_v6().is_v4_mapped())
        return asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6());
    return address;
}

} // namespace

auto format_endpoint(const UdpEndpoint& endpoint) -> std::string {
    const auto address = unmapped(endpoint.address());
    // Appended piece by piece: GCC 12 at -O3 warns falsely on the chain of + for this.
    std::string text;
    if (address.is_v6())
        text.append("[").append(address.to_string()).append("]");
    else
        text.append(address.to_string());
    return text.append(":").append(std::to_string(endpoint.port()));
}

auto same_endpoint(const UdpEndpoint& a, const UdpEndpoint& b) -> bool {
    return a.port() == b.port() && unmapped(a.address()) == unmapped(b.address());
}

} // namespace korvath::session_tool
