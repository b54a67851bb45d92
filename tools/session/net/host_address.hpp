#pragma once
// The joiner's HOST[:PORT]: a name, an IPv4 address or an IPv6 address (in brackets when a port
// follows), and the port, by default the host's.

#include "tools/session/net/udp_endpoint.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvath::session_tool {

inline constexpr uint16_t kDefaultSessionPort = 47810;

struct HostAddress {
    std::string host;
    uint16_t port = kDefaultSessionPort;
};

// "example.org", "example.org:5000", "127.0.0.1:5000", "::1", "[::1]:5000". Nothing when the text is
// empty, too long, has a bad port (1..65535) or an unbracketed IPv6 address with a port.
auto parse_host_address(std::string_view text) -> std::optional<HostAddress>;

// The first address the name resolves to. Throws std::runtime_error naming the host when none does.
auto resolve_host_address(const HostAddress& address) -> UdpEndpoint;

// A port number 1..65535 (0 too when `allowZero`: any free port).
auto parse_port(std::string_view text, bool allowZero) -> std::optional<uint16_t>;

} // namespace korvath::session_tool
