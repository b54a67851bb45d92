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
    const std::string port = std::to_string(endpoint.port());
    return address.is_v6() ? "[" + address.to_string() + "]:" + port : address.to_string() + ":" + port;
}

auto same_endpoint(const UdpEndpoint& a, const UdpEndpoint& b) -> bool {
    return a.port() == b.port() && unmapped(a.address()) == unmapped(b.address());
}

} // namespace korvath::session_tool
