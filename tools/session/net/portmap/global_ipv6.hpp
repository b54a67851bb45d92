#pragma once
// This PC's global IPv6 addresses (2000::/3): another player can join through one without a port
// mapping, where the home router lets the traffic in.

#include <string>
#include <vector>

namespace korvath::session_tool {

inline constexpr std::size_t kMostGlobalIpv6 = 4;

// At most kMostGlobalIpv6, in the system's order; none when the system cannot list them.
auto global_ipv6_addresses() -> std::vector<std::string>;

// Whether `bytes` (16) lie in 2000::/3.
auto is_global_ipv6(const unsigned char* bytes) -> bool;

} // namespace korvath::session_tool
