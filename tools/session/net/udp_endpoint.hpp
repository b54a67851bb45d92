#pragma once
// The network library's UDP address type, and how the tool shows one.

#include <asio/ip/udp.hpp>

#include <string>

namespace korvath::session_tool {

using UdpEndpoint = asio::ip::udp::endpoint;

// "127.0.0.1:47810" or "[::1]:47810"; an IPv4 address mapped into IPv6 is shown as IPv4.
auto format_endpoint(const UdpEndpoint& endpoint) -> std::string;

// The same address and port, seen through an IPv6 socket that also takes IPv4 or through an IPv4 one.
auto same_endpoint(const UdpEndpoint& a, const UdpEndpoint& b) -> bool;

} // namespace korvath::session_tool
