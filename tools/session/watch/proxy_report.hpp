#pragma once
// From a client's status report, the position its mod gives the proxy it shows: what the desync
// meters compare with the other player's pose.

#include "tools/session/watch/desync_meter.hpp"

#include <optional>
#include <string_view>

namespace korvath::session_tool {

// The applied position of an active proxy, from a status report's text.
auto shown_proxy_position(std::string_view statusReport) -> std::optional<Position>;

} // namespace korvath::session_tool
