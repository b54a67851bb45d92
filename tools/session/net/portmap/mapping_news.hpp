#pragma once
// What the host tells the player about the port mapping: a few lines when it changes, and a part of the
// live status line.

#include "tools/session/net/portmap/mapping_keeper.hpp"

#include <string>
#include <vector>

namespace korvath::session_tool {

struct JoinHint {
    uint16_t port = 0;             // the host's own UDP port
    std::string code;              // the session code as printed
    std::vector<std::string> ipv6; // this PC's global IPv6 addresses, which need no mapping
};

// The lines for the view's latest change, e.g. the join command with the external address.
auto mapping_news(const MappingView& view, const JoinHint& hint) -> std::vector<std::string>;

// "NAT-PMP 203.0.113.7:47810, lease 19 min left", "no port mapping", ...
auto mapping_status(const MappingView& view, std::chrono::nanoseconds now) -> std::string;

} // namespace korvath::session_tool
